// Named switches of the front-end, set by the application before analysis and read
// by the phases that honour them. An unknown name reads as 0.
#pragma once

#include <cstdint>

namespace hdl {

class RuntimeFlags {
public:
    static void SetVar(const char* name, uint32_t value);
    static uint32_t GetVar(const char* name);
    // Forgets every value; for tests.
    static void Reset();
};

} // namespace hdl
