// The record of everything a run learns. Parts refer to each other only by 32-bit ids into
// the tables below; id 0 means undefined and slot 0 of every table is reserved.
#pragma once

#include "sift/database/HADLStringIndexTable.h"
#include "sift/database/HADLStringMatchTable.h"
#include "sift/database/HADLVector.h"

#include <string>
#include <unordered_map>
#include <vector>

// Hash map of the in-house runtime; the database needs nothing beyond the standard map.
template <typename K, typename V, typename H = std::hash<K>, typename E = std::equal_to<K>>
class LoomHashMap : public std::unordered_map<K, V, H, E> {};

class HADLDatabase {
public:
    struct Options {
        bool ignoreTranslateOff = false;
        unsigned defaultLibrary = 0;
        bool strictVhdlLibSearchOrder = false;
        bool enableVHDL2019 = false;
    };
    struct Status {
        int err = 0;
        bool isParseDone = false;
        bool isElabError = false;
    };
    struct MacroDef {
        unsigned valueId = 0;
        bool hasValue = false;
    };
    struct GenericDef {
        unsigned valueId = 0;
        bool hasValue = false;
    };
    struct FileAttr {
        unsigned lang = 0;
        unsigned libId = 0;
        unsigned incDirListId = 0;
        unsigned tempAliasId = 0;
        unsigned isAliasOfId = 0;
        bool isStdVhdl = false;
        bool isDisabled = false;
    };
    struct FileProp {
        HADLVectorForTuple<unsigned> includedFiles;
        HADLVectorForTuple<unsigned> parsReqFiles;
        HADLVectorForTuple<unsigned> parsOvrFiles;
        HADLVectorForTuple<unsigned> elabReqFiles;
    };
    struct RInstAttr {
        unsigned instnameId = 0;
        unsigned targetId = 0;
    };
    struct RUnitAttr {
        unsigned libId = 0;
        unsigned primaryId = 0;
        unsigned secondaryId = 0;
        HADLVectorForTuple<unsigned> fileIds;
        HADLVectorForTuple<RInstAttr> insts;
    };
    struct InstAttr {
        unsigned unitId = 0;
        unsigned instId = 0;
        unsigned fileId = 0;
        unsigned line = 0;
        bool hasParam = false;
        bool isInactive = false;
        bool instNameHasLib = false;
    };
    struct AttributeAttr {
        unsigned name = 0;
        unsigned value = 0;
    };
    struct PortAttr {
        unsigned name = 0;
        unsigned typeName = 0;
        unsigned typeLeft = 0;
        unsigned typeRight = 0;
        unsigned typeDirection = 0;
        unsigned defaultValue = 0;
        unsigned portDirection = 0;
        unsigned masterDirection = 0;
        unsigned slaveDirection = 0;
        HADLVectorForTuple<AttributeAttr> attributes;
    };
    struct ParamAttr {
        unsigned name = 0;
        unsigned typeName = 0;
        unsigned typeLeft = 0;
        unsigned typeRight = 0;
        unsigned typeDirection = 0;
        unsigned defaultValue = 0;
        unsigned rangeConstraintLeft = 0;
        unsigned rangeConstraintSeparator = 0;
        unsigned rangeConstraintRight = 0;
        bool isParamDecl = false;
        bool isLocalParam = false;
    };
    struct UnitAttr {
        unsigned libId = 0;
        unsigned primaryId = 0;
        unsigned secondaryId = 0;
        unsigned origUnitId = 0;
        unsigned fileId = 0;
        unsigned startLine = 0;
        unsigned endLine = 0;
        unsigned leftCol = 0;
        unsigned rightCol = 0;
        HADLVectorForTuple<InstAttr> insts;
        HADLVectorForTuple<unsigned> inactiveUnits;
        bool isConfig = false;
        bool isInterface = false;
        HADLVectorForTuple<PortAttr> ports;
        HADLVectorForTuple<ParamAttr> parameters;
        HADLVectorForTuple<AttributeAttr> attributes;
    };
    struct Msg {
        unsigned line = 0;
        unsigned type = 0;
        unsigned fmtId = 0;
        HADLVectorForTuple<unsigned> args;
    };
    struct Range {
        unsigned startLine = 0;
        unsigned endLine = 0;
    };
    struct Var {
        unsigned nameId = 0;
        bool isInput = false;
        bool isOutput = false;
        unsigned msb = 0;
        unsigned lsb = 0;
        unsigned fileId = 0;
        unsigned line = 0;
    };
    struct FileLoc {
        unsigned fileId = 0;
        unsigned line = 0;
        unsigned startCol = 0;
    };
    struct Declaration {
        unsigned name = 0;
        unsigned type = 0;
        unsigned kind = 0;
        unsigned fileId = 0;
        unsigned line = 0;
        unsigned startCol = 0;
        HADLVectorForIndexing<FileLoc> references;
    };
    struct UnitRange {
        unsigned nameId = 0;
        unsigned fileId = 0;
        unsigned startLine = 0;
        unsigned endLine = 0;
        unsigned extra = 0;
    };

