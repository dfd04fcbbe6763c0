// The binder over analysed Verilog trees (the modules marked as elaboration marks them)
// and the unit keys and names it forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/bind/HADLBinder.h"
#include "sift/bind/HADLInstFinder.h"

namespace {

class HADLBinderTest : public ::testing::Test {
protected:
    void SetUp() override {
        hdl::veri_file::Reset();
        hdl::vhdl_file::Reset();
        db.setDefaultLibrary("deflib");
    }
    void TearDown() override { hdl::veri_file::Reset(); }

    // Enters the file as the scan does, then analyses it; `elaborated` marks its modules.
    void analyze(const std::string& name, const std::string& text, bool elaborated) {
        db.insertFileName(name, 5, "work");
        ASSERT_TRUE(hdl::veri_file::AnalyzeText(text, name.c_str(), hdl::SYSTEM_VERILOG, "work"));
        for (hdl::VeriModule* m : hdl::veri_file::GetLibrary("work")->AllModules())
            if (elaborated) m->elaborated = true;
    }
    void bind(const std::vector<std::string>& paramCopyNames = {}) {
        HADLInstFinder finder;
        HADLBinder(db, false).bind(finder, paramCopyNames);
    }
    const HADLDatabase::UnitAttr& unit(const char* key) {
        const unsigned id = db.unitNames.find(key);
        EXPECT_NE(id, 0u) << key;
        return db.unitAttrs.at(id);
    }
    std::string instances(const char* key) {
        std::string out;
        for (const HADLDatabase::InstAttr& i : unit(key).insts)
            out += std::string(db.objNames.getString(i.instId)) + "->" + db.unitNames.getString(i.unitId) +
                   (i.hasParam ? "(p)" : "") + " ";
        return out;
    }

    HADLDatabase db;
};

const char* const kBus = "interface bus_if; endinterface\n";
const char* const kDesign = R"(module leaf #(parameter W = 1) (); endmodule
module top;
  leaf u1();
  leaf #(.W(2)) u2();
  ghost g1();
  bus_if b();
endmodule
)";

TEST_F(HADLBinderTest, ElaboratedVerilogModulesBindTheirInstances) {
    analyze("bus.sv", kBus, true);
    analyze("design.sv", kDesign, true);
    bind();
    EXPECT_EQ(instances(".work.top"), "u1->.work.leaf u2->.work.leaf(p) g1->.deflib.ghost ");
    // The unknown module is a unit without source, linked to itself.
    const unsigned ghost = db.unitNames.find(".deflib.ghost");
    EXPECT_TRUE(isUnresolved(db, ghost));
    EXPECT_EQ(db.unitAttrs.at(ghost).origUnitId, ghost);
    // The interface instance is a file the design needs, once.
    const unsigned design = db.fileNames.find("design.sv");
    EXPECT_EQ(db.fileProps.at(design).elabReqFiles, HADLVectorForTuple<unsigned>{db.fileNames.find("bus.sv")});
    EXPECT_TRUE(unit(".work.bus_if").isInterface);
    // The interface is no top; the top is, and the leaf it instantiates is not.
    EXPECT_EQ(db.tops, HADLVectorForTuple<unsigned>{db.unitNames.find(".work.top")});
    EXPECT_EQ(unit(".work.top").startLine, 2u);
    EXPECT_EQ(unit(".work.top").endLine, 7u);
}

TEST_F(HADLBinderTest, InstancesOfAModuleWithCopiesCountAsParameterised) {
    analyze("bus.sv", kBus, true);
    analyze("design.sv", kDesign, true);
    bind({"leaf(W=2)"});
    EXPECT_EQ(instances(".work.top"), "u1->.work.leaf(p) u2->.work.leaf(p) g1->.deflib.ghost ");
}

TEST_F(HADLBinderTest, CopiesOfAnotherModuleWithTheSamePrefixDoNotCount) {
    analyze("bus.sv", kBus, true);
    analyze("design.sv", kDesign, true);
    bind({"leafy(W=2)"});
    EXPECT_EQ(instances(".work.top"), "u1->.work.leaf u2->.work.leaf(p) g1->.deflib.ghost ");
}

TEST_F(HADLBinderTest, ModulesElaborationDidNotReachHaveNoInstances) {
    analyze("bus.sv", kBus, false);
    analyze("design.sv", kDesign, false);
    bind();
    EXPECT_EQ(instances(".work.top"), "");
    EXPECT_EQ(db.unitNames.find(".deflib.ghost"), 0u);
    EXPECT_TRUE(db.fileProps.at(db.fileNames.find("design.sv")).elabReqFiles.empty());
}

TEST_F(HADLBinderTest, HierarchicalAndPackageReferencesAreFilesNeeded) {
    analyze("pkg.sv", "package p; parameter int K = 1; endpackage\n", false);
    analyze("other.sv",
            "module other; typedef struct packed { logic a; } s_t; s_t s; wire w; wire y = s.a; endmodule\n", false);
    analyze("user.sv", "module user; wire [p::K:0] x; assign x = other.w; endmodule\n", false);
    bind();
    const auto& needed = db.fileProps.at(db.fileNames.find("user.sv")).elabReqFiles;
    EXPECT_EQ(needed, (HADLVectorForTuple<unsigned>{db.fileNames.find("other.sv"), db.fileNames.find("pkg.sv")}));
    EXPECT_EQ(db.pkgIds.at(db.fileNames.find("pkg.sv")), HADLVectorForTuple<unsigned>{db.objNames.find("p")});
    // A local struct in front of a dot is no hierarchical reference.
    EXPECT_TRUE(db.fileProps.at(db.fileNames.find("other.sv")).elabReqFiles.empty());
}

