// Binding by configurations: two libraries hold cells of the same name, and the rules of
// the configuration that is the top choose between them.
#include <gtest/gtest.h>

#include "VeriElabFixture.h"
#include "hdl/elab/VeriConfigBinding.h"
#include "hdl/sv/VeriPrettyPrinter.h"

namespace hdl {
namespace {

// lib1 and lib2 both hold `leaf` and `mid`; each library's leaf instantiates a cell
// only that library holds, so the listing shows which one was bound.
class VeriConfigTest : public VeriElaboratorTest {
protected:
    void SetUp() override {
        VeriElaboratorTest::SetUp();
        Analyze("module leaf #(parameter W = 1) (); one x (); endmodule\nmodule one; endmodule\n"
                "module mid; leaf l (); endmodule\n",
                "lib1");
        Analyze("module leaf #(parameter W = 1) (); two y (); endmodule\nmodule two; endmodule\n"
                "module mid; leaf l (); endmodule\nmodule alt; endmodule\n",
                "lib2");
        Analyze("module top; leaf u1 (); leaf u2 (); mid m1 (); mid m2 (); endmodule\n"
                "module sub; leaf s (); endmodule\n");
    }
    std::string Configured(const std::string& rules) {
        Analyze("config cfg; design work.top; " + rules + " endconfig\n", "work");
        return Hier({"cfg"});
    }
};

TEST_F(VeriConfigTest, TheDefaultLiblistOrdersTheSearch) {
    std::string first = Configured("default liblist lib1 lib2;");
    EXPECT_TRUE(ok) << first;
    EXPECT_NE(first.find("top.u1.x\tone\tone\n"), std::string::npos) << first;
    EXPECT_NE(first.find("top.m2.l.x\tone\tone\n"), std::string::npos) << first;
    EXPECT_EQ(first.find("two"), std::string::npos) << first;
    veri_file::Reset();
    SetUp();
    std::string second = Configured("default liblist lib2 lib1;");
    EXPECT_NE(second.find("top.u1.y\ttwo\ttwo\n"), std::string::npos) << second;
    EXPECT_EQ(second.find("one"), std::string::npos) << second;
}

TEST_F(VeriConfigTest, InstanceRulesBeatCellRulesBeatTheDefault) {
    std::string hier = Configured("default liblist lib1 lib2;\n"
                                  "cell leaf use lib2.leaf;\n"
                                  "instance top.u1 liblist lib1;\n");
    EXPECT_TRUE(ok) << hier;
    EXPECT_NE(hier.find("top.u1.x\tone\tone\n"), std::string::npos) << hier; // the instance rule
    EXPECT_NE(hier.find("top.u2.y\ttwo\ttwo\n"), std::string::npos) << hier; // the cell rule
    EXPECT_NE(hier.find("top.m1.l.y\ttwo\ttwo\n"), std::string::npos) << hier;
    // `cell lib1.leaf` selects only a leaf that would come from lib1.
    veri_file::Reset();
    SetUp();
    hier = Configured("default liblist lib2 lib1; cell lib1.leaf use alt;");
    EXPECT_NE(hier.find("top.u1.y\ttwo\ttwo\n"), std::string::npos) << hier;
    EXPECT_EQ(hier.find("alt"), std::string::npos) << hier;
}

TEST_F(VeriConfigTest, AnInstanceLiblistIsInheritedAndSplitsSharedUnits) {
    // m1 and m2 are the same module with the same parameters, yet what is below differs:
    // lib1's mid gets a leaf the plain search would not give it, so it is named after
    // the configuration; lib2's mid binds as the plain search does and keeps its name.
    std::string hier = Configured("default liblist lib1 lib2; instance top.m2 liblist lib2;"
                                  "instance top.m1.l use lib2.leaf .W(3);");
    EXPECT_TRUE(ok) << hier;
    EXPECT_NE(hier.find("top.m1\tmid\tmid_cfg_default\ntop.m1.l\tleaf\tleaf(W=3)\ntop.m1.l.y\ttwo\ttwo\n"),
              std::string::npos)
        << hier;
    EXPECT_NE(hier.find("top.m2\tmid\tmid\ntop.m2.l\tleaf\tleaf\ntop.m2.l.y\ttwo\ttwo\n"), std::string::npos) << hier;
    EXPECT_NE(hier.find("top.u1.x\tone\tone\n"), std::string::npos) << hier;
}

TEST_F(VeriConfigTest, UseRenamesTheCellOrHandsOverToAnotherConfiguration) {
    Analyze("config inner; design work.sub; default liblist lib2; endconfig\n");
    std::string hier = Configured("default liblist lib1; instance top.u2 use lib2.alt;"
                                  "instance top.m1 use work.inner:config;");
    EXPECT_TRUE(ok) << hier;
    EXPECT_NE(hier.find("top.u2\talt\talt\n"), std::string::npos) << hier;
    // Below m1 the inner configuration rules: its design cell, its default liblist; the
    // cell binds otherwise than the plain search and is named after that configuration.
    EXPECT_NE(hier.find("top.m1\tsub\tsub_inner_default\ntop.m1.s\tleaf\tleaf\ntop.m1.s.y\ttwo\ttwo\n"),
              std::string::npos)
        << hier;
    EXPECT_NE(hier.find("top.m2.l.x\tone\tone\n"), std::string::npos) << hier;
}

// A module reached inside the configuration and outside it, or twice inside with
// different bindings below, is one unit per binding: the plain search's keeps the
// module's name, each other binding gets one after the configuration, and the stored
// modules (what the scanner binds from) hold each its own binding.
TEST_F(VeriConfigTest, UnitsThatBindOtherwiseAreNamedAfterTheConfiguration) {
    Analyze("module wrap; sub s1 (); sub s2 (); sub s3 (); endmodule\nmodule bench; sub b (); endmodule\n");
    const std::string rules = "default liblist work lib1 lib2; cell leaf use lib2.leaf;"
                              "instance wrap.s2.s use lib2.leaf #(.W(2)); instance wrap.s3.s use lib1.leaf;";
    Analyze("config c; design work.wrap; " + rules + " endconfig\n");
    const std::string expected = "bench\tbench\tbench\n"
                                 "bench.b\tsub\tsub\n"
                                 "bench.b.s\tleaf\tleaf\n"
                                 "bench.b.s.x\tone\tone\n"
                                 "wrap\twrap\twrap_c_default\n"
                                 "wrap.s1\tsub\tsub_c_default\n"
                                 "wrap.s1.s\tleaf\tleaf\n"
                                 "wrap.s1.s.y\ttwo\ttwo\n"
                                 "wrap.s2\tsub\tsub_c_1_default\n"
                                 "wrap.s2.s\tleaf\tleaf(W=2)\n"
                                 "wrap.s2.s.y\ttwo\ttwo\n"
                                 "wrap.s3\tsub\tsub\n"
                                 "wrap.s3.s\tleaf\tleaf\n"
                                 "wrap.s3.s.x\tone\tone\n";
    EXPECT_EQ(Hier({"bench", "c"}), expected);
    EXPECT_TRUE(ok);
    // What each stored `sub` instantiates: lib1's leaf in the plain one, lib2's in the
    // configuration's, the W=2 copy in the second.
    auto leafOf = [](const char* name) -> std::string {
        const VeriModule* m = veri_file::GetLibrary("work")->GetModule(name);
        if (!m) return "none";
        for (const VeriModuleItem* item : m->items)
            if (auto* inst = dynamic_cast<const VeriModuleInstantiation*>(item)) {
                const VeriModule* bound = inst->GetInstantiatedModule();
                return bound ? bound->GetLibrary()->GetName() + "." + std::string(bound->Name()) : "unbound";
            }
        return "no instance";
    };
    EXPECT_EQ(leafOf("sub"), "lib1.leaf");
    EXPECT_EQ(leafOf("sub_c_default"), "lib2.leaf");
    EXPECT_EQ(leafOf("sub_c_1_default"), "lib2.leaf(W=2)");
    const VeriModule* copy = veri_file::GetLibrary("work")->GetModule("sub_c_1_default");
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetOriginalModuleName(), "sub");
    // The names do not hang on the order of the tops.
    veri_file::Reset();
    SetUp();
    Analyze("module wrap; sub s1 (); sub s2 (); sub s3 (); endmodule\nmodule bench; sub b (); endmodule\n");
    Analyze("config c; design work.wrap; " + rules + " endconfig\n");
    std::string reversed = Hier({"c", "bench"});
    const size_t split = expected.find("wrap\t");
    EXPECT_EQ(reversed, expected.substr(split) + expected.substr(0, split));
    EXPECT_EQ(leafOf("sub"), "lib1.leaf");
}

TEST_F(VeriConfigTest, CellsMissingFromTheListedLibrariesAreReported) {
    // A liblist without the cell: the instance stays unbound, as a missing module.
    std::string hier = Configured("default liblist lib1; instance top.u1 liblist lib3;");
    EXPECT_TRUE(Told("VERI-1605")) << hier;
    EXPECT_NE(hier.find("top.u1\tleaf\tleaf\n"), std::string::npos) << hier;
    EXPECT_EQ(hier.find("top.u1.x"), std::string::npos) << hier;
    // A misspelt cell in a use clause, a parameter the cell lacks.
    veri_file::Reset();
    SetUp();
    Configured("default liblist lib1; cell leaf use lib2.lef;");
    EXPECT_TRUE(Told("VERI-1605"));
    veri_file::Reset();
    SetUp();
    Configured("default liblist lib1; instance top.u2 use lib2.leaf #(.WIDTH(3));");
    EXPECT_FALSE(ok);
    EXPECT_TRUE(Told("VERI-1604"));
}

TEST_F(VeriConfigTest, RulesAreKeptAndPrintBack) {
    Analyze("config c2; design lib1.mid work.top; default liblist lib1 lib2;\n"
            "instance top.u1.x use lib2.leaf #(.W(2)) : config; cell lib2.leaf liblist;\n"
            "cell mid use alt; endconfig\n");
    auto* cfg = dynamic_cast<VeriConfiguration*>(veri_file::GetModule("c2"));
    ASSERT_NE(cfg, nullptr);
    ASSERT_EQ(cfg->items.Size(), 4u);
    auto* inst = dynamic_cast<VeriInstanceConfig*>(cfg->items[1]);
    ASSERT_NE(inst, nullptr);
    ASSERT_NE(inst->use, nullptr);
    EXPECT_TRUE(inst->use->isConfig);
    EXPECT_EQ(inst->use->paramValues.Size(), 1u);
    EXPECT_EQ(VeriConfigRulePath(inst), "top.u1.x");
    auto* empty = dynamic_cast<VeriCellConfig*>(cfg->items[2]);
    ASSERT_NE(empty, nullptr);
    EXPECT_TRUE(empty->hasLiblist && empty->liblist.Empty() && !empty->use);
    EXPECT_NE(dynamic_cast<VeriDefaultConfig*>(cfg->items[0]), nullptr);
    std::string printed = VeriPrettyPrinter::toString(*cfg);
    EXPECT_NE(printed.find("instance top.u1.x use lib2.leaf #(.W(2)) : config;"), std::string::npos) << printed;
    veri_file::Reset();
    Analyze(printed);
    EXPECT_EQ(VeriPrettyPrinter::toString(*veri_file::GetModule("c2")), printed);
    // A rule without its clause, an instance clause without a path.
    test::MessageCapture capture;
    EXPECT_FALSE(
        veri_file::AnalyzeText("config c; design top; instance top.u1; endconfig\n", "bad.sv", SYSTEM_VERILOG, "work"));
    EXPECT_FALSE(veri_file::AnalyzeText("config d; design top; instance liblist a; endconfig\n", "bad2.sv",
                                        SYSTEM_VERILOG, "work"));
}

} // namespace
} // namespace hdl
