// Feeds arbitrary bytes to the loader of saved VHDL units. The first byte chooses: odd,
// the rest is a whole file; even, the rest is a payload, sealed first with a good
// header and checksum (else nearly every input would stop at the checksum). The
// standard packages std.standard, std.textio and ieee.std_logic_1164 are saved once
// and attached, so that links into them can be followed. A restored unit is printed,
// walked and resolved again. Seeds: the payloads of real saved units, written by
// running with SIFT_STORE_SEEDS=<dir> once.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include <unistd.h>

#include "hdl/base/Message.h"
#include "hdl/store/VhdlStore.h"
#include "hdl/vhdl/VhdlPrettyPrinter.h"
#include "hdl/vhdl/VhdlResolver.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace {

void Silent(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

struct Walker : hdl::VhdlVisitor {
    void PreVisit(hdl::VhdlTreeNode& n) override { count += n.GetClassId() != 0; }
    size_t count = 0;
};

std::string gDir;

void Attach() {
    hdl::vhdl_file::Reset();
    hdl::vhdl_file::AddLibraryPath("std", (gDir + "/std").c_str());
    hdl::vhdl_file::AddLibraryPath("ieee", (gDir + "/ieee").c_str());
}

void SaveStandard() {
    char pattern[] = "/tmp/sift-fuzz-store-XXXXXX";
    gDir = mkdtemp(pattern);
    const std::string src = SIFT_DATA_DIR "/vhdl/src/";
    hdl::vhdl_file::Analyze((src + "std_2008/standard.vhd").c_str(), "std", hdl::VHDL_2008);
    hdl::vhdl_file::Analyze((src + "std_2008/textio.vhd").c_str(), "std", hdl::VHDL_2008);
    hdl::vhdl_file::Analyze((src + "ieee_2008/std_logic_1164.vhdl").c_str(), "ieee", hdl::VHDL_2008);
    hdl::vhdl_file::Analyze((src + "ieee_2008/std_logic_1164-body.vhdl").c_str(), "ieee", hdl::VHDL_2008);
    hdl::vhdl_file::SetDefaultLibraryPath(gDir.c_str());
    hdl::vhdl_file::SaveLib("std");
    hdl::vhdl_file::SaveLib("ieee");
    if (const char* seeds = std::getenv("SIFT_STORE_SEEDS")) {
        for (const char* unit : {"std/standard", "std/textio", "ieee/std_logic_1164"}) {
            std::ifstream in(gDir + "/" + unit + ".vdb", std::ios::binary);
            std::string file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            std::string name = std::string(unit).substr(std::string(unit).find('/') + 1);
            std::ofstream(std::string(seeds) + "/" + name, std::ios::binary) << '\0' << file.substr(40);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    static const bool ready = (hdl::Message::RegisterCallBackMsg(Silent), SaveStandard(), true);
    (void)ready;
    Attach();
    std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
    const hdl::StoreKind kind = hdl::VhdlStore::Kind();
    std::string file = data[0] & 1 ? rest : hdl::StoreSeal(kind, rest, nullptr);
    hdl::VhdlLibrary* lib = hdl::vhdl_file::GetLibrary("work", true);
    for (const char* key : {"standard", "textio", "std_logic_1164"}) {
        try {
            hdl::VhdlPrimaryUnit* unit = hdl::VhdlStore::Decode(*lib, key, file, nullptr);
            Walker w;
            w.TraverseNode(unit);
            hdl::VhdlPrettyText(unit);
            hdl::VhdlResolveUnit(unit, lib);
            for (hdl::VhdlSecondaryUnit* s : unit->GetSecondaryUnits()) {
                w.TraverseNode(s);
                hdl::VhdlPrettyText(s);
                hdl::VhdlResolveUnit(s, lib);
            }
            break;
        } catch (const hdl::StoreError&) {}
    }
    return 0;
}
