// The token stream over third-party sources: the preprocessing tests of sv-tests and
// the Verilog files of the corpus projects. Both are read in place and skipped when
// the shared folder is absent.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "LexTestSupport.h"
#include "hdl/sv/VeriPreprocessor.h"

using namespace hdl;
namespace fs = std::filesystem;

namespace {

const fs::path kShared = SIFT_SHARED_DIR;

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// One value of a ":key:" header line of an sv-tests file; empty when absent.
std::string headerValue(const std::string& text, const std::string& key) {
    size_t at = text.find("\n:" + key + ":");
    if (at == std::string::npos) return "";
    size_t b = at + key.size() + 3;
    size_t e = text.find('\n', b);
    std::string v = text.substr(b, e == std::string::npos ? std::string::npos : e - b);
    v.erase(0, v.find_first_not_of(" \t"));
    v.erase(v.find_last_not_of(" \t\r") + 1);
    return v;
}

std::vector<std::string> words(const std::string& s) {
    std::istringstream in(s);
    std::vector<std::string> out;
    for (std::string w; in >> w;) out.push_back(w);
    return out;
}

bool tagInChapter(const std::string& tags, const char* chapter) {
    for (const std::string& t : words(tags)) {
        std::string c = chapter;
        if (t == c || t.rfind(c + ".", 0) == 0) return true;
    }
    return false;
}

// The number of errors, and their text.
size_t errorsOf(const std::string& path, const VeriPreprocessorOptions& opts, std::string& text) {
    hdl::test::MessageCapture mc;
    VeriPreprocessor pp(opts);
    if (pp.pushFile(path)) hdl::test::allTokens(pp);
    text = mc.all();
    return mc.errors();
}

} // namespace

TEST(VeriConformance, SvTestsPreprocessing) {
    fs::path tests = kShared / "conformance/sv-tests/tests";
    if (!fs::is_directory(tests)) GTEST_SKIP() << "no sv-tests at " << tests;
    std::set<std::string> known;
    {
        std::ifstream in(SV_LEX_KNOWN_FAILURES);
        for (std::string line; std::getline(in, line);)
            if (!line.empty() && line[0] != '#') known.insert(line);
    }
    std::vector<fs::path> files;
    for (const auto& e : fs::recursive_directory_iterator(tests))
        if (e.is_regular_file() && (e.path().extension() == ".sv" || e.path().extension() == ".v"))
            files.push_back(e.path());
    std::sort(files.begin(), files.end());
    size_t checked = 0;
    std::vector<std::string> failures;
    for (const fs::path& file : files) {
        std::string text = readFile(file);
        std::string type = headerValue(text, "type");
        std::string tags = headerValue(text, "tags");
        bool preprocessing = type.find("preprocessing") != std::string::npos;
        if (!preprocessing && !tagInChapter(tags, "5") && !tagInChapter(tags, "22")) continue;
        bool shouldFail = !headerValue(text, "should_fail_because").empty();
        if (shouldFail && !preprocessing) continue; // its fault lies beyond the token stream
        VeriPreprocessorOptions opts;
        opts.defines = words(headerValue(text, "defines"));
        for (const std::string& inc : words(headerValue(text, "incdirs")))
            opts.includeDirs.push_back((kShared / "conformance/sv-tests" / inc).string());
        std::string messages;
        size_t errors = errorsOf(file.string(), opts, messages);
        ++checked;
        if ((errors > 0) != shouldFail) {
            failures.push_back(fs::relative(file, tests).string());
            if (!known.count(failures.back())) std::cout << failures.back() << ":\n" << messages;
        }
    }
    EXPECT_GT(checked, 100u);
    for (const std::string& f : failures) EXPECT_TRUE(known.count(f)) << "new failure: " << f;
    for (const std::string& k : known)
        EXPECT_TRUE(std::find(failures.begin(), failures.end(), k) != failures.end())
            << "passes now, remove from the known list: " << k;
    std::cout << "sv-tests checked " << checked << ", failing " << failures.size() << "\n";
}

TEST(VeriConformance, CorpusVerilogPreprocessesCleanly) {
    fs::path corpus = kShared / "corpus";
    if (!fs::is_directory(corpus)) GTEST_SKIP() << "no corpus at " << corpus;
    std::vector<fs::path> projects;
    for (const auto& e : fs::directory_iterator(corpus))
        if (fs::exists(e.path() / "FILELIST.tsv")) projects.push_back(e.path());
    std::sort(projects.begin(), projects.end());
    size_t bytes = 0;
    size_t tokens = 0;
    double seconds = 0;
    for (const fs::path& project : projects) {
        std::ifstream list(project / "FILELIST.tsv");
        std::vector<std::pair<std::string, unsigned>> files;
        VeriPreprocessorOptions opts;
        for (std::string line; std::getline(list, line);) {
            if (line.empty() || line[0] == '#') continue;
            std::vector<std::string> cols;
            std::istringstream ss(line);
            for (std::string c; std::getline(ss, c, '\t');) cols.push_back(c);
            if (cols.size() == 2 && cols[0] == "incdir") opts.includeDirs.push_back((project / cols[1]).string());
            if (cols.size() < 3) continue;
            unsigned lang = cols[0] == "v95" ? 1 : cols[0] == "v2k" ? 2 : cols[0] == "sv" ? 5 : 0;
            if (lang) files.emplace_back((project / cols[2]).string(), lang);
        }
        for (const auto& [path, lang] : files) {
            hdl::test::MessageCapture mc;
            opts.language = lang;
            VeriPreprocessor pp(opts);
            auto start = std::chrono::steady_clock::now();
            ASSERT_TRUE(pp.pushFile(path)) << path;
            for (VeriToken t = pp.next(); t.kind != VT_EOF; t = pp.next()) ++tokens;
            seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            bytes += fs::file_size(path);
            EXPECT_EQ(mc.errors(), 0u) << path << "\n" << mc.all();
        }
    }
    std::cout << "corpus: " << bytes << " bytes, " << tokens << " tokens, " << seconds << " s, "
              << (seconds > 0 ? bytes / seconds / 1e6 : 0) << " MB/s\n";
}
