// Elaboration of VHDL designs: generics handed down, copies per distinct set of values,
// generate statements unrolled, bindings by default, by configuration specification and
// by configuration declaration, and the mistakes that must be reported.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "ElabTestUtil.h"
#include "hdl/elab/ElabHierPrinter.h"
#include "hdl/elab/VhdlElaborator.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlScope.h"

namespace hdl {
namespace {

class VhdlElaboratorTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!test::LoadStandardLibraries())
            GTEST_SKIP() << "standard libraries not arranged (scripts/assemble_data.sh)";
        library = test::UniquePackageName() + "_lib";
    }

    // Analyses the design into a library of the test's own and elaborates `top`; the
    // hierarchy as --hier prints it.
    std::string Hier(const std::string& text, const std::string& top, const ElabGenericMap& generics = {}) {
        std::string errors =
            test::AnalyzeVhdl("library ieee; use ieee.std_logic_1164.all; use ieee.numeric_std.all;\n" + text, library);
        EXPECT_EQ(errors, "");
        design = ElabDesign();
        test::MessageCapture capture;
        ok = VhdlElaborate(design, {{top, library, ""}}, generics, limits);
        messages = capture.All();
        std::ostringstream out;
        ElabPrintHier(design, out);
        return out.str();
    }

    std::string Ids() const {
        std::string out;
        for (const auto& m : messages) out += m.id + " ";
        return out;
    }
    bool Has(const std::string& id, const std::string& part = "") const {
        return std::any_of(messages.begin(), messages.end(), [&](const test::CapturedMessage& m) {
            return m.id == id && m.text.find(part) != std::string::npos;
        });
    }

    VhdlLibrary* Lib() const { return vhdl_file::GetLibrary(library.c_str()); }

    std::string library;
    ElabDesign design;
    ElabLimits limits;
    bool ok = false;
    std::vector<test::CapturedMessage> messages;
};

const char* kLeaf = R"(
entity leaf is generic (W : positive := 4; NAME : string := "x"); end;
architecture a of leaf is begin end;
)";

TEST_F(VhdlElaboratorTest, OneCopyPerDistinctSetOfGenericValues) {
    std::string text = std::string(kLeaf) + R"(
entity top is end;
architecture rtl of top is
  component leaf generic (W : positive := 4; NAME : string := "x"); end component;
  constant four : natural := 2 * 2;
begin
  u0 : leaf;
  u1 : leaf generic map (W => 8);
  u2 : entity work.leaf generic map (8);
  u3 : leaf generic map (W => four);
  u4 : leaf generic map (NAME => "fast", W => 8);
end;
)";
    EXPECT_EQ(Hier(text, "top"), "top\ttop\ttop\trtl\n"
                                 "top.u0\tleaf\tleaf\ta\n"
                                 "top.u1\tleaf\tleaf(W=8)\ta\n"
                                 "top.u2\tleaf\tleaf(W=8)\ta\n"
                                 "top.u3\tleaf\tleaf\ta\n"
                                 "top.u4\tleaf\tleaf(W=8,NAME=\"fast\")\ta\n");
    EXPECT_TRUE(ok) << Ids();
    // top, leaf, leaf(W=8), leaf(W=8,NAME="fast"): the defaults are not copied.
    EXPECT_EQ(design.UnitCount(), 4u);
    // The copies stand in the library beside their original.
    auto* copy = Lib()->GetPrimUnit("leaf(W=8)", true, false);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetOriginalUnitName(), "leaf");
    auto* arch = dynamic_cast<VhdlArchitectureBody*>(copy->GetSecondaryUnit(nullptr));
    ASSERT_NE(arch, nullptr);
    EXPECT_TRUE(arch->IsElaborated());
    EXPECT_EQ(Lib()->GetPrimUnit("leaf")->GetOriginalUnitName(), "");
    // The elaborated instances of top lead to the copies they use.
    auto* topArch = dynamic_cast<VhdlArchitectureBody*>(Lib()->GetPrimUnit("top")->GetSecondaryUnit(nullptr));
    ASSERT_TRUE(topArch && topArch->IsElaborated());
    ASSERT_EQ(topArch->GetElaboratedStatements().Size(), 5u);
    auto* u1 = dynamic_cast<VhdlComponentInstantiationStatement*>(topArch->GetElaboratedStatements().At(1));
    ASSERT_NE(u1, nullptr);
    EXPECT_EQ(u1->GetInstantiatedPrimaryUnit(), copy);
    EXPECT_EQ(u1->GetArchitectureName(), "a");
    EXPECT_NE(u1->GetSourceStatement(), nullptr);
    EXPECT_EQ(dynamic_cast<VhdlComponentInstantiationStatement*>(topArch->GetElaboratedStatements().At(0))
                  ->GetInstantiatedPrimaryUnit(),
              Lib()->GetPrimUnit("leaf"));
}

