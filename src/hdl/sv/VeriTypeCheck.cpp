// The types of the values that assignments carry, judged where the tree shows both sides
// for certain: an enum variable takes only values of its own enum type (a cast says
// otherwise), also as an input argument or as the value a function returns, and is not
// stepped by ++ or --; a streaming concatenation is no wider than its target; a
// positional assignment pattern, or braces without the apostrophe, have one item per
// element of the unpacked array they fill; braces without the apostrophe never fill an
// unpacked struct. A type parameter, a type from a unit not yet known, a function's
// result or a width that depends on a parameter leaves the assignment alone.
#include <string>
#include <vector>

#include "hdl/sv/VeriParserImpl.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {
namespace {

const VeriIdDef* idOf(const VeriExpression* e) {
    if (auto* ref = dynamic_cast<const VeriIdRef*>(e)) return ref->id;
    if (auto* scoped = dynamic_cast<const VeriScopeName*>(e)) return scoped->paramValues.Empty() ? scoped->id : nullptr;
    return nullptr;
}

// The type a declared type stands for once typedefs are followed; null where that is
// not known, or where the typedef adds unpacked dimensions or names a class.
const VeriDataType* resolved(const VeriDataType* t) {
    for (int hops = 0; t && hops < 32; ++hops) {
        auto* ref = dynamic_cast<const VeriTypeRef*>(t);
        if (!ref) return t;
        if (ref->dimensions || !ref->paramValues.Empty() || ref->virtualInterface) return nullptr;
        auto* type = dynamic_cast<const VeriTypeId*>(idOf(ref->typeName));
        if (!type || type->dimensions) return nullptr;
        t = type->dataType;
    }
    return nullptr;
}

const VeriEnum* enumOf(const VeriDataType* t) {
    auto* e = dynamic_cast<const VeriEnum*>(resolved(t));
    return e && !e->dimensions ? e : nullptr;
}

// A built-in integral type (not an enum, struct or class).
bool integral(const VeriDataType* t) {
    if (!t || t->GetClassId() != ID_VERIDATATYPE) return false;
    switch (t->type) {
    case VT_BIT:
    case VT_LOGIC:
    case VT_REG:
    case VT_BYTE:
    case VT_SHORTINT:
    case VT_INT:
    case VT_INTEGER:
    case VT_LONGINT: return true;
    default: return false;
    }
}

// The width of a built-in integral type whose packed bounds are literals; 0 otherwise.
unsigned widthOf(const VeriDataType* t) {
    t = resolved(t);
    if (!integral(t)) return 0;
    unsigned width = 1;
    switch (t->type) {
    case VT_BYTE: width = 8; break;
    case VT_SHORTINT: width = 16; break;
    case VT_INT:
    case VT_INTEGER: width = 32; break;
    case VT_LONGINT: width = 64; break;
    default: break;
    }
    for (const VeriRange* r = t->dimensions; r; r = r->next) {
        auto* l = dynamic_cast<const VeriIntVal*>(r->left);
        auto* rt = dynamic_cast<const VeriIntVal*>(r->right);
        if (!l || !rt || r->partSelect != VT_COLON) return 0;
        int64_t span = (l->value > rt->value ? l->value - rt->value : rt->value - l->value) + 1;
        if (span > (1 << 20) || width * span > (1u << 24)) return 0;
        width *= unsigned(span);
    }
    return width;
}

// A plain variable (no unpacked dimensions) and its declared type.
const VeriVariable* scalarVariable(const VeriIdDef* id) {
    auto* var = dynamic_cast<const VeriVariable*>(id);
    return var && var->dataType && !var->dimensions && !var->interfacePort ? var : nullptr;
}

// What the check knows of a value's type: an enum type, certainly not an enum, or nothing.
struct ValueType {
    enum Kind { Unknown, Enum, NotEnum } kind = Unknown;
    const VeriEnum* type = nullptr;
};

ValueType valueType(const VeriExpression* e) {
    if (!e) return {};
    if (dynamic_cast<const VeriIntVal*>(e) || dynamic_cast<const VeriConstVal*>(e) ||
        dynamic_cast<const VeriRealVal*>(e) || dynamic_cast<const VeriBinaryOperator*>(e) ||
        dynamic_cast<const VeriConcat*>(e) || dynamic_cast<const VeriMultiConcat*>(e))
        return {ValueType::NotEnum};
    if (auto* u = dynamic_cast<const VeriUnaryOperator*>(e))
        return u->oper == VT_INC || u->oper == VT_DEC ? ValueType{} : ValueType{ValueType::NotEnum};
    if (auto* q = dynamic_cast<const VeriQuestionColon*>(e)) {
        ValueType a = valueType(q->thenExpr), b = valueType(q->elseExpr);
        if (a.kind == ValueType::NotEnum || b.kind == ValueType::NotEnum) return {ValueType::NotEnum};
        if (a.kind == ValueType::Enum && b.kind == ValueType::Enum && a.type == b.type) return a;
        return {};
    }
    // A select of a plain variable is a part of its bits; one element of an array of
    // one unpacked dimension has the array's element type.
    if (auto* sel = dynamic_cast<const VeriIndexedId*>(e)) {
        auto* var = dynamic_cast<const VeriVariable*>(idOf(sel->prefix));
        if (!var || !var->dataType || var->interfacePort) return {};
        if (!var->dimensions) {
            const VeriDataType* t = resolved(var->dataType);
            return integral(t) || enumOf(var->dataType) ? ValueType{ValueType::NotEnum} : ValueType{};
        }
        if (var->dimensions->next || dynamic_cast<const VeriRange*>(sel->index)) return {};
        if (const VeriEnum* en = enumOf(var->dataType)) return {ValueType::Enum, en};
        return integral(resolved(var->dataType)) ? ValueType{ValueType::NotEnum} : ValueType{};
    }
    const VeriIdDef* id = idOf(e);
    if (auto* p = dynamic_cast<const VeriParamId*>(id)) {
        if (p->enumLiteral) {
            auto* e = dynamic_cast<const VeriEnum*>(p->dataType);
            return e ? ValueType{ValueType::Enum, e} : ValueType{};
        }
        if (p->isType || p->dimensions) return {};
        if (const VeriEnum* e = enumOf(p->dataType)) return {ValueType::Enum, e};
        return integral(resolved(p->dataType)) ? ValueType{ValueType::NotEnum} : ValueType{};
    }
    if (const VeriVariable* var = scalarVariable(id)) {
        if (const VeriEnum* e = enumOf(var->dataType)) return {ValueType::Enum, e};
        if (integral(resolved(var->dataType))) return {ValueType::NotEnum};
    }
    return {};
}

// The number of elements of an unpacked dimension with literal bounds; 0 otherwise.
uint64_t elements(const VeriRange* r) {
    if (!r || r->unsizedDim) return 0;
    auto* l = dynamic_cast<const VeriIntVal*>(r->left);
    if (!l) return 0;
    if (!r->right) return r->partSelect == 0 && l->value > 0 ? uint64_t(l->value) : 0;
    auto* rt = dynamic_cast<const VeriIntVal*>(r->right);
    if (!rt || r->partSelect != VT_COLON) return 0;
    return uint64_t(l->value > rt->value ? l->value - rt->value : rt->value - l->value) + 1;
}

class TypeCheck : public VeriVisitor {
public:
    unsigned told = 0;

