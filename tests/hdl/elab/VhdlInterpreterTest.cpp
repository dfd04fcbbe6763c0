// User functions interpreted at elaboration, in the shapes that real designs use to
// compute widths and depths, and the mistakes that must stop with a message instead
// of a hang or a crash.
#include <gtest/gtest.h>

#include "EvalFixture.h"

namespace hdl {
namespace {

using VhdlInterpreterTest = test::EvalFixture;

// The log2 helpers of common libraries, written three ways.
const char* kLog2Decls = R"(
function log2ceil(arg : positive) return natural;
function clog2(n : natural) return natural;
function log2_rec(n : positive) return natural;
)";
const char* kLog2Bodies = R"(
function log2ceil(arg : positive) return natural is
  variable tmp : positive := 1;
  variable log : natural := 0;
begin
  if arg = 1 then return 0; end if;
  while arg > tmp loop
    tmp := tmp * 2;
    log := log + 1;
  end loop;
  return log;
end function;

function clog2(n : natural) return natural is
begin
  for i in 0 to 31 loop
    if 2 ** i >= n then
      return i;
    end if;
  end loop;
  return 32;
end function;

function log2_rec(n : positive) return natural is
begin
  if n <= 1 then return 0; end if;
  return 1 + log2_rec((n + 1) / 2);
end function;
)";

TEST_F(VhdlInterpreterTest, Log2Helpers) {
    std::string d = kLog2Decls, b = kLog2Bodies;
    EXPECT_EQ(Value(d + "constant c : natural := log2ceil(1000);", "c", b), "10");
    EXPECT_EQ(Value(d + "constant c : natural := log2ceil(1024) * 100 + log2ceil(1);", "c", b), "1000");
    EXPECT_EQ(Value(d + "constant c : natural := clog2(17);", "c", b), "5");
    EXPECT_EQ(Value(d + "constant c : natural := log2_rec(1000);", "c", b), "10");
    // The same values from math_real, as designs also write it.
    EXPECT_EQ(Value(d + "constant c : boolean := log2ceil(300) = integer(ceil(log2(real(300))));", "c", b), "true");
    // An actual outside the parameter's subtype is caught at the call.
    EXPECT_EQ(Value(d + "constant c : natural := log2ceil(0);", "c", b).substr(0, 16), "error VHDL-1602:");
}

TEST_F(VhdlInterpreterTest, MaxAndMinOverloadedByType) {
    std::string d = R"(
function max(a, b : integer) return integer;
function max(a, b : real) return real;
function min(a, b : integer) return integer;
function max(a : integer_vector) return integer;
)";
    std::string b = R"(
function max(a, b : integer) return integer is begin if a > b then return a; else return b; end if; end;
function max(a, b : real) return real is begin if a > b then return a; end if; return b; end;
function min(a, b : integer) return integer is begin if a < b then return a; end if; return b; end;
function max(a : integer_vector) return integer is
  variable m : integer := integer'low;
begin
  for i in a'range loop
    if a(i) > m then m := a(i); end if;
  end loop;
  return m;
end;
)";
    EXPECT_EQ(Value(d + "constant c : integer := max(3, 8) + min(4, -1);", "c", b), "7");
    EXPECT_EQ(Value(d + "constant c : real := max(2.5, 1.0);", "c", b), "2.5");
    EXPECT_EQ(Value(d + "constant c : integer := max((4, 12, 7));", "c", b), "12");
}

TEST_F(VhdlInterpreterTest, RecursiveFunctions) {
    std::string d = "function fact(n : natural) return natural; function fib(n : natural) return natural;";
    std::string b = R"(
function fact(n : natural) return natural is begin if n = 0 then return 1; end if; return n * fact(n - 1); end;
function fib(n : natural) return natural is
begin
  if n < 2 then return n; else return fib(n - 1) + fib(n - 2); end if;
end;
)";
    EXPECT_EQ(Value(d + "constant c : natural := fact(10);", "c", b), "3628800");
    EXPECT_EQ(Value(d + "constant c : natural := fib(15);", "c", b), "610");
}

TEST_F(VhdlInterpreterTest, FunctionsOverRecordsAndArrays) {
    std::string d = R"(
type port_cfg is record width : positive; depth : natural; name : string(1 to 4); end record;
type port_cfg_array is array (natural range <>) of port_cfg;
constant ports : port_cfg_array := ((8, 16, "in_a"), (32, 4, "in_b"), (16, 0, "outp"));
function total_width(p : port_cfg_array) return natural;
function widest(p : port_cfg_array) return port_cfg;
function reversed(v : std_logic_vector) return std_logic_vector;
function count_ones(v : std_logic_vector) return natural;
function make_table(n : positive) return integer_vector;
)";
    std::string b = R"(
function total_width(p : port_cfg_array) return natural is
  variable sum : natural := 0;
begin
  for i in p'range loop sum := sum + p(i).width; end loop;
  return sum;
