// Procedural statements of every kind, read inside one initial block.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "VeriTestSupport.h"
#include "hdl/sv/VeriTokens.h"

using namespace hdl;

namespace {

// The statements of `initial begin ... end` in module m.
std::vector<VeriStatement*> statements(const std::string& body) {
    if (!veritest::analyzeSyntax("module m; int a, b; event ev; initial begin\n" + body + "\nend endmodule\n"))
        return {};
    auto* init = dynamic_cast<VeriInitialConstruct*>(veritest::unit("m")->GetItems().Back());
    auto* block = init ? dynamic_cast<VeriSeqBlock*>(init->stmt) : nullptr;
    return block ? std::vector<VeriStatement*>(block->stmts.begin(), block->stmts.end())
                 : std::vector<VeriStatement*>{};
}

TEST(VeriStatements, BlocksAndJoins) {
    auto s = statements("fork a = 1; join_none fork : f b = 2; join_any begin : inner end");
    ASSERT_EQ(s.size(), 3u);
    auto* f1 = dynamic_cast<VeriParBlock*>(s[0]);
    ASSERT_NE(f1, nullptr);
    EXPECT_EQ(f1->joinKind, unsigned(VT_JOIN_NONE));
    auto* f2 = dynamic_cast<VeriParBlock*>(s[1]);
    ASSERT_NE(f2, nullptr);
    EXPECT_EQ(f2->joinKind, unsigned(VT_JOIN_ANY));
    EXPECT_EQ(f2->blockId->Name(), "f");
    EXPECT_EQ(s[2]->GetClassId(), ID_VERISEQBLOCK);
}

TEST(VeriStatements, Loops) {
    auto s = statements("do a++; while (a < 3); repeat (2) b = b + 1; while (a) a--; forever #1 a = ~a;\n"
                        "for (int i = 0, j = 1; i < 4; i++, j += 2) ;");
    ASSERT_EQ(s.size(), 5u);
    auto* dw = dynamic_cast<VeriDoWhile*>(s[0]);
    ASSERT_NE(dw, nullptr);
    auto* inc = dynamic_cast<VeriBlockingAssign*>(dw->stmt);
    ASSERT_NE(inc, nullptr);
    EXPECT_EQ(inc->oper, unsigned(VT_INC));
    EXPECT_EQ(s[1]->GetClassId(), ID_VERIREPEAT);
    EXPECT_EQ(s[2]->GetClassId(), ID_VERIWHILE);
    EXPECT_EQ(s[3]->GetClassId(), ID_VERIFOREVER);
    auto* f = dynamic_cast<VeriFor*>(s[4]);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->inits.Size(), 2u);
    EXPECT_EQ(f->reps.Size(), 2u);
    EXPECT_EQ(static_cast<VeriBlockingAssign*>(f->reps[1])->oper, unsigned(VT_PLUS_EQ));
}

TEST(VeriStatements, TimingAndEvents) {
    auto s = statements("@(posedge a iff b) a = 1; #5ns b = 0; a <= #2 b; -> ev; ->> ev; wait (a) b = 1; wait fork;\n"
                        "b = repeat (2) @(posedge a) 1; @ev;");
    ASSERT_EQ(s.size(), 9u);
    auto* ec = dynamic_cast<VeriEventControlStatement*>(s[0]);
    ASSERT_NE(ec, nullptr);
    auto* ev = dynamic_cast<VeriEventExpression*>(ec->control->events.At(0));
    ASSERT_NE(ev, nullptr);
    EXPECT_EQ(ev->edge, unsigned(VT_POSEDGE));
    EXPECT_NE(ev->iffCond, nullptr);
    EXPECT_EQ(s[1]->GetClassId(), ID_VERIDELAYCONTROLSTATEMENT);
    auto* nb = dynamic_cast<VeriNonBlockingAssign*>(s[2]);
    ASSERT_NE(nb, nullptr);
    EXPECT_NE(nb->control, nullptr);
    EXPECT_EQ(s[3]->GetClassId(), ID_VERIEVENTTRIGGER);
    EXPECT_EQ(s[4]->GetClassId(), ID_VERIEVENTTRIGGER);
    EXPECT_EQ(s[5]->GetClassId(), ID_VERIWAIT);
    EXPECT_TRUE(static_cast<VeriWait*>(s[6])->fork);
    auto* rep = dynamic_cast<VeriBlockingAssign*>(s[7]);
    ASSERT_NE(rep, nullptr);
    ASSERT_NE(rep->control, nullptr);
    EXPECT_NE(rep->control->repeat, nullptr);
}

