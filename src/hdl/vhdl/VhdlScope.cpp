#include "hdl/vhdl/VhdlScope.h"

#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlResolver.h"

namespace hdl {

namespace {

void Declared(const VhdlNodeList& list, std::vector<VhdlIdDef*>& out) {
    for (VhdlTreeNode* d : list) VhdlDeclaredIds(d, out);
}

void Labels(const VhdlNodeList& statements, std::vector<VhdlIdDef*>& out) {
    for (VhdlTreeNode* s : statements) {
        auto* stmt = dynamic_cast<VhdlStatement*>(s);
        if (stmt && stmt->label) out.push_back(stmt->label);
    }
}

// The generic clause of the unit an identifier names.
const VhdlNodeList* GenericsOf(const VhdlIdDef* id) {
    if (!id) return nullptr;
    if (auto* c = dynamic_cast<const VhdlComponentDecl*>(id->declaration)) return &c->generics;
    if (auto* e = dynamic_cast<const VhdlEntityDecl*>(id->declaration)) return &e->generics;
    if (auto* cfg = dynamic_cast<const VhdlConfigurationDecl*>(id->declaration)) {
        if (auto* e = dynamic_cast<const VhdlEntityDecl*>(cfg->entity)) return &e->generics;
    }
    return nullptr;
}

} // namespace

std::vector<VhdlIdDef*> VhdlScope::DeclArea() const {
    std::vector<VhdlIdDef*> out;
    if (!owner_) return out;
    switch (owner_->GetClassId()) {
    case VhdlEntityDecl::kClassId: {
        auto* e = static_cast<const VhdlEntityDecl*>(owner_);
        Declared(e->generics, out);
        Declared(e->ports, out);
        Declared(e->declarations, out);
        Labels(e->statements, out);
        break;
    }
    case VhdlArchitectureBody::kClassId: {
        auto* a = static_cast<const VhdlArchitectureBody*>(owner_);
        Declared(a->declarations, out);
        Labels(a->elaborated ? a->elaboratedStatements : a->statements, out);
        break;
    }
    case VhdlBlockStatement::kClassId: {
        auto* b = static_cast<const VhdlBlockStatement*>(owner_);
        if (b->generics) Declared(b->generics->clause, out);
        if (b->ports) Declared(b->ports->clause, out);
        Declared(b->declarations, out);
        Labels(b->statements, out);
        break;
    }
    case VhdlGenerateStatement::kClassId: {
        auto* g = static_cast<const VhdlGenerateStatement*>(owner_);
        if (auto* loop = dynamic_cast<const VhdlForScheme*>(g->scheme); loop && loop->id) out.push_back(loop->id);
        Declared(g->declarations, out);
        Labels(g->statements, out);
        break;
    }
    case VhdlPackageDecl::kClassId: {
        auto* p = static_cast<const VhdlPackageDecl*>(owner_);
        Declared(p->generics, out);
        Declared(p->declarations, out);
        break;
    }
    case VhdlPackageBody::kClassId: Declared(static_cast<const VhdlPackageBody*>(owner_)->declarations, out); break;
    case VhdlProcessStatement::kClassId:
        Declared(static_cast<const VhdlProcessStatement*>(owner_)->declarations, out);
        break;
    case VhdlSubprogramBody::kClassId: {
        auto* body = static_cast<const VhdlSubprogramBody*>(owner_);
        if (body->spec) Declared(body->spec->params, out);
        Declared(body->declarations, out);
        break;
    }
    default: break;
    }
    return out;
}

std::string_view VhdlLibraryNameOf(const VhdlIdDef* id) {
    const VhdlDesignUnit* unit = id ? id->owningUnit : nullptr;
    if (!unit) {
        if (auto* du = id ? dynamic_cast<const VhdlDesignUnit*>(id->declaration) : nullptr) unit = du;
    }
    return unit && unit->library ? std::string_view(unit->library->Name()) : std::string_view();
}

bool VhdlHasOverridableGenerics(const VhdlIdDef* id) {
    const VhdlNodeList* generics = GenericsOf(id);
    if (!generics) return false;
    for (VhdlTreeNode* g : *generics)
        if (g && g->GetClassId() == VhdlInterfaceDecl::kClassId) return true;
    return false;
}

} // namespace hdl
