// The plain view of a text with IEEE 1735 envelopes: each envelope that a key of the
// user's key ring opens, and whose rights let the tool read it in the context given,
// is replaced by its deciphered source; the others stay as they are, for the
// front-ends to skip. Lines of the view map back to lines of the file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "runtime/Ieee1735Rights.h"

namespace ieee1735 {

// From `viewLine` on, view lines come from the file's lines starting at `sourceLine`
// one by one, or, `within` a deciphered envelope, all from `sourceLine` (the line of
// its begin_protected).
struct LinePiece {
    unsigned viewLine = 1;
    unsigned sourceLine = 1;
    bool within = false;
};

// A reason why an envelope stays closed. `text` names the envelope by its line and
// never quotes what it protects.
struct EnvelopeProblem {
    unsigned line = 0;
    std::string text;
};

struct EnvelopeDenial {
    unsigned line = 0;
    int code = 0; // RightsEval::DenialCode
};

struct PlainView {
    std::string text;
    std::vector<LinePiece> pieces; // empty when no envelope was opened
    std::vector<EnvelopeProblem> problems;
    std::vector<EnvelopeDenial> denials;
};

// `keyRingDirectory` empty: no key ring was given.
PlainView readProtected(std::string_view text, const std::string& keyRingDirectory,
                        RightsEval::EvalContextEnum context);

// The file line of view line `line` under `pieces`; `within` tells whether it lies in
// deciphered text.
unsigned sourceLineOf(const std::vector<LinePiece>& pieces, unsigned line, bool* within);

} // namespace ieee1735
