// Plain text of a source file that may hold IEEE 1735 protected regions: the file as
// it is, except that each envelope that a key of the user's key ring opens (PEM private
// keys in the directory that LOOM_KEYRING names) and whose rights allow reading is
// shown deciphered. The lines of such a view map back to the file's lines.
#pragma once

#include <functional>
#include <istream>
#include <stdexcept>
#include <string>

#include <vector>

#include "runtime/Ieee1735Reader.h"
#include "runtime/Ieee1735Rights.h"

class LoomEnvelope1735 {
public:
    enum eNeedDecrypt : unsigned {
        NeedDecrypt_Maybe = 0,
        NeedDecrypt_No = 1,
        NeedDecrypt_Yes = 2,
    };

    // A failure to read a file (`Io`) or one of its envelopes (`Envelope`, at `line`).
    // `missing`: the file does not exist, which callers treat as an absent file rather
    // than as a failure to report. The text never quotes protected content.
    class EnvelopeDiag : public std::runtime_error {
    public:
        enum Kind { Io, Envelope };
        EnvelopeDiag(const std::string& path, const std::string& what, bool missing = false)
            : std::runtime_error(what), path(path), missing(missing) {}
        EnvelopeDiag(const std::string& path, unsigned line, const std::string& what)
            : std::runtime_error(what), path(path), missing(false), kind(Envelope), line(line) {}
        std::string path;
        bool missing;
        Kind kind = Io;
        unsigned line = 0;
    };

    // A newly opened stream on the file, read at the stream's first use; `state`, while
    // Maybe, is decided at that read, so it must outlive the stream. At that read the
    // envelopes of a protected file are opened: `denied` is told of each whose rights
    // forbid reading in `context`, and the late diagnostic handler of each that cannot
    // be opened; either stays in the text as it is.
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
    // Told of an open or a read that fails at the stream's first use (the stream then
    // reads as empty and bad), and of envelopes that cannot be opened.
    static void setLateDiagHandler(void (*handler)(const EnvelopeDiag&));
    // Offset of the first protect directive (`protect, `pragma protect, VHDL
    // `protect) in the stream, or -1 when there is none.
    static long sniffOutTickProtect(std::istream& in);
};

// Line mapping between the view of a file with deciphered envelopes and the file. A
// file without one maps every line to itself, and no line lies in an envelope.
class LoomEnvelopeMap1735 {
public:
    static unsigned getOriginalLineNo(const char* file, unsigned line);
    // Whether view line `line` is deciphered text.
    static bool isWithinEnvelope(const char* file, unsigned line, unsigned column);
    // The mapping of the last view made of the file; forgets it when `pieces` is empty.
    static void setView(const std::string& file, std::vector<ieee1735::LinePiece> pieces);
};
