// Binding of component instances by configuration declarations and specifications.
#include <gtest/gtest.h>

#include <map>

#include "VhdlTestUtil.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace hdl {
namespace {

class Instances : public VhdlVisitor {
public:
    void Visit(VhdlComponentInstantiationStatement& n) override { byLabel[std::string(n.GetLabel()->OrigName())] = &n; }
    std::map<std::string, VhdlComponentInstantiationStatement*> byLabel;
};

class VhdlConfigurationTest : public ::testing::Test {
protected:
    void SetUp() override { vhdl_file::Reset(); }
    void TearDown() override { vhdl_file::Reset(); }
    void Analyze(const std::string& text, const char* lib = "work") {
        test::MessageCapture capture;
        EXPECT_TRUE(vhdl_file::AnalyzeText(text, "configuration_test.vhd", lib, VHDL_2008)) << capture.Errors();
        EXPECT_EQ(capture.Count(MSG_WARNING), 0u);
    }
    VhdlPrimaryUnit* Unit(const char* name, const char* lib = "work") {
        return vhdl_file::GetLibrary(lib)->GetPrimUnit(name);
    }
    std::map<std::string, VhdlComponentInstantiationStatement*> InstancesOf(VhdlTreeNode* node) {
        Instances inst;
        inst.TraverseNode(node);
        return inst.byLabel;
    }
    static std::string Where(const VhdlBinding& b) {
        if (!b.entity) return "unbound";
        return std::string(b.entity->Name()) + "(" + (b.architecture ? std::string(b.architecture->Name()) : "") + ")";
    }
};

// Leaves with two architectures each; `mid` instantiates a leaf itself.
const char* kCells = R"(
entity leaf is port (a : in bit); end;
architecture a1 of leaf is begin end;
architecture a2 of leaf is begin end;
entity alt is port (a : in bit); end;
architecture x of alt is begin end;
architecture y of alt is begin end;
entity mid is port (a : in bit); end;
architecture m of mid is
  component leaf is port (a : in bit); end component;
begin
  inner : leaf port map (a => a);
end;
)";

const char* kTop = R"(
entity top is end;
architecture rtl of top is
  component leaf is port (a : in bit); end component;
  component mid is port (a : in bit); end component;
  signal s : bit;
begin
  u1 : leaf port map (a => s);
  u2 : leaf port map (a => s);
  u3 : leaf port map (a => s);
  m1 : mid port map (a => s);
  g : for i in 0 to 3 generate
    gu : leaf port map (a => s);
  end generate;
  b : block begin
    bu : leaf port map (a => s);
  end block;
  c : if true generate
    cu : leaf port map (a => s);
  end generate;
end;
)";

