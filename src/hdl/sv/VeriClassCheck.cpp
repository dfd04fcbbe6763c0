// Class headers and forward type declarations, judged on one unit: what `implements`
// (and an interface class's `extends`) may name, what an implementing class sees, what
// several interface classes hand down under one name, a parameterized class named
// before `::` without parameter values, and forward typedefs that nothing completes.
// A class defined in another unit, a base class (which may declare anything) or a
// specialization that depends on parameters leaves the rule alone.
#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "hdl/sv/VeriParserImpl.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {
namespace {

const VeriIdDef* idOf(const VeriExpression* e) {
    if (auto* ref = dynamic_cast<const VeriIdRef*>(e)) return ref->id;
    if (auto* scoped = dynamic_cast<const VeriScopeName*>(e)) return scoped->paramValues.Empty() ? scoped->id : nullptr;
    return nullptr;
}

bool isInterfaceClass(const VeriClass& c) {
    ArenaArray<unsigned> q = c.GetQualifiers();
    return std::find(q.begin(), q.end(), unsigned(VT_INTERFACE)) != q.end();
}

// `typedef [class|interface class|enum|struct|union] name;`
bool isForward(const VeriIdDef* id) {
    auto* type = dynamic_cast<const VeriTypeId*>(id);
    auto* decl = type ? dynamic_cast<const VeriDataDecl*>(type->declaration) : nullptr;
    return decl && decl->IsTypedef() && !decl->dataType;
}

bool before(const ColLineFile& a, const ColLineFile& b) {
    return a.fileId == b.fileId && (a.leftLine < b.leftLine || (a.leftLine == b.leftLine && a.leftCol < b.leftCol));
}

// A built-in return type (or void), which two prototypes can be compared by.
bool builtIn(const VeriDataType* t) { return t && t->GetClassId() == ID_VERIDATATYPE && !t->dimensions; }

// A parameter value that names nothing: a literal or a built-in type.
bool literal(const VeriExpression* e) {
    return dynamic_cast<const VeriConst*>(e) || (e && e->GetClassId() == ID_VERIDATATYPE);
}

// Where a name an interface class hands down was declared: the class and the parameter
// values it was reached with (empty: its defaults).
struct Origin {
    const VeriClass* from = nullptr;
    ArenaArray<VeriExpression*> values;
    const VeriFunctionDecl* method = nullptr;
};

bool literalValues(const Origin& o) {
    return !o.values.Empty() && std::all_of(o.values.begin(), o.values.end(), literal);
}

// Two origins certainly declare different things.
bool distinct(const Origin& a, const Origin& b) {
    if (a.from != b.from) return true;
    if (!literalValues(a) || !literalValues(b) || a.values.Size() != b.values.Size()) return false;
    for (uint32_t i = 0; i < a.values.Size(); ++i)
        if (!a.values.At(i)->IsEqual(b.values.At(i))) return true;
    return false;
}

class ClassCheck : public VeriVisitor {
public:
    ClassCheck(const std::unordered_set<VeriIdRef*>& unresolved, std::vector<VeriUndeclaredName>& undeclared,
               unsigned typeKind)
        : unresolved_(unresolved), undeclared_(undeclared), typeKind_(typeKind) {}
    unsigned told = 0;

    // The classes of the unit by name, to follow forward declarations to their class.
    void collect(const ArenaArray<VeriModuleItem*>& items) {
        struct Classes : VeriVisitor {
            std::unordered_map<uint32_t, std::vector<const VeriClass*>>* byName;
            void Visit(VeriClass& n) override {
                if (n.id) (*byName)[n.id->name.Id()].push_back(&n);
                VeriVisitor::Visit(n);
            }
        } classes;
        classes.byName = &classes_;
        for (VeriModuleItem* item : items) classes.TraverseNode(item);
    }

    // A forward typedef is completed in the scope that holds it.
    void forwards(const ArenaArray<VeriModuleItem*>& items) {
        std::unordered_set<uint32_t> defined;
        definitions(items, defined);
        for (const VeriModuleItem* item : items)
            if (auto* d = dynamic_cast<const VeriDataDecl*>(item); d && d->IsTypedef() && !d->dataType)
                for (const VeriIdDef* id : d->ids)
                    if (id && !defined.count(id->name.Id()))
                        tell<veri_msg::ForwardTypeNotDefined>(*id, name(id).c_str());
    }

