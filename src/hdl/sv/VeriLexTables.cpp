#include "hdl/sv/VeriLexTables.h"

#include <algorithm>
#include <cstring>

namespace hdl::verilex {

KeywordTable::KeywordTable() {
    // Built at the first use in a process, which a parent waits for: the entries are
    // counted per bucket and placed, in kind order within a bucket, without a list per
    // bucket.
    constexpr size_t kBuckets = size_t(1) << kHashBits;
    std::vector<std::pair<size_t, Entry>> made;
    for (int k = 0; k < VT_KIND_COUNT; ++k) {
        if (!isKeywordKind(k)) continue;
        const char* text = tokenText(k);
        size_t len = std::strlen(text);
        Entry e{};
        e.text = text;
        e.kind = uint16_t(k);
        e.len = uint8_t(len);
        e.set = tokenKeywordSet(k);
        // Built byte by byte, so that the words compare alike on any byte order.
        unsigned char head[16] = {};
        unsigned char mask[16] = {};
        for (size_t i = 0; i < len && i < 16; ++i) {
            head[i] = static_cast<unsigned char>(text[i]);
            mask[i] = 0xff;
        }
        std::memcpy(e.head, head, 16);
        std::memcpy(e.mask, mask, 16);
        made.emplace_back(hash(text, len), e);
    }
    for (const auto& m : made) ++first[m.first + 1];
    for (size_t h = 0; h < kBuckets; ++h) first[h + 1] = uint16_t(first[h + 1] + first[h]);
    entries.resize(made.size());
    std::vector<uint16_t> next(first, first + kBuckets);
    for (const auto& m : made) entries[next[m.first]++] = m.second;
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
            if (!isKeywordKind(k) && tokenText(k)[0] != '\0') add(tokenText(k), uint16_t(k));
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
    while (b < s.size() && isSpace(s[b])) ++b;
    size_t e = b;
    while (e < s.size() && !isSpace(s[e])) ++e;
    std::string_view w = s.substr(b, e - b);
    s.remove_prefix(e);
    return w;
}

} // namespace

int pragmaDirection(std::string_view body) {
    // Most comments are prose: the first word is matched against the prefixes in place,
    // by its first letter, before anything is split.
    size_t b = 0;
    while (b < body.size() && isSpace(body[b])) ++b;
    if (b == body.size()) return 0;
    auto startsWith = [&](std::string_view prefix) {
        return body.size() - b >= prefix.size() && body.compare(b, prefix.size(), prefix) == 0 &&
               (body.size() - b == prefix.size() || isSpace(body[b + prefix.size()]));
    };
    bool known = false;
    switch (body[b]) {
    case 's': known = startsWith("synopsys") || startsWith("synthesis"); break;
    case 'p': known = startsWith("pragma"); break;
    case 'x': known = startsWith("xilinx"); break;
    case 'c': known = startsWith("cadence"); break;
    case 'e': known = startsWith("exemplar"); break;
    case 'a': known = startsWith("altera") || startsWith("ambit"); break;
    default: break;
    }
    if (!known) return 0;
    body.remove_prefix(b);
    nextWord(body);
    std::string_view second = nextWord(body);
    if (second == "translate_off" || second == "synthesis_off") return 1;
    if (second == "translate_on" || second == "synthesis_on") return -1;
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
                if (s[p] == '\\') ++p;
            ++p;
        } else if (c == '`') {
            size_t q = p + 1;
            while (q < s.size() && isIdentChar(s[q])) ++q;
            std::string_view name = s.substr(p + 1, q - p - 1);
            if (name == "ifdef" || name == "ifndef" || name == "elsif" || name == "else" || name == "endif") return p;
            p = q;
        } else {
            ++p;
        }
    }
    return s.size();
}

size_t translateOnEnd(std::string_view text, size_t p) {
    while (p < text.size()) {
        char c = text[p];
        if (c == '/' && p + 1 < text.size() && (text[p + 1] == '/' || text[p + 1] == '*')) {
            bool line = text[p + 1] == '/';
            size_t end = line ? text.find('\n', p) : text.find("*/", p + 2);
            if (end == std::string_view::npos) end = text.size();
            std::string_view body = text.substr(p + 2, end - p - 2);
            p = line ? end : std::min(end + 2, text.size());
            if (pragmaDirection(body) < 0) return p;
            continue;
        }
        if (c == '"') {
            ++p;
            while (p < text.size() && text[p] != '"' && text[p] != '\n') p += text[p] == '\\' ? 2 : 1;
        }
        ++p;
    }
    return std::string_view::npos;
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && (isBlank(s.front()) || s.front() == '\n')) s.remove_prefix(1);
    while (!s.empty() && (isBlank(s.back()) || s.back() == '\n')) s.remove_suffix(1);
    return s;
}

bool timeValueExponent(std::string_view text, int& exponent) {
    static const std::pair<std::string_view, int> units[] = {{"s", 0},   {"ms", -3},  {"us", -6},
                                                             {"ns", -9}, {"ps", -12}, {"fs", -15}};
    size_t digits = 0;
    while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9') ++digits;
    std::string_view magnitude = text.substr(0, digits);
    int scale = magnitude == "1" ? 0 : magnitude == "10" ? 1 : magnitude == "100" ? 2 : -1;
    std::string_view unit = trim(text.substr(digits));
    for (const auto& [name, e] : units) {
        if (scale >= 0 && unit == name) {
            exponent = e + scale;
            return true;
        }
    }
    return false;
}

} // namespace hdl::verilex
