// Feeds arbitrary bytes to VHDL analysis, trims and elaborates what it holds as the
// scanner does, and binds the result into a fresh database: whatever the trees hold,
// binding, inactive units and tops must neither crash nor hang. The first byte picks
// the language mode. Seeds: the corpus's VHDL files and tests/hdl/elab/designs.
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "../elab/FuzzElab.h"
#include "hdl/base/Message.h"
#include "hdl/elab/ElabMixed.h"
#include "hdl/elab/VhdlElabStore.h"
#include "hdl/elab/VhdlElaborator.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/bind/HADLBinder.h"
#include "sift/bind/HADLInstFinder.h"
#include "sift/primitives/HADLTrimmers.h"

#ifndef SIFT_DATA_DIR
#define SIFT_DATA_DIR ""
#endif

namespace {
void Silent(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    hdl::Message::RegisterCallBackMsg(Silent);
    const unsigned mode = hdl::VHDL_93 + data[0] % 4;
    hdl::vhdl_file::Analyze((std::string(SIFT_DATA_DIR) + "/vhdl/src/std_2008/standard.vhd").c_str(), "std",
                            hdl::VHDL_2008);
    hdl::vhdl_file::AnalyzeText(std::string(reinterpret_cast<const char*>(data + 1), size - 1), "fuzz.vhd", "work",
                                mode);
    hdl::vhdl_file::ResolveAll();

    HADLDatabase db;
    db.insertFileName("fuzz.vhd", 9 + data[0] % 4, "work");
    std::set<std::string> tessel;
    collectTesselModules(db, tessel, data[0] & 0x10);
    HADLInstFinder finder;
    for (hdl::VhdlLibrary* lib : hdl::vhdl_file::AllLibraries())
        for (hdl::VhdlPrimaryUnit* p : lib->PrimaryUnits())
            for (hdl::VhdlSecondaryUnit* s : p->GetSecondaryUnits()) finder.walk(*s);

    const hdl::ElabLimits limits = fuzz_elab::TightLimits();
    hdl::ElabDesign design;
    std::vector<hdl::ElabUnitId> verilog, vhdl;
    hdl::ElaborateMixedHdlMultipleTopsStatic(design, {}, hdl::VhdlFindTops(), nullptr, verilog, vhdl, limits);
    HADLBinder(db, data[0] & 0x20).bind(finder, {});

    hdl::vhdl_file::Reset();
    hdl::VhdlElabStore::Reset();
    return 0;
}
