#include "hdl/vhdl/VhdlOverloads.h"

#include <cctype>

namespace hdl {

namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameText(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (Lower(a[i]) != Lower(b[i])) return false;
    return true;
}

VhdlIdDef* IdOf(const VhdlTreeNode* name) {
    if (!name) return nullptr;
    switch (name->GetClassId()) {
    case VhdlIdRef::kClassId: return static_cast<const VhdlIdRef*>(name)->resolved;
    case VhdlSelectedName::kClassId: return IdOf(static_cast<const VhdlSelectedName*>(name)->suffix);
    case VhdlSignaturedName::kClassId: return IdOf(static_cast<const VhdlSignaturedName*>(name)->name);
    default: return nullptr;
    }
}

// The type mark a parameter or result is written with, by its last simple name.
std::string_view MarkOf(const VhdlTreeNode* subtype) {
    for (int depth = 0; subtype && depth < 8; ++depth) {
        switch (subtype->GetClassId()) {
        case VhdlIdRef::kClassId: return static_cast<const VhdlIdRef*>(subtype)->text;
        case VhdlSelectedName::kClassId: subtype = static_cast<const VhdlSelectedName*>(subtype)->suffix; break;
        case VhdlIndexedName::kClassId: subtype = static_cast<const VhdlIndexedName*>(subtype)->prefix; break;
        case VhdlExplicitSubtypeIndication::kClassId:
            subtype = static_cast<const VhdlExplicitSubtypeIndication*>(subtype)->typeMark;
            break;
        case VhdlAttributeName::kClassId: subtype = static_cast<const VhdlAttributeName*>(subtype)->prefix; break;
        default: return {};
        }
    }
    return {};
}

struct Arity {
    uint32_t required = 0;
    uint32_t total = 0;
};

Arity ArityOf(const VhdlSubprogramSpec& spec) {
    Arity a;
    for (VhdlTreeNode* p : spec.params) {
        auto* decl =
            p->GetClassId() == VhdlInterfaceDecl::kClassId ? static_cast<const VhdlInterfaceDecl*>(p) : nullptr;
        uint32_t n = decl ? decl->ids.Size() : 1;
        a.total += n;
        if (!decl || !decl->init) a.required += n;
    }
    return a;
}

// The alias declaration of an alias identifier.
const VhdlAliasDecl* AliasOf(const VhdlIdDef* id) {
    return id && id->GetClassId() == VhdlAliasId::kClassId ? dynamic_cast<const VhdlAliasDecl*>(id->declaration)
                                                           : nullptr;
}

// The specification that declares a subprogram identifier itself.
const VhdlSubprogramSpec* DeclaredSpec(const VhdlIdDef* id) {
    const VhdlTreeNode* decl = id->declaration;
    if (!decl ||
        (decl->GetClassId() != VhdlProcedureSpec::kClassId && decl->GetClassId() != VhdlFunctionSpec::kClassId))
        return nullptr;
    return static_cast<const VhdlSubprogramSpec*>(decl);
}

} // namespace

bool VhdlIsOverloadableAlias(const VhdlIdDef* id) {
    const VhdlAliasDecl* alias = AliasOf(id);
    if (!alias) return false;
    if (alias->name && alias->name->GetClassId() == VhdlSignaturedName::kClassId) return true;
    VhdlIdDef* target = IdOf(alias->name);
    return target && target != id && target->GetClassId() != VhdlAliasId::kClassId && VhdlIsOverloadable(target);
}

const VhdlSubprogramSpec* VhdlSpecOf(const VhdlIdDef* id) {
    // Aliases of aliases are followed a few steps only, so that a cycle ends.
    for (int step = 0; id && step < 4; ++step) {
        VhdlTreeNode* decl = id->declaration;
        if (!decl) return nullptr;
        switch (decl->GetClassId()) {
        case VhdlProcedureSpec::kClassId:
        case VhdlFunctionSpec::kClassId: return static_cast<const VhdlSubprogramSpec*>(decl);
        case VhdlInterfaceSubprogDecl::kClassId: return static_cast<const VhdlInterfaceSubprogDecl*>(decl)->spec;
        case VhdlSubprogInstantiationDecl::kClassId:
            id = IdOf(static_cast<const VhdlSubprogInstantiationDecl*>(decl)->uninstantiated);
            continue;
        default: break;
        }
        const VhdlAliasDecl* alias = AliasOf(id);
        id = alias ? IdOf(alias->name) : nullptr;
    }
    return nullptr;
}

