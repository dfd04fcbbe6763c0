// A project for the skim tests: source files in a scratch folder, entered into a
// fresh run, and the skim run over them.
#pragma once

#include <string>
#include <vector>

#include "SortTestFiles.h"
#include "sift/database/HADLStringMatchTable.h"
#include "sift/scan/HADLSifter.h"

class SkimProject {
public:
    SkimProject();
    ~SkimProject();

    // Writes the file and enters it with language and library; returns its file id.
    unsigned add(const std::string& name, unsigned lang, const std::string& library, const std::string& text);
    std::string write(const std::string& name, const std::string& text) { return files.write(name, text); }
    void skim();

    HADLSifter& db() { return HADLSifter::instance(); }
    unsigned id(const std::string& name) { return db().fileNames.find(files.path(name).c_str()); }
    std::vector<unsigned> req(const std::string& name) { return list(db().fileProps.at(id(name)).parsReqFiles); }
    std::vector<unsigned> ovr(const std::string& name) { return list(db().fileProps.at(id(name)).parsOvrFiles); }
    // Position of the file in parseOrder, or -1.
    int orderOf(const std::string& name);
    // Raw unit id of a key, 0 when absent.
    unsigned rUnit(const std::string& key) { return db().rUnitNames.find(key.c_str()); }

    HADLStringMatchTable primitives;
    SortTestFiles files;

private:
    template <typename L>
    static std::vector<unsigned> list(const L& l) {
        return std::vector<unsigned>(l.begin(), l.end());
    }
};
