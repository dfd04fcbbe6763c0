// `sf -elab` end to end: top selection, elaboration and binding of VHDL designs as a
// parent reads them back (the hierarchy print and the database dump), bad designs that
// must finish with their messages recorded, and the trimmers.
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

struct ElabRun {
    std::string out; // standard output of sift
    std::string hier; // sf -print_hier
    std::string dump; // sf -print
    int status = -1;
};

// One VHDL (or SystemVerilog) file elaborated with the given settings and elab call.
ElabRun elaborate(const std::string& text, const std::string& settings = "", const std::string& elab = "sf -elab",
                  bool systemVerilog = false) {
    const std::string dir = makeTempDir();
    const std::string file = dir + (systemVerilog ? "/design.sv" : "/design.vhd");
    writeFile(file, text);
    writeFile(dir + "/run.tcl", settings + (systemVerilog ? "sf -add_svlib work " : "sf -add_vhdl93 work ") + file +
                                    "\nsf -skim\nsf -parse\n" + elab + "\nsf -print_hier " + dir +
                                    "/hier.txt\nsf -print " + dir + "/dump.txt\n");
    setenv("LOOM_DATADIR", SIFT_DATA_DIR, 1);
    SiftResult r = runSift((dir + "/run.tcl").c_str());
    return {r.out, readFile(dir + "/hier.txt"), readFile(dir + "/dump.txt"), r.status};
}

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The section of the dump with that title.
std::string section(const std::string& dump, const std::string& title) {
    size_t at = dump.find("\n" + title + " : {");
    if (at == std::string::npos) at = dump.find("\n" + title + ": {");
    if (at == std::string::npos) return std::string();
    return dump.substr(at, dump.find("\n}", at) - at);
}

const char* const kDesign = R"(
entity leaf is generic (W : natural := 4); end entity;
architecture rtl of leaf is begin end architecture;
entity spare is end entity;
architecture rtl of spare is begin end architecture;
entity top is generic (N : natural := 2; USE_SPARE : boolean := false); end entity;
architecture rtl of top is
  component leaf is generic (W : natural := 4); end component;
  component missing is end component;
begin
  u0: leaf;
  u1: entity work.leaf generic map (W => 8);
  g: for i in 0 to N-1 generate
    l: entity work.leaf generic map (W => i + 1);
  end generate;
  s: if USE_SPARE generate
    sp: entity work.spare;
  end generate;
  m: missing;
end architecture;
)";

TEST(ElabTest, CopiesGenerateIterationsUnboundAndInactiveUnits) {
    ElabRun r = elaborate(kDesign);
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_EQ(r.hier, "top == /work/top/rtl\n"
                      "  leaf \"g[0].l\" == /work/leaf(W=1)/rtl\n"
                      "  leaf \"g[1].l\" == /work/leaf(W=2)/rtl\n"
                      "  missing \"m\" == /work/missing\n"
                      "  leaf \"u0\" == /work/leaf/rtl\n"
                      "  leaf \"u1\" == /work/leaf(W=8)/rtl\n"
                      "  spare (INACTIVE) == /work/spare/rtl\n");
    EXPECT_TRUE(has(r.out, "Listing tops:\nVHDLTop: library:work entity:top arch:\nEND of tops\n")) << r.out;
    EXPECT_TRUE(has(r.out, "ModName: leaf(W=1)\nModName: leaf(W=2)\nModName: leaf(W=8)\n"
                           "BaseName leaf has 3 entries\n"))
        << r.out;
    // The unbound component is told once, as a warning of its file and line.
    EXPECT_TRUE(has(section(r.dump, "fileMsgs"), "line: 19, type: 2")) << r.dump;
    EXPECT_FALSE(has(section(r.dump, "fileMsgs"), "type: 1")) << r.dump;
}

TEST(ElabTest, TheConditionDecidesWhatIsInactive) {
    std::string design = kDesign;
    design.replace(design.find("USE_SPARE : boolean := false"), 28, "USE_SPARE : boolean := true");
    ElabRun r = elaborate(design);
    EXPECT_TRUE(has(r.hier, "  spare \"s.sp\" == /work/spare/rtl\n")) << r.hier;
    EXPECT_FALSE(has(r.hier, "INACTIVE")) << r.hier;
}

