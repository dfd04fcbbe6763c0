// Feeds arbitrary bytes to VHDL analysis and then to elaboration of every top the text
// has (the entities nothing instantiates), with the standard packages analysed
// beforehand. Tight bounds keep each input short; any crash, hang or leak is a finding.
// The first byte picks the language mode. Seeds: the corpus's VHDL files and
// tests/hdl/elab/designs.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/elab/ElabHierPrinter.h"
#include "hdl/elab/VhdlElabStore.h"
#include "hdl/elab/VhdlElaborator.h"
#include "hdl/vhdl/VhdlLibrary.h"

#ifndef SIFT_DATA_DIR
#define SIFT_DATA_DIR ""
#endif

namespace {

void Silent(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

// The declarations of the standard packages; their functions are native.
void AnalyzeStandard() {
    static const char* const kSources[][2] = {
        {"std", "std_2008/standard.vhd"},
        {"ieee", "ieee_2008/std_logic_1164.vhdl"},
        {"ieee", "ieee_2008/numeric_std.vhdl"},
        {"ieee", "ieee_2008/math_real.vhdl"},
    };
    for (const auto& s : kSources)
        hdl::vhdl_file::Analyze((std::string(SIFT_DATA_DIR) + "/vhdl/src/" + s[1]).c_str(), s[0], hdl::VHDL_2008);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    hdl::Message::RegisterCallBackMsg(Silent);
    unsigned mode = hdl::VHDL_93 + data[0] % 4;
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    AnalyzeStandard();
    hdl::vhdl_file::AnalyzeText(text, "fuzz.vhd", "work", mode);
    hdl::vhdl_file::ResolveAll();
    hdl::ElabLimits limits;
    limits.loopIterations = 20000;
    limits.callDepth = 48;
    limits.instanceDepth = 24;
    limits.steps = 200000;
    limits.arrayElements = 1 << 16;
    limits.statements = 50000;
    hdl::ElabDesign design;
    hdl::VhdlElaborate(design, hdl::VhdlFindTops(), {{"w", "3"}}, limits);
    // The listing walks every path, and a few units can make millions of them: print
    // (to nowhere) only listings of modest size.
    std::vector<uint64_t> paths(design.UnitCount() + 1, 0);
    uint64_t total = 0;
    // Depth is bounded by the instance depth; counts saturate.
    std::function<uint64_t(hdl::ElabUnitId)> count = [&](hdl::ElabUnitId u) -> uint64_t {
        if (paths[u]) return paths[u];
        uint64_t n = 1;
        for (const hdl::ElabInstance& i : design.Unit(u).instances) n = std::min<uint64_t>(n + count(i.unit), 1u << 30);
        return paths[u] = n;
    };
    for (const hdl::ElabTop& t : design.tops) total += count(t.unit);
    if (total < 100000) {
        std::ostream nowhere(nullptr);
        hdl::ElabPrintHier(design, nowhere);
    }
    hdl::vhdl_file::Reset();
    hdl::VhdlElabStore::Reset();
    return 0;
}
