// The machinery that saved libraries of both languages share: the table of what the
// store does with each node class (made from the class's member lists), and the walk
// of a unit with its fingerprint. StoreSaverBase.h and StoreLoaderBase.h hold the
// common half of writing and reading a file, StoreDirectories.h where files lie.
//
// A language plugs in a traits struct L:
//   using Node, Library, Unit;       // tree node base, library, what a file holds
//   static const std::string& LibraryName(Library&);
//   using Scope;                     // owned scopes that a walk collects, or NoScope
//   using TreeTraits;                // the tree's field traits (hdl/base/TreeFields.h)
//   using Saver, Loader;             // derived from SaverBase<L>, LoaderBase<L>
//   static constexpr uint32_t kFormat;
//   static void AddCodecs(std::vector<ClassCodec<L>>&);   // AddCodec<L, C> per class
//   static void ExtraChildren(Node&, std::vector<Node*>&); // walked before the fields
//   static uint64_t PrintExtras(Node&, uint64_t);
//   template <class F> static constexpr uint64_t OwnKindTag(); // member kinds of its own
// and the Saver and Loader have ownField(F&) for those member kinds.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hdl/base/Arena.h"
#include "hdl/base/TreeFields.h"
#include "hdl/store/StoreFile.h"

namespace hdl::store {

// Deeper trees than this are refused, so that a damaged file cannot make later
// recursive walks overflow the stack; analysed sources stay far below it.
constexpr uint32_t kMaxDepth = 4096;
// Units restored while restoring one unit, one inside the other.
constexpr unsigned kMaxNesting = 256;

// The scope type of a tree whose walk collects no scopes.
struct NoScope {};

// ---------------------------------------------------------------- member kinds

template <class L, class F>
constexpr bool IsNode = tree::IsNode<typename L::TreeTraits, F>;
template <class F>
using IsList = tree::IsList<F>;
template <class F>
using IsLink = tree::IsLink<F>;

template <class F>
struct LinkTarget {
    using type = void;
};
template <class T>
struct LinkTarget<tree::Link<T>> {
    using type = T;
};

// A link to a node of the tree (not to a scope or a library).
template <class L, class F>
constexpr bool IsNodeLink = IsLink<F>::value&& IsNode<L, typename LinkTarget<F>::type*>;

// Classes that declare their own class id, as opposed to abstract bases.
template <class C, class = void>
struct HasOwnId : std::false_type {};
template <class C>
struct HasOwnId<C, std::void_t<typename C::SelfType>> : std::bool_constant<std::is_same_v<typename C::SelfType, C>> {};

// Classes that keep their links apart from their fields, in Links().
template <class C, class = void>
struct HasLinks : std::false_type {};
template <class C>
struct HasLinks<C, std::void_t<decltype(std::declval<C&>().Links())>> : std::true_type {};

template <class L, class F>
constexpr uint64_t KindTag() {
    if constexpr (IsNode<L, F>) return 1;
    else if constexpr (IsList<F>::value) {
        static_assert(IsNode<L, std::remove_reference_t<decltype(*std::declval<F&>().begin())>>,
                      "a list that saved libraries cannot hold");
        return 2;
    } else if constexpr (std::is_same_v<F, bool>) return 4;
    else if constexpr (std::is_integral_v<F> && std::is_unsigned_v<F>) return 5;
    else if constexpr (std::is_integral_v<F>) return 6;
    else if constexpr (std::is_same_v<F, std::string_view>) return 7;
    else if constexpr (IsNodeLink<L, F>) return 12;
    else return L::template OwnKindTag<F>();
}

// A member of Links(): a pointer is a link, anything else a plain value.
template <class F, class Use>
void AsLink(F& f, Use use) {
    if constexpr (std::is_pointer_v<F>) {
        auto link = tree::MakeLink(f);
        use(link);
    } else {
        use(f);
    }
}
template <class F>
using LinkMember = std::conditional_t<std::is_pointer_v<F>, tree::Link<std::remove_pointer_t<F>>, F>;

// ---------------------------------------------------------------- the class table

template <class L>
struct Walk;

// What the store does with the nodes of one class, made from its member lists.
template <class L>
struct ClassCodec {
    using Node = typename L::Node;
    uint32_t id = 0;
    Node* (*make)(Arena&) = nullptr;
    // Children in walk order (after the extras' children), and owned scopes.
    void (*children)(Node&, std::vector<Node*>&, std::vector<typename L::Scope*>&) = nullptr;
    uint64_t (*print)(Node&, uint64_t) = nullptr; // fields into a fingerprint
    void (*save)(typename L::Saver&, Node&) = nullptr;
    void (*load)(typename L::Loader&, Node&) = nullptr;
    uint64_t (*shape)(uint64_t) = nullptr; // member kinds into the layout
};

template <class L, class F>
void AddChildren(F& f, std::vector<typename L::Node*>& out, std::vector<typename L::Scope*>& scopes) {
    if constexpr (IsNode<L, F>) {
        if (f) out.push_back(f);
    } else if constexpr (IsList<F>::value) {
        for (auto* x : f)
            if (x) out.push_back(x);
    } else if constexpr (std::is_same_v<F, typename L::Scope*>) {
        if (f) scopes.push_back(f);
    }
}

template <class L, class F>
uint64_t PrintField(F& f, uint64_t h) {
    if constexpr (IsNode<L, F> || std::is_same_v<F, typename L::Scope*>) {
        return StoreHash(f ? 1 : 0, h);
    } else if constexpr (IsList<F>::value) {
        h = StoreHash(f.Size(), h);
        for (auto* x : f) h = StoreHash(x ? 1 : 0, h);
        return h;
    } else if constexpr (IsLink<F>::value) {
        return StoreHash(f.ref ? 1 : 0, h);
    } else if constexpr (std::is_convertible_v<F&, std::string_view>) {
        std::string_view s = f;
        return StoreHash(s, StoreHash(s.size(), h));
    } else if constexpr (std::is_floating_point_v<F>) {
        uint64_t bits;
        std::memcpy(&bits, &f, sizeof bits);
        return StoreHash(bits, h);
    } else {
        return StoreHash(static_cast<uint64_t>(f), h);
    }
}

template <class L, class Tuple, size_t... I>
uint64_t ShapeOf(uint64_t h, std::index_sequence<I...>) {
    ((h = StoreHash(KindTag<L, LinkMember<std::remove_reference_t<std::tuple_element_t<I, Tuple>>>>(), h)), ...);
    return h;
}

template <class L, class C>
ClassCodec<L> CodecFor() {
    using Node = typename L::Node;
    ClassCodec<L> c;
    c.id = C::kClassId;
    c.make = [](Arena& a) -> Node* { return a.make<C>(); };
    c.children = [](Node& n, std::vector<Node*>& out, std::vector<typename L::Scope*>& scopes) {
        std::apply([&](auto&&... f) { (AddChildren<L>(f, out, scopes), ...); }, static_cast<C&>(n).Fields());
    };
    c.print = [](Node& n, uint64_t h) {
        std::apply([&](auto&&... f) { ((h = PrintField<L>(f, h)), ...); }, static_cast<C&>(n).Fields());
        return h;
    };
    c.save = [](typename L::Saver& s, Node& n) {
        std::apply([&](auto&&... f) { (s.field(f), ...); }, static_cast<C&>(n).Fields());
        if constexpr (HasLinks<C>::value)
            std::apply([&](auto&&... f) { (AsLink(f, [&](auto& m) { s.field(m); }), ...); },
                       static_cast<C&>(n).Links());
    };
    c.load = [](typename L::Loader& l, Node& n) {
        std::apply([&](auto&&... f) { (l.field(f), ...); }, static_cast<C&>(n).Fields());
        if constexpr (HasLinks<C>::value)
            std::apply([&](auto&&... f) { (AsLink(f, [&](auto& m) { l.field(m); }), ...); },
                       static_cast<C&>(n).Links());
    };
    c.shape = [](uint64_t h) {
        using FieldTuple = decltype(std::declval<C&>().Fields());
        h = ShapeOf<L, FieldTuple>(StoreHash(std::tuple_size_v<FieldTuple>, h),
                                   std::make_index_sequence<std::tuple_size_v<FieldTuple>>());
        if constexpr (HasLinks<C>::value) {
            using LinkTuple = decltype(std::declval<C&>().Links());
            h = ShapeOf<L, LinkTuple>(StoreHash(std::tuple_size_v<LinkTuple> + 0x100, h),
                                      std::make_index_sequence<std::tuple_size_v<LinkTuple>>());
        }
        return h;
    };
    return c;
}

template <class L, class C>
void AddCodec(std::vector<ClassCodec<L>>& all) {
    if constexpr (HasOwnId<C>::value) all.push_back(CodecFor<L, C>());
}

template <class L>
const std::vector<ClassCodec<L>>& Codecs() {
    static const std::vector<ClassCodec<L>> all = [] {
        std::vector<ClassCodec<L>> v;
        L::AddCodecs(v);
        std::sort(v.begin(), v.end(), [](const ClassCodec<L>& a, const ClassCodec<L>& b) { return a.id < b.id; });
        return v;
    }();
    return all;
}

// Class ids share their high bits; the low ones index a table.
template <class L>
const ClassCodec<L>& CodecOf(uint32_t id) {
    static const std::vector<const ClassCodec<L>*> table = [] {
        std::vector<const ClassCodec<L>*> t;
        for (const ClassCodec<L>& c : Codecs<L>()) {
            if ((c.id & 0xfff00000u) != (Codecs<L>().front().id & 0xfff00000u))
                throw StoreError("class ids out of range");
            const size_t slot = c.id & 0xfffffu;
            if (t.size() <= slot) t.resize(slot + 1, nullptr);
            t[slot] = &c;
        }
        return t;
    }();
    const size_t slot = id & 0xfffffu;
    if (slot >= table.size() || !table[slot] || table[slot]->id != id) throw StoreError("a node of unknown class");
    return *table[slot];
}

// `node` as a T, or null. Whether a class derives from T is a property of its class
// id: the answer of a dynamic_cast is kept by id, since a restore asks it for every
// child and link (and a dynamic_cast compares type names).
template <class T, class Node>
T* As(Node* node) {
    if constexpr (std::is_base_of_v<T, Node>) {
        return node;
    } else {
        static std::vector<uint8_t> verdicts; // by class slot: 0 not asked yet, 1 a T, 2 not
        if (!node) return nullptr;
        const size_t slot = node->GetClassId() & 0xfffffu;
        if (slot >= verdicts.size()) verdicts.resize(slot + 1, 0);
        uint8_t& verdict = verdicts[slot];
        if (!verdict) verdict = dynamic_cast<T*>(node) ? 1 : 2;
        return verdict == 1 ? static_cast<T*>(node) : nullptr;
    }
}

// The layout of the node classes (their member kinds), which saved files must match.
template <class L>
uint64_t LayoutOf() {
    static const uint64_t layout = [] {
        uint64_t h = StoreHash(L::kFormat, 0xcbf29ce484222325ull);
        for (const ClassCodec<L>& c : Codecs<L>()) h = c.shape(StoreHash(c.id, h));
        return h;
    }();
    return layout;
}

// ---------------------------------------------------------------- walks

// A unit's nodes in walk order (the node, its extras' children, then its children
// field by field), its scopes in the order their owners come, and the fingerprint of
// its shape: classes and field values, without positions or links.
template <class L>
struct Walk {
    std::vector<typename L::Node*> order;
    std::vector<typename L::Scope*> scopes;
    uint64_t fingerprint = 0;
    std::unordered_map<const void*, uint32_t> places; // nodes and scopes; filled on demand

