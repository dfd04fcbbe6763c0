#include "hdl/sv/VeriPreprocessor.h"

#include <cstring>
#include <deque>

#include "hdl/base/ErrorRecovery.h"
#include "hdl/base/Message.h"
#include "hdl/sv/VeriLexTables.h"
#include "hdl/sv/VeriLexer.h"
#include "hdl/sv/VeriMacroExpander.h"
#include "hdl/sv/VeriMessageIds.h"

namespace hdl {

namespace {

constexpr size_t kMaxIncludeDepth = 64;
// A file may be open this many times on the include stack (include guards that count
// recursion need a second level); more is a cycle.
constexpr size_t kMaxSelfNesting = 2;
// Includes opened by one preprocessor; bounds include trees that branch and recurse.
constexpr size_t kMaxIncludes = 100000;
constexpr size_t kMaxFrames = 256;
// Expansion text kept by one preprocessor (tokens view it until the preprocessor dies).
constexpr size_t kMaxExpansionBytes = size_t(512) << 20;

using verilex::isBlank;
using verilex::isIdentChar;
using verilex::isIdentStart;

using verilex::kBodyBlank;
using verilex::kBodyText;
using verilex::kDefineBodyClass;

using verilex::timeValueExponent;
using verilex::trim;

VeriKeywordSet keywordSetOfLanguage(unsigned language) {
    switch (language) {
    case LANG_V95: return VERI_KW_1995;
    case LANG_V2K: return VERI_KW_2005;
    case LANG_SV05: return VERI_KW_SV2005;
    case LANG_SV09: return VERI_KW_SV2009;
    default: return VERI_KW_SV2012;
    }
}

} // namespace

// One buffer being read: a file (which owns its open stream) or a macro expansion.
struct VeriFrame {
    std::unique_ptr<SourceStream> stream;
    VeriLexer lexer;
    bool isFile = false;
    uint32_t fileId = 0;
    std::string dir; // folder of a file, for includes
    size_t condDepthAtEntry = 0; // open conditionals when the file began
    uint32_t expansion = 0;

    VeriFrame(const std::string* buf, std::vector<VeriTextOrigin> origins) : lexer(*buf, std::move(origins)) {}
};

struct VeriCond {
    bool active = false; // text of the current branch is read
    bool parentActive = false;
    bool taken = false; // some branch was (or can no longer be) chosen
    bool sawElse = false;
};

struct VeriPreprocessor::Impl {
    VeriPreprocessor& pp;
    std::vector<std::unique_ptr<VeriFrame>> frames;
    std::deque<std::string> queue;
    std::vector<std::unique_ptr<std::string>> buffers; // every text a token may view
    std::vector<VeriCond> conds;
    std::vector<VeriKeywordSet> keywordStack;
    std::vector<VeriExpansion> expansions{VeriExpansion{}}; // slot 0: none
    VeriMacroExpander expander;
    uint32_t lastFileId = 0;
    // Nesting of module/primitive/program/package bodies, where `resetall is illegal.
    size_t designDepth = 0;
    size_t expansionBytes = 0;
    ErrorRecovery recovery;

    void trackDesignElements(uint16_t kind) {
        switch (kind) {
        case VT_MODULE:
        case VT_MACROMODULE:
        case VT_PRIMITIVE:
        case VT_PROGRAM:
        case VT_PACKAGE: ++designDepth; break;
        case VT_ENDMODULE:
        case VT_ENDPRIMITIVE:
        case VT_ENDPROGRAM:
        case VT_ENDPACKAGE:
            if (designDepth > 0) --designDepth;
            break;
        default: break;
        }
    }

    explicit Impl(VeriPreprocessor& owner) : pp(owner), expander(owner.macros_) {}

    VeriKeywordSet keywordSet() const {
        return keywordStack.empty() ? keywordSetOfLanguage(pp.options_.language) : keywordStack.back();
    }
    bool emitting() const { return conds.empty() || conds.back().active; }

