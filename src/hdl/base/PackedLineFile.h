// A position in 16 bytes instead of 20: columns take 16 bits, which nearly every line
// fits. A position with a column past that is kept whole in a table on the side (one
// that lasts as long as the process), and the packed form holds its place there.
#pragma once

#include <cstdint>

#include "hdl/base/LineFile.h"

namespace hdl {

class PackedLineFile {
public:
    PackedLineFile() = default;
    explicit PackedLineFile(const ColLineFile& loc) { Set(loc); }

    ColLineFile Unpack() const;
    // A copy never changes the position of its original: a position kept on the side
    // gets a new entry each time it is set.
    void Set(const ColLineFile& loc);
    uint32_t FileId() const { return file_ & ~kOnTheSide; }
    uint32_t LeftLine() const { return leftLine_; }
    uint32_t RightLine() const { return rightLine_; }

private:
    static constexpr uint32_t kOnTheSide = 0x80000000u; // file ids stay below it
    static constexpr uint32_t kWidest = 0xffffu;
    uint32_t file_ = 0;
    uint32_t leftLine_ = 0;
    uint32_t rightLine_ = 0;
    uint16_t leftCol_ = 0; // with rightCol_, the entry on the side when kOnTheSide is set
    uint16_t rightCol_ = 0;
};

} // namespace hdl
