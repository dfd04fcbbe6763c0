#include "hdl/vhdl/VhdlResolver.h"

#include <cctype>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlOverloads.h"
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

// A declaration of an overloaded name with its parameter counts, worked out only when
// overloads compete.
struct Overload {
    VhdlIdDef* id;
    VhdlArity arity;
    bool counted = true;
};

// The declarations of one region by name. Overloaded names keep all their
// declarations aside, keyed by the first, so that the common lookup stays one probe.
struct NameTable {
    NameMap first;
    // All declarations of a name declared more than once, the first included.
    std::unordered_map<const VhdlIdDef*, std::vector<Overload>> more;

    void Add(VhdlIdDef* id) {
        auto [it, inserted] = first.emplace(id->OrigName(), id);
        if (inserted || it->second == id) return;
        // The full declaration of an incomplete type stands for it from then on.
        VhdlTreeNode* earlier = it->second->declaration;
        if (earlier && earlier->GetClassId() == VhdlIncompleteTypeDecl::kClassId && id->declaration &&
            id->declaration->GetClassId() == VhdlFullTypeDecl::kClassId) {
            it->second = id;
            return;
        }
        if (!VhdlIsOverloadable(id) || !VhdlIsOverloadable(it->second)) return;
        std::vector<Overload>& all = more[it->second];
        if (all.empty()) all.push_back({it->second, VhdlArity(), false});
        for (const Overload& known : all)
            if (known.id == id) return;
        all.push_back({id, VhdlArity(), false});
    }
    VhdlIdDef* Find(const NameKey& name) const {
        // Most regions declare nothing; skip hashing the name for them.
        if (first.empty()) return nullptr;
        auto it = first.find(name);
        return it == first.end() ? nullptr : it->second;
    }
    // Every declaration of the name whose first declaration is `id`, in order.
    template <class F>
    void ForEach(VhdlIdDef* id, F&& f) const {
        auto it = more.empty() ? more.end() : more.find(id);
        if (it == more.end()) {
            f(Overload{id, VhdlArity(), false});
            return;
        }
        for (const Overload& o : it->second) f(o);
    }
};

// What one use clause made visible: a single unit, all of a package or one name of it
// (with its overloads), or all units of a library. Packages and libraries are looked
// into on demand rather than copied.
struct UsedItem {
    VhdlIdDef* single = nullptr;
    const NameTable* package = nullptr;
    std::string_view only;
    VhdlLibrary* library = nullptr;
};

// One declarative region: its own declarations and, in order, what use clauses made
// visible.
struct Scope {
    Scope* parent = nullptr;
    NameTable local;
    std::vector<UsedItem> used;
    std::vector<VhdlConfigurationSpec*> configSpecs;
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
    case VhdlSubprogInstantiationDecl::kClassId:
        out.push_back(static_cast<VhdlSubprogInstantiationDecl*>(decl)->id);
        break;
    case VhdlPackageDecl::kClassId:
    case VhdlPackageInstantiationDecl::kClassId: out.push_back(static_cast<VhdlDesignUnit*>(decl)->id); break;
    case VhdlGroupTemplateDecl::kClassId: out.push_back(static_cast<VhdlGroupTemplateDecl*>(decl)->id); break;
    case VhdlGroupDecl::kClassId: out.push_back(static_cast<VhdlGroupDecl*>(decl)->id); break;
    case VhdlInterfaceDecl::kClassId: ids(static_cast<VhdlInterfaceDecl*>(decl)->ids); break;
    case VhdlInterfaceTypeDecl::kClassId: out.push_back(static_cast<VhdlInterfaceTypeDecl*>(decl)->id); break;
    case VhdlInterfaceSubprogDecl::kClassId:
        out.push_back(static_cast<VhdlInterfaceSubprogDecl*>(decl)->spec->id);
        break;
    case VhdlInterfacePackageDecl::kClassId: out.push_back(static_cast<VhdlInterfacePackageDecl*>(decl)->id); break;
    case VhdlElementDecl::kClassId: ids(static_cast<VhdlElementDecl*>(decl)->ids); break;
    default: break;
    }
}

// What a selected name reaches into: the declarations of a package (of the generic
// package that an instance instantiates: elaboration tells the instances apart), the
// methods of a protected type, the elements of a record type.
const VhdlNodeList* SelectableDecls(VhdlTreeNode* node) {
    if (!node) return nullptr;
    switch (node->GetClassId()) {
    case VhdlPackageDecl::kClassId: return &static_cast<VhdlPackageDecl*>(node)->declarations;
    case VhdlPackageInstantiationDecl::kClassId: {
        VhdlTreeNode* name = static_cast<VhdlPackageInstantiationDecl*>(node)->uninstantiated;
        if (name && name->GetClassId() == VhdlSelectedName::kClassId)
            name = static_cast<VhdlSelectedName*>(name)->suffix;
        auto* ref = dynamic_cast<VhdlIdRef*>(name);
        VhdlIdDef* generic = ref ? ref->resolved : nullptr;
        return generic && generic->declaration != node ? SelectableDecls(generic->declaration) : nullptr;
    }
    case VhdlProtectedTypeDef::kClassId: return &static_cast<VhdlProtectedTypeDef*>(node)->declarations;
    case VhdlRecordTypeDef::kClassId: return &static_cast<VhdlRecordTypeDef*>(node)->elements;
    default: return nullptr;
    }
}

// Per package (protected type, record type), the index of its declarations; built
// once, since every unit that uses a package would otherwise walk all its declarations
// again. Trees live until Reset.
std::unordered_map<const VhdlTreeNode*, std::unique_ptr<NameTable>>& PackageIndexes() {
    static std::unordered_map<const VhdlTreeNode*, std::unique_ptr<NameTable>> indexes;
    return indexes;
}

const NameTable* PackageIndex(VhdlTreeNode* unit) {
    const VhdlNodeList* decls = SelectableDecls(unit);
    if (!decls) return nullptr;
    std::unique_ptr<NameTable>& index = PackageIndexes()[unit];
    if (!index) {
        index = std::make_unique<NameTable>();
        std::vector<VhdlIdDef*> ids;
        for (VhdlTreeNode* d : *decls) DeclaredIds(d, ids);
        for (VhdlIdDef* id : ids)
            if (id) index->Add(id);
    }
    return index.get();
}

VhdlIdDef* IdOf(VhdlTreeNode* name) {
    if (!name) return nullptr;
    switch (name->GetClassId()) {
    case VhdlIdRef::kClassId: return static_cast<VhdlIdRef*>(name)->resolved;
    case VhdlSelectedName::kClassId: return IdOf(static_cast<VhdlSelectedName*>(name)->suffix);
    case VhdlSignaturedName::kClassId: return IdOf(static_cast<VhdlSignaturedName*>(name)->name);
    default: return nullptr;
    }
}

