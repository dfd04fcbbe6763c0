// The front-end's one message sink. Every diagnostic carries a type, an id
// ("VERI-1234", "VHDL-1234", "CMD-1000"), a location, a printf-style format and its
// arguments. A per-id table can raise, lower or ignore ids; one registered callback
// receives what is left, and without a callback the message is printed on stdout.
// Ids and formats come from the catalogues (MessageCatalogue.h): code tells a message
// with Message::Tell<catalogue entry>(location, arguments...).
#pragma once

#include <cstdarg>
#include <cstdint>
#include <string_view>

#include "hdl/base/LineFile.h"
#include "hdl/base/MessageFormat.h"

namespace hdl {

enum msg_type_t : uint32_t {
    MSG_NONE = 0,
    MSG_ERROR = 1,
    MSG_WARNING = 2,
    MSG_IGNORE = 3,
    MSG_INFO = 4,
    MSG_COMMENT = 5,
    MSG_PROGRAM_ERROR = 6,
};

// Where the text a front-end read is not the file as it stands (protected regions
// shown deciphered), gives the file's line for a line of that text, and true when the
// line lies in deciphered text.
using SourceLineMap = bool (*)(const char* file, uint32_t line, uint32_t* sourceLine);

// Receives a message after type overrides were applied. The va_list is only valid
// for the duration of the call.
using MsgCallBack = void (*)(msg_type_t type, const char* id, const ColLineFile* loc, const char* format, va_list args);

// A message id of a catalogue with the type its messages are told with.
struct MessageId {
    const char* id;
    msg_type_t type;
    constexpr operator const char*() const { return id; }
};
inline bool operator==(std::string_view text, const MessageId& m) { return text == m.id; }
inline bool operator==(const MessageId& m, std::string_view text) { return text == m.id; }
inline bool operator!=(std::string_view text, const MessageId& m) { return text != m.id; }
inline bool operator!=(const MessageId& m, std::string_view text) { return text != m.id; }

// One text of a catalogue: the id it is told under and its printf format.
struct MessageText {
    MessageId id;
    const char* format;
};

class Message {
public:
    // Tells the catalogue text M with the type of its id; the arguments must fit its
    // format, which the compiler checks.
    template <const MessageText& M, typename... A>
    static void Tell(const ColLineFile* loc, A... args) {
        static_assert(message_format::FormatFits<A...>(M.format), "the arguments do not fit the message's format");
        Send(M.id.type, M.id.id, loc, M.format, args...);
    }
    // The same with a type of the call's own, for a text told now as one type, now as
    // another (a tool directive that is an error or a warning by its name).
    template <const MessageText& M, typename... A>
    static void TellAs(msg_type_t type, const ColLineFile* loc, A... args) {
        static_assert(message_format::FormatFits<A...>(M.format), "the arguments do not fit the message's format");
        Send(type, M.id.id, loc, M.format, args...);
    }

    static void Msg(msg_type_t type, const char* id, const ColLineFile* loc, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    static void MsgVaList(msg_type_t type, const char* id, const ColLineFile* loc, const char* format, va_list args);
    static void Error(const char* id, const ColLineFile* loc, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
    static void Warning(const char* id, const ColLineFile* loc, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
    static void Info(const char* id, const ColLineFile* loc, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
    static void Comment(const char* id, const ColLineFile* loc, const char* format, ...)
        __attribute__((format(printf, 3, 4)));

    // Per-id override of the type; MSG_IGNORE drops the id.
    static void SetMessageType(const char* id, msg_type_t type);
    // The override of the id, or MSG_NONE when it has none.
    static msg_type_t GetMessageType(const char* id);
    static void ClearMessageType(const char* id);
    // Every message of type `from` that has no per-id override becomes `to`.
    static void SetAllMessageType(msg_type_t from, msg_type_t to);
    static void ResetAllMessageTypes();

    // The type a message of this id and original type ends up with.
    static msg_type_t EffectiveType(msg_type_t type, const char* id);

    static void RegisterCallBackMsg(MsgCallBack callback);
    // Printed messages give the file's lines through the map; of one within deciphered
    // text only an error is printed, as "Invalid code in protected region", so that
    // the protected source is never quoted. A callback does its own mapping.
    static void RegisterSourceLineMap(SourceLineMap map);
    static SourceLineMap GetSourceLineMap();
    static MsgCallBack GetCallBackMsg();

    static void ClearErrorCount();
    static uint32_t ErrorCount();
    // Errors beyond the limit are dropped; 0 means no limit.
    static void SetMaxErrorCount(uint32_t count);
    static bool MaxErrorsReached();
    static void HideErrorCount(bool hide);
    static bool ErrorCountHidden();

    // Printed form of a type, as the default output uses it.
    static const char* TypeName(msg_type_t type);

private:
    // Msg without the compiler's format check, which Tell has made already on a format
    // that is not a literal at the call.
    static void Send(msg_type_t type, const char* id, const ColLineFile* loc, const char* format, ...);
};

} // namespace hdl
