#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <unistd.h>

#include "LexTestSupport.h"
#include "hdl/base/ErrorRecovery.h"
#include "hdl/sv/VeriMessageIds.h"
#include "hdl/sv/VeriPreprocessor.h"

using namespace hdl;
using hdl::test::allTokens;
using hdl::test::joined;
using hdl::test::MessageCapture;

namespace {

std::string run(const std::string& text, VeriPreprocessorOptions opts = {}) {
    VeriPreprocessor pp(std::move(opts));
    pp.pushText(text, "mem.sv");
    return joined(allTokens(pp));
}

// A scratch folder with files, removed at the end of the test.
struct TempTree {
    std::string root;
    TempTree() {
        char tmpl[] = "/tmp/svlex_XXXXXX";
        root = mkdtemp(tmpl);
    }
    ~TempTree() { std::system(("rm -rf " + root).c_str()); }
    std::string write(const std::string& rel, const std::string& text) {
        std::string path = root + "/" + rel;
        std::system(("mkdir -p " + FileSystem::DirectoryPath(path)).c_str());
        std::ofstream(path) << text;
        return path;
    }
};

} // namespace

TEST(VeriPreprocessor, ObjectAndFunctionMacros) {
    EXPECT_EQ(run("`define W 8\n`define ADD(a, b) ((a) + (b))\nx = `W + `ADD(1, `W);"), "x = 8 + ( ( 1 ) + ( 8 ) ) ;");
}

TEST(VeriPreprocessor, ArgumentsWithNestedBracketsStringsAndCommas) {
    EXPECT_EQ(run("`define F(a, b) a | b\n`F(f(x, y), {p, q[1:0]})  `F(\"s,(\", '{1, 2})"),
              "f ( x , y ) | { p , q [ 1 : 0 ] } \"s,(\" | '{ 1 , 2 }");
}

TEST(VeriPreprocessor, DefaultArguments) {
    EXPECT_EQ(run("`define M(a, b = 2, c = z) a b c\n`M(1) `M(1, , 3) `M(1, 5)"), "1 2 z 1 2 3 1 5 z");
    // Defaults and actuals that hold macro uses expand; those without are taken as they stand.
    EXPECT_EQ(run("`define C clk\n`define R(q, c = `C) q <= c;\n`R(a) `R(b, `C) `R(d, e) `R(`C)"),
              "a <= clk ; b <= clk ; d <= e ; clk <= clk ;");
    // A body without a further use is the expansion as it stands, inside a use's argument too.
    EXPECT_EQ(run("`define P(x) (x)\n`define Q(y) [y]\n`Q(`P(1)) `P(`Q(2)) `P()"), "[ ( 1 ) ] ( [ 2 ] ) ( )");
    EXPECT_EQ(run("`define Q(y) [y]\n`define W(z) z `Q(z) z\n`W(3)"), "3 [ 3 ] 3");
}

TEST(VeriPreprocessor, MissingAndExtraArgumentsAreErrors) {
    MessageCapture mc;
    run("`define M(a, b) a b\n`M(1) `M(1, 2, 3) `M x");
    EXPECT_EQ(mc.count(veri_msg::kMacroArgCount), 3u) << mc.all();
}

TEST(VeriPreprocessor, StringifyAndPaste) {
    EXPECT_EQ(run("`define S(x) `\"x is `\\`\"q`\\`\"`\"\n`S(abc)"), "\"abc is \\\"q\\\"\"");
    EXPECT_EQ(run("`define CAT(a, b) a``b\n`define reg_x 5\n`CAT(foo, _bar) `CAT(`reg, _x)"), "foo_bar 5");
    // Formals match whole identifiers only.
    EXPECT_EQ(run("`define P(display, b, d2) $display(b, 4'b1, d2, bd2)\n`P(x, y, z)"),
              "$display ( y , 4'b1 , z , bd2 )");
    // No substitution inside an ordinary string of the body.
    EXPECT_EQ(run("`define Q(x) \"x\" x\n`Q(1)"), "\"x\" 1");
}

