#include "hdl/elab/ElabMixed.h"

#include <algorithm>

#include "hdl/base/Message.h"
#include "hdl/elab/VhdlElaborator.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"

namespace hdl {

namespace {
ElabVerilogSide* gVerilogSide = nullptr;

// The units of the tops added to the design since `from`.
void AppendTops(const ElabDesign& design, size_t from, std::vector<ElabUnitId>& out) {
    for (size_t i = from; i < design.tops.size(); ++i)
        if (design.tops[i].unit) out.push_back(design.tops[i].unit);
}
} // namespace

void ElabRegisterVerilogSide(ElabVerilogSide* side) { gVerilogSide = side; }
ElabVerilogSide* ElabGetVerilogSide() { return gVerilogSide; }

bool ElaborateMixedHdlMultipleTopsStatic(ElabDesign& design, const std::vector<ElabTopRequest>& verilogTops,
                                         const std::vector<ElabTopRequest>& vhdlTops, const ElabGenericMap* generics,
                                         std::vector<ElabUnitId>& elaboratedVerilog,
                                         std::vector<ElabUnitId>& elaboratedVhdl, const ElabLimits& limits) {
    static const ElabGenericMap kNone;
    const ElabGenericMap& map = generics ? *generics : kNone;
    ElabVerilogSide* verilog = gVerilogSide;
    // One elaborator for the whole call, so that a VHDL unit reached from both languages
    // with one set of generics is one copy.
    VhdlElaborator vhdl(design, limits);
    ElabUnitLookup askVhdl = [&vhdl](ElabDesign&, const ElabUnitRequest& request) {
        return vhdl.ElaborateForeign(request);
    };
    if (verilog) {
        vhdl.SetForeignLookup([verilog, &askVhdl](ElabDesign& d, const ElabUnitRequest& request) {
            return verilog->ElaborateForeign(d, request, askVhdl);
        });
    }

    bool ok = true;
    if (verilog) {
        ok = verilog->ElaborateTops(design, verilogTops, map, limits, askVhdl, elaboratedVerilog);
    } else {
        for (const ElabTopRequest& top : verilogTops) {
            // Told at the module, so that the message lands in its file.
            const VeriModule* module =
                veri_file::GetModule(top.name.c_str(), top.library.empty() ? nullptr : top.library.c_str());
            const ColLineFile where = module ? module->Linefile() : ColLineFile();
            Message::Tell<vhdl_msg::VerilogTopNotElaborated>(module ? &where : nullptr, top.name.c_str());
        }
    }

    const size_t before = design.tops.size();
    std::vector<const VhdlPrimaryUnit*> found;
    if (VhdlElaborateTops(vhdl, vhdlTops, map, found)) ok = false;
    AppendTops(design, before, elaboratedVhdl);
    // A generic no top has: the Verilog side tells of its own tops.
    if (verilogTops.empty() || !verilog) {
        for (const ElabGenericValue& g : map) {
            bool used = std::any_of(found.begin(), found.end(),
                                    [&](const VhdlPrimaryUnit* u) { return VhdlElaborator::HasGeneric(u, g.name); });
            if (!used) Message::Tell<vhdl_msg::ElabTopGenericUnused>(nullptr, g.name.c_str());
        }
    }
    return ok && vhdl.ErrorCount() == 0;
}

} // namespace hdl
