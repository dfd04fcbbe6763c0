// The scopes a parse tree names with `scope::item` and `import scope::...`: the packages
// (and classes) that must be analysed before it. What skips tokens (constraint bodies,
// covergroups, properties, attribute values) names nothing here.
#pragma once

#include <string>
#include <vector>

#include "hdl/sv/VeriTree.h"

namespace hdl {

// Names in the order of their first appearance, each once (`C#(T)::x` names C); the
// language's own `std` and the keywords `$unit`, `local`, `super`, `this` left out.
std::vector<std::string> VeriScopesNamed(VeriTreeNode& root);

} // namespace hdl
