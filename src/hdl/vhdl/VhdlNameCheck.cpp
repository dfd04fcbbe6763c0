#include "hdl/vhdl/VhdlNameCheck.h"

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace hdl {
namespace {

bool sameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        char x = a[i] >= 'A' && a[i] <= 'Z' ? char(a[i] - 'A' + 'a') : a[i];
        char y = b[i] >= 'A' && b[i] <= 'Z' ? char(b[i] - 'A' + 'a') : b[i];
        if (x != y) return false;
    }
    return true;
}

bool oneOf(std::string_view name, std::initializer_list<std::string_view> names) {
    for (std::string_view n : names)
        if (sameName(name, n)) return true;
    return false;
}

// Operations that each type of its kind declares implicitly where the type is declared
// (file and access types, scalar and array types of 2008), and the signal a guarded
// block declares: no source declares them, so resolution does not find them.
bool implicitOperation(std::string_view name) {
    return oneOf(
        name, {"to_string",        "to_hstring",   "to_ostring",    "to_bstring",  "to_hex_string", "to_octal_string",
               "to_binary_string", "minimum",      "maximum",       "rising_edge", "falling_edge",  "deallocate",
               "file_open",        "file_close",   "read",          "write",       "flush",         "endfile",
               "file_rewind",      "file_seek",    "file_truncate", "file_state",  "file_mode",     "file_position",
               "file_size",        "file_canseek", "guard"});
}

// The attributes every type, object or named entity has.
bool predefinedAttribute(std::string_view name) {
    return oneOf(name, {"base",          "left",        "right",    "high",          "low",
                        "ascending",     "image",       "value",    "pos",           "val",
                        "succ",          "pred",        "leftof",   "rightof",       "range",
                        "reverse_range", "length",      "element",  "delayed",       "stable",
                        "quiet",         "transaction", "event",    "active",        "last_event",
                        "last_active",   "last_value",  "driving",  "driving_value", "simple_name",
                        "instance_name", "path_name",   "subtype",  "index",         "designated_subtype",
                        "reflect",       "converse",    "behavior", "structure",     "signal"});
}

VhdlIdDef* idOf(VhdlTreeNode* name) {
    if (auto* ref = dynamic_cast<VhdlIdRef*>(name)) return ref->resolved;
    if (auto* sel = dynamic_cast<VhdlSelectedName*>(name)) return idOf(sel->suffix);
    return nullptr;
}

// Whether every use clause of a unit found what it names: otherwise a name may come
// from what was not found (a library the run lacks), and only the use clauses
// themselves are judged.
class UsesFound : public VhdlVisitor {
public:
    explicit UsesFound(unsigned mode) : mode_(mode) {}
    bool found = true;
    // A context that was not found may have made anything visible; one that was found
    // makes visible what its own clauses name.
    void Visit(VhdlContextReference& n) override {
        for (VhdlTreeNode* name : n.names) {
            VhdlIdDef* id = idOf(name);
            auto* context = id ? dynamic_cast<VhdlContextDecl*>(id->declaration) : nullptr;
            if (!context) found = false;
            else if (seen_.insert(context).second) TraverseNode(context);
        }
    }
    void Visit(VhdlUseClause& n) override {
        for (VhdlTreeNode* name : n.names) {
            auto* sel = dynamic_cast<VhdlSelectedName*>(name);
            if (!sel) continue;
            bool all = dynamic_cast<VhdlAll*>(sel->suffix) != nullptr;
            VhdlTreeNode* named = all ? sel->prefix : sel->suffix;
            if (auto* inner = dynamic_cast<VhdlSelectedName*>(named)) named = inner->suffix;
            auto* ref = dynamic_cast<VhdlIdRef*>(named);
            if (!ref || !ref->resolved) found = false;
            // What an instantiated or interface package declares, analysis does not list.
            else if (all && ref->resolved->GetClassId() != VhdlLibraryId::kClassId &&
                     !dynamic_cast<VhdlPackageDecl*>(ref->resolved->declaration))
                found = false;
            // A package analysed for an earlier edition lacks what the later one adds.
            else if (auto* pkg = dynamic_cast<VhdlDesignUnit*>(ref->resolved->declaration);
                     pkg && pkg->languageMode < mode_)
                found = false;
        }
    }

private:
    unsigned mode_;
    std::unordered_set<const VhdlTreeNode*> seen_;
};

bool usesFound(VhdlTreeNode* unit, unsigned mode) {
    UsesFound v(mode);
    v.TraverseNode(unit);
    return v.found;
}

