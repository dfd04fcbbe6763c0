// Verilog elaboration: parameters through the hierarchy, generates, copies and what the
// libraries show of them afterwards, binding, and the mistakes that must be reported.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include "VeriElabFixture.h"
#include "hdl/elab/ElabHierPrinter.h"
#include "hdl/elab/VeriElaborator.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {
namespace {

const char* kLeafAndMid = R"(
module leaf #(parameter W = 8, parameter D = W * 2) ();
endmodule
module mid #(parameter N = 2) ();
  for (genvar i = 0; i < N; i++) begin : g
    leaf #(.W(4 * (i + 1))) u ();
  end
  leaf same ();
  leaf #(8) alsoSame ();
endmodule
)";

TEST_F(VeriElaboratorTest, OneCopyPerDistinctParameterSetDefaultsNotCopied) {
    Analyze(std::string(kLeafAndMid) + "module top; mid a (); mid #(3) b (); mid #(.N(2)) c (); endmodule\n");
    EXPECT_EQ(Hier({"top"}), "top\ttop\ttop\n"
                             "top.a\tmid\tmid\n"
                             "top.a.g[0].u\tleaf\tleaf(W=4)\n"
                             "top.a.g[1].u\tleaf\tleaf\n"
                             "top.a.same\tleaf\tleaf\n"
                             "top.a.alsoSame\tleaf\tleaf\n"
                             "top.b\tmid\tmid(N=3)\n"
                             "top.b.g[0].u\tleaf\tleaf(W=4)\n"
                             "top.b.g[1].u\tleaf\tleaf\n"
                             "top.b.g[2].u\tleaf\tleaf(W=12)\n"
                             "top.b.same\tleaf\tleaf\n"
                             "top.b.alsoSame\tleaf\tleaf\n"
                             "top.c\tmid\tmid\n"
                             "top.c.g[0].u\tleaf\tleaf(W=4)\n"
                             "top.c.g[1].u\tleaf\tleaf\n"
                             "top.c.same\tleaf\tleaf\n"
                             "top.c.alsoSame\tleaf\tleaf\n");
    EXPECT_TRUE(ok);
    // top, mid, mid(N=3), leaf and two copies of leaf (W=8 is the default): a DAG.
    EXPECT_EQ(units, 6u);

    // The libraries: copies named by their values, with their original and the bit.
    VeriLibrary* work = veri_file::GetLibrary("work");
    VeriModule* copy = work->GetModule("mid(N=3)");
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->GetOriginalModuleName(), "mid");
    EXPECT_TRUE(copy->IsElaborated());
    EXPECT_TRUE(work->GetModule("mid")->IsElaborated());
    EXPECT_TRUE(work->GetModule("leaf(W=12)"));
    EXPECT_FALSE(work->GetModule("leaf(W=8)")); // the default is no copy
    // The copy's scope holds the instances of the elaborated hierarchy: the generate
    // iterations' ones made by elaboration, each with its instantiation and bound module.
    std::vector<std::string> ids = InstanceIds(copy);
    EXPECT_EQ(ids, (std::vector<std::string>{"same", "alsoSame", "g[0].u", "g[1].u", "g[2].u"}));
    auto* made = dynamic_cast<VeriInstId*>(copy->GetScope()->findLocal("g[2].u"));
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->IsGenerateElabCreated());
    auto* inst = dynamic_cast<VeriModuleInstantiation*>(made->declaration);
    ASSERT_TRUE(inst);
    ASSERT_TRUE(inst->GetInstantiatedModule());
    EXPECT_EQ(inst->GetInstantiatedModule()->Name(), "leaf(W=12)");
    auto* parsed = dynamic_cast<VeriInstId*>(copy->GetScope()->findLocal("same"));
    ASSERT_TRUE(parsed);
    EXPECT_FALSE(parsed->IsGenerateElabCreated());
    EXPECT_EQ(dynamic_cast<VeriModuleInstantiation*>(parsed->declaration)->GetInstantiatedModule()->Name(), "leaf");
    // The copy shares no node with its original.
    EXPECT_NE(copy->GetScope(), work->GetModule("mid")->GetScope());
}

