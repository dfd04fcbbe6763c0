// A failure inside a phase is swallowed: the parent gets status 0, the fixed lines,
// and a record of the failure in the database it reads back.
#include <gtest/gtest.h>

#include <string>

#include "SiftProcess.h"
#include "sift/database/HADLDatabaseAPI.h"

namespace {

// A database as a parent could hand it over: an aliased Verilog file whose include
// list id points past the end of the lists.
std::string writeBrokenDatabase(const std::string& dir) {
    HADLDatabase db;
    const uint32_t file = db.insertFileName(dir + "/rtl/a.v", 2, "work");
    db.fileAttrs.at(file).tempAliasId = file;
    db.fileAttrs.at(file).incDirListId = 42;
    const std::string path = dir + "/broken.db";
    EXPECT_EQ(HADLDatabaseConstAPI(db).save(path), 0);
    return path;
}

TEST(PhaseFailureTest, CheckedAccessInPhaseIsSwallowedAndRecorded) {
    const std::string dir = makeTempDir();
    const std::string db = writeBrokenDatabase(dir);
    const std::string out = dir + "/out.db";
    writeFile(dir + "/run.tcl",
              "sf -load " + db + "\nsf -skim\nputs after\nsf -skim\nputs again\n" + "sf -save " + out + "\n");
    SiftResult r = runSift((dir + "/run.tcl").c_str());
    EXPECT_EQ(r.status, 0);
    const std::string caught = "sifter: Caught unrecognized exception executing TCL command\n";
    const size_t first = r.out.find(caught);
    ASSERT_NE(first, std::string::npos) << r.out;
    // The phase did not advance, so the second -skim fails the same way.
    EXPECT_NE(r.out.find(caught, first + 1), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Out of range access at "), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("after\n"), std::string::npos);
    EXPECT_NE(r.out.find("again\n"), std::string::npos);
    EXPECT_EQ(r.out.substr(r.out.size() - 31), "sift exits with return value 0\n");

    HADLDatabase back;
    ASSERT_EQ(HADLDatabaseAPI(back).load(out), 0);
    const uint32_t noFile = back.fileNames.find("NO-FILE");
    ASSERT_NE(noFile, 0u);
    const auto& msgs = back.fileMsgs.at(noFile);
    ASSERT_EQ(msgs.size(), 2u);
    EXPECT_STREQ(back.fmtStrs.getString(msgs[0].fmtId), "sift: Caught unrecognized exception executing TCL command\n");
    EXPECT_EQ(msgs[0].type, 4u);
}

TEST(PhaseFailureTest, SerializedDatabaseReachesParentThroughSharedMemory) {
    const std::string dir = makeTempDir();
    const std::string shm = "/" + uniqueName("sift_result");
    writeFile(dir + "/run.tcl", "sf -add_sv " + dir + "/x.sv -incdir {" + dir +
                                    "/inc}\nsf -skim\n"
                                    "sf -serialize " +
                                    shm + "\n");
    SiftResult r = runSift((dir + "/run.tcl").c_str());
    EXPECT_EQ(r.status, 0) << r.out;
    HADLDatabase back;
    ASSERT_EQ(HADLDatabaseAPI(back).deserialize(shm), 0);
    const uint32_t file = back.fileNames.find((dir + "/x.sv").c_str());
    ASSERT_NE(file, 0u);
    EXPECT_EQ(back.fileAttrs.at(file).lang, 5u);
    EXPECT_NE(back.fileAttrs.at(file).incDirListId, 0u);
}

} // namespace
