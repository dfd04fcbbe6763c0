// The scanner's catalogue.
//
// Front-end ids that the scanner gives a type of its own, in the front-end (the parse
// ignores or lowers them) or in its capture (which raises them). The front-ends do not
// issue them yet; one that comes to issue such an id, with the meaning the scanner
// expects of it, moves the row to its own catalogue, and the ids stay unique across all
// catalogues. Their rows carry no type of their own (MSG_NONE).
//
// Texts of the parent's catalogue, told through the in-house message manager: the
// reference "@56-nnn@" leads the format, for the parent to look up; an error is told
// with the manager's error mask, a warning with its lesser one.
#pragma once

#include "hdl/base/MessageCatalogue.h"

// clang-format off
#define HADL_MESSAGES(ID, TEXT)                                                                  \
    ID(kVeri1137, "VERI-1137", MSG_NONE)                                                         \
    ID(kVeri1138, "VERI-1138", MSG_NONE)                                                         \
    ID(kVeri1154, "VERI-1154", MSG_NONE)                                                         \
    ID(kVeri1158, "VERI-1158", MSG_NONE)                                                         \
    ID(kVeri1206, "VERI-1206", MSG_NONE)                                                         \
    ID(kVeri1231, "VERI-1231", MSG_NONE)                                                         \
    ID(kVeri1232, "VERI-1232", MSG_NONE)                                                         \
    ID(kVeri1236, "VERI-1236", MSG_NONE)                                                         \
    ID(kVeri1245, "VERI-1245", MSG_NONE)                                                         \
    ID(kVeri1261, "VERI-1261", MSG_NONE)                                                         \
    ID(kVeri1281, "VERI-1281", MSG_NONE)                                                         \
    ID(kVeri1330, "VERI-1330", MSG_NONE)                                                         \
    ID(kVeri1791, "VERI-1791", MSG_NONE)                                                         \
    ID(kVeri1801, "VERI-1801", MSG_NONE)                                                         \
    ID(kVeri1871, "VERI-1871", MSG_NONE)                                                         \
    ID(kVeri1927, "VERI-1927", MSG_NONE)                                                         \
    ID(kVeri2142, "VERI-2142", MSG_NONE)                                                         \
    ID(kVeri9003, "VERI-9003", MSG_NONE)                                                         \
    ID(kVeri9015, "VERI-9015", MSG_NONE)                                                         \
    ID(kVeri9022, "VERI-9022", MSG_NONE)                                                         \
    ID(kVhdl1238, "VHDL-1238", MSG_NONE)                                                         \
    ID(kVhdl1260, "VHDL-1260", MSG_NONE)                                                         \
    ID(kVhdl1261, "VHDL-1261", MSG_NONE)                                                         \
    ID(kVhdl1283, "VHDL-1283", MSG_NONE)                                                         \
    ID(kVhdl9017, "VHDL-9017", MSG_NONE)                                                         \
    ID(kVhdl9019, "VHDL-9019", MSG_NONE)                                                         \
    ID(kVhdl9021, "VHDL-9021", MSG_NONE)                                                         \
    ID(kVbsr1011, "VBSR-1011", MSG_NONE)                                                         \
    ID(kProtectedSource, "56-286", MSG_ERROR)                                                    \
    TEXT(ProtectedSourceUnreadable, kProtectedSource, "@56-286@%s")                              \
    ID(kProtectedSourceFailure, "56-287", MSG_ERROR)                                             \
    TEXT(ProtectedSourceFailed, kProtectedSourceFailure, "@56-287@%s%s")                         \
    ID(kConfigurationTops, "56-434", MSG_WARNING)                                                \
    TEXT(ConfigurationTopsLeftOut, kConfigurationTops, "@56-434@%s%s")                           \
    ID(kConfigurationClash, "56-440", MSG_ERROR)                                                 \
    TEXT(ConfigurationNameClash, kConfigurationClash, "@56-440@%s")
// clang-format on

namespace hadl_msg {
using hdl::MSG_ERROR;
using hdl::MSG_NONE;
using hdl::MSG_WARNING;
HDL_MESSAGE_CONSTANTS(HADL_MESSAGES)
HDL_MESSAGE_CATALOGUE(Catalogue, "scanner", HADL_MESSAGES)
} // namespace hadl_msg
