// Helpers of the elaboration tests: the standard libraries analysed once per process,
// design text analysed into a library, and the messages of a run collected.
#pragma once

#include <string>
#include <vector>

#include "VhdlTestUtil.h"
#include "hdl/vhdl/VhdlLibrary.h"

#ifndef SIFT_DATA_DIR
#define SIFT_DATA_DIR ""
#endif
#ifndef SIFT_SHARED_DIR
#define SIFT_SHARED_DIR ""
#endif

namespace hdl::test {

// std and ieee (VHDL-2008 sources of the data directory), analysed on first call.
// False when the data directory has not been arranged.
bool LoadStandardLibraries();

// Analyses `text` into `library` as VHDL-2008; returns the error messages.
std::string AnalyzeVhdl(const std::string& text, const std::string& library = "work", unsigned mode = 11);

// A fresh package name for each call, so that tests do not replace each other's units.
std::string UniquePackageName();

} // namespace hdl::test
