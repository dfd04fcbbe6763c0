// Data types and declarations: nets, variables, parameters, typedefs, subprograms.
#include "hdl/sv/VeriParserImpl.h"

namespace hdl {

namespace {
// How far a look-ahead over a type name may run before it gives up.
constexpr size_t kMaxScan = 512;
} // namespace

bool VeriParser::Impl::isNetType(unsigned k) {
    switch (k) {
    case VT_WIRE:
    case VT_TRI:
    case VT_TRI0:
    case VT_TRI1:
    case VT_TRIAND:
    case VT_TRIOR:
    case VT_TRIREG:
    case VT_WAND:
    case VT_WOR:
    case VT_SUPPLY0:
    case VT_SUPPLY1:
    case VT_UWIRE:
    case VT_INTERCONNECT: return true;
    default: return false;
    }
}

bool VeriParser::Impl::isBuiltinType(unsigned k) {
    switch (k) {
    case VT_BIT:
    case VT_LOGIC:
    case VT_REG:
    case VT_BYTE:
    case VT_SHORTINT:
    case VT_INT:
    case VT_LONGINT:
    case VT_INTEGER:
    case VT_TIME:
    case VT_SHORTREAL:
    case VT_REAL:
    case VT_REALTIME:
    case VT_STRING:
    case VT_CHANDLE:
    case VT_EVENT:
    case VT_VOID: return true;
    default: return false;
    }
}

bool VeriParser::Impl::isDirection(unsigned k) {
    return k == VT_INPUT || k == VT_OUTPUT || k == VT_INOUT || k == VT_REF;
}

bool VeriParser::Impl::declarationAhead(size_t k) {
    auto skipGroup = [&](size_t i) -> size_t {
        int level = 0;
        for (size_t n = 0; n < kMaxScan; ++n, ++i) {
            unsigned t = kind(i);
            if (t == VT_EOF || t == VT_SEMI) return 0;
            if (t == VT_LPAREN || t == VT_LBRACKET || t == VT_LBRACE) ++level;
            else if (t == VT_RPAREN || t == VT_RBRACKET || t == VT_RBRACE) {
                if (--level == 0) return i + 1;
            }
        }
        return 0;
    };
    if (!isIdent(k)) return false;
    ++k;
    for (;;) {
        if (kind(k) == VT_SCOPE && isIdent(k + 1)) {
            k += 2;
        } else if (kind(k) == VT_HASH && kind(k + 1) == VT_LPAREN) {
            k = skipGroup(k + 1);
            if (!k) return false;
        } else {
            break;
        }
    }
    // interface.modport as a port type
    if (kind(k) == VT_DOT && isIdent(k + 1) && isIdent(k + 2)) return true;
    while (kind(k) == VT_LBRACKET) {
        k = skipGroup(k);
        if (!k) return false;
    }
    return isIdent(k);
}

bool VeriParser::Impl::instantiationAhead() {
    // The token after the parenthesis group that opens at i; 0 when it does not end.
    auto afterParens = [&](size_t i) -> size_t {
        int level = 0;
        for (size_t n = 0; n < 4096; ++n, ++i) {
            unsigned t = kind(i);
            if (t == VT_EOF) return 0;
            if (t == VT_LPAREN) ++level;
            else if (t == VT_RPAREN && --level == 0) return i + 1;
        }
        return 0;
    };
    size_t k = 1;
    // A UDP instance may give a drive strength.
    if (kind(k) == VT_LPAREN && isStrengthKind(kind(k + 1))) {
        k = afterParens(k);
        if (!k) return false;
    }
    if (kind(k) == VT_HASH) {
        if (kind(k + 1) == VT_LPAREN) {
            k = afterParens(k + 1);
            if (!k) return false;
        } else {
            k += 2;
        }
    }
    // Gate and UDP instances may be unnamed: `udp (o, a);`, `udp #1 (o, a), (p, b);`.
    if (kind(k) == VT_LPAREN) {
        k = afterParens(k);
        return k && (kind(k) == VT_SEMI || kind(k) == VT_COMMA);
    }
    if (!isIdent(k)) return false;
    ++k;
    while (kind(k) == VT_LBRACKET) {
        int level = 0;
        for (size_t n = 0; n < kMaxScan; ++n, ++k) {
            unsigned t = kind(k);
            if (t == VT_EOF) return false;
            if (t == VT_LBRACKET) ++level;
            else if (t == VT_RBRACKET && --level == 0) break;
        }
        ++k;
    }
    return kind(k) == VT_LPAREN;
}

VeriDataType* VeriParser::Impl::parseDataType(bool allowImplicit) {
    DepthGuard guard(*this);
    if (!guard.ok) return nullptr;
    VeriToken start = peek();
    unsigned k = start.kind;
    if (k == VT_STRUCT || k == VT_UNION) return parseStructUnion();
    if (k == VT_ENUM) return parseEnum();
    if (k == VT_VIRTUAL) {
        take();
        accept(VT_INTERFACE);
        auto* t = make<VeriTypeRef>(start);
        t->virtualInterface = true;
        VeriToken n = peek();
        if (isIdent()) {
            take();
            t->typeName = makeRef(n);
        }
        if (at(VT_HASH)) t->paramValues = parseParamValues();
        if (at(VT_DOT) && isIdent(1)) {
            take();
            auto* sel = make<VeriSelectedName>(n);
            sel->prefix = t->typeName;
            sel->suffix = takeName();
            finish(sel);
            t->typeName = sel;
        }
        finish(t);
        return t;
    }
    if (k == VT_TYPE) {
        auto* t = make<VeriTypeRef>(start);
        t->typeName = parsePrimary();
        t->dimensions = parseDimensions();
        finish(t);
        return t;
    }
    if (isBuiltinType(k)) {
        take();
        auto* t = make<VeriDataType>(start);
        t->type = k;
        if (at(VT_SIGNED) || at(VT_UNSIGNED)) t->signing = take().kind;
        t->dimensions = parseDimensions();
        finish(t);
        return t;
    }
    if (isIdent() && declarationAhead(0)) {
        auto* t = make<VeriTypeRef>(start);
        take();
        VeriExpression* n = makeRef(start);
        List<VeriExpression> params(*this);
        for (;;) {
            if (at(VT_SCOPE) && isIdent(1)) {
                take();
                n = scopeName(start, n);
            } else if (at(VT_HASH) && kind(1) == VT_LPAREN) {
                for (VeriExpression* value : parseParamValues()) params.push(value);
            } else if (at(VT_DOT) && isIdent(1) && isIdent(2)) {
                take();
                auto* sel = make<VeriSelectedName>(start);
                sel->prefix = n;
                sel->suffix = takeName();
                finish(sel);
                n = sel;
            } else {
                break;
            }
        }
        t->typeName = n;
        t->paramValues = params.freeze();
        t->dimensions = parseDimensions();
        finish(t);
        return t;
    }
    if (allowImplicit && (k == VT_SIGNED || k == VT_UNSIGNED || k == VT_LBRACKET)) {
        auto* t = make<VeriDataType>(start);
        if (k != VT_LBRACKET) t->signing = take().kind;
        t->dimensions = parseDimensions();
        finish(t);
        return t;
    }
    return nullptr;
}

VeriDataType* VeriParser::Impl::parseStructUnion() {
    VeriToken start = take();
    auto* s = make<VeriStructUnion>(start);
    s->type = start.kind;
    if (accept(VT_TAGGED)) s->tagged = true;
    if (accept(VT_PACKED)) s->packed = true;
    if (at(VT_SIGNED) || at(VT_UNSIGNED)) s->signing = take().kind;
    ScopeMark upper = pushScope(s);
    s->scope = scope;
    if (expect(VT_LBRACE)) {
        List<VeriDataDecl> members(*this);
        while (!at(VT_RBRACE) && !atEof()) {
            VeriToken mstart = peek();
            std::vector<VeriAttribute> attrs;
            parseAttributes(attrs);
            std::vector<unsigned> quals;
            while (at(VT_RAND) || at(VT_RANDC)) quals.push_back(take().kind);
            VeriDataDecl* member = parseDataDecl(mstart, 0, 0, false, quals);
            attach(member, attrs);
            if (!member) {
                recoverItem();
                continue;
            }
            members.push(member);
        }
        s->members = members.freeze();
        expect(VT_RBRACE);
    }
    popScope(upper);
    s->dimensions = parseDimensions();
    finish(s);
    return s;
}

VeriDataType* VeriParser::Impl::parseEnum() {
    VeriToken start = take();
    auto* e = make<VeriEnum>(start);
    e->type = VT_ENUM;
    if (isIdent()) { // a named base type
        VeriToken n = take();
        auto* t = make<VeriTypeRef>(n);
        t->typeName = parsePostfix(makeRef(n), n);
        t->dimensions = parseDimensions();
        finish(t);
        e->baseType = t;
    } else if (!at(VT_LBRACE)) {
        e->baseType = parseDataType(true);
    }
    if (expect(VT_LBRACE)) {
        List<VeriParamId> literals(*this);
        while (!at(VT_RBRACE) && !atEof()) {
            VeriToken n = peek();
            auto* lit = make<VeriParamId>(n);
            lit->name = takeName();
            lit->enumLiteral = true;
            lit->dataType = e;
            lit->declaration = e;
            if (at(VT_LBRACKET)) lit->dimensions = parseDimensions();
            if (accept(VT_EQ)) lit->initialValue = parseExpression();
            finish(lit);
            declare(lit);
            literals.push(lit);
            if (!accept(VT_COMMA)) break;
        }
        e->literals = literals.freeze();
        expect(VT_RBRACE);
    }
    e->dimensions = parseDimensions();
    finish(e);
    return e;
}

void VeriParser::Impl::parseDeclarators(VeriDataDecl* decl) {
    List<VeriIdDef> ids(*this);
    for (;;) {
        VeriToken n = peek();
        if (!isIdent()) {
            syntaxError(n, "an identifier");
            recoverItem();
            decl->ids = ids.freeze();
            return;
        }
        take();
        auto* var = make<VeriVariable>(n);
        var->name = name(n);
        var->dir = decl->dir;
        var->dataType = decl->dataType;
        var->declaration = decl;
        var->dimensions = parseDimensions();
        if (accept(VT_EQ)) var->initialValue = parseExpression();
        finish(var);
        declare(var);
        ids.push(var);
        if (!accept(VT_COMMA)) break;
    }
    decl->ids = ids.freeze();
    expect(VT_SEMI);
    finish(decl);
}

VeriDataDecl* VeriParser::Impl::parseDataDecl(const VeriToken& start, unsigned dir, unsigned declKind, bool netDecl,
                                              const std::vector<unsigned>& qualifiers) {
    VeriDataDecl* decl;
    if (netDecl) {
        auto* net = make<VeriNetDecl>(start);
        net->kind = declKind;
        if (at(VT_LPAREN)) net->strength = parseStrength();
        if (at(VT_VECTORED) || at(VT_SCALARED)) net->vectoring = take().kind;
        net->dir = dir;
        net->dataType = parseDataType(true);
        if (accept(VT_HASH)) net->delays = parseDelayValues();
        decl = net;
    } else {
        VeriDataType* type = parseDataType(true);
        if (!type && !dir && !declKind) return nullptr;
        decl = make<VeriDataDecl>(start);
        decl->kind = declKind;
        decl->dir = dir;
        decl->dataType = type;
    }
    decl->SetQualifiers(freeze(qualifiers));
    parseDeclarators(decl);
    return decl;
}

VeriModuleItem* VeriParser::Impl::parseTypedef(const VeriToken& start) {
    auto* decl = make<VeriDataDecl>(start);
    decl->kind = VT_TYPEDEF;
    unsigned k = kind();
    bool forward =
        (k == VT_ENUM || k == VT_STRUCT || k == VT_UNION || k == VT_CLASS) && isIdent(1) && kind(2) == VT_SEMI;
    if (k == VT_INTERFACE && kind(1) == VT_CLASS) forward = true;
    if (forward) {
        while (!isIdent()) take();
    } else if (isIdent() && kind(1) == VT_DOT) {
        // typedef port.type_name name;
        VeriToken n = take();
        auto* t = make<VeriTypeRef>(n);
        t->typeName = parsePostfix(makeRef(n), n);
        finish(t);
        decl->dataType = t;
    } else if (isIdent() && kind(1) == VT_SEMI) {
        // forward typedef of a class: typedef name;
    } else {
        decl->dataType = parseDataType(false);
        if (!decl->dataType) {
            syntaxError(peek(), "a data type");
            recoverItem();
            return nullptr;
        }
    }
    VeriToken n = peek();
    auto* id = make<VeriTypeId>(n);
    id->name = takeName();
    id->dataType = decl->dataType;
    id->declaration = decl;
    id->dimensions = parseDimensions();
    finish(id);
    declare(id);
    decl->ids = single<VeriIdDef>(id);
    expect(VT_SEMI);
    finish(decl);
    return decl;
}

VeriDataDecl* VeriParser::Impl::parseParamDecl(const VeriToken& start, unsigned declKind, bool inPortList) {
    auto* decl = make<VeriDataDecl>(start);
    decl->kind = declKind;
    bool isType = accept(VT_TYPE);
    if (!isType) decl->dataType = parseDataType(true);
    List<VeriIdDef> ids(*this);
    for (;;) {
        VeriToken n = peek();
        if (!isIdent()) {
            syntaxError(n, "a parameter name");
            break;
        }
        take();
        auto* p = make<VeriParamId>(n);
        p->name = name(n);
        p->paramType = declKind;
        p->isType = isType;
        p->dataType = decl->dataType;
        p->declaration = decl;
        p->dimensions = parseDimensions();
        if (accept(VT_EQ)) p->initialValue = isType ? static_cast<VeriExpression*>(parseDataType(false)) : nullptr;
        if (isType && !p->initialValue && prev.kind == VT_EQ) p->initialValue = parseTypeOrExpression();
        else if (!isType && prev.kind == VT_EQ) p->initialValue = parseMinTypMax();
        finish(p);
        declare(p);
        ids.push(p);
        if (!at(VT_COMMA)) break;
        // In a #(...) list only a bare name after the comma continues this declaration.
        if (inPortList && !(isIdent(1) && (kind(2) == VT_EQ || kind(2) == VT_COMMA || kind(2) == VT_RPAREN ||
                                           kind(2) == VT_LBRACKET)))
            break;
        take();
    }
    decl->ids = ids.freeze();
    if (!inPortList) expect(VT_SEMI);
    finish(decl);
    return decl;
}

void VeriParser::Impl::parseAttributes(std::vector<VeriAttribute>& out) {
    while (at(VT_ATTR_OPEN)) {
        take();
        while (!at(VT_ATTR_CLOSE) && !atEof()) {
            VeriAttribute a;
            if (!isIdent() && !isKeywordKind(kind())) {
                syntaxError(peek(), "an attribute name");
                break;
            }
            a.name = Symbol::Intern(take().text);
            if (accept(VT_EQ)) a.value = parseExpression();
            out.push_back(a);
            if (!accept(VT_COMMA)) break;
        }
        expect(VT_ATTR_CLOSE);
    }
}

VeriModuleItem* VeriParser::Impl::parseDeclarationItem() {
    VeriToken start = peek();
    unsigned k = start.kind;
    std::vector<unsigned> quals;
    if (isDirection(k)) {
        take();
        unsigned netKind = 0;
        if (isNetType(kind())) netKind = take().kind;
        else if (at(VT_VAR)) take();
        // interface ports are not declared this way; everything else is a variable/net port
        VeriDataDecl* d = parseDataDecl(start, k, netKind, netKind != 0, quals);
        if (!d) {
            d = make<VeriDataDecl>(start);
            d->dir = k;
            parseDeclarators(d);
        }
        return d;
    }
    if (isNetType(k)) {
        take();
        return parseDataDecl(start, 0, k, true, quals);
    }
    if (k == VT_TYPEDEF) {
        take();
        return parseTypedef(start);
    }
    if (k == VT_PARAMETER || k == VT_LOCALPARAM || k == VT_SPECPARAM) {
        take();
        return parseParamDecl(start, k, false);
    }
    if (k == VT_GENVAR) {
        take();
        auto* decl = make<VeriDataDecl>(start);
        decl->kind = VT_GENVAR;
        List<VeriIdDef> ids(*this);
        for (;;) {
            VeriToken n = peek();
            auto* g = make<VeriGenVarId>(n);
            g->name = takeName();
            g->declaration = decl;
            finish(g);
            declare(g);
            ids.push(g);
            if (!accept(VT_COMMA)) break;
        }
        decl->ids = ids.freeze();
        expect(VT_SEMI);
        finish(decl);
        return decl;
    }
    // qualifiers: var, const, static, automatic, rand...
    size_t i = 0;
    for (;; ++i) {
        unsigned q = kind(i);
        if (q == VT_VAR || q == VT_CONST || q == VT_STATIC || q == VT_AUTOMATIC || q == VT_RAND || q == VT_RANDC ||
            q == VT_LOCAL || q == VT_PROTECTED)
            continue;
        break;
    }
    unsigned t = kind(i);
    bool typeAhead = isBuiltinType(t) || t == VT_STRUCT || t == VT_UNION || t == VT_ENUM || (t == VT_TYPE && i > 0) ||
                     (t == VT_VIRTUAL && i == 0) || (isIdent(i) && declarationAhead(i)) ||
                     (i > 0 && (t == VT_LBRACKET || t == VT_SIGNED || t == VT_UNSIGNED || isIdent(i)));
    if (!typeAhead || kind(i + 1) == VT_APOSTROPHE) return nullptr; // int'(x) is a cast
    unsigned declKind = 0;
    for (size_t n = 0; n < i; ++n) {
        unsigned q = take().kind;
        if (q == VT_VAR || q == VT_CONST) declKind = q;
        quals.push_back(q);
    }
    if (kind() == VT_REG) declKind = VT_REG;
    VeriDataDecl* d = parseDataDecl(start, 0, declKind, false, quals);
    if (!d) {
        // `var x;` `const x = 1;`
        d = make<VeriDataDecl>(start);
        d->kind = declKind;
        d->SetQualifiers(freeze(quals));
        parseDeclarators(d);
    }
    return d;
}

ArenaArray<VeriTreeNode*> VeriParser::Impl::parseSubprogramPorts() {
    // after '('
    VeriAnsiPortDecl* last = nullptr;
    List<VeriTreeNode> ports(*this);
    List<VeriIdDef> ids(*this); // of `last`
    unsigned dir = VT_INPUT;
    while (!at(VT_RPAREN) && !atEof()) {
        VeriToken start = peek();
        std::vector<VeriAttribute> attrs;
        parseAttributes(attrs);
        bool fresh = false;
        if (at(VT_CONST) && kind(1) == VT_REF) take();
        if (isDirection(kind())) {
            dir = take().kind;
            fresh = true;
        }
        if (accept(VT_VAR)) fresh = true;
        VeriDataType* type = nullptr;
        if (!(isIdent() && !declarationAhead(0))) type = parseDataType(true);
        if (type) fresh = true;
        bool created = fresh || !last;
        if (created) {
            if (last) last->ids = ids.freeze();
            ids.clear();
            last = make<VeriAnsiPortDecl>(start);
            last->dir = dir;
            last->dataType = type;
            ports.push(last);
        }
        VeriToken n = peek();
        auto* var = make<VeriVariable>(n);
        attach(created ? static_cast<VeriTreeNode*>(last) : var, attrs);
        var->name = takeName();
        var->dir = last->dir;
        var->dataType = last->dataType;
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
    return ports.freeze();
}

VeriFunctionDecl* VeriParser::Impl::parseSubprogram(const VeriToken& start, bool isTask, unsigned dpi) {
    VeriFunctionDecl* f = isTask ? make<VeriTaskDecl>(start) : make<VeriFunctionDecl>(start);
    f->dpi = dpi;
    if (at(VT_AUTOMATIC) || at(VT_STATIC)) f->lifetime = take().kind;
    if (!isTask) {
        // The return type, unless the name follows at once.
        bool nameNext = (isIdent() || at(VT_NEW)) && (kind(1) == VT_LPAREN || kind(1) == VT_SEMI ||
                                                      (kind(1) == VT_SCOPE && kind(3) != VT_SCOPE && !isIdent(3)));
        if (!nameNext) f->returnType = parseDataType(true);
    }
    VeriToken n = peek();
    if (isIdent() && kind(1) == VT_SCOPE) {
        // out-of-block method: class::name
        take();
        f->prefix = makeRef(n);
        take();
        n = peek();
    }
    VeriIdDef* id = isTask ? static_cast<VeriIdDef*>(make<VeriTaskId>(n)) : make<VeriFunctionId>(n);
    if (at(VT_NEW)) id->name = Symbol::Intern(take().text);
    else id->name = takeName();
    id->declaration = f;
    finish(id);
    f->id = id;
    if (!f->prefix) declare(id);
    ScopeMark upper = pushScope(f);
    f->scope = scope;
    id->scope = scope;
    if (accept(VT_LPAREN)) f->ports = parseSubprogramPorts();
    expect(VT_SEMI);
    if (dpi || f->prototype) {
        popScope(upper);
        finish(f);
        return f;
    }
    unsigned endKind = isTask ? VT_ENDTASK : VT_ENDFUNCTION;
    List<VeriModuleItem> decls(*this);
    List<VeriStatement> stmts(*this);
    while (!at(endKind) && !atEof()) {
        if (atUnitEnd()) break;
        std::vector<VeriAttribute> attrs;
        parseAttributes(attrs);
        if (VeriModuleItem* d = parseDeclarationItem()) {
            attach(d, attrs);
            decls.push(d);
            continue;
        }
        if (at(VT_IMPORT)) {
            VeriModuleItem* imp = parseImportExport(take(), false);
            attach(imp, attrs);
            decls.push(imp);
            continue;
        }
        VeriStatement* s = parseStatement();
        attach(s, attrs);
        if (s) stmts.push(s);
    }
    f->decls = decls.freeze();
    f->stmts = stmts.freeze();
    expect(endKind);
    skipEndLabel();
    popScope(upper);
    finish(f);
    return f;
}

} // namespace hdl
