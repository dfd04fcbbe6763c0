#include "hdl/vhdl/VhdlPackageNames.h"

#include "hdl/vhdl/VhdlNames.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace hdl {
namespace {

class ExpandedNames : public VhdlVisitor {
public:
    ExpandedNames(uint32_t fileId) : fileId_(fileId), preserve_(VhdlPreserveIdCase()) {}
    std::vector<std::pair<std::string, std::string>> found;

    // What the clauses and unit names name, the skim reads on its own paths.
    void Visit(VhdlUseClause&) override {}
    void Visit(VhdlContextReference&) override {}
    void Visit(VhdlInstantiatedUnit&) override {}
    void Visit(VhdlEntityAspect&) override {}

    void Visit(VhdlSelectedName& n) override {
        auto* inner = dynamic_cast<VhdlSelectedName*>(n.prefix);
        auto* lib = inner ? dynamic_cast<VhdlIdRef*>(inner->prefix) : nullptr;
        auto* pkg = inner ? dynamic_cast<VhdlIdRef*>(inner->suffix) : nullptr;
        if (lib && pkg && lib->resolved && lib->resolved->GetClassId() == VhdlLibraryId::kClassId && pkg->resolved &&
            dynamic_cast<VhdlPackageDecl*>(pkg->resolved->declaration) && known(*lib)) {
            std::pair<std::string, std::string> p{VhdlIdName(lib->text, preserve_), VhdlIdName(pkg->text, preserve_)};
            bool seen = false;
            for (const auto& f : found) seen |= f == p;
            if (!seen) found.push_back(std::move(p));
        }
        n.VisitChildren(*this);
    }

private:
    bool known(const VhdlIdRef& lib) const {
        std::string name = VhdlIdName(lib.text, false);
        if (name == "work" || name == "std") return true;
        auto* clause = dynamic_cast<VhdlLibraryClause*>(lib.resolved->declaration);
        return clause && clause->Linefile().fileId == fileId_;
    }

    uint32_t fileId_;
    bool preserve_;
};

} // namespace

std::vector<std::pair<std::string, std::string>> VhdlExpandedPackages(VhdlDesignUnit& unit) {
    ExpandedNames v(unit.Linefile().fileId);
    v.TraverseNode(&unit);
    return std::move(v.found);
}

} // namespace hdl
