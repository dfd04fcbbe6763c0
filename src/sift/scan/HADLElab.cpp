#include "sift/scan/HADLElab.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <utility>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "hdl/base/Language.h"
#include "hdl/elab/ElabMixed.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriParserMessageIds.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "runtime/LoomScopeTimer.h"
#include "sift/base/HADLMessages.h"
#include "sift/base/HADLMsgCapture.h"
#include "sift/bind/HADLBinder.h"
#include "sift/bind/HADLIPBDTable.h"
#include "sift/bind/HADLInstFinder.h"
#include "sift/primitives/HADLTrimmers.h"
#include "sift/scan/HADLSifter.h"

using namespace hdl;

namespace {

struct VeriCandidate {
    std::string library;
    std::string name;
    const VeriModule* module;
};

struct VhdlCandidate {
    std::string library;
    std::string entity;
    std::string architecture;
    const VhdlPrimaryUnit* unit;
};

// The name as a user writes it: an extended identifier without its backslashes.
std::string printableName(const VhdlDesignUnit& unit) {
    return normalizeName(std::string(unit.Id() ? unit.Id()->OrigName() : unit.Name()));
}

// A module the elaboration can start from; tells why it cannot.
bool usableAsTop(const VeriModule& module) {
    const std::string name(module.Name());
    const bool typeParameters = module.HasTypeParameters();
    if (typeParameters) std::printf("Reject %s as TOP because it has type parameters\n", name.c_str());
    if (module.HasGenericInterfacePorts()) {
        std::printf("Reject %s as TOP because it has generic interface ports\n", name.c_str());
        return false;
    }
    return !typeParameters;
}

const VeriModule* findVeriModule(const std::string& name, const std::string* library) {
    for (VeriLibrary* lib : veri_file::AllLibraries()) {
        if (library && lib->GetName() != *library && lib->GetName() != boost::algorithm::to_lower_copy(*library))
            continue;
        const VeriModule* m = lib->GetModule(name);
        if (m && usableAsTop(*m)) return m;
    }
    return nullptr;
}

const VhdlPrimaryUnit* findVhdlUnit(const std::string& name) {
    for (VhdlLibrary* lib : vhdl_file::AllLibraries())
        for (VhdlPrimaryUnit* p : lib->PrimaryUnits())
            if (printableName(*p) == name) return p;
    return nullptr;
}

bool isModule(const VeriModule* m) { return m && m->GetClassId() == VeriModule::kClassId; }

// Whether raw unit `r` is a Verilog configuration.
bool isVeriConfiguration(const HADLSifter& s, unsigned r) {
    const HADLDatabase::RUnitAttr& raw = s.rUnitAttrs.at(r);
    const bool verilog = std::any_of(raw.fileIds.begin(), raw.fileIds.end(), [&](unsigned f) {
        return f && f < s.fileAttrs.size() && IsVerilogLanguage(s.fileAttrs.at(f).lang);
    });
    if (!verilog) return false;
    const std::string library = s.objNames.getString(raw.libId);
    VeriLibrary* lib = veri_file::GetLibrary(library.c_str());
    if (!lib) lib = veri_file::GetLibrary(boost::algorithm::to_lower_copy(library).c_str());
    const VeriModule* m = lib ? lib->GetModule(s.objNames.getString(raw.primaryId)) : nullptr;
    return m && m->IsConfiguration();
}

void printVeri(const char* label, const std::vector<VeriCandidate>& list) {
    for (const VeriCandidate& c : list) std::printf("%s%s mod:%s\n", label, c.library.c_str(), c.name.c_str());
}

void printVhdl(const char* label, const std::vector<VhdlCandidate>& list) {
    for (const VhdlCandidate& c : list)
        std::printf("%s%s entity:%s arch:%s\n", label, c.library.c_str(), c.entity.c_str(), c.architecture.c_str());
}

void appendVeri(std::vector<ElabTopRequest>& tops, const std::vector<VeriCandidate>& list) {
    for (const VeriCandidate& c : list) tops.push_back({c.name, c.library, ""});
}

void appendVhdl(std::vector<ElabTopRequest>& tops, const std::vector<VhdlCandidate>& list) {
    for (const VhdlCandidate& c : list) tops.push_back({c.entity, c.library, c.architecture});
}

} // namespace

