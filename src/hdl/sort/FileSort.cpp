#include "hdl/sort/FileSort.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <unordered_map>
#include <string>
#include <vector>

#include "hdl/base/LineFile.h"
#include "hdl/base/Message.h"
#include "hdl/sort/VeriSkim.h"
#include "hdl/sort/VhdlSkim.h"
#include "hdl/sv/VeriLexer.h"
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
    std::vector<size_t> pending;       // elements registered to be read at the first FileAt
    bool librariesResolved = true;
    // The preprocessor shared by files of one compilation unit, when they share one.
    std::unique_ptr<VeriPreprocessor> sharedUnit;
};

SortState& state() {
    static SortState s;
    return s;
}

bool isVhdl(unsigned lang) { return lang >= 8 && lang <= 13; }

std::string lower(std::string s) {
    for (char& c : s)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

std::unique_ptr<VeriPreprocessor> newPreprocessor(unsigned lang) {
    SortState& s = state();
    VeriPreprocessorOptions options;
    options.includeDirs = s.includeDirs;
    options.defines = s.defines;
    options.language = lang >= 1 && lang <= 5 ? lang : lang == 14 ? 14 : 5;
    options.ignoreTranslateOff = s.ignoreTranslateOff;
    options.streamCallBack = s.callback;
    return std::make_unique<VeriPreprocessor>(std::move(options));
}

VeriKeywordSet keywordSetOf(unsigned lang) {
    switch (lang) {
    case 1: return VERI_KW_1995;
    case 2: return VERI_KW_2001;
    case 3: return VERI_KW_SV2005;
    case 4: return VERI_KW_SV2009;
    default: return VERI_KW_SV2012;
    }
}

// The file's stream stays open while its tokens are read, so that the streams of its
// includes nest inside it. Text without a backquote has no directive, include or macro
// use, and goes to the lexer directly.
bool readVerilog(FileElement& element) {
    SortState& s = state();
    auto stream = OpenSourceStream(s.callback, element.fileName.c_str());
    std::string text;
    if (!stream->is_open() || !stream->ReadAll(text)) {
        Message::Error(veri_msg::OpenFailed, nullptr, "cannot open file '%s'", element.fileName.c_str());
        return false;
    }
    std::vector<VeriToken> tokens;
    tokens.reserve(text.size() / 4 + 16);
    std::unique_ptr<VeriPreprocessor> own;
    if (text.find('`') == std::string::npos) {
        VeriLexer lexer(text, {VeriTextOrigin{0, LineFile::GetFileId(element.fileName), 1, 1}});
        lexer.setKeywordSet(keywordSetOf(element.language));
        lexer.setIgnoreTranslateOff(s.ignoreTranslateOff);
        for (VeriToken t = lexer.lex(); t.kind != VT_EOF; t = lexer.lex())
            if (t.kind != VT_ERROR)
                tokens.push_back(t);
    } else {
        VeriPreprocessor* pp;
        if (hdl_file_sort::_default_compilation_unit_mode) {
            if (!s.sharedUnit)
                s.sharedUnit = newPreprocessor(element.language);
            pp = s.sharedUnit.get();
        } else {
            own = newPreprocessor(element.language);
            pp = own.get();
        }
        pp->pushText(std::move(text), element.fileName);
        for (VeriToken t = pp->next(); t.kind != VT_EOF; t = pp->next())
            tokens.push_back(t);
    }
    tokens.push_back(VeriToken{});
    veriSkimTokens(tokens, element);
    return true;
}

bool readVhdl(FileElement& element) {
    SortState& s = state();
    std::string text;
    {
        auto stream = OpenSourceStream(s.callback, element.fileName.c_str());
        if (!stream->is_open() || !stream->ReadAll(text)) {
            Message::Error(vhdl_msg::kCannotOpen, nullptr, "cannot open file '%s'", element.fileName.c_str());
            return false;
        }
    }
    uint32_t fileId = LineFile::GetFileId(element.fileName);
    if (std::memchr(text.data(), '\0', std::min<size_t>(text.size(), 1 << 16))) {
        ColLineFile loc(fileId, 1, 1);
        Message::Error(vhdl_msg::kBinaryInput, &loc, "'%s' is not a text file", element.fileName.c_str());
        return false;
    }
    VhdlLexer lexer(text, fileId, element.language);
    lexer.SetIgnorePragmas(s.ignoreTranslateOff);
    std::vector<VhdlTok> tokens = lexer.Tokenize();
    vhdlSkimTokens(text, tokens, element);
    return true;
}

bool readElement(FileElement& element) {
    state().librariesResolved = false;
    return isVhdl(element.language) ? readVhdl(element) : readVerilog(element);
}

// Verilog names units without a library, and a VHDL component binds by default to an
// entity wherever one is visible: a "work" reference to a unit that the file's own
// library lacks goes to the first library, in registration order, that declares it.
void resolveLibraries() {
    SortState& s = state();
    std::map<std::string, std::set<std::string>> declared; // library -> lower-cased names
    std::vector<std::string> libraryOrder;
    for (const auto& e : s.elements) {
        std::string lib = lower(e->libraryName);
        if (!declared.count(lib))
            libraryOrder.push_back(lib);
        for (const std::string& name : e->declaredNames)
            declared[lib].insert(lower(name));
    }
    auto retarget = [&](SortReference& r, const std::string& ownLib, bool verilog) {
        if (r.unitName.empty() || lower(r.libraryName) != "work" || (!verilog && !(r.flags & SORT_REF_WEAK)))
            return;
        std::string unit = lower(r.unitName);
        if (declared[ownLib].count(unit))
            return;
        for (const std::string& lib : libraryOrder)
            if (declared[lib].count(unit)) {
                r.libraryName = lib;
                return;
            }
    };
    for (auto& e : s.elements) {
        std::string ownLib = lower(e->libraryName);
        bool verilog = !isVhdl(e->language);
        for (SortReference& r : e->references)
            retarget(r, ownLib, verilog);
        for (SortUnit& u : e->units)
            for (SortReference& r : u.instances)
                retarget(r, ownLib, verilog);
    }
    s.librariesResolved = true;
}

} // namespace

