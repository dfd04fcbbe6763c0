// Names declared twice in one declarative region of an analysed unit. An entity and its
// architecture form one region, as do a package and its body; statement labels belong
// to the region that holds the statements. Overloaded subprograms and enumeration
// literals may share a name unless they are homographs; a subprogram declaration and
// its body, a deferred constant and its full declaration, an incomplete type and its
// full type, a protected type and its body complete each other.
#pragma once

#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

// Tells each second declaration of a name in `unit`; returns how many it told.
unsigned VhdlReportDuplicateDeclarations(VhdlDesignUnit& unit);

} // namespace hdl
