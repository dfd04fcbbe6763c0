// Binding by the `uselib directives in force where an instance stands: `lib=L` takes the
// module from library L, `file=F` the module analysed from file F, `dir=D libext=.v` the
// one from file D/<module>.v. Several directives are tried in order.
#pragma once

#include <string>
#include <string_view>

#include "hdl/sv/VeriTree.h"

namespace hdl {

// The module `name` as `directives` choose it; null when none fits. `library` gets the
// library asked by a `lib=` directive (for an unbound unit), else stays as it is.
VeriModule* VeriUselibFind(std::string_view directives, std::string_view name, std::string& library);

} // namespace hdl
