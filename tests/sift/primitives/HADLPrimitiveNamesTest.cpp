// Filling the primitive name set from the cell table, the component packages and the
// macro library's descriptions.
#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/primitives/HADLPrimitiveNames.h"
#include "sift/primitives/HADLPrimitiveTable.h"
#include "stdlibs/TempDataDir.h"

namespace {

TEST(PrimitiveTableTest, RowsAreUniqueUpperCaseCellNames) {
    ASSERT_GT(hadlPrimitiveTableSize, 300u);
    std::set<std::string> seen;
    for (std::size_t row = 0; row < hadlPrimitiveTableSize; ++row) {
        std::string name = hadlPrimitiveTable[row];
        EXPECT_TRUE(seen.insert(name).second) << "duplicate row " << name;
        ASSERT_FALSE(name.empty());
        for (char c : name) {
            EXPECT_TRUE(std::isupper(static_cast<unsigned char>(c)) || std::isdigit(static_cast<unsigned char>(c)) ||
                        c == '_')
                << name;
        }
    }
}

TEST(PrimitiveTableTest, FillsTableInRowOrder) {
    HADLPrimitiveNames names;
    names.addNamesFromTable();
    ASSERT_EQ(names.size(), hadlPrimitiveTableSize + 1); // slot 0 stays reserved
    EXPECT_EQ(names.find(hadlPrimitiveTable[0]), 1u);
    EXPECT_EQ(names.find(hadlPrimitiveTable[hadlPrimitiveTableSize - 1]), hadlPrimitiveTableSize);
    // Cells of several families of the target.
    for (const char* cell : {"SB_LUT4", "MULT18X18D", "TRELLIS_FF", "DFFSE", "TESSEL_FIFO_ASYNC"})
        EXPECT_TRUE(names.contains(cell)) << cell;
    EXPECT_TRUE(names.containsNoCase("sb_lut4"));
}

class XmlNamesTest : public ::testing::Test {
protected:
    std::string describe(const std::string& text) {
        data.write("d.xml", text);
        return data.path() + "/d.xml";
    }
    TempDataDir data;
    HADLPrimitiveNames names;
};

TEST_F(XmlNamesTest, TakesFirstModuleOfEachLineInFileCase) {
    names.addNamesFromXml(describe("<tessel_ip>\n"
                                   "  <module name=\"Ram_A\"/> <module name=\"ram_b\"/>\n"
                                   "\n"
                                   "  <module   name =  \"fifo_x\" source=\"f.sv\">\n"
                                   "</tessel_ip>\n"));
    EXPECT_EQ(names.size(), 3u);
    EXPECT_EQ(names.find("Ram_A"), 1u);
    EXPECT_EQ(names.find("fifo_x"), 2u);
    EXPECT_FALSE(names.contains("ram_b"));
    EXPECT_FALSE(names.contains("RAM_A"));
}

TEST_F(XmlNamesTest, NameEndsAtFirstDot) {
    names.addNamesFromXml(describe("<module name=\"tessel_fifo.xml\"/>\n"));
    EXPECT_TRUE(names.contains("tessel_fifo"));
    EXPECT_EQ(names.size(), 2u);
}

TEST_F(XmlNamesTest, NeedsWordStartBlanksAndQuotes) {
    const std::string path = describe("<submodule name=\"sub\"/>\n"
                                      "<modulename=\"glued\"/>\n"
                                      "<module name='single'/>\n"
                                      "<module name=\"\"/>\n"
                                      "<module name=\".hidden\"/>\n");
    testing::internal::CaptureStdout();
    names.addNamesFromXml(path);
    const std::string said = testing::internal::GetCapturedStdout();
    EXPECT_EQ(names.size(), 1u);
    // Module elements the reader cannot name are reported by line.
    const std::string prefix = "Macro library description " + path;
    EXPECT_EQ(said, prefix + ":3: module element without a name in double quotes\n" + prefix +
                        ":4: module element without a name in double quotes\n" + prefix +
                        ":5: module element without a name in double quotes\n" + prefix + " names no module\n");
}

TEST_F(XmlNamesTest, UnreadableFileAddsNothingAndSaysSo) {
    testing::internal::CaptureStdout();
    names.addNamesFromXml(data.path() + "/missing.xml");
    names.addNamesFromXml(data.path()); // a directory
    const std::string said = testing::internal::GetCapturedStdout();
    EXPECT_EQ(names.size(), 1u);
    EXPECT_EQ(said, "Macro library description " + data.path() +
                        "/missing.xml cannot be read\n"
                        "Macro library description " +
                        data.path() + " cannot be read\n");
}

TEST_F(XmlNamesTest, WellFormedDescriptionIsQuiet) {
    const std::string path = describe("<tessel_ip>\n  <module name=\"m\" source=\"m.sv\">\n</tessel_ip>\n");
    testing::internal::CaptureStdout();
    names.addNamesFromXml(path);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(names.contains("m"));
}

TEST(TesselNamesTest, WalksWholeTreeForXmlFilesOnly) {
    TempDataDir data;
    data.write("ip/tessel/mem/ram.xml", "<module name=\"t_ram\">\n");
    data.write("ip/tessel/deep/er/fifo.xml", "<module name=\"t_fifo\">\n");
    data.write("ip/tessel/notes.txt", "<module name=\"not_a_description\">\n");
    data.write("ip/tessel/x.xml.bak", "<module name=\"backup\">\n");
    data.write("ip/tessel/top.xml", "<module name=\"t_top\">\n");
    ScopedDataDirEnv env("/nonexistent-sift-dir:" + data.path());
    HADLPrimitiveNames names;
    names.addNamesFromTessel();
    EXPECT_EQ(names.size(), 4u);
    // Paths in sorted order: deep/er/fifo.xml, mem/ram.xml, top.xml.
    EXPECT_EQ(names.find("t_fifo"), 1u);
    EXPECT_EQ(names.find("t_ram"), 2u);
    EXPECT_EQ(names.find("t_top"), 3u);
}

TEST(TesselNamesTest, MissingMacroLibraryIsNoError) {
    TempDataDir data;
    data.write("vhdl/src/std/standard.vhd");
    HADLPrimitiveNames names;
    {
        ScopedDataDirEnv env(data.path());
        names.addNamesFromTessel();
    }
    {
        ScopedDataDirEnv env(nullptr);
        names.addNamesFromTessel();
    }
    EXPECT_EQ(names.size(), 1u);
}

TEST(TesselNamesTest, BundledMacroLibraryNamesEveryModuleQuietly) {
    ScopedDataDirEnv env(SIFT_DATA_DIR);
    HADLPrimitiveNames names;
    testing::internal::CaptureStdout();
    names.addNamesFromTessel();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(names.size(), 7u);
    for (const char* module : {"tessel_ram_sp", "tessel_ram_sdp", "tessel_fifo_sync", "tessel_fifo_async",
                               "tessel_cdc_sync", "tessel_cdc_pulse"})
        EXPECT_TRUE(names.contains(module)) << module;
}

const char* const kComponentPackage = "package vcomponents is\n"
                                      "  component foo_cell\n"
                                      "    port (a : in bit; y : out bit);\n"
                                      "  end component;\n"
                                      "  component Bar_Cell is\n"
                                      "  end component;\n"
                                      "end package vcomponents;\n";

TEST(VhdlPackageNamesTest, ComponentsOfPrimitiveLibrariesInUpperCase) {
    hdl::vhdl_file::Reset();
    hdl::vhdl_file::AnalyzeText(kComponentPackage, "lathe.vhd", "lathe", hdl::VHDL_93);
    hdl::vhdl_file::AnalyzeText("package p is component mortise_cell end component; end package;\n", "mortise.vhd",
                                "mortise", hdl::VHDL_93);
    // Other libraries, also ones whose name only differs in case, contribute nothing.
    hdl::vhdl_file::AnalyzeText("package q is component user_cell end component; end package;\n", "user.vhd", "work",
                                hdl::VHDL_93);
    hdl::vhdl_file::AnalyzeText("package r is component lathe2_cell end component; end package;\n", "lathe2.vhd",
                                "lathe2", hdl::VHDL_93);

    HADLPrimitiveNames names;
    names.addNamesFromVhdlPkgs();
    EXPECT_EQ(names.find("FOO_CELL"), 1u);
    EXPECT_EQ(names.find("BAR_CELL"), 2u);
    EXPECT_EQ(names.find("MORTISE_CELL"), 3u);
    EXPECT_EQ(names.findNoCase("foo_cell"), 1u);
    EXPECT_FALSE(names.contains("foo_cell"));
    EXPECT_FALSE(names.containsNoCase("user_cell"));
    EXPECT_FALSE(names.containsNoCase("lathe2_cell"));
    hdl::vhdl_file::Reset();
}

TEST(VhdlPackageNamesTest, BundledPackagesDeclareTableCells) {
    const std::string lathe = std::string(SIFT_DATA_DIR) + "/vhdl/src/lathes/lathe_retarget_VCOMP.vhd";
    const std::string mortise = std::string(SIFT_DATA_DIR) + "/vhdl/src/mortise/mortise_VCOMP.vhd";
    hdl::vhdl_file::Reset();
    hdl::vhdl_file::Analyze(lathe.c_str(), "lathe", hdl::VHDL_93);
    hdl::vhdl_file::Analyze(mortise.c_str(), "mortise", hdl::VHDL_93);
    HADLPrimitiveNames fromPackages;
    fromPackages.addNamesFromVhdlPkgs();
    EXPECT_GT(fromPackages.size(), 90u);
    HADLPrimitiveNames names;
    names.addNamesFromTable();
    const unsigned tableSize = names.size();
    names.addNamesFromVhdlPkgs();
    // The packages are generated from the same cell models as the table.
    EXPECT_EQ(names.size(), tableSize);
    EXPECT_TRUE(fromPackages.contains("SB_RAM40_4K"));
    EXPECT_TRUE(fromPackages.contains("DP16KD"));
    hdl::vhdl_file::Reset();
}

TEST(PrimitiveNamesSingletonTest, FilledOnceAtFirstUse) {
    TempDataDir data;
    data.write("ip/tessel/m.xml", "<module name=\"late_macro\">\n");
    ScopedDataDirEnv env(data.path());
    hdl::vhdl_file::Reset();
    hdl::vhdl_file::AnalyzeText(kComponentPackage, "lathe.vhd", "lathe", hdl::VHDL_93);

    HADLPrimitiveNames& first = HADLPrimitiveNames::getPrimitiveNames();
    const unsigned size = first.size();
    EXPECT_EQ(size, hadlPrimitiveTableSize + 1 + 3); // table, two components, one macro
    // Table rows first, then components, then the macro library.
    EXPECT_EQ(first.find("FOO_CELL"), hadlPrimitiveTableSize + 1);
    EXPECT_EQ(first.find("late_macro"), hadlPrimitiveTableSize + 3);

    hdl::vhdl_file::AnalyzeText("package more is component new_cell end component; end package;\n", "more.vhd",
                                "mortise", hdl::VHDL_93);
    HADLPrimitiveNames& second = HADLPrimitiveNames::getPrimitiveNames();
    EXPECT_EQ(&first, &second);
    EXPECT_EQ(second.size(), size);
    EXPECT_FALSE(second.containsNoCase("new_cell"));
    hdl::vhdl_file::Reset();
}

} // namespace
