#include "hdl/store/VeriStore.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/sv/VeriParserMessageIds.h"

namespace hdl {

namespace {

constexpr uint32_t kFormat = 1;
// Deeper trees than this are refused, so that a damaged file cannot make later
// recursive walks overflow the stack; analysed sources stay far below it.
constexpr uint32_t kMaxDepth = 4096;
// Units restored while restoring one unit, one inside the other.
constexpr unsigned kMaxNesting = 256;
// The extern kind of the scope of a `$unit` that no library holds: one that declared
// nothing (and so was not kept), or one that a later analysis replaced. A restored
// unit gets an empty one; a link to a declaration in it fails the save.
constexpr uint32_t kDetachedUnitScope = 2;

// ---------------------------------------------------------------- member kinds

template <class F>
constexpr bool IsNode = tree::IsNode<VeriTreeTraits, F>;
template <class F>
using IsList = tree::IsList<F>;
template <class F>
using IsLink = tree::IsLink<F>;

template <class F>
struct LinkTarget;
template <class T>
struct LinkTarget<tree::Link<T>> {
    using type = T;
};

// Classes that declare their own class id (HDL_VERI_NODE), as opposed to abstract bases.
template <class C, class = void>
struct HasOwnId : std::false_type {};
template <class C>
struct HasOwnId<C, std::void_t<typename C::SelfType>> : std::bool_constant<std::is_same_v<typename C::SelfType, C>> {};

template <class F>
constexpr uint64_t KindTag() {
    if constexpr (IsNode<F>) return 1;
    else if constexpr (IsList<F>::value) {
        static_assert(IsNode<std::remove_reference_t<decltype(*std::declval<F&>().begin())>>,
                      "a list that saved libraries cannot hold");
        return 2;
    } else if constexpr (std::is_same_v<F, Symbol>) return 3;
    else if constexpr (std::is_same_v<F, bool>) return 4;
    else if constexpr (std::is_integral_v<F> && std::is_unsigned_v<F>) return 5;
    else if constexpr (std::is_integral_v<F>) return 6;
    else if constexpr (std::is_same_v<F, std::string_view>) return 7;
    else if constexpr (std::is_same_v<F, double>) return 8;
    else if constexpr (std::is_same_v<F, VeriScope*>) return 9;
    else if constexpr (std::is_same_v<F, tree::Link<VeriScope>>) return 10;
    else if constexpr (std::is_same_v<F, tree::Link<VeriLibrary>>) return 11;
    else if constexpr (IsLink<F>::value) {
        static_assert(IsNode<typename LinkTarget<F>::type*>, "a link that saved libraries cannot hold");
        return 12;
    } else static_assert(sizeof(F) == 0, "a member kind that saved libraries cannot hold");
}

class Saver;
class Loader;

// What the store does with the nodes of one class, made from its field list.
struct ClassCodec {
    uint32_t id = 0;
    VeriTreeNode* (*make)(Arena&) = nullptr;
    // Children in walk order (after the extras' children), and owned scopes.
    void (*children)(VeriTreeNode&, std::vector<VeriTreeNode*>&, std::vector<VeriScope*>&) = nullptr;
    uint64_t (*print)(VeriTreeNode&, uint64_t) = nullptr; // fields into a fingerprint
    void (*save)(Saver&, VeriTreeNode&) = nullptr;
    void (*load)(Loader&, VeriTreeNode&) = nullptr;
    uint64_t (*shape)(uint64_t) = nullptr; // member kinds into the layout
};

template <class F>
void AddChildren(F& f, std::vector<VeriTreeNode*>& out, std::vector<VeriScope*>& scopes) {
    if constexpr (IsNode<F>) {
        if (f) out.push_back(f);
    } else if constexpr (IsList<F>::value) {
        for (auto* x : f)
            if (x) out.push_back(x);
    } else if constexpr (std::is_same_v<F, VeriScope*>) {
        if (f) scopes.push_back(f);
    }
}

template <class F>
uint64_t PrintField(F& f, uint64_t h) {
    if constexpr (IsNode<F>) {
        return StoreHash(f ? 1 : 0, h);
    } else if constexpr (IsList<F>::value) {
        h = StoreHash(f.Size(), h);
        for (auto* x : f) h = StoreHash(x ? 1 : 0, h);
        return h;
    } else if constexpr (IsLink<F>::value) {
        return StoreHash(f.ref ? 1 : 0, h);
    } else if constexpr (std::is_same_v<F, VeriScope*>) {
        return StoreHash(f ? 1 : 0, h);
    } else if constexpr (std::is_same_v<F, Symbol> || std::is_same_v<F, std::string_view>) {
        std::string_view s = f;
        return StoreHash(s, StoreHash(s.size(), h));
    } else if constexpr (std::is_same_v<F, double>) {
        uint64_t bits;
        std::memcpy(&bits, &f, sizeof bits);
        return StoreHash(bits, h);
    } else {
        return StoreHash(static_cast<uint64_t>(f), h);
    }
}

const ClassCodec& CodecOf(uint32_t id);

// The extras' children come first in a walk: the label, then the attributes' values.
void ExtraChildren(VeriTreeNode& n, std::vector<VeriTreeNode*>& out) {
    if (!n.loc.Marked()) return;
    if (auto* s = dynamic_cast<VeriStatement*>(&n))
        if (VeriLabelId* label = s->GetLabel()) out.push_back(label);
    for (const VeriAttribute& a : n.GetAttributes())
        if (a.value) out.push_back(a.value);
}

uint64_t PrintExtras(VeriTreeNode& n, uint64_t h) {
    if (!n.loc.Marked()) return StoreHash(0, h);
    ArenaArray<VeriAttribute> attributes = n.GetAttributes();
    h = StoreHash(attributes.Size() + 1, h);
    for (const VeriAttribute& a : attributes) h = PrintField(const_cast<Symbol&>(a.name), h);
    if (auto* item = dynamic_cast<VeriModuleItem*>(&n))
        for (unsigned q : item->GetQualifiers()) h = StoreHash(q, h);
    return h;
}

// ---------------------------------------------------------------- walks

// A unit's nodes in walk order (the node, then its children), its scopes in the order
// their owners come, and the fingerprint of its shape: classes and field values,
// without positions or links.
struct Walk {
    std::vector<VeriTreeNode*> order;
    std::vector<VeriScope*> scopes;
    uint64_t fingerprint = 0;
    std::unordered_map<const void*, uint32_t> places; // nodes and scopes; filled on demand

