// The state of one deep copy of a tree: the arena the copy goes to, and which original
// object (node or scope) became which copy. A copy is made in two passes: the first
// clones the children through each node's field list and records every pair; the second
// points the copy's back-links (a reference's declaration, an identifier's scope) at the
// copies of their targets where the target was copied too, and leaves them on the
// original where it lies outside the copied subtree (a package item, say).
//
// A copier can serve many copies one after the other: Restart forgets the pairs of the
// copies before at once (a generation stamp on each slot), keeping the table's room, so
// an elaboration that makes hundreds of copies builds its table once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hdl/base/Arena.h"

namespace hdl {

class TreeCopier {
public:
    explicit TreeCopier(Arena& arena) : arena_(&arena) {}
    TreeCopier(const TreeCopier&) = delete;
    TreeCopier& operator=(const TreeCopier&) = delete;

    Arena& arena() const { return *arena_; }
    // Starts a new copy into `arena`: no original is mapped any more.
    void Restart(Arena& arena);
    void Record(const void* original, void* copy);
    // The copy of `original` when this copier made one, else `original` itself.
    template <class T>
    T* Mapped(T* original) const {
        void* copy = find(original);
        return copy ? static_cast<T*>(copy) : original;
    }
    bool Copied(const void* original) const { return find(original) != nullptr; }
    size_t Count() const { return count_; }
    // Each pair of the current copy, in no particular order: f(original, copy).
    template <class F>
    void ForEach(F f) const {
        for (const Slot& s : slots_)
            if (s.generation == generation_) f(s.original, s.copy);
    }
    // A tree notes here each node whose copy got entries kept outside the nodes (which a
    // byte-wise copy of the nodes would miss).
    void NoteOutsideEntry(void* copy) { outside_.push_back(copy); }
    const std::vector<void*>& OutsideEntries() const { return outside_; }

private:
    struct Slot {
        const void* original;
        void* copy;
        uint32_t generation; // the slot is empty unless this is the copier's generation
    };
    void* find(const void* original) const;
    void grow();
    static size_t hash(const void* p) { return size_t((reinterpret_cast<uintptr_t>(p) >> 3) * 0x9E3779B97F4A7C15ull); }

    Arena* arena_;
    std::vector<Slot> slots_; // open addressing; size a power of two
    size_t count_ = 0;
    std::vector<void*> outside_;
    uint32_t generation_ = 1;
};

} // namespace hdl
