#include "hdl/vhdl/VhdlNames.h"

#include "hdl/base/RuntimeFlags.h"

namespace hdl {

namespace {
char lowerChar(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
} // namespace

bool VhdlPreserveIdCase() { return RuntimeFlags::GetVar("vhdl_preserve_id_case") != 0; }

std::string VhdlIdName(std::string_view spelling, bool preserveCase) {
    std::string name(spelling);
    if (!preserveCase && !VhdlCaseCounts(spelling))
        for (char& c : name) c = lowerChar(c);
    return name;
}

bool VhdlSameId(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    if (VhdlCaseCounts(a) || VhdlCaseCounts(b)) return a == b;
    for (size_t i = 0; i < a.size(); ++i)
        if (lowerChar(a[i]) != lowerChar(b[i])) return false;
    return true;
}

} // namespace hdl
