#include "hdl/vhdl/VhdlPrettyPrinter.h"

#include <sstream>

#include "hdl/vhdl/VhdlVisitor.h"

namespace hdl {

namespace {

class Printer : public VhdlVisitor {
public:
    explicit Printer(std::ostream& out) : out_(out) {}

    void Print(const VhdlTreeNode* n) {
        if (n) const_cast<VhdlTreeNode*>(n)->Accept(*this);
    }
    void List(const VhdlNodeList& list, const char* sep) {
        bool first = true;
        for (VhdlTreeNode* n : list) {
            if (!first) out_ << sep;
            first = false;
            Print(n);
        }
    }
    void Ids(const VhdlIdList& ids) {
        bool first = true;
        for (VhdlIdDef* id : ids) {
            if (!first) out_ << ", ";
            first = false;
            out_ << id->OrigName();
        }
    }
    void Kw(unsigned token) { out_ << VhdlTokenText(token); }
    void Items(const VhdlNodeList& list) {
        for (VhdlTreeNode* n : list) {
            Print(n);
            out_ << "\n";
        }
    }
    void Label(const VhdlStatement& s) {
        if (s.label) out_ << s.label->OrigName() << " : ";
        if (s.postponed) out_ << "postponed ";
    }
    void Interface(const char* keyword, const VhdlNodeList& list) {
        out_ << keyword << " (";
        List(list, "; ");
        out_ << ");\n";
    }
    void Map(const char* keyword, const VhdlNodeList& list) {
        out_ << " " << keyword << " map (";
        List(list, ", ");
        out_ << ")";
    }

    // Identifiers print their spelling.
    void Visit(VhdlIdDef& n) override { out_ << n.OrigName(); }

    // Names and literals.
    void Visit(VhdlIdRef& n) override { out_ << n.text; }
    void Visit(VhdlSelectedName& n) override {
        Print(n.prefix);
        out_ << ".";
        Print(n.suffix);
    }
    void Visit(VhdlIndexedName& n) override {
        Print(n.prefix);
        if (!n.genericMap.Empty()) {
            Map("generic", n.genericMap);
            if (n.assocList.Empty()) return;
            out_ << " ";
        }
        out_ << "(";
        List(n.assocList, ", ");
        out_ << ")";
    }
    void Visit(VhdlSignature& n) override {
        out_ << "[";
        List(n.typeMarks, ", ");
        if (n.returnType) {
            out_ << (n.typeMarks.Empty() ? "return " : " return ");
            Print(n.returnType);
        }
        out_ << "]";
    }
    void Visit(VhdlSignaturedName& n) override {
        Print(n.name);
        Print(n.signature);
    }
    void Visit(VhdlAttributeName& n) override {
        Print(n.prefix);
        Print(n.signature);
        out_ << "'";
        Print(n.designator);
        if (n.expression) {
            out_ << "(";
            Print(n.expression);
            out_ << ")";
        }
    }
    void ExternalPath(const VhdlName* n) {
        auto* sel = dynamic_cast<const VhdlSelectedName*>(n);
        if (!sel) {
            Print(n);
            return;
        }
        ExternalPath(sel->prefix);
        auto* marker = dynamic_cast<const VhdlIdRef*>(sel->prefix);
        if (!marker || (marker->text != "." && marker->text != "@")) out_ << ".";
        Print(sel->suffix);
    }
    void Visit(VhdlExternalName& n) override {
        out_ << "<< ";
        Kw(n.objectClass);
        out_ << " ";
        ExternalPath(n.path);
        out_ << " : ";
        Print(n.subtype);
        out_ << " >>";
    }
    void Visit(VhdlInstantiatedUnit& n) override {
        Kw(n.entityClass);
        out_ << " ";
        Print(n.name);
    }
    void Visit(VhdlAll&) override { out_ << "all"; }
    void Visit(VhdlOthers&) override { out_ << "others"; }
    void Visit(VhdlOpen&) override { out_ << "open"; }
    void Visit(VhdlNull&) override { out_ << "null"; }
    void Visit(VhdlBox&) override { out_ << "<>"; }
    void Visit(VhdlUnaffected&) override { out_ << "unaffected"; }
    void Visit(VhdlDefault&) override { out_ << "default"; }
    void Visit(VhdlCharacterLiteral& n) override { out_ << n.text; }
    void Visit(VhdlStringLiteral& n) override { out_ << n.text; }
    void Visit(VhdlBitStringLiteral& n) override { out_ << n.text; }
    void Visit(VhdlInteger& n) override { out_ << n.text; }
    void Visit(VhdlReal& n) override { out_ << n.text; }
    void Visit(VhdlPhysicalLiteral& n) override {
        Print(n.value);
        out_ << " ";
        Print(n.unit);
    }

