// The skim's scanner must give the very tokens that the lexer (text without a
// backquote) or the preprocessor (text with one) give, or leave the file to the
// preprocessor. Checked on written cases and on every Verilog file of the corpus and
// the conformance tests.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unordered_set>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/sort/VeriSkimScanner.h"
#include "hdl/sv/VeriLexer.h"
#include "hdl/sv/VeriPreprocessor.h"

namespace fs = std::filesystem;
using namespace hdl;

namespace {

const std::string kShared = std::string(SIFT_SOURCE_DIR) + "/../shared";

size_t& messageCount() {
    static size_t count = 0;
    return count;
}

void count(msg_type_t, const char*, const ColLineFile*, const char*, va_list) { ++messageCount(); }

// "" when both streams agree, else where they part.
std::string firstDifference(const std::vector<VeriSkimToken>& a, const std::vector<VeriSkimToken>& b) {
    for (size_t i = 0; i < a.size() || i < b.size(); ++i) {
        auto show = [&](const std::vector<VeriSkimToken>& t) {
            return i < t.size() ? std::to_string(t[i].kind) + " '" + std::string(t[i].text()) + "'" : "end";
        };
        if (i >= a.size() || i >= b.size() || a[i].kind != b[i].kind || a[i].text() != b[i].text())
            return "token " + std::to_string(i) + ": " + show(a) + " vs " + show(b);
    }
    return "";
}

// What the pre-scanner read before it had a scanner of its own.
std::vector<VeriSkimToken> reference(const std::string& text, VeriKeywordSet lexerSet, VeriPreprocessor& pp) {
    std::vector<VeriSkimToken> tokens;
    if (text.find('`') == std::string::npos) {
        VeriLexer lexer(text, {VeriTextOrigin{}});
        lexer.setKeywordSet(lexerSet);
        for (VeriToken t = lexer.lex(); t.kind != VT_EOF; t = lexer.lex())
            if (t.kind != VT_ERROR)
                tokens.push_back(VeriSkimToken{t.kind, t.text});
        return tokens;
    }
    pp.pushText(text, "text.sv");
    for (VeriToken t = pp.next(); t.kind != VT_EOF; t = pp.next())
        tokens.push_back(VeriSkimToken{t.kind, t.text});
    return tokens;
}

class VeriSkimScannerTest : public ::testing::Test {
protected:
    void SetUp() override {
        Message::RegisterCallBackMsg(count);
        messageCount() = 0;
    }
    void TearDown() override { Message::RegisterCallBackMsg(nullptr); }

    // Scans `text` both ways under language `lang`; true when the scanner read it.
    bool same(const std::string& text, unsigned lang = 5, std::vector<std::string> defines = {}) {
        VeriPreprocessorOptions ppOptions;
        ppOptions.language = lang;
        ppOptions.defines = defines;
        VeriPreprocessor pp(ppOptions);
        std::unordered_set<std::string_view> predefined;
        for (const VeriMacro* m : pp.macros().definedMacros())
            predefined.insert(m->name);
        bool backquote = text.find('`') != std::string::npos;
        VeriSkimScanOptions options;
        options.keywordSet = backquote ? pp.keywordSet() : lexerSet(lang);
        options.preprocess = backquote;
        options.predefined = &predefined;
        std::vector<VeriSkimToken> fast;
        bool scanned = veriSkimScan(text, options, fast);
        size_t before = messageCount();
        std::vector<VeriSkimToken> full = reference(text, lexerSet(lang), pp);
        if (scanned) {
            EXPECT_EQ(firstDifference(fast, full), "") << text.substr(0, 200);
            EXPECT_EQ(messageCount(), before) << "a message the scanner did not leave to the preprocessor";
        }
        reported = messageCount() > before;
        return scanned;
    }
    bool reported = false; // the full path gave a message on the last text

