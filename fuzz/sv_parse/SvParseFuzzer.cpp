// Feeds arbitrary bytes through preprocessing, parsing, name resolution, copying and
// printing. A copy that differs from its original traps.
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "hdl/base/Message.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriPrettyPrinter.h"

namespace {
void quiet(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    hdl::Message::RegisterCallBackMsg(quiet);
    hdl::veri_file::Reset();
    std::string text(reinterpret_cast<const char*>(data), size);
    hdl::veri_file::AnalyzeText(text, "fuzz.sv");
    std::ostringstream sink;
    hdl::Arena copies;
    for (hdl::VeriLibrary* lib : hdl::veri_file::AllLibraries()) {
        for (hdl::VeriModule* m : lib->AllModules()) {
            hdl::VeriPrettyPrinter::print(*m, sink);
            if (!m->Copy(copies)->IsEqual(m)) __builtin_trap();
        }
    }
    return 0;
}