    // Expressions.
    void Visit(VhdlOperator& n) override {
        out_ << "(";
        if (n.left) {
            Print(n.left);
            out_ << " ";
        }
        Kw(n.op);
        out_ << " ";
        Print(n.right);
        out_ << ")";
    }
    void Visit(VhdlRange& n) override {
        Print(n.left);
        out_ << " ";
        Kw(n.dir);
        out_ << " ";
        Print(n.right);
    }
    void Visit(VhdlAggregate& n) override {
        out_ << "(";
        List(n.elements, ", ");
        out_ << ")";
    }
    void Visit(VhdlElementAssoc& n) override {
        List(n.choices, " | ");
        out_ << " => ";
        Print(n.expression);
    }
    void Visit(VhdlAssocElement& n) override {
        if (n.formal) {
            Print(n.formal);
            out_ << " => ";
        }
        if (n.inertial) out_ << "inertial ";
        Print(n.actual);
    }
    void Visit(VhdlQualifiedExpression& n) override {
        Print(n.prefix);
        out_ << "'";
        if (dynamic_cast<VhdlAggregate*>(n.aggregate)) {
            Print(n.aggregate);
        } else {
            out_ << "(";
            Print(n.aggregate);
            out_ << ")";
        }
    }
    void Visit(VhdlAllocator& n) override {
        out_ << "new ";
        Print(n.subtype);
    }
    void Visit(VhdlExplicitSubtypeIndication& n) override {
        if (n.resolution) {
            Print(n.resolution);
            out_ << " ";
        }
        Print(n.typeMark);
        if (n.constraint) {
            out_ << " range ";
            Print(n.constraint);
        }
    }
    void Visit(VhdlWaveformElement& n) override {
        Print(n.value);
        if (n.after) {
            out_ << " after ";
            Print(n.after);
        }
    }
    void Visit(VhdlConditionalExpression& n) override {
        Print(n.value);
        if (n.condition) {
            out_ << " when ";
            Print(n.condition);
        }
        if (n.elseValue) {
            out_ << " else ";
            Print(n.elseValue);
        }
    }
    void Visit(VhdlSelectedExpression& n) override {
        Print(n.value);
        out_ << " when ";
        List(n.choices, " | ");
    }

