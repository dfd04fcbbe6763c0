#include "runtime/LoomEnvelope1735.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>

namespace {

void (*gLateDiag)(const LoomEnvelope1735::EnvelopeDiag&) = nullptr;

long findTickProtect(std::string_view text);

using Denied = std::function<void(const std::string&, int)>;

// What the reader does at the first look into a file: the protection state and the
// envelopes to open.
struct ReadPolicy {
    LoomEnvelope1735::eNeedDecrypt* state = nullptr;
    ieee1735::RightsEval::EvalContextEnum context = ieee1735::RightsEval::Analysis;
    Denied denied;
};

// A file's text, owned by the stream that reads it. A regular file is read at the first
// look into it, in one read of the size known: a reader that only asks for the file (a
// header whose definitions are known already, asked for so that the include is traced)
// then costs no read, and until then the size is told without reading. The file is
// either open already (`fd` from 0) or opened then. The protection state, when still
// undecided, is decided at that read, and the envelopes of a protected file are opened.
class TextBuffer : public std::streambuf {
public:
    explicit TextBuffer(std::string text) { take(std::move(text)); }
    TextBuffer(int fd, std::string path, size_t size, ReadPolicy policy, std::istream* owner)
        : pending_(true), fd_(fd), path_(std::move(path)), size_(size), policy_(std::move(policy)), owner_(owner) {}
    ~TextBuffer() override {
        if (fd_ >= 0) ::close(fd_);
    }

protected:
    std::streamsize showmanyc() override {
        if (pending_ && size_ > 0) return static_cast<std::streamsize>(size_);
        load();
        return egptr() > gptr() ? egptr() - gptr() : -1;
    }
    int_type underflow() override {
        load();
        return gptr() < egptr() ? traits_type::to_int_type(*gptr()) : traits_type::eof();
    }
    pos_type seekoff(off_type off, std::ios::seekdir dir, std::ios::openmode which) override {
        load();
        if (!(which & std::ios::in)) return pos_type(off_type(-1));
        off_type base = dir == std::ios::beg ? 0 : dir == std::ios::cur ? gptr() - eback() : egptr() - eback();
        off_type at = base + off;
        if (at < 0 || at > egptr() - eback()) return pos_type(off_type(-1));
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
    // The text with its envelopes opened where they can be.
    std::string plainView(std::string text);

    std::string text_;
    bool pending_ = false;
    int fd_ = -1;
    std::string path_;
    size_t size_ = 0;
    ReadPolicy policy_;
    std::istream* owner_ = nullptr;
};

class TextStream : public std::istream {
public:
    explicit TextStream(std::string text) : std::istream(nullptr), buffer_(std::move(text)) { rdbuf(&buffer_); }
    TextStream(int fd, std::string path, size_t size, ReadPolicy policy)
        : std::istream(nullptr), buffer_(fd, std::move(path), size, std::move(policy), this) {
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
        do got = ::read(fd, text.data() + had, want);
        while (got < 0 && errno == EINTR);
        if (got < 0) {
            int error = errno;
            ::close(fd);
            throw LoomEnvelope1735::EnvelopeDiag(path, "cannot read " + path + ": " + std::strerror(error));
        }
        text.resize(had + size_t(got));
        if (got == 0 || size_t(got) < want) break;
        want = size_t(1) << 16;
    }
    ::close(fd);
    return text;
}

void TextBuffer::load() {
    if (!pending_) return;
    pending_ = false;
    int fd = fd_ >= 0 ? fd_ : openNonBlocking(path_);
    fd_ = -1;
    std::string text;
    try {
        if (fd < 0) throw LoomEnvelope1735::EnvelopeDiag(path_, "cannot open " + path_);
        text = readWhole(fd, path_, size_);
    } catch (const LoomEnvelope1735::EnvelopeDiag& diag) {
        owner_->setstate(std::ios::badbit);
        if (gLateDiag) gLateDiag(diag);
    }
    LoomEnvelope1735::eNeedDecrypt& state = *policy_.state;
    if (state == LoomEnvelope1735::NeedDecrypt_Maybe)
        state = findTickProtect(text) < 0 ? LoomEnvelope1735::NeedDecrypt_No : LoomEnvelope1735::NeedDecrypt_Yes;
    take(state == LoomEnvelope1735::NeedDecrypt_Yes ? plainView(std::move(text)) : std::move(text));
}

std::string TextBuffer::plainView(std::string text) {
    const char* ring = std::getenv("LOOM_KEYRING");
    ieee1735::PlainView view = ieee1735::readProtected(text, ring ? ring : "", policy_.context);
    for (const ieee1735::EnvelopeProblem& problem : view.problems)
        if (gLateDiag)
            gLateDiag(LoomEnvelope1735::EnvelopeDiag(path_, problem.line,
                                                     "cannot read the protected region at line " +
                                                         std::to_string(problem.line) + " of " + path_ + ": " +
                                                         problem.text));
    for (const ieee1735::EnvelopeDenial& denial : view.denials)
        if (policy_.denied) policy_.denied(path_, denial.code);
    LoomEnvelopeMap1735::setView(path_, std::move(view.pieces));
    return std::move(view.text);
}

// The first protect directive, the one the front-ends act on: `protect (in VHDL a tool
// directive, whose name ignores case) or `pragma protect. Every file passes through
// here, so only the backquotes are visited.
long findTickProtect(std::string_view text) {
    auto wordAt = [&](size_t at, std::string_view word) {
        if (text.size() - at < word.size()) return false;
        for (size_t i = 0; i < word.size(); ++i)
            if ((text[at + i] | 0x20) != word[i]) return false;
        return true;
    };
    for (size_t b = text.find('`'); b != std::string_view::npos; b = text.find('`', b + 1))
        if (wordAt(b + 1, "protect") || text.compare(b + 1, 14, "pragma protect") == 0) return static_cast<long>(b);
    return -1;
}

bool isMissing(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) != 0;
}

// A stream on the file that `st` describes: only regular files and the null device are
// read; a directory fails, and a pipe or another device could block or never end.
std::istream* plainStream(int fd, const std::string& path, const struct stat& st, ReadPolicy policy) {
    LoomEnvelope1735::eNeedDecrypt& state = *policy.state;
    if (S_ISREG(st.st_mode)) return new TextStream(fd, path, size_t(st.st_size), std::move(policy));
    if (fd >= 0) ::close(fd);
    if (!isNullDevice(st)) throw LoomEnvelope1735::EnvelopeDiag(path, "cannot read " + path + ": not a regular file");
    if (state == LoomEnvelope1735::NeedDecrypt_Maybe) state = LoomEnvelope1735::NeedDecrypt_No;
    return new TextStream(std::string());
}

} // namespace

