// randsequence: productions, their rules and the code blocks between them. The
// productions are declared in the statement's own scope, so that a rule may name one
// defined below it; their ports and code blocks see the scopes around the statement.
#include "hdl/sv/VeriParserImpl.h"

namespace hdl {

VeriStatement* VeriParser::Impl::parseRandsequence(const VeriToken& start) {
    take(); // randsequence
    auto* rs = make<VeriRandsequence>(start);
    ScopeMark upper = pushScope(rs);
    rs->scope = scope;
    expect(VT_LPAREN);
    if (isIdent()) rs->start = makeRef(take());
    expect(VT_RPAREN);
    List<VeriProduction> productions(*this);
    while (!at(VT_ENDSEQUENCE) && !atEof() && !atUnitEnd()) {
        const size_t before = taken;
        const unsigned errorsBefore = errors;
        if (VeriProduction* p = parseProduction()) productions.push(p);
        if (bailing) break;
        if (errors != errorsBefore || taken == before) {
            if (taken == before && errors == errorsBefore) syntaxError(peek(), "a production");
            recoverInBlock();
            if (at(VT_RBRACE)) take(); // a brace that closes nothing here
        }
    }
    rs->productions = productions.freeze();
    expect(VT_ENDSEQUENCE);
    popScope(upper);
    finish(rs);
    return rs;
}

VeriProduction* VeriParser::Impl::parseProduction() {
    DepthGuard guard(*this);
    if (!guard.ok) return nullptr;
    VeriToken start = peek();
    auto* p = make<VeriProduction>(start);
    // [data_type_or_void] name [(ports)] : the type comes first unless a name is
    // followed by ':' or '('.
    if (!(isIdent() && (kind(1) == VT_COLON || kind(1) == VT_LPAREN))) {
        if (at(VT_VOID)) {
            auto* t = make<VeriDataType>(take());
            t->type = VT_VOID;
            finish(t);
            p->dataType = t;
        } else {
            p->dataType = parseDataType(false);
        }
    }
    VeriToken n = peek();
    if (!isIdent()) {
        syntaxError(n, "a production name");
        dropped(p);
        return nullptr;
    }
    take();
    auto* id = make<VeriProductionId>(n);
    id->name = name(n);
    id->declaration = p;
    finish(id);
    declare(id);
    p->id = id;
    ScopeMark upper = pushScope(p);
    p->scope = scope;
    id->scope = scope;
    if (accept(VT_LPAREN)) p->ports = parseSubprogramPorts();
    expect(VT_COLON);
    List<VeriProductionItem> rules(*this);
    do {
        rules.push(parseProductionRule());
    } while (accept(VT_BAR) && !bailing);
    p->rules = rules.freeze();
    expect(VT_SEMI);
    popScope(upper);
    finish(p);
    return p;
}

VeriProductionItem* VeriParser::Impl::parseProductionRule() {
    auto* r = make<VeriProductionItem>(peek());
    List<VeriStatement> prods(*this);
    if (at(VT_RAND) && kind(1) == VT_JOIN) {
        take();
        take();
        r->randJoin = true;
        if (accept(VT_LPAREN)) {
            r->joinExpr = parseExpression();
            expect(VT_RPAREN);
        }
        while (isIdent()) prods.push(parseProductionCall());
    } else {
        for (;;) {
            VeriToken t = peek();
            if (t.kind == VT_LBRACE) {
                prods.push(parseCodeBlock());
            } else if (t.kind == VT_IF) {
                take();
                auto* c = make<VeriConditionalStatement>(t);
                expect(VT_LPAREN);
                c->cond = parseExpression();
                expect(VT_RPAREN);
                c->thenStmt = parseProductionCall();
                if (accept(VT_ELSE)) c->elseStmt = parseProductionCall();
                finish(c);
                prods.push(c);
            } else if (t.kind == VT_REPEAT) {
                take();
                auto* rep = make<VeriRepeat>(t);
                expect(VT_LPAREN);
                rep->count = parseExpression();
                expect(VT_RPAREN);
                rep->stmt = parseProductionCall();
                finish(rep);
                prods.push(rep);
            } else if (t.kind == VT_CASE) {
                take();
                auto* c = make<VeriCaseStatement>(t);
                c->caseType = VT_CASE;
                expect(VT_LPAREN);
                c->cond = parseExpression();
                expect(VT_RPAREN);
                List<VeriCaseItem> items(*this);
                while (!at(VT_ENDCASE) && !atEof() && !atUnitEnd() && !at(VT_ENDSEQUENCE) && !bailing) {
                    const size_t before = taken;
                    auto* item = make<VeriCaseItem>(peek());
                    if (accept(VT_DEFAULT)) {
                        accept(VT_COLON);
                    } else {
                        List<VeriExpression> conditions(*this);
                        do {
                            if (VeriExpression* e = parseExpression()) conditions.push(e);
                        } while (accept(VT_COMMA));
                        item->conditions = conditions.freeze();
                        expect(VT_COLON);
                    }
                    item->stmt = parseProductionCall();
                    expect(VT_SEMI);
                    finish(item);
                    items.push(item);
                    if (taken == before) break;
                }
                c->items = items.freeze();
                expect(VT_ENDCASE);
                finish(c);
                prods.push(c);
            } else if (isIdent()) {
                prods.push(parseProductionCall());
            } else {
                break;
            }
            if (bailing) break;
        }
    }
    r->prods = prods.freeze();
    if (accept(VT_COLON_EQ)) {
        r->weight = parseUnary();
        if (at(VT_LBRACE)) r->codeBlock = parseCodeBlock();
    }
    finish(r);
    return r;
}

// name [(args)]: a task enable of the production's name.
VeriStatement* VeriParser::Impl::parseProductionCall() {
    VeriToken n = peek();
    auto* call = make<VeriTaskEnable>(n);
    if (!isIdent()) {
        syntaxError(n, "a production name");
        dropped(call);
        return nullptr;
    }
    VeriIdRef* ref = makeRef(take());
    if (accept(VT_LPAREN)) {
        auto* f = make<VeriFunctionCall>(n);
        f->func = ref;
        f->args = parseCallArgs();
        finish(f);
        call->call = f;
    } else {
        call->call = ref;
    }
    finish(call);
    return call;
}

VeriCodeBlock* VeriParser::Impl::parseCodeBlock() {
    VeriToken start = take(); // {
    auto* b = make<VeriCodeBlock>(start);
    ScopeMark upper = enterBlock(b);
    List<VeriModuleItem> decls(*this);
    List<VeriStatement> stmts(*this);
    while (!at(VT_RBRACE) && !at(VT_ENDSEQUENCE) && !atUnitEnd() && !bailing) {
        const size_t before = taken;
        parseBlockItem(decls, stmts);
        if (taken == before) break;
    }
    b->decls = decls.freeze();
    b->stmts = stmts.freeze();
    expect(VT_RBRACE);
    popScope(upper);
    finish(b);
    return b;
}

} // namespace hdl
