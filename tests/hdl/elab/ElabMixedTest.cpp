// The mixed entry: each language's elaborator answering the other's instances, a
// registered Verilog side standing in for the Verilog one; a Verilog top that no library
// holds is told and the VHDL tops go on.
#include <gtest/gtest.h>

#include "ElabTestUtil.h"
#include "hdl/elab/ElabMixed.h"
#include "hdl/sv/VeriLibrary.h"

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
            if (child && child != kElabUnitFailed) unit.instances.push_back({"u_vhdl", child});
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

// A Verilog configuration among the tops of the mixed call: its design cell is elaborated
// under it (named after both), takes the outside values, and binds into VHDL below.
TEST_F(ElabMixedTest, AVerilogConfigurationTopElaboratesItsDesignCell) {
    ASSERT_TRUE(veri_file::AnalyzeText("module vmod #(parameter W = 1) (); vleaf #(.W(W)) l (); endmodule\n"
                                       "config vcfg; design vmod; endconfig\n"
                                       "config vbad; design nothere; endconfig\n",
                                       "cfg.sv", SYSTEM_VERILOG, "mixed"));
    ElabDesign design;
    std::vector<ElabUnitId> verilog, vhdl;
    ElabGenericMap generics{{"W", "5"}};
    test::MessageCapture messages;
    EXPECT_TRUE(ElaborateMixedHdlMultipleTopsStatic(design, {{"vcfg", "mixed", ""}}, {}, &generics, verilog, vhdl));
    ASSERT_EQ(verilog.size(), 1u);
    EXPECT_EQ(design.Unit(verilog[0]).copyName, "vmod_vcfg(W=5)");
    EXPECT_EQ(design.tops.at(0).name, "vmod");
    const ElabUnit* l = Child(design, verilog[0], "l");
    ASSERT_NE(l, nullptr);
    EXPECT_EQ(l->copyName, "vleaf(W=5)");
    EXPECT_TRUE(veri_file::GetLibrary("mixed")->GetModule("vcfg")->IsElaborated());
    VeriModule* copy = veri_file::GetLibrary("mixed")->GetModule("vmod_vcfg(W=5)");
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetOriginalModuleName(), "vmod");
    EXPECT_EQ(messages.All().size(), 0u) << messages.Errors();

    // A configuration whose design cell no library holds: told at the cell, not as a
    // top no library holds; the VHDL top goes on.
    ElabDesign bad;
    std::vector<ElabUnitId> badVerilog, badVhdl;
    test::MessageCapture told;
    EXPECT_FALSE(ElaborateMixedHdlMultipleTopsStatic(bad, {{"vbad", "", ""}}, {{"vtop", "mixed", ""}}, nullptr,
                                                     badVerilog, badVhdl));
    EXPECT_TRUE(badVerilog.empty());
    EXPECT_EQ(badVhdl.size(), 1u);
    bool atCell = false, asTop = false;
    for (const auto& msg : told.All()) {
        atCell |= msg.id == "VERI-1607" && msg.text.find("nothere") != std::string::npos;
        asTop |= msg.id == "VHDL-1614";
    }
    EXPECT_TRUE(atCell) << told.Errors();
    EXPECT_FALSE(asTop);
    veri_file::Reset();
}

// A unit that the other language holds but cannot elaborate: its own error stays, and
// the instance says that it failed, not that its unit is missing. A FIFO wrapper gives
// its VHDL FIFO a depth the generic's subtype refuses; a Verilog module and a VHDL
// entity that instantiate each other with a count that does not go down recurse.
const char* const kFailVerilog = R"(
module fifo_wrap;
  vfifo #(.DEPTH(8)) f ();
endmodule
module vrec #(parameter int N = 2) ();
  if (N > 0) begin : g
    erec #(.N(N - 1)) e ();
  end
endmodule
)";

const char* const kFailVhdl = R"(
entity vfifo is generic (DEPTH : positive := 4); end;
architecture rtl of vfifo is begin end;
entity erec is generic (N : natural := 1); end;
architecture rtl of erec is
  component vrec is generic (N : integer := 0); end component;
begin
  g: if N > 0 generate
    v: vrec generic map (N => N - 1);
  end generate;
end;
)";

// The messages of elaborating both tops: "ID line", one a line.
std::string FailMessages(const std::string& from = "", const std::string& to = "") {
    std::string verilog = kFailVerilog, vhdl = kFailVhdl;
    for (std::string* text : {&verilog, &vhdl}) {
        const size_t at = from.empty() ? std::string::npos : text->find(from);
        if (at != std::string::npos) text->replace(at, from.size(), to);
    }
    veri_file::Reset();
    EXPECT_TRUE(veri_file::AnalyzeText(verilog, "fail.sv", SYSTEM_VERILOG, "fail"));
    EXPECT_EQ(test::AnalyzeVhdl(vhdl, "fail"), "");
    ElabDesign design;
    std::vector<ElabUnitId> verilogUnits, vhdlUnits;
    test::MessageCapture messages;
    ElaborateMixedHdlMultipleTopsStatic(design, {{"fifo_wrap", "fail", ""}, {"vrec", "fail", ""}}, {}, nullptr,
                                        verilogUnits, vhdlUnits);
    EXPECT_EQ(verilogUnits.size(), 2u);
    std::string out;
    for (const auto& m : messages.All()) out += m.id + " " + std::to_string(m.line) + "\n";
    return out;
}