// The simple name in which a name ends: `rtl`, `g(1)`, `lib.e` give rtl, g, e.
VhdlIdRef* LastRef(VhdlTreeNode* name) {
    if (auto* ref = dynamic_cast<VhdlIdRef*>(name)) return ref;
    if (auto* sel = dynamic_cast<VhdlSelectedName*>(name)) return LastRef(sel->suffix);
    if (auto* idx = dynamic_cast<VhdlIndexedName*>(name)) return LastRef(idx->prefix);
    return nullptr;
}

// The generic and port clauses that formals of a map aspect name.
struct Interface {
    const VhdlNodeList* generics = nullptr;
    const VhdlNodeList* ports = nullptr;
};

Interface InterfaceOf(VhdlTreeNode* unit) {
    if (auto* e = dynamic_cast<VhdlEntityDecl*>(unit)) return {&e->generics, &e->ports};
    if (auto* c = dynamic_cast<VhdlComponentDecl*>(unit)) return {&c->generics, &c->ports};
    if (auto* cfg = dynamic_cast<VhdlConfigurationDecl*>(unit)) return InterfaceOf(cfg->entity);
    return {};
}

// The generic clause of what an instantiation names: a package, a subprogram or a
// protected type.
const VhdlNodeList* GenericsOf(VhdlIdDef* id) {
    if (!id) return nullptr;
    if (auto* pkg = dynamic_cast<VhdlPackageDecl*>(id->declaration)) return &pkg->generics;
    if (const VhdlSubprogramSpec* spec = VhdlSpecOf(id)) return &spec->generics;
    if (auto* type = dynamic_cast<VhdlFullTypeDecl*>(id->declaration)) {
        if (auto* prot = dynamic_cast<VhdlProtectedTypeDef*>(type->typeDef)) return &prot->generics;
    }
    return nullptr;
}

// The statements of what a block configuration configures.
const VhdlNodeList* StatementsOf(VhdlTreeNode* block) {
    if (auto* arch = dynamic_cast<VhdlArchitectureBody*>(block)) return &arch->statements;
    if (auto* stmt = dynamic_cast<VhdlStatement*>(block)) return stmt->GetInnerStatements();
    return nullptr;
}

// Where a unit name leads: an entity with its architecture, through a configuration
// when it names one.
struct Target {
    VhdlPrimaryUnit* entity = nullptr;
    VhdlSecondaryUnit* architecture = nullptr;
    VhdlConfigurationDecl* configuration = nullptr;
};

class Resolver : public VhdlVisitor {
public:
    Resolver(VhdlDesignUnit* unit, VhdlLibrary* library) : unit_(unit), library_(library) {}

