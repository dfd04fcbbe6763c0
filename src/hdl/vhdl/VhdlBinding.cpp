// Queries over bindings: what an instantiation names, which specification or
// configuration item applies to it, and where it ends up. They read what resolution
// set and otherwise match by names, so they also answer before resolution.
#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    if (!a.empty() && a[0] == '\\') return a == b;
    for (size_t i = 0; i < a.size(); ++i)
        if (Lower(a[i]) != Lower(b[i])) return false;
    return true;
}

// The simple name a name ends in: `c`, `lib.c`, `g(1)` give c, c, g.
std::string_view SimpleName(const VhdlTreeNode* n) {
    if (auto* ref = dynamic_cast<const VhdlIdRef*>(n)) return ref->text;
    if (auto* sel = dynamic_cast<const VhdlSelectedName*>(n)) return SimpleName(sel->suffix);
    if (auto* idx = dynamic_cast<const VhdlIndexedName*>(n)) return SimpleName(idx->prefix);
    return {};
}

// The component name an instance was written with; empty for entity and configuration
// instances.
std::string_view ComponentNameOf(const VhdlComponentInstantiationStatement& inst) {
    auto* unit = dynamic_cast<const VhdlInstantiatedUnit*>(inst.unit);
    if (unit && unit->entityClass != VHDL_COMPONENT) return {};
    return SimpleName(unit ? unit->name : inst.unit);
}

VhdlBlockConfiguration* TopBlockOf(const VhdlConfigurationDecl* config) {
    return config ? config->blockConfiguration : nullptr;
}

const VhdlEntityAspect* AspectOf(const VhdlBindingIndication* binding) {
    return binding ? binding->entityAspect : nullptr;
}

} // namespace

VhdlUnitNameParts VhdlSplitUnitName(const VhdlName* name) {
    VhdlUnitNameParts parts;
    if (auto* inst = dynamic_cast<const VhdlInstantiatedUnit*>(name)) name = inst->name;
    if (auto* idx = dynamic_cast<const VhdlIndexedName*>(name)) {
        if (idx->assocList.Size() == 1) parts.architecture = SimpleName(idx->assocList.At(0));
        name = idx->prefix;
    }
    if (auto* sel = dynamic_cast<const VhdlSelectedName*>(name)) {
        parts.library = SimpleName(sel->prefix);
        parts.unit = SimpleName(sel->suffix);
    } else {
        parts.unit = SimpleName(name);
    }
    return parts;
}

const VhdlNodeList* VhdlStatement::GetInnerStatements() const {
    switch (GetClassId()) {
    case VhdlBlockStatement::kClassId: return &static_cast<const VhdlBlockStatement*>(this)->statements;
    case VhdlGenerateStatement::kClassId: return &static_cast<const VhdlGenerateStatement*>(this)->statements;
    case VhdlIfElsifGenerateStatement::kClassId:
        return &static_cast<const VhdlIfElsifGenerateStatement*>(this)->alternatives;
    case VhdlCaseGenerateStatement::kClassId: return &static_cast<const VhdlCaseGenerateStatement*>(this)->alternatives;
    default: return nullptr;
    }
}

bool VhdlComponentInstantiationStatement::InstantiatesComponent() const {
    auto* named = dynamic_cast<const VhdlInstantiatedUnit*>(unit);
    return !named || named->entityClass == VHDL_COMPONENT;
}

VhdlComponentDecl* VhdlComponentInstantiationStatement::GetComponent() const {
    if (!instantiated || instantiated->GetClassId() != VhdlComponentId::kClassId) return nullptr;
    return dynamic_cast<VhdlComponentDecl*>(instantiated->declaration);
}

VhdlPrimaryUnit* VhdlComponentInstantiationStatement::GetInstantiatedPrimaryUnit() const {
    // An elaborated statement leads to the copy it uses, whatever it names.
    if (GetComponent() || sourceStatement) return boundEntity;
    if (auto* primary = instantiated ? dynamic_cast<VhdlPrimaryUnit*>(instantiated->declaration) : nullptr)
        return primary;
    return boundEntity;
}

bool VhdlComponentInstantiationStatement::InstantiatesUnitWithGenerics() const {
    if (VhdlComponentDecl* comp = GetComponent()) return !comp->generics.Empty();
    auto* entity = dynamic_cast<const VhdlEntityDecl*>(boundEntity);
    return entity && !entity->generics.Empty();
}

std::string_view VhdlComponentInstantiationStatement::GetLibraryName() const {
    if (!InstantiatesComponent()) return VhdlSplitUnitName(unit).library;
    const VhdlEntityAspect* aspect = AspectOf(binding);
    return aspect ? VhdlSplitUnitName(aspect->name).library : std::string_view();
}

