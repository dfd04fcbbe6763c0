#include "hdl/sv/VeriPrettyPrinter.h"

#include <cctype>
#include <sstream>

#include "hdl/sv/VeriLexer.h"
#include "hdl/sv/VeriTokens.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {

namespace {

bool plainName(std::string_view n) {
    if (n.empty()) return false;
    char c = n[0];
    if (!(std::isalpha(static_cast<unsigned char>(c)) || c == '_' || c == '$')) return false;
    for (char ch : n)
        if (!(std::isalnum(static_cast<unsigned char>(ch)) || ch == '_' || ch == '$')) return false;
    return true;
}

// Binary operators print fully parenthesised so that the text re-parses to the same
// tree whatever the precedence; statements and items go one per line.
class Printer : public VeriVisitor {
public:
    explicit Printer(std::ostream& o) : out(o) {}

    void name(std::string_view n) {
        // Names that are keywords of the newest revision (read under an older one) escape.
        if (plainName(n) && veriKeywordKind(n, VERI_KW_SV2012) == VT_IDENTIFIER) out << n;
        else out << '\\' << n << ' ';
    }
    void tok(unsigned k) { out << tokenText(int(k)); }
    void node(VeriTreeNode* n) {
        if (n) n->Accept(*this);
    }
    template <typename T>
    void list(const ArenaArray<T*>& nodes, const char* sep = ", ") {
        bool first = true;
        for (T* n : nodes) {
            if (!first) out << sep;
            first = false;
            node(n);
        }
    }
    void line() {
        out << '\n';
        for (unsigned i = 0; i < indent; ++i) out << "  ";
    }
    void dims(VeriRange* r) {
        for (; r; r = r->next) {
            out << '[';
            node(r->left);
            if (r->partSelect) tok(r->partSelect);
            node(r->right);
            out << ']';
        }
    }
    void items(const ArenaArray<VeriModuleItem*>& list) {
        for (VeriModuleItem* item : list) {
            line();
            node(item);
        }
    }
    // Declarations then statements, one level in, and the line of the closing keyword.
    void body(const ArenaArray<VeriModuleItem*>& decls, const ArenaArray<VeriStatement*>& stmts) {
        ++indent;
        items(decls);
        for (VeriStatement* s : stmts) {
            line();
            node(s);
        }
        --indent;
        line();
    }
    void stmtBody(VeriStatement* s) {
        if (!s) {
            out << ';';
            return;
        }
        ++indent;
        line();
        node(s);
        --indent;
    }

