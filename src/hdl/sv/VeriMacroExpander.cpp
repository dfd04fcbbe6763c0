#include "hdl/sv/VeriMacroExpander.h"

#include <algorithm>
#include <cstring>

#include "hdl/base/Message.h"
#include "hdl/base/TextRuns.h"
#include "hdl/sv/VeriMessageIds.h"

namespace hdl {

namespace {

constexpr size_t kMaxDepth = 64;
constexpr size_t kMaxExpansions = 1000000;
constexpr size_t kMaxBytes = 16u << 20;

// Name characters by table: bodies and arguments are walked a character at a time.
struct NameChars {
    uint8_t of[256] = {}; // 1 may start a name, 2 may continue one
    constexpr NameChars() {
        for (int c = 0; c < 256; ++c) {
            bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
            of[c] = uint8_t((letter ? 3 : 0) | ((c >= '0' && c <= '9') || c == '$' ? 2 : 0));
        }
    }
};
constexpr NameChars kNameChars;

inline bool isIdentStart(char c) { return (kNameChars.of[static_cast<unsigned char>(c)] & 1) != 0; }
inline bool isIdentChar(char c) { return (kNameChars.of[static_cast<unsigned char>(c)] & 2) != 0; }
bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; }

// Characters that may begin a string, comment, escaped name or macro use, and name
// characters (the substitution looks for formals): text between them is copied as it
// stands.
struct TextStops {
    bool of[256] = {};
    constexpr TextStops() {
        of[static_cast<unsigned char>('"')] = true;
        of[static_cast<unsigned char>('/')] = true;
        of[static_cast<unsigned char>('\\')] = true;
        of[static_cast<unsigned char>('`')] = true;
        for (int c = 0; c < 256; ++c) of[c] = of[c] || (kNameChars.of[c] & 2) != 0;
    }
};
constexpr TextStops kSubstituteStops;

// What substitution puts for a continued line end, a block comment, `" and `\`".
enum : uint32_t { kFixedNewline, kFixedSpace, kFixedQuote, kFixedEscapedQuote };
constexpr std::string_view kFixedTexts[] = {"\n", " ", "\"", "\\\""};

// Index just past a string literal that starts at `i` (or the end of the text).
size_t skipString(std::string_view s, size_t i) {
    for (++i; i < s.size(); ++i) {
        if (s[i] == '\\') ++i;
        else if (s[i] == '"' || s[i] == '\n') return i + 1;
    }
    return s.size();
}

size_t skipBlockComment(std::string_view s, size_t i) {
    size_t close = s.find("*/", i + 2);
    return close == std::string_view::npos ? s.size() : close + 2;
}

size_t skipToLineEnd(std::string_view s, size_t i) {
    size_t nl = s.find('\n', i);
    return nl == std::string_view::npos ? s.size() : nl;
}

size_t skipEscapedIdent(std::string_view s, size_t i) {
    ++i;
    while (i < s.size() && !isSpace(s[i])) ++i;
    return i;
}

} // namespace

void VeriMappedText::append(std::string_view s, const ColLineFile& from) {
    if (s.empty()) return;
    uint32_t off = uint32_t(text.size());
    if (!origins.empty() && origins.back().offset == off) origins.pop_back();
    origins.push_back(VeriTextOrigin{off, from.fileId, from.leftLine, from.leftCol});
    text.append(s);
}

ColLineFile VeriMappedText::positionAt(size_t offset) const {
    auto it = std::upper_bound(origins.begin(), origins.end(), offset,
                               [](size_t o, const VeriTextOrigin& r) { return o < r.offset; });
    if (it == origins.begin()) return ColLineFile();
    const VeriTextOrigin& o = *(it - 1);
    uint32_t line = o.line;
    uint32_t col = o.col;
    size_t end = std::min(offset, text.size());
    for (size_t i = o.offset; i < end;) {
        const void* nl = std::memchr(text.data() + i, '\n', end - i);
        if (!nl) {
            col += uint32_t(end - i);
            break;
        }
        ++line;
        col = 1;
        i = size_t(static_cast<const char*>(nl) - text.data()) + 1;
    }
    return ColLineFile(o.fileId, line, col);
}

