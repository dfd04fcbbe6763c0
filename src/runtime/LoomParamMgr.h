// The process-wide store of named parameters. Registration is idempotent: a
// parameter registered again keeps its current value.
#pragma once

#include <map>
#include <string>

class LoomParamMgr {
public:
    static LoomParamMgr& getParamMgr();

    void registerStringParam(const std::string& name, const std::string& description, const std::string& defaultValue);
    // Sets the value, registering the parameter (without description) if it is new.
    void setStringValue(const std::string& name, const std::string& value);
    // The current value; empty for an unknown parameter.
    std::string getValueAsString(const std::string& name) const;
    bool isRegistered(const std::string& name) const;

private:
    struct Param {
        std::string description;
        std::string defaultValue;
        std::string value;
    };
    std::map<std::string, Param> params_;
};
