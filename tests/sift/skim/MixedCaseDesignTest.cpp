// A VHDL design spelt in mixed case through skim, sketch and parse: every key made of
// its names follows the front-end's rule, so the three agree, with and without the
// runtime flag that keeps the case of names.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SkimProject.h"
#include "hdl/base/RuntimeFlags.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/bind/HADLSketch.h"
#include "sift/scan/HADLParse.h"

namespace {

using Texts = std::vector<std::string>;

const char* const kDesign = R"(entity MySub is end entity;
architecture rtl of MySub is begin end architecture;
entity MyTop is end entity;
architecture rtl of MyTop is
  component MySub is end component;
begin
  u1: MySub;
  u2: entity work.MySub;
end architecture;
)";

class MixedCaseDesign : public ::testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        hdl::RuntimeFlags::Reset();
        hdl::vhdl_file::Reset();
        if (GetParam()) hdl::RuntimeFlags::SetVar("vhdl_preserve_id_case", 1);
    }
    void TearDown() override {
        hdl::RuntimeFlags::Reset();
        hdl::vhdl_file::Reset();
    }
    // Keeps the case of names when the flag is set.
    std::string named(const std::string& lower, const std::string& asWritten) const {
        return GetParam() ? asWritten : lower;
    }
    std::string objName(unsigned id) { return p.db().objNames.getString(id); }

    SkimProject p;
};

TEST_P(MixedCaseDesign, SketchGivesOneTopWithBothInstances) {
    p.add("design.vhd", 9, "work", kDesign);
    p.skim();
    HADLSifter& db = p.db();
    unsigned top = p.rUnit("/work/mytop/rtl");
    ASSERT_NE(top, 0u);
    EXPECT_EQ(objName(db.rUnitAttrs.at(top).primaryId), named("mytop", "MyTop"));
    sketchUnits(db);
    computeTops(db);
    Texts tops;
    for (unsigned t : db.tops) tops.push_back(db.unitNames.getString(t));
    EXPECT_EQ(tops, (Texts{"/work/mytop/rtl"}));
    Texts insts;
    for (const HADLDatabase::InstAttr& i : db.unitAttrs.at(db.tops.at(0)).insts)
        insts.push_back(objName(i.instId) + "->" + db.unitNames.getString(i.unitId));
    EXPECT_EQ(insts, (Texts{"u1->/work/mysub/rtl", "u2->/work/mysub/rtl"}));
}

// The parse names duplicates as the front-end's libraries spell them; for a unit spelt
// alike in both files that is the skim's spelling, so no other enters objNames.
TEST_P(MixedCaseDesign, ParseSpellsUnitsAsTheSkimDid) {
    p.add("design.vhd", 9, "work", kDesign);
    p.add("again.vhd", 9, "work", "entity MySub is end;\narchitecture Rtl of MySub is begin end;\n");
    p.skim();
    HADLSifter& db = p.db();
    const HADLDatabase::RUnitAttr& sub = db.rUnitAttrs.at(p.rUnit("/work/mysub/rtl"));
    ASSERT_EQ(sub.fileIds.size(), 2u);
    EXPECT_EQ(objName(sub.primaryId), named("mysub", "MySub"));
    EXPECT_EQ(objName(sub.secondaryId), named("rtl", "Rtl"));
    const unsigned namesBefore = db.objNames.size();
    testing::internal::CaptureStdout();
    HADLParse(db).doParse();
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(db.duplicateAttrs.size(), 5u);
    // Records 3 and 4 are the architecture's, each completed with its own line.
    for (unsigned i = 1; i < db.duplicateAttrs.size(); ++i)
        EXPECT_EQ(db.duplicateAttrs.at(i).primaryId, sub.primaryId) << i;
    EXPECT_EQ(db.duplicateAttrs.at(4).secondaryId, sub.secondaryId);
    EXPECT_EQ(db.duplicateAttrs.at(4).startLine, 2u);
    EXPECT_EQ(db.objNames.size(), namesBefore);
}

INSTANTIATE_TEST_SUITE_P(CaseKept, MixedCaseDesign, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) { return info.param ? "Kept" : "Lowered"; });

} // namespace
