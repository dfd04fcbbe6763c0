// Overloads that resolution could not tell apart by their number of parameters
// (`ite(cond, a, b)` for integers, strings and times; `resize` of several packages),
// and operators that packages declare for their own types: the candidates are the
// subprograms of the name visible where evaluation stands, and the one whose parameter
// types take the actuals' values wins.
#include <unordered_set>

#include "hdl/elab/VhdlEvalInternal.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlOverloads.h"

namespace hdl {

using namespace vhdl_eval;

namespace vhdl_eval {

std::vector<Formal> FormalsOf(const VhdlSubprogramSpec& spec) {
    std::vector<Formal> out;
    for (VhdlTreeNode* p : spec.params) {
        auto* decl = dynamic_cast<const VhdlInterfaceDecl*>(p);
        if (!decl) continue;
        for (VhdlIdDef* id : decl->ids) out.push_back({id, decl});
    }
    return out;
}

bool Associate(const std::vector<Formal>& formals, const VhdlNodeList& actuals, std::vector<const VhdlTreeNode*>& nodes,
               std::vector<int>& places) {
    nodes.assign(formals.size(), nullptr);
    places.assign(formals.size(), -1);
    size_t position = 0;
    int place = 0;
    for (VhdlTreeNode* a : actuals) {
        auto* assoc = dynamic_cast<const VhdlAssocElement*>(a);
        const VhdlTreeNode* actual = assoc ? assoc->actual : a;
        if (actual && actual->GetClassId() == VhdlOpen::kClassId) actual = nullptr;
        size_t i;
        if (assoc && assoc->formal) {
            std::string_view name = SimpleName(assoc->formal);
            i = 0;
            while (i < formals.size() && !SameName(formals[i].id->Name(), name)) ++i;
            if (i == formals.size()) return false;
        } else {
            if (position >= formals.size()) return false;
            i = position++;
        }
        nodes[i] = actual;
        if (actual) places[i] = place;
        ++place;
    }
    return true;
}

int Fits(const VhdlValue& v, const VhdlType* type) {
    if (!type) return 1;
    switch (v.kind) {
    case VhdlValue::Int:
        if (type->kind != VhdlTypeKind::Integer) return 0;
        return v.type && v.type->base == type->base ? 2 : 1;
    case VhdlValue::Real:
        if (type->kind != VhdlTypeKind::Real) return 0;
        return v.type && v.type->base == type->base ? 2 : 1;
    case VhdlValue::Phys:
    case VhdlValue::Record: return v.type && v.type->base == type->base ? 2 : 0;
    case VhdlValue::Enum:
        if (v.type && v.type->base == type->base) return 2;
        if (type->kind == VhdlTypeKind::Enumeration && v.type && v.i >= 0 &&
            size_t(v.i) < v.type->base->literals.size() &&
            type->LiteralPosition(v.type->base->literals[size_t(v.i)]) >= 0)
            return 1;
        return 0;
    case VhdlValue::Char: {
        char text[4] = {'\'', char(v.i), '\'', 0};
        return type->kind == VhdlTypeKind::Enumeration && type->LiteralPosition(text) >= 0 ? 1 : 0;
    }
    case VhdlValue::Array:
        if (!type->IsArray()) return 0;
        if (v.type) return v.type->base == type->base ? 2 : 0;
        for (const VhdlValue& e : v.Elements())
            if (!Fits(e, type->element)) return 0;
        return 1;
    case VhdlValue::Null: return type->kind == VhdlTypeKind::Access ? 2 : 0;
    default: return 1;
    }
}

} // namespace vhdl_eval

namespace {

// The declaration lists of a region.
void RegionDeclarations(const VhdlTreeNode* region, std::vector<const VhdlNodeList*>& out) {
    if (!region) return;
    switch (region->GetClassId()) {
    case VhdlPackageDecl::kClassId: {
        auto* p = static_cast<const VhdlPackageDecl*>(region);
        out.push_back(&p->declarations);
        if (auto* body = dynamic_cast<const VhdlPackageBody*>(p->GetSecondaryUnit(nullptr)))
            out.push_back(&body->declarations);
        break;
    }
    case VhdlEntityDecl::kClassId: out.push_back(&static_cast<const VhdlEntityDecl*>(region)->declarations); break;
    case VhdlArchitectureBody::kClassId:
        out.push_back(&static_cast<const VhdlArchitectureBody*>(region)->declarations);
        break;
    case VhdlBlockStatement::kClassId:
        out.push_back(&static_cast<const VhdlBlockStatement*>(region)->declarations);
        break;
    case VhdlGenerateStatement::kClassId:
        out.push_back(&static_cast<const VhdlGenerateStatement*>(region)->declarations);
        break;
    case VhdlSubprogramBody::kClassId:
        out.push_back(&static_cast<const VhdlSubprogramBody*>(region)->declarations);
        break;
    case VhdlProcessStatement::kClassId:
        out.push_back(&static_cast<const VhdlProcessStatement*>(region)->declarations);
        break;
    default: break;
    }
}

// The context clauses that apply in a region's design unit (a secondary unit sees its
// primary unit's too).
void ContextClauses(const VhdlTreeNode* region, std::vector<const VhdlNodeList*>& out) {
    auto* unit = dynamic_cast<const VhdlDesignUnit*>(region);
    if (!unit) return;
    out.push_back(&unit->contextClause);
    const VhdlPrimaryUnit* primary = nullptr;
    if (auto* arch = dynamic_cast<const VhdlArchitectureBody*>(unit)) {
        const VhdlIdDef* entity = IdOf(arch->entityName);
        primary = entity ? dynamic_cast<const VhdlPrimaryUnit*>(entity->declaration) : nullptr;
        if (!primary && arch->library)
            primary = arch->library->GetPrimUnit(std::string(SimpleName(arch->entityName)).c_str());
    } else if (auto* p = dynamic_cast<const VhdlPackageDecl*>(unit)) {
        if (auto* body = dynamic_cast<const VhdlPackageBody*>(p->GetSecondaryUnit(nullptr)))
            out.push_back(&body->contextClause);
    }
    if (primary) out.push_back(&primary->contextClause);
}

struct Collector {
    std::string_view name;
    std::vector<const VhdlIdDef*> found;
    std::unordered_set<const VhdlNodeList*> seen;

