// Before elaboration, instances of the target's primitive cells and of macro-library
// modules are cut from the parse trees, and so are statements that never make
// hierarchy (processes, assignments, assertions), so that elaboration needs neither
// library. A design's own unit of a primitive's name keeps its instances. The trimmers
// note the macro-library modules the design uses.
#pragma once

#include <set>
#include <string>

#include "hdl/sv/VeriVisitor.h"
#include "hdl/vhdl/VhdlVisitor.h"
#include "sift/database/HADLDatabase.h"
#include "sift/database/HADLStringIndexTable.h"

class HADLPrimitiveNames;

class HADLVeriTrimmer : public hdl::VeriVisitor {
public:
    HADLVeriTrimmer(HADLPrimitiveNames& primitiveNames, HADLStringIndexTable& userNames)
        : primitiveNames(primitiveNames), userNames(userNames) {}

    void Visit(hdl::VeriModule& node) override;
    void Visit(hdl::VeriGenerateConstruct& node) override;
    void Visit(hdl::VeriGenerateConditional& node) override;
    void Visit(hdl::VeriGenerateFor& node) override;
    void Visit(hdl::VeriGenerateBlock& node) override;

    HADLPrimitiveNames& primitiveNames;
    HADLStringIndexTable& userNames;
    std::set<std::string> tesselNames;

private:
    bool isTrimmableItem(hdl::VeriModuleItem* item);
    void trimItems(hdl::ArenaArray<hdl::VeriModuleItem*>& items);
    // Null when trimmed, the item otherwise.
    hdl::VeriModuleItem* trimmed(hdl::VeriModuleItem* item);
};

class HADLVhdlTrimmer : public hdl::VhdlVisitor {
public:
    HADLVhdlTrimmer(const HADLDatabase& database, HADLPrimitiveNames& primitiveNames, HADLStringIndexTable& userNames,
                    bool hierByPassFlow)
        : database(database), primitiveNames(primitiveNames), userNames(userNames), hierByPassFlow(hierByPassFlow) {}

    void Visit(hdl::VhdlArchitectureBody& node) override;
    void Visit(hdl::VhdlUseClause& node) override;
    void Visit(hdl::VhdlLibraryClause& node) override;
    void Visit(hdl::VhdlBlockStatement& node) override;
    void Visit(hdl::VhdlGenerateStatement& node) override;

    const HADLDatabase& database;
    HADLPrimitiveNames& primitiveNames;
    HADLStringIndexTable& userNames;
    std::set<std::string> tesselNames;
    bool hasTesselLibClause = false;
    bool hasTesselUseClause = false;
    bool hierByPassFlow;

private:
    bool isTrimmableVhdl(const hdl::VhdlName* nameNode);
    void trimStatements(hdl::VhdlNodeList& statements);
};

// Runs both trimmers over every library that is no standard library; the macro-library
// modules seen go into `names`, and the database learns whether a VHDL source named the
// macro library and its components package without instantiating any of them.
void collectTesselModules(HADLDatabase& db, std::set<std::string>& names, bool hierByPassFlow);