    void Run() {
        Push();
        // Every unit sees `library std, work; use std.standard.all;`.
        if (VhdlLibrary* std = vhdl_file::GetLibrary("std")) {
            if (VhdlPrimaryUnit* standard = std->GetPrimUnit("standard")) UsePackage(standard, {});
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
    void Visit(VhdlPackageBody& n) override { Region(n); }
    void Visit(VhdlContextDecl& n) override { Region(n); }
    void Visit(VhdlSubprogramBody& n) override { Region(n); }
    void Visit(VhdlProcessStatement& n) override { Labelled(n); }
    void Visit(VhdlBlockStatement& n) override { Labelled(n); }
    void Visit(VhdlGenerateStatement& n) override { Labelled(n); }
    void Visit(VhdlLoopStatement& n) override { Labelled(n); }
    void Visit(VhdlProtectedTypeDefBody& n) override {
        // The body's region continues the declaration's: methods call those declared there
        // whose bodies come later.
        VhdlProtectedTypeDef* declared = bodyOf_;
        bodyOf_ = nullptr;
        Push();
        if (declared) DeclareAll(declared->declarations);
        n.VisitChildren(*this);
        Pop();
    }
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

    // Regions whose generic map names their own or another unit's generics.
    void Visit(VhdlPackageDecl& n) override {
        if (static_cast<VhdlTreeNode*>(&n) != unit_) Declare(&n);
        Push();
        for (VhdlTreeNode* c : n.contextClause) c->Accept(*this);
        if (n.id) n.id->Accept(*this);
        for (VhdlTreeNode* g : n.generics) g->Accept(*this);
        ResolveAssociations(n.genericMap, &n.generics);
        for (VhdlTreeNode* d : n.declarations) d->Accept(*this);
        Pop();
    }
    void Visit(VhdlPackageInstantiationDecl& n) override {
        if (static_cast<VhdlTreeNode*>(&n) != unit_) Declare(&n);
        Push();
        for (VhdlTreeNode* c : n.contextClause) c->Accept(*this);
        if (n.id) n.id->Accept(*this);
        if (n.uninstantiated) n.uninstantiated->Accept(*this);
        ResolveAssociations(n.genericMap, GenericsOf(IdOf(n.uninstantiated)));
        Pop();
    }
    void Visit(VhdlInterfacePackageDecl& n) override {
        if (n.id) n.id->Accept(*this);
        if (n.uninstantiated) n.uninstantiated->Accept(*this);
        ResolveAssociations(n.genericMap, GenericsOf(IdOf(n.uninstantiated)));
        Declare(&n);
    }
    void Visit(VhdlSubprogInstantiationDecl& n) override {
        if (n.id) n.id->Accept(*this);
        if (n.uninstantiated) n.uninstantiated->Accept(*this);
        ResolveAssociations(n.genericMap, GenericsOf(IdOf(n.uninstantiated)));
        Declare(&n);
    }
    void Visit(VhdlProtectedTypeDef& n) override {
        if (n.uninstantiated) {
            n.uninstantiated->Accept(*this);
            ResolveAssociations(n.genericMap, GenericsOf(IdOf(n.uninstantiated)));
            return;
        }
        Push();
        for (VhdlTreeNode* g : n.generics) g->Accept(*this);
        ResolveAssociations(n.genericMap, &n.generics);
        for (VhdlTreeNode* d : n.declarations) d->Accept(*this);
        Pop();
    }
    void Visit(VhdlSubprogramSpec& n) override {
        if (n.id) n.id->Accept(*this);
        for (VhdlTreeNode* g : n.generics) g->Accept(*this);
        ResolveAssociations(n.genericMap, &n.generics);
        for (VhdlTreeNode* p : n.params) p->Accept(*this);
        if (n.returnId) n.returnId->Accept(*this);
        if (n.returnType) n.returnType->Accept(*this);
    }
    void Visit(VhdlBlockGenerics& n) override {
        for (VhdlTreeNode* g : n.clause) g->Accept(*this);
        ResolveAssociations(n.map, &n.clause);
    }
    void Visit(VhdlBlockPorts& n) override {
        for (VhdlTreeNode* p : n.clause) p->Accept(*this);
        ResolveAssociations(n.map, &n.clause);
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
        if (auto* object = dynamic_cast<VhdlObjectDecl*>(&n))
            ResolveChoices(object->init, TypeOfSubtype(object->subtype, 0), 0);
        if (auto* port = dynamic_cast<VhdlInterfaceDecl*>(&n))
            ResolveChoices(port->init, TypeOfSubtype(port->subtype, 0), 0);
        Declare(&n);
    }
    void Visit(VhdlQualifiedExpression& n) override {
        n.VisitChildren(*this);
        ResolveChoices(n.aggregate, TypeOfSubtype(n.prefix, 0), 0);
    }
    void Visit(VhdlVariableAssignmentStatement& n) override {
        Visit(static_cast<VhdlStatement&>(n));
        ResolveChoices(n.value, TypeOfName(n.target, 0), 0);
    }
    void Visit(VhdlSignalAssignmentStatement& n) override {
        Visit(static_cast<VhdlStatement&>(n));
        VhdlTypeDef* type = TypeOfName(n.target, 0);
        for (VhdlTreeNode* element : n.waveform)
            if (auto* wave = dynamic_cast<VhdlWaveformElement*>(element)) ResolveChoices(wave->value, type, 0);
    }
    void Visit(VhdlSubprogramDecl& n) override {
        Declare(&n);
        Push();
        n.VisitChildren(*this);
        Pop();
    }
    void Visit(VhdlFullTypeDecl& n) override {
        bodyOf_ = nullptr;
        if (n.id && n.typeDef && n.typeDef->GetClassId() == VhdlProtectedTypeDefBody::kClassId) {
            VhdlIdDef* declared = Lookup(n.id->OrigName(), VhdlCallShape{}, nullptr);
            auto* full = declared ? dynamic_cast<VhdlFullTypeDecl*>(declared->declaration) : nullptr;
            bodyOf_ = full ? dynamic_cast<VhdlProtectedTypeDef*>(full->typeDef) : nullptr;
        }
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
        VhdlComponentDecl* comp = nullptr;
        if (n.componentSpec && n.componentSpec->component) {
            n.componentSpec->component->Accept(*this);
            VhdlIdDef* id = IdOf(n.componentSpec->component);
            comp = id ? dynamic_cast<VhdlComponentDecl*>(id->declaration) : nullptr;
        }
        // Labels name instances of the statement part, which follows; they are matched
        // when the instances bind.
        ResolveBinding(n.binding, comp, comp && comp->id ? FindEntity(comp->id->OrigName()) : nullptr);
        current_->configSpecs.push_back(&n);
    }
    void Visit(VhdlConfigurationDecl& n) override {
        if (static_cast<VhdlTreeNode*>(&n) != unit_) Declare(&n);
        Push();
        for (VhdlTreeNode* c : n.contextClause) c->Accept(*this);
        if (n.id) n.id->Accept(*this);
        n.entity = ConfiguredEntity(n);
        n.architecture = nullptr;
        if (VhdlIdRef* ref = LastRef(n.entityName); ref && n.entity) ref->resolved = n.entity->id;
        EnterParentUnit(n.entity);
        for (VhdlTreeNode* d : n.declarations) d->Accept(*this);
        if (n.blockConfiguration) {
            n.architecture = ArchitectureNamed(n.entity, n.blockConfiguration->blockSpec);
            ConfigureBlock(*n.blockConfiguration, n.architecture);
        }
        Pop();
    }

    // References.
    void Visit(VhdlIdRef& n) override {
        if (!n.resolved) n.resolved = Lookup(n.text, VhdlCallShape{}, &n.ambiguous);
    }
    void Visit(VhdlSelectedName& n) override { ResolveSelected(n, VhdlCallShape{}); }
    void Visit(VhdlIndexedName& n) override {
        VhdlCallShape shape{n.assocList.Size(), &n.assocList};
        uint32_t kind = n.prefix ? n.prefix->GetClassId() : 0;
        if (kind == VhdlIdRef::kClassId) {
            auto* ref = static_cast<VhdlIdRef*>(n.prefix);
            if (!ref->resolved) ref->resolved = Lookup(ref->text, shape, &ref->ambiguous);
        } else if (kind == VhdlSelectedName::kClassId) {
            ResolveSelected(*static_cast<VhdlSelectedName*>(n.prefix), shape);
        } else if (n.prefix) {
            n.prefix->Accept(*this);
        }
        // A call names the parameters (and generics) of the subprogram it calls.
        VhdlIdDef* callee = IdOf(n.prefix);
        const VhdlSubprogramSpec* spec = VhdlIsOverloadable(callee) ? VhdlSpecOf(callee) : nullptr;
        ResolveAssociations(n.genericMap, spec ? &spec->generics : nullptr);
        ResolveAssociations(n.assocList, spec ? &spec->params : nullptr);
    }
    void Visit(VhdlSignaturedName& n) override {
        // The signature tells the overload: its number of parameters and its result.
        VhdlCallShape shape;
        shape.exact = true;
        if (n.signature) {
            shape.actuals = n.signature->typeMarks.Size();
            shape.function = n.signature->returnType ? 1 : 0;
            n.signature->Accept(*this);
        }
        if (auto* ref = dynamic_cast<VhdlIdRef*>(n.name)) {
            if (!ref->resolved) ref->resolved = Lookup(ref->text, shape, &ref->ambiguous);
        } else if (auto* sel = dynamic_cast<VhdlSelectedName*>(n.name)) {
            ResolveSelected(*sel, shape);
        } else if (n.name) {
            n.name->Accept(*this);
        }
    }
    void Visit(VhdlAttributeName& n) override {
        // The designator names a predefined or user attribute, not an object in scope.
        if (n.prefix) n.prefix->Accept(*this);
        if (n.signature) n.signature->Accept(*this);
        if (n.expression) n.expression->Accept(*this);
        if (n.designator) n.designator->resolved = Lookup(n.designator->text, VhdlCallShape{}, nullptr);
    }
    void Visit(VhdlAssocElement& n) override {
        // Without a known interface the formal cannot be found: no declaration of the
        // enclosing regions is one.
        if (n.actual) n.actual->Accept(*this);
    }
    void Visit(VhdlComponentInstantiationStatement& n) override {
        if (n.label) Declare(n.label);
        if (n.unit) n.unit->Accept(*this);
        Bind(n);
        // Formals are the interface of the component, or of the entity instantiated.
        VhdlTreeNode* unit = n.GetComponent();
        if (!unit) unit = n.InstantiatesComponent() ? n.boundEntity : IdDeclaration(n.instantiated);
        Interface formals = InterfaceOf(unit);
        ResolveAssociations(n.genericMap, formals.generics);
        ResolveAssociations(n.portMap, formals.ports);
    }

private:
    void Push() {
        ++generation_;
        scopes_.push_back(std::make_unique<Scope>());
        scopes_.back()->parent = current_;
        current_ = scopes_.back().get();
    }
    void Pop() {
        ++generation_;
        current_ = current_->parent;
    }

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
        ++generation_;
        if (id) current_->local.Add(id);
    }
    void Declare(VhdlTreeNode* decl) {
        if (auto* id = dynamic_cast<VhdlIdDef*>(decl)) {
            DeclareId(id);
            return;
        }
        declared_.clear();
        DeclaredIds(decl, declared_);
        for (VhdlIdDef* id : declared_) {
            if (id && !id->owningUnit) id->owningUnit = unit_;
            DeclareId(id);
        }
    }

    static VhdlTreeNode* IdDeclaration(VhdlIdDef* id) { return id ? id->declaration : nullptr; }

    // A simple name, overloaded or not. Inner regions hide outer ones; among overloads
    // the use decides (see Choose). Without `ambiguous` the first visible is taken.
    VhdlIdDef* Lookup(std::string_view text, const VhdlCallShape& shape, bool* ambiguous) {
        if (text.empty() || text == "." || text == "^" || text == "@") return nullptr;
        NameKey key(text);
        for (Scope* s = current_; s; s = s->parent) {
            if (VhdlIdDef* id = s->local.Find(key)) {
                if (!ambiguous || !VhdlIsOverloadable(id)) return id;
                return Choose(key, s, id, shape, ambiguous);
            }
        }
        for (Scope* s = current_; s; s = s->parent) {
            for (const UsedItem& item : s->used) {
                if (VhdlIdDef* id = FindUsed(item, key)) {
                    if (!ambiguous || !VhdlIsOverloadable(id)) return id;
                    return Choose(key, nullptr, id, shape, ambiguous);
                }
            }
        }
        // `work` and the library names need no clause to be found by selected names.
        bool library = NameEq()(text, "work");
        for (VhdlLibrary* lib : vhdl_file::AllLibraries()) library = library || NameEq()(text, lib->Name());
        return library ? LibraryId(Key(text)) : nullptr;
    }

    // The overloads of a name directly visible from region `from` outward (up to a
    // declaration that is not overloadable, which hides the rest) and those that use
    // clauses make visible, an inner declaration hiding an outer one of its profile.
    // While nothing is declared or made visible, the same use of a name chooses the
    // same way: statement parts call a few names many times.
    VhdlIdDef* Choose(const NameKey& key, Scope* from, VhdlIdDef* first, const VhdlCallShape& shape, bool* ambiguous) {
        bool memoizable = !NamesFormals(shape);
        if (memoizable) {
            auto it = choices_.find(key);
            if (it != choices_.end() && it->second.generation == generation_ && it->second.actuals == shape.actuals &&
                it->second.exact == shape.exact && it->second.function == shape.function) {
                *ambiguous = it->second.ambiguous;
                return it->second.result;
            }
        }
        VhdlIdDef* result = Gather(key, from, first, shape, ambiguous);
        if (memoizable) choices_[key] = {generation_, shape.actuals, shape.function, shape.exact, *ambiguous, result};
        return result;
    }

    static bool NamesFormals(const VhdlCallShape& shape) {
        if (!shape.assocs) return false;
        for (VhdlTreeNode* a : *shape.assocs)
            if (a->GetClassId() == VhdlAssocElement::kClassId && static_cast<VhdlAssocElement*>(a)->formal) return true;
        return false;
    }

    VhdlIdDef* Gather(const NameKey& key, Scope* from, VhdlIdDef* first, const VhdlCallShape& shape, bool* ambiguous) {
        candidates_.clear();
        // Homographs can only come from different regions or packages.
        unsigned sources = 0;
        auto add = [&](const Overload& o) {
            if (VhdlIsOverloadable(o.id)) candidates_.push_back(o);
        };
        for (Scope* s = from; s; s = s->parent) {
            VhdlIdDef* id = s->local.Find(key);
            if (!id) continue;
            if (!VhdlIsOverloadable(id)) break;
            s->local.ForEach(id, add);
            ++sources;
        }
        for (Scope* s = current_; s; s = s->parent) {
            for (const UsedItem& item : s->used) {
                if (item.package && (item.only.empty() || NameEq()(item.only, key.text))) {
                    if (VhdlIdDef* id = item.package->Find(key)) {
                        item.package->ForEach(id, add);
                        ++sources;
                    }
                } else if (VhdlIdDef* id = FindUsed(item, key)) {
                    add(Overload{id, VhdlArity(), false});
                    ++sources;
                }
            }
        }
        return Select(first, shape, ambiguous, sources > 1);
    }

    // Among candidates_: the one that takes the use by its number of actuals (with
    // defaults, else exactly), else by the formals it names; else the first visible,
    // flagged. Homographs (a subprogram and its body, or a declaration hidden by an
    // inner one) count once, the first.
    VhdlIdDef* Select(VhdlIdDef* first, const VhdlCallShape& shape, bool* ambiguous, bool homographs) {
        if (candidates_.size() < 2) return first;
        size_t accepted = 0;
        for (Overload& o : candidates_) {
            if (!o.counted) o.arity = VhdlArityOf(o.id);
            if (VhdlAccepts(o.arity, shape)) candidates_[accepted++] = o;
        }
        size_t kept = accepted > 1 && homographs ? 0 : accepted;
        if (accepted > 1 && homographs) {
            profiles_.clear();
            for (size_t c = 0; c < accepted; ++c) {
                Overload o = candidates_[c];
                uint64_t key = VhdlProfileKey(o.id);
                bool hidden = false;
                for (size_t i = 0; i < kept && !hidden; ++i)
                    hidden = profiles_[i] == key && VhdlSameProfile(candidates_[i].id, o.id);
                if (hidden) continue;
                profiles_.push_back(key);
                candidates_[kept++] = o;
            }
        }
        if (kept == 1) return candidates_[0].id;
        if (kept > 1) {
            // Defaults aside, the one with exactly as many parameters as actuals.
            VhdlCallShape exact = shape;
            exact.exact = true;
            size_t exactCount = 0;
            for (size_t i = 0; i < kept; ++i)
                if (VhdlAccepts(candidates_[i].arity, exact)) std::swap(candidates_[exactCount++], candidates_[i]);
            if (exactCount == 1) return candidates_[0].id;
            if (exactCount > 1) kept = exactCount;
            VhdlIdDef* pick = nullptr;
            unsigned named = 0;
            for (size_t i = 0; i < kept && NamesFormals(shape); ++i) {
                if (!VhdlHasNamedFormals(candidates_[i].id, shape)) continue;
                if (!named) pick = candidates_[i].id;
                ++named;
            }
            if (named == 1) return pick;
        }
        *ambiguous = true;
        return first;
    }

    static VhdlIdDef* FindUsed(const UsedItem& item, const NameKey& name) {
        if (item.single) return NameEq()(item.single->OrigName(), name.text) ? item.single : nullptr;
        if (item.package) {
            if (!item.only.empty() && !NameEq()(item.only, name.text)) return nullptr;
            return item.package->Find(name);
        }
        VhdlPrimaryUnit* unit = item.library ? item.library->GetPrimUnit(Key(name.text).c_str()) : nullptr;
        return unit ? unit->id : nullptr;
    }

    // prefix.suffix: a unit of a library, or a declaration of a package.
    void ResolveSelected(VhdlSelectedName& n, const VhdlCallShape& shape) {
        if (n.prefix) n.prefix->Accept(*this);
        auto* suffix = dynamic_cast<VhdlIdRef*>(n.suffix);
        if (!suffix || suffix->resolved) return;
        VhdlIdDef* prefixId = IdOf(n.prefix);
        if (VhdlLibrary* lib = LibraryOf(prefixId)) {
            if (VhdlPrimaryUnit* unit = lib->GetPrimUnit(Key(suffix->text).c_str())) suffix->resolved = unit->id;
            return;
        }
        const NameTable* index = prefixId ? PackageIndex(prefixId->declaration) : nullptr;
        if (!index) index = PackageIndex(Designated(TypeOfName(n.prefix, 0)));
        if (!index) return;
        NameKey key(suffix->text);
        VhdlIdDef* first = index->Find(key);
        if (!first || !VhdlIsOverloadable(first)) {
            suffix->resolved = first;
            return;
        }
        candidates_.clear();
        index->ForEach(first, [&](const Overload& o) { candidates_.push_back(o); });
        suffix->resolved = Select(first, shape, &suffix->ambiguous, false);
    }

    // The type definition of what a name denotes, as far as names tell it without
    // overload resolution by types: objects, record elements, array elements, results
    // of calls, `.all`. Null where that is not known.
    VhdlTypeDef* TypeOfName(VhdlTreeNode* name, int depth) {
        if (!name || depth > 8) return nullptr;
        switch (name->GetClassId()) {
        case VhdlSelectedName::kClassId: {
            auto* sel = static_cast<VhdlSelectedName*>(name);
            if (sel->suffix && sel->suffix->GetClassId() == VhdlAll::kClassId) {
                auto* access = dynamic_cast<VhdlAccessTypeDef*>(TypeOfName(sel->prefix, depth + 1));
                return access ? TypeOfSubtype(access->subtype, depth + 1) : nullptr;
            }
            return TypeOfObject(IdOf(name), depth + 1);
        }
        case VhdlIdRef::kClassId: return TypeOfObject(IdOf(name), depth + 1);
        case VhdlIndexedName::kClassId: {
            auto* idx = static_cast<VhdlIndexedName*>(name);
            VhdlIdDef* callee = IdOf(idx->prefix);
            if (VhdlIsOverloadable(callee)) {
                const VhdlSubprogramSpec* spec = VhdlSpecOf(callee);
                return spec ? TypeOfSubtype(spec->returnType, depth + 1) : nullptr;
            }
            VhdlTypeDef* prefix = Designated(TypeOfName(idx->prefix, depth + 1));
            auto* array = dynamic_cast<VhdlArrayTypeDef*>(prefix);
            if (!array) return nullptr;
            // A slice keeps the array type; an index gives an element.
            VhdlTreeNode* first = idx->assocList.At(0);
            if (first && (first->GetClassId() == VhdlRange::kClassId ||
                          first->GetClassId() == VhdlExplicitSubtypeIndication::kClassId))
                return array;
            return TypeOfSubtype(array->elementSubtype, depth + 1);
        }
        default: return nullptr;
        }
    }

    VhdlTypeDef* TypeOfObject(VhdlIdDef* id, int depth) {
        VhdlTreeNode* decl = id ? id->declaration : nullptr;
        if (!decl) return nullptr;
        switch (decl->GetClassId()) {
        case VhdlConstantDecl::kClassId:
        case VhdlSignalDecl::kClassId:
        case VhdlVariableDecl::kClassId: return TypeOfSubtype(static_cast<VhdlObjectDecl*>(decl)->subtype, depth + 1);
        case VhdlInterfaceDecl::kClassId:
            return TypeOfSubtype(static_cast<VhdlInterfaceDecl*>(decl)->subtype, depth + 1);
        case VhdlElementDecl::kClassId: return TypeOfSubtype(static_cast<VhdlElementDecl*>(decl)->subtype, depth + 1);
        case VhdlAliasDecl::kClassId: {
            auto* alias = static_cast<VhdlAliasDecl*>(decl);
            return alias->subtype ? TypeOfSubtype(alias->subtype, depth + 1) : TypeOfName(alias->name, depth + 1);
        }
        default: return nullptr;
        }
    }

    // The type definition a subtype indication or type mark comes down to.
    VhdlTypeDef* TypeOfSubtype(VhdlTreeNode* subtype, int depth) {
        if (!subtype || depth > 8) return nullptr;
        switch (subtype->GetClassId()) {
        case VhdlIndexedName::kClassId: return TypeOfSubtype(static_cast<VhdlIndexedName*>(subtype)->prefix, depth + 1);
        case VhdlExplicitSubtypeIndication::kClassId:
            return TypeOfSubtype(static_cast<VhdlExplicitSubtypeIndication*>(subtype)->typeMark, depth + 1);
        default: break;
        }
        VhdlIdDef* mark = IdOf(subtype);
        VhdlTreeNode* decl = mark ? mark->declaration : nullptr;
        if (!decl) return nullptr;
        switch (decl->GetClassId()) {
        case VhdlFullTypeDecl::kClassId: return static_cast<VhdlFullTypeDecl*>(decl)->typeDef;
        case VhdlSubtypeDecl::kClassId: return TypeOfSubtype(static_cast<VhdlSubtypeDecl*>(decl)->subtype, depth + 1);
        case VhdlIncompleteTypeDecl::kClassId: {
            // Completed later in the same region: the name now finds the full type.
            VhdlIdDef* full = Lookup(mark->OrigName(), VhdlCallShape{}, nullptr);
            if (!full || full == mark || !full->declaration ||
                full->declaration->GetClassId() != VhdlFullTypeDecl::kClassId)
                return nullptr;
            return static_cast<VhdlFullTypeDecl*>(full->declaration)->typeDef;
        }
        default: return nullptr;
        }
    }

    // The choices of an aggregate of a record type name the record's elements, whatever
    // else of the name is visible (a constant `FIELD` beside the element `field`); the
    // elements of nested aggregates follow the types of the elements they stand for.
    void ResolveChoices(VhdlTreeNode* expr, VhdlTypeDef* type, int depth) {
        if (!expr || !type || depth > 8 || expr->GetClassId() != VhdlAggregate::kClassId) return;
        auto* aggregate = static_cast<VhdlAggregate*>(expr);
        if (auto* array = dynamic_cast<VhdlArrayTypeDef*>(type)) {
            VhdlTypeDef* element = TypeOfSubtype(array->elementSubtype, depth + 1);
            for (VhdlTreeNode* e : aggregate->elements) {
                auto* assoc = dynamic_cast<VhdlElementAssoc*>(e);
                ResolveChoices(assoc ? assoc->expression : e, element, depth + 1);
            }
            return;
        }
        auto* record = dynamic_cast<VhdlRecordTypeDef*>(type);
        if (!record) return;
        std::vector<std::pair<VhdlIdDef*, VhdlElementDecl*>> elements;
        for (VhdlTreeNode* node : record->elements)
            if (auto* decl = dynamic_cast<VhdlElementDecl*>(node))
                for (VhdlIdDef* id : decl->ids)
                    if (id) elements.push_back({id, decl});
        size_t position = 0;
        for (VhdlTreeNode* e : aggregate->elements) {
            auto* assoc = dynamic_cast<VhdlElementAssoc*>(e);
            if (!assoc) {
                // Positional: the element in that place.
                if (position < elements.size())
                    ResolveChoices(e, TypeOfSubtype(elements[position].second->subtype, depth + 1), depth + 1);
                ++position;
                continue;
            }
            VhdlElementDecl* named = nullptr;
            for (VhdlTreeNode* choice : assoc->choices) {
                auto* ref = dynamic_cast<VhdlIdRef*>(choice);
                if (!ref) continue;
                const std::string key = Key(ref->text);
                for (const auto& [id, decl] : elements) {
                    if (Key(id->Name()) != key) continue;
                    ref->resolved = id;
                    ref->ambiguous = false;
                    named = decl;
                    break;
                }
            }
            if (named) ResolveChoices(assoc->expression, TypeOfSubtype(named->subtype, depth + 1), depth + 1);
        }
    }

    // Selection through an access value reaches the designated object.
    VhdlTypeDef* Designated(VhdlTypeDef* type) {
        auto* access = dynamic_cast<VhdlAccessTypeDef*>(type);
        return access ? TypeOfSubtype(access->subtype, 0) : type;
    }

    // Formals name the declarations of `formals`; actuals are resolved where they stand.
    void ResolveAssociations(const VhdlNodeList& assocs, const VhdlNodeList* formals) {
        for (VhdlTreeNode* a : assocs) {
            if (a->GetClassId() != VhdlAssocElement::kClassId) {
                a->Accept(*this);
                continue;
            }
            auto* assoc = static_cast<VhdlAssocElement*>(a);
            if (assoc->formal) ResolveFormal(assoc->formal, formals);
            if (assoc->actual) assoc->actual->Accept(*this);
        }
    }

    static VhdlIdDef* FindFormal(std::string_view text, const VhdlNodeList* formals) {
        if (!formals) return nullptr;
        for (VhdlTreeNode* d : *formals) {
            VhdlIdDef* single = nullptr;
            switch (d->GetClassId()) {
            case VhdlInterfaceDecl::kClassId:
                for (VhdlIdDef* id : static_cast<VhdlInterfaceDecl*>(d)->ids)
                    if (NameEq()(id->OrigName(), text)) return id;
                continue;
            case VhdlInterfaceTypeDecl::kClassId: single = static_cast<VhdlInterfaceTypeDecl*>(d)->id; break;
            case VhdlInterfaceSubprogDecl::kClassId:
                single = static_cast<VhdlInterfaceSubprogDecl*>(d)->spec->id;
                break;
            case VhdlInterfacePackageDecl::kClassId: single = static_cast<VhdlInterfacePackageDecl*>(d)->id; break;
            default: continue;
            }
            if (single && NameEq()(single->OrigName(), text)) return single;
        }
        return nullptr;
    }

    // A formal: a name of the interface, an element or slice of one (`a(3)`, `r.f`), or
    // a conversion applied to one (`to_x(a)`).
    void ResolveFormal(VhdlExpression* formal, const VhdlNodeList* formals) {
        switch (formal->GetClassId()) {
        case VhdlIdRef::kClassId: {
            auto* ref = static_cast<VhdlIdRef*>(formal);
            if (!ref->resolved) ref->resolved = FindFormal(ref->text, formals);
            return;
        }
        case VhdlSelectedName::kClassId: ResolveFormal(static_cast<VhdlSelectedName*>(formal)->prefix, formals); return;
        case VhdlIndexedName::kClassId: {
            auto* idx = static_cast<VhdlIndexedName*>(formal);
            auto* ref = dynamic_cast<VhdlIdRef*>(idx->prefix);
            VhdlIdDef* id = ref ? FindFormal(ref->text, formals) : nullptr;
            if (id || dynamic_cast<VhdlSelectedName*>(idx->prefix) || dynamic_cast<VhdlIndexedName*>(idx->prefix)) {
                if (id && !ref->resolved) ref->resolved = id;
                if (!id) ResolveFormal(idx->prefix, formals);
                for (VhdlTreeNode* a : idx->assocList) a->Accept(*this);
                return;
            }
            if (ref) {
                if (!ref->resolved)
                    ref->resolved = Lookup(ref->text, {idx->assocList.Size(), nullptr}, &ref->ambiguous);
            } else if (idx->prefix) {
                idx->prefix->Accept(*this);
            }
            for (VhdlTreeNode* a : idx->assocList) {
                if (auto* e = dynamic_cast<VhdlExpression*>(a)) ResolveFormal(e, formals);
            }
            return;
        }
        default: formal->Accept(*this);
        }
    }

    // A binding indication: its entity aspect, and its maps, whose formals are the
    // bound entity's and whose actuals see the component's generics and ports.
    Target ResolveBinding(VhdlBindingIndication* b, VhdlComponentDecl* comp, VhdlPrimaryUnit* defaultEntity) {
        Target target;
        if (!b) return target;
        VhdlEntityAspect* aspect = b->entityAspect;
        if (aspect && aspect->name) aspect->name->Accept(*this);
        if (!aspect) target.entity = defaultEntity;
        else if (aspect->entityClass != VHDL_OPEN) target = TargetOf(PrimaryOf(aspect->name), aspect->name);
        Push();
        if (comp) {
            for (VhdlTreeNode* d : comp->generics) Declare(d);
            for (VhdlTreeNode* d : comp->ports) Declare(d);
        }
        Interface formals = InterfaceOf(target.entity);
        ResolveAssociations(b->genericMap, formals.generics);
        ResolveAssociations(b->portMap, formals.ports);
        Pop();
        return target;
    }

public:
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

private:
    VhdlLibrary* LibraryOf(VhdlIdDef* id) {
        if (!id || id->GetClassId() != VhdlLibraryId::kClassId) return nullptr;
        std::string key = Key(id->OrigName());
        if (key == "work") return library_;
        return vhdl_file::GetLibrary(key.c_str());
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
        if (auto* e = dynamic_cast<VhdlEntityDecl*>(primary)) {
            DeclareAll(e->generics);
            DeclareAll(e->ports);
            DeclareAll(e->declarations);
        } else if (auto* p = dynamic_cast<VhdlPackageDecl*>(primary)) {
            DeclareAll(p->generics);
            DeclareAll(p->declarations);
        }
    }
    void DeclareAll(const VhdlNodeList& list) {
        for (VhdlTreeNode* d : list) {
            if (auto* use = dynamic_cast<VhdlUseClause*>(d)) {
                for (VhdlTreeNode* name : use->names) Use(name);
            } else {
                Declare(d);
            }
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
                ++generation_;
                current_->used.push_back({nullptr, nullptr, {}, lib});
            } else if (VhdlIdDef* id = IdOf(sel->suffix)) {
                ++generation_;
                current_->used.push_back({id, nullptr, {}, nullptr});
            }
            return;
        }
        if (!prefix) return;
        auto* unit = dynamic_cast<VhdlPrimaryUnit*>(prefix->declaration);
        if (!unit) return;
        if (all) UsePackage(unit, {});
        else if (auto* ref = dynamic_cast<VhdlIdRef*>(sel->suffix)) UsePackage(unit, ref->text);
    }

