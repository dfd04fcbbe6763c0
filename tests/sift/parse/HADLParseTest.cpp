// The parse phase over small projects: order of analysis, library announcement,
// include directories and macros, and the duplicate records.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/scan/HADLParse.h"
#include "sift/scan/HADLSifter.h"
#include "sift/scan/HADLStdLibs.h"
#include <boost/filesystem/operations.hpp>

#include "stdlibs/TempDataDir.h"

namespace {

using Names = std::vector<std::string>;

class ParseTest : public ::testing::Test {
protected:
    void SetUp() override { resetFrontEnds(); }
    void TearDown() override { resetFrontEnds(); }
    static void resetFrontEnds() {
        hdl::vhdl_file::Reset();
        hdl::veri_file::Reset();
    }

    // Writes the file and enters it in the project and, unless it is a standard
    // library source, in the parse order.
    unsigned add(const std::string& name, const std::string& text, unsigned lang, const std::string& library = "work") {
        dir.write(name, text);
        unsigned id = sifter.insertFileName(dir.path() + "/" + name, lang, library);
        sifter.parseOrder.push_back(id);
        return id;
    }
    void addRawUnit(const std::string& library, const std::string& primary, const std::string& secondary,
                    std::vector<unsigned> fileIds) {
        HADLDatabase::RUnitAttr unit;
        unit.libId = sifter.objNames.insert(library.c_str());
        unit.primaryId = sifter.objNames.insert(primary.c_str());
        unit.secondaryId = secondary.empty() ? 0 : sifter.objNames.insert(secondary.c_str());
        for (unsigned id : fileIds) unit.fileIds.push_back(id);
        sifter.rUnitAttrs.push_back(unit);
    }
    void parse() {
        testing::internal::CaptureStdout();
        HADLParse(sifter).doParse();
        testing::internal::GetCapturedStdout();
    }
    // The file's errors as "line: format | argument | ...".
    Names errors(unsigned file) const {
        Names texts;
        for (const auto& msg : sifter.fileMsgs.at(file)) {
            if (msg.type != 1) continue;
            std::string text = sifter.fmtStrs.getString(msg.fmtId);
            for (unsigned arg : msg.args) text += std::string(" | ") + sifter.argStrs.getString(arg);
            texts.push_back(std::to_string(msg.line) + ": " + text);
        }
        return texts;
    }
    static bool hasModule(const char* library, const char* name) {
        hdl::VeriLibrary* lib = hdl::veri_file::GetLibrary(library);
        return lib && lib->GetModule(name);
    }

