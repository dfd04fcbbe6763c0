// What the elaboration fuzz targets share: bounds tight enough that each input stays
// short, and a listing of the result printed only when its paths are few, since a
// handful of units can make millions of them.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "hdl/base/Message.h"

#include "hdl/elab/ElabDesign.h"
#include "hdl/elab/ElabHierPrinter.h"
#include "hdl/elab/ElabLimits.h"
#include "hdl/vhdl/VhdlLibrary.h"

namespace fuzz_elab {

inline void Silent(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

// Analyses VHDL sources of the data directory's `vhdl/src` as (library, file) pairs.
inline void AnalyzeData(const char* dataDir, std::initializer_list<std::pair<const char*, const char*>> sources) {
    for (const auto& s : sources)
        hdl::vhdl_file::Analyze((std::string(dataDir) + "/vhdl/src/" + s.second).c_str(), s.first, hdl::VHDL_2008);
}

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