    // All of a package, or the declarations of one name (all its overloads).
    void UsePackage(VhdlPrimaryUnit* unit, std::string_view only) {
        const NameTable* index = PackageIndex(unit);
        if (!index) return;
        VhdlIdDef* named = only.empty() ? nullptr : index->Find(only);
        if (!only.empty() && !named) return;
        ++generation_;
        current_->used.push_back({nullptr, index, only, nullptr});
        // A type made visible by its name brings its enumeration literals and units.
        auto* type = named ? dynamic_cast<VhdlFullTypeDecl*>(named->declaration) : nullptr;
        if (!type || (!dynamic_cast<VhdlEnumerationTypeDef*>(type->typeDef) &&
                      !dynamic_cast<VhdlPhysicalTypeDef*>(type->typeDef)))
            return;
        declared_.clear();
        DeclaredIds(type, declared_);
        for (size_t i = 1; i < declared_.size(); ++i) current_->used.push_back({declared_[i], nullptr, {}, nullptr});
    }

    // The unit that a unit name of an instantiation or binding refers to: `lib.e`,
    // `work.e`, or `e` found in scope or by default binding.
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

    // Default binding: an entity of that name that a use clause makes visible (`use
    // lib.all`, `use lib.e`), else the one in the work library, then in the libraries of
    // the search order.
    VhdlPrimaryUnit* FindEntity(std::string_view name) {
        std::string key = Key(name);
        NameKey nameKey(name);
        for (Scope* s = current_; s; s = s->parent) {
            for (const UsedItem& item : s->used) {
                if (item.package) continue;
                VhdlIdDef* id = FindUsed(item, nameKey);
                auto* unit = id ? dynamic_cast<VhdlEntityDecl*>(id->declaration) : nullptr;
                if (unit) return unit;
            }
        }
        if (VhdlPrimaryUnit* u = library_->GetPrimUnit(key.c_str()); dynamic_cast<VhdlEntityDecl*>(u)) return u;
        for (const std::string& libName : vhdl_file::LOptions()) {
            VhdlLibrary* lib = vhdl_file::GetLibrary(libName.c_str());
            VhdlPrimaryUnit* u = lib ? lib->GetPrimUnit(key.c_str()) : nullptr;
            if (dynamic_cast<VhdlEntityDecl*>(u)) return u;
        }
        return nullptr;
    }

