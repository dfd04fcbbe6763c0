// The queries that passes walking analysed (and elaborated) units by their names ask:
// the identifiers of a region in source order, the library of an identifier, whether an
// instance is bound `use open`, whether what it names has generics, and the dropping
// of overwritten statement slots.
#include <gtest/gtest.h>

#include <map>

#include "VhdlTestUtil.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlScope.h"

namespace hdl {
namespace {

class VhdlScopeTest : public ::testing::Test {
protected:
    void SetUp() override { vhdl_file::Reset(); }
    void TearDown() override { vhdl_file::Reset(); }
};

const char* kDesign = R"(
entity leaf is generic (W : natural := 1); end;
architecture a of leaf is begin end;
entity plain is end;
architecture a of plain is begin end;
entity top is generic (N : natural := 2); port (p : in bit); end;
architecture rtl of top is
  component leaf generic (W : natural := 1); end component;
  component plain end component;
  signal s, t : bit;
  constant c : natural := 3;
  for u_open : leaf use open;
begin
  u0 : leaf;
  u_open : leaf;
  u_plain : plain;
  u_entity : entity mylib.leaf;
  g : for i in 0 to N - 1 generate
    u : leaf;
  end generate;
  b : block begin end block;
end;
)";

std::string Names(const std::vector<VhdlIdDef*>& ids) {
    std::string out;
    for (VhdlIdDef* id : ids) out += std::string(id->OrigName()) + " ";
    return out;
}

TEST_F(VhdlScopeTest, DeclAreaListsDeclarationsThenLabelsInSourceOrder) {
    test::MessageCapture capture;
    vhdl_file::AnalyzeText("entity leaf is generic (W : natural := 1); end; architecture a of leaf is begin end;",
                           "lib.vhd", "mylib", VHDL_2008);
    vhdl_file::AnalyzeText(kDesign, "scope_test.vhd", "work", VHDL_2008);
    VhdlPrimaryUnit* top = vhdl_file::GetLibrary("work")->GetPrimUnit("top");
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(Names(VhdlScopeOf(*top).DeclArea()), "N p ");
    auto* arch = dynamic_cast<VhdlArchitectureBody*>(top->GetSecondaryUnit(nullptr));
    ASSERT_NE(arch, nullptr);
    EXPECT_EQ(Names(VhdlScopeOf(*arch).DeclArea()), "leaf plain s t c u0 u_open u_plain u_entity g b ");
    // Each label leads to its statement.
    for (VhdlIdDef* id : VhdlScopeOf(*arch).DeclArea()) {
        if (id->GetClassId() == VhdlLabelId::kClassId) {
            EXPECT_NE(dynamic_cast<VhdlStatement*>(id->declaration), nullptr) << id->OrigName();
        }
    }

    std::map<std::string, VhdlComponentInstantiationStatement*> inst;
    for (VhdlTreeNode* s : arch->statements)
        if (auto* i = dynamic_cast<VhdlComponentInstantiationStatement*>(s))
            inst[std::string(i->GetLabel()->OrigName())] = i;
    EXPECT_TRUE(inst["u_open"]->IsUnitNameInactive());
    EXPECT_FALSE(inst["u0"]->IsUnitNameInactive());
    EXPECT_TRUE(VhdlHasOverridableGenerics(inst["u0"]->GetInstantiatedUnit()));
    EXPECT_FALSE(VhdlHasOverridableGenerics(inst["u_plain"]->GetInstantiatedUnit()));
    EXPECT_TRUE(VhdlHasOverridableGenerics(inst["u_entity"]->GetInstantiatedUnit()));
    EXPECT_EQ(VhdlLibraryNameOf(inst["u_entity"]->GetInstantiatedUnit()), "mylib");
    EXPECT_EQ(VhdlLibraryNameOf(inst["u0"]->GetInstantiatedUnit()), "work");
}

TEST_F(VhdlScopeTest, OverwrittenSlotsAreDropped) {
    test::MessageCapture capture;
    vhdl_file::AnalyzeText(kDesign, "scope_test.vhd", "work", VHDL_2008);
    auto* arch = dynamic_cast<VhdlArchitectureBody*>(
        vhdl_file::GetLibrary("work")->GetPrimUnit("top")->GetSecondaryUnit(nullptr));
    ASSERT_NE(arch, nullptr);
    ASSERT_EQ(arch->statements.Size(), 6u);
    arch->statements[0] = nullptr;
    arch->statements[3] = nullptr;
    arch->statements.RemoveNulls();
    std::string labels;
    for (VhdlTreeNode* s : arch->statements)
        labels += std::string(static_cast<VhdlStatement*>(s)->GetLabel()->OrigName()) + " ";
    EXPECT_EQ(labels, "u_open u_plain g b ");
    EXPECT_EQ(Names(VhdlScopeOf(*arch).DeclArea()), "leaf plain s t c u_open u_plain g b ");
}

} // namespace
} // namespace hdl
