#include "runtime/Ieee1735Reader.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "runtime/Ieee1735Cipher.h"
#include "runtime/Ieee1735Envelope.h"

namespace ieee1735 {

namespace {

bool iequals(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

unsigned countLines(std::string_view s) { return static_cast<unsigned>(std::count(s.begin(), s.end(), '\n')); }

// The decoded bytes of a block; an empty result with `why` set when it cannot be had.
bool decodeBlock(const Encoding& encoding, const std::string& text, std::string& out, std::string& why) {
    // Envelopes name the encoding before each block; one that does not is read as
    // base64, the only encoding vendors ship.
    if (!encoding.type.empty() && encoding.type != "base64") {
        why = "encoding '" + encoding.type + "' is not supported";
        return false;
    }
    if (!decodeBase64(text, out)) {
        why = "a block is not valid base64";
        return false;
    }
    if (encoding.bytes >= 0 && out.size() != static_cast<size_t>(encoding.bytes)) {
        why = "a block holds " + std::to_string(out.size()) + " bytes, not the " + std::to_string(encoding.bytes) +
              " it announces";
        return false;
    }
    return true;
}

std::string keyLabel(const KeyBlock& key) {
    std::string label = key.owner.empty() ? "?" : key.owner;
    if (!key.name.empty()) label += "/" + key.name;
    return label;
}

// The deciphered source of one envelope, or the reason why there is none; a denial
// sets `denial` instead.
struct Opened {
    bool ok = false;
    std::string plain;
    std::string why;
    int denial = 0;
};

Opened open(const Envelope& env, const std::string& ringDirectory, RightsEval::EvalContextEnum context) {
    Opened result;
    if (!env.problem.empty()) {
        result.why = "malformed envelope (" + env.problem + ")";
        return result;
    }
    if (env.version > 2) {
        result.why = "envelope version " + std::to_string(env.version) + " is not supported";
        return result;
    }
    const size_t keyLength = sessionKeyLength(env.dataMethod);
    if (keyLength == 0) {
        result.why = "data_method '" + env.dataMethod + "' is not supported";
        return result;
    }
    std::string data;
    if (!decodeBlock(env.dataEncoding, env.dataText, data, result.why)) return result;
    if (ringDirectory.empty()) {
        result.why = "no key ring is given (LOOM_KEYRING is not set)";
        return result;
    }
    const std::vector<PrivateKey>& ring = keyRing(ringDirectory);
    std::string labels;
    bool deciphered = false;
    for (const KeyBlock& key : env.keys) {
        labels += (labels.empty() ? "" : ", ") + keyLabel(key);
        std::string block;
        std::string why;
        if ((!key.method.empty() && key.method != "rsa") || !decodeBlock(key.encoding, key.text, block, why)) continue;
        // The key named as the block names its key first, then any other of its size.
        std::vector<const PrivateKey*> candidates;
        for (const PrivateKey& k : ring)
            if (k.size() == block.size() && iequals(k.name(), key.name)) candidates.push_back(&k);
        for (const PrivateKey& k : ring)
            if (k.size() == block.size() && !iequals(k.name(), key.name)) candidates.push_back(&k);
        for (const PrivateKey* k : candidates) {
            for (const std::string& session : k->decipher(block)) {
                if (session.size() != keyLength) continue;
                std::string plain;
                deciphered = true;
                // Sources are text: a NUL byte means a key that only seemed to fit.
                if (!decipherData(env.dataMethod, session, data, plain) ||
                    std::memchr(plain.data(), '\0', plain.size()))
                    continue;
                result.denial = RightsEval::decryption(env.controls, key.controls, context);
                if (result.denial) return result;
                result.ok = true;
                result.plain = std::move(plain);
                return result;
            }
        }
    }
    if (deciphered)
        result.why = "the data block does not decipher (damaged, or not enciphered with the key block's key)";
    else
        result.why = "no key of the key ring '" + ringDirectory + "' opens a key block (" +
                     (labels.empty() ? std::string("none given") : labels) + ")";
    return result;
}

} // namespace

PlainView readProtected(std::string_view text, const std::string& ringDirectory, RightsEval::EvalContextEnum context) {
    PlainView view;
    std::vector<Envelope> envelopes = findEnvelopes(text);
    size_t copied = 0; // text taken up to here
    unsigned viewLine = 1; // the view line at `copied`
    unsigned sourceLine = 1; // the file line at `copied`
    for (const Envelope& env : envelopes) {
        Opened opened = open(env, ringDirectory, context);
        if (!opened.ok) {
            if (opened.denial) view.denials.push_back({env.beginLine, opened.denial});
            else view.problems.push_back({env.beginLine, opened.why});
            continue;
        }
        if (view.pieces.empty()) view.pieces.push_back({1, 1, false});
        std::string_view before = text.substr(copied, env.beginOffset - copied);
        view.text.append(before);
        viewLine += countLines(before);
        // The begin_protected line stays as an empty line, so that the deciphered text
        // never starts on the first line, where messages about the whole file go.
        view.text += '\n';
        ++viewLine;
        view.pieces.push_back({viewLine, env.beginLine, true});
        view.text += opened.plain;
        if (!opened.plain.empty() && opened.plain.back() != '\n') view.text += '\n';
        viewLine += countLines(opened.plain) + (!opened.plain.empty() && opened.plain.back() != '\n');
        copied = env.endOffset;
        sourceLine = env.endLine + 1;
        // Past an envelope that ends the text, the view's end is the envelope's.
        if (copied < text.size()) view.pieces.push_back({viewLine, sourceLine, false});
    }
    if (view.pieces.empty()) {
        view.text.assign(text);
        return view;
    }
    view.text.append(text.substr(copied));
    return view;
}

unsigned sourceLineOf(const std::vector<LinePiece>& pieces, unsigned line, bool* within) {
    if (within) *within = false;
    auto it = std::upper_bound(pieces.begin(), pieces.end(), line,
                               [](unsigned l, const LinePiece& p) { return l < p.viewLine; });
    if (it == pieces.begin()) return line;
    const LinePiece& p = *(it - 1);
    if (within) *within = p.within;
    return p.within ? p.sourceLine : p.sourceLine + (line - p.viewLine);
}

} // namespace ieee1735
