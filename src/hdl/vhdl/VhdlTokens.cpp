#include "hdl/vhdl/VhdlTokens.h"

#include <cctype>
#include <string>
#include <unordered_map>

namespace hdl {

namespace {

struct KeywordInfo {
    VhdlToken token;
    unsigned edition;
};

// Keyed by views of the literal keyword texts, so that a lookup copies nothing.
const std::unordered_map<std::string_view, KeywordInfo>& KeywordTable() {
    static const std::unordered_map<std::string_view, KeywordInfo> table = {
#define VHDL_KW_ROW(name, text, ed) {text, {VHDL_##name, ed}},
        VHDL_KEYWORDS(VHDL_KW_ROW)
#undef VHDL_KW_ROW
    };
    return table;
}

} // namespace

VhdlToken VhdlKeyword(std::string_view text, unsigned mode) {
    if (text.size() > 18) return VHDL_ID;
    char lower[18];
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        lower[i] = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    const auto& table = KeywordTable();
    auto it = table.find(std::string_view(lower, text.size()));
    if (it == table.end()) return VHDL_ID;
    unsigned edition = it->second.edition;
    if (edition == VHDL_PSL) return mode == VHDL_PSL ? it->second.token : VHDL_ID;
    // PSL mode reads VHDL-2008 plus the PSL words.
    unsigned effective = mode == VHDL_PSL ? VHDL_2008 : mode;
    return edition <= effective ? it->second.token : VHDL_ID;
}

const char* VhdlTokenText(unsigned token) {
    static const char* const kFixed[] = {
        "end of file",
        "error",
        "identifier",
        "extended identifier",
        "integer literal",
        "real literal",
        "bit string literal",
        "string literal",
        "character literal",
        "&",
        "'",
        "(",
        ")",
        "*",
        "+",
        ",",
        "-",
        ".",
        "/",
        ":",
        ";",
        "<",
        "=",
        ">",
        "|",
        "[",
        "]",
        "?",
        "@",
        "^",
        "=>",
        "**",
        ":=",
        "/=",
        ">=",
        "<=",
        "<>",
        "??",
        "?=",
        "?/=",
        "?<",
        "?<=",
        "?>",
        "?>=",
        "<<",
        ">>",
        "{",
        "}",
        "",
    };
    static const char* const kWords[] = {
#define VHDL_KW_TEXT(name, text, ed) text,
        VHDL_KEYWORDS(VHDL_KW_TEXT)
#undef VHDL_KW_TEXT
    };
    static_assert(sizeof(kFixed) / sizeof(kFixed[0]) == VHDL_FIRST_KEYWORD + 1, "delimiter table");
    if (token < VHDL_FIRST_KEYWORD) return kFixed[token];
    if (token > VHDL_FIRST_KEYWORD && token < VHDL_TOKEN_COUNT) return kWords[token - VHDL_FIRST_KEYWORD - 1];
    return "?";
}

} // namespace hdl