TEST_F(VhdlElaboratorTest, GenerateStatementsUnrolled) {
    std::string text = std::string(kLeaf) + R"(
entity top is generic (N : natural := 3; MODE : natural := 1); end;
architecture rtl of top is
  type st is (idle, run);
  component leaf generic (W : positive := 4; NAME : string := "x"); end component;
begin
  g1 : for i in 0 to N - 1 generate
    constant w : positive := i + 1;
  begin
    u : leaf generic map (W => w);
  end generate;
  g2 : for s in st generate
    u : leaf;
  end generate;
  g3 : if N > 2 generate u : leaf; end generate;
  g4 : if N < 2 generate u : leaf; end generate;
  g5 : if a1 : MODE = 0 generate u : leaf;
       elsif a2 : MODE = 1 generate v : leaf;
       else a3 : generate w : leaf; end generate;
  g6 : case MODE generate
       when c0 : 0 => u : leaf;
       when others => x : leaf generic map (W => 9);
       end generate;
  b1 : block begin
    inner : for j in 1 downto 0 generate u : leaf generic map (W => 2 + j); end generate;
  end block;
end;
)";
    EXPECT_EQ(Hier(text, "top"), "top\ttop\ttop\trtl\n"
                                 "top.g1[0].u\tleaf\tleaf(W=1)\ta\n"
                                 "top.g1[1].u\tleaf\tleaf(W=2)\ta\n"
                                 "top.g1[2].u\tleaf\tleaf(W=3)\ta\n"
                                 "top.g2[idle].u\tleaf\tleaf\ta\n"
                                 "top.g2[run].u\tleaf\tleaf\ta\n"
                                 "top.g3.u\tleaf\tleaf\ta\n"
                                 "top.g5.v\tleaf\tleaf\ta\n"
                                 "top.g6.x\tleaf\tleaf(W=9)\ta\n"
                                 "top.b1.inner[1].u\tleaf\tleaf(W=3)\ta\n"
                                 "top.b1.inner[0].u\tleaf\tleaf(W=2)\ta\n");
    EXPECT_TRUE(ok) << Ids();
    // The architecture's region lists the iterations as escaped labels.
    auto* arch = dynamic_cast<VhdlArchitectureBody*>(Lib()->GetPrimUnit("top")->GetSecondaryUnit(nullptr));
    std::string labels;
    for (VhdlIdDef* id : VhdlScopeOf(*arch).DeclArea())
        if (id->GetClassId() == VhdlLabelId::kClassId) labels += std::string(id->OrigName()) + " ";
    EXPECT_EQ(labels, "\\g1(0)\\ \\g1(1)\\ \\g1(2)\\ \\g2(idle)\\ \\g2(run)\\ g3 g5 g6 b1 ");
}

