#include "sift/extract/HADLVeriConstValue.h"

#include <cctype>
#include <string>
#include <string_view>

#include "hdl/sv/VeriTokens.h"

namespace {

// Parameters that refer to each other in a loop stop here.
constexpr int kMaxDepth = 32;

bool literalValue(const hdl::VeriConstVal& node, int64_t& value) {
    if (node.isString || node.isUnbased) return false;
    std::string_view text = node.text;
    const size_t tick = text.find('\'');
    if (tick == std::string_view::npos) return false;
    size_t i = tick + 1;
    if (i < text.size() && (text[i] == 's' || text[i] == 'S')) ++i;
    if (i >= text.size()) return false;
    const char base = char(std::tolower(static_cast<unsigned char>(text[i++])));
    const int radix = base == 'b' ? 2 : base == 'o' ? 8 : base == 'd' ? 10 : base == 'h' ? 16 : 0;
    if (!radix) return false;
    uint64_t v = 0;
    bool any = false;
    for (; i < text.size(); ++i) {
        const char c = char(std::tolower(static_cast<unsigned char>(text[i])));
        if (c == '_' || c == ' ' || c == '\t') continue;
        int digit = std::isdigit(static_cast<unsigned char>(c)) ? c - '0' : (c >= 'a' && c <= 'f') ? c - 'a' + 10 : -1;
        if (digit < 0 || digit >= radix) return false; // x, z or not a digit
        v = v * uint64_t(radix) + uint64_t(digit);
        any = true;
    }
    if (!any) return false;
    if (node.size > 0 && node.size < 64) v &= (uint64_t(1) << node.size) - 1;
    value = int64_t(v);
    return true;
}

int64_t clog2(int64_t v) {
    int64_t bits = 0;
    for (uint64_t n = v > 0 ? uint64_t(v) - 1 : 0; n; n >>= 1) ++bits;
    return bits;
}

bool eval(const hdl::VeriExpression* expr, int64_t& value, int depth) {
    if (!expr || depth > kMaxDepth) return false;
    switch (expr->GetClassId()) {
    case hdl::VeriIntVal::kClassId: value = static_cast<const hdl::VeriIntVal*>(expr)->value; return true;
    case hdl::VeriConstVal::kClassId: return literalValue(*static_cast<const hdl::VeriConstVal*>(expr), value);
    case hdl::VeriIdRef::kClassId:
    case hdl::VeriScopeName::kClassId: {
        const hdl::VeriIdDef* id = expr->GetId();
        if (!id || !id->IsParam() || id->IsType()) return false;
        return eval(id->GetInitialValue(), value, depth + 1);
    }
    case hdl::VeriMinTypMaxExpr::kClassId:
        return eval(static_cast<const hdl::VeriMinTypMaxExpr*>(expr)->typExpr, value, depth + 1);
    case hdl::VeriQuestionColon::kClassId: {
        auto* q = static_cast<const hdl::VeriQuestionColon*>(expr);
        int64_t cond = 0;
        if (!eval(q->cond, cond, depth + 1)) return false;
        return eval(cond ? q->thenExpr : q->elseExpr, value, depth + 1);
    }
    case hdl::VeriSystemFunctionCall::kClassId: {
        auto* call = static_cast<const hdl::VeriSystemFunctionCall*>(expr);
        int64_t arg = 0;
        if (std::string_view(call->name) != "$clog2" || call->args.Size() != 1) return false;
        if (!eval(call->args[0], arg, depth + 1)) return false;
        value = clog2(arg);
        return true;
    }
    case hdl::VeriUnaryOperator::kClassId: {
        auto* u = static_cast<const hdl::VeriUnaryOperator*>(expr);
        int64_t a = 0;
        if (!eval(u->arg, a, depth + 1)) return false;
        switch (u->oper) {
        case hdl::VT_MINUS: value = -a; return true;
        case hdl::VT_PLUS: value = a; return true;
        case hdl::VT_LOGNOT: value = !a; return true;
        case hdl::VT_TILDE: value = ~a; return true;
        default: return false;
        }
    }
    case hdl::VeriBinaryOperator::kClassId: {
        auto* b = static_cast<const hdl::VeriBinaryOperator*>(expr);
        int64_t l = 0, r = 0;
        if (!eval(b->left, l, depth + 1) || !eval(b->right, r, depth + 1)) return false;
        switch (b->oper) {
        case hdl::VT_PLUS: value = l + r; return true;
        case hdl::VT_MINUS: value = l - r; return true;
        case hdl::VT_STAR: value = l * r; return true;
        case hdl::VT_SLASH:
            if (!r) return false;
            value = l / r;
            return true;
        case hdl::VT_MOD:
            if (!r) return false;
            value = l % r;
            return true;
        case hdl::VT_POWER: {
            if (r < 0) return false;
            int64_t p = 1;
            for (int64_t k = 0; k < r && k < 64; ++k) p *= l;
            value = p;
            return true;
        }
        case hdl::VT_SHL:
        case hdl::VT_ASHL: value = r >= 0 && r < 64 ? int64_t(uint64_t(l) << r) : 0; return true;
        case hdl::VT_SHR: value = r >= 0 && r < 64 ? int64_t(uint64_t(l) >> r) : 0; return true;
        case hdl::VT_ASHR: value = r >= 0 && r < 64 ? l >> r : (l < 0 ? -1 : 0); return true;
        case hdl::VT_GT: value = l > r; return true;
        case hdl::VT_LT: value = l < r; return true;
        case hdl::VT_GE: value = l >= r; return true;
        case hdl::VT_LE: value = l <= r; return true;
        case hdl::VT_LOGEQ:
        case hdl::VT_CASE_EQ: value = l == r; return true;
        case hdl::VT_LOGNEQ:
        case hdl::VT_CASE_NEQ: value = l != r; return true;
        case hdl::VT_LOGAND: value = l && r; return true;
        case hdl::VT_LOGOR: value = l || r; return true;
        case hdl::VT_AMP: value = l & r; return true;
        case hdl::VT_BAR: value = l | r; return true;
        case hdl::VT_CARET: value = l ^ r; return true;
        default: return false;
        }
    }
    default: return false;
    }
}

} // namespace

bool veriConstValue(const hdl::VeriExpression* expr, int64_t& value) { return eval(expr, value, 0); }
