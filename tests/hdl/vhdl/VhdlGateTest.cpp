// Gates over real sources: the project corpus, the VHDL-2008/2019 compliance
// testbenches and the standard package sources must analyse without errors.
#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "VhdlTestUtil.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlParser.h"
#include "hdl/vhdl/VhdlPrettyPrinter.h"

#ifndef SIFT_SHARED_DIR
#define SIFT_SHARED_DIR ""
#endif
#ifndef VHDL_KNOWN_FAILURES
#define VHDL_KNOWN_FAILURES ""
#endif

namespace hdl {
namespace {

bool IsDir(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::vector<std::string> ListDir(const std::string& dir, const std::string& suffix) {
    std::vector<std::string> out;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d)) {
            std::string n = e->d_name;
            if (n.size() > suffix.size() && n.compare(n.size() - suffix.size(), suffix.size(), suffix) == 0)
                out.push_back(dir + "/" + n);
        }
        closedir(d);
    }
    std::sort(out.begin(), out.end());
    return out;
}

unsigned ModeOf(const std::string& lang) {
    if (lang == "vhdl87") return VHDL_87;
    if (lang == "vhdl2k") return VHDL_2K;
    if (lang == "vhdl08") return VHDL_2008;
    if (lang == "vhdl19") return VHDL_2019;
    return VHDL_93;
}

// Errors of one analysis, as text.
std::string AnalyzeErrors(const std::string& path, const std::string& library, unsigned mode) {
    test::MessageCapture capture;
    vhdl_file::Analyze(path.c_str(), library.c_str(), mode);
    return capture.Errors();
}

// The files of a set in an order that analyses every unit before its users, which
// directory order does not: a file that names a unit not analysed yet (in a context
// clause, or as the primary unit of a body) moves to the end, and the set is analysed
// again until none does.
std::vector<std::string> AnalysisOrder(std::vector<std::string> files, const std::string& library, unsigned mode) {
    for (size_t pass = 0; pass < files.size(); ++pass) {
        vhdl_file::Reset();
        std::vector<std::string> ready, late;
        for (const std::string& file : files) {
            test::MessageCapture capture;
            vhdl_file::Analyze(file.c_str(), library.c_str(), mode);
            bool missing = std::any_of(capture.All().begin(), capture.All().end(), [](const test::CapturedMessage& m) {
                return m.id == "VHDL-1505" || m.id == "VHDL-1503";
            });
            (missing ? late : ready).push_back(file);
        }
        if (late.empty()) break;
        ready.insert(ready.end(), late.begin(), late.end());
        files = std::move(ready);
    }
    vhdl_file::Reset();
    return files;
}

// Prints every unit of every library and parses the text again; returns the names
// of units whose reparsed tree differs.
std::vector<std::string> RoundTripFailures(const std::string& skipLibrary = "") {
    std::vector<std::string> failures;
    auto check = [&](const VhdlDesignUnit* unit) {
        std::string text = VhdlPrettyText(unit);
        Arena arena;
        test::MessageCapture capture;
        VhdlLexer lexer(text, 0, unit->languageMode);
        VhdlParser parser(arena, text, lexer.Tokenize(), 0, unit->languageMode);
        std::vector<VhdlDesignUnit*> again = parser.ParseDesignFile();
        if (parser.ErrorCount() || again.size() != 1 || !again[0]->IsEqual(unit))
            failures.push_back(std::string(unit->Id()->OrigName()) + ": " + capture.Errors() + text);
    };
    for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
        if (lib->Name() == skipLibrary) continue;
        for (VhdlPrimaryUnit* unit : lib->PrimaryUnits()) {
            check(unit);
            for (VhdlSecondaryUnit* secondary : unit->GetSecondaryUnits()) check(secondary);
        }
    }
    return failures;
}

TEST(VhdlGate, CorpusFilesAnalyseWithoutErrors) {
    std::string corpus = std::string(SIFT_SHARED_DIR) + "/corpus";
    if (!IsDir(corpus)) GTEST_SKIP() << "no corpus at " << corpus;
    vhdl_file::Reset();
    unsigned files = 0;
    DIR* d = opendir(corpus.c_str());
    std::vector<std::string> projects;
    while (dirent* e = readdir(d)) {
        if (e->d_name[0] != '.') projects.push_back(corpus + "/" + e->d_name);
    }
    closedir(d);
    std::sort(projects.begin(), projects.end());
    for (const std::string& project : projects) {
        std::ifstream list(project + "/FILELIST.tsv");
        std::string line;
        while (std::getline(list, line)) {
            if (line.empty() || line[0] == '#') continue;
            std::istringstream fields(line);
            std::string lang, lib, path;
            std::getline(fields, lang, '\t');
            std::getline(fields, lib, '\t');
            std::getline(fields, path, '\t');
            if (lang.rfind("vhdl", 0) != 0) continue;
            ++files;
            EXPECT_EQ(AnalyzeErrors(project + "/" + path, lib, ModeOf(lang)), "") << path;
        }
    }
    EXPECT_GT(files, 0u);
    EXPECT_EQ(RoundTripFailures(), std::vector<std::string>());
    vhdl_file::Reset();
}