    void Add(const VhdlIdDef* id) {
        for (const VhdlIdDef* f : found)
            if (f == id || VhdlSameProfile(f, id)) return;
        found.push_back(id);
    }

    void Declarations(const VhdlNodeList& decls, std::string_view only = {}) {
        if (!seen.insert(&decls).second && only.empty()) return;
        for (VhdlTreeNode* d : decls) {
            const VhdlSubprogramSpec* spec = nullptr;
            if (auto* sd = dynamic_cast<const VhdlSubprogramDecl*>(d)) spec = sd->spec;
            else if (auto* sb = dynamic_cast<const VhdlSubprogramBody*>(d)) spec = sb->spec;
            else if (auto* use = dynamic_cast<const VhdlUseClause*>(d)) Uses(*use);
            if (spec && spec->id && SameName(spec->id->Name(), name) && (only.empty() || SameName(only, name)))
                Add(spec->id);
        }
    }

    // use lib.pkg.all, use lib.pkg.name
    void Uses(const VhdlUseClause& use) {
        for (VhdlTreeNode* n : use.names) {
            auto* sel = dynamic_cast<const VhdlSelectedName*>(n);
            if (!sel) continue;
            const VhdlIdDef* pkg = IdOf(sel->prefix);
            auto* decl = pkg ? dynamic_cast<const VhdlPackageDecl*>(pkg->declaration) : nullptr;
            if (!decl) continue;
            if (sel->suffix && sel->suffix->GetClassId() == VhdlAll::kClassId) Declarations(decl->declarations);
            else if (SameName(SimpleName(sel->suffix), name)) Declarations(decl->declarations, name);
        }
    }

