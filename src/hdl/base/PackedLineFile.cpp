#include "hdl/base/PackedLineFile.h"

#include <vector>

namespace hdl {

namespace {
std::vector<ColLineFile>& wide() {
    static std::vector<ColLineFile> positions;
    return positions;
}
} // namespace

void PackedLineFile::ForgetAllOnTheSide() { wide().clear(); }

ColLineFile PackedLineFile::Unpack() const {
    if (file_ & kOnTheSide) return wide()[rest_];
    uint32_t leftLine = LeftLine();
    return ColLineFile(file_, leftLine, rest_ & (kColumns - 1), leftLine + (rest_ >> (2 * kColumnBits)),
                       (rest_ >> kColumnBits) & (kColumns - 1));
}

void PackedLineFile::setOnTheSide(const ColLineFile& loc) {
    line_ = (loc.leftLine & ~kMark) | (line_ & kMark);
    file_ = loc.fileId | kOnTheSide;
    rest_ = uint32_t(wide().size());
    wide().push_back(loc);
}

} // namespace hdl
