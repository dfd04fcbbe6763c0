// Constant evaluation of Verilog and SystemVerilog at elaboration: parameters,
// localparams, genvars, enum literals and package parameters, every operator under the
// expression sizing rules of IEEE 1800-2017 11.6 and 11.8 (an expression's width and
// signedness come from its operands and its context), casts, the system functions of
// constant expressions, and constant functions (13.4.3), interpreted with bounds.
//
// Values live in frames: one per module being elaborated, per generate block and per
// function call. A parameter is worked out on first use, from its override when it has
// one, in the frame the override came from.
#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "hdl/elab/ElabLimits.h"
#include "hdl/elab/VeriValue.h"
#include "hdl/sv/VeriTree.h"

namespace hdl {

struct VeriFrame;

// What an interface port of a module is connected to: the interface's declaration and
// the frame of its copy's parameters (members are read there); a null module for a port
// left open.
struct VeriInterfaceBinding {
    const VeriIdDef* port = nullptr;
    const VeriModule* module = nullptr;
    VeriFrame* frame = nullptr;
};

struct VeriFrame {
    explicit VeriFrame(VeriFrame* up = nullptr) : upper(up) {}
    VeriFrame* upper;
    // The interface ports of the module this frame (or one above) elaborates.
    const std::vector<VeriInterfaceBinding>* interfaces = nullptr;
    std::unordered_map<const VeriIdDef*, VeriValue> values;
    // A parameter of this region and what it is worked out from: an expression (in
    // `frame`, null: this frame), or a value given from outside.
    struct Pending {
        const VeriExpression* expr = nullptr;
        VeriFrame* frame = nullptr;
        bool hasValue = false;
        VeriValue value;
        bool busy = false;
    };
    std::unordered_map<const VeriIdDef*, Pending> pending;
};

// Width and signedness of an expression or type; `real` for reals.
struct VeriShape {
    uint32_t width = 1;
    bool isSigned = false;
    bool real = false;
    bool type = false; // a type, not a value
};

class VeriEvaluator {
public:
    explicit VeriEvaluator(const ElabLimits& limits = ElabLimits());

    // The value of `e`, self-determined; kind None (after a message) when it cannot be
    // worked out.
    VeriValue Evaluate(const VeriExpression* e, VeriFrame* frame);
    // The value of `e` assigned to something of `type` (null: keeps its own shape).
    VeriValue EvaluateAs(const VeriExpression* e, const VeriDataType* type, const VeriRange* unpacked,
                         VeriFrame* frame);
    // A parameter's value: its override or its default, converted to its declared type.
    VeriValue ParameterValue(const VeriIdDef* id, VeriFrame* frame);
    // The value of a type (a data type node, or an expression naming a type).
    VeriValue TypeValue(const VeriExpression* type, VeriFrame* frame);
    // The width and signedness of a data type, evaluated in `frame`.
    VeriShape TypeShape(const VeriExpression* type, VeriFrame* frame);
    // `v` assigned to a target of `shape`.
    static VeriValue Convert(const VeriValue& v, const VeriShape& shape);

    unsigned ErrorCount() const { return errors_; }
    // Set when the evaluation step bound was reached; everything after fails at once.
    bool Exhausted() const { return exhausted_; }
    const ElabLimits& Limits() const { return limits_; }
    void Error() { ++errors_; }

private:
    friend class VeriInterpreter;
    VeriShape Shape(const VeriExpression* e, VeriFrame* frame);
    VeriValue Eval(const VeriExpression* e, VeriFrame* frame, const VeriShape& ctx);
    VeriValue EvalLeaf(const VeriExpression* e, VeriFrame* frame);
    VeriValue Lookup(const VeriIdDef* id, VeriFrame* frame, const VeriTreeNode* where);
    VeriValue EnumLiteral(const VeriParamId* id, VeriFrame* frame);
    VeriValue Binary(const VeriBinaryOperator* b, VeriFrame* frame, const VeriShape& ctx);
    VeriValue Unary(const VeriUnaryOperator* u, VeriFrame* frame, const VeriShape& ctx);
    VeriValue Select(const VeriExpression* e, VeriFrame* frame);
    VeriValue Member(const VeriSelectedName* s, VeriFrame* frame);
    enum class Through { No, Found, Failed };
    // A member read through an interface port (`bus.W`, `bus[1].d`): its declaration in
    // the connected interface and the frame of that interface's copy. Failed (after a
    // message) for a port left open or a member the interface lacks.
    Through InterfaceMember(const VeriExpression* e, VeriFrame* frame, const VeriIdDef*& member, VeriFrame*& at);
    // The width of an interface member that holds no constant (a net, a variable).
    VeriShape MemberShape(const VeriIdDef* member, VeriFrame* at);
    VeriValue SystemCall(const VeriSystemFunctionCall* call, VeriFrame* frame);
    VeriValue Cast(const VeriCast* cast, VeriFrame* frame);
    VeriValue Pattern(const VeriExpression* pattern, const VeriShape& shape, const VeriExpression* type,
                      VeriFrame* frame);
    VeriValue Call(const VeriFunctionCall* call, VeriFrame* frame);
    // The declared range of a packed vector (msb, lsb), or [width-1:0].
    void PackedRange(const VeriIdDef* id, const VeriValue& v, VeriFrame* frame, int64_t& msb, int64_t& lsb);
    bool Step(const VeriTreeNode* where);
    // Declared in a package or the compilation unit (of any library).
    bool InPackage(const VeriIdDef* id);
    VeriValue Fail(const VeriTreeNode* where, const char* what);

    ElabLimits limits_;
    unsigned errors_ = 0;
    uint64_t steps_ = 0;
    uint32_t callDepth_ = 0;
    bool exhausted_ = false;
    // Package and $unit parameters, worked out once.
    VeriFrame packages_;
    std::unordered_set<const VeriIdDef*> packageIds_;
    bool packageIdsBuilt_ = false;
    std::unordered_set<const VeriTreeNode*> interfaceFaultsTold_;
};

// Integer of a value, for loop bounds and indexes; false (with a message at `where`)
// when it has unknown bits or does not fit.
bool VeriToInt(VeriEvaluator& eval, const VeriValue& v, const VeriTreeNode* where, int64_t& out);

} // namespace hdl
