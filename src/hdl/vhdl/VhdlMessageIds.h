// Catalogue of the messages of the VHDL front-end: 1000..1099 lexical, 1100..1199
// syntax, 1500..1599 files and libraries, 1600..1699 elaboration.
//
// Ids that the scanner configures by number keep the meaning it expects and are not
// used for anything else: VHDL-1238, VHDL-1260, VHDL-1261, VHDL-1283 (raised to error
// by the scanner's capture), VHDL-9017, VHDL-9019, VHDL-9021 (ignored by the scanner),
// VHDL-1317 and VHDL-1474 (allowed through during elaboration: elaboration uses them for
// what the parent should hear of, an instance left unbound and the design's own
// assertions). The front-end does not issue the others yet; the scanner's catalogue
// holds them until it does.
#pragma once

#include "hdl/base/MessageCatalogue.h"

// clang-format off
#define HDL_VHDL_MESSAGES(ID, TEXT)                                                                          \
    ID(kBadCharacter, "VHDL-1001", MSG_ERROR)                                                                \
    TEXT(CharacterNotAllowed, kBadCharacter, "character %s is not allowed here")                             \
    ID(kUnterminatedString, "VHDL-1002", MSG_ERROR)                                                          \
    TEXT(LiteralNotClosed, kUnterminatedString, "literal %s is not closed on its line")                      \
    ID(kBadLiteral, "VHDL-1003", MSG_ERROR)                                                                  \
    TEXT(BasedLiteralNotClosed, kBadLiteral, "based literal '%s' is not closed")                             \
    ID(kUnterminatedComment, "VHDL-1004", MSG_ERROR)                                                         \
    TEXT(CommentNotClosed, kUnterminatedComment, "comment is not closed before the end of the file")         \
    ID(kPslIgnored, "VHDL-1005", MSG_INFO)                                                                   \
    TEXT(PslCommentIgnored, kPslIgnored, "PSL statement in comment ignored")                                 \
    TEXT(PslTextIgnored, kPslIgnored, "PSL text ignored")                                                    \
    ID(kProtectIgnored, "VHDL-1006", MSG_WARNING)                                                            \
    TEXT(ProtectedSkipped, kProtectIgnored, "protected envelope skipped")                                    \
    /* The text of a `warning directive; that of an `error directive is told as an error. */              \
    ID(kDirective, "VHDL-1007", MSG_WARNING)                                                                 \
    TEXT(DirectiveText, kDirective, "%s")                                                                    \
    ID(kBadDirective, "VHDL-1008", MSG_ERROR)                                                                \
    TEXT(DirectiveWithoutIf, kBadDirective, "`%s directive without `if")                                     \
    TEXT(EndWithoutIf, kBadDirective, "`end directive without `if")                                          \
    TEXT(UnknownDirective, kBadDirective, "unknown tool directive `%s")                                      \
    TEXT(IfNotClosed, kBadDirective, "`if directive not closed by `end")                                     \
    TEXT(ConditionWithoutThen, kBadDirective, "conditional directive without then")                          \
    TEXT(MalformedCondition, kBadDirective, "malformed condition of a conditional directive")                \
    ID(kPragmaUnclosed, "VHDL-1009", MSG_WARNING)                                                            \
    TEXT(TranslateOffNotClosed, kPragmaUnclosed, "translate_off region is not closed before the end of the file") \
    ID(kSyntax, "VHDL-1100", MSG_ERROR)                                                                      \
    TEXT(ExpectedFound, kSyntax, "syntax error: expected '%s', found '%s'")                                  \
    TEXT(UnexpectedEndOfFile, kSyntax, "syntax error: unexpected end of file")                               \
    TEXT(UnexpectedToken, kSyntax, "syntax error: unexpected '%s'")                                          \
    TEXT(NameNestedTooDeeply, kSyntax, "syntax error: name nested too deeply")                               \
    TEXT(ExpressionNestedTooDeeply, kSyntax, "syntax error: expression nested too deeply")                   \
    TEXT(ChoicesWithoutArrow, kSyntax, "syntax error: expected '=>' after choices")                          \
    TEXT(TypeMarkBeforeRange, kSyntax, "syntax error: expected a type mark before 'range'")                  \
    TEXT(DeclarationAmongStatements, kSyntax, "syntax error: declaration '%s' among statements")             \
    TEXT(InstantiationNeedsLabel, kSyntax, "syntax error: an instantiation needs a label")                   \
    TEXT(GenerateNeedsLabel, kSyntax, "syntax error: a generate statement needs a label")                    \
    TEXT(ExpectedAssignmentOrCall, kSyntax, "syntax error: expected an assignment or a procedure call")      \
    TEXT(ContextWithoutUnit, kSyntax, "syntax error: context clause without a design unit")                  \
    TEXT(ExpectedDesignUnit, kSyntax, "syntax error: expected a design unit, found '%s'")                    \
    TEXT(TooManySyntaxErrors, kSyntax, "too many syntax errors, the rest of the file is skipped")            \
    ID(kEndLabel, "VHDL-1101", MSG_WARNING)                                                                  \
    TEXT(ClosingLabelDiffers, kEndLabel, "closing label '%s' differs from '%s'")                             \
    TEXT(ClosingNameDiffers, kEndLabel, "closing name '%s' differs from '%s'")                               \
    ID(kTooDeep, "VHDL-1102", MSG_ERROR)                                                                     \
    TEXT(ExpressionTooDeep, kTooDeep, "expression nested too deeply")                                        \
    ID(kNotInEdition, "VHDL-1103", MSG_WARNING)                                                              \
    TEXT(ModeViewIgnored, kNotInEdition, "mode view declaration not supported, ignored")                     \
    ID(kPslDeclarationPlace, "VHDL-1104", MSG_WARNING)                                                       \
    TEXT(PslDeclarationAmongStatements, kPslDeclarationPlace,                                                \
         "PSL %s declaration among statements belongs before 'begin'")                                       \
    ID(kAnalyzing, "VHDL-1500", MSG_INFO)                                                                    \
    TEXT(AnalyzingFile, kAnalyzing, "analyzing VHDL file '%s' into library '%s'")                            \
    ID(kCannotOpen, "VHDL-1501", MSG_ERROR)                                                                  \
    TEXT(CannotOpenFile, kCannotOpen, "cannot open file '%s'")                                               \
    TEXT(CannotOpenVhdlFile, kCannotOpen, "cannot open VHDL file '%s'")                                      \
    ID(kReplacing, "VHDL-1502", MSG_WARNING)                                                                 \
    TEXT(ReanalyzingUnit, kReplacing, "re-analyzing unit '%s' in library '%s'")                              \
    ID(kNoPrimary, "VHDL-1503", MSG_ERROR)                                                                   \
    TEXT(PrimaryNotAnalyzed, kNoPrimary, "unit '%s' is not analyzed in library '%s'")                        \
    ID(kBinaryInput, "VHDL-1504", MSG_ERROR)                                                                 \
    TEXT(NotTextFile, kBinaryInput, "'%s' is not a text file")                                               \
    /* A use clause or context reference names a unit its library lacks. */                                 \
    ID(kUnknownUnit, "VHDL-1505", MSG_ERROR)                                                                 \
    TEXT(UnitNotAnalyzed, kUnknownUnit, "unit '%s' is not analyzed in library '%s'")                         \
    /* A name that no visible declaration declares. */                                                       \
    ID(kUndeclared, "VHDL-1506", MSG_ERROR)                                                                  \
    TEXT(UndeclaredType, kUndeclared, "type '%s' is not declared")                                           \
    TEXT(NotDeclaredInPackage, kUndeclared, "'%s' is not declared in package '%s'")                          \
    TEXT(UndeclaredName, kUndeclared, "'%s' is not declared")                                                \
    TEXT(UndeclaredAttribute, kUndeclared, "attribute '%s' is not declared")                                 \
    /* A name declared twice in one declarative region. */                                                  \
    ID(kDeclaredTwice, "VHDL-1507", MSG_ERROR)                                                               \
    TEXT(DeclaredTwice, kDeclaredTwice, "'%s' is already declared in this region")                           \
    /* A component instance that no unit binds. */                                                         \
    ID(kElabUnbound, "VHDL-1317", MSG_WARNING)                                                               \
    TEXT(ElabInstanceUnbound, kElabUnbound, "instance '%s' of component '%s' is not bound")                  \
    /* An assertion or report of the design while elaborating, told as its severity says. */               \
    ID(kElabAssertion, "VHDL-1474", MSG_WARNING)                                                             \
    TEXT(ElabAssertionReport, kElabAssertion, "assertion %s: %s")                                            \
    /* A value elaboration needs cannot be worked out. */                                                  \
    ID(kElabNotStatic, "VHDL-1600", MSG_ERROR)                                                               \
    TEXT(ElabNotAValueOf, kElabNotStatic, "'%s' is not a value of '%s'")                                     \
    TEXT(ElabBoundsUnknown, kElabNotStatic, "the bounds of '%s' are not known at elaboration")               \
    TEXT(ElabNotAnArray, kElabNotStatic, "'%s' is not an array")                                             \
    TEXT(ElabNoRange, kElabNotStatic, "'%s' has no range")                                                   \
    TEXT(ElabRangeNotValue, kElabNotStatic, "'%s is a range, not a value")                                   \
    TEXT(ElabAttributeOfUnconstrained, kElabNotStatic, "'%s of the unconstrained type '%s'")                 \
    TEXT(ElabAttributeWithoutValue, kElabNotStatic, "attribute '%s of '%s' has no value at elaboration")     \
    TEXT(ElabTypeNotDeclared, kElabNotStatic, "type '%s' is not declared")                                   \
    TEXT(ElabDependsOnItself, kElabNotStatic, "'%s' depends on its own value")                               \
    TEXT(ElabDeferredWithoutValue, kElabNotStatic, "deferred constant '%s' has no value")                    \
    TEXT(ElabNoValue, kElabNotStatic, "'%s' has no value at elaboration")                                    \
    TEXT(ElabCannotEvaluate, kElabNotStatic, "%s '%s' cannot be evaluated at elaboration")                   \
    TEXT(ElabMissingExpression, kElabNotStatic, "missing expression")                                        \
    TEXT(ElabConditionNotBoolean, kElabNotStatic, "condition '%s' is not boolean")                           \
    TEXT(ElabSignalWithoutValue, kElabNotStatic, "signal '%s' has no value at elaboration")                  \
    TEXT(ElabObjectWithoutValue, kElabNotStatic, "%s '%s' has no value at elaboration")                      \
    TEXT(ElabNotDeclared, kElabNotStatic, "'%s' is not declared")                                            \
    TEXT(ElabNoSuchElement, kElabNotStatic, "'%s' is no element of the record")                              \
    TEXT(ElabPhysicalUnitNotDeclared, kElabNotStatic, "unit '%s' is not declared")                           \
    TEXT(ElabAggregateMixesAssociations, kElabNotStatic, "aggregate mixes positional and named elements")    \
    TEXT(ElabOthersOfUnconstrained, kElabNotStatic, "'others' in an aggregate of the unconstrained type '%s'") \
    TEXT(ElabVariableOfUnconstrained, kElabNotStatic, "variable of the unconstrained type '%s'")             \
    TEXT(ElabCaseNotCovered, kElabNotStatic, "no choice of the case statement covers %s")                    \
    TEXT(ElabProcedureNotDeclared, kElabNotStatic, "procedure '%s' is not declared")                         \
    TEXT(ElabNotASubprogramVariable, kElabNotStatic, "'%s' is no variable of the subprogram")                \
    TEXT(ElabActualsDoNotMatch, kElabNotStatic, "the actuals of '%s' do not match its parameters")           \
    TEXT(ElabPackageItemCannotEvaluate, kElabNotStatic, "'%s' of package %s cannot be evaluated at elaboration") \
    TEXT(ElabNoSubprogramBody, kElabNotStatic, "subprogram '%s' has no body")                                \
    TEXT(ElabNoActual, kElabNotStatic, "no actual for parameter '%s' of '%s'")                               \
    TEXT(ElabNotAVariable, kElabNotStatic, "'%s' is no variable")                                            \
    TEXT(ElabOperatorNotApplicable, kElabNotStatic, "operator '%s' does not apply to %s")                    \
    TEXT(ElabBinaryOperatorNotApplicable, kElabNotStatic, "operator '%s' does not apply to %s and %s")       \
    TEXT(ElabNoSubprogramTakes, kElabNotStatic, "no subprogram '%s' takes these actuals")                    \
    TEXT(ElabGenericPackageNotAnalysed, kElabNotStatic, "the generic package of '%s' is not analysed")       \
    TEXT(ElabMissingArgument, kElabNotStatic, "missing argument in '%s'")                                    \
    TEXT(ElabArgumentNotInteger, kElabNotStatic, "argument %u of '%s' is not an integer")                    \
    TEXT(ElabArgumentNotReal, kElabNotStatic, "argument %u of '%s' is not a real")                           \
    TEXT(ElabEmptyArray, kElabNotStatic, "'%s' of an empty array")                                           \
    ID(kElabDivision, "VHDL-1601", MSG_ERROR)                                                                \
    TEXT(ElabDivisionByZero, kElabDivision, "division by zero")                                              \
    TEXT(ElabDivisionByZeroIn, kElabDivision, "division by zero in '%s'")                                    \
    /* A value outside the range of its subtype, an overflow. */                                           \
    ID(kElabRange, "VHDL-1602", MSG_ERROR)                                                                   \
    TEXT(ElabAttributeOverflows, kElabRange, "'%s of %s overflows")                                          \
    TEXT(ElabNoSuchLiteral, kElabRange, "\"%s\" is no literal of '%s'")                                      \
    TEXT(ElabNotAReal, kElabRange, "\"%s\" is no real")                                                      \
    TEXT(ElabNotAnInteger, kElabRange, "\"%s\" is no integer")                                               \
    TEXT(ElabNoSuchValue, kElabRange, "\"%s\" is no value of '%s'")                                          \
    TEXT(ElabCharacterNotAValue, kElabRange, "'%c' is not a value of '%s'")                                  \
    TEXT(ElabPhysicalLiteralOverflows, kElabRange, "physical literal '%s' overflows")                        \
    TEXT(ElabValueOutsideRange, kElabRange, "value %s is outside the range %s of '%s'")                      \
    TEXT(ElabNotIntegerValue, kElabRange, "'%s' is not an integer value")                                    \
    TEXT(ElabNotRealValue, kElabRange, "'%s' is not a real value")                                           \
    TEXT(ElabNotPhysicalValue, kElabRange, "'%s' is not a physical value")                                   \
    TEXT(ElabValueNotOfType, kElabRange, "%s is not a value of '%s'")                                        \
    TEXT(ElabValueNotOfArrayType, kElabRange, "%s is not a value of array type '%s'")                        \
    TEXT(ElabValueNotOfRecordType, kElabRange, "%s is not a value of record type '%s'")                      \
    TEXT(ElabRealDoesNotFitInteger, kElabRange, "real %s does not fit an integer")                           \
    TEXT(ElabIntegerOverflow, kElabRange, "integer overflow in '%s'")                                        \
    TEXT(ElabNegativeExponent, kElabRange, "negative exponent in '%s'")                                      \
    TEXT(ElabNegativeSize, kElabRange, "negative size %s in '%s'")                                           \
    TEXT(ElabOutsideNatural, kElabRange, "value %s is outside the range of natural")                         \
    TEXT(ElabDoesNotFitInteger, kElabRange, "'%s' does not fit an integer")                                  \
    TEXT(ElabMathDomain, kElabRange, "%s of %G")                                                             \
    TEXT(ElabSquareRootOfNegative, kElabRange, "square root of %G")                                          \
    /* An index outside the array, lengths that do not match. */                                           \
    ID(kElabIndex, "VHDL-1603", MSG_ERROR)                                                                   \
    TEXT(ElabSliceOutsideRange, kElabIndex, "slice of '%s' is outside its range")                            \
    TEXT(ElabIndexOutsideBounds, kElabIndex, "index %s is outside the range %s %s %s of '%s'")               \
    TEXT(ElabLengthsDiffer, kElabIndex, "length %s of '%s' does not match length %s of '%s'")                \
    TEXT(ElabRecordAggregateTooLong, kElabIndex, "too many elements in record aggregate")                    \
    TEXT(ElabRecordElementWithoutValue, kElabIndex, "record aggregate gives no value to '%s'")               \
    TEXT(ElabAggregateTooLarge, kElabIndex, "aggregate of %s elements is too large")                         \
    TEXT(ElabChoiceValueCount, kElabIndex, "element of %s values for a choice of %s positions")              \
    TEXT(ElabChoiceOutsideAggregate, kElabIndex, "choice %s is outside the range of the aggregate")          \
    TEXT(ElabPositionalCount, kElabIndex, "aggregate of %u elements for %s positions")                       \
    TEXT(ElabAggregateIncomplete, kElabIndex, "aggregate leaves elements without value")                     \
    TEXT(ElabArrayTooLarge, kElabIndex, "array of %s elements is too large")                                 \
    TEXT(ElabIndexOutsideRange, kElabIndex, "index %s is outside the range of '%s'")                         \
    TEXT(ElabSliceValueCount, kElabIndex, "%s values for a slice of %s elements")                            \
    TEXT(ElabOperandLengthsDiffer, kElabIndex, "operands of different lengths")                              \
    TEXT(ElabOperatorOperandLengthsDiffer, kElabIndex, "operands of '%s' have different lengths")            \
    TEXT(ElabSizeTooLarge, kElabIndex, "size %s in '%s' is too large")                                       \
    /* A loop or generate runs past the iteration bound. */                                                \
    ID(kElabLoopBound, "VHDL-1604", MSG_ERROR)                                                               \
    TEXT(ElabGenerateTooLong, kElabLoopBound, "generate '%s' of %s iterations runs past the bound of %s")    \
    TEXT(ElabLoopTooLong, kElabLoopBound, "loop%s%s runs past %s iterations")                                \
    /* Calls nested past the depth bound (a recursion without end). */                                     \
    ID(kElabCallDepth, "VHDL-1605", MSG_ERROR)                                                               \
    TEXT(ElabCallsTooDeep, kElabCallDepth, "calls nested deeper than %u in '%s' (a recursion without end?)") \
    /* A function ends without return. */                                                                  \
    ID(kElabNoReturn, "VHDL-1606", MSG_ERROR)                                                                \
    TEXT(ElabFunctionWithoutReturn, kElabNoReturn, "function '%s' ends without return")                      \
    /* A generic map names no generic of the unit. */                                                      \
    ID(kElabNoGeneric, "VHDL-1607", MSG_ERROR)                                                               \
    TEXT(ElabNotAGeneric, kElabNoGeneric, "'%s' is not a generic of '%s'")                                   \
    TEXT(ElabTooManyGenericActuals, kElabNoGeneric, "too many generic actuals for '%s'")                     \
    /* A generic without default gets no value. */                                                         \
    ID(kElabNoValue, "VHDL-1608", MSG_ERROR)                                                                 \
    TEXT(ElabGenericWithoutValue, kElabNoValue, "generic '%s' of '%s' has no value")                         \
    /* A unit instantiates itself without end. */                                                          \
    ID(kElabInstanceDepth, "VHDL-1609", MSG_ERROR)                                                           \
    TEXT(ElabHierarchyTooDeep, kElabInstanceDepth, "the hierarchy is deeper than %u instances at '%s' (a unit that instantiates itself without end?)") \
    TEXT(ElabInstantiatesItself, kElabInstanceDepth, "'%s' instantiates itself with the same generics")      \
    /* A generic of the generic map that no top has. */                                                    \
    ID(kElabTopGeneric, "VHDL-1610", MSG_WARNING)                                                            \
    TEXT(ElabTopGenericUnused, kElabTopGeneric, "no top has a generic '%s'")                                 \
    /* A configuration or binding names a unit that does not exist. */                                     \
    ID(kElabConfiguration, "VHDL-1611", MSG_ERROR)                                                           \
    TEXT(ElabTopArchitectureMissing, kElabConfiguration, "top '%s' has no architecture '%s'")                \
    TEXT(ElabArchitectureMissing, kElabConfiguration, "entity '%s' has no architecture '%s'")                \
    TEXT(ElabUnitNotAnalysed, kElabConfiguration, "%s '%s' is not analysed in library '%s'")                 \
    /* The evaluation step bound is reached. */                                                            \
    ID(kElabSteps, "VHDL-1612", MSG_ERROR)                                                                   \
    TEXT(ElabTooManyStatements, kElabSteps, "the design elaborates to more than %s statements")              \
    TEXT(ElabTooManySteps, kElabSteps, "elaboration stopped after %s evaluation steps")                      \
    /* A top that no library holds. */                                                                     \
    ID(kElabNoTop, "VHDL-1613", MSG_ERROR)                                                                   \
    TEXT(ElabTopNotFound, kElabNoTop, "top '%s' is no entity or configuration of %s")                        \
    /* A Verilog top asked of the mixed entry that no Verilog library holds. */                             \
    ID(kElabForeignTop, "VHDL-1614", MSG_ERROR)                                                              \
    TEXT(VerilogTopNotElaborated, kElabForeignTop, "Verilog top '%s' is no module of any library")           \
    /* A Verilog instance of an entity whose actual is not as wide as the entity's port. */               \
    ID(kElabPortWidth, "VHDL-1615", MSG_WARNING)                                                             \
    TEXT(ElabPortWidth, kElabPortWidth, "port '%s' of entity '%s' is %s bits wide, its actual %s bits")      \
    /* An instance of a Verilog module that Verilog holds but could not elaborate (its errors say why). */ \
    ID(kElabForeignFailed, "VHDL-1620", MSG_WARNING)                                                         \
    TEXT(ElabForeignFailed, kElabForeignFailed,                                                              \
         "Verilog module '%s' of instance '%s' failed to elaborate; the instance stays unbound")             \
    /* Saved libraries: a saved unit cannot be restored, a unit cannot be saved. */                         \
    ID(kStoreUnreadable, "VHDL-1700", MSG_ERROR)                                                             \
    TEXT(StoreCannotRestore, kStoreUnreadable, "cannot restore unit '%s' of library '%s' from '%s': %s")     \
    ID(kStoreUnwritable, "VHDL-1701", MSG_ERROR)                                                             \
    TEXT(StoreCannotSave, kStoreUnwritable, "cannot save unit '%s' of library '%s': %s")                     \
    TEXT(StoreNoLibrary, kStoreUnwritable, "cannot save library '%s': there is no such library")
// clang-format on

namespace hdl {
namespace vhdl_msg {
HDL_MESSAGE_CONSTANTS(HDL_VHDL_MESSAGES)
HDL_MESSAGE_CATALOGUE(Catalogue, "VHDL front-end", HDL_VHDL_MESSAGES)
} // namespace vhdl_msg
} // namespace hdl