std::string_view VhdlComponentInstantiationStatement::GetEntityName() const {
    if (!InstantiatesComponent()) {
        // A configuration names its entity in its own declaration.
        if (boundConfiguration && boundEntity && boundEntity->id) return boundEntity->id->OrigName();
        return VhdlSplitUnitName(unit).unit;
    }
    const VhdlEntityAspect* aspect = AspectOf(binding);
    if (!aspect) return {};
    if (aspect->entityClass == VHDL_CONFIGURATION && boundEntity && boundEntity->id) return boundEntity->id->OrigName();
    return VhdlSplitUnitName(aspect->name).unit;
}

bool VhdlComponentInstantiationStatement::IsUnitNameInactive() const {
    const VhdlEntityAspect* aspect = InstantiatesComponent() ? AspectOf(binding) : nullptr;
    return aspect && aspect->entityClass == VHDL_OPEN;
}

std::string_view VhdlComponentInstantiationStatement::GetArchitectureName() const {
    if (boundConfiguration || sourceStatement)
        return boundArchitecture && boundArchitecture->id ? boundArchitecture->id->OrigName() : "";
    if (!InstantiatesComponent()) return VhdlSplitUnitName(unit).architecture;
    const VhdlEntityAspect* aspect = AspectOf(binding);
    return aspect ? VhdlSplitUnitName(aspect->name).architecture : std::string_view();
}

VhdlSpecMatch VhdlComponentSpec::Match(const VhdlComponentInstantiationStatement& inst) const {
    std::string_view component = ComponentNameOf(inst);
    if (component.empty() || !inst.label || !SameName(SimpleName(this->component), component))
        return VhdlSpecMatch::None;
    VhdlSpecMatch match = VhdlSpecMatch::None;
    for (VhdlTreeNode* l : labels) {
        if (l->GetClassId() == VhdlAll::kClassId) return VhdlSpecMatch::Named;
        if (l->GetClassId() == VhdlOthers::kClassId) match = VhdlSpecMatch::Others;
        else if (SameName(SimpleName(l), inst.label->OrigName())) return VhdlSpecMatch::Named;
    }
    return match;
}

VhdlTreeNode* VhdlBlockConfiguration::GetIndexSpecification() const {
    auto* idx = dynamic_cast<const VhdlIndexedName*>(blockSpec);
    return idx && idx->assocList.Size() == 1 ? idx->assocList.At(0) : nullptr;
}

VhdlComponentConfiguration* VhdlBlockConfiguration::ConfigurationOf(
    const VhdlComponentInstantiationStatement& inst) const {
    VhdlComponentConfiguration* others = nullptr;
    for (VhdlTreeNode* item : items) {
        auto* cc = dynamic_cast<VhdlComponentConfiguration*>(item);
        if (!cc || !cc->componentSpec) continue;
        VhdlSpecMatch match = cc->componentSpec->Match(inst);
        if (match == VhdlSpecMatch::Named) return cc;
        if (match == VhdlSpecMatch::Others && !others) others = cc;
    }
    return others;
}

std::vector<VhdlBlockConfiguration*> VhdlBlockConfiguration::ConfigurationsOf(const VhdlStatement& stmt) const {
    std::vector<VhdlBlockConfiguration*> out;
    for (VhdlTreeNode* item : items) {
        auto* bc = dynamic_cast<VhdlBlockConfiguration*>(item);
        if (!bc) continue;
        if (bc->block == &stmt) {
            out.push_back(bc);
            continue;
        }
        // An alternative of an if or case generate counts for its generate statement.
        const VhdlNodeList* inner = stmt.GetInnerStatements();
        if (inner && stmt.GetClassId() != VhdlBlockStatement::kClassId &&
            stmt.GetClassId() != VhdlGenerateStatement::kClassId) {
            for (VhdlTreeNode* alt : *inner)
                if (bc->block == alt) out.push_back(bc);
        }
    }
    return out;
}

bool VhdlComponentConfiguration::HasEntityAspect() const { return AspectOf(binding) != nullptr; }

VhdlBinding VhdlBindingOf(const VhdlComponentInstantiationStatement& inst, const VhdlBlockConfiguration* context) {
    VhdlComponentConfiguration* cc = context ? context->ConfigurationOf(inst) : nullptr;
    if (cc && cc->HasEntityAspect()) {
        VhdlBlockConfiguration* nested = cc->blockConfiguration;
        if (!nested) nested = TopBlockOf(cc->boundConfiguration);
        return {cc->boundEntity, cc->boundArchitecture, cc->boundEntity ? nested : nullptr};
    }
    VhdlBinding binding{inst.boundEntity, inst.boundArchitecture, TopBlockOf(inst.boundConfiguration)};
    if (cc && cc->blockConfiguration && binding.entity) binding.configuration = cc->blockConfiguration;
    return binding;
}

} // namespace hdl
