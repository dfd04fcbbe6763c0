// The VHDL parse tree: one class per node kind. Fields are public plain data filled
// by the parser, listed in source order by VHDL_FIELDS; the accessors are the
// operations that later passes rely on. Token-valued fields hold VhdlToken numbers
// (0 when absent).
#pragma once

#include <string_view>
#include <vector>

#include "hdl/base/ForeignUnitRef.h"
#include "hdl/vhdl/VhdlTokens.h"
#include "hdl/vhdl/VhdlTreeNode.h"

namespace hdl {

class VhdlIdDef;
class VhdlIdRef;
class VhdlName;
class VhdlComponentDecl;
class VhdlConfigurationDecl;
class VhdlBindingIndication;
class VhdlBlockConfiguration;
class VhdlComponentInstantiationStatement;
class VhdlPrimaryUnit;
class VhdlSecondaryUnit;
class VhdlDesignUnit;
class VhdlLibrary;
using VhdlIdList = VhdlArray<VhdlIdDef*>;

// ---------------------------------------------------------------- identifiers

class VhdlIdDef : public VhdlTreeNode {
    VHDL_NODE(VhdlIdDef, IDDEF)
    VHDL_FIELDS(origName)
    // The spelling of the source; extended identifiers keep their backslashes.
    std::string_view OrigName() const { return origName; }
    // The name as compared and keyed: basic identifiers in lower case unless the
    // runtime flag "vhdl_preserve_id_case" was set at analysis (VhdlNames.h).
    std::string_view Name() const { return name; }
    bool IsExtended() const { return !origName.empty() && origName[0] == '\\'; }
    auto Links() { return std::tie(name, declaration, owningUnit); }