    // ---- expressions
    void Visit(VeriIdRef& n) override { name(n.name); }
    void Visit(VeriIndexedId& n) override {
        node(n.prefix);
        if (auto* r = dynamic_cast<VeriRange*>(n.index)) {
            VeriRange* next = r->next;
            r->next = nullptr;
            dims(r);
            r->next = next;
        } else {
            out << '[';
            node(n.index);
            out << ']';
        }
    }
    void Visit(VeriIndexedMemoryId& n) override {
        node(n.prefix);
        for (VeriExpression* e : n.indexes) {
            if (auto* r = dynamic_cast<VeriRange*>(e)) {
                VeriRange* next = r->next;
                r->next = nullptr;
                dims(r);
                r->next = next;
            }
        }
    }
    void Visit(VeriSelectedName& n) override {
        node(n.prefix);
        out << '.';
        name(n.suffix);
    }
    void Visit(VeriScopeName& n) override {
        node(n.prefix);
        if (!n.paramValues.Empty()) {
            out << " #(";
            list(n.paramValues);
            out << ')';
        }
        out << "::";
        if (n.name.empty()) out << '*';
        else name(n.name);
    }
    void Visit(VeriIntVal& n) override { out << n.value; }
    void Visit(VeriRealVal& n) override {
        std::ostringstream s;
        s.precision(17);
        s << n.value;
        std::string t = s.str();
        if (t.find_first_of(".eE") == std::string::npos) t += ".0";
        out << t;
    }
    void Visit(VeriConstVal& n) override { out << n.text; }
    void Visit(VeriTimeLiteral& n) override { out << n.text; }
    void Visit(VeriDollar&) override { out << '$'; }
    void Visit(VeriNull&) override { out << "null"; }
    void Visit(VeriKeyword& n) override { tok(n.token); }
    void Visit(VeriUnaryOperator& n) override {
        out << '(';
        if (n.postfix) {
            node(n.arg);
            tok(n.oper);
        } else {
            tok(n.oper);
            node(n.arg);
        }
        out << ')';
    }
    void Visit(VeriBinaryOperator& n) override {
        if (n.oper == VT_COLON) { // keyed pattern item
            node(n.left);
            out << ": ";
            node(n.right);
            return;
        }
        out << '(';
        node(n.left);
        out << ' ';
        tok(n.oper);
        out << ' ';
        if (n.oper == VT_INSIDE || n.oper == VT_DIST) {
            out << '{';
            if (auto* c = dynamic_cast<VeriConcat*>(n.right)) list(c->exprs);
            out << '}';
        } else {
            node(n.right);
        }
        out << ')';
    }
    void Visit(VeriQuestionColon& n) override {
        out << '(';
        node(n.cond);
        out << " ? ";
        node(n.thenExpr);
        out << " : ";
        node(n.elseExpr);
        out << ')';
    }
    void Visit(VeriConcat& n) override {
        out << '{';
        list(n.exprs);
        out << '}';
    }
    void Visit(VeriMultiConcat& n) override {
        out << '{';
        node(n.repeat);
        out << '{';
        list(n.exprs);
        out << "}}";
    }
    void Visit(VeriStreamingConcat& n) override {
        out << '{';
        tok(n.oper);
        out << ' ';
        node(n.sliceSize);
        out << '{';
        list(n.exprs);
        out << "}}";
    }
    void Visit(VeriFunctionCall& n) override {
        node(n.func);
        out << '(';
        list(n.args);
        out << ')';
        if (n.with && n.with->GetClassId() == ID_VERIINLINECONSTRAINT) {
            out << " with ";
            node(n.with);
        } else if (n.with) {
            out << " with (";
            node(n.with);
            out << ')';
        }
    }
    void Visit(VeriSystemFunctionCall& n) override {
        out << n.name;
        if (!n.args.Empty()) {
            out << '(';
            list(n.args);
            out << ')';
        }
    }
    void Visit(VeriMinTypMaxExpr& n) override {
        out << '(';
        node(n.minExpr);
        out << ':';
        node(n.typExpr);
        out << ':';
        node(n.maxExpr);
        out << ')';
    }
    void Visit(VeriAssignmentPattern& n) override {
        node(n.type);
        out << "'{";
        list(n.exprs);
        out << '}';
    }
    void Visit(VeriMultiAssignmentPattern& n) override {
        node(n.type);
        out << "'{";
        node(n.repeat);
        out << '{';
        list(n.exprs);
        out << "}}";
    }
    void Visit(VeriCast& n) override {
        node(n.target);
        out << "'(";
        node(n.expr);
        out << ')';
    }
    void Visit(VeriNew& n) override {
        out << "new";
        if (n.size) {
            out << '[';
            node(n.size);
            out << ']';
        }
        out << '(';
        list(n.args);
        out << ')';
    }
    void Visit(VeriPortConnect& n) override {
        out << '.';
        name(n.portName);
        if (n.implicit) return;
        out << '(';
        node(n.connection);
        out << ')';
    }
    void Visit(VeriPortOpen&) override {}
    void Visit(VeriDotStar&) override { out << ".*"; }
    void Visit(VeriEventExpression& n) override {
        if (n.edge) {
            tok(n.edge);
            out << ' ';
        }
        node(n.expr);
        if (n.iffCond) {
            out << " iff ";
            node(n.iffCond);
        }
    }
    void Visit(VeriRange& n) override { dims(&n); }
    void Visit(VeriTypeOperator& n) override {
        out << "type(";
        node(n.arg);
        out << ')';
    }
    void Visit(VeriTaggedUnion& n) override {
        out << "tagged ";
        name(n.member);
        if (n.expr) {
            out << ' ';
            node(n.expr);
        }
    }
    void Visit(VeriDataType& n) override {
        if (n.type) {
            tok(n.type);
            out << ' ';
        }
        if (n.signing) {
            tok(n.signing);
            out << ' ';
        }
        dims(n.dimensions);
        if (n.dimensions) out << ' ';
    }
    void Visit(VeriTypeRef& n) override {
        if (n.virtualInterface) out << "virtual ";
        node(n.typeName);
        if (!n.paramValues.Empty()) {
            out << " #(";
            list(n.paramValues);
            out << ')';
        }
        out << ' ';
        dims(n.dimensions);
        if (n.dimensions) out << ' ';
    }
    void Visit(VeriStructUnion& n) override {
        tok(n.type);
        if (n.tagged) out << " tagged";
        if (n.packed) out << " packed";
        if (n.signing) {
            out << ' ';
            tok(n.signing);
        }
        out << " {";
        bool header = inHeader;
        inHeader = false;
        for (VeriDataDecl* m : n.members) {
            out << ' ';
            node(m);
        }
        inHeader = header;
        out << " } ";
        dims(n.dimensions);
        if (n.dimensions) out << ' ';
    }
    void Visit(VeriEnum& n) override {
        out << "enum ";
        node(n.baseType);
        out << '{';
        bool first = true;
        for (VeriParamId* lit : n.literals) {
            if (!first) out << ", ";
            first = false;
            name(lit->name);
            dims(lit->dimensions);
            if (lit->initialValue) {
                out << " = ";
                node(lit->initialValue);
            }
        }
        out << "} ";
        dims(n.dimensions);
        if (n.dimensions) out << ' ';
    }
    // ---- constraints
    // One item of a constraint block, with its ';' where it takes one.
    void constraintItem(VeriExpression* e) {
        auto* u = dynamic_cast<VeriUnaryOperator*>(e);
        auto* b = dynamic_cast<VeriBinaryOperator*>(e);
        if (u && (u->oper == VT_SOFT || u->oper == VT_UNIQUE || u->oper == VT_DISABLE)) {
            out << (u->oper == VT_SOFT ? "soft " : u->oper == VT_UNIQUE ? "unique " : "disable soft ");
            node(u->arg);
            out << ';';
        } else if (b && b->oper == VT_ARROW) {
            node(b->left);
            out << " -> ";
            constraintItem(b->right);
        } else if (e && (e->GetClassId() == ID_VERICONSTRAINTSET || e->GetClassId() == ID_VERIIFOPERATOR ||
                         e->GetClassId() == ID_VERIFOREACHOPERATOR || e->GetClassId() == ID_VERISOLVEBEFORE)) {
            node(e);
        } else {
            node(e);
            out << ';';
        }
    }
    void constraintBlock(const ArenaArray<VeriExpression*>& items) {
        out << '{';
        ++indent;
        for (VeriExpression* e : items) {
            line();
            constraintItem(e);
        }
        --indent;
        line();
        out << '}';
    }
    void Visit(VeriConstraintSet& n) override { constraintBlock(n.constraints); }
    void Visit(VeriIfOperator& n) override {
        out << "if (";
        node(n.cond);
        out << ") ";
        constraintItem(n.thenExpr);
        if (n.elseExpr) {
            out << " else ";
            constraintItem(n.elseExpr);
        }
    }
    // `[` and the loop variables of a foreach (a skipped position stays empty).
    void loopVars(const ArenaArray<VeriIdDef*>& vars) {
        out << '[';
        bool first = true;
        for (VeriIdDef* v : vars) {
            if (!first) out << ", ";
            first = false;
            if (v) name(v->name);
        }
    }
    void Visit(VeriForeachOperator& n) override {
        out << "foreach (";
        node(n.array);
        loopVars(n.loopVars);
        out << "]) ";
        constraintItem(n.constraint);
    }
    void Visit(VeriSolveBefore& n) override {
        out << "solve ";
        list(n.solved);
        out << " before ";
        list(n.before);
        out << ';';
    }
    void Visit(VeriDistOperator& n) override {
        node(n.expr);
        out << ' ';
        tok(n.oper);
        out << ' ';
        node(n.weight);
    }
    void Visit(VeriInlineConstraint& n) override {
        if (n.restricted) {
            out << '(';
            list(n.names);
            out << ") ";
        }
        constraintBlock(n.constraints);
    }

