#pragma once
// Character classes, keyword and operator tables and the pragma-comment test of the
// Verilog lexer, shared with the skim's own scanner so that both read text alike.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "hdl/sv/VeriTokens.h"

namespace hdl::verilex {

// Character classes by table: one load per character instead of a chain of compares.
enum : uint8_t { CC_IDSTART = 1, CC_IDCHAR = 2, CC_DIGIT = 4, CC_BLANK = 8, CC_NEWLINE = 16 };

struct CharClasses {
    uint8_t of[256] = {};
    constexpr CharClasses() {
        for (int c = 0; c < 256; ++c) {
            bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
            bool digit = c >= '0' && c <= '9';
            uint8_t bits = 0;
            if (letter) bits |= CC_IDSTART | CC_IDCHAR;
            if (digit) bits |= CC_DIGIT | CC_IDCHAR;
            if (c == '$') bits |= CC_IDCHAR;
            if (c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v') bits |= CC_BLANK;
            if (c == '\n') bits |= CC_NEWLINE;
            of[c] = bits;
        }
    }
};
inline constexpr CharClasses kClasses;

inline bool hasClass(char c, uint8_t bits) { return (kClasses.of[static_cast<unsigned char>(c)] & bits) != 0; }
inline bool isIdentStart(char c) { return hasClass(c, CC_IDSTART); }
inline bool isIdentChar(char c) { return hasClass(c, CC_IDCHAR); }
inline bool isDigit(char c) { return hasClass(c, CC_DIGIT); }
inline bool isBlank(char c) { return hasClass(c, CC_BLANK); }
inline bool isSpace(char c) { return hasClass(c, CC_BLANK | CC_NEWLINE); }

// How the scan of a `define body treats a character: plain text extends the body,
// blanks may be trailing, the rest needs a closer look.
enum : uint8_t { kBodyText = 0, kBodyBlank = 1, kBodySpecial = 2 };
struct DefineBodyClasses {
    uint8_t of[256] = {};
    inline constexpr DefineBodyClasses() {
        for (char c : {' ', '\t', '\r', '\f', '\v'}) of[static_cast<unsigned char>(c)] = kBodyBlank;
        for (char c : {'\n', '\\', '"', '/'}) of[static_cast<unsigned char>(c)] = kBodySpecial;
    }
};
inline constexpr DefineBodyClasses kDefineBodyClass;

// A digit of a based number in base 'b', 'o', 'd' or 'h' (lower case), with the
// underscore, x, z and ? that any base takes.
inline bool isBasedDigit(char base, char c) {
    char lc = char(c | 0x20);
    if (c == '_' || c == '?' || lc == 'x' || lc == 'z') return true;
    switch (base) {
    case 'b': return c == '0' || c == '1';
    case 'o': return c >= '0' && c <= '7';
    case 'd': return isDigit(c);
    default: return isDigit(c) || (lc >= 'a' && lc <= 'f');
    }
}

// Literals, read alike by the lexer and the skim's scanner: where one ends and its kind.
// VT_ERROR marks a base with no digits after it, which the lexer reports.
struct LiteralEnd {
    size_t end;
    uint16_t kind;
};

// Inline: the scanners meet a literal every few tokens.
namespace detail {

inline char charAt(std::string_view text, size_t i) { return i < text.size() ? text[i] : '\0'; }

inline bool isBaseLetter(char c) {
    switch (c) {
    case 'b':
    case 'B':
    case 'o':
    case 'O':
    case 'd':
    case 'D':
    case 'h':
    case 'H': return true;
    default: return false;
    }
}

// From the apostrophe of a based literal: the optional sign mark, the base, blanks, the digits.
inline LiteralEnd basedTail(std::string_view text, size_t tick) {
    size_t p = tick + 1;
    if (charAt(text, p) == 's' || charAt(text, p) == 'S') ++p;
    char base = char(charAt(text, p) | 0x20);
    ++p;
    while (isBlank(charAt(text, p))) ++p;
    size_t digits = p;
    while (isBasedDigit(base, charAt(text, p))) ++p;
    return LiteralEnd{p, p == digits ? uint16_t(VT_ERROR) : uint16_t(VT_BASED_NUMBER)};
}

inline size_t digitsEnd(std::string_view text, size_t p) {
    while (isDigit(charAt(text, p)) || charAt(text, p) == '_') ++p;
    return p;
}

} // namespace detail

// A time unit (s, ms, us, ns, ps, fs, step) at `at` that no name character follows:
// its length, else 0.
inline size_t timeUnitLength(std::string_view text, size_t at) {
    using namespace detail;
    static constexpr std::string_view units[] = {"step", "ms", "us", "ns", "ps", "fs", "s"};
    switch (charAt(text, at)) {
    case 's':
    case 'm':
    case 'u':
    case 'n':
    case 'p':
    case 'f': break;
    default: return 0;
    }
    for (std::string_view u : units) {
        size_t n = u.size();
        if (text.compare(at, n, u) == 0 && !isIdentChar(charAt(text, at + n))) return n;
    }
    return 0;
}

// At a digit: a decimal, real or time literal, or a sized based one ("8 'hff").
inline LiteralEnd numberAt(std::string_view text, size_t at) {
    using namespace detail;
    size_t p = digitsEnd(text, at);
    bool real = false;
    if (charAt(text, p) == '.' && isDigit(charAt(text, p + 1))) {
        real = true;
        p = digitsEnd(text, p + 1);
    }
    char e = charAt(text, p);
    char sign = charAt(text, p + 1);
    if ((e == 'e' || e == 'E') && (isDigit(sign) || ((sign == '+' || sign == '-') && isDigit(charAt(text, p + 2))))) {
        real = true;
        p = digitsEnd(text, p + (isDigit(sign) ? 1 : 2));
    }
    if (size_t unit = timeUnitLength(text, p)) return LiteralEnd{p + unit, VT_TIME_LITERAL};
    if (real) return LiteralEnd{p, VT_REAL_NUMBER};
    // A size, then possibly blanks, then the base: one literal.
    size_t tick = p;
    while (isBlank(charAt(text, tick))) ++tick;
    if (charAt(text, tick) == '\'') {
        size_t q = tick + 1;
        if (charAt(text, q) == 's' || charAt(text, q) == 'S') ++q;
        if (isBaseLetter(charAt(text, q))) return basedTail(text, tick);
    }
    return LiteralEnd{p, VT_DECIMAL_NUMBER};
}

// At an apostrophe: an unsized based literal, an unbased unsized one ('0 '1 'x 'z), '{
// (with SystemVerilog's operators) or the apostrophe alone.
inline LiteralEnd apostropheAt(std::string_view text, size_t at, bool svOperators) {
    using namespace detail;
    char n = charAt(text, at + 1);
    char ln = char(n | 0x20);
    size_t q = at + 1;
    if (n == 's' || n == 'S') ++q;
    if (isBaseLetter(charAt(text, q))) return basedTail(text, at);
    if ((n == '0' || n == '1' || ln == 'x' || ln == 'z') && !isIdentChar(charAt(text, at + 2)))
        return LiteralEnd{at + 2, VT_UNBASED_UNSIZED};
    if (n == '{' && svOperators) return LiteralEnd{at + 2, VT_APOSTROPHE_LBRACE};
    return LiteralEnd{at + 1, VT_APOSTROPHE};
}

// The n - 1 characters after the first of two spellings agree. Keywords and
// operators are short: an inline loop beats a call to memcmp.
inline bool sameTail(const char* a, const char* b, size_t n) {
    for (size_t i = 1; i < n; ++i)
        if (a[i] != b[i]) return false;
    return true;
}

// Keywords by a hash of length, first, second and last character: a name meets at most
// one or two candidates, and most names none. Where sixteen bytes can be read from the
// name, a candidate of up to sixteen characters is compared in two masked words, with no
// loop whose exit depends on the length.
struct KeywordTable {
    static constexpr size_t kMaxLen = 20;
    static constexpr unsigned kHashBits = 12;
    struct Entry {
        uint64_t head[2]; // the first sixteen characters, zero after the end
        uint64_t mask[2]; // which bytes of head the keyword has
        const char* text;
        uint16_t kind;
        uint8_t len;
        VeriKeywordSet set;
    };
    std::vector<Entry> entries;
    // Bucket h covers entries[first[h], first[h + 1]).
    uint16_t first[(size_t(1) << kHashBits) + 1] = {};