    // Type definitions.
    void Visit(VhdlScalarTypeDef& n) override {
        out_ << "range ";
        Print(n.range);
    }
    void Visit(VhdlEnumerationTypeDef& n) override {
        out_ << "(";
        Ids(n.literals);
        out_ << ")";
    }
    void Visit(VhdlPhysicalUnitDecl& n) override {
        out_ << n.id->OrigName();
        if (n.value) {
            out_ << " = ";
            Print(n.value);
        }
        out_ << ";\n";
    }
    void Visit(VhdlPhysicalTypeDef& n) override {
        out_ << "range ";
        Print(n.range);
        out_ << " units\n";
        List(n.units, "");
        out_ << "end units";
    }
    void Visit(VhdlArrayTypeDef& n) override {
        out_ << "array (";
        List(n.indexes, ", ");
        out_ << ") of ";
        Print(n.elementSubtype);
    }
    void Visit(VhdlElementDecl& n) override {
        Ids(n.ids);
        out_ << " : ";
        Print(n.subtype);
        out_ << ";\n";
    }
    void Visit(VhdlRecordTypeDef& n) override {
        out_ << "record\n";
        List(n.elements, "");
        out_ << "end record";
    }
    void Visit(VhdlAccessTypeDef& n) override {
        out_ << "access ";
        Print(n.subtype);
    }
    void Visit(VhdlFileTypeDef& n) override {
        out_ << "file of ";
        Print(n.typeMark);
    }
    void Visit(VhdlProtectedTypeDef& n) override {
        if (n.uninstantiated) {
            out_ << "new ";
            Print(n.uninstantiated);
            if (!n.genericMap.Empty()) Map("generic", n.genericMap);
            return;
        }
        out_ << "protected\n";
        if (!n.generics.Empty()) Interface("generic", n.generics);
        if (!n.genericMap.Empty()) {
            Map("generic", n.genericMap);
            out_ << ";\n";
        }
        Items(n.declarations);
        out_ << "end protected";
    }
    void Visit(VhdlProtectedTypeDefBody& n) override {
        out_ << "protected body\n";
        Items(n.declarations);
        out_ << "end protected body";
    }

