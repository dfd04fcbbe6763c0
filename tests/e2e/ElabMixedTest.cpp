// `sf -elab` of VHDL entity instantiations of Verilog modules (the designs of designs/
// cover component instantiations and the other direction against GHDL and Verilator).
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "SiftProcess.h"

namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

struct MixedRun {
    std::string out;
    std::string hier;
    std::string dump; // sf -print
    int status = -1;
};

MixedRun elaborateMixed(const std::string& vhdl, const std::string& verilog) {
    const std::string dir = makeTempDir();
    writeFile(dir + "/design.vhd", vhdl);
    writeFile(dir + "/design.sv", verilog);
    writeFile(dir + "/run.tcl", "sf -add_vhdl08 work " + dir + "/design.vhd\nsf -add_svlib work " + dir +
                                    "/design.sv\nsf -skim\nsf -parse\nsf -elab\nsf -print_hier " + dir +
                                    "/hier.txt\nsf -print " + dir + "/dump.txt\n");
    setenv("LOOM_DATADIR", SIFT_DATA_DIR, 1);
    SiftResult r = runSift((dir + "/run.tcl").c_str());
    return {r.out, readFile(dir + "/hier.txt"), readFile(dir + "/dump.txt"), r.status};
}

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// An entity instantiation of a Verilog module names no component: its generic map goes
// across as written, by position and by name. The same instantiations with a misspelt
// module name, or a generic the module lacks, are what a simulator stops on.
const char* const kVerilog = R"(
module vleaf #(parameter int N = 1, parameter real SCALE = 1.0) ();
endmodule
)";

const char* const kVhdl = R"(
entity vtop is generic (K : natural := 2); end entity;
architecture rtl of vtop is
begin
  a: entity work.vleaf generic map (K * 3, 0.5);
  b: entity work.VLEAF generic map (SCALE => 2.0, n => K);
  c: entity work.vleaf;
end architecture;
)";

TEST(MixedElabTest, EntityInstantiationsOfAVerilogModuleBindToTheirCopies) {
    MixedRun r = elaborateMixed(kVhdl, kVerilog);
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_EQ(r.hier, "vtop == /work/vtop/rtl\n"
                      "  vleaf \"a\" == .work.vleaf(N=6,SCALE=0.5)\n"
                      "  vleaf \"b\" == .work.vleaf(N=2,SCALE=2)\n"
                      "  vleaf \"c\" == .work.vleaf\n");
    // The module is no top of its own: VHDL instantiates it.
    EXPECT_TRUE(has(r.out, "Listing tops:\nVHDLTop: library:work entity:vtop arch:\nEND of tops\n")) << r.out;
}

TEST(MixedElabTest, AMisspeltModuleOrAGenericItLacksIsCaught) {
    std::string misspelt = kVhdl;
    misspelt.replace(misspelt.find("work.VLEAF"), 10, "work.VLEAV");
    MixedRun m = elaborateMixed(misspelt, kVerilog);
    EXPECT_TRUE(has(m.hier, "  VLEAV \"b\" == /work/VLEAV\n")) << m.hier;

    std::string lacking = kVhdl;
    lacking.replace(lacking.find("n => K"), 6, "m => K");
    MixedRun l = elaborateMixed(lacking, kVerilog);
    // Recorded as an error of the VHDL file, at the instance.
    EXPECT_TRUE(has(l.dump, "has no parameter")) << l.dump;
    EXPECT_TRUE(has(l.dump, "line: 6, type: 1")) << l.dump;
    EXPECT_FALSE(has(l.hier, "N=2")) << l.hier;
}

// A FIFO wrapper that gives its VHDL FIFO a depth the generic's subtype refuses: the
// range error of the VHDL side is recorded, and the Verilog instance says that the
// entity failed to elaborate, not that no library holds it. The legal depth is silent.
TEST(MixedElabTest, AnEntityThatFailsToElaborateIsNotReportedMissing) {
    const std::string vhdl = "entity vfifo is generic (DEPTH : positive := 4); end entity;\n"
                             "architecture rtl of vfifo is begin end architecture;\n";
    const std::string verilog = "module fifo_wrap;\n  vfifo #(.DEPTH(8)) f ();\nendmodule\n";
    MixedRun legal = elaborateMixed(vhdl, verilog);
    EXPECT_EQ(legal.status, 0) << legal.out;
    EXPECT_EQ(legal.hier, "fifo_wrap == .work.fifo_wrap\n  vfifo \"f\" == /work/vfifo(DEPTH=8)/rtl\n");
    EXPECT_FALSE(has(legal.dump, "type: 1")) << legal.dump;
    EXPECT_FALSE(has(legal.dump, "type: 2")) << legal.dump;

    std::string zero = verilog;
    zero.replace(zero.find("DEPTH(8)"), 8, "DEPTH(0)");
    MixedRun broken = elaborateMixed(vhdl, zero);
    EXPECT_EQ(broken.status, 0) << broken.out;
    EXPECT_TRUE(has(broken.dump, "failed to elaborate; the instance stays unbound")) << broken.dump;
    EXPECT_FALSE(has(broken.dump, "is not found")) << broken.dump;
    EXPECT_TRUE(has(broken.dump, "line: 2, type: 1")) << "the range error at the instance\n" << broken.dump;
    EXPECT_TRUE(has(broken.dump, "line: 2, type: 2")) << "the failure at the instance\n" << broken.dump;
    EXPECT_FALSE(has(broken.hier, "depth=0")) << broken.hier;
}

} // namespace
