// The sf command through a Tcl interpreter: option table, dispatch, files, guard.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <tcl.h>
#include <unistd.h>

#include "MessageRecorder.h"
#include "runtime/LoomBackTrace.h"
#include "runtime/LoomParamMgr.h"
#include "sift/scan/HADLSifter.h"
#include "sift/shell/HADLCmd.h"
#include "sift/shell/TclCommands.h"

namespace {

class SfTest : public ::testing::Test {
protected:
    SfTest() : interp(Tcl_CreateInterp()) { registerCommands(interp); }
    ~SfTest() override { Tcl_DeleteInterp(interp); }

    int sf(const std::string& args) { return Tcl_Eval(interp, ("sf " + args).c_str()); }
    std::string lastError() const {
        for (auto it = MessageRecorder::messages().rbegin(); it != MessageRecorder::messages().rend(); ++it) {
            if (it->type == hdl::MSG_ERROR) return it->text;
        }
        return "";
    }
    uint32_t fileId(const std::string& path) { return sifter.fileNames.find(path.c_str()); }
    std::string libraryOf(const std::string& path) {
        return sifter.objNames.getString(sifter.fileAttrs.at(fileId(path)).libId);
    }
    std::vector<std::string> dirsOfList(uint32_t listId) {
        std::vector<std::string> dirs;
        for (uint32_t dirId : sifter.incDirLists.at(listId)) {
            dirs.push_back(sifter.dirNames.getString(dirId));
        }
        return dirs;
    }

