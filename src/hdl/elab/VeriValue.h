// Values of Verilog constant evaluation: four-state vectors of any width (each bit 0, 1,
// x or z), signed or unsigned, sized or unsized; reals; and types (the value of a type
// parameter). A vector keeps two planes of words: `a` the value bits, `b` the unknown
// bits (b=1: x when a=0, z when a=1). Bits above the width are kept zero in both.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hdl {

// The words of one plane of a vector: one word inline (widths up to 64 bits, nearly every
// value of real designs), more on the heap. Exactly as many words as asked for.
class VeriWords {
public:
    VeriWords() = default;
    VeriWords(const VeriWords& o) { CopyFrom(o); }
    VeriWords(VeriWords&& o) noexcept { TakeFrom(o); }
    VeriWords& operator=(const VeriWords& o) {
        if (this != &o) {
            Release();
            CopyFrom(o);
        }
        return *this;
    }
    VeriWords& operator=(VeriWords&& o) noexcept {
        if (this != &o) {
            Release();
            TakeFrom(o);
        }
        return *this;
    }
    ~VeriWords() { Release(); }

    void assign(size_t n, uint64_t value);
    void resize(size_t n, uint64_t value = 0);
    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    uint64_t* data() { return size_ > 1 ? heap_ : &inline_; }
    const uint64_t* data() const { return size_ > 1 ? heap_ : &inline_; }
    uint64_t& operator[](size_t i) { return data()[i]; }
    const uint64_t& operator[](size_t i) const { return data()[i]; }
    uint64_t* begin() { return data(); }
    uint64_t* end() { return data() + size_; }
    const uint64_t* begin() const { return data(); }
    const uint64_t* end() const { return data() + size_; }
    uint64_t& back() { return data()[size_ - 1]; }
    bool operator==(const VeriWords& o) const;

private:
    void Release() {
        if (size_ > 1) delete[] heap_;
        size_ = 0;
        inline_ = 0;
    }
    void CopyFrom(const VeriWords& o);
    void TakeFrom(VeriWords& o) {
        size_ = o.size_;
        if (size_ > 1) heap_ = o.heap_;
        else inline_ = o.inline_;
        o.size_ = 0;
        o.inline_ = 0;
    }
    uint32_t size_ = 0;
    union {
        uint64_t inline_ = 0;
        uint64_t* heap_;
    };
};

struct VeriValue {
    enum Kind : uint8_t { None, Vec, Real, Type };
    Kind kind = None;
    bool isSigned = false;
    bool sized = true;
    // Made from a string literal: the copy name shows it as a string.
    bool isString = false;
    uint32_t width = 0;
    VeriWords a, b;
    double real = 0;
    // Type: the type as a name shows it, and its width in bits (0 when not packed).
    std::string typeText;

    static VeriValue Int(int64_t v, uint32_t width = 32, bool isSigned = true);
    static VeriValue Bits(uint32_t width, bool isSigned = false); // all zero
    static VeriValue AllX(uint32_t width, bool isSigned = false);
    static VeriValue MakeReal(double r);
    static VeriValue MakeType(std::string text, uint32_t width, bool isSigned);
    // A string literal's characters, eight bits each, the first the most significant.
    static VeriValue String(std::string_view chars);
    // A based literal as written (`8'hF_x`, `'sd3`, `'1`); false when the text is malformed.
    static bool ParseBased(std::string_view text, uint32_t size, VeriValue& out);

    bool IsVec() const { return kind == Vec; }
    bool IsReal() const { return kind == Real; }
    bool IsType() const { return kind == Type; }
    bool HasUnknown() const;
    bool IsZero() const; // no unknown bit and all value bits zero
    // 1: true, 0: false, -1: unknown.
    int Truth() const;
    int Bit(uint32_t i) const; // 0, 1, 2 (x), 3 (z)
    void SetBit(uint32_t i, int v);
    // Value bits as an integer (sign-extended when signed); false with unknown bits or when
    // the value does not fit.
    bool ToInt64(int64_t& out) const;
    double ToReal() const;
    // Zero-, sign- (when `signExtend`) or x-extended, or truncated, to `w` bits.
    VeriValue Resized(uint32_t w, bool signExtend) const;
    // The value as a copy name shows it: decimal without unknown bits (negative when
    // signed), else W'bBITS; reals in the shortest form that reads back; strings quoted.
    std::string Image() const;
    // Same value (kind, width, bits; reals by value; types by text).
    bool Same(const VeriValue& o) const;

    void Normalize(); // clears the bits above the width
    uint32_t Words() const { return (width + 63) / 64; }
};

// Operations on vectors of equal width (the caller has sized the operands); the result
// has that width unless said otherwise. Any unknown operand bit makes an arithmetic
// result all x.
namespace veri_ops {
VeriValue Add(const VeriValue& l, const VeriValue& r);
VeriValue Sub(const VeriValue& l, const VeriValue& r);
VeriValue Mul(const VeriValue& l, const VeriValue& r);
// `byZero` is set when the divisor is zero (the result is then all x).
VeriValue Div(const VeriValue& l, const VeriValue& r, bool isSigned, bool& byZero);
VeriValue Mod(const VeriValue& l, const VeriValue& r, bool isSigned, bool& byZero);
VeriValue Pow(const VeriValue& l, const VeriValue& r, bool isSigned);
VeriValue Neg(const VeriValue& v);
VeriValue Not(const VeriValue& v);
VeriValue And(const VeriValue& l, const VeriValue& r);
VeriValue Or(const VeriValue& l, const VeriValue& r);
VeriValue Xor(const VeriValue& l, const VeriValue& r);
// Shift of `v` by `amount` (self-determined, unsigned); arithmetic right shifts fill
// with the sign bit.
VeriValue ShiftLeft(const VeriValue& v, const VeriValue& amount);
VeriValue ShiftRight(const VeriValue& v, const VeriValue& amount, bool arithmetic);
// 1-bit results.
VeriValue Less(const VeriValue& l, const VeriValue& r, bool isSigned);
VeriValue Equal(const VeriValue& l, const VeriValue& r); // ==
VeriValue CaseEqual(const VeriValue& l, const VeriValue& r); // ===
VeriValue WildEqual(const VeriValue& l, const VeriValue& r); // ==?
VeriValue Reduce(const VeriValue& v, unsigned op); // &, |, ^ (op: '&', '|', '^')
VeriValue Bool(int truth); // 1'b0, 1'b1, 1'bx for -1
// The bits of each part, the first part most significant.
VeriValue Concat(const std::vector<VeriValue>& parts);
} // namespace veri_ops

} // namespace hdl
