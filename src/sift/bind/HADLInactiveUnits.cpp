#include <algorithm>
#include <cstdio>
#include <set>
#include <unordered_map>
#include <vector>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "hdl/base/Language.h"
#include "hdl/sv/VeriLibrary.h"
#include "sift/bind/HADLBinder.h"
#include "sift/bind/HADLIPBDTable.h"
#include "sift/bind/HADLSketch.h"

namespace {

std::string lower(std::string text) {
    boost::algorithm::to_lower(text);
    return text;
}

// Without configurations enabled a Verilog configuration is no unit of the run: the
// cells it names are no mentions of its own.
bool isIgnoredConfiguration(const HADLDatabase& db, const HADLDatabase::UnitAttr& unit) {
    if (db.enableVhdlVerilogConfig || !hdl::IsVerilogLanguage(db.fileAttrs.at(unit.fileId).lang)) return false;
    hdl::VeriLibrary* lib = hdl::veri_file::GetLibrary(db.objNames.getString(unit.libId));
    const hdl::VeriModule* m = lib ? lib->GetModule(db.objNames.getString(unit.primaryId)) : nullptr;
    return m && m->IsConfiguration();
}

class InactiveMarker {
public:
    explicit InactiveMarker(HADLDatabase& db)
        : db(db), unitToRUnit(db.unitAttrs.size(), 0), rUnitToUnits(db.rUnitAttrs.size()),
          rUnitAlias(db.rUnitAttrs.size(), 0) {}

    void run(const HADLIPBDTable* ipbd) {
        matchUnits();
        aliasArchitectures();
        mark();
        if (ipbd) applyIPBDInactiveUnits(db, *ipbd, rUnitAlias);
    }

private:
    const std::vector<unsigned>& byPrimary(unsigned primaryId) {
        if (!indexBuilt) {
            for (unsigned r = 1; r < db.rUnitAttrs.size(); ++r)
                primaryIndex[db.rUnitAttrs.at(r).primaryId].push_back(r);
            indexBuilt = true;
        }
        static const std::vector<unsigned> none;
        auto it = primaryIndex.find(primaryId);
        return it == primaryIndex.end() ? none : it->second;
    }

    // The raw units of a primary name, as it stands or in lower case.
    const std::vector<unsigned>& candidatesOf(const std::string& primary) {
        static const std::vector<unsigned> none;
        if (unsigned id = db.objNames.find(primary.c_str())) {
            const auto& list = byPrimary(id);
            if (!list.empty()) return list;
        }
        if (unsigned id = db.objNames.find(lower(primary).c_str())) return byPrimary(id);
        return none;
    }

    unsigned matchOne(unsigned u) {
        const HADLDatabase::UnitAttr& unit = db.unitAttrs.at(u);
        const std::string key = db.unitNames.getString(u);
        if (unsigned r = db.rUnitNames.find(key.c_str())) return r;
        const bool vhdl = hdl::IsVhdlLanguage(db.fileAttrs.at(unit.fileId).lang);
        const std::string library = db.objNames.getString(unit.libId);
        const std::string primary = db.objNames.getString(unit.primaryId);
        const std::string secondary = db.objNames.getString(unit.secondaryId);
        if (unsigned r =
                db.rUnitNames.find(compositeName(vhdl ? 9 : 2, library, lower(primary), lower(secondary)).c_str()))
            return r;
        const std::vector<unsigned>* candidates = &candidatesOf(primary);
        if (candidates->empty()) {
            if (primary.size() >= 9 && boost::algorithm::ends_with(primary, "_default"))
                candidates = &candidatesOf(primary.substr(0, primary.size() - 8));
            if (candidates->empty()) {
                std::printf("CANT FIND PRIMARY: %s\n", key.c_str());
                return 0;
            }
        }
        if (candidates->size() == 1) return candidates->front();
        if (unit.libId) {
            const unsigned lowerLib = db.objNames.find(lower(library).c_str());
            for (unsigned r : *candidates) {
                const unsigned lib = db.rUnitAttrs.at(r).libId;
                if (lib == unit.libId || (lowerLib && lib == lowerLib)) return r;
            }
        }
        return candidates->back();
    }

    void matchUnits() {
        for (unsigned u = 1; u < db.unitAttrs.size(); ++u) {
            if (db.unitAttrs.at(u).origUnitId) continue;
            const unsigned r = matchOne(u);
            if (!r) continue;
            unitToRUnit[u] = r;
            rUnitToUnits[r].push_back(u);
        }
    }

