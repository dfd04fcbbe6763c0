// Parse-tree nodes of Verilog/SystemVerilog. Every node knows its class code and its
// source range, and every concrete class lists its fields once (VERI_FIELDS): children
// in source order, back-links and values. The list drives the visitor's default walk,
// structural equality and deep copies, with which elaboration copies a unit or unrolls
// a generate (see hdl/base/TreeFields.h). Nodes live in the arena of the library that
// holds their design unit, child lists too, and need no destructor.
#pragma once

#include <cstdint>
#include <string_view>

#include "hdl/base/Arena.h"
#include "hdl/base/ArenaArray.h"
#include "hdl/base/ForeignUnitRef.h"
#include "hdl/base/LineFile.h"
#include "hdl/base/PackedLineFile.h"
#include "hdl/base/Symbol.h"
#include "hdl/base/TreeFields.h"
#include "hdl/sv/VeriClassIds.h"

namespace hdl {

class VeriVisitor;
class VeriIdDef;
class VeriLabelId;
class VeriModule;
class VeriLibrary;
class VeriTreeNode;
class VeriStatement;

// X(Class, Base): every concrete and abstract node class, bases before derived ones.
// clang-format off
#define HDL_VERI_NODE_CLASSES(X)                                                          \
    X(VeriExpression, VeriTreeNode) X(VeriName, VeriExpression)                          \
    X(VeriIdRef, VeriName) X(VeriIndexedId, VeriName) X(VeriIndexedMemoryId, VeriName)   \
    X(VeriSelectedName, VeriName) X(VeriScopeName, VeriName)                             \
    X(VeriConst, VeriExpression) X(VeriIntVal, VeriConst) X(VeriRealVal, VeriConst)      \
    X(VeriConstVal, VeriConst) X(VeriTimeLiteral, VeriConst)                             \
    X(VeriDollar, VeriExpression) X(VeriNull, VeriExpression)                            \
    X(VeriKeyword, VeriExpression)                                                       \
    X(VeriUnaryOperator, VeriExpression) X(VeriBinaryOperator, VeriExpression)           \
    X(VeriQuestionColon, VeriExpression) X(VeriConcat, VeriExpression)                   \
    X(VeriMultiConcat, VeriExpression) X(VeriStreamingConcat, VeriExpression)            \
    X(VeriFunctionCall, VeriExpression) X(VeriSystemFunctionCall, VeriExpression)        \
    X(VeriMinTypMaxExpr, VeriExpression) X(VeriAssignmentPattern, VeriExpression)        \
    X(VeriMultiAssignmentPattern, VeriExpression) X(VeriCast, VeriExpression)           \
    X(VeriNew, VeriExpression) X(VeriPortConnect, VeriExpression)                        \
    X(VeriPortOpen, VeriExpression) X(VeriDotStar, VeriExpression)                       \
    X(VeriEventExpression, VeriExpression) X(VeriRange, VeriExpression)                  \
    X(VeriTypeOperator, VeriExpression) X(VeriTaggedUnion, VeriExpression)               \
    X(VeriDataType, VeriExpression) X(VeriTypeRef, VeriDataType)                         \
    X(VeriConstraintSet, VeriExpression) X(VeriIfOperator, VeriExpression)               \
    X(VeriForeachOperator, VeriExpression) X(VeriSolveBefore, VeriExpression)            \
    X(VeriDistOperator, VeriExpression) X(VeriInlineConstraint, VeriExpression)          \
    X(VeriStructUnion, VeriDataType) X(VeriEnum, VeriDataType)                           \
    X(VeriNetDataType, VeriDataType)                                                     \
    X(VeriStrength, VeriTreeNode) X(VeriDelayOrEventControl, VeriTreeNode)               \
    X(VeriIdDef, VeriTreeNode) X(VeriVariable, VeriIdDef) X(VeriParamId, VeriIdDef)      \
    X(VeriGenVarId, VeriIdDef) X(VeriModuleId, VeriIdDef) X(VeriInterfaceId, VeriIdDef)  \
    X(VeriProgramId, VeriIdDef) X(VeriInstId, VeriIdDef) X(VeriFunctionId, VeriIdDef)    \
    X(VeriTaskId, VeriIdDef) X(VeriBlockId, VeriIdDef) X(VeriTypeId, VeriIdDef)          \
    X(VeriModportId, VeriIdDef) X(VeriUdpId, VeriIdDef) X(VeriLabelId, VeriIdDef)        \
    X(VeriConfigurationId, VeriIdDef) X(VeriCheckerId, VeriIdDef)                        \
    X(VeriClockingId, VeriIdDef) X(VeriPrototypeId, VeriIdDef)                           \
    X(VeriProductionId, VeriIdDef)                                                       \
    X(VeriProduction, VeriTreeNode) X(VeriProductionItem, VeriTreeNode)                  \
    X(VeriAnsiPortDecl, VeriTreeNode) X(VeriNetRegAssign, VeriTreeNode)                  \
    X(VeriDefParamAssign, VeriTreeNode) X(VeriGenerateCaseItem, VeriTreeNode)            \
    X(VeriCaseItem, VeriTreeNode)                                                        \
    X(VeriModuleItem, VeriTreeNode) X(VeriDataDecl, VeriModuleItem)                      \
    X(VeriNetDecl, VeriDataDecl) X(VeriModuleInstantiation, VeriModuleItem)              \
    X(VeriGateInstantiation, VeriModuleItem) X(VeriContinuousAssign, VeriModuleItem)     \
    X(VeriAlwaysConstruct, VeriModuleItem) X(VeriInitialConstruct, VeriModuleItem)       \
    X(VeriGenerateConstruct, VeriModuleItem) X(VeriGenerateFor, VeriModuleItem)          \
    X(VeriGenerateConditional, VeriModuleItem) X(VeriGenerateCase, VeriModuleItem)       \
    X(VeriGenerateBlock, VeriModuleItem) X(VeriFunctionDecl, VeriModuleItem)             \
    X(VeriTaskDecl, VeriFunctionDecl) X(VeriDefParam, VeriModuleItem)                      \
    X(VeriModport, VeriModuleItem) X(VeriModportDecl, VeriModuleItem)                    \
    X(VeriImportDecl, VeriModuleItem) X(VeriExportDecl, VeriModuleItem)                  \
    X(VeriSkippedItem, VeriModuleItem) X(VeriClass, VeriSkippedItem) X(VeriCovergroup, VeriSkippedItem)                       \
    X(VeriPropertyDecl, VeriSkippedItem) X(VeriSequenceDecl, VeriSkippedItem)              \
    X(VeriClockingDecl, VeriSkippedItem) X(VeriConstraintDecl, VeriModuleItem)            \
    X(VeriLetDecl, VeriSkippedItem) X(VeriSpecifyBlock, VeriSkippedItem)                   \
    X(VeriBindDirective, VeriModuleItem) X(VeriNetAlias, VeriModuleItem)                 \
    X(VeriTimeUnit, VeriModuleItem) X(VeriTable, VeriSkippedItem)                         \
    X(VeriModule, VeriModuleItem) X(VeriInterface, VeriModule) X(VeriProgram, VeriModule) \
    X(VeriPackage, VeriModule) X(VeriPrimitive, VeriModule) X(VeriChecker, VeriModule)   \
    X(VeriConfiguration, VeriModule) X(VeriConfigRule, VeriModuleItem)                   \
    X(VeriDefaultConfig, VeriConfigRule) X(VeriInstanceConfig, VeriConfigRule)           \
    X(VeriCellConfig, VeriConfigRule) X(VeriUseClause, VeriTreeNode)                     \
    X(VeriStatement, VeriModuleItem) X(VeriSeqBlock, VeriStatement)                      \
    X(VeriParBlock, VeriSeqBlock) X(VeriCodeBlock, VeriSeqBlock)                         \
    X(VeriRandsequence, VeriStatement) X(VeriBlockingAssign, VeriStatement)              \
    X(VeriNonBlockingAssign, VeriStatement) X(VeriConditionalStatement, VeriStatement)   \
    X(VeriCaseStatement, VeriStatement) X(VeriFor, VeriStatement)                        \
    X(VeriWhile, VeriStatement) X(VeriDoWhile, VeriWhile) X(VeriRepeat, VeriStatement) \
    X(VeriForever, VeriStatement) X(VeriForeach, VeriStatement)                          \
    X(VeriEventControlStatement, VeriStatement) X(VeriDelayControlStatement, VeriStatement) \
    X(VeriTaskEnable, VeriStatement) X(VeriSystemTaskEnable, VeriStatement)              \
    X(VeriJumpStatement, VeriStatement) X(VeriNullStatement, VeriStatement)              \
    X(VeriWait, VeriStatement) X(VeriDisable, VeriStatement)                             \
    X(VeriEventTrigger, VeriStatement) X(VeriAssign, VeriStatement)                      \
    X(VeriDeAssign, VeriStatement) X(VeriForce, VeriAssign)                           \
    X(VeriRelease, VeriDeAssign) X(VeriAssertion, VeriStatement)
// clang-format on

// Declarations visible in one region (unit, generate block, subprogram, named block).
// Lookup goes outward through `upper`, then through wildcard imports of each region.
// A scope lives in the arena with its tree: its declarations in an array that doubles
// as it fills, and, past a few, a hash index of them; a small scope is scanned.
class VeriScope {
public:
    VeriScope(VeriScope* upper, VeriTreeNode* owner) : upper_(upper), owner_(owner) {}
    // False when the name was already declared here (the first declaration stays).
    bool declare(Arena& arena, VeriIdDef* id);
    VeriIdDef* findLocal(Symbol name) const;
    VeriIdDef* findLocal(std::string_view name) const { return findLocal(Symbol::Find(name)); }
    VeriScope* Upper() const { return upper_; }
    VeriTreeNode* Owner() const { return owner_; }
    struct Import {
        VeriModule* package;
        Symbol item; // empty for `pkg::*`
        Import* next;
    };
    void addImport(Arena& arena, VeriModule* package, Symbol item);
    // The imports in order, as a list linked through `next`.
    const Import* imports() const { return imports_; }
    // Declarations in order of declaration.
    uint32_t DeclarationCount() const { return count_; }
    VeriIdDef* Declaration(uint32_t i) const { return i < count_ ? ids_[i] : nullptr; }
    VeriModule* GetContainingModule() const;

private:
    friend struct tree::CustomField<VeriScope*>;
    static uint32_t capacity(uint32_t count);
    void index(uint32_t at, uint32_t mask);