    void Visit(VeriStrength& n) override {
        out << '(';
        tok(n.lval);
        if (n.rval) {
            out << ", ";
            tok(n.rval);
        }
        out << ") ";
    }
    void Visit(VeriDelayOrEventControl& n) override {
        if (!n.delays.Empty() || (n.events.Empty() && !n.implicitEvent)) {
            out << (n.cycleDelay ? "##(" : "#(");
            list(n.delays);
            out << ") ";
            return;
        }
        if (n.repeat) {
            out << "repeat (";
            node(n.repeat);
            out << ") ";
        }
        if (n.implicitEvent) {
            out << "@(*) ";
            return;
        }
        out << "@(";
        list(n.events, " or ");
        out << ") ";
    }

    // ---- identifiers in declarations
    void Visit(VeriVariable& n) override {
        name(n.name);
        dims(n.dimensions);
        if (n.initialValue) {
            out << " = ";
            node(n.initialValue);
        }
    }
    void Visit(VeriParamId& n) override {
        name(n.name);
        dims(n.dimensions);
        if (n.initialValue) {
            out << " = ";
            node(n.initialValue);
        }
    }
    void Visit(VeriIdDef& n) override { name(n.name); }
    void Visit(VeriTypeId& n) override {
        name(n.name);
        dims(n.dimensions);
    }
    void Visit(VeriInstId& n) override {
        // Gate and UDP instances may be unnamed.
        if (!n.name.empty()) {
            name(n.name);
            dims(n.dimensions);
            out << ' ';
        }
        out << '(';
        list(n.portConnects);
        out << ')';
    }
    void Visit(VeriPrototypeId& n) override {
        if (n.dir) {
            tok(n.dir);
            out << ' ';
        }
        if (n.expr) {
            out << '.';
            name(n.name);
            out << '(';
            node(n.expr);
            out << ')';
        } else {
            name(n.name);
        }
    }

