// Records what reaches the message sink during a test, formatted, instead of printing.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "hdl/base/Message.h"

struct RecordedMessage {
    hdl::msg_type_t type;
    std::string id;
    std::string text;
};

class MessageRecorder {
public:
    MessageRecorder() {
        messages().clear();
        hdl::Message::RegisterCallBackMsg(&record);
    }
    ~MessageRecorder() { hdl::Message::RegisterCallBackMsg(nullptr); }

    static std::vector<RecordedMessage>& messages() {
        static std::vector<RecordedMessage> list;
        return list;
    }
    // Every recorded text, one per line, for failure output and substring checks.
    static std::string all() {
        std::string out;
        for (const auto& m : messages()) out += m.text + "\n";
        return out;
    }

private:
    static void record(hdl::msg_type_t type, const char* id, const hdl::ColLineFile*, const char* format,
                       va_list args) {
        char buffer[4096];
        std::vsnprintf(buffer, sizeof buffer, format, args);
        messages().push_back({type, id ? id : "", buffer});
    }
};

// An argument vector of C strings over owned words.
class ArgVector {
public:
    ArgVector(std::initializer_list<std::string> list) : words(list) {
        for (const auto& w : words) pointers.push_back(w.c_str());
    }
    int argc() const { return static_cast<int>(pointers.size()); }
    const char* const* argv() const { return pointers.data(); }

private:
    std::vector<std::string> words;
    std::vector<const char*> pointers;
};
