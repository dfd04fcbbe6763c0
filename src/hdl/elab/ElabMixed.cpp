#include "hdl/elab/ElabMixed.h"

#include <algorithm>

#include "hdl/base/Message.h"
#include "hdl/elab/VeriElaborator.h"
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
    // One elaborator per language for the whole call, so that a unit reached from both
    // languages with one set of values is one copy.
    VhdlElaborator vhdl(design, limits);
    VeriElaborator veri(design, limits);
    ElabUnitLookup askVhdl = [&vhdl](ElabDesign&, const ElabUnitRequest& request) {
        return vhdl.ElaborateForeign(request);
    };
    // A registered side stands in for this library's Verilog elaborator.
    vhdl.SetForeignLookup([&](ElabDesign& d, const ElabUnitRequest& request) {
        return verilog ? verilog->ElaborateForeign(d, request, askVhdl) : veri.ElaborateForeign(request);
    });
    veri.SetForeignLookup(askVhdl);

    bool ok = true;
    if (verilog) {
        ok = verilog->ElaborateTops(design, verilogTops, map, limits, askVhdl, elaboratedVerilog);
    } else {
        for (const ElabTopRequest& top : verilogTops) {
            VeriModule* module = VeriFindModule(top.name, top.library, nullptr);
            if (!module) {
                Message::Tell<vhdl_msg::VerilogTopNotElaborated>(nullptr, top.name.c_str());
                ok = false;
                continue;
            }
            if (ElabUnitId id = veri.ElaborateTop(module, map)) elaboratedVerilog.push_back(id);
        }
        if (veri.ErrorCount()) ok = false;
    }

    const size_t before = design.tops.size();
    std::vector<const VhdlPrimaryUnit*> found;
    if (VhdlElaborateTops(vhdl, vhdlTops, map, found)) ok = false;
    AppendTops(design, before, elaboratedVhdl);
    // A generic no top of either language has.
    for (const ElabGenericValue& g : map) {
        bool used = std::any_of(found.begin(), found.end(),
                                [&](const VhdlPrimaryUnit* u) { return VhdlElaborator::HasGeneric(u, g.name); });
        for (const ElabTopRequest& top : verilogTops) {
            const VeriModule* module = VeriFindModule(top.name, top.library, nullptr);
            used = used || (module && VeriElaborator::HasParameter(module, g.name));
        }
        if (!used) Message::Tell<vhdl_msg::ElabTopGenericUnused>(nullptr, g.name.c_str());
    }
    return ok && vhdl.ErrorCount() == 0;
}

} // namespace hdl