    // ---- items
    void Visit(VeriAnsiPortDecl& n) override {
        if (n.dir) {
            tok(n.dir);
            out << ' ';
        }
        if (n.kind) {
            tok(n.kind);
            out << ' ';
        }
        if (n.interfacePort && !n.dataType) out << "interface";
        else node(n.dataType);
        if (n.interfacePort && !n.modport.empty()) {
            out << '.';
            name(n.modport);
        }
        out << ' ';
        list(n.ids);
    }
    void Visit(VeriNetRegAssign& n) override {
        node(n.lval);
        out << " = ";
        node(n.rval);
    }
    void Visit(VeriDefParamAssign& n) override {
        node(n.lval);
        out << " = ";
        node(n.rval);
    }
    void qualifiers(const VeriModuleItem& n) {
        for (unsigned q : n.GetQualifiers()) {
            if (q == VT_VAR || q == VT_CONST) continue; // printed as the kind
            tok(q);
            out << ' ';
        }
    }
    void Visit(VeriDataDecl& n) override {
        qualifiers(n);
        if (n.dir) {
            tok(n.dir);
            out << ' ';
        }
        if (n.kind == VT_TYPEDEF) {
            out << "typedef ";
            node(n.dataType);
            out << ' ';
            list(n.ids);
            out << ';';
            return;
        }
        if (n.kind && n.kind != VT_REG) {
            tok(n.kind);
            out << ' ';
        }
        bool isType = !n.ids.Empty() && n.ids[0]->IsType();
        if (isType) out << "type ";
        node(n.dataType);
        if (!n.dataType && n.kind == VT_REG) out << "reg ";
        list(n.ids);
        if (!inHeader) out << ';';
    }
    void Visit(VeriNetDecl& n) override {
        if (n.dir) {
            tok(n.dir);
            out << ' ';
        }
        tok(n.kind);
        out << ' ';
        node(n.strength);
        if (n.vectoring) {
            tok(n.vectoring);
            out << ' ';
        }
        node(n.dataType);
        if (!n.delays.Empty()) {
            out << "#(";
            list(n.delays);
            out << ") ";
        }
        list(n.ids);
        out << ';';
    }
    void Visit(VeriModuleInstantiation& n) override {
        node(n.moduleName);
        out << ' ';
        node(n.strength);
        if (!n.paramValues.Empty()) {
            out << "#(";
            list(n.paramValues);
            out << ") ";
        }
        list(n.instances);
        out << ';';
    }
    void Visit(VeriGateInstantiation& n) override {
        tok(n.gate);
        out << ' ';
        node(n.strength);
        if (!n.delays.Empty()) {
            out << "#(";
            list(n.delays);
            out << ") ";
        }
        list(n.instances);
        out << ';';
    }
    void Visit(VeriContinuousAssign& n) override {
        out << "assign ";
        node(n.strength);
        node(n.delay);
        list(n.assigns);
        out << ';';
    }
    void Visit(VeriAlwaysConstruct& n) override {
        tok(n.kind);
        stmtBody(n.stmt);
    }
    void Visit(VeriInitialConstruct& n) override {
        out << (n.isFinal ? "final" : "initial");
        stmtBody(n.stmt);
    }
    void Visit(VeriGenerateConstruct& n) override {
        out << "generate";
        ++indent;
        items(n.items);
        --indent;
        line();
        out << "endgenerate";
    }
    void generateItem(VeriModuleItem* item) {
        ++indent;
        line();
        if (item) node(item);
        else out << ';';
        --indent;
    }
    void Visit(VeriGenerateFor& n) override {
        out << "for (";
        if (n.genvarDecl) out << "genvar ";
        inFor = true;
        node(n.init);
        out << "; ";
        node(n.cond);
        out << "; ";
        node(n.rep);
        inFor = false;
        out << ')';
        generateItem(n.item);
    }
    void Visit(VeriGenerateConditional& n) override {
        out << "if (";
        node(n.cond);
        out << ')';
        generateItem(n.thenItem);
        if (n.elseItem) {
            line();
            out << "else";
            generateItem(n.elseItem);
        }
    }
    void Visit(VeriGenerateCaseItem& n) override {
        if (n.conditions.Empty()) out << "default";
        else list(n.conditions);
        out << ':';
        generateItem(n.item);
    }
    void Visit(VeriGenerateCase& n) override {
        out << "case (";
        node(n.cond);
        out << ')';
        ++indent;
        for (VeriGenerateCaseItem* item : n.items) {
            line();
            node(item);
        }
        --indent;
        line();
        out << "endcase";
    }
    void Visit(VeriGenerateBlock& n) override {
        out << "begin";
        if (n.blockId) {
            out << " : ";
            name(n.blockId->name);
        }
        ++indent;
        items(n.items);
        --indent;
        line();
        out << "end";
    }
    void Visit(VeriFunctionDecl& n) override {
        bool task = n.GetClassId() == ID_VERITASKDECL;
        qualifiers(n);
        if (n.dpi) out << "import \"DPI-C\" ";
        out << (task ? "task " : "function ");
        if (n.lifetime) {
            tok(n.lifetime);
            out << ' ';
        }
        node(n.returnType);
        if (n.prefix) {
            node(n.prefix);
            out << "::";
        }
        if (n.id) name(n.id->name);
        out << '(';
        list(n.ports);
        out << ");";
        if (n.dpi || n.prototype) return;
        body(n.decls, n.stmts);
        out << (task ? "endtask" : "endfunction");
    }
    void Visit(VeriDefParam& n) override {
        out << "defparam ";
        list(n.assigns);
        out << ';';
    }
    void Visit(VeriModportDecl& n) override {
        if (n.id) name(n.id->name);
        out << '(';
        list(n.ports);
        out << ')';
    }
    void Visit(VeriModport& n) override {
        out << "modport ";
        list(n.decls);
        out << ';';
    }
    void Visit(VeriImportDecl& n) override {
        out << "import ";
        list(n.items);
        out << ';';
    }
    void Visit(VeriExportDecl& n) override {
        out << "export ";
        if (n.items.Empty()) out << "*::*";
        list(n.items);
        out << ';';
    }
    void skipped(VeriSkippedItem& n, const char* open, const char* close) {
        out << open;
        if (n.id) {
            out << ' ';
            name(n.id->name);
        }
        out << "; " << close;
    }
    void Visit(VeriClass& n) override {
        qualifiers(n);
        out << "class ";
        if (n.id) name(n.id->name);
        if (!n.extends.Empty()) {
            out << " extends ";
            list(n.extends);
        }
        if (!n.implements.Empty()) {
            out << " implements ";
            list(n.implements);
        }
        out << ';';
        ++indent;
        items(n.items);
        --indent;
        line();
        out << "endclass";
    }
    void Visit(VeriCovergroup& n) override { skipped(n, "covergroup", "endgroup"); }
    void Visit(VeriPropertyDecl& n) override { skipped(n, "property", "endproperty"); }
    void Visit(VeriSequenceDecl& n) override { skipped(n, "sequence", "endsequence"); }
    void Visit(VeriClockingDecl& n) override { skipped(n, "clocking", "endclocking"); }
    void Visit(VeriConstraintDecl& n) override {
        qualifiers(n);
        out << "constraint ";
        if (n.prefix) {
            node(n.prefix);
            out << "::";
        }
        if (n.id) name(n.id->name);
        if (n.prototype) {
            out << ';';
            return;
        }
        out << ' ';
        constraintBlock(n.constraints);
    }
    void Visit(VeriLetDecl& n) override {
        out << "let ";
        if (n.id) name(n.id->name);
        out << " = 0;";
    }
    void Visit(VeriSpecifyBlock&) override { out << "specify endspecify"; }
    void Visit(VeriTable&) override { out << "table endtable"; }
    void Visit(VeriBindDirective& n) override {
        out << "bind ";
        node(n.target);
        if (!n.targetInstances.Empty()) {
            out << " : ";
            list(n.targetInstances);
        }
        out << ' ';
        node(n.instantiation);
    }
    void Visit(VeriNetAlias& n) override {
        out << "alias ";
        list(n.members, " = ");
        out << ';';
    }
    void Visit(VeriTimeUnit& n) override {
        tok(n.kind);
        out << ' ' << n.literal << ';';
    }

