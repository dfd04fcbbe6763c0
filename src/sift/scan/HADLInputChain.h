// The source callback that every front-end reads through: it opens a file, through
// the protected-source reader, and tells the skim's include tracer which file is
// being read. The stream knows its name, so that its end can be traced too.
#pragma once

#include <cstdint>
#include <istream>
#include <string>

#include "hdl/base/SourceStream.h"
#include "runtime/LoomEnvelope1735.h"

class HADLTracingInputStream : public hdl::SourceStream {
public:
    HADLTracingInputStream(std::istream* in, std::string name);
    ~HADLTracingInputStream() override;
    using hdl::SourceStream::attach;

    std::string fileName;
    // The protection state of a file outside the decryption cache: learnt anew at each
    // open, when the text is read, so it lives as long as the stream.
    LoomEnvelope1735::eNeedDecrypt scratchState = LoomEnvelope1735::NeedDecrypt_Maybe;
};

// Never null: a file that cannot be read gives a stream that is not open, and the
// front-end reports it.
hdl::SourceStream* openSourceStream(const char* name);

// The file's line for a line of the text read through openSourceStream, and whether it
// lies in a deciphered envelope; for the front-ends' printed messages.
bool protectedSourceLine(const char* file, uint32_t line, uint32_t* sourceLine);