    void aliasArchitectures() {
        for (unsigned r = 1; r < db.rUnitAttrs.size(); ++r) {
            const HADLDatabase::RUnitAttr& raw = db.rUnitAttrs.at(r);
            if (raw.secondaryId) {
                const std::string key =
                    compositeName(9, db.objNames.getString(raw.libId), db.objNames.getString(raw.primaryId), "");
                if (unsigned entity = db.rUnitNames.find(key.c_str())) rUnitAlias[entity] = r;
            }
            // A unit with source stands first for its raw unit.
            auto& units = rUnitToUnits[r];
            if (units.size() < 2) continue;
            auto it = std::find_if(units.begin() + 1, units.end(), [&](unsigned u) { return !isUnresolved(db, u); });
            if (it != units.end()) std::swap(units.front(), *it);
        }
    }

    void addClosure(unsigned config, std::set<unsigned>& active) {
        std::set<unsigned> targets;
        collectConfigTargets(db, db.unitAttrs.at(config), targets);
        for (unsigned t : targets) {
            const unsigned o = db.unitAttrs.at(t).origUnitId;
            active.insert(o ? o : t);
        }
    }

    void mark() {
        for (unsigned u = 1; u < db.unitAttrs.size(); ++u) {
            const HADLDatabase::UnitAttr& unit = db.unitAttrs.at(u);
            if (unit.isConfig || isIgnoredConfiguration(db, unit)) continue;
            if (hdl::IsVhdlLanguage(db.fileAttrs.at(unit.fileId).lang) && !unit.secondaryId) continue;
            const unsigned r = unitToRUnit[unit.origUnitId ? unit.origUnitId : u];
            if (!r) continue;
            std::set<unsigned> active;
            // A Verilog mention names a cell, not its library: one bound from another
            // library (by a configuration or a `uselib) was reached all the same.
            std::set<unsigned> activeCells;
            const bool verilog = hdl::IsVerilogLanguage(db.fileAttrs.at(unit.fileId).lang);
            for (const HADLDatabase::InstAttr& inst : unit.insts) {
                const unsigned o = db.unitAttrs.at(inst.unitId).origUnitId;
                active.insert(o ? o : inst.unitId);
                if (verilog) activeCells.insert(db.unitAttrs.at(o ? o : inst.unitId).primaryId);
                if (db.enableVhdlVerilogConfig && db.unitAttrs.at(inst.unitId).isConfig)
                    addClosure(inst.unitId, active);
            }
            for (const HADLDatabase::RInstAttr& ref : db.rUnitAttrs.at(r).insts) {
                unsigned t = ref.targetId;
                if (rUnitAlias.at(t)) t = rUnitAlias[t];
                std::vector<unsigned> targets = rUnitToUnits.at(t);
                if (targets.empty()) {
                    // The unit of that name in another library, through its architecture.
                    const HADLDatabase::RUnitAttr& target = db.rUnitAttrs.at(t);
                    for (unsigned k = 1; k < db.rUnitAttrs.size() && targets.empty(); ++k) {
                        const HADLDatabase::RUnitAttr& other = db.rUnitAttrs.at(k);
                        if (other.primaryId != target.primaryId || other.libId == target.libId) continue;
                        if (rUnitAlias[k]) t = rUnitAlias[k];
                        targets = rUnitToUnits.at(t);
                    }
                    if (targets.empty()) continue;
                }
                if (std::any_of(targets.begin(), targets.end(), [&](unsigned x) { return active.count(x); })) continue;
                const unsigned e = targets.front();
                if (isUnresolved(db, e) || db.unitAttrs.at(e).isConfig) continue;
                if (activeCells.count(db.unitAttrs.at(e).primaryId)) continue;
                auto& inactive = db.unitAttrs.at(u).inactiveUnits;
                if (std::find(inactive.begin(), inactive.end(), e) == inactive.end()) inactive.push_back(e);
            }
        }
    }

    HADLDatabase& db;
    std::vector<unsigned> unitToRUnit;
    std::vector<std::vector<unsigned>> rUnitToUnits;
    std::vector<unsigned> rUnitAlias;
    std::unordered_map<unsigned, std::vector<unsigned>> primaryIndex;
    bool indexBuilt = false;
};

} // namespace

void markInactiveUnits(HADLDatabase& db, const HADLIPBDTable* ipbd) { InactiveMarker(db).run(ipbd); }