TEST(ElabTest, MisspeltEntityEndsInAUnitWithoutSource) {
    std::string design = kDesign;
    design.replace(design.find("entity work.leaf generic map (W => 8)"), 16, "entity work.leef");
    ElabRun r = elaborate(design);
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(has(r.hier, "  leef \"u1\" == /work/leef\n")) << r.hier;
    EXPECT_FALSE(has(r.hier, "leaf(W=8)")) << r.hier;
}

TEST(ElabTest, NamedTopGoesFirstAndAloneWhenAsked) {
    const std::string design = std::string(kDesign) + R"(
entity other is end entity;
architecture rtl of other is begin
  x: entity work.leaf generic map (W => 99);
end architecture;
)";
    ElabRun both = elaborate(design, "", "sf -elab other");
    EXPECT_TRUE(has(both.out, "VHDLPriorityTop: library:work entity:other arch:\n")) << both.out;
    EXPECT_TRUE(has(both.out, "ModName: leaf(W=99)\n")) << both.out;
    EXPECT_TRUE(has(both.out, "ModName: leaf(W=8)\n")) << both.out;

    ElabRun alone = elaborate(design, "sf -elabSpecifiedTop\n", "sf -elab other");
    EXPECT_TRUE(has(alone.out, "ModName: leaf(W=99)\n")) << alone.out;
    EXPECT_FALSE(has(alone.out, "ModName: leaf(W=8)\n")) << alone.out;

    // A name no unit has: the candidates are used as if the option were not given.
    ElabRun unknown = elaborate(design, "sf -elabSpecifiedTop\n", "sf -elab nothing_of_that_name");
    EXPECT_TRUE(has(unknown.out, "ModName: leaf(W=8)\n")) << unknown.out;
}

TEST(ElabTest, VerilogTopsAreCheckedThenElaboratedAndBound) {
    const std::string design = R"(module typed #(parameter type T = logic) (); endmodule
module generic_port (interface bus); endmodule
module leafv #(parameter W = 1) (); endmodule
module plain; leafv #(.W(4)) u(); endmodule
)";
    ElabRun typed = elaborate(design, "", "sf -elab typed", true);
    EXPECT_TRUE(has(typed.out, "Reject typed as TOP because it has type parameters\n")) << typed.out;
    EXPECT_FALSE(has(typed.out, "VeriPriorityTop library:work mod:typed\n")) << typed.out;

    ElabRun port = elaborate(design, "", "sf -elab generic_port", true);
    EXPECT_TRUE(has(port.out, "Reject generic_port as TOP because it has generic interface ports\n")) << port.out;
    EXPECT_FALSE(has(port.out, "VeriPriorityTop library:work mod:generic_port\n")) << port.out;

    ElabRun plain = elaborate(design, "", "sf -elab plain", true);
    EXPECT_TRUE(has(plain.out, "VeriPriorityTop library:work mod:plain\n")) << plain.out;
    EXPECT_EQ(plain.status, 0);
    EXPECT_TRUE(has(plain.hier, "plain == .work.plain\n  leafv \"u\" == .work.leafv(W=4)\n")) << plain.hier;

    // A misspelt module: a unit without source under the name written, in the default
    // library.
    std::string misspelt = design;
    misspelt.replace(misspelt.find("leafv #(.W(4))"), 5, "leafw");
    ElabRun wrong = elaborate(misspelt, "sf -set_project_defaultlibrary deflib\n", "sf -elab plain", true);
    EXPECT_TRUE(has(wrong.hier, "  leafw \"u\" == .deflib.leafw\n")) << wrong.hier;
    EXPECT_FALSE(has(wrong.hier, "leafv(W=4)")) << wrong.hier;
}

TEST(ElabTest, ConfigurationChoosesTheArchitectureOfItsCopy) {
    const std::string design = R"(
entity leaf is generic (W : natural := 4); end entity;
architecture fast of leaf is begin end architecture;
architecture small of leaf is begin end architecture;
entity top is end entity;
architecture rtl of top is
  component leaf is generic (W : natural := 4); end component;
begin
  a: leaf generic map (W => 2);
  b: entity work.leaf(fast);
end architecture;
configuration cfg of top is
  for rtl
    for a : leaf use entity work.leaf(fast); end for;
  end for;
end configuration;
)";
    ElabRun r = elaborate(design);
    EXPECT_TRUE(has(r.out, "VHDLConfigTop: library:work entity:cfg arch:\n")) << r.out;
    EXPECT_EQ(r.hier, "cfg == /work/cfg\n"
                      "  top \"top\" == /work/top_cfg_default/rtl\n"
                      "    leaf \"a\" == /work/leaf(W=2)/fast\n"
                      "    leaf \"b\" == /work/leaf/fast\n"
                      // The skim knows the entity alone, and stands it for its last
                      // architecture, which no instance uses here.
                      "    leaf (INACTIVE) == /work/leaf/small\n");
    // What the statements were as written: a library in front of the unit of `b`.
    EXPECT_TRUE(has(r.dump, "line=10, hasParam, instNameHasLib }")) << r.dump;
    EXPECT_TRUE(has(r.dump, "line=9, hasParam }")) << r.dump;

    // Without the configuration, the last analysed architecture and no copy for it.
    std::string plain = design.substr(0, design.find("configuration cfg"));
    ElabRun d = elaborate(plain);
    EXPECT_EQ(d.hier, "top == /work/top/rtl\n"
                      "  leaf \"a\" == /work/leaf(W=2)/small\n"
                      "  leaf \"b\" == /work/leaf/fast\n");
}

