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
entity e is generic (n : integer := 2); port (s : in bit); end;
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
    // After the process, the architecture signal hides the entity port again.
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
    Analyze("use work.late.all; entity e is end; architecture r of e is constant a : integer := k; begin end;");
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
