// Catalogue of the messages of the Verilog parser and of analysis. The preprocessor and
// lexer use 1000..1099 and 2000..2099 (VeriMessageIds.h); these use 1482 and 1500..1599.
// The scanner raises, lowers or hides a fixed set of ids by number (1137, 1138, 1154, 1158,
// 1206, 1231, 1232, 1245, 1261, 1281, 1330, 1791, 1927, 9003, 9015, 9022, 2142); a new
// diagnostic takes one of those only when its meaning is the one the scanner expects
// there. Of that set only 1482, the announcement of each analysed file, is used so far.
#pragma once

#include "hdl/sv/VeriMessageIds.h"

namespace hdl {

#define HDL_VERI_PARSE_MESSAGES(M)                                                               \
    /* Second argument is the file name: message consumers attribute later messages by it. */   \
    M(AnalyzingFile, "VERI-1482", MSG_INFO, "a file is about to be analysed")                \
    M(SyntaxError, "VERI-1500", MSG_ERROR, "a token the grammar does not allow here")        \
    M(UnexpectedEof, "VERI-1501", MSG_ERROR, "the text ends inside a construct")            \
    M(UnitReplaced, "VERI-1502", MSG_WARNING, "a design unit replaces one of the same name") \
    M(NestingTooDeep, "VERI-1503", MSG_ERROR, "expressions or blocks nest too deep")        \
    M(UnknownPackage, "VERI-1504", MSG_ERROR, "an imported package was never analysed")     \
    M(EndLabelMismatch, "VERI-1505", MSG_ERROR, "the label after end* names another block") \
    M(LanguageUnavailable, "VERI-1506", MSG_ERROR, "the language code is not a Verilog one")

namespace veri_msg {
#define HDL_VERI_PARSE_MSG_CONST(name, idText, typ, text) constexpr const char* name = idText;
HDL_VERI_PARSE_MESSAGES(HDL_VERI_PARSE_MSG_CONST)
#undef HDL_VERI_PARSE_MSG_CONST
} // namespace veri_msg

inline const VeriMessageId* veriParseMessages(size_t& count) {
#define HDL_VERI_PARSE_MSG_ROW(name, idText, typ, text) {idText, typ, text},
    static const VeriMessageId rows[] = {HDL_VERI_PARSE_MESSAGES(HDL_VERI_PARSE_MSG_ROW)};
#undef HDL_VERI_PARSE_MSG_ROW
    count = sizeof(rows) / sizeof(rows[0]);
    return rows;
}

} // namespace hdl
