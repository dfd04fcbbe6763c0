#include "hdl/base/Message.h"

#include <cstdio>
#include <string>
#include <unordered_map>

namespace hdl {

namespace {
struct SinkState {
    std::unordered_map<std::string, msg_type_t> idTypes;
    msg_type_t typeMap[7] = {MSG_NONE, MSG_ERROR, MSG_WARNING, MSG_IGNORE, MSG_INFO, MSG_COMMENT, MSG_PROGRAM_ERROR};
    MsgCallBack callback = nullptr;
    SourceLineMap lineMap = nullptr;
    uint32_t errorCount = 0;
    uint32_t maxErrors = 0;
    bool hideErrorCount = false;
};
SinkState& state() {
    static SinkState* s = new SinkState; // lives for the process
    return *s;
}

void printMessage(msg_type_t type, const char* id, const ColLineFile* loc, const char* format, va_list args) {
    const char* file = LineFile::GetFileName(loc);
    uint32_t line = LineFile::GetLineNo(loc);
    bool within = false;
    if (file && state().lineMap) within = state().lineMap(file, line, &line);
    if (within && type != MSG_ERROR && type != MSG_PROGRAM_ERROR) return;
    if (type != MSG_NONE) {
        if (file) std::printf("%s(%u): ", file, line);
        std::printf("%s", Message::TypeName(type));
    }
    if (within) std::printf("Invalid code in protected region at [%s:%u]", file, line);
    else std::vprintf(format, args);
    if (type != MSG_NONE && id && *id) std::printf(" (%s)", id);
    std::printf("\n");
    std::fflush(stdout);
}
} // namespace

const char* Message::TypeName(msg_type_t type) {
    switch (type) {
    case MSG_ERROR: return "ERROR: ";
    case MSG_WARNING: return "WARNING: ";
    case MSG_INFO: return "INFO: ";
    case MSG_COMMENT: return "-- ";
    case MSG_PROGRAM_ERROR: return "PROGRAM_ERROR: ";
    default: return "";
    }
}

msg_type_t Message::EffectiveType(msg_type_t type, const char* id) {
    SinkState& s = state();
    if (id && !s.idTypes.empty()) {
        auto it = s.idTypes.find(id);
        if (it != s.idTypes.end()) return it->second;
    }
    return type <= MSG_PROGRAM_ERROR ? s.typeMap[type] : type;
}

void Message::MsgVaList(msg_type_t type, const char* id, const ColLineFile* loc, const char* format, va_list args) {
    SinkState& s = state();
    msg_type_t t = EffectiveType(type, id);
    if (t == MSG_IGNORE) return;
    if (t == MSG_ERROR || t == MSG_PROGRAM_ERROR) {
        if (s.maxErrors && s.errorCount >= s.maxErrors) return;
        ++s.errorCount;
    }
    if (!format) format = "";
    if (s.callback) {
        s.callback(t, id, loc, format, args);
    } else {
        printMessage(t, id, loc, format, args);
    }
}

// clang-format off
#define HDL_FORWARD(TYPE)            \
    va_list args;                    \
    va_start(args, format);          \
    MsgVaList(TYPE, id, loc, format, args); \
    va_end(args)
// clang-format on

void Message::Msg(msg_type_t type, const char* id, const ColLineFile* loc, const char* format, ...) {
    HDL_FORWARD(type);
}
void Message::Send(msg_type_t type, const char* id, const ColLineFile* loc, const char* format, ...) {
    HDL_FORWARD(type);
}
void Message::Error(const char* id, const ColLineFile* loc, const char* format, ...) { HDL_FORWARD(MSG_ERROR); }
void Message::Warning(const char* id, const ColLineFile* loc, const char* format, ...) { HDL_FORWARD(MSG_WARNING); }
void Message::Info(const char* id, const ColLineFile* loc, const char* format, ...) { HDL_FORWARD(MSG_INFO); }
void Message::Comment(const char* id, const ColLineFile* loc, const char* format, ...) { HDL_FORWARD(MSG_COMMENT); }
#undef HDL_FORWARD

void Message::SetMessageType(const char* id, msg_type_t type) {
    if (id) state().idTypes[id] = type;
}

msg_type_t Message::GetMessageType(const char* id) {
    if (!id) return MSG_NONE;
    SinkState& s = state();
    auto it = s.idTypes.find(id);
    return it == s.idTypes.end() ? MSG_NONE : it->second;
}

void Message::ClearMessageType(const char* id) {
    if (id) state().idTypes.erase(id);
}

void Message::SetAllMessageType(msg_type_t from, msg_type_t to) {
    if (from <= MSG_PROGRAM_ERROR) state().typeMap[from] = to;
}

void Message::ResetAllMessageTypes() {
    SinkState& s = state();
    s.idTypes.clear();
    for (uint32_t i = 0; i <= MSG_PROGRAM_ERROR; ++i) s.typeMap[i] = static_cast<msg_type_t>(i);
}

void Message::RegisterCallBackMsg(MsgCallBack callback) { state().callback = callback; }
MsgCallBack Message::GetCallBackMsg() { return state().callback; }
void Message::RegisterSourceLineMap(SourceLineMap map) { state().lineMap = map; }
SourceLineMap Message::GetSourceLineMap() { return state().lineMap; }

void Message::ClearErrorCount() { state().errorCount = 0; }
uint32_t Message::ErrorCount() { return state().errorCount; }
void Message::SetMaxErrorCount(uint32_t count) { state().maxErrors = count; }
bool Message::MaxErrorsReached() {
    SinkState& s = state();
    return s.maxErrors && s.errorCount >= s.maxErrors;
}
void Message::HideErrorCount(bool hide) { state().hideErrorCount = hide; }
bool Message::ErrorCountHidden() { return state().hideErrorCount; }

} // namespace hdl
