#include "hdl/elab/VeriValue.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace hdl {

namespace {

uint64_t TopMask(uint32_t width) {
    uint32_t r = width % 64;
    return r ? (uint64_t(1) << r) - 1 : ~uint64_t(0);
}

VeriValue Sized(uint32_t width, bool isSigned) {
    VeriValue v;
    v.kind = VeriValue::Vec;
    v.width = width;
    v.isSigned = isSigned;
    v.a.assign(v.Words(), 0);
    v.b.assign(v.Words(), 0);
    return v;
}

bool Negative(const VeriValue& v) { return v.width && v.Bit(v.width - 1) == 1; }

// Two's complement of the value bits in place.
void Negate(VeriWords& w) {
    uint64_t carry = 1;
    for (uint64_t& x : w) {
        x = ~x + carry;
        carry = carry && x == 0;
    }
}

// Value bits compared as unsigned: -1, 0, 1.
int CompareUnsigned(const VeriWords& l, const VeriWords& r) {
    for (size_t i = l.size(); i-- > 0;) {
        if (l[i] != r[i]) return l[i] < r[i] ? -1 : 1;
    }
    return 0;
}

// Unsigned long division of value bits; both have the same number of words.
void DivMod(const VeriWords& n, const VeriWords& d, uint32_t width, VeriWords& q, VeriWords& rem) {
    size_t words = n.size();
    q.assign(words, 0);
    rem.assign(words, 0);
    if (words == 1) {
        q[0] = n[0] / d[0];
        rem[0] = n[0] % d[0];
        return;
    }
    for (uint32_t i = width; i-- > 0;) {
        // rem = rem << 1 | bit i of n
        for (size_t w = words; w-- > 0;) rem[w] = rem[w] << 1 | (w ? rem[w - 1] >> 63 : 0);
        rem[0] |= (n[i / 64] >> (i % 64)) & 1;
        if (CompareUnsigned(rem, d) >= 0) {
            uint64_t borrow = 0;
            for (size_t w = 0; w < words; ++w) {
                uint64_t x = rem[w] - d[w] - borrow;
                borrow = (rem[w] < d[w] + borrow) || (borrow && d[w] == ~uint64_t(0));
                rem[w] = x;
            }
            q[i / 64] |= uint64_t(1) << (i % 64);
        }
    }
}

} // namespace

void VeriWords::CopyFrom(const VeriWords& o) {
    size_ = o.size_;
    if (size_ > 1) {
        heap_ = new uint64_t[size_];
        std::copy(o.heap_, o.heap_ + size_, heap_);
    } else {
        inline_ = o.inline_;
    }
}

void VeriWords::assign(size_t n, uint64_t value) {
    if (n != size_) {
        Release();
        size_ = uint32_t(n);
        if (n > 1) heap_ = new uint64_t[n];
    }
    std::fill(begin(), end(), value);
}

void VeriWords::resize(size_t n, uint64_t value) {
    if (n == size_) return;
    VeriWords grown;
    grown.assign(n, value);
    std::copy(begin(), begin() + std::min<size_t>(n, size_), grown.begin());
    *this = std::move(grown);
}

bool VeriWords::operator==(const VeriWords& o) const {
    return size_ == o.size_ && std::equal(begin(), end(), o.begin());
}

VeriValue VeriValue::Int(int64_t value, uint32_t width, bool isSigned) {
    VeriValue v = Sized(width, isSigned);
    for (uint32_t w = 0; w < v.Words(); ++w) v.a[w] = w == 0 ? uint64_t(value) : (value < 0 ? ~uint64_t(0) : 0);
    v.Normalize();
    return v;
}

VeriValue VeriValue::Bits(uint32_t width, bool isSigned) { return Sized(width, isSigned); }

VeriValue VeriValue::AllX(uint32_t width, bool isSigned) {
    VeriValue v = Sized(width, isSigned);
    for (uint64_t& w : v.b) w = ~uint64_t(0);
    v.Normalize();
    return v;
}

VeriValue VeriValue::MakeReal(double r) {
    VeriValue v;
    v.kind = Real;
    v.real = r;
    v.width = 64;
    v.isSigned = true;
    return v;
}