    static VeriKeywordSet lexerSet(unsigned lang) {
        return lang == 1 ? VERI_KW_1995
               : lang == 2 ? VERI_KW_2001
               : lang == 3 ? VERI_KW_SV2005
               : lang == 4 ? VERI_KW_SV2009
                           : VERI_KW_SV2012;
    }
};

TEST_F(VeriSkimScannerTest, LiteralsOperatorsAndCommentsTokeniseAsTheLexerDoes) {
    const char* cases[] = {
        "module m; assign a = 8'hFF + 4 'b10_x? + 'sd5 + '0 + 1.5e-3 + 10ns + 1step + 2'b 1; endmodule",
        "always @(*) x = y; always @( * ) z = (* full *) w; initial a <= b::c; assign p = '{1, 2};",
        "a[i+:4] b[j-:2] c ::= d :/ e : /*c*/ f : // x\n g ## h #-# i #=# j .* k ->> l <<<= m !=? n",
        "\\esc$name  u(); \\x; $display(\"str \\\" // not a comment\"); $ $x",
        "// synopsys translate_off\n module hidden; endmodule\n// synopsys translate_on\nmodule shown; endmodule",
        "/* pragma translate_off */ x /* pragma translate_on */ y ~ c ^~ d ~^ e",
    };
    for (const char* text : cases)
        for (unsigned lang : {1u, 2u, 5u})
            EXPECT_TRUE(same(text, lang)) << text;
}

TEST_F(VeriSkimScannerTest, ConditionalsAndDefinitionsFollowThePreprocessor) {
    const char* cases[] = {
        "`ifdef A module a; endmodule `elsif B module b; endmodule `else module c; endmodule `endif",
        "`define A\n`ifdef A x `ifndef B y `else z `endif `endif `undef A `ifdef A w `endif",
        "`define F(a, b = 2) a + \\\n b // tail \\\n still\nmodule m; `ifdef F in `endif endmodule",
        "`define S \"a // b\" /* c \n d */ e\n`ifdef S s `endif",
        "`timescale 1ns / 1ps // t\n`default_nettype none\n`celldefine module m; endmodule `endcelldefine `resetall",
        "`ifdef SV_COV_START cov `endif `ifdef CMD cmd `endif tail",
        "`ifdef A /* `else */ \"`else\" // `else\n `else shown `endif `delay_mode_path rest\nnext",
        "`ifdef /* name follows */ A x `endif `unconnected_drive pull1 `nounconnected_drive",
    };
    for (const char* text : cases)
        for (unsigned lang : {2u, 5u})
            EXPECT_TRUE(same(text, lang, {"CMD=1"})) << text;
}

TEST_F(VeriSkimScannerTest, WhatOnlyThePreprocessorDoesOrReportsIsLeftToIt) {
    for (const char* text : {"`include \"x.svh\"", "`define M 1\nassign a = `M;", "`line 3 \"f\" 0\n",
                             "`begin_keywords \"1364-1995\" logic `end_keywords", "`pragma protect begin",
                             "`__LINE__", "`undefineall"})
        EXPECT_FALSE(same(text)) << text;
    // Text the lexer or the preprocessor complains about: they are to say so.
    for (const char* text : {"a \x01\x02 b", "x = 3'h;", "\\ y", "s = \"open\n;", "/* open", "a ` b",
                             "// synopsys translate_off\n never on", "`else x", "`ifdef A `else `else `endif",
                             "`ifdef A", "`define `define", "`define D 1\n`define D 2", "`timescale 1ns",
                             "`timescale 1ps/1ns", "`default_nettype wiry", "`unconnected_drive pull2",
                             "module m; `resetall endmodule", "`define F(a x"}) {
        EXPECT_FALSE(same(text)) << text;
        EXPECT_TRUE(reported) << text;
    }
    // The macro use sits in a branch not taken: nothing needs the preprocessor.
    EXPECT_TRUE(same("`ifdef NOPE `M `include \"x\" `endif module m; endmodule"));
}

// Every Verilog file of the corpus and of the conformance tests, in the languages its
// list gives (the conformance tests as SystemVerilog).
TEST_F(VeriSkimScannerTest, CorpusAndConformanceFilesTokeniseAlike) {
    std::vector<std::pair<std::string, unsigned>> files;
    for (const char* project : {"common_cells", "cv32e40p", "picorv32", "poc", "serv", "osvvm"}) {
        fs::path dir = fs::path(kShared) / "corpus" / project;
        std::ifstream in(dir / "FILELIST.tsv");
        for (std::string line; std::getline(in, line);) {
            std::vector<std::string> cols;
            std::stringstream ss(line);
            for (std::string c; std::getline(ss, c, '\t');)
                cols.push_back(c);
            if (cols.size() == 3 && (cols[0] == "sv" || cols[0] == "v2k"))
                files.emplace_back((dir / cols[2]).string(), cols[0] == "sv" ? 5u : 2u);
        }
    }
    fs::path conformance = fs::path(kShared) / "conformance" / "sv-tests";
    if (fs::exists(conformance))
        for (const auto& entry : fs::recursive_directory_iterator(conformance))
            if (entry.path().extension() == ".sv" || entry.path().extension() == ".v")
                files.emplace_back(entry.path().string(), 5u);
    if (files.empty())
        GTEST_SKIP() << "no corpus under " << kShared;
    size_t scanned = 0;
    for (const auto& [path, lang] : files) {
        std::ifstream in(path, std::ios::binary);
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        SCOPED_TRACE(path);
        scanned += same(text, lang) ? 1 : 0;
    }
    // Most files need no include or macro use.
    EXPECT_GT(scanned, files.size() / 2);
}

} // namespace
