// Helpers shared by the lexer and preprocessor tests: message capture and running
// the token stream over text.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/sv/VeriPreprocessor.h"

namespace hdl::test {

struct CapturedMessage {
    msg_type_t type;
    std::string id;
    std::string text;
    uint32_t line;
};

inline std::vector<CapturedMessage>& capturedMessages() {
    static std::vector<CapturedMessage> messages;
    return messages;
}

inline void captureMessage(msg_type_t type, const char* id, const ColLineFile* loc, const char* format, va_list args) {
    char buf[1024];
    vsnprintf(buf, sizeof buf, format, args);
    capturedMessages().push_back({type, id ? id : "", buf, loc ? loc->leftLine : 0});
}

// Installs the capture for the lifetime of a test.
struct MessageCapture {
    MessageCapture() {
        capturedMessages().clear();
        Message::RegisterCallBackMsg(captureMessage);
    }
    ~MessageCapture() { Message::RegisterCallBackMsg(nullptr); }
    size_t count(const char* id) const {
        size_t n = 0;
        for (const auto& m : capturedMessages()) n += m.id == id ? 1 : 0;
        return n;
    }
    size_t errors() const {
        size_t n = 0;
        for (const auto& m : capturedMessages()) n += m.type == MSG_ERROR ? 1 : 0;
        return n;
    }
    std::string all() const {
        std::string s;
        for (const auto& m : capturedMessages()) s += m.id + " line " + std::to_string(m.line) + ": " + m.text + "\n";
        return s;
    }
};

inline std::vector<VeriToken> allTokens(VeriPreprocessor& pp) {
    std::vector<VeriToken> out;
    for (VeriToken t = pp.next(); t.kind != VT_EOF; t = pp.next()) out.push_back(t);
    return out;
}

// The token texts joined by single blanks.
inline std::string joined(const std::vector<VeriToken>& tokens) {
    std::string s;
    for (const VeriToken& t : tokens) {
        if (!s.empty()) s += ' ';
        s.append(t.text);
    }
    return s;
}

} // namespace hdl::test