// Designs whose top does not elaborate: the run finishes, binds what it can, and
// records the error; with -elab_errors the error only sets isElabError.
struct BadDesign {
    const char* name;
    const char* text;
    const char* stillBound; // a line the hierarchy print must still hold
};

const BadDesign kBadDesigns[] = {
    {"recursion", R"(
entity ok is end entity;
architecture rtl of ok is begin end architecture;
entity rec is generic (D : natural := 0); end entity;
architecture rtl of rec is begin
  r: entity work.rec generic map (D => D + 1);
end architecture;
entity top is end entity;
architecture rtl of top is begin
  o: entity work.ok;
  r: entity work.rec;
end architecture;
)",
     "  ok \"o\" == /work/ok/rtl\n"},
    {"endless generate", R"(
entity ok is end entity;
architecture rtl of ok is begin end architecture;
entity gen is end entity;
architecture rtl of gen is begin
  o: entity work.ok;
  g: for i in 0 to integer'high generate
    b: block begin end block;
  end generate;
end architecture;
)",
     "  ok \"o\" == /work/ok/rtl\n"},
    {"missing architecture in a configuration", R"(
entity ok is end entity;
architecture rtl of ok is begin end architecture;
entity top is end entity;
architecture rtl of top is
  component ok is end component;
begin
  o: ok;
  p: ok;
end architecture;
configuration cfg of top is
  for rtl
    for o : ok use entity work.ok(absent); end for;
  end for;
end configuration;
)",
     "  ok \"p\" == /work/ok/rtl\n"},
};

TEST(ElabTest, BadDesignsFinishBindWhatTheyCanAndRecordTheError) {
    for (const BadDesign& bad : kBadDesigns) {
        ElabRun r = elaborate(bad.text);
        EXPECT_EQ(r.status, 0) << bad.name << "\n" << r.out;
        EXPECT_TRUE(has(r.hier, bad.stillBound)) << bad.name << "\n" << r.hier;
        EXPECT_TRUE(has(section(r.dump, "fileMsgs"), "type: 1")) << bad.name << "\n" << r.dump;
        EXPECT_TRUE(has(section(r.dump, "status"), "isElabError = 0")) << bad.name;

        ElabRun quiet = elaborate(bad.text, "sf -elab_errors\n");
        EXPECT_TRUE(has(section(quiet.dump, "status"), "isElabError = 1")) << bad.name << "\n" << quiet.dump;
        EXPECT_FALSE(has(section(quiet.dump, "fileMsgs"), "type: 1")) << bad.name << "\n" << quiet.dump;
        EXPECT_TRUE(has(quiet.hier, bad.stillBound)) << bad.name << "\n" << quiet.hier;
    }
}

TEST(ElabTest, SoundDesignSetsNoElabError) {
    ElabRun quiet = elaborate(kBadDesigns[0].text + std::string(), "sf -elab_errors\n");
    ElabRun sound = elaborate(kDesign, "sf -elab_errors\n");
    EXPECT_TRUE(has(section(sound.dump, "status"), "isElabError = 0")) << sound.dump;
    EXPECT_TRUE(has(section(quiet.dump, "status"), "isElabError = 1")) << quiet.dump;
}

