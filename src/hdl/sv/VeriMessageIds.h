// Catalogue of the messages of the Verilog preprocessor and lexer. Ranges: 1000..1099
// preprocessor, 2000..2099 lexer; the parser and analysis use other ranges.
#pragma once

#include "hdl/base/Message.h"

namespace hdl {

struct VeriMessageId {
    const char* id;
    msg_type_t type;
    const char* meaning;
};

#define HDL_VERI_LEX_MESSAGES(M)                                                              \
    M(OpenFailed, "VERI-1000", MSG_ERROR, "a file could not be opened")                 \
    M(IncludeNotFound, "VERI-1001", MSG_ERROR, "an `include file was not found or cannot be read")       \
    M(IncludeDepth, "VERI-1002", MSG_ERROR, "includes nest too deep (likely a cycle)")  \
    M(UndefinedMacro, "VERI-1003", MSG_ERROR, "use of a macro that is not defined")    \
    M(RecursiveMacro, "VERI-1004", MSG_ERROR, "a macro uses itself while expanding")   \
    M(ExpansionLimit, "VERI-1005", MSG_ERROR, "a macro expansion grew too large/deep") \
    M(MacroArgCount, "VERI-1006", MSG_ERROR, "wrong number of macro arguments")        \
    M(MacroArgsOpen, "VERI-1007", MSG_ERROR, "macro argument list not closed")         \
    M(StrayConditional, "VERI-1008", MSG_ERROR, "`else/`elsif/`endif without `ifdef") \
    M(OpenConditional, "VERI-1009", MSG_ERROR, "`ifdef not closed at end of file")     \
    M(DirectiveSyntax, "VERI-1010", MSG_ERROR, "a compiler directive is malformed")    \
    M(ProtectedSkipped, "VERI-1011", MSG_WARNING, "a protected region was skipped")    \
    M(TranslateOffOpen, "VERI-1012", MSG_WARNING, "translate_off not closed at end")   \
    M(KeywordsVersion, "VERI-1013", MSG_ERROR, "bad `begin_keywords/`end_keywords")    \
    M(MacroRedefined, "VERI-1014", MSG_INFO, "a macro was defined again")              \
    M(ProtectedOpen, "VERI-1015", MSG_ERROR, "a protected region has no end")          \
    M(BinaryInput, "VERI-1016", MSG_ERROR, "a file that is not text (a NUL byte)")     \
    M(CommentOpen, "VERI-2000", MSG_ERROR, "a block comment is not closed")            \
    M(StringOpen, "VERI-2001", MSG_ERROR, "a string literal is not closed on its line") \
    M(BadCharacter, "VERI-2002", MSG_ERROR, "a character that starts no token")        \
    M(BadNumber, "VERI-2003", MSG_ERROR, "a based number without digits")              \
    M(EmptyEscapedId, "VERI-2004", MSG_ERROR, "a backslash followed by white space")   \
    M(BadBacktick, "VERI-2005", MSG_ERROR, "a backquote not followed by a name")

namespace veri_msg {
#define HDL_VERI_MSG_CONST(name, idText, typ, text) constexpr const char* name = idText;
HDL_VERI_LEX_MESSAGES(HDL_VERI_MSG_CONST)
#undef HDL_VERI_MSG_CONST
} // namespace veri_msg

// The whole catalogue, for documentation and for checks that ids stay unique.
inline const VeriMessageId* veriLexMessages(size_t& count) {
#define HDL_VERI_MSG_ROW(name, idText, typ, text) {idText, typ, text},
    static const VeriMessageId rows[] = {HDL_VERI_LEX_MESSAGES(HDL_VERI_MSG_ROW)};
#undef HDL_VERI_MSG_ROW
    count = sizeof(rows) / sizeof(rows[0]);
    return rows;
}

} // namespace hdl