VeriValue VeriValue::MakeType(std::string text, uint32_t width, bool isSigned) {
    VeriValue v;
    v.kind = Type;
    v.typeText = std::move(text);
    v.width = width;
    v.isSigned = isSigned;
    return v;
}

VeriValue VeriValue::String(std::string_view chars) {
    VeriValue v = Sized(chars.empty() ? 8 : uint32_t(chars.size() * 8), false);
    for (size_t i = 0; i < chars.size(); ++i) {
        uint32_t at = uint32_t((chars.size() - 1 - i) * 8);
        for (int bit = 0; bit < 8; ++bit) v.SetBit(at + bit, (static_cast<unsigned char>(chars[i]) >> bit) & 1);
    }
    v.isString = true;
    return v;
}

bool VeriValue::ParseBased(std::string_view text, uint32_t size, VeriValue& out) {
    size_t tick = text.find('\'');
    if (tick == std::string_view::npos) return false;
    std::string_view rest = text.substr(tick + 1);
    bool isSigned = false;
    if (!rest.empty() && (rest[0] == 's' || rest[0] == 'S')) {
        isSigned = true;
        rest.remove_prefix(1);
    }
    if (rest.empty()) return false;
    char base = char(std::tolower(static_cast<unsigned char>(rest[0])));
    if (base != 'b' && base != 'o' && base != 'h' && base != 'd') {
        // '0 '1 'x 'z: every bit of the context's width; kept as one unsized bit.
        VeriValue v = Sized(1, false);
        char c = char(std::tolower(static_cast<unsigned char>(rest[0])));
        v.SetBit(0, c == '1' ? 1 : c == 'x' ? 2 : c == 'z' || c == '?' ? 3 : 0);
        v.sized = false;
        out = v;
        return c == '0' || c == '1' || c == 'x' || c == 'z' || c == '?';
    }
    std::string digits;
    for (char c : rest.substr(1))
        if (c != '_' && !std::isspace(static_cast<unsigned char>(c))) digits += char(std::tolower(c));
    if (digits.empty()) return false;
    uint32_t width = size ? size : 32;
    // Digits are read into a vector wide enough for all of them, then cut to the size.
    uint32_t bitsPerDigit = base == 'b' ? 1 : base == 'o' ? 3 : 4;
    uint32_t wide = std::max<uint32_t>(width, uint32_t(digits.size()) * bitsPerDigit + 4);
    VeriValue v = Sized(wide, isSigned);
    if (base == 'd') {
        if (digits.size() == 1 && (digits[0] == 'x' || digits[0] == 'z' || digits[0] == '?')) {
            for (uint32_t i = 0; i < wide; ++i) v.SetBit(i, digits[0] == 'x' ? 2 : 3);
        } else {
            VeriValue ten = Int(10, wide, false);
            for (char c : digits) {
                if (!std::isdigit(static_cast<unsigned char>(c))) return false;
                v = veri_ops::Add(veri_ops::Mul(v, ten), Int(c - '0', wide, false));
            }
        }
    } else {
        uint32_t at = 0;
        for (size_t i = digits.size(); i-- > 0;) {
            char c = digits[i];
            int val = 0;
            int unknown = 0;
            if (c == 'x') unknown = 2;
            else if (c == 'z' || c == '?') unknown = 3;
            else if (std::isdigit(static_cast<unsigned char>(c))) val = c - '0';
            else if (c >= 'a' && c <= 'f') val = c - 'a' + 10;
            else return false;
            if (val >= (1 << bitsPerDigit)) return false;
            for (uint32_t bit = 0; bit < bitsPerDigit; ++bit) v.SetBit(at + bit, unknown ? unknown : (val >> bit) & 1);
            at += bitsPerDigit;
        }
    }
    // The leftmost x or z digit extends to the full size.
    int top = 0;
    if (base == 'd') top = v.Bit(wide - 1) >= 2 ? v.Bit(wide - 1) : 0;
    else
        top = v.Bit(uint32_t(digits.size()) * bitsPerDigit - 1) >= 2 ? v.Bit(uint32_t(digits.size()) * bitsPerDigit - 1)
                                                                     : 0;
    if (top)
        for (uint32_t i = uint32_t(digits.size()) * bitsPerDigit; i < wide; ++i) v.SetBit(i, top);
    VeriValue cut = v.Resized(width, false);
    cut.isSigned = isSigned;
    cut.sized = size != 0;
    out = cut;
    return true;
}

