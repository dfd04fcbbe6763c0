// Throughput of the Verilog front-end: analyses the Verilog/SystemVerilog files of
// FILELIST.tsv lists (one pass per list, in list order, with its include directories)
// and reports MB/s and peak memory. When `verilator` or `iverilog` are on the PATH, their
// preprocessors (-E) are timed on the same files for comparison.
//   sv_bench [-repeat N] FILELIST.tsv...
#include <sys/resource.h>

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/base/SourceStream.h"
#include "hdl/sv/VeriLibrary.h"

namespace {

struct Project {
    std::string list;
    std::vector<std::string> incdirs;
    std::vector<std::pair<std::string, unsigned>> files; // path, language code
    size_t bytes = 0;
};

unsigned errors = 0;

void countErrors(hdl::msg_type_t type, const char*, const hdl::ColLineFile*, const char*, va_list) {
    if (type == hdl::VERIFIC_ERROR) ++errors;
}

Project readList(const std::string& list) {
    Project p;
    p.list = list;
    std::ifstream in(list);
    std::string dir = hdl::FileSystem::DirectoryPath(list), line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream cols(line);
        std::string lang, library, path;
        std::getline(cols, lang, '\t');
        std::getline(cols, library, '\t');
        std::getline(cols, path, '\t');
        if (lang == "incdir") {
            p.incdirs.push_back(hdl::FileSystem::Join(dir, library));
            continue;
        }
        unsigned code = lang == "sv" ? 5 : lang == "v2k" ? 2 : lang == "v95" ? 1 : 0;
        if (!code) continue;
        std::string full = hdl::FileSystem::Join(dir, path);
        std::ifstream f(full, std::ios::binary | std::ios::ate);
        if (f) p.bytes += size_t(f.tellg());
        p.files.push_back({full, code});
    }
    return p;
}

double seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

bool onPath(const char* tool) {
    std::string cmd = std::string("command -v ") + tool + " >/dev/null 2>&1";
    return std::system(cmd.c_str()) == 0;
}

// Times `tool -E` over the project's files, one invocation per file.
void timeExternal(const char* tool, const Project& p) {
    auto start = std::chrono::steady_clock::now();
    int failures = 0;
    for (const auto& f : p.files) {
        std::string cmd = std::string(tool) + " -E";
        for (const std::string& d : p.incdirs) cmd += (std::string(tool) == "verilator" ? " -I" : " -I ") + d;
        cmd += " '" + f.first + "' >/dev/null 2>&1";
        if (std::system(cmd.c_str()) != 0) ++failures;
    }
    double s = seconds(start);
    std::printf("  %-10s -E: %8.3f s  %8.2f MB/s  (%d files failed)\n", tool, s, p.bytes / 1e6 / s, failures);
}

} // namespace

int main(int argc, char** argv) {
    int repeat = 5;
    std::vector<Project> projects;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "-repeat" && i + 1 < argc) repeat = std::max(1, std::atoi(argv[++i]));
        else projects.push_back(readList(a));
    }
    if (projects.empty()) {
        std::fprintf(stderr, "usage: sv_bench [-repeat N] FILELIST.tsv...\n");
        return 2;
    }
    hdl::Message::RegisterCallBackMsg(countErrors);
    size_t totalBytes = 0;
    double totalSeconds = 0;
    for (const Project& p : projects) {
        auto start = std::chrono::steady_clock::now();
        for (int r = 0; r < repeat; ++r) {
            hdl::veri_file::Reset();
            for (const std::string& d : p.incdirs) hdl::veri_file::AddIncludeDir(d.c_str());
            for (const auto& f : p.files) hdl::veri_file::Analyze(f.first.c_str(), f.second, "work");
        }
        double s = seconds(start) / repeat;
        totalBytes += p.bytes;
        totalSeconds += s;
        std::printf("%s: %zu files, %.2f MB, %.4f s per pass, %.2f MB/s\n", p.list.c_str(), p.files.size(),
                    p.bytes / 1e6, s, p.bytes / 1e6 / s);
    }
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    std::printf("total: %.2f MB at %.2f MB/s; peak memory %.1f MB; %u errors\n", totalBytes / 1e6,
                totalBytes / 1e6 / totalSeconds, usage.ru_maxrss / 1024.0, errors / unsigned(repeat));
    for (const char* tool : {"verilator", "iverilog"}) {
        if (!onPath(tool)) continue;
        for (const Project& p : projects) {
            std::printf("%s\n", p.list.c_str());
            timeExternal(tool, p);
        }
    }
    return 0;
}
