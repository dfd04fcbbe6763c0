#include "sift/shell/CommandArgument.h"

#include <cctype>
#include <cstdlib>
#include <strings.h>

#include "hdl/base/Message.h"
#include "sift/shell/Command.h"
#include "sift/shell/CommandMessages.h"

namespace hdl {

bool isBlankWord(const char* word) {
    if (!std::isspace(static_cast<unsigned char>(word[0]))) return false;
    for (const char* c = word; *c; ++c) {
        if (!std::isspace(static_cast<unsigned char>(*c))) return false;
    }
    return true;
}

Argument::Argument(const std::string& argName, const char* helpText, bool isOptional, int argGroup, bool isRepeatable)
    : name(argName), hasHelp(helpText != nullptr), help(helpText ? helpText : ""), group(argGroup),
      optional(isOptional), repeatable(isRepeatable) {}

int Argument::Parse(int& index, int argc, const char* const* argv) {
    if (!stepToValue(index, argc)) return 0;
    return SetValue(std::string(argv[index]));
}

bool Argument::stepToValue(int& index, int argc) const {
    if (name.empty()) return true; // the positional word is its own value
    ++index;
    return index < argc;
}

bool Argument::markSet() {
    if (!isSet || repeatable) {
        isSet = 1;
        return true;
    }
    if (name.empty()) {
        command->Tell<cmd_msg::DefaultRepeated>(command->name.c_str());
    } else {
        command->Tell<cmd_msg::OptionRepeated>(command->name.c_str(), name.c_str());
    }
    return false;
}

size_t Argument::UsageWidth() const {
    size_t width = name.size() + (optional ? 2 : 0) + 1;
    if (TakesValue()) width += repeatable ? 7 : 6;
    return width;
}

void Argument::PrintUsage(size_t width) const {
    if (!hasHelp) return;
    std::string left = optional ? "[" : "";
    left += "-" + name;
    if (TakesValue()) left += repeatable ? " <args>" : " <arg>";
    if (optional) left += "]";
    Message::Msg(MSG_NONE, nullptr, nullptr, "    %-*s : %s", static_cast<int>(width), left.c_str(), help.c_str());
}

BoolArg::BoolArg(const std::string& argName, const char* helpText, bool isOptional, int argGroup, bool defaultVal,
                 bool trueFalse)
    : Argument(argName, helpText, isOptional, argGroup, false), defaultValue(defaultVal), acceptsTrueFalse(trueFalse) {}

namespace {
bool isTrueFalseWord(const char* word) { return strcasecmp(word, "TRUE") == 0 || strcasecmp(word, "FALSE") == 0; }
} // namespace

int BoolArg::Parse(int& index, int argc, const char* const* argv) {
    if (acceptsTrueFalse && index + 1 < argc && isTrueFalseWord(argv[index + 1])) {
        ++index;
        return SetValue(std::string(argv[index]));
    }
    if (!markSet()) return 0;
    value = 1;
    text.clear();
    return 1;
}

int BoolArg::SetValue(const std::string& word) {
    if (!markSet()) return 0;
    value = strcasecmp(word.c_str(), "FALSE") != 0 && word != "0";
    text = word;
    return 1;
}

IntArg::IntArg(const std::string& argName, const char* helpText, bool isOptional, int argGroup, int defaultVal)
    : Argument(argName, helpText, isOptional, argGroup, false), defaultValue(defaultVal) {}

int IntArg::SetValue(const std::string& word) {
    if (!markSet()) return 0;
    char* end = nullptr;
    long parsed = std::strtol(word.c_str(), &end, 10);
    if (*end) {
        command->Tell<cmd_msg::NotInteger>(command->name.c_str(), name.c_str(), word.c_str());
        return 0;
    }
    value = static_cast<int32_t>(parsed);
    return 1;
}

DoubleArg::DoubleArg(const std::string& argName, const char* helpText, bool isOptional, int argGroup, double defaultVal)
    : Argument(argName, helpText, isOptional, argGroup, false), defaultValue(defaultVal) {}

int DoubleArg::SetValue(const std::string& word) {
    if (!markSet()) return 0;
    char* end = nullptr;
    double parsed = std::strtod(word.c_str(), &end);
    if (*end) {
        command->Tell<cmd_msg::NotDouble>(command->name.c_str(), name.c_str(), word.c_str());
        return 0;
    }
    value = parsed;
    return 1;
}

StringArg::StringArg(const std::string& argName, const char* helpText, bool isOptional, int argGroup,
                     const char* defaultVal)
    : Argument(argName, helpText, isOptional, argGroup, false), hasDefault(defaultVal != nullptr),
      defaultValue(defaultVal ? defaultVal : "") {}

int StringArg::SetValue(const std::string& word) {
    if (!markSet()) return 0;
    value = word;
    return 1;
}

const char* StringArg::StringValue() const {
    if (isSet) return value.c_str();
    return hasDefault ? defaultValue.c_str() : nullptr;
}

} // namespace hdl