TEST_F(VhdlConfigurationTest, ConfigurationsBindNamedOthersNestedAndGeneratedInstances) {
    Analyze(kCells);
    Analyze(kTop);
    Analyze(R"(
configuration cfg of top is
  for rtl
    for u1 : leaf use entity work.leaf(a1); end for;
    for others : leaf use entity work.alt(x); end for;
    for m1 : mid
      use entity work.mid(m);
      for m
        for inner : leaf use entity work.alt(y); end for;
      end for;
    end for;
    for g(1 to 2)
      for gu : leaf use entity work.leaf(a1); end for;
    end for;
    for b
      for all : leaf use entity work.alt; end for;
    end for;
  end for;
end configuration;
)");
    auto* cfg = dynamic_cast<VhdlConfigurationDecl*>(Unit("cfg"));
    ASSERT_NE(cfg, nullptr);
    ASSERT_EQ(cfg->GetEntity(), Unit("top"));
    VhdlSecondaryUnit* rtl = Unit("top")->GetSecondaryUnit("rtl");
    ASSERT_EQ(cfg->GetArchitecture(), rtl);
    VhdlBlockConfiguration* top = cfg->GetBlockConfiguration();
    EXPECT_EQ(top->GetBlock(), rtl);

    auto inst = InstancesOf(rtl);
    // Without the configuration every leaf binds by default to the latest architecture.
    EXPECT_EQ(Where(VhdlBindingOf(*inst["u1"], nullptr)), "leaf(a2)");
    // With it: by label, then the others of that component.
    EXPECT_EQ(Where(VhdlBindingOf(*inst["u1"], top)), "leaf(a1)");
    EXPECT_EQ(Where(VhdlBindingOf(*inst["u2"], top)), "alt(x)");
    EXPECT_EQ(Where(VhdlBindingOf(*inst["u3"], top)), "alt(x)");
    // The labels of the specification are the instances' labels.
    auto* u1Config = static_cast<VhdlComponentConfiguration*>(top->items.At(0));
    EXPECT_EQ(static_cast<VhdlIdRef*>(u1Config->GetComponentSpec()->labels.At(0))->GetId(), inst["u1"]->GetLabel());
    EXPECT_EQ(static_cast<VhdlIdRef*>(u1Config->GetComponentSpec()->component)->GetId(),
              inst["u1"]->GetInstantiatedUnit());

    // m1 binds to mid(m), and the nested block configuration reaches mid's own instance.
    VhdlBinding m1 = VhdlBindingOf(*inst["m1"], top);
    EXPECT_EQ(Where(m1), "mid(m)");
    ASSERT_NE(m1.configuration, nullptr);
    EXPECT_EQ(m1.configuration->GetBlock(), m1.architecture);
    auto innerOfMid = InstancesOf(m1.architecture);
    EXPECT_EQ(Where(VhdlBindingOf(*innerOfMid["inner"], m1.configuration)), "alt(y)");
    EXPECT_EQ(Where(VhdlBindingOf(*innerOfMid["inner"], nullptr)), "leaf(a2)");

    // Generate and block labels: the block configuration of the statement applies inside.
    auto* gen = static_cast<VhdlStatement*>(static_cast<VhdlArchitectureBody*>(rtl)->GetStatementPart().At(4));
    std::vector<VhdlBlockConfiguration*> forGen = top->ConfigurationsOf(*gen);
    ASSERT_EQ(forGen.size(), 1u);
    ASSERT_NE(forGen[0]->GetIndexSpecification(), nullptr);
    EXPECT_EQ(forGen[0]->GetIndexSpecification()->GetClassId(), VhdlRange::kClassId);
    EXPECT_EQ(Where(VhdlBindingOf(*inst["gu"], forGen[0])), "leaf(a1)");
    auto* blk = static_cast<VhdlStatement*>(static_cast<VhdlArchitectureBody*>(rtl)->GetStatementPart().At(5));
    std::vector<VhdlBlockConfiguration*> forBlock = top->ConfigurationsOf(*blk);
    ASSERT_EQ(forBlock.size(), 1u);
    EXPECT_EQ(Where(VhdlBindingOf(*inst["bu"], forBlock[0])), "alt(y)"); // `use entity work.alt`: the latest
    // A generate that the configuration does not name keeps its default bindings.
    auto* ifGen = static_cast<VhdlStatement*>(static_cast<VhdlArchitectureBody*>(rtl)->GetStatementPart().At(6));
    EXPECT_TRUE(top->ConfigurationsOf(*ifGen).empty());
}

