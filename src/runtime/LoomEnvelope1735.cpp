#include "runtime/LoomEnvelope1735.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void (*gLateDiag)(const LoomEnvelope1735::EnvelopeDiag&) = nullptr;

long findTickProtect(std::string_view text);

// A file's text, owned by the stream that reads it. A regular file is read at the first
// look into it, in one read of the size that fstat gave: a reader that only opens the
// file (a header whose definitions are known already, opened so that the include is
// traced) then costs no read, and until then the size is told without reading. The
// protection state, when still undecided, is decided at that read.
class TextBuffer : public std::streambuf {
public:
    explicit TextBuffer(std::string text) { take(std::move(text)); }
    TextBuffer(int fd, size_t size, std::string path, LoomEnvelope1735::eNeedDecrypt* state, std::istream* owner)
        : fd_(fd), size_(size), path_(std::move(path)), state_(state), owner_(owner) {}
    ~TextBuffer() override {
        if (fd_ >= 0)
            ::close(fd_);
    }

protected:
    std::streamsize showmanyc() override {
        if (fd_ >= 0 && size_ > 0)
            return static_cast<std::streamsize>(size_);
        load();
        return egptr() > gptr() ? egptr() - gptr() : -1;
    }
    int_type underflow() override {
        load();
        return gptr() < egptr() ? traits_type::to_int_type(*gptr()) : traits_type::eof();
    }
    pos_type seekoff(off_type off, std::ios::seekdir dir, std::ios::openmode which) override {
        load();
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
    void take(std::string text) {
        text_ = std::move(text);
        char* b = text_.data();
        setg(b, b, b + text_.size());
    }

    // A read that fails after the open leaves the text empty, marks the stream bad and
    // is reported as a failure at the open would be.
    void load();

    std::string text_;
    int fd_ = -1;
    size_t size_ = 0;
    std::string path_;
    LoomEnvelope1735::eNeedDecrypt* state_ = nullptr;
    std::istream* owner_ = nullptr;
};

class TextStream : public std::istream {
public:
    explicit TextStream(std::string text) : std::istream(nullptr), buffer_(std::move(text)) { rdbuf(&buffer_); }
    TextStream(int fd, size_t size, std::string path, LoomEnvelope1735::eNeedDecrypt* state)
        : std::istream(nullptr), buffer_(fd, size, std::move(path), state, this) {
        rdbuf(&buffer_);
    }

private:
    TextBuffer buffer_;
};

bool isNullDevice(const struct stat& st) {
    struct stat null;
    return S_ISCHR(st.st_mode) && ::stat("/dev/null", &null) == 0 && st.st_rdev == null.st_rdev;
}

// Only regular files and the null device are opened: a directory fails, and a pipe or
// another device could block or never end (hence the open without blocking). Gives
// the descriptor and, for a regular file, its size; -1 as the size for the null device.
int openReadable(const std::string& path, long long& size) {
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
    size = regular ? static_cast<long long>(st.st_size) : -1;
    return fd;
}

// One read of the known size (a short read of a regular file is its end), more only
// when the file grew since.
std::string readOpen(int fd, size_t size, const std::string& path) {
    std::string text;
    size_t want = size + 1;
    for (;;) {
        size_t had = text.size();
        text.resize(had + want);
        ssize_t got;
        do
            got = ::read(fd, text.data() + had, want);
        while (got < 0 && errno == EINTR);
        if (got < 0)
            throw LoomEnvelope1735::EnvelopeDiag(path, "cannot read " + path + ": " + std::strerror(errno));
        text.resize(had + size_t(got));
        if (got == 0 || size_t(got) < want)
            break;
        want = size_t(1) << 16;
    }
    return text;
}

void TextBuffer::load() {
    if (fd_ < 0)
        return;
    int fd = fd_;
    fd_ = -1;
    try {
        take(readOpen(fd, size_, path_));
    } catch (const LoomEnvelope1735::EnvelopeDiag& diag) {
        owner_->setstate(std::ios::badbit);
        if (gLateDiag)
            gLateDiag(diag);
    }
    ::close(fd);
    if (state_ && *state_ == LoomEnvelope1735::NeedDecrypt_Maybe)
        *state_ = findTickProtect(text_) < 0 ? LoomEnvelope1735::NeedDecrypt_No : LoomEnvelope1735::NeedDecrypt_Yes;
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
    long long size = 0;
    int fd = openReadable(path, size);
    if (size >= 0)
        return new TextStream(fd, size_t(size), path, &state);
    ::close(fd);
    if (state == NeedDecrypt_Maybe)
        state = NeedDecrypt_No;
    return new TextStream(std::string());
}

void LoomEnvelope1735::setLateDiagHandler(void (*handler)(const EnvelopeDiag&)) { gLateDiag = handler; }

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
