// Analysis into libraries: order, lookup, replacement, $unit, file announcements.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "VeriTestSupport.h"

using namespace hdl;

namespace {

std::vector<std::pair<std::string, std::string>> gReplaced;

void onReplace(VeriModule* previous, VeriModule* replacement) {
    gReplaced.emplace_back(std::string(previous->Name()), std::string(replacement->Name()));
}

TEST(VeriLibrary, UnitsKeepTheirOrderAndLibrary) {
    ASSERT_TRUE(veritest::analyze("module b; endmodule\ninterface a; endinterface\nprogram c; endprogram\n"
                                  "primitive u(o, i); output o; input i; table 0 : 1; endtable endprimitive\n"
                                  "config cfg; design work.b; endconfig\n",
                                  "lib1"));
    VeriLibrary* lib = veri_file::GetLibrary("lib1");
    ASSERT_NE(lib, nullptr);
    std::vector<std::string> names;
    for (VeriModule* m : lib->AllModules()) names.emplace_back(m->Name());
    EXPECT_EQ(names, (std::vector<std::string>{"b", "a", "c", "u", "cfg"}));
    EXPECT_TRUE(veri_file::GetModule("a", "lib1")->IsInterface());
    EXPECT_TRUE(veri_file::GetModule("c")->IsProgram());
    EXPECT_TRUE(veri_file::GetModule("u")->IsPrimitive());
    auto* cfg = dynamic_cast<VeriConfiguration*>(veri_file::GetModule("cfg"));
    ASSERT_NE(cfg, nullptr);
    ASSERT_EQ(cfg->GetTopModuleNames().Size(), 1u);
    EXPECT_EQ(cfg->GetTopModuleNames()[0]->GetName(), "b");
    EXPECT_EQ(veri_file::GetModule("b", "other"), nullptr);
    EXPECT_EQ(veri_file::GetModule("a")->GetLibrary(), lib);
}

TEST(VeriLibrary, SecondAnalysisReplacesAndTells) {
    gReplaced.clear();
    veritest::analyze("module x; wire a; endmodule\nmodule y; endmodule\n");
    veri_file::RegisterReplaceCallBack(onReplace);
    veritest::analyze("module x; wire b; endmodule\n", "work", false);
    ASSERT_EQ(gReplaced.size(), 1u);
    EXPECT_EQ(gReplaced[0].first, "x");
    VeriLibrary* lib = veri_file::GetLibrary("work");
    ASSERT_EQ(lib->AllModules().size(), 2u);
    EXPECT_EQ(lib->AllModules()[0]->Name(), "x"); // the replacement takes the old place
    auto* decl = dynamic_cast<VeriDataDecl*>(lib->AllModules()[0]->GetItems().At(0));
    EXPECT_EQ(decl->GetIds().At(0)->Name(), "b");
    bool warned = false;
    for (const auto& d : veritest::diagnostics()) warned |= d.id == "VERI-1502";
    EXPECT_TRUE(warned);
}

TEST(VeriLibrary, DeclarationsOutsideUnitsGoToUnitScope) {
    ASSERT_TRUE(veritest::analyze("typedef logic [1:0] pair_t;\nmodule m; pair_t p; endmodule\n"));
    VeriModule* root = veri_file::GetModule("$unit");
    ASSERT_NE(root, nullptr);
    EXPECT_TRUE(root->IsRootModule());
    auto* decl = dynamic_cast<VeriDataDecl*>(veri_file::GetModule("m")->GetItems().At(0));
    auto* ref = dynamic_cast<VeriTypeRef*>(decl->GetDataType());
    ASSERT_NE(ref, nullptr);
    ASSERT_NE(ref->GetId(), nullptr);
    EXPECT_EQ(ref->GetId()->GetClassId(), ID_VERITYPEID);
}

TEST(VeriLibrary, EachFileIsAnnouncedWithItsName) {
    veritest::analyze("module m; endmodule\n");
    ASSERT_FALSE(veritest::diagnostics().empty());
    const veritest::Diagnostic& first = veritest::diagnostics().front();
    EXPECT_EQ(first.id, "VERI-1482");
    EXPECT_EQ(first.type, MSG_INFO);
    EXPECT_NE(first.text.find("'test.sv'"), std::string::npos);
}

// A translate_off region hides its units unless the front-end is told to read it; the
// setting lasts until Reset.
TEST(VeriLibrary, TranslateOffRegionsFollowTheSetting) {
    const std::string text = "module kept; endmodule\n// synopsys translate_off\nmodule sim_only; endmodule\n"
                             "// synopsys translate_on\nmodule after; endmodule\n";
    ASSERT_TRUE(veritest::analyze(text));
    EXPECT_NE(veritest::unit("after"), nullptr);
    EXPECT_EQ(veritest::unit("sim_only"), nullptr);
    veri_file::SetIgnoreTranslateOff(true);
    ASSERT_TRUE(veritest::analyze(text, "work", false));
    EXPECT_NE(veritest::unit("sim_only"), nullptr);
    veri_file::Reset();
    ASSERT_TRUE(veritest::analyze(text));
    EXPECT_EQ(veritest::unit("sim_only"), nullptr);
}

TEST(VeriLibrary, CellDefineAndMacromoduleAreRecorded) {
    ASSERT_TRUE(veritest::analyze("`celldefine\nmodule c; endmodule\n`endcelldefine\nmacromodule mm; endmodule\n"));
    EXPECT_TRUE(veri_file::GetModule("c")->IsCellDefine());
    EXPECT_FALSE(veri_file::GetModule("mm")->IsCellDefine());
    EXPECT_TRUE(veri_file::GetModule("mm")->flags & VERI_UNIT_MACROMODULE);
}

} // namespace

