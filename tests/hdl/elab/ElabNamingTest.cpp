// The names of copies as docs/elab.md documents them: `name(P=value,...)`, cut back to
// the original at the first "(", and the form each kind of VHDL value takes in them.
#include <gtest/gtest.h>

#include "EvalFixture.h"
#include "hdl/elab/ElabNaming.h"

namespace hdl {
namespace {

TEST(ElabNamingTest, CopyNamesCutBackToTheirOriginal) {
    EXPECT_EQ(ElabCopyName("leaf", {}), "leaf");
    EXPECT_EQ(ElabCopyName("leaf", {{"W", "8"}, {"NAME", "\"a(b)\""}}), "leaf(W=8,NAME=\"a(b)\")");
    EXPECT_EQ(ElabBaseName("leaf(W=8,NAME=\"a(b)\")"), "leaf");
    EXPECT_EQ(ElabBaseName("leaf"), "leaf");
    // Only a name ending in ")" is a copy's.
    EXPECT_EQ(ElabBaseName("odd(name"), "odd(name");
    EXPECT_EQ(ElabBaseName("\\ext(1)\\"), "\\ext(1)\\");
    EXPECT_EQ(ElabBaseName("top_cfg(N=4)"), "top_cfg");
}

// The image of a constant as a copy's name shows it.
class CopyImageTest : public test::EvalFixture {
protected:
    std::string Image(const std::string& decls) {
        std::string pkg = test::UniquePackageName();
        std::string text =
            "library ieee; use ieee.std_logic_1164.all;\npackage " + pkg + " is\n" + decls + "\nend package;\n";
        if (!test::AnalyzeVhdl(text).empty()) return "analysis";
        auto* unit = dynamic_cast<VhdlPackageDecl*>(vhdl_file::GetLibrary("work")->GetPrimUnit(pkg.c_str()));
        for (VhdlTreeNode* d : unit->declarations) {
            auto* c = dynamic_cast<VhdlConstantDecl*>(d);
            if (!c || c->ids.At(0)->Name() != "c") continue;
            VhdlEvaluator ev;
            try {
                return VhdlCopyImage(ev.ValueOf(c->ids.At(0), c));
            } catch (const VhdlEvalError& e) {
                return e.Text();
            }
        }
        return "none";
    }
};

TEST_F(CopyImageTest, EveryKindOfValue) {
    EXPECT_EQ(Image("constant c : integer := -3;"), "-3");
    EXPECT_EQ(Image("constant c : real := 2.5;"), "2.5");
    EXPECT_EQ(Image("constant c : real := 0.1;"), "0.1");
    EXPECT_EQ(Image("constant c : real := 1.0e-9;"), "1e-09");
    EXPECT_EQ(Image("constant c : real := 3.0;"), "3.0");
    EXPECT_EQ(Image("constant c : time := 10 ns;"), "10000000 fs");
    EXPECT_EQ(Image("constant c : boolean := TRUE;"), "true");
    EXPECT_EQ(Image("type st is (Idle, Run); constant c : st := Run;"), "run");
    EXPECT_EQ(Image("constant c : std_logic := 'Z';"), "'Z'");
    EXPECT_EQ(Image("constant c : std_logic_vector(3 downto 0) := x\"A\";"), "\"1010\"");
    EXPECT_EQ(Image("constant c : string := \"Fast\";"), "\"Fast\"");
    EXPECT_EQ(Image("type iv is array (natural range <>) of integer; constant c : iv := (1, 2, 3);"), "(1,2,3)");
    EXPECT_EQ(Image("type r is record a : integer; b : boolean; end record; constant c : r := (7, false);"),
              "(7,false)");
}

} // namespace
} // namespace hdl
