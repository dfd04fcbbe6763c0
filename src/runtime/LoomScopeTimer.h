// A scope timer: made with a label, it reports the time spent in its scope when it is
// destroyed. Reports go to standard error, and only while reporting is switched on,
// so that the program's standard output stays as the parent reads it.
#pragma once

#include <chrono>
#include <string>

class LoomScopeTimer {
public:
    explicit LoomScopeTimer(std::string label);
    ~LoomScopeTimer();
    LoomScopeTimer(const LoomScopeTimer&) = delete;
    LoomScopeTimer& operator=(const LoomScopeTimer&) = delete;

    // On when the environment variable LOOM_SCOPE_TIMERS is set, unless set here.
    static void setReporting(bool on);
    static bool reporting();
    double elapsedSeconds() const;

private:
    std::string label_;
    std::chrono::steady_clock::time_point start_;
};
