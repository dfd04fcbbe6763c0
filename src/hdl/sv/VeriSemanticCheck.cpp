// Language rules that one unit shows broken without elaboration: what a void function,
// a function's fork or a fork's body may hold, what a real variable allows, which
// classes can be constructed, and how enum values and packed struct members are written.
// Each rule is judged only where the tree shows it for certain; whatever depends on a
// parameter's final value or on a type defined elsewhere is left alone.
#include <algorithm>
#include <string>
#include <vector>

#include "hdl/sv/VeriParserImpl.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {
namespace {

bool hasQualifier(const VeriModuleItem& item, unsigned q) {
    ArenaArray<unsigned> all = item.GetQualifiers();
    return std::find(all.begin(), all.end(), q) != all.end();
}

// A plain real, shortreal or realtime variable without unpacked dimensions.
const VeriVariable* realVariable(const VeriExpression* e) {
    auto* ref = dynamic_cast<const VeriIdRef*>(e);
    auto* var = ref ? dynamic_cast<const VeriVariable*>(ref->id) : nullptr;
    if (!var || !var->dataType || var->dimensions || var->dataType->GetClassId() != ID_VERIDATATYPE) return nullptr;
    unsigned t = var->dataType->type;
    return t == VT_REAL || t == VT_SHORTREAL || t == VT_REALTIME ? var : nullptr;
}

// The width of an enum base type when the tree spells it out; 0 when it does not.
unsigned enumWidth(const VeriDataType* base) {
    if (!base) return 32; // int
    if (base->GetClassId() != ID_VERIDATATYPE) return 0;
    switch (base->type) {
    case VT_BYTE: return 8;
    case VT_SHORTINT: return 16;
    case VT_INT:
    case VT_INTEGER: return 32;
    case VT_LONGINT: return 64;
    case VT_BIT:
    case VT_LOGIC:
    case VT_REG:
    case 0: break;
    default: return 0;
    }
    const VeriRange* r = base->dimensions;
    if (!r) return base->type == 0 ? 32 : 1; // `enum signed` alone keeps int
    if (r->next || r->partSelect != VT_COLON) return 0;
    auto* l = dynamic_cast<const VeriIntVal*>(r->left);
    auto* rt = dynamic_cast<const VeriIntVal*>(r->right);
    if (!l || !rt) return 0;
    return unsigned((l->value > rt->value ? l->value - rt->value : rt->value - l->value) + 1);
}

bool twoState(const VeriDataType* base) {
    if (!base) return true;
    if (base->GetClassId() != ID_VERIDATATYPE) return false;
    unsigned t = base->type;
    return t == VT_BIT || t == VT_BYTE || t == VT_SHORTINT || t == VT_INT || t == VT_LONGINT;
}

// A based literal with x, z or ? digits, alone or in a concatenation.
bool hasXZ(const VeriExpression* e) {
    if (auto* c = dynamic_cast<const VeriConstVal*>(e)) {
        if (c->isString) return false;
        std::string_view t = c->text;
        size_t tick = t.find('\'');
        if (tick == std::string_view::npos) return false;
        return t.find_first_of("xXzZ?", tick + 1) != std::string_view::npos;
    }
    auto any = [](const ArenaArray<VeriExpression*>& all) {
        return std::any_of(all.begin(), all.end(), [](const VeriExpression* x) { return hasXZ(x); });
    };
    if (auto* m = dynamic_cast<const VeriMultiConcat*>(e)) return any(m->exprs);
    if (auto* c = dynamic_cast<const VeriConcat*>(e)) return any(c->exprs);
    return false;
}

// The specparams an expression names: a parameter's value cannot depend on them.
struct SpecparamUse : VeriVisitor {
    std::vector<const VeriIdDef*> found;
    void Visit(VeriIdRef& n) override {
        if (auto* p = dynamic_cast<const VeriParamId*>(n.id); p && p->paramType == VT_SPECPARAM) found.push_back(p);
    }
};

class SemanticCheck : public VeriVisitor {
public:
    unsigned told = 0;

