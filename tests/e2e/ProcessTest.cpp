// The process as a parent sees it: script channels, fixed lines, exit statuses.
#include <gtest/gtest.h>

#include <string>

#include "SiftProcess.h"

namespace {

const std::string kStart = "sift starts\n";
std::string exitLine(int value) { return "sift exits with return value " + std::to_string(value) + "\n"; }

class ProcessTest : public ::testing::Test {
protected:
    std::string dir = makeTempDir();
    std::string script(const std::string& name, const std::string& text) {
        std::string path = dir + "/" + name;
        writeFile(path, text);
        return path;
    }
};

TEST_F(ProcessTest, ScriptFileRunsAndEndsWithZero) {
    SiftResult r = runSift(script("ok.tcl", "sf -verbosity 3\nputs hello\nsf -hierTree\n").c_str());
    EXPECT_EQ(r.out, kStart + "hello\n" + exitLine(0));
    EXPECT_EQ(r.status, 0);
}

TEST_F(ProcessTest, TclErrorOfScriptIsStatusOne) {
    SiftResult r = runSift(script("err.tcl", "puts before\nerror boom\nputs after\n").c_str());
    EXPECT_EQ(r.out, kStart + "before\n" + exitLine(1));
    EXPECT_EQ(r.status, 1);
}

TEST_F(ProcessTest, ReturnAtTopLevelEndsScriptWithZero) {
    SiftResult r = runSift(script("ret.tcl", "puts a\nreturn\nputs b\n").c_str());
    EXPECT_EQ(r.out, kStart + "a\n" + exitLine(0));
    EXPECT_EQ(r.status, 0);
}

TEST_F(ProcessTest, DirectoryAsScriptIsStatusOne) {
    SiftResult r = runSift(dir.c_str());
    EXPECT_EQ(r.out, kStart + exitLine(1));
    EXPECT_EQ(r.status, 1);
}

TEST_F(ProcessTest, EmptyScriptFileIsZero) {
    SiftResult r = runSift(script("empty.tcl", "").c_str());
    EXPECT_EQ(r.out, kStart + exitLine(0));
    EXPECT_EQ(r.status, 0);
}

TEST_F(ProcessTest, BinaryGarbageScriptFailsCleanly) {
    std::string garbage("\x01\x02\xff\xfe{[\x00\x7f\x80\x9b]\"\n\x03", 14);
    SiftResult r = runSift(script("garbage.tcl", garbage).c_str());
    EXPECT_EQ(r.signal, 0);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, kStart + exitLine(1));
}

TEST_F(ProcessTest, MissingNameIsSharedMemoryFailure) {
    std::string name = uniqueName("sift_absent");
    SiftResult r = runSift(name.c_str());
    EXPECT_EQ(r.out, kStart + "sift: Caught exception in shared_memory linking\n" + exitLine(-1));
    EXPECT_EQ(r.status, 255);
}

TEST_F(ProcessTest, SharedMemoryNameWithAndWithoutSlash) {
    std::string name = uniqueName("sift_shm");
    ShmScript shm(name, "sf -verbosity 2\nputs \"from shm\"\n");
    for (const std::string& arg : {name, "/" + name}) {
        SiftResult r = runSift(arg.c_str());
        EXPECT_EQ(r.out, kStart + "from shm\n" + exitLine(0)) << arg;
        EXPECT_EQ(r.status, 0);
    }
}

TEST_F(ProcessTest, SharedMemoryPaddedWithNulEvaluatesOnlyText) {
    std::string name = uniqueName("sift_pad");
    std::string text = "puts one";
    text += std::string(16, '\0');
    text += "puts two\n";
    ShmScript shm(name, text, 4096);
    SiftResult r = runSift(name.c_str());
    EXPECT_EQ(r.out, kStart + "one\n" + exitLine(0));
    EXPECT_EQ(r.status, 0);
}

TEST_F(ProcessTest, SharedMemoryScriptErrorIsStatusOne) {
    std::string name = uniqueName("sift_shmerr");
    ShmScript shm(name, "sf -nosuchoption\nputs after\n");
    SiftResult r = runSift(name.c_str());
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("sf: unknown option -nosuchoption"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("after"), std::string::npos);
}

TEST_F(ProcessTest, PathOnDiskHidesSharedMemoryOfSameName) {
    std::string name = uniqueName("sift_shadow");
    ShmScript shm(name, "puts shm\n");
    writeFile(dir + "/" + name, "puts file\n");
    SiftResult r = runSift(name.c_str(), "", dir);
    EXPECT_EQ(r.out, kStart + "file\n" + exitLine(0));
}

TEST_F(ProcessTest, OptionErrorPrintsMessageAndUsageAndStops) {
    SiftResult r = runSift(script("opt.tcl", "sf -prin out.txt\nputs after\n").c_str());
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("sf: ambiguous option -prin (possible options :  print_hier print)"), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("\"sf\" : \n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("    [-set_project_defaultlibrary <arg>] : <lib-name>\n"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("after"), std::string::npos);
    EXPECT_EQ(r.out.substr(r.out.size() - exitLine(1).size()), exitLine(1));
}

TEST_F(ProcessTest, CaughtOptionErrorLetsScriptGoOn) {
    SiftResult r = runSift(script("catch.tcl", "set rc [catch {sf -verbosity 3x}]\nputs rc=$rc\nsf -skim\n").c_str());
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("sf: option -verbosity expected an integer (near '3x')"), std::string::npos);
    EXPECT_NE(r.out.find("rc=1\n"), std::string::npos);
}

TEST_F(ProcessTest, HelpPrintsUsageAndSucceeds) {
    SiftResult r = runSift(script("help.tcl", "sf -help\n").c_str());
    EXPECT_EQ(r.status, 0);
    size_t lines = 0;
    for (char c : r.out) lines += c == '\n';
    // start line, title, 41 listed arguments (-help has no text), exit line
    EXPECT_EQ(lines, 44u) << r.out;
    EXPECT_NE(r.out.find("    [-incdir <args>]                    : { <path1> <path2> ... }\n"), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("    [- <args>]                          : <arg1> <arg2> ...\n"), std::string::npos);
    EXPECT_NE(r.out.find("    [-skim]                             : \n"), std::string::npos);
}

TEST_F(ProcessTest, InteractiveShellHasSfAndNoExitLine) {
    SiftResult r = runSift(nullptr, "sf -verbosity 1\nputs interactive\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.find("sift exits"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("interactive\n"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("invalid command"), std::string::npos) << r.out;
}

} // namespace
