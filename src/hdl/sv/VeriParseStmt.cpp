// Procedural statements.
#include "hdl/sv/VeriParserImpl.h"

namespace hdl {

VeriStatement* VeriParser::Impl::parseStatement() {
    DepthGuard guard(*this);
    if (!guard.ok) {
        recoverStatement();
        return nullptr;
    }
    VeriToken start = peek();
    std::vector<VeriAttribute> attrs;
    parseAttributes(attrs);
    VeriLabelId* label = nullptr;
    if (isIdent() && kind(1) == VT_COLON) {
        VeriToken n = take();
        take();
        label = make<VeriLabelId>(n);
        label->name = name(n);
        finish(label);
        declare(label);
    }
    VeriStatement* s = nullptr;
    VeriToken t = peek();
    switch (t.kind) {
    case VT_SEMI:
        take();
        s = make<VeriNullStatement>(t);
        break;
    case VT_BEGIN: s = parseBlock(false); break;
    case VT_FORK: s = parseBlock(true); break;
    case VT_IF:
        take();
        s = parseIf(0, t);
        break;
    case VT_UNIQUE:
    case VT_UNIQUE0:
    case VT_PRIORITY: {
        take();
        if (accept(VT_IF)) s = parseIf(t.kind, t);
        else s = parseCase(t.kind, t);
        break;
    }
    case VT_CASE:
    case VT_CASEX:
    case VT_CASEZ:
    case VT_RANDCASE: s = parseCase(0, t); break;
    case VT_FOR:
        take();
        s = parseFor(t);
        break;
    case VT_FOREACH:
        take();
        s = parseForeach(t);
        break;
    case VT_WHILE: {
        take();
        auto* w = make<VeriWhile>(t);
        expect(VT_LPAREN);
        w->cond = parseExpression();
        expect(VT_RPAREN);
        w->stmt = parseStatement();
        s = w;
        break;
    }
    case VT_DO: {
        take();
        auto* w = make<VeriDoWhile>(t);
        w->stmt = parseStatement();
        expect(VT_WHILE);
        expect(VT_LPAREN);
        w->cond = parseExpression();
        expect(VT_RPAREN);
        expect(VT_SEMI);
        s = w;
        break;
    }
    case VT_REPEAT: {
        take();
        auto* r = make<VeriRepeat>(t);
        expect(VT_LPAREN);
        r->count = parseExpression();
        expect(VT_RPAREN);
        r->stmt = parseStatement();
        s = r;
        break;
    }
    case VT_FOREVER: {
        take();
        auto* f = make<VeriForever>(t);
        f->stmt = parseStatement();
        s = f;
        break;
    }
    case VT_AT:
    case VT_AT_AT: {
        auto* e = make<VeriEventControlStatement>(t);
        e->control = parseEventControl();
        e->stmt = parseStatement();
        s = e;
        break;
    }
    case VT_HASH:
    case VT_CYCLE_DELAY: {
        auto* d = make<VeriDelayControlStatement>(t);
        d->control = parseDelay();
        d->stmt = parseStatement();
        s = d;
        break;
    }
    case VT_WAIT: {
        take();
        auto* w = make<VeriWait>(t);
        if (accept(VT_FORK)) {
            w->fork = true;
            expect(VT_SEMI);
        } else {
            expect(VT_LPAREN);
            w->cond = parseExpression();
            expect(VT_RPAREN);
            w->stmt = parseStatement();
        }
        s = w;
        break;
    }
    case VT_WAIT_ORDER:
        take();
        skipToSemi();
        s = make<VeriWait>(t);
        break;
    case VT_DISABLE: {
        take();
        auto* d = make<VeriDisable>(t);
        if (!accept(VT_FORK)) d->target = parseLValue();
        expect(VT_SEMI);
        s = d;
        break;
    }
    case VT_ARROW:
    case VT_NB_TRIGGER: {
        take();
        auto* e = make<VeriEventTrigger>(t);
        if (at(VT_HASH) || at(VT_AT)) e->control = at(VT_HASH) ? parseDelay() : parseEventControl();
        e->event = parseLValue();
        expect(VT_SEMI);
        s = e;
        break;
    }
    case VT_ASSIGN:
    case VT_FORCE: {
        take();
        VeriAssign* a = t.kind == VT_ASSIGN ? make<VeriAssign>(t) : make<VeriForce>(t);
        auto* nra = make<VeriNetRegAssign>(peek());
        nra->lval = parseLValue();
        expect(VT_EQ);
        nra->rval = parseExpression();
        finish(nra);
        a->assign = nra;
        expect(VT_SEMI);
        s = a;
        break;
    }
    case VT_DEASSIGN:
    case VT_RELEASE: {
        take();
        VeriDeAssign* d = t.kind == VT_DEASSIGN ? make<VeriDeAssign>(t) : make<VeriRelease>(t);
        d->lval = parseLValue();
        expect(VT_SEMI);
        s = d;
        break;
    }
    case VT_RETURN:
    case VT_BREAK:
    case VT_CONTINUE: {
        take();
        auto* j = make<VeriJumpStatement>(t);
        j->kind = t.kind;
        if (t.kind == VT_RETURN && !at(VT_SEMI)) j->expr = parseExpression();
        expect(VT_SEMI);
        s = j;
        break;
    }
    case VT_ASSERT:
    case VT_ASSUME:
    case VT_COVER:
    case VT_RESTRICT:
    case VT_EXPECT: s = parseAssertion(t); break;
    case VT_RANDSEQUENCE: s = parseRandsequence(t); break;
    case VT_SYSTEM_IDENTIFIER: {
        if (kind(1) != VT_LPAREN && kind(1) != VT_SEMI) {
            s = parseSimpleStatement(t);
            break;
        }
        take();
        ArenaArray<VeriExpression*> args;
        if (accept(VT_LPAREN)) args = parseCallArgs();
        if (at(VT_SEMI)) {
            expect(VT_SEMI);
            auto* st = make<VeriSystemTaskEnable>(t);
            st->name = Symbol::Intern(t.text);
            st->args = args;
            s = st;
        } else {
            // $cast(a, b) == 0 style use; treat the whole as an expression statement
            auto* call = make<VeriSystemFunctionCall>(t);
            call->name = Symbol::Intern(t.text);
            call->args = args;
            finish(call);
            s = parseAssignmentRest(parsePostfix(call, t), t, true);
        }
        break;
    }
    case VT_VOID: {
        take();
        auto* te = make<VeriTaskEnable>(t);
        if (expect(VT_APOSTROPHE) && expect(VT_LPAREN)) {
            te->call = parseExpression();
            expect(VT_RPAREN);
        }
        expect(VT_SEMI);
        s = te;
        break;
    }
    default: s = parseSimpleStatement(t); break;
    }
    if (!s) {
        attach(nullptr, attrs);
        dropped(label);
        return nullptr;
    }
    s->SetLabel(label);
    if (label) label->declaration = s;
    attach(s, attrs);
    ColLineFile where = s->Linefile();
    where.leftLine = start.line & 0x7fffffffu;
    where.leftCol = start.col & 0x7fffffffu;
    s->SetLinefile(where);
    finish(s);
    return s;
}

VeriStatement* VeriParser::Impl::parseSimpleStatement(const VeriToken& start) {
    if (!startsExpression(kind())) {
        syntaxError(peek(), "a statement");
        recoverStatement();
        return nullptr;
    }
    VeriExpression* lval;
    if (at(VT_INC) || at(VT_DEC)) {
        VeriToken op = take();
        auto* u = make<VeriUnaryOperator>(op);
        u->oper = op.kind;
        u->arg = parseLValue();
        finish(u);
        lval = u;
    } else {
        lval = parseLValue();
    }
    if (!lval) {
        recoverStatement();
        return nullptr;
    }
    return parseAssignmentRest(lval, start, true);
}

VeriStatement* VeriParser::Impl::parseAssignmentRest(VeriExpression* lval, const VeriToken& start, bool needSemi) {
    VeriStatement* s = nullptr;
    unsigned k = kind();
    if (k == VT_EQ) {
        take();
        auto* a = make<VeriBlockingAssign>(start);
        a->lval = lval;
        a->oper = VT_EQ;
        if (at(VT_HASH) || at(VT_CYCLE_DELAY)) a->control = parseDelay();
        else if (at(VT_AT)) a->control = parseEventControl();
        else if (at(VT_REPEAT)) {
            take();
            expect(VT_LPAREN);
            VeriExpression* count = parseExpression();
            expect(VT_RPAREN);
            a->control = parseEventControl();
            a->control->repeat = count;
        }
        a->rval = parseExpression();
        s = a;
    } else if (k == VT_LE) {
        take();
        auto* a = make<VeriNonBlockingAssign>(start);
        a->lval = lval;
        if (at(VT_HASH) || at(VT_CYCLE_DELAY)) a->control = parseDelay();
        else if (at(VT_AT)) a->control = parseEventControl();
        else if (at(VT_REPEAT)) {
            take();
            expect(VT_LPAREN);
            VeriExpression* count = parseExpression();
            expect(VT_RPAREN);
            a->control = parseEventControl();
            a->control->repeat = count;
        }
        a->rval = parseExpression();
        s = a;
    } else if (isAssignOperatorKind(k)) {
        take();
        auto* a = make<VeriBlockingAssign>(start);
        a->lval = lval;
        a->oper = k;
        a->rval = parseExpression();
        s = a;
    } else if (auto* u = dynamic_cast<VeriUnaryOperator*>(lval); u && (u->oper == VT_INC || u->oper == VT_DEC)) {
        // x++ as a statement: an assignment whose operator says what it does
        auto* a = make<VeriBlockingAssign>(start);
        a->lval = u->arg;
        a->oper = u->oper;
        a->SetAttributes(u->GetAttributes());
        droppedNode(u);
        s = a;
    } else if (k == VT_SEMI || !needSemi) {
        auto* te = make<VeriTaskEnable>(start);
        te->call = lval;
        s = te;
    } else {
        syntaxError(peek(), "'=', '<=' or ';'");
        recoverStatement();
        dropped(lval);
        return nullptr;
    }
    if (needSemi) expect(VT_SEMI);
    finish(s);
    return s;
}

VeriStatement* VeriParser::Impl::parseBlock(bool par) {
    VeriToken start = take();
    VeriSeqBlock* b = par ? make<VeriParBlock>(start) : make<VeriSeqBlock>(start);
    if (at(VT_COLON) && isIdent(1)) {
        take();
        VeriToken n = take();
        b->blockId = make<VeriBlockId>(n);
        b->blockId->name = name(n);
        b->blockId->declaration = b;
        finish(b->blockId);
        declare(b->blockId);
    }
    ScopeMark upper = b->blockId ? pushScope(b) : enterBlock(b);
    if (b->blockId) {
        b->scope = scope;
        b->blockId->scope = scope;
    }
    List<VeriModuleItem> decls(*this);
    List<VeriStatement> stmts(*this);
    for (;;) {
        unsigned k = kind();
        if (par ? (k == VT_JOIN || k == VT_JOIN_ANY || k == VT_JOIN_NONE) : k == VT_END) break;
        if (atUnitEnd() || k == VT_ENDFUNCTION || k == VT_ENDTASK) break;
        if (k == VT_IMPORT) {
            decls.push(parseImportExport(take(), false));
            continue;
        }
        if (!parseBlockItem(decls, stmts) && bailing) break;
    }
    b->decls = decls.freeze();
    b->stmts = stmts.freeze();
    if (par) {
        if (at(VT_JOIN) || at(VT_JOIN_ANY) || at(VT_JOIN_NONE)) static_cast<VeriParBlock*>(b)->joinKind = take().kind;
        else syntaxError(peek(), "join");
    } else {
        expect(VT_END);
    }
    skipEndLabel();
    popScope(upper);
    finish(b);
    return b;
}

VeriStatement* VeriParser::Impl::parseIf(unsigned qualifier, const VeriToken& start) {
    auto* c = make<VeriConditionalStatement>(start);
    c->qualifier = qualifier;
    expect(VT_LPAREN);
    c->cond = parseExpression();
    if (at(VT_MATCHES) || at(VT_TRIPLE_AND)) {
        // pattern matching conditions: read over them
        while (!at(VT_RPAREN) && !atEof()) skipBalanced();
    }
    expect(VT_RPAREN);
    c->thenStmt = parseStatement();
    if (accept(VT_ELSE)) c->elseStmt = parseStatement();
    finish(c);
    return c;
}

VeriStatement* VeriParser::Impl::parseCase(unsigned qualifier, const VeriToken& start) {
    VeriToken kw = take();
    auto* c = make<VeriCaseStatement>(start);
    c->qualifier = qualifier;
    c->caseType = kw.kind;
    if (kw.kind != VT_RANDCASE) {
        expect(VT_LPAREN);
        c->cond = parseExpression();
        expect(VT_RPAREN);
        if (accept(VT_INSIDE)) c->inside = true;
        else if (accept(VT_MATCHES)) c->matches = true;
    }
    List<VeriCaseItem> items(*this);
    while (!at(VT_ENDCASE) && !atEof() && !atUnitEnd()) {
        VeriToken itemStart = peek();
        auto* item = make<VeriCaseItem>(itemStart);
        if (accept(VT_DEFAULT)) {
            accept(VT_COLON);
        } else {
            List<VeriExpression> conditions(*this);
            for (;;) {
                VeriExpression* e = c->inside ? parseRangeOrExpression() : parseExpression();
                if (c->matches && at(VT_TRIPLE_AND)) {
                    take();
                    dropped(parseExpression()); // the guard of a pattern is not kept
                }
                if (!e) break;
                conditions.push(e);
                if (!accept(VT_COMMA)) break;
            }
            item->conditions = conditions.freeze();
            if (!expect(VT_COLON)) {
                recoverStatement();
                dropped(item);
                continue;
            }
        }
        item->stmt = parseStatement();
        finish(item);
        items.push(item);
        if (bailing) break;
    }
    c->items = items.freeze();
    expect(VT_ENDCASE);
    finish(c);
    return c;
}

VeriStatement* VeriParser::Impl::parseFor(const VeriToken& start) {
    auto* f = make<VeriFor>(start);
    ScopeMark upper = pushScope(f);
    f->scope = scope;
    expect(VT_LPAREN);
    List<VeriModuleItem> inits(*this);
    while (!at(VT_SEMI) && !atEof()) {
        VeriToken s = peek();
        bool typed = isBuiltinType(kind()) || at(VT_VAR) || (isIdent() && declarationAhead(0));
        if (typed) {
            accept(VT_VAR);
            auto* decl = make<VeriDataDecl>(s);
            decl->dataType = parseDataType(true);
            VeriToken n = peek();
            auto* var = make<VeriVariable>(n);
            var->name = takeName();
            var->dataType = decl->dataType;
            var->declaration = decl;
            if (accept(VT_EQ)) var->initialValue = parseExpression();
            finish(var);
            declare(var);
            decl->ids = single<VeriIdDef>(var);
            finish(decl);
            inits.push(decl);
        } else {
            VeriExpression* lval = parseLValue();
            if (!lval) break;
            if (VeriStatement* a = parseAssignmentRest(lval, s, false)) inits.push(a);
        }
        if (!accept(VT_COMMA)) break;
    }
    f->inits = inits.freeze();
    expect(VT_SEMI);
    if (!at(VT_SEMI)) f->cond = parseExpression();
    expect(VT_SEMI);
    List<VeriStatement> reps(*this);
    while (!at(VT_RPAREN) && !atEof()) {
        VeriToken s = peek();
        VeriExpression* lval;
        if (at(VT_INC) || at(VT_DEC)) {
            VeriToken op = take();
            auto* u = make<VeriUnaryOperator>(op);
            u->oper = op.kind;
            u->arg = parseLValue();
            finish(u);
            lval = u;
        } else {
            lval = parseLValue();
        }
        if (!lval) break;
        if (VeriStatement* a = parseAssignmentRest(lval, s, false)) reps.push(a);
        if (!accept(VT_COMMA)) break;
    }
    f->reps = reps.freeze();
    expect(VT_RPAREN);
    f->stmt = parseStatement();
    popScope(upper);
    finish(f);
    return f;
}

// At '[' in a foreach header: whether the group is an index of a longer prefix, that is,
// whether its closing bracket is followed by a dot or by another index group of one.
bool VeriParser::Impl::indexedPrefixAhead() {
    size_t k = 0;
    for (;;) {
        int depth = 0;
        do {
            unsigned kk = kind(k);
            if (kk == VT_EOF) return false;
            if (kk == VT_LBRACKET || kk == VT_LPAREN || kk == VT_LBRACE) ++depth;
            else if (kk == VT_RBRACKET || kk == VT_RPAREN || kk == VT_RBRACE) --depth;
            ++k;
        } while (depth > 0);
        if (kind(k) == VT_DOT) return true;
        if (kind(k) != VT_LBRACKET) return false;
    }
}

VeriStatement* VeriParser::Impl::parseForeach(const VeriToken& start) {
    auto* f = make<VeriForeach>(start);
    ScopeMark upper = parseForeachHeader(f, f->array, f->loopVars);
    f->scope = scope;
    f->stmt = parseStatement();
    popScope(upper);
    finish(f);
    return f;
}

VeriParser::Impl::ScopeMark VeriParser::Impl::parseForeachHeader(VeriTreeNode* owner, VeriExpression*& array,
                                                                 ArenaArray<VeriIdDef*>& loopVars) {
    expect(VT_LPAREN);
    // array[i, j]: the last brackets hold loop variables, not indexes. The array may be
    // reached through this., super., a package or class scope, and indexed members
    // (a[i].b[j]): a bracket group followed by a dot is an index.
    VeriToken n = peek();
    if (isIdent() || at(VT_THIS) || at(VT_SUPER)) {
        VeriExpression* arr = nullptr;
        if (isIdent()) {
            take();
            arr = makeRef(n);
        } else {
            take();
            auto* k = make<VeriKeyword>(n);
            k->token = n.kind;
            finish(k);
            arr = k;
        }
        for (;;) {
            if ((at(VT_DOT) || at(VT_SCOPE)) && isIdent(1)) {
                bool dot = take().kind == VT_DOT;
                if (dot) {
                    auto* sel = make<VeriSelectedName>(n);
                    sel->prefix = arr;
                    sel->suffix = takeName();
                    finish(sel);
                    arr = sel;
                } else {
                    auto* sc = make<VeriScopeName>(n);
                    sc->prefix = arr;
                    sc->name = takeName();
                    finish(sc);
                    arr = sc;
                }
            } else if (at(VT_LBRACKET) && indexedPrefixAhead()) {
                take();
                auto* idx = make<VeriIndexedId>(n);
                idx->prefix = arr;
                idx->index = parseSelect();
                finish(idx);
                arr = idx;
            } else {
                break;
            }
        }
        array = arr;
    }
    // Loop variables are declared in the loop scope, but the array is named outside it.
    ScopeMark upper = pushScope(owner);
    if (expect(VT_LBRACKET)) {
        List<VeriIdDef> vars(*this);
        for (;;) {
            if (isIdent()) {
                VeriToken v = take();
                auto* var = make<VeriVariable>(v);
                var->name = name(v);
                var->declaration = owner;
                finish(var);
                declare(var);
                vars.push(var);
            } else {
                vars.push(nullptr);
            }
            if (accept(VT_RBRACKET)) {
                if (at(VT_LBRACKET)) { // foreach (a[i][j])
                    take();
                    continue;
                }
                break;
            }
            if (!expect(VT_COMMA)) break;
        }
        loopVars = vars.freeze();
    }
    expect(VT_RPAREN);
    return upper;
}

VeriStatement* VeriParser::Impl::parseAssertion(const VeriToken& start) {
    VeriToken kw = take();
    auto* a = make<VeriAssertion>(start);
    a->kind = kw.kind;
    if (at(VT_PROPERTY) || at(VT_SEQUENCE) || kw.kind == VT_EXPECT || kw.kind == VT_RESTRICT) {
        if (!accept(VT_PROPERTY)) accept(VT_SEQUENCE);
        a->concurrent = true;
        if (at(VT_LPAREN)) skipBalanced();
        else syntaxError(peek(), "'('");
    } else {
        if (at(VT_HASH)) {
            take();
            take(); // #0
        } else {
            accept(VT_FINAL);
        }
        if (expect(VT_LPAREN)) {
            a->expr = parseExpression();
            expect(VT_RPAREN);
        }
    }
    if (!at(VT_ELSE)) a->thenStmt = parseStatement();
    if (accept(VT_ELSE)) a->elseStmt = parseStatement();
    finish(a);
    return a;
}

bool VeriParser::Impl::parseBlockItem(List<VeriModuleItem>& decls, List<VeriStatement>& stmts) {
    std::vector<VeriAttribute> attrs;
    parseAttributes(attrs);
    if (VeriModuleItem* d = parseDeclarationItem()) {
        attach(d, attrs);
        decls.push(d);
        return true;
    }
    VeriStatement* s = parseStatement();
    attach(s, attrs);
    if (s) stmts.push(s);
    return s != nullptr;
}

} // namespace hdl