    uint32_t placeOf(const void* p) {
        if (places.empty()) {
            for (uint32_t i = 0; i < order.size(); ++i) places.emplace(order[i], i);
            for (uint32_t i = 0; i < scopes.size(); ++i) places.emplace(scopes[i], i);
        }
        auto it = places.find(p);
        return it == places.end() ? UINT32_MAX : it->second;
    }
};

Walk WalkUnit(VeriTreeNode* root) {
    Walk w;
    uint64_t h = StoreHash(kFormat, 0xcbf29ce484222325ull);
    std::vector<VeriTreeNode*> stack{root};
    std::vector<VeriTreeNode*> kids;
    while (!stack.empty()) {
        VeriTreeNode* n = stack.back();
        stack.pop_back();
        const ClassCodec& c = CodecOf(n->GetClassId());
        w.order.push_back(n);
        h = PrintExtras(*n, c.print(*n, StoreHash(c.id, h)));
        kids.clear();
        ExtraChildren(*n, kids);
        c.children(*n, kids, w.scopes);
        for (auto it = kids.rbegin(); it != kids.rend(); ++it) stack.push_back(*it);
    }
    w.fingerprint = StoreHash(w.scopes.size(), h);
    return w;
}

// A unit that its library holds under its name.
bool IsLibraryUnit(VeriModule* m) { return m && m->GetLibrary() && m->GetLibrary()->GetModule(m->Name(), false) == m; }

// ---------------------------------------------------------------- saving

class Saver {
public:
    explicit Saver(VeriModule& unit) : unit_(unit) {}

    std::string run() {
        // A copy shares its subtrees with its original; elaboration makes it again.
        if (!unit_.GetOriginalModuleName().empty())
            throw StoreError("it is a copy that elaboration made of unit '" +
                             std::string(unit_.GetOriginalModuleName()) + "'; copies are not saved");
        own_ = WalkUnit(&unit_);
        for (uint32_t i = 0; i < own_.order.size(); ++i) index_.emplace(own_.order[i], i);
        for (uint32_t i = 0; i < own_.scopes.size(); ++i) scopeIndex_.emplace(own_.scopes[i], i);
        // What was read from a deciphered protected region stays in memory: a saved
        // file would hold it in clear.
        SourceLineMap protectedLines = Message::GetSourceLineMap();
        for (VeriTreeNode* n : own_.order) {
            const ColLineFile loc = n->Linefile();
            uint32_t sourceLine = 0;
            const char* file = protectedLines ? LineFile::GetFileNameFromId(loc.fileId) : nullptr;
            if (file && protectedLines(file, loc.leftLine, &sourceLine))
                throw StoreError("it comes from a protected region of " + std::string(file) + ", which is not saved");
            records_.u64(fileIndex(loc.fileId));
            records_.u64(loc.leftLine);
            records_.u64(loc.leftCol);
            records_.u64(loc.rightLine);
            records_.u64(loc.rightCol);
            extras(*n);
            CodecOf(n->GetClassId()).save(*this, *n);
        }
        for (VeriScope* s : own_.scopes) scope(*s);
        // Everything named by the records is known now: the tables go first.
        StoreWriter head;
        const uint32_t libraryName = string(unit_.GetLibrary() ? unit_.GetLibrary()->GetName() : std::string());
        const uint32_t unitName = string(unit_.Name());
        std::vector<uint32_t> depNames;
        for (const Dep& d : deps_) {
            depNames.push_back(string(d.library));
            depNames.push_back(string(d.name));
        }
        head.u64(strings_.size());
        for (std::string_view s : strings_) head.bytes(s);
        head.u64(files_.size());
        for (uint32_t f : files_) head.u64(f);
        head.u64(libraryName);
        head.u64(unitName);
        head.u64(deps_.size());
        for (size_t i = 0; i < deps_.size(); ++i) {
            head.u64(depNames[2 * i]);
            head.u64(depNames[2 * i + 1]);
            head.u64(deps_[i].fingerprint);
        }
        head.u64(externs_.size());
        for (const Extern& e : externs_) {
            head.u64(e.scope);
            if (e.scope == kDetachedUnitScope) continue;
            head.u64(e.dep);
            head.u64(e.place);
        }
        head.u64(own_.order.size());
        for (VeriTreeNode* n : own_.order) head.u64(n->GetClassId());
        head.u64(own_.scopes.size());
        head.u64(own_.fingerprint);
        return head.data() + records_.data();
    }

