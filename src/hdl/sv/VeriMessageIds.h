// Catalogue of the messages of the Verilog preprocessor and lexer. Ranges: 1000..1099
// preprocessor, 2000..2099 lexer; the parser and analysis use other ranges.
#pragma once

#include "hdl/base/MessageCatalogue.h"

// clang-format off
#define HDL_VERI_LEX_MESSAGES(ID, TEXT)                                                                      \
    ID(kOpenFailed, "VERI-1000", MSG_ERROR)                                                                  \
    TEXT(CannotOpenFile, kOpenFailed, "cannot open file '%s'")                                               \
    /* Told by the stream callback of the scanner for a file it cannot read. */                            \
    TEXT(StreamFailed, kOpenFailed, "%s")                                                                    \
    ID(kIncludeNotFound, "VERI-1001", MSG_ERROR)                                                             \
    TEXT(IncludeUnreadable, kIncludeNotFound, "include file '%s' cannot be read")                            \
    TEXT(IncludeMissing, kIncludeNotFound, "cannot find include file '%s'")                                  \
    ID(kIncludeDepth, "VERI-1002", MSG_ERROR)                                                                \
    TEXT(IncludeLimits, kIncludeDepth,                                                                       \
         "'%s' is not read: include cycle or include limits reached (%u deep, %u in all)")                 \
    ID(kUndefinedMacro, "VERI-1003", MSG_ERROR)                                                              \
    TEXT(MacroNotDefined, kUndefinedMacro, "macro '%s' is not defined")                                      \
    ID(kRecursiveMacro, "VERI-1004", MSG_ERROR)                                                              \
    TEXT(MacroUsesItself, kRecursiveMacro, "macro '%s' is used inside its own expansion; use dropped")       \
    ID(kExpansionLimit, "VERI-1005", MSG_ERROR)                                                              \
    TEXT(ExpansionsNestTooDeep, kExpansionLimit, "macro expansions nest too deep; use dropped")              \
    TEXT(ExpansionsTooLarge, kExpansionLimit,                                                                \
         "macro expansions exceed %u bytes in all; further macro uses are dropped")                         \
    TEXT(ExpansionCutShort, kExpansionLimit,                                                                 \
         "macro expansion exceeds its limits (depth %u, %u uses, %u bytes); cut short")                   \
    ID(kMacroArgCount, "VERI-1006", MSG_ERROR)                                                               \
    TEXT(MacroNeedsArguments, kMacroArgCount, "macro '%s' needs an argument list")                           \
    TEXT(MacroTooManyArguments, kMacroArgCount, "too many arguments (%u) for macro '%s' (%u expected)")    \
    TEXT(MacroMissingArgument, kMacroArgCount, "missing argument '%s' for macro '%s'")                       \
    ID(kMacroArgsOpen, "VERI-1007", MSG_ERROR)                                                               \
    TEXT(MacroArgumentsNotClosed, kMacroArgsOpen, "argument list of macro '%s' is not closed")               \
    ID(kStrayConditional, "VERI-1008", MSG_ERROR)                                                            \
    TEXT(ConditionalWithoutIfdef, kStrayConditional, "`%s without a matching `ifdef")                        \
    TEXT(ConditionalAfterElse, kStrayConditional, "`%s after `else")                                         \
    ID(kOpenConditional, "VERI-1009", MSG_ERROR)                                                             \
    TEXT(ConditionalsNotClosed, kOpenConditional, "%u `ifdef/`ifndef not closed by `endif")                 \
    ID(kDirectiveSyntax, "VERI-1010", MSG_ERROR)                                                             \
    TEXT(DefineNeedsName, kDirectiveSyntax, "`define needs a macro name")                                    \
    TEXT(DefineOfDirective, kDirectiveSyntax, "a compiler directive cannot be defined as a macro")           \
    TEXT(DefineParametersOpen, kDirectiveSyntax, "parameter list of `define is not closed")                  \
    TEXT(ConditionalNeedsName, kDirectiveSyntax, "conditional directive needs a macro name")                 \
    TEXT(ElsifNeedsName, kDirectiveSyntax, "`elsif needs a macro name")                                      \
    TEXT(IncludeNameOpen, kDirectiveSyntax, "`include file name is not closed")                              \
    TEXT(IncludeNeedsName, kDirectiveSyntax, "`include needs a file name in quotes or angle brackets")       \
    TEXT(PragmaNeedsName, kDirectiveSyntax, "`pragma needs a pragma name")                                   \
    TEXT(TimescaleNeedsValues, kDirectiveSyntax, "`timescale needs unit / precision")                        \
    TEXT(TimescaleValues, kDirectiveSyntax,                                                                  \
         "`timescale needs 1, 10 or 100 with s, ms, us, ns, ps or fs, and a precision no coarser than the unit") \
    TEXT(LineNeedsValues, kDirectiveSyntax,                                                                  \
         "`line needs a line number, a quoted file name and a level 0, 1 or 2")                              \
    TEXT(UndefNeedsName, kDirectiveSyntax, "`undef needs a macro name")                                      \
    TEXT(ResetallInsideElement, kDirectiveSyntax, "`resetall is not allowed inside a design element")       \
    TEXT(DefaultNettypeNeedsType, kDirectiveSyntax, "`default_nettype needs a net type or none")             \
    TEXT(UnconnectedDriveNeedsPull, kDirectiveSyntax, "`unconnected_drive needs pull0 or pull1")             \
    ID(kProtectedSkipped, "VERI-1011", MSG_WARNING)                                                          \
    TEXT(ProtectedNotRead, kProtectedSkipped, "protected region is not read")                                \
    ID(kTranslateOffOpen, "VERI-1012", MSG_WARNING)                                                          \
    TEXT(TranslateOffNotClosed, kTranslateOffOpen,                                                           \
         "translate_off has no matching translate_on; the rest of the text is skipped")                      \
    ID(kKeywordsVersion, "VERI-1013", MSG_ERROR)                                                             \
    TEXT(EndKeywordsWithoutBegin, kKeywordsVersion, "`end_keywords without `begin_keywords")                 \
    TEXT(BeginKeywordsNeedsVersion, kKeywordsVersion, "`begin_keywords needs a quoted version")              \
    TEXT(UnknownKeywordVersion, kKeywordsVersion, "unknown keyword version \"%s\"")                          \
    ID(kMacroRedefined, "VERI-1014", MSG_INFO)                                                               \
    TEXT(MacroDefinedAgain, kMacroRedefined, "macro '%s' is defined again")                                  \
    ID(kProtectedOpen, "VERI-1015", MSG_ERROR)                                                               \
    TEXT(ProtectedWithoutEnd, kProtectedOpen, "protected region has no '%s'")                                \
    ID(kBinaryInput, "VERI-1016", MSG_ERROR)                                                                 \
    TEXT(NotTextFile, kBinaryInput, "'%s' is not a text file")                                               \
    ID(kCommentOpen, "VERI-2000", MSG_ERROR)                                                                 \
    TEXT(CommentNotClosed, kCommentOpen, "block comment is not closed before end of text")                   \
    ID(kStringOpen, "VERI-2001", MSG_ERROR)                                                                  \
    TEXT(StringNotClosed, kStringOpen, "string literal is not closed on its line")                           \
    ID(kBadCharacter, "VERI-2002", MSG_ERROR)                                                                \
    TEXT(UnexpectedCharacter, kBadCharacter, "unexpected character %s")                                      \
    ID(kBadNumber, "VERI-2003", MSG_ERROR)                                                                   \
    TEXT(BasedNumberWithoutDigits, kBadNumber, "based number has no digits")                                 \
    ID(kEmptyEscapedId, "VERI-2004", MSG_ERROR)                                                              \
    TEXT(EscapedIdentifierEmpty, kEmptyEscapedId, "escaped identifier is empty")                             \
    ID(kBadBacktick, "VERI-2005", MSG_ERROR)                                                                 \
    TEXT(BacktickOutsideMacro, kBadBacktick, "'%s' outside a macro body")
// clang-format on

namespace hdl {
namespace veri_msg {
HDL_MESSAGE_CONSTANTS(HDL_VERI_LEX_MESSAGES)
HDL_MESSAGE_CATALOGUE(LexCatalogue, "Verilog preprocessor and lexer", HDL_VERI_LEX_MESSAGES)
} // namespace veri_msg
} // namespace hdl
