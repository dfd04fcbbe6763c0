// Expressions: operator precedence climbing over unary/postfix primaries.
#include <cstdlib>

#include "hdl/sv/VeriParserImpl.h"

namespace hdl {

namespace {

// Binding power of a binary operator; 0 for tokens that are none.
int binaryPrecedence(unsigned k) {
    switch (k) {
    case VT_ARROW:
    case VT_EQUIV: return 1;
    case VT_QUESTION: return 2;
    case VT_LOGOR: return 3;
    case VT_LOGAND: return 4;
    case VT_BAR:
    case VT_NOR_OP: return 5;
    case VT_CARET:
    case VT_XNOR_OP: return 6;
    case VT_AMP:
    case VT_NAND_OP: return 7;
    case VT_LOGEQ:
    case VT_LOGNEQ:
    case VT_CASE_EQ:
    case VT_CASE_NEQ:
    case VT_WILD_EQ:
    case VT_WILD_NEQ: return 8;
    case VT_LT:
    case VT_LE:
    case VT_GT:
    case VT_GE:
    case VT_INSIDE:
    case VT_DIST:
    case VT_MATCHES: return 9;
    case VT_SHL:
    case VT_SHR:
    case VT_ASHL:
    case VT_ASHR: return 10;
    case VT_PLUS:
    case VT_MINUS: return 11;
    case VT_STAR:
    case VT_SLASH:
    case VT_MOD: return 12;
    case VT_POWER: return 13;
    default: return 0;
    }
}

bool isUnaryOperator(unsigned k) {
    switch (k) {
    case VT_PLUS:
    case VT_MINUS:
    case VT_LOGNOT:
    case VT_TILDE:
    case VT_AMP:
    case VT_BAR:
    case VT_CARET:
    case VT_NAND_OP:
    case VT_NOR_OP:
    case VT_XNOR_OP:
    case VT_INC:
    case VT_DEC: return true;
    default: return false;
    }
}

} // namespace

bool VeriParser::Impl::startsExpression(unsigned k) {
    switch (k) {
    case VT_IDENTIFIER:
    case VT_ESCAPED_IDENTIFIER:
    case VT_SYSTEM_IDENTIFIER:
    case VT_DECIMAL_NUMBER:
    case VT_BASED_NUMBER:
    case VT_REAL_NUMBER:
    case VT_TIME_LITERAL:
    case VT_UNBASED_UNSIZED:
    case VT_STRING_LITERAL:
    case VT_LPAREN:
    case VT_LBRACE:
    case VT_APOSTROPHE_LBRACE:
    case VT_DOLLAR:
    case VT_NULL:
    case VT_THIS:
    case VT_SUPER:
    case VT_NEW:
    case VT_TYPE:
    case VT_TAGGED: return true;
    default: return isUnaryOperator(k) || isBuiltinType(k) || k == VT_SIGNED || k == VT_UNSIGNED || k == VT_CONST;
    }
}

VeriExpression* VeriParser::Impl::parseExpression() {
    DepthGuard guard(*this);
    if (!guard.ok) {
        skipToSemi();
        return nullptr;
    }
    return parseBinary(1);
}

VeriExpression* VeriParser::Impl::parseBinary(int minPrec) {
    VeriToken start = peek();
    VeriExpression* left = parseUnary();
    for (;;) {
        unsigned op = kind();
        int prec = binaryPrecedence(op);
        if (prec == 0 || prec < minPrec) return left;
        take();
        if (op == VT_QUESTION) {
            auto* q = make<VeriQuestionColon>(start);
            q->cond = left;
            q->thenExpr = parseExpression();
            expect(VT_COLON);
            q->elseExpr = parseBinary(prec); // right associative
            finish(q);
            left = q;
            continue;
        }
        auto* b = make<VeriBinaryOperator>(start);
        b->oper = op;
        b->left = left;
        if (op == VT_INSIDE || op == VT_DIST) {
            // inside { items } / dist { item := w, ... }
            auto* set = make<VeriConcat>(peek());
            if (expect(VT_LBRACE)) {
                List<VeriExpression> items(*this);
                while (!at(VT_RBRACE) && !atEof()) {
                    VeriToken itemStart = peek();
                    // `default :/ w` weighs the values no other item names.
                    if (op == VT_DIST && itemStart.kind == VT_DEFAULT && kind(1) != VT_COLON_SLASH)
                        syntaxError(peek(1), ":/");
                    VeriExpression* item = parseRangeOrExpression();
                    if (op == VT_DIST && (at(VT_COLON_EQ) || at(VT_COLON_SLASH))) {
                        auto* weighted = make<VeriDistOperator>(itemStart);
                        weighted->oper = take().kind;
                        weighted->expr = item;
                        weighted->weight = parseExpression();
                        finish(weighted);
                        item = weighted;
                    }
                    if (item) items.push(item);
                    if (!accept(VT_COMMA)) break;
                }
                set->exprs = items.freeze();
                expect(VT_RBRACE);
            }
            finish(set);
            b->right = set;
        } else {
            // ** and the implications associate to the right.
            bool right = op == VT_POWER || op == VT_ARROW || op == VT_EQUIV;
            b->right = parseBinary(right ? prec : prec + 1);
        }
        finish(b);
        left = b;
    }
}

VeriExpression* VeriParser::Impl::parseRangeOrExpression() {
    if (!at(VT_LBRACKET)) return parseExpression();
    VeriToken start = take();
    auto* r = make<VeriRange>(start);
    r->left = parseExpression();
    if (accept(VT_COLON)) r->right = parseExpression();
    r->partSelect = VT_COLON;
    expect(VT_RBRACKET);
    finish(r);
    return r;
}

VeriExpression* VeriParser::Impl::parseUnary() {
    DepthGuard guard(*this);
    if (!guard.ok) return nullptr;
    VeriToken start = peek();
    if (isUnaryOperator(start.kind)) {
        take();
        auto* u = make<VeriUnaryOperator>(start);
        u->oper = start.kind;
        // Attributes may follow a unary operator.
        std::vector<VeriAttribute> attrs;
        parseAttributes(attrs);
        attach(u, attrs);
        u->arg = parseUnary();
        finish(u);
        return u;
    }
    VeriExpression* e = parsePrimary();
    if (!e) return nullptr;
    return parsePostfix(e, start);
}

VeriExpression* VeriParser::Impl::parseNumber() {
    VeriToken t = take();
    switch (t.kind) {
    case VT_DECIMAL_NUMBER: {
        if (kind() == VT_BASED_NUMBER && !peek().text.empty() && peek().text[0] == '\'' &&
            !(peek().flags & VTF_SPACE_BEFORE)) {
            // Size and base arrive apart when the size came from a macro.
            VeriToken based = take();
            auto* c = make<VeriConstVal>(t);
            std::string joined(t.text);
            joined.append(based.text);
            c->text = Symbol::Intern(joined);
            c->size = uint32_t(std::strtoul(std::string(t.text).c_str(), nullptr, 10));
            finish(c);
            return c;
        }
        std::string digits;
        for (char ch : t.text)
            if (ch != '_') digits += ch;
        auto* c = make<VeriIntVal>(t);
        c->value = int64_t(std::strtoull(digits.c_str(), nullptr, 10));
        finish(c);
        return c;
    }
    case VT_BASED_NUMBER: {
        auto* c = make<VeriConstVal>(t);
        c->text = Symbol::Intern(t.text);
        size_t tick = t.text.find('\'');
        if (tick != std::string_view::npos && tick > 0)
            c->size = uint32_t(std::strtoul(std::string(t.text.substr(0, tick)).c_str(), nullptr, 10));
        if (tick != std::string_view::npos && tick + 1 < t.text.size())
            c->isSigned = t.text[tick + 1] == 's' || t.text[tick + 1] == 'S';
        finish(c);
        return c;
    }
    case VT_UNBASED_UNSIZED: {
        auto* c = make<VeriConstVal>(t);
        c->text = Symbol::Intern(t.text);
        c->isUnbased = true;
        finish(c);
        return c;
    }
    case VT_REAL_NUMBER: {
        auto* c = make<VeriRealVal>(t);
        std::string digits;
        for (char ch : t.text)
            if (ch != '_') digits += ch;
        c->value = std::strtod(digits.c_str(), nullptr);
        finish(c);
        return c;
    }
    case VT_TIME_LITERAL: {
        auto* c = make<VeriTimeLiteral>(t);
        c->text = Symbol::Intern(t.text);
        finish(c);
        return c;
    }
    default: {
        auto* c = make<VeriConstVal>(t);
        c->text = Symbol::Intern(t.text);
        c->isString = true;
        finish(c);
        return c;
    }
    }
}

VeriExpression* VeriParser::Impl::parsePrimary() {
    VeriToken start = peek();
    switch (start.kind) {
    case VT_DECIMAL_NUMBER:
    case VT_BASED_NUMBER:
    case VT_UNBASED_UNSIZED:
    case VT_REAL_NUMBER:
    case VT_TIME_LITERAL:
    case VT_STRING_LITERAL: return parseNumber();
    case VT_IDENTIFIER:
    case VT_ESCAPED_IDENTIFIER: take(); return makeRef(start);
    case VT_SYSTEM_IDENTIFIER: {
        take();
        auto* call = make<VeriSystemFunctionCall>(start);
        call->name = Symbol::Intern(start.text);
        if (accept(VT_LPAREN)) call->args = parseCallArgs();
        finish(call);
        return call;
    }
    case VT_DOLLAR: {
        take();
        auto* d = make<VeriDollar>(start);
        finish(d);
        return d;
    }
    case VT_NULL: {
        take();
        auto* n = make<VeriNull>(start);
        finish(n);
        return n;
    }
    case VT_THIS:
    case VT_SUPER:
    case VT_DEFAULT:
    case VT_LOCAL: {
        take();
        auto* k = make<VeriKeyword>(start);
        k->token = start.kind;
        finish(k);
        return k;
    }
    case VT_NEW: {
        take();
        auto* n = make<VeriNew>(start);
        if (accept(VT_LBRACKET)) {
            n->size = parseExpression();
            expect(VT_RBRACKET);
        }
        if (accept(VT_LPAREN)) {
            n->args = parseCallArgs();
        } else if (startsExpression(kind()) && !at(VT_LPAREN)) { // new obj (copy)
            n->args = single(parseExpression());
        }
        finish(n);
        return n;
    }
    case VT_LPAREN: {
        take();
        VeriExpression* e = parseMinTypMax();
        if (at(VT_EQ) || isAssignOperatorKind(kind())) {
            // (a = b) and (a += b): an assignment used as an expression
            VeriToken op = take();
            auto* b = make<VeriBinaryOperator>(start);
            b->oper = op.kind;
            b->left = e;
            b->right = parseExpression();
            finish(b);
            e = b;
        }
        expect(VT_RPAREN);
        return e;
    }
    case VT_DOT:
    case VT_DOT_STAR: {
        // pattern identifiers and wildcards: .name, .*
        take();
        if (start.kind == VT_DOT_STAR) return make<VeriDotStar>(start);
        auto* pc = make<VeriPortConnect>(start);
        pc->portName = takeName();
        pc->implicit = true;
        finish(pc);
        return pc;
    }
    case VT_LBRACE: return parseBraces();
    case VT_APOSTROPHE_LBRACE: return parsePattern(nullptr, start);
    case VT_TYPE: {
        take();
        auto* t = make<VeriTypeOperator>(start);
        if (expect(VT_LPAREN)) {
            t->arg = parseTypeOrExpression();
            expect(VT_RPAREN);
        }
        finish(t);
        return t;
    }
    case VT_TAGGED: {
        take();
        auto* t = make<VeriTaggedUnion>(start);
        t->member = takeName();
        if (startsExpression(kind()) && !isUnaryOperator(kind())) t->expr = parsePrimary();
        finish(t);
        return t;
    }
    case VT_ATTR_OPEN: {
        std::vector<VeriAttribute> attrs;
        parseAttributes(attrs);
        VeriExpression* e = parsePrimary();
        attach(e, attrs);
        return e;
    }
    default: break;
    }
    // A built-in type used as a cast target (int'(x), signed'(x)) or a type argument.
    if (isBuiltinType(start.kind) || start.kind == VT_SIGNED || start.kind == VT_UNSIGNED || start.kind == VT_CONST) {
        if (start.kind == VT_SIGNED || start.kind == VT_UNSIGNED || start.kind == VT_CONST) {
            take();
            auto* k = make<VeriDataType>(start);
            k->signing = start.kind;
            finish(k);
            return k;
        }
        return parseDataType(false);
    }
    syntaxError(start, "an expression");
    return nullptr;
}

VeriExpression* VeriParser::Impl::parsePostfix(VeriExpression* e, const VeriToken& start) {
    for (;;) {
        unsigned k = kind();
        if (k == VT_LBRACKET) {
            // a[i] is an indexed name, a[i][j]... one with several indexes
            List<VeriExpression> indexes(*this);
            while (at(VT_LBRACKET)) {
                take();
                indexes.push(parseSelect());
            }
            if (indexes.size() == 1) {
                auto* idx = make<VeriIndexedId>(start);
                idx->prefix = e;
                idx->index = indexes[0];
                finish(idx);
                e = idx;
            } else {
                auto* mem = make<VeriIndexedMemoryId>(start);
                mem->prefix = e;
                mem->indexes = indexes.freeze();
                finish(mem);
                e = mem;
            }
        } else if (k == VT_DOT &&
                   (isIdent(1) || kind(1) == VT_NEW || kind(1) == VT_SUPER || kind(1) == VT_THIS || kind(1) == VT_AND ||
                    kind(1) == VT_OR || kind(1) == VT_XOR || kind(1) == VT_UNIQUE)) {
            take();
            auto* sel = make<VeriSelectedName>(start);
            sel->prefix = e;
            VeriToken n = take();
            sel->suffix = name(n);
            finish(sel);
            e = sel;
        } else if (k == VT_SCOPE && (isIdent(1) || kind(1) == VT_NEW || kind(1) == VT_TYPE)) {
            take();
            e = scopeName(start, e);
        } else if (k == VT_HASH && kind(1) == VT_LPAREN &&
                   (dynamic_cast<VeriIdRef*>(e) || dynamic_cast<VeriScopeName*>(e))) {
            // class#(params)::name
            ArenaArray<VeriExpression*> params = parseParamValues();
            if (at(VT_SCOPE) && (isIdent(1) || kind(1) == VT_NEW)) {
                take();
                auto* sc = make<VeriScopeName>(start);
                sc->prefix = e;
                sc->paramValues = params;
                sc->name = name(take());
                finish(sc);
                e = sc;
            } else {
                auto* t = make<VeriTypeRef>(start);
                t->typeName = e;
                t->paramValues = params;
                finish(t);
                return t;
            }
        } else if (k == VT_LPAREN && (dynamic_cast<VeriName*>(e) || dynamic_cast<VeriKeyword*>(e))) {
            take();
            auto* call = make<VeriFunctionCall>(start);
            call->func = e;
            call->args = parseCallArgs();
            finish(call);
            e = call;
        } else if (k == VT_APOSTROPHE && kind(1) == VT_LPAREN) {
            take();
            take();
            auto* cast = make<VeriCast>(start);
            cast->target = e;
            cast->expr = parseExpression();
            expect(VT_RPAREN);
            finish(cast);
            e = cast;
        } else if (k == VT_APOSTROPHE_LBRACE) {
            e = parsePattern(e, start);
        } else if ((k == VT_INC || k == VT_DEC) && !dynamic_cast<VeriConst*>(e)) {
            take();
            auto* u = make<VeriUnaryOperator>(start);
            u->oper = k;
            u->postfix = true;
            u->arg = e;
            finish(u);
            e = u;
        } else if (k == VT_WITH && dynamic_cast<VeriFunctionCall*>(e)) {
            take();
            auto* call = static_cast<VeriFunctionCall*>(e);
            // randomize(...) with [(names)] { constraints }, or an array method's `with (expr)`
            if (at(VT_LBRACE) || (at(VT_LPAREN) && bracesAfterParentheses())) {
                call->with = parseInlineConstraint();
            } else if (at(VT_LPAREN)) {
                take();
                call->with = parseExpression();
                expect(VT_RPAREN);
            }
            finish(call);
        } else if (k == VT_WITH && dynamic_cast<VeriName*>(e) && kind(1) == VT_LBRACE) {
            take(); // obj.randomize with { constraints }
            auto* call = make<VeriFunctionCall>(start);
            call->func = e;
            call->with = parseInlineConstraint();
            finish(call);
            e = call;
        } else if (k == VT_WITH && dynamic_cast<VeriName*>(e) && kind(1) == VT_LPAREN) {
            // array.sum with (item * 2): a method call without parentheses
            take();
            auto* call = make<VeriFunctionCall>(start);
            call->func = e;
            take();
            call->with = parseExpression();
            expect(VT_RPAREN);
            finish(call);
            e = call;
        } else {
            return e;
        }
    }
}

bool VeriParser::Impl::bracesAfterParentheses() {
    // A name list is short; the bound keeps broken text from being scanned again and again.
    int level = 0;
    for (size_t k = 0; k < 1024; ++k) {
        unsigned t = kind(k);
        if (t == VT_EOF || t == VT_SEMI) return false;
        if (t == VT_LPAREN) ++level;
        else if (t == VT_RPAREN && --level <= 0) return kind(k + 1) == VT_LBRACE;
    }
    return false;
}

VeriRange* VeriParser::Impl::parseSelect() {
    auto* r = make<VeriRange>(prev);
    if (at(VT_RBRACKET) || (at(VT_STAR) && kind(1) == VT_RBRACKET)) {
        accept(VT_STAR);
        r->unsizedDim = true;
    } else {
        r->left = parseTypeOrExpression();
        if (at(VT_COLON) || at(VT_PLUS_COLON) || at(VT_MINUS_COLON)) {
            r->partSelect = take().kind;
            r->right = parseExpression();
        }
    }
    expect(VT_RBRACKET);
    finish(r);
    return r;
}

VeriRange* VeriParser::Impl::parseDimensions() {
    VeriRange* first = nullptr;
    VeriRange* last = nullptr;
    while (at(VT_LBRACKET)) {
        take();
        VeriRange* r = parseSelect();
        if (last) last->next = r;
        else first = r;
        last = r;
    }
    return first;
}

VeriExpression* VeriParser::Impl::parseBraces() {
    VeriToken start = take(); // {
    if (at(VT_SHL) || at(VT_SHR)) {
        auto* s = make<VeriStreamingConcat>(start);
        s->oper = take().kind;
        if (!at(VT_LBRACE)) s->sliceSize = parseTypeOrExpression();
        if (expect(VT_LBRACE)) {
            List<VeriExpression> exprs(*this);
            while (!at(VT_RBRACE) && !atEof()) {
                VeriExpression* e = parseExpression();
                if (at(VT_WITH)) {
                    take();
                    skipBalanced();
                }
                if (e) exprs.push(e);
                if (!accept(VT_COMMA)) break;
            }
            s->exprs = exprs.freeze();
            expect(VT_RBRACE);
        }
        expect(VT_RBRACE);
        finish(s);
        return s;
    }
    if (at(VT_RBRACE)) { // {} empty queue
        take();
        auto* c = make<VeriConcat>(start);
        finish(c);
        return c;
    }
    VeriExpression* first = parseExpression();
    if (at(VT_LBRACE)) {
        auto* m = make<VeriMultiConcat>(start);
        m->repeat = first;
        take();
        List<VeriExpression> exprs(*this);
        while (!at(VT_RBRACE) && !atEof()) {
            if (VeriExpression* e = parseExpression()) exprs.push(e);
            if (!accept(VT_COMMA)) break;
        }
        m->exprs = exprs.freeze();
        expect(VT_RBRACE);
        expect(VT_RBRACE);
        finish(m);
        return m;
    }
    auto* c = make<VeriConcat>(start);
    List<VeriExpression> exprs(*this);
    if (first) exprs.push(first);
    while (accept(VT_COMMA)) {
        if (VeriExpression* e = parseExpression()) exprs.push(e);
    }
    c->exprs = exprs.freeze();
    expect(VT_RBRACE);
    finish(c);
    return c;
}

VeriExpression* VeriParser::Impl::parsePattern(VeriExpression* type, const VeriToken& start) {
    take(); // '{
    VeriExpression* first = nullptr;
    if (!at(VT_RBRACE)) first = parseExpression();
    if (at(VT_LBRACE)) {
        auto* m = make<VeriMultiAssignmentPattern>(start);
        m->type = type;
        m->repeat = first;
        take();
        List<VeriExpression> exprs(*this);
        while (!at(VT_RBRACE) && !atEof()) {
            if (VeriExpression* e = parseExpression()) exprs.push(e);
            if (!accept(VT_COMMA)) break;
        }
        m->exprs = exprs.freeze();
        expect(VT_RBRACE);
        expect(VT_RBRACE);
        finish(m);
        return m;
    }
    auto* p = make<VeriAssignmentPattern>(start);
    p->type = type;
    VeriExpression* item = first;
    List<VeriExpression> exprs(*this);
    for (;;) {
        if (item && at(VT_COLON)) {
            VeriToken colon = take();
            auto* keyed = make<VeriBinaryOperator>(colon);
            keyed->oper = VT_COLON;
            keyed->left = item;
            keyed->right = parseExpression();
            finish(keyed);
            item = keyed;
        }
        if (item) exprs.push(item);
        if (!accept(VT_COMMA)) break;
        item = parseExpression();
    }
    p->exprs = exprs.freeze();
    expect(VT_RBRACE);
    finish(p);
    return p;
}

VeriExpression* VeriParser::Impl::parseMinTypMax() {
    VeriToken start = peek();
    VeriExpression* e = parseExpression();
    if (!at(VT_COLON)) return e;
    auto* m = make<VeriMinTypMaxExpr>(start);
    m->minExpr = e;
    take();
    m->typExpr = parseExpression();
    expect(VT_COLON);
    m->maxExpr = parseExpression();
    finish(m);
    return m;
}

VeriExpression* VeriParser::Impl::parseTypeOrExpression() {
    unsigned k = kind();
    if ((isBuiltinType(k) && kind(1) != VT_APOSTROPHE) || k == VT_STRUCT || k == VT_UNION || k == VT_ENUM ||
        k == VT_VIRTUAL)
        return parseDataType(false);
    return parseExpression();
}

ArenaArray<VeriExpression*> VeriParser::Impl::parseCallArgs() {
    List<VeriExpression> args(*this);
    parseCallArgs(args);
    return args.freeze();
}

void VeriParser::Impl::parseCallArgs(List<VeriExpression>& args) {
    // after '(' : ordered, empty or .name(expr) arguments
    if (accept(VT_RPAREN)) return;
    for (;;) {
        if (at(VT_COMMA) || at(VT_RPAREN)) {
            auto* open = make<VeriPortOpen>(peek());
            args.push(open);
        } else if (at(VT_DOT) && isIdent(1)) {
            VeriToken start = take();
            auto* pc = make<VeriPortConnect>(start);
            pc->portName = takeName();
            if (accept(VT_LPAREN)) {
                if (!at(VT_RPAREN)) pc->connection = parseTypeOrExpression();
                expect(VT_RPAREN);
            }
            finish(pc);
            args.push(pc);
        } else {
            args.push(parseTypeOrExpression());
        }
        if (accept(VT_COMMA)) continue;
        expect(VT_RPAREN);
        return;
    }
}

VeriDelayOrEventControl* VeriParser::Impl::parseDelay() {
    VeriToken start = take(); // # or ##
    auto* d = make<VeriDelayOrEventControl>(start);
    d->cycleDelay = start.kind == VT_CYCLE_DELAY;
    if (at(VT_LBRACKET) && d->cycleDelay) skipBalanced();
    else d->delays = parseDelayValues();
    finish(d);
    return d;
}

ArenaArray<VeriExpression*> VeriParser::Impl::parseDelayValues() {
    List<VeriExpression> delays(*this);
    if (accept(VT_LPAREN)) {
        while (!at(VT_RPAREN) && !atEof()) {
            delays.push(parseMinTypMax());
            if (!accept(VT_COMMA)) break;
        }
        expect(VT_RPAREN);
        return delays.freeze();
    }
    VeriToken t = peek();
    if (t.kind == VT_IDENTIFIER || t.kind == VT_ESCAPED_IDENTIFIER) {
        take();
        VeriExpression* e = makeRef(t);
        // #pkg::D: no call or select can follow a delay given without parentheses.
        while (at(VT_SCOPE) && isIdent(1)) {
            take();
            e = scopeName(t, e);
        }
        delays.push(e);
    } else if (t.kind == VT_DECIMAL_NUMBER || t.kind == VT_REAL_NUMBER || t.kind == VT_TIME_LITERAL ||
               t.kind == VT_BASED_NUMBER) {
        delays.push(parseNumber());
    } else {
        delays.push(parsePrimary());
    }
    return delays.freeze();
}

VeriExpression* VeriParser::Impl::parseEventExpression() {
    VeriToken start = peek();
    auto* ev = make<VeriEventExpression>(start);
    if (at(VT_POSEDGE) || at(VT_NEGEDGE) || at(VT_EDGE)) ev->edge = take().kind;
    ev->expr = parseExpression();
    if (accept(VT_IFF)) ev->iffCond = parseExpression();
    finish(ev);
    return ev;
}

VeriDelayOrEventControl* VeriParser::Impl::parseEventControl() {
    VeriToken start = take(); // @ or @@
    auto* d = make<VeriDelayOrEventControl>(start);
    if (accept(VT_STAR)) {
        d->implicitEvent = true;
    } else if (at(VT_LPAREN)) {
        take();
        if (at(VT_STAR) && kind(1) == VT_RPAREN) {
            take();
            d->implicitEvent = true;
        } else {
            List<VeriExpression> events(*this);
            while (!atEof()) {
                events.push(parseEventExpression());
                if (!accept(VT_OR) && !accept(VT_COMMA)) break;
            }
            d->events = events.freeze();
        }
        expect(VT_RPAREN);
    } else {
        // @name or @hier.name
        VeriToken t = peek();
        if (isIdent()) {
            take();
            d->events = single(parsePostfix(makeRef(t), t));
        } else {
            syntaxError(t, "an event");
        }
    }
    finish(d);
    return d;
}

ArenaArray<VeriExpression*> VeriParser::Impl::parseParamValues() {
    take(); // #
    if (accept(VT_LPAREN)) return parseCallArgs();
    return single(parsePrimary());
}

VeriExpression* VeriParser::Impl::parseLValue() {
    VeriToken start = peek();
    VeriExpression* e = parsePrimary();
    if (!e) return nullptr;
    return parsePostfix(e, start);
}

// `prefix::name` after the `::`: the next token is the name; a prefix naming a package
// resolves both sides.
VeriScopeName* VeriParser::Impl::scopeName(VeriToken start, VeriExpression* prefix) {
    auto* sc = make<VeriScopeName>(start);
    sc->prefix = prefix;
    sc->name = name(take());
    if (auto* ref = dynamic_cast<VeriIdRef*>(prefix); ref && hooks.findPackage) {
        if (VeriModule* package = hooks.findPackage(ref->name)) {
            ref->id = package->id;
            sc->id = lookupInPackage(package, sc->name);
        }
    }
    finish(sc);
    return sc;
}

} // namespace hdl
