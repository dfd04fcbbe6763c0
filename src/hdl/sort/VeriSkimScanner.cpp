#include "hdl/sort/VeriSkimScanner.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <unordered_set>

#include "hdl/base/LineFile.h"
#include "hdl/base/TextRuns.h"
#include "hdl/sv/VeriLexTables.h"
#include "hdl/sv/VeriLexer.h"
#include "hdl/sv/VeriMacroExpander.h"

namespace hdl {
namespace {

using namespace verilex;

// Where the second character continues no longer spelling, an operator is its first
// character alone: most operators end without a look at the spelling lists.
struct ShortOperators {
    uint16_t single[256] = {}; // kind of the one-character operator, 0 for none
    // [first][second / 64] bit second % 64: some longer spelling goes on so. Bits, so
    // that the rows of the operator characters stay in the first-level cache.
    uint64_t continues[256][4] = {};

    ShortOperators() {
        const std::vector<OperatorSpelling>* byChar = operatorsByFirstChar();
        for (int c = 0; c < 256; ++c) {
            for (const OperatorSpelling& sp : byChar[c]) {
                if (sp.text.size() == 1 && sp.set == VERI_KW_1995) single[c] = sp.kind;
                else if (sp.text.size() > 1)
                    continues[c][static_cast<unsigned char>(sp.text[1]) >> 6] |=
                        uint64_t(1) << (static_cast<unsigned char>(sp.text[1]) & 63);
            }
        }
    }
};

const ShortOperators& shortOperators() {
    static const ShortOperators table;
    return table;
}

// The preprocessor's limits: beyond them it reports, so the scanner gives up first.
constexpr size_t kMaxIncludeDepth = 64;
constexpr size_t kMaxSelfNesting = 2;
constexpr size_t kMaxIncludes = 100000;
constexpr size_t kMaxFrames = 256;
constexpr size_t kMaxExpansionBytes = size_t(512) << 20;
// Effects kept per include path: a header read under a few different sets of macros.
constexpr size_t kMaxEffectsPerInclude = 4;

struct Cond {
    bool active = false;
    bool parentActive = false;
    bool taken = false;
    bool sawElse = false;
};

class Scanner {
public:
    Scanner(std::string_view text, const VeriSkimScanOptions& options, std::vector<VeriSkimToken>& out,
            std::deque<std::string>& texts)
        : s_(text), o_(options), out_(out), texts_(texts), expander_(table_) {
        Frame main;
        main.isFile = true;
        main.name = options.fileName;
        frames_.push_back(std::move(main));
        expander_.setQuiet(true);
    }

    // Innermost first, so that a tracing stream callback sees leaves in nesting order.
    ~Scanner() {
        while (!frames_.empty()) frames_.pop_back();
    }

