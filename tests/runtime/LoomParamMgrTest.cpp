#include "runtime/LoomParamMgr.h"

#include <gtest/gtest.h>

// The store is process-wide: each test uses names of its own.
TEST(LoomParamMgr, RegistrationKeepsAValueAlreadySet) {
    LoomParamMgr& mgr = LoomParamMgr::getParamMgr();
    EXPECT_EQ(&mgr, &LoomParamMgr::getParamMgr());
    EXPECT_FALSE(mgr.isRegistered("test.first"));
    mgr.registerStringParam("test.first", "a test parameter", "dflt");
    EXPECT_TRUE(mgr.isRegistered("test.first"));
    EXPECT_EQ(mgr.getValueAsString("test.first"), "dflt");
    mgr.setStringValue("test.first", "set");
    // Registering again must not reset the value to the default.
    mgr.registerStringParam("test.first", "again", "other");
    EXPECT_EQ(mgr.getValueAsString("test.first"), "set");
}

TEST(LoomParamMgr, SettingAnUnknownNameRegistersIt) {
    LoomParamMgr& mgr = LoomParamMgr::getParamMgr();
    EXPECT_EQ(mgr.getValueAsString("test.never"), "");
    EXPECT_FALSE(mgr.isRegistered("test.never")) << "a read must not register";
    mgr.setStringValue("test.late", "v");
    EXPECT_TRUE(mgr.isRegistered("test.late"));
    EXPECT_EQ(mgr.getValueAsString("test.late"), "v");
    // A later registration finds it set and keeps the value.
    mgr.registerStringParam("test.late", "late", "dflt");
    EXPECT_EQ(mgr.getValueAsString("test.late"), "v");
    mgr.setStringValue("test.late", "");
    EXPECT_EQ(mgr.getValueAsString("test.late"), "");
}
