#include "sift/database/HADLDatabase.h"

#include "runtime/LoomParamMgr.h"

#include <gtest/gtest.h>

namespace {

void expectParallelSizes(const HADLDatabase& db) {
    EXPECT_EQ(db.fileAttrs.size(), db.fileNames.size());
    EXPECT_EQ(db.fileProps.size(), db.fileNames.size());
    EXPECT_EQ(db.pkgIds.size(), db.fileNames.size());
    EXPECT_EQ(db.fileMsgs.size(), db.fileNames.size());
    EXPECT_EQ(db.blockRanges.size(), db.fileNames.size());
    EXPECT_EQ(db.macroDefs.size(), db.macroNames.size());
    EXPECT_EQ(db.rUnitAttrs.size(), db.rUnitNames.size());
    EXPECT_EQ(db.rUnitVars.size(), db.rUnitNames.size());
    EXPECT_EQ(db.unitAttrs.size(), db.unitNames.size());
    EXPECT_EQ(db.derivedUnits.size(), db.unitNames.size());
    EXPECT_EQ(db.genericDefs.size(), db.genericNames.size());
}

} // namespace

TEST(HADLDatabase, NewDatabaseHasOnlyReservedSlots) {
    HADLDatabase db;
    EXPECT_EQ(db.fileNames.size(), 1u);
    EXPECT_EQ(db.incDirLists.size(), 1u);
    EXPECT_EQ(db.variables.size(), 1u);
    EXPECT_TRUE(db.parseOrder.empty());
    EXPECT_TRUE(db.primaryToUnits.empty());
    expectParallelSizes(db);
}

TEST(HADLDatabase, InsertFileNameEmptyPathChangesNothing) {
    HADLDatabase db;
    EXPECT_EQ(db.insertFileName("", 5, "work"), 0u);
    EXPECT_EQ(db.fileNames.size(), 1u);
    EXPECT_EQ(db.objNames.size(), 1u);
    EXPECT_EQ(db.fileAttrs.size(), 1u);
}

TEST(HADLDatabase, InsertFileNameAgainKeepsIdAndOverwrites) {
    HADLDatabase db;
    unsigned id = db.insertFileName("a.v", 2, "lib1");
    db.fileAttrs.at(id).isDisabled = true;
    EXPECT_EQ(db.insertFileName("b.vhd", 9, "lib2"), 2u);
    EXPECT_EQ(db.insertFileName("a.v", 5, "lib3"), id);
    EXPECT_EQ(db.fileAttrs.at(id).lang, 5u);
    EXPECT_STREQ(db.objNames.getString(db.fileAttrs.at(id).libId), "lib3");
    EXPECT_FALSE(db.fileAttrs.at(id).isDisabled);
    expectParallelSizes(db);
}

TEST(HADLDatabase, InsertFileNameEmptyLibraryTakesParameter) {
    LoomParamMgr::getParamMgr().setStringValue("project.defaultLibrary", "mylib");
    HADLDatabase db;
    unsigned id = db.insertFileName("x.sv", 5, "");
    EXPECT_STREQ(db.objNames.getString(db.fileAttrs.at(id).libId), "mylib");
}

TEST(HADLDatabase, DefaultLibraryLivesInOptionStrings) {
    HADLDatabase db;
    EXPECT_EQ(db.getDefaultLibrary(), "");
    db.setDefaultLibrary("work");
    db.setDefaultLibrary("xil");
    EXPECT_EQ(db.getDefaultLibrary(), "xil");
    EXPECT_EQ(db.options.defaultLibrary, db.optionStrValues.find("xil"));
}

TEST(HADLDatabase, MacroWithoutValueKeepsEarlierValue) {
    HADLDatabase db;
    EXPECT_EQ(db.addMacro("WIDTH", "8"), 0);
    EXPECT_EQ(db.addMacro("WIDTH", nullptr), 0);
    EXPECT_EQ(db.addMacro("SIM", nullptr), 0);
    unsigned width = db.macroNames.find("WIDTH");
    EXPECT_TRUE(db.macroDefs.at(width).hasValue);
    EXPECT_STREQ(db.macroValues.getString(db.macroDefs.at(width).valueId), "8");
    EXPECT_FALSE(db.macroDefs.at(db.macroNames.find("SIM")).hasValue);
    db.addMacro("WIDTH", "16");
    EXPECT_STREQ(db.macroValues.getString(db.macroDefs.at(width).valueId), "16");
    expectParallelSizes(db);
}

