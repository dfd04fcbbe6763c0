#include "sift/primitives/HADLPrimitiveNames.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iostream>
#include <vector>

#include <boost/filesystem/operations.hpp>
#include <boost/regex.hpp>

#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlVisitor.h"
#include "sift/base/HADLDataDir.h"
#include "sift/primitives/HADLPrimitiveTable.h"

HADLPrimitiveNames& HADLPrimitiveNames::getPrimitiveNames() {
    static HADLPrimitiveNames* names = [] {
        auto* table = new HADLPrimitiveNames; // lives until the process ends
        table->addNamesFromTable();
        table->addNamesFromVhdlPkgs();
        table->addNamesFromTessel();
        return table;
    }();
    return *names;
}

void HADLPrimitiveNames::addNamesFromTable() {
    for (std::size_t row = 0; row < hadlPrimitiveTableSize; ++row) insert(hadlPrimitiveTable[row]);
}

namespace {

class ComponentVisitor : public hdl::VhdlVisitor {
public:
    explicit ComponentVisitor(HADLPrimitiveNames& names) : names(names) {}

    using hdl::VhdlVisitor::Visit;
    void Visit(hdl::VhdlComponentId& id) override {
        std::string name(id.Name());
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        names.insert(name.c_str());
    }

private:
    HADLPrimitiveNames& names;
};

} // namespace

void HADLPrimitiveNames::addNamesFromVhdlPkgs() {
    ComponentVisitor visitor(*this);
    for (hdl::VhdlLibrary* library : hdl::vhdl_file::AllLibraries()) {
        if (library->Name() != "lathe" && library->Name() != "mortise") continue;
        for (hdl::VhdlPrimaryUnit* unit : library->PrimaryUnits()) visitor.TraverseNode(unit);
    }
}

void HADLPrimitiveNames::addNamesFromTessel() {
    std::string dir = findDataDir("ip/tessel");
    if (dir.empty()) return;
    dir += "ip/tessel/";
    namespace fs = boost::filesystem;
    std::vector<std::string> descriptions;
    boost::system::error_code error;
    fs::recursive_directory_iterator entry(dir, error), end;
    for (; !error && entry != end; entry.increment(error)) {
        const std::string path = entry->path().string();
        if (path.size() >= 4 && path.compare(path.size() - 4, 4, ".xml") == 0) descriptions.push_back(path);
    }
    // Directory walk order differs between file systems; sorting keeps the ids stable.
    std::sort(descriptions.begin(), descriptions.end());
    for (const std::string& path : descriptions) addNamesFromXml(path);
}

void HADLPrimitiveNames::addNamesFromXml(const std::string& path) {
    static const boost::regex moduleName("\\<module +name *= *\"([^\"\\.]+)");
    static const boost::regex moduleElement("<module\\>");
    std::ifstream in(path);
    std::string line;
    unsigned lineNo = 0;
    bool named = false;
    while (std::getline(in, line)) {
        ++lineNo;
        if (line.empty()) continue;
        boost::smatch match;
        if (boost::regex_search(line, match, moduleName)) {
            insert(match[1].str().c_str());
            named = true;
        } else if (boost::regex_search(line, moduleElement)) {
            // A module element the reader cannot take a name from would otherwise make
            // the cell count as part of the design without a trace.
            std::cout << "Macro library description " << path << ":" << lineNo
                      << ": module element without a name in double quotes" << std::endl;
        }
    }
    // A file that could not be opened or read to its end (a directory) stops short of eof.
    if (!in.eof()) std::cout << "Macro library description " << path << " cannot be read" << std::endl;
    else if (!named) std::cout << "Macro library description " << path << " names no module" << std::endl;
}
