// The default walk visits nodes in source order, whatever mix of items a unit holds,
// and statements and expressions carry the spans of their own text.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "VeriTestSupport.h"
#include "hdl/sv/VeriVisitor.h"

using namespace hdl;

namespace {

// Start positions of the nodes the walk reaches, in walk order, with their kinds.
class StartRecorder : public VeriVisitor {
public:
    void PreVisit(VeriTreeNode& node) override {
        if (node.Linefile().leftLine == 0) return; // made by the parser, not read from the text
        starts.push_back({{node.Linefile().leftLine, node.Linefile().leftCol}, veriClassName(node.GetClassId())});
    }
    std::vector<std::pair<std::pair<uint32_t, uint32_t>, std::string>> starts;
};

TEST(VeriTreeWalk, MixedItemsAreVisitedInSourceOrder) {
    ASSERT_TRUE(veritest::analyze("module m #(parameter int N = 2) (input logic clk, output logic [N-1:0] q);\n"
                                  "  typedef enum logic {A, B} s_t;\n"
                                  "  s_t s;\n"
                                  "  function automatic int inc(int v); return v + 1; endfunction\n"
                                  "  initial s = A;\n"
                                  "  always_ff @(posedge clk) begin\n"
                                  "    if (s == A) q <= inc(q); else q <= '0;\n"
                                  "  end\n"
                                  "  for (genvar i = 0; i < N; i++) begin : g\n"
                                  "    wire w = q[i];\n"
                                  "  end\n"
                                  "  sub #(.K(N)) u (.a(q), .b());\n"
                                  "  assign q[0] = clk ? 1'b1 : 1'b0;\n"
                                  "endmodule\n"));
    StartRecorder rec;
    rec.TraverseNode(veritest::unit("m"));
    ASSERT_GT(rec.starts.size(), 40u);
    for (size_t i = 1; i < rec.starts.size(); ++i) {
        EXPECT_LE(rec.starts[i - 1].first, rec.starts[i].first)
            << rec.starts[i - 1].second << " at " << rec.starts[i - 1].first.first << ":"
            << rec.starts[i - 1].first.second << " before " << rec.starts[i].second << " at "
            << rec.starts[i].first.first << ":" << rec.starts[i].first.second;
    }
    // Every line that starts a node is reached (8 and 11 hold only `end`).
    std::vector<bool> seen(15, false);
    for (const auto& s : rec.starts) seen.at(s.first.first) = true;
    for (uint32_t line = 1; line <= 13; ++line) {
        if (line == 8 || line == 11) continue;
        EXPECT_TRUE(seen[line]) << "line " << line;
    }
}

// A class's #(...) parameters stand before `extends` and `implements` and are reached
// first; the class's own items follow.
TEST(VeriTreeWalk, ClassParametersComeBeforeItsBaseClasses) {
    ASSERT_TRUE(veritest::analyze("interface class i #(type T = int); endclass\n"
                                  "class base #(int W = 1); endclass\n"
                                  "module m;\n"
                                  "  class c #(int N = 4, type T = bit)\n"
                                  "    extends base #(N)\n"
                                  "    implements i #(T);\n"
                                  "    T data [N];\n"
                                  "  endclass\n"
                                  "endmodule\n"));
    StartRecorder rec;
    rec.TraverseNode(veritest::unit("m"));
    ASSERT_GT(rec.starts.size(), 8u);
    for (size_t i = 1; i < rec.starts.size(); ++i)
        EXPECT_LE(rec.starts[i - 1].first, rec.starts[i].first)
            << rec.starts[i - 1].second << " at line " << rec.starts[i - 1].first.first << " before "
            << rec.starts[i].second << " at line " << rec.starts[i].first.first;
    std::vector<uint32_t> lines;
    for (const auto& s : rec.starts)
        if (lines.empty() || lines.back() != s.first.first) lines.push_back(s.first.first);
    EXPECT_EQ(lines, (std::vector<uint32_t>{3, 4, 5, 6, 7}));
}

TEST(VeriTreeWalk, ItemKindsInTheirSourceOrder) {
    ASSERT_TRUE(veritest::analyze("module m;\n"
                                  "  initial begin end\n"
                                  "  wire w;\n"
                                  "  always @* begin end\n"
                                  "  assign w = 1'b0;\n"
                                  "  task t; endtask\n"
                                  "  sub u();\n"
                                  "endmodule\n"));
    std::vector<std::string> kinds;
    for (VeriModuleItem* item : veritest::unit("m")->GetItems()) kinds.push_back(veriClassName(item->GetClassId()));
    std::vector<std::string> expected = {"INITIALCONSTRUCT", "NETDECL",  "ALWAYSCONSTRUCT",
                                         "CONTINUOUSASSIGN", "TASKDECL", "MODULEINSTANTIATION"};
    EXPECT_EQ(kinds, expected);
}

TEST(VeriTreePositions, StatementsAndExpressionsSpanTheirText) {
    ASSERT_TRUE(veritest::analyze("module m; logic a, b, c;\n"
                                  "  initial begin\n"
                                  "    if (a)\n"
                                  "      b = c + a;\n"
                                  "    case (b) 1'b0: c = 1; default: c = 0; endcase\n"
                                  "  end\n"
                                  "endmodule\n"));
    struct Finder : VeriVisitor {
        void PreVisit(VeriTreeNode& node) override {
            std::string k = veriClassName(node.GetClassId());
            if (k == "CONDITIONALSTATEMENT" || k == "CASESTATEMENT" || k == "BINARYOPERATOR" || k == "SEQBLOCK")
                found.push_back(&node);
        }
        std::vector<VeriTreeNode*> found;
    } finder;
    finder.TraverseNode(veritest::unit("m"));
    ASSERT_EQ(finder.found.size(), 4u);
    const ColLineFile block = finder.found[0]->Linefile();
    EXPECT_EQ(block.leftLine, 2u);
    EXPECT_EQ(block.leftCol, 11u);
    EXPECT_EQ(block.rightLine, 6u);
    EXPECT_EQ(block.rightCol, 6u);
    const ColLineFile ifStmt = finder.found[1]->Linefile();
    EXPECT_EQ(ifStmt.leftLine, 3u);
    EXPECT_EQ(ifStmt.leftCol, 5u);
    EXPECT_EQ(ifStmt.rightLine, 4u); // the statement under the if belongs to it
    const ColLineFile sum = finder.found[2]->Linefile();
    EXPECT_EQ(sum.leftLine, 4u);
    EXPECT_EQ(sum.leftCol, 11u);
    EXPECT_EQ(sum.rightCol, 16u);
    const ColLineFile caseStmt = finder.found[3]->Linefile();
    EXPECT_EQ(caseStmt.leftLine, 5u);
    EXPECT_EQ(caseStmt.leftCol, 5u);
    EXPECT_EQ(caseStmt.rightLine, 5u);
    EXPECT_EQ(caseStmt.rightCol, 50u); // just after endcase
}

} // namespace
