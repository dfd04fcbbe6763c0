#include "hdl/sort/VhdlSkimScanner.h"

#include <cstring>

#include "hdl/base/TextRuns.h"
#include "hdl/vhdl/VhdlLexTables.h"

namespace hdl {
namespace {

using namespace vhdllex;

enum : uint8_t { CC_LETTER = 1, CC_DIGIT = 2, CC_NAME = 4, CC_BLANK = 8, CC_EXTDIGIT = 16 };

struct CharClasses {
    uint8_t of[256] = {};
    constexpr CharClasses() {
        for (int c = 0; c < 256; ++c) {
            bool letter = ((c | 0x20) >= 'a' && (c | 0x20) <= 'z') || c >= 0xc0;
            bool digit = c >= '0' && c <= '9';
            bool alnum = digit || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
            uint8_t bits = 0;
            if (letter) bits |= CC_LETTER | CC_NAME;
            if (digit) bits |= CC_DIGIT | CC_NAME;
            if (c == '_') bits |= CC_NAME;
            if (alnum) bits |= CC_EXTDIGIT;
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v' || c == 0xa0)
                bits |= CC_BLANK;
            of[c] = bits;
        }
    }
};
constexpr CharClasses kClasses;

inline bool hasClass(char c, uint8_t bits) { return (kClasses.of[static_cast<unsigned char>(c)] & bits) != 0; }
inline bool isLetter(char c) { return hasClass(c, CC_LETTER); }
inline bool isDigit(char c) { return hasClass(c, CC_DIGIT); }
inline bool isExtDigit(char c) { return hasClass(c, CC_EXTDIGIT); }
// Reserved words bucketed by length and first letter, compared without regard to
// case: the same answers as VhdlKeyword without lower-casing and hashing each name.
struct KeywordTable {
    static constexpr size_t kMaxLen = 18;
    struct Entry {
        std::string_view text;
        VhdlToken token;
        unsigned edition;
    };
    std::vector<Entry> buckets[(kMaxLen + 1) * 26];

    KeywordTable() {
        const Entry all[] = {
#define VHDL_KW_ROW(name, text, ed) {text, VHDL_##name, ed},
            VHDL_KEYWORDS(VHDL_KW_ROW)
#undef VHDL_KW_ROW
        };
        for (const Entry& e : all)
            if (e.text.size() <= kMaxLen) buckets[e.text.size() * 26 + size_t(e.text[0] - 'a')].push_back(e);
    }

    // wordIs for a name against a reserved word of the same length. A reserved word
    // holds letters and `_`, a name letters, digits and `_`: with bit 5 set on both
    // sides a letter meets only itself in either case, and `_` only `_`.
    static bool nameIs(std::string_view name, std::string_view reserved) {
        for (size_t k = 0; k < name.size(); ++k)
            if ((name[k] | 0x20) != (reserved[k] | 0x20)) return false;
        return true;
    }

    VhdlToken find(std::string_view word, unsigned mode) const {
        size_t len = word.size();
        char first = static_cast<char>(word[0] | 0x20);
        if (len > kMaxLen || first < 'a' || first > 'z') return VHDL_ID;
        for (const Entry& e : buckets[len * 26 + size_t(first - 'a')]) {
            if (!nameIs(word, e.text)) continue;
            if (e.edition == VHDL_PSL) return mode == VHDL_PSL ? e.token : VHDL_ID;
            unsigned effective = mode == VHDL_PSL ? unsigned(VHDL_2008) : mode;
            return e.edition <= effective ? e.token : VHDL_ID;
        }
        return VHDL_ID;
    }
};

const KeywordTable& keywordTable() {
    static const KeywordTable table;
    return table;
}

class Scanner {
public:
    Scanner(std::string_view text, unsigned mode, bool ignorePragmas, std::vector<VhdlSkimToken>& out)
        : s_(text), mode_(mode), ignorePragmas_(ignorePragmas), out_(out) {}

    bool run() {
        while (ok_) {
            skipBlanksAndComments();
            if (!ok_) return false;
            // Filled in place: a token put together on the stack and copied stalls the load.
            VhdlSkimToken& t = out_.emplace_back();
            t.begin = static_cast<uint32_t>(pos_);
            if (pos_ >= s_.size()) {
                t.kind = VHDL_EOF;
                t.end = t.begin;
                return true;
            }
            char c = s_[pos_];
            if (isLetter(c)) {
                identifier(t);
            } else if (isDigit(c)) {
                number(t);
            } else if (c == '\\' || c == '"') {
                stringLiteral(t, c);
            } else if (c == '\'' && peek(2) == '\'' && peek(1) != '\0' &&
                       !(prevKind_ == VHDL_ID || prevKind_ == VHDL_EXTENDED_ID || prevKind_ == VHDL_RPAREN ||
                         prevKind_ == VHDL_RBRACKET || prevKind_ == VHDL_ALL)) {
                pos_ += 3;
                t.kind = VHDL_CHARACTER;
            } else {
                delimiter(t);
            }
            t.end = static_cast<uint32_t>(pos_);
            prevKind_ = t.kind;
        }
        return false;
    }

private:
    char peek(size_t k = 0) const { return pos_ + k < s_.size() ? s_[pos_ + k] : '\0'; }

