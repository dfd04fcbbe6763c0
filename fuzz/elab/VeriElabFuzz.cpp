// Feeds arbitrary bytes to Verilog analysis and then to elaboration of every top the
// text has (the modules nothing instantiates). Tight bounds keep each input short; any
// crash, hang or leak is a finding. The first byte picks the language mode. Seeds: the
// corpus's Verilog files and tests/hdl/elab/verilog_designs.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzElab.h"
#include "hdl/base/Message.h"
#include "hdl/elab/VeriElaborator.h"
#include "hdl/sv/VeriLibrary.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    hdl::Message::RegisterCallBackMsg(fuzz_elab::Silent);
    static const unsigned kModes[] = {hdl::VERILOG_95, hdl::VERILOG_2K, hdl::SYSTEM_VERILOG_2005, hdl::SYSTEM_VERILOG};
    unsigned mode = kModes[data[0] % 4];
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    hdl::veri_file::AnalyzeText(text, "fuzz.sv", mode);
    const hdl::ElabLimits limits = fuzz_elab::TightLimits();
    hdl::ElabDesign design;
    hdl::VeriElaborate(design, hdl::VeriFindTops(), {{"W", "3"}}, limits);
    fuzz_elab::PrintModestListing(design);
    hdl::veri_file::Reset();
    return 0;
}
