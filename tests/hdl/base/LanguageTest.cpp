#include "hdl/base/Language.h"

#include <gtest/gtest.h>

#include <string>

using namespace hdl;

// The codes travel in the scanner's database and the names in its dumps: both are a
// contract with the parent, so the table is checked entry by entry.
TEST(Language, CodesAndNamesAreTheDatabaseOnes) {
    const char* const expected[] = {"(undef)", "v95",    "v2k",    "sv05",   "sv09",   "sv",      "vAMS",   "vPSL",
                                    "vhdl87",  "vhdl93", "vhdl2k", "vhdl08", "vhdl19", "vhdlPSL", "include"};
    for (unsigned code = 0; code <= LANG_INCLUDE; ++code) EXPECT_STREQ(LanguageName(code), expected[code]) << code;
    EXPECT_STREQ(LanguageName(15), "(undef)");
    EXPECT_STREQ(LanguageName(0xffffffffu), "(undef)");
    EXPECT_EQ(LANG_V2K, 2u);
    EXPECT_EQ(LANG_SV, 5u);
    EXPECT_EQ(LANG_VHDL93, 9u);
    EXPECT_EQ(LANG_VHDL08, 11u);
    EXPECT_EQ(LANG_VHDL19, 12u);
    EXPECT_EQ(LANG_INCLUDE, 14u);
}

TEST(Language, NamesReadBackToTheirCodes) {
    for (unsigned code = 1; code <= LANG_INCLUDE; ++code) EXPECT_EQ(LanguageByName(LanguageName(code)), code);
    EXPECT_EQ(LanguageByName("(undef)"), LANG_NONE);
    EXPECT_EQ(LanguageByName(""), LANG_NONE);
    EXPECT_EQ(LanguageByName("SV"), LANG_NONE); // names are exact
    EXPECT_EQ(LanguageByName("vhdl"), LANG_NONE);
    EXPECT_EQ(LanguageByName(std::string("sv\0x", 4)), LANG_NONE);
}

// Every code is in exactly one family; 0 and codes past the table in none.
TEST(Language, FamiliesPartitionTheCodes) {
    unsigned verilog = 0, vhdl = 0, include = 0;
    for (unsigned code = 0; code <= 40; ++code) {
        const int families = IsVerilogLanguage(code) + IsVhdlLanguage(code) + IsIncludeLanguage(code);
        EXPECT_EQ(families, code >= 1 && code <= LANG_INCLUDE ? 1 : 0) << code;
        verilog += IsVerilogLanguage(code);
        vhdl += IsVhdlLanguage(code);
        include += IsIncludeLanguage(code);
    }
    EXPECT_EQ(verilog, 7u);
    EXPECT_EQ(vhdl, 6u);
    EXPECT_EQ(include, 1u);
    EXPECT_TRUE(IsVerilogLanguage(LANG_V95) && IsVerilogLanguage(LANG_VPSL));
    EXPECT_TRUE(IsVhdlLanguage(LANG_VHDL87) && IsVhdlLanguage(LANG_VHDLPSL));
}

TEST(Language, SystemVerilogReadingAndTheFlagBit) {
    EXPECT_FALSE(IsSystemVerilogLanguage(LANG_V95));
    EXPECT_FALSE(IsSystemVerilogLanguage(LANG_V2K));
    for (unsigned code : {LANG_SV05, LANG_SV09, LANG_SV, LANG_VAMS, LANG_VPSL, LANG_INCLUDE})
        EXPECT_TRUE(IsSystemVerilogLanguage(code)) << code;
    EXPECT_FALSE(IsSystemVerilogLanguage(LANG_VHDL08));
    EXPECT_FALSE(IsSystemVerilogLanguage(LANG_NONE));
    EXPECT_EQ(LanguageOf(0x80000000u | LANG_VHDL08), unsigned(LANG_VHDL08));
    EXPECT_EQ(LanguageOf(LANG_SV), unsigned(LANG_SV));
    EXPECT_FALSE(IsVhdlLanguage(0x80000000u | LANG_VHDL08)); // the flag must be stripped first
}
