// Names a unit uses but nothing declares: unknown packages and package items, types,
// functions and tasks, and plain identifiers where no implicit net can stand. Run on
// each unit once its references are resolved. Hierarchical names (`a.b`, `a[0].b`) and
// what a bind, a class or an out-of-class method names are left to elaboration: a class
// sees what it inherits, which analysis does not know. Generate blocks of one name in
// one scope are judged here too, where the constructs they belong to are known.
#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "hdl/sv/VeriParserImpl.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {
namespace {

bool isLanguageScope(std::string_view n) {
    return n == "std" || n == "$unit" || n == "$root" || n == "local" || n == "super" || n == "this";
}

bool isBuiltIn(std::string_view n) { return isVeriBuiltInName(n); }

// The plain name that a hierarchical name starts from: `a` of `a.b`, `a[1].b`, `a.b.c`.
VeriIdRef* hierarchyRoot(VeriExpression* e) {
    for (;;) {
        if (auto* ref = dynamic_cast<VeriIdRef*>(e)) return ref;
        if (auto* sel = dynamic_cast<VeriSelectedName*>(e)) e = sel->prefix;
        else if (auto* idx = dynamic_cast<VeriIndexedId*>(e)) e = idx->prefix;
        else if (auto* mem = dynamic_cast<VeriIndexedMemoryId*>(e)) e = mem->prefix;
        else return nullptr;
    }
}

// The texts of names told at the end of the file, by kind.
enum UndeclaredKind : unsigned { kIdentifier, kType, kSubprogram, kNoImplicitNet, kProduction };

// What the check asks of the parser.
struct NameCheckContext {
    const std::unordered_set<VeriIdRef*>& unresolved;
    std::function<VeriModule*(std::string_view)> findPackage;
    std::function<VeriIdDef*(VeriModule*, Symbol)> findInPackage;
    // Where names nothing declares yet wait for the end of the file.
    std::vector<VeriUndeclaredName>& undeclared;
};

class NameCheck : public VeriVisitor {
public:
    NameCheck(const NameCheckContext& context, VeriModule& unit)
        : p_(context), unit_(unit), nettypeNone_(unit.defaultNettype == "none") {}

    // A class sees what it inherits, which analysis does not know; the constraints of a
    // class that extends nothing name only what is in sight.
    void Visit(VeriClass& n) override {
        if (!n.extends.Empty()) return;
        for (VeriModuleItem* item : n.items)
            if (dynamic_cast<VeriConstraintDecl*>(item)) TraverseNode(item);
    }
    void Visit(VeriBindDirective&) override {}
    void Visit(VeriModportDecl&) override {}
    void Visit(VeriDisable&) override {}

    void Visit(VeriFunctionDecl& n) override {
        if (n.prefix) return; // an out-of-class body sees the class's members
        VeriVisitor::Visit(n);
    }

    void Visit(VeriModuleInstantiation& n) override {
        if (auto* ref = dynamic_cast<VeriIdRef*>(n.moduleName)) skip_.insert(ref);
        TraverseList(n.paramValues);
        connections(n.instances);
    }
    void Visit(VeriGateInstantiation& n) override {
        TraverseList(n.delays);
        connections(n.instances);
    }

    void Visit(VeriContinuousAssign& n) override {
        TraverseNode(n.delay);
        for (VeriNetRegAssign* a : n.assigns) {
            if (!a) continue;
            ++implicitNetPlace_;
            TraverseNode(a->lval);
            --implicitNetPlace_;
            TraverseNode(a->rval);
        }
    }

    void Visit(VeriSelectedName& n) override {
        if (VeriIdRef* root = hierarchyRoot(n.prefix)) skip_.insert(root);
        VeriVisitor::Visit(n);
    }

    void Visit(VeriScopeName& n) override {
        auto* ref = dynamic_cast<VeriIdRef*>(n.prefix);
        if (ref) skip_.insert(ref);
        if (ref && n.paramValues.Empty() && !isLanguageScope(ref->name.Text())) scopedName(n, *ref);
        VeriVisitor::Visit(n);
    }

    void Visit(VeriImportDecl& n) override {
        for (VeriScopeName* item : n.items) {
            if (!item || item->name.empty() || item->id) continue;
            auto* ref = dynamic_cast<VeriIdRef*>(item->prefix);
            VeriModule* pkg = ref ? package(ref->name) : nullptr;
            if (pkg && !p_.findInPackage(pkg, item->name)) notInPackage(*item, *ref);
        }
    }