    void skipBlanksAndComments() {
        while (pos_ < s_.size()) {
            char c = s_[pos_];
            if (hasClass(c, CC_BLANK)) {
                // A local index: the member would be stored at every blank.
                size_t p = pos_ + 1;
                while (p < s_.size() && hasClass(s_[p], CC_BLANK)) ++p;
                pos_ = p;
            } else if (c == '-' && peek(1) == '-') {
                lineComment();
            } else if (c == '/' && peek(1) == '*') {
                size_t close = s_.find("*/", pos_ + 2);
                if (close == std::string_view::npos) {
                    ok_ = false;
                    return;
                }
                pos_ = close + 2;
            } else {
                // A tool directive is the lexer's.
                ok_ = c != '`';
                return;
            }
        }
    }

    void lineComment() {
        size_t start = pos_;
        const void* nl = std::memchr(s_.data() + pos_, '\n', s_.size() - pos_);
        pos_ = nl ? size_t(static_cast<const char*>(nl) - s_.data()) : s_.size();
        std::string_view body = s_.substr(start + 2, pos_ - start - 2);
        size_t first = 0;
        std::string_view word = nextWord(body, first);
        if (word.size() > 13) return;
        if (wordIs(word, "psl")) {
            ok_ = false; // the lexer says that it ignores PSL
            return;
        }
        if (!ignorePragmas_ && pragmaKind(body) == 1) skipToPragmaOn();
    }

    void skipToPragmaOn() {
        while (pos_ < s_.size()) {
            if (s_[pos_] == '-' && peek(1) == '-') {
                size_t start = pos_;
                const void* nl = std::memchr(s_.data() + pos_, '\n', s_.size() - pos_);
                pos_ = nl ? size_t(static_cast<const char*>(nl) - s_.data()) : s_.size();
                if (pragmaKind(s_.substr(start + 2, pos_ - start - 2)) == 2) return;
            } else {
                ++pos_;
            }
        }
        ok_ = false; // never turned on again
    }

    void identifier(VhdlSkimToken& t) {
        // Letters beyond ASCII (Latin-1) continue a name too.
        size_t end = textruns::nameEnd<false>(s_.data(), pos_, s_.size());
        while (end < s_.size() && hasClass(s_[end], CC_NAME))
            end = textruns::nameEnd<false>(s_.data(), end + 1, s_.size());
        pos_ = end;
        std::string_view word = s_.substr(t.begin, pos_ - t.begin);
        if (peek() == '"' && isBaseSpecifier(word)) {
            bitStringTail(t);
            return;
        }
        t.kind = keywords_.find(word, mode_);
    }

    void bitStringTail(VhdlSkimToken& t) {
        stringLiteral(t, '"');
        t.kind = VHDL_BIT_STRING;
    }

    bool digits(bool extended) {
        bool any = false;
        while (pos_ < s_.size()) {
            char c = s_[pos_];
            if (extended ? isExtDigit(c) : isDigit(c)) {
                any = true;
                ++pos_;
            } else if (c == '_' && any && (extended ? isExtDigit(peek(1)) : isDigit(peek(1)))) {
                ++pos_;
            } else {
                break;
            }
        }
        return any;
    }

    void number(VhdlSkimToken& t) {
        digits(false);
        t.kind = VHDL_INTEGER;
        char c = peek();
        if (c == '#' || (c == ':' && isExtDigit(peek(1)))) {
            char mark = c;
            ++pos_;
            digits(true);
            if (peek() == '.') {
                ++pos_;
                digits(true);
                t.kind = VHDL_REAL;
            }
            if (peek() != mark) {
                ok_ = false;
                return;
            }
            ++pos_;
        } else if (c == '.' && isDigit(peek(1))) {
            ++pos_;
            digits(false);
            t.kind = VHDL_REAL;
        } else if (isLetter(c)) {
            // A length in front of a bit string literal: 12UX"F".
            size_t k = 0;
            while (isLetter(peek(k)) && k < 3) ++k;
            if (peek(k) == '"' && isBaseSpecifier(s_.substr(pos_, k))) {
                pos_ += k;
                bitStringTail(t);
                return;
            }
        }
        if ((peek() == 'e' || peek() == 'E') &&
            (isDigit(peek(1)) || ((peek(1) == '+' || peek(1) == '-') && isDigit(peek(2))))) {
            ++pos_;
            if (peek() == '+' || peek() == '-') ++pos_;
            digits(false);
        }
    }

