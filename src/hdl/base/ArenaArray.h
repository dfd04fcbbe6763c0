// A fixed list of plain items in an arena, one pointer wide. Items start on an 8-byte
// boundary, so the pointer's three low bits are free: a list of up to seven items (most
// lists of a tree) keeps its count there, a longer one in the 8 bytes before its items.
// Trees keep their child lists in it so that a node needs no destructor and a list costs
// no heap allocation of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "hdl/base/Arena.h"

namespace hdl {

template <class T>
class ArenaArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>,
                  "arena lists hold plain items only");
    static_assert(alignof(T) <= 8, "items align within 8 bytes");

public:
    ArenaArray() = default;
    ArenaArray(Arena& arena, const T* items, size_t count) {
        if (count == 0) return;
        size_t head = count <= kTagMask ? 0 : kAlign;
        char* block = static_cast<char*>(arena.allocate(head + sizeof(T) * count, kAlign));
        std::memcpy(block + head, static_cast<const void*>(items), sizeof(T) * count);
        bits_ = reinterpret_cast<uintptr_t>(block + head);
        if (head) {
            uint32_t n = static_cast<uint32_t>(count);
            std::memcpy(block, &n, sizeof n);
        } else {
            bits_ |= count;
        }
    }
    ArenaArray(Arena& arena, const std::vector<T>& items) : ArenaArray(arena, items.data(), items.size()) {}

    uint32_t Size() const {
        if (bits_ & kTagMask) return uint32_t(bits_ & kTagMask);
        if (!bits_) return 0;
        uint32_t n;
        std::memcpy(&n, reinterpret_cast<const char*>(bits_) - kAlign, sizeof n);
        return n;
    }
    bool Empty() const { return !bits_; }
    // The item at `i`, or a value-initialised T past the end.
    T At(uint32_t i) const { return i < Size() ? items()[i] : T(); }
    T& operator[](uint32_t i) const { return items()[i]; }
    T* begin() const { return items(); }
    T* end() const { return items() + Size(); }
    T Front() const { return At(0); }
    T Back() const { return Empty() ? T() : items()[Size() - 1]; }
    // Drops the null slots that overwriting left, keeping the order of the rest.
    void RemoveNulls() {
        uint32_t n = Size(), kept = 0;
        T* data = items();
        for (uint32_t i = 0; i < n; ++i)
            if (data[i]) data[kept++] = data[i];
        if (kept == 0) {
            bits_ = 0;
        } else if (bits_ & kTagMask) {
            bits_ = reinterpret_cast<uintptr_t>(data) | kept;
        } else {
            std::memcpy(reinterpret_cast<char*>(data) - kAlign, &kept, sizeof kept);
        }
    }

private:
    static constexpr size_t kAlign = 8;
    static constexpr uintptr_t kTagMask = kAlign - 1;
    T* items() const { return reinterpret_cast<T*>(bits_ & ~kTagMask); }
    uintptr_t bits_ = 0;
};

} // namespace hdl
