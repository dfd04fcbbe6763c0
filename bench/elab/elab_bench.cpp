// Elaboration speed and memory. For each FILELIST.tsv the VHDL files are analysed (after
// the standard libraries of their edition), or the Verilog files (with the list's include
// directories), then the top (the list's `top`, or -top) is elaborated. Reported: the time of the analysis (the parse) and of elaboration, the
// distinct units and instance statements of the elaborated design, its instance paths,
// paths per second, and the memory that elaboration added. With -runs N elaboration is
// repeated: the first run is the one a scan pays (it makes the copies and stores them in
// the libraries, where later runs find them), so it is reported on its own, beside the
// fastest of the later runs ("again"). With -repeat N the whole analysis and first run
// are done N times afresh and the fastest of each is reported (the machine is shared:
// the best of several is the figure that compares). With -ghdl, `ghdl -a`, `ghdl -e` and
// `ghdl -r --stop-time=0ns` (GHDL's mcode back-end elaborates when it runs) of the same
// files are timed beside, with their peak memory; with -verilator, `verilator --lint-only`
// of the Verilog files.
//   elab_bench [-runs N] [-repeat N] [-ghdl] [-verilator] [-top NAME] FILELIST.tsv...
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

#include "hdl/base/Language.h"
#include "hdl/base/Message.h"
#include "hdl/elab/ElabDesign.h"
#include "hdl/elab/VeriElaborator.h"
#include "hdl/elab/VhdlElaborator.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/scan/HADLStdLibs.h"

extern char** environ;

namespace {

struct File {
    std::string path;
    std::string library;
    unsigned mode;
    std::string std; // for ghdl
};

struct Project {
    std::string dir;
    std::vector<File> files;
    std::vector<File> verilog;
    std::vector<std::string> incdirs;
    std::string top;
};

unsigned errors = 0;
void countErrors(hdl::msg_type_t type, const char*, const hdl::ColLineFile*, const char*, va_list) {
    if (type == hdl::MSG_ERROR) ++errors;
}

Project ReadList(const std::string& list) {
    Project p;
    size_t slash = list.rfind('/');
    p.dir = slash == std::string::npos ? "." : list.substr(0, slash);
    std::ifstream in(list);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream cols(line);
        std::string kind, a, b;
        std::getline(cols, kind, '\t');
        std::getline(cols, a, '\t');
        std::getline(cols, b, '\t');
        if (kind == "top") p.top = a;
        else if (kind == "incdir") p.incdirs.push_back(p.dir + "/" + a);
        else if (hdl::IsVerilogLanguage(hdl::LanguageByName(kind.c_str())))
            p.verilog.push_back({p.dir + "/" + b, a, hdl::LanguageByName(kind.c_str()), ""});
        else if (hdl::IsVhdlLanguage(hdl::LanguageByName(kind.c_str()))) {
            unsigned mode = hdl::LanguageByName(kind.c_str());
            p.files.push_back({p.dir + "/" + b, a, mode, mode >= hdl::VHDL_2008 ? "08" : "93c"});
        }
    }
    return p;
}

double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

long ResidentKb() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0, resident = 0;
    statm >> pages >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

// Instance paths below each unit, the unit itself included.
uint64_t Paths(const hdl::ElabDesign& d, hdl::ElabUnitId u, std::unordered_map<hdl::ElabUnitId, uint64_t>& memo) {
    auto it = memo.find(u);
    if (it != memo.end()) return it->second;
    uint64_t n = 1;
    for (const hdl::ElabInstance& i : d.Unit(u).instances) n += Paths(d, i.unit, memo);
    memo[u] = n;
    return n;
}

