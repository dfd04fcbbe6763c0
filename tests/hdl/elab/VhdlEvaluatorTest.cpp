// Constant evaluation: what a simulator computes at elaboration for constants of
// every kind of type, with the operators, attributes, conversions and standard
// package functions that designs use in them.
#include <gtest/gtest.h>

#include "EvalFixture.h"

namespace hdl {
namespace {

using VhdlEvaluatorTest = test::EvalFixture;

TEST_F(VhdlEvaluatorTest, IntegerArithmeticFollowsTheLanguage) {
    EXPECT_EQ(Value("constant c : integer := 7 / 2 + (-7) / 2;", "c"), "0");
    // mod takes the sign of the right operand, rem of the left.
    EXPECT_EQ(Value("constant c : integer := (-7) mod 3;", "c"), "2");
    EXPECT_EQ(Value("constant c : integer := (-7) rem 3;", "c"), "-1");
    EXPECT_EQ(Value("constant c : integer := 7 mod (-3);", "c"), "-2");
    EXPECT_EQ(Value("constant c : integer := 2 ** 10 - abs(-24);", "c"), "1000");
    EXPECT_EQ(Value("constant a : integer := 5; constant c : integer := a * a - 1;", "c"), "24");
    // Integers are 64 bits wide inside expressions.
    EXPECT_EQ(Value("constant c : integer := (2 ** 40) / (2 ** 30);", "c"), "1024");
    EXPECT_EQ(Value("constant c : boolean := 3 > 2 and not (1 = 2);", "c"), "true");
}

TEST_F(VhdlEvaluatorTest, IntegerMistakesAreErrors) {
    EXPECT_EQ(Value("constant c : integer := 7 / (3 - 3);", "c").substr(0, 16), "error VHDL-1601:");
    EXPECT_EQ(Value("constant c : integer := 5 mod 0;", "c").substr(0, 16), "error VHDL-1601:");
    EXPECT_EQ(Value("constant c : natural := 3 - 4;", "c"),
              "error VHDL-1602: value -1 is outside the range 0 to 2147483647 of 'natural'");
    EXPECT_EQ(Value("constant c : integer := 2 ** 31;", "c").substr(0, 16), "error VHDL-1602:");
    EXPECT_EQ(Value("constant c : integer := (2 ** 62) * 4 / 8;", "c").substr(0, 16), "error VHDL-1602:");
    // A deferred constant whose full declaration uses its own value.
    EXPECT_EQ(Value("constant c : integer;", "c", "constant c : integer := c + 1;").substr(0, 16), "error VHDL-1600:");
    // Names nothing declares, the constant's own name in its initial value among them,
    // analysis tells before anything is evaluated.
    EXPECT_NE(Value("constant c : integer := c + 1;", "c").find(": 'c' is not declared"), std::string::npos);
    EXPECT_NE(Value("constant c : integer := undefined_name;", "c").find(": 'undefined_name' is not declared"),
              std::string::npos);
}

// Texts come from the catalogue with every number whole, 64-bit ones too.
TEST_F(VhdlEvaluatorTest, MessageTextsCarryWideNumbers) {
    EXPECT_EQ(
        Value("type wide is array (2**40 to 2**40 + 3) of bit; constant w : wide := \"1010\";"
              "constant c : bit := w(2**41);",
              "c"),
        "error VHDL-1603: index 2199023255552 is outside the range 1099511627776 to 1099511627779 of 'w((2 ** 41))'");
    EXPECT_EQ(Value("constant c : bit_vector(3 downto 0) := \"10101\";", "c"),
              "error VHDL-1603: length 5 of '\"10101\"' does not match length 4 of 'bit_vector'");
    EXPECT_EQ(Value("constant s : string := \"abc\"; constant c : character := s(4);", "c"),
              "error VHDL-1603: index 4 is outside the range 1 to 3 of 's(4)'");
}

TEST_F(VhdlEvaluatorTest, RealsAndConversions) {
    EXPECT_EQ(Value("constant c : real := 1.5 * 2.0 + real(3) / 4.0;", "c"), "3.75");
    // Conversion to integer rounds to the nearest, halves away from zero.
    EXPECT_EQ(Value("constant c : integer := integer(2.5) + integer(-2.5) + integer(3.7);", "c"), "4");
    EXPECT_EQ(Value("constant c : real := 2.0 ** 3;", "c"), "8.0");
    EXPECT_EQ(Value("constant c : real := 1.0 / 0.0;", "c").substr(0, 16), "error VHDL-1601:");
}

TEST_F(VhdlEvaluatorTest, PhysicalValues) {
    EXPECT_EQ(Value("constant c : time := 10 ns + 5 ps;", "c"), "10005000 fs");
    EXPECT_EQ(Value("constant c : integer := 1 us / 1 ns;", "c"), "1000");
    EXPECT_EQ(Value("constant c : time := 2.5 ns * 2;", "c"), "5000000 fs");
    EXPECT_EQ(Value("constant c : string := time'image(3 ps);", "c"), "\"3000 fs\"");
    EXPECT_EQ(Value("type freq is range 0 to integer'high units hz; khz = 1000 hz; mhz = 1000 khz; end units;\n"
                    "constant c : freq := 100 mhz / 4;",
                    "c"),
              "25000000 hz");
}

TEST_F(VhdlEvaluatorTest, EnumerationsAndTheirAttributes) {
    EXPECT_EQ(Value("constant c : integer := boolean'pos(true) + character'pos('A');", "c"), "66");
    EXPECT_EQ(Value("constant c : character := character'val(97);", "c"), "'a'");
    EXPECT_EQ(Value("type st is (idle, run, stop); constant c : st := st'succ(st'low);", "c"), "run");
    EXPECT_EQ(Value("type st is (idle, run, stop); constant c : st := st'high;", "c"), "stop");
    EXPECT_EQ(Value("type st is (idle, run, stop); constant c : st := st'pred(idle);", "c").substr(0, 16),
              "error VHDL-1602:");
    EXPECT_EQ(Value("type st is (idle, run, stop); constant c : string := st'image(run) & std_logic'image('Z');", "c"),
              "\"run'Z'\"");
    EXPECT_EQ(Value("type st is (idle, run, stop); constant c : st := st'value(\" STOP \");", "c"), "stop");
    EXPECT_EQ(Value("constant c : integer := integer'value(\"-42\");", "c"), "-42");
    EXPECT_EQ(Value("constant c : std_logic := '1' and 'Z';", "c"), "'X'");
    EXPECT_EQ(Value("constant c : bit := not '0';", "c"), "'1'");
}

TEST_F(VhdlEvaluatorTest, ArraysStringsAndAggregates) {
    EXPECT_EQ(Value("constant s : string := \"hello\"; constant c : string := s(2 to 4) & '!';", "c"), "\"ell!\"");
    EXPECT_EQ(Value("constant s : string := \"hello\"; constant c : integer := s'length * 10 + s'left;", "c"), "51");
    EXPECT_EQ(Value("constant c : std_logic_vector(7 downto 0) := (7 => '1', 3 downto 2 => 'Z', others => '0');", "c"),
              "\"1000ZZ00\"");
    EXPECT_EQ(Value("constant c : bit_vector := x\"1F\";", "c"), "\"00011111\"");
    EXPECT_EQ(Value("constant c : std_logic_vector := 6sx\"F\" & 3d\"5\";", "c"), "\"111111101\"");
    EXPECT_EQ(Value("type iv is array (natural range <>) of integer; constant t : iv := (10, 20, 30);"
                    "constant c : integer := t(1) + t'high;",
                    "c"),
              "22");
    EXPECT_EQ(Value("type mat is array (0 to 1, 0 to 2) of integer; constant m : mat := ((1, 2, 3), (4, 5, 6));"
                    "constant c : integer := m(1, 2) * 10 + m'length(2);",
                    "c"),
              "63");
    EXPECT_EQ(Value("constant c : std_logic_vector(3 downto 0) := \"10101\";", "c").substr(0, 16), "error VHDL-1603:");
    EXPECT_EQ(Value("constant s : string := \"abc\"; constant c : character := s(4);", "c").substr(0, 16),
              "error VHDL-1603:");
    EXPECT_EQ(Value("constant c : boolean := \"abc\" < \"abd\" and \"abc\" /= \"ab\";", "c"), "true");
    // An element of the array's own type supplies several elements (2008).
    EXPECT_EQ(
        Value("constant a : bit_vector(1 to 2) := \"10\"; constant c : bit_vector(1 to 4) := (a, '0', '1');", "c"),
        "\"1001\"");
}

TEST_F(VhdlEvaluatorTest, RecordsAndQualifiedExpressions) {
    EXPECT_EQ(Value("type cfg is record width : natural; name : string(1 to 3); fast : boolean; end record;"
                    "constant k : cfg := (width => 8, name => \"abc\", fast => true);"
                    "constant c : natural := k.width * 2;",
                    "c"),
              "16");
    EXPECT_EQ(Value("type cfg is record a, b : integer; end record; constant k : cfg := (others => 3);"
                    "constant c : integer := k.a + k.b;",
                    "c"),
              "6");
    EXPECT_EQ(Value("constant c : integer := to_integer(unsigned'(\"1010\"));", "c"), "10");
}

TEST_F(VhdlEvaluatorTest, NumericStdFunctionsAndOperators) {
    EXPECT_EQ(Value("constant c : std_logic_vector(3 downto 0) := std_logic_vector(to_unsigned(5, 4));", "c"),
              "\"0101\"");
    EXPECT_EQ(Value("constant c : signed(7 downto 0) := resize(signed'(\"1010\"), 8);", "c"), "\"11111010\"");
    EXPECT_EQ(Value("constant c : unsigned(3 downto 0) := unsigned'(\"0011\") + 1;", "c"), "\"0100\"");
    EXPECT_EQ(Value("constant c : unsigned(7 downto 0) := unsigned'(x\"0F\") * unsigned'(x\"3\");", "c").substr(0, 16),
              "error VHDL-1603:");
    EXPECT_EQ(Value("constant c : unsigned(11 downto 0) := unsigned'(x\"0F\") * unsigned'(x\"3\");", "c"),
              "\"000000101101\"");
    EXPECT_EQ(Value("constant c : integer := to_integer(signed'(\"1110\")) + to_integer(unsigned'(\"1110\"));", "c"),
              "12");
    EXPECT_EQ(Value("constant c : boolean := unsigned'(\"0100\") > 3 and signed'(\"1100\") < 0;", "c"), "true");
    EXPECT_EQ(Value("constant c : unsigned(3 downto 0) := shift_left(unsigned'(\"0011\"), 2);", "c"), "\"1100\"");
    EXPECT_EQ(Value("constant c : std_logic_vector(3 downto 0) := \"0101\" and \"0011\";", "c"), "\"0001\"");
    EXPECT_EQ(Value("constant c : integer := to_integer(unsigned'(x\"FF\") / 16);", "c"), "15");
    // A value that does not fit is cut, with numeric_std's warning.
    EXPECT_EQ(Value("constant c : unsigned(7 downto 0) := to_unsigned(300, 8);", "c"), "\"00101100\"");
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.front().id, "VHDL-1474");
}

TEST_F(VhdlEvaluatorTest, MathRealExpressions) {
    EXPECT_EQ(Value("constant c : integer := integer(ceil(log2(real(1000))));", "c"), "10");
    EXPECT_EQ(Value("constant c : natural := natural(floor(sqrt(17.0))) + integer(round(2.5));", "c"), "7");
    EXPECT_EQ(Value("constant c : real := realmax(2.0, 3.5) + MATH_PI - MATH_PI;", "c"), "3.5");
    EXPECT_EQ(Value("constant c : integer := integer(log(8.0, 2.0));", "c"), "3");
    EXPECT_EQ(Value("constant c : real := log2(0.0);", "c").substr(0, 16), "error VHDL-1602:");
}

TEST_F(VhdlEvaluatorTest, PredefinedFunctionsOf2008) {
    EXPECT_EQ(Value("constant c : integer := maximum(3, 9) - minimum(4, 2);", "c"), "7");
    EXPECT_EQ(Value("constant c : string := to_string(42) & to_string('x') & to_hstring(x\"AB\");", "c"), "\"42xAB\"");
}

TEST_F(VhdlEvaluatorTest, DeferredConstantsTakeTheirValueFromTheBody) {
    EXPECT_EQ(
        Value("constant depth : natural; constant c : natural := depth * 2;", "c", "constant depth : natural := 21;"),
        "42");
}

} // namespace
} // namespace hdl
