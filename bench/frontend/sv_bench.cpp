// Throughput of the Verilog front-end: analyses the Verilog/SystemVerilog files of
// FILELIST.tsv lists (one pass per list, in list order, with its include directories)
// and reports MB/s and peak memory. When `verilator` or `iverilog` are on the PATH, their
// preprocessors (-E) are timed once per list on the same files for comparison. With -pp only the
// preprocessed token stream is drawn (no parse), and rates are per CPU second.
//   sv_bench [-repeat N] [-pp] FILELIST.tsv...
#include <sys/resource.h>

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "hdl/base/Language.h"
#include "hdl/base/Message.h"
#include "hdl/base/SourceStream.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriPreprocessor.h"

namespace {

struct Project {
    std::string list;
    std::vector<std::string> incdirs;
    std::vector<std::pair<std::string, unsigned>> files; // path, language code
    size_t bytes = 0;
};

unsigned errors = 0;

void countErrors(hdl::msg_type_t type, const char*, const hdl::ColLineFile*, const char*, va_list) {
    if (type == hdl::MSG_ERROR) ++errors;
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
        const unsigned code = hdl::LanguageByName(lang);
        if (!hdl::IsVerilogLanguage(code)) continue;
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

double childCpuSeconds() {
    struct rusage usage;
    getrusage(RUSAGE_CHILDREN, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Times one `tool -E` run over the project's whole file list with its include
// directories, as a build would call it (a run per file would mostly time start-up).
// Returns the wall seconds, or 0 when the run failed; `cpu` gets the CPU seconds, which
// a loaded machine disturbs less.
double timeExternal(const char* tool, const Project& p, double& cpu) {
    bool verilator = std::string(tool) == "verilator";
    std::string cmd = std::string(tool) + " -E";
    if (!verilator) cmd += " -g2012 -o /dev/null";
    for (const std::string& d : p.incdirs) cmd += " -I" + d;
    for (const auto& f : p.files) cmd += " '" + f.first + "'";
    cmd += verilator ? " >/dev/null 2>&1" : " 2>/dev/null";
    double cpuBefore = childCpuSeconds();
    auto start = std::chrono::steady_clock::now();
    int rc = std::system(cmd.c_str());
    double s = seconds(start);
    cpu = childCpuSeconds() - cpuBefore;
    return rc == 0 ? s : 0;
}

// Preprocess+lex only: every file through its own preprocessor, tokens drawn and
// dropped. Returns the project's CPU seconds per pass.
double preprocessOnly(const Project& p, int repeat, size_t& tokens) {
    std::clock_t start = std::clock();
    for (int r = 0; r < repeat; ++r) {
        for (const auto& f : p.files) {
            hdl::VeriPreprocessorOptions opts;
            opts.includeDirs = p.incdirs;
            opts.language = f.second;
            hdl::VeriPreprocessor pp(opts);
            pp.pushFile(f.first);
            for (hdl::VeriToken t = pp.next(); t.kind != hdl::VT_EOF; t = pp.next()) ++tokens;
        }
    }
    return double(std::clock() - start) / CLOCKS_PER_SEC / repeat;
}

} // namespace

int main(int argc, char** argv) {
    int repeat = 5;
    bool ppOnly = false;
    std::vector<Project> projects;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "-repeat" && i + 1 < argc) repeat = std::max(1, std::atoi(argv[++i]));
        else if (a == "-pp") ppOnly = true;
        else projects.push_back(readList(a));
    }
    if (projects.empty()) {
        std::fprintf(stderr, "usage: sv_bench [-repeat N] [-pp] FILELIST.tsv...\n");
        return 2;
    }
    hdl::Message::RegisterCallBackMsg(countErrors);
    if (ppOnly) {
        size_t bytes = 0, tokens = 0;
        double cpu = 0;
        for (const Project& p : projects) {
            double s = preprocessOnly(p, repeat, tokens);
            bytes += p.bytes;
            cpu += s;
            std::printf("%s: %.2f MB, %.4f CPU s per pass, %.2f MB/s\n", p.list.c_str(), p.bytes / 1e6, s,
                        p.bytes / 1e6 / s);
        }
        std::printf("preprocess+lex: %.2f MB, %zu tokens per pass, %.2f MB/s (CPU); %u errors\n", bytes / 1e6,
                    tokens / size_t(repeat), bytes / 1e6 / cpu, errors / unsigned(repeat));
        return 0;
    }
    size_t totalBytes = 0, treeBytes = 0;
    double totalCpu = 0;
    std::vector<double> ours, oursCpu;
    for (const Project& p : projects) {
        auto start = std::chrono::steady_clock::now();
        std::clock_t cpuStart = std::clock();
        for (int r = 0; r < repeat; ++r) {
            hdl::veri_file::Reset();
            for (const std::string& d : p.incdirs) hdl::veri_file::AddIncludeDir(d.c_str());
            for (const auto& f : p.files) hdl::veri_file::Analyze(f.first.c_str(), f.second, "work");
        }
        double cpu = double(std::clock() - cpuStart) / CLOCKS_PER_SEC / repeat;
        double s = seconds(start) / repeat;
        for (hdl::VeriLibrary* lib : hdl::veri_file::AllLibraries()) treeBytes += lib->arena().bytesAllocated();
        totalBytes += p.bytes;
        totalCpu += cpu;
        ours.push_back(s);
        oursCpu.push_back(cpu);
        std::printf("%s: %zu files, %.2f MB, %.4f s per pass (%.4f CPU s), %.2f MB/s (CPU)\n", p.list.c_str(),
                    p.files.size(), p.bytes / 1e6, s, cpu, p.bytes / 1e6 / cpu);
    }
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    double peak = usage.ru_maxrss * 1024.0;
    std::printf("total: %.2f MB at %.2f MB/s (CPU); tree %.2f bytes per source byte; peak memory %.1f MB, "
                "%.2f bytes per source byte; %u errors\n",
                totalBytes / 1e6, totalBytes / 1e6 / totalCpu, double(treeBytes) / double(totalBytes), peak / 1e6,
                peak / double(totalBytes), errors / unsigned(repeat));
    for (const char* tool : {"verilator", "iverilog"}) {
        if (!onPath(tool)) continue;
        for (size_t i = 0; i < projects.size(); ++i) {
            const Project& p = projects[i];
            double cpu = 0;
            double s = timeExternal(tool, p, cpu);
            if (s > 0)
                std::printf("  %-10s -E %s: %8.3f s  %8.2f MB/s  (%.1fx our analysis time; CPU %.3f s, %.1fx ours)\n",
                            tool, p.list.c_str(), s, p.bytes / 1e6 / s, s / ours[i], cpu, cpu / oursCpu[i]);
            else std::printf("  %-10s -E %s: failed\n", tool, p.list.c_str());
        }
    }
    return 0;
}
