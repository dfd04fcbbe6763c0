#include "ElabTestUtil.h"

namespace hdl::test {

bool LoadStandardLibraries() {
    static int loaded = -1;
    if (loaded >= 0) return loaded == 1;
    static const char* const kSources[][2] = {
        {"std", "std_2008/standard.vhd"},
        {"std", "std_2008/textio.vhd"},
        {"std", "std_2008/env.vhd"},
        {"ieee", "ieee_2008/std_logic_1164.vhdl"},
        {"ieee", "ieee_2008/std_logic_1164-body.vhdl"},
        {"ieee", "ieee_2008/numeric_std.vhdl"},
        {"ieee", "ieee_2008/numeric_std-body.vhdl"},
        {"ieee", "ieee_2008/numeric_bit.vhdl"},
        {"ieee", "ieee_2008/numeric_bit-body.vhdl"},
        {"ieee", "ieee_2008/math_real.vhdl"},
        {"ieee", "ieee_2008/math_real-body.vhdl"},
    };
    MessageCapture capture;
    bool ok = true;
    for (const auto& source : kSources) {
        std::string path = std::string(SIFT_DATA_DIR) + "/vhdl/src/" + source[1];
        ok = vhdl_file::Analyze(path.c_str(), source[0], 11) && ok;
    }
    loaded = ok ? 1 : 0;
    return ok;
}

std::string AnalyzeVhdl(const std::string& text, const std::string& library, unsigned mode) {
    MessageCapture capture;
    static int files = 0;
    std::string name = "elab_test_" + std::to_string(++files) + ".vhd";
    vhdl_file::AnalyzeText(text, name.c_str(), library.c_str(), mode);
    return capture.Errors();
}

std::string UniquePackageName() {
    static int count = 0;
    return "p" + std::to_string(++count);
}

} // namespace hdl::test
