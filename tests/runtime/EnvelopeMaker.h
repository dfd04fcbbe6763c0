// Test envelopes made with the openssl command line (through envelope.py): a scratch
// directory with a key ring, and sources protected for keys of it.
#pragma once

#include <string>
#include <vector>

class EnvelopeMaker {
public:
    // Makes the scratch directory and its key ring folder "ring".
    EnvelopeMaker();
    ~EnvelopeMaker();

    // A fresh RSA key: ring/<name>.pem (private) and <name>.pub outside the ring.
    void key(const std::string& name, unsigned bits = 2048);
    // Writes `text` to <file> as it is; returns the path.
    std::string write(const std::string& file, const std::string& text);
    // Protects `text` into <file> for the keys named (owner "Acme", key name = the
    // key's); `options` go to envelope.py as they are. Returns the path.
    std::string protect(const std::string& file, const std::string& text, const std::vector<std::string>& keys,
                        const std::string& options = "");
    std::string read(const std::string& file) const;
    std::string ring() const { return dir + "/ring"; }

    std::string dir;
};