TEST(VeriPreprocessor, NestedMacrosAndMacroInOwnArgument) {
    EXPECT_EQ(run("`define MAX(a,b) ((a)>(b)?(a):(b))\n`define TWO `MAX(1,2)\n`MAX(`MAX(1,2),3) `TWO"),
              "( ( ( ( 1 ) > ( 2 ) ? ( 1 ) : ( 2 ) ) ) > ( 3 ) ? ( ( ( 1 ) > ( 2 ) ? ( 1 ) : ( 2 ) ) ) : ( 3 ) ) "
              "( ( 1 ) > ( 2 ) ? ( 1 ) : ( 2 ) )");
}

TEST(VeriPreprocessor, RecursionIsCut) {
    MessageCapture mc;
    EXPECT_EQ(run("`define A `B + 1\n`define B `A * 2\nx `A y"), "x * 2 + 1 y");
    EXPECT_EQ(mc.count(veri_msg::kRecursiveMacro), 1u);
}

TEST(VeriPreprocessor, ExponentialExpansionIsBounded) {
    MessageCapture mc;
    std::string text = "`define L0 x x\n";
    for (int i = 1; i <= 40; ++i)
        text += "`define L" + std::to_string(i) + " `L" + std::to_string(i - 1) + " `L" + std::to_string(i - 1) + "\n";
    text += "`L40\n";
    VeriPreprocessor pp({});
    pp.pushText(text, "blow.sv");
    size_t n = allTokens(pp).size();
    EXPECT_GE(mc.count(veri_msg::kExpansionLimit), 1u);
    EXPECT_LT(n, size_t(64) << 20);
}

TEST(VeriPreprocessor, MultiLineDefinesAndComments) {
    EXPECT_EQ(run("`define M(a) a + \\\n  a // not part\nx `M(1)\n`define E\n`E y"), "x 1 + 1 y");
}

TEST(VeriPreprocessor, UndefinedMacroIsAnError) {
    MessageCapture mc;
    EXPECT_EQ(run("a `NOPE b"), "a b");
    EXPECT_EQ(mc.count(veri_msg::kUndefinedMacro), 1u);
}

// The coverage constants are predefined in SystemVerilog only, and can be redefined.
TEST(VeriPreprocessor, CoverageMacrosArePredefinedInSystemVerilog) {
    EXPECT_EQ(run("f(`SV_COV_CHECK, `SV_COV_HIER, `SV_COV_OVERFLOW);"), "f ( 3 , 11 , - 2 ) ;");
    EXPECT_EQ(run("`define SV_COV_OK 7\n`SV_COV_OK"), "7");
    MessageCapture mc;
    VeriPreprocessorOptions v2001;
    v2001.language = 2;
    EXPECT_EQ(run("a `SV_COV_START b", v2001), "a b");
    EXPECT_EQ(mc.count(veri_msg::kUndefinedMacro), 1u);
}

TEST(VeriPreprocessor, NestedConditionals) {
    const char* text = "`define A\n"
                       "`ifdef A a1 `ifdef B b1 `elsif A ab `else ae `endif `else a0 `endif\n"
                       "`ifndef A n1 `elsif C c1 `else e1 `endif\n"
                       "`ifdef Z `ifdef A hidden `else hidden2 `endif `endif done";
    EXPECT_EQ(run(text), "a1 ab e1 done");
}

TEST(VeriPreprocessor, InactiveTextIsNotLexed) {
    MessageCapture mc;
    EXPECT_EQ(run("`ifdef X\n don't \" `error `FOO ' \x01 \n`endif ok"), "ok");
    EXPECT_EQ(mc.errors(), 0u) << mc.all();
}

TEST(VeriPreprocessor, UnbalancedConditionalsAreErrors) {
    MessageCapture mc;
    EXPECT_EQ(run("`ifdef X a\n"), "");
    EXPECT_EQ(mc.count(veri_msg::kOpenConditional), 1u);
    run("`endif `else b");
    EXPECT_EQ(mc.count(veri_msg::kStrayConditional), 2u);
}

TEST(VeriPreprocessor, UndefAndUndefineAllKeepCommandLineMacros) {
    VeriPreprocessorOptions opts;
    opts.defines = {"CL=7", "FLAG"};
    VeriPreprocessor pp(opts);
    pp.pushText("`define A 1\n`define B 2\n`undef A\n`ifdef A x `endif `B\n`undefineall\n`CL", "u.sv");
    EXPECT_EQ(joined(allTokens(pp)), "2 7");
    EXPECT_TRUE(pp.macros().isDefined("FLAG"));
    EXPECT_FALSE(pp.macros().isDefined("B"));
    pp.resetMacros();
    EXPECT_TRUE(pp.macros().isDefined("CL"));
    EXPECT_TRUE(pp.macros().isDefined("SV_COV_HIER"));
    EXPECT_EQ(pp.macros().definedMacros().size(), 17u) << "the command line's and the predefined ones";
}

