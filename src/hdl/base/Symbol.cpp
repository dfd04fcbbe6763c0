#include "hdl/base/Symbol.h"

#include <functional>
#include <memory>
#include <vector>

#include "hdl/base/Arena.h"

namespace hdl {

namespace {

// The texts by id (0 is the empty text) and an open-addressing index of them.
struct SymbolTable {
    std::unique_ptr<Arena> chars = std::make_unique<Arena>(256 * 1024);
    std::vector<std::string_view> texts{std::string_view()};
    std::vector<uint32_t> slots = std::vector<uint32_t>(1024, 0); // ids; 0 is free

    static size_t hashOf(std::string_view text) { return std::hash<std::string_view>()(text); }

    // The slot that holds `text`, or the free slot where it would go.
    size_t slotOf(std::string_view text) const {
        size_t mask = slots.size() - 1;
        for (size_t i = hashOf(text) & mask;; i = (i + 1) & mask)
            if (!slots[i] || texts[slots[i]] == text) return i;
    }

    void grow() {
        std::vector<uint32_t> old(slots.size() * 2, 0);
        old.swap(slots);
        size_t mask = slots.size() - 1;
        for (uint32_t id : old) {
            if (!id) continue;
            size_t i = hashOf(texts[id]) & mask;
            while (slots[i]) i = (i + 1) & mask;
            slots[i] = id;
        }
    }
};

SymbolTable& table() {
    static SymbolTable t;
    return t;
}

const std::string_view kEmpty[1] = {std::string_view()};

} // namespace

const std::string_view* Symbol::texts_ = kEmpty;

Symbol Symbol::Intern(std::string_view text) {
    if (text.empty()) return Symbol();
    SymbolTable& t = table();
    size_t slot = t.slotOf(text);
    if (t.slots[slot]) return Symbol(t.slots[slot]);
    if ((t.texts.size() + 1) * 2 > t.slots.size()) {
        t.grow();
        slot = t.slotOf(text);
    }
    uint32_t id = uint32_t(t.texts.size());
    t.texts.push_back(t.chars->copy(text));
    texts_ = t.texts.data();
    t.slots[slot] = id;
    return Symbol(id);
}

void Symbol::ForgetAll() {
    table() = SymbolTable();
    texts_ = kEmpty;
}

Symbol Symbol::Find(std::string_view text) {
    if (text.empty()) return Symbol();
    const SymbolTable& t = table();
    return Symbol(t.slots[t.slotOf(text)]);
}

} // namespace hdl
