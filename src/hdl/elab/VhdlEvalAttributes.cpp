// Predefined attributes of types and of array objects: bounds, length, range,
// positions and images.
#include <cmath>
#include <cstdlib>

#include "hdl/elab/VhdlEvalInternal.h"
#include "hdl/vhdl/VhdlMessageIds.h"

namespace hdl {

using namespace vhdl_eval;

namespace {

bool IsTypeMark(const VhdlTreeNode* prefix) {
    const VhdlIdDef* id = IdOf(prefix);
    if (id) return id->GetClassId() == VhdlTypeId::kClassId || id->GetClassId() == VhdlSubtypeId::kClassId;
    if (auto* a = dynamic_cast<const VhdlAttributeName*>(prefix)) {
        std::string d = a->designator ? Lower(a->designator->text) : "";
        return d == "base" || d == "subtype" || d == "element";
    }
    if (auto* idx = dynamic_cast<const VhdlIndexedName*>(prefix)) {
        const VhdlIdDef* mark = IdOf(idx->prefix);
        return mark && (mark->GetClassId() == VhdlTypeId::kClassId || mark->GetClassId() == VhdlSubtypeId::kClassId);
    }
    return false;
}

bool IsObjectId(const VhdlIdDef* id) {
    if (!id) return false;
    switch (id->GetClassId()) {
    case VhdlConstantId::kClassId:
    case VhdlSignalId::kClassId:
    case VhdlVariableId::kClassId:
    case VhdlInterfaceId::kClassId:
    case VhdlAliasId::kClassId:
    case VhdlFileId::kClassId: return true;
    default: return false;
    }
}

// A scalar of `type` at position (or value) `v`.
VhdlValue ScalarAt(const VhdlType* type, int64_t v) {
    switch (type->kind) {
    case VhdlTypeKind::Enumeration: return VhdlValue::Enumeration(v, type);
    case VhdlTypeKind::Physical: return VhdlValue::Physical(v, type);
    default: return VhdlValue::Integer(v, type);
    }
}

} // namespace

std::vector<VhdlBounds> VhdlEvaluator::ArrayBounds(const VhdlTreeNode* prefix, const VhdlType** type) {
    const VhdlIdDef* id = IdOf(prefix);
    if (IsObjectId(id)) {
        VhdlSlot* slot = Lookup(id, prefix);
        if (slot && slot->value.kind == VhdlValue::Array) {
            *type = slot->value.type ? slot->value.type : slot->type;
            return slot->value.Bounds();
        }
        const VhdlType* t = slot ? slot->type : TypeOfId(id, prefix);
        if (t && t->IsArray() && t->constrained) {
            *type = t;
            return t->indexRanges;
        }
        if (!slot || slot->value.IsNone()) Fail<vhdl_msg::ElabBoundsUnknown>(prefix, Text(prefix).c_str());
    }
    VhdlValue v = Evaluate(prefix, nullptr);
    if (v.kind != VhdlValue::Array) Fail<vhdl_msg::ElabNotAnArray>(prefix, Text(prefix).c_str());
    *type = v.type;
    return v.Bounds();
}

VhdlBounds VhdlEvaluator::EvaluateAttributeRange(const VhdlAttributeName& n, const VhdlNodeList* args,
                                                 const VhdlType** type) {
    std::string attr = n.designator ? Lower(n.designator->text) : "";
    if (attr != "range" && attr != "reverse_range") NotStatic(&n, "range");
    size_t dim = 0;
    if (args && args->Size() == 1) {
        VhdlValue d = Evaluate(args->At(0), nullptr);
        if (d.kind != VhdlValue::Int || d.i < 1) NotStatic(&n, "dimension");
        dim = size_t(d.i - 1);
    }
    VhdlBounds range;
    const VhdlType* t = nullptr;
    if (IsTypeMark(n.prefix)) {
        t = EvaluateSubtype(n.prefix);
        if (!t) NotStatic(&n, "range");
        if (t->IsScalar()) {
            range = t->range;
            *type = t;
        } else if (t->IsArray() && t->constrained && dim < t->indexRanges.size()) {
            range = t->indexRanges[dim];
            *type = dim < t->indexTypes.size() ? t->indexTypes[dim] : IntegerType();
        } else {
            Fail<vhdl_msg::ElabNoRange>(&n, Text(n.prefix).c_str());
        }
    } else {
        std::vector<VhdlBounds> bounds = ArrayBounds(n.prefix, &t);
        if (dim >= bounds.size()) NotStatic(&n, "dimension");
        range = bounds[dim];
        *type = t && dim < t->indexTypes.size() && t->indexTypes[dim] ? t->indexTypes[dim] : IntegerType();
    }
    if (attr == "reverse_range") {
        std::swap(range.left, range.right);
        std::swap(range.rleft, range.rright);
        range.ascending = !range.ascending;
    }
    return range;
}

VhdlValue VhdlEvaluator::EvaluateAttribute(const VhdlAttributeName& n, const VhdlNodeList* args,
                                           const VhdlType* expected) {
    std::string attr = n.designator ? Lower(n.designator->text) : "";
    auto arg = [&](size_t i) -> const VhdlTreeNode* {
        if (!args || i >= args->Size()) NotStatic(&n, "attribute");
        const VhdlTreeNode* a = args->At(uint32_t(i));
        if (auto* assoc = dynamic_cast<const VhdlAssocElement*>(a)) a = assoc->actual;
        return a;
    };
    size_t dim = 0;
    auto readDimension = [&]() {
        if (args && args->Size() == 1) {
            VhdlValue d = Evaluate(arg(0), nullptr);
            if (d.kind != VhdlValue::Int || d.i < 1) NotStatic(&n, "dimension");
            dim = size_t(d.i - 1);
        }
    };
    bool typePrefix = IsTypeMark(n.prefix);
    if (attr == "range" || attr == "reverse_range") Fail<vhdl_msg::ElabRangeNotValue>(&n, attr.c_str());

    if (typePrefix) {
        const VhdlType* t = EvaluateSubtype(n.prefix);
        if (!t) NotStatic(&n, "attribute");
        if (t->IsScalar()) {
            const VhdlBounds& r = t->range;
            if (attr == "left" || attr == "right" || attr == "high" || attr == "low") {
                bool first = attr == "left" || (attr == "low" && r.ascending) || (attr == "high" && !r.ascending);
                if (t->kind == VhdlTypeKind::Real) return VhdlValue::Floating(first ? r.rleft : r.rright, t);
                return ScalarAt(t, first ? r.left : r.right);
            }
            if (attr == "ascending") return Boolean(r.ascending);
            if (attr == "pos") {
                VhdlValue x = Conform(Evaluate(arg(0), t), t->base, arg(0));
                return VhdlValue::Integer(x.i, UniversalInteger());
            }
            if (attr == "val") {
                VhdlValue x = Evaluate(arg(0), nullptr);
                if (x.kind != VhdlValue::Int) NotStatic(&n, "'val argument");
                return Conform(ScalarAt(t->base, x.i), t, &n);
            }
            if (attr == "succ" || attr == "pred" || attr == "leftof" || attr == "rightof") {
                VhdlValue x = Conform(Evaluate(arg(0), t), t->base, arg(0));
                int64_t step = attr == "succ" ? 1 : attr == "pred" ? -1 : 0;
                if (!step) step = (attr == "rightof") == r.ascending ? 1 : -1;
                int64_t next;
                if (__builtin_add_overflow(x.i, step, &next))
                    Fail<vhdl_msg::ElabAttributeOverflows>(&n, attr.c_str(), VhdlImage(x).c_str());
                return Conform(ScalarAt(t->base, next), t, &n);
            }
            if (attr == "image") {
                VhdlValue x = Conform(Evaluate(arg(0), t), t->base, arg(0));
                return MakeString(*this, VhdlImage(x));
            }
            if (attr == "value") {
                std::string text = StringOf(Evaluate(arg(0), StringType()));
                size_t b = text.find_first_not_of(" \t"), e = text.find_last_not_of(" \t");
                text = b == std::string::npos ? "" : text.substr(b, e - b + 1);
                if (t->kind == VhdlTypeKind::Enumeration) {
                    int64_t pos = t->LiteralPosition(text);
                    if (pos < 0)
                        Fail<vhdl_msg::ElabNoSuchLiteral>(&n, text.c_str(), std::string(t->DisplayName()).c_str());
                    return Conform(VhdlValue::Enumeration(pos, t->base), t, &n);
                }
                char* end = nullptr;
                if (t->kind == VhdlTypeKind::Real) {
                    double v = std::strtod(text.c_str(), &end);
                    if (end == text.c_str()) Fail<vhdl_msg::ElabNotAReal>(&n, text.c_str());
                    return Conform(VhdlValue::Floating(v, t->base), t, &n);
                }
                long long v = std::strtoll(text.c_str(), &end, 10);
                if (end == text.c_str()) Fail<vhdl_msg::ElabNotAnInteger>(&n, text.c_str());
                if (t->kind == VhdlTypeKind::Physical) {
                    std::string unit = text.substr(size_t(end - text.c_str()));
                    size_t ub = unit.find_first_not_of(" \t");
                    unit = ub == std::string::npos ? "" : unit.substr(ub);
                    for (const VhdlType::Unit& u : t->base->units)
                        if (SameName(u.name, unit)) return Conform(VhdlValue::Physical(v * u.multiple, t->base), t, &n);
                    Fail<vhdl_msg::ElabNoSuchValue>(&n, text.c_str(), std::string(t->DisplayName()).c_str());
                }
                return Conform(VhdlValue::Integer(v, t->base), t, &n);
            }
        }
        if (t->IsArray()) {
            readDimension();
            if (!t->constrained || dim >= t->indexRanges.size())
                Fail<vhdl_msg::ElabAttributeOfUnconstrained>(&n, attr.c_str(), std::string(t->DisplayName()).c_str());
            const VhdlBounds& r = t->indexRanges[dim];
            const VhdlType* indexType =
                dim < t->indexTypes.size() && t->indexTypes[dim] ? t->indexTypes[dim] : IntegerType();
            if (attr == "length") return VhdlValue::Integer(r.Length(), UniversalInteger());
            if (attr == "ascending") return Boolean(r.ascending);
            if (attr == "left") return ScalarAt(indexType, r.left);
            if (attr == "right") return ScalarAt(indexType, r.right);
            if (attr == "low") return ScalarAt(indexType, r.Low());
            if (attr == "high") return ScalarAt(indexType, r.High());
        }
        NotStatic(&n, "attribute");
    }

    if (attr == "length" || attr == "left" || attr == "right" || attr == "low" || attr == "high" ||
        attr == "ascending") {
        readDimension();
        const VhdlType* t = nullptr;
        std::vector<VhdlBounds> bounds = ArrayBounds(n.prefix, &t);
        if (dim >= bounds.size()) NotStatic(&n, "dimension");
        const VhdlBounds& r = bounds[dim];
        const VhdlType* indexType =
            t && dim < t->indexTypes.size() && t->indexTypes[dim] ? t->indexTypes[dim] : IntegerType();
        if (attr == "length") return VhdlValue::Integer(r.Length(), UniversalInteger());
        if (attr == "ascending") return Boolean(r.ascending);
        if (attr == "left") return ScalarAt(indexType, r.left);
        if (attr == "right") return ScalarAt(indexType, r.right);
        if (attr == "low") return ScalarAt(indexType, r.Low());
        return ScalarAt(indexType, r.High());
    }
    if (attr == "image") {
        // Of an object (2019): the image of its value.
        return MakeString(*this, VhdlImage(Evaluate(n.prefix, nullptr)));
    }
    if (attr == "simple_name") {
        const VhdlIdDef* id = IdOf(n.prefix);
        if (id) return MakeString(*this, Lower(id->OrigName()));
    }
    (void)expected;
    Fail<vhdl_msg::ElabAttributeWithoutValue>(&n, attr.c_str(), Text(n.prefix).c_str());
}

} // namespace hdl