TEST_F(ElabMixedTest, AUnitTheOtherLanguageFailsToElaborateIsNotCalledMissing) {
    EXPECT_EQ(FailMessages(), "");
    // A depth of 0 for a positive generic: the VHDL range error at the instance, then
    // the Verilog side's word that the entity failed, and no "not found".
    EXPECT_EQ(FailMessages("DEPTH(8)", "DEPTH(0)"), "VHDL-1602 3\nVERI-1620 3\n");
    // A count that does not go down: Verilog stops the recursion, VHDL says the module
    // failed rather than that nothing binds its component.
    EXPECT_EQ(FailMessages("(N => N - 1)", "(N => N + 1)"), "VERI-1606 5\nVHDL-1620 9\n");
    // A module no library holds is still told as missing.
    const std::string told = FailMessages("vfifo #(.DEPTH(8))", "vfifo_x #(.DEPTH(8))");
    EXPECT_NE(told.find("VERI-1605 3\n"), std::string::npos) << told;
    EXPECT_EQ(told.find("VERI-1620"), std::string::npos) << told;
    veri_file::Reset();
}

// Port widths across the languages: each side checks the actuals of the other's instance
// against the ports of the copy it elaborated, as a mixed simulator does when it
// connects them. The design is silent; each broken variant is told at its instance.
const char* const kWidthsVerilog = R"(
module vreg #(parameter int W = 4) (input logic [W-1:0] d, output logic [W-1:0] q);
  logic [2*W-1:0] wide;
  vsink #(.N(W)) s (.x(d), .y(wide));
  vsink #(W) t (q, {d, q});
endmodule
)";

const char* const kWidthsVhdl = R"(
library ieee; use ieee.std_logic_1164.all;
entity vsink is
  generic (N : natural := 1);
  port (x : in std_logic_vector(N - 1 downto 0); y : in std_logic_vector(2 * N - 1 downto 0));
end;
architecture rtl of vsink is begin end;
library ieee; use ieee.std_logic_1164.all;
entity wtop is end;
architecture rtl of wtop is
  component vreg is
    generic (W : integer := 4);
    port (d : in std_logic_vector(W - 1 downto 0); q : out std_logic_vector(W - 1 downto 0));
  end component;
  signal a, b : std_logic_vector(7 downto 0);
  signal c : std_logic_vector(15 downto 0);
begin
  r0: vreg generic map (W => 8) port map (d => a, q => b);
  r1: vreg generic map (W => 16) port map (c, c);
  r2: vreg generic map (W => 8) port map (d => c(11 downto 4), q => open);
end;
)";

// The messages of a width check: "ID line text", one a line.
std::string WidthMessages(std::string verilog, std::string vhdl, const std::string& from = "",
                          const std::string& to = "") {
    for (std::string* text : {&verilog, &vhdl}) {
        const size_t at = from.empty() ? std::string::npos : text->find(from);
        if (at != std::string::npos) text->replace(at, from.size(), to);
    }
    veri_file::Reset();
    EXPECT_TRUE(veri_file::AnalyzeText(verilog, "widths.sv", SYSTEM_VERILOG, "widths"));
    EXPECT_EQ(test::AnalyzeVhdl(vhdl, "widths"), "");
    ElabDesign design;
    std::vector<ElabUnitId> verilogUnits, vhdlUnits;
    test::MessageCapture messages;
    ElaborateMixedHdlMultipleTopsStatic(design, {}, {{"wtop", "widths", ""}}, nullptr, verilogUnits, vhdlUnits);
    EXPECT_EQ(vhdlUnits.size(), 1u);
    std::string out;
    for (const auto& m : messages.All())
        if (m.id == "VERI-1614" || m.id == "VHDL-1615")
            out += m.id + " " + std::to_string(m.line) + " " + m.text.substr(m.text.find(": ") + 2) + "\n";
    return out;
}