TEST(VeriStatements, ProceduralContinuousAndJumps) {
    auto s = statements("assign a = 1; deassign a; force b = 2; release b; disable fork; disable m.x;\n"
                        "$display(\"%d\", a); void'($urandom()); lbl: a = 3;");
    ASSERT_EQ(s.size(), 9u);
    EXPECT_EQ(s[0]->GetClassId(), ID_VERIASSIGN);
    EXPECT_EQ(s[1]->GetClassId(), ID_VERIDEASSIGN);
    EXPECT_EQ(s[2]->GetClassId(), ID_VERIFORCE);
    EXPECT_EQ(s[3]->GetClassId(), ID_VERIRELEASE);
    EXPECT_EQ(static_cast<VeriDisable*>(s[4])->target, nullptr);
    EXPECT_NE(static_cast<VeriDisable*>(s[5])->target, nullptr);
    auto* sys = dynamic_cast<VeriSystemTaskEnable*>(s[6]);
    ASSERT_NE(sys, nullptr);
    EXPECT_EQ(sys->name, "$display");
    EXPECT_EQ(sys->args.Size(), 2u);
    EXPECT_EQ(s[7]->GetClassId(), ID_VERITASKENABLE);
    ASSERT_NE(s[8]->GetLabel(), nullptr);
    EXPECT_EQ(s[8]->GetLabel()->Name(), "lbl");
}

TEST(VeriStatements, CaseForms) {
    auto s = statements("casez (a) 4'b1???: b = 1; 4'b01??, 4'b001?: b = 2; default b = 0; endcase\n"
                        "randcase 1: a = 1; 3: a = 2; endcase\n"
                        "priority if (a) b = 1; else if (b) a = 1;");
    ASSERT_EQ(s.size(), 3u);
    auto* cz = dynamic_cast<VeriCaseStatement*>(s[0]);
    ASSERT_NE(cz, nullptr);
    EXPECT_EQ(cz->caseType, unsigned(VT_CASEZ));
    ASSERT_EQ(cz->items.Size(), 3u);
    EXPECT_EQ(cz->items[1]->conditions.Size(), 2u);
    EXPECT_TRUE(cz->items[2]->conditions.Empty());
    auto* rc = dynamic_cast<VeriCaseStatement*>(s[1]);
    ASSERT_NE(rc, nullptr);
    EXPECT_EQ(rc->caseType, unsigned(VT_RANDCASE));
    EXPECT_EQ(rc->cond, nullptr);
    auto* pif = dynamic_cast<VeriConditionalStatement*>(s[2]);
    ASSERT_NE(pif, nullptr);
    EXPECT_EQ(pif->qualifier, unsigned(VT_PRIORITY));
    EXPECT_EQ(pif->elseStmt->GetClassId(), ID_VERICONDITIONALSTATEMENT);
}

TEST(VeriStatements, DeclarationsInBlocksAreScoped) {
    auto s = statements("begin : blk automatic int k = 2; static logic [1:0] q; a = k; end");
    ASSERT_EQ(s.size(), 1u);
    auto* blk = dynamic_cast<VeriSeqBlock*>(s[0]);
    ASSERT_NE(blk, nullptr);
    ASSERT_EQ(blk->decls.Size(), 2u);
    EXPECT_EQ(std::vector<unsigned>(blk->decls[0]->GetQualifiers().begin(), blk->decls[0]->GetQualifiers().end()),
              std::vector<unsigned>{VT_AUTOMATIC});
    EXPECT_NE(blk->scope->findLocal("k"), nullptr);
    EXPECT_EQ(veritest::unit("m")->GetScope()->findLocal("k"), nullptr);
}

TEST(VeriStatements, BrokenStatementsAreReportedAndSkipped) {
    EXPECT_FALSE(veritest::analyze("module m; initial begin a = ; b = 1; if ) c = 2; end\n"
                                   "  always @(posedge clk) d <= 1;\nendmodule\n"));
    EXPECT_GE(veritest::errorCount(), 2u);
    VeriModule* m = veritest::unit("m");
    ASSERT_NE(m, nullptr);
    ASSERT_EQ(m->GetItems().Size(), 2u); // the always after the broken block survives
    EXPECT_EQ(m->GetItems()[1]->GetClassId(), ID_VERIALWAYSCONSTRUCT);
    for (const auto& d : veritest::diagnostics())
        if (d.type == MSG_ERROR) {
            EXPECT_EQ(d.line, 1u);
        }
}

} // namespace
