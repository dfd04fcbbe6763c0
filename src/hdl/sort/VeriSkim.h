// The Verilog side of the pre-scanner: a light recogniser over preprocessed tokens that
// finds the declared units, package uses and instantiations of one file without
// building any tree. The tokens end in a VT_EOF token.
#pragma once

#include <memory>
#include <vector>

#include "hdl/sort/SortElement.h"
#include "hdl/sort/VeriSkimScanner.h"

namespace hdl {

void veriSkimTokens(const std::vector<VeriSkimToken>& tokens, FileElement& element);

// Once every registered file has been read: a `name (...);` without instance name is a
// UDP instance when a UDP `name` is declared in any of them, and else a task call (an
// unnamed module instance being no instance at all); the candidates are decided so.
void decideVeriCandidates(const std::vector<std::unique_ptr<FileElement>>& elements);

} // namespace hdl
