// Analysis of small sources for the extraction tests: Verilog text into `work`, VHDL text
// on top of the standard packages of the data directory.
#pragma once

#include <string>

#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"

namespace extract_test {

inline void resetFrontEnds() {
    hdl::vhdl_file::Reset();
    hdl::veri_file::Reset();
}

// std.standard and ieee.std_logic_1164, as the parse phase analyses them.
inline void analyzeStandardPackages() {
    const std::string root = std::string(SIFT_DATA_DIR) + "/vhdl/src/";
    hdl::vhdl_file::Analyze((root + "std/standard.vhd").c_str(), "std", hdl::VHDL_93);
    hdl::vhdl_file::Analyze((root + "ieee/distributable/std_logic_1164.vhd").c_str(), "ieee", hdl::VHDL_93);
}

inline hdl::VeriModule* analyzeVerilog(const std::string& text, const char* name = "t.sv") {
    hdl::veri_file::AnalyzeText(text, name);
    const auto& modules = hdl::veri_file::GetLibrary("work", true)->AllModules();
    return modules.empty() ? nullptr : modules.back();
}

} // namespace extract_test