    uint32_t placeOf(const void* p) {
        if (places.empty()) {
            for (uint32_t i = 0; i < order.size(); ++i) places.emplace(order[i], i);
            for (uint32_t i = 0; i < scopes.size(); ++i) places.emplace(scopes[i], i);
        }
        auto it = places.find(p);
        return it == places.end() ? UINT32_MAX : it->second;
    }
};

template <class L>
Walk<L> WalkUnit(typename L::Node* root) {
    using Node = typename L::Node;
    Walk<L> w;
    uint64_t h = StoreHash(L::kFormat, 0xcbf29ce484222325ull);
    std::vector<Node*> stack{root};
    std::vector<Node*> kids;
    while (!stack.empty()) {
        Node* n = stack.back();
        stack.pop_back();
        const ClassCodec<L>& c = CodecOf<L>(n->GetClassId());
        w.order.push_back(n);
        h = L::PrintExtras(*n, c.print(*n, StoreHash(c.id, h)));
        kids.clear();
        L::ExtraChildren(*n, kids);
        c.children(*n, kids, w.scopes);
        for (auto it = kids.rbegin(); it != kids.rend(); ++it) stack.push_back(*it);
    }
    w.fingerprint = StoreHash(w.scopes.size(), h);
    return w;
}

} // namespace hdl::store