    VeriScope* upper_;
    VeriTreeNode* owner_;
    VeriIdDef** ids_ = nullptr;
    uint32_t* index_ = nullptr; // open addressing over ids_, positions + 1; null while scanned
    Import* imports_ = nullptr;
    uint32_t count_ = 0;
};

// (* name = value *) attached to a node.
struct VeriAttribute {
    Symbol name;
    class VeriExpression* value = nullptr;
};

// What few nodes have, kept apart so that the others do not pay for it.
struct VeriNodeExtras {
    ArenaArray<VeriAttribute> attributes;
    ArenaArray<unsigned> qualifiers; // written in front of an item: static, virtual, local, rand...
    VeriLabelId* label = nullptr; // `name:` in front of a statement; a child
};

// A node marks in its position that it has extras; they are kept in a table by node
// that lasts as long as the process (as the trees do). A copy gets extras of its own.
// The label is a child and walked first; an attribute's value is a child that is
// compared and copied but not walked: attributes describe the node rather than being
// part of the design.
struct VeriTreeTraits {
    using Node = VeriTreeNode;
    using Visitor = VeriVisitor;
    static void Traverse(VeriVisitor& v, VeriTreeNode* node);
    static void WalkExtras(VeriVisitor& v, const VeriTreeNode& node);
    static bool EqualExtras(const VeriTreeNode& a, const VeriTreeNode& b);
    static void CloneExtras(TreeCopier& c, const VeriTreeNode& original, VeriTreeNode& copy);
    static void RemapExtras(TreeCopier& c, VeriTreeNode& node);
    // For copies made other than by the copier: a node's extras (none: all empty), the
    // extras of a node that is marked as having some, and forgetting a node's.
    static VeriNodeExtras ExtrasOf(const VeriTreeNode& node);
    static void SetExtras(const VeriTreeNode& node, const VeriNodeExtras& extras);
    static void ForgetExtras(const VeriTreeNode& node);
};

// Nodes live in an arena and have no destructor to run: every field is a plain value, a
// pointer or an arena list.
class VeriTreeNode {
public:
    virtual uint32_t GetClassId() const { return ID_VERITREENODE; }
    virtual void Accept(VeriVisitor& v);
    // Visits the children in source order.
    virtual void VisitChildren(VeriVisitor& v) = 0;
    // The class is checked by the caller; compares the fields, positions aside.
    virtual bool EqualFields(const VeriTreeNode& other) const = 0;
    // The two passes of a copy (hdl/base/TreeCopier.h).
    virtual VeriTreeNode* CloneNode(TreeCopier& copier) const = 0;
    virtual void RemapLinks(TreeCopier& copier) = 0;

    ColLineFile Linefile() const { return loc.Unpack(); }
    void SetLinefile(const ColLineFile& where) { loc.Set(where); }
    ArenaArray<VeriAttribute> GetAttributes() const;
    void SetAttributes(ArenaArray<VeriAttribute> attributes);
    // Same structure: same classes, fields and children, positions aside; back-links
    // count only as set or not set.
    bool IsEqual(const VeriTreeNode* other) const { return tree::NodesEqual(this, other); }
    // A deep copy into `arena` that shares nothing with this subtree: back-links into the
    // subtree point into the copy, back-links out of it stay. With a copier, the caller
    // keeps the map from originals to copies (and may copy several roots with one map).
    VeriTreeNode* Copy(Arena& arena) const;
    VeriTreeNode* Copy(TreeCopier& copier) const { return tree::CopyTree(copier, this); }

    PackedLineFile loc; // marked when the node has extras

