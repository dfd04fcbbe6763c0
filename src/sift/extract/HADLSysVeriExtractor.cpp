#include "sift/extract/HADLSysVeriExtractor.h"

#include <string>

#include "hdl/sv/VeriTree.h"

namespace {
// The plain name a selected or scope name starts with; empty for any other prefix.
std::string prefixName(const hdl::VeriExpression* prefix) {
    auto* ref = dynamic_cast<const hdl::VeriIdRef*>(prefix);
    return ref ? std::string(ref->GetName()) : std::string();
}
} // namespace

void HADLSysVeriExtractor::Visit(hdl::VeriScopeName& node) {
    // A class scope (`cls::item`) is declared in the unit; a package scope is not.
    auto* ref = dynamic_cast<const hdl::VeriIdRef*>(node.prefix);
    const bool isType = ref && ref->GetId() && dynamic_cast<const hdl::VeriTypeId*>(ref->GetId());
    const std::string name = prefixName(node.prefix);
    if (!isType && !name.empty()) scopeNames.insert(name.c_str());
    hdl::VeriVisitor::Visit(node);
}

void HADLSysVeriExtractor::Visit(hdl::VeriSelectedName& node) {
    // A prefix the unit declares (a struct, an interface port, a local instance) makes a
    // member access; one it does not makes a hierarchical reference from a unit's name.
    auto* ref = dynamic_cast<const hdl::VeriIdRef*>(node.prefix);
    const std::string name = prefixName(node.prefix);
    if (ref && !ref->GetId() && !name.empty()) selectedNames.insert(name.c_str());
    hdl::VeriVisitor::Visit(node);
}
