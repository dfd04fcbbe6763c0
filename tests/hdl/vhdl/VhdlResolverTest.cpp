#include <gtest/gtest.h>

#include <map>

#include "VhdlTestUtil.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace hdl {
namespace {

class Instances : public VhdlVisitor {
public:
    void Visit(VhdlComponentInstantiationStatement& n) override {
        byLabel[std::string(n.GetLabel()->OrigName())] = &n;
        VhdlVisitor::Visit(n);
    }
    std::map<std::string, VhdlComponentInstantiationStatement*> byLabel;
};

// References by spelling; the last one of a spelling wins.
class Refs : public VhdlVisitor {
public:
    void Visit(VhdlIdRef& n) override { byText[std::string(n.text)] = &n; }
    std::map<std::string, VhdlIdRef*> byText;
};

class VhdlResolverTest : public ::testing::Test {
protected:
    void SetUp() override { vhdl_file::Reset(); }
    void TearDown() override { vhdl_file::Reset(); }
    void Analyze(const std::string& text, const char* lib = "work") {
        test::MessageCapture capture;
        EXPECT_TRUE(vhdl_file::AnalyzeText(text, "resolver_test.vhd", lib, VHDL_2008)) << capture.Errors();
    }
    VhdlArchitectureBody* Arch(const char* entity, const char* lib = "work") {
        VhdlPrimaryUnit* e = vhdl_file::GetLibrary(lib)->GetPrimUnit(entity);
        return e ? dynamic_cast<VhdlArchitectureBody*>(e->GetSecondaryUnit(nullptr)) : nullptr;
    }
};

const char* kLeaves = R"(
entity leaf is port (a : in bit); end;
architecture a1 of leaf is begin end;
architecture a2 of leaf is begin end;
entity other is end;
architecture x of other is begin end;
)";

TEST_F(VhdlResolverTest, InstancesBindThroughComponentsSpecsAndDefaults) {
    Analyze(kLeaves);
    Analyze(R"(
entity top is end;
architecture rtl of top is
  component leaf is port (a : in bit); end component;
  component ghost is port (a : in bit); end component;
  signal s : bit;
  for u3 : leaf use entity work.other(x);
begin
  u1 : leaf port map (a => s);
  u2 : entity work.leaf(a1) port map (a => s);
  u3 : leaf port map (a => s);
  u4 : ghost port map (a => s);
  u5 : configuration work.cfg;
  g : for i in 0 to 1 generate
    u6 : component leaf port map (a => s);
  end generate;
end;
configuration cfg of leaf is for a1 end for; end;
)");
    Instances inst;
    inst.TraverseNode(Arch("top"));
    ASSERT_EQ(inst.byLabel.size(), 6u);
    VhdlPrimaryUnit* leaf = vhdl_file::GetWorkLib()->GetPrimUnit("leaf");

    auto* u1 = inst.byLabel["u1"];
    ASSERT_NE(u1->GetInstantiatedUnit(), nullptr);
    EXPECT_EQ(u1->GetInstantiatedUnit()->GetClassId(), VhdlComponentId::kClassId);
    EXPECT_EQ(u1->boundEntity, leaf);
    EXPECT_EQ(u1->boundArchitecture->Name(), "a2"); // the most recently analysed

    auto* u2 = inst.byLabel["u2"];
    EXPECT_EQ(u2->GetInstantiatedUnit(), leaf->Id());
    EXPECT_EQ(u2->boundArchitecture->Name(), "a1");

    auto* u3 = inst.byLabel["u3"];
    EXPECT_EQ(u3->boundEntity->Name(), "other");
    EXPECT_EQ(u3->boundArchitecture->Name(), "x");

    auto* u4 = inst.byLabel["u4"];
    EXPECT_NE(u4->GetInstantiatedUnit(), nullptr);
    EXPECT_EQ(u4->boundEntity, nullptr); // stays unbound

    auto* u6 = inst.byLabel["u6"];
    EXPECT_EQ(u6->boundEntity, leaf);
}

TEST_F(VhdlResolverTest, ConfigurationInstancesBindToTheConfiguredArchitecture) {
    Analyze(kLeaves);
    Analyze("configuration cfg of leaf is for a1 end for; end;"
            "entity top is end; architecture rtl of top is begin u5 : configuration work.cfg; end;");
    Instances inst;
    inst.TraverseNode(Arch("top"));
    auto* u5 = inst.byLabel["u5"];
    ASSERT_NE(u5, nullptr);
    EXPECT_EQ(u5->GetInstantiatedUnit()->GetClassId(), VhdlConfigurationId::kClassId);
    ASSERT_NE(u5->boundEntity, nullptr);
    EXPECT_EQ(u5->boundEntity->Name(), "leaf");
    EXPECT_EQ(u5->boundArchitecture->Name(), "a1");
}

