#include <gtest/gtest.h>

#include "SkimProject.h"
#include "hdl/base/Message.h"
#include "runtime/LoomParamMgr.h"
#include "sift/scan/HADLSkim.h"

using Ids = std::vector<unsigned>;

TEST(RUnitKey, SeparatorFollowsTheLanguageFamily) {
    EXPECT_EQ(rUnitKey(9, "lib", "e", "rtl"), "/lib/e/rtl");
    EXPECT_EQ(rUnitKey(5, "lib", "m", ""), ".lib.m");
    EXPECT_EQ(rUnitKey(14, "lib", "m", "x"), ".lib.m.x");
}

TEST(SkimOrder, UseClauseAndLibraryClauseMakeEdges) {
    SkimProject p;
    p.add("user.vhd", 9, "app", "use lib.pkg.all;\nentity user is end;\n");
    p.add("whole.vhd", 9, "app", "library lib;\nentity whole is end;\n");
    p.add("pkg.vhd", 9, "lib", "package pkg is end package;\n");
    p.add("other.vhd", 9, "lib", "entity other is end;\n");
    p.skim();
    EXPECT_EQ(p.req("user.vhd"), (Ids{p.id("pkg.vhd")}));
    Ids whole = p.req("whole.vhd");
    std::sort(whole.begin(), whole.end());
    EXPECT_EQ(whole, (Ids{p.id("pkg.vhd"), p.id("other.vhd")}));
    EXPECT_LT(p.orderOf("pkg.vhd"), p.orderOf("user.vhd"));
    EXPECT_LT(p.orderOf("other.vhd"), p.orderOf("whole.vhd"));
    EXPECT_EQ(p.db().parseOrder.size(), 4u);
}

TEST(SkimOrder, SecondDeclarerOfAUsedEntityOverrides) {
    SkimProject p;
    p.add("a.vhd", 9, "w", "entity e is end;\narchitecture rtl of e is begin end;\n");
    p.add("b.vhd", 9, "w", "entity e is end;\n");
    p.skim();
    EXPECT_EQ(p.ovr("a.vhd"), (Ids{p.id("b.vhd")}));
    EXPECT_TRUE(p.req("a.vhd").empty());
    EXPECT_LT(p.orderOf("b.vhd"), p.orderOf("a.vhd"));
}

TEST(SkimOrder, WorkInAnyCaseIsTheFilesOwnLibrary) {
    SkimProject p;
    p.add("use.vhd", 9, "Mine", "use WoRk.pkg.all;\nentity u is end;\n");
    p.add("pkg.vhd", 9, "mine", "package PKG is end;\n");
    p.skim();
    EXPECT_EQ(p.req("use.vhd"), (Ids{p.id("pkg.vhd")}));
}

TEST(SkimOrder, CircularPackageUseTerminates) {
    SkimProject p;
    p.add("a.vhd", 9, "w", "use work.b.all;\npackage a is end;\n");
    p.add("b.vhd", 9, "w", "use work.a.all;\npackage b is end;\n");
    p.skim();
    EXPECT_EQ(p.req("a.vhd"), (Ids{p.id("b.vhd")}));
    EXPECT_EQ(p.req("b.vhd"), (Ids{p.id("a.vhd")}));
    EXPECT_EQ(p.db().parseOrder, (HADLVectorForTuple<unsigned>{p.id("b.vhd"), p.id("a.vhd")}));
}

TEST(SkimOrder, VerilogPackagesOrderAndInstancesDoNot) {
    SkimProject p;
    p.add("top.sv", 5, "w", "module top; import defs::*; leaf u (); endmodule\n");
    p.add("leaf.sv", 5, "w", "module leaf; endmodule\n");
    p.add("defs.sv", 5, "w", "package defs; endpackage\n");
    p.skim();
    EXPECT_EQ(p.req("top.sv"), (Ids{p.id("defs.sv")}));
    EXPECT_EQ(p.db().parseOrder, (HADLVectorForTuple<unsigned>{p.id("defs.sv"), p.id("top.sv"), p.id("leaf.sv")}));
}

