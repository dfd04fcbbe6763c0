// Map from a text, held by pointer, to an id: the index of an interning table. Open
// addressing with linear probing over one array: a slot holds the text pointer, the id and
// 32 bits of the text's hash, so a probe reads a text only when those bits agree, and
// entering a text allocates no node of its own. At most half of the slots are in use.
#pragma once

#include "sift/database/HADLBulkMemory.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

template <class Hash, class Equal>
class HADLTextIndex {
public:
    HADLTextIndex() = default;
    HADLTextIndex(const HADLTextIndex&) = delete;
    HADLTextIndex& operator=(const HADLTextIndex&) = delete;
    HADLTextIndex(HADLTextIndex&& other) noexcept { swap(other); }
    HADLTextIndex& operator=(HADLTextIndex&& other) noexcept {
        swap(other);
        return *this;
    }
    ~HADLTextIndex() { hadlBulkRelease(slots_, capacity_ * sizeof(Slot)); }

    void swap(HADLTextIndex& other) noexcept {
        std::swap(slots_, other.slots_);
        std::swap(capacity_, other.capacity_);
        std::swap(used_, other.used_);
    }

    // The id entered under a text equal to `text`, 0 when there is none.
    unsigned find(const char* text) const {
        if (used_ == 0) return 0;
        const std::uint32_t code = codeOf(text);
        const std::size_t mask = capacity_ - 1;
        for (std::size_t at = code & mask;; at = (at + 1) & mask) {
            const Slot& slot = slots_[at];
            if (slot.key == nullptr) return 0;
            if (slot.code == code && Equal()(slot.key, text)) return slot.id;
        }
    }

    // Enters `key` with `id`; when an equal text is there already, its entry keeps its own
    // key pointer and takes the new id.
    void assign(const char* key, unsigned id) {
        reserve(used_ + 1);
        place(key, id, codeOf(key));
    }

    // assign of texts[id] with id, for every id from `first` to the end, in id order. The
    // hash of a text is taken, and its slot fetched, a stretch of texts before the text is
    // placed, so that the probes do not wait on memory one after the other.
    void assignAll(const std::vector<char*>& texts, unsigned first) {
        const std::size_t end = texts.size();
        if (first >= end) return;
        reserve(used_ + (end - first));
        constexpr std::size_t kAhead = 32;
        std::uint32_t codes[kAhead];
        const std::size_t mask = capacity_ - 1;
        std::size_t ahead = first;
        auto look = [&](std::size_t id) {
            const std::uint32_t code = codeOf(texts[id]);
            codes[id % kAhead] = code;
            __builtin_prefetch(&slots_[code & mask], 1);
        };
        for (; ahead < end && ahead < first + kAhead; ++ahead) look(ahead);
        for (std::size_t id = first; id < end; ++id) {
            const std::uint32_t code = codes[id % kAhead];
            if (ahead < end) look(ahead++);
            place(texts[id], static_cast<unsigned>(id), code);
        }
    }

    // Room for `count` entries without growing.
    void reserve(std::size_t count) {
        if (count * 2 <= capacity_) return;
        std::size_t capacity = 16;
        while (capacity < count * 2) capacity *= 2;
        rehash(capacity);
    }

    // Empty, and without memory.
    void clear() { HADLTextIndex().swap(*this); }

    std::size_t size() const { return used_; }
    bool empty() const { return used_ == 0; }
    Hash hash_function() const { return Hash(); }
    Equal key_eq() const { return Equal(); }

private:
    // A slot without key is free.
    struct Slot {
        const char* key;
        unsigned id;
        std::uint32_t code;
    };

    static std::uint32_t codeOf(const char* text) { return static_cast<std::uint32_t>(Hash()(text)); }

    void place(const char* key, unsigned id, std::uint32_t code) {
        const std::size_t mask = capacity_ - 1;
        for (std::size_t at = code & mask;; at = (at + 1) & mask) {
            Slot& slot = slots_[at];
            if (slot.key == nullptr) {
                slot = {key, id, code};
                ++used_;
                return;
            }
            if (slot.code == code && Equal()(slot.key, key)) {
                slot.id = id;
                return;
            }
        }
    }

    // The entries are distinct already, so each goes to the first free slot of its run.
    void rehash(std::size_t capacity) {
        HADLTextIndex grown;
        grown.slots_ = static_cast<Slot*>(hadlBulkAllocate(capacity * sizeof(Slot)));
        grown.capacity_ = capacity;
        std::uninitialized_value_construct_n(grown.slots_, capacity);
        grown.used_ = used_;
        const std::size_t mask = capacity - 1;
        for (std::size_t i = 0; i < capacity_; ++i) {
            const Slot& slot = slots_[i];
            if (slot.key == nullptr) continue;
            std::size_t at = slot.code & mask;
            while (grown.slots_[at].key != nullptr) at = (at + 1) & mask;
            grown.slots_[at] = slot;
        }
        swap(grown);
    }

    Slot* slots_ = nullptr;
    std::size_t capacity_ = 0;
    std::size_t used_ = 0;
};
