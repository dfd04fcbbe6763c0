// When a parser tells a syntax error, shared by the parsers of both languages.
//
// Echoes: after an error a parser skips ahead to where it can go on, and what it meets
// on the way often fails again. An error found before the parser has read kEchoTokens
// tokens of text it could use since the error before (told or not) is an echo of it:
// counted, not told, and it starts the window again. Tokens skipped to re-synchronise
// do not count, so a file of garbage costs one message however its recovery goes.
//
// Directive errors are line-based: no echoes, but the same cap.
//
// Cap: at most kMaxErrorsPerFile errors are told per file; the error that reaches the
// cap is told together with the parser's closing message, and later errors of that file
// are not told.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace hdl {

class ErrorRecovery {
public:
    static constexpr size_t kEchoTokens = 3;
    static constexpr unsigned kMaxErrorsPerFile = 50;

    enum Verdict {
        Tell, // tell the error
        TellLast, // tell the error and the closing message: the file reached the cap
        Quiet, // an echo, or the file's cap is reached
    };

    // An error in file `fileId` found when the parser had read `goodTokens` tokens of
    // usable text (a count that only grows over the parser's run).
    Verdict OnError(uint32_t fileId, size_t goodTokens);
    // An error of a line-based directive (a preprocessor's, a tool directive's): each
    // stands on its own line and is never an echo, but it counts against the cap.
    Verdict OnLineError(uint32_t fileId);

    // Errors told in the file, and all errors found in it (told, echoes, over the cap).
    unsigned Told(uint32_t fileId) const;
    unsigned Found(uint32_t fileId) const;
    bool CapReached(uint32_t fileId) const { return Told(fileId) >= kMaxErrorsPerFile; }

private:
    struct FileCount {
        uint32_t fileId;
        unsigned told;
        unsigned found;
    };
    FileCount& CountOf(uint32_t fileId);
    Verdict Count(FileCount& file); // against the cap
    const FileCount* Find(uint32_t fileId) const;

    bool any_ = false;
    size_t quietUntil_ = 0;
    // Few files per parser run (one, or a unit's includes): a list beats a map.
    std::vector<FileCount> files_;
};

} // namespace hdl
