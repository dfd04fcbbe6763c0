// The elaboration phase: which units are tops, their static elaboration in the
// front-end, and the binding of the result into the database.
#pragma once

#include <string>
#include <vector>

class HADLSifter;

class HADLElab {
public:
    explicit HADLElab(HADLSifter& sifter) : sifter(sifter) {}
    // `top` is empty when no top was named.
    void doElab(const std::string& top);

    // The names of the copies that elaboration made, sorted by byte order.
    static std::vector<std::string> collectParamCopyNames();

private:
    HADLSifter& sifter;
};