    const std::string* keep(std::string text) {
        buffers.push_back(std::make_unique<std::string>(std::move(text)));
        return buffers.back().get();
    }

    bool openFile(const std::string& path, const ColLineFile* from, bool isInclude) {
        auto stream = OpenSourceStream(pp.options_.streamCallBack, path.c_str());
        std::string text;
        // A file given to the analysis is named at itself when nothing includes it, so
        // that its messages are filed under the file they concern.
        ColLineFile fileStart = from ? ColLineFile() : LineFile::StartOf(path);
        const ColLineFile* at = from ? from : &fileStart;
        if (!stream->is_open() || !stream->ReadAll(text)) {
            // Whether the file is there is asked only now, to say which went wrong.
            if (isInclude && FileSystem::IsSourceFile(path))
                Message::Tell<veri_msg::IncludeUnreadable>(from, path.c_str());
            else if (isInclude) Message::Tell<veri_msg::IncludeMissing>(from, path.c_str());
            else Message::Tell<veri_msg::CannotOpenFile>(at, path.c_str());
            return false;
        }
        if (LooksBinary(text)) {
            Message::Tell<veri_msg::NotTextFile>(at, path.c_str());
            return false;
        }
        pushFileFrame(std::move(text), path, std::move(stream));
        return true;
    }

    void pushFileFrame(std::string text, const std::string& name, std::unique_ptr<SourceStream> stream) {
        uint32_t id = LineFile::GetFileId(name);
        pp.filesRead_.push_back(name);
        auto frame = std::make_unique<VeriFrame>(keep(std::move(text)), std::vector<VeriTextOrigin>{{0, id, 1, 1}});
        frame->stream = std::move(stream);
        frame->isFile = true;
        frame->fileId = id;
        frame->dir = FileSystem::DirectoryPath(name);
        frame->condDepthAtEntry = conds.size();
        frame->lexer.setIgnoreTranslateOff(pp.options_.ignoreTranslateOff);
        frames.push_back(std::move(frame));
    }

    void pushExpansion(VeriMappedText text, uint32_t expansion, const VeriToken& use) {
        if (text.origins.empty()) text.origins.push_back(VeriTextOrigin{});
        const std::string* buf = keep(std::move(text.text));
        auto frame = std::make_unique<VeriFrame>(buf, std::move(text.origins));
        frame->expansion = expansion;
        frame->lexer.setIgnoreTranslateOff(pp.options_.ignoreTranslateOff);
        frame->lexer.setLineStart((use.flags & VTF_FIRST_ON_LINE) != 0);
        frames.push_back(std::move(frame));
    }

    void popFrame() {
        VeriFrame& f = *frames.back();
        if (f.isFile && conds.size() > f.condDepthAtEntry) {
            ColLineFile at = f.lexer.positionAt(f.lexer.text().size());
            error<veri_msg::ConditionalsNotClosed>(&at, unsigned(conds.size() - f.condDepthAtEntry));
            conds.resize(f.condDepthAtEntry);
        }
        frames.pop_back(); // closes the file's stream after everything it included
    }

    size_t fileDepth() const {
        size_t n = 0;
        for (const auto& f : frames) n += f->isFile ? 1 : 0;
        return n;
    }

    uint32_t currentExpansion() const { return frames.back()->expansion; }

    // Skips text of a branch not taken, up to the next conditional directive.
    void skipInactive(VeriFrame& f) {
        f.lexer.setPos(verilex::nextConditionalDirective(f.lexer.text(), f.lexer.pos()));
    }

    // --- reading directive operands from the raw text -------------------------------

    std::string_view readName(VeriFrame& f) {
        f.lexer.skipBlanksToLineEnd();
        std::string_view s = f.lexer.text();
        size_t p = f.lexer.pos();
        size_t b = p;
        if (p < s.size() && s[p] == '\\') {
            while (p < s.size() && !isBlank(s[p]) && s[p] != '\n') ++p;
        } else if (p < s.size() && isIdentStart(s[p])) {
            while (p < s.size() && isIdentChar(s[p])) ++p;
        }
        f.lexer.setPos(p);
        return s.substr(b, p - b);
    }

