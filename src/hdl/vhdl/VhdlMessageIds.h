// Catalogue of the messages of the VHDL front-end: 1000..1099 lexical, 1100..1199
// syntax, 1500..1599 files and libraries, 1600..1699 elaboration.
//
// Ids that the scanner configures by number keep the meaning it expects and are not
// used for anything else: VHDL-1238, VHDL-1260, VHDL-1261, VHDL-1283 (raised to error
// by the scanner's capture), VHDL-9017, VHDL-9019, VHDL-9021 (ignored by the scanner),
// VHDL-1317 and VHDL-1474 (allowed through during elaboration: elaboration uses them for
// what the parent should hear of, an instance left unbound and the design's own
// assertions). The front-end does not issue the others yet; the scanner's catalogue
// holds them until it does. Elaboration (1600..1699) still spells its texts where it
// tells them.
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
    /* A component instance that no unit binds. */                                                         \
    ID(kElabUnbound, "VHDL-1317", MSG_WARNING)                                                               \
    /* An assertion or report of the design while elaborating, told as its severity says. */               \
    ID(kElabAssertion, "VHDL-1474", MSG_WARNING)                                                             \
    /* A value elaboration needs cannot be worked out. */                                                  \
    ID(kElabNotStatic, "VHDL-1600", MSG_ERROR)                                                               \
    ID(kElabDivision, "VHDL-1601", MSG_ERROR)                                                                \
    /* A value outside the range of its subtype, an overflow. */                                           \
    ID(kElabRange, "VHDL-1602", MSG_ERROR)                                                                   \
    /* An index outside the array, lengths that do not match. */                                           \
    ID(kElabIndex, "VHDL-1603", MSG_ERROR)                                                                   \
    /* A loop or generate runs past the iteration bound. */                                                \
    ID(kElabLoopBound, "VHDL-1604", MSG_ERROR)                                                               \
    /* Calls nested past the depth bound (a recursion without end). */                                     \
    ID(kElabCallDepth, "VHDL-1605", MSG_ERROR)                                                               \
    /* A function ends without return. */                                                                  \
    ID(kElabNoReturn, "VHDL-1606", MSG_ERROR)                                                                \
    /* A generic map names no generic of the unit. */                                                      \
    ID(kElabNoGeneric, "VHDL-1607", MSG_ERROR)                                                               \
    /* A generic without default gets no value. */                                                         \
    ID(kElabNoValue, "VHDL-1608", MSG_ERROR)                                                                 \
    /* A unit instantiates itself without end. */                                                          \
    ID(kElabInstanceDepth, "VHDL-1609", MSG_ERROR)                                                           \
    /* A generic of the generic map that no top has. */                                                    \
    ID(kElabTopGeneric, "VHDL-1610", MSG_WARNING)                                                            \
    /* A configuration or binding names a unit that does not exist. */                                     \
    ID(kElabConfiguration, "VHDL-1611", MSG_ERROR)                                                           \
    /* The evaluation step bound is reached. */                                                            \
    ID(kElabSteps, "VHDL-1612", MSG_ERROR)                                                                   \
    /* A top that no library holds. */                                                                     \
    ID(kElabNoTop, "VHDL-1613", MSG_ERROR)                                                                   \
    /* Saved libraries: a saved unit cannot be restored, a unit cannot be saved. */                         \
    ID(kStoreUnreadable, "VHDL-1700", MSG_ERROR)                                                             \
    ID(kStoreUnwritable, "VHDL-1701", MSG_ERROR)
// clang-format on

namespace hdl {
namespace vhdl_msg {
HDL_MESSAGE_CONSTANTS(HDL_VHDL_MESSAGES)
HDL_MESSAGE_CATALOGUE(Catalogue, "VHDL front-end", HDL_VHDL_MESSAGES)
} // namespace vhdl_msg
} // namespace hdl
