// Constant functions (IEEE 1800-2017 13.4.3): a call runs the function's statements in a
// frame of its own, its arguments and local variables there, with loop and call-depth
// bounds so that a loop or a recursion without end stops with a message.
#include <algorithm>

#include "hdl/base/Message.h"
#include "hdl/elab/VeriEvaluator.h"
#include "hdl/elab/VeriNodeCast.h"
#include "hdl/sv/VeriParserMessageIds.h"
#include "hdl/sv/VeriTokens.h"

namespace hdl {

class VeriInterpreter {
public:
    enum Flow { Normal, Break, Continue, Return, Error };

    VeriInterpreter(VeriEvaluator& eval, const VeriFunctionDecl& func) : eval_(eval), func_(func) {}

    VeriValue Run(const VeriFunctionCall& call, VeriFrame* caller);

private:
    Flow Exec(const VeriStatement* s, VeriFrame* frame);
    Flow Loop(const VeriTreeNode* where, const VeriExpression* cond, const VeriStatement* body,
              const ArenaArray<VeriStatement*>* reps, VeriFrame* frame, bool testFirst);
    bool Declare(const VeriModuleItem* item, VeriFrame* frame);
    bool Assign(const VeriExpression* lval, const VeriValue& value, VeriFrame* frame);
    VeriValue* Slot(const VeriIdDef* id, VeriFrame* frame);
    VeriValue Initial(const VeriIdDef* id, VeriFrame* frame);
    VeriValue RValue(const VeriExpression* e, const VeriValue& target, VeriFrame* frame);
    bool Fail(const VeriTreeNode* where, const char* why);

