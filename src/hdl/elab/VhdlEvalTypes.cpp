// Types, subtypes and ranges: from declarations and subtype indications, evaluated in
// the frame that declares them, so that `std_logic_vector(WIDTH-1 downto 0)` takes the
// generic of the copy being elaborated.
#include <cmath>
#include <map>
#include <tuple>

#include "hdl/elab/VhdlEvalInternal.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"

namespace hdl {

using namespace vhdl_eval;

VhdlType* VhdlEvaluator::NewType(VhdlTypeKind kind) {
    impl_->types.emplace_back();
    VhdlType* t = &impl_->types.back();
    t->kind = kind;
    t->base = t;
    return t;
}

const VhdlType* VhdlEvaluator::ConstrainedArray(const VhdlType* base, const VhdlBounds& range) {
    // Constants and variables of one subtype ask for it again and again.
    auto key = std::make_tuple(base, range.left, range.right, range.ascending);
    auto it = impl_->constrained.find(key);
    if (it != impl_->constrained.end()) return it->second;
    VhdlType* t = NewType(VhdlTypeKind::Array);
    impl_->constrained[key] = t;
    t->base = base->base;
    t->name = base->constrained ? std::string_view() : base->name;
    t->indexTypes = base->indexTypes;
    t->indexRanges = base->indexRanges;
    if (t->indexRanges.size() < std::max<size_t>(1, t->indexTypes.size()))
        t->indexRanges.resize(std::max<size_t>(1, t->indexTypes.size()));
    t->indexRanges[0] = range;
    t->constrained = true;
    t->element = base->element;
    return t;
}

const VhdlType* VhdlEvaluator::StandardType(const char* name) {
    auto it = impl_->standard.find(name);
    if (it != impl_->standard.end()) return it->second;
    const VhdlType* type = nullptr;
    VhdlLibrary* std = vhdl_file::GetLibrary("std");
    auto* standard = std ? dynamic_cast<VhdlPackageDecl*>(std->GetPrimUnit("standard")) : nullptr;
    if (standard) {
        for (VhdlTreeNode* d : standard->declarations) {
            const VhdlIdDef* id = nullptr;
            if (auto* t = dynamic_cast<VhdlFullTypeDecl*>(d)) id = t->id;
            else if (auto* s = dynamic_cast<VhdlSubtypeDecl*>(d)) id = s->id;
            if (id && SameName(id->Name(), name)) {
                type = TypeOfId(id, d);
                break;
            }
        }
    }
    impl_->standard[name] = type;
    return type;
}

// The universal types are our own: package standard declares them with literals,
// which are of these types.
const VhdlType* VhdlEvaluator::UniversalInteger() { return &impl_->fallbackUniversalInteger; }
const VhdlType* VhdlEvaluator::UniversalReal() { return &impl_->fallbackUniversalReal; }
const VhdlType* VhdlEvaluator::IntegerType() {
    const VhdlType* t = StandardType("integer");
    return t ? t : &impl_->fallbackInteger;
}
const VhdlType* VhdlEvaluator::RealType() {
    const VhdlType* t = StandardType("real");
    return t ? t : &impl_->fallbackReal;
}
const VhdlType* VhdlEvaluator::BooleanType() {
    const VhdlType* t = StandardType("boolean");
    return t ? t : &impl_->fallbackBoolean;
}
const VhdlType* VhdlEvaluator::BitType() { return StandardType("bit"); }
const VhdlType* VhdlEvaluator::CharacterType() { return StandardType("character"); }
const VhdlType* VhdlEvaluator::StringType() { return StandardType("string"); }
const VhdlType* VhdlEvaluator::SeverityType() { return StandardType("severity_level"); }

const VhdlType* VhdlEvaluator::TypeOfDeclaration(const VhdlIdDef* id, const VhdlTreeNode* decl) {
    if (!decl) return nullptr;
    switch (decl->GetClassId()) {
    case VhdlFullTypeDecl::kClassId: return TypeDefinition(id, static_cast<const VhdlFullTypeDecl*>(decl)->typeDef);
    case VhdlSubtypeDecl::kClassId: {
        const VhdlType* of = EvaluateSubtype(static_cast<const VhdlSubtypeDecl*>(decl)->subtype);
        if (!of) return nullptr;
        VhdlType* t = NewType(of->kind);
        *t = *of;
        // Literals, units and elements are read through the base type.
        if (of->base != of || !t->literals.empty() || !t->units.empty() || !t->fields.empty()) {
            t->literals.clear();
            t->units.clear();
            t->fields.clear();
        }
        t->base = of->base;
        t->name = id->OrigName();
        t->id = id;
        return t;
    }
    case VhdlConstantDecl::kClassId:
    case VhdlSignalDecl::kClassId:
    case VhdlVariableDecl::kClassId: return EvaluateSubtype(static_cast<const VhdlObjectDecl*>(decl)->subtype);
    case VhdlInterfaceDecl::kClassId: return EvaluateSubtype(static_cast<const VhdlInterfaceDecl*>(decl)->subtype);
    case VhdlElementDecl::kClassId: return EvaluateSubtype(static_cast<const VhdlElementDecl*>(decl)->subtype);
    case VhdlForScheme::kClassId: {
        const VhdlType* type = nullptr;
        EvaluateRange(static_cast<const VhdlForScheme*>(decl)->range, &type);
        return type;
    }
    default: return nullptr;
    }
}

const VhdlType* VhdlEvaluator::TypeDefinition(const VhdlIdDef* id, const VhdlTypeDef* def) {
    if (!def) return nullptr;
    std::string_view name = id ? id->OrigName() : std::string_view();
    switch (def->GetClassId()) {
    case VhdlScalarTypeDef::kClassId: {
        const VhdlType* rangeType = nullptr;
        // The bounds of a type definition are universal: integer itself is defined so.
        bool saved = universalRanges_;
        universalRanges_ = true;
        VhdlBounds range;
        try {
            range = EvaluateRange(static_cast<const VhdlScalarTypeDef*>(def)->range, &rangeType);
        } catch (...) {
            universalRanges_ = saved;
            throw;
        }
        universalRanges_ = saved;
        VhdlType* t = NewType(range.isReal ? VhdlTypeKind::Real : VhdlTypeKind::Integer);
        t->name = name;
        t->id = id;
        t->range = range;
        return t;
    }
    case VhdlEnumerationTypeDef::kClassId: {
        auto* e = static_cast<const VhdlEnumerationTypeDef*>(def);
        VhdlType* t = NewType(VhdlTypeKind::Enumeration);
        t->name = name;
        t->id = id;
        for (VhdlIdDef* lit : e->literals)
            t->literals.push_back(lit->OrigName()[0] == '\'' ? lit->OrigName() : lit->Name());
        t->range = VhdlBounds::Discrete(0, int64_t(t->literals.size()) - 1, true);
        return t;
    }
    case VhdlPhysicalTypeDef::kClassId: {
        auto* p = static_cast<const VhdlPhysicalTypeDef*>(def);
        VhdlType* t = NewType(VhdlTypeKind::Physical);
        t->name = name;
        t->id = id;
        t->range = VhdlBounds::Discrete(INT64_MIN, INT64_MAX, true);
        // Units first: the range and the secondary units are written in them.
        for (VhdlTreeNode* u : p->units) {
            auto* unit = static_cast<const VhdlPhysicalUnitDecl*>(u);
            if (unit->id) impl_->unitTypes[unit->id] = t;
        }
        for (VhdlTreeNode* u : p->units) {
            auto* unit = static_cast<const VhdlPhysicalUnitDecl*>(u);
            if (!unit->id) continue;
            int64_t multiple = 1;
            if (unit->value) multiple = Evaluate(unit->value, t).i;
            t->units.push_back({unit->id->Name(), multiple});
        }
        if (p->range) {
            const VhdlType* rangeType = nullptr;
            t->range = EvaluateRange(p->range, &rangeType);
        }
        return t;
    }
    case VhdlArrayTypeDef::kClassId: {
        auto* a = static_cast<const VhdlArrayTypeDef*>(def);
        VhdlType* base = NewType(VhdlTypeKind::Array);
        base->name = name;
        base->id = id;
        std::vector<VhdlBounds> ranges;
        bool constrained = false;
        for (VhdlTreeNode* index : a->indexes) {
            auto* si = dynamic_cast<const VhdlExplicitSubtypeIndication*>(index);
            if (si && si->constraint && si->constraint->GetClassId() == VhdlBox::kClassId) {
                base->indexTypes.push_back(EvaluateSubtype(si->typeMark));
                ranges.push_back(VhdlBounds());
                continue;
            }
            const VhdlType* indexType = nullptr;
            ranges.push_back(EvaluateRange(index, &indexType));
            base->indexTypes.push_back(indexType);
            constrained = true;
        }
        base->element = EvaluateSubtype(a->elementSubtype);
        if (!constrained) return base;
        // A constrained array type: an anonymous base and the constrained subtype.
        VhdlType* sub = NewType(VhdlTypeKind::Array);
        *sub = *base;
        sub->base = base;
        sub->indexRanges = ranges;
        sub->constrained = true;
        base->name = std::string_view();
        return sub;
    }
    case VhdlRecordTypeDef::kClassId: {
        auto* r = static_cast<const VhdlRecordTypeDef*>(def);
        VhdlType* t = NewType(VhdlTypeKind::Record);
        t->name = name;
        t->id = id;
        for (VhdlTreeNode* e : r->elements) {
            auto* el = dynamic_cast<const VhdlElementDecl*>(e);
            if (!el) continue;
            const VhdlType* type = EvaluateSubtype(el->subtype);
            for (VhdlIdDef* f : el->ids) t->fields.push_back({f->Name(), type});
        }
        return t;
    }
    case VhdlAccessTypeDef::kClassId: {
        VhdlType* t = NewType(VhdlTypeKind::Access);
        t->name = name;
        t->id = id;
        return t;
    }
    case VhdlFileTypeDef::kClassId: {
        VhdlType* t = NewType(VhdlTypeKind::File);
        t->name = name;
        t->id = id;
        return t;
    }
    default: {
        VhdlType* t = NewType(VhdlTypeKind::Other);
        t->name = name;
        t->id = id;
        return t;
    }
    }
}

const VhdlType* VhdlEvaluator::EvaluateSubtype(const VhdlTreeNode* node) {
    if (!node) return nullptr;
    switch (node->GetClassId()) {
    case VhdlIdRef::kClassId:
    case VhdlSelectedName::kClassId: {
        const VhdlIdDef* id = IdOf(node);
        if (!id) Fail<vhdl_msg::ElabTypeNotDeclared>(node, Text(node).c_str());
        return TypeOfId(id, node);
    }
    case VhdlIndexedName::kClassId: {
        auto* idx = static_cast<const VhdlIndexedName*>(node);
        const VhdlType* base = EvaluateSubtype(idx->prefix);
        if (!base || !base->IsArray()) return base;
        std::vector<VhdlBounds> ranges = base->indexRanges;
        ranges.resize(std::max<size_t>(1, base->Dimensions()));
        bool any = false;
        for (uint32_t d = 0; d < idx->assocList.Size() && d < ranges.size(); ++d) {
            const VhdlTreeNode* c = idx->assocList.At(d);
            if (!c || c->GetClassId() == VhdlOpen::kClassId) continue;
            const VhdlType* indexType = nullptr;
            ranges[d] = EvaluateRange(c, &indexType);
            any = true;
        }
        if (!any) return base;
        VhdlType* t = NewType(VhdlTypeKind::Array);
        t->base = base->base;
        t->name = std::string_view();
        t->indexTypes = base->indexTypes;
        t->indexRanges = ranges;
        t->constrained = true;
        t->element = base->element;
        return t;
    }
    case VhdlExplicitSubtypeIndication::kClassId: {
        auto* si = static_cast<const VhdlExplicitSubtypeIndication*>(node);
        const VhdlType* base = EvaluateSubtype(si->typeMark);
        if (!base || !si->constraint || si->constraint->GetClassId() == VhdlBox::kClassId) return base;
        if (!base->IsScalar()) return base;
        const VhdlType* rangeType = nullptr;
        VhdlBounds range = EvaluateRange(si->constraint, &rangeType);
        VhdlType* t = NewType(base->kind);
        t->base = base->base;
        t->range = range;
        return t;
    }
    case VhdlAttributeName::kClassId: {
        auto* a = static_cast<const VhdlAttributeName*>(node);
        std::string attr = a->designator ? Lower(a->designator->text) : "";
        const VhdlIdDef* id = IdOf(a->prefix);
        bool typePrefix =
            id && (id->GetClassId() == VhdlTypeId::kClassId || id->GetClassId() == VhdlSubtypeId::kClassId);
        const VhdlType* of = typePrefix || a->prefix->GetClassId() == VhdlAttributeName::kClassId
                                 ? EvaluateSubtype(a->prefix)
                             : id ? TypeOfId(id, node)
                                  : Evaluate(a->prefix, nullptr).type;
        if (!of) NotStatic(node, "subtype");
        if (attr == "base") return of->base;
        if (attr == "element") return of->element;
        if (attr == "subtype") {
            // An unconstrained object takes its bounds from its value.
            if (!typePrefix && of->IsArray() && !of->constrained && id) {
                VhdlValue v = ValueOf(id, node);
                if (v.kind == VhdlValue::Array) return ConstrainedArray(of, v.Range());
            }
            return of;
        }
        NotStatic(node, "subtype");
    }
    default: NotStatic(node, "subtype");
    }
}

VhdlBounds VhdlEvaluator::EvaluateRange(const VhdlTreeNode* node, const VhdlType** type) {
    *type = nullptr;
    if (!node) NotStatic(node, "range");
    switch (node->GetClassId()) {
    case VhdlRange::kClassId: {
        auto* r = static_cast<const VhdlRange*>(node);
        VhdlValue left = Evaluate(r->left, nullptr);
        const VhdlType* hint =
            left.type && left.type != UniversalInteger() && left.type != UniversalReal() ? left.type : nullptr;
        VhdlValue right = Evaluate(r->right, hint);
        bool ascending = r->dir != VHDL_DOWNTO;
        if (left.kind == VhdlValue::Char || right.kind == VhdlValue::Char) {
            const VhdlType* t = left.kind == VhdlValue::Enum    ? left.type
                                : right.kind == VhdlValue::Enum ? right.type
                                                                : CharacterType();
            if (!t) NotStatic(node, "range");
            left = Conform(left, t, r->left);
            right = Conform(right, t, r->right);
        }
        if (left.kind == VhdlValue::Real || right.kind == VhdlValue::Real) {
            double l = left.kind == VhdlValue::Real ? left.r : double(left.i);
            double h = right.kind == VhdlValue::Real ? right.r : double(right.i);
            *type = left.kind == VhdlValue::Real && left.type != UniversalReal()     ? left.type
                    : right.kind == VhdlValue::Real && right.type != UniversalReal() ? right.type
                    : universalRanges_                                               ? UniversalReal()
                                                                                     : RealType();
            return VhdlBounds::Real(l, h, ascending);
        }
        if (left.kind == VhdlValue::Enum && right.kind == VhdlValue::Enum && left.type && right.type &&
            left.type->base != right.type->base)
            right = Conform(right, left.type, r->right);
        if (left.IsComposite() || right.IsComposite() || left.IsNone() || right.IsNone()) NotStatic(node, "range");
        const VhdlType* t = left.type && left.type != UniversalInteger() ? left.type : right.type;
        if (!t || t == UniversalInteger()) t = universalRanges_ ? UniversalInteger() : IntegerType();
        if (left.kind == VhdlValue::Enum || right.kind == VhdlValue::Enum)
            t = left.kind == VhdlValue::Enum ? left.type : right.type;
        // The range's type is the base type; its bounds need not lie in a subtype.
        *type = t && t->base && t->kind != VhdlTypeKind::Enumeration ? t->base : t;
        if (t && t->kind == VhdlTypeKind::Integer) *type = t->base;
        return VhdlBounds::Discrete(left.i, right.i, ascending);
    }
    case VhdlAttributeName::kClassId:
        return EvaluateAttributeRange(*static_cast<const VhdlAttributeName*>(node), nullptr, type);
    case VhdlIndexedName::kClassId: {
        auto* idx = static_cast<const VhdlIndexedName*>(node);
        if (auto* a = dynamic_cast<const VhdlAttributeName*>(idx->prefix))
            return EvaluateAttributeRange(*a, &idx->assocList, type);
        NotStatic(node, "range");
    }
    case VhdlIdRef::kClassId:
    case VhdlSelectedName::kClassId:
    case VhdlExplicitSubtypeIndication::kClassId: {
        const VhdlType* t = EvaluateSubtype(node);
        if (!t || !t->IsScalar()) NotStatic(node, "range");
        *type = t;
        return t->range;
    }
    default: NotStatic(node, "range");
    }
}

const VhdlType* VhdlEvaluator::PhysicalTypeOfUnit(const VhdlIdDef* unit, const VhdlTreeNode* where) {
    auto it = impl_->unitTypes.find(unit);
    if (it != impl_->unitTypes.end()) return it->second;
    // Find the physical type that declares the unit, in the unit's design unit.
    const VhdlDesignUnit* owner = unit->owningUnit;
    const VhdlNodeList* decls = nullptr;
    if (auto* p = dynamic_cast<const VhdlPackageDecl*>(owner)) decls = &p->declarations;
    else if (auto* a = dynamic_cast<const VhdlArchitectureBody*>(owner)) decls = &a->declarations;
    else if (auto* e = dynamic_cast<const VhdlEntityDecl*>(owner)) decls = &e->declarations;
    else if (auto* b = dynamic_cast<const VhdlPackageBody*>(owner)) decls = &b->declarations;
    if (decls) {
        for (VhdlTreeNode* d : *decls) {
            auto* t = dynamic_cast<const VhdlFullTypeDecl*>(d);
            auto* p = t ? dynamic_cast<const VhdlPhysicalTypeDef*>(t->typeDef) : nullptr;
            if (!p) continue;
            for (VhdlTreeNode* u : p->units) {
                if (u == unit->declaration) {
                    TypeOfId(t->id, where);
                    auto found = impl_->unitTypes.find(unit);
                    if (found != impl_->unitTypes.end()) return found->second;
                }
            }
        }
    }
    NotStatic(where, "physical unit");
}

} // namespace hdl
