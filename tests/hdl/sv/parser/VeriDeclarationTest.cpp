// Declarations: nets, variables, types, interfaces and modports, subprograms, and the
// constructs read over by name.
#include <gtest/gtest.h>

#include "VeriTestSupport.h"
#include "hdl/sv/VeriTokens.h"

using namespace hdl;

namespace {

template <typename T>
T* item(const char* unitName, size_t i) {
    VeriModule* m = veritest::unit(unitName);
    return m && i < m->GetItems().Size() ? dynamic_cast<T*>(m->GetItems()[i]) : nullptr;
}

TEST(VeriDeclarations, NetsWithStrengthDelayAndInitialValue) {
    ASSERT_TRUE(veritest::analyze("module m; wire (strong0, weak1) [7:0] #(1, 2) a = 8'h0, b [0:3];\n"
                                  "  tri1 vectored [1:0] t; uwire u; endmodule\n"));
    auto* net = item<VeriNetDecl>("m", 0);
    ASSERT_NE(net, nullptr);
    EXPECT_EQ(net->GetNetType(), unsigned(VT_WIRE));
    ASSERT_NE(net->GetStrength(), nullptr);
    EXPECT_EQ(net->GetStrength()->lval, unsigned(VT_STRONG0));
    EXPECT_EQ(net->GetStrength()->rval, unsigned(VT_WEAK1));
    EXPECT_EQ(net->delays.Size(), 2u);
    ASSERT_EQ(net->GetIds().Size(), 2u);
    EXPECT_NE(net->GetIds()[0]->GetInitialValue(), nullptr);
    EXPECT_NE(net->GetIds()[1]->GetDimensions(), nullptr); // unpacked [0:3]
    EXPECT_NE(net->GetDataType()->GetDimensions(), nullptr); // packed [7:0]
    auto* tri = item<VeriNetDecl>("m", 1);
    ASSERT_NE(tri, nullptr);
    EXPECT_EQ(tri->vectoring, unsigned(VT_VECTORED));
    EXPECT_EQ(item<VeriNetDecl>("m", 2)->GetNetType(), unsigned(VT_UWIRE));
}

TEST(VeriDeclarations, VariablesAndQualifiers) {
    ASSERT_TRUE(veritest::analyze("module m; reg [3:0] r; logic signed [1:0][3:0] l; int q[$]; int aa[string];\n"
                                  "  var v; const int C = 1; event e; endmodule\n"));
    auto* r = item<VeriDataDecl>("m", 0);
    EXPECT_EQ(r->GetDataType()->GetType(), unsigned(VT_REG));
    auto* l = item<VeriDataDecl>("m", 1);
    EXPECT_EQ(l->GetDataType()->GetSigning(), unsigned(VT_SIGNED));
    ASSERT_NE(l->GetDataType()->GetDimensions(), nullptr);
    EXPECT_NE(l->GetDataType()->GetDimensions()->GetNext(), nullptr);
    EXPECT_EQ(item<VeriDataDecl>("m", 2)->GetIds()[0]->GetDimensions()->GetLeft()->GetClassId(), ID_VERIDOLLAR);
    EXPECT_EQ(item<VeriDataDecl>("m", 4)->GetDeclType(), unsigned(VT_VAR));
    EXPECT_EQ(item<VeriDataDecl>("m", 5)->GetDeclType(), unsigned(VT_CONST));
    EXPECT_EQ(item<VeriDataDecl>("m", 6)->GetDataType()->GetType(), unsigned(VT_EVENT));
}

TEST(VeriDeclarations, TypedefsOfStructsUnionsAndEnums) {
    ASSERT_TRUE(veritest::analyze("package p;\n"
                                  "  typedef struct packed { logic [3:0] a; logic b; } s_t;\n"
                                  "  typedef union { int i; shortreal f; } u_t;\n"
                                  "  typedef enum logic [1:0] { A = 2'd0, B, C[2] } e_t;\n"
                                  "  typedef class fwd;\n"
                                  "  class fwd; endclass\n"
                                  "endpackage\n"));
    auto* s = item<VeriDataDecl>("p", 0);
    ASSERT_TRUE(s && s->IsTypedef());
    auto* su = dynamic_cast<VeriStructUnion*>(s->GetDataType());
    ASSERT_NE(su, nullptr);
    EXPECT_TRUE(su->packed);
    EXPECT_EQ(su->members.Size(), 2u);
    EXPECT_EQ(s->GetIds()[0]->GetClassId(), ID_VERITYPEID);
    auto* u = dynamic_cast<VeriStructUnion*>(item<VeriDataDecl>("p", 1)->GetDataType());
    ASSERT_NE(u, nullptr);
    EXPECT_EQ(u->GetType(), unsigned(VT_UNION));
    auto* e = dynamic_cast<VeriEnum*>(item<VeriDataDecl>("p", 2)->GetDataType());
    ASSERT_NE(e, nullptr);
    ASSERT_EQ(e->literals.Size(), 3u);
    EXPECT_NE(e->literals[0]->GetInitialValue(), nullptr);
    EXPECT_NE(e->literals[2]->GetDimensions(), nullptr);
    EXPECT_EQ(e->baseType->GetType(), unsigned(VT_LOGIC));
    auto* fwd = item<VeriDataDecl>("p", 3);
    ASSERT_NE(fwd, nullptr);
    EXPECT_EQ(fwd->GetIds()[0]->Name(), "fwd");
}

TEST(VeriDeclarations, InterfacesWithModports) {
    ASSERT_TRUE(veritest::analyze("interface bus #(parameter W = 8) (input clk);\n"
                                  "  logic [W-1:0] data; logic valid;\n"
                                  "  modport master(output data, valid, input clk, import task send(int x)),\n"
                                  "          slave(input data, .v(valid));\n"
                                  "  clocking cb @(posedge clk); input data; endclocking\n"
                                  "endinterface\n"));
    VeriModule* bus = veritest::unit("bus");
    ASSERT_TRUE(bus && bus->IsInterface());
    auto* mp = item<VeriModport>("bus", 2);
    ASSERT_NE(mp, nullptr);
    ASSERT_EQ(mp->decls.Size(), 2u);
    VeriModportDecl* master = mp->decls[0];
    EXPECT_EQ(master->id->Name(), "master");
    ASSERT_EQ(master->ports.Size(), 4u);
    EXPECT_EQ(master->ports[1]->GetDir(), unsigned(VT_OUTPUT)); // valid inherits output
    EXPECT_EQ(master->ports[2]->GetDir(), unsigned(VT_INPUT));
    EXPECT_EQ(master->ports[3]->GetDir(), unsigned(VT_IMPORT));
    EXPECT_EQ(master->ports[3]->Name(), "send");
    EXPECT_NE(mp->decls[1]->ports[1]->expr, nullptr);
    auto* cb = item<VeriClockingDecl>("bus", 3);
    ASSERT_NE(cb, nullptr);
    EXPECT_EQ(cb->GetId()->Name(), "cb");
}

TEST(VeriDeclarations, SubprogramsAndDpi) {
    ASSERT_TRUE(
        veritest::analyze("module m;\n"
                          "  import \"DPI-C\" context function int c_add(input int a, input int b);\n"
                          "  function automatic logic [3:0] inc(input logic [3:0] v); inc = v + 1; endfunction\n"
                          "  task t; input a; output b; b = a; endtask\n"
                          "endmodule\n"));
    auto* dpi = item<VeriFunctionDecl>("m", 0);
    ASSERT_NE(dpi, nullptr);
    EXPECT_EQ(dpi->dpi, unsigned(VT_IMPORT));
    ASSERT_EQ(dpi->ports.Size(), 2u); // each port names its direction, so each starts a declaration
    EXPECT_EQ(dynamic_cast<VeriAnsiPortDecl*>(dpi->ports[1])->GetIds().At(0)->Name(), "b");
    auto* inc = item<VeriFunctionDecl>("m", 1);
    ASSERT_NE(inc, nullptr);
    EXPECT_EQ(inc->lifetime, unsigned(VT_AUTOMATIC));
    EXPECT_EQ(inc->returnType->GetType(), unsigned(VT_LOGIC));
    EXPECT_EQ(inc->stmts.Size(), 1u);
    auto* t = item<VeriTaskDecl>("m", 2);
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->decls.Size(), 2u); // old-style port declarations
    EXPECT_EQ(t->GetId()->GetClassId(), ID_VERITASKID);
}

