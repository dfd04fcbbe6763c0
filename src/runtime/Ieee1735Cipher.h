// The ciphers of IEEE 1735 envelopes, through OpenSSL: RSA for key blocks, AES in CBC
// mode for data blocks, and the key ring of private keys that the user holds.
#pragma once

#include <memory>
#include <string>
#include <vector>

struct evp_pkey_st;

namespace ieee1735 {

class PrivateKey {
public:
    PrivateKey(std::string name, evp_pkey_st* key);
    const std::string& name() const { return name_; }
    // The size of what the key enciphers to, in bytes.
    size_t size() const;
    // What an RSA key block deciphers to, by PKCS #1 v1.5 and by OAEP padding; a
    // padding that does not fit gives nothing.
    std::vector<std::string> decipher(const std::string& block) const;

private:
    std::string name_;
    std::shared_ptr<evp_pkey_st> key_;
};

// The private keys of a directory: every "*.pem" file that holds one, named by its
// file name without ".pem", in name order. Files that hold no private key, or one that
// needs a pass phrase, are passed over. Loaded once per directory for the process.
const std::vector<PrivateKey>& keyRing(const std::string& directory);

// The key length of a data_method ("aes128-cbc" 16, "aes192-cbc" 24, "aes256-cbc" 32);
// 0 for a method that is not supported.
size_t sessionKeyLength(const std::string& dataMethod);

// Deciphers a data block: the first 16 bytes are the initialisation vector, the rest
// the ciphertext with PKCS #7 padding. False when the padding is wrong, which is what a
// wrong key or damaged data gives.
bool decipherData(const std::string& dataMethod, const std::string& key, const std::string& block, std::string& plain);

} // namespace ieee1735
