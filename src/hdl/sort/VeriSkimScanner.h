// The skim's own Verilog scanner: one pass over a file's text that yields the same
// tokens as the lexer and the preprocessor would, without positions, messages or a
// token record per character run. It obeys the conditional directives, `define,
// `undef and the directives that only set state; a file that includes another file,
// uses a macro or needs any other directive is left to the full preprocessor, which
// the scanner tells by returning false before anything has been opened.
#pragma once

#include <string_view>
#include <unordered_set>
#include <vector>

#include "hdl/sv/VeriTokens.h"

namespace hdl {

// Sixteen bytes: a file has a token every few characters.
struct VeriSkimToken {
    VeriSkimToken(uint16_t k, std::string_view t) : data(t.data()), size(static_cast<uint32_t>(t.size())), kind(k) {}
    std::string_view text() const { return std::string_view(data, size); }

    const char* data;
    uint32_t size;
    uint16_t kind;
};

struct VeriSkimScanOptions {
    VeriKeywordSet keywordSet = VERI_KW_SV2012;
    bool ignoreTranslateOff = false;
    // Text read as the preprocessor reads it: directives obeyed, error tokens kept.
    // Without, the text holds no backquote and error tokens are dropped, as when the
    // lexer alone reads it.
    bool preprocess = false;
    // Macros defined before the file begins (command line, language constants).
    const std::unordered_set<std::string_view>* predefined = nullptr;
};

// Appends the tokens of `text` to `out` (no end token). False when the file needs the
// full preprocessor; `out` then holds a partial stream to be discarded.
bool veriSkimScan(std::string_view text, const VeriSkimScanOptions& options, std::vector<VeriSkimToken>& out);

} // namespace hdl
