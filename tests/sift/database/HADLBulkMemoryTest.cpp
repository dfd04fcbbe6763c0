#include "sift/database/HADLBulkMemory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <sys/resource.h>

// Sizes on both sides of the point where allocations come from the kernel, and sizes that
// are not whole pages: every byte must be zero, writable, and released again.
TEST(HADLBulkMemory, EveryByteZeroedAndWritableAroundTheMappedSize) {
    const std::size_t mapped = std::size_t(1) << 20;
    for (std::size_t bytes : {std::size_t(0), std::size_t(1), mapped - 1, mapped, mapped + 1, 3 * mapped + 17}) {
        char* memory = static_cast<char*>(hadlBulkAllocate(bytes));
        ASSERT_NE(memory, nullptr);
        for (std::size_t i = 0; i < bytes; i += 4093) ASSERT_EQ(memory[i], 0) << bytes;
        if (bytes != 0) {
            EXPECT_EQ(memory[bytes - 1], 0);
            std::memset(memory, 0x5a, bytes);
            EXPECT_EQ(memory[bytes - 1], 0x5a);
        }
        hadlBulkRelease(memory, bytes);
    }
    hadlBulkRelease(nullptr, mapped);
}

namespace {

long minorFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

} // namespace

// A buffer the size of a large file's text, freed and taken again as the next file is
// read: once the process keeps freed memory, the second one costs no page faults. (Left
// to itself the allocator maps such a buffer afresh each time.)
TEST(HADLBulkMemory, FreedBuffersAreTakenAgainWithoutFaults) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the address sanitiser's allocator holds freed memory back on purpose";
#endif
    hadlKeepFreedMemory();
    const std::size_t bytes = std::size_t(4) << 20;
    auto fill = [&] {
        char* memory = static_cast<char*>(std::malloc(bytes));
        ASSERT_NE(memory, nullptr);
        std::memset(memory, 0x5a, bytes);
        asm volatile("" : : "r"(memory) : "memory"); // or the compiler drops the buffer
        std::free(memory);
    };
    fill();
    long before = minorFaults();
    fill();
    EXPECT_LT(minorFaults() - before, 64) << "a 4 MiB buffer is 1024 pages";
}
