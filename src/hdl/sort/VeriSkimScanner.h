// The skim's own Verilog scanner: one pass over a file's text that yields the same
// tokens as the lexer and the preprocessor would, without positions, messages or a
// token record per character run. It obeys the conditional directives, `define,
// `undef, `undefineall, `include, macro uses and the directives that only set state.
// A file that needs anything else (`line, `begin_keywords, a protected region, a
// macro use that depends on where it stands) or that the preprocessor would report on
// is left to the full preprocessor, which the scanner tells by returning false; the
// scanner itself reports nothing.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "hdl/base/SourceStream.h"
#include "hdl/sv/VeriMacroTable.h"
#include "hdl/sv/VeriTokens.h"

namespace hdl {

// Sixteen bytes: a file has a token every few characters.
struct VeriSkimToken {
    // Left unset: room for tokens is made ahead of the writes that fill it.
    VeriSkimToken() {}
    VeriSkimToken(uint16_t k, std::string_view t) : data(t.data()), size(static_cast<uint32_t>(t.size())), kind(k) {}
    std::string_view text() const { return std::string_view(data, size); }

    const char* data;
    uint32_t size;
    uint16_t kind;
};

// What including a file did when it only defined and tested macros: replayed when the
// same text is included again where the macros it tested stand as they stood, so that
// a project's common headers are read once per skim instead of once per file.
struct VeriSkimIncludeEffect {
    // The file's text, then those of the files it includes in the order they open; the
    // definitions view them.
    std::vector<std::string> texts;
    // The files it includes as they open (their path) and close (an empty entry), so
    // that a replay opens them as reading the file would.
    std::vector<std::string> opens;
    size_t depth = 0; // deepest nesting of includes below the file
    std::vector<std::pair<std::string_view, bool>> tests; // a name and whether it was defined
    std::vector<std::pair<VeriMacro, bool>> changes; // a definition, or (true) a removal
};

// What one skim learns about includes: effects by include path (a few per path, for
// headers read under different macros), and where each include was found, by the
// includer's folder and the name, so that the folders are searched once. A finding
// that goes stale (the file removed) fails to open, and the preprocessor reports it.
struct VeriSkimIncludeCache {
    std::unordered_map<std::string, std::vector<std::unique_ptr<VeriSkimIncludeEffect>>> byPath;
    std::unordered_map<std::string, std::string> found;

    void clear() {
        byPath.clear();
        found.clear();
    }
};

struct VeriSkimScanOptions {
    VeriKeywordSet keywordSet = VERI_KW_SV2012;
    bool ignoreTranslateOff = false;
    // Text read as the preprocessor reads it: directives obeyed, error tokens kept.
    // Without, the text holds no backquote and error tokens are dropped, as when the
    // lexer alone reads it.
    bool preprocess = false;
    // Macros defined before the file begins (command line, language constants).
    const VeriMacroTable* predefined = nullptr;
    // Includes: the file's own name (its folder is searched first, and `__FILE__ gives
    // it), the include folders searched next, and the callback that opens streams.
    std::string_view fileName;
    const std::vector<std::string>* includeDirs = nullptr;
    StreamCallBack streamCallBack = nullptr;
    // Include effects kept from file to file (none without).
    VeriSkimIncludeCache* includeCache = nullptr;
    // Receives the paths of includes that were found but would not open. The input
    // chain reported each; they are not asked for again, and the preprocessor that
    // then takes the file over need not ask either.
    std::vector<std::string>* failedOpens = nullptr;
};

// Appends the tokens of `text` to `out` (no end token). Tokens of included files and
// macro expansions view texts that the scanner keeps in `texts`, which must outlive
// them. False when the file needs the full preprocessor; `out` then holds a partial
// stream to be discarded. Included files are opened through the callback while they
// are read, so a tracing callback sees them, also when the scan then gives up.
bool veriSkimScan(std::string_view text, const VeriSkimScanOptions& options, std::vector<VeriSkimToken>& out,
                  std::deque<std::string>& texts);

} // namespace hdl