    bool run() {
        while (ok_) {
            if (!conds_.empty() && !conds_.back().active) skipInactive();
            plainTokens();
            if (pos_ >= s_.size()) {
                if (frames_.size() == 1) return ok_ && conds_.empty();
                popFrame();
                continue;
            }
            size_t start = pos_;
            char c = s_[pos_];
            if (c == '/' && (peek(1) == '/' || peek(1) == '*')) {
                comment();
                continue;
            }
            if (isDigit(c)) {
                emit(number(), start);
                continue;
            }
            switch (c) {
            case '\\':
                ++pos_;
                while (pos_ < s_.size() && !isSpace(s_[pos_])) {
                    ok_ = ok_ && s_[pos_] != VeriMacroExpander::kPlaceMarker;
                    ++pos_;
                }
                emit(pos_ == start + 1 ? uint16_t(VT_ERROR) : uint16_t(VT_ESCAPED_IDENTIFIER), start);
                break;
            case '"':
                ++pos_;
                for (;;) {
                    if (pos_ >= s_.size() || s_[pos_] == '\n') {
                        ok_ = false;
                        break;
                    }
                    char ch = s_[pos_++];
                    if (ch == '"') break;
                    ok_ = ok_ && ch != VeriMacroExpander::kPlaceMarker;
                    if (ch == '\\' && pos_ < s_.size()) ++pos_;
                }
                emit(VT_STRING_LITERAL, start);
                break;
            case '`': ok_ = o_.preprocess && directive(start); break;
            case '\'': emit(apostrophe(), start); break;
            default: emit(op(start), start); break;
            }
        }
        return false;
    }

private:
    // Blanks, comments, names, keywords, numbers, system names and operators of one
    // character, the bulk of any text, read with the position in a register. It stops
    // before anything else (a string, a directive, an escaped name, an apostrophe, a
    // longer operator, a translate_off comment, a number in error), which the general
    // loop then reads: taking those here made the loop slower.
    void plainTokens() {
        const char* const data = s_.data();
        const size_t n = s_.size();
        size_t p = pos_;
        uint16_t last = lastKind_;
        // Tokens are written through a local pointer into room made ahead, a chunk at a
        // time, and the vector is cut to what was written at the end.
        constexpr size_t kChunk = 256;
        size_t used = out_.size();
        out_.resize(used + kChunk);
        VeriSkimToken* w = out_.data() + used;
        VeriSkimToken* wEnd = w + kChunk;
        for (;;) {
            if (w == wEnd) {
                used = size_t(w - out_.data());
                out_.resize(used + kChunk);
                w = out_.data() + used;
                wEnd = w + kChunk;
            }
            // Byte by byte: blank runs are mostly one or two long, where a wide look costs
            // more; a single space, the most common gap, is taken without a loop.
            if (p + 1 < n && data[p] == ' ' && !isSpace(data[p + 1])) {
                ++p;
            } else {
                while (p < n && isSpace(data[p])) ++p;
                if (p >= n) break;
            }
            char c = data[p];
            size_t start = p;
            uint16_t kind;
            if (isIdentStart(c)) {
                p = textruns::nameEnd<true>(data, p + 1, n);
                // Every keyword starts with a lower-case letter.
                kind = c >= 'a' && c <= 'z' ? keywords_.find(data + start, p - start, o_.keywordSet, n - start)
                                            : uint16_t(VT_IDENTIFIER);
                countDesignDepth(kind);
            } else if (isDigit(c)) {
                if (size_t end = plainNumberEnd(data, p, n); end != p) {
                    kind = VT_DECIMAL_NUMBER;
                    p = end;
                } else {
                    LiteralEnd literal = numberAt(s_, p);
                    if (literal.kind == VT_ERROR) break;
                    kind = literal.kind;
                    p = literal.end;
                }
            } else if (c == '/' && p + 1 < n && (data[p + 1] == '/' || data[p + 1] == '*')) {
                size_t end = commentEnd(p);
                if (end == std::string_view::npos || turnsReadingOff(commentBody(p, end))) break;
                p = end;
                continue;
            } else if (c == '$') {
                p = systemNameEnd(p);
                kind = p == start + 1 ? uint16_t(VT_DOLLAR) : uint16_t(VT_SYSTEM_IDENTIFIER);
            } else if (c == '\\' || c == '"' || c == '`') {
                break;
            } else {
                unsigned char u = static_cast<unsigned char>(c);
                unsigned char d = p + 1 < n ? static_cast<unsigned char>(data[p + 1]) : 0;
                kind = shorts_.single[u];
                if (!kind || ((shorts_.continues[u][d >> 6] >> (d & 63)) & 1)) break;
                ++p;
            }
            *w++ = VeriSkimToken(kind, std::string_view(data + start, p - start));
            last = kind;
        }
        out_.resize(size_t(w - out_.data()));
        pos_ = p;
        lastKind_ = last;
    }

    // The end of a run of decimal digits at `at` that is a whole decimal literal, as
    // most numbers are (widths, indices): a character follows that no longer literal
    // goes on with. `at` itself when that is not so.
    static size_t plainNumberEnd(const char* data, size_t at, size_t n) {
        size_t p = at + 1;
        while (p < n && isDigit(data[p])) ++p;
        if (p >= n) return at;
        switch (data[p]) {
        case ']':
        case ':':
        case ')':
        case ';':
        case ',':
        case '}':
        case '+':
        case '-':
        case '*':
        case '=':
        case '<':
        case '>':
        case '\n': return p;
        default: return at;
        }
    }

    // Open module, primitive, program and package bodies, where `resetall is wrong.
    void countDesignDepth(uint16_t kind) {
        switch (kind) {
        case VT_MODULE:
        case VT_MACROMODULE:
        case VT_PRIMITIVE:
        case VT_PROGRAM:
        case VT_PACKAGE: ++designDepth_; break;
        case VT_ENDMODULE:
        case VT_ENDPRIMITIVE:
        case VT_ENDPROGRAM:
        case VT_ENDPACKAGE: designDepth_ -= designDepth_ > 0 ? 1 : 0; break;
        default: break;
        }
    }

