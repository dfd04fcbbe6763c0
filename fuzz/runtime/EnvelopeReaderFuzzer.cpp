// Feeds arbitrary text to the IEEE 1735 envelope reader: the markup reader, base64, the
// rights expressions and the plain view. A key ring, when LOOM_KEYRING names one, is
// tried on every key block. Beyond crashes and hangs it checks that a view that opened
// nothing is the text itself, and that every view line maps to a line of the text.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "runtime/Ieee1735Envelope.h"
#include "runtime/Ieee1735Reader.h"
#include "runtime/Ieee1735Rights.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    for (const ieee1735::Envelope& e : ieee1735::findEnvelopes(text)) {
        std::string out;
        ieee1735::decodeBase64(e.dataText, out);
        for (const ieee1735::KeyBlock& k : e.keys) {
            ieee1735::decodeBase64(k.text, out);
            ieee1735::RightsEval::decryption(e.controls, k.controls, ieee1735::RightsEval::Analysis);
        }
    }
    ieee1735::RightsEval::evaluate(text, ieee1735::RightsEval::Simulation);
    const char* ring = std::getenv("LOOM_KEYRING");
    ieee1735::PlainView view = ieee1735::readProtected(text, ring ? ring : "", ieee1735::RightsEval::Analysis);
    if (view.pieces.empty() && view.text != text) __builtin_trap();
    const unsigned textLines = static_cast<unsigned>(std::count(text.begin(), text.end(), '\n')) + 1;
    const unsigned viewLines = static_cast<unsigned>(std::count(view.text.begin(), view.text.end(), '\n')) + 1;
    for (unsigned line = 1; line <= viewLines; ++line)
        if (ieee1735::sourceLineOf(view.pieces, line, nullptr) > textLines) __builtin_trap();
    return 0;
}
