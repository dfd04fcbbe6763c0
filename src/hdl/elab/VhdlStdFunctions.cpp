// Native versions of the functions of the standard packages that designs call in
// constants: numeric_std and numeric_bit, std_logic_1164, math_real, the Synopsys
// arithmetic packages, and the predefined functions of 2008 (minimum, maximum,
// to_string). Package bodies need not be analysed for these; where they are, the
// native version is still used, being faster and the same by definition.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <unordered_map>

#include "hdl/elab/VhdlEvalInternal.h"
#include "hdl/vhdl/VhdlMessageIds.h"

namespace hdl {
namespace vhdl_eval {

namespace {

struct Context {
    VhdlEvaluator& ev;
    std::vector<VhdlValue>& args;
    const VhdlType* returnType;
    const VhdlTreeNode* where;

    const VhdlValue& Arg(size_t i) const {
        if (i >= args.size() || args[i].IsNone())
            ev.Fail<vhdl_msg::ElabMissingArgument>(where, VhdlEvaluator::Text(where).c_str());
        return args[i];
    }
    bool Has(size_t i) const { return i < args.size() && !args[i].IsNone(); }
    int64_t Int(size_t i) const {
        const VhdlValue& v = Arg(i);
        if (v.kind == VhdlValue::Real) return int64_t(v.r);
        if (v.kind != VhdlValue::Int && v.kind != VhdlValue::Phys && v.kind != VhdlValue::Enum)
            ev.Fail<vhdl_msg::ElabArgumentNotInteger>(where, static_cast<unsigned>(i + 1),
                                                      VhdlEvaluator::Text(where).c_str());
        return v.i;
    }
    double Real(size_t i) const {
        const VhdlValue& v = Arg(i);
        if (v.kind == VhdlValue::Real) return v.r;
        if (v.kind == VhdlValue::Int) return double(v.i);
        ev.Fail<vhdl_msg::ElabArgumentNotReal>(where, static_cast<unsigned>(i + 1), VhdlEvaluator::Text(where).c_str());
    }
    int64_t Natural(size_t i) const {
        int64_t n = Int(i);
        if (n < 0)
            ev.Fail<vhdl_msg::ElabNegativeSize>(where, std::to_string(static_cast<long long>(n)).c_str(),
                                                VhdlEvaluator::Text(where).c_str());
        if (uint64_t(n) > ev.Limits().arrayElements)
            ev.Fail<vhdl_msg::ElabSizeTooLarge>(where, std::to_string(static_cast<long long>(n)).c_str(),
                                                VhdlEvaluator::Text(where).c_str());
        return n;
    }
    // The vector type of the result: of the first vector argument, else the declared.
    const VhdlType* VectorType(size_t i) const {
        if (Has(i) && args[i].kind == VhdlValue::Array && args[i].type && IsLogicVector(args[i].type))
            return args[i].type->constrained ? args[i].type->base : args[i].type;
        return returnType;
    }
    void Warn(const char* text) const { ev.Report(where, MakeString(ev, text), 1); }
};

using Native = std::function<VhdlValue(Context&)>;

VhdlValue Real(VhdlEvaluator& ev, double v) { return VhdlValue::Floating(v, ev.RealType()); }
VhdlValue Integer(VhdlEvaluator& ev, int64_t v) { return VhdlValue::Integer(v, ev.IntegerType()); }

// A vector value of `type`, with `width` bits from `b`.
VhdlValue Vector(Context& c, const Bits& b, const VhdlType* type) { return FromBits(c.ev, b, type); }

VhdlValue ToUnsigned(Context& c, bool isSigned) {
    int64_t v = c.Int(0);
    int64_t size = c.Natural(1);
    const VhdlType* type = c.returnType;
    if (!isSigned && v < 0)
        c.ev.Fail<vhdl_msg::ElabOutsideNatural>(c.where, std::to_string(static_cast<long long>(v)).c_str());
    Bits b = IntToBits(v, size_t(size));
    int64_t back;
    if (size < 64 && (!BitsToInt(b, isSigned, back) || back != v))
        c.Warn(isSigned ? "NUMERIC_STD.TO_SIGNED: vector truncated" : "NUMERIC_STD.TO_UNSIGNED: vector truncated");
    return Vector(c, b, type);
}

VhdlValue ToInteger(Context& c) {
    const VhdlValue& v = c.Arg(0);
    Bits b = ToBits(v);
    if (b.unknown) {
        c.Warn("NUMERIC_STD.TO_INTEGER: metavalue detected, returning 0");
        return Integer(c.ev, 0);
    }
    int64_t r;
    bool isSigned = v.type && IsSignedVector(v.type);
    if (!BitsToInt(b, isSigned, r))
        c.ev.Fail<vhdl_msg::ElabDoesNotFitInteger>(c.where, VhdlEvaluator::Text(c.where).c_str());
    return VhdlValue::Integer(r, c.ev.IntegerType());
}

VhdlValue Resize(Context& c) {
    const VhdlValue& v = c.Arg(0);
    int64_t size = c.Natural(1);
    const VhdlType* type = c.VectorType(0);
    bool isSigned = IsSignedVector(type);
    Bits b = ResizeBits(ToBits(v), size_t(size), isSigned);
    if (b.unknown) {
        // Metavalues are copied, not lost.
        std::vector<VhdlValue> e = v.Elements();
        std::vector<VhdlValue> out;
        VhdlValue fill = isSigned && !e.empty() ? e.front() : EnumOfChar(c.ev, type->element, '0', c.where);
        if (size_t(size) >= e.size()) {
            out.assign(size_t(size) - e.size(), fill);
            out.insert(out.end(), e.begin(), e.end());
        } else if (isSigned && size > 0) {
            out.push_back(e.front());
            out.insert(out.end(), e.end() - (size - 1), e.end());
        } else {
            out.assign(e.end() - size, e.end());
        }
        return VhdlValue::MakeArray(type, {VhdlBounds::Discrete(size - 1, 0, false)}, std::move(out));
    }
    return Vector(c, b, type);
}

VhdlValue ShiftFunction(Context& c, unsigned op) {
    const VhdlValue& v = c.Arg(0);
    int64_t n = c.Int(1);
    std::vector<VhdlValue> e = v.Elements();
    size_t len = e.size();
    const VhdlType* type = v.type;
    bool isSigned = IsSignedVector(type);
    std::vector<VhdlValue> r(len);
    VhdlValue zero = EnumOfChar(c.ev, type ? type->element : nullptr, '0', c.where);
    for (size_t i = 0; i < len; ++i) {
        int64_t from;
        if (op == VHDL_SLL) from = int64_t(i) + n;
        else if (op == VHDL_SRL) from = int64_t(i) - n;
        else if (op == VHDL_ROL) from = (int64_t(i) + n) % int64_t(len);
        else from = ((int64_t(i) - n) % int64_t(len) + int64_t(len)) % int64_t(len);
        if (from >= 0 && from < int64_t(len)) r[i] = e[size_t(from)];
        else r[i] = op == VHDL_SRL && isSigned ? e[0] : zero;
    }
    return VhdlValue::MakeArray(type, v.Bounds(), std::move(r));
}

VhdlValue LogicConvert(Context& c, const char* map) {
    // to_x01 ("X0 1X 01X"), to_x01z, to_ux01: map each std_ulogic through the table.
    const VhdlValue& v = c.Arg(0);
    auto one = [&](const VhdlValue& x) {
        char ch = LiteralChar(x);
        const char* from = "UX01ZWLH-";
        const char* p = std::strchr(from, ch);
        char to = p && *p ? map[p - from] : 'X';
        return EnumOfChar(c.ev, x.type ? x.type : c.ev.BitType(), to, c.where);
    };
    if (v.kind != VhdlValue::Array) return one(v);
    std::vector<VhdlValue> out;
    for (const VhdlValue& x : v.Elements()) out.push_back(one(x));
    return VhdlValue::MakeArray(v.type, v.Bounds(), std::move(out));
}

// The elements of a logic array converted to the element type of `to`.
VhdlValue ConvertVector(Context& c, const VhdlValue& v, const VhdlType* to, char xmap) {
    std::vector<VhdlValue> out;
    const VhdlType* element = to ? to->element : nullptr;
    for (const VhdlValue& x : v.Elements()) {
        char ch = LiteralChar(x);
        if (ch == 'H') ch = '1';
        if (ch == 'L') ch = '0';
        if (element && IsBit(element) && ch != '0' && ch != '1') ch = xmap;
        out.push_back(EnumOfChar(c.ev, element, ch, c.where));
    }
    int64_t n = int64_t(out.size());
    std::vector<VhdlBounds> bounds{v.kind == VhdlValue::Array && v.type ? v.Range()
                                                                        : VhdlBounds::Discrete(n - 1, 0, false)};
    return VhdlValue::MakeArray(to, bounds, std::move(out));
}

std::string HexString(const VhdlValue& v, unsigned bitsPerDigit) {
    std::string bits;
    for (const VhdlValue& e : v.Elements()) {
        char ch = LiteralChar(e);
        bits += ch ? ch : '0';
    }
    while (bits.size() % bitsPerDigit) bits.insert(bits.begin(), '0');
    std::string out;
    for (size_t i = 0; i < bits.size(); i += bitsPerDigit) {
        unsigned d = 0;
        bool bad = false, allZ = true;
        for (size_t k = 0; k < bitsPerDigit; ++k) {
            char ch = bits[i + k];
            if (ch != 'Z') allZ = false;
            if (ch != '0' && ch != '1' && ch != 'L' && ch != 'H') bad = true;
            d = d * 2 + (ch == '1' || ch == 'H');
        }
        out += bad ? (allZ ? 'Z' : 'X') : "0123456789ABCDEF"[d];
    }
    return out;
}

std::string RealToString(double r, int64_t digits) {
    char buf[64];
    if (digits > 0) std::snprintf(buf, sizeof buf, "%.*f", int(std::min<int64_t>(digits, 30)), r);
    else std::snprintf(buf, sizeof buf, "%.6e", r);
    return buf;
}

const std::unordered_map<std::string, Native>& Natives() {
    static const std::unordered_map<std::string, Native> table = [] {
        std::unordered_map<std::string, Native> t;
        auto add = [&](std::initializer_list<const char*> packages, const char* name, Native f) {
            for (const char* p : packages) t[std::string(p) + "." + name] = f;
        };
        const auto numeric = {"ieee.numeric_std", "ieee.numeric_bit"};
        add(numeric, "to_unsigned", [](Context& c) { return ToUnsigned(c, false); });
        add(numeric, "to_signed", [](Context& c) { return ToUnsigned(c, true); });
        add(numeric, "to_integer", [](Context& c) { return ToInteger(c); });
        add(numeric, "resize", [](Context& c) { return Resize(c); });
        add(numeric, "shift_left", [](Context& c) { return ShiftFunction(c, VHDL_SLL); });
        add(numeric, "shift_right", [](Context& c) { return ShiftFunction(c, VHDL_SRL); });
        add(numeric, "rotate_left", [](Context& c) { return ShiftFunction(c, VHDL_ROL); });
        add(numeric, "rotate_right", [](Context& c) { return ShiftFunction(c, VHDL_ROR); });
        add(numeric, "std_match", [](Context& c) {
            const VhdlValue& a = c.Arg(0);
            const VhdlValue& b = c.Arg(1);
            auto match = [](char x, char y) {
                auto n = [](char ch) { return ch == 'L' ? '0' : ch == 'H' ? '1' : ch; };
                x = n(x);
                y = n(y);
                return x == '-' || y == '-' || ((x == '0' || x == '1') && x == y);
            };
            if (a.kind != VhdlValue::Array) return c.ev.Boolean(match(LiteralChar(a), LiteralChar(b)));
            if (a.Elements().size() != b.Elements().size()) return c.ev.Boolean(false);
            for (size_t i = 0; i < a.Elements().size(); ++i)
                if (!match(LiteralChar(a.Elements()[i]), LiteralChar(b.Elements()[i]))) return c.ev.Boolean(false);
            return c.ev.Boolean(true);
        });
        add(numeric, "to_01", [](Context& c) {
            const VhdlValue& v = c.Arg(0);
            char xmap = c.Has(1) ? LiteralChar(c.Arg(1)) : '0';
            Bits b = ToBits(v);
            if (b.unknown) return FilledVector(c.ev, c.VectorType(0), int64_t(b.bits.size()), xmap ? xmap : '0');
            return ConvertVector(c, v, c.VectorType(0), '0');
        });
        add(numeric, "find_leftmost", [](Context& c) {
            const VhdlValue& v = c.Arg(0);
            char y = LiteralChar(c.Arg(1));
            const auto& e = v.Elements();
            for (size_t i = 0; i < e.size(); ++i)
                if (LiteralChar(e[i]) == y) return Integer(c.ev, v.Range().At(int64_t(i)));
            return Integer(c.ev, -1);
        });
        add(numeric, "find_rightmost", [](Context& c) {
            const VhdlValue& v = c.Arg(0);
            char y = LiteralChar(c.Arg(1));
            const auto& e = v.Elements();
            for (size_t i = e.size(); i-- > 0;)
                if (LiteralChar(e[i]) == y) return Integer(c.ev, v.Range().At(int64_t(i)));
            return Integer(c.ev, -1);
        });

        const auto logic = {"ieee.std_logic_1164"};
        add(logic, "to_bit", [](Context& c) {
            char ch = LiteralChar(c.Arg(0));
            char xmap = c.Has(1) ? LiteralChar(c.Arg(1)) : '0';
            char r = ch == '1' || ch == 'H' ? '1' : ch == '0' || ch == 'L' ? '0' : xmap;
            return EnumOfChar(c.ev, c.ev.BitType(), r, c.where);
        });
        add(logic, "to_stdulogic",
            [](Context& c) { return EnumOfChar(c.ev, c.returnType, LiteralChar(c.Arg(0)), c.where); });
        for (const char* n : {"to_bitvector", "to_stdlogicvector", "to_stdulogicvector", "to_slv", "to_sulv", "to_bv"})
            add(logic, n, [](Context& c) {
                char xmap = c.Has(1) ? LiteralChar(c.Arg(1)) : '0';
                return ConvertVector(c, c.Arg(0), c.returnType, xmap ? xmap : '0');
            });
        add(logic, "to_x01", [](Context& c) { return LogicConvert(c, "XX01XX01X"); });
        add(logic, "to_x01z", [](Context& c) { return LogicConvert(c, "XX01ZX01X"); });
        add(logic, "to_ux01", [](Context& c) { return LogicConvert(c, "UX01XX01X"); });
        add(logic, "is_x", [](Context& c) {
            const VhdlValue& v = c.Arg(0);
            auto bad = [](const VhdlValue& x) {
                char ch = LiteralChar(x);
                return ch != '0' && ch != '1' && ch != 'L' && ch != 'H';
            };
            if (v.kind != VhdlValue::Array) return c.ev.Boolean(bad(v));
            return c.ev.Boolean(std::any_of(v.Elements().begin(), v.Elements().end(), bad));
        });
        const auto strings = {"ieee.std_logic_1164", "ieee.numeric_std", "ieee.numeric_bit", "std.standard"};
        add(strings, "to_hstring", [](Context& c) { return MakeString(c.ev, HexString(c.Arg(0), 4)); });
        add(strings, "to_ostring", [](Context& c) { return MakeString(c.ev, HexString(c.Arg(0), 3)); });

        const auto arith = {"ieee.std_logic_arith", "ieee.std_logic_unsigned", "ieee.std_logic_signed",
                            "ieee.numeric_std_unsigned"};
        add(arith, "conv_integer", [](Context& c) {
            const VhdlValue& v = c.Arg(0);
            if (v.kind == VhdlValue::Int) return Integer(c.ev, v.i);
            Bits b = ToBits(v);
            int64_t r;
            bool isSigned = (v.type && IsSignedVector(v.type));
            if (b.unknown || !BitsToInt(b, isSigned, r)) return Integer(c.ev, 0);
            return Integer(c.ev, r);
        });
        add({"ieee.numeric_std_unsigned"}, "to_integer", [](Context& c) { return ToInteger(c); });
        add({"ieee.numeric_std_unsigned"}, "to_slv", [](Context& c) {
            const VhdlValue& v = c.Arg(0);
            if (v.kind == VhdlValue::Int) return Vector(c, IntToBits(v.i, size_t(c.Natural(1))), c.returnType);
            return ConvertVector(c, v, c.returnType, '0');
        });
        add({"ieee.numeric_std_unsigned"}, "to_stdlogicvector",
            [](Context& c) { return Vector(c, IntToBits(c.Int(0), size_t(c.Natural(1))), c.returnType); });
        for (const char* n : {"conv_unsigned", "conv_signed", "conv_std_logic_vector"})
            add({"ieee.std_logic_arith"}, n, [](Context& c) {
                const VhdlValue& v = c.Arg(0);
                size_t size = size_t(c.Natural(1));
                Bits b = v.kind == VhdlValue::Int ? IntToBits(v.i, size)
                                                  : ResizeBits(ToBits(v), size, v.type && IsSignedVector(v.type));
                return Vector(c, b, c.returnType);
            });
        add({"ieee.std_logic_arith"}, "ext", [](Context& c) {
            return Vector(c, ResizeBits(ToBits(c.Arg(0)), size_t(c.Natural(1)), false), c.returnType);
        });
        add({"ieee.std_logic_arith"}, "sxt", [](Context& c) {
            return Vector(c, ResizeBits(ToBits(c.Arg(0)), size_t(c.Natural(1)), true), c.returnType);
        });
        const auto misc = {"ieee.std_logic_misc"};
        for (const char* n : {"and_reduce", "or_reduce", "xor_reduce", "nand_reduce", "nor_reduce", "xnor_reduce"})
            add(misc, n, [n](Context& c) {
                std::string name = n;
                unsigned op = name.rfind("and", 0) == 0    ? VHDL_AND
                              : name.rfind("or", 0) == 0   ? VHDL_OR
                              : name.rfind("xor", 0) == 0  ? VHDL_XOR
                              : name.rfind("nand", 0) == 0 ? VHDL_NAND
                              : name.rfind("nor", 0) == 0  ? VHDL_NOR
                                                           : VHDL_XNOR;
                return ApplyOperator(c.ev, op, nullptr, c.Arg(0), nullptr, c.where);
            });

        const auto math = {"ieee.math_real"};
        auto unary = [&](const char* name, double (*f)(double)) {
            add(math, name, [f](Context& c) { return Real(c.ev, f(c.Real(0))); });
        };
        unary("ceil", [](double x) { return std::ceil(x); });
        unary("floor", [](double x) { return std::floor(x); });
        unary("round", [](double x) { return std::round(x); });
        unary("trunc", [](double x) { return std::trunc(x); });
        unary("sign", [](double x) { return x > 0 ? 1.0 : x < 0 ? -1.0 : 0.0; });
        unary("cbrt", [](double x) { return std::cbrt(x); });
        unary("exp", [](double x) { return std::exp(x); });
        unary("sin", [](double x) { return std::sin(x); });
        unary("cos", [](double x) { return std::cos(x); });
        unary("tan", [](double x) { return std::tan(x); });
        unary("arcsin", [](double x) { return std::asin(x); });
        unary("arccos", [](double x) { return std::acos(x); });
        unary("sinh", [](double x) { return std::sinh(x); });
        unary("cosh", [](double x) { return std::cosh(x); });
        unary("tanh", [](double x) { return std::tanh(x); });
        unary("arcsinh", [](double x) { return std::asinh(x); });
        unary("arccosh", [](double x) { return std::acosh(x); });
        unary("arctanh", [](double x) { return std::atanh(x); });
        auto positive = [](Context& c, size_t i, const char* what) {
            double x = c.Real(i);
            if (!(x > 0)) c.ev.Fail<vhdl_msg::ElabMathDomain>(c.where, what, x);
            return x;
        };
        add(math, "sqrt", [](Context& c) {
            double x = c.Real(0);
            if (x < 0) c.ev.Fail<vhdl_msg::ElabSquareRootOfNegative>(c.where, x);
            return Real(c.ev, std::sqrt(x));
        });
        add(math, "log2", [positive](Context& c) { return Real(c.ev, std::log2(positive(c, 0, "log2"))); });
        add(math, "log10", [positive](Context& c) { return Real(c.ev, std::log10(positive(c, 0, "log10"))); });
        add(math, "log", [positive](Context& c) {
            double x = positive(c, 0, "log");
            if (!c.Has(1)) return Real(c.ev, std::log(x));
            return Real(c.ev, std::log(x) / std::log(positive(c, 1, "log base")));
        });
        add(math, "arctan", [](Context& c) {
            if (c.Has(1)) return Real(c.ev, std::atan2(c.Real(0), c.Real(1)));
            return Real(c.ev, std::atan(c.Real(0)));
        });
        add(math, "realmax", [](Context& c) { return Real(c.ev, std::max(c.Real(0), c.Real(1))); });
        add(math, "realmin", [](Context& c) { return Real(c.ev, std::min(c.Real(0), c.Real(1))); });
        add(math, "\"mod\"", [](Context& c) {
            double x = c.Real(0), y = c.Real(1);
            if (y == 0) c.ev.Fail<vhdl_msg::ElabDivisionByZero>(c.where);
            return Real(c.ev, x - y * std::floor(x / y));
        });
        add(math, "\"**\"", [](Context& c) { return Real(c.ev, std::pow(c.Real(0), c.Real(1))); });

        auto extreme = [](Context& c, bool max) {
            if (c.args.size() == 1) {
                const VhdlValue& v = c.Arg(0);
                if (v.kind != VhdlValue::Array || v.Elements().empty())
                    c.ev.Fail<vhdl_msg::ElabEmptyArray>(c.where, max ? "maximum" : "minimum");
                VhdlValue best = v.Elements()[0];
                for (const VhdlValue& e : v.Elements())
                    if ((VhdlValueCompare(e, best) > 0) == max && VhdlValueCompare(e, best) != 0) best = e;
                return best;
            }
            VhdlValue a = c.Arg(0), b = c.Arg(1);
            VhdlValue r;
            if (a.kind == VhdlValue::Array || b.kind == VhdlValue::Array) {
                // numeric_std (2008) minimum and maximum compare numerically.
                VhdlValue less = ApplyOperator(c.ev, VHDL_LT, &a, b, nullptr, c.where);
                return (less.i != 0) == max ? b : a;
            }
            if (a.kind == VhdlValue::Real || b.kind == VhdlValue::Real) {
                double x = a.kind == VhdlValue::Real ? a.r : double(a.i),
                       y = b.kind == VhdlValue::Real ? b.r : double(b.i);
                return VhdlValue::Floating(max ? std::max(x, y) : std::min(x, y),
                                           a.kind == VhdlValue::Real ? a.type : b.type);
            }
            int cmp = VhdlValueCompare(a, b);
            r = (cmp < 0) == max ? b : a;
            if (!r.type || r.type == c.ev.UniversalInteger())
                r.type = (a.type && a.type != c.ev.UniversalInteger()) ? a.type : b.type;
            return r;
        };
        add({"std.standard", "ieee.numeric_std", "ieee.numeric_bit", "ieee.math_real"}, "maximum",
            [extreme](Context& c) { return extreme(c, true); });
        add({"std.standard", "ieee.numeric_std", "ieee.numeric_bit", "ieee.math_real"}, "minimum",
            [extreme](Context& c) { return extreme(c, false); });
        add({"std.standard", "ieee.std_logic_1164", "ieee.numeric_std", "ieee.numeric_bit"}, "to_string",
            [](Context& c) {
                const VhdlValue& v = c.Arg(0);
                if (v.kind == VhdlValue::Real && c.Has(1)) {
                    const VhdlValue& f = c.Arg(1);
                    if (f.kind == VhdlValue::Int) return MakeString(c.ev, RealToString(v.r, f.i));
                    return MakeString(c.ev, RealToString(v.r, 6));
                }
                if (v.kind == VhdlValue::Phys && c.Has(1)) {
                    const VhdlValue& unit = c.Arg(1);
                    if (unit.i == 0) c.ev.Fail<vhdl_msg::ElabDivisionByZero>(c.where);
                    std::string text = std::to_string(v.i / unit.i);
                    if (v.i % unit.i) {
                        char buf[64];
                        std::snprintf(buf, sizeof buf, "%.6g", double(v.i) / double(unit.i));
                        text = buf;
                    }
                    std::string name;
                    for (const VhdlType::Unit& u : v.type->base->units)
                        if (u.multiple == unit.i) name = Lower(u.name);
                    return MakeString(c.ev, text + " " + name);
                }
                if (v.kind == VhdlValue::Array) return MakeString(c.ev, StringOf(v));
                std::string image = VhdlImage(v);
                if (image.size() == 3 && image[0] == '\'') image = image.substr(1, 1);
                return MakeString(c.ev, image);
            });
        return t;
    }();
    return table;
}

} // namespace

bool HasNative(const std::string& package, const std::string& name) {
    return Natives().count(package + "." + name) != 0;
}

bool CallNative(VhdlEvaluator& ev, const std::string& package, const std::string& name, std::vector<VhdlValue>& args,
                const VhdlType* returnType, const VhdlTreeNode* where, VhdlValue& result) {
    auto it = Natives().find(package + "." + name);
    if (it == Natives().end()) return false;
    Context c{ev, args, returnType, where};
    result = it->second(c);
    return true;
}

} // namespace vhdl_eval
} // namespace hdl
