#include "runtime/LoomBackTrace.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sstream>
#include <string>

namespace tracetest {
// Named frames to find in the trace; not inlined, so that they stay frames.
__attribute__((noinline)) std::string innerFrame(int maxFrames) {
    std::ostringstream out;
    LoomBackTrace::printTrace(out, maxFrames);
    asm volatile("" ::: "memory");
    return out.str();
}
__attribute__((noinline)) std::string outerFrame(int maxFrames) {
    std::string s = innerFrame(maxFrames);
    asm volatile("" ::: "memory");
    return s;
}
} // namespace tracetest

TEST(LoomBackTrace, PrintsTheCallersFramesDemangled) {
    const std::string trace = tracetest::outerFrame(30);
    ASSERT_EQ(trace.rfind("#0 ", 0), 0u) << trace;
    EXPECT_EQ(trace.find("_ZN9tracetest"), std::string::npos) << "names are demangled";
    // Frame 0 is the caller of printTrace, then its caller, names demangled.
    const size_t inner = trace.find("tracetest::innerFrame");
    const size_t outer = trace.find("tracetest::outerFrame");
    ASSERT_NE(inner, std::string::npos) << trace;
    ASSERT_NE(outer, std::string::npos) << trace;
    EXPECT_LT(inner, outer);
    EXPECT_EQ(trace.find("printTrace"), std::string::npos) << "printTrace itself is left out";
}

TEST(LoomBackTrace, HonoursTheFrameLimit) {
    const std::string two = tracetest::outerFrame(2);
    EXPECT_NE(two.find("#1 "), std::string::npos) << two;
    EXPECT_EQ(two.find("#2 "), std::string::npos) << two;
    EXPECT_EQ(tracetest::outerFrame(0), "");
    EXPECT_EQ(tracetest::outerFrame(-3), "");
}

// The handler prints a back trace and then restores the default action of the signal
// and raises it again, so that the process ends by the signal and the parent sees it.
TEST(LoomBackTraceDeathTest, HandlerPrintsATraceAndTheProcessDiesByTheSignal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::signal(SIGSEGV, LoomBackTrace::handler);
            std::raise(SIGSEGV);
            std::_Exit(0); // not reached when the default action was restored
        },
        testing::KilledBySignal(SIGSEGV), "caught a fatal signal; back trace:");
}

TEST(LoomBackTraceDeathTest, AnotherSignalIsPassedOnAsWell) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::signal(SIGABRT, LoomBackTrace::handler);
            std::raise(SIGABRT);
            std::_Exit(0);
        },
        testing::KilledBySignal(SIGABRT), "back trace");
}
