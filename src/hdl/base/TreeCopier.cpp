#include "hdl/base/TreeCopier.h"

namespace hdl {

void TreeCopier::Restart(Arena& arena) {
    arena_ = &arena;
    count_ = 0;
    outside_.clear();
    if (++generation_ == 0) { // wrapped: stamps of long ago would read as current
        for (Slot& s : slots_) s.generation = 0;
        generation_ = 1;
    }
}

void TreeCopier::Record(const void* original, void* copy) {
    if (!original) return;
    if ((count_ + 1) * 2 > slots_.size()) grow();
    size_t mask = slots_.size() - 1;
    for (size_t i = hash(original) & mask;; i = (i + 1) & mask) {
        Slot& s = slots_[i];
        if (s.generation != generation_) {
            s = {original, copy, generation_};
            ++count_;
            return;
        }
        if (s.original == original) {
            s.copy = copy;
            return;
        }
    }
}

void* TreeCopier::find(const void* original) const {
    if (!original || count_ == 0) return nullptr;
    size_t mask = slots_.size() - 1;
    for (size_t i = hash(original) & mask;; i = (i + 1) & mask) {
        const Slot& s = slots_[i];
        if (s.generation != generation_) return nullptr;
        if (s.original == original) return s.copy;
    }
}

void TreeCopier::grow() {
    std::vector<Slot> old;
    old.swap(slots_);
    slots_.assign(old.empty() ? 256 : old.size() * 2, Slot{nullptr, nullptr, 0});
    count_ = 0;
    uint32_t current = generation_;
    for (const Slot& s : old)
        if (s.generation == current) Record(s.original, s.copy);
}

} // namespace hdl