    template <class F>
    void field(F& f) {
        if constexpr (IsNode<F>) {
            records_.u64(child(f));
        } else if constexpr (IsList<F>::value) {
            records_.u64(f.Size());
            for (auto* x : f) records_.u64(child(x));
        } else if constexpr (std::is_same_v<F, VeriScope*>) {
            records_.u64(f ? scopeIndex_.at(f) + 1 : 0);
        } else if constexpr (std::is_same_v<F, tree::Link<VeriScope>>) {
            records_.u64(scopeReference(f.ref));
        } else if constexpr (std::is_same_v<F, tree::Link<VeriLibrary>>) {
            records_.u64(f.ref ? string(f.ref->GetName()) + 1 : 0);
        } else if constexpr (IsLink<F>::value) {
            records_.u64(reference(f.ref));
        } else if constexpr (std::is_same_v<F, Symbol>) {
            records_.u64(f.empty() ? 0 : string(std::string_view(f)) + 1);
        } else if constexpr (std::is_same_v<F, std::string_view>) {
            records_.u64(string(f));
        } else if constexpr (std::is_same_v<F, double>) {
            uint64_t bits;
            std::memcpy(&bits, &f, sizeof bits);
            records_.u64(bits);
        } else if constexpr (std::is_same_v<F, bool> || std::is_unsigned_v<F>) {
            records_.u64(static_cast<uint64_t>(f));
        } else {
            records_.i64(static_cast<int64_t>(f));
        }
    }

private:
    struct Dep {
        std::string library;
        std::string name;
        uint64_t fingerprint;
    };
    // A node (scope 0) or a scope (scope 1) at place `place` of dependency `dep`, or the
    // scope of a compilation unit that its library does not hold (kDetachedUnitScope).
    struct Extern {
        uint32_t scope;
        uint32_t dep;
        uint32_t place;
    };

    uint64_t child(VeriTreeNode* n) { return n ? index_.at(n) + 1 : 0; }

    void extras(VeriTreeNode& n) {
        if (!n.loc.Marked()) {
            records_.u64(0);
            return;
        }
        ArenaArray<VeriAttribute> attributes = n.GetAttributes();
        records_.u64(attributes.Size() + 1);
        for (const VeriAttribute& a : attributes) {
            records_.u64(a.name.empty() ? 0 : string(std::string_view(a.name)) + 1);
            records_.u64(child(a.value));
        }
        ArenaArray<unsigned> qualifiers;
        if (auto* item = dynamic_cast<VeriModuleItem*>(&n)) qualifiers = item->GetQualifiers();
        records_.u64(qualifiers.Size());
        for (unsigned q : qualifiers) records_.u64(q);
        auto* statement = dynamic_cast<VeriStatement*>(&n);
        records_.u64(child(statement ? statement->GetLabel() : nullptr));
    }

    void scope(VeriScope& s) {
        records_.u64(scopeReference(s.Upper()));
        records_.u64(reference(s.Owner()));
        records_.u64(s.DeclarationCount());
        for (uint32_t i = 0; i < s.DeclarationCount(); ++i) records_.u64(reference(s.Declaration(i)));
        uint64_t imports = 0;
        for (const VeriScope::Import* i = s.imports(); i; i = i->next) ++imports;
        records_.u64(imports);
        for (const VeriScope::Import* i = s.imports(); i; i = i->next) {
            records_.u64(reference(i->package));
            records_.u64(i->item.empty() ? 0 : string(std::string_view(i->item)) + 1);
        }
    }

    uint32_t string(std::string_view s) {
        auto it = stringIds_.find(s);
        if (it != stringIds_.end()) return it->second;
        owned_.emplace_back(s); // stable: the string table views it
        const auto id = static_cast<uint32_t>(strings_.size());
        strings_.push_back(owned_.back());
        stringIds_.emplace(strings_.back(), id);
        return id;
    }
    uint32_t fileIndex(uint32_t fileId) {
        if (fileId == 0) return 0;
        auto it = fileIds_.find(fileId);
        if (it != fileIds_.end()) return it->second;
        const char* name = LineFile::GetFileNameFromId(fileId);
        files_.push_back(string(name ? name : ""));
        return fileIds_[fileId] = static_cast<uint32_t>(files_.size());
    }
    Walk& walkOf(VeriModule* unit) {
        auto it = walks_.find(unit);
        if (it == walks_.end()) it = walks_.emplace(unit, WalkUnit(unit)).first;
        return it->second;
    }

    // Odd: a node of this file; even from 2: an entry of the extern table.
    uint64_t reference(VeriTreeNode* target) {
        if (!target) return 0;
        auto here = index_.find(target);
        if (here != index_.end()) return 1 + 2 * uint64_t(here->second);
        return 2 + 2 * uint64_t(externOf(target, 0));
    }
    uint64_t scopeReference(VeriScope* target) {
        if (!target) return 0;
        auto here = scopeIndex_.find(target);
        if (here != scopeIndex_.end()) return 1 + 2 * uint64_t(here->second);
        auto* owner = dynamic_cast<VeriModule*>(target->Owner());
        if (owner && owner->IsRootModule() && !IsLibraryUnit(owner)) {
            auto known = externIds_.find(target);
            if (known == externIds_.end()) {
                known = externIds_.emplace(target, static_cast<uint32_t>(externs_.size())).first;
                externs_.push_back({kDetachedUnitScope, 0, 0});
            }
            return 2 + 2 * uint64_t(known->second);
        }
        return 2 + 2 * uint64_t(externOf(target, 1));
    }

