// Expression trees: precedence and associativity, literals, primaries and postfixes.
#include <gtest/gtest.h>

#include <string>

#include "VeriTestSupport.h"
#include "hdl/sv/VeriPrettyPrinter.h"
#include "hdl/sv/VeriTokens.h"

using namespace hdl;

namespace {

// Parses `expr` as the right-hand side of a continuous assignment; its names stand for
// anything.
VeriExpression* rhs(const std::string& expr) {
    if (!veritest::analyzeSyntax("module m; assign x = " + expr + "; endmodule\n")) return nullptr;
    auto* assign = dynamic_cast<VeriContinuousAssign*>(veritest::unit("m")->GetItems().At(0));
    return assign ? assign->assigns.At(0)->GetRValExpr() : nullptr;
}

// The fully parenthesised print of an expression shows how it was grouped.
std::string grouped(const std::string& expr) {
    VeriExpression* e = rhs(expr);
    if (!e) return "<error>";
    std::string s = VeriPrettyPrinter::toString(*e);
    s.pop_back(); // newline
    return s;
}

TEST(VeriExpressions, PrecedenceAndAssociativity) {
    EXPECT_EQ(grouped("a + b * c"), "(a + (b * c))");
    EXPECT_EQ(grouped("a - b - c"), "((a - b) - c)");
    EXPECT_EQ(grouped("a ** b ** c"), "(a ** (b ** c))");
    EXPECT_EQ(grouped("a ? b : c ? d : e"), "(a ? b : (c ? d : e))");
    EXPECT_EQ(grouped("a || b && c | d ^ e & f"), "(a || (b && (c | (d ^ (e & f)))))");
    EXPECT_EQ(grouped("a == b < c << 1"), "(a == (b < (c << 1)))");
    EXPECT_EQ(grouped("-a + ~b"), "((-a) + (~b))");
    EXPECT_EQ(grouped("&a | ^b"), "((&a) | (^b))");
    EXPECT_EQ(grouped("a -> b"), "(a -> b)");
}

TEST(VeriExpressions, InsideAndSets) {
    VeriExpression* e = rhs("v inside {1, [3:5], w}");
    auto* b = dynamic_cast<VeriBinaryOperator*>(e);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->oper, unsigned(VT_INSIDE));
    auto* set = dynamic_cast<VeriConcat*>(b->right);
    ASSERT_NE(set, nullptr);
    ASSERT_EQ(set->exprs.Size(), 3u);
    EXPECT_EQ(set->exprs[1]->GetClassId(), ID_VERIRANGE);
}

TEST(VeriExpressions, Literals) {
    auto* sized = dynamic_cast<VeriConstVal*>(rhs("8'shF0"));
    ASSERT_NE(sized, nullptr);
    EXPECT_EQ(sized->size, 8u);
    EXPECT_TRUE(sized->isSigned);
    EXPECT_EQ(sized->text, "8'shF0");
    auto* dec = dynamic_cast<VeriIntVal*>(rhs("1_000"));
    ASSERT_NE(dec, nullptr);
    EXPECT_EQ(dec->value, 1000);
    auto* real = dynamic_cast<VeriRealVal*>(rhs("2.5e1"));
    ASSERT_NE(real, nullptr);
    EXPECT_DOUBLE_EQ(real->value, 25.0);
    auto* fill = dynamic_cast<VeriConstVal*>(rhs("'1"));
    ASSERT_NE(fill, nullptr);
    EXPECT_TRUE(fill->isUnbased);
    auto* str = dynamic_cast<VeriConstVal*>(rhs("\"hi\""));
    ASSERT_NE(str, nullptr);
    EXPECT_TRUE(str->IsString());
    EXPECT_EQ(rhs("10ns")->GetClassId(), ID_VERITIMELITERAL);
}

TEST(VeriExpressions, SizeFromAMacroJoinsItsBase) {
    auto* c = dynamic_cast<VeriConstVal*>(rhs("`define W 4\n`W'b1010"));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->size, 4u);
}

