// A position in 12 bytes instead of 20: the file, the first line, and in one word the
// two columns (12 bits each) and the number of lines spanned (8 bits), which nearly every
// node fits. A position that does not fit is kept whole in a table on the side (one that
// lasts as long as the process), and the word holds its place there. One bit is left
// over for the owner of the position to use (a tree node marks with it that it has
// extras kept elsewhere).
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
    // gets a new entry each time it is set. The mark stays as it was.
    void Set(const ColLineFile& loc) {
        uint32_t span = loc.rightLine - loc.leftLine;
        if (loc.leftCol < kColumns && loc.rightCol < kColumns && loc.rightLine >= loc.leftLine && span < kSpans) {
            file_ = loc.fileId;
            line_ = (loc.leftLine & ~kMark) | (line_ & kMark);
            rest_ = loc.leftCol | loc.rightCol << kColumnBits | span << (2 * kColumnBits);
        } else {
            setOnTheSide(loc);
        }
    }
    // Moves the end, as a parser does once it has read a construct.
    void SetEnd(uint32_t line, uint32_t col) {
        uint32_t leftLine = LeftLine();
        if (!(file_ & kOnTheSide) && col < kColumns && line >= leftLine && line - leftLine < kSpans) {
            rest_ = (rest_ & (kColumns - 1)) | col << kColumnBits | (line - leftLine) << (2 * kColumnBits);
            return;
        }
        ColLineFile loc = Unpack();
        loc.rightLine = line;
        loc.rightCol = col;
        Set(loc);
    }
    // Forgets the positions kept on the side; only when no packed position is used any more.
    static void ForgetAllOnTheSide();
    uint32_t FileId() const { return file_ & ~kOnTheSide; }
    uint32_t LeftLine() const { return line_ & ~kMark; }
    bool Marked() const { return line_ & kMark; }
    void SetMark(bool mark) { line_ = (line_ & ~kMark) | (mark ? kMark : 0); }

private:
    static constexpr uint32_t kOnTheSide = 0x80000000u; // in file_: file ids stay below it
    static constexpr uint32_t kMark = 0x80000000u; // in line_: lines are 31 bits
    static constexpr uint32_t kColumnBits = 12;
    static constexpr uint32_t kColumns = 1u << kColumnBits;
    static constexpr uint32_t kSpans = 1u << 8;
    void setOnTheSide(const ColLineFile& loc);
    uint32_t file_ = 0;
    uint32_t line_ = 0;
    uint32_t rest_ = 0; // columns and span, or the entry on the side
};

} // namespace hdl
