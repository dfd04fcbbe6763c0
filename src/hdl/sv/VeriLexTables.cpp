#include "hdl/sv/VeriLexTables.h"

#include <algorithm>
#include <cstring>

namespace hdl::verilex {

KeywordTable::KeywordTable() {
    std::vector<Entry> bucketed[(kMaxLen + 1) * 26];
    for (int k = 0; k < VT_KIND_COUNT; ++k) {
        if (!isKeywordKind(k))
            continue;
        const char* text = tokenText(k);
        size_t len = std::strlen(text);
        bucketed[len * 26 + size_t(text[0] - 'a')].push_back(Entry{text, uint16_t(k), tokenKeywordSet(k)});
    }
    for (size_t b = 0; b < (kMaxLen + 1) * 26; ++b) {
        first[b] = uint16_t(entries.size());
        entries.insert(entries.end(), bucketed[b].begin(), bucketed[b].end());
    }
    first[(kMaxLen + 1) * 26] = uint16_t(entries.size());
}

const KeywordTable& keywordTable() {
    static const KeywordTable table;
    return table;
}

const std::vector<OperatorSpelling>* operatorsByFirstChar() {
    static const std::vector<std::vector<OperatorSpelling>> table = [] {
        std::vector<std::vector<OperatorSpelling>> t(256);
        auto add = [&](std::string_view text, uint16_t kind) {
            t[static_cast<unsigned char>(text[0])].push_back(OperatorSpelling{text, kind, tokenKeywordSet(kind)});
        };
        for (int k = 0; k < VT_KIND_COUNT; ++k)
            if (!isKeywordKind(k) && tokenText(k)[0] != '\0')
                add(tokenText(k), uint16_t(k));
        add("^~", VT_XNOR_OP); // the other spelling of ~^
        for (auto& list : t)
            std::stable_sort(list.begin(), list.end(), [](const OperatorSpelling& a, const OperatorSpelling& b) {
                return a.text.size() > b.text.size();
            });
        return t;
    }();
    return table.data();
}

namespace {

// The words of a comment, for pragma detection.
std::string_view nextWord(std::string_view& s) {
    size_t b = 0;
    while (b < s.size() && isSpace(s[b]))
        ++b;
    size_t e = b;
    while (e < s.size() && !isSpace(s[e]))
        ++e;
    std::string_view w = s.substr(b, e - b);
    s.remove_prefix(e);
    return w;
}

} // namespace

int pragmaDirection(std::string_view body) {
    static const char* const prefixes[] = {"synopsys", "synthesis", "pragma", "xilinx",
                                           "cadence", "exemplar", "altera", "ambit"};
    // Most comments are prose: reject on the first letter before splitting words.
    size_t b = 0;
    while (b < body.size() && isSpace(body[b]))
        ++b;
    if (b == body.size() || !std::strchr("spxcea", body[b]))
        return 0;
    std::string_view first = nextWord(body);
    bool known = false;
    for (const char* p : prefixes)
        known = known || first == p;
    if (!known)
        return 0;
    std::string_view second = nextWord(body);
    if (second == "translate_off" || second == "synthesis_off")
        return 1;
    if (second == "translate_on" || second == "synthesis_on")
        return -1;
    return 0;
}

size_t nextConditionalDirective(std::string_view s, size_t p) {
    while (p < s.size()) {
        char c = s[p];
        if (c == '/' && p + 1 < s.size() && s[p + 1] == '/') {
            size_t nl = s.find('\n', p);
            p = nl == std::string_view::npos ? s.size() : nl;
        } else if (c == '/' && p + 1 < s.size() && s[p + 1] == '*') {
            size_t e = s.find("*/", p + 2);
            p = e == std::string_view::npos ? s.size() : e + 2;
        } else if (c == '"') {
            for (++p; p < s.size() && s[p] != '"' && s[p] != '\n'; ++p)
                if (s[p] == '\\')
                    ++p;
            ++p;
        } else if (c == '`') {
            size_t q = p + 1;
            while (q < s.size() && isIdentChar(s[q]))
                ++q;
            std::string_view name = s.substr(p + 1, q - p - 1);
            if (name == "ifdef" || name == "ifndef" || name == "elsif" || name == "else" || name == "endif")
                return p;
            p = q;
        } else {
            ++p;
        }
    }
    return s.size();
}

} // namespace hdl::verilex
