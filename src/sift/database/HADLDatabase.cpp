#include "sift/database/HADLDatabase.h"

#include "runtime/LoomParamMgr.h"

#include <algorithm>
#include <cstring>
#include <iostream>

namespace {

bool sameStrings(const HADLStringIndexTable& a, const HADLStringIndexTable& b) {
    if (a.size() != b.size()) return false;
    for (unsigned id = 1; id < a.size(); ++id)
        if (std::strcmp(a.getString(id), b.getString(id)) != 0) return false;
    return true;
}

template <typename Def>
bool sameDefTables(const HADLVectorForIndexing<Def>& a, const HADLVectorForIndexing<Def>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i].valueId != b[i].valueId || a[i].hasValue != b[i].hasValue) return false;
    return true;
}

bool sameFileSetup(const HADLVectorForIndexing<HADLDatabase::FileAttr>& a,
                   const HADLVectorForIndexing<HADLDatabase::FileAttr>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const HADLDatabase::FileAttr& x = a[i];
        const HADLDatabase::FileAttr& y = b[i];
        if (x.lang != y.lang || x.libId != y.libId || x.incDirListId != y.incDirListId || x.isStdVhdl != y.isStdVhdl ||
            x.isDisabled != y.isDisabled)
            return false;
    }
    return true;
}

template <typename Def>
void defineName(HADLStringIndexTable& names, HADLStringIndexTable& values, HADLVectorForIndexing<Def>& defs,
                const std::string& name, const char* value) {
    unsigned id = names.insert(name.c_str());
    defs.resize(names.size());
    if (value) {
        Def& def = defs.at(id);
        def.valueId = values.insert(value);
        def.hasValue = true;
    }
}

} // namespace

unsigned HADLDatabase::insertFileName(const std::string& path, unsigned lang, const std::string& library) {
    if (path.empty()) return 0;
    try {
        unsigned id = fileNames.insert(path.c_str());
        resizeFileTables();
        FileAttr& attr = fileAttrs.at(id);
        attr.lang = lang;
        std::string lib = library;
        if (lib.empty()) lib = LoomParamMgr::getParamMgr().getValueAsString("project.defaultLibrary");
        attr.libId = objNames.insert(lib.c_str());
        attr.isDisabled = false;
        return id;
    } catch (...) {
        std::cout << "Caught in insertFileName" << std::endl;
        throw;
    }
}

void HADLDatabase::setDefaultLibrary(const std::string& name) {
    options.defaultLibrary = optionStrValues.insert(name.c_str());
}

std::string HADLDatabase::getDefaultLibrary() const { return optionStrValues.getString(options.defaultLibrary); }

int HADLDatabase::addMacro(const std::string& name, const char* value) {
    defineName(macroNames, macroValues, macroDefs, name, value);
    return 0;
}

int HADLDatabase::addGeneric(const std::string& name, const char* value) {
    defineName(genericNames, genericValues, genericDefs, name, value);
    return 0;
}

void HADLDatabase::addNonHdlModule(const std::string& name) {
    if (!name.empty()) nonHdlModuleNames.insert(name.c_str());
}

unsigned HADLDatabase::newIncDirList() {
    incDirLists.emplace_back();
    return static_cast<unsigned>(incDirLists.size() - 1);
}

int HADLDatabase::addIncDir(const std::string& dir, unsigned listIndex) {
    if (dir.empty()) return -1;
    if (listIndex >= incDirLists.size()) return -2;
    unsigned id = dirNames.insert(dir.c_str());
    HADLVectorForTuple<unsigned>& list = incDirLists.at(listIndex);
    if (std::find(list.begin(), list.end(), id) == list.end()) list.push_back(id);
    return 0;
}

int HADLDatabase::setFileIncDirList(unsigned listIndex, unsigned fileId) {
    if (listIndex >= incDirLists.size()) return -1;
    if (fileId >= fileAttrs.size()) return -2;
    fileAttrs.at(fileId).incDirListId = listIndex;
    return 0;
}

void HADLDatabase::disableNonStdFiles() {
    for (std::size_t id = 1; id < fileAttrs.size(); ++id) {
        FileAttr& attr = fileAttrs[id];
        if (!attr.isStdVhdl) {
            attr.incDirListId = 0;
            attr.isDisabled = true;
        }
    }
}

void HADLDatabase::clearMacros() {
    macroNames.clear();
    macroValues.clear();
    macroDefs.clear();
}

void HADLDatabase::clearGenerics() {
    genericNames.clear();
    genericValues.clear();
    genericDefs.clear();
}

