// What a parsed unit tells about itself (kind, header, parameters) and where its pieces
// sit, including after the parser had to skip a broken item.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "VeriTestSupport.h"
#include "hdl/sv/VeriTokens.h"
#include "hdl/sv/VeriVisitor.h"

using namespace hdl;

namespace {

TEST(VeriModuleQueries, UnitKindsAreTold) {
    ASSERT_TRUE(veritest::analyze("interface i; endinterface\n"
                                  "package p; endpackage\n"
                                  "program pr; endprogram\n"
                                  "primitive u(output o, input a); table 0:1; 1:0; endtable endprimitive\n"
                                  "module m; endmodule\n"));
    struct Expect {
        const char* name;
        bool interface, package, program, primitive;
    };
    for (const Expect& e : {Expect{"i", true, false, false, false}, Expect{"p", false, true, false, false},
                            Expect{"pr", false, false, true, false}, Expect{"u", false, false, false, true},
                            Expect{"m", false, false, false, false}}) {
        VeriModule* unit = veritest::unit(e.name);
        ASSERT_NE(unit, nullptr) << e.name;
        EXPECT_EQ(unit->IsInterface(), e.interface) << e.name;
        EXPECT_EQ(unit->IsPackage(), e.package) << e.name;
        EXPECT_EQ(unit->IsProgram(), e.program) << e.name;
        EXPECT_EQ(unit->IsPrimitive(), e.primitive) << e.name;
        EXPECT_FALSE(unit->IsCellDefine()) << e.name;
        EXPECT_FALSE(unit->IsRootModule()) << e.name;
    }
}

TEST(VeriModuleQueries, GenericInterfacePortsOnlyWithoutAType) {
    ASSERT_TRUE(veritest::analyze("interface bus_if; logic v; modport mp(input v); endinterface\n"
                                  "module generic(interface b); endmodule\n"
                                  "module generic_mp(interface.mp b); endmodule\n"
                                  "module typed(bus_if b); endmodule\n"
                                  "module typed_mp(bus_if.mp b); endmodule\n"
                                  "module plain(input logic a); endmodule\n"));
    EXPECT_TRUE(veritest::unit("generic")->HasGenericInterfacePorts());
    EXPECT_TRUE(veritest::unit("generic_mp")->HasGenericInterfacePorts());
    EXPECT_FALSE(veritest::unit("typed")->HasGenericInterfacePorts());
    EXPECT_FALSE(veritest::unit("typed_mp")->HasGenericInterfacePorts());
    EXPECT_FALSE(veritest::unit("plain")->HasGenericInterfacePorts());
}

TEST(VeriModuleQueries, TypeParametersInHeaderOrBody) {
    ASSERT_TRUE(veritest::analyze("module t #(parameter type T = logic, int N = 1) (); endmodule\n"
                                  "module v #(parameter int N = 1, parameter M = 2) (); endmodule\n"
                                  "module none; endmodule\n"));
    EXPECT_TRUE(veritest::unit("t")->HasTypeParameters());
    EXPECT_FALSE(veritest::unit("v")->HasTypeParameters());
    EXPECT_FALSE(veritest::unit("none")->HasTypeParameters());
    EXPECT_EQ(veritest::unit("t")->GetParameters().Size(), 2u);
}

TEST(VeriModuleQueries, CellDefineCoversOnlyTheUnitsInside) {
    ASSERT_TRUE(veritest::analyze("module first; endmodule\n"
                                  "`celldefine\n"
                                  "module c1; endmodule\n"
                                  "`endcelldefine\n"
                                  "module last; endmodule\n"));
    EXPECT_FALSE(veritest::unit("first")->IsCellDefine());
    EXPECT_TRUE(veritest::unit("c1")->IsCellDefine());
    EXPECT_FALSE(veritest::unit("last")->IsCellDefine());
}

TEST(VeriTreePositions, ItemsOfSeveralKindsSpanTheirText) {
    ASSERT_TRUE(veritest::analyze("module m(input a, output y);\n"
                                  "  assign y = a;\n"
                                  "  always @(a) begin\n"
                                  "  end\n"
                                  "  sub u1 (.p(a));\n"
                                  "endmodule\n"));
    const ArenaArray<VeriModuleItem*>& items = veritest::unit("m")->GetItems();
    ASSERT_EQ(items.Size(), 3u);
    auto* assign = dynamic_cast<VeriContinuousAssign*>(items[0]);
    ASSERT_NE(assign, nullptr);
    EXPECT_EQ(assign->Linefile().leftLine, 2u);
    EXPECT_EQ(assign->Linefile().leftCol, 3u);
    EXPECT_EQ(assign->Linefile().rightLine, 2u);
    EXPECT_EQ(assign->Linefile().rightCol, 16u); // just after ';'
    auto* always = dynamic_cast<VeriAlwaysConstruct*>(items[1]);
    ASSERT_NE(always, nullptr);
    EXPECT_EQ(always->Linefile().leftLine, 3u);
    EXPECT_EQ(always->Linefile().rightLine, 4u); // a multi-line item ends on its last line
    EXPECT_EQ(always->Linefile().rightCol, 6u);
    auto* inst = dynamic_cast<VeriModuleInstantiation*>(items[2]);
    ASSERT_NE(inst, nullptr);
    EXPECT_EQ(inst->Linefile().leftLine, 5u);
    EXPECT_EQ(inst->Linefile().leftCol, 3u);
    EXPECT_EQ(inst->Linefile().rightCol, 18u);
}

TEST(VeriParserRecovery, GoodItemsAfterABrokenOneKeepTheirPlaces) {
    EXPECT_FALSE(veritest::analyze("module m;\n"
                                   "  wire = 3 +;\n"
                                   "  wire ok;\n"
                                   "  assign ok = 1'b1;\n"
                                   "endmodule\n"
                                   "module last; endmodule\n"));
    ASSERT_GE(veritest::errorCount(), 1u);
    for (const veritest::Diagnostic& d : veritest::diagnostics()) {
        if (d.type != MSG_ERROR) continue;
        EXPECT_EQ(d.line, 2u); // reported where the break is
        break;
    }
    VeriModule* m = veritest::unit("m");
    ASSERT_NE(m, nullptr);
    VeriContinuousAssign* assign = nullptr;
    VeriDataDecl* ok = nullptr;
    for (VeriModuleItem* item : m->GetItems()) {
        if (auto* a = dynamic_cast<VeriContinuousAssign*>(item)) assign = a;
        auto* d = dynamic_cast<VeriDataDecl*>(item);
        if (d && !d->GetIds().Empty() && d->GetIds()[0]->GetName() == "ok") ok = d;
    }
    ASSERT_NE(ok, nullptr);
    ASSERT_NE(assign, nullptr);
    EXPECT_EQ(ok->Linefile().leftLine, 3u);
    EXPECT_EQ(ok->Linefile().leftCol, 3u);
    EXPECT_EQ(assign->Linefile().leftLine, 4u);
    EXPECT_EQ(m->Linefile().rightLine, 5u);
    VeriModule* last = veritest::unit("last");
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->Linefile().leftLine, 6u);
}

