// Feeds arbitrary bytes through the preprocessor and lexer. The first byte picks the
// language and the translate_off handling; the input after the first NUL byte pair
// is served as the text of every included file, so includes (and include cycles)
// get exercised without touching the disk.
#include <cstdarg>
#include <cstdint>
#include <sstream>
#include <string>

#include "hdl/base/Message.h"
#include "hdl/sv/VeriPreprocessor.h"

namespace {

std::string includeText;
size_t includesServed = 0;

// Serves a bounded number of includes per input: the preprocessor's own limits are
// sized for real projects (many thousands of includes) and would make a single
// branching input take seconds here.
hdl::SourceStream* serveInclude(const char*) {
    if (++includesServed > 256) return nullptr;
    return new hdl::SourceStream(new std::istringstream(includeText));
}

void dropMessage(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    hdl::Message::RegisterCallBackMsg(dropMessage);
    std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    size_t split = text.find(std::string("\0\0", 2));
    includesServed = 0;
    includeText = split == std::string::npos ? std::string() : text.substr(split + 2);
    if (split != std::string::npos) text.resize(split);
    hdl::VeriPreprocessorOptions opts;
    static const unsigned languages[] = {1, 2, 3, 4, 5, 14};
    opts.language = languages[data[0] % 6];
    opts.ignoreTranslateOff = (data[0] & 0x80) != 0;
    opts.defines = {"FUZZ", "W=8"};
    opts.streamCallBack = serveInclude;
    hdl::VeriPreprocessor pp(opts);
    pp.pushText(std::move(text), "fuzz.sv");
    // A loop that stops advancing shows up as a libFuzzer timeout.
    for (hdl::VeriToken t = pp.next(); t.kind != hdl::VT_EOF; t = pp.next()) {
        if (t.text.data() == nullptr && !t.text.empty()) __builtin_trap();
    }
    return 0;
}