    VeriEvaluator& eval_;
    const VeriFunctionDecl& func_;
    VeriValue result_;
};

namespace {

VeriShape ShapeOf(const VeriValue& v) { return {v.width, v.isSigned, v.IsReal(), false}; }

bool FourState(const VeriDataType* type) {
    if (!type) return true;
    switch (type->type) {
    case VT_INT:
    case VT_BIT:
    case VT_BYTE:
    case VT_SHORTINT:
    case VT_LONGINT: return false;
    default: return true;
    }
}

} // namespace

bool VeriInterpreter::Fail(const VeriTreeNode* where, const char* why) {
    eval_.Error();
    ColLineFile loc = where ? where->Linefile() : func_.Linefile();
    std::string name(func_.id ? func_.id->Name() : std::string_view("?"));
    Message::Tell<veri_msg::ElabFunctionNotConstant>(&loc, name.c_str(), why);
    return false;
}

VeriValue VeriInterpreter::Initial(const VeriIdDef* id, VeriFrame* frame) {
    VeriShape s = eval_.TypeShape(id->GetDataType(), frame);
    if (s.real) return VeriValue::MakeReal(0);
    if (s.width == 0) return VeriValue::String("");
    return FourState(id->GetDataType()) ? VeriValue::AllX(s.width, s.isSigned) : VeriValue::Int(0, s.width, s.isSigned);
}

bool VeriInterpreter::Declare(const VeriModuleItem* item, VeriFrame* frame) {
    auto* decl = VeriAs<VeriDataDecl>(item);
    if (!decl) return true;
    for (const VeriIdDef* id : decl->ids) {
        if (!id) continue;
        if (id->IsParam()) {
            frame->pending[id].expr = id->GetInitialValue();
            continue;
        }
        if (decl->dir && frame->values.count(id)) continue; // an argument, set by the call
        VeriValue v = Initial(id, frame);
        if (const VeriExpression* init = id->GetInitialValue()) v = RValue(init, v, frame);
        if (v.kind == VeriValue::None) return false;
        frame->values[id] = v;
    }
    return true;
}

VeriValue* VeriInterpreter::Slot(const VeriIdDef* id, VeriFrame* frame) {
    for (VeriFrame* f = frame; f; f = f->upper) {
        auto it = f->values.find(id);
        if (it != f->values.end()) return &it->second;
    }
    return nullptr;
}

VeriValue VeriInterpreter::RValue(const VeriExpression* e, const VeriValue& target, VeriFrame* frame) {
    VeriShape ts = ShapeOf(target);
    if (target.IsVec() && target.width == 0) return eval_.Evaluate(e, frame);
    VeriShape ctx = eval_.Shape(e, frame);
    if (!ctx.real && !ts.real) ctx.width = std::max(ctx.width, ts.width);
    VeriValue v = eval_.Eval(e, frame, ctx);
    if (v.kind == VeriValue::None) return v;
    return VeriEvaluator::Convert(v, ts);
}

bool VeriInterpreter::Assign(const VeriExpression* lval, const VeriValue& value, VeriFrame* frame) {
    if (auto* ref = VeriAs<VeriIdRef>(lval)) {
        VeriValue* slot = Slot(ref->id, frame);
        if (!slot) return Fail(lval, "it assigns to something not local to the function");
        *slot = slot->width == 0 && slot->IsVec() ? value : VeriEvaluator::Convert(value, ShapeOf(*slot));
        return true;
    }
    if (auto* x = VeriAs<VeriIndexedId>(lval)) {
        VeriValue* slot = Slot(x->GetId(), frame);
        if (!slot || !slot->IsVec() || !VeriAs<VeriIdRef>(x->prefix))
            return Fail(lval, "it assigns to a select of something not local to the function");
        int64_t msb = 0, lsb = 0;
        eval_.PackedRange(x->GetId(), *slot, frame, msb, lsb);
        auto* range = VeriAs<VeriRange>(x->index);
        int64_t hi = 0, lo = 0;
        if (range && range->right) {
            int64_t a = 0, b = 0;
            if (!VeriToInt(eval_, eval_.Evaluate(range->left, frame), range->left, a)) return false;
            if (!VeriToInt(eval_, eval_.Evaluate(range->right, frame), range->right, b)) return false;
            if (range->partSelect == VT_PLUS_COLON) {
                hi = msb >= lsb ? a + b - 1 : a;
                lo = msb >= lsb ? a : a + b - 1;
            } else if (range->partSelect == VT_MINUS_COLON) {
                hi = msb >= lsb ? a : a - b + 1;
                lo = msb >= lsb ? a - b + 1 : a;
            } else {
                hi = a;
                lo = b;
            }
        } else {
            const VeriExpression* ix = range ? range->left : x->index;
            if (!VeriToInt(eval_, eval_.Evaluate(ix, frame), ix, hi)) return false;
            lo = hi;
        }
        auto offset = [&](int64_t i) { return msb >= lsb ? i - lsb : lsb - i; };
        int64_t from = std::min(offset(hi), offset(lo));
        int64_t to = std::max(offset(hi), offset(lo));
        VeriValue bits = value.IsReal() ? VeriEvaluator::Convert(value, {uint32_t(to - from + 1), false})
                                        : value.Resized(uint32_t(to - from + 1), value.isSigned);
        for (int64_t i = from; i <= to; ++i)
            if (i >= 0 && i < int64_t(slot->width)) slot->SetBit(uint32_t(i), bits.Bit(uint32_t(i - from)));
        return true;
    }
    if (auto* c = VeriAs<VeriConcat>(lval)) {
        uint32_t at = value.width;
        for (const VeriExpression* part : c->exprs) {
            VeriShape s = eval_.Shape(part, frame);
            VeriValue piece = VeriValue::Bits(s.width, false);
            for (uint32_t i = 0; i < s.width && at >= s.width; ++i) piece.SetBit(i, value.Bit(at - s.width + i));
            at = at >= s.width ? at - s.width : 0;
            if (!Assign(part, piece, frame)) return false;
        }
        return true;
    }
    return Fail(lval, "it assigns to something elaboration cannot hold");
}

VeriInterpreter::Flow VeriInterpreter::Loop(const VeriTreeNode* where, const VeriExpression* cond,
                                            const VeriStatement* body, const ArenaArray<VeriStatement*>* reps,
                                            VeriFrame* frame, bool testFirst) {
    uint64_t n = 0;
    for (;;) {
        if (testFirst || n > 0) {
            if (cond) {
                VeriValue c = eval_.Evaluate(cond, frame);
                if (c.kind == VeriValue::None) return Error;
                if (c.Truth() != 1) return Normal;
            }
        }
        if (++n > eval_.Limits().loopIterations) {
            eval_.Error();
            ColLineFile loc = where->Linefile();
            Message::Tell<veri_msg::ElabLoopBound>(&loc,
                                                   unsigned(std::min<uint64_t>(eval_.Limits().loopIterations, ~0u)));
            return Error;
        }
        Flow f = Exec(body, frame);
        if (f == Break) return Normal;
        if (f == Return || f == Error) return f;
        if (reps)
            for (const VeriStatement* r : *reps)
                if (Exec(r, frame) == Error) return Error;
        if (eval_.Exhausted()) return Error;
    }
}

VeriInterpreter::Flow VeriInterpreter::Exec(const VeriStatement* s, VeriFrame* frame) {
    if (!s) return Normal;
    if (!eval_.Step(s)) return Error;
    switch (s->GetClassId()) {
    case ID_VERISEQBLOCK: {
        auto* b = static_cast<const VeriSeqBlock*>(s);
        for (const VeriModuleItem* d : b->decls)
            if (!Declare(d, frame)) return Error;
        for (const VeriStatement* x : b->stmts) {
            Flow f = Exec(x, frame);
            if (f != Normal) return f;
        }
        return Normal;
    }
    case ID_VERIBLOCKINGASSIGN:
    case ID_VERINONBLOCKINGASSIGN: {
        const VeriExpression* lval;
        const VeriExpression* rval;
        unsigned oper = VT_EQ;
        if (auto* blocking = VeriAs<VeriBlockingAssign>(s)) {
            lval = blocking->lval;
            rval = blocking->rval;
            oper = blocking->oper ? blocking->oper : unsigned(VT_EQ);
        } else {
            auto* nonBlocking = static_cast<const VeriNonBlockingAssign*>(s);
            lval = nonBlocking->lval;
            rval = nonBlocking->rval;
        }
        const VeriIdDef* assigned = lval ? lval->GetId() : nullptr;
        if (assigned && !Slot(assigned, frame)) {
            Fail(lval, "it assigns to something not local to the function");
            return Error;
        }
        VeriValue target = eval_.Evaluate(lval, frame);
        if (target.kind == VeriValue::None) return Error;
        VeriValue v;
        if (oper == VT_EQ) {
            v = RValue(rval, target, frame);
        } else {
            // x op= y and x++ as x = x op y, in x's width.
            VeriValue r = oper == VT_INC || oper == VT_DEC ? VeriValue::Int(1, target.width, target.isSigned)
                                                           : RValue(rval, target, frame);
            if (r.kind == VeriValue::None) return Error;
            VeriValue l = target;
            bool sg = l.isSigned && r.isSigned;
            if (l.IsReal() || r.IsReal()) {
                double x = l.ToReal(), y = r.ToReal();
                double z = oper == VT_MINUS_EQ || oper == VT_DEC ? x - y
                           : oper == VT_STAR_EQ                  ? x * y
                           : oper == VT_SLASH_EQ                 ? x / y
                                                                 : x + y;
                v = VeriValue::MakeReal(z);
            } else {
                r = r.Resized(l.width, sg);
                bool byZero = false;
                switch (oper) {
                case VT_INC:
                case VT_PLUS_EQ: v = veri_ops::Add(l, r); break;
                case VT_DEC:
                case VT_MINUS_EQ: v = veri_ops::Sub(l, r); break;
                case VT_STAR_EQ: v = veri_ops::Mul(l, r); break;
                case VT_SLASH_EQ: v = veri_ops::Div(l, r, sg, byZero); break;
                case VT_MOD_EQ: v = veri_ops::Mod(l, r, sg, byZero); break;
                case VT_AND_EQ: v = veri_ops::And(l, r); break;
                case VT_OR_EQ: v = veri_ops::Or(l, r); break;
                case VT_XOR_EQ: v = veri_ops::Xor(l, r); break;
                case VT_SHL_EQ:
                case VT_ASHL_EQ: v = veri_ops::ShiftLeft(l, r); break;
                case VT_SHR_EQ: v = veri_ops::ShiftRight(l, r, false); break;
                case VT_ASHR_EQ: v = veri_ops::ShiftRight(l, r, l.isSigned); break;
                default: return Fail(s, "an assignment operator it does not know") ? Normal : Error;
                }
                if (byZero) {
                    ColLineFile loc = s->Linefile();
                    Message::Tell<veri_msg::ElabDivisionByZero>(&loc);
                }
            }
        }
        if (v.kind == VeriValue::None) return Error;
        return Assign(lval, v, frame) ? Normal : Error;
    }
    case ID_VERICONDITIONALSTATEMENT: {
        auto* c = static_cast<const VeriConditionalStatement*>(s);
        VeriValue v = eval_.Evaluate(c->cond, frame);
        if (v.kind == VeriValue::None) return Error;
        return Exec(v.Truth() == 1 ? c->thenStmt : c->elseStmt, frame);
    }
    case ID_VERICASESTATEMENT: {
        auto* c = static_cast<const VeriCaseStatement*>(s);
        VeriValue sel = eval_.Evaluate(c->cond, frame);
        if (sel.kind == VeriValue::None) return Error;
        const VeriStatement* chosen = nullptr;
        const VeriStatement* fallback = nullptr;
        for (const VeriCaseItem* item : c->items) {
            if (!item) continue;
            if (item->conditions.Empty()) {
                fallback = item->stmt;
                continue;
            }
            for (const VeriExpression* cond : item->conditions) {
                VeriValue v = eval_.Evaluate(cond, frame);
                if (v.kind == VeriValue::None) return Error;
                uint32_t w = std::max(sel.width, v.width);
                bool sg = sel.isSigned && v.isSigned;
                VeriValue a = sel.Resized(w, sg), b = v.Resized(w, sg);
                bool match = false;
                if (c->caseType == VT_CASEZ || c->caseType == VT_CASEX) {
                    match = true;
                    for (uint32_t i = 0; i < w && match; ++i) {
                        int x = a.Bit(i), y = b.Bit(i);
                        bool dontCare = x == 3 || y == 3 || (c->caseType == VT_CASEX && (x == 2 || y == 2));
                        match = dontCare || x == y;
                    }
                } else if (c->inside) {
                    match = veri_ops::WildEqual(a, b).Truth() == 1;
                } else {
                    match = veri_ops::CaseEqual(a, b).Truth() == 1;
                }
                if (match) {
                    chosen = item->stmt;
                    break;
                }
            }
            if (chosen) break;
        }
        return Exec(chosen ? chosen : fallback, frame);
    }
    case ID_VERIFOR: {
        auto* f = static_cast<const VeriFor*>(s);
        for (const VeriModuleItem* init : f->inits) {
            if (auto* st = VeriAs<VeriStatement>(init)) {
                if (Exec(st, frame) == Error) return Error;
            } else if (!Declare(init, frame)) {
                return Error;
            }
        }
        return Loop(s, f->cond, f->stmt, &f->reps, frame, true);
    }
    case ID_VERIWHILE: {
        auto* w = static_cast<const VeriWhile*>(s);
        return Loop(s, w->cond, w->stmt, nullptr, frame, true);
    }
    case ID_VERIDOWHILE: {
        auto* w = static_cast<const VeriDoWhile*>(s);
        return Loop(s, w->cond, w->stmt, nullptr, frame, false);
    }
    case ID_VERIFOREVER: return Loop(s, nullptr, static_cast<const VeriForever*>(s)->stmt, nullptr, frame, true);
    case ID_VERIREPEAT: {
        auto* r = static_cast<const VeriRepeat*>(s);
        int64_t n = 0;
        if (!VeriToInt(eval_, eval_.Evaluate(r->count, frame), r->count, n)) return Error;
        for (int64_t i = 0; i < n; ++i) {
            if (uint64_t(i) >= eval_.Limits().loopIterations) {
                eval_.Error();
                ColLineFile loc = s->Linefile();
                Message::Tell<veri_msg::ElabLoopBound>(
                    &loc, unsigned(std::min<uint64_t>(eval_.Limits().loopIterations, ~0u)));
                return Error;
            }
            Flow f = Exec(r->stmt, frame);
            if (f == Break) break;
            if (f == Return || f == Error) return f;
        }
        return Normal;
    }
    case ID_VERIJUMPSTATEMENT: {
        auto* j = static_cast<const VeriJumpStatement*>(s);
        if (j->kind == VT_BREAK) return Break;
        if (j->kind == VT_CONTINUE) return Continue;
        if (j->expr && func_.id) {
            VeriValue* slot = Slot(func_.id, frame);
            VeriValue v = slot ? RValue(j->expr, *slot, frame) : eval_.Evaluate(j->expr, frame);
            if (v.kind == VeriValue::None) return Error;
            if (slot) *slot = v;
        }
        return Return;
    }
    case ID_VERINULLSTATEMENT:
    case ID_VERISYSTEMTASKENABLE: return Normal; // $display and the like do nothing here
    case ID_VERITASKENABLE: {
        auto* t = static_cast<const VeriTaskEnable*>(s);
        if (auto* call = VeriAs<VeriFunctionCall>(t->call))
            return eval_.Call(call, frame).kind == VeriValue::None ? Error : Normal;
        return Fail(s, "it enables a task") ? Normal : Error;
    }
    default: return Fail(s, "a statement a constant function cannot hold") ? Normal : Error;
    }
}

VeriValue VeriInterpreter::Run(const VeriFunctionCall& call, VeriFrame* caller) {
    VeriFrame frame(caller);
    // Formals in order: ANSI port declarations, else the declarations with a direction.
    std::vector<const VeriIdDef*> formals;
    for (const VeriTreeNode* p : func_.ports) {
        if (auto* decl = VeriAs<VeriAnsiPortDecl>(p)) {
            for (const VeriIdDef* id : decl->ids) formals.push_back(id);
        } else if (auto* d = VeriAs<VeriDataDecl>(p)) {
            for (const VeriIdDef* id : d->ids) formals.push_back(id);
        }
    }
    if (formals.empty()) {
        for (const VeriModuleItem* item : func_.decls)
            if (auto* d = VeriAs<VeriDataDecl>(item); d && d->dir)
                for (const VeriIdDef* id : d->ids) formals.push_back(id);
    }
    for (size_t i = 0; i < formals.size(); ++i) {
        const VeriIdDef* formal = formals[i];
        if (!formal) continue;
        const VeriExpression* actual = nullptr;
        for (const VeriExpression* a : call.args) {
            if (auto* named = VeriAs<VeriPortConnect>(a); named && named->portName == formal->Name())
                actual = named->connection;
        }
        if (!actual && i < call.args.Size() && !VeriAs<VeriPortConnect>(call.args[i])) actual = call.args[i];
        if (!actual) actual = formal->GetInitialValue();
        VeriValue slot = Initial(formal, caller);
        if (!actual) {
            frame.values[formal] = slot;
            continue;
        }
        VeriValue v = RValue(actual, slot, caller);
        if (v.kind == VeriValue::None) return v;
        frame.values[formal] = v;
    }
    if (func_.id) {
        VeriValue r;
        if (func_.returnType) {
            VeriShape s = eval_.TypeShape(func_.returnType, &frame);
            r = s.real                        ? VeriValue::MakeReal(0)
                : FourState(func_.returnType) ? VeriValue::AllX(s.width, s.isSigned)
                                              : VeriValue::Int(0, s.width, s.isSigned);
            if (func_.returnType->type == VT_VOID) r = VeriValue::Int(0, 1, false);
        } else {
            r = VeriValue::AllX(1, false);
        }
        frame.values[func_.id] = r;
    }
    for (const VeriModuleItem* d : func_.decls)
        if (!Declare(d, &frame)) return VeriValue();
    for (const VeriStatement* s : func_.stmts) {
        Flow f = Exec(s, &frame);
        if (f == Error) return VeriValue();
        if (f == Return) break;
    }
    return func_.id ? frame.values[func_.id] : VeriValue::Int(0, 1, false);
}

VeriValue VeriEvaluator::Call(const VeriFunctionCall* call, VeriFrame* frame) {
    const VeriIdDef* id = call->GetId();
    auto* decl = id ? VeriAs<VeriFunctionDecl>(id->declaration) : nullptr;
    if (!decl || decl->prototype || decl->dpi || decl->GetClassId() == ID_VERITASKDECL) return Fail(call, nullptr);
    if (callDepth_ >= limits_.callDepth) {
        ++errors_;
        ColLineFile loc = call->Linefile();
        std::string name(id->Name());
        Message::Tell<veri_msg::ElabCallDepth>(&loc, name.c_str(), unsigned(limits_.callDepth));
        return VeriValue();
    }
    ++callDepth_;
    VeriInterpreter run(*this, *decl);
    VeriValue v = run.Run(*call, frame);
    --callDepth_;
    return v;
}

} // namespace hdl
