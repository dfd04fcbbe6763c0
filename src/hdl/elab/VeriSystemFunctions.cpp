// System functions of constant expressions: sizes and array queries, sign and real
// conversions, the math functions, and bit counts.
#include <cmath>
#include <cstring>

#include "hdl/elab/VeriEvaluator.h"
#include "hdl/elab/VeriNodeCast.h"
#include "hdl/sv/VeriTokens.h"

namespace hdl {

namespace {

// The dimensions of what an array query asks about, outermost first: unpacked
// dimensions of a declaration before its packed ones. `member`: what the argument names
// through an interface port, instead of the argument's own declaration.
std::vector<const VeriRange*> Dimensions(const VeriExpression* arg, const VeriIdDef* member) {
    std::vector<const VeriRange*> dims;
    const VeriIdDef* id = member ? member : arg ? arg->GetId() : nullptr;
    const VeriDataType* type = member ? nullptr : VeriAs<VeriDataType>(arg);
    if (id && !type) {
        for (const VeriRange* r = id->GetDimensions(); r; r = r->next) dims.push_back(r);
        type = id->GetDataType();
        if (id->IsType() && !type) return dims;
    }
    // Named types: the typedef's own dimensions, then its type's.
    for (int guard = 0; type && guard < 32; ++guard) {
        for (const VeriRange* r = type->dimensions; r; r = r->next) dims.push_back(r);
        auto* ref = VeriAs<VeriTypeRef>(type);
        if (!ref) break;
        const VeriIdDef* tid = ref->GetId();
        if (!tid || !tid->IsType()) break;
        for (const VeriRange* r = tid->GetDimensions(); r; r = r->next) dims.push_back(r);
        type = tid->GetDataType();
    }
    return dims;
}

} // namespace

VeriValue VeriEvaluator::SystemCall(const VeriSystemFunctionCall* call, VeriFrame* frame) {
    std::string_view name = call->name;
    const VeriExpression* arg0 = call->args.Size() > 0 ? call->args[0] : nullptr;
    const VeriExpression* arg1 = call->args.Size() > 1 ? call->args[1] : nullptr;
    auto integer = [](int64_t v) { return VeriValue::Int(v, 32, true); };
    if (name == "$clog2") {
        VeriValue v = Evaluate(arg0, frame);
        if (v.kind == VeriValue::None) return v;
        if (v.IsReal()) v = Convert(v, {64, false});
        if (v.HasUnknown()) return VeriValue::AllX(32, true);
        // The number of bits of (v - 1), 0 for 0 and 1.
        v.isSigned = false;
        if (v.IsZero()) return integer(0);
        VeriValue m = veri_ops::Sub(v, VeriValue::Int(1, v.width, false));
        int64_t bits = 0;
        for (uint32_t i = 0; i < m.width; ++i)
            if (m.Bit(i) == 1) bits = i + 1;
        return integer(bits);
    }
    if (name == "$bits") {
        const VeriIdDef* member = nullptr;
        VeriFrame* at = nullptr;
        if (InterfaceMember(arg0, frame, member, at) == Through::Failed) return VeriValue();
        VeriShape s = Shape(arg0, frame);
        if (VeriAs<VeriDataType>(arg0)) s = TypeShape(arg0, frame);
        return integer(s.real ? 64 : s.width);
    }
    if (name == "$signed" || name == "$unsigned") {
        VeriValue v = Evaluate(arg0, frame);
        if (v.IsVec()) v.isSigned = name == "$signed";
        return v;
    }
    if (name == "$rtoi") {
        VeriValue v = Evaluate(arg0, frame);
        if (v.kind == VeriValue::None) return v;
        double r = std::trunc(v.ToReal());
        return std::fabs(r) < 2147483648.0 ? integer(int64_t(r)) : Convert(VeriValue::MakeReal(r), {32, true});
    }
    if (name == "$itor") {
        VeriValue v = Evaluate(arg0, frame);
        return v.kind == VeriValue::None ? v : VeriValue::MakeReal(v.ToReal());
    }
    if (name == "$realtobits") {
        VeriValue v = Evaluate(arg0, frame);
        if (v.kind == VeriValue::None) return v;
        double r = v.ToReal();
        uint64_t bits = 0;
        std::memcpy(&bits, &r, sizeof bits);
        return VeriValue::Int(int64_t(bits), 64, false);
    }
    if (name == "$bitstoreal") {
        VeriValue v = Evaluate(arg0, frame);
        if (!v.IsVec()) return v.kind == VeriValue::None ? v : Fail(call, "$bitstoreal of a non-vector");
        VeriValue w = v.Resized(64, false);
        uint64_t bits = w.a[0];
        double r = 0;
        std::memcpy(&r, &bits, sizeof r);
        return VeriValue::MakeReal(r);
    }
    if (name == "$countones" || name == "$onehot" || name == "$onehot0" || name == "$isunknown") {
        VeriValue v = Evaluate(arg0, frame);
        if (!v.IsVec()) return v.kind == VeriValue::None ? v : Fail(call, nullptr);
        int64_t ones = 0;
        bool unknown = false;
        for (uint32_t i = 0; i < v.width; ++i) {
            ones += v.Bit(i) == 1;
            unknown = unknown || v.Bit(i) >= 2;
        }
        if (name == "$countones") return integer(ones);
        if (name == "$isunknown") return veri_ops::Bool(unknown);
        return veri_ops::Bool(name == "$onehot" ? ones == 1 : ones <= 1);
    }
    // Array queries of a member read through an interface port take its ranges in the
    // connected interface's copy.
    const VeriIdDef* member = nullptr;
    VeriFrame* at = frame;
    bool query = name == "$dimensions" || name == "$unpacked_dimensions" || name == "$left" || name == "$right" ||
                 name == "$high" || name == "$low" || name == "$increment" || name == "$size";
    if (query && InterfaceMember(arg0, frame, member, at) == Through::Failed) return VeriValue();
    if (name == "$dimensions" || name == "$unpacked_dimensions") {
        std::vector<const VeriRange*> dims = Dimensions(arg0, member);
        const VeriIdDef* id = member ? member : arg0 ? arg0->GetId() : nullptr;
        int64_t unpacked = 0;
        if (id && !id->IsType())
            for (const VeriRange* r = id->GetDimensions(); r; r = r->next) ++unpacked;
        if (name == "$unpacked_dimensions") return integer(unpacked);
        // A simple integer type counts as one dimension.
        if (dims.empty()) {
            VeriShape s = Shape(arg0, frame);
            return integer(s.width > 0 ? 1 : 0);
        }
        int64_t packed = int64_t(dims.size()) - unpacked;
        VeriShape s = Shape(arg0, frame);
        if (packed == 0 && s.width > 0) ++packed;
        return integer(unpacked + packed);
    }
    if (name == "$left" || name == "$right" || name == "$high" || name == "$low" || name == "$increment" ||
        name == "$size") {
        std::vector<const VeriRange*> dims = Dimensions(arg0, member);
        int64_t which = 1;
        if (arg1 && !VeriToInt(*this, Evaluate(arg1, frame), arg1, which)) return VeriValue();
        int64_t left = 0, right = 0;
        if (which >= 1 && size_t(which) <= dims.size()) {
            const VeriRange* r = dims[size_t(which - 1)];
            if (!VeriToInt(*this, Evaluate(r->left, at), r->left, left)) return VeriValue();
            if (r->right) {
                if (!VeriToInt(*this, Evaluate(r->right, at), r->right, right)) return VeriValue();
            } else {
                // [N] is [0:N-1].
                right = left - 1;
                left = 0;
            }
        } else if (which == 1 && dims.empty()) {
            VeriShape s = Shape(arg0, frame);
            left = int64_t(s.width) - 1;
            right = 0;
        } else {
            return VeriValue::AllX(32, true);
        }
        if (name == "$left") return integer(left);
        if (name == "$right") return integer(right);
        if (name == "$high") return integer(std::max(left, right));
        if (name == "$low") return integer(std::min(left, right));
        if (name == "$increment") return integer(left >= right ? 1 : -1);
        return integer(std::llabs(left - right) + 1);
    }
    struct Math {
        const char* name;
        double (*one)(double);
    };
    static const Math kMath[] = {{"$ln", std::log},      {"$log10", std::log10}, {"$exp", std::exp},
                                 {"$sqrt", std::sqrt},   {"$floor", std::floor}, {"$ceil", std::ceil},
                                 {"$sin", std::sin},     {"$cos", std::cos},     {"$tan", std::tan},
                                 {"$asin", std::asin},   {"$acos", std::acos},   {"$atan", std::atan},
                                 {"$sinh", std::sinh},   {"$cosh", std::cosh},   {"$tanh", std::tanh},
                                 {"$asinh", std::asinh}, {"$acosh", std::acosh}, {"$atanh", std::atanh}};
    for (const Math& m : kMath) {
        if (name != m.name) continue;
        VeriValue v = Evaluate(arg0, frame);
        return v.kind == VeriValue::None ? v : VeriValue::MakeReal(m.one(v.ToReal()));
    }
    if (name == "$pow" || name == "$atan2" || name == "$hypot") {
        VeriValue a = Evaluate(arg0, frame);
        VeriValue b = Evaluate(arg1, frame);
        if (a.kind == VeriValue::None || b.kind == VeriValue::None) return VeriValue();
        double x = a.ToReal(), y = b.ToReal();
        return VeriValue::MakeReal(name == "$pow"     ? std::pow(x, y)
                                   : name == "$atan2" ? std::atan2(x, y)
                                                      : std::hypot(x, y));
    }
    std::string what = "system function " + std::string(name);
    return Fail(call, what.c_str());
}

} // namespace hdl
