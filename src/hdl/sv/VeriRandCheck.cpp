// Rules of constraints and random variables that the classes of one unit show broken:
// an `extern` constraint that the unit never defines, a `pure` constraint in a class
// that is not virtual or that a concrete class leaves undefined, and `randc` variables
// under solve-before, `soft` or `dist`, of class constraints and of the inline constraints
// of `randomize() with`. A variable counts as randc only where the name resolves to a
// declaration the tree shows: in a class constraint through the scopes; in an inline
// constraint through the class of the object randomized (`obj.randomize()` of a variable
// declared with a class type, or the enclosing class for `randomize()` and
// `this.randomize()`), which names are looked up in first. Members reached through
// objects are left alone.
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

// The member `name` of class `c` or of a class above it; null when none declares it, or
// when a class above is not known.
const VeriIdDef* member(const VeriClass* c, Symbol name, bool& known) {
    known = true;
    for (int depth = 0; c && depth < 64; ++depth) {
        if (c->scope)
            if (const VeriIdDef* id = c->scope->findLocal(name)) return id;
        const VeriClass* base = baseClass(*c);
        if (!base && !c->extends.Empty()) known = false;
        c = base;
    }
    return nullptr;
}

// Where the names of an inline constraint are looked up first: the class of the object
// randomized, when the tree shows it.
struct InlineScope {
    const VeriClass* object = nullptr;
    const VeriInlineConstraint* with = nullptr; // its `(names)` list restricts the look-up
};

// The randc variables an expression names directly (`v`, `v[i]`).
class RandcNames : public VeriVisitor {
public:
    explicit RandcNames(const InlineScope* scope = nullptr) : inline_(scope) {}
    std::vector<const VeriIdRef*> found;
    void Visit(VeriIdRef& n) override {
        const VeriIdDef* id = n.id;
        if (inline_) {
            bool known = false;
            id = listed(n.name) ? member(inline_->object, n.name, known) : nullptr;
            // Not a member: the name is looked up where the call stands, if the class
            // above is known to hold no member of that name.
            if (!id && known) id = n.id;
        }
        auto* var = dynamic_cast<const VeriVariable*>(id);
        auto* decl = var ? dynamic_cast<const VeriDataDecl*>(var->declaration) : nullptr;
        if (decl && hasQualifier(*decl, VT_RANDC)) found.push_back(&n);
    }
    // `obj.v` names a member of another object; `local::v` a name where the call stands.
    void Visit(VeriSelectedName&) override {}
    void Visit(VeriScopeName&) override {}
    void Visit(VeriFunctionCall& n) override {
        for (VeriExpression* a : n.args) TraverseNode(a);
    }

private:
    const InlineScope* inline_;

    bool listed(Symbol name) const {
        if (!inline_->with->restricted) return true;
        for (const VeriExpression* e : inline_->with->names)
            if (auto* ref = dynamic_cast<const VeriIdRef*>(e); ref && ref->name == name) return true;
        return false;
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

    void Visit(VeriFunctionCall& n) override {
        auto* with = dynamic_cast<VeriInlineConstraint*>(n.with);
        if (!with) {
            VeriVisitor::Visit(n);
            return;
        }
        TraverseNode(n.func);
        for (VeriExpression* a : n.args) TraverseNode(a);
        InlineScope outer = inline_;
        inline_ = InlineScope{randomized(n.func), with};
        if (inline_.object) TraverseNode(with);
        inline_ = outer;
    }

    void Visit(VeriClass& n) override {
        const VeriClass* outer = class_;
        class_ = &n;
        bool abstract = hasQualifier(n, VT_VIRTUAL) || hasQualifier(n, VT_INTERFACE);
        for (VeriModuleItem* item : n.items) {
            auto* c = dynamic_cast<VeriConstraintDecl*>(item);
            if (c && c->id && !abstract && hasQualifier(*c, VT_PURE))
                tell<veri_msg::PureConstraintInConcrete>(*c->id, text(c->id).c_str(), text(n.id).c_str());
        }
        if (!abstract) inheritedPure(n);
        for (VeriModuleItem* item : n.items) TraverseNode(item);
        class_ = outer;
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
    const VeriClass* class_ = nullptr; // the class whose items are walked
    InlineScope inline_; // of the inline constraint walked

    // The class of the object `func` randomizes: `randomize` and `this.randomize` in a
    // class, `obj.randomize` of a variable of a class type.
    const VeriClass* randomized(const VeriExpression* func) const {
        if (auto* ref = dynamic_cast<const VeriIdRef*>(func))
            return ref->name.Text() == "randomize" && (!ref->id || dynamic_cast<const VeriFunctionId*>(ref->id))
                       ? class_
                       : nullptr;
        auto* sel = dynamic_cast<const VeriSelectedName*>(func);
        if (!sel || sel->suffix.Text() != "randomize") return nullptr;
        if (auto* k = dynamic_cast<const VeriKeyword*>(sel->prefix)) return k->token == VT_THIS ? class_ : nullptr;
        auto* obj = dynamic_cast<const VeriIdRef*>(sel->prefix);
        auto* var = obj ? dynamic_cast<const VeriVariable*>(obj->id) : nullptr;
        if (!var || var->dimensions) return nullptr;
        auto* type = dynamic_cast<const VeriTypeRef*>(var->dataType);
        if (!type || type->dimensions) return nullptr;
        auto* id = dynamic_cast<const VeriTypeId*>(type->GetId());
        return id ? dynamic_cast<const VeriClass*>(id->declaration) : nullptr;
    }

    template <const MessageText& Text>
    void randc(VeriExpression* e) {
        RandcNames names(inline_.with ? &inline_ : nullptr);
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
    RandCheck check;
    for (VeriModuleItem* item : unit->items) check.TraverseNode(item);
    // A body may stand in an item that did not parse.
    if (!itemsLeftOut) check.externs(unit->items);
    errors += check.told;
}

} // namespace hdl
