// Every corpus project, entered in a scrambled order: the skim's parse order must put
// each file after the files declaring the packages, contexts, entities and
// configurations it names, and the sketch must find the project's top (and no entity
// beside its architecture, whatever the case of its name).
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "hdl/sort/FileSort.h"
#include "sift/bind/HADLSketch.h"
#include "sift/scan/HADLInputChain.h"
#include "sift/scan/HADLSifter.h"
#include "sift/scan/HADLSkim.h"

namespace fs = std::filesystem;

namespace {

const std::string kCorpus = std::string(SIFT_SOURCE_DIR) + "/../shared/corpus";

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

unsigned langCode(const std::string& lang) {
    if (lang == "sv") return 5;
    if (lang == "v2k") return 2;
    if (lang == "vhdl93") return 9;
    if (lang == "vhdl08") return 11;
    if (lang == "vhdl19") return 12;
    return 0;
}

struct Project {
    std::vector<std::array<std::string, 3>> files; // lang, library, full path
    std::vector<std::string> incdirs;
    std::string top;
};

Project readFileList(const fs::path& dir) {
    Project p;
    std::ifstream in(dir / "FILELIST.tsv");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::vector<std::string> cols;
        std::stringstream ss(line);
        for (std::string c; std::getline(ss, c, '\t');) cols.push_back(c);
        if (cols.size() == 2 && cols[0] == "incdir") p.incdirs.push_back((dir / cols[1]).string());
        else if (cols.size() == 2 && cols[0] == "top") p.top = cols[1];
        else if (cols.size() == 3) p.files.push_back({cols[0], cols[1], (dir / cols[2]).string()});
    }
    return p;
}

class SkimCorpus : public ::testing::TestWithParam<std::string> {};

TEST_P(SkimCorpus, ParseOrderHonoursDeclarationsAndSketchFindsTop) {
    fs::path dir = fs::path(kCorpus) / GetParam();
    if (!fs::exists(dir / "FILELIST.tsv")) GTEST_SKIP() << "no corpus at " << dir;
    Project project = readFileList(dir);
    // A fixed scramble: odd positions backwards, then even ones.
    std::vector<size_t> order;
    for (size_t i = project.files.size(); i-- > 0;)
        if (i % 2) order.push_back(i);
    for (size_t i = 0; i < project.files.size(); i += 2) order.push_back(i);

    hdl::hdl_file_sort::Reset();
    hdl::hdl_file_sort::RegisterFlexStreamCallBack(openSourceStream);
    HADLSifter& db = HADLSifter::instance();
    static_cast<HADLDatabase&>(db) = HADLDatabase();
    for (const std::string& inc : project.incdirs) db.dirNames.insert(inc.c_str());
    for (size_t i : order) db.insertFileName(project.files[i][2], langCode(project.files[i][0]), project.files[i][1]);
    HADLStringMatchTable noPrimitives;
    hadlDoSkim(db, noPrimitives);

    std::vector<int> position(db.fileNames.size(), -1);
    for (size_t k = 0; k < db.parseOrder.size(); ++k)
        if (position[db.parseOrder[k]] < 0) position[db.parseOrder[k]] = static_cast<int>(k);
    // The needs, computed from the declared and referenced names themselves.
    std::vector<const hdl::FileElement*> elements;
    const hdl::FileElement* e = nullptr;
    for (unsigned i = 0; hdl::hdl_file_sort::FileAt(i, &e); ++i) elements.push_back(e);
    ASSERT_EQ(elements.size(), project.files.size());
    auto declares = [](const hdl::FileElement& d, const std::string& unit) {
        return std::any_of(d.declaredNames.begin(), d.declaredNames.end(),
                           [&](const std::string& n) { return lower(n) == unit; });
    };
    for (const hdl::FileElement* user : elements) {
        unsigned userId = db.fileNames.find(user->fileName.c_str());
        for (const hdl::SortReference& r : user->references) {
            if (r.unitName.empty() || r.flags) continue;
            std::string lib = lower(r.libraryName) == "work" ? lower(user->libraryName) : lower(r.libraryName);
            for (const hdl::FileElement* d : elements) {
                if (d == user || lower(d->libraryName) != lib || !declares(*d, lower(r.unitName))) continue;
                unsigned declId = db.fileNames.find(d->fileName.c_str());
                EXPECT_LT(position[declId], position[userId])
                    << d->fileName << " declares " << r.unitName << " used by " << user->fileName;
            }
        }
    }

    sketchUnits(db);
    computeTops(db);
    std::vector<std::string> tops;
    for (unsigned t : db.tops) {
        tops.push_back(lower(db.objNames.getString(db.unitAttrs.at(t).primaryId)));
        // An entity stands for itself only without architectures; else its last one does.
        const std::string name = db.unitNames.getString(t);
        if (name[0] != '/' || db.unitAttrs.at(t).secondaryId) continue;
        for (unsigned r = 1; r < db.rUnitNames.size(); ++r)
            EXPECT_NE(std::string(db.rUnitNames.getString(r)).rfind(name + "/", 0), 0u)
                << name << " is a top beside its architecture " << db.rUnitNames.getString(r);
    }
    EXPECT_NE(std::find(tops.begin(), tops.end(), lower(project.top)), tops.end()) << project.top;
    hdl::hdl_file_sort::Reset();
}

INSTANTIATE_TEST_SUITE_P(Corpus, SkimCorpus,
                         ::testing::Values("common_cells", "cv32e40p", "microwatt", "osvvm", "picorv32", "poc",
                                           "serv"));

} // namespace
