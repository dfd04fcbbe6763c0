// Catalogue of the command framework's messages. The framework's message table is
// keyed by format text: Command::Error and its kin give a format the id of the text it
// is, and a format that is not here gets no id.
#pragma once

#include "hdl/base/MessageCatalogue.h"

// clang-format off
#define HDL_COMMAND_MESSAGES(ID, TEXT)                                                                    \
    ID(kExpectedArgument, "CMD-1000", MSG_ERROR)                                                          \
    TEXT(ExpectedArgument, kExpectedArgument, "%s: expected an argument (near '%s')")                     \
    ID(kAmbiguousOption, "CMD-1001", MSG_ERROR)                                                           \
    TEXT(AmbiguousOption, kAmbiguousOption, "%s: ambiguous option -%s (possible options : %s)")           \
    ID(kUnknownOption, "CMD-1002", MSG_ERROR)                                                             \
    TEXT(UnknownOption, kUnknownOption, "%s: unknown option -%s")                                         \
    ID(kNoPairing, "CMD-1003", MSG_ERROR)                                                                 \
    TEXT(NoPairing, kNoPairing, "%s: map argument '%s' has no pairing")                                   \
    ID(kMapUnparsable, "CMD-1004", MSG_ERROR)                                                             \
    TEXT(MapUnparsable, kMapUnparsable, "%s: map argument '%s' cannot be parsed")                         \
    ID(kOptionMissing, "CMD-1005", MSG_ERROR)                                                             \
    TEXT(OptionMissing, kOptionMissing, "%s: option -%s needs to be specified")                           \
    ID(kArgumentMissing, "CMD-1006", MSG_ERROR)                                                           \
    TEXT(ArgumentMissing, kArgumentMissing, "%s: command expects an argument")                            \
    ID(kExclusiveOptions, "CMD-1007", MSG_ERROR)                                                          \
    TEXT(ExclusiveOptions, kExclusiveOptions, "%s: cannot set both options -%s and -%s")                  \
    ID(kDefaultRepeated, "CMD-1008", MSG_ERROR)                                                           \
    TEXT(DefaultRepeated, kDefaultRepeated, "%s: default option was already specified")                   \
    ID(kOptionRepeated, "CMD-1009", MSG_ERROR)                                                            \
    TEXT(OptionRepeated, kOptionRepeated, "%s: option -%s was already specified")                         \
    ID(kNotInteger, "CMD-1010", MSG_ERROR)                                                                \
    TEXT(NotInteger, kNotInteger, "%s: option -%s expected an integer (near '%s')")                       \
    ID(kNotDouble, "CMD-1011", MSG_ERROR)                                                                 \
    TEXT(NotDouble, kNotDouble, "%s: option -%s expected a floating point number (near '%s')")            \
    ID(kOverwriting, "CMD-1012", MSG_WARNING)                                                             \
    TEXT(Overwriting, kOverwriting, "%s: option -%s previously set; overwriting value '%s'")              \
    ID(kValueMissing, "CMD-1013", MSG_ERROR)                                                              \
    TEXT(ValueMissing, kValueMissing, "%s: option -%s expects an argument")                               \
    ID(kFailed, "CMD-1014", MSG_ERROR)                                                                    \
    TEXT(Failed, kFailed, "%s: failed")                                                                   \
    ID(kFailedBecause, "CMD-1015", MSG_ERROR)                                                             \
    TEXT(FailedBecause, kFailedBecause, "%s: failed because %s")
// clang-format on

namespace hdl {
namespace cmd_msg {
HDL_MESSAGE_CONSTANTS(HDL_COMMAND_MESSAGES)
HDL_MESSAGE_CATALOGUE(Catalogue, "command framework", HDL_COMMAND_MESSAGES)
} // namespace cmd_msg

// The id of a framework format ("CMD-1002"), or null for a format it does not know.
const char* commandMessageId(const char* format);

} // namespace hdl
