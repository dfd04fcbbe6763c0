// Turns one buffer of Verilog/SystemVerilog text into raw tokens: no directive is
// obeyed here, a backquoted name comes out as VT_LEX_BACKTICK for the preprocessor.
// Token texts are views into the buffer; nothing is copied.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "hdl/base/ErrorRecovery.h"
#include "hdl/base/LineFile.h"
#include "hdl/base/Message.h"
#include "hdl/sv/VeriTokens.h"

namespace hdl {

namespace verilex {
struct LiteralEnd;
}

// A backquote and the name after it (text "`name"), or a lone "`" before no name.
constexpr uint16_t VT_LEX_BACKTICK = VT_KIND_COUNT;

// Text from this buffer offset on stands at this position (a macro argument or body
// piece inside an expansion buffer; a plain file has one origin at 0).
struct VeriTextOrigin {
    uint32_t offset = 0;
    uint32_t fileId = 0;
    uint32_t line = 1;
    uint32_t col = 1;
};

class VeriLexer {
public:
    VeriLexer(std::string_view text, std::vector<VeriTextOrigin> origins);

    void setKeywordSet(VeriKeywordSet set) { keywordSet_ = set; }
    void setIgnoreTranslateOff(bool ignore) { ignoreTranslateOff_ = ignore; }

    VeriToken lex();

    // Raw access for directive handling, which reads text the lexer does not tokenise.
    std::string_view text() const { return text_; }
    size_t pos() const { return pos_; }
    void setPos(size_t pos) { pos_ = pos < text_.size() ? pos : text_.size(); }
    bool atEnd() const { return pos_ >= text_.size(); }
    // The position of a buffer offset at or after the last one asked for.
    ColLineFile positionAt(size_t offset);
    // From the next line on, positions read as `line` of file `fileId` (`line).
    void remapNextLine(uint32_t fileId, uint32_t line);
    // Skips spaces, tabs and comments, not line ends; true when a line end or the end
    // of the buffer follows.
    bool skipBlanksToLineEnd();
    // Text pushed in place of a macro use starts where the use stood.
    void setLineStart(bool atStart) { lineStart_ = atStart; }

private:
    // Advances the tracked position from trackPos_ to `limit` (no origin in between).
    void trackTo(size_t limit);
    // Moves tracking to `limit` over text with `newlines` line ends, the last of them
    // ending just before `lineStart`.
    void advance(uint32_t newlines, size_t lineStart, size_t limit);
    // No text origin takes effect in (trackPos_, offset].
    bool noOriginUpTo(size_t offset) const {
        return nextOrigin_ >= origins_.size() || origins_[nextOrigin_].offset > offset;
    }
    // Skips white space and comments, line ends included.
    void skipTrivia();
    char peek(size_t k = 0) const { return pos_ + k < text_.size() ? text_[pos_ + k] : '\0'; }
    void skipLineComment();
    void skipBlockComment();
    void checkPragma(std::string_view body);
    void skipTranslateOff(size_t startPos);
    // Tells the catalogue text M about the text at offset `at`, unless the recovery
    // policy holds it back (a run of bad characters costs one message).
    template <const MessageText& M, typename... A>
    void error(size_t at, A... args);
    VeriToken make(uint16_t kind, size_t start);
    // A literal the shared rules found from `start` on; a base without digits is reported.
    VeriToken lexLiteral(size_t start, verilex::LiteralEnd literal);
    VeriToken lexOperator(size_t start);
    bool svOperators() const { return keywordSet_ >= VERI_KW_SV2005; }

    std::string_view text_;
    std::vector<VeriTextOrigin> origins_;
    size_t pos_ = 0;
    // Position tracking, advanced lazily up to trackPos_.
    size_t trackPos_ = 0;
    size_t nextOrigin_ = 1;
    uint32_t fileId_ = 0;
    uint32_t line_ = 1;
    uint32_t col_ = 1;
    bool remapPending_ = false;
    // Line ends seen by the last skipTrivia between triviaStart_ and the token after
    // it; valid while triviaCounted_ (no comment was skipped).
    size_t triviaStart_ = 0;
    size_t triviaLineStart_ = 0;
    uint32_t triviaNewlines_ = 0;
    bool triviaCounted_ = false;
    uint32_t remapFile_ = 0;
    uint32_t remapLine_ = 0;

    VeriKeywordSet keywordSet_ = VERI_KW_SV2012;
    bool ignoreTranslateOff_ = false;
    bool lineStart_ = true;
    bool spaceBefore_ = false;
    uint16_t lastKind_ = VT_EOF;
    size_t tokensMade_ = 0;
    ErrorRecovery recovery_;
};

// The keyword kind of `word` under `set`, or VT_IDENTIFIER.
uint16_t veriKeywordKind(std::string_view word, VeriKeywordSet set);
// The keyword set of a `begin_keywords version string ("1800-2017"), or -1.
int veriKeywordSetOf(std::string_view version);

} // namespace hdl
