// Scopes: declarations by name, kept in the arena of their tree.
#include <cstring>

#include "hdl/sv/VeriTree.h"

namespace hdl {

namespace {
// Up to this many declarations a scope is scanned; past it, it keeps a hash index.
constexpr uint32_t kScanned = 8;

uint32_t hashOf(Symbol name) { return name.Id() * 0x9E3779B1u; }
} // namespace

uint32_t VeriScope::capacity(uint32_t count) {
    uint32_t cap = 4;
    while (cap < count) cap *= 2;
    return cap;
}

// The index has twice as many slots as the array has room for.
void VeriScope::index(uint32_t at, uint32_t mask) {
    for (uint32_t slot = hashOf(ids_[at]->name) & mask;; slot = (slot + 1) & mask) {
        if (!index_[slot]) {
            index_[slot] = at + 1;
            return;
        }
    }
}

bool VeriScope::declare(Arena& arena, VeriIdDef* id) {
    if (!id || id->name.empty() || findLocal(id->name)) return false;
    if (count_ == 0 || (count_ >= 4 && (count_ & (count_ - 1)) == 0)) {
        // Full: a block twice the size; the old one stays behind in the arena.
        auto** bigger = static_cast<VeriIdDef**>(arena.allocate(sizeof(VeriIdDef*) * capacity(count_ + 1)));
        if (count_) std::memcpy(bigger, ids_, sizeof(VeriIdDef*) * count_);
        ids_ = bigger;
        if (count_ + 1 > kScanned) {
            uint32_t slots = 2 * capacity(count_ + 1);
            index_ = static_cast<uint32_t*>(arena.allocate(sizeof(uint32_t) * slots, alignof(uint32_t)));
            std::memset(index_, 0, sizeof(uint32_t) * slots);
            for (uint32_t i = 0; i < count_; ++i) index(i, slots - 1);
        }
    }
    ids_[count_++] = id;
    if (index_) index(count_ - 1, 2 * capacity(count_) - 1);
    return true;
}

VeriIdDef* VeriScope::findLocal(Symbol name) const {
    if (name.empty()) return nullptr;
    if (!index_) {
        for (uint32_t i = 0; i < count_; ++i)
            if (ids_[i]->name == name) return ids_[i];
        return nullptr;
    }
    uint32_t mask = 2 * capacity(count_) - 1;
    for (uint32_t slot = hashOf(name) & mask; index_[slot]; slot = (slot + 1) & mask) {
        VeriIdDef* id = ids_[index_[slot] - 1];
        if (id->name == name) return id;
    }
    return nullptr;
}

void VeriScope::addImport(Arena& arena, VeriModule* package, Symbol item) {
    auto* import = arena.make<Import>(Import{package, item, nullptr});
    Import** tail = &imports_;
    while (*tail) tail = &(*tail)->next;
    *tail = import;
}

VeriModule* VeriScope::GetContainingModule() const {
    for (const VeriScope* s = this; s; s = s->upper_) {
        if (auto* m = dynamic_cast<VeriModule*>(s->owner_)) return m;
    }
    return nullptr;
}

namespace tree {

void CustomField<VeriScope*>::Clone(TreeCopier& c, VeriScope*& scope) {
    if (!scope) return;
    Arena& arena = c.arena();
    VeriScope* copy = arena.make<VeriScope>(*scope);
    uint32_t cap = VeriScope::capacity(scope->count_);
    if (scope->ids_) {
        copy->ids_ = static_cast<VeriIdDef**>(arena.allocate(sizeof(VeriIdDef*) * cap));
        std::memcpy(copy->ids_, scope->ids_, sizeof(VeriIdDef*) * scope->count_);
    }
    if (scope->index_) {
        copy->index_ = static_cast<uint32_t*>(arena.allocate(sizeof(uint32_t) * 2 * cap, alignof(uint32_t)));
        std::memcpy(copy->index_, scope->index_, sizeof(uint32_t) * 2 * cap);
    }
    VeriScope::Import** tail = &copy->imports_;
    for (const VeriScope::Import* i = scope->imports_; i; i = i->next) {
        *tail = arena.make<VeriScope::Import>(*i);
        tail = &(*tail)->next;
    }
    c.Record(scope, copy);
    scope = copy;
}

void CustomField<VeriScope*>::Remap(TreeCopier& c, VeriScope*& scope) {
    if (!scope) return;
    scope->upper_ = c.Mapped(scope->upper_);
    scope->owner_ = c.Mapped(scope->owner_);
    for (uint32_t i = 0; i < scope->count_; ++i) scope->ids_[i] = c.Mapped(scope->ids_[i]);
    for (VeriScope::Import* i = scope->imports_; i; i = i->next) i->package = c.Mapped(i->package);
}

} // namespace tree

} // namespace hdl
