#include "hdl/store/VhdlStore.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <limits>
#include <map>
#include <set>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlResolver.h"

namespace hdl {

namespace {

constexpr uint32_t kFormat = 1;
// Deeper trees than this are refused, so that a damaged file cannot make later
// recursive walks overflow the stack; analysed sources stay far below it.
constexpr uint32_t kMaxDepth = 4096;
// Units restored while restoring one unit, one inside the other.
constexpr unsigned kMaxNesting = 256;

// ---------------------------------------------------------------- member kinds

// The kinds of members, as the trees' field machinery tells them apart
// (hdl/base/TreeFields.h): children (node pointers and lists of them) and plain values
// in field lists, links in Links().
template <class F>
constexpr bool IsNode = tree::IsNode<VhdlTreeTraits, F>;
template <class F>
using IsList = tree::IsList<F>;

// Classes that declare their own class id (VHDL_NODE), as opposed to abstract bases.
template <class C, class = void>
struct HasOwnId : std::false_type {};
template <class C>
struct HasOwnId<C, std::void_t<typename C::SelfType>> : std::bool_constant<std::is_same_v<typename C::SelfType, C>> {};

template <class F>
constexpr uint64_t KindTag() {
    if constexpr (IsNode<F>) return 1;
    else if constexpr (IsList<F>::value) return 2;
    else if constexpr (std::is_same_v<F, std::string_view>) return 3;
    else if constexpr (std::is_same_v<F, bool>) return 4;
    else if constexpr (std::is_integral_v<F> && std::is_unsigned_v<F>) return 5;
    else if constexpr (std::is_integral_v<F>) return 6;
    // A back-link belongs in Links(), not in the field list as HDL_LINK.
    else static_assert(sizeof(F) == 0, "a member kind that saved libraries cannot hold");
}

class Saver;
class Loader;

// What the store does with the nodes of one class, made from its member lists.
struct ClassCodec {
    uint32_t id = 0;
    VhdlTreeNode* (*make)(Arena&) = nullptr;
    void (*children)(VhdlTreeNode&, std::vector<VhdlTreeNode*>&) = nullptr;
    uint64_t (*print)(VhdlTreeNode&, uint64_t) = nullptr; // fields into a fingerprint
    void (*save)(Saver&, VhdlTreeNode&) = nullptr;
    void (*load)(Loader&, VhdlTreeNode&) = nullptr;
    uint64_t (*shape)(uint64_t) = nullptr; // member kinds into the layout
};

template <class F>
void AddChildren(F& f, std::vector<VhdlTreeNode*>& out) {
    if constexpr (IsNode<F>) {
        if (f) out.push_back(f);
    } else if constexpr (IsList<F>::value) {
        for (auto* x : f)
            if (x) out.push_back(x);
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
    } else if constexpr (std::is_same_v<F, std::string_view>) {
        return StoreHash(f, StoreHash(f.size(), h));
    } else {
        return StoreHash(static_cast<uint64_t>(f), h);
    }
}

// ---------------------------------------------------------------- walks

const ClassCodec& CodecOf(uint32_t id);

// A unit's nodes in walk order (the node, then its children field by field), and the
// fingerprint of its shape: classes and field values, without positions or links.
struct Walk {
    std::vector<VhdlTreeNode*> order;
    uint64_t fingerprint = 0;
    std::unordered_map<VhdlTreeNode*, uint32_t> places; // filled on demand

