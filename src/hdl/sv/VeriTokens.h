// Token kinds of the Verilog/SystemVerilog front-end. The keyword and operator
// numbers 259..448 are fixed (parse trees store them and printers depend on them);
// every later keyword and operator follows from 449 in the order of the table below,
// then the kinds that carry text of their own (identifiers, literals).
#pragma once

#include <cstdint>
#include <string_view>

namespace hdl {

// The language revisions that select a keyword set, oldest first. Each revision's
// set contains every earlier one's.
enum VeriKeywordSet : uint8_t {
    VERI_KW_1995 = 0,
    VERI_KW_2001_NOCONFIG = 1,
    VERI_KW_2001 = 2,
    VERI_KW_2005 = 3,
    VERI_KW_SV2005 = 4,
    VERI_KW_SV2009 = 5,
    VERI_KW_SV2012 = 6, // also 1800-2017, which added no keyword
};

// X(NAME, number, text, first keyword set) for the fixed numbers; Y(NAME, text, set)
// for the kinds numbered on from 449.
// clang-format off
#define HDL_VERI_FIXED_TOKENS(X)                                                     \
    X(LPAREN, 259, "(", 0) X(RPAREN, 260, ")", 0) X(MOD, 261, "%", 0)                \
    X(PLUS, 262, "+", 0) X(MINUS, 263, "-", 0) X(STAR, 264, "*", 0)                  \
    X(SLASH, 265, "/", 0) X(GT, 266, ">", 0) X(LT, 267, "<", 0) X(GE, 268, ">=", 0)  \
    X(LE, 269, "<=", 0) X(CASE_EQ, 270, "===", 0) X(CASE_NEQ, 271, "!==", 0)         \
    X(LOGEQ, 272, "==", 0) X(LOGNEQ, 273, "!=", 0) X(LOGNOT, 274, "!", 0)            \
    X(LOGAND, 275, "&&", 0) X(LOGOR, 276, "||", 0) X(TILDE, 277, "~", 0)             \
    X(AMP, 278, "&", 0) X(BAR, 279, "|", 0) X(CARET, 280, "^", 0)                    \
    X(NAND_OP, 281, "~&", 0) X(NOR_OP, 282, "~|", 0) X(XNOR_OP, 283, "~^", 0)        \
    X(SHL, 284, "<<", 0) X(SHR, 285, ">>", 0) X(QUESTION, 286, "?", 0)               \
    X(COLON, 287, ":", 0) X(FULL_PATH, 288, "*>", 0) X(PARALLEL_PATH, 289, "=>", 0)  \
    X(ARROW, 291, "->", 0) X(ALWAYS, 292, "always", 0) X(AND, 293, "and", 0)         \
    X(ASSIGN, 294, "assign", 0) X(BEGIN, 295, "begin", 0) X(BUF, 296, "buf", 0)      \
    X(BUFIF0, 297, "bufif0", 0) X(BUFIF1, 298, "bufif1", 0) X(CASE, 299, "case", 0)  \
    X(CASEX, 300, "casex", 0) X(CASEZ, 301, "casez", 0) X(CMOS, 302, "cmos", 0)      \
    X(DEASSIGN, 303, "deassign", 0) X(DEFAULT, 304, "default", 0)                    \
    X(DEFPARAM, 305, "defparam", 0) X(DISABLE, 306, "disable", 0)                    \
    X(EDGE, 307, "edge", 0) X(ELSE, 309, "else", 0) X(END, 310, "end", 0)            \
    X(ENDCASE, 311, "endcase", 0) X(ENDFUNCTION, 312, "endfunction", 0)              \
    X(ENDMODULE, 313, "endmodule", 0) X(ENDPRIMITIVE, 314, "endprimitive", 0)        \
    X(ENDSPECIFY, 315, "endspecify", 0) X(ENDTABLE, 316, "endtable", 0)              \
    X(ENDTASK, 317, "endtask", 0) X(EVENT, 318, "event", 0) X(FOR, 319, "for", 0)    \
    X(FORCE, 320, "force", 0) X(FOREVER, 321, "forever", 0) X(FORK, 322, "fork", 0)  \
    X(FUNCTION, 323, "function", 0) X(HIGHZ0, 324, "highz0", 0)                      \
    X(HIGHZ1, 325, "highz1", 0) X(IF, 326, "if", 0) X(IFNONE, 327, "ifnone", 0)      \
    X(INITIAL, 328, "initial", 0) X(INOUT, 329, "inout", 0)                          \
    X(INPUT, 330, "input", 0) X(INTEGER, 331, "integer", 0) X(JOIN, 332, "join", 0)  \
    X(LARGE, 333, "large", 0) X(MACROMODULE, 334, "macromodule", 0)                  \
    X(MEDIUM, 335, "medium", 0) X(MODULE, 336, "module", 0) X(NAND, 337, "nand", 0)  \
    X(NEGEDGE, 338, "negedge", 0) X(NMOS, 339, "nmos", 0) X(NOR, 341, "nor", 0)      \
    X(NOT, 342, "not", 0) X(NOTIF0, 343, "notif0", 0) X(NOTIF1, 344, "notif1", 0)    \
    X(OR, 345, "or", 0) X(OUTPUT, 346, "output", 0) X(PARAMETER, 347, "parameter", 0) \
    X(PMOS, 348, "pmos", 0) X(POSEDGE, 349, "posedge", 0)                            \
    X(PRIMITIVE, 350, "primitive", 0) X(PULL0, 351, "pull0", 0)                      \
    X(PULL1, 352, "pull1", 0) X(PULLDOWN, 353, "pulldown", 0)                        \
    X(PULLUP, 354, "pullup", 0) X(RCMOS, 355, "rcmos", 0) X(REAL, 356, "real", 0)    \
    X(REALTIME, 357, "realtime", 0) X(REG, 358, "reg", 0)                            \
    X(RELEASE, 359, "release", 0) X(REPEAT, 360, "repeat", 0)                        \
    X(RNMOS, 361, "rnmos", 0) X(RPMOS, 362, "rpmos", 0) X(RTRAN, 363, "rtran", 0)    \
    X(RTRANIF0, 364, "rtranif0", 0) X(RTRANIF1, 365, "rtranif1", 0)                  \
    X(SCALARED, 366, "scalared", 0) X(SMALL, 367, "small", 0)                        \
    X(SPECIFY, 368, "specify", 0) X(SPECPARAM, 369, "specparam", 0)                  \
    X(STRONG0, 370, "strong0", 0) X(STRONG1, 371, "strong1", 0)                      \
    X(SUPPLY0, 372, "supply0", 0) X(SUPPLY1, 373, "supply1", 0)                      \
    X(TABLE, 374, "table", 0) X(TASK, 375, "task", 0) X(TIME, 376, "time", 0)        \
    X(TRAN, 377, "tran", 0) X(TRANIF0, 378, "tranif0", 0)                            \
    X(TRANIF1, 379, "tranif1", 0) X(TRI, 380, "tri", 0) X(TRI0, 381, "tri0", 0)      \
    X(TRI1, 382, "tri1", 0) X(TRIAND, 383, "triand", 0) X(TRIOR, 384, "trior", 0)    \
    X(TRIREG, 385, "trireg", 0) X(VECTORED, 386, "vectored", 0)                      \
    X(WAIT, 387, "wait", 0) X(WAND, 388, "wand", 0) X(WEAK0, 389, "weak0", 0)        \
    X(WEAK1, 390, "weak1", 0) X(WHILE, 391, "while", 0) X(WIRE, 392, "wire", 0)      \
    X(WOR, 393, "wor", 0) X(XNOR, 394, "xnor", 0) X(XOR, 395, "xor", 0)              \
    X(LBRACE, 404, "{", 0) X(RBRACE, 405, "}", 0) X(LBRACKET, 406, "[", 0)           \
    X(RBRACKET, 407, "]", 0) X(SEMI, 408, ";", 0) X(DOT, 409, ".", 0)                \
    X(COMMA, 410, ",", 0) X(AT, 411, "@", 0) X(EQ, 412, "=", 0)                      \
    X(HASH, 414, "#", 0) X(TRIPLE_AND, 415, "&&&", 0) X(PLUS_COLON, 421, "+:", 1)    \
    X(MINUS_COLON, 422, "-:", 1) X(ASHL, 423, "<<<", 1) X(ASHR, 424, ">>>", 1)       \
    X(POWER, 425, "**", 1) X(ATTR_OPEN, 426, "(*", 1) X(ATTR_CLOSE, 427, "*)", 1)    \
    X(CONFIG, 428, "config", 2) X(ENDCONFIG, 429, "endconfig", 2)                    \
    X(DESIGN, 430, "design", 2) X(INSTANCE, 431, "instance", 2)                      \
    X(INCDIR, 432, "incdir", 2) X(INCLUDE, 433, "include", 2) X(CELL, 434, "cell", 2) \
    X(USE, 435, "use", 2) X(LIBRARY, 436, "library", 2) X(LIBLIST, 437, "liblist", 2) \
    X(GENERATE, 438, "generate", 1) X(ENDGENERATE, 439, "endgenerate", 1)            \
    X(GENVAR, 440, "genvar", 1) X(LOCALPARAM, 441, "localparam", 1)                  \
    X(SIGNED, 442, "signed", 1) X(UNSIGNED, 443, "unsigned", 1)                      \
    X(AUTOMATIC, 444, "automatic", 1)                                                \
    X(PULSESTYLE_ONEVENT, 445, "pulsestyle_onevent", 1)                              \
    X(PULSESTYLE_ONDETECT, 446, "pulsestyle_ondetect", 1)                            \
    X(SHOWCANCELLED, 447, "showcancelled", 1)                                        \
    X(NOSHOWCANCELLED, 448, "noshowcancelled", 1)
// clang-format on

// clang-format off
#define HDL_VERI_MORE_TOKENS(Y)                                                      \
    Y(UWIRE, "uwire", 3)                                                             \
    Y(ALIAS, "alias", 4) Y(ALWAYS_COMB, "always_comb", 4)                            \
    Y(ALWAYS_FF, "always_ff", 4) Y(ALWAYS_LATCH, "always_latch", 4)                  \
    Y(ASSERT, "assert", 4) Y(ASSUME, "assume", 4) Y(BEFORE, "before", 4)             \
    Y(BIND, "bind", 4) Y(BINS, "bins", 4) Y(BINSOF, "binsof", 4) Y(BIT, "bit", 4)    \
    Y(BREAK, "break", 4) Y(BYTE, "byte", 4) Y(CHANDLE, "chandle", 4)                 \
    Y(CLASS, "class", 4) Y(CLOCKING, "clocking", 4) Y(CONST, "const", 4)             \
    Y(CONSTRAINT, "constraint", 4) Y(CONTEXT, "context", 4)                          \
    Y(CONTINUE, "continue", 4) Y(COVER, "cover", 4) Y(COVERGROUP, "covergroup", 4)   \
    Y(COVERPOINT, "coverpoint", 4) Y(CROSS, "cross", 4) Y(DIST, "dist", 4)           \
    Y(DO, "do", 4) Y(ENDCLASS, "endclass", 4) Y(ENDCLOCKING, "endclocking", 4)       \
    Y(ENDGROUP, "endgroup", 4) Y(ENDINTERFACE, "endinterface", 4)                    \
    Y(ENDPACKAGE, "endpackage", 4) Y(ENDPROGRAM, "endprogram", 4)                    \
    Y(ENDPROPERTY, "endproperty", 4) Y(ENDSEQUENCE, "endsequence", 4)                \
    Y(ENUM, "enum", 4) Y(EXPECT, "expect", 4) Y(EXPORT, "export", 4)                 \
    Y(EXTENDS, "extends", 4) Y(EXTERN, "extern", 4) Y(FINAL, "final", 4)             \
    Y(FIRST_MATCH, "first_match", 4) Y(FOREACH, "foreach", 4)                        \
    Y(FORKJOIN, "forkjoin", 4) Y(IFF, "iff", 4) Y(IGNORE_BINS, "ignore_bins", 4)     \
    Y(ILLEGAL_BINS, "illegal_bins", 4) Y(IMPORT, "import", 4) Y(INSIDE, "inside", 4) \
    Y(INT, "int", 4) Y(INTERFACE, "interface", 4) Y(INTERSECT, "intersect", 4)       \
    Y(JOIN_ANY, "join_any", 4) Y(JOIN_NONE, "join_none", 4) Y(LOCAL, "local", 4)     \
    Y(LOGIC, "logic", 4) Y(LONGINT, "longint", 4) Y(MATCHES, "matches", 4)           \
    Y(MODPORT, "modport", 4) Y(NEW, "new", 4) Y(NULL, "null", 4)                    \
    Y(PACKAGE, "package", 4) Y(PACKED, "packed", 4) Y(PRIORITY, "priority", 4)       \
    Y(PROGRAM, "program", 4) Y(PROPERTY, "property", 4)                              \
    Y(PROTECTED, "protected", 4) Y(PURE, "pure", 4) Y(RAND, "rand", 4)               \
    Y(RANDC, "randc", 4) Y(RANDCASE, "randcase", 4)                                  \
    Y(RANDSEQUENCE, "randsequence", 4) Y(REF, "ref", 4) Y(RETURN, "return", 4)       \
    Y(SEQUENCE, "sequence", 4) Y(SHORTINT, "shortint", 4)                            \
    Y(SHORTREAL, "shortreal", 4) Y(SOLVE, "solve", 4) Y(STATIC, "static", 4)         \
    Y(STRING, "string", 4) Y(STRUCT, "struct", 4) Y(SUPER, "super", 4)               \
    Y(TAGGED, "tagged", 4) Y(THIS, "this", 4) Y(THROUGHOUT, "throughout", 4)         \
    Y(TIMEPRECISION, "timeprecision", 4) Y(TIMEUNIT, "timeunit", 4)                  \
    Y(TYPE, "type", 4) Y(TYPEDEF, "typedef", 4) Y(UNION, "union", 4)                 \
    Y(UNIQUE, "unique", 4) Y(VAR, "var", 4) Y(VIRTUAL, "virtual", 4)                 \
    Y(VOID, "void", 4) Y(WAIT_ORDER, "wait_order", 4) Y(WILDCARD, "wildcard", 4)     \
    Y(WITH, "with", 4) Y(WITHIN, "within", 4)                                        \
    Y(ACCEPT_ON, "accept_on", 5) Y(CHECKER, "checker", 5)                            \
    Y(ENDCHECKER, "endchecker", 5) Y(EVENTUALLY, "eventually", 5)                    \
    Y(GLOBAL, "global", 5) Y(IMPLIES, "implies", 5) Y(LET, "let", 5)                 \
    Y(NEXTTIME, "nexttime", 5) Y(REJECT_ON, "reject_on", 5)                          \
    Y(RESTRICT, "restrict", 5) Y(S_ALWAYS, "s_always", 5)                            \
    Y(S_EVENTUALLY, "s_eventually", 5) Y(S_NEXTTIME, "s_nexttime", 5)                \
    Y(S_UNTIL, "s_until", 5) Y(S_UNTIL_WITH, "s_until_with", 5)                      \
    Y(STRONG, "strong", 5) Y(SYNC_ACCEPT_ON, "sync_accept_on", 5)                    \
    Y(SYNC_REJECT_ON, "sync_reject_on", 5) Y(UNIQUE0, "unique0", 5)                  \
    Y(UNTIL, "until", 5) Y(UNTIL_WITH, "until_with", 5) Y(UNTYPED, "untyped", 5)     \
    Y(WEAK, "weak", 5)                                                               \
    Y(IMPLEMENTS, "implements", 6) Y(INTERCONNECT, "interconnect", 6)                \
    Y(NETTYPE, "nettype", 6) Y(SOFT, "soft", 6)                                      \
    Y(INC, "++", 4) Y(DEC, "--", 4) Y(PLUS_EQ, "+=", 4) Y(MINUS_EQ, "-=", 4)         \
    Y(STAR_EQ, "*=", 4) Y(SLASH_EQ, "/=", 4) Y(MOD_EQ, "%=", 4) Y(AND_EQ, "&=", 4)   \
    Y(OR_EQ, "|=", 4) Y(XOR_EQ, "^=", 4) Y(SHL_EQ, "<<=", 4) Y(SHR_EQ, ">>=", 4)     \
    Y(ASHL_EQ, "<<<=", 4) Y(ASHR_EQ, ">>>=", 4) Y(WILD_EQ, "==?", 4)                 \
    Y(WILD_NEQ, "!=?", 4) Y(EQUIV, "<->", 4) Y(OVERLAP_IMP, "|->", 4)                \
    Y(NONOVERLAP_IMP, "|=>", 4) Y(CYCLE_DELAY, "##", 4) Y(APOSTROPHE, "'", 4)        \
    Y(APOSTROPHE_LBRACE, "'{", 4) Y(SCOPE, "::", 4) Y(DOT_STAR, ".*", 4)             \
    Y(NB_TRIGGER, "->>", 4) Y(COLON_EQ, ":=", 4) Y(COLON_SLASH, ":/", 4)             \
    Y(AT_AT, "@@", 4) Y(FOLLOWED_BY_OVERLAP, "#-#", 5)                               \
    Y(FOLLOWED_BY_NONOVERLAP, "#=#", 5) Y(DOLLAR, "$", 4)
// clang-format on

enum VeriTokenKind : uint16_t {
#define HDL_VERI_FIXED_ENUM(name, num, text, set) VT_##name = num,
#define HDL_VERI_MORE_ENUM(name, text, set) VT_##name,
    HDL_VERI_FIXED_TOKENS(HDL_VERI_FIXED_ENUM) HDL_VERI_MORE_TOKENS(HDL_VERI_MORE_ENUM)
#undef HDL_VERI_FIXED_ENUM
#undef HDL_VERI_MORE_ENUM
    // Kinds with text of their own. An integer literal's text is the whole literal:
    // `8'hFF`, `8 'h FF` (blanks kept) or `'b1x?`; the size of `WIDTH'h1` from a macro
    // arrives as its own VT_DECIMAL_NUMBER token in front of a VT_BASED_NUMBER.
    VT_IDENTIFIER,
    VT_ESCAPED_IDENTIFIER, // text includes the leading backslash
    VT_SYSTEM_IDENTIFIER, // `$display`, text includes the '$'
    VT_DECIMAL_NUMBER, // unsized decimal: 42, 1_000
    VT_BASED_NUMBER, // sized or based: 4'b10xz, 'hF, 16'sd5
    VT_REAL_NUMBER, // 1.5, 2e-3
    VT_TIME_LITERAL, // 10ns, 1.5us
    VT_UNBASED_UNSIZED, // '0 '1 'x 'z
    VT_STRING_LITERAL, // text includes the double quotes, escapes left as written
    VT_EOF,
    VT_ERROR, // a character or construct that forms no token; already reported
    VT_KIND_COUNT
};

// Parse-tree keyword text for the fixed numbers 259..448; empty for any other number
// and for the numbers in that range that have no keyword.
const char* tokenKeyword(int kind);
// Text of any keyword or operator kind (fixed or not); empty for the other kinds.
const char* tokenText(int kind);
// The first keyword set that knows the keyword kind; VERI_KW_1995 for other kinds.
VeriKeywordSet tokenKeywordSet(int kind);
// True for the reserved words (as opposed to operators and text-carrying kinds).
bool isKeywordKind(int kind);
// The assignment operators `+=` to `>>>=`.
bool isAssignOperatorKind(int kind);
// The strength keywords of drive and charge strengths (`supply0` to `highz1`).
bool isStrengthKind(int kind);

enum VeriTokenFlags : uint16_t {
    VTF_FIRST_ON_LINE = 1, // nothing but white space or comments before it on its line
    VTF_SPACE_BEFORE = 2, // white space or a comment right before it
    VTF_FROM_MACRO = 4, // produced by a macro expansion
};

// One preprocessed token. `text` views either a source buffer or the text of a macro
// expansion, both owned by the preprocessor that produced the token and valid until
// it is destroyed. The position is where the text stands: for macro text the body in
// the `define, for argument text the call site; `expansion` (0 for none) is the
// preprocessor's record of the outermost macro use that produced the token.
struct VeriToken {
    uint16_t kind = VT_EOF;
    uint16_t flags = 0;
    uint32_t fileId = 0;
    uint32_t line = 0;
    uint32_t col = 0;
    uint32_t expansion = 0;
    std::string_view text;

    bool is(int k) const { return kind == k; }
    bool fromMacro() const { return (flags & VTF_FROM_MACRO) != 0; }
};

} // namespace hdl
