// The installation's data directories: the entries of LOOM_DATADIR, separated by ':'.
#pragma once

#include <string>

// The first entry under which `relativePath` exists, with a '/' appended; an empty
// entry stands for the root. Empty when the variable is unset or empty or nothing fits.
std::string findDataDir(const std::string& relativePath);