TEST_F(VhdlElaboratorTest, GenericsFromTheTopAndThroughTheHierarchy) {
    std::string text = R"(
package util is
  function log2ceil(n : positive) return natural;
end package;
package body util is
  function log2ceil(n : positive) return natural is
    variable r : natural := 0;
  begin
    while 2 ** r < n loop r := r + 1; end loop;
    return r;
  end;
end package body;
library ieee; use ieee.std_logic_1164.all;
entity ram is generic (ABITS : natural; INIT : std_logic_vector := "0"); end;
architecture a of ram is begin end;
entity fifo is generic (DEPTH : positive := 16); end;
library ieee; use ieee.std_logic_1164.all; use work.util.all;
architecture rtl of fifo is
  constant AW : natural := log2ceil(DEPTH);
begin
  mem : entity work.ram generic map (ABITS => AW, INIT => (AW - 1 downto 0 => '1'));
end;
entity top is generic (D : positive := 16; TAG : string := "none"; FAST : boolean := false); end;
architecture rtl of top is
begin
  f0 : entity work.fifo generic map (DEPTH => D);
  g : if FAST generate f1 : entity work.fifo generic map (DEPTH => D * 4); end generate;
end;
)";
    EXPECT_EQ(Hier(text, "top", {{"d", "1000"}, {"TAG", "fast-path"}, {"FAST", "true"}}),
              "top\ttop\ttop(D=1000,TAG=\"fast-path\",FAST=true)\trtl\n"
              "top.f0\tfifo\tfifo(DEPTH=1000)\trtl\n"
              "top.f0.mem\tram\tram(ABITS=10,INIT=\"1111111111\")\ta\n"
              "top.g.f1\tfifo\tfifo(DEPTH=4000)\trtl\n"
              "top.g.f1.mem\tram\tram(ABITS=12,INIT=\"111111111111\")\ta\n");
    EXPECT_TRUE(ok) << Ids();
    // Values of other types as a user writes them.
    std::string kinds = R"(
entity kinds is
  generic (T : time := 1 ns; R : real := 1.0; V : bit_vector(3 downto 0) := "0000"; C : character := 'a');
end;
architecture a of kinds is begin end;
)";
    EXPECT_EQ(Hier(kinds, "kinds", {{"T", "10 ns"}, {"R", "2.5"}, {"V", "x\"A\""}, {"C", "'z'"}}),
              "kinds\tkinds\tkinds(T=10000000 fs,R=2.5,V=\"1010\",C='z')\ta\n");
    EXPECT_TRUE(ok) << Ids();
    Hier(kinds, "kinds", {{"T", "10 parsecs"}});
    EXPECT_TRUE(Has("VHDL-1600", "parsecs")) << Ids();
    // A name of the generic map that the top lacks is reported, the rest applies.
    Hier(text, "top", {{"DEPTH", "8"}});
    EXPECT_TRUE(Has("VHDL-1610", "DEPTH")) << Ids();
}

TEST_F(VhdlElaboratorTest, BindingByDefaultAndByConfigurationSpecification) {
    std::string text = std::string(kLeaf) + R"(
architecture b of leaf is begin end;
entity other is generic (W : positive := 1); end;
architecture x of other is begin end;
entity top is end;
architecture rtl of top is
  component leaf generic (W : positive := 4); end component;
  component nothing_here end component;
  for u1 : leaf use entity work.leaf(a);
  for u2 : leaf use entity work.other(x) generic map (W => W + 100);
  for others : leaf use entity work.leaf(b) generic map (W => 7);
begin
  u0 : leaf;
  u1 : leaf;
  u2 : leaf generic map (W => 5);
  u3 : leaf;
  nb : nothing_here;
end;
)";
    // Default binding takes the architecture analysed last.
    EXPECT_EQ(Hier(text, "top"), "top\ttop\ttop\trtl\n"
                                 "top.u0\tleaf\tleaf(W=7)\tb\n"
                                 "top.u1\tleaf\tleaf\ta\n"
                                 "top.u2\tother\tother(W=105)\tx\n"
                                 "top.u3\tleaf\tleaf(W=7)\tb\n"
                                 "top.nb\tnothing_here\tnothing_here\n");
    EXPECT_TRUE(Has("VHDL-1317", "'nb'")) << Ids();
    EXPECT_TRUE(ok) << Ids();
}

