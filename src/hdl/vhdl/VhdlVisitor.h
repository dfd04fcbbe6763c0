// Walks VHDL trees. There is one Visit per node class; by default a Visit hands the
// node to the Visit of its base class, and the Visit of VhdlTreeNode walks the
// children in source order. PreVisit and PostVisit run around every node walked.
#pragma once

#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

class VhdlVisitor {
public:
    virtual ~VhdlVisitor() = default;

    virtual void PreVisit(VhdlTreeNode&) {}
    virtual void PostVisit(VhdlTreeNode&) {}
    // Hooks, the node's own Visit, hooks; null is skipped.
    void TraverseNode(VhdlTreeNode* node);

    virtual void Visit(VhdlTreeNode& node) { node.VisitChildren(*this); }
#define VHDL_VISIT_DECL(Class, Base) \
    virtual void Visit(Class& node) { Visit(static_cast<Base&>(node)); }
    VHDL_CLASSES(VHDL_VISIT_DECL)
#undef VHDL_VISIT_DECL
};

} // namespace hdl
