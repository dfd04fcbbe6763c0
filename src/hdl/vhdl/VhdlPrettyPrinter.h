// Prints VHDL trees back as source text. The text parses back to an equal tree;
// binary operators are fully parenthesised so that no precedence is lost.
#pragma once

#include <ostream>
#include <string>

#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

// The text of a node (a unit, declaration, statement, name or expression).
std::string VhdlPrettyText(const VhdlTreeNode* node);
void VhdlPrettyPrint(std::ostream& out, const VhdlTreeNode* node);

} // namespace hdl
