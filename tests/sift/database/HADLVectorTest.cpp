#include "sift/database/HADLVector.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

TEST(HADLVectorForIndexing, StartsWithReservedSlotAndClearRestoresIt) {
    HADLVectorForIndexing<int> v;
    ASSERT_EQ(v.size(), 1u);
    EXPECT_EQ(v.at(0), 0);
    v.push_back(5);
    v.clear();
    ASSERT_EQ(v.size(), 1u);
    EXPECT_EQ(v[0], 0);
}

TEST(HADLVectorForTuple, IsPlainListFromIndexZero) {
    HADLVectorForTuple<unsigned> v;
    EXPECT_TRUE(v.empty());
    v.push_back(7);
    EXPECT_EQ(v.at(0), 7u);
    v.at(0) = 9;
    EXPECT_EQ(v[0], 9u);
}

TEST(HADLVectorForTuple, OutOfRangePrintsAndThrowsBareText) {
    HADLVectorForTuple<unsigned> v(3);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const char* thrown = nullptr;
    try {
        v.at(3);
    } catch (const char* text) {
        thrown = text;
    }
    std::string out = testing::internal::GetCapturedStdout();
    std::string err = testing::internal::GetCapturedStderr();
    ASSERT_NE(thrown, nullptr);
    EXPECT_STREQ(thrown, "out_of_range");
    EXPECT_EQ(out, "Out of range access at 3 (range 0..2\n");
    EXPECT_FALSE(err.empty());
}

TEST(HADLVectorForTuple, OutOfRangeOnEmptyAndConst) {
    const HADLVectorForTuple<int> v;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_THROW(v.at(0), const char*);
    std::string out = testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(out, "Out of range access at 0 (range 0..18446744073709551615\n");
}