    // The extern table entry of a node or scope of another unit, looked for in the units
    // already linked to first, then in every unit of every library.
    uint32_t externOf(const void* target, uint32_t isScope) {
        auto known = externIds_.find(target);
        if (known != externIds_.end()) return known->second;
        std::vector<VeriModule*> candidates;
        for (const Dep& d : deps_)
            if (VeriLibrary* lib = veri_file::GetLibrary(d.library.c_str()))
                if (VeriModule* m = lib->GetModule(d.name, false)) candidates.push_back(m);
        for (VeriLibrary* lib : veri_file::AllLibraries())
            for (VeriModule* m : lib->AllModules()) candidates.push_back(m);
        for (VeriModule* m : candidates) {
            if (m == &unit_) continue;
            uint32_t place = walkOf(m).placeOf(target);
            if (place == UINT32_MAX) continue;
            const auto id = static_cast<uint32_t>(externs_.size());
            externs_.push_back({isScope, depOf(m), place});
            externIds_.emplace(target, id);
            return id;
        }
        throw StoreError(std::string("a ") + (isScope ? "scope" : "link") + " leads out of every library unit");
    }
    uint32_t depOf(VeriModule* unit) {
        auto it = depIds_.find(unit);
        if (it != depIds_.end()) return it->second;
        if (!IsLibraryUnit(unit))
            throw StoreError("a link leads to unit '" + std::string(unit->Name()) +
                             "', which a later analysis replaced");
        deps_.push_back({unit->GetLibrary()->GetName(), std::string(unit->Name()), walkOf(unit).fingerprint});
        return depIds_[unit] = static_cast<uint32_t>(deps_.size() - 1);
    }

    VeriModule& unit_;
    Walk own_;
    std::unordered_map<VeriTreeNode*, uint32_t> index_;
    std::unordered_map<VeriScope*, uint32_t> scopeIndex_;
    StoreWriter records_;
    std::vector<std::string_view> strings_;
    std::unordered_map<std::string_view, uint32_t> stringIds_;
    std::deque<std::string> owned_;
    std::vector<uint32_t> files_;
    std::unordered_map<uint32_t, uint32_t> fileIds_;
    std::vector<Dep> deps_;
    std::unordered_map<VeriModule*, uint32_t> depIds_;
    std::vector<Extern> externs_;
    std::unordered_map<const void*, uint32_t> externIds_;
    std::map<VeriModule*, Walk> walks_;
};

// ---------------------------------------------------------------- loading

// Units being restored, one inside the other, and the walks of units that links lead
// to; lives while the outermost restore runs.
struct Session {
    struct Loading {
        VeriLibrary* library;
        std::string name;
        VeriModule* unit;
    };
    std::vector<Loading> loading;
    std::map<VeriModule*, Walk> walks;
    unsigned depth = 0;

    static Session*& active() {
        static Session* s = nullptr;
        return s;
    }
};

class SessionScope {
public:
    SessionScope() {
        if (!Session::active()) {
            owned_ = std::make_unique<Session>();
            Session::active() = owned_.get();
        }
        session = Session::active();
        if (++session->depth > kMaxNesting) {
            --session->depth;
            release();
            throw StoreError("units lead to each other too deeply");
        }
    }
    ~SessionScope() {
        --session->depth;
        release();
    }
    Session* session = nullptr;

private:
    void release() {
        if (owned_) Session::active() = nullptr;
    }
    std::unique_ptr<Session> owned_;
};

class Loader {
public:
    Loader(VeriLibrary& library, std::string_view name, std::string_view payload, Session& session)
        : library_(library), name_(name), in_(payload), session_(session), arena_(library.arena()) {}

    VeriModule* run() {
        readTables();
        readRecords();
        // Registered before the links out are followed, so that a unit that leads back
        // to this one finds it.
        session_.loading.push_back({&library_, name_, unit_});
        struct Pop {
            Session& s;
            ~Pop() { s.loading.pop_back(); }
        } pop{session_};
        resolveExterns();
        readScopes();
        if (!in_.atEnd()) throw StoreError("the file has bytes after its last scope");
        for (const Fixup& f : fixups_)
            if (!f.assign(f.slot, externs_[f.ext])) throw StoreError("a link leads to a node of the wrong kind");
        for (const ScopeFixup& f : scopeFixups_) *f.slot = f.external ? externScopes_[f.index] : scopes_[f.index];
        library_.AddModule(unit_);
        return unit_;
    }

    template <class F>
    void field(F& f) {
        if constexpr (IsNode<F>) {
            f = child<std::remove_pointer_t<F>>();
        } else if constexpr (IsList<F>::value) {
            using Item = std::remove_pointer_t<std::remove_reference_t<decltype(*f.begin())>>;
            std::vector<Item*> items(in_.count("list length"));
            for (Item*& item : items) item = child<Item>();
            f = F(arena_, items);
        } else if constexpr (std::is_same_v<F, VeriScope*>) {
            uint64_t r = in_.below(scopeCount_ + 1, "scope");
            f = nullptr;
            if (r == 0) return;
            if (scopeOwned_[r - 1]) throw StoreError("a scope has two owners");
            scopeOwned_[r - 1] = true;
            scopeFixups_.push_back({&f, false, static_cast<uint32_t>(r - 1)});
        } else if constexpr (std::is_same_v<F, tree::Link<VeriScope>>) {
            scopeLink(f.ref);
        } else if constexpr (std::is_same_v<F, tree::Link<VeriLibrary>>) {
            uint64_t r = in_.below(strings_.size() + 1, "library");
            f.ref = nullptr;
            if (r == 0) return;
            // The unit's own library is the one it is restored into.
            if (strings_[r - 1] == savedLibrary_) f.ref = &library_;
            else f.ref = veri_file::GetLibrary(std::string(strings_[r - 1]).c_str());
        } else if constexpr (IsLink<F>::value) {
            linkField(f.ref);
        } else if constexpr (std::is_same_v<F, Symbol>) {
            f = symbol();
        } else if constexpr (std::is_same_v<F, std::string_view>) {
            f = strings_[in_.below(strings_.size(), "string")];
        } else if constexpr (std::is_same_v<F, double>) {
            uint64_t bits = in_.u64();
            std::memcpy(&f, &bits, sizeof bits);
        } else if constexpr (std::is_same_v<F, bool>) {
            f = in_.below(2, "flag") != 0;
        } else if constexpr (std::is_unsigned_v<F>) {
            uint64_t v = in_.u64();
            if (v > std::numeric_limits<F>::max()) throw StoreError("a number out of range");
            f = static_cast<F>(v);
        } else {
            int64_t v = in_.i64();
            if (v < std::numeric_limits<F>::min() || v > std::numeric_limits<F>::max())
                throw StoreError("a number out of range");
            f = static_cast<F>(v);
        }
    }

private:
    struct Fixup {
        void* slot;
        bool (*assign)(void*, VeriTreeNode*);
        uint32_t ext;
    };
    struct ScopeFixup {
        VeriScope** slot;
        bool external;
        uint32_t index;
    };
    struct ExternEntry {
        uint32_t scope;
        uint32_t dep;
        uint32_t place;
    };
    struct DepEntry {
        std::string library;
        std::string name;
        uint64_t fingerprint;
    };

