#include "hdl/elab/ElabNaming.h"

namespace hdl {

std::string ElabCopyName(std::string_view base, const std::vector<std::pair<std::string, std::string>>& parameters) {
    std::string name(base);
    if (parameters.empty()) return name;
    name += '(';
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (i) name += ',';
        name += parameters[i].first;
        name += '=';
        name += parameters[i].second;
    }
    name += ')';
    return name;
}

std::string_view ElabBaseName(std::string_view name) {
    if (name.empty() || name.back() != ')') return name;
    size_t open = name.find('(');
    return open == std::string_view::npos ? name : name.substr(0, open);
}

} // namespace hdl