    // ---- units
    const char* unitKeyword(const VeriModule& m) {
        if (m.IsInterface()) return "interface";
        if (m.IsProgram()) return "program";
        if (m.IsPackage()) return "package";
        if (m.IsPrimitive()) return "primitive";
        if (m.IsChecker()) return "checker";
        return (m.flags & VERI_UNIT_MACROMODULE) ? "macromodule" : "module";
    }
    void Visit(VeriModule& n) override {
        const char* kw = unitKeyword(n);
        if (n.IsRootModule()) { // $unit: the items alone
            for (VeriModuleItem* item : n.items) {
                node(item);
                line();
            }
            return;
        }
        out << kw << ' ';
        name(n.Name());
        if (!n.parameters.Empty()) {
            out << " #(";
            inHeader = true;
            list(n.parameters);
            inHeader = false;
            out << ')';
        }
        if (!n.ports.Empty() || n.ansiHeader) {
            out << " (";
            list(n.ports);
            out << ')';
        }
        out << ';';
        ++indent;
        items(n.items);
        --indent;
        line();
        out << "end" << (n.flags & VERI_UNIT_MACROMODULE ? "module" : kw);
        line();
    }
    void Visit(VeriConfiguration& n) override {
        out << "config ";
        name(n.Name());
        out << ";";
        if (!n.designCells.Empty()) {
            out << " design ";
            for (VeriExpression* e : n.designCells) {
                configCell(e);
                out << ' ';
            }
            out << ';';
        }
        ++indent;
        items(n.items);
        --indent;
        line();
        out << "endconfig";
        line();
    }
    void configCell(VeriExpression* e) {
        if (auto* sc = dynamic_cast<VeriScopeName*>(e)) {
            node(sc->prefix);
            out << '.';
            name(sc->name);
        } else {
            node(e);
        }
    }
    void configRule(const char* keyword, VeriConfigRule& n) {
        out << keyword;
        if (n.target) out << ' ';
        if (dynamic_cast<VeriCellConfig*>(&n)) configCell(n.target);
        else node(n.target);
        if (n.hasLiblist) {
            out << " liblist";
            for (VeriExpression* l : n.liblist) {
                out << ' ';
                node(l);
            }
        }
        node(n.use);
        out << ';';
    }
    void Visit(VeriDefaultConfig& n) override { configRule("default", n); }
    void Visit(VeriInstanceConfig& n) override { configRule("instance", n); }
    void Visit(VeriCellConfig& n) override { configRule("cell", n); }
    void Visit(VeriUseClause& n) override {
        out << " use";
        if (n.cell) {
            out << ' ';
            configCell(n.cell);
        }
        if (!n.paramValues.Empty()) {
            out << " #(";
            list(n.paramValues);
            out << ')';
        }
        if (n.isConfig) out << " : config";
    }

