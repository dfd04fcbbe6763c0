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
// look into it, in one read of the size known: a reader that only asks for the file (a
// header whose definitions are known already, asked for so that the include is traced)
// then costs no read, and until then the size is told without reading. The file is
// either open already (`fd` from 0) or opened then. The protection state, when still
// undecided, is decided at that read.
class TextBuffer : public std::streambuf {
public:
    explicit TextBuffer(std::string text) { take(std::move(text)); }
    TextBuffer(int fd, std::string path, size_t size, LoomEnvelope1735::eNeedDecrypt* state, std::istream* owner)
        : pending_(true), fd_(fd), path_(std::move(path)), size_(size), state_(state), owner_(owner) {}
    ~TextBuffer() override {
        if (fd_ >= 0)
            ::close(fd_);
    }

protected:
    std::streamsize showmanyc() override {
        if (pending_ && size_ > 0)
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

    // An open or a read that fails at that point leaves the text empty, marks the
    // stream bad and is reported as a failure found at once would be.
    void load();

    std::string text_;
    bool pending_ = false;
    int fd_ = -1;
    std::string path_;
    size_t size_ = 0;
    LoomEnvelope1735::eNeedDecrypt* state_ = nullptr;
    std::istream* owner_ = nullptr;
};

class TextStream : public std::istream {
public:
    explicit TextStream(std::string text) : std::istream(nullptr), buffer_(std::move(text)) { rdbuf(&buffer_); }
    TextStream(int fd, std::string path, size_t size, LoomEnvelope1735::eNeedDecrypt* state)
        : std::istream(nullptr), buffer_(fd, std::move(path), size, state, this) {
        rdbuf(&buffer_);
    }

private:
    TextBuffer buffer_;
};

bool isNullDevice(const struct stat& st) {
    struct stat null;
    return S_ISCHR(st.st_mode) && ::stat("/dev/null", &null) == 0 && st.st_rdev == null.st_rdev;
}

// Opens without blocking: a pipe or a device must not hold the run up.
int openNonBlocking(const std::string& path) { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }

// The whole text of an open regular file, which it closes: one read of the size known (a
// short read of a regular file is its end), more only when the file grew since.
std::string readWhole(int fd, const std::string& path, size_t size) {
    std::string text;
    size_t want = size + 1;
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
        if (got == 0 || size_t(got) < want)
            break;
        want = size_t(1) << 16;
    }
    ::close(fd);
    return text;
}

void TextBuffer::load() {
    if (!pending_)
        return;
    pending_ = false;
    int fd = fd_ >= 0 ? fd_ : openNonBlocking(path_);
    fd_ = -1;
    try {
        if (fd < 0)
            throw LoomEnvelope1735::EnvelopeDiag(path_, "cannot open " + path_);
        take(readWhole(fd, path_, size_));
    } catch (const LoomEnvelope1735::EnvelopeDiag& diag) {
        owner_->setstate(std::ios::badbit);
        if (gLateDiag)
            gLateDiag(diag);
    }
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

bool isMissing(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) != 0;
}

// A stream on the file that `st` describes: only regular files and the null device are
// read; a directory fails, and a pipe or another device could block or never end.
std::istream* plainStream(int fd, const std::string& path, const struct stat& st,
                          LoomEnvelope1735::eNeedDecrypt& state) {
    if (S_ISREG(st.st_mode))
        return new TextStream(fd, path, size_t(st.st_size), &state);
    if (fd >= 0)
        ::close(fd);
    if (!isNullDevice(st))
        throw LoomEnvelope1735::EnvelopeDiag(path, "cannot read " + path + ": not a regular file");
    if (state == LoomEnvelope1735::NeedDecrypt_Maybe)
        state = LoomEnvelope1735::NeedDecrypt_No;
    return new TextStream(std::string());
}

} // namespace

std::istream* LoomEnvelope1735::getPlnStream(const std::string& path, eNeedDecrypt& state,
                                             ieee1735::RightsEval::EvalContextEnum,
                                             const std::function<void(const std::string&, int)>&) {
    // Whether the file is missing is asked only on failure, so that an existing file
    // costs one path look-up.
    int fd = openNonBlocking(path);
    if (fd < 0)
        throw EnvelopeDiag(path, "cannot open " + path, isMissing(path));
    struct stat st;
    if (::fstat(fd, &st) != 0) {
        EnvelopeDiag diag(path, "cannot read " + path + ": " + std::strerror(errno));
        ::close(fd);
        throw diag;
    }
    return plainStream(fd, path, st, state);
}

std::istream* LoomEnvelope1735::getPlnStreamOnDemand(const std::string& path, eNeedDecrypt& state,
                                                     ieee1735::RightsEval::EvalContextEnum,
                                                     const std::function<void(const std::string&, int)>&) {
    struct stat st;
    if (::stat(path.c_str(), &st) != 0)
        throw EnvelopeDiag(path, "cannot open " + path, true);
    return plainStream(-1, path, st, state);
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
