// The declarative region of a unit, block or generate statement as a list of the
// identifiers it declares, for passes that walk a region by its names (the binder goes
// from the labels of an architecture to its statements), and queries on identifiers
// that such passes ask.
#pragma once

#include <string_view>
#include <vector>

#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

class VhdlScope {
public:
    explicit VhdlScope(const VhdlTreeNode* owner) : owner_(owner) {}
    const VhdlTreeNode* GetOwner() const { return owner_; }
    // In source order: generics, ports, declarations, then the labels of the statements.
    // Of an elaborated architecture the labels are those of its elaborated statements.
    std::vector<VhdlIdDef*> DeclArea() const;

private:
    const VhdlTreeNode* owner_;
};

inline VhdlScope VhdlScopeOf(const VhdlTreeNode& region) { return VhdlScope(&region); }

// The name of the library of the unit that declares `id`; empty when unknown.
std::string_view VhdlLibraryNameOf(const VhdlIdDef* id);

// A component, entity or configuration (through its entity) that declares a constant
// generic, which a generic map may override.
bool VhdlHasOverridableGenerics(const VhdlIdDef* id);

} // namespace hdl
