// Feeds arbitrary bytes to Verilog analysis and then to elaboration of every top the
// text has (the modules nothing instantiates). Tight bounds keep each input short; any
// crash, hang or leak is a finding. The first byte picks the language mode. Seeds: the
// corpus's Verilog files and tests/hdl/elab/verilog_designs.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/elab/ElabHierPrinter.h"
#include "hdl/elab/VeriElaborator.h"
#include "hdl/sv/VeriLibrary.h"

namespace {

void Silent(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    hdl::Message::RegisterCallBackMsg(Silent);
    static const unsigned kModes[] = {hdl::VERILOG_95, hdl::VERILOG_2K, hdl::SYSTEM_VERILOG_2005, hdl::SYSTEM_VERILOG};
    unsigned mode = kModes[data[0] % 4];
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    hdl::veri_file::AnalyzeText(text, "fuzz.sv", mode);
    hdl::ElabLimits limits;
    limits.loopIterations = 20000;
    limits.callDepth = 48;
    limits.instanceDepth = 24;
    limits.steps = 200000;
    limits.arrayElements = 1 << 16;
    limits.statements = 50000;
    hdl::ElabDesign design;
    hdl::VeriElaborate(design, hdl::VeriFindTops(), {{"W", "3"}}, limits);
    // The listing walks every path, and a few units can make millions of them: print
    // (to nowhere) only listings of modest size.
    std::vector<uint64_t> paths(design.UnitCount() + 1, 0);
    uint64_t total = 0;
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
    hdl::veri_file::Reset();
    return 0;
}
