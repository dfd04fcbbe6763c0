// Names of copies: `name(P=value,...)`, so that a name ending in ")" cut at its first
// "(" gives the original (docs/elab.md has the exact form of values).
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace hdl {

// The copy of `base` for the parameters that differ from their defaults, in
// declaration order; `base` itself when there are none.
std::string ElabCopyName(std::string_view base, const std::vector<std::pair<std::string, std::string>>& parameters);
// The original's name of a copy's name; any other name is its own base.
std::string_view ElabBaseName(std::string_view name);

} // namespace hdl
