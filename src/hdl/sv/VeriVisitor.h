// Walks Verilog parse trees. Each node class has one `Visit`; by default a visit passes
// the node on to the visit of its base class, and the visit of VeriTreeNode walks the
// children in source order, as the class's field list names them. A visitor that overrides the visit of a base class thus
// sees every node derived from it. `PreVisit`/`PostVisit` run around every node that
// `TraverseNode` reaches.
#pragma once

#include "hdl/sv/VeriTree.h"

namespace hdl {

class VeriVisitor {
public:
    virtual ~VeriVisitor() = default;

    virtual void Visit(VeriTreeNode& node);
#define HDL_VERI_VISIT_DECL(cls, base) virtual void Visit(cls& node);
    HDL_VERI_NODE_CLASSES(HDL_VERI_VISIT_DECL)
#undef HDL_VERI_VISIT_DECL

    virtual void PreVisit(VeriTreeNode&) {}
    virtual void PostVisit(VeriTreeNode&) {}

    void TraverseNode(VeriTreeNode* node) {
        if (!node) return;
        PreVisit(*node);
        node->Accept(*this);
        PostVisit(*node);
    }
};

} // namespace hdl
