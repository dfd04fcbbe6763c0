// What the parts of the evaluator share: its private state, name helpers, and the
// entry points of the operator, attribute, standard function and interpreter files.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "hdl/elab/VhdlEvaluator.h"

namespace hdl {

struct VhdlEvaluator::Impl {
    std::deque<VhdlType> types;
    std::unordered_map<const VhdlDesignUnit*, std::unique_ptr<VhdlFrame>> packages;
    std::map<std::pair<const VhdlPackageInstantiationDecl*, const VhdlFrame*>, std::unique_ptr<VhdlFrame>> instances;
    // Instances of local instantiations by the frame they were evaluated in: they go
    // when that frame goes, since a later frame may take its place.
    std::unordered_map<const VhdlFrame*, std::vector<const VhdlPackageInstantiationDecl*>> localInstances;
    // Subprogram specification (of a declaration or a body) to its body, and the region
    // that declares the body.
    std::unordered_map<const VhdlTreeNode*, const VhdlSubprogramBody*> bodies;
    std::unordered_map<const VhdlSubprogramBody*, const VhdlTreeNode*> bodyRegions;
    std::unordered_map<std::string, const VhdlType*> standard;
    // Physical unit identifier to its type.
    std::unordered_map<const VhdlIdDef*, const VhdlType*> unitTypes;
    std::map<std::tuple<const VhdlType*, int64_t, int64_t, bool>, const VhdlType*> constrained;
    VhdlType fallbackInteger, fallbackReal, fallbackBoolean, fallbackUniversalInteger, fallbackUniversalReal;
    uint64_t steps = 0;
    uint32_t callDepth = 0;
};

namespace vhdl_eval {

// The formals of a subprogram in order, one per identifier.
struct Formal {
    const VhdlIdDef* id;
    const VhdlInterfaceDecl* decl;
};
std::vector<Formal> FormalsOf(const VhdlSubprogramSpec& spec);
// The actual for each formal (null where none is given) and its place among the
// actuals (-1). False when the actuals do not fit the formals.
bool Associate(const std::vector<Formal>& formals, const VhdlNodeList& actuals, std::vector<const VhdlTreeNode*>& nodes,
               std::vector<int>& places);
// How well a value fits a parameter of `type`: 0 not at all, 1 by its class, 2 by type.
int Fits(const VhdlValue& v, const VhdlType* type);

// The generic package an instantiation instantiates; null when not found.
const VhdlPackageDecl* GenericPackageOf(const VhdlPackageInstantiationDecl& inst);

// The identifier a name denotes, as resolution left it.
const VhdlIdDef* IdOf(const VhdlTreeNode* name);
// The simple name a name ends in.
std::string_view SimpleName(const VhdlTreeNode* name);
bool SameName(std::string_view a, std::string_view b);
std::string Lower(std::string_view s);

// Library and unit of the design unit that declares `id`, lower case ("ieee",
// "numeric_std"); empty when unknown.
std::string PackageOf(const VhdlIdDef* id);
// Whether a type is std_ulogic or a subtype of it (by its literals), or bit.
bool IsStdUlogic(const VhdlType* t);
bool IsBit(const VhdlType* t);
bool IsBoolean(const VhdlType* t);
// One-dimensional arrays whose elements are std_ulogic or bit.
bool IsLogicVector(const VhdlType* t);
// The base type's declared name in lower case ("unsigned", "std_ulogic_vector").
std::string BaseName(const VhdlType* t);
// numeric_std (numeric_bit) signed or unsigned, and std_logic_vector arithmetic of
// the Synopsys packages, which reads vectors as unsigned.
bool IsSignedVector(const VhdlType* t);

// Predefined and package operators. Null value when the operator does not apply to
// the operand types.
VhdlValue ApplyOperator(VhdlEvaluator& ev, unsigned op, const VhdlValue* left, const VhdlValue& right,
                        const VhdlType* expected, const VhdlTreeNode* where);
// Functions of the standard packages written natively; false when `name` (with its
// package) has no native version.
bool CallNative(VhdlEvaluator& ev, const std::string& package, const std::string& name, std::vector<VhdlValue>& args,
                const VhdlType* expected, const VhdlTreeNode* where, VhdlValue& result);
// Whether a package function has a native version (used before its arguments are
// evaluated, to know their expected types are not needed).
bool HasNative(const std::string& package, const std::string& name);

// Bit vectors for the arithmetic of numeric_std: most significant bit first, each bit
// 0 or 1; `unknown` when an element is a metavalue.
struct Bits {
    std::vector<uint8_t> bits;
    bool unknown = false;
};
Bits ToBits(const VhdlValue& v);
VhdlValue FromBits(VhdlEvaluator& ev, const Bits& b, const VhdlType* type, bool descending = true);
// A vector of the given type and length, every element `fill` ('X' when unknown).
VhdlValue FilledVector(VhdlEvaluator& ev, const VhdlType* type, int64_t length, char fill);
bool BitsToInt(const Bits& b, bool isSigned, int64_t& out);
Bits IntToBits(int64_t v, size_t width);
Bits ResizeBits(const Bits& b, size_t width, bool isSigned);

// A literal character of an enumeration value ('0', '1', 'X', ...), 0 when it is none.
char LiteralChar(const VhdlValue& v);
// The value of character `c` in enumeration type `t`.
VhdlValue EnumOfChar(VhdlEvaluator& ev, const VhdlType* t, char c, const VhdlTreeNode* where);
// A string value of `text`, typed as `type` (string when null).
VhdlValue MakeString(VhdlEvaluator& ev, const std::string& text, const VhdlType* type = nullptr);
// The text of a string value.
std::string StringOf(const VhdlValue& v);

} // namespace vhdl_eval
} // namespace hdl
