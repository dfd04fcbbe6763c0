// Random argument vectors against the sf option table. Words are separated by NUL
// bytes in the input. Beyond not crashing, a vector that parses must respect the
// table's rules: at most one option of the exclusive group (unless -help ends the
// checks), and a set option must have been named, in full or abbreviated, by a word.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "hdl/base/Message.h"
#include "sift/shell/HADLCmd.h"

namespace {
void discard(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

bool namedByAWord(const std::string& option, const std::vector<std::string>& words) {
    for (const std::string& w : words) {
        if (w.size() > 1 && w[0] == '-' && option.compare(0, w.size() - 1, w, 1) == 0) return true;
    }
    return false;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static HADLCmd* command = [] {
        hdl::Message::RegisterCallBackMsg(discard);
        return new HADLCmd;
    }();
    std::vector<std::string> words{"sf"};
    const char* text = reinterpret_cast<const char*>(data);
    for (size_t begin = 0; begin <= size;) {
        const void* nul = std::memchr(text + begin, '\0', size - begin);
        size_t end = nul ? static_cast<const char*>(nul) - text : size;
        words.emplace_back(text + begin, end - begin);
        begin = end + 1;
    }
    std::vector<const char*> argv;
    for (const std::string& w : words) argv.push_back(w.c_str());

    if (!command->ParseArgs(static_cast<int>(argv.size()), argv.data())) {
        command->Usage();
        return 0;
    }
    // -help ends the checks before the group rules.
    if (command->IsSet("help")) return 0;
    int exclusive = 0;
    for (const auto& argument : command->Arguments()) {
        if (!argument->isSet) continue;
        if (argument->group == 1) ++exclusive;
        if (!argument->name.empty() && !namedByAWord(argument->name, words)) __builtin_trap();
    }
    if (exclusive > 1) __builtin_trap();
    return 0;
}
