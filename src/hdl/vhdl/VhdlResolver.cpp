#include "hdl/vhdl/VhdlResolver.h"

#include <cctype>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace hdl {

namespace {

std::string Key(std::string_view name) {
    std::string key(name);
    if (!(key.size() > 1 && key[0] == '\\')) {
        for (char& c : key)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return key;
}

// Names compare without regard to case unless extended; maps keyed this way take views
// of the identifiers in the source text, so a lookup neither copies nor lower-cases.
bool IsExtendedName(std::string_view s) { return s.size() > 1 && s[0] == '\\'; }
char Fold(char c, bool extended) { return !extended && c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

size_t HashName(std::string_view s) {
    bool ext = IsExtendedName(s);
    size_t h = 14695981039346656037ull;
    for (char c : s) h = (h ^ static_cast<unsigned char>(Fold(c, ext))) * 1099511628211ull;
    return h;
}

// A name with its hash, computed once per lookup however many regions it passes.
struct NameKey {
    NameKey(std::string_view s) : text(s), hash(HashName(s)) {}
    std::string_view text;
    size_t hash;
};
struct NameHash {
    size_t operator()(const NameKey& k) const { return k.hash; }
};
struct NameEq {
    bool operator()(std::string_view a, std::string_view b) const {
        if (a.size() != b.size()) return false;
        bool ea = IsExtendedName(a), eb = IsExtendedName(b);
        for (size_t i = 0; i < a.size(); ++i)
            if (Fold(a[i], ea) != Fold(b[i], eb)) return false;
        return true;
    }
    bool operator()(const NameKey& a, const NameKey& b) const { return a.hash == b.hash && (*this)(a.text, b.text); }
};
// The first identifier declared under each name.
using NameMap = std::unordered_map<NameKey, VhdlIdDef*, NameHash, NameEq>;

// What one use clause made visible: a single item, all of a package, or all units of a
// library. Packages and libraries are looked into on demand rather than copied.
struct UsedItem {
    VhdlIdDef* single = nullptr;
    const NameMap* package = nullptr;
    VhdlLibrary* library = nullptr;
};

// One declarative region: its own declarations and, in order, what use clauses made
// visible.
struct Scope {
    Scope* parent = nullptr;
    NameMap local;
    std::vector<UsedItem> used;
    std::vector<VhdlTreeNode*> configSpecs;
};

// Identifiers that a declaration makes visible in its region, in order.
void DeclaredIds(VhdlTreeNode* decl, std::vector<VhdlIdDef*>& out) {
    if (!decl) return;
    auto ids = [&](const VhdlIdList& list) {
        for (VhdlIdDef* id : list) out.push_back(id);
    };
    switch (decl->GetClassId()) {
    case VhdlFullTypeDecl::kClassId: {
        auto* d = static_cast<VhdlFullTypeDecl*>(decl);
        out.push_back(d->id);
        if (auto* e = dynamic_cast<VhdlEnumerationTypeDef*>(d->typeDef)) ids(e->literals);
        if (auto* p = dynamic_cast<VhdlPhysicalTypeDef*>(d->typeDef)) {
            for (VhdlTreeNode* u : p->units) out.push_back(static_cast<VhdlPhysicalUnitDecl*>(u)->id);
        }
        break;
    }
    case VhdlIncompleteTypeDecl::kClassId: out.push_back(static_cast<VhdlIncompleteTypeDecl*>(decl)->id); break;
    case VhdlSubtypeDecl::kClassId: out.push_back(static_cast<VhdlSubtypeDecl*>(decl)->id); break;
    case VhdlConstantDecl::kClassId:
    case VhdlSignalDecl::kClassId:
    case VhdlVariableDecl::kClassId: ids(static_cast<VhdlObjectDecl*>(decl)->ids); break;
    case VhdlFileDecl::kClassId: ids(static_cast<VhdlFileDecl*>(decl)->ids); break;
    case VhdlAliasDecl::kClassId: out.push_back(static_cast<VhdlAliasDecl*>(decl)->id); break;
    case VhdlAttributeDecl::kClassId: out.push_back(static_cast<VhdlAttributeDecl*>(decl)->id); break;
    case VhdlComponentDecl::kClassId: out.push_back(static_cast<VhdlComponentDecl*>(decl)->id); break;
    case VhdlSubprogramDecl::kClassId: out.push_back(static_cast<VhdlSubprogramDecl*>(decl)->spec->id); break;
    case VhdlSubprogramBody::kClassId: out.push_back(static_cast<VhdlSubprogramBody*>(decl)->spec->id); break;
    case VhdlSubprogInstantiationDecl::kClassId: out.push_back(static_cast<VhdlSubprogInstantiationDecl*>(decl)->id); break;
    case VhdlPackageDecl::kClassId:
    case VhdlPackageInstantiationDecl::kClassId: out.push_back(static_cast<VhdlDesignUnit*>(decl)->id); break;
    case VhdlGroupTemplateDecl::kClassId: out.push_back(static_cast<VhdlGroupTemplateDecl*>(decl)->id); break;
    case VhdlGroupDecl::kClassId: out.push_back(static_cast<VhdlGroupDecl*>(decl)->id); break;
    case VhdlInterfaceDecl::kClassId: ids(static_cast<VhdlInterfaceDecl*>(decl)->ids); break;
    case VhdlInterfaceTypeDecl::kClassId: out.push_back(static_cast<VhdlInterfaceTypeDecl*>(decl)->id); break;
    case VhdlInterfaceSubprogDecl::kClassId: out.push_back(static_cast<VhdlInterfaceSubprogDecl*>(decl)->spec->id); break;
    case VhdlInterfacePackageDecl::kClassId: out.push_back(static_cast<VhdlInterfacePackageDecl*>(decl)->id); break;
    default: break;
    }
}

// Declarations of a package (or package instantiation, through its generic package).
const VhdlNodeList* PackageDecls(VhdlTreeNode* unit) {
    if (auto* pkg = dynamic_cast<VhdlPackageDecl*>(unit)) return &pkg->declarations;
    return nullptr;
}

// Per package, the index of its declarations; built once, since every unit that uses a
// package would otherwise walk all its declarations again. Trees live until Reset.
std::unordered_map<const VhdlTreeNode*, std::unique_ptr<NameMap>>& PackageIndexes() {
    static std::unordered_map<const VhdlTreeNode*, std::unique_ptr<NameMap>> indexes;
    return indexes;
}

const NameMap* PackageIndex(VhdlTreeNode* unit) {
    const VhdlNodeList* decls = PackageDecls(unit);
    if (!decls) return nullptr;
    std::unique_ptr<NameMap>& index = PackageIndexes()[unit];
    if (!index) {
        index = std::make_unique<NameMap>();
        std::vector<VhdlIdDef*> ids;
        for (VhdlTreeNode* d : *decls) DeclaredIds(d, ids);
        for (VhdlIdDef* id : ids)
            if (id) index->emplace(id->OrigName(), id);
    }
    return index.get();
}

VhdlIdDef* FindIn(const NameMap& map, const NameKey& name) {
    // Most regions declare nothing; skip hashing the name for them.
    if (map.empty()) return nullptr;
    auto it = map.find(name);
    return it == map.end() ? nullptr : it->second;
}

class Resolver : public VhdlVisitor {
public:
    Resolver(VhdlDesignUnit* unit, VhdlLibrary* library) : unit_(unit), library_(library) {}

    void Run() {
        Push();
        // Every unit sees `library std, work; use std.standard.all;`.
        if (VhdlLibrary* std = vhdl_file::GetLibrary("std")) {
            if (VhdlPrimaryUnit* standard = std->GetPrimUnit("standard")) UsePackage(standard, nullptr);
        }
        if (auto* arch = dynamic_cast<VhdlArchitectureBody*>(unit_)) EnterParentUnit(UnitNamed(arch->entityName));
        if (auto* body = dynamic_cast<VhdlPackageBody*>(unit_)) {
            if (body->id) EnterParentUnit(library_->GetPrimUnit(std::string(body->id->OrigName()).c_str()));
        }
        Push();
        unit_->Accept(*this);
        Pop();
        Pop();
    }

    // Regions.
    void Visit(VhdlEntityDecl& n) override { Region(n); }
    void Visit(VhdlArchitectureBody& n) override { Region(n); }
    void Visit(VhdlPackageDecl& n) override { Region(n); }
    void Visit(VhdlPackageBody& n) override { Region(n); }
    void Visit(VhdlConfigurationDecl& n) override { Region(n); }
    void Visit(VhdlContextDecl& n) override { Region(n); }
    void Visit(VhdlPackageInstantiationDecl& n) override { Region(n); }
    void Visit(VhdlSubprogramBody& n) override { Region(n); }
    void Visit(VhdlProcessStatement& n) override { Labelled(n); }
    void Visit(VhdlBlockStatement& n) override { Labelled(n); }
    void Visit(VhdlGenerateStatement& n) override { Labelled(n); }
    void Visit(VhdlLoopStatement& n) override { Labelled(n); }
    void Visit(VhdlProtectedTypeDef& n) override { Region(n); }
    void Visit(VhdlProtectedTypeDefBody& n) override { Region(n); }
    void Visit(VhdlComponentDecl& n) override {
        Declare(&n);
        Push();
        n.VisitChildren(*this);
        Pop();
    }
    void Visit(VhdlStatement& n) override {
        if (n.label) Declare(n.label);
        VhdlVisitor::Visit(n);
    }

    // Identifiers declared by a node enter the current region as the walk passes them.
    void Visit(VhdlIdDef& n) override {
        if (!n.owningUnit) n.owningUnit = unit_;
    }
    void Visit(VhdlForScheme& n) override {
        if (n.range) n.range->Accept(*this);
        if (n.id) Declare(n.id);
    }
    void Visit(VhdlDeclaration& n) override {
        VhdlVisitor::Visit(n);
        Declare(&n);
    }
    void Visit(VhdlSubprogramDecl& n) override {
        Declare(&n);
        Push();
        n.VisitChildren(*this);
        Pop();
    }
    void Visit(VhdlFullTypeDecl& n) override {
        // The type is visible inside its own definition (records with access fields).
        Declare(&n);
        n.VisitChildren(*this);
    }
    void Visit(VhdlLibraryClause& n) override {
        for (VhdlIdDef* id : n.ids) {
            id->owningUnit = unit_;
            DeclareId(id);
        }
    }
    void Visit(VhdlUseClause& n) override {
        for (VhdlTreeNode* name : n.names) {
            name->Accept(*this);
            Use(name);
        }
    }
    void Visit(VhdlConfigurationSpec& n) override {
        n.VisitChildren(*this);
        current_->configSpecs.push_back(&n);
    }

    // References.
    void Visit(VhdlIdRef& n) override {
        if (!n.resolved) n.resolved = Lookup(n.text);
    }
    void Visit(VhdlSelectedName& n) override {
        if (n.prefix) n.prefix->Accept(*this);
        auto* suffix = dynamic_cast<VhdlIdRef*>(n.suffix);
        if (!suffix) return;
        VhdlIdDef* prefixId = IdOf(n.prefix);
        if (!prefixId) return;
        if (VhdlLibrary* lib = LibraryOf(prefixId)) {
            if (VhdlPrimaryUnit* unit = lib->GetPrimUnit(Key(suffix->text).c_str())) suffix->resolved = unit->id;
            return;
        }
        if (const NameMap* index = PackageIndex(prefixId->declaration)) {
            if (VhdlIdDef* id = FindIn(*index, suffix->text)) suffix->resolved = id;
        }
    }
    void Visit(VhdlAttributeName& n) override {
        // The designator names a predefined or user attribute, not an object in scope.
        if (n.prefix) n.prefix->Accept(*this);
        if (n.expression) n.expression->Accept(*this);
        if (n.designator) n.designator->resolved = Lookup(n.designator->text);
    }
    void Visit(VhdlAssocElement& n) override {
        // Formals name the other side's interface; they are resolved with the instance.
        if (n.actual) n.actual->Accept(*this);
    }
    void Visit(VhdlComponentInstantiationStatement& n) override {
        if (n.label) Declare(n.label);
        if (n.unit) n.unit->Accept(*this);
        for (VhdlTreeNode* a : n.genericMap) a->Accept(*this);
        for (VhdlTreeNode* a : n.portMap) a->Accept(*this);
        Bind(n);
    }

private:
    void Push() {
        scopes_.push_back(std::make_unique<Scope>());
        scopes_.back()->parent = current_;
        current_ = scopes_.back().get();
    }
    void Pop() { current_ = current_->parent; }

    template <class T>
    void Region(T& n) {
        if (static_cast<VhdlTreeNode*>(&n) != unit_) Declare(&n);
        Push();
        n.VisitChildren(*this);
        Pop();
    }
    template <class T>
    void Labelled(T& n) {
        if (n.label) Declare(n.label);
        Push();
        n.VisitChildren(*this);
        Pop();
    }

    void DeclareId(VhdlIdDef* id) {
        if (id) current_->local.emplace(id->OrigName(), id);
    }
    void Declare(VhdlTreeNode* decl) {
        if (auto* id = dynamic_cast<VhdlIdDef*>(decl)) {
            DeclareId(id);
            return;
        }
        std::vector<VhdlIdDef*> ids;
        DeclaredIds(decl, ids);
        for (VhdlIdDef* id : ids) {
            if (id && !id->owningUnit) id->owningUnit = unit_;
            DeclareId(id);
        }
    }

    VhdlIdDef* Lookup(std::string_view text) {
        if (text.empty() || text == "." || text == "^" || text == "@") return nullptr;
        NameKey key(text);
        for (Scope* s = current_; s; s = s->parent) {
            if (VhdlIdDef* id = FindIn(s->local, key)) return id;
        }
        for (Scope* s = current_; s; s = s->parent) {
            for (const UsedItem& item : s->used)
                if (VhdlIdDef* id = FindUsed(item, key)) return id;
        }
        // `work` and the library names need no clause to be found by selected names.
        bool library = NameEq()(text, "work");
        for (VhdlLibrary* lib : vhdl_file::AllLibraries()) library = library || NameEq()(text, lib->Name());
        return library ? LibraryId(Key(text)) : nullptr;
    }

    static VhdlIdDef* FindUsed(const UsedItem& item, const NameKey& name) {
        if (item.single) return NameEq()(item.single->OrigName(), name.text) ? item.single : nullptr;
        if (item.package) return FindIn(*item.package, name);
        VhdlPrimaryUnit* unit = item.library ? item.library->GetPrimUnit(Key(name.text).c_str()) : nullptr;
        return unit ? unit->id : nullptr;
    }

    // A library identifier for a library that no clause declared (work, std). These
    // live for the process, as the trees that refer to them do.
    static VhdlIdDef* LibraryId(const std::string& key) {
        static Arena arena;
        static std::unordered_map<std::string, VhdlIdDef*> ids;
        auto it = ids.find(key);
        if (it != ids.end()) return it->second;
        auto* id = arena.make<VhdlLibraryId>();
        id->origName = arena.copy(key);
        id->name = id->origName;
        ids[key] = id;
        return id;
    }

    VhdlLibrary* LibraryOf(VhdlIdDef* id) {
        if (!id || id->GetClassId() != VhdlLibraryId::kClassId) return nullptr;
        std::string key = Key(id->OrigName());
        if (key == "work") return library_;
        return vhdl_file::GetLibrary(key.c_str());
    }

    static VhdlIdDef* IdOf(VhdlTreeNode* name) {
        if (auto* ref = dynamic_cast<VhdlIdRef*>(name)) return ref->resolved;
        if (auto* sel = dynamic_cast<VhdlSelectedName*>(name)) return IdOf(sel->suffix);
        return nullptr;
    }

    VhdlPrimaryUnit* UnitNamed(VhdlName* name) {
        auto* ref = dynamic_cast<VhdlIdRef*>(name);
        return ref ? library_->GetPrimUnit(std::string(ref->text).c_str()) : nullptr;
    }

    // The declarations of the primary unit that an architecture or body continues.
    void EnterParentUnit(VhdlPrimaryUnit* primary) {
        if (!primary) return;
        for (VhdlTreeNode* item : primary->contextClause) {
            if (auto* lib = dynamic_cast<VhdlLibraryClause*>(item)) {
                for (VhdlIdDef* id : lib->ids) DeclareId(id);
            } else if (auto* use = dynamic_cast<VhdlUseClause*>(item)) {
                // Its names were resolved with that unit.
                for (VhdlTreeNode* name : use->names) Use(name);
            }
        }
        auto declare = [&](const VhdlNodeList& list) {
            for (VhdlTreeNode* d : list) {
                if (auto* use = dynamic_cast<VhdlUseClause*>(d)) {
                    for (VhdlTreeNode* name : use->names) Use(name);
                } else {
                    Declare(d);
                }
            }
        };
        if (auto* e = dynamic_cast<VhdlEntityDecl*>(primary)) {
            declare(e->generics);
            declare(e->ports);
            declare(e->declarations);
        } else if (auto* p = dynamic_cast<VhdlPackageDecl*>(primary)) {
            declare(p->generics);
            declare(p->declarations);
        }
    }

    // use lib.pkg.all | lib.pkg.item | lib.all | lib.unit
    void Use(VhdlTreeNode* name) {
        auto* sel = dynamic_cast<VhdlSelectedName*>(name);
        if (!sel) return;
        VhdlIdDef* prefix = IdOf(sel->prefix);
        bool all = dynamic_cast<VhdlAll*>(sel->suffix) != nullptr;
        if (VhdlLibrary* lib = LibraryOf(prefix)) {
            if (all) {
                current_->used.push_back({nullptr, nullptr, lib});
            } else if (VhdlIdDef* id = IdOf(sel->suffix)) {
                current_->used.push_back({id, nullptr, nullptr});
            }
            return;
        }
        if (!prefix) return;
        auto* unit = dynamic_cast<VhdlPrimaryUnit*>(prefix->declaration);
        if (!unit) return;
        if (all) UsePackage(unit, nullptr);
        else if (auto* ref = dynamic_cast<VhdlIdRef*>(sel->suffix)) UsePackage(unit, &ref->text);
    }

    void UsePackage(VhdlPrimaryUnit* unit, const std::string_view* only) {
        const NameMap* index = PackageIndex(unit);
        if (!index) return;
        if (!only) {
            current_->used.push_back({nullptr, index, nullptr});
        } else if (VhdlIdDef* id = FindIn(*index, *only)) {
            current_->used.push_back({id, nullptr, nullptr});
        }
    }

    // The library that a unit name of an instantiation or binding refers to, and the
    // unit itself: `lib.e`, `work.e`, or `e` found in scope.
    VhdlPrimaryUnit* PrimaryOf(VhdlName* name) {
        if (auto* idx = dynamic_cast<VhdlIndexedName*>(name)) name = idx->prefix;
        VhdlIdDef* id = IdOf(name);
        if (!id) {
            auto* ref = dynamic_cast<VhdlIdRef*>(name);
            if (!ref) return nullptr;
            return FindEntity(ref->text);
        }
        return dynamic_cast<VhdlPrimaryUnit*>(id->declaration);
    }

    static std::string ArchitectureName(VhdlName* name) {
        auto* idx = dynamic_cast<VhdlIndexedName*>(name);
        if (!idx || idx->assocList.Size() != 1) return {};
        auto* ref = dynamic_cast<VhdlIdRef*>(idx->assocList.At(0));
        return ref ? std::string(ref->text) : std::string();
    }

    // Default binding: the entity of that name in the work library, then in the
    // libraries of the search order.
    VhdlPrimaryUnit* FindEntity(std::string_view name) {
        std::string key = Key(name);
        if (VhdlPrimaryUnit* u = library_->GetPrimUnit(key.c_str()); dynamic_cast<VhdlEntityDecl*>(u)) return u;
        for (const std::string& libName : vhdl_file::LOptions()) {
            VhdlLibrary* lib = vhdl_file::GetLibrary(libName.c_str());
            VhdlPrimaryUnit* u = lib ? lib->GetPrimUnit(key.c_str()) : nullptr;
            if (dynamic_cast<VhdlEntityDecl*>(u)) return u;
        }
        return nullptr;
    }

    void BindTo(VhdlComponentInstantiationStatement& n, VhdlPrimaryUnit* unit, const std::string& arch) {
        if (auto* config = dynamic_cast<VhdlConfigurationDecl*>(unit)) {
            VhdlPrimaryUnit* entity = config->library && dynamic_cast<VhdlIdRef*>(config->entityName)
                                          ? config->library->GetPrimUnit(
                                                std::string(static_cast<VhdlIdRef*>(config->entityName)->text).c_str())
                                          : nullptr;
            std::string configuredArch;
            if (config->blockConfiguration) {
                if (auto* ref = dynamic_cast<VhdlIdRef*>(config->blockConfiguration->blockSpec))
                    configuredArch = std::string(ref->text);
            }
            unit = entity;
            if (!unit) return;
            n.boundEntity = unit;
            n.boundArchitecture = unit->GetSecondaryUnit(configuredArch.empty() ? nullptr : configuredArch.c_str());
            return;
        }
        if (!dynamic_cast<VhdlEntityDecl*>(unit)) return;
        n.boundEntity = unit;
        n.boundArchitecture = unit->GetSecondaryUnit(arch.empty() ? nullptr : arch.c_str());
    }

    // A configuration specification of an enclosing region that names this instance.
    VhdlConfigurationSpec* SpecFor(const VhdlComponentInstantiationStatement& n, VhdlIdDef* component) {
        std::string label = n.label ? Key(n.label->OrigName()) : std::string();
        for (Scope* s = current_; s; s = s->parent) {
            VhdlConfigurationSpec* others = nullptr;
            for (VhdlTreeNode* node : s->configSpecs) {
                auto* spec = static_cast<VhdlConfigurationSpec*>(node);
                if (!spec->componentSpec || IdOf(spec->componentSpec->component) != component) continue;
                for (VhdlTreeNode* l : spec->componentSpec->labels) {
                    if (dynamic_cast<VhdlAll*>(l)) return spec;
                    if (dynamic_cast<VhdlOthers*>(l)) others = spec;
                    auto* ref = dynamic_cast<VhdlIdRef*>(l);
                    if (ref && Key(ref->text) == label) return spec;
                }
            }
            if (others) return others;
        }
        return nullptr;
    }

    void Bind(VhdlComponentInstantiationStatement& n) {
        auto* unit = dynamic_cast<VhdlInstantiatedUnit*>(n.unit);
        if (unit && unit->entityClass != VHDL_COMPONENT) {
            VhdlPrimaryUnit* primary = PrimaryOf(unit->name);
            if (!primary) return;
            n.instantiated = primary->id;
            BindTo(n, primary, ArchitectureName(unit->name));
            return;
        }
        VhdlName* name = unit ? unit->name : n.unit;
        VhdlIdDef* component = IdOf(name);
        if (!component || component->GetClassId() != VhdlComponentId::kClassId) {
            // No component in sight; an entity of that name still binds (a common
            // shortcut that tools accept).
            if (auto* ref = dynamic_cast<VhdlIdRef*>(name)) {
                if (VhdlPrimaryUnit* e = FindEntity(ref->text)) BindTo(n, e, {});
            }
            return;
        }
        n.instantiated = component;
        if (VhdlConfigurationSpec* spec = SpecFor(n, component)) {
            VhdlEntityAspect* aspect = spec->binding ? spec->binding->entityAspect : nullptr;
            if (aspect && aspect->entityClass != VHDL_OPEN) {
                if (VhdlPrimaryUnit* primary = PrimaryOf(aspect->name))
                    BindTo(n, primary, ArchitectureName(aspect->name));
            }
            return;
        }
        if (VhdlPrimaryUnit* e = FindEntity(component->OrigName())) BindTo(n, e, {});
    }

    VhdlDesignUnit* unit_;
    VhdlLibrary* library_;
    std::vector<std::unique_ptr<Scope>> scopes_;
    Scope* current_ = nullptr;
};

} // namespace

void VhdlResolverForget() { PackageIndexes().clear(); }

void VhdlResolveUnit(VhdlDesignUnit* unit, VhdlLibrary* library) {
    if (!unit || !library) return;
    Resolver(unit, library).Run();
}

} // namespace hdl
