#include "sift/primitives/HADLTrimmers.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "hdl/base/Language.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/primitives/HADLPrimitiveNames.h"

using namespace hdl;

namespace {

std::string lower(std::string_view text) { return boost::algorithm::to_lower_copy(std::string(text)); }

// Module items that never make hierarchy.
bool isFixedVeriItem(const VeriModuleItem& item) {
    const uint32_t id = item.GetClassId();
    return id == VeriGateInstantiation::kClassId || id == VeriContinuousAssign::kClassId ||
           id == VeriAlwaysConstruct::kClassId || id == VeriInitialConstruct::kClassId;
}

// Concurrent statements that never make hierarchy.
bool isFixedVhdlStatement(const VhdlTreeNode& statement) {
    const uint32_t id = statement.GetClassId();
    return id == VhdlProcessStatement::kClassId || id == VhdlConditionalSignalAssignment::kClassId ||
           id == VhdlSelectedSignalAssignment::kClassId || id == VhdlSignalAssignmentStatement::kClassId ||
           id == VhdlAssertionStatement::kClassId;
}

// The instance identifiers no longer lead to the instantiation cut away.
void unlinkInstances(VeriModuleItem* item) {
    if (auto* inst = dynamic_cast<VeriModuleInstantiation*>(item))
        for (VeriInstId* id : inst->GetInstances())
            if (id) id->declaration = nullptr;
}

// The dotted text of a selected name, each level in lower case.
std::string dottedName(const VhdlName* name) {
    if (auto* selected = dynamic_cast<const VhdlSelectedName*>(name))
        return dottedName(selected->prefix) + "." + dottedName(selected->suffix);
    if (auto* ref = dynamic_cast<const VhdlIdRef*>(name)) return lower(ref->Name());
    if (dynamic_cast<const VhdlAll*>(name)) return "all";
    return std::string();
}

} // namespace

bool HADLVeriTrimmer::isTrimmableItem(VeriModuleItem* item) {
    if (isFixedVeriItem(*item)) return true;
    auto* inst = dynamic_cast<VeriModuleInstantiation*>(item);
    if (!inst) return false;
    const std::string name(inst->GetModuleName());
    if (userNames.find(name.c_str()) || !primitiveNames.find(name.c_str())) return false;
    if (boost::algorithm::starts_with(name, "tessel_")) tesselNames.insert(name);
    return true;
}

VeriModuleItem* HADLVeriTrimmer::trimmed(VeriModuleItem* item) {
    if (!item || !isTrimmableItem(item)) return item;
    unlinkInstances(item);
    return nullptr;
}

void HADLVeriTrimmer::trimItems(ArenaArray<VeriModuleItem*>& items) {
    for (uint32_t i = 0; i < items.Size(); ++i) items[i] = trimmed(items[i]);
    items.RemoveNulls();
}

void HADLVeriTrimmer::Visit(VeriModule& node) {
    trimItems(node.items);
    VeriVisitor::Visit(node);
}

void HADLVeriTrimmer::Visit(VeriGenerateConstruct& node) {
    trimItems(node.items);
    VeriVisitor::Visit(node);
}

void HADLVeriTrimmer::Visit(VeriGenerateFor& node) {
    node.item = trimmed(node.item);
    VeriVisitor::Visit(node);
}

void HADLVeriTrimmer::Visit(VeriGenerateBlock& node) {
    trimItems(node.items);
    VeriVisitor::Visit(node);
}

void HADLVeriTrimmer::Visit(VeriGenerateConditional& node) {
    node.SetThenItem(trimmed(node.GetThenItem()));
    node.SetElseItem(trimmed(node.GetElseItem()));
    VeriVisitor::Visit(node);
}

