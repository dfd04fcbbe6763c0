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

// Whether a Verilog library holds a configuration of the top's name.
bool IsVerilogConfiguration(const ElabTopRequest& top) {
    for (VeriLibrary* lib : veri_file::AllLibraries()) {
        if (!top.library.empty() && lib->GetName() != top.library) continue;
        const VeriModule* m = lib->GetModule(top.name);
        if (m && m->IsConfiguration()) return true;
    }
    return false;
}

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
    // Each Verilog top as a module, or a configuration's design cells under its rules.
    std::vector<VeriTopCell> cells;
    if (verilog) {
        ok = verilog->ElaborateTops(design, verilogTops, map, limits, askVhdl, elaboratedVerilog);
        for (const ElabTopRequest& top : verilogTops)
            if (VeriModule* m = VeriFindModule(top.name, top.library, nullptr)) cells.push_back({m, nullptr});
    } else {
        for (const ElabTopRequest& top : verilogTops) {
            if (!VeriFindModule(top.name, top.library, nullptr) && !IsVerilogConfiguration(top)) {
                Message::Tell<vhdl_msg::VerilogTopNotElaborated>(nullptr, top.name.c_str());
                ok = false;
                continue;
            }
            unsigned missing = 0;
            for (const VeriTopCell& c : VeriResolveTop(top, missing)) {
                cells.push_back(c);
                if (ElabUnitId id = veri.ElaborateTop(c.module, map, c.config)) elaboratedVerilog.push_back(id);
            }
            if (missing) ok = false;
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
        for (const VeriTopCell& c : cells) used = used || VeriElaborator::HasParameter(c.module, g.name);
        if (!used) Message::Tell<vhdl_msg::ElabTopGenericUnused>(nullptr, g.name.c_str());
    }
    return ok && vhdl.ErrorCount() == 0;
}

} // namespace hdl
