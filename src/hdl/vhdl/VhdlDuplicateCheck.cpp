#include "hdl/vhdl/VhdlDuplicateCheck.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlOverloads.h"
#include "hdl/vhdl/VhdlResolver.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace hdl {
namespace {

// Names compare without regard to case, but for extended identifiers and character
// literals; the map keys are views of the identifiers, so adding one copies nothing.
bool caseCounts(std::string_view n) { return n.size() > 1 && (n[0] == '\\' || n[0] == '\''); }
char fold(char c, bool exact) { return !exact && c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }
struct FoldHash {
    size_t operator()(std::string_view n) const {
        bool exact = caseCounts(n);
        size_t h = 14695981039346656037ull;
        for (char c : n) h = (h ^ static_cast<unsigned char>(fold(c, exact))) * 1099511628211ull;
        return h;
    }
};
struct FoldEq {
    bool operator()(std::string_view a, std::string_view b) const {
        if (a.size() != b.size() || caseCounts(a) != caseCounts(b)) return false;
        bool exact = caseCounts(a);
        for (size_t i = 0; i < a.size(); ++i)
            if (fold(a[i], exact) != fold(b[i], exact)) return false;
        return true;
    }
};

// One declared identifier with the declaration that declares it.
struct Entry {
    VhdlIdDef* id;
    VhdlTreeNode* decl;
};

template <class T>
T* as(VhdlTreeNode* node) {
    return node && node->GetClassId() == T::kClassId ? static_cast<T*>(node) : nullptr;
}

bool deferredConstant(VhdlTreeNode* decl) {
    auto* c = as<VhdlConstantDecl>(decl);
    return c && !c->init;
}

bool protectedDeclaration(VhdlTreeNode* decl) {
    auto* t = as<VhdlFullTypeDecl>(decl);
    return t && t->typeDef && t->typeDef->GetClassId() == VhdlProtectedTypeDef::kClassId;
}

bool protectedBody(VhdlTreeNode* decl) {
    auto* t = as<VhdlFullTypeDecl>(decl);
    return t && t->typeDef && t->typeDef->GetClassId() == VhdlProtectedTypeDefBody::kClassId;
}

// Whether `later` may declare the name of `earlier` in the same region.
bool mayRedeclare(const Entry& earlier, const Entry& later) {
    if (as<VhdlIncompleteTypeDecl>(earlier.decl) && as<VhdlFullTypeDecl>(later.decl)) return true;
    if (deferredConstant(earlier.decl) && as<VhdlConstantDecl>(later.decl) && !deferredConstant(later.decl))
        return true;
    if (protectedDeclaration(earlier.decl) && protectedBody(later.decl)) return true;
    bool overloadE = VhdlIsOverloadable(earlier.id), overloadL = VhdlIsOverloadable(later.id);
    if (!overloadE || !overloadL) return false;
    // Literals of one enumeration type are homographs; of two types they are not.
    bool literalE = earlier.id->GetClassId() == VhdlEnumerationId::kClassId;
    bool literalL = later.id->GetClassId() == VhdlEnumerationId::kClassId;
    if (literalE || literalL) return !(literalE && literalL && earlier.decl == later.decl);
    // Two declarations, or two bodies, of one profile; a body completes a declaration.
    bool bodyE = as<VhdlSubprogramBody>(earlier.decl) != nullptr, bodyL = as<VhdlSubprogramBody>(later.decl) != nullptr;
    bool declE = as<VhdlSubprogramDecl>(earlier.decl) != nullptr, declL = as<VhdlSubprogramDecl>(later.decl) != nullptr;
    if (!((bodyE && bodyL) || (declE && declL))) return true;
    return !VhdlSameProfile(earlier.id, later.id);
}

// The identifiers of one region, in order; what the primary unit declared comes first
// and is told with that unit.
class Region {
public:
    explicit Region(unsigned& told) : told_(told) {}

    void Add(VhdlTreeNode* decl, bool tell) {
        if (!decl) return;
        ids_.clear();
        VhdlDeclaredIds(decl, ids_);
        for (VhdlIdDef* id : ids_) AddId(id, decl, tell);
    }
    void AddAll(const VhdlNodeList& list, bool tell) {
        for (VhdlTreeNode* d : list) Add(d, tell);
    }
    void AddLabels(const VhdlNodeList& statements, bool tell) {
        for (VhdlTreeNode* s : statements)
            if (auto* stmt = dynamic_cast<VhdlStatement*>(s); stmt && stmt->label) AddId(stmt->label, stmt, tell);
    }
    void AddId(VhdlIdDef* id, VhdlTreeNode* decl, bool tell) {
        if (!id || id->OrigName().empty()) return;
        std::vector<Entry>& same = byName_[id->OrigName()];
        Entry entry{id, decl};
        for (const Entry& earlier : same) {
            if (earlier.id == id || mayRedeclare(earlier, entry)) continue;
            if (tell) {
                ColLineFile loc = id->Linefile();
                Message::Tell<vhdl_msg::DeclaredTwice>(&loc, std::string(id->OrigName()).c_str());
                ++told_;
            }
            return;
        }
        same.push_back(entry);
    }

private:
    unsigned& told_;
    std::vector<VhdlIdDef*> ids_;
    std::unordered_map<std::string_view, std::vector<Entry>, FoldHash, FoldEq> byName_;
};

class DuplicateCheck : public VhdlVisitor {
public:
    explicit DuplicateCheck(VhdlPrimaryUnit* primary) : primary_(primary) {}
    unsigned told = 0;