    // Forgets what the trees keep outside their nodes (extras, wide positions, names),
    // once no tree is left.
    static void ForgetAllTrees();

protected:
    friend struct VeriTreeTraits;
    const VeriNodeExtras* Extras() const;
    VeriNodeExtras& MutableExtras();
};

namespace tree {
// A scope is rebuilt for a copy: declarations, imports and the scope above point at
// their copies where those were copied too. Scopes are derived data: not walked, not
// compared.
template <>
struct CustomField<VeriScope*> : std::true_type {
    static void Walk(VeriVisitor&, VeriScope*) {}
    static bool Equal(const VeriScope*, const VeriScope*) { return true; }
    static void Clone(TreeCopier& c, VeriScope*& scope);
    static void Remap(TreeCopier& c, VeriScope*& scope);
};

} // namespace tree

// Inside a concrete node class: its class code, and its fields (children, back-links
// and values, children in source order) for walking, comparing and copying. Members
// are declared small ones first: the first 4 bytes of a class go into the room that
// the base leaves before the next 8-byte boundary.
// clang-format off
#define HDL_VERI_NODE(cls, code)                                          \
public:                                                                   \
    using SelfType = cls;                                                 \
    static constexpr uint32_t kClassId = ID_VERI##code;                   \
    uint32_t GetClassId() const override { return kClassId; }            \
    void Accept(VeriVisitor& v) override
// clang-format on
#define VERI_FIELDS(...) HDL_TREE_FIELDS(VeriTreeTraits, __VA_ARGS__)

// ---------------------------------------------------------------- expressions

class VeriExpression : public VeriTreeNode {
public:
    // The declaration an expression names, when it is a resolved name.
    virtual VeriIdDef* GetId() const { return nullptr; }
    virtual std::string_view GetName() const { return {}; }
};

class VeriName : public VeriExpression {};

class VeriIdRef : public VeriName {
public:
    HDL_VERI_NODE(VeriIdRef, IDREF);
    VERI_FIELDS(name, HDL_LINK(id))
    VeriIdDef* GetId() const override { return id; }
    std::string_view GetName() const override { return name; }
    Symbol name;
    VeriIdDef* id = nullptr;
};

// prefix[index] (one index, or a part select as a VeriRange).
class VeriIndexedId : public VeriName {
public:
    HDL_VERI_NODE(VeriIndexedId, INDEXEDID);
    VERI_FIELDS(prefix, index)
    VeriIdDef* GetId() const override { return prefix ? prefix->GetId() : nullptr; }
    std::string_view GetName() const override { return prefix ? prefix->GetName() : std::string_view(); }
    VeriExpression* GetPrefix() const { return prefix; }
    VeriExpression* GetIndexExpr() const { return index; }
    VeriExpression* prefix = nullptr;
    VeriExpression* index = nullptr;
};

// prefix[i][j]... with more than one index.
class VeriIndexedMemoryId : public VeriName {
public:
    HDL_VERI_NODE(VeriIndexedMemoryId, INDEXEDMEMORYID);
    VERI_FIELDS(prefix, indexes)
    VeriIdDef* GetId() const override { return prefix ? prefix->GetId() : nullptr; }
    std::string_view GetName() const override { return prefix ? prefix->GetName() : std::string_view(); }
    VeriExpression* prefix = nullptr;
    ArenaArray<VeriExpression*> indexes;
};

// prefix.suffix: hierarchical reference, struct member or interface item. The prefix is
// resolved where it names a local declaration; the suffix is left for elaboration.
class VeriSelectedName : public VeriName {
public:
    HDL_VERI_NODE(VeriSelectedName, SELECTEDNAME);
    VERI_FIELDS(prefix, suffix, HDL_LINK(id))
    VeriIdDef* GetId() const override { return id; }
    std::string_view GetName() const override { return suffix; }
    VeriExpression* GetPrefix() const { return prefix; }
    std::string_view GetSuffix() const { return suffix; }
    Symbol suffix;
    VeriExpression* prefix = nullptr;
    VeriIdDef* id = nullptr; // the suffix's declaration when the prefix is a package
};

// scope::name (package or class scope).
class VeriScopeName : public VeriName {
public:
    HDL_VERI_NODE(VeriScopeName, SCOPENAME);
    VERI_FIELDS(prefix, paramValues, name, HDL_LINK(id))
    VeriIdDef* GetId() const override { return id; }
    std::string_view GetName() const override { return name; }
    Symbol name;
    VeriExpression* prefix = nullptr; // the scope (a VeriIdRef, maybe with parameters)
    ArenaArray<VeriExpression*> paramValues; // C#(...)::name
    VeriIdDef* id = nullptr;
};

class VeriConst : public VeriExpression {};

class VeriIntVal : public VeriConst {
public:
    HDL_VERI_NODE(VeriIntVal, INTVAL);
    VERI_FIELDS(value)
    int64_t value = 0;
};

class VeriRealVal : public VeriConst {
public:
    HDL_VERI_NODE(VeriRealVal, REALVAL);
    VERI_FIELDS(value)
    double value = 0;
};

// Based numbers, unbased '0/'1/'x/'z and strings, kept as written.
class VeriConstVal : public VeriConst {
public:
    HDL_VERI_NODE(VeriConstVal, CONSTVAL);
    VERI_FIELDS(text, size, isSigned, isString, isUnbased)
    bool IsString() const { return isString; }
    Symbol text;
    uint32_t size = 0; // 0 when unsized
    bool isSigned = false;
    bool isString = false;
    bool isUnbased = false;
};

class VeriTimeLiteral : public VeriConst {
public:
    HDL_VERI_NODE(VeriTimeLiteral, TIMELITERAL);
    VERI_FIELDS(text)
    Symbol text;
};

class VeriDollar : public VeriExpression {
public:
    HDL_VERI_NODE(VeriDollar, DOLLAR);
    VERI_FIELDS()
};

class VeriNull : public VeriExpression {
public:
    HDL_VERI_NODE(VeriNull, NULL);
    VERI_FIELDS()
};

// A keyword used as an expression: this, super, default, `type` keywords in patterns.
class VeriKeyword : public VeriExpression {
public:
    HDL_VERI_NODE(VeriKeyword, KEYWORD);
    VERI_FIELDS(token)
    unsigned token = 0;
};

class VeriUnaryOperator : public VeriExpression {
public:
    HDL_VERI_NODE(VeriUnaryOperator, UNARYOPERATOR);
    VERI_FIELDS(oper, postfix, arg)
    unsigned oper = 0;
    bool postfix = false; // x++ / x--
    VeriExpression* arg = nullptr;
};

class VeriBinaryOperator : public VeriExpression {
public:
    HDL_VERI_NODE(VeriBinaryOperator, BINARYOPERATOR);
    VERI_FIELDS(oper, left, right)
    unsigned oper = 0;
    VeriExpression* left = nullptr;
    VeriExpression* right = nullptr; // for `inside` and `dist` a VeriConcat of the items
};

class VeriQuestionColon : public VeriExpression {
public:
    HDL_VERI_NODE(VeriQuestionColon, QUESTIONCOLON);
    VERI_FIELDS(cond, thenExpr, elseExpr)
    VeriExpression* cond = nullptr;
    VeriExpression* thenExpr = nullptr;
    VeriExpression* elseExpr = nullptr;
};

class VeriConcat : public VeriExpression {
public:
    HDL_VERI_NODE(VeriConcat, CONCAT);
    VERI_FIELDS(exprs)
    ArenaArray<VeriExpression*> exprs;
};

class VeriMultiConcat : public VeriExpression {
public:
    HDL_VERI_NODE(VeriMultiConcat, MULTICONCAT);
    VERI_FIELDS(repeat, exprs)
    VeriExpression* repeat = nullptr;
    ArenaArray<VeriExpression*> exprs;
};

// {<< size {exprs}} / {>> {exprs}}
class VeriStreamingConcat : public VeriExpression {
public:
    HDL_VERI_NODE(VeriStreamingConcat, STREAMINGCONCAT);
    VERI_FIELDS(oper, sliceSize, exprs)
    unsigned oper = 0; // <<, >>
    VeriExpression* sliceSize = nullptr;
    ArenaArray<VeriExpression*> exprs;
};

class VeriFunctionCall : public VeriExpression {
public:
    HDL_VERI_NODE(VeriFunctionCall, FUNCTIONCALL);
    VERI_FIELDS(func, args, with)
    VeriIdDef* GetId() const override { return func ? func->GetId() : nullptr; }
    std::string_view GetName() const override { return func ? func->GetName() : std::string_view(); }
    VeriExpression* func = nullptr;
    ArenaArray<VeriExpression*> args;
    VeriExpression* with = nullptr; // array method `with (expr)` or randomize `with {...}`
};

class VeriSystemFunctionCall : public VeriExpression {
public:
    HDL_VERI_NODE(VeriSystemFunctionCall, SYSTEMFUNCTIONCALL);
    VERI_FIELDS(name, args)
    std::string_view GetName() const override { return name; }
    Symbol name; // with the '$'
    ArenaArray<VeriExpression*> args;
};

class VeriMinTypMaxExpr : public VeriExpression {
public:
    HDL_VERI_NODE(VeriMinTypMaxExpr, MINTYPMAXEXPR);
    VERI_FIELDS(minExpr, typExpr, maxExpr)
    VeriExpression* minExpr = nullptr;
    VeriExpression* typExpr = nullptr;
    VeriExpression* maxExpr = nullptr;
};

// [type]'{a, b, key: value, default: value}
class VeriAssignmentPattern : public VeriExpression {
public:
    HDL_VERI_NODE(VeriAssignmentPattern, ASSIGNMENTPATTERN);
    VERI_FIELDS(type, exprs)
    VeriExpression* type = nullptr;
    ArenaArray<VeriExpression*>
        exprs; // keyed items are VeriPortConnect-free pairs: key: value as VeriBinaryOperator(COLON)
};

// '{n{a, b}}
class VeriMultiAssignmentPattern : public VeriExpression {
public:
    HDL_VERI_NODE(VeriMultiAssignmentPattern, MULTIASSIGNMENTPATTERN);
    VERI_FIELDS(type, repeat, exprs)
    VeriExpression* type = nullptr;
    VeriExpression* repeat = nullptr;
    ArenaArray<VeriExpression*> exprs;
};

// type'(expr), size'(expr), signed'(expr)
class VeriCast : public VeriExpression {
public:
    HDL_VERI_NODE(VeriCast, CAST);
    VERI_FIELDS(target, expr)
    VeriExpression* target = nullptr;
    VeriExpression* expr = nullptr;
};

class VeriNew : public VeriExpression {
public:
    HDL_VERI_NODE(VeriNew, NEW);
    VERI_FIELDS(size, args)
    VeriExpression* size = nullptr; // new [size]
    ArenaArray<VeriExpression*> args;
};

// .name(expr) in port and parameter lists, and key: value items.
class VeriPortConnect : public VeriExpression {
public:
    HDL_VERI_NODE(VeriPortConnect, PORTCONNECT);
    VERI_FIELDS(portName, connection, implicit)
    std::string_view GetName() const override { return portName; }
    std::string_view GetNamedFormal() const { return portName; }
    VeriExpression* GetConnection() const { return connection; }
    Symbol portName;
    VeriExpression* connection = nullptr; // null for `.name()`; a VeriIdRef of the name for `.name`
    bool implicit = false; // `.name` without parentheses
};

class VeriPortOpen : public VeriExpression {
public:
    HDL_VERI_NODE(VeriPortOpen, PORTOPEN);
    VERI_FIELDS()
};

class VeriDotStar : public VeriExpression {
public:
    HDL_VERI_NODE(VeriDotStar, DOTSTAR);
    VERI_FIELDS()
};

// [posedge|negedge|edge] expr [iff cond]
class VeriEventExpression : public VeriExpression {
public:
    HDL_VERI_NODE(VeriEventExpression, EVENTEXPRESSION);
    VERI_FIELDS(edge, expr, iffCond)
    unsigned edge = 0;
    VeriExpression* expr = nullptr;
    VeriExpression* iffCond = nullptr;
};

// [left:right], [left+:width], [left-:width], [size], [$], [*], [type] (associative).
class VeriRange : public VeriExpression {
public:
    HDL_VERI_NODE(VeriRange, RANGE);
    VERI_FIELDS(left, right, partSelect, unsizedDim, next)
    VeriExpression* GetLeft() const { return left; }
    VeriExpression* GetRight() const { return right; }
    unsigned GetPartSelectToken() const { return partSelect; }
    VeriRange* GetNext() const { return next; }
    uint16_t partSelect = 0; // 0, VT_COLON, VT_PLUS_COLON, VT_MINUS_COLON
    bool unsizedDim = false; // [] or [*]
    VeriExpression* left = nullptr;
    VeriExpression* right = nullptr; // null for a single size or index
    VeriRange* next = nullptr; // the next dimension
};

// type(expr) or type(data_type)
class VeriTypeOperator : public VeriExpression {
public:
    HDL_VERI_NODE(VeriTypeOperator, TYPEOPERATOR);
    VERI_FIELDS(arg)
    VeriExpression* arg = nullptr;
};

// tagged Member [expr]
class VeriTaggedUnion : public VeriExpression {
public:
    HDL_VERI_NODE(VeriTaggedUnion, TAGGEDUNION);
    VERI_FIELDS(member, expr)
    Symbol member;
    VeriExpression* expr = nullptr;
};

// A built-in data type: base type keyword (0 for implicit), signing and packed dimensions.
class VeriDataType : public VeriExpression {
public:
    HDL_VERI_NODE(VeriDataType, DATATYPE);
    VERI_FIELDS(type, signing, dimensions)
    unsigned GetType() const { return type; }
    unsigned GetSigning() const { return signing; }
    VeriRange* GetDimensions() const { return dimensions; }
    uint16_t type = 0;
    uint16_t signing = 0;
    VeriRange* dimensions = nullptr;
};

// A named type: typedef name, pkg::type, interface port type (intf.modport), class type.
class VeriTypeRef : public VeriDataType {
public:
    HDL_VERI_NODE(VeriTypeRef, TYPEREF);
    VERI_FIELDS(type, signing, typeName, paramValues, virtualInterface, dimensions)
    VeriIdDef* GetId() const override { return typeName ? typeName->GetId() : nullptr; }
    std::string_view GetName() const override { return typeName ? typeName->GetName() : std::string_view(); }
    VeriExpression* typeName = nullptr;
    ArenaArray<VeriExpression*> paramValues; // class#(...)
    bool virtualInterface = false; // virtual [interface] name
};

class VeriStructUnion : public VeriDataType {
public:
    HDL_VERI_NODE(VeriStructUnion, STRUCTUNION);
    VERI_FIELDS(type, signing, packed, tagged, members, dimensions, scope)
    // type is VT_STRUCT or VT_UNION
    bool packed = false;
    bool tagged = false;
    ArenaArray<class VeriDataDecl*> members;
    VeriScope* scope = nullptr;
};

class VeriEnum : public VeriDataType {
public:
    HDL_VERI_NODE(VeriEnum, ENUM);
    VERI_FIELDS(type, signing, baseType, literals, dimensions)
    VeriDataType* baseType = nullptr;
    ArenaArray<class VeriParamId*> literals;
};

// A net type with a data type: `wire logic [3:0]`.
class VeriNetDataType : public VeriDataType {
public:
    HDL_VERI_NODE(VeriNetDataType, NETDATATYPE);
    VERI_FIELDS(type, signing, dataType, dimensions)
    VeriDataType* dataType = nullptr;
};

// ---------------------------------------------------------------- constraints
// The items of a constraint block are expressions: a plain one (`a < b`, `x dist {...}`,
// `x inside {...}`, `a -> b` with an expression on the right), `soft c`, `unique {...}`
// and `disable soft x` (a VeriUnaryOperator of VT_SOFT, VT_UNIQUE or VT_DISABLE), and
// the nodes below. Each item that is no set, `if`, `foreach` or implication into a set
// ends in `;`.

// { constraint ... }: the body of `if`, `foreach` and an implication when braced.
class VeriConstraintSet : public VeriExpression {
public:
    HDL_VERI_NODE(VeriConstraintSet, CONSTRAINTSET);
    VERI_FIELDS(constraints)
    ArenaArray<VeriExpression*> constraints;
};

// if (cond) constraint [else constraint]
class VeriIfOperator : public VeriExpression {
public:
    HDL_VERI_NODE(VeriIfOperator, IFOPERATOR);
    VERI_FIELDS(cond, thenExpr, elseExpr)
    VeriExpression* cond = nullptr;
    VeriExpression* thenExpr = nullptr;
    VeriExpression* elseExpr = nullptr;
};

// foreach (array[i, j]) constraint; the loop variables live in the loop's scope.
class VeriForeachOperator : public VeriExpression {
public:
    HDL_VERI_NODE(VeriForeachOperator, FOREACHOPERATOR);
    VERI_FIELDS(array, loopVars, constraint, scope)
    VeriExpression* array = nullptr;
    ArenaArray<VeriIdDef*> loopVars; // null entries for skipped positions
    VeriExpression* constraint = nullptr;
    VeriScope* scope = nullptr;
};

// solve a, b before c, d
class VeriSolveBefore : public VeriExpression {
public:
    HDL_VERI_NODE(VeriSolveBefore, SOLVEBEFORE);
    VERI_FIELDS(solved, before)
    ArenaArray<VeriExpression*> solved;
    ArenaArray<VeriExpression*> before;
};

// An item of a dist list with its weight: value := w (each value) or [lo:hi] :/ w (the
// range shares it).
class VeriDistOperator : public VeriExpression {
public:
    HDL_VERI_NODE(VeriDistOperator, DISTOPERATOR);
    VERI_FIELDS(oper, expr, weight)
    unsigned oper = 0; // VT_COLON_EQ, VT_COLON_SLASH
    VeriExpression* expr = nullptr;
    VeriExpression* weight = nullptr;
};

// randomize(...) with [(names)] { constraints }: the constraints of one call. Their names
// are looked up in the randomized object first, which analysis does not know.
class VeriInlineConstraint : public VeriExpression {
public:
    HDL_VERI_NODE(VeriInlineConstraint, INLINECONSTRAINT);
    VERI_FIELDS(restricted, names, constraints)
    bool restricted = false; // a (possibly empty) name list is written
    ArenaArray<VeriExpression*> names;
    ArenaArray<VeriExpression*> constraints;
};

class VeriStrength : public VeriTreeNode {
public:
    HDL_VERI_NODE(VeriStrength, STRENGTH);
    VERI_FIELDS(lval, rval)
    unsigned lval = 0;
    unsigned rval = 0;
};

// #delay, #(d1, d2, d3), @(event), @*, ##n, repeat(n) @(event)
class VeriDelayOrEventControl : public VeriTreeNode {
public:
    HDL_VERI_NODE(VeriDelayOrEventControl, DELAYOREVENTCONTROL);
    VERI_FIELDS(repeat, delays, events, implicitEvent, cycleDelay)
    bool implicitEvent = false; // @* / @(*)
    bool cycleDelay = false;
    ArenaArray<VeriExpression*> delays;
    ArenaArray<VeriExpression*> events;
    VeriExpression* repeat = nullptr;
};

// ---------------------------------------------------------------- identifiers

class VeriIdDef : public VeriTreeNode {
public:
    std::string_view Name() const { return name; }
    std::string_view GetName() const { return name; }
    virtual bool IsPort() const { return false; }
    virtual unsigned GetDir() const { return 0; }
    virtual VeriDataType* GetDataType() const { return nullptr; }
    virtual VeriRange* GetDimensions() const { return nullptr; }
    virtual VeriExpression* GetInitialValue() const { return nullptr; }
    virtual bool IsType() const { return false; }
    virtual bool IsParam() const { return false; }
    // Set by elaboration on identifiers it creates when unrolling generates.
    bool IsGenerateElabCreated() const { return generateElabCreated; }
    // The scope this identifier opens (units, blocks, subprograms), if any.
    VeriScope* LocalScope() const { return scope; }
    // The node that declares this identifier (unit, block, declaration, instantiation).
    Symbol name;
    VeriTreeNode* declaration = nullptr;
    VeriScope* scope = nullptr;
    bool generateElabCreated = false;
};

// Nets, variables, ports (with or without data declaration), struct members, events.
class VeriVariable : public VeriIdDef {
public:
    HDL_VERI_NODE(VeriVariable, VARIABLE);
    VERI_FIELDS(name, dir, HDL_LINK(dataType), dimensions, initialValue, interfacePort, HDL_LINK(declaration),
                HDL_LINK(scope), generateElabCreated)
    bool IsPort() const override { return dir != 0; }
    unsigned GetDir() const override { return dir; }
    VeriDataType* GetDataType() const override { return dataType; }
    VeriRange* GetDimensions() const override { return dimensions; }
    VeriExpression* GetInitialValue() const override { return initialValue; }
    bool IsInterfacePort() const { return interfacePort; }
    unsigned dir = 0; // VT_INPUT, VT_OUTPUT, VT_INOUT, VT_REF
    VeriDataType* dataType = nullptr; // shared with the declaration; not a child
    VeriRange* dimensions = nullptr; // unpacked dimensions
    VeriExpression* initialValue = nullptr;
    bool interfacePort = false;
};

// parameter, localparam, specparam, type parameter, enum literal.
class VeriParamId : public VeriIdDef {
public:
    HDL_VERI_NODE(VeriParamId, PARAMID);
    VERI_FIELDS(name, HDL_LINK(dataType), dimensions, initialValue, paramType, isType, enumLiteral,
                HDL_LINK(declaration), HDL_LINK(scope), generateElabCreated)
    bool IsParam() const override { return true; }
    bool IsType() const override { return isType; }
    VeriDataType* GetDataType() const override { return dataType; }
    VeriRange* GetDimensions() const override { return dimensions; }
    VeriExpression* GetInitialValue() const override { return initialValue; }
    unsigned GetParamType() const { return paramType; }
    VeriDataType* dataType = nullptr; // shared with the declaration; not a child
    VeriRange* dimensions = nullptr;
    VeriExpression* initialValue = nullptr; // for a type parameter the default type
    unsigned paramType = 0; // VT_PARAMETER, VT_LOCALPARAM, VT_SPECPARAM
    bool isType = false;
    bool enumLiteral = false;
};

// clang-format off
#define HDL_VERI_SIMPLE_ID(cls, code)     \
    class cls : public VeriIdDef {       \
    public:                              \
        HDL_VERI_NODE(cls, code);        \
        VERI_FIELDS(name, HDL_LINK(declaration), HDL_LINK(scope), generateElabCreated) \
    };
// clang-format on
HDL_VERI_SIMPLE_ID(VeriGenVarId, GENVARID)
HDL_VERI_SIMPLE_ID(VeriModuleId, MODULEID)
HDL_VERI_SIMPLE_ID(VeriInterfaceId, INTERFACEID)
HDL_VERI_SIMPLE_ID(VeriProgramId, PROGRAMID)
HDL_VERI_SIMPLE_ID(VeriFunctionId, FUNCTIONID)
HDL_VERI_SIMPLE_ID(VeriTaskId, TASKID)
HDL_VERI_SIMPLE_ID(VeriBlockId, BLOCKID)
HDL_VERI_SIMPLE_ID(VeriModportId, MODPORTID)
HDL_VERI_SIMPLE_ID(VeriUdpId, UDPID)
HDL_VERI_SIMPLE_ID(VeriLabelId, LABELID)
HDL_VERI_SIMPLE_ID(VeriConfigurationId, CONFIGURATIONID)
HDL_VERI_SIMPLE_ID(VeriCheckerId, CHECKERID)
HDL_VERI_SIMPLE_ID(VeriClockingId, CLOCKINGID)
HDL_VERI_SIMPLE_ID(VeriProductionId, PRODUCTIONID)
#undef HDL_VERI_SIMPLE_ID

// One instance of a module/interface/program/gate instantiation.
class VeriInstId : public VeriIdDef {
public:
    HDL_VERI_NODE(VeriInstId, INSTID);
    VERI_FIELDS(name, dimensions, portConnects, HDL_LINK(declaration), HDL_LINK(scope), generateElabCreated)
    VeriRange* GetDimensions() const override { return dimensions; }
    const ArenaArray<VeriExpression*>& GetPortConnects() const { return portConnects; }
    VeriRange* dimensions = nullptr;
    ArenaArray<VeriExpression*> portConnects;
};

// A typedef name (forward typedefs too).
class VeriTypeId : public VeriIdDef {
public:
    HDL_VERI_NODE(VeriTypeId, TYPEID);
    VERI_FIELDS(name, HDL_LINK(dataType), dimensions, HDL_LINK(declaration), HDL_LINK(scope), generateElabCreated)
    bool IsType() const override { return true; }
    VeriDataType* GetDataType() const override { return dataType; }
    VeriRange* GetDimensions() const override { return dimensions; }
    VeriDataType* dataType = nullptr; // shared with the declaration; not a child
    VeriRange* dimensions = nullptr; // unpacked dimensions: typedef t name [N];
};

// A port of a modport: direction and name, or an expression port .name(expr).
class VeriPrototypeId : public VeriIdDef {
public:
    HDL_VERI_NODE(VeriPrototypeId, PROTOTYPEID);
    VERI_FIELDS(dir, name, expr, HDL_LINK(declaration), HDL_LINK(scope), generateElabCreated)
    bool IsPort() const override { return true; }
    unsigned GetDir() const override { return dir; }
    unsigned dir = 0; // direction, or VT_IMPORT/VT_EXPORT for subprogram ports, VT_CLOCKING
    VeriExpression* expr = nullptr;
};

// ---------------------------------------------------------------- items

// A port declaration in an ANSI header: direction, kind, data type, identifiers.
class VeriAnsiPortDecl : public VeriTreeNode {
public:
    HDL_VERI_NODE(VeriAnsiPortDecl, ANSIPORTDECL);
    VERI_FIELDS(dir, kind, dataType, ids, interfacePort, modport)
    unsigned GetDir() const { return dir; }
    unsigned GetKind() const { return kind; }
    VeriDataType* GetDataType() const { return dataType; }
    const ArenaArray<VeriIdDef*>& GetIds() const { return ids; }
    unsigned dir = 0;
    unsigned kind = 0; // net type or VT_VAR/VT_REG, 0 when not written
    VeriDataType* dataType = nullptr;
    ArenaArray<VeriIdDef*> ids;
    bool interfacePort = false; // interface port (generic when dataType names `interface`)
    Symbol modport; // intf.modport
};

class VeriNetRegAssign : public VeriTreeNode {
public:
    HDL_VERI_NODE(VeriNetRegAssign, NETREGASSIGN);
    VERI_FIELDS(lval, rval)
    VeriExpression* GetLValExpr() const { return lval; }
    VeriExpression* GetRValExpr() const { return rval; }
    VeriExpression* lval = nullptr;
    VeriExpression* rval = nullptr;
};

class VeriDefParamAssign : public VeriTreeNode {
public:
    HDL_VERI_NODE(VeriDefParamAssign, DEFPARAMASSIGN);
    VERI_FIELDS(lval, rval)
    VeriExpression* lval = nullptr;
    VeriExpression* rval = nullptr;
};

class VeriModuleItem : public VeriTreeNode {
public:
    // Qualifiers written in front (static, virtual, local, rand, ...).
    ArenaArray<unsigned> GetQualifiers() const;
    void SetQualifiers(ArenaArray<unsigned> qualifiers);
};

// Variables, parameters, genvars, typedefs, non-ANSI port declarations.
class VeriDataDecl : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriDataDecl, DATADECL);
    VERI_FIELDS(dir, kind, dataType, ids)
    unsigned GetDir() const { return dir; }
    unsigned GetDeclType() const { return kind; }
    VeriDataType* GetDataType() const { return dataType; }
    const ArenaArray<VeriIdDef*>& GetIds() const { return ids; }
    bool IsTypedef() const;
    unsigned dir = 0;
    // VT_REG, VT_VAR, VT_PARAMETER, VT_LOCALPARAM, VT_SPECPARAM, VT_GENVAR, VT_TYPEDEF,
    // VT_CONST, VT_EVENT, a net type for port declarations with one; 0 otherwise
    unsigned kind = 0;
    VeriDataType* dataType = nullptr;
    ArenaArray<VeriIdDef*> ids;
};