    std::string_view origName;
    std::string_view name;
    // The declaring node (a declaration, statement or unit), not a child.
    VhdlTreeNode* declaration = nullptr;
    // The design unit whose region holds the declaration; set by name resolution.
    VhdlDesignUnit* owningUnit = nullptr;
};

// clang-format off
#define VHDL_ID_CLASS(Class, Kind)                         \
    class Class : public VhdlIdDef {                       \
        VHDL_NODE(Class, Kind)                             \
        VHDL_FIELDS(origName)                              \
    };
// clang-format on
VHDL_ID_CLASS(VhdlEntityId, ENTITYID)
VHDL_ID_CLASS(VhdlArchitectureId, ARCHITECTUREID)
VHDL_ID_CLASS(VhdlPackageId, PACKAGEID)
VHDL_ID_CLASS(VhdlPackageBodyId, PACKAGEBODYID)
VHDL_ID_CLASS(VhdlConfigurationId, CONFIGURATIONID)
VHDL_ID_CLASS(VhdlContextId, CONTEXTID)
VHDL_ID_CLASS(VhdlComponentId, COMPONENTID)
VHDL_ID_CLASS(VhdlLabelId, LABELID)
VHDL_ID_CLASS(VhdlBlockId, BLOCKID)
VHDL_ID_CLASS(VhdlInterfaceId, INTERFACEID)
VHDL_ID_CLASS(VhdlSignalId, SIGNALID)
VHDL_ID_CLASS(VhdlVariableId, VARIABLEID)
VHDL_ID_CLASS(VhdlConstantId, CONSTANTID)
VHDL_ID_CLASS(VhdlFileId, FILEID)
VHDL_ID_CLASS(VhdlTypeId, TYPEID)
VHDL_ID_CLASS(VhdlSubtypeId, SUBTYPEID)
VHDL_ID_CLASS(VhdlEnumerationId, ENUMERATIONID)
VHDL_ID_CLASS(VhdlElementId, ELEMENTID)
VHDL_ID_CLASS(VhdlAliasId, ALIASID)
VHDL_ID_CLASS(VhdlAttributeId, ATTRIBUTEID)
VHDL_ID_CLASS(VhdlSubprogramId, SUBPROGRAMID)
VHDL_ID_CLASS(VhdlOperatorId, OPERATORID)
VHDL_ID_CLASS(VhdlLibraryId, LIBRARYID)
VHDL_ID_CLASS(VhdlGroupId, GROUPID)
VHDL_ID_CLASS(VhdlGroupTemplateId, GROUPTEMPLATEID)
VHDL_ID_CLASS(VhdlPhysicalUnitId, PHYSICALUNITID)
VHDL_ID_CLASS(VhdlProtectedTypeId, PROTECTEDTYPEID)
VHDL_ID_CLASS(VhdlProtectedTypeBodyId, PROTECTEDTYPEBODYID)
VHDL_ID_CLASS(VhdlGenericTypeId, GENERICTYPEID)
#undef VHDL_ID_CLASS

// ---------------------------------------------------------------- names and expressions

class VhdlExpression : public VhdlTreeNode {};
class VhdlName : public VhdlExpression {};

// A simple name. `text` is the spelling; `resolved` is set by name resolution.
class VhdlIdRef : public VhdlName {
    VHDL_NODE(VhdlIdRef, IDREF)
    VHDL_FIELDS(text)
    std::string_view Name() const { return text; }
    VhdlIdDef* GetId() const { return resolved; }
    // True when the name is overloaded and neither the number of actuals nor the named
    // formals told one declaration apart; `resolved` is then the first one visible.
    bool IsAmbiguous() const { return ambiguous; }
    auto Links() { return std::tie(resolved, ambiguous); }
    std::string_view text;
    VhdlIdDef* resolved = nullptr;
    bool ambiguous = false;
};

class VhdlSelectedName : public VhdlName {
    VHDL_NODE(VhdlSelectedName, SELECTEDNAME)
    VHDL_FIELDS(prefix, suffix)
    VhdlName* GetPrefix() const { return prefix; }
    VhdlName* GetSuffix() const { return suffix; }
    VhdlName* prefix = nullptr;
    VhdlName* suffix = nullptr; // VhdlIdRef, VhdlCharacterLiteral, VhdlStringLiteral or VhdlAll
};

// prefix(assoc, ...): a call, an index, a slice or a conversion, told apart later. A
// call of 2019 may map generics first: `f generic map (...) (assoc, ...)`.
class VhdlIndexedName : public VhdlName {
    VHDL_NODE(VhdlIndexedName, INDEXEDNAME)
    VHDL_FIELDS(prefix, genericMap, assocList)
    VhdlName* GetPrefix() const { return prefix; }
    const VhdlNodeList& GetGenericMapAspect() const { return genericMap; }
    const VhdlNodeList& GetAssocList() const { return assocList; }
    VhdlName* prefix = nullptr;
    VhdlNodeList genericMap;
    VhdlNodeList assocList;
};

class VhdlSignature : public VhdlTreeNode {
    VHDL_NODE(VhdlSignature, SIGNATURE)
    VHDL_FIELDS(typeMarks, returnType)
    VhdlNodeList typeMarks;
    VhdlName* returnType = nullptr;
};

class VhdlSignaturedName : public VhdlName {
    VHDL_NODE(VhdlSignaturedName, SIGNATUREDNAME)
    VHDL_FIELDS(name, signature)
    VhdlName* name = nullptr;
    VhdlSignature* signature = nullptr;
};

// prefix [signature] ' designator [(expression)]
class VhdlAttributeName : public VhdlName {
    VHDL_NODE(VhdlAttributeName, ATTRIBUTENAME)
    VHDL_FIELDS(prefix, signature, designator, expression)
    VhdlName* prefix = nullptr;
    VhdlSignature* signature = nullptr;
    VhdlIdRef* designator = nullptr;
    VhdlExpression* expression = nullptr;
};

// << class path : subtype >>; the path is kept as a name ('.' and '^' steps are
// prefixes of a selected name whose first prefix may be a VhdlIdRef "." or "^").
class VhdlExternalName : public VhdlName {
    VHDL_NODE(VhdlExternalName, EXTERNALNAME)
    VHDL_FIELDS(objectClass, path, subtype)
    unsigned objectClass = 0; // VHDL_SIGNAL, VHDL_CONSTANT or VHDL_VARIABLE
    VhdlName* path = nullptr;
    VhdlTreeNode* subtype = nullptr;
};

// The unit named in an instantiation: `[component|entity|configuration] name`.
class VhdlInstantiatedUnit : public VhdlName {
    VHDL_NODE(VhdlInstantiatedUnit, INSTANTIATEDUNIT)
    VHDL_FIELDS(entityClass, name)
    unsigned GetEntityClass() const { return entityClass; } // VHDL_COMPONENT, VHDL_ENTITY or VHDL_CONFIGURATION
    VhdlName* GetName() const { return name; }
    unsigned entityClass = 0;
    VhdlName* name = nullptr; // for `entity lib.e(arch)` an indexed name with the architecture
};

// The parts of a unit name as written, `[library.]unit[(architecture)]`; empty where the
// name has none.
struct VhdlUnitNameParts {
    std::string_view library;
    std::string_view unit;
    std::string_view architecture;
};
VhdlUnitNameParts VhdlSplitUnitName(const VhdlName* name);

// clang-format off
#define VHDL_KEYWORD_NAME(Class, Kind)  \
    class Class : public VhdlName {     \
        VHDL_NODE(Class, Kind)          \
        VHDL_FIELDS()                   \
    };
// clang-format on
VHDL_KEYWORD_NAME(VhdlAll, ALL)
VHDL_KEYWORD_NAME(VhdlOthers, OTHERS)
VHDL_KEYWORD_NAME(VhdlOpen, OPEN)
VHDL_KEYWORD_NAME(VhdlNull, NULL_)
VHDL_KEYWORD_NAME(VhdlBox, BOX)
VHDL_KEYWORD_NAME(VhdlUnaffected, UNAFFECTED)
VHDL_KEYWORD_NAME(VhdlDefault, DEFAULT)
#undef VHDL_KEYWORD_NAME

// Literals keep the source text (with quotes) and, for numbers, the value.
class VhdlLiteral : public VhdlName {};

class VhdlCharacterLiteral : public VhdlLiteral {
    VHDL_NODE(VhdlCharacterLiteral, CHARACTERLITERAL)
    VHDL_FIELDS(text)
    std::string_view text;
};

// Also an operator symbol such as "and" used as a name.
class VhdlStringLiteral : public VhdlLiteral {
    VHDL_NODE(VhdlStringLiteral, STRINGLITERAL)
    VHDL_FIELDS(text)
    std::string_view text;
};

class VhdlBitStringLiteral : public VhdlLiteral {
    VHDL_NODE(VhdlBitStringLiteral, BITSTRINGLITERAL)
    VHDL_FIELDS(text)
    std::string_view text;
};

class VhdlInteger : public VhdlLiteral {
    VHDL_NODE(VhdlInteger, INTEGER)
    VHDL_FIELDS(text)
    // Value of a decimal or based literal; saturates when it does not fit.
    long long GetValue() const;
    std::string_view text;
};

class VhdlReal : public VhdlLiteral {
    VHDL_NODE(VhdlReal, REAL)
    VHDL_FIELDS(text)
    double GetValue() const;
    std::string_view text;
};

class VhdlPhysicalLiteral : public VhdlLiteral {
    VHDL_NODE(VhdlPhysicalLiteral, PHYSICALLITERAL)
    VHDL_FIELDS(value, unit)
    VhdlExpression* value = nullptr;
    VhdlName* unit = nullptr;
};

// Unary (left null) or binary operator; `op` is the token (VHDL_AND, VHDL_PLUS, ...).
class VhdlOperator : public VhdlExpression {
    VHDL_NODE(VhdlOperator, OPERATOR)
    VHDL_FIELDS(left, op, right)
    unsigned GetOperatorToken() const { return op; }
    VhdlExpression* left = nullptr;
    unsigned op = 0;
    VhdlExpression* right = nullptr;
};

class VhdlRange : public VhdlExpression {
    VHDL_NODE(VhdlRange, RANGE)
    VHDL_FIELDS(left, dir, right)
    VhdlExpression* GetLeftExpression() const { return left; }
    unsigned GetDir() const { return dir; } // VHDL_TO or VHDL_DOWNTO
    VhdlExpression* GetRightExpression() const { return right; }
    VhdlExpression* left = nullptr;
    unsigned dir = 0;
    VhdlExpression* right = nullptr;
};

class VhdlAggregate : public VhdlExpression {
    VHDL_NODE(VhdlAggregate, AGGREGATE)
    VHDL_FIELDS(elements)
    VhdlNodeList elements;
};

// choices => expression
class VhdlElementAssoc : public VhdlExpression {
    VHDL_NODE(VhdlElementAssoc, ELEMENTASSOC)
    VHDL_FIELDS(choices, expression)
    VhdlNodeList choices;
    VhdlExpression* expression = nullptr;
};

// formal => actual, in association lists; `inertial` marks 2008 inertial actuals.
class VhdlAssocElement : public VhdlExpression {
    VHDL_NODE(VhdlAssocElement, ASSOCELEMENT)
    VHDL_FIELDS(formal, inertial, actual)
    VhdlExpression* GetFormalPart() const { return formal; }
    VhdlExpression* GetActualPart() const { return actual; }
    VhdlExpression* formal = nullptr;
    bool inertial = false;
    VhdlExpression* actual = nullptr;
};

class VhdlQualifiedExpression : public VhdlExpression {
    VHDL_NODE(VhdlQualifiedExpression, QUALIFIEDEXPRESSION)
    VHDL_FIELDS(prefix, aggregate)
    VhdlName* prefix = nullptr;
    VhdlExpression* aggregate = nullptr;
};

class VhdlAllocator : public VhdlExpression {
    VHDL_NODE(VhdlAllocator, ALLOCATOR)
    VHDL_FIELDS(subtype)
    VhdlTreeNode* subtype = nullptr; // subtype indication or qualified expression
};

// [resolution] type_mark [constraint]; a bare `type_mark(index ...)` stays a name.
class VhdlSubtypeIndication : public VhdlExpression {};

class VhdlExplicitSubtypeIndication : public VhdlSubtypeIndication {
    VHDL_NODE(VhdlExplicitSubtypeIndication, EXPLICITSUBTYPEINDICATION)
    VHDL_FIELDS(resolution, typeMark, constraint)
    VhdlTreeNode* GetResolutionFunction() const { return resolution; }
    VhdlName* GetTypeMark() const { return typeMark; }
    VhdlTreeNode* GetRangeConstraint() const { return constraint; }
    VhdlTreeNode* resolution = nullptr; // a name, or an aggregate-like element resolution
    VhdlName* typeMark = nullptr;
    VhdlTreeNode* constraint = nullptr;
};

// ---------------------------------------------------------------- type definitions

class VhdlTypeDef : public VhdlTreeNode {};

class VhdlScalarTypeDef : public VhdlTypeDef {
    VHDL_NODE(VhdlScalarTypeDef, SCALARTYPEDEF)
    VHDL_FIELDS(range)
    VhdlTreeNode* GetScalarRange() const { return range; }
    VhdlTreeNode* range = nullptr;
};

class VhdlEnumerationTypeDef : public VhdlTypeDef {
    VHDL_NODE(VhdlEnumerationTypeDef, ENUMERATIONTYPEDEF)
    VHDL_FIELDS(literals)
    VhdlIdList literals; // VhdlEnumerationId, character literals keep their quotes
};

class VhdlPhysicalUnitDecl : public VhdlTreeNode {
    VHDL_NODE(VhdlPhysicalUnitDecl, PHYSICALUNITDECL)
    VHDL_FIELDS(id, value)
    VhdlIdDef* id = nullptr;
    VhdlExpression* value = nullptr;
};

class VhdlPhysicalTypeDef : public VhdlTypeDef {
    VHDL_NODE(VhdlPhysicalTypeDef, PHYSICALTYPEDEF)
    VHDL_FIELDS(range, units)
    VhdlTreeNode* range = nullptr;
    VhdlNodeList units;
};

class VhdlArrayTypeDef : public VhdlTypeDef {
    VHDL_NODE(VhdlArrayTypeDef, ARRAYTYPEDEF)
    VHDL_FIELDS(indexes, elementSubtype)
    const VhdlNodeList& GetIndexConstraint() const { return indexes; }
    VhdlTreeNode* GetSubtypeIndication() const { return elementSubtype; }
    VhdlNodeList indexes; // `t range <>` is a VhdlExplicitSubtypeIndication with a VhdlBox
    VhdlTreeNode* elementSubtype = nullptr;
};

class VhdlElementDecl : public VhdlTreeNode {
    VHDL_NODE(VhdlElementDecl, ELEMENTDECL)
    VHDL_FIELDS(ids, subtype)
    VhdlIdList ids;
    VhdlTreeNode* subtype = nullptr;
};

class VhdlRecordTypeDef : public VhdlTypeDef {
    VHDL_NODE(VhdlRecordTypeDef, RECORDTYPEDEF)
    VHDL_FIELDS(elements)
    VhdlNodeList elements;
};

class VhdlAccessTypeDef : public VhdlTypeDef {
    VHDL_NODE(VhdlAccessTypeDef, ACCESSTYPEDEF)
    VHDL_FIELDS(subtype)
    VhdlTreeNode* subtype = nullptr;
};

class VhdlFileTypeDef : public VhdlTypeDef {
    VHDL_NODE(VhdlFileTypeDef, FILETYPEDEF)
    VHDL_FIELDS(typeMark)
    VhdlName* typeMark = nullptr;
};

// A protected type declaration, or with `uninstantiated` set the instantiation of one
// of 2019: `new protected_type [generic map (...)]`.
class VhdlProtectedTypeDef : public VhdlTypeDef {
    VHDL_NODE(VhdlProtectedTypeDef, PROTECTEDTYPEDEF)
    VHDL_FIELDS(uninstantiated, generics, genericMap, declarations)
    VhdlTreeNode* uninstantiated = nullptr;
    VhdlNodeList generics; // generic clause of 2019
    VhdlNodeList genericMap;
    VhdlNodeList declarations;
};

class VhdlProtectedTypeDefBody : public VhdlTypeDef {
    VHDL_NODE(VhdlProtectedTypeDefBody, PROTECTEDTYPEDEFBODY)
    VHDL_FIELDS(declarations)
    VhdlNodeList declarations;
};

// ---------------------------------------------------------------- declarations

class VhdlDeclaration : public VhdlTreeNode {};

class VhdlFullTypeDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlFullTypeDecl, FULLTYPEDECL)
    VHDL_FIELDS(id, typeDef)
    VhdlIdDef* GetId() const { return id; }
    VhdlTypeDef* GetTypeDef() const { return typeDef; }
    VhdlIdDef* id = nullptr;
    VhdlTypeDef* typeDef = nullptr;
};

class VhdlIncompleteTypeDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlIncompleteTypeDecl, INCOMPLETETYPEDECL)
    VHDL_FIELDS(id)
    VhdlIdDef* id = nullptr;
};

class VhdlSubtypeDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlSubtypeDecl, SUBTYPEDECL)
    VHDL_FIELDS(id, subtype)
    VhdlIdDef* GetId() const { return id; }
    VhdlTreeNode* GetSubtypeIndication() const { return subtype; }
    VhdlIdDef* id = nullptr;
    VhdlTreeNode* subtype = nullptr;
};

// Objects: constant, signal, variable declarations share their layout.
class VhdlObjectDecl : public VhdlDeclaration {
public:
    const VhdlIdList& GetIds() const { return ids; }
    VhdlTreeNode* GetSubtypeIndication() const { return subtype; }
    VhdlExpression* GetInitAssign() const { return init; }
    VhdlIdList ids;
    VhdlTreeNode* subtype = nullptr;
    VhdlExpression* init = nullptr;
};

class VhdlConstantDecl : public VhdlObjectDecl {
    VHDL_NODE(VhdlConstantDecl, CONSTANTDECL)
    VHDL_FIELDS(ids, subtype, init)
};

class VhdlSignalDecl : public VhdlObjectDecl {
    VHDL_NODE(VhdlSignalDecl, SIGNALDECL)
    VHDL_FIELDS(ids, subtype, signalKind, init)
    unsigned GetSignalKind() const { return signalKind; } // VHDL_BUS, VHDL_REGISTER or 0
    unsigned signalKind = 0;
};

class VhdlVariableDecl : public VhdlObjectDecl {
    VHDL_NODE(VhdlVariableDecl, VARIABLEDECL)
    VHDL_FIELDS(shared, ids, subtype, init)
    bool shared = false;
};

class VhdlFileOpenInfo : public VhdlTreeNode {
    VHDL_NODE(VhdlFileOpenInfo, FILEOPENINFO)
    VHDL_FIELDS(openMode, mode, fileName)
    VhdlExpression* openMode = nullptr;
    unsigned mode = 0; // 1987 form: VHDL_IN or VHDL_OUT
    VhdlExpression* fileName = nullptr;
};

class VhdlFileDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlFileDecl, FILEDECL)
    VHDL_FIELDS(ids, subtype, openInfo)
    VhdlIdList ids;
    VhdlTreeNode* subtype = nullptr;
    VhdlFileOpenInfo* openInfo = nullptr;
};

class VhdlAliasDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlAliasDecl, ALIASDECL)
    VHDL_FIELDS(id, subtype, name)
    VhdlIdDef* id = nullptr;
    VhdlTreeNode* subtype = nullptr;
    VhdlName* name = nullptr;
};

class VhdlAttributeDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlAttributeDecl, ATTRIBUTEDECL)
    VHDL_FIELDS(id, typeMark)
    VhdlIdDef* id = nullptr;
    VhdlName* typeMark = nullptr;
};

// entity_name_list : entity_class
class VhdlEntitySpec : public VhdlTreeNode {
    VHDL_NODE(VhdlEntitySpec, ENTITYSPEC)
    VHDL_FIELDS(names, entityClass)
    const VhdlNodeList& GetEntityNameList() const { return names; }
    unsigned GetEntityClass() const { return entityClass; }
    VhdlNodeList names; // names (with signatures), VhdlOthers or VhdlAll
    unsigned entityClass = 0;
};

class VhdlAttributeSpec : public VhdlDeclaration {
    VHDL_NODE(VhdlAttributeSpec, ATTRIBUTESPEC)
    VHDL_FIELDS(designator, entitySpec, value)
    VhdlName* GetDesignator() const { return designator; }
    VhdlEntitySpec* GetEntitySpec() const { return entitySpec; }
    VhdlExpression* GetValue() const { return value; }
    VhdlName* designator = nullptr;
    VhdlEntitySpec* entitySpec = nullptr;
    VhdlExpression* value = nullptr;
};

class VhdlEntityClassEntry : public VhdlTreeNode {
    VHDL_NODE(VhdlEntityClassEntry, ENTITYCLASSENTRY)
    VHDL_FIELDS(entityClass, box)
    unsigned entityClass = 0;
    bool box = false;
};

class VhdlGroupTemplateDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlGroupTemplateDecl, GROUPTEMPLATEDECL)
    VHDL_FIELDS(id, entries)
    VhdlIdDef* id = nullptr;
    VhdlNodeList entries;
};

class VhdlGroupDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlGroupDecl, GROUPDECL)
    VHDL_FIELDS(id, templateName, constituents)
    VhdlIdDef* id = nullptr;
    VhdlName* templateName = nullptr;
    VhdlNodeList constituents;
};

// Interface objects; `objectClass` is the written class keyword (signal, constant,
// variable, file) or 0.
class VhdlInterfaceDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlInterfaceDecl, INTERFACEDECL)
    VHDL_FIELDS(objectClass, ids, mode, subtype, signalKind, init)
    const VhdlIdList& GetIds() const { return ids; }
    unsigned GetObjectKind() const { return objectClass; }
    unsigned GetMode() const { return mode; } // VHDL_IN, VHDL_OUT, ... or 0
    VhdlTreeNode* GetSubtypeIndication() const { return subtype; }
    unsigned GetSignalKind() const { return signalKind; }
    VhdlExpression* GetInitAssign() const { return init; }
    unsigned objectClass = 0;
    VhdlIdList ids;
    unsigned mode = 0;
    VhdlTreeNode* subtype = nullptr;
    unsigned signalKind = 0;
    VhdlExpression* init = nullptr;
};

// type t [is incomplete_type_definition]; the anonymous `type is ...` of 2019 has no id.
// `incomplete` tells the definition by its first token: VHDL_PRIVATE, VHDL_BOX (<>),
// VHDL_LPAREN ((<>)), VHDL_RANGE (range <>), VHDL_DOT (range <>.<>), VHDL_UNITS,
// VHDL_ARRAY, VHDL_ACCESS, VHDL_FILE, or 0 when there is none.
class VhdlInterfaceTypeDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlInterfaceTypeDecl, INTERFACETYPEDECL)
    VHDL_FIELDS(id, incomplete, indexes, designated)
    VhdlIdDef* id = nullptr;
    unsigned incomplete = 0;
    VhdlNodeList indexes; // of an array: ranges, `t range <>`, or anonymous types
    VhdlTreeNode* designated = nullptr; // element, designated or file type: a subtype or anonymous type
};

// function/procedure specification. `generics` and `params` are interface lists.
class VhdlSubprogramSpec : public VhdlTreeNode {
public:
    VhdlIdDef* GetId() const { return id; }
    unsigned purity = 0; // VHDL_PURE, VHDL_IMPURE or 0
    VhdlIdDef* id = nullptr;
    VhdlNodeList generics;
    VhdlNodeList genericMap; // subprogram header of 2008
    bool parameterKeyword = false;
    VhdlNodeList params;
    VhdlName* returnType = nullptr;
    VhdlIdDef* returnId = nullptr; // return identifier of 2019
};

class VhdlProcedureSpec : public VhdlSubprogramSpec {
    VHDL_NODE(VhdlProcedureSpec, PROCEDURESPEC)
    VHDL_FIELDS(id, generics, genericMap, parameterKeyword, params)
};

class VhdlFunctionSpec : public VhdlSubprogramSpec {
    VHDL_NODE(VhdlFunctionSpec, FUNCTIONSPEC)
    VHDL_FIELDS(purity, id, generics, genericMap, parameterKeyword, params, returnId, returnType)
};

class VhdlInterfaceSubprogDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlInterfaceSubprogDecl, INTERFACESUBPROGDECL)
    VHDL_FIELDS(spec, defaultValue)
    VhdlSubprogramSpec* spec = nullptr;
    VhdlTreeNode* defaultValue = nullptr; // a name or VhdlBox
};

class VhdlInterfacePackageDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlInterfacePackageDecl, INTERFACEPACKAGEDECL)
    VHDL_FIELDS(id, uninstantiated, genericMap)
    VhdlIdDef* id = nullptr;
    VhdlName* uninstantiated = nullptr;
    VhdlNodeList genericMap; // one VhdlBox or VhdlDefault for `(<>)` / `(default)`
};

class VhdlSubprogramDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlSubprogramDecl, SUBPROGRAMDECL)
    VHDL_FIELDS(spec)
    VhdlSubprogramSpec* GetSubprogramSpec() const { return spec; }
    VhdlSubprogramSpec* spec = nullptr;
};

class VhdlSubprogramBody : public VhdlDeclaration {
    VHDL_NODE(VhdlSubprogramBody, SUBPROGRAMBODY)
    VHDL_FIELDS(spec, declarations, statements)
    VhdlSubprogramSpec* GetSubprogramSpec() const { return spec; }
    const VhdlNodeList& GetDeclPart() const { return declarations; }
    const VhdlNodeList& GetStatementPart() const { return statements; }
    VhdlSubprogramSpec* spec = nullptr;
    VhdlNodeList declarations;
    VhdlNodeList statements;
};

class VhdlSubprogInstantiationDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlSubprogInstantiationDecl, SUBPROGINSTANTIATIONDECL)
    VHDL_FIELDS(kind, id, uninstantiated, genericMap)
    unsigned kind = 0; // VHDL_FUNCTION or VHDL_PROCEDURE
    VhdlIdDef* id = nullptr;
    VhdlName* uninstantiated = nullptr; // may be a signatured name
    VhdlNodeList genericMap;
};

class VhdlComponentDecl : public VhdlDeclaration {
    VHDL_NODE(VhdlComponentDecl, COMPONENTDECL)
    VHDL_FIELDS(id, generics, ports)
    VhdlIdDef* GetId() const { return id; }
    const VhdlNodeList& GetGenericClause() const { return generics; }
    const VhdlNodeList& GetPortClause() const { return ports; }
    VhdlIdDef* id = nullptr;
    VhdlNodeList generics;
    VhdlNodeList ports;
};

class VhdlDisconnectionSpec : public VhdlDeclaration {
    VHDL_NODE(VhdlDisconnectionSpec, DISCONNECTIONSPEC)
    VHDL_FIELDS(signals, typeMark, after)
    VhdlNodeList signals; // names, VhdlOthers or VhdlAll
    VhdlName* typeMark = nullptr;
    VhdlExpression* after = nullptr;
};

class VhdlEntityAspect : public VhdlTreeNode {
    VHDL_NODE(VhdlEntityAspect, ENTITYASPECT)
    VHDL_FIELDS(entityClass, name)
    unsigned entityClass = 0; // VHDL_ENTITY, VHDL_CONFIGURATION or VHDL_OPEN
    VhdlName* name = nullptr; // lib.e or lib.e(arch) as an indexed name
};

class VhdlBindingIndication : public VhdlTreeNode {
    VHDL_NODE(VhdlBindingIndication, BINDINGINDICATION)
    VHDL_FIELDS(entityAspect, genericMap, portMap)
    auto Links() { return std::tie(hasGenericMap, hasPortMap); }
    VhdlEntityAspect* entityAspect = nullptr;
    VhdlNodeList genericMap;
    VhdlNodeList portMap;
    bool hasGenericMap = false;
    bool hasPortMap = false;
};

// How a component specification names an instance: not, by its label or `all`, or as
// one of the `others`.
enum class VhdlSpecMatch { None, Named, Others };

// instantiation_list : component_name
class VhdlComponentSpec : public VhdlTreeNode {
    VHDL_NODE(VhdlComponentSpec, COMPONENTSPEC)
    VHDL_FIELDS(labels, component)
    // Matches by names, so that it holds before resolution as well.
    VhdlSpecMatch Match(const VhdlComponentInstantiationStatement& inst) const;
    VhdlNodeList labels; // VhdlIdRef labels, VhdlOthers or VhdlAll
    VhdlName* component = nullptr;
};

class VhdlConfigurationSpec : public VhdlDeclaration {
    VHDL_NODE(VhdlConfigurationSpec, CONFIGURATIONSPEC)
    VHDL_FIELDS(componentSpec, binding)
    VhdlComponentSpec* componentSpec = nullptr;
    VhdlBindingIndication* binding = nullptr;
};

class VhdlLibraryClause : public VhdlDeclaration {
    VHDL_NODE(VhdlLibraryClause, LIBRARYCLAUSE)
    VHDL_FIELDS(ids)
    const VhdlIdList& GetIds() const { return ids; }
    VhdlIdList ids; // VhdlLibraryId
};

class VhdlUseClause : public VhdlDeclaration {
    VHDL_NODE(VhdlUseClause, USECLAUSE)
    VHDL_FIELDS(names)
    const VhdlNodeList& GetSelectedNameList() const { return names; }
    VhdlNodeList names;
};

class VhdlContextReference : public VhdlDeclaration {
    VHDL_NODE(VhdlContextReference, CONTEXTREFERENCE)
    VHDL_FIELDS(names)
    VhdlNodeList names;
};

// ---------------------------------------------------------------- statements

class VhdlStatement : public VhdlTreeNode {
public:
    VhdlIdDef* GetLabel() const { return label; }
    bool IsPostponed() const { return postponed; }
    // The statements a block or generate statement holds; for an if or case generate
    // of 2008 its alternatives (generate statements without label). Null for others.
    const VhdlNodeList* GetInnerStatements() const;
    // Of a statement that elaboration made (an instance bound to a copy, the block of a
    // generate iteration): the statement of the source it was made from; null for the
    // statements of the source.
    VhdlStatement* GetSourceStatement() const { return sourceStatement; }
    VhdlIdDef* label = nullptr;
    bool postponed = false;
    VhdlStatement* sourceStatement = nullptr;
};

class VhdlDelayMechanism : public VhdlTreeNode {
    VHDL_NODE(VhdlDelayMechanism, DELAYMECHANISM)
    VHDL_FIELDS(kind, rejectTime)
    unsigned kind = 0; // VHDL_TRANSPORT or VHDL_INERTIAL
    VhdlExpression* rejectTime = nullptr;
};

class VhdlWaveformElement : public VhdlExpression {
    VHDL_NODE(VhdlWaveformElement, WAVEFORMELEMENT)
    VHDL_FIELDS(value, after)
    VhdlExpression* value = nullptr;
    VhdlExpression* after = nullptr;
};

// waveform [when condition]; the last of a list may have no condition.
class VhdlConditionalWaveform : public VhdlTreeNode {
    VHDL_NODE(VhdlConditionalWaveform, CONDITIONALWAVEFORM)
    VHDL_FIELDS(waveform, condition)
    VhdlNodeList waveform;
    VhdlExpression* condition = nullptr;
};

class VhdlSelectedWaveform : public VhdlTreeNode {
    VHDL_NODE(VhdlSelectedWaveform, SELECTEDWAVEFORM)
    VHDL_FIELDS(waveform, choices)
    VhdlNodeList waveform;
    VhdlNodeList choices;
};

// value when condition [else elseValue]; as an expression of 2019 the else part may
// be another conditional expression. In assignment lists elseValue stays null.
class VhdlConditionalExpression : public VhdlExpression {
    VHDL_NODE(VhdlConditionalExpression, CONDITIONALEXPRESSION)
    VHDL_FIELDS(value, condition, elseValue)
    VhdlExpression* value = nullptr;
    VhdlExpression* condition = nullptr;
    VhdlExpression* elseValue = nullptr;
};

class VhdlSelectedExpression : public VhdlExpression {
    VHDL_NODE(VhdlSelectedExpression, SELECTEDEXPRESSION)
    VHDL_FIELDS(value, choices)
    VhdlExpression* value = nullptr;
    VhdlNodeList choices;
};

class VhdlProcessStatement : public VhdlStatement {
    VHDL_NODE(VhdlProcessStatement, PROCESSSTATEMENT)
    VHDL_FIELDS(label, postponed, sensitivity, declarations, statements)
    const VhdlNodeList& GetSensitivityList() const { return sensitivity; }
    const VhdlNodeList& GetDeclPart() const { return declarations; }
    const VhdlNodeList& GetStatementPart() const { return statements; }
    VhdlNodeList sensitivity; // names or one VhdlAll
    VhdlNodeList declarations;
    VhdlNodeList statements;
};

class VhdlBlockGenerics : public VhdlTreeNode {
    VHDL_NODE(VhdlBlockGenerics, BLOCKGENERICS)
    VHDL_FIELDS(clause, map)
    VhdlNodeList clause;
    VhdlNodeList map;
};

