// Skim throughput: reads projects given by their FILELIST.tsv (corpus format), skims
// each with the full input chain and parse order computation, and reports files/s,
// MB/s and the process's peak memory. Rates are per second of the process's CPU
// time, so that other work on a shared machine does not count; small projects are
// repeated to take at least half a second.
//
// usage: skim_bench FILELIST.tsv...
#include <sys/resource.h>

#include <ctime>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/sort/FileSort.h"
#include "sift/scan/HADLInputChain.h"
#include "sift/scan/HADLSifter.h"
#include "sift/scan/HADLSkim.h"

namespace fs = std::filesystem;

namespace {

struct Entry {
    unsigned lang;
    std::string library;
    std::string path;
};

unsigned langCode(const std::string& lang) {
    if (lang == "sv") return 5;
    if (lang == "v2k") return 2;
    if (lang == "vhdl93") return 9;
    if (lang == "vhdl08") return 11;
    if (lang == "vhdl19") return 12;
    return 5;
}

double cpuSeconds() {
    timespec ts;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return ts.tv_sec + ts.tv_nsec / 1e9;
}

void quiet(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

double skimOnce(const std::vector<Entry>& files, const std::vector<std::string>& incdirs, size_t& rawUnits) {
    hdl::hdl_file_sort::Reset();
    hdl::hdl_file_sort::RegisterFlexStreamCallBack(openSourceStream);
    HADLSifter& db = HADLSifter::instance();
    static_cast<HADLDatabase&>(db) = HADLDatabase();
    double start = cpuSeconds();
    for (const std::string& inc : incdirs)
        db.dirNames.insert(inc.c_str());
    for (const Entry& e : files)
        db.insertFileName(e.path, e.lang, e.library);
    HADLStringMatchTable noPrimitives;
    hadlDoSkim(db, noPrimitives);
    rawUnits = db.rUnitNames.size() - 1;
    return cpuSeconds() - start;
}

} // namespace

int main(int argc, char** argv) {
    hdl::Message::RegisterCallBackMsg(quiet);
    for (int a = 1; a < argc; ++a) {
        fs::path list(argv[a]);
        fs::path dir = list.parent_path();
        std::vector<Entry> files;
        std::vector<std::string> incdirs;
        std::ifstream in(list);
        uint64_t bytes = 0;
        for (std::string line; std::getline(in, line);) {
            if (line.empty() || line[0] == '#')
                continue;
            std::vector<std::string> cols;
            std::stringstream ss(line);
            for (std::string c; std::getline(ss, c, '\t');)
                cols.push_back(c);
            if (cols.size() == 2 && cols[0] == "incdir")
                incdirs.push_back((dir / cols[1]).string());
            else if (cols.size() == 3) {
                files.push_back(Entry{langCode(cols[0]), cols[1], (dir / cols[2]).string()});
                std::error_code ec;
                auto size = fs::file_size(files.back().path, ec);
                bytes += ec ? 0 : size;
            }
        }
        double total = 0;
        int rounds = 0;
        size_t rawUnits = 0;
        while (total < 0.5 || rounds < 1) {
            total += skimOnce(files, incdirs, rawUnits);
            ++rounds;
        }
        double seconds = total / rounds;
        struct rusage usage;
        getrusage(RUSAGE_SELF, &usage);
        std::printf("%-40s %6zu files %8.2f MB  %8.4f cpu s  %9.0f files/s  %7.1f MB/s  %6zu raw units  peak %ld MB\n",
                    dir.filename().c_str(), files.size(), bytes / 1e6, seconds, files.size() / seconds,
                    bytes / 1e6 / seconds, rawUnits, usage.ru_maxrss / 1024);
    }
    return 0;
}
