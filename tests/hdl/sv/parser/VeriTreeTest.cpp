// Class codes, kind names, positions and the default walk order of the trees.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "VeriTestSupport.h"
#include "hdl/sv/VeriVisitor.h"

using namespace hdl;

namespace {

// Records the kind name of every node the default walk reaches, in order.
class KindRecorder : public VeriVisitor {
public:
    void PreVisit(VeriTreeNode& node) override { kinds.push_back(veriClassName(node.GetClassId())); }
    std::vector<std::string> kinds;
};

TEST(VeriClassIds, CodesFollowTheKindTable) {
    EXPECT_EQ(ID_VERIPATHDECL, 0xC0000001u); // index 0
    EXPECT_STREQ(veriClassName(ID_VERIMODULE), "MODULE");
    EXPECT_STREQ(veriClassName(ID_VERIIDREF), "IDREF");
    EXPECT_STREQ(veriClassName(ID_VERICOVERAGESPECID), "COVERAGESPECID");
    EXPECT_EQ(ID_VERICOVERAGESPECID + kVeriClassIdOffset, 195u);
    EXPECT_STREQ(veriClassName(0), "?");
    EXPECT_STREQ(veriClassName(ID_VERICOVERAGESPECID + 1), "?");
}

TEST(VeriClassIds, NodesReportTheirOwnKind) {
    ASSERT_TRUE(veritest::analyze("interface bus; logic a; modport m(input a); endinterface\n"
                                  "package p; typedef int t; endpackage\n"
                                  "module top; bus b(); assign x = 1; endmodule\n"));
    EXPECT_EQ(veritest::unit("bus")->GetClassId(), ID_VERIINTERFACE);
    EXPECT_EQ(veritest::unit("p")->GetClassId(), ID_VERIPACKAGE);
    VeriModule* top = veritest::unit("top");
    ASSERT_EQ(top->GetItems().Size(), 2u);
    EXPECT_EQ(top->GetItems()[0]->GetClassId(), ID_VERIMODULEINSTANTIATION);
    EXPECT_EQ(top->GetItems()[1]->GetClassId(), ID_VERICONTINUOUSASSIGN);
}

TEST(VeriTreeWalk, DefaultVisitGoesInSourceOrder) {
    ASSERT_TRUE(veritest::analyze("module m #(parameter W = 2) (input [W-1:0] a, output y);\n"
                                  "  wire w;\n"
                                  "  assign y = a[0] & w;\n"
                                  "endmodule\n"));
    KindRecorder rec;
    rec.TraverseNode(veritest::unit("m"));
    std::vector<std::string> expected = {
        "MODULE",    "MODULEID",       "DATADECL", "PARAMID",          "INTVAL",       "ANSIPORTDECL", "DATATYPE",
        "RANGE",     "BINARYOPERATOR", "IDREF",    "INTVAL",           "INTVAL",       "VARIABLE",     "ANSIPORTDECL",
        "VARIABLE",  "NETDECL",        "VARIABLE", "CONTINUOUSASSIGN", "NETREGASSIGN", "IDREF",        "BINARYOPERATOR",
        "INDEXEDID", "IDREF",          "RANGE",    "INTVAL",           "IDREF"};
    EXPECT_EQ(rec.kinds, expected);
}

TEST(VeriTreeWalk, OverridingABaseVisitSeesDerivedNodes) {
    struct DeclCounter : VeriVisitor {
        void Visit(VeriDataDecl& d) override {
            ++decls;
            VeriVisitor::Visit(d);
        }
        int decls = 0;
    } counter;
    ASSERT_TRUE(veritest::analyze("module m; wire a; reg b; localparam C = 1; endmodule\n"));
    counter.TraverseNode(veritest::unit("m"));
    EXPECT_EQ(counter.decls, 3); // the net declaration is a data declaration too
}

TEST(VeriTreePositions, NodesSpanTheirText) {
    ASSERT_TRUE(veritest::analyze("module m;\n"
                                  "  wire [3:0] bus;\n"
                                  "endmodule\n"));
    VeriModule* m = veritest::unit("m");
    EXPECT_EQ(m->Linefile().leftLine, 1u);
    EXPECT_EQ(m->Linefile().leftCol, 1u);
    EXPECT_EQ(m->Linefile().rightLine, 3u);
    EXPECT_EQ(m->Linefile().rightCol, 10u); // just after "endmodule"
    auto* net = dynamic_cast<VeriNetDecl*>(m->GetItems().At(0));
    ASSERT_NE(net, nullptr);
    EXPECT_EQ(net->Linefile().leftLine, 2u);
    EXPECT_EQ(net->Linefile().leftCol, 3u);
    EXPECT_EQ(net->Linefile().rightCol, 18u);
    VeriIdDef* bus = net->GetIds().At(0);
    EXPECT_EQ(bus->Linefile().leftCol, 14u);
    EXPECT_STREQ(LineFile::GetFileNameFromId(bus->Linefile().fileId), "test.sv");
}

} // namespace
