#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "VhdlTestUtil.h"
#include "hdl/base/RuntimeFlags.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace hdl {
namespace {

// In-memory files served through the stream callback, and the names asked for.
std::map<std::string, std::string>& Files() {
    static std::map<std::string, std::string> files;
    return files;
}
std::vector<std::string>& Opened() {
    static std::vector<std::string> opened;
    return opened;
}

SourceStream* Serve(const char* name) {
    Opened().push_back(name);
    auto it = Files().find(name);
    if (it == Files().end()) return new SourceStream(nullptr);
    return new SourceStream(new std::istringstream(it->second));
}

class VhdlLibraryTest : public ::testing::Test {
protected:
    void SetUp() override {
        vhdl_file::Reset();
        Files().clear();
        Opened().clear();
        vhdl_file::RegisterFlexStreamCallBack(Serve);
    }
    void TearDown() override { vhdl_file::Reset(); }
};

TEST_F(VhdlLibraryTest, UnitsGoToTheirLibraryThroughTheCallback) {
    test::MessageCapture capture;
    Files()["a.vhd"] = "entity e is end; architecture one of e is begin end; architecture two of E is begin end;"
                       "package p is end; package body p is end; configuration c of e is for two end for; end;";
    EXPECT_TRUE(vhdl_file::Analyze("a.vhd", "mylib", VHDL_2008)) << capture.Errors();
    ASSERT_EQ(Opened().size(), 1u);
    EXPECT_EQ(Opened()[0], "a.vhd");
    // The file is announced.
    ASSERT_FALSE(capture.All().empty());
    EXPECT_EQ(capture.All().front().id, vhdl_msg::kAnalyzing);

    VhdlLibrary* lib = vhdl_file::GetLibrary("MyLib");
    ASSERT_NE(lib, nullptr);
    ASSERT_EQ(lib->PrimaryUnits().size(), 3u);
    EXPECT_EQ(lib->PrimaryUnits()[0]->Name(), "e");
    EXPECT_EQ(lib->PrimaryUnits()[2]->Name(), "c");
    VhdlPrimaryUnit* e = lib->GetPrimUnit("E");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->GetOwningLib(), lib);
    EXPECT_EQ(e->GetSecondaryUnits().size(), 2u);
    EXPECT_EQ(e->GetSecondaryUnit("ONE")->Name(), "one");
    EXPECT_EQ(e->GetSecondaryUnit(nullptr)->Name(), "two"); // most recently analysed
    EXPECT_EQ(lib->GetPrimUnit("p")->GetSecondaryUnit(nullptr)->GetClassId(), VhdlPackageBody::kClassId);
    EXPECT_EQ(lib->GetPrimUnit("E", true, false), nullptr); // exact case asked, declared as "e"
    EXPECT_EQ(vhdl_file::GetLibrary("other"), nullptr);
}

TEST_F(VhdlLibraryTest, ReanalysisReplacesAndIsReported) {
    test::MessageCapture capture;
    Files()["a.vhd"] = "entity e is end; architecture a of e is begin end;";
    Files()["b.vhd"] = "entity E is port (x : bit); end;";
    ASSERT_TRUE(vhdl_file::Analyze("a.vhd", "work", VHDL_93));
    EXPECT_TRUE(vhdl_file::ReplacedUnits().empty());
    VhdlPrimaryUnit* first = vhdl_file::GetWorkLib()->GetPrimUnit("e");
    vhdl_file::Analyze("b.vhd", "work", VHDL_93);
    ASSERT_EQ(vhdl_file::ReplacedUnits().size(), 1u);
    EXPECT_EQ(vhdl_file::ReplacedUnits()[0].oldUnit, first);
    EXPECT_EQ(vhdl_file::ReplacedUnits()[0].primary, "E");
    VhdlPrimaryUnit* second = vhdl_file::GetWorkLib()->GetPrimUnit("e");
    EXPECT_NE(second, first);
    EXPECT_EQ(vhdl_file::GetWorkLib()->PrimaryUnits().size(), 1u);
    // The new entity starts without the old architectures.
    EXPECT_EQ(second->GetSecondaryUnit(nullptr), nullptr);
    EXPECT_EQ(capture.Count(MSG_WARNING), 1u);
}

