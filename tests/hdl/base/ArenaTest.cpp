#include "hdl/base/Arena.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using hdl::Arena;

TEST(ArenaTest, AllocationsAreAlignedAndLargeOnesGetTheirOwnBlock) {
    Arena arena(128);
    void* a = arena.allocate(3, 1);
    void* b = arena.allocate(8, 8);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(b) % 8, 0u);
    EXPECT_NE(a, b);
    char* big = static_cast<char*>(arena.allocate(1000, 16));
    big[999] = 'x'; // must be writable to the end (ASan checks)
    EXPECT_GE(arena.bytesReserved(), 1000u);
}

TEST(ArenaTest, DestructorsOfNonTrivialObjectsRun) {
    static int destroyed = 0;
    struct Counted {
        std::string s;
        ~Counted() { ++destroyed; }
    };
    {
        Arena arena;
        arena.make<Counted>()->s = std::string(100, 'a');
        arena.make<Counted>();
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 2);
}

TEST(ArenaTest, CopyIsNulTerminated) {
    Arena arena;
    std::string_view v = arena.copy("module");
    EXPECT_EQ(v, "module");
    EXPECT_EQ(v.data()[6], '\0');
}

// An arena grown large takes whole huge-page blocks, aligned to their size; what is
// written in any block stays.
TEST(ArenaTest, ALargeArenaTakesHugePageBlocks) {
    Arena arena;
    std::vector<uint64_t*> items;
    size_t beforeHuge = 0, aligned = 0;
    while (arena.bytesReserved() < Arena::hugeFrom() + 3 * Arena::hugeBlock()) {
        size_t reserved = arena.bytesReserved();
        auto* p = static_cast<uint64_t*>(arena.allocate(4000, 8));
        if (arena.bytesReserved() != reserved) {
            if (reserved >= Arena::hugeFrom()) {
                EXPECT_EQ(arena.bytesReserved() - reserved, Arena::hugeBlock());
                if (reinterpret_cast<uintptr_t>(p) % Arena::hugeBlock() == 0) ++aligned;
            } else {
                ++beforeHuge;
                EXPECT_LT(arena.bytesReserved() - reserved, Arena::hugeBlock());
            }
        }
        p[0] = items.size();
        p[499] = ~items.size();
        items.push_back(p);
    }
    EXPECT_GT(beforeHuge, 10u);
    EXPECT_EQ(aligned, 3u);
    for (size_t i = 0; i < items.size(); ++i) ASSERT_TRUE(items[i][0] == i && items[i][499] == ~i) << i;
}