// A configuration and the copies elaboration made of its top; `copies` name their
// original as elaboration does.
const char* const kConfigured = R"(module top; endmodule
module top_cfg_x; endmodule
module top_other; endmodule
module user; top_cfg_x u(); endmodule
config cfg; design work.top; endconfig
)";

void markCopies(const char* original) {
    for (hdl::VeriModule* m : hdl::veri_file::GetLibrary("work")->AllModules())
        if (m->Name().rfind(std::string(original) + "_", 0) == 0) m->originalName = original;
}

TEST_F(HADLBinderTest, VerilogConfigurationBindsTheCopyOfItsTopAndTakesItsInstances) {
    db.enableVhdlVerilogConfig = true;
    analyze("design.sv", kConfigured, true);
    markCopies("top");
    bind();
    EXPECT_TRUE(unit(".work.cfg").isConfig);
    EXPECT_EQ(instances(".work.cfg"), "top->.work.top_cfg_x ");
    EXPECT_EQ(unit(".work.top_cfg_x").origUnitId, db.unitNames.find(".work.top"));
    // An instance of the copy goes through the configuration that selects it.
    EXPECT_EQ(instances(".work.user"), "u->.work.cfg ");
    EXPECT_TRUE(db.fileMsgs.at(db.fileNames.find("design.sv")).empty());
}

TEST_F(HADLBinderTest, WithoutTheOptionAVerilogConfigurationIsAnOrdinaryUnit) {
    analyze("design.sv", kConfigured, true);
    markCopies("top");
    bind();
    EXPECT_FALSE(unit(".work.cfg").isConfig);
    EXPECT_EQ(instances(".work.user"), "u->.work.top_cfg_x ");
}

TEST_F(HADLBinderTest, VerilogConfigurationWithTwoTopsBindsOneAndTellsIt) {
    db.enableVhdlVerilogConfig = true;
    std::string text = kConfigured;
    text.replace(text.find("design work.top;"), 16, "design work.top work.user;");
    analyze("design.sv", text, true);
    markCopies("top");
    bind();
    EXPECT_EQ(instances(".work.cfg"), "top->.work.top_cfg_x ");
    const auto& msgs = db.fileMsgs.at(db.fileNames.find("design.sv"));
    ASSERT_EQ(msgs.size(), 1u);
    EXPECT_EQ(std::string(db.fmtStrs.getString(msgs[0].fmtId)).rfind("@56-434@", 0), 0u);
}

TEST_F(HADLBinderTest, TheBypassFlowKeysSourceInstancesAsVerilogWritesThem) {
    analyze("design.sv", R"(module leaf; endmodule
module top;
  leaf \odd+name ();
  leaf plain_1$ ();
  leaf u ();
endmodule
)",
            true);
    // Elaboration names an instance of a generate iteration by its path, here in place
    // of `u`: such a name stays unescaped.
    hdl::VeriModule* top = hdl::veri_file::GetLibrary("work")->GetModule("top");
    ASSERT_NE(top, nullptr);
    hdl::VeriInstId* made = nullptr;
    for (uint32_t i = 0; i < top->GetScope()->DeclarationCount(); ++i)
        if (auto* id = dynamic_cast<hdl::VeriInstId*>(top->GetScope()->Declaration(i)); id && id->name == "u")
            made = id;
    ASSERT_NE(made, nullptr);
    made->name = hdl::Symbol::Intern("gen[0].u");
    made->generateElabCreated = true;

    HADLInstFinder finder;
    HADLBinder(db, true).bind(finder, {});
    EXPECT_EQ(instances(".work.top"), "\\odd+name ->.work.leaf plain_1$->.work.leaf gen[0].u->.work.leaf ");
}

TEST_F(HADLBinderTest, TheOrdinaryFlowKeysInstancesByTheirNames) {
    analyze("design.sv", "module leaf; endmodule\nmodule top; leaf \\odd+name (); leaf plain (); endmodule\n", true);
    bind();
    EXPECT_EQ(instances(".work.top"), "odd+name->.work.leaf plain->.work.leaf ");
}

TEST(HADLBinderNames, KeysNamesAndBases) {
    EXPECT_EQ(compositeName(2, "work", "top", ""), ".work.top");
    EXPECT_EQ(compositeName(9, "work", "e", "rtl"), "/work/e/rtl");
    EXPECT_EQ(compositeName(11, "lib", "cfg", ""), "/lib/cfg");
    EXPECT_EQ(normalizeName("\\\\Odd Name\\\\"), "Odd Name");
    EXPECT_EQ(normalizeName("plain"), "plain");
    EXPECT_EQ(baseName("leaf(W=8)"), "leaf");
    EXPECT_EQ(baseName("leaf(W=8"), "leaf(W=8");
    EXPECT_EQ(baseName("(x)y"), "(x)y");
    EXPECT_EQ(makeVerilogName("u_1$"), "u_1$");
    EXPECT_EQ(makeVerilogName("a+b"), "\\a+b ");
    EXPECT_EQ(makeVerilogName("1st"), "\\1st ");
    EXPECT_EQ(makeVerilogName("\\a+b"), "\\a+b ");
    EXPECT_EQ(makeVerilogName("\\a+b "), "\\a+b ");
}

} // namespace
