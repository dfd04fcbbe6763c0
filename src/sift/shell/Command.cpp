#include "sift/shell/Command.h"

#include <algorithm>
#include <cstdarg>

#include "hdl/base/Message.h"
#include "sift/shell/CommandMessages.h"

namespace hdl {

Command::Command(const std::string& cmdName, const char* desc)
    : name(cmdName), hasDescription(desc != nullptr), description(desc ? desc : "") {
    Add(std::make_unique<BoolArg>("help", nullptr, true, 0));
}

bool Command::Add(std::unique_ptr<Argument> argument) {
    if (argumentIndex.count(argument->name)) return false;
    argument->command = this;
    // Abbreviations must be longer than what a name shares with any other name.
    for (auto& other : arguments) {
        if (other->name.empty() || argument->name.empty()) continue;
        const std::string& a = argument->name;
        const std::string& b = other->name;
        if (a[0] != b[0]) continue;
        uint32_t common = 0;
        while (common < a.size() && common < b.size() && a[common] == b[common]) ++common;
        argument->uniquePrefix = std::max(argument->uniquePrefix, common);
        other->uniquePrefix = std::max(other->uniquePrefix, common);
    }
    argumentIndex.emplace(argument->name, arguments.size());
    arguments.push_back(std::move(argument));
    return true;
}

Argument* Command::Find(const std::string& argName) const {
    auto it = argumentIndex.find(argName);
    return it == argumentIndex.end() ? nullptr : arguments[it->second].get();
}

Argument* Command::argumentForWord(const char* word) const {
    if (word[0] != '-') {
        if (Argument* positional = Find("")) return positional;
        Tell<cmd_msg::ExpectedArgument>(name.c_str(), word);
        return nullptr;
    }
    const std::string text = word + 1;
    if (Argument* exact = Find(text)) return exact;
    auto startsWithText = [&text](const std::unique_ptr<Argument>& a) {
        return !a->name.empty() && a->name.compare(0, text.size(), text) == 0;
    };
    auto candidate = std::find_if(arguments.begin(), arguments.end(), startsWithText);
    if (candidate == arguments.end()) {
        Tell<cmd_msg::UnknownOption>(name.c_str(), text.c_str());
        return nullptr;
    }
    if ((*candidate)->uniquePrefix < text.size()) return candidate->get();
    std::string names;
    for (const auto& a : arguments) {
        if (startsWithText(a)) names += " " + a->name;
    }
    Tell<cmd_msg::AmbiguousOption>(name.c_str(), text.c_str(), names.c_str());
    return nullptr;
}

void Command::reportMissing(const Argument& argument, const char* commandWord) const {
    if (!argument.name.empty()) {
        Tell<cmd_msg::OptionMissing>(name.c_str(), argument.name.c_str());
    } else {
        Tell<cmd_msg::ArgumentMissing>(commandWord);
    }
}

int Command::ParseArgs(int argc, const char* const* argv) {
    Message::ClearErrorCount();
    for (auto& a : arguments) a->isSet = 0;
    for (int i = 1; i < argc; ++i) {
        if (isBlankWord(argv[i])) continue;
        Argument* argument = argumentForWord(argv[i]);
        if (!argument || !argument->Parse(i, argc, argv)) return 0;
    }
    const char* commandWord = argc > 0 ? argv[0] : name.c_str();
    if (IsSet("help")) return 1;
    for (const auto& a : arguments) {
        if (a->group == 0 && !a->optional && !a->isSet) {
            reportMissing(*a, commandWord);
            return 0;
        }
    }
    // A positive group allows one of its arguments, a negative one several; either
    // needs one when its arguments are not optional.
    for (const auto& a : arguments) {
        if (a->group == 0) continue;
        bool satisfied = a->isSet != 0;
        for (const auto& b : arguments) {
            if (b == a || b->group != a->group || !b->isSet) continue;
            if (a->group > 0 && a->isSet) {
                Tell<cmd_msg::ExclusiveOptions>(name.c_str(), b->name.c_str(), a->name.c_str());
                return 0;
            }
            satisfied = true;
        }
        if (!satisfied && !a->optional) {
            reportMissing(*a, commandWord);
            return 0;
        }
    }
    return 1;
}

int Command::Process(Tcl_Interp*) { return 1; }

void Command::Usage() const {
    Message::Msg(MSG_NONE, nullptr, nullptr, "\"%s\" : %s", name.c_str(), description.c_str());
    size_t width = 0;
    for (const auto& a : arguments) width = std::max(width, a->UsageWidth());
    for (const auto& a : arguments) a->PrintUsage(width);
}

// clang-format off
#define HDL_COMMAND_MESSAGE(TYPE)                                                   \
    va_list args;                                                                   \
    va_start(args, format);                                                         \
    Message::MsgVaList(TYPE, commandMessageId(format), location, format, args);     \
    va_end(args)
// clang-format on

void Command::Comment(const char* format, ...) const { HDL_COMMAND_MESSAGE(MSG_COMMENT); }
void Command::Error(const char* format, ...) const { HDL_COMMAND_MESSAGE(MSG_ERROR); }
void Command::Warning(const char* format, ...) const { HDL_COMMAND_MESSAGE(MSG_WARNING); }
void Command::Info(const char* format, ...) const { HDL_COMMAND_MESSAGE(MSG_INFO); }

#undef HDL_COMMAND_MESSAGE

bool Command::IsSet(const std::string& argName) const {
    const Argument* a = Find(argName);
    return a && a->isSet;
}
int Command::BoolValue(const std::string& argName) const {
    const Argument* a = Find(argName);
    return a ? a->BoolValue() : 0;
}
int Command::IntValue(const std::string& argName) const {
    const Argument* a = Find(argName);
    return a ? a->IntValue() : 0;
}
const char* Command::StringValue(const std::string& argName) const {
    const Argument* a = Find(argName);
    return a ? a->StringValue() : nullptr;
}
double Command::DoubleValue(const std::string& argName) const {
    const Argument* a = Find(argName);
    return a ? a->DoubleValue() : 0.0;
}
const StringArray* Command::ArrayValue(const std::string& argName) const {
    const Argument* a = Find(argName);
    return a ? a->ArrayValue() : nullptr;
}
const ArrayOfArrays* Command::ArrayOfArrayValue(const std::string& argName) const {
    const Argument* a = Find(argName);
    return a ? a->ArrayOfArrayValue() : nullptr;
}
const StringMap* Command::MapValue(const std::string& argName) const {
    const Argument* a = Find(argName);
    return a ? a->MapValue() : nullptr;
}
const ArrayMap* Command::MapOfArrayValue(const std::string& argName) const {
    const Argument* a = Find(argName);
    return a ? a->MapOfArrayValue() : nullptr;
}

bool Commands::Add(std::unique_ptr<Command> command) {
    if (Find(command->name)) return false;
    commands.push_back(std::move(command));
    return true;
}

void Commands::Remove(const Command* command) {
    commands.erase(std::remove_if(commands.begin(), commands.end(),
                                  [command](const std::unique_ptr<Command>& c) { return c.get() == command; }),
                   commands.end());
}

Command* Commands::Find(const std::string& cmdName) const {
    for (const auto& c : commands) {
        if (c->name == cmdName) return c.get();
    }
    return nullptr;
}

} // namespace hdl
