#include "hdl/base/Language.h"

namespace hdl {

namespace {
constexpr const char* kNames[] = {"(undef)", "v95",    "v2k",    "sv05",   "sv09",   "sv",      "vAMS",   "vPSL",
                                  "vhdl87",  "vhdl93", "vhdl2k", "vhdl08", "vhdl19", "vhdlPSL", "include"};
constexpr unsigned kCount = sizeof kNames / sizeof kNames[0];
static_assert(kCount == LANG_INCLUDE + 1, "one name per code");
} // namespace

const char* LanguageName(unsigned code) { return code < kCount ? kNames[code] : kNames[0]; }

LanguageCode LanguageByName(std::string_view name) {
    for (unsigned code = 1; code < kCount; ++code)
        if (name == kNames[code]) return static_cast<LanguageCode>(code);
    return LANG_NONE;
}

} // namespace hdl
