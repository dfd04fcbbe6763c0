// Design units, their headers and module items (instantiations, generates, constructs).
#include "hdl/sv/VeriParserImpl.h"

namespace hdl {

namespace {
unsigned unitEndKind(unsigned k) {
    switch (k) {
    case VT_INTERFACE: return VT_ENDINTERFACE;
    case VT_PROGRAM: return VT_ENDPROGRAM;
    case VT_PACKAGE: return VT_ENDPACKAGE;
    case VT_PRIMITIVE: return VT_ENDPRIMITIVE;
    case VT_CHECKER: return VT_ENDCHECKER;
    default: return VT_ENDMODULE;
    }
}
} // namespace

bool VeriParser::Impl::isGate(unsigned k) {
    switch (k) {
    case VT_AND:
    case VT_NAND:
    case VT_OR:
    case VT_NOR:
    case VT_XOR:
    case VT_XNOR:
    case VT_BUF:
    case VT_NOT:
    case VT_BUFIF0:
    case VT_BUFIF1:
    case VT_NOTIF0:
    case VT_NOTIF1:
    case VT_NMOS:
    case VT_PMOS:
    case VT_RNMOS:
    case VT_RPMOS:
    case VT_CMOS:
    case VT_RCMOS:
    case VT_TRAN:
    case VT_RTRAN:
    case VT_TRANIF0:
    case VT_TRANIF1:
    case VT_RTRANIF0:
    case VT_RTRANIF1:
    case VT_PULLUP:
    case VT_PULLDOWN: return true;
    default: return false;
    }
}

void VeriParser::Impl::parseSourceText() {
    List<VeriModuleItem> unitItems(*this);
    // The items of the compilation unit's scope that parsed without an error: the checks
    // judge those, whatever went wrong elsewhere in the text.
    List<VeriModuleItem> cleanItems(*this);
    while (!atEof()) {
        VeriToken start = peek();
        std::vector<VeriAttribute> attrs;
        parseAttributes(attrs);
        unsigned k = kind();
        if (k == VT_MODULE || k == VT_MACROMODULE || (k == VT_INTERFACE && kind(1) != VT_CLASS) || k == VT_PROGRAM ||
            k == VT_PACKAGE || k == VT_PRIMITIVE || k == VT_CHECKER) {
            unsigned errorsBefore = errors;
            VeriModule* unit = parseUnit(start, std::move(attrs));
            resolvePending();
            // The names of a unit that does not parse say little.
            if (errors == errorsBefore) checkNames(unit);
            duplicates.clear();
            if (unit && hooks.onUnit) hooks.onUnit(unit);
            bailing = false;
            continue;
        }
        if (k == VT_CONFIG) {
            auto* unit = static_cast<VeriModule*>(parseConfig(take()));
            resolvePending();
            if (unit && hooks.onUnit) hooks.onUnit(unit);
            continue;
        }
        if (k == VT_LIBRARY || k == VT_INCLUDE) { // library map entries
            skipToSemi();
            continue;
        }
        if (k == VT_ENDMODULE || k == VT_ENDINTERFACE || k == VT_ENDPROGRAM || k == VT_ENDPACKAGE || k == VT_END ||
            k == VT_ENDCLASS || k == VT_ENDFUNCTION || k == VT_ENDTASK || k == VT_ENDPRIMITIVE) {
            syntaxError(peek());
            take();
            continue;
        }
        unsigned errorsBefore = errors;
        VeriModuleItem* item = parseItem(VT_EOF);
        attach(item, attrs);
        if (item) unitItems.push(item);
        if (item && errors == errorsBefore) cleanItems.push(item);
        bailing = false;
    }
    resolvePending();
    if (cleanItems.size() == unitItems.size()) {
        unitScopeOwner->items = unitItems.freeze();
        checkNames(unitScopeOwner);
    } else {
        unitScopeOwner->items = cleanItems.freeze();
        itemsLeftOut = true;
        checkNames(unitScopeOwner);
        itemsLeftOut = false;
        unitScopeOwner->items = unitItems.freeze();
    }
    tellUndeclared();
    duplicates.clear();
    if (!unitScopeOwner->items.Empty() && hooks.onUnit) hooks.onUnit(unitScopeOwner);
    else dropped(unitScopeOwner);
}

VeriModule* VeriParser::Impl::parseUnit(const VeriToken& start, std::vector<VeriAttribute> attrs) {
    VeriToken kw = take();
    VeriModule* m;
    VeriIdDef* id;
    VeriToken n = peek();
    switch (kw.kind) {
    case VT_INTERFACE:
        m = make<VeriInterface>(start);
        id = make<VeriInterfaceId>(n);
        break;
    case VT_PROGRAM:
        m = make<VeriProgram>(start);
        id = make<VeriProgramId>(n);
        break;
    case VT_PACKAGE:
        m = make<VeriPackage>(start);
        id = make<VeriModuleId>(n);
        break;
    case VT_PRIMITIVE:
        m = make<VeriPrimitive>(start);
        id = make<VeriUdpId>(n);
        break;
    case VT_CHECKER:
        m = make<VeriChecker>(start);
        id = make<VeriCheckerId>(n);
        break;
    default:
        m = make<VeriModule>(start);
        id = make<VeriModuleId>(n);
        break;
    }
    attach(m, attrs);
    if (kw.kind == VT_MACROMODULE) m->flags |= VERI_UNIT_MACROMODULE;
    if (pp.cellDefine()) m->flags |= VERI_UNIT_CELLDEFINE;
    m->defaultNettype = copy(pp.defaultNettype());
    if (pp.timescale().set) m->timeUnit = copy(pp.timescale().unit);
    if (at(VT_AUTOMATIC) || at(VT_STATIC)) m->lifetime = take().kind;
    n = peek();
    id->SetLinefile(ColLineFile(n.fileId, n.line, n.col));
    id->name = takeName();
    id->declaration = m;
    finish(id);
    m->id = id;
    ScopeMark upper = pushScope(m);
    m->scope = scope;
    id->scope = scope;
    unsigned endKind = unitEndKind(kw.kind);
    List<VeriModuleItem> items(*this);
    parseUnitHeader(m, items);
    parseItems(items, endKind);
    m->items = items.freeze();
    if (!expect(endKind)) {
        // Resynchronise on the next end of unit.
        while (!atEof() && !at(endKind) && !at(VT_MODULE) && !at(VT_INTERFACE) && !at(VT_PACKAGE)) take();
        accept(endKind);
    }
    skipEndLabel();
    popScope(upper);
    finish(m);
    return m;
}

void VeriParser::Impl::parseUnitHeader(VeriModule* m, List<VeriModuleItem>& items) {
    while (at(VT_IMPORT)) items.push(parseImportExport(take(), false));
    if (at(VT_HASH)) {
        List<VeriTreeNode> parameters(*this);
        parseParameterPortList(parameters);
        m->parameters = parameters.freeze();
    }
    if (at(VT_LPAREN)) {
        List<VeriTreeNode> ports(*this);
        parsePortList(m, ports);
        m->ports = ports.freeze();
    }
    expect(VT_SEMI);
}

void VeriParser::Impl::parseParameterPortList(List<VeriTreeNode>& parameters) {
    take(); // #
    if (!expect(VT_LPAREN)) return;
    unsigned declKind = VT_PARAMETER;
    while (!at(VT_RPAREN) && !atEof()) {
        VeriToken start = peek();
        std::vector<VeriAttribute> attrs;
        parseAttributes(attrs);
        if (at(VT_PARAMETER) || at(VT_LOCALPARAM)) declKind = take().kind;
        VeriDataDecl* d = parseParamDecl(start, declKind, true);
        attach(d, attrs);
        parameters.push(d);
        if (!accept(VT_COMMA)) break;
    }
    expect(VT_RPAREN);
}

void VeriParser::Impl::parsePortList(VeriModule* m, List<VeriTreeNode>& ports) {
    take(); // (
    if (accept(VT_RPAREN)) {
        m->ansiHeader = true;
        return;
    }
    size_t i = 0;
    while (kind(i) == VT_ATTR_OPEN) {
        while (kind(i) != VT_ATTR_CLOSE && kind(i) != VT_EOF) ++i;
        ++i;
    }
    unsigned k = kind(i);
    bool ansi = isDirection(k) || isNetType(k) || k == VT_VAR || isBuiltinType(k) || k == VT_INTERFACE ||
                k == VT_STRUCT || k == VT_UNION || k == VT_ENUM || k == VT_SIGNED || k == VT_UNSIGNED ||
                (isIdent(i) && (declarationAhead(i) || kind(i + 1) == VT_SCOPE));
    m->ansiHeader = ansi;
    if (!ansi) {
        for (;;) {
            VeriToken start = peek();
            if (at(VT_COMMA) || at(VT_RPAREN)) {
                ports.push(make<VeriPortOpen>(start));
            } else if (at(VT_DOT) && isIdent(1)) {
                take();
                auto* pc = make<VeriPortConnect>(start);
                pc->portName = takeName();
                if (expect(VT_LPAREN)) {
                    if (!at(VT_RPAREN)) pc->connection = parseExpression();
                    expect(VT_RPAREN);
                }
                finish(pc);
                ports.push(pc);
            } else {
                ports.push(parseExpression());
            }
            if (!accept(VT_COMMA)) break;
        }
        expect(VT_RPAREN);
        return;
    }
    VeriAnsiPortDecl* last = nullptr;
    List<VeriIdDef> ids(*this); // of `last`
    while (!atEof()) {
        VeriToken start = peek();
        std::vector<VeriAttribute> attrs;
        parseAttributes(attrs);
        bool fresh = false;
        unsigned dir = last ? last->dir : unsigned(VT_INOUT);
        unsigned portKind = last ? last->kind : 0;
        if (isDirection(kind())) {
            dir = take().kind;
            portKind = 0;
            fresh = true;
        }
        if (isNetType(kind()) || at(VT_VAR)) {
            portKind = take().kind;
            fresh = true;
        }
        VeriDataType* type = nullptr;
        bool interfacePort = false;
        Symbol modport;
        if (at(VT_INTERFACE)) {
            take();
            interfacePort = true;
            if (at(VT_DOT)) {
                take();
                modport = takeName();
            }
            fresh = true;
        } else if (isIdent() && kind(1) == VT_DOT && isIdent(2) && isIdent(3)) {
            VeriToken n = take();
            auto* t = make<VeriTypeRef>(n);
            t->typeName = makeRef(n);
            take();
            modport = takeName();
            finish(t);
            type = t;
            interfacePort = true;
            fresh = true;
        } else if (!(isIdent() && !declarationAhead(0)) && !at(VT_DOT)) {
            type = parseDataType(true);
            if (type) fresh = true;
        }
        if (at(VT_DOT) && isIdent(1)) {
            // explicit port: [dir] .name(expr)
            take();
            auto* pc = make<VeriPortConnect>(start);
            pc->portName = takeName();
            if (expect(VT_LPAREN)) {
                if (!at(VT_RPAREN)) pc->connection = parseExpression();
                expect(VT_RPAREN);
            }
            finish(pc);
            attach(pc, attrs);
            ports.push(pc);
            if (!accept(VT_COMMA)) break;
            continue;
        }
        bool created = fresh || !last;
        if (created) {
            if (last) last->ids = ids.freeze();
            ids.clear();
            last = make<VeriAnsiPortDecl>(start);
            last->dir = interfacePort ? 0 : dir;
            last->kind = portKind;
            last->dataType = type;
            last->interfacePort = interfacePort;
            last->modport = modport;
            attach(last, attrs);
            ports.push(last);
        }
        VeriToken n = peek();
        if (!isIdent()) {
            attach(nullptr, attrs);
            syntaxError(n, "a port name");
            recoverItem();
            last->ids = ids.freeze();
            return;
        }
        take();
        auto* var = make<VeriVariable>(n);
        attach(var, attrs);
        var->name = name(n);
        var->dir = last->dir;
        var->dataType = last->dataType;
        var->interfacePort = last->interfacePort;
        var->declaration = last;
        var->dimensions = parseDimensions();
        if (accept(VT_EQ)) var->initialValue = parseExpression();
        finish(var);
        declare(var);
        ids.push(var);
        finish(last);
        if (!accept(VT_COMMA)) break;
    }
    if (last) last->ids = ids.freeze();
    expect(VT_RPAREN);
}

void VeriParser::Impl::parseItems(List<VeriModuleItem>& items, unsigned endKind) {
    while (!at(endKind) && !atEof()) {
        unsigned k = kind();
        if (k != endKind &&
            (k == VT_ENDMODULE || k == VT_ENDINTERFACE || k == VT_ENDPROGRAM || k == VT_ENDPACKAGE ||
             k == VT_ENDPRIMITIVE || k == VT_ENDCHECKER || k == VT_END || k == VT_ENDGENERATE || k == VT_ENDCASE)) {
            return; // the caller reports the missing end
        }
        std::vector<VeriAttribute> attrs;
        parseAttributes(attrs);
        VeriModuleItem* item = parseItem(endKind);
        attach(item, attrs);
        if (item) items.push(item);
        if (bailing) {
            while (!atEof() && !at(endKind)) take();
            bailing = false;
        }
    }
}

VeriModuleItem* VeriParser::Impl::parseItem(unsigned endKind) {
    DepthGuard guard(*this);
    if (!guard.ok) {
        recoverItem();
        return nullptr;
    }
    VeriToken start = peek();
    unsigned k = start.kind;
    if (k == VT_STATIC && kind(1) == VT_CONSTRAINT) { // static constraint class::name { ... }
        take();
        start = peek();
        k = start.kind;
    }
    switch (k) {
    case VT_SEMI: take(); return nullptr;
    case VT_ASSIGN: return parseContinuousAssign(take());
    case VT_ALWAYS:
    case VT_ALWAYS_COMB:
    case VT_ALWAYS_FF:
    case VT_ALWAYS_LATCH: {
        take();
        auto* a = make<VeriAlwaysConstruct>(start);
        a->kind = k;
        a->stmt = parseStatement();
        finish(a);
        return a;
    }
    case VT_INITIAL:
    case VT_FINAL: {
        take();
        auto* a = make<VeriInitialConstruct>(start);
        a->isFinal = k == VT_FINAL;
        a->stmt = parseStatement();
        finish(a);
        return a;
    }
    case VT_GENERATE: {
        take();
        auto* g = make<VeriGenerateConstruct>(start);
        List<VeriModuleItem> items(*this);
        parseItems(items, VT_ENDGENERATE);
        g->items = items.freeze();
        expect(VT_ENDGENERATE);
        finish(g);
        return g;
    }
    case VT_FOR: return parseGenerateFor(take());
    case VT_IF: return parseGenerateIf(take());
    case VT_CASE: return parseGenerateCase(take());
    case VT_BEGIN: return parseGenerateBlock(take());
    case VT_FUNCTION:
    case VT_TASK: take(); return parseSubprogram(start, k == VT_TASK, 0);
    case VT_IMPORT:
    case VT_EXPORT: {
        take();
        if (at(VT_STRING_LITERAL)) {
            take();
            if (at(VT_CONTEXT) || at(VT_PURE)) take();
            if (isIdent() && kind(1) == VT_EQ) {
                take();
                take();
            }
            if (k == VT_EXPORT || !(at(VT_FUNCTION) || at(VT_TASK))) {
                skipToSemi();
                return nullptr;
            }
            bool isTask = take().kind == VT_TASK;
            return parseSubprogram(start, isTask, k);
        }
        return parseImportExport(start, k == VT_EXPORT);
    }
    case VT_MODPORT: return parseModport(take());
    case VT_CLASS:
    case VT_VIRTUAL:
        if (k == VT_VIRTUAL && kind(1) != VT_CLASS) break;
        return parseClass(start);
    case VT_INTERFACE:
        if (kind(1) == VT_CLASS) return parseClass(start);
        return parseUnit(start, {});
    case VT_MODULE:
    case VT_MACROMODULE:
    case VT_PROGRAM:
    case VT_CHECKER:
    case VT_PACKAGE: return parseUnit(start, {});
    case VT_COVERGROUP: take(); return parseSkipped(make<VeriCovergroup>(start), VT_COVERGROUP, VT_ENDGROUP, true);
    case VT_PROPERTY: take(); return parseSkipped(make<VeriPropertyDecl>(start), VT_PROPERTY, VT_ENDPROPERTY, true);
    case VT_SEQUENCE: take(); return parseSkipped(make<VeriSequenceDecl>(start), VT_SEQUENCE, VT_ENDSEQUENCE, true);
    case VT_SPECIFY: take(); return parseSkipped(make<VeriSpecifyBlock>(start), VT_SPECIFY, VT_ENDSPECIFY, false);
    case VT_TABLE: take(); return parseSkipped(make<VeriTable>(start), VT_TABLE, VT_ENDTABLE, false);
    case VT_DEFAULT:
    case VT_GLOBAL:
    case VT_CLOCKING: {
        if (k != VT_CLOCKING) take();
        if (at(VT_CLOCKING)) {
            take();
            if (k != VT_CLOCKING && isIdent() && kind(1) == VT_SEMI) { // default clocking name;
                skipToSemi();
                return nullptr;
            }
            return parseSkipped(make<VeriClockingDecl>(start), VT_CLOCKING, VT_ENDCLOCKING, isIdent());
        }
        skipToSemi(); // default disable iff ...;
        return nullptr;
    }
    case VT_CONSTRAINT: return parseConstraintDecl(start);
    case VT_LET: {
        take();
        auto* l = make<VeriLetDecl>(start);
        VeriToken n = peek();
        auto* id = make<VeriFunctionId>(n);
        id->name = takeName();
        id->declaration = l;
        declare(id);
        l->id = id;
        skipToSemi();
        finish(l);
        return l;
    }
    case VT_DEFPARAM: {
        take();
        auto* d = make<VeriDefParam>(start);
        List<VeriDefParamAssign> assigns(*this);
        for (;;) {
            auto* a = make<VeriDefParamAssign>(peek());
            a->lval = parseLValue();
            expect(VT_EQ);
            a->rval = parseMinTypMax();
            finish(a);
            assigns.push(a);
            if (!accept(VT_COMMA)) break;
        }
        d->assigns = assigns.freeze();
        expect(VT_SEMI);
        finish(d);
        return d;
    }
    case VT_BIND: return parseBind(take());
    case VT_ALIAS: {
        take();
        auto* a = make<VeriNetAlias>(start);
        List<VeriExpression> members(*this);
        for (;;) {
            members.push(parseLValue());
            if (!accept(VT_EQ)) break;
        }
        a->members = members.freeze();
        expect(VT_SEMI);
        finish(a);
        return a;
    }
    case VT_TIMEUNIT:
    case VT_TIMEPRECISION: {
        take();
        auto* t = make<VeriTimeUnit>(start);
        t->kind = k;
        t->literal = copy(peek().text);
        skipToSemi();
        finish(t);
        return t;
    }
    case VT_ASSERT:
    case VT_ASSUME:
    case VT_COVER:
    case VT_RESTRICT:
    case VT_EXPECT: return parseAssertion(start);
    case VT_SYSTEM_IDENTIFIER: // elaboration tasks: $error, $fatal, $info, $warning
        return parseStatement();
    case VT_EXTERN:
    case VT_NETTYPE: skipToSemi(); return nullptr;
    default: break;
    }
    if (isGate(k)) return parseGateInstantiation(take());
    if (isIdent() && kind(1) == VT_COLON) {
        // label: assertion or generate construct
        VeriToken n = take();
        take();
        VeriModuleItem* item = parseItem(endKind);
        if (auto* s = dynamic_cast<VeriStatement*>(item)) {
            auto* label = make<VeriLabelId>(n);
            label->name = name(n);
            label->declaration = s;
            finish(label);
            declare(label);
            s->SetLabel(label);
            ColLineFile where = s->Linefile();
            where.leftLine = label->Linefile().leftLine;
            where.leftCol = label->Linefile().leftCol;
            s->SetLinefile(where);
        }
        return item;
    }
    if (isIdent() && instantiationAhead()) return parseInstantiation(start);
    if (VeriModuleItem* d = parseDeclarationItem()) return d;
    syntaxError(start);
    recoverItem();
    return nullptr;
}

VeriModuleItem* VeriParser::Impl::parseContinuousAssign(const VeriToken& start) {
    auto* a = make<VeriContinuousAssign>(start);
    if (at(VT_LPAREN) && isStrengthKind(kind(1))) a->strength = parseStrength();
    if (at(VT_HASH)) a->delay = parseDelay();
    List<VeriNetRegAssign> assigns(*this);
    for (;;) {
        auto* nra = make<VeriNetRegAssign>(peek());
        nra->lval = parseLValue();
        expect(VT_EQ);
        nra->rval = parseExpression();
        finish(nra);
        assigns.push(nra);
        if (!accept(VT_COMMA)) break;
    }
    a->assigns = assigns.freeze();
    expect(VT_SEMI);
    finish(a);
    return a;
}

VeriStrength* VeriParser::Impl::parseStrength() {
    VeriToken start = take(); // (
    auto* s = make<VeriStrength>(start);
    s->lval = take().kind;
    if (accept(VT_COMMA)) s->rval = take().kind;
    expect(VT_RPAREN);
    finish(s);
    return s;
}

VeriModuleItem* VeriParser::Impl::parseInstantiation(const VeriToken& start) {
    auto* inst = make<VeriModuleInstantiation>(start);
    if (!pp.uselib().empty()) inst->uselib = copy(pp.uselib());
    VeriToken n = take();
    auto* ref = make<VeriIdRef>(n);
    ref->name = name(n); // unit names are not looked up in scopes
    finish(ref);
    inst->moduleName = ref;
    // A UDP takes a drive strength and a delay here, a module its parameter values.
    if (at(VT_LPAREN) && isStrengthKind(kind(1))) inst->strength = parseStrength();
    if (at(VT_HASH)) inst->paramValues = parseParamValues();
    List<VeriInstId> instances(*this);
    for (;;) {
        VeriToken in = peek();
        auto* id = make<VeriInstId>(in);
        id->declaration = inst;
        // Unnamed, as gate and UDP instances may be; a module's needs a name, which
        // only elaboration can ask for, since the unit may be a UDP of another file.
        if (!at(VT_LPAREN)) {
            id->name = takeName();
            id->dimensions = parseDimensions();
        }
        if (expect(VT_LPAREN)) {
            List<VeriExpression> connects(*this);
            while (!at(VT_RPAREN) && !atEof()) {
                VeriToken ps = peek();
                std::vector<VeriAttribute> attrs;
                parseAttributes(attrs);
                VeriExpression* connect;
                if (at(VT_DOT_STAR)) {
                    take();
                    connect = make<VeriDotStar>(ps);
                } else if (at(VT_DOT) && (isIdent(1) || isKeywordKind(kind(1)))) {
                    take();
                    auto* pc = make<VeriPortConnect>(ps);
                    VeriToken pn = take();
                    pc->portName = name(pn);
                    if (accept(VT_LPAREN)) {
                        if (!at(VT_RPAREN)) pc->connection = parseExpression();
                        expect(VT_RPAREN);
                    } else {
                        pc->implicit = true;
                        pc->connection = makeRef(pn);
                    }
                    finish(pc);
                    connect = pc;
                } else if (at(VT_COMMA)) {
                    connect = make<VeriPortOpen>(ps);
                } else {
                    connect = parseExpression();
                }
                attach(connect, attrs);
                connects.push(connect);
                if (!accept(VT_COMMA)) break;
                if (at(VT_RPAREN)) connects.push(make<VeriPortOpen>(peek()));
            }
            id->portConnects = connects.freeze();
            expect(VT_RPAREN);
        }
        finish(id);
        declare(id);
        instances.push(id);
        if (!accept(VT_COMMA)) break;
    }
    inst->instances = instances.freeze();
    expect(VT_SEMI);
    finish(inst);
    return inst;
}

VeriModuleItem* VeriParser::Impl::parseGateInstantiation(const VeriToken& start) {
    auto* g = make<VeriGateInstantiation>(start);
    g->gate = start.kind;
    if (at(VT_LPAREN) && isStrengthKind(kind(1))) g->strength = parseStrength();
    if (accept(VT_HASH)) g->delays = parseDelayValues();
    List<VeriInstId> instances(*this);
    for (;;) {
        VeriToken in = peek();
        auto* id = make<VeriInstId>(in);
        id->declaration = g;
        if (isIdent()) {
            id->name = takeName();
            id->dimensions = parseDimensions();
        }
        if (expect(VT_LPAREN)) {
            List<VeriExpression> connects(*this);
            while (!at(VT_RPAREN) && !atEof()) {
                connects.push(parseExpression());
                if (!accept(VT_COMMA)) break;
            }
            id->portConnects = connects.freeze();
            expect(VT_RPAREN);
        }
        finish(id);
        declare(id);
        instances.push(id);
        if (!accept(VT_COMMA)) break;
    }
    g->instances = instances.freeze();
    expect(VT_SEMI);
    finish(g);
    return g;
}

VeriModuleItem* VeriParser::Impl::parseGenerateItemBody() {
    if (at(VT_BEGIN)) return parseGenerateBlock(take());
    if (isIdent() && kind(1) == VT_COLON && kind(2) == VT_BEGIN) {
        // name: begin ... end
        VeriToken n = take();
        take();
        auto* b = static_cast<VeriGenerateBlock*>(parseGenerateBlock(take()));
        if (!b->blockId) {
            b->blockId = make<VeriBlockId>(n);
            b->blockId->name = name(n);
            b->blockId->declaration = b;
            b->blockId->scope = b->scope;
            finish(b->blockId);
            declare(b->blockId);
        }
        return b;
    }
    return parseItem(VT_EOF);
}

VeriModuleItem* VeriParser::Impl::parseGenerateFor(const VeriToken& start) {
    auto* f = make<VeriGenerateFor>(start);
    ScopeMark upper = pushScope(f);
    f->scope = scope;
    expect(VT_LPAREN);
    VeriToken is = peek();
    if (accept(VT_GENVAR)) {
        auto* decl = make<VeriDataDecl>(is);
        decl->kind = VT_GENVAR;
        VeriToken n = peek();
        auto* g = make<VeriGenVarId>(n);
        g->name = takeName();
        g->declaration = decl;
        finish(g);
        declare(g);
        decl->ids = single<VeriIdDef>(g);
        finish(decl);
        f->genvarDecl = decl;
        // The assignment names the genvar again.
        unread(n);
    }
    VeriToken as = peek();
    if (VeriExpression* lval = parseLValue()) f->init = parseAssignmentRest(lval, as, false);
    expect(VT_SEMI);
    f->cond = parseExpression();
    expect(VT_SEMI);
    VeriToken rs = peek();
    VeriExpression* rep;
    if (at(VT_INC) || at(VT_DEC)) {
        VeriToken op = take();
        auto* u = make<VeriUnaryOperator>(op);
        u->oper = op.kind;
        u->arg = parseLValue();
        finish(u);
        rep = u;
    } else {
        rep = parseLValue();
    }
    if (rep) f->rep = parseAssignmentRest(rep, rs, false);
    expect(VT_RPAREN);
    f->item = parseGenerateItemBody();
    popScope(upper);
    // The loop's block name is visible beside the loop (blk[i].x), not only inside it.
    if (VeriBlockId* block = f->GetBlockId()) declare(block);
    finish(f);
    return f;
}

VeriModuleItem* VeriParser::Impl::parseGenerateIf(const VeriToken& start) {
    auto* g = make<VeriGenerateConditional>(start);
    expect(VT_LPAREN);
    g->cond = parseExpression();
    expect(VT_RPAREN);
    g->thenItem = parseGenerateItemBody();
    if (accept(VT_ELSE)) g->elseItem = parseGenerateItemBody();
    finish(g);
    return g;
}

VeriModuleItem* VeriParser::Impl::parseGenerateCase(const VeriToken& start) {
    auto* g = make<VeriGenerateCase>(start);
    expect(VT_LPAREN);
    g->cond = parseExpression();
    expect(VT_RPAREN);
    List<VeriGenerateCaseItem> items(*this);
    while (!at(VT_ENDCASE) && !atEof() && !atUnitEnd()) {
        auto* item = make<VeriGenerateCaseItem>(peek());
        if (accept(VT_DEFAULT)) {
            accept(VT_COLON);
        } else {
            List<VeriExpression> conditions(*this);
            for (;;) {
                VeriExpression* e = parseExpression();
                if (!e) break;
                conditions.push(e);
                if (!accept(VT_COMMA)) break;
            }
            item->conditions = conditions.freeze();
            if (!expect(VT_COLON)) {
                recoverItem();
                dropped(item);
                continue;
            }
        }
        item->item = parseGenerateItemBody();
        finish(item);
        items.push(item);
        if (bailing) break;
    }
    g->items = items.freeze();
    expect(VT_ENDCASE);
    finish(g);
    return g;
}

VeriModuleItem* VeriParser::Impl::parseGenerateBlock(const VeriToken& start) {
    auto* b = make<VeriGenerateBlock>(start);
    if (at(VT_COLON) && isIdent(1)) {
        take();
        VeriToken n = take();
        b->blockId = make<VeriBlockId>(n);
        b->blockId->name = name(n);
        b->blockId->declaration = b;
        finish(b->blockId);
        declare(b->blockId);
    }
    ScopeMark upper = pushScope(b);
    b->scope = scope;
    if (b->blockId) b->blockId->scope = scope;
    List<VeriModuleItem> items(*this);
    parseItems(items, VT_END);
    b->items = items.freeze();
    expect(VT_END);
    skipEndLabel();
    popScope(upper);
    finish(b);
    return b;
}

VeriModuleItem* VeriParser::Impl::parseModport(const VeriToken& start) {
    auto* mp = make<VeriModport>(start);
    List<VeriModportDecl> decls(*this);
    for (;;) {
        VeriToken n = peek();
        auto* decl = make<VeriModportDecl>(n);
        auto* id = make<VeriModportId>(n);
        id->name = takeName();
        id->declaration = decl;
        finish(id);
        declare(id);
        decl->id = id;
        ScopeMark upper = pushScope(decl);
        decl->scope = scope;
        id->scope = scope;
        unsigned dir = 0;
        if (expect(VT_LPAREN)) {
            List<VeriPrototypeId> ports(*this);
            while (!at(VT_RPAREN) && !atEof()) {
                std::vector<VeriAttribute> attrs;
                parseAttributes(attrs);
                if (isDirection(kind()) || at(VT_IMPORT) || at(VT_EXPORT) || at(VT_CLOCKING)) dir = take().kind;
                if ((dir == VT_IMPORT || dir == VT_EXPORT) && (at(VT_FUNCTION) || at(VT_TASK))) {
                    // a subprogram prototype
                    VeriToken ps = take();
                    VeriFunctionDecl* proto = parseSubprogramPrototype(ps);
                    auto* port = make<VeriPrototypeId>(ps);
                    port->name = proto && proto->id ? proto->id->name : Symbol();
                    port->dir = dir;
                    port->declaration = decl;
                    finish(port);
                    attach(port, attrs);
                    dropped(proto); // the port keeps the name; the signature is not kept
                    ports.push(port);
                } else {
                    VeriToken ps = peek();
                    auto* port = make<VeriPrototypeId>(ps);
                    port->dir = dir;
                    port->declaration = decl;
                    if (accept(VT_DOT)) {
                        port->name = takeName();
                        expect(VT_LPAREN);
                        if (!at(VT_RPAREN)) port->expr = parseExpression();
                        expect(VT_RPAREN);
                    } else {
                        port->name = takeName();
                    }
                    finish(port);
                    attach(port, attrs);
                    declare(port);
                    ports.push(port);
                }
                if (!accept(VT_COMMA)) break;
            }
            decl->ports = ports.freeze();
            expect(VT_RPAREN);
        }
        popScope(upper);
        finish(decl);
        decls.push(decl);
        if (!accept(VT_COMMA)) break;
    }
    mp->decls = decls.freeze();
    expect(VT_SEMI);
    finish(mp);
    return mp;
}

VeriFunctionDecl* VeriParser::Impl::parseSubprogramPrototype(const VeriToken& start) {
    auto* f = start.kind == VT_TASK ? make<VeriTaskDecl>(start) : make<VeriFunctionDecl>(start);
    f->prototype = true;
    // A constructor (`extern function new(...)`) has no return type.
    if (start.kind == VT_FUNCTION && !at(VT_NEW) &&
        !(isIdent() && (kind(1) == VT_LPAREN || kind(1) == VT_COMMA || kind(1) == VT_RPAREN || kind(1) == VT_SEMI)))
        f->returnType = parseDataType(true);
    VeriToken n = peek();
    VeriIdDef* id = start.kind == VT_TASK ? static_cast<VeriIdDef*>(make<VeriTaskId>(n)) : make<VeriFunctionId>(n);
    if (at(VT_NEW)) id->name = Symbol::Intern(take().text);
    else id->name = takeName();
    id->declaration = f;
    finish(id);
    f->id = id;
    ScopeMark upper = pushScope(f);
    f->scope = scope;
    if (accept(VT_LPAREN)) f->ports = parseSubprogramPorts();
    popScope(upper);
    finish(f);
    return f;
}

VeriModuleItem* VeriParser::Impl::parseImportExport(const VeriToken& start, bool isExport) {
    VeriImportDecl* imp = isExport ? nullptr : make<VeriImportDecl>(start);
    VeriExportDecl* exp = isExport ? make<VeriExportDecl>(start) : nullptr;
    List<VeriScopeName> items(*this);
    for (;;) {
        VeriToken ps = peek();
        if (isExport && at(VT_STAR)) { // export *::*;
            take();
            expect(VT_SCOPE);
            expect(VT_STAR);
        } else {
            auto* item = make<VeriScopeName>(ps);
            VeriToken pn = peek();
            Symbol pkg = takeName();
            auto* ref = make<VeriIdRef>(pn);
            ref->name = pkg;
            finish(ref);
            item->prefix = ref;
            expect(VT_SCOPE);
            if (!accept(VT_STAR)) item->name = takeName();
            finish(item);
            if (!isExport) importPackage(item);
            items.push(item);
        }
        if (!accept(VT_COMMA)) break;
    }
    if (isExport) exp->items = items.freeze();
    else imp->items = items.freeze();
    expect(VT_SEMI);
    VeriModuleItem* result = isExport ? static_cast<VeriModuleItem*>(exp) : imp;
    finish(result);
    return result;
}

VeriModuleItem* VeriParser::Impl::parseSkipped(VeriSkippedItem* node, unsigned open, unsigned endKind, bool named) {
    if (named && isIdent()) {
        VeriToken n = peek();
        VeriIdDef* id = open == VT_CLOCKING ? static_cast<VeriIdDef*>(make<VeriClockingId>(n)) : make<VeriLabelId>(n);
        id->name = takeName();
        id->declaration = node;
        finish(id);
        declare(id);
        node->id = id;
    }
    skipUntilEnd(open, endKind);
    skipEndLabel();
    finish(node);
    return node;
}

VeriModuleItem* VeriParser::Impl::parseClass(const VeriToken& start) {
    auto* c = make<VeriClass>(start);
    std::vector<unsigned> kinds; // virtual / interface
    while (!at(VT_CLASS) && !atEof()) kinds.push_back(take().kind);
    if (!kinds.empty()) c->SetQualifiers(freeze(kinds));
    take();
    if (at(VT_AUTOMATIC) || at(VT_STATIC)) take();
    VeriToken n = peek();
    auto* id = make<VeriTypeId>(n);
    id->name = takeName();
    id->declaration = c;
    finish(id);
    declare(id);
    c->id = id;
    ScopeMark upper = pushScope(c);
    c->scope = scope;
    id->scope = scope;
    List<VeriModuleItem> items(*this);
    if (at(VT_HASH)) {
        // parameters of the class, kept as declarations of its scope
        List<VeriTreeNode> parameters(*this);
        parseParameterPortList(parameters);
        for (size_t i = 0; i < parameters.size(); ++i) items.push(static_cast<VeriModuleItem*>(parameters[i]));
        c->parameters = unsigned(parameters.size());
    }
    // extends base[#(..)][(args)], interface classes extend several; implements a, b
    for (unsigned clause : {VT_EXTENDS, VT_IMPLEMENTS}) {
        if (!accept(clause)) continue;
        List<VeriDataType> types(*this);
        do {
            if (VeriDataType* t = parseClassType()) types.push(t);
            if (at(VT_LPAREN)) skipBalanced(); // arguments of the base's constructor
        } while (accept(VT_COMMA));
        (clause == VT_EXTENDS ? c->extends : c->implements) = types.freeze();
    }
    while (!at(VT_SEMI) && !atEof() && !atUnitEnd()) {
        if (at(VT_LPAREN)) skipBalanced();
        else take();
    }
    expect(VT_SEMI);
    while (!at(VT_ENDCLASS) && !atEof() && !atUnitEnd()) {
        std::vector<VeriAttribute> attrs;
        parseAttributes(attrs);
        VeriToken itemStart = peek();
        std::vector<unsigned> quals;
        bool prototype = false;
        for (;;) {
            unsigned k = kind();
            if (k == VT_PURE || k == VT_EXTERN) prototype = true;
            if (k == VT_PURE || k == VT_EXTERN || k == VT_STATIC || k == VT_LOCAL || k == VT_PROTECTED ||
                k == VT_RAND || k == VT_RANDC || k == VT_AUTOMATIC ||
                (k == VT_VIRTUAL && kind(1) != VT_INTERFACE && !isIdent(1))) {
                quals.push_back(take().kind);
                continue;
            }
            break;
        }
        unsigned k = kind();
        VeriModuleItem* item = nullptr;
        if (k == VT_FUNCTION || k == VT_TASK) {
            VeriToken kw = take();
            if (prototype) {
                item = parseSubprogramPrototype(kw);
                expect(VT_SEMI);
            } else {
                item = parseSubprogram(itemStart, k == VT_TASK, 0);
            }
        } else if (k == VT_CONSTRAINT && prototype) {
            item = parseConstraintDecl(peek());
        } else if (k == VT_SEMI) {
            take();
        } else if (k == VT_CONSTRAINT || k == VT_COVERGROUP || k == VT_CLASS || k == VT_TYPEDEF || k == VT_PARAMETER ||
                   k == VT_LOCALPARAM || k == VT_IMPORT || (k == VT_INTERFACE && kind(1) == VT_CLASS) ||
                   (k == VT_VIRTUAL && kind(1) == VT_CLASS)) {
            item = parseItem(VT_ENDCLASS);
        } else if (!(item = parseDeclarationItem())) {
            syntaxError(peek(), "a class item");
            recoverItem();
        }
        attach(item, attrs);
        if (item) {
            if (!quals.empty()) {
                ArenaArray<unsigned> own = item->GetQualifiers();
                quals.insert(quals.end(), own.begin(), own.end());
                item->SetQualifiers(freeze(quals));
            }
            items.push(item);
        }
        if (bailing) break;
    }
    c->items = items.freeze();
    expect(VT_ENDCLASS);
    skipEndLabel();
    popScope(upper);
    finish(c);
    return c;
}

// A class named in a class header: c, p::c, c #(...), c #(...)::inner.
VeriDataType* VeriParser::Impl::parseClassType() {
    if (!isIdent()) return nullptr;
    VeriToken start = peek();
    auto* t = make<VeriTypeRef>(start);
    take();
    VeriExpression* n = makeRef(start);
    List<VeriExpression> params(*this);
    for (;;) {
        if (at(VT_HASH) && kind(1) == VT_LPAREN) {
            for (VeriExpression* value : parseParamValues()) params.push(value);
        } else if (at(VT_SCOPE) && isIdent(1)) {
            take();
            n = scopeName(start, n);
        } else {
            break;
        }
    }
    t->typeName = n;
    t->paramValues = params.freeze();
    finish(t);
    return t;
}

VeriExpression* VeriParser::Impl::parseConfigCell() {
    VeriToken cn = peek();
    auto* ref = make<VeriIdRef>(cn);
    ref->name = takeName();
    finish(ref);
    if (!accept(VT_DOT)) return ref;
    auto* sc = make<VeriScopeName>(cn);
    sc->prefix = ref;
    sc->name = takeName();
    finish(sc);
    return sc;
}

VeriModuleItem* VeriParser::Impl::parseConfigRule(const VeriToken& start) {
    VeriConfigRule* r = nullptr;
    unsigned kind = take().kind;
    if (kind == VT_INSTANCE) {
        r = make<VeriInstanceConfig>(start);
        // top.u1.u2: a name, then one selection per level.
        VeriToken first = peek();
        auto* ref = make<VeriIdRef>(first);
        ref->name = takeName();
        finish(ref);
        VeriExpression* path = ref;
        while (accept(VT_DOT)) {
            auto* sel = make<VeriSelectedName>(first);
            sel->prefix = path;
            sel->suffix = takeName();
            finish(sel);
            path = sel;
        }
        r->target = path;
    } else if (kind == VT_CELL) {
        r = make<VeriCellConfig>(start);
        r->target = parseConfigCell();
    } else {
        r = make<VeriDefaultConfig>(start);
    }
    if (accept(VT_LIBLIST)) {
        r->hasLiblist = true;
        List<VeriExpression> libs(*this);
        while (isIdent()) {
            VeriToken ln = take();
            auto* ref = make<VeriIdRef>(ln);
            ref->name = name(ln);
            finish(ref);
            libs.push(ref);
        }
        r->liblist = libs.freeze();
    } else if (kind != VT_DEFAULT && at(VT_USE)) {
        auto* use = make<VeriUseClause>(take());
        if (isIdent()) use->cell = parseConfigCell();
        // Parameter values, written `#(.P(v), ...)` or bare `.P(v), ...`.
        bool parens = accept(VT_HASH);
        if (parens) expect(VT_LPAREN);
        if (parens || at(VT_DOT)) {
            List<VeriExpression> values(*this);
            while (at(VT_DOT)) {
                VeriToken dot = take();
                auto* pc = make<VeriPortConnect>(dot);
                pc->portName = takeName();
                expect(VT_LPAREN);
                if (!at(VT_RPAREN)) pc->connection = parseExpression();
                expect(VT_RPAREN);
                finish(pc);
                values.push(pc);
                if (!accept(VT_COMMA)) break;
            }
            if (parens) expect(VT_RPAREN);
            use->paramValues = values.freeze();
        }
        if (accept(VT_COLON)) use->isConfig = expect(VT_CONFIG);
        finish(use);
        r->use = use;
    } else {
        syntaxError(peek(), kind == VT_DEFAULT ? "liblist" : "liblist or use");
    }
    expect(VT_SEMI);
    finish(r);
    return r;
}

VeriModuleItem* VeriParser::Impl::parseConfig(const VeriToken& start) {
    auto* c = make<VeriConfiguration>(start);
    VeriToken n = peek();
    auto* id = make<VeriConfigurationId>(n);
    id->name = takeName();
    id->declaration = c;
    finish(id);
    c->id = id;
    expect(VT_SEMI);
    while (at(VT_LOCALPARAM)) skipToSemi();
    if (accept(VT_DESIGN)) {
        List<VeriExpression> cells(*this);
        while (isIdent()) cells.push(parseConfigCell());
        c->designCells = cells.freeze();
        expect(VT_SEMI);
    }
    List<VeriModuleItem> rules(*this);
    while (!at(VT_ENDCONFIG) && !atEof()) {
        if (at(VT_DEFAULT) || at(VT_INSTANCE) || at(VT_CELL)) {
            rules.push(parseConfigRule(peek()));
            continue;
        }
        syntaxError(peek(), "default, instance, cell or endconfig");
        skipToSemi();
    }
    c->items = rules.freeze();
    expect(VT_ENDCONFIG);
    skipEndLabel();
    finish(c);
    return c;
}

VeriModuleItem* VeriParser::Impl::parseBind(const VeriToken& start) {
    auto* b = make<VeriBindDirective>(start);
    b->target = parseLValue();
    if (accept(VT_COLON)) {
        List<VeriExpression> targets(*this);
        for (;;) {
            targets.push(parseLValue());
            if (!accept(VT_COMMA)) break;
        }
        b->targetInstances = targets.freeze();
    }
    if (isIdent() && instantiationAhead()) b->instantiation = parseInstantiation(peek());
    else {
        syntaxError(peek(), "an instantiation");
        recoverItem();
    }
    finish(b);
    return b;
}

} // namespace hdl
