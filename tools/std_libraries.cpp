#include "std_libraries.h"

#include <cstdlib>
#include <sys/stat.h>

#include "hdl/vhdl/VhdlLibrary.h"

#ifndef SIFT_DATA_DIR
#define SIFT_DATA_DIR ""
#endif

namespace sift_tools {

namespace {

struct Source {
    const char* library;
    const char* path; // under <data>/vhdl/src/
};

const Source k93[] = {
    {"std", "std/standard.vhd"},
    {"std", "std/textio.vhd"},
    {"std", "std/env.vhd"},
    {"ieee", "ieee/distributable/std_logic_1164.vhd"},
    {"ieee", "ieee/distributable/numeric_std.vhd"},
    {"ieee", "ieee/distributable/numeric_bit.vhd"},
    {"ieee", "synopsys/compileToIeee/std_logic_arith.vhd"},
    {"ieee", "synopsys/compileToIeee/std_logic_unsigned.vhd"},
    {"ieee", "synopsys/compileToIeee/std_logic_signed.vhd"},
    {"ieee", "synopsys/compileToIeee/std_logic_misc.vhd"},
    {"ieee", "synopsys/compileToIeee/std_logic_textio.vhd"},
    {"ieee", "ieee/dummy/math_real.vhd"},
};

const Source k2008[] = {
    {"std", "std_2008/standard.vhd"},
    {"std", "std_2008/textio.vhd"},
    {"std", "std_2008/env.vhd"},
    {"ieee", "ieee_2008/std_logic_1164.vhdl"},
    {"ieee", "ieee_2008/std_logic_1164-body.vhdl"},
    {"ieee", "ieee_2008/numeric_std.vhdl"},
    {"ieee", "ieee_2008/numeric_std-body.vhdl"},
    {"ieee", "ieee_2008/numeric_std_unsigned.vhdl"},
    {"ieee", "ieee_2008/numeric_std_unsigned-body.vhdl"},
    {"ieee", "ieee_2008/numeric_bit.vhdl"},
    {"ieee", "ieee_2008/numeric_bit-body.vhdl"},
    {"ieee", "ieee_2008/numeric_bit_unsigned.vhdl"},
    {"ieee", "ieee_2008/numeric_bit_unsigned-body.vhdl"},
    {"ieee", "synopsys/compileToIeee_2008/std_logic_arith.vhd"},
    {"ieee", "synopsys/compileToIeee_2008/std_logic_unsigned.vhd"},
    {"ieee", "synopsys/compileToIeee_2008/std_logic_signed.vhd"},
    {"ieee", "synopsys/compileToIeee_2008/std_logic_misc.vhd"},
    {"ieee", "ieee_2008/std_logic_textio.vhdl"},
    {"ieee", "ieee_2008/math_real.vhdl"},
    {"ieee", "ieee_2008/math_real-body.vhdl"},
};

bool Exists(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0;
}

} // namespace

std::string DataDirectory() {
    if (const char* env = std::getenv("LOOM_DATADIR")) {
        std::string dirs = env;
        std::string first = dirs.substr(0, dirs.find(':'));
        if (!first.empty()) return first;
    }
    return SIFT_DATA_DIR;
}

bool AnalyzeVhdlStandardLibraries(const std::string& dataDir, unsigned mode) {
    bool is2008 = mode >= hdl::VHDL_2008;
    const Source* begin = is2008 ? std::begin(k2008) : std::begin(k93);
    const Source* end = is2008 ? std::end(k2008) : std::end(k93);
    std::string base = dataDir + "/vhdl/src/";
    if (!Exists(base + begin->path)) return false;
    unsigned level = is2008 ? hdl::VHDL_2008 : hdl::VHDL_93;
    for (const Source* s = begin; s != end; ++s) hdl::vhdl_file::Analyze((base + s->path).c_str(), s->library, level);
    return true;
}

} // namespace sift_tools
