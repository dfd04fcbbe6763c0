#include "hdl/base/SourceStream.h"

#include <fstream>
#include <sys/stat.h>

namespace hdl {

SourceStream::SourceStream(std::istream* in) : in_(in) {}

SourceStream::~SourceStream() { delete in_; }

bool SourceStream::is_open() const {
    if (!in_) return false;
    if (auto* f = dynamic_cast<std::ifstream*>(in_)) return f->is_open();
    return true;
}

bool SourceStream::fail() const { return !in_ || in_->fail(); }

bool SourceStream::ReadAll(std::string& out) {
    if (!is_open()) return false;
    // A stream that knows how much it holds (a file's text in memory, a file buffer)
    // is read in one piece; the rest block by block.
    std::streambuf* buf = in_->rdbuf();
    if (!buf) return false;
    std::streamsize avail = buf->in_avail();
    if (avail > 0) {
        size_t had = out.size();
        out.resize(had + size_t(avail));
        out.resize(had + size_t(buf->sgetn(out.data() + had, avail)));
    }
    char block[1 << 16];
    for (std::streamsize n; (n = buf->sgetn(block, sizeof block)) > 0;) out.append(block, size_t(n));
    return !in_->bad();
}

size_t SourceStream::Remaining() {
    std::streambuf* buf = in_ ? in_->rdbuf() : nullptr;
    std::streamsize avail = buf ? buf->in_avail() : 0;
    return avail > 0 ? size_t(avail) : 0;
}

std::unique_ptr<SourceStream> OpenSourceStream(StreamCallBack callback, const char* name) {
    if (callback) {
        SourceStream* s = callback(name);
        if (s) return std::unique_ptr<SourceStream>(s);
        return std::make_unique<SourceStream>(nullptr);
    }
    if (!FileSystem::IsSourceFile(name)) return std::make_unique<SourceStream>(nullptr);
    auto* f = new std::ifstream(name, std::ios::in | std::ios::binary);
    if (!f->is_open()) {
        delete f;
        f = nullptr;
    }
    return std::make_unique<SourceStream>(f);
}

std::string FileSystem::DirectoryPath(const std::string& path) {
    size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

std::string FileSystem::Join(const std::string& dir, const std::string& name) {
    if (dir.empty() || IsAbsolute(name)) return name;
    if (dir.back() == '/') return dir + name;
    return dir + "/" + name;
}

bool FileSystem::IsSourceFile(const std::string& path) {
    struct stat st;
    if (::stat(path.c_str(), &st) != 0) return false;
    if (S_ISREG(st.st_mode)) return true;
    struct stat null;
    return S_ISCHR(st.st_mode) && ::stat("/dev/null", &null) == 0 && st.st_rdev == null.st_rdev;
}

} // namespace hdl
