// Prints Verilog parse trees back as source text that parses to an equal tree. The
// bodies of constructs the parser passes over (class bodies, properties, covergroups,
// specify blocks, UDP tables) are not kept, so they print empty.
#pragma once

#include <ostream>
#include <string>

#include "hdl/sv/VeriTree.h"

namespace hdl {

class VeriPrettyPrinter {
public:
    static void print(VeriTreeNode& node, std::ostream& out);
    static std::string toString(VeriTreeNode& node);
};

} // namespace hdl
