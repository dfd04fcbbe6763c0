// The VHDL side of the pre-scanner: a light recogniser over lexer tokens that finds the
// design units of one file, its context clauses and its instantiations and bindings,
// without building any tree.
#pragma once

#include <string_view>
#include <vector>

#include "hdl/sort/SortElement.h"
#include "hdl/sort/VhdlSkimScanner.h"

namespace hdl {

void vhdlSkimTokens(std::string_view text, const std::vector<VhdlSkimToken>& tokens, FileElement& element);

} // namespace hdl
