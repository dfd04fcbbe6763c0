// Casts of Verilog tree nodes by class code. A dynamic_cast walks the type information
// (comparing type names as strings) and elaboration asks "is this a parameter, a type
// reference, a data declaration?" for every name it evaluates; the class code answers
// with a compare or two. Each target class gets, at compile time, the codes of the
// concrete classes derived from it (itself included) from the class list of the tree.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "hdl/sv/VeriClassIds.h"
#include "hdl/sv/VeriTree.h"

namespace hdl {
namespace veri_cast {

// The class code of a concrete class; none for an abstract one (which has no code of
// its own: it names neither itself as SelfType nor a code).
template <class C, class = void>
struct CodeOf {
    static constexpr uint32_t value = ~0u;
};
template <class C>
struct CodeOf<C, std::enable_if_t<std::is_same_v<typename C::SelfType, C>>> {
    static constexpr uint32_t value = C::kClassId;
};

// clang-format off
#define HDL_VERI_CAST_ONE(cls, base) + 1
constexpr size_t kClasses = 0 HDL_VERI_NODE_CLASSES(HDL_VERI_CAST_ONE);
#undef HDL_VERI_CAST_ONE
// clang-format on

// The class codes are small once offset (see VeriClassIds.h): a set of them is a mask.
constexpr size_t kMaskWords = (kVeriClassCount + 63) / 64;

template <class T>
struct Kinds {
    struct Mask {
        std::array<uint64_t, kMaskWords> bits{};
        size_t size = 0;
    };
    static constexpr Mask Make() {
        Mask m;
        // clang-format off
#define HDL_VERI_CAST_KIND(cls, base)                                                  \
        if (std::is_base_of_v<T, cls> && CodeOf<cls>::value != ~0u) {                 \
            uint32_t index = CodeOf<cls>::value + kVeriClassIdOffset;                 \
            m.bits[index / 64] |= uint64_t(1) << (index % 64);                        \
            ++m.size;                                                                  \
        }
        HDL_VERI_NODE_CLASSES(HDL_VERI_CAST_KIND)
#undef HDL_VERI_CAST_KIND
        // clang-format on
        return m;
    }
    static constexpr Mask mask = Make();

    static bool Has(uint32_t code) {
        uint32_t index = code + kVeriClassIdOffset;
        return index < kVeriClassCount && (mask.bits[index / 64] >> (index % 64) & 1);
    }
};

} // namespace veri_cast

// `node` as a T when it is one (of T's class or one derived from it), else null; as
// dynamic_cast<T*>, constness kept.
template <class T, class N>
auto VeriAs(N* node) -> std::conditional_t<std::is_const_v<N>, const T*, T*> {
    using Out = std::conditional_t<std::is_const_v<N>, const T*, T*>;
    static_assert(veri_cast::Kinds<T>::mask.size > 0, "not a class of the Verilog tree");
    if (!node) return nullptr;
    return veri_cast::Kinds<T>::Has(node->GetClassId()) ? static_cast<Out>(node) : nullptr;
}

} // namespace hdl