    void Visit(VeriVariable& n) override {
        if (n.initialValue) assign(&n, n.initialValue, n);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriParamId& n) override {
        if (n.initialValue && !n.isType && !n.enumLiteral) {
            pattern(n, n.dimensions, n.initialValue);
            braces(n, n.dataType, n.dimensions, n.initialValue, n);
        }
        VeriVisitor::Visit(n);
    }
    void Visit(VeriBlockingAssign& n) override {
        const VeriIdDef* target = idOf(n.lval);
        if (n.oper == VT_EQ) assign(target, n.rval, n);
        else if (n.oper == VT_INC || n.oper == VT_DEC) step(target, n.oper, n);
        else operatorAssign(target, n);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriUnaryOperator& n) override {
        if (n.oper == VT_INC || n.oper == VT_DEC) step(idOf(n.arg), n.oper, n);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriFunctionDecl& n) override {
        const VeriFunctionDecl* outer = function_;
        function_ = dynamic_cast<VeriTaskDecl*>(&n) ? nullptr : &n;
        VeriVisitor::Visit(n);
        function_ = outer;
    }
    void Visit(VeriJumpStatement& n) override {
        if (n.kind == VT_RETURN && n.expr && function_ && function_->id)
            if (const VeriEnum* type = enumOf(function_->returnType)) {
                ValueType v = valueType(n.expr);
                std::string f = name(function_->id);
                if (v.kind == ValueType::Enum && v.type != type) tell<veri_msg::EnumReturnFromOtherEnum>(n, f.c_str());
                else if (v.kind == ValueType::NotEnum) tell<veri_msg::EnumReturnFromNonEnum>(n, f.c_str());
            }
        VeriVisitor::Visit(n);
    }
    void Visit(VeriFunctionCall& n) override {
        arguments(n);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriNonBlockingAssign& n) override {
        assign(idOf(n.lval), n.rval, n);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriNetRegAssign& n) override {
        assign(idOf(n.lval), n.rval, n);
        VeriVisitor::Visit(n);
    }

private:
    const VeriFunctionDecl* function_ = nullptr; // the function whose body is walked

