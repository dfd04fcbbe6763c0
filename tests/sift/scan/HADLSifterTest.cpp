// Phase movement and configuration of the run.
#include <gtest/gtest.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "hdl/base/Message.h"
#include "hdl/base/RuntimeFlags.h"
#include "sift/database/HADLDatabaseAPI.h"
#include "sift/scan/HADLSifter.h"

namespace {

// Records the steps in the order they run; a step can be told to throw.
class RecordingSifter : public HADLSifter {
public:
    void configure() override { steps.push_back("configure"); }
    void doSkim() override { steps.push_back("skim"); }
    void doParse() override {
        steps.push_back("parse");
        if (failParse) throw std::runtime_error("parse failed");
    }
    void doElab(const std::string& top) override { steps.push_back("elab:" + top); }
    void interfaceInfo(const std::string& top) override { steps.push_back("info:" + top); }

    std::vector<std::string> steps;
    bool failParse = false;
};

using Steps = std::vector<std::string>;

TEST(PhaseTest, LaterPhaseRunsMissingEarlierOnes) {
    RecordingSifter s;
    s.runElab("top");
    EXPECT_EQ(s.steps, (Steps{"configure", "skim", "parse", "elab:top"}));
    EXPECT_EQ(s.phase, 4u);
    // Only the parse wrapper marks parsing as done.
    EXPECT_FALSE(s.status.isParseDone);
}

TEST(PhaseTest, InterfaceInfoElaboratesWithoutTop) {
    RecordingSifter s;
    s.runInterfaceInfo("top");
    EXPECT_EQ(s.steps, (Steps{"configure", "skim", "parse", "elab:", "info:top"}));
    EXPECT_EQ(s.phase, 5u);
}

TEST(PhaseTest, GoingBackOnlyChangesTheNumber) {
    RecordingSifter s;
    s.runParse();
    EXPECT_TRUE(s.status.isParseDone);
    s.steps.clear();
    s.runParse();
    EXPECT_EQ(s.steps, Steps{"parse"});
    EXPECT_EQ(s.phase, 3u);
    s.steps.clear();
    s.runSkim();
    EXPECT_EQ(s.steps, Steps{"skim"});
    EXPECT_EQ(s.phase, 2u);
    s.setPhase(0);
    EXPECT_EQ(s.phase, 0u);
    EXPECT_EQ(s.steps, Steps{"skim"});
}

TEST(PhaseTest, ConfigureRunsOnceForward) {
    RecordingSifter s;
    s.runSkim();
    s.runSkim();
    s.runElab("a");
    s.runElab("b");
    EXPECT_EQ(s.steps, (Steps{"configure", "skim", "skim", "parse", "elab:a", "elab:b"}));
}

TEST(PhaseTest, FailedStepKeepsPhaseAndRunsAgain) {
    RecordingSifter s;
    s.failParse = true;
    EXPECT_THROW(s.runParse(), std::runtime_error);
    EXPECT_EQ(s.phase, 2u);
    EXPECT_FALSE(s.status.isParseDone);
    s.failParse = false;
    s.steps.clear();
    s.runElab("t");
    EXPECT_EQ(s.steps, (Steps{"parse", "elab:t"}));
}

TEST(PhaseTest, ElabResetsSegvHandlerOnlyWhenAsked) {
    RecordingSifter s;
    std::signal(SIGSEGV, SIG_IGN);
    s.runElab("t");
    EXPECT_EQ(std::signal(SIGSEGV, SIG_IGN), SIG_IGN);
    s.skipElabIfCrash = true;
    s.runElab("t");
    EXPECT_EQ(std::signal(SIGSEGV, SIG_DFL), SIG_DFL);
    // The way in through the phase guard does not reset it.
    std::signal(SIGSEGV, SIG_IGN);
    s.phase = 0;
    s.runInterfaceInfo("t");
    EXPECT_EQ(std::signal(SIGSEGV, SIG_DFL), SIG_IGN);
}

class ConfigureTest : public ::testing::Test {
protected:
    ConfigureTest() {
        hdl::RuntimeFlags::Reset();
        hdl::Message::ResetAllMessageTypes();
    }
    HADLSifter s;
};

TEST_F(ConfigureTest, MessageTypesAndLimits) {
    s.configure();
    EXPECT_EQ(hdl::Message::GetMessageType("VERI-1231"), hdl::MSG_IGNORE);
    EXPECT_EQ(hdl::Message::GetMessageType("VBSR-1011"), hdl::MSG_IGNORE);
    EXPECT_EQ(hdl::Message::GetMessageType("VHDL-1260"), hdl::MSG_WARNING);
    EXPECT_EQ(hdl::Message::GetMessageType("VERI-1154"), hdl::MSG_WARNING);
    EXPECT_EQ(hdl::Message::GetMessageType("VERI-9003"), hdl::MSG_INFO);
    EXPECT_EQ(hdl::Message::GetMessageType("VERI-1482"), hdl::MSG_IGNORE);
    EXPECT_TRUE(hdl::Message::ErrorCountHidden());
}

TEST_F(ConfigureTest, VerbosityThreeRaisesFileAnnouncement) {
    s.verbosity = 3;
    s.configure();
    EXPECT_EQ(hdl::Message::GetMessageType("VERI-1482"), hdl::MSG_INFO);
}

TEST_F(ConfigureTest, RuntimeFlags) {
    s.configure();
    EXPECT_EQ(hdl::RuntimeFlags::GetVar("veri_elaborate_top_level_modules_having_interface_ports"), 1u);
    EXPECT_EQ(hdl::RuntimeFlags::GetVar("allow_mixed_type_ports"), 1u);
    EXPECT_EQ(hdl::RuntimeFlags::GetVar("vhdl_ignore_psl_constructs"), 1u);
    EXPECT_EQ(hdl::RuntimeFlags::GetVar("vhdl_preserve_id_case"), 0u);
}

TEST_F(ConfigureTest, HierTreeAfterFirstPhaseHasNoEffectOnIdCase) {
    s.runSkim();
    s.hierTree = true;
    s.runParse();
    EXPECT_EQ(hdl::RuntimeFlags::GetVar("vhdl_preserve_id_case"), 0u);
    HADLSifter early;
    early.hierTree = true;
    early.runSkim();
    EXPECT_EQ(hdl::RuntimeFlags::GetVar("vhdl_preserve_id_case"), 1u);
}

TEST_F(ConfigureTest, StandardLibraryNamesIgnoreCase) {
    s.configure();
    EXPECT_EQ(s.stdVhdlLibNames.size(), 7u);
    EXPECT_NE(s.stdVhdlLibNames.findNoCase("IEEE"), 0u);
    EXPECT_NE(s.stdVhdlLibNames.find("mortise"), 0u);
    EXPECT_EQ(s.stdSVLibNames.size(), 3u);
    EXPECT_NE(s.stdSVLibNames.findNoCase("UVM"), 0u);
    EXPECT_FALSE(s.enableVhdlVerilogConfig);
}

TEST_F(ConfigureTest, SkippedStandardLibrariesLeaveNamesEmpty) {
    s.skipStdVhdlLibs = true;
    s.configure();
    EXPECT_LT(s.stdVhdlLibNames.size(), 2u);
    EXPECT_LT(s.stdSVLibNames.size(), 2u);
    EXPECT_FALSE(s.enableVhdlVerilogConfig);
}

TEST_F(ConfigureTest, VerilogConfigSurvivesSkippedLibraries) {
    s.skipStdVhdlLibs = true;
    s.enableVerilogConfig = true;
    s.configure();
    EXPECT_TRUE(s.enableVhdlVerilogConfig);
    HADLSifter withLibs;
    withLibs.enableVerilogConfig = true;
    withLibs.configure();
    EXPECT_TRUE(withLibs.enableVhdlVerilogConfig);
}

TEST_F(ConfigureTest, AliasedVerilogFileFindsIncludesBesideIt) {
    const uint32_t list = s.newIncDirList();
    s.addIncDir("/proj/inc", list);
    const uint32_t v = s.insertFileName("/proj/rtl/a.v", 2, "work");
    const uint32_t alias = s.insertFileName("/tmp/alias_a.v", 2, "work");
    const uint32_t vhd = s.insertFileName("/proj/vhd/b.vhd", 9, "work");
    const uint32_t plain = s.insertFileName("/proj/other/c.v", 2, "work");
    for (uint32_t id : {v, vhd, plain}) s.setFileIncDirList(list, id);
    s.fileAttrs.at(v).tempAliasId = alias;
    s.fileAttrs.at(vhd).tempAliasId = alias;
    s.configure();
    std::vector<std::string> dirs;
    for (uint32_t dirId : s.incDirLists.at(list)) dirs.push_back(s.dirNames.getString(dirId));
    EXPECT_EQ(dirs, (std::vector<std::string>{"/proj/inc", "/proj/rtl"}));
}

TEST_F(ConfigureTest, AliasWithDanglingListIdThrows) {
    const uint32_t v = s.insertFileName("/proj/rtl/a.v", 2, "work");
    s.fileAttrs.at(v).tempAliasId = v;
    s.fileAttrs.at(v).incDirListId = 77;
    testing::internal::CaptureStdout();
    EXPECT_ANY_THROW(s.configure());
    EXPECT_NE(testing::internal::GetCapturedStdout().find("Out of range access at "), std::string::npos);
}

TEST(CrashHookTest, SerializesWithErrElevenOnlyWhenNamed) {
    HADLSifter s;
    s.serializeOnCrash();
    EXPECT_EQ(s.status.err, 0);
    s.insertFileName("crash.v", 5, "work");
    s.crashShmName = "/sift_crash_test_" + std::to_string(getpid());
    s.serializeOnCrash();
    EXPECT_EQ(s.status.err, 11);
    HADLDatabase back;
    ASSERT_EQ(HADLDatabaseAPI(back).deserialize(s.crashShmName), 0);
    EXPECT_EQ(back.status.err, 11);
    EXPECT_NE(back.fileNames.find("crash.v"), 0u);
    shm_unlink(s.crashShmName.c_str());
}

} // namespace
