// A variable that a continuous assignment writes may have no other writer (IEEE 1800-2017
// 6.5): neither a second continuous assignment nor a procedural one. Checked on the
// module items themselves (not inside generate blocks, where iterations may write
// different bits), for variables the module declares (not ports, not nets), written whole
// by the continuous assignment.
#pragma once

#include "hdl/sv/VeriTree.h"

namespace hdl {

// Reports each variable of `module` written against the rule; the number reported.
unsigned VeriCheckVariableWriters(const VeriModule* module);

} // namespace hdl
