// Static elaboration of Verilog and SystemVerilog: from a top module down, parameter
// values are worked out (defaults, ordered and named overrides, defparams, values handed
// in from outside for the tops), generate constructs unrolled, instance arrays expanded,
// every instance bound (the module's own library first, then the search order) and one
// copy made per module and distinct set of parameter values actually used. The result
// goes into an ElabDesign; the libraries get the copies, each marked elaborated, with
// the instance identifiers of the elaborated hierarchy in its scope (see docs/elab.md).
//
// Errors (an override of an unknown parameter, a generate loop past its bound, a value
// that cannot be evaluated) are reported with their VERI message id; the instance or
// construct that caused one is left out and elaboration goes on with the rest.
#pragma once

#include <memory>
#include <vector>

#include "hdl/elab/ElabDesign.h"
#include "hdl/elab/ElabLimits.h"
#include "hdl/elab/ElabTop.h"
#include "hdl/elab/ElabUnitLookup.h"
#include "hdl/sv/VeriTree.h"

namespace hdl {

class VeriEvaluator;

class VeriElaborator {
public:
    explicit VeriElaborator(ElabDesign& design, const ElabLimits& limits = ElabLimits());
    ~VeriElaborator();
    VeriElaborator(const VeriElaborator&) = delete;
    VeriElaborator& operator=(const VeriElaborator&) = delete;

    // Asked for a module that no Verilog library holds.
    void SetForeignLookup(ElabUnitLookup lookup);

    // A top module; `parameters` applies to its parameters (names it lacks are left to
    // the caller). Adds the top to the design. Under `config` (a design cell of it), its
    // rules bind the hierarchy, the configuration counts as elaborated, and the cell's
    // unit is named `cell_config_default` (`cell_config(P=value,...)` with values).
    ElabUnitId ElaborateTop(VeriModule* module, const ElabGenericMap& parameters, VeriConfiguration* config = nullptr);

    // The Verilog side's answer to the other language: the module of that name (in the
    // library given, else in any), elaborated for the parameters; 0 when none exists.
    ElabUnitId ElaborateForeign(const ElabUnitRequest& request);

    // Whether the module has an overridable parameter of that name.
    static bool HasParameter(const VeriModule* module, const std::string& name);

    unsigned ErrorCount() const;
    VeriEvaluator& Evaluator();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// A top as elaboration starts from it: a module, or a design cell of a configuration
// (whose rules then bind the hierarchy below it).
struct VeriTopCell {
    VeriModule* module = nullptr;
    VeriConfiguration* config = nullptr;
};

// The module a top request names (in the library given, else in any, in library order),
// or, for a configuration of that name, each of its design cells. A name that neither
// finds, and a design cell that no library holds, are reported and counted in `errors`.
std::vector<VeriTopCell> VeriResolveTop(const ElabTopRequest& top, unsigned& errors);

// Elaborates the named tops into `design` (a module by name, in the library given or in
// any, in library order). A top that no library holds, and a name of the parameter map
// that no top has, are reported. False when an error was reported.
bool VeriElaborate(ElabDesign& design, const std::vector<ElabTopRequest>& tops, const ElabGenericMap& parameters,
                   const ElabLimits& limits = ElabLimits(), ElabUnitLookup foreign = nullptr);

// The modules and programs that no unit instantiates, in library order: the tops of a
// design when none is named.
std::vector<ElabTopRequest> VeriFindTops();

// The module `name` as an instance in `from` binds it: `library` when given, else the
// library of `from`, then the libraries of the search order (-L), then every library in
// order of creation. Packages, configurations and the compilation unit are not bound.
VeriModule* VeriFindModule(std::string_view name, std::string_view library, const VeriModule* from);

} // namespace hdl