TEST(HADLDatabase, GenericsBehaveLikeMacros) {
    HADLDatabase db;
    db.addGeneric("N", "4");
    db.addGeneric("N", nullptr);
    unsigned n = db.genericNames.find("N");
    EXPECT_TRUE(db.genericDefs.at(n).hasValue);
    db.clearGenerics();
    EXPECT_EQ(db.genericNames.size(), 1u);
    EXPECT_EQ(db.genericValues.size(), 1u);
    EXPECT_EQ(db.genericDefs.size(), 1u);
}

TEST(HADLDatabase, IncDirListsRejectBadInputAndDeduplicate) {
    HADLDatabase db;
    unsigned list = db.newIncDirList();
    EXPECT_EQ(list, 1u);
    EXPECT_EQ(db.addIncDir("", list), -1);
    EXPECT_EQ(db.addIncDir("inc", 2), -2);
    EXPECT_EQ(db.addIncDir("inc", list), 0);
    EXPECT_EQ(db.addIncDir("inc", list), 0);
    EXPECT_EQ(db.addIncDir("inc2", list), 0);
    ASSERT_EQ(db.incDirLists.at(list).size(), 2u);
    EXPECT_STREQ(db.dirNames.getString(db.incDirLists.at(list)[1]), "inc2");
    db.clearIncDirs();
    EXPECT_EQ(db.incDirLists.size(), 1u);
    EXPECT_EQ(db.dirNames.size(), 1u);
}

TEST(HADLDatabase, SetFileIncDirListChecksBothIndices) {
    HADLDatabase db;
    unsigned file = db.insertFileName("a.v", 2, "work");
    unsigned list = db.newIncDirList();
    EXPECT_EQ(db.setFileIncDirList(list + 1, file), -1);
    EXPECT_EQ(db.setFileIncDirList(list, file + 1), -2);
    EXPECT_EQ(db.setFileIncDirList(list, file), 0);
    EXPECT_EQ(db.fileAttrs.at(file).incDirListId, list);
}

TEST(HADLDatabase, DisableNonStdFilesSparesStandardFiles) {
    HADLDatabase db;
    unsigned user = db.insertFileName("u.v", 2, "work");
    unsigned std = db.insertFileName("std.vhd", 9, "ieee");
    db.fileAttrs.at(std).isStdVhdl = true;
    db.fileAttrs.at(std).incDirListId = 1;
    db.fileAttrs.at(user).incDirListId = 1;
    db.disableNonStdFiles();
    EXPECT_TRUE(db.fileAttrs.at(user).isDisabled);
    EXPECT_EQ(db.fileAttrs.at(user).incDirListId, 0u);
    EXPECT_FALSE(db.fileAttrs.at(std).isDisabled);
    EXPECT_EQ(db.fileAttrs.at(std).incDirListId, 1u);
}

TEST(HADLDatabase, NonHdlModulesIgnoreEmptyAndRepeats) {
    HADLDatabase db;
    db.addNonHdlModule("");
    db.addNonHdlModule("ip");
    db.addNonHdlModule("ip");
    EXPECT_EQ(db.nonHdlModuleNames.size(), 2u);
    db.clearNonHdlModuleNames();
    EXPECT_EQ(db.nonHdlModuleNames.size(), 1u);
}

TEST(HADLDatabase, ClearMacrosRestoresReservedSlots) {
    HADLDatabase db;
    db.addMacro("A", "1");
    db.clearMacros();
    EXPECT_EQ(db.macroDefs.size(), 1u);
    EXPECT_EQ(db.addMacro("B", nullptr), 0);
    EXPECT_EQ(db.macroNames.find("B"), 1u);
    expectParallelSizes(db);
}

TEST(HADLDatabase, ResizeTablesFollowsKeyTables) {
    HADLDatabase db;
    db.unitNames.insert(".work.top");
    db.unitNames.insert(".work.sub");
    db.rUnitNames.insert("r");
    db.fileNames.insert("f");
    db.genericNames.insert("g");
    db.resizeTables();
    EXPECT_EQ(db.unitAttrs.size(), 3u);
    expectParallelSizes(db);
    db.unitNames.clear();
    db.resizeTables();
    EXPECT_EQ(db.unitAttrs.size(), 1u);
    expectParallelSizes(db);
}

