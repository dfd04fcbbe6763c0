// The rights an IEEE 1735 envelope grants, as `control` directives: common ones and
// ones given in a tool's key block. Only `decryption` matters to a reader of sources:
// whether the tool may decipher the data block in the activity it is performing.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "runtime/Ieee1735Envelope.h"

namespace ieee1735 {

struct RightsEval {
    enum EvalContextEnum { Simulation = 1, Synthesis = 2, Analysis = 3 };

    // Why reading is refused: the right says no, or it cannot be read.
    enum DenialCode { Denied = 1, Unreadable = 2 };

    // The value of a control expression: strings, words, `==`, `!=`, `!`, `&&`, `||`,
    // `?:` and parentheses. `activity` and any name ending in "_activity" (a vendor's
    // own) stand for the context ("simulation", "synthesis", "analysis"); other words
    // stand for themselves. Empty when the expression cannot be read.
    static std::string evaluate(std::string_view expression, EvalContextEnum context);

    // 0 when the data block may be read in `context`, else a DenialCode. The key
    // block's own `decryption` control decides, else the common one; without either,
    // reading is granted.
    static int decryption(const std::vector<Control>& common, const std::vector<Control>& own, EvalContextEnum context);
};

} // namespace ieee1735
