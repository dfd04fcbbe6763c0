// Reads through interface ports during elaboration: parameters and member shapes of the
// connected interface copy, copies named after the interfaces their body depends on,
// and the faults (a member the interface lacks, an open port, a net as the actual).
// Values are worked out by hand: bus_if #(W) has `logic [W-1:0] d`, `logic [3:0]
// m [W/4]` and a type of 2*W bits, so $bits(d) = W, $left(d) = W-1, $size(m) = W/4,
// $bits(wide_t) = 2*W.
#include "VeriElabFixture.h"

namespace hdl {

namespace {

const char* kBus = R"(
interface bus_if #(parameter int W = 8);
  typedef logic [2*W-1:0] wide_t;
  logic [W-1:0] d;
  logic [3:0] m [W/4];
  modport rx (input d, input m);
endinterface

interface other_if #(parameter int W = 3);
  logic [W-1:0] d;
endinterface

module leaf #(parameter int N = 1, parameter type T = logic) ();
endmodule
)";

// Reads every query the evaluator supports through a typed modport port.
const char* kSink = R"(
module sink (bus_if.rx bus);
  localparam int B = $bits(bus.d);
  localparam int L = $left(bus.d);
  localparam int S = $size(bus.m);
  leaf #(.N(B)) nb ();
  leaf #(.N(bus.W)) nw ();
  leaf #(.N(L)) nl ();
  leaf #(.N(S)) ns ();
  leaf #(.T(type(bus.d))) nt ();
endmodule
)";

std::string Lines(const std::string& hier, const std::string& under) {
    std::string out;
    std::istringstream in(hier);
    for (std::string line; std::getline(in, line);)
        if (line.compare(0, under.size(), under) == 0) out += line + "\n";
    return out;
}

} // namespace

TEST_F(VeriElaboratorTest, TypedPortsReadTheConnectedCopy) {
    Analyze(std::string(kBus) + kSink + R"(
module top;
  bus_if b8 ();
  bus_if #(.W(12)) b12 ();
  sink s8 (.bus(b8));
  sink s12 (.bus(b12.rx));
endmodule
)");
    std::string hier = Hier({"top"});
    EXPECT_TRUE(ok);
    // Connected to the declared interface with its defaults: the plain name.
    EXPECT_EQ(Lines(hier, "top.s8"), "top.s8\tsink\tsink\n"
                                     "top.s8.nb\tleaf\tleaf(N=8)\n"
                                     "top.s8.nw\tleaf\tleaf(N=8)\n"
                                     "top.s8.nl\tleaf\tleaf(N=7)\n"
                                     "top.s8.ns\tleaf\tleaf(N=2)\n"
                                     "top.s8.nt\tleaf\tleaf(T=logic[7:0])\n");
    EXPECT_EQ(Lines(hier, "top.s12"), "top.s12\tsink\tsink(bus=bus_if(W=12))\n"
                                      "top.s12.nb\tleaf\tleaf(N=12)\n"
                                      "top.s12.nw\tleaf\tleaf(N=12)\n"
                                      "top.s12.nl\tleaf\tleaf(N=11)\n"
                                      "top.s12.ns\tleaf\tleaf(N=3)\n"
                                      "top.s12.nt\tleaf\tleaf(T=logic[11:0])\n");
    // Both copies are in the library, the second as a copy of sink.
    VeriModule* copy = veri_file::GetModule("sink(bus=bus_if(W=12))");
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->GetOriginalModuleName(), "sink");
    EXPECT_TRUE(veri_file::GetModule("sink")->IsElaborated());
    // Each tree binds its instances to the leaves of its own widths.
    auto boundTo = [](const VeriModule* m, const char* instance) {
        auto* id = dynamic_cast<VeriInstId*>(m->GetScope()->findLocal(instance));
        auto* inst = id ? dynamic_cast<VeriModuleInstantiation*>(id->declaration) : nullptr;
        return inst && inst->GetInstantiatedModule() ? std::string(inst->GetInstantiatedModule()->Name()) : "?";
    };
    EXPECT_EQ(boundTo(veri_file::GetModule("sink"), "nb"), "leaf(N=8)");
    EXPECT_EQ(boundTo(copy, "nb"), "leaf(N=12)");
    EXPECT_EQ(boundTo(copy, "nt"), "leaf(T=logic[11:0])");
}