// Nodes of a tree, in walk order.
struct AllNodes : VeriVisitor {
    std::vector<VeriTreeNode*> nodes;
    void PreVisit(VeriTreeNode& n) override { nodes.push_back(&n); }
};

// Copies made one after the other by one elaboration: each is a tree of its own, whose
// references lead into itself (or out of the module), never into another copy.
TEST_F(VeriElaboratorTest, CopiesOfOneModuleShareNothingWithEachOther) {
    Analyze(R"(
module leaf #(parameter W = 1) (input logic [W-1:0] d, output logic [W-1:0] q);
  logic [W-1:0] r;
  always_comb begin r = d; q = r ^ {W{1'b1}}; end
  if (W > 2) begin : wide leaf #(.W(W - 1)) inner (.d(d[W-2:0]), .q()); end
endmodule
module top; for (genvar i = 1; i <= 5; i++) begin : g leaf #(.W(i)) u (.d(), .q()); end endmodule
)");
    EXPECT_NE(Hier({"top"}).find("top.g[5].u.wide.inner\tleaf\tleaf(W=4)"), std::string::npos);
    ASSERT_TRUE(ok);
    VeriLibrary* work = veri_file::GetLibrary("work");
    std::map<VeriTreeNode*, std::string> owner;
    std::vector<std::pair<std::string, AllNodes>> copies;
    for (int w = 2; w <= 5; ++w) {
        std::string name = "leaf(W=" + std::to_string(w) + ")";
        VeriModule* copy = work->GetModule(name);
        ASSERT_TRUE(copy) << name;
        AllNodes walk;
        walk.TraverseNode(copy);
        for (VeriTreeNode* n : walk.nodes) EXPECT_TRUE(owner.emplace(n, name).second) << name << " shares a node";
        copies.push_back({name, std::move(walk)});
    }
    size_t references = 0;
    for (auto& [name, walk] : copies) {
        for (VeriTreeNode* n : walk.nodes) {
            auto* ref = dynamic_cast<VeriIdRef*>(n);
            if (!ref || !ref->id) continue;
            ++references;
            auto at = owner.find(ref->id);
            if (at != owner.end()) {
                EXPECT_EQ(at->second, name) << ref->name << " leads into another copy";
            }
        }
    }
    EXPECT_GT(references, 20u);
}

TEST_F(VeriElaboratorTest, GenerateNamesFollowTheStandard) {
    Analyze(R"(
module leaf; endmodule
module top #(parameter M = 1);
  if (M == 0) leaf never ();
  else if (M == 1) leaf one ();          // genblk1: the chain is one construct
  else begin : named leaf two (); end
  for (genvar i = 6; i > 0; i -= 3) leaf u ();    // genblk2[6], genblk2[3]
  case (M)
    0: leaf zero ();
    default: begin leaf other (); end     // genblk3
  endcase
  logic genblk4;                          // the name is taken: genblk04
  if (1) begin if (1) leaf deep (); end   // genblk04.genblk1
  leaf arr [1:3] ();
endmodule
)");
    EXPECT_EQ(Hier({"top"}), "top\ttop\ttop\n"
                             "top.genblk1.one\tleaf\tleaf\n"
                             "top.genblk2[6].u\tleaf\tleaf\n"
                             "top.genblk2[3].u\tleaf\tleaf\n"
                             "top.genblk3.other\tleaf\tleaf\n"
                             "top.genblk04.genblk1.deep\tleaf\tleaf\n"
                             "top.arr[1]\tleaf\tleaf\n"
                             "top.arr[2]\tleaf\tleaf\n"
                             "top.arr[3]\tleaf\tleaf\n");
    // The value from outside changes the chosen alternative, and the top's name.
    EXPECT_EQ(Hier({"top"}, {{"m", "2"}}), "top\ttop\ttop(M=2)\n"
                                           "top.named.two\tleaf\tleaf\n"
                                           "top.genblk2[6].u\tleaf\tleaf\n"
                                           "top.genblk2[3].u\tleaf\tleaf\n"
                                           "top.genblk3.other\tleaf\tleaf\n"
                                           "top.genblk04.genblk1.deep\tleaf\tleaf\n"
                                           "top.arr[1]\tleaf\tleaf\n"
                                           "top.arr[2]\tleaf\tleaf\n"
                                           "top.arr[3]\tleaf\tleaf\n");
    EXPECT_TRUE(veri_file::GetModule("top(M=2)"));
}

TEST_F(VeriElaboratorTest, DefparamsTypeParametersAndNonAnsiParameters) {
    Analyze(R"(
module leaf #(parameter type T = logic, parameter W = $bits(T)) (); endmodule
module old (); parameter P = 1; parameter Q = P + 1; localparam L = 3; endmodule
module mid (); leaf #(.T(logic [W_OF_MID-1:0])) x (); localparam W_OF_MID = 5; old o (); endmodule
module top;
  mid m ();
  old p ();
  defparam p.Q = 7;
  defparam m.o.P = 4;
  old #(2, 3) q ();
  old #(.P(9)) r ();
endmodule
)");
    EXPECT_EQ(Hier({"top"}), "top\ttop\ttop\n"
                             "top.m\tmid\tmid\n"
                             "top.m.x\tleaf\tleaf(T=logic[4:0])\n"
                             "top.m.o\told\told(P=4)\n"
                             "top.p\told\told(Q=7)\n"
                             "top.q\told\told(P=2,Q=3)\n"
                             "top.r\told\told(P=9)\n");
    EXPECT_TRUE(ok);
}

TEST_F(VeriElaboratorTest, BindingOwnLibraryFirstThenSearchOrder) {
    Analyze("module leaf; endmodule\nmodule only_lib; endmodule\n", "lib");
    Analyze("module leaf #(parameter A = 1); endmodule\n"
            "module top; leaf u (); only_lib v (); endmodule\n",
            "work");
    EXPECT_EQ(Hier({"top"}), "top\ttop\ttop\n"
                             "top.u\tleaf\tleaf\n"
                             "top.v\tonly_lib\tonly_lib\n");
    // u binds to work's leaf, though lib was analysed first; v is found in lib.
    VeriModule* top = veri_file::GetModule("top", "work");
    auto* u = dynamic_cast<VeriInstId*>(top->GetScope()->findLocal("u"));
    auto* v = dynamic_cast<VeriInstId*>(top->GetScope()->findLocal("v"));
    ASSERT_TRUE(u && v);
    EXPECT_EQ(dynamic_cast<VeriModuleInstantiation*>(u->declaration)->GetInstantiatedModule()->GetLibrary()->GetName(),
              "work");
    EXPECT_EQ(dynamic_cast<VeriModuleInstantiation*>(v->declaration)->GetInstantiatedModule()->GetLibrary()->GetName(),
              "lib");
    EXPECT_EQ(VeriFindModule("leaf", "lib", nullptr)->GetLibrary()->GetName(), "lib");
}

TEST_F(VeriElaboratorTest, SeveralTopsShareCopiesAndInterfacesAreInstances) {
    Analyze(R"(
interface bus #(parameter W = 1); logic [W-1:0] d; modport m (input d); endinterface
module user (bus.m b); endmodule
module any_bus (interface b); endmodule
module t1; bus #(4) b (); user u (.b(b)); any_bus a (.b(b)); endmodule
module t2; bus #(.W(4)) b (); endmodule
)");
    EXPECT_EQ(Hier(), "t1\tt1\tt1\n"
                      "t1.b\tbus\tbus(W=4)\n"
                      "t1.u\tuser\tuser\n"
                      "t1.a\tany_bus\tany_bus\n"
                      "t2\tt2\tt2\n"
                      "t2.b\tbus\tbus(W=4)\n");
    EXPECT_EQ(units, 5u); // bus(W=4) once for both tops
    EXPECT_TRUE(veri_file::GetModule("any_bus")->HasGenericInterfacePorts());
    EXPECT_FALSE(veri_file::GetModule("user")->HasGenericInterfacePorts());
}

TEST_F(VeriElaboratorTest, BindDirectivesAddInstances) {
    Analyze(R"(
module checker_m #(parameter N = 1) (); endmodule
module dut #(parameter W = 1) (); endmodule
module top; dut a (); dut #(2) b (); endmodule
bind dut checker_m #(.N(5)) chk ();
)");
    EXPECT_EQ(Hier({"top"}), "top\ttop\ttop\n"
                             "top.a\tdut\tdut\n"
                             "top.a.chk\tchecker_m\tchecker_m(N=5)\n"
                             "top.b\tdut\tdut(W=2)\n"
                             "top.b.chk\tchecker_m\tchecker_m(N=5)\n");
    // The bound instance is in the scope of each elaborated dut, made by elaboration.
    auto* chk = dynamic_cast<VeriInstId*>(veri_file::GetModule("dut(W=2)")->GetScope()->findLocal("chk"));
    ASSERT_TRUE(chk);
    EXPECT_TRUE(chk->IsGenerateElabCreated());
    EXPECT_EQ(dynamic_cast<VeriModuleInstantiation*>(chk->declaration)->GetInstantiatedModule()->Name(),
              "checker_m(N=5)");
    // A bind into a module that nothing uses adds nothing; a bind of a missing module warns.
    veri_file::Reset();
    Analyze("module dut; endmodule\nmodule top; dut a (); endmodule\nbind dut no_such_checker c ();\n");
    EXPECT_EQ(Hier({"top"}), "top\ttop\ttop\ntop.a\tdut\tdut\ntop.a.c\tno_such_checker\tno_such_checker\n");
    EXPECT_TRUE(Told("VERI-1605"));
}

TEST_F(VeriElaboratorTest, BindsIntoListedInstancesOnly) {
    // Two instances of mid share one unit until a bind reaches one of their subtrees.
    const char* design = R"(
module chk; endmodule
module dut; endmodule
module mid; dut d (); endmodule
module top; mid m1 (); mid m2 (); dut x (); endmodule
)";
    Analyze(std::string(design) + "bind dut : top.m2.d, x chk c ();\n");
    EXPECT_EQ(Hier({"top"}), "top\ttop\ttop\n"
                             "top.m1\tmid\tmid\n"
                             "top.m1.d\tdut\tdut\n"
                             "top.m2\tmid\tmid\n"
                             "top.m2.d\tdut\tdut\n"
                             "top.m2.d.c\tchk\tchk\n"
                             "top.x\tdut\tdut\n"
                             "top.x.c\tchk\tchk\n");
    EXPECT_TRUE(ok);
    // A path alone binds into that instance, whatever its module.
    veri_file::Reset();
    Analyze(std::string(design) + "bind top.m1 chk c ();\n");
    EXPECT_EQ(Hier({"top"}), "top\ttop\ttop\n"
                             "top.m1\tmid\tmid\n"
                             "top.m1.d\tdut\tdut\n"
                             "top.m1.c\tchk\tchk\n"
                             "top.m2\tmid\tmid\n"
                             "top.m2.d\tdut\tdut\n"
                             "top.x\tdut\tdut\n");
    // A listed path that names no instance of the module binds nowhere.
    veri_file::Reset();
    Analyze(std::string(design) + "bind dut : top.m3.d chk c ();\n");
    EXPECT_EQ(Hier({"top"}).find(".c\t"), std::string::npos);
}

TEST_F(VeriElaboratorTest, GenericInterfacePortsKnowWhatIsConnected) {
    // (Verilator 5.006 and Icarus reject generic interfaces: nothing to compare with.)
    Analyze(R"(interface narrow_if #(parameter int W = 4);
  logic [W-1:0] d;
  modport rx (input d);
  modport tx (output d);
endinterface

interface wide_if;
  logic [31:0] d;
  modport rx (input d);
endinterface

module leaf;
endmodule

module sink (interface.rx bus);
  leaf l ();
endmodule

// Hands its generic port on to a generic port below.
module relay (interface bus);
  sink s (.bus(bus));
  leaf l ();
endmodule

module top;
  narrow_if n ();
  wide_if w ();
  sink s0 (.bus(n));
  sink s1 (.bus(w.rx));
  relay r0 (.bus(w));
  for (genvar i = 0; i < 2; i++) begin : g
    narrow_if #(.W(i + 1)) local_if ();
    relay r (.bus(local_if));
  end
endmodule
)");
    ElabDesign design;
    test::MessageCapture capture;
    ASSERT_TRUE(VeriElaborate(design, {{"top", "", ""}}, {})) << capture.Errors();
    // Each unit of sink and relay lists the interface unit its port reaches, and the modport.
    std::map<std::string, std::string> seen; // instance path -> "interface.modport"
    std::function<void(ElabUnitId, const std::string&)> walk = [&](ElabUnitId id, const std::string& path) {
        const ElabUnit& u = design.Unit(id);
        if (!u.interfacePorts.empty()) {
            ASSERT_EQ(u.interfacePorts.size(), 1u) << path;
            const ElabUnit::InterfacePort& p = u.interfacePorts[0];
            EXPECT_EQ(p.port, "bus");
            seen[path] = (p.unit ? design.Unit(p.unit).copyName : "?") + "." + p.modport;
        }
        for (const ElabInstance& i : u.instances) walk(i.unit, path + "." + i.name);
    };
    walk(design.tops.at(0).unit, "top");
    EXPECT_EQ(seen, (std::map<std::string, std::string>{{"top.s0", "narrow_if.rx"},
                                                        {"top.s1", "wide_if.rx"},
                                                        {"top.r0", "wide_if."},
                                                        {"top.r0.s", "wide_if.rx"},
                                                        {"top.g[0].r", "narrow_if(W=1)."},
                                                        {"top.g[0].r.s", "narrow_if(W=1).rx"},
                                                        {"top.g[1].r", "narrow_if(W=2)."},
                                                        {"top.g[1].r.s", "narrow_if(W=2).rx"}}));
    // Broken variants: the port connected to a net, or left open.
    for (const char* actual : {"wire x; sink s (.bus(x));", "sink s ();", "sink s (.bus());"}) {
        veri_file::Reset();
        Analyze("interface i; modport rx (); endinterface\nmodule sink (interface.rx bus); endmodule\n"
                "module top; " +
                std::string(actual) + " endmodule\n");
        std::string hier = Hier({"top"});
        EXPECT_FALSE(ok) << actual;
        EXPECT_TRUE(Told("VERI-1612")) << actual;
        EXPECT_EQ(hier.find("top.s"), std::string::npos) << actual;
    }
}

TEST_F(VeriElaboratorTest, AContinuouslyAssignedVariableHasNoOtherWriter) {
    // Legal: nets with several drivers, variables written only procedurally, different
    // bits from generate iterations, a declaration's initial value, a port.
    Analyze(R"(
module ok (output logic o);
  wire w;
  assign w = 1'b0;
  assign w = 1'b1;
  logic [3:0] v;
  logic p = 1'b0;
  for (genvar i = 0; i < 4; i++) begin : g
    assign v[i] = 1'b1;
  end
  logic r;
  always_comb r = w;
  initial p = 1'b1;
  assign o = r;
endmodule
)");
    Hier({"ok"});
    EXPECT_TRUE(ok);
    EXPECT_FALSE(Told("VERI-1613"));
    // Broken: a second continuous assignment; a procedural write, also of one bit or
    // through a concatenation.
    for (const char* writer : {"assign v = 1;", "always_comb v = 0;", "initial v[1] <= 0;", "always @* {a, v} = 0;"}) {
        veri_file::Reset();
        Analyze("module bad; logic a; logic [1:0] v; assign v = 2; " + std::string(writer) + " endmodule\n");
        Hier({"bad"});
        EXPECT_FALSE(ok) << writer;
        EXPECT_EQ(std::count_if(messages.begin(), messages.end(), [](const auto& m) { return m.id == "VERI-1613"; }), 1)
            << writer;
    }
}

TEST_F(VeriElaboratorTest, UnboundModulesAndTheOtherLanguage) {
    Analyze("module top; vhdl_ent #(.G(3)) e (); nowhere n (); endmodule\n");
    std::vector<ElabUnitRequest> asked;
    auto foreign = [&](ElabDesign& design, const ElabUnitRequest& r) -> ElabUnitId {
        asked.push_back(r);
        if (r.name != "vhdl_ent") return 0;
        ElabUnit u;
        u.language = ElabLanguage::Vhdl;
        u.module = r.name;
        u.copyName = r.name + "(g=3)";
        u.architecture = "rtl";
        return design.Add(u);
    };
    EXPECT_EQ(Hier({"top"}, {}, ElabLimits(), foreign), "top\ttop\ttop\n"
                                                        "top.e\tvhdl_ent\tvhdl_ent(g=3)\trtl\n"
                                                        "top.n\tnowhere\tnowhere\n");
    ASSERT_EQ(asked.size(), 2u);
    ASSERT_EQ(asked[0].params.size(), 1u);
    EXPECT_EQ(asked[0].params[0].name, "G");
    EXPECT_EQ(asked[0].params[0].value.kind, ElabParamValue::Integer);
    EXPECT_EQ(asked[0].params[0].value.integer, 3);
    // A missing module is a warning: the binder handles it.
    EXPECT_TRUE(Told("VERI-1605"));
    EXPECT_TRUE(ok);
}

TEST_F(VeriElaboratorTest, MistakesAreReportedAndTheRestElaborates) {
    // The design of the first test, broken: a misspelt parameter, too many values, a
    // generate loop whose step goes the wrong way, a module instantiating itself.
    Analyze(std::string(kLeafAndMid) + R"(
module self #(parameter N = 1); self #(N) again (); endmodule
module deeper #(parameter N = 1); deeper #(N + 1) again (); endmodule
module top;
  mid #(.NN(3)) bad_name ();
  leaf #(1, 2, 3) too_many ();
  for (genvar i = 0; i < 4; i--) begin : g leaf u (); end
  self s ();
  deeper d ();
  mid fine ();
endmodule
)");
    ElabLimits limits;
    limits.loopIterations = 100;
    limits.instanceDepth = 20;
    std::string hier = Hier({"top"}, {{"NOPE", "1"}}, limits);
    EXPECT_FALSE(ok);
    EXPECT_TRUE(Told("VERI-1604")); // .NN and the third value
    EXPECT_TRUE(Told("VERI-1602")); // the loop
    EXPECT_TRUE(Told("VERI-1606")); // the recursions
    EXPECT_NE(hier.find("top.s\tself\tself\n"), std::string::npos);
    EXPECT_EQ(hier.find("top.s.again"), std::string::npos);
    EXPECT_NE(hier.find("top.d.again.again\tdeeper\tdeeper(N=3)\n"), std::string::npos);
    size_t deeper = 0;
    for (size_t at = hier.find("\tdeeper\t"); at != std::string::npos; at = hier.find("\tdeeper\t", at + 1)) ++deeper;
    EXPECT_LE(deeper, limits.instanceDepth);
    EXPECT_GE(deeper, limits.instanceDepth - 2);
    EXPECT_TRUE(Told("VERI-1608")); // -G NOPE
    EXPECT_NE(hier.find("top.fine.g[0].u\tleaf\tleaf(W=4)"), std::string::npos) << hier;
    EXPECT_EQ(hier.find("too_many"), std::string::npos);
    EXPECT_EQ(hier.find("bad_name"), std::string::npos);
    // The real design, unbroken, elaborates without a message.
    veri_file::Reset();
    Analyze(std::string(kLeafAndMid) + "module top; mid #(.N(3)) good (); leaf #(1, 2) two (); endmodule\n");
    Hier({"top"});
    EXPECT_TRUE(ok);
    EXPECT_TRUE(messages.empty());
}

TEST_F(VeriElaboratorTest, TheStatementBoundStopsHugeGenerates) {
    Analyze(R"(
module leaf; endmodule
module top;
  for (genvar i = 0; i < 1000; i++) begin : a
    for (genvar j = 0; j < 1000; j++) begin : b
      leaf u ();
    end
  end
endmodule
)");
    ElabLimits limits;
    limits.statements = 5000;
    std::string hier = Hier({"top"}, {}, limits);
    EXPECT_FALSE(ok);
    EXPECT_TRUE(Told("VERI-1609"));
    EXPECT_LT(std::count(hier.begin(), hier.end(), '\n'), 5000);
}

TEST_F(VeriElaboratorTest, TheOtherLanguageAsksForAModuleAndAConfigurationNamesTops) {
    Analyze(std::string(kLeafAndMid) + "config cfg; design work.mid leaf; endconfig\n"
                                       "config broken; design work.nothing; endconfig\n");
    ElabDesign design;
    VeriElaborator elab(design);
    ElabUnitRequest request{"", "mid", "", {{"", {ElabParamValue::Integer, 3, 0, ""}}}, {}, {}};
    ElabUnitId id = elab.ElaborateForeign(request);
    ASSERT_NE(id, 0u);
    EXPECT_EQ(design.Unit(id).copyName, "mid(N=3)");
    EXPECT_EQ(design.Unit(id).instances.size(), 5u);
    ElabUnitRequest named{"work", "leaf", "", {{"w", {ElabParamValue::Integer, 2, 0, ""}}}, {}, {}};
    EXPECT_EQ(design.Unit(elab.ElaborateForeign(named)).copyName, "leaf(W=2)");
    EXPECT_EQ(elab.ElaborateForeign({"", "absent", "", {}, {}, {}}), 0u);
    EXPECT_TRUE(VeriElaborator::HasParameter(veri_file::GetModule("leaf"), "d"));
    EXPECT_FALSE(VeriElaborator::HasParameter(veri_file::GetModule("leaf"), "x"));
    // The configuration's design statement gives the tops, each elaborated under it and
    // named after both.
    std::string hier = Hier({"cfg"});
    EXPECT_EQ(hier.rfind("mid\tmid\tmid_cfg_default\nmid.g[0].u\tleaf\tleaf(W=4)\n", 0), 0u) << hier;
    EXPECT_NE(hier.find("\nleaf\tleaf\tleaf_cfg_default\n"), std::string::npos) << hier;
    EXPECT_TRUE(ok);
    Hier({"broken"});
    EXPECT_FALSE(ok);
    EXPECT_TRUE(Told("VERI-1607"));
}

TEST_F(VeriElaboratorTest, TopsByDefaultAreTheModulesNothingInstantiates) {
    Analyze("package p; endpackage\ninterface i; endinterface\nmodule a; b x (); endmodule\nmodule b; endmodule\n"
            "module c; endmodule\nprogram pr; endprogram\n");
    std::vector<ElabTopRequest> tops = VeriFindTops();
    std::vector<std::string> names;
    for (const ElabTopRequest& t : tops) names.push_back(t.name);
    EXPECT_EQ(names, (std::vector<std::string>{"a", "c", "pr"}));
    Hier({"missing_top"});
    EXPECT_TRUE(Told("VERI-1607"));
    EXPECT_FALSE(ok);
}

// serv from the corpus: the real design elaborates without a message; the same design
// with one parameter name misspelt, or one module name, is reported as a simulator would.
TEST_F(VeriElaboratorTest, CorpusDesignAndItsBrokenVariants) {
    const std::string root = std::string(SIFT_SHARED_DIR) + "/corpus/serv/";
    std::ifstream list(root + "FILELIST.tsv");
    if (!list) GTEST_SKIP() << "no corpus";
    std::vector<std::string> files;
    for (std::string line; std::getline(list, line);) {
        if (line.rfind("v2k\t", 0) == 0) files.push_back(root + line.substr(line.rfind('\t') + 1));
    }
    auto analyze = [&](const std::string& from, const std::string& to) {
        test::MessageCapture quiet;
        veri_file::Reset();
        for (const std::string& f : files) {
            std::ifstream in(f);
            std::stringstream text;
            text << in.rdbuf();
            std::string source = text.str();
            if (!from.empty() && source.find(from) != std::string::npos)
                source.replace(source.find(from), from.size(), to);
            EXPECT_TRUE(veri_file::AnalyzeText(source, f.c_str(), VERILOG_2K));
        }
    };
    analyze("", "");
    std::string hier = Hier({"servant_sim"});
    EXPECT_TRUE(ok);
    EXPECT_TRUE(messages.empty());
    EXPECT_NE(hier.find("servant_sim.dut.ram\tservant_ram\tservant_ram(depth=8192,RESET_STRATEGY=\"MINI\")\n"),
              std::string::npos)
        << hier;
    EXPECT_NE(hier.find("servant_sim.dut.cpu.cpu.gen_csr.csr\tserv_csr\tserv_csr\n"), std::string::npos);

    analyze(".RESET_STRATEGY (reset_strategy))", ".RESET_STRATEGYY (reset_strategy))");
    hier = Hier({"servant_sim"});
    EXPECT_FALSE(ok);
    EXPECT_TRUE(Told("VERI-1604"));
    EXPECT_EQ(hier.find("servant_sim.dut.ram\t"), std::string::npos);

    analyze("   serv_rf_ram\n", "   serv_rf_rma\n"); // the instance in servant.v
    hier = Hier({"servant_sim"});
    EXPECT_TRUE(Told("VERI-1605"));
    EXPECT_NE(hier.find("servant_sim.dut.rf_ram\tserv_rf_rma\tserv_rf_rma\n"), std::string::npos) << hier;
}

TEST_F(VeriElaboratorTest, IndexedPartSelectWidthsFromParametersAreAboveZero) {
    // A leaf whose default width is zero, instantiated with a width: only the unit with
    // the values in use counts; a generate condition may keep a zero-width select out.
    Analyze(R"(
module leaf #(parameter W = 0, localparam H = W / 2) (input logic [7:0] i, output logic [7:0] o);
  logic [7:0] t;
  if (W > 0) begin : g
    assign t[0 +: W] = i[W - 1 -: W];
  end
  always_comb o[7 -: W - H] = i[0 +: W];
endmodule
module top (input logic [7:0] i, output logic [7:0] o1, o2);
  leaf #(.W(4)) a (.i(i), .o(o1));
  leaf #(.W(2)) b (.i(i), .o(o2));
endmodule
)");
    Hier({"top"});
    EXPECT_TRUE(ok);
    EXPECT_FALSE(Told("VERI-1519"));
    // The default used, a width that works out to zero from parameters, and a width
    // overridden to zero: each select reported once, however many units use it.
    for (const char* top : {"leaf", "top"}) {
        veri_file::Reset();
        Analyze(std::string(R"(
module leaf #(parameter W = 0) (input logic [7:0] i, output logic [7:0] o);
  localparam H = W * 2;
  always_comb begin o = 0; o[3 +: H] = i[W +: W]; end
endmodule
module top (input logic [7:0] i, output logic [7:0] o1, o2);
  leaf #(.W(0)) a (.i(i), .o(o1));
  leaf b (.i(i), .o(o2));
endmodule
)"));
        Hier({top});
        EXPECT_FALSE(ok) << top;
        EXPECT_EQ(std::count_if(messages.begin(), messages.end(), [](const auto& m) { return m.id == "VERI-1519"; }), 2)
            << top;
    }
}

} // namespace
} // namespace hdl