TEST(VeriPreprocessor, MacrosStayDefinedAcrossFiles) {
    VeriPreprocessor pp({});
    pp.pushText("`define SHARED 3\n", "one.sv");
    allTokens(pp);
    pp.pushText("`SHARED", "two.sv");
    EXPECT_EQ(joined(allTokens(pp)), "3");
}

TEST(VeriPreprocessor, DirectiveState) {
    VeriPreprocessor pp({});
    pp.pushText("`timescale 1ns / 10ps\n`default_nettype none\n`celldefine\n`unconnected_drive pull1\n"
                "a\n`resetall\nb",
                "d.sv");
    VeriToken a = pp.next();
    EXPECT_EQ(a.text, "a");
    EXPECT_EQ(pp.timescale().unit, "1ns");
    EXPECT_EQ(pp.timescale().precision, "10ps");
    EXPECT_EQ(pp.defaultNettype(), "none");
    EXPECT_TRUE(pp.cellDefine());
    EXPECT_EQ(pp.unconnectedDrive(), 2);
    pp.next();
    EXPECT_EQ(pp.defaultNettype(), "wire");
    EXPECT_FALSE(pp.cellDefine());
    EXPECT_FALSE(pp.timescale().set);
}

TEST(VeriPreprocessor, BeginKeywordsChangesTheSetUntilEndKeywords) {
    VeriPreprocessor pp({});
    pp.pushText("logic\n`begin_keywords \"1364-2001\"\nlogic generate\n`end_keywords\nlogic", "k.sv");
    auto t = allTokens(pp);
    ASSERT_EQ(t.size(), 4u);
    EXPECT_EQ(t[0].kind, VT_LOGIC);
    EXPECT_EQ(t[1].kind, VT_IDENTIFIER);
    EXPECT_EQ(t[2].kind, VT_GENERATE);
    EXPECT_EQ(t[3].kind, VT_LOGIC);
}

TEST(VeriPreprocessor, LanguageCodeSelectsKeywords) {
    VeriPreprocessorOptions opts;
    opts.language = 1;
    VeriPreprocessor pp(opts);
    pp.pushText("logic generate", "v95.v");
    auto t = allTokens(pp);
    EXPECT_EQ(t[0].kind, VT_IDENTIFIER);
    EXPECT_EQ(t[1].kind, VT_IDENTIFIER);
}

TEST(VeriPreprocessor, LineDirectiveAndBuiltins) {
    VeriPreprocessor pp({});
    pp.pushText("a\n`line 100 \"orig.v\" 0\nb `__LINE__ `__FILE__", "l.sv");
    auto t = allTokens(pp);
    ASSERT_EQ(t.size(), 4u);
    EXPECT_EQ(t[1].line, 100u);
    EXPECT_STREQ(LineFile::GetFileNameFromId(t[1].fileId), "orig.v");
    EXPECT_EQ(t[2].text, "100");
    EXPECT_EQ(t[3].text, "\"orig.v\"");
}

TEST(VeriPreprocessor, MacroTokenPositions) {
    VeriPreprocessor pp({});
    pp.pushText("`define M(a) (a +\\\n  k)\n\n  x = `M(yy);", "p.sv");
    auto t = allTokens(pp);
    ASSERT_EQ(t.size(), 8u);
    // "(" from the body on line 1, "yy" from the call site, "k" on the continued line.
    EXPECT_EQ(t[2].text, "(");
    EXPECT_EQ(t[2].line, 1u);
    EXPECT_EQ(t[2].col, 14u);
    EXPECT_EQ(t[3].text, "yy");
    EXPECT_EQ(t[3].line, 4u);
    EXPECT_EQ(t[3].col, 10u);
    EXPECT_EQ(t[5].text, "k");
    EXPECT_EQ(t[5].line, 2u);
    EXPECT_EQ(t[5].col, 3u);
    EXPECT_TRUE(t[5].fromMacro());
    const VeriExpansion* e = pp.expansion(t[5].expansion);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->macroName, "M");
    EXPECT_EQ(e->callSite.leftLine, 4u);
    EXPECT_EQ(e->callSite.leftCol, 7u);
    EXPECT_FALSE(t[7].fromMacro());
    EXPECT_EQ(t[7].line, 4u);
}

