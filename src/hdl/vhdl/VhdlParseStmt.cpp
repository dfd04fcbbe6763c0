// Concurrent and sequential statements.
#include <string>

#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlParserImpl.h"

namespace hdl {

bool VhdlParser::AtStatementListEnd() const {
    unsigned k = Kind();
    return k == VHDL_EOF || k == VHDL_END || k == VHDL_ELSIF || k == VHDL_ELSE || k == VHDL_WHEN;
}

void VhdlParser::ParseEndLabel(VhdlIdDef* label) {
    if (IsIdentifier()) {
        if (label) {
            std::string a(Text(Tok())), b(label->OrigName());
            for (auto* s : {&a, &b})
                for (char& c : *s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            if (a != b) {
                ColLineFile loc(fileId_, Tok().line, Tok().col);
                Message::Tell<vhdl_msg::ClosingLabelDiffers>(&loc, std::string(Text(Tok())).c_str(),
                                                             std::string(label->OrigName()).c_str());
            }
        }
        ++pos_;
    }
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
}

VhdlNodeList VhdlParser::ParseConcurrentStatements() {
    std::vector<VhdlTreeNode*> stmts;
    while (!AtStatementListEnd()) {
        size_t before = pos_;
        if (VhdlTreeNode* s = ParseConcurrentStatement()) stmts.push_back(s);
        if (pos_ == before) {
            SyntaxErrorUnexpected();
            SkipToItemEnd();
            if (pos_ == before) ++pos_;
        }
    }
    return List(stmts);
}

VhdlTreeNode* VhdlParser::ParseConcurrentStatement() {
    size_t start = pos_;
    VhdlIdDef* label = nullptr;
    if (IsIdentifier() && Kind(1) == VHDL_COLON) {
        label = MakeId<VhdlLabelId>(pos_);
        pos_ += 2;
    }
    bool postponed = Accept(VHDL_POSTPONED);
    VhdlTreeNode* stmt = nullptr;
    switch (Kind()) {
    case VHDL_PROCESS: stmt = ParseProcess(start, label, postponed); break;
    case VHDL_BLOCK: stmt = ParseBlock(start, label); break;
    case VHDL_COMPONENT:
    case VHDL_ENTITY:
    case VHDL_CONFIGURATION: stmt = ParseInstantiation(start, label); break;
    case VHDL_FOR:
    case VHDL_IF:
    case VHDL_CASE: stmt = ParseGenerate(start, label); break;
    case VHDL_ASSERT: {
        if (mode_ >= VHDL_2008 && IsIdentifier(1)) {
            // A PSL assertion (assert always ...) is recognised and dropped.
            std::string word(Text(Tok(1)));
            for (char& c : word) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            if (word == "always" || word == "never" || word == "eventually") {
                SkipPslDeclaration();
                return nullptr;
            }
        }
        VhdlAssertionStatement* a = ParseAssertion(start, label, postponed);
        stmt = a;
        break;
    }
    case VHDL_WITH: stmt = ParseSelectedAssignment(start, label, postponed, false); break;
    case VHDL_ID:
    case VHDL_EXTENDED_ID:
    case VHDL_LPAREN:
    case VHDL_LTLT:
    case VHDL_STRING:
        if (mode_ >= VHDL_2008 && Is(VHDL_ID) && Kind(1) != VHDL_LE && Kind(1) != VHDL_DOT && Kind(1) != VHDL_LPAREN &&
            Kind(1) != VHDL_SEMI) {
            // The PSL words are reserved from 2008 on: a verification directive stands
            // among the statements. A property or sequence declaration belongs in the
            // declarative part, but simulators take it here too, so it only warns.
            switch (VhdlKeyword(Text(Tok()), VHDL_PSL)) {
            case VHDL_ASSUME:
            case VHDL_ASSUME_GUARANTEE:
            case VHDL_COVER:
            case VHDL_RESTRICT:
            case VHDL_RESTRICT_GUARANTEE:
            case VHDL_FAIRNESS:
            case VHDL_STRONG: SkipPslDeclaration(); return nullptr;
            case VHDL_PROPERTY:
            case VHDL_SEQUENCE: {
                ColLineFile loc(fileId_, Tok().line, Tok().col);
                Message::Tell<vhdl_msg::PslDeclarationAmongStatements>(&loc, std::string(Text(Tok())).c_str());
                SkipPslDeclaration();
            }
                return nullptr;
            default: break;
            }
        }
        // A component instantiation names a unit followed by a map aspect; a labelled
        // bare name (`u : comp;`) is taken as an instantiation too, not as a call.
        if (label && IsIdentifier()) {
            size_t save = pos_;
            VhdlName* n = ParseName();
            bool bare = Is(VHDL_SEMI) && n &&
                        (n->GetClassId() == VhdlIdRef::kClassId || n->GetClassId() == VhdlSelectedName::kClassId);
            bool inst = Is(VHDL_GENERIC) || Is(VHDL_PORT) || bare;
            pos_ = save;
            if (inst && n) {
                stmt = ParseInstantiation(start, label);
                break;
            }
        }
        stmt = ParseConcurrentAssignmentOrCall(start, label, postponed);
        break;
    case VHDL_DEFAULT: SkipPslDeclaration(); return nullptr;
    default:
        if (StartsDeclaration()) {
            SyntaxError<vhdl_msg::DeclarationAmongStatements>(std::string(Text(Tok())).c_str());
            ParseDeclaration();
            return nullptr;
        }
        SyntaxErrorUnexpected();
        SkipToItemEnd();
        return nullptr;
    }
    if (label) label->declaration = stmt;
    return stmt;
}

VhdlTreeNode* VhdlParser::ParseProcess(size_t start, VhdlIdDef* label, bool postponed) {
    Expect(VHDL_PROCESS);
    auto* proc = arena_.make<VhdlProcessStatement>();
    proc->label = label;
    proc->postponed = postponed;
    if (Accept(VHDL_LPAREN)) {
        std::vector<VhdlTreeNode*> names;
        if (Is(VHDL_ALL)) {
            names.push_back(Make<VhdlAll>(pos_++));
        } else {
            do {
                if (VhdlName* n = ParseName()) names.push_back(n);
                else break;
            } while (Accept(VHDL_COMMA));
        }
        Expect(VHDL_RPAREN);
        proc->sensitivity = List(names);
    }
    Accept(VHDL_IS);
    proc->declarations = ParseDeclarativePart();
    Expect(VHDL_BEGIN);
    proc->statements = ParseSequentialStatements();
    Expect(VHDL_END);
    Accept(VHDL_POSTPONED);
    Expect(VHDL_PROCESS);
    ParseEndLabel(label);
    Finish(proc, start);
    return proc;
}

VhdlTreeNode* VhdlParser::ParseBlock(size_t start, VhdlIdDef* label) {
    Expect(VHDL_BLOCK);
    auto* block = arena_.make<VhdlBlockStatement>();
    block->label = label;
    if (Accept(VHDL_LPAREN)) {
        block->guard = ParseExpression();
        Expect(VHDL_RPAREN);
    }
    Accept(VHDL_IS);
    if (Is(VHDL_GENERIC)) {
        size_t s = pos_++;
        auto* g = arena_.make<VhdlBlockGenerics>();
        g->clause = ParseInterfaceList();
        Expect(VHDL_SEMI);
        if (Is(VHDL_GENERIC)) {
            g->map = ParseMapAspect(VHDL_GENERIC);
            Expect(VHDL_SEMI);
        }
        Finish(g, s);
        block->generics = g;
    }
    if (Is(VHDL_PORT)) {
        size_t s = pos_++;
        auto* p = arena_.make<VhdlBlockPorts>();
        p->clause = ParseInterfaceList();
        Expect(VHDL_SEMI);
        if (Is(VHDL_PORT)) {
            p->map = ParseMapAspect(VHDL_PORT);
            Expect(VHDL_SEMI);
        }
        Finish(p, s);
        block->ports = p;
    }
    block->declarations = ParseDeclarativePart();
    Expect(VHDL_BEGIN);
    block->statements = ParseConcurrentStatements();
    Expect(VHDL_END);
    Expect(VHDL_BLOCK);
    ParseEndLabel(label);
    Finish(block, start);
    return block;
}

VhdlTreeNode* VhdlParser::ParseInstantiation(size_t start, VhdlIdDef* label) {
    auto* inst = arena_.make<VhdlComponentInstantiationStatement>();
    inst->label = label;
    if (!label) SyntaxError<vhdl_msg::InstantiationNeedsLabel>();
    size_t unitStart = pos_;
    if (Is(VHDL_COMPONENT) || Is(VHDL_ENTITY) || Is(VHDL_CONFIGURATION)) {
        auto* unit = arena_.make<VhdlInstantiatedUnit>();
        unit->entityClass = Kind();
        ++pos_;
        unit->name = ParseName();
        Finish(unit, unitStart);
        inst->unit = unit;
    } else {
        inst->unit = ParseName();
    }
    if (Is(VHDL_GENERIC)) inst->genericMap = ParseMapAspect(VHDL_GENERIC);
    if (Is(VHDL_PORT)) inst->portMap = ParseMapAspect(VHDL_PORT);
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(inst, start);
    return inst;
}

VhdlTreeNode* VhdlParser::ParseGenerate(size_t start, VhdlIdDef* label) {
    if (!label) SyntaxError<vhdl_msg::GenerateNeedsLabel>();
    // Alternative labels of 2008: `if alt: cond generate`, `when alt: choices =>`.
    auto altLabel = [&]() -> VhdlIdDef* {
        if (IsIdentifier() && Kind(1) == VHDL_COLON) {
            VhdlIdDef* l = MakeId<VhdlLabelId>(pos_);
            pos_ += 2;
            return l;
        }
        return nullptr;
    };
    if (Accept(VHDL_FOR)) {
        size_t schemeStart = pos_ - 1;
        auto* scheme = arena_.make<VhdlForScheme>();
        scheme->id = ParseId<VhdlConstantId>();
        if (scheme->id) scheme->id->declaration = scheme;
        Expect(VHDL_IN);
        scheme->range = ParseDiscreteRange();
        Finish(scheme, schemeStart);
        Expect(VHDL_GENERATE);
        VhdlGenerateStatement* gen = ParseGenerateBody(start, scheme, false);
        gen->label = label;
        Expect(VHDL_END);
        Expect(VHDL_GENERATE);
        ParseEndLabel(label);
        Finish(gen, start);
        return gen;
    }
    if (Is(VHDL_IF)) {
        std::vector<VhdlTreeNode*> alternatives;
        size_t altStart = pos_;
        ++pos_;
        auto* first = arena_.make<VhdlIfScheme>();
        first->alternativeLabel = altLabel();
        first->condition = ParseExpression();
        Finish(first, altStart);
        Expect(VHDL_GENERATE);
        alternatives.push_back(ParseGenerateBody(altStart, first, true));
        while (Is(VHDL_ELSIF) || Is(VHDL_ELSE)) {
            altStart = pos_;
            bool isElse = Is(VHDL_ELSE);
            ++pos_;
            auto* scheme = arena_.make<VhdlElsifElseScheme>();
            scheme->alternativeLabel = altLabel();
            if (!isElse) scheme->condition = ParseExpression();
            Finish(scheme, altStart);
            Expect(VHDL_GENERATE);
            alternatives.push_back(ParseGenerateBody(altStart, scheme, true));
        }
        Expect(VHDL_END);
        Expect(VHDL_GENERATE);
        ParseEndLabel(label);
        if (alternatives.size() == 1 && !first->alternativeLabel) {
            // The if generate of 1076-1993 without alternatives is one generate statement.
            auto* gen = static_cast<VhdlGenerateStatement*>(alternatives.front());
            gen->label = label;
            Finish(gen, start);
            return gen;
        }
        auto* stmt = arena_.make<VhdlIfElsifGenerateStatement>();
        stmt->label = label;
        stmt->alternatives = List(alternatives);
        Finish(stmt, start);
        return stmt;
    }
    Expect(VHDL_CASE);
    auto* stmt = arena_.make<VhdlCaseGenerateStatement>();
    stmt->label = label;
    stmt->expression = ParseExpression();
    Expect(VHDL_GENERATE);
    std::vector<VhdlTreeNode*> alternatives;
    while (Is(VHDL_WHEN)) {
        size_t altStart = pos_++;
        auto* scheme = arena_.make<VhdlCaseItemScheme>();
        scheme->alternativeLabel = altLabel();
        scheme->choices = ParseChoices();
        Finish(scheme, altStart);
        Expect(VHDL_ARROW);
        alternatives.push_back(ParseGenerateBody(altStart, scheme, true));
    }
    stmt->alternatives = List(alternatives);
    Expect(VHDL_END);
    Expect(VHDL_GENERATE);
    ParseEndLabel(label);
    Finish(stmt, start);
    return stmt;
}

// [declarations begin] statements [end [alternative_label] ;]
VhdlGenerateStatement* VhdlParser::ParseGenerateBody(size_t start, VhdlIterScheme* scheme, bool alternative) {
    auto* gen = arena_.make<VhdlGenerateStatement>();
    gen->scheme = scheme;
    if (StartsDeclaration() || Is(VHDL_BEGIN)) {
        gen->declarations = ParseDeclarativePart();
        Expect(VHDL_BEGIN);
    }
    gen->statements = ParseConcurrentStatements();
    // An alternative may close with `end [label];` before the next alternative or
    // before `end generate`.
    if (Is(VHDL_END) && Kind(1) != VHDL_GENERATE) {
        if (Kind(1) == VHDL_SEMI || (IsIdentifier(1) && Kind(2) == VHDL_SEMI)) {
            ++pos_;
            if (IsIdentifier()) ++pos_;
            Expect(VHDL_SEMI);
        }
    } else if (!alternative && Is(VHDL_END) && Kind(1) == VHDL_SEMI) {
        pos_ += 2;
    }
    Finish(gen, start);
    return gen;
}

VhdlDelayMechanism* VhdlParser::ParseDelayMechanism() {
    size_t start = pos_;
    if (Accept(VHDL_TRANSPORT)) {
        auto* d = arena_.make<VhdlDelayMechanism>();
        d->kind = VHDL_TRANSPORT;
        Finish(d, start);
        return d;
    }
    if (!Is(VHDL_REJECT) && !Is(VHDL_INERTIAL)) return nullptr;
    auto* d = arena_.make<VhdlDelayMechanism>();
    d->kind = VHDL_INERTIAL;
    if (Accept(VHDL_REJECT)) d->rejectTime = ParseExpression();
    Expect(VHDL_INERTIAL);
    Finish(d, start);
    return d;
}

// waveform_element {, waveform_element} | unaffected
VhdlNodeList VhdlParser::ParseWaveform() {
    std::vector<VhdlTreeNode*> elements;
    if (Is(VHDL_UNAFFECTED)) {
        elements.push_back(Make<VhdlUnaffected>(pos_++));
        return List(elements);
    }
    do {
        size_t start = pos_;
        auto* el = arena_.make<VhdlWaveformElement>();
        el->value = ParseExpression();
        if (Accept(VHDL_AFTER)) el->after = ParseExpression();
        Finish(el, start);
        elements.push_back(el);
        if (pos_ == start) break;
    } while (Accept(VHDL_COMMA));
    return List(elements);
}

// waveform [when condition {else waveform when condition} [else waveform]]
VhdlNodeList VhdlParser::ParseConditionalWaveforms() {
    std::vector<VhdlTreeNode*> items;
    for (;;) {
        size_t start = pos_;
        auto* cw = arena_.make<VhdlConditionalWaveform>();
        cw->waveform = ParseWaveform();
        if (Accept(VHDL_WHEN)) cw->condition = ParseExpression();
        Finish(cw, start);
        items.push_back(cw);
        if (!cw->condition || !Accept(VHDL_ELSE)) break;
    }
    return List(items);
}

// expression [when condition {else expression when condition} [else expression]]
VhdlNodeList VhdlParser::ParseConditionalExpressions() {
    std::vector<VhdlTreeNode*> items;
    for (;;) {
        size_t start = pos_;
        auto* ce = arena_.make<VhdlConditionalExpression>();
        ce->value = ParseExpression();
        if (Accept(VHDL_WHEN)) ce->condition = ParseExpression();
        Finish(ce, start);
        items.push_back(ce);
        if (!ce->condition || !Accept(VHDL_ELSE)) break;
    }
    return List(items);
}

VhdlAssertionStatement* VhdlParser::ParseAssertion(size_t start, VhdlIdDef* label, bool postponed) {
    Expect(VHDL_ASSERT);
    auto* a = arena_.make<VhdlAssertionStatement>();
    a->label = label;
    a->postponed = postponed;
    a->condition = ParseExpression();
    if (Accept(VHDL_REPORT)) a->report = ParseExpression();
    if (Accept(VHDL_SEVERITY)) a->severity = ParseExpression();
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(a, start);
    return a;
}

// with e select[?] target <= ... | target := ... | target <= force ...
VhdlTreeNode* VhdlParser::ParseSelectedAssignment(size_t start, VhdlIdDef* label, bool postponed, bool sequential) {
    Expect(VHDL_WITH);
    VhdlExpression* selector = ParseExpression();
    Expect(VHDL_SELECT);
    bool matching = Accept(VHDL_QUESTION);
    VhdlExpression* target = ParseTarget();
    auto selectedExpressions = [&]() {
        std::vector<VhdlTreeNode*> items;
        do {
            size_t s = pos_;
            auto* se = arena_.make<VhdlSelectedExpression>();
            se->value = ParseExpression();
            Expect(VHDL_WHEN);
            se->choices = ParseChoices();
            Finish(se, s);
            items.push_back(se);
            if (pos_ == s) break;
        } while (Accept(VHDL_COMMA));
        return List(items);
    };
    VhdlTreeNode* result = nullptr;
    if (sequential && Accept(VHDL_VARASSIGN)) {
        auto* s = arena_.make<VhdlSelectedVariableAssignmentStatement>();
        s->label = label;
        s->expression = selector;
        s->matching = matching;
        s->target = target;
        s->values = selectedExpressions();
        result = s;
    } else {
        Expect(VHDL_LE);
        if (Accept(VHDL_FORCE)) {
            auto* s = arena_.make<VhdlSelectedForceAssignment>();
            s->label = label;
            s->expression = selector;
            s->matching = matching;
            s->target = target;
            if (Is(VHDL_IN) || Is(VHDL_OUT)) s->forceMode = Kind(), ++pos_;
            s->values = selectedExpressions();
            result = s;
        } else {
            auto* s = arena_.make<VhdlSelectedSignalAssignment>();
            s->label = label;
            s->postponed = postponed;
            s->expression = selector;
            s->matching = matching;
            s->target = target;
            s->guarded = Accept(VHDL_GUARDED);
            s->delay = ParseDelayMechanism();
            std::vector<VhdlTreeNode*> items;
            do {
                size_t ws = pos_;
                auto* sw = arena_.make<VhdlSelectedWaveform>();
                sw->waveform = ParseWaveform();
                Expect(VHDL_WHEN);
                sw->choices = ParseChoices();
                Finish(sw, ws);
                items.push_back(sw);
                if (pos_ == ws) break;
            } while (Accept(VHDL_COMMA));
            s->waveforms = List(items);
            result = s;
        }
    }
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(result, start);
    return result;
}

// A target is a name or an aggregate.
VhdlExpression* VhdlParser::ParseTarget() {
    if (Is(VHDL_LPAREN)) return ParseParenthesized();
    size_t start = pos_;
    return ParseGenericMappedCall(ParseName(), start);
}

VhdlTreeNode* VhdlParser::ParseConcurrentAssignmentOrCall(size_t start, VhdlIdDef* label, bool postponed) {
    VhdlExpression* target = ParseTarget();
    if (Accept(VHDL_LE)) {
        auto* s = arena_.make<VhdlConditionalSignalAssignment>();
        s->label = label;
        s->postponed = postponed;
        s->target = target;
        s->guarded = Accept(VHDL_GUARDED);
        s->delay = ParseDelayMechanism();
        s->waveforms = ParseConditionalWaveforms();
        if (!Expect(VHDL_SEMI)) SkipToItemEnd();
        Finish(s, start);
        return s;
    }
    // Without an assignment only a name can stand, the called procedure.
    auto* name = dynamic_cast<VhdlName*>(target);
    if (!name) {
        SyntaxError<vhdl_msg::ExpectedAssignmentOrCall>();
        SkipToItemEnd();
        return nullptr;
    }
    auto* call = arena_.make<VhdlProcedureCallStatement>();
    call->label = label;
    call->postponed = postponed;
    call->call = name;
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(call, start);
    return call;
}

VhdlNodeList VhdlParser::ParseSequentialStatements() {
    std::vector<VhdlTreeNode*> stmts;
    while (!AtStatementListEnd()) {
        size_t before = pos_;
        if (VhdlTreeNode* s = ParseSequentialStatement()) stmts.push_back(s);
        if (pos_ == before) {
            SyntaxErrorUnexpected();
            SkipToItemEnd();
            if (pos_ == before) ++pos_;
        }
    }
    return List(stmts);
}

VhdlTreeNode* VhdlParser::ParseSequentialStatement() {
    size_t start = pos_;
    VhdlIdDef* label = nullptr;
    if (IsIdentifier() && Kind(1) == VHDL_COLON) {
        label = MakeId<VhdlLabelId>(pos_);
        pos_ += 2;
    }
    VhdlTreeNode* stmt = nullptr;
    switch (Kind()) {
    case VHDL_WAIT: stmt = ParseWait(start, label); break;
    case VHDL_ASSERT: stmt = ParseAssertion(start, label, false); break;
    case VHDL_REPORT: {
        ++pos_;
        auto* r = arena_.make<VhdlReportStatement>();
        r->label = label;
        r->report = ParseExpression();
        if (Accept(VHDL_SEVERITY)) r->severity = ParseExpression();
        if (!Expect(VHDL_SEMI)) SkipToItemEnd();
        Finish(r, start);
        stmt = r;
        break;
    }
    case VHDL_IF: stmt = ParseIf(start, label); break;
    case VHDL_CASE: stmt = ParseCase(start, label); break;
    case VHDL_LOOP:
    case VHDL_WHILE:
    case VHDL_FOR: stmt = ParseLoop(start, label); break;
    case VHDL_NEXT:
    case VHDL_EXIT: {
        bool next = Is(VHDL_NEXT);
        ++pos_;
        VhdlName* loopLabel = nullptr;
        VhdlExpression* cond = nullptr;
        if (IsIdentifier()) loopLabel = ParseSimpleOrOperatorName();
        if (Accept(VHDL_WHEN)) cond = ParseExpression();
        if (next) {
            auto* n = arena_.make<VhdlNextStatement>();
            n->label = label;
            n->loopLabel = loopLabel;
            n->condition = cond;
            stmt = n;
        } else {
            auto* e = arena_.make<VhdlExitStatement>();
            e->label = label;
            e->loopLabel = loopLabel;
            e->condition = cond;
            stmt = e;
        }
        if (!Expect(VHDL_SEMI)) SkipToItemEnd();
        Finish(stmt, start);
        break;
    }
    case VHDL_RETURN: {
        ++pos_;
        auto* r = arena_.make<VhdlReturnStatement>();
        r->label = label;
        if (!Is(VHDL_SEMI)) r->expression = ParseValueExpression();
        if (!Expect(VHDL_SEMI)) SkipToItemEnd();
        Finish(r, start);
        stmt = r;
        break;
    }
    case VHDL_BLOCK: stmt = ParseSequentialBlock(start, label); break;
    case VHDL_NULL_: {
        ++pos_;
        auto* n = arena_.make<VhdlNullStatement>();
        n->label = label;
        if (!Expect(VHDL_SEMI)) SkipToItemEnd();
        Finish(n, start);
        stmt = n;
        break;
    }
    case VHDL_WITH: stmt = ParseSelectedAssignment(start, label, false, true); break;
    case VHDL_ID:
    case VHDL_EXTENDED_ID:
    case VHDL_LPAREN:
    case VHDL_LTLT:
    case VHDL_STRING: stmt = ParseSequentialAssignmentOrCall(start, label); break;
    default:
        SyntaxErrorUnexpected();
        SkipToItemEnd();
        return nullptr;
    }
    if (label && stmt) label->declaration = stmt;
    return stmt;
}

VhdlTreeNode* VhdlParser::ParseSequentialAssignmentOrCall(size_t start, VhdlIdDef* label) {
    VhdlExpression* target = ParseTarget();
    VhdlTreeNode* result = nullptr;
    if (Accept(VHDL_VARASSIGN)) {
        VhdlNodeList values = ParseConditionalExpressions();
        auto* first = static_cast<VhdlConditionalExpression*>(values.At(0));
        if (values.Size() == 1 && first && !first->condition) {
            auto* s = arena_.make<VhdlVariableAssignmentStatement>();
            s->label = label;
            s->target = target;
            s->value = first->value;
            result = s;
        } else {
            auto* s = arena_.make<VhdlConditionalVariableAssignmentStatement>();
            s->label = label;
            s->target = target;
            s->values = values;
            result = s;
        }
    } else if (Accept(VHDL_LE)) {
        if (Accept(VHDL_FORCE)) {
            unsigned forceMode = 0;
            if (Is(VHDL_IN) || Is(VHDL_OUT)) forceMode = Kind(), ++pos_;
            VhdlNodeList values = ParseConditionalExpressions();
            auto* first = static_cast<VhdlConditionalExpression*>(values.At(0));
            if (values.Size() == 1 && first && !first->condition) {
                auto* s = arena_.make<VhdlForceAssignmentStatement>();
                s->label = label;
                s->target = target;
                s->forceMode = forceMode;
                s->value = first->value;
                result = s;
            } else {
                auto* s = arena_.make<VhdlConditionalForceAssignmentStatement>();
                s->label = label;
                s->target = target;
                s->forceMode = forceMode;
                s->values = values;
                result = s;
            }
        } else if (Accept(VHDL_RELEASE)) {
            auto* s = arena_.make<VhdlReleaseAssignmentStatement>();
            s->label = label;
            s->target = target;
            if (Is(VHDL_IN) || Is(VHDL_OUT)) s->forceMode = Kind(), ++pos_;
            result = s;
        } else {
            VhdlDelayMechanism* delay = ParseDelayMechanism();
            VhdlNodeList waves = ParseConditionalWaveforms();
            auto* first = static_cast<VhdlConditionalWaveform*>(waves.At(0));
            if (waves.Size() == 1 && first && !first->condition) {
                auto* s = arena_.make<VhdlSignalAssignmentStatement>();
                s->label = label;
                s->target = target;
                s->delay = delay;
                s->waveform = first->waveform;
                result = s;
            } else {
                // The conditional signal assignment of 2008 in a process.
                auto* s = arena_.make<VhdlConditionalSignalAssignment>();
                s->label = label;
                s->target = target;
                s->delay = delay;
                s->waveforms = waves;
                result = s;
            }
        }
    } else if (auto* name = dynamic_cast<VhdlName*>(target)) {
        auto* call = arena_.make<VhdlProcedureCallStatement>();
        call->label = label;
        call->call = name;
        result = call;
    } else {
        SyntaxError<vhdl_msg::ExpectedAssignmentOrCall>();
        SkipToItemEnd();
        return nullptr;
    }
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(result, start);
    return result;
}

// The sequential block of 2019: block [is] declarations begin statements end block;
VhdlTreeNode* VhdlParser::ParseSequentialBlock(size_t start, VhdlIdDef* label) {
    Expect(VHDL_BLOCK);
    auto* block = arena_.make<VhdlBlockStatement>();
    block->label = label;
    Accept(VHDL_IS);
    block->declarations = ParseDeclarativePart();
    Expect(VHDL_BEGIN);
    block->statements = ParseSequentialStatements();
    Expect(VHDL_END);
    Expect(VHDL_BLOCK);
    ParseEndLabel(label);
    Finish(block, start);
    return block;
}

VhdlTreeNode* VhdlParser::ParseWait(size_t start, VhdlIdDef* label) {
    Expect(VHDL_WAIT);
    auto* w = arena_.make<VhdlWaitStatement>();
    w->label = label;
    if (Accept(VHDL_ON)) {
        std::vector<VhdlTreeNode*> names;
        do {
            if (VhdlName* n = ParseName()) names.push_back(n);
            else break;
        } while (Accept(VHDL_COMMA));
        w->sensitivity = List(names);
    }
    if (Accept(VHDL_UNTIL)) w->condition = ParseExpression();
    if (Accept(VHDL_FOR)) w->timeout = ParseExpression();
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(w, start);
    return w;
}

VhdlTreeNode* VhdlParser::ParseIf(size_t start, VhdlIdDef* label) {
    Expect(VHDL_IF);
    auto* s = arena_.make<VhdlIfStatement>();
    s->label = label;
    s->condition = ParseExpression();
    Expect(VHDL_THEN);
    s->thenStatements = ParseSequentialStatements();
    std::vector<VhdlTreeNode*> elsifs;
    while (Is(VHDL_ELSIF)) {
        size_t es = pos_++;
        auto* e = arena_.make<VhdlElsif>();
        e->condition = ParseExpression();
        Expect(VHDL_THEN);
        e->statements = ParseSequentialStatements();
        Finish(e, es);
        elsifs.push_back(e);
    }
    s->elsifs = List(elsifs);
    if (Accept(VHDL_ELSE)) s->elseStatements = ParseSequentialStatements();
    Expect(VHDL_END);
    Expect(VHDL_IF);
    ParseEndLabel(label);
    Finish(s, start);
    return s;
}

VhdlTreeNode* VhdlParser::ParseCase(size_t start, VhdlIdDef* label) {
    Expect(VHDL_CASE);
    auto* s = arena_.make<VhdlCaseStatement>();
    s->label = label;
    s->matching = Accept(VHDL_QUESTION);
    s->expression = ParseExpression();
    Expect(VHDL_IS);
    std::vector<VhdlTreeNode*> alternatives;
    while (Is(VHDL_WHEN)) {
        size_t as = pos_++;
        auto* alt = arena_.make<VhdlCaseStatementAlternative>();
        alt->choices = ParseChoices();
        Expect(VHDL_ARROW);
        alt->statements = ParseSequentialStatements();
        Finish(alt, as);
        alternatives.push_back(alt);
    }
    s->alternatives = List(alternatives);
    Expect(VHDL_END);
    Expect(VHDL_CASE);
    Accept(VHDL_QUESTION);
    ParseEndLabel(label);
    Finish(s, start);
    return s;
}

VhdlTreeNode* VhdlParser::ParseLoop(size_t start, VhdlIdDef* label) {
    auto* s = arena_.make<VhdlLoopStatement>();
    s->label = label;
    size_t schemeStart = pos_;
    if (Accept(VHDL_WHILE)) {
        auto* w = arena_.make<VhdlWhileScheme>();
        w->condition = ParseExpression();
        Finish(w, schemeStart);
        s->scheme = w;
    } else if (Accept(VHDL_FOR)) {
        auto* f = arena_.make<VhdlForScheme>();
        f->id = ParseId<VhdlConstantId>();
        if (f->id) f->id->declaration = f;
        Expect(VHDL_IN);
        f->range = ParseDiscreteRange();
        Finish(f, schemeStart);
        s->scheme = f;
    }
    Expect(VHDL_LOOP);
    s->statements = ParseSequentialStatements();
    Expect(VHDL_END);
    Expect(VHDL_LOOP);
    ParseEndLabel(label);
    Finish(s, start);
    return s;
}

} // namespace hdl
