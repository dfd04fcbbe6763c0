#pragma once
// Character classes, keyword and operator tables and the pragma-comment test of the
// Verilog lexer, shared with the skim's own scanner so that both read text alike.
#include <cstddef>
#include <cstdint>
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
            if (letter)
                bits |= CC_IDSTART | CC_IDCHAR;
            if (digit)
                bits |= CC_DIGIT | CC_IDCHAR;
            if (c == '$')
                bits |= CC_IDCHAR;
            if (c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v')
                bits |= CC_BLANK;
            if (c == '\n')
                bits |= CC_NEWLINE;
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
        for (char c : {' ', '\t', '\r', '\f', '\v'})
            of[static_cast<unsigned char>(c)] = kBodyBlank;
        for (char c : {'\n', '\\', '"', '/'})
            of[static_cast<unsigned char>(c)] = kBodySpecial;
    }
};
inline constexpr DefineBodyClasses kDefineBodyClass;

// A digit of a based number in base 'b', 'o', 'd' or 'h' (lower case), with the
// underscore, x, z and ? that any base takes.
inline bool isBasedDigit(char base, char c) {
    char lc = char(c | 0x20);
    if (c == '_' || c == '?' || lc == 'x' || lc == 'z')
        return true;
    switch (base) {
    case 'b': return c == '0' || c == '1';
    case 'o': return c >= '0' && c <= '7';
    case 'd': return isDigit(c);
    default: return isDigit(c) || (lc >= 'a' && lc <= 'f');
    }
}

// The n - 1 characters after the first of two spellings agree. Keywords and
// operators are short: an inline loop beats a call to memcmp.
inline bool sameTail(const char* a, const char* b, size_t n) {
    for (size_t i = 1; i < n; ++i)
        if (a[i] != b[i])
            return false;
    return true;
}

// Keywords bucketed by length and first letter (every keyword starts with a-z), so a
// word is compared against at most a handful of candidates of its own length.
struct KeywordTable {
    static constexpr size_t kMaxLen = 20;
    struct Entry {
        const char* text;
        uint16_t kind;
        VeriKeywordSet set;
    };
    std::vector<Entry> entries;
    // Bucket b = length * 26 + letter covers entries[first[b], first[b + 1]).
    uint16_t first[(kMaxLen + 1) * 26 + 1] = {};

    KeywordTable();

    uint16_t find(const char* word, size_t len, VeriKeywordSet set) const {
        if (len < 2 || len > kMaxLen || word[0] < 'a' || word[0] > 'z')
            return VT_IDENTIFIER;
        size_t b = len * 26 + size_t(word[0] - 'a');
        for (size_t i = first[b]; i < first[b + 1]; ++i) {
            const Entry& e = entries[i];
            if (sameTail(e.text, word, len))
                return e.set > set ? uint16_t(VT_IDENTIFIER) : e.kind;
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
