#include "sift/bind/HADLSketch.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <string>

#include "hdl/base/Language.h"

namespace {

std::string lower(const char* text) {
    std::string s = text ? text : "";
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

bool isUnresolved(const HADLDatabase& db, unsigned unit) {
    return db.fileAttrs.at(db.unitAttrs.at(unit).fileId).lang == hdl::LANG_NONE;
}

} // namespace

void sketchUnits(HADLDatabase& db) {
    if (db.unitNames.size() > 1) return;
    const unsigned rCount = db.rUnitNames.size();
    std::map<unsigned, unsigned> archOf;
    for (unsigned r = 1; r < rCount; ++r) {
        const HADLDatabase::RUnitAttr& ra = db.rUnitAttrs.at(r);
        if (!ra.secondaryId) continue;
        // Raw unit keys hold names lower-cased, whatever case the skim kept them in.
        std::string key =
            "/" + lower(db.objNames.getString(ra.libId)) + "/" + lower(db.objNames.getString(ra.primaryId));
        if (unsigned entity = db.rUnitNames.find(key.c_str())) archOf[entity] = r;
    }
    std::vector<unsigned> unitToRUnit(rCount, 0), rUnitToUnit(rCount, 0);
    for (unsigned r = 1; r < rCount; ++r) {
        if (archOf.count(r)) continue;
        const char* name = db.rUnitNames.getString(r);
        unsigned unit = db.unitNames.find(name);
        if (!unit) {
            unit = db.unitNames.insert(name);
            db.resizeTables();
            const HADLDatabase::RUnitAttr& ra = db.rUnitAttrs.at(r);
            HADLDatabase::UnitAttr& ua = db.unitAttrs.at(unit);
            ua.libId = ra.libId;
            ua.primaryId = ra.primaryId;
            ua.secondaryId = ra.secondaryId;
            ua.fileId = ra.fileIds.empty() ? 0 : ra.fileIds.back();
        }
        if (unit >= unitToRUnit.size()) unitToRUnit.resize(unit + 1, 0);
        unitToRUnit[unit] = r;
        rUnitToUnit[r] = unit;
    }
    for (unsigned u = 1; u < db.unitNames.size(); ++u) {
        HADLDatabase::UnitAttr& ua = db.unitAttrs.at(u);
        for (const HADLDatabase::RInstAttr& ri : db.rUnitAttrs.at(unitToRUnit[u]).insts) {
            unsigned t = ri.targetId;
            auto arch = archOf.find(t);
            if (arch != archOf.end()) t = arch->second;
            HADLDatabase::InstAttr inst;
            inst.unitId = rUnitToUnit.at(t);
            inst.instId = ri.instnameId;
            inst.fileId = ua.fileId;
            bool present = std::any_of(ua.insts.begin(), ua.insts.end(), [&](const HADLDatabase::InstAttr& i) {
                return i.unitId == inst.unitId && i.instId == inst.instId;
            });
            if (!present) ua.insts.push_back(inst);
        }
    }
}

void collectConfigTargets(const HADLDatabase& db, const HADLDatabase::UnitAttr& config, std::set<unsigned>& targets) {
    for (const HADLDatabase::InstAttr& i : config.insts) {
        targets.insert(i.unitId);
        for (const HADLDatabase::InstAttr& j : db.unitAttrs.at(i.unitId).insts) targets.insert(j.unitId);
    }
}

void clearConfigTargets(const HADLDatabase& db, const HADLDatabase::UnitAttr& config, std::vector<bool>& isTop,
                        const std::vector<std::vector<unsigned>>& localDerived) {
    std::set<unsigned> targets;
    collectConfigTargets(db, config, targets);
    for (unsigned t : targets) {
        isTop.at(t) = false;
        for (unsigned d : localDerived.at(db.unitAttrs.at(t).origUnitId)) isTop.at(d) = false;
    }
}

void computeTops(HADLDatabase& db) {
    const unsigned count = db.unitNames.size();
    std::vector<bool> isTop(count, true);
    std::vector<unsigned> instCount(count, 0);
    std::vector<std::vector<unsigned>> localDerived(count);
    const bool configs = db.enableVhdlVerilogConfig;
    if (configs)
        for (unsigned u = 1; u < count; ++u)
            if (unsigned o = db.unitAttrs.at(u).origUnitId) localDerived.at(o).push_back(u);
    for (unsigned u = 1; u < count; ++u) {
        const HADLDatabase::UnitAttr& ua = db.unitAttrs.at(u);
        if (unsigned o = ua.origUnitId) {
            isTop.at(o) = false;
            isTop[u] = !(isUnresolved(db, u) && ua.insts.empty());
        }
        if (isUnresolved(db, u) || ua.isInterface) isTop[u] = false;
    }
    for (unsigned u = 1; u < count; ++u)
        for (const HADLDatabase::InstAttr& i : db.unitAttrs.at(u).insts) {
            unsigned t = i.unitId;
            if (t == 0 || t >= count) continue;
            isTop[t] = false;
            for (unsigned d : localDerived[t]) isTop[d] = false;
            if (configs && db.unitAttrs.at(t).isConfig) clearConfigTargets(db, db.unitAttrs.at(t), isTop, localDerived);
        }
    for (unsigned u = 1; u < count; ++u)
        for (unsigned t : db.unitAttrs.at(u).inactiveUnits)
            if (t != 0 && t < count) isTop[t] = false;
    db.tops.reserve(count);
    std::vector<unsigned> tops;
    for (unsigned u = 1; u < count; ++u)
        if (isTop[u]) {
            tops.push_back(u);
            instCount[u] = static_cast<unsigned>(db.unitAttrs.at(u).insts.size());
        }
    std::sort(tops.begin(), tops.end(), [&](unsigned a, unsigned b) {
        if (instCount[a] != instCount[b]) return instCount[a] > instCount[b];
        std::string pa = lower(db.objNames.getString(db.unitAttrs.at(a).primaryId));
        std::string pb = lower(db.objNames.getString(db.unitAttrs.at(b).primaryId));
        if (pa != pb) return pa < pb;
        return lower(db.unitNames.getString(a)) < lower(db.unitNames.getString(b));
    });
    db.tops.insert(db.tops.end(), tops.begin(), tops.end());
}

void redirectConfigInsts(HADLDatabase& db) {
    const unsigned count = db.unitNames.size();
    std::vector<unsigned> configOf(count, 0);
    for (unsigned c = 1; c < count; ++c)
        if (db.unitAttrs.at(c).isConfig)
            for (const HADLDatabase::InstAttr& i : db.unitAttrs.at(c).insts)
                configOf.at(db.unitAttrs.at(i.unitId).origUnitId) = c;
    for (unsigned u = 1; u < count; ++u) {
        HADLDatabase::UnitAttr& ua = db.unitAttrs.at(u);
        if (ua.isConfig) continue;
        for (HADLDatabase::InstAttr& i : ua.insts) {
            unsigned o = db.unitAttrs.at(i.unitId).origUnitId;
            if (o && configOf.at(o)) i.unitId = configOf[o];
        }
    }
}