    template <class T>
    static bool Assign(void* slot, VeriTreeNode* target) {
        auto* p = dynamic_cast<T*>(target);
        if (!p && target) return false;
        *static_cast<T**>(slot) = p;
        return true;
    }

    Symbol symbol() {
        uint64_t r = in_.below(strings_.size() + 1, "name");
        return r ? Symbol::Intern(strings_[r - 1]) : Symbol();
    }

    void readTables() {
        strings_.resize(in_.count("string count"));
        for (std::string_view& s : strings_) s = arena_.copy(in_.bytes());
        files_.resize(in_.count("file count"));
        for (uint32_t& f : files_) f = LineFile::GetFileId(std::string(strings_[in_.below(strings_.size(), "file")]));
        savedLibrary_ = strings_[in_.below(strings_.size(), "library name")];
        std::string_view name = strings_[in_.below(strings_.size(), "unit name")];
        if (name != name_) throw StoreError("the file holds unit '" + std::string(name) + "', not '" + name_ + "'");
        deps_.resize(in_.count("dependency count"));
        for (DepEntry& d : deps_) {
            d.library = strings_[in_.below(strings_.size(), "dependency")];
            d.name = strings_[in_.below(strings_.size(), "dependency")];
            d.fingerprint = in_.u64();
        }
        externTable_.resize(in_.count("extern count"));
        for (ExternEntry& e : externTable_) {
            e.scope = static_cast<uint32_t>(in_.below(3, "extern kind"));
            if (e.scope == kDetachedUnitScope) continue;
            e.dep = static_cast<uint32_t>(in_.below(deps_.size(), "dependency"));
            e.place = static_cast<uint32_t>(in_.below(UINT32_MAX, "place"));
        }
        nodes_.resize(in_.count("node count"));
        if (nodes_.empty()) throw StoreError("the file holds no unit");
        for (VeriTreeNode*& n : nodes_) n = CodecOf(static_cast<uint32_t>(in_.u64())).make(arena_);
        unit_ = dynamic_cast<VeriModule*>(nodes_[0]);
        if (!unit_) throw StoreError("the file's first node is no design unit");
        scopeCount_ = in_.count("scope count");
        scopeOwned_.assign(scopeCount_, false);
        in_.u64(); // the unit's own fingerprint
        depth_.assign(nodes_.size(), 0);
        depth_[0] = 1;
    }

    void readRecords() {
        for (current_ = 0; current_ < nodes_.size(); ++current_) {
            if (depth_[current_] == 0) throw StoreError("a node belongs to no tree");
            uint64_t file = in_.below(files_.size() + 1, "file");
            uint32_t ll = static_cast<uint32_t>(in_.u64());
            uint32_t lc = static_cast<uint32_t>(in_.u64());
            uint32_t rl = static_cast<uint32_t>(in_.u64());
            uint32_t rc = static_cast<uint32_t>(in_.u64());
            VeriTreeNode& n = *nodes_[current_];
            n.SetLinefile(ColLineFile(file ? files_[file - 1] : 0, ll, lc, rl, rc));
            readExtras(n);
            CodecOf(n.GetClassId()).load(*this, n);
        }
    }

    void readExtras(VeriTreeNode& n) {
        const uint64_t marked = in_.count("attribute count");
        if (marked == 0) return;
        std::vector<VeriAttribute> attributes(marked - 1);
        // In walk order the label comes before the attributes' values.
        std::vector<Symbol> names(attributes.size());
        std::vector<uint64_t> values(attributes.size());
        for (size_t i = 0; i < attributes.size(); ++i) {
            names[i] = symbol();
            values[i] = in_.below(nodes_.size() + 1, "child");
        }
        std::vector<unsigned> qualifiers(in_.count("qualifier count"));
        for (unsigned& q : qualifiers) q = static_cast<unsigned>(in_.below(UINT32_MAX, "qualifier"));
        VeriLabelId* label = child<VeriLabelId>();
        for (size_t i = 0; i < attributes.size(); ++i) attributes[i] = {names[i], childAt<VeriExpression>(values[i])};
        n.SetAttributes(ArenaArray<VeriAttribute>(arena_, attributes));
        if (auto* item = dynamic_cast<VeriModuleItem*>(&n)) {
            item->SetQualifiers(ArenaArray<unsigned>(arena_, qualifiers));
        } else if (!qualifiers.empty()) {
            throw StoreError("qualifiers on a node that takes none");
        }
        if (auto* statement = dynamic_cast<VeriStatement*>(&n)) statement->SetLabel(label);
        else if (label) throw StoreError("a label on a node that takes none");
    }