class NameCheck : public VhdlVisitor {
public:
    // `typeMarks`: type marks are judged; `names`: all other names are too. `own`: the
    // names of the unit and of the primary unit it continues, which name themselves in
    // expanded names.
    NameCheck(bool typeMarks, bool names, std::vector<std::string_view> own)
        : typeMarks_(typeMarks), names_(names && typeMarks), own_(std::move(own)) {}
    unsigned told = 0;

    void Visit(VhdlUseClause& n) override {
        for (VhdlTreeNode* name : n.names) usedItem(name);
    }
    // Library clauses declare; context references name units (told when missing).
    void Visit(VhdlLibraryClause&) override {}
    void Visit(VhdlContextReference&) override {}

    void Visit(VhdlObjectDecl& n) override {
        typeMark(n.subtype);
        VhdlVisitor::Visit(static_cast<VhdlDeclaration&>(n));
    }
    void Visit(VhdlInterfaceDecl& n) override {
        typeMark(n.subtype);
        VhdlVisitor::Visit(static_cast<VhdlDeclaration&>(n));
    }

    void Visit(VhdlIdRef& n) override {
        if (!names_ || n.resolved || done_.count(&n) || !judged(n.text)) return;
        tell<vhdl_msg::UndeclaredName>(n, std::string(n.text).c_str());
    }

    // Only a prefix that denotes a package or names the unit itself says what its
    // suffix must be; after an object the suffix is an element or method.
    void Visit(VhdlSelectedName& n) override {
        TraverseNode(n.prefix);
        auto* suffix = dynamic_cast<VhdlIdRef*>(n.suffix);
        if (!names_ || !suffix || suffix->resolved) return;
        VhdlIdDef* prefix = idOf(n.prefix);
        auto* pkg = prefix ? dynamic_cast<VhdlPackageDecl*>(prefix->declaration) : nullptr;
        if (!pkg || !pkg->generics.Empty() || implicitOperation(suffix->text) || vhdl_file::IsSkippedName(suffix->text))
            return;
        tell<vhdl_msg::NotDeclaredInPackage>(*suffix, std::string(suffix->text).c_str(),
                                             std::string(prefix->OrigName()).c_str());
    }

    void Visit(VhdlAttributeName& n) override {
        TraverseNode(n.prefix);
        TraverseNode(n.signature);
        TraverseNode(n.expression);
        VhdlIdRef* designator = n.designator;
        if (!names_ || !designator || designator->resolved || predefinedAttribute(designator->text) ||
            vhdl_file::IsSkippedName(designator->text))
            return;
        tell<vhdl_msg::UndeclaredAttribute>(*designator, std::string(designator->text).c_str());
    }

    // Formals name the interface at the other end; only actuals are judged here.
    void Visit(VhdlAssocElement& n) override { TraverseNode(n.actual); }
    // A named choice of an aggregate whose type resolution did not know may be a
    // record element.
    void Visit(VhdlElementAssoc& n) override {
        for (VhdlTreeNode* choice : n.choices) {
            auto* ref = dynamic_cast<VhdlIdRef*>(choice);
            if (!ref || ref->resolved) TraverseNode(choice);
        }
        TraverseNode(n.expression);
    }
    // A path through the design hierarchy, found at elaboration.
    void Visit(VhdlExternalName& n) override { TraverseNode(n.subtype); }

    // Units named by instantiations and bindings may be analysed later.
    void Visit(VhdlInstantiatedUnit&) override {}
    void Visit(VhdlComponentInstantiationStatement& n) override {
        for (VhdlTreeNode* a : n.genericMap) TraverseNode(a);
        for (VhdlTreeNode* a : n.portMap) TraverseNode(a);
    }
    void Visit(VhdlPackageInstantiationDecl& n) override {
        for (VhdlTreeNode* c : n.contextClause) TraverseNode(c);
        for (VhdlTreeNode* a : n.genericMap) TraverseNode(a);
    }
    void Visit(VhdlInterfacePackageDecl& n) override {
        for (VhdlTreeNode* a : n.genericMap) TraverseNode(a);
    }
    void Visit(VhdlBindingIndication& n) override {
        for (VhdlTreeNode* a : n.genericMap) TraverseNode(a);
        for (VhdlTreeNode* a : n.portMap) TraverseNode(a);
    }
    void Visit(VhdlComponentSpec&) override {}
    // A configuration names the labels and blocks of the units it configures.
    void Visit(VhdlConfigurationDecl& n) override {
        for (VhdlTreeNode* c : n.contextClause) TraverseNode(c);
    }
    // Entity names of an attribute spec may be labels of statements that
    // follow; group constituents likewise.
    void Visit(VhdlEntitySpec&) override {}
    void Visit(VhdlGroupDecl&) override {}

private:
    template <const MessageText& Text, class... Args>
    void tell(VhdlIdRef& ref, Args... args) {
        done_.insert(&ref);
        ColLineFile loc = ref.Linefile();
        Message::Tell<Text>(&loc, args...);
        ++told;
    }