TEST_F(VeriElaboratorTest, PortsHandedOnAndInterfaceArrays) {
    Analyze(std::string(kBus) + kSink + R"(
// Read nothing through the port themselves, but hand it to sink.
module relay (bus_if.rx bus);
  sink s (.bus(bus));
endmodule
module relay2 (bus_if bus);
  relay r (.bus(bus));
endmodule
// Reads nothing: one name whatever is connected.
module plain (bus_if.rx bus, output logic o);
  assign o = bus.d[0];
endmodule
module arr (bus_if.rx bus [2]);
  sink s1 (.bus(bus[1]));
  leaf #(.N(bus[0].W)) n ();
endmodule
module top;
  bus_if #(.W(12)) b12 ();
  bus_if #(.W(16)) ba [2] ();
  logic o1, o2;
  relay2 r (.bus(b12));
  plain p8 (.bus(ba[0]), .o(o1));
  plain p12 (.bus(b12), .o(o2));
  arr a (.bus(ba));
  for (genvar i = 1; i <= 2; i++) begin : g
    bus_if #(.W(4 * i)) b ();
    leaf #(.N(i)) l ();
    sink s (.bus(b));
  end
endmodule
)");
    std::string hier = Hier({"top"});
    EXPECT_TRUE(ok);
    EXPECT_EQ(Lines(hier, "top.r"), "top.r\trelay2\trelay2(bus=bus_if(W=12))\n"
                                    "top.r.r\trelay\trelay(bus=bus_if(W=12))\n"
                                    "top.r.r.s\tsink\tsink(bus=bus_if(W=12))\n"
                                    "top.r.r.s.nb\tleaf\tleaf(N=12)\n"
                                    "top.r.r.s.nw\tleaf\tleaf(N=12)\n"
                                    "top.r.r.s.nl\tleaf\tleaf(N=11)\n"
                                    "top.r.r.s.ns\tleaf\tleaf(N=3)\n"
                                    "top.r.r.s.nt\tleaf\tleaf(T=logic[11:0])\n");
    EXPECT_EQ(Lines(hier, "top.p"), "top.p8\tplain\tplain\ntop.p12\tplain\tplain\n");
    EXPECT_EQ(Lines(hier, "top.a."), "top.a.s1\tsink\tsink(bus=bus_if(W=16))\n"
                                     "top.a.s1.nb\tleaf\tleaf(N=16)\n"
                                     "top.a.s1.nw\tleaf\tleaf(N=16)\n"
                                     "top.a.s1.nl\tleaf\tleaf(N=15)\n"
                                     "top.a.s1.ns\tleaf\tleaf(N=4)\n"
                                     "top.a.s1.nt\tleaf\tleaf(T=logic[15:0])\n"
                                     "top.a.n\tleaf\tleaf(N=16)\n");
    EXPECT_NE(hier.find("top.a\tarr\tarr(bus=bus_if(W=16))\n"), std::string::npos);
    // W = 8 in g[2] is the default: that copy of bus_if is the original.
    EXPECT_NE(hier.find("top.g[1].s\tsink\tsink(bus=bus_if(W=4))\n"), std::string::npos);
    EXPECT_NE(hier.find("top.g[1].s.nl\tleaf\tleaf(N=3)\n"), std::string::npos);
    EXPECT_NE(hier.find("top.g[2].s\tsink\tsink\n"), std::string::npos);
    EXPECT_NE(hier.find("top.g[2].s.nl\tleaf\tleaf(N=7)\n"), std::string::npos);
}

