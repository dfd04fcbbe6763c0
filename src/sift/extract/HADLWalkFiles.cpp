#include "sift/extract/HADLDefRef.h"

unsigned HADLWalkFiles::fileId(uint32_t frontEndFileId) {
    if (frontEndFileId >= fileIds_.size()) fileIds_.resize(frontEndFileId + 1, 0);
    unsigned& slot = fileIds_[frontEndFileId];
    if (!slot) {
        const char* name = hdl::LineFile::GetFileNameFromId(frontEndFileId);
        slot = (name ? db->fileNames.find(name) : 0) + 1;
    }
    return slot - 1;
}

void HADLWalkFiles::blockRange(const hdl::ColLineFile& where) {
    if (!request->blockRanges) return;
    const unsigned file = fileId(where.fileId);
    if (!file) return;
    if (where.rightLine <= where.leftLine) return;
    HADLVectorForTuple<HADLDatabase::Range>& ranges = db->blockRanges.at(file);
    if (!ranges.empty() && ranges.back().startLine == where.leftLine && ranges.back().endLine == where.rightLine)
        return;
    ranges.push_back({where.leftLine, where.rightLine});
}