void VeriValue::Normalize() {
    if (kind != Vec || a.empty()) return;
    uint64_t m = TopMask(width);
    a.back() &= m;
    b.back() &= m;
}

bool VeriValue::HasUnknown() const {
    for (uint64_t w : b)
        if (w) return true;
    return false;
}

bool VeriValue::IsZero() const {
    if (kind == Real) return real == 0;
    if (HasUnknown()) return false;
    for (uint64_t w : a)
        if (w) return false;
    return true;
}

int VeriValue::Truth() const {
    if (kind == Real) return real != 0;
    bool unknown = false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (a[i] & ~b[i]) return 1;
        unknown = unknown || b[i];
    }
    return unknown ? -1 : 0;
}

int VeriValue::Bit(uint32_t i) const {
    if (i >= width) return 0;
    int av = int((a[i / 64] >> (i % 64)) & 1);
    int bv = int((b[i / 64] >> (i % 64)) & 1);
    return bv ? 2 + av : av;
}

void VeriValue::SetBit(uint32_t i, int v) {
    if (i >= width) return;
    uint64_t m = uint64_t(1) << (i % 64);
    uint64_t& aw = a[i / 64];
    uint64_t& bw = b[i / 64];
    aw = (v == 1 || v == 3) ? aw | m : aw & ~m;
    bw = v >= 2 ? bw | m : bw & ~m;
}

bool VeriValue::ToInt64(int64_t& out) const {
    if (kind == Real) {
        if (!(std::fabs(real) < 9.2e18)) return false;
        out = int64_t(std::llround(real));
        return true;
    }
    if (kind != Vec || HasUnknown() || width == 0) return false;
    bool neg = isSigned && Negative(*this);
    for (uint32_t w = 1; w < Words(); ++w) {
        uint64_t fill = neg ? (w + 1 == Words() ? TopMask(width) : ~uint64_t(0)) : 0;
        if (a[w] != fill) return false;
    }
    uint64_t low = a[0];
    if (width < 64 && neg) low |= ~TopMask(width);
    if (!isSigned && (low >> 63)) return false;
    if (isSigned && width > 64 && (neg != bool(low >> 63))) return false;
    out = int64_t(low);
    return true;
}

double VeriValue::ToReal() const {
    if (kind == Real) return real;
    if (kind != Vec || HasUnknown()) return 0;
    bool neg = isSigned && Negative(*this);
    VeriWords w = a;
    if (neg) {
        Negate(w);
        w.back() &= TopMask(width);
    }
    double r = 0;
    for (size_t i = w.size(); i-- > 0;) r = r * 18446744073709551616.0 + double(w[i]);
    return neg ? -r : r;
}

VeriValue VeriValue::Resized(uint32_t w, bool signExtend) const {
    VeriValue v = Sized(w, isSigned);
    v.sized = sized;
    v.isString = isString && w % 8 == 0;
    uint32_t common = std::min(w, width);
    for (uint32_t i = 0; i < (common + 63) / 64; ++i) {
        v.a[i] = a[i];
        v.b[i] = b[i];
    }
    if (common < w) {
        // Clear anything copied above `common` in the last shared word.
        if (common % 64) {
            uint64_t m = (uint64_t(1) << (common % 64)) - 1;
            v.a[common / 64] &= m;
            v.b[common / 64] &= m;
        }
        int fill = signExtend && width ? Bit(width - 1) : 0;
        if (!sized && width == 1) fill = Bit(0); // '0 '1 'x 'z fill their context
        if (fill)
            for (uint32_t i = common; i < w; ++i) v.SetBit(i, fill);
    }
    v.Normalize();
    return v;
}

