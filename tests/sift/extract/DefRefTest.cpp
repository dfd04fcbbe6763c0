// The definition/reference walk over small projects taken through the skim and the parse:
// block ranges, ports of raw units, declarations with their type texts and references.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "ExtractTestUtil.h"
#include "sift/extract/HADLDefRef.h"
#include "sift/scan/HADLSifter.h"
#include "stdlibs/TempDataDir.h"

namespace {

using namespace extract_test;

struct Decl {
    std::string name;
    std::string type;
    unsigned kind;
    unsigned fileId;
    unsigned line;
    unsigned col;
    std::vector<HADLDatabase::FileLoc> refs;
};

class DefRefTest : public ::testing::Test {
protected:
    void SetUp() override { resetFrontEnds(); }
    void TearDown() override { resetFrontEnds(); }

    unsigned add(const std::string& name, const std::string& text, unsigned lang, const std::string& lib = "work") {
        dir.write(name, text);
        return sifter.insertFileName(dir.path() + "/" + name, lang, lib);
    }
    void parse() {
        testing::internal::CaptureStdout();
        sifter.runParse();
        testing::internal::GetCapturedStdout();
    }
    std::vector<Decl> declarations() const {
        std::vector<Decl> out;
        for (unsigned i = 1; i < sifter.variables.size(); ++i) {
            const HADLDatabase::Declaration& d = sifter.variables[i];
            Decl decl{sifter.objNames.getString(d.name),
                      d.type ? sifter.declTypes.getString(d.type) : "",
                      d.kind,
                      d.fileId,
                      d.line,
                      d.startCol,
                      {}};
            for (unsigned r = 1; r < d.references.size(); ++r) decl.refs.push_back(d.references[r]);
            out.push_back(decl);
        }
        return out;
    }
    // The one declaration of `name` at `line` (0: any line).
    Decl find(const std::string& name, unsigned line = 0) const {
        std::vector<Decl> found;
        for (const Decl& d : declarations())
            if (d.name == name && (!line || d.line == line)) found.push_back(d);
        EXPECT_EQ(found.size(), 1u) << name;
        return found.empty() ? Decl{} : found[0];
    }
    static std::vector<unsigned> lines(const Decl& d) {
        std::vector<unsigned> out;
        for (const auto& r : d.refs) out.push_back(r.line);
        return out;
    }
    std::vector<std::pair<unsigned, unsigned>> ranges(unsigned file) const {
        std::vector<std::pair<unsigned, unsigned>> out;
        for (const auto& r : sifter.blockRanges.at(file)) out.push_back({r.startLine, r.endLine});
        return out;
    }