VhdlArity VhdlArityOf(const VhdlIdDef* id) {
    VhdlArity arity;
    if (id->GetClassId() == VhdlEnumerationId::kClassId) {
        arity.enumeration = true;
        return arity;
    }
    if (const VhdlAliasDecl* alias = AliasOf(id)) {
        if (auto* sig = dynamic_cast<const VhdlSignaturedName*>(alias->name)) {
            // The signature fixes the count; defaults of the subprogram still apply.
            if (!sig->signature) {
                arity.known = false;
                return arity;
            }
            arity.total = static_cast<uint16_t>(sig->signature->typeMarks.Size());
            arity.function = sig->signature->returnType ? 1 : 0;
            return arity;
        }
        VhdlIdDef* target = IdOf(alias->name);
        if (target && target != id && target->GetClassId() != VhdlAliasId::kClassId && VhdlIsOverloadable(target))
            return VhdlArityOf(target);
        arity.known = false;
        return arity;
    }
    const VhdlSubprogramSpec* spec = VhdlSpecOf(id);
    if (!spec) {
        arity.known = false;
        return arity;
    }
    Arity a = ArityOf(*spec);
    arity.required = static_cast<uint16_t>(a.required);
    arity.total = static_cast<uint16_t>(a.total);
    arity.function = spec->GetClassId() == VhdlFunctionSpec::kClassId ? 1 : 0;
    return arity;
}

bool VhdlAccepts(const VhdlArity& arity, const VhdlCallShape& shape) {
    if (!arity.known) return true;
    if (arity.enumeration) return shape.actuals == 0 && shape.function != 0;
    if (shape.function >= 0 && shape.function != arity.function) return false;
    if (shape.exact) return shape.actuals == arity.total;
    return shape.actuals >= arity.required && shape.actuals <= arity.total;
}

bool VhdlHasNamedFormals(const VhdlIdDef* id, const VhdlCallShape& shape) {
    if (!shape.assocs) return true;
    const VhdlSubprogramSpec* spec = VhdlSpecOf(id);
    for (VhdlTreeNode* n : *shape.assocs) {
        if (n->GetClassId() != VhdlAssocElement::kClassId) continue;
        const VhdlExpression* named = static_cast<const VhdlAssocElement*>(n)->formal;
        auto* formal =
            named && named->GetClassId() == VhdlIdRef::kClassId ? static_cast<const VhdlIdRef*>(named) : nullptr;
        if (!formal) continue;
        if (!spec) return false;
        bool found = false;
        for (VhdlTreeNode* p : spec->params) {
            auto* decl = dynamic_cast<const VhdlInterfaceDecl*>(p);
            if (!decl) continue;
            for (VhdlIdDef* param : decl->ids) found = found || SameText(param->OrigName(), formal->text);
        }
        if (!found) return false;
    }
    return true;
}

uint64_t VhdlProfileKey(const VhdlIdDef* id) {
    const VhdlSubprogramSpec* spec = DeclaredSpec(id);
    if (!spec) return reinterpret_cast<uintptr_t>(id);
    uint64_t h = 1469598103934665603ull ^ spec->GetClassId();
    auto mix = [&](std::string_view text) {
        for (char c : text) h = (h ^ static_cast<unsigned char>(Lower(c))) * 1099511628211ull;
        h = (h ^ 0xff) * 1099511628211ull;
    };
    mix(MarkOf(spec->returnType));
    for (VhdlTreeNode* p : spec->params) {
        auto* decl =
            p->GetClassId() == VhdlInterfaceDecl::kClassId ? static_cast<const VhdlInterfaceDecl*>(p) : nullptr;
        std::string_view mark = decl ? MarkOf(decl->subtype) : std::string_view();
        for (uint32_t i = 0, n = decl ? decl->ids.Size() : 1; i < n; ++i) mix(mark);
    }
    return h;
}

bool VhdlSameProfile(const VhdlIdDef* a, const VhdlIdDef* b) {
    if (a == b) return true;
    const VhdlSubprogramSpec* sa = DeclaredSpec(a);
    const VhdlSubprogramSpec* sb = DeclaredSpec(b);
    if (!sa || !sb || sa->GetClassId() != sb->GetClassId()) return false;
    if (!SameText(MarkOf(sa->returnType), MarkOf(sb->returnType))) return false;
    // Parameters one by one, each declaration list standing for as many parameters as
    // it has identifiers: `a, b : t` reads as `a : t; b : t`.
    uint32_t ia = 0, ib = 0, na = 0, nb = 0;
    for (;;) {
        auto next = [](const VhdlSubprogramSpec& spec, uint32_t& index, uint32_t& used) -> const VhdlInterfaceDecl* {
            while (index < spec.params.Size()) {
                VhdlTreeNode* p = spec.params.At(index);
                auto* decl =
                    p->GetClassId() == VhdlInterfaceDecl::kClassId ? static_cast<const VhdlInterfaceDecl*>(p) : nullptr;
                if (decl && used < decl->ids.Size()) {
                    ++used;
                    return decl;
                }
                ++index;
                used = 0;
            }
            return nullptr;
        };
        const VhdlInterfaceDecl* pa = next(*sa, ia, na);
        const VhdlInterfaceDecl* pb = next(*sb, ib, nb);
        if (!pa || !pb) return pa == pb;
        if (!SameText(MarkOf(pa->subtype), MarkOf(pb->subtype))) return false;
    }
}

} // namespace hdl
