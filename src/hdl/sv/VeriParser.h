// Parser of Verilog/SystemVerilog source text into VeriModule trees. It pulls finished
// tokens from a preprocessor, builds nodes in the given arena, hands every design unit
// to the sink as soon as the unit is complete, and resolves names within each unit.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string_view>

#include "hdl/base/Arena.h"
#include "hdl/sv/VeriPreprocessor.h"
#include "hdl/sv/VeriTree.h"

namespace hdl {

struct VeriParserHooks {
    // Receives each complete top-level design unit, in source order.
    std::function<void(VeriModule*)> onUnit;
    // Finds an analysed package by name (imports and pkg::name); may be empty.
    std::function<VeriModule*(std::string_view)> findPackage;
};

class VeriParser {
public:
    VeriParser(VeriPreprocessor& pp, Arena& arena, VeriParserHooks hooks);
    ~VeriParser();
    VeriParser(const VeriParser&) = delete;
    VeriParser& operator=(const VeriParser&) = delete;

    // Parses until the preprocessor runs dry. Returns the number of syntax errors.
    unsigned parse();
    // The compilation-unit scope: a package named "$unit" that holds the declarations
    // outside design units. Empty items when there were none.
    VeriPackage* compilationUnit() const;

    // Nodes of each class that parsers made since the last reset (index: class code +
    // kVeriClassIdOffset), less those of subtrees a parse dropped. Every other node
    // hangs in the tree of a unit the parse handed over: a node that walks from the
    // units do not reach is a child missing from its class's field list.
    using NodeCounts = std::array<uint64_t, kVeriClassCount>;
    static const NodeCounts& NodesMade();
    static void ResetNodesMade();

private:
    struct Impl;
    Impl* impl_;
};

} // namespace hdl
