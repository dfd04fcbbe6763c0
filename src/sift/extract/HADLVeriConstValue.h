// The integer value of a Verilog constant expression as written in a unit, with the
// parameters at their default values: literals, parameters, the arithmetic, shift,
// comparison and logical operators, ?: and $clog2. Anything else has no value.
#pragma once

#include <cstdint>

#include "hdl/sv/VeriTree.h"

bool veriConstValue(const hdl::VeriExpression* expr, int64_t& value);
