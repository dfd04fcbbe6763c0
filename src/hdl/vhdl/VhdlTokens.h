// Token kinds of the VHDL lexer and the reserved words of each edition.
#pragma once

#include <cstdint>
#include <string_view>

#include "hdl/base/Language.h"

namespace hdl {

// Language modes, numbered as the file languages of the scanner.
enum VhdlMode : unsigned {
    VHDL_87 = LANG_VHDL87,
    VHDL_93 = LANG_VHDL93,
    VHDL_2K = LANG_VHDL2K,
    VHDL_2008 = LANG_VHDL08,
    VHDL_2019 = LANG_VHDL19,
    VHDL_PSL = LANG_VHDLPSL,
};

// Reserved words: token name, spelling, first edition that reserves it. PSL words
// (edition 13) are reserved only in PSL mode; elsewhere they are plain identifiers.
// clang-format off
#define VHDL_KEYWORDS(X) \
    X(ABS, "abs", 8) X(ACCESS, "access", 8) X(AFTER, "after", 8) X(ALIAS, "alias", 8) \
    X(ALL, "all", 8) X(AND, "and", 8) X(ARCHITECTURE, "architecture", 8) X(ARRAY, "array", 8) \
    X(ASSERT, "assert", 8) X(ATTRIBUTE, "attribute", 8) X(BEGIN, "begin", 8) X(BLOCK, "block", 8) \
    X(BODY, "body", 8) X(BUFFER, "buffer", 8) X(BUS, "bus", 8) X(CASE, "case", 8) \
    X(COMPONENT, "component", 8) X(CONFIGURATION, "configuration", 8) X(CONSTANT, "constant", 8) \
    X(DISCONNECT, "disconnect", 8) X(DOWNTO, "downto", 8) X(ELSE, "else", 8) X(ELSIF, "elsif", 8) \
    X(END, "end", 8) X(ENTITY, "entity", 8) X(EXIT, "exit", 8) X(FILE, "file", 8) X(FOR, "for", 8) \
    X(FUNCTION, "function", 8) X(GENERATE, "generate", 8) X(GENERIC, "generic", 8) \
    X(GUARDED, "guarded", 8) X(IF, "if", 8) X(IN, "in", 8) X(INOUT, "inout", 8) X(IS, "is", 8) \
    X(LABEL, "label", 8) X(LIBRARY, "library", 8) X(LINKAGE, "linkage", 8) X(LOOP, "loop", 8) \
    X(MAP, "map", 8) X(MOD, "mod", 8) X(NAND, "nand", 8) X(NEW, "new", 8) X(NEXT, "next", 8) \
    X(NOR, "nor", 8) X(NOT, "not", 8) X(NULL_, "null", 8) X(OF, "of", 8) X(ON, "on", 8) \
    X(OPEN, "open", 8) X(OR, "or", 8) X(OTHERS, "others", 8) X(OUT, "out", 8) \
    X(PACKAGE, "package", 8) X(PORT, "port", 8) X(PROCEDURE, "procedure", 8) \
    X(PROCESS, "process", 8) X(RANGE, "range", 8) X(RECORD, "record", 8) \
    X(REGISTER, "register", 8) X(REM, "rem", 8) X(REPORT, "report", 8) X(RETURN, "return", 8) \
    X(SELECT, "select", 8) X(SEVERITY, "severity", 8) X(SIGNAL, "signal", 8) \
    X(SUBTYPE, "subtype", 8) X(THEN, "then", 8) X(TO, "to", 8) X(TRANSPORT, "transport", 8) \
    X(TYPE, "type", 8) X(UNITS, "units", 8) X(UNTIL, "until", 8) X(USE, "use", 8) \
    X(VARIABLE, "variable", 8) X(WAIT, "wait", 8) X(WHEN, "when", 8) X(WHILE, "while", 8) \
    X(WITH, "with", 8) X(XOR, "xor", 8) \
    X(GROUP, "group", 9) X(IMPURE, "impure", 9) X(INERTIAL, "inertial", 9) \
    X(LITERAL, "literal", 9) X(POSTPONED, "postponed", 9) X(PURE, "pure", 9) \
    X(REJECT, "reject", 9) X(ROL, "rol", 9) X(ROR, "ror", 9) X(SHARED, "shared", 9) \
    X(SLA, "sla", 9) X(SLL, "sll", 9) X(SRA, "sra", 9) X(SRL, "srl", 9) \
    X(UNAFFECTED, "unaffected", 9) X(XNOR, "xnor", 9) \
    X(PROTECTED, "protected", 10) \
    X(CONTEXT, "context", 11) X(DEFAULT, "default", 11) X(FORCE, "force", 11) \
    X(PARAMETER, "parameter", 11) X(RELEASE, "release", 11) \
    X(PRIVATE, "private", 12) X(VIEW, "view", 12) \
    X(ASSUME, "assume", 13) X(ASSUME_GUARANTEE, "assume_guarantee", 13) X(COVER, "cover", 13) \
    X(FAIRNESS, "fairness", 13) X(PROPERTY, "property", 13) X(RESTRICT, "restrict", 13) \
    X(RESTRICT_GUARANTEE, "restrict_guarantee", 13) X(SEQUENCE, "sequence", 13) \
    X(STRONG, "strong", 13) X(VMODE, "vmode", 13) X(VPROP, "vprop", 13) X(VUNIT, "vunit", 13)
// clang-format on

enum VhdlToken : uint16_t {
    VHDL_EOF = 0,
    VHDL_ERROR,
    VHDL_ID, // basic identifier
    VHDL_EXTENDED_ID, // \extended identifier\ (spelling keeps the backslashes)
    VHDL_INTEGER, // abstract literal without point
    VHDL_REAL, // abstract literal with point
    VHDL_BIT_STRING, // [length] base "..."
    VHDL_STRING,
    VHDL_CHARACTER,
    // Delimiters.
    VHDL_AMP,
    VHDL_TICK,
    VHDL_LPAREN,
    VHDL_RPAREN,
    VHDL_STAR,
    VHDL_PLUS,
    VHDL_COMMA,
    VHDL_MINUS,
    VHDL_DOT,
    VHDL_SLASH,
    VHDL_COLON,
    VHDL_SEMI,
    VHDL_LT,
    VHDL_EQ,
    VHDL_GT,
    VHDL_BAR,
    VHDL_LBRACKET,
    VHDL_RBRACKET,
    VHDL_QUESTION,
    VHDL_AT,
    VHDL_CARET,
    VHDL_ARROW, // =>
    VHDL_POW, // **
    VHDL_VARASSIGN, // :=
    VHDL_NEQ, // /=
    VHDL_GE, // >=
    VHDL_LE, // <=
    VHDL_BOX, // <>
    VHDL_COND, // ??
    VHDL_MEQ,
    VHDL_MNEQ,
    VHDL_MLT,
    VHDL_MLE,
    VHDL_MGT,
    VHDL_MGE, // ?= ?/= ?< ?<= ?> ?>=
    VHDL_LTLT,
    VHDL_GTGT, // << >> of external names
    VHDL_LBRACE,
    VHDL_RBRACE, // { } of PSL sequences
    VHDL_FIRST_KEYWORD,
#define VHDL_KW_ENUM(name, text, ed) VHDL_##name,
    VHDL_KEYWORDS(VHDL_KW_ENUM)
#undef VHDL_KW_ENUM
        VHDL_TOKEN_COUNT
};

// Reserved word of `text` (any case) in `mode`, or VHDL_ID.
VhdlToken VhdlKeyword(std::string_view text, unsigned mode);
// Spelling of a token kind: the keyword in lower case, the delimiter, or a class name.
const char* VhdlTokenText(unsigned token);

} // namespace hdl