TEST_F(VhdlResolverTest, ReferencesFindTheirDeclarations) {
    Analyze(R"(
package pkg is
  type state is (idle, busy);
  constant width : integer := 8;
  function f (x : integer) return integer;
end package;
)");
    Analyze(R"(
use work.pkg.all;
entity e is port (clk : in bit; q : out integer); end;
architecture rtl of e is
  signal st : state := idle;
  constant width : integer := 4;
begin
  p : process (clk) is
    variable v : integer;
  begin
    v := f(width) + work.pkg.width;
    q <= v;
  end process;
end;
)");
    VhdlArchitectureBody* arch = Arch("e");
    ASSERT_NE(arch, nullptr);
    Refs refs;
    refs.TraverseNode(arch);
    auto declOf = [&](const char* text) -> VhdlIdDef* {
        auto it = refs.byText.find(text);
        return it == refs.byText.end() ? nullptr : it->second->GetId();
    };
    ASSERT_NE(declOf("state"), nullptr);
    EXPECT_EQ(declOf("state")->GetClassId(), VhdlTypeId::kClassId);
    ASSERT_NE(declOf("idle"), nullptr);
    EXPECT_EQ(declOf("idle")->GetClassId(), VhdlEnumerationId::kClassId);
    ASSERT_NE(declOf("clk"), nullptr); // a port of the entity, from the architecture
    EXPECT_EQ(declOf("clk")->GetClassId(), VhdlInterfaceId::kClassId);
    EXPECT_EQ(declOf("clk")->owningUnit->Name(), "e");
    EXPECT_EQ(declOf("v")->GetClassId(), VhdlVariableId::kClassId);
    ASSERT_NE(declOf("f"), nullptr);
    EXPECT_EQ(declOf("f")->owningUnit->Name(), "pkg");
    // The local constant hides the one made visible by the use clause ...
    VhdlIdRef* localWidth = nullptr;
    class Widths : public VhdlVisitor {
    public:
        void Visit(VhdlIdRef& n) override {
            if (n.text == "width") found.push_back(&n);
        }
        std::vector<VhdlIdRef*> found;
    } widths;
    widths.TraverseNode(arch);
    ASSERT_EQ(widths.found.size(), 2u);
    localWidth = widths.found[0];
    EXPECT_EQ(localWidth->GetId()->owningUnit->Name(), "rtl");
    // ... while the selected name reaches into the package.
    EXPECT_EQ(widths.found[1]->GetId()->owningUnit->Name(), "pkg");
    EXPECT_EQ(declOf("nothing_here"), nullptr);
}