TEST_F(ElabMixedTest, PortWidthsThatDifferAcrossTheLanguagesAreTold) {
    EXPECT_EQ(WidthMessages(kWidthsVerilog, kWidthsVhdl), "");
    // A generic value that makes the module narrower than the signals: both ports of r0.
    EXPECT_EQ(WidthMessages(kWidthsVerilog, kWidthsVhdl, "(W => 8) port map (d => a", "(W => 6) port map (d => a"),
              "VERI-1614 18 port 'd' of module 'vreg' is 6 bits wide, its actual 8 bits\n"
              "VERI-1614 18 port 'q' of module 'vreg' is 6 bits wide, its actual 8 bits\n");
    // A slice one bit too wide.
    EXPECT_EQ(WidthMessages(kWidthsVerilog, kWidthsVhdl, "c(11 downto 4)", "c(11 downto 3)"),
              "VERI-1614 20 port 'd' of module 'vreg' is 8 bits wide, its actual 9 bits\n");
    // The Verilog side: a vector one bit too wide, and a concatenation one port short.
    EXPECT_EQ(WidthMessages(kWidthsVerilog, kWidthsVhdl, "logic [2*W-1:0] wide", "logic [2*W:0] wide"),
              "VHDL-1615 4 port 'y' of entity 'vsink' is 16 bits wide, its actual 17 bits\n"
              "VHDL-1615 4 port 'y' of entity 'vsink' is 32 bits wide, its actual 33 bits\n");
    EXPECT_EQ(WidthMessages(kWidthsVerilog, kWidthsVhdl, "{d, q}", "{d}"),
              "VHDL-1615 5 port 'y' of entity 'vsink' is 16 bits wide, its actual 8 bits\n"
              "VHDL-1615 5 port 'y' of entity 'vsink' is 32 bits wide, its actual 16 bits\n");
    veri_file::Reset();
}

// Time across the languages. A VHDL time reaches a Verilog parameter as a real count of
// the module's time unit (its `timeunit`, else its `timescale`), so neither two hours
// overflow nor a fraction of a unit is lost; a Verilog number reaches a VHDL time
// generic as a count of the writing module's unit. Past what VHDL time holds is an error.
TEST_F(ElabMixedTest, TimeCrossesInTheUnitOfTheVerilogModule) {
    veri_file::Reset();
    ASSERT_TRUE(veri_file::AnalyzeText("`timescale 1ns/1ps\n"
                                       "module tmod #(parameter real P = 0.0, parameter time Q = 0) ();\n"
                                       "  tdelay #(.T(P)) d ();\n"
                                       "endmodule\n"
                                       "module tfine #(parameter real P = 0.0) ();\n"
                                       "  timeunit 1ps;\n"
                                       "endmodule\n"
                                       "module tver;\n"
                                       "  timeunit 100ps;\n"
                                       "  tdelay #(.T(25)) a ();\n"
                                       "  tdelay #(.T(7200 * 1e10)) b ();\n"
                                       "  tdelay #(.T(0.5)) c ();\n"
                                       "  tdelay #(.T(7300 * 1e11)) e ();\n"
                                       "endmodule\n",
                                       "times.sv", SYSTEM_VERILOG, "times"));
    ASSERT_EQ(test::AnalyzeVhdl(R"(
entity tdelay is generic (T : time := 1 ns); end;
architecture rtl of tdelay is begin end;
entity tvhd is end;
architecture rtl of tvhd is
  component tmod is generic (P : time := 0 ns; Q : time := 0 ns); end component;
  component tfine is generic (P : time := 0 ns); end component;
begin
  small: tmod generic map (P => 1.5 ns, Q => 3 ps);
  large: tmod generic map (P => 2 hr, Q => 150 min);
  fine: tfine generic map (P => 1.5 ns);
end;
)",
                                "times"),
              "");
    ElabDesign design;
    std::vector<ElabUnitId> verilog, vhdl;
    test::MessageCapture messages;
    ElaborateMixedHdlMultipleTopsStatic(design, {{"tver", "times", ""}}, {{"tvhd", "times", ""}}, nullptr, verilog,
                                        vhdl);
    ASSERT_EQ(vhdl.size(), 1u);
    ASSERT_EQ(verilog.size(), 1u);
    auto copy = [&](ElabUnitId unit, const char* name) {
        const ElabUnit* u = Child(design, unit, name);
        return u ? u->copyName : std::string("none");
    };
    // 3 ps is no whole count of 1 ns: a time parameter rounds it away.
    EXPECT_EQ(copy(vhdl[0], "small"), "tmod(P=1.5)");
    EXPECT_EQ(copy(vhdl[0], "large"), "tmod(P=7.2e+12,Q=9000000000000)");
    EXPECT_EQ(copy(vhdl[0], "fine"), "tfine(P=1.5e+03)");
    // And back: the real reaches the VHDL generic as the time it started as.
    const ElabUnit* small = Child(design, vhdl[0], "small");
    ASSERT_NE(small, nullptr);
    EXPECT_EQ(small->instances.size(), 1u);
    EXPECT_EQ(design.Unit(small->instances.at(0).unit).copyName, "tdelay(T=1500000 fs)");

    EXPECT_EQ(copy(verilog[0], "a"), "tdelay(T=2500000 fs)");
    EXPECT_EQ(copy(verilog[0], "b"), "tdelay(T=7200000000000000000 fs)");
    EXPECT_EQ(copy(verilog[0], "c"), "tdelay(T=50000 fs)");
    bool overflow = false;
    // Told at the instance that wrote the value.
    for (const auto& m : messages.All()) overflow |= m.text.find("overflows") != std::string::npos && m.line == 13;
    EXPECT_TRUE(overflow) << messages.Errors();
    veri_file::Reset();
}

} // namespace
} // namespace hdl