// A body with everything that substitution replaces or drops: each token from it
// keeps the place in the body of its first character, and a formal that of the actual.
TEST(VeriPreprocessor, MacroBodyPiecesKeepTheirPlaces) {
    VeriPreprocessor pp({});
    pp.pushText("`define M(a, b) x /* c */ a``_y `\"b`\" \\\n    z b // d \\\n `\\`\" w\n\n  `M(p, q)", "p.sv");
    auto t = allTokens(pp);
    ASSERT_EQ(t.size(), 7u);
    struct Want {
        const char* text;
        uint32_t line;
        uint32_t col;
    };
    const Want want[] = {{"x", 1, 17}, {"p_y", 5, 6},  {"\"q\"", 1, 33}, {"z", 2, 5},
                         {"q", 5, 9},  {"\\\"", 3, 2}, {"w", 3, 7}};
    for (size_t i = 0; i < t.size(); ++i) {
        EXPECT_EQ(t[i].text, want[i].text) << i;
        EXPECT_EQ(t[i].line, want[i].line) << want[i].text;
        EXPECT_EQ(t[i].col, want[i].col) << want[i].text;
    }
}

// Blanks that pad body lines out to aligned backslashes are dropped from expansions;
// every token keeps its place, and inside `" ... `" the blanks are the string's own
// (the line end inside it then ends the literal, as it does without the padding).
TEST(VeriPreprocessor, PaddedContinuationsKeepPlacesAndStrings) {
    VeriPreprocessor pp({});
    pp.pushText("`define R(q, d)      \\\n  always_ff begin    \\\n    q <= d;   \t \\\n  end\n"
                "`define S(a) `\"a   \\\n  b`\"\n"
                "`R(x, y) `S(v)",
                "p.sv");
    auto t = allTokens(pp);
    ASSERT_EQ(t.size(), 10u) << joined(t);
    struct Want {
        const char* text;
        uint32_t line;
        uint32_t col;
    };
    const Want want[] = {{"always_ff", 2, 3}, {"begin", 2, 13}, {"x", 7, 4},       {"<=", 3, 7}, {"y", 7, 7},
                         {";", 3, 11},        {"end", 4, 3},    {"\"v   ", 5, 14}, {"b", 6, 3},  {"\"", 6, 4}};
    for (size_t i = 0; i < t.size(); ++i) {
        EXPECT_EQ(t[i].text, want[i].text) << i;
        EXPECT_EQ(t[i].line, want[i].line) << want[i].text;
        EXPECT_EQ(t[i].col, want[i].col) << want[i].text;
    }
}

TEST(VeriPreprocessor, IncludeSearchOrderAndPositions) {
    MessageCapture mc;
    TempTree tree;
    tree.write("src/h.vh", "local\n");
    tree.write("inc1/h.vh", "first\n");
    tree.write("inc1/only.vh", "only1\n");
    tree.write("inc2/only.vh", "only2\n");
    std::string top = tree.write("src/top.sv", "a\n`include \"h.vh\"\n`include <only.vh> b\n"
                                               "`define F \"only.vh\"\n`include `F\nc");
    VeriPreprocessorOptions opts;
    opts.includeDirs = {tree.root + "/inc1", tree.root + "/inc2"};
    VeriPreprocessor pp(opts);
    ASSERT_TRUE(pp.pushFile(top));
    auto t = allTokens(pp);
    EXPECT_EQ(joined(t), "a local only1 b only1 c") << mc.all();
    EXPECT_EQ(t[1].line, 1u);
    EXPECT_EQ(std::string(LineFile::GetFileNameFromId(t[1].fileId)), tree.root + "/src/h.vh");
    EXPECT_EQ(t[5].line, 6u);
    EXPECT_EQ(pp.includes().size(), 3u);
    EXPECT_EQ(mc.errors(), 0u);
}

