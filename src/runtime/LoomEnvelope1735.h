// Plain text of a source file that may hold IEEE 1735 protected regions. This version
// reads files as they are: it finds out whether a file has a protected region, and
// hands out the file's text; decryption is not offered.
#pragma once

#include <functional>
#include <istream>
#include <stdexcept>
#include <string>

namespace ieee1735 {
struct RightsEval {
    enum EvalContextEnum { Simulation = 1, Synthesis = 2, Analysis = 3 };
};
} // namespace ieee1735

class LoomEnvelope1735 {
public:
    enum eNeedDecrypt : unsigned {
        NeedDecrypt_Maybe = 0,
        NeedDecrypt_No = 1,
        NeedDecrypt_Yes = 2,
    };

    // A failure to read an envelope. `missing`: the file does not exist, which callers
    // treat as an absent file rather than as a failure to report.
    class EnvelopeDiag : public std::runtime_error {
    public:
        EnvelopeDiag(const std::string& path, const std::string& what, bool missing = false)
            : std::runtime_error(what), path(path), missing(missing) {}
        std::string path;
        bool missing;
    };

    // A newly opened stream on the file, read at the stream's first use; `state`, while
    // Maybe, is decided at that read, so it must outlive the stream. `denied` is told
    // when rights forbid reading.
    static std::istream* getPlnStream(const std::string& path, eNeedDecrypt& state,
                                      ieee1735::RightsEval::EvalContextEnum context,
                                      const std::function<void(const std::string&, int)>& denied);
    // The same for a file that may well be asked for and not read (an include met again,
    // which a reader that knows its effect asks for only so that it is traced): the file
    // is only looked at now, and opened at the stream's first use. Costs a second path
    // look-up when the file is read, and saves the open and the close when it is not.
    static std::istream* getPlnStreamOnDemand(const std::string& path, eNeedDecrypt& state,
                                              ieee1735::RightsEval::EvalContextEnum context,
                                              const std::function<void(const std::string&, int)>& denied);
    // Told of an open or a read that fails at the stream's first use; the stream then
    // reads as empty and bad.
    static void setLateDiagHandler(void (*handler)(const EnvelopeDiag&));
    // Offset of the first protect directive (`protect, `pragma protect, VHDL
    // `protect) in the stream, or -1 when there is none.
    static long sniffOutTickProtect(std::istream& in);
};

// Line mapping between decrypted text and its protected source. Without decryption
// every line is its own and no line lies in an envelope.
class LoomEnvelopeMap1735 {
public:
    static unsigned getOriginalLineNo(const char* file, unsigned line);
    static bool isWithinEnvelope(const char* file, unsigned line, unsigned column);
};
