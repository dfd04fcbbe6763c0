#include "hdl/store/StoreFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hdl {

namespace {

constexpr size_t kMagicSize = 8;
constexpr size_t kHeaderSize = kMagicSize + 4 + 8 + 4 + 8 + 8;
constexpr uint32_t kEnciphered = 1;

void put(std::string& out, uint64_t v, unsigned bytes) {
    for (unsigned i = 0; i < bytes; ++i, v >>= 8) out += static_cast<char>(v & 0xff);
}

uint64_t get(std::string_view in, size_t at, unsigned bytes) {
    uint64_t v = 0;
    for (unsigned i = 0; i < bytes; ++i) v |= static_cast<uint64_t>(static_cast<unsigned char>(in[at + i])) << (8 * i);
    return v;
}

std::string hex(uint64_t v) {
    char text[20];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(v));
    return text;
}

} // namespace

std::string StoreSeal(const StoreKind& kind, const std::string& payload, Protect* cipher) {
    std::string out(kind.magic, kMagicSize);
    put(out, kind.version, 4);
    put(out, kind.layout, 8);
    put(out, cipher ? kEnciphered : 0, 4);
    put(out, payload.size(), 8);
    put(out, StoreHash(payload), 8);
    if (!cipher) return out + payload;
    // The cipher takes whole blocks only: the payload is padded to one.
    const unsigned block = cipher->GetBlockSize() ? cipher->GetBlockSize() : 1;
    std::string padded = payload;
    padded.resize((payload.size() + block - 1) / block * block, '\0');
    std::string sealed(padded.size(), '\0');
    cipher->encrypt(padded.data(), sealed.data(), static_cast<unsigned>(padded.size()));
    return out + sealed;
}

std::string_view StoreOpen(const StoreKind& kind, std::string_view file, Protect* cipher, std::string& plain) {
    if (file.size() < kHeaderSize) throw StoreError("the file is too short to be a saved unit (truncated?)");
    if (file.substr(0, kMagicSize) != std::string_view(kind.magic, kMagicSize))
        throw StoreError("the file is not a saved unit of this kind");
    const auto version = static_cast<uint32_t>(get(file, kMagicSize, 4));
    if (version != kind.version)
        throw StoreError("the file has format version " + std::to_string(version) + "; this program reads version " +
                         std::to_string(kind.version));
    const uint64_t layout = get(file, kMagicSize + 4, 8);
    if (layout != kind.layout)
        throw StoreError("the file was written with another layout of the trees (" + hex(layout) + ", this program " +
                         hex(kind.layout) + "); save it again");
    const auto flags = static_cast<uint32_t>(get(file, kMagicSize + 12, 4));
    const uint64_t size = get(file, kMagicSize + 16, 8);
    const uint64_t checksum = get(file, kMagicSize + 24, 8);
    if (flags & ~kEnciphered) throw StoreError("the file has unknown flags");
    std::string_view body = file.substr(kHeaderSize);
    if (!(flags & kEnciphered)) {
        if (body.size() != size) throw StoreError("the file's payload has the wrong size (truncated?)");
        if (StoreHash(body) != checksum) throw StoreError("the file is damaged (its checksum does not match)");
        return body;
    }
    if (!cipher) throw StoreError("the file is enciphered, and no cipher is enabled to read it");
    const unsigned block = cipher->GetBlockSize() ? cipher->GetBlockSize() : 1;
    if (size > body.size() || body.size() != (size + block - 1) / block * block)
        throw StoreError("the file's payload has the wrong size (truncated?)");
    plain.assign(body.size(), '\0');
    cipher->decrypt(body.data(), plain.data(), static_cast<unsigned>(body.size()));
    plain.resize(size);
    if (StoreHash(plain) != checksum)
        throw StoreError("the file is damaged, or enciphered with another key (its checksum does not match)");
    return plain;
}

StoreMappedFile::StoreMappedFile(const std::string& path) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw StoreError("cannot open " + path + ": " + std::strerror(errno));
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        throw StoreError("cannot read " + path + ": not a regular file");
    }
    size_ = static_cast<size_t>(st.st_size);
    if (size_ > 0) {
        data_ = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd, 0);
        if (data_ == MAP_FAILED) {
            const int error = errno;
            data_ = nullptr;
            size_ = 0;
            ::close(fd);
            throw StoreError("cannot read " + path + ": " + std::strerror(error));
        }
    }
    ::close(fd);
}

StoreMappedFile::~StoreMappedFile() {
    if (data_) ::munmap(data_, size_);
}

void StoreWriteFile(const std::string& path, const std::string& bytes) {
    const std::string temporary = path + ".tmp" + std::to_string(::getpid());
    int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) throw StoreError("cannot write " + path + ": " + std::strerror(errno));
    size_t put = 0;
    while (put < bytes.size()) {
        ssize_t n = ::write(fd, bytes.data() + put, bytes.size() - put);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        put += static_cast<size_t>(n);
    }
    const bool written = put == bytes.size();
    const bool closed = ::close(fd) == 0;
    if (!written || !closed || ::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        throw StoreError("cannot write " + path + ": " + std::strerror(error));
    }
}

std::string StoreFileName(std::string_view unitName, bool markCapitals, const char* extension) {
    std::string name;
    for (char c : unitName) {
        const bool capital = c >= 'A' && c <= 'Z';
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || (capital && markCapitals)) {
            if (capital) name += '^';
            name += c;
        } else {
            char esc[4];
            std::snprintf(esc, sizeof esc, "%%%02X", static_cast<unsigned char>(c));
            name += esc;
        }
    }
    // File names have a length limit.
    if (name.size() > 200) {
        char hash[20];
        std::snprintf(hash, sizeof hash, "-%016llx", static_cast<unsigned long long>(StoreHash(unitName)));
        name = name.substr(0, 180) + hash;
    }
    return name + extension;
}

} // namespace hdl
