// The base of all VHDL parse tree nodes.
//
// Every node class lists its fields once, in source order, with VHDL_FIELDS; the
// visitor's default walk, structural equality and deep copies (used to make copies
// of units for generic values and to unroll generates) all follow that list (see
// hdl/base/TreeFields.h). Nodes live in an hdl::Arena and are trivially destructible.
#pragma once

#include <cstdint>

#include "hdl/base/Arena.h"
#include "hdl/base/LineFile.h"
#include "hdl/base/TreeFields.h"
#include "hdl/vhdl/VhdlClassIds.h"

namespace hdl {

class VhdlVisitor;
class VhdlTreeNode;

template <class T>
using VhdlArray = ArenaArray<T>;
using VhdlNodeList = VhdlArray<VhdlTreeNode*>;

class VhdlTreeNode {
public:
    virtual uint32_t GetClassId() const = 0;
    virtual void Accept(VhdlVisitor& v) = 0;
    // Visits each child in source order.
    virtual void VisitChildren(VhdlVisitor& v) = 0;
    // Same class is checked by the caller; compares fields, positions aside.
    virtual bool EqualFields(const VhdlTreeNode& other) const = 0;
    // The two passes of a copy (hdl/base/TreeCopier.h).
    virtual VhdlTreeNode* CloneNode(TreeCopier& copier) const = 0;
    virtual void RemapLinks(TreeCopier& copier) = 0;

    // The members that are no children but belong to the tree all the same, so that a
    // saved and restored tree has them: back-links (resolved references, declarations,
    // bindings) and what the parser notes beside the fields. None by default; a class
    // that adds such members lists them after its base's (std::tuple_cat). What
    // elaboration adds (copies, elaborated statements) is made again, not listed.
    auto Links() { return std::tuple<>(); }

    const ColLineFile& Linefile() const { return loc_; }
    void SetLinefile(const ColLineFile& loc) { loc_ = loc; }
    bool IsEqual(const VhdlTreeNode* other) const;
    VhdlTreeNode* Copy(Arena& arena) const {
        TreeCopier copier(arena);
        return tree::CopyTree(copier, this);
    }

protected:
    VhdlTreeNode() = default;
    VhdlTreeNode(const VhdlTreeNode&) = default;

private:
    ColLineFile loc_;
};

void VhdlTraverse(VhdlVisitor& v, VhdlTreeNode* node);

// A VHDL node keeps nothing outside its fields.
struct VhdlTreeTraits {
    using Node = VhdlTreeNode;
    using Visitor = VhdlVisitor;
    static void Traverse(VhdlVisitor& v, VhdlTreeNode* node) { VhdlTraverse(v, node); }
    static void WalkExtras(VhdlVisitor&, const VhdlTreeNode&) {}
    static bool EqualExtras(const VhdlTreeNode&, const VhdlTreeNode&) { return true; }
    static void CloneExtras(TreeCopier&, const VhdlTreeNode&, VhdlTreeNode&) {}
    static void RemapExtras(TreeCopier&, VhdlTreeNode&) {}
};

// Declares the class code and visitor hook of a node class; VHDL_FIELDS then lists
// its fields and defines the generic operations over them.
// clang-format off
#define VHDL_NODE(Class, Kind)                                       \
public:                                                              \
    using SelfType = Class;                                          \
    static constexpr uint32_t kClassId = ID_VHDL_##Kind;             \
    uint32_t GetClassId() const override { return kClassId; }        \
    void Accept(VhdlVisitor& v) override;
// clang-format on

#define VHDL_FIELDS(...) HDL_TREE_FIELDS(VhdlTreeTraits, __VA_ARGS__)

} // namespace hdl
