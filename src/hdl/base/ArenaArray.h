// A fixed list of plain items in an arena: one pointer wide, the count stored in the
// arena just before the items. Trees keep their child lists in it so that a node needs
// no destructor and a list costs no heap allocation of its own.
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

public:
    ArenaArray() = default;
    ArenaArray(Arena& arena, const T* items, size_t count) {
        if (count == 0) return;
        char* block = static_cast<char*>(arena.allocate(kHead + sizeof(T) * count, kAlign));
        data_ = reinterpret_cast<T*>(block + kHead);
        std::memcpy(static_cast<void*>(data_), items, sizeof(T) * count);
        uint32_t n = static_cast<uint32_t>(count);
        std::memcpy(block + kHead - sizeof n, &n, sizeof n);
    }
    ArenaArray(Arena& arena, const std::vector<T>& items) : ArenaArray(arena, items.data(), items.size()) {}

    uint32_t Size() const {
        if (!data_) return 0;
        uint32_t n;
        std::memcpy(&n, reinterpret_cast<const char*>(data_) - sizeof(uint32_t), sizeof n);
        return n;
    }
    bool Empty() const { return !data_; }
    // The item at `i`, or a value-initialised T past the end.
    T At(uint32_t i) const { return i < Size() ? data_[i] : T(); }
    T& operator[](uint32_t i) const { return data_[i]; }
    T* begin() const { return data_; }
    T* end() const { return data_ + Size(); }
    T Front() const { return At(0); }
    T Back() const { return Empty() ? T() : data_[Size() - 1]; }
    // Drops the null slots that overwriting left, keeping the order of the rest.
    void RemoveNulls() {
        uint32_t n = Size(), kept = 0;
        for (uint32_t i = 0; i < n; ++i)
            if (data_[i]) data_[kept++] = data_[i];
        if (kept == 0) {
            data_ = nullptr;
            return;
        }
        std::memcpy(reinterpret_cast<char*>(data_) - sizeof kept, &kept, sizeof kept);
    }

private:
    static constexpr size_t kAlign = alignof(T) > alignof(uint32_t) ? alignof(T) : alignof(uint32_t);
    static constexpr size_t kHead = kAlign > sizeof(uint32_t) ? kAlign : sizeof(uint32_t);
    T* data_ = nullptr;
};

} // namespace hdl
