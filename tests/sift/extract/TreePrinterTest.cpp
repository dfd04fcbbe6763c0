// The tree printers: one line per node in pre-order, indented by depth, named by kind.
#include <gtest/gtest.h>

#include <string>

#include "ExtractTestUtil.h"
#include "sift/extract/HADLTreePrinter.h"

namespace {

using namespace extract_test;

class TreePrinterTest : public ::testing::Test {
protected:
    void SetUp() override { resetFrontEnds(); }
    void TearDown() override { resetFrontEnds(); }
};

// A node whose class code no table knows.
struct StrangeRef : hdl::VeriIdRef {
    uint32_t GetClassId() const override { return 12345; }
};

TEST_F(TreePrinterTest, VerilogInPreOrder) {
    hdl::VeriModule* m = analyzeVerilog("module m;\n  wire a;\n  assign a = 1'b0;\nendmodule\n");
    ASSERT_NE(m, nullptr);
    testing::internal::CaptureStdout();
    HADLVerific::printTree(*m);
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(text, "  1  MODULE\n"
                    "  1    MODULEID\n"
                    "  2    NETDECL\n"
                    "  2      VARIABLE\n"
                    "  3    CONTINUOUSASSIGN\n"
                    "  3      NETREGASSIGN\n"
                    "  3        IDREF\n"
                    "  3        CONSTVAL\n");
}

TEST_F(TreePrinterTest, VhdlInPreOrder) {
    hdl::vhdl_file::AnalyzeText("entity e is\n  generic (g : natural := 1);\nend;\n", "e.vhd", "work", hdl::VHDL_93);
    hdl::VhdlPrimaryUnit* e = hdl::vhdl_file::GetLibrary("work")->GetPrimUnit("e");
    ASSERT_NE(e, nullptr);
    testing::internal::CaptureStdout();
    HADLVerific::printTree(*e);
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(text, "  1  ENTITYDECL\n"
                    "  1    ENTITYID\n"
                    "  2    INTERFACEDECL\n"
                    "  2      INTERFACEID\n"
                    "  2      IDREF\n"
                    "  2      INTEGER\n");
}

TEST_F(TreePrinterTest, KindNamesByClassCode) {
    EXPECT_STREQ(HADLVerific::veriKindName(hdl::VeriModule::kClassId), "MODULE");
    EXPECT_STREQ(HADLVerific::veriKindName(0xC0000001u), "PATHDECL");
    EXPECT_STREQ(HADLVerific::veriKindName(0xC0000001u + 195u), "COVERAGESPECID");
    EXPECT_STREQ(HADLVerific::veriKindName(0xC0000001u + 196u), "?");
    EXPECT_STREQ(HADLVerific::veriKindName(0xC0000000u), "?");
    EXPECT_STREQ(HADLVerific::vhdlKindName(0xC0000000u), "SCOPE");
    EXPECT_STREQ(HADLVerific::vhdlKindName(0xC0000000u + 204u), "SCOPEDPACKAGEINSTELEMENT");
    EXPECT_STREQ(HADLVerific::vhdlKindName(0xC0000000u + 205u), "?");
    EXPECT_STREQ(HADLVerific::vhdlKindName(0), "?");

    StrangeRef strange;
    testing::internal::CaptureStdout();
    HADLVerific::printTree(strange);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "  0  ?\n");
}

} // namespace