    // Declarations.
    void Visit(VhdlFullTypeDecl& n) override {
        out_ << "type " << n.id->OrigName() << " is ";
        Print(n.typeDef);
        out_ << ";";
    }
    void Visit(VhdlIncompleteTypeDecl& n) override { out_ << "type " << n.id->OrigName() << ";"; }
    void Visit(VhdlSubtypeDecl& n) override {
        out_ << "subtype " << n.id->OrigName() << " is ";
        Print(n.subtype);
        out_ << ";";
    }
    void Object(const char* keyword, const VhdlObjectDecl& n, unsigned kind) {
        out_ << keyword << " ";
        Ids(n.ids);
        out_ << " : ";
        Print(n.subtype);
        if (kind) {
            out_ << " ";
            Kw(kind);
        }
        if (n.init) {
            out_ << " := ";
            Print(n.init);
        }
        out_ << ";";
    }
    void Visit(VhdlConstantDecl& n) override { Object("constant", n, 0); }
    void Visit(VhdlSignalDecl& n) override { Object("signal", n, n.signalKind); }
    void Visit(VhdlVariableDecl& n) override { Object(n.shared ? "shared variable" : "variable", n, 0); }
    void Visit(VhdlFileOpenInfo& n) override {
        if (n.openMode) {
            out_ << " open ";
            Print(n.openMode);
        }
        out_ << " is ";
        if (n.mode) {
            Kw(n.mode);
            out_ << " ";
        }
        Print(n.fileName);
    }
    void Visit(VhdlFileDecl& n) override {
        out_ << "file ";
        Ids(n.ids);
        out_ << " : ";
        Print(n.subtype);
        Print(n.openInfo);
        out_ << ";";
    }
    void Visit(VhdlAliasDecl& n) override {
        out_ << "alias " << n.id->OrigName();
        if (n.subtype) {
            out_ << " : ";
            Print(n.subtype);
        }
        out_ << " is ";
        Print(n.name);
        out_ << ";";
    }
    void Visit(VhdlAttributeDecl& n) override {
        out_ << "attribute " << n.id->OrigName() << " : ";
        Print(n.typeMark);
        out_ << ";";
    }
    void Visit(VhdlEntitySpec& n) override {
        List(n.names, ", ");
        out_ << " : ";
        Kw(n.entityClass);
    }
    void Visit(VhdlAttributeSpec& n) override {
        out_ << "attribute ";
        Print(n.designator);
        out_ << " of ";
        Print(n.entitySpec);
        out_ << " is ";
        Print(n.value);
        out_ << ";";
    }
    void Visit(VhdlEntityClassEntry& n) override {
        Kw(n.entityClass);
        if (n.box) out_ << " <>";
    }
    void Visit(VhdlGroupTemplateDecl& n) override {
        out_ << "group " << n.id->OrigName() << " is (";
        List(n.entries, ", ");
        out_ << ");";
    }
    void Visit(VhdlGroupDecl& n) override {
        out_ << "group " << n.id->OrigName() << " : ";
        Print(n.templateName);
        out_ << " (";
        List(n.constituents, ", ");
        out_ << ");";
    }
    void Visit(VhdlInterfaceDecl& n) override {
        if (n.objectClass) {
            Kw(n.objectClass);
            out_ << " ";
        }
        Ids(n.ids);
        out_ << " : ";
        if (n.mode) {
            Kw(n.mode);
            out_ << " ";
        }
        Print(n.subtype);
        if (n.signalKind) {
            out_ << " ";
            Kw(n.signalKind);
        }
        if (n.init) {
            out_ << " := ";
            Print(n.init);
        }
    }
    void Visit(VhdlInterfaceTypeDecl& n) override {
        out_ << "type";
        if (n.id) out_ << " " << n.id->OrigName(); // none for the anonymous type of a port
        if (!n.incomplete) return;
        out_ << " is ";
        switch (n.incomplete) {
        case VHDL_LPAREN: out_ << "(<>)"; break;
        case VHDL_RANGE: out_ << "range <>"; break;
        case VHDL_DOT: out_ << "range <>.<>"; break;
        case VHDL_UNITS: out_ << "units <>"; break;
        case VHDL_ARRAY:
            out_ << "array (";
            List(n.indexes, ", ");
            out_ << ") of ";
            Print(n.designated);
            break;
        case VHDL_ACCESS:
            out_ << "access ";
            Print(n.designated);
            break;
        case VHDL_FILE:
            out_ << "file of ";
            Print(n.designated);
            break;
        default: Kw(n.incomplete); break;
        }
    }
    void Spec(const VhdlSubprogramSpec& n, bool function) {
        if (n.purity) {
            Kw(n.purity);
            out_ << " ";
        }
        out_ << (function ? "function " : "procedure ") << n.id->OrigName();
        if (!n.generics.Empty()) {
            out_ << " generic (";
            List(n.generics, "; ");
            out_ << ")";
            if (!n.genericMap.Empty()) Map("generic", n.genericMap);
        }
        if (n.parameterKeyword) out_ << " parameter";
        if (!n.params.Empty()) {
            out_ << " (";
            List(n.params, "; ");
            out_ << ")";
        }
        if (function) {
            out_ << " return ";
            if (n.returnId) out_ << n.returnId->OrigName() << " of ";
            Print(n.returnType);
        }
    }
    void Visit(VhdlProcedureSpec& n) override { Spec(n, false); }
    void Visit(VhdlFunctionSpec& n) override { Spec(n, true); }
    void Visit(VhdlInterfaceSubprogDecl& n) override {
        Print(n.spec);
        if (n.defaultValue) {
            out_ << " is ";
            Print(n.defaultValue);
        }
    }
    void Visit(VhdlInterfacePackageDecl& n) override {
        out_ << "package " << n.id->OrigName() << " is new ";
        Print(n.uninstantiated);
        if (!n.genericMap.Empty()) Map("generic", n.genericMap);
    }
    void Visit(VhdlSubprogramDecl& n) override {
        Print(n.spec);
        out_ << ";";
    }
    void Visit(VhdlSubprogramBody& n) override {
        Print(n.spec);
        out_ << " is\n";
        Items(n.declarations);
        out_ << "begin\n";
        Items(n.statements);
        out_ << "end;";
    }
    void Visit(VhdlSubprogInstantiationDecl& n) override {
        Kw(n.kind);
        out_ << " " << n.id->OrigName() << " is new ";
        Print(n.uninstantiated);
        if (!n.genericMap.Empty()) Map("generic", n.genericMap);
        out_ << ";";
    }
    void Visit(VhdlComponentDecl& n) override {
        out_ << "component " << n.id->OrigName() << " is\n";
        if (!n.generics.Empty()) Interface("generic", n.generics);
        if (!n.ports.Empty()) Interface("port", n.ports);
        out_ << "end component;";
    }
    void Visit(VhdlDisconnectionSpec& n) override {
        out_ << "disconnect ";
        List(n.signals, ", ");
        out_ << " : ";
        Print(n.typeMark);
        out_ << " after ";
        Print(n.after);
        out_ << ";";
    }
    void Visit(VhdlEntityAspect& n) override {
        Kw(n.entityClass);
        if (n.name) {
            out_ << " ";
            Print(n.name);
        }
    }
    void Visit(VhdlBindingIndication& n) override {
        if (n.entityAspect) {
            out_ << " use ";
            Print(n.entityAspect);
        }
        if (n.hasGenericMap) Map("generic", n.genericMap);
        if (n.hasPortMap) Map("port", n.portMap);
    }
    void Visit(VhdlComponentSpec& n) override {
        List(n.labels, ", ");
        out_ << " : ";
        Print(n.component);
    }
    void Visit(VhdlConfigurationSpec& n) override {
        out_ << "for ";
        Print(n.componentSpec);
        Print(n.binding);
        out_ << ";";
    }
    void Visit(VhdlLibraryClause& n) override {
        out_ << "library ";
        Ids(n.ids);
        out_ << ";";
    }
    void Visit(VhdlUseClause& n) override {
        out_ << "use ";
        List(n.names, ", ");
        out_ << ";";
    }
    void Visit(VhdlContextReference& n) override {
        out_ << "context ";
        List(n.names, ", ");
        out_ << ";";
    }

