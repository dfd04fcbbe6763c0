// The skim's own VHDL scanner: the lexer's tokens (kind and extent) in one pass, with
// no line and column bookkeeping. Text with a tool directive, a PSL comment or
// anything the lexer would report is left to the lexer, which the scanner tells by
// returning false.
#pragma once

#include <string_view>
#include <vector>

#include "hdl/vhdl/VhdlTokens.h"

namespace hdl {

// A token's kind and extent (byte offsets into the text).
struct VhdlSkimToken {
    uint32_t begin = 0;
    uint32_t end = 0;
    uint16_t kind = VHDL_EOF;
};

// Appends the tokens of `text` read in `mode` to `out`, the last one VHDL_EOF. False
// when the lexer has to read the text; `out` then holds a partial stream.
bool vhdlSkimScan(std::string_view text, unsigned mode, bool ignorePragmas, std::vector<VhdlSkimToken>& out);

} // namespace hdl
