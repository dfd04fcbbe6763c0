#include "runtime/LoomEnvelope1735.h"

#include <fstream>
#include <memory>
#include <string>

std::istream* LoomEnvelope1735::getPlnStream(const std::string& path, eNeedDecrypt& state,
                                             ieee1735::RightsEval::EvalContextEnum,
                                             const std::function<void(const std::string&, int)>&) {
    auto in = std::make_unique<std::ifstream>(path, std::ios::binary);
    if (!in->is_open())
        throw EnvelopeDiag(path, "cannot open " + path);
    if (state == NeedDecrypt_Maybe) {
        state = sniffOutTickProtect(*in) < 0 ? NeedDecrypt_No : NeedDecrypt_Yes;
        in->clear();
        in->seekg(0);
    }
    return in.release();
}

// Reads the stream whole and looks at each "protect": after a backquote (`protect),
// after "`pragma " or, as VHDL writes it, first on a line before " begin_protected".
long LoomEnvelope1735::sniffOutTickProtect(std::istream& in) {
    // Block reads from the buffer: a character iterator costs more than the search.
    std::string text;
    char block[1 << 14];
    std::streambuf* buf = in.rdbuf();
    for (std::streamsize n; buf && (n = buf->sgetn(block, sizeof block)) > 0;)
        text.append(block, static_cast<size_t>(n));
    const std::string word = "protect";
    for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        if (at > 0 && text[at - 1] == '`')
            return static_cast<long>(at - 1);
        if (at >= 8 && text.compare(at - 8, 8, "`pragma ") == 0)
            return static_cast<long>(at - 8);
        size_t lineStart = text.find_last_of('\n', at);
        lineStart = lineStart == std::string::npos ? 0 : lineStart + 1;
        if (text.find_first_not_of(" \t", lineStart) == at && text.compare(at + word.size(), 16, " begin_protected") == 0)
            return static_cast<long>(at);
    }
    return -1;
}

unsigned LoomEnvelopeMap1735::getOriginalLineNo(const char*, unsigned line) { return line; }

bool LoomEnvelopeMap1735::isWithinEnvelope(const char*, unsigned, unsigned) { return false; }