    // Strings, bit strings and extended identifiers; `quote` is doubled inside.
    void stringLiteral(VhdlSkimToken& t, char quote) {
        ++pos_;
        for (;;) {
            if (pos_ >= s_.size() || s_[pos_] == '\n') {
                ok_ = false;
                return;
            }
            if (s_[pos_] == quote) {
                ++pos_;
                if (peek() == quote) {
                    ++pos_;
                    continue;
                }
                break;
            }
            ++pos_;
        }
        t.kind = quote == '\\' ? VHDL_EXTENDED_ID : VHDL_STRING;
    }

    void take(VhdlSkimToken& t, unsigned count, VhdlToken kind) {
        pos_ += count;
        t.kind = kind;
    }

    void delimiter(VhdlSkimToken& t) {
        char c = peek();
        char n = peek(1);
        switch (c) {
        case '&': return take(t, 1, VHDL_AMP);
        case '\'': return take(t, 1, VHDL_TICK);
        case '(': return take(t, 1, VHDL_LPAREN);
        case ')': return take(t, 1, VHDL_RPAREN);
        case '*': return n == '*' ? take(t, 2, VHDL_POW) : take(t, 1, VHDL_STAR);
        case '+': return take(t, 1, VHDL_PLUS);
        case ',': return take(t, 1, VHDL_COMMA);
        case '-': return take(t, 1, VHDL_MINUS);
        case '.': return take(t, 1, VHDL_DOT);
        case '/': return n == '=' ? take(t, 2, VHDL_NEQ) : take(t, 1, VHDL_SLASH);
        case ':': return n == '=' ? take(t, 2, VHDL_VARASSIGN) : take(t, 1, VHDL_COLON);
        case ';': return take(t, 1, VHDL_SEMI);
        case '<':
            if (n == '=') return take(t, 2, VHDL_LE);
            if (n == '>') return take(t, 2, VHDL_BOX);
            if (n == '<') return take(t, 2, VHDL_LTLT);
            return take(t, 1, VHDL_LT);
        case '=': return n == '>' ? take(t, 2, VHDL_ARROW) : take(t, 1, VHDL_EQ);
        case '>':
            if (n == '=') return take(t, 2, VHDL_GE);
            if (n == '>') return take(t, 2, VHDL_GTGT);
            return take(t, 1, VHDL_GT);
        case '|': return take(t, 1, VHDL_BAR);
        case '!': return take(t, 1, VHDL_BAR);
        case '[': return take(t, 1, VHDL_LBRACKET);
        case ']': return take(t, 1, VHDL_RBRACKET);
        case '@': return take(t, 1, VHDL_AT);
        case '{': return take(t, 1, VHDL_LBRACE);
        case '}': return take(t, 1, VHDL_RBRACE);
        case '^': return take(t, 1, VHDL_CARET);
        case '?':
            if (n == '?') return take(t, 2, VHDL_COND);
            if (n == '=') return take(t, 2, VHDL_MEQ);
            if (n == '/' && peek(2) == '=') return take(t, 3, VHDL_MNEQ);
            if (n == '<') return peek(2) == '=' ? take(t, 3, VHDL_MLE) : take(t, 2, VHDL_MLT);
            if (n == '>') return peek(2) == '=' ? take(t, 3, VHDL_MGE) : take(t, 2, VHDL_MGT);
            return take(t, 1, VHDL_QUESTION);
        default:
            ok_ = false; // a character the lexer reports
            ++pos_;
            t.kind = VHDL_ERROR;
        }
    }

    std::string_view s_;
    unsigned mode_;
    bool ignorePragmas_;
    std::vector<VhdlSkimToken>& out_;
    size_t pos_ = 0;
    uint16_t prevKind_ = VHDL_EOF;
    bool ok_ = true;
    const KeywordTable& keywords_ = keywordTable();
};

} // namespace

bool vhdlSkimScan(std::string_view text, unsigned mode, bool ignorePragmas, std::vector<VhdlSkimToken>& out) {
    return Scanner(text, mode, ignorePragmas, out).run();
}

} // namespace hdl