TEST_F(VhdlLibraryTest, WorkLibrarySearchOrderAndIteration) {
    vhdl_file::SetWorkLib("proj");
    Files()["a.vhd"] = "package p is end;";
    ASSERT_TRUE(vhdl_file::Analyze("a.vhd", "work", VHDL_2008));
    ASSERT_TRUE(vhdl_file::Analyze("a.vhd", "zeta", VHDL_2008));
    ASSERT_TRUE(vhdl_file::Analyze("a.vhd", "alpha", VHDL_2008));
    ASSERT_EQ(vhdl_file::AllLibraries().size(), 3u);
    EXPECT_EQ(vhdl_file::AllLibraries()[0]->Name(), "proj");
    EXPECT_EQ(vhdl_file::AllLibraries()[1]->Name(), "zeta"); // creation order, not sorted
    EXPECT_EQ(vhdl_file::GetLibrary("work"), vhdl_file::GetLibrary("proj"));
    vhdl_file::AddLOption("Zeta");
    vhdl_file::AddLOption("alpha");
    vhdl_file::AddLOption("zeta");
    std::vector<std::string> order = {"zeta", "alpha"};
    EXPECT_EQ(vhdl_file::LOptions(), order);
}

TEST_F(VhdlLibraryTest, FailuresAreMessagesNotCrashes) {
    test::MessageCapture capture;
    EXPECT_FALSE(vhdl_file::Analyze("missing.vhd", "work", VHDL_93));
    EXPECT_EQ(capture.All().back().id, vhdl_msg::kCannotOpen);
    Files()["bin.vhd"] = std::string("\x7f"
                                     "ELF\0\0\x01",
                                     7);
    EXPECT_FALSE(vhdl_file::Analyze("bin.vhd", "work", VHDL_93));
    EXPECT_EQ(capture.All().back().id, vhdl_msg::kBinaryInput);
    Files()["orphan.vhd"] = "architecture a of nowhere is begin end;";
    EXPECT_FALSE(vhdl_file::Analyze("orphan.vhd", "work", VHDL_93));
    EXPECT_EQ(capture.All().back().id, vhdl_msg::kNoPrimary);
}

