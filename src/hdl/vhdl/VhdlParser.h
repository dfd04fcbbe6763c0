// Recursive-descent parser of VHDL design files (1076-1987 to 1076-2019). It reads
// the token list of one file and builds trees in the given arena; syntax errors are
// reported with their position, and the parser re-synchronises at the next item
// (declaration, statement, design unit) and goes on.
#pragma once

#include <string_view>
#include <vector>

#include "hdl/base/Arena.h"
#include "hdl/base/ErrorRecovery.h"
#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlLexer.h"
#include "hdl/vhdl/VhdlNames.h"
#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

class VhdlParser {
public:
    VhdlParser(Arena& arena, std::string_view text, std::vector<VhdlTok> tokens, uint32_t fileId, unsigned mode);

    // All design units of the file, in source order.
    std::vector<VhdlDesignUnit*> ParseDesignFile();
    // Syntax errors told.
    unsigned ErrorCount() const { return recovery_.Told(fileId_); }

    // The text of declarations read over and dropped (PSL declarations, mode views), in
    // order: what they declare, the tree does not hold.
    const std::vector<std::string_view>& DroppedText() const { return dropped_; }

    // Entry points for tests and tools: one expression / one subtype indication.
    VhdlExpression* ParseExpressionOnly();

private:
    // Tokens.
    // Inline: the parser asks for the current token several times per token.
    const VhdlTok& Tok(size_t ahead = 0) const {
        size_t i = pos_ + ahead;
        return i < toks_.size() ? toks_[i] : toks_.back();
    }
    unsigned Kind(size_t ahead = 0) const { return Tok(ahead).kind; }
    bool Is(unsigned kind) const { return Kind() == kind; }
    bool Accept(unsigned kind);
    bool Expect(unsigned kind);
    std::string_view Text(const VhdlTok& t) const { return text_.substr(t.begin, t.end - t.begin); }
    // Tells the catalogue text M at the current token, unless the recovery policy holds
    // it back (an echo, or the file is over its cap).
    template <const MessageText& M, typename... A>
    void SyntaxError(A... args);
    void SyntaxErrorUnexpected();
    void SkipPast(unsigned kind);
    void SkipToItemEnd();
    bool AtEndOfFile() const { return Kind() == VHDL_EOF; }

    template <class T>
    T* Make(size_t startTok);
    void Finish(VhdlTreeNode* node, size_t startTok);
    template <class T>
    T* MakeId(size_t tokIndex);
    template <class T>
    VhdlArray<T> List(const std::vector<T>& items) {
        return VhdlArray<T>(arena_, items);
    }
    bool IsIdentifier(size_t ahead = 0) const { return Kind(ahead) == VHDL_ID || Kind(ahead) == VHDL_EXTENDED_ID; }
    template <class T>
    T* ParseId();
    template <class T>
    VhdlIdList ParseIdList();
    void ParseEndOfUnit(unsigned kw1, unsigned kw2, VhdlIdDef* id);

    // Design units (VhdlParser.cpp).
    VhdlDesignUnit* ParseDesignUnit();
    VhdlTreeNode* ParseContextItem();
    VhdlDesignUnit* ParseEntity(size_t start);
    VhdlDesignUnit* ParseArchitecture(size_t start);
    VhdlDesignUnit* ParsePackage(size_t start);
    VhdlDesignUnit* ParseConfiguration(size_t start);
    VhdlDesignUnit* ParseContextDecl(size_t start);
    VhdlBlockConfiguration* ParseBlockConfiguration();
    VhdlComponentSpec* ParseComponentSpecAfterFor();
    VhdlBindingIndication* ParseBindingIndication();
    VhdlEntityAspect* ParseEntityAspect();

    // Declarations (VhdlParseDecl.cpp).
    VhdlNodeList ParseDeclarativePart();
    bool StartsDeclaration() const;
    VhdlTreeNode* ParseDeclaration();
    VhdlTreeNode* ParseTypeDecl();
    VhdlTypeDef* ParseTypeDefinition(VhdlIdDef* id);
    VhdlTreeNode* ParseSubtypeDecl();
    VhdlTreeNode* ParseObjectDecl();
    VhdlTreeNode* ParseAliasDecl();
    VhdlTreeNode* ParseAttribute();
    VhdlEntitySpec* ParseEntitySpec();
    VhdlTreeNode* ParseComponentDecl();
    VhdlTreeNode* ParseSubprogram();
    VhdlSubprogramSpec* ParseSubprogramSpec();
    VhdlTreeNode* ParseGroup();
    VhdlTreeNode* ParseConfigurationSpec();
    VhdlTreeNode* ParseDisconnection();
    VhdlTreeNode* ParseUseClause();
    VhdlTreeNode* ParseLibraryClause();
    VhdlTreeNode* ParseContextReference();
    VhdlTreeNode* SkipPslDeclaration();
    VhdlTreeNode* SkipModeView();
    VhdlNodeList ParseInterfaceList();
    VhdlTreeNode* ParseInterfaceElement();
    VhdlNodeList ParseMapAspect(unsigned keyword);
    VhdlInterfaceTypeDecl* ParseUnspecifiedType();
    VhdlTreeNode* ParseIncompleteSubtype();
    void ParseIncompleteTypeDefinition(VhdlInterfaceTypeDecl* decl);
    bool IsEntityClass(unsigned kind) const;

