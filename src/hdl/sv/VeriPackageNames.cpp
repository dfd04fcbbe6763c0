#include "hdl/sv/VeriPackageNames.h"

#include <algorithm>

#include "hdl/sv/VeriVisitor.h"

namespace hdl {
namespace {

class ScopeNames : public VeriVisitor {
public:
    std::vector<std::string> names;

    void Visit(VeriScopeName& n) override {
        if (auto* ref = dynamic_cast<VeriIdRef*>(n.prefix)) add(ref->name.Text());
        VeriVisitor::Visit(n);
    }

private:
    void add(std::string_view name) {
        if (name.empty() || name == "std" || name == "$unit" || name == "local" || name == "super" || name == "this")
            return;
        if (std::find(names.begin(), names.end(), name) == names.end()) names.emplace_back(name);
    }
};

} // namespace

std::vector<std::string> VeriScopesNamed(VeriTreeNode& root) {
    ScopeNames v;
    v.TraverseNode(&root);
    return v.names;
}

} // namespace hdl