void hdl_file_sort::AddIncludeDir(const char* dir) {
    if (dir && *dir)
        state().includeDirs.emplace_back(dir);
}

void hdl_file_sort::DefineCmdLineMacro(const char* name, const char* value) {
    if (!name || !*name)
        return;
    std::string def = name;
    if (value)
        def += std::string("=") + value;
    state().defines.push_back(std::move(def));
}

bool hdl_file_sort::RegisterFile(const char* file, const char* library, unsigned mode, unsigned when) {
    SortState& s = state();
    auto element = std::make_unique<FileElement>();
    element->fileName = file ? file : "";
    element->libraryName = library ? library : "";
    element->language = mode & 0x7fffffffu;
    auto known = s.byName.emplace(element->libraryName + "\n" + element->fileName, s.elements.size());
    size_t index = known.first->second;
    if (known.second)
        s.elements.push_back(std::move(element));
    else
        s.elements[index] = std::move(element);
    if (when != 2) {
        s.pending.push_back(index);
        return true;
    }
    return readElement(*s.elements[index]);
}

bool hdl_file_sort::FileAt(unsigned index, const FileElement** element) {
    SortState& s = state();
    for (size_t k : s.pending)
        readElement(*s.elements[k]);
    s.pending.clear();
    if (!s.librariesResolved)
        resolveLibraries();
    if (index >= s.elements.size())
        return false;
    *element = s.elements[index].get();
    return true;
}

unsigned hdl_file_sort::FileCount() { return static_cast<unsigned>(state().elements.size()); }

void hdl_file_sort::RegisterFlexStreamCallBack(StreamCallBack callback) { state().callback = callback; }

StreamCallBack hdl_file_sort::GetFlexStreamCallBack() { return state().callback; }

void hdl_file_sort::SetIgnoreTranslateOff(bool ignore) { state().ignoreTranslateOff = ignore; }

void hdl_file_sort::Reset() {
    state() = SortState{};
    _default_compilation_unit_mode = 0;
}

} // namespace hdl
