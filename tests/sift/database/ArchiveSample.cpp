// Writes the sample database as an archive, and beside it a JSON description of what the
// archive must hold, member by member in archive order. Records are lists of their fields
// in archive order, bools as 0 and 1, string tables as lists of texts from slot 1 on.
// decode_archive.py reads the archive byte by byte and compares.
#include "SampleDatabase.h"

#include "sift/database/HADLDatabaseAPI.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

class JsonOut {
public:
    std::string text() const { return out_.str(); }

    void open(char bracket) {
        separate();
        out_ << bracket;
        first_ = true;
    }
    void close(char bracket) {
        out_ << bracket;
        first_ = false;
    }
    void key(const std::string& name) {
        separate();
        quoted(name);
        out_ << ':';
        first_ = true;
    }
    void number(long long value) {
        separate();
        out_ << value;
    }
    void string(const char* text) {
        separate();
        quoted(text);
    }

private:
    void separate() {
        if (!first_) out_ << ',';
        first_ = false;
    }
    void quoted(const std::string& text) {
        out_ << '"';
        for (unsigned char c : text) {
            if (c == '"' || c == '\\') out_ << '\\' << c;
            else if (c < 0x20)
                out_ << "\\u00"
                     << "0123456789abcdef"[c >> 4] << "0123456789abcdef"[c & 15];
            else out_ << c;
        }
        out_ << '"';
    }

    std::ostringstream out_;
    bool first_ = true;
};

using DB = HADLDatabase;

void put(JsonOut& j, const HADLStringIndexTable& t) {
    j.open('[');
    for (unsigned id = 1; id < t.size(); ++id) j.string(t.getString(id));
    j.close(']');
}

void put(JsonOut& j, unsigned v) { j.number(v); }
void put(JsonOut& j, int v) { j.number(v); }
void put(JsonOut& j, bool v) { j.number(v ? 1 : 0); }

template <typename T>
void put(JsonOut& j, const std::vector<T>& list);

template <typename... F>
void record(JsonOut& j, const F&... fields) {
    j.open('[');
    (put(j, fields), ...);
    j.close(']');
}

void put(JsonOut& j, const DB::Options& o) {
    record(j, o.ignoreTranslateOff, o.defaultLibrary, o.strictVhdlLibSearchOrder, o.enableVHDL2019);
}
void put(JsonOut& j, const DB::Status& s) { record(j, s.err, s.isParseDone, s.isElabError); }
void put(JsonOut& j, const DB::MacroDef& d) { record(j, d.valueId, d.hasValue); }
void put(JsonOut& j, const DB::GenericDef& d) { record(j, d.valueId, d.hasValue); }
void put(JsonOut& j, const DB::FileAttr& f) {
    record(j, f.lang, f.libId, f.incDirListId, f.tempAliasId, f.isAliasOfId, f.isStdVhdl, f.isDisabled);
}
void put(JsonOut& j, const DB::FileProp& p) {
    record(j, p.includedFiles, p.parsReqFiles, p.parsOvrFiles, p.elabReqFiles);
}
void put(JsonOut& j, const DB::RInstAttr& i) { record(j, i.instnameId, i.targetId); }
void put(JsonOut& j, const DB::RUnitAttr& u) { record(j, u.libId, u.primaryId, u.secondaryId, u.fileIds, u.insts); }
void put(JsonOut& j, const DB::InstAttr& i) {
    record(j, i.unitId, i.instId, i.fileId, i.line, i.hasParam, i.isInactive, i.instNameHasLib);
}
void put(JsonOut& j, const DB::AttributeAttr& a) { record(j, a.name, a.value); }
void put(JsonOut& j, const DB::PortAttr& p) {
    record(j, p.name, p.typeName, p.typeLeft, p.typeRight, p.typeDirection, p.defaultValue, p.portDirection,
           p.masterDirection, p.slaveDirection, p.attributes);
}
void put(JsonOut& j, const DB::ParamAttr& p) {
    record(j, p.name, p.typeName, p.typeLeft, p.typeRight, p.typeDirection, p.defaultValue, p.rangeConstraintLeft,
           p.rangeConstraintSeparator, p.rangeConstraintRight, p.isParamDecl, p.isLocalParam);
}
void put(JsonOut& j, const DB::UnitAttr& u) {
    record(j, u.libId, u.primaryId, u.secondaryId, u.origUnitId, u.fileId, u.startLine, u.endLine, u.leftCol,
           u.rightCol, u.insts, u.inactiveUnits, u.isConfig, u.isInterface, u.ports, u.parameters, u.attributes);
}
void put(JsonOut& j, const DB::Msg& m) { record(j, m.line, m.type, m.fmtId, m.args); }
void put(JsonOut& j, const DB::Range& r) { record(j, r.startLine, r.endLine); }
void put(JsonOut& j, const DB::Var& v) { record(j, v.nameId, v.isInput, v.isOutput, v.msb, v.lsb, v.fileId, v.line); }
void put(JsonOut& j, const DB::FileLoc& l) { record(j, l.fileId, l.line, l.startCol); }
void put(JsonOut& j, const DB::Declaration& d) {
    record(j, d.name, d.type, d.fileId, d.kind, d.line, d.startCol, d.references);
}
void put(JsonOut& j, const DB::UnitRange& r) { record(j, r.nameId, r.fileId, r.startLine, r.endLine, r.extra); }
void put(JsonOut& j, const LoomHashMap<unsigned, HADLVectorForTuple<unsigned>>& map) {
    j.open('[');
    for (const auto& entry : map) record(j, entry.first, entry.second);
    j.close(']');
}