TEST_F(VhdlElaboratorTest, ConfigurationDeclarations) {
    std::string text = std::string(kLeaf) + R"(
architecture b of leaf is begin end;
entity mid is end;
architecture m of mid is
  component leaf generic (W : positive := 4); end component;
begin
  g : for i in 0 to 1 generate
    l : leaf;
  end generate;
end;
entity top is end;
architecture rtl of top is
  component mid end component;
begin
  m0 : mid;
  m1 : mid;
end;
configuration cfg of top is
  for rtl
    for m0 : mid
      use entity work.mid(m);
      for m
        for g(1)
          for l : leaf use entity work.leaf(a) generic map (W => 6); end for;
        end for;
      end for;
    end for;
  end for;
end configuration;
)";
    EXPECT_EQ(Hier(text, "cfg"), "top\ttop\ttop_cfg_default\trtl\n"
                                 "top.m0\tmid\tmid_cfg_default\tm\n"
                                 "top.m0.g[0].l\tleaf\tleaf\tb\n"
                                 "top.m0.g[1].l\tleaf\tleaf(W=6)\ta\n"
                                 "top.m1\tmid\tmid\tm\n"
                                 "top.m1.g[0].l\tleaf\tleaf\tb\n"
                                 "top.m1.g[1].l\tleaf\tleaf\tb\n");
    EXPECT_TRUE(ok) << Ids();
    auto* copy = Lib()->GetPrimUnit("top_cfg_default", true, false);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetOriginalUnitName(), "top");
}

TEST_F(VhdlElaboratorTest, SeveralTopsShareTheirCopies) {
    std::string text = std::string(kLeaf) + R"(
entity ta is end;
architecture r of ta is begin u : entity work.leaf generic map (W => 8); end;
entity tb is end;
architecture r of tb is begin v : entity work.leaf generic map (W => 8); w : entity work.leaf; end;
)";
    test::AnalyzeVhdl(text, library);
    ElabDesign d;
    test::MessageCapture capture;
    ASSERT_TRUE(VhdlElaborate(d, {{"ta", library, ""}, {"tb", library, ""}}, {}, limits));
    ASSERT_EQ(d.tops.size(), 2u);
    EXPECT_EQ(d.tops[0].name, "ta");
    EXPECT_EQ(d.tops[1].name, "tb");
    // ta, tb, leaf(W=8) once, leaf.
    EXPECT_EQ(d.UnitCount(), 4u);
    EXPECT_EQ(d.Unit(d.tops[0].unit).instances[0].unit, d.Unit(d.tops[1].unit).instances[0].unit);
    std::ostringstream out;
    ElabPrintHier(d, out);
    EXPECT_EQ(out.str(), "ta\tta\tta\tr\nta.u\tleaf\tleaf(W=8)\ta\n"
                         "tb\ttb\ttb\tr\ntb.v\tleaf\tleaf(W=8)\ta\ntb.w\tleaf\tleaf\ta\n");
}

TEST_F(VhdlElaboratorTest, RecursiveInstantiationWithAnEnd) {
    std::string text = R"(
entity tree is generic (LEVELS : natural := 2); end;
architecture r of tree is
begin
  g : if LEVELS > 0 generate
    l : entity work.tree generic map (LEVELS - 1);
    r : entity work.tree generic map (LEVELS => LEVELS - 1);
  end generate;
end;
)";
    EXPECT_EQ(Hier(text, "tree"), "tree\ttree\ttree\tr\n"
                                  "tree.g.l\ttree\ttree(LEVELS=1)\tr\n"
                                  "tree.g.l.g.l\ttree\ttree(LEVELS=0)\tr\n"
                                  "tree.g.l.g.r\ttree\ttree(LEVELS=0)\tr\n"
                                  "tree.g.r\ttree\ttree(LEVELS=1)\tr\n"
                                  "tree.g.r.g.l\ttree\ttree(LEVELS=0)\tr\n"
                                  "tree.g.r.g.r\ttree\ttree(LEVELS=0)\tr\n");
    EXPECT_EQ(design.UnitCount(), 3u);
}

