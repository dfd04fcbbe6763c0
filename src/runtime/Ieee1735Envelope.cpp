#include "runtime/Ieee1735Envelope.h"

#include <cctype>
#include <cstdint>

namespace ieee1735 {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }
bool isWordChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

std::string lower(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

bool iequals(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

// One line of the text: [start, end) without its line end, `next` after it.
struct Line {
    size_t start = 0;
    size_t end = 0;
    size_t next = 0;
    unsigned number = 0;
};

class Lines {
public:
    explicit Lines(std::string_view text) : text_(text) {}
    bool next(Line& line) {
        if (pos_ >= text_.size()) return false;
        line.start = pos_;
        size_t nl = text_.find('\n', pos_);
        line.end = nl == std::string_view::npos ? text_.size() : nl;
        line.next = nl == std::string_view::npos ? text_.size() : nl + 1;
        line.number = ++number_;
        pos_ = line.next;
        return true;
    }
    // Back to the start of `line`, so that the next call returns it again.
    void unread(const Line& line) {
        pos_ = line.start;
        number_ = line.number - 1;
    }

private:
    std::string_view text_;
    size_t pos_ = 0;
    unsigned number_ = 0;
};

// The words of a directive after `pragma protect / `protect; false for any other line.
bool directiveBody(std::string_view line, std::string_view& body) {
    size_t i = 0;
    while (i < line.size() && isBlank(line[i])) ++i;
    if (i >= line.size() || line[i] != '`') return false;
    ++i;
    auto word = [&]() {
        size_t b = i;
        while (i < line.size() && isWordChar(line[i])) ++i;
        return line.substr(b, i - b);
    };
    std::string_view first = word();
    if (iequals(first, "pragma")) {
        size_t b = i;
        while (i < line.size() && isBlank(line[i])) ++i;
        if (i == b || !iequals(word(), "protect")) return false;
    } else if (!iequals(first, "protect")) {
        return false;
    }
    if (i < line.size() && !isBlank(line[i])) return false;
    body = line.substr(i);
    return true;
}

// keyword [= value] where value is a string, a word or a parenthesised list.
struct Item {
    std::string key; // lower case
    std::string value;
    std::vector<Item> list;
};

class ItemParser {
public:
    explicit ItemParser(std::string_view s) : s_(s) {}

    // A comma-separated list up to `close` (0: the end of the text); false on bad syntax.
    bool parseList(std::vector<Item>& items, char close, unsigned depth = 0) {
        if (depth > 4) return false;
        for (;;) {
            skip();
            // A trailing comma is left to `close`: "(a = 1,)" is refused, "a = 1," not.
            if (atClose(close)) return items.empty() || close == 0;
            Item item;
            std::string_view key = word();
            if (key.empty()) return false;
            item.key = lower(key);
            skip();
            if (peek() == '=') {
                ++i_;
                skip();
                if (peek() == '(') {
                    ++i_;
                    if (!parseList(item.list, ')', depth + 1)) return false;
                    ++i_;
                } else if (!value(item.value)) {
                    return false;
                }
            }
            items.push_back(std::move(item));
            skip();
            if (atClose(close)) return true;
            if (peek() != ',') return false;
            ++i_;
        }
    }

private:
    char peek() const { return i_ < s_.size() ? s_[i_] : '\0'; }
    bool atClose(char close) const { return close == 0 ? i_ >= s_.size() : peek() == close; }
    void skip() {
        while (i_ < s_.size() && (isBlank(s_[i_]) || s_[i_] == '\n')) ++i_;
    }
    std::string_view word() {
        size_t b = i_;
        while (i_ < s_.size() && isWordChar(s_[i_])) ++i_;
        return s_.substr(b, i_ - b);
    }
    bool value(std::string& out) {
        if (peek() == '"') {
            ++i_;
            while (i_ < s_.size() && s_[i_] != '"') {
                if (s_[i_] == '\\' && i_ + 1 < s_.size()) ++i_;
                out += s_[i_++];
            }
            if (i_ >= s_.size()) return false;
            ++i_;
            return true;
        }
        size_t b = i_;
        while (i_ < s_.size() && !isBlank(s_[i_]) && s_[i_] != ',' && s_[i_] != ')' && s_[i_] != '(') ++i_;
        out = std::string(s_.substr(b, i_ - b));
        return !out.empty();
    }

    std::string_view s_;
    size_t i_ = 0;
};

long toNumber(const std::string& s) {
    if (s.empty() || s.size() > 12) return -1;
    long n = 0;
    for (char c : s) {
        if (!std::isdigit(static_cast<unsigned char>(c))) return -1;
        n = n * 10 + (c - '0');
    }
    return n;
}

Encoding encodingOf(const Item& item) {
    Encoding e;
    for (const Item& sub : item.list) {
        if (sub.key == "enctype") e.type = lower(sub.value);
        else if (sub.key == "bytes") e.bytes = toNumber(sub.value);
    }
    return e;
}

// control name = expression; the expression is kept as written.
bool parseControl(std::string_view body, Control& control) {
    size_t i = 0;
    auto skip = [&]() {
        while (i < body.size() && isBlank(body[i])) ++i;
    };
    skip();
    size_t b = i;
    while (i < body.size() && isWordChar(body[i])) ++i;
    if (!iequals(body.substr(b, i - b), "control")) return false;
    skip();
    b = i;
    while (i < body.size() && isWordChar(body[i])) ++i;
    if (i == b) return false;
    control.name = lower(body.substr(b, i - b));
    skip();
    if (i >= body.size() || body[i] != '=') return false;
    ++i;
    skip();
    size_t e = body.size();
    while (e > i && isBlank(body[e - 1])) --e;
    control.expression = std::string(body.substr(i, e - i));
    return !control.expression.empty();
}

// The encoded lines after a key_block or data_block directive, up to the next directive.
std::string readBlock(std::string_view text, Lines& lines) {
    std::string block;
    Line line;
    std::string_view body;
    while (lines.next(line)) {
        std::string_view s = text.substr(line.start, line.end - line.start);
        if (directiveBody(s, body)) {
            lines.unread(line);
            break;
        }
        block.append(s);
        block += '\n';
    }
    return block;
}

// Reads one envelope after its begin_protected line.
void readEnvelope(std::string_view text, Lines& lines, Envelope& env) {
    Encoding encoding;
    Line line;
    std::string_view body;
    KeyBlock* key = nullptr;
    while (lines.next(line)) {
        std::string_view s = text.substr(line.start, line.end - line.start);
        if (!directiveBody(s, body)) {
            bool blank = true;
            for (char c : s) blank = blank && isBlank(c);
            if (!blank && env.problem.empty())
                env.problem = "text outside a block at line " + std::to_string(line.number);
            continue;
        }
        Control control;
        if (parseControl(body, control)) {
            (key ? key->controls : env.controls).push_back(std::move(control));
            continue;
        }
        std::vector<Item> items;
        if (!ItemParser(body).parseList(items, 0)) {
            if (env.problem.empty()) env.problem = "unreadable directive at line " + std::to_string(line.number);
            continue;
        }
        for (const Item& item : items) {
            const std::string& k = item.key;
            if (k == "end_protected") {
                env.endLine = line.number;
                env.endOffset = line.next;
                return;
            }
            if (k == "begin_protected") {
                if (env.problem.empty()) env.problem = "nested begin_protected at line " + std::to_string(line.number);
            } else if (k == "version") {
                env.version = toNumber(item.value);
            } else if (k == "key_keyowner") {
                env.keys.emplace_back();
                key = &env.keys.back();
                key->owner = item.value;
                key->line = line.number;
            } else if (k == "key_keyname" || k == "key_method") {
                if (!key) {
                    env.keys.emplace_back();
                    key = &env.keys.back();
                    key->line = line.number;
                }
                if (k == "key_keyname") key->name = item.value;
                else key->method = lower(item.value);
            } else if (k == "encoding") {
                encoding = encodingOf(item);
            } else if (k == "key_block") {
                if (!key) {
                    env.keys.emplace_back();
                    key = &env.keys.back();
                    key->line = line.number;
                }
                key->encoding = encoding;
                key->text = readBlock(text, lines);
                // A later key block starts with its own owner.
                key = nullptr;
                break;
            } else if (k == "data_method") {
                env.dataMethod = lower(item.value);
            } else if (k == "data_block") {
                if (env.hasData && env.problem.empty())
                    env.problem = "a second data_block at line " + std::to_string(line.number);
                env.dataEncoding = encoding;
                env.dataText = readBlock(text, lines);
                env.hasData = true;
                break;
            }
            // Other directives (authors, agents, digests, licences, comments) carry
            // nothing that reading the source needs.
        }
    }
    env.endLine = line.number;
    env.endOffset = text.size();
    if (env.problem.empty()) env.problem = "no end_protected";
}

} // namespace

std::vector<Envelope> findEnvelopes(std::string_view text) {
    std::vector<Envelope> envelopes;
    Lines lines(text);
    Line line;
    std::string_view body;
    while (lines.next(line)) {
        std::string_view s = text.substr(line.start, line.end - line.start);
        if (!directiveBody(s, body)) continue;
        std::vector<Item> items;
        if (!ItemParser(body).parseList(items, 0) || items.empty() || items[0].key != "begin_protected") continue;
        Envelope env;
        env.beginLine = line.number;
        env.beginOffset = line.start;
        readEnvelope(text, lines, env);
        if (env.problem.empty() && !env.hasData) env.problem = "no data_block";
        envelopes.push_back(std::move(env));
    }
    return envelopes;
}

bool decodeBase64(std::string_view text, std::string& out) {
    static const auto table = [] {
        struct T {
            int8_t v[256];
        } t{};
        for (int i = 0; i < 256; ++i) t.v[i] = -1;
        const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (int i = 0; i < 64; ++i) t.v[static_cast<unsigned char>(alphabet[i])] = static_cast<int8_t>(i);
        return t;
    }();
    out.clear();
    out.reserve(text.size() / 4 * 3);
    uint32_t acc = 0;
    int bits = 0;
    size_t padding = 0;
    for (char c : text) {
        if (isBlank(c) || c == '\n') continue;
        if (c == '=') {
            ++padding;
            continue;
        }
        int v = table.v[static_cast<unsigned char>(c)];
        if (v < 0 || padding) return false;
        acc = (acc << 6) | static_cast<uint32_t>(v);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out += static_cast<char>((acc >> bits) & 0xff);
        }
    }
    // Left-over bits must be the zero fill of a shortened last group.
    return padding <= 2 && bits < 6 && (acc & ((1u << bits) - 1)) == 0;
}

} // namespace ieee1735
