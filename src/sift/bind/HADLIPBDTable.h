// The source instance table: every instantiation as the parse trees show it, noted
// before elaboration under the location of the module or architecture that holds it.
// After binding, an instantiation that no instance record of its unit covers did not
// survive elaboration, and the unit it names is inactive there, whether or not the
// skim saw it (a VHDL instance inside a generate, say).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "sift/database/HADLDatabase.h"

struct SourceInst {
    uint32_t fileId = 0;
    uint32_t startLine = 0;
    uint32_t endLine = 0;
    std::string lib;
    std::string primary;
    std::string secondary;
};

class HADLIPBDTable {
public:
    // File, start line, end line, left column, right column of the enclosing unit.
    using LocationKey = std::tuple<uint32_t, uint32_t, uint32_t, uint32_t, uint32_t>;

    // Walks every Verilog module and VHDL architecture of the front-end's libraries.
    void recordIPBDInstances(const HADLDatabase& db);
    const std::vector<SourceInst>* find(const LocationKey& key) const;
    size_t size() const { return table.size(); }

private:
    std::map<LocationKey, std::vector<SourceInst>> table;
};

// Adds to each unit's inactiveUnits the units its source instantiates that survived
// no elaboration; `rUnitAlias` maps an entity's raw unit to its last architecture's.
void applyIPBDInactiveUnits(HADLDatabase& db, const HADLIPBDTable& table, const std::vector<unsigned>& rUnitAlias);
