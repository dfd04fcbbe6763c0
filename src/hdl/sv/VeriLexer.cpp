#include "hdl/sv/VeriLexer.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "hdl/base/Message.h"
#include "hdl/base/TextRuns.h"
#include "hdl/sv/VeriLexTables.h"
#include "hdl/sv/VeriMessageIds.h"

namespace hdl {

using namespace verilex;

uint16_t veriKeywordKind(std::string_view word, VeriKeywordSet set) {
    return keywordTable().find(word.data(), word.size(), set);
}

int veriKeywordSetOf(std::string_view version) {
    static const std::pair<const char*, VeriKeywordSet> table[] = {
        {"1364-1995", VERI_KW_1995},   {"1364-2001-noconfig", VERI_KW_2001_NOCONFIG},
        {"1364-2001", VERI_KW_2001},   {"1364-2005", VERI_KW_2005},
        {"1800-2005", VERI_KW_SV2005}, {"1800-2009", VERI_KW_SV2009},
        {"1800-2012", VERI_KW_SV2012}, {"1800-2017", VERI_KW_SV2012},
        {"1800-2023", VERI_KW_SV2012}};
    for (const auto& row : table)
        if (version == row.first) return row.second;
    return -1;
}

VeriLexer::VeriLexer(std::string_view text, std::vector<VeriTextOrigin> origins)
    : text_(text), origins_(std::move(origins)) {
    if (origins_.empty()) origins_.push_back(VeriTextOrigin{});
    fileId_ = origins_[0].fileId;
    line_ = origins_[0].line;
    col_ = origins_[0].col;
}

void VeriLexer::trackTo(size_t limit) {
    const char* p = text_.data() + trackPos_;
    const char* end = text_.data() + limit;
    // Tokens mostly lie a few characters apart: count the line ends in between
    // directly, and leave long stretches (comments) to memchr.
    uint32_t newlines = 0;
    const char* lineStart = nullptr;
    if (end - p < 64) {
        const char* q = p;
        // Eight characters at a time: a byte of `hits` is 0x80 exactly where the
        // text holds a line end (the highest such byte is the last, little-endian).
        constexpr uint64_t kLow7 = 0x7f7f7f7f7f7f7f7fULL;
        for (; end - q >= 8; q += 8) {
            uint64_t word;
            std::memcpy(&word, q, 8);
            uint64_t x = word ^ 0x0a0a0a0a0a0a0a0aULL;
            uint64_t hits = ~(((x & kLow7) + kLow7) | x | kLow7);
            if (hits) {
                newlines += uint32_t(__builtin_popcountll(hits));
                lineStart = q + (63 - __builtin_clzll(hits)) / 8 + 1;
            }
        }
        for (; q < end; ++q) {
            if (*q == '\n') {
                ++newlines;
                lineStart = q + 1;
            }
        }
    } else {
        for (const char* q = p; const void* hit = std::memchr(q, '\n', size_t(end - q));) {
            ++newlines;
            q = lineStart = static_cast<const char*>(hit) + 1;
        }
    }
    advance(newlines, newlines ? size_t(lineStart - text_.data()) : 0, limit);
}

void VeriLexer::advance(uint32_t newlines, size_t lineStart, size_t limit) {
    if (newlines) {
        line_ += newlines;
        if (remapPending_) {
            // The remap names the line after the first line end.
            remapPending_ = false;
            fileId_ = remapFile_;
            line_ = remapLine_ + (newlines - 1);
        }
        col_ = 1;
        col_ += uint32_t(limit - lineStart);
    } else {
        col_ += uint32_t(limit - trackPos_);
    }
    trackPos_ = limit;
}

ColLineFile VeriLexer::positionAt(size_t offset) {
    if (offset > text_.size()) offset = text_.size();
    // Past the last origin (a plain file from its start) only line ends count.
    if (nextOrigin_ >= origins_.size()) {
        if (offset > trackPos_) trackTo(offset);
        return ColLineFile(fileId_, line_, col_);
    }
    for (;;) {
        while (nextOrigin_ < origins_.size() && origins_[nextOrigin_].offset <= trackPos_) {
            const VeriTextOrigin& o = origins_[nextOrigin_++];
            fileId_ = o.fileId;
            line_ = o.line;
            col_ = o.col;
        }
        if (trackPos_ >= offset) break;
        size_t limit = offset;
        if (nextOrigin_ < origins_.size() && origins_[nextOrigin_].offset < limit) limit = origins_[nextOrigin_].offset;
        trackTo(limit);
    }
    return ColLineFile(fileId_, line_, col_);
}

void VeriLexer::remapNextLine(uint32_t fileId, uint32_t line) {
    remapPending_ = true;
    remapFile_ = fileId;
    remapLine_ = line;
}

template <const MessageText& M, typename... A>
void VeriLexer::error(size_t at, A... args) {
    ColLineFile loc = positionAt(at);
    if (recovery_.OnError(loc.fileId, tokensMade_) == ErrorRecovery::Quiet) return;
    Message::Tell<M>(&loc, args...);
}

void VeriLexer::skipLineComment() {
    size_t start = pos_ + 2;
    const void* nl = std::memchr(text_.data() + start, '\n', text_.size() - start);
    pos_ = nl ? size_t(static_cast<const char*>(nl) - text_.data()) : text_.size();
    checkPragma(text_.substr(start, pos_ - start));
}

void VeriLexer::skipBlockComment() {
    size_t start = pos_;
    size_t close = text_.find("*/", start + 2);
    if (close == std::string_view::npos) {
        error<veri_msg::CommentNotClosed>(start);
        pos_ = text_.size();
        return;
    }
    pos_ = close + 2;
    checkPragma(text_.substr(start + 2, close - start - 2));
}

void VeriLexer::checkPragma(std::string_view body) {
    if (!ignoreTranslateOff_ && pragmaDirection(body) > 0) skipTranslateOff(pos_);
}

void VeriLexer::skipTranslateOff(size_t startPos) {
    size_t end = translateOnEnd(text_, startPos);
    if (end != std::string_view::npos) {
        pos_ = end;
        return;
    }
    ColLineFile loc = positionAt(startPos);
    Message::Tell<veri_msg::TranslateOffNotClosed>(&loc);
    pos_ = text_.size();
}

void VeriLexer::skipTrivia() {
    const char* data = text_.data();
    const size_t size = text_.size();
    triviaStart_ = pos_;
    triviaNewlines_ = 0;
    triviaCounted_ = true;
    for (;;) {
        size_t p = pos_;
        while (p < size && hasClass(data[p], CC_BLANK | CC_NEWLINE)) {
            if (data[p] == '\n') {
                lineStart_ = true;
                ++triviaNewlines_;
                triviaLineStart_ = p + 1;
            }
            ++p;
        }
        if (p != pos_) {
            pos_ = p;
            spaceBefore_ = true;
        }
        char c = peek();
        if (c == '/' && peek(1) == '/') {
            skipLineComment();
        } else if (c == '/' && peek(1) == '*') {
            skipBlockComment();
        } else {
            return;
        }
        triviaCounted_ = false; // comments hide line ends the loop above did not count
        spaceBefore_ = true;
    }
}

bool VeriLexer::skipBlanksToLineEnd() {
    for (;;) {
        char c = peek();
        if (isBlank(c)) {
            ++pos_;
        } else if (c == '/' && peek(1) == '/') {
            skipLineComment();
        } else if (c == '/' && peek(1) == '*') {
            skipBlockComment();
        } else {
            return c == '\n' || atEnd();
        }
    }
}

VeriToken VeriLexer::make(uint16_t kind, size_t start) {
    VeriToken t;
    t.kind = kind;
    // Fast path: tracking stands at the end of the previous token and the blanks since
    // then were counted while skipping them, so no character needs a second look.
    if (triviaCounted_ && trackPos_ == triviaStart_ && noOriginUpTo(start)) {
        advance(triviaNewlines_, triviaLineStart_, start);
        t.fileId = fileId_;
        t.line = line_;
        t.col = col_;
    } else {
        ColLineFile loc = positionAt(start);
        t.fileId = loc.fileId;
        t.line = loc.leftLine;
        t.col = loc.leftCol;
    }
    triviaCounted_ = false;
    // Only a string literal can hold a line end (after a backslash); over any other
    // token tracking moves to its end, where the next trivia starts.
    if (kind != VT_STRING_LITERAL && trackPos_ == start && noOriginUpTo(pos_)) {
        col_ += uint32_t(pos_ - start);
        trackPos_ = pos_;
    }
    t.text = text_.substr(start, pos_ - start);
    if (lineStart_) t.flags |= VTF_FIRST_ON_LINE;
    if (spaceBefore_) t.flags |= VTF_SPACE_BEFORE;
    lineStart_ = false;
    spaceBefore_ = false;
    lastKind_ = kind;
    ++tokensMade_;
    return t;
}

VeriToken VeriLexer::lexLiteral(size_t start, LiteralEnd literal) {
    pos_ = literal.end;
    if (literal.kind == VT_ERROR) error<veri_msg::BasedNumberWithoutDigits>(start);
    return make(literal.kind, start);
}

VeriToken VeriLexer::lexOperator(size_t start) {
    const auto* byChar = operatorsByFirstChar();
    const size_t left = text_.size() - pos_;
    for (const OperatorSpelling& op : byChar[static_cast<unsigned char>(peek())]) {
        size_t n = op.text.size();
        // The first character selected the list; compare the rest.
        if (n > left || op.set > keywordSet_ || !sameTail(text_.data() + pos_, op.text.data(), n)) continue;
        uint16_t kind = op.kind;
        if (kind == VT_ATTR_OPEN) {
            // "@(*)" is an event control on everything, not an attribute.
            size_t q = pos_ + 2;
            while (q < text_.size() && isSpace(text_[q])) ++q;
            if (q < text_.size() && text_[q] == ')') continue;
        }
        if (kind == VT_ATTR_CLOSE && lastKind_ == VT_LPAREN) continue;
        if (kind == VT_COLON_SLASH && (peek(2) == '/' || peek(2) == '*')) continue; // ": //comment" or ": /*comment*/"
        pos_ += op.text.size();
        return make(kind, start);
    }
    // A run of characters that start no token: one message, one error token.
    while (!atEnd()) {
        char c = peek();
        if (isSpace(c) || isIdentChar(c) || (std::strchr("()[]{};,.\"'`\\/", c) && c != '\0')) break;
        if (!byChar[static_cast<unsigned char>(c)].empty()) break;
        ++pos_;
    }
    if (pos_ == start) ++pos_;
    char shown[8];
    std::snprintf(shown, sizeof shown, "0x%02x", unsigned(static_cast<unsigned char>(text_[start])));
    error<veri_msg::UnexpectedCharacter>(start, shown);
    return make(VT_ERROR, start);
}

VeriToken VeriLexer::lex() {
    skipTrivia();
    size_t start = pos_;
    if (atEnd()) return make(VT_EOF, start);
    char c = peek();
    if (isIdentStart(c)) {
        pos_ = textruns::nameEnd<true>(text_.data(), pos_ + 1, text_.size());
        return make(veriKeywordKind(text_.substr(start, pos_ - start), keywordSet_), start);
    }
    if (isDigit(c)) return lexLiteral(start, numberAt(text_, pos_));
    switch (c) {
    case '$':
        ++pos_;
        if (!isIdentChar(peek())) return make(VT_DOLLAR, start);
        while (isIdentChar(peek())) ++pos_;
        return make(VT_SYSTEM_IDENTIFIER, start);
    case '\\':
        ++pos_;
        while (!atEnd() && !isSpace(peek())) ++pos_;
        if (pos_ == start + 1) {
            error<veri_msg::EscapedIdentifierEmpty>(start);
            return make(VT_ERROR, start);
        }
        return make(VT_ESCAPED_IDENTIFIER, start);
    case '"':
        ++pos_;
        for (;;) {
            char s = peek();
            if (atEnd() || s == '\n') {
                error<veri_msg::StringNotClosed>(start);
                break;
            }
            ++pos_;
            if (s == '"') break;
            if (s == '\\' && !atEnd()) ++pos_; // escaped character, a backslash-newline included
        }
        return make(VT_STRING_LITERAL, start);
    case '`':
        ++pos_;
        if (peek() == '`' || peek() == '"') {
            ++pos_;
        } else if (peek() == '\\' && peek(1) == '`' && peek(2) == '"') {
            pos_ += 3;
        } else {
            while (isIdentChar(peek())) ++pos_;
        }
        return make(VT_LEX_BACKTICK, start);
    case '\'': return lexLiteral(start, apostropheAt(text_, pos_, svOperators()));
    default: return lexOperator(start);
    }
}

} // namespace hdl