void HADLDatabase::clearIncDirs() {
    dirNames.clear();
    incDirLists.clear();
}

void HADLDatabase::clearNonHdlModuleNames() { nonHdlModuleNames.clear(); }

void HADLDatabase::resizeFileTables() {
    const std::size_t files = fileNames.size();
    fileAttrs.resize(files);
    fileProps.resize(files);
    pkgIds.resize(files);
    fileMsgs.resize(files);
    blockRanges.resize(files);
}

void HADLDatabase::resizeTables() {
    resizeFileTables();
    macroDefs.resize(macroNames.size());

    rUnitAttrs.resize(rUnitNames.size());
    rUnitVars.resize(rUnitNames.size());

    unitAttrs.resize(unitNames.size());
    derivedUnits.resize(unitNames.size());

    genericDefs.resize(genericNames.size());
}

bool HADLDatabase::sameSetup(const HADLDatabase& other) const {
    return sameStrings(fileNames, other.fileNames) && sameStrings(objNames, other.objNames) &&
           sameStrings(stdVhdlLibNames, other.stdVhdlLibNames) && sameStrings(stdSVLibNames, other.stdSVLibNames) &&
           options.ignoreTranslateOff == other.options.ignoreTranslateOff &&
           options.defaultLibrary == other.options.defaultLibrary &&
           options.strictVhdlLibSearchOrder == other.options.strictVhdlLibSearchOrder &&
           sameStrings(dirNames, other.dirNames) && incDirLists == other.incDirLists &&
           sameStrings(macroNames, other.macroNames) && sameStrings(macroValues, other.macroValues) &&
           sameDefTables(macroDefs, other.macroDefs) && sameFileSetup(fileAttrs, other.fileAttrs) &&
           sameStrings(genericNames, other.genericNames) && sameStrings(genericValues, other.genericValues) &&
           sameDefTables(genericDefs, other.genericDefs) && sameStrings(nonHdlModuleNames, other.nonHdlModuleNames);
}

bool HADLDatabase::filesDiffer(const HADLDatabase& other) const {
    if (!sameStrings(fileNames, other.fileNames)) return true;
    for (unsigned id = 1; id < fileNames.size(); ++id)
        if (!fileAttrs.at(id).isDisabled && other.fileAttrs.at(id).isDisabled) return true;
    return false;
}

void HADLDatabase::copySetup(const HADLDatabase& other) {
    fileNames = other.fileNames;
    objNames = other.objNames;
    stdVhdlLibNames = other.stdVhdlLibNames;
    stdSVLibNames = other.stdSVLibNames;
    options.ignoreTranslateOff = other.options.ignoreTranslateOff;
    options.defaultLibrary = other.options.defaultLibrary;
    options.strictVhdlLibSearchOrder = other.options.strictVhdlLibSearchOrder;
    dirNames = other.dirNames;
    incDirLists = other.incDirLists;
    macroNames = other.macroNames;
    macroValues = other.macroValues;
    macroDefs = other.macroDefs;
    fileAttrs = other.fileAttrs;
    genericNames = other.genericNames;
    genericValues = other.genericValues;
    genericDefs = other.genericDefs;
    nonHdlModuleNames = other.nonHdlModuleNames;
}

void HADLDatabase::copySkim(const HADLDatabase& other) {
    copySetup(other);
    fileProps = other.fileProps;
    parseOrder = other.parseOrder;
    rUnitNames = other.rUnitNames;
    rUnitAttrs = other.rUnitAttrs;
    fmtStrs = other.fmtStrs;
    argStrs = other.argStrs;
    fileMsgs = other.fileMsgs;
    status.err = other.status.err;
    status.isParseDone = other.status.isParseDone;
    resizeTables();
}

void HADLDatabase::reserveFileTables(unsigned count) {
    fileNames.strings.reserve(count);
    fileNames.index.reserve(count);
    fileAttrs.reserve(count);
    fileProps.reserve(count);
}

void HADLDatabase::addMessage(const char* format, const std::vector<std::string>& args) {
    Msg msg;
    msg.type = 4;
    for (const std::string& arg : args) msg.args.push_back(argStrs.insert(arg.c_str()));
    msg.fmtId = fmtStrs.insert(format ? format : "");
    unsigned fileId = fileNames.insert("NO-FILE");
    if (fileMsgs.size() <= fileId) resizeFileTables();
    fileMsgs.at(fileId).push_back(std::move(msg));
}