    char peek(size_t k = 0) const { return pos_ + k < s_.size() ? s_[pos_ + k] : '\0'; }

    // An error token comes with a message: the lexer is to report it.
    void emit(uint16_t kind, size_t start) {
        lastKind_ = kind;
        ok_ = ok_ && kind != VT_ERROR;
        out_.emplace_back(kind, std::string_view(s_.data() + start, pos_ - start));
    }

    // --- trivia ---------------------------------------------------------------------

    bool skipBlanksToLineEnd() {
        for (;;) {
            char c = peek();
            if (isBlank(c)) ++pos_;
            else if (c == '/' && (peek(1) == '/' || peek(1) == '*')) comment();
            else return c == '\n' || pos_ >= s_.size();
        }
    }

    // Where the comment that opens at `at` ("//" or "/*") ends: at its line end, or after
    // its "*/"; npos for a block comment never closed.
    size_t commentEnd(size_t at) const {
        if (s_[at + 1] == '/') {
            const void* nl = std::memchr(s_.data() + at + 2, '\n', s_.size() - at - 2);
            return nl ? size_t(static_cast<const char*>(nl) - s_.data()) : s_.size();
        }
        size_t close = s_.find("*/", at + 2);
        return close == std::string_view::npos ? close : close + 2;
    }

    std::string_view commentBody(size_t at, size_t end) const {
        return s_.substr(at + 2, end - at - (s_[at + 1] == '*' ? 4 : 2));
    }

    bool turnsReadingOff(std::string_view body) const { return !o_.ignoreTranslateOff && pragmaDirection(body) > 0; }

    void comment() {
        size_t end = commentEnd(pos_);
        if (end == std::string_view::npos) {
            pos_ = s_.size();
            ok_ = false;
            return;
        }
        std::string_view body = commentBody(pos_, end);
        pos_ = end;
        if (turnsReadingOff(body)) skipTranslateOff();
    }

    void skipTranslateOff() {
        size_t end = translateOnEnd(s_, pos_);
        if (end != std::string_view::npos) {
            pos_ = end;
            return;
        }
        pos_ = s_.size();
        ok_ = false; // translate_off never turned on again
    }

    size_t systemNameEnd(size_t at) const {
        size_t p = at + 1;
        while (p < s_.size() && isIdentChar(s_[p])) ++p;
        return p;
    }

    // --- literals and operators -------------------------------------------------------

    // Out of line: literals are rare enough that the main loop is better kept small.
    [[gnu::noinline]] uint16_t number() { return literal(numberAt(s_, pos_)); }
    [[gnu::noinline]] uint16_t apostrophe() { return literal(apostropheAt(s_, pos_, o_.keywordSet >= VERI_KW_SV2005)); }

    uint16_t literal(LiteralEnd literal) {
        pos_ = literal.end;
        return literal.kind;
    }

    uint16_t op(size_t start) {
        unsigned char c = static_cast<unsigned char>(s_[pos_]);
        unsigned char d = static_cast<unsigned char>(peek(1));
        if (shorts_.single[c] && !((shorts_.continues[c][d >> 6] >> (d & 63)) & 1)) {
            ++pos_;
            return shorts_.single[c];
        }
        const auto* byChar = operatorsByFirstChar();
        const size_t left = s_.size() - pos_;
        for (const OperatorSpelling& sp : byChar[static_cast<unsigned char>(peek())]) {
            size_t n = sp.text.size();
            if (n > left || sp.set > o_.keywordSet || !sameTail(s_.data() + pos_, sp.text.data(), n)) continue;
            if (sp.kind == VT_ATTR_OPEN) {
                // "@(*)" is an event control on everything, not an attribute.
                size_t q = pos_ + 2;
                while (q < s_.size() && isSpace(s_[q])) ++q;
                if (q < s_.size() && s_[q] == ')') continue;
            }
            if (sp.kind == VT_ATTR_CLOSE && lastKind_ == VT_LPAREN) continue;
            if (sp.kind == VT_COLON_SLASH && (peek(2) == '/' || peek(2) == '*')) continue;
            pos_ += n;
            return sp.kind;
        }
        while (pos_ < s_.size()) {
            char c = peek();
            if (isSpace(c) || isIdentChar(c) || (std::strchr("()[]{};,.\"'`\\/", c) && c != '\0')) break;
            if (!byChar[static_cast<unsigned char>(c)].empty()) break;
            ++pos_;
        }
        if (pos_ == start) ++pos_;
        return VT_ERROR;
    }