class VhdlBlockPorts : public VhdlTreeNode {
    VHDL_NODE(VhdlBlockPorts, BLOCKPORTS)
    VHDL_FIELDS(clause, map)
    VhdlNodeList clause;
    VhdlNodeList map;
};

class VhdlBlockStatement : public VhdlStatement {
    VHDL_NODE(VhdlBlockStatement, BLOCKSTATEMENT)
    VHDL_FIELDS(label, guard, generics, ports, declarations, statements)
    const VhdlNodeList& GetDeclPart() const { return declarations; }
    const VhdlNodeList& GetStatementPart() const { return statements; }
    VhdlExpression* guard = nullptr;
    VhdlBlockGenerics* generics = nullptr;
    VhdlBlockPorts* ports = nullptr;
    VhdlNodeList declarations;
    VhdlNodeList statements;
};

class VhdlComponentInstantiationStatement : public VhdlStatement {
    VHDL_NODE(VhdlComponentInstantiationStatement, COMPONENTINSTANTIATIONSTATEMENT)
    VHDL_FIELDS(label, unit, genericMap, portMap)
    // The name node as written (a VhdlInstantiatedUnit, or a plain name for a component).
    VhdlName* GetInstantiatedUnitNameNode() const { return unit; }
    // The unit it names, once resolved: a component, entity or configuration id.
    VhdlIdDef* GetInstantiatedUnit() const { return instantiated; }
    // The declaration of the component it instantiates; null for an entity or
    // configuration, or a component not found.
    VhdlComponentDecl* GetComponent() const;
    bool InstantiatesComponent() const;
    // The primary unit the instantiated identifier leads to: the entity or configuration
    // it names, or for a component the entity it is bound to.
    VhdlPrimaryUnit* GetInstantiatedPrimaryUnit() const;
    // True when the instantiated component, entity or configured entity declares generics.
    bool InstantiatesUnitWithGenerics() const;
    const VhdlNodeList& GetGenericMapAspect() const { return genericMap; }
    const VhdlNodeList& GetPortMapAspect() const { return portMap; }
    // The binding in the architecture, before any configuration declaration: through the
    // unit it names, a configuration specification or default binding; null while unbound.
    VhdlPrimaryUnit* GetBoundEntity() const { return boundEntity; }
    VhdlSecondaryUnit* GetBoundArchitecture() const { return boundArchitecture; }
    // The configuration it is bound through (`configuration c`, `use configuration c`).
    VhdlConfigurationDecl* GetBoundConfiguration() const { return boundConfiguration; }
    // The binding indication of the configuration specification that applies, if any.
    VhdlBindingIndication* GetBindingIndication() const { return binding; }
    // The instance is bound `use open` by a configuration specification: it instantiates
    // nothing.
    bool IsUnitNameInactive() const;
    // The names that the statement, or the configuration specification binding it, gives
    // for its target as written; empty where none is given (default binding).
    std::string_view GetLibraryName() const;
    std::string_view GetEntityName() const;
    std::string_view GetArchitectureName() const;
    // Set by elaboration on an elaborated statement that a Verilog module answered: the
    // copy it used.
    const ForeignUnitRef& GetForeignUnit() const { return foreignUnit; }
    auto Links() { return std::tie(instantiated, boundEntity, boundArchitecture, boundConfiguration, binding); }
    VhdlName* unit = nullptr;
    VhdlNodeList genericMap;
    VhdlNodeList portMap;
    VhdlIdDef* instantiated = nullptr;
    VhdlPrimaryUnit* boundEntity = nullptr;
    VhdlSecondaryUnit* boundArchitecture = nullptr;
    VhdlConfigurationDecl* boundConfiguration = nullptr;
    VhdlBindingIndication* binding = nullptr;
    ForeignUnitRef foreignUnit;
};

// Iteration and generate schemes.
class VhdlIterScheme : public VhdlTreeNode {
public:
    VhdlIdDef* alternativeLabel = nullptr; // of 2008 if/case generate alternatives
};

class VhdlForScheme : public VhdlIterScheme {
    VHDL_NODE(VhdlForScheme, FORSCHEME)
    VHDL_FIELDS(id, range)
    VhdlIdDef* id = nullptr;
    VhdlTreeNode* range = nullptr;
};

class VhdlWhileScheme : public VhdlIterScheme {
    VHDL_NODE(VhdlWhileScheme, WHILESCHEME)
    VHDL_FIELDS(condition)
    VhdlExpression* condition = nullptr;
};

class VhdlIfScheme : public VhdlIterScheme {
    VHDL_NODE(VhdlIfScheme, IFSCHEME)
    VHDL_FIELDS(alternativeLabel, condition)
    VhdlExpression* condition = nullptr;
};

// elsif (condition set) or else (condition null) alternative of an if generate.
class VhdlElsifElseScheme : public VhdlIterScheme {
    VHDL_NODE(VhdlElsifElseScheme, ELSIFELSESCHEME)
    VHDL_FIELDS(alternativeLabel, condition)
    VhdlExpression* condition = nullptr;
};

class VhdlCaseItemScheme : public VhdlIterScheme {
    VHDL_NODE(VhdlCaseItemScheme, CASEITEMSCHEME)
    VHDL_FIELDS(alternativeLabel, choices)
    VhdlNodeList choices;
};

// A for generate, a 1993 if generate, or one alternative of the 2008 if/case
// generates (then without label; the scheme carries the alternative label).
class VhdlGenerateStatement : public VhdlStatement {
    VHDL_NODE(VhdlGenerateStatement, GENERATESTATEMENT)
    VHDL_FIELDS(label, scheme, declarations, statements)
    VhdlIterScheme* GetScheme() const { return scheme; }
    const VhdlNodeList& GetDeclPart() const { return declarations; }
    const VhdlNodeList& GetStatementPart() const { return statements; }
    VhdlIterScheme* scheme = nullptr;
    VhdlNodeList declarations;
    VhdlNodeList statements;
};

class VhdlIfElsifGenerateStatement : public VhdlStatement {
    VHDL_NODE(VhdlIfElsifGenerateStatement, IFELSIFGENERATESTATEMENT)
    VHDL_FIELDS(label, alternatives)
    VhdlNodeList alternatives; // VhdlGenerateStatement with VhdlIfScheme / VhdlElsifElseScheme
};

class VhdlCaseGenerateStatement : public VhdlStatement {
    VHDL_NODE(VhdlCaseGenerateStatement, CASEGENERATESTATEMENT)
    VHDL_FIELDS(label, expression, alternatives)
    VhdlExpression* expression = nullptr;
    VhdlNodeList alternatives; // VhdlGenerateStatement with VhdlCaseItemScheme
};

// target <= [guarded] [delay] waveform [when cond else ...]; also the simple form.
class VhdlConditionalSignalAssignment : public VhdlStatement {
    VHDL_NODE(VhdlConditionalSignalAssignment, CONDITIONALSIGNALASSIGNMENT)
    VHDL_FIELDS(label, postponed, target, guarded, delay, waveforms)
    VhdlExpression* target = nullptr;
    bool guarded = false;
    VhdlDelayMechanism* delay = nullptr;
    VhdlNodeList waveforms; // VhdlConditionalWaveform
};

class VhdlSelectedSignalAssignment : public VhdlStatement {
    VHDL_NODE(VhdlSelectedSignalAssignment, SELECTEDSIGNALASSIGNMENT)
    VHDL_FIELDS(label, postponed, expression, matching, target, guarded, delay, waveforms)
    VhdlExpression* expression = nullptr;
    bool matching = false; // select?
    VhdlExpression* target = nullptr;
    bool guarded = false;
    VhdlDelayMechanism* delay = nullptr;
    VhdlNodeList waveforms; // VhdlSelectedWaveform
};

class VhdlProcedureCallStatement : public VhdlStatement {
    VHDL_NODE(VhdlProcedureCallStatement, PROCEDURECALLSTATEMENT)
    VHDL_FIELDS(label, postponed, call)
    VhdlName* GetCall() const { return call; }
    VhdlName* call = nullptr;
};

class VhdlAssertionStatement : public VhdlStatement {
    VHDL_NODE(VhdlAssertionStatement, ASSERTIONSTATEMENT)
    VHDL_FIELDS(label, postponed, condition, report, severity)
    VhdlExpression* condition = nullptr;
    VhdlExpression* report = nullptr;
    VhdlExpression* severity = nullptr;
};

class VhdlReportStatement : public VhdlStatement {
    VHDL_NODE(VhdlReportStatement, REPORTSTATEMENT)
    VHDL_FIELDS(label, report, severity)
    VhdlExpression* report = nullptr;
    VhdlExpression* severity = nullptr;
};

class VhdlSignalAssignmentStatement : public VhdlStatement {
    VHDL_NODE(VhdlSignalAssignmentStatement, SIGNALASSIGNMENTSTATEMENT)
    VHDL_FIELDS(label, target, delay, waveform)
    VhdlExpression* target = nullptr;
    VhdlDelayMechanism* delay = nullptr;
    VhdlNodeList waveform;
};