std::string VeriValue::Image() const {
    char buf[64];
    switch (kind) {
    case None: return "?";
    case Real:
        for (int precision = 1; precision <= 17; ++precision) {
            std::snprintf(buf, sizeof buf, "%.*g", precision, real);
            if (std::strtod(buf, nullptr) == real) break;
        }
        return buf;
    case Type: return typeText;
    case Vec: break;
    }
    if (isString && !HasUnknown() && width % 8 == 0) {
        std::string s = "\"";
        for (uint32_t at = width; at >= 8; at -= 8) {
            int c = 0;
            for (int bit = 0; bit < 8; ++bit) c |= Bit(at - 8 + bit) << bit;
            if (c == 0) continue;
            if (c == '"' || c == '\\') s += '\\';
            s += char(c);
        }
        return s + "\"";
    }
    if (HasUnknown()) {
        std::string s = std::to_string(width) + "'b";
        for (uint32_t i = width; i-- > 0;) s += "01xz"[Bit(i)];
        return s;
    }
    int64_t i = 0;
    if (ToInt64(i)) return std::to_string(i);
    // Wide values in decimal by repeated division.
    bool neg = isSigned && Negative(*this);
    VeriValue m = *this;
    m.isSigned = false;
    if (neg) m = veri_ops::Neg(m);
    std::string digits;
    VeriValue ten = Int(10, width, false);
    while (!m.IsZero()) {
        bool byZero = false;
        VeriValue q = veri_ops::Div(m, ten, false, byZero);
        VeriValue r = veri_ops::Mod(m, ten, false, byZero);
        digits += char('0' + r.a[0]);
        m = q;
    }
    if (digits.empty()) digits = "0";
    if (neg) digits += '-';
    return std::string(digits.rbegin(), digits.rend());
}

bool VeriValue::Same(const VeriValue& o) const {
    if (kind != o.kind) return false;
    switch (kind) {
    case None: return true;
    case Real: return real == o.real;
    case Type: return typeText == o.typeText;
    case Vec: return width == o.width && isSigned == o.isSigned && a == o.a && b == o.b && isString == o.isString;
    }
    return false;
}

