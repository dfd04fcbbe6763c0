// Map-valued arguments: key/value pairs given as two words ("-map key value"), as one
// pair list ("-map {key value}") or as a list of pairs ("-map {{k1 v1} {k2 v2}}").
#pragma once

#include "sift/shell/CommandArgument.h"

namespace hdl {

// The word grammar shared by both map classes; they differ in what a value is.
class PairArgument : public Argument {
public:
    using Argument::Argument;
    int Parse(int& index, int argc, const char* const* argv) override;

protected:
    // Stores elements[0] as key and the rest as its value; -1 when they make no pair.
    virtual int setElements(const StringArray& elements) = 0;
    // Stores a key with a value given as one word (also split as a list).
    virtual int setWord(const std::string& key, const std::string& word, const StringArray& split) = 0;

private:
    int setAlone(const std::string& word, const StringArray& elements);
    void noPairing(const std::string& word) const;
};

class MapArg : public PairArgument {
public:
    MapArg(const std::string& name, const char* help, bool optional, int group, bool repeatable);
    std::unique_ptr<Argument> Clone() const override { return std::make_unique<MapArg>(*this); }
    ArgumentType TypeCode() const override { return MAP_ARG; }
    bool IsMap() const override { return true; }
    int SetValue(const std::string& key, const std::string& value) override;
    const StringMap* MapValue() const override { return isSet ? &values : nullptr; }

    StringMap values;

protected:
    int setElements(const StringArray& elements) override;
    int setWord(const std::string& key, const std::string& word, const StringArray& split) override;
};

class MapOfArrayArg : public PairArgument {
public:
    MapOfArrayArg(const std::string& name, const char* help, bool optional, int group, bool repeatable);
    std::unique_ptr<Argument> Clone() const override { return std::make_unique<MapOfArrayArg>(*this); }
    ArgumentType TypeCode() const override { return MAP_OF_ARRAY_ARG; }
    bool IsMapOfArray() const override { return true; }
    int SetValue(const std::string& key, const StringArray& value) override;
    const ArrayMap* MapOfArrayValue() const override { return isSet ? &values : nullptr; }

    ArrayMap values;

protected:
    int setElements(const StringArray& elements) override;
    int setWord(const std::string& key, const std::string& word, const StringArray& split) override;
};

} // namespace hdl
