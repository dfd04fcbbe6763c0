// Calls of subprograms at elaboration: the association of actuals with formals, the
// native functions of the standard packages, and the interpretation of the bodies of
// user subprograms: variables, assignments, if, case, loops, return, assertions and
// procedure calls, within the bounds of the evaluator.
#include <algorithm>
#include <cmath>

#include "hdl/base/Message.h"
#include "hdl/elab/VhdlEvalInternal.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlOverloads.h"

namespace hdl {

using namespace vhdl_eval;

namespace {

bool IsStandardPackage(const std::string& package) {
    return package.rfind("ieee.", 0) == 0 || package.rfind("std.", 0) == 0;
}

// Control flow out of a statement list.
enum class Flow { Normal, Next, Exit, Return };

} // namespace

// Statement execution, a friend of the evaluator for its frames.
class VhdlInterpreter {
public:
    VhdlInterpreter(VhdlEvaluator& ev, const VhdlType* returnType) : ev_(ev), returnType_(returnType) {}

    Flow Run(const VhdlNodeList& statements) {
        for (VhdlTreeNode* s : statements) {
            if (!s) continue;
            Flow f = Execute(s);
            if (f != Flow::Normal) return f;
        }
        return Flow::Normal;
    }

    // Variables of a declarative part, in order; constants and types stay lazy.
    void Elaborate(const VhdlNodeList& declarations) {
        VhdlFrame* frame = ev_.Current();
        ev_.Declare(frame, declarations);
        for (VhdlTreeNode* d : declarations) {
            auto* var = dynamic_cast<const VhdlVariableDecl*>(d);
            if (!var) continue;
            const VhdlType* type = ev_.EvaluateSubtype(var->subtype);
            for (VhdlIdDef* id : var->ids) {
                VhdlValue v =
                    var->init ? ev_.Conform(ev_.Evaluate(var->init, type), type, var->init) : DefaultValue(type, var);
                ev_.Bind(frame, id, std::move(v), type);
            }
        }
    }

    VhdlValue DefaultValue(const VhdlType* type, const VhdlTreeNode* where) {
        if (!type) ev_.NotStatic(where, "declaration");
        switch (type->kind) {
        case VhdlTypeKind::Integer: return VhdlValue::Integer(type->range.left, type);
        case VhdlTypeKind::Real: return VhdlValue::Floating(type->range.rleft, type);
        case VhdlTypeKind::Physical: return VhdlValue::Physical(type->range.left, type);
        case VhdlTypeKind::Enumeration: return VhdlValue::Enumeration(type->range.left, type);
        case VhdlTypeKind::Array: {
            if (!type->constrained)
                ev_.Fail<vhdl_msg::ElabVariableOfUnconstrained>(where, std::string(type->DisplayName()).c_str());
            uint64_t count = 1;
            for (const VhdlBounds& r : type->indexRanges) {
                count *= uint64_t(r.Length());
                if (count > ev_.Limits().arrayElements)
                    ev_.Fail<vhdl_msg::ElabArrayTooLarge>(
                        where, std::to_string(static_cast<unsigned long long>(count)).c_str());
            }
            VhdlValue element = count ? DefaultValue(type->element, where) : VhdlValue();
            return VhdlValue::MakeArray(type, type->indexRanges, std::vector<VhdlValue>(size_t(count), element));
        }
        case VhdlTypeKind::Record: {
            std::vector<VhdlValue> fields;
            for (const VhdlType::Field& f : type->base->fields) fields.push_back(DefaultValue(f.type, where));
            return VhdlValue::MakeRecord(type, std::move(fields));
        }
        default: return VhdlValue::NullAccess(type);
        }
    }

