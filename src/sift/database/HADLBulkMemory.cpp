#include "sift/database/HADLBulkMemory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t kHugePage = std::size_t(2) << 20;

// Below this a mapping of its own would cost more than the heap.
constexpr std::size_t kMapped = kHugePage;

std::size_t mappedSize(std::size_t bytes)
{
    return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

} // namespace

void* hadlBulkAllocate(std::size_t bytes)
{
    if (bytes < kMapped) {
        void* memory = std::calloc(1, bytes == 0 ? 1 : bytes);
        if (memory == nullptr)
            throw std::bad_alloc();
        return memory;
    }
    void* memory = mmap(nullptr, mappedSize(bytes), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    // Only advice: without it the pages are ordinary ones.
    madvise(memory, mappedSize(bytes), MADV_HUGEPAGE);
    return memory;
}

void hadlBulkRelease(void* memory, std::size_t bytes)
{
    if (memory == nullptr)
        return;
    if (bytes < kMapped)
        std::free(memory);
    else
        munmap(memory, mappedSize(bytes));
}
