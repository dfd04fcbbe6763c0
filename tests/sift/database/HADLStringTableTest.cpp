#include "sift/database/HADLStringMatchTable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

TEST(HADLStringIndexTable, NewTableHasOnlyReservedSlot) {
    HADLStringIndexTable t;
    EXPECT_EQ(t.size(), 1u);
    EXPECT_EQ(t.find("a"), 0u);
    EXPECT_FALSE(t.contains("a"));
    EXPECT_STREQ(t.getString(0), "");
}

TEST(HADLStringIndexTable, InsertInternsAndKeepsFirstId) {
    HADLStringIndexTable t;
    EXPECT_EQ(t.insert("a"), 1u);
    EXPECT_EQ(t.insert("b"), 2u);
    EXPECT_EQ(t.insert("a"), 1u);
    EXPECT_EQ(t.size(), 3u);
    EXPECT_STREQ(t.getString(2), "b");
    EXPECT_EQ(t.find("b"), 2u);
    EXPECT_TRUE(t.contains("a"));
}

TEST(HADLStringIndexTable, OwnsPrivateCopies) {
    HADLStringIndexTable t;
    char buffer[] = "name";
    unsigned id = t.insert(buffer);
    buffer[0] = 'x';
    EXPECT_STREQ(t.getString(id), "name");
    EXPECT_EQ(t.find("name"), id);
    EXPECT_EQ(t.find("xame"), 0u);
}

TEST(HADLStringIndexTable, GetStringPastEndIsEmpty) {
    HADLStringIndexTable t;
    t.insert("a");
    EXPECT_STREQ(t.getString(2), "");
    EXPECT_STREQ(t.getString(~0u), "");
}

TEST(HADLStringIndexTable, ClearRestartsIdsAndKeepsOldTextsReadable) {
    HADLStringIndexTable t;
    t.insert("x");
    const char* old = t.getString(t.insert("y"));
    t.clear();
    EXPECT_EQ(t.size(), 1u);
    EXPECT_EQ(t.find("x"), 0u);
    EXPECT_EQ(t.insert("z"), 1u);
    EXPECT_STREQ(old, "y");
}

TEST(HADLStringIndexTable, RebuildIndexGivesLaterIdOfEqualTexts) {
    HADLStringIndexTable t;
    t.appendRaw("dup", 3);
    t.appendRaw("other", 5);
    t.appendRaw("dup", 3);
    t.rebuildIndex();
    EXPECT_EQ(t.find("dup"), 3u);
    EXPECT_EQ(t.find("other"), 2u);
}

TEST(HADLStringIndexTable, IndexUsesStringByteHash) {
    HADLStringIndexTable t;
    t.insert("module_name");
    const char* key = t.getString(1);
    EXPECT_EQ(t.index.hash_function()(key), std::hash<std::string>()("module_name"));
}

TEST(HADLStringIndexTable, CopyIsDeepAndIndexed) {
    HADLStringIndexTable a;
    a.insert("p");
    a.insert("q");
    HADLStringIndexTable b(a);
    a.clear();
    a.insert("r");
    EXPECT_EQ(b.size(), 3u);
    EXPECT_EQ(b.find("q"), 2u);
    EXPECT_NE(b.getString(1), a.getString(1));
    HADLStringIndexTable c;
    c.insert("old");
    c = b;
    EXPECT_EQ(c.find("old"), 0u);
    EXPECT_EQ(c.find("p"), 1u);
}

TEST(HADLStringIndexTable, ManyEntriesStayFindable) {
    HADLStringIndexTable t;
    for (int i = 0; i < 5000; ++i) ASSERT_EQ(t.insert(("n" + std::to_string(i)).c_str()), unsigned(i + 1));
    for (int i = 0; i < 5000; ++i) ASSERT_EQ(t.find(("n" + std::to_string(i)).c_str()), unsigned(i + 1));
}

// The index grows several times and the rebuild enters its texts in batches; equal texts
// at ids far apart must still give the later id, whatever batch each falls in.
TEST(HADLStringIndexTable, RebuildOverManyBatchesKeepsLaterOfEqualTexts) {
    HADLStringIndexTable t;
    const int distinct = 3000;
    for (int round = 0; round < 2; ++round)
        for (int i = 0; i < distinct; ++i) {
            const std::string text = "t" + std::to_string(i);
            t.appendRaw(text.c_str(), text.size());
        }
    t.rebuildIndex();
    EXPECT_EQ(t.index.size(), unsigned(distinct));
    for (int i = 0; i < distinct; ++i) ASSERT_EQ(t.find(("t" + std::to_string(i)).c_str()), unsigned(distinct + i + 1));
    EXPECT_EQ(t.find("t"), 0u);
    EXPECT_EQ(t.find("t3000"), 0u);
    EXPECT_EQ(t.insert("t7"), unsigned(distinct + 8));
    EXPECT_EQ(t.insert("t3000"), unsigned(2 * distinct + 1));
}

