#include "sift/database/HADLBulkMemory.h"

#include <gtest/gtest.h>

#include <cstring>

// Sizes on both sides of the point where allocations come from the kernel, and sizes that
// are not whole pages: every byte must be zero, writable, and released again.
TEST(HADLBulkMemory, EveryByteZeroedAndWritableAroundTheMappedSize)
{
    const std::size_t mapped = std::size_t(1) << 20;
    for (std::size_t bytes : {std::size_t(0), std::size_t(1), mapped - 1, mapped, mapped + 1, 3 * mapped + 17}) {
        char* memory = static_cast<char*>(hadlBulkAllocate(bytes));
        ASSERT_NE(memory, nullptr);
        for (std::size_t i = 0; i < bytes; i += 4093)
            ASSERT_EQ(memory[i], 0) << bytes;
        if (bytes != 0) {
            EXPECT_EQ(memory[bytes - 1], 0);
            std::memset(memory, 0x5a, bytes);
            EXPECT_EQ(memory[bytes - 1], 0x5a);
        }
        hadlBulkRelease(memory, bytes);
    }
    hadlBulkRelease(nullptr, mapped);
}
