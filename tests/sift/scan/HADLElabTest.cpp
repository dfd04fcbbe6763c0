// The elaboration phase in process: the generic map that a parent hands in with the
// database reaches the tops.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/scan/HADLSifter.h"

namespace {

const char* const kDesign = R"(
entity leaf is generic (W : natural := 4); end entity;
architecture rtl of leaf is begin end architecture;
entity top is generic (N : natural := 2); end entity;
architecture rtl of top is begin
  g: for i in 0 to N-1 generate
    l: entity work.leaf generic map (W => i + 10);
  end generate;
end architecture;
)";

// The top and its instance names after `sf -elab` with the generics given; a top whose
// generics differ from their defaults is a copy.
std::string topInstances(const std::vector<std::pair<std::string, const char*>>& generics) {
    hdl::vhdl_file::Reset();
    hdl::veri_file::Reset();
    setenv("LOOM_DATADIR", SIFT_DATA_DIR, 1);
    const std::string path = testing::TempDir() + "elab_generics.vhd";
    std::ofstream(path) << kDesign;
    HADLSifter s;
    s.insertFileName(path, 9, "work");
    for (const auto& g : generics) s.addGeneric(g.first, g.second);
    s.runElab("");
    if (s.tops.size() != 1) return "not one top";
    const unsigned top = s.tops.front();
    std::string out = std::string(s.unitNames.getString(top)) + ": ";
    for (const HADLDatabase::InstAttr& inst : s.unitAttrs.at(top).insts) {
        out += std::string(s.objNames.getString(inst.instId)) + " ";
    }
    return out;
}

TEST(HADLElabTest, GenericMapReachesTheTop) {
    EXPECT_EQ(topInstances({}), "/work/top/rtl: g[0].l g[1].l ");
    EXPECT_EQ(topInstances({{"N", "3"}}), "/work/top(N=3)/rtl: g[0].l g[1].l g[2].l ");
    // Names match without regard to case; a later entry replaces an earlier one.
    EXPECT_EQ(topInstances({{"N", "4"}, {"n", "1"}}), "/work/top(N=1)/rtl: g[0].l ");
    // A generic without value takes an earlier value of that name away.
    EXPECT_EQ(topInstances({{"N", "4"}, {"n", nullptr}}), "/work/top/rtl: g[0].l g[1].l ");
    // A misspelt generic reaches nothing.
    EXPECT_EQ(topInstances({{"NN", "3"}}), "/work/top/rtl: g[0].l g[1].l ");
}

} // namespace