void VeriMappedText::appendFrom(const VeriMappedText& src, size_t a, size_t b) {
    if (a >= b) return;
    size_t base = text.size();
    append(std::string_view(src.text).substr(a, b - a), src.positionAt(a));
    // Only the origins inside the piece are visited: a rescan copies a long text out
    // piece by piece.
    auto inside = std::upper_bound(src.origins.begin(), src.origins.end(), a,
                                   [](size_t o, const VeriTextOrigin& r) { return o < r.offset; });
    for (; inside != src.origins.end() && inside->offset < b; ++inside) {
        VeriTextOrigin moved = *inside;
        moved.offset = uint32_t(base + (inside->offset - a));
        origins.push_back(moved);
    }
}

VeriArgScan scanMacroArgs(std::string_view text, size_t& p, std::vector<VeriArgSpan>& args) {
    size_t q = p;
    while (q < text.size() && isSpace(text[q])) ++q;
    if (q >= text.size() || text[q] != '(') return VeriArgScan::NoList;
    ++q;
    size_t argStart = q;
    size_t depth = 0;
    auto push = [&](size_t end) {
        size_t b = argStart;
        while (b < end && isSpace(text[b])) ++b;
        while (end > b && isSpace(text[end - 1])) --end;
        args.push_back(VeriArgSpan{b, end});
    };
    while (q < text.size()) {
        char c = text[q];
        if (c == '"') {
            q = skipString(text, q);
            continue;
        }
        if (c == '/' && q + 1 < text.size() && text[q + 1] == '/') {
            q = skipToLineEnd(text, q);
            continue;
        }
        if (c == '/' && q + 1 < text.size() && text[q + 1] == '*') {
            q = skipBlockComment(text, q);
            continue;
        }
        if (c == '\\') {
            q = skipEscapedIdent(text, q);
            continue;
        }
        if (c == '(' || c == '[' || c == '{') {
            ++depth;
        } else if (c == ')' || c == ']' || c == '}') {
            if (depth == 0 && c == ')') {
                push(q);
                p = q + 1;
                return VeriArgScan::Ok;
            }
            if (depth > 0) --depth;
        } else if (c == ',' && depth == 0) {
            push(q);
            argStart = q + 1;
        }
        ++q;
    }
    p = text.size();
    return VeriArgScan::Unclosed;
}

bool isVeriDirectiveName(std::string_view name) {
    static constexpr std::string_view names[] = {"define",
                                                 "undef",
                                                 "undefineall",
                                                 "ifdef",
                                                 "ifndef",
                                                 "elsif",
                                                 "else",
                                                 "endif",
                                                 "include",
                                                 "line",
                                                 "timescale",
                                                 "resetall",
                                                 "celldefine",
                                                 "endcelldefine",
                                                 "default_nettype",
                                                 "unconnected_drive",
                                                 "nounconnected_drive",
                                                 "pragma",
                                                 "begin_keywords",
                                                 "end_keywords",
                                                 "protect",
                                                 "endprotect",
                                                 "protected",
                                                 "endprotected",
                                                 "default_decay_time",
                                                 "default_trireg_strength",
                                                 "delay_mode_distributed",
                                                 "delay_mode_path",
                                                 "delay_mode_unit",
                                                 "delay_mode_zero",
                                                 "accelerate",
                                                 "noaccelerate",
                                                 "autoexpand_vectors",
                                                 "expand_vectors",
                                                 "noexpand_vectors",
                                                 "remove_gatenames",
                                                 "noremove_gatenames",
                                                 "remove_netnames",
                                                 "noremove_netnames",
                                                 "suppress_faults",
                                                 "nosuppress_faults",
                                                 "enable_portfaults",
                                                 "disable_portfaults",
                                                 "portcoerce",
                                                 "noportcoerce",
                                                 "uselib"};
    for (std::string_view n : names)
        if (name == n) return true;
    return false;
}

VeriMacroExpander::Level& VeriMacroExpander::levelAt(size_t depth) {
    while (levels_.size() <= depth) levels_.push_back(std::make_unique<Level>());
    return *levels_[depth];
}

