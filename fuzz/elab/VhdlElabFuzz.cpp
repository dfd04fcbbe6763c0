// Feeds arbitrary bytes to VHDL analysis and then to elaboration of every top the text
// has (the entities nothing instantiates), with the standard packages analysed
// beforehand. Tight bounds keep each input short; any crash, hang or leak is a finding.
// The first byte picks the language mode. Seeds: the corpus's VHDL files and
// tests/hdl/elab/designs.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzElab.h"
#include "hdl/base/Message.h"
#include "hdl/elab/VhdlElabStore.h"
#include "hdl/elab/VhdlElaborator.h"
#include "hdl/vhdl/VhdlLibrary.h"

#ifndef SIFT_DATA_DIR
#define SIFT_DATA_DIR ""
#endif

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    hdl::Message::RegisterCallBackMsg(fuzz_elab::Silent);
    unsigned mode = hdl::VHDL_93 + data[0] % 4;
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    // The declarations of the standard packages; their functions are native.
    fuzz_elab::AnalyzeData(SIFT_DATA_DIR, {{"std", "std_2008/standard.vhd"},
                                           {"ieee", "ieee_2008/std_logic_1164.vhdl"},
                                           {"ieee", "ieee_2008/numeric_std.vhdl"},
                                           {"ieee", "ieee_2008/math_real.vhdl"}});
    hdl::vhdl_file::AnalyzeText(text, "fuzz.vhd", "work", mode);
    hdl::vhdl_file::ResolveAll();
    const hdl::ElabLimits limits = fuzz_elab::TightLimits();
    hdl::ElabDesign design;
    hdl::VhdlElaborate(design, hdl::VhdlFindTops(), {{"w", "3"}}, limits);
    fuzz_elab::PrintModestListing(design);
    hdl::vhdl_file::Reset();
    hdl::VhdlElabStore::Reset();
    return 0;
}
