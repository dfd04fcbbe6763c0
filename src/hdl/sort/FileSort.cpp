#include "hdl/sort/FileSort.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "hdl/base/Language.h"
#include "hdl/base/LineFile.h"
#include "hdl/base/Message.h"
#include "hdl/sort/SortNameTable.h"
#include "hdl/sort/VeriSkim.h"
#include "hdl/sort/VeriSkimScanner.h"
#include "hdl/sort/VhdlSkim.h"
#include "hdl/sort/VhdlSkimScanner.h"
#include "hdl/sort/VhdlVisibility.h"
#include "hdl/sv/VeriMessageIds.h"
#include "hdl/sv/VeriPreprocessor.h"
#include "hdl/vhdl/VhdlLexer.h"
#include "hdl/vhdl/VhdlMessageIds.h"

namespace hdl {

unsigned hdl_file_sort::_default_compilation_unit_mode = 0;

namespace {

struct SortState {
    StreamCallBack callback = nullptr;
    bool ignoreTranslateOff = false;
    std::vector<std::string> includeDirs;
    std::vector<std::string> defines;
    std::vector<std::unique_ptr<FileElement>> elements;
    // "library\nfile" -> element index, so that a file registered again is read afresh.
    std::unordered_map<std::string, size_t> byName;
    std::vector<size_t> pending; // elements registered to be read at the first FileAt
    bool librariesResolved = true;
    // The preprocessor shared by files of one compilation unit, when they share one.
    std::unique_ptr<VeriPreprocessor> sharedUnit;
    // Macros defined before a file begins, without and with the SystemVerilog
    // coverage constants; built again after the definitions change.
    VeriMacroTable predefined[2];
    bool predefinedBuilt = false;
    // Text and token buffers reused from file to file; `included` keeps the texts of
    // a file's includes and macro expansions that its tokens view.
    std::string text;
    std::deque<std::string> included;
    VeriSkimIncludeCache includeCache;
    std::vector<std::string> failedOpens; // of the file being read, by the skim's scanner
    std::vector<VeriSkimToken> tokens;
    std::vector<VhdlSkimToken> vhdlTokens;
};

SortState& state() {
    static SortState s;
    return s;
}

char lowerChar(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string lower(std::string s) {
    for (char& c : s) c = lowerChar(c);
    return s;
}

// The language the preprocessor reads a file of `lang` in.
unsigned preprocessorLanguage(unsigned lang) {
    return (lang >= LANG_V95 && lang <= LANG_SV) || IsIncludeLanguage(lang) ? lang : LANG_SV;
}

std::unique_ptr<VeriPreprocessor> newPreprocessor(unsigned lang, StreamCallBack callback) {
    SortState& s = state();
    VeriPreprocessorOptions options;
    options.includeDirs = s.includeDirs;
    options.defines = s.defines;
    options.language = preprocessorLanguage(lang);
    options.ignoreTranslateOff = s.ignoreTranslateOff;
    options.streamCallBack = callback;
    return std::make_unique<VeriPreprocessor>(std::move(options));
}

// For the preprocessor that takes a file over from the skim's scanner: an include the
// scanner could not open was reported then, and is not asked for a second time.
SourceStream* openUnlessFailed(const char* name) {
    SortState& s = state();
    if (name && std::find(s.failedOpens.begin(), s.failedOpens.end(), name) != s.failedOpens.end())
        return new SourceStream(nullptr);
    return OpenSourceStream(s.callback, name).release();
}

const VeriMacroTable& predefinedMacros(unsigned ppLanguage) {
    SortState& s = state();
    if (!s.predefinedBuilt) {
        for (unsigned k = 0; k < 2; ++k) {
            s.predefined[k].clear();
            predefineMacros(s.predefined[k], k ? LANG_SV : LANG_V95, s.defines);
        }
        s.predefinedBuilt = true;
    }
    return s.predefined[IsSystemVerilogLanguage(ppLanguage) ? 1 : 0];
}

// The keyword set of the preprocessor's lexer for a language.
VeriKeywordSet preprocessorKeywordSet(unsigned ppLanguage) {
    switch (ppLanguage) {
    case LANG_V95: return VERI_KW_1995;
    case LANG_V2K: return VERI_KW_2005;
    case LANG_SV05: return VERI_KW_SV2005;
    case LANG_SV09: return VERI_KW_SV2009;
    default: return VERI_KW_SV2012;
    }
}

VeriKeywordSet keywordSetOf(unsigned lang) {
    switch (lang) {
    case LANG_V95: return VERI_KW_1995;
    case LANG_V2K: return VERI_KW_2001;
    case LANG_SV05: return VERI_KW_SV2005;
    case LANG_SV09: return VERI_KW_SV2009;
    default: return VERI_KW_SV2012;
    }
}

// The file's stream stays open while its tokens are read, so that the streams of its
// includes nest inside it. The skim's scanner reads the text unless it needs a
// directive that only the preprocessor obeys or something the preprocessor reports
// (and, in a shared compilation unit, unless it holds a backquote at all).
bool readVerilog(FileElement& element) {
    SortState& s = state();
    auto stream = OpenSourceStream(s.callback, element.fileName.c_str());
    std::string& text = s.text;
    text.clear();
    if (!stream->ReadAll(text)) {
        ColLineFile loc = LineFile::StartOf(element.fileName);
        Message::Tell<veri_msg::CannotOpenFile>(&loc, element.fileName.c_str());
        return false;
    }
    std::vector<VeriSkimToken>& tokens = s.tokens;
    tokens.clear();
    s.included.clear();
    bool backquote = std::memchr(text.data(), '`', text.size()) != nullptr;
    unsigned ppLanguage = preprocessorLanguage(element.language);
    std::unique_ptr<VeriPreprocessor> own;
    bool scanned = false;
    if (!backquote || !hdl_file_sort::_default_compilation_unit_mode) {
        VeriSkimScanOptions options;
        options.keywordSet = backquote ? preprocessorKeywordSet(ppLanguage) : keywordSetOf(element.language);
        options.ignoreTranslateOff = s.ignoreTranslateOff;
        options.preprocess = backquote;
        options.predefined = &predefinedMacros(ppLanguage);
        options.fileName = element.fileName;
        options.includeDirs = &s.includeDirs;
        options.streamCallBack = s.callback;
        options.includeCache = &s.includeCache;
        options.failedOpens = &s.failedOpens;
        s.failedOpens.clear();
        scanned = veriSkimScan(text, options, tokens, s.included);
    }
    if (!scanned) {
        // The scanner stops at the first byte that starts no token, so a binary file is
        // told here, at no cost to the files it reads.
        if (LooksBinary(text)) {
            ColLineFile loc = LineFile::StartOf(element.fileName);
            Message::Tell<veri_msg::NotTextFile>(&loc, element.fileName.c_str());
            return false;
        }
        tokens.clear();
        VeriPreprocessor* pp;
        if (hdl_file_sort::_default_compilation_unit_mode) {
            if (!s.sharedUnit) s.sharedUnit = newPreprocessor(element.language, s.callback);
            pp = s.sharedUnit.get();
        } else {
            own = newPreprocessor(element.language, s.failedOpens.empty() ? s.callback : openUnlessFailed);
            pp = own.get();
        }
        pp->pushText(std::move(text), element.fileName);
        for (VeriToken t = pp->next(); t.kind != VT_EOF; t = pp->next()) tokens.emplace_back(t.kind, t.text);
    }
    tokens.emplace_back(VT_EOF, std::string_view());
    veriSkimTokens(tokens, element);
    return true;
}

bool readVhdl(FileElement& element) {
    SortState& s = state();
    std::string& text = s.text;
    text.clear();
    {
        auto stream = OpenSourceStream(s.callback, element.fileName.c_str());
        if (!stream->ReadAll(text)) {
            ColLineFile loc = LineFile::StartOf(element.fileName);
            Message::Tell<vhdl_msg::CannotOpenFile>(&loc, element.fileName.c_str());
            return false;
        }
    }
    // Positions are needed only for what the lexer reports.
    if (LooksBinary(text)) {
        ColLineFile loc = LineFile::StartOf(element.fileName);
        Message::Tell<vhdl_msg::NotTextFile>(&loc, element.fileName.c_str());
        return false;
    }
    std::vector<VhdlSkimToken>& tokens = s.vhdlTokens;
    tokens.clear();
    if (!vhdlSkimScan(text, element.language, s.ignoreTranslateOff, tokens)) {
        tokens.clear();
        VhdlLexer lexer(text, LineFile::GetFileId(element.fileName), element.language);
        lexer.SetIgnorePragmas(s.ignoreTranslateOff);
        for (const VhdlTok& t : lexer.Tokenize()) tokens.push_back(VhdlSkimToken{t.begin, t.end, t.kind});
    }
    vhdlSkimTokens(text, tokens, element);
    return true;
}

bool readElement(FileElement& element) {
    state().librariesResolved = false;
    return IsVhdlLanguage(element.language) ? readVhdl(element) : readVerilog(element);
}

// Verilog names units without a library, and a VHDL component binds by default to an
// entity wherever one is visible: a "work" reference to a unit that the file's own
// library lacks goes to the first library, in registration order, that declares it.
void resolveLibraries() {
    SortState& s = state();
    // Lower-cased libraries in registration order, and the library of each element.
    std::vector<std::string> libraries;
    std::unordered_map<std::string, uint32_t> libraryAt;
    std::vector<uint32_t> ownLibrary(s.elements.size());
    // Lower-cased unit names; the libraries that declare unit n form a chain from
    // firstLink[n] through `links`, in the order they were met.
    SortNameTable units;
    struct Link {
        uint32_t library;
        uint32_t next;
    };
    std::vector<Link> links;
    std::vector<uint32_t> firstLink;
    std::string name;
    auto lowered = [&name](const std::string& text) -> const std::string& {
        name.resize(text.size());
        for (size_t i = 0; i < text.size(); ++i) name[i] = lowerChar(text[i]);
        return name;
    };
    const std::string* runName = nullptr;
    uint32_t runLibrary = 0;
    for (size_t i = 0; i < s.elements.size(); ++i) {
        const FileElement& e = *s.elements[i];
        // Files come in runs of one library: its number is looked up once a run.
        if (!runName || *runName != e.libraryName) {
            auto at = libraryAt.emplace(lower(e.libraryName), static_cast<uint32_t>(libraries.size()));
            if (at.second) libraries.push_back(at.first->first);
            runName = &e.libraryName;
            runLibrary = at.first->second;
        }
        ownLibrary[i] = runLibrary;
    }
    // In one library a unit that a file's own library lacks is declared nowhere: no
    // reference moves, and the references are not read at all.
    if (libraries.size() < 2) {
        s.librariesResolved = true;
        return;
    }
    for (size_t i = 0; i < s.elements.size(); ++i) {
        for (const std::string& declared : s.elements[i]->declaredNames) {
            uint32_t unit = units.intern(lowered(declared));
            if (unit == firstLink.size()) firstLink.push_back(SortNameTable::kNone);
            uint32_t* link = &firstLink[unit];
            while (*link != SortNameTable::kNone && links[*link].library != ownLibrary[i]) link = &links[*link].next;
            if (*link == SortNameTable::kNone) {
                *link = static_cast<uint32_t>(links.size());
                links.push_back(Link{ownLibrary[i], SortNameTable::kNone});
            }
        }
    }
    auto retarget = [&](SortReference& r, uint32_t ownLib, bool verilog) {
        if (r.unitName.empty() || r.libraryName.size() != 4 || lowered(r.libraryName) != "work" ||
            (!verilog && !(r.flags & SORT_REF_WEAK)))
            return;
        uint32_t unit = units.find(lowered(r.unitName));
        if (unit == SortNameTable::kNone) return;
        // The first library in registration order, unless the file's own has the unit.
        uint32_t first = SortNameTable::kNone;
        for (uint32_t link = firstLink[unit]; link != SortNameTable::kNone; link = links[link].next) {
            if (links[link].library == ownLib) return;
            first = std::min(first, links[link].library);
        }
        r.libraryName = libraries[first];
    };
    for (size_t i = 0; i < s.elements.size(); ++i) {
        FileElement& e = *s.elements[i];
        bool verilog = !IsVhdlLanguage(e.language);
        for (SortReference& r : e.references) retarget(r, ownLibrary[i], verilog);
        for (SortUnit& u : e.units)
            for (SortReference& r : u.instances) retarget(r, ownLibrary[i], verilog);
    }
    s.librariesResolved = true;
}

} // namespace

void hdl_file_sort::AddIncludeDir(const char* dir) {
    if (!dir || !*dir) return;
    // Where includes were found and what headers did depend on the folders, and a caller
    // names its folders again at each skim: includes are searched and read afresh.
    SortState& s = state();
    s.includeCache.clear();
    // A folder named again would only be searched again, after the first finding.
    if (std::find(s.includeDirs.begin(), s.includeDirs.end(), dir) == s.includeDirs.end())
        s.includeDirs.emplace_back(dir);
}

void hdl_file_sort::DefineCmdLineMacro(const char* name, const char* value) {
    if (!name || !*name) return;
    std::string def = name;
    if (value) def += std::string("=") + value;
    state().defines.push_back(std::move(def));
    state().predefinedBuilt = false;
}

bool hdl_file_sort::RegisterFile(const char* file, const char* library, unsigned mode, unsigned when) {
    SortState& s = state();
    auto element = std::make_unique<FileElement>();
    element->fileName = file ? file : "";
    element->libraryName = library ? library : "";
    element->language = LanguageOf(mode);
    auto known = s.byName.emplace(element->libraryName + "\n" + element->fileName, s.elements.size());
    size_t index = known.first->second;
    if (known.second) s.elements.push_back(std::move(element));
    else s.elements[index] = std::move(element);
    if (when != 2) {
        s.pending.push_back(index);
        return true;
    }
    return readElement(*s.elements[index]);
}

bool hdl_file_sort::FileAt(unsigned index, const FileElement** element) {
    SortState& s = state();
    for (size_t k : s.pending) readElement(*s.elements[k]);
    s.pending.clear();
    if (!s.librariesResolved) {
        decideVhdlCandidates(s.elements);
        decideVeriCandidates(s.elements);
        resolveLibraries();
    }
    if (index >= s.elements.size()) return false;
    *element = s.elements[index].get();
    return true;
}

unsigned hdl_file_sort::FileCount() { return static_cast<unsigned>(state().elements.size()); }

void hdl_file_sort::RegisterFlexStreamCallBack(StreamCallBack callback) { state().callback = callback; }

StreamCallBack hdl_file_sort::GetFlexStreamCallBack() { return state().callback; }

void hdl_file_sort::SetIgnoreTranslateOff(bool ignore) {
    SortState& s = state();
    // Which definitions a header makes depends on whether translate_off text is read.
    if (s.ignoreTranslateOff != ignore) s.includeCache.clear();
    s.ignoreTranslateOff = ignore;
}

void hdl_file_sort::Reset() {
    state() = SortState{};
    _default_compilation_unit_mode = 0;
}

} // namespace hdl