    // ---- statements
    void label(VeriStatement& s) {
        if (VeriLabelId* label = s.GetLabel()) {
            name(label->name);
            out << ": ";
        }
    }
    void Visit(VeriSeqBlock& n) override {
        label(n);
        bool par = n.GetClassId() == ID_VERIPARBLOCK;
        out << (par ? "fork" : "begin");
        if (n.blockId) {
            out << " : ";
            name(n.blockId->name);
        }
        body(n.decls, n.stmts);
        if (par) tok(static_cast<VeriParBlock&>(n).joinKind);
        else out << "end";
    }
    void assignment(VeriStatement& n, VeriExpression* lval, const char* op, VeriDelayOrEventControl* control,
                    VeriExpression* rval) {
        label(n);
        node(lval);
        out << ' ' << op << ' ';
        node(control);
        node(rval);
    }
    void Visit(VeriBlockingAssign& n) override {
        if (n.oper == VT_INC || n.oper == VT_DEC) {
            label(n);
            node(n.lval);
            tok(n.oper);
        } else {
            assignment(n, n.lval, tokenText(int(n.oper)), n.control, n.rval);
        }
        if (!inFor) out << ';';
    }
    void Visit(VeriNonBlockingAssign& n) override {
        assignment(n, n.lval, "<=", n.control, n.rval);
        out << ';';
    }
    void Visit(VeriConditionalStatement& n) override {
        label(n);
        if (n.qualifier) {
            tok(n.qualifier);
            out << ' ';
        }
        out << "if (";
        node(n.cond);
        out << ')';
        stmtBody(n.thenStmt);
        if (n.elseStmt) {
            line();
            out << "else";
            stmtBody(n.elseStmt);
        }
    }
    void Visit(VeriCaseItem& n) override {
        if (n.conditions.Empty()) out << "default";
        else list(n.conditions);
        out << ':';
        stmtBody(n.stmt);
    }
    void Visit(VeriCaseStatement& n) override {
        label(n);
        if (n.qualifier) {
            tok(n.qualifier);
            out << ' ';
        }
        tok(n.caseType);
        if (n.cond) {
            out << " (";
            node(n.cond);
            out << ')';
        }
        if (n.inside) out << " inside";
        if (n.matches) out << " matches";
        ++indent;
        for (VeriCaseItem* item : n.items) {
            line();
            node(item);
        }
        --indent;
        line();
        out << "endcase";
    }
    void Visit(VeriFor& n) override {
        label(n);
        out << "for (";
        bool first = true;
        inFor = true;
        for (VeriModuleItem* init : n.inits) {
            if (!first) out << ", ";
            first = false;
            if (auto* d = dynamic_cast<VeriDataDecl*>(init)) {
                node(d->dataType);
                list(d->ids);
            } else {
                node(init);
            }
        }
        out << "; ";
        node(n.cond);
        out << "; ";
        list(n.reps);
        inFor = false;
        out << ')';
        stmtBody(n.stmt);
    }
    void Visit(VeriWhile& n) override {
        label(n);
        out << "while (";
        node(n.cond);
        out << ')';
        stmtBody(n.stmt);
    }
    void Visit(VeriDoWhile& n) override {
        label(n);
        out << "do";
        stmtBody(n.stmt);
        line();
        out << "while (";
        node(n.cond);
        out << ");";
    }
    void Visit(VeriRepeat& n) override {
        label(n);
        out << "repeat (";
        node(n.count);
        out << ')';
        stmtBody(n.stmt);
    }
    void Visit(VeriForever& n) override {
        label(n);
        out << "forever";
        stmtBody(n.stmt);
    }
    void Visit(VeriForeach& n) override {
        label(n);
        out << "foreach (";
        node(n.array);
        loopVars(n.loopVars);
        out << "])";
        stmtBody(n.stmt);
    }
    // ---- randsequence
    void Visit(VeriRandsequence& n) override {
        label(n);
        out << "randsequence (";
        node(n.start);
        out << ')';
        ++indent;
        for (VeriProduction* p : n.productions) {
            line();
            node(p);
        }
        --indent;
        line();
        out << "endsequence";
    }
    void Visit(VeriProduction& n) override {
        if (n.dataType) {
            node(n.dataType);
            out << ' ';
        }
        if (n.id) name(n.id->name);
        if (!n.ports.Empty()) {
            out << '(';
            list(n.ports);
            out << ')';
        }
        out << " :";
        bool first = true;
        for (VeriProductionItem* rule : n.rules) {
            if (!first) out << " |";
            first = false;
            node(rule);
        }
        out << ';';
    }
    void Visit(VeriProductionItem& n) override {
        if (n.randJoin) {
            out << " rand join";
            if (n.joinExpr) {
                out << " (";
                node(n.joinExpr);
                out << ')';
            }
        }
        for (VeriStatement* s : n.prods) {
            out << ' ';
            production(s);
        }
        if (n.weight) {
            out << " := ";
            node(n.weight);
        }
        if (n.codeBlock) {
            out << ' ';
            node(n.codeBlock);
        }
    }
    // An item of a rule: a production call, a code block, or an if, repeat or case of calls.
    void production(VeriStatement* s) {
        if (auto* call = dynamic_cast<VeriTaskEnable*>(s)) {
            node(call->call);
        } else if (auto* c = dynamic_cast<VeriConditionalStatement*>(s)) {
            out << "if (";
            node(c->cond);
            out << ") ";
            production(c->thenStmt);
            if (c->elseStmt) {
                out << " else ";
                production(c->elseStmt);
            }
        } else if (auto* r = dynamic_cast<VeriRepeat*>(s)) {
            out << "repeat (";
            node(r->count);
            out << ") ";
            production(r->stmt);
        } else if (auto* k = dynamic_cast<VeriCaseStatement*>(s)) {
            out << "case (";
            node(k->cond);
            out << ')';
            ++indent;
            for (VeriCaseItem* item : k->items) {
                if (!item) continue;
                line();
                if (item->conditions.Empty()) out << "default";
                else list(item->conditions);
                out << ": ";
                production(item->stmt);
                out << ';';
            }
            --indent;
            line();
            out << "endcase";
        } else {
            node(s);
        }
    }
    void Visit(VeriCodeBlock& n) override {
        out << '{';
        body(n.decls, n.stmts);
        out << '}';
    }
    void Visit(VeriEventControlStatement& n) override {
        label(n);
        node(n.control);
        stmtBody(n.stmt);
    }
    void Visit(VeriDelayControlStatement& n) override {
        label(n);
        node(n.control);
        stmtBody(n.stmt);
    }
    void Visit(VeriTaskEnable& n) override {
        label(n);
        node(n.call);
        if (!inFor) out << ';';
    }
    void Visit(VeriSystemTaskEnable& n) override {
        label(n);
        out << n.name;
        if (!n.args.Empty()) {
            out << '(';
            list(n.args);
            out << ')';
        }
        out << ';';
    }
    void Visit(VeriJumpStatement& n) override {
        label(n);
        tok(n.kind);
        if (n.expr) {
            out << ' ';
            node(n.expr);
        }
        out << ';';
    }
    void Visit(VeriNullStatement& n) override {
        label(n);
        out << ';';
    }
    void Visit(VeriWait& n) override {
        label(n);
        if (n.fork || !n.cond) {
            out << "wait fork;";
            return;
        }
        out << "wait (";
        node(n.cond);
        out << ')';
        stmtBody(n.stmt);
    }
    void Visit(VeriDisable& n) override {
        label(n);
        out << "disable ";
        if (n.target) node(n.target);
        else out << "fork";
        out << ';';
    }
    void Visit(VeriEventTrigger& n) override {
        label(n);
        out << "-> ";
        node(n.control);
        node(n.event);
        out << ';';
    }
    void Visit(VeriAssign& n) override {
        label(n);
        out << (n.GetClassId() == ID_VERIFORCE ? "force " : "assign ");
        node(n.assign);
        out << ';';
    }
    void Visit(VeriDeAssign& n) override {
        label(n);
        out << (n.GetClassId() == ID_VERIRELEASE ? "release " : "deassign ");
        node(n.lval);
        out << ';';
    }
    void Visit(VeriAssertion& n) override {
        label(n);
        tok(n.kind);
        if (n.concurrent) out << " property (1)";
        else {
            out << " (";
            node(n.expr);
            out << ')';
        }
        if (n.thenStmt) stmtBody(n.thenStmt);
        else if (!n.elseStmt) out << ';';
        if (n.elseStmt) {
            line();
            out << "else";
            stmtBody(n.elseStmt);
        }
    }

    std::ostream& out;
    unsigned indent = 0;
    bool inHeader = false;
    bool inFor = false;
};

} // namespace

void VeriPrettyPrinter::print(VeriTreeNode& node, std::ostream& out) {
    Printer p(out);
    node.Accept(p);
    out << '\n';
}

std::string VeriPrettyPrinter::toString(VeriTreeNode& node) {
    std::ostringstream s;
    print(node, s);
    return s.str();
}

} // namespace hdl
