#include "sift/database/HADLBulkMemory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace {

// Below this a mapping of its own would cost more than the heap.
constexpr std::size_t kMapped = std::size_t(1) << 20;

} // namespace

void* hadlBulkAllocate(std::size_t bytes)
{
    if (bytes < kMapped) {
        void* memory = std::calloc(1, bytes == 0 ? 1 : bytes);
        if (memory == nullptr)
            throw std::bad_alloc();
        return memory;
    }
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    return memory;
}

void hadlBulkRelease(void* memory, std::size_t bytes)
{
    if (memory == nullptr)
        return;
    if (bytes < kMapped)
        std::free(memory);
    else
        munmap(memory, bytes);
}
