// What the parser builds for the main constructs, how it recovers from errors, and
// that printed trees parse back to the same print.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "VeriTestSupport.h"
#include "hdl/base/ErrorRecovery.h"
#include "hdl/sv/VeriParserMessageIds.h"
#include "hdl/sv/VeriPrettyPrinter.h"
#include "hdl/sv/VeriTokens.h"

using namespace hdl;

namespace {

template <typename T>
T* itemAs(VeriModule* m, size_t i) {
    return m && i < m->GetItems().Size() ? dynamic_cast<T*>(m->GetItems()[i]) : nullptr;
}

TEST(VeriParserUnits, HeadersWithParametersAndPorts) {
    ASSERT_TRUE(veritest::analyze("module m #(parameter int W = 8, parameter type T = logic, localparam L = W*2)\n"
                                  "  (input logic [W-1:0] a, b, output T y, interface bus, my_if.mst port);\n"
                                  "endmodule\n"));
    VeriModule* m = veritest::unit("m");
    ASSERT_NE(m, nullptr);
    EXPECT_TRUE(m->HasAnsiPorts());
    EXPECT_TRUE(m->HasTypeParameters());
    EXPECT_TRUE(m->HasGenericInterfacePorts());
    ASSERT_EQ(m->GetParameters().Size(), 3u);
    auto* w = dynamic_cast<VeriDataDecl*>(m->GetParameters()[0]);
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->GetDeclType(), unsigned(VT_PARAMETER));
    EXPECT_EQ(w->GetDataType()->GetType(), unsigned(VT_INT));
    auto* l = dynamic_cast<VeriDataDecl*>(m->GetParameters()[2]);
    EXPECT_EQ(l->GetDeclType(), unsigned(VT_LOCALPARAM));
    ASSERT_EQ(m->GetPorts().Size(), 4u);
    auto* ab = dynamic_cast<VeriAnsiPortDecl*>(m->GetPorts()[0]);
    ASSERT_NE(ab, nullptr);
    EXPECT_EQ(ab->GetDir(), unsigned(VT_INPUT));
    ASSERT_EQ(ab->GetIds().Size(), 2u); // b shares a's declaration
    EXPECT_EQ(ab->GetIds()[1]->GetDir(), unsigned(VT_INPUT));
    auto* mst = dynamic_cast<VeriAnsiPortDecl*>(m->GetPorts()[3]);
    EXPECT_TRUE(mst->interfacePort);
    EXPECT_EQ(mst->modport, "mst");
}

TEST(VeriParserUnits, NonAnsiPortsTakeTheirDeclarations) {
    ASSERT_TRUE(veritest::analyze("module m(a, y, .z({p, q}));\n"
                                  "  input [3:0] a; output y; reg y;\n"
                                  "  input p, q;\n"
                                  "endmodule\n"));
    VeriModule* m = veritest::unit("m");
    EXPECT_FALSE(m->HasAnsiPorts());
    ASSERT_EQ(m->GetPorts().Size(), 3u);
    auto* a = dynamic_cast<VeriIdRef*>(m->GetPorts()[0]);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(a->GetId(), nullptr);
    EXPECT_TRUE(a->GetId()->IsPort());
    EXPECT_EQ(a->GetId()->GetDir(), unsigned(VT_INPUT));
    EXPECT_EQ(m->GetPorts()[2]->GetClassId(), ID_VERIPORTCONNECT);
}

TEST(VeriParserItems, InstantiationsInAllForms) {
    ASSERT_TRUE(veritest::analyze("module top;\n"
                                  "  sub #(.W(4), .T(logic [1:0])) u0 (.a(x), .b, .*);\n"
                                  "  sub #(8) u1 (x, , y), u2 [3:0] (.a());\n"
                                  "  and #1 g (o, i1, i2);\n"
                                  "  nand (o2, i1, i2);\n"
                                  "endmodule\n"));
    VeriModule* top = veritest::unit("top");
    auto* i0 = itemAs<VeriModuleInstantiation>(top, 0);
    ASSERT_NE(i0, nullptr);
    EXPECT_EQ(i0->GetModuleName(), "sub");
    ASSERT_EQ(i0->GetParamValues().Size(), 2u);
    ASSERT_EQ(i0->GetInstances().Size(), 1u);
    const auto& conns = i0->GetInstances()[0]->GetPortConnects();
    ASSERT_EQ(conns.Size(), 3u);
    EXPECT_EQ(conns[0]->GetClassId(), ID_VERIPORTCONNECT);
    EXPECT_TRUE(static_cast<VeriPortConnect*>(conns[1])->implicit);
    EXPECT_EQ(conns[2]->GetClassId(), ID_VERIDOTSTAR);
    auto* i1 = itemAs<VeriModuleInstantiation>(top, 1);
    ASSERT_EQ(i1->GetInstances().Size(), 2u);
    EXPECT_EQ(i1->GetInstances()[0]->GetPortConnects()[1]->GetClassId(), ID_VERIPORTOPEN);
    EXPECT_NE(i1->GetInstances()[1]->GetDimensions(), nullptr);
    auto* g = itemAs<VeriGateInstantiation>(top, 2);
    ASSERT_NE(g, nullptr);
    EXPECT_EQ(g->GetInstType(), unsigned(VT_AND));
    EXPECT_EQ(g->delays.Size(), 1u);
    auto* g2 = itemAs<VeriGateInstantiation>(top, 3);
    ASSERT_NE(g2, nullptr);
    EXPECT_TRUE(g2->instances[0]->Name().empty());
}

