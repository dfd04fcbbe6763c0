// Names numbered in the order they are entered, found by their text. The skim's passes
// look up every reference of every file; a node-based hash map sends each look-up
// through a bucket, a node and a string of its own, all scattered over the heap. Here
// the slots (hash and number) form one array and the texts lie back to back in one
// buffer, so that the whole table of a large project stays in the cache.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hdl {

class SortNameTable {
public:
    static constexpr uint32_t kNone = ~0u;

    // The number of `name`, entered first when it is new.
    uint32_t intern(std::string_view name) {
        if (2 * (count() + 1) > slots_.size()) grow();
        uint32_t code = hash(name);
        size_t at = slotOf(name, code);
        if (slots_[at].number == kNone) {
            slots_[at] = Slot{code, count()};
            starts_.push_back(static_cast<uint32_t>(texts_.size()));
            texts_.append(name);
        }
        return slots_[at].number;
    }

    // The number of `name`, kNone when it was never entered.
    uint32_t find(std::string_view name) const {
        if (slots_.empty()) return kNone;
        return slots_[slotOf(name, hash(name))].number;
    }

    std::string_view text(uint32_t number) const {
        uint32_t end = number + 1 < count() ? starts_[number + 1] : static_cast<uint32_t>(texts_.size());
        return std::string_view(texts_).substr(starts_[number], end - starts_[number]);
    }

    uint32_t count() const { return static_cast<uint32_t>(starts_.size()); }

private:
    struct Slot {
        uint32_t code;
        uint32_t number; // kNone in a free slot
    };

    // FNV-1a.
    static uint32_t hash(std::string_view name) {
        uint32_t h = 2166136261u;
        for (unsigned char c : name) h = (h ^ c) * 16777619u;
        return h;
    }

    // The slot that holds `name`, or the free one where it would go.
    size_t slotOf(std::string_view name, uint32_t code) const {
        const size_t mask = slots_.size() - 1;
        for (size_t at = code & mask;; at = (at + 1) & mask) {
            const Slot& slot = slots_[at];
            if (slot.number == kNone || (slot.code == code && text(slot.number) == name)) return at;
        }
    }

    void grow() {
        std::vector<Slot> old(slots_.size() < 16 ? 32 : 2 * slots_.size(), Slot{0, kNone});
        old.swap(slots_);
        const size_t mask = slots_.size() - 1;
        for (const Slot& slot : old) {
            if (slot.number == kNone) continue;
            size_t at = slot.code & mask;
            while (slots_[at].number != kNone) at = (at + 1) & mask;
            slots_[at] = slot;
        }
    }

    std::vector<Slot> slots_; // a power of two, at most half in use
    std::vector<uint32_t> starts_; // where each text begins in texts_
    std::string texts_;
};

} // namespace hdl
