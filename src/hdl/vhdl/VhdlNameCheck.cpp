#include "hdl/vhdl/VhdlNameCheck.h"

#include <string>

#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace hdl {
namespace {

// Whether every use clause of a unit found what it names: otherwise a type mark may
// come from what was not found (a library the run lacks), and only the use clauses
// themselves are judged.
class UsesFound : public VhdlVisitor {
public:
    bool found = true;
    void Visit(VhdlUseClause& n) override {
        for (VhdlTreeNode* name : n.names) {
            auto* sel = dynamic_cast<VhdlSelectedName*>(name);
            if (!sel) continue;
            bool all = dynamic_cast<VhdlAll*>(sel->suffix) != nullptr;
            VhdlTreeNode* named = all ? sel->prefix : sel->suffix;
            if (auto* inner = dynamic_cast<VhdlSelectedName*>(named)) named = inner->suffix;
            auto* ref = dynamic_cast<VhdlIdRef*>(named);
            if (!ref || !ref->resolved) found = false;
            // What an instantiated or interface package declares, analysis does not list.
            else if (all && ref->resolved->GetClassId() != VhdlLibraryId::kClassId &&
                     !dynamic_cast<VhdlPackageDecl*>(ref->resolved->declaration))
                found = false;
        }
    }
};

bool usesFound(VhdlTreeNode* unit) {
    UsesFound v;
    v.TraverseNode(unit);
    return v.found;
}

class NameCheck : public VhdlVisitor {
public:
    explicit NameCheck(bool typeMarks) : typeMarks_(typeMarks) {}
    unsigned told = 0;

    void Visit(VhdlUseClause& n) override {
        for (VhdlTreeNode* name : n.names) usedItem(name);
    }
    void Visit(VhdlObjectDecl& n) override {
        typeMark(n.subtype);
        VhdlVisitor::Visit(static_cast<VhdlDeclaration&>(n));
    }
    void Visit(VhdlInterfaceDecl& n) override {
        typeMark(n.subtype);
        VhdlVisitor::Visit(static_cast<VhdlDeclaration&>(n));
    }

private:
    // use lib.pkg.item: the item must be a declaration of the package.
    void usedItem(VhdlTreeNode* name) {
        auto* sel = dynamic_cast<VhdlSelectedName*>(name);
        auto* item = sel ? dynamic_cast<VhdlIdRef*>(sel->suffix) : nullptr;
        auto* pkgSel = sel ? dynamic_cast<VhdlSelectedName*>(sel->prefix) : nullptr;
        auto* pkgRef = pkgSel ? dynamic_cast<VhdlIdRef*>(pkgSel->suffix) : nullptr;
        if (!item || item->resolved || !pkgRef || !pkgRef->resolved) return;
        if (!dynamic_cast<VhdlPackageDecl*>(pkgRef->resolved->declaration)) return;
        ColLineFile loc = item->Linefile();
        Message::Tell<vhdl_msg::NotDeclaredInPackage>(&loc, std::string(item->text).c_str(),
                                                      std::string(pkgRef->text).c_str());
        ++told;
    }

    // The type mark of `t`, `t(range)`, `resolved t`.
    void typeMark(VhdlTreeNode* subtype) {
        if (!typeMarks_) return;
        if (auto* ind = dynamic_cast<VhdlExplicitSubtypeIndication*>(subtype)) subtype = ind->typeMark;
        if (auto* idx = dynamic_cast<VhdlIndexedName*>(subtype)) subtype = idx->prefix;
        auto* ref = dynamic_cast<VhdlIdRef*>(subtype);
        if (!ref || ref->resolved) return;
        ColLineFile loc = ref->Linefile();
        Message::Tell<vhdl_msg::UndeclaredType>(&loc, std::string(ref->text).c_str());
        ++told;
    }

    bool typeMarks_;
};

} // namespace

unsigned VhdlReportUndeclaredNames(VhdlDesignUnit& unit) {
    // An architecture sees its entity's clauses, a body its package's.
    VhdlTreeNode* primary = nullptr;
    if (auto* arch = dynamic_cast<VhdlArchitectureBody*>(&unit)) {
        auto* ref = dynamic_cast<VhdlIdRef*>(arch->entityName);
        primary = ref && arch->library ? arch->library->GetPrimUnit(std::string(ref->text).c_str()) : nullptr;
        if (!primary) return 0;
    } else if (auto* body = dynamic_cast<VhdlPackageBody*>(&unit)) {
        primary =
            body->library && body->id ? body->library->GetPrimUnit(std::string(body->id->Name()).c_str()) : nullptr;
        if (!primary) return 0;
    }
    // Every unit sees std.standard; without it no type mark can be judged.
    VhdlLibrary* std = vhdl_file::GetLibrary("std");
    bool standard = std && std->GetPrimUnit("standard");
    NameCheck check(standard && usesFound(&unit) && (!primary || usesFound(primary)));
    check.TraverseNode(&unit);
    return check.told;
}

} // namespace hdl