TEST_F(VhdlElaboratorTest, GenericPackagesSizeTheStructurePerInstance) {
    std::string text = R"(
package gen_pkg is
  generic (W : natural := 4);
  constant DEPTH : natural := 2 ** W;
  function twice(n : natural) return natural;
end package;
package body gen_pkg is
  function twice(n : natural) return natural is begin return 2 * n + W; end;
end package body;
package p1 is new work.gen_pkg generic map (W => 1);
entity leaf is generic (N : natural := 0); end;
architecture a of leaf is begin end;
entity sized is generic (WIDTH : natural := 1); end;
architecture rtl of sized is
  package local is new work.gen_pkg generic map (W => WIDTH);
begin
  cells : for i in 1 to local.DEPTH generate
    u : entity work.leaf generic map (N => local.twice(i));
  end generate;
end;
use work.p1.all;
entity top is end;
architecture rtl of top is
begin
  g : for i in 1 to DEPTH generate u : entity work.leaf generic map (N => twice(i)); end generate;
  s2 : entity work.sized generic map (WIDTH => 2);
  s1 : entity work.sized generic map (WIDTH => 1);
end;
)";
    EXPECT_EQ(Hier(text, "top"), "top\ttop\ttop\trtl\n"
                                 "top.g[1].u\tleaf\tleaf(N=3)\ta\n"
                                 "top.g[2].u\tleaf\tleaf(N=5)\ta\n"
                                 "top.s2\tsized\tsized(WIDTH=2)\trtl\n"
                                 "top.s2.cells[1].u\tleaf\tleaf(N=4)\ta\n"
                                 "top.s2.cells[2].u\tleaf\tleaf(N=6)\ta\n"
                                 "top.s2.cells[3].u\tleaf\tleaf(N=8)\ta\n"
                                 "top.s2.cells[4].u\tleaf\tleaf(N=10)\ta\n"
                                 "top.s1\tsized\tsized\trtl\n"
                                 "top.s1.cells[1].u\tleaf\tleaf(N=3)\ta\n"
                                 "top.s1.cells[2].u\tleaf\tleaf(N=5)\ta\n");
    EXPECT_TRUE(ok) << Ids();
    // A generic map of an instantiation naming no generic of the package.
    std::string broken = text;
    broken.replace(broken.find("generic map (W => WIDTH)"), 24, "generic map (WW => WIDTH)");
    Hier(broken, "top");
    EXPECT_TRUE(Has("VHDL-1607", "'WW' is not a generic of 'gen_pkg'")) << Ids();
}

TEST_F(VhdlElaboratorTest, MistakesAreReportedAndTheRestElaborates) {
    limits.loopIterations = 1000;
    limits.instanceDepth = 20;
    std::string text = std::string(kLeaf) + R"(
entity looped is generic (N : natural := 1); end;
architecture r of looped is begin
  u : entity work.looped generic map (N => N + 1);
end;
entity top is end;
architecture rtl of top is
  component leaf generic (W : positive := 4); end component;
  function bad(n : natural) return natural is begin return n / (n - n); end;
  function checked(n : natural) return natural is begin
    assert n < 8 report "n must stay below 8" severity failure;
    return n;
  end;
begin
  wrong_name : leaf generic map (WIDTH => 8);
  zero_div : for i in 0 to bad(3) generate u : leaf; end generate;
  assert_fail : leaf generic map (W => checked(9));
  too_many : for i in 0 to 5000 generate u : leaf; end generate;
  endless : entity work.looped;
  fine : leaf generic map (W => 3);
end;
)";
    std::string hier = Hier(text, "top");
    EXPECT_FALSE(ok);
    EXPECT_TRUE(Has("VHDL-1607", "'WIDTH' is not a generic of 'leaf'")) << Ids();
    EXPECT_TRUE(Has("VHDL-1601")) << Ids();
    EXPECT_TRUE(Has("VHDL-1474", "n must stay below 8")) << Ids();
    EXPECT_TRUE(Has("VHDL-1604", "too_many")) << Ids();
    EXPECT_TRUE(Has("VHDL-1609")) << Ids();
    // What does elaborate is still there.
    EXPECT_NE(hier.find("top.fine\tleaf\tleaf(W=3)\ta\n"), std::string::npos) << hier;
}

TEST_F(VhdlElaboratorTest, AUnitThatInstantiatesItselfWithTheSameGenerics) {
    std::string text = R"(
entity selfish is generic (N : natural := 1); end;
architecture r of selfish is begin
  again : entity work.selfish generic map (N => N);
end;
)";
    EXPECT_EQ(Hier(text, "selfish"), "selfish\tselfish\tselfish\tr\n");
    EXPECT_TRUE(Has("VHDL-1609", "'selfish' instantiates itself with the same generics")) << Ids();
}

