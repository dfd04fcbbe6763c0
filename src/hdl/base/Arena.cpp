#include "hdl/base/Arena.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <sys/mman.h>

namespace hdl {

Arena::~Arena() {
    for (auto it = destructors_.rbegin(); it != destructors_.rend(); ++it) it->fn(it->obj);
    for (char* b : blocks_) std::free(b);
}

void* Arena::allocate(size_t size, size_t align) {
    uintptr_t p = (reinterpret_cast<uintptr_t>(cur_) + (align - 1)) & ~(uintptr_t(align) - 1);
    if (!cur_ || p + size > reinterpret_cast<uintptr_t>(end_)) {
        size_t want = size + align > blockSize_ ? size + align : blockSize_;
        char* block = nullptr;
        // An arena that has grown large (a library's trees, the copies elaboration makes)
        // takes blocks of one huge page: a few page faults instead of one per 4 kB.
        if (reserved_ >= kHugeFrom && want <= kHugePage && !zeroed_) {
            block = static_cast<char*>(std::aligned_alloc(kHugePage, kHugePage));
            if (block) {
                want = kHugePage;
                madvise(block, kHugePage, MADV_HUGEPAGE);
            }
        }
        if (!block) block = static_cast<char*>(zeroed_ ? std::calloc(1, want) : std::malloc(want));
        if (!block) throw std::bad_alloc();
        blocks_.push_back(block);
        reserved_ += want;
        cur_ = block;
        end_ = block + want;
        p = (reinterpret_cast<uintptr_t>(cur_) + (align - 1)) & ~(uintptr_t(align) - 1);
    }
    cur_ = reinterpret_cast<char*>(p + size);
    used_ += size;
    return reinterpret_cast<void*>(p);
}

bool Arena::SingleExtent(const char*& begin, const char*& end) const {
    if (blocks_.size() != 1) return false;
    begin = blocks_.front();
    end = cur_;
    return true;
}

std::string_view Arena::copy(std::string_view text) {
    char* p = static_cast<char*>(allocate(text.size() + 1, 1));
    if (!text.empty()) std::memcpy(p, text.data(), text.size());
    p[text.size()] = '\0';
    return std::string_view(p, text.size());
}

} // namespace hdl
