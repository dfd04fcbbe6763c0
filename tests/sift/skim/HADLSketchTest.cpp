#include <gtest/gtest.h>

#include "SkimProject.h"
#include "sift/bind/HADLSketch.h"

namespace {

std::vector<std::string> topNames(HADLDatabase& db) {
    std::vector<std::string> names;
    for (unsigned t : db.tops) names.push_back(db.unitNames.getString(t));
    return names;
}

TEST(Sketch, EmptyDatabaseHasNoTops) {
    HADLDatabase db;
    sketchUnits(db);
    computeTops(db);
    EXPECT_EQ(db.unitNames.size(), 1u);
    EXPECT_TRUE(db.tops.empty());
}

TEST(Sketch, SkimmedProjectGivesHierarchyAndOrderedTops) {
    SkimProject p;
    p.add("e.vhd", 9, "w",
          "entity e is end;\narchitecture a1 of e is begin end;\n"
          "architecture a2 of e is begin u : entity work.leaf port map (x); end;\n"
          "entity leaf is end;\n");
    p.add("m.v", 2, "w",
          "module Beta; e u1 (); missing u2 (); endmodule\nmodule alpha; e u1 (); endmodule\n"
          "module self; self s (); endmodule\ninterface bus; endinterface\n");
    p.skim();
    HADLSifter& db = p.db();
    db.unitAttrs.resize(1);
    sketchUnits(db);
    // The entity is represented by its last architecture; an earlier one stays a unit.
    EXPECT_EQ(db.unitNames.find("/w/e"), 0u);
    unsigned a2 = db.unitNames.find("/w/e/a2");
    ASSERT_NE(a2, 0u);
    EXPECT_NE(db.unitNames.find("/w/e/a1"), 0u);
    unsigned beta = db.unitNames.find(".w.beta");
    ASSERT_NE(beta, 0u);
    ASSERT_EQ(db.unitAttrs.at(beta).insts.size(), 2u);
    EXPECT_EQ(db.unitAttrs.at(beta).insts[0].unitId, a2);
    unsigned missing = db.unitAttrs.at(beta).insts[1].unitId;
    EXPECT_EQ(db.unitAttrs.at(missing).fileId, 0u);
    // A bus interface is marked by the binder; the sketch knows none.
    db.unitAttrs.at(db.unitNames.find(".w.bus")).isInterface = true;
    computeTops(db);
    EXPECT_EQ(topNames(db), (std::vector<std::string>{".w.beta", ".w.alpha", "/w/e/a1", ".w.self"}));
    sketchUnits(db);
    EXPECT_EQ(db.unitAttrs.at(beta).insts.size(), 2u);
}

// The entity of an architecture is looked up by "/library/primary". Raw unit keys hold
// names lower-cased while `primaryId` keeps the skim's spelling, which has case where
// -hierTree keeps it; the reading taken folds the name, so that spelling never decides.
TEST(Sketch, EntityOfAnArchitectureIsFoundWhateverTheCaseOfItsName) {
    HADLDatabase db;
    unsigned f = db.insertFileName("e.vhd", 9, "w");
    auto raw = [&](const char* key, const char* primary, const char* secondary) {
        unsigned r = db.rUnitNames.insert(key);
        db.resizeTables();
        HADLDatabase::RUnitAttr& a = db.rUnitAttrs.at(r);
        a.libId = db.objNames.insert("w");
        a.primaryId = db.objNames.insert(primary);
        a.secondaryId = secondary ? db.objNames.insert(secondary) : 0;
        a.fileIds.push_back(f);
        return r;
    };
    raw("/w/myent", "MyEnt", nullptr);
    unsigned top = raw("/w/top/rtl", "Top", "RTL");
    raw("/w/myent/rtl", "MyEnt", "RTL");
    db.rUnitAttrs.at(top).insts.push_back(HADLDatabase::RInstAttr{db.objNames.insert("U1"), 1});
    sketchUnits(db);
    computeTops(db);
    EXPECT_EQ(db.unitNames.find("/w/myent"), 0u);
    ASSERT_EQ(topNames(db), (std::vector<std::string>{"/w/top/rtl"}));
    ASSERT_EQ(db.unitAttrs.at(db.tops[0]).insts.size(), 1u);
    EXPECT_STREQ(db.unitNames.getString(db.unitAttrs.at(db.tops[0]).insts[0].unitId), "/w/myent/rtl");
}

TEST(Sketch, EqualCountsSortWithoutCase) {
    HADLDatabase db;
    unsigned f = db.insertFileName("x.v", 2, "w");
    for (const char* name : {"Beta", "alpha"}) {
        unsigned u = db.unitNames.insert((std::string(".w.") + name).c_str());
        db.resizeTables();
        db.unitAttrs.at(u).primaryId = db.objNames.insert(name);
        db.unitAttrs.at(u).fileId = f;
    }
    computeTops(db);
    EXPECT_EQ(topNames(db), (std::vector<std::string>{".w.alpha", ".w.Beta"}));
}

} // namespace