    // Each node is the child of exactly one node before it.
    template <class T>
    T* child() {
        return childAt<T>(in_.below(nodes_.size() + 1, "child"));
    }
    template <class T>
    T* childAt(uint64_t r) {
        if (r == 0) return nullptr;
        const uint64_t i = r - 1;
        if (i <= current_ || depth_[i] != 0) throw StoreError("the nodes do not form a tree");
        depth_[i] = depth_[current_] + 1;
        if (depth_[i] > kMaxDepth) throw StoreError("the tree is nested too deeply");
        if constexpr (std::is_same_v<T, VeriTreeNode>) {
            return nodes_[i];
        } else {
            auto* node = dynamic_cast<T*>(nodes_[i]);
            if (!node) throw StoreError("a child of the wrong kind");
            return node;
        }
    }

    template <class T>
    void linkField(T*& slot) {
        uint64_t r = in_.u64();
        if (r == 0) {
            slot = nullptr;
        } else if (r & 1) {
            if ((r - 1) / 2 >= nodes_.size()) throw StoreError("a link out of range");
            if (!Assign<T>(&slot, nodes_[(r - 1) / 2])) throw StoreError("a link leads to a node of the wrong kind");
        } else {
            const uint64_t e = (r - 2) / 2;
            if (e >= externTable_.size() || externTable_[e].scope) throw StoreError("a link out of range");
            slot = nullptr;
            fixups_.push_back({&slot, &Assign<T>, static_cast<uint32_t>(e)});
        }
    }

    void scopeLink(VeriScope*& slot) {
        uint64_t r = in_.u64();
        slot = nullptr;
        if (r == 0) return;
        if (r & 1) {
            if ((r - 1) / 2 >= scopeCount_) throw StoreError("a scope out of range");
            scopeFixups_.push_back({&slot, false, static_cast<uint32_t>((r - 1) / 2)});
        } else {
            const uint64_t e = (r - 2) / 2;
            if (e >= externTable_.size() || !externTable_[e].scope) throw StoreError("a scope out of range");
            scopeFixups_.push_back({&slot, true, static_cast<uint32_t>(e)});
        }
    }

    VeriTreeNode* nodeAt(uint64_t r) {
        if (r == 0) return nullptr;
        if (r & 1) {
            if ((r - 1) / 2 >= nodes_.size()) throw StoreError("a link out of range");
            return nodes_[(r - 1) / 2];
        }
        const uint64_t e = (r - 2) / 2;
        if (e >= externTable_.size() || externTable_[e].scope) throw StoreError("a link out of range");
        return externs_[e];
    }

    // Scopes are made in order: the scope around one comes before it, or from another
    // unit. Their declarations are declared again, in order, which rebuilds the index.
    void readScopes() {
        scopes_.resize(scopeCount_);
        for (size_t i = 0; i < scopeCount_; ++i) {
            if (!scopeOwned_[i]) throw StoreError("a scope has no owner");
            uint64_t r = in_.u64();
            VeriScope* upper = nullptr;
            if (r & 1) {
                if ((r - 1) / 2 >= i) throw StoreError("a scope out of order");
                upper = scopes_[(r - 1) / 2];
            } else if (r) {
                const uint64_t e = (r - 2) / 2;
                if (e >= externTable_.size() || !externTable_[e].scope) throw StoreError("a scope out of range");
                upper = externScopes_[e];
            }
            VeriTreeNode* owner = nodeAt(in_.u64());
            auto* scope = arena_.make<VeriScope>(upper, owner);
            const uint64_t declarations = in_.count("declaration count");
            for (uint64_t d = 0; d < declarations; ++d) {
                auto* id = dynamic_cast<VeriIdDef*>(nodeAt(in_.u64()));
                if (!id || !scope->declare(arena_, id)) throw StoreError("a scope declares a bad or repeated name");
            }
            const uint64_t imports = in_.count("import count");
            for (uint64_t k = 0; k < imports; ++k) {
                VeriTreeNode* package = nodeAt(in_.u64());
                auto* module = dynamic_cast<VeriModule*>(package);
                if (package && !module) throw StoreError("an import of something other than a package");
                scope->addImport(arena_, module, symbol());
            }
            scopes_[i] = scope;
        }
    }

    // The units this one links to, looked up (restored when need be) and checked
    // against the fingerprints they had when this one was saved.
    void resolveExterns() {
        std::vector<VeriModule*> depUnits(deps_.size(), nullptr);
        externs_.assign(externTable_.size(), nullptr);
        externScopes_.assign(externTable_.size(), nullptr);
        for (size_t i = 0; i < externTable_.size(); ++i) {
            const ExternEntry& e = externTable_[i];
            if (e.scope == kDetachedUnitScope) {
                externScopes_[i] = detachedUnitScope();
                continue;
            }
            VeriModule*& unit = depUnits[e.dep];
            if (!unit) unit = findDep(deps_[e.dep]);
            Walk& w = walkOf(unit);
            if (e.scope) {
                if (e.place >= w.scopes.size()) throw StoreError("a scope out of range");
                externScopes_[i] = w.scopes[e.place];
            } else {
                if (e.place >= w.order.size()) throw StoreError("a link out of range");
                externs_[i] = w.order[e.place];
            }
        }
    }

