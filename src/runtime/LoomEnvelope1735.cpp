#include "runtime/LoomEnvelope1735.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A file's whole text, owned by the stream that reads it: the protection sniff and the
// reader share one read of the file, and the reader learns the size without a syscall.
class TextBuffer : public std::streambuf {
public:
    explicit TextBuffer(std::string text) : text_(std::move(text)) {
        char* b = text_.data();
        setg(b, b, b + text_.size());
    }

protected:
    pos_type seekoff(off_type off, std::ios::seekdir dir, std::ios::openmode which) override {
        if (!(which & std::ios::in))
            return pos_type(off_type(-1));
        off_type base = dir == std::ios::beg ? 0 : dir == std::ios::cur ? gptr() - eback() : egptr() - eback();
        off_type at = base + off;
        if (at < 0 || at > egptr() - eback())
            return pos_type(off_type(-1));
        setg(eback(), eback() + at, egptr());
        return pos_type(at);
    }
    pos_type seekpos(pos_type pos, std::ios::openmode which) override {
        return seekoff(off_type(pos), std::ios::beg, which);
    }

private:
    std::string text_;
};

class TextStream : public std::istream {
public:
    explicit TextStream(std::string text) : std::istream(nullptr), buffer_(std::move(text)) { rdbuf(&buffer_); }

private:
    TextBuffer buffer_;
};

bool isNullDevice(const struct stat& st) {
    struct stat null;
    return S_ISCHR(st.st_mode) && ::stat("/dev/null", &null) == 0 && st.st_rdev == null.st_rdev;
}

// open, fstat, one read of the known size (a short read of a regular file is its end),
// close. Only regular files and the null device are read: a directory fails, and a
// pipe or another device could block or never end (hence the open without blocking).
std::string readWhole(const std::string& path) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        // Asked only on failure, so that an existing file costs one path look-up.
        struct stat st;
        bool missing = ::stat(path.c_str(), &st) != 0;
        throw LoomEnvelope1735::EnvelopeDiag(path, "cannot open " + path, missing);
    }
    struct stat st;
    bool regular = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    if (!regular && !isNullDevice(st)) {
        ::close(fd);
        throw LoomEnvelope1735::EnvelopeDiag(path, "cannot read " + path + ": not a regular file");
    }
    std::string text;
    size_t want = regular ? size_t(st.st_size) + 1 : size_t(1) << 16;
    for (;;) {
        size_t had = text.size();
        text.resize(had + want);
        ssize_t got;
        do
            got = ::read(fd, text.data() + had, want);
        while (got < 0 && errno == EINTR);
        if (got < 0) {
            int error = errno;
            ::close(fd);
            throw LoomEnvelope1735::EnvelopeDiag(path, "cannot read " + path + ": " + std::strerror(error));
        }
        text.resize(had + size_t(got));
        if (got == 0 || (regular && size_t(got) < want))
            break;
        want = size_t(1) << 16;
    }
    ::close(fd);
    return text;
}

// The first protect directive, the one the front-ends act on: `protect (in VHDL a tool
// directive, whose name ignores case) or `pragma protect. Every file passes through
// here, so only the backquotes are visited.
long findTickProtect(std::string_view text) {
    auto wordAt = [&](size_t at, std::string_view word) {
        if (text.size() - at < word.size())
            return false;
        for (size_t i = 0; i < word.size(); ++i)
            if ((text[at + i] | 0x20) != word[i])
                return false;
        return true;
    };
    for (size_t b = text.find('`'); b != std::string_view::npos; b = text.find('`', b + 1))
        if (wordAt(b + 1, "protect") || text.compare(b + 1, 14, "pragma protect") == 0)
            return static_cast<long>(b);
    return -1;
}

} // namespace

std::istream* LoomEnvelope1735::getPlnStream(const std::string& path, eNeedDecrypt& state,
                                             ieee1735::RightsEval::EvalContextEnum,
                                             const std::function<void(const std::string&, int)>&) {
    std::string text = readWhole(path);
    if (state == NeedDecrypt_Maybe)
        state = findTickProtect(text) < 0 ? NeedDecrypt_No : NeedDecrypt_Yes;
    return new TextStream(std::move(text));
}

long LoomEnvelope1735::sniffOutTickProtect(std::istream& in) {
    std::string text;
    char block[1 << 14];
    std::streambuf* buf = in.rdbuf();
    for (std::streamsize n; buf && (n = buf->sgetn(block, sizeof block)) > 0;)
        text.append(block, static_cast<size_t>(n));
    return findTickProtect(text);
}

unsigned LoomEnvelopeMap1735::getOriginalLineNo(const char*, unsigned line) { return line; }

bool LoomEnvelopeMap1735::isWithinEnvelope(const char*, unsigned, unsigned) { return false; }