    // --- directives ---------------------------------------------------------------------

    // --- frames: the file, its includes and macro expansions, innermost last ---------

    struct Frame {
        std::string_view text; // saved while an inner frame is read
        size_t pos = 0;
        uint16_t lastKind = VT_EOF;
        bool isFile = false;
        size_t condFloor = 0; // conditionals opened before the file began
        std::string_view name;
        std::unique_ptr<SourceStream> stream; // open until the file is done
        // Positions, for macro texts that hold where they were defined or used; the
        // file id is taken at the first need, and lines are counted forward.
        uint32_t fileId = 0;
        size_t trackPos = 0;
        size_t lineStart = 0;
        uint32_t line = 1;
    };

    // Where `at` of the current text lies, as the preprocessor's lexer gives it; no
    // position inside a macro text, where only the preprocessor knows the origins.
    ColLineFile positionAt(size_t at) {
        Frame& f = frames_.back();
        if (!f.isFile) return ColLineFile();
        if (f.fileId == 0) f.fileId = LineFile::GetFileId(std::string(f.name));
        if (at < f.trackPos) {
            f.trackPos = f.lineStart = 0;
            f.line = 1;
        }
        for (const char* p = s_.data() + f.trackPos; f.trackPos < at;) {
            const void* nl = std::memchr(p, '\n', at - f.trackPos);
            if (!nl) {
                f.trackPos = at;
                break;
            }
            f.trackPos = size_t(static_cast<const char*>(nl) - s_.data()) + 1;
            f.lineStart = f.trackPos;
            ++f.line;
            p = s_.data() + f.trackPos;
        }
        return ColLineFile(f.fileId, f.line, uint32_t(at - f.lineStart + 1));
    }

    void pushFrame(Frame frame, std::string_view text) {
        Frame& outer = frames_.back();
        outer.text = s_;
        outer.pos = pos_;
        outer.lastKind = lastKind_;
        frames_.push_back(std::move(frame));
        s_ = text;
        pos_ = 0;
        lastKind_ = VT_EOF;
    }

    void popFrame() {
        // The preprocessor reports a conditional left open at the end of a file.
        if (frames_.back().isFile && conds_.size() > frames_.back().condFloor) ok_ = false;
        if (recording_ && recording_->frame == frames_.size() - 1) finishRecording();
        else if (recording_ && frames_.back().isFile && recording_->frame < frames_.size() - 1)
            recording_->effect.opens.emplace_back();
        frames_.pop_back();
        const Frame& outer = frames_.back();
        s_ = outer.text;
        pos_ = outer.pos;
        lastKind_ = outer.lastKind;
    }

    const Frame& innermostFile() const {
        for (auto it = frames_.rbegin(); it != frames_.rend(); ++it)
            if (it->isFile) return *it;
        return frames_.front();
    }

    // --- macros: the predefined ones until the text changes any ----------------------

    const VeriMacro* findMacro(std::string_view name) const {
        if (own_) return table_.find(name);
        return o_.predefined ? o_.predefined->find(name) : nullptr;
    }
    bool isDefined(std::string_view name) const { return findMacro(name) != nullptr; }
    void ownDefinitions() {
        if (!own_ && o_.predefined)
            for (const VeriMacro* m : o_.predefined->definedMacros()) table_.defineShared(*m);
        own_ = true;
    }

    std::string_view readName() {
        skipBlanksToLineEnd();
        size_t b = pos_;
        if (pos_ < s_.size() && s_[pos_] == '\\') {
            while (pos_ < s_.size() && !isBlank(s_[pos_]) && s_[pos_] != '\n') ++pos_;
        } else if (pos_ < s_.size() && isIdentStart(s_[pos_])) {
            while (pos_ < s_.size() && isIdentChar(s_[pos_])) ++pos_;
        }
        return s_.substr(b, pos_ - b);
    }

    void restOfLine() {
        size_t nl = s_.find('\n', pos_);
        pos_ = nl == std::string_view::npos ? s_.size() : nl;
    }