// Runs a command; its time and peak memory.
bool Run(const std::vector<std::string>& argv, const std::string& dir, double& seconds, long& peakKb) {
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    std::string cwd = std::string(getcwd(nullptr, 0));
    if (chdir(dir.c_str()) != 0) return false;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", 0x241 /* O_WRONLY|O_CREAT|O_TRUNC */, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", 0x241, 0644);
    auto start = std::chrono::steady_clock::now();
    pid_t pid;
    int rc = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (chdir(cwd.c_str()) != 0) return false;
    if (rc != 0) return false;
    int status = 0;
    struct rusage usage {};
    wait4(pid, &status, 0, &usage);
    seconds = Seconds(start);
    peakKb = usage.ru_maxrss;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void Ghdl(const Project& p, const std::string& top) {
    char scratch[] = "/tmp/elab_bench_ghdl_XXXXXX";
    if (!mkdtemp(scratch)) return;
    std::string std = "93c";
    for (const File& f : p.files)
        if (f.std == "08") std = "08";
    double analyse = 0, t = 0;
    long peak = 0;
    bool ok = true;
    for (const File& f : p.files) {
        ok = ok && Run({"ghdl", "-a", "--std=" + std, "-frelaxed", "--work=" + f.library, f.path}, scratch, t, peak);
        analyse += t;
    }
    double elaborate = 0, run = 0;
    long elabPeak = 0, runPeak = 0;
    ok = ok && Run({"ghdl", "-e", "--std=" + std, "-frelaxed", top}, scratch, elaborate, elabPeak);
    bool ran = ok && Run({"ghdl", "-r", "--std=" + std, "-frelaxed", top, "--stop-time=0ns"}, scratch, run, runPeak);
    std::printf("  ghdl: -a %.3f s, -e %.3f s (%ld MB), -r --stop-time=0ns %.3f s (%ld MB)%s\n", analyse, elaborate,
                elabPeak / 1024, run, runPeak / 1024, ok && ran ? "" : " (failed)");
    std::string rm = std::string("rm -rf ") + scratch;
    if (std::system(rm.c_str()) != 0) std::fprintf(stderr, "could not remove %s\n", scratch);
}

void Verilator(const Project& p, const std::string& top) {
    std::vector<std::string> cmd{"verilator",  "--lint-only",  "-Wno-fatal", "-Wno-lint",
                                 "-Wno-style", "--top-module", top};
    for (const std::string& d : p.incdirs) cmd.push_back("-I" + d);
    for (const File& f : p.verilog) cmd.push_back(f.path);
    double t = 0;
    long peak = 0;
    bool ok = Run(cmd, ".", t, peak); // the file paths are relative to here
    std::printf("  verilator --lint-only: %.3f s (%ld MB)%s\n", t, peak / 1024, ok ? "" : " (failed)");
}

// The fastest repeated run, when there was one.
std::string Again(double best) {
    if (best >= 1e30) return "";
    char text[48];
    std::snprintf(text, sizeof text, " (again %.3f s)", best);
    return text;
}

// What one analysis and its elaboration runs measured; the fastest of repeats is kept.
struct Figures {
    double parse = 1e30, first = 1e30, again = 1e30;
    unsigned parseErrors = 0, elabErrors = 0;
    long added = -1;
    uint64_t paths = 0, statements = 0;
    size_t units = 0;
};

// Elaborates `runs` times: the first run (the one a scan pays, making the copies), the
// fastest later one (copies already stored), paths, memory (of the first repeat).
void TimeElaboration(Figures& f, int runs, const std::function<void(hdl::ElabDesign&)>& elaborate) {
    unsigned before = errors;
    for (int r = 0; r < runs; ++r) {
        long resident = ResidentKb();
        hdl::ElabDesign design;
        auto t0 = std::chrono::steady_clock::now();
        elaborate(design);
        double t = Seconds(t0);
        if (r > 0) {
            f.again = std::min(f.again, t);
            continue;
        }
        f.first = std::min(f.first, t);
        if (f.added >= 0) continue;
        f.added = ResidentKb() - resident;
        f.elabErrors = errors - before;
        std::unordered_map<hdl::ElabUnitId, uint64_t> memo;
        for (const hdl::ElabTop& tp : design.tops) f.paths += Paths(design, tp.unit, memo);
        f.units = design.UnitCount();
        for (hdl::ElabUnitId u = 1; u <= design.UnitCount(); ++u) f.statements += design.Unit(u).instances.size();
    }
}

