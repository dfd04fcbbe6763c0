// A VHDL node as one of the classes the binder looks for, by its class code rather than
// by dynamic_cast (which compares type information along the class chain, for every
// statement and name the binder meets). Only for classes that no other class derives
// from: the code of the node is then the class's own.
#pragma once

#include <type_traits>

namespace hdl_cast {

template <class T, class N>
const T* vhdlExactly(const N* node) {
    static_assert(std::is_base_of_v<N, T>, "a class below the node's");
    return node && node->GetClassId() == T::kClassId ? static_cast<const T*>(node) : nullptr;
}

} // namespace hdl_cast
