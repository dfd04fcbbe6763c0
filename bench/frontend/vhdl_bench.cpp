// Throughput of the VHDL front-end: analyses the VHDL files of FILELIST.tsv lists (or
// plain .vhd files) and reports MB/s and peak memory. With -ghdl, times `ghdl -s` on
// the same files for comparison. Plain files are read as VHDL-2008, or 2019 after -2019.
// With -runs N the files are analysed N times from empty libraries and the fastest run
// is reported, which steadies the numbers on a shared machine.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "hdl/base/Language.h"
#include "hdl/base/Message.h"
#include "hdl/base/SourceStream.h"
#include "hdl/vhdl/VhdlLibrary.h"

namespace {

struct Job {
    std::string path;
    std::string library;
    unsigned mode;
};

unsigned ModeOf(const std::string& lang) {
    const unsigned code = hdl::LanguageByName(lang);
    return hdl::IsVhdlLanguage(code) ? code : unsigned(hdl::VHDL_93);
}

void ReadList(const std::string& list, std::vector<Job>& jobs) {
    std::ifstream in(list);
    std::string dir = hdl::FileSystem::DirectoryPath(list), line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::string lang, lib, path;
        std::getline(fields, lang, '\t');
        std::getline(fields, lib, '\t');
        std::getline(fields, path, '\t');
        if (!hdl::IsVhdlLanguage(hdl::LanguageByName(lang))) continue;
        jobs.push_back({hdl::FileSystem::Join(dir, path), lib, ModeOf(lang)});
    }
}

unsigned g_errors = 0;

void Quiet(hdl::msg_type_t type, const char* id, const hdl::ColLineFile* loc, const char* format, va_list args) {
    if (type != hdl::MSG_ERROR) return;
    ++g_errors;
    std::fprintf(stderr, "%s:%u: %s: ", hdl::LineFile::GetFileName(loc) ? hdl::LineFile::GetFileName(loc) : "",
                 loc ? loc->leftLine : 0, id);
    std::vfprintf(stderr, format, args);
    std::fputc('\n', stderr);
}

} // namespace

int main(int argc, char** argv) {
    std::vector<Job> jobs;
    bool ghdl = false;
    unsigned plainMode = hdl::VHDL_2008;
    int runs = 1;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "-ghdl") ghdl = true;
        else if (a == "-runs" && i + 1 < argc) runs = std::max(1, std::atoi(argv[++i]));
        else if (a == "-2019") plainMode = hdl::VHDL_2019;
        else if (a.size() > 4 && a.substr(a.size() - 4) == ".tsv") ReadList(a, jobs);
        else jobs.push_back({a, "work", plainMode});
    }
    hdl::Message::RegisterCallBackMsg(Quiet);
    // Wall time is unreliable on a shared machine; CPU time of this process is reported too.
    auto cpuSeconds = [] {
        rusage u{};
        getrusage(RUSAGE_SELF, &u);
        return u.ru_utime.tv_sec + u.ru_stime.tv_sec + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
    };
    size_t bytes = 0;
    for (const Job& job : jobs) {
        std::ifstream in(job.path, std::ios::binary | std::ios::ate);
        bytes += static_cast<size_t>(in.tellg() > 0 ? static_cast<long>(in.tellg()) : 0);
    }
    double secs = 0, cpu = 0;
    for (int run = 0; run < runs; ++run) {
        hdl::vhdl_file::Reset();
        g_errors = 0;
        double cpu0 = cpuSeconds();
        auto t0 = std::chrono::steady_clock::now();
        for (const Job& job : jobs) hdl::vhdl_file::Analyze(job.path.c_str(), job.library.c_str(), job.mode);
        double runSecs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        double runCpu = cpuSeconds() - cpu0;
        if (run == 0 || runSecs < secs) secs = runSecs;
        if (run == 0 || runCpu < cpu) cpu = runCpu;
    }
    size_t units = 0;
    for (hdl::VhdlLibrary* lib : hdl::vhdl_file::AllLibraries()) {
        for (hdl::VhdlPrimaryUnit* unit : lib->PrimaryUnits()) units += 1 + unit->GetSecondaryUnits().size();
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf(
        "files %zu, bytes %zu, units %zu, errors %u, %.3f s, %.2f MB/s, cpu %.3f s, %.2f MB/cpu-s, peak RSS %ld KB\n",
        jobs.size(), bytes, units, g_errors, secs, secs > 0 ? bytes / secs / 1e6 : 0.0, cpu,
        cpu > 0 ? bytes / cpu / 1e6 : 0.0, usage.ru_maxrss);
    if (ghdl && std::system("command -v ghdl > /dev/null 2>&1") == 0) {
        auto g0 = std::chrono::steady_clock::now();
        for (const Job& job : jobs) {
            std::string std = job.mode >= hdl::VHDL_2008 ? "08" : job.mode == hdl::VHDL_87 ? "87" : "93c";
            std::string cmd =
                "ghdl -s --std=" + std + " -frelaxed --work=" + job.library + " '" + job.path + "' > /dev/null 2>&1";
            if (std::system(cmd.c_str()) == -1) break;
        }
        double gs = std::chrono::duration<double>(std::chrono::steady_clock::now() - g0).count();
        std::printf("ghdl -s: %.3f s, %.2f MB/s\n", gs, gs > 0 ? bytes / gs / 1e6 : 0.0);
    }
    return 0;
}
