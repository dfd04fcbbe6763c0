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
