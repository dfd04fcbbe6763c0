// The skim's VHDL scanner must give the lexer's tokens (kind and extent), or leave the
// text to the lexer where the lexer has something to say. Checked on written cases
// and on every VHDL file of the corpus and the conformance tests.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "SortTestFiles.h"
#include "hdl/base/Message.h"
#include "hdl/sort/VhdlSkimScanner.h"
#include "hdl/vhdl/VhdlLexer.h"

namespace fs = std::filesystem;
using namespace hdl;

namespace {

class VhdlSkimScannerTest : public ::testing::Test {
protected:
    void SetUp() override { Message::RegisterCallBackMsg(countSortTestMessage); }
    void TearDown() override { Message::RegisterCallBackMsg(nullptr); }

    // Scans `text` both ways; true when the scanner read it.
    bool same(const std::string& text, unsigned mode = VHDL_2008) {
        std::vector<VhdlSkimToken> fast;
        bool scanned = vhdlSkimScan(text, mode, false, fast);
        size_t before = sortTestMessages();
        VhdlLexer lexer(text, 0, mode);
        std::vector<VhdlTok> full = lexer.Tokenize();
        reported = sortTestMessages() > before;
        if (!scanned) return false;
        EXPECT_FALSE(reported) << "a message the scanner did not leave to the lexer";
        EXPECT_EQ(fast.size(), full.size());
        for (size_t i = 0; i < fast.size() && i < full.size(); ++i) {
            const VhdlSkimToken& a = fast[i];
            const VhdlTok& b = full[i];
            if (a.kind != b.kind || a.begin != b.begin || a.end != b.end) {
                ADD_FAILURE() << "token " << i << ": " << a.kind << " '" << text.substr(a.begin, a.end - a.begin)
                              << "' vs " << b.kind << " '" << text.substr(b.begin, b.end - b.begin) << "'";
                break;
            }
        }
        return true;
    }
    bool reported = false;
};

TEST_F(VhdlSkimScannerTest, TokensMatchTheLexer) {
    const char* cases[] = {
        "library ieee; use ieee.std_logic_1164.all;\nentity e is port (a : in bit); end entity;",
        "x <= 16#FF# + 2#1010.1#E+3 + 8:17: + 1_000.5e-2 + 12UX\"F_0\" + x\"AB\" + B\"\" + 3 ** 2;",
        "c := 'a'; d := e'length; f(1)'high; g := (others => '0'); h := \"a\"\"b\"; \\ext\\\\id\\ <= i;",
        "-- synthesis translate_off\n hidden <= 1;\n-- synthesis translate_on\n shown /* block \n */ ;",
        "a ?= b ?/= c ?< d ?<= e ?> f ?>= g ?? h /= i <> j << k >> l => m := n | o ! p @ q ^ r [ s ] { t }",
        "\xa0 y <= \xc4z; -- a comment with a very_long_first_word\n",
    };
    for (const char* text : cases)
        for (unsigned mode : {unsigned(VHDL_87), unsigned(VHDL_93), unsigned(VHDL_2008)})
            EXPECT_TRUE(same(text, mode)) << text;
}

TEST_F(VhdlSkimScannerTest, DirectivesAndWhatTheLexerReportsAreLeftToIt) {
    EXPECT_FALSE(same("`if TOOL_TYPE = \"SIMULATION\" then\n a `end"));
    for (const char* text : {"-- psl assert always a;", "s := \"open\n;", "/* open", "x := 16#FF;", "a $ b",
                             "-- pragma translate_off\n never on", "e := \\open\n"}) {
        EXPECT_FALSE(same(text)) << text;
        EXPECT_TRUE(reported) << text;
    }
}

TEST_F(VhdlSkimScannerTest, CorpusAndConformanceFilesTokeniseAlike) {
    std::vector<std::pair<std::string, unsigned>> files;
    for (const char* project : {"osvvm", "poc", "common_cells", "cv32e40p", "picorv32", "serv"}) {
        fs::path dir = fs::path(kSharedDir) / "corpus" / project;
        std::ifstream in(dir / "FILELIST.tsv");
        for (std::string line; std::getline(in, line);) {
            std::vector<std::string> cols;
            std::stringstream ss(line);
            for (std::string c; std::getline(ss, c, '\t');) cols.push_back(c);
            if (cols.size() == 3 && cols[0].rfind("vhdl", 0) == 0)
                files.emplace_back((dir / cols[2]).string(), cols[0] == "vhdl93" ? VHDL_93 : VHDL_2008);
        }
    }
    fs::path conformance = fs::path(kSharedDir) / "conformance" / "vhdl-compliance";
    if (fs::exists(conformance))
        for (const auto& entry : fs::recursive_directory_iterator(conformance))
            if (entry.path().extension() == ".vhd" || entry.path().extension() == ".vhdl")
                files.emplace_back(entry.path().string(), VHDL_2008);
    if (files.empty()) GTEST_SKIP() << "no corpus under " << kSharedDir;
    size_t scanned = 0;
    for (const auto& [path, mode] : files) {
        std::ifstream in(path, std::ios::binary);
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        SCOPED_TRACE(path);
        scanned += same(text, mode) ? 1 : 0;
    }
    EXPECT_GT(scanned, files.size() / 2);
}

} // namespace