// IEEE 1364-2005 lets gate and UDP instances go unnamed (udp_instance ::=
// [name_of_udp_instance] (...)), with a drive strength and a delay before them. Whether
// the unit is a UDP is known at elaboration only, so any unit may be named so here.
TEST(VeriParserItems, UnnamedUdpInstancesWithStrengthAndDelay) {
    ASSERT_TRUE(veritest::analyze("primitive inv (o, a); output o; input a; table 0 : 1; 1 : 0; endtable endprimitive\n"
                                  "module top (input a, b, output o1, o2, o3);\n"
                                  "  inv (o1, a);\n"
                                  "  inv #1 (o2, b), (o3, a), named (o1, b);\n"
                                  "  inv (strong0, weak1) #(1, 2) (o2, a);\n"
                                  "  and (o3, a, b);\n"
                                  "  initial begin inv_task(a); end\n  task inv_task(input x); endtask\n"
                                  "endmodule\n"))
        << veritest::errorCount();
    VeriModule* top = veritest::unit("top");
    ASSERT_EQ(top->GetItems().Size(), 6u);
    auto* i0 = itemAs<VeriModuleInstantiation>(top, 0);
    ASSERT_NE(i0, nullptr);
    EXPECT_EQ(i0->GetModuleName(), "inv");
    ASSERT_EQ(i0->GetInstances().Size(), 1u);
    EXPECT_TRUE(i0->GetInstances()[0]->Name().empty());
    EXPECT_EQ(i0->GetInstances()[0]->GetPortConnects().Size(), 2u);
    auto* i1 = itemAs<VeriModuleInstantiation>(top, 1);
    ASSERT_EQ(i1->GetInstances().Size(), 3u);
    EXPECT_EQ(i1->GetParamValues().Size(), 1u);
    EXPECT_TRUE(i1->GetInstances()[1]->Name().empty());
    EXPECT_EQ(i1->GetInstances()[2]->Name(), "named");
    auto* i2 = itemAs<VeriModuleInstantiation>(top, 2);
    ASSERT_NE(i2->strength, nullptr);
    EXPECT_EQ(i2->strength->lval, unsigned(VT_STRONG0));
    EXPECT_EQ(i2->GetParamValues().Size(), 2u);
    EXPECT_NE(itemAs<VeriGateInstantiation>(top, 3), nullptr);
    // The printed form reads back the same.
    std::string first = VeriPrettyPrinter::toString(*top);
    EXPECT_NE(first.find("inv (strong0, weak1) #(1, 2) (o2, a);"), std::string::npos) << first;
    ASSERT_TRUE(veritest::analyze(first)) << first;
    EXPECT_EQ(VeriPrettyPrinter::toString(*veritest::unit("top")), first);
}

TEST(VeriParserItems, UnnamedInstancesNeedTheirEnd) {
    for (const char* broken : {"  inv (o, a) (b);\n", "  inv (o, a) b;\n", "  inv (strong0) (o, a) x;\n"}) {
        EXPECT_FALSE(veritest::analyze(std::string("module top;\n") + broken + "endmodule\n")) << broken;
        EXPECT_EQ(veritest::errorCount(), 1u) << broken;
    }
}