TEST_F(VhdlElaboratorTest, TheListingStopsAtALoop) {
    ElabDesign d;
    ElabUnit a;
    a.language = ElabLanguage::Verilog;
    a.module = a.copyName = "a";
    ElabUnitId ia = d.Add(a);
    ElabUnit b = a;
    b.module = b.copyName = "b";
    ElabUnitId ib = d.Add(b);
    d.Unit(ia).instances.push_back({"ub", ib});
    d.Unit(ib).instances.push_back({"ua", ia});
    d.tops.push_back({"a", ia});
    std::ostringstream out;
    ElabPrintHier(d, out);
    EXPECT_EQ(out.str(), "a\ta\ta\na.ub\tb\tb\na.ub.ua\ta\ta\n");
}

TEST_F(VhdlElaboratorTest, NestedGeneratesStopAtTheStatementBound) {
    limits.statements = 5000;
    std::string text = R"(
entity top is end;
architecture rtl of top is begin
  a : for i in 0 to 99 generate
    b : for j in 0 to 99 generate
      c : for k in 0 to 99 generate
      end generate;
    end generate;
  end generate;
end;
)";
    Hier(text, "top");
    EXPECT_FALSE(ok);
    EXPECT_TRUE(Has("VHDL-1612", "more than 5000 statements")) << Ids();
}

TEST_F(VhdlElaboratorTest, GenericWithoutValueAndMissingArchitecture) {
    std::string text = R"(
entity needs is generic (W : natural); end;
architecture a of needs is begin end;
entity top is end;
architecture rtl of top is begin
  u0 : entity work.needs;
  u1 : entity work.needs(nonexistent) generic map (W => 1);
  u2 : entity work.needs generic map (W => 2);
end;
)";
    std::string hier = Hier(text, "top");
    EXPECT_TRUE(Has("VHDL-1608", "'W'")) << Ids();
    EXPECT_TRUE(Has("VHDL-1611", "nonexistent")) << Ids();
    EXPECT_EQ(hier, "top\ttop\ttop\trtl\ntop.u2\tneeds\tneeds(W=2)\ta\n");
    Hier(text, "missing_top");
    EXPECT_TRUE(Has("VHDL-1613", "missing_top")) << Ids();
}

TEST_F(VhdlElaboratorTest, ForeignLookupAnswersUnboundComponents) {
    std::string text = R"(
entity top is end;
architecture rtl of top is
  component vlog_cell generic (WIDTH : integer := 8; MODE : string := "a"); end component;
begin
  c0 : vlog_cell generic map (WIDTH => 16);
end;
)";
    test::AnalyzeVhdl(text, library);
    ElabDesign d;
    std::vector<ElabUnitRequest> seen;
    ElabUnitLookup lookup = [&](ElabDesign& des, const ElabUnitRequest& req) -> ElabUnitId {
        seen.push_back(req);
        ElabUnit u;
        u.language = ElabLanguage::Verilog;
        u.module = req.name;
        u.copyName = req.name + "(WIDTH=16)";
        return des.Add(u);
    };
    test::MessageCapture capture;
    EXPECT_TRUE(VhdlElaborate(d, {{"top", library, ""}}, {}, limits, lookup));
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].name, "vlog_cell");
    ASSERT_EQ(seen[0].params.size(), 2u);
    EXPECT_EQ(seen[0].params[0].name, "WIDTH");
    EXPECT_EQ(seen[0].params[0].value.kind, ElabParamValue::Integer);
    EXPECT_EQ(seen[0].params[0].value.integer, 16);
    EXPECT_EQ(seen[0].params[1].value.text, "a");
    std::ostringstream out;
    ElabPrintHier(d, out);
    EXPECT_EQ(out.str(), "top\ttop\ttop\trtl\ntop.c0\tvlog_cell\tvlog_cell(WIDTH=16)\n");
}

} // namespace
} // namespace hdl