    // Statements.
    void Visit(VhdlDelayMechanism& n) override {
        if (n.kind == VHDL_TRANSPORT) {
            out_ << "transport ";
            return;
        }
        if (n.rejectTime) {
            out_ << "reject ";
            Print(n.rejectTime);
            out_ << " ";
        }
        out_ << "inertial ";
    }
    void Visit(VhdlConditionalWaveform& n) override {
        List(n.waveform, ", ");
        if (n.condition) {
            out_ << " when ";
            Print(n.condition);
        }
    }
    void Visit(VhdlSelectedWaveform& n) override {
        List(n.waveform, ", ");
        out_ << " when ";
        List(n.choices, " | ");
    }
    void Visit(VhdlProcessStatement& n) override {
        Label(n);
        out_ << "process";
        if (!n.sensitivity.Empty()) {
            out_ << " (";
            List(n.sensitivity, ", ");
            out_ << ")";
        }
        out_ << " is\n";
        Items(n.declarations);
        out_ << "begin\n";
        Items(n.statements);
        out_ << "end process;";
    }
    void Visit(VhdlBlockGenerics& n) override {
        Interface("generic", n.clause);
        if (!n.map.Empty()) {
            Map("generic", n.map);
            out_ << ";\n";
        }
    }
    void Visit(VhdlBlockPorts& n) override {
        Interface("port", n.clause);
        if (!n.map.Empty()) {
            Map("port", n.map);
            out_ << ";\n";
        }
    }
    void Visit(VhdlBlockStatement& n) override {
        Label(n);
        out_ << "block";
        if (n.guard) {
            out_ << " (";
            Print(n.guard);
            out_ << ")";
        }
        out_ << " is\n";
        Print(n.generics);
        Print(n.ports);
        Items(n.declarations);
        out_ << "begin\n";
        Items(n.statements);
        out_ << "end block;";
    }
    void Visit(VhdlComponentInstantiationStatement& n) override {
        Label(n);
        Print(n.unit);
        if (!n.genericMap.Empty()) Map("generic", n.genericMap);
        if (!n.portMap.Empty()) Map("port", n.portMap);
        out_ << ";";
    }
    void Visit(VhdlForScheme& n) override {
        out_ << "for " << n.id->OrigName() << " in ";
        Print(n.range);
    }
    void Visit(VhdlWhileScheme& n) override {
        out_ << "while ";
        Print(n.condition);
    }
    void AltLabel(const VhdlIterScheme& s) {
        if (s.alternativeLabel) out_ << s.alternativeLabel->OrigName() << ": ";
    }
    void Visit(VhdlIfScheme& n) override {
        out_ << "if ";
        AltLabel(n);
        Print(n.condition);
    }
    void Visit(VhdlElsifElseScheme& n) override {
        out_ << (n.condition ? "elsif " : "else ");
        AltLabel(n);
        Print(n.condition);
    }
    void Visit(VhdlCaseItemScheme& n) override {
        out_ << "when ";
        AltLabel(n);
        List(n.choices, " | ");
    }
    void GenerateBody(const VhdlGenerateStatement& n) {
        Print(n.scheme);
        out_ << (dynamic_cast<VhdlCaseItemScheme*>(n.scheme) ? " =>\n" : " generate\n");
        if (!n.declarations.Empty()) {
            Items(n.declarations);
            out_ << "begin\n";
        }
        Items(n.statements);
    }
    void Visit(VhdlGenerateStatement& n) override {
        Label(n);
        GenerateBody(n);
        out_ << "end generate;";
    }
    void Visit(VhdlIfElsifGenerateStatement& n) override {
        Label(n);
        for (VhdlTreeNode* alt : n.alternatives) GenerateBody(*static_cast<VhdlGenerateStatement*>(alt));
        out_ << "end generate;";
    }
    void Visit(VhdlCaseGenerateStatement& n) override {
        Label(n);
        out_ << "case ";
        Print(n.expression);
        out_ << " generate\n";
        for (VhdlTreeNode* alt : n.alternatives) GenerateBody(*static_cast<VhdlGenerateStatement*>(alt));
        out_ << "end generate;";
    }
    void Visit(VhdlConditionalSignalAssignment& n) override {
        Label(n);
        Print(n.target);
        out_ << " <= ";
        if (n.guarded) out_ << "guarded ";
        Print(n.delay);
        List(n.waveforms, " else ");
        out_ << ";";
    }
    void Visit(VhdlSelectedSignalAssignment& n) override {
        Label(n);
        out_ << "with ";
        Print(n.expression);
        out_ << (n.matching ? " select? " : " select ");
        Print(n.target);
        out_ << " <= ";
        if (n.guarded) out_ << "guarded ";
        Print(n.delay);
        List(n.waveforms, ",\n");
        out_ << ";";
    }
    void Visit(VhdlProcedureCallStatement& n) override {
        Label(n);
        Print(n.call);
        out_ << ";";
    }
    void ReportSeverity(const VhdlExpression* report, const VhdlExpression* severity) {
        if (report) {
            out_ << " report ";
            Print(report);
        }
        if (severity) {
            out_ << " severity ";
            Print(severity);
        }
        out_ << ";";
    }
    void Visit(VhdlAssertionStatement& n) override {
        Label(n);
        out_ << "assert ";
        Print(n.condition);
        ReportSeverity(n.report, n.severity);
    }
    void Visit(VhdlReportStatement& n) override {
        Label(n);
        out_ << "report ";
        Print(n.report);
        ReportSeverity(nullptr, n.severity);
    }
    void Visit(VhdlSignalAssignmentStatement& n) override {
        Label(n);
        Print(n.target);
        out_ << " <= ";
        Print(n.delay);
        List(n.waveform, ", ");
        out_ << ";";
    }
    void Visit(VhdlVariableAssignmentStatement& n) override {
        Label(n);
        Print(n.target);
        out_ << " := ";
        Print(n.value);
        out_ << ";";
    }
    void Visit(VhdlConditionalVariableAssignmentStatement& n) override {
        Label(n);
        Print(n.target);
        out_ << " := ";
        List(n.values, " else ");
        out_ << ";";
    }
    void Selected(const VhdlStatement& n, const VhdlExpression* e, bool matching, const VhdlExpression* target,
                  const char* assign, const VhdlNodeList& values) {
        Label(n);
        out_ << "with ";
        Print(e);
        out_ << (matching ? " select? " : " select ");
        Print(target);
        out_ << assign;
        List(values, ",\n");
        out_ << ";";
    }
    void Visit(VhdlSelectedVariableAssignmentStatement& n) override {
        Selected(n, n.expression, n.matching, n.target, " := ", n.values);
    }
    void ForceMode(unsigned mode) {
        if (mode) {
            Kw(mode);
            out_ << " ";
        }
    }
    void Visit(VhdlForceAssignmentStatement& n) override {
        Label(n);
        Print(n.target);
        out_ << " <= force ";
        ForceMode(n.forceMode);
        Print(n.value);
        out_ << ";";
    }
    void Visit(VhdlConditionalForceAssignmentStatement& n) override {
        Label(n);
        Print(n.target);
        out_ << " <= force ";
        ForceMode(n.forceMode);
        List(n.values, " else ");
        out_ << ";";
    }
    void Visit(VhdlSelectedForceAssignment& n) override {
        std::ostringstream assign;
        assign << " <= force " << (n.forceMode ? VhdlTokenText(n.forceMode) : "") << (n.forceMode ? " " : "");
        Selected(n, n.expression, n.matching, n.target, assign.str().c_str(), n.values);
    }
    void Visit(VhdlReleaseAssignmentStatement& n) override {
        Label(n);
        Print(n.target);
        out_ << " <= release";
        if (n.forceMode) {
            out_ << " ";
            Kw(n.forceMode);
        }
        out_ << ";";
    }
    void Visit(VhdlWaitStatement& n) override {
        Label(n);
        out_ << "wait";
        if (!n.sensitivity.Empty()) {
            out_ << " on ";
            List(n.sensitivity, ", ");
        }
        if (n.condition) {
            out_ << " until ";
            Print(n.condition);
        }
        if (n.timeout) {
            out_ << " for ";
            Print(n.timeout);
        }
        out_ << ";";
    }
    void Visit(VhdlElsif& n) override {
        out_ << "elsif ";
        Print(n.condition);
        out_ << " then\n";
        Items(n.statements);
    }
    void Visit(VhdlIfStatement& n) override {
        Label(n);
        out_ << "if ";
        Print(n.condition);
        out_ << " then\n";
        Items(n.thenStatements);
        List(n.elsifs, "");
        if (!n.elseStatements.Empty()) {
            out_ << "else\n";
            Items(n.elseStatements);
        }
        out_ << "end if;";
    }
    void Visit(VhdlCaseStatementAlternative& n) override {
        out_ << "when ";
        List(n.choices, " | ");
        out_ << " =>\n";
        Items(n.statements);
    }
    void Visit(VhdlCaseStatement& n) override {
        Label(n);
        out_ << (n.matching ? "case? " : "case ");
        Print(n.expression);
        out_ << " is\n";
        List(n.alternatives, "");
        out_ << (n.matching ? "end case?;" : "end case;");
    }
    void Visit(VhdlLoopStatement& n) override {
        Label(n);
        if (n.scheme) {
            Print(n.scheme);
            out_ << " ";
        }
        out_ << "loop\n";
        Items(n.statements);
        out_ << "end loop;";
    }
    void NextExit(const VhdlStatement& n, const char* kw, const VhdlName* loop, const VhdlExpression* cond) {
        Label(n);
        out_ << kw;
        if (loop) {
            out_ << " ";
            Print(loop);
        }
        if (cond) {
            out_ << " when ";
            Print(cond);
        }
        out_ << ";";
    }
    void Visit(VhdlNextStatement& n) override { NextExit(n, "next", n.loopLabel, n.condition); }
    void Visit(VhdlExitStatement& n) override { NextExit(n, "exit", n.loopLabel, n.condition); }
    void Visit(VhdlReturnStatement& n) override {
        Label(n);
        out_ << "return";
        if (n.expression) {
            out_ << " ";
            Print(n.expression);
        }
        out_ << ";";
    }
    void Visit(VhdlNullStatement& n) override {
        Label(n);
        out_ << "null;";
    }