    uint32_t placeOf(VhdlTreeNode* node) {
        if (places.empty())
            for (uint32_t i = 0; i < order.size(); ++i) places.emplace(order[i], i);
        auto it = places.find(node);
        return it == places.end() ? UINT32_MAX : it->second;
    }
};

Walk WalkUnit(VhdlTreeNode* root) {
    Walk w;
    uint64_t h = StoreHash(kFormat, 0xcbf29ce484222325ull);
    std::vector<VhdlTreeNode*> stack{root};
    std::vector<VhdlTreeNode*> kids;
    while (!stack.empty()) {
        VhdlTreeNode* n = stack.back();
        stack.pop_back();
        const ClassCodec& c = CodecOf(n->GetClassId());
        w.order.push_back(n);
        h = c.print(*n, StoreHash(c.id, h));
        kids.clear();
        c.children(*n, kids);
        for (auto it = kids.rbegin(); it != kids.rend(); ++it) stack.push_back(*it);
    }
    w.fingerprint = h;
    return w;
}

std::string KeyOf(std::string_view name) {
    std::string key(name);
    if (!(key.size() > 1 && key[0] == '\\'))
        for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return key;
}

// Where a design unit stands: its library, its primary unit and, for a secondary unit,
// its own name.
struct UnitPlace {
    std::string library;
    std::string primary;
    std::string secondary; // empty for a primary unit
};

// Throws when the unit is not (or no longer) in its library.
UnitPlace PlaceOf(VhdlDesignUnit* unit) {
    VhdlLibrary* lib = unit->GetOwningLib();
    if (!lib) throw StoreError("a link leads to unit '" + std::string(unit->Name()) + "', which is in no library");
    if (auto* primary = dynamic_cast<VhdlPrimaryUnit*>(unit)) {
        if (lib->GetPrimUnit(std::string(primary->Name()).c_str(), false) != primary)
            throw StoreError("a link leads to unit '" + std::string(unit->Name()) + "' of library '" + lib->Name() +
                             "', which a later analysis replaced");
        return {lib->Name(), std::string(primary->Name()), ""};
    }
    for (VhdlPrimaryUnit* primary : lib->PrimaryUnits())
        for (VhdlSecondaryUnit* secondary : primary->GetSecondaryUnits())
            if (secondary == unit) return {lib->Name(), std::string(primary->Name()), std::string(unit->Name())};
    throw StoreError("a link leads to secondary unit '" + std::string(unit->Name()) + "' of library '" + lib->Name() +
                     "', which a later analysis replaced");
}

// ---------------------------------------------------------------- saving

class Saver {
public:
    explicit Saver(VhdlPrimaryUnit& unit) : unit_(unit) {}

    std::string run() {
        // A copy shares its subtrees with its original; elaboration makes it again.
        if (!unit_.GetOriginalUnitName().empty())
            throw StoreError("it is a copy that elaboration made of unit '" + std::string(unit_.GetOriginalUnitName()) +
                             "'; copies are not saved");
        std::vector<VhdlDesignUnit*> units{&unit_};
        for (VhdlSecondaryUnit* s : unit_.GetSecondaryUnits()) units.push_back(s);
        std::vector<uint32_t> roots;
        for (VhdlDesignUnit* u : units) {
            roots.push_back(static_cast<uint32_t>(nodes_.size()));
            for (VhdlTreeNode* n : walkOf(u).order) {
                index_.emplace(n, static_cast<uint32_t>(nodes_.size()));
                nodes_.push_back(n);
            }
        }
        // What was read from a deciphered protected region stays in memory: a saved
        // file would hold it in clear.
        SourceLineMap protectedLines = Message::GetSourceLineMap();
        for (VhdlTreeNode* n : nodes_) {
            const ColLineFile& loc = n->Linefile();
            uint32_t sourceLine = 0;
            const char* file = protectedLines ? LineFile::GetFileNameFromId(loc.fileId) : nullptr;
            if (file && protectedLines(file, loc.leftLine, &sourceLine))
                throw StoreError("it comes from a protected region of " + std::string(file) + ", which is not saved");
            records_.u64(fileIndex(loc.fileId));
            records_.u64(loc.leftLine);
            records_.u64(loc.leftCol);
            records_.u64(loc.rightLine);
            records_.u64(loc.rightCol);
            CodecOf(n->GetClassId()).save(*this, *n);
        }
        // Everything named by the records is known now: the tables go first.
        StoreWriter head;
        const uint32_t libraryName = string(unit_.GetOwningLib() ? unit_.GetOwningLib()->Name() : "");
        const uint32_t unitName = string(unit_.Name());
        std::vector<uint32_t> depNames;
        for (const Dep& d : deps_) {
            depNames.push_back(string(d.place.library));
            depNames.push_back(string(d.place.primary));
            depNames.push_back(d.place.secondary.empty() ? 0 : string(d.place.secondary) + 1);
        }
        head.u64(strings_.size());
        for (std::string_view s : strings_) head.bytes(s);
        head.u64(files_.size());
        for (uint32_t f : files_) head.u64(f);
        head.u64(libraryName);
        head.u64(unitName);
        head.u64(deps_.size());
        for (size_t i = 0; i < deps_.size(); ++i) {
            head.u64(depNames[3 * i]);
            head.u64(depNames[3 * i + 1]);
            head.u64(depNames[3 * i + 2]);
            head.u64(deps_[i].fingerprint);
        }
        head.u64(externs_.size());
        for (const Extern& e : externs_) {
            head.u64(e.kind);
            head.u64(e.a);
            if (e.kind == 0) head.u64(e.b);
        }
        head.u64(nodes_.size());
        for (VhdlTreeNode* n : nodes_) head.u64(n->GetClassId());
        head.u64(roots.size());
        for (uint32_t r : roots) head.u64(r);
        for (VhdlDesignUnit* u : units) head.u64(walkOf(u).fingerprint);
        return head.data() + records_.data();
    }

