#include "runtime/LoomBackTrace.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cxxabi.h>
#include <execinfo.h>
#include <memory>
#include <string>
#include <unistd.h>

namespace {
// "binary(mangled+0x12) [0x...]" -> the same line with the name demangled.
std::string demangleFrame(const char* frame) {
    std::string line(frame);
    size_t open = line.find('(');
    size_t plus = line.find('+', open == std::string::npos ? 0 : open);
    if (open == std::string::npos || plus == std::string::npos || plus <= open + 1) return line;
    std::string mangled = line.substr(open + 1, plus - open - 1);
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status),
                                                std::free);
    if (status != 0 || !name) return line;
    return line.substr(0, open + 1) + name.get() + line.substr(plus);
}
} // namespace

void LoomBackTrace::printTrace(std::ostream& out, int maxFrames) {
    if (maxFrames <= 0) return;
    // The trace starts at the caller: frames before it are printTrace itself and, in
    // sanitizer builds, the interceptor of backtrace.
    constexpr int kOwnFramesAtMost = 4;
    void* const caller = __builtin_return_address(0);
    std::unique_ptr<void*[]> frames(new void*[maxFrames + kOwnFramesAtMost]);
    int n = ::backtrace(frames.get(), maxFrames + kOwnFramesAtMost);
    int first = 1;
    for (int i = 0; i < n && i < kOwnFramesAtMost; ++i)
        if (frames[i] == caller) {
            first = i;
            break;
        }
    n = std::min(n, first + maxFrames);
    std::unique_ptr<char*, void (*)(void*)> symbols(::backtrace_symbols(frames.get(), n), std::free);
    for (int i = first; i < n; ++i)
        out << "#" << (i - first) << " " << (symbols ? demangleFrame(symbols.get()[i]) : std::string("?")) << "\n";
    out.flush();
}

void LoomBackTrace::handler(int sig) {
    static const char banner[] = "\nsift: caught a fatal signal; back trace:\n";
    ssize_t w = ::write(STDERR_FILENO, banner, sizeof banner - 1);
    (void)w;
    void* frames[64];
    int n = ::backtrace(frames, 64);
    ::backtrace_symbols_fd(frames, n, STDERR_FILENO);
    ::signal(sig, SIG_DFL);
    ::raise(sig);
}
