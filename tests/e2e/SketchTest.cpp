// `sf -skim; sf -sketch` on a VHDL design spelt in mixed case, as a new user would
// try it: one top with both instances, whether or not -hierTree keeps the case of names.
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

std::string sketchHierarchy(const std::string& settings) {
    const std::string dir = makeTempDir();
    writeFile(dir + "/design.vhd", R"(entity MySub is end entity;
architecture rtl of MySub is begin end architecture;
entity MyTop is end entity;
architecture rtl of MyTop is
  component MySub is end component;
begin
  u1: MySub;
  u2: entity work.MySub;
end architecture;
)");
    writeFile(dir + "/run.tcl", settings + "sf -skip_std_vhdl_libs\nsf -add_vhdl93 work " + dir +
                                    "/design.vhd\nsf -skim\nsf -sketch\nsf -print_hier " + dir + "/hier.txt\n");
    SiftResult r = runSift((dir + "/run.tcl").c_str());
    EXPECT_EQ(r.status, 0) << r.out;
    return readFile(dir + "/hier.txt");
}

TEST(SketchTest, MixedCaseDesignHasOneTopWithBothInstances) {
    EXPECT_EQ(sketchHierarchy(""), "mytop == /work/mytop/rtl\n"
                                   "  mysub \"u1\" == /work/mysub/rtl\n"
                                   "  mysub \"u2\" == /work/mysub/rtl\n");
}

TEST(SketchTest, HierTreeKeepsTheCaseOfNamesAndTheSameHierarchy) {
    EXPECT_EQ(sketchHierarchy("sf -hierTree\n"), "MyTop == /work/mytop/rtl\n"
                                                 "  MySub \"u1\" == /work/mysub/rtl\n"
                                                 "  MySub \"u2\" == /work/mysub/rtl\n");
}

} // namespace
