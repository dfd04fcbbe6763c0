// Back traces of the running process, and the SIGSEGV handler that prints one.
#pragma once

#include <ostream>

class LoomBackTrace {
public:
    // Writes the call stack of the caller, at most `maxFrames` frames, one per line.
    static void printTrace(std::ostream& out, int maxFrames);
    // Signal handler: prints a back trace on stderr (async-signal-safe), then lets the
    // signal take its default action so that the parent sees the process die by it.
    static void handler(int sig);
};
