#include "sift/scan/CorvidProtectAES.h"

#include <memory>
#include <openssl/evp.h>
#include <stdexcept>

#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"

namespace {

const unsigned char kMask[16] = {0xbc, 0xa7, 0x0b, 0xb2, 0x8b, 0xf4, 0x00, 0x2f,
                                 0x1d, 0x6f, 0x72, 0x41, 0xa8, 0xe2, 0x9e, 0xb0};
const unsigned char kMasked[3][16] = {
    {0xb0, 0xbd, 0xa0, 0xb3, 0x32, 0x25, 0xa3, 0x30, 0x7a, 0x8f, 0x46, 0x1e, 0xf0, 0xcc, 0xc7, 0x35},
    {0x86, 0x30, 0xdb, 0x1f, 0x95, 0x15, 0xc4, 0x56, 0x73, 0xdb, 0x19, 0xbf, 0x54, 0x2f, 0x15, 0x63},
    {0x14, 0xb3, 0x9c, 0x3d, 0x8b, 0x27, 0x23, 0x08, 0xa8, 0xbd, 0x28, 0xfa, 0x4b, 0x00, 0x05, 0x0e},
};

struct CipherCtxFree {
    void operator()(EVP_CIPHER_CTX* c) const { EVP_CIPHER_CTX_free(c); }
};

// Each block by itself: CBC over one block from the same vector is the block cipher
// applied to the block XOR the vector (enciphering), or the vector XOR the deciphered
// block. So one ECB pass over all blocks does the work.
unsigned blocks(const unsigned char* key, const unsigned char* iv, const char* in, char* out, unsigned n,
                bool encipher) {
    const unsigned whole = n / 16 * 16;
    if (whole == 0) return n;
    std::unique_ptr<EVP_CIPHER_CTX, CipherCtxFree> ctx(EVP_CIPHER_CTX_new());
    if (!ctx || EVP_CipherInit_ex(ctx.get(), EVP_aes_256_ecb(), nullptr, key, nullptr, encipher ? 1 : 0) != 1)
        throw std::runtime_error("AES-256 is not available");
    EVP_CIPHER_CTX_set_padding(ctx.get(), 0);
    std::unique_ptr<unsigned char[]> work(new unsigned char[whole]);
    const auto* src = reinterpret_cast<const unsigned char*>(in);
    if (encipher)
        for (unsigned i = 0; i < whole; ++i) work[i] = src[i] ^ iv[i % 16];
    int length = 0;
    auto* dst = reinterpret_cast<unsigned char*>(out);
    if (EVP_CipherUpdate(ctx.get(), dst, &length, encipher ? work.get() : src, static_cast<int>(whole)) != 1)
        throw std::runtime_error("AES-256 failed");
    if (!encipher)
        for (unsigned i = 0; i < whole; ++i) dst[i] ^= iv[i % 16];
    return n;
}

std::unique_ptr<CorvidProtectAES>& theCipher() {
    static std::unique_ptr<CorvidProtectAES> cipher;
    return cipher;
}

} // namespace

CorvidProtectAES::CorvidProtectAES() {
    for (unsigned i = 0; i < 16; ++i) {
        key[i] = kMasked[0][i] ^ kMask[i];
        key[16 + i] = kMasked[1][i] ^ kMask[i];
        iv[i] = kMasked[2][i] ^ kMask[i];
    }
}

unsigned CorvidProtectAES::encrypt(const char* in, char* out, unsigned n) { return blocks(key, iv, in, out, n, true); }

unsigned CorvidProtectAES::decrypt(const char* in, char* out, unsigned n) { return blocks(key, iv, in, out, n, false); }

void enableProtect() {
    if (!theCipher()) theCipher() = std::make_unique<CorvidProtectAES>();
    hdl::vhdl_file::_protect = theCipher().get();
    hdl::veri_file::_protect = theCipher().get();
}

void disableProtect() {
    hdl::vhdl_file::_protect = nullptr;
    hdl::veri_file::_protect = nullptr;
}
