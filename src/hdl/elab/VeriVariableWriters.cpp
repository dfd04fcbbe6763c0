#include "hdl/elab/VeriVariableWriters.h"

#include <string>
#include <unordered_map>

#include "hdl/base/Message.h"
#include "hdl/sv/VeriParserMessageIds.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {

namespace {

// A variable the module declares itself: no port, no net.
const VeriIdDef* LocalVariable(const VeriIdDef* id) {
    auto* v = dynamic_cast<const VeriVariable*>(id);
    if (!v || v->IsPort() || v->interfacePort) return nullptr;
    auto* decl = dynamic_cast<const VeriDataDecl*>(v->declaration);
    if (!decl || dynamic_cast<const VeriNetDecl*>(decl) || decl->dir) return nullptr;
    return v;
}

// The variables an assignment target writes: `v`, `v[i]`, `v.f`, `{a, v}`.
template <typename F>
void TargetVariables(const VeriExpression* e, F&& each) {
    if (!e) return;
    if (auto* c = dynamic_cast<const VeriConcat*>(e)) {
        for (const VeriExpression* x : c->exprs) TargetVariables(x, each);
        return;
    }
    while (true) {
        if (auto* x = dynamic_cast<const VeriIndexedId*>(e)) e = x->prefix;
        else if (auto* m = dynamic_cast<const VeriIndexedMemoryId*>(e)) e = m->prefix;
        else if (auto* s = dynamic_cast<const VeriSelectedName*>(e)) e = s->prefix;
        else break;
    }
    if (auto* ref = dynamic_cast<const VeriIdRef*>(e))
        if (const VeriIdDef* v = LocalVariable(ref->id)) each(v, e);
}

class ProceduralWriters : public VeriVisitor {
public:
    using VeriVisitor::Visit;
    explicit ProceduralWriters(std::unordered_map<const VeriIdDef*, const VeriTreeNode*>& c) : continuous(c) {}
    void Visit(VeriBlockingAssign& n) override {
        Check(n.lval);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriNonBlockingAssign& n) override {
        Check(n.lval);
        VeriVisitor::Visit(n);
    }
    void Check(const VeriExpression* lval) {
        TargetVariables(lval, [&](const VeriIdDef* v, const VeriExpression* where) {
            if (!continuous.count(v) || !reported.emplace(v, where).second) return;
            ColLineFile loc = where->Linefile();
            std::string name(v->Name());
            Message::Tell<veri_msg::ElabMixedWriters>(&loc, name.c_str());
        });
    }
    std::unordered_map<const VeriIdDef*, const VeriTreeNode*>& continuous;
    std::unordered_map<const VeriIdDef*, const VeriExpression*> reported;
};

} // namespace

unsigned VeriCheckVariableWriters(const VeriModule* module) {
    unsigned errors = 0;
    std::unordered_map<const VeriIdDef*, const VeriTreeNode*> continuous;
    for (const VeriModuleItem* item : module->items) {
        auto* ca = dynamic_cast<const VeriContinuousAssign*>(item);
        if (!ca) continue;
        for (const VeriNetRegAssign* a : ca->assigns) {
            auto* ref = a ? dynamic_cast<const VeriIdRef*>(a->lval) : nullptr;
            const VeriIdDef* v = ref ? LocalVariable(ref->id) : nullptr;
            if (!v) continue;
            if (continuous.emplace(v, a).second) continue;
            ++errors;
            ColLineFile loc = a->Linefile();
            std::string name(v->Name());
            Message::Tell<veri_msg::ElabMultipleContinuous>(&loc, name.c_str());
        }
    }
    if (continuous.empty()) return errors;
    ProceduralWriters procedural(continuous);
    for (const VeriModuleItem* item : module->items) {
        if (auto* al = dynamic_cast<const VeriAlwaysConstruct*>(item))
            procedural.TraverseNode(const_cast<VeriStatement*>(al->stmt));
        else if (auto* in = dynamic_cast<const VeriInitialConstruct*>(item))
            procedural.TraverseNode(const_cast<VeriStatement*>(in->stmt));
    }
    return errors + unsigned(procedural.reported.size());
}

} // namespace hdl
