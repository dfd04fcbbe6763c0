#include "hdl/store/VeriStore.h"

#include <cstring>

#include "hdl/base/Message.h"
#include "hdl/store/StoreDirectories.h"
#include "hdl/store/StoreSaverBase.h"
#include "hdl/sv/VeriParserMessageIds.h"

namespace hdl {

namespace {

class VeriSaver;
class VeriLoader;

// The Verilog tree as the store sees it: nodes with their extras (attributes,
// qualifiers, label) and fields, whose links are HDL_LINK members; the scopes that
// nodes own are written after the nodes.
struct Veri {
    using Node = VeriTreeNode;
    using TreeTraits = VeriTreeTraits;
    using Scope = VeriScope;
    using Library = VeriLibrary;
    using Unit = VeriModule;
    using Saver = VeriSaver;
    using Loader = VeriLoader;
    static constexpr uint32_t kFormat = 1;

    static const std::string& LibraryName(const VeriLibrary& library) { return library.GetName(); }
    static void AddCodecs(std::vector<store::ClassCodec<Veri>>& v) {
#define VERI_STORE_CODEC(Class, Base) store::AddCodec<Veri, Class>(v);
        HDL_VERI_NODE_CLASSES(VERI_STORE_CODEC)
#undef VERI_STORE_CODEC
    }
    template <class F>
    static constexpr uint64_t OwnKindTag() {
        if constexpr (std::is_same_v<F, Symbol>) return 3;
        else if constexpr (std::is_same_v<F, double>) return 8;
        else if constexpr (std::is_same_v<F, VeriScope*>) return 9;
        else if constexpr (std::is_same_v<F, tree::Link<VeriScope>>) return 10;
        else if constexpr (std::is_same_v<F, tree::Link<VeriLibrary>>) return 11;
        else static_assert(sizeof(F) == 0, "a member kind that saved libraries cannot hold");
    }

    // The extras' children come first in a walk: the label, then the attributes' values.
    static void ExtraChildren(VeriTreeNode& n, std::vector<VeriTreeNode*>& out) {
        if (!n.loc.Marked()) return;
        if (auto* s = store::As<VeriStatement>(&n))
            if (VeriLabelId* label = s->GetLabel()) out.push_back(label);
        for (const VeriAttribute& a : n.GetAttributes())
            if (a.value) out.push_back(a.value);
    }
    static uint64_t PrintExtras(VeriTreeNode& n, uint64_t h) {
        if (!n.loc.Marked()) return StoreHash(0, h);
        ArenaArray<VeriAttribute> attributes = n.GetAttributes();
        h = StoreHash(attributes.Size() + 1, h);
        for (const VeriAttribute& a : attributes) h = store::PrintField<Veri>(a.name, h);
        if (auto* item = store::As<VeriModuleItem>(&n))
            for (unsigned q : item->GetQualifiers()) h = StoreHash(q, h);
        return h;
    }
};

// The extern kinds: a node or a scope of another unit, or the scope of a `$unit` that
// no library holds: one that declared nothing (and so was not kept), or one that a
// later analysis replaced. A restored unit gets an empty one; a link to a declaration
// in it fails the save.
constexpr uint32_t kUnitNode = 0;
constexpr uint32_t kUnitScope = 1;
constexpr uint32_t kDetachedUnitScope = 2;

// A unit that its library holds under its name.
bool IsLibraryUnit(VeriModule* m) { return m && m->GetLibrary() && m->GetLibrary()->GetModule(m->Name(), false) == m; }

// ---------------------------------------------------------------- saving

class VeriSaver : public store::SaverBase<Veri> {
public:
    explicit VeriSaver(VeriModule& unit) : unit_(unit) {}

