// The half of reading a saved unit that both languages share, and the session of
// units restored one inside the other.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hdl/base/LineFile.h"
#include "hdl/store/StoreCodec.h"

namespace hdl::store {
// Units being restored, one inside the other, and the walks of units that links lead
// to; lives while the outermost restore runs.
template <class L>
struct Session {
    struct Loading {
        typename L::Library* library;
        std::string key;
        typename L::Unit* unit;
        std::vector<typename L::Node*> units; // the unit's own and those saved with it
    };
    std::vector<Loading> loading;
    std::map<typename L::Node*, Walk<L>> walks;
    unsigned depth = 0;

    static Session*& active() {
        static Session* s = nullptr;
        return s;
    }
    // The unit `key` of the library named so, when it is being restored.
    const Loading* loadingOf(std::string_view library, std::string_view key) const {
        for (const Loading& l : loading)
            if (L::LibraryName(*l.library) == library && l.key == key) return &l;
        return nullptr;
    }
    Walk<L>& walkOf(typename L::Node* unit) {
        auto it = walks.find(unit);
        if (it == walks.end()) it = walks.emplace(unit, WalkUnit<L>(unit)).first;
        return it->second;
    }
};

template <class L>
class SessionScope {
public:
    SessionScope() {
        if (!Session<L>::active()) {
            owned_ = std::make_unique<Session<L>>();
            Session<L>::active() = owned_.get();
        }
        session = Session<L>::active();
        if (++session->depth > kMaxNesting) {
            --session->depth;
            release();
            throw StoreError("units lead to each other too deeply");
        }
    }
    ~SessionScope() {
        --session->depth;
        release();
    }
    SessionScope(const SessionScope&) = delete;
    SessionScope& operator=(const SessionScope&) = delete;
    Session<L>* session = nullptr;

private:
    void release() {
        if (owned_) Session<L>::active() = nullptr;
    }
    std::unique_ptr<Session<L>> owned_;
};

// Reading is checked at every step: each node is the child of exactly one node before
// it (of the same unit, where a file holds several), of the class its parent's member
// takes; a link leads to a node of the class its member takes.
template <class L>
class LoaderBase {
public:
    using Node = typename L::Node;

    LoaderBase(std::string_view payload, Arena& arena, Session<L>& session)
        : in_(payload), arena_(arena), session_(session) {}

    template <class F>
    void field(F& f) {
        if constexpr (IsNode<L, F>) {
            f = child<std::remove_pointer_t<F>>();
        } else if constexpr (IsList<F>::value) {
            using Item = std::remove_pointer_t<std::remove_reference_t<decltype(*f.begin())>>;
            std::vector<Item*> items(in_.count("list length"));
            for (Item*& item : items) item = child<Item>();
            f = F(arena_, items);
        } else if constexpr (IsNodeLink<L, F>) {
            linkField(f.ref);
        } else if constexpr (std::is_same_v<F, std::string_view>) {
            f = strings_[in_.below(strings_.size(), "string")];
        } else if constexpr (std::is_same_v<F, bool>) {
            f = in_.below(2, "flag") != 0;
        } else if constexpr (std::is_integral_v<F> && std::is_unsigned_v<F>) {
            uint64_t v = in_.u64();
            if (v > std::numeric_limits<F>::max()) throw StoreError("a number out of range");
            f = static_cast<F>(v);
        } else if constexpr (std::is_integral_v<F>) {
            int64_t v = in_.i64();
            if (v < std::numeric_limits<F>::min() || v > std::numeric_limits<F>::max())
                throw StoreError("a number out of range");
            f = static_cast<F>(v);
        } else {
            self().ownField(f);
        }
    }

protected:
    struct Fixup {
        void* slot;
        bool (*assign)(void*, Node*);
        uint32_t ext;
    };

    typename L::Loader& self() { return static_cast<typename L::Loader&>(*this); }

    template <class T>
    static bool Assign(void* slot, Node* target) {
        T* p = As<T>(target);
        if (!p && target) return false;
        *static_cast<T**>(slot) = p;
        return true;
    }

    std::string_view stringAt(const char* what) { return strings_[in_.below(strings_.size(), what)]; }

    // The string and file tables; returns the names of the library and the unit.
    std::pair<std::string_view, std::string_view> readNames() {
        strings_.resize(in_.count("string count"));
        for (std::string_view& s : strings_) s = arena_.copy(in_.bytes());
        files_.resize(in_.count("file count"));
        for (uint32_t& f : files_) f = LineFile::GetFileId(std::string(stringAt("file")));
        std::string_view library = stringAt("library name");
        return {library, stringAt("unit name")};
    }

