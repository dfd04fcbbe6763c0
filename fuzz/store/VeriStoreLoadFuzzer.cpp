// Feeds arbitrary bytes to the loader of saved Verilog units. The first byte chooses:
// odd, the rest is a whole file; even, the rest is a payload, sealed first with a good
// header and checksum (else nearly every input would stop at the checksum). The
// package std and a small design that uses it (a package, an interface, a module with
// attributes, labels, qualifiers, generates and imports) are saved once and attached,
// so that links and scopes into them can be followed. A restored unit is walked,
// printed, and copied; the copy must equal it. Seeds: the payloads of the saved units,
// written by running with SIFT_STORE_SEEDS=<dir> once.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include <unistd.h>

#include "hdl/base/Message.h"
#include "hdl/store/VeriStore.h"
#include "hdl/sv/VeriPrettyPrinter.h"
#include "hdl/sv/VeriVisitor.h"

namespace {

void Silent(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

struct Walker : hdl::VeriVisitor {
    void PreVisit(hdl::VeriTreeNode& n) override { count += n.GetClassId() != 0; }
    size_t count = 0;
};

const char* const kDesign = R"(
package fz_pkg;
  typedef enum logic [1:0] { IDLE, BUSY, DONE } state_t;
  localparam int W = 8;
  function automatic logic [W-1:0] inc(input logic [W-1:0] v); return v + 1; endfunction
endpackage
interface fz_if #(parameter int N = 2) (input logic clk);
  logic [N-1:0] d;
  modport src (output d);
endinterface
(* keep = 1 *) module fz_top import fz_pkg::*; #(parameter int D = 4) (input logic clk, fz_if.src bus);
  state_t s;
  logic [W-1:0] r [D];
  always_ff @(posedge clk) begin : seq
    s <= BUSY;
    r[0] <= inc(r[0]);
  end
  for (genvar i = 1; i < D; i++) begin : g
    assign r[i] = (* mark *) r[i-1];
  end
  initial lbl: assert (D > 0) else $error("D");
endmodule
)";

std::string gDir;
const char* const kUnits[] = {"std", "fz_pkg", "fz_if", "fz_top", "$unit"};

void Attach() {
    hdl::veri_file::Reset();
    hdl::veri_file::AddLibraryPath("std", (gDir + "/std").c_str());
    hdl::veri_file::AddLibraryPath("work", (gDir + "/work").c_str());
}

void SaveUnits() {
    char pattern[] = "/tmp/sift-fuzz-veri-store-XXXXXX";
    gDir = mkdtemp(pattern);
    hdl::veri_file::Analyze(SIFT_DATA_DIR "/verilog/src/std.sv", hdl::SYSTEM_VERILOG, "std");
    hdl::veri_file::AnalyzeText(kDesign, "fz.sv", hdl::SYSTEM_VERILOG, "work");
    hdl::veri_file::SetDefaultLibraryPath(gDir.c_str());
    hdl::veri_file::SaveLib("std");
    hdl::veri_file::SaveLib("work");
    if (const char* seeds = std::getenv("SIFT_STORE_SEEDS")) {
        for (const char* unit : kUnits) {
            const std::string lib = std::string(unit) == "std" ? "std" : "work";
            std::ifstream in(gDir + "/" + lib + "/" + hdl::VeriStore::FileName(unit), std::ios::binary);
            std::string file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            if (file.size() > 40)
                std::ofstream(std::string(seeds) + "/veri_" + hdl::VeriStore::FileName(unit), std::ios::binary)
                    << '\0' << file.substr(40);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    static const bool ready = (hdl::Message::RegisterCallBackMsg(Silent), SaveUnits(), true);
    (void)ready;
    Attach();
    std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
    std::string file = data[0] & 1 ? rest : hdl::StoreSeal(hdl::VeriStore::Kind(), rest, nullptr);
    hdl::VeriLibrary* lib = hdl::veri_file::GetLibrary("fuzz", true);
    for (const char* name : kUnits) {
        try {
            hdl::VeriModule* unit = hdl::VeriStore::Decode(*lib, name, file, nullptr);
            Walker w;
            w.TraverseNode(unit);
            hdl::VeriPrettyPrinter::toString(*unit);
            if (!unit->Copy(lib->arena())->IsEqual(unit)) std::abort();
            break;
        } catch (const hdl::StoreError&) {}
    }
    return 0;
}
