#include "sift/scan/HADLStdLibs.h"

#include <iostream>

#include "hdl/base/Language.h"
#include "hdl/store/VhdlStore.h" // defines vhdl_file's saving and library paths
#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/base/HADLDataDir.h"
#include "sift/scan/CorvidProtectAES.h"
#include "sift/scan/HADLSifter.h"

namespace {

struct StdLibSource {
    const char* library;
    const char* path;
};

// Level 1 sources, relative to <data>/vhdl/src/, in analysis order.
const StdLibSource kVhdl93Sources[] = {
    {"std", "std/standard.vhd"},
    {"std", "std/textio.vhd"},
    {"std", "std/env.vhd"},
    {"synopsys", "synopsys/compileToSynopsys/attributes.vhd"},
    {"ieee", "ieee/distributable/std_logic_1164.vhd"},
    {"ieee", "ieee/distributable/numeric_std.vhd"},
    {"ieee", "ieee/distributable/numeric_bit.vhd"},
    {"ieee", "synopsys/compileToIeee/std_logic_arith.vhd"},
    {"ieee", "synopsys/compileToIeee/std_logic_unsigned.vhd"},
    {"ieee", "synopsys/compileToIeee/std_logic_signed.vhd"},
    {"ieee", "synopsys/compileToIeee/std_logic_misc.vhd"},
    {"ieee", "synopsys/compileToIeee/std_logic_textio.vhd"},
    {"ieee", "ieee/dummy/math_real.vhd"},
    // Beyond the classic list: the rest of the IEEE packages that have a VHDL-93 form.
    {"ieee", "ieee/dummy/math_complex.vhd"},
};

// Levels 2 and 3 share the 2008 sources.
const StdLibSource kVhdl08Sources[] = {
    {"std", "std_2008/standard.vhd"},
    {"std", "std_2008/textio.vhd"},
    {"std", "std_2008/env.vhd"},
    {"synopsys", "synopsys/compileToSynopsys/attributes.vhd"},
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
    // Beyond the classic list: every other IEEE package of VHDL-2008, so that a design
    // may use any of them.
    {"ieee", "ieee_2008/math_complex.vhdl"},
    {"ieee", "ieee_2008/math_complex-body.vhdl"},
    {"ieee", "ieee_2008/fixed_float_types.vhdl"},
    {"ieee", "ieee_2008/fixed_generic_pkg.vhdl"},
    {"ieee", "ieee_2008/fixed_generic_pkg-body.vhdl"},
    {"ieee", "ieee_2008/fixed_pkg.vhdl"},
    {"ieee", "ieee_2008/float_generic_pkg.vhdl"},
    {"ieee", "ieee_2008/float_generic_pkg-body.vhdl"},
    {"ieee", "ieee_2008/float_pkg.vhdl"},
    {"ieee", "ieee_2008/ieee_std_context.vhdl"},
    {"ieee", "ieee_2008/ieee_bit_context.vhdl"},
};

// Primitive component packages, analysed as VHDL-93 at every level.
const StdLibSource kComponentSources[] = {
    {"lathe", "lathes/lathe_retarget_VCOMP.vhd"},
    {"mortise", "mortise/mortise_VCOMP.vhd"},
    {"vl", "../../parts/corvid/rtl/lib/vhdl/kelp/src/mixed_lang_vltype.vhd"},
};

struct PrecompiledLib {
    const char* library;
    const char* dirs[3]; // level 1, 2, 3
};

const PrecompiledLib kPrecompiledVhdlLibs[] = {
    {"std", {"std", "std_2008", "std_2019"}},
    {"synopsys", {"synopsys", "synopsys_2008", "synopsys_2019"}},
    {"ieee", {"ieee", "ieee_2008", "ieee_2019"}},
    {"mortise", {"mortise", "mortise_2008", "mortise_2019"}},
    {"lathe", {"lathe", "lathe_2008", "lathe_2019"}},
    {"vl", {"vl", "vl_2008", "vl_2019"}},
    {"tessel", {"tessel", "tessel_2008", "tessel_2019"}},
};

} // namespace

std::vector<unsigned> HADLStdLibs::fileLanguages() const {
    std::vector<unsigned> langs;
    for (unsigned fileId = 1; fileId < sifter.fileAttrs.size(); ++fileId)
        langs.push_back(sifter.fileAttrs.at(fileId).lang);
    return langs;
}

unsigned HADLStdLibs::vhdlStdLevel() const { return vhdlStdLevel(fileLanguages(), sifter.options.enableVHDL2019); }

bool HADLStdLibs::hasSystemVerilog() const { return hasSystemVerilog(fileLanguages()); }

unsigned HADLStdLibs::vhdlStdLevel(const std::vector<unsigned>& langs, bool with2019) {
    unsigned level = 0;
    for (const unsigned lang : langs) {
        if (lang == hdl::LANG_NONE) continue;
        if (!with2019) {
            if (lang == hdl::LANG_VHDL08) return 2;
            if (hdl::IsVhdlLanguage(lang)) level = 1;
        } else {
            // With 2019 enabled the last VHDL file decides between 1 and 2.
            if (lang == hdl::LANG_VHDL19) return 3;
            if (lang == hdl::LANG_VHDL08) level = 2;
            else if (hdl::IsVhdlLanguage(lang)) level = 1;
        }
    }
    return level;
}

