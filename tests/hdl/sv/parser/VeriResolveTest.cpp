// Name resolution within a unit: references find their declarations where the language
// decides statically; hierarchical names keep their prefix for later.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "VeriTestSupport.h"
#include "hdl/sv/VeriVisitor.h"

using namespace hdl;

namespace {

// The first reference of each name in walk order, with what it resolved to.
class RefCollector : public VeriVisitor {
public:
    void Visit(VeriIdRef& ref) override { refs.emplace(std::string(ref.name), ref.GetId()); }
    std::multimap<std::string, VeriIdDef*> refs;
    VeriIdDef* first(const std::string& n) const {
        auto it = refs.find(n);
        return it == refs.end() ? nullptr : it->second;
    }
};

uint32_t kindOf(const RefCollector& c, const char* name) {
    VeriIdDef* id = c.first(name);
    return id ? id->GetClassId() : 0;
}

RefCollector collect(const char* unitName) {
    RefCollector c;
    c.TraverseNode(veritest::unit(unitName));
    return c;
}

TEST(VeriResolve, LocalDeclarationsOfEveryKind) {
    ASSERT_TRUE(veritest::analyze("module m #(parameter W = 2) (input [W-1:0] a, output y);\n"
                                  "  typedef enum {IDLE, RUN} st_t;\n"
                                  "  st_t s; genvar gi; wire n;\n"
                                  "  function int f(int v); return v; endfunction\n"
                                  "  assign y = f(a) == IDLE ? n : s;\n"
                                  "  for (gi = 0; gi < W; gi++) begin : blk wire t; end\n"
                                  "  assign n = blk[0].t;\n"
                                  "endmodule\n"));
    RefCollector c = collect("m");
    EXPECT_EQ(kindOf(c, "W"), ID_VERIPARAMID);
    EXPECT_EQ(kindOf(c, "a"), ID_VERIVARIABLE);
    EXPECT_TRUE(c.first("a") && c.first("a")->IsPort());
    EXPECT_EQ(kindOf(c, "f"), ID_VERIFUNCTIONID);
    EXPECT_EQ(kindOf(c, "IDLE"), ID_VERIPARAMID);
    EXPECT_EQ(kindOf(c, "st_t"), ID_VERITYPEID);
    EXPECT_EQ(kindOf(c, "gi"), ID_VERIGENVARID);
    EXPECT_EQ(kindOf(c, "blk"), ID_VERIBLOCKID);
    EXPECT_EQ(kindOf(c, "v"), ID_VERIVARIABLE); // in the function's own scope
}

TEST(VeriResolve, InnerScopesShadowOuterOnes) {
    ASSERT_TRUE(veritest::analyze("module m; int x;\n"
                                  "  initial begin : outer int x; x = 1; end\n"
                                  "  initial x = 2;\n"
                                  "endmodule\n"));
    VeriModule* m = veritest::unit("m");
    auto* outerX = static_cast<VeriDataDecl*>(m->GetItems()[0])->GetIds()[0];
    std::multimap<std::string, VeriIdDef*> refs = collect("m").refs;
    auto range = refs.equal_range("x");
    ASSERT_EQ(std::distance(range.first, range.second), 2);
    VeriIdDef* inBlock = range.first->second;
    VeriIdDef* atModule = std::next(range.first)->second;
    EXPECT_NE(inBlock, outerX);
    EXPECT_EQ(atModule, outerX);
}

TEST(VeriResolve, PackageItemsByImportAndScope) {
    EXPECT_FALSE(veritest::analyze(
        "package p; localparam int K = 1; typedef logic t; function int g(); return K; endfunction endpackage\n"
        "module m; import p::K; t bad; endmodule\n"
        "module n; import p::*; int a = K + g(); p::t b = p::K; endmodule\n"));
    // Only K was imported into m: t is not declared there.
    ASSERT_EQ(veritest::errorCount(), 1u);
    EXPECT_EQ(veritest::diagnostics().back().id, "VERI-1507");
    EXPECT_EQ(veritest::diagnostics().back().line, 2u);
    EXPECT_EQ(veritest::diagnostics().back().text, "type 't' is not declared");
    RefCollector m = collect("m");
    EXPECT_EQ(m.first("t"), nullptr); // only K was imported
    RefCollector n = collect("n");
    EXPECT_EQ(kindOf(n, "K"), ID_VERIPARAMID);
    EXPECT_EQ(kindOf(n, "g"), ID_VERIFUNCTIONID);
    EXPECT_EQ(kindOf(n, "p"), ID_VERIMODULEID); // the package itself
}

TEST(VeriResolve, UnknownPackageIsAnError) {
    EXPECT_FALSE(veritest::analyze("module m; import nowhere::*; endmodule\n"));
    ASSERT_EQ(veritest::errorCount(), 1u);
    EXPECT_EQ(veritest::diagnostics().back().id, "VERI-1504");
}

TEST(VeriResolve, HierarchicalPrefixStaysForLater) {
    ASSERT_TRUE(veritest::analyze("module m; wire w; assign w = top.u1.sig; endmodule\n"));
    RefCollector c = collect("m");
    EXPECT_EQ(c.first("top"), nullptr);
    EXPECT_NE(c.first("w"), nullptr);
}

} // namespace

namespace {

// A block gets a scope of its own when it declares something or is named; names in the
// others resolve through the scope around them alike.
TEST(VeriResolve, BlocksThatDeclareNothingHaveNoScopeOfTheirOwn) {
    ASSERT_TRUE(veritest::analyze("package p; int z; endpackage\n"
                                  "module m; int x;\n"
                                  "  initial begin x = 1; end\n"
                                  "  initial begin int y; y = x; end\n"
                                  "  initial begin : named x = 2; end\n"
                                  "  initial begin import p::*; x = z; end\n"
                                  "endmodule\n"));
    VeriModule* m = veritest::unit("m");
    auto blockOf = [&](uint32_t item) {
        return static_cast<VeriSeqBlock*>(static_cast<VeriInitialConstruct*>(m->items[item])->stmt);
    };
    EXPECT_EQ(blockOf(1)->scope, nullptr);
    ASSERT_NE(blockOf(2)->scope, nullptr);
    EXPECT_NE(blockOf(2)->scope->findLocal("y"), nullptr);
    EXPECT_EQ(blockOf(2)->scope->Upper(), m->GetScope());
    ASSERT_NE(blockOf(3)->scope, nullptr); // named: its name opens it
    EXPECT_EQ(blockOf(3)->blockId->LocalScope(), blockOf(3)->scope);
    RefCollector refs = collect("m");
    VeriIdDef* x = m->GetScope()->findLocal("x");
    auto range = refs.refs.equal_range("x");
    ASSERT_EQ(std::distance(range.first, range.second), 4);
    for (auto it = range.first; it != range.second; ++it) EXPECT_EQ(it->second, x);
    EXPECT_EQ(refs.first("y"), blockOf(2)->scope->findLocal("y"));
    // The import made the block's scope, and the package item is found through it.
    ASSERT_NE(blockOf(4)->scope, nullptr);
    EXPECT_EQ(refs.first("z"), veritest::unit("p")->GetScope()->findLocal("z"));
}

} // namespace
