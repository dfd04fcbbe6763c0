// The declarations a walk meets and the references to each, in order of first sight, so
// that what is built from them comes out the same in every run (pointer values do not).
// References are kept in one list for all declarations and grouped once the walk is
// over: a project has millions of them, and a list per declaration would cost an
// allocation each.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

template <typename Id, typename Ref, typename Extra>
class HADLDeclTable {
public:
    struct Entry {
        Id id;
        Extra extra{};
        uint32_t firstRef = 0; // into refs() once grouped
        uint32_t refCount = 0;
    };

    explicit HADLDeclTable(std::size_t expected = 1 << 12) {
        index_.reserve(expected);
        entries_.reserve(expected);
    }

    // The entry of `id`, made at the end when there is none.
    Entry& operator[](Id id) { return entries_[slot(id)]; }
    Entry* find(Id id) {
        auto it = index_.find(id);
        return it == index_.end() ? nullptr : &entries_[it->second];
    }
    void addRef(Id id, const Ref& ref) {
        const uint32_t s = slot(id);
        ++entries_[s].refCount;
        pending_.push_back({s, ref});
    }
    // Puts the references of each entry together, in order of addition.
    void group() {
        uint32_t next = 0;
        for (Entry& e : entries_) {
            e.firstRef = next;
            next += e.refCount;
        }
        refs_.resize(next);
        std::vector<uint32_t> fill(entries_.size(), 0);
        for (const Pending& p : pending_) refs_[entries_[p.slot].firstRef + fill[p.slot]++] = p.ref;
        std::vector<Pending>().swap(pending_);
    }
    const Ref* refsOf(const Entry& e) const { return refs_.data() + e.firstRef; }
    std::vector<Entry>& entries() { return entries_; }

private:
    struct Pending {
        uint32_t slot;
        Ref ref;
    };
    uint32_t slot(Id id) {
        auto [it, added] = index_.try_emplace(id, uint32_t(entries_.size()));
        if (added) entries_.push_back(Entry{id});
        return it->second;
    }
    std::unordered_map<Id, uint32_t> index_;
    std::vector<Entry> entries_;
    std::vector<Pending> pending_;
    std::vector<Ref> refs_;
};
