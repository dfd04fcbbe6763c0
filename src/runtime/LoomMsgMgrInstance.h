// One message of the in-house message manager: a type mask and a body text. The body
// is the format with its arguments filled in; a leading catalogue reference such as
// "@56-286@" stays in front, for the parent to look up.
#pragma once

#include <cstdarg>
#include <string>

class LoomMsgMgrInstance {
public:
    enum Mask : unsigned {
        Warning = 0x8000000,
        Error = 0x20000000,
        Info = 0x10000000,
    };

    LoomMsgMgrInstance(unsigned type, std::string body) : type_(type), body_(std::move(body)) {}

    static LoomMsgMgrInstance create(unsigned mask, const char* format, ...) __attribute__((format(printf, 2, 3)));

    unsigned getType() const { return type_; }
    const std::string& getMessageBody() const { return body_; }

private:
    unsigned type_;
    std::string body_;
};