    void Visit(VeriTypeRef& n) override {
        auto* ref = dynamic_cast<VeriIdRef*>(n.typeName);
        if (ref && !n.virtualInterface && unresolved(*ref) && !inPortList_) {
            skip_.insert(ref);
            later(*ref, kType);
        }
        if (ref && (n.virtualInterface || inPortList_)) skip_.insert(ref);
        VeriVisitor::Visit(n);
    }

    void Visit(VeriFunctionCall& n) override {
        auto* ref = dynamic_cast<VeriIdRef*>(n.func);
        if (ref && unresolved(*ref) && ref->name != "randomize") {
            skip_.insert(ref);
            later(*ref, kSubprogram);
        }
        // `with (item > 0)` names the iterator that the array method declares.
        if (n.with) {
            if (ref) skip_.insert(ref);
            TraverseNode(n.func);
            return;
        }
        VeriVisitor::Visit(n);
    }

    void Visit(VeriTaskEnable& n) override {
        if (productionCall_) {
            auto* call = dynamic_cast<VeriFunctionCall*>(n.call);
            auto* ref = dynamic_cast<VeriIdRef*>(call ? call->func : n.call);
            if (ref && unresolved(*ref)) later(*ref, kProduction);
            if (call)
                for (VeriExpression* a : call->args) condition(a);
            return;
        }
        auto* ref = dynamic_cast<VeriIdRef*>(n.call);
        if (ref && unresolved(*ref)) {
            skip_.insert(ref);
            later(*ref, kSubprogram);
        }
        VeriVisitor::Visit(n);
    }

    // A rule calls productions; its code blocks hold ordinary statements.
    void Visit(VeriRandsequence& n) override {
        if (n.start && unresolved(*n.start)) later(*n.start, kProduction);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriProductionItem& n) override {
        TraverseNode(n.joinExpr);
        for (VeriStatement* s : n.prods) {
            bool call = !dynamic_cast<VeriCodeBlock*>(s);
            productionCall_ += call;
            TraverseNode(s);
            productionCall_ -= call;
        }
        TraverseNode(n.weight);
        TraverseNode(n.codeBlock);
    }
    void Visit(VeriCodeBlock& n) override {
        int outer = productionCall_;
        productionCall_ = 0;
        VeriVisitor::Visit(n);
        productionCall_ = outer;
    }
    // The conditions of a rule's if and case are expressions, not calls.
    void Visit(VeriConditionalStatement& n) override {
        if (!productionCall_) return VeriVisitor::Visit(n);
        condition(n.cond);
        TraverseNode(n.thenStmt);
        TraverseNode(n.elseStmt);
    }
    void Visit(VeriRepeat& n) override {
        if (!productionCall_) return VeriVisitor::Visit(n);
        condition(n.count);
        TraverseNode(n.stmt);
    }
    void Visit(VeriCaseItem& n) override {
        if (!productionCall_) return VeriVisitor::Visit(n);
        for (VeriExpression* e : n.conditions) condition(e);
        TraverseNode(n.stmt);
    }
    void Visit(VeriCaseStatement& n) override {
        if (!productionCall_) return VeriVisitor::Visit(n);
        condition(n.cond);
        TraverseList(n.items);
    }

    // An out-of-class constraint body sees the members its class inherits.
    void Visit(VeriConstraintDecl& n) override {
        if (!n.prefix) VeriVisitor::Visit(n);
    }

    // The keys of `'{name: value}` name members (or types), not objects in scope.
    void Visit(VeriAssignmentPattern& n) override {
        for (VeriExpression* e : n.exprs)
            if (auto* keyed = dynamic_cast<VeriBinaryOperator*>(e); keyed && keyed->oper == VT_COLON)
                if (auto* key = dynamic_cast<VeriIdRef*>(keyed->left)) skip_.insert(key);
        VeriVisitor::Visit(n);
    }

    // System tasks may name scopes and instances (`$dumpports(top)`).
    void Visit(VeriSystemFunctionCall& n) override {
        systemArgs(n.args);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriSystemTaskEnable& n) override {
        systemArgs(n.args);
        VeriVisitor::Visit(n);
    }

    // A pattern identifier (`matches tagged a .v`) declares v for what the match guards.
    void Visit(VeriPortConnect& n) override {
        if (n.implicit && !n.connection) declaredHere_.insert(n.portName.Id());
        VeriVisitor::Visit(n);
    }

    void Visit(VeriIdRef& n) override {
        if (!unresolved(n) || skip_.count(&n) || isLanguageScope(n.name.Text())) return;
        if (implicitNetPlace_ > 0 && !nettypeNone_) {
            declaredHere_.insert(n.name.Id()); // an implicit net, which later uses may name
            return;
        }
        if (implicitNetPlace_ > 0) later(n, kNoImplicitNet);
        else undeclared_.push_back(&n);
    }