    // At a backquote: false when the directive needs the full preprocessor, or when
    // the preprocessor would report a problem with it.
    bool directive(size_t start) {
        ++pos_;
        if (peek() == '`' || peek() == '"') {
            ++pos_;
        } else if (peek() == '\\' && peek(1) == '`' && peek(2) == '"') {
            pos_ += 3;
        } else {
            while (isIdentChar(peek())) ++pos_;
        }
        lastKind_ = VT_LEX_BACKTICK;
        std::string_view name = s_.substr(start + 1, pos_ - start - 1);
        if (name.empty() || !isIdentStart(name[0])) return false;
        if (name == "ifdef" || name == "ifndef" || name == "elsif" || name == "else" || name == "endif")
            return conditional(name);
        if (name == "define") return define();
        if (name == "undef") {
            std::string_view macro = readName();
            ownDefinitions();
            table_.undefine(macro);
            if (recording_) {
                recording_->touched.insert(macro);
                VeriMacro removal;
                removal.name = macro;
                recording_->effect.changes.emplace_back(std::move(removal), true);
            }
            return !macro.empty();
        }
        if (name == "undefineall") {
            ownDefinitions();
            table_.undefineAll();
            impure();
            return true;
        }
        if (name == "include") return include();
        if (name == "pragma") return pragma();
        if (name == "__FILE__" || name == "__LINE__") return fileOrLine(name);
        if (name == "celldefine" || name == "endcelldefine" || name == "nounconnected_drive") return true;
        if (name == "resetall") {
            impure();
            return designDepth_ == 0;
        }
        if (name == "default_nettype") {
            static const std::string_view netTypes[] = {"wire", "tri",   "tri0",   "tri1",  "wand", "triand",
                                                        "wor",  "trior", "trireg", "uwire", "none"};
            std::string_view type = readName();
            return std::find(std::begin(netTypes), std::end(netTypes), type) != std::end(netTypes);
        }
        if (name == "unconnected_drive") {
            std::string_view drive = readName();
            return drive == "pull0" || drive == "pull1";
        }
        if (name == "timescale") return timescale();
        // The directives that change how the text after them is read.
        if (name == "line" || name == "begin_keywords" || name == "end_keywords" || name == "protect" ||
            name == "protected")
            return false;
        if (!isVeriDirectiveName(name)) return macroUse(name);
        restOfLine();
        return true;
    }

    // `pragma name ...: only a protected region needs the preprocessor.
    bool pragma() {
        size_t b = pos_;
        restOfLine();
        std::string_view line = s_.substr(b, pos_ - b);
        line = trim(line.substr(0, line.find("//")));
        if (line.empty() || !isIdentStart(line[0])) return false;
        return !(line.substr(0, 7) == "protect" && line.find("begin_protected") != std::string_view::npos);
    }

    // `__FILE__ and `__LINE__ of the file being read; inside an expansion the
    // preprocessor takes the position from where the macro text came from.
    bool fileOrLine(std::string_view name) {
        if (!frames_.back().isFile) return false;
        ColLineFile at = positionAt(pos_ - name.size() - 1);
        return pushExpansion(name == "__FILE__" ? "\"" + std::string(frames_.back().name) + "\""
                                                : std::to_string(at.leftLine));
    }

    bool pushExpansion(std::string text) {
        impure();
        expansionBytes_ += text.size();
        if (frames_.size() >= kMaxFrames || expansionBytes_ > kMaxExpansionBytes) return false;
        const std::string& kept = texts_.emplace_back(std::move(text));
        pushFrame(Frame{}, kept);
        return true;
    }

    // A macro use: its arguments are read from the text here, the expander builds the
    // text, and the text is read as a frame of its own, as the preprocessor does. The
    // expander reads this scanner's own table, so the predefined macros are copied in.
    bool macroUse(std::string_view name) {
        ownDefinitions();
        const VeriMacro* m = table_.find(name);
        if (!m || frames_.size() >= kMaxFrames) return false;
        ColLineFile callSite = positionAt(pos_ - name.size() - 1);
        // The argument texts are kept from use to use with their capacity: a file may
        // hold hundreds of uses.
        static const std::vector<VeriMappedText> none;
        const std::vector<VeriMappedText>* args = &none;
        if (m->functionLike) {
            size_t p = pos_;
            useSpans_.clear();
            if (scanMacroArgs(s_, p, useSpans_) != VeriArgScan::Ok) return false;
            useArgs_.resize(useSpans_.size());
            for (size_t k = 0; k < useSpans_.size(); ++k) {
                const VeriArgSpan& span = useSpans_[k];
                VeriMappedText& arg = useArgs_[k];
                arg.text.clear();
                arg.origins.clear();
                arg.append(s_.substr(span.begin, span.end - span.begin), positionAt(span.begin));
            }
            args = &useArgs_;
            pos_ = p;
        }
        VeriMappedText& out = useOut_;
        out.text.clear();
        out.origins.clear();
        if (!expander_.expand(*m, *args, callSite, out) || expander_.doubtful()) return false;
        return pushExpansion(std::move(out.text));
    }