    VeriModule* findDep(const DepEntry& d) {
        const std::string name = d.library + "." + d.name;
        VeriModule* unit = nullptr;
        for (const Session::Loading& l : session_.loading)
            if (l.library->GetName() == d.library && l.name == d.name) unit = l.unit;
        if (!unit) {
            VeriLibrary* lib = d.library == savedLibrary_ ? &library_ : veri_file::GetLibrary(d.library.c_str());
            unit = lib ? lib->GetModule(d.name) : nullptr;
        }
        if (!unit) throw StoreError("it needs unit " + name + ", which is not there");
        if (walkOf(unit).fingerprint != d.fingerprint)
            throw StoreError("unit " + name + " has changed since this one was saved");
        return unit;
    }

    // An empty `$unit`, made as the parser makes it, kept by no library.
    VeriScope* detachedUnitScope() {
        auto* unit = arena_.make<VeriPackage>();
        auto* id = arena_.make<VeriModuleId>();
        id->name = Symbol::Intern("$unit");
        id->declaration = unit;
        unit->id = id;
        unit->scope = arena_.make<VeriScope>(nullptr, unit);
        id->scope = unit->scope;
        return unit->scope;
    }

    Walk& walkOf(VeriModule* unit) {
        auto it = session_.walks.find(unit);
        if (it == session_.walks.end()) it = session_.walks.emplace(unit, WalkUnit(unit)).first;
        return it->second;
    }

    VeriLibrary& library_;
    std::string name_;
    StoreReader in_;
    Session& session_;
    Arena& arena_;
    std::string_view savedLibrary_;
    std::vector<std::string_view> strings_;
    std::vector<uint32_t> files_;
    std::vector<DepEntry> deps_;
    std::vector<ExternEntry> externTable_;
    std::vector<VeriTreeNode*> externs_;
    std::vector<VeriScope*> externScopes_;
    std::vector<VeriTreeNode*> nodes_;
    std::vector<uint32_t> depth_;
    std::vector<VeriScope*> scopes_;
    std::vector<bool> scopeOwned_;
    uint64_t scopeCount_ = 0;
    VeriModule* unit_ = nullptr;
    std::vector<Fixup> fixups_;
    std::vector<ScopeFixup> scopeFixups_;
    size_t current_ = 0;
};

// ---------------------------------------------------------------- the class table

template <class Tuple, size_t... I>
uint64_t ShapeOf(uint64_t h, std::index_sequence<I...>) {
    ((h = StoreHash(KindTag<std::remove_reference_t<std::tuple_element_t<I, Tuple>>>(), h)), ...);
    return h;
}

template <class C>
ClassCodec CodecFor() {
    ClassCodec c;
    c.id = C::kClassId;
    c.make = [](Arena& a) -> VeriTreeNode* { return a.make<C>(); };
    c.children = [](VeriTreeNode& n, std::vector<VeriTreeNode*>& out, std::vector<VeriScope*>& scopes) {
        std::apply([&](auto&&... f) { (AddChildren(f, out, scopes), ...); }, static_cast<C&>(n).Fields());
    };
    c.print = [](VeriTreeNode& n, uint64_t h) {
        std::apply([&](auto&&... f) { ((h = PrintField(f, h)), ...); }, static_cast<C&>(n).Fields());
        return h;
    };
    c.save = [](Saver& s, VeriTreeNode& n) {
        std::apply([&](auto&&... f) { (s.field(f), ...); }, static_cast<C&>(n).Fields());
    };
    c.load = [](Loader& l, VeriTreeNode& n) {
        std::apply([&](auto&&... f) { (l.field(f), ...); }, static_cast<C&>(n).Fields());
    };
    c.shape = [](uint64_t h) {
        using FieldTuple = decltype(std::declval<C&>().Fields());
        return ShapeOf<FieldTuple>(StoreHash(std::tuple_size_v<FieldTuple>, h),
                                   std::make_index_sequence<std::tuple_size_v<FieldTuple>>());
    };
    return c;
}

template <class C>
void AddCodec(std::vector<ClassCodec>& all) {
    if constexpr (HasOwnId<C>::value) all.push_back(CodecFor<C>());
}

const std::vector<ClassCodec>& Codecs() {
    static const std::vector<ClassCodec> all = [] {
        std::vector<ClassCodec> v;
#define VERI_STORE_CODEC(Class, Base) AddCodec<Class>(v);
        HDL_VERI_NODE_CLASSES(VERI_STORE_CODEC)
#undef VERI_STORE_CODEC
        std::sort(v.begin(), v.end(), [](const ClassCodec& a, const ClassCodec& b) { return a.id < b.id; });
        return v;
    }();
    return all;
}

// Class ids share their high bits; the low ones index a table.
const ClassCodec& CodecOf(uint32_t id) {
    static const std::vector<const ClassCodec*> table = [] {
        std::vector<const ClassCodec*> t;
        for (const ClassCodec& c : Codecs()) {
            if ((c.id & 0xfff00000u) != (Codecs().front().id & 0xfff00000u)) throw StoreError("class ids out of range");
            const size_t slot = c.id & 0xfffffu;
            if (t.size() <= slot) t.resize(slot + 1, nullptr);
            t[slot] = &c;
        }
        return t;
    }();
    const size_t slot = id & 0xfffffu;
    if (slot >= table.size() || !table[slot] || table[slot]->id != id) throw StoreError("a node of unknown class");
    return *table[slot];
}

// ---------------------------------------------------------------- library directories

class StoreSource : public VeriUnitSource {
public:
    static StoreSource& instance() {
        static StoreSource* source = new StoreSource; // lives for the process
        return *source;
    }
    void install() { veri_file::SetUnitSource(this); }

