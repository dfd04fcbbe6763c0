// Tcl list splitting for argument values: every list-valued argument word is a Tcl list.
#pragma once

#include <string>
#include <vector>

namespace hdl {

using StringArray = std::vector<std::string>;

// Splits `text` as a Tcl list into `out` (replacing its content). False when the text
// is not a well-formed list; `out` is then empty.
bool splitTclList(const std::string& text, StringArray& out);

} // namespace hdl
