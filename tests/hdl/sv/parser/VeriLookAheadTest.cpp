// Decisions that need tokens far ahead, and tokens put back: the look-ahead buffer must
// keep order when it grows and when it wraps around.
#include <gtest/gtest.h>

#include <string>

#include "VeriTestSupport.h"
#include "hdl/sv/VeriVisitor.h"

using namespace hdl;

namespace {

// `sub #(.P0(0), ..., .Pn(n)) u (...)` with n large enough to need hundreds of tokens
// of look-ahead before the instance name tells it from a declaration.
std::string longInstance(int params) {
    std::string text = "  sub #(";
    for (int i = 0; i < params; ++i) text += (i ? ", .P" : ".P") + std::to_string(i) + "(" + std::to_string(i) + ")";
    return text + ") u (.a(x));\n";
}

TEST(VeriLookAhead, LongParameterListsStillMakeAnInstance) {
    for (int params : {1, 20, 200}) {
        // Items before and after shift where the ring starts when it grows.
        std::string text =
            "module m; wire x; wire [3:0] y;\n" + longInstance(params) + "  assign y = {4{x}};\nendmodule\n";
        ASSERT_TRUE(veritest::analyze(text)) << params;
        const auto& items = veritest::unit("m")->GetItems();
        ASSERT_EQ(items.Size(), 4u) << params;
        auto* inst = dynamic_cast<VeriModuleInstantiation*>(items[2]);
        ASSERT_NE(inst, nullptr) << params;
        EXPECT_EQ(inst->Linefile().leftLine, 2u);
        auto* assign = dynamic_cast<VeriContinuousAssign*>(items[3]);
        ASSERT_NE(assign, nullptr) << params;
        EXPECT_EQ(assign->Linefile().leftLine, 3u); // nothing was lost or repeated on the way
    }
}

TEST(VeriLookAhead, GenvarDeclaredInTheLoopHeaderIsAssignedThere) {
    ASSERT_TRUE(veritest::analyze("module m; wire [3:0] w;\n"
                                  "  for (genvar i = 0; i < 4; i++) begin : g assign w[i] = 1'b0; end\n"
                                  "endmodule\n"));
    struct Refs : VeriVisitor {
        void Visit(VeriIdRef& ref) override {
            if (ref.name == "i") ids.push_back(ref.GetId());
        }
        std::vector<VeriIdDef*> ids;
    } refs;
    refs.TraverseNode(veritest::unit("m"));
    ASSERT_GE(refs.ids.size(), 3u); // init, condition and step at least
    for (VeriIdDef* id : refs.ids) {
        ASSERT_NE(id, nullptr);
        EXPECT_EQ(id->GetClassId(), uint32_t(ID_VERIGENVARID));
        EXPECT_EQ(id, refs.ids[0]);
    }
}

TEST(VeriParserRecovery, BrokenStatementThenGoodOnesInTheSameBlock) {
    EXPECT_FALSE(veritest::analyze("module m; logic a, b;\n"
                                   "  initial begin\n"
                                   "    a = ;\n"
                                   "    b = 1;\n"
                                   "  end\n"
                                   "  assign a = b;\n"
                                   "endmodule\n"));
    EXPECT_EQ(veritest::errorCount(), 1u); // one break, one message
    VeriModule* m = veritest::unit("m");
    ASSERT_NE(m, nullptr);
    VeriContinuousAssign* assign = nullptr;
    for (VeriModuleItem* item : m->GetItems())
        if (auto* a = dynamic_cast<VeriContinuousAssign*>(item)) assign = a;
    ASSERT_NE(assign, nullptr);
    EXPECT_EQ(assign->Linefile().leftLine, 6u);
    EXPECT_EQ(assign->Linefile().leftCol, 3u);
}

} // namespace