TEST_F(VhdlResolverTest, LateUnitsBindAfterResolveAllAndSearchOrderIsUsed) {
    Analyze("entity top is end; architecture rtl of top is component leaf is end component; "
            "begin u : leaf; end;");
    Instances inst;
    inst.TraverseNode(Arch("top"));
    ASSERT_NE(inst.byLabel["u"], nullptr);
    EXPECT_EQ(inst.byLabel["u"]->boundEntity, nullptr);
    Analyze("entity leaf is end; architecture a of leaf is begin end;", "cells");
    vhdl_file::ResolveAll();
    EXPECT_EQ(inst.byLabel["u"]->boundEntity, nullptr); // not in work, not searched
    vhdl_file::AddLOption("cells");
    vhdl_file::ResolveAll();
    ASSERT_NE(inst.byLabel["u"]->boundEntity, nullptr);
    EXPECT_EQ(inst.byLabel["u"]->boundEntity->GetOwningLib()->Name(), "cells");
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

TEST_F(VhdlResolverTest, SelectiveUseAndExtendedIdentifiers) {
    Analyze("package pkg is constant a : integer := 1; constant b : integer := 2; "
            "signal \\Odd Sig\\ : bit; end;");
    Analyze(R"(
library work;
use work.pkg.a;
entity e is end;
architecture r of e is
  signal \Odd Sig\ : bit;
begin
  blk : block is
    signal inner : integer := a + b;
  begin
    inner2 : process begin wait on \Odd Sig\; end process;
  end block;
end;
)");
    Refs refs;
    refs.TraverseNode(Arch("e"));
    ASSERT_NE(refs.byText["a"], nullptr);
    ASSERT_NE(refs.byText["a"]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["a"]->GetId()->owningUnit->Name(), "pkg");
    // Only `a` was made visible.
    EXPECT_EQ(refs.byText["b"]->GetId(), nullptr);
    // The extended identifier finds the local signal, with exact spelling.
    ASSERT_NE(refs.byText["\\Odd Sig\\"]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["\\Odd Sig\\"]->GetId()->owningUnit->Name(), "r");
}

TEST_F(VhdlResolverTest, PackageBodySeesItsPackage) {
    Analyze("package p is constant k : integer := 3; function f return integer; end;"
            "package body p is function f return integer is begin return k; end; end;");
    VhdlPrimaryUnit* p = vhdl_file::GetWorkLib()->GetPrimUnit("p");
    Refs refs;
    refs.TraverseNode(p->GetSecondaryUnit(nullptr));
    ASSERT_NE(refs.byText["k"], nullptr);
    ASSERT_NE(refs.byText["k"]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["k"]->GetId()->GetClassId(), VhdlConstantId::kClassId);
    EXPECT_EQ(refs.byText["k"]->GetId()->owningUnit, p);
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

// All references of a spelling, in walk order.
class RefsInOrder : public VhdlVisitor {
public:
    void Visit(VhdlIdRef& n) override { byText[std::string(n.text)].push_back(&n); }
    std::map<std::string, std::vector<VhdlIdRef*>> byText;
};

const char* kPkg = R"(
package pkg is
  constant Width : integer := 8;
  constant \Ext\ : integer := 1;
  function f (x : integer) return integer;
  function f (x : bit) return bit;
  constant deferred : integer;
end package;
package body pkg is
  constant deferred : integer := 3;
  constant hidden : integer := 4;
  function f (x : integer) return integer is begin return x; end;
  function f (x : bit) return bit is begin return x; end;
end package body;
)";

TEST_F(VhdlResolverTest, UseClausesMatchNamesWithoutRegardToCaseExceptExtended) {
    Analyze(kPkg);
    Analyze(R"(
use work.pkg.all;
entity e is end;
architecture r of e is
  constant a : integer := WIDTH + width + f(1);
  constant b : integer := \EXT\ + \Ext\;
  constant c : integer := hidden;
begin
end;
)");
    RefsInOrder refs;
    refs.TraverseNode(Arch("e"));
    VhdlPrimaryUnit* pkg = vhdl_file::GetWorkLib()->GetPrimUnit("pkg");
    ASSERT_EQ(refs.byText["WIDTH"].size(), 1u);
    ASSERT_NE(refs.byText["WIDTH"][0]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["WIDTH"][0]->GetId(), refs.byText["width"][0]->GetId());
    EXPECT_EQ(refs.byText["WIDTH"][0]->GetId()->owningUnit, pkg);
    // Overloads: the name finds a function of the package, not nothing.
    ASSERT_NE(refs.byText["f"][0]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["f"][0]->GetId()->owningUnit, pkg);
    // Extended identifiers are exact: \EXT\ is another name than \Ext\.
    EXPECT_EQ(refs.byText["\\EXT\\"][0]->GetId(), nullptr);
    EXPECT_NE(refs.byText["\\Ext\\"][0]->GetId(), nullptr);
    // What only the body declares is not visible to users of the package.
    EXPECT_EQ(refs.byText["hidden"][0]->GetId(), nullptr);
}

TEST_F(VhdlResolverTest, BodyFindsItsOwnDeclarationsBeforeThePackages) {
    Analyze(kPkg);
    VhdlPrimaryUnit* pkg = vhdl_file::GetWorkLib()->GetPrimUnit("pkg");
    VhdlSecondaryUnit* body = pkg->GetSecondaryUnit(nullptr);
    ASSERT_NE(body, nullptr);
    Analyze("package body pkg is constant k : integer := hidden2 + deferred; constant hidden2 : integer := 1; "
            "function f (x : integer) return integer is begin return x + Width; end; "
            "function f (x : bit) return bit is begin return x; end; end;");
    body = pkg->GetSecondaryUnit(nullptr);
    RefsInOrder refs;
    refs.TraverseNode(body);
    ASSERT_NE(refs.byText["deferred"][0]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["deferred"][0]->GetId()->owningUnit, pkg); // the deferred constant of the package
    ASSERT_NE(refs.byText["Width"][0]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["Width"][0]->GetId()->owningUnit, pkg);
    // A declaration is visible only after it: the use before it finds nothing.
    EXPECT_EQ(refs.byText["hidden2"][0]->GetId(), nullptr);
}

TEST_F(VhdlResolverTest, InnerRegionsHideOuterOnesOnlyWhileOpen) {
    Analyze(R"(
entity e is generic (n : integer := 2); port (x : in bit); end;
architecture r of e is
  signal s : bit;
  signal t : integer := n;
begin
  p : process is
    variable s : integer;
  begin
    s := n;
    wait;
  end process;
  q : process (s) is begin end process;
end;
)");
    VhdlArchitectureBody* arch = Arch("e");
    RefsInOrder refs;
    refs.TraverseNode(arch);
    const auto& s = refs.byText["s"];
    ASSERT_EQ(s.size(), 2u);
    ASSERT_NE(s[0]->GetId(), nullptr);
    EXPECT_EQ(s[0]->GetId()->GetClassId(), VhdlVariableId::kClassId);
    ASSERT_NE(s[1]->GetId(), nullptr);
    // After the process, the name is the architecture's signal again.
    EXPECT_EQ(s[1]->GetId()->GetClassId(), VhdlSignalId::kClassId);
    EXPECT_EQ(s[1]->GetId()->owningUnit, arch);
    for (VhdlIdRef* n : refs.byText["n"]) {
        ASSERT_NE(n->GetId(), nullptr);
        EXPECT_EQ(n->GetId()->owningUnit->Name(), "e"); // the generic, from the entity region
    }
}

TEST_F(VhdlResolverTest, LibraryUseAllAndSelectiveUnitUse) {
    Analyze(kPkg, "cells");
    Analyze("package other is constant k : integer := 1; end;", "cells");
    Analyze(R"(
library cells;
use cells.all;
entity e is end;
architecture r of e is
  constant a : integer := pkg.width + other.k + missing.k;
begin end;
)");
    RefsInOrder refs;
    refs.TraverseNode(Arch("e"));
    VhdlLibrary* cells = vhdl_file::GetLibrary("cells");
    ASSERT_NE(refs.byText["pkg"][0]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["pkg"][0]->GetId(), cells->GetPrimUnit("pkg")->Id());
    EXPECT_EQ(refs.byText["other"][0]->GetId(), cells->GetPrimUnit("other")->Id());
    ASSERT_NE(refs.byText["width"][0]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["width"][0]->GetId()->owningUnit, cells->GetPrimUnit("pkg"));
    EXPECT_EQ(refs.byText["missing"][0]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["k"].size(), 2u);
    EXPECT_EQ(refs.byText["k"][1]->GetId(), nullptr);
}

TEST_F(VhdlResolverTest, PackagesAnalysedAfterTheirUsersResolveOnResolveAll) {
    {
        // Analysing a user first is an error, named at the unit it lacks; the tree stays.
        test::MessageCapture capture;
        EXPECT_FALSE(vhdl_file::AnalyzeText(
            "use work.late.all; entity e is end; architecture r of e is constant a : integer := k; begin end;",
            "resolver_test.vhd", "work", VHDL_2008));
        ASSERT_EQ(capture.Count(MSG_ERROR), 1u);
        EXPECT_EQ(capture.All().back().id, "VHDL-1505");
        EXPECT_EQ(capture.Errors(), "1: resolver_test.vhd: unit 'late' is not analyzed in library 'work'\n");
    }
    RefsInOrder refs;
    refs.TraverseNode(Arch("e"));
    ASSERT_EQ(refs.byText["k"].size(), 1u);
    EXPECT_EQ(refs.byText["k"][0]->GetId(), nullptr);
    Analyze("package late is constant k : integer := 1; end;");
    vhdl_file::ResolveAll();
    // The use clause of the entity is resolved with the entity, and the architecture
    // continues it.
    ASSERT_NE(refs.byText["k"][0]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["k"][0]->GetId()->owningUnit->Name(), "late");
}

TEST_F(VhdlResolverTest, ContextClausesNamingUnitsTheirLibraryLacksAreErrors) {
    Analyze("package p is end;", "lib1");
    test::MessageCapture capture;
    EXPECT_FALSE(vhdl_file::AnalyzeText("library lib1, lib2;\nuse lib1.p.all;\nuse lib1.all;\nuse LIB1.Q.x;\n"
                                        "context lib1.ctx;\nuse lib2.r.all;\nuse work.all;\nentity e is end;\n",
                                        "ctx_test.vhd", "work", VHDL_2008));
    // lib2 holds nothing: no file went into it, so it is not asked.
    EXPECT_EQ(capture.Errors(), "4: ctx_test.vhd: unit 'Q' is not analyzed in library 'lib1'\n"
                                "5: ctx_test.vhd: unit 'ctx' is not analyzed in library 'lib1'\n");
    // `work` is the library being analysed into.
    test::MessageCapture inLib1;
    EXPECT_FALSE(vhdl_file::AnalyzeText("use work.p.all;\nuse work.gone.all;\nentity e1 is end;\n", "work_test.vhd",
                                        "lib1", VHDL_2008));
    EXPECT_EQ(inLib1.Errors(), "2: work_test.vhd: unit 'gone' is not analyzed in library 'lib1'\n");
}

TEST_F(VhdlResolverTest, ConfigurationSpecificationsPickInstancesByLabelAllOrOthers) {
    Analyze(kLeaves);
    Analyze(R"(
entity top is end;
architecture rtl of top is
  component leaf is port (a : in bit); end component;
  component comp2 is end component;
  signal s : bit;
  for u1 : leaf use entity work.leaf(a1);
  for others : leaf use entity work.other(x);
  for all : comp2 use entity work.other;
  for open_one : leaf use open;
begin
  u1 : leaf port map (a => s);
  u2 : leaf port map (a => s);
  v1 : comp2;
  v2 : comp2;
end;
)");
    Instances inst;
    inst.TraverseNode(Arch("top"));
    ASSERT_EQ(inst.byLabel.size(), 4u);
    EXPECT_EQ(inst.byLabel["u1"]->boundEntity->Name(), "leaf");
    EXPECT_EQ(inst.byLabel["u1"]->boundArchitecture->Name(), "a1");
    EXPECT_EQ(inst.byLabel["u2"]->boundEntity->Name(), "other");
    for (const char* v : {"v1", "v2"}) {
        ASSERT_NE(inst.byLabel[v]->boundEntity, nullptr) << v;
        EXPECT_EQ(inst.byLabel[v]->boundEntity->Name(), "other");
        EXPECT_EQ(inst.byLabel[v]->boundArchitecture->Name(), "x"); // the only architecture
    }
}

TEST_F(VhdlResolverTest, UnboundComponentsStayUnboundAndDirectEntitiesNeedTheirLibrary) {
    Analyze(kLeaves, "cells");
    Analyze(R"(
entity top is end;
architecture rtl of top is
  component leaf is port (a : in bit); end component;
  signal s : bit;
begin
  u1 : leaf port map (a => s);
  u2 : entity cells.leaf(a1) port map (a => s);
  u3 : entity work.leaf port map (a => s);
end;
)");
    Instances inst;
    inst.TraverseNode(Arch("top"));
    // Default binding looks in work only, unless the search order says otherwise.
    EXPECT_NE(inst.byLabel["u1"]->GetInstantiatedUnit(), nullptr);
    EXPECT_EQ(inst.byLabel["u1"]->boundEntity, nullptr);
    ASSERT_NE(inst.byLabel["u2"]->boundEntity, nullptr);
    EXPECT_EQ(inst.byLabel["u2"]->boundEntity->GetOwningLib()->Name(), "cells");
    EXPECT_EQ(inst.byLabel["u2"]->boundArchitecture->Name(), "a1");
    EXPECT_EQ(inst.byLabel["u3"]->boundEntity, nullptr);
}

TEST_F(VhdlResolverTest, ReanalysedPackageIsSeenByLaterUsers) {
    Analyze("package p is constant old_k : integer := 1; end;");
    Analyze("package p is constant new_k : integer := 2; end;");
    Analyze("use work.p.all; entity e is end; architecture r of e is "
            "constant a : integer := old_k + new_k; begin end;");
    RefsInOrder refs;
    refs.TraverseNode(Arch("e"));
    EXPECT_EQ(refs.byText["old_k"][0]->GetId(), nullptr);
    ASSERT_NE(refs.byText["new_k"][0]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["new_k"][0]->GetId()->owningUnit, vhdl_file::GetWorkLib()->GetPrimUnit("p"));
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

// The subprogram specification a reference resolved to.
const VhdlSubprogramSpec* SpecOf(const VhdlIdRef* ref) {
    return ref && ref->GetId() ? dynamic_cast<const VhdlSubprogramSpec*>(ref->GetId()->declaration) : nullptr;
}

// The type mark of the first parameter.
std::string MarkText(const VhdlSubprogramSpec* spec) {
    if (!spec || spec->params.Empty()) return "";
    auto* mark = dynamic_cast<VhdlIdRef*>(static_cast<VhdlInterfaceDecl*>(spec->params.At(0))->GetSubtypeIndication());
    return mark ? std::string(mark->text) : "";
}

VhdlIdDef* FirstParam(const VhdlSubprogramSpec* spec) {
    return spec && !spec->params.Empty() ? static_cast<VhdlInterfaceDecl*>(spec->params.At(0))->GetIds().At(0)
                                         : nullptr;
}

size_t ParamCount(const VhdlSubprogramSpec* spec) {
    size_t n = 0;
    for (VhdlTreeNode* p : spec->params) n += static_cast<VhdlInterfaceDecl*>(p)->GetIds().Size();
    return n;
}

const char* kOverloads = R"(
package ov is
  type color is (red, green, blue);
  type light is (off, red, amber);
  function f return integer;
  function f (a : integer) return integer;
  function f (a : integer; b : integer := 0; c : integer := 0) return integer;
  function g (a : integer) return integer;
  function g (b : bit) return bit;
  procedure p (x : integer);
  procedure p (x : integer; y : integer);
end package;
)";

TEST_F(VhdlResolverTest, OverloadsAreChosenByTheNumberOfActualsAndTheFormalsNamed) {
    Analyze(kOverloads);
    test::MessageCapture capture;
    EXPECT_TRUE(vhdl_file::AnalyzeText(R"(
use work.ov.all;
entity e is end;
architecture r of e is
  constant k0 : integer := f;
  constant k1 : integer := f(1);
  constant k3 : integer := f(1, 2, 3);
  constant k2 : integer := f(1, 2);
  constant n1 : integer := g(a => 1);
  constant n2 : bit := g(b => '1');
  constant u : integer := g(1);
  constant c : color := green;
  constant l : light := amber;
  constant x : color := red;
  alias f2 is f [integer, integer, integer return integer];
begin
  process begin
    p(1);
    p(1, 2);
    wait;
  end process;
end;
)",
                                       "overloads.vhd", "work", VHDL_2008))
        << capture.Errors();
    // Legal code, however ambiguous for a resolver without types: no message.
    EXPECT_EQ(capture.Count(MSG_ERROR) + capture.Count(MSG_WARNING), 0u);
    RefsInOrder refs;
    refs.TraverseNode(Arch("e"));
    const auto& f = refs.byText["f"];
    ASSERT_EQ(f.size(), 5u);
    // f, f(1), f(1, 2, 3): one declaration each has that many parameters (f(1) also
    // fits the one with defaults, which counts only when nothing fits exactly).
    ASSERT_NE(SpecOf(f[0]), nullptr);
    EXPECT_EQ(ParamCount(SpecOf(f[0])), 0u);
    EXPECT_EQ(ParamCount(SpecOf(f[1])), 1u);
    EXPECT_EQ(ParamCount(SpecOf(f[2])), 3u);
    for (size_t i = 0; i < 3; ++i) EXPECT_FALSE(f[i]->IsAmbiguous()) << i;
    // f(1, 2) fits only the one with defaults; the signature of the alias asks for three.
    EXPECT_EQ(ParamCount(SpecOf(f[3])), 3u);
    EXPECT_EQ(ParamCount(SpecOf(f[4])), 3u);
    // g(1) fits both: the first is kept and the reference is flagged; named formals decide.
    const auto& g = refs.byText["g"];
    ASSERT_EQ(g.size(), 3u);
    // The named formals resolve to the parameters of the one chosen.
    ASSERT_NE(refs.byText["a"][0]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["a"][0]->GetId(), FirstParam(SpecOf(g[0])));
    EXPECT_EQ(refs.byText["b"][0]->GetId(), FirstParam(SpecOf(g[1])));
    EXPECT_EQ(MarkText(SpecOf(g[0])), "integer");
    EXPECT_EQ(MarkText(SpecOf(g[1])), "bit");
    EXPECT_FALSE(g[0]->IsAmbiguous());
    EXPECT_FALSE(g[1]->IsAmbiguous());
    EXPECT_TRUE(g[2]->IsAmbiguous());
    EXPECT_EQ(MarkText(SpecOf(g[2])), "integer");
    // Enumeration literals of two types: unique names resolve, a shared one is flagged.
    ASSERT_NE(refs.byText["green"][0]->GetId(), nullptr);
    EXPECT_FALSE(refs.byText["green"][0]->IsAmbiguous());
    EXPECT_EQ(refs.byText["amber"][0]->GetId()->GetClassId(), VhdlEnumerationId::kClassId);
    const auto& red = refs.byText["red"];
    ASSERT_EQ(red.size(), 1u);
    ASSERT_NE(red[0]->GetId(), nullptr);
    EXPECT_TRUE(red[0]->IsAmbiguous());
    // Procedure calls with one and two actuals.
    const auto& p = refs.byText["p"];
    ASSERT_EQ(p.size(), 2u);
    EXPECT_EQ(ParamCount(SpecOf(p[0])), 1u);
    EXPECT_EQ(ParamCount(SpecOf(p[1])), 2u);
}

