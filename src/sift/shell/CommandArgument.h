// Typed arguments of a framework command. Each argument parses its own words out of
// the argument vector, checks repetition, and answers for its value; the getters of
// a kind it is not answer 0, empty or null.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sift/shell/TclList.h"

namespace hdl {

class Command;

using ArrayOfArrays = std::vector<StringArray>;
// Insertion-ordered maps: keys keep the place of their first insertion.
using StringMap = std::vector<std::pair<std::string, std::string>>;
using ArrayMap = std::vector<std::pair<std::string, StringArray>>;

// A word that begins with white space and holds nothing else; the parser skips it.
bool isBlankWord(const char* word);

enum ArgumentType : uint32_t {
    BOOL_ARG = 0,
    INT_ARG = 1,
    DOUBLE_ARG = 2,
    STRING_ARG = 3,
    ARRAY_ARG = 4,
    ARRAY_OF_ARRAY_ARG = 5,
    ARRAY_WITH_OPTION_ARG = 6,
    MAP_ARG = 7,
    MAP_OF_ARRAY_ARG = 8,
};

class Argument {
public:
    // An empty name makes the positional argument; a null help text keeps the
    // argument out of the usage listing.
    Argument(const std::string& name, const char* help, bool optional, int group, bool repeatable);
    virtual ~Argument() = default;

    virtual std::unique_ptr<Argument> Clone() const = 0;
    // Consumes the words of this argument starting at argv[index] (the option word for
    // a named argument); leaves index on the last word taken. 0 on failure.
    virtual int Parse(int& index, int argc, const char* const* argv);
    virtual void PrintUsage(size_t width) const;
    virtual ArgumentType TypeCode() const = 0;

    virtual bool IsBool() const { return false; }
    virtual bool IsInt() const { return false; }
    virtual bool IsDouble() const { return false; }
    virtual bool IsString() const { return false; }
    virtual bool IsArray() const { return false; }
    virtual bool IsMap() const { return false; }
    virtual bool IsArrayOfArray() const { return false; }
    virtual bool IsArrayWithOption() const { return false; }
    virtual bool IsMapOfArray() const { return false; }

    virtual int SetValue(const std::string&) { return 0; }
    virtual int SetValue(const std::string&, const std::string&) { return 0; }
    virtual int SetValue(const std::string&, const StringArray&) { return 0; }
    virtual int SetOption(const std::string&, const std::string&) { return 0; }

    virtual int BoolValue() const { return 0; }
    virtual int AcceptsTrueFalse() const { return 0; }
    virtual const char* BoolText() const { return nullptr; }
    virtual int IntValue() const { return 0; }
    virtual const char* StringValue() const { return nullptr; }
    virtual double DoubleValue() const { return 0.0; }
    virtual const StringArray* ArrayValue() const { return nullptr; }
    virtual const ArrayOfArrays* ArrayOfArrayValue() const { return nullptr; }
    virtual const StringArray* ArrayOfOptionValue() const { return nullptr; }
    virtual const char* OptionName() const { return nullptr; }
    virtual const char* OptionValue() const { return nullptr; }
    virtual const StringMap* MapValue() const { return nullptr; }
    virtual const ArrayMap* MapOfArrayValue() const { return nullptr; }

    // Width of this argument's left column in the usage listing.
    size_t UsageWidth() const;
    // Whether the option word is followed by a value word.
    virtual bool TakesValue() const { return true; }

    Command* command = nullptr;
    std::string name;
    bool hasHelp;
    std::string help;
    uint32_t uniquePrefix = 0;
    int32_t group;
    bool optional;
    bool repeatable;
    uint32_t isSet = 0;

protected:
    // Common check before storing a value: a second value of a non-repeatable
    // argument in one call is an error.
    bool markSet();
    // Steps past the option word of a named argument; false at the end of the vector.
    bool stepToValue(int& index, int argc) const;
};

class BoolArg : public Argument {
public:
    BoolArg(const std::string& name, const char* help, bool optional, int group, bool defaultValue = false,
            bool acceptsTrueFalse = false);
    std::unique_ptr<Argument> Clone() const override { return std::make_unique<BoolArg>(*this); }
    int Parse(int& index, int argc, const char* const* argv) override;
    ArgumentType TypeCode() const override { return BOOL_ARG; }
    bool IsBool() const override { return true; }
    int SetValue(const std::string& text) override;
    int BoolValue() const override { return isSet ? value : defaultValue; }
    int AcceptsTrueFalse() const override { return acceptsTrueFalse; }
    const char* BoolText() const override { return text.empty() ? nullptr : text.c_str(); }
    bool TakesValue() const override { return acceptsTrueFalse != 0; }

    int32_t defaultValue;
    int32_t value = 0;
    int32_t acceptsTrueFalse;
    std::string text;
};

class IntArg : public Argument {
public:
    IntArg(const std::string& name, const char* help, bool optional, int group, int defaultValue = 0);
    std::unique_ptr<Argument> Clone() const override { return std::make_unique<IntArg>(*this); }
    ArgumentType TypeCode() const override { return INT_ARG; }
    bool IsInt() const override { return true; }
    int SetValue(const std::string& text) override;
    int IntValue() const override { return isSet ? value : defaultValue; }

    int32_t defaultValue;
    int32_t value = 0;
};

class DoubleArg : public Argument {
public:
    DoubleArg(const std::string& name, const char* help, bool optional, int group, double defaultValue = 0.0);
    std::unique_ptr<Argument> Clone() const override { return std::make_unique<DoubleArg>(*this); }
    ArgumentType TypeCode() const override { return DOUBLE_ARG; }
    bool IsDouble() const override { return true; }
    int SetValue(const std::string& text) override;
    double DoubleValue() const override { return isSet ? value : defaultValue; }

    double defaultValue;
    double value = 0.0;
};

class StringArg : public Argument {
public:
    // A null default makes StringValue null while the argument is not set.
    StringArg(const std::string& name, const char* help, bool optional, int group, const char* defaultValue = nullptr);
    std::unique_ptr<Argument> Clone() const override { return std::make_unique<StringArg>(*this); }
    ArgumentType TypeCode() const override { return STRING_ARG; }
    bool IsString() const override { return true; }
    int SetValue(const std::string& text) override;
    const char* StringValue() const override;

    bool hasDefault;
    std::string defaultValue;
    std::string value;
};

} // namespace hdl
