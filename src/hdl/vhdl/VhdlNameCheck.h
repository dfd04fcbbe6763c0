// Names of an analysed unit that nothing declares, once its references are resolved: an
// item that a use clause names in a package (`use ieee.numeric_std.no_such_item`), and
// the type mark of an object declaration. Other names stay unresolved without a
// message: what they denote may depend on types (record elements, overloads).
#pragma once

#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

// Tells each such name of `unit`; returns how many it told.
unsigned VhdlReportUndeclaredNames(VhdlDesignUnit& unit);

} // namespace hdl
