// Names that nothing declares: an item a use clause names in a package, the type mark of
// an object. Written cases beside their legal forms, then one-word typos made in the
// files of a real VHDL-2008 project, analysed after the standard packages.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "VhdlTestUtil.h"
#include "hdl/vhdl/VhdlLibrary.h"

using namespace hdl;

namespace {

const std::string kData = std::string(SIFT_SOURCE_DIR) + "/data/vhdl/src";

bool exists(const std::string& path) { return std::ifstream(path).good(); }

// std and the IEEE packages of VHDL-2008, declarations only.
bool loadStandard() {
    test::MessageCapture quiet;
    vhdl_file::Reset();
    if (!exists(kData + "/std_2008/standard.vhd")) return false;
    for (const char* f : {"standard.vhd", "textio.vhd", "env.vhd"})
        vhdl_file::Analyze((kData + "/std_2008/" + f).c_str(), "std", VHDL_2008);
    for (const char* f : {"std_logic_1164.vhdl", "std_logic_textio.vhdl", "numeric_bit.vhdl", "numeric_std.vhdl",
                          "numeric_bit_unsigned.vhdl", "numeric_std_unsigned.vhdl", "math_real.vhdl",
                          "math_complex.vhdl", "fixed_float_types.vhdl", "fixed_generic_pkg.vhdl", "fixed_pkg.vhdl",
                          "float_generic_pkg.vhdl", "float_pkg.vhdl", "ieee_bit_context.vhdl", "ieee_std_context.vhdl"})
        vhdl_file::Analyze((kData + "/ieee_2008/" + f).c_str(), "ieee", VHDL_2008);
    return true;
}

std::string analyzeText(const std::string& text) {
    test::MessageCapture capture;
    vhdl_file::AnalyzeText(text, "test.vhd", "work", VHDL_2008);
    return capture.Errors();
}

TEST(VhdlNameCheck, UsedItemsAndTypeMarks) {
    if (!loadStandard()) GTEST_SKIP() << "standard packages not arranged in data/";
    EXPECT_EQ(
        analyzeText("context ctx is library ieee; use ieee.numeric_std.unsigned; end context;\n"
                    "library ieee; use ieee.std_logic_1164.std_logic_vector; use ieee.numeric_std.all;\n"
                    "entity e is generic (W : natural := 4; type T); port (a : in std_logic_vector(W-1 downto 0));\n"
                    "end;\narchitecture rtl of e is\n  signal s : unsigned(3 downto 0); signal tv : T;\n"
                    "  subtype nib is bit_vector(3 downto 0); constant c : nib := x\"3\";\nbegin\nend;\n"),
        "");
    EXPECT_EQ(analyzeText("library ieee; use ieee.numeric_std.no_such_item;\n"
                          "context ctx is library ieee; use ieee.numeric_std.unsignd; end context;\n"
                          "entity e is end;\n"),
              "1: test.vhd: 'no_such_item' is not declared in package 'numeric_std'\n"
              "2: test.vhd: 'unsignd' is not declared in package 'numeric_std'\n");
    EXPECT_EQ(analyzeText(
                  "library ieee; use ieee.std_logic_1164.all;\nentity e is port (a : in std_logic_vectr(1 downto 0));\n"
                  "end;\narchitecture rtl of e is\n  signal s : no_such_type;\n"
                  "  constant c : resolved std_ulogc := '0';\nbegin\nend;\n"),
              "2: test.vhd: type 'std_logic_vectr' is not declared\n5: test.vhd: type 'no_such_type' is not declared\n"
              "6: test.vhd: type 'std_ulogc' is not declared\n");
    // A unit that uses what the run lacks may take its types from there: not judged.
    EXPECT_EQ(analyzeText("library vendor; use vendor.cells.all;\nentity e is end;\n"
                          "architecture rtl of e is signal s : cell_t; begin end;\n"),
              "");
    vhdl_file::Reset();
}

// Every kind of name an analyser must find, legal: literals and units, attributes,
// implicit operations, record elements and methods after an object, expanded names,
// aliases, labels, loop parameters, formals, a protected body calling a method whose
// body follows, and the literals a use clause brings with its type.
const char* const kLegalNames = R"(library ieee; use ieee.std_logic_1164.all; use ieee.numeric_std.all;
package p is
  type state_t is (IDLE, RUN);
  type rec is record a : integer; b : std_logic; end record;
  constant C : integer := 4;
  function f(x : integer) return integer;
  type pt is protected
    procedure put(v : integer);
    impure function get return integer;
  end protected;
  type ptr is access integer;
  type int_file is file of integer;
end;
package body p is
  function f(x : integer) return integer is begin return x + C; end;
  type pt is protected body
    variable val : integer := 0;
    procedure put(v : integer) is begin val := v + get; end;
    impure function get return integer is begin return val; end;
  end protected body;
end;
package gp is generic (W : natural); constant K : natural := W; end;
package gi is new work.gp generic map (W => 3);
library ieee; use ieee.std_logic_1164.all;
entity leaf is generic (N : natural := 1); port (a : in std_logic; y : out std_logic); end;
architecture rtl of leaf is begin y <= a; end;
library ieee; use ieee.std_logic_1164.all; use ieee.numeric_std.all;
use work.p.state_t; use work.p.rec; use work.p.f; use work.p.ptr; use work.p.int_file;
entity e is generic (W : natural := 8); port (clk : in std_logic; d : in unsigned(W-1 downto 0)); end;
architecture rtl of e is
  component leaf is generic (N : natural := 1); port (a : in std_logic; y : out std_logic); end component;
  signal st : state_t := IDLE;
  signal r : rec;
  signal v : std_logic_vector(d'range) := (others => '0');
  constant T : time := 10 ns + work.p.C * 1 ps;
  constant K : natural := work.gi.K + ieee.numeric_std.to_integer(to_unsigned(f(2), 4));
  alias top_bit : std_logic is v(v'high);
  shared variable sv : work.p.pt;
begin
  u : leaf generic map (N => W) port map (a => clk, y => open);
  lbl : process (clk)
    variable q : ptr := new integer'(1);
    file fh : int_file;
    variable x : integer;
  begin
    if rising_edge(clk) and st = RUN and r.a = minimum(1, 2) then
      for i in d'length - 1 downto 0 loop
        exit when i = 0;
        x := to_integer(d(i downto 0)) + sv.get;
      end loop;
      outer : loop exit outer; end loop outer;
      deallocate(q);
      if not endfile(fh) then read(fh, x); end if;
      st <= IDLE; r <= (a => 1, b => top_bit);
      report to_string(st) & state_t'image(st) & lbl'path_name;
    end if;
  end process;
end;
)";

TEST(VhdlNameCheck, NamesOfExpressionsAndStatements) {
    if (!loadStandard()) GTEST_SKIP() << "standard packages not arranged in data/";
    EXPECT_EQ(analyzeText(kLegalNames), "");
    // One mistake of each kind, in the places a name can stand.
    EXPECT_EQ(analyzeText(std::string(kLegalNames) +
                          "library ieee; use ieee.std_logic_1164.all; use work.p.all;\n"
                          "entity bad is port (clk : in std_logic); end;\n"
                          "architecture rtl of bad is\n"
                          "  component leaf is port (a : in std_logic; y : out std_logic); end component;\n"
                          "  constant C2 : integer := CC + f(1);\n"
                          "  signal s : std_logic_vector(3 downto 0) := (others => zero);\n"
                          "  constant T : time := 10 nss;\n"
                          "begin\n"
                          "  u : leaf port map (a => clkk, y => open);\n"
                          "  process (clk) variable x : integer; begin\n"
                          "    if rising_edge(clk) and s(0) = '1' and st = IDLEE then\n"
                          "      for i in 0 to 3 loop x := j + g(i) + work.p.CX + s'lenght; exit lbll; end loop;\n"
                          "      no_such_proc(x); s(0) <= r.anything;\n"
                          "    end if;\n"
                          "  end process;\n"
                          "end;\n"),
              "63: test.vhd: 'CC' is not declared\n"
              "64: test.vhd: 'zero' is not declared\n"
              "65: test.vhd: 'nss' is not declared\n"
              "67: test.vhd: 'clkk' is not declared\n"
              "69: test.vhd: 'st' is not declared\n"
              "69: test.vhd: 'IDLEE' is not declared\n"
              "70: test.vhd: 'j' is not declared\n"
              "70: test.vhd: 'g' is not declared\n"
              "70: test.vhd: 'CX' is not declared in package 'p'\n"
              "70: test.vhd: attribute 'lenght' is not declared\n"
              "70: test.vhd: 'lbll' is not declared\n"
              "71: test.vhd: 'no_such_proc' is not declared\n"
              "71: test.vhd: 'r' is not declared\n");
    // A file whose parse failed is judged on use clauses and type marks alone.
    EXPECT_EQ(analyzeText("entity e2 is end;\narchitecture rtl of e2 is\n  signal s : bit := nothing;\n"
                          "begin\n  s <= ;\nend;\n")
                  .find("'nothing' is not declared"),
              std::string::npos);
    vhdl_file::Reset();
}

struct Variant {
    std::string file;
    size_t at; // offset of the name in the file's text
    std::string name;
    unsigned line;
};

TEST(VhdlNameCheck, OneWordTyposInCorpusFilesAreReported) {
    const std::string dir = std::string(SIFT_SHARED_DIR) + "/corpus/osvvm";
    std::ifstream list(dir + "/FILELIST.tsv");
    if (!list || !loadStandard()) GTEST_SKIP() << "osvvm or the standard packages not present";
    std::vector<std::string> files;
    for (std::string line; std::getline(list, line);) {
        std::istringstream cols(line);
        std::string lang, lib, path;
        std::getline(cols, lang, '\t');
        std::getline(cols, lib, '\t');
        std::getline(cols, path, '\t');
        if (lang == "vhdl08" && lib == "osvvm") files.push_back(dir + "/" + path);
    }
    // Sites: `use work.p.item ;` and `signal|constant|variable name : Type`, written out.
    const std::regex useItem(R"(\buse\s+work\.\w+\.(\w+)\s*;)", std::regex::icase);
    const std::regex object(R"(\b(?:signal|constant|variable)\s+\w+\s*:\s*(\w+))", std::regex::icase);
    // Units that use an instantiated package are not judged (what an instance declares,
    // analysis does not list): their files are left out.
    auto read = [](const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    };
    std::vector<std::string> instances;
    const std::regex instance(R"(\bpackage\s+(\w+)\s+is\s+new\b)", std::regex::icase);
    for (const std::string& file : files) {
        std::string text = read(file);
        for (auto it = std::sregex_iterator(text.begin(), text.end(), instance); it != std::sregex_iterator(); ++it)
            instances.push_back(it->str(1));
    }
    std::map<std::string, std::pair<unsigned, unsigned>> tally; // kind: tried, reported
    for (size_t f = 0; f < files.size(); ++f) {
        std::string text = read(files[f]);
        bool usesInstance = std::any_of(instances.begin(), instances.end(), [&](const std::string& i) {
            return std::regex_search(text, std::regex("use\\s+work\\." + i + "\\.", std::regex::icase));
        });
        if (usesInstance) continue;
        std::map<std::string, std::vector<Variant>> sites;
        for (auto [kind, re] :
             {std::pair<const char*, const std::regex*>{"use item", &useItem}, {"type mark", &object}})
            for (auto it = std::sregex_iterator(text.begin(), text.end(), *re); it != std::sregex_iterator(); ++it) {
                size_t at = size_t(it->position(1));
                std::string word = it->str(1);
                std::transform(word.begin(), word.end(), word.begin(), ::tolower);
                if (word == "in" || word == "out" || word == "inout" || word == "buffer" || word == "linkage") continue;
                // Not in a comment.
                size_t lineStart = text.rfind('\n', at);
                lineStart = lineStart == std::string::npos ? 0 : lineStart + 1;
                if (text.substr(lineStart, at - lineStart).find("--") != std::string::npos) continue;
                unsigned line = 1 + unsigned(std::count(text.begin(), text.begin() + long(at), '\n'));
                if (sites[kind].size() < 2) sites[kind].push_back({files[f], at, it->str(1), line});
            }
        for (const auto& [kind, list] : sites)
            for (const Variant& v : list) {
                std::string variant = text;
                variant.insert(v.at + v.name.size(), "_q");
                vhdl_file::Reset();
                loadStandard();
                test::MessageCapture capture;
                for (size_t g = 0; g < f; ++g) vhdl_file::Analyze(files[g].c_str(), "osvvm", VHDL_2008);
                ASSERT_EQ(capture.Errors(), "") << "before " << v.file;
                vhdl_file::AnalyzeText(variant, v.file.c_str(), "osvvm", VHDL_2008);
                bool reported = false;
                for (const test::CapturedMessage& m : capture.All())
                    reported |= m.type == MSG_ERROR && m.id == "VHDL-1506" && m.line == v.line &&
                                m.text.find(v.name + "_q") != std::string::npos;
                ++tally[kind].first;
                tally[kind].second += reported;
                EXPECT_TRUE(reported) << v.file << ":" << v.line << ": " << kind << " " << v.name << "_q";
            }
    }
    vhdl_file::Reset();
    for (const auto& [kind, counts] : tally)
        std::printf("typos of a %s: %u tried, %u reported\n", kind.c_str(), counts.first, counts.second);
    EXPECT_GT(tally["use item"].first, 0u);
    EXPECT_GT(tally["type mark"].first, 10u);
}

// The first name of the value of an assignment or initial value (`x <= name ...`,
// `v := name(...)`) misspelt, in each microwatt file: every such typo is told at its
// line, as `ghdl -a` tells "no declaration for".
TEST(VhdlNameCheck, TyposInExpressionsOfCorpusFilesAreReported) {
    const std::string dir = std::string(SIFT_SHARED_DIR) + "/corpus/microwatt";
    std::ifstream list(dir + "/FILELIST.tsv");
    if (!list || !loadStandard()) GTEST_SKIP() << "microwatt or the standard packages not present";
    std::vector<std::string> files;
    for (std::string line; std::getline(list, line);) {
        std::istringstream cols(line);
        std::string lang, lib, path;
        std::getline(cols, lang, '\t');
        std::getline(cols, lib, '\t');
        std::getline(cols, path, '\t');
        if (lang == "vhdl08") files.push_back(dir + "/" + path);
    }
    const std::regex value(R"((?:<=|:=)\s*([A-Za-z]\w*))");
    const std::regex keyword(
        R"(not|null|others|open|new|abs|and|or|xor|nand|nor|xnor|when|else|unaffected|force|release|transport|reject|inertial)",
        std::regex::icase);
    unsigned tried = 0, reported = 0;
    for (size_t f = 0; f < files.size(); ++f) {
        std::ifstream in(files[f], std::ios::binary);
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::vector<Variant> sites;
        for (auto it = std::sregex_iterator(text.begin(), text.end(), value);
             it != std::sregex_iterator() && sites.size() < 3; ++it) {
            size_t at = size_t(it->position(1));
            // Not a keyword, nor the base of a bit string literal (x"00").
            if (std::regex_match(it->str(1), keyword) || text[at + it->str(1).size()] == '"') continue;
            size_t lineStart = text.rfind('\n', at);
            lineStart = lineStart == std::string::npos ? 0 : lineStart + 1;
            std::string before = text.substr(lineStart, at - lineStart);
            if (before.find("--") != std::string::npos || std::count(before.begin(), before.end(), '"') % 2) continue;
            unsigned line = 1 + unsigned(std::count(text.begin(), text.begin() + long(at), '\n'));
            sites.push_back({files[f], at, it->str(1), line});
        }
        for (const Variant& v : sites) {
            std::string variant = text;
            variant.insert(v.at + v.name.size(), "_q");
            loadStandard();
            test::MessageCapture capture;
            for (size_t g = 0; g < f; ++g) vhdl_file::Analyze(files[g].c_str(), "work", VHDL_2008);
            ASSERT_EQ(capture.Errors(), "") << "before " << v.file;
            vhdl_file::AnalyzeText(variant, v.file.c_str(), "work", VHDL_2008);
            bool told = false;
            for (const test::CapturedMessage& m : capture.All()) {
                if (m.type != MSG_ERROR) continue;
                bool expected =
                    m.id == "VHDL-1506" && m.line == v.line && m.text.find(v.name + "_q") != std::string::npos;
                told |= expected;
                EXPECT_TRUE(expected) << v.file << ":" << m.line << ": " << m.text;
            }
            ++tried;
            reported += told;
            EXPECT_TRUE(told) << v.file << ":" << v.line << ": " << v.name << "_q";
        }
    }
    vhdl_file::Reset();
    std::printf("typos in expressions: %u tried, %u reported\n", tried, reported);
    EXPECT_GT(tried, 50u);
}

} // namespace
