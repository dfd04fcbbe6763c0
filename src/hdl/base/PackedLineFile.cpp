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
    if (file_ & kOnTheSide) return wide()[uint32_t(leftCol_) << 16 | rightCol_];
    return ColLineFile(file_, leftLine_, leftCol_, rightLine_, rightCol_);
}

void PackedLineFile::Set(const ColLineFile& loc) {
    file_ = loc.fileId;
    leftLine_ = loc.leftLine;
    rightLine_ = loc.rightLine;
    if (loc.leftCol < kWidest && loc.rightCol < kWidest) {
        leftCol_ = uint16_t(loc.leftCol);
        rightCol_ = uint16_t(loc.rightCol);
        return;
    }
    uint32_t at = uint32_t(wide().size());
    wide().push_back(loc);
    file_ |= kOnTheSide;
    leftCol_ = uint16_t(at >> 16);
    rightCol_ = uint16_t(at);
}

} // namespace hdl
