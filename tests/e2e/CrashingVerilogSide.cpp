// Linked into the test program sift_crash only: a Verilog side that crashes the process
// as a fault inside the front-end would, when it elaborates a top named `crash_here`,
// so that the crash handling of `sf -elab` can be tested on a real process.
#include <csignal>

#include "hdl/elab/ElabMixed.h"

namespace {

class CrashingVerilogSide : public hdl::ElabVerilogSide {
public:
    bool ElaborateTops(hdl::ElabDesign&, const std::vector<hdl::ElabTopRequest>& tops, const hdl::ElabGenericMap&,
                       const hdl::ElabLimits&, const hdl::ElabUnitLookup&, std::vector<hdl::ElabUnitId>&) override {
        for (const hdl::ElabTopRequest& top : tops)
            if (top.name == "crash_here") std::raise(SIGSEGV);
        return true;
    }
    hdl::ElabUnitId ElaborateForeign(hdl::ElabDesign&, const hdl::ElabUnitRequest&,
                                     const hdl::ElabUnitLookup&) override {
        return 0;
    }
};

CrashingVerilogSide side;
const bool registered = (hdl::ElabRegisterVerilogSide(&side), true);

} // namespace