template <typename T>
void put(JsonOut& j, const std::vector<T>& list) {
    j.open('[');
    for (const T& item : list) put(j, item);
    j.close(']');
}

template <typename T>
void member(JsonOut& j, const char* name, const T& value) {
    j.key(name);
    put(j, value);
}

std::string describe(const DB& db) {
    JsonOut j;
    j.open('{');
    member(j, "fileNames", db.fileNames);
    member(j, "objNames", db.objNames);
    member(j, "stdVhdlLibNames", db.stdVhdlLibNames);
    member(j, "stdSVLibNames", db.stdSVLibNames);
    member(j, "optionStrValues", db.optionStrValues);
    member(j, "options", db.options);
    member(j, "dirNames", db.dirNames);
    member(j, "incDirLists", db.incDirLists);
    member(j, "macroNames", db.macroNames);
    member(j, "macroValues", db.macroValues);
    member(j, "macroDefs", db.macroDefs);
    member(j, "fileAttrs", db.fileAttrs);
    member(j, "fileProps", db.fileProps);
    member(j, "parseOrder", db.parseOrder);
    member(j, "rUnitNames", db.rUnitNames);
    member(j, "rUnitAttrs", db.rUnitAttrs);
    member(j, "unitNames", db.unitNames);
    member(j, "unitAttrs", db.unitAttrs);
    member(j, "duplicateAttrs", db.duplicateAttrs);
    member(j, "pkgIds", db.pkgIds);
    member(j, "tops", db.tops);
    member(j, "fmtStrs", db.fmtStrs);
    member(j, "argStrs", db.argStrs);
    member(j, "fileMsgs", db.fileMsgs);
    member(j, "blockRanges", db.blockRanges);
    member(j, "rUnitVars", db.rUnitVars);
    member(j, "tesselModuleNames", db.tesselModuleNames);
    member(j, "tesselLibClauseButNoInsts", db.tesselLibClauseButNoInsts);
    member(j, "enableVhdlVerilogConfig", db.enableVhdlVerilogConfig);
    member(j, "declTypes", db.declTypes);
    member(j, "variables", db.variables);
    member(j, "unitRanges", db.unitRanges);
    member(j, "status", db.status);
    member(j, "genericNames", db.genericNames);
    member(j, "genericValues", db.genericValues);
    member(j, "genericDefs", db.genericDefs);
    member(j, "nonHdlModuleNames", db.nonHdlModuleNames);
    member(j, "primaryToUnits", db.primaryToUnits);
    member(j, "derivedUnits", db.derivedUnits);
    j.close('}');
    return j.text();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: archive_sample <archive> <description.json>\n";
        return 2;
    }
    HADLDatabase empty;
    HADLDatabase db;
    fillSampleDatabase(db);
    // Both databases go out, the empty one with the suffix ".empty".
    for (const HADLDatabase* which : {&db, &empty}) {
        std::string suffix = which == &empty ? ".empty" : "";
        if (HADLDatabaseConstAPI(*which).save(argv[1] + suffix) != 0) {
            std::cerr << "save failed\n";
            return 1;
        }
        std::ofstream(argv[2] + suffix) << describe(*which) << '\n';
    }
    return 0;
}
