// Every name that stands for a cell of the target rather than a module of the design:
// the static cell table, the components of the primitive VHDL packages ("lathe",
// "mortise") and the modules of the macro library. Readers look names up with or
// without regard to case through the string table.
#pragma once

#include <string>

#include "sift/database/HADLStringMatchTable.h"

class HADLPrimitiveNames : public HADLStringMatchTable {
public:
    // The process-wide set, filled on the first call from what is known at that moment:
    // packages parsed later do not add to it.
    static HADLPrimitiveNames& getPrimitiveNames();

    void addNamesFromTable();
    // Components of the "lathe" and "mortise" libraries analysed so far, upper case.
    void addNamesFromVhdlPkgs();
    // Module names of the XML descriptions under <data>/ip/tessel/; none without it.
    void addNamesFromTessel();
    // The first module name of each line of one description, as the file spells it.
    // A description that cannot be read, names no module, or has a module element
    // without a readable name gets a line on standard output.
    void addNamesFromXml(const std::string& path);
};
