// A block cipher that the front-ends use for their own files (saved libraries that are
// to be kept unreadable). Data goes in whole blocks; a remainder shorter than a block
// is left as it is.
#pragma once

namespace hdl {

class Protect {
public:
    virtual ~Protect() = default;
    // Enciphers or deciphers the whole blocks of `n` bytes from `in` into `out`;
    // returns `n`.
    virtual unsigned encrypt(const char* in, char* out, unsigned n) = 0;
    virtual unsigned decrypt(const char* in, char* out, unsigned n) = 0;
    virtual unsigned GetBlockSize() const = 0;
};

} // namespace hdl