    // The architecture of `entity` that a block specification or `e(arch)` names, or
    // the most recently analysed one when none is named.
    static VhdlSecondaryUnit* ArchitectureNamed(VhdlPrimaryUnit* entity, VhdlName* name) {
        if (!entity) return nullptr;
        VhdlIdRef* ref = nullptr;
        if (auto* idx = dynamic_cast<VhdlIndexedName*>(name)) {
            if (idx->assocList.Size() == 1) ref = dynamic_cast<VhdlIdRef*>(idx->assocList.At(0));
        } else {
            ref = dynamic_cast<VhdlIdRef*>(name);
        }
        VhdlSecondaryUnit* arch = entity->GetSecondaryUnit(ref ? std::string(ref->text).c_str() : nullptr);
        if (ref && arch) ref->resolved = arch->id;
        return arch;
    }

    // The entity a configuration declaration configures, in the configuration's library.
    VhdlPrimaryUnit* ConfiguredEntity(const VhdlConfigurationDecl& config) {
        VhdlLibrary* lib = config.library ? config.library : library_;
        VhdlIdRef* ref = LastRef(config.entityName);
        VhdlPrimaryUnit* entity = ref ? lib->GetPrimUnit(std::string(ref->text).c_str()) : nullptr;
        return dynamic_cast<VhdlEntityDecl*>(entity) ? entity : nullptr;
    }

