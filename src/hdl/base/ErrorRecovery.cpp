#include "hdl/base/ErrorRecovery.h"

namespace hdl {

ErrorRecovery::FileCount& ErrorRecovery::CountOf(uint32_t fileId) {
    for (FileCount& f : files_)
        if (f.fileId == fileId) return f;
    files_.push_back({fileId, 0, 0});
    return files_.back();
}

const ErrorRecovery::FileCount* ErrorRecovery::Find(uint32_t fileId) const {
    for (const FileCount& f : files_)
        if (f.fileId == fileId) return &f;
    return nullptr;
}

ErrorRecovery::Verdict ErrorRecovery::OnError(uint32_t fileId, size_t goodTokens) {
    FileCount& file = CountOf(fileId);
    ++file.found;
    const bool echo = any_ && goodTokens < quietUntil_;
    any_ = true;
    quietUntil_ = goodTokens + kEchoTokens;
    if (echo) return Quiet;
    return Count(file);
}

ErrorRecovery::Verdict ErrorRecovery::OnLineError(uint32_t fileId) {
    FileCount& file = CountOf(fileId);
    ++file.found;
    return Count(file);
}

ErrorRecovery::Verdict ErrorRecovery::Count(FileCount& file) {
    if (file.told >= kMaxErrorsPerFile) return Quiet;
    ++file.told;
    return file.told == kMaxErrorsPerFile ? TellLast : Tell;
}

unsigned ErrorRecovery::Told(uint32_t fileId) const {
    const FileCount* f = Find(fileId);
    return f ? f->told : 0;
}

unsigned ErrorRecovery::Found(uint32_t fileId) const {
    const FileCount* f = Find(fileId);
    return f ? f->found : 0;
}

} // namespace hdl
