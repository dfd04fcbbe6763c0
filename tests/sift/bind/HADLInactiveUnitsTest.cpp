// Inactive units on databases laid out as a skim and a binding leave them: what the
// source instantiates and no active instance reaches.
#include <gtest/gtest.h>

#include <string>

#include "sift/bind/HADLBinder.h"

namespace {

class HADLInactiveUnitsTest : public ::testing::Test {
protected:
    void SetUp() override { file = db.insertFileName("design.vhd", 9, "work"); }

    unsigned raw(const std::string& lib, const std::string& primary, const std::string& secondary = "") {
        const unsigned id = db.rUnitNames.insert(compositeName(9, lib, primary, secondary).c_str());
        db.resizeTables();
        HADLDatabase::RUnitAttr& r = db.rUnitAttrs.at(id);
        r.libId = db.objNames.insert(lib.c_str());
        r.primaryId = db.objNames.insert(primary.c_str());
        if (!secondary.empty()) r.secondaryId = db.objNames.insert(secondary.c_str());
        r.fileIds.push_back(file);
        return id;
    }
    void rawInst(unsigned from, const char* name, unsigned target) {
        db.rUnitAttrs.at(from).insts.push_back({db.objNames.insert(name), target});
    }
    unsigned unit(const std::string& lib, const std::string& primary, const std::string& secondary) {
        const unsigned id = db.unitNames.insert(compositeName(9, lib, primary, secondary).c_str());
        db.resizeTables();
        HADLDatabase::UnitAttr& u = db.unitAttrs.at(id);
        u.libId = db.objNames.insert(lib.c_str());
        u.primaryId = db.objNames.insert(primary.c_str());
        u.secondaryId = db.objNames.insert(secondary.c_str());
        u.fileId = file;
        return id;
    }
    void inst(unsigned from, const char* name, unsigned target) {
        HADLDatabase::InstAttr i;
        i.unitId = target;
        i.instId = db.objNames.insert(name);
        db.unitAttrs.at(from).insts.push_back(i);
    }

    HADLDatabase db;
    unsigned file = 0;
};

TEST_F(HADLInactiveUnitsTest, WhatTheSourceInstantiatesAndNoInstanceReaches) {
    raw("work", "top");
    const unsigned rTop = raw("work", "top", "rtl");
    const unsigned rA = raw("work", "a");
    raw("work", "a", "rtl");
    const unsigned rB = raw("work", "b");
    raw("work", "b", "rtl");
    rawInst(rTop, "ua", rA);
    rawInst(rTop, "ub", rB);
    const unsigned top = unit("work", "top", "rtl");
    const unsigned a = unit("work", "a", "rtl");
    const unsigned b = unit("work", "b", "rtl");
    inst(top, "ua", a);
    markInactiveUnits(db);
    EXPECT_EQ(db.unitAttrs.at(top).inactiveUnits, HADLVectorForTuple<unsigned>{b});
    EXPECT_TRUE(db.unitAttrs.at(a).inactiveUnits.empty());
}

// A Verilog mention names a cell, not its library: the skim took lib1's leaf, a
// configuration bound lib2's, and the mention was reached all the same. A cell no
// instance reaches stays inactive.
TEST_F(HADLInactiveUnitsTest, AVerilogCellBoundFromAnotherLibraryWasReached) {
    const unsigned sv = db.insertFileName("design.sv", 5, "work");
    auto verilog = [&](unsigned rawId, unsigned unitId) {
        db.rUnitAttrs.at(rawId).fileIds = {sv};
        db.unitAttrs.at(unitId).fileId = sv;
        return unitId;
    };
    const unsigned rMid = raw("work", "mid");
    const unsigned rLeaf1 = raw("lib1", "leaf");
    const unsigned rLeaf2 = raw("lib2", "leaf");
    const unsigned rSpare = raw("work", "spare");
    rawInst(rMid, "l", rLeaf1);
    rawInst(rMid, "s", rSpare);
    const unsigned mid = verilog(rMid, unit("work", "mid", ""));
    verilog(rLeaf1, unit("lib1", "leaf", ""));
    const unsigned leaf2 = verilog(rLeaf2, unit("lib2", "leaf", ""));
    const unsigned spare = verilog(rSpare, unit("work", "spare", ""));
    const unsigned copy = unit("work", "mid_cfg_default", "");
    db.unitAttrs.at(copy).fileId = sv;
    db.unitAttrs.at(copy).origUnitId = mid;
    inst(copy, "l", leaf2);
    markInactiveUnits(db);
    EXPECT_EQ(db.unitAttrs.at(copy).inactiveUnits, HADLVectorForTuple<unsigned>{spare});
}

TEST_F(HADLInactiveUnitsTest, AnInstanceOfACopyMakesItsOriginalActive) {
    raw("work", "top");
    const unsigned rTop = raw("work", "top", "rtl");
    const unsigned rB = raw("work", "b");
    raw("work", "b", "rtl");
    rawInst(rTop, "ub", rB);
    const unsigned top = unit("work", "top", "rtl");
    const unsigned b = unit("work", "b", "rtl");
    const unsigned copy = unit("work", "b(W=2)", "rtl");
    db.unitAttrs.at(copy).origUnitId = b;
    inst(top, "ub", copy);
    markInactiveUnits(db);
    EXPECT_TRUE(db.unitAttrs.at(top).inactiveUnits.empty());
}

TEST_F(HADLInactiveUnitsTest, AUnitOfTheNameInAnotherLibraryIsFoundThroughItsArchitecture) {
    raw("work", "top");
    const unsigned rTop = raw("work", "top", "rtl");
    const unsigned rLeaf = raw("work", "leaf"); // no unit binds this one
    raw("other", "leaf");
    raw("other", "leaf", "rtl");
    rawInst(rTop, "l", rLeaf);
    const unsigned top = unit("work", "top", "rtl");
    const unsigned leaf = unit("other", "leaf", "rtl");
    markInactiveUnits(db);
    EXPECT_EQ(db.unitAttrs.at(top).inactiveUnits, HADLVectorForTuple<unsigned>{leaf});

    // Reached through an instance, it is active.
    db.unitAttrs.at(top).inactiveUnits.clear();
    inst(top, "l", leaf);
    markInactiveUnits(db);
    EXPECT_TRUE(db.unitAttrs.at(top).inactiveUnits.empty());
}

TEST_F(HADLInactiveUnitsTest, UnitsWithoutSourceAreNeverInactive) {
    raw("work", "top");
    const unsigned rTop = raw("work", "top", "rtl");
    const unsigned rB = raw("work", "b");
    raw("work", "b", "rtl");
    rawInst(rTop, "ub", rB);
    const unsigned top = unit("work", "top", "rtl");
    const unsigned b = unit("work", "b", "rtl");
    db.unitAttrs.at(b).fileId = 0;
    markInactiveUnits(db);
    EXPECT_TRUE(db.unitAttrs.at(top).inactiveUnits.empty());
}

} // namespace
