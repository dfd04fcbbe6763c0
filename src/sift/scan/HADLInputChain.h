// The source callback that every front-end reads through: it opens a file, through
// the protected-source reader, and tells the skim's include tracer which file is
// being read. The stream knows its name, so that its end can be traced too.
#pragma once

#include <istream>
#include <string>

#include "hdl/base/SourceStream.h"

class HADLTracingInputStream : public hdl::SourceStream {
public:
    HADLTracingInputStream(std::istream* in, std::string name);
    ~HADLTracingInputStream() override;

    std::string fileName;
};

// Never null: a file that cannot be read gives a stream that is not open, and the
// front-end reports it.
hdl::SourceStream* openSourceStream(const char* name);
