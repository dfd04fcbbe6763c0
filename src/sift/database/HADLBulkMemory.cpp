#include "sift/database/HADLBulkMemory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace {

// Below this a mapping of its own would cost more than the heap.
constexpr std::size_t kMapped = std::size_t(1) << 20;

// Free memory at the top of the heap beyond this still goes back to the kernel.
constexpr int kKeptAtTop = 64 << 20;
// Buffers from this size up are mapped on their own. Fixing the trim threshold stops the
// allocator from raising this one as it sees large buffers freed, so it is fixed too:
// left at its start (128 KiB), the text and the tokens of every large file would be
// mapped, faulted in page by page and unmapped again.
constexpr int kMappedFrom = 32 << 20;

} // namespace

void* hadlBulkAllocate(std::size_t bytes) {
    if (bytes < kMapped) {
        void* memory = std::calloc(1, bytes == 0 ? 1 : bytes);
        if (memory == nullptr) throw std::bad_alloc();
        return memory;
    }
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    return memory;
}

void hadlBulkRelease(void* memory, std::size_t bytes) {
    if (memory == nullptr) return;
    if (bytes < kMapped) std::free(memory);
    else munmap(memory, bytes);
}

void hadlKeepFreedMemory() {
    mallopt(M_TRIM_THRESHOLD, kKeptAtTop);
    mallopt(M_MMAP_THRESHOLD, kMappedFrom);
}
