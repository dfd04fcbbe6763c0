// Real designs of the corpus elaborate without a message, and a broken variant of each
// (one mistake put into the real text: a misspelt generic, a missing use clause, an
// entity that does not exist, a generic out of its range) fails with the message GHDL
// gives for it, while the rest of the design still elaborates.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "ElabTestUtil.h"
#include "hdl/base/Language.h"
#include "hdl/elab/ElabHierPrinter.h"
#include "hdl/elab/VhdlElaborator.h"
#include "hdl/vhdl/VhdlLibrary.h"

namespace hdl {
namespace {

struct ProjectFile {
    std::string language;
    std::string library;
    std::string path;
};

class VhdlCorpusElabTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!test::LoadStandardLibraries()) GTEST_SKIP() << "standard libraries not arranged";
    }

    // The VHDL files of a corpus project, or none when the corpus is absent.
    std::vector<ProjectFile> Files(const std::string& project, std::string& top) {
        root = std::string(SIFT_SHARED_DIR) + "/corpus/" + project + "/";
        std::ifstream list(root + "FILELIST.tsv");
        std::vector<ProjectFile> files;
        std::string line;
        while (std::getline(list, line)) {
            std::istringstream cols(line);
            std::string kind, a, b;
            std::getline(cols, kind, '\t');
            std::getline(cols, a, '\t');
            std::getline(cols, b, '\t');
            if (kind == "top") top = a;
            else if (kind.rfind("vhdl", 0) == 0) files.push_back({kind, a, b});
        }
        return files;
    }

    static std::string Read(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        return text.str();
    }

    // Analyses the project into libraries of this run, with `mutate` applied to the text
    // of the file named `file`; elaborates the top. The hierarchy.
    std::string Elaborate(const std::string& project, const std::string& file = "",
                          std::string (*mutate)(std::string) = nullptr) {
        std::string top;
        std::vector<ProjectFile> files = Files(project, top);
        if (files.empty()) return "";
        // Each run analyses the whole project again, so that no unit of an earlier variant
        // stays in use.
        test::MessageCapture capture;
        std::string topLibrary;
        bool mutated = false;
        for (const ProjectFile& f : files) {
            std::string text = Read(root + f.path);
            bool named =
                f.path == file || (f.path.size() > file.size() &&
                                   f.path.compare(f.path.size() - file.size() - 1, std::string::npos, "/" + file) == 0);
            if (mutate && named) {
                std::string changed = mutate(text);
                EXPECT_NE(changed, text) << "the mutation of " << f.path << " changed nothing";
                text = changed;
                mutated = true;
            }
            unsigned mode = LanguageByName(f.language.c_str());
            vhdl_file::AnalyzeText(text, (root + f.path).c_str(), f.library.c_str(), mode);
            if (text.find("entity " + top) != std::string::npos) topLibrary = f.library;
        }
        EXPECT_EQ(mutated, mutate != nullptr) << file << " is not a file of " << project;
        analysisErrors = capture.Count(MSG_ERROR);
        vhdl_file::ResolveAll();
        ElabDesign design;
        VhdlElaborate(design, {{top, topLibrary, ""}}, {});
        messages = capture.All();
        std::ostringstream out;
        ElabPrintHier(design, out);
        return out.str();
    }

    bool Has(const std::string& id, const std::string& part) const {
        return std::any_of(messages.begin(), messages.end(), [&](const test::CapturedMessage& m) {
            return m.id == id && m.text.find(part) != std::string::npos;
        });
    }
    size_t Errors() const {
        return std::count_if(messages.begin(), messages.end(),
                             [](const test::CapturedMessage& m) { return m.type == MSG_ERROR; });
    }
    static size_t Lines(const std::string& s) { return size_t(std::count(s.begin(), s.end(), '\n')); }

    static std::string Replace(std::string text, const std::string& from, const std::string& to) {
        size_t at = text.find(from);
        if (at != std::string::npos) text.replace(at, from.size(), to);
        return text;
    }

    std::string root;
    size_t analysisErrors = 0;
    std::vector<test::CapturedMessage> messages;
};

TEST_F(VhdlCorpusElabTest, MicrowattAndItsBrokenVariants) {
    std::string good = Elaborate("microwatt");
    if (good.empty()) GTEST_SKIP() << "no corpus";
    EXPECT_EQ(Lines(good), 34u);
    EXPECT_EQ(Errors(), 0u);

    // A misspelt generic in a generic map (GHDL: no interface for it).
    std::string hier = Elaborate("microwatt", "core.vhdl", [](std::string t) {
        return Replace(t, "LOG_LENGTH => LOG_LENGTH", "LOG_LENGHT => LOG_LENGTH");
    });
    EXPECT_TRUE(Has("VHDL-1607", "'LOG_LENGHT' is not a generic of")) << hier;
    EXPECT_LT(Lines(hier), 34u);
    EXPECT_GT(Lines(hier), 20u);

    // A missing use clause: the function that sizes the cache is not visible.
    hier = Elaborate("microwatt", "icache.vhdl", [](std::string t) { return Replace(t, "use work.utils.all;", ""); });
    EXPECT_TRUE(Has("VHDL-1600", "is not declared")) << hier;

    // An entity that no library holds.
    hier = Elaborate("microwatt", "core.vhdl",
                     [](std::string t) { return Replace(t, "entity work.icache", "entity work.icashe"); });
    EXPECT_TRUE(Has("VHDL-1611", "entity 'icashe' is not analysed")) << hier;
    EXPECT_EQ(hier.find("core.icache_0"), std::string::npos);
}

TEST_F(VhdlCorpusElabTest, PocAndItsBrokenVariants) {
    std::string good = Elaborate("poc");
    if (good.empty()) GTEST_SKIP() << "no corpus";
    EXPECT_NE(good.find("arith_prng_tb.UUT\tarith_prng\tarith_prng(BITS=8,SEED=\"00010010\")\trtl\n"),
              std::string::npos)
        << good;
    EXPECT_EQ(Errors(), 0u);

    std::string hier = Elaborate("poc", "arith_prng_tb.vhdl",
                                 [](std::string t) { return Replace(t, "BITS\t\t=> 8", "BITZ\t\t=> 8"); });
    EXPECT_TRUE(Has("VHDL-1607", "'BITZ' is not a generic of 'arith_prng'")) << hier;

    // A generic outside its subtype: BITS is positive.
    hier = Elaborate("poc", "arith_prng_tb.vhdl",
                     [](std::string t) { return Replace(t, "BITS\t\t=> 8", "BITS\t\t=> 0"); });
    EXPECT_TRUE(Has("VHDL-1602", "outside the range 1 to 2147483647 of 'positive'")) << hier;
}

} // namespace
} // namespace hdl
