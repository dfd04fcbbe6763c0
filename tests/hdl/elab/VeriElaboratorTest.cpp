// Verilog elaboration: parameters through the hierarchy, generates, copies and what the
// libraries show of them afterwards, binding, and the mistakes that must be reported.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "ElabTestUtil.h"
#include "VhdlTestUtil.h"
#include "hdl/elab/ElabHierPrinter.h"
#include "hdl/elab/VeriElaborator.h"
#include "hdl/sv/VeriLibrary.h"

namespace hdl {
namespace {

class VeriElaboratorTest : public ::testing::Test {
protected:
    void SetUp() override { veri_file::Reset(); }
    void TearDown() override { veri_file::Reset(); }

    void Analyze(const std::string& text, const char* library = "work") {
        test::MessageCapture capture;
        EXPECT_TRUE(veri_file::AnalyzeText(text, "design.sv", SYSTEM_VERILOG, library)) << capture.Errors();
    }

    // The --hier listing of the tops (none: the modules nothing instantiates).
    std::string Hier(std::vector<std::string> tops = {}, const ElabGenericMap& params = {},
                     const ElabLimits& limits = ElabLimits(), ElabUnitLookup foreign = nullptr) {
        test::MessageCapture capture;
        std::vector<ElabTopRequest> requests;
        for (const std::string& t : tops) requests.push_back({t, "", ""});
        if (requests.empty()) requests = VeriFindTops();
        ElabDesign design;
        ok = VeriElaborate(design, requests, params, limits, std::move(foreign));
        messages = capture.All();
        std::ostringstream out;
        ElabPrintHier(design, out);
        units = design.UnitCount();
        return out.str();
    }
    bool Told(const std::string& id) const {
        return std::any_of(messages.begin(), messages.end(), [&](const auto& m) { return m.id == id; });
    }
    static std::vector<std::string> InstanceIds(const VeriModule* m) {
        std::vector<std::string> names;
        for (uint32_t i = 0; i < m->GetScope()->DeclarationCount(); ++i) {
            const VeriIdDef* id = m->GetScope()->Declaration(i);
            if (id->GetClassId() == ID_VERIINSTID) names.push_back(std::string(id->Name()));
        }
        return names;
    }

    bool ok = false;
    size_t units = 0;
    std::vector<test::CapturedMessage> messages;
};

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
    ElabUnitRequest request{"", "mid", "", {{"", {ElabParamValue::Integer, 3, 0, ""}}}, {}};
    ElabUnitId id = elab.ElaborateForeign(request);
    ASSERT_NE(id, 0u);
    EXPECT_EQ(design.Unit(id).copyName, "mid(N=3)");
    EXPECT_EQ(design.Unit(id).instances.size(), 5u);
    ElabUnitRequest named{"work", "leaf", "", {{"w", {ElabParamValue::Integer, 2, 0, ""}}}, {}};
    EXPECT_EQ(design.Unit(elab.ElaborateForeign(named)).copyName, "leaf(W=2)");
    EXPECT_EQ(elab.ElaborateForeign({"", "absent", "", {}, {}}), 0u);
    EXPECT_TRUE(VeriElaborator::HasParameter(veri_file::GetModule("leaf"), "d"));
    EXPECT_FALSE(VeriElaborator::HasParameter(veri_file::GetModule("leaf"), "x"));
    // The configuration's design statement gives the tops.
    std::string hier = Hier({"cfg"});
    EXPECT_EQ(hier.rfind("mid\tmid\tmid\nmid.g[0].u\tleaf\tleaf(W=4)\n", 0), 0u) << hier;
    EXPECT_NE(hier.find("\nleaf\tleaf\tleaf\n"), std::string::npos) << hier;
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

} // namespace
} // namespace hdl