TEST(VeriParserItems, DeclarationOrInstantiationByLookAhead) {
    ASSERT_TRUE(veritest::analyze("package p; typedef logic [3:0] nib_t; endpackage\n"
                                  "module m; import p::*;\n"
                                  "  nib_t a; nib_t [1:0] b; p::nib_t c;\n"
                                  "  child d (a);\n"
                                  "endmodule\n"));
    VeriModule* m = veritest::unit("m");
    EXPECT_EQ(m->GetItems()[1]->GetClassId(), ID_VERIDATADECL);
    EXPECT_EQ(m->GetItems()[2]->GetClassId(), ID_VERIDATADECL);
    EXPECT_EQ(m->GetItems()[3]->GetClassId(), ID_VERIDATADECL);
    EXPECT_EQ(m->GetItems()[4]->GetClassId(), ID_VERIMODULEINSTANTIATION);
    auto* b = itemAs<VeriDataDecl>(m, 2);
    EXPECT_EQ(b->GetDataType()->GetClassId(), ID_VERITYPEREF);
    EXPECT_NE(b->GetDataType()->GetDimensions(), nullptr);
}

TEST(VeriParserItems, GenerateConstructs) {
    ASSERT_TRUE(veritest::analyze("module m #(parameter N = 4, parameter MODE = 0) ();\n"
                                  "  genvar i;\n"
                                  "  for (i = 0; i < N; i++) begin : g\n"
                                  "    wire w;\n"
                                  "  end\n"
                                  "  generate if (MODE == 0) begin : a end else if (MODE == 1) begin end endgenerate\n"
                                  "  case (MODE) 0, 1: begin : c0 end default: ; endcase\n"
                                  "endmodule\n"));
    VeriModule* m = veritest::unit("m");
    auto* f = itemAs<VeriGenerateFor>(m, 1);
    ASSERT_NE(f, nullptr);
    ASSERT_NE(f->GetBlockId(), nullptr);
    EXPECT_EQ(f->GetBlockId()->Name(), "g");
    auto* region = itemAs<VeriGenerateConstruct>(m, 2);
    ASSERT_NE(region, nullptr);
    auto* cond = dynamic_cast<VeriGenerateConditional*>(region->GetItems().At(0));
    ASSERT_NE(cond, nullptr);
    EXPECT_EQ(cond->GetElseItem()->GetClassId(), ID_VERIGENERATECONDITIONAL);
    auto* c = itemAs<VeriGenerateCase>(m, 3);
    ASSERT_NE(c, nullptr);
    ASSERT_EQ(c->items.Size(), 2u);
    EXPECT_EQ(c->items[0]->conditions.Size(), 2u);
    EXPECT_TRUE(c->items[1]->conditions.Empty());
}

TEST(VeriParserStatements, ProceduralCode) {
    ASSERT_TRUE(veritest::analyze(
        "module m (input clk, rst_n); logic [7:0] q; int k;\n"
        "  always_ff @(posedge clk or negedge rst_n) if (!rst_n) q <= '0; else q <= q + 1;\n"
        "  always_comb begin : blk unique case (q) inside [0:3]: k = 1; default: k = 2; endcase end\n"
        "  initial begin for (int i = 0; i < 4; i++) k += i; foreach (q[j]) q[j] = 1'b0;\n"
        "    #5 k = {<<{q}}; assert (k > 0) else $error(\"bad\"); k = int'(q) inside {1, [2:3]}; end\n"
        "endmodule\n"));
    VeriModule* m = veritest::unit("m");
    auto* ff = itemAs<VeriAlwaysConstruct>(m, 2);
    ASSERT_NE(ff, nullptr);
    EXPECT_EQ(ff->kind, unsigned(VT_ALWAYS_FF));
    auto* ev = dynamic_cast<VeriEventControlStatement*>(ff->stmt);
    ASSERT_NE(ev, nullptr);
    EXPECT_EQ(ev->control->events.Size(), 2u);
    auto* iff = dynamic_cast<VeriConditionalStatement*>(ev->stmt);
    ASSERT_NE(iff, nullptr);
    EXPECT_EQ(iff->thenStmt->GetClassId(), ID_VERINONBLOCKINGASSIGN);
    auto* comb = itemAs<VeriAlwaysConstruct>(m, 3);
    auto* blk = dynamic_cast<VeriSeqBlock*>(comb->stmt);
    ASSERT_NE(blk, nullptr);
    auto* cs = dynamic_cast<VeriCaseStatement*>(blk->stmts.At(0));
    ASSERT_NE(cs, nullptr);
    EXPECT_TRUE(cs->inside);
    EXPECT_EQ(cs->qualifier, unsigned(VT_UNIQUE));
    auto* init = itemAs<VeriInitialConstruct>(m, 4);
    auto* body = dynamic_cast<VeriSeqBlock*>(init->stmt);
    ASSERT_EQ(body->stmts.Size(), 5u);
    EXPECT_EQ(body->stmts[0]->GetClassId(), ID_VERIFOR);
    EXPECT_EQ(body->stmts[1]->GetClassId(), ID_VERIFOREACH);
    EXPECT_EQ(body->stmts[2]->GetClassId(), ID_VERIDELAYCONTROLSTATEMENT);
    EXPECT_EQ(body->stmts[3]->GetClassId(), ID_VERIASSERTION);
}

