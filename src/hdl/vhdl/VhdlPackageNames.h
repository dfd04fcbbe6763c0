// The packages a VHDL unit names by expanded names (`work.pkg.c`, `lib.pkg.f(x)`) outside
// its use and context clauses: they must be analysed before it, with or without a use.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

// (library, package) pairs by the names' `Name()` rule, in order of first appearance,
// each once. Only libraries the skim can know of count: `work`, `std`, and those named
// by a library clause of the unit's own file.
std::vector<std::pair<std::string, std::string>> VhdlExpandedPackages(VhdlDesignUnit& unit);

} // namespace hdl