class VeriNetDecl : public VeriDataDecl {
public:
    HDL_VERI_NODE(VeriNetDecl, NETDECL);
    VERI_FIELDS(dir, kind, strength, dataType, delays, ids, vectoring)
    unsigned GetNetType() const { return kind; }
    VeriStrength* GetStrength() const { return strength; }
    VeriStrength* strength = nullptr;
    ArenaArray<VeriExpression*> delays;
    unsigned vectoring = 0; // VT_VECTORED / VT_SCALARED
};

class VeriModuleInstantiation : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriModuleInstantiation, MODULEINSTANTIATION);
    VERI_FIELDS(moduleName, strength, paramValues, instances, HDL_LINK(module), uselib)
    std::string_view GetModuleName() const { return moduleName ? moduleName->GetName() : std::string_view(); }
    VeriExpression* GetModuleNameRef() const { return moduleName; }
    const ArenaArray<VeriExpression*>& GetParamValues() const { return paramValues; }
    const ArenaArray<VeriInstId*>& GetInstances() const { return instances; }
    // Resolved unit, set when the instantiated unit was known at analysis.
    VeriModule* GetInstantiatedModule() const { return module; }
    // Set by elaboration when a VHDL entity answered the instance: the copy it used.
    const ForeignUnitRef& GetForeignUnit() const { return foreignUnit; }
    VeriExpression* moduleName = nullptr; // VeriIdRef, or VeriScopeName for lib.cell
    VeriStrength* strength = nullptr;
    ArenaArray<VeriExpression*> paramValues;
    ArenaArray<VeriInstId*> instances;
    VeriModule* module = nullptr;
    // The `uselib directives in force where it stands (`lib=L`, `file=F`, `dir=D
    // libext=.v`, several separated by blanks), empty when none: they choose the module.
    std::string_view uselib;
    ForeignUnitRef foreignUnit;
};