// Each reference by name, in walk order, with what it resolved to.
class Refs : public VeriVisitor {
public:
    void Visit(VeriIdRef& ref) override { all.push_back({std::string(ref.name), ref.GetId()}); }
    std::vector<std::pair<std::string, VeriIdDef*>> all;
    std::vector<VeriIdDef*> of(const std::string& n) const {
        std::vector<VeriIdDef*> out;
        for (const auto& r : all)
            if (r.first == n) out.push_back(r.second);
        return out;
    }
};

Refs refsOf(const char* unitName) {
    Refs r;
    r.TraverseNode(veritest::unit(unitName));
    return r;
}

TEST(VeriResolveScopes, NonAnsiPortAndItsNetAreOneName) {
    ASSERT_TRUE(veritest::analyze("module m(a, y); input a; output y; wire a; reg y;\n"
                                  "  always @(a) y = a;\n"
                                  "endmodule\n"));
    Refs r = refsOf("m");
    std::vector<VeriIdDef*> a = r.of("a"), y = r.of("y");
    ASSERT_FALSE(a.empty());
    ASSERT_FALSE(y.empty());
    for (VeriIdDef* id : a) {
        ASSERT_NE(id, nullptr);
        EXPECT_EQ(id, a[0]); // the net declaration did not make a second `a`
        EXPECT_TRUE(id->IsPort());
        EXPECT_EQ(id->GetDir(), unsigned(VT_INPUT));
    }
    ASSERT_NE(y[0], nullptr);
    EXPECT_EQ(y[0]->GetDir(), unsigned(VT_OUTPUT));
}

TEST(VeriResolveScopes, GenerateBlockNamesShadowTheModule) {
    ASSERT_TRUE(veritest::analyze("module m; wire w;\n"
                                  "  if (1) begin : g wire w; assign w = 1'b0; end\n"
                                  "  assign w = 1'b1;\n"
                                  "endmodule\n"));
    std::vector<VeriIdDef*> w = refsOf("m").of("w");
    ASSERT_EQ(w.size(), 2u);
    ASSERT_NE(w[0], nullptr);
    ASSERT_NE(w[1], nullptr);
    EXPECT_NE(w[0], w[1]);
    auto* moduleW = static_cast<VeriDataDecl*>(veritest::unit("m")->GetItems()[0])->GetIds()[0];
    EXPECT_EQ(w[1], moduleW);
}

TEST(VeriResolveScopes, EnumLiteralsAndScopedPackageNames) {
    ASSERT_TRUE(veritest::analyze("package p; typedef enum {A, B} e_t; endpackage\n"
                                  "module m; typedef enum logic [1:0] {RED, GREEN} c_t;\n"
                                  "  c_t c = GREEN; p::e_t e = p::B;\n"
                                  "endmodule\n"));
    Refs r = refsOf("m");
    std::vector<VeriIdDef*> green = r.of("GREEN");
    ASSERT_EQ(green.size(), 1u);
    ASSERT_NE(green[0], nullptr);
    EXPECT_EQ(green[0]->GetClassId(), uint32_t(ID_VERIPARAMID));
    EXPECT_TRUE(r.of("B").empty()); // p::B is a scoped name, not a bare reference
    EXPECT_TRUE(r.of("A").empty());
}

TEST(VeriResolveScopes, UnitScopeDeclarationsAreSeenByLaterModules) {
    ASSERT_TRUE(veritest::analyze("localparam int W = 4;\n"
                                  "module m; logic [W-1:0] v; endmodule\n"));
    std::vector<VeriIdDef*> w = refsOf("m").of("W");
    ASSERT_EQ(w.size(), 1u);
    ASSERT_NE(w[0], nullptr);
    EXPECT_EQ(w[0]->GetClassId(), uint32_t(ID_VERIPARAMID));
}

TEST(VeriResolveScopes, UndeclaredAndHierarchicalNamesStayOpen) {
    ASSERT_TRUE(veritest::analyze("module m; wire w; assign w = other.x | w; endmodule\n"));
    Refs r = refsOf("m");
    ASSERT_EQ(r.of("other").size(), 1u);
    EXPECT_EQ(r.of("other")[0], nullptr);
    for (VeriIdDef* id : r.of("w")) EXPECT_NE(id, nullptr);
}

} // namespace
