// The base of all VHDL parse tree nodes and the generic machinery that walks,
// compares and copies a node through the list of its fields.
//
// Every node class lists its fields once, in source order, with VHDL_FIELDS; the
// visitor's default walk, structural equality and deep copies (used to make copies
// of units for generic values and to unroll generates) all follow that list. Nodes
// live in an hdl::Arena and are trivially destructible.
#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "hdl/base/Arena.h"
#include "hdl/base/LineFile.h"
#include "hdl/vhdl/VhdlClassIds.h"

namespace hdl {

class VhdlVisitor;
class VhdlTreeNode;

// A fixed list in the arena.
template <class T>
class VhdlArray {
public:
    VhdlArray() = default;
    VhdlArray(Arena& arena, const std::vector<T>& items) {
        if (items.empty()) return;
        data_ = static_cast<T*>(arena.allocate(sizeof(T) * items.size(), alignof(T)));
        for (size_t i = 0; i < items.size(); ++i) data_[i] = items[i];
        size_ = static_cast<uint32_t>(items.size());
    }
    uint32_t Size() const { return size_; }
    bool Empty() const { return size_ == 0; }
    T At(uint32_t i) const { return i < size_ ? data_[i] : T(); }
    T* begin() const { return data_; }
    T* end() const { return data_ + size_; }
    T& operator[](uint32_t i) { return data_[i]; }
    // Drops the null slots that overwriting left, keeping the order of the rest.
    void RemoveNulls() {
        uint32_t kept = 0;
        for (uint32_t i = 0; i < size_; ++i)
            if (data_[i]) data_[kept++] = data_[i];
        size_ = kept;
    }

private:
    T* data_ = nullptr;
    uint32_t size_ = 0;
};

using VhdlNodeList = VhdlArray<VhdlTreeNode*>;

class VhdlTreeNode {
public:
    virtual uint32_t GetClassId() const = 0;
    virtual void Accept(VhdlVisitor& v) = 0;
    // Visits each child in source order.
    virtual void VisitChildren(VhdlVisitor& v) = 0;
    // Same class is checked by the caller; compares fields, positions aside.
    virtual bool EqualFields(const VhdlTreeNode& other) const = 0;
    virtual VhdlTreeNode* CloneNode(Arena& arena) const = 0;

    const ColLineFile& Linefile() const { return loc_; }
    void SetLinefile(const ColLineFile& loc) { loc_ = loc; }
    bool IsEqual(const VhdlTreeNode* other) const;
    VhdlTreeNode* Copy(Arena& arena) const { return CloneNode(arena); }

protected:
    VhdlTreeNode() = default;
    VhdlTreeNode(const VhdlTreeNode&) = default;

private:
    ColLineFile loc_;
};

// Structural equality of two possibly null subtrees.
bool VhdlTreeEqual(const VhdlTreeNode* a, const VhdlTreeNode* b);
void VhdlTraverse(VhdlVisitor& v, VhdlTreeNode* node);

namespace vhdl_detail {

template <class T>
constexpr bool IsNodePtr = std::is_pointer_v<T> && std::is_base_of_v<VhdlTreeNode, std::remove_pointer_t<T>>;

template <class T>
struct IsArray : std::false_type {};
template <class T>
struct IsArray<VhdlArray<T>> : std::true_type {};

template <class F>
void Walk(VhdlVisitor& v, const F& field) {
    if constexpr (IsNodePtr<F>) {
        VhdlTraverse(v, field);
    } else if constexpr (IsArray<F>::value) {
        for (auto* n : field) VhdlTraverse(v, n);
    }
}

template <class F>
bool Equal(const F& a, const F& b) {
    if constexpr (IsNodePtr<F>) {
        return VhdlTreeEqual(a, b);
    } else if constexpr (IsArray<F>::value) {
        if (a.Size() != b.Size()) return false;
        for (uint32_t i = 0; i < a.Size(); ++i)
            if (!VhdlTreeEqual(a.At(i), b.At(i))) return false;
        return true;
    } else {
        return a == b;
    }
}

template <class F>
void Clone(Arena& arena, F& field) {
    if constexpr (IsNodePtr<F>) {
        if (field) field = static_cast<F>(field->CloneNode(arena));
    } else if constexpr (IsArray<F>::value) {
        std::vector<std::remove_reference_t<decltype(*field.begin())>> items(field.begin(), field.end());
        for (auto& n : items)
            if (n) n = static_cast<std::remove_reference_t<decltype(n)>>(n->CloneNode(arena));
        field = F(arena, items);
    }
}

template <class Tuple>
void WalkAll(VhdlVisitor& v, const Tuple& t) {
    std::apply([&](const auto&... f) { (Walk(v, f), ...); }, t);
}

template <class Tuple, size_t... I>
bool EqualAll(const Tuple& a, const Tuple& b, std::index_sequence<I...>) {
    return (Equal(std::get<I>(a), std::get<I>(b)) && ...);
}

template <class Tuple>
void CloneAll(Arena& arena, Tuple t) {
    std::apply([&](auto&... f) { (Clone(arena, f), ...); }, t);
}

} // namespace vhdl_detail

// Declares the class code and visitor hook of a node class; VHDL_FIELDS then lists
// its fields and defines the generic operations over them.
#define VHDL_NODE(Class, Kind)                                       \
public:                                                              \
    using SelfType = Class;                                          \
    static constexpr uint32_t kClassId = ID_VHDL_##Kind;             \
    uint32_t GetClassId() const override { return kClassId; }        \
    void Accept(VhdlVisitor& v) override;

#define VHDL_FIELDS(...)                                                                      \
    auto Fields() { return std::tie(__VA_ARGS__); }                                          \
    void VisitChildren(VhdlVisitor& v) override {                                            \
        vhdl_detail::WalkAll(v, Fields());                                                   \
    }                                                                                         \
    bool EqualFields(const VhdlTreeNode& o) const override {                                 \
        auto a = const_cast<SelfType*>(this)->Fields();                                      \
        auto b = const_cast<SelfType&>(static_cast<const SelfType&>(o)).Fields();            \
        return vhdl_detail::EqualAll(a, b, std::make_index_sequence<std::tuple_size_v<decltype(a)>>()); \
    }                                                                                         \
    VhdlTreeNode* CloneNode(Arena& arena) const override {                                   \
        SelfType* c = arena.make<SelfType>(*this);                                           \
        vhdl_detail::CloneAll(arena, c->Fields());                                           \
        return c;                                                                             \
    }

} // namespace hdl