class VeriGateInstantiation : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriGateInstantiation, GATEINSTANTIATION);
    VERI_FIELDS(gate, strength, delays, instances)
    unsigned GetInstType() const { return gate; }
    unsigned gate = 0;
    VeriStrength* strength = nullptr;
    ArenaArray<VeriExpression*> delays;
    ArenaArray<VeriInstId*> instances;
};

class VeriContinuousAssign : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriContinuousAssign, CONTINUOUSASSIGN);
    VERI_FIELDS(strength, delay, assigns)
    VeriStrength* strength = nullptr;
    VeriDelayOrEventControl* delay = nullptr;
    ArenaArray<VeriNetRegAssign*> assigns;
};

// always, always_comb, always_ff, always_latch
class VeriAlwaysConstruct : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriAlwaysConstruct, ALWAYSCONSTRUCT);
    VERI_FIELDS(kind, stmt)
    unsigned kind = 0;
    VeriStatement* stmt = nullptr;
};

// initial, and final (isFinal)
class VeriInitialConstruct : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriInitialConstruct, INITIALCONSTRUCT);
    VERI_FIELDS(isFinal, stmt)
    bool isFinal = false;
    VeriStatement* stmt = nullptr;
};

// generate ... endgenerate
class VeriGenerateConstruct : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriGenerateConstruct, GENERATECONSTRUCT);
    VERI_FIELDS(items)
    const ArenaArray<VeriModuleItem*>& GetItems() const { return items; }
    ArenaArray<VeriModuleItem*> items;
};

