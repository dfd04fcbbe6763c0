#include "runtime/LoomMsgMgrInstance.h"

#include <gtest/gtest.h>

#include <string>

TEST(LoomMsgMgrInstance, BodyIsTheFormatFilledInWithItsReferenceInFront) {
    LoomMsgMgrInstance m = LoomMsgMgrInstance::create(LoomMsgMgrInstance::Error, "@56-440@%s", "unit_a");
    EXPECT_EQ(m.getType(), 0x20000000u);
    EXPECT_EQ(m.getMessageBody(), "@56-440@unit_a");
    LoomMsgMgrInstance w = LoomMsgMgrInstance::create(LoomMsgMgrInstance::Warning, "@56-434@%s%s", "f.v", "cfg");
    EXPECT_EQ(w.getType(), 0x8000000u);
    EXPECT_EQ(w.getMessageBody(), "@56-434@f.vcfg");
    EXPECT_EQ(LoomMsgMgrInstance::Info, 0x10000000u);
}

TEST(LoomMsgMgrInstance, LongAndEmptyBodies) {
    const std::string longText(10000, 'x');
    LoomMsgMgrInstance big = LoomMsgMgrInstance::create(LoomMsgMgrInstance::Error, "%s|%d", longText.c_str(), 42);
    EXPECT_EQ(big.getMessageBody(), longText + "|42") << "a body longer than any fixed buffer is kept whole";
    LoomMsgMgrInstance empty = LoomMsgMgrInstance::create(LoomMsgMgrInstance::Error, "%s", "");
    EXPECT_EQ(empty.getMessageBody(), "");
    LoomMsgMgrInstance percent = LoomMsgMgrInstance::create(LoomMsgMgrInstance::Error, "100%% %s", "sure");
    EXPECT_EQ(percent.getMessageBody(), "100% sure");
}
