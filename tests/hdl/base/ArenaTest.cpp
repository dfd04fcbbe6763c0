#include "hdl/base/Arena.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

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
