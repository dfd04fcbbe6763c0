// Feeds arbitrary bytes to either front-end (the first byte picks Verilog or VHDL) and
// runs the definition/reference walk with block ranges, ports and declarations over
// what analysis kept, twice. Any crash, hang or leak is a finding; so is a block range
// that does not span lines.
#include <cstddef>
#include <cstdint>
#include <string>

#include "hdl/base/Message.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/extract/HADLDefRef.h"

namespace {

void Silent(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    hdl::Message::RegisterCallBackMsg(Silent);
    const bool vhdl = data[0] & 1;
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    const char* name = vhdl ? "fuzz.vhd" : "fuzz.sv";
    HADLDatabase db;
    db.insertFileName(name, vhdl ? 11 : 5, "work");
    if (vhdl) hdl::vhdl_file::AnalyzeText(text, name, "work", hdl::VHDL_2008);
    else hdl::veri_file::AnalyzeText(text, name);
    // Every module has a raw unit, so that its ports are recorded too.
    for (hdl::VeriLibrary* library : hdl::veri_file::AllLibraries())
        for (hdl::VeriModule* module : library->AllModules())
            db.rUnitNames.insert((".work." + std::string(module->Name())).c_str());
    db.resizeTables();
    for (int pass = 0; pass < 2; ++pass) {
        HADLWalkRequest request;
        request.blockRanges = request.portDecls = request.defRef = true;
        request.db = &db;
        walkDesign(request);
    }
    for (const auto& ranges : db.blockRanges)
        for (const auto& range : ranges)
            if (range.endLine <= range.startLine) __builtin_trap();
    hdl::vhdl_file::Reset();
    hdl::veri_file::Reset();
    return 0;
}
