// Frames, names, literals, aggregates, indexing and the typing of values.
#include "hdl/elab/VhdlEvaluator.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "hdl/base/Message.h"
#include "hdl/elab/VhdlEvalInternal.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlOverloads.h"
#include "hdl/vhdl/VhdlPrettyPrinter.h"

namespace hdl {

using namespace vhdl_eval;

VhdlEvaluator::VhdlEvaluator(const ElabLimits& limits) : limits_(limits), impl_(std::make_unique<Impl>()) {
    auto scalar = [](VhdlType& t, VhdlTypeKind kind, const char* name, VhdlBounds range) {
        t.kind = kind;
        t.base = &t;
        t.name = name;
        t.range = range;
    };
    scalar(impl_->fallbackUniversalInteger, VhdlTypeKind::Integer, "universal_integer",
           VhdlBounds::Discrete(INT64_MIN, INT64_MAX, true));
    scalar(impl_->fallbackUniversalReal, VhdlTypeKind::Real, "universal_real",
           VhdlBounds::Real(-HUGE_VAL, HUGE_VAL, true));
    scalar(impl_->fallbackInteger, VhdlTypeKind::Integer, "integer", VhdlBounds::Discrete(INT32_MIN, INT32_MAX, true));
    scalar(impl_->fallbackReal, VhdlTypeKind::Real, "real", VhdlBounds::Real(-HUGE_VAL, HUGE_VAL, true));
    scalar(impl_->fallbackBoolean, VhdlTypeKind::Enumeration, "boolean", VhdlBounds::Discrete(0, 1, true));
    impl_->fallbackBoolean.literals = {"false", "true"};
}

VhdlEvaluator::~VhdlEvaluator() = default;

// ---------------------------------------------------------------- frames

VhdlFrame* VhdlEvaluator::Push(const VhdlTreeNode* region, VhdlFrame* parent, bool root) {
    stack_.emplace_back();
    VhdlFrame& f = stack_.back();
    f.parent = root ? nullptr : parent ? parent : current_;
    f.caller = current_;
    f.region = region;
    current_ = &f;
    return &f;
}

void VhdlEvaluator::Pop() {
    if (stack_.empty()) return;
    const VhdlFrame* popped = &stack_.back();
    if (!impl_->localInstances.empty()) {
        auto it = impl_->localInstances.find(popped);
        if (it != impl_->localInstances.end()) {
            for (const VhdlPackageInstantiationDecl* inst : it->second) impl_->instances.erase({inst, popped});
            impl_->localInstances.erase(it);
        }
    }
    current_ = stack_.back().caller;
    stack_.pop_back();
}

void VhdlEvaluator::Declare(VhdlFrame* frame, const VhdlNodeList& declarations) {
    for (VhdlTreeNode* d : declarations) {
        if (!d) continue;
        switch (d->GetClassId()) {
        case VhdlConstantDecl::kClassId:
        case VhdlSignalDecl::kClassId:
            for (VhdlIdDef* id : static_cast<VhdlObjectDecl*>(d)->ids) frame->slots[id].declaration = d;
            break;
        case VhdlFullTypeDecl::kClassId:
            if (auto* t = static_cast<VhdlFullTypeDecl*>(d); t->id) frame->slots[t->id].declaration = d;
            break;
        case VhdlSubtypeDecl::kClassId:
            if (auto* t = static_cast<VhdlSubtypeDecl*>(d); t->id) frame->slots[t->id].declaration = d;
            break;
        case VhdlAliasDecl::kClassId:
            if (auto* a = static_cast<VhdlAliasDecl*>(d); a->id) frame->slots[a->id].declaration = d;
            break;
        case VhdlSubprogramBody::kClassId: {
            auto* body = static_cast<VhdlSubprogramBody*>(d);
            if (body->spec) impl_->bodies[body->spec] = body;
            impl_->bodyRegions[body] = frame->region;
            break;
        }
        default: break;
        }
    }
}

void VhdlEvaluator::Bind(VhdlFrame* frame, const VhdlIdDef* id, VhdlValue value, const VhdlType* type) {
    VhdlSlot& slot = frame->slots[id];
    slot.state = VhdlSlot::Ready;
    slot.declaration = id->declaration;
    slot.type = type;
    slot.value = std::move(value);
}

VhdlSlot* VhdlEvaluator::FindSlot(const VhdlIdDef* id) {
    for (VhdlFrame* f = current_; f; f = f->parent) {
        auto it = f->slots.find(id);
        if (it != f->slots.end()) return &it->second;
    }
    return nullptr;
}

VhdlSlot* VhdlEvaluator::Lookup(const VhdlIdDef* id, const VhdlTreeNode* where) {
    for (VhdlFrame* f = current_; f; f = f->parent) {
        auto it = f->slots.find(id);
        if (it != f->slots.end()) {
            Resolve(it->second, id, f, where);
            return &it->second;
        }
    }
    if (VhdlFrame* f = DeclaringFrame(id)) {
        auto it = f->slots.find(id);
        if (it != f->slots.end()) {
            Resolve(it->second, id, f, where);
            return &it->second;
        }
    }
    return nullptr;
}

void VhdlEvaluator::Resolve(VhdlSlot& slot, const VhdlIdDef* id, VhdlFrame* frame, const VhdlTreeNode* where) {
    if (slot.state == VhdlSlot::Ready) return;
    if (slot.state == VhdlSlot::Busy) Fail<vhdl_msg::ElabDependsOnItself>(where, std::string(id->OrigName()).c_str());
    slot.state = VhdlSlot::Busy;
    VhdlFrame* saved = current_;
    current_ = frame;
    try {
        const VhdlTreeNode* decl = slot.declaration;
        switch (decl ? decl->GetClassId() : 0) {
        case VhdlConstantDecl::kClassId: {
            auto* c = static_cast<const VhdlConstantDecl*>(decl);
            const VhdlType* type = EvaluateSubtype(c->subtype);
            if (!c->init) Fail<vhdl_msg::ElabDeferredWithoutValue>(where, std::string(id->OrigName()).c_str());
            VhdlValue v = Conform(Evaluate(c->init, type), type, c->init);
            slot.type = type && type->IsArray() && !type->constrained && v.kind == VhdlValue::Array
                            ? ConstrainedArray(type, v.Range())
                            : type;
            slot.value = std::move(v);
            break;
        }
        case VhdlSignalDecl::kClassId:
            slot.type = EvaluateSubtype(static_cast<const VhdlSignalDecl*>(decl)->subtype);
            break;
        case VhdlInterfaceDecl::kClassId:
            slot.type = EvaluateSubtype(static_cast<const VhdlInterfaceDecl*>(decl)->subtype);
            break;
        case VhdlFullTypeDecl::kClassId:
        case VhdlSubtypeDecl::kClassId: slot.type = TypeOfDeclaration(id, decl); break;
        case VhdlAliasDecl::kClassId: {
            auto* a = static_cast<const VhdlAliasDecl*>(decl);
            const VhdlType* type = a->subtype ? EvaluateSubtype(a->subtype) : nullptr;
            const VhdlIdDef* target = IdOf(a->name);
            if (target &&
                (target->GetClassId() == VhdlTypeId::kClassId || target->GetClassId() == VhdlSubtypeId::kClassId)) {
                slot.type = TypeOfId(target, where);
                break;
            }
            VhdlValue v = Evaluate(a->name, type);
            if (type) v = Conform(v, type, a->name);
            slot.type = type ? type : v.type;
            slot.value = std::move(v);
            break;
        }
        default: Fail<vhdl_msg::ElabNoValue>(where, std::string(id->OrigName()).c_str());
        }
    } catch (...) {
        current_ = saved;
        slot.state = VhdlSlot::Pending;
        throw;
    }
    current_ = saved;
    slot.state = VhdlSlot::Ready;
}

// ---------------------------------------------------------------- errors and steps

void VhdlEvaluator::Step(const VhdlTreeNode* where) {
    if (++impl_->steps > limits_.steps)
        Fail<vhdl_msg::ElabTooManySteps>(where, std::to_string(static_cast<unsigned long long>(limits_.steps)).c_str());
}

void VhdlEvaluator::FailWith(const char* id, const VhdlTreeNode* where, const char* format, ...) {
    char text[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    throw VhdlEvalError(id, where ? where->Linefile() : ColLineFile(), text);
}

void VhdlEvaluator::NotStatic(const VhdlTreeNode* where, const char* what) {
    Fail<vhdl_msg::ElabCannotEvaluate>(where, what, Text(where).c_str());
}

std::string VhdlEvaluator::Text(const VhdlTreeNode* node) {
    if (!node) return "";
    std::string text = VhdlPrettyText(node);
    if (text.size() > 80) text = text.substr(0, 77) + "...";
    return text;
}

// ---------------------------------------------------------------- expressions

VhdlValue VhdlEvaluator::Evaluate(const VhdlTreeNode* expr, const VhdlType* expected) {
    if (!expr) Fail<vhdl_msg::ElabMissingExpression>(expr);
    Step(expr);
    switch (expr->GetClassId()) {
    case VhdlInteger::kClassId:
    case VhdlReal::kClassId:
    case VhdlPhysicalLiteral::kClassId:
    case VhdlCharacterLiteral::kClassId:
    case VhdlStringLiteral::kClassId:
    case VhdlBitStringLiteral::kClassId: return EvaluateLiteral(expr, expected);
    case VhdlIdRef::kClassId: return EvaluateName(expr, expected);
    case VhdlSelectedName::kClassId: return EvaluateSelected(*static_cast<const VhdlSelectedName*>(expr), expected);
    case VhdlIndexedName::kClassId: return EvaluateIndexed(*static_cast<const VhdlIndexedName*>(expr), expected);
    case VhdlAttributeName::kClassId:
        return EvaluateAttribute(*static_cast<const VhdlAttributeName*>(expr), nullptr, expected);
    case VhdlOperator::kClassId: return EvaluateOperator(*static_cast<const VhdlOperator*>(expr), expected);
    case VhdlAggregate::kClassId: return EvaluateAggregate(*static_cast<const VhdlAggregate*>(expr), expected);
    case VhdlQualifiedExpression::kClassId: {
        auto* q = static_cast<const VhdlQualifiedExpression*>(expr);
        const VhdlType* type = EvaluateSubtype(q->prefix);
        return Conform(Evaluate(q->aggregate, type), type, q);
    }
    case VhdlConditionalExpression::kClassId: {
        auto* c = static_cast<const VhdlConditionalExpression*>(expr);
        if (EvaluateCondition(c->condition)) return Evaluate(c->value, expected);
        return Evaluate(c->elseValue, expected);
    }
    case VhdlSignaturedName::kClassId: {
        auto* s = static_cast<const VhdlSignaturedName*>(expr);
        return Evaluate(s->name, expected);
    }
    case VhdlNull::kClassId: return VhdlValue::NullAccess(expected);
    default: NotStatic(expr, "expression");
    }
}

VhdlValue VhdlEvaluator::EvaluateIn(VhdlFrame* frame, const VhdlTreeNode* expr, const VhdlType* expected) {
    VhdlFrame* saved = current_;
    current_ = frame;
    try {
        VhdlValue v = Evaluate(expr, expected);
        current_ = saved;
        return v;
    } catch (...) {
        current_ = saved;
        throw;
    }
}

const VhdlType* VhdlEvaluator::EvaluateSubtypeIn(VhdlFrame* frame, const VhdlTreeNode* subtype) {
    VhdlFrame* saved = current_;
    current_ = frame;
    try {
        const VhdlType* t = EvaluateSubtype(subtype);
        current_ = saved;
        return t;
    } catch (...) {
        current_ = saved;
        throw;
    }
}

bool VhdlEvaluator::EvaluateCondition(const VhdlTreeNode* expr) {
    VhdlValue v = Evaluate(expr, BooleanType());
    if (v.kind == VhdlValue::Enum && v.type && (IsBit(v.type) || IsStdUlogic(v.type))) {
        char c = LiteralChar(v);
        return c == '1' || c == 'H';
    }
    if (v.kind != VhdlValue::Enum && v.kind != VhdlValue::Int)
        Fail<vhdl_msg::ElabConditionNotBoolean>(expr, Text(expr).c_str());
    return v.i != 0;
}

VhdlValue VhdlEvaluator::Boolean(bool b) { return VhdlValue::Enumeration(b ? 1 : 0, BooleanType()); }

namespace {

bool IsTypeId(const VhdlIdDef* id) {
    if (!id) return false;
    uint32_t k = id->GetClassId();
    return k == VhdlTypeId::kClassId || k == VhdlSubtypeId::kClassId;
}

bool IsSubprogramId(const VhdlIdDef* id) {
    if (!id) return false;
    uint32_t k = id->GetClassId();
    if (k == VhdlSubprogramId::kClassId || k == VhdlOperatorId::kClassId) return true;
    return k == VhdlAliasId::kClassId && VhdlIsOverloadable(id);
}

// A choice or index that denotes a range rather than a value.
bool IsRangeNode(const VhdlTreeNode* n) {
    if (!n) return false;
    switch (n->GetClassId()) {
    case VhdlRange::kClassId:
    case VhdlExplicitSubtypeIndication::kClassId: return true;
    case VhdlAttributeName::kClassId: {
        auto* a = static_cast<const VhdlAttributeName*>(n);
        std::string d = a->designator ? Lower(a->designator->text) : "";
        return d == "range" || d == "reverse_range";
    }
    case VhdlIndexedName::kClassId: {
        auto* idx = static_cast<const VhdlIndexedName*>(n);
        if (auto* a = dynamic_cast<const VhdlAttributeName*>(idx->prefix)) return IsRangeNode(a);
        return false;
    }
    case VhdlIdRef::kClassId:
    case VhdlSelectedName::kClassId: return IsTypeId(IdOf(n));
    default: return false;
    }
}

} // namespace

VhdlValue VhdlEvaluator::ValueOf(const VhdlIdDef* id, const VhdlTreeNode* where) {
    if (!id) NotStatic(where, "name");
    switch (id->GetClassId()) {
    case VhdlEnumerationId::kClassId: {
        // A literal's declaration is the identifier of its type.
        const VhdlType* type = TypeOfId(dynamic_cast<const VhdlIdDef*>(id->declaration), where);
        if (!type) NotStatic(where, "literal");
        int64_t pos = type->LiteralPosition(id->OrigName());
        if (pos < 0) NotStatic(where, "literal");
        return VhdlValue::Enumeration(pos, type);
    }
    case VhdlPhysicalUnitId::kClassId: {
        const VhdlType* type = PhysicalTypeOfUnit(id, where);
        for (const VhdlType::Unit& u : type->base->units)
            if (SameName(u.name, id->Name())) return VhdlValue::Physical(u.multiple, type);
        NotStatic(where, "unit");
    }
    case VhdlSubprogramId::kClassId:
    case VhdlOperatorId::kClassId: return Call(id, VhdlNodeList(), where, nullptr);
    case VhdlSignalId::kClassId: Fail<vhdl_msg::ElabSignalWithoutValue>(where, std::string(id->OrigName()).c_str());
    default: break;
    }
    if (id->GetClassId() == VhdlAliasId::kClassId && VhdlIsOverloadable(id))
        return Call(id, VhdlNodeList(), where, nullptr);
    VhdlSlot* slot = Lookup(id, where);
    if (!slot || slot->value.IsNone()) {
        bool isPort = id->declaration && id->declaration->GetClassId() == VhdlInterfaceDecl::kClassId &&
                      static_cast<const VhdlInterfaceDecl*>(id->declaration)->mode != 0;
        Fail<vhdl_msg::ElabObjectWithoutValue>(where, isPort ? "port" : "name", std::string(id->OrigName()).c_str());
    }
    return slot->value;
}

const VhdlType* VhdlEvaluator::TypeOfId(const VhdlIdDef* id, const VhdlTreeNode* where) {
    if (!id) return nullptr;
    if (id->GetClassId() == VhdlEnumerationId::kClassId)
        return TypeOfId(dynamic_cast<const VhdlIdDef*>(id->declaration), where);
    if (VhdlSlot* slot = Lookup(id, where)) return slot->type;
    // Declared where no frame registered it (a process, a package not yet entered).
    return TypeOfDeclaration(id, id->declaration);
}

VhdlValue VhdlEvaluator::EvaluateName(const VhdlTreeNode* name, const VhdlType* expected) {
    auto* ref = static_cast<const VhdlIdRef*>(name);
    const VhdlIdDef* id = ref->resolved;
    if (!id) {
        // An enumeration literal of the expected type that resolution did not see.
        if (expected && expected->kind == VhdlTypeKind::Enumeration) {
            int64_t pos = expected->LiteralPosition(ref->text);
            if (pos >= 0) return VhdlValue::Enumeration(pos, expected);
        }
        std::vector<VhdlValue> none;
        VhdlValue result;
        if (CallNative(*this, "std.standard", Lower(ref->text), none, expected, name, result)) return result;
        Fail<vhdl_msg::ElabNotDeclared>(name, std::string(ref->text).c_str());
    }
    if (id->GetClassId() == VhdlEnumerationId::kClassId && expected && expected->kind == VhdlTypeKind::Enumeration) {
        // Overloaded literals ('1' of bit and of std_ulogic): the context decides.
        int64_t pos = expected->LiteralPosition(id->OrigName());
        if (pos >= 0) return VhdlValue::Enumeration(pos, expected);
    }
    if (IsSubprogramId(id)) return Call(id, VhdlNodeList(), name, expected);
    return ValueOf(id, name);
}

namespace {

// The instantiation of a generic package that a name selects through, `inst` of
// `inst.C` or `work.inst.f`; null for other names.
const VhdlPackageInstantiationDecl* SelectedInstance(const VhdlTreeNode* name) {
    auto* sel = dynamic_cast<const VhdlSelectedName*>(name);
    const VhdlIdDef* prefix = sel ? IdOf(sel->prefix) : nullptr;
    return prefix ? dynamic_cast<const VhdlPackageInstantiationDecl*>(prefix->declaration) : nullptr;
}

} // namespace

// A local instantiation is evaluated in the frame of the region that declares it.
VhdlFrame* VhdlEvaluator::InstanceOfSelection(const VhdlPackageInstantiationDecl& inst) {
    VhdlFrame* context = nullptr;
    if (!inst.library) {
        for (VhdlFrame* f = current_; f && !context; f = f->parent) {
            const VhdlNodeList* decls = nullptr;
            if (auto* a = dynamic_cast<const VhdlArchitectureBody*>(f->region)) decls = &a->declarations;
            else if (auto* b = dynamic_cast<const VhdlBlockStatement*>(f->region)) decls = &b->declarations;
            else if (auto* g = dynamic_cast<const VhdlGenerateStatement*>(f->region)) decls = &g->declarations;
            else if (auto* sb = dynamic_cast<const VhdlSubprogramBody*>(f->region)) decls = &sb->declarations;
            else if (auto* e = dynamic_cast<const VhdlEntityDecl*>(f->region)) decls = &e->declarations;
            if (!decls) continue;
            for (VhdlTreeNode* d : *decls)
                if (d == &inst) context = f;
        }
    }
    return InstanceFrame(inst, context);
}

VhdlValue VhdlEvaluator::EvaluateSelected(const VhdlSelectedName& n, const VhdlType* expected) {
    if (const VhdlPackageInstantiationDecl* inst = SelectedInstance(&n)) {
        // A constant of the instance: evaluated among the instance's generics.
        const VhdlIdDef* id = IdOf(n.suffix);
        if (!id) Fail<vhdl_msg::ElabNotDeclared>(&n, Text(&n).c_str());
        VhdlFrame* frame = InstanceOfSelection(*inst);
        const VhdlPackageDecl* generic = GenericPackageOf(*inst);
        selectedInstances_.push_back({generic, frame});
        VhdlFrame* saved = current_;
        if (!IsSubprogramId(id)) current_ = frame;
        try {
            VhdlValue v = IsSubprogramId(id) ? Call(id, VhdlNodeList(), &n, expected) : ValueOf(id, &n);
            current_ = saved;
            selectedInstances_.pop_back();
            return v;
        } catch (...) {
            current_ = saved;
            selectedInstances_.pop_back();
            throw;
        }
    }
    const VhdlIdDef* prefixId = IdOf(n.prefix);
    bool expanded = prefixId && (prefixId->GetClassId() == VhdlLibraryId::kClassId ||
                                 dynamic_cast<const VhdlDesignUnit*>(prefixId->declaration) ||
                                 prefixId->GetClassId() == VhdlLabelId::kClassId);
    if (expanded) {
        const VhdlIdDef* id = IdOf(n.suffix);
        if (!id) {
            if (auto* lit = dynamic_cast<const VhdlCharacterLiteral*>(n.suffix)) return EvaluateLiteral(lit, expected);
            Fail<vhdl_msg::ElabNotDeclared>(&n, Text(&n).c_str());
        }
        if (id->GetClassId() == VhdlEnumerationId::kClassId && expected &&
            expected->kind == VhdlTypeKind::Enumeration) {
            int64_t pos = expected->LiteralPosition(id->OrigName());
            if (pos >= 0) return VhdlValue::Enumeration(pos, expected);
        }
        if (IsSubprogramId(id)) return Call(id, VhdlNodeList(), &n, expected);
        return ValueOf(id, &n);
    }
    VhdlValue record = Evaluate(n.prefix, nullptr);
    if (record.kind != VhdlValue::Record || !record.type) NotStatic(&n, "selected name");
    int index = record.type->FieldIndex(SimpleName(n.suffix));
    if (index < 0) Fail<vhdl_msg::ElabNoSuchElement>(&n, std::string(SimpleName(n.suffix)).c_str());
    return record.Elements()[size_t(index)];
}

VhdlValue VhdlEvaluator::EvaluateIndexed(const VhdlIndexedName& n, const VhdlType* expected) {
    if (auto* attr = dynamic_cast<const VhdlAttributeName*>(n.prefix))
        return EvaluateAttribute(*attr, &n.assocList, expected);
    if (auto* op = dynamic_cast<const VhdlStringLiteral*>(n.prefix)) {
        // "+"(a, b): the operator called by its symbol.
        std::string symbol = Lower(op->text.substr(1, op->text.size() >= 2 ? op->text.size() - 2 : 0));
        unsigned token = VhdlKeyword(symbol, VHDL_2019);
        static const std::pair<const char*, unsigned> kSymbols[] = {
            {"+", VHDL_PLUS}, {"-", VHDL_MINUS}, {"*", VHDL_STAR}, {"/", VHDL_SLASH},
            {"**", VHDL_POW}, {"&", VHDL_AMP},   {"=", VHDL_EQ},   {"/=", VHDL_NEQ},
            {"<", VHDL_LT},   {"<=", VHDL_LE},   {">", VHDL_GT},   {">=", VHDL_GE}};
        for (const auto& [text, tok] : kSymbols)
            if (symbol == text) token = tok;
        std::vector<VhdlValue> args;
        for (VhdlTreeNode* a : n.assocList) {
            auto* assoc = dynamic_cast<const VhdlAssocElement*>(a);
            args.push_back(Evaluate(assoc ? assoc->actual : a, nullptr));
        }
        if (args.size() == 1) return ApplyOperator(*this, token, nullptr, args[0], expected, &n);
        if (args.size() == 2) return ApplyOperator(*this, token, &args[0], args[1], expected, &n);
        NotStatic(&n, "operator call");
    }
    const VhdlIdDef* prefixId = IdOf(n.prefix);
    if (IsSubprogramId(prefixId) && SelectedInstance(n.prefix)) {
        // inst.f(x): the function of that instance, its actuals in this frame.
        const VhdlPackageInstantiationDecl* inst = SelectedInstance(n.prefix);
        selectedInstances_.push_back({GenericPackageOf(*inst), InstanceOfSelection(*inst)});
        try {
            VhdlValue v = Call(prefixId, n.assocList, &n, expected);
            selectedInstances_.pop_back();
            return v;
        } catch (...) {
            selectedInstances_.pop_back();
            throw;
        }
    }
    if (IsSubprogramId(prefixId)) {
        auto* ref = dynamic_cast<const VhdlIdRef*>(n.prefix);
        if (auto* sel = dynamic_cast<const VhdlSelectedName*>(n.prefix))
            ref = dynamic_cast<const VhdlIdRef*>(sel->suffix);
        // Standard package functions are native and tell their overloads apart themselves.
        std::string package = PackageOf(prefixId);
        bool standard = package.rfind("ieee.", 0) == 0 || package.rfind("std.", 0) == 0;
        if (ref && ref->IsAmbiguous() && !(standard && HasNative(package, Lower(prefixId->Name())))) {
            std::vector<VhdlValue> values;
            prefixId = ChooseOverload(prefixId, n.assocList, &n, values);
            return Call(prefixId, n.assocList, &n, expected, &values);
        }
        return Call(prefixId, n.assocList, &n, expected);
    }
    if (IsTypeId(prefixId)) {
        if (n.assocList.Size() != 1 || IsRangeNode(n.assocList.At(0))) NotStatic(&n, "subtype");
        const VhdlType* to = EvaluateSubtype(n.prefix);
        const VhdlTreeNode* arg = n.assocList.At(0);
        if (auto* assoc = dynamic_cast<const VhdlAssocElement*>(arg)) arg = assoc->actual;
        return Convert(to, Evaluate(arg, nullptr), &n);
    }
    if (!prefixId && n.prefix && n.prefix->GetClassId() == VhdlIdRef::kClassId) {
        // A predefined function that no package declares (minimum, to_string of 2008).
        std::vector<VhdlValue> args;
        for (VhdlTreeNode* a : n.assocList) {
            auto* assoc = dynamic_cast<const VhdlAssocElement*>(a);
            args.push_back(Evaluate(assoc ? assoc->actual : a, nullptr));
        }
        VhdlValue result;
        std::string name = Lower(static_cast<const VhdlIdRef*>(n.prefix)->text);
        if (CallNative(*this, "std.standard", name, args, expected, &n, result)) return result;
        Fail<vhdl_msg::ElabNotDeclared>(&n, name.c_str());
    }
    VhdlValue array = Evaluate(n.prefix, nullptr);
    return Index(array, n.assocList, &n);
}

VhdlValue VhdlEvaluator::Index(const VhdlValue& array, const VhdlNodeList& indexes, const VhdlTreeNode* where) {
    if (array.kind != VhdlValue::Array) NotStatic(where, "indexed name");
    const VhdlType* type = array.type;
    const std::vector<VhdlBounds>& bounds = array.Bounds();
    if (indexes.Size() == 1 && IsRangeNode(indexes.At(0))) {
        const VhdlType* rangeType = nullptr;
        VhdlBounds slice = EvaluateRange(indexes.At(0), &rangeType);
        const VhdlBounds& whole = bounds.front();
        std::vector<VhdlValue> elements;
        if (!slice.Null()) {
            if (slice.ascending != whole.ascending || !whole.Contains(slice.left) || !whole.Contains(slice.right))
                Fail<vhdl_msg::ElabSliceOutsideRange>(where, Text(where).c_str());
            int64_t from = whole.Offset(slice.left), count = slice.Length();
            const auto& all = array.Elements();
            if (from < 0 || size_t(from + count) > all.size())
                Fail<vhdl_msg::ElabSliceOutsideRange>(where, Text(where).c_str());
            elements.assign(all.begin() + from, all.begin() + from + count);
        }
        return VhdlValue::MakeArray(type ? ConstrainedArray(type, slice) : nullptr, {slice}, std::move(elements));
    }
    size_t dims = bounds.size();
    if (indexes.Size() != dims) NotStatic(where, "indexed name");
    int64_t offset = 0;
    for (size_t d = 0; d < dims; ++d) {
        const VhdlType* indexType = type && d < type->indexTypes.size() ? type->indexTypes[d] : nullptr;
        VhdlValue iv = Evaluate(indexes.At(uint32_t(d)), indexType);
        if (iv.kind != VhdlValue::Int && iv.kind != VhdlValue::Enum && iv.kind != VhdlValue::Char)
            NotStatic(where, "index");
        if (iv.kind == VhdlValue::Char && indexType) iv = Conform(iv, indexType, where);
        if (!bounds[d].Contains(iv.i))
            Fail<vhdl_msg::ElabIndexOutsideBounds>(
                where, VhdlImage(iv).c_str(), std::to_string(static_cast<long long>(bounds[d].left)).c_str(),
                bounds[d].ascending ? "to" : "downto", std::to_string(static_cast<long long>(bounds[d].right)).c_str(),
                Text(where).c_str());
        offset = offset * bounds[d].Length() + bounds[d].Offset(iv.i);
    }
    const auto& all = array.Elements();
    if (offset < 0 || size_t(offset) >= all.size()) NotStatic(where, "indexed name");
    return all[size_t(offset)];
}

// ---------------------------------------------------------------- literals

namespace {

// The characters of a bit string literal, extended or cut to its length (2008).
bool ExpandBitString(std::string_view text, std::string& out) {
    size_t quote = text.find('"');
    if (quote == std::string_view::npos || text.size() < quote + 2) return false;
    std::string prefix = Lower(text.substr(0, quote));
    std::string_view body = text.substr(quote + 1, text.size() - quote - 2);
    size_t p = 0;
    int64_t length = -1;
    if (p < prefix.size() && std::isdigit(static_cast<unsigned char>(prefix[p]))) {
        length = 0;
        while (p < prefix.size() && std::isdigit(static_cast<unsigned char>(prefix[p])))
            length = length * 10 + (prefix[p++] - '0');
    }
    bool isSigned = false, isUnsigned = false;
    if (p < prefix.size() && (prefix[p] == 's' || prefix[p] == 'u')) {
        isSigned = prefix[p] == 's';
        isUnsigned = !isSigned;
        ++p;
    }
    if (p + 1 != prefix.size()) return false;
    char base = prefix[p];
    out.clear();
    if (base == 'd') {
        uint64_t v = 0;
        for (char c : body) {
            if (c == '_') continue;
            if (!std::isdigit(static_cast<unsigned char>(c))) return false;
            v = v * 10 + uint64_t(c - '0');
        }
        for (; v; v >>= 1) out.insert(out.begin(), char('0' + (v & 1)));
        if (out.empty()) out = "0";
    } else {
        unsigned bits = base == 'b' ? 1 : base == 'o' ? 3 : base == 'x' ? 4 : 0;
        if (!bits) return false;
        for (char c : body) {
            if (c == '_') continue;
            int d = std::isdigit(static_cast<unsigned char>(c)) ? c - '0'
                    : std::isxdigit(static_cast<unsigned char>(c))
                        ? std::tolower(static_cast<unsigned char>(c)) - 'a' + 10
                        : -1;
            if (d < 0 || d >= (1 << bits)) {
                // A metavalue stands for all of its bits.
                out.append(bits, c);
                continue;
            }
            for (int b = int(bits) - 1; b >= 0; --b) out += char('0' + ((d >> b) & 1));
        }
    }
    if (length >= 0) {
        int64_t have = int64_t(out.size());
        if (length < have) {
            out = out.substr(size_t(have - length));
        } else if (length > have) {
            char fill = isSigned && !out.empty() ? out[0] : '0';
            (void)isUnsigned;
            out.insert(out.begin(), size_t(length - have), fill);
        }
    }
    return true;
}

std::string StringLiteralText(std::string_view text) {
    std::string out;
    if (text.size() < 2) return out;
    char quote = text[0];
    for (size_t i = 1; i + 1 < text.size(); ++i) {
        out += text[i];
        if (text[i] == quote && i + 2 < text.size() && text[i + 1] == quote) ++i;
    }
    return out;
}

} // namespace

VhdlValue VhdlEvaluator::EvaluateLiteral(const VhdlTreeNode* n, const VhdlType* expected) {
    switch (n->GetClassId()) {
    case VhdlInteger::kClassId: {
        auto* lit = static_cast<const VhdlInteger*>(n);
        return VhdlValue::Integer(lit->GetValue(), UniversalInteger());
    }
    case VhdlReal::kClassId: return VhdlValue::Floating(static_cast<const VhdlReal*>(n)->GetValue(), UniversalReal());
    case VhdlPhysicalLiteral::kClassId: {
        auto* lit = static_cast<const VhdlPhysicalLiteral*>(n);
        const VhdlIdDef* unit = IdOf(lit->unit);
        VhdlValue scale;
        if (unit) {
            scale = ValueOf(unit, n);
        } else if (expected && expected->kind == VhdlTypeKind::Physical) {
            // A value read without resolution (the generic map of a top): the unit of
            // the expected type.
            for (const VhdlType::Unit& u : expected->base->units)
                if (SameName(u.name, SimpleName(lit->unit))) scale = VhdlValue::Physical(u.multiple, expected->base);
        }
        if (scale.IsNone()) Fail<vhdl_msg::ElabPhysicalUnitNotDeclared>(n, Text(lit->unit).c_str());
        VhdlValue amount = Evaluate(lit->value, nullptr);
        if (amount.kind == VhdlValue::Real) {
            const double product = std::round(amount.r * double(scale.i));
            // Beyond 64 bits (or not a number) the conversion would be undefined.
            if (!(std::fabs(product) < 9.2e18)) Fail<vhdl_msg::ElabPhysicalLiteralOverflows>(n, Text(n).c_str());
            return VhdlValue::Physical(int64_t(product), scale.type);
        }
        int64_t product;
        if (__builtin_mul_overflow(amount.i, scale.i, &product))
            Fail<vhdl_msg::ElabPhysicalLiteralOverflows>(n, Text(n).c_str());
        return VhdlValue::Physical(product, scale.type);
    }
    case VhdlCharacterLiteral::kClassId: {
        std::string_view text = static_cast<const VhdlCharacterLiteral*>(n)->text;
        if (expected && expected->kind == VhdlTypeKind::Enumeration) {
            int64_t pos = expected->LiteralPosition(text);
            if (pos >= 0) return VhdlValue::Enumeration(pos, expected);
        }
        return VhdlValue::Character(text.size() >= 3 ? static_cast<unsigned char>(text[1]) : 0);
    }
    case VhdlStringLiteral::kClassId:
    case VhdlBitStringLiteral::kClassId: {
        std::string text;
        if (n->GetClassId() == VhdlStringLiteral::kClassId) {
            text = StringLiteralText(static_cast<const VhdlStringLiteral*>(n)->text);
        } else if (!ExpandBitString(static_cast<const VhdlBitStringLiteral*>(n)->text, text)) {
            NotStatic(n, "bit string literal");
        }
        std::vector<VhdlValue> chars;
        chars.reserve(text.size());
        for (char c : text) chars.push_back(VhdlValue::Character(static_cast<unsigned char>(c)));
        VhdlValue v =
            VhdlValue::MakeArray(nullptr, {VhdlBounds::Discrete(1, int64_t(text.size()), true)}, std::move(chars));
        if (expected && expected->IsArray()) return Conform(std::move(v), expected, n);
        return v;
    }
    default: NotStatic(n, "literal");
    }
}

// ---------------------------------------------------------------- typing

namespace {

// Bounds of an array whose index subtype alone decides them: its left bound, its
// direction, `length` elements.
VhdlBounds BoundsFromIndex(const VhdlType* indexType, int64_t length) {
    VhdlBounds index = indexType ? indexType->range : VhdlBounds::Discrete(0, INT32_MAX, true);
    int64_t left = index.left;
    int64_t right = index.ascending ? left + length - 1 : left - length + 1;
    return VhdlBounds::Discrete(left, right, index.ascending);
}

} // namespace

VhdlValue VhdlEvaluator::Conform(VhdlValue v, const VhdlType* type, const VhdlTreeNode* where) {
    if (!type || v.IsNone()) return v;
    auto rangeError = [&](const std::string& value) {
        const VhdlBounds& r = type->range;
        std::string range =
            r.isReal ? "" : std::to_string(r.left) + (r.ascending ? " to " : " downto ") + std::to_string(r.right);
        if (type->kind == VhdlTypeKind::Enumeration && !r.Null() && r.left >= 0 && r.right >= 0 &&
            size_t(std::max(r.left, r.right)) < type->base->literals.size())
            range = std::string(type->base->literals[size_t(r.left)]) + (r.ascending ? " to " : " downto ") +
                    std::string(type->base->literals[size_t(r.right)]);
        Fail<vhdl_msg::ElabValueOutsideRange>(where, value.c_str(), range.c_str(),
                                              std::string(type->DisplayName()).c_str());
    };
    switch (type->kind) {
    case VhdlTypeKind::Integer:
        if (v.kind != VhdlValue::Int) Fail<vhdl_msg::ElabNotIntegerValue>(where, Text(where).c_str());
        if (!type->range.Contains(v.i)) rangeError(std::to_string(v.i));
        v.type = type;
        return v;
    case VhdlTypeKind::Real:
        if (v.kind == VhdlValue::Int) v = VhdlValue::Floating(double(v.i), type);
        if (v.kind != VhdlValue::Real) Fail<vhdl_msg::ElabNotRealValue>(where, Text(where).c_str());
        if (!type->range.ContainsReal(v.r)) rangeError(VhdlImage(v));
        v.type = type;
        return v;
    case VhdlTypeKind::Physical:
        if (v.kind != VhdlValue::Phys) Fail<vhdl_msg::ElabNotPhysicalValue>(where, Text(where).c_str());
        if (!type->range.Contains(v.i)) rangeError(VhdlImage(v));
        v.type = type;
        return v;
    case VhdlTypeKind::Enumeration: {
        int64_t pos = -1;
        if (v.kind == VhdlValue::Char) {
            char text[4] = {'\'', char(v.i), '\'', 0};
            pos = type->LiteralPosition(text);
        } else if (v.kind == VhdlValue::Enum && v.type && v.type->base == type->base) {
            pos = v.i;
        } else if (v.kind == VhdlValue::Enum && v.type && v.i >= 0 && size_t(v.i) < v.type->base->literals.size()) {
            pos = type->LiteralPosition(v.type->base->literals[size_t(v.i)]);
        }
        if (pos < 0)
            Fail<vhdl_msg::ElabValueNotOfType>(where, VhdlImage(v).c_str(), std::string(type->DisplayName()).c_str());
        if (!type->range.Contains(pos)) rangeError(VhdlImage(v));
        return VhdlValue::Enumeration(pos, type);
    }
    case VhdlTypeKind::Array: {
        if (v.kind != VhdlValue::Array)
            Fail<vhdl_msg::ElabValueNotOfArrayType>(where, VhdlImage(v).c_str(),
                                                    std::string(type->DisplayName()).c_str());
        const VhdlType* element = type->element;
        bool sameElements = v.type && v.type->element && element && v.type->element == element;
        if (element && !sameElements) {
            for (VhdlValue& e : v.MutableElements()) e = Conform(std::move(e), element, where);
        }
        size_t dims = std::max<size_t>(1, type->Dimensions());
        std::vector<VhdlBounds> bounds = v.Bounds();
        if (bounds.size() != dims && dims == 1) bounds.resize(1);
        if (type->constrained) {
            for (size_t d = 0; d < dims && d < bounds.size() && d < type->indexRanges.size(); ++d) {
                if (bounds[d].Length() != type->indexRanges[d].Length())
                    Fail<vhdl_msg::ElabLengthsDiffer>(
                        where, std::to_string(static_cast<long long>(bounds[d].Length())).c_str(), Text(where).c_str(),
                        std::to_string(static_cast<long long>(type->indexRanges[d].Length())).c_str(),
                        std::string(type->DisplayName()).c_str());
                bounds[d] = type->indexRanges[d];
            }
        } else if (!v.type) {
            bounds[0] =
                BoundsFromIndex(type->indexTypes.empty() ? nullptr : type->indexTypes[0], int64_t(v.Elements().size()));
        }
        v.MutableBounds() = bounds;
        v.type = type;
        return v;
    }
    case VhdlTypeKind::Record: {
        if (v.kind == VhdlValue::Array && !v.type && v.Elements().size() == type->base->fields.size()) {
            std::vector<VhdlValue> fields = v.Elements();
            v = VhdlValue::MakeRecord(type, std::move(fields));
        }
        if (v.kind != VhdlValue::Record)
            Fail<vhdl_msg::ElabValueNotOfRecordType>(where, VhdlImage(v).c_str(),
                                                     std::string(type->DisplayName()).c_str());
        if (!v.type || v.type->base != type->base) {
            auto& fields = v.MutableElements();
            for (size_t i = 0; i < fields.size() && i < type->base->fields.size(); ++i)
                fields[i] = Conform(std::move(fields[i]), type->base->fields[i].type, where);
        }
        v.type = type;
        return v;
    }
    default: return v;
    }
}

VhdlValue VhdlEvaluator::Convert(const VhdlType* to, VhdlValue v, const VhdlTreeNode* where) {
    if (!to) return v;
    switch (to->kind) {
    case VhdlTypeKind::Integer:
        if (v.kind == VhdlValue::Real) {
            double r = std::round(v.r);
            if (!(r >= -9.2e18 && r <= 9.2e18)) Fail<vhdl_msg::ElabRealDoesNotFitInteger>(where, VhdlImage(v).c_str());
            v = VhdlValue::Integer(int64_t(r), to);
        }
        return Conform(std::move(v), to, where);
    case VhdlTypeKind::Real:
        if (v.kind == VhdlValue::Int) v = VhdlValue::Floating(double(v.i), to);
        return Conform(std::move(v), to, where);
    case VhdlTypeKind::Array: {
        if (v.kind != VhdlValue::Array) return Conform(std::move(v), to, where);
        if (to->element && v.type && v.type->element && v.type->element->base != to->element->base) {
            for (VhdlValue& e : v.MutableElements()) e = Convert(to->element, std::move(e), where);
        }
        if (!to->constrained && v.type) {
            // The result keeps the operand's bounds.
            v.type = to;
            return v;
        }
        return Conform(std::move(v), to, where);
    }
    default: return Conform(std::move(v), to, where);
    }
}

// ---------------------------------------------------------------- aggregates

VhdlValue VhdlEvaluator::EvaluateAggregate(const VhdlAggregate& n, const VhdlType* expected) {
    if (expected && expected->kind == VhdlTypeKind::Record) return RecordAggregate(n, expected);
    if (expected && expected->IsArray()) return ArrayAggregate(n, expected);
    // No type known: a positional aggregate, or one with integer choices, stays untyped.
    std::vector<VhdlValue> elements;
    std::vector<std::pair<int64_t, VhdlValue>> named;
    for (VhdlTreeNode* e : n.elements) {
        if (auto* ea = dynamic_cast<const VhdlElementAssoc*>(e)) {
            VhdlValue value = Evaluate(ea->expression, nullptr);
            for (VhdlTreeNode* choice : ea->choices) {
                if (IsRangeNode(choice) || choice->GetClassId() == VhdlOthers::kClassId)
                    NotStatic(&n, "aggregate without a known type");
                VhdlValue c = Evaluate(choice, nullptr);
                if (c.kind != VhdlValue::Int) NotStatic(&n, "aggregate without a known type");
                named.push_back({c.i, value});
            }
        } else {
            elements.push_back(Evaluate(e, nullptr));
        }
    }
    if (named.empty()) {
        int64_t count = int64_t(elements.size());
        return VhdlValue::MakeArray(nullptr, {VhdlBounds::Discrete(0, count - 1, true)}, std::move(elements));
    }
    if (!elements.empty()) NotStatic(&n, "aggregate");
    std::sort(named.begin(), named.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    int64_t low = named.front().first, high = named.back().first;
    if (high - low + 1 != int64_t(named.size())) NotStatic(&n, "aggregate");
    for (auto& [pos, v] : named) elements.push_back(std::move(v));
    return VhdlValue::MakeArray(nullptr, {VhdlBounds::Discrete(low, high, true)}, std::move(elements));
}

VhdlValue VhdlEvaluator::RecordAggregate(const VhdlAggregate& n, const VhdlType* type) {
    const auto& fields = type->base->fields;
    std::vector<VhdlValue> values(fields.size());
    size_t position = 0;
    for (VhdlTreeNode* e : n.elements) {
        auto* ea = dynamic_cast<const VhdlElementAssoc*>(e);
        if (!ea) {
            if (position >= fields.size()) Fail<vhdl_msg::ElabRecordAggregateTooLong>(&n);
            values[position] = Conform(Evaluate(e, fields[position].type), fields[position].type, e);
            ++position;
            continue;
        }
        for (VhdlTreeNode* choice : ea->choices) {
            if (choice->GetClassId() == VhdlOthers::kClassId) {
                for (size_t i = 0; i < fields.size(); ++i)
                    if (values[i].IsNone())
                        values[i] = Conform(Evaluate(ea->expression, fields[i].type), fields[i].type, ea);
                continue;
            }
            int index = type->FieldIndex(SimpleName(choice));
            if (index < 0) Fail<vhdl_msg::ElabNoSuchElement>(choice, Text(choice).c_str());
            values[size_t(index)] =
                Conform(Evaluate(ea->expression, fields[size_t(index)].type), fields[size_t(index)].type, ea);
        }
    }
    for (size_t i = 0; i < values.size(); ++i)
        if (values[i].IsNone()) Fail<vhdl_msg::ElabRecordElementWithoutValue>(&n, std::string(fields[i].name).c_str());
    return VhdlValue::MakeRecord(type, std::move(values));
}

VhdlValue VhdlEvaluator::ArrayAggregate(const VhdlAggregate& n, const VhdlType* type) {
    size_t dims = std::max<size_t>(1, type->Dimensions());
    // The elements of the first dimension: scalars, or arrays of the remaining ones.
    const VhdlType* elementType = type->element;
    if (dims > 1) {
        VhdlType* rest = NewType(VhdlTypeKind::Array);
        rest->indexTypes.assign(type->indexTypes.begin() + 1, type->indexTypes.end());
        if (type->constrained) rest->indexRanges.assign(type->indexRanges.begin() + 1, type->indexRanges.end());
        rest->constrained = type->constrained;
        rest->element = type->element;
        elementType = rest;
    }
    const VhdlType* indexType = type->indexTypes.empty() ? nullptr : type->indexTypes[0];
    bool scalarElements =
        dims == 1 && elementType && !elementType->IsArray() && elementType->kind != VhdlTypeKind::Record;
    bool arrayElements = dims == 1 && elementType && elementType->IsArray();

    std::vector<VhdlValue> positional;
    struct Named {
        VhdlBounds range;
        VhdlValue value;
    };
    std::vector<Named> named;
    const VhdlTreeNode* others = nullptr;
    auto evaluateElement = [&](const VhdlTreeNode* e) { return Evaluate(e, elementType); };
    // 2008: an element of the array's own type supplies several elements.
    auto splices = [&](const VhdlValue& v) {
        if (v.kind != VhdlValue::Array || dims != 1 || arrayElements) return false;
        return !v.type || v.type->base == type->base || scalarElements;
    };
    for (VhdlTreeNode* e : n.elements) {
        auto* ea = dynamic_cast<const VhdlElementAssoc*>(e);
        if (!ea) {
            VhdlValue v = evaluateElement(e);
            if (splices(v)) {
                for (const VhdlValue& x : v.Elements()) positional.push_back(Conform(x, elementType, e));
            } else {
                positional.push_back(Conform(std::move(v), elementType, e));
            }
            continue;
        }
        for (VhdlTreeNode* choice : ea->choices) {
            if (choice->GetClassId() == VhdlOthers::kClassId) {
                others = ea->expression;
                continue;
            }
            Named item;
            if (IsRangeNode(choice)) {
                const VhdlType* rt = nullptr;
                item.range = EvaluateRange(choice, &rt);
            } else {
                VhdlValue c = Conform(Evaluate(choice, indexType), indexType, choice);
                item.range = VhdlBounds::Discrete(c.i, c.i, true);
            }
            item.value = evaluateElement(ea->expression);
            named.push_back(std::move(item));
        }
    }
    if (!positional.empty() && !named.empty()) Fail<vhdl_msg::ElabAggregateMixesAssociations>(&n);

    VhdlBounds bounds;
    if (type->constrained && !type->indexRanges.empty()) {
        bounds = type->indexRanges[0];
    } else if (others) {
        Fail<vhdl_msg::ElabOthersOfUnconstrained>(&n, std::string(type->DisplayName()).c_str());
    } else if (!named.empty()) {
        int64_t low = INT64_MAX, high = INT64_MIN;
        for (const Named& item : named) {
            if (item.range.Null()) continue;
            low = std::min(low, item.range.Low());
            high = std::max(high, item.range.High());
        }
        bool ascending = indexType ? indexType->range.ascending : true;
        bounds = low > high  ? VhdlBounds::Discrete(0, -1, true)
                 : ascending ? VhdlBounds::Discrete(low, high, true)
                             : VhdlBounds::Discrete(high, low, false);
    } else {
        bounds = BoundsFromIndex(indexType, int64_t(positional.size()));
    }
    int64_t length = bounds.Length();
    if (uint64_t(length) > limits_.arrayElements)
        Fail<vhdl_msg::ElabAggregateTooLarge>(&n, std::to_string(static_cast<long long>(length)).c_str());
    std::vector<VhdlValue> elements(static_cast<size_t>(length));
    if (!named.empty()) {
        for (Named& item : named) {
            if (item.range.Null()) continue;
            bool spread = item.value.kind == VhdlValue::Array && !arrayElements && item.range.Length() > 1;
            if (spread && item.value.Length() != item.range.Length())
                Fail<vhdl_msg::ElabChoiceValueCount>(
                    &n, std::to_string(static_cast<long long>(item.value.Length())).c_str(),
                    std::to_string(static_cast<long long>(item.range.Length())).c_str());
            for (int64_t k = 0; k < item.range.Length(); ++k) {
                int64_t pos = item.range.At(k);
                if (!bounds.Contains(pos))
                    Fail<vhdl_msg::ElabChoiceOutsideAggregate>(&n, std::to_string(static_cast<long long>(pos)).c_str());
                VhdlValue v = spread ? item.value.Elements()[size_t(k)] : item.value;
                elements[size_t(bounds.Offset(pos))] = Conform(std::move(v), elementType, &n);
            }
        }
    } else {
        if (int64_t(positional.size()) > length || (!others && int64_t(positional.size()) != length))
            Fail<vhdl_msg::ElabPositionalCount>(&n, static_cast<unsigned>(positional.size()),
                                                std::to_string(static_cast<long long>(length)).c_str());
        for (size_t k = 0; k < positional.size(); ++k) elements[k] = std::move(positional[k]);
    }
    if (others) {
        VhdlValue fill;
        for (VhdlValue& e : elements) {
            if (!e.IsNone()) continue;
            if (fill.IsNone()) fill = Conform(evaluateElement(others), elementType, others);
            e = fill;
        }
    }
    for (const VhdlValue& e : elements)
        if (e.IsNone()) Fail<vhdl_msg::ElabAggregateIncomplete>(&n);
    if (dims == 1) return VhdlValue::MakeArray(type, {bounds}, std::move(elements));
    // Flatten the rows into one array of all dimensions.
    std::vector<VhdlBounds> all{bounds};
    std::vector<VhdlValue> flat;
    for (size_t k = 0; k < elements.size(); ++k) {
        const VhdlValue& row = elements[k];
        if (k == 0) all.insert(all.end(), row.Bounds().begin(), row.Bounds().end());
        flat.insert(flat.end(), row.Elements().begin(), row.Elements().end());
    }
    if (elements.empty()) {
        for (size_t d = 1; d < dims; ++d)
            all.push_back(type->constrained && d < type->indexRanges.size() ? type->indexRanges[d] : VhdlBounds());
    }
    return VhdlValue::MakeArray(type, std::move(all), std::move(flat));
}

} // namespace hdl