    Target TargetOf(VhdlPrimaryUnit* unit, VhdlName* name) {
        Target target;
        if (auto* config = dynamic_cast<VhdlConfigurationDecl*>(unit)) {
            // A configuration analysed before its entity's last architecture is found again.
            VhdlPrimaryUnit* entity = config->entity ? config->entity : ConfiguredEntity(*config);
            if (!entity) return target;
            target.configuration = config;
            target.entity = entity;
            target.architecture = config->architecture;
            if (!target.architecture && config->blockConfiguration)
                target.architecture = ArchitectureNamed(entity, config->blockConfiguration->blockSpec);
            if (!target.architecture) target.architecture = entity->GetSecondaryUnit(nullptr);
            return target;
        }
        if (!dynamic_cast<VhdlEntityDecl*>(unit)) return target;
        target.entity = unit;
        target.architecture = ArchitectureNamed(unit, dynamic_cast<VhdlIndexedName*>(name) ? name : nullptr);
        return target;
    }

    static void BindTo(VhdlComponentInstantiationStatement& n, const Target& target) {
        n.boundEntity = target.entity;
        n.boundArchitecture = target.architecture;
        n.boundConfiguration = target.configuration;
    }

    // The configuration specification of the instance's own region that applies to it;
    // those of outer regions do not reach into blocks and generates.
    VhdlConfigurationSpec* SpecFor(const VhdlComponentInstantiationStatement& n) {
        VhdlConfigurationSpec* others = nullptr;
        for (VhdlConfigurationSpec* spec : current_->configSpecs) {
            if (!spec->componentSpec) continue;
            VhdlSpecMatch match = spec->componentSpec->Match(n);
            if (match == VhdlSpecMatch::Named) return spec;
            if (match == VhdlSpecMatch::Others && !others) others = spec;
        }
        return others;
    }