    // (A generate region's items belong to the scope around it.)
    static void definitions(const ArenaArray<VeriModuleItem*>& items, std::unordered_set<uint32_t>& defined) {
        for (const VeriModuleItem* item : items) {
            if (auto* c = dynamic_cast<const VeriClass*>(item); c && c->id) defined.insert(c->id->name.Id());
            if (auto* g = dynamic_cast<const VeriGenerateConstruct*>(item)) definitions(g->items, defined);
            if (auto* d = dynamic_cast<const VeriDataDecl*>(item); d && d->IsTypedef() && d->dataType)
                for (const VeriIdDef* id : d->ids)
                    if (id) defined.insert(id->name.Id());
        }
    }

    void Visit(VeriGenerateBlock& n) override {
        forwards(n.items);
        VeriVisitor::Visit(n);
    }

    void Visit(VeriFunctionDecl& n) override {
        // An out-of-block body belongs to its class.
        const VeriClass* owner = n.prefix ? classOf(idOf(n.prefix)) : nullptr;
        if (owner) enclosing_.push_back(owner);
        VeriVisitor::Visit(n);
        if (owner) enclosing_.pop_back();
    }

    void Visit(VeriClass& n) override {
        forwards(n.items);
        bool iface = isInterfaceClass(n);
        header(n, n.implements, false);
        if (iface) header(n, n.extends, true);
        if (iface) inheritedTypes(n);
        inheritedMethods(n, iface ? n.extends : n.implements);
        // Without a base class, what the class sees is its own scope and those around
        // it: interface classes hand down no types to the classes implementing them.
        bool sees = n.extends.Empty() && std::none_of(enclosing_.begin(), enclosing_.end(),
                                                      [](const VeriClass* c) { return !c->extends.Empty(); });
        enclosing_.push_back(&n);
        if (sees) undeclaredTypes(n.items);
        VeriVisitor::Visit(n);
        enclosing_.pop_back();
    }

    // `C::name` of a parameterized class outside its own declaration needs `C#()::`.
    void Visit(VeriScopeName& n) override {
        if (n.paramValues.Empty() && plainScope(n))
            if (const VeriClass* c = classOf(idOf(n.prefix)); c && c->parameters && !inside(c))
                tell<veri_msg::DefaultSpecializationScope>(n, name(c->id).c_str(), std::string(n.name.Text()).c_str());
        VeriVisitor::Visit(n);
    }

private:
    template <const MessageText& Text, class... Args>
    void tell(const VeriTreeNode& at, Args... args) {
        ColLineFile where = at.Linefile();
        Message::Tell<Text>(&where, args...);
        ++told;
    }

    // `C::name` written as such: `C#()::name` keeps no values either, but its text is longer.
    static bool plainScope(const VeriScopeName& n) {
        if (!n.prefix) return false;
        ColLineFile all = n.Linefile(), prefix = n.prefix->Linefile();
        return all.leftLine == all.rightLine && prefix.leftLine == prefix.rightLine &&
               all.leftLine == prefix.leftLine &&
               all.rightCol - all.leftCol == prefix.rightCol - prefix.leftCol + 2 + n.name.Text().size();
    }

    static std::string name(const VeriIdDef* id) { return id ? std::string(id->name.Text()) : std::string(); }

    // The class an id declares, through a forward typedef to the one class of its name.
    const VeriClass* classOf(const VeriIdDef* id) const {
        auto* type = dynamic_cast<const VeriTypeId*>(id);
        if (!type) return nullptr;
        if (auto* c = dynamic_cast<const VeriClass*>(type->declaration)) return c;
        if (!isForward(type)) return nullptr;
        auto found = classes_.find(type->name.Id());
        return found != classes_.end() && found->second.size() == 1 ? found->second.front() : nullptr;
    }
    const VeriClass* classOf(const VeriDataType* t, ArenaArray<VeriExpression*>* values = nullptr) const {
        auto* ref = dynamic_cast<const VeriTypeRef*>(t);
        if (!ref) return nullptr;
        if (values) *values = ref->paramValues;
        return classOf(idOf(ref->typeName));
    }