std::istream* LoomEnvelope1735::getPlnStream(const std::string& path, eNeedDecrypt& state,
                                             ieee1735::RightsEval::EvalContextEnum context,
                                             const std::function<void(const std::string&, int)>& denied) {
    // Whether the file is missing is asked only on failure, so that an existing file
    // costs one path look-up.
    int fd = openNonBlocking(path);
    if (fd < 0) throw EnvelopeDiag(path, "cannot open " + path, isMissing(path));
    struct stat st;
    if (::fstat(fd, &st) != 0) {
        EnvelopeDiag diag(path, "cannot read " + path + ": " + std::strerror(errno));
        ::close(fd);
        throw diag;
    }
    return plainStream(fd, path, st, ReadPolicy{&state, context, denied});
}

std::istream* LoomEnvelope1735::getPlnStreamOnDemand(const std::string& path, eNeedDecrypt& state,
                                                     ieee1735::RightsEval::EvalContextEnum context,
                                                     const std::function<void(const std::string&, int)>& denied) {
    struct stat st;
    if (::stat(path.c_str(), &st) != 0) throw EnvelopeDiag(path, "cannot open " + path, true);
    return plainStream(-1, path, st, ReadPolicy{&state, context, denied});
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

namespace {

// Views with deciphered envelopes by file name; most runs have none.
std::unordered_map<std::string, std::vector<ieee1735::LinePiece>>& views() {
    static auto* map = new std::unordered_map<std::string, std::vector<ieee1735::LinePiece>>;
    return *map;
}

const std::vector<ieee1735::LinePiece>* viewOf(const char* file) {
    auto& map = views();
    if (map.empty() || !file) return nullptr;
    auto it = map.find(file);
    return it == map.end() ? nullptr : &it->second;
}

} // namespace

unsigned LoomEnvelopeMap1735::getOriginalLineNo(const char* file, unsigned line) {
    const auto* pieces = viewOf(file);
    return pieces ? ieee1735::sourceLineOf(*pieces, line, nullptr) : line;
}

bool LoomEnvelopeMap1735::isWithinEnvelope(const char* file, unsigned line, unsigned) {
    const auto* pieces = viewOf(file);
    bool within = false;
    if (pieces) ieee1735::sourceLineOf(*pieces, line, &within);
    return within;
}

void LoomEnvelopeMap1735::setView(const std::string& file, std::vector<ieee1735::LinePiece> pieces) {
    if (pieces.empty()) views().erase(file);
    else views()[file] = std::move(pieces);
}