TEST(HADLDatabase, AddMessageGoesToNoFileWithInternedTexts) {
    HADLDatabase db;
    db.insertFileName("a.v", 2, "work");
    db.addMessage("caught %s in %s", {"oops", "elab"});
    db.addMessage("caught %s in %s", {"oops", "parse"});
    unsigned noFile = db.fileNames.find("NO-FILE");
    ASSERT_EQ(noFile, 2u);
    expectParallelSizes(db);
    const auto& msgs = db.fileMsgs.at(noFile);
    ASSERT_EQ(msgs.size(), 2u);
    EXPECT_EQ(msgs[0].line, 0u);
    EXPECT_EQ(msgs[0].type, 4u);
    EXPECT_EQ(msgs[0].fmtId, msgs[1].fmtId);
    EXPECT_STREQ(db.fmtStrs.getString(msgs[0].fmtId), "caught %s in %s");
    ASSERT_EQ(msgs[1].args.size(), 2u);
    EXPECT_EQ(msgs[1].args[0], msgs[0].args[0]);
    EXPECT_STREQ(db.argStrs.getString(msgs[1].args[1]), "parse");
    EXPECT_EQ(db.argStrs.size(), 4u);
}

TEST(HADLDatabase, SameSetupAndCopySetup) {
    HADLDatabase a;
    a.insertFileName("a.v", 2, "work");
    a.addMacro("M", "1");
    a.addGeneric("G", nullptr);
    a.addNonHdlModule("blk");
    a.stdVhdlLibNames.insert("IEEE");
    a.addIncDir("inc", a.newIncDirList());
    a.fileAttrs.at(1).tempAliasId = 7;
    HADLDatabase b;
    EXPECT_FALSE(b.sameSetup(a));
    b.copySetup(a);
    EXPECT_TRUE(b.sameSetup(a));
    EXPECT_EQ(b.stdVhdlLibNames.findNoCase("ieee"), 1u);
    b.options.enableVHDL2019 = true;
    b.fileAttrs.at(1).isAliasOfId = 3;
    EXPECT_TRUE(b.sameSetup(a));
    b.fileAttrs.at(1).isDisabled = true;
    EXPECT_FALSE(b.sameSetup(a));
    b.copySetup(a);
    b.addMacro("M", "2");
    EXPECT_FALSE(b.sameSetup(a));
}

TEST(HADLDatabase, FilesDifferOnlyWhenEnabledFileIsDisabledThere) {
    HADLDatabase a;
    a.insertFileName("a.v", 2, "work");
    a.insertFileName("b.v", 2, "work");
    HADLDatabase b;
    b.copySetup(a);
    EXPECT_FALSE(a.filesDiffer(b));
    a.fileAttrs.at(1).isDisabled = true;
    EXPECT_FALSE(a.filesDiffer(b));
    EXPECT_TRUE(b.filesDiffer(a));
    b.insertFileName("c.v", 2, "work");
    EXPECT_TRUE(a.filesDiffer(b));
}

TEST(HADLDatabase, CopySkimTakesSkimResultsAndResizes) {
    HADLDatabase a;
    a.insertFileName("a.v", 2, "work");
    a.parseOrder.push_back(1);
    a.rUnitNames.insert(".work.top");
    a.resizeTables();
    a.rUnitAttrs.at(1).fileIds.push_back(1);
    a.addMessage("m", {});
    a.status.err = 3;
    a.status.isParseDone = true;
    a.status.isElabError = true;
    HADLDatabase b;
    b.copySkim(a);
    EXPECT_EQ(b.parseOrder, a.parseOrder);
    EXPECT_EQ(b.rUnitAttrs.at(1).fileIds.size(), 1u);
    EXPECT_EQ(b.fileMsgs.at(b.fileNames.find("NO-FILE")).size(), 1u);
    EXPECT_EQ(b.status.err, 3);
    EXPECT_TRUE(b.status.isParseDone);
    EXPECT_FALSE(b.status.isElabError);
    expectParallelSizes(b);
}

TEST(HADLDatabase, ReserveFileTablesKeepsContents) {
    HADLDatabase db;
    db.insertFileName("a.v", 2, "work");
    db.reserveFileTables(1000);
    EXPECT_GE(db.fileNames.strings.capacity(), 1000u);
    EXPECT_GE(db.fileAttrs.capacity(), 1000u);
    EXPECT_EQ(db.fileNames.find("a.v"), 1u);
    EXPECT_EQ(db.insertFileName("b.v", 2, "work"), 2u);
}

TEST(HADLDatabase, CheckedAccessPastEndThrows) {
    HADLDatabase db;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_THROW(db.unitAttrs.at(1), const char*);
    std::string out = testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(out, "Out of range access at 1 (range 0..0\n");
}
