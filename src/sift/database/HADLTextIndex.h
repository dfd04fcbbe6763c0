// Map from a text, held by pointer, to an id: the index of an interning table. Open
// addressing with linear probing over one array: a slot holds the text pointer, the id and
// 32 bits of the text's hash, so a probe reads a text only when those bits agree, and
// entering a text allocates nothing. At most half of the slots are in use.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

template <class Hash, class Equal>
class HADLTextIndex {
public:
    // The id entered under a text equal to `text`, 0 when there is none.
    unsigned find(const char* text) const
    {
        if (used_ == 0)
            return 0;
        const std::uint32_t code = codeOf(text);
        for (std::size_t at = code & mask_;; at = (at + 1) & mask_) {
            const Slot& slot = slots_[at];
            if (slot.key == nullptr)
                return 0;
            if (slot.code == code && Equal()(slot.key, text))
                return slot.id;
        }
    }

    // Enters `key` with `id`; when an equal text is there already, its entry keeps its own
    // key pointer and takes the new id.
    void assign(const char* key, unsigned id)
    {
        reserve(used_ + 1);
        place(key, id, codeOf(key));
    }

    // assign of texts[id] with id, for every id from `first` to the end, in id order. The
    // hashes of a batch are taken first and their slots fetched, so that the probes of the
    // batch do not wait on memory one after the other.
    void assignAll(const std::vector<char*>& texts, unsigned first)
    {
        if (first >= texts.size())
            return;
        reserve(used_ + (texts.size() - first));
        constexpr std::size_t kBatch = 16;
        std::uint32_t codes[kBatch];
        for (std::size_t base = first; base < texts.size(); base += kBatch) {
            const std::size_t count = std::min(kBatch, texts.size() - base);
            for (std::size_t i = 0; i < count; ++i) {
                codes[i] = codeOf(texts[base + i]);
                __builtin_prefetch(&slots_[codes[i] & mask_], 1);
            }
            for (std::size_t i = 0; i < count; ++i)
                place(texts[base + i], static_cast<unsigned>(base + i), codes[i]);
        }
    }

    // Room for `count` entries without growing.
    void reserve(std::size_t count)
    {
        if (count * 2 <= slots_.size())
            return;
        std::size_t capacity = 16;
        while (capacity < count * 2)
            capacity *= 2;
        rehash(capacity);
    }

    // Empty, and without memory.
    void clear()
    {
        slots_ = std::vector<Slot>();
        mask_ = 0;
        used_ = 0;
    }

    std::size_t size() const { return used_; }
    bool empty() const { return used_ == 0; }
    Hash hash_function() const { return Hash(); }
    Equal key_eq() const { return Equal(); }

private:
    struct Slot {
        const char* key = nullptr;
        unsigned id = 0;
        std::uint32_t code = 0;
    };

    static std::uint32_t codeOf(const char* text)
    {
        return static_cast<std::uint32_t>(Hash()(text));
    }

    void place(const char* key, unsigned id, std::uint32_t code)
    {
        for (std::size_t at = code & mask_;; at = (at + 1) & mask_) {
            Slot& slot = slots_[at];
            if (slot.key == nullptr) {
                slot = {key, id, code};
                ++used_;
                return;
            }
            if (slot.code == code && Equal()(slot.key, key)) {
                slot.id = id;
                return;
            }
        }
    }

    // The entries are distinct already, so each goes to the first free slot of its run.
    void rehash(std::size_t capacity)
    {
        std::vector<Slot> old(capacity);
        old.swap(slots_);
        mask_ = capacity - 1;
        for (const Slot& slot : old) {
            if (slot.key == nullptr)
                continue;
            std::size_t at = slot.code & mask_;
            while (slots_[at].key != nullptr)
                at = (at + 1) & mask_;
            slots_[at] = slot;
        }
    }

    std::vector<Slot> slots_;
    std::size_t mask_ = 0;
    std::size_t used_ = 0;
};