    // ANSI ports that are nets: those of a net kind, and an output or inout written
    // without a kind or a data type (a net of the default net type, which `default_nettype
    // none` leaves open).
    void netPorts(const VeriModule& unit) {
        for (const VeriTreeNode* port : unit.ports) {
            auto* decl = dynamic_cast<const VeriAnsiPortDecl*>(port);
            if (!decl || decl->interfacePort) continue;
            bool implicitType =
                !decl->dataType || (decl->dataType->GetClassId() == ID_VERIDATATYPE && !decl->dataType->type);
            bool net = decl->kind ? decl->kind != VT_VAR && decl->kind != VT_REG
                                  : implicitType && (decl->dir == VT_OUTPUT || decl->dir == VT_INOUT) &&
                                        unit.defaultNettype != "none";
            if (net)
                for (const VeriIdDef* id : decl->ids)
                    if (id) netPorts_.push_back(id);
        }
    }

    void Visit(VeriFunctionDecl& n) override {
        Subprogram outer = sub_;
        sub_ = Subprogram{};
        sub_.id = n.id;
        sub_.function = !dynamic_cast<VeriTaskDecl*>(&n);
        sub_.isVoid = sub_.function && n.returnType && n.returnType->GetClassId() == ID_VERIDATATYPE &&
                      n.returnType->type == VT_VOID;
        VeriVisitor::Visit(n);
        sub_ = outer;
    }

    void Visit(VeriParBlock& n) override {
        if (sub_.function && n.joinKind != VT_JOIN_NONE) tell<veri_msg::ForkInFunction>(n, name(sub_.id).c_str());
        ++sub_.forks;
        VeriVisitor::Visit(n);
        --sub_.forks;
    }

    void Visit(VeriJumpStatement& n) override {
        if (n.kind == VT_RETURN) {
            if (sub_.forks) tell<veri_msg::ReturnInFork>(n);
            else if (sub_.isVoid && n.expr) tell<veri_msg::VoidFunctionReturnsValue>(n, name(sub_.id).c_str());
        }
        VeriVisitor::Visit(n);
    }

    void Visit(VeriIndexedId& n) override {
        if (const VeriVariable* v = realVariable(n.prefix)) tell<veri_msg::RealBitSelect>(n, name(v).c_str());
        realIndex(n.index);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriIndexedMemoryId& n) override {
        for (VeriExpression* i : n.indexes) realIndex(i);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriEventExpression& n) override {
        if (n.edge)
            if (const VeriVariable* v = realVariable(n.expr)) tell<veri_msg::RealEdge>(n, name(v).c_str());
        VeriVisitor::Visit(n);
    }

    void Visit(VeriRange& n) override {
        if (n.partSelect == VT_PLUS_COLON || n.partSelect == VT_MINUS_COLON)
            if (auto* w = dynamic_cast<VeriIntVal*>(n.right); w && w->value == 0)
                tell<veri_msg::ZeroWidthPartSelect>(n);
        VeriVisitor::Visit(n);
    }

    void Visit(VeriBlockingAssign& n) override {
        if (auto* target = dynamic_cast<VeriIdRef*>(n.lval)) construct(target->id, n.rval);
        procedural(n.lval);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriNonBlockingAssign& n) override {
        procedural(n.lval);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriVariable& n) override {
        construct(&n, n.initialValue);
        VeriVisitor::Visit(n);
    }

    void Visit(VeriParamId& n) override {
        if (n.paramType == VT_PARAMETER || n.paramType == VT_LOCALPARAM) {
            SpecparamUse uses;
            uses.TraverseNode(n.initialValue);
            for (const VeriIdDef* s : uses.found)
                tell<veri_msg::SpecparamInParameter>(n, name(&n).c_str(), name(s).c_str());
        }
        VeriVisitor::Visit(n);
    }

    void Visit(VeriClass& n) override {
        bool abstract = hasQualifier(n, VT_VIRTUAL) || hasQualifier(n, VT_INTERFACE);
        for (VeriModuleItem* item : n.items) {
            auto* f = dynamic_cast<VeriFunctionDecl*>(item);
            if (!f || !f->id || f->prefix) continue;
            std::string_view m = f->id->name;
            if (m == "randomize" || m == "rand_mode" || m == "constraint_mode")
                tell<veri_msg::BuiltInMethodOverride>(*f->id, name(f->id).c_str());
            if (!abstract && hasQualifier(*f, VT_PURE))
                tell<veri_msg::PureInConcreteClass>(*f->id, name(f->id).c_str(), name(n.id).c_str());
        }
        VeriVisitor::Visit(n);
    }