TEST(VeriParserRecovery, KeepsGoingAfterErrors) {
    EXPECT_FALSE(veritest::analyze("module a; wire = ; assign x = ; endmodule\n"
                                   "module b; always @(posedge c) begin x <= ; y <= 1; end endmodule\n"
                                   "module c; endmodule\n"));
    EXPECT_GE(veritest::errorCount(), 3u);
    EXPECT_NE(veritest::unit("a"), nullptr);
    EXPECT_NE(veritest::unit("b"), nullptr);
    EXPECT_NE(veritest::unit("c"), nullptr);
    for (const auto& d : veritest::diagnostics()) EXPECT_EQ(d.id.substr(0, 5), "VERI-");
}

// One error per broken place: the errors that follow within three tokens of the last
// are its echoes, however long the run of garbage goes on.
TEST(VeriParserRecovery, AnErrorsEchoesAreNotTold) {
    std::string garbage;
    for (int i = 0; i < 5000; ++i) garbage += " x";
    EXPECT_FALSE(veritest::analyze("module a;\n wire" + garbage +
                                   ";\n assign = = = ;\n"
                                   " assign y = 1;\n foo bar baz (a) (b);\nendmodule\n"));
    std::vector<uint32_t> lines;
    for (const auto& d : veritest::diagnostics())
        if (d.type == MSG_ERROR) lines.push_back(d.line);
    EXPECT_EQ(lines, (std::vector<uint32_t>{2, 3, 5}));
}

// Garbage costs one message: each error after the first lies within the echo window of
// the one before, whatever the garbage and however the parser skips to recover.
TEST(VeriParserRecovery, GarbageCostsOneMessage) {
    for (const char* soup :
         {"x 3 ( ; ) = y <= , ", "a b c ( ) [ ] ; ", "{ } [ : ] # . ; ", "entity ; ", "architecture of is ; "}) {
        std::string junk;
        for (int i = 0; i < 500; ++i) junk += soup;
        EXPECT_FALSE(veritest::analyze(junk));
        EXPECT_EQ(veritest::errorCount(), 1u) << soup;
    }
}

// Errors with good text between them are each told, up to the cap per file, which the
// closing message follows; the next file starts with a cap of its own.
TEST(VeriParserRecovery, TheCapHoldsPerFile) {
    auto broken = [](int count) {
        std::string text = "module m;\n";
        for (int i = 0; i < count; ++i)
            text += "  wire w" + std::to_string(i) + " = ;\n  wire v" + std::to_string(i) + " = 1;\n";
        return text + "endmodule\n";
    };
    veritest::analyze(broken(60));
    const unsigned cap = ErrorRecovery::kMaxErrorsPerFile;
    ASSERT_EQ(veritest::errorCount(), cap + 1);
    const veritest::Diagnostic& last = veritest::diagnostics().back();
    EXPECT_EQ(last.id, veri_msg::kSyntaxError);
    EXPECT_EQ(last.text, "too many syntax errors, the rest of the file's errors are not told");
    EXPECT_EQ(last.line, 2 + 2 * (cap - 1));
    Message::RegisterCallBackMsg(veritest::collect);
    veri_file::AnalyzeText(broken(5), "other.sv", SYSTEM_VERILOG, "work");
    Message::RegisterCallBackMsg(nullptr);
    EXPECT_EQ(veritest::errorCount(), cap + 1 + 5);
}

// Real code with two mistakes far apart: both are told, at their lines, and nothing else.
TEST(VeriParserRecovery, SeparateMistakesInRealCodeAreEachTold) {
    const std::string path = std::string(SIFT_SHARED_DIR) + "/corpus/serv/rtl/serv_alu.v";
    std::ifstream in(path);
    if (!in) GTEST_SKIP() << "no corpus file " << path;
    std::stringstream buffer;
    buffer << in.rdbuf();
    std::string text = buffer.str();
    EXPECT_TRUE(veritest::analyze(text));
    EXPECT_EQ(veritest::errorCount(), 0u);
    auto breakAt = [&text](const std::string& from, const std::string& to) {
        const size_t at = text.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        text.replace(at, from.size(), to);
    };
    breakAt("wire        add_cy;", "wire        add_cy");
    breakAt("assign result_slt[0] = cmp_r & i_cnt0;", "assign result_slt[0] = cmp_r & ;");
    EXPECT_FALSE(veritest::analyze(text));
    std::vector<uint32_t> lines;
    for (const auto& d : veritest::diagnostics())
        if (d.type == MSG_ERROR) lines.push_back(d.line);
    EXPECT_EQ(lines, (std::vector<uint32_t>{37, 67}));
}

