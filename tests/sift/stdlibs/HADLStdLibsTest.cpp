// Finding the data directories and choosing, registering or attaching the standard
// libraries.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "TempDataDir.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/base/HADLDataDir.h"
#include "sift/scan/CorvidProtectAES.h"
#include "sift/scan/HADLSifter.h"
#include "sift/scan/HADLStdLibs.h"

namespace {

const char* const kVhdlBanner = "=============== Using source files for VHDL std libs ===========\n";
const char* const kSvBanner = "=============== Using source files for SV std libs ===========\n";

TEST(FindDataDirTest, UnsetOrEmptyVariableFindsNothing) {
    {
        ScopedDataDirEnv env(nullptr);
        EXPECT_EQ(findDataDir("etc"), "");
    }
    ScopedDataDirEnv env("");
    EXPECT_EQ(findDataDir("etc"), "");
}

TEST(FindDataDirTest, FirstEntryHoldingProbeWins) {
    TempDataDir first, second;
    first.write("other/file.txt");
    second.write("vhdl/src/std/standard.vhd");
    ScopedDataDirEnv env(first.path() + ":" + second.path());
    EXPECT_EQ(findDataDir("vhdl/src/std/standard.vhd"), second.path() + "/");
    EXPECT_EQ(findDataDir("other/file.txt"), first.path() + "/");
    EXPECT_EQ(findDataDir("vhdl/src"), second.path() + "/"); // directories count too
    EXPECT_EQ(findDataDir("no/such/file"), "");
}

TEST(FindDataDirTest, EmptyEntryStandsForRoot) {
    TempDataDir data;
    const std::string relative = data.path().substr(1) + "/probe";
    data.write("probe");
    ScopedDataDirEnv env("/nonexistent-sift-dir::");
    EXPECT_EQ(findDataDir(relative), "/");
}

class StdLevelTest : public ::testing::Test {
protected:
    void add(std::vector<unsigned> langs) {
        for (unsigned lang : langs)
            sifter.insertFileName("f" + std::to_string(sifter.fileNames.size()) + ".x", lang, "work");
    }
    unsigned level() { return HADLStdLibs(sifter).vhdlStdLevel(); }
    HADLSifter sifter;
};

TEST_F(StdLevelTest, NoVhdlFileIsLevelZero) {
    EXPECT_EQ(level(), 0u);
    add({2, 5, 14, 0});
    EXPECT_EQ(level(), 0u);
}

TEST_F(StdLevelTest, OneVhdl2008FileAnywhereLoadsThe2008Set) {
    add({9, 9, 2, 9, 11, 9, 8});
    EXPECT_EQ(level(), 2u);
}

TEST_F(StdLevelTest, VhdlFamilyWithout2008IsLevelOne) {
    add({8, 10, 13, 2});
    EXPECT_EQ(level(), 1u);
}

TEST_F(StdLevelTest, Vhdl2019CountsAsPlainVhdlWithoutTheOption) {
    add({12, 5});
    EXPECT_EQ(level(), 1u);
}

TEST_F(StdLevelTest, Vhdl2019WithTheOption) {
    sifter.options.enableVHDL2019 = true;
    add({9, 11, 12, 9});
    EXPECT_EQ(level(), 3u);
}

TEST_F(StdLevelTest, WithTheOptionTheLastVhdlFileDecides) {
    sifter.options.enableVHDL2019 = true;
    add({11, 9});
    EXPECT_EQ(level(), 1u);
    add({2, 11, 5});
    EXPECT_EQ(level(), 2u);
}

TEST_F(StdLevelTest, SystemVerilogOnlyByLanguageFive) {
    add({1, 2, 3, 4, 6, 7, 9, 14});
    EXPECT_FALSE(HADLStdLibs(sifter).hasSystemVerilog());
    add({5});
    EXPECT_TRUE(HADLStdLibs(sifter).hasSystemVerilog());
}

struct Registered {
    std::string path;
    std::string library;
    unsigned lang;
    bool operator==(const Registered& o) const { return path == o.path && library == o.library && lang == o.lang; }
};

void PrintTo(const Registered& r, std::ostream* os) {
    *os << "{" << r.path << ", " << r.library << ", " << r.lang << "}";
}

class StdSourcesTest : public ::testing::Test {
protected:
    void SetUp() override {
        data.write("vhdl/src/std/standard.vhd");
        data.write("verilog/src/std.sv");
    }
    std::vector<Registered> registered() const {
        std::vector<Registered> out;
        for (unsigned id : sifter.stdLibFileIds) {
            const auto& attr = sifter.fileAttrs.at(id);
            EXPECT_TRUE(attr.isStdVhdl);
            out.push_back({sifter.fileNames.getString(id), sifter.objNames.getString(attr.libId), attr.lang});
        }
        return out;
    }
    // Runs both source steps as configure does and returns what they printed.
    std::string addSources() {
        testing::internal::CaptureStdout();
        HADLStdLibs libs(sifter);
        libs.addVhdlStdLibSources();
        libs.addSvStdLibSources();
        return testing::internal::GetCapturedStdout();
    }
    TempDataDir data;
    HADLSifter sifter;
};

TEST_F(StdSourcesTest, VerilogOnlyProjectPrintsNothingAndRegistersNothing) {
    ScopedDataDirEnv env(data.path());
    sifter.insertFileName("a.v", 2, "work");
    EXPECT_EQ(addSources(), "");
    EXPECT_TRUE(sifter.stdLibFileIds.empty());
    EXPECT_EQ(sifter.fileNames.size(), 2u);
}

TEST_F(StdSourcesTest, Level1SetInOrderWithComponentPackagesAndMacroLibrary) {
    data.write("ip/tessel/tessel_VCOMP.vhd");
    ScopedDataDirEnv env(data.path());
    sifter.insertFileName("a.vhd", 9, "work");
    EXPECT_EQ(addSources(), kVhdlBanner);
    const std::string b = data.path() + "/vhdl/src/";
    const std::vector<Registered> expected = {
        {b + "std/standard.vhd", "std", 9},
        {b + "std/textio.vhd", "std", 9},
        {b + "std/env.vhd", "std", 9},
        {b + "synopsys/compileToSynopsys/attributes.vhd", "synopsys", 9},
        {b + "ieee/distributable/std_logic_1164.vhd", "ieee", 9},
        {b + "ieee/distributable/numeric_std.vhd", "ieee", 9},
        {b + "ieee/distributable/numeric_bit.vhd", "ieee", 9},
        {b + "synopsys/compileToIeee/std_logic_arith.vhd", "ieee", 9},
        {b + "synopsys/compileToIeee/std_logic_unsigned.vhd", "ieee", 9},
        {b + "synopsys/compileToIeee/std_logic_signed.vhd", "ieee", 9},
        {b + "synopsys/compileToIeee/std_logic_misc.vhd", "ieee", 9},
        {b + "synopsys/compileToIeee/std_logic_textio.vhd", "ieee", 9},
        {b + "ieee/dummy/math_real.vhd", "ieee", 9},
        {b + "ieee/dummy/math_complex.vhd", "ieee", 9},
        {b + "lathes/lathe_retarget_VCOMP.vhd", "lathe", 9},
        {b + "mortise/mortise_VCOMP.vhd", "mortise", 9},
        {b + "../../parts/corvid/rtl/lib/vhdl/kelp/src/mixed_lang_vltype.vhd", "vl", 9},
        {data.path() + "/ip/tessel/tessel_VCOMP.vhd", "tessel", 9},
    };
    EXPECT_EQ(registered(), expected);
}

TEST_F(StdSourcesTest, Level2And3ShareThe2008FilesWithTheirOwnLanguage) {
    ScopedDataDirEnv env(data.path());
    sifter.insertFileName("a.vhd", 11, "work");
    addSources();
    std::vector<Registered> level2 = registered();
    // 21 listed standard files, the 11 other IEEE files after them, 3 packages, no
    // macro library.
    ASSERT_EQ(level2.size(), 35u);
    EXPECT_EQ(level2.front().path, data.path() + "/vhdl/src/std_2008/standard.vhd");
    EXPECT_EQ(level2[4].path, data.path() + "/vhdl/src/ieee_2008/std_logic_1164.vhdl");
    EXPECT_EQ(level2[20].path, data.path() + "/vhdl/src/ieee_2008/math_real-body.vhdl");
    EXPECT_EQ(level2[21].path, data.path() + "/vhdl/src/ieee_2008/math_complex.vhdl");
    EXPECT_EQ(level2[26].path, data.path() + "/vhdl/src/ieee_2008/fixed_pkg.vhdl");
    EXPECT_EQ(level2[31].path, data.path() + "/vhdl/src/ieee_2008/ieee_bit_context.vhdl");
    for (std::size_t i = 0; i < 32; ++i) EXPECT_EQ(level2[i].lang, 11u) << level2[i].path;
    for (std::size_t i = 21; i < 32; ++i) EXPECT_EQ(level2[i].library, "ieee") << level2[i].path;
    for (std::size_t i = 32; i < 35; ++i) EXPECT_EQ(level2[i].lang, 9u) << level2[i].path;

    HADLSifter s2019;
    s2019.options.enableVHDL2019 = true;
    s2019.insertFileName("b.vhd", 12, "work");
    HADLStdLibs(s2019).addVhdlStdLibSources();
    ASSERT_EQ(s2019.stdLibFileIds.size(), 35u);
    for (std::size_t i = 0; i < 35; ++i) {
        const unsigned id = s2019.stdLibFileIds[i];
        EXPECT_EQ(s2019.fileNames.getString(id), level2[i].path);
        EXPECT_EQ(s2019.fileAttrs.at(id).lang, i < 32 ? 12u : 9u);
    }
}

TEST_F(StdSourcesTest, DataDirWithoutStandardPackageStopsAfterBanner) {
    TempDataDir empty;
    empty.write("ip/tessel/tessel_VCOMP.vhd");
    ScopedDataDirEnv env(empty.path());
    sifter.insertFileName("a.vhd", 9, "work");
    sifter.insertFileName("b.sv", 5, "work");
    EXPECT_EQ(addSources(), std::string(kVhdlBanner) + kSvBanner);
    EXPECT_TRUE(sifter.stdLibFileIds.empty());
}

TEST_F(StdSourcesTest, SecondDataDirServesWhenFirstLacksProbe) {
    TempDataDir first;
    first.write("ip/tessel/tessel_VCOMP.vhd");
    ScopedDataDirEnv env(first.path() + ":" + data.path());
    sifter.insertFileName("a.vhd", 9, "work");
    addSources();
    std::vector<Registered> files = registered();
    ASSERT_EQ(files.size(), 18u);
    EXPECT_EQ(files.front().path, data.path() + "/vhdl/src/std/standard.vhd");
    // The macro library is looked up on its own and found in the first directory.
    EXPECT_EQ(files.back().path, first.path() + "/ip/tessel/tessel_VCOMP.vhd");
}

TEST_F(StdSourcesTest, SystemVerilogStdAndUvmWithPathsAsJoined) {
    ScopedDataDirEnv env(data.path());
    sifter.insertFileName("a.sv", 5, "lib");
    EXPECT_EQ(addSources(), kSvBanner);
    const std::vector<Registered> expected = {
        {data.path() + "//verilog/src/std.sv", "std", 5},
        {data.path() + "//system_verilog/uvm_1.2/corvid_uvm_package.sv", "uvm", 5},
    };
    EXPECT_EQ(registered(), expected);
}

TEST_F(StdSourcesTest, BundledDataDirHoldsEveryRegisteredFile) {
    const std::string bundled = SIFT_DATA_DIR;
    if (!boost::filesystem::exists(bundled + "/vhdl/src/std/standard.vhd"))
        GTEST_SKIP() << "run scripts/assemble_data.sh to arrange the standard sources";
    ScopedDataDirEnv env(bundled);
    for (unsigned lang : {9u, 11u}) {
        HADLSifter s;
        s.insertFileName("a.vhd", lang, "work");
        s.insertFileName("b.sv", 5, "work");
        testing::internal::CaptureStdout();
        HADLStdLibs(s).addVhdlStdLibSources();
        HADLStdLibs(s).addSvStdLibSources();
        testing::internal::GetCapturedStdout();
        ASSERT_EQ(s.stdLibFileIds.size(), lang == 9 ? 20u : 38u);
        for (unsigned id : s.stdLibFileIds) {
            const std::string path = s.fileNames.getString(id);
            // UVM is not bundled; its absence is harmless.
            if (path.find("uvm_1.2") != std::string::npos) continue;
            EXPECT_TRUE(boost::filesystem::is_regular_file(path)) << path;
        }
    }
}

class PrecompiledTest : public ::testing::Test {
protected:
    void SetUp() override {
        hdl::vhdl_file::Reset();
        hdl::veri_file::Reset();
    }
    void TearDown() override {
        hdl::vhdl_file::Reset();
        hdl::veri_file::Reset();
    }
    std::string attach() {
        testing::internal::CaptureStdout();
        HADLStdLibs libs(sifter);
        libs.attachVhdlStdLibsPrecompiled();
        libs.attachSvStdLibsPrecompiled();
        return testing::internal::GetCapturedStdout();
    }
    HADLSifter sifter;
};

TEST_F(PrecompiledTest, NothingToAttachWithoutPrecompiledFiles) {
    TempDataDir data;
    data.write("vhdl/src/std/standard.vhd");
    ScopedDataDirEnv env(data.path());
    sifter.insertFileName("a.vhd", 9, "work");
    sifter.insertFileName("a.sv", 5, "work");
    EXPECT_EQ(attach(), "=============== Using vdb files for VHDL std libs ===========\n"
                        "=============== Using precompiled files for SV std libs ===========\n");
    EXPECT_TRUE(hdl::vhdl_file::LOptions().empty());
    EXPECT_TRUE(hdl::veri_file::GetLOptions().empty());
    EXPECT_TRUE(sifter.stdLibFileIds.empty());
}

TEST_F(PrecompiledTest, VerilogOnlyProjectPrintsNothing) {
    sifter.insertFileName("a.v", 2, "work");
    EXPECT_EQ(attach(), "");
}

TEST_F(PrecompiledTest, VhdlLibrariesAttachedInFixedOrder) {
    TempDataDir data;
    data.write("precomp_hsv/vhdl/std/standard.vdb");
    ScopedDataDirEnv env(data.path());
    sifter.insertFileName("a.vhd", 11, "work");
    attach();
    const std::vector<std::string> expected = {"std", "synopsys", "ieee", "mortise", "lathe", "vl", "tessel"};
    EXPECT_EQ(hdl::vhdl_file::LOptions(), expected);
    EXPECT_TRUE(sifter.stdLibFileIds.empty());
}

// The compile dump: every library analysed, one file per primary unit; a library with
// a component package saved whole; math_real and math_complex enciphered.
TEST_F(PrecompiledTest, CompileDumpWritesEveryLibraryAndAttachRestoresIt) {
    TempDataDir data;
    data.write("src/std.vhd", "package standard is\n  type bit is ('0', '1');\nend;\n");
    data.write("src/math.vhd", "package math_real is\n  constant pi : integer := 3;\nend;\n");
    data.write("src/plain.vhd", "package plain_pkg is\n  constant two : integer := 2;\nend;\n");
    data.write("src/comp.vhd", "package vcomponents is\nend;\npackage extra is\nend;\n");
    hdl::vhdl_file::Analyze((data.path() + "/src/std.vhd").c_str(), "std", hdl::VHDL_93);
    hdl::vhdl_file::Analyze((data.path() + "/src/math.vhd").c_str(), "ieee", hdl::VHDL_93);
    hdl::vhdl_file::Analyze((data.path() + "/src/plain.vhd").c_str(), "ieee", hdl::VHDL_93);
    hdl::vhdl_file::Analyze((data.path() + "/src/comp.vhd").c_str(), "lathe", hdl::VHDL_93);
    const std::string out = data.path() + "/precomp_hsv/vhdl";
    sifter.compileDump(out);
    for (const char* file :
         {"std/standard.vdb", "ieee/math_real.vdb", "ieee/plain_pkg.vdb", "lathe/vcomponents.vdb", "lathe/extra.vdb"})
        EXPECT_TRUE(boost::filesystem::is_regular_file(out + "/" + file)) << file;
    auto flags = [&](const std::string& file) {
        std::ifstream in(out + "/" + file, std::ios::binary);
        char header[24] = {};
        in.read(header, sizeof header);
        return static_cast<int>(header[20]);
    };
    EXPECT_EQ(flags("ieee/math_real.vdb"), 1); // enciphered
    EXPECT_EQ(flags("ieee/plain_pkg.vdb"), 0);
    EXPECT_EQ(flags("std/standard.vdb"), 0);

    // Without -outdir, the current directory.
    TempDataDir here;
    const auto previous = boost::filesystem::current_path();
    boost::filesystem::current_path(here.path());
    sifter.compileDump("");
    boost::filesystem::current_path(previous);
    EXPECT_TRUE(boost::filesystem::is_regular_file(here.path() + "/ieee/plain_pkg.vdb"));

    // A run with the precompiled libraries restores what it asks for, the enciphered
    // unit too.
    hdl::vhdl_file::Reset();
    ScopedDataDirEnv env(data.path());
    HADLSifter run;
    run.insertFileName("a.vhd", 9, "work");
    testing::internal::CaptureStdout();
    HADLStdLibs(run).attachVhdlStdLibsPrecompiled();
    testing::internal::GetCapturedStdout();
    hdl::VhdlLibrary* ieee = hdl::vhdl_file::GetLibrary("ieee");
    ASSERT_NE(ieee, nullptr);
    EXPECT_EQ(ieee->PrimaryUnits().size(), 0u); // nothing until asked for
    EXPECT_NE(ieee->GetPrimUnit("plain_pkg"), nullptr);
    EXPECT_NE(ieee->GetPrimUnit("math_real"), nullptr);
    EXPECT_NE(hdl::vhdl_file::GetLibrary("lathe")->GetPrimUnit("extra"), nullptr);
    EXPECT_EQ(hdl::vhdl_file::GetLibrary("tessel")->GetPrimUnit("vcomponents"), nullptr);
    disableProtect();
}

TEST_F(PrecompiledTest, SvLibrariesAttachedWhenProbeFound) {
    TempDataDir data;
    data.write("precomp_hsv/sv/std/std.sdb");
    ScopedDataDirEnv env(data.path());
    sifter.insertFileName("a.sv", 5, "work");
    sifter.insertFileName("b.vhd", 9, "work");
    attach();
    EXPECT_EQ(hdl::veri_file::GetLOptions(), (std::vector<std::string>{"std", "uvm"}));
    // No VHDL probe: the VHDL side stays empty.
    EXPECT_TRUE(hdl::vhdl_file::LOptions().empty());
}

// The compile dump writes the Verilog libraries too, one file per unit, in the layout
// the precompiled attach probes; a run attaches them and restores the package std
// that a design imports, while a misspelt import stays unknown.
TEST_F(PrecompiledTest, CompileDumpWritesVerilogLibrariesAndAttachRestoresThem) {
    TempDataDir data;
    data.write("src/std.sv",
               "package std;\n  typedef int handle_t;\n  function int f(); return 1; endfunction\nendpackage\n");
    data.write("src/uvm.sv", "package uvm_pkg;\n  import std::*;\n  localparam handle_t H = 3;\nendpackage\n");
    ASSERT_TRUE(hdl::veri_file::Analyze((data.path() + "/src/std.sv").c_str(), hdl::SYSTEM_VERILOG, "std"));
    ASSERT_TRUE(hdl::veri_file::Analyze((data.path() + "/src/uvm.sv").c_str(), hdl::SYSTEM_VERILOG, "uvm"));
    const std::string out = data.path() + "/precomp_hsv/sv";
    sifter.compileDump(out);
    EXPECT_TRUE(boost::filesystem::is_regular_file(out + "/std/std.sdb"));
    EXPECT_TRUE(boost::filesystem::is_regular_file(out + "/uvm/uvm_pkg.sdb"));

    hdl::veri_file::Reset();
    ScopedDataDirEnv env(data.path());
    HADLSifter run;
    run.insertFileName("a.sv", 5, "work");
    testing::internal::CaptureStdout();
    HADLStdLibs(run).attachSvStdLibsPrecompiled();
    testing::internal::GetCapturedStdout();
    hdl::VeriLibrary* uvm = hdl::veri_file::GetLibrary("uvm");
    ASSERT_NE(uvm, nullptr);
    EXPECT_TRUE(uvm->AllModules().empty()); // nothing until asked for
    ASSERT_TRUE(hdl::veri_file::AnalyzeText("module m; import uvm_pkg::*; localparam int X = H; endmodule\n", "m.sv",
                                            hdl::SYSTEM_VERILOG, "work"));
    hdl::VeriModule* pkg = uvm->GetModule("uvm_pkg", false);
    ASSERT_NE(pkg, nullptr);
    // Its import of std restored std too, from the other library.
    ASSERT_NE(pkg->GetScope()->imports(), nullptr);
    EXPECT_EQ(pkg->GetScope()->imports()->package, hdl::veri_file::GetLibrary("std")->GetModule("std", false));
    EXPECT_NE(pkg->GetScope()->imports()->package, nullptr);
    EXPECT_FALSE(
        hdl::veri_file::AnalyzeText("module n; import uvm_pkk::*; endmodule\n", "n.sv", hdl::SYSTEM_VERILOG, "work"));
    disableProtect();
}

} // namespace
