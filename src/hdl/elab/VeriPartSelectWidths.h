// An indexed part-select `[base +: width]` needs a width above zero (IEEE 1800-2017
// 11.5.1). A width that names the module's parameters is known only once the unit's
// parameter values are: checked per elaborated unit, on the items outside generate
// constructs (a generate condition may keep a select of width zero from being built).
#pragma once

#include <unordered_set>
#include <vector>

#include "hdl/elab/VeriEvaluator.h"

namespace hdl {

// The indexed part-selects of `module` whose width is no literal, in the order of the
// tree: found once per module, checked per unit.
std::vector<const VeriRange*> VeriIndexedPartSelects(const VeriModule* module);

// Reports each of `selects` whose width, worked out in `frame` from the module's
// parameters alone, is zero; `told` keeps one message per select over all units. The
// number reported.
unsigned VeriCheckPartSelectWidths(const std::vector<const VeriRange*>& selects, VeriEvaluator& eval, VeriFrame* frame,
                                   std::unordered_set<const VeriRange*>& told);

} // namespace hdl
