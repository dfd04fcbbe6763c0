// What an elaboration call is asked for: the tops, and the generic (parameter) values
// handed in from outside, which apply to the tops only.
#pragma once

#include <string>
#include <vector>

namespace hdl {

struct ElabTopRequest {
    std::string name; // a unit (VHDL: an entity or a configuration)
    std::string library; // empty: any library, in library order
    std::string architecture; // VHDL; empty: the most recently analysed one
};

// Name and value text, as a user writes them (`WIDTH=8`, `MODE="fast"`). Names match
// without regard to case; a later entry of one name replaces an earlier one.
struct ElabGenericValue {
    std::string name;
    std::string value;
};
using ElabGenericMap = std::vector<ElabGenericValue>;

} // namespace hdl
