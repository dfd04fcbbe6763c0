#include "hdl/base/PackedLineFile.h"

#include <vector>

namespace hdl {

namespace {
std::vector<ColLineFile>& wide() {
    static std::vector<ColLineFile> positions;
    return positions;
}
} // namespace

ColLineFile PackedLineFile::Unpack() const {
    if (file_ & kOnTheSide) return wide()[rest_];
    uint32_t leftLine = LeftLine();
    uint32_t mask = (1u << kColumnBits) - 1;
    return ColLineFile(file_, leftLine, rest_ & mask, leftLine + (rest_ >> (2 * kColumnBits)),
                       (rest_ >> kColumnBits) & mask);
}

void PackedLineFile::Set(const ColLineFile& loc) {
    uint32_t mark = line_ & kMark;
    line_ = (loc.leftLine & ~kMark) | mark;
    uint32_t limit = 1u << kColumnBits;
    uint32_t span = loc.rightLine - loc.leftLine;
    if (loc.leftCol < limit && loc.rightCol < limit && loc.rightLine >= loc.leftLine && span < (1u << kSpanBits)) {
        file_ = loc.fileId;
        rest_ = loc.leftCol | loc.rightCol << kColumnBits | span << (2 * kColumnBits);
        return;
    }
    file_ = loc.fileId | kOnTheSide;
    rest_ = uint32_t(wide().size());
    wide().push_back(loc);
}

} // namespace hdl
