// Static elaboration of VHDL: from a top entity (or configuration) down, generic values
// are worked out and handed to the units below, generate statements unrolled, every
// instance bound (default binding, configuration specifications and declarations) and
// one copy made per entity, architecture, configuration and distinct set of generic
// values. The result goes into an ElabDesign; the libraries get the copies and the
// elaborated statements of each architecture (see docs/elab.md).
//
// Errors (a generic map naming no generic, a generate range that cannot be evaluated,
// an assertion of severity failure) are reported with their VHDL message id; the
// statement that caused one is left out and elaboration goes on with the rest.
#pragma once

#include <memory>
#include <vector>

#include "hdl/elab/ElabDesign.h"
#include "hdl/elab/ElabLimits.h"
#include "hdl/elab/ElabTop.h"
#include "hdl/elab/ElabUnitLookup.h"
#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

class VhdlEvaluator;

class VhdlElaborator {
public:
    explicit VhdlElaborator(ElabDesign& design, const ElabLimits& limits = ElabLimits());
    ~VhdlElaborator();
    VhdlElaborator(const VhdlElaborator&) = delete;
    VhdlElaborator& operator=(const VhdlElaborator&) = delete;

    // Asked for a component that no VHDL library binds.
    void SetForeignLookup(ElabUnitLookup lookup);

    // A top: an entity with an architecture (null: the most recently analysed one), or a
    // configuration declaration. `generics` applies to the top's generics; names it has
    // that the top lacks are left to the caller. Adds the top to the design.
    ElabUnitId ElaborateTop(VhdlPrimaryUnit* unit, VhdlSecondaryUnit* architecture, const ElabGenericMap& generics);

    // The VHDL side's answer to the other language: the entity of that name (in the
    // library given, else in any), elaborated for the parameters; 0 when none exists.
    ElabUnitId ElaborateForeign(const ElabUnitRequest& request);

    // Whether the top has a generic of that name.
    static bool HasGeneric(const VhdlPrimaryUnit* unit, const std::string& name);

    unsigned ErrorCount() const;
    VhdlEvaluator& Evaluator();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// Elaborates the named tops with `elaborator` (an entity or configuration by name, in
// the library given or in any, in library order), reporting a top no library holds;
// appends the units found to `found`. Returns the number of tops not found.
unsigned VhdlElaborateTops(VhdlElaborator& elaborator, const std::vector<ElabTopRequest>& tops,
                           const ElabGenericMap& generics, std::vector<const VhdlPrimaryUnit*>& found);

// Elaborates the named tops into `design` (an entity or configuration by name, in the
// library given or in any, in library order). A top that no library holds, and a name
// of the generic map that no top has, are reported. False when an error was reported.
bool VhdlElaborate(ElabDesign& design, const std::vector<ElabTopRequest>& tops, const ElabGenericMap& generics,
                   const ElabLimits& limits = ElabLimits(), ElabUnitLookup foreign = nullptr);

// The entities with an architecture that no architecture instantiates, in library order:
// the tops of a design when none is named.
std::vector<ElabTopRequest> VhdlFindTops();

} // namespace hdl
