// Copies of one module made from an image. Elaboration copies some modules hundreds of
// times (one copy per set of parameter values), and a deep copy visits every node twice,
// through its field list and a map from originals to copies. A stamp copies the module
// twice, each time into one zeroed block of its own. The two copies are made alike at
// different places, so the words where they differ are exactly the pointers into the
// copy, and they differ by the distance between the blocks. A further copy is then the
// image's bytes moved into the library's arena, those words moved to the new place.
//
// The nodes have no destructor and hold nothing but values, pointers and arena lists,
// so their bytes moved elsewhere are the same objects there (their type's table
// pointer, outside the block, stays). What the tree keeps outside its nodes (attributes,
// labels, qualifiers) is compared and moved the same way. A module whose two copies
// differ otherwise than by their place gets no stamp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include "hdl/base/Arena.h"
#include "hdl/base/TreeCopier.h"
#include "hdl/sv/VeriTree.h"

namespace hdl {

class VeriCopyStamp {
public:
    // Null when the module's copies cannot be stamped; `copier` is used for the two
    // copies and left empty, on its arena. `bytes`: about what a copy takes (a deep copy
    // made before measures it).
    static std::unique_ptr<VeriCopyStamp> Make(const VeriModule& module, TreeCopier& copier, size_t bytes);

    // A fresh copy of the module in `arena`, equal to a deep copy made now.
    VeriModule* Stamp(Arena& arena) const;
    // In `copy` (made by Stamp), the copy of `original`, a node of the module; `original`
    // itself when it lies outside the module.
    template <class T>
    T* Mapped(T* original, const VeriModule* copy) const {
        auto at = offsets_.find(original);
        if (at == offsets_.end()) return original;
        return reinterpret_cast<T*>(reinterpret_cast<char*>(const_cast<VeriModule*>(copy)) - rootOffset_ + at->second);
    }
    size_t Bytes() const { return bytes_; }
    size_t Pointers() const { return pointers_.size(); }

private:
    VeriCopyStamp() = default;

    // A node's entry kept outside the nodes, as words, inner pointers as offsets.
    static constexpr size_t kExtraWords = sizeof(VeriNodeExtras) / 8;
    struct Extras {
        size_t node; // offset
        uint64_t words[kExtraWords];
        unsigned inner; // bit i: words[i] is an inner pointer
    };
    // The words of `a` and `b` (copies made `delta` apart, `a` from `base`, `size` bytes):
    // into `out`, inner pointers as offsets, their indexes to `inner`; false when they
    // differ otherwise.
    static bool Compare(const uint64_t* a, const uint64_t* b, size_t n, uintptr_t base, uintptr_t delta, size_t size,
                        uint64_t* out, const std::function<void(size_t)>& inner);

    std::vector<uint64_t> image_; // the first copy, its inner pointers as offsets
    std::vector<uint32_t> pointers_; // the words of the image that hold inner pointers
    std::vector<Extras> extras_;
    std::unordered_map<const void*, size_t> offsets_; // original -> its copy's offset
    size_t bytes_ = 0;
    size_t rootOffset_ = 0;
};

} // namespace hdl
