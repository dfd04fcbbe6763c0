// A VHDL expanded name (`work.pkg.c`, `lib.pkg.f(x)`, a component `lib.pkg.c`) gives the
// skim a reference to its package, with or without a use clause, so that the package is
// analysed before its user. Checked on a written case, and against the full parse of
// the corpus projects: whatever package the tree names by an expanded name, the skim of
// its file names too.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "hdl/base/LineFile.h"
#include "hdl/base/Message.h"
#include "hdl/sort/VhdlSkim.h"
#include "hdl/sort/VhdlSkimScanner.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlPackageNames.h"

using namespace hdl;

namespace {

using Pairs = std::set<std::pair<std::string, std::string>>;

void quiet(msg_type_t, const char*, const ColLineFile*, const char*, va_list) {}

// The (library, unit) references of the skim of `text` that name a unit.
Pairs skimmed(const std::string& text) {
    std::vector<VhdlSkimToken> tokens;
    EXPECT_TRUE(vhdlSkimScan(text, VHDL_2008, false, tokens));
    FileElement element;
    vhdlSkimTokens(text, tokens, element);
    Pairs out;
    for (const SortReference& r : element.references)
        if (!r.unitName.empty() && !(r.flags & SORT_REF_WEAK)) out.insert({r.libraryName, r.unitName});
    return out;
}

class VhdlSkimReferenceTest : public ::testing::Test {
protected:
    void SetUp() override {
        Message::RegisterCallBackMsg(quiet);
        vhdl_file::Reset();
    }
    void TearDown() override {
        vhdl_file::Reset();
        Message::RegisterCallBackMsg(nullptr);
    }
};

TEST_F(VhdlSkimReferenceTest, ExpandedNamesReferToTheirPackages) {
    const std::string text = "library mylib;\nentity e is end;\narchitecture a of e is\n"
                             "  constant c : integer := work.p_init.c + mylib.p_call.f(1) + r.x.y + nolib.p_no.d;\n"
                             "  signal s : work.p_type.t := std.env.x;\n"
                             "begin\n"
                             "  u : mylib.p_comp.comp port map (p => work.p_actual.k);\n"
                             "  process begin if work.p_cond.b then wait; end if; end process;\n"
                             "end;\n";
    Pairs refs = skimmed(text);
    for (const auto& [lib, pkg] : Pairs{{"work", "p_init"},
                                        {"mylib", "p_call"},
                                        {"work", "p_type"},
                                        {"std", "env"},
                                        {"mylib", "p_comp"},
                                        {"work", "p_actual"},
                                        {"work", "p_cond"}})
        EXPECT_TRUE(refs.count({lib, pkg})) << lib << "." << pkg;
    // A record's or an unknown library's selections name no unit.
    EXPECT_FALSE(refs.count({"r", "x"}));
    EXPECT_FALSE(refs.count({"nolib", "p_no"}));
}

TEST_F(VhdlSkimReferenceTest, SkimCoversTheExpandedNamesOfTheCorpus) {
    const std::string corpus = std::string(SIFT_SOURCE_DIR) + "/../shared/corpus";
    unsigned named = 0, files = 0;
    for (const char* project : {"osvvm", "poc", "microwatt"}) {
        std::ifstream list(corpus + "/" + project + "/FILELIST.tsv");
        if (!list) continue;
        vhdl_file::Reset();
        std::map<std::string, Pairs> skimOf; // by path
        for (std::string line; std::getline(list, line);) {
            std::istringstream cols(line);
            std::string lang, lib, path;
            std::getline(cols, lang, '\t');
            std::getline(cols, lib, '\t');
            std::getline(cols, path, '\t');
            if (lang.rfind("vhdl", 0) != 0) continue;
            std::string file = corpus + "/" + project + "/" + path;
            std::ifstream in(file, std::ios::binary);
            skimOf[file] = skimmed(std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>()));
            vhdl_file::Analyze(file.c_str(), lib.c_str(), lang == "vhdl93" ? VHDL_93 : VHDL_2008);
            ++files;
        }
        for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
            std::vector<VhdlDesignUnit*> units;
            for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
                units.push_back(p);
                for (VhdlSecondaryUnit* s : p->GetSecondaryUnits()) units.push_back(s);
            }
            for (VhdlDesignUnit* unit : units) {
                const char* path = LineFile::GetFileNameFromId(unit->Linefile().fileId);
                for (const auto& named_pair : VhdlExpandedPackages(*unit)) {
                    ++named;
                    EXPECT_TRUE(path && skimOf[path].count(named_pair))
                        << (path ? path : "?") << ": " << named_pair.first << "." << named_pair.second;
                }
            }
        }
    }
    if (!files) GTEST_SKIP() << "no corpus";
    std::printf("expanded names of packages in the corpus: %u, each referred to by the skim\n", named);
}

} // namespace