    template <class F>
    void field(F& f, bool link) {
        if constexpr (IsNode<F>) {
            if (link) records_.u64(reference(f));
            else records_.u64(f ? 1 + index_.at(f) : 0);
        } else if constexpr (IsList<F>::value) {
            records_.u64(f.Size());
            for (auto* x : f) records_.u64(x ? 1 + index_.at(x) : 0);
        } else if constexpr (std::is_same_v<F, std::string_view>) {
            records_.u64(string(f));
        } else if constexpr (std::is_same_v<F, bool> || std::is_unsigned_v<F>) {
            records_.u64(static_cast<uint64_t>(f));
        } else {
            records_.i64(static_cast<int64_t>(f));
        }
    }

private:
    struct Dep {
        UnitPlace place;
        uint64_t fingerprint;
    };
    // 0: a node of dependency `a` at place `b` of its walk; 1: the implicit library
    // identifier named by string `a`.
    struct Extern {
        uint32_t kind;
        uint32_t a;
        uint32_t b;
    };

    uint32_t string(std::string_view s) {
        auto it = stringIds_.find(s);
        if (it != stringIds_.end()) return it->second;
        const auto id = static_cast<uint32_t>(strings_.size());
        strings_.push_back(s);
        stringIds_.emplace(s, id);
        return id;
    }
    uint32_t string(const std::string& s) {
        owned_.push_back(s);
        return string(std::string_view(owned_.back()));
    }
    uint32_t fileIndex(uint32_t fileId) {
        if (fileId == 0) return 0;
        auto it = fileIds_.find(fileId);
        if (it != fileIds_.end()) return it->second;
        const char* name = LineFile::GetFileNameFromId(fileId);
        files_.push_back(string(std::string(name ? name : "")));
        return fileIds_[fileId] = static_cast<uint32_t>(files_.size());
    }
    Walk& walkOf(VhdlDesignUnit* unit) {
        auto it = walks_.find(unit);
        if (it == walks_.end()) it = walks_.emplace(unit, WalkUnit(unit)).first;
        return it->second;
    }
    // Odd: a node of this file; even from 2: an entry of the extern table.
    uint64_t reference(VhdlTreeNode* target) {
        if (!target) return 0;
        auto here = index_.find(target);
        if (here != index_.end()) return 1 + 2 * uint64_t(here->second);
        auto known = externIds_.find(target);
        if (known != externIds_.end()) return 2 + 2 * uint64_t(known->second);
        Extern e = externOf(target);
        const auto id = static_cast<uint32_t>(externs_.size());
        externs_.push_back(e);
        externIds_.emplace(target, id);
        return 2 + 2 * uint64_t(id);
    }
    Extern externOf(VhdlTreeNode* target) {
        // A unit itself, or a declaration in the unit resolution says holds it.
        VhdlDesignUnit* owner = dynamic_cast<VhdlDesignUnit*>(target);
        if (!owner)
            if (auto* id = dynamic_cast<VhdlIdDef*>(target)) owner = id->owningUnit;
        if (owner) {
            uint32_t place = walkOf(owner).placeOf(target);
            if (place != UINT32_MAX) return {0, depOf(owner), place};
        }
        if (target->GetClassId() == VhdlLibraryId::kClassId) {
            auto* id = static_cast<VhdlIdDef*>(target);
            std::string key = KeyOf(id->OrigName());
            if (VhdlImplicitLibraryId(key) == target) return {1, string(key), 0};
        }
        // Anything else: search every unit of every library.
        for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
            for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
                std::vector<VhdlDesignUnit*> units{p};
                for (VhdlSecondaryUnit* s : p->GetSecondaryUnits()) units.push_back(s);
                for (VhdlDesignUnit* u : units) {
                    uint32_t place = walkOf(u).placeOf(target);
                    if (place != UINT32_MAX) return {0, depOf(u), place};
                }
            }
        }
        char cls[16];
        std::snprintf(cls, sizeof cls, "%08x", target->GetClassId());
        throw StoreError(std::string("a link leads out of every library unit, to a node of class ") + cls);
    }
    uint32_t depOf(VhdlDesignUnit* unit) {
        auto it = depIds_.find(unit);
        if (it != depIds_.end()) return it->second;
        deps_.push_back({PlaceOf(unit), walkOf(unit).fingerprint});
        return depIds_[unit] = static_cast<uint32_t>(deps_.size() - 1);
    }

