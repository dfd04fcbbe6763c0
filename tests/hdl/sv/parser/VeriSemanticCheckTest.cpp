// Language rules one unit shows broken: each rule's broken form beside the legal form
// that looks most like it, which must stay silent.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "VeriTestSupport.h"

using namespace hdl;

namespace {

using Errors = std::vector<std::string>;

Errors errorsOf(const std::string& text) {
    veritest::analyze(text);
    Errors out;
    for (const veritest::Diagnostic& d : veritest::diagnostics())
        if (d.type == MSG_ERROR) out.push_back(std::to_string(d.line) + " " + d.id + " " + d.text);
    return out;
}

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

} // namespace
