// Analyses source text into a fresh library set and collects the messages, for the
// parser tests.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/sv/VeriLibrary.h"

namespace veritest {

struct Diagnostic {
    hdl::msg_type_t type;
    std::string id;
    unsigned line;
    std::string text;
};

inline std::vector<Diagnostic>& diagnostics() {
    static std::vector<Diagnostic> all;
    return all;
}

inline void collect(hdl::msg_type_t type, const char* id, const hdl::ColLineFile* loc, const char* format,
                    va_list args) {
    char text[1024];
    vsnprintf(text, sizeof text, format, args);
    diagnostics().push_back({type, id, loc ? loc->leftLine : 0, text});
}

inline unsigned errorCount() {
    unsigned n = 0;
    for (const Diagnostic& d : diagnostics()) n += d.type == hdl::MSG_ERROR;
    return n;
}

// Starts over, then analyses `text`; further calls add to the same libraries.
inline bool analyze(const std::string& text, const char* library = "work", bool fresh = true) {
    if (fresh) {
        hdl::veri_file::Reset();
        diagnostics().clear();
    }
    hdl::Message::RegisterCallBackMsg(collect);
    bool ok = hdl::veri_file::AnalyzeText(text, "test.sv", hdl::SYSTEM_VERILOG, library);
    hdl::Message::RegisterCallBackMsg(nullptr);
    return ok;
}

// Errors other than names that nothing declares: what snippets of syntax, whose names
// stand for anything, must not give.
inline unsigned syntaxErrorCount() {
    unsigned n = 0;
    for (const Diagnostic& d : diagnostics()) n += d.type == hdl::MSG_ERROR && d.id != "VERI-1507";
    return n;
}

// Analyses a snippet of syntax; true when it gives no error but undeclared names.
inline bool analyzeSyntax(const std::string& text) {
    analyze(text);
    return syntaxErrorCount() == 0;
}

// The errors a text gives, each as "LINE ID TEXT", in the order told.
inline std::vector<std::string> errorsOf(const std::string& text) {
    analyze(text);
    std::vector<std::string> out;
    for (const Diagnostic& d : diagnostics())
        if (d.type == hdl::MSG_ERROR) out.push_back(std::to_string(d.line) + " " + d.id + " " + d.text);
    return out;
}

// `text` with `from` replaced by `to`, and the line `from` is on; `from` must occur (the
// caller checks the line, which is 0 when it does not).
inline std::pair<std::string, std::string> edited(const std::string& text, const std::string& from,
                                                  const std::string& to) {
    size_t at = text.find(from);
    if (at == std::string::npos) return {text, "0"};
    std::string variant = text;
    variant.replace(at, from.size(), to);
    return {variant, std::to_string(1 + std::count(text.begin(), text.begin() + at, '\n'))};
}

inline hdl::VeriModule* unit(const char* name) { return hdl::veri_file::GetModule(name); }

} // namespace veritest