TEST(SkimOrder, NamesMatchAcrossLanguagesAsEachLanguageSpellsThem) {
    SkimProject p;
    // A VHDL name is looked up lower-cased, a Verilog one as written.
    p.add("pkg.sv", 5, "w", "package pkg; endpackage\npackage Pkg2; endpackage\n");
    p.add("user.vhd", 9, "w", "use work.PKG.all;\nuse work.pkg2.all;\nentity user is end;\n");
    p.add("defs.vhd", 9, "w", "package DEFS is end;\n");
    p.add("top.sv", 5, "w", "module top; import Defs::*; endmodule\nmodule top2; import defs::*; endmodule\n");
    p.add("both.vhd", 9, "w", "package pkg is end;\npackage body pkg is end;\n");
    p.skim();
    EXPECT_EQ(p.req("user.vhd"), (Ids{p.id("pkg.sv"), p.id("both.vhd")}));
    EXPECT_EQ(p.req("top.sv"), (Ids{p.id("defs.vhd")}));
    // One name declared in both languages: the package body needs the other declarer first.
    EXPECT_EQ(p.ovr("both.vhd"), (Ids{p.id("pkg.sv")}));
    EXPECT_TRUE(p.req("pkg.sv").empty());
}

TEST(SkimOrder, SecondSkimDoublesParseOrder) {
    SkimProject p;
    p.add("m.v", 2, "w", "module m; endmodule\n");
    p.skim();
    p.skim();
    EXPECT_EQ(p.db().parseOrder, (HADLVectorForTuple<unsigned>{1, 1}));
    EXPECT_TRUE(p.db().rUnitAttrs.at(p.rUnit(".w.m")).insts.empty());
}

TEST(SkimOrder, AliasedAndDisabledFiles) {
    SkimProject p;
    unsigned orig = p.add("orig.v", 2, "w", "module orig_m; endmodule\n");
    unsigned alias = p.add("alias.v", 2, "w", "module alias_m; endmodule\n");
    unsigned off = p.add("off.v", 2, "w", "module off_m; endmodule\n");
    p.db().fileAttrs.at(orig).tempAliasId = alias;
    p.db().fileAttrs.at(alias).isAliasOfId = orig;
    p.db().fileAttrs.at(off).isDisabled = true;
    p.skim();
    EXPECT_NE(p.rUnit(".w.alias_m"), 0u);
    EXPECT_EQ(p.rUnit(".w.orig_m"), 0u);
    EXPECT_EQ(p.rUnit(".w.off_m"), 0u);
    // The alias is visited first, for the file that it stands for.
    EXPECT_EQ(p.db().parseOrder.front(), alias);
}

TEST(SkimUnits, RawUnitsInstancesPrimitivesAndMissingUnits) {
    SkimProject p;
    p.primitives.insert("FOOCELL");
    p.add("top.v", 2, "Lib",
          "module top; FOOCELL c0 (); foocell c1 (); child u_c (); nowhere u_n ();"
          " top u_self (); endmodule\nmodule child; endmodule\n");
    p.skim();
    HADLSifter& db = p.db();
    unsigned top = p.rUnit(".lib.top"), child = p.rUnit(".lib.child");
    ASSERT_NE(top, 0u);
    ASSERT_NE(child, 0u);
    // Exact match for Verilog: FOOCELL is a primitive, foocell a unit of its own.
    unsigned lowerCell = p.rUnit(".lib.foocell");
    ASSERT_NE(lowerCell, 0u);
    EXPECT_STREQ(db.objNames.getString(db.rUnitAttrs.at(lowerCell).primaryId), "foocell");
    unsigned missing = p.rUnit(".lib.nowhere");
    ASSERT_NE(missing, 0u);
    EXPECT_EQ(db.rUnitAttrs.at(missing).fileIds, (HADLVectorForTuple<unsigned>{0}));
    EXPECT_STREQ(db.objNames.getString(db.rUnitAttrs.at(top).libId), "lib");
    std::vector<std::string> insts;
    for (const auto& i : db.rUnitAttrs.at(top).insts)
        insts.push_back(std::string(db.objNames.getString(i.instnameId)) + "->" + db.rUnitNames.getString(i.targetId));
    EXPECT_EQ(insts, (std::vector<std::string>{"c1->.lib.foocell", "u_c->.lib.child", "u_n->.lib.nowhere"}));
}

