// How VHDL identifiers are named. `OrigName` is the spelling of the source. `Name`, the
// name that the front-end and its callers compare and build keys from, is a basic
// identifier in lower case, or as written while the runtime flag
// "vhdl_preserve_id_case" is set; an extended identifier (and a character literal)
// stays as written, backslashes included. The pre-scanner names what it reads by the
// same rule, so that keys made from its results and from analysed units agree.
#pragma once

#include <string>
#include <string_view>

namespace hdl {

// The runtime flag, read when an analysis or a pre-scan of a file starts.
bool VhdlPreserveIdCase();

// True for the spelling of an extended identifier or a character literal, whose case
// always counts.
inline bool VhdlCaseCounts(std::string_view spelling) {
    return !spelling.empty() && (spelling[0] == '\\' || spelling[0] == '\'');
}

// `Name` of an identifier spelt `spelling`.
std::string VhdlIdName(std::string_view spelling, bool preserveCase);

// Whether two names or spellings denote the same identifier: basic identifiers
// without regard to case, extended ones exactly.
bool VhdlSameId(std::string_view a, std::string_view b);

} // namespace hdl
