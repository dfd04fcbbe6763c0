// Language rules one unit shows broken: each rule's broken form beside the legal form
// that looks most like it, which must stay silent.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "VeriTestSupport.h"

using namespace hdl;

namespace {

using Errors = std::vector<std::string>;

using veritest::errorsOf;

TEST(VeriSemanticCheck, VoidFunctionsForksAndReturns) {
    EXPECT_EQ(errorsOf("module m;\n"
                       "  function void f(); return; endfunction\n"
                       "  function int g(); fork begin end join_none return 1; endfunction\n"
                       "  task t(); fork begin end join_any fork #1; join endtask\n"
                       "  initial fork begin : b int x; x = g(); end join\n"
                       "endmodule\n"),
              Errors{});
    EXPECT_EQ(errorsOf("module m;\n"
                       "  function void f(); return 1; endfunction\n"
                       "  function int g(); fork begin end join return 1; endfunction\n"
                       "  function int h(); fork begin end join_any return 1; endfunction\n"
                       "  task t(); fork return; join_none endtask\n"
                       "endmodule\n"),
              (Errors{"2 VERI-1510 void function 'f' returns a value",
                      "3 VERI-1511 only fork-join_none is allowed in function 'g'",
                      "4 VERI-1511 only fork-join_none is allowed in function 'h'",
                      "5 VERI-1512 return is not allowed inside fork-join"}));
}

TEST(VeriSemanticCheck, RealVariablesTakeNoSelectIndexOrEdge) {
    EXPECT_EQ(errorsOf("module m;\n"
                       "  real r; real arr[4]; int i; logic [3:0] v; logic c; wire w;\n"
                       "  assign w = v[i];\n"
                       "  always @(r) c = arr[i] > 0.5;\n"
                       "  always @(posedge c) r = arr[1];\n"
                       "endmodule\n"),
              Errors{});
    EXPECT_EQ(
        errorsOf("module m;\n"
                 "  real r; logic [3:0] v; wire w; logic c;\n"
                 "  assign w = r[0];\n"
                 "  assign c = v[r];\n"
                 "  always @(posedge r) c = 1;\n"
                 "endmodule\n"),
        (Errors{"3 VERI-1513 bit-select or part-select of real variable 'r'",
                "4 VERI-1513 real variable 'r' used as an index", "5 VERI-1513 edge event on real variable 'r'"}));
}

TEST(VeriSemanticCheck, ClassesThatCannotBeBuiltOrOverride) {
    const std::string classes = "virtual class base; pure virtual function void show(); endclass\n"
                                "interface class greet; pure virtual function void hello(); endclass\n"
                                "class leaf extends base; virtual function void show(); endfunction endclass\n";
    EXPECT_EQ(errorsOf("module m;\n" + classes +
                       "  base b; greet g; leaf l = new;\n"
                       "  initial begin l = new; b = l; end\n"
                       "endmodule\n"),
              Errors{});
    EXPECT_EQ(errorsOf("module m;\n" + classes +
                       "  base b = new; greet g;\n"
                       "  initial g = new;\n"
                       "  class c; pure virtual task run(); endclass\n"
                       "  class d; function int randomize(); return 0; endfunction\n"
                       "    function void rand_mode(bit on); endfunction endclass\n"
                       "endmodule\n"),
              (Errors{"5 VERI-1514 cannot construct an object of virtual class 'base'",
                      "6 VERI-1514 cannot construct an object of interface class 'greet'",
                      "7 VERI-1515 pure virtual method 'run' in class 'c' that is not virtual",
                      "8 VERI-1516 built-in method 'randomize' cannot be overridden",
                      "9 VERI-1516 built-in method 'rand_mode' cannot be overridden"}));
}

TEST(VeriSemanticCheck, EnumValuesPackedMembersAndPartSelects) {
    EXPECT_EQ(errorsOf("module m;\n"
                       "  enum logic [2:0] {A = 3'h2, B = 'x, C = 3'd5} e1;\n"
                       "  enum integer {D = 0, E = 'bx, F = 5} e2;\n"
                       "  enum {G = 1, H = 32'd2, I} e3;\n"
                       "  typedef struct packed { logic a; logic [3:0] b; } p_t;\n"
                       "  typedef struct { logic a = 1; } u_t;\n"
                       "  logic [7:0] v; int i; initial v[i+:2] = v[0+:2];\n"
                       "endmodule\n"),
              Errors{});
    EXPECT_EQ(errorsOf("module m;\n"
                       "  enum logic [2:0] {A = 4'h2} e1;\n"
                       "  enum bit [1:0] {B = 0, C = 2'bxx} e2;\n"
                       "  enum integer {D = 0, E = {32{1'bx}}, F} e3;\n"
                       "  typedef struct packed { logic a = 1; } p_t;\n"
                       "  logic [7:0] v; int i; initial v[i-:0] = 0;\n"
                       "  enum {G = 1, H = 2'd2} e4;\n"
                       "endmodule\n"),
              (Errors{"2 VERI-1517 enum value 'A' is 4 bits wide, its base type 3 bits",
                      "3 VERI-1517 enum value 'C' has x or z bits in a 2-state enum",
                      "4 VERI-1517 enum value 'F' needs a value: the one before it has x or z bits",
                      "5 VERI-1518 member 'a' of a packed struct cannot have a default value",
                      "6 VERI-1519 indexed part-select has width 0",
                      "7 VERI-1517 enum value 'H' is 2 bits wide, its base type 32 bits"}));
}

TEST(VeriSemanticCheck, NetsTakeNoProceduralAssignment) {
    EXPECT_EQ(errorsOf("module m (input clk, output reg q, output logic r, output s);\n"
                       "  wire w; logic v; reg [3:0] x; wire [3:0] y; reg t; assign y = x; assign s = t;\n"
                       "  initial begin force w = 1; release w; v = w; x[0] = y[1]; end\n"
                       "  always @(posedge clk) begin q <= v; r <= 1; t = 0; end\n"
                       "endmodule\n"
                       "module n (a, b); input a; output b; reg b; always @(a) b = a; endmodule\n"
                       "module k (input a, output var o, output int i, output bit [1:0] p);\n"
                       "  function void f(output x); x = a; endfunction\n"
                       "  always @(a) begin o = a; i = 1; p[0] <= a; end\n"
                       "endmodule\n"),
              Errors{});
    EXPECT_EQ(errorsOf("module m (input a, input b);\n"
                       "  wire w; wire [3:0] y; tri t;\n"
                       "  initial w = #10 a & b;\n"
                       "  always @(a) y[1] <= b;\n"
                       "  always @(b) t = a;\n"
                       "endmodule\n"
                       "module k (input clk, input a, output b, output [1:0] c, inout wire d);\n"
                       "  always_ff @(posedge clk) begin b <= a; c[1] <= a; d = a; end\n"
                       "endmodule\n"),
              (Errors{"3 VERI-1520 procedural assignment to net 'w'", "4 VERI-1520 procedural assignment to net 'y'",
                      "5 VERI-1520 procedural assignment to net 't'", "8 VERI-1520 procedural assignment to net 'b'",
                      "8 VERI-1520 procedural assignment to net 'c'", "8 VERI-1520 procedural assignment to net 'd'"}));
}

TEST(VeriSemanticCheck, ParametersUseNoSpecparam) {
    EXPECT_EQ(errorsOf("module m;\n"
                       "  parameter p = 50; specparam d = p + 2, e = d * 2;\n"
                       "  localparam q = p + 1;\n"
                       "endmodule\n"),
              Errors{});
    EXPECT_EQ(errorsOf("module m;\n"
                       "  specparam d = 50;\n"
                       "  parameter p = d + 2;\n"
                       "  localparam q = (d);\n"
                       "endmodule\n"),
              (Errors{"3 VERI-1521 parameter 'p' cannot use specparam 'd'",
                      "4 VERI-1521 parameter 'q' cannot use specparam 'd'"}));
}

// The enum types of common_cells' package, broken the ways the enum rules forbid; the
// file as written and a legal x value in its 4-state enum stay silent.
TEST(VeriSemanticCheck, BrokenEnumsOfCorpusPackageAreReported) {
    std::ifstream in(std::filesystem::path(SIFT_SHARED_DIR) / "corpus/common_cells/src/cc_pkg.sv", std::ios::binary);
    if (!in) GTEST_SKIP() << "corpus not present";
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // The text with `from` (which must occur) replaced by `to`, and the line it is on.
    auto edit = [&](const std::string& from, const std::string& to) {
        auto variant = veritest::edited(text, from, to);
        EXPECT_NE(variant.second, "0") << from;
        return variant;
    };
    EXPECT_EQ(errorsOf(text), Errors{});
    EXPECT_EQ(errorsOf(edit("ARB_RR   = 1'b0", "ARB_RR   = 1'bx").first), Errors{});
    auto [wide, wideLine] = edit("ARB_PRIO = 1'b1", "ARB_PRIO = 2'b1");
    EXPECT_EQ(errorsOf(wide),
              Errors{wideLine + " VERI-1517 enum value 'ARB_PRIO' is 2 bits wide, its base type 1 bits"});
    auto [twoState, twoStateLine] = edit("enum logic {\n    ARB_RR   = 1'b0", "enum bit {\n    ARB_RR   = 1'bz");
    EXPECT_EQ(errorsOf(twoState), Errors{std::to_string(std::stoul(twoStateLine) + 1) +
                                         " VERI-1517 enum value 'ARB_RR' has x or z bits in a 2-state enum"});
    auto [unassigned, line] = edit("ARB_RR   = 1'b0,\n    ARB_PRIO = 1'b1", "ARB_RR   = 1'bx,\n    ARB_PRIO");
    EXPECT_EQ(errorsOf(unassigned), Errors{std::to_string(std::stoul(line) + 1) +
                                           " VERI-1517 enum value 'ARB_PRIO' needs a value: the one before it has x "
                                           "or z bits"});
}

} // namespace