// for (init; cond; rep) item. The item is usually a VeriGenerateBlock.
class VeriGenerateFor : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriGenerateFor, GENERATEFOR);
    VERI_FIELDS(genvarDecl, init, cond, rep, item, scope)
    VeriDataDecl* genvarDecl = nullptr; // for (genvar i = ...)
    VeriStatement* init = nullptr; // the initial assignment
    VeriExpression* cond = nullptr;
    VeriStatement* rep = nullptr;
    VeriModuleItem* item = nullptr;
    VeriScope* scope = nullptr;
    VeriBlockId* GetBlockId() const;
};

class VeriGenerateConditional : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriGenerateConditional, GENERATECONDITIONAL);
    VERI_FIELDS(cond, thenItem, elseItem)
    VeriExpression* GetIfExpr() const { return cond; }
    VeriModuleItem* GetThenItem() const { return thenItem; }
    VeriModuleItem* GetElseItem() const { return elseItem; }
    void SetThenItem(VeriModuleItem* item) { thenItem = item; }
    void SetElseItem(VeriModuleItem* item) { elseItem = item; }
    VeriExpression* cond = nullptr;
    VeriModuleItem* thenItem = nullptr;
    VeriModuleItem* elseItem = nullptr;
};

class VeriGenerateCaseItem : public VeriTreeNode {
public:
    HDL_VERI_NODE(VeriGenerateCaseItem, GENERATECASEITEM);
    VERI_FIELDS(conditions, item)
    ArenaArray<VeriExpression*> conditions; // empty for default
    VeriModuleItem* item = nullptr;
};

class VeriGenerateCase : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriGenerateCase, GENERATECASE);
    VERI_FIELDS(cond, items)
    VeriExpression* cond = nullptr;
    ArenaArray<VeriGenerateCaseItem*> items;
};

// begin [: name] items end, in a generate region (named or not).
class VeriGenerateBlock : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriGenerateBlock, GENERATEBLOCK);
    VERI_FIELDS(blockId, items, scope)
    VeriBlockId* GetBlockId() const { return blockId; }
    const ArenaArray<VeriModuleItem*>& GetItems() const { return items; }
    VeriBlockId* blockId = nullptr; // null for an unnamed block
    ArenaArray<VeriModuleItem*> items;
    VeriScope* scope = nullptr;
};

// function [lifetime] [type] name (ports); decls stmts endfunction; DPI imports too.
class VeriFunctionDecl : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriFunctionDecl, FUNCTIONDECL);
    VERI_FIELDS(returnType, prefix, id, ports, decls, stmts, lifetime, dpi, prototype, scope)
    VeriIdDef* GetId() const { return id; }
    VeriExpression* prefix = nullptr; // class scope of an out-of-block definition
    VeriIdDef* id = nullptr;
    VeriDataType* returnType = nullptr;
    ArenaArray<VeriTreeNode*> ports; // VeriAnsiPortDecl, or empty with port decls in `decls`
    ArenaArray<VeriModuleItem*> decls;
    ArenaArray<VeriStatement*> stmts;
    unsigned lifetime = 0;
    unsigned dpi = 0; // VT_IMPORT / VT_EXPORT for DPI declarations (no body)
    bool prototype = false; // extern/pure virtual/DPI: no body
    VeriScope* scope = nullptr;
};

class VeriTaskDecl : public VeriFunctionDecl {
public:
    HDL_VERI_NODE(VeriTaskDecl, TASKDECL);
    VERI_FIELDS(returnType, prefix, id, ports, decls, stmts, lifetime, dpi, prototype, scope)
};

class VeriDefParam : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriDefParam, DEFPARAM);
    VERI_FIELDS(assigns)
    ArenaArray<VeriDefParamAssign*> assigns;
};

class VeriModportDecl : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriModportDecl, MODPORTDECL);
    VERI_FIELDS(id, ports, scope)
    VeriModportId* id = nullptr;
    ArenaArray<VeriPrototypeId*> ports;
    VeriScope* scope = nullptr;
};

class VeriModport : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriModport, MODPORT);
    VERI_FIELDS(decls)
    ArenaArray<VeriModportDecl*> decls;
};

// import pkg::item, pkg::*; (items are VeriScopeName with an empty name for '*')
class VeriImportDecl : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriImportDecl, IMPORTDECL);
    VERI_FIELDS(items)
    ArenaArray<VeriScopeName*> items;
};

class VeriExportDecl : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriExportDecl, EXPORTDECL);
    VERI_FIELDS(items)
    ArenaArray<VeriScopeName*> items; // empty for *::*
};

// Constructs read with their names recorded and their bodies passed over token by
// token: covergroups, properties, sequences, clocking blocks, let, specify blocks;
// classes keep the members they hold. `id` is null for anonymous ones.
class VeriSkippedItem : public VeriModuleItem {
public:
    VeriIdDef* GetId() const { return id; }
    VeriIdDef* id = nullptr;
    ArenaArray<VeriModuleItem*> items; // items parsed inside (class members so far as read)
};

// clang-format off
#define HDL_VERI_SKIPPED(cls, code)             \
    class cls : public VeriSkippedItem {        \
    public:                                     \
        HDL_VERI_NODE(cls, code);               \
        VERI_FIELDS(id, items) \
    };
// clang-format on
HDL_VERI_SKIPPED(VeriCovergroup, COVERGROUP)
HDL_VERI_SKIPPED(VeriPropertyDecl, PROPERTYDECL)
HDL_VERI_SKIPPED(VeriSequenceDecl, SEQUENCEDECL)
HDL_VERI_SKIPPED(VeriClockingDecl, CLOCKINGDECL)
HDL_VERI_SKIPPED(VeriLetDecl, LETDECL)
HDL_VERI_SKIPPED(VeriSpecifyBlock, SPECIFYBLOCK)
HDL_VERI_SKIPPED(VeriTable, TABLE)
#undef HDL_VERI_SKIPPED

class VeriClass : public VeriSkippedItem {
public:
    HDL_VERI_NODE(VeriClass, CLASS);
    // (The class's parameters, written before `extends`, are the first items: the walk
    // takes them before `extends` and `implements`, in source order.)
    HDL_TREE_FIELDS_OWN_WALK(VeriTreeTraits, id, extends, implements, items, scope, parameters)
    void VisitChildren(VeriVisitor& v) override;
    VeriScope* scope = nullptr;
    unsigned parameters = 0; // how many of the first items the #(...) list declares
    ArenaArray<VeriDataType*> extends; // the base class; an interface class's base interface classes
    ArenaArray<VeriDataType*> implements; // interface classes
};

// constraint [class::]name { constraints }, or a prototype `constraint name;` whose
// `extern` or `pure` stands among the item's qualifiers. A body outside its class names
// the class in `prefix`.
class VeriConstraintDecl : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriConstraintDecl, CONSTRAINTDECL);
    VERI_FIELDS(prefix, id, constraints, prototype)
    VeriIdDef* GetId() const { return id; }
    bool prototype = false;
    VeriExpression* prefix = nullptr;
    VeriIdDef* id = nullptr;
    ArenaArray<VeriExpression*> constraints;
};

// bind target instantiation
class VeriBindDirective : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriBindDirective, BINDDIRECTIVE);
    VERI_FIELDS(target, targetInstances, instantiation)
    VeriExpression* target = nullptr;
    ArenaArray<VeriExpression*> targetInstances;
    VeriModuleItem* instantiation = nullptr;
};

class VeriNetAlias : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriNetAlias, NETALIAS);
    VERI_FIELDS(members)
    ArenaArray<VeriExpression*> members;
};

