#include "sift/shell/ListArguments.h"

namespace hdl {

ArrayArg::ArrayArg(const std::string& argName, const char* helpText, bool isOptional, int argGroup)
    : Argument(argName, helpText, isOptional, argGroup, true) {}

int ArrayArg::SetValue(const std::string& text) {
    if (!isSet) values.clear(); // values of an earlier call
    if (!markSet()) return 0;
    StringArray elements;
    if (!splitTclList(text, elements)) return 0;
    values.insert(values.end(), elements.begin(), elements.end());
    return 1;
}

ArrayOfArrayArg::ArrayOfArrayArg(const std::string& argName, const char* helpText, bool isOptional, int argGroup)
    : Argument(argName, helpText, isOptional, argGroup, true) {}

int ArrayOfArrayArg::SetValue(const std::string& text) {
    if (!isSet) values.clear();
    if (!markSet()) return 0;
    StringArray outer;
    if (!splitTclList(text, outer)) return 0;
    for (const std::string& element : outer) {
        StringArray inner;
        if (!splitTclList(element, inner)) return 0;
        values.push_back(std::move(inner));
    }
    return 1;
}

int ArrayArgWithOption::SetOption(const std::string& optName, const std::string& optValue) {
    optionName = optName;
    optionValue = optValue;
    return 1;
}

} // namespace hdl
