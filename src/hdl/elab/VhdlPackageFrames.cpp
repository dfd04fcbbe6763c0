// The frames of packages: one per package, made on first use, and one per instance of
// a generic package (2008), whose constants and functions see the generics that the
// instantiation gives. A name of a generic package is evaluated in the instance that
// selects it (`inst.C`) or that a use clause in scope makes visible.
#include "hdl/elab/VhdlEvalInternal.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlOverloads.h"

namespace hdl {

using namespace vhdl_eval;

const VhdlPackageDecl* vhdl_eval::GenericPackageOf(const VhdlPackageInstantiationDecl& inst) {
    const VhdlIdDef* id = IdOf(inst.uninstantiated);
    return id ? dynamic_cast<const VhdlPackageDecl*>(id->declaration) : nullptr;
}

void VhdlEvaluator::DeclarePackage(VhdlFrame* frame, const VhdlPackageDecl& decl) {
    Declare(frame, decl.declarations);
    auto* body = dynamic_cast<const VhdlPackageBody*>(decl.GetSecondaryUnit(nullptr));
    if (!body) return;
    VhdlFrame bodyDecls;
    bodyDecls.region = body;
    Declare(&bodyDecls, body->declarations);
    for (auto& [id, s] : bodyDecls.slots) {
        // A deferred constant takes its value from the body.
        if (s.declaration && s.declaration->GetClassId() == VhdlConstantDecl::kClassId) {
            for (auto& [hid, hs] : frame->slots) {
                if (hs.declaration && hs.declaration->GetClassId() == VhdlConstantDecl::kClassId &&
                    !static_cast<const VhdlConstantDecl*>(hs.declaration)->init && SameName(hid->Name(), id->Name()))
                    hs.declaration = s.declaration;
            }
        }
        frame->slots.emplace(id, s);
    }
    // Subprograms declared in the package and defined in its body.
    for (VhdlTreeNode* d : decl.declarations) {
        auto* sd = dynamic_cast<VhdlSubprogramDecl*>(d);
        if (!sd || !sd->spec || !sd->spec->id) continue;
        for (VhdlTreeNode* b : body->declarations) {
            auto* sb = dynamic_cast<VhdlSubprogramBody*>(b);
            if (sb && sb->spec && sb->spec->id && SameName(sb->spec->id->Name(), sd->spec->id->Name()) &&
                sb->spec->GetClassId() == sd->spec->GetClassId() && VhdlSameProfile(sb->spec->id, sd->spec->id)) {
                impl_->bodies[sd->spec] = sb;
                break;
            }
        }
    }
    for (VhdlTreeNode* b : body->declarations)
        if (auto* sb = dynamic_cast<VhdlSubprogramBody*>(b)) impl_->bodyRegions[sb] = &decl;
}

VhdlFrame* VhdlEvaluator::PackageFrame(const VhdlDesignUnit* unit) {
    const VhdlPackageDecl* decl = dynamic_cast<const VhdlPackageDecl*>(unit);
    const VhdlPackageBody* body = dynamic_cast<const VhdlPackageBody*>(unit);
    if (body && body->library && body->id) {
        decl = dynamic_cast<const VhdlPackageDecl*>(body->library->GetPrimUnit(std::string(body->id->Name()).c_str()));
    }
    if (!decl) return nullptr;
    auto& slot = impl_->packages[decl];
    if (slot) return slot.get();
    slot = std::make_unique<VhdlFrame>();
    VhdlFrame* frame = slot.get();
    frame->region = decl;
    DeclarePackage(frame, *decl);
    return frame;
}

VhdlFrame* VhdlEvaluator::DeclaringFrame(const VhdlIdDef* id) {
    const VhdlDesignUnit* unit = id ? id->owningUnit : nullptr;
    if (!unit) return nullptr;
    uint32_t kind = unit->GetClassId();
    if (kind != VhdlPackageDecl::kClassId && kind != VhdlPackageBody::kClassId) return nullptr;
    VhdlFrame* frame = PackageFrame(unit);
    auto* decl = frame ? static_cast<const VhdlPackageDecl*>(frame->region) : nullptr;
    if (!decl || decl->generics.Empty()) return frame;
    // A generic package: the instance that selects the name or that is in sight.
    for (auto it = selectedInstances_.rbegin(); it != selectedInstances_.rend(); ++it)
        if (it->first == decl) return it->second;
    if (VhdlFrame* instance = VisibleInstance(*decl)) return instance;
    return frame;
}

VhdlFrame* VhdlEvaluator::InstanceFrame(const VhdlPackageInstantiationDecl& inst, VhdlFrame* context) {
    const VhdlPackageDecl* generic = GenericPackageOf(inst);
    if (!generic) Fail<vhdl_msg::ElabGenericPackageNotAnalysed>(&inst, Text(inst.uninstantiated).c_str());
    auto& slot = impl_->instances[{&inst, context}];
    if (slot) return slot.get();
    slot = std::make_unique<VhdlFrame>();
    VhdlFrame* frame = slot.get();
    frame->region = generic;
    if (context) impl_->localInstances[context].push_back(&inst);
    // Actuals of the generic map by formal, in the instantiation's context.
    std::vector<const VhdlIdDef*> formals;
    for (VhdlTreeNode* g : generic->generics) {
        if (auto* d = dynamic_cast<const VhdlInterfaceDecl*>(g)) {
            for (VhdlIdDef* id : d->ids) formals.push_back(id);
        } else if (auto* t = dynamic_cast<const VhdlInterfaceTypeDecl*>(g)) {
            formals.push_back(t->id);
        } else {
            formals.push_back(nullptr);
        }
    }
    std::unordered_map<const VhdlIdDef*, const VhdlTreeNode*> actuals;
    size_t position = 0;
    for (VhdlTreeNode* a : inst.genericMap) {
        auto* assoc = dynamic_cast<const VhdlAssocElement*>(a);
        const VhdlTreeNode* actual = assoc ? assoc->actual : a;
        const VhdlIdDef* formal = nullptr;
        if (assoc && assoc->formal) {
            for (const VhdlIdDef* f : formals)
                if (f && SameName(f->Name(), SimpleName(assoc->formal))) formal = f;
            if (!formal)
                Fail<vhdl_msg::ElabNotAGeneric>(a, Text(assoc->formal).c_str(), std::string(generic->Name()).c_str());
        } else if (position < formals.size()) {
            formal = formals[position++];
        }
        if (formal && actual && actual->GetClassId() != VhdlOpen::kClassId &&
            actual->GetClassId() != VhdlBox::kClassId && actual->GetClassId() != VhdlDefault::kClassId)
            actuals[formal] = actual;
    }
    VhdlFrame* saved = current_;
    try {
        for (VhdlTreeNode* g : generic->generics) {
            if (auto* t = dynamic_cast<const VhdlInterfaceTypeDecl*>(g)) {
                auto it = actuals.find(t->id);
                if (it == actuals.end()) continue;
                VhdlSlot& s = frame->slots[t->id];
                s.state = VhdlSlot::Ready;
                s.type = EvaluateSubtypeIn(context, it->second);
                continue;
            }
            auto* d = dynamic_cast<const VhdlInterfaceDecl*>(g);
            if (!d) continue;
            for (VhdlIdDef* id : d->ids) {
                current_ = frame;
                const VhdlType* type = EvaluateSubtype(d->subtype);
                auto it = actuals.find(id);
                VhdlValue v;
                if (it != actuals.end()) v = EvaluateIn(context, it->second, type);
                else if (d->init) v = Evaluate(d->init, type);
                else
                    Fail<vhdl_msg::ElabGenericWithoutValue>(&inst, std::string(id->OrigName()).c_str(),
                                                            std::string(generic->Name()).c_str());
                v = Conform(std::move(v), type, &inst);
                if (type && type->IsArray() && !type->constrained && v.kind == VhdlValue::Array)
                    type = ConstrainedArray(type, v.Range());
                Bind(frame, id, std::move(v), type);
            }
        }
    } catch (...) {
        current_ = saved;
        impl_->instances.erase({&inst, context});
        throw;
    }
    current_ = saved;
    DeclarePackage(frame, *generic);
    return frame;
}

namespace {

// The package instantiation a use clause names (`use work.inst.all`), if any.
const VhdlPackageInstantiationDecl* UsedInstance(const VhdlTreeNode* name) {
    auto* sel = dynamic_cast<const VhdlSelectedName*>(name);
    const VhdlIdDef* id = sel ? IdOf(sel->prefix) : nullptr;
    return id ? dynamic_cast<const VhdlPackageInstantiationDecl*>(id->declaration) : nullptr;
}

const VhdlNodeList* DeclarationsOf(const VhdlTreeNode* region) {
    if (!region) return nullptr;
    switch (region->GetClassId()) {
    case VhdlArchitectureBody::kClassId: return &static_cast<const VhdlArchitectureBody*>(region)->declarations;
    case VhdlEntityDecl::kClassId: return &static_cast<const VhdlEntityDecl*>(region)->declarations;
    case VhdlBlockStatement::kClassId: return &static_cast<const VhdlBlockStatement*>(region)->declarations;
    case VhdlGenerateStatement::kClassId: return &static_cast<const VhdlGenerateStatement*>(region)->declarations;
    case VhdlSubprogramBody::kClassId: return &static_cast<const VhdlSubprogramBody*>(region)->declarations;
    case VhdlProcessStatement::kClassId: return &static_cast<const VhdlProcessStatement*>(region)->declarations;
    case VhdlPackageDecl::kClassId: return &static_cast<const VhdlPackageDecl*>(region)->declarations;
    default: return nullptr;
    }
}

} // namespace

VhdlFrame* VhdlEvaluator::VisibleInstance(const VhdlPackageDecl& generic) {
    // An instantiation in a library has no context of its own; a local one is evaluated
    // in the frame of the region that declares it.
    auto instanceIn = [&](const VhdlPackageInstantiationDecl* inst, VhdlFrame* declaring) -> VhdlFrame* {
        if (!inst || GenericPackageOf(*inst) != &generic) return nullptr;
        return InstanceFrame(*inst, inst->library ? nullptr : declaring);
    };
    auto scan = [&](const VhdlNodeList& items, VhdlFrame* declaring) -> VhdlFrame* {
        for (VhdlTreeNode* item : items) {
            auto* use = dynamic_cast<const VhdlUseClause*>(item);
            if (!use) continue;
            for (VhdlTreeNode* n : use->names)
                if (VhdlFrame* f = instanceIn(UsedInstance(n), declaring)) return f;
        }
        return nullptr;
    };
    for (VhdlFrame* f = current_; f; f = f->parent) {
        if (const VhdlNodeList* decls = DeclarationsOf(f->region))
            if (VhdlFrame* found = scan(*decls, f)) return found;
        auto* unit = dynamic_cast<const VhdlDesignUnit*>(f->region);
        if (!unit) continue;
        if (VhdlFrame* found = scan(unit->contextClause, f)) return found;
        if (auto* arch = dynamic_cast<const VhdlArchitectureBody*>(unit)) {
            const VhdlIdDef* entity = IdOf(arch->entityName);
            if (auto* e = entity ? dynamic_cast<const VhdlDesignUnit*>(entity->declaration) : nullptr)
                if (VhdlFrame* found = scan(e->contextClause, f)) return found;
        }
    }
    return nullptr;
}

} // namespace hdl
