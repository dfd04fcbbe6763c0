// Catalogue of the messages of the Verilog parser and of analysis. The preprocessor and
// lexer use 1000..1099 and 2000..2099 (VeriMessageIds.h); these use 1482 and 1500..1599.
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
    TEXT(NotVerilogLanguage, kLanguageUnavailable, "language code %u is not a Verilog language")           \
    ID(kStoreUnreadable, "VERI-1700", MSG_ERROR)                                                           \
    TEXT(StoreCannotRestore, kStoreUnreadable, "cannot restore unit '%s' of library '%s' from '%s': %s")   \
    ID(kStoreUnwritable, "VERI-1701", MSG_ERROR)                                                           \
    TEXT(StoreCannotSave, kStoreUnwritable, "cannot save unit '%s' of library '%s': %s")                   \
    TEXT(StoreNoLibrary, kStoreUnwritable, "cannot save library '%s': there is no such library")
// clang-format on

namespace hdl {
namespace veri_msg {
HDL_MESSAGE_CONSTANTS(HDL_VERI_PARSE_MESSAGES)
HDL_MESSAGE_CATALOGUE(ParseCatalogue, "Verilog parser and analysis", HDL_VERI_PARSE_MESSAGES)
} // namespace veri_msg
} // namespace hdl
