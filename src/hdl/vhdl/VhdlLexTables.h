#pragma once
// Word tests of the VHDL lexer over comment bodies and literal prefixes, shared with the
// skim's own scanner so that both read pragmas and based literals alike.
#include <cstddef>
#include <string_view>

namespace hdl::vhdllex {

// The blanks between comment words (a no-break space is none).
inline bool isWordBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

// The next blank-separated word of a comment body from `i`; empty at the end. Views
// into the text, since every comment of a file passes through here.
inline std::string_view nextWord(std::string_view body, size_t& i) {
    while (i < body.size() && isWordBlank(body[i])) ++i;
    size_t b = i;
    while (i < body.size() && !isWordBlank(body[i])) ++i;
    return body.substr(b, i - b);
}

// `word` equals the lower-case `lower` without regard to case.
inline bool wordIs(std::string_view word, std::string_view lower) {
    if (word.size() != lower.size()) return false;
    for (size_t k = 0; k < word.size(); ++k) {
        char c = word[k];
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (c != lower[k]) return false;
    }
    return true;
}

inline bool isPragmaPrefix(std::string_view w) {
    return wordIs(w, "pragma") || wordIs(w, "synthesis") || wordIs(w, "synopsys") || wordIs(w, "exemplar") ||
           wordIs(w, "cadence") || wordIs(w, "rtl_synthesis") || wordIs(w, "altera") || wordIs(w, "xilinx");
}

// What a comment body says of translation: 0 nothing, 1 a region off, 2 a region on.
inline int pragmaKind(std::string_view body) {
    size_t i = 0;
    std::string_view w0 = nextWord(body, i);
    if (!isPragmaPrefix(w0)) return 0;
    std::string_view w1 = nextWord(body, i);
    bool rtl = wordIs(w0, "rtl_synthesis");
    if (wordIs(w1, "translate_off") || wordIs(w1, "synthesis_off") || (rtl && wordIs(w1, "off"))) return 1;
    if (wordIs(w1, "translate_on") || wordIs(w1, "synthesis_on") || (rtl && wordIs(w1, "on"))) return 2;
    return 0;
}

// The base of a bit string literal (IEEE 1076-2008 15.8), in either case.
inline bool isBaseSpecifier(std::string_view s) {
    static constexpr std::string_view kBases[] = {"b", "o", "x", "ub", "uo", "ux", "sb", "so", "sx", "d"};
    for (std::string_view b : kBases)
        if (wordIs(s, b)) return true;
    return false;
}

} // namespace hdl::vhdllex
