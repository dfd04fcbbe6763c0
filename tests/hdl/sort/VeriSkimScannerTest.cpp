// The skim's scanner must give the very tokens that the lexer (text without a
// backquote) or the preprocessor (text with one) give, or leave the file to the
// preprocessor, having reported nothing. Checked on written cases (macros, includes)
// and on every Verilog file of the corpus and the conformance tests.
#include <gtest/gtest.h>

#include <cstdio>
#include <deque>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "SortTestFiles.h"
#include "hdl/base/Message.h"
#include "hdl/sort/VeriSkimScanner.h"
#include "hdl/sv/VeriLexer.h"
#include "hdl/sv/VeriPreprocessor.h"

namespace fs = std::filesystem;
using namespace hdl;

namespace {

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
std::vector<VeriSkimToken> reference(const std::string& text, const std::string& name, VeriKeywordSet lexerSet,
                                     VeriPreprocessor& pp) {
    std::vector<VeriSkimToken> tokens;
    if (text.find('`') == std::string::npos) {
        VeriLexer lexer(text, {VeriTextOrigin{}});
        lexer.setKeywordSet(lexerSet);
        for (VeriToken t = lexer.lex(); t.kind != VT_EOF; t = lexer.lex())
            if (t.kind != VT_ERROR) tokens.push_back(VeriSkimToken{t.kind, t.text});
        return tokens;
    }
    pp.pushText(text, name);
    for (VeriToken t = pp.next(); t.kind != VT_EOF; t = pp.next()) tokens.push_back(VeriSkimToken{t.kind, t.text});
    return tokens;
}

class VeriSkimScannerTest : public ::testing::Test {
protected:
    void SetUp() override {
        Message::RegisterCallBackMsg(countSortTestMessage);
        sortTestMessages() = 0;
    }
    void TearDown() override { Message::RegisterCallBackMsg(nullptr); }

    // Scans `text` both ways under language `lang`, as the file `name`; true when the
    // scanner read it.
    bool same(const std::string& text, unsigned lang = 5, std::vector<std::string> defines = {},
              const std::string& name = "text.sv", std::vector<std::string> includeDirs = {}) {
        VeriPreprocessorOptions ppOptions;
        ppOptions.language = lang;
        ppOptions.defines = defines;
        ppOptions.includeDirs = includeDirs;
        VeriPreprocessor pp(ppOptions);
        bool backquote = text.find('`') != std::string::npos;
        VeriSkimScanOptions options;
        options.keywordSet = backquote ? pp.keywordSet() : lexerSet(lang);
        options.preprocess = backquote;
        options.predefined = &pp.macros();
        options.fileName = name;
        options.includeDirs = &includeDirs;
        options.includeCache = cache;
        std::vector<VeriSkimToken> fast;
        std::deque<std::string> texts;
        size_t before = sortTestMessages();
        bool scanned = veriSkimScan(text, options, fast, texts);
        EXPECT_EQ(sortTestMessages(), before) << "the scanner reported something";
        std::vector<VeriSkimToken> full = reference(text, name, lexerSet(lang), pp);
        if (scanned) {
            EXPECT_EQ(firstDifference(fast, full), "") << text.substr(0, 200);
            EXPECT_EQ(sortTestMessages(), before) << "a message the scanner did not leave to the preprocessor";
        }
        reported = sortTestMessages() > before;
        return scanned;
    }
    bool reported = false; // the full path gave a message on the last text
    VeriSkimIncludeCache* cache = nullptr;