void VeriMacroExpander::resetTexts(std::vector<VeriMappedText>& texts, size_t count) {
    texts.resize(count);
    for (VeriMappedText& t : texts) {
        t.text.clear();
        t.origins.clear();
    }
}

bool VeriMacroExpander::overBudget(const ColLineFile& at) {
    if (cut_) return true;
    if (depth_ < kMaxDepth && expansions_ < kMaxExpansions && produced_ < kMaxBytes) return false;
    if (!hush())
        Message::Tell<veri_msg::ExpansionCutShort>(&at, unsigned(kMaxDepth), unsigned(kMaxExpansions),
                                                   unsigned(kMaxBytes));
    cut_ = true;
    return true;
}

bool VeriMacroExpander::expand(const VeriMacro& macro, const std::vector<VeriMappedText>& args,
                               const ColLineFile& callSite, VeriMappedText& out) {
    active_.clear();
    depth_ = 0;
    expansions_ = 0;
    produced_ = 0;
    cut_ = false;
    doubtful_ = false;
    return expandUse(macro, args, callSite, out);
}

bool VeriMacroExpander::expandUse(const VeriMacro& macro, const std::vector<VeriMappedText>& args,
                                  const ColLineFile& callSite, VeriMappedText& out) {
    if (overBudget(callSite)) return false;
    ++expansions_;
    // Nesting counts uses inside arguments too, which expand before the macro is active.
    ++depth_;
    Level& level = levelAt(depth_);
    // An actual without a macro use is its own expansion and is read in place; only
    // the others, and defaults, get texts of their own.
    std::vector<VeriMappedText>& made = level.made;
    std::vector<const VeriMappedText*>& actuals = level.actuals;
    actuals.clear();
    if (macro.functionLike) {
        size_t given = args.size();
        if (macro.params.empty() && given == 1 && args[0].text.empty()) given = 0;
        if (given > macro.params.size() && !hush())
            Message::Tell<veri_msg::MacroTooManyArguments>(&callSite, unsigned(given), std::string(macro.name).c_str(),
                                                           unsigned(macro.params.size()));
        resetTexts(made, 2 * macro.params.size());
        for (size_t k = 0; k < macro.params.size(); ++k) {
            const VeriMacroParam& param = macro.params[k];
            const VeriMappedText* raw = &made[2 * k];
            if (k < given && !args[k].text.empty()) {
                raw = &args[k];
            } else if (param.hasDefault) {
                made[2 * k].append(param.defaultText, macro.bodyPos);
            } else if (k >= given && !hush()) {
                Message::Tell<veri_msg::MacroMissingArgument>(&callSite, std::string(param.name).c_str(),
                                                              std::string(macro.name).c_str());
            }
            if (raw->text.find('`') == std::string::npos) {
                actuals.push_back(raw);
            } else {
                rescan(*raw, callSite, made[2 * k + 1]);
                actuals.push_back(&made[2 * k + 1]);
            }
        }
    }
    active_.push_back(&macro);
    VeriMappedText& substituted = level.substituted;
    substituted.text.clear();
    substituted.origins.clear();
    substitute(macro, actuals, substituted);
    produced_ += substituted.text.size();
    // Bodies such as register macros hold no further use: the text is the result.
    if (!cut_ && out.text.empty() && out.origins.empty() && substituted.text.find('`') == std::string::npos) {
        out = std::move(substituted);
    } else {
        // Room for the text as it stands; nested uses may grow it further. (A string
        // grows at least twofold in libstdc++, so that repeated reserves stay linear.)
        out.text.reserve(out.text.size() + substituted.text.size());
        rescan(substituted, callSite, out);
    }
    active_.pop_back();
    --depth_;
    return !cut_;
}

