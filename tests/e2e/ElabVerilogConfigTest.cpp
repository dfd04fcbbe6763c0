// `sf -elab` of a Verilog configuration as the top, through the Tcl script of
// designs/verilog_config: two libraries hold `leaf`, a plain search finds lib1's and the
// configuration's cell rule picks lib2's; `bench` reaches `mid` outside the
// configuration. Broken variants (a design cell or a library no one has) must finish
// with the message recorded and bind what they can.
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

// The printed hierarchy without the units each unit's source mentions but elaboration
// did not reach (an "(INACTIVE)" line and the lines below it).
std::string active(const std::string& hier) {
    std::istringstream in(hier);
    std::string line, out;
    size_t skipBelow = std::string::npos;
    while (std::getline(in, line)) {
        const size_t indent = line.find_first_not_of(' ');
        if (skipBelow != std::string::npos && indent > skipBelow) continue;
        skipBelow = std::string::npos;
        if (has(line, " (INACTIVE) ")) {
            skipBelow = indent;
            continue;
        }
        out += line + "\n";
    }
    return out;
}

// The part of the hierarchy from the line that starts with `top` to the next top.
std::string topSection(const std::string& hier, const std::string& top) {
    const size_t from = hier.rfind(top, 0) == 0 ? 0 : hier.find("\n" + top);
    if (from == std::string::npos) return "";
    const size_t start = from ? from + 1 : 0;
    size_t end = start;
    while ((end = hier.find('\n', end)) != std::string::npos && end + 1 < hier.size() && hier[end + 1] == ' ') ++end;
    return hier.substr(start, end == std::string::npos ? std::string::npos : end + 1 - start);
}

// Under the configuration: its design cell's copy; lib2's leaf wherever the cell rule
// reaches, and the wider one the instance rule gives m2; each `mid` whose leaf differs
// from what the plain search finds is named after the configuration, one name per
// distinct binding below. Outside it, `bench` keeps the plain `mid` with lib1's leaf.
const char* const kBench = "bench == .work.bench\n"
                           "  mid \"m\" == .work.mid\n"
                           "    vent \"e\" == /work/vent/rtl\n"
                           "      one \"o\" == .lib1.one\n"
                           "    leaf \"l\" == .lib1.leaf\n"
                           "      one \"x\" == .lib1.one\n";
const char* const kConfigured = "cfg == .work.cfg\n"
                                "  top \"top\" == .work.top_cfg_default\n"
                                "    mid \"m\" == .work.mid_cfg_default\n"
                                "      vent \"e\" == /work/vent/rtl\n"
                                "        one \"o\" == .lib1.one\n"
                                "      leaf \"l\" == .lib2.leaf\n"
                                "        two \"y\" == .lib2.two\n"
                                "    mid \"m2\" == .work.mid_cfg_1_default\n"
                                "      vent \"e\" == /work/vent/rtl\n"
                                "        one \"o\" == .lib1.one\n"
                                "      leaf \"l\" == .lib2.leaf(W=2)\n"
                                "        two \"y\" == .lib2.two\n"
                                "    leaf \"u\" == .lib2.leaf(W=4)\n"
                                "      two \"y\" == .lib2.two\n";

TEST(ElabVerilogConfigTest, TheConfigurationIsTheTopAndItsCellRuleBinds) {
    ConfigRun r = run("sf -elab");
    ASSERT_EQ(r.status, 0) << r.out;
    // The configuration is the candidate, its design cell is not.
    EXPECT_TRUE(has(r.out, "Listing tops:\nVeriTop library:work mod:bench\nVeriConfigTop: library:work mod:cfg\n"
                           "END of tops\n"))
        << r.out;
    // Nothing below the configuration is a top of its own; `mid` is reached inside and
    // outside the configuration, each place with its own binding; the `leaf` each one
    // mentions is reached, from whichever library, so none is an inactive unit.
    EXPECT_EQ(r.hier, std::string(kBench) + kConfigured);
    EXPECT_TRUE(has(r.out, "ModName: leaf(W=2)\nModName: leaf(W=4)\n")) << r.out;
    EXPECT_FALSE(has(r.dump, "is not found")) << r.dump;
    EXPECT_FALSE(has(r.dump, "failed to elaborate")) << r.dump;
}

TEST(ElabVerilogConfigTest, NamedAloneTheConfigurationElaboratesTheSame) {
    ConfigRun r = run("sf -elabSpecifiedTop\nsf -elab cfg");
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_EQ(active(topSection(r.hier, "cfg ==")), kConfigured) << r.hier;
}

TEST(ElabVerilogConfigTest, WithoutTheCellRuleOnlyTheInstanceRuleRenames) {
    // The same configuration without its cell rule: lib1 comes first in the default
    // liblist, so every leaf is lib1's, as the plain search finds it: `mid` keeps its
    // name under m, and only m2, whose leaf the instance rule picks, gets one of its own.
    ConfigRun r = run("sf -elab", "top.sv", "cell leaf use lib2.leaf;", "");
    ASSERT_EQ(r.status, 0) << r.out;
    const std::string cfg = active(topSection(r.hier, "cfg =="));
    EXPECT_TRUE(has(cfg, "cfg == .work.cfg\n  top \"top\" == .work.top_cfg_default\n    mid \"m\" == .work.mid\n"))
        << r.hier;
    EXPECT_TRUE(has(cfg, "      leaf \"l\" == .lib1.leaf\n        one \"x\" == .lib1.one\n")) << r.hier;
    EXPECT_TRUE(has(cfg, "    mid \"m2\" == .work.mid_cfg_default\n")) << r.hier;
    EXPECT_TRUE(has(cfg, "      leaf \"l\" == .lib2.leaf(W=2)\n")) << r.hier;
    EXPECT_TRUE(has(cfg, "    leaf \"u\" == .lib1.leaf(W=4)\n")) << r.hier;
    EXPECT_EQ(active(topSection(r.hier, "bench ==")), kBench) << r.hier;
}

TEST(ElabVerilogConfigTest, WithoutTheOptionTheDesignCellIsACandidate) {
    // The configuration is no unit of the run: `top`, which only the configuration
    // names, is a top like `bench`, bound by the plain search.
    ConfigRun r = run("sf -elab", "run.tcl", "sf -enable_verilog_config\n", "");
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(has(r.out, "Listing tops:\nVeriTop library:work mod:top\nVeriTop library:work mod:bench\n")) << r.out;
    EXPECT_FALSE(has(r.out, "VeriConfigTop")) << r.out;
    EXPECT_FALSE(has(r.hier, "_cfg")) << r.hier;
    EXPECT_FALSE(has(r.hier, "leaf \"l\" == .lib2.leaf")) << r.hier;
    EXPECT_TRUE(has(active(topSection(r.hier, "top ==")), "top == .work.top\n  mid \"m\" == .work.mid\n")) << r.hier;
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
    const std::string cfg = active(topSection(rule.hier, "cfg =="));
    EXPECT_TRUE(has(cfg, "  top \"top\" == .work.top_cfg_default\n    mid \"m\" == .work.mid_cfg_default\n"))
        << rule.hier;
    // Unbound where the rule sends them, not lib1's leaf that a plain search would find.
    EXPECT_TRUE(has(cfg, "      leaf \"l\" == .lib3.leaf\n")) << rule.hier;
    EXPECT_TRUE(has(cfg, "    leaf \"u\" == .lib3.leaf\n")) << rule.hier;
    EXPECT_FALSE(has(cfg, "\"x\"")) << rule.hier;
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