    const VhdlTreeNode* loopTarget = nullptr; // label of the loop that next/exit leaves

private:
    Flow Execute(VhdlTreeNode* s) {
        ev_.Step(s);
        switch (s->GetClassId()) {
        case VhdlVariableAssignmentStatement::kClassId: {
            auto* a = static_cast<VhdlVariableAssignmentStatement*>(s);
            Assign(a->target, a->value);
            return Flow::Normal;
        }
        case VhdlConditionalVariableAssignmentStatement::kClassId: {
            auto* a = static_cast<VhdlConditionalVariableAssignmentStatement*>(s);
            for (VhdlTreeNode* v : a->values) {
                auto* ce = dynamic_cast<VhdlConditionalExpression*>(v);
                if (!ce) {
                    Assign(a->target, v);
                    break;
                }
                if (!ce->condition || ev_.EvaluateCondition(ce->condition)) {
                    Assign(a->target, ce->value);
                    break;
                }
            }
            return Flow::Normal;
        }
        case VhdlSelectedVariableAssignmentStatement::kClassId: {
            auto* a = static_cast<VhdlSelectedVariableAssignmentStatement*>(s);
            VhdlValue selector = ev_.Evaluate(a->expression, nullptr);
            for (VhdlTreeNode* v : a->values) {
                auto* se = dynamic_cast<VhdlSelectedExpression*>(v);
                if (se && ev_.Matches(selector, se->choices)) {
                    Assign(a->target, se->value);
                    break;
                }
            }
            return Flow::Normal;
        }
        case VhdlIfStatement::kClassId: {
            auto* i = static_cast<VhdlIfStatement*>(s);
            if (ev_.EvaluateCondition(i->condition)) return Run(i->thenStatements);
            for (VhdlTreeNode* e : i->elsifs) {
                auto* elsif = static_cast<VhdlElsif*>(e);
                if (ev_.EvaluateCondition(elsif->condition)) return Run(elsif->statements);
            }
            return Run(i->elseStatements);
        }
        case VhdlCaseStatement::kClassId: {
            auto* c = static_cast<VhdlCaseStatement*>(s);
            VhdlValue selector = ev_.Evaluate(c->expression, nullptr);
            for (VhdlTreeNode* a : c->alternatives) {
                auto* alt = static_cast<VhdlCaseStatementAlternative*>(a);
                if (ev_.Matches(selector, alt->choices)) return Run(alt->statements);
            }
            ev_.Fail<vhdl_msg::ElabCaseNotCovered>(s, VhdlImage(selector).c_str());
        }
        case VhdlLoopStatement::kClassId: return Loop(*static_cast<VhdlLoopStatement*>(s));
        case VhdlNextStatement::kClassId:
        case VhdlExitStatement::kClassId: {
            VhdlName* label;
            VhdlExpression* condition;
            if (auto* n = dynamic_cast<VhdlNextStatement*>(s)) {
                label = n->loopLabel;
                condition = n->condition;
            } else {
                auto* x = static_cast<VhdlExitStatement*>(s);
                label = x->loopLabel;
                condition = x->condition;
            }
            if (condition && !ev_.EvaluateCondition(condition)) return Flow::Normal;
            loopTarget = label ? IdOf(label) : nullptr;
            return s->GetClassId() == VhdlNextStatement::kClassId ? Flow::Next : Flow::Exit;
        }
        case VhdlReturnStatement::kClassId: {
            auto* r = static_cast<VhdlReturnStatement*>(s);
            VhdlFrame* frame = CallFrame();
            if (r->expression) {
                frame->result = ev_.Conform(ev_.Evaluate(r->expression, returnType_), returnType_, r->expression);
            }
            frame->returned = true;
            return Flow::Return;
        }
        case VhdlAssertionStatement::kClassId: {
            auto* a = static_cast<VhdlAssertionStatement*>(s);
            if (ev_.EvaluateCondition(a->condition)) return Flow::Normal;
            VhdlValue message =
                a->report ? ev_.Evaluate(a->report, ev_.StringType()) : MakeString(ev_, "Assertion violation.");
            int64_t severity = a->severity ? ev_.Evaluate(a->severity, ev_.SeverityType()).i : 2;
            ev_.Report(s, message, severity);
            return Flow::Normal;
        }
        case VhdlReportStatement::kClassId: {
            auto* r = static_cast<VhdlReportStatement*>(s);
            VhdlValue message = ev_.Evaluate(r->report, ev_.StringType());
            int64_t severity = r->severity ? ev_.Evaluate(r->severity, ev_.SeverityType()).i : 0;
            ev_.Report(s, message, severity);
            return Flow::Normal;
        }
        case VhdlProcedureCallStatement::kClassId: {
            auto* p = static_cast<VhdlProcedureCallStatement*>(s);
            const VhdlNodeList* actuals = nullptr;
            VhdlNodeList none;
            const VhdlTreeNode* callee = p->call;
            if (auto* idx = dynamic_cast<const VhdlIndexedName*>(p->call)) {
                actuals = &idx->assocList;
                callee = idx->prefix;
            }
            const VhdlIdDef* id = IdOf(callee);
            if (!id) ev_.Fail<vhdl_msg::ElabProcedureNotDeclared>(s, VhdlEvaluator::Text(callee).c_str());
            ev_.Call(id, actuals ? *actuals : none, s, nullptr);
            return Flow::Normal;
        }
        case VhdlNullStatement::kClassId: return Flow::Normal;
        default: ev_.NotStatic(s, "statement");
        }
    }

