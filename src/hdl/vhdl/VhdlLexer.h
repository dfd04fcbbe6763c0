// The VHDL lexer: turns one source buffer into tokens that point into the buffer (no
// source text is copied). It handles both comment kinds, the translate/synthesis
// on-off pragmas, PSL comments, protected envelopes and the tool directives of 2019.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "hdl/base/ErrorRecovery.h"
#include "hdl/base/LineFile.h"
#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlTokens.h"

namespace hdl {

struct VhdlTok {
    uint16_t kind = VHDL_EOF;
    uint32_t begin = 0; // byte offsets into the buffer
    uint32_t end = 0;
    uint32_t line = 0, col = 0, endLine = 0, endCol = 0; // endCol: column of the last character
};

class VhdlLexer {
public:
    VhdlLexer(std::string_view text, uint32_t fileId, unsigned mode);

    // translate_off/synthesis_off regions are skipped unless this is set.
    void SetIgnorePragmas(bool ignore) { ignorePragmas_ = ignore; }
    // Reads the whole buffer; the last token is VHDL_EOF.
    std::vector<VhdlTok> Tokenize();

    std::string_view Text(const VhdlTok& t) const { return text_.substr(t.begin, t.end - t.begin); }
    unsigned ErrorCount() const { return errors_; }
    // The text that translate_off regions and inactive directive branches left out, in
    // order: what it declares, the analysed units do not see.
    const std::vector<std::string_view>& SkippedText() const { return skipped_; }

private:
    VhdlTok Next();
    void SkipBlanksAndComments();
    void LineComment(size_t start);
    void BlockComment();
    void Directive();
    bool ReadCondition();
    bool EvalCondition(const std::vector<std::string_view>& words, size_t& at, bool& ok);
    bool EvalRelation(const std::vector<std::string_view>& words, size_t& at, bool& ok);
    std::string_view DirectiveValue(std::string_view name) const;
    void SkipInactive(bool stopAtElse);
    void SkipInactiveText(bool stopAtElse);
    void SkipToPragmaOn();
    void SkipProtected();
    void Identifier(VhdlTok& t);
    void Number(VhdlTok& t);
    bool BitStringTail(VhdlTok& t);
    void StringLiteral(VhdlTok& t, char quote);
    void Delimiter(VhdlTok& t);

    char Peek(size_t ahead = 0) const { return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : '\0'; }
    bool AtEnd() const { return pos_ >= text_.size(); }
    void Advance();
    ColLineFile Here() const { return ColLineFile(fileId_, line_, col_); }
    // Tells the catalogue text M (one conversion) with `arg`, cut to 64 characters,
    // unless the recovery policy holds it back (a run of bad characters costs one message).
    template <const MessageText& M>
    void Error(std::string_view arg);

    std::string_view text_;
    uint32_t fileId_;
    unsigned mode_;
    bool ignorePragmas_ = false;
    size_t pos_ = 0;
    uint32_t line_ = 1, col_ = 1;
    uint16_t prevKind_ = VHDL_EOF;
    unsigned errors_ = 0;
    size_t tokensAsked_ = 0; // calls of Next: the recovery policy's position
    ErrorRecovery recovery_;
    // Open `if directives: true while the branch being read is taken.
    std::vector<bool> conditions_;
    std::vector<std::string_view> skipped_;
};

} // namespace hdl
