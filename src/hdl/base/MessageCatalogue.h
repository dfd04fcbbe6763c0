// The one form of every message catalogue, of both front-ends and of the scanner. A
// catalogue is a list macro of rows, each id once with its type, followed by the texts
// told under it:
//
//   #define HDL_XYZ_MESSAGES(ID, TEXT)
//       ID(kOpenFailed, "XYZ-1000", MSG_ERROR)
//       TEXT(CannotOpenFile, kOpenFailed, "cannot open file '%s'")
//
// (each row ending in a backslash).
//
// HDL_MESSAGE_CONSTANTS(list) makes an hdl::MessageId constant of each id row and an
// hdl::MessageText of each text row (the arguments of Message::Tell);
// HDL_MESSAGE_CATALOGUE(function, title, list) makes a function that returns the rows,
// for the test that ids are unique across all catalogues and formats well formed. A
// text row may name an id of another catalogue (the scanner tells some front-end ids).
#pragma once

#include <vector>

#include "hdl/base/Message.h"

namespace hdl {

struct MessageCatalogue {
    const char* title;
    std::vector<const MessageId*> ids;
    std::vector<const MessageText*> texts;
};

} // namespace hdl

#define HDL_MESSAGE_ID_CONSTANT(name, idText, type) inline constexpr ::hdl::MessageId name{idText, type};
#define HDL_MESSAGE_TEXT_CONSTANT(name, id, format) inline constexpr ::hdl::MessageText name{id, format};
#define HDL_MESSAGE_ID_ROW(name, idText, type) &name,
#define HDL_MESSAGE_TEXT_ROW(name, id, format) &name,
#define HDL_MESSAGE_NO_ROW(name, a, b)

#define HDL_MESSAGE_CONSTANTS(LIST) LIST(HDL_MESSAGE_ID_CONSTANT, HDL_MESSAGE_TEXT_CONSTANT)

// clang-format off
#define HDL_MESSAGE_CATALOGUE(function, title, LIST)                                                         \
    inline const ::hdl::MessageCatalogue& function() {                                                     \
        static const ::hdl::MessageCatalogue catalogue{title, {LIST(HDL_MESSAGE_ID_ROW, HDL_MESSAGE_NO_ROW)}, \
                                                       {LIST(HDL_MESSAGE_NO_ROW, HDL_MESSAGE_TEXT_ROW)}};     \
        return catalogue;                                                                                  \
    }
// clang-format on