// Texts that hash alike in their low bits share probe runs; each must stay findable, and
// an absent text that lands in the same run must not be found.
TEST(HADLStringIndexTable, TextsInOneProbeRunStayApart) {
    HADLStringIndexTable t;
    const HADLCStrHash hash;
    const std::size_t bits = hash("anchor") & 15;
    std::vector<std::string> sameRun;
    for (int i = 0; sameRun.size() < 6; ++i) {
        std::string text = "k" + std::to_string(i);
        if ((hash(text.c_str()) & 15) == bits) sameRun.push_back(text);
    }
    for (const std::string& text : sameRun) t.insert(text.c_str());
    for (std::size_t i = 0; i < sameRun.size(); ++i) EXPECT_EQ(t.find(sameRun[i].c_str()), unsigned(i + 1));
    EXPECT_EQ(t.find("anchor"), 0u);
}

// Enough entries that the index outgrows the heap and moves to memory of its own, through
// several rehashes; a copy and a rebuild see the same ids.
TEST(HADLStringIndexTable, LargeTableFindsEveryTextAfterGrowing) {
    HADLStringIndexTable t;
    const unsigned count = 70000;
    for (unsigned i = 0; i < count; ++i) ASSERT_EQ(t.insert(("name_" + std::to_string(i)).c_str()), i + 1);
    HADLStringIndexTable copy(t);
    t.rebuildIndex();
    for (unsigned i = 0; i < count; i += 7) {
        const std::string text = "name_" + std::to_string(i);
        ASSERT_EQ(t.find(text.c_str()), i + 1);
        ASSERT_EQ(copy.find(text.c_str()), i + 1);
    }
    EXPECT_EQ(t.find("name_"), 0u);
    EXPECT_EQ(t.index.size(), count);
}

TEST(HADLStringMatchTable, LatestSpellingWinsNoCaseLookup) {
    HADLStringMatchTable t;
    EXPECT_EQ(t.insert("Foo"), 1u);
    EXPECT_EQ(t.insert("FOO"), 2u);
    EXPECT_EQ(t.find("foo"), 0u);
    EXPECT_EQ(t.find("FOO"), 2u);
    EXPECT_EQ(t.findNoCase("foo"), 2u);
    EXPECT_EQ(t.insert("Foo"), 1u);
    EXPECT_EQ(t.findNoCase("foo"), 1u);
    EXPECT_TRUE(t.containsNoCase("fOo"));
    EXPECT_FALSE(t.containsNoCase("fo"));
    EXPECT_FALSE(t.containsNoCase("fooo"));
}

TEST(HADLStringMatchTable, NoCaseHashFoldsBytes) {
    HADLStringMatchTable t;
    t.insert("IEEE");
    EXPECT_EQ(t.noCaseIndex.hash_function()("IEEE"), std::hash<std::string>()("ieee"));
    EXPECT_TRUE(t.noCaseIndex.key_eq()("Std", "sTD"));
    EXPECT_FALSE(t.noCaseIndex.key_eq()("Std", "Std_"));
}

TEST(HADLStringMatchTable, RebuildIndexUsesIdOrder) {
    HADLStringMatchTable t;
    t.insert("Work");
    t.insert("WORK");
    t.insert("Work");
    EXPECT_EQ(t.findNoCase("work"), 1u);
    t.rebuildIndex();
    EXPECT_EQ(t.findNoCase("work"), 2u);
    EXPECT_EQ(t.find("Work"), 1u);
}

TEST(HADLStringMatchTable, ClearLeavesNoCaseIndexAlone) {
    HADLStringMatchTable t;
    t.insert("Lib");
    t.clear();
    EXPECT_EQ(t.find("Lib"), 0u);
    EXPECT_EQ(t.findNoCase("lib"), 1u);
}

TEST(HADLStringMatchTable, CopyRebuildsBothIndices) {
    HADLStringMatchTable a;
    a.insert("Std");
    a.insert("IEEE");
    HADLStringMatchTable b;
    b = a;
    EXPECT_EQ(b.findNoCase("ieee"), 2u);
    EXPECT_EQ(b.find("Std"), 1u);
    HADLStringMatchTable c(a);
    EXPECT_EQ(c.findNoCase("STD"), 1u);
}

TEST(HADLStringMatchTable, VirtualDispatchThroughBase) {
    HADLStringMatchTable t;
    HADLStringIndexTable& base = t;
    base.insert("Abc");
    EXPECT_EQ(t.findNoCase("ABC"), 1u);
}