class VhdlVariableAssignmentStatement : public VhdlStatement {
    VHDL_NODE(VhdlVariableAssignmentStatement, VARIABLEASSIGNMENTSTATEMENT)
    VHDL_FIELDS(label, target, value)
    VhdlExpression* target = nullptr;
    VhdlExpression* value = nullptr;
};

class VhdlConditionalVariableAssignmentStatement : public VhdlStatement {
    VHDL_NODE(VhdlConditionalVariableAssignmentStatement, CONDITIONALVARIABLEASSIGNMENTSTATEMENT)
    VHDL_FIELDS(label, target, values)
    VhdlExpression* target = nullptr;
    VhdlNodeList values; // VhdlConditionalExpression
};

class VhdlSelectedVariableAssignmentStatement : public VhdlStatement {
    VHDL_NODE(VhdlSelectedVariableAssignmentStatement, SELECTEDVARIABLEASSIGNMENTSTATEMENT)
    VHDL_FIELDS(label, expression, matching, target, values)
    VhdlExpression* expression = nullptr;
    bool matching = false;
    VhdlExpression* target = nullptr;
    VhdlNodeList values; // VhdlSelectedExpression
};

class VhdlForceAssignmentStatement : public VhdlStatement {
    VHDL_NODE(VhdlForceAssignmentStatement, FORCEASSIGNMENTSTATEMENT)
    VHDL_FIELDS(label, target, forceMode, value)
    VhdlExpression* target = nullptr;
    unsigned forceMode = 0; // VHDL_IN, VHDL_OUT or 0
    VhdlExpression* value = nullptr;
};

class VhdlConditionalForceAssignmentStatement : public VhdlStatement {
    VHDL_NODE(VhdlConditionalForceAssignmentStatement, CONDITIONALFORCEASSIGNMENTSTATEMENT)
    VHDL_FIELDS(label, target, forceMode, values)
    VhdlExpression* target = nullptr;
    unsigned forceMode = 0;
    VhdlNodeList values; // VhdlConditionalExpression
};

class VhdlSelectedForceAssignment : public VhdlStatement {
    VHDL_NODE(VhdlSelectedForceAssignment, SELECTEDFORCEASSIGNMENT)
    VHDL_FIELDS(label, expression, matching, target, forceMode, values)
    VhdlExpression* expression = nullptr;
    bool matching = false;
    VhdlExpression* target = nullptr;
    unsigned forceMode = 0;
    VhdlNodeList values; // VhdlSelectedExpression
};

class VhdlReleaseAssignmentStatement : public VhdlStatement {
    VHDL_NODE(VhdlReleaseAssignmentStatement, RELEASEASSIGNMENTSTATEMENT)
    VHDL_FIELDS(label, target, forceMode)
    VhdlExpression* target = nullptr;
    unsigned forceMode = 0;
};

class VhdlWaitStatement : public VhdlStatement {
    VHDL_NODE(VhdlWaitStatement, WAITSTATEMENT)
    VHDL_FIELDS(label, sensitivity, condition, timeout)
    VhdlNodeList sensitivity;
    VhdlExpression* condition = nullptr;
    VhdlExpression* timeout = nullptr;
};

class VhdlElsif : public VhdlTreeNode {
    VHDL_NODE(VhdlElsif, ELSIF)
    VHDL_FIELDS(condition, statements)
    VhdlExpression* condition = nullptr;
    VhdlNodeList statements;
};

class VhdlIfStatement : public VhdlStatement {
    VHDL_NODE(VhdlIfStatement, IFSTATEMENT)
    VHDL_FIELDS(label, condition, thenStatements, elsifs, elseStatements)
    VhdlExpression* condition = nullptr;
    VhdlNodeList thenStatements;
    VhdlNodeList elsifs;
    VhdlNodeList elseStatements;
};

class VhdlCaseStatementAlternative : public VhdlTreeNode {
    VHDL_NODE(VhdlCaseStatementAlternative, CASESTATEMENTALTERNATIVE)
    VHDL_FIELDS(choices, statements)
    VhdlNodeList choices;
    VhdlNodeList statements;
};

class VhdlCaseStatement : public VhdlStatement {
    VHDL_NODE(VhdlCaseStatement, CASESTATEMENT)
    VHDL_FIELDS(label, matching, expression, alternatives)
    bool matching = false;
    VhdlExpression* expression = nullptr;
    VhdlNodeList alternatives;
};

class VhdlLoopStatement : public VhdlStatement {
    VHDL_NODE(VhdlLoopStatement, LOOPSTATEMENT)
    VHDL_FIELDS(label, scheme, statements)
    VhdlIterScheme* scheme = nullptr;
    VhdlNodeList statements;
};

class VhdlNextStatement : public VhdlStatement {
    VHDL_NODE(VhdlNextStatement, NEXTSTATEMENT)
    VHDL_FIELDS(label, loopLabel, condition)
    VhdlName* loopLabel = nullptr;
    VhdlExpression* condition = nullptr;
};

class VhdlExitStatement : public VhdlStatement {
    VHDL_NODE(VhdlExitStatement, EXITSTATEMENT)
    VHDL_FIELDS(label, loopLabel, condition)
    VhdlName* loopLabel = nullptr;
    VhdlExpression* condition = nullptr;
};

class VhdlReturnStatement : public VhdlStatement {
    VHDL_NODE(VhdlReturnStatement, RETURNSTATEMENT)
    VHDL_FIELDS(label, expression)
    VhdlExpression* expression = nullptr;
};

class VhdlNullStatement : public VhdlStatement {
    VHDL_NODE(VhdlNullStatement, NULLSTATEMENT)
    VHDL_FIELDS(label)
};

// ---------------------------------------------------------------- configurations

class VhdlConfigurationItem : public VhdlTreeNode {};

class VhdlComponentConfiguration;

// for block_specification ... end for; `block` is what it configures, set by resolution:
// an architecture body, a block statement, a generate statement (a 2008 alternative
// when the specification names one), or null when not found.
class VhdlBlockConfiguration : public VhdlConfigurationItem {
    VHDL_NODE(VhdlBlockConfiguration, BLOCKCONFIGURATION)
    VHDL_FIELDS(blockSpec, useClauses, items)
    VhdlTreeNode* GetBlock() const { return block; }
    // The index or range of `for g(...)`, null without one.
    VhdlTreeNode* GetIndexSpecification() const;
    // The component configuration of this block that applies to `inst`, an instance in
    // the block's own statement part; null when none does.
    VhdlComponentConfiguration* ConfigurationOf(const VhdlComponentInstantiationStatement& inst) const;
    // The nested block configurations of a block or generate statement of this block.
    std::vector<VhdlBlockConfiguration*> ConfigurationsOf(const VhdlStatement& stmt) const;
    auto Links() { return std::tie(block); }
    VhdlName* blockSpec = nullptr;
    VhdlNodeList useClauses;
    VhdlNodeList items;
    VhdlTreeNode* block = nullptr;
};

// for instances : component [binding;] [block configuration] end for; the binding of
// its entity aspect is set by resolution (all null without one, or for `use open`).
class VhdlComponentConfiguration : public VhdlConfigurationItem {
    VHDL_NODE(VhdlComponentConfiguration, COMPONENTCONFIGURATION)
    VHDL_FIELDS(componentSpec, binding, blockConfiguration)
    VhdlComponentSpec* GetComponentSpec() const { return componentSpec; }
    VhdlBindingIndication* GetBindingIndication() const { return binding; }
    VhdlBlockConfiguration* GetBlockConfiguration() const { return blockConfiguration; }
    // An entity aspect decides the binding: `use entity`, `use configuration`, `use open`.
    bool HasEntityAspect() const;
    VhdlPrimaryUnit* GetBoundEntity() const { return boundEntity; }
    VhdlSecondaryUnit* GetBoundArchitecture() const { return boundArchitecture; }
    VhdlConfigurationDecl* GetBoundConfiguration() const { return boundConfiguration; }
    auto Links() { return std::tie(boundEntity, boundArchitecture, boundConfiguration); }
    VhdlComponentSpec* componentSpec = nullptr;
    VhdlBindingIndication* binding = nullptr;
    VhdlBlockConfiguration* blockConfiguration = nullptr;
    VhdlPrimaryUnit* boundEntity = nullptr;
    VhdlSecondaryUnit* boundArchitecture = nullptr;
    VhdlConfigurationDecl* boundConfiguration = nullptr;
};