TEST(VeriExpressions, ConcatenationsAndStreams) {
    auto* rep = dynamic_cast<VeriMultiConcat*>(rhs("{4{a, b}}"));
    ASSERT_NE(rep, nullptr);
    EXPECT_EQ(rep->exprs.Size(), 2u);
    auto* stream = dynamic_cast<VeriStreamingConcat*>(rhs("{<< 8 {a, b}}"));
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->oper, unsigned(VT_SHL));
    EXPECT_NE(stream->sliceSize, nullptr);
    auto* pattern = dynamic_cast<VeriAssignmentPattern*>(rhs("'{a: 1, default: 0}"));
    ASSERT_NE(pattern, nullptr);
    ASSERT_EQ(pattern->exprs.Size(), 2u);
    EXPECT_EQ(pattern->exprs[1]->GetClassId(), ID_VERIBINARYOPERATOR);
    EXPECT_EQ(rhs("'{2{1'b0}}")->GetClassId(), ID_VERIMULTIASSIGNMENTPATTERN);
}

TEST(VeriExpressions, NamesSelectsAndCalls) {
    auto* part = dynamic_cast<VeriIndexedId*>(rhs("bus[7:4]"));
    ASSERT_NE(part, nullptr);
    auto* range = dynamic_cast<VeriRange*>(part->GetIndexExpr());
    ASSERT_NE(range, nullptr);
    EXPECT_EQ(range->GetPartSelectToken(), unsigned(VT_COLON));
    auto* indexed = dynamic_cast<VeriIndexedId*>(rhs("bus[i +: 4]"));
    ASSERT_NE(indexed, nullptr);
    EXPECT_EQ(static_cast<VeriRange*>(indexed->GetIndexExpr())->GetPartSelectToken(), unsigned(VT_PLUS_COLON));
    auto* mem = dynamic_cast<VeriIndexedMemoryId*>(rhs("mem[1][2][3]"));
    ASSERT_NE(mem, nullptr);
    EXPECT_EQ(mem->indexes.Size(), 3u);
    auto* sel = dynamic_cast<VeriSelectedName*>(rhs("top.sub.sig"));
    ASSERT_NE(sel, nullptr);
    EXPECT_EQ(sel->GetSuffix(), "sig");
    EXPECT_EQ(sel->GetPrefix()->GetClassId(), ID_VERISELECTEDNAME);
    auto* call = dynamic_cast<VeriFunctionCall*>(rhs("f(a, , .b(c))"));
    ASSERT_NE(call, nullptr);
    ASSERT_EQ(call->args.Size(), 3u);
    EXPECT_EQ(call->args[1]->GetClassId(), ID_VERIPORTOPEN);
    EXPECT_EQ(call->args[2]->GetClassId(), ID_VERIPORTCONNECT);
    auto* sys = dynamic_cast<VeriSystemFunctionCall*>(rhs("$clog2(W)"));
    ASSERT_NE(sys, nullptr);
    EXPECT_EQ(sys->GetName(), "$clog2");
    auto* esc = dynamic_cast<VeriIdRef*>(rhs("\\a+b "));
    ASSERT_NE(esc, nullptr);
    EXPECT_EQ(esc->GetName(), "a+b");
}

TEST(VeriExpressions, Casts) {
    auto* toInt = dynamic_cast<VeriCast*>(rhs("int'(x)"));
    ASSERT_NE(toInt, nullptr);
    EXPECT_EQ(toInt->target->GetClassId(), ID_VERIDATATYPE);
    auto* toSize = dynamic_cast<VeriCast*>(rhs("W'(x)"));
    ASSERT_NE(toSize, nullptr);
    EXPECT_EQ(toSize->target->GetClassId(), ID_VERIIDREF);
    auto* toSigned = dynamic_cast<VeriCast*>(rhs("signed'(x)"));
    ASSERT_NE(toSigned, nullptr);
}

TEST(VeriExpressions, MinTypMaxInParentheses) { EXPECT_EQ(rhs("(1:2:3)")->GetClassId(), ID_VERIMINTYPMAXEXPR); }

} // namespace
