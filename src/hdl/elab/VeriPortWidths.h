// Widths of a module's ports and of the actuals an instance connects to them, for the
// instances that cross between the languages: a mixed simulator warns when the two
// sides of a port differ in width, and so does elaboration.
#pragma once

#include <cstdint>
#include <vector>

#include "hdl/elab/VeriEvaluator.h"
#include "hdl/sv/VeriTree.h"

namespace hdl {

// The ports of a module in declaration order; null for a port that is no declared
// identifier (an expression port).
std::vector<const VeriIdDef*> VeriModulePorts(const VeriModule& module);

// The width in bits of a port, its type evaluated in `frame` (the frame of the module's
// copy); -1 when it is not a plain vector (an unpacked array, an interface, a real).
int64_t VeriPortWidth(VeriEvaluator& eval, const VeriIdDef* port, VeriFrame* frame);

// The width in bits of an actual as written at an instance: a vector, a bit or part of
// one, a sized literal or a concatenation of those; -1 for anything else.
int64_t VeriActualWidth(VeriEvaluator& eval, const VeriExpression* actual, VeriFrame* frame);

} // namespace hdl