    std::string_view restOfLine(VeriFrame& f) {
        std::string_view s = f.lexer.text();
        size_t p = f.lexer.pos();
        size_t nl = s.find('\n', p);
        size_t e = nl == std::string_view::npos ? s.size() : nl;
        f.lexer.setPos(e);
        std::string_view line = s.substr(p, e - p);
        size_t cmt = line.find("//");
        if (cmt != std::string_view::npos) line = line.substr(0, cmt);
        return trim(line);
    }

    template <const MessageText& M>
    void syntaxError(const VeriToken& at) {
        ColLineFile loc(at.fileId, at.line, at.col);
        error<M>(&loc);
    }

    // Errors in the text count against the file's cap of errors (ErrorRecovery), as the
    // lexer's do. Files that cannot be read are no errors in a text, and are always told.
    template <const MessageText& M, typename... A>
    void error(const ColLineFile* loc, A... args) {
        if (recovery.OnLineError(loc->fileId) == ErrorRecovery::Quiet) return;
        Message::Tell<M>(loc, args...);
    }

    // --- directives -------------------------------------------------------------------

    void doDefine(VeriFrame& f, const VeriToken& at) {
        std::string_view name = readName(f);
        if (name.empty() || isVeriDirectiveName(name) || name == "__FILE__" || name == "__LINE__") {
            if (name.empty()) syntaxError<veri_msg::DefineNeedsName>(at);
            else syntaxError<veri_msg::DefineOfDirective>(at);
            restOfLine(f);
            return;
        }
        std::string_view s = f.lexer.text();
        size_t p = f.lexer.pos();
        VeriMacro m;
        m.name = name;
        if (!readMacroDefinition(s, p, m)) {
            syntaxError<veri_msg::DefineParametersOpen>(at);
            f.lexer.setPos(p);
            return;
        }
        m.bodyPos = f.lexer.positionAt(size_t(m.body.data() - s.data()));
        f.lexer.setPos(p);
        if (const VeriMacro* old = pp.macros_.find(name)) {
            if (old->body != m.body) {
                std::string nm(name);
                ColLineFile loc(at.fileId, at.line, at.col);
                Message::Tell<veri_msg::MacroDefinedAgain>(&loc, nm.c_str());
            }
        }
        pp.macros_.define(m);
    }

    void doConditional(VeriFrame& f, const VeriToken& at, std::string_view dir) {
        ColLineFile loc(at.fileId, at.line, at.col);
        if (dir == "ifdef" || dir == "ifndef") {
            std::string_view name = readName(f);
            if (name.empty()) syntaxError<veri_msg::ConditionalNeedsName>(at);
            VeriCond c;
            c.parentActive = emitting();
            bool cond = pp.macros_.isDefined(name) == (dir == "ifdef");
            c.active = c.parentActive && cond;
            c.taken = !c.parentActive || cond;
            conds.push_back(c);
            return;
        }
        if (conds.size() <= (frames.empty() ? 0 : frameCondFloor())) {
            std::string d(dir);
            error<veri_msg::ConditionalWithoutIfdef>(&loc, d.c_str());
            if (dir == "elsif") readName(f);
            return;
        }
        VeriCond& c = conds.back();
        if (dir == "endif") {
            conds.pop_back();
            return;
        }
        if (c.sawElse) {
            std::string d(dir);
            error<veri_msg::ConditionalAfterElse>(&loc, d.c_str());
        }
        if (dir == "else") {
            c.sawElse = true;
            c.active = c.parentActive && !c.taken;
            c.taken = true;
            return;
        }
        std::string_view name = readName(f);
        if (name.empty()) syntaxError<veri_msg::ElsifNeedsName>(at);
        bool cond = !c.taken && pp.macros_.isDefined(name);
        c.active = c.parentActive && cond;
        c.taken = c.taken || cond;
    }