    VhdlFrame* CallFrame() {
        VhdlFrame* f = ev_.Current();
        while (f && f->region && f->region->GetClassId() == VhdlLoopStatement::kClassId) f = f->parent;
        return f;
    }

    Flow Loop(VhdlLoopStatement& loop) {
        uint64_t limit = ev_.Limits().loopIterations;
        uint64_t count = 0;
        auto bound = [&]() {
            if (++count > limit)
                ev_.Fail<vhdl_msg::ElabLoopTooLong>(&loop, loop.label ? " " : "",
                                                    loop.label ? std::string(loop.label->OrigName()).c_str() : "",
                                                    std::to_string(static_cast<unsigned long long>(limit)).c_str());
        };
        // After next or exit: true when the loop goes on (next of this loop), false when
        // it ends here (exit of this loop); other targets leave through `out`.
        auto handle = [&](Flow f, Flow& out) {
            if (f == Flow::Normal) return true;
            bool mine = !loopTarget || (loop.label && loopTarget == loop.label);
            if (f == Flow::Next && mine) {
                loopTarget = nullptr;
                return true;
            }
            if (f == Flow::Exit && mine) {
                loopTarget = nullptr;
                out = Flow::Normal;
                return false;
            }
            out = f;
            return false;
        };
        if (auto* scheme = dynamic_cast<VhdlForScheme*>(loop.scheme)) {
            const VhdlType* type = nullptr;
            VhdlBounds range = ev_.EvaluateRange(scheme->range, &type);
            VhdlFrameScope scope(ev_, &loop);
            int64_t n = range.Length();
            for (int64_t k = 0; k < n; ++k) {
                bound();
                int64_t pos = range.At(k);
                VhdlValue v = type && type->kind == VhdlTypeKind::Enumeration ? VhdlValue::Enumeration(pos, type)
                                                                              : VhdlValue::Integer(pos, type);
                ev_.Bind(scope.Frame(), scheme->id, v, type);
                Flow out = Flow::Normal;
                if (!handle(Run(loop.statements), out)) return out;
            }
            return Flow::Normal;
        }
        auto* whileScheme = dynamic_cast<VhdlWhileScheme*>(loop.scheme);
        for (;;) {
            if (whileScheme && !ev_.EvaluateCondition(whileScheme->condition)) return Flow::Normal;
            bound();
            Flow out = Flow::Normal;
            if (!handle(Run(loop.statements), out)) return out;
        }
    }

    // ---- assignment targets: a variable, an element, a slice, a record element

    struct Step {
        enum Kind { Element, Slice, Field } kind = Element;
        int64_t offset = 0;
        int64_t count = 0;
        VhdlBounds bounds;
    };

