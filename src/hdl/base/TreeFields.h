// Walking, comparing and copying tree nodes through one list of their fields.
//
// Every concrete node class of both front-ends lists its fields once, in source order
// (HDL_TREE_FIELDS); the visitor's default walk, structural equality and deep copies all
// follow that list, so a field added to a class and to its list is walked, compared and
// copied alike. A field is
//   - a child: a node pointer, or an ArenaArray of them; walked, compared by structure,
//     cloned;
//   - a back-link, written `HDL_LINK(field)`: a pointer to a node (or a scope) that the
//     field does not own (a reference's declaration, an identifier's scope). Not walked;
//     equal when both are set or both are null; in a copy it points at the copy of its
//     target when the target was copied with it, else at the original target;
//   - a plain value (numbers, flags, names), compared with ==;
//   - a field type with a CustomField specialisation, which says itself what to do.
//
// A tree supplies its traits: the node base, the visitor, how the visitor enters a child,
// and what to do with what the tree keeps of a node outside its fields (its extras: for
// the Verilog tree, the rare attributes, qualifiers and labels), which every operation
// takes first:
//   struct Traits { using Node = ...; using Visitor = ...;
//                   static void Traverse(Visitor&, Node*);
//                   static void WalkExtras(Visitor&, const Node&);
//                   static bool EqualExtras(const Node&, const Node&);
//                   static void CloneExtras(TreeCopier&, const Node& original, Node& copy);
//                   static void RemapExtras(TreeCopier&, Node&); };
// and its node base declares, as pure virtual functions, the operations that
// HDL_TREE_FIELDS defines: VisitChildren, EqualFields, CloneNode, RemapLinks.
#pragma once

#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

#include "hdl/base/ArenaArray.h"
#include "hdl/base/TreeCopier.h"

namespace hdl::tree {

// A back-link field, as it stands in a field list.
template <class T>
struct Link {
    T*& ref;
};
template <class T>
Link<T> MakeLink(T*& field) {
    return {field};
}

// Field types that need their own walk, equality, clone and remap; a specialisation
// derives from std::true_type and has the four static functions.
template <class F, class = void>
struct CustomField : std::false_type {};

template <class... A>
std::tuple<A...> Tie(A&&... fields) {
    return std::tuple<A...>(std::forward<A>(fields)...);
}

template <class Tr, class F>
constexpr bool IsNode =
    std::is_pointer_v<F>&& std::is_base_of_v<typename Tr::Node, std::remove_cv_t<std::remove_pointer_t<F>>>;

template <class F>
struct IsLink : std::false_type {};
template <class T>
struct IsLink<Link<T>> : std::true_type {};

template <class F>
struct IsList : std::false_type {};
template <class T>
struct IsList<ArenaArray<T>> : std::true_type {};

// Structural equality of two possibly null subtrees; positions do not count.
template <class Node>
bool NodesEqual(const Node* a, const Node* b) {
    if (a == b) return true;
    if (!a || !b) return false;
    return a->GetClassId() == b->GetClassId() && a->EqualFields(*b);
}

template <class Tr, class F>
void Walk(typename Tr::Visitor& v, const F& f) {
    if constexpr (IsNode<Tr, F>) {
        Tr::Traverse(v, f);
    } else if constexpr (IsList<F>::value) {
        for (const auto& item : f) Walk<Tr>(v, item);
    } else if constexpr (CustomField<F>::value) {
        CustomField<F>::Walk(v, f);
    }
}

template <class Tr, class F>
bool Equal(const F& a, const F& b) {
    if constexpr (IsNode<Tr, F>) {
        return NodesEqual<typename Tr::Node>(a, b);
    } else if constexpr (IsLink<F>::value) {
        return (a.ref == nullptr) == (b.ref == nullptr);
    } else if constexpr (IsList<F>::value) {
        if (a.Size() != b.Size()) return false;
        for (uint32_t i = 0; i < a.Size(); ++i)
            if (!Equal<Tr>(a[i], b[i])) return false;
        return true;
    } else if constexpr (CustomField<F>::value) {
        return CustomField<F>::Equal(a, b);
    } else {
        static_assert(!std::is_pointer_v<F>, "a pointer field is a child, a link or a custom field");
        return a == b;
    }
}

template <class Tr, class F>
void Clone(TreeCopier& c, F& f) {
    if constexpr (IsNode<Tr, F>) {
        if (f) f = static_cast<F>(f->CloneNode(c));
    } else if constexpr (IsList<F>::value) {
        if (f.Empty()) return;
        F copy(c.arena(), f.begin(), f.Size());
        for (auto& item : copy) Clone<Tr>(c, item);
        f = copy;
    } else if constexpr (CustomField<F>::value) {
        CustomField<F>::Clone(c, f);
    }
}

template <class Tr, class F>
void Remap(TreeCopier& c, F& f) {
    if constexpr (IsNode<Tr, F>) {
        if (f) f->RemapLinks(c);
    } else if constexpr (IsLink<F>::value) {
        f.ref = c.Mapped(f.ref);
    } else if constexpr (IsList<F>::value) {
        for (auto& item : f) Remap<Tr>(c, item);
    } else if constexpr (CustomField<F>::value) {
        CustomField<F>::Remap(c, f);
    }
}

template <class Tr, class Tuple>
void WalkAll(typename Tr::Visitor& v, const Tuple& fields) {
    std::apply([&](const auto&... f) { (Walk<Tr>(v, f), ...); }, fields);
}

template <class Tr, class Tuple, size_t... I>
bool EqualEach(const Tuple& a, const Tuple& b, std::index_sequence<I...>) {
    return (Equal<Tr>(std::get<I>(a), std::get<I>(b)) && ...);
}

template <class Tr, class Tuple>
bool EqualAll(const Tuple& a, const Tuple& b) {
    return EqualEach<Tr>(a, b, std::make_index_sequence<std::tuple_size_v<Tuple>>());
}

template <class Tr, class Tuple>
void RemapAll(TreeCopier& c, Tuple fields) {
    std::apply([&](auto&... f) { (Remap<Tr>(c, f), ...); }, fields);
}

// Whether a node class has a field list of its own (see HDL_TREE_FIELDS).
template <class T, class = void>
struct OwnsFieldList : std::false_type {};
template <class T>
struct OwnsFieldList<T, std::void_t<typename T::FieldListOwner>> : std::is_same<typename T::FieldListOwner, T> {};

// The first pass of a copy for one node: a shallow copy whose children are cloned.
template <class Tr, class Self>
typename Tr::Node* CloneOne(TreeCopier& c, const Self& original) {
    Self* copy = c.arena().template make<Self>(original);
    c.Record(&original, copy);
    Tr::CloneExtras(c, original, *copy);
    std::apply([&](auto&&... f) { (Clone<Tr>(c, f), ...); }, copy->Fields());
    return copy;
}

// A deep copy of `root` into the copier's arena, back-links remapped.
template <class Node>
Node* CopyTree(TreeCopier& c, const Node* root) {
    if (!root) return nullptr;
    Node* copy = root->CloneNode(c);
    copy->RemapLinks(c);
    return copy;
}

} // namespace hdl::tree