    // Conditionals opened before the innermost file began belong to its includer.
    size_t frameCondFloor() const {
        for (auto it = frames.rbegin(); it != frames.rend(); ++it)
            if ((*it)->isFile) return (*it)->condDepthAtEntry;
        return 0;
    }

    std::string resolveInclude(const std::string& name, const std::string& dir) {
        if (FileSystem::IsAbsolute(name)) return name;
        std::string local = FileSystem::Join(dir, name);
        if (FileSystem::IsSourceFile(local)) return local;
        for (const std::string& inc : pp.options_.includeDirs) {
            std::string candidate = FileSystem::Join(inc, name);
            if (FileSystem::IsSourceFile(candidate)) return candidate;
        }
        return name; // the stream callback may still know it
    }

    void doInclude(VeriFrame& f, const VeriToken& at) {
        ColLineFile loc(at.fileId, at.line, at.col);
        f.lexer.skipBlanksToLineEnd();
        std::string_view s = f.lexer.text();
        size_t p = f.lexer.pos();
        std::string name;
        if (p < s.size() && (s[p] == '"' || s[p] == '<')) {
            char close = s[p] == '"' ? '"' : '>';
            size_t e = p + 1;
            while (e < s.size() && s[e] != close && s[e] != '\n') ++e;
            if (e >= s.size() || s[e] != close) {
                syntaxError<veri_msg::IncludeNameOpen>(at);
                f.lexer.setPos(e);
                return;
            }
            name.assign(s.substr(p + 1, e - p - 1));
            f.lexer.setPos(e + 1);
        } else if (p < s.size() && s[p] == '`') {
            f.lexer.setPos(p + 1);
            std::string_view macroName = readName(f);
            VeriMappedText text;
            if (const VeriMacro* m = pp.macros_.find(macroName)) expandAt(f, *m, loc, text);
            std::string_view body = trim(text.text);
            if (body.size() < 2 || (body.front() != '"' && body.front() != '<')) {
                syntaxError<veri_msg::IncludeNeedsName>(at);
                return;
            }
            name.assign(body.substr(1, body.size() - 2));
        } else {
            syntaxError<veri_msg::IncludeNeedsName>(at);
            return;
        }
        std::string path = resolveInclude(name, f.dir.empty() ? currentDir() : f.dir);
        uint32_t id = LineFile::FindFileId(path);
        size_t selfNesting = 0;
        for (const auto& frame : frames) selfNesting += frame->isFile && id != 0 && frame->fileId == id ? 1 : 0;
        if (fileDepth() >= kMaxIncludeDepth || selfNesting >= kMaxSelfNesting || pp.includes_.size() >= kMaxIncludes) {
            Message::Tell<veri_msg::IncludeLimits>(&loc, name.c_str(), unsigned(kMaxIncludeDepth),
                                                   unsigned(kMaxIncludes));
            return;
        }
        pp.includes_.push_back(IncludeRecord{at.fileId, path});
        if (!openFile(path, &loc, true)) return;
        frames.back()->lexer.setKeywordSet(keywordSet());
    }

    std::string currentDir() const {
        for (auto it = frames.rbegin(); it != frames.rend(); ++it)
            if ((*it)->isFile) return (*it)->dir;
        return ".";
    }

    void skipProtected(VeriFrame& f, const VeriToken& at, const char* endMarker) {
        std::string_view s = f.lexer.text();
        size_t e = s.find(endMarker, f.lexer.pos());
        ColLineFile loc(at.fileId, at.line, at.col);
        if (e == std::string_view::npos) {
            error<veri_msg::ProtectedWithoutEnd>(&loc, endMarker);
            f.lexer.setPos(s.size());
            return;
        }
        Message::Tell<veri_msg::ProtectedNotRead>(&loc);
        f.lexer.setPos(e + std::strlen(endMarker));
        restOfLine(f);
    }