    // Configurations.
    void Visit(VhdlBlockConfiguration& n) override {
        out_ << "for ";
        Print(n.blockSpec);
        out_ << "\n";
        Items(n.useClauses);
        Items(n.items);
        out_ << "end for;";
    }
    void Visit(VhdlComponentConfiguration& n) override {
        out_ << "for ";
        Print(n.componentSpec);
        if (n.binding) {
            Print(n.binding);
            out_ << ";";
        }
        out_ << "\n";
        Print(n.blockConfiguration);
        out_ << "end for;";
    }

    // Design units.
    void Context(const VhdlDesignUnit& n) { Items(n.contextClause); }
    void Visit(VhdlEntityDecl& n) override {
        Context(n);
        out_ << "entity " << n.id->OrigName() << " is\n";
        if (n.hasGenericClause) Interface("generic", n.generics);
        if (n.hasPortClause) Interface("port", n.ports);
        Items(n.declarations);
        if (!n.statements.Empty()) {
            out_ << "begin\n";
            Items(n.statements);
        }
        out_ << "end entity;";
    }
    void Visit(VhdlPackageDecl& n) override {
        Context(n);
        out_ << "package " << n.id->OrigName() << " is\n";
        if (n.hasGenericClause) Interface("generic", n.generics);
        if (!n.genericMap.Empty()) {
            Map("generic", n.genericMap);
            out_ << ";\n";
        }
        Items(n.declarations);
        out_ << "end package;";
    }
    void Visit(VhdlPackageInstantiationDecl& n) override {
        Context(n);
        out_ << "package " << n.id->OrigName() << " is new ";
        Print(n.uninstantiated);
        if (!n.genericMap.Empty()) Map("generic", n.genericMap);
        out_ << ";";
    }
    void Visit(VhdlConfigurationDecl& n) override {
        Context(n);
        out_ << "configuration " << n.id->OrigName() << " of ";
        Print(n.entityName);
        out_ << " is\n";
        Items(n.declarations);
        Print(n.blockConfiguration);
        out_ << "\nend configuration;";
    }
    void Visit(VhdlContextDecl& n) override {
        Context(n);
        out_ << "context " << n.id->OrigName() << " is\n";
        Items(n.items);
        out_ << "end context;";
    }
    void Visit(VhdlArchitectureBody& n) override {
        Context(n);
        out_ << "architecture " << n.id->OrigName() << " of ";
        Print(n.entityName);
        out_ << " is\n";
        Items(n.declarations);
        out_ << "begin\n";
        Items(n.statements);
        out_ << "end architecture;";
    }
    void Visit(VhdlPackageBody& n) override {
        Context(n);
        out_ << "package body " << n.id->OrigName() << " is\n";
        Items(n.declarations);
        out_ << "end package body;";
    }

private:
    std::ostream& out_;
};

} // namespace

void VhdlPrettyPrint(std::ostream& out, const VhdlTreeNode* node) {
    Printer printer(out);
    printer.Print(node);
}

std::string VhdlPrettyText(const VhdlTreeNode* node) {
    std::ostringstream out;
    VhdlPrettyPrint(out, node);
    return out.str();
}

} // namespace hdl