    bool inside(const VeriClass* c) const {
        return std::any_of(enclosing_.begin(), enclosing_.end(),
                           [&](const VeriClass* e) { return e == c || !e->extends.Empty(); });
    }

    // What `implements` (or an interface class's `extends`) names: a defined interface
    // class, not a type parameter, not one whose definition comes later.
    void header(const VeriClass& n, const ArenaArray<VeriDataType*>& types, bool extends) {
        for (const VeriDataType* t : types) {
            auto* ref = dynamic_cast<const VeriTypeRef*>(t);
            const VeriIdDef* id = ref ? idOf(ref->typeName) : nullptr;
            if (auto* p = dynamic_cast<const VeriParamId*>(id); p && p->isType) {
                if (extends) tell<veri_msg::ExtendsTypeParameter>(*t, name(n.id).c_str(), name(p).c_str());
                else tell<veri_msg::ImplementsTypeParameter>(*t, name(n.id).c_str(), name(p).c_str());
            } else if (isForward(id)) {
                const VeriClass* c = classOf(id);
                if (c && before(n.Linefile(), c->Linefile()))
                    tell<veri_msg::InterfaceClassNotYetDefined>(*t, name(id).c_str());
            }
        }
    }

    // Each name an interface class hands down, with where it was declared: its
    // parameters and typedefs, or its methods, and those of the classes it extends.
    void handDown(const VeriClass* c, ArenaArray<VeriExpression*> values, bool methods,
                  std::unordered_map<uint32_t, std::vector<Origin>>& names, unsigned depth) {
        if (!c || !isInterfaceClass(*c) || depth > 16) return;
        for (const VeriModuleItem* item : c->items) {
            if (auto* f = dynamic_cast<const VeriFunctionDecl*>(item); methods && f && f->id && !f->prefix)
                names[f->id->name.Id()].push_back({c, values, f});
            if (auto* d = dynamic_cast<const VeriDataDecl*>(item); !methods && d)
                for (const VeriIdDef* id : d->ids)
                    if (id && (d->IsTypedef() || dynamic_cast<const VeriParamId*>(id)))
                        names[id->name.Id()].push_back({c, values, nullptr});
        }
        for (const VeriDataType* base : c->extends) {
            ArenaArray<VeriExpression*> next;
            const VeriClass* b = classOf(base, &next);
            // Values written with the class's own parameters are not known here.
            if (!std::all_of(next.begin(), next.end(), literal)) next = ArenaArray<VeriExpression*>();
            handDown(b, next, methods, names, depth + 1);
        }
    }

    bool declares(const VeriClass& n, Symbol member) const { return n.scope && n.scope->findLocal(member); }

    // An interface class that extends several must declare again each parameter or
    // typedef name that two of them hand down from different declarations.
    void inheritedTypes(const VeriClass& n) {
        if (n.extends.Size() < 2) return;
        std::unordered_map<uint32_t, std::vector<Origin>> names;
        for (const VeriDataType* base : n.extends) {
            ArenaArray<VeriExpression*> values;
            const VeriClass* b = classOf(base, &values);
            if (!b) return; // one of them unknown: what it hands down is too
            handDown(b, values, false, names, 0);
        }
        std::vector<std::pair<const VeriIdDef*, const VeriTreeNode*>> conflicts;
        // (Reported in the order of the declarations handed down, for stable output.)
        for (auto& [symbol, origins] : names) {
            bool conflict = false;
            for (size_t i = 1; i < origins.size() && !conflict; ++i) conflict = distinct(origins[0], origins[i]);
            const VeriIdDef* first = nullptr;
            for (const VeriDataDecl* d : declsOf(origins[0]))
                for (const VeriIdDef* id : d->ids)
                    if (id && id->name.Id() == symbol) first = id;
            if (conflict && first && !declares(n, first->name)) conflicts.push_back({first, nullptr});
        }
        std::sort(conflicts.begin(), conflicts.end(),
                  [](const auto& a, const auto& b) { return before(a.first->Linefile(), b.first->Linefile()); });
        for (const auto& c : conflicts)
            tell<veri_msg::InheritedNameConflict>(n, name(n.id).c_str(), name(c.first).c_str());
    }

