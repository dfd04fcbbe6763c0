// Names of an analysed unit that nothing declares, once its references are resolved: an
// item that a use clause names in a package (`use ieee.numeric_std.no_such_item`), type
// marks, and the simple names of declarations, expressions and statements. What a name
// denotes beyond its first part may depend on types (record elements, protected type
// methods after an object) or on the unit at the other end of a binding (formals,
// instantiated units): those parts are left alone.
#pragma once

#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

// Tells each such name of `unit`; returns how many it told. `parsedClean` says the
// unit's file parsed without error: otherwise only use clauses and type marks are
// judged, since error recovery may have left names out of their regions.
unsigned VhdlReportUndeclaredNames(VhdlDesignUnit& unit, bool parsedClean);

} // namespace hdl
