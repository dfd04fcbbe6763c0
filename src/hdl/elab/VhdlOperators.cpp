// The operators: those of package standard on scalars and arrays, those of
// std_logic_1164 on std_ulogic and its vectors, and the arithmetic of numeric_std
// (numeric_bit, and the Synopsys packages' reading of std_logic_vector as unsigned).
#include <algorithm>
#include <cmath>

#include "hdl/elab/VhdlEvalInternal.h"
#include "hdl/vhdl/VhdlMessageIds.h"

namespace hdl {
namespace vhdl_eval {

namespace {

using Op = unsigned;

// std_ulogic positions: U X 0 1 Z W L H -
enum : uint8_t { U, X, L0, L1, Z, W, L, H, D };

const uint8_t kAnd[9][9] = {
    {U, U, L0, U, U, U, L0, U, U},        {U, X, L0, X, X, X, L0, X, X},   {L0, L0, L0, L0, L0, L0, L0, L0, L0},
    {U, X, L0, L1, X, X, L0, L1, X},      {U, X, L0, X, X, X, L0, X, X},   {U, X, L0, X, X, X, L0, X, X},
    {L0, L0, L0, L0, L0, L0, L0, L0, L0}, {U, X, L0, L1, X, X, L0, L1, X}, {U, X, L0, X, X, X, L0, X, X}};
const uint8_t kOr[9][9] = {
    {U, U, U, L1, U, U, U, L1, U},        {U, X, X, L1, X, X, X, L1, X},        {U, X, L0, L1, X, X, L0, L1, X},
    {L1, L1, L1, L1, L1, L1, L1, L1, L1}, {U, X, X, L1, X, X, X, L1, X},        {U, X, X, L1, X, X, X, L1, X},
    {U, X, L0, L1, X, X, L0, L1, X},      {L1, L1, L1, L1, L1, L1, L1, L1, L1}, {U, X, X, L1, X, X, X, L1, X}};
const uint8_t kXor[9][9] = {
    {U, U, U, U, U, U, U, U, U},     {U, X, X, X, X, X, X, X, X},     {U, X, L0, L1, X, X, L0, L1, X},
    {U, X, L1, L0, X, X, L1, L0, X}, {U, X, X, X, X, X, X, X, X},     {U, X, X, X, X, X, X, X, X},
    {U, X, L0, L1, X, X, L0, L1, X}, {U, X, L1, L0, X, X, L1, L0, X}, {U, X, X, X, X, X, X, X, X}};
const uint8_t kNot[9] = {U, X, L1, L0, X, X, L1, L0, X};

bool IsLogical(Op op) {
    return op == VHDL_AND || op == VHDL_OR || op == VHDL_NAND || op == VHDL_NOR || op == VHDL_XOR || op == VHDL_XNOR;
}
bool IsRelational(Op op) {
    return op == VHDL_EQ || op == VHDL_NEQ || op == VHDL_LT || op == VHDL_LE || op == VHDL_GT || op == VHDL_GE;
}
bool IsShift(Op op) {
    return op == VHDL_SLL || op == VHDL_SRL || op == VHDL_SLA || op == VHDL_SRA || op == VHDL_ROL || op == VHDL_ROR;
}

bool IsUniversal(VhdlEvaluator& ev, const VhdlValue& v) {
    return !v.type || v.type == ev.UniversalInteger() || v.type == ev.UniversalReal();
}

// The type of the result of a numeric operation: the operand that is not universal.
const VhdlType* ResultType(VhdlEvaluator& ev, const VhdlValue& a, const VhdlValue& b) {
    if (!IsUniversal(ev, a)) return a.type->base;
    if (!IsUniversal(ev, b)) return b.type->base;
    return a.type ? a.type : b.type;
}

bool LogicScalar(const VhdlValue& v) {
    return v.kind == VhdlValue::Enum && v.type && (IsBoolean(v.type) || IsBit(v.type) || IsStdUlogic(v.type));
}

// A logic operation on two scalars of one of the logic types.
VhdlValue LogicScalarOp(VhdlEvaluator& ev, Op op, const VhdlValue& a, const VhdlValue& b, const VhdlTreeNode* where) {
    const VhdlType* t = a.type;
    if (IsStdUlogic(t)) {
        VhdlValue bb = ev.Conform(b, t, where);
        size_t x = size_t(a.i), y = size_t(bb.i);
        uint8_t r;
        switch (op) {
        case VHDL_AND: r = kAnd[x][y]; break;
        case VHDL_NAND: r = kNot[kAnd[x][y]]; break;
        case VHDL_OR: r = kOr[x][y]; break;
        case VHDL_NOR: r = kNot[kOr[x][y]]; break;
        case VHDL_XOR: r = kXor[x][y]; break;
        default: r = kNot[kXor[x][y]]; break;
        }
        return VhdlValue::Enumeration(r, t);
    }
    VhdlValue bb = ev.Conform(b, t, where);
    bool x = a.i != 0, y = bb.i != 0, r;
    switch (op) {
    case VHDL_AND: r = x && y; break;
    case VHDL_NAND: r = !(x && y); break;
    case VHDL_OR: r = x || y; break;
    case VHDL_NOR: r = !(x || y); break;
    case VHDL_XOR: r = x != y; break;
    default: r = x == y; break;
    }
    return VhdlValue::Enumeration(r ? 1 : 0, t);
}

VhdlValue LogicNot(const VhdlValue& a) {
    if (IsStdUlogic(a.type)) return VhdlValue::Enumeration(kNot[size_t(a.i)], a.type);
    return VhdlValue::Enumeration(a.i ? 0 : 1, a.type);
}

// ---- bit vector arithmetic, most significant bit first, equal widths

Bits Add(const Bits& a, const Bits& b, bool carryIn = false) {
    Bits r;
    size_t n = a.bits.size();
    r.bits.resize(n);
    r.unknown = a.unknown || b.unknown;
    unsigned carry = carryIn;
    for (size_t i = n; i-- > 0;) {
        unsigned s = a.bits[i] + (i < b.bits.size() ? b.bits[i] : 0) + carry;
        r.bits[i] = uint8_t(s & 1);
        carry = s >> 1;
    }
    return r;
}

Bits Invert(const Bits& a) {
    Bits r = a;
    for (uint8_t& bit : r.bits) bit ^= 1;
    return r;
}

Bits Sub(const Bits& a, const Bits& b) { return Add(a, Invert(b), true); }

Bits Mul(const Bits& a, const Bits& b, size_t width) {
    Bits r;
    r.bits.assign(width, 0);
    r.unknown = a.unknown || b.unknown;
    Bits shifted = ResizeBits(a, width, false);
    for (size_t i = b.bits.size(); i-- > 0;) {
        if (b.bits[i]) r = Add(r, shifted);
        shifted.bits.erase(shifted.bits.begin());
        shifted.bits.push_back(0);
    }
    r.unknown = a.unknown || b.unknown;
    return r;
}

bool IsZero(const Bits& a) {
    return std::all_of(a.bits.begin(), a.bits.end(), [](uint8_t b) { return b == 0; });
}

// Unsigned division of equal-width vectors.
void DivMod(const Bits& a, const Bits& b, Bits& quotient, Bits& remainder) {
    size_t n = a.bits.size();
    quotient.bits.assign(n, 0);
    remainder.bits.assign(n, 0);
    for (size_t i = 0; i < n; ++i) {
        remainder.bits.erase(remainder.bits.begin());
        remainder.bits.push_back(a.bits[i]);
        Bits diff = Sub(remainder, b);
        // No borrow when remainder >= b: compare directly.
        bool ge =
            !std::lexicographical_compare(remainder.bits.begin(), remainder.bits.end(), b.bits.begin(), b.bits.end());
        if (ge) {
            remainder = diff;
            quotient.bits[i] = 1;
        }
    }
}

bool Negative(const Bits& a, bool isSigned) { return isSigned && !a.bits.empty() && a.bits[0]; }

Bits Negate(const Bits& a) {
    Bits one;
    one.bits.assign(a.bits.size(), 0);
    return Add(Invert(a), one, true);
}

int CompareBits(const Bits& a, const Bits& b, bool isSigned) {
    size_t n = std::max(a.bits.size(), b.bits.size()) + 1;
    Bits x = ResizeBits(a, n, isSigned), y = ResizeBits(b, n, isSigned);
    bool nx = Negative(x, isSigned), ny = Negative(y, isSigned);
    if (nx != ny) return nx ? -1 : 1;
    int c = std::lexicographical_compare(x.bits.begin(), x.bits.end(), y.bits.begin(), y.bits.end())   ? -1
            : std::lexicographical_compare(y.bits.begin(), y.bits.end(), x.bits.begin(), x.bits.end()) ? 1
                                                                                                       : 0;
    return c;
}

// A numeric operand: a vector as it stands, an integer as a vector of `width` bits.
Bits Operand(const VhdlValue& v, size_t width, bool isSigned) {
    if (v.kind == VhdlValue::Int) return IntToBits(v.i, width);
    return ResizeBits(ToBits(v), width, isSigned);
}

bool IsNumericVector(const VhdlValue& v) {
    if (v.kind != VhdlValue::Array || !v.type || !IsLogicVector(v.type)) return false;
    return true;
}

// numeric_std arithmetic and comparison, with one operand possibly an integer.
bool NumericOp(VhdlEvaluator& ev, Op op, const VhdlValue& a, const VhdlValue& b, const VhdlTreeNode* where,
               VhdlValue& result) {
    bool va = IsNumericVector(a), vb = IsNumericVector(b);
    if (!va && !vb) return false;
    if ((!va && a.kind != VhdlValue::Int) || (!vb && b.kind != VhdlValue::Int)) return false;
    // Results have widths of their own: the unconstrained type.
    const VhdlType* type = (va ? a.type : b.type)->base;
    bool isSigned = IsSignedVector(type) || (va && vb && IsSignedVector(b.type));
    size_t la = va ? a.Elements().size() : 0, lb = vb ? b.Elements().size() : 0;
    size_t width = std::max(la, lb);
    if (!va) la = width;
    if (!vb) lb = width;
    if (op == VHDL_EQ || op == VHDL_NEQ || op == VHDL_LT || op == VHDL_LE || op == VHDL_GT || op == VHDL_GE) {
        // Plain vectors of equal length compare as the predefined operators do.
        if (va && vb && !IsSignedVector(a.type) && !IsSignedVector(b.type) && BaseName(a.type) != "unsigned" &&
            BaseName(b.type) != "unsigned")
            return false;
        size_t w = std::max<size_t>(width, 64) + 1;
        Bits x = Operand(a, w, isSigned), y = Operand(b, w, isSigned);
        if (x.unknown || y.unknown) {
            result = ev.Boolean(op == VHDL_NEQ);
            return true;
        }
        int c = CompareBits(x, y, isSigned || a.kind == VhdlValue::Int || b.kind == VhdlValue::Int);
        bool r = op == VHDL_EQ    ? c == 0
                 : op == VHDL_NEQ ? c != 0
                 : op == VHDL_LT  ? c < 0
                 : op == VHDL_LE  ? c <= 0
                 : op == VHDL_GT  ? c > 0
                                  : c >= 0;
        result = ev.Boolean(r);
        return true;
    }
    Bits x, y, r;
    switch (op) {
    case VHDL_PLUS:
    case VHDL_MINUS:
        x = Operand(a, width, isSigned);
        y = Operand(b, width, isSigned);
        r = op == VHDL_PLUS ? Add(x, y) : Sub(x, y);
        break;
    case VHDL_STAR: {
        size_t w = va && vb ? la + lb : 2 * width;
        x = Operand(a, va ? la : width, isSigned);
        y = Operand(b, vb ? lb : width, isSigned);
        bool neg = Negative(x, isSigned) != Negative(y, isSigned);
        Bits ax = Negative(x, isSigned) ? Negate(x) : x, ay = Negative(y, isSigned) ? Negate(y) : y;
        r = Mul(ax, ay, w);
        if (neg) r = Negate(r);
        r.unknown = x.unknown || y.unknown;
        break;
    }
    case VHDL_SLASH:
    case VHDL_MOD:
    case VHDL_REM: {
        size_t w = std::max(la, lb);
        x = Operand(a, w, isSigned);
        y = Operand(b, w, isSigned);
        if (!x.unknown && !y.unknown && IsZero(y)) ev.Fail<vhdl_msg::ElabDivisionByZero>(where);
        bool nx = Negative(x, isSigned), ny = Negative(y, isSigned);
        Bits ax = nx ? Negate(x) : x, ay = ny ? Negate(y) : y, q, m;
        DivMod(ax, ay, q, m);
        if (op == VHDL_SLASH) {
            r = nx != ny ? Negate(q) : q;
        } else {
            r = nx ? Negate(m) : m;
            if (op == VHDL_MOD && !IsZero(m) && nx != ny) r = Add(r, y);
        }
        // The width of the result follows the left (division) or right (mod, rem) operand.
        size_t keep = op == VHDL_SLASH ? la : lb;
        r = ResizeBits(r, keep, isSigned);
        r.unknown = x.unknown || y.unknown;
        break;
    }
    default: return false;
    }
    if (r.unknown) {
        result = FilledVector(ev, type, int64_t(r.bits.size()), 'X');
        return true;
    }
    result = FromBits(ev, r, type);
    return true;
}

void Checked(VhdlEvaluator& ev, bool overflow, const VhdlTreeNode* where) {
    if (overflow) ev.Fail<vhdl_msg::ElabIntegerOverflow>(where, VhdlEvaluator::Text(where).c_str());
}

VhdlValue IntegerOp(VhdlEvaluator& ev, Op op, const VhdlValue& a, const VhdlValue& b, const VhdlTreeNode* where) {
    const VhdlType* t = ResultType(ev, a, b);
    int64_t x = a.i, y = b.i, r = 0;
    switch (op) {
    case VHDL_PLUS: Checked(ev, __builtin_add_overflow(x, y, &r), where); break;
    case VHDL_MINUS: Checked(ev, __builtin_sub_overflow(x, y, &r), where); break;
    case VHDL_STAR: Checked(ev, __builtin_mul_overflow(x, y, &r), where); break;
    case VHDL_SLASH:
    case VHDL_MOD:
    case VHDL_REM:
        if (y == 0) ev.Fail<vhdl_msg::ElabDivisionByZeroIn>(where, VhdlEvaluator::Text(where).c_str());
        if (x == INT64_MIN && y == -1) Checked(ev, true, where);
        if (op == VHDL_SLASH) r = x / y;
        else if (op == VHDL_REM) r = x % y;
        else {
            r = x % y;
            if (r != 0 && ((r < 0) != (y < 0))) r += y;
        }
        break;
    case VHDL_POW: {
        if (y < 0) ev.Fail<vhdl_msg::ElabNegativeExponent>(where, VhdlEvaluator::Text(where).c_str());
        r = 1;
        for (int64_t k = 0; k < y; ++k) {
            Checked(ev, __builtin_mul_overflow(r, x, &r), where);
            if (r == 0 || r == 1) break;
        }
        if (r == 1 && x == -1) r = (y % 2) ? -1 : 1;
        return VhdlValue::Integer(r, a.type && !IsUniversal(ev, a) ? a.type->base : a.type);
    }
    default: return VhdlValue();
    }
    return VhdlValue::Integer(r, t);
}

VhdlValue RealOp(VhdlEvaluator& ev, Op op, const VhdlValue& a, const VhdlValue& b, const VhdlTreeNode* where) {
    double x = a.kind == VhdlValue::Real ? a.r : double(a.i);
    double y = b.kind == VhdlValue::Real ? b.r : double(b.i);
    const VhdlType* t = a.kind == VhdlValue::Real && !IsUniversal(ev, a)   ? a.type->base
                        : b.kind == VhdlValue::Real && !IsUniversal(ev, b) ? b.type->base
                                                                           : ev.UniversalReal();
    double r;
    switch (op) {
    case VHDL_PLUS: r = x + y; break;
    case VHDL_MINUS: r = x - y; break;
    case VHDL_STAR: r = x * y; break;
    case VHDL_SLASH:
        if (y == 0) ev.Fail<vhdl_msg::ElabDivisionByZeroIn>(where, VhdlEvaluator::Text(where).c_str());
        r = x / y;
        break;
    case VHDL_POW:
        if (b.kind == VhdlValue::Int && x == 0 && y < 0)
            ev.Fail<vhdl_msg::ElabDivisionByZeroIn>(where, VhdlEvaluator::Text(where).c_str());
        r = std::pow(x, y);
        break;
    default: return VhdlValue();
    }
    return VhdlValue::Floating(r, t);
}

VhdlValue PhysicalOp(VhdlEvaluator& ev, Op op, const VhdlValue& a, const VhdlValue& b, const VhdlTreeNode* where) {
    bool pa = a.kind == VhdlValue::Phys, pb = b.kind == VhdlValue::Phys;
    // Two physical operands of different types meet only in an operator of a package.
    if (pa && pb && a.type && b.type && a.type->base != b.type->base) return VhdlValue();
    const VhdlType* t = pa ? a.type->base : b.type->base;
    int64_t r = 0;
    if (op == VHDL_PLUS || op == VHDL_MINUS) {
        if (!pa || !pb) return VhdlValue();
        Checked(ev, op == VHDL_PLUS ? __builtin_add_overflow(a.i, b.i, &r) : __builtin_sub_overflow(a.i, b.i, &r),
                where);
        return VhdlValue::Physical(r, t);
    }
    if (op == VHDL_STAR) {
        const VhdlValue& p = pa ? a : b;
        const VhdlValue& s = pa ? b : a;
        if (s.kind == VhdlValue::Real) return VhdlValue::Physical(int64_t(std::llround(double(p.i) * s.r)), t);
        if (s.kind != VhdlValue::Int) return VhdlValue();
        Checked(ev, __builtin_mul_overflow(p.i, s.i, &r), where);
        return VhdlValue::Physical(r, t);
    }
    if (op == VHDL_SLASH && pa) {
        if (pb) {
            if (b.i == 0) ev.Fail<vhdl_msg::ElabDivisionByZeroIn>(where, VhdlEvaluator::Text(where).c_str());
            return VhdlValue::Integer(a.i / b.i, ev.UniversalInteger());
        }
        if (b.kind == VhdlValue::Real) {
            if (b.r == 0) ev.Fail<vhdl_msg::ElabDivisionByZeroIn>(where, VhdlEvaluator::Text(where).c_str());
            return VhdlValue::Physical(int64_t(std::llround(double(a.i) / b.r)), t);
        }
        if (b.kind == VhdlValue::Int) {
            if (b.i == 0) ev.Fail<vhdl_msg::ElabDivisionByZeroIn>(where, VhdlEvaluator::Text(where).c_str());
            return VhdlValue::Physical(a.i / b.i, t);
        }
    }
    if ((op == VHDL_MOD || op == VHDL_REM) && pa && pb) {
        if (b.i == 0) ev.Fail<vhdl_msg::ElabDivisionByZeroIn>(where, VhdlEvaluator::Text(where).c_str());
        int64_t m = a.i % b.i;
        if (op == VHDL_MOD && m != 0 && ((m < 0) != (b.i < 0))) m += b.i;
        return VhdlValue::Physical(m, t);
    }
    return VhdlValue();
}

// The element type of an array operand; the other operand may be an element.
VhdlValue Concatenate(VhdlEvaluator& ev, const VhdlValue& a, const VhdlValue& b, const VhdlType* expected,
                      const VhdlTreeNode* where) {
    const VhdlType* type = a.kind == VhdlValue::Array && a.type ? a.type
                           : b.kind == VhdlValue::Array && b.type
                               ? b.type
                               : (expected && expected->IsArray() ? expected : nullptr);
    const VhdlType* element = type ? type->element : nullptr;
    bool arrayA = a.kind == VhdlValue::Array && !(element && element->IsArray() && a.type == element);
    bool arrayB = b.kind == VhdlValue::Array && !(element && element->IsArray() && b.type == element);
    // An element that is itself an array (an array of vectors): the operand is an element
    // unless its type is the array type.
    if (element && element->IsArray()) {
        arrayA = a.kind == VhdlValue::Array && a.type && a.type->base == type->base;
        arrayB = b.kind == VhdlValue::Array && b.type && b.type->base == type->base;
    }
    std::vector<VhdlValue> elements;
    auto append = [&](const VhdlValue& v, bool isArray) {
        if (isArray) {
            for (const VhdlValue& e : v.Elements()) elements.push_back(element ? ev.Conform(e, element, where) : e);
        } else {
            elements.push_back(element ? ev.Conform(v, element, where) : v);
        }
    };
    append(a, arrayA);
    append(b, arrayB);
    int64_t n = int64_t(elements.size());
    VhdlBounds bounds;
    if (arrayA && a.Length() > 0 && a.type) {
        const VhdlBounds& l = a.Range();
        bounds = VhdlBounds::Discrete(l.left, l.ascending ? l.left + n - 1 : l.left - n + 1, l.ascending);
    } else if (arrayA && a.Length() == 0 && arrayB && b.type) {
        return b;
    } else {
        const VhdlType* index = type && !type->indexTypes.empty() ? type->indexTypes[0] : nullptr;
        VhdlBounds ir = index ? index->range : VhdlBounds::Discrete(0, INT32_MAX, true);
        bounds = VhdlBounds::Discrete(ir.left, ir.ascending ? ir.left + n - 1 : ir.left - n + 1, ir.ascending);
    }
    const VhdlType* resultType = type && type->constrained ? type->base : type;
    return VhdlValue::MakeArray(resultType, {bounds}, std::move(elements));
}

VhdlValue Shift(VhdlEvaluator& ev, Op op, const VhdlValue& a, int64_t n, const VhdlTreeNode* where) {
    std::vector<VhdlValue> e = a.Elements();
    size_t len = e.size();
    if (len == 0) return a;
    const VhdlType* element = a.type ? a.type->element : nullptr;
    VhdlValue zero = element && IsStdUlogic(element) ? EnumOfChar(ev, element, '0', where)
                     : element                       ? VhdlValue::Enumeration(element->range.left, element)
                                                     : VhdlValue::Character('0');
    if (n < 0) {
        n = -n;
        switch (op) {
        case VHDL_SLL: op = VHDL_SRL; break;
        case VHDL_SRL: op = VHDL_SLL; break;
        case VHDL_SLA: op = VHDL_SRA; break;
        case VHDL_SRA: op = VHDL_SLA; break;
        case VHDL_ROL: op = VHDL_ROR; break;
        default: op = VHDL_ROL; break;
        }
    }
    std::vector<VhdlValue> r(len);
    for (size_t i = 0; i < len; ++i) {
        int64_t from;
        switch (op) {
        case VHDL_SLL:
        case VHDL_SLA: from = int64_t(i) + n; break;
        case VHDL_SRL:
        case VHDL_SRA: from = int64_t(i) - n; break;
        case VHDL_ROL: from = (int64_t(i) + n) % int64_t(len); break;
        default: from = ((int64_t(i) - n) % int64_t(len) + int64_t(len)) % int64_t(len); break;
        }
        if (from >= 0 && from < int64_t(len)) r[i] = e[size_t(from)];
        else if (op == VHDL_SLA) r[i] = e[len - 1];
        else if (op == VHDL_SRA) r[i] = e[0];
        else r[i] = zero;
    }
    return VhdlValue::MakeArray(a.type, a.Bounds(), std::move(r));
}

} // namespace

VhdlValue ApplyOperator(VhdlEvaluator& ev, unsigned op, const VhdlValue* left, const VhdlValue& right,
                        const VhdlType* expected, const VhdlTreeNode* where) {
    if (!left) {
        const VhdlValue& v = right;
        switch (op) {
        case VHDL_PLUS:
            if (v.kind == VhdlValue::Int || v.kind == VhdlValue::Real || v.kind == VhdlValue::Phys) return v;
            break;
        case VHDL_MINUS:
        case VHDL_ABS: {
            bool negate = op == VHDL_MINUS || (v.kind == VhdlValue::Real ? v.r < 0 : v.i < 0);
            if (v.kind == VhdlValue::Real) return VhdlValue::Floating(negate ? -v.r : v.r, v.type);
            if (v.kind == VhdlValue::Int || v.kind == VhdlValue::Phys) {
                if (negate && v.i == INT64_MIN) Checked(ev, true, where);
                VhdlValue r = v;
                if (negate) r.i = -v.i;
                return r;
            }
            if (IsNumericVector(v) && IsSignedVector(v.type)) {
                Bits b = ToBits(v);
                if (b.unknown) return FilledVector(ev, v.type, int64_t(b.bits.size()), 'X');
                bool neg = !b.bits.empty() && b.bits[0];
                return FromBits(ev, op == VHDL_ABS && !neg ? b : Negate(b), v.type);
            }
            break;
        }
        case VHDL_NOT:
            if (LogicScalar(v)) return LogicNot(v);
            if (v.kind == VhdlValue::Array) {
                std::vector<VhdlValue> e;
                for (const VhdlValue& x : v.Elements()) {
                    if (!LogicScalar(x)) ev.NotStatic(where, "operand of not");
                    e.push_back(LogicNot(x));
                }
                return VhdlValue::MakeArray(v.type, v.Bounds(), std::move(e));
            }
            break;
        case VHDL_COND:
            if (v.kind == VhdlValue::Enum && IsBoolean(v.type)) return v;
            if (LogicScalar(v)) return ev.Boolean(LiteralChar(v) == '1' || LiteralChar(v) == 'H');
            break;
        default:
            if (IsLogical(op) && v.kind == VhdlValue::Array && !v.Elements().empty()) {
                // Reduction (2008): the operator folded over the elements.
                Op base = op == VHDL_NAND   ? Op(VHDL_AND)
                          : op == VHDL_NOR  ? Op(VHDL_OR)
                          : op == VHDL_XNOR ? Op(VHDL_XOR)
                                            : op;
                VhdlValue acc = v.Elements()[0];
                if (!LogicScalar(acc)) break;
                for (size_t i = 1; i < v.Elements().size(); ++i)
                    acc = LogicScalarOp(ev, base, acc, v.Elements()[i], where);
                return base != op ? LogicNot(acc) : acc;
            }
            break;
        }
        VhdlValue user;
        if (ev.CallUserOperator(op, nullptr, v, where, user)) return user;
        ev.Fail<vhdl_msg::ElabOperatorNotApplicable>(where, VhdlTokenText(op), VhdlImage(v).c_str());
    }

    VhdlValue a = *left, b = right;
    // Untyped literals take the other operand's type.
    if (a.kind == VhdlValue::Char && b.kind == VhdlValue::Enum) a = ev.Conform(a, b.type, where);
    if (b.kind == VhdlValue::Char && a.kind == VhdlValue::Enum) b = ev.Conform(b, a.type, where);
    if (a.kind == VhdlValue::Array && !a.type && b.kind == VhdlValue::Array && b.type && op != VHDL_AMP)
        a = ev.Conform(a, b.type->base, where);
    if (b.kind == VhdlValue::Array && !b.type && a.kind == VhdlValue::Array && a.type && op != VHDL_AMP)
        b = ev.Conform(b, a.type->base, where);

    if (op == VHDL_AMP) return Concatenate(ev, a, b, expected, where);

    if (IsRelational(op)) {
        VhdlValue r;
        if (NumericOp(ev, op, a, b, where, r)) return r;
        if (a.kind == VhdlValue::Array || b.kind == VhdlValue::Array) {
            if (a.kind != b.kind) ev.NotStatic(where, "comparison");
            if (op == VHDL_EQ || op == VHDL_NEQ) return ev.Boolean(VhdlValueEqual(a, b) == (op == VHDL_EQ));
        }
        if (a.kind == VhdlValue::Enum && b.kind == VhdlValue::Enum && a.type && b.type && a.type->base != b.type->base)
            b = ev.Conform(b, a.type, where);
        int c = VhdlValueCompare(a, b);
        bool r2 = op == VHDL_EQ    ? c == 0
                  : op == VHDL_NEQ ? c != 0
                  : op == VHDL_LT  ? c < 0
                  : op == VHDL_LE  ? c <= 0
                  : op == VHDL_GT  ? c > 0
                                   : c >= 0;
        return ev.Boolean(r2);
    }
    if (op == VHDL_MEQ || op == VHDL_MNEQ) {
        // Matching equality (2008) of std_ulogic and its vectors, '-' matching anything.
        auto match = [](char x, char y) -> char {
            if (x == '-' || y == '-') return '1';
            auto norm = [](char c) { return c == 'L' ? '0' : c == 'H' ? '1' : c; };
            x = norm(x);
            y = norm(y);
            if (x == 'U' || y == 'U') return 'U';
            if ((x != '0' && x != '1') || (y != '0' && y != '1')) return 'X';
            return x == y ? '1' : '0';
        };
        char r = '1';
        if (a.kind == VhdlValue::Array) {
            if (a.Elements().size() != b.Elements().size()) ev.Fail<vhdl_msg::ElabOperandLengthsDiffer>(where);
            for (size_t i = 0; i < a.Elements().size(); ++i) {
                char m = match(LiteralChar(a.Elements()[i]), LiteralChar(b.Elements()[i]));
                if (m == '0') r = '0';
                else if (m != '1' && r == '1') r = m;
            }
        } else {
            r = match(LiteralChar(a), LiteralChar(b));
        }
        if (op == VHDL_MNEQ) r = r == '1' ? '0' : r == '0' ? '1' : r;
        const VhdlType* t = a.kind == VhdlValue::Array ? (a.type ? a.type->element : nullptr) : a.type;
        return EnumOfChar(ev, t, r, where);
    }
    if (IsLogical(op)) {
        if (LogicScalar(a) && LogicScalar(b)) return LogicScalarOp(ev, op, a, b, where);
        if (a.kind == VhdlValue::Array || b.kind == VhdlValue::Array) {
            const VhdlValue& arr = a.kind == VhdlValue::Array ? a : b;
            std::vector<VhdlValue> e;
            size_t n = arr.Elements().size();
            if (a.kind == VhdlValue::Array && b.kind == VhdlValue::Array && b.Elements().size() != n)
                ev.Fail<vhdl_msg::ElabOperatorOperandLengthsDiffer>(where, VhdlTokenText(op));
            for (size_t i = 0; i < n; ++i) {
                VhdlValue x = a.kind == VhdlValue::Array ? a.Elements()[i] : a;
                VhdlValue y = b.kind == VhdlValue::Array ? b.Elements()[i] : b;
                if (x.kind == VhdlValue::Char && LogicScalar(y)) x = ev.Conform(x, y.type, where);
                if (y.kind == VhdlValue::Char && LogicScalar(x)) y = ev.Conform(y, x.type, where);
                if (!LogicScalar(x) || !LogicScalar(y)) ev.NotStatic(where, "logical operation");
                e.push_back(LogicScalarOp(ev, op, x, y, where));
            }
            return VhdlValue::MakeArray(arr.type, arr.Bounds(), std::move(e));
        }
    }
    if (IsShift(op) && a.kind == VhdlValue::Array && b.kind == VhdlValue::Int) return Shift(ev, op, a, b.i, where);

    VhdlValue r;
    if (NumericOp(ev, op, a, b, where, r)) return r;
    if (a.kind == VhdlValue::Phys || b.kind == VhdlValue::Phys) {
        r = PhysicalOp(ev, op, a, b, where);
        if (!r.IsNone()) return r;
    } else if (a.kind == VhdlValue::Real || b.kind == VhdlValue::Real) {
        if ((a.kind == VhdlValue::Real || a.kind == VhdlValue::Int) &&
            (b.kind == VhdlValue::Real || b.kind == VhdlValue::Int)) {
            r = RealOp(ev, op, a, b, where);
            if (!r.IsNone()) return r;
        }
    } else if (a.kind == VhdlValue::Int && b.kind == VhdlValue::Int) {
        r = IntegerOp(ev, op, a, b, where);
        if (!r.IsNone()) return r;
    }
    if (ev.CallUserOperator(op, &a, b, where, r)) return r;
    ev.Fail<vhdl_msg::ElabBinaryOperatorNotApplicable>(where, VhdlTokenText(op), VhdlImage(a).c_str(),
                                                       VhdlImage(b).c_str());
}

} // namespace vhdl_eval

VhdlValue VhdlEvaluator::EvaluateOperator(const VhdlOperator& n, const VhdlType* expected) {
    unsigned op = n.op;
    auto numeric = [](const VhdlType* t) { return t && t->IsScalar() && t->kind != VhdlTypeKind::Enumeration; };
    if (!n.left) {
        const VhdlType* hint = op == VHDL_COND ? nullptr : expected;
        return vhdl_eval::ApplyOperator(*this, op, nullptr, Evaluate(n.right, hint), expected, &n);
    }
    bool relational = op == VHDL_EQ || op == VHDL_NEQ || op == VHDL_LT || op == VHDL_LE || op == VHDL_GT ||
                      op == VHDL_GE || op == VHDL_MEQ || op == VHDL_MNEQ;
    bool shift =
        op == VHDL_SLL || op == VHDL_SRL || op == VHDL_SLA || op == VHDL_SRA || op == VHDL_ROL || op == VHDL_ROR;
    const VhdlType* leftHint = relational       ? nullptr
                               : op == VHDL_AMP ? (expected && expected->IsArray() ? expected : nullptr)
                               : op == VHDL_POW ? (numeric(expected) ? expected : nullptr)
                                                : expected;
    VhdlValue left = Evaluate(n.left, leftHint);
    // Short circuit of boolean and, or, nand, nor.
    if (left.kind == VhdlValue::Enum && vhdl_eval::IsBoolean(left.type)) {
        if ((op == VHDL_AND && left.i == 0) || (op == VHDL_NAND && left.i == 0)) return Boolean(op == VHDL_NAND);
        if ((op == VHDL_OR && left.i == 1) || (op == VHDL_NOR && left.i == 1)) return Boolean(op == VHDL_OR);
    }
    const VhdlType* rightHint = nullptr;
    bool leftTyped = left.type && left.type != UniversalInteger() && left.type != UniversalReal();
    if (shift || op == VHDL_POW) rightHint = nullptr;
    else if (op == VHDL_AMP) rightHint = leftTyped && left.kind == VhdlValue::Array ? left.type : leftHint;
    else if (leftTyped && (left.kind != VhdlValue::Array || relational || op == VHDL_AND || op == VHDL_OR ||
                           op == VHDL_XOR || op == VHDL_NAND || op == VHDL_NOR || op == VHDL_XNOR))
        // An array operand of another length is no mistake here ("abc" = "ab").
        rightHint = left.kind == VhdlValue::Array ? left.type->base : left.type;
    else if (!relational) rightHint = expected;
    VhdlValue right = Evaluate(n.right, rightHint);
    if (op == VHDL_AMP && !leftTyped && right.type && right.kind == VhdlValue::Array && left.kind != VhdlValue::Int)
        left =
            Evaluate(n.left, right.type->element && left.kind != VhdlValue::Array ? right.type->element : right.type);
    return vhdl_eval::ApplyOperator(*this, op, &left, right, expected, &n);
}

} // namespace hdl