    template <const MessageText& Text, class... Args>
    void tell(const VeriTreeNode& at, Args... args) {
        ColLineFile where = at.Linefile();
        Message::Tell<Text>(&where, args...);
        ++told;
    }

    static std::string name(const VeriIdDef* id) { return std::string(id->name.Text()); }

    void assign(const VeriIdDef* target, const VeriExpression* value, const VeriTreeNode& at) {
        if (!target || !value) return;
        if (const VeriVariable* var = scalarVariable(target)) {
            enumAssign(*var, value, at);
            stream(*var, value, at);
        }
        if (auto* var = dynamic_cast<const VeriVariable*>(target); var && !var->interfacePort) {
            pattern(*var, var->dimensions, value);
            braces(*var, var->dataType, var->dimensions, value, at);
        }
    }

    // An enum variable takes a value of its own type; anything else needs a cast.
    void enumAssign(const VeriVariable& var, const VeriExpression* value, const VeriTreeNode& at) {
        const VeriEnum* type = enumOf(var.dataType);
        if (!type) return;
        ValueType v = valueType(value);
        if (v.kind == ValueType::Enum && v.type != type) tell<veri_msg::EnumFromOtherEnum>(at, name(&var).c_str());
        else if (v.kind == ValueType::NotEnum) tell<veri_msg::EnumFromNonEnum>(at, name(&var).c_str());
    }

    // ++ and -- compute the next integral value, which need not be one of the enum's.
    void step(const VeriIdDef* target, unsigned oper, const VeriTreeNode& at) {
        const VeriVariable* var = scalarVariable(target);
        if (var && enumOf(var->dataType))
            tell<veri_msg::EnumStepped>(at, name(var).c_str(), oper == VT_INC ? "++" : "--");
    }

    // An input whose formal is an enum takes a value of that enum type, as an assignment
    // would. Only calls of a subprogram the name resolves to, with formals in the header.
    void arguments(const VeriFunctionCall& call) {
        auto* ref = dynamic_cast<const VeriIdRef*>(call.func);
        const VeriIdDef* fn = ref ? ref->id : nullptr;
        auto* decl = fn ? dynamic_cast<const VeriFunctionDecl*>(fn->declaration) : nullptr;
        if (!decl || call.args.Empty()) return;
        std::vector<const VeriVariable*> formals;
        for (const VeriTreeNode* port : decl->ports) {
            auto* ansi = dynamic_cast<const VeriAnsiPortDecl*>(port);
            if (!ansi) return;
            for (const VeriIdDef* id : ansi->ids) formals.push_back(dynamic_cast<const VeriVariable*>(id));
        }
        size_t position = 0;
        for (const VeriExpression* arg : call.args) {
            const VeriVariable* formal = nullptr;
            const VeriExpression* value = arg;
            if (auto* named = dynamic_cast<const VeriPortConnect*>(arg)) {
                for (const VeriVariable* f : formals)
                    if (f && f->name == named->portName) formal = f;
                value = named->connection;
            } else if (position < formals.size()) {
                formal = formals[position++];
            } else {
                return; // more arguments than formals: not this check's business
            }
            if (!formal || !value || formal->dir != VT_INPUT || formal->dimensions) continue;
            const VeriEnum* type = enumOf(formal->dataType);
            if (!type) continue;
            ValueType v = valueType(value);
            std::string a = name(formal), f = name(fn);
            if (v.kind == ValueType::Enum && v.type != type)
                tell<veri_msg::EnumArgumentFromOtherEnum>(*value, a.c_str(), f.c_str());
            else if (v.kind == ValueType::NotEnum)
                tell<veri_msg::EnumArgumentFromNonEnum>(*value, a.c_str(), f.c_str());
        }
    }