    VhdlPrimaryUnit& unit_;
    std::vector<VhdlTreeNode*> nodes_;
    std::unordered_map<VhdlTreeNode*, uint32_t> index_;
    StoreWriter records_;
    std::vector<std::string_view> strings_;
    std::unordered_map<std::string_view, uint32_t> stringIds_;
    std::deque<std::string> owned_; // stable: the string table views them
    std::vector<uint32_t> files_;
    std::unordered_map<uint32_t, uint32_t> fileIds_;
    std::vector<Dep> deps_;
    std::unordered_map<VhdlDesignUnit*, uint32_t> depIds_;
    std::vector<Extern> externs_;
    std::unordered_map<VhdlTreeNode*, uint32_t> externIds_;
    std::map<VhdlDesignUnit*, Walk> walks_;
};

// ---------------------------------------------------------------- loading

// Units being restored, one inside the other, and the walks of units that links lead
// to; lives while the outermost restore runs.
struct Session {
    struct Loading {
        std::string library;
        std::string key;
        VhdlPrimaryUnit* unit;
        std::vector<VhdlDesignUnit*> units;
    };
    std::vector<Loading> loading;
    std::map<VhdlDesignUnit*, Walk> walks;
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
    Loader(VhdlLibrary& library, const std::string& key, std::string_view payload, Session& session)
        : library_(library), key_(key), in_(payload), session_(session), arena_(vhdl_file::NewTreeArena()) {}

    VhdlPrimaryUnit* run() {
        readTables();
        readRecords();
        // Registered before the links out are followed, so that a unit that leads back
        // to this one finds it.
        session_.loading.push_back({library_.Name(), key_, primary_, units_});
        struct Pop {
            Session& s;
            ~Pop() { s.loading.pop_back(); }
        } pop{session_};
        resolveExterns();
        for (const Fixup& f : fixups_)
            if (!f.assign(f.slot, externs_[f.ext])) throw StoreError("a link leads to a node of the wrong kind");
        VhdlSecondaryUnit* lastArchitecture = primary_->lastArchitecture;
        library_.AddPrimUnit(primary_);
        for (size_t u = 1; u < units_.size(); ++u) {
            auto* secondary = static_cast<VhdlSecondaryUnit*>(units_[u]);
            secondary->library = &library_;
            primary_->AddSecondaryUnit(secondary);
        }
        primary_->lastArchitecture = lastArchitecture;
        return primary_;
    }

