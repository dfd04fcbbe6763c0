// Token handling, error recovery and the design units.
#include <cstdarg>
#include <cstdio>
#include <string>

#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlParserImpl.h"

namespace hdl {

VhdlParser::VhdlParser(Arena& arena, std::string_view text, std::vector<VhdlTok> tokens, uint32_t fileId, unsigned mode)
    : arena_(arena), text_(text), toks_(std::move(tokens)), fileId_(fileId), mode_(mode) {
    if (toks_.empty() || toks_.back().kind != VHDL_EOF) {
        VhdlTok eof;
        if (!toks_.empty()) {
            eof.line = toks_.back().endLine;
            eof.col = toks_.back().endCol;
        }
        toks_.push_back(eof);
    }
}

bool VhdlParser::Accept(unsigned kind) {
    if (Kind() != kind) return false;
    if (pos_ + 1 < toks_.size()) ++pos_;
    return true;
}

bool VhdlParser::Expect(unsigned kind) {
    if (Accept(kind)) return true;
    SyntaxError<vhdl_msg::ExpectedFound>(VhdlTokenText(kind), std::string(Text(Tok())).c_str());
    return false;
}

void VhdlParser::SyntaxErrorUnexpected() {
    if (AtEndOfFile()) SyntaxError<vhdl_msg::UnexpectedEndOfFile>();
    else SyntaxError<vhdl_msg::UnexpectedToken>(std::string(Text(Tok()).substr(0, 80)).c_str());
}

void VhdlParser::SkipPast(unsigned kind) {
    const size_t from = pos_;
    while (!AtEndOfFile() && !Is(kind)) ++pos_;
    skipped_ += pos_ - from;
    Accept(kind);
}

// Skips to the end of the broken item: past the next ';' at this nesting level, or
// up to a keyword that closes the enclosing construct.
void VhdlParser::SkipToItemEnd() {
    unsigned parens = 0;
    const size_t start = pos_;
    while (!AtEndOfFile()) {
        unsigned k = Kind();
        if (k == VHDL_LPAREN) ++parens;
        else if (k == VHDL_RPAREN && parens) --parens;
        else if (k == VHDL_SEMI && parens == 0) {
            ++pos_;
            break;
        } else if (parens == 0 && pos_ > start &&
                   (k == VHDL_END || k == VHDL_BEGIN || k == VHDL_ELSIF || k == VHDL_ELSE)) {
            break;
        }
        ++pos_;
    }
    skipped_ += pos_ - start;
}

void VhdlParser::Finish(VhdlTreeNode* node, size_t startTok) {
    const VhdlTok& s = toks_[startTok < toks_.size() ? startTok : toks_.size() - 1];
    const VhdlTok& e = toks_[pos_ > startTok ? pos_ - 1 : (startTok < toks_.size() ? startTok : toks_.size() - 1)];
    node->SetLinefile(ColLineFile(fileId_, s.line, s.col, e.endLine, e.endCol));
}

// end [kw1 [kw2]] [simple_name] ;
void VhdlParser::ParseEndOfUnit(unsigned kw1, unsigned kw2, VhdlIdDef* id) {
    Expect(VHDL_END);
    if (kw1 && Accept(kw1) && kw2) Accept(kw2);
    if (IsIdentifier() || Is(VHDL_STRING)) {
        if (id && Text(Tok()).size() == id->OrigName().size()) {
            std::string a(Text(Tok())), b(id->OrigName());
            for (auto* s : {&a, &b})
                for (char& c : *s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            if (a != b || (Is(VHDL_EXTENDED_ID) && Text(Tok()) != id->OrigName())) {
                ColLineFile loc(fileId_, Tok().line, Tok().col);
                Message::Tell<vhdl_msg::ClosingNameDiffers>(&loc, std::string(Text(Tok())).c_str(),
                                                            std::string(id->OrigName()).c_str());
            }
        } else if (id) {
            ColLineFile loc(fileId_, Tok().line, Tok().col);
            Message::Tell<vhdl_msg::ClosingNameDiffers>(&loc, std::string(Text(Tok())).c_str(),
                                                        std::string(id->OrigName()).c_str());
        }
        ++pos_;
    }
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
}

std::vector<VhdlDesignUnit*> VhdlParser::ParseDesignFile() {
    std::vector<VhdlDesignUnit*> units;
    while (!AtEndOfFile()) {
        size_t before = pos_;
        if (VhdlDesignUnit* unit = ParseDesignUnit()) units.push_back(unit);
        if (pos_ == before) {
            SyntaxErrorUnexpected();
            ++pos_;
        }
    }
    return units;
}

VhdlExpression* VhdlParser::ParseExpressionOnly() {
    VhdlExpression* e = ParseRangeOrExpression();
    if (!AtEndOfFile()) SyntaxErrorUnexpected();
    return e;
}

VhdlTreeNode* VhdlParser::ParseContextItem() {
    switch (Kind()) {
    case VHDL_LIBRARY: return ParseLibraryClause();
    case VHDL_USE: return ParseUseClause();
    case VHDL_CONTEXT: return ParseContextReference();
    default: return nullptr;
    }
}

VhdlDesignUnit* VhdlParser::ParseDesignUnit() {
    size_t start = pos_;
    std::vector<VhdlTreeNode*> context;
    for (;;) {
        if (Is(VHDL_CONTEXT) && IsIdentifier(1) && Kind(2) == VHDL_IS) break;
        size_t before = pos_;
        VhdlTreeNode* item = ParseContextItem();
        if (!item) break;
        context.push_back(item);
        if (pos_ == before) break;
    }
    VhdlDesignUnit* unit = nullptr;
    size_t unitStart = pos_;
    switch (Kind()) {
    case VHDL_ENTITY: unit = ParseEntity(unitStart); break;
    case VHDL_ARCHITECTURE: unit = ParseArchitecture(unitStart); break;
    case VHDL_PACKAGE: unit = ParsePackage(unitStart); break;
    case VHDL_CONFIGURATION: unit = ParseConfiguration(unitStart); break;
    case VHDL_CONTEXT: unit = ParseContextDecl(unitStart); break;
    case VHDL_EOF:
        if (!context.empty()) SyntaxError<vhdl_msg::ContextWithoutUnit>();
        return nullptr;
    default:
        SyntaxError<vhdl_msg::ExpectedDesignUnit>(std::string(Text(Tok()).substr(0, 80)).c_str());
        // Resynchronise at the next unit keyword at the start of an item.
        while (!AtEndOfFile()) {
            ++pos_;
            unsigned k = Kind();
            if ((k == VHDL_ENTITY || k == VHDL_ARCHITECTURE || k == VHDL_PACKAGE || k == VHDL_CONFIGURATION ||
                 k == VHDL_LIBRARY || k == VHDL_USE) &&
                toks_[pos_ - 1].kind == VHDL_SEMI)
                break;
        }
        return nullptr;
    }
    if (!unit) return nullptr;
    unit->contextClause = List(context);
    unit->endLine = toks_[pos_ > 0 ? pos_ - 1 : 0].endLine;
    Finish(unit, start);
    return unit;
}

VhdlDesignUnit* VhdlParser::ParseEntity(size_t start) {
    Expect(VHDL_ENTITY);
    auto* unit = arena_.make<VhdlEntityDecl>();
    unit->id = ParseId<VhdlEntityId>();
    if (unit->id) unit->id->declaration = unit;
    Expect(VHDL_IS);
    if (Is(VHDL_GENERIC)) {
        ++pos_;
        unit->hasGenericClause = true;
        unit->generics = ParseInterfaceList();
        Expect(VHDL_SEMI);
    }
    if (Is(VHDL_PORT)) {
        ++pos_;
        unit->hasPortClause = true;
        unit->ports = ParseInterfaceList();
        Expect(VHDL_SEMI);
    }
    unit->declarations = ParseDeclarativePart();
    if (Accept(VHDL_BEGIN)) unit->statements = ParseConcurrentStatements();
    ParseEndOfUnit(VHDL_ENTITY, 0, unit->id);
    Finish(unit, start);
    return unit;
}

VhdlDesignUnit* VhdlParser::ParseArchitecture(size_t start) {
    Expect(VHDL_ARCHITECTURE);
    auto* unit = arena_.make<VhdlArchitectureBody>();
    unit->id = ParseId<VhdlArchitectureId>();
    if (unit->id) unit->id->declaration = unit;
    Expect(VHDL_OF);
    unit->entityName = ParseSimpleOrOperatorName();
    Expect(VHDL_IS);
    unit->declarations = ParseDeclarativePart();
    Expect(VHDL_BEGIN);
    unit->statements = ParseConcurrentStatements();
    ParseEndOfUnit(VHDL_ARCHITECTURE, 0, unit->id);
    Finish(unit, start);
    return unit;
}

// package, package body, or package instantiation; also used inside declarative parts.
VhdlDesignUnit* VhdlParser::ParsePackage(size_t start) {
    Expect(VHDL_PACKAGE);
    if (Accept(VHDL_BODY)) {
        auto* body = arena_.make<VhdlPackageBody>();
        body->id = ParseId<VhdlPackageBodyId>();
        if (body->id) body->id->declaration = body;
        Expect(VHDL_IS);
        body->declarations = ParseDeclarativePart();
        ParseEndOfUnit(VHDL_PACKAGE, VHDL_BODY, body->id);
        Finish(body, start);
        return body;
    }
    VhdlIdDef* id = ParseId<VhdlPackageId>();
    Expect(VHDL_IS);
    if (Accept(VHDL_NEW)) {
        auto* inst = arena_.make<VhdlPackageInstantiationDecl>();
        inst->id = id;
        inst->uninstantiated = ParseName();
        if (Is(VHDL_GENERIC)) inst->genericMap = ParseMapAspect(VHDL_GENERIC);
        if (!Expect(VHDL_SEMI)) SkipToItemEnd();
        if (id) id->declaration = inst;
        Finish(inst, start);
        return inst;
    }
    auto* pkg = arena_.make<VhdlPackageDecl>();
    pkg->id = id;
    if (id) id->declaration = pkg;
    if (Is(VHDL_GENERIC)) {
        ++pos_;
        pkg->hasGenericClause = true;
        pkg->generics = ParseInterfaceList();
        Expect(VHDL_SEMI);
        if (Is(VHDL_GENERIC) && Kind(1) == VHDL_MAP) {
            pkg->genericMap = ParseMapAspect(VHDL_GENERIC);
            Expect(VHDL_SEMI);
        }
    }
    pkg->declarations = ParseDeclarativePart();
    ParseEndOfUnit(VHDL_PACKAGE, 0, pkg->id);
    Finish(pkg, start);
    return pkg;
}

VhdlDesignUnit* VhdlParser::ParseConfiguration(size_t start) {
    Expect(VHDL_CONFIGURATION);
    auto* unit = arena_.make<VhdlConfigurationDecl>();
    unit->id = ParseId<VhdlConfigurationId>();
    if (unit->id) unit->id->declaration = unit;
    Expect(VHDL_OF);
    unit->entityName = ParseName();
    Expect(VHDL_IS);
    // Only use clauses, attribute specifications and groups stand here: a `for`
    // starts the block configuration.
    std::vector<VhdlTreeNode*> decls;
    while (Is(VHDL_USE) || Is(VHDL_ATTRIBUTE) || Is(VHDL_GROUP)) {
        size_t before = pos_;
        if (VhdlTreeNode* d = ParseDeclaration()) decls.push_back(d);
        if (pos_ == before) SkipToItemEnd();
    }
    unit->declarations = List(decls);
    if (Is(VHDL_FOR)) unit->blockConfiguration = ParseBlockConfiguration();
    ParseEndOfUnit(VHDL_CONFIGURATION, 0, unit->id);
    Finish(unit, start);
    return unit;
}

VhdlDesignUnit* VhdlParser::ParseContextDecl(size_t start) {
    Expect(VHDL_CONTEXT);
    auto* unit = arena_.make<VhdlContextDecl>();
    unit->id = ParseId<VhdlContextId>();
    if (unit->id) unit->id->declaration = unit;
    Expect(VHDL_IS);
    std::vector<VhdlTreeNode*> items;
    while (VhdlTreeNode* item = ParseContextItem()) items.push_back(item);
    unit->items = List(items);
    ParseEndOfUnit(VHDL_CONTEXT, 0, unit->id);
    Finish(unit, start);
    return unit;
}

// for block_specification {use_clause} {configuration_item} end for ;
VhdlBlockConfiguration* VhdlParser::ParseBlockConfiguration() {
    size_t start = pos_;
    Expect(VHDL_FOR);
    auto* config = arena_.make<VhdlBlockConfiguration>();
    config->blockSpec = ParseName();
    std::vector<VhdlTreeNode*> uses, items;
    while (Is(VHDL_USE)) uses.push_back(ParseUseClause());
    while (Is(VHDL_FOR)) {
        size_t itemStart = pos_;
        // A component configuration names instances before a colon.
        size_t k = 1;
        bool component = Kind(1) == VHDL_ALL || Kind(1) == VHDL_OTHERS;
        while (!component && (Kind(k) == VHDL_ID || Kind(k) == VHDL_EXTENDED_ID)) {
            if (Kind(k + 1) == VHDL_COLON) component = true;
            else if (Kind(k + 1) == VHDL_COMMA) k += 2;
            else break;
        }
        if (!component) {
            items.push_back(ParseBlockConfiguration());
            continue;
        }
        ++pos_;
        auto* cc = arena_.make<VhdlComponentConfiguration>();
        cc->componentSpec = ParseComponentSpecAfterFor();
        if (Is(VHDL_USE) || Is(VHDL_GENERIC) || Is(VHDL_PORT)) {
            cc->binding = ParseBindingIndication();
            Expect(VHDL_SEMI);
        }
        if (Is(VHDL_FOR)) cc->blockConfiguration = ParseBlockConfiguration();
        Expect(VHDL_END);
        Expect(VHDL_FOR);
        if (!Expect(VHDL_SEMI)) SkipToItemEnd();
        Finish(cc, itemStart);
        items.push_back(cc);
    }
    config->useClauses = List(uses);
    config->items = List(items);
    Expect(VHDL_END);
    Expect(VHDL_FOR);
    if (!Expect(VHDL_SEMI)) SkipToItemEnd();
    Finish(config, start);
    return config;
}

// instantiation_list : component_name  (after `for`)
VhdlComponentSpec* VhdlParser::ParseComponentSpecAfterFor() {
    size_t start = pos_;
    auto* spec = arena_.make<VhdlComponentSpec>();
    std::vector<VhdlTreeNode*> labels;
    if (Is(VHDL_ALL)) {
        labels.push_back(Make<VhdlAll>(pos_++));
    } else if (Is(VHDL_OTHERS)) {
        labels.push_back(Make<VhdlOthers>(pos_++));
    } else {
        do {
            labels.push_back(ParseSimpleOrOperatorName());
        } while (Accept(VHDL_COMMA));
    }
    spec->labels = List(labels);
    Expect(VHDL_COLON);
    spec->component = ParseName();
    Finish(spec, start);
    return spec;
}

VhdlBindingIndication* VhdlParser::ParseBindingIndication() {
    size_t start = pos_;
    auto* binding = arena_.make<VhdlBindingIndication>();
    if (Accept(VHDL_USE)) {
        if (IsIdentifier() && Text(Tok()).size() == 5 && VhdlKeyword(Text(Tok()), VHDL_PSL) == VHDL_VUNIT) {
            // use vunit ...: verification units are not kept.
            while (!AtEndOfFile() && !Is(VHDL_SEMI)) ++pos_;
        } else {
            binding->entityAspect = ParseEntityAspect();
        }
    }
    if (Is(VHDL_GENERIC)) {
        binding->hasGenericMap = true;
        binding->genericMap = ParseMapAspect(VHDL_GENERIC);
    }
    if (Is(VHDL_PORT)) {
        binding->hasPortMap = true;
        binding->portMap = ParseMapAspect(VHDL_PORT);
    }
    Finish(binding, start);
    return binding;
}

VhdlEntityAspect* VhdlParser::ParseEntityAspect() {
    size_t start = pos_;
    auto* aspect = arena_.make<VhdlEntityAspect>();
    if (Accept(VHDL_ENTITY)) {
        aspect->entityClass = VHDL_ENTITY;
        aspect->name = ParseName();
    } else if (Accept(VHDL_CONFIGURATION)) {
        aspect->entityClass = VHDL_CONFIGURATION;
        aspect->name = ParseName();
    } else if (Accept(VHDL_OPEN)) {
        aspect->entityClass = VHDL_OPEN;
    } else {
        SyntaxErrorUnexpected();
    }
    Finish(aspect, start);
    return aspect;
}

} // namespace hdl