TEST(VeriDeclarations, ConstructsReadOverByName) {
    ASSERT_TRUE(veritest::analyze("module m(input clk, a, b);\n"
                                  "  property p_ab; @(posedge clk) a |-> ##[1:3] b; endproperty\n"
                                  "  sequence s1; a ##1 b; endsequence\n"
                                  "  covergroup cg @(posedge clk); coverpoint a { bins hi = {1}; } endgroup\n"
                                  "  a_ab: assert property (p_ab) else $error(\"x\");\n"
                                  "  specify (a => b) = 1; $setup(a, posedge clk, 2); endspecify\n"
                                  "endmodule\n"
                                  "primitive mux(o, s, a, b); output o; input s, a, b;\n"
                                  "  table 0 1 ? : 1; 1 ? 0 : 0; endtable endprimitive\n"));
    EXPECT_EQ(item<VeriPropertyDecl>("m", 0)->GetId()->Name(), "p_ab");
    EXPECT_EQ(item<VeriSequenceDecl>("m", 1)->GetId()->Name(), "s1");
    EXPECT_EQ(item<VeriCovergroup>("m", 2)->GetId()->Name(), "cg");
    auto* assertion = item<VeriAssertion>("m", 3);
    ASSERT_NE(assertion, nullptr);
    EXPECT_TRUE(assertion->concurrent);
    ASSERT_NE(assertion->GetLabel(), nullptr);
    EXPECT_EQ(assertion->GetLabel()->Name(), "a_ab");
    EXPECT_NE(assertion->elseStmt, nullptr);
    EXPECT_NE(item<VeriSpecifyBlock>("m", 4), nullptr);
    VeriModule* mux = veritest::unit("mux");
    ASSERT_TRUE(mux && mux->IsPrimitive());
    EXPECT_NE(item<VeriTable>("mux", 2), nullptr);
}

} // namespace