    void doPragma(VeriFrame& f, const VeriToken& at) {
        std::string_view line = restOfLine(f);
        if (line.empty() || !isIdentStart(line[0])) {
            syntaxError<veri_msg::PragmaNeedsName>(at);
            return;
        }
        if (line.substr(0, 7) == "protect" && line.find("begin_protected") != std::string_view::npos)
            skipProtected(f, at, "end_protected");
    }

    void doTimescale(VeriFrame& f, const VeriToken& at) {
        std::string_view line = restOfLine(f);
        size_t slash = line.find('/');
        if (line.empty() || slash == std::string_view::npos) {
            syntaxError<veri_msg::TimescaleNeedsValues>(at);
            return;
        }
        std::string_view unit = trim(line.substr(0, slash));
        std::string_view precision = trim(line.substr(slash + 1));
        int unitExp = 0;
        int precisionExp = 0;
        if (!timeValueExponent(unit, unitExp) || !timeValueExponent(precision, precisionExp) ||
            precisionExp > unitExp) {
            syntaxError<veri_msg::TimescaleValues>(at);
            return;
        }
        pp.timescale_.set = true;
        pp.timescale_.unit.assign(unit);
        pp.timescale_.precision.assign(precision);
    }

    void doLine(VeriFrame& f, const VeriToken& at) {
        std::string_view line = restOfLine(f);
        size_t q1 = line.find('"');
        size_t q2 = q1 == std::string_view::npos ? q1 : line.find('"', q1 + 1);
        unsigned long number = 0;
        size_t i = 0;
        for (; i < line.size() && line[i] >= '0' && line[i] <= '9' && number < 0x7fffffff; ++i)
            number = number * 10 + unsigned(line[i] - '0');
        std::string_view level = q2 == std::string_view::npos ? "" : trim(line.substr(q2 + 1));
        if (i == 0 || q2 == std::string_view::npos || level.size() != 1 || level[0] < '0' || level[0] > '2') {
            syntaxError<veri_msg::LineNeedsValues>(at);
            return;
        }
        std::string file(line.substr(q1 + 1, q2 - q1 - 1));
        f.lexer.remapNextLine(LineFile::GetFileId(file), uint32_t(number));
    }

    void doKeywords(VeriFrame& f, const VeriToken& at, bool begin) {
        ColLineFile loc(at.fileId, at.line, at.col);
        if (!begin) {
            if (keywordStack.empty()) error<veri_msg::EndKeywordsWithoutBegin>(&loc);
            else keywordStack.pop_back();
            return;
        }
        f.lexer.skipBlanksToLineEnd();
        std::string_view s = f.lexer.text();
        size_t p = f.lexer.pos();
        size_t e = p < s.size() && s[p] == '"' ? s.find('"', p + 1) : std::string_view::npos;
        if (e == std::string_view::npos) {
            error<veri_msg::BeginKeywordsNeedsVersion>(&loc);
            restOfLine(f);
            return;
        }
        std::string version(s.substr(p + 1, e - p - 1));
        f.lexer.setPos(e + 1);
        int set = veriKeywordSetOf(version);
        if (set < 0) {
            error<veri_msg::UnknownKeywordVersion>(&loc, version.c_str());
            keywordStack.push_back(keywordSet());
            return;
        }
        keywordStack.push_back(VeriKeywordSet(set));
    }