TEST(VeriParserRecovery, MissingEndAndGarbageDoNotHang) {
    EXPECT_FALSE(veritest::analyze("module a; initial begin x = 1;\nmodule b; endmodule\n"));
    EXPECT_FALSE(veritest::analyze(std::string("\x01\x02module \xff\xfe (((( [[[[ endmodule", 31)));
    std::string deep(100000, '(');
    EXPECT_FALSE(veritest::analyze("module d; assign x = " + deep + "; endmodule\nmodule e; endmodule\n"));
    EXPECT_NE(veritest::unit("e"), nullptr);
}

TEST(VeriPrettyPrinter, PrintParsesBackToTheSamePrint) {
    const char* source =
        "package p; typedef struct packed { logic [3:0] a; bit b; } s_t; localparam int K = 3; endpackage\n"
        "module m import p::*; #(parameter W = 4, parameter type T = int) (input logic [W-1:0] a, output s_t y);\n"
        "  wire [W-1:0] w = a;\n"
        "  assign y.a = a[3:0] ^ {2{a[1:0]}};\n"
        "  sub #(.X(W)) u (.i(a), .o(), .*);\n"
        "  for (genvar i = 0; i < W; i = i + 1) begin : g assign w[i] = ~a[i]; end\n"
        "  always @(posedge a[0]) begin : blk if (a == 0) y <= '{default: 0}; else case (a) 1, 2: ; default: y.b <= 1; "
        "endcase end\n"
        "  function automatic int f(input int x, output bit z); return x + K; endfunction\n"
        "endmodule\n"
        "package q; class c; rand int v; extern virtual task t(int n); function new(); v = 0; endfunction endclass "
        "endpackage\n";
    ASSERT_TRUE(veritest::analyze(source));
    std::string first;
    for (const char* name : {"p", "m", "q"}) first += VeriPrettyPrinter::toString(*veritest::unit(name));
    ASSERT_TRUE(veritest::analyze(first)) << first;
    std::string second;
    for (const char* name : {"p", "m", "q"}) second += VeriPrettyPrinter::toString(*veritest::unit(name));
    EXPECT_EQ(first, second);
}

} // namespace

namespace {

TEST(VeriParserClasses, MembersAreReadAndNamed) {
    ASSERT_TRUE(veritest::analyze("package p;\n"
                                  "  class base #(type T = int) extends root #(T);\n"
                                  "    rand bit [3:0] data; local int count;\n"
                                  "    constraint c { data < 10; }\n"
                                  "    extern virtual protected task run(int n);\n"
                                  "    function new(int n = 0); count = n; endfunction\n"
                                  "    typedef class helper;\n"
                                  "    class helper; endclass\n"
                                  "  endclass\n"
                                  "endpackage\n"));
    VeriModule* p = veritest::unit("p");
    auto* cls = dynamic_cast<VeriClass*>(p->GetItems().At(0));
    ASSERT_NE(cls, nullptr);
    EXPECT_EQ(cls->GetId()->Name(), "base");
    ASSERT_EQ(cls->items.Size(), 8u); // parameter, two members, constraint, prototype, new, typedef, its class
    EXPECT_EQ(cls->parameters, 1u);
    ASSERT_EQ(cls->extends.Size(), 1u);
    auto* base = dynamic_cast<VeriTypeRef*>(cls->extends[0]);
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(base->typeName->GetName(), "root");
    EXPECT_EQ(base->paramValues.Size(), 1u);
    EXPECT_TRUE(cls->implements.Empty());
    EXPECT_EQ(std::vector<unsigned>(cls->items[1]->GetQualifiers().begin(), cls->items[1]->GetQualifiers().end()),
              std::vector<unsigned>{VT_RAND});
    auto* proto = dynamic_cast<VeriTaskDecl*>(cls->items[4]);
    ASSERT_NE(proto, nullptr);
    EXPECT_TRUE(proto->prototype);
    auto* ctor = dynamic_cast<VeriFunctionDecl*>(cls->items[5]);
    ASSERT_NE(ctor, nullptr);
    EXPECT_EQ(ctor->GetId()->Name(), "new");
    EXPECT_NE(cls->scope->findLocal("count"), nullptr);
}

} // namespace
