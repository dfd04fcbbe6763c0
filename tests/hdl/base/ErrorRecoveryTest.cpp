#include "hdl/base/ErrorRecovery.h"

#include <gtest/gtest.h>

using namespace hdl;

namespace {
constexpr size_t kWindow = ErrorRecovery::kEchoTokens;
}

TEST(ErrorRecovery, AnErrorWithinTheWindowIsAnEcho) {
    ErrorRecovery r;
    EXPECT_EQ(r.OnError(1, 100), ErrorRecovery::Tell); // the first error is always told
    EXPECT_EQ(r.OnError(1, 100), ErrorRecovery::Quiet); // the same place again
    EXPECT_EQ(r.OnError(1, 100 + kWindow - 1), ErrorRecovery::Quiet);
    // Each echo starts the window again: a run of errors one token apart stays one.
    for (size_t at = 100 + kWindow; at < 200; ++at) EXPECT_EQ(r.OnError(1, at), ErrorRecovery::Quiet) << at;
    EXPECT_EQ(r.OnError(1, 199 + kWindow), ErrorRecovery::Tell);
    EXPECT_EQ(r.Told(1), 2u);
    EXPECT_EQ(r.Found(1), 101u);
}

TEST(ErrorRecovery, ErrorsApartAreEachTold) {
    ErrorRecovery r;
    EXPECT_EQ(r.OnError(7, 0), ErrorRecovery::Tell);
    EXPECT_EQ(r.OnError(7, kWindow), ErrorRecovery::Tell);
    EXPECT_EQ(r.OnError(7, 2 * kWindow), ErrorRecovery::Tell);
    EXPECT_EQ(r.Told(7), 3u);
    EXPECT_EQ(r.Told(8), 0u);
    EXPECT_EQ(r.Found(8), 0u);
}

TEST(ErrorRecovery, TheCapHoldsPerFile) {
    ErrorRecovery r;
    size_t at = 0;
    for (unsigned i = 1; i < ErrorRecovery::kMaxErrorsPerFile; ++i, at += 10)
        ASSERT_EQ(r.OnError(3, at), ErrorRecovery::Tell) << i;
    EXPECT_FALSE(r.CapReached(3));
    EXPECT_EQ(r.OnError(3, at), ErrorRecovery::TellLast);
    EXPECT_TRUE(r.CapReached(3));
    for (int i = 0; i < 5; ++i) EXPECT_EQ(r.OnError(3, at += 10), ErrorRecovery::Quiet);
    EXPECT_EQ(r.Told(3), ErrorRecovery::kMaxErrorsPerFile);
    EXPECT_EQ(r.Found(3), ErrorRecovery::kMaxErrorsPerFile + 5);
    // Another file of the same run (an include, the next file of a unit) has its own cap.
    EXPECT_EQ(r.OnError(4, at += 10), ErrorRecovery::Tell);
    EXPECT_FALSE(r.CapReached(4));
    // The window is the parser's, not the file's: an error right after one in another
    // file is still its echo.
    EXPECT_EQ(r.OnError(3, at + 1), ErrorRecovery::Quiet);
    EXPECT_EQ(r.OnError(5, at + 2), ErrorRecovery::Quiet);
    EXPECT_EQ(r.Found(5), 1u);
}

TEST(ErrorRecovery, LineErrorsAreNoEchoesButShareTheCap) {
    ErrorRecovery r;
    EXPECT_EQ(r.OnError(1, 10), ErrorRecovery::Tell);
    // Right after a token error, and after each other, at no token in between.
    EXPECT_EQ(r.OnLineError(1), ErrorRecovery::Tell);
    EXPECT_EQ(r.OnLineError(1), ErrorRecovery::Tell);
    // They leave the token errors' window where it was.
    EXPECT_EQ(r.OnError(1, 10 + kWindow - 1), ErrorRecovery::Quiet);
    for (unsigned i = r.Told(1); i + 1 < ErrorRecovery::kMaxErrorsPerFile; ++i)
        EXPECT_EQ(r.OnLineError(1), ErrorRecovery::Tell) << i;
    EXPECT_EQ(r.OnLineError(1), ErrorRecovery::TellLast);
    EXPECT_EQ(r.OnLineError(1), ErrorRecovery::Quiet);
    EXPECT_EQ(r.OnError(1, 1000), ErrorRecovery::Quiet);
    EXPECT_TRUE(r.CapReached(1));
    EXPECT_EQ(r.OnLineError(2), ErrorRecovery::Tell);
    EXPECT_EQ(r.Found(1), ErrorRecovery::kMaxErrorsPerFile + 3);
}
