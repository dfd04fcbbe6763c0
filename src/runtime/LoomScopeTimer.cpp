#include "runtime/LoomScopeTimer.h"

#include <cstdio>
#include <cstdlib>

namespace {
int& reportSetting() {
    static int setting = std::getenv("LOOM_SCOPE_TIMERS") ? 1 : 0;
    return setting;
}
} // namespace

LoomScopeTimer::LoomScopeTimer(std::string label)
    : label_(std::move(label)), start_(std::chrono::steady_clock::now()) {}

LoomScopeTimer::~LoomScopeTimer() {
    if (reporting()) std::fprintf(stderr, "%s: %.3f s\n", label_.c_str(), elapsedSeconds());
}

void LoomScopeTimer::setReporting(bool on) { reportSetting() = on ? 1 : 0; }

bool LoomScopeTimer::reporting() { return reportSetting() != 0; }

double LoomScopeTimer::elapsedSeconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}
