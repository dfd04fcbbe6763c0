// Name resolution of analysed VHDL units: declarative regions, library and use
// clauses, selected names into libraries and packages, and the binding of component
// instantiations. References that cannot be resolved stay unresolved without a
// message, since VHDL binds late (units may be analysed after their users).
#pragma once

#include <string>
#include <vector>

#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

class VhdlLibrary;

// Resolves the references of `unit`, analysed into `library`. Units it refers to must
// already be in their libraries.
void VhdlResolveUnit(VhdlDesignUnit* unit, VhdlLibrary* library);

// The identifiers a declaration makes visible in its region, in order (a type with its
// enumeration literals and units, each identifier of an object declaration).
void VhdlDeclaredIds(VhdlTreeNode* decl, std::vector<VhdlIdDef*>& out);

// Drops what resolution keeps about analysed trees; called when the trees are freed.
void VhdlResolverForget();

// The library identifier that references to a library no clause declares (work, std)
// resolve to: one per key (lower case), living for the process.
VhdlIdDef* VhdlImplicitLibraryId(const std::string& key);

} // namespace hdl
