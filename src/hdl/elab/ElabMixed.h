// Elaboration of a design whose tops and instances may be of either language: the VHDL
// and the Verilog elaborator of this library, each answering the other's instances of
// units it holds through the lookup hook (ElabUnitLookup). A registered ElabVerilogSide
// stands in for the Verilog elaborator (tests, another implementation).
#pragma once

#include <vector>

#include "hdl/elab/ElabDesign.h"
#include "hdl/elab/ElabLimits.h"
#include "hdl/elab/ElabTop.h"
#include "hdl/elab/ElabUnitLookup.h"

namespace hdl {

class ElabVerilogSide {
public:
    virtual ~ElabVerilogSide() = default;
    // Elaborates the tops into `design`, asking `vhdl` for instances of units no
    // Verilog library holds; appends the units of the tops to `elaborated`. False when
    // an error was reported.
    virtual bool ElaborateTops(ElabDesign& design, const std::vector<ElabTopRequest>& tops,
                               const ElabGenericMap& generics, const ElabLimits& limits, const ElabUnitLookup& vhdl,
                               std::vector<ElabUnitId>& elaborated) = 0;
    // The answer to a VHDL component or entity instance of a Verilog module; 0 when no
    // Verilog library holds one of that name, kElabUnitFailed when the module failed to
    // elaborate (its errors told). `vhdl` answers likewise.
    virtual ElabUnitId ElaborateForeign(ElabDesign& design, const ElabUnitRequest& request,
                                        const ElabUnitLookup& vhdl) = 0;
};

// Not owned; null takes the side away again.
void ElabRegisterVerilogSide(ElabVerilogSide* side);
ElabVerilogSide* ElabGetVerilogSide();

// Elaborates both lists of tops (Verilog first, as the scanner orders them) with the
// generic map applied to every top, and appends the units of the tops elaborated to
// the two result lists. A Verilog top that no library holds is reported and left out.
// False when an error was reported.
bool ElaborateMixedHdlMultipleTopsStatic(ElabDesign& design, const std::vector<ElabTopRequest>& verilogTops,
                                         const std::vector<ElabTopRequest>& vhdlTops, const ElabGenericMap* generics,
                                         std::vector<ElabUnitId>& elaboratedVerilog,
                                         std::vector<ElabUnitId>& elaboratedVhdl,
                                         const ElabLimits& limits = ElabLimits());

} // namespace hdl