    // `include "name" or <name>: found as the preprocessor finds it, opened through the
    // callback and read as a frame, its stream open until its end.
    bool include() {
        skipBlanksToLineEnd();
        char open = peek();
        if (open != '"' && open != '<') return false;
        char close = open == '"' ? '"' : '>';
        size_t e = pos_ + 1;
        while (e < s_.size() && s_[e] != close && s_[e] != '\n') ++e;
        if (e >= s_.size() || s_[e] != close) return false;
        std::string name(s_.substr(pos_ + 1, e - pos_ - 1));
        pos_ = e + 1;
        std::string path;
        // A file the callback cannot read is reported by the preprocessor; it alone opens it.
        if (!resolveInclude(name, path)) return false;
        size_t fileDepth = 0;
        size_t selfNesting = 0;
        for (const Frame& f : frames_) {
            fileDepth += f.isFile ? 1 : 0;
            selfNesting += f.isFile && f.name == path ? 1 : 0;
        }
        if (fileDepth >= kMaxIncludeDepth || selfNesting >= kMaxSelfNesting || includes_++ >= kMaxIncludes)
            return false;
        Frame frame;
        frame.isFile = true;
        frame.condFloor = conds_.size();
        frame.stream = openInclude(path);
        if (!frame.stream->is_open()) return false;
        // While a file is recorded, the files it includes are recorded with it.
        if (!recording_ && replay(path, *frame.stream, fileDepth))
            return true; // the stream closes here, as after reading the file
        std::string text;
        if (!frame.stream->ReadAll(text)) {
            if (o_.failedOpens) o_.failedOpens->push_back(path);
            return false;
        }
        bool nested = recording_ != nullptr;
        if (nested) recording_->effect.opens.push_back(path);
        else if (o_.includeCache) recording_ = std::make_unique<Recording>(frames_.size(), out_.size(), path);
        frame.name = texts_.emplace_back(std::move(path));
        const std::string& kept = texts_.emplace_back(std::move(text));
        pushFrame(std::move(frame), kept);
        if (recording_) {
            if (!nested) recording_->fileDepth = fileDepth + 1;
            recording_->sources.push_back(kept);
            recording_->effect.depth = std::max(recording_->effect.depth, fileDepth + 1 - recording_->fileDepth);
        }
        return true;
    }

    // Through the callback, once for a file that would not open.
    std::unique_ptr<SourceStream> openInclude(const std::string& path) {
        std::vector<std::string>* failed = o_.failedOpens;
        if (failed && std::find(failed->begin(), failed->end(), path) != failed->end())
            return std::make_unique<SourceStream>(nullptr);
        std::unique_ptr<SourceStream> stream = OpenSourceStream(o_.streamCallBack, path.c_str());
        if (failed && !stream->is_open()) failed->push_back(path);
        return stream;
    }

    // Found as the preprocessor finds it: by an absolute name, in the folder of the file
    // that includes it, then in the include folders.
    bool resolveInclude(const std::string& name, std::string& path) {
        if (FileSystem::IsAbsolute(name)) {
            path = name;
            return FileSystem::IsSourceFile(path);
        }
        std::string dir = FileSystem::DirectoryPath(std::string(innermostFile().name));
        std::string key = o_.includeCache ? dir + '\n' + name : std::string();
        if (o_.includeCache) {
            auto known = o_.includeCache->found.find(key);
            if (known != o_.includeCache->found.end()) {
                path = known->second;
                return true;
            }
        }
        bool found = FileSystem::IsSourceFile(path = FileSystem::Join(dir, name));
        for (size_t k = 0; !found && o_.includeDirs && k < o_.includeDirs->size(); ++k)
            found = FileSystem::IsSourceFile(path = FileSystem::Join((*o_.includeDirs)[k], name));
        if (found && o_.includeCache) o_.includeCache->found.emplace(std::move(key), path);
        return found;
    }

