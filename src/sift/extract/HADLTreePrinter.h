// Debug aid: prints a parse tree one node a line, in pre-order, as "%3d %s %s": the
// node's line, two blanks per level of depth, and its kind name.
#pragma once

#include "hdl/sv/VeriTree.h"
#include "hdl/vhdl/VhdlTree.h"

namespace HADLVerific {

void printTree(hdl::VeriTreeNode& root);
void printTree(hdl::VhdlTreeNode& root);

// The kind name of a class code; "?" for a code outside the tables.
const char* veriKindName(uint32_t classId);
const char* vhdlKindName(uint32_t classId);

} // namespace HADLVerific