    std::string run() {
        // A copy shares its subtrees with its original; elaboration makes it again.
        if (!unit_.GetOriginalModuleName().empty())
            throw StoreError("it is a copy that elaboration made of unit '" +
                             std::string(unit_.GetOriginalModuleName()) + "'; copies are not saved");
        const store::Walk<Veri>& own = walkOf(&unit_);
        addNodes(own);
        for (uint32_t i = 0; i < own.scopes.size(); ++i) scopeIndex_.emplace(own.scopes[i], i);
        const SourceLineMap protectedLines = Message::GetSourceLineMap();
        for (VeriTreeNode* n : nodes_) {
            position(*n, protectedLines);
            extras(*n);
            store::CodecOf<Veri>(n->GetClassId()).save(*this, *n);
        }
        for (VeriScope* s : own.scopes) scope(*s);
        // Everything named by the records is known now: the tables go first.
        std::vector<uint32_t> depNames;
        for (const Dep& d : deps_) {
            depNames.push_back(string(d.library));
            depNames.push_back(string(d.name));
        }
        StoreWriter head;
        writeNames(head, unit_.GetLibrary() ? unit_.GetLibrary()->GetName() : std::string(), unit_.Name());
        head.u64(deps_.size());
        for (size_t i = 0; i < deps_.size(); ++i) {
            head.u64(depNames[2 * i]);
            head.u64(depNames[2 * i + 1]);
            head.u64(deps_[i].fingerprint);
        }
        head.u64(externs_.size());
        for (const Extern& e : externs_) {
            head.u64(e.kind);
            if (e.kind == kDetachedUnitScope) continue;
            head.u64(e.dep);
            head.u64(e.place);
        }
        writeNodeClasses(head);
        head.u64(own.scopes.size());
        head.u64(own.fingerprint);
        return head.data() + records_.data();
    }

    template <class F>
    void ownField(F& f) {
        if constexpr (std::is_same_v<F, VeriScope*>) {
            records_.u64(f ? scopeIndex_.at(f) + 1 : 0);
        } else if constexpr (std::is_same_v<F, tree::Link<VeriScope>>) {
            records_.u64(scopeReference(f.ref));
        } else if constexpr (std::is_same_v<F, tree::Link<VeriLibrary>>) {
            records_.u64(f.ref ? string(f.ref->GetName()) + 1 : 0);
        } else if constexpr (std::is_same_v<F, Symbol>) {
            records_.u64(symbol(f));
        } else {
            static_assert(std::is_same_v<F, double>, "a member kind that saved libraries cannot hold");
            uint64_t bits;
            std::memcpy(&bits, &f, sizeof bits);
            records_.u64(bits);
        }
    }

    uint32_t externOf(VeriTreeNode* target) { return externAt(target, kUnitNode); }

private:
    struct Dep {
        std::string library;
        std::string name;
        uint64_t fingerprint;
    };
    struct Extern {
        uint32_t kind;
        uint32_t dep;
        uint32_t place;
    };

    uint64_t symbol(Symbol s) { return s.empty() ? 0 : string(std::string_view(s)) + 1; }

    void extras(VeriTreeNode& n) {
        if (!n.loc.Marked()) {
            records_.u64(0);
            return;
        }
        ArenaArray<VeriAttribute> attributes = n.GetAttributes();
        records_.u64(attributes.Size() + 1);
        for (const VeriAttribute& a : attributes) {
            records_.u64(symbol(a.name));
            records_.u64(child(a.value));
        }
        ArenaArray<unsigned> qualifiers;
        if (auto* item = store::As<VeriModuleItem>(&n)) qualifiers = item->GetQualifiers();
        records_.u64(qualifiers.Size());
        for (unsigned q : qualifiers) records_.u64(q);
        auto* statement = store::As<VeriStatement>(&n);
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
            records_.u64(symbol(i->item));
        }
    }

    uint64_t scopeReference(VeriScope* target) {
        if (!target) return 0;
        auto here = scopeIndex_.find(target);
        if (here != scopeIndex_.end()) return 1 + 2 * uint64_t(here->second);
        auto* owner = dynamic_cast<VeriModule*>(target->Owner());
        if (owner && owner->IsRootModule() && !IsLibraryUnit(owner)) {
            return 2 + 2 * uint64_t(externEntry(target, [&] {
                           externs_.push_back({kDetachedUnitScope, 0, 0});
                           return static_cast<uint32_t>(externs_.size() - 1);
                       }));
        }
        return 2 + 2 * uint64_t(externAt(target, kUnitScope));
    }

    // The extern table entry of a node or scope of another unit, looked for in the units
    // already linked to first, then in every unit of every library.
    uint32_t externAt(const void* target, uint32_t kind) {
        return externEntry(target, [&] {
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
                externs_.push_back({kind, depOf(m), place});
                return static_cast<uint32_t>(externs_.size() - 1);
            }
            throw StoreError(std::string("a ") + (kind == kUnitScope ? "scope" : "link") +
                             " leads out of every library unit");
        });
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
    std::unordered_map<VeriScope*, uint32_t> scopeIndex_;
    std::vector<Dep> deps_;
    std::unordered_map<VeriModule*, uint32_t> depIds_;
    std::vector<Extern> externs_;
};

// ---------------------------------------------------------------- loading

class VeriLoader : public store::LoaderBase<Veri> {
public:
    VeriLoader(VeriLibrary& library, std::string_view name, std::string_view payload, store::Session<Veri>& session)
        : LoaderBase(payload, library.arena(), session), library_(library), name_(name) {}