    static std::vector<const VeriDataDecl*> declsOf(const Origin& o) {
        std::vector<const VeriDataDecl*> out;
        for (const VeriModuleItem* item : o.from->items)
            if (auto* d = dynamic_cast<const VeriDataDecl*>(item)) out.push_back(d);
        return out;
    }

    // A method handed down by interface classes has one prototype to meet: the class's
    // own method, or the one prototype all of them share, returns what each returns.
    void inheritedMethods(const VeriClass& n, const ArenaArray<VeriDataType*>& from) {
        if (from.Empty()) return;
        std::unordered_map<uint32_t, std::vector<Origin>> names;
        for (const VeriDataType* t : from) {
            ArenaArray<VeriExpression*> values;
            const VeriClass* c = classOf(t, &values);
            if (!c) return;
            handDown(c, values, true, names, 0);
        }
        std::unordered_map<uint32_t, const VeriFunctionDecl*> own;
        for (const VeriModuleItem* item : n.items)
            if (auto* f = dynamic_cast<const VeriFunctionDecl*>(item); f && f->id) own[f->id->name.Id()] = f;
        std::vector<std::pair<const VeriFunctionDecl*, const VeriFunctionDecl*>> mismatches; // mine (or first), theirs
        for (auto& [symbol, origins] : names) {
            auto mine = own.find(symbol);
            const VeriFunctionDecl* reference = mine != own.end() ? mine->second : origins[0].method;
            if (!builtIn(reference->returnType) || dynamic_cast<const VeriTaskDecl*>(reference)) continue;
            for (const Origin& o : origins)
                if (builtIn(o.method->returnType) && !dynamic_cast<const VeriTaskDecl*>(o.method) &&
                    !reference->returnType->IsEqual(o.method->returnType)) {
                    mismatches.push_back({reference, o.method});
                    break;
                }
        }
        std::sort(mismatches.begin(), mismatches.end(),
                  [](const auto& a, const auto& b) { return before(a.second->Linefile(), b.second->Linefile()); });
        for (const auto& [mine, theirs] : mismatches) {
            const VeriTreeNode& at = own.count(mine->id->name.Id()) ? static_cast<const VeriTreeNode&>(*mine->id)
                                                                    : static_cast<const VeriTreeNode&>(n);
            tell<veri_msg::PrototypeConflict>(at, name(mine->id).c_str(), name(n.id).c_str());
        }
    }

    // Type names the class's items use that nothing in sight declares.
    void undeclaredTypes(const ArenaArray<VeriModuleItem*>& items) {
        struct Types : VeriVisitor {
            std::vector<VeriIdRef*> found;
            const std::unordered_set<VeriIdRef*>* unresolved;
            void Visit(VeriClass&) override {} // judged on its own
            void Visit(VeriTypeRef& n) override {
                auto* ref = dynamic_cast<VeriIdRef*>(n.typeName);
                if (ref && !n.virtualInterface && unresolved->count(ref) && !isVeriBuiltInName(ref->name.Text()))
                    found.push_back(ref);
                VeriVisitor::Visit(n);
            }
        } types;
        types.unresolved = &unresolved_;
        for (VeriModuleItem* item : items) types.TraverseNode(item);
        for (VeriIdRef* ref : types.found) undeclared_.push_back({ref, typeKind_});
    }

    const std::unordered_set<VeriIdRef*>& unresolved_;
    std::vector<VeriUndeclaredName>& undeclared_;
    unsigned typeKind_;
    std::unordered_map<uint32_t, std::vector<const VeriClass*>> classes_;
    std::vector<const VeriClass*> enclosing_;
};

} // namespace

void VeriParser::Impl::checkClasses(VeriModule* unit, unsigned typeKind) {
    ClassCheck check(unresolved, undeclared, typeKind);
    check.collect(unit->items);
    check.forwards(unit->items);
    for (VeriModuleItem* item : unit->items) check.TraverseNode(item);
    errors += check.told;
}

} // namespace hdl