    // What is still undeclared once the whole unit has declared its implicit nets.
    void finish() {
        for (VeriIdRef* ref : undeclared_)
            if (!declaredHere_.count(ref->name.Id())) later(*ref, kIdentifier);
        undeclared_.clear();
    }

    // A port whose type name comes first may be an interface port (`bus_if p`), whose
    // interface is a unit, not a name in scope; with a direction or a kind written
    // before it, the name is a type.
    void ports(VeriModule& unit) {
        TraverseList(unit.parameters);
        for (VeriTreeNode* port : unit.ports) {
            auto* decl = dynamic_cast<VeriAnsiPortDecl*>(port);
            // (`inout`, the direction a first port gets by default, is printed before an interface too.)
            bool maybeInterface = decl && decl->dataType &&
                                  (decl->dir == VT_INOUT || samePlace(decl->Linefile(), decl->dataType->Linefile()));
            inPortList_ += maybeInterface;
            TraverseNode(port);
            inPortList_ -= maybeInterface;
        }
    }

    template <class T>
    void TraverseList(const ArenaArray<T*>& list) {
        for (T* node : list) TraverseNode(node);
    }

    unsigned told = 0;

private:
    void condition(VeriExpression* e) {
        int outer = productionCall_;
        productionCall_ = 0;
        TraverseNode(e);
        productionCall_ = outer;
    }

    bool unresolved(const VeriIdRef& ref) const {
        return p_.unresolved.count(const_cast<VeriIdRef*>(&ref)) != 0 && !isBuiltIn(ref.name.Text());
    }

    // A package names itself before the library holds it.
    VeriModule* package(Symbol name) const {
        if (unit_.IsPackage() && unit_.Name() == name.Text()) return &unit_;
        return p_.findPackage ? p_.findPackage(name) : nullptr;
    }

    // Port connections and the terminals of gates may name nets that the connection
    // declares implicitly.
    void connections(const ArenaArray<VeriInstId*>& instances) {
        for (VeriInstId* inst : instances) {
            if (!inst) continue;
            TraverseNode(inst->dimensions);
            ++implicitNetPlace_;
            TraverseList(inst->portConnects);
            --implicitNetPlace_;
        }
    }

    static bool samePlace(const ColLineFile& a, const ColLineFile& b) {
        return a.leftLine == b.leftLine && a.leftCol == b.leftCol;
    }

    void systemArgs(const ArenaArray<VeriExpression*>& args) {
        for (VeriExpression* a : args)
            if (auto* ref = dynamic_cast<VeriIdRef*>(a)) skip_.insert(ref);
    }

    void scopedName(VeriScopeName& n, VeriIdRef& ref) {
        if (VeriModule* pkg = package(ref.name)) {
            if (!n.id && !n.name.empty() && !p_.findInPackage(pkg, n.name)) notInPackage(n, ref);
            return;
        }
        // Neither a package nor a class or type in sight.
        if (unresolved(ref)) tell<veri_msg::PackageNotKnown>(ref);
    }

    void notInPackage(VeriScopeName& n, VeriIdRef& ref) {
        ColLineFile where = n.Linefile();
        std::string item(n.name.Text()), package(ref.name.Text());
        Message::Tell<veri_msg::NotDeclaredInPackage>(&where, item.c_str(), package.c_str());
        ++told;
    }

    void later(VeriIdRef& ref, unsigned kind) {
        skip_.insert(&ref);
        p_.undeclared.push_back({&ref, kind});
    }

    template <const MessageText& Text>
    void tell(VeriIdRef& ref) {
        skip_.insert(&ref);
        ColLineFile where = ref.Linefile();
        std::string name(ref.name.Text());
        Message::Tell<Text>(&where, name.c_str());
        ++told;
    }

    const NameCheckContext& p_;
    VeriModule& unit_;
    bool nettypeNone_;
    int implicitNetPlace_ = 0;
    int inPortList_ = 0;
    int productionCall_ = 0; // inside a rule's calls of productions
    std::unordered_set<const VeriIdRef*> skip_;
    std::vector<VeriIdRef*> undeclared_;
    std::unordered_set<uint32_t> declaredHere_; // symbol ids
};

// Generate blocks of one name in one scope: only the alternatives of one conditional
// generate construct may share it, an `else if` chain and constructs nested directly
// (without begin-end) in an alternative counting as that one construct.
class GenerateNames {
public:
    unsigned told = 0;
    void scope(const ArenaArray<VeriModuleItem*>& items) {
        Owners owners;
        for (VeriModuleItem* item : items) construct(item, item, owners);
    }

private:
    // The construct that first named each block of a scope.
    using Owners = std::unordered_map<uint32_t, const VeriModuleItem*>;