    VhdlSlot* TargetSlot(const VhdlTreeNode* target, std::vector<Step>& path) {
        switch (target ? target->GetClassId() : 0) {
        case VhdlIdRef::kClassId: {
            const VhdlIdDef* id = static_cast<const VhdlIdRef*>(target)->resolved;
            VhdlSlot* slot = id ? ev_.FindSlot(id) : nullptr;
            if (!slot || slot->state != VhdlSlot::Ready)
                ev_.Fail<vhdl_msg::ElabNotASubprogramVariable>(target, VhdlEvaluator::Text(target).c_str());
            return slot;
        }
        case VhdlIndexedName::kClassId: {
            auto* idx = static_cast<const VhdlIndexedName*>(target);
            VhdlSlot* slot = TargetSlot(idx->prefix, path);
            VhdlValue current = Current(*slot, path);
            if (current.kind != VhdlValue::Array) ev_.NotStatic(target, "target");
            const auto& bounds = current.Bounds();
            const VhdlTreeNode* first = idx->assocList.At(0);
            bool slice = idx->assocList.Size() == 1 &&
                         (first->GetClassId() == VhdlRange::kClassId ||
                          (first->GetClassId() == VhdlAttributeName::kClassId &&
                           Lower(static_cast<const VhdlAttributeName*>(first)->designator->text).find("range") !=
                               std::string::npos));
            if (slice) {
                const VhdlType* t = nullptr;
                VhdlBounds r = ev_.EvaluateRange(first, &t);
                Step step;
                step.kind = Step::Slice;
                step.bounds = r;
                step.count = r.Length();
                if (step.count > 0) {
                    if (!bounds[0].Contains(r.left) || !bounds[0].Contains(r.right) ||
                        r.ascending != bounds[0].ascending)
                        ev_.Fail<vhdl_msg::ElabSliceOutsideRange>(target, VhdlEvaluator::Text(target).c_str());
                    step.offset = bounds[0].Offset(r.left);
                }
                path.push_back(step);
                return slot;
            }
            if (idx->assocList.Size() != bounds.size()) ev_.NotStatic(target, "target");
            int64_t offset = 0;
            for (size_t d = 0; d < bounds.size(); ++d) {
                const VhdlType* indexType =
                    current.type && d < current.type->indexTypes.size() ? current.type->indexTypes[d] : nullptr;
                VhdlValue iv = ev_.Evaluate(idx->assocList.At(uint32_t(d)), indexType);
                if (iv.kind == VhdlValue::Char && indexType) iv = ev_.Conform(iv, indexType, target);
                if (!bounds[d].Contains(iv.i))
                    ev_.Fail<vhdl_msg::ElabIndexOutsideRange>(target, VhdlImage(iv).c_str(),
                                                              VhdlEvaluator::Text(idx->prefix).c_str());
                offset = offset * bounds[d].Length() + bounds[d].Offset(iv.i);
            }
            Step step;
            step.kind = Step::Element;
            step.offset = offset;
            path.push_back(step);
            return slot;
        }
        case VhdlSelectedName::kClassId: {
            auto* sel = static_cast<const VhdlSelectedName*>(target);
            const VhdlIdDef* prefixId = IdOf(sel->prefix);
            if (prefixId && (prefixId->GetClassId() == VhdlLibraryId::kClassId ||
                             dynamic_cast<const VhdlDesignUnit*>(prefixId->declaration)))
                return TargetSlot(sel->suffix, path);
            VhdlSlot* slot = TargetSlot(sel->prefix, path);
            VhdlValue current = Current(*slot, path);
            int index = current.type && current.kind == VhdlValue::Record
                            ? current.type->FieldIndex(SimpleName(sel->suffix))
                            : -1;
            if (index < 0) ev_.NotStatic(target, "target");
            Step step;
            step.kind = Step::Field;
            step.offset = index;
            path.push_back(step);
            return slot;
        }
        default: ev_.NotStatic(target, "assignment target");
        }
    }

    // The value a path leads to.
    static VhdlValue Current(const VhdlSlot& slot, const std::vector<Step>& path) {
        VhdlValue v = slot.value;
        for (const Step& s : path) {
            if (s.kind == Step::Slice) {
                std::vector<VhdlValue> e(v.Elements().begin() + s.offset, v.Elements().begin() + s.offset + s.count);
                v = VhdlValue::MakeArray(v.type, {s.bounds}, std::move(e));
            } else {
                v = v.Elements()[size_t(s.offset)];
            }
        }
        return v;
    }

