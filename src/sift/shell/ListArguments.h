// List-valued arguments: every word they take is split as a Tcl list, and repeated
// option words add to the same list within one call.
#pragma once

#include "sift/shell/CommandArgument.h"

namespace hdl {

class ArrayArg : public Argument {
public:
    ArrayArg(const std::string& name, const char* help, bool optional, int group);
    std::unique_ptr<Argument> Clone() const override { return std::make_unique<ArrayArg>(*this); }
    ArgumentType TypeCode() const override { return ARRAY_ARG; }
    bool IsArray() const override { return true; }
    int SetValue(const std::string& text) override;
    const StringArray* ArrayValue() const override { return isSet ? &values : nullptr; }

    StringArray values;
};

class ArrayOfArrayArg : public Argument {
public:
    ArrayOfArrayArg(const std::string& name, const char* help, bool optional, int group);
    std::unique_ptr<Argument> Clone() const override { return std::make_unique<ArrayOfArrayArg>(*this); }
    ArgumentType TypeCode() const override { return ARRAY_OF_ARRAY_ARG; }
    bool IsArrayOfArray() const override { return true; }
    int SetValue(const std::string& text) override;
    const ArrayOfArrays* ArrayOfArrayValue() const override { return isSet ? &values : nullptr; }

    ArrayOfArrays values;
};

// A list with one named option beside it.
class ArrayArgWithOption : public ArrayArg {
public:
    using ArrayArg::ArrayArg;
    std::unique_ptr<Argument> Clone() const override { return std::make_unique<ArrayArgWithOption>(*this); }
    ArgumentType TypeCode() const override { return ARRAY_WITH_OPTION_ARG; }
    bool IsArrayWithOption() const override { return true; }
    int SetOption(const std::string& name, const std::string& value) override;
    const StringArray* ArrayOfOptionValue() const override { return ArrayValue(); }
    const char* OptionName() const override { return optionName.c_str(); }
    const char* OptionValue() const override { return optionValue.c_str(); }

    std::string optionName;
    std::string optionValue;
};

} // namespace hdl
