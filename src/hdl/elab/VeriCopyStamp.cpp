#include "hdl/elab/VeriCopyStamp.h"

#include <cstring>
#include <type_traits>

namespace hdl {

static_assert(sizeof(VeriNodeExtras) % 8 == 0 && std::is_trivially_copyable_v<VeriNodeExtras>,
              "extras move as whole words");

namespace {

// One deep copy into an arena of its own: its block [begin, end) and the nodes given
// extras. False when it took more than one block.
struct Alone {
    const VeriModule* root = nullptr;
    const char* begin = nullptr;
    const char* end = nullptr;
    std::vector<void*> outside;
};

bool CopyAlone(const VeriModule& module, TreeCopier& copier, Arena& arena, Alone& out) {
    copier.Restart(arena);
    out.root = static_cast<const VeriModule*>(module.Copy(copier));
    out.outside = copier.OutsideEntries();
    return arena.SingleExtent(out.begin, out.end);
}

// The extras of a copy made in an arena that is about to go.
void Forget(const Alone& copy) {
    for (void* node : copy.outside) VeriTreeTraits::ForgetExtras(*static_cast<const VeriTreeNode*>(node));
}

} // namespace

bool VeriCopyStamp::Compare(const uint64_t* a, const uint64_t* b, size_t n, uintptr_t base, uintptr_t delta,
                            size_t size, uint64_t* out, const std::function<void(size_t)>& inner) {
    for (size_t i = 0; i < n; ++i) {
        out[i] = a[i];
        if (a[i] == b[i]) continue;
        // An inner pointer (an arena list keeps its length in the low bits: still inside).
        if (b[i] - a[i] != delta || a[i] - base > size) return false;
        out[i] = a[i] - base;
        inner(i);
    }
    return true;
}

std::unique_ptr<VeriCopyStamp> VeriCopyStamp::Make(const VeriModule& module, TreeCopier& copier, size_t bytes) {
    // Room for the copy and the gaps alignment leaves, in whole words.
    const size_t room = (bytes + bytes / 2 + 4096 + 7) & ~size_t(7);
    Arena& home = copier.arena();
    Arena first(room, true), second(room, true);
    Alone a, b;
    std::unique_ptr<VeriCopyStamp> stamp(new VeriCopyStamp());
    bool ok = CopyAlone(module, copier, first, a);
    if (ok) {
        copier.ForEach([&](const void* original, void* copy) {
            const char* at = static_cast<const char*>(copy);
            if (at >= a.begin && at < a.end) stamp->offsets_.emplace(original, size_t(at - a.begin));
        });
        ok = CopyAlone(module, copier, second, b);
    }
    const size_t size = size_t(a.end - a.begin);
    // Whole words: the bytes up to the next word are zero in both (the blocks were).
    const size_t words = (size + 7) / 8;
    ok = ok && size_t(b.end - b.begin) == size && words * 8 <= room && a.outside.size() == b.outside.size() &&
         reinterpret_cast<const char*>(a.root) - a.begin == reinterpret_cast<const char*>(b.root) - b.begin;
    const uintptr_t base = reinterpret_cast<uintptr_t>(a.begin);
    const uintptr_t delta = reinterpret_cast<uintptr_t>(b.begin) - base;
    if (ok) {
        stamp->image_.resize(words);
        ok =
            Compare(reinterpret_cast<const uint64_t*>(a.begin), reinterpret_cast<const uint64_t*>(b.begin), words, base,
                    delta, size, stamp->image_.data(), [&](size_t i) { stamp->pointers_.push_back(uint32_t(i)); });
    }
    for (size_t i = 0; ok && i < a.outside.size(); ++i) {
        Extras e{size_t(static_cast<const char*>(a.outside[i]) - a.begin), {}, 0};
        ok = e.node == size_t(static_cast<const char*>(b.outside[i]) - b.begin);
        uint64_t wa[kExtraWords], wb[kExtraWords];
        VeriNodeExtras ea = VeriTreeTraits::ExtrasOf(*static_cast<const VeriTreeNode*>(a.outside[i]));
        VeriNodeExtras eb = VeriTreeTraits::ExtrasOf(*static_cast<const VeriTreeNode*>(b.outside[i]));
        std::memcpy(wa, &ea, sizeof ea);
        std::memcpy(wb, &eb, sizeof eb);
        ok = ok && Compare(wa, wb, kExtraWords, base, delta, size, e.words, [&](size_t w) { e.inner |= 1u << w; });
        stamp->extras_.push_back(e);
    }
    Forget(a);
    Forget(b);
    copier.Restart(home); // not left on an arena that is about to go
    if (!ok) return nullptr;
    stamp->bytes_ = words * 8;
    stamp->rootOffset_ = size_t(reinterpret_cast<const char*>(a.root) - a.begin);
    return stamp;
}

VeriModule* VeriCopyStamp::Stamp(Arena& arena) const {
    // The blocks of the two copies start at the arena's block alignment, as this does:
    // whatever lay aligned in them lies aligned here.
    char* block = static_cast<char*>(arena.allocate(bytes_, alignof(std::max_align_t)));
    std::memcpy(block, image_.data(), bytes_);
    const uint64_t base = reinterpret_cast<uintptr_t>(block);
    uint64_t* words = reinterpret_cast<uint64_t*>(block);
    for (uint32_t i : pointers_) words[i] += base;
    for (const Extras& x : extras_) {
        uint64_t w[kExtraWords];
        for (size_t i = 0; i < kExtraWords; ++i) w[i] = x.words[i] + (x.inner >> i & 1 ? base : 0);
        VeriNodeExtras e;
        std::memcpy(&e, w, sizeof e);
        VeriTreeTraits::SetExtras(*reinterpret_cast<const VeriTreeNode*>(block + x.node), e);
    }
    return reinterpret_cast<VeriModule*>(block + rootOffset_);
}

} // namespace hdl
