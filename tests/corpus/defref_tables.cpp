// Prints the definition/reference tables of a saved database as tab-separated rows, for
// the corpus gate to compare with what the independent tools find:
//   F  FILE-ID  PATH
//   P  RAW-UNIT-KEY  INDEX  NAME  IN  OUT  MSB  LSB  FILE-ID  LINE
//   D  DECL-ID  NAME  TYPE  KIND  FILE-ID  LINE  COL
//   R  DECL-ID  FILE-ID  LINE  COL
//   U  NAME  FILE-ID  START  END
//   B  FILE-ID  START  END
// Exit status 2 when the archive cannot be read.
#include <cstdio>
#include <string>

#include "sift/database/HADLDatabase.h"
#include "sift/database/HADLDatabaseAPI.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: defref_tables ARCHIVE\n");
        return 2;
    }
    HADLDatabase db;
    if (HADLDatabaseAPI(db).load(argv[1]) != 0) return 2;
    // Type texts may span lines: a row keeps to one.
    auto name = [](const HADLStringIndexTable& t, unsigned id) {
        std::string text = id ? t.getString(id) : "";
        for (char& c : text)
            if (c == '\t' || c == '\n' || c == '\r') c = ' ';
        return text;
    };
    for (unsigned f = 1; f < db.fileNames.size(); ++f) std::printf("F\t%u\t%s\n", f, name(db.fileNames, f).c_str());
    for (unsigned u = 1; u < db.rUnitVars.size(); ++u) {
        unsigned index = 0;
        for (const HADLDatabase::Var& v : db.rUnitVars[u])
            std::printf("P\t%s\t%u\t%s\t%d\t%d\t%u\t%u\t%u\t%u\n", name(db.rUnitNames, u).c_str(), index++,
                        name(db.objNames, v.nameId).c_str(), int(v.isInput), int(v.isOutput), v.msb, v.lsb, v.fileId,
                        v.line);
    }
    for (unsigned d = 1; d < db.variables.size(); ++d) {
        const HADLDatabase::Declaration& decl = db.variables[d];
        std::printf("D\t%u\t%s\t%s\t%u\t%u\t%u\t%u\n", d, name(db.objNames, decl.name).c_str(),
                    name(db.declTypes, decl.type).c_str(), decl.kind, decl.fileId, decl.line, decl.startCol);
        for (unsigned r = 1; r < decl.references.size(); ++r) {
            const HADLDatabase::FileLoc& at = decl.references[r];
            std::printf("R\t%u\t%u\t%u\t%u\n", d, at.fileId, at.line, at.startCol);
        }
    }
    for (unsigned u = 1; u < db.unitRanges.size(); ++u) {
        const HADLDatabase::UnitRange& r = db.unitRanges[u];
        std::printf("U\t%s\t%u\t%u\t%u\n", name(db.objNames, r.nameId).c_str(), r.fileId, r.startLine, r.endLine);
    }
    for (unsigned f = 1; f < db.blockRanges.size(); ++f)
        for (const HADLDatabase::Range& r : db.blockRanges[f])
            std::printf("B\t%u\t%u\t%u\n", f, r.startLine, r.endLine);
    return 0;
}
