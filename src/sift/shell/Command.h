// A framework command: a name, a table of typed arguments in insertion order, and the
// parser of a Tcl-style argument vector with abbreviation, required arguments and
// mutual-exclusion groups. Complaints go to the message sink as CMD-10xx messages.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <tcl.h>

#include "hdl/base/LineFile.h"
#include "hdl/base/Message.h"
#include "sift/shell/CommandArgument.h"

namespace hdl {

class Command {
public:
    // Starts with the optional flag -help.
    Command(const std::string& name, const char* description);
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    // 1 when the vector parsed and every requirement holds, else 0 after a message.
    virtual int ParseArgs(int argc, const char* const* argv);
    // The command's work; non-zero on success. A command without work succeeds.
    virtual int Process(Tcl_Interp* interp);
    virtual void Usage() const;
    virtual void Comment(const char* format, ...) const __attribute__((format(printf, 2, 3)));
    virtual void Error(const char* format, ...) const __attribute__((format(printf, 2, 3)));
    virtual void Warning(const char* format, ...) const __attribute__((format(printf, 2, 3)));
    virtual void Info(const char* format, ...) const __attribute__((format(printf, 2, 3)));
    // Tells a text of the framework's catalogue at the command's location.
    template <const MessageText& M, typename... A>
    void Tell(A... args) const {
        Message::Tell<M>(location, args...);
    }
    // Takes ownership; false (and the argument dropped) when the name is taken.
    bool Add(std::unique_ptr<Argument> argument);
    // Exact name; the empty name is the positional argument.
    Argument* Find(const std::string& argName) const;
    const std::vector<std::unique_ptr<Argument>>& Arguments() const { return arguments; }

    bool IsSet(const std::string& argName) const;
    int BoolValue(const std::string& argName) const;
    int IntValue(const std::string& argName) const;
    const char* StringValue(const std::string& argName) const;
    double DoubleValue(const std::string& argName) const;
    const StringArray* ArrayValue(const std::string& argName) const;
    const ArrayOfArrays* ArrayOfArrayValue(const std::string& argName) const;
    const StringMap* MapValue(const std::string& argName) const;
    const ArrayMap* MapOfArrayValue(const std::string& argName) const;

    std::string name;
    bool hasDescription;
    std::string description;
    const ColLineFile* location = nullptr;

private:
    Argument* argumentForWord(const char* word) const;
    void reportMissing(const Argument& argument, const char* commandWord) const;

    std::vector<std::unique_ptr<Argument>> arguments;
    std::unordered_map<std::string, size_t> argumentIndex;
};

// The table of commands by name, in insertion order; owns them.
class Commands {
public:
    bool Add(std::unique_ptr<Command> command);
    void Remove(const Command* command);
    Command* Find(const std::string& name) const;
    const std::vector<std::unique_ptr<Command>>& All() const { return commands; }

private:
    std::vector<std::unique_ptr<Command>> commands;
};

} // namespace hdl
