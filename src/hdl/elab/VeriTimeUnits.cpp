#include "hdl/elab/VeriTimeUnits.h"

#include <cctype>

#include "hdl/sv/VeriTokens.h"

namespace hdl {

double VeriTimeUnitFs(std::string_view text) {
    size_t at = 0;
    double magnitude = 0;
    while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])))
        magnitude = magnitude * 10 + (text[at++] - '0');
    if (at == 0) return 0;
    while (at < text.size() && text[at] == ' ') ++at;
    const std::string_view unit = text.substr(at);
    static const struct {
        const char* name;
        double fs;
    } kUnits[] = {{"s", 1e15}, {"ms", 1e12}, {"us", 1e9}, {"ns", 1e6}, {"ps", 1e3}, {"fs", 1}};
    for (const auto& u : kUnits)
        if (unit == u.name) return magnitude * u.fs;
    return 0;
}

double VeriModuleTimeUnitFs(const VeriModule& module) {
    for (const VeriModuleItem* item : module.items) {
        auto* t = dynamic_cast<const VeriTimeUnit*>(item);
        if (!t || t->kind != VT_TIMEUNIT) continue;
        if (double fs = VeriTimeUnitFs(t->literal)) return fs;
    }
    if (double fs = VeriTimeUnitFs(module.timeUnit)) return fs;
    return 1e6;
}

} // namespace hdl
