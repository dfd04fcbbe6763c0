// The `--hier` listing of an elaborated design: one line per instance, each top first,
// depth first in source order, `PATH<TAB>MODULE<TAB>COPY` and, for a VHDL unit,
// `<TAB>ARCH`. Paths are made while walking, so the design stays a DAG.
#pragma once

#include <ostream>

#include "hdl/elab/ElabDesign.h"

namespace hdl {

void ElabPrintHier(const ElabDesign& design, std::ostream& out);

} // namespace hdl
