#include <gtest/gtest.h>

#include <cstdarg>

#include "hdl/base/LineFile.h"
#include "hdl/base/Message.h"
#include "runtime/LoomMsgMgrInstance.h"
#include "sift/base/HADLMessages.h"
#include "sift/base/HADLMsgCapture.h"
#include "sift/database/HADLDatabase.h"

using hdl::Message;

namespace {

class MsgCaptureTest : public ::testing::Test {
protected:
    void SetUp() override {
        Message::ResetAllMessageTypes();
        HADLMsgCapture::lastAnalyzedFile.clear();
        file = db.insertFileName("a.v", 2, "w");
        loc = hdl::ColLineFile(hdl::LineFile::GetFileId("a.v"), 7, 1);
    }
    const HADLVectorForTuple<HADLDatabase::Msg>& msgs(const char* name = "a.v") {
        return db.fileMsgs.at(db.fileNames.find(name));
    }
    // One message of each type 1, 2, 4 with a plain id.
    void sendThree() {
        Message::Error("VERI-2", &loc, "e");
        Message::Warning("VERI-3", &loc, "w");
        Message::Info("VERI-4", &loc, "i");
    }
    HADLDatabase db;
    unsigned file = 0;
    hdl::ColLineFile loc;
};

TEST_F(MsgCaptureTest, VerbositySelectsTypes) {
    const std::pair<int, size_t> cases[] = {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {-1, 3}};
    for (auto [verbosity, count] : cases) {
        db.fileMsgs.at(file).clear();
        HADLMsgCapture capture(db);
        capture.start(verbosity, false);
        sendThree();
        Message::Warning("VHDL-1260", &loc, "raised");
        capture.stop();
        ASSERT_EQ(msgs().size(), count + 1) << verbosity;
        EXPECT_EQ(msgs().back().type, 1u) << "VHDL-1260 counts as error at every verbosity";
    }
}

TEST_F(MsgCaptureTest, FormatRewriteCollectsArguments) {
    HADLMsgCapture capture(db);
    capture.start(3, false);
    Message::Error("VERI-5", &loc, "%d items in '%s' at %x, %u left, %c%G, 100%% sure", -42, "blk", 255u, 7u, 'q', 2.5);
    capture.stop();
    ASSERT_EQ(msgs().size(), 1u);
    const HADLDatabase::Msg& m = msgs()[0];
    EXPECT_STREQ(db.fmtStrs.getString(m.fmtId), "%s items in '%s' at %s, %s left, %s%s, 100% sure");
    std::vector<std::string> args;
    for (unsigned a : m.args) args.push_back(db.argStrs.getString(a));
    EXPECT_EQ(args, (std::vector<std::string>{"-42", "blk", "ff", "7", "q", "2.5", ""}));
    EXPECT_EQ(m.line, 7u);
    EXPECT_EQ(m.type, 1u);
}

// An error whose arguments are given as the capture fetches them, not as printf would.
void errorAsCaptured(const hdl::ColLineFile* loc, const char* format, ...) {
    va_list args;
    va_start(args, format);
    Message::MsgVaList(hdl::MSG_ERROR, "VERI-6", loc, format, args);
    va_end(args);
}

// "For any other c: keep c, and the argument buffer stays empty": the reading taken is
// that the '%' goes and the character stays, as "%%" shows, and that a length modifier
// is such a character, as a width or a flag is; what follows it is copied as text.
// Nothing is fetched for it, so the next conversion takes the next argument given.
TEST_F(MsgCaptureTest, LengthModifiersAndWidthsAreKeptAsTextAndFetchNothing) {
    HADLMsgCapture capture(db);
    capture.start(3, false);
    errorAsCaptured(&loc, "%ld, %zu, %hd, %jd, %td, %5d, %-s, %s and %", "text");
    capture.stop();
    ASSERT_EQ(msgs().size(), 1u);
    const HADLDatabase::Msg& m = msgs()[0];
    EXPECT_STREQ(db.fmtStrs.getString(m.fmtId), "ld, zu, hd, jd, td, 5d, -s, %s and ");
    ASSERT_EQ(m.args.size(), 9u);
    for (unsigned i = 0; i < m.args.size(); ++i)
        EXPECT_STREQ(db.argStrs.getString(m.args[i]), i == 7 ? "text" : "") << i;
}

// A message without location is kept with the last file known: before any, the last
// source file of the database; then the file the Verilog side announced or the file of
// the last located message (a VHDL run announces none), whichever came later.
TEST_F(MsgCaptureTest, MessagesWithoutLocationFollowTheLastKnownFile) {
    db.insertFileName("std.vhd", 9, "std");
    db.fileAttrs.at(db.fileNames.find("std.vhd")).isStdVhdl = true;
    HADLMsgCapture capture(db);
    capture.start(3, false);
    Message::Error("VERI-6", nullptr, "first");
    Message::Info("VERI-1482", nullptr, "Analyzing %s file '%s'", "Verilog", "b.v");
    Message::Error("VERI-7", nullptr, "kept");
    hdl::ColLineFile vhdl(hdl::LineFile::GetFileId("c.vhd"), 3, 1);
    Message::Info("VHDL-1500", &vhdl, "analyzing VHDL file '%s' into library '%s'", "c.vhd", "work");
    Message::Error("VHDL-1610", nullptr, "no top has a generic '%s'", "DEPHT");
    capture.stop();
    EXPECT_EQ(HADLMsgCapture::lastAnalyzedFile, "c.vhd");
    ASSERT_EQ(msgs().size(), 1u);
    EXPECT_STREQ(db.fmtStrs.getString(msgs()[0].fmtId), "first");
    EXPECT_EQ(msgs()[0].line, 1u);
    const auto& b = msgs("b.v");
    ASSERT_EQ(b.size(), 2u);
    EXPECT_EQ(b[1].line, 1u);
    EXPECT_STREQ(db.fmtStrs.getString(b[1].fmtId), "kept");
    const auto& c = msgs("c.vhd");
    ASSERT_EQ(c.size(), 2u);
    EXPECT_STREQ(db.fmtStrs.getString(c[1].fmtId), "no top has a generic '%s'");
    EXPECT_EQ(c[1].line, 1u);
    EXPECT_EQ(db.fileMsgs.size(), db.fileNames.size());
    EXPECT_TRUE(msgs("std.vhd").empty());

    // An announcement counts where its own type is not kept, and without location an
    // error still marks the elaboration.
    HADLMsgCapture quiet(db);
    quiet.start(0, false);
    Message::Info("VERI-1482", nullptr, "Analyzing %s file '%s'", "Verilog", "d.v");
    quiet.stop();
    EXPECT_EQ(HADLMsgCapture::lastAnalyzedFile, "d.v");
    HADLMsgCapture errors(db);
    errors.start(0, true);
    Message::Error("VHDL-1613", nullptr, "top '%s' is not found", "x");
    errors.stop();
    EXPECT_TRUE(db.status.isElabError);
}

TEST_F(MsgCaptureTest, AllowListAndElaborationErrors) {
    {
        HADLMsgCapture capture(db);
        capture.start(3, false);
        capture.allow("VERI-3");
        sendThree();
        capture.stop();
        ASSERT_EQ(msgs().size(), 1u);
        EXPECT_EQ(msgs()[0].type, 2u);
    }
    HADLMsgCapture capture(db);
    capture.start(0, true);
    Message::Warning("VERI-3", &loc, "w");
    EXPECT_FALSE(db.status.isElabError);
    Message::Error("VERI-99", &loc, "e");
    capture.stop();
    EXPECT_TRUE(db.status.isElabError);
    EXPECT_EQ(msgs().size(), 1u);
    EXPECT_EQ(capture.effectiveType(6, "VERI-99"), 1u); // a program error stays an error
    EXPECT_EQ(capture.effectiveType(9, nullptr), 9u);
}

TEST_F(MsgCaptureTest, ManagerMessagesTakeTheirTypeFromTheMask) {
    addManagerMessage(db, "a.v", 12, LoomMsgMgrInstance::create(0x20000000, "@56-286@%s", "a.v"));
    addManagerMessage(db, "new.v", 3, LoomMsgMgrInstance::create(0x8000000, "@56-440@%s", "u"));
    addManagerMessage(db, "new.v", 4, LoomMsgMgrInstance::create(0x10000000, "x"));
    addManagerMessage(db, "new.v", 5, LoomMsgMgrInstance::create(0x1, "y"));
    ASSERT_EQ(msgs().size(), 1u);
    EXPECT_EQ(msgs()[0].type, 1u);
    EXPECT_EQ(msgs()[0].line, 12u);
    EXPECT_STREQ(db.fmtStrs.getString(msgs()[0].fmtId), "@56-286@a.v");
    const auto& n = msgs("new.v");
    ASSERT_EQ(n.size(), 3u);
    EXPECT_EQ(n[0].type, 2u);
    EXPECT_EQ(n[1].type, 2u);
    EXPECT_EQ(n[2].type, 1u);
    EXPECT_TRUE(n[0].args.empty());
}

// The parent's catalogue texts come with the mask of their type and the reference in front.
TEST_F(MsgCaptureTest, ParentCatalogueTextsCarryTheirMask) {
    LoomMsgMgrInstance unreadable = managerMessage<hadl_msg::ProtectedSourceUnreadable>("a.v: no key");
    EXPECT_EQ(unreadable.getType(), unsigned(LoomMsgMgrInstance::Error));
    EXPECT_EQ(unreadable.getMessageBody(), "@56-286@a.v: no key");
    LoomMsgMgrInstance tops = managerMessage<hadl_msg::ConfigurationTopsLeftOut>("c.v", "cfg");
    EXPECT_EQ(tops.getType(), unsigned(LoomMsgMgrInstance::Warning));
    EXPECT_EQ(tops.getMessageBody(), "@56-434@c.vcfg");
    addManagerMessage(db, "c.v", 9, tops);
    ASSERT_EQ(msgs("c.v").size(), 1u);
    EXPECT_EQ(msgs("c.v")[0].type, 2u);
}

} // namespace