TEST_F(VeriElaboratorTest, GenericPortsReadWhateverIsConnected) {
    // Verilator 5.006 rejects generic interface ports: the values are worked out by hand.
    Analyze(std::string(kBus) + R"(
module gsink (interface bus);
  leaf #(.N($bits(bus.d) * 100 + bus.W)) n ();
endmodule
module tsink (interface bus);
  leaf #(.N($bits(bus.wide_t))) n ();
endmodule
// Reads nothing through its port: one name, but a unit per interface connected.
module gplain (interface bus);
endmodule
module top;
  bus_if b8 ();
  bus_if #(.W(12)) b12 ();
  other_if o3 ();
  gsink g8 (.bus(b8));
  gsink g12 (.bus(b12));
  gsink g3 (.bus(o3));
  gplain q8 (.bus(b8));
  gplain q3 (.bus(o3));
  tsink w12 (.bus(b12));
endmodule
)");
    // A generic port names its interface even with the defaults: bus_if and other_if differ.
    EXPECT_EQ(Hier({"top"}), "top\ttop\ttop\n"
                             "top.b8\tbus_if\tbus_if\n"
                             "top.b12\tbus_if\tbus_if(W=12)\n"
                             "top.o3\tother_if\tother_if\n"
                             "top.g8\tgsink\tgsink(bus=bus_if)\n"
                             "top.g8.n\tleaf\tleaf(N=808)\n"
                             "top.g12\tgsink\tgsink(bus=bus_if(W=12))\n"
                             "top.g12.n\tleaf\tleaf(N=1212)\n"
                             "top.g3\tgsink\tgsink(bus=other_if)\n"
                             "top.g3.n\tleaf\tleaf(N=303)\n"
                             "top.q8\tgplain\tgplain\n"
                             "top.q3\tgplain\tgplain\n"
                             "top.w12\ttsink\ttsink(bus=bus_if(W=12))\n"
                             "top.w12.n\tleaf\tleaf(N=24)\n");
    EXPECT_TRUE(ok);
}

TEST_F(VeriElaboratorTest, InterfacesDeclaredFurtherDown) {
    // Verilator 5.006 accepts the same (checked by hand): the copies are those of the
    // interfaces declared below their use.
    Analyze(std::string(kBus) + kSink + R"(
module gsink (interface bus);
  leaf #(.N(bus.W)) n ();
endmodule
module top;
  sink s (.bus(b));
  gsink g (.bus(arr[1]));
  bus_if #(.W(12)) b ();
  bus_if #(.W(P)) arr [2] ();
  localparam int P = 20;
endmodule
)");
    std::string hier = Hier({"top"});
    EXPECT_TRUE(ok);
    EXPECT_NE(hier.find("top.s\tsink\tsink(bus=bus_if(W=12))\n"), std::string::npos) << hier;
    EXPECT_NE(hier.find("top.s.nb\tleaf\tleaf(N=12)\n"), std::string::npos) << hier;
    EXPECT_NE(hier.find("top.g\tgsink\tgsink(bus=bus_if(W=20))\n"), std::string::npos) << hier;
    EXPECT_NE(hier.find("top.g.n\tleaf\tleaf(N=20)\n"), std::string::npos) << hier;
    // Listed once, where it is declared: the walk finds the copy made ahead.
    EXPECT_EQ(Lines(hier, "top.b"), "top.b\tbus_if\tbus_if(W=12)\n");
    EXPECT_EQ(Lines(hier, "top.arr"), "top.arr[0]\tbus_if\tbus_if(W=20)\ntop.arr[1]\tbus_if\tbus_if(W=20)\n");
    // Broken: the name further down is a module instance, no interface.
    veri_file::Reset();
    Analyze(std::string(kBus) + kSink + "module top; sink s (.bus(b)); leaf b (); endmodule\n");
    hier = Hier({"top"});
    EXPECT_FALSE(ok);
    EXPECT_TRUE(Told("VERI-1612"));
    EXPECT_EQ(hier.find("top.s"), std::string::npos);
}