    void Visit(VhdlEntityDecl& n) override {
        Region r(told);
        entity(r, n, true);
        r.AddLabels(n.statements, true);
        n.VisitChildren(*this);
    }
    void Visit(VhdlArchitectureBody& n) override {
        Region r(told);
        if (auto* e = dynamic_cast<VhdlEntityDecl*>(primary_)) entity(r, *e, false);
        r.AddAll(n.declarations, true);
        r.AddLabels(n.statements, true);
        n.VisitChildren(*this);
    }
    void Visit(VhdlPackageDecl& n) override {
        Region r(told);
        r.AddAll(n.generics, true);
        r.AddAll(n.declarations, true);
        n.VisitChildren(*this);
    }
    void Visit(VhdlPackageBody& n) override {
        Region r(told);
        if (auto* p = dynamic_cast<VhdlPackageDecl*>(primary_)) {
            r.AddAll(p->generics, false);
            r.AddAll(p->declarations, false);
        }
        r.AddAll(n.declarations, true);
        n.VisitChildren(*this);
    }
    void Visit(VhdlProcessStatement& n) override {
        Region r(told);
        r.AddAll(n.declarations, true);
        n.VisitChildren(*this);
    }
    void Visit(VhdlBlockStatement& n) override {
        Region r(told);
        if (n.generics) r.AddAll(n.generics->clause, true);
        if (n.ports) r.AddAll(n.ports->clause, true);
        r.AddAll(n.declarations, true);
        r.AddLabels(n.statements, true);
        n.VisitChildren(*this);
    }
    void Visit(VhdlGenerateStatement& n) override {
        Region r(told);
        if (auto* loop = dynamic_cast<VhdlForScheme*>(n.scheme)) r.AddId(loop->id, loop, true);
        r.AddAll(n.declarations, true);
        r.AddLabels(n.statements, true);
        n.VisitChildren(*this);
    }
    void Visit(VhdlSubprogramBody& n) override {
        Region r(told);
        if (n.spec) {
            r.AddAll(n.spec->generics, true);
            r.AddAll(n.spec->params, true);
        }
        r.AddAll(n.declarations, true);
        n.VisitChildren(*this);
    }
    void Visit(VhdlSubprogramDecl& n) override {
        Region r(told);
        if (n.spec) {
            r.AddAll(n.spec->generics, true);
            r.AddAll(n.spec->params, true);
        }
        n.VisitChildren(*this);
    }
    void Visit(VhdlComponentDecl& n) override {
        Region r(told);
        r.AddAll(n.generics, true);
        r.AddAll(n.ports, true);
        n.VisitChildren(*this);
    }
    void Visit(VhdlProtectedTypeDef& n) override {
        Region r(told);
        r.AddAll(n.generics, true);
        r.AddAll(n.declarations, true);
        n.VisitChildren(*this);
    }
    void Visit(VhdlProtectedTypeDefBody& n) override {
        Region r(told);
        r.AddAll(n.declarations, true);
        n.VisitChildren(*this);
    }
    void Visit(VhdlRecordTypeDef& n) override {
        Region r(told);
        r.AddAll(n.elements, true);
        n.VisitChildren(*this);
    }

private:
    static void entity(Region& r, VhdlEntityDecl& e, bool tell) {
        r.AddAll(e.generics, tell);
        r.AddAll(e.ports, tell);
        r.AddAll(e.declarations, tell);
    }

    VhdlPrimaryUnit* primary_;
};

} // namespace

unsigned VhdlReportDuplicateDeclarations(VhdlDesignUnit& unit) {
    VhdlPrimaryUnit* primary = nullptr;
    if (auto* arch = dynamic_cast<VhdlArchitectureBody*>(&unit)) {
        auto* ref = dynamic_cast<VhdlIdRef*>(arch->entityName);
        primary = ref && arch->library ? arch->library->GetPrimUnit(std::string(ref->text).c_str()) : nullptr;
    } else if (auto* body = dynamic_cast<VhdlPackageBody*>(&unit)) {
        primary =
            body->library && body->id ? body->library->GetPrimUnit(std::string(body->id->Name()).c_str()) : nullptr;
    }
    DuplicateCheck check(primary);
    check.TraverseNode(&unit);
    return check.told;
}

} // namespace hdl
