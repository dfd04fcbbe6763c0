// The time unit of a module, for values that cross from a VHDL `time` generic to a
// Verilog parameter and back: a mixed simulator reads a Verilog number as a count of
// the module's time unit.
#pragma once

#include <string_view>

#include "hdl/sv/VeriTree.h"

namespace hdl {

// Femtoseconds of a time unit as written (`1ns`, `10 ps`, `100us`); 0 when the text is
// no time unit.
double VeriTimeUnitFs(std::string_view text);

// The module's time unit in femtoseconds: its `timeunit` declaration, else the
// `timescale in force where it stands, else 1 ns (what simulators take when a design
// sets none).
double VeriModuleTimeUnitFs(const VeriModule& module);

} // namespace hdl