    // A simple name judged undeclared when nothing resolved it: not an operator symbol,
    // a step of an external path, an implicit operation or the unit's own name.
    bool judged(std::string_view text) const {
        if (text.empty() || text[0] == '"' || text[0] == '\'' || text == "." || text == "^" || text == "@")
            return false;
        if (implicitOperation(text) || vhdl_file::IsSkippedName(text)) return false;
        for (std::string_view own : own_)
            if (sameName(own, text)) return false;
        return true;
    }

    // use lib.pkg.item: the item must be a declaration of the package.
    void usedItem(VhdlTreeNode* name) {
        auto* sel = dynamic_cast<VhdlSelectedName*>(name);
        auto* item = sel ? dynamic_cast<VhdlIdRef*>(sel->suffix) : nullptr;
        auto* pkgSel = sel ? dynamic_cast<VhdlSelectedName*>(sel->prefix) : nullptr;
        auto* pkgRef = pkgSel ? dynamic_cast<VhdlIdRef*>(pkgSel->suffix) : nullptr;
        if (!item || item->resolved || !pkgRef || !pkgRef->resolved || vhdl_file::IsSkippedName(item->text)) return;
        if (!dynamic_cast<VhdlPackageDecl*>(pkgRef->resolved->declaration)) return;
        tell<vhdl_msg::NotDeclaredInPackage>(*item, std::string(item->text).c_str(), std::string(pkgRef->text).c_str());
    }

    // The type mark of `t`, `t(range)`, `resolved t`.
    void typeMark(VhdlTreeNode* subtype) {
        if (!typeMarks_) return;
        if (auto* ind = dynamic_cast<VhdlExplicitSubtypeIndication*>(subtype)) subtype = ind->typeMark;
        if (auto* idx = dynamic_cast<VhdlIndexedName*>(subtype)) subtype = idx->prefix;
        auto* ref = dynamic_cast<VhdlIdRef*>(subtype);
        if (!ref || ref->resolved || done_.count(ref) || vhdl_file::IsSkippedName(ref->text)) return;
        tell<vhdl_msg::UndeclaredType>(*ref, std::string(ref->text).c_str());
    }

    bool typeMarks_;
    bool names_;
    std::vector<std::string_view> own_;
    std::unordered_set<const VhdlTreeNode*> done_;
};

} // namespace

unsigned VhdlReportUndeclaredNames(VhdlDesignUnit& unit, bool parsedClean) {
    // An architecture sees its entity's clauses, a body its package's.
    VhdlPrimaryUnit* primary = nullptr;
    std::vector<std::string_view> own;
    if (unit.id) own.push_back(unit.id->OrigName());
    if (auto* arch = dynamic_cast<VhdlArchitectureBody*>(&unit)) {
        auto* ref = dynamic_cast<VhdlIdRef*>(arch->entityName);
        primary = ref && arch->library ? arch->library->GetPrimUnit(std::string(ref->text).c_str()) : nullptr;
        if (!primary) return 0;
    } else if (auto* body = dynamic_cast<VhdlPackageBody*>(&unit)) {
        primary =
            body->library && body->id ? body->library->GetPrimUnit(std::string(body->id->Name()).c_str()) : nullptr;
        if (!primary) return 0;
    }
    if (primary && primary->id) own.push_back(primary->id->OrigName());
    // Every unit sees std.standard; without it, or with one of an earlier edition, no
    // name can be judged. The standard sources the run reads are of 2008 at most (those
    // of 2019 add to std.standard and std.env), so units of 2019 are not judged.
    VhdlLibrary* std = vhdl_file::GetLibrary("std");
    VhdlPrimaryUnit* standard = std ? std->GetPrimUnit("standard") : nullptr;
    unsigned mode = unit.languageMode;
    bool judged = standard && standard->languageMode >= mode && mode <= VHDL_2008 && usesFound(&unit, mode) &&
                  (!primary || usesFound(primary, mode));
    NameCheck check(judged, parsedClean, std::move(own));
    check.TraverseNode(&unit);
    return check.told;
}

} // namespace hdl