std::vector<VeriBodyPiece> cutMacroBody(const VeriMacro& macro) {
    std::string_view body = macro.body;
    std::vector<VeriBodyPiece> pieces;
    // Body positions, walked forward as the pieces are made.
    size_t walked = 0;
    uint32_t line = 0;
    uint32_t col = 0;
    auto add = [&](VeriBodyPiece::Kind kind, size_t a, size_t b, size_t at) {
        while (walked < at) {
            const void* nl = std::memchr(body.data() + walked, '\n', at - walked);
            if (!nl) {
                col += uint32_t(at - walked);
                walked = at;
                break;
            }
            ++line;
            col = 1;
            walked = size_t(static_cast<const char*>(nl) - body.data()) + 1;
        }
        pieces.push_back(VeriBodyPiece{kind, uint32_t(a), uint32_t(b), line, col});
    };
    size_t run = 0;
    auto flush = [&](size_t upto) {
        if (upto > run) add(VeriBodyPiece::Text, run, upto, run);
    };
    size_t i = 0;
    const size_t n = body.size();
    bool quoted = false; // between `" and `", where blanks are the string's own
    while (i < n) {
        char c = body[i];
        char d = i + 1 < n ? body[i + 1] : '\0';
        if (c == '\\' && (d == '\n' || (d == '\r' && i + 2 < n && body[i + 2] == '\n'))) {
            // Blanks that pad a line out to its continuation (aligned backslashes, often
            // half of a body) hold nothing: the next line's pieces carry their own places.
            size_t end = i;
            while (!quoted && end > run && (body[end - 1] == ' ' || body[end - 1] == '\t')) --end;
            flush(end);
            add(VeriBodyPiece::Fixed, kFixedNewline, 0, i);
            i += d == '\n' ? 2 : 3;
            run = i;
        } else if (c == '\\') {
            i = skipEscapedIdent(body, i);
        } else if (c == '"') {
            i = skipString(body, i);
        } else if (c == '/' && d == '/') {
            flush(i);
            while (i < n && body[i] != '\n' && !(body[i] == '\\' && i + 1 < n && body[i + 1] == '\n')) ++i;
            run = i;
        } else if (c == '/' && d == '*') {
            flush(i);
            size_t e = skipBlockComment(body, i);
            add(VeriBodyPiece::Fixed, kFixedSpace, 0, i);
            i = e;
            run = i;
        } else if (c == '`' && d == '`') {
            flush(i);
            i += 2;
            run = i;
        } else if (c == '`' && d == '"') {
            flush(i);
            add(VeriBodyPiece::Fixed, kFixedQuote, 0, i);
            quoted = !quoted;
            i += 2;
            run = i;
        } else if (c == '`' && body.compare(i, 4, "`\\`\"") == 0) {
            flush(i);
            add(VeriBodyPiece::Fixed, kFixedEscapedQuote, 0, i);
            i += 4;
            run = i;
        } else if (isIdentChar(c)) {
            // Whole runs, so that "$name" or the digits of "4'b10" never match a formal.
            size_t j = i;
            while (j < n && isIdentChar(body[j])) ++j;
            std::string_view word = body.substr(i, j - i);
            size_t k = isIdentStart(c) ? 0 : macro.params.size();
            while (k < macro.params.size() && macro.params[k].name != word) ++k;
            if (k < macro.params.size()) {
                flush(i);
                pieces.push_back(VeriBodyPiece{VeriBodyPiece::Formal, uint32_t(k), 0, 0, 0});
                run = j;
            }
            i = j;
        } else {
            ++i;
            while (i < n && !kSubstituteStops.of[static_cast<unsigned char>(body[i])]) ++i;
        }
    }
    flush(n);
    return pieces;
}

void VeriMacroExpander::substitute(const VeriMacro& macro, const std::vector<const VeriMappedText*>& actuals,
                                   VeriMappedText& out) {
    std::vector<VeriBodyPiece> cut;
    const std::vector<VeriBodyPiece>* pieces = macro.pieces.get();
    if (!pieces) {
        cut = cutMacroBody(macro);
        pieces = &cut;
    }
    // Grown once: the result is the body with the actuals in place of the formals.
    size_t bytes = out.text.size() + macro.body.size();
    size_t origins = out.origins.size() + pieces->size();
    for (const VeriBodyPiece& piece : *pieces) {
        if (piece.kind == VeriBodyPiece::Formal && piece.a < actuals.size()) {
            bytes += actuals[piece.a]->text.size();
            origins += actuals[piece.a]->origins.size();
        }
    }
    out.text.reserve(bytes);
    out.origins.reserve(origins);
    const ColLineFile& at = macro.bodyPos;
    for (const VeriBodyPiece& piece : *pieces) {
        if (piece.kind == VeriBodyPiece::Formal) {
            // A function-like use has an actual for each formal.
            if (piece.a < actuals.size()) out.appendFrom(*actuals[piece.a], 0, actuals[piece.a]->text.size());
            continue;
        }
        std::string_view text =
            piece.kind == VeriBodyPiece::Text ? macro.body.substr(piece.a, piece.b - piece.a) : kFixedTexts[piece.a];
        uint32_t col = piece.line ? piece.col : at.leftCol + piece.col;
        out.append(text, ColLineFile(at.fileId, at.leftLine + piece.line, col));
    }
}

