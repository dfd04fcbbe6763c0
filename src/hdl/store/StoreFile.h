// The container of a saved unit: a fixed header (magic, format version, the layout of
// the node classes it was written with, flags, sizes, a checksum) and a payload of
// variable-length integers and strings. The payload may be enciphered with a block
// cipher of the front-end's. Reading is checked at every step: a file that is
// truncated, damaged, of another format or layout, or enciphered without the cipher,
// gives a reason, never a crash.
#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include "hdl/base/Protect.h"

namespace hdl {

// Why a saved file cannot be read (or written); the text names the problem.
class StoreError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class StoreWriter {
public:
    void u64(uint64_t v) {
        while (v >= 0x80) {
            out_ += static_cast<char>((v & 0x7f) | 0x80);
            v >>= 7;
        }
        out_ += static_cast<char>(v);
    }
    void i64(int64_t v) { u64((static_cast<uint64_t>(v) << 1) ^ static_cast<uint64_t>(v >> 63)); }
    void bytes(std::string_view s) {
        u64(s.size());
        out_.append(s);
    }
    std::string& data() { return out_; }

private:
    std::string out_;
};

class StoreReader {
public:
    explicit StoreReader(std::string_view in) : in_(in) {}
    uint64_t u64() {
        uint64_t v = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            if (pos_ >= in_.size()) throw StoreError("the file ends early");
            const auto byte = static_cast<unsigned char>(in_[pos_++]);
            v |= static_cast<uint64_t>(byte & 0x7f) << shift;
            if (!(byte & 0x80)) return v;
        }
        throw StoreError("a number is too long");
    }
    int64_t i64() {
        uint64_t v = u64();
        return static_cast<int64_t>(v >> 1) ^ -static_cast<int64_t>(v & 1);
    }
    // A number that must be below `limit`, as a table index or a count of items that
    // each take at least one byte.
    uint64_t below(uint64_t limit, const char* what) {
        uint64_t v = u64();
        if (v >= limit) throw StoreError(std::string("bad ") + what);
        return v;
    }
    uint64_t count(const char* what) { return below(in_.size() - pos_ + 1, what); }
    std::string_view bytes() {
        uint64_t n = count("string length");
        std::string_view s = in_.substr(pos_, n);
        pos_ += n;
        return s;
    }
    bool atEnd() const { return pos_ == in_.size(); }
    std::string_view rest() const { return in_.substr(pos_); }

private:
    std::string_view in_;
    size_t pos_ = 0;
};

struct StoreKind {
    const char* magic; // 8 bytes
    uint32_t version; // of the format
    uint64_t layout; // of the node classes
};

// The file's bytes: header, then the payload, enciphered when `cipher` is given.
std::string StoreSeal(const StoreKind& kind, const std::string& payload, Protect* cipher);
// The payload of a file's bytes, a view into them, or into `plain` when the payload
// is enciphered; throws StoreError.
std::string_view StoreOpen(const StoreKind& kind, std::string_view file, Protect* cipher, std::string& plain);

// A 64-bit hash for checksums and fingerprints: eight bytes a step, each step mixed
// by a multiplication and a rotation (a payload is hashed whole at every restore).
inline uint64_t StoreHash(uint64_t v, uint64_t h) {
    h = (h ^ v) * 0x9e3779b97f4a7c15ull;
    return (h << 29 | h >> 35) ^ (h >> 17);
}
inline uint64_t StoreHash(std::string_view s, uint64_t h = 0xcbf29ce484222325ull) {
    size_t i = 0;
    for (; i + 8 <= s.size(); i += 8) {
        uint64_t word;
        std::memcpy(&word, s.data() + i, 8);
        h = StoreHash(word, h);
    }
    uint64_t tail = s.size() - i; // the length in the top byte keeps short tails apart
    for (size_t k = 0; i < s.size(); ++i, ++k) tail |= uint64_t(static_cast<unsigned char>(s[i])) << (8 * (k + 1));
    return StoreHash(tail, h);
}

// The file name of a unit: letters, digits and '_' as they are (capitals preceded by
// '^' when `markCapitals`, for names that are case-sensitive on file systems that may
// not be), anything else escaped as %XX; a long name keeps a hash of itself.
std::string StoreFileName(std::string_view name, bool markCapitals, const char* extension);

// A whole file, mapped into memory read-only for as long as this lives: a restore
// reads a file once, front to back, and the page cache serves it without a copy.
class StoreMappedFile {
public:
    // Throws StoreError.
    explicit StoreMappedFile(const std::string& path);
    ~StoreMappedFile();
    StoreMappedFile(const StoreMappedFile&) = delete;
    StoreMappedFile& operator=(const StoreMappedFile&) = delete;
    std::string_view bytes() const { return {static_cast<const char*>(data_), size_}; }

private:
    void* data_ = nullptr;
    size_t size_ = 0;
};
// Writes a file whole, through a temporary name, so that a reader never sees half of it.
void StoreWriteFile(const std::string& path, const std::string& bytes);

} // namespace hdl
