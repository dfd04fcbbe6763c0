#include "hdl/elab/VeriEvaluator.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "hdl/base/Message.h"
#include "hdl/elab/VeriNodeCast.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriParserMessageIds.h"
#include "hdl/sv/VeriPrettyPrinter.h"
#include "hdl/sv/VeriTokens.h"

namespace hdl {

namespace {

std::string Text(const VeriTreeNode* node) {
    if (!node) return "expression";
    std::string s = VeriPrettyPrinter::toString(const_cast<VeriTreeNode&>(*node));
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.pop_back();
    if (s.size() > 80) s = s.substr(0, 77) + "...";
    return s;
}

uint32_t KeywordWidth(unsigned type, bool& isSigned, bool& real) {
    switch (type) {
    case VT_INTEGER:
    case VT_INT: isSigned = true; return 32;
    case VT_SHORTINT: isSigned = true; return 16;
    case VT_LONGINT: isSigned = true; return 64;
    case VT_BYTE: isSigned = true; return 8;
    case VT_TIME: return 64;
    case VT_REAL:
    case VT_REALTIME:
    case VT_SHORTREAL: real = true; return 64;
    case VT_STRING: return 0;
    default: return 1; // logic, bit, reg, nets, implicit
    }
}

bool IsComparison(unsigned op) {
    switch (op) {
    case VT_LT:
    case VT_LE:
    case VT_GT:
    case VT_GE:
    case VT_LOGEQ:
    case VT_LOGNEQ:
    case VT_CASE_EQ:
    case VT_CASE_NEQ:
    case VT_WILD_EQ:
    case VT_WILD_NEQ: return true;
    default: return false;
    }
}

bool IsLogical(unsigned op) {
    return op == VT_LOGAND || op == VT_LOGOR || op == VT_ARROW || op == VT_EQUIV || op == VT_INSIDE;
}

bool IsShiftOrPower(unsigned op) {
    return op == VT_SHL || op == VT_SHR || op == VT_ASHL || op == VT_ASHR || op == VT_POWER;
}

} // namespace

VeriEvaluator::VeriEvaluator(const ElabLimits& limits) : limits_(limits) {}

bool VeriEvaluator::InPackage(const VeriIdDef* id) {
    if (!packageIdsBuilt_) {
        packageIdsBuilt_ = true;
        for (VeriLibrary* lib : veri_file::AllLibraries()) {
            for (VeriModule* m : lib->AllModules()) {
                if (!m->IsPackage() || !m->GetScope()) continue;
                for (uint32_t i = 0; i < m->GetScope()->DeclarationCount(); ++i)
                    packageIds_.insert(m->GetScope()->Declaration(i));
            }
        }
    }
    return packageIds_.count(id) != 0;
}

bool VeriEvaluator::Step(const VeriTreeNode* where) {
    if (exhausted_) return false;
    if (++steps_ <= limits_.steps) return true;
    exhausted_ = true;
    ++errors_;
    ColLineFile loc = where ? where->Linefile() : ColLineFile();
    Message::Tell<veri_msg::ElabSteps>(where ? &loc : nullptr, "evaluation steps");
    return false;
}

VeriValue VeriEvaluator::Fail(const VeriTreeNode* where, const char* what) {
    ++errors_;
    ColLineFile loc = where ? where->Linefile() : ColLineFile();
    std::string text = what ? std::string(what) : Text(where);
    Message::Tell<veri_msg::ElabNotConstant>(where ? &loc : nullptr, text.c_str());
    return VeriValue();
}

bool VeriToInt(VeriEvaluator& eval, const VeriValue& v, const VeriTreeNode* where, int64_t& out) {
    if (v.kind == VeriValue::None) return false;
    if (v.ToInt64(out)) return true;
    eval.Error();
    ColLineFile loc = where ? where->Linefile() : ColLineFile();
    std::string text = "'" + Text(where) + "' (" + v.Image() + ")";
    Message::Tell<veri_msg::ElabNotConstant>(where ? &loc : nullptr, text.c_str());
    return false;
}

VeriValue VeriEvaluator::Convert(const VeriValue& v, const VeriShape& shape) {
    if (shape.type || v.kind == VeriValue::None || v.kind == VeriValue::Type) return v;
    if (shape.real) {
        if (v.IsReal()) return v;
        return VeriValue::MakeReal(v.ToReal());
    }
    if (shape.width == 0) return v; // string variables keep what they get
    VeriValue r;
    if (v.IsReal()) {
        // Reals round to the nearest integer, ties away from zero.
        double rounded = std::round(v.real);
        if (std::fabs(rounded) < 9.2e18) {
            r = VeriValue::Int(int64_t(rounded), std::max<uint32_t>(shape.width, 64), true);
        } else {
            r = VeriValue::Bits(shape.width, shape.isSigned);
        }
        r = r.Resized(shape.width, true);
    } else {
        r = v.Resized(shape.width, v.isSigned);
    }
    r.isSigned = shape.isSigned;
    r.sized = true;
    return r;
}

VeriValue VeriEvaluator::Evaluate(const VeriExpression* e, VeriFrame* frame) {
    if (!e) return VeriValue();
    VeriShape s = Shape(e, frame);
    return Eval(e, frame, s);
}

VeriValue VeriEvaluator::EvaluateAs(const VeriExpression* e, const VeriDataType* type, const VeriRange* unpacked,
                                    VeriFrame* frame) {
    if (!e) return VeriValue();
    bool typed = type && (type->GetClassId() != ID_VERIDATATYPE || type->type || type->signing || type->dimensions);
    if (!typed) {
        if (auto* p = VeriAs<VeriAssignmentPattern>(e); p && p->type)
            return Pattern(e, TypeShape(p->type, frame), p->type, frame);
        return Evaluate(e, frame);
    }
    VeriShape target = TypeShape(type, frame);
    if (unpacked) {
        // Unpacked arrays of parameters are kept as the concatenation of their elements.
        int64_t count = 1;
        for (const VeriRange* r = unpacked; r; r = r->next) {
            int64_t l = 0, rr = 0;
            if (!VeriToInt(*this, Evaluate(r->left, frame), r, l)) return VeriValue();
            if (r->right) {
                if (!VeriToInt(*this, Evaluate(r->right, frame), r, rr)) return VeriValue();
                count *= std::llabs(l - rr) + 1;
            } else {
                count *= l;
            }
        }
        if (VeriAs<VeriAssignmentPattern>(e) || VeriAs<VeriMultiAssignmentPattern>(e)) {
            VeriShape whole{uint32_t(target.width * count), false, false, false};
            return Pattern(e, whole, nullptr, frame);
        }
    }
    if (VeriAs<VeriAssignmentPattern>(e) || VeriAs<VeriMultiAssignmentPattern>(e))
        return Convert(Pattern(e, target, type, frame), target);
    if (target.real) return Convert(Evaluate(e, frame), target);
    VeriShape ctx = Shape(e, frame);
    if (!ctx.real && !ctx.type) ctx.width = std::max(ctx.width, target.width);
    return Convert(Eval(e, frame, ctx), target);
}

VeriValue VeriEvaluator::ParameterValue(const VeriIdDef* id, VeriFrame* frame) { return Lookup(id, frame, id); }

// ------------------------------------------------------------------ types

VeriShape VeriEvaluator::TypeShape(const VeriExpression* type, VeriFrame* frame) {
    VeriValue t = TypeValue(type, frame);
    VeriShape s;
    s.width = t.width;
    s.isSigned = t.isSigned;
    s.real = t.IsType() && (t.typeText == "real" || t.typeText == "realtime" || t.typeText == "shortreal");
    return s;
}

VeriValue VeriEvaluator::TypeValue(const VeriExpression* type, VeriFrame* frame) {
    if (!type) return VeriValue::MakeType("logic", 1, false);
    if (auto* op = VeriAs<VeriTypeOperator>(type)) {
        // type(expr) or type(data_type)
        if (VeriAs<VeriDataType>(op->arg)) return TypeValue(op->arg, frame);
        const VeriIdDef* member = nullptr;
        VeriFrame* at = nullptr;
        if (InterfaceMember(op->arg, frame, member, at) == Through::Failed) return VeriValue();
        VeriShape s = Shape(op->arg, frame);
        if (s.real) return VeriValue::MakeType("real", 64, true);
        return VeriValue::MakeType(std::string(s.isSigned ? "logic signed" : "logic") + "[" +
                                       std::to_string(s.width - 1) + ":0]",
                                   s.width, s.isSigned);
    }
    const VeriRange* dims = nullptr;
    VeriValue base;
    unsigned signing = 0;
    if (auto* ref = VeriAs<VeriTypeRef>(type)) {
        const VeriIdDef* id = ref->GetId();
        signing = ref->signing;
        dims = ref->dimensions;
        if (auto* p = VeriAs<VeriParamId>(id); p && p->IsType()) {
            base = Lookup(p, frame, type);
        } else if (auto* t = VeriAs<VeriTypeId>(id)) {
            base = TypeValue(t->dataType, frame);
            if (t->dimensions) {
                // typedef t name [N]: an unpacked array, kept as its packed equivalent.
                VeriValue inner = base;
                for (const VeriRange* r = t->dimensions; r; r = r->next) {
                    int64_t l = 0, rr = 0;
                    VeriToInt(*this, Evaluate(r->left, frame), r, l);
                    if (r->right) VeriToInt(*this, Evaluate(r->right, frame), r, rr);
                    int64_t n = r->right ? std::llabs(l - rr) + 1 : l;
                    base.width = uint32_t(base.width * n);
                }
                base.typeText = inner.typeText + "$" + std::to_string(base.width);
            }
        } else if (auto* intf = VeriAs<VeriInterfaceId>(id)) {
            return VeriValue::MakeType(std::string(intf->Name()), 0, false);
        } else {
            std::string name(ref->GetName());
            return VeriValue::MakeType(name.empty() ? "?" : name, 0, false);
        }
        if (base.kind != VeriValue::Type) return VeriValue::MakeType("?", 0, false);
    } else if (auto* su = VeriAs<VeriStructUnion>(type)) {
        uint32_t width = 0;
        std::string text = su->type == VT_UNION ? "union{" : "struct{";
        for (const VeriDataDecl* m : su->members) {
            if (!m) continue;
            VeriValue mt = TypeValue(m->dataType, frame);
            for (const VeriIdDef* mid : m->ids) {
                uint32_t w = mt.width;
                for (const VeriRange* r = mid->GetDimensions(); r; r = r->next) {
                    int64_t l = 0, rr = 0;
                    VeriToInt(*this, Evaluate(r->left, frame), r, l);
                    if (r->right) VeriToInt(*this, Evaluate(r->right, frame), r, rr);
                    w = uint32_t(w * (r->right ? std::llabs(l - rr) + 1 : l));
                }
                width = su->type == VT_UNION ? std::max(width, w) : width + w;
                text += mt.typeText + " " + std::string(mid->Name()) + ";";
            }
        }
        base = VeriValue::MakeType(text + "}", width, su->signing == VT_SIGNED);
        dims = su->dimensions;
        signing = 0;
    } else if (auto* en = VeriAs<VeriEnum>(type)) {
        base = en->baseType ? TypeValue(en->baseType, frame) : VeriValue::MakeType("int", 32, true);
        base.typeText = "enum{" + base.typeText + "}";
        dims = en->dimensions;
    } else if (auto* nd = VeriAs<VeriNetDataType>(type)) {
        base = TypeValue(nd->dataType, frame);
        dims = nd->dimensions;
    } else if (auto* dt = VeriAs<VeriDataType>(type)) {
        bool isSigned = false, real = false;
        uint32_t w = KeywordWidth(dt->type, isSigned, real);
        std::string name = dt->type ? std::string(tokenText(int(dt->type))) : "logic";
        if (dt->type == VT_REG || dt->type == VT_WIRE || dt->type == 0) name = "logic";
        base = VeriValue::MakeType(name, w, isSigned);
        dims = dt->dimensions;
        signing = dt->signing;
    } else if (auto* idref = VeriAs<VeriIdRef>(type)) {
        // A name used as a type (type parameter, typedef) where the parser saw an expression.
        const VeriIdDef* id = idref->id;
        if (auto* p = VeriAs<VeriParamId>(id); p && p->IsType()) return Lookup(p, frame, type);
        if (auto* t = VeriAs<VeriTypeId>(id)) return TypeValue(t->dataType, frame);
        return VeriValue::MakeType(std::string(idref->name), 0, false);
    } else {
        return VeriValue::MakeType(Text(type), 0, false);
    }
    if (signing == VT_SIGNED) base.isSigned = true;
    if (signing == VT_UNSIGNED) base.isSigned = false;
    if (signing) base.typeText += signing == VT_SIGNED ? " signed" : " unsigned";
    for (const VeriRange* r = dims; r; r = r->next) {
        int64_t l = 0, rr = 0;
        if (!r->left || !VeriToInt(*this, Evaluate(r->left, frame), r, l)) break;
        if (r->right && !VeriToInt(*this, Evaluate(r->right, frame), r, rr)) break;
        int64_t n = r->right ? std::llabs(l - rr) + 1 : l;
        base.width = uint32_t(std::min<int64_t>(int64_t(base.width) * n, int64_t(limits_.arrayElements)));
        base.typeText += "[" + std::to_string(l) + (r->right ? ":" + std::to_string(rr) : std::string()) + "]";
    }
    return base;
}

// ------------------------------------------------------------------ names

VeriValue VeriEvaluator::EnumLiteral(const VeriParamId* id, VeriFrame* frame) {
    auto* en = VeriAs<VeriEnum>(id->dataType);
    // The literals have the enum's base type (int without one).
    VeriShape s = en && en->baseType ? TypeShape(en->baseType, frame) : VeriShape{32, true, false, false};
    VeriValue next = VeriValue::Int(0, s.width, s.isSigned);
    if (!en) return next;
    for (const VeriParamId* lit : en->literals) {
        if (!lit) continue;
        VeriValue v = next;
        if (lit->initialValue) v = Convert(Evaluate(lit->initialValue, frame), s);
        if (lit == id) return v;
        next = veri_ops::Add(v, VeriValue::Int(1, s.width, s.isSigned));
    }
    return next;
}

VeriValue VeriEvaluator::Lookup(const VeriIdDef* id, VeriFrame* frame, const VeriTreeNode* where) {
    if (!id) return Fail(where, nullptr);
    if (auto* literal = VeriAs<VeriParamId>(id); literal && literal->enumLiteral) return EnumLiteral(literal, frame);
    for (VeriFrame* f = frame; f; f = f->upper) {
        auto v = f->values.find(id);
        if (v != f->values.end()) return v->second;
        auto p = f->pending.find(id);
        if (p == f->pending.end()) continue;
        VeriFrame::Pending& pend = p->second;
        if (pend.busy) {
            std::string text = "parameter '" + std::string(id->Name()) + "' (it depends on itself)";
            return Fail(where, text.c_str());
        }
        pend.busy = true;
        VeriValue value;
        auto* param = VeriAs<VeriParamId>(id);
        if (param && param->IsType()) {
            value = pend.hasValue ? pend.value : TypeValue(pend.expr, pend.frame ? pend.frame : f);
        } else if (pend.hasValue) {
            value = pend.value;
            // A value from outside takes the declared type: a real given to an integer
            // parameter rounds.
            if (param && param->dataType && (value.kind == VeriValue::Vec || value.IsReal()))
                value = Convert(value, TypeShape(param->dataType, f));
        } else {
            value = EvaluateAs(pend.expr, param ? param->dataType : nullptr, param ? param->dimensions : nullptr,
                               pend.frame ? pend.frame : f);
            // An override evaluated elsewhere still takes this parameter's declared type.
            if (param && pend.frame && pend.frame != f && param->dataType && value.kind == VeriValue::Vec)
                value = Convert(value, TypeShape(param->dataType, f));
        }
        // The pending entry may have moved while evaluating (other entries added).
        f->pending.erase(id);
        f->values[id] = value;
        return value;
    }
    if (auto* param = VeriAs<VeriParamId>(id)) {
        // A parameter no frame holds: of a package or $unit, worked out once. (Any other
        // is worked out afresh from its default.)
        if (!InPackage(id)) {
            VeriFrame alone;
            alone.pending[id].expr = param->initialValue;
            return Lookup(id, &alone, where);
        }
        auto v = packages_.values.find(id);
        if (v != packages_.values.end()) return v->second;
        auto p = packages_.pending.find(id);
        if (p != packages_.pending.end() && p->second.busy) return Fail(where, "a parameter that depends on itself");
        if (param->IsType()) {
            VeriValue t = TypeValue(param->initialValue, &packages_);
            packages_.values[id] = t;
            return t;
        }
        packages_.pending[id].busy = true;
        VeriValue value = EvaluateAs(param->initialValue, param->dataType, param->dimensions, &packages_);
        packages_.pending.erase(id);
        packages_.values[id] = value;
        return value;
    }
    std::string text = "'" + std::string(id->Name()) + "'";
    return Fail(where, text.c_str());
}

// ------------------------------------------------------------------ shapes

VeriShape VeriEvaluator::Shape(const VeriExpression* e, VeriFrame* frame) {
    VeriShape s{32, true, false, false};
    if (!e) return s;
    switch (e->GetClassId()) {
    case ID_VERIINTVAL: return s;
    case ID_VERIREALVAL: return {64, true, true, false};
    case ID_VERICONSTVAL: {
        auto* c = static_cast<const VeriConstVal*>(e);
        if (c->isString) return {uint32_t(std::max<size_t>(8, (std::string_view(c->text).size() - 2) * 8)), false};
        if (c->isUnbased) return {1, false};
        return {c->size ? c->size : 32, c->isSigned};
    }
    case ID_VERIBINARYOPERATOR: {
        auto* b = static_cast<const VeriBinaryOperator*>(e);
        if (IsComparison(b->oper) || IsLogical(b->oper)) return {1, false};
        VeriShape l = Shape(b->left, frame);
        if (IsShiftOrPower(b->oper)) {
            if (b->oper == VT_POWER) {
                VeriShape r = Shape(b->right, frame);
                l.real = l.real || r.real;
            }
            return l;
        }
        VeriShape r = Shape(b->right, frame);
        return {std::max(l.width, r.width), l.isSigned && r.isSigned, l.real || r.real};
    }
    case ID_VERIUNARYOPERATOR: {
        auto* u = static_cast<const VeriUnaryOperator*>(e);
        if (u->oper == VT_PLUS || u->oper == VT_MINUS || u->oper == VT_TILDE) return Shape(u->arg, frame);
        return {1, false};
    }
    case ID_VERIQUESTIONCOLON: {
        auto* q = static_cast<const VeriQuestionColon*>(e);
        VeriShape t = Shape(q->thenExpr, frame);
        VeriShape f = Shape(q->elseExpr, frame);
        return {std::max(t.width, f.width), t.isSigned && f.isSigned, t.real || f.real};
    }
    case ID_VERIMINTYPMAXEXPR: return Shape(static_cast<const VeriMinTypMaxExpr*>(e)->typExpr, frame);
    case ID_VERIFUNCTIONCALL: {
        // The declared return type: calling the function to learn its width would run it
        // twice at every level of a recursion.
        const VeriIdDef* id = e->GetId();
        auto* decl = id ? VeriAs<VeriFunctionDecl>(id->declaration) : nullptr;
        if (decl && decl->returnType) return TypeShape(decl->returnType, frame);
        if (decl) return {1, false};
        return s;
    }
    case ID_VERICONCAT:
    case ID_VERIMULTICONCAT:
    case ID_VERIINDEXEDID:
    case ID_VERIINDEXEDMEMORYID:
    case ID_VERISELECTEDNAME:
    case ID_VERISCOPENAME:
    case ID_VERIIDREF:
    case ID_VERISYSTEMFUNCTIONCALL:
    case ID_VERICAST:
    case ID_VERIASSIGNMENTPATTERN:
    case ID_VERIMULTIASSIGNMENTPATTERN: {
        if (auto* ref = VeriAs<VeriIdRef>(e)) {
            const VeriIdDef* id = ref->id;
            if (id && id->IsType()) return {TypeShape(e, frame).width, false, false, true};
            if (auto* var = VeriAs<VeriVariable>(id)) {
                // Variables of constant functions: their declared type; an untyped one
                // (genvar-like integer) as its value.
                for (VeriFrame* f = frame; f; f = f->upper) {
                    auto v = f->values.find(id);
                    if (v != f->values.end()) {
                        const VeriValue& val = v->second;
                        if (val.IsReal()) return {64, true, true};
                        if (val.IsVec()) return {val.width, val.isSigned, false};
                    }
                }
                if (var->dataType) return TypeShape(var->dataType, frame);
            }
        }
        // A net, variable or typedef of the interface a port is connected to: its
        // declared width.
        const VeriIdDef* member = nullptr;
        VeriFrame* at = nullptr;
        Through through = InterfaceMember(e, frame, member, at);
        if (through == Through::Failed) return s;
        if (through == Through::Found && !VeriAs<VeriParamId>(member)) {
            VeriShape shape = MemberShape(member, at);
            shape.type = member->IsType();
            return shape;
        }
        VeriValue v = EvalLeaf(e, frame);
        if (v.IsReal()) return {64, true, true};
        if (v.IsType()) return {v.width, v.isSigned, false, true};
        if (v.IsVec()) return {v.width, v.isSigned, false};
        return s;
    }
    default: return s;
    }
}

// ------------------------------------------------------------------ evaluation

VeriValue VeriEvaluator::Eval(const VeriExpression* e, VeriFrame* frame, const VeriShape& ctx) {
    if (!e) return VeriValue();
    if (!Step(e)) return VeriValue();
    switch (e->GetClassId()) {
    case ID_VERIBINARYOPERATOR: return Binary(static_cast<const VeriBinaryOperator*>(e), frame, ctx);
    case ID_VERIUNARYOPERATOR: return Unary(static_cast<const VeriUnaryOperator*>(e), frame, ctx);
    case ID_VERIQUESTIONCOLON: {
        auto* q = static_cast<const VeriQuestionColon*>(e);
        VeriValue c = Evaluate(q->cond, frame);
        if (c.kind == VeriValue::None) return c;
        int t = c.Truth();
        if (t == 1) return Eval(q->thenExpr, frame, ctx);
        if (t == 0) return Eval(q->elseExpr, frame, ctx);
        VeriValue a = Eval(q->thenExpr, frame, ctx);
        VeriValue b = Eval(q->elseExpr, frame, ctx);
        if (a.kind != VeriValue::Vec || b.kind != VeriValue::Vec) return VeriValue::AllX(ctx.width, ctx.isSigned);
        // An unknown condition merges the two: equal bits stay, others become x.
        VeriValue m = a;
        for (uint32_t i = 0; i < m.width; ++i)
            if (a.Bit(i) != b.Bit(i) || a.Bit(i) >= 2) m.SetBit(i, 2);
        return m;
    }
    case ID_VERIMINTYPMAXEXPR: return Eval(static_cast<const VeriMinTypMaxExpr*>(e)->typExpr, frame, ctx);
    default: break;
    }
    VeriValue v = EvalLeaf(e, frame);
    if (v.kind == VeriValue::None || v.kind == VeriValue::Type) return v;
    if (ctx.real) return v.IsReal() ? v : VeriValue::MakeReal(v.ToReal());
    if (v.IsReal()) return v; // a real operand of a non-real context: the caller converts
    // An operand takes the width of its context, extended as the context's signedness says.
    VeriValue r = v.Resized(std::max(ctx.width, v.width), ctx.isSigned && v.isSigned);
    if (!v.sized && v.width == 1) r = v.Resized(std::max(ctx.width, v.width), false);
    r.isSigned = ctx.isSigned;
    return r;
}

VeriValue VeriEvaluator::EvalLeaf(const VeriExpression* e, VeriFrame* frame) {
    switch (e->GetClassId()) {
    case ID_VERIINTVAL: {
        VeriValue v = VeriValue::Int(static_cast<const VeriIntVal*>(e)->value, 32, true);
        v.sized = false;
        return v;
    }
    case ID_VERIREALVAL: return VeriValue::MakeReal(static_cast<const VeriRealVal*>(e)->value);
    case ID_VERICONSTVAL: {
        auto* c = static_cast<const VeriConstVal*>(e);
        std::string_view text = c->text;
        if (c->isString) {
            std::string chars;
            std::string_view body = text.size() >= 2 ? text.substr(1, text.size() - 2) : text;
            for (size_t i = 0; i < body.size(); ++i) {
                if (body[i] != '\\' || i + 1 == body.size()) {
                    chars += body[i];
                    continue;
                }
                char n = body[++i];
                chars += n == 'n' ? '\n' : n == 't' ? '\t' : n;
            }
            return VeriValue::String(chars);
        }
        VeriValue v;
        if (!VeriValue::ParseBased(text, c->size, v)) return Fail(e, nullptr);
        return v;
    }
    case ID_VERIIDREF: {
        auto* ref = static_cast<const VeriIdRef*>(e);
        if (ref->id && ref->id->IsType()) return TypeValue(e, frame);
        return Lookup(ref->id, frame, e);
    }
    case ID_VERISCOPENAME: {
        auto* s = static_cast<const VeriScopeName*>(e);
        if (s->id && s->id->IsType()) return TypeValue(s->id->GetDataType(), frame);
        return Lookup(s->id, frame, e);
    }
    case ID_VERISELECTEDNAME: return Member(static_cast<const VeriSelectedName*>(e), frame);
    case ID_VERIINDEXEDID:
    case ID_VERIINDEXEDMEMORYID: return Select(e, frame);
    case ID_VERICONCAT: {
        std::vector<VeriValue> parts;
        for (const VeriExpression* x : static_cast<const VeriConcat*>(e)->exprs) {
            VeriValue v = Evaluate(x, frame);
            if (v.kind == VeriValue::None) return v;
            if (v.IsReal()) return Fail(x, "a real operand of a concatenation");
            parts.push_back(v);
        }
        return veri_ops::Concat(parts);
    }
    case ID_VERIMULTICONCAT: {
        auto* m = static_cast<const VeriMultiConcat*>(e);
        int64_t n = 0;
        if (!VeriToInt(*this, Evaluate(m->repeat, frame), m->repeat, n)) return VeriValue();
        if (n < 0 || uint64_t(n) > limits_.arrayElements) return Fail(m->repeat, "a replication count out of range");
        std::vector<VeriValue> one;
        for (const VeriExpression* x : m->exprs) {
            VeriValue v = Evaluate(x, frame);
            if (v.kind == VeriValue::None) return v;
            one.push_back(v);
        }
        std::vector<VeriValue> parts;
        for (int64_t i = 0; i < n; ++i) parts.insert(parts.end(), one.begin(), one.end());
        if (parts.empty()) return VeriValue::Bits(0);
        return veri_ops::Concat(parts);
    }
    case ID_VERIFUNCTIONCALL: return Call(static_cast<const VeriFunctionCall*>(e), frame);
    case ID_VERISYSTEMFUNCTIONCALL: return SystemCall(static_cast<const VeriSystemFunctionCall*>(e), frame);
    case ID_VERICAST: return Cast(static_cast<const VeriCast*>(e), frame);
    case ID_VERIASSIGNMENTPATTERN:
    case ID_VERIMULTIASSIGNMENTPATTERN: {
        const VeriExpression* type = e->GetClassId() == ID_VERIASSIGNMENTPATTERN
                                         ? static_cast<const VeriAssignmentPattern*>(e)->type
                                         : static_cast<const VeriMultiAssignmentPattern*>(e)->type;
        if (!type) return Fail(e, "an assignment pattern without a type");
        return Pattern(e, TypeShape(type, frame), type, frame);
    }
    case ID_VERIDATATYPE:
    case ID_VERITYPEREF:
    case ID_VERISTRUCTUNION:
    case ID_VERIENUM:
    case ID_VERITYPEOPERATOR: return TypeValue(e, frame);
    case ID_VERIBINARYOPERATOR:
    case ID_VERIUNARYOPERATOR:
    case ID_VERIQUESTIONCOLON:
    case ID_VERIMINTYPMAXEXPR: return Evaluate(e, frame);
    default: return Fail(e, nullptr);
    }
}

VeriValue VeriEvaluator::Unary(const VeriUnaryOperator* u, VeriFrame* frame, const VeriShape& ctx) {
    switch (u->oper) {
    case VT_PLUS: return Eval(u->arg, frame, ctx);
    case VT_MINUS: {
        VeriValue v = Eval(u->arg, frame, ctx);
        if (v.IsReal()) return VeriValue::MakeReal(-v.real);
        return v.IsVec() ? veri_ops::Neg(v) : v;
    }
    case VT_TILDE: {
        VeriValue v = Eval(u->arg, frame, ctx);
        return v.IsVec() ? veri_ops::Not(v) : v.IsReal() ? Fail(u, "~ of a real") : v;
    }
    default: break;
    }
    VeriValue v = Evaluate(u->arg, frame);
    if (v.kind == VeriValue::None) return v;
    VeriValue r;
    switch (u->oper) {
    case VT_LOGNOT: {
        int t = v.Truth();
        r = veri_ops::Bool(t < 0 ? -1 : !t);
        break;
    }
    case VT_AMP: r = veri_ops::Reduce(v, '&'); break;
    case VT_BAR: r = veri_ops::Reduce(v, '|'); break;
    case VT_CARET: r = veri_ops::Reduce(v, '^'); break;
    case VT_NAND_OP: r = veri_ops::Not(veri_ops::Reduce(v, '&')); break;
    case VT_NOR_OP: r = veri_ops::Not(veri_ops::Reduce(v, '|')); break;
    case VT_XNOR_OP: r = veri_ops::Not(veri_ops::Reduce(v, '^')); break;
    default: return Fail(u, nullptr);
    }
    if (v.IsReal() && u->oper != VT_LOGNOT) return Fail(u, "a reduction of a real");
    return ctx.real ? VeriValue::MakeReal(r.ToReal()) : r.Resized(std::max(ctx.width, 1u), false);
}

VeriValue VeriEvaluator::Binary(const VeriBinaryOperator* b, VeriFrame* frame, const VeriShape& ctx) {
    unsigned op = b->oper;
    auto sized = [&](VeriValue v) {
        if (v.kind == VeriValue::None) return v;
        if (ctx.real) return v.IsReal() ? v : VeriValue::MakeReal(v.ToReal());
        return v.Resized(std::max(ctx.width, v.width), false);
    };
    if (op == VT_LOGAND || op == VT_LOGOR || op == VT_ARROW || op == VT_EQUIV) {
        VeriValue l = Evaluate(b->left, frame);
        if (l.kind == VeriValue::None) return l;
        int lt = l.Truth();
        // Short-circuit: the right operand is not evaluated when the left decides.
        if (op == VT_LOGAND && lt == 0) return sized(veri_ops::Bool(0));
        if (op == VT_LOGOR && lt == 1) return sized(veri_ops::Bool(1));
        if (op == VT_ARROW && lt == 0) return sized(veri_ops::Bool(1));
        VeriValue r = Evaluate(b->right, frame);
        if (r.kind == VeriValue::None) return r;
        int rt = r.Truth();
        int t = 0;
        if (op == VT_LOGAND) t = (lt == 0 || rt == 0) ? 0 : (lt < 0 || rt < 0) ? -1 : 1;
        else if (op == VT_LOGOR) t = (lt == 1 || rt == 1) ? 1 : (lt < 0 || rt < 0) ? -1 : 0;
        else if (op == VT_ARROW) t = (rt == 1) ? 1 : (lt < 0 || rt < 0) ? -1 : 0;
        else t = (lt < 0 || rt < 0) ? -1 : lt == rt;
        return sized(veri_ops::Bool(t));
    }
    if (op == VT_INSIDE) {
        VeriValue l = Evaluate(b->left, frame);
        if (l.kind == VeriValue::None) return l;
        auto* set = VeriAs<VeriConcat>(b->right);
        int found = 0;
        std::vector<const VeriExpression*> items;
        if (set) items.assign(set->exprs.begin(), set->exprs.end());
        else items.push_back(b->right);
        for (const VeriExpression* item : items) {
            if (auto* range = VeriAs<VeriRange>(item); range && range->right) {
                VeriValue lo = Evaluate(range->left, frame);
                VeriValue hi = Evaluate(range->right, frame);
                if (lo.kind == VeriValue::None || hi.kind == VeriValue::None) return VeriValue();
                uint32_t w = std::max({l.width, lo.width, hi.width});
                bool sg = l.isSigned && lo.isSigned && hi.isSigned;
                VeriValue lv = l.Resized(w, sg), lov = lo.Resized(w, sg), hiv = hi.Resized(w, sg);
                int ge = veri_ops::Less(lv, lov, sg).Truth();
                int le = veri_ops::Less(hiv, lv, sg).Truth();
                if (ge == 0 && le == 0) return sized(veri_ops::Bool(1));
                if (ge < 0 || le < 0) found = -1;
                continue;
            }
            VeriValue r = Evaluate(item, frame);
            if (r.kind == VeriValue::None) return r;
            uint32_t w = std::max(l.width, r.width);
            bool sg = l.isSigned && r.isSigned;
            int t = veri_ops::WildEqual(l.Resized(w, sg), r.Resized(w, sg)).Truth();
            if (t == 1) return sized(veri_ops::Bool(1));
            if (t < 0) found = -1;
        }
        return sized(veri_ops::Bool(found));
    }
    if (IsComparison(op)) {
        VeriShape ls = Shape(b->left, frame);
        VeriShape rs = Shape(b->right, frame);
        VeriShape opnd{std::max(ls.width, rs.width), ls.isSigned && rs.isSigned, ls.real || rs.real};
        VeriValue l = Eval(b->left, frame, opnd);
        VeriValue r = Eval(b->right, frame, opnd);
        if (l.kind == VeriValue::None || r.kind == VeriValue::None) return VeriValue();
        VeriValue res;
        if (opnd.real || l.IsReal() || r.IsReal()) {
            double x = l.ToReal(), y = r.ToReal();
            bool t = false;
            switch (op) {
            case VT_LT: t = x < y; break;
            case VT_LE: t = x <= y; break;
            case VT_GT: t = x > y; break;
            case VT_GE: t = x >= y; break;
            case VT_LOGEQ:
            case VT_CASE_EQ:
            case VT_WILD_EQ: t = x == y; break;
            default: t = x != y; break;
            }
            res = veri_ops::Bool(t);
        } else {
            switch (op) {
            case VT_LT: res = veri_ops::Less(l, r, opnd.isSigned); break;
            case VT_GT: res = veri_ops::Less(r, l, opnd.isSigned); break;
            case VT_LE: {
                int t = veri_ops::Less(r, l, opnd.isSigned).Truth();
                res = veri_ops::Bool(t < 0 ? -1 : !t);
                break;
            }
            case VT_GE: {
                int t = veri_ops::Less(l, r, opnd.isSigned).Truth();
                res = veri_ops::Bool(t < 0 ? -1 : !t);
                break;
            }
            case VT_LOGEQ: res = veri_ops::Equal(l, r); break;
            case VT_LOGNEQ: res = veri_ops::Not(veri_ops::Equal(l, r)); break;
            case VT_CASE_EQ: res = veri_ops::CaseEqual(l, r); break;
            case VT_CASE_NEQ: res = veri_ops::Not(veri_ops::CaseEqual(l, r)); break;
            case VT_WILD_EQ: res = veri_ops::WildEqual(l, r); break;
            default: res = veri_ops::Not(veri_ops::WildEqual(l, r)); break;
            }
        }
        return sized(res);
    }
    if (IsShiftOrPower(op)) {
        VeriValue l = Eval(b->left, frame, ctx);
        VeriValue r = Evaluate(b->right, frame);
        if (l.kind == VeriValue::None || r.kind == VeriValue::None) return VeriValue();
        if (op == VT_POWER) {
            if (ctx.real || l.IsReal() || r.IsReal()) return VeriValue::MakeReal(std::pow(l.ToReal(), r.ToReal()));
            return veri_ops::Pow(l, r, ctx.isSigned);
        }
        if (l.IsReal() || r.IsReal()) return Fail(b, "a shift of a real");
        if (op == VT_SHL || op == VT_ASHL) return veri_ops::ShiftLeft(l, r);
        return veri_ops::ShiftRight(l, r, op == VT_ASHR && ctx.isSigned);
    }
    VeriValue l = Eval(b->left, frame, ctx);
    VeriValue r = Eval(b->right, frame, ctx);
    if (l.kind == VeriValue::None || r.kind == VeriValue::None) return VeriValue();
    if (ctx.real || l.IsReal() || r.IsReal()) {
        double x = l.ToReal(), y = r.ToReal();
        switch (op) {
        case VT_PLUS: return VeriValue::MakeReal(x + y);
        case VT_MINUS: return VeriValue::MakeReal(x - y);
        case VT_STAR: return VeriValue::MakeReal(x * y);
        case VT_SLASH: return VeriValue::MakeReal(x / y);
        default: return Fail(b, "a bitwise or modulus operator on a real");
        }
    }
    uint32_t w = std::max({ctx.width, l.width, r.width});
    l = l.Resized(w, ctx.isSigned);
    r = r.Resized(w, ctx.isSigned);
    bool byZero = false;
    VeriValue v;
    switch (op) {
    case VT_PLUS: v = veri_ops::Add(l, r); break;
    case VT_MINUS: v = veri_ops::Sub(l, r); break;
    case VT_STAR: v = veri_ops::Mul(l, r); break;
    case VT_SLASH: v = veri_ops::Div(l, r, ctx.isSigned, byZero); break;
    case VT_MOD: v = veri_ops::Mod(l, r, ctx.isSigned, byZero); break;
    case VT_AMP: v = veri_ops::And(l, r); break;
    case VT_BAR: v = veri_ops::Or(l, r); break;
    case VT_CARET: v = veri_ops::Xor(l, r); break;
    case VT_XNOR_OP: v = veri_ops::Not(veri_ops::Xor(l, r)); break;
    default: return Fail(b, nullptr);
    }
    if (byZero) {
        ColLineFile loc = b->Linefile();
        Message::Tell<veri_msg::ElabDivisionByZero>(&loc);
    }
    v.isSigned = ctx.isSigned;
    return v;
}

// ------------------------------------------------------------------ selects

void VeriEvaluator::PackedRange(const VeriIdDef* id, const VeriValue& v, VeriFrame* frame, int64_t& msb, int64_t& lsb) {
    msb = int64_t(v.width) - 1;
    lsb = 0;
    const VeriDataType* type = id ? id->GetDataType() : nullptr;
    const VeriRange* r = type ? type->dimensions : nullptr;
    if (!r || !r->left || !r->right) return;
    int64_t l = 0, rr = 0;
    if (!Evaluate(r->left, frame).ToInt64(l) || !Evaluate(r->right, frame).ToInt64(rr)) return;
    // Only a one-dimensional range maps indexes directly; deeper ones index the first.
    if (r->next) {
        uint32_t inner = uint32_t(v.width / (std::llabs(l - rr) + 1));
        if (inner > 1) {
            msb = l;
            lsb = rr;
            return;
        }
    }
    msb = l;
    lsb = rr;
}

VeriValue VeriEvaluator::Select(const VeriExpression* e, VeriFrame* frame) {
    const VeriExpression* prefix = nullptr;
    std::vector<const VeriExpression*> indexes;
    if (auto* x = VeriAs<VeriIndexedId>(e)) {
        prefix = x->prefix;
        indexes.push_back(x->index);
    } else if (auto* m = VeriAs<VeriIndexedMemoryId>(e)) {
        prefix = m->prefix;
        indexes.assign(m->indexes.begin(), m->indexes.end());
    }
    VeriValue v = EvalLeaf(prefix, frame);
    if (v.kind == VeriValue::None) return v;
    if (!v.IsVec()) return Fail(e, "a select of something not a vector");
    const VeriIdDef* id = prefix ? prefix->GetId() : nullptr;
    int64_t msb = 0, lsb = 0;
    PackedRange(id, v, frame, msb, lsb);
    // Element width: the declared type of a multi-dimensional or unpacked parameter.
    uint32_t elem = 1;
    if (id) {
        const VeriRange* unpacked = id->GetDimensions();
        const VeriDataType* type = id->GetDataType();
        if (unpacked) {
            VeriShape s = TypeShape(type, frame);
            elem = s.width;
            int64_t l = 0, rr = 0;
            if (unpacked->left && unpacked->right && Evaluate(unpacked->left, frame).ToInt64(l) &&
                Evaluate(unpacked->right, frame).ToInt64(rr)) {
                msb = l;
                lsb = rr;
            } else if (unpacked->left && Evaluate(unpacked->left, frame).ToInt64(l)) {
                msb = 0;
                lsb = l - 1;
            }
        } else if (type && type->dimensions && type->dimensions->next) {
            int64_t count = std::llabs(msb - lsb) + 1;
            elem = uint32_t(v.width / std::max<int64_t>(count, 1));
        } else if (type && VeriAs<VeriTypeRef>(type) && type->dimensions) {
            int64_t count = std::llabs(msb - lsb) + 1;
            elem = uint32_t(v.width / std::max<int64_t>(count, 1));
        }
    }
    for (size_t n = 0; n < indexes.size(); ++n) {
        const VeriExpression* index = indexes[n];
        auto* range = VeriAs<VeriRange>(index);
        int64_t hi = 0, lo = 0;
        if (range && range->right) {
            int64_t a = 0, b = 0;
            if (!VeriToInt(*this, Evaluate(range->left, frame), range->left, a)) return VeriValue();
            if (!VeriToInt(*this, Evaluate(range->right, frame), range->right, b)) return VeriValue();
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
            const VeriExpression* ix = range ? range->left : index;
            if (!VeriToInt(*this, Evaluate(ix, frame), ix, hi)) return VeriValue();
            lo = hi;
        }
        // Positions from the declared range to bit offsets.
        auto offset = [&](int64_t i) { return msb >= lsb ? i - lsb : lsb - i; };
        int64_t from = std::min(offset(hi), offset(lo));
        int64_t to = std::max(offset(hi), offset(lo));
        uint32_t width = uint32_t((to - from + 1) * elem);
        VeriValue r = VeriValue::Bits(width, false);
        for (uint32_t i = 0; i < width; ++i) {
            int64_t bit = from * elem + i;
            r.SetBit(i, bit >= 0 && bit < int64_t(v.width) ? v.Bit(uint32_t(bit)) : 2);
        }
        v = r;
        msb = int64_t(elem) - 1;
        lsb = 0;
        elem = 1;
    }
    return v;
}

VeriEvaluator::Through VeriEvaluator::InterfaceMember(const VeriExpression* e, VeriFrame* frame,
                                                      const VeriIdDef*& member, VeriFrame*& at) {
    auto* s = VeriAs<VeriSelectedName>(e);
    if (!s) return Through::No;
    // Every element of an interface array port is the same copy.
    const VeriExpression* root = s->prefix;
    for (;;) {
        if (auto* x = VeriAs<VeriIndexedId>(root)) root = x->prefix;
        else if (auto* m = VeriAs<VeriIndexedMemoryId>(root)) root = m->prefix;
        else break;
    }
    auto* ref = VeriAs<VeriIdRef>(root);
    const VeriIdDef* port = ref ? ref->id : nullptr;
    if (!port) return Through::No;
    const VeriInterfaceBinding* binding = nullptr;
    for (VeriFrame* f = frame; f && !binding; f = f->upper)
        if (f->interfaces)
            for (const VeriInterfaceBinding& b : *f->interfaces)
                if (b.port == port) binding = &b;
    if (!binding) return Through::No;
    if (binding->module && binding->module->GetScope()) member = binding->module->GetScope()->findLocal(s->suffix);
    if (member) {
        at = binding->frame;
        return Through::Found;
    }
    // Shapes and values both ask: one message per read.
    if (!interfaceFaultsTold_.insert(s).second) return Through::Failed;
    ++errors_;
    ColLineFile loc = s->Linefile();
    std::string portName(port->Name()), memberName(s->suffix);
    if (binding->module) {
        std::string module(binding->module->Name());
        Message::Tell<veri_msg::ElabInterfaceNoMember>(&loc, module.c_str(), portName.c_str(), memberName.c_str());
    } else {
        std::string text = portName + "." + memberName;
        Message::Tell<veri_msg::ElabInterfaceOpen>(&loc, portName.c_str(), text.c_str());
    }
    return Through::Failed;
}

VeriShape VeriEvaluator::MemberShape(const VeriIdDef* member, VeriFrame* at) {
    VeriShape s = TypeShape(member->GetDataType(), at);
    for (const VeriRange* r = member->GetDimensions(); r; r = r->next) {
        int64_t l = 0, rr = 0;
        if (!r->left || !VeriToInt(*this, Evaluate(r->left, at), r, l)) break;
        if (r->right && !VeriToInt(*this, Evaluate(r->right, at), r, rr)) break;
        int64_t n = r->right ? std::llabs(l - rr) + 1 : l;
        s.width = uint32_t(std::min<int64_t>(int64_t(s.width) * n, int64_t(limits_.arrayElements)));
    }
    return s;
}

VeriValue VeriEvaluator::Member(const VeriSelectedName* s, VeriFrame* frame) {
    const VeriIdDef* member = nullptr;
    VeriFrame* copy = nullptr;
    switch (InterfaceMember(s, frame, member, copy)) {
    case Through::Failed: return VeriValue();
    case Through::Found:
        // Parameters of the connected copy; nets and variables hold no constant.
        if (VeriAs<VeriParamId>(member)) return Lookup(member, copy, s);
        return Fail(s, nullptr);
    case Through::No: break;
    }
    if (s->id) return Lookup(s->id, frame, s); // pkg.item
    // A member of a packed struct parameter: the bits of that member.
    const VeriIdDef* id = s->prefix ? s->prefix->GetId() : nullptr;
    const VeriDataType* type = id ? id->GetDataType() : nullptr;
    // Named types down to the struct; a name that leads back to itself (broken code) stops.
    for (int guard = 0; VeriAs<VeriTypeRef>(type); ++guard) {
        const VeriIdDef* tid = guard < 32 ? type->GetId() : nullptr;
        type = tid ? tid->GetDataType() : nullptr;
    }
    auto* su = VeriAs<VeriStructUnion>(type);
    if (!su) return Fail(s, nullptr);
    VeriValue whole = EvalLeaf(s->prefix, frame);
    if (!whole.IsVec()) return whole.kind == VeriValue::None ? whole : Fail(s, nullptr);
    uint32_t at = whole.width;
    for (const VeriDataDecl* m : su->members) {
        if (!m) continue;
        VeriShape ms = TypeShape(m->dataType, frame);
        for (const VeriIdDef* mid : m->ids) {
            uint32_t from = su->type == VT_UNION ? ms.width : at;
            if (su->type != VT_UNION) at -= ms.width;
            if (mid->Name() != s->suffix) continue;
            VeriValue r = VeriValue::Bits(ms.width, ms.isSigned);
            uint32_t base = su->type == VT_UNION ? 0 : at;
            (void)from;
            for (uint32_t i = 0; i < ms.width; ++i) r.SetBit(i, whole.Bit(base + i));
            return r;
        }
    }
    return Fail(s, nullptr);
}

// ------------------------------------------------------------------ patterns and casts

VeriValue VeriEvaluator::Pattern(const VeriExpression* pattern, const VeriShape& shape, const VeriExpression* type,
                                 VeriFrame* frame) {
    // The elements of a struct type in order, or of an array type (element width).
    std::vector<std::pair<Symbol, VeriShape>> members;
    const VeriExpression* t = type;
    for (int guard = 0; auto* ref = VeriAs<VeriTypeRef>(t); ++guard) {
        const VeriIdDef* tid = guard < 32 ? ref->GetId() : nullptr;
        if (ref->dimensions) break;
        t = tid ? tid->GetDataType() : nullptr;
    }
    if (auto* su = VeriAs<VeriStructUnion>(t); su && su->type == VT_STRUCT) {
        for (const VeriDataDecl* m : su->members) {
            if (!m) continue;
            VeriShape ms = TypeShape(m->dataType, frame);
            for (const VeriIdDef* mid : m->ids) members.push_back({mid->name, ms});
        }
    }
    std::vector<const VeriExpression*> items;
    int64_t repeat = 1;
    if (auto* p = VeriAs<VeriAssignmentPattern>(pattern)) {
        items.assign(p->exprs.begin(), p->exprs.end());
    } else if (auto* m = VeriAs<VeriMultiAssignmentPattern>(pattern)) {
        items.assign(m->exprs.begin(), m->exprs.end());
        if (!VeriToInt(*this, Evaluate(m->repeat, frame), m->repeat, repeat)) return VeriValue();
    }
    if (items.empty()) return VeriValue::Bits(shape.width, shape.isSigned);
    if (!members.empty()) {
        std::vector<VeriValue> parts(members.size());
        const VeriExpression* fallback = nullptr;
        size_t position = 0;
        for (const VeriExpression* item : items) {
            auto* keyed = VeriAs<VeriBinaryOperator>(item);
            if (keyed && keyed->oper == VT_COLON) {
                auto* kw = VeriAs<VeriKeyword>(keyed->left);
                if (kw || VeriAs<VeriDataType>(keyed->left)) {
                    fallback = keyed->right;
                    continue;
                }
                std::string_view key = keyed->left ? keyed->left->GetName() : std::string_view();
                for (size_t i = 0; i < members.size(); ++i)
                    if (members[i].first == key) parts[i] = EvaluateAs(keyed->right, nullptr, nullptr, frame);
                continue;
            }
            if (position < members.size()) {
                VeriShape ms = members[position].second;
                VeriShape ctx = Shape(item, frame);
                ctx.width = std::max(ctx.width, ms.width);
                parts[position++] = Eval(item, frame, ctx);
            }
        }
        for (size_t i = 0; i < members.size(); ++i) {
            if (parts[i].kind == VeriValue::None && fallback) parts[i] = Evaluate(fallback, frame);
            if (parts[i].kind == VeriValue::None) return Fail(pattern, "an assignment pattern without every member");
            parts[i] = Convert(parts[i], members[i].second);
        }
        return veri_ops::Concat(parts);
    }
    // Arrays: the elements share the width; positional items, or default.
    size_t count = items.size() * size_t(std::max<int64_t>(repeat, 1));
    bool allDefault = items.size() == 1 && VeriAs<VeriBinaryOperator>(items[0]) &&
                      static_cast<const VeriBinaryOperator*>(items[0])->oper == VT_COLON;
    uint32_t elem = count ? uint32_t(shape.width / count) : shape.width;
    if (allDefault) {
        auto* keyed = static_cast<const VeriBinaryOperator*>(items[0]);
        VeriValue d = Evaluate(keyed->right, frame);
        if (d.kind == VeriValue::None) return d;
        uint32_t w = d.width ? d.width : 1;
        std::vector<VeriValue> parts(std::max<uint32_t>(1, shape.width / w), Convert(d, {w, d.isSigned}));
        return veri_ops::Concat(parts);
    }
    std::vector<VeriValue> parts;
    for (int64_t r = 0; r < std::max<int64_t>(repeat, 1); ++r) {
        for (const VeriExpression* item : items) {
            VeriValue v = Evaluate(item, frame);
            if (v.kind == VeriValue::None) return v;
            parts.push_back(elem ? Convert(v, {elem, v.isSigned}) : v);
        }
    }
    return veri_ops::Concat(parts);
}

VeriValue VeriEvaluator::Cast(const VeriCast* cast, VeriFrame* frame) {
    const VeriExpression* target = cast->target;
    if (auto* dt = VeriAs<VeriDataType>(target);
        dt && dt->GetClassId() == ID_VERIDATATYPE && !dt->type && dt->signing && !dt->dimensions) {
        // signed'(x) / unsigned'(x): same bits, new signedness.
        VeriValue v = Evaluate(cast->expr, frame);
        if (v.IsVec()) v.isSigned = dt->signing == VT_SIGNED;
        return v;
    }
    bool isType = VeriAs<VeriDataType>(target) != nullptr;
    if (auto* ref = VeriAs<VeriIdRef>(target)) isType = ref->id && ref->id->IsType();
    if (auto* sn = VeriAs<VeriScopeName>(target)) isType = sn->id && sn->id->IsType();
    if (isType) {
        VeriShape s = TypeShape(target, frame);
        if (VeriAs<VeriAssignmentPattern>(cast->expr) || VeriAs<VeriMultiAssignmentPattern>(cast->expr))
            return Convert(Pattern(cast->expr, s, target, frame), s);
        if (s.real) return Convert(Evaluate(cast->expr, frame), s);
        VeriShape ctx = Shape(cast->expr, frame);
        if (!ctx.real) ctx.width = std::max(ctx.width, s.width);
        return Convert(Eval(cast->expr, frame, ctx), s);
    }
    // N'(x): the size; the signedness stays the expression's.
    int64_t n = 0;
    if (!VeriToInt(*this, Evaluate(target, frame), target, n)) return VeriValue();
    if (n <= 0 || uint64_t(n) > limits_.arrayElements) return Fail(target, "a size cast out of range");
    VeriShape ctx = Shape(cast->expr, frame);
    bool isSigned = ctx.isSigned;
    if (!ctx.real) ctx.width = std::max<uint32_t>(ctx.width, uint32_t(n));
    VeriValue v = Eval(cast->expr, frame, ctx);
    return Convert(v, {uint32_t(n), isSigned});
}

} // namespace hdl