    void readNodeClasses() {
        nodes_.assign(in_.count("node count"), nullptr);
        if (nodes_.empty()) throw StoreError("the file holds no unit");
        codecs_.resize(nodes_.size());
        for (const ClassCodec<L>*& c : codecs_) c = &CodecOf<L>(static_cast<uint32_t>(in_.u64()));
        unitOf_.assign(nodes_.size(), 0);
        depth_.assign(nodes_.size(), 0);
    }

    // Node `i`, made when first named (so that nodes whose records are left unread
    // are never made); notes whether one from `watchFrom_` on was named.
    Node* node(size_t i) {
        if (!nodes_[i]) nodes_[i] = codecs_[i]->make(arena_);
        if (i >= watchFrom_) reachedWatched_ = true;
        return nodes_[i];
    }

    // The records of the nodes up to `end`, each after `extras` has read what the
    // language keeps outside the member lists.
    template <class Extras>
    void readRecords(size_t end, Extras extras) {
        for (; current_ < end; ++current_) {
            if (depth_[current_] == 0) throw StoreError("a node belongs to no unit");
            uint64_t file = in_.below(files_.size() + 1, "file");
            uint32_t ll = static_cast<uint32_t>(in_.u64());
            uint32_t lc = static_cast<uint32_t>(in_.u64());
            uint32_t rl = static_cast<uint32_t>(in_.u64());
            uint32_t rc = static_cast<uint32_t>(in_.u64());
            Node& n = *node(current_);
            n.SetLinefile(ColLineFile(file ? files_[file - 1] : 0, ll, lc, rl, rc));
            extras(n);
            codecs_[current_]->load(self(), n);
        }
    }

    template <class T>
    T* child() {
        return childAt<T>(in_.below(nodes_.size() + 1, "child"));
    }
    template <class T>
    T* childAt(uint64_t r) {
        if (r == 0) return nullptr;
        const uint64_t i = r - 1;
        if (i <= current_ || unitOf_[i] != unitOf_[current_] || depth_[i] != 0)
            throw StoreError("the nodes do not form a tree");
        depth_[i] = depth_[current_] + 1;
        if (depth_[i] > kMaxDepth) throw StoreError("the tree is nested too deeply");
        T* child = As<T>(node(i));
        if (!child) throw StoreError("a child of the wrong kind");
        return child;
    }

    // Odd: a node of this file; even from 2: an entry of the extern table, which the
    // language says leads to a node.
    template <class T>
    void linkField(T*& slot) {
        uint64_t r = in_.u64();
        slot = nullptr;
        if (r == 0) return;
        if (r & 1) {
            if ((r - 1) / 2 >= nodes_.size()) throw StoreError("a link out of range");
            if (!Assign<T>(&slot, node((r - 1) / 2))) throw StoreError("a link leads to a node of the wrong kind");
        } else {
            const uint64_t e = (r - 2) / 2;
            if (!self().isNodeExtern(e)) throw StoreError("a link out of range");
            fixups_.push_back({&slot, &Assign<T>, static_cast<uint32_t>(e)});
        }
    }

    // A link read after externs_ holds the targets out of the file.
    Node* nodeAt(uint64_t r) {
        if (r == 0) return nullptr;
        if (r & 1) {
            if ((r - 1) / 2 >= nodes_.size()) throw StoreError("a link out of range");
            return node((r - 1) / 2);
        }
        const uint64_t e = (r - 2) / 2;
        if (!self().isNodeExtern(e)) throw StoreError("a link out of range");
        return externs_[e];
    }

    // Links out of the file read so far, once externs_ holds their targets.
    void linkOut() {
        for (const Fixup& f : fixups_)
            if (!f.assign(f.slot, externs_[f.ext])) throw StoreError("a link leads to a node of the wrong kind");
        fixups_.clear();
    }

    // A unit that this file names, checked against the fingerprint it had when this one
    // was saved.
    Node* checked(Node* unit, const std::string& name, uint64_t fingerprint) {
        if (!unit) throw StoreError("it needs unit " + name + ", which is not there");
        if (session_.walkOf(unit).fingerprint != fingerprint)
            throw StoreError("unit " + name + " has changed since this one was saved");
        return unit;
    }

    StoreReader in_;
    Arena& arena_;
    Session<L>& session_;
    std::vector<std::string_view> strings_;
    std::vector<uint32_t> files_;
    std::vector<Node*> nodes_;
    std::vector<const ClassCodec<L>*> codecs_; // of each node
    std::vector<uint32_t> unitOf_;
    std::vector<uint32_t> depth_;
    std::vector<Node*> externs_;
    std::vector<Fixup> fixups_;
    size_t current_ = 0;
    size_t watchFrom_ = SIZE_MAX;
    bool reachedWatched_ = false;
};

} // namespace hdl::store