TEST_F(VhdlResolverTest, ABodyAndItsDeclarationCountAsOneAndInnerOverloadsAddToOuterOnes) {
    Analyze(R"(
package q is
  function h (a : integer) return integer;
  function h (a : integer; b : integer) return integer;
end package;
package body q is
  function h (a : integer) return integer is begin return h(a, 1); end;
  function h (a : integer; b : integer) return integer is begin return a + b; end;
  function user return integer is
    function h (s : string) return integer is begin return 0; end;
  begin
    return h(1) + h("x");
  end;
end package body;
)");
    VhdlPrimaryUnit* q = vhdl_file::GetWorkLib()->GetPrimUnit("q");
    RefsInOrder refs;
    refs.TraverseNode(q->GetSecondaryUnit(nullptr));
    const auto& h = refs.byText["h"];
    ASSERT_EQ(h.size(), 3u);
    // Inside the body the declaration of the package and its body are one subprogram.
    EXPECT_FALSE(h[0]->IsAmbiguous());
    EXPECT_EQ(ParamCount(SpecOf(h[0])), 2u);
    // The local h (string) does not hide the package's h (integer): one actual each,
    // so neither count nor names decide; the innermost is kept and flagged.
    EXPECT_TRUE(h[1]->IsAmbiguous());
    EXPECT_EQ(MarkText(SpecOf(h[1])), "string");
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

// Named associations in walk order.
class Assocs : public VhdlVisitor {
public:
    void Visit(VhdlAssocElement& n) override {
        if (n.formal) all.push_back(&n);
        VhdlVisitor::Visit(n);
    }
    // The simple name a formal or actual is written with: `b` of `b(0)` and of `conv(b)`.
    static VhdlIdRef* Ref(VhdlTreeNode* n) {
        if (auto* ref = dynamic_cast<VhdlIdRef*>(n)) return ref;
        auto* idx = dynamic_cast<VhdlIndexedName*>(n);
        if (!idx) return nullptr;
        auto* prefix = dynamic_cast<VhdlIdRef*>(idx->prefix);
        if (prefix && prefix->text == "conv") return Ref(idx->assocList.At(0));
        return Ref(idx->prefix);
    }
    std::vector<VhdlAssocElement*> all;
};

// The identifier declared by the first interface declaration of `list` under `name`.
VhdlIdDef* InterfaceId(const VhdlNodeList& list, std::string_view name) {
    for (VhdlTreeNode* d : list)
        for (VhdlIdDef* id : static_cast<VhdlInterfaceDecl*>(d)->GetIds())
            if (id->Name() == name) return id;
    return nullptr;
}

TEST_F(VhdlResolverTest, FormalsNameTheInterfaceOfWhatIsInstantiatedCalledOrBound) {
    Analyze("entity leaf is generic (n : integer := 1); port (a : in bit; b : out bit_vector(1 downto 0)); end;"
            "architecture a1 of leaf is begin end;");
    Analyze(R"(
entity top is end;
architecture rtl of top is
  component leaf is generic (n : integer := 1); port (a : in bit; b : out bit_vector(1 downto 0)); end component;
  signal a, s : bit;
  signal v : bit_vector(1 downto 0);
  constant n : integer := 3;
  function conv (x : bit_vector) return bit_vector is begin return x; end;
  procedure pr (x : in integer; y : out integer) is begin y := x; end;
  for u3 : leaf use entity work.leaf(a1) generic map (n => n) port map (a => a, b => b);
begin
  u1 : leaf generic map (n => n) port map (a => a, b(0) => s, b(1) => s);
  u2 : entity work.leaf(a1) generic map (n => 2) port map (a => s, conv(b) => v);
  u3 : leaf port map (a => s, b => v);
  blk : block port (p : in bit); port map (p => a); begin end block;
  u4 : ghost port map (a => s);
  process
    variable y : integer;
  begin
    pr(y => y, x => n);
    wait;
  end process;
end;
)");
    VhdlArchitectureBody* arch = Arch("top");
    auto* comp = static_cast<VhdlComponentDecl*>(arch->GetDeclPart().At(0));
    auto* leaf = static_cast<VhdlEntityDecl*>(vhdl_file::GetWorkLib()->GetPrimUnit("leaf"));
    Assocs assocs;
    assocs.TraverseNode(arch);
    ASSERT_EQ(assocs.all.size(), 16u);
    auto formal = [&](size_t i) { return Assocs::Ref(assocs.all[i]->GetFormalPart())->GetId(); };
    auto actual = [&](size_t i) { return Assocs::Ref(assocs.all[i]->GetActualPart())->GetId(); };

    // The configuration specification: formals of the entity, actuals of the component.
    EXPECT_EQ(formal(0), InterfaceId(leaf->generics, "n"));
    EXPECT_EQ(actual(0), InterfaceId(comp->generics, "n"));
    EXPECT_EQ(formal(1), InterfaceId(leaf->ports, "a"));
    EXPECT_EQ(actual(1), InterfaceId(comp->ports, "a"));
    EXPECT_EQ(formal(2), InterfaceId(leaf->ports, "b"));
    // u1: the component's generic and ports, never the signal or constant of that name.
    ASSERT_NE(formal(3), nullptr);
    EXPECT_EQ(formal(3), InterfaceId(comp->generics, "n"));
    EXPECT_EQ(actual(3)->GetClassId(), VhdlConstantId::kClassId);
    EXPECT_EQ(formal(4), InterfaceId(comp->ports, "a"));
    EXPECT_EQ(actual(4)->GetClassId(), VhdlSignalId::kClassId);
    EXPECT_EQ(formal(5), InterfaceId(comp->ports, "b"));
    EXPECT_EQ(formal(6), InterfaceId(comp->ports, "b"));
    // u2: the entity's; the conversion function is found where it stands.
    EXPECT_EQ(formal(7), InterfaceId(leaf->generics, "n"));
    EXPECT_EQ(formal(8), InterfaceId(leaf->ports, "a"));
    EXPECT_EQ(formal(9), InterfaceId(leaf->ports, "b"));
    auto* conv = dynamic_cast<VhdlIdRef*>(static_cast<VhdlIndexedName*>(assocs.all[9]->GetFormalPart())->GetPrefix());
    ASSERT_NE(conv->GetId(), nullptr);
    EXPECT_EQ(conv->GetId()->GetClassId(), VhdlSubprogramId::kClassId);
    // u3 is bound by the specification but instantiates the component.
    EXPECT_EQ(formal(10), InterfaceId(comp->ports, "a"));
    // The block's own port.
    ASSERT_NE(formal(12), nullptr);
    EXPECT_EQ(formal(12)->Name(), "p");
    EXPECT_EQ(formal(12)->declaration->GetClassId(), VhdlInterfaceDecl::kClassId);
    EXPECT_EQ(actual(12)->GetClassId(), VhdlSignalId::kClassId);
    // An unknown component has no interface: the formal stays unresolved.
    EXPECT_EQ(formal(13), nullptr);
    EXPECT_NE(actual(13), nullptr);
    // A call names the parameters, in any order.
    ASSERT_NE(formal(14), nullptr);
    EXPECT_EQ(formal(14)->Name(), "y");
    EXPECT_EQ(formal(14)->owningUnit, arch);
    EXPECT_EQ(actual(14)->GetClassId(), VhdlVariableId::kClassId);
    EXPECT_EQ(formal(15)->Name(), "x");
    EXPECT_EQ(actual(15)->GetClassId(), VhdlConstantId::kClassId);
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

TEST_F(VhdlResolverTest, SelectedNamesReachRecordElementsAndProtectedMethodsThroughObjects) {
    Analyze(R"(
package pt is
  type node;
  type node_ptr is access node;
  type node is record
    value : integer;
    next_node : node_ptr;
  end record;
  type nodes is array (natural range <>) of node;
  type counter is protected
    procedure add (id : integer; amount : integer := 1);
    procedure add (id : integer; a : integer; b : integer);
    impure function get (id : integer) return node;
  end protected;
end package;
)");
    Analyze(R"(
use work.pt.all;
entity e is end;
architecture r of e is
  shared variable c : counter;
  signal arr : nodes(0 to 3);
begin
  process
    variable p : node_ptr;
    variable v : integer;
  begin
    v := p.value + p.all.value + p.next_node.next_node.value + arr(1).value + c.get(3).value;
    c.add(id => v);
    c.add(1, 2, 3);
    wait;
  end process;
end;
)");
    VhdlPrimaryUnit* pt = vhdl_file::GetWorkLib()->GetPrimUnit("pt");
    RefsInOrder refs;
    refs.TraverseNode(Arch("e"));
    // Elements, through access values (implicit and `.all`), a record element of the
    // incomplete type completed later, an array element and a call's result.
    const auto& value = refs.byText["value"];
    ASSERT_EQ(value.size(), 5u);
    for (VhdlIdRef* ref : value) {
        ASSERT_NE(ref->GetId(), nullptr);
        EXPECT_EQ(ref->GetId()->GetClassId(), VhdlElementId::kClassId);
        EXPECT_EQ(ref->GetId()->owningUnit, pt);
    }
    ASSERT_EQ(refs.byText["next_node"].size(), 2u);
    EXPECT_EQ(refs.byText["next_node"][1]->GetId(), refs.byText["next_node"][0]->GetId());
    // Methods of the protected type, by the number of actuals; their formals follow.
    const auto& add = refs.byText["add"];
    ASSERT_EQ(add.size(), 2u);
    ASSERT_NE(SpecOf(add[0]), nullptr);
    EXPECT_EQ(ParamCount(SpecOf(add[0])), 2u);
    EXPECT_EQ(ParamCount(SpecOf(add[1])), 3u);
    ASSERT_NE(refs.byText["id"][0]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["id"][0]->GetId(), FirstParam(SpecOf(add[0])));
    ASSERT_NE(refs.byText["get"][0]->GetId(), nullptr);
    EXPECT_EQ(refs.byText["get"][0]->GetId()->GetClassId(), VhdlSubprogramId::kClassId);
}

// The references spelt `fast` in any case, in order of the text.
class FastRefs : public VhdlVisitor {
public:
    void Visit(VhdlIdRef& n) override {
        std::string key(n.text);
        for (char& c : key) c = char(std::tolower(static_cast<unsigned char>(c)));
        if (key == "fast") refs.push_back(&n);
    }
    std::vector<VhdlIdRef*> refs;
};

TEST_F(VhdlResolverTest, AggregateChoicesOfARecordNameItsElements) {
    Analyze(R"(
package p is
  constant FAST : integer := 3;
  type inner_t is record fast : bit; end record;
  type outer_t is record fast : bit; sub : inner_t; end record;
  type arr_t is array (0 to 1) of inner_t;
  constant c1 : outer_t := (fast => '1', sub => (fast => '0'));
  constant c2 : arr_t := (others => (fast => '1'));
  constant c3 : integer := FAST;
  constant c4 : outer_t := ('0', (fast => '1'));
  constant c5 : inner_t := (fsat => '1');
end package;
use work.p.all;
entity e is end;
architecture a of e is
  signal s : outer_t;
begin
  process
    variable v : inner_t;
  begin
    v := (fast => '0');
    s <= outer_t'(fast => '1', sub => v);
    wait;
  end process;
end;
)");
    FastRefs fast;
    Refs all;
    for (VhdlPrimaryUnit* unit : vhdl_file::GetLibrary("work")->PrimaryUnits()) {
        unit->Accept(fast);
        unit->Accept(all);
    }
    Arch("e")->Accept(fast);
    const std::vector<VhdlIdRef*>& r = fast.refs;
    ASSERT_EQ(r.size(), 7u);
    for (size_t i : {0, 1, 2, 4, 5, 6}) {
        ASSERT_NE(r[i]->resolved, nullptr) << i;
        EXPECT_EQ(r[i]->resolved->GetClassId(), VhdlElementId::kClassId) << i;
    }
    // The plain name is the constant; outer and inner records have elements of their own.
    ASSERT_NE(r[3]->resolved, nullptr);
    EXPECT_EQ(r[3]->resolved->GetClassId(), VhdlConstantId::kClassId);
    EXPECT_EQ(r[0]->resolved, r[6]->resolved);
    EXPECT_NE(r[0]->resolved, r[1]->resolved);
    for (size_t i : {2, 4, 5}) EXPECT_EQ(r[i]->resolved, r[1]->resolved) << i;
    // A choice that names no element is no element.
    ASSERT_TRUE(all.byText.count("fsat"));
    EXPECT_EQ(all.byText["fsat"]->resolved, nullptr);
}

} // namespace
} // namespace hdl