    TempDataDir dir;
    ScopedDataDirEnv env{SIFT_DATA_DIR};
    HADLSifter sifter;
};

TEST_F(DefRefTest, BlockRangesSortedOnceAndWithoutOneLineBlocks) {
    const unsigned v = add("m.v",
                           "module m(input clk, output reg q);\n" // 1
                           "  always @(posedge clk) q <= ~q;\n" // 2: one line
                           "  always @(posedge clk) begin\n" // 3
                           "    if (q)\n" // 4
                           "      q <= 0;\n" // 5
                           "  end\n" // 6
                           "endmodule\n", // 7
                           2);
    const unsigned h = add("e.vhd",
                           "entity e is\n" // 1
                           "end entity;\n" // 2
                           "architecture rtl of e is begin\n" // 3
                           "  p : process begin wait; end process;\n" // 4: one line
                           "end architecture;\n", // 5
                           9);
    parse();
    sifter.defRefWalk(true, false, false, "");
    // The always block and its begin-end share lines 3..6; the if statement is 4..5.
    EXPECT_EQ(ranges(v), (std::vector<std::pair<unsigned, unsigned>>{{1, 7}, {3, 6}, {4, 5}}));
    EXPECT_EQ(ranges(h), (std::vector<std::pair<unsigned, unsigned>>{{1, 2}, {3, 5}}));
    EXPECT_TRUE(sifter.variables.size() == 1u) << "block ranges alone declare nothing";
    sifter.defRefWalk(true, false, false, "");
    EXPECT_EQ(ranges(v).size(), 3u) << "a second walk keeps one copy";
}

TEST_F(DefRefTest, VerilogDeclarationsAndReferences) {
    const unsigned pkgFile = add("p.sv", "package p;\n  localparam int W = 4;\nendpackage\n", 5);
    const unsigned incFile = add("body.vh", "assign y = a & b;\n", 14);
    const unsigned top = add("top.sv",
                             "module leaf(input [p::W-1:0] a, output y);\n" // 1
                             "  wire b;\n" // 2
                             "  `include \"body.vh\"\n" // 3
                             "endmodule\n" // 4
                             "module top;\n" // 5
                             "  import p::*;\n" // 6
                             "  wire [W-1:0] x; wire y;\n" // 7
                             "  leaf u1(.a(x), .y(y));\n" // 8
                             "  leaf u2(.a(x), .y());\n" // 9
                             "endmodule\n", // 10
                             5);
    (void)incFile;
    sifter.incDirLists.push_back({});
    parse();
    sifter.defRefWalk(true, false, true, "");

    const Decl a = find("a");
    EXPECT_EQ(a.type, "input [(p::W - 1):0]");
    EXPECT_EQ(a.kind, 2u | (1u << 8));
    EXPECT_EQ(a.fileId, top);
    // Referred to from the include file: the reference carries the declaration's file.
    ASSERT_EQ(a.refs.size(), 1u);
    EXPECT_EQ(a.refs[0].fileId, top);
    EXPECT_EQ(a.refs[0].line, 1u);
    EXPECT_EQ(find("y", 1).kind, 2u | (2u << 8));
    const Decl b = find("b");
    EXPECT_EQ(b.type, "wire");
    EXPECT_EQ(b.kind, 4u);

    // The package constant is referred to through pkg::name and through the import.
    const Decl w = find("W");
    EXPECT_EQ(w.fileId, pkgFile);
    EXPECT_EQ(w.type, "localparam int");
    EXPECT_EQ(w.kind, 4u);
    EXPECT_EQ(lines(w), (std::vector<unsigned>{1, 7}));
    EXPECT_EQ(w.refs[0].startCol, 23u) << "the column of W in p::W";
    const Decl x = find("x");
    EXPECT_EQ(lines(x), (std::vector<unsigned>{8, 9}));

    // A module is a unit declaration; its instantiations refer to it from their own place.
    const Decl leaf = find("leaf");
    EXPECT_EQ(leaf.kind, 1u);
    EXPECT_EQ(leaf.type, "");
    EXPECT_EQ(lines(leaf), (std::vector<unsigned>{8, 9}));
    EXPECT_EQ(leaf.refs[0].fileId, top);
    EXPECT_EQ(leaf.refs[0].startCol, 3u);
    bool leafRange = false;
    for (unsigned i = 1; i < sifter.unitRanges.size(); ++i) {
        const auto& r = sifter.unitRanges[i];
        if (std::string(sifter.objNames.getString(r.nameId)) == "leaf")
            leafRange = r.fileId == top && r.startLine == 1 && r.endLine == 4;
    }
    EXPECT_TRUE(leafRange);
}

TEST_F(DefRefTest, BrokenVerilogNameIsNoReference) {
    add("m.v", "module m; wire good; assign goood = 1'b0; endmodule\n", 2);
    parse();
    sifter.defRefWalk(true, false, true, "");
    EXPECT_TRUE(find("good").refs.empty()) << "a misspelt name resolves to nothing";
}

TEST_F(DefRefTest, VerilogPortsOfRawUnits) {
    const unsigned f = add("m.v",
                           "module m #(parameter W = 8) (input [W-1:0] d, output [3:0] q, inout io, input k);\n"
                           "endmodule\n"
                           "module old(a, b); input [7:4] a; output b; endmodule\n",
                           2);
    add("other.v", "module elsewhere(input [1:0] e); endmodule\n", 2, "otherlib");
    parse();
    sifter.defRefWalk(false, true, false, "m");
    const unsigned m = sifter.rUnitNames.find(".work.m");
    ASSERT_NE(m, 0u);
    const auto& vars = sifter.rUnitVars.at(m);
    ASSERT_EQ(vars.size(), 4u);
    std::vector<std::string> names;
    for (const auto& v : vars) names.push_back(sifter.objNames.getString(v.nameId));
    EXPECT_EQ(names, (std::vector<std::string>{"d", "q", "io", "k"}));
    EXPECT_TRUE(vars[0].isInput && !vars[0].isOutput);
    EXPECT_EQ(vars[0].msb, 7u) << "the parameter's default value";
    EXPECT_EQ(vars[0].lsb, 0u);
    EXPECT_TRUE(!vars[1].isInput && vars[1].isOutput);
    EXPECT_EQ(vars[1].msb, 3u);
    EXPECT_TRUE(vars[2].isInput && vars[2].isOutput) << "inout is both";
    EXPECT_EQ(vars[3].fileId, f);
    EXPECT_EQ(vars[3].line, 1u);
    // Every module with a raw unit is recorded, whatever name the command gave.
    const auto& oldVars = sifter.rUnitVars.at(sifter.rUnitNames.find(".work.old"));
    ASSERT_EQ(oldVars.size(), 2u);
    EXPECT_EQ(oldVars[0].msb, 7u);
    EXPECT_EQ(oldVars[0].lsb, 4u);
    // Raw units are looked up under work alone: a module of another library gets none.
    const unsigned elsewhere = sifter.rUnitNames.find(".otherlib.elsewhere");
    ASSERT_NE(elsewhere, 0u);
    EXPECT_TRUE(sifter.rUnitVars.at(elsewhere).empty());
}

TEST_F(DefRefTest, VhdlDeclarationsAndReferences) {
    const unsigned pkg = add("p.vhd",
                             "package p is\n" // 1
                             "  constant depth : integer := 4;\n" // 2
                             "  type rec is record f : bit; end record;\n" // 3
                             "end package;\n", // 4
                             9);
    const unsigned ent = add("e.vhd",
                             "library ieee; use ieee.std_logic_1164.all;\n" // 1
                             "use work.p.all;\n" // 2
                             "entity leaf is port (a : inout std_logic; o : out std_logic); end;\n" // 3
                             "architecture rtl of leaf is\n" // 4
                             "  signal r : work.p.rec;\n" // 5
                             "begin\n" // 6
                             "  o <= a when r.f = '1' and depth > 2 else '0';\n" // 7
                             "end;\n" // 8
                             "entity top is end;\n" // 9
                             "architecture rtl of top is\n" // 10
                             "  component leaf port (a : inout std_logic; o : out std_logic); end component;\n" // 11
                             "  signal s, t : std_logic;\n" // 12
                             "begin\n" // 13
                             "  u : leaf port map (a => s, o => t);\n" // 14
                             "end;\n", // 15
                             9);
    parse();
    sifter.defRefWalk(true, false, true, "");

    const Decl depth = find("depth");
    EXPECT_EQ(depth.fileId, pkg);
    EXPECT_EQ(depth.type, "integer  := 4");
    // "in" is tried first: the type text "integer" reads as an input.
    EXPECT_EQ(depth.kind, 2u | (1u << 8));
    ASSERT_EQ(depth.refs.size(), 1u);
    EXPECT_EQ(depth.refs[0].fileId, ent);
    EXPECT_EQ(depth.refs[0].line, 7u);
    EXPECT_EQ(find("f").refs.size(), 1u) << "the record field through r.f";
    EXPECT_EQ(lines(find("rec")), (std::vector<unsigned>{5}));
    const Decl a = find("a", 3);
    EXPECT_EQ(a.type, "inout std_logic");
    EXPECT_EQ(a.kind, 2u | (1u << 8)) << "inout reads as in";
    EXPECT_EQ(find("o", 3).kind, 2u | (2u << 8));
    EXPECT_EQ(lines(a), (std::vector<unsigned>{7}));

    // The entity, referred to by its architecture behind `architecture rtl of `.
    const Decl leaf = find("leaf", 3);
    EXPECT_EQ(leaf.type, "entity");
    EXPECT_EQ(leaf.kind, 1u);
    ASSERT_EQ(leaf.refs.size(), 1u);
    EXPECT_EQ(leaf.refs[0].line, 4u);
    EXPECT_EQ(leaf.refs[0].startCol, 1u + 3u + 17u);
    // The component, referred to by its instantiation.
    const Decl comp = find("leaf", 11);
    EXPECT_EQ(comp.type, "component");
    EXPECT_EQ(comp.kind, 1u);
    EXPECT_EQ(lines(comp), (std::vector<unsigned>{14}));
    EXPECT_EQ(lines(find("s")), (std::vector<unsigned>{14}));
    // Nothing of the standard packages.
    for (const Decl& d : declarations()) EXPECT_NE(d.name, "std_logic");
    // The package's lines are a unit range.
    bool packageRange = false;
    for (unsigned i = 1; i < sifter.unitRanges.size(); ++i) {
        const auto& r = sifter.unitRanges[i];
        packageRange |= std::string(sifter.objNames.getString(r.nameId)) == "p" && r.startLine == 1 && r.endLine == 4;
    }
    EXPECT_TRUE(packageRange);
}

TEST_F(DefRefTest, VhdlMisspeltNameAndMissingUseAreNoReferences) {
    add("p.vhd", "package p is constant depth : integer := 4; end package;\n", 9);
    add("e.vhd",
        "entity e is end;\narchitecture a of e is\n  signal s : integer;\nbegin\n"
        "  s <= dept;\n" // misspelt
        "  s <= depth;\n" // no use clause makes p visible
        "end;\n",
        9);
    parse();
    sifter.defRefWalk(true, false, true, "");
    EXPECT_TRUE(find("depth").refs.empty());
}

TEST_F(DefRefTest, VhdlReferencesStopAt500) {
    std::string text = "entity e is end;\narchitecture a of e is\n  signal s : bit;\nbegin\n";
    for (int i = 0; i < 600; ++i) text += "  s <= not s;\n";
    text += "end;\n";
    add("e.vhd", text, 9);
    parse();
    sifter.defRefWalk(true, false, true, "");
    const HADLDatabase::Declaration* s = nullptr;
    for (unsigned i = 1; i < sifter.variables.size(); ++i)
        if (std::string(sifter.objNames.getString(sifter.variables[i].name)) == "s") s = &sifter.variables[i];
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->references.size(), 501u);
}