    // Stores `value` at the end of `path` inside `into`.
    void Store(VhdlValue& into, const std::vector<Step>& path, size_t at, VhdlValue value, const VhdlTreeNode* where) {
        if (at == path.size()) {
            into = std::move(value);
            return;
        }
        const Step& s = path[at];
        std::vector<VhdlValue>& elements = into.MutableElements();
        if (s.kind == Step::Slice) {
            if (at + 1 != path.size()) ev_.NotStatic(where, "assignment target");
            if (value.Length() != s.count)
                ev_.Fail<vhdl_msg::ElabSliceValueCount>(where,
                                                        std::to_string(static_cast<long long>(value.Length())).c_str(),
                                                        std::to_string(static_cast<long long>(s.count)).c_str());
            for (int64_t k = 0; k < s.count; ++k) {
                const VhdlValue& e = value.Elements()[size_t(k)];
                const VhdlType* elementType = into.type ? into.type->element : nullptr;
                elements[size_t(s.offset + k)] = elementType ? ev_.Conform(e, elementType, where) : e;
            }
            return;
        }
        Store(elements[size_t(s.offset)], path, at + 1, std::move(value), where);
    }

    void Assign(const VhdlTreeNode* target, const VhdlTreeNode* valueNode) {
        std::vector<Step> path;
        VhdlSlot* slot = TargetSlot(target, path);
        VhdlValue current = Current(*slot, path);
        const VhdlType* type = current.type;
        if (path.empty()) type = slot->type ? slot->type : current.type;
        if (!path.empty() && path.back().kind == Step::Slice && type && type->IsArray())
            type = ev_.ConstrainedArray(type, path.back().bounds);
        if (!path.empty() && path.back().kind == Step::Element) {
            // The element's subtype: from the array or record that holds it.
            std::vector<Step> up(path.begin(), path.end() - 1);
            VhdlValue holder = Current(*slot, up);
            if (holder.kind == VhdlValue::Array && holder.type) type = holder.type->element;
            else if (holder.kind == VhdlValue::Record && holder.type)
                type = holder.type->base->fields[size_t(path.back().offset)].type;
        }
        VhdlValue value = ev_.Evaluate(valueNode, type);
        if (type && type->IsArray() && !type->constrained && current.kind == VhdlValue::Array) {
            // A variable of unconstrained type (a parameter) keeps its bounds.
            value = ev_.Conform(value, ev_.ConstrainedArray(type, current.Range()), valueNode);
        } else if (type) {
            value = ev_.Conform(value, type, valueNode);
        }
        Store(slot->value, path, 0, std::move(value), valueNode);
    }

