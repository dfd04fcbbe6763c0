// Standard libraries from sources against precompiled ones: runs the configure, skim
// and parse phases of one project in this process, once with the standard library
// sources (analysed before the project, as every run without precompiled libraries
// does) and once with -use_precompiled_std_libs (units restored when the project asks
// for them), and prints the time of each, the ratio and the peak memory. Times are
// CPU seconds of the fastest round (each mode at least five rounds and one second), so
// that other work on the machine does not count. Then it runs the program itself on
// the same project in both modes, whole processes (start-up included), timed on the
// wall clock and by their CPU time.
//
// usage: stdlib_bench DATA_DIR SIFT_BINARY FILELIST.tsv   (figures on standard error)
// (DATA_DIR with precompiled libraries: scripts/precompile_stdlibs.sh)
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/sort/FileSort.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/scan/HADLNeedDecryptionCache.h"
#include "sift/scan/HADLSifter.h"

namespace {

struct Entry {
    std::string option;
    unsigned lang;
    std::string library;
    std::string path;
};

double cpuSeconds() {
    timespec ts;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return ts.tv_sec + ts.tv_nsec / 1e9;
}

void quiet(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

std::vector<Entry> readList(const std::string& list) {
    std::vector<Entry> files;
    const std::string dir = std::filesystem::path(list).parent_path().string();
    std::ifstream in(list);
    for (std::string line; std::getline(in, line);) {
        std::istringstream cols(line);
        std::string lang, lib, path;
        if (!std::getline(cols, lang, '\t') || !std::getline(cols, lib, '\t') || !std::getline(cols, path)) continue;
        if (lang == "vhdl93") files.push_back({"-add_vhdl93", 9, lib, dir + "/" + path});
        else if (lang == "vhdl08") files.push_back({"-add_vhdl08", 11, lib, dir + "/" + path});
        else if (lang == "v2k") files.push_back({"-add_v2klib", 2, lib, dir + "/" + path});
        else if (lang == "sv") files.push_back({"-add_svlib", 5, lib, dir + "/" + path});
    }
    return files;
}

// One run of the three phases, from a fresh front-end and database.
double runOnce(const std::vector<Entry>& files, bool precompiled) {
    hdl::vhdl_file::Reset();
    hdl::veri_file::Reset();
    hdl::hdl_file_sort::Reset();
    NeedDecryptionCache::clear();
    HADLSifter& s = HADLSifter::instance();
    static_cast<HADLDatabase&>(s) = HADLDatabase();
    s.phase = 0;
    s.stdLibFileIds.clear();
    s.usePrecompiledStdLibs = precompiled;
    for (const Entry& e : files) s.insertFileName(e.path, e.lang, e.library);
    const double start = cpuSeconds();
    s.runParse();
    const double seconds = cpuSeconds() - start;
    hdl::Message::RegisterCallBackMsg(quiet);
    return seconds;
}

double fastest(const std::vector<Entry>& files, bool precompiled) {
    double best = 1e9;
    double total = 0;
    for (int round = 0; round < 5 || total < 1.0; ++round) {
        double t = runOnce(files, precompiled);
        best = std::min(best, t);
        total += t;
    }
    return best;
}

double childrenCpu() {
    rusage u;
    getrusage(RUSAGE_CHILDREN, &u);
    return u.ru_utime.tv_sec + u.ru_stime.tv_sec + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

struct ProcessTimes {
    double wall = 1e9;
    double cpu = 1e9;
};

// The fastest of ten runs of the program on a script: wall clock, and the CPU time of
// the program alone (started without a shell, its output to /dev/null).
ProcessTimes processRun(const std::string& sift, const std::string& script) {
    ProcessTimes best;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    char* const argv[] = {const_cast<char*>(sift.c_str()), const_cast<char*>(script.c_str()), nullptr};
    for (int round = 0; round < 10; ++round) {
        auto start = std::chrono::steady_clock::now();
        const double cpu = childrenCpu();
        pid_t pid = 0;
        int status = 0;
        if (posix_spawn(&pid, sift.c_str(), &actions, nullptr, argv, environ) != 0 || waitpid(pid, &status, 0) != pid ||
            !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            best = {-1, -1};
            break;
        }
        best.cpu = std::min(best.cpu, childrenCpu() - cpu);
        best.wall =
            std::min(best.wall, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    posix_spawn_file_actions_destroy(&actions);
    return best;
}

std::string script(const std::vector<Entry>& files, bool precompiled, const std::string& path) {
    std::ofstream out(path);
    if (precompiled) out << "sf -use_precompiled_std_libs\n";
    for (const Entry& e : files) out << "sf " << e.option << " " << e.library << " {" << e.path << "}\n";
    out << "sf -skim\nsf -parse\n";
    return path;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: stdlib_bench DATA_DIR SIFT_BINARY FILELIST.tsv\n");
        return 2;
    }
    const std::string data = argv[1];
    if (!std::filesystem::exists(data + "/precomp_hsv/vhdl/std/standard.vdb")) {
        std::fprintf(stderr, "no precompiled libraries under %s: run scripts/precompile_stdlibs.sh\n", data.c_str());
        return 2;
    }
    ::setenv("LOOM_DATADIR", data.c_str(), 1);
    std::vector<Entry> files = readList(argv[3]);
    // The banners and the standard libraries' own messages go to standard output, the
    // figures to standard error.
    if (!std::freopen("/dev/null", "w", stdout)) return 2;
    hdl::Message::RegisterCallBackMsg(quiet);
    const double sources = fastest(files, false);
    const size_t stdFiles = HADLSifter::instance().stdLibFileIds.size();
    const double precompiled = fastest(files, true);
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);

    const std::string tmp = std::filesystem::temp_directory_path().string();
    const ProcessTimes processSources = processRun(argv[2], script(files, false, tmp + "/stdlib_bench_src.tcl"));
    const ProcessTimes processPrecompiled = processRun(argv[2], script(files, true, tmp + "/stdlib_bench_pre.tcl"));

    std::fprintf(stderr, "%zu project files, %zu standard library sources\n", files.size(), stdFiles);
    std::fprintf(stderr, "in process (CPU, fastest round): sources %.2f ms, precompiled %.2f ms: %.1fx faster\n",
                 sources * 1e3, precompiled * 1e3, sources / precompiled);
    std::fprintf(stderr, "whole program (fastest of 10), wall: sources %.1f ms, precompiled %.1f ms: %.1fx faster\n",
                 processSources.wall * 1e3, processPrecompiled.wall * 1e3,
                 processSources.wall / processPrecompiled.wall);
    std::fprintf(stderr, "whole program (fastest of 10), CPU: sources %.1f ms, precompiled %.1f ms: %.1fx faster\n",
                 processSources.cpu * 1e3, processPrecompiled.cpu * 1e3, processSources.cpu / processPrecompiled.cpu);
    std::fprintf(stderr, "peak memory of this process %ld MB\n", usage.ru_maxrss / 1024);
    return 0;
}