    MessageRecorder recorder;
    Tcl_Interp* interp;
    HADLSifter& sifter = HADLSifter::instance();
};

TEST_F(SfTest, OptionTableOrderGroupsAndKinds) {
    HADLCmd cmd;
    const char* expected[] = {"help",
                              "use_precompiled_std_libs",
                              "skip_std_vhdl_libs",
                              "ignore_translate_off",
                              "load",
                              "save",
                              "deserialize",
                              "serialize",
                              "add_v2k",
                              "add_v2klib",
                              "add_sv",
                              "add_svlib",
                              "add_vhdl93",
                              "add_vhdl08",
                              "add_vhdl19",
                              "skim",
                              "sketch",
                              "parse",
                              "block_ranges",
                              "defref",
                              "port_decls",
                              "elab",
                              "interface_info",
                              "print_hier",
                              "print",
                              "dump_vrfcHier",
                              "verbosity",
                              "elab_errors",
                              "skipElabIfCrash",
                              "hierByPassFlow",
                              "elabSpecifiedTop",
                              "compile_dump",
                              "outdir",
                              "hierTree",
                              "handleIPBDInactiveUnits",
                              "enable_verilog_config",
                              "set_project_defaultlibrary",
                              "strict_vhdl_lib_search_order",
                              "enable_vhdl_2019",
                              "serialize_in_case_of_crash",
                              "",
                              "incdir"};
    ASSERT_EQ(cmd.Arguments().size(), sizeof expected / sizeof *expected);
    for (size_t i = 0; i < cmd.Arguments().size(); ++i) {
        const hdl::Argument& a = *cmd.Arguments()[i];
        EXPECT_EQ(a.name, expected[i]);
        EXPECT_TRUE(a.optional) << a.name;
        const bool free = a.name == "help" || a.name == "outdir" || a.name == "incdir" || a.name.empty();
        EXPECT_EQ(a.group, free ? 0 : 1) << a.name;
    }
    EXPECT_EQ(cmd.Find("verbosity")->TypeCode(), hdl::INT_ARG);
    EXPECT_EQ(cmd.Find("port_decls")->TypeCode(), hdl::STRING_ARG);
    EXPECT_EQ(cmd.Find("elab")->TypeCode(), hdl::BOOL_ARG);
    EXPECT_EQ(cmd.Find("")->TypeCode(), hdl::ARRAY_ARG);
    EXPECT_EQ(cmd.Find("incdir")->TypeCode(), hdl::ARRAY_ARG);
    EXPECT_EQ(cmd.Find("verbosity")->IntValue(), 0);
}

TEST_F(SfTest, AbbreviationsOfTheRealTable) {
    HADLCmd cmd;
    const char* ske[] = {"sf", "-ske"};
    ASSERT_EQ(cmd.ParseArgs(2, ske), 1);
    EXPECT_TRUE(cmd.IsSet("sketch"));
    const char* ski[] = {"sf", "-ski"};
    EXPECT_EQ(cmd.ParseArgs(2, ski), 0);
    EXPECT_EQ(lastError(), "sf: ambiguous option -ski (possible options :  skip_std_vhdl_libs skim skipElabIfCrash)");
    const char* print[] = {"sf", "-print", "x"};
    ASSERT_EQ(cmd.ParseArgs(3, print), 1);
    EXPECT_TRUE(cmd.IsSet("print"));
    EXPECT_FALSE(cmd.IsSet("print_hier"));
}

TEST_F(SfTest, TwoExclusiveOptionsFailAndNeitherRuns) {
    const uint32_t before = sifter.phase;
    EXPECT_EQ(sf("-elab top -parse"), TCL_ERROR);
    EXPECT_EQ(lastError(), "sf: cannot set both options -elab and -parse");
    EXPECT_EQ(sifter.phase, before);
    // The usage follows the complaint.
    EXPECT_EQ(MessageRecorder::messages().back().type, hdl::MSG_NONE);
}

TEST_F(SfTest, BadOptionsGiveTclError) {
    EXPECT_EQ(sf("-verbosity 3x"), TCL_ERROR);
    EXPECT_EQ(lastError(), "sf: option -verbosity expected an integer (near '3x')");
    EXPECT_EQ(sf("-verbosity"), TCL_ERROR);
    EXPECT_EQ(sf("-hierTree -hierTree"), TCL_ERROR);
    EXPECT_EQ(lastError(), "sf: option -hierTree was already specified");
    EXPECT_EQ(sf("-add_v2k {a.v"), TCL_ERROR);
    EXPECT_EQ(sf("-help"), TCL_OK);
}

TEST_F(SfTest, SuccessLeavesEmptyResult) {
    ASSERT_EQ(sf("-verbosity 2"), TCL_OK);
    EXPECT_STREQ(Tcl_GetStringResult(interp), "");
    EXPECT_EQ(sifter.verbosity, 2);
    EXPECT_EQ(sf("-outdir /tmp/x"), TCL_OK);
    EXPECT_EQ(sf("-compile_dump -outdir /tmp/x"), TCL_OK);
    EXPECT_EQ(sf("stray.v"), TCL_OK);
}

TEST_F(SfTest, FlagsSetTheirFields) {
    const std::pair<const char*, bool HADLSifter::*> flags[] = {
        {"-use_precompiled_std_libs", &HADLSifter::usePrecompiledStdLibs},
        {"-enable_verilog_config", &HADLSifter::enableVerilogConfig},
        {"-skip_std_vhdl_libs", &HADLSifter::skipStdVhdlLibs},
        {"-elab_errors", &HADLSifter::elabErrors},
        {"-skipElabIfCrash", &HADLSifter::skipElabIfCrash},
        {"-hierByPassFlow", &HADLSifter::hierByPassFlow},
        {"-hierTree", &HADLSifter::hierTree},
        {"-handleIPBDInactiveUnits", &HADLSifter::handleIPBDInactiveUnits},
        {"-elabSpecifiedTop", &HADLSifter::elabSpecifiedTop},
    };
    for (const auto& [option, field] : flags) {
        sifter.*field = false;
        ASSERT_EQ(sf(option), TCL_OK) << option;
        EXPECT_TRUE(sifter.*field) << option;
    }
    ASSERT_EQ(sf("-ignore_translate_off"), TCL_OK);
    EXPECT_TRUE(sifter.options.ignoreTranslateOff);
    ASSERT_EQ(sf("-strict_vhdl_lib_search_order"), TCL_OK);
    EXPECT_TRUE(sifter.options.strictVhdlLibSearchOrder);
    ASSERT_EQ(sf("-enable_vhdl_2019"), TCL_OK);
    EXPECT_TRUE(sifter.options.enableVHDL2019);
}

TEST_F(SfTest, TextSettings) {
    ASSERT_EQ(sf("-dump_vrfcHier hier.txt extra"), TCL_OK);
    EXPECT_EQ(sifter.vrfcHierDumpFile, "hier.txt");
    ASSERT_EQ(sf("-serialize_in_case_of_crash crash_shm"), TCL_OK);
    EXPECT_EQ(sifter.crashShmName, "crash_shm");
    ASSERT_EQ(sf("-set_project_defaultlibrary mylib"), TCL_OK);
    EXPECT_EQ(sifter.getDefaultLibrary(), "mylib");
    EXPECT_EQ(sifter.optionStrValues.find("mylib"), sifter.options.defaultLibrary);
}

TEST_F(SfTest, FilesShareTheirIncludeList) {
    ASSERT_EQ(sf("-add_v2k shared_a.v shared_b.v -incdir {i1 i2 i1}"), TCL_OK);
    const uint32_t a = fileId("shared_a.v"), b = fileId("shared_b.v");
    ASSERT_NE(a, 0u);
    ASSERT_NE(b, 0u);
    EXPECT_EQ(sifter.fileAttrs.at(a).lang, 2u);
    const uint32_t list = sifter.fileAttrs.at(a).incDirListId;
    EXPECT_NE(list, 0u);
    EXPECT_EQ(sifter.fileAttrs.at(b).incDirListId, list);
    EXPECT_EQ(dirsOfList(list), (std::vector<std::string>{"i1", "i2"}));
}

TEST_F(SfTest, IncludeListWithoutFilesStaysUnused) {
    const uint32_t lists = sifter.incDirLists.size();
    const uint32_t files = sifter.fileNames.size();
    ASSERT_EQ(sf("-add_sv -incdir {lonely}"), TCL_OK);
    EXPECT_EQ(sifter.incDirLists.size(), lists + 1);
    EXPECT_EQ(dirsOfList(lists), std::vector<std::string>{"lonely"});
    EXPECT_EQ(sifter.fileNames.size(), files);
}

TEST_F(SfTest, EachWordIsAListOfFiles) {
    ASSERT_EQ(sf("-add_v2k {list_a.v list_b.v} list_c.v"), TCL_OK);
    EXPECT_NE(fileId("list_a.v"), 0u);
    EXPECT_NE(fileId("list_b.v"), 0u);
    EXPECT_NE(fileId("list_c.v"), 0u);
    EXPECT_EQ(sifter.fileAttrs.at(fileId("list_c.v")).incDirListId, 0u);
}

TEST_F(SfTest, LanguagesAndLibraries) {
    ASSERT_EQ(sf("-add_v2klib vlib lib_a.v"), TCL_OK);
    ASSERT_EQ(sf("-add_svlib svlib lib_b.sv"), TCL_OK);
    ASSERT_EQ(sf("-add_vhdl93 l93 lib_c.vhd"), TCL_OK);
    ASSERT_EQ(sf("-add_vhdl08 l08 lib_d.vhd"), TCL_OK);
    ASSERT_EQ(sf("-add_vhdl19 l19 lib_e.vhd"), TCL_OK);
    const std::pair<const char*, uint32_t> langs[] = {
        {"lib_a.v", 2}, {"lib_b.sv", 5}, {"lib_c.vhd", 9}, {"lib_d.vhd", 11}, {"lib_e.vhd", 12}};
    for (const auto& [path, lang] : langs) {
        EXPECT_EQ(sifter.fileAttrs.at(fileId(path)).lang, lang) << path;
    }
    EXPECT_EQ(libraryOf("lib_a.v"), "vlib");
    EXPECT_EQ(libraryOf("lib_e.vhd"), "l19");
    // Adding a known path again overwrites language and library.
    ASSERT_EQ(sf("-add_vhdl08 other lib_c.vhd"), TCL_OK);
    EXPECT_EQ(sifter.fileAttrs.at(fileId("lib_c.vhd")).lang, 11u);
    EXPECT_EQ(libraryOf("lib_c.vhd"), "other");
}

TEST_F(SfTest, EmptyLibraryTakesTheParameterNotTheOption) {
    ASSERT_EQ(sf("-set_project_defaultlibrary optlib"), TCL_OK);
    ASSERT_EQ(sf("-add_sv dflt_a.sv"), TCL_OK);
    EXPECT_EQ(libraryOf("dflt_a.sv"), "corvid_defaultlib");
    LoomParamMgr::getParamMgr().setStringValue("project.defaultLibrary", "paramlib");
    ASSERT_EQ(sf("-add_v2k dflt_b.v"), TCL_OK);
    // Registration at every call keeps the value that was set.
    EXPECT_EQ(libraryOf("dflt_b.v"), "paramlib");
    LoomParamMgr::getParamMgr().setStringValue("project.defaultLibrary", "corvid_defaultlib");
}

TEST_F(SfTest, PhasesMoveThroughWrappers) {
    ASSERT_EQ(sf("-parse"), TCL_OK);
    EXPECT_EQ(sifter.phase, 3u);
    EXPECT_TRUE(sifter.status.isParseDone);
    ASSERT_EQ(sf("-skim"), TCL_OK);
    EXPECT_EQ(sifter.phase, 2u);
    ASSERT_EQ(sf("-interface_info top"), TCL_OK);
    EXPECT_EQ(sifter.phase, 5u);
    ASSERT_EQ(sf("-elab"), TCL_OK);
    EXPECT_EQ(sifter.phase, 4u);
}

TEST_F(SfTest, PrintsGoToFirstPositionalValue) {
    const std::string path = testing::TempDir() + "sf_print_" + std::to_string(getpid()) + ".txt";
    ASSERT_EQ(sf("-add_v2k printed_file.v"), TCL_OK);
    ASSERT_EQ(sf("-print " + path + " ignored.txt"), TCL_OK);
    std::ifstream in(path);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_NE(text.find("printed_file.v"), std::string::npos) << text;
    std::remove(path.c_str());
}

TEST_F(SfTest, SegvHandlerReArmedAtEveryCall) {
    ASSERT_EQ(sf("-verbosity 1"), TCL_OK);
    EXPECT_EQ(std::signal(SIGSEGV, SIG_DFL), &LoomBackTrace::handler);
    ASSERT_EQ(sf("-skipElabIfCrash"), TCL_OK);
    ASSERT_EQ(sf("-elab top"), TCL_OK);
    EXPECT_EQ(std::signal(SIGSEGV, SIG_DFL), SIG_DFL);
    ASSERT_EQ(sf("-hierTree"), TCL_OK);
    EXPECT_EQ(std::signal(SIGSEGV, SIG_DFL), &LoomBackTrace::handler);
}

// A run whose parse step fails by a checked access beyond a table's end.
class FailingParseSifter : public HADLSifter {
public:
    void doParse() override { fileAttrs.at(1000000); }
};

class GuardTest : public ::testing::Test {
protected:
    // The last message recorded in the database, as format and arguments.
    std::pair<std::string, std::vector<std::string>> lastRecord() {
        const uint32_t file = sifter.fileNames.find("NO-FILE");
        EXPECT_NE(file, 0u);
        const auto& msgs = sifter.fileMsgs.at(file);
        EXPECT_FALSE(msgs.empty());
        const HADLDatabase::Msg& m = msgs.back();
        std::vector<std::string> args;
        for (uint32_t argId : m.args) args.push_back(sifter.argStrs.getString(argId));
        return {sifter.fmtStrs.getString(m.fmtId), args};
    }
    FailingParseSifter sifter;
};

TEST_F(GuardTest, StandardExceptionIsPrintedWithoutTextAndRecordedWithIt) {
    testing::internal::CaptureStdout();
    HADLCmd::runGuarded(sifter, [](HADLSifter&) { throw std::runtime_error("disk on fire"); });
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "sifter: Caught exception executing TCL command: \n");
    auto [format, args] = lastRecord();
    EXPECT_EQ(format, "sifter: Caught exception executing TCL command: %s\n");
    EXPECT_EQ(args, std::vector<std::string>{"disk on fire"});
}