    KeywordTable();

    static size_t hash(const char* word, size_t len) {
        uint32_t key = uint32_t(static_cast<unsigned char>(word[0])) |
                       uint32_t(static_cast<unsigned char>(word[1])) << 8 |
                       uint32_t(static_cast<unsigned char>(word[len - 1])) << 16 | uint32_t(len) << 24;
        return (key * 2654435761u) >> (32 - kHashBits);
    }

    // `readable`: how many bytes from `word` on may be read; 0 when only the word's own.
    uint16_t find(const char* word, size_t len, VeriKeywordSet set, size_t readable = 0) const {
        if (len < 2 || len > kMaxLen || word[0] < 'a' || word[0] > 'z') return VT_IDENTIFIER;
        size_t h = hash(word, len);
        for (size_t i = first[h]; i < first[h + 1]; ++i) {
            const Entry& e = entries[i];
            if (e.len != len) continue;
            bool same;
            if (readable >= 16 && len <= 16) {
                uint64_t w[2];
                std::memcpy(w, word, 16);
                same = (((w[0] ^ e.head[0]) & e.mask[0]) | ((w[1] ^ e.head[1]) & e.mask[1])) == 0;
            } else {
                same = sameTail(e.text, word, len) && e.text[0] == word[0];
            }
            if (same) return e.set > set ? uint16_t(VT_IDENTIFIER) : e.kind;
        }
        return VT_IDENTIFIER;
    }
};

const KeywordTable& keywordTable();

struct OperatorSpelling {
    std::string_view text;
    uint16_t kind;
    VeriKeywordSet set;
};

// Operator spellings by first character (256 lists), longest first, for maximal munch.
const std::vector<OperatorSpelling>* operatorsByFirstChar();

// +1 for a translate_off or synthesis_off comment, -1 for translate_on or
// synthesis_on, 0 for any other comment body.
int pragmaDirection(std::string_view body);

// Where the next `ifdef, `ifndef, `elsif, `else or `endif at or after `from` starts
// (its backquote), passing over comments and strings; the text's size when none does.
// Inactive branches are skipped this way without being lexed.
size_t nextConditionalDirective(std::string_view text, size_t from);

// Where the text dropped by a translate_off (or synthesis_off) comment ends: just after
// the comment that turns reading on again, found from `from` on (quotes still hide
// comment markers up to their line end); npos when no such comment follows.
size_t translateOnEnd(std::string_view text, size_t from);

// The text without blanks and line ends at either end.
std::string_view trim(std::string_view s);

// Exponent of ten of a time value such as "10ns" (1 s is 0, 1 fs is -15); false when
// the text is not 1, 10 or 100 followed by a time unit.
bool timeValueExponent(std::string_view text, int& exponent);

} // namespace hdl::verilex