TEST(VeriPreprocessor, MissingIncludeAndCycles) {
    MessageCapture mc;
    TempTree tree;
    tree.write("loop.vh", "x\n`include \"loop.vh\"\n");
    std::string top = tree.write("top.sv", "`include \"missing.vh\"\nafter\n`include \"loop.vh\"\nend_");
    VeriPreprocessor pp({});
    ASSERT_TRUE(pp.pushFile(top));
    auto t = allTokens(pp);
    EXPECT_EQ(mc.count(veri_msg::kIncludeNotFound), 1u);
    EXPECT_EQ(mc.count(veri_msg::kIncludeDepth), 1u);
    EXPECT_EQ(t[0].text, "after");
    EXPECT_EQ(t.back().text, "end_");
}

TEST(VeriPreprocessor, IncludeOfTheNullDeviceIsEmpty) {
    MessageCapture mc;
    EXPECT_EQ(run("`include \"/dev/null\"\nmodule m; endmodule"), "module m ; endmodule");
    EXPECT_EQ(mc.count(veri_msg::kIncludeNotFound), 0u);
}

namespace {
std::vector<std::string> traceLog;
struct TracingStream : SourceStream {
    std::string name;
    TracingStream(std::istream* in, std::string n) : SourceStream(in), name(std::move(n)) {
        traceLog.push_back("enter " + name.substr(name.rfind('/') + 1));
    }
    ~TracingStream() override { traceLog.push_back("leave " + name.substr(name.rfind('/') + 1)); }
};
SourceStream* tracingOpen(const char* name) {
    auto* in = new std::ifstream(name);
    if (!in->is_open()) {
        delete in;
        return new TracingStream(nullptr, name);
    }
    return new TracingStream(in, name);
}
} // namespace

TEST(VeriPreprocessor, StreamsNestWithIncludes) {
    TempTree tree;
    tree.write("b.vh", "b `include \"c.vh\" b2\n");
    tree.write("c.vh", "c\n");
    std::string top = tree.write("a.sv", "a `include \"b.vh\" a2");
    traceLog.clear();
    VeriPreprocessorOptions opts;
    opts.streamCallBack = tracingOpen;
    VeriPreprocessor pp(opts);
    ASSERT_TRUE(pp.pushFile(top));
    EXPECT_EQ(joined(allTokens(pp)), "a b c b2 a2");
    EXPECT_EQ(traceLog, (std::vector<std::string>{"enter a.sv", "enter b.vh", "enter c.vh", "leave c.vh", "leave b.vh",
                                                  "leave a.sv"}));
}

TEST(VeriPreprocessor, ProtectedRegionsAreSkippedWithAMessage) {
    MessageCapture mc;
    EXPECT_EQ(run("a\n`pragma protect begin_protected\n`pragma protect data_block\n#$%^garbage\n"
                  "`pragma protect end_protected\nb\n`protect\nc\n`endprotect\nd"),
              "a b d");
    EXPECT_EQ(mc.count(veri_msg::kProtectedSkipped), 2u);
    EXPECT_EQ(mc.errors(), 0u);
}

// Both are named at the file itself (line 1), so that a capture can file them under it.
TEST(VeriPreprocessor, MissingAndBinaryFilesAreOneErrorEach) {
    MessageCapture mc;
    {
        VeriPreprocessor pp({});
        EXPECT_FALSE(pp.pushFile("/nonexistent/file.sv"));
        EXPECT_EQ(pp.next().kind, VT_EOF);
    }
    TempTree tree;
    const char blobText[] = "module m;\0\x01\xfe\n\x80`\"\n";
    std::string blob = tree.write("blob.sv", std::string(blobText, sizeof blobText - 1));
    {
        VeriPreprocessor pp({});
        EXPECT_FALSE(pp.pushFile(blob));
        EXPECT_EQ(pp.next().kind, VT_EOF);
    }
    ASSERT_EQ(test::capturedMessages().size(), 2u);
    EXPECT_EQ(test::capturedMessages()[0].id, veri_msg::kOpenFailed);
    EXPECT_EQ(test::capturedMessages()[0].line, 1u);
    EXPECT_EQ(test::capturedMessages()[1].id, veri_msg::kBinaryInput);
    EXPECT_EQ(test::capturedMessages()[1].text, "'" + blob + "' is not a text file");
    EXPECT_EQ(test::capturedMessages()[1].line, 1u);
}

TEST(VeriPreprocessor, DeeplyNestedArgumentsAreCutNotOverflowed) {
    MessageCapture mc;
    std::string text = "`define A(x) (x)\n";
    for (int i = 0; i < 5000; ++i) text += "`A(";
    text += "1";
    text += std::string(5000, ')');
    VeriPreprocessor pp({});
    pp.pushText(text, "deep.sv");
    allTokens(pp);
    EXPECT_GE(mc.count(veri_msg::kExpansionLimit), 1u);
}

