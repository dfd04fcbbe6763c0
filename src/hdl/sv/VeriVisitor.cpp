#include "hdl/sv/VeriVisitor.h"

namespace hdl {

void VeriVisitor::Visit(VeriTreeNode& node) { node.VisitChildren(*this); }

#define HDL_VERI_VISIT_DEF(cls, base) \
    void VeriVisitor::Visit(cls& node) { Visit(static_cast<base&>(node)); }
HDL_VERI_NODE_CLASSES(HDL_VERI_VISIT_DEF)
#undef HDL_VERI_VISIT_DEF

} // namespace hdl