    VeriModule* run() {
        readTables();
        readRecords(nodes_.size(), [this](VeriTreeNode& n) { readExtras(n); });
        // Registered before the links out are followed, so that a unit that leads back
        // to this one finds it.
        session_.loading.push_back({&library_, name_, unit_, {unit_}});
        struct Pop {
            store::Session<Veri>& s;
            ~Pop() { s.loading.pop_back(); }
        } pop{session_};
        resolveExterns();
        readScopes();
        if (!in_.atEnd()) throw StoreError("the file has bytes after its last scope");
        linkOut();
        for (const ScopeFixup& f : scopeFixups_) *f.slot = f.external ? externScopes_[f.index] : scopes_[f.index];
        library_.AddModule(unit_);
        return unit_;
    }

    template <class F>
    void ownField(F& f) {
        if constexpr (std::is_same_v<F, VeriScope*>) {
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
        } else if constexpr (std::is_same_v<F, Symbol>) {
            f = symbol();
        } else {
            static_assert(std::is_same_v<F, double>, "a member kind that saved libraries cannot hold");
            uint64_t bits = in_.u64();
            std::memcpy(&f, &bits, sizeof bits);
        }
    }

    bool isNodeExtern(uint64_t e) const { return e < externTable_.size() && externTable_[e].kind == kUnitNode; }

private:
    struct ScopeFixup {
        VeriScope** slot;
        bool external;
        uint32_t index;
    };
    struct ExternEntry {
        uint32_t kind;
        uint32_t dep;
        uint32_t place;
    };
    struct DepEntry {
        std::string library;
        std::string name;
        uint64_t fingerprint;
    };

    bool isScopeExtern(uint64_t e) const { return e < externTable_.size() && externTable_[e].kind != kUnitNode; }

    Symbol symbol() {
        uint64_t r = in_.below(strings_.size() + 1, "name");
        return r ? Symbol::Intern(strings_[r - 1]) : Symbol();
    }

    void readTables() {
        const auto [library, name] = readNames();
        savedLibrary_ = library;
        if (name != name_) throw StoreError("the file holds unit '" + std::string(name) + "', not '" + name_ + "'");
        deps_.resize(in_.count("dependency count"));
        for (DepEntry& d : deps_) {
            d.library = stringAt("dependency");
            d.name = stringAt("dependency");
            d.fingerprint = in_.u64();
        }
        externTable_.resize(in_.count("extern count"));
        for (ExternEntry& e : externTable_) {
            e.kind = static_cast<uint32_t>(in_.below(3, "extern kind"));
            if (e.kind == kDetachedUnitScope) continue;
            e.dep = static_cast<uint32_t>(in_.below(deps_.size(), "dependency"));
            e.place = static_cast<uint32_t>(in_.below(UINT32_MAX, "place"));
        }
        readNodeClasses();
        unit_ = dynamic_cast<VeriModule*>(node(0));
        if (!unit_) throw StoreError("the file's first node is no design unit");
        scopeCount_ = in_.count("scope count");
        scopeOwned_.assign(scopeCount_, false);
        in_.u64(); // the unit's own fingerprint
        depth_[0] = 1;
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
        if (auto* item = store::As<VeriModuleItem>(&n)) {
            item->SetQualifiers(ArenaArray<unsigned>(arena_, qualifiers));
        } else if (!qualifiers.empty()) {
            throw StoreError("qualifiers on a node that takes none");
        }
        if (auto* statement = store::As<VeriStatement>(&n)) statement->SetLabel(label);
        else if (label) throw StoreError("a label on a node that takes none");
    }

