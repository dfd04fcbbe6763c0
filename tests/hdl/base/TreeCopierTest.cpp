// Arena lists and the copy map that trees are copied with.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "hdl/base/ArenaArray.h"
#include "hdl/base/TreeCopier.h"

using hdl::Arena;
using hdl::ArenaArray;
using hdl::TreeCopier;

TEST(ArenaArrayTest, KeepsItemsAndCountInOnePointer) {
    static_assert(sizeof(ArenaArray<void*>) == sizeof(void*));
    Arena arena(256);
    // Short lists keep their count in the pointer, long ones in front of the items; the
    // lengths around the change and lists of 4-byte items on an odd arena are the cases.
    for (size_t n : {1u, 2u, 7u, 8u, 9u, 300u}) {
        arena.allocate(1, 1); // leave the arena misaligned
        std::vector<double> values;
        for (size_t i = 0; i < n; ++i) values.push_back(double(i) + 0.5);
        ArenaArray<double> list(arena, values);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(list.begin()) % alignof(double), 0u);
        ASSERT_EQ(list.Size(), n);
        EXPECT_EQ(std::vector<double>(list.begin(), list.end()), values);
        EXPECT_EQ(list.At(uint32_t(n)), 0.0); // past the end
        EXPECT_EQ(list.Back(), values.back());
        std::vector<unsigned> small(n, 7u);
        ArenaArray<unsigned> narrow(arena, small);
        EXPECT_EQ(std::vector<unsigned>(narrow.begin(), narrow.end()), small);
    }
    ArenaArray<double> empty(arena, nullptr, 0);
    EXPECT_TRUE(empty.Empty());
    EXPECT_EQ(empty.Size(), 0u);
    EXPECT_EQ(empty.begin(), empty.end());
}

TEST(TreeCopierTest, MapsRecordedObjectsAndKeepsOthers) {
    Arena arena;
    TreeCopier copier(arena);
    std::vector<int> originals(5000), copies(5000); // enough to grow the table many times
    for (size_t i = 0; i < originals.size(); ++i) copier.Record(&originals[i], &copies[i]);
    EXPECT_EQ(copier.Count(), originals.size());
    for (size_t i = 0; i < originals.size(); ++i) ASSERT_EQ(copier.Mapped(&originals[i]), &copies[i]) << i;
    int outside = 0;
    EXPECT_EQ(copier.Mapped(&outside), &outside);
    EXPECT_FALSE(copier.Copied(&outside));
    EXPECT_EQ(copier.Mapped(static_cast<int*>(nullptr)), nullptr);
}

// One copier serves many copies: after a restart no pair of the copies before is mapped,
// however many restarts there were, and pairs recorded anew are found.
TEST(TreeCopierTest, RestartForgetsEveryEarlierPair) {
    Arena first, second;
    TreeCopier copier(first);
    std::vector<int> originals(3000), copies(3000), again(3000);
    for (int round = 0; round < 40; ++round) {
        copier.Restart(round % 2 ? second : first);
        EXPECT_EQ(&copier.arena(), round % 2 ? &second : &first);
        EXPECT_EQ(copier.Count(), 0u);
        for (int& o : originals) ASSERT_FALSE(copier.Copied(&o)) << round;
        // Every round maps a different part of the originals, to a different target.
        size_t from = size_t(round) * 61 % originals.size(), n = round % 3 ? 200 : 2500;
        std::vector<int>& targets = round % 2 ? again : copies;
        for (size_t i = 0; i < n; ++i) {
            size_t k = (from + i) % originals.size();
            copier.Record(&originals[k], &targets[k]);
        }
        EXPECT_EQ(copier.Count(), n);
        for (size_t i = 0; i < originals.size(); ++i) {
            bool recorded = (i + originals.size() - from) % originals.size() < n;
            ASSERT_EQ(copier.Mapped(&originals[i]), recorded ? &targets[i] : &originals[i]) << round << " " << i;
        }
    }
}