std::vector<std::string> HADLElab::collectParamCopyNames() {
    std::vector<std::string> names;
    for (VeriLibrary* lib : veri_file::AllLibraries()) {
        for (VeriModule* m : lib->AllModules()) {
            const std::string name(m->Name());
            if (baseName(name) != name) names.push_back(name);
        }
    }
    for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
        for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
            const std::string name = printableName(*p);
            if (baseName(name) != name) names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

void HADLElab::doElab(const std::string& top) {
    LoomScopeTimer timer("HADLSifter::doElab");
    HADLSifter& s = sifter;

    std::set<std::string> tesselNames;
    collectTesselModules(s, tesselNames, s.hierByPassFlow);
    for (const std::string& name : tesselNames)
        if (!s.tesselModuleNames.find(name.c_str())) s.tesselModuleNames.insert(name.c_str());

    HADLInstFinder instFinder;
    for (VhdlLibrary* lib : vhdl_file::AllLibraries())
        for (VhdlPrimaryUnit* p : lib->PrimaryUnits())
            if (p->GetClassId() != VhdlConfigurationDecl::kClassId)
                for (VhdlSecondaryUnit* sec : p->GetSecondaryUnits()) instFinder.walk(*sec);

    // The instantiations as the parse trees show them, before elaboration changes them.
    HADLIPBDTable ipbdTable;
    if (s.handleIPBDInactiveUnits) ipbdTable.recordIPBDInstances(s);

    std::vector<VeriCandidate> veriPriorityTop, veriTop, veriConfigTop;
    std::vector<VhdlCandidate> vhdlPriorityTop, vhdlConfigTop, vhdlTop;

    if (!top.empty()) {
        if (const VeriModule* m = findVeriModule(top, nullptr)) {
            if (isModule(m)) veriPriorityTop.push_back({m->GetLibrary()->GetName(), top, m});
        } else if (const VhdlPrimaryUnit* u = findVhdlUnit(top)) {
            if (u->GetClassId() == VhdlEntityDecl::kClassId || u->GetClassId() == VhdlConfigurationDecl::kClassId)
                vhdlPriorityTop.push_back({u->GetOwningLib()->Name(), top, "", u});
        }
    }

    // A name instantiated anywhere makes no unit of that name a top. The cells a Verilog
    // configuration names count only where configurations are units of the run.
    std::vector<bool> topByUnit(s.rUnitAttrs.size(), true);
    std::vector<bool> topByName(s.objNames.size(), true);
    for (unsigned r = 1; r < s.rUnitAttrs.size(); ++r) {
        if (!s.enableVhdlVerilogConfig && isVeriConfiguration(s, r)) continue;
        for (const HADLDatabase::RInstAttr& inst : s.rUnitAttrs.at(r).insts) {
            topByUnit.at(inst.targetId) = false;
            topByName.at(s.rUnitAttrs.at(inst.targetId).primaryId) = false;
        }
    }
    for (unsigned r = 1; r < s.rUnitAttrs.size(); ++r) {
        const HADLDatabase::RUnitAttr& raw = s.rUnitAttrs.at(r);
        if (!topByName.at(raw.primaryId)) topByUnit[r] = false;
        const std::string library = s.objNames.getString(raw.libId);
        if (s.stdVhdlLibNames.findNoCase(boost::algorithm::to_lower_copy(library).c_str()) ||
            s.stdSVLibNames.find(library.c_str()))
            continue;
        const std::string name = s.objNames.getString(raw.primaryId);
        for (unsigned fileId : raw.fileIds) {
            const unsigned lang = s.fileAttrs.at(fileId).lang;
            if (IsVerilogLanguage(lang)) {
                const VeriModule* m = findVeriModule(name, &library);
                if (!m) continue;
                if (isModule(m) && topByUnit[r]) veriTop.push_back({m->GetLibrary()->GetName(), name, m});
                if (m->GetClassId() == VeriConfiguration::kClassId && s.enableVhdlVerilogConfig)
                    veriConfigTop.push_back({m->GetLibrary()->GetName(), name, m});
                continue;
            }
            VhdlLibrary* lib = vhdl_file::GetLibrary(library.c_str());
            if (!lib) continue;
            const VhdlPrimaryUnit* unit = lib->GetPrimUnit(name.c_str(), true, true);
            if (!unit) continue;
            if (unit->GetClassId() == VhdlEntityDecl::kClassId) {
                // An architecture's raw unit leaves the choice to its entity's.
                if (topByUnit[r] && !raw.secondaryId) vhdlTop.push_back({library, name, "", unit});
            } else if (unit->GetClassId() == VhdlConfigurationDecl::kClassId) {
                vhdlConfigTop.push_back({library, name, "", unit});
            }
        }
    }
    // The modules a configuration designates are elaborated through it.
    for (const VeriCandidate& config : veriConfigTop) {
        for (VeriExpression* cell : static_cast<const VeriConfiguration*>(config.module)->GetTopModuleNames()) {
            auto* ref = dynamic_cast<const VeriName*>(cell);
            if (!ref) continue;
            const std::string cellName(ref->GetName());
            veriTop.erase(std::remove_if(veriTop.begin(), veriTop.end(),
                                         [&](const VeriCandidate& c) { return c.name == cellName; }),
                          veriTop.end());
        }
    }

    std::printf("Listing tops:\n");
    printVeri("VeriPriorityTop library:", veriPriorityTop);
    printVeri("VeriTop library:", veriTop);
    printVeri("VeriConfigTop: library:", veriConfigTop);
    printVhdl("VHDLPriorityTop: library:", vhdlPriorityTop);
    printVhdl("VHDLConfigTop: library:", vhdlConfigTop);
    printVhdl("VHDLTop: library:", vhdlTop);
    std::printf("END of tops\n");

    HADLMsgCapture capture(s);
    capture.start(s.verbosity, s.elabErrors);
    using namespace hadl_msg;
    namespace v = hdl::vhdl_msg;
    for (const MessageId& id :
         {kVeri1236, kVeri1245, kVeri1261, kVeri1871, kVeri1801, kVeri9003, v::kElabUnbound, v::kElabAssertion})
        capture.allow(id);
    // Our elaboration's own errors: evaluation, binding and its bounds.
    for (const MessageId& id : {v::kElabNotStatic, v::kElabDivision, v::kElabRange, v::kElabIndex, v::kElabLoopBound,
                                v::kElabCallDepth, v::kElabNoReturn, v::kElabNoGeneric, v::kElabNoValue,
                                v::kElabInstanceDepth, v::kElabTopGeneric, v::kElabConfiguration, v::kElabSteps,
                                v::kElabNoTop, v::kElabForeignTop, v::kElabPortWidth, v::kElabForeignFailed})
        capture.allow(id);
    namespace sv = hdl::veri_msg;
    for (const MessageId& id :
         {sv::kElabNotConstant, sv::kElabDivision, sv::kElabLoopBound, sv::kElabCallDepth, sv::kElabNoParameter,
          sv::kElabUnboundModule, sv::kElabInstanceDepth, sv::kElabNoTop, sv::kElabTopParameter, sv::kElabSteps,
          sv::kElabDefparam, sv::kElabFunctionNoReturn, sv::kElabPortWidth, sv::kElabForeignFailed})
        capture.allow(id);

    // A later entry of one name replaces an earlier one; one without value takes it away.
    std::map<std::string, std::pair<std::string, const char*>> byName;
    for (unsigned g = 1; g < s.genericNames.size(); ++g) {
        const HADLDatabase::GenericDef& def = s.genericDefs.at(g);
        const std::string name = s.genericNames.getString(g);
        byName[boost::algorithm::to_lower_copy(name)] = {name, def.hasValue ? s.genericValues.getString(def.valueId)
                                                                            : nullptr};
    }
    ElabGenericMap generics;
    for (const auto& entry : byName)
        if (entry.second.second) generics.push_back({entry.second.first, entry.second.second});

    std::vector<ElabTopRequest> verilogTops, vhdlTops;
    if (s.elabSpecifiedTop && (!veriPriorityTop.empty() || !vhdlPriorityTop.empty())) {
        appendVeri(verilogTops, veriPriorityTop);
        appendVhdl(vhdlTops, vhdlPriorityTop);
    } else {
        appendVeri(verilogTops, veriPriorityTop);
        appendVeri(verilogTops, veriTop);
        appendVeri(verilogTops, veriConfigTop);
        appendVhdl(vhdlTops, vhdlPriorityTop);
        appendVhdl(vhdlTops, vhdlTop);
        appendVhdl(vhdlTops, vhdlConfigTop);
    }

    ElabDesign design;
    std::vector<ElabUnitId> elaboratedVerilog, elaboratedVhdl;
    ElaborateMixedHdlMultipleTopsStatic(design, verilogTops, vhdlTops, generics.empty() ? nullptr : &generics,
                                        elaboratedVerilog, elaboratedVhdl);
    capture.stop();

    const std::vector<std::string> paramCopyNames = collectParamCopyNames();
    std::map<std::string, unsigned> bases;
    for (const std::string& name : paramCopyNames) {
        std::printf("ModName: %s\n", name.c_str());
        ++bases[baseName(name)];
    }
    for (const auto& base : bases) std::printf("BaseName %s has %u entries\n", base.first.c_str(), base.second);

    HADLBinder(s, s.hierByPassFlow).bind(instFinder, paramCopyNames, s.handleIPBDInactiveUnits ? &ipbdTable : nullptr);
    // What the run prints next through Tcl comes after these lines.
    std::fflush(stdout);
}
