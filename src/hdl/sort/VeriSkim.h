// The Verilog side of the pre-scanner: a light recogniser over preprocessed tokens that
// finds the declared units, package uses and instantiations of one file without
// building any tree. The tokens end in a VT_EOF token.
#pragma once

#include <vector>

#include "hdl/sort/SortElement.h"
#include "hdl/sort/VeriSkimScanner.h"

namespace hdl {

void veriSkimTokens(const std::vector<VeriSkimToken>& tokens, FileElement& element);

} // namespace hdl