    // Files, with language code, library and their parallel tables. An empty library name
    // takes the parameter "project.defaultLibrary". Returns the file id, 0 for an empty path.
    unsigned insertFileName(const std::string& path, unsigned lang, const std::string& library);
    void setDefaultLibrary(const std::string& name);
    std::string getDefaultLibrary() const;
    // A value of nullptr is a define or generic without value; it keeps an earlier value.
    int addMacro(const std::string& name, const char* value);
    int addGeneric(const std::string& name, const char* value);
    void addNonHdlModule(const std::string& name);
    unsigned newIncDirList();
    int addIncDir(const std::string& dir, unsigned listIndex);
    int setFileIncDirList(unsigned listIndex, unsigned fileId);
    void disableNonStdFiles();
    void clearMacros();
    void clearGenerics();
    void clearIncDirs();
    void clearNonHdlModuleNames();
    void resizeTables();
    bool sameSetup(const HADLDatabase& other) const;
    bool filesDiffer(const HADLDatabase& other) const;
    void copySetup(const HADLDatabase& other);
    void copySkim(const HADLDatabase& other);
    void reserveFileTables(unsigned count);
    // Records a message that belongs to no file, under the file "NO-FILE".
    void addMessage(const char* format, const std::vector<std::string>& args);

    HADLStringIndexTable fileNames;
    HADLStringIndexTable objNames;
    HADLStringMatchTable stdVhdlLibNames;
    HADLStringMatchTable stdSVLibNames;
    HADLStringIndexTable optionStrValues;
    Options options;
    HADLStringIndexTable dirNames;
    HADLVectorForIndexing<HADLVectorForTuple<unsigned>> incDirLists;
    HADLStringIndexTable macroNames;
    HADLStringIndexTable macroValues;
    HADLVectorForIndexing<MacroDef> macroDefs;
    HADLVectorForIndexing<FileAttr> fileAttrs;
    HADLVectorForIndexing<FileProp> fileProps;
    HADLVectorForTuple<unsigned> parseOrder;
    HADLStringIndexTable rUnitNames;
    HADLVectorForIndexing<RUnitAttr> rUnitAttrs;
    HADLStringIndexTable unitNames;
    HADLVectorForIndexing<UnitAttr> unitAttrs;
    HADLVectorForIndexing<UnitAttr> duplicateAttrs;
    HADLVectorForIndexing<HADLVectorForTuple<unsigned>> pkgIds;
    HADLVectorForIndexing<HADLVectorForTuple<unsigned>> derivedUnits;
    HADLVectorForTuple<unsigned> tops;
    HADLStringIndexTable fmtStrs;
    HADLStringIndexTable argStrs;
    HADLVectorForIndexing<HADLVectorForTuple<Msg>> fileMsgs;
    HADLVectorForIndexing<HADLVectorForTuple<Range>> blockRanges;
    HADLVectorForIndexing<HADLVectorForTuple<Var>> rUnitVars;
    HADLStringIndexTable tesselModuleNames;
    bool tesselLibClauseButNoInsts = false;
    bool enableVhdlVerilogConfig = false;
    LoomHashMap<unsigned, HADLVectorForTuple<unsigned>> primaryToUnits;
    HADLStringIndexTable declTypes;
    HADLVectorForIndexing<Declaration> variables;
    HADLVectorForIndexing<UnitRange> unitRanges;
    HADLStringIndexTable genericNames;
    HADLStringIndexTable genericValues;
    HADLVectorForIndexing<GenericDef> genericDefs;
    HADLStringIndexTable nonHdlModuleNames;
    Status status;

private:
    void resizeFileTables();
};