// timeunit / timeprecision
class VeriTimeUnit : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriTimeUnit, TIMEUNIT);
    VERI_FIELDS(kind, literal)
    unsigned kind = 0;
    std::string_view literal;
};

// ---------------------------------------------------------------- design units

enum VeriUnitFlags : uint32_t {
    VERI_UNIT_CELLDEFINE = 1,
    VERI_UNIT_MACROMODULE = 2,
    VERI_UNIT_EXTERN = 4,
};

// module/macromodule; the base of every design unit.
class VeriModule : public VeriModuleItem {
public:
    HDL_VERI_NODE(VeriModule, MODULE);
    VERI_FIELDS(id, parameters, ports, items, scope, HDL_LINK(library), flags, lifetime, ansiHeader, elaborated,
                originalName, timeUnit, defaultNettype)
    std::string_view Name() const { return id ? id->name : std::string_view(); }
    VeriIdDef* GetId() const { return id; }
    VeriScope* GetScope() const { return scope; }
    VeriLibrary* GetLibrary() const { return library; }
    const ArenaArray<VeriTreeNode*>& GetParameters() const { return parameters; }
    const ArenaArray<VeriTreeNode*>& GetPorts() const { return ports; }
    const ArenaArray<VeriModuleItem*>& GetItems() const { return items; }
    bool IsCellDefine() const { return flags & VERI_UNIT_CELLDEFINE; }
    virtual bool IsInterface() const { return false; }
    virtual bool IsProgram() const { return false; }
    virtual bool IsPackage() const { return false; }
    virtual bool IsPrimitive() const { return false; }
    virtual bool IsChecker() const { return false; }
    virtual bool IsConfiguration() const { return false; }
    bool IsRootModule() const { return name() == "$unit"; }
    // A port of type `interface` (with or without modport) whose interface is not named.
    bool HasGenericInterfacePorts() const;
    bool HasTypeParameters() const;
    bool HasAnsiPorts() const { return ansiHeader; }
    // Copies made by elaboration name their original here.
    std::string_view GetOriginalModuleName() const { return originalName; }
    bool IsElaborated() const { return elaborated; }

    VeriIdDef* id = nullptr;
    ArenaArray<VeriTreeNode*> parameters; // VeriDataDecl of the #(...) list
    ArenaArray<VeriTreeNode*> ports; // VeriAnsiPortDecl, or expressions for non-ANSI ports
    ArenaArray<VeriModuleItem*> items;
    VeriScope* scope = nullptr;
    VeriLibrary* library = nullptr;
    uint32_t flags = 0;
    unsigned lifetime = 0;
    bool ansiHeader = false;
    bool elaborated = false;
    std::string_view originalName;
    std::string_view timeUnit; // `timescale in effect
    std::string_view defaultNettype; // `default_nettype in effect at the unit's start

private:
    std::string_view name() const { return Name(); }
};

class VeriInterface : public VeriModule {
public:
    HDL_VERI_NODE(VeriInterface, INTERFACE);
    VERI_FIELDS(id, parameters, ports, items, scope, HDL_LINK(library), flags, lifetime, ansiHeader, elaborated,
                originalName, timeUnit, defaultNettype)
    bool IsInterface() const override { return true; }
};

class VeriProgram : public VeriModule {
public:
    HDL_VERI_NODE(VeriProgram, PROGRAM);
    VERI_FIELDS(id, parameters, ports, items, scope, HDL_LINK(library), flags, lifetime, ansiHeader, elaborated,
                originalName, timeUnit, defaultNettype)
    bool IsProgram() const override { return true; }
};

class VeriPackage : public VeriModule {
public:
    HDL_VERI_NODE(VeriPackage, PACKAGE);
    VERI_FIELDS(id, parameters, ports, items, scope, HDL_LINK(library), flags, lifetime, ansiHeader, elaborated,
                originalName, timeUnit, defaultNettype)
    bool IsPackage() const override { return true; }
};

class VeriPrimitive : public VeriModule {
public:
    HDL_VERI_NODE(VeriPrimitive, PRIMITIVE);
    VERI_FIELDS(id, parameters, ports, items, scope, HDL_LINK(library), flags, lifetime, ansiHeader, elaborated,
                originalName, timeUnit, defaultNettype)
    bool IsPrimitive() const override { return true; }
};

class VeriChecker : public VeriModule {
public:
    HDL_VERI_NODE(VeriChecker, CHECKER);
    VERI_FIELDS(id, parameters, ports, items, scope, HDL_LINK(library), flags, lifetime, ansiHeader, elaborated,
                originalName, timeUnit, defaultNettype)
    bool IsChecker() const override { return true; }
};

// config name; design lib.cell ...; rules; endconfig
class VeriConfiguration : public VeriModule {
public:
    HDL_VERI_NODE(VeriConfiguration, CONFIGURATION);
    VERI_FIELDS(id, parameters, ports, designCells, items, scope, HDL_LINK(library), flags, lifetime, ansiHeader,
                elaborated, originalName, timeUnit, defaultNettype)
    bool IsConfiguration() const override { return true; }
    // The top cells of the design statement, in order (VeriIdRef or lib.cell VeriScopeName).
    const ArenaArray<VeriExpression*>& GetTopModuleNames() const { return designCells; }
    ArenaArray<VeriExpression*> designCells;
};

// use [lib.]cell [#(.P(v), ...)] [: config]
class VeriUseClause : public VeriTreeNode {
public:
    HDL_VERI_NODE(VeriUseClause, USECLAUSE);
    VERI_FIELDS(cell, paramValues, isConfig)
    VeriExpression* cell = nullptr; // VeriIdRef or VeriScopeName; null for `use #(...)`
    ArenaArray<VeriExpression*> paramValues; // VeriPortConnects
    bool isConfig = false; // `:config`: the cell names a configuration
};

// A rule of a configuration, one of its items:
//   default liblist L1 L2;
//   instance top.u1.u2 liblist L1 L2;   instance top.u1 use [lib.]cell [#(.P(v))] [:config];
//   cell [lib.]cell liblist L1 L2;      cell [lib.]cell use [lib.]cell ... [:config];
class VeriConfigRule : public VeriModuleItem {
public:
    // The instance path (a VeriIdRef, then VeriSelectedNames) or the cell (a VeriIdRef
    // or a lib.cell VeriScopeName); null for the default rule.
    VeriExpression* target = nullptr;
    ArenaArray<VeriExpression*> liblist; // VeriIdRefs of the libraries, in search order
    VeriUseClause* use = nullptr; // null with a liblist
    bool hasLiblist = false; // a liblist clause (maybe empty)
};

class VeriDefaultConfig : public VeriConfigRule {
public:
    HDL_VERI_NODE(VeriDefaultConfig, DEFAULTCONFIG);
    VERI_FIELDS(target, liblist, use, hasLiblist)
};

class VeriInstanceConfig : public VeriConfigRule {
public:
    HDL_VERI_NODE(VeriInstanceConfig, INSTANCECONFIG);
    VERI_FIELDS(target, liblist, use, hasLiblist)
};

class VeriCellConfig : public VeriConfigRule {
public:
    HDL_VERI_NODE(VeriCellConfig, CELLCONFIG);
    VERI_FIELDS(target, liblist, use, hasLiblist)
};

// ---------------------------------------------------------------- statements

class VeriStatement : public VeriModuleItem {
public:
    // `name:` in front of the statement.
    VeriLabelId* GetLabel() const;
    void SetLabel(VeriLabelId* label);
};

// begin [: name] decls stmts end
class VeriSeqBlock : public VeriStatement {
public:
    HDL_VERI_NODE(VeriSeqBlock, SEQBLOCK);
    VERI_FIELDS(blockId, decls, stmts, scope)
    VeriBlockId* blockId = nullptr;
    ArenaArray<VeriModuleItem*> decls;
    ArenaArray<VeriStatement*> stmts;
    VeriScope* scope = nullptr;
};

// fork ... join|join_any|join_none
class VeriParBlock : public VeriSeqBlock {
public:
    HDL_VERI_NODE(VeriParBlock, PARBLOCK);
    VERI_FIELDS(blockId, decls, stmts, joinKind, scope)
    unsigned joinKind = 0;
};

// { decls stmts }: the code block of a randsequence rule, a block without a name.
class VeriCodeBlock : public VeriSeqBlock {
public:
    HDL_VERI_NODE(VeriCodeBlock, CODEBLOCK);
    VERI_FIELDS(blockId, decls, stmts, scope)
};

// One alternative of a production: `a b(1) { code }` (production calls are task
// enables of the production's name; if, repeat and case hold one call each), or
// `rand join [(expr)] a b ...`; then `:= weight [{ code }]`.
class VeriProductionItem : public VeriTreeNode {
public:
    HDL_VERI_NODE(VeriProductionItem, PRODUCTIONITEM);
    VERI_FIELDS(randJoin, joinExpr, prods, weight, codeBlock)
    bool randJoin = false;
    VeriExpression* joinExpr = nullptr;
    ArenaArray<VeriStatement*> prods; // VeriTaskEnable, VeriCodeBlock, if, repeat, case
    VeriExpression* weight = nullptr;
    VeriCodeBlock* codeBlock = nullptr;
};

