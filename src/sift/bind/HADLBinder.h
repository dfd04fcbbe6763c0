// Binding: what the front-end's libraries hold after elaboration becomes units and
// instances of the database. Every design unit (copies made for parameter values too)
// gets one id in unitNames; every instance an InstAttr that points at the unit it uses;
// an instance of something no library holds points at a unit without source. Then the
// files each file needs at elaboration, the inactive units and the tops.
#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "hdl/base/ForeignUnitRef.h"
#include "hdl/base/LineFile.h"
#include "sift/database/HADLDatabase.h"

namespace hdl {
class VeriModule;
class VhdlPrimaryUnit;
class VhdlSecondaryUnit;
class VhdlStatement;
class VhdlComponentInstantiationStatement;
} // namespace hdl
class HADLInstFinder;
class HADLIPBDTable;

// The key of a unit: "/" separates for the VHDL family (8 to 13), "." otherwise; the
// secondary name only when not empty.
std::string compositeName(unsigned kind, const std::string& library, const std::string& primary,
                          const std::string& secondary);
// A VHDL extended identifier without its backslashes; any other name as it stands.
std::string normalizeName(const std::string& name);
// The part of a copy's name before its first "("; any other name is its own base.
std::string baseName(const std::string& name);
// A name as Verilog source writes it: a simple identifier as it stands, any other as
// an escaped identifier, `\name ` with its closing blank.
std::string makeVerilogName(const std::string& name);
// A unit without source: its file has no language.
bool isUnresolved(const HADLDatabase& db, unsigned unitId);

class HADLBinder {
public:
    HADLBinder(HADLDatabase& db, bool hierByPassFlow) : db(db), hierByPassFlow(hierByPassFlow) {}

    // The passes in order: register units, bind instances, link unbound units, files
    // needed at elaboration, configuration redirection (with Verilog configurations
    // enabled), inactive units, tops. `paramCopyNames` is sorted by byte order; `ipbd`,
    // the source instance table, is given only with handleIPBDInactiveUnits.
    void bind(HADLInstFinder& instFinder, const std::vector<std::string>& paramCopyNames,
              const HADLIPBDTable* ipbd = nullptr);

    unsigned addVerilogUnit(const hdl::VeriModule& module);
    unsigned addVhdlUnit(const hdl::VhdlPrimaryUnit& primary, const hdl::VhdlSecondaryUnit* secondary);
    unsigned addVhdlUnitByArch(const hdl::VhdlPrimaryUnit& primary, const std::string& architecture);
    // Null library: the default library; null primary: "blackbox".
    unsigned addUnboundUnit(unsigned kind, const char* library, const char* primary, const char* secondary);
    unsigned fileIdOf(const hdl::ColLineFile& location);

    void registerUnits();
    void bindInstances(HADLInstFinder& instFinder, const std::vector<std::string>& paramCopyNames);
    void linkUnboundUnits();
    void collectElabReqFiles();

private:
    unsigned newUnit(const std::string& key);
    void setLocation(HADLDatabase::UnitAttr& unit, const hdl::ColLineFile& location);
    void bindVerilogUnit(const hdl::VeriModule& module, const std::vector<std::string>& paramCopyNames);
    void bindVerilogConfig(const hdl::VeriModule& config);
    void bindVhdlConfig(const hdl::VhdlPrimaryUnit& config);
    void bindVhdlArchitecture(const hdl::VhdlPrimaryUnit& primary, const hdl::VhdlSecondaryUnit& architecture,
                              HADLInstFinder& instFinder);
    // With `elaborated` (the source statements elaboration made statements of), only
    // instances whose unit analysis did not find and that elaboration left out.
    void bindVhdlStatement(unsigned unitId, const hdl::VhdlStatement& statement, const std::string& prefix,
                           HADLInstFinder& instFinder, const std::unordered_set<const hdl::VhdlStatement*>* elaborated);
    static void collectSourceStatements(const hdl::VhdlStatement& statement,
                                        std::unordered_set<const hdl::VhdlStatement*>& out);
    void bindVhdlInstance(unsigned unitId, const hdl::VhdlStatement& statement, const std::string& prefix,
                          HADLInstFinder& instFinder);
    // The unit of the other language's copy that elaboration recorded on an instance;
    // 0 when none is recorded or no library holds it.
    unsigned foreignVhdlUnit(const hdl::ForeignUnitRef& used);
    unsigned foreignVerilogUnit(const hdl::ForeignUnitRef& used);
    unsigned bindUnknownVerilogInstance(const hdl::VeriModule& module, const std::string& name, const void* inst);
    // The library of the first unit with source of that primary name; empty for none.
    std::string libraryOfPrimary(const std::string& primary);
    void addElabReqFile(unsigned fileId, unsigned required);

    HADLDatabase& db;
    bool hierByPassFlow;
    std::unordered_map<unsigned, unsigned> firstWithSource; // primary name id to unit id
};

// Every unit's list of the units its source instantiates and elaboration did not reach;
// with the source instance table, those of the parse trees too.
void markInactiveUnits(HADLDatabase& db, const HADLIPBDTable* ipbd = nullptr);
