// Feeds arbitrary bytes to both analysers and elaborates the tops of both languages in
// one mixed call, so that instances cross between the languages (and Verilog
// configurations become tops). The bytes before the first NUL are VHDL, the rest Verilog;
// the first byte picks the language modes. Tight bounds keep each input short; any
// crash, hang or leak is a finding. Seeds: the mixed designs of tests/e2e/designs, each
// VHDL file, a NUL and its Verilog file.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzElab.h"
#include "hdl/base/Message.h"
#include "hdl/elab/ElabMixed.h"
#include "hdl/elab/VeriElaborator.h"
#include "hdl/elab/VhdlElabStore.h"
#include "hdl/elab/VhdlElaborator.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"

#ifndef SIFT_DATA_DIR
#define SIFT_DATA_DIR ""
#endif

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    hdl::Message::RegisterCallBackMsg(fuzz_elab::Silent);
    static const unsigned kVeriModes[] = {hdl::VERILOG_2K, hdl::SYSTEM_VERILOG};
    const unsigned veriMode = kVeriModes[data[0] & 1];
    const unsigned vhdlMode = hdl::VHDL_93 + (data[0] >> 1) % 4;
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    const size_t cut = text.find('\0');
    const std::string vhdl = text.substr(0, cut);
    const std::string verilog = cut == std::string::npos ? std::string() : text.substr(cut + 1);
    fuzz_elab::AnalyzeData(SIFT_DATA_DIR,
                           {{"std", "std_2008/standard.vhd"}, {"ieee", "ieee_2008/std_logic_1164.vhdl"}});
    hdl::vhdl_file::AnalyzeText(vhdl, "fuzz.vhd", "work", vhdlMode);
    hdl::vhdl_file::ResolveAll();
    hdl::veri_file::AnalyzeText(verilog, "fuzz.sv", veriMode);

    // The modules nothing instantiates, and every configuration, as the scanner offers them.
    std::vector<hdl::ElabTopRequest> verilogTops = hdl::VeriFindTops();
    for (hdl::VeriLibrary* lib : hdl::veri_file::AllLibraries())
        for (hdl::VeriModule* m : lib->AllModules())
            if (m->IsConfiguration()) verilogTops.push_back({std::string(m->Name()), lib->GetName(), ""});
    const hdl::ElabLimits limits = fuzz_elab::TightLimits();
    hdl::ElabDesign design;
    std::vector<hdl::ElabUnitId> elaboratedVerilog, elaboratedVhdl;
    const hdl::ElabGenericMap generics{{"W", "3"}, {"t", "5 ns"}};
    hdl::ElaborateMixedHdlMultipleTopsStatic(design, verilogTops, hdl::VhdlFindTops(), &generics, elaboratedVerilog,
                                             elaboratedVhdl, limits);
    fuzz_elab::PrintModestListing(design);
    hdl::veri_file::Reset();
    hdl::vhdl_file::Reset();
    hdl::VhdlElabStore::Reset();
    return 0;
}
