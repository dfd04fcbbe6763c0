// Catalogue of the messages of the Verilog parser and of analysis. The preprocessor and
// lexer use 1000..1099 and 2000..2099 (VeriMessageIds.h); these use 1482, 1500..1599,
// 1600..1699 for elaboration and 1700..1799 for saved libraries.
// The scanner raises, lowers or hides a fixed set of ids by number (its catalogue,
// src/sift/base/HADLMessages.h); a new diagnostic takes one of those only when its
// meaning is the one the scanner expects there, and moves the id here.
#pragma once

#include "hdl/sv/VeriMessageIds.h"

// clang-format off
#define HDL_VERI_PARSE_MESSAGES(ID, TEXT)                                                                   \
    /* The second argument is the file: message consumers attribute later messages by it. */              \
    ID(kAnalyzingFile, "VERI-1482", MSG_INFO)                                                              \
    TEXT(AnalyzingFile, kAnalyzingFile, "Analyzing %s file '%s'")                                          \
    ID(kSyntaxError, "VERI-1500", MSG_ERROR)                                                               \
    TEXT(SyntaxErrorNear, kSyntaxError, "syntax error near '%s'")                                          \
    TEXT(SyntaxErrorExpecting, kSyntaxError, "syntax error near '%s', expecting %s")                       \
    TEXT(TooManySyntaxErrors, kSyntaxError, "too many syntax errors, the rest of the file's errors are not told") \
    ID(kUnexpectedEof, "VERI-1501", MSG_ERROR)                                                             \
    TEXT(UnexpectedEndOfText, kUnexpectedEof, "unexpected end of text")                                    \
    TEXT(UnexpectedEndExpecting, kUnexpectedEof, "unexpected end of text, expecting %s")                   \
    ID(kUnitReplaced, "VERI-1502", MSG_WARNING)                                                            \
    TEXT(UnitReplacesEarlier, kUnitReplaced, "design unit '%s' replaces an earlier one in library '%s'")   \
    ID(kNestingTooDeep, "VERI-1503", MSG_ERROR)                                                            \
    TEXT(ConstructsNestTooDeep, kNestingTooDeep, "constructs nest deeper than %u levels")                  \
    ID(kUnknownPackage, "VERI-1504", MSG_ERROR)                                                            \
    TEXT(PackageNotKnown, kUnknownPackage, "package '%s' is not known")                                    \
    /* The label after end* names another block. */                                                       \
    ID(kEndLabelMismatch, "VERI-1505", MSG_ERROR)                                                          \
    ID(kLanguageUnavailable, "VERI-1506", MSG_ERROR)                                                       \
    TEXT(NotVerilogLanguage, kLanguageUnavailable, "language code %u is not a Verilog language") \
    /* A value elaboration needs cannot be worked out. */ \
    ID(kElabNotConstant, "VERI-1600", MSG_ERROR) \
    TEXT(ElabNotConstant, kElabNotConstant, "%s cannot be evaluated as a constant") \
    /* Division or modulus by zero in a constant: the value is x. */ \
    ID(kElabDivision, "VERI-1601", MSG_WARNING) \
    TEXT(ElabDivisionByZero, kElabDivision, "division by zero in a constant expression; the value is x") \
    /* A loop or generate loop runs past the iteration bound. */ \
    ID(kElabLoopBound, "VERI-1602", MSG_ERROR) \
    TEXT(ElabLoopBound, kElabLoopBound, "loop stopped after %u iterations") \
    /* Constant function calls nested past the depth bound (recursion without end). */ \
    ID(kElabCallDepth, "VERI-1603", MSG_ERROR) \
    TEXT(ElabCallDepth, kElabCallDepth, "calls of function '%s' nest deeper than %u") \
    /* An override names no parameter of the module, or gives too many values. */ \
    ID(kElabNoParameter, "VERI-1604", MSG_ERROR) \
    TEXT(ElabNoParameter, kElabNoParameter, "module '%s' has no parameter '%s'") \
    TEXT(ElabTooManyParameters, kElabNoParameter, "module '%s' gets %u parameter values but has %u parameters") \
    /* An instance of a module that no library holds: it stays unbound, for the other language or the binder. */ \
    ID(kElabUnboundModule, "VERI-1605", MSG_WARNING) \
    TEXT(ElabUnboundModule, kElabUnboundModule, "module '%s' of instance '%s' is not found; it stays unbound") \
    /* A module that instantiates itself without end. */ \
    ID(kElabInstanceDepth, "VERI-1606", MSG_ERROR) \
    TEXT(ElabInstanceDepth, kElabInstanceDepth, "instances nest deeper than %u levels below '%s'") \
    /* A top that no library holds. */ \
    ID(kElabNoTop, "VERI-1607", MSG_ERROR) \
    TEXT(ElabNoTop, kElabNoTop, "top '%s' is not a module of any library") \
    /* A value handed in from outside that no top has a parameter for. */ \
    ID(kElabTopParameter, "VERI-1608", MSG_WARNING) \
    TEXT(ElabTopParameter, kElabTopParameter, "no top has a parameter '%s'") \
    /* The bound of evaluation steps or of elaborated statements is reached. */ \
    ID(kElabSteps, "VERI-1609", MSG_ERROR) \
    TEXT(ElabSteps, kElabSteps, "elaboration stops: its bound of %s is reached") \
    /* A defparam whose target is not found. */ \
    ID(kElabDefparam, "VERI-1610", MSG_ERROR) \
    TEXT(ElabDefparamTarget, kElabDefparam, "defparam target '%s' is not found") \
    /* A constant function that ends without setting its value, or that cannot run at elaboration. */ \
    ID(kElabFunctionNoReturn, "VERI-1611", MSG_ERROR) \
    TEXT(ElabFunctionNotConstant, kElabFunctionNoReturn, "function '%s' cannot be run at elaboration: %s") \
    /* A generic interface port connected to no interface instance. */ \
    ID(kElabGenericInterface, "VERI-1612", MSG_ERROR) \
    TEXT(ElabGenericInterface, kElabGenericInterface, "interface port '%s' of instance '%s' is not connected to an interface") \
    TEXT(ElabInterfaceOpen, kElabGenericInterface, "interface port '%s' is not connected: '%s' cannot be read through it") \
    TEXT(ElabInterfaceNoMember, kElabGenericInterface, "interface '%s' connected to port '%s' has no member '%s'") \
    /* A variable written by a continuous assignment and by another writer. */ \
    ID(kElabVariableWriters, "VERI-1613", MSG_ERROR) \
    TEXT(ElabMultipleContinuous, kElabVariableWriters, "variable '%s' is written by more than one continuous assignment") \
    TEXT(ElabMixedWriters, kElabVariableWriters, "variable '%s' is written by both a continuous and a procedural assignment") \
    /* A VHDL instance of a module whose actual is not as wide as the module's port. */ \
    ID(kElabPortWidth, "VERI-1614", MSG_WARNING) \
    TEXT(ElabPortWidth, kElabPortWidth, "port '%s' of module '%s' is %s bits wide, its actual %s bits") \
    /* An instance of a VHDL entity that VHDL holds but could not elaborate (its errors say why). */ \
    ID(kElabForeignFailed, "VERI-1620", MSG_WARNING) \
    TEXT(ElabForeignFailed, kElabForeignFailed, "VHDL unit '%s' of instance '%s' failed to elaborate; the instance stays unbound") \
    ID(kStoreUnreadable, "VERI-1700", MSG_ERROR)                                                           \
    TEXT(StoreCannotRestore, kStoreUnreadable, "cannot restore unit '%s' of library '%s' from '%s': %s")   \
    ID(kStoreUnwritable, "VERI-1701", MSG_ERROR)                                                           \
    TEXT(StoreCannotSave, kStoreUnwritable, "cannot save unit '%s' of library '%s': %s")                   \
    TEXT(StoreNoLibrary, kStoreUnwritable, "cannot save library '%s': there is no such library") \
    /* A name that nothing visible declares; hierarchical names are left to elaboration. */               \
    ID(kUndeclared, "VERI-1507", MSG_ERROR)                                                                \
    TEXT(UndeclaredIdentifier, kUndeclared, "'%s' is not declared")                                        \
    TEXT(UndeclaredType, kUndeclared, "type '%s' is not declared")                                         \
    TEXT(UndeclaredSubprogram, kUndeclared, "function or task '%s' is not declared")                      \
    TEXT(UndeclaredNoImplicitNet, kUndeclared, "'%s' is not declared, and `default_nettype none allows no implicit net") \
    TEXT(UndeclaredProduction, kUndeclared, "production '%s' is not declared")                            \
    ID(kNotInPackage, "VERI-1508", MSG_ERROR)                                                              \
    TEXT(NotDeclaredInPackage, kNotInPackage, "'%s' is not declared in package '%s'")                     \
    ID(kDeclaredTwice, "VERI-1509", MSG_ERROR)                                                             \
    TEXT(DeclaredTwice, kDeclaredTwice, "'%s' is already declared in this scope") \
    /* Rules of constraints and random variables that one unit shows broken. */                           \
    ID(kExternConstraint, "VERI-1590", MSG_ERROR)                                                          \
    TEXT(ExternConstraintUndefined, kExternConstraint, "extern constraint '%s' of class '%s' is never defined") \
    ID(kPureConstraint, "VERI-1591", MSG_ERROR)                                                            \
    TEXT(PureConstraintInConcrete, kPureConstraint, "pure constraint '%s' in class '%s' that is not virtual") \
    TEXT(PureConstraintNotDefined, kPureConstraint, "class '%s' does not define pure constraint '%s' of class '%s'") \
    ID(kRandcOrdered, "VERI-1592", MSG_ERROR)                                                              \
    TEXT(RandcInSolveBefore, kRandcOrdered, "randc variable '%s' cannot be ordered by solve-before")       \
    ID(kRandcSoft, "VERI-1593", MSG_ERROR)                                                                 \
    TEXT(RandcInSoft, kRandcSoft, "soft constraint on randc variable '%s'")                               \
    ID(kRandcDist, "VERI-1594", MSG_ERROR)                                                                 \
    TEXT(RandcInDist, kRandcDist, "distribution on randc variable '%s'")                                  \
    /* Rules of the language that one unit shows broken, without elaboration. */                            \
    ID(kVoidReturnsValue, "VERI-1510", MSG_ERROR)                                                          \
    TEXT(VoidFunctionReturnsValue, kVoidReturnsValue, "void function '%s' returns a value")               \
    ID(kForkInFunction, "VERI-1511", MSG_ERROR)                                                            \
    TEXT(ForkInFunction, kForkInFunction, "only fork-join_none is allowed in function '%s'")              \
    ID(kReturnInFork, "VERI-1512", MSG_ERROR)                                                              \
    TEXT(ReturnInFork, kReturnInFork, "return is not allowed inside fork-join")                           \
    ID(kRealSelect, "VERI-1513", MSG_ERROR)                                                                \
    TEXT(RealBitSelect, kRealSelect, "bit-select or part-select of real variable '%s'")                   \
    TEXT(RealIndex, kRealSelect, "real variable '%s' used as an index")                                   \
    TEXT(RealEdge, kRealSelect, "edge event on real variable '%s'")                                       \
    ID(kAbstractNew, "VERI-1514", MSG_ERROR)                                                               \
    TEXT(AbstractClassNew, kAbstractNew, "cannot construct an object of %s class '%s'")                   \
    ID(kPureInConcrete, "VERI-1515", MSG_ERROR)                                                            \
    TEXT(PureInConcreteClass, kPureInConcrete, "pure virtual method '%s' in class '%s' that is not virtual") \
    ID(kBuiltInOverride, "VERI-1516", MSG_ERROR)                                                           \
    TEXT(BuiltInMethodOverride, kBuiltInOverride, "built-in method '%s' cannot be overridden")            \
    ID(kEnumValue, "VERI-1517", MSG_ERROR)                                                                 \
    TEXT(EnumValueSize, kEnumValue, "enum value '%s' is %u bits wide, its base type %u bits")             \
    TEXT(EnumValueXZ, kEnumValue, "enum value '%s' has x or z bits in a 2-state enum")                    \
    TEXT(EnumAfterXZ, kEnumValue, "enum value '%s' needs a value: the one before it has x or z bits")     \
    ID(kPackedMemberDefault, "VERI-1518", MSG_ERROR)                                                       \
    TEXT(PackedMemberDefault, kPackedMemberDefault, "member '%s' of a packed struct cannot have a default value") \
    ID(kZeroWidthSelect, "VERI-1519", MSG_ERROR)                                                           \
    TEXT(ZeroWidthPartSelect, kZeroWidthSelect, "indexed part-select has width 0") \
    ID(kNetProcedural, "VERI-1520", MSG_ERROR)                                                             \
    TEXT(ProceduralAssignToNet, kNetProcedural, "procedural assignment to net '%s'") \
    ID(kSpecparamInParameter, "VERI-1521", MSG_ERROR)                                                      \
    TEXT(SpecparamInParameter, kSpecparamInParameter, "parameter '%s' cannot use specparam '%s'") \
    /* The types of assigned values, where both sides are known. */ \
    ID(kEnumAssign, "VERI-1522", MSG_ERROR) \
    TEXT(EnumFromNonEnum, kEnumAssign, "enum variable '%s' is assigned a value that is not of its enum type; a cast is needed") \
    TEXT(EnumFromOtherEnum, kEnumAssign, "enum variable '%s' is assigned a value of another enum type") \
    TEXT(EnumStepped, kEnumAssign, "enum variable '%s' cannot be stepped by %s; a cast is needed") \
    TEXT(EnumArgumentFromNonEnum, kEnumAssign, "enum argument '%s' of '%s' is given a value that is not of its enum type; a cast is needed") \
    TEXT(EnumArgumentFromOtherEnum, kEnumAssign, "enum argument '%s' of '%s' is given a value of another enum type") \
    TEXT(EnumReturnFromNonEnum, kEnumAssign, "enum function '%s' returns a value that is not of its enum type; a cast is needed") \
    TEXT(EnumReturnFromOtherEnum, kEnumAssign, "enum function '%s' returns a value of another enum type") \
    ID(kStreamWidth, "VERI-1523", MSG_ERROR) \
    TEXT(StreamWiderThanTarget, kStreamWidth, "streaming concatenation of %u bits is wider than the %u bits of '%s'") \
    ID(kPatternCount, "VERI-1524", MSG_ERROR) \
    TEXT(PatternItemCount, kPatternCount, "assignment pattern of %u items for '%s', an unpacked array of %u elements") \
    TEXT(ConcatElementCount, kPatternCount, "unpacked array concatenation of %u elements for '%s', an unpacked array of %u elements") \
    ID(kStructBraces, "VERI-1529", MSG_ERROR) \
    TEXT(ConcatToUnpackedStruct, kStructBraces, "unpacked struct '%s' cannot be assigned a concatenation; it needs an assignment pattern '{...}") \
    /* Class headers and forward declarations. */ \
    ID(kForwardType, "VERI-1525", MSG_ERROR) \
    TEXT(ForwardTypeNotDefined, kForwardType, "forward typedef '%s' has no definition in its scope") \
    ID(kImplements, "VERI-1526", MSG_ERROR) \
    TEXT(ImplementsTypeParameter, kImplements, "class '%s' cannot implement type parameter '%s'") \
    TEXT(ExtendsTypeParameter, kImplements, "interface class '%s' cannot extend type parameter '%s'") \
    TEXT(InterfaceClassNotYetDefined, kImplements, "interface class '%s' is implemented before its definition") \
    ID(kDefaultSpecialization, "VERI-1527", MSG_ERROR) \
    TEXT(DefaultSpecializationScope, kDefaultSpecialization, "parameterized class '%s' needs a parameter value list before '::%s' outside its own declaration") \
    ID(kInheritedConflict, "VERI-1528", MSG_ERROR) \
    TEXT(InheritedNameConflict, kInheritedConflict, "interface class '%s' inherits '%s' from more than one interface class and must declare its own") \
    TEXT(PrototypeConflict, kInheritedConflict, "method '%s' of class '%s' cannot match the prototype of that name in every interface class it implements")
// clang-format on

namespace hdl {
namespace veri_msg {
HDL_MESSAGE_CONSTANTS(HDL_VERI_PARSE_MESSAGES)
HDL_MESSAGE_CATALOGUE(ParseCatalogue, "Verilog parser and analysis", HDL_VERI_PARSE_MESSAGES)
} // namespace veri_msg
} // namespace hdl
