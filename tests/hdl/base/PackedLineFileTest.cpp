// Packed positions and interned names: what the Verilog tree keeps per node instead of a
// full position and a copy of each name.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "hdl/base/PackedLineFile.h"
#include "hdl/base/Symbol.h"

using hdl::ColLineFile;
using hdl::PackedLineFile;
using hdl::Symbol;

namespace {

void expectSame(const ColLineFile& a, const ColLineFile& b) {
    EXPECT_EQ(a.fileId, b.fileId);
    EXPECT_EQ(a.leftLine, b.leftLine);
    EXPECT_EQ(a.leftCol, b.leftCol);
    EXPECT_EQ(a.rightLine, b.rightLine);
    EXPECT_EQ(a.rightCol, b.rightCol);
}

} // namespace

TEST(PackedLineFileTest, PositionsComeBackWholeInsideAndPastThePackedLimits) {
    static_assert(sizeof(PackedLineFile) == 12);
    const ColLineFile cases[] = {
        ColLineFile(3, 10, 5, 10, 9), // one token
        ColLineFile(3, 10, 4095, 265, 4095), // the widest that packs
        ColLineFile(7, 10, 4096, 10, 4100), // a column past 12 bits
        ColLineFile(7, 10, 1, 266, 1), // 256 lines
        ColLineFile(9, 0x7fffffff, 1, 0x7fffffff, 70000), // the largest line, a very long one
        ColLineFile(9, 20, 5, 19, 1), // ends before it starts: kept as given
    };
    for (const ColLineFile& loc : cases) {
        PackedLineFile packed(loc);
        expectSame(packed.Unpack(), loc);
        EXPECT_EQ(packed.FileId(), loc.fileId);
        EXPECT_EQ(packed.LeftLine(), loc.leftLine);
    }
}

TEST(PackedLineFileTest, MovingTheEndKeepsTheStartWhereverTheEndFalls) {
    PackedLineFile packed(ColLineFile(4, 100, 7, 100, 7));
    packed.SetMark(true);
    packed.SetEnd(120, 30);
    expectSame(packed.Unpack(), ColLineFile(4, 100, 7, 120, 30));
    packed.SetEnd(400, 2); // 300 lines: on the side
    expectSame(packed.Unpack(), ColLineFile(4, 100, 7, 400, 2));
    packed.SetEnd(101, 5000); // still on the side
    expectSame(packed.Unpack(), ColLineFile(4, 100, 7, 101, 5000));
    EXPECT_TRUE(packed.Marked());
}

TEST(PackedLineFileTest, TheMarkSurvivesNewPositionsAndCopiesKeepTheirOwn) {
    PackedLineFile packed(ColLineFile(1, 2, 3, 2, 8));
    EXPECT_FALSE(packed.Marked());
    packed.SetMark(true);
    packed.Set(ColLineFile(1, 2, 5000, 900, 6000)); // kept on the side
    EXPECT_TRUE(packed.Marked());
    EXPECT_EQ(packed.LeftLine(), 2u);
    PackedLineFile copy = packed;
    copy.Set(ColLineFile(1, 3, 6000, 901, 7000));
    EXPECT_EQ(packed.Unpack().leftCol, 5000u); // the copy's new position is its own
    EXPECT_EQ(copy.Unpack().leftCol, 6000u);
    packed.SetMark(false);
    expectSame(packed.Unpack(), ColLineFile(1, 2, 5000, 900, 6000));
}

TEST(SymbolTest, EqualTextsAreOneSymbol) {
    Symbol a = Symbol::Intern("clk_i");
    Symbol b = Symbol::Intern(std::string("clk") + "_i");
    EXPECT_EQ(a, b);
    EXPECT_EQ(a.Id(), b.Id());
    EXPECT_EQ(a, "clk_i");
    EXPECT_NE(a, Symbol::Intern("clk_o"));
    EXPECT_TRUE(Symbol::Intern("").empty());
    EXPECT_EQ(Symbol().Text(), "");
    std::ostringstream out;
    out << a;
    EXPECT_EQ(out.str(), "clk_i");
}

TEST(SymbolTest, FindDoesNotInternAndTextsOutliveTheTableGrowing) {
    EXPECT_TRUE(Symbol::Find("never_interned_anywhere_xyz").empty());
    EXPECT_TRUE(Symbol::Find("never_interned_anywhere_xyz").empty());
    Symbol first = Symbol::Intern("first_of_many");
    std::string_view text = first.Text();
    for (int i = 0; i < 20000; ++i) Symbol::Intern("name_" + std::to_string(i));
    EXPECT_EQ(Symbol::Find("name_19999"), Symbol::Intern("name_19999"));
    EXPECT_EQ(first.Text(), "first_of_many");
    EXPECT_EQ(text.data(), first.Text().data()); // texts never move
}

TEST(SymbolTest, ForgettingStartsTheTableAfresh) {
    Symbol::Intern("kept_until_forgotten");
    Symbol::ForgetAll();
    EXPECT_TRUE(Symbol::Find("kept_until_forgotten").empty());
    Symbol again = Symbol::Intern("kept_until_forgotten");
    EXPECT_EQ(again.Text(), "kept_until_forgotten");
    EXPECT_EQ(Symbol::Intern("kept_until_forgotten"), again);
}
