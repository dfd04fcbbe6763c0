#include "runtime/Ieee1735Cipher.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <boost/filesystem.hpp>

namespace ieee1735 {

namespace {

struct CtxFree {
    void operator()(EVP_PKEY_CTX* c) const { EVP_PKEY_CTX_free(c); }
    void operator()(EVP_CIPHER_CTX* c) const { EVP_CIPHER_CTX_free(c); }
};

const EVP_CIPHER* cipherOf(const std::string& method) {
    if (method == "aes128-cbc") return EVP_aes_128_cbc();
    if (method == "aes192-cbc") return EVP_aes_192_cbc();
    if (method == "aes256-cbc") return EVP_aes_256_cbc();
    return nullptr;
}

EVP_PKEY* readPrivateKey(const std::string& path) {
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return nullptr;
    // No pass phrase: a key that needs one is passed over rather than asked for on the
    // terminal of a batch run.
    EVP_PKEY* key = PEM_read_PrivateKey(
        f, nullptr, [](char*, int, int, void*) { return 0; }, nullptr);
    std::fclose(f);
    return key;
}

} // namespace

PrivateKey::PrivateKey(std::string name, evp_pkey_st* key) : name_(std::move(name)), key_(key, EVP_PKEY_free) {}

size_t PrivateKey::size() const { return static_cast<size_t>(EVP_PKEY_get_size(key_.get())); }

std::vector<std::string> PrivateKey::decipher(const std::string& block) const {
    std::vector<std::string> results;
    for (int padding : {RSA_PKCS1_PADDING, RSA_PKCS1_OAEP_PADDING}) {
        std::unique_ptr<EVP_PKEY_CTX, CtxFree> ctx(EVP_PKEY_CTX_new(key_.get(), nullptr));
        if (!ctx || EVP_PKEY_decrypt_init(ctx.get()) <= 0 || EVP_PKEY_CTX_set_rsa_padding(ctx.get(), padding) <= 0)
            continue;
        const auto* in = reinterpret_cast<const unsigned char*>(block.data());
        size_t length = 0;
        if (EVP_PKEY_decrypt(ctx.get(), nullptr, &length, in, block.size()) <= 0) continue;
        std::string out(length, '\0');
        if (EVP_PKEY_decrypt(ctx.get(), reinterpret_cast<unsigned char*>(out.data()), &length, in, block.size()) <= 0)
            continue;
        out.resize(length);
        results.push_back(std::move(out));
    }
    return results;
}

const std::vector<PrivateKey>& keyRing(const std::string& directory) {
    static std::map<std::string, std::vector<PrivateKey>> rings;
    auto found = rings.find(directory);
    if (found != rings.end()) return found->second;
    std::vector<PrivateKey>& ring = rings[directory];
    namespace fs = boost::filesystem;
    boost::system::error_code ec;
    std::vector<fs::path> files;
    for (fs::directory_iterator it(directory, ec), end; !ec && it != end; it.increment(ec))
        if (it->path().extension() == ".pem" && fs::is_regular_file(it->status())) files.push_back(it->path());
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files)
        if (EVP_PKEY* key = readPrivateKey(file.string())) ring.emplace_back(file.stem().string(), key);
    return ring;
}

size_t sessionKeyLength(const std::string& dataMethod) {
    const EVP_CIPHER* cipher = cipherOf(dataMethod);
    return cipher ? static_cast<size_t>(EVP_CIPHER_get_key_length(cipher)) : 0;
}

bool decipherData(const std::string& dataMethod, const std::string& key, const std::string& block, std::string& plain) {
    const EVP_CIPHER* cipher = cipherOf(dataMethod);
    const size_t ivLength = 16;
    if (!cipher || key.size() != sessionKeyLength(dataMethod) || block.size() < 2 * ivLength ||
        block.size() % ivLength != 0)
        return false;
    std::unique_ptr<EVP_CIPHER_CTX, CtxFree> ctx(EVP_CIPHER_CTX_new());
    const auto* k = reinterpret_cast<const unsigned char*>(key.data());
    const auto* iv = reinterpret_cast<const unsigned char*>(block.data());
    if (!ctx || EVP_DecryptInit_ex(ctx.get(), cipher, nullptr, k, iv) != 1) return false;
    plain.assign(block.size() - ivLength + ivLength, '\0');
    auto* out = reinterpret_cast<unsigned char*>(plain.data());
    int n = 0;
    int tail = 0;
    const auto* in = iv + ivLength;
    if (EVP_DecryptUpdate(ctx.get(), out, &n, in, static_cast<int>(block.size() - ivLength)) != 1 ||
        EVP_DecryptFinal_ex(ctx.get(), out + n, &tail) != 1) {
        plain.clear();
        return false;
    }
    plain.resize(static_cast<size_t>(n + tail));
    return true;
}

} // namespace ieee1735