TEST_F(VhdlConfigurationTest, ComponentConfigurationsWithoutEntityAspectKeepTheBindingAndOpenUnbinds) {
    Analyze(kCells);
    Analyze(R"(
entity top2 is end;
architecture rtl of top2 is
  component leaf is port (a : in bit); end component;
  component mid is port (a : in bit); end component;
  signal s : bit;
  for p1 : leaf use entity work.alt(x);
begin
  p1 : leaf port map (a => s);
  p2 : leaf port map (a => s);
  p3 : mid port map (a => s);
end;
configuration c2 of top2 is
  for rtl
    for p1 : leaf port map (a => s); end for;
    for p2 : leaf use open; end for;
    for p3 : mid
      for m
        for inner : leaf use configuration work.cl; end for;
      end for;
    end for;
  end for;
end;
)");
    auto* c2 = static_cast<VhdlConfigurationDecl*>(Unit("c2"));
    VhdlBlockConfiguration* top = c2->GetBlockConfiguration();
    auto inst = InstancesOf(c2->GetArchitecture());
    ASSERT_EQ(inst.size(), 3u);
    // Incremental: the specification's binding stays.
    EXPECT_EQ(Where(VhdlBindingOf(*inst["p1"], top)), "alt(x)");
    EXPECT_EQ(Where(VhdlBindingOf(*inst["p2"], nullptr)), "leaf(a2)");
    EXPECT_EQ(Where(VhdlBindingOf(*inst["p2"], top)), "unbound");
    // Default binding of mid, configured further inside.
    VhdlBinding p3 = VhdlBindingOf(*inst["p3"], top);
    EXPECT_EQ(Where(p3), "mid(m)");
    ASSERT_NE(p3.configuration, nullptr);
    auto inner = InstancesOf(p3.architecture);
    // The configuration cl is analysed after c2: found by ResolveAll.
    EXPECT_EQ(Where(VhdlBindingOf(*inner["inner"], p3.configuration)), "unbound");
    Analyze("configuration cl of leaf is for a1 end for; end;");
    vhdl_file::ResolveAll();
    VhdlBinding viaConfig = VhdlBindingOf(*inner["inner"], p3.configuration);
    EXPECT_EQ(Where(viaConfig), "leaf(a1)");
    // `use configuration` carries that configuration's block configuration on.
    EXPECT_EQ(viaConfig.configuration, static_cast<VhdlConfigurationDecl*>(Unit("cl"))->GetBlockConfiguration());
}

TEST_F(VhdlConfigurationTest, InstancesTellWhatTheyNameAndWhereTheSpecificationSendsThem) {
    Analyze(kCells, "cells");
    Analyze(R"(
library cells;
entity top3 is end;
architecture rtl of top3 is
  component leaf is generic (n : integer := 1); port (a : in bit); end component;
  component nogen is end component;
  signal s : bit;
  for k1 : leaf use entity cells.alt(y);
begin
  k1 : leaf port map (a => s);
  k2 : entity cells.leaf(a1) port map (a => s);
  k3 : configuration cells.lc;
  k4 : nogen;
end;
)");
    auto inst = InstancesOf(Unit("top3")->GetSecondaryUnit(nullptr));
    VhdlComponentInstantiationStatement* k1 = inst["k1"];
    ASSERT_NE(k1->GetComponent(), nullptr);
    EXPECT_TRUE(k1->InstantiatesComponent());
    EXPECT_TRUE(k1->InstantiatesUnitWithGenerics());
    EXPECT_EQ(k1->GetLibraryName(), "cells");
    EXPECT_EQ(k1->GetEntityName(), "alt");
    EXPECT_EQ(k1->GetArchitectureName(), "y");
    EXPECT_EQ(k1->GetInstantiatedPrimaryUnit(), Unit("alt", "cells"));
    EXPECT_EQ(k1->GetBoundArchitecture()->Name(), "y");
    ASSERT_NE(k1->GetBindingIndication(), nullptr);

    VhdlComponentInstantiationStatement* k2 = inst["k2"];
    EXPECT_FALSE(k2->InstantiatesComponent());
    EXPECT_EQ(k2->GetComponent(), nullptr);
    EXPECT_FALSE(k2->InstantiatesUnitWithGenerics());
    EXPECT_EQ(k2->GetLibraryName(), "cells");
    EXPECT_EQ(k2->GetEntityName(), "leaf");
    EXPECT_EQ(k2->GetArchitectureName(), "a1");
    EXPECT_EQ(k2->GetInstantiatedPrimaryUnit(), Unit("leaf", "cells"));

    // A configuration not analysed yet leaves the instance unbound, names still known.
    VhdlComponentInstantiationStatement* k3 = inst["k3"];
    EXPECT_EQ(k3->GetBoundEntity(), nullptr);
    EXPECT_EQ(k3->GetLibraryName(), "cells");
    EXPECT_EQ(k3->GetEntityName(), "lc");
    Analyze("configuration lc of leaf is for a1 end for; end;", "cells");
    vhdl_file::ResolveAll();
    EXPECT_EQ(k3->GetInstantiatedPrimaryUnit(), Unit("lc", "cells"));
    EXPECT_EQ(k3->GetBoundConfiguration(), Unit("lc", "cells"));
    EXPECT_EQ(k3->GetEntityName(), "leaf");
    EXPECT_EQ(k3->GetArchitectureName(), "a1");

    // A component with no entity anywhere: unbound, no names given.
    VhdlComponentInstantiationStatement* k4 = inst["k4"];
    EXPECT_NE(k4->GetComponent(), nullptr);
    EXPECT_EQ(k4->GetBoundEntity(), nullptr);
    EXPECT_EQ(k4->GetInstantiatedPrimaryUnit(), nullptr);
    EXPECT_EQ(k4->GetLibraryName(), "");
    EXPECT_FALSE(k4->InstantiatesUnitWithGenerics());
}

