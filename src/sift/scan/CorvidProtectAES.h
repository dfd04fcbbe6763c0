// The cipher of the program's own precompiled standard libraries: AES-256, each 16-byte
// block enciphered by itself with the same initialisation vector (CBC restarted at
// every block), so that equal blocks give equal ciphertext. Files written with it are
// read only with it: the key and the vector are fixed in the program.
#pragma once

#include <cstdint>

#include "hdl/base/Protect.h"

class CorvidProtectAES : public hdl::Protect {
public:
    // Builds the key and the vector from masked constants, so that neither stands in
    // the program as it is.
    CorvidProtectAES();

    unsigned encrypt(const char* in, char* out, unsigned n) override;
    unsigned decrypt(const char* in, char* out, unsigned n) override;
    unsigned GetBlockSize() const override { return blockSize; }

    uint32_t blockSize = 16;
    unsigned char key[32];
    unsigned char iv[16];
};

// Make the one cipher object if there is none yet and hand it to the VHDL front-end,
// which then enciphers the libraries it saves and deciphers enciphered ones it loads;
// or take it away again.
void enableProtect();
void disableProtect();