void VeriMacroExpander::rescan(const VeriMappedText& in, const ColLineFile& callSite, VeriMappedText& out) {
    std::string_view s = in.text;
    const size_t n = s.size();
    size_t run = 0;
    size_t i = 0;
    while (i < n && !cut_) {
        char c = s[i];
        char d = i + 1 < n ? s[i + 1] : '\0';
        if (c == '"') {
            i = skipString(s, i);
            continue;
        }
        if (c == '/' && d == '/') {
            i = skipToLineEnd(s, i);
            continue;
        }
        if (c == '/' && d == '*') {
            i = skipBlockComment(s, i);
            continue;
        }
        if (c == '\\') {
            i = skipEscapedIdent(s, i);
            continue;
        }
        if (c != '`' || !isIdentStart(d)) {
            // Plain text up to the next character that can start a string, comment,
            // escaped name or macro use.
            i = textruns::findAnyOf<'"', '/', '\\', '`'>(s.data(), i + 1, n);
            continue;
        }
        size_t j = i + 1;
        while (j < n && isIdentChar(s[j])) ++j;
        std::string_view name = s.substr(i + 1, j - i - 1);
        ColLineFile here = in.positionAt(i);
        if (name == "__LINE__" || name == "__FILE__") {
            out.appendFrom(in, run, i);
            if (quiet_ && callSite.fileId == 0) {
                out.append(std::string_view(&kPlaceMarker, 1), here);
            } else if (name == "__LINE__") {
                out.append(std::to_string(callSite.leftLine), here);
            } else {
                const char* file = LineFile::GetFileNameFromId(callSite.fileId);
                out.append("\"" + std::string(file ? file : "") + "\"", here);
            }
            i = run = j;
            continue;
        }
        const VeriMacro* m = isVeriDirectiveName(name) ? nullptr : macros_.find(name);
        if (!m) {
            i = j; // a directive or an undefined name: the token stream deals with it
            continue;
        }
        Level& level = levelAt(depth_);
        std::vector<VeriArgSpan>& spans = level.spans;
        spans.clear();
        size_t after = j;
        VeriArgScan scan = m->functionLike ? scanMacroArgs(s, after, spans) : VeriArgScan::Ok;
        out.appendFrom(in, run, i);
        if (std::find(active_.begin(), active_.end(), m) != active_.end()) {
            std::string nm(name);
            if (!hush()) Message::Tell<veri_msg::MacroUsesItself>(&here, nm.c_str());
            i = run = scan == VeriArgScan::NoList ? j : after;
            continue;
        }
        if (scan == VeriArgScan::NoList) {
            std::string nm(name);
            if (!hush()) Message::Tell<veri_msg::MacroNeedsArguments>(&here, nm.c_str());
            i = run = j;
            continue;
        }
        if (scan == VeriArgScan::Unclosed) {
            std::string nm(name);
            if (!hush()) Message::Tell<veri_msg::MacroArgumentsNotClosed>(&here, nm.c_str());
            i = run = n;
            break;
        }
        std::vector<VeriMappedText>& args = level.args;
        resetTexts(args, spans.size());
        for (size_t k = 0; k < spans.size(); ++k) args[k].appendFrom(in, spans[k].begin, spans[k].end);
        expandUse(*m, args, here, out);
        i = run = after;
    }
    if (!cut_) out.appendFrom(in, run, n);
}

} // namespace hdl
