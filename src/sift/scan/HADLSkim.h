// The skim: the pre-scanner reads every registered file once, and the results become
// the raw units with their instances, the included files, the files each file needs
// first (parsReqFiles) or that declare the same units (parsOvrFiles), and parseOrder.
#pragma once

#include <string>

#include "hdl/sort/SortElement.h"

class HADLDatabase;
class HADLSifter;
class HADLStringMatchTable;

// The whole skim step of a run: settings to the pre-scanner, every file registered
// under the include tracer, then computeParseOrder.
void hadlDoSkim(HADLSifter& sifter, const HADLStringMatchTable& primitiveNames);

// Turns what the pre-scanner holds into the database's skim tables.
void computeParseOrder(HADLDatabase& db, const HADLStringMatchTable& primitiveNames);

// Key of a raw unit: separator, library, separator, primary[, separator, secondary],
// with "/" for the VHDL family (lang 8..13) and "." otherwise.
std::string rUnitKey(unsigned lang, const std::string& library, const std::string& primary,
                     const std::string& secondary);

// File id of the element's file; a name the database lacks is added.
unsigned fileIdOfElement(HADLDatabase& db, const hdl::FileElement& element);
