// `uselib: the directives in force where an instance stands choose its module among
// same-named modules of different libraries and files.
#include <gtest/gtest.h>

#include "VeriElabFixture.h"

namespace hdl {
namespace {

class VeriUselibTest : public VeriElaboratorTest {
protected:
    void SetUp() override {
        VeriElaboratorTest::SetUp();
        // The library searched by default (lib1, created first) holds the other cell.
        test::MessageCapture capture;
        ASSERT_TRUE(veri_file::AnalyzeText("module core; one x (); endmodule\nmodule one; endmodule\n", "a/core.v",
                                           VERILOG_2K, "lib1"))
            << capture.Errors();
        ASSERT_TRUE(veri_file::AnalyzeText("module core; two y (); endmodule\nmodule two; endmodule\n", "b/core.v",
                                           VERILOG_2K, "lib2"))
            << capture.Errors();
    }
    std::string Top(const std::string& body) {
        Analyze("module top;\n" + body + "endmodule\n");
        return Hier({"top"});
    }
};

TEST_F(VeriUselibTest, EachFormChoosesTheModule) {
    std::string hier = Top("core d ();\n"
                           "`uselib lib=lib2\n"
                           "core byLib ();\n"
                           "`uselib   file=b/core.v\n"
                           "core byFile ();\n"
                           "`uselib dir=b libext=.sv libext=.v\n"
                           "core byDir ();\n"
                           "`uselib lib=nothing lib=lib2\n"
                           "core second ();\n"
                           "`uselib\n"
                           "core plain ();\n");
    EXPECT_TRUE(ok) << hier;
    for (const char* inst : {"byLib", "byFile", "byDir", "second"})
        EXPECT_NE(hier.find("top." + std::string(inst) + ".y\ttwo\ttwo\n"), std::string::npos) << inst << "\n" << hier;
    EXPECT_NE(hier.find("top.d.x\tone\tone\n"), std::string::npos) << hier;
    EXPECT_NE(hier.find("top.plain.x\tone\tone\n"), std::string::npos) << hier;
    // The directives are kept on the instantiation, blanks collapsed.
    const VeriModule* top = veri_file::GetModule("top", "work");
    ASSERT_NE(top, nullptr);
    auto* byFile = dynamic_cast<const VeriModuleInstantiation*>(top->items[2]);
    ASSERT_NE(byFile, nullptr);
    EXPECT_EQ(byFile->uselib, "file=b/core.v");
    EXPECT_TRUE(dynamic_cast<const VeriModuleInstantiation*>(top->items[0])->uselib.empty());
}

TEST_F(VeriUselibTest, TheDirectiveLastsAcrossUnitsUntilResetall) {
    Analyze("`uselib lib=lib2\nmodule top; core a (); endmodule\nmodule mid; core b (); endmodule\n`resetall\n"
            "module after; core c (); endmodule\n");
    std::string hier = Hier({"top", "mid", "after"});
    EXPECT_NE(hier.find("top.a.y\ttwo\ttwo\n"), std::string::npos) << hier;
    EXPECT_NE(hier.find("mid.b.y\ttwo\ttwo\n"), std::string::npos) << hier;
    EXPECT_NE(hier.find("after.c.x\tone\tone\n"), std::string::npos) << hier;
}

TEST_F(VeriUselibTest, DirectivesThatFindNothingAreReported) {
    for (const char* directive : {"lib=lib3", "file=c/core.v", "dir=a libext=.sv", "file=core.v.bak"}) {
        veri_file::Reset();
        SetUp();
        std::string hier = Top(std::string("`uselib ") + directive + "\ncore u ();\n");
        EXPECT_TRUE(Told("VERI-1605")) << directive << "\n" << hier;
        EXPECT_EQ(hier.find("top.u."), std::string::npos) << directive << "\n" << hier;
    }
}

} // namespace
} // namespace hdl