// [type] name [(ports)] : rule | rule ;
class VeriProduction : public VeriTreeNode {
public:
    HDL_VERI_NODE(VeriProduction, PRODUCTION);
    VERI_FIELDS(dataType, id, ports, rules, scope)
    VeriIdDef* GetId() const { return id; }
    VeriDataType* dataType = nullptr;
    VeriProductionId* id = nullptr;
    ArenaArray<VeriTreeNode*> ports;
    ArenaArray<VeriProductionItem*> rules;
    VeriScope* scope = nullptr;
};

// randsequence ([start]) productions endsequence; the productions are declared in its
// scope, so a rule may name one defined below it.
class VeriRandsequence : public VeriStatement {
public:
    HDL_VERI_NODE(VeriRandsequence, RANDSEQUENCE);
    VERI_FIELDS(start, productions, scope)
    VeriIdRef* start = nullptr;
    ArenaArray<VeriProduction*> productions;
    VeriScope* scope = nullptr;
};

// lval = [control] rval, lval op= rval, x++ (rval null, oper set)
class VeriBlockingAssign : public VeriStatement {
public:
    HDL_VERI_NODE(VeriBlockingAssign, BLOCKINGASSIGN);
    VERI_FIELDS(lval, control, rval, oper)
    VeriExpression* lval = nullptr;
    VeriDelayOrEventControl* control = nullptr;
    VeriExpression* rval = nullptr;
    unsigned oper = 0; // VT_EQ, an op-assign kind, VT_INC / VT_DEC
};

class VeriNonBlockingAssign : public VeriStatement {
public:
    HDL_VERI_NODE(VeriNonBlockingAssign, NONBLOCKINGASSIGN);
    VERI_FIELDS(lval, control, rval)
    VeriExpression* lval = nullptr;
    VeriDelayOrEventControl* control = nullptr;
    VeriExpression* rval = nullptr;
};

class VeriConditionalStatement : public VeriStatement {
public:
    HDL_VERI_NODE(VeriConditionalStatement, CONDITIONALSTATEMENT);
    VERI_FIELDS(qualifier, cond, thenStmt, elseStmt)
    unsigned qualifier = 0; // unique, unique0, priority
    VeriExpression* cond = nullptr;
    VeriStatement* thenStmt = nullptr;
    VeriStatement* elseStmt = nullptr;
};

class VeriCaseItem : public VeriTreeNode {
public:
    HDL_VERI_NODE(VeriCaseItem, CASEITEM);
    VERI_FIELDS(conditions, stmt)
    ArenaArray<VeriExpression*> conditions; // empty for default
    VeriStatement* stmt = nullptr;
};

class VeriCaseStatement : public VeriStatement {
public:
    HDL_VERI_NODE(VeriCaseStatement, CASESTATEMENT);
    VERI_FIELDS(qualifier, caseType, matches, inside, cond, items)
    unsigned qualifier = 0;
    unsigned caseType = 0; // case, casex, casez, randcase
    bool matches = false; // case ... matches / inside
    bool inside = false;
    VeriExpression* cond = nullptr;
    ArenaArray<VeriCaseItem*> items;
};

class VeriFor : public VeriStatement {
public:
    HDL_VERI_NODE(VeriFor, FOR);
    VERI_FIELDS(inits, cond, reps, stmt, scope)
    ArenaArray<VeriModuleItem*> inits; // declarations or assignments
    VeriExpression* cond = nullptr;
    ArenaArray<VeriStatement*> reps;
    VeriStatement* stmt = nullptr;
    VeriScope* scope = nullptr;
};

class VeriWhile : public VeriStatement {
public:
    HDL_VERI_NODE(VeriWhile, WHILE);
    VERI_FIELDS(cond, stmt)
    VeriExpression* cond = nullptr;
    VeriStatement* stmt = nullptr;
};

class VeriDoWhile : public VeriWhile {
public:
    HDL_VERI_NODE(VeriDoWhile, DOWHILE);
    VERI_FIELDS(stmt, cond)
};

class VeriRepeat : public VeriStatement {
public:
    HDL_VERI_NODE(VeriRepeat, REPEAT);
    VERI_FIELDS(count, stmt)
    VeriExpression* count = nullptr;
    VeriStatement* stmt = nullptr;
};

class VeriForever : public VeriStatement {
public:
    HDL_VERI_NODE(VeriForever, FOREVER);
    VERI_FIELDS(stmt)
    VeriStatement* stmt = nullptr;
};

class VeriForeach : public VeriStatement {
public:
    HDL_VERI_NODE(VeriForeach, FOREACH);
    VERI_FIELDS(array, loopVars, stmt, scope)
    VeriExpression* array = nullptr;
    ArenaArray<VeriIdDef*> loopVars; // null entries for skipped positions
    VeriStatement* stmt = nullptr;
    VeriScope* scope = nullptr;
};

class VeriEventControlStatement : public VeriStatement {
public:
    HDL_VERI_NODE(VeriEventControlStatement, EVENTCONTROLSTATEMENT);
    VERI_FIELDS(control, stmt)
    VeriDelayOrEventControl* control = nullptr;
    VeriStatement* stmt = nullptr;
};

class VeriDelayControlStatement : public VeriStatement {
public:
    HDL_VERI_NODE(VeriDelayControlStatement, DELAYCONTROLSTATEMENT);
    VERI_FIELDS(control, stmt)
    VeriDelayOrEventControl* control = nullptr;
    VeriStatement* stmt = nullptr;
};

// A task or void function call, or a method call, as a statement.
class VeriTaskEnable : public VeriStatement {
public:
    HDL_VERI_NODE(VeriTaskEnable, TASKENABLE);
    VERI_FIELDS(call)
    VeriExpression* call = nullptr; // name or VeriFunctionCall
};

class VeriSystemTaskEnable : public VeriStatement {
public:
    HDL_VERI_NODE(VeriSystemTaskEnable, SYSTEMTASKENABLE);
    VERI_FIELDS(name, args)
    Symbol name;
    ArenaArray<VeriExpression*> args;
};

// return [expr], break, continue
class VeriJumpStatement : public VeriStatement {
public:
    HDL_VERI_NODE(VeriJumpStatement, JUMPSTATEMENT);
    VERI_FIELDS(kind, expr)
    unsigned kind = 0;
    VeriExpression* expr = nullptr;
};

class VeriNullStatement : public VeriStatement {
public:
    HDL_VERI_NODE(VeriNullStatement, NULLSTATEMENT);
    VERI_FIELDS()
};

// wait (cond) stmt, wait fork
class VeriWait : public VeriStatement {
public:
    HDL_VERI_NODE(VeriWait, WAIT);
    VERI_FIELDS(cond, stmt, fork)
    VeriExpression* cond = nullptr;
    VeriStatement* stmt = nullptr;
    bool fork = false;
};

class VeriDisable : public VeriStatement {
public:
    HDL_VERI_NODE(VeriDisable, DISABLE);
    VERI_FIELDS(target)
    VeriExpression* target = nullptr; // null for `disable fork`
};

// -> ev, ->> ev
class VeriEventTrigger : public VeriStatement {
public:
    HDL_VERI_NODE(VeriEventTrigger, EVENTTRIGGER);
    VERI_FIELDS(control, event)
    VeriExpression* event = nullptr;
    VeriDelayOrEventControl* control = nullptr;
};

// procedural assign / deassign / force / release
class VeriAssign : public VeriStatement {
public:
    HDL_VERI_NODE(VeriAssign, ASSIGN);
    VERI_FIELDS(assign)
    VeriNetRegAssign* assign = nullptr;
};

class VeriDeAssign : public VeriStatement {
public:
    HDL_VERI_NODE(VeriDeAssign, DEASSIGN);
    VERI_FIELDS(lval)
    VeriExpression* lval = nullptr;
};

class VeriForce : public VeriAssign {
public:
    HDL_VERI_NODE(VeriForce, FORCE);
    VERI_FIELDS(assign)
};

class VeriRelease : public VeriDeAssign {
public:
    HDL_VERI_NODE(VeriRelease, RELEASE);
    VERI_FIELDS(lval)
};

// assert/assume/cover/restrict/expect, immediate or concurrent; the property text is
// passed over, the action blocks are parsed.
class VeriAssertion : public VeriStatement {
public:
    HDL_VERI_NODE(VeriAssertion, ASSERTION);
    VERI_FIELDS(kind, concurrent, expr, thenStmt, elseStmt)
    unsigned kind = 0;
    bool concurrent = false;
    VeriExpression* expr = nullptr; // immediate assertions only
    VeriStatement* thenStmt = nullptr;
    VeriStatement* elseStmt = nullptr;
};

#undef HDL_VERI_NODE
#undef VERI_FIELDS

} // namespace hdl
