// Names declared twice in one region: the completions the language allows beside the
// redeclarations it forbids, then a real file with one signal declaration doubled.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include "VhdlTestUtil.h"
#include "hdl/vhdl/VhdlLibrary.h"

using namespace hdl;

namespace {

std::string analyzeText(const std::string& text) {
    test::MessageCapture capture;
    vhdl_file::AnalyzeText(text, "test.vhd", "work", VHDL_2008);
    return capture.Errors();
}

TEST(VhdlDuplicateCheck, CompletionsAndOverloadsAreNoRedeclarations) {
    vhdl_file::Reset();
    EXPECT_EQ(analyzeText("package dp is\n"
                          "  constant DC : integer;\n"
                          "  type cell;\n"
                          "  type link is access cell;\n"
                          "  type cell is record v : integer; nxt : link; end record;\n"
                          "  function f(a : integer) return integer;\n"
                          "  function f(a : bit) return integer;\n"
                          "  type color is (red, green); type light is (red, amber);\n"
                          "  function red return integer;\n"
                          "  type pt is protected procedure p; end protected;\n"
                          "end;\n"
                          "package body dp is\n"
                          "  constant DC : integer := 3;\n"
                          "  function f(a : integer) return integer is begin return a; end;\n"
                          "  function f(a : bit) return integer is begin return 0; end;\n"
                          "  function red return integer is begin return 1; end;\n"
                          "  type pt is protected body procedure p is begin end; end protected body;\n"
                          "end;\n"
                          "entity de is generic (N : natural := 1); port (a : in bit); end;\n"
                          "architecture rtl of de is\n"
                          "  type lpt is protected procedure p; end protected;\n"
                          "  type lpt is protected body procedure p is begin end; end protected body;\n"
                          "  signal s : bit;\n"
                          "begin\n"
                          "  u1 : process variable s : integer; begin wait; end process;\n"
                          "  g : for i in 0 to N generate signal s : bit; begin end generate;\n"
                          "  b : block signal s : bit; begin end block;\n"
                          "end;\n"),
              "");
    vhdl_file::Reset();
}

TEST(VhdlDuplicateCheck, RedeclarationsInOneRegion) {
    vhdl_file::Reset();
    EXPECT_EQ(analyzeText("package dp2 is\n"
                          "  constant X : integer := 1;\n"
                          "  signal X : bit;\n"
                          "  function g(a : integer) return integer;\n"
                          "  function g(b : integer) return integer;\n"
                          "  type e3 is (a, b, a);\n"
                          "  type r is record f : bit; f : integer; end record;\n"
                          "end;\n"
                          "package body dp2 is\n"
                          "  function g(a : integer) return integer is begin return a; end;\n"
                          "  function g(a : integer) return integer is begin return a; end;\n"
                          "  constant X : integer := 2;\n"
                          "end;\n"
                          "entity de2 is port (a : in bit; a : out bit); end;\n"
                          "architecture rtl of de2 is\n"
                          "  signal a : bit;\n"
                          "  signal t, t : bit;\n"
                          "begin\n"
                          "  p1 : process (t) variable v : bit; variable v : integer; begin end process;\n"
                          "  p1 : process begin wait; end process;\n"
                          "  t : process begin wait; end process;\n"
                          "end;\n"),
              "3: test.vhd: 'X' is already declared in this region\n"
              "5: test.vhd: 'g' is already declared in this region\n"
              "6: test.vhd: 'a' is already declared in this region\n"
              "7: test.vhd: 'f' is already declared in this region\n"
              "11: test.vhd: 'g' is already declared in this region\n"
              "12: test.vhd: 'X' is already declared in this region\n"
              "14: test.vhd: 'a' is already declared in this region\n"
              "16: test.vhd: 'a' is already declared in this region\n"
              "17: test.vhd: 't' is already declared in this region\n"
              "20: test.vhd: 'p1' is already declared in this region\n"
              "21: test.vhd: 't' is already declared in this region\n"
              "19: test.vhd: 'v' is already declared in this region\n");
    vhdl_file::Reset();
}

// Each microwatt file that declares a signal in an architecture, with that declaration
// written twice: the copy is told at its line, as `ghdl -a` tells a redeclaration.
TEST(VhdlDuplicateCheck, DoubledSignalDeclarationsInCorpusFiles) {
    const std::string dir = std::string(SIFT_SHARED_DIR) + "/corpus/microwatt";
    std::ifstream list(dir + "/FILELIST.tsv");
    if (!list) GTEST_SKIP() << "microwatt not present";
    std::vector<std::string> files;
    for (std::string line; std::getline(list, line);) {
        std::istringstream cols(line);
        std::string lang, lib, path;
        std::getline(cols, lang, '\t');
        std::getline(cols, lib, '\t');
        std::getline(cols, path, '\t');
        if (lang == "vhdl08") files.push_back(dir + "/" + path);
    }
    const std::regex signal(R"(\n([ \t]*signal\s+\w+\s*:[^;\n]*;)[^\n]*)", std::regex::icase);
    unsigned tried = 0, reported = 0;
    for (size_t f = 0; f < files.size(); ++f) {
        std::ifstream in(files[f], std::ios::binary);
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::smatch m;
        if (!std::regex_search(text, m, signal)) continue;
        size_t end = size_t(m.position(0) + m.length(0));
        std::string variant = text.substr(0, end) + "\n" + m.str(1) + text.substr(end);
        unsigned line = 2 + unsigned(std::count(text.begin(), text.begin() + long(end), '\n'));
        vhdl_file::Reset();
        test::MessageCapture capture;
        for (size_t g = 0; g < f; ++g) vhdl_file::Analyze(files[g].c_str(), "work", VHDL_2008);
        ASSERT_EQ(capture.Errors(), "") << "before " << files[f];
        vhdl_file::AnalyzeText(variant, files[f].c_str(), "work", VHDL_2008);
        bool told = false;
        for (const test::CapturedMessage& msg : capture.All()) {
            if (msg.type != MSG_ERROR) continue;
            bool expected = msg.id == "VHDL-1507" && msg.line == line;
            told |= expected;
            EXPECT_TRUE(expected) << files[f] << ":" << msg.line << ": " << msg.text;
        }
        ++tried;
        reported += told;
        EXPECT_TRUE(told) << files[f] << ":" << line;
    }
    std::printf("doubled signal declarations: %u tried, %u reported\n", tried, reported);
    EXPECT_GT(tried, 10u);
    vhdl_file::Reset();
}

} // namespace
