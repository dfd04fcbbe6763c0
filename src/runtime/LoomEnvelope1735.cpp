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

long LoomEnvelope1735::sniffOutTickProtect(std::istream& in) {
    static const std::string markers[] = {"`protect", "`pragma protect"};
    std::string line;
    long offset = 0;
    while (std::getline(in, line)) {
        for (const std::string& m : markers) {
            size_t at = line.find(m);
            if (at != std::string::npos)
                return offset + static_cast<long>(at);
        }
        // VHDL writes the directive without the quote, at the start of a line.
        size_t first = line.find_first_not_of(" \t");
        if (first != std::string::npos && line.compare(first, 23, "protect begin_protected") == 0)
            return offset + static_cast<long>(first);
        offset += static_cast<long>(line.size()) + 1;
    }
    return -1;
}

unsigned LoomEnvelopeMap1735::getOriginalLineNo(const char*, unsigned line) { return line; }

bool LoomEnvelopeMap1735::isWithinEnvelope(const char*, unsigned, unsigned) { return false; }
