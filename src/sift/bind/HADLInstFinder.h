// What the binder needs to know of each VHDL instance statement as it was written,
// taken before elaboration: whether it is bound `use open`, whether what it names has
// generics a map may override, and whether a library stands in front of the unit name.
// Elaborated statements are looked up through the statement they were made from.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "hdl/vhdl/VhdlTree.h"

class HADLInstFinder {
public:
    enum Bit : uint8_t { Inactive = 0, HasParam = 1, NameHasLib = 2 };

    // Notes every component instantiation statement of the unit's tree.
    void walk(hdl::VhdlTreeNode& unit);
    // The bit of a statement; one that was never walked is reported (at most 49 times a
    // bit) and answers true for Inactive, false for the others.
    bool bit(const hdl::VhdlComponentInstantiationStatement& statement, Bit which);
    size_t size() const { return bits.size(); }

private:
    std::unordered_map<const hdl::VhdlComponentInstantiationStatement*, uint8_t> bits;
    unsigned failures[3] = {0, 0, 0};
};