TEST_F(VhdlLibraryTest, TranslateOffCanBeIgnored) {
    Files()["t.vhd"] = "entity e is end;\n-- synopsys translate_off\nentity hidden is end;\n-- synopsys translate_on\n";
    ASSERT_TRUE(vhdl_file::Analyze("t.vhd", "a", VHDL_93));
    EXPECT_EQ(vhdl_file::GetLibrary("a")->PrimaryUnits().size(), 1u);
    vhdl_file::SetIgnoreTranslateOff(true);
    ASSERT_TRUE(vhdl_file::Analyze("t.vhd", "b", VHDL_93));
    EXPECT_EQ(vhdl_file::GetLibrary("b")->PrimaryUnits().size(), 2u);
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

TEST_F(VhdlLibraryTest, ReanalysedSecondaryUnitsAreReplacedInPlaceAndReported) {
    test::MessageCapture capture;
    Files()["e.vhd"] = "entity e is end; architecture a1 of e is begin end; architecture a2 of e is begin end;";
    Files()["a1.vhd"] = "architecture A1 of E is begin end;";
    ASSERT_TRUE(vhdl_file::Analyze("e.vhd", "work", VHDL_93));
    VhdlPrimaryUnit* e = vhdl_file::GetWorkLib()->GetPrimUnit("e");
    VhdlSecondaryUnit* oldA1 = e->GetSecondaryUnit("a1");
    EXPECT_EQ(e->GetSecondaryUnit(nullptr)->Name(), "a2");
    ASSERT_TRUE(vhdl_file::Analyze("a1.vhd", "work", VHDL_93));
    ASSERT_EQ(vhdl_file::ReplacedUnits().size(), 1u);
    const VhdlReplacedUnit& r = vhdl_file::ReplacedUnits()[0];
    EXPECT_EQ(r.primary, "e");
    EXPECT_EQ(r.secondary, "A1");
    EXPECT_EQ(r.oldUnit, oldA1);
    EXPECT_EQ(r.newUnit, e->GetSecondaryUnit("a1"));
    // Still two architectures, in their first order; the latest analysed is the default.
    ASSERT_EQ(e->GetSecondaryUnits().size(), 2u);
    EXPECT_EQ(e->GetSecondaryUnits()[0], r.newUnit);
    EXPECT_EQ(e->GetSecondaryUnit(nullptr), r.newUnit);
    // The next analysis starts a fresh list of replacements.
    Files()["p.vhd"] = "package p is end;";
    ASSERT_TRUE(vhdl_file::Analyze("p.vhd", "work", VHDL_93));
    EXPECT_TRUE(vhdl_file::ReplacedUnits().empty());
}

TEST_F(VhdlLibraryTest, LatestSecondaryIsAnArchitectureNotAConfigurationOrBody) {
    Files()["e.vhd"] = "entity e is end; architecture a of e is begin end; architecture b of e is begin end;";
    Files()["ab.vhd"] = "architecture a of e is begin end;";
    ASSERT_TRUE(vhdl_file::Analyze("e.vhd", "work", VHDL_93));
    ASSERT_TRUE(vhdl_file::Analyze("ab.vhd", "work", VHDL_93));
    EXPECT_EQ(vhdl_file::GetWorkLib()->GetPrimUnit("e")->GetSecondaryUnit(nullptr)->Name(), "a");
    EXPECT_EQ(vhdl_file::GetWorkLib()->GetPrimUnit("e")->GetSecondaryUnit("nope"), nullptr);
}

TEST_F(VhdlLibraryTest, ReplacedPrimaryKeepsItsPlaceInIteration) {
    Files()["abc.vhd"] = "package a is end; package b is end; package c is end;";
    Files()["b.vhd"] = "entity B is end;";
    ASSERT_TRUE(vhdl_file::Analyze("abc.vhd", "work", VHDL_93));
    ASSERT_TRUE(vhdl_file::Analyze("b.vhd", "work", VHDL_93));
    const auto& units = vhdl_file::GetWorkLib()->PrimaryUnits();
    ASSERT_EQ(units.size(), 3u);
    EXPECT_EQ(units[0]->Name(), "a");
    EXPECT_EQ(units[1]->Id()->OrigName(), "B");
    EXPECT_EQ(units[1]->GetClassId(), VhdlEntityDecl::kClassId);
    EXPECT_EQ(units[2]->Name(), "c");
    EXPECT_EQ(vhdl_file::GetWorkLib()->GetPrimUnit("b"), units[1]);
}

// Every identifier of a unit as "OrigName=Name", in source order.
class IdNames : public VhdlVisitor {
public:
    std::vector<std::string> names;
    void Visit(VhdlIdDef& id) override { names.push_back(std::string(id.OrigName()) + "=" + std::string(id.Name())); }
};

std::vector<std::string> IdNamesOf(VhdlTreeNode* unit) {
    IdNames walk;
    walk.TraverseNode(unit);
    return walk.names;
}

TEST_F(VhdlLibraryTest, NamesAreLowerCaseUnlessTheRuntimeFlagKeepsTheirCase) {
    const std::string text = "entity MyTop is port (Clk : in bit); end;\n"
                             "architecture RTL of mytop is signal \\Ext Sig\\, ab : bit; begin end;\n";
    for (uint32_t preserve : {0u, 1u}) {
        SCOPED_TRACE(preserve);
        vhdl_file::Reset();
        vhdl_file::RegisterFlexStreamCallBack(Serve);
        RuntimeFlags::SetVar("vhdl_preserve_id_case", preserve);
        Files()["a.vhd"] = text;
        Files()["b.vhd"] = "architecture rtl of MYTOP is begin end;";
        ASSERT_TRUE(vhdl_file::Analyze("a.vhd", "work", VHDL_93));
        // Units are found without regard to case either way.
        VhdlPrimaryUnit* top = vhdl_file::GetWorkLib()->GetPrimUnit("MYTOP");
        ASSERT_NE(top, nullptr);
        EXPECT_EQ(top->Name(), preserve ? "MyTop" : "mytop");
        VhdlSecondaryUnit* rtl = top->GetSecondaryUnit("rtl");
        ASSERT_NE(rtl, nullptr);
        EXPECT_EQ(rtl->Name(), preserve ? "RTL" : "rtl");
        // An extended identifier keeps its case and its backslashes in both.
        if (preserve) {
            EXPECT_EQ(IdNamesOf(top), (std::vector<std::string>{"MyTop=MyTop", "Clk=Clk"}));
            EXPECT_EQ(IdNamesOf(rtl), (std::vector<std::string>{"RTL=RTL", "\\Ext Sig\\=\\Ext Sig\\", "ab=ab"}));
        } else {
            EXPECT_EQ(IdNamesOf(top), (std::vector<std::string>{"MyTop=mytop", "Clk=clk"}));
            EXPECT_EQ(IdNamesOf(rtl), (std::vector<std::string>{"RTL=rtl", "\\Ext Sig\\=\\Ext Sig\\", "ab=ab"}));
        }
        // The same architecture in another case replaces the first, also when case is kept.
        ASSERT_TRUE(vhdl_file::Analyze("b.vhd", "work", VHDL_93));
        ASSERT_EQ(top->GetSecondaryUnits().size(), 1u);
        EXPECT_EQ(top->GetSecondaryUnits()[0]->Id()->OrigName(), "rtl");
    }
    RuntimeFlags::Reset();
}

} // namespace
} // namespace hdl
