// The half of writing a saved unit that both languages share: the string and file
// tables, positions, children, and links into this file or to the language's table of
// nodes of other units.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "hdl/base/LineFile.h"
#include "hdl/base/Message.h"
#include "hdl/store/StoreCodec.h"

namespace hdl::store {
// A file's records are each node's position, then its members; the tables that the
// records name (strings, files, other units) are written before them.
template <class L>
class SaverBase {
public:
    using Node = typename L::Node;

    template <class F>
    void field(F& f) {
        if constexpr (IsNode<L, F>) {
            records_.u64(child(f));
        } else if constexpr (IsList<F>::value) {
            records_.u64(f.Size());
            for (auto* x : f) records_.u64(child(x));
        } else if constexpr (IsNodeLink<L, F>) {
            records_.u64(reference(f.ref));
        } else if constexpr (std::is_same_v<F, std::string_view>) {
            records_.u64(string(f));
        } else if constexpr (std::is_same_v<F, bool> || (std::is_integral_v<F> && std::is_unsigned_v<F>)) {
            records_.u64(static_cast<uint64_t>(f));
        } else if constexpr (std::is_integral_v<F>) {
            records_.i64(static_cast<int64_t>(f));
        } else {
            self().ownField(f);
        }
    }

protected:
    typename L::Saver& self() { return static_cast<typename L::Saver&>(*this); }

    // The nodes of a unit, in walk order, become this file's nodes.
    void addNodes(const Walk<L>& w) {
        for (Node* n : w.order) {
            index_.emplace(n, static_cast<uint32_t>(nodes_.size()));
            nodes_.push_back(n);
        }
    }

    // Refuses a node read from a deciphered protected region: a saved file would hold
    // it in clear.
    void position(Node& n, const SourceLineMap& protectedLines) {
        const ColLineFile loc = n.Linefile();
        uint32_t sourceLine = 0;
        const char* file = protectedLines ? LineFile::GetFileNameFromId(loc.fileId) : nullptr;
        if (file && protectedLines(file, loc.leftLine, &sourceLine))
            throw StoreError("it comes from a protected region of " + std::string(file) + ", which is not saved");
        records_.u64(fileIndex(loc.fileId));
        records_.u64(loc.leftLine);
        records_.u64(loc.leftCol);
        records_.u64(loc.rightLine);
        records_.u64(loc.rightCol);
    }

    // The string and file tables, then the names of the unit and its library.
    void writeNames(StoreWriter& head, std::string_view library, std::string_view unit) {
        const uint32_t libraryName = string(library);
        const uint32_t unitName = string(unit);
        head.u64(strings_.size());
        for (std::string_view s : strings_) head.bytes(s);
        head.u64(files_.size());
        for (uint32_t f : files_) head.u64(f);
        head.u64(libraryName);
        head.u64(unitName);
    }

    void writeNodeClasses(StoreWriter& head) {
        head.u64(nodes_.size());
        for (Node* n : nodes_) head.u64(n->GetClassId());
    }

    uint64_t child(Node* n) { return n ? index_.at(n) + 1 : 0; }

    // Odd: a node of this file; even from 2: an entry of the language's extern table.
    uint64_t reference(Node* target) {
        if (!target) return 0;
        auto here = index_.find(target);
        if (here != index_.end()) return 1 + 2 * uint64_t(here->second);
        return 2 + 2 * uint64_t(self().externOf(target));
    }

    // The extern table entry of `target`, made by `make` the first time.
    template <class Make>
    uint32_t externEntry(const void* target, Make make) {
        auto known = externIds_.find(target);
        if (known != externIds_.end()) return known->second;
        const uint32_t id = make();
        externIds_.emplace(target, id);
        return id;
    }

    uint32_t string(std::string_view s) {
        auto it = stringIds_.find(s);
        if (it != stringIds_.end()) return it->second;
        owned_.emplace_back(s); // stable: the string table views it
        const auto id = static_cast<uint32_t>(strings_.size());
        strings_.push_back(owned_.back());
        stringIds_.emplace(strings_.back(), id);
        return id;
    }
    uint32_t fileIndex(uint32_t fileId) {
        if (fileId == 0) return 0;
        auto it = fileIds_.find(fileId);
        if (it != fileIds_.end()) return it->second;
        const char* name = LineFile::GetFileNameFromId(fileId);
        files_.push_back(string(name ? name : ""));
        return fileIds_[fileId] = static_cast<uint32_t>(files_.size());
    }

    Walk<L>& walkOf(Node* unit) {
        auto it = walks_.find(unit);
        if (it == walks_.end()) it = walks_.emplace(unit, WalkUnit<L>(unit)).first;
        return it->second;
    }

    std::vector<Node*> nodes_;
    std::unordered_map<Node*, uint32_t> index_;
    StoreWriter records_;

private:
    std::vector<std::string_view> strings_;
    std::unordered_map<std::string_view, uint32_t> stringIds_;
    std::deque<std::string> owned_;
    std::vector<uint32_t> files_;
    std::unordered_map<uint32_t, uint32_t> fileIds_;
    std::unordered_map<const void*, uint32_t> externIds_;
    std::map<Node*, Walk<L>> walks_;
};

} // namespace hdl::store
