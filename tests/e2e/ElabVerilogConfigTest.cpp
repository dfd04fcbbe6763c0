// `sf -elab` of a Verilog configuration as the top, through the Tcl script of
// designs/verilog_config: two libraries hold `leaf`, a plain search finds lib1's and the
// configuration's cell rule picks lib2's. Broken variants (a design cell or a library
// no one has) must finish with the message recorded and bind what they can.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "SiftProcess.h"

namespace {

const std::string kDesignDir = std::string(SIFT_SOURCE_DIR) + "/tests/e2e/designs/verilog_config";

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

struct ConfigRun {
    std::string out;
    std::string hier;
    std::string dump;
    int status = -1;
};

// The design copied to a fresh directory, `file` with `from` replaced by `to` (when
// given), and its script run with that -elab call.
ConfigRun run(const std::string& elab, const std::string& file = "", const std::string& from = "",
              const std::string& to = "") {
    const std::string dir = makeTempDir();
    for (const char* name : {"lib1.sv", "lib2.sv", "top.sv", "vent.vhd", "run.tcl"}) {
        std::string text = readFile(kDesignDir + "/" + name);
        if (file == name) {
            const size_t at = text.find(from);
            EXPECT_NE(at, std::string::npos) << from;
            if (at != std::string::npos) text.replace(at, from.size(), to);
        }
        writeFile(dir + "/" + name, text);
    }
    setenv("LOOM_DATADIR", SIFT_DATA_DIR, 1);
    setenv("SIFT_OUT", dir.c_str(), 1);
    setenv("SIFT_ELAB", elab.c_str(), 1);
    SiftResult r = runSift((dir + "/run.tcl").c_str());
    return {r.out, readFile(dir + "/hier.txt"), readFile(dir + "/dump.txt"), r.status};
}

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The hierarchy under the configuration: its design cell's copy, lib2's leaf wherever
// the cell rule reaches, and the parameter value the instance writes.
const char* const kConfigured = "cfg == .work.cfg\n"
                                "  top \"top\" == .work.top_cfg_default\n"
                                "    mid \"m\" == .work.mid\n"
                                "      vent \"e\" == /work/vent/rtl\n"
                                "        one \"o\" == .lib1.one\n"
                                "      leaf \"l\" == .lib2.leaf\n"
                                "        two \"y\" == .lib2.two\n";

TEST(ElabVerilogConfigTest, TheConfigurationIsTheTopAndItsCellRuleBinds) {
    ConfigRun r = run("sf -elab");
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(has(r.out, "Listing tops:\nVeriConfigTop: library:work mod:cfg\nEND of tops\n")) << r.out;
    EXPECT_EQ(r.hier.rfind(kConfigured, 0), 0u) << r.hier;
    EXPECT_TRUE(has(r.hier, "\n    leaf \"u\" == .lib2.leaf(W=4)\n      two \"y\" == .lib2.two\n")) << r.hier;
    // Nothing below the configuration is a top of its own, and lib1's leaf is reached
    // nowhere.
    EXPECT_FALSE(has(r.hier, "\ntop ==")) << r.hier;
    EXPECT_FALSE(has(r.hier, "\nmid ==")) << r.hier;
    EXPECT_FALSE(has(r.hier, "leaf \"l\" == .lib1.leaf")) << r.hier;
    EXPECT_FALSE(has(r.hier, "\"x\"")) << r.hier;
    EXPECT_TRUE(has(r.out, "ModName: leaf(W=4)\n")) << r.out;
    EXPECT_FALSE(has(r.dump, "is not found")) << r.dump;
}

TEST(ElabVerilogConfigTest, NamedAloneTheConfigurationElaboratesTheSame) {
    ConfigRun r = run("sf -elabSpecifiedTop\nsf -elab cfg");
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_EQ(r.hier.rfind(kConfigured, 0), 0u) << r.hier;
}

TEST(ElabVerilogConfigTest, WithoutTheCellRuleTheLiblistOrderBindsLib1) {
    // The same configuration without its cell rule: lib1 comes first in the default
    // liblist, so every leaf is lib1's.
    ConfigRun r = run("sf -elab", "top.sv", "cell leaf use lib2.leaf;", "");
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(has(r.hier, "cfg == .work.cfg\n  top \"top\" == .work.top_cfg_default\n")) << r.hier;
    EXPECT_TRUE(has(r.hier, "      leaf \"l\" == .lib1.leaf\n        one \"x\" == .lib1.one\n")) << r.hier;
    EXPECT_TRUE(has(r.hier, "    leaf \"u\" == .lib1.leaf(W=4)\n")) << r.hier;
    EXPECT_FALSE(has(r.hier, "\"y\"")) << r.hier;
}

TEST(ElabVerilogConfigTest, WithoutTheOptionTheConfigurationIsNoCandidate) {
    ConfigRun r = run("sf -elab", "run.tcl", "sf -enable_verilog_config\n", "");
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_FALSE(has(r.out, "VeriConfigTop")) << r.out;
    EXPECT_FALSE(has(r.hier, "top_cfg_default")) << r.hier;
    EXPECT_FALSE(has(r.hier, "leaf \"l\" == .lib2.leaf")) << r.hier;
}

TEST(ElabVerilogConfigTest, AnAbsentDesignCellOrLibraryIsRecordedAndTheRestBinds) {
    // A design cell no library holds: recorded; `top` is no design cell now, so it is a
    // top of its own, bound by the plain search.
    ConfigRun cell = run("sf -elab", "top.sv", "design work.top;", "design work.tpo;");
    ASSERT_EQ(cell.status, 0) << cell.out;
    EXPECT_TRUE(has(cell.dump, "top '%s' is not a module of any library")) << cell.dump;
    EXPECT_TRUE(has(cell.dump, " : tpo\n")) << cell.dump;
    EXPECT_TRUE(has(cell.hier, "cfg == .work.cfg\n")) << cell.hier;
    EXPECT_TRUE(has(cell.hier, "top == .work.top\n")) << cell.hier;
    EXPECT_TRUE(has(cell.hier, "leaf \"l\" == .lib1.leaf\n")) << cell.hier;

    // A library no one has in front of the design cell.
    ConfigRun library = run("sf -elab", "top.sv", "design work.top;", "design nolib.top;");
    ASSERT_EQ(library.status, 0) << library.out;
    EXPECT_TRUE(has(library.dump, "top '%s' is not a module of any library")) << library.dump;
    EXPECT_TRUE(has(library.hier, "cfg == .work.cfg\n")) << library.hier;
    EXPECT_FALSE(has(library.hier, "top_cfg_default")) << library.hier;

    // A cell rule using a library no one has: the instances it reaches stay unbound
    // (a warning), the rest of the hierarchy binds.
    ConfigRun rule = run("sf -elab", "top.sv", "use lib2.leaf", "use lib3.leaf");
    ASSERT_EQ(rule.status, 0) << rule.out;
    EXPECT_TRUE(has(rule.dump, "module '%s' of instance '%s' is not found; it stays unbound")) << rule.dump;
    EXPECT_TRUE(has(rule.hier, "  top \"top\" == .work.top_cfg_default\n    mid \"m\" == .work.mid\n")) << rule.hier;
    // Unbound where the rule sends them, not lib1's leaf that a plain search would find.
    EXPECT_TRUE(has(rule.hier, "      leaf \"l\" == .lib3.leaf\n")) << rule.hier;
    EXPECT_TRUE(has(rule.hier, "    leaf \"u\" == .lib3.leaf\n")) << rule.hier;
    EXPECT_FALSE(has(rule.hier, "\"x\"")) << rule.hier;
}

TEST(ElabVerilogConfigTest, AUselibThatFindsNothingLeavesTheInstanceUnbound) {
    // The design without the configuration: `top` is the top, and a `uselib naming a
    // library that lacks the cell rules out lib1's leaf below mid alone.
    const std::string plain = "module top;\n  mid m ();\n  leaf #(.W(4)) u ();\nendmodule\n\n"
                              "`uselib lib=lib3\nmodule mid;\n  leaf l ();\n  vent e ();\nendmodule\n";
    const std::string text = readFile(kDesignDir + "/top.sv");
    ConfigRun r = run("sf -elab", "top.sv", text.substr(text.find("module top;")), plain);
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(has(r.hier, "top == .work.top\n")) << r.hier;
    EXPECT_TRUE(has(r.hier, "    leaf \"l\" == .lib3.leaf\n")) << r.hier;
    EXPECT_TRUE(has(r.hier, "  leaf \"u\" == .lib1.leaf(W=4)\n")) << r.hier;
    EXPECT_TRUE(has(r.dump, "module '%s' of instance '%s' is not found; it stays unbound")) << r.dump;
}

} // namespace
