#include "sift/bind/HADLIPBDTable.h"

#include <algorithm>

#include <boost/algorithm/string/predicate.hpp>

#include "hdl/base/Language.h"
#include "hdl/base/LineFile.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriVisitor.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlVisitor.h"
#include "sift/bind/HADLBinder.h"

using namespace hdl;

namespace {

constexpr uint32_t kNoPosition = 0x7fffffff;

class VeriModuleInstFinder : public VeriVisitor {
public:
    using VeriVisitor::Visit;
    void Visit(VeriModuleInstantiation& node) override { found.push_back(&node); }
    std::vector<const VeriModuleInstantiation*> found;
};

class VhdlCompInstFinder : public VhdlVisitor {
public:
    using VhdlVisitor::Visit;
    void Visit(VhdlComponentInstantiationStatement& node) override { found.push_back(&node); }
    std::vector<const VhdlComponentInstantiationStatement*> found;
};

uint32_t fileIdOf(const HADLDatabase& db, const ColLineFile& location) {
    const char* path = LineFile::GetFileName(&location);
    return path ? db.fileNames.find(path) : 0;
}

HADLIPBDTable::LocationKey keyOf(const HADLDatabase& db, const ColLineFile& location) {
    return {fileIdOf(db, location), location.leftLine, location.rightLine, location.leftCol, location.rightCol};
}

SourceInst sourceInst(const HADLDatabase& db, const ColLineFile& location) {
    SourceInst inst;
    inst.fileId = fileIdOf(db, location);
    inst.startLine = location.leftLine;
    inst.endLine = location.rightLine;
    return inst;
}

bool sameName(const std::string& a, const std::string& b, bool vhdl) {
    return vhdl ? boost::algorithm::iequals(a, b) : a == b;
}

} // namespace

void HADLIPBDTable::recordIPBDInstances(const HADLDatabase& db) {
    for (VeriLibrary* lib : veri_file::AllLibraries()) {
        for (VeriModule* m : lib->AllModules()) {
            VeriModuleInstFinder finder;
            finder.TraverseNode(m);
            if (finder.found.empty()) continue;
            auto& list = table[keyOf(db, m->Linefile())];
            for (const VeriModuleInstantiation* node : finder.found) {
                SourceInst inst = sourceInst(db, node->Linefile());
                // The library the module was analysed into: the work library of its time.
                inst.lib = lib->GetName();
                inst.primary = std::string(node->GetModuleName());
                list.push_back(std::move(inst));
            }
        }
    }
    for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
        for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
            for (VhdlSecondaryUnit* s : p->GetSecondaryUnits()) {
                if (!dynamic_cast<VhdlArchitectureBody*>(s)) continue;
                VhdlCompInstFinder finder;
                finder.TraverseNode(s);
                if (finder.found.empty()) continue;
                auto& list = table[keyOf(db, s->Linefile())];
                for (const VhdlComponentInstantiationStatement* node : finder.found) {
                    SourceInst inst = sourceInst(db, node->Linefile());
                    const VhdlUnitNameParts parts = VhdlSplitUnitName(node->GetInstantiatedUnitNameNode());
                    inst.lib = std::string(parts.library);
                    inst.primary = std::string(parts.unit);
                    inst.secondary = std::string(parts.architecture);
                    list.push_back(std::move(inst));
                }
            }
        }
    }
}

const std::vector<SourceInst>* HADLIPBDTable::find(const LocationKey& key) const {
    auto it = table.find(key);
    return it == table.end() ? nullptr : &it->second;
}

void applyIPBDInactiveUnits(HADLDatabase& db, const HADLIPBDTable& table, const std::vector<unsigned>& rUnitAlias) {
    const size_t units = db.unitAttrs.size();
    for (unsigned u = 1; u < units; ++u) {
        const HADLDatabase::UnitAttr unit = db.unitAttrs.at(u);
        if (!unit.fileId || !unit.startLine || !unit.leftCol || !unit.rightCol) continue;
        if (unit.startLine == kNoPosition || unit.endLine == kNoPosition || unit.leftCol == kNoPosition ||
            unit.rightCol == kNoPosition)
            continue;
        const std::vector<SourceInst>* list =
            table.find({unit.fileId, unit.startLine, unit.endLine, unit.leftCol, unit.rightCol});
        if (!list) continue;
        const bool vhdlUnit = IsVhdlLanguage(db.fileAttrs.at(unit.fileId).lang);
        for (SourceInst inst : *list) {
            // Survived elaboration: an instance record of the unit lies on its lines.
            if (std::any_of(unit.insts.begin(), unit.insts.end(), [&](const HADLDatabase::InstAttr& r) {
                    return r.fileId == inst.fileId && r.line >= inst.startLine && r.line <= inst.endLine;
                }))
                continue;
            const auto& inactive = db.unitAttrs.at(u).inactiveUnits;
            if (std::any_of(inactive.begin(), inactive.end(), [&](unsigned i) {
                    const HADLDatabase::UnitAttr& x = db.unitAttrs.at(i);
                    return sameName(db.objNames.getString(x.primaryId), inst.primary, vhdlUnit) &&
                           (inst.secondary.empty() ||
                            sameName(db.objNames.getString(x.secondaryId), inst.secondary, vhdlUnit));
                }))
                continue;
            const HADLDatabase::UnitAttr& owner = db.unitAttrs.at(unit.origUnitId ? unit.origUnitId : u);
            if (inst.secondary.empty() && vhdlUnit) {
                if (inst.primary == db.objNames.getString(owner.primaryId) &&
                    inst.lib == db.objNames.getString(owner.libId))
                    inst.secondary = db.objNames.getString(owner.secondaryId);
                if (inst.secondary.empty()) {
                    const unsigned r = db.rUnitNames.find(compositeName(9, inst.lib, inst.primary, "").c_str());
                    if (r && r < rUnitAlias.size() && rUnitAlias[r])
                        inst.secondary = db.objNames.getString(db.rUnitAttrs.at(rUnitAlias[r]).secondaryId);
                }
            }
            const bool vhdlInst = IsVhdlLanguage(db.fileAttrs.at(inst.fileId).lang);
            const std::string key = compositeName(vhdlInst ? 9 : 2, inst.lib, inst.primary, inst.secondary);
            unsigned id = 0;
            for (unsigned k = 1; k < db.unitNames.size() && !id; ++k)
                if (boost::algorithm::iequals(db.unitNames.getString(k), key)) id = k;
            if (!id) {
                id = db.unitNames.insert(key.c_str());
                db.resizeTables();
                HADLDatabase::UnitAttr& made = db.unitAttrs.at(id);
                made.libId = db.objNames.insert(inst.lib.c_str());
                made.primaryId = db.objNames.insert(inst.primary.c_str());
                if (!inst.secondary.empty()) made.secondaryId = db.objNames.insert(inst.secondary.c_str());
            }
            // A recursive instantiation that elaboration ended is no inactive unit of its
            // own unit: the hierarchy walk would never end.
            if (id == u || id == unit.origUnitId) continue;
            auto& list2 = db.unitAttrs.at(u).inactiveUnits;
            if (std::find(list2.begin(), list2.end(), id) == list2.end()) list2.push_back(id);
        }
    }
}