TEST(ElabTest, PrimitiveInstancesAreTrimmedUnlessTheDesignDefinesTheCell) {
    const std::string design = R"(
entity top is end entity;
architecture rtl of top is
  component SB_LUT4 is end component;
  component mine is end component;
begin
  lut: SB_LUT4;
  own: mine;
end architecture;
entity mine is end entity;
architecture rtl of mine is begin end architecture;
)";
    ElabRun r = elaborate(design);
    EXPECT_EQ(r.hier, "top == /work/top/rtl\n  mine \"own\" == /work/mine/rtl\n") << r.hier;

    const std::string own = design + "entity SB_LUT4 is end entity;\narchitecture rtl of SB_LUT4 is begin end;\n";
    ElabRun kept = elaborate(own);
    EXPECT_TRUE(has(kept.hier, "  SB_LUT4 \"lut\" == /work/SB_LUT4/rtl\n")) << kept.hier;
}

// With the source instance table, what the parse trees instantiate and elaboration
// left out is inactive too, a unit without source made for a name nothing defines.
TEST(ElabTest, SourceInstancesElaborationLeftOutAreInactiveWithTheOption) {
    const std::string vhdl = R"(
entity leaf is end entity;
architecture rtl of leaf is begin end architecture;
entity top is generic (FULL : boolean := false); end entity;
architecture rtl of top is
  component ghost is end component;
begin
  u: entity work.leaf;
  g: if FULL generate
    x: ghost;
  end generate;
end architecture;
)";
    ElabRun plain = elaborate(vhdl);
    EXPECT_FALSE(has(plain.hier, "ghost")) << plain.hier;
    ElabRun table = elaborate(vhdl, "sf -handleIPBDInactiveUnits\n");
    EXPECT_EQ(table.hier, "top == /work/top/rtl\n  leaf \"u\" == /work/leaf/rtl\n  ghost (INACTIVE) == //ghost\n")
        << table.hier;
    // Taken: the instance survives, and nothing is inactive.
    std::string full = vhdl;
    full.replace(full.find("FULL : boolean := false"), 23, "FULL : boolean := true");
    ElabRun taken = elaborate(full, "sf -handleIPBDInactiveUnits\n");
    EXPECT_FALSE(has(taken.hier, "INACTIVE")) << taken.hier;

    const std::string verilog = R"(module leafv; endmodule
module topv #(parameter FULL = 0);
  leafv u();
  if (FULL) begin : g
    missing_mod m();
  end
endmodule
)";
    ElabRun v = elaborate(verilog, "sf -handleIPBDInactiveUnits\n", "sf -elab topv", true);
    EXPECT_TRUE(has(v.hier, "  missing_mod (INACTIVE) == .work.missing_mod\n")) << v.hier;
}

// A module that instantiates itself until a generate condition ends it: the last copy's
// source instantiation is no inactive unit of its own, so the hierarchy walk ends.
TEST(ElabTest, ARecursionElaborationEndedIsNoInactiveUnitOfItself) {
    const std::string verilog = R"(module rec #(parameter D = 2) ();
  if (D > 0) begin : g
    rec #(D - 1) r();
  end
endmodule
module toprec; rec u(); endmodule
)";
    ElabRun r = elaborate(verilog, "sf -handleIPBDInactiveUnits\n", "sf -elab toprec", true);
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_EQ(r.hier, "toprec == .work.toprec\n"
                      "  rec \"u\" == .work.rec\n"
                      "    rec \"g.r\" == .work.rec(D=1)\n"
                      "      rec \"g.r\" == .work.rec(D=0)\n");
}

TEST(ElabTest, MacroLibraryInstancesAreNotedAndCut) {
    const std::string clauses = "library tessel;\nuse tessel.vcomponents.all;\n";
    const std::string body = R"(
entity top is end entity;
architecture rtl of top is begin
  p: tessel_cdc_pulse;
end architecture;
)";
    ElabRun used = elaborate(clauses + body);
    EXPECT_TRUE(has(section(used.dump, "tesselModuleNames"), "1 : tessel_cdc_pulse")) << used.dump;
    EXPECT_TRUE(has(section(used.dump, "tesselLibClauseButNoInsts"), "  0")) << used.dump;
    EXPECT_EQ(used.hier, "top == /work/top/rtl\n") << used.hier;

    std::string unused = clauses + body;
    unused.erase(unused.find("  p: tessel_cdc_pulse;\n"), 23);
    ElabRun none = elaborate(unused);
    EXPECT_TRUE(has(section(none.dump, "tesselLibClauseButNoInsts"), "  1")) << none.dump;

    // The library clause alone does not count.
    ElabRun libOnly = elaborate("library tessel;\n" + unused.substr(clauses.size()));
    EXPECT_TRUE(has(section(libOnly.dump, "tesselLibClauseButNoInsts"), "  0")) << libOnly.dump;
}

} // namespace