namespace veri_ops {

namespace {
bool Unknown(const VeriValue& l, const VeriValue& r) { return l.HasUnknown() || r.HasUnknown(); }
} // namespace

VeriValue Add(const VeriValue& l, const VeriValue& r) {
    if (Unknown(l, r)) return VeriValue::AllX(l.width, l.isSigned);
    VeriValue v = VeriValue::Bits(l.width, l.isSigned);
    uint64_t carry = 0;
    for (uint32_t w = 0; w < v.Words(); ++w) {
        uint64_t s = l.a[w] + r.a[w];
        uint64_t c1 = s < l.a[w];
        uint64_t s2 = s + carry;
        uint64_t c2 = s2 < s;
        v.a[w] = s2;
        carry = c1 | c2;
    }
    v.Normalize();
    return v;
}

VeriValue Neg(const VeriValue& x) {
    if (x.HasUnknown()) return VeriValue::AllX(x.width, x.isSigned);
    VeriValue v = x;
    Negate(v.a);
    v.Normalize();
    return v;
}

VeriValue Sub(const VeriValue& l, const VeriValue& r) {
    if (Unknown(l, r)) return VeriValue::AllX(l.width, l.isSigned);
    return Add(l, Neg(r));
}

VeriValue Mul(const VeriValue& l, const VeriValue& r) {
    if (Unknown(l, r)) return VeriValue::AllX(l.width, l.isSigned);
    VeriValue v = VeriValue::Bits(l.width, l.isSigned);
    size_t n = v.Words();
    if (n == 1) {
        v.a[0] = l.a[0] * r.a[0];
    } else {
        for (size_t i = 0; i < n; ++i) {
            unsigned __int128 carry = 0;
            for (size_t j = 0; i + j < n; ++j) {
                unsigned __int128 p = (unsigned __int128)l.a[i] * r.a[j] + v.a[i + j] + carry;
                v.a[i + j] = uint64_t(p);
                carry = p >> 64;
            }
        }
    }
    v.Normalize();
    return v;
}

namespace {
VeriValue DivOrMod(const VeriValue& l, const VeriValue& r, bool isSigned, bool& byZero, bool wantMod) {
    if (r.IsZero()) {
        byZero = true;
        return VeriValue::AllX(l.width, l.isSigned);
    }
    if (Unknown(l, r)) return VeriValue::AllX(l.width, l.isSigned);
    bool ln = isSigned && Negative(l);
    bool rn = isSigned && Negative(r);
    VeriValue n = ln ? Neg(l) : l;
    VeriValue d = rn ? Neg(r) : r;
    VeriValue q = VeriValue::Bits(l.width, l.isSigned);
    VeriValue m = q;
    DivMod(n.a, d.a, l.width, q.a, m.a);
    if (wantMod) return ln ? Neg(m) : m; // the remainder takes the sign of the dividend
    return ln != rn ? Neg(q) : q;
}
} // namespace

VeriValue Div(const VeriValue& l, const VeriValue& r, bool isSigned, bool& byZero) {
    return DivOrMod(l, r, isSigned, byZero, false);
}

VeriValue Mod(const VeriValue& l, const VeriValue& r, bool isSigned, bool& byZero) {
    return DivOrMod(l, r, isSigned, byZero, true);
}

VeriValue Pow(const VeriValue& l, const VeriValue& r, bool isSigned) {
    if (Unknown(l, r)) return VeriValue::AllX(l.width, l.isSigned);
    VeriValue one = VeriValue::Int(1, l.width, l.isSigned);
    bool expNeg = r.isSigned && Negative(r);
    if (expNeg) {
        // Negative exponents: 1 ** -n is 1, -1 ** -n is +-1, 0 ** -n is x, others 0.
        if (l.IsZero()) return VeriValue::AllX(l.width, l.isSigned);
        if (l.Same(one) || (l.width == 1 && !isSigned && l.a[0] == 1)) return one;
        VeriValue minusOne = VeriValue::Int(-1, l.width, l.isSigned);
        if (isSigned && l.Same(minusOne)) return (r.a[0] & 1) ? minusOne : one;
        return VeriValue::Bits(l.width, l.isSigned);
    }
    VeriValue result = one;
    VeriValue base = l;
    for (uint32_t i = 0; i < r.width; ++i) {
        if (r.Bit(i) == 1) result = Mul(result, base);
        base = Mul(base, base);
    }
    return result;
}

VeriValue Not(const VeriValue& x) {
    VeriValue v = x;
    for (size_t i = 0; i < v.a.size(); ++i) v.a[i] = ~x.a[i] & ~x.b[i]; // x and z give x
    v.isString = false;
    v.Normalize();
    return v;
}

VeriValue And(const VeriValue& l, const VeriValue& r) {
    VeriValue v = VeriValue::Bits(l.width, l.isSigned);
    for (size_t i = 0; i < v.a.size(); ++i) {
        uint64_t l1 = l.a[i] & ~l.b[i], r1 = r.a[i] & ~r.b[i];
        uint64_t l0 = ~l.a[i] & ~l.b[i], r0 = ~r.a[i] & ~r.b[i];
        uint64_t one = l1 & r1;
        uint64_t zero = l0 | r0;
        v.a[i] = one;
        v.b[i] = ~(one | zero);
    }
    v.Normalize();
    return v;
}

VeriValue Or(const VeriValue& l, const VeriValue& r) {
    VeriValue v = VeriValue::Bits(l.width, l.isSigned);
    for (size_t i = 0; i < v.a.size(); ++i) {
        uint64_t l1 = l.a[i] & ~l.b[i], r1 = r.a[i] & ~r.b[i];
        uint64_t l0 = ~l.a[i] & ~l.b[i], r0 = ~r.a[i] & ~r.b[i];
        uint64_t one = l1 | r1;
        uint64_t zero = l0 & r0;
        v.a[i] = one;
        v.b[i] = ~(one | zero);
    }
    v.Normalize();
    return v;
}

VeriValue Xor(const VeriValue& l, const VeriValue& r) {
    VeriValue v = VeriValue::Bits(l.width, l.isSigned);
    for (size_t i = 0; i < v.a.size(); ++i) {
        uint64_t unknown = l.b[i] | r.b[i];
        v.a[i] = (l.a[i] ^ r.a[i]) & ~unknown;
        v.b[i] = unknown;
    }
    v.Normalize();
    return v;
}

VeriValue ShiftLeft(const VeriValue& x, const VeriValue& amount) {
    if (amount.HasUnknown()) return VeriValue::AllX(x.width, x.isSigned);
    VeriValue v = VeriValue::Bits(x.width, x.isSigned);
    int64_t n = 0;
    if (!amount.ToInt64(n) || n < 0 || uint64_t(n) >= x.width) return v;
    for (uint32_t i = uint32_t(n); i < x.width; ++i) v.SetBit(i, x.Bit(i - uint32_t(n)));
    return v;
}

VeriValue ShiftRight(const VeriValue& x, const VeriValue& amount, bool arithmetic) {
    if (amount.HasUnknown()) return VeriValue::AllX(x.width, x.isSigned);
    int fill = arithmetic && x.width ? x.Bit(x.width - 1) : 0;
    VeriValue v = VeriValue::Bits(x.width, x.isSigned);
    int64_t n = 0;
    bool fits = amount.ToInt64(n) && n >= 0 && uint64_t(n) < x.width;
    for (uint32_t i = 0; i < x.width; ++i)
        v.SetBit(i, fits && i + uint64_t(n) < x.width ? x.Bit(i + uint32_t(n)) : fill);
    return v;
}

VeriValue Bool(int truth) {
    VeriValue v = VeriValue::Bits(1, false);
    v.SetBit(0, truth < 0 ? 2 : truth);
    return v;
}

VeriValue Less(const VeriValue& l, const VeriValue& r, bool isSigned) {
    if (Unknown(l, r)) return Bool(-1);
    bool ln = isSigned && Negative(l);
    bool rn = isSigned && Negative(r);
    if (ln != rn) return Bool(ln);
    return Bool(CompareUnsigned(l.a, r.a) < 0);
}

VeriValue Equal(const VeriValue& l, const VeriValue& r) {
    // A known differing bit decides; otherwise an unknown bit makes it unknown.
    bool unknown = false;
    for (size_t i = 0; i < l.a.size(); ++i) {
        uint64_t known = ~l.b[i] & ~r.b[i];
        if ((l.a[i] ^ r.a[i]) & known) return Bool(0);
        unknown = unknown || (l.b[i] | r.b[i]);
    }
    return Bool(unknown ? -1 : 1);
}

VeriValue CaseEqual(const VeriValue& l, const VeriValue& r) { return Bool(l.a == r.a && l.b == r.b); }

VeriValue WildEqual(const VeriValue& l, const VeriValue& r) {
    // x and z bits of the right operand match anything.
    bool unknown = false;
    for (size_t i = 0; i < l.a.size(); ++i) {
        uint64_t care = ~r.b[i];
        uint64_t known = care & ~l.b[i];
        if ((l.a[i] ^ r.a[i]) & known) return Bool(0);
        unknown = unknown || (l.b[i] & care);
    }
    return Bool(unknown ? -1 : 1);
}

VeriValue Reduce(const VeriValue& x, unsigned op) {
    int acc = op == '&' ? 1 : 0;
    for (uint32_t i = 0; i < x.width; ++i) {
        int bit = x.Bit(i);
        int b = bit >= 2 ? -1 : bit;
        if (op == '&') acc = (acc == 0 || b == 0) ? 0 : (acc < 0 || b < 0) ? -1 : 1;
        else if (op == '|') acc = (acc == 1 || b == 1) ? 1 : (acc < 0 || b < 0) ? -1 : 0;
        else acc = (acc < 0 || b < 0) ? -1 : acc ^ b;
    }
    return Bool(acc);
}

VeriValue Concat(const std::vector<VeriValue>& parts) {
    uint32_t width = 0;
    bool allStrings = !parts.empty();
    for (const VeriValue& p : parts) {
        width += p.width;
        allStrings = allStrings && p.isString;
    }
    VeriValue v = VeriValue::Bits(width, false);
    uint32_t at = width;
    for (const VeriValue& p : parts) {
        at -= p.width;
        for (uint32_t i = 0; i < p.width; ++i) v.SetBit(at + i, p.Bit(i));
    }
    v.isString = allStrings;
    return v;
}

} // namespace veri_ops

} // namespace hdl
