#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "hdl/sort/SortNameTable.h"

using hdl::SortNameTable;

TEST(SortNameTable, NumbersFollowEntryOrderAndRepeatsKeepTheirs) {
    SortNameTable t;
    EXPECT_EQ(t.find("a"), SortNameTable::kNone);
    EXPECT_EQ(t.intern("unit_b"), 0u);
    EXPECT_EQ(t.intern("unit_a"), 1u);
    EXPECT_EQ(t.intern("unit_b"), 0u);
    EXPECT_EQ(t.count(), 2u);
    EXPECT_EQ(t.find("unit_a"), 1u);
    EXPECT_EQ(t.text(0), "unit_b");
    EXPECT_EQ(t.text(1), "unit_a");
}

TEST(SortNameTable, TextsDifferByCaseLengthAndEmbeddedZeros) {
    SortNameTable t;
    const std::string zeroed("\0\0\0\1ab", 6);
    uint32_t ab = t.intern("ab");
    uint32_t upper = t.intern("AB");
    uint32_t longer = t.intern("abc");
    uint32_t empty = t.intern("");
    uint32_t withZeros = t.intern(zeroed);
    EXPECT_EQ(t.count(), 5u);
    EXPECT_NE(ab, upper);
    EXPECT_EQ(t.find("abc"), longer);
    EXPECT_EQ(t.find(""), empty);
    EXPECT_EQ(t.find(zeroed), withZeros);
    EXPECT_EQ(t.find(std::string_view(zeroed).substr(0, 5)), SortNameTable::kNone);
    EXPECT_EQ(t.text(empty), "");
    EXPECT_EQ(t.text(withZeros), zeroed);
}

TEST(SortNameTable, EveryNameSurvivesTheTableGrowing) {
    SortNameTable t;
    for (int i = 0; i < 5000; ++i) ASSERT_EQ(t.intern("name_" + std::to_string(i)), uint32_t(i));
    for (int i = 0; i < 5000; ++i) {
        std::string name = "name_" + std::to_string(i);
        ASSERT_EQ(t.find(name), uint32_t(i));
        ASSERT_EQ(t.text(uint32_t(i)), name);
    }
    EXPECT_EQ(t.find("name_5000"), SortNameTable::kNone);
    EXPECT_EQ(t.count(), 5000u);
}