// Where an instance ends up: the entity and architecture, and the block configuration
// that configures that architecture further (null when none does).
struct VhdlBinding {
    VhdlPrimaryUnit* entity = nullptr;
    VhdlSecondaryUnit* architecture = nullptr;
    VhdlBlockConfiguration* configuration = nullptr;
};
// The binding of `inst` under `context`, the block configuration of the block that
// holds it; with a null context the binding of the architecture alone. A component
// configuration with an entity aspect overrides; one without keeps the entity and
// adds its nested block configuration.
VhdlBinding VhdlBindingOf(const VhdlComponentInstantiationStatement& inst, const VhdlBlockConfiguration* context);

// ---------------------------------------------------------------- design units

class VhdlDesignUnit : public VhdlTreeNode {
public:
    // The name as compared (lower case for basic identifiers).
    std::string_view Name() const { return id ? id->Name() : std::string_view(); }
    VhdlIdDef* Id() const { return id; }
    const VhdlNodeList& GetContextClause() const { return contextClause; }
    VhdlLibrary* GetOwningLib() const { return library; }
    uint32_t GetEndLine() const { return endLine; }
    // `library` is the library that holds the unit, set when it is stored there.
    auto Links() { return std::tie(endLine, languageMode); }

    VhdlNodeList contextClause;
    VhdlIdDef* id = nullptr;
    VhdlLibrary* library = nullptr;
    uint32_t endLine = 0;
    unsigned languageMode = 0; // the VhdlMode it was analysed in
};

class VhdlSecondaryUnit : public VhdlDesignUnit {};

// Secondary units of a restored primary unit that are read only when first asked for
// (a package body, which a design that uses the package rarely needs).
class VhdlPendingUnits {
public:
    virtual ~VhdlPendingUnits() = default;
    // Adds them to their primary unit; does nothing after the first call.
    virtual void Restore() = 0;
};

class VhdlPrimaryUnit : public VhdlDesignUnit {
public:
    // By name, case-insensitively; a null name gives the most recently analysed
    // architecture (or the one secondary unit of a package).
    VhdlSecondaryUnit* GetSecondaryUnit(const char* name) const;
    // In order of analysis; a re-analysed secondary unit takes the place of the old.
    const std::vector<VhdlSecondaryUnit*>& GetSecondaryUnits() const {
        RestorePending();
        return *secondaryUnits;
    }
    // Adds or replaces; returns the unit replaced, if any.
    VhdlSecondaryUnit* AddSecondaryUnit(VhdlSecondaryUnit* unit);
    // Reads the secondary units not read yet, if any.
    void RestorePending() const {
        if (VhdlPendingUnits* pending = pendingUnits) {
            pendingUnits = nullptr;
            pending->Restore();
        }
    }
    auto Links() { return std::tuple_cat(VhdlDesignUnit::Links(), std::tie(lastArchitecture)); }

    // Of a copy that elaboration made for generic values or a configuration: the name
    // of the original unit; empty for a unit of the source.
    std::string_view GetOriginalUnitName() const { return originalName; }

    // Owned by the library that keeps the unit (so that the node stays trivially
    // destructible); set when the unit is stored.
    std::vector<VhdlSecondaryUnit*>* secondaryUnits = nullptr;
    VhdlSecondaryUnit* lastArchitecture = nullptr;
    std::string_view originalName;
    // Owned by the library, like the list of secondary units.
    mutable VhdlPendingUnits* pendingUnits = nullptr;
};

class VhdlEntityDecl : public VhdlPrimaryUnit {
    VHDL_NODE(VhdlEntityDecl, ENTITYDECL)
    VHDL_FIELDS(contextClause, id, generics, ports, declarations, statements)
    const VhdlNodeList& GetGenericClause() const { return generics; }
    const VhdlNodeList& GetPortClause() const { return ports; }
    const VhdlNodeList& GetDeclPart() const { return declarations; }
    const VhdlNodeList& GetStatementPart() const { return statements; }
    auto Links() { return std::tuple_cat(VhdlPrimaryUnit::Links(), std::tie(hasGenericClause, hasPortClause)); }
    VhdlNodeList generics;
    VhdlNodeList ports;
    VhdlNodeList declarations;
    VhdlNodeList statements;
    bool hasGenericClause = false;
    bool hasPortClause = false;
};

class VhdlPackageDecl : public VhdlPrimaryUnit {
    VHDL_NODE(VhdlPackageDecl, PACKAGEDECL)
    VHDL_FIELDS(contextClause, id, generics, genericMap, declarations)
    const VhdlNodeList& GetGenericClause() const { return generics; }
    const VhdlNodeList& GetDeclPart() const { return declarations; }
    auto Links() { return std::tuple_cat(VhdlPrimaryUnit::Links(), std::tie(hasGenericClause)); }
    VhdlNodeList generics;
    VhdlNodeList genericMap;
    VhdlNodeList declarations;
    bool hasGenericClause = false;
};

class VhdlPackageInstantiationDecl : public VhdlPrimaryUnit {
    VHDL_NODE(VhdlPackageInstantiationDecl, PACKAGEINSTANTIATIONDECL)
    VHDL_FIELDS(contextClause, id, uninstantiated, genericMap)
    VhdlName* uninstantiated = nullptr;
    VhdlNodeList genericMap;
};

class VhdlConfigurationDecl : public VhdlPrimaryUnit {
    VHDL_NODE(VhdlConfigurationDecl, CONFIGURATIONDECL)
    VHDL_FIELDS(contextClause, id, entityName, declarations, blockConfiguration)
    VhdlName* GetEntityName() const { return entityName; }
    VhdlBlockConfiguration* GetBlockConfiguration() const { return blockConfiguration; }
    // The entity and the architecture of its top block, set by resolution.
    VhdlPrimaryUnit* GetEntity() const { return entity; }
    VhdlSecondaryUnit* GetArchitecture() const { return architecture; }
    auto Links() { return std::tuple_cat(VhdlPrimaryUnit::Links(), std::tie(entity, architecture)); }
    VhdlName* entityName = nullptr;
    VhdlNodeList declarations;
    VhdlBlockConfiguration* blockConfiguration = nullptr;
    VhdlPrimaryUnit* entity = nullptr;
    VhdlSecondaryUnit* architecture = nullptr;
};

class VhdlContextDecl : public VhdlPrimaryUnit {
    VHDL_NODE(VhdlContextDecl, CONTEXTDECL)
    VHDL_FIELDS(contextClause, id, items)
    VhdlNodeList items; // library clauses, use clauses, context references
};

class VhdlArchitectureBody : public VhdlSecondaryUnit {
    VHDL_NODE(VhdlArchitectureBody, ARCHITECTUREBODY)
    VHDL_FIELDS(contextClause, id, entityName, declarations, statements)
    VhdlName* GetEntityName() const { return entityName; }
    const VhdlNodeList& GetDeclPart() const { return declarations; }
    const VhdlNodeList& GetStatementPart() const { return statements; }
    // Static elaboration processed the architecture (of the original entity, or of a
    // copy): its elaborated statements are the instances and blocks it holds for that
    // set of generics, generates unrolled. The statements of the source stay as parsed.
    bool IsElaborated() const { return elaborated; }
    const VhdlNodeList& GetElaboratedStatements() const { return elaboratedStatements; }
    VhdlName* entityName = nullptr;
    VhdlNodeList declarations;
    VhdlNodeList statements;
    VhdlNodeList elaboratedStatements;
    bool elaborated = false;
};

class VhdlPackageBody : public VhdlSecondaryUnit {
    VHDL_NODE(VhdlPackageBody, PACKAGEBODY)
    VHDL_FIELDS(contextClause, id, declarations)
    const VhdlNodeList& GetDeclPart() const { return declarations; }
    VhdlNodeList declarations;
};

