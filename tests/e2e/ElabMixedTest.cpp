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

} // namespace