bool HADLVhdlTrimmer::isTrimmableVhdl(const VhdlName* nameNode) {
    const VhdlUnitNameParts parts = VhdlSplitUnitName(nameNode);
    const std::string library(parts.library);
    const std::string unit(parts.unit);
    if (!library.empty() &&
        (database.stdVhdlLibNames.findNoCase(library.c_str()) || database.stdSVLibNames.findNoCase(library.c_str()))) {
        // A cell of the target's library that the hierarchy flow keeps.
        if (!hierByPassFlow || lower(library + "." + unit) != "lathe.vcomponents.fooxcvr_pair") return true;
    }
    if (userNames.find(unit.c_str()) || userNames.find(lower(unit).c_str())) return false;
    if (!primitiveNames.findNoCase(unit.c_str())) return false;
    if (boost::algorithm::starts_with(unit, "tessel_") || boost::algorithm::starts_with(unit, "TESSEL_"))
        tesselNames.insert(unit);
    return true;
}

void HADLVhdlTrimmer::trimStatements(VhdlNodeList& statements) {
    for (uint32_t i = 0; i < statements.Size(); ++i) {
        VhdlTreeNode* node = statements[i];
        if (!node) continue;
        if (auto* inst = dynamic_cast<VhdlComponentInstantiationStatement*>(node)) {
            if (isTrimmableVhdl(inst->GetInstantiatedUnitNameNode())) statements[i] = nullptr;
        } else if (isFixedVhdlStatement(*node)) {
            statements[i] = nullptr;
        }
    }
    statements.RemoveNulls();
}

void HADLVhdlTrimmer::Visit(VhdlArchitectureBody& node) {
    trimStatements(node.statements);
    VhdlVisitor::Visit(node);
}

void HADLVhdlTrimmer::Visit(VhdlBlockStatement& node) {
    trimStatements(node.statements);
    VhdlVisitor::Visit(node);
}

void HADLVhdlTrimmer::Visit(VhdlGenerateStatement& node) {
    trimStatements(node.statements);
    VhdlVisitor::Visit(node);
}

void HADLVhdlTrimmer::Visit(VhdlLibraryClause& node) {
    for (VhdlIdDef* id : node.GetIds())
        if (id && lower(id->Name()) == "tessel") hasTesselLibClause = true;
    VhdlVisitor::Visit(node);
}

void HADLVhdlTrimmer::Visit(VhdlUseClause& node) {
    for (VhdlTreeNode* name : node.GetSelectedNameList())
        if (dottedName(dynamic_cast<const VhdlName*>(name)) == "tessel.vcomponents.all") hasTesselUseClause = true;
    VhdlVisitor::Visit(node);
}

void collectTesselModules(HADLDatabase& db, std::set<std::string>& names, bool hierByPassFlow) {
    HADLPrimitiveNames& primitives = HADLPrimitiveNames::getPrimitiveNames();
    HADLStringIndexTable userNames;
    for (unsigned r = 1; r < db.rUnitAttrs.size(); ++r) {
        const HADLDatabase::RUnitAttr& raw = db.rUnitAttrs.at(r);
        const char* name = db.objNames.getString(raw.primaryId);
        for (unsigned fileId : raw.fileIds) {
            const bool vhdl = IsVhdlLanguage(db.fileAttrs.at(fileId).lang);
            if (vhdl ? primitives.findNoCase(name) : primitives.find(name)) userNames.insert(name);
        }
    }
    HADLVeriTrimmer veriTrimmer(primitives, userNames);
    for (VeriLibrary* lib : veri_file::AllLibraries()) {
        if (db.stdSVLibNames.find(lower(lib->GetName()).c_str())) continue;
        for (VeriModule* m : lib->AllModules()) veriTrimmer.TraverseNode(m);
    }
    HADLVhdlTrimmer vhdlTrimmer(db, primitives, userNames, hierByPassFlow);
    for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
        if (db.stdVhdlLibNames.find(lib->Name().c_str())) continue;
        for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
            vhdlTrimmer.TraverseNode(p);
            for (VhdlSecondaryUnit* s : p->GetSecondaryUnits()) vhdlTrimmer.TraverseNode(s);
        }
    }
    names.insert(veriTrimmer.tesselNames.begin(), veriTrimmer.tesselNames.end());
    names.insert(vhdlTrimmer.tesselNames.begin(), vhdlTrimmer.tesselNames.end());
    if (names.empty() && vhdlTrimmer.hasTesselLibClause && vhdlTrimmer.hasTesselUseClause)
        db.tesselLibClauseButNoInsts = true;
}