    // `e += 1` computes an integral value: never of the enum's type.
    void operatorAssign(const VeriIdDef* target, const VeriBlockingAssign& at) {
        const VeriVariable* var = scalarVariable(target);
        if (var && enumOf(var->dataType)) tell<veri_msg::EnumFromNonEnum>(at, name(var).c_str());
    }

    // A streaming concatenation packs its items; the target must hold them all.
    void stream(const VeriVariable& var, const VeriExpression* value, const VeriTreeNode& at) {
        auto* s = dynamic_cast<const VeriStreamingConcat*>(value);
        if (!s) return;
        unsigned target = widthOf(var.dataType);
        if (!target) return;
        uint64_t total = 0;
        for (const VeriExpression* item : s->exprs) {
            unsigned w = 0;
            if (const VeriVariable* v = scalarVariable(idOf(item))) w = widthOf(v->dataType);
            else if (auto* c = dynamic_cast<const VeriConstVal*>(item); c && !c->isString) w = c->size;
            if (!w) return;
            total += w;
        }
        if (total > target) tell<veri_msg::StreamWiderThanTarget>(at, unsigned(total), target, name(&var).c_str());
    }

    // A positional pattern gives each element of the array one item: no more, no fewer.
    void pattern(const VeriIdDef& target, const VeriRange* dimensions, const VeriExpression* value) {
        auto* p = dynamic_cast<const VeriAssignmentPattern*>(value);
        uint64_t count = elements(dimensions);
        if (!p || !count || p->exprs.Empty()) return;
        for (const VeriExpression* item : p->exprs)
            if (auto* keyed = dynamic_cast<const VeriBinaryOperator*>(item);
                !item || (keyed && keyed->oper == VT_COLON))
                return;
        if (p->exprs.Size() != count)
            tell<veri_msg::PatternItemCount>(*p, unsigned(p->exprs.Size()), name(&target).c_str(), unsigned(count));
    }

    // Braces without the apostrophe: to an unpacked array, a concatenation of its elements
    // and of arrays of them, whose count must match a fixed size; an unpacked struct takes
    // none (it wants an assignment pattern).
    void braces(const VeriIdDef& target, const VeriDataType* type, const VeriRange* dimensions,
                const VeriExpression* value, const VeriTreeNode& at) {
        auto* c = dynamic_cast<const VeriConcat*>(value);
        if (!c) return;
        if (!dimensions) {
            auto* s = dynamic_cast<const VeriStructUnion*>(resolved(type));
            if (s && !s->packed && s->type == VT_STRUCT && !s->dimensions)
                tell<veri_msg::ConcatToUnpackedStruct>(at, name(&target).c_str());
            return;
        }
        uint64_t count = elements(dimensions);
        if (!count || dimensions->next || !integral(resolved(type))) return;
        uint64_t total = 0;
        for (const VeriExpression* item : c->exprs) {
            uint64_t n = concatElements(item);
            if (!n) return;
            total += n;
        }
        if (total != count)
            tell<veri_msg::ConcatElementCount>(*c, unsigned(total), name(&target).c_str(), unsigned(count));
    }

    // How many elements of an integral unpacked array an item of a concatenation gives:
    // one for a value of an integral type, all of them for an array of one dimension;
    // 0 when that is not known for sure.
    static uint64_t concatElements(const VeriExpression* item) {
        if (dynamic_cast<const VeriIntVal*>(item)) return 1;
        if (auto* c = dynamic_cast<const VeriConstVal*>(item)) return c->isString ? 0 : 1;
        if (dynamic_cast<const VeriIndexedId*>(item)) return valueType(item).kind == ValueType::Unknown ? 0 : 1;
        const VeriIdDef* id = idOf(item);
        if (auto* p = dynamic_cast<const VeriParamId*>(id))
            return !p->isType && !p->dimensions && (p->enumLiteral || integral(resolved(p->dataType))) ? 1 : 0;
        auto* var = dynamic_cast<const VeriVariable*>(id);
        if (!var || !var->dataType || var->interfacePort) return 0;
        if (!integral(resolved(var->dataType)) && !enumOf(var->dataType)) return 0;
        if (!var->dimensions) return 1;
        return var->dimensions->next ? 0 : elements(var->dimensions);
    }
};

} // namespace

void VeriParser::Impl::checkTypes(VeriModule* unit) {
    TypeCheck check;
    for (VeriModuleItem* item : unit->items) check.TraverseNode(item);
    errors += check.told;
}

} // namespace hdl
