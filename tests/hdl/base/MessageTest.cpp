#include "hdl/base/Message.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

using namespace hdl;

namespace {
struct Seen {
    msg_type_t type;
    std::string id;
    std::string text;
    std::string file;
    uint32_t line;
};
std::vector<Seen> seen;

void collect(msg_type_t type, const char* id, const ColLineFile* loc, const char* format, va_list args) {
    char buf[256];
    std::vsnprintf(buf, sizeof buf, format, args);
    const char* f = LineFile::GetFileName(loc);
    seen.push_back({type, id ? id : "", buf, f ? f : "", LineFile::GetLineNo(loc)});
}

class MessageTest : public ::testing::Test {
protected:
    void SetUp() override {
        seen.clear();
        Message::ResetAllMessageTypes();
        Message::ClearErrorCount();
        Message::SetMaxErrorCount(0);
        Message::RegisterCallBackMsg(collect);
    }
    void TearDown() override {
        Message::RegisterCallBackMsg(nullptr);
        Message::ResetAllMessageTypes();
    }
};
} // namespace

TEST_F(MessageTest, CallbackGetsFormattedMessageWithLocation) {
    uint32_t f = LineFile::GetFileId("dir/a.v");
    ColLineFile loc(f, 12, 3);
    Message::Error("VERI-1000", &loc, "syntax error near '%s' (%d)", "endmodule", 7);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].type, MSG_ERROR);
    EXPECT_EQ(seen[0].id, "VERI-1000");
    EXPECT_EQ(seen[0].text, "syntax error near 'endmodule' (7)");
    EXPECT_EQ(seen[0].file, "dir/a.v");
    EXPECT_EQ(seen[0].line, 12u);
    EXPECT_EQ(Message::ErrorCount(), 1u);
}

TEST_F(MessageTest, PerIdOverridesBeatTypeWideOnes) {
    Message::SetAllMessageType(MSG_WARNING, MSG_IGNORE);
    Message::SetMessageType("VHDL-1260", MSG_WARNING);
    Message::Warning("VHDL-1999", nullptr, "dropped");
    Message::Error("VHDL-1260", nullptr, "lowered");
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].type, MSG_WARNING);
    EXPECT_EQ(seen[0].text, "lowered");
    EXPECT_EQ(Message::ErrorCount(), 0u) << "a lowered error must not count";
    Message::ClearMessageType("VHDL-1260");
    EXPECT_EQ(Message::GetMessageType("VHDL-1260"), MSG_NONE);
}

TEST_F(MessageTest, ErrorsBeyondTheLimitAreDropped) {
    Message::SetMaxErrorCount(2);
    for (int i = 0; i < 5; ++i) Message::Error("X-1", nullptr, "e%d", i);
    Message::Info("X-2", nullptr, "still delivered");
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_TRUE(Message::MaxErrorsReached());
    EXPECT_EQ(seen[2].text, "still delivered");
}

TEST_F(MessageTest, PrintsWhenNoCallbackIsRegistered) {
    Message::RegisterCallBackMsg(nullptr);
    testing::internal::CaptureStdout();
    uint32_t f = LineFile::GetFileId("b.vhd");
    ColLineFile loc(f, 4, 1);
    Message::Warning("VHDL-1001", &loc, "unused %s", "signal");
    Message::Msg(MSG_NONE, nullptr, nullptr, "plain line");
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "b.vhd(4): WARNING: unused signal (VHDL-1001)\nplain line\n");
}

TEST(LineFileTest, IdsAreStableAndZeroIsNoFile) {
    uint32_t a = LineFile::GetFileId("x/one.sv");
    uint32_t b = LineFile::GetFileId("x/two.sv");
    EXPECT_NE(a, b);
    EXPECT_EQ(LineFile::GetFileId("x/one.sv"), a);
    EXPECT_EQ(LineFile::FindFileId("never"), 0u);
    EXPECT_EQ(LineFile::GetFileNameFromId(0), nullptr);
    ColLineFile big(a, 0xffffffffu, 5);
    EXPECT_EQ(big.leftLine, 0x7fffffffu) << "positions are masked to 31 bits";
}
