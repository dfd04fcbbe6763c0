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
                    "end;\narchitecture rtl of e is\n  signal s : unsigned(3 downto 0); signal t : T;\n"
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

} // namespace
