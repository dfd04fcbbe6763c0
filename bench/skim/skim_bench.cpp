// Skim throughput: reads projects given by their FILELIST.tsv (corpus format), skims
// each with the full input chain and parse order computation, and reports files/s,
// MB/s and the process's peak memory. Then it analyses the same files in parse order
// with the front-ends (preprocess, parse, tree) through the same input chain and
// prints how many times faster the skim is. Rates are per second of the process's
// CPU time, so that other work on a shared machine does not count; each step is
// repeated (at least five times and two seconds) and its fastest round counts,
// since other processes on the machine only ever slow a round down.
//
// With -digest it prints a checksum of everything the skim found (elements, file
// properties, raw units, parse order) instead of timing, to compare two builds.
//
// usage: skim_bench [-noparse] [-digest] FILELIST.tsv...
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "hdl/base/Language.h"
#include "hdl/base/Message.h"
#include "hdl/sort/FileSort.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/database/HADLBulkMemory.h"
#include "sift/scan/HADLInputChain.h"
#include "sift/scan/HADLNeedDecryptionCache.h"
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
    const unsigned code = hdl::LanguageByName(lang);
    return code == hdl::LANG_NONE ? unsigned(hdl::LANG_SV) : code;
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
    for (const Entry& e : files) db.insertFileName(e.path, e.lang, e.library);
    // As the run's set-up does before the first phase: every file undecided.
    NeedDecryptionCache::clear();
    fillNeedDecryptionCache(db);
    double start = cpuSeconds();
    for (const std::string& inc : incdirs) db.dirNames.insert(inc.c_str());
    HADLStringMatchTable noPrimitives;
    hadlDoSkim(db, noPrimitives);
    rawUnits = db.rUnitNames.size() - 1;
    return cpuSeconds() - start;
}

// FNV-1a over the texts and numbers of the skim's results.
struct Digest {
    uint64_t h = 1469598103934665603ull;
    void add(const void* data, size_t size) {
        for (size_t i = 0; i < size; ++i) h = (h ^ static_cast<const unsigned char*>(data)[i]) * 1099511628211ull;
    }
    void add(const std::string& s) { add(s.c_str(), s.size() + 1); }
    void add(unsigned v) { add(&v, sizeof v); }
    template <typename List>
    void addAll(const List& list) {
        add(unsigned(list.size()));
        for (unsigned v : list) add(v);
    }
    void add(const hdl::SortReference& r) {
        add(r.libraryName);
        add(r.unitName);
        add(r.instanceName);
        add(r.flags);
    }
};

uint64_t skimDigest() {
    const HADLSifter& db = HADLSifter::instance();
    Digest d;
    const hdl::FileElement* e = nullptr;
    for (unsigned i = 0; hdl::hdl_file_sort::FileAt(i, &e); ++i) {
        d.add(e->fileName);
        d.add(e->libraryName);
        d.add(e->language);
        for (const std::string& n : e->declaredNames) d.add(n);
        for (const hdl::SortReference& r : e->references) d.add(r);
        for (const hdl::SortUnit& u : e->units) {
            d.add(u.name);
            for (const hdl::SortReference& r : u.instances) d.add(r);
        }
    }
    for (unsigned id = 1; id < db.fileNames.size(); ++id) {
        d.add(std::string(db.fileNames.getString(id)));
        d.addAll(db.fileProps.at(id).includedFiles);
        d.addAll(db.fileProps.at(id).parsReqFiles);
        d.addAll(db.fileProps.at(id).parsOvrFiles);
    }
    for (unsigned id = 1; id < db.rUnitNames.size(); ++id) {
        const HADLDatabase::RUnitAttr& u = db.rUnitAttrs.at(id);
        d.add(std::string(db.rUnitNames.getString(id)));
        for (unsigned name : {u.libId, u.primaryId, u.secondaryId})
            d.add(std::string(name ? db.objNames.getString(name) : ""));
        d.addAll(u.fileIds);
        for (const HADLDatabase::RInstAttr& inst : u.insts) {
            d.add(std::string(inst.instnameId ? db.objNames.getString(inst.instnameId) : ""));
            d.add(inst.targetId);
        }
    }
    d.addAll(db.parseOrder);
    return d.h;
}