namespace {

TEST(VeriLibrary, LibrarySearchOrderKeepsFirstUse) {
    hdl::veri_file::Reset();
    hdl::veri_file::AddLOption("b");
    hdl::veri_file::AddLOption("a");
    hdl::veri_file::AddLOption("b");
    EXPECT_EQ(hdl::veri_file::GetLOptions(), (std::vector<std::string>{"b", "a"}));
    hdl::veri_file::Reset();
    EXPECT_TRUE(hdl::veri_file::GetLOptions().empty());
}

TEST(VeriLibrary, PackagesAreFoundAcrossLibraries) {
    ASSERT_TRUE(veritest::analyze("package shared; localparam int N = 3; endpackage\n", "pkgs"));
    ASSERT_TRUE(veritest::analyze("module m; import shared::*; int x = N; endmodule\n", "work", false));
    EXPECT_EQ(veritest::errorCount(), 0u);
    EXPECT_EQ(hdl::veri_file::AllLibraries().size(), 2u);
}

} // namespace

namespace {

std::vector<std::string> gOpened;

hdl::SourceStream* memoryFiles(const char* name) {
    gOpened.emplace_back(name);
    std::string n(name);
    if (n == "top.sv")
        return new hdl::SourceStream(new std::istringstream("`include \"inc.svh\"\nmodule top; endmodule\n"));
    if (n.size() >= 7 && n.compare(n.size() - 7, 7, "inc.svh") == 0)
        return new hdl::SourceStream(new std::istringstream("package from_include; endpackage\n"));
    return new hdl::SourceStream(nullptr);
}

TEST(VeriLibrary, EveryFileOpensThroughTheStreamCallBack) {
    hdl::veri_file::Reset();
    gOpened.clear();
    hdl::veri_file::RegisterFlexStreamCallBack(memoryFiles);
    hdl::Message::RegisterCallBackMsg(veritest::collect);
    EXPECT_TRUE(hdl::veri_file::Analyze("top.sv"));
    hdl::Message::RegisterCallBackMsg(nullptr);
    EXPECT_NE(hdl::veri_file::GetModule("top"), nullptr);
    EXPECT_NE(hdl::veri_file::GetModule("from_include"), nullptr);
    ASSERT_GE(gOpened.size(), 2u);
    EXPECT_EQ(gOpened[0], "top.sv");
    EXPECT_EQ(hdl::veri_file::GetFlexStreamCallBack(), &memoryFiles);
    hdl::veri_file::Reset();
    EXPECT_EQ(hdl::veri_file::GetFlexStreamCallBack(), nullptr);
}

} // namespace