    // Reads the arguments of a use of `m` from the frame and expands it; false (after
    // a message) when the use is malformed.
    bool expandAt(VeriFrame& f, const VeriMacro& macro, const ColLineFile& loc, VeriMappedText& out) {
        const VeriMacro* m = &macro;
        std::string_view name = m->name;
        std::vector<VeriMappedText> args;
        if (m->functionLike) {
            std::vector<VeriArgSpan> spans;
            size_t p = f.lexer.pos();
            VeriArgScan scan = scanMacroArgs(f.lexer.text(), p, spans);
            std::string nm(name);
            if (scan == VeriArgScan::NoList) {
                error<veri_msg::MacroNeedsArguments>(&loc, nm.c_str());
                return false;
            }
            if (scan == VeriArgScan::Unclosed) {
                error<veri_msg::MacroArgumentsNotClosed>(&loc, nm.c_str());
                f.lexer.setPos(p);
                return false;
            }
            for (const VeriArgSpan& sp : spans) {
                args.emplace_back();
                args.back().append(f.lexer.text().substr(sp.begin, sp.end - sp.begin), f.lexer.positionAt(sp.begin));
            }
            f.lexer.setPos(p);
        }
        expander.expand(*m, args, loc, out);
        return true;
    }

    void doMacroUse(VeriFrame& f, const VeriToken& at, std::string_view name) {
        ColLineFile loc(at.fileId, at.line, at.col);
        const VeriMacro* m = pp.macros_.find(name);
        if (!m) {
            std::string nm(name);
            error<veri_msg::MacroNotDefined>(&loc, nm.c_str());
            return;
        }
        if (frames.size() >= kMaxFrames) {
            error<veri_msg::ExpansionsNestTooDeep>(&loc);
            return;
        }
        uint32_t expansion = currentExpansion();
        if (expansion == 0) {
            expansion = uint32_t(expansions.size());
            expansions.push_back(VeriExpansion{m->name, loc});
        }
        VeriMappedText out;
        if (!expandAt(f, *m, loc, out)) return;
        if (expansionBytes <= kMaxExpansionBytes && expansionBytes + out.text.size() > kMaxExpansionBytes)
            error<veri_msg::ExpansionsTooLarge>(&loc, unsigned(kMaxExpansionBytes));
        expansionBytes += out.text.size();
        if (expansionBytes <= kMaxExpansionBytes) pushExpansion(std::move(out), expansion, at);
    }