    void Visit(VeriEnum& n) override {
        unsigned width = enumWidth(n.baseType);
        bool twoStateBase = twoState(n.baseType);
        bool afterXZ = false;
        for (VeriParamId* lit : n.literals) {
            if (!lit) continue;
            const VeriExpression* v = lit->initialValue;
            if (!v && afterXZ) tell<veri_msg::EnumAfterXZ>(*lit, name(lit).c_str());
            afterXZ = v && hasXZ(v);
            if (afterXZ && twoStateBase) tell<veri_msg::EnumValueXZ>(*lit, name(lit).c_str());
            auto* c = dynamic_cast<const VeriConstVal*>(v);
            if (c && width && c->size && !c->isString && !c->isUnbased && c->size != width)
                tell<veri_msg::EnumValueSize>(*lit, name(lit).c_str(), c->size, width);
        }
        VeriVisitor::Visit(n);
    }

    void Visit(VeriStructUnion& n) override {
        if (n.packed)
            for (VeriDataDecl* member : n.members)
                if (member)
                    for (VeriIdDef* id : member->ids)
                        if (id && id->GetInitialValue()) tell<veri_msg::PackedMemberDefault>(*id, name(id).c_str());
        VeriVisitor::Visit(n);
    }

private:
    struct Subprogram {
        const VeriIdDef* id = nullptr;
        bool function = false;
        bool isVoid = false;
        unsigned forks = 0; // fork blocks open inside it (or in the process outside any)
    };
    Subprogram sub_;
    std::vector<const VeriIdDef*> netPorts_;

    static std::string name(const VeriIdDef* id) { return id ? std::string(id->name.Text()) : std::string(); }

    template <const MessageText& Text, class... Args>
    void tell(const VeriTreeNode& at, Args... args) {
        ColLineFile where = at.Linefile();
        Message::Tell<Text>(&where, args...);
        ++told;
    }

    void realIndex(const VeriExpression* index) {
        if (auto* r = dynamic_cast<const VeriRange*>(index)) {
            realIndex(r->left);
            realIndex(r->right);
            return;
        }
        if (const VeriVariable* v = realVariable(index)) tell<veri_msg::RealIndex>(*index, name(v).c_str());
    }

    // A net declared as one (`wire w;`) takes no procedural assignment, whole or in part.
    void procedural(const VeriExpression* lval) {
        for (;;) {
            if (auto* idx = dynamic_cast<const VeriIndexedId*>(lval)) lval = idx->prefix;
            else if (auto* mem = dynamic_cast<const VeriIndexedMemoryId*>(lval)) lval = mem->prefix;
            else break;
        }
        auto* ref = dynamic_cast<const VeriIdRef*>(lval);
        auto* var = ref ? dynamic_cast<const VeriVariable*>(ref->id) : nullptr;
        if (var && ((var->declaration && var->declaration->GetClassId() == ID_VERINETDECL) ||
                    std::find(netPorts_.begin(), netPorts_.end(), var) != netPorts_.end()))
            tell<veri_msg::ProceduralAssignToNet>(*lval, name(var).c_str());
    }

    // `target = new` and `C target = new`: an abstract or interface class has no objects.
    void construct(const VeriIdDef* target, const VeriExpression* value) {
        auto* made = dynamic_cast<const VeriNew*>(value);
        auto* var = dynamic_cast<const VeriVariable*>(target);
        if (!made || made->size || !var || !var->dataType || var->dimensions) return;
        auto* ref = dynamic_cast<const VeriTypeRef*>(var->dataType);
        auto* type = ref ? dynamic_cast<const VeriTypeId*>(ref->GetId()) : nullptr;
        auto* cls = type ? dynamic_cast<const VeriClass*>(type->declaration) : nullptr;
        if (!cls) return;
        if (hasQualifier(*cls, VT_INTERFACE))
            tell<veri_msg::AbstractClassNew>(*made, "interface", name(cls->id).c_str());
        else if (hasQualifier(*cls, VT_VIRTUAL))
            tell<veri_msg::AbstractClassNew>(*made, "virtual", name(cls->id).c_str());
    }
};

} // namespace

void VeriParser::Impl::checkSemantics(VeriModule* unit) {
    SemanticCheck check;
    check.netPorts(*unit);
    for (VeriModuleItem* item : unit->items) check.TraverseNode(item);
    errors += check.told;
}

} // namespace hdl