bool HADLStdLibs::hasSystemVerilog(const std::vector<unsigned>& langs) {
    for (const unsigned lang : langs)
        if (lang == hdl::LANG_SV) return true;
    return false;
}

std::vector<HADLStdLibFile> HADLStdLibs::vhdlSources(unsigned level) {
    std::vector<HADLStdLibFile> files;
    if (level == 0) return files;
    std::string base = findDataDir("vhdl/src/std/standard.vhd");
    if (base.empty()) return files;
    base += "vhdl/src/";
    if (level == 1) {
        for (const StdLibSource& source : kVhdl93Sources)
            files.push_back({hdl::LANG_VHDL93, source.library, base + source.path});
    } else {
        const unsigned lang = level == 2 ? hdl::LANG_VHDL08 : hdl::LANG_VHDL19;
        for (const StdLibSource& source : kVhdl08Sources) files.push_back({lang, source.library, base + source.path});
    }
    for (const StdLibSource& source : kComponentSources)
        files.push_back({hdl::LANG_VHDL93, source.library, base + source.path});
    std::string tessel = findDataDir("ip/tessel");
    if (!tessel.empty()) files.push_back({hdl::LANG_VHDL93, "tessel", tessel + "ip/tessel/tessel_VCOMP.vhd"});
    return files;
}

std::vector<HADLStdLibFile> HADLStdLibs::svSources(std::string& svIncludeDir) {
    std::vector<HADLStdLibFile> files;
    svIncludeDir.clear();
    std::string base = findDataDir("verilog/src/std.sv");
    if (base.empty()) return files;
    svIncludeDir = base + "/system_verilog/uvm_1.2";
    files.push_back({hdl::LANG_SV, "std", base + "/verilog/src/std.sv"});
    files.push_back({hdl::LANG_SV, "uvm", base + "/system_verilog/uvm_1.2/corvid_uvm_package.sv"});
    return files;
}

void HADLStdLibs::addStdLibFile(unsigned lang, const std::string& library, const std::string& path) {
    unsigned fileId = sifter.insertFileName(path, lang, library);
    sifter.stdLibFileIds.push_back(fileId);
    sifter.fileAttrs.at(fileId).isStdVhdl = true;
}

void HADLStdLibs::addLibraryDir(const std::string& library, const std::string& directory, bool isVhdl) {
    if (isVhdl) {
        hdl::vhdl_file::AddLOption(library.c_str());
        hdl::vhdl_file::AddLibraryPath(library.c_str(), directory.c_str());
    } else {
        hdl::veri_file::AddLOption(library.c_str());
        hdl::veri_file::AddLibraryPath(library.c_str(), directory.c_str());
    }
}

void HADLStdLibs::saveUnit(const std::string& library, const std::string& unit, bool protect, bool isVhdl) {
    if (protect) enableProtect();
    else disableProtect();
    if (!isVhdl) hdl::veri_file::Save(library.c_str(), unit.c_str());
    else if (unit.empty()) hdl::vhdl_file::SaveLib(library.c_str());
    else hdl::vhdl_file::Save(library.c_str(), unit.c_str());
}

void HADLStdLibs::attachVhdlStdLibsPrecompiled() {
    const unsigned level = vhdlStdLevel();
    if (level == 0) return;
    std::cout << "=============== Using vdb files for VHDL std libs ===========" << std::endl;
    // Some precompiled units are enciphered.
    enableProtect();
    std::string base = findDataDir("precomp_hsv/vhdl/std/standard.vdb");
    if (base.empty()) return;
    base += "precomp_hsv/vhdl/";
    for (const PrecompiledLib& lib : kPrecompiledVhdlLibs) {
        addLibraryDir(lib.library, base + lib.dirs[level - 1], true);
    }
}

void HADLStdLibs::attachSvStdLibsPrecompiled() {
    if (!hasSystemVerilog()) return;
    std::cout << "=============== Using precompiled files for SV std libs ===========" << std::endl;
    enableProtect();
    std::string base = findDataDir("precomp_hsv/sv/std/std.sdb");
    if (base.empty()) return;
    hdl::veri_file::AddIncludeDir((base + "/system_verilog/uvm_1.2").c_str());
    base += "precomp_hsv/sv/";
    addLibraryDir("std", base + "std", false);
    addLibraryDir("uvm", base + "uvm", false);
}

void HADLStdLibs::addVhdlStdLibSources() {
    const unsigned level = vhdlStdLevel();
    if (level == 0) return;
    std::cout << "=============== Using source files for VHDL std libs ===========" << std::endl;
    for (const HADLStdLibFile& file : vhdlSources(level)) addStdLibFile(file.lang, file.library, file.path);
}

void HADLStdLibs::addSvStdLibSources() {
    if (!hasSystemVerilog()) return;
    std::cout << "=============== Using source files for SV std libs ===========" << std::endl;
    std::string includeDir;
    const std::vector<HADLStdLibFile> files = svSources(includeDir);
    if (!includeDir.empty()) hdl::veri_file::AddIncludeDir(includeDir.c_str());
    for (const HADLStdLibFile& file : files) addStdLibFile(file.lang, file.library, file.path);
}