    void Bind(VhdlComponentInstantiationStatement& n) {
        BindTo(n, Target());
        n.binding = nullptr;
        auto* unit = dynamic_cast<VhdlInstantiatedUnit*>(n.unit);
        if (unit && unit->entityClass != VHDL_COMPONENT) {
            VhdlPrimaryUnit* primary = PrimaryOf(unit->name);
            if (!primary) return;
            n.instantiated = primary->id;
            BindTo(n, TargetOf(primary, unit->name));
            return;
        }
        VhdlName* name = unit ? unit->name : n.unit;
        VhdlIdDef* component = IdOf(name);
        if (!component || component->GetClassId() != VhdlComponentId::kClassId) {
            // No component in sight; an entity of that name still binds (a common
            // shortcut that tools accept).
            if (auto* ref = dynamic_cast<VhdlIdRef*>(name)) BindTo(n, TargetOf(FindEntity(ref->text), nullptr));
            return;
        }
        n.instantiated = component;
        if (VhdlConfigurationSpec* spec = SpecFor(n)) {
            for (VhdlTreeNode* l : spec->componentSpec->labels) {
                auto* ref = dynamic_cast<VhdlIdRef*>(l);
                if (ref && n.label && NameEq()(ref->text, n.label->OrigName())) ref->resolved = n.label;
            }
            n.binding = spec->binding;
            VhdlEntityAspect* aspect = spec->binding ? spec->binding->entityAspect : nullptr;
            if (aspect) {
                if (aspect->entityClass != VHDL_OPEN) BindTo(n, TargetOf(PrimaryOf(aspect->name), aspect->name));
                return;
            }
        }
        BindTo(n, TargetOf(FindEntity(component->OrigName()), nullptr));
    }

