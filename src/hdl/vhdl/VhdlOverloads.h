// Overloaded names without types: what a subprogram or enumeration literal accepts by
// the number of its parameters and their names, and when two declarations are
// homographs. Used by name resolution to pick among declarations of one name.
#pragma once

#include <cstdint>
#include <string_view>

#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

// How a name is used: as a call with `actuals` associations (a bare name has none), of
// which `assocs` may name formals; or, from a signature, with exactly `actuals`
// parameters and a result or not.
struct VhdlCallShape {
    uint32_t actuals = 0;
    const VhdlNodeList* assocs = nullptr;
    bool exact = false;
    int function = -1; // from a signature: 1 with a return type, 0 without; -1 unknown
};

// The parameters a declaration takes, worked out once per overload: how many without
// a default, how many in all, and whether it returns a value.
struct VhdlArity {
    uint16_t required = 0;
    uint16_t total = 0;
    int8_t function = 1; // 1 a function, 0 a procedure
    bool enumeration = false; // an enumeration literal: no parameters, a value
    bool known = true; // false: takes any use
};
VhdlArity VhdlArityOf(const VhdlIdDef* id);
// Whether a declaration of that arity can take a use of that shape. One whose
// parameters are not known (an instance of a subprogram not found) takes any.
bool VhdlAccepts(const VhdlArity& arity, const VhdlCallShape& shape);

// Subprograms and enumeration literals, and aliases of them. Asked of every name
// looked up, so the common answers are inline.
bool VhdlIsOverloadableAlias(const VhdlIdDef* alias);
inline bool VhdlIsOverloadable(const VhdlIdDef* id) {
    if (!id) return false;
    uint32_t kind = id->GetClassId();
    if (kind == VhdlSubprogramId::kClassId || kind == VhdlOperatorId::kClassId || kind == VhdlEnumerationId::kClassId)
        return true;
    return kind == VhdlAliasId::kClassId && VhdlIsOverloadableAlias(id);
}

// Whether every formal named in the associations is a parameter of the declaration.
bool VhdlHasNamedFormals(const VhdlIdDef* id, const VhdlCallShape& shape);

// A key equal for any two declarations that VhdlSameProfile calls the same.
uint64_t VhdlProfileKey(const VhdlIdDef* id);

// Two subprogram declarations of the same parameter and result type marks, such as a
// declaration in a package and its body: the inner one hides the outer.
bool VhdlSameProfile(const VhdlIdDef* a, const VhdlIdDef* b);

// The specification of a subprogram identifier, following instantiations and aliases
// that are resolved; null for others.
const VhdlSubprogramSpec* VhdlSpecOf(const VhdlIdDef* id);

} // namespace hdl