    void doBacktick(VeriFrame& f, const VeriToken& t) {
        std::string_view name = t.text.substr(1);
        ColLineFile loc(t.fileId, t.line, t.col);
        if (name.empty() || !isIdentStart(name[0])) {
            std::string text(t.text);
            error<veri_msg::BacktickOutsideMacro>(&loc, text.c_str());
            return;
        }
        if (name == "ifdef" || name == "ifndef" || name == "elsif" || name == "else" || name == "endif")
            return doConditional(f, t, name);
        if (name == "define") return doDefine(f, t);
        if (name == "undef") {
            std::string_view macro = readName(f);
            if (macro.empty()) syntaxError<veri_msg::UndefNeedsName>(t);
            pp.macros_.undefine(macro);
            return;
        }
        if (name == "undefineall") return pp.macros_.undefineAll();
        if (name == "include") return doInclude(f, t);
        if (name == "line") return doLine(f, t);
        if (name == "__LINE__" || name == "__FILE__") {
            VeriMappedText text;
            const char* file = LineFile::GetFileNameFromId(t.fileId);
            text.append(name == "__LINE__" ? std::to_string(t.line) : "\"" + std::string(file ? file : "") + "\"", loc);
            pushExpansion(std::move(text), currentExpansion(), t);
            return;
        }
        if (name == "timescale") return doTimescale(f, t);
        if (name == "resetall") {
            if (designDepth > 0) syntaxError<veri_msg::ResetallInsideElement>(t);
            pp.defaultNettype_ = "wire";
            pp.cellDefine_ = false;
            pp.unconnectedDrive_ = 0;
            pp.timescale_ = VeriTimescale{};
            pp.uselib_.clear();
            return;
        }
        if (name == "uselib") {
            // lib=L, file=F, dir=D libext=.E: kept, blanks collapsed, for the instances that follow.
            pp.uselib_.clear();
            for (char c : restOfLine(f)) {
                bool blank = c == ' ' || c == '\t' || c == '\r';
                if (blank && (pp.uselib_.empty() || pp.uselib_.back() == ' ')) continue;
                pp.uselib_ += blank ? ' ' : c;
            }
            if (!pp.uselib_.empty() && pp.uselib_.back() == ' ') pp.uselib_.pop_back();
            return;
        }
        if (name == "celldefine" || name == "endcelldefine") {
            pp.cellDefine_ = name == "celldefine";
            return;
        }
        if (name == "default_nettype") {
            static const std::string_view netTypes[] = {"wire", "tri",   "tri0",   "tri1",  "wand", "triand",
                                                        "wor",  "trior", "trireg", "uwire", "none"};
            std::string_view type = readName(f);
            bool known = false;
            for (std::string_view n : netTypes) known = known || type == n;
            if (!known) syntaxError<veri_msg::DefaultNettypeNeedsType>(t);
            else pp.defaultNettype_.assign(type);
            return;
        }
        if (name == "unconnected_drive") {
            std::string_view drive = readName(f);
            if (drive != "pull0" && drive != "pull1") syntaxError<veri_msg::UnconnectedDriveNeedsPull>(t);
            else pp.unconnectedDrive_ = drive == "pull0" ? 1 : 2;
            return;
        }
        if (name == "nounconnected_drive") {
            pp.unconnectedDrive_ = 0;
            return;
        }
        if (name == "pragma") return doPragma(f, t);
        if (name == "begin_keywords" || name == "end_keywords") return doKeywords(f, t, name == "begin_keywords");
        if (name == "protect") return skipProtected(f, t, "`endprotect");
        if (name == "protected") return skipProtected(f, t, "`endprotected");
        if (isVeriDirectiveName(name)) {
            restOfLine(f); // obsolete simulator directives: no effect on the design text
            return;
        }
        doMacroUse(f, t, name);
    }
};

VeriPreprocessor::VeriPreprocessor(VeriPreprocessorOptions options)
    : options_(std::move(options)), impl_(std::make_unique<Impl>(*this)) {
    resetMacros();
}

VeriPreprocessor::~VeriPreprocessor() {
    // Innermost first, so that a tracing stream callback sees leaves in nesting order.
    while (!impl_->frames.empty()) impl_->frames.pop_back();
}

void VeriPreprocessor::resetMacros() {
    macros_.clear();
    predefineMacros(macros_, options_.language, options_.defines);
}

bool VeriPreprocessor::pushFile(const std::string& path) {
    if (!impl_->frames.empty()) {
        impl_->queue.push_back(path);
        return true;
    }
    return impl_->openFile(path, nullptr, false);
}

void VeriPreprocessor::pushText(std::string text, const std::string& name) {
    impl_->pushFileFrame(std::move(text), name, nullptr);
}

VeriToken VeriPreprocessor::next() {
    Impl& im = *impl_;
    for (;;) {
        if (im.frames.empty()) {
            if (im.queue.empty()) {
                VeriToken eof;
                eof.fileId = im.lastFileId;
                return eof;
            }
            std::string path = im.queue.front();
            im.queue.pop_front();
            im.openFile(path, nullptr, false);
            continue;
        }
        VeriFrame& f = *im.frames.back();
        if (!im.emitting()) im.skipInactive(f);
        f.lexer.setKeywordSet(im.keywordSet());
        VeriToken t = f.lexer.lex();
        if (t.kind == VT_EOF) {
            im.lastFileId = t.fileId;
            im.popFrame();
            continue;
        }
        if (t.kind == VT_LEX_BACKTICK) {
            im.doBacktick(f, t);
            continue;
        }
        if (f.expansion) {
            t.flags |= VTF_FROM_MACRO;
            t.expansion = f.expansion;
        }
        im.trackDesignElements(t.kind);
        return t;
    }
}

VeriKeywordSet VeriPreprocessor::keywordSet() const { return impl_->keywordSet(); }

const VeriExpansion* VeriPreprocessor::expansion(uint32_t id) const {
    if (id == 0 || id >= impl_->expansions.size()) return nullptr;
    return &impl_->expansions[id];
}

} // namespace hdl