    void construct(VeriModuleItem* item, const VeriModuleItem* top, Owners& owners) {
        if (auto* region = dynamic_cast<VeriGenerateConstruct*>(item)) {
            for (VeriModuleItem* i : region->items) construct(i, i, owners);
        } else if (auto* loop = dynamic_cast<VeriGenerateFor*>(item)) {
            block(loop->item, item, owners);
        } else if (auto* cond = dynamic_cast<VeriGenerateConditional*>(item)) {
            alternative(cond->thenItem, top, owners);
            alternative(cond->elseItem, top, owners);
        } else if (auto* choice = dynamic_cast<VeriGenerateCase*>(item)) {
            for (VeriGenerateCaseItem* c : choice->items)
                if (c) alternative(c->item, top, owners);
        } else if (dynamic_cast<VeriGenerateBlock*>(item)) {
            block(item, item, owners);
        }
    }
    void alternative(VeriModuleItem* item, const VeriModuleItem* top, Owners& owners) {
        if (dynamic_cast<VeriGenerateConditional*>(item) || dynamic_cast<VeriGenerateCase*>(item))
            construct(item, top, owners);
        else block(item, top, owners);
    }
    // A generate block, named or not (a single item without begin-end): a scope of its own.
    void block(VeriModuleItem* item, const VeriModuleItem* top, Owners& owners) {
        if (!item) return;
        Owners inner;
        auto* b = dynamic_cast<VeriGenerateBlock*>(item);
        if (!b) {
            construct(item, item, inner);
            return;
        }
        if (b->blockId && !b->blockId->name.empty()) {
            auto [it, first] = owners.emplace(b->blockId->name.Id(), top);
            if (!first && it->second != top) {
                ColLineFile where = b->blockId->Linefile();
                std::string n(b->blockId->name.Text());
                Message::Tell<veri_msg::DeclaredTwice>(&where, n.c_str());
                ++told;
            }
        }
        for (VeriModuleItem* i : b->items) construct(i, i, inner);
    }
};

} // namespace

VeriIdDef* VeriParser::Impl::findInPackage(VeriModule* package, Symbol n) {
    if (VeriIdDef* id = lookupInPackage(package, n)) return id;
    // What a package imports it may export again.
    if (package && package->scope)
        for (const VeriScope::Import* imp = package->scope->imports(); imp; imp = imp->next)
            if ((imp->item.empty() || imp->item == n) && imp->package != package)
                if (VeriIdDef* id = lookupInPackage(imp->package, n)) return id;
    return nullptr;
}

void VeriParser::Impl::tellUndeclared() {
    VeriScope* unitScope = unitScopeOwner ? unitScopeOwner->scope : nullptr;
    for (const VeriUndeclaredName& u : undeclared) {
        if (unitScope && unitScope->findLocal(u.ref->name)) continue;
        ColLineFile where = u.ref->Linefile();
        std::string n(u.ref->name.Text());
        switch (u.kind) {
        case kType: Message::Tell<veri_msg::UndeclaredType>(&where, n.c_str()); break;
        case kSubprogram: Message::Tell<veri_msg::UndeclaredSubprogram>(&where, n.c_str()); break;
        case kNoImplicitNet: Message::Tell<veri_msg::UndeclaredNoImplicitNet>(&where, n.c_str()); break;
        case kProduction: Message::Tell<veri_msg::UndeclaredProduction>(&where, n.c_str()); break;
        default: Message::Tell<veri_msg::UndeclaredIdentifier>(&where, n.c_str()); break;
        }
        ++errors;
    }
    undeclared.clear();
}

void VeriParser::Impl::checkNames(VeriModule* unit) {
    // A name declared again in an item that did not parse may be the parse's doing.
    if (!itemsLeftOut)
        for (VeriIdDef* id : duplicates) {
            ColLineFile where = id->Linefile();
            std::string n(id->name.Text());
            Message::Tell<veri_msg::DeclaredTwice>(&where, n.c_str());
            ++errors;
        }
    if (unit && !unit->IsConfiguration() && !unit->IsChecker()) {
        NameCheckContext context{unresolved, hooks.findPackage,
                                 [this](VeriModule* package, Symbol n) { return findInPackage(package, n); },
                                 undeclared};
        NameCheck check(context, *unit);
        check.ports(*unit);
        check.TraverseList(unit->items);
        check.finish();
        errors += check.told;
        GenerateNames generates;
        generates.scope(unit->items);
        errors += generates.told;
        checkSemantics(unit);
        checkRandomization(unit);
        checkTypes(unit);
        checkClasses(unit, kType);
    }
}

} // namespace hdl
