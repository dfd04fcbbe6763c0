// Corpus gate: every Verilog/SystemVerilog file of each project's file list parses
// without error, read in list order with the list's include directories.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriPrettyPrinter.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::string> gErrors;

void collectErrors(hdl::msg_type_t type, const char* id, const hdl::ColLineFile* loc, const char* format,
                   va_list args) {
    if (type != hdl::MSG_ERROR) return;
    char text[1024];
    vsnprintf(text, sizeof text, format, args);
    const char* file = loc ? hdl::LineFile::GetFileNameFromId(loc->fileId) : nullptr;
    std::ostringstream s;
    s << (file ? file : "?") << ':' << (loc ? loc->leftLine : 0) << ": " << id << ": " << text;
    gErrors.push_back(s.str());
}

unsigned languageCode(const std::string& lang) {
    if (lang == "sv") return hdl::SYSTEM_VERILOG;
    if (lang == "v2k") return hdl::VERILOG_2K;
    if (lang == "v95") return hdl::VERILOG_95;
    return 0;
}

class CorpusGate : public ::testing::TestWithParam<std::string> {};

TEST_P(CorpusGate, EveryVerilogFileParses) {
    fs::path project = fs::path(SIFT_SHARED_DIR) / "corpus" / GetParam();
    std::ifstream list(project / "FILELIST.tsv");
    if (!list) GTEST_SKIP() << "corpus project not present";
    hdl::veri_file::Reset();
    struct Entry {
        unsigned lang;
        std::string library, path;
    };
    std::vector<Entry> entries;
    for (std::string line; std::getline(list, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream cols(line);
        std::string lang, library, path;
        std::getline(cols, lang, '\t');
        std::getline(cols, library, '\t');
        std::getline(cols, path, '\t');
        if (lang == "incdir") hdl::veri_file::AddIncludeDir((project / library).string().c_str());
        else if (unsigned code = languageCode(lang)) entries.push_back({code, library, (project / path).string()});
    }
    if (entries.empty()) GTEST_SKIP() << "no Verilog files in this project";
    gErrors.clear();
    hdl::MsgCallBack previous = hdl::Message::GetCallBackMsg();
    hdl::Message::RegisterCallBackMsg(collectErrors);
    for (const Entry& e : entries) hdl::veri_file::Analyze(e.path.c_str(), e.lang, e.library.c_str());
    hdl::Message::RegisterCallBackMsg(previous);
    size_t units = 0;
    for (hdl::VeriLibrary* lib : hdl::veri_file::AllLibraries()) units += lib->AllModules().size();
    hdl::veri_file::Reset();
    for (const std::string& e : gErrors) ADD_FAILURE() << e;
    EXPECT_GT(units, 0u);
}

// All units of all libraries, printed in order.
std::string printAll() {
    std::string text;
    for (hdl::VeriLibrary* lib : hdl::veri_file::AllLibraries())
        for (hdl::VeriModule* m : lib->AllModules()) text += hdl::VeriPrettyPrinter::toString(*m);
    return text;
}

TEST_P(CorpusGate, PrintedUnitsParseBackToTheSamePrint) {
    fs::path project = fs::path(SIFT_SHARED_DIR) / "corpus" / GetParam();
    std::ifstream list(project / "FILELIST.tsv");
    if (!list) GTEST_SKIP() << "corpus project not present";
    hdl::veri_file::Reset();
    std::vector<std::pair<std::string, unsigned>> files;
    for (std::string line; std::getline(list, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream cols(line);
        std::string lang, library, path;
        std::getline(cols, lang, '\t');
        std::getline(cols, library, '\t');
        std::getline(cols, path, '\t');
        if (lang == "incdir") hdl::veri_file::AddIncludeDir((project / library).string().c_str());
        else if (unsigned code = languageCode(lang)) files.push_back({(project / path).string(), code});
    }
    if (files.empty()) GTEST_SKIP() << "no Verilog files in this project";
    gErrors.clear();
    hdl::MsgCallBack previous = hdl::Message::GetCallBackMsg();
    hdl::Message::RegisterCallBackMsg(collectErrors);
    for (const auto& f : files) hdl::veri_file::Analyze(f.first.c_str(), f.second, "work");
    std::string first = printAll();
    hdl::veri_file::Reset();
    hdl::veri_file::AnalyzeText(first, "printed.sv");
    std::string second = printAll();
    hdl::Message::RegisterCallBackMsg(previous);
    hdl::veri_file::Reset();
    for (const std::string& e : gErrors) ADD_FAILURE() << e;
    EXPECT_EQ(first, second);
}

INSTANTIATE_TEST_SUITE_P(Projects, CorpusGate, ::testing::Values("common_cells", "cv32e40p", "picorv32", "serv"));

} // namespace