TEST_F(VeriElaboratorTest, ReadsThroughPortsThatGoWrong) {
    struct Case {
        const char* what;
        const char* design;
        const char* text; // in the message
    };
    const Case cases[] = {
        {"a member the interface lacks",
         "module bad (bus_if.rx bus); leaf #(.N(bus.nosuch)) n (); endmodule\n"
         "module top; bus_if b (); bad u (.bus(b)); endmodule\n",
         "no member 'nosuch'"},
        {"a shape of a member the interface lacks",
         "module bad (bus_if bus); leaf #(.N($bits(bus.dd))) n (); endmodule\n"
         "module top; bus_if b (); bad u (.bus(b)); endmodule\n",
         "no member 'dd'"},
        {"a generic port given another interface",
         "module bad (interface bus); leaf #(.N(bus.W + $size(bus.m))) n (); endmodule\n"
         "module top; other_if o (); bad u (.bus(o)); endmodule\n",
         "interface 'other_if' connected to port 'bus' has no member 'm'"},
        {"a parameter read through a port left open",
         "module bad (bus_if.rx bus); leaf #(.N(bus.W)) n (); endmodule\n"
         "module top; bad u (); endmodule\n",
         "'bus.W' cannot be read"},
        {"an open port handed on",
         "module bad (bus_if.rx bus); leaf #(.N(bus.W)) n (); endmodule\n"
         "module mid (bus_if bus); bad u (.bus(bus)); endmodule\n"
         "module top; mid m (); endmodule\n",
         "interface port 'bus' is not connected"},
        {"a net as the actual of a typed port",
         "module bad (bus_if.rx bus); endmodule\n"
         "module top; wire x; bad u (.bus(x)); endmodule\n",
         "interface port 'bus' of instance 'u' is not connected to an interface"},
    };
    for (const Case& c : cases) {
        veri_file::Reset();
        Analyze(std::string(kBus) + c.design);
        std::string hier = Hier({"top"});
        EXPECT_FALSE(ok) << c.what;
        EXPECT_TRUE(Told("VERI-1612")) << c.what;
        bool named = std::any_of(messages.begin(), messages.end(),
                                 [&](const auto& m) { return m.text.find(c.text) != std::string::npos; });
        EXPECT_TRUE(named) << c.what << "\n" << hier;
        // What the read fed is left out, once; the rest stays.
        EXPECT_EQ(hier.find(".n\t"), std::string::npos) << c.what;
        EXPECT_EQ(std::count_if(messages.begin(), messages.end(), [](const auto& m) { return m.id == "VERI-1612"; }), 1)
            << c.what;
    }
}

TEST_F(VeriElaboratorTest, AMemberOfBrokenCodeEnds) {
    // Found by mutating the designs above. The parser's recovery leaves a port whose
    // named type leads back to itself; reading a member of it once never ended.
    {
        test::MessageCapture capture;
        veri_file::AnalyzeText("module sink leaf # ( ( ( bus [ ] . d ) ) ) n ( bus bus bus endmodule "
                               "module mid sink ( ) ; endmodule module top mid m2 (",
                               "broken.sv", SYSTEM_VERILOG, "work");
    }
    Hier({"top"});
    EXPECT_FALSE(ok);
    EXPECT_TRUE(Told("VERI-1600"));
    // Recovery leaves a hole in a parameter value list, one value too many.
    veri_file::Reset();
    {
        test::MessageCapture capture;
        veri_file::AnalyzeText("module leaf gsink # ( parameter ) ( ) ; endmodule module gsink leaf ( ) ; endmodule "
                               "module top gsink g8 (",
                               "broken.sv", SYSTEM_VERILOG, "work");
    }
    Hier({"top"});
    EXPECT_FALSE(ok);
    EXPECT_TRUE(Told("VERI-1604"));
}

TEST_F(VeriElaboratorTest, GeneratedInstancesOfACopyNameItsNets) {
    Analyze(R"(
module leaf (input logic a);
endmodule
module mid #(parameter int W = 1) ();
  logic w;
  for (genvar i = 0; i < 2; i++) begin : g
    leaf u (.a(w));
  end
endmodule
module top;
  mid #(.W(2)) m ();
endmodule
)");
    Hier({"top"});
    ASSERT_TRUE(ok);
    VeriModule* copy = veri_file::GetModule("mid(W=2)");
    VeriModule* original = veri_file::GetModule("mid");
    ASSERT_TRUE(copy && original);
    const VeriIdDef* copyNet = copy->GetScope()->findLocal("w");
    ASSERT_TRUE(copyNet);
    ASSERT_NE(copyNet, original->GetScope()->findLocal("w"));
    for (const char* name : {"g[0].u", "g[1].u"}) {
        auto* id = dynamic_cast<VeriInstId*>(copy->GetScope()->findLocal(name));
        ASSERT_TRUE(id) << name;
        ASSERT_EQ(id->GetPortConnects().Size(), 1u);
        auto* pc = dynamic_cast<VeriPortConnect*>(id->GetPortConnects()[0]);
        ASSERT_TRUE(pc && pc->connection) << name;
        EXPECT_EQ(pc->connection->GetId(), copyNet) << name;
    }
}

} // namespace hdl
