// Names, expressions, ranges and subtype indications.
#include <string>

#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlParserImpl.h"

namespace hdl {

namespace {

// Nesting beyond this depth is refused, so that hostile input cannot exhaust the stack.
constexpr unsigned kMaxDepth = 200;

struct DepthGuard {
    explicit DepthGuard(unsigned& d) : depth(d) { ++depth; }
    ~DepthGuard() { --depth; }
    unsigned& depth;
};

bool IsRelational(unsigned k) {
    switch (k) {
    case VHDL_EQ:
    case VHDL_NEQ:
    case VHDL_LT:
    case VHDL_LE:
    case VHDL_GT:
    case VHDL_GE:
    case VHDL_MEQ:
    case VHDL_MNEQ:
    case VHDL_MLT:
    case VHDL_MLE:
    case VHDL_MGT:
    case VHDL_MGE: return true;
    default: return false;
    }
}

bool IsLogical(unsigned k) {
    return k == VHDL_AND || k == VHDL_OR || k == VHDL_XOR || k == VHDL_NAND || k == VHDL_NOR || k == VHDL_XNOR;
}

bool IsShift(unsigned k) {
    return k == VHDL_SLL || k == VHDL_SRL || k == VHDL_SLA || k == VHDL_SRA || k == VHDL_ROL || k == VHDL_ROR;
}

} // namespace

VhdlOperator* VhdlParser::MakeOperator(size_t start, VhdlExpression* left, unsigned op, VhdlExpression* right) {
    auto* node = arena_.make<VhdlOperator>();
    node->left = left;
    node->op = op;
    node->right = right;
    Finish(node, start);
    return node;
}

VhdlName* VhdlParser::ParseSimpleOrOperatorName() {
    size_t start = pos_;
    switch (Kind()) {
    case VHDL_ID:
    case VHDL_EXTENDED_ID: {
        auto* ref = arena_.make<VhdlIdRef>();
        ref->text = Text(Tok());
        ++pos_;
        Finish(ref, start);
        return ref;
    }
    case VHDL_STRING: {
        auto* s = arena_.make<VhdlStringLiteral>();
        s->text = Text(Tok());
        ++pos_;
        Finish(s, start);
        return s;
    }
    case VHDL_CHARACTER: {
        auto* c = arena_.make<VhdlCharacterLiteral>();
        c->text = Text(Tok());
        ++pos_;
        Finish(c, start);
        return c;
    }
    case VHDL_LTLT: return ParseExternalName();
    default: SyntaxErrorUnexpected(); return nullptr;
    }
}

VhdlName* VhdlParser::ParseName() {
    size_t start = pos_;
    VhdlName* prefix = ParseSimpleOrOperatorName();
    if (!prefix) return nullptr;
    return ParseNameSuffixes(prefix, start);
}

VhdlName* VhdlParser::ParseNameSuffixes(VhdlName* prefix, size_t start) {
    if (depth_ > kMaxDepth) {
        SyntaxError<vhdl_msg::NameNestedTooDeeply>();
        return prefix;
    }
    DepthGuard guard(depth_);
    for (;;) {
        if (Is(VHDL_DOT)) {
            ++pos_;
            VhdlName* suffix = nullptr;
            if (Is(VHDL_ALL)) suffix = Make<VhdlAll>(pos_++);
            else suffix = ParseSimpleOrOperatorName();
            if (!suffix) return prefix;
            auto* sel = arena_.make<VhdlSelectedName>();
            sel->prefix = prefix;
            sel->suffix = suffix;
            Finish(sel, start);
            prefix = sel;
        } else if (Is(VHDL_TICK) && Kind(1) != VHDL_LPAREN) {
            ++pos_;
            auto* attr = arena_.make<VhdlAttributeName>();
            attr->prefix = prefix;
            // Attribute designators include reserved words: 'range, 'subtype, 'element.
            if (IsIdentifier() || Kind() > VHDL_FIRST_KEYWORD) {
                auto* ref = arena_.make<VhdlIdRef>();
                ref->text = Text(Tok());
                ++pos_;
                Finish(ref, pos_ - 1);
                attr->designator = ref;
            } else {
                SyntaxErrorUnexpected();
                return prefix;
            }
            Finish(attr, start);
            prefix = attr;
        } else if (Is(VHDL_LPAREN)) {
            auto* idx = arena_.make<VhdlIndexedName>();
            idx->prefix = prefix;
            idx->assocList = ParseAssociationList();
            Finish(idx, start);
            prefix = idx;
        } else if (Is(VHDL_LBRACKET)) {
            auto* sn = arena_.make<VhdlSignaturedName>();
            sn->name = prefix;
            sn->signature = ParseSignature();
            Finish(sn, start);
            prefix = sn;
        } else {
            return prefix;
        }
    }
}

VhdlName* VhdlParser::ParseGenericMappedCall(VhdlName* name, size_t start) {
    if (!name || mode_ < VHDL_2019 || !Is(VHDL_GENERIC) || Kind(1) != VHDL_MAP) return name;
    auto* call = arena_.make<VhdlIndexedName>();
    call->prefix = name;
    call->genericMap = ParseMapAspect(VHDL_GENERIC);
    if (Is(VHDL_LPAREN)) call->assocList = ParseAssociationList();
    Finish(call, start);
    return ParseNameSuffixes(call, start);
}

// << signal path : subtype >>
VhdlName* VhdlParser::ParseExternalName() {
    size_t start = pos_;
    Expect(VHDL_LTLT);
    auto* ext = arena_.make<VhdlExternalName>();
    if (Is(VHDL_SIGNAL) || Is(VHDL_CONSTANT) || Is(VHDL_VARIABLE)) ext->objectClass = Kind();
    else SyntaxErrorUnexpected();
    ++pos_;
    size_t pathStart = pos_;
    VhdlName* path = nullptr;
    auto marker = [&](size_t at) {
        auto* ref = arena_.make<VhdlIdRef>();
        ref->text = Text(toks_[at]);
        Finish(ref, at);
        return ref;
    };
    if (Is(VHDL_DOT) || Is(VHDL_AT)) {
        path = marker(pos_++);
    } else {
        while (Is(VHDL_CARET) && Kind(1) == VHDL_DOT) {
            VhdlName* up = marker(pos_);
            pos_ += 2;
            if (path) {
                auto* sel = arena_.make<VhdlSelectedName>();
                sel->prefix = path;
                sel->suffix = up;
                Finish(sel, pathStart);
                path = sel;
            } else {
                path = up;
            }
        }
    }
    VhdlName* rest = ParseName();
    if (path && rest) {
        auto* sel = arena_.make<VhdlSelectedName>();
        sel->prefix = path;
        sel->suffix = rest;
        Finish(sel, pathStart);
        path = sel;
    } else if (rest) {
        path = rest;
    }
    ext->path = path;
    Expect(VHDL_COLON);
    ext->subtype = ParseSubtypeIndication();
    Expect(VHDL_GTGT);
    Finish(ext, start);
    return ext;
}

// [ type_mark {, type_mark} [return type_mark] ]
VhdlSignature* VhdlParser::ParseSignature() {
    size_t start = pos_;
    Expect(VHDL_LBRACKET);
    auto* sig = arena_.make<VhdlSignature>();
    std::vector<VhdlTreeNode*> marks;
    if (!Is(VHDL_RETURN) && !Is(VHDL_RBRACKET)) {
        do {
            if (VhdlName* n = ParseName()) marks.push_back(n);
            else break;
        } while (Accept(VHDL_COMMA));
    }
    sig->typeMarks = List(marks);
    if (Accept(VHDL_RETURN)) sig->returnType = ParseName();
    Expect(VHDL_RBRACKET);
    Finish(sig, start);
    return sig;
}

VhdlNodeList VhdlParser::ParseAssociationList() {
    std::vector<VhdlTreeNode*> items;
    Expect(VHDL_LPAREN);
    if (depth_ > kMaxDepth) {
        SyntaxError<vhdl_msg::ExpressionNestedTooDeeply>();
        SkipPast(VHDL_RPAREN);
        return {};
    }
    DepthGuard guard(depth_);
    if (!Is(VHDL_RPAREN)) {
        do {
            size_t before = pos_;
            VhdlExpression* e = ParseAssociationElement();
            if (e) items.push_back(e);
            if (pos_ == before) break;
        } while (Accept(VHDL_COMMA));
    }
    if (!Expect(VHDL_RPAREN)) {
        // Skip the rest of a broken list up to its closing parenthesis.
        unsigned parens = 0;
        while (!AtEndOfFile() && !Is(VHDL_SEMI)) {
            if (Is(VHDL_LPAREN)) ++parens;
            if (Is(VHDL_RPAREN)) {
                if (parens == 0) {
                    ++pos_;
                    break;
                }
                --parens;
            }
            ++pos_;
        }
    }
    return List(items);
}

// [formal =>] actual; an actual may be open, `inertial expr`, a range or a subtype.
VhdlExpression* VhdlParser::ParseAssociationElement() {
    size_t start = pos_;
    VhdlExpression* first = nullptr;
    bool inertial = Accept(VHDL_INERTIAL);
    if (Is(VHDL_OPEN)) first = Make<VhdlOpen>(pos_++);
    else if (Is(VHDL_OTHERS)) first = Make<VhdlOthers>(pos_++);
    else if (Is(VHDL_BOX)) first = Make<VhdlBox>(pos_++);
    else if (Is(VHDL_DEFAULT)) first = Make<VhdlDefault>(pos_++);
    else first = ParseRangeOrExpression();
    if (Is(VHDL_BAR)) {
        // Choices in an association list (record or array element constraints).
        std::vector<VhdlTreeNode*> choices{first};
        while (Accept(VHDL_BAR)) {
            if (Is(VHDL_OTHERS)) choices.push_back(Make<VhdlOthers>(pos_++));
            else choices.push_back(ParseRangeOrExpression());
        }
        auto* ea = arena_.make<VhdlElementAssoc>();
        ea->choices = List(choices);
        Expect(VHDL_ARROW);
        ea->expression = ParseRangeOrExpression();
        Finish(ea, start);
        return ea;
    }
    if (!Accept(VHDL_ARROW)) {
        if (!inertial) return first;
        auto* assoc = arena_.make<VhdlAssocElement>();
        assoc->inertial = true;
        assoc->actual = first;
        Finish(assoc, start);
        return assoc;
    }
    auto* assoc = arena_.make<VhdlAssocElement>();
    assoc->formal = first;
    if (Accept(VHDL_INERTIAL)) assoc->inertial = true;
    if (Is(VHDL_OPEN)) assoc->actual = Make<VhdlOpen>(pos_++);
    else if (Is(VHDL_BOX)) assoc->actual = Make<VhdlBox>(pos_++);
    else if (Is(VHDL_DEFAULT)) assoc->actual = Make<VhdlDefault>(pos_++);
    else assoc->actual = ParseRangeOrExpression();
    Finish(assoc, start);
    return assoc;
}

VhdlExpression* VhdlParser::ParseExpression() {
    size_t start = pos_;
    if (Accept(VHDL_COND)) return MakeOperator(start, nullptr, VHDL_COND, ParsePrimary());
    return ParseLogical();
}

VhdlExpression* VhdlParser::ParseValueExpression() {
    size_t start = pos_;
    VhdlExpression* value = ParseExpression();
    if (mode_ < VHDL_2019 || !Is(VHDL_WHEN)) return value;
    ++pos_;
    auto* ce = arena_.make<VhdlConditionalExpression>();
    ce->value = value;
    ce->condition = ParseExpression();
    if (Accept(VHDL_ELSE)) ce->elseValue = ParseValueExpression();
    Finish(ce, start);
    return ce;
}

VhdlExpression* VhdlParser::ParseLogical() {
    size_t start = pos_;
    VhdlExpression* left = ParseRelation();
    while (IsLogical(Kind())) {
        unsigned op = Kind();
        ++pos_;
        left = MakeOperator(start, left, op, ParseRelation());
    }
    return left;
}

VhdlExpression* VhdlParser::ParseRelation() {
    size_t start = pos_;
    VhdlExpression* left = ParseShift();
    if (IsRelational(Kind())) {
        unsigned op = Kind();
        ++pos_;
        left = MakeOperator(start, left, op, ParseShift());
    }
    return left;
}

VhdlExpression* VhdlParser::ParseShift() {
    size_t start = pos_;
    VhdlExpression* left = ParseSimple();
    if (IsShift(Kind())) {
        unsigned op = Kind();
        ++pos_;
        left = MakeOperator(start, left, op, ParseSimple());
    }
    return left;
}

VhdlExpression* VhdlParser::ParseSimple() {
    size_t start = pos_;
    VhdlExpression* left;
    if (Is(VHDL_PLUS) || Is(VHDL_MINUS)) {
        unsigned op = Kind();
        ++pos_;
        left = MakeOperator(start, nullptr, op, ParseTerm());
    } else {
        left = ParseTerm();
    }
    while (Is(VHDL_PLUS) || Is(VHDL_MINUS) || Is(VHDL_AMP)) {
        unsigned op = Kind();
        ++pos_;
        left = MakeOperator(start, left, op, ParseTerm());
    }
    return left;
}

VhdlExpression* VhdlParser::ParseTerm() {
    size_t start = pos_;
    VhdlExpression* left = ParseFactor();
    while (Is(VHDL_STAR) || Is(VHDL_SLASH) || Is(VHDL_MOD) || Is(VHDL_REM)) {
        unsigned op = Kind();
        ++pos_;
        left = MakeOperator(start, left, op, ParseFactor());
    }
    return left;
}

VhdlExpression* VhdlParser::ParseFactor() {
    size_t start = pos_;
    if (Is(VHDL_ABS) || Is(VHDL_NOT) || IsLogical(Kind())) {
        unsigned op = Kind();
        ++pos_;
        return MakeOperator(start, nullptr, op, ParsePrimary());
    }
    VhdlExpression* left = ParsePrimary();
    if (Accept(VHDL_POW)) left = MakeOperator(start, left, VHDL_POW, ParsePrimary());
    return left;
}

VhdlExpression* VhdlParser::ParsePrimary() {
    size_t start = pos_;
    if (depth_ > kMaxDepth) {
        SyntaxError<vhdl_msg::ExpressionTooDeep>();
        SkipToItemEnd();
        return nullptr;
    }
    DepthGuard guard(depth_);
    switch (Kind()) {
    case VHDL_INTEGER:
    case VHDL_REAL: {
        VhdlLiteral* lit;
        if (Is(VHDL_INTEGER)) {
            auto* i = arena_.make<VhdlInteger>();
            i->text = Text(Tok());
            lit = i;
        } else {
            auto* r = arena_.make<VhdlReal>();
            r->text = Text(Tok());
            lit = r;
        }
        ++pos_;
        Finish(lit, start);
        if (!IsIdentifier()) return lit;
        // An abstract literal followed by a name is a physical literal: 10 ns.
        auto* phys = arena_.make<VhdlPhysicalLiteral>();
        phys->value = lit;
        phys->unit = ParseSimpleOrOperatorName();
        Finish(phys, start);
        return phys;
    }
    case VHDL_BIT_STRING: {
        auto* b = arena_.make<VhdlBitStringLiteral>();
        b->text = Text(Tok());
        ++pos_;
        Finish(b, start);
        return b;
    }
    case VHDL_STRING:
        // A string followed by '(' is an operator symbol called as a function.
        if (Kind(1) == VHDL_LPAREN || Kind(1) == VHDL_DOT) return ParseName();
        return ParseSimpleOrOperatorName();
    case VHDL_CHARACTER: return ParseSimpleOrOperatorName();
    case VHDL_NULL_: return Make<VhdlNull>(pos_++);
    case VHDL_OPEN: return Make<VhdlOpen>(pos_++);
    case VHDL_NEW: {
        ++pos_;
        auto* alloc = arena_.make<VhdlAllocator>();
        size_t nameStart = pos_;
        VhdlName* mark = ParseName();
        if (mark && Is(VHDL_TICK) && Kind(1) == VHDL_LPAREN) {
            ++pos_;
            auto* q = arena_.make<VhdlQualifiedExpression>();
            q->prefix = mark;
            q->aggregate = ParseParenthesized();
            Finish(q, nameStart);
            alloc->subtype = q;
        } else if (mark && Is(VHDL_RANGE)) {
            ++pos_;
            auto* si = arena_.make<VhdlExplicitSubtypeIndication>();
            si->typeMark = mark;
            si->constraint = ParseRangeOrExpression();
            Finish(si, nameStart);
            alloc->subtype = si;
        } else {
            alloc->subtype = mark;
        }
        Finish(alloc, start);
        return alloc;
    }
    case VHDL_LPAREN: return ParseParenthesized();
    case VHDL_ID:
    case VHDL_EXTENDED_ID:
    case VHDL_LTLT: {
        VhdlName* name = ParseGenericMappedCall(ParseName(), start);
        if (name && Is(VHDL_TICK) && Kind(1) == VHDL_LPAREN) {
            ++pos_;
            auto* q = arena_.make<VhdlQualifiedExpression>();
            q->prefix = name;
            q->aggregate = ParseParenthesized();
            Finish(q, start);
            // A qualified expression may be indexed or selected further: t'(x)(0).
            return q;
        }
        return name;
    }
    default: SyntaxErrorUnexpected(); return nullptr;
    }
}

// ( expression ) or an aggregate.
VhdlExpression* VhdlParser::ParseParenthesized() {
    size_t start = pos_;
    Expect(VHDL_LPAREN);
    std::vector<VhdlTreeNode*> elements;
    bool named = false;
    if (!Is(VHDL_RPAREN)) {
        do {
            size_t elemStart = pos_;
            std::vector<VhdlTreeNode*> choices;
            do {
                if (Is(VHDL_OTHERS)) choices.push_back(Make<VhdlOthers>(pos_++));
                else choices.push_back(ParseRangeOrExpression());
            } while (Accept(VHDL_BAR));
            if (Accept(VHDL_ARROW)) {
                named = true;
                auto* ea = arena_.make<VhdlElementAssoc>();
                ea->choices = List(choices);
                ea->expression = ParseRangeOrExpression();
                Finish(ea, elemStart);
                elements.push_back(ea);
            } else {
                if (choices.size() > 1) SyntaxError<vhdl_msg::ChoicesWithoutArrow>();
                elements.push_back(choices.front());
            }
            if (pos_ == elemStart) break;
        } while (Accept(VHDL_COMMA));
    }
    if (!Expect(VHDL_RPAREN)) SkipPast(VHDL_RPAREN);
    if (elements.size() == 1 && !named) return static_cast<VhdlExpression*>(elements.front());
    auto* agg = arena_.make<VhdlAggregate>();
    agg->elements = List(elements);
    Finish(agg, start);
    return agg;
}

// expression [ (to|downto) expression ] | type_mark range constraint
VhdlExpression* VhdlParser::ParseRangeOrExpression() {
    size_t start = pos_;
    VhdlExpression* left = ParseExpression();
    if (Is(VHDL_TO) || Is(VHDL_DOWNTO)) {
        auto* r = arena_.make<VhdlRange>();
        r->left = left;
        r->dir = Kind();
        ++pos_;
        r->right = ParseExpression();
        Finish(r, start);
        return r;
    }
    if (Is(VHDL_RANGE)) {
        auto* typeMark = dynamic_cast<VhdlName*>(left);
        if (left && !typeMark) SyntaxError<vhdl_msg::TypeMarkBeforeRange>();
        ++pos_;
        auto* si = arena_.make<VhdlExplicitSubtypeIndication>();
        si->typeMark = typeMark;
        if (Is(VHDL_BOX)) si->constraint = Make<VhdlBox>(pos_++);
        else si->constraint = ParseRangeOrExpression();
        Finish(si, start);
        return si;
    }
    if (IsIdentifier() && left &&
        (left->GetClassId() == VhdlIdRef::kClassId || left->GetClassId() == VhdlSelectedName::kClassId)) {
        // resolution_function type_mark, as in a discrete range `resolved t`.
        auto* si = arena_.make<VhdlExplicitSubtypeIndication>();
        si->resolution = left;
        si->typeMark = ParseName();
        if (Accept(VHDL_RANGE)) si->constraint = ParseRangeOrExpression();
        Finish(si, start);
        return si;
    }
    return left;
}

VhdlTreeNode* VhdlParser::ParseDiscreteRange() { return ParseRangeOrExpression(); }

// [resolution_indication] type_mark [constraint]
VhdlTreeNode* VhdlParser::ParseSubtypeIndication() {
    size_t start = pos_;
    VhdlTreeNode* resolution = nullptr;
    if (Is(VHDL_LPAREN)) {
        // An element resolution keeps its parentheses: (resolved) t differs from resolved t.
        size_t resStart = pos_;
        VhdlExpression* inner = ParseParenthesized();
        if (inner && inner->GetClassId() != VhdlAggregate::kClassId) {
            auto* agg = arena_.make<VhdlAggregate>();
            agg->elements = List(std::vector<VhdlTreeNode*>{inner});
            Finish(agg, resStart);
            inner = agg;
        }
        resolution = inner;
    }
    VhdlName* mark = ParseName();
    if (!resolution && mark && IsIdentifier()) {
        resolution = mark;
        mark = ParseName();
    }
    VhdlTreeNode* constraint = nullptr;
    if (Accept(VHDL_RANGE)) {
        if (Is(VHDL_BOX)) constraint = Make<VhdlBox>(pos_++);
        else constraint = ParseRangeOrExpression();
    }
    if (!resolution && !constraint) return mark;
    auto* si = arena_.make<VhdlExplicitSubtypeIndication>();
    si->resolution = resolution;
    si->typeMark = mark;
    si->constraint = constraint;
    Finish(si, start);
    return si;
}

VhdlNodeList VhdlParser::ParseChoices() {
    std::vector<VhdlTreeNode*> choices;
    do {
        size_t before = pos_;
        if (Is(VHDL_OTHERS)) choices.push_back(Make<VhdlOthers>(pos_++));
        else if (VhdlExpression* e = ParseRangeOrExpression()) choices.push_back(e);
        if (pos_ == before) break;
    } while (Accept(VHDL_BAR));
    return List(choices);
}

} // namespace hdl