    VhdlEvaluator& ev_;
    const VhdlType* returnType_;
};

bool VhdlEvaluator::Matches(const VhdlValue& selector, const VhdlNodeList& choices) {
    for (VhdlTreeNode* choice : choices) {
        if (choice->GetClassId() == VhdlOthers::kClassId) return true;
        if (choice->GetClassId() == VhdlRange::kClassId ||
            choice->GetClassId() == VhdlExplicitSubtypeIndication::kClassId ||
            (choice->GetClassId() == VhdlAttributeName::kClassId)) {
            const VhdlType* t = nullptr;
            bool isRange = choice->GetClassId() != VhdlAttributeName::kClassId;
            if (!isRange) {
                auto* a = static_cast<VhdlAttributeName*>(choice);
                std::string d = a->designator ? Lower(a->designator->text) : "";
                isRange = d == "range" || d == "reverse_range";
            }
            if (isRange) {
                VhdlBounds r = EvaluateRange(choice, &t);
                if (r.Contains(selector.i)) return true;
                continue;
            }
        }
        if (auto* ref = dynamic_cast<VhdlIdRef*>(choice)) {
            const VhdlIdDef* id = ref->resolved;
            if (id && (id->GetClassId() == VhdlTypeId::kClassId || id->GetClassId() == VhdlSubtypeId::kClassId)) {
                const VhdlType* t = nullptr;
                if (EvaluateRange(choice, &t).Contains(selector.i)) return true;
                continue;
            }
        }
        VhdlValue v = Evaluate(choice, selector.type);
        if (selector.type) v = Conform(v, selector.type->IsArray() ? selector.type->base : selector.type, choice);
        if (VhdlValueEqual(selector, v)) return true;
    }
    return false;
}

const VhdlSubprogramBody* VhdlEvaluator::BodyOf(const VhdlIdDef* subprogram) {
    const VhdlSubprogramSpec* spec = VhdlSpecOf(subprogram);
    if (!spec) return nullptr;
    auto it = impl_->bodies.find(spec);
    if (it != impl_->bodies.end()) return it->second;
    // A package's bodies are known once its frame exists.
    if (spec->id && DeclaringFrame(spec->id)) {
        it = impl_->bodies.find(spec);
        if (it != impl_->bodies.end()) return it->second;
    }
    return nullptr;
}

void VhdlEvaluator::Report(const VhdlTreeNode* where, const VhdlValue& message, int64_t severity) {
    static const char* kNames[] = {"note", "warning", "error", "failure"};
    std::string text = message.kind == VhdlValue::Array ? StringOf(message) : VhdlImage(message);
    const char* name = severity >= 0 && severity <= 3 ? kNames[severity] : "error";
    if (severity >= 3)
        throw VhdlEvalError(vhdl_msg::kElabAssertion, where ? where->Linefile() : ColLineFile(),
                            std::string("assertion failure: ") + text);
    msg_type_t type = severity <= 0 ? MSG_INFO : severity == 1 ? MSG_WARNING : MSG_ERROR;
    ColLineFile loc = where ? where->Linefile() : ColLineFile();
    Message::TellAs<vhdl_msg::ElabAssertionReport>(type, &loc, name, text.c_str());
}

VhdlValue VhdlEvaluator::Call(const VhdlIdDef* subprogram, const VhdlNodeList& actuals, const VhdlTreeNode* where,
                              const VhdlType* expected, const std::vector<VhdlValue>* preset) {
    Step(where);
    const VhdlSubprogramSpec* spec = VhdlSpecOf(subprogram);
    if (!spec || !spec->id) NotStatic(where, "call");
    std::vector<Formal> formals = FormalsOf(*spec);
    // Per formal: the actual's node and its place among the actuals (-1: none).
    std::vector<const VhdlTreeNode*> nodes;
    std::vector<int> places;
    if (actuals.Empty() && preset) {
        nodes.assign(formals.size(), nullptr);
        places.assign(formals.size(), -1);
        if (preset->size() > formals.size()) Fail<vhdl_msg::ElabActualsDoNotMatch>(where, Text(where).c_str());
        for (size_t i = 0; i < preset->size(); ++i) places[i] = int(i);
    } else if (!Associate(formals, actuals, nodes, places)) {
        Fail<vhdl_msg::ElabActualsDoNotMatch>(where, Text(where).c_str());
    }
    // An actual already evaluated (to choose among overloads) is not evaluated again.
    auto actualValue = [&](size_t i, const VhdlType* type) {
        if (preset && places[i] >= 0 && size_t(places[i]) < preset->size() && !(*preset)[size_t(places[i])].IsNone())
            return (*preset)[size_t(places[i])];
        return Evaluate(nodes[i], type);
    };
    auto given = [&](size_t i) { return nodes[i] || (preset && places[i] >= 0); };
    std::string package = PackageOf(spec->id);
    std::string name = Lower(spec->id->Name());
    bool isFunction = spec->GetClassId() == VhdlFunctionSpec::kClassId;
    VhdlFrame* declaring = DeclaringFrame(spec->id);

    // The return type, in the region of the declaration.
    const VhdlType* returnType = nullptr;
    if (isFunction && spec->returnType) {
        VhdlFrame* saved = current_;
        if (declaring) current_ = declaring;
        try {
            returnType = EvaluateSubtype(spec->returnType);
        } catch (...) {
            current_ = saved;
            throw;
        }
        current_ = saved;
    }

    if (IsStandardPackage(package) && HasNative(package, name)) {
        std::vector<VhdlValue> args(nodes.size());
        for (size_t i = 0; i < nodes.size(); ++i)
            if (given(i)) args[i] = actualValue(i, nullptr);
        VhdlValue result;
        CallNative(*this, package, name, args, returnType, where, result);
        return result;
    }
    const VhdlSubprogramBody* body = BodyOf(spec->id);
    if (!body) {
        if (IsStandardPackage(package))
            Fail<vhdl_msg::ElabPackageItemCannotEvaluate>(where, std::string(spec->id->OrigName()).c_str(),
                                                          package.c_str());
        Fail<vhdl_msg::ElabNoSubprogramBody>(where, std::string(spec->id->OrigName()).c_str());
    }
    if (impl_->callDepth >= limits_.callDepth)
        Fail<vhdl_msg::ElabCallsTooDeep>(where, limits_.callDepth, std::string(spec->id->OrigName()).c_str());

    // The frame of the region that declares the body: its constants are visible.
    VhdlFrame* parent = nullptr;
    auto region = impl_->bodyRegions.find(body);
    if (region != impl_->bodyRegions.end()) {
        for (VhdlFrame* f = current_; f && !parent; f = f->parent)
            if (f->region == region->second) parent = f;
        for (VhdlFrame* f = current_; f && !parent; f = f->caller)
            for (VhdlFrame* g = f; g && !parent; g = g->parent)
                if (g->region == region->second) parent = g;
    }
    if (!parent) parent = declaring ? declaring : current_;

    // Parameters: their subtypes in the callee's region, actuals in the caller's.
    std::vector<VhdlValue> values(formals.size());
    std::vector<const VhdlType*> types(formals.size());
    for (size_t i = 0; i < formals.size(); ++i) {
        VhdlFrame* saved = current_;
        current_ = parent;
        try {
            types[i] = EvaluateSubtype(formals[i].decl->subtype);
        } catch (...) {
            current_ = saved;
            throw;
        }
        current_ = saved;
        unsigned mode = formals[i].decl->mode;
        if (given(i)) {
            if (mode == VHDL_OUT) continue;
            values[i] = Conform(actualValue(i, types[i]), types[i], nodes[i] ? nodes[i] : where);
        } else if (formals[i].decl->init) {
            current_ = parent;
            try {
                values[i] = Conform(Evaluate(formals[i].decl->init, types[i]), types[i], formals[i].decl->init);
            } catch (...) {
                current_ = saved;
                throw;
            }
            current_ = saved;
        } else if (mode != VHDL_OUT) {
            Fail<vhdl_msg::ElabNoActual>(where, std::string(formals[i].id->OrigName()).c_str(),
                                         std::string(spec->id->OrigName()).c_str());
        }
    }

    // The body declares its parameters again; its statements name those.
    std::vector<Formal> bodyFormals = body->spec ? FormalsOf(*body->spec) : formals;
    if (bodyFormals.size() != formals.size()) bodyFormals = formals;
    VhdlFrame* caller = current_;
    ++impl_->callDepth;
    VhdlValue result;
    std::vector<VhdlValue> outValues(formals.size());
    try {
        VhdlFrameScope scope(*this, body, parent);
        VhdlInterpreter run(*this, returnType);
        for (size_t i = 0; i < formals.size(); ++i) {
            if (formals[i].decl->mode == VHDL_OUT && values[i].IsNone()) values[i] = run.DefaultValue(types[i], where);
            const VhdlType* t = types[i];
            if (t && t->IsArray() && !t->constrained && values[i].kind == VhdlValue::Array)
                t = ConstrainedArray(t, values[i].Range());
            Bind(scope.Frame(), bodyFormals[i].id, values[i], t);
        }
        run.Elaborate(body->declarations);
        run.Run(body->statements);
        if (isFunction && !scope.Frame()->returned)
            Fail<vhdl_msg::ElabFunctionWithoutReturn>(where, std::string(spec->id->OrigName()).c_str());
        result = scope.Frame()->result;
        for (size_t i = 0; i < formals.size(); ++i) {
            unsigned mode = formals[i].decl->mode;
            if ((mode == VHDL_OUT || mode == VHDL_INOUT) && nodes[i])
                outValues[i] = scope.Frame()->slots[bodyFormals[i].id].value;
        }
    } catch (...) {
        --impl_->callDepth;
        throw;
    }
    --impl_->callDepth;
    // Out and inout parameters go back to the caller's variables.
    for (size_t i = 0; i < formals.size(); ++i) {
        if (outValues[i].IsNone() || !nodes[i]) continue;
        const VhdlIdDef* target = IdOf(nodes[i]);
        VhdlSlot* slot = nullptr;
        for (VhdlFrame* f = caller; f && !slot; f = f->parent) {
            auto it = f->slots.find(target);
            if (it != f->slots.end()) slot = &it->second;
        }
        if (!slot) Fail<vhdl_msg::ElabNotAVariable>(nodes[i], Text(nodes[i]).c_str());
        slot->value = outValues[i];
    }
    (void)expected;
    return result;
}

} // namespace hdl