TEST_F(DefRefTest, LibrarySourcesAreNotTheUsers) {
    EXPECT_TRUE(isLibrarySourcePath("/any/where/std/textio.vhd"));
    EXPECT_TRUE(isLibrarySourcePath("ieee_2008/math_real.vhdl"));
    EXPECT_FALSE(isLibrarySourcePath("textio.vhd"));
    EXPECT_FALSE(isLibrarySourcePath("/p/std/textio.vhdl"));
    add("std/textio.vhd", "package mine is constant c : integer := 1; end;\n", 9);
    const unsigned user = add("user.vhd", "package yours is constant c : integer := 1; end;\n", 9);
    parse();
    sifter.defRefWalk(true, false, true, "");
    std::vector<std::string> names;
    for (const Decl& d : declarations()) {
        names.push_back(d.name);
        EXPECT_EQ(d.fileId, user);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"yours", "c"}));
    EXPECT_EQ(find("yours").type, "package");
    EXPECT_EQ(find("yours").kind, 1u);
}

TEST_F(DefRefTest, BrokenFilesWalkAndRepeatedWalksAdd) {
    add("bad.v", "module bad(input a);\n  wire w = a;\n  assign = ;\n  always @(\nendmodule\n", 2);
    add("bad.vhd", "entity be is port (p : in bit);\narchitecture a of be is begin\n  p <= ;\nend;\n", 9);
    add("junk.vhd", std::string("\x01\x02\xff garbage \x7f", 14), 9);
    parse();
    sifter.defRefWalk(true, false, true, "");
    const size_t once = sifter.variables.size();
    EXPECT_GT(once, 1u) << "what the recovered trees hold is recorded";
    sifter.defRefWalk(true, false, true, "");
    EXPECT_EQ(sifter.variables.size() - 1, 2 * (once - 1)) << "a second walk adds each declaration again";
}

TEST_F(DefRefTest, WalkBeforeAnyParseFindsNothing) {
    add("m.v", "module m; wire a; endmodule\n", 2);
    sifter.resizeTables();
    sifter.defRefWalk(true, true, true, "m");
    EXPECT_EQ(sifter.variables.size(), 1u);
}

} // namespace