end;
function widest(p : port_cfg_array) return port_cfg is
  variable best : port_cfg := p(p'low);
begin
  for i in p'range loop
    if p(i).width > best.width then best := p(i); end if;
  end loop;
  return best;
end;
function reversed(v : std_logic_vector) return std_logic_vector is
  variable r : std_logic_vector(v'reverse_range);
begin
  for i in v'range loop r(i) := v(i); end loop;
  return r;
end;
function count_ones(v : std_logic_vector) return natural is
  variable n : natural := 0;
begin
  for i in v'range loop
    case v(i) is
      when '1' | 'H' => n := n + 1;
      when others => null;
    end case;
  end loop;
  return n;
end;
function make_table(n : positive) return integer_vector is
  variable t : integer_vector(0 to n - 1);
begin
  for i in t'range loop t(i) := i * i; end loop;
  t(1 to 2) := (7, 8);
  return t;
end;
)";
    EXPECT_EQ(Value(d + "constant c : natural := total_width(ports);", "c", b), "56");
    EXPECT_EQ(Value(d + "constant c : string(1 to 4) := widest(ports).name;", "c", b), "\"in_b\"");
    EXPECT_EQ(Value(d + "constant c : std_logic_vector(3 downto 0) := reversed(\"1100\");", "c", b), "\"0011\"");
    EXPECT_EQ(Value(d + "constant c : natural := count_ones(x\"F1\");", "c", b), "5");
    EXPECT_EQ(Value(d + "constant c : integer_vector := make_table(5);", "c", b), "(0,7,8,9,16)");
}

TEST_F(VhdlInterpreterTest, StringFunctionsAndProcedures) {
    std::string d = R"(
function str_len(s : string) return natural;
function to_upper(s : string) return string;
procedure split(n : in natural; hi, lo : out natural);
function digits(n : natural) return natural;
)";
    std::string b = R"(
function str_len(s : string) return natural is
begin
  for i in s'range loop
    if s(i) = NUL then return i - s'low; end if;
  end loop;
  return s'length;
end;
function to_upper(s : string) return string is
  variable r : string(s'range) := s;
begin
  for i in r'range loop
    if r(i) >= 'a' and r(i) <= 'z' then
      r(i) := character'val(character'pos(r(i)) - 32);
    end if;
  end loop;
  return r;
end;
procedure split(n : in natural; hi, lo : out natural) is
begin
  hi := n / 10;
  lo := n mod 10;
end;
function digits(n : natural) return natural is
  variable h, l : natural;
begin
  split(n, h, l);
  return h + l;
end;
)";
    EXPECT_EQ(Value(d + "constant c : natural := str_len(\"abc\" & NUL & \"de\");", "c", b), "3");
    EXPECT_EQ(Value(d + "constant c : string := to_upper(\"Lathe-40\");", "c", b), "\"LATHE-40\"");
    EXPECT_EQ(Value(d + "constant c : natural := digits(47);", "c", b), "11");
}

TEST_F(VhdlInterpreterTest, LoopsWithExitNextAndLabels) {
    std::string d = "function f(n : natural) return natural;";
    std::string b = R"(
function f(n : natural) return natural is
  variable acc : natural := 0;
begin
  outer : for i in 1 to n loop
    next when i mod 2 = 0;
    inner : for j in 1 to n loop
      exit outer when acc > 40;
      exit when j > i;
      acc := acc + j;
    end loop inner;
  end loop outer;
  loop
    acc := acc + 1;
    exit when acc mod 5 = 0;
  end loop;
  return acc;
end;
)";
    // i = 1: 1; i = 3: 1+2+3; i = 5: 1..5 (22); i = 7: 1..7 (50) stops the outer loop at 43... then rounded up to 45.
    EXPECT_EQ(Value(d + "constant c : natural := f(9);", "c", b), "45");
}

TEST_F(VhdlInterpreterTest, MistakesStopWithAMessage) {
    limits.loopIterations = 10000;
    limits.callDepth = 64;
    std::string d = "function spin(n : natural) return natural; function down(n : integer) return integer;"
                    "function half(n : natural) return natural; function noret(n : natural) return natural;"
                    "function checked(n : natural) return natural;";
    std::string b = R"(
function spin(n : natural) return natural is
  variable i : natural := 0;
begin
  while n > 0 loop
    i := (i + 1) mod 7;
  end loop;
  return i;
end;
function down(n : integer) return integer is begin return down(n - 1); end;
function half(n : natural) return natural is begin return 100 / (n - n); end;
function noret(n : natural) return natural is begin if n > 5 then return 1; end if; end;
function checked(n : natural) return natural is
begin
  assert n < 8 report "depth must stay below 8" severity failure;
  assert n < 4 report "depth above 4 is slow" severity warning;
  return n;
end;
)";
    EXPECT_EQ(Value(d + "constant c : natural := spin(1);", "c", b),
              "error VHDL-1604: loop runs past 10000 iterations");
    EXPECT_EQ(Value(d + "constant c : integer := down(3);", "c", b).substr(0, 16), "error VHDL-1605:");
    EXPECT_EQ(Value(d + "constant c : natural := half(3);", "c", b).substr(0, 16), "error VHDL-1601:");
    EXPECT_EQ(Value(d + "constant c : natural := noret(2);", "c", b),
              "error VHDL-1606: function 'noret' ends without return");
    EXPECT_EQ(Value(d + "constant c : natural := checked(9);", "c", b),
              "error VHDL-1474: assertion failure: depth must stay below 8");
    EXPECT_EQ(Value(d + "constant c : natural := checked(5);", "c", b), "5");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].id, "VHDL-1474");
    EXPECT_EQ(messages[0].type, MSG_WARNING);
}

