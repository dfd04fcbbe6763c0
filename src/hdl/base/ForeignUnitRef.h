// The unit of the other language that elaboration bound an instance to: a Verilog
// instance of a VHDL entity, a VHDL component bound to a Verilog module. Names, not
// pointers, because neither tree may see the other; the unit is the copy elaboration
// made for the instance's values (`vleaf(N=9)`), found in `library` under `unit`.
#pragma once

#include "hdl/base/Symbol.h"

namespace hdl {

struct ForeignUnitRef {
    Symbol library;
    Symbol unit; // the copy's name, or the original's when no value differs
    Symbol secondary; // the VHDL architecture; empty for a Verilog module
    // No unit of either language: elaboration looked for `unit` in `library` (where a
    // configuration, a `uselib or a library written at the instance sent it) and found none.
    bool unbound = false;

    bool empty() const { return unit.empty(); }
};

} // namespace hdl