    static VeriKeywordSet lexerSet(unsigned lang) {
        return lang == 1   ? VERI_KW_1995
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
        // Numbers that end at once, and those that go on in every way a literal can.
        "a[31:0] b(1) c = 2; d = {3, 4} + 5 - 6 * 7 == 8 < 9 > 10\n11",
        "e = 12'hab + 13 'd5 + 14\n'd6 + 1_000 + 15.5 + 16e2 + 17ns + 18s + 19_ + 20",
    };
    for (const char* text : cases)
        for (unsigned lang : {1u, 2u, 5u}) EXPECT_TRUE(same(text, lang)) << text;
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
        for (unsigned lang : {2u, 5u}) EXPECT_TRUE(same(text, lang, {"CMD=1"})) << text;
}

TEST_F(VeriSkimScannerTest, MacroUsesExpandAsThePreprocessorExpandsThem) {
    const char* cases[] = {
        "`define M 1\nassign a = `M;",
        "`define F(a, b = 2) a + b\nassign x = `F(1) + `F(3, 4) + `F(, 5) + `F((1, 2), {3, 4});",
        "`define S(x) `\"x`\"\n`define P(a, b) a``b\nmodule `P(m, 1); initial $display(`S(hi)); endmodule",
        "`define INST(t, n) t n (.a(1));\n`define MOD(n) module n; `INST(sub, u_``n) endmodule\n`MOD(top)",
        "`define A `B\n`define B b\nwire `A; `define B b\n",
        "`define IF(c) `ifdef c yes `else no `endif\n`IF(SV_COV_START) `IF(NOPE) `IF(CMD)",
        "`define D(x) x\n`D(`D(nested)) `D( spaced )",
        "a\n\n`__LINE__ `__FILE__ `define E\n`E module e; endmodule",
        "`pragma foo bar // c\nmodule m; endmodule `pragma protect begin",
        "`undefineall `ifdef SV_COV_START x `endif `ifdef CMD c `endif",
        "`define M 1\n`define M 1\nm `M `define G(x) (* x *) g\n`G(keep) @(`M)",
        "`define L `__LINE__\nx `L `__LINE__\n`define N(a) a\n`N(`__FILE__) `define Q(a) `\"a`\"\n`Q(`__LINE__)",
        "`define BODY(n) \\\n  always @(posedge clk) \\\n    n <= 1; // trailing\nmodule m; `BODY(q) endmodule",
    };
    for (const char* text : cases)
        for (unsigned lang : {2u, 5u}) EXPECT_TRUE(same(text, lang, {"CMD=1"})) << text;
}

TEST_F(VeriSkimScannerTest, WhatOnlyThePreprocessorDoesOrReportsIsLeftToIt) {
    // Directives that change how the text after them is read, and a macro text that
    // depends on where the macro is used.
    for (const char* text : {"`line 3 \"f\" 0\n", "`begin_keywords \"1364-1995\" logic `end_keywords",
                             "`pragma protect begin_protected\nx\n`pragma protect end_protected\n",
                             "`define MK `define P `L\n`MK\n`define L `__LINE__\nx `P"})
        EXPECT_FALSE(same(text)) << text;
    // Text the lexer or the preprocessor complains about: they are to say so.
    for (const char* text : {"a \x01\x02 b",
                             "x = 3'h;",
                             "\\ y",
                             "s = \"open\n;",
                             "/* open",
                             "a ` b",
                             "// synopsys translate_off\n never on",
                             "`else x",
                             "`ifdef A `else `else `endif",
                             "`ifdef A",
                             "`define `define",
                             "`define D 1\n`define D 2",
                             "`timescale 1ns",
                             "`timescale 1ps/1ns",
                             "`default_nettype wiry",
                             "`unconnected_drive pull2",
                             "module m; `resetall endmodule",
                             "`define F(a x",
                             "`M",
                             "`define F(a) a\n`F",
                             "`define F(a) a\n`F(1, 2)",
                             "`define F(a, b) a b\n`F(1)",
                             "`define F(a) a\n`F(1",
                             "`define R `R\n`R",
                             "`define O(a) `O(a)\n`O(1)",
                             "`include \"missing.svh\"",
                             "`include missing",
                             "`include \"open"}) {
        EXPECT_FALSE(same(text)) << text;
        EXPECT_TRUE(reported) << text;
    }
    // The macro use sits in a branch not taken: nothing needs the preprocessor.
    EXPECT_TRUE(same("`ifdef NOPE `M `include \"x\" `line 1 \"f\" 0 `endif module m; endmodule"));
    // A place-dependent macro text in a branch not taken is never read as tokens.
    EXPECT_TRUE(same("`define L(c) `ifdef c `__LINE__ `__FILE__ `endif\n`L(NOPE) m"));
}

// `__LINE__ and `__FILE__ under a use inside another macro take the place of that use,
// which lies in a body cut up at its definition; in branches taken and not taken.
TEST_F(VeriSkimScannerTest, PlaceDependentUsesInsideOtherMacros) {
    const char* read[] = {
        "`define L `__LINE__\n`define N `L\nx `N `N",
        "`define L `__FILE__ `__LINE__\n`define N(a) a `L\n\n`N(`L) `N(q)",
        "`define YES\n`define L(c) `ifdef c `__LINE__ `endif\n`define N `L(YES)\nx `N",
        "`define L(c) `ifdef c `__LINE__ `else none `endif\n`define N `L(NOPE)\nx `N",
        "`define L(c) `ifndef c `__LINE__ `elsif CMD `__FILE__ `endif\n`define N(c) `L(c)\n`N(CMD) `N(NOPE)",
        "`define RPT(m) `ifdef UVM uvm(m, `__LINE__) `else $error(m, `__FILE__) `endif\n"
        "`define ASSERT(n, p) `ifdef CMD n: assert (p) else `RPT(\"n\") `endif\nmodule m; `ASSERT(a, b) endmodule",
    };
    for (const char* text : read) EXPECT_TRUE(same(text, 5, {"CMD=1"})) << text;
}

namespace {

// Streams that log their opening and closing, to check that includes nest.
std::vector<std::string>& streamLog() {
    static std::vector<std::string> log;
    return log;
}

struct LoggedStream : SourceStream {
    LoggedStream(std::istream* in, std::string name) : SourceStream(in), name(std::move(name)) {
        streamLog().push_back("+" + fs::path(this->name).filename().string());
    }
    ~LoggedStream() override { streamLog().push_back("-" + fs::path(name).filename().string()); }
    std::string name;
};

SourceStream* openLogged(const char* name) {
    auto* in = new std::ifstream(name, std::ios::binary);
    return new LoggedStream(in->is_open() ? in : (delete in, nullptr), name);
}

} // namespace

class VeriSkimIncludeTest : public VeriSkimScannerTest {
protected:
    void SetUp() override {
        VeriSkimScannerTest::SetUp();
        dir = fs::temp_directory_path() / ("skim_include_" + std::to_string(::getpid()));
        fs::create_directories(dir / "inc");
        write("inc/defs.svh", "`ifndef DEFS\n`define DEFS\n`define W 8\n`include \"more.svh\"\n`endif\n");
        write("inc/more.svh", "`define MK(n) module n; endmodule\n");
        write("body.svh", "module b; wire [`W-1:0] w; endmodule\n");
        write("self.svh", "`include \"self.svh\"\n");
        write("open.svh", "`ifdef DEFS\nmodule o;\n");
    }
    void TearDown() override {
        fs::remove_all(dir);
        VeriSkimScannerTest::TearDown();
    }
    void write(const std::string& name, const std::string& text) { std::ofstream(dir / name) << text; }
    bool sameIn(const std::string& text) {
        return same(text, 5, {}, (dir / "top.sv").string(), {(dir / "inc").string()});
    }
    fs::path dir;
};

TEST_F(VeriSkimIncludeTest, IncludedTextAndItsMacrosReadAsThePreprocessorReadsThem) {
    EXPECT_TRUE(sameIn("`include \"defs.svh\"\n`include <defs.svh>\n`MK(a) `include \"body.svh\" wire [`W:0] x;"));
    EXPECT_TRUE(sameIn("`define DEFS\n`include \"defs.svh\"\n`ifndef W module guarded; endmodule `endif"));
    // An include inside a macro text, and a file found through an absolute name.
    EXPECT_TRUE(sameIn("`include \"defs.svh\"\n`define INC `include \"body.svh\"\n`INC `include \"" +
                       (dir / "body.svh").string() + "\""));
}

// Headers read once and replayed in later files must leave the very macros that reading
// them again would: under other macros, after a change of their text or of a file they
// include, and when they hold more than definitions.
TEST_F(VeriSkimIncludeTest, IncludeEffectsReplayOnlyWhereTheyHold) {
    VeriSkimIncludeCache effects;
    cache = &effects;
    const std::string user = "`include \"defs.svh\"\n`MK(m) wire [`W-1:0] x; `ifdef DEFS d `endif";
    EXPECT_TRUE(sameIn(user));
    std::string header = (dir / "inc" / "defs.svh").string();
    ASSERT_EQ(effects.byPath.count(header), 1u);
    EXPECT_EQ(effects.byPath[header].size(), 1u);
    EXPECT_EQ(effects.byPath[header][0]->opens, (std::vector<std::string>{(dir / "inc" / "more.svh").string(), ""}));
    EXPECT_TRUE(sameIn(user));
    EXPECT_TRUE(sameIn("`define DEFS\n`include \"defs.svh\" `ifdef W w `endif `ifdef DEFS d `endif"));
    EXPECT_EQ(effects.byPath[header].size(), 2u) << "the guarded reading is an effect of its own";
    write("inc/more.svh", "`define MK(n) module n``_changed; endmodule\n");
    EXPECT_TRUE(sameIn(user));
    write("inc/defs.svh", "`define W 4\n`define MK(n) interface n; endinterface\n");
    EXPECT_TRUE(sameIn(user));
    EXPECT_TRUE(sameIn("`define W 4\n" + user)) << "a definition repeated by the header";
    write("body.svh", "`define B 1\nmodule b; endmodule\n");
    for (int twice = 0; twice < 2; ++twice) EXPECT_TRUE(sameIn("`include \"body.svh\" `ifdef B b `endif"));
    EXPECT_EQ(
        effects.byPath.count((dir / "body.svh").string()) ? effects.byPath[(dir / "body.svh").string()].size() : 0u, 0u)
        << "a header with tokens is read each time";
}

// Where an include was found is kept per including folder: the same name found next to
// two includers names two files.
TEST_F(VeriSkimIncludeTest, FindingsAreKeptPerIncludingFolder) {
    VeriSkimIncludeCache effects;
    cache = &effects;
    fs::create_directories(dir / "a");
    fs::create_directories(dir / "b");
    write("a/local.svh", "module from_a; endmodule\n");
    write("b/local.svh", "module from_b; endmodule\n");
    for (const char* sub : {"a", "b", "a", "b"})
        EXPECT_TRUE(same("`include \"local.svh\"", 5, {}, (dir / sub / "top.sv").string(), {(dir / "inc").string()}))
            << sub;
    EXPECT_EQ(effects.found.size(), 2u);
}

TEST_F(VeriSkimIncludeTest, IncludeProblemsAreLeftToThePreprocessor) {
    for (const char* text : {"`include \"self.svh\"", "`include \"open.svh\"\nendmodule",
                             "`ifdef X\n`include \"defs.svh\"\n`else\n`endif\n`include \"inc/nothere.svh\""}) {
        EXPECT_FALSE(sameIn(text)) << text;
        EXPECT_TRUE(reported) << text;
    }
}

TEST_F(VeriSkimIncludeTest, IncludeStreamsNestAndCloseAlsoWhenTheScanGivesUp) {
    VeriSkimScanOptions options;
    options.preprocess = true;
    std::string top = (dir / "top.sv").string();
    options.fileName = top;
    std::vector<std::string> dirs = {(dir / "inc").string()};
    options.includeDirs = &dirs;
    options.streamCallBack = openLogged;
    std::vector<VeriSkimToken> tokens;
    std::deque<std::string> texts;
    streamLog().clear();
    EXPECT_TRUE(veriSkimScan("`include \"defs.svh\" `include \"body.svh\"", options, tokens, texts));
    EXPECT_EQ(streamLog(),
              (std::vector<std::string>{"+defs.svh", "+more.svh", "-more.svh", "-defs.svh", "+body.svh", "-body.svh"}));
    // A replayed header opens what it includes as reading it does.
    VeriSkimIncludeCache effects;
    options.includeCache = &effects;
    for (int twice = 0; twice < 2; ++twice) {
        streamLog().clear();
        EXPECT_TRUE(veriSkimScan("`include \"defs.svh\"", options, tokens, texts));
        EXPECT_EQ(streamLog(), (std::vector<std::string>{"+defs.svh", "+more.svh", "-more.svh", "-defs.svh"}));
    }
    EXPECT_EQ(effects.byPath.size(), 1u);
    options.includeCache = nullptr;
    streamLog().clear();
    EXPECT_FALSE(veriSkimScan("`include \"defs.svh\"\n`include \"open.svh\"", options, tokens, texts));
    EXPECT_EQ(streamLog(),
              (std::vector<std::string>{"+defs.svh", "+more.svh", "-more.svh", "-defs.svh", "+open.svh", "-open.svh"}));
}

// Every Verilog file of the corpus and of the conformance tests, in the languages its
// list gives (the conformance tests as SystemVerilog).
TEST_F(VeriSkimScannerTest, CorpusAndConformanceFilesTokeniseAlike) {
    struct File {
        std::string path;
        unsigned lang;
        std::vector<std::string> includeDirs;
        bool corpus;
    };
    std::vector<File> files;
    for (const char* project : {"common_cells", "cv32e40p", "picorv32", "poc", "serv", "osvvm"}) {
        fs::path dir = fs::path(kSharedDir) / "corpus" / project;
        std::ifstream in(dir / "FILELIST.tsv");
        std::vector<std::string> includeDirs;
        for (std::string line; std::getline(in, line);) {
            std::vector<std::string> cols;
            std::stringstream ss(line);
            for (std::string c; std::getline(ss, c, '\t');) cols.push_back(c);
            if (cols.size() == 2 && cols[0] == "incdir") includeDirs.push_back((dir / cols[1]).string());
            if (cols.size() == 3 && (cols[0] == "sv" || cols[0] == "v2k"))
                files.push_back(File{(dir / cols[2]).string(), cols[0] == "sv" ? 5u : 2u, {}, true});
        }
        for (File& f : files)
            if (f.path.rfind(dir.string(), 0) == 0) f.includeDirs = includeDirs;
    }
    fs::path conformance = fs::path(kSharedDir) / "conformance" / "sv-tests";
    if (fs::exists(conformance))
        for (const auto& entry : fs::recursive_directory_iterator(conformance))
            if (entry.path().extension() == ".sv" || entry.path().extension() == ".v")
                files.push_back(File{entry.path().string(), 5u, {}, false});
    if (files.empty()) GTEST_SKIP() << "no corpus under " << kSharedDir;
    size_t corpus = 0;
    size_t corpusRead = 0;
    size_t conformanceRead = 0;
    for (const File& f : files) {
        std::ifstream in(f.path, std::ios::binary);
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        SCOPED_TRACE(f.path);
        bool read = same(text, f.lang, {}, f.path, f.includeDirs);
        corpus += f.corpus ? 1 : 0;
        (f.corpus ? corpusRead : conformanceRead) += read ? 1 : 0;
    }
    // Real projects, with their includes and macros, need nothing that only the
    // preprocessor does; the conformance tests probe its corners (and the UVM tests
    // include a library that is not there).
    EXPECT_EQ(corpusRead, corpus);
    EXPECT_GT(conformanceRead, (files.size() - corpus) * 4 / 5);
}

} // namespace
