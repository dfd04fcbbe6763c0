// Constraint blocks: class constraints, their prototypes and out-of-class bodies, and
// the inline constraints of `randomize() with`. Their items are expressions (see
// VeriTree.h); a broken item is skipped to its ';' and the block goes on.
#include "hdl/sv/VeriParserImpl.h"

namespace hdl {

VeriModuleItem* VeriParser::Impl::parseConstraintDecl(const VeriToken& start) {
    take(); // constraint
    auto* c = make<VeriConstraintDecl>(start);
    VeriToken n = peek();
    VeriScope* classScope = nullptr;
    if (isIdent() && kind(1) == VT_SCOPE) { // constraint C::name { ... }
        take();
        take();
        c->prefix = makeRef(n);
        VeriIdDef* cls = lookup(scope, name(n));
        if (auto* decl = cls ? dynamic_cast<VeriClass*>(cls->declaration) : nullptr) classScope = decl->scope;
        n = peek();
    }
    auto* id = make<VeriLabelId>(n);
    id->name = takeName();
    id->declaration = c;
    finish(id);
    c->id = id;
    if (at(VT_LBRACE)) {
        // An out-of-class body sees the members of its class.
        ScopeMark upper{scope, unscopedBlock};
        if (classScope) {
            scope = classScope;
            unscopedBlock = nullptr;
        }
        List<VeriExpression> items(*this);
        parseConstraintBlock(items);
        c->constraints = items.freeze();
        popScope(upper);
    } else {
        c->prototype = true;
        if (!expect(VT_SEMI)) skipToSemi();
    }
    finish(c);
    return c;
}

void VeriParser::Impl::parseConstraintBlock(List<VeriExpression>& items) {
    if (!expect(VT_LBRACE)) return;
    while (!at(VT_RBRACE) && !atEof() && !atUnitEnd()) {
        const size_t before = taken;
        const unsigned errorsBefore = errors;
        VeriExpression* c = parseConstraintItem();
        if (c) items.push(c);
        if (bailing) return;
        if (errors != errorsBefore || taken == before) {
            if (taken == before && errors == errorsBefore) syntaxError(peek(), "a constraint");
            recoverInBlock();
            if (taken == before) break; // at a word that ends a construct around the block
        }
    }
    expect(VT_RBRACE);
}

void VeriParser::Impl::recoverInBlock() {
    const size_t from = taken;
    int level = 0;
    while (!atEof() && !atUnitEnd()) {
        unsigned k = kind();
        if (level == 0 && (k == VT_RBRACE || k == VT_ENDSEQUENCE)) break;
        if (k == VT_LBRACE || k == VT_APOSTROPHE_LBRACE) ++level;
        else if (k == VT_RBRACE) --level;
        take();
        if (k == VT_SEMI && level == 0) break;
    }
    skipped += taken - from;
}

VeriExpression* VeriParser::Impl::parseConstraintSet() {
    if (!at(VT_LBRACE)) return parseConstraintItem();
    auto* set = make<VeriConstraintSet>(peek());
    List<VeriExpression> items(*this);
    parseConstraintBlock(items);
    set->constraints = items.freeze();
    finish(set);
    return set;
}

VeriExpression* VeriParser::Impl::parseConstraintItem() {
    DepthGuard guard(*this);
    if (!guard.ok) {
        recoverInBlock();
        return nullptr;
    }
    VeriToken start = peek();
    switch (start.kind) {
    case VT_IF: {
        take();
        auto* c = make<VeriIfOperator>(start);
        expect(VT_LPAREN);
        c->cond = parseExpression();
        expect(VT_RPAREN);
        c->thenExpr = parseConstraintSet();
        if (accept(VT_ELSE)) c->elseExpr = parseConstraintSet();
        finish(c);
        return c;
    }
    case VT_FOREACH: {
        take();
        auto* f = make<VeriForeachOperator>(start);
        ScopeMark upper = parseForeachHeader(f, f->array, f->loopVars);
        f->scope = scope;
        f->constraint = parseConstraintSet();
        popScope(upper);
        finish(f);
        return f;
    }
    case VT_SOLVE: {
        take();
        auto* s = make<VeriSolveBefore>(start);
        List<VeriExpression> solved(*this);
        do {
            if (VeriExpression* e = parseExpression()) solved.push(e);
        } while (accept(VT_COMMA));
        s->solved = solved.freeze();
        expect(VT_BEFORE);
        List<VeriExpression> before(*this);
        do {
            if (VeriExpression* e = parseExpression()) before.push(e);
        } while (accept(VT_COMMA));
        s->before = before.freeze();
        expect(VT_SEMI);
        finish(s);
        return s;
    }
    case VT_SOFT:
    case VT_UNIQUE:
    case VT_DISABLE: {
        take();
        auto* u = make<VeriUnaryOperator>(start);
        u->oper = start.kind;
        if (start.kind == VT_DISABLE) expect(VT_SOFT);
        if (start.kind == VT_UNIQUE && !at(VT_LBRACE)) syntaxError(peek(), "{");
        u->arg = parseExpression();
        expect(VT_SEMI);
        finish(u);
        return u;
    }
    default: break;
    }
    // expression [dist {...}] ; or expression -> constraint_set. The implication is taken
    // here rather than by the expression parser: its right side may be a braced set.
    VeriExpression* e = parseBinary(2);
    if (at(VT_ARROW) || at(VT_EQUIV)) {
        auto* b = make<VeriBinaryOperator>(start);
        b->oper = take().kind;
        b->left = e;
        if (b->oper == VT_ARROW) {
            b->right = parseConstraintSet();
            finish(b);
            return b;
        }
        b->right = parseExpression();
        finish(b);
        e = b;
    }
    expect(VT_SEMI);
    return e;
}

VeriExpression* VeriParser::Impl::parseInlineConstraint() {
    auto* c = make<VeriInlineConstraint>(peek());
    if (accept(VT_LPAREN)) {
        c->restricted = true;
        List<VeriExpression> names(*this);
        while (!at(VT_RPAREN) && !atEof()) {
            if (VeriExpression* e = parseExpression()) names.push(e);
            if (!accept(VT_COMMA)) break;
        }
        c->names = names.freeze();
        expect(VT_RPAREN);
    }
    List<VeriExpression> items(*this);
    parseConstraintBlock(items);
    c->constraints = items.freeze();
    finish(c);
    return c;
}

} // namespace hdl