// Every node class with its direct base, bases first.
// clang-format off
#define VHDL_CLASSES(X) \
    X(VhdlIdDef, VhdlTreeNode) X(VhdlEntityId, VhdlIdDef) X(VhdlArchitectureId, VhdlIdDef) \
    X(VhdlPackageId, VhdlIdDef) X(VhdlPackageBodyId, VhdlIdDef) X(VhdlConfigurationId, VhdlIdDef) \
    X(VhdlContextId, VhdlIdDef) X(VhdlComponentId, VhdlIdDef) X(VhdlLabelId, VhdlIdDef) \
    X(VhdlBlockId, VhdlIdDef) X(VhdlInterfaceId, VhdlIdDef) X(VhdlSignalId, VhdlIdDef) \
    X(VhdlVariableId, VhdlIdDef) X(VhdlConstantId, VhdlIdDef) X(VhdlFileId, VhdlIdDef) \
    X(VhdlTypeId, VhdlIdDef) X(VhdlSubtypeId, VhdlIdDef) X(VhdlEnumerationId, VhdlIdDef) \
    X(VhdlElementId, VhdlIdDef) X(VhdlAliasId, VhdlIdDef) X(VhdlAttributeId, VhdlIdDef) \
    X(VhdlSubprogramId, VhdlIdDef) X(VhdlOperatorId, VhdlIdDef) X(VhdlLibraryId, VhdlIdDef) \
    X(VhdlGroupId, VhdlIdDef) X(VhdlGroupTemplateId, VhdlIdDef) X(VhdlPhysicalUnitId, VhdlIdDef) \
    X(VhdlProtectedTypeId, VhdlIdDef) X(VhdlProtectedTypeBodyId, VhdlIdDef) \
    X(VhdlGenericTypeId, VhdlIdDef) \
    X(VhdlExpression, VhdlTreeNode) X(VhdlName, VhdlExpression) X(VhdlIdRef, VhdlName) \
    X(VhdlSelectedName, VhdlName) X(VhdlIndexedName, VhdlName) X(VhdlSignature, VhdlTreeNode) \
    X(VhdlSignaturedName, VhdlName) X(VhdlAttributeName, VhdlName) X(VhdlExternalName, VhdlName) \
    X(VhdlInstantiatedUnit, VhdlName) X(VhdlAll, VhdlName) X(VhdlOthers, VhdlName) \
    X(VhdlOpen, VhdlName) X(VhdlNull, VhdlName) X(VhdlBox, VhdlName) X(VhdlUnaffected, VhdlName) \
    X(VhdlDefault, VhdlName) X(VhdlLiteral, VhdlName) X(VhdlCharacterLiteral, VhdlLiteral) \
    X(VhdlStringLiteral, VhdlLiteral) X(VhdlBitStringLiteral, VhdlLiteral) \
    X(VhdlInteger, VhdlLiteral) X(VhdlReal, VhdlLiteral) X(VhdlPhysicalLiteral, VhdlLiteral) \
    X(VhdlOperator, VhdlExpression) X(VhdlRange, VhdlExpression) X(VhdlAggregate, VhdlExpression) \
    X(VhdlElementAssoc, VhdlExpression) X(VhdlAssocElement, VhdlExpression) \
    X(VhdlQualifiedExpression, VhdlExpression) X(VhdlAllocator, VhdlExpression) \
    X(VhdlSubtypeIndication, VhdlExpression) \
    X(VhdlExplicitSubtypeIndication, VhdlSubtypeIndication) \
    X(VhdlTypeDef, VhdlTreeNode) X(VhdlScalarTypeDef, VhdlTypeDef) \
    X(VhdlEnumerationTypeDef, VhdlTypeDef) X(VhdlPhysicalUnitDecl, VhdlTreeNode) \
    X(VhdlPhysicalTypeDef, VhdlTypeDef) X(VhdlArrayTypeDef, VhdlTypeDef) \
    X(VhdlElementDecl, VhdlTreeNode) X(VhdlRecordTypeDef, VhdlTypeDef) \
    X(VhdlAccessTypeDef, VhdlTypeDef) X(VhdlFileTypeDef, VhdlTypeDef) \
    X(VhdlProtectedTypeDef, VhdlTypeDef) X(VhdlProtectedTypeDefBody, VhdlTypeDef) \
    X(VhdlDeclaration, VhdlTreeNode) X(VhdlFullTypeDecl, VhdlDeclaration) \
    X(VhdlIncompleteTypeDecl, VhdlDeclaration) X(VhdlSubtypeDecl, VhdlDeclaration) \
    X(VhdlObjectDecl, VhdlDeclaration) X(VhdlConstantDecl, VhdlObjectDecl) \
    X(VhdlSignalDecl, VhdlObjectDecl) X(VhdlVariableDecl, VhdlObjectDecl) \
    X(VhdlFileOpenInfo, VhdlTreeNode) X(VhdlFileDecl, VhdlDeclaration) \
    X(VhdlAliasDecl, VhdlDeclaration) X(VhdlAttributeDecl, VhdlDeclaration) \
    X(VhdlEntitySpec, VhdlTreeNode) X(VhdlAttributeSpec, VhdlDeclaration) \
    X(VhdlEntityClassEntry, VhdlTreeNode) X(VhdlGroupTemplateDecl, VhdlDeclaration) \
    X(VhdlGroupDecl, VhdlDeclaration) X(VhdlInterfaceDecl, VhdlDeclaration) \
    X(VhdlInterfaceTypeDecl, VhdlDeclaration) X(VhdlSubprogramSpec, VhdlTreeNode) \
    X(VhdlProcedureSpec, VhdlSubprogramSpec) X(VhdlFunctionSpec, VhdlSubprogramSpec) \
    X(VhdlInterfaceSubprogDecl, VhdlDeclaration) X(VhdlInterfacePackageDecl, VhdlDeclaration) \
    X(VhdlSubprogramDecl, VhdlDeclaration) X(VhdlSubprogramBody, VhdlDeclaration) \
    X(VhdlSubprogInstantiationDecl, VhdlDeclaration) X(VhdlComponentDecl, VhdlDeclaration) \
    X(VhdlDisconnectionSpec, VhdlDeclaration) X(VhdlEntityAspect, VhdlTreeNode) \
    X(VhdlBindingIndication, VhdlTreeNode) X(VhdlComponentSpec, VhdlTreeNode) \
    X(VhdlConfigurationSpec, VhdlDeclaration) X(VhdlLibraryClause, VhdlDeclaration) \
    X(VhdlUseClause, VhdlDeclaration) X(VhdlContextReference, VhdlDeclaration) \
    X(VhdlStatement, VhdlTreeNode) X(VhdlDelayMechanism, VhdlTreeNode) \
    X(VhdlWaveformElement, VhdlExpression) X(VhdlConditionalWaveform, VhdlTreeNode) \
    X(VhdlSelectedWaveform, VhdlTreeNode) X(VhdlConditionalExpression, VhdlExpression) \
    X(VhdlSelectedExpression, VhdlExpression) X(VhdlProcessStatement, VhdlStatement) \
    X(VhdlBlockGenerics, VhdlTreeNode) X(VhdlBlockPorts, VhdlTreeNode) \
    X(VhdlBlockStatement, VhdlStatement) X(VhdlComponentInstantiationStatement, VhdlStatement) \
    X(VhdlIterScheme, VhdlTreeNode) X(VhdlForScheme, VhdlIterScheme) \
    X(VhdlWhileScheme, VhdlIterScheme) X(VhdlIfScheme, VhdlIterScheme) \
    X(VhdlElsifElseScheme, VhdlIterScheme) X(VhdlCaseItemScheme, VhdlIterScheme) \
    X(VhdlGenerateStatement, VhdlStatement) X(VhdlIfElsifGenerateStatement, VhdlStatement) \
    X(VhdlCaseGenerateStatement, VhdlStatement) \
    X(VhdlConditionalSignalAssignment, VhdlStatement) \
    X(VhdlSelectedSignalAssignment, VhdlStatement) X(VhdlProcedureCallStatement, VhdlStatement) \
    X(VhdlAssertionStatement, VhdlStatement) X(VhdlReportStatement, VhdlStatement) \
    X(VhdlSignalAssignmentStatement, VhdlStatement) \
    X(VhdlVariableAssignmentStatement, VhdlStatement) \
    X(VhdlConditionalVariableAssignmentStatement, VhdlStatement) \
    X(VhdlSelectedVariableAssignmentStatement, VhdlStatement) \
    X(VhdlForceAssignmentStatement, VhdlStatement) \
    X(VhdlConditionalForceAssignmentStatement, VhdlStatement) \
    X(VhdlSelectedForceAssignment, VhdlStatement) \
    X(VhdlReleaseAssignmentStatement, VhdlStatement) X(VhdlWaitStatement, VhdlStatement) \
    X(VhdlElsif, VhdlTreeNode) X(VhdlIfStatement, VhdlStatement) \
    X(VhdlCaseStatementAlternative, VhdlTreeNode) X(VhdlCaseStatement, VhdlStatement) \
    X(VhdlLoopStatement, VhdlStatement) X(VhdlNextStatement, VhdlStatement) \
    X(VhdlExitStatement, VhdlStatement) X(VhdlReturnStatement, VhdlStatement) \
    X(VhdlNullStatement, VhdlStatement) \
    X(VhdlConfigurationItem, VhdlTreeNode) X(VhdlBlockConfiguration, VhdlConfigurationItem) \
    X(VhdlComponentConfiguration, VhdlConfigurationItem) \
    X(VhdlDesignUnit, VhdlTreeNode) X(VhdlPrimaryUnit, VhdlDesignUnit) \
    X(VhdlSecondaryUnit, VhdlDesignUnit) X(VhdlEntityDecl, VhdlPrimaryUnit) \
    X(VhdlPackageDecl, VhdlPrimaryUnit) X(VhdlPackageInstantiationDecl, VhdlPrimaryUnit) \
    X(VhdlConfigurationDecl, VhdlPrimaryUnit) X(VhdlContextDecl, VhdlPrimaryUnit) \
    X(VhdlArchitectureBody, VhdlSecondaryUnit) X(VhdlPackageBody, VhdlSecondaryUnit)
// clang-format on

} // namespace hdl
