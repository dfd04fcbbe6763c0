// Declarations, interface lists and map aspects.
#include <string>

#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlParserImpl.h"

namespace hdl {

namespace {

bool IEqualsWord(std::string_view a, const char* b) {
    size_t i = 0;
    for (; i < a.size() && b[i]; ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != b[i]) return false;
    return i == a.size() && !b[i];
}

} // namespace

bool VhdlParser::StartsDeclaration() const {
    switch (Kind()) {
    case VHDL_TYPE:
    case VHDL_SUBTYPE:
    case VHDL_CONSTANT:
    case VHDL_SIGNAL:
    case VHDL_VARIABLE:
    case VHDL_SHARED:
    case VHDL_FILE:
    case VHDL_ALIAS:
    case VHDL_ATTRIBUTE:
    case VHDL_COMPONENT:
    case VHDL_FUNCTION:
    case VHDL_PROCEDURE:
    case VHDL_PURE:
    case VHDL_IMPURE:
    case VHDL_PACKAGE:
    case VHDL_FOR:
    case VHDL_DISCONNECT:
    case VHDL_USE:
    case VHDL_GROUP:
    case VHDL_DEFAULT:
    case VHDL_VIEW:
    case VHDL_PRIVATE: return true;
    case VHDL_ID:
        // PSL declarations of 2008 stand among the declarations.
        return mode_ >= VHDL_2008 && (IEqualsWord(Text(Tok()), "property") || IEqualsWord(Text(Tok()), "sequence")) &&
               IsIdentifier(1);
    default: return false;
    }
}

VhdlNodeList VhdlParser::ParseDeclarativePart() {
    std::vector<VhdlTreeNode*> decls;
    while (StartsDeclaration()) {
        size_t before = pos_;
        VhdlTreeNode* d = ParseDeclaration();
        if (d) decls.push_back(d);
        if (pos_ == before) SkipToItemEnd();
    }
    return List(decls);
}

VhdlTreeNode* VhdlParser::ParseDeclaration() {
    size_t start = pos_;
    switch (Kind()) {
    case VHDL_TYPE: return ParseTypeDecl();
    case VHDL_SUBTYPE: return ParseSubtypeDecl();
    case VHDL_CONSTANT:
    case VHDL_SIGNAL:
    case VHDL_VARIABLE:
    case VHDL_SHARED:
    case VHDL_FILE: return ParseObjectDecl();
    case VHDL_ALIAS: return ParseAliasDecl();
    case VHDL_ATTRIBUTE: return ParseAttribute();
    case VHDL_COMPONENT: return ParseComponentDecl();
    case VHDL_FUNCTION:
    case VHDL_PROCEDURE:
    case VHDL_PURE:
    case VHDL_IMPURE: return ParseSubprogram();
    case VHDL_PACKAGE: return ParsePackage(start);
    case VHDL_FOR: return ParseConfigurationSpec();
    case VHDL_DISCONNECT: return ParseDisconnection();
    case VHDL_USE: return ParseUseClause();
    case VHDL_GROUP: return ParseGroup();
    case VHDL_VIEW: return SkipModeView();
    case VHDL_PRIVATE:
        // `private` of 2019 protected types only restricts visibility.
        ++pos_;
        return ParseDeclaration();
    default: return SkipPslDeclaration();
    }
}

// PSL declarations and directives (property, sequence, default clock, assert always)
// are recognised and dropped.
void VhdlParser::NoteDropped(size_t fromTok) {
    if (pos_ <= fromTok || pos_ > toks_.size()) return;
    size_t begin = toks_[fromTok].begin, end = toks_[pos_ - 1].end;
    if (end > begin) dropped_.push_back(text_.substr(begin, end - begin));
}

VhdlTreeNode* VhdlParser::SkipPslDeclaration() {
    size_t from = pos_;
    ColLineFile loc(fileId_, Tok().line, Tok().col);
    Message::Tell<vhdl_msg::PslTextIgnored>(&loc);
    // Sequences hold ';' between braces: {a; b}.
    unsigned nesting = 0;
    while (!AtEndOfFile() && !(Is(VHDL_SEMI) && nesting == 0)) {
        if (Is(VHDL_LBRACE) || Is(VHDL_LPAREN)) ++nesting;
        else if ((Is(VHDL_RBRACE) || Is(VHDL_RPAREN)) && nesting > 0) --nesting;
        ++pos_;
    }
    Accept(VHDL_SEMI);
    NoteDropped(from);
    return nullptr;
}

// Mode views of 2019 are read over; nothing later needs them yet.
VhdlTreeNode* VhdlParser::SkipModeView() {
    size_t from = pos_;
    ColLineFile loc(fileId_, Tok().line, Tok().col);
    Message::Tell<vhdl_msg::ModeViewIgnored>(&loc);
    while (!AtEndOfFile() && !(Is(VHDL_END) && Kind(1) == VHDL_VIEW)) ++pos_;
    SkipPast(VHDL_SEMI);
    NoteDropped(from);
    return nullptr;
}

VhdlTreeNode* VhdlParser::ParseTypeDecl() {
    size_t start = pos_;
    Expect(VHDL_TYPE);
    size_t idTok = pos_;
    if (!IsIdentifier()) {
        SyntaxErrorUnexpected();
        SkipToItemEnd();
        return nullptr;
    }
    ++pos_;
    if (Accept(VHDL_SEMI)) {
        auto* decl = arena_.make<VhdlIncompleteTypeDecl>();
        decl->id = MakeId<VhdlTypeId>(idTok);
        decl->id->declaration = decl;
        Finish(decl, start);
        return decl;
    }
    Expect(VHDL_IS);
    VhdlIdDef* id;
    if (Is(VHDL_PROTECTED) || Is(VHDL_NEW)) {
        id = Kind(1) == VHDL_BODY ? static_cast<VhdlIdDef*>(MakeId<VhdlProtectedTypeBodyId>(idTok))
                                  : static_cast<VhdlIdDef*>(MakeId<VhdlProtectedTypeId>(idTok));
    } else {
        id = MakeId<VhdlTypeId>(idTok);
    }
    auto* decl = arena_.make<VhdlFullTypeDecl>();
    decl->id = id;
    id->declaration = decl;
    decl->typeDef = ParseTypeDefinition(id);
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(decl, start);
    return decl;
}

VhdlTypeDef* VhdlParser::ParseTypeDefinition(VhdlIdDef* id) {
    size_t start = pos_;
    switch (Kind()) {
    case VHDL_LPAREN: {
        ++pos_;
        auto* def = arena_.make<VhdlEnumerationTypeDef>();
        std::vector<VhdlIdDef*> lits;
        do {
            if (IsIdentifier() || Is(VHDL_CHARACTER)) {
                auto* lit = MakeId<VhdlEnumerationId>(pos_++);
                lit->declaration = id;
                lits.push_back(lit);
            } else {
                SyntaxErrorUnexpected();
                break;
            }
        } while (Accept(VHDL_COMMA));
        Expect(VHDL_RPAREN);
        def->literals = List(lits);
        Finish(def, start);
        return def;
    }
    case VHDL_RANGE: {
        ++pos_;
        VhdlTreeNode* range = ParseRangeOrExpression();
        if (!Is(VHDL_UNITS)) {
            auto* def = arena_.make<VhdlScalarTypeDef>();
            def->range = range;
            Finish(def, start);
            return def;
        }
        ++pos_;
        auto* def = arena_.make<VhdlPhysicalTypeDef>();
        def->range = range;
        std::vector<VhdlTreeNode*> units;
        while (IsIdentifier()) {
            size_t unitStart = pos_;
            auto* unit = arena_.make<VhdlPhysicalUnitDecl>();
            unit->id = ParseId<VhdlPhysicalUnitId>();
            unit->id->declaration = unit;
            if (Accept(VHDL_EQ)) unit->value = ParseExpression();
            Expect(VHDL_SEMI);
            Finish(unit, unitStart);
            units.push_back(unit);
        }
        def->units = List(units);
        Expect(VHDL_END);
        Expect(VHDL_UNITS);
        if (IsIdentifier()) ++pos_;
        Finish(def, start);
        return def;
    }
    case VHDL_ARRAY: {
        ++pos_;
        auto* def = arena_.make<VhdlArrayTypeDef>();
        Expect(VHDL_LPAREN);
        std::vector<VhdlTreeNode*> indexes;
        do {
            if (VhdlTreeNode* index = ParseDiscreteRange()) indexes.push_back(index);
            else break;
        } while (Accept(VHDL_COMMA));
        Expect(VHDL_RPAREN);
        Expect(VHDL_OF);
        def->indexes = List(indexes);
        def->elementSubtype = ParseSubtypeIndication();
        Finish(def, start);
        return def;
    }
    case VHDL_RECORD: {
        ++pos_;
        auto* def = arena_.make<VhdlRecordTypeDef>();
        std::vector<VhdlTreeNode*> elements;
        while (IsIdentifier()) {
            size_t elemStart = pos_;
            auto* el = arena_.make<VhdlElementDecl>();
            el->ids = ParseIdList<VhdlElementId>();
            for (VhdlIdDef* e : el->ids) e->declaration = el;
            Expect(VHDL_COLON);
            el->subtype = ParseSubtypeIndication();
            if (!Expect(VHDL_SEMI)) SkipToItemEnd();
            Finish(el, elemStart);
            elements.push_back(el);
        }
        def->elements = List(elements);
        Expect(VHDL_END);
        Expect(VHDL_RECORD);
        if (IsIdentifier()) ++pos_;
        Finish(def, start);
        return def;
    }
    case VHDL_ACCESS: {
        ++pos_;
        auto* def = arena_.make<VhdlAccessTypeDef>();
        def->subtype = ParseSubtypeIndication();
        Finish(def, start);
        return def;
    }
    case VHDL_FILE: {
        ++pos_;
        Expect(VHDL_OF);
        auto* def = arena_.make<VhdlFileTypeDef>();
        def->typeMark = ParseName();
        Finish(def, start);
        return def;
    }
    case VHDL_NEW: {
        ++pos_;
        auto* def = arena_.make<VhdlProtectedTypeDef>();
        def->uninstantiated = ParseSubtypeIndication();
        if (Is(VHDL_GENERIC)) def->genericMap = ParseMapAspect(VHDL_GENERIC);
        Finish(def, start);
        return def;
    }
    case VHDL_PROTECTED: {
        ++pos_;
        bool body = Accept(VHDL_BODY);
        VhdlNodeList generics, genericMap;
        if (!body && Accept(VHDL_GENERIC)) {
            generics = ParseInterfaceList();
            Expect(VHDL_SEMI);
            if (Is(VHDL_GENERIC)) {
                genericMap = ParseMapAspect(VHDL_GENERIC);
                Expect(VHDL_SEMI);
            }
        }
        VhdlNodeList decls = ParseDeclarativePart();
        Expect(VHDL_END);
        Expect(VHDL_PROTECTED);
        if (body) Expect(VHDL_BODY);
        if (IsIdentifier()) ++pos_;
        if (body) {
            auto* def = arena_.make<VhdlProtectedTypeDefBody>();
            def->declarations = decls;
            Finish(def, start);
            return def;
        }
        auto* def = arena_.make<VhdlProtectedTypeDef>();
        def->generics = generics;
        def->genericMap = genericMap;
        def->declarations = decls;
        Finish(def, start);
        return def;
    }
    default: SyntaxErrorUnexpected(); return nullptr;
    }
}

VhdlTreeNode* VhdlParser::ParseSubtypeDecl() {
    size_t start = pos_;
    Expect(VHDL_SUBTYPE);
    auto* decl = arena_.make<VhdlSubtypeDecl>();
    decl->id = ParseId<VhdlSubtypeId>();
    if (decl->id) decl->id->declaration = decl;
    Expect(VHDL_IS);
    decl->subtype = ParseSubtypeIndication();
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(decl, start);
    return decl;
}

// constant / signal / [shared] variable / file declarations.
VhdlTreeNode* VhdlParser::ParseObjectDecl() {
    size_t start = pos_;
    unsigned kind = Kind();
    bool shared = false;
    if (kind == VHDL_SHARED) {
        shared = true;
        ++pos_;
        kind = VHDL_VARIABLE;
    }
    Expect(kind);
    if (kind == VHDL_FILE) {
        auto* decl = arena_.make<VhdlFileDecl>();
        decl->ids = ParseIdList<VhdlFileId>();
        for (VhdlIdDef* id : decl->ids) id->declaration = decl;
        Expect(VHDL_COLON);
        decl->subtype = ParseSubtypeIndication();
        if (Is(VHDL_OPEN) || Is(VHDL_IS)) {
            size_t infoStart = pos_;
            auto* info = arena_.make<VhdlFileOpenInfo>();
            if (Accept(VHDL_OPEN)) info->openMode = ParseExpression();
            Expect(VHDL_IS);
            if (Is(VHDL_IN) || Is(VHDL_OUT)) info->mode = Kind(), ++pos_;
            info->fileName = ParseExpression();
            Finish(info, infoStart);
            decl->openInfo = info;
        }
        if (!Expect(VHDL_SEMI)) SkipToItemEnd();
        Finish(decl, start);
        return decl;
    }
    VhdlObjectDecl* decl;
    if (kind == VHDL_CONSTANT) {
        auto* d = arena_.make<VhdlConstantDecl>();
        d->ids = ParseIdList<VhdlConstantId>();
        decl = d;
    } else if (kind == VHDL_SIGNAL) {
        auto* d = arena_.make<VhdlSignalDecl>();
        d->ids = ParseIdList<VhdlSignalId>();
        decl = d;
    } else {
        auto* d = arena_.make<VhdlVariableDecl>();
        d->shared = shared;
        d->ids = ParseIdList<VhdlVariableId>();
        decl = d;
    }
    if (decl->ids.Empty()) {
        SkipToItemEnd();
        return nullptr;
    }
    for (VhdlIdDef* id : decl->ids) id->declaration = decl;
    Expect(VHDL_COLON);
    decl->subtype = ParseSubtypeIndication();
    if (kind == VHDL_SIGNAL && (Is(VHDL_BUS) || Is(VHDL_REGISTER))) {
        static_cast<VhdlSignalDecl*>(decl)->signalKind = Kind();
        ++pos_;
    }
    if (Accept(VHDL_VARASSIGN)) decl->init = ParseValueExpression();
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(decl, start);
    return decl;
}

VhdlTreeNode* VhdlParser::ParseAliasDecl() {
    size_t start = pos_;
    Expect(VHDL_ALIAS);
    auto* decl = arena_.make<VhdlAliasDecl>();
    if (IsIdentifier() || Is(VHDL_CHARACTER) || Is(VHDL_STRING)) {
        decl->id = MakeId<VhdlAliasId>(pos_++);
        decl->id->declaration = decl;
    } else {
        SyntaxErrorUnexpected();
    }
    if (Accept(VHDL_COLON)) decl->subtype = ParseSubtypeIndication();
    Expect(VHDL_IS);
    decl->name = ParseName();
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(decl, start);
    return decl;
}

bool VhdlParser::IsEntityClass(unsigned k) const {
    switch (k) {
    case VHDL_ENTITY:
    case VHDL_ARCHITECTURE:
    case VHDL_CONFIGURATION:
    case VHDL_PROCEDURE:
    case VHDL_FUNCTION:
    case VHDL_PACKAGE:
    case VHDL_TYPE:
    case VHDL_SUBTYPE:
    case VHDL_CONSTANT:
    case VHDL_SIGNAL:
    case VHDL_VARIABLE:
    case VHDL_COMPONENT:
    case VHDL_LABEL:
    case VHDL_LITERAL:
    case VHDL_UNITS:
    case VHDL_GROUP:
    case VHDL_FILE:
    case VHDL_PROPERTY:
    case VHDL_SEQUENCE:
    case VHDL_VIEW:
    case VHDL_CONTEXT: return true;
    default: return false;
    }
}

// attribute id : type_mark;  |  attribute designator of entity_spec is expression;
VhdlTreeNode* VhdlParser::ParseAttribute() {
    size_t start = pos_;
    Expect(VHDL_ATTRIBUTE);
    if (Kind(1) == VHDL_COLON) {
        auto* decl = arena_.make<VhdlAttributeDecl>();
        decl->id = ParseId<VhdlAttributeId>();
        if (decl->id) decl->id->declaration = decl;
        Expect(VHDL_COLON);
        decl->typeMark = ParseName();
        if (!Expect(VHDL_SEMI)) SkipToItemEnd();
        Finish(decl, start);
        return decl;
    }
    auto* spec = arena_.make<VhdlAttributeSpec>();
    spec->designator = ParseSimpleOrOperatorName();
    Expect(VHDL_OF);
    spec->entitySpec = ParseEntitySpec();
    Expect(VHDL_IS);
    spec->value = ParseExpression();
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(spec, start);
    return spec;
}

VhdlEntitySpec* VhdlParser::ParseEntitySpec() {
    size_t start = pos_;
    auto* spec = arena_.make<VhdlEntitySpec>();
    std::vector<VhdlTreeNode*> names;
    if (Is(VHDL_OTHERS)) {
        names.push_back(Make<VhdlOthers>(pos_++));
    } else if (Is(VHDL_ALL)) {
        names.push_back(Make<VhdlAll>(pos_++));
    } else {
        do {
            size_t nameStart = pos_;
            VhdlName* n = ParseSimpleOrOperatorName();
            if (!n) break;
            if (Is(VHDL_LBRACKET)) {
                auto* sn = arena_.make<VhdlSignaturedName>();
                sn->name = n;
                sn->signature = ParseSignature();
                Finish(sn, nameStart);
                n = sn;
            }
            names.push_back(n);
        } while (Accept(VHDL_COMMA));
    }
    spec->names = List(names);
    Expect(VHDL_COLON);
    unsigned k = Kind();
    if (IsEntityClass(k) || (IsIdentifier() && (VhdlKeyword(Text(Tok()), VHDL_PSL) == VHDL_PROPERTY ||
                                                VhdlKeyword(Text(Tok()), VHDL_PSL) == VHDL_SEQUENCE))) {
        spec->entityClass = IsIdentifier() ? static_cast<unsigned>(VhdlKeyword(Text(Tok()), VHDL_PSL)) : k;
        ++pos_;
    } else {
        SyntaxErrorUnexpected();
    }
    Finish(spec, start);
    return spec;
}

VhdlTreeNode* VhdlParser::ParseComponentDecl() {
    size_t start = pos_;
    Expect(VHDL_COMPONENT);
    auto* decl = arena_.make<VhdlComponentDecl>();
    decl->id = ParseId<VhdlComponentId>();
    if (decl->id) decl->id->declaration = decl;
    Accept(VHDL_IS);
    if (Accept(VHDL_GENERIC)) {
        decl->generics = ParseInterfaceList();
        Expect(VHDL_SEMI);
    }
    if (Accept(VHDL_PORT)) {
        decl->ports = ParseInterfaceList();
        Expect(VHDL_SEMI);
    }
    ParseEndOfUnit(VHDL_COMPONENT, 0, decl->id);
    Finish(decl, start);
    return decl;
}

VhdlSubprogramSpec* VhdlParser::ParseSubprogramSpec() {
    size_t start = pos_;
    unsigned purity = 0;
    if (Is(VHDL_PURE) || Is(VHDL_IMPURE)) purity = Kind(), ++pos_;
    VhdlSubprogramSpec* spec;
    bool function = Is(VHDL_FUNCTION);
    if (function) spec = arena_.make<VhdlFunctionSpec>();
    else spec = arena_.make<VhdlProcedureSpec>();
    if (!Accept(VHDL_FUNCTION)) Expect(VHDL_PROCEDURE);
    spec->purity = purity;
    if (Is(VHDL_STRING)) spec->id = MakeId<VhdlOperatorId>(pos_++);
    else spec->id = ParseId<VhdlSubprogramId>();
    if (Is(VHDL_GENERIC) && Kind(1) == VHDL_LPAREN) {
        ++pos_;
        spec->generics = ParseInterfaceList();
        if (Is(VHDL_GENERIC) && Kind(1) == VHDL_MAP) spec->genericMap = ParseMapAspect(VHDL_GENERIC);
    }
    if (Accept(VHDL_PARAMETER)) spec->parameterKeyword = true;
    if (Is(VHDL_LPAREN)) spec->params = ParseInterfaceList();
    if (function) {
        Expect(VHDL_RETURN);
        if (IsIdentifier() && Kind(1) == VHDL_OF) {
            spec->returnId = MakeId<VhdlConstantId>(pos_);
            pos_ += 2;
        }
        spec->returnType = ParseName();
    }
    Finish(spec, start);
    return spec;
}

// Declaration, body or instantiation of a function or procedure.
VhdlTreeNode* VhdlParser::ParseSubprogram() {
    size_t start = pos_;
    if ((Is(VHDL_FUNCTION) || Is(VHDL_PROCEDURE)) && IsIdentifier(1) && Kind(2) == VHDL_IS && Kind(3) == VHDL_NEW) {
        auto* inst = arena_.make<VhdlSubprogInstantiationDecl>();
        inst->kind = Kind();
        ++pos_;
        inst->id = ParseId<VhdlSubprogramId>();
        inst->id->declaration = inst;
        pos_ += 2;
        inst->uninstantiated = ParseName();
        if (Is(VHDL_GENERIC)) inst->genericMap = ParseMapAspect(VHDL_GENERIC);
        if (!Expect(VHDL_SEMI)) SkipToItemEnd();
        Finish(inst, start);
        return inst;
    }
    VhdlSubprogramSpec* spec = ParseSubprogramSpec();
    if (spec->id) spec->id->declaration = spec;
    if (Accept(VHDL_SEMI)) {
        auto* decl = arena_.make<VhdlSubprogramDecl>();
        decl->spec = spec;
        Finish(decl, start);
        return decl;
    }
    if (!Expect(VHDL_IS)) {
        SkipToItemEnd();
        return nullptr;
    }
    auto* body = arena_.make<VhdlSubprogramBody>();
    body->spec = spec;
    body->declarations = ParseDeclarativePart();
    Expect(VHDL_BEGIN);
    body->statements = ParseSequentialStatements();
    Expect(VHDL_END);
    if (Is(VHDL_FUNCTION) || Is(VHDL_PROCEDURE)) ++pos_;
    if (IsIdentifier() || Is(VHDL_STRING)) ++pos_;
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(body, start);
    return body;
}

// group template: group id is (class [<>], ...);  group: group id : template (names);
VhdlTreeNode* VhdlParser::ParseGroup() {
    size_t start = pos_;
    Expect(VHDL_GROUP);
    size_t idTok = pos_;
    if (!IsIdentifier()) {
        SyntaxErrorUnexpected();
        SkipToItemEnd();
        return nullptr;
    }
    ++pos_;
    if (Accept(VHDL_IS)) {
        auto* decl = arena_.make<VhdlGroupTemplateDecl>();
        decl->id = MakeId<VhdlGroupTemplateId>(idTok);
        decl->id->declaration = decl;
        Expect(VHDL_LPAREN);
        std::vector<VhdlTreeNode*> entries;
        do {
            size_t entryStart = pos_;
            auto* entry = arena_.make<VhdlEntityClassEntry>();
            if (!IsEntityClass(Kind())) {
                SyntaxErrorUnexpected();
                break;
            }
            entry->entityClass = Kind();
            ++pos_;
            entry->box = Accept(VHDL_BOX);
            Finish(entry, entryStart);
            entries.push_back(entry);
        } while (Accept(VHDL_COMMA));
        Expect(VHDL_RPAREN);
        decl->entries = List(entries);
        if (!Expect(VHDL_SEMI)) SkipToItemEnd();
        Finish(decl, start);
        return decl;
    }
    auto* decl = arena_.make<VhdlGroupDecl>();
    decl->id = MakeId<VhdlGroupId>(idTok);
    decl->id->declaration = decl;
    Expect(VHDL_COLON);
    decl->templateName = ParseSimpleOrOperatorName();
    std::vector<VhdlTreeNode*> parts;
    Expect(VHDL_LPAREN);
    do {
        if (VhdlName* n = ParseName()) parts.push_back(n);
        else break;
    } while (Accept(VHDL_COMMA));
    Expect(VHDL_RPAREN);
    decl->constituents = List(parts);
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(decl, start);
    return decl;
}

// for component_spec binding_indication ; [end for ;]
VhdlTreeNode* VhdlParser::ParseConfigurationSpec() {
    size_t start = pos_;
    Expect(VHDL_FOR);
    auto* spec = arena_.make<VhdlConfigurationSpec>();
    spec->componentSpec = ParseComponentSpecAfterFor();
    spec->binding = ParseBindingIndication();
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    if (Is(VHDL_END) && Kind(1) == VHDL_FOR) {
        pos_ += 2;
        Expect(VHDL_SEMI);
    }
    Finish(spec, start);
    return spec;
}

VhdlTreeNode* VhdlParser::ParseDisconnection() {
    size_t start = pos_;
    Expect(VHDL_DISCONNECT);
    auto* spec = arena_.make<VhdlDisconnectionSpec>();
    std::vector<VhdlTreeNode*> signals;
    if (Is(VHDL_OTHERS)) {
        signals.push_back(Make<VhdlOthers>(pos_++));
    } else if (Is(VHDL_ALL)) {
        signals.push_back(Make<VhdlAll>(pos_++));
    } else {
        do {
            if (VhdlName* n = ParseName()) signals.push_back(n);
            else break;
        } while (Accept(VHDL_COMMA));
    }
    spec->signals = List(signals);
    Expect(VHDL_COLON);
    spec->typeMark = ParseName();
    Expect(VHDL_AFTER);
    spec->after = ParseExpression();
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(spec, start);
    return spec;
}

VhdlTreeNode* VhdlParser::ParseUseClause() {
    size_t start = pos_;
    Expect(VHDL_USE);
    auto* use = arena_.make<VhdlUseClause>();
    std::vector<VhdlTreeNode*> names;
    do {
        if (VhdlName* n = ParseName()) names.push_back(n);
        else break;
    } while (Accept(VHDL_COMMA));
    use->names = List(names);
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(use, start);
    return use;
}

VhdlTreeNode* VhdlParser::ParseLibraryClause() {
    size_t start = pos_;
    Expect(VHDL_LIBRARY);
    auto* lib = arena_.make<VhdlLibraryClause>();
    lib->ids = ParseIdList<VhdlLibraryId>();
    for (VhdlIdDef* id : lib->ids) id->declaration = lib;
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(lib, start);
    return lib;
}

VhdlTreeNode* VhdlParser::ParseContextReference() {
    size_t start = pos_;
    Expect(VHDL_CONTEXT);
    auto* ref = arena_.make<VhdlContextReference>();
    std::vector<VhdlTreeNode*> names;
    do {
        if (VhdlName* n = ParseName()) names.push_back(n);
        else break;
    } while (Accept(VHDL_COMMA));
    ref->names = List(names);
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(ref, start);
    return ref;
}

VhdlNodeList VhdlParser::ParseInterfaceList() {
    std::vector<VhdlTreeNode*> items;
    if (!Expect(VHDL_LPAREN)) return {};
    for (;;) {
        size_t before = pos_;
        if (VhdlTreeNode* item = ParseInterfaceElement()) items.push_back(item);
        if (Accept(VHDL_SEMI)) {
            if (Is(VHDL_RPAREN)) {
                // A ';' before ')' is allowed from 2019 on.
                ++pos_;
                break;
            }
            continue;
        }
        if (Accept(VHDL_RPAREN)) break;
        SyntaxErrorUnexpected();
        // Skip to the end of this element or of the list.
        unsigned parens = 0;
        while (!AtEndOfFile()) {
            if (Is(VHDL_LPAREN)) ++parens;
            else if (Is(VHDL_RPAREN)) {
                if (parens == 0) break;
                --parens;
            } else if (Is(VHDL_SEMI) && parens == 0) {
                break;
            } else if (Is(VHDL_END) || Is(VHDL_BEGIN)) {
                return List(items);
            }
            ++pos_;
        }
        if (Accept(VHDL_RPAREN)) break;
        if (!Accept(VHDL_SEMI) && pos_ == before) break;
    }
    return List(items);
}

VhdlTreeNode* VhdlParser::ParseInterfaceElement() {
    size_t start = pos_;
    if (Is(VHDL_TYPE)) {
        ++pos_;
        auto* decl = arena_.make<VhdlInterfaceTypeDecl>();
        decl->id = ParseId<VhdlGenericTypeId>();
        if (decl->id) decl->id->declaration = decl;
        // 2019 allows `type t is private` and the like.
        if (Accept(VHDL_IS)) ParseIncompleteTypeDefinition(decl);
        Finish(decl, start);
        return decl;
    }
    if (Is(VHDL_FUNCTION) || Is(VHDL_PROCEDURE) || Is(VHDL_PURE) || Is(VHDL_IMPURE)) {
        auto* decl = arena_.make<VhdlInterfaceSubprogDecl>();
        decl->spec = ParseSubprogramSpec();
        if (decl->spec->id) decl->spec->id->declaration = decl;
        if (Accept(VHDL_IS)) {
            if (Is(VHDL_BOX)) decl->defaultValue = Make<VhdlBox>(pos_++);
            else decl->defaultValue = ParseName();
        }
        Finish(decl, start);
        return decl;
    }
    if (Is(VHDL_PACKAGE)) {
        ++pos_;
        auto* decl = arena_.make<VhdlInterfacePackageDecl>();
        decl->id = ParseId<VhdlPackageId>();
        if (decl->id) decl->id->declaration = decl;
        Expect(VHDL_IS);
        Expect(VHDL_NEW);
        decl->uninstantiated = ParseName();
        if (Is(VHDL_GENERIC)) decl->genericMap = ParseMapAspect(VHDL_GENERIC);
        Finish(decl, start);
        return decl;
    }
    auto* decl = arena_.make<VhdlInterfaceDecl>();
    if (Is(VHDL_CONSTANT) || Is(VHDL_SIGNAL) || Is(VHDL_VARIABLE) || Is(VHDL_FILE)) {
        decl->objectClass = Kind();
        ++pos_;
    }
    decl->ids = ParseIdList<VhdlInterfaceId>();
    for (VhdlIdDef* id : decl->ids) id->declaration = decl;
    if (!Expect(VHDL_COLON)) return decl;
    if (Is(VHDL_IN) || Is(VHDL_OUT) || Is(VHDL_INOUT) || Is(VHDL_BUFFER) || Is(VHDL_LINKAGE)) {
        decl->mode = Kind();
        ++pos_;
    } else if (Is(VHDL_VIEW)) {
        // Mode view of 2019: `view name [of subtype]`.
        decl->mode = Kind();
        ++pos_;
    }
    if (Is(VHDL_TYPE) && mode_ == VHDL_2019) {
        // An anonymous type of 2019 (`type is private`, `type is <>`): an unnamed generic
        // type, read as the named ones are.
        decl->subtype = ParseUnspecifiedType();
    } else {
        decl->subtype = ParseSubtypeIndication();
    }
    if (Is(VHDL_BUS) || Is(VHDL_REGISTER)) {
        decl->signalKind = Kind();
        ++pos_;
    }
    if (Accept(VHDL_VARASSIGN)) decl->init = ParseValueExpression();
    Finish(decl, start);
    return decl;
}

// type is incomplete_type_definition: the anonymous type of 2019.
VhdlInterfaceTypeDecl* VhdlParser::ParseUnspecifiedType() {
    size_t start = pos_;
    Expect(VHDL_TYPE);
    auto* anonymous = arena_.make<VhdlInterfaceTypeDecl>();
    if (Expect(VHDL_IS)) ParseIncompleteTypeDefinition(anonymous);
    Finish(anonymous, start);
    return anonymous;
}

// A subtype indication, or in its place an anonymous type.
VhdlTreeNode* VhdlParser::ParseIncompleteSubtype() {
    if (Is(VHDL_TYPE)) return ParseUnspecifiedType();
    return ParseSubtypeIndication();
}

// The incomplete type definitions of 2019 generic types, after `is`.
void VhdlParser::ParseIncompleteTypeDefinition(VhdlInterfaceTypeDecl* decl) {
    decl->incomplete = Kind();
    switch (Kind()) {
    case VHDL_PRIVATE:
    case VHDL_BOX: ++pos_; return;
    case VHDL_LPAREN:
        ++pos_;
        Expect(VHDL_BOX);
        Expect(VHDL_RPAREN);
        return;
    case VHDL_UNITS:
        ++pos_;
        Expect(VHDL_BOX);
        return;
    case VHDL_RANGE:
        ++pos_;
        Expect(VHDL_BOX);
        if (Accept(VHDL_DOT)) {
            decl->incomplete = VHDL_DOT;
            Expect(VHDL_BOX);
        }
        return;
    case VHDL_ARRAY: {
        ++pos_;
        Expect(VHDL_LPAREN);
        std::vector<VhdlTreeNode*> indexes;
        do {
            VhdlTreeNode* index = Is(VHDL_TYPE) ? ParseUnspecifiedType() : ParseDiscreteRange();
            if (!index) break;
            indexes.push_back(index);
        } while (Accept(VHDL_COMMA));
        Expect(VHDL_RPAREN);
        Expect(VHDL_OF);
        decl->indexes = List(indexes);
        decl->designated = ParseIncompleteSubtype();
        return;
    }
    case VHDL_ACCESS:
        ++pos_;
        decl->designated = ParseIncompleteSubtype();
        return;
    case VHDL_FILE:
        ++pos_;
        Expect(VHDL_OF);
        decl->designated = Is(VHDL_TYPE) ? static_cast<VhdlTreeNode*>(ParseUnspecifiedType()) : ParseName();
        return;
    default: decl->incomplete = 0; SyntaxErrorUnexpected();
    }
}

// generic map ( ... )  |  port map ( ... )
VhdlNodeList VhdlParser::ParseMapAspect(unsigned keyword) {
    Expect(keyword);
    Expect(VHDL_MAP);
    return ParseAssociationList();
}

} // namespace hdl