    // --- include effects ------------------------------------------------------------------

    // An include being read for the cache: its effect so far, the texts it covers, and
    // the names it has defined or removed (later tests of those depend on it alone).
    struct Recording {
        Recording(size_t frame, size_t tokens, std::string path)
            : frame(frame), tokens(tokens), path(std::move(path)) {}
        size_t frame; // index of the include's frame
        size_t tokens; // tokens before it
        std::string path;
        size_t fileDepth = 0; // files open with the include's own
        VeriSkimIncludeEffect effect;
        std::vector<std::string_view> sources;
        std::unordered_set<std::string_view> touched;
        bool pure = true;
    };

    // Anything but definitions and tests (a token, a macro use, a nested include, a
    // directive whose effect depends on what came before) keeps the include uncached.
    void impure() {
        if (recording_) recording_->pure = false;
    }

    bool tested(std::string_view name) {
        bool defined = isDefined(name);
        if (recording_ && !recording_->touched.count(name)) recording_->effect.tests.emplace_back(name, defined);
        return defined;
    }

    // Within one skim a header holds what it held when it was read, unless its size has
    // changed since: the stream tells the size without a read. A replayed file and the
    // files it includes are still opened (and closed), so that the tracer sees them.
    bool replay(const std::string& path, SourceStream& stream, size_t fileDepth) {
        if (!o_.includeCache) return false;
        auto it = o_.includeCache->byPath.find(path);
        if (it == o_.includeCache->byPath.end()) return false;
        size_t size = stream.Remaining();
        for (const auto& effect : it->second) {
            if (size == 0 || effect->texts[0].size() != size || !replayable(*effect, path, fileDepth)) continue;
            bool holds = true;
            for (const auto& [name, defined] : effect->tests) holds = holds && isDefined(name) == defined;
            if (!holds || !reopen(*effect)) continue;
            ownDefinitions();
            for (const auto& [macro, removal] : effect->changes) {
                if (removal) table_.undefine(macro.name);
                else table_.defineShared(macro);
            }
            return true;
        }
        return false;
    }

    // The nested includes stay within the limits and meet none of the files now open.
    bool replayable(const VeriSkimIncludeEffect& effect, const std::string& path, size_t fileDepth) const {
        if (fileDepth + effect.depth >= kMaxIncludeDepth || includes_ + effect.texts.size() >= kMaxIncludes)
            return false;
        for (const std::string& nested : effect.opens)
            if (nested == path || std::any_of(frames_.begin(), frames_.end(),
                                              [&](const Frame& f) { return f.isFile && f.name == nested; }))
                return false;
        return true;
    }

    // Opens and closes the nested includes in their order, so that a tracing callback
    // sees them; true when each still has the recorded size.
    bool reopen(const VeriSkimIncludeEffect& effect) {
        std::vector<std::unique_ptr<SourceStream>> open;
        size_t next = 1;
        bool same = true;
        for (const std::string& path : effect.opens) {
            if (path.empty()) {
                open.pop_back();
                continue;
            }
            open.push_back(openInclude(path));
            size_t size = open.back()->Remaining();
            same = same && size != 0 && size == effect.texts[next++].size();
        }
        while (!open.empty()) open.pop_back();
        includes_ += effect.texts.size() - 1;
        return same;
    }

    // At the end of the recorded include: a pure effect goes to the cache, its views
    // moved from the scan's copies of the texts to the cache's own.
    void finishRecording() {
        std::unique_ptr<Recording> rec = std::move(recording_);
        auto& effects = o_.includeCache->byPath[rec->path];
        if (!ok_ || !rec->pure || out_.size() != rec->tokens || effects.size() >= kMaxEffectsPerInclude) return;
        auto effect = std::make_unique<VeriSkimIncludeEffect>(std::move(rec->effect));
        for (std::string_view source : rec->sources) effect->texts.emplace_back(source);
        auto move = [&](std::string_view& v) {
            for (size_t k = 0; k < rec->sources.size() && !v.empty(); ++k) {
                std::string_view from = rec->sources[k];
                if (v.data() >= from.data() && v.data() + v.size() <= from.data() + from.size()) {
                    v = std::string_view(effect->texts[k].data() + (v.data() - from.data()), v.size());
                    return;
                }
            }
        };
        for (auto& test : effect->tests) move(test.first);
        for (auto& change : effect->changes) {
            move(change.first.name);
            move(change.first.body);
            for (VeriMacroParam& param : change.first.params) {
                move(param.name);
                move(param.defaultText);
            }
        }
        effects.push_back(std::move(effect));
    }

