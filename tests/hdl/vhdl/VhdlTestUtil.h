// Helpers shared by the VHDL front-end tests: message capture and analysis of text.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "hdl/base/Message.h"

namespace hdl::test {

struct CapturedMessage {
    msg_type_t type;
    std::string id;
    uint32_t line;
    std::string text;
};

// Collects every message while alive.
class MessageCapture {
public:
    MessageCapture() {
        Messages().clear();
        Message::RegisterCallBackMsg(&MessageCapture::Collect);
    }
    ~MessageCapture() { Message::RegisterCallBackMsg(nullptr); }
    const std::vector<CapturedMessage>& All() const { return Messages(); }
    size_t Count(msg_type_t type) const {
        size_t n = 0;
        for (const auto& m : Messages()) n += m.type == type;
        return n;
    }
    std::string Errors() const {
        std::string out;
        for (const auto& m : Messages())
            if (m.type == MSG_ERROR) out += std::to_string(m.line) + ": " + m.text + "\n";
        return out;
    }

private:
    static std::vector<CapturedMessage>& Messages() {
        static std::vector<CapturedMessage> messages;
        return messages;
    }
    static void Collect(msg_type_t type, const char* id, const ColLineFile* loc, const char* format, va_list args) {
        char buf[1024];
        vsnprintf(buf, sizeof buf, format, args);
        std::string where =
            loc && LineFile::GetFileNameFromId(loc->fileId) ? LineFile::GetFileNameFromId(loc->fileId) : "";
        Messages().push_back({type, id ? id : "", loc ? loc->leftLine : 0, where + ": " + buf});
    }
};

} // namespace hdl::test