TEST_F(VhdlConfigurationTest, SpecificationsApplyInTheirOwnRegionOnly) {
    Analyze(kCells);
    Analyze(R"(
entity top4 is end;
architecture rtl of top4 is
  component leaf is port (a : in bit); end component;
  signal s : bit;
  for all : leaf use entity work.alt(x);
begin
  t1 : leaf port map (a => s);
  g1 : for i in 0 to 1 generate
    t2 : leaf port map (a => s);
  end generate;
  g2 : for i in 0 to 1 generate
    for t3 : leaf use entity work.leaf(a1);
  begin
    t3 : leaf port map (a => s);
  end generate;
end;
)");
    auto inst = InstancesOf(Unit("top4")->GetSecondaryUnit(nullptr));
    EXPECT_EQ(Where(VhdlBindingOf(*inst["t1"], nullptr)), "alt(x)");
    EXPECT_EQ(Where(VhdlBindingOf(*inst["t2"], nullptr)), "leaf(a2)");
    EXPECT_EQ(Where(VhdlBindingOf(*inst["t3"], nullptr)), "leaf(a1)");
    EXPECT_EQ(inst["t2"]->GetBindingIndication(), nullptr);
    EXPECT_EQ(inst["t2"]->GetEntityName(), "");
}

TEST_F(VhdlConfigurationTest, AlternativesOfGeneratesAreConfiguredByTheirLabels) {
    Analyze(kCells);
    Analyze(R"(
entity top5 is end;
architecture rtl of top5 is
  component leaf is port (a : in bit); end component;
  signal s : bit;
begin
  c : if a1 : true generate
    cu1 : leaf port map (a => s);
  elsif a2 : false generate
    cu2 : leaf port map (a => s);
  end generate;
end;
configuration c5 of top5 is
  for rtl
    for c(a2)
      for cu2 : leaf use entity work.alt(x); end for;
    end for;
  end for;
end;
)");
    auto* c5 = static_cast<VhdlConfigurationDecl*>(Unit("c5"));
    auto* ifGen = static_cast<VhdlIfElsifGenerateStatement*>(
        static_cast<VhdlArchitectureBody*>(c5->GetArchitecture())->GetStatementPart().At(0));
    std::vector<VhdlBlockConfiguration*> forC = c5->GetBlockConfiguration()->ConfigurationsOf(*ifGen);
    ASSERT_EQ(forC.size(), 1u);
    // The block is the second alternative, named by its label.
    ASSERT_EQ(forC[0]->GetBlock(), ifGen->alternatives.At(1));
    auto* alt = static_cast<VhdlIdRef*>(forC[0]->GetIndexSpecification());
    ASSERT_NE(alt->GetId(), nullptr);
    EXPECT_EQ(alt->GetId()->Name(), "a2");
    auto inst = InstancesOf(ifGen);
    EXPECT_EQ(Where(VhdlBindingOf(*inst["cu2"], forC[0])), "alt(x)");
    EXPECT_EQ(forC[0]->ConfigurationOf(*inst["cu1"]), nullptr);
}

} // namespace
} // namespace hdl