TEST(VeriPreprocessor, MacroTextStartsWhereItsUseStood) {
    VeriPreprocessor pp({});
    pp.pushText("`define M a\n`M b\nc `M", "f.sv");
    auto t = allTokens(pp);
    ASSERT_EQ(t.size(), 4u);
    EXPECT_TRUE(t[0].flags & VTF_FIRST_ON_LINE);
    EXPECT_FALSE(t[1].flags & VTF_FIRST_ON_LINE);
    EXPECT_TRUE(t[2].flags & VTF_FIRST_ON_LINE);
    EXPECT_FALSE(t[3].flags & VTF_FIRST_ON_LINE);
}

TEST(VeriPreprocessor, ConditionalsDoNotCrossFileBoundaries) {
    MessageCapture mc;
    TempTree tree;
    tree.write("closer.vh", "`endif\ninside\n");
    std::string top = tree.write("top.sv", "`ifdef NOPE\n`endif\n`ifndef NOPE\n`include \"closer.vh\"\n`endif\nout");
    VeriPreprocessor pp({});
    ASSERT_TRUE(pp.pushFile(top));
    EXPECT_EQ(joined(allTokens(pp)), "inside out");
    EXPECT_EQ(mc.count(veri_msg::kStrayConditional), 1u);
    EXPECT_EQ(mc.count(veri_msg::kOpenConditional), 0u);
}

TEST(VeriPreprocessor, MalformedDirectivesAreReportedAndLeaveStateAlone) {
    MessageCapture mc;
    VeriPreprocessor pp({});
    pp.pushText("`timescale 1ns/1ps\n`timescale 2ns/1ps\n`timescale 1ps/1ns\n`timescale 10 us / 100 ns\n"
                "`default_nettype bogus\n`unconnected_drive pull2\n`line 5 \"x.v\" 3\n`pragma\n"
                "`define define 1\n`begin_keywords \"1999\"\n`end_keywords\n`end_keywords\na",
                "bad.sv");
    allTokens(pp);
    EXPECT_EQ(pp.timescale().unit, "10 us");
    EXPECT_EQ(pp.timescale().precision, "100 ns");
    EXPECT_EQ(pp.defaultNettype(), "wire");
    EXPECT_EQ(mc.count(veri_msg::kDirectiveSyntax), 7u) << mc.all();
    EXPECT_EQ(mc.count(veri_msg::kKeywordsVersion), 2u) << mc.all();
}

// Errors in a file's text count against the file's cap: picorv32 as it is has none; with
// an undefined macro before each of its lines, the first ones are told, up to the cap.
TEST(VeriPreprocessor, ErrorsInTextStopAtTheFileCap) {
    std::ifstream in(SIFT_SHARED_DIR "/corpus/picorv32/picorv32.v");
    if (!in) GTEST_SKIP() << "corpus absent";
    std::stringstream real;
    real << in.rdbuf();
    MessageCapture mc;
    std::string clean;
    {
        VeriPreprocessor pp({});
        pp.pushText(real.str(), "picorv32.v");
        clean = joined(allTokens(pp));
    }
    EXPECT_GT(clean.size(), 10000u);
    EXPECT_EQ(mc.errors(), 0u) << mc.all();

    std::string broken;
    std::istringstream lines(real.str());
    for (std::string line; std::getline(lines, line);) broken += "`PICORV32_MISSPELT " + line + "\n";
    VeriPreprocessor pp({});
    pp.pushText(broken, "broken.v");
    EXPECT_EQ(joined(allTokens(pp)), clean);
    EXPECT_EQ(mc.count(veri_msg::kUndefinedMacro), size_t(ErrorRecovery::kMaxErrorsPerFile));
    ASSERT_EQ(mc.errors(), size_t(ErrorRecovery::kMaxErrorsPerFile));
    // The first ones, in order of their lines.
    EXPECT_EQ(test::capturedMessages().front().line, 1u);
    for (size_t i = 1; i < test::capturedMessages().size(); ++i)
        EXPECT_GT(test::capturedMessages()[i].line, test::capturedMessages()[i - 1].line);
}
