// The VHDL standard libraries of the data directory (std, ieee and the Synopsys
// packages), analysed before a tool's own files so that elaboration knows integer,
// std_logic_vector and numeric_std. The scanner has its own set-up; this one serves the
// front-end tools and benchmarks.
#pragma once

#include <string>

namespace sift_tools {

// The data directory: the first of LOOM_DATADIR, else the one of the source tree.
std::string DataDirectory();
// Analyses the sources of the 1993 set (`mode` below VHDL-2008) or of the 2008 set.
// False when the data directory lacks them (scripts/assemble_data.sh arranges them).
bool AnalyzeVhdlStandardLibraries(const std::string& dataDir, unsigned mode);

} // namespace sift_tools