    // Names and expressions (VhdlParseExpr.cpp).
    VhdlName* ParseName();
    VhdlName* ParseSimpleOrOperatorName();
    VhdlName* ParseNameSuffixes(VhdlName* prefix, size_t start);
    VhdlName* ParseExternalName();
    // A call of 2019 that maps generics: name generic map (...) [(params)].
    VhdlName* ParseGenericMappedCall(VhdlName* name, size_t start);
    VhdlSignature* ParseSignature();
    VhdlNodeList ParseAssociationList();
    VhdlExpression* ParseAssociationElement();
    VhdlExpression* ParseExpression();
    // An expression, or in 2019 a conditional expression `a when c else b`.
    VhdlExpression* ParseValueExpression();
    VhdlExpression* ParseLogical();
    VhdlExpression* ParseRelation();
    VhdlExpression* ParseShift();
    VhdlExpression* ParseSimple();
    VhdlExpression* ParseTerm();
    VhdlExpression* ParseFactor();
    VhdlExpression* ParsePrimary();
    VhdlExpression* ParseParenthesized();
    VhdlExpression* ParseRangeOrExpression();
    VhdlTreeNode* ParseDiscreteRange();
    VhdlTreeNode* ParseSubtypeIndication();
    VhdlNodeList ParseChoices();
    VhdlOperator* MakeOperator(size_t start, VhdlExpression* left, unsigned op, VhdlExpression* right);

    // Statements (VhdlParseStmt.cpp).
    VhdlNodeList ParseConcurrentStatements();
    VhdlTreeNode* ParseConcurrentStatement();
    VhdlTreeNode* ParseProcess(size_t start, VhdlIdDef* label, bool postponed);
    VhdlTreeNode* ParseBlock(size_t start, VhdlIdDef* label);
    VhdlTreeNode* ParseInstantiation(size_t start, VhdlIdDef* label);
    VhdlTreeNode* ParseGenerate(size_t start, VhdlIdDef* label);
    VhdlGenerateStatement* ParseGenerateBody(size_t start, VhdlIterScheme* scheme, bool alternative);
    VhdlTreeNode* ParseSelectedAssignment(size_t start, VhdlIdDef* label, bool postponed, bool sequential);
    VhdlTreeNode* ParseConcurrentAssignmentOrCall(size_t start, VhdlIdDef* label, bool postponed);
    VhdlDelayMechanism* ParseDelayMechanism();
    VhdlNodeList ParseWaveform();
    VhdlNodeList ParseConditionalWaveforms();
    VhdlNodeList ParseConditionalExpressions();
    VhdlAssertionStatement* ParseAssertion(size_t start, VhdlIdDef* label, bool postponed);
    VhdlNodeList ParseSequentialStatements();
    VhdlTreeNode* ParseSequentialStatement();
    VhdlTreeNode* ParseIf(size_t start, VhdlIdDef* label);
    VhdlTreeNode* ParseCase(size_t start, VhdlIdDef* label);
    VhdlTreeNode* ParseLoop(size_t start, VhdlIdDef* label);
    VhdlTreeNode* ParseWait(size_t start, VhdlIdDef* label);
    VhdlTreeNode* ParseSequentialBlock(size_t start, VhdlIdDef* label);
    VhdlTreeNode* ParseSequentialAssignmentOrCall(size_t start, VhdlIdDef* label);
    VhdlExpression* ParseTarget();
    void ParseEndLabel(VhdlIdDef* label);
    bool AtStatementListEnd() const;

    Arena& arena_;
    std::string_view text_;
    std::vector<VhdlTok> toks_;
    uint32_t fileId_;
    unsigned mode_;
    // Identifiers keep their case in Name() (see VhdlNames.h).
    const bool preserveIdCase_ = VhdlPreserveIdCase();
    size_t pos_ = 0;
    // Tokens passed over to re-synchronise after an error: they are not text the
    // recovery policy counts as read.
    size_t skipped_ = 0;
    ErrorRecovery recovery_;
    unsigned depth_ = 0;
    std::vector<std::string_view> dropped_;
    void NoteDropped(size_t fromTok);
};

} // namespace hdl
