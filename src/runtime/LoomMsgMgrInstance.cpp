#include "runtime/LoomMsgMgrInstance.h"

#include <cstdio>
#include <vector>

LoomMsgMgrInstance LoomMsgMgrInstance::create(unsigned mask, const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    int n = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::vector<char> text(n > 0 ? static_cast<size_t>(n) + 1 : 1, '\0');
    if (n > 0) std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
    return LoomMsgMgrInstance(mask, text.data());
}
