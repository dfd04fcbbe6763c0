// The markup of IEEE 1735 protected regions ("envelopes"), as vendors ship them in
// Verilog (`pragma protect ...) and VHDL (`protect ...) sources: a begin_protected ...
// end_protected region holding key blocks (the session key, enciphered for each tool
// vendor's public key) and one data block (the source, enciphered with the session
// key). This file only reads the markup; nothing here deciphers.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ieee1735 {

// encoding = (enctype = "base64", line_length = 76, bytes = 256)
struct Encoding {
    std::string type; // lower case; empty when no encoding directive came before the block
    long bytes = -1; // the decoded size the envelope announces; -1 when not given
};

// control name = expression: a right granted to the tool, evaluated by RightsEval.
struct Control {
    std::string name; // lower case
    std::string expression;
};

struct KeyBlock {
    std::string owner; // key_keyowner
    std::string name; // key_keyname
    std::string method; // key_method, lower case
    Encoding encoding;
    std::string text; // the encoded block as it stands
    std::vector<Control> controls; // rights given for this key's tool
    unsigned line = 0;
};

struct Envelope {
    // Lines of the begin_protected and end_protected directives (1-based), and the
    // byte range from the start of the first to the end of the last, line end included.
    unsigned beginLine = 0;
    unsigned endLine = 0;
    size_t beginOffset = 0;
    size_t endOffset = 0;
    long version = -1; // -1 when the envelope gives none
    std::vector<Control> controls; // common rights, before any key block
    std::vector<KeyBlock> keys;
    std::string dataMethod; // lower case
    Encoding dataEncoding;
    std::string dataText;
    bool hasData = false;
    // Why the markup cannot be used; empty when it can. An envelope without an end
    // runs to the end of the text.
    std::string problem;
};

// The envelopes of a text, in order. A directive is a line that starts, after blanks,
// with `pragma protect or `protect (in any case); directives outside an envelope other
// than begin_protected are not envelopes and are left alone.
std::vector<Envelope> findEnvelopes(std::string_view text);

// Decodes base64, ignoring white space; false on any other character or bad padding.
bool decodeBase64(std::string_view text, std::string& out);

} // namespace ieee1735
