#include "hdl/base/RuntimeFlags.h"

#include <string>
#include <unordered_map>

namespace hdl {

namespace {
std::unordered_map<std::string, uint32_t>& flags() {
    static auto* table = new std::unordered_map<std::string, uint32_t>; // lives for the process
    return *table;
}
} // namespace

void RuntimeFlags::SetVar(const char* name, uint32_t value) {
    if (name) flags()[name] = value;
}

uint32_t RuntimeFlags::GetVar(const char* name) {
    if (!name) return 0;
    auto it = flags().find(name);
    return it == flags().end() ? 0 : it->second;
}

void RuntimeFlags::Reset() { flags().clear(); }

} // namespace hdl