TEST(SkimUnits, VhdlPrimitiveTestIgnoresCaseAndArchitecturesSplit) {
    SkimProject p;
    p.primitives.insert("FOOCELL");
    p.add("e.vhd", 9, "w",
          "entity e is end;\narchitecture rtl of e is\n"
          "component foocell end component;\nbegin\n u0 : foocell port map (a);\n"
          " u1 : entity work.sub(beh) port map (a);\n u2 : entity ieee.x port map (a);\nend;\n"
          "entity \\Esc\\ is end;\narchitecture a of \\Esc\\ is begin\n u3 : sub port map (b);\nend;\n");
    p.add("sub.vhd", 9, "w", "entity SUB is end;\narchitecture BEH of sub is begin end;\n");
    p.db().stdVhdlLibNames.insert("ieee");
    p.skim();
    HADLSifter& db = p.db();
    unsigned arch = p.rUnit("/w/e/rtl");
    ASSERT_NE(arch, 0u);
    EXPECT_STREQ(db.objNames.getString(db.rUnitAttrs.at(arch).secondaryId), "rtl");
    unsigned subBeh = p.rUnit("/w/sub/beh");
    ASSERT_NE(subBeh, 0u);
    EXPECT_STREQ(db.objNames.getString(db.rUnitAttrs.at(subBeh).primaryId), "sub");
    ASSERT_EQ(db.rUnitAttrs.at(arch).insts.size(), 1u);
    EXPECT_EQ(db.rUnitAttrs.at(arch).insts[0].targetId, subBeh);
    // The escaped entity is stored without backslashes, so its instances land on entry 0.
    EXPECT_NE(p.rUnit("/w/esc/a"), 0u);
    ASSERT_EQ(db.rUnitAttrs.at(0).insts.size(), 1u);
    EXPECT_EQ(db.rUnitAttrs.at(0).insts[0].targetId, p.rUnit("/w/sub"));
    EXPECT_LT(p.orderOf("sub.vhd"), p.orderOf("e.vhd"));
}

TEST(SkimUnits, CrossLanguageInstancesUseTheOtherFamily) {
    SkimProject p;
    static_cast<HADLDatabase&>(p.db()).setDefaultLibrary("deflib");
    p.add("top.v", 2, "vlib", "module top; vent u0 (); dent u1 (); endmodule\n");
    p.add("vent.vhd", 9, "vlib", "entity vent is end;\n");
    p.add("dent.vhd", 9, "deflib", "entity dent is end;\n");
    p.skim();
    const auto& insts = p.db().rUnitAttrs.at(p.rUnit(".vlib.top")).insts;
    ASSERT_EQ(insts.size(), 2u);
    EXPECT_EQ(insts[0].targetId, p.rUnit("/vlib/vent"));
    EXPECT_EQ(insts[1].targetId, p.rUnit("/deflib/dent"));
    // A Verilog instance of a VHDL entity is weak, yet the VHDL file still comes first.
    EXPECT_LT(p.orderOf("vent.vhd"), p.orderOf("top.v"));
    EXPECT_EQ(LoomParamMgr::getParamMgr().getValueAsString("project.defaultLibrary"), "deflib");
}

TEST(SkimUnits, UnnamedUdpInstanceHasNoInstanceNameAndATaskCallIsNoInstance) {
    SkimProject p;
    p.add("top.sv", 5, "w",
          "module top (input a, output o);\n  inv (o, a);\n  initial begin report(a); end\nendmodule\n");
    p.add("inv.v", 2, "w", "primitive inv (o, a); output o; input a; table 0 : 1; 1 : 0; endtable endprimitive\n");
    p.skim();
    const auto& insts = p.db().rUnitAttrs.at(p.rUnit(".w.top")).insts;
    ASSERT_EQ(insts.size(), 1u);
    EXPECT_EQ(insts[0].instnameId, 0u);
    EXPECT_EQ(insts[0].targetId, p.rUnit(".w.inv"));
    EXPECT_EQ(p.rUnit(".w.report"), 0u);
}

