// The Verilog side of the pre-scanner: a light recogniser over preprocessed tokens that
// finds the declared units, package uses and instantiations of one file without
// building any tree.
#pragma once

#include <vector>

#include "hdl/sort/SortElement.h"
#include "hdl/sv/VeriTokens.h"

namespace hdl {

void veriSkimTokens(const std::vector<VeriToken>& tokens, FileElement& element);

} // namespace hdl
