// The mixed entry: each language's elaborator answering the other's instances, a
// registered Verilog side standing in for the Verilog one; a Verilog top that no library
// holds is told and the VHDL tops go on.
#include <gtest/gtest.h>

#include "ElabTestUtil.h"
#include "hdl/elab/ElabMixed.h"

namespace hdl {
namespace {

// Stands for the Verilog elaborator: a top becomes a unit that instantiates the VHDL
// entity `vleaf` with W=3; a VHDL instance of `vmod` becomes a copy named for its W.
class FakeVerilogSide : public ElabVerilogSide {
public:
    bool ElaborateTops(ElabDesign& design, const std::vector<ElabTopRequest>& tops, const ElabGenericMap& generics,
                       const ElabLimits&, const ElabUnitLookup& vhdl, std::vector<ElabUnitId>& elaborated) override {
        genericsSeen = generics;
        for (const ElabTopRequest& top : tops) {
            ElabUnit unit;
            unit.language = ElabLanguage::Verilog;
            unit.module = unit.copyName = top.name;
            ElabUnitRequest request;
            request.name = "vleaf";
            ElabParam w;
            w.name = "W";
            w.value.kind = ElabParamValue::Integer;
            w.value.integer = 3;
            request.params.push_back(w);
            const ElabUnitId child = vhdl(design, request);
            if (child) unit.instances.push_back({"u_vhdl", child});
            const ElabUnitId id = design.Add(unit);
            design.tops.push_back({top.name, id});
            elaborated.push_back(id);
        }
        return true;
    }
    ElabUnitId ElaborateForeign(ElabDesign& design, const ElabUnitRequest& request, const ElabUnitLookup&) override {
        if (request.name != "vmod") return 0;
        ElabUnit unit;
        unit.language = ElabLanguage::Verilog;
        unit.module = "vmod";
        unit.copyName = "vmod";
        for (const ElabParam& p : request.params)
            unit.copyName += "(" + p.name + "=" + std::to_string(p.value.integer) + ")";
        return design.Add(unit);
    }
    ElabGenericMap genericsSeen;
};

class ElabMixedTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!test::LoadStandardLibraries()) GTEST_SKIP() << "no data directory";
        ASSERT_EQ(test::AnalyzeVhdl(R"(
entity vleaf is generic (W : natural := 1); end;
architecture a of vleaf is begin end;
entity vtop is generic (N : natural := 8); end;
architecture rtl of vtop is
  component vmod is generic (W : natural := 1); end component;
begin
  m: vmod generic map (W => N);
end;
)",
                                    "mixed"),
                  "");
    }
    void TearDown() override { ElabRegisterVerilogSide(nullptr); }

    // The unit the instance of that name in `unit` uses.
    static const ElabUnit* Child(const ElabDesign& d, ElabUnitId unit, const std::string& name) {
        for (const ElabInstance& i : d.Unit(unit).instances)
            if (i.name == name) return &d.Unit(i.unit);
        return nullptr;
    }
};

TEST_F(ElabMixedTest, BothDirectionsCrossThroughTheRegisteredSide) {
    FakeVerilogSide side;
    ElabRegisterVerilogSide(&side);
    ElabDesign design;
    std::vector<ElabUnitId> verilog, vhdl;
    ElabGenericMap generics{{"N", "16"}};
    test::MessageCapture messages;
    EXPECT_TRUE(ElaborateMixedHdlMultipleTopsStatic(design, {{"vtop_v", "", ""}}, {{"vtop", "mixed", ""}}, &generics,
                                                    verilog, vhdl));
    ASSERT_EQ(verilog.size(), 1u);
    ASSERT_EQ(vhdl.size(), 1u);
    // VHDL component to Verilog module, with the generic handed in from outside.
    const ElabUnit* m = Child(design, vhdl[0], "m");
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->language, ElabLanguage::Verilog);
    EXPECT_EQ(m->copyName, "vmod(W=16)");
    // Verilog instance to VHDL entity, a copy for the value it passes.
    const ElabUnit* v = Child(design, verilog[0], "u_vhdl");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->language, ElabLanguage::Vhdl);
    EXPECT_EQ(v->copyName, "vleaf(W=3)");
    EXPECT_EQ(side.genericsSeen.size(), 1u);
    EXPECT_EQ(messages.Count(MSG_ERROR), 0u) << messages.Errors();
}

TEST_F(ElabMixedTest, AVerilogTopNoLibraryHoldsIsToldAndVhdlGoesOn) {
    ElabDesign design;
    std::vector<ElabUnitId> verilog, vhdl;
    test::MessageCapture messages;
    ElaborateMixedHdlMultipleTopsStatic(design, {{"vtop_v", "", ""}}, {{"vtop", "mixed", ""}}, nullptr, verilog, vhdl);
    EXPECT_TRUE(verilog.empty());
    ASSERT_EQ(vhdl.size(), 1u);
    bool told = false, unbound = false;
    for (const auto& msg : messages.All()) {
        told |= msg.id == "VHDL-1614" && msg.text.find("vtop_v") != std::string::npos;
        unbound |= msg.id == "VHDL-1317" && msg.text.find("vmod") != std::string::npos;
    }
    EXPECT_TRUE(told);
    EXPECT_TRUE(unbound);
    const ElabUnit* m = Child(design, vhdl[0], "m");
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->language, ElabLanguage::Unbound);
}

} // namespace
} // namespace hdl