// Analyses the registered files of the last skim in its parse order.
double parseOnce(const std::vector<std::string>& incdirs) {
    const HADLSifter& db = HADLSifter::instance();
    hdl::veri_file::Reset();
    hdl::vhdl_file::Reset();
    hdl::veri_file::RegisterFlexStreamCallBack(openSourceStream);
    hdl::vhdl_file::RegisterFlexStreamCallBack(openSourceStream);
    double start = cpuSeconds();
    for (const std::string& inc : incdirs) hdl::veri_file::AddIncludeDir(inc.c_str());
    for (unsigned id : db.parseOrder) {
        const HADLDatabase::FileAttr& attr = db.fileAttrs.at(id);
        const char* name = db.fileNames.getString(id);
        const char* lib = db.objNames.getString(attr.libId);
        if (hdl::IsVhdlLanguage(attr.lang)) hdl::vhdl_file::Analyze(name, lib, attr.lang);
        else if (hdl::IsVerilogLanguage(attr.lang)) hdl::veri_file::Analyze(name, attr.lang, lib);
    }
    return cpuSeconds() - start;
}

// The fastest round of `step`, run at least five times and for two seconds.
template <typename Step>
double fastestRound(Step step) {
    double total = 0;
    double best = 1e30;
    for (int rounds = 0; rounds < 5 || total < 2.0; ++rounds) {
        double s = step();
        total += s;
        best = std::min(best, s);
    }
    return best;
}

} // namespace

int main(int argc, char** argv) {
    hadlKeepFreedMemory(); // as the program does
    hdl::Message::RegisterCallBackMsg(quiet);
    bool parse = true;
    bool digest = false;
    for (int a = 1; a < argc; ++a) {
        if (std::string(argv[a]) == "-noparse" || std::string(argv[a]) == "-digest") {
            parse = parse && std::string(argv[a]) != "-noparse";
            digest = digest || std::string(argv[a]) == "-digest";
            continue;
        }
        fs::path list(argv[a]);
        fs::path dir = list.parent_path();
        std::vector<Entry> files;
        std::vector<std::string> incdirs;
        std::ifstream in(list);
        uint64_t bytes = 0;
        for (std::string line; std::getline(in, line);) {
            if (line.empty() || line[0] == '#') continue;
            std::vector<std::string> cols;
            std::stringstream ss(line);
            for (std::string c; std::getline(ss, c, '\t');) cols.push_back(c);
            if (cols.size() == 2 && cols[0] == "incdir") incdirs.push_back((dir / cols[1]).string());
            else if (cols.size() == 3) {
                files.push_back(Entry{langCode(cols[0]), cols[1], (dir / cols[2]).string()});
                std::error_code ec;
                auto size = fs::file_size(files.back().path, ec);
                bytes += ec ? 0 : size;
            }
        }
        size_t rawUnits = 0;
        if (digest) {
            skimOnce(files, incdirs, rawUnits);
            std::printf("%-14s %6zu raw units  digest %016llx\n", dir.filename().c_str(), rawUnits,
                        static_cast<unsigned long long>(skimDigest()));
            continue;
        }
        double seconds = fastestRound([&] { return skimOnce(files, incdirs, rawUnits); });
        struct rusage usage;
        getrusage(RUSAGE_SELF, &usage);
        std::printf("%-14s %6zu files %7.2f MB  skim %8.4f cpu s %8.0f files/s %7.1f MB/s  %6zu raw units  peak %ld MB",
                    dir.filename().c_str(), files.size(), bytes / 1e6, seconds, files.size() / seconds,
                    bytes / 1e6 / seconds, rawUnits, usage.ru_maxrss / 1024);
        if (parse) {
            double parsing = fastestRound([&] { return parseOnce(incdirs); });
            std::printf("  parse %7.1f MB/s  skim %.1fx faster", bytes / 1e6 / parsing, parsing / seconds);
        }
        std::printf("\n");
        std::fflush(stdout);
    }
    return 0;
}