#define HDL_LINK(field) ::hdl::tree::MakeLink(field)

// Inside a node class that names itself `SelfType`: its field list and the operations
// that follow it, for the tree whose traits are `Traits`. A derived class that inherited
// its base's list would copy itself as its base: `FieldListOwner` lets a tree check, for
// each of its classes, that the class has its own list.
// clang-format off
#define HDL_TREE_FIELDS(Traits, ...)                                                               \
    HDL_TREE_FIELDS_OWN_WALK(Traits, __VA_ARGS__)                                                  \
    void VisitChildren(Traits::Visitor& v) override {                                              \
        Traits::WalkExtras(v, *this);                                                              \
        ::hdl::tree::WalkAll<Traits>(v, Fields());                                                 \
    }
// The same, for a class whose walk departs from the order of its fields and which defines
// VisitChildren itself.
#define HDL_TREE_FIELDS_OWN_WALK(Traits, ...)                                                      \
    using FieldListOwner = SelfType;                                                               \
    auto Fields() { return ::hdl::tree::Tie(__VA_ARGS__); }                                        \
    bool EqualFields(const Traits::Node& o) const override {                                       \
        return Traits::EqualExtras(*this, o) &&                                                    \
               ::hdl::tree::EqualAll<Traits>(                                                      \
                   const_cast<SelfType*>(this)->Fields(),                                          \
                   const_cast<SelfType&>(static_cast<const SelfType&>(o)).Fields());               \
    }                                                                                              \
    Traits::Node* CloneNode(::hdl::TreeCopier& c) const override {                                 \
        return ::hdl::tree::CloneOne<Traits>(c, *this);                                            \
    }                                                                                              \
    void RemapLinks(::hdl::TreeCopier& c) override {                                               \
        Traits::RemapExtras(c, *this);                                                             \
        ::hdl::tree::RemapAll<Traits>(c, Fields());                                                \
    }
// clang-format on
