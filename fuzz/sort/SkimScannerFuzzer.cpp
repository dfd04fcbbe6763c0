// Differential fuzzing of the skim's scanners: whatever text a scanner accepts must give
// exactly the tokens of the front-end's own path (the preprocessor for Verilog, the
// lexer for VHDL), and a scanner reports nothing. The first byte picks the language;
// for Verilog the input after the first NUL byte pair becomes the text of "inc.svh",
// which the main text can include, so includes and macros meet each other. Where the
// parser reads SystemVerilog text without error, the skim's references must cover the
// scopes the tree names; where it reads VHDL text without error, the packages its
// expanded names name.
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/sort/VeriSkim.h"
#include "hdl/sort/VeriSkimScanner.h"
#include "hdl/sort/VhdlSkim.h"
#include "hdl/sort/VhdlSkimScanner.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriPackageNames.h"
#include "hdl/sv/VeriPreprocessor.h"
#include "hdl/vhdl/VhdlLexer.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlPackageNames.h"

namespace {

size_t messages = 0;

void references(std::vector<hdl::VeriSkimToken> tokens, const std::string& text, const std::string& name);

void countMessage(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) { ++messages; }

const std::string& workDir() {
    static const std::string dir = [] {
        char pattern[] = "/tmp/skim_fuzz_XXXXXX";
        const char* made = ::mkdtemp(pattern);
        return std::string(made ? made : "/tmp");
    }();
    return dir;
}

void verilog(std::string text, bool sv, bool ignoreTranslateOff) {
    size_t split = text.find(std::string("\0\0", 2));
    std::string include = split == std::string::npos ? std::string() : text.substr(split + 2);
    if (split != std::string::npos) text.resize(split);
    std::ofstream(workDir() + "/inc.svh", std::ios::binary) << include;
    std::string name = workDir() + "/fuzz.sv";

    hdl::VeriPreprocessorOptions ppOptions;
    ppOptions.language = sv ? 5 : 2;
    ppOptions.ignoreTranslateOff = ignoreTranslateOff;
    ppOptions.defines = {"FUZZ", "W=8"};
    hdl::VeriPreprocessor pp(ppOptions);
    hdl::VeriSkimScanOptions options;
    options.keywordSet = pp.keywordSet();
    options.ignoreTranslateOff = ignoreTranslateOff;
    options.preprocess = true;
    options.predefined = &pp.macros();
    options.fileName = name;
    static hdl::VeriSkimIncludeCache cache; // effects carry from input to input, as from file to file
    options.includeCache = &cache;
    std::vector<hdl::VeriSkimToken> fast;
    std::deque<std::string> texts;
    messages = 0;
    bool scanned = hdl::veriSkimScan(text, options, fast, texts);
    if (messages) __builtin_trap();
    if (!scanned) return;
    pp.pushText(text, name);
    size_t i = 0;
    for (hdl::VeriToken t = pp.next(); t.kind != hdl::VT_EOF; t = pp.next(), ++i)
        if (i >= fast.size() || fast[i].kind != t.kind || fast[i].text() != t.text) __builtin_trap();
    if (i != fast.size() || messages) __builtin_trap();
    if (sv) references(fast, text, name);
}

size_t parseErrors = 0;

void countParseError(hdl::msg_type_t type, const char*, const hdl::ColLineFile*, const char*, va_list) {
    if (type == hdl::MSG_ERROR) ++parseErrors;
}

// Where the full parse reads the text without error, every scope its tree names
// (`pkg::x`, `import pkg::*`) must be a reference of the skim, or the skim's order could
// put the package after its user.
void references(std::vector<hdl::VeriSkimToken> tokens, const std::string& text, const std::string& name) {
    tokens.emplace_back(hdl::VT_EOF, std::string_view());
    hdl::FileElement element;
    hdl::veriSkimTokens(tokens, element);
    hdl::veri_file::Reset();
    hdl::veri_file::DefineMacro("FUZZ");
    hdl::veri_file::DefineMacro("W=8");
    hdl::veri_file::AddIncludeDir(workDir().c_str());
    parseErrors = 0;
    hdl::Message::RegisterCallBackMsg(countParseError);
    hdl::veri_file::AnalyzeText(text, name.c_str());
    hdl::Message::RegisterCallBackMsg(countMessage);
    if (parseErrors == 0)
        for (hdl::VeriLibrary* lib : hdl::veri_file::AllLibraries())
            for (hdl::VeriModule* m : lib->AllModules())
                for (const std::string& scope : hdl::VeriScopesNamed(*m)) {
                    bool found = false;
                    for (const hdl::SortReference& r : element.references) found |= r.unitName == scope;
                    if (!found) __builtin_trap();
                }
    hdl::veri_file::Reset();
}

// Where the full parse reads the VHDL text without error, every package that an
// expanded name of its tree names must be a reference of the skim.
void vhdlReferences(const std::vector<hdl::VhdlSkimToken>& tokens, const std::string& text, unsigned mode,
                    bool ignorePragmas) {
    hdl::FileElement element;
    hdl::vhdlSkimTokens(text, tokens, element);
    hdl::vhdl_file::Reset();
    hdl::vhdl_file::SetIgnoreTranslateOff(ignorePragmas);
    parseErrors = 0;
    hdl::Message::RegisterCallBackMsg(countParseError);
    hdl::vhdl_file::AnalyzeText(text, "fuzz.vhd", "work", mode);
    hdl::Message::RegisterCallBackMsg(countMessage);
    if (parseErrors == 0)
        for (hdl::VhdlLibrary* lib : hdl::vhdl_file::AllLibraries())
            for (hdl::VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
                std::vector<hdl::VhdlDesignUnit*> units{p};
                for (hdl::VhdlSecondaryUnit* s : p->GetSecondaryUnits()) units.push_back(s);
                for (hdl::VhdlDesignUnit* unit : units)
                    for (const auto& [library, package] : hdl::VhdlExpandedPackages(*unit)) {
                        bool found = false;
                        for (const hdl::SortReference& r : element.references)
                            found |= r.libraryName == library && r.unitName == package;
                        if (!found) __builtin_trap();
                    }
            }
    hdl::vhdl_file::Reset();
}

void vhdl(const std::string& text, unsigned mode, bool ignorePragmas) {
    std::vector<hdl::VhdlSkimToken> fast;
    messages = 0;
    bool scanned = hdl::vhdlSkimScan(text, mode, ignorePragmas, fast);
    if (messages) __builtin_trap();
    if (!scanned) return;
    hdl::VhdlLexer lexer(text, 0, mode);
    lexer.SetIgnorePragmas(ignorePragmas);
    std::vector<hdl::VhdlTok> full = lexer.Tokenize();
    if (full.size() != fast.size() || messages) __builtin_trap();
    for (size_t i = 0; i < full.size(); ++i)
        if (full[i].kind != fast[i].kind || full[i].begin != fast[i].begin || full[i].end != fast[i].end)
            __builtin_trap();
    vhdlReferences(fast, text, mode, ignorePragmas);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    hdl::Message::RegisterCallBackMsg(countMessage);
    std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    bool flag = (data[0] & 0x80) != 0;
    switch (data[0] % 4) {
    case 0: verilog(std::move(text), true, flag); break;
    case 1: verilog(std::move(text), false, flag); break;
    case 2: vhdl(text, hdl::VHDL_93, flag); break;
    default: vhdl(text, hdl::VHDL_2008, flag); break;
    }
    return 0;
}