    // `timescale unit / precision, each 1, 10 or 100 and a unit, the precision no coarser.
    bool timescale() {
        size_t b = pos_;
        restOfLine();
        std::string_view line = s_.substr(b, pos_ - b);
        size_t cmt = line.find("//");
        line = trim(line.substr(0, cmt));
        size_t slash = line.find('/');
        int unit = 0;
        int precision = 0;
        return slash != std::string_view::npos && timeValueExponent(trim(line.substr(0, slash)), unit) &&
               timeValueExponent(trim(line.substr(slash + 1)), precision) && precision <= unit;
    }

    bool conditional(std::string_view dir) {
        if (dir == "ifdef" || dir == "ifndef") {
            std::string_view name = readName();
            Cond c;
            c.parentActive = conds_.empty() || conds_.back().active;
            bool cond = tested(name) == (dir == "ifdef");
            c.active = c.parentActive && cond;
            c.taken = !c.parentActive || cond;
            conds_.push_back(c);
            return !name.empty();
        }
        if (conds_.size() <= innermostFile().condFloor) return false;
        Cond& c = conds_.back();
        if (dir == "endif") {
            conds_.pop_back();
            return true;
        }
        if (c.sawElse) return false;
        if (dir == "else") {
            c.sawElse = true;
            c.active = c.parentActive && !c.taken;
            c.taken = true;
            return true;
        }
        std::string_view name = readName();
        bool cond = !c.taken && tested(name);
        c.active = c.parentActive && cond;
        c.taken = c.taken || cond;
        return !name.empty();
    }

    // `define: read as the preprocessor reads it. A definition that replaces another
    // with a different body is reported, so it is left to the preprocessor.
    bool define() {
        std::string_view name = readName();
        if (name.empty() || isVeriDirectiveName(name) || name == "__FILE__" || name == "__LINE__") return false;
        VeriMacro m;
        m.name = name;
        if (!readMacroDefinition(s_, pos_, m)) return false;
        m.bodyPos = positionAt(size_t(m.body.data() - s_.data()));
        const VeriMacro* old = findMacro(name);
        if (old && old->body != m.body) return false;
        ownDefinitions();
        table_.define(m);
        if (recording_) {
            // A definition that repeats one made before the file is left uncached.
            if (!recording_->touched.count(name)) {
                recording_->effect.tests.emplace_back(name, false);
                recording_->pure = recording_->pure && !old;
                recording_->touched.insert(name);
            }
            recording_->effect.changes.emplace_back(m, false);
        }
        return true;
    }

    // Skips text of a branch not taken, up to the next conditional directive.
    void skipInactive() { pos_ = nextConditionalDirective(s_, pos_); }

    std::string_view s_;
    const VeriSkimScanOptions& o_;
    std::vector<VeriSkimToken>& out_;
    size_t pos_ = 0;
    std::vector<VeriMappedText> useArgs_;
    std::vector<VeriArgSpan> useSpans_;
    VeriMappedText useOut_; // its text goes to the frame; the room of its origins stays
    uint16_t lastKind_ = VT_EOF;
    bool ok_ = true;
    const ShortOperators& shorts_ = shortOperators();
    const KeywordTable& keywords_ = keywordTable();
    std::deque<std::string>& texts_;
    // Open module, primitive, program and package bodies, where `resetall is wrong.
    size_t designDepth_ = 0;
    std::vector<Cond> conds_;
    std::vector<Frame> frames_;
    size_t includes_ = 0;
    size_t expansionBytes_ = 0;
    // Definitions of this file, once it changes any; until then the predefined ones.
    bool own_ = false;
    VeriMacroTable table_;
    VeriMacroExpander expander_;
    std::unique_ptr<Recording> recording_;
};

} // namespace

bool veriSkimScan(std::string_view text, const VeriSkimScanOptions& options, std::vector<VeriSkimToken>& out,
                  std::deque<std::string>& texts) {
    return Scanner(text, options, out, texts).run();
}

} // namespace hdl
