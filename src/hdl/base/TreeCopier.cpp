#include "hdl/base/TreeCopier.h"

namespace hdl {

void TreeCopier::Record(const void* original, void* copy) {
    if (!original) return;
    if ((count_ + 1) * 2 > slots_.size()) grow();
    size_t mask = slots_.size() - 1;
    for (size_t i = hash(original) & mask;; i = (i + 1) & mask) {
        if (!slots_[i].original) {
            slots_[i] = {original, copy};
            ++count_;
            return;
        }
        if (slots_[i].original == original) {
            slots_[i].copy = copy;
            return;
        }
    }
}

void* TreeCopier::find(const void* original) const {
    if (!original || slots_.empty()) return nullptr;
    size_t mask = slots_.size() - 1;
    for (size_t i = hash(original) & mask;; i = (i + 1) & mask) {
        if (!slots_[i].original) return nullptr;
        if (slots_[i].original == original) return slots_[i].copy;
    }
}

void TreeCopier::grow() {
    std::vector<Slot> old;
    old.swap(slots_);
    slots_.assign(old.empty() ? 64 : old.size() * 2, Slot{nullptr, nullptr});
    count_ = 0;
    for (const Slot& s : old)
        if (s.original) Record(s.original, s.copy);
}

} // namespace hdl
