// Language codes of source files. The scanner's database carries them in its file
// records, so the values never change: 1 to 7 are the Verilog family, 8 to 13 the VHDL
// family, 14 a Verilog include file. A file element may set the top bit as a flag;
// LanguageOf strips it.
#pragma once

#include <string_view>

namespace hdl {

enum LanguageCode : unsigned {
    LANG_NONE = 0,
    LANG_V95 = 1,
    LANG_V2K = 2,
    LANG_SV05 = 3,
    LANG_SV09 = 4,
    LANG_SV = 5,
    LANG_VAMS = 6,
    LANG_VPSL = 7,
    LANG_VHDL87 = 8,
    LANG_VHDL93 = 9,
    LANG_VHDL2K = 10,
    LANG_VHDL08 = 11,
    LANG_VHDL19 = 12,
    LANG_VHDLPSL = 13,
    LANG_INCLUDE = 14,
};

constexpr unsigned LanguageOf(unsigned code) { return code & 0x7fffffffu; }
constexpr bool IsVerilogLanguage(unsigned code) { return code >= LANG_V95 && code <= LANG_VPSL; }
constexpr bool IsVhdlLanguage(unsigned code) { return code >= LANG_VHDL87 && code <= LANG_VHDLPSL; }
constexpr bool IsIncludeLanguage(unsigned code) { return code == LANG_INCLUDE; }
// The Verilog family from SystemVerilog 2005 on, and include files, which read as the
// newest revision: SystemVerilog's keywords and predefined macros apply.
constexpr bool IsSystemVerilogLanguage(unsigned code) {
    return (code >= LANG_SV05 && code <= LANG_VPSL) || code == LANG_INCLUDE;
}

// The short name of a code, as dumps and tools spell it ("v2k", "sv", "vhdl93",
// "include"); "(undef)" for 0 and for codes that are not languages.
const char* LanguageName(unsigned code);
// The code of a short name, LANG_NONE for a name that is none.
LanguageCode LanguageByName(std::string_view name);

} // namespace hdl
