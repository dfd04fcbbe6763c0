#include "runtime/LoomScopeTimer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

// Reports go to standard error and only while reporting is on: standard output belongs
// to the parent.
TEST(LoomScopeTimer, ReportsOnlyWhenSwitchedOn) {
    const bool before = LoomScopeTimer::reporting();
    LoomScopeTimer::setReporting(false);
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    { LoomScopeTimer quiet("quiet scope"); }
    LoomScopeTimer::setReporting(true);
    EXPECT_TRUE(LoomScopeTimer::reporting());
    { LoomScopeTimer told("told scope"); }
    const std::string out = testing::internal::GetCapturedStdout();
    const std::string err = testing::internal::GetCapturedStderr();
    LoomScopeTimer::setReporting(before);
    EXPECT_EQ(out, "");
    EXPECT_EQ(err.find("quiet scope"), std::string::npos) << err;
    ASSERT_EQ(err.rfind("told scope: ", 0), 0u) << err;
    EXPECT_EQ(err.substr(err.size() - 3), " s\n");
}

TEST(LoomScopeTimer, MeasuresTheTimeSinceItWasMade) {
    LoomScopeTimer timer("sleep");
    const double start = timer.elapsedSeconds();
    EXPECT_GE(start, 0.0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const double later = timer.elapsedSeconds();
    EXPECT_GE(later - start, 0.019);
    EXPECT_LT(later, 5.0);
}
