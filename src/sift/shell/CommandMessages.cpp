#include "sift/shell/CommandMessages.h"

#include <string>
#include <unordered_map>

namespace hdl {

const char* commandMessageId(const char* format) {
    static const std::unordered_map<std::string, const char*> table = {
        {"%s: expected an argument (near '%s')", "CMD-1000"},
        {"%s: ambiguous option -%s (possible options : %s)", "CMD-1001"},
        {"%s: unknown option -%s", "CMD-1002"},
        {"%s: map argument '%s' has no pairing", "CMD-1003"},
        {"%s: map argument '%s' cannot be parsed", "CMD-1004"},
        {"%s: option -%s needs to be specified", "CMD-1005"},
        {"%s: command expects an argument", "CMD-1006"},
        {"%s: cannot set both options -%s and -%s", "CMD-1007"},
        {"%s: default option was already specified", "CMD-1008"},
        {"%s: option -%s was already specified", "CMD-1009"},
        {"%s: option -%s expected an integer (near '%s')", "CMD-1010"},
        {"%s: option -%s expected a floating point number (near '%s')", "CMD-1011"},
        {"%s: option -%s previously set; overwriting value '%s'", "CMD-1012"},
        {"%s: option -%s expects an argument", "CMD-1013"},
        {"%s: failed", "CMD-1014"},
        {"%s: failed because %s", "CMD-1015"},
    };
    if (!format) return nullptr;
    auto it = table.find(format);
    return it == table.end() ? nullptr : it->second;
}

} // namespace hdl