void Print(const std::string& list, const std::string& top, const Figures& f) {
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%s (%s): parse %.3f s (%u errors), elaborate %.3f s%s (%u errors); %zu units, %llu instance "
                "statements, %llu instance paths, %.0f paths/s; elaboration added %ld MB, peak %ld MB\n",
                list.c_str(), top.c_str(), f.parse, f.parseErrors, f.first, Again(f.again).c_str(), f.elabErrors,
                f.units, static_cast<unsigned long long>(f.statements), static_cast<unsigned long long>(f.paths),
                f.first > 0 ? double(f.paths) / f.first : 0.0, f.added / 1024, usage.ru_maxrss / 1024);
}

void BenchVerilog(const std::string& list, const Project& p, const std::string& top, int runs, int repeat,
                  bool verilator) {
    Figures f;
    for (int r = 0; r < repeat; ++r) {
        hdl::veri_file::Reset();
        for (const std::string& d : p.incdirs) hdl::veri_file::AddIncludeDir(d.c_str());
        errors = 0;
        auto start = std::chrono::steady_clock::now();
        for (const File& file : p.verilog) hdl::veri_file::Analyze(file.path.c_str(), file.mode, file.library.c_str());
        f.parse = std::min(f.parse, Seconds(start));
        f.parseErrors = errors;
        TimeElaboration(f, runs, [&](hdl::ElabDesign& design) { hdl::VeriElaborate(design, {{top, "", ""}}, {}); });
    }
    Print(list, top, f);
    if (verilator) Verilator(p, top);
}

void BenchVhdl(const std::string& list, const Project& p, const std::string& top, int runs, int repeat, bool ghdl) {
    Figures f;
    std::vector<unsigned> modes;
    for (const File& file : p.files) modes.push_back(file.mode);
    for (int r = 0; r < repeat; ++r) {
        hdl::vhdl_file::Reset();
        for (const HADLStdLibFile& lib : HADLStdLibs::vhdlSources(HADLStdLibs::vhdlStdLevel(modes, false)))
            hdl::vhdl_file::Analyze(lib.path.c_str(), lib.library.c_str(), lib.lang);
        errors = 0;
        auto start = std::chrono::steady_clock::now();
        for (const File& file : p.files) hdl::vhdl_file::Analyze(file.path.c_str(), file.library.c_str(), file.mode);
        hdl::vhdl_file::ResolveAll();
        f.parse = std::min(f.parse, Seconds(start));
        f.parseErrors = errors;
        TimeElaboration(f, runs, [&](hdl::ElabDesign& design) { hdl::VhdlElaborate(design, {{top, "", ""}}, {}); });
    }
    Print(list, top, f);
    if (ghdl) Ghdl(p, top);
}

} // namespace

int main(int argc, char** argv) {
    int runs = 1, repeat = 1;
    bool ghdl = false;
    bool verilator = false;
    std::string topOption;
    std::vector<std::string> lists;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "-runs" && i + 1 < argc) runs = std::max(1, std::atoi(argv[++i]));
        else if (a == "-repeat" && i + 1 < argc) repeat = std::max(1, std::atoi(argv[++i]));
        else if (a == "-ghdl") ghdl = true;
        else if (a == "-verilator") verilator = true;
        else if (a == "-top" && i + 1 < argc) topOption = argv[++i];
        else lists.push_back(a);
    }
    if (lists.empty()) {
        std::fprintf(stderr,
                     "usage: elab_bench [-runs N] [-repeat N] [-ghdl] [-verilator] [-top NAME] FILELIST.tsv...\n");
        return 2;
    }
    hdl::Message::RegisterCallBackMsg(countErrors);
    // The standard libraries come from LOOM_DATADIR, else from the source tree's data/.
    const char* dataDir = std::getenv("LOOM_DATADIR");
    if (!dataDir || !*dataDir) setenv("LOOM_DATADIR", SIFT_DATA_DIR, 1);
    for (const std::string& list : lists) {
        Project p = ReadList(list);
        std::string top = topOption.empty() ? p.top : topOption;
        if (!p.verilog.empty() && !top.empty()) BenchVerilog(list, p, top, runs, repeat, verilator);
        else if (p.files.empty() || top.empty()) std::printf("%s: no VHDL files or no top\n", list.c_str());
        else BenchVhdl(list, p, top, runs, repeat, ghdl);
    }
    return 0;
}