    std::string directoryOf(const std::string& library) const {
        auto it = paths_.find(library);
        if (it != paths_.end()) return it->second;
        return defaultPath_.empty() ? std::string() : defaultPath_ + "/" + library;
    }

    VeriModule* Restore(VeriLibrary& library, std::string_view name) override {
        const std::string dir = directoryOf(library.GetName());
        std::pair<std::string, std::string> key{library.GetName(), std::string(name)};
        if (dir.empty() || absent_.count(key)) return nullptr;
        if (Session* s = Session::active())
            for (const Session::Loading& l : s->loading)
                if (l.library == &library && l.name == name) return nullptr;
        const std::string path = dir + "/" + VeriStore::FileName(name);
        std::error_code ec;
        if (!std::filesystem::is_regular_file(path, ec)) {
            absent_.insert(key);
            return nullptr;
        }
        try {
            return VeriStore::Decode(library, name, StoreReadFile(path), veri_file::_protect);
        } catch (const StoreError& e) {
            // Reported once; the unit stays absent, and a use of it is reported as usual.
            absent_.insert(key);
            ColLineFile loc = LineFile::StartOf(path);
            Message::Tell<veri_msg::StoreCannotRestore>(&loc, key.second.c_str(), library.GetName().c_str(),
                                                        path.c_str(), e.what());
            return nullptr;
        }
    }
    void Forget() override {
        paths_.clear();
        defaultPath_.clear();
        absent_.clear();
    }

    std::map<std::string, std::string> paths_;
    std::string defaultPath_;
    std::set<std::pair<std::string, std::string>> absent_;
};

} // namespace

// ---------------------------------------------------------------- VeriStore

std::string VeriStore::FileName(std::string_view unitName) {
    std::string name;
    for (char c : unitName) {
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_') {
            // Verilog names are case-sensitive, file systems may not be: capitals escaped.
            if (c >= 'A' && c <= 'Z') name += '^';
            name += c;
        } else {
            char esc[4];
            std::snprintf(esc, sizeof esc, "%%%02X", static_cast<unsigned char>(c));
            name += esc;
        }
    }
    // File names have a length limit; long escaped identifiers keep a hash instead.
    if (name.size() > 200) {
        char hash[20];
        std::snprintf(hash, sizeof hash, "-%016llx", static_cast<unsigned long long>(StoreHash(unitName)));
        name = name.substr(0, 180) + hash;
    }
    return name + ".sdb";
}

std::string VeriStore::Encode(VeriModule& unit, Protect* cipher) {
    return StoreSeal(Kind(), Saver(unit).run(), cipher);
}

VeriModule* VeriStore::Decode(VeriLibrary& library, std::string_view name, std::string_view bytes, Protect* cipher) {
    SessionScope scope;
    const std::string payload = StoreOpen(Kind(), bytes, cipher);
    return Loader(library, name, payload, *scope.session).run();
}

StoreKind VeriStore::Kind() { return {"SIFT-SDB", kFormat, Layout()}; }

uint64_t VeriStore::Layout() {
    static const uint64_t layout = [] {
        uint64_t h = StoreHash(kFormat, 0xcbf29ce484222325ull);
        for (const ClassCodec& c : Codecs()) h = c.shape(StoreHash(c.id, h));
        return h;
    }();
    return layout;
}

// ---------------------------------------------------------------- veri_file

void veri_file::SetDefaultLibraryPath(const char* path) {
    StoreSource& source = StoreSource::instance();
    source.defaultPath_ = path ? path : "";
    source.absent_.clear();
    source.install();
}

void veri_file::AddLibraryPath(const char* library, const char* path) {
    if (!library) return;
    StoreSource& source = StoreSource::instance();
    source.paths_[library] = path ? path : "";
    source.absent_.clear();
    source.install();
    // The library exists from now on, as if units had been analysed into it.
    GetLibrary(library, true);
}

bool veri_file::Save(const char* library, const char* unit) {
    const std::string libName = library ? library : "";
    const std::string unitName = unit ? unit : "";
    try {
        VeriLibrary* lib = GetLibrary(libName.c_str());
        VeriModule* module = lib ? lib->GetModule(unitName) : nullptr;
        if (!module) throw StoreError("there is no such unit");
        const std::string dir = StoreSource::instance().directoryOf(lib->GetName());
        if (dir.empty()) throw StoreError("the library has no directory (SetDefaultLibraryPath, AddLibraryPath)");
        std::error_code ec;
        std::filesystem::create_directories(dir, ec);
        StoreWriteFile(dir + "/" + VeriStore::FileName(unitName), VeriStore::Encode(*module, _protect));
        return true;
    } catch (const StoreError& e) {
        Message::Tell<veri_msg::StoreCannotSave>(nullptr, unitName.c_str(), libName.c_str(), e.what());
        return false;
    }
}

bool veri_file::SaveLib(const char* library) {
    VeriLibrary* lib = GetLibrary(library);
    if (!lib) {
        Message::Tell<veri_msg::StoreNoLibrary>(nullptr, library ? library : "");
        return false;
    }
    bool ok = true;
    // Copied: saving restores nothing, but a look-up could.
    const std::vector<VeriModule*> units = lib->AllModules();
    for (VeriModule* unit : units) ok = Save(lib->GetName().c_str(), std::string(unit->Name()).c_str()) && ok;
    return ok;
}

} // namespace hdl