TEST_F(GuardTest, OtherThrowsAreUnrecognized) {
    testing::internal::CaptureStdout();
    HADLCmd::runGuarded(sifter, [](HADLSifter&) { throw "out_of_range"; });
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "sifter: Caught unrecognized exception executing TCL command\n");
    auto [format, args] = lastRecord();
    EXPECT_EQ(format, "sift: Caught unrecognized exception executing TCL command\n");
    EXPECT_TRUE(args.empty());
}

// The one persistence error that is not a -1: a failed save whose file cannot be
// removed (see the persistence tests) reaches the guard, and the script goes on.
TEST(SaveGuard, UnremovablePartialFileIsReportedByTheGuard) {
    const char* procFile = "/proc/self/clear_refs";
    if (access(procFile, W_OK) != 0) GTEST_SKIP() << procFile << " is not writable here";
    Tcl_Interp* interp = Tcl_CreateInterp();
    registerCommands(interp);
    HADLSifter& sifter = HADLSifter::instance();
    const uint32_t noFile = sifter.fileNames.find("NO-FILE");
    const size_t before = noFile ? sifter.fileMsgs.at(noFile).size() : 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ(Tcl_Eval(interp, (std::string("sf -save ") + procFile).c_str()), TCL_OK);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "sifter: Caught exception executing TCL command: \n");
    Tcl_DeleteInterp(interp);
    const uint32_t file = sifter.fileNames.find("NO-FILE");
    ASSERT_NE(file, 0u);
    const auto& msgs = sifter.fileMsgs.at(file);
    ASSERT_EQ(msgs.size(), before + 1);
    EXPECT_STREQ(sifter.fmtStrs.getString(msgs.back().fmtId), "sifter: Caught exception executing TCL command: %s\n");
    ASSERT_EQ(msgs.back().args.size(), 1u);
    const std::string what = sifter.argStrs.getString(msgs.back().args[0]);
    EXPECT_NE(what.find("remove"), std::string::npos) << what;
    EXPECT_NE(what.find(procFile), std::string::npos) << what;
}

TEST_F(GuardTest, FailedPhaseKeepsPhaseAndRunsAgain) {
    testing::internal::CaptureStdout();
    HADLCmd::runGuarded(sifter, [](HADLSifter& s) { s.runParse(); });
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("Out of range access at "), std::string::npos) << out;
    EXPECT_NE(out.find("sifter: Caught unrecognized exception executing TCL command\n"), std::string::npos);
    EXPECT_EQ(sifter.phase, 2u);
    EXPECT_FALSE(sifter.status.isParseDone);
    testing::internal::CaptureStdout();
    HADLCmd::runGuarded(sifter, [](HADLSifter& s) { s.runParse(); });
    EXPECT_NE(testing::internal::GetCapturedStdout().find("Caught unrecognized"), std::string::npos);
    EXPECT_EQ(sifter.phase, 2u);
}

} // namespace
