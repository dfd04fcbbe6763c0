#include "runtime/LoomBackTrace.h"

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
    std::unique_ptr<void*[]> frames(new void*[maxFrames + 1]);
    int n = ::backtrace(frames.get(), maxFrames + 1);
    std::unique_ptr<char*, void (*)(void*)> symbols(::backtrace_symbols(frames.get(), n), std::free);
    // Frame 0 is printTrace itself.
    for (int i = 1; i < n; ++i) {
        out << "#" << (i - 1) << " " << (symbols ? demangleFrame(symbols.get()[i]) : std::string("?")) << "\n";
    }
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