TEST_F(VhdlInterpreterTest, ConstantsOfFunctionsAndNestedCalls) {
    std::string d = "function depth_of(words, per_line : positive) return positive; constant W : positive := 12;";
    std::string b = R"(
function lines(words, per_line : positive) return positive is begin return (words + per_line - 1) / per_line; end;
function depth_of(words, per_line : positive) return positive is
  constant l : positive := lines(words, per_line);
  subtype idx is natural range 0 to l - 1;
begin
  return idx'high + 1 + W - W;
end;
)";
    EXPECT_EQ(Value(d + "constant c : positive := depth_of(100, 8);", "c", b), "13");
}

TEST_F(VhdlInterpreterTest, OperatorsThatPackagesDeclareForTheirTypes) {
    std::string d = R"(
type freq is range 0 to integer'high units hz; khz = 1000 hz; mhz = 1000 khz; end units;
function "*"(t : time; f : freq) return real;
function "/"(x : real; f : freq) return time;
function cycles(t : time; f : freq) return natural;
)";
    std::string b = R"(
function "*"(t : time; f : freq) return real is
begin
  return real(t / 1 ps) * real(f / 1 hz) / 1.0e12;
end;
function "/"(x : real; f : freq) return time is begin return (x / real(f / 1 hz)) * 1 sec; end;
function cycles(t : time; f : freq) return natural is begin return natural(t * f); end;
)";
    EXPECT_EQ(Value(d + "constant c : natural := cycles(1 us, 100 mhz);", "c", b), "100");
    EXPECT_EQ(Value(d + "constant c : time := 1.0 / 250 mhz;", "c", b), "4000000 fs");
    // An operator that neither the language nor a package declares for the types.
    EXPECT_EQ(Value(d + "constant c : real := 1 us / 100 mhz;", "c", b).substr(0, 16), "error VHDL-1600:");
}

TEST_F(VhdlInterpreterTest, OverloadsFromSeveralPackagesChosenByType) {
    std::string first = test::UniquePackageName();
    std::string other =
        "package " + first +
        " is\n"
        "  function ite(c : boolean; a, b : integer) return integer;\n"
        "  function ite(c : boolean; a, b : string) return string;\n"
        "end package;\n"
        "package body " +
        first +
        " is\n"
        "  function ite(c : boolean; a, b : integer) return integer is begin if c then return a; end if; return b; "
        "end;\n"
        "  function ite(c : boolean; a, b : string) return string is begin if c then return a; end if; return b; end;\n"
        "end package body;\n";
    ASSERT_EQ(test::AnalyzeVhdl(other), "");
    // The test package adds an ite of its own for times; its body uses all three.
    std::string d = "function pick(n : natural) return string;";
    std::string b =
        "function ite(c : boolean; a, b : time) return time is begin if c then return a; end if; return b; end;\n"
        "function pick(n : natural) return string is begin\n"
        "  if ite(n > 2, 5 ns, 1 ns) > 2 ns then return ite(n > 3, \"four\", \"three\") & integer'image(ite(true, n, "
        "0)); end if;\n"
        "  return \"small\";\n"
        "end;";
    std::string text = "use work." + first + ".all;\n" + d;
    EXPECT_EQ(Value(text + "constant c : string := pick(3);", "c", b), "\"three3\"");
    EXPECT_EQ(Value(text + "constant c : string := pick(1);", "c", b), "\"small\"");
}

TEST_F(VhdlInterpreterTest, SlicesKeepTheirOwnLength) {
    std::string d = "function board(s : string) return natural;";
    std::string b = R"(
function board(s : string) return natural is
  constant dev : string(1 to 32) := s & (s'length + 1 to 32 => NUL);
begin
  if dev(1 to 7) = "GENERIC" then return 1; end if;
  if dev(1 to 5) = "iCE40" then return 2; end if;
  return 0;
end;
)";
    EXPECT_EQ(Value(d + "constant c : natural := board(\"iCE40HX1K\") * 10 + board(\"GENERIC\");", "c", b), "21");
}

} // namespace
} // namespace hdl