    // The declarations of a configured block are visible inside its configuration.
    void EnterBlock(VhdlTreeNode* block) {
        if (auto* arch = dynamic_cast<VhdlArchitectureBody*>(block)) DeclareAll(arch->declarations);
        else if (auto* b = dynamic_cast<VhdlBlockStatement*>(block)) DeclareAll(b->declarations);
        else if (auto* g = dynamic_cast<VhdlGenerateStatement*>(block)) {
            if (auto* loop = dynamic_cast<VhdlForScheme*>(g->scheme)) DeclareId(loop->id);
            DeclareAll(g->declarations);
        }
    }

    // The statement a nested block specification names among `stmts`: a block or
    // generate label, `g(alt)` an alternative of a 2008 if or case generate.
    static VhdlTreeNode* NamedBlock(const VhdlNodeList* stmts, const VhdlBlockConfiguration& bc) {
        VhdlIdRef* ref = LastRef(bc.blockSpec);
        if (!stmts || !ref) return nullptr;
        for (VhdlTreeNode* s : *stmts) {
            auto* stmt = dynamic_cast<VhdlStatement*>(s);
            if (!stmt || !stmt->label || !NameEq()(stmt->label->OrigName(), ref->text)) continue;
            if (stmt->GetClassId() == VhdlBlockStatement::kClassId ||
                stmt->GetClassId() == VhdlGenerateStatement::kClassId) {
                ref->resolved = stmt->label;
                return stmt;
            }
            const VhdlNodeList* alternatives = stmt->GetInnerStatements();
            auto* alt = dynamic_cast<VhdlIdRef*>(bc.GetIndexSpecification());
            if (!alternatives) return nullptr;
            ref->resolved = stmt->label;
            if (!alt) return stmt;
            for (VhdlTreeNode* a : *alternatives) {
                auto* gen = dynamic_cast<VhdlGenerateStatement*>(a);
                VhdlIdDef* label = gen && gen->scheme ? gen->scheme->alternativeLabel : nullptr;
                if (label && NameEq()(label->OrigName(), alt->text)) {
                    alt->resolved = label;
                    return gen;
                }
            }
            return stmt;
        }
        return nullptr;
    }

    void ConfigureBlock(VhdlBlockConfiguration& bc, VhdlTreeNode* block) {
        bc.block = block;
        Push();
        EnterBlock(block);
        for (VhdlTreeNode* use : bc.useClauses) use->Accept(*this);
        const VhdlNodeList* stmts = StatementsOf(block);
        for (VhdlTreeNode* item : bc.items) {
            if (auto* nested = dynamic_cast<VhdlBlockConfiguration*>(item)) {
                VhdlTreeNode* target = NamedBlock(stmts, *nested);
                VhdlTreeNode* index = nested->GetIndexSpecification();
                if (index && !(target && target->GetClassId() == VhdlGenerateStatement::kClassId &&
                               static_cast<VhdlGenerateStatement*>(target)->scheme &&
                               static_cast<VhdlGenerateStatement*>(target)->scheme->alternativeLabel))
                    index->Accept(*this);
                ConfigureBlock(*nested, target);
            } else if (auto* cc = dynamic_cast<VhdlComponentConfiguration*>(item)) {
                ConfigureComponent(*cc, bc, stmts);
            }
        }
        Pop();
    }

    // The instances a component configuration applies to name its labels and
    // component; its binding indication and nested block configuration follow.
    void ConfigureComponent(VhdlComponentConfiguration& cc, const VhdlBlockConfiguration& owner,
                            const VhdlNodeList* stmts) {
        VhdlComponentInstantiationStatement* first = nullptr;
        if (cc.componentSpec && stmts) {
            for (VhdlTreeNode* s : *stmts) {
                auto* inst = dynamic_cast<VhdlComponentInstantiationStatement*>(s);
                if (!inst || !inst->label || owner.ConfigurationOf(*inst) != &cc) continue;
                if (!first) first = inst;
                for (VhdlTreeNode* l : cc.componentSpec->labels) {
                    auto* ref = dynamic_cast<VhdlIdRef*>(l);
                    if (ref && NameEq()(ref->text, inst->label->OrigName())) ref->resolved = inst->label;
                }
            }
            VhdlIdRef* comp = LastRef(cc.componentSpec->component);
            if (comp && first && first->GetComponent()) comp->resolved = first->instantiated;
        }
        VhdlPrimaryUnit* current = first ? first->boundEntity : nullptr;
        Target target = ResolveBinding(cc.binding, first ? first->GetComponent() : nullptr, current);
        if (!cc.HasEntityAspect()) target = Target();
        cc.boundEntity = target.entity;
        cc.boundArchitecture = target.architecture;
        cc.boundConfiguration = target.configuration;
        if (cc.blockConfiguration) {
            VhdlPrimaryUnit* entity = cc.HasEntityAspect() ? cc.boundEntity : current;
            ConfigureBlock(*cc.blockConfiguration, ArchitectureNamed(entity, cc.blockConfiguration->blockSpec));
        }
    }

    VhdlDesignUnit* unit_;
    VhdlLibrary* library_;
    std::vector<std::unique_ptr<Scope>> scopes_;
    Scope* current_ = nullptr;
    std::vector<VhdlIdDef*> declared_;
    // The protected type declaration whose body the walk is about to enter.
    VhdlProtectedTypeDef* bodyOf_ = nullptr;
    std::vector<Overload> candidates_;
    std::vector<uint64_t> profiles_;
    // Bumped whenever what is visible may change.
    uint64_t generation_ = 0;
    struct Choice {
        uint64_t generation;
        uint32_t actuals;
        int function;
        bool exact;
        bool ambiguous;
        VhdlIdDef* result;
    };
    std::unordered_map<NameKey, Choice, NameHash, NameEq> choices_;
};

} // namespace

void VhdlDeclaredIds(VhdlTreeNode* decl, std::vector<VhdlIdDef*>& out) { DeclaredIds(decl, out); }

void VhdlResolverForget() { PackageIndexes().clear(); }

VhdlIdDef* VhdlImplicitLibraryId(const std::string& key) { return Resolver::LibraryId(key); }

void VhdlResolveUnit(VhdlDesignUnit* unit, VhdlLibrary* library) {
    if (!unit || !library) return;
    Resolver(unit, library).Run();
}

} // namespace hdl