    void Context(const VhdlNodeList& clause) {
        for (VhdlTreeNode* item : clause)
            if (auto* use = dynamic_cast<const VhdlUseClause*>(item)) Uses(*use);
    }
};

} // namespace

std::vector<const VhdlIdDef*> VhdlEvaluator::VisibleSubprograms(std::string_view name) {
    Collector c{name, {}, {}};
    std::vector<const VhdlNodeList*> lists, contexts;
    for (VhdlFrame* f = current_; f; f = f->parent) {
        RegionDeclarations(f->region, lists);
        ContextClauses(f->region, contexts);
    }
    for (const VhdlNodeList* l : lists) c.Declarations(*l);
    for (const VhdlNodeList* l : contexts) c.Context(*l);
    return c.found;
}

const VhdlIdDef* VhdlEvaluator::ChooseOverload(const VhdlIdDef* first, const VhdlNodeList& actuals,
                                               const VhdlTreeNode* where, std::vector<VhdlValue>& values) {
    std::vector<const VhdlIdDef*> candidates = VisibleSubprograms(first->Name());
    bool known = false;
    for (const VhdlIdDef* c : candidates) known = known || c == first || VhdlSameProfile(c, first);
    if (!known) candidates.insert(candidates.begin(), first);
    if (candidates.size() < 2) return first;
    values.clear();
    for (VhdlTreeNode* a : actuals) {
        auto* assoc = dynamic_cast<const VhdlAssocElement*>(a);
        const VhdlTreeNode* actual = assoc ? assoc->actual : a;
        values.push_back(actual && actual->GetClassId() != VhdlOpen::kClassId ? Evaluate(actual, nullptr)
                                                                              : VhdlValue());
    }
    const VhdlIdDef* best = nullptr;
    int bestScore = -1;
    for (const VhdlIdDef* c : candidates) {
        const VhdlSubprogramSpec* spec = VhdlSpecOf(c);
        if (!spec) continue;
        std::vector<Formal> formals = FormalsOf(*spec);
        std::vector<const VhdlTreeNode*> nodes;
        std::vector<int> places;
        if (!Associate(formals, actuals, nodes, places)) continue;
        VhdlFrame* saved = current_;
        if (VhdlFrame* declaring = DeclaringFrame(c)) current_ = declaring;
        int score = 0;
        try {
            for (size_t i = 0; i < formals.size() && score >= 0; ++i) {
                if (places[i] < 0) {
                    if (!formals[i].decl->init) score = -1;
                    continue;
                }
                int fit = Fits(values[size_t(places[i])], EvaluateSubtype(formals[i].decl->subtype));
                score = fit ? score + fit : -1;
            }
        } catch (const VhdlEvalError&) {
            score = -1;
        }
        current_ = saved;
        if (score > bestScore) {
            bestScore = score;
            best = c;
        }
    }
    if (!best) Fail<vhdl_msg::ElabNoSubprogramTakes>(where, std::string(first->OrigName()).c_str());
    return best;
}

bool VhdlEvaluator::CallUserOperator(unsigned op, const VhdlValue* left, const VhdlValue& right,
                                     const VhdlTreeNode* where, VhdlValue& result) {
    std::string name = std::string("\"") + VhdlTokenText(op) + "\"";
    std::vector<const VhdlIdDef*> candidates = VisibleSubprograms(name);
    // The package that declares an operand's type declares its operators too.
    for (const VhdlValue* v : {left, &right}) {
        if (!v || !v->type || !v->type->base->id) continue;
        const VhdlDesignUnit* unit = v->type->base->id->owningUnit;
        if (auto* p = dynamic_cast<const VhdlPackageDecl*>(unit)) {
            Collector c{name, candidates, {}};
            c.Declarations(p->declarations);
            candidates = c.found;
        }
    }
    std::vector<VhdlValue> values;
    if (left) values.push_back(*left);
    values.push_back(right);
    const VhdlIdDef* best = nullptr;
    int bestScore = 0;
    for (const VhdlIdDef* c : candidates) {
        const VhdlSubprogramSpec* spec = VhdlSpecOf(c);
        if (!spec || spec->GetClassId() != VhdlFunctionSpec::kClassId) continue;
        std::vector<Formal> formals = FormalsOf(*spec);
        if (formals.size() != values.size()) continue;
        VhdlFrame* saved = current_;
        if (VhdlFrame* declaring = DeclaringFrame(c)) current_ = declaring;
        int score = 0;
        try {
            for (size_t i = 0; i < formals.size() && score >= 0; ++i) {
                int fit = Fits(values[i], EvaluateSubtype(formals[i].decl->subtype));
                score = fit ? score + fit : -1;
            }
        } catch (const VhdlEvalError&) {
            score = -1;
        }
        current_ = saved;
        if (score > bestScore) {
            bestScore = score;
            best = c;
        }
    }
    if (!best) return false;
    result = Call(best, VhdlNodeList(), where, nullptr, &values);
    return true;
}

} // namespace hdl