TEST(SkimUnits, ExternModulePrototypeIsATarget) {
    SkimProject p;
    p.add("top.sv", 5, "w", "extern module ext (input a);\nmodule top; ext u (); endmodule\n");
    p.skim();
    unsigned ext = p.rUnit(".w.extern module ext");
    ASSERT_NE(ext, 0u);
    const auto& insts = p.db().rUnitAttrs.at(p.rUnit(".w.top")).insts;
    ASSERT_EQ(insts.size(), 1u);
    EXPECT_EQ(insts[0].targetId, ext);
}

TEST(SkimIncludes, IncludesAreTracedOnceAndNeverRegistered) {
    SkimProject p;
    LoomParamMgr::getParamMgr().setStringValue("project.defaultLibrary", "");
    static_cast<HADLDatabase&>(p.db()).setDefaultLibrary("dl");
    p.write("inc/a.vh", "`include \"b.vh\"\n");
    p.write("inc/b.vh", "wire from_b;\n");
    p.add("top.v", 2, "w", "module top;\n`include \"a.vh\"\n`include \"a.vh\"\nendmodule\n");
    p.db().dirNames.insert(p.files.path("inc").c_str());
    p.skim();
    HADLSifter& db = p.db();
    unsigned a = db.fileNames.find(p.files.path("inc/a.vh").c_str());
    unsigned b = db.fileNames.find(p.files.path("inc/b.vh").c_str());
    ASSERT_NE(a, 0u);
    ASSERT_NE(b, 0u);
    EXPECT_EQ(p.db().fileAttrs.at(a).lang, 14u);
    EXPECT_STREQ(db.objNames.getString(db.fileAttrs.at(a).libId), "dl");
    EXPECT_EQ(db.fileProps.at(p.id("top.v")).includedFiles, (HADLVectorForTuple<unsigned>{a}));
    EXPECT_EQ(db.fileProps.at(a).includedFiles, (HADLVectorForTuple<unsigned>{b}));
    EXPECT_EQ(db.skimTracker, nullptr);
    p.skim();
    EXPECT_EQ(db.fileNames.size(), 4u);
    EXPECT_EQ(db.fileProps.at(p.id("top.v")).includedFiles.size(), 1u);
}

TEST(SkimIncludes, CommandLineMacrosSelectText) {
    SkimProject p;
    p.add("top.v", 2, "w",
          "module top;\n`ifdef FAST fast_core u (); `else slow_core u (); `endif\n"
          "`WHICH u2 ();\nendmodule\n");
    p.db().addMacro("FAST", nullptr);
    p.db().addMacro("WHICH", "picked");
    p.skim();
    const auto& insts = p.db().rUnitAttrs.at(p.rUnit(".w.top")).insts;
    ASSERT_EQ(insts.size(), 2u);
    EXPECT_EQ(insts[0].targetId, p.rUnit(".w.fast_core"));
    EXPECT_EQ(insts[1].targetId, p.rUnit(".w.picked"));
}

TEST(SkimBadInput, EveryBadFileFinishes) {
    SkimProject p;
    p.add("missing.v", 2, "w", "");
    std::remove(p.files.path("missing.v").c_str());
    p.add("bin.vhd", 9, "w", std::string("\0\1\2\3entity", 10));
    p.add("ifdef.v", 2, "w", "`ifdef X\nmodule m; endmodule\n");
    p.add("comment.vhd", 9, "w", "/* entity e is end;\n");
    p.add("cyc.v", 2, "w", "`include \"cyc.v\"\nmodule cyc; endmodule\n");
    p.add("ok.v", 2, "w", "module ok; endmodule\n");
    p.skim();
    EXPECT_EQ(p.db().parseOrder.size(), p.db().fileNames.size() - 1);
    EXPECT_NE(p.rUnit(".w.ok"), 0u);
    // The include cycle ends at the preprocessor's depth limit, traced as one edge.
    EXPECT_EQ(p.db().fileProps.at(p.id("cyc.v")).includedFiles, (HADLVectorForTuple<unsigned>{p.id("cyc.v")}));
}