// picorv32's `trap` output written as a net (no `reg`): each procedural assignment to it
// is reported, on the lines where `verilator --lint-only` reports PROCASSWIRE.
TEST(VeriSemanticCheck, CorpusOutputPortMadeANetIsReported) {
    std::ifstream in(std::filesystem::path(SIFT_SHARED_DIR) / "corpus/picorv32/picorv32.v", std::ios::binary);
    if (!in) GTEST_SKIP() << "corpus not present";
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(errorsOf(text), Errors{});
    size_t at = text.find("output reg trap,");
    ASSERT_NE(at, std::string::npos);
    text.replace(at, 16, "output trap,");
    // The lines of the assignments `trap <= ...` in the always blocks.
    Errors expected;
    unsigned line = 1;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n') ++line;
        if (text.compare(i, 8, "trap <= ") == 0 && (i == 0 || text[i - 1] == '\t' || text[i - 1] == ' '))
            expected.push_back(std::to_string(line) + " VERI-1520 procedural assignment to net 'trap'");
    }
    EXPECT_EQ(expected.size(), 2u);
    EXPECT_EQ(errorsOf(text), expected);
}

// A syntax error costs the checks of the unit or compilation-unit item it stands in, and
// no others: the items of the file's own scope that parsed are judged all the same.
TEST(VeriSemanticCheck, ItemsThatParseAreCheckedBesideOnesThatDoNot) {
    EXPECT_EQ(errorsOf("module broken; initial x = ; endmodule\n"
                       "class k; function int randomize(); return 0; endfunction endclass\n"
                       "typedef enum {A, B} e_t;\n"
                       "function automatic e_t pick(int i); return i; endfunction\n"
                       "class bad; function int rand_mode(); return 0 endfunction endclass\n"
                       "module m; wire w; initial w = 1; endmodule\n"),
              (Errors{"1 VERI-1500 syntax error near ';', expecting an expression",
                      "5 VERI-1500 syntax error near 'endfunction', expecting ;",
                      "6 VERI-1520 procedural assignment to net 'w'",
                      "2 VERI-1516 built-in method 'randomize' cannot be overridden",
                      "4 VERI-1522 enum function 'pick' returns a value that is not of its enum type; a cast is "
                      "needed"}));
}

// picorv32.v with its output port made a net, and a syntax error in a later module of
// the same file: both are reported.
TEST(VeriSemanticCheck, CorpusUnitsAreCheckedBesideABrokenOne) {
    std::ifstream in(std::filesystem::path(SIFT_SHARED_DIR) / "corpus/picorv32/picorv32.v", std::ios::binary);
    if (!in) GTEST_SKIP() << "corpus not present";
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    size_t at = text.find("output reg trap,");
    ASSERT_NE(at, std::string::npos);
    text.replace(at, 16, "output trap,");
    size_t later = text.find("wire        mem_valid;", text.find("module picorv32_axi #("));
    ASSERT_NE(later, std::string::npos);
    text.erase(later + 21, 1);
    unsigned nets = 0, syntax = 0;
    for (const std::string& e : errorsOf(text)) {
        nets += e.find("VERI-1520 procedural assignment to net 'trap'") != std::string::npos;
        syntax += e.find("VERI-1500") != std::string::npos;
    }
    EXPECT_EQ(nets, 2u);
    EXPECT_GE(syntax, 1u);
}