    void scopeLink(VeriScope*& slot) {
        uint64_t r = in_.u64();
        slot = nullptr;
        if (r == 0) return;
        if (r & 1) {
            if ((r - 1) / 2 >= scopeCount_) throw StoreError("a scope out of range");
            scopeFixups_.push_back({&slot, false, static_cast<uint32_t>((r - 1) / 2)});
        } else {
            if (!isScopeExtern((r - 2) / 2)) throw StoreError("a scope out of range");
            scopeFixups_.push_back({&slot, true, static_cast<uint32_t>((r - 2) / 2)});
        }
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
                if (!isScopeExtern((r - 2) / 2)) throw StoreError("a scope out of range");
                upper = externScopes_[(r - 2) / 2];
            }
            VeriTreeNode* owner = nodeAt(in_.u64());
            auto* scope = arena_.make<VeriScope>(upper, owner);
            const uint64_t declarations = in_.count("declaration count");
            for (uint64_t d = 0; d < declarations; ++d) {
                auto* id = store::As<VeriIdDef>(nodeAt(in_.u64()));
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
        std::vector<VeriTreeNode*> depUnits(deps_.size(), nullptr);
        externs_.assign(externTable_.size(), nullptr);
        externScopes_.assign(externTable_.size(), nullptr);
        for (size_t i = 0; i < externTable_.size(); ++i) {
            const ExternEntry& e = externTable_[i];
            if (e.kind == kDetachedUnitScope) {
                externScopes_[i] = detachedUnitScope();
                continue;
            }
            VeriTreeNode*& unit = depUnits[e.dep];
            if (!unit) unit = findDep(deps_[e.dep]);
            store::Walk<Veri>& w = session_.walkOf(unit);
            if (e.kind == kUnitScope) {
                if (e.place >= w.scopes.size()) throw StoreError("a scope out of range");
                externScopes_[i] = w.scopes[e.place];
            } else {
                if (e.place >= w.order.size()) throw StoreError("a link out of range");
                externs_[i] = w.order[e.place];
            }
        }
    }

    // A unit being restored now, or one its library holds (restored first when need be).
    VeriTreeNode* findDep(const DepEntry& d) {
        VeriModule* unit = nullptr;
        if (const auto* loading = session_.loadingOf(d.library, d.name)) unit = loading->unit;
        if (!unit) {
            VeriLibrary* lib = d.library == savedLibrary_ ? &library_ : veri_file::GetLibrary(d.library.c_str());
            unit = lib ? lib->GetModule(d.name) : nullptr;
        }
        return checked(unit, d.library + "." + d.name, d.fingerprint);
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

    VeriLibrary& library_;
    std::string name_;
    std::string_view savedLibrary_;
    std::vector<DepEntry> deps_;
    std::vector<ExternEntry> externTable_;
    std::vector<VeriScope*> externScopes_;
    std::vector<VeriScope*> scopes_;
    std::vector<bool> scopeOwned_;
    uint64_t scopeCount_ = 0;
    VeriModule* unit_ = nullptr;
    std::vector<ScopeFixup> scopeFixups_;
};

// ---------------------------------------------------------------- library directories

class StoreSource : public VeriUnitSource {
public:
    static StoreSource& instance() {
        static StoreSource* source = new StoreSource; // lives for the process
        return *source;
    }
    void install() { veri_file::SetUnitSource(this); }

    VeriModule* Restore(VeriLibrary& library, std::string_view name) override {
        const std::string key(name);
        return directories.restore(
            library.GetName(), key, VeriStore::FileName(name),
            [&](std::string_view bytes, const std::string&) {
                return VeriStore::Decode(library, name, bytes, veri_file::_protect);
            },
            [&](const ColLineFile& loc, const std::string& path, const char* why) {
                Message::Tell<veri_msg::StoreCannotRestore>(&loc, key.c_str(), library.GetName().c_str(), path.c_str(),
                                                            why);
            });
    }
    void Forget() override { directories.forget(); }

    store::Directories<Veri> directories;
};

} // namespace

// ---------------------------------------------------------------- VeriStore

std::string VeriStore::FileName(std::string_view name) { return StoreFileName(name, true, ".sdb"); }

std::string VeriStore::Encode(VeriModule& unit, Protect* cipher) {
    return StoreSeal(Kind(), VeriSaver(unit).run(), cipher);
}

VeriModule* VeriStore::Decode(VeriLibrary& library, std::string_view name, std::string_view bytes, Protect* cipher) {
    store::SessionScope<Veri> scope;
    std::string plain;
    const std::string_view payload = StoreOpen(Kind(), bytes, cipher, plain);
    return VeriLoader(library, name, payload, *scope.session).run();
}

StoreKind VeriStore::Kind() { return {"SIFT-SDB", Veri::kFormat, Layout()}; }

uint64_t VeriStore::Layout() { return store::LayoutOf<Veri>(); }

// ---------------------------------------------------------------- veri_file

void veri_file::SetDefaultLibraryPath(const char* path) {
    StoreSource& source = StoreSource::instance();
    source.directories.setDefault(path);
    source.install();
}

void veri_file::AddLibraryPath(const char* library, const char* path) {
    if (!library) return;
    StoreSource& source = StoreSource::instance();
    source.directories.setPath(library, path);
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
        StoreSource::instance().directories.save(lib->GetName(), VeriStore::FileName(unitName),
                                                 [&] { return VeriStore::Encode(*module, _protect); });
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
