// Rules of constraints and random variables that the classes of one unit show broken:
// an `extern` constraint that the unit never defines, a `pure` constraint in a class
// that is not virtual or that a concrete class leaves undefined, and `randc` variables
// under solve-before, `soft` or `dist` of class constraints. A variable counts as randc
// only where the name resolves to a declaration the tree shows; members reached through
// objects, and the inline constraints of `randomize() with`, are left alone.
#include <algorithm>
#include <string>
#include <unordered_set>
#include <vector>

#include "hdl/sv/VeriParserImpl.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {
namespace {

bool hasQualifier(const VeriModuleItem& item, unsigned q) {
    ArenaArray<unsigned> all = item.GetQualifiers();
    return std::find(all.begin(), all.end(), q) != all.end();
}

std::string text(const VeriIdDef* id) { return id ? std::string(id->name.Text()) : std::string(); }

// The class a class extends, when its name resolves to one.
const VeriClass* baseClass(const VeriClass& c) {
    const VeriIdDef* id = c.extends.Empty() ? nullptr : c.extends[0]->GetId();
    return id ? dynamic_cast<const VeriClass*>(id->declaration) : nullptr;
}

// The randc variables an expression names directly (`v`, `v[i]`).
class RandcNames : public VeriVisitor {
public:
    std::vector<const VeriIdRef*> found;
    void Visit(VeriIdRef& n) override {
        auto* var = dynamic_cast<const VeriVariable*>(n.id);
        auto* decl = var ? dynamic_cast<const VeriDataDecl*>(var->declaration) : nullptr;
        if (decl && hasQualifier(*decl, VT_RANDC)) found.push_back(&n);
    }
    // `obj.v` names a member of another object.
    void Visit(VeriSelectedName&) override {}
    void Visit(VeriFunctionCall& n) override {
        for (VeriExpression* a : n.args) TraverseNode(a);
    }
};

class RandCheck : public VeriVisitor {
public:
    unsigned told = 0;

    void Visit(VeriUnaryOperator& n) override {
        if (n.oper == VT_SOFT) randc<veri_msg::RandcInSoft>(n.arg);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriBinaryOperator& n) override {
        if (n.oper == VT_DIST) randc<veri_msg::RandcInDist>(n.left);
        VeriVisitor::Visit(n);
    }
    void Visit(VeriSolveBefore& n) override {
        for (VeriExpression* e : n.solved) randc<veri_msg::RandcInSolveBefore>(e);
        for (VeriExpression* e : n.before) randc<veri_msg::RandcInSolveBefore>(e);
        VeriVisitor::Visit(n);
    }

    void Visit(VeriClass& n) override {
        bool abstract = hasQualifier(n, VT_VIRTUAL) || hasQualifier(n, VT_INTERFACE);
        for (VeriModuleItem* item : n.items) {
            auto* c = dynamic_cast<VeriConstraintDecl*>(item);
            if (c && c->id && !abstract && hasQualifier(*c, VT_PURE))
                tell<veri_msg::PureConstraintInConcrete>(*c->id, text(c->id).c_str(), text(n.id).c_str());
        }
        if (!abstract) inheritedPure(n);
        // Methods hold no declarations of random variables: their bodies are not walked.
        for (VeriModuleItem* item : n.items)
            if (dynamic_cast<VeriClass*>(item) || dynamic_cast<VeriConstraintDecl*>(item)) TraverseNode(item);
    }

    // Extern constraints of the classes among `items` need a body among them.
    void externs(const ArenaArray<VeriModuleItem*>& items) {
        std::unordered_set<std::string> bodies; // "class::name"
        for (VeriModuleItem* item : items) {
            auto* c = dynamic_cast<VeriConstraintDecl*>(item);
            if (c && c->prefix && c->id && !c->prototype)
                bodies.insert(std::string(c->prefix->GetName()) + "::" + text(c->id));
        }
        for (VeriModuleItem* item : items) {
            auto* cls = dynamic_cast<VeriClass*>(item);
            if (!cls || !cls->id) continue;
            for (VeriModuleItem* member : cls->items) {
                auto* c = dynamic_cast<VeriConstraintDecl*>(member);
                if (!c || !c->id || !c->prototype || !hasQualifier(*c, VT_EXTERN)) continue;
                if (!bodies.count(text(cls->id) + "::" + text(c->id)))
                    tell<veri_msg::ExternConstraintUndefined>(*c->id, text(c->id).c_str(), text(cls->id).c_str());
            }
        }
    }

private:
    template <const MessageText& Text>
    void randc(VeriExpression* e) {
        RandcNames names;
        names.TraverseNode(e);
        for (const VeriIdRef* ref : names.found) tell<Text>(*ref, std::string(ref->name.Text()).c_str());
    }

    // A concrete class defines every pure constraint of the classes above it, itself or
    // through a class between.
    void inheritedPure(const VeriClass& n) {
        std::unordered_set<std::string> defined;
        const VeriClass* c = &n;
        for (int depth = 0; c && depth < 64; ++depth, c = baseClass(*c)) {
            for (VeriModuleItem* item : c->items) {
                auto* k = dynamic_cast<VeriConstraintDecl*>(item);
                if (!k || !k->id) continue;
                if (!hasQualifier(*k, VT_PURE)) defined.insert(text(k->id));
                else if (c != &n && n.id && defined.insert(text(k->id)).second)
                    tell<veri_msg::PureConstraintNotDefined>(*n.id, text(n.id).c_str(), text(k->id).c_str(),
                                                             text(c->id).c_str());
            }
        }
    }

    template <const MessageText& Text, typename... Args>
    void tell(const VeriTreeNode& at, Args... args) {
        ColLineFile where = at.Linefile();
        Message::Tell<Text>(&where, args...);
        ++told;
    }
};

} // namespace

void VeriParser::Impl::checkRandomization(VeriModule* unit) {
    // Random variables live in classes: the rest of a unit need not be walked.
    RandCheck check;
    for (VeriModuleItem* item : unit->items)
        if (dynamic_cast<VeriClass*>(item) || dynamic_cast<VeriConstraintDecl*>(item)) check.TraverseNode(item);
    check.externs(unit->items);
    errors += check.told;
}

} // namespace hdl
