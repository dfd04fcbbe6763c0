// Binding under a Verilog configuration (IEEE 1800-2017 33.4): which module an instance
// uses when a configuration is the top. An instance rule for the instance's path beats a
// cell rule for the module's name, which beats the library list in effect: the default
// liblist of the configuration, or the liblist of a rule above, inherited downwards. A
// `use ... :config` hands the hierarchy below to another configuration.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hdl/sv/VeriTree.h"

namespace hdl {

// The configuration in force while one unit is elaborated.
struct VeriConfigState {
    const VeriConfiguration* config = nullptr; // null: no configuration, the usual lookup
    std::string path; // the unit's instance path from the design cell (`top.u1`)
    std::vector<std::string> liblist; // libraries searched, in order; empty: the usual lookup
};

// The choice for one instance.
struct VeriConfigChoice {
    VeriModule* module = nullptr; // null: no library of the search holds it
    std::string library; // the library it was looked for in (for an unbound unit)
    std::string name; // the cell looked for (a `use` may rename it)
    const VeriConfigRule* rule = nullptr; // the rule applied, for its `use` parameters
    VeriConfigState below; // the state for the instance's own elaboration
};

// The state for a design cell of `config` (its default liblist in force).
VeriConfigState VeriConfigTopState(const VeriConfiguration* config, std::string_view cell);

// The module that instance `instName` (its name in the unit, `g[1].u`) of cell `name`,
// written with `library` (empty when none), in unit `from` uses under `state`.
VeriConfigChoice VeriConfigBind(const VeriConfigState& state, const std::string& instName, std::string_view library,
                                std::string_view name, const VeriModule* from);

// Whether the units below `state.path` differ by their path: an instance rule names a
// path under it. Such units are not shared with other instances of the same module.
bool VeriConfigRulesBelow(const VeriConfigState& state);

// The dotted text of an instance rule's path (`top.u1.u2`).
std::string VeriConfigRulePath(const VeriConfigRule* rule);

} // namespace hdl