    TempDataDir dir;
    HADLSifter sifter;
};

TEST_F(ParseTest, LibrariesAnnouncedOnceInOrderOfFirstUse) {
    add("a.v", "module a; endmodule\n", 2, "liba");
    add("b.vhd", "entity b is end entity;\n", 9, "libb");
    add("c.vhd", "entity c is end entity;\n", 9, "liba");
    add("d.sv", "module d; endmodule\n", 5, "libb");
    parse();
    EXPECT_EQ(hdl::veri_file::GetLOptions(), (Names{"liba", "libb"}));
    EXPECT_EQ(hdl::vhdl_file::LOptions(), (Names{"liba", "libb"}));
    EXPECT_TRUE(hasModule("liba", "a"));
    EXPECT_TRUE(hasModule("libb", "d"));
    ASSERT_NE(hdl::vhdl_file::GetLibrary("liba"), nullptr);
    EXPECT_NE(hdl::vhdl_file::GetLibrary("liba")->GetPrimUnit("c"), nullptr);
}

TEST_F(ParseTest, StrictSearchOrderAnnouncesToVerilogOnly) {
    sifter.options.strictVhdlLibSearchOrder = true;
    add("a.vhd", "entity a is end entity;\n", 11, "lib1");
    add("b.v", "module b; endmodule\n", 2, "lib2");
    parse();
    EXPECT_TRUE(hdl::vhdl_file::LOptions().empty());
    EXPECT_EQ(hdl::veri_file::GetLOptions(), (Names{"lib1", "lib2"}));
}

TEST_F(ParseTest, LanguageCodeChoosesFrontEnd) {
    HADLParse::analyzeFile("", "x", 0); // code 0 counts as VHDL
    dir.write("top_bit.v", "module top_bit; endmodule\n");
    HADLParse::analyzeFile(dir.path() + "/top_bit.v", "v", 0x80000002u);
    dir.write("e.vhd", "entity e is end entity;\n");
    HADLParse::analyzeFile(dir.path() + "/e.vhd", "h", 11);
    EXPECT_TRUE(hasModule("v", "top_bit"));
    ASSERT_NE(hdl::vhdl_file::GetLibrary("h"), nullptr);
    EXPECT_NE(hdl::vhdl_file::GetLibrary("h")->GetPrimUnit("e"), nullptr);
    EXPECT_EQ(hdl::veri_file::GetLibrary("h"), nullptr);
}

TEST_F(ParseTest, SkipsStandardDisabledAndIncludeFiles) {
    unsigned stdFile = add("s.v", "module in_std_list; endmodule\n", 2, "std");
    sifter.fileAttrs.at(stdFile).isStdVhdl = true;
    unsigned off = add("off.v", "module disabled_one; endmodule\n", 2);
    sifter.fileAttrs.at(off).isDisabled = true;
    add("inc.vh", "module from_include; endmodule\n", 14);
    add("on.v", "module enabled_one; endmodule\n", 2);
    parse();
    EXPECT_FALSE(hasModule("std", "in_std_list")); // not in stdLibFileIds: never analysed
    EXPECT_FALSE(hasModule("work", "disabled_one"));
    EXPECT_FALSE(hasModule("work", "from_include"));
    EXPECT_TRUE(hasModule("work", "enabled_one"));
    EXPECT_EQ(hdl::veri_file::GetLOptions(), (Names{"work"}));
}

TEST_F(ParseTest, StandardSourcesFirstWithoutProjectMacrosOrIncludes) {
    dir.write("inc/defs.vh", "`define FROM_INCLUDE\n");
    dir.write("stdlib.sv", "`ifdef PROJECT_MACRO\nmodule std_saw_macro; endmodule\n"
                           "`else\nmodule std_without_macro; endmodule\n`endif\n");
    unsigned stdId = sifter.insertFileName(dir.path() + "/stdlib.sv", 5, "std");
    sifter.fileAttrs.at(stdId).isStdVhdl = true;
    sifter.stdLibFileIds.push_back(stdId);
    sifter.dirNames.insert((dir.path() + "/inc").c_str());
    sifter.addMacro("PROJECT_MACRO", nullptr);
    sifter.addMacro("MOD_NAME", "named_by_macro");
    add("p.sv",
        "`include \"defs.vh\"\n"
        "`ifdef FROM_INCLUDE\n`ifdef PROJECT_MACRO\nmodule `MOD_NAME; endmodule\n`endif\n`endif\n",
        5);
    parse();
    EXPECT_TRUE(hasModule("std", "std_without_macro"));
    EXPECT_FALSE(hasModule("std", "std_saw_macro"));
    EXPECT_TRUE(hasModule("work", "named_by_macro"));
    // A standard library does not enter the search order.
    EXPECT_EQ(hdl::veri_file::GetLOptions(), (Names{"work"}));
}

TEST_F(ParseTest, ProjectMessagesCapturedStandardLibraryMessagesNot) {
    dir.write("broken_std.vhd", "package broken is\n  constant c : integer := ;\nend;\n");
    unsigned stdId = sifter.insertFileName(dir.path() + "/broken_std.vhd", 9, "std");
    sifter.fileAttrs.at(stdId).isStdVhdl = true;
    sifter.stdLibFileIds.push_back(stdId);
    unsigned good = add("good.vhd", "entity good is end entity;\n", 9);
    unsigned bad = add("bad.vhd", "entity bad is\nport (a : in bit\nend entity;\n", 9);
    parse();
    EXPECT_EQ(hdl::Message::GetCallBackMsg(), nullptr); // the capture is gone again
    ASSERT_GT(sifter.fileMsgs.size(), bad);
    EXPECT_TRUE(sifter.fileMsgs.at(stdId).empty());
    bool badHasError = false;
    for (const auto& msg : sifter.fileMsgs.at(bad)) badHasError = badHasError || msg.type == 1;
    EXPECT_TRUE(badHasError);
    for (const auto& msg : sifter.fileMsgs.at(good)) EXPECT_NE(msg.type, 1u);
}

// What the front-ends reported once per run, or not under the file (a missing file,
// a binary file, a package used before it is analysed), is filed under the file.
TEST_F(ParseTest, BadFilesGetOneErrorEachUnderTheirOwnName) {
    unsigned goneV = add("gone.v", "", 2);
    unsigned goneVhd = add("gone.vhd", "", 9);
    boost::filesystem::remove(dir.path() + "/gone.v");
    boost::filesystem::remove(dir.path() + "/gone.vhd");
    const char blobText[] = "module m;\0\x01\xfe\xff@#\n\x80\x81";
    unsigned blob = add("blob.sv", std::string(blobText, sizeof blobText - 1), 5);
    // A circular use: whichever comes first names a unit not analysed yet.
    unsigned first = add("first.vhd", "use work.second.all;\npackage first is end;\n", 9);
    unsigned second = add("second.vhd", "use work.first.all;\npackage second is end;\n", 9);
    // A library no file went into is not asked: vendor libraries are often left out.
    unsigned vendor = add("vendor.vhd", "library unisim;\nuse unisim.vcomponents.all;\nentity v is end;\n", 9);
    parse();
    ASSERT_GT(sifter.fileMsgs.size(), vendor);
    EXPECT_EQ(errors(goneV), (Names{"1: cannot open file '%s' | " + dir.path() + "/gone.v"}));
    EXPECT_EQ(errors(goneVhd), (Names{"1: cannot open VHDL file '%s' | " + dir.path() + "/gone.vhd"}));
    EXPECT_EQ(errors(blob), (Names{"1: '%s' is not a text file | " + dir.path() + "/blob.sv"}));
    EXPECT_EQ(errors(first), (Names{"1: unit '%s' is not analyzed in library '%s' | second | work"}));
    EXPECT_TRUE(errors(second).empty());
    EXPECT_TRUE(errors(vendor).empty());
}

TEST_F(ParseTest, DuplicateRecordsPerFileWithLines) {
    unsigned f1 = add("one.v", "// one\nmodule dup; endmodule\n", 2);
    add("two.v", "\n\n\nmodule dup; endmodule\n", 2);
    unsigned off = add("off.v", "module dup; endmodule\n", 2);
    sifter.fileAttrs.at(off).isDisabled = true;
    addRawUnit("work", "single", "", {f1});
    addRawUnit("work", "dup", "", {0, f1, off});
    parse();
    ASSERT_EQ(sifter.duplicateAttrs.size(), 4u); // slot 0 and three records
    const auto& r0 = sifter.duplicateAttrs.at(1);
    const auto& r1 = sifter.duplicateAttrs.at(2);
    const auto& r2 = sifter.duplicateAttrs.at(3);
    EXPECT_EQ(r0.fileId, 0u);
    EXPECT_EQ(r0.startLine, 0u);
    EXPECT_EQ(r1.fileId, f1);
    // Completed right after its file: the module of the later file is not yet there.
    EXPECT_EQ(r1.startLine, 2u);
    EXPECT_EQ(r2.fileId, off);
    EXPECT_EQ(r2.startLine, 0u);
    EXPECT_EQ(std::string(sifter.objNames.getString(r1.primaryId)), "dup");
}

TEST_F(ParseTest, VhdlDuplicateTakesLibrarySpellingAndLineOfItsFile) {
    const std::string entity = "entity ent is end entity;\n";
    unsigned f1 = add("e1.vhd", entity + "architecture rtl of ent is begin end architecture;\n", 9, "lib");
    unsigned f2 = add("e2.vhd", "\n\n" + entity + "\narchitecture RTL of ENT is begin end;\n", 9, "lib");
    addRawUnit("lib", "ENT", "Rtl", {f1, f2});
    parse();
    ASSERT_EQ(sifter.duplicateAttrs.size(), 3u);
    for (unsigned i : {1u, 2u}) {
        const auto& record = sifter.duplicateAttrs.at(i);
        EXPECT_EQ(std::string(sifter.objNames.getString(record.primaryId)), "ent");
        EXPECT_EQ(std::string(sifter.objNames.getString(record.secondaryId)), "rtl");
    }
    EXPECT_EQ(sifter.duplicateAttrs.at(1).startLine, 2u);
    EXPECT_EQ(sifter.duplicateAttrs.at(2).startLine, 5u);
}

TEST_F(ParseTest, VhdlDuplicateInOtherLibraryKeepsNoLine) {
    unsigned f1 = add("a.vhd", "entity ent is end;\narchitecture rtl of ent is begin end;\n", 9, "other");
    unsigned f2 = add("b.vhd", "entity ent is end;\narchitecture rtl of ent is begin end;\n", 9, "other");
    addRawUnit("lib", "ENT", "rtl", {f1, f2});
    parse();
    EXPECT_EQ(sifter.duplicateAttrs.at(1).startLine, 0u);
    EXPECT_EQ(sifter.duplicateAttrs.at(2).startLine, 0u);
    EXPECT_EQ(std::string(sifter.objNames.getString(sifter.duplicateAttrs.at(1).primaryId)), "ENT");
}

TEST_F(ParseTest, SecondParseAppendsAnotherSetOfRecords) {
    unsigned f1 = add("one.v", "module dup; endmodule\n", 2);
    unsigned f2 = add("two.v", "module dup; endmodule\n", 2);
    addRawUnit("work", "dup", "", {f1, f2});
    parse();
    parse();
    ASSERT_EQ(sifter.duplicateAttrs.size(), 5u);
    EXPECT_EQ(sifter.duplicateAttrs.at(3).fileId, f1);
    EXPECT_EQ(sifter.duplicateAttrs.at(4).startLine, 1u);
}

// The arranged standard sources, our component packages and the std package must
// analyse cleanly, or every project would inherit their errors.
TEST_F(ParseTest, BundledStandardLibrariesAnalyseWithoutErrors) {
    const std::string bundled = SIFT_DATA_DIR;
    if (!boost::filesystem::exists(bundled + "/vhdl/src/std/standard.vhd"))
        GTEST_SKIP() << "run scripts/assemble_data.sh to arrange the standard sources";
    ScopedDataDirEnv env(bundled);
    for (unsigned lang : {9u, 11u, 12u}) {
        resetFrontEnds();
        HADLSifter project;
        project.options.enableVHDL2019 = true;
        project.insertFileName("a.vhd", lang, "work");
        project.insertFileName("b.sv", 5, "work");
        testing::internal::CaptureStdout();
        HADLStdLibs(project).addVhdlStdLibSources();
        HADLStdLibs(project).addSvStdLibSources();
        hdl::Message::ClearErrorCount();
        for (unsigned id : project.stdLibFileIds) {
            const std::string path = project.fileNames.getString(id);
            if (path.find("uvm_1.2") != std::string::npos) continue; // not bundled
            const uint32_t before = hdl::Message::ErrorCount();
            HADLParse::analyzeFile(path, project.objNames.getString(project.fileAttrs.at(id).libId),
                                   project.fileAttrs.at(id).lang);
            EXPECT_EQ(hdl::Message::ErrorCount(), before) << path;
        }
        const std::string output = testing::internal::GetCapturedStdout();
        EXPECT_EQ(hdl::Message::ErrorCount(), 0u) << output;
        hdl::VhdlLibrary* ieee = hdl::vhdl_file::GetLibrary("ieee");
        ASSERT_NE(ieee, nullptr);
        EXPECT_NE(ieee->GetPrimUnit("std_logic_1164"), nullptr);
        EXPECT_NE(ieee->GetPrimUnit("std_logic_arith"), nullptr);
        EXPECT_TRUE(hasModule("std", "std"));
    }
}

// Every IEEE package of an edition is there, each where ghdl has it: the fixed and
// float packages only from VHDL-2008 on.
TEST_F(ParseTest, EveryIeeePackageOfTheEditionIsThere) {
    const std::string bundled = SIFT_DATA_DIR;
    if (!boost::filesystem::exists(bundled + "/vhdl/src/ieee_2008/fixed_pkg.vhdl"))
        GTEST_SKIP() << "run scripts/assemble_data.sh to arrange the standard sources";
    ScopedDataDirEnv env(bundled);
    const std::string uses2008 =
        "library ieee;\nuse ieee.std_logic_1164.all;\nuse ieee.math_complex.all;\nuse ieee.fixed_float_types.all;\n"
        "use ieee.fixed_pkg.all;\nuse ieee.float_pkg.all;\nuse ieee.fixed_generic_pkg;\n"
        "context ieee.ieee_std_context;\ncontext ieee.ieee_bit_context;\n";
    unsigned good08 = add("good08.vhd", uses2008 + "entity good08 is end;\n", 11);
    unsigned bad08 = add("bad08.vhd", uses2008 + "use ieee.fixed_pkgg.all;\nentity bad08 is end;\n", 11);
    HADLStdLibs(sifter).addVhdlStdLibSources();
    parse();
    EXPECT_TRUE(errors(good08).empty()) << ::testing::PrintToString(errors(good08));
    EXPECT_EQ(errors(bad08), (Names{"10: unit '%s' is not analyzed in library '%s' | fixed_pkgg | ieee"}));

    resetFrontEnds();
    HADLSifter level1;
    unsigned good93 = level1.insertFileName(dir.path() + "/good93.vhd", 9, "work");
    unsigned bad93 = level1.insertFileName(dir.path() + "/bad93.vhd", 9, "work");
    dir.write("good93.vhd", "library ieee;\nuse ieee.math_real.all;\nuse ieee.math_complex.all;\nentity g is end;\n");
    dir.write("bad93.vhd", "library ieee;\nuse ieee.fixed_pkg.all;\nentity b is end;\n");
    level1.parseOrder.push_back(good93);
    level1.parseOrder.push_back(bad93);
    testing::internal::CaptureStdout();
    HADLStdLibs(level1).addVhdlStdLibSources();
    HADLParse(level1).doParse();
    testing::internal::GetCapturedStdout();
    for (const auto& msg : level1.fileMsgs.at(good93)) EXPECT_NE(msg.type, 1u);
    ASSERT_EQ(level1.fileMsgs.at(bad93).size(), 2u); // the announcement and the error
    EXPECT_EQ(level1.fileMsgs.at(bad93)[1].type, 1u);
    EXPECT_EQ(level1.fileMsgs.at(bad93)[1].line, 2u);
}

} // namespace