    template <class F>
    void field(F& f, bool link) {
        if constexpr (IsNode<F>) {
            if (link) linkField(f);
            else f = child<std::remove_pointer_t<F>>();
        } else if constexpr (IsList<F>::value) {
            using Item = std::remove_pointer_t<std::remove_reference_t<decltype(*f.begin())>>;
            std::vector<Item*> items(in_.count("list length"));
            for (Item*& item : items) item = child<Item>();
            f = F(arena_, items);
        } else if constexpr (std::is_same_v<F, std::string_view>) {
            f = strings_[in_.below(strings_.size(), "string")];
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
        bool (*assign)(void*, VhdlTreeNode*);
        uint32_t ext;
    };
    struct ExternEntry {
        uint32_t kind;
        uint32_t a;
        uint32_t b;
    };
    struct DepEntry {
        UnitPlace place;
        uint64_t fingerprint;
    };

    template <class T>
    static bool Assign(void* slot, VhdlTreeNode* target) {
        auto* p = dynamic_cast<T*>(target);
        if (!p && target) return false;
        *static_cast<T**>(slot) = p;
        return true;
    }

    void readTables() {
        strings_.resize(in_.count("string count"));
        for (std::string_view& s : strings_) s = arena_.copy(in_.bytes());
        files_.resize(in_.count("file count"));
        for (uint32_t& f : files_) f = LineFile::GetFileId(std::string(strings_[in_.below(strings_.size(), "file")]));
        in_.below(strings_.size(), "library name");
        std::string_view name = strings_[in_.below(strings_.size(), "unit name")];
        if (KeyOf(name) != key_)
            throw StoreError("the file holds unit '" + std::string(name) + "', not '" + key_ + "'");
        deps_.resize(in_.count("dependency count"));
        for (DepEntry& d : deps_) {
            d.place.library = strings_[in_.below(strings_.size(), "dependency")];
            d.place.primary = strings_[in_.below(strings_.size(), "dependency")];
            uint64_t secondary = in_.below(strings_.size() + 1, "dependency");
            if (secondary) d.place.secondary = strings_[secondary - 1];
            d.fingerprint = in_.u64();
        }
        externTable_.resize(in_.count("extern count"));
        for (ExternEntry& e : externTable_) {
            e.kind = static_cast<uint32_t>(in_.below(2, "extern kind"));
            if (e.kind == 0) {
                e.a = static_cast<uint32_t>(in_.below(deps_.size(), "dependency"));
                e.b = static_cast<uint32_t>(in_.below(UINT32_MAX, "place"));
            } else {
                e.a = static_cast<uint32_t>(in_.below(strings_.size(), "library name"));
            }
        }
        nodes_.resize(in_.count("node count"));
        if (nodes_.empty()) throw StoreError("the file holds no unit");
        for (VhdlTreeNode*& n : nodes_) n = CodecOf(static_cast<uint32_t>(in_.u64())).make(arena_);
        const uint64_t unitCount = in_.count("unit count");
        if (unitCount == 0) throw StoreError("the file holds no unit");
        std::vector<uint32_t> roots(unitCount);
        for (uint32_t& r : roots) r = static_cast<uint32_t>(in_.below(nodes_.size(), "unit root"));
        unitOf_.assign(nodes_.size(), 0);
        for (size_t u = 0; u < roots.size(); ++u) {
            if ((u == 0 && roots[0] != 0) || (u > 0 && roots[u] <= roots[u - 1]))
                throw StoreError("the units are out of order");
            auto* unit = dynamic_cast<VhdlDesignUnit*>(nodes_[roots[u]]);
            const bool primary = dynamic_cast<VhdlPrimaryUnit*>(unit) != nullptr;
            if (!unit || primary != (u == 0)) throw StoreError("a unit of the wrong kind");
            units_.push_back(unit);
            for (size_t i = roots[u]; i < nodes_.size(); ++i) unitOf_[i] = static_cast<uint32_t>(u);
        }
        primary_ = static_cast<VhdlPrimaryUnit*>(units_[0]);
        for (size_t u = 0; u < roots.size(); ++u) in_.u64(); // the units' own fingerprints
        depth_.assign(nodes_.size(), 0);
        for (uint32_t r : roots) depth_[r] = 1;
    }

    void readRecords() {
        for (current_ = 0; current_ < nodes_.size(); ++current_) {
            if (depth_[current_] == 0) throw StoreError("a node belongs to no unit");
            uint64_t file = in_.below(files_.size() + 1, "file");
            uint32_t ll = static_cast<uint32_t>(in_.u64());
            uint32_t lc = static_cast<uint32_t>(in_.u64());
            uint32_t rl = static_cast<uint32_t>(in_.u64());
            uint32_t rc = static_cast<uint32_t>(in_.u64());
            nodes_[current_]->SetLinefile(ColLineFile(file ? files_[file - 1] : 0, ll, lc, rl, rc));
            CodecOf(nodes_[current_]->GetClassId()).load(*this, *nodes_[current_]);
        }
        if (!in_.atEnd()) throw StoreError("the file has bytes after its last node");
    }

    // Each node is the child of exactly one node before it, of the same unit.
    template <class T>
    T* child() {
        uint64_t r = in_.below(nodes_.size() + 1, "child");
        if (r == 0) return nullptr;
        const uint64_t i = r - 1;
        if (i <= current_ || unitOf_[i] != unitOf_[current_] || depth_[i] != 0)
            throw StoreError("the nodes do not form a tree");
        depth_[i] = depth_[current_] + 1;
        if (depth_[i] > kMaxDepth) throw StoreError("the tree is nested too deeply");
        if constexpr (std::is_same_v<T, VhdlTreeNode>) {
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
            if ((r - 2) / 2 >= externTable_.size()) throw StoreError("a link out of range");
            slot = nullptr;
            fixups_.push_back({&slot, &Assign<T>, static_cast<uint32_t>((r - 2) / 2)});
        }
    }

    // The units this one links to, looked up (restored when need be) and checked
    // against the fingerprints they had when this one was saved.
    void resolveExterns() {
        std::vector<VhdlDesignUnit*> depUnits(deps_.size(), nullptr);
        externs_.resize(externTable_.size());
        for (size_t i = 0; i < externTable_.size(); ++i) {
            const ExternEntry& e = externTable_[i];
            if (e.kind == 1) {
                externs_[i] = VhdlImplicitLibraryId(KeyOf(strings_[e.a]));
                continue;
            }
            VhdlDesignUnit*& unit = depUnits[e.a];
            if (!unit) unit = findDep(deps_[e.a]);
            Walk& w = walkOf(unit);
            if (e.b >= w.order.size()) throw StoreError("a link out of range");
            externs_[i] = w.order[e.b];
        }
    }

    VhdlDesignUnit* findDep(const DepEntry& d) {
        const std::string name =
            d.place.library + "." + d.place.primary + (d.place.secondary.empty() ? "" : "(" + d.place.secondary + ")");
        VhdlPrimaryUnit* primary = nullptr;
        for (const Session::Loading& l : session_.loading)
            if (l.library == KeyOf(d.place.library) && l.key == KeyOf(d.place.primary)) primary = l.unit;
        if (!primary) {
            VhdlLibrary* lib = vhdl_file::GetLibrary(d.place.library.c_str());
            primary = lib ? lib->GetPrimUnit(d.place.primary.c_str()) : nullptr;
        }
        if (!primary) throw StoreError("it needs unit " + name + ", which is not there");
        VhdlDesignUnit* unit = primary;
        if (!d.place.secondary.empty()) {
            unit = nullptr;
            for (const Session::Loading& l : session_.loading)
                if (l.unit == primary)
                    for (VhdlDesignUnit* u : l.units)
                        if (u != primary && KeyOf(u->Name()) == KeyOf(d.place.secondary)) unit = u;
            if (!unit) unit = primary->GetSecondaryUnit(d.place.secondary.c_str());
            if (!unit) throw StoreError("it needs unit " + name + ", which is not there");
        }
        if (walkOf(unit).fingerprint != d.fingerprint)
            throw StoreError("unit " + name + " has changed since this one was saved");
        return unit;
    }

    Walk& walkOf(VhdlDesignUnit* unit) {
        auto it = session_.walks.find(unit);
        if (it == session_.walks.end()) it = session_.walks.emplace(unit, WalkUnit(unit)).first;
        return it->second;
    }

    VhdlLibrary& library_;
    std::string key_;
    StoreReader in_;
    Session& session_;
    Arena& arena_;
    std::vector<std::string_view> strings_;
    std::vector<uint32_t> files_;
    std::vector<DepEntry> deps_;
    std::vector<ExternEntry> externTable_;
    std::vector<VhdlTreeNode*> externs_;
    std::vector<VhdlTreeNode*> nodes_;
    std::vector<uint32_t> unitOf_;
    std::vector<uint32_t> depth_;
    std::vector<VhdlDesignUnit*> units_;
    VhdlPrimaryUnit* primary_ = nullptr;
    std::vector<Fixup> fixups_;
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
    c.make = [](Arena& a) -> VhdlTreeNode* { return a.make<C>(); };
    c.children = [](VhdlTreeNode& n, std::vector<VhdlTreeNode*>& out) {
        std::apply([&](auto&&... f) { (AddChildren(f, out), ...); }, static_cast<C&>(n).Fields());
    };
    c.print = [](VhdlTreeNode& n, uint64_t h) {
        std::apply([&](auto&&... f) { ((h = PrintField(f, h)), ...); }, static_cast<C&>(n).Fields());
        return h;
    };
    c.save = [](Saver& s, VhdlTreeNode& n) {
        std::apply([&](auto&&... f) { (s.field(f, false), ...); }, static_cast<C&>(n).Fields());
        std::apply([&](auto&&... f) { (s.field(f, true), ...); }, static_cast<C&>(n).Links());
    };
    c.load = [](Loader& l, VhdlTreeNode& n) {
        std::apply([&](auto&&... f) { (l.field(f, false), ...); }, static_cast<C&>(n).Fields());
        std::apply([&](auto&&... f) { (l.field(f, true), ...); }, static_cast<C&>(n).Links());
    };
    c.shape = [](uint64_t h) {
        using FieldTuple = decltype(std::declval<C&>().Fields());
        using LinkTuple = decltype(std::declval<C&>().Links());
        h = ShapeOf<FieldTuple>(StoreHash(std::tuple_size_v<FieldTuple>, h),
                                std::make_index_sequence<std::tuple_size_v<FieldTuple>>());
        return ShapeOf<LinkTuple>(StoreHash(std::tuple_size_v<LinkTuple> + 0x100, h),
                                  std::make_index_sequence<std::tuple_size_v<LinkTuple>>());
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
#define VHDL_STORE_CODEC(Class, Base) AddCodec<Class>(v);
        VHDL_CLASSES(VHDL_STORE_CODEC)
#undef VHDL_STORE_CODEC
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

class StoreSource : public VhdlUnitSource {
public:
    static StoreSource& instance() {
        static StoreSource* source = new StoreSource; // lives for the process
        return *source;
    }
    void install() { vhdl_file::SetUnitSource(this); }

    std::string directoryOf(const std::string& library) const {
        std::string key = KeyOf(library);
        auto it = paths_.find(key);
        if (it != paths_.end()) return it->second;
        return defaultPath_.empty() ? std::string() : defaultPath_ + "/" + key;
    }

    VhdlPrimaryUnit* Restore(VhdlLibrary& library, const std::string& key) override {
        const std::string dir = directoryOf(library.Name());
        if (dir.empty() || absent_.count({library.Name(), key})) return nullptr;
        if (Session* s = Session::active())
            for (const Session::Loading& l : s->loading)
                if (l.library == library.Name() && l.key == key) return nullptr;
        const std::string path = dir + "/" + VhdlStore::FileName(key);
        std::error_code ec;
        if (!std::filesystem::is_regular_file(path, ec)) {
            absent_.insert({library.Name(), key});
            return nullptr;
        }
        try {
            return VhdlStore::Decode(library, key, StoreReadFile(path), vhdl_file::_protect);
        } catch (const StoreError& e) {
            // Reported once; the unit stays absent, and a use of it is reported as usual.
            absent_.insert({library.Name(), key});
            ColLineFile loc = LineFile::StartOf(path);
            Message::Tell<vhdl_msg::StoreCannotRestore>(&loc, key.c_str(), library.Name().c_str(), path.c_str(),
                                                        e.what());
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

// ---------------------------------------------------------------- VhdlStore

std::string VhdlStore::FileName(const std::string& key) {
    std::string name;
    for (char c : key) {
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_') {
            name += c;
        } else {
            char esc[4];
            std::snprintf(esc, sizeof esc, "%%%02X", static_cast<unsigned char>(c));
            name += esc;
        }
    }
    // File names have a length limit; long extended identifiers keep a hash instead.
    if (name.size() > 200) {
        char hash[20];
        std::snprintf(hash, sizeof hash, "-%016llx", static_cast<unsigned long long>(StoreHash(key)));
        name = name.substr(0, 180) + hash;
    }
    return name + ".vdb";
}

std::string VhdlStore::Encode(VhdlPrimaryUnit& unit, Protect* cipher) {
    return StoreSeal(Kind(), Saver(unit).run(), cipher);
}

VhdlPrimaryUnit* VhdlStore::Decode(VhdlLibrary& library, const std::string& key, std::string_view bytes,
                                   Protect* cipher) {
    SessionScope scope;
    const std::string payload = StoreOpen(Kind(), bytes, cipher);
    return Loader(library, key, payload, *scope.session).run();
}

StoreKind VhdlStore::Kind() { return {"SIFT-VDB", kFormat, Layout()}; }

uint64_t VhdlStore::Layout() {
    static const uint64_t layout = [] {
        uint64_t h = StoreHash(kFormat, 0xcbf29ce484222325ull);
        for (const ClassCodec& c : Codecs()) h = c.shape(StoreHash(c.id, h));
        return h;
    }();
    return layout;
}

// ---------------------------------------------------------------- vhdl_file

void vhdl_file::SetDefaultLibraryPath(const char* path) {
    StoreSource& source = StoreSource::instance();
    source.defaultPath_ = path ? path : "";
    source.absent_.clear();
    source.install();
}

void vhdl_file::AddLibraryPath(const char* library, const char* path) {
    if (!library) return;
    StoreSource& source = StoreSource::instance();
    source.paths_[KeyOf(library)] = path ? path : "";
    source.absent_.clear();
    source.install();
    // The library exists from now on, as if units had been analysed into it.
    GetLibrary(library, true);
}

bool vhdl_file::Save(const char* library, const char* unit) {
    const std::string libName = library ? library : "";
    const std::string unitName = unit ? unit : "";
    try {
        VhdlLibrary* lib = GetLibrary(libName.c_str());
        VhdlPrimaryUnit* primary = lib ? lib->GetPrimUnit(unitName.c_str()) : nullptr;
        if (!primary) throw StoreError("there is no such unit");
        const std::string dir = StoreSource::instance().directoryOf(lib->Name());
        if (dir.empty()) throw StoreError("the library has no directory (SetDefaultLibraryPath, AddLibraryPath)");
        std::error_code ec;
        std::filesystem::create_directories(dir, ec);
        StoreWriteFile(dir + "/" + VhdlStore::FileName(KeyOf(primary->Name())), VhdlStore::Encode(*primary, _protect));
        return true;
    } catch (const StoreError& e) {
        Message::Tell<vhdl_msg::StoreCannotSave>(nullptr, unitName.c_str(), libName.c_str(), e.what());
        return false;
    }
}

bool vhdl_file::SaveLib(const char* library) {
    VhdlLibrary* lib = GetLibrary(library);
    if (!lib) {
        Message::Tell<vhdl_msg::StoreNoLibrary>(nullptr, library ? library : "");
        return false;
    }
    bool ok = true;
    // Copied: saving restores nothing, but a look-up could.
    const std::vector<VhdlPrimaryUnit*> units = lib->PrimaryUnits();
    for (VhdlPrimaryUnit* unit : units) ok = Save(lib->Name().c_str(), std::string(unit->Name()).c_str()) && ok;
    return ok;
}

} // namespace hdl
