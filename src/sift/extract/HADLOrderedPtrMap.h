// A map keyed by node pointers that keeps its entries in order of first insertion, so
// that what is built from it comes out the same in every run (pointer values do not).
#pragma once

#include <cstddef>
#include <unordered_map>
#include <utility>
#include <vector>

template <typename Key, typename Value>
class HADLOrderedPtrMap {
public:
    using Entry = std::pair<Key, Value>;

    // The entry of `key`, made empty at the end when there is none.
    Value& operator[](Key key) {
        auto [it, added] = index_.try_emplace(key, entries_.size());
        if (added) entries_.emplace_back(key, Value());
        return entries_[it->second].second;
    }
    Value* find(Key key) {
        auto it = index_.find(key);
        return it == index_.end() ? nullptr : &entries_[it->second].second;
    }
    bool contains(Key key) const { return index_.count(key) != 0; }
    std::size_t size() const { return entries_.size(); }
    typename std::vector<Entry>::iterator begin() { return entries_.begin(); }
    typename std::vector<Entry>::iterator end() { return entries_.end(); }

private:
    std::unordered_map<Key, std::size_t> index_;
    std::vector<Entry> entries_;
};
