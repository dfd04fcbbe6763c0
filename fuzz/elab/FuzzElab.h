// What the elaboration fuzz targets share: bounds tight enough that each input stays
// short, and a listing of the result printed only when its paths are few, since a
// handful of units can make millions of them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <ostream>
#include <vector>

#include "hdl/elab/ElabDesign.h"
#include "hdl/elab/ElabHierPrinter.h"
#include "hdl/elab/ElabLimits.h"

namespace fuzz_elab {

inline hdl::ElabLimits TightLimits() {
    hdl::ElabLimits limits;
    limits.loopIterations = 20000;
    limits.callDepth = 48;
    limits.instanceDepth = 24;
    limits.steps = 200000;
    limits.arrayElements = 1 << 16;
    limits.statements = 50000;
    return limits;
}

// Prints the listing to nowhere when it has fewer than 100000 paths; counts saturate, and
// their recursion is bounded by the instance depth.
inline void PrintModestListing(const hdl::ElabDesign& design) {
    std::vector<uint64_t> paths(design.UnitCount() + 1, 0);
    std::function<uint64_t(hdl::ElabUnitId)> count = [&](hdl::ElabUnitId u) -> uint64_t {
        if (paths[u]) return paths[u];
        uint64_t n = 1;
        for (const hdl::ElabInstance& i : design.Unit(u).instances) n = std::min<uint64_t>(n + count(i.unit), 1u << 30);
        return paths[u] = n;
    };
    uint64_t total = 0;
    for (const hdl::ElabTop& t : design.tops) total += count(t.unit);
    if (total >= 100000) return;
    std::ostream nowhere(nullptr);
    hdl::ElabPrintHier(design, nowhere);
}

} // namespace fuzz_elab