TEST(VhdlGate, ComplianceTestbenchesParse) {
    std::string root = std::string(SIFT_SHARED_DIR) + "/conformance/vhdl-compliance";
    if (!IsDir(root)) GTEST_SKIP() << "no compliance suite at " << root;
    std::set<std::string> known;
    std::ifstream knownList(VHDL_KNOWN_FAILURES);
    std::string line;
    while (std::getline(knownList, line)) {
        if (!line.empty() && line[0] != '#') known.insert(line);
    }
    vhdl_file::Reset();
    unsigned total = 0, passed = 0;
    std::vector<std::string> fixed;
    for (auto [dir, mode] : {std::pair<const char*, unsigned>{"vhdl_2008", VHDL_2008}, {"vhdl_2019", VHDL_2019}}) {
        for (const std::string& file : ListDir(root + "/" + dir, ".vhd")) {
            std::string rel = std::string(dir) + "/" + file.substr(file.rfind('/') + 1);
            // Files known to fail go to a library of their own, left out of the round trip.
            std::string errors = AnalyzeErrors(file, known.count(rel) ? "known_failures" : "work", mode);
            ++total;
            if (errors.empty()) ++passed;
            if (known.count(rel)) {
                if (errors.empty()) fixed.push_back(rel);
            } else {
                EXPECT_EQ(errors, "") << rel << " regressed (not in the known-failure list)";
            }
        }
    }
    std::printf("compliance: %u of %u testbenches parse without errors\n", passed, total);
    EXPECT_EQ(RoundTripFailures("known_failures"), std::vector<std::string>());
    for (const std::string& f : fixed) std::printf("now passing, remove from the known-failure list: %s\n", f.c_str());
    EXPECT_GT(total, 0u);
    vhdl_file::Reset();
}

TEST(VhdlGate, StandardPackageSourcesParse) {
    const std::string root = "/usr/lib/ghdl/src";
    if (!IsDir(root)) GTEST_SKIP() << "standard package sources not installed";
    struct Set {
        const char* dir;
        const char* library;
        unsigned mode;
        const char* base; // the set whose packages this one uses, analysed first
        const char* std; // the std set it sees, so that its names are judged
    };
    const Set sets[] = {{"std/v87", "std", VHDL_87, nullptr, nullptr},
                        {"std/v93", "std", VHDL_93, nullptr, nullptr},
                        {"std/v08", "std", VHDL_2008, nullptr, nullptr},
                        {"ieee/v87", "ieee", VHDL_87, nullptr, "std/v87"},
                        {"ieee/v93", "ieee", VHDL_93, nullptr, "std/v93"},
                        {"ieee", "ieee", VHDL_93, nullptr, "std/v93"},
                        {"ieee2008", "ieee", VHDL_2008, nullptr, "std/v08"},
                        {"synopsys", "ieee", VHDL_93, "ieee/v93", "std/v93"},
                        {"synopsys/v08", "ieee", VHDL_2008, "ieee2008", "std/v08"},
                        {"vital2000", "ieee", VHDL_93, "ieee/v93", "std/v93"},
                        {"upf", "ieee", VHDL_2008, "ieee2008", "std/v08"}};
    // Package declarations before bodies, as a compile script would order them.
    auto sources = [&](const char* dir) {
        std::vector<std::string> list = ListDir(root + "/" + dir, ".vhdl");
        std::stable_partition(list.begin(), list.end(),
                              [](const std::string& f) { return f.find("-body.vhdl") == std::string::npos; });
        return list;
    };
    unsigned files = 0;
    for (const Set& set : sets) {
        std::vector<std::string> list = set.base ? sources(set.base) : std::vector<std::string>();
        std::vector<std::string> own = sources(set.dir);
        list.insert(list.end(), own.begin(), own.end());
        files += unsigned(own.size());
        std::vector<std::string> order = AnalysisOrder(list, set.library, set.mode);
        if (set.std) {
            for (const std::string& file : sources(set.std))
                EXPECT_EQ(AnalyzeErrors(file, "std", set.mode), "") << file;
        }
        for (const std::string& file : order) EXPECT_EQ(AnalyzeErrors(file, set.library, set.mode), "") << file;
        EXPECT_EQ(RoundTripFailures(), std::vector<std::string>()) << set.dir;
    }
    EXPECT_GT(files, 0u);
    vhdl_file::Reset();
}

} // namespace
} // namespace hdl
