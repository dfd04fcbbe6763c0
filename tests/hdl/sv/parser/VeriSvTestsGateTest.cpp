// sv-tests conformance gate: every test not marked to fail preprocesses and parses
// without error (the tests tagged uvm after the UVM package); every should-fail test of type parsing or preprocessing yields an error.
// Failures listed in the known-failures file are tolerated; any other failure fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriPrettyPrinter.h"

namespace {

namespace fs = std::filesystem;

unsigned gErrors = 0;

void countErrors(hdl::msg_type_t type, const char*, const hdl::ColLineFile*, const char*, va_list) {
    if (type == hdl::MSG_ERROR) ++gErrors;
}

struct Header {
    std::string tags, type, shouldFail, defines, incdirs, files;
};

Header readHeader(const fs::path& file) {
    Header h;
    std::ifstream in(file);
    std::string line;
    auto field = [&](const char* key, std::string& out) {
        size_t at = line.find(key);
        if (at == std::string::npos) return;
        out = line.substr(at + std::string(key).size());
        while (!out.empty() && (out.front() == ' ' || out.front() == '\t')) out.erase(out.begin());
        while (!out.empty() && (out.back() == ' ' || out.back() == '\r')) out.pop_back();
    };
    for (int n = 0; n < 60 && std::getline(in, line); ++n) {
        field(":tags:", h.tags);
        field(":type:", h.type);
        field(":should_fail_because:", h.shouldFail);
        field(":defines:", h.defines);
        field(":incdirs:", h.incdirs);
        field(":files:", h.files);
    }
    return h;
}

std::vector<std::string> words(const std::string& text) {
    std::istringstream s(text);
    std::vector<std::string> out;
    for (std::string w; s >> w;) out.push_back(w);
    return out;
}

// All units of all libraries, printed in order: packages, then what the compilation unit
// declares outside units (which the library holds last, and which may import the
// packages), then the other units, which may name both.
std::string printAll() {
    std::string text;
    std::set<const hdl::VeriModule*> printed;
    for (int pass = 0; pass < 3; ++pass)
        for (hdl::VeriLibrary* lib : hdl::veri_file::AllLibraries())
            for (hdl::VeriModule* m : lib->AllModules())
                if ((pass == 0 && m->IsPackage()) || (pass == 1 && m->IsRootModule()) ||
                    (pass == 2 && !m->IsPackage() && !m->IsRootModule()))
                    if (printed.insert(m).second) text += hdl::VeriPrettyPrinter::toString(*m);
    return text;
}

// Whether the print of what was just analysed parses back to the same print.
bool printRoundTrips() {
    std::string first = printAll();
    hdl::veri_file::Reset();
    gErrors = 0;
    hdl::veri_file::AnalyzeText(first, "printed.sv");
    return gErrors == 0 && printAll() == first;
}

std::set<std::string> knownFailures() {
    std::set<std::string> out;
    std::ifstream in(SV_PARSE_KNOWN_FAILURES);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line[0] != '#') out.insert(line);
    }
    return out;
}

// The LRM chapter of a test: the leading number of its first tag, else its folder.
std::string chapterOf(const Header& h, const fs::path& file) {
    std::vector<std::string> tags = words(h.tags);
    if (!tags.empty()) {
        std::string t = tags[0];
        size_t dot = t.find('.');
        return dot == std::string::npos ? t : t.substr(0, dot);
    }
    return file.parent_path().filename().string();
}

TEST(SvTestsGate, ParsesAsTheSuiteExpects) {
    fs::path root = fs::path(SIFT_SHARED_DIR) / "conformance" / "sv-tests";
    if (!fs::is_directory(root / "tests")) GTEST_SKIP() << "sv-tests not present";
    std::vector<fs::path> files;
    for (const auto& e : fs::recursive_directory_iterator(root / "tests")) {
        if (e.is_regular_file() && e.path().extension() == ".sv") files.push_back(e.path());
    }
    std::sort(files.begin(), files.end());
    fs::path uvmSrc = fs::path(SIFT_SHARED_DIR) / "conformance" / "uvm" / "src";
    if (!fs::is_regular_file(uvmSrc / "uvm_pkg.sv")) GTEST_SKIP() << "UVM sources not present";
    std::set<std::string> known = knownFailures();
    std::map<std::string, std::pair<unsigned, unsigned>> perChapter; // passed, counted
    std::vector<std::string> unexpected;
    std::vector<std::string> nowPassing;
    hdl::MsgCallBack previous = hdl::Message::GetCallBackMsg();
    hdl::Message::RegisterCallBackMsg(countErrors);
    unsigned passed = 0, counted = 0;
    for (const fs::path& file : files) {
        Header h = readHeader(file);
        bool shouldFail = !h.shouldFail.empty();
        bool syntaxLevel =
            h.type.find("parsing") != std::string::npos || h.type.find("preprocessing") != std::string::npos;
        if (shouldFail && !syntaxLevel) continue; // fails only at elaboration or later
        hdl::veri_file::Reset();
        std::vector<std::string> tags = words(h.tags);
        bool uvm = std::find(tags.begin(), tags.end(), "uvm") != tags.end();
        for (const std::string& d : words(h.defines)) hdl::veri_file::DefineMacro(d.c_str());
        // As the suite's own runners do: the UVM package first, its sources the first include folder.
        if (uvm) hdl::veri_file::AddIncludeDir((uvmSrc).string().c_str());
        for (const std::string& d : words(h.incdirs)) hdl::veri_file::AddIncludeDir((root / d).string().c_str());
        hdl::veri_file::AddIncludeDir(file.parent_path().string().c_str());
        std::vector<std::string> sources;
        if (uvm) sources.push_back((uvmSrc / "uvm_pkg.sv").string());
        for (const std::string& f : words(h.files)) sources.push_back((root / f).string());
        if (sources.size() == (uvm ? 1u : 0u)) sources.push_back(file.string());
        gErrors = 0;
        hdl::veri_file::AnalyzeMultipleFiles(sources, hdl::SYSTEM_VERILOG, "work");
        bool ok = shouldFail ? gErrors > 0 : gErrors == 0;
        if (ok && !shouldFail && !printRoundTrips())
            ADD_FAILURE() << "printed tree does not parse back to the same print: " << file.string();
        std::string rel = fs::relative(file, root).string();
        auto& chapter = perChapter[chapterOf(h, file)];
        ++chapter.second;
        ++counted;
        if (ok) {
            ++chapter.first;
            ++passed;
            if (known.count(rel)) nowPassing.push_back(rel);
        } else if (!known.count(rel)) {
            unexpected.push_back(rel);
        }
    }
    hdl::Message::RegisterCallBackMsg(previous);
    hdl::veri_file::Reset();
    std::printf("sv-tests parse gate: %u of %u pass\n", passed, counted);
    for (const auto& c : perChapter)
        std::printf("  chapter %-8s %4u / %4u  %5.1f%%\n", c.first.c_str(), c.second.first, c.second.second,
                    100.0 * c.second.first / c.second.second);
    for (const std::string& f : nowPassing) std::printf("  now passing (drop from the known list): %s\n", f.c_str());
    for (const std::string& f : unexpected) ADD_FAILURE() << "unexpected failure: " << f;
}

} // namespace
