// Class members declared in one place and defined in another (extern prototypes and
// their out-of-class bodies, constraints), loops over members reached through objects,
// and delays named by package: the forms the UVM library leans on.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "VeriTestSupport.h"
#include "hdl/sv/VeriPrettyPrinter.h"
#include "hdl/sv/VeriTokens.h"

using namespace hdl;

namespace {

VeriClass* classIn(VeriModule* m, const char* name) {
    for (VeriModuleItem* item : m->GetItems())
        if (auto* c = dynamic_cast<VeriClass*>(item); c && c->id && c->id->Name() == name) return c;
    return nullptr;
}

std::vector<VeriFunctionDecl*> functionsOf(const ArenaArray<VeriModuleItem*>& items) {
    std::vector<VeriFunctionDecl*> out;
    for (VeriModuleItem* item : items)
        if (auto* f = dynamic_cast<VeriFunctionDecl*>(item)) out.push_back(f);
    return out;
}

unsigned errorLine() {
    for (const veritest::Diagnostic& d : veritest::diagnostics())
        if (d.type == MSG_ERROR) return d.line;
    return 0;
}

TEST(VeriClassMethods, ExternConstructorsAndTheirBodies) {
    const char* text = "package p;\n"
                       "class a;\n"
                       "  extern function new(string name = \"\");\n"
                       "endclass\n"
                       "class b;\n"
                       "  extern protected function new();\n"
                       "  extern local static function b make;\n"
                       "  extern virtual task run(int n);\n"
                       "endclass\n"
                       "function a::new(string name = \"\");\n"
                       "endfunction\n"
                       "function b::new();\n"
                       "endfunction : new\n"
                       "function b b::make;\n"
                       "  return null;\n"
                       "endfunction\n"
                       "task b::run(int n);\n"
                       "endtask\n"
                       "endpackage\n";
    ASSERT_TRUE(veritest::analyze(text));
    EXPECT_EQ(veritest::errorCount(), 0u);
    VeriModule* p = veritest::unit("p");
    ASSERT_NE(p, nullptr);
    auto protos = functionsOf(classIn(p, "b")->items);
    ASSERT_EQ(protos.size(), 3u);
    EXPECT_TRUE(protos[0]->prototype);
    EXPECT_EQ(protos[0]->id->Name(), "new");
    EXPECT_EQ(protos[0]->returnType, nullptr);
    auto q = protos[0]->GetQualifiers();
    EXPECT_NE(std::find(q.begin(), q.end(), unsigned(VT_PROTECTED)), q.end());
    EXPECT_EQ(protos[1]->id->Name(), "make");
    EXPECT_NE(protos[1]->returnType, nullptr);
    EXPECT_EQ(protos[2]->GetClassId(), ID_VERITASKDECL);
    auto bodies = functionsOf(p->GetItems());
    ASSERT_EQ(bodies.size(), 4u);
    for (VeriFunctionDecl* f : bodies) {
        EXPECT_FALSE(f->prototype);
        ASSERT_NE(f->prefix, nullptr);
    }
    EXPECT_EQ(bodies[0]->id->Name(), "new");
    EXPECT_EQ(bodies[2]->id->Name(), "make");
    EXPECT_NE(bodies[2]->returnType, nullptr);
    EXPECT_EQ(bodies[2]->stmts.Size(), 1u);

    // A prototype that is cut short is one error at its line; the class goes on.
    veritest::analyze("class c;\n  extern protected function new(int a;\n  int x;\nendclass\n");
    EXPECT_EQ(veritest::errorCount(), 1u);
    EXPECT_EQ(errorLine(), 2u);
}

TEST(VeriClassMethods, ForeachOverMembersOfObjects) {
    const char* text = "class n; n succ[n]; int q[4][2]; endclass\n"
                       "class c extends n;\n"
                       "  n m[$];\n"
                       "  function void f();\n"
                       "    foreach (this.succ[s]) ;\n"
                       "    foreach (super.q[i, j]) ;\n"
                       "    foreach (m[i].succ[s]) ;\n"
                       "    foreach (m[i].q[j][k]) ;\n"
                       "    foreach (m[0][1].succ[s]) ;\n"
                       "  endfunction\n"
                       "endclass\n";
    ASSERT_TRUE(veritest::analyze(text));
    EXPECT_EQ(veritest::errorCount(), 0u);
    VeriModule* root = veritest::unit("$unit");
    ASSERT_NE(root, nullptr);
    VeriClass* c = classIn(root, "c");
    ASSERT_NE(c, nullptr);
    auto fs = functionsOf(c->items);
    ASSERT_EQ(fs.size(), 1u);
    ASSERT_EQ(fs[0]->stmts.Size(), 5u);
    auto loop = [&](size_t i) { return dynamic_cast<VeriForeach*>(fs[0]->stmts[i]); };
    for (size_t i = 0; i < 5; ++i) ASSERT_NE(loop(i), nullptr) << i;
    auto* thisSucc = dynamic_cast<VeriSelectedName*>(loop(0)->array);
    ASSERT_NE(thisSucc, nullptr);
    EXPECT_EQ(thisSucc->suffix, Symbol::Intern("succ"));
    auto* kw = dynamic_cast<VeriKeyword*>(thisSucc->prefix);
    ASSERT_NE(kw, nullptr);
    EXPECT_EQ(kw->token, unsigned(VT_THIS));
    EXPECT_EQ(loop(1)->loopVars.Size(), 2u);
    EXPECT_EQ(static_cast<VeriKeyword*>(static_cast<VeriSelectedName*>(loop(1)->array)->prefix)->token,
              unsigned(VT_SUPER));
    // m[i].succ[s]: the index belongs to the prefix, the last brackets name the loop variable.
    auto* member = dynamic_cast<VeriSelectedName*>(loop(2)->array);
    ASSERT_NE(member, nullptr);
    EXPECT_EQ(member->prefix->GetClassId(), ID_VERIINDEXEDID);
    ASSERT_EQ(loop(2)->loopVars.Size(), 1u);
    EXPECT_EQ(loop(2)->loopVars[0]->Name(), "s");
    EXPECT_EQ(loop(3)->loopVars.Size(), 2u);
    auto* twice = dynamic_cast<VeriSelectedName*>(loop(4)->array);
    ASSERT_NE(twice, nullptr);
    auto* inner = dynamic_cast<VeriIndexedId*>(twice->prefix);
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->prefix->GetClassId(), ID_VERIINDEXEDID);

    // The printed loops read back as they were.
    std::string printed = VeriPrettyPrinter::toString(*root);
    ASSERT_TRUE(veritest::analyze(printed));
    EXPECT_EQ(veritest::errorCount(), 0u);

    // An index left open is one error at its line.
    veritest::analyze("class c; int q[2]; function void f();\nforeach (this.q[i) ;\nendfunction endclass\n");
    EXPECT_GE(veritest::errorCount(), 1u);
    EXPECT_EQ(errorLine(), 2u);
}

TEST(VeriClassMethods, ConstraintBodiesOutsideTheirClass) {
    const char* text = "class c;\n"
                       "  rand int x;\n"
                       "  extern constraint lo;\n"
                       "  extern static constraint hi;\n"
                       "  constraint implicit_proto;\n"
                       "endclass\n"
                       "constraint c::lo { x > 0; }\n"
                       "static constraint c::hi { x < 10; }\n"
                       "constraint c::implicit_proto { x != 5; }";
    ASSERT_TRUE(veritest::analyze(text));
    EXPECT_EQ(veritest::errorCount(), 0u);
    VeriModule* root = veritest::unit("$unit");
    ASSERT_NE(root, nullptr);
    std::vector<std::string> names;
    for (VeriModuleItem* item : root->GetItems())
        if (auto* k = dynamic_cast<VeriConstraintDecl*>(item)) names.push_back(std::string(k->id->Name()));
    EXPECT_EQ(names, (std::vector<std::string>{"lo", "hi", "implicit_proto"}));

    // A body without its name is reported, at the end of a file as well.
    veritest::analyze("class c; endclass\nconstraint c:: { }");
    EXPECT_EQ(veritest::errorCount(), 1u);
    EXPECT_EQ(errorLine(), 2u);
}

TEST(VeriClassMethods, DelaysNamedThroughAPackage) {
    const char* text = "package timing; parameter D = 2; endpackage\n"
                       "module m; logic a, b;\n"
                       "  initial begin #timing::D a = 1; a <= #timing::D b; end\n"
                       "  assign #timing::D b = a;\n"
                       "endmodule\n";
    ASSERT_TRUE(veritest::analyze(text));
    EXPECT_EQ(veritest::errorCount(), 0u);
    auto* init = dynamic_cast<VeriInitialConstruct*>(veritest::unit("m")->GetItems()[1]);
    ASSERT_NE(init, nullptr);
    auto* block = dynamic_cast<VeriSeqBlock*>(init->stmt);
    ASSERT_NE(block, nullptr);
    auto* d = dynamic_cast<VeriDelayControlStatement*>(block->stmts[0]);
    ASSERT_NE(d, nullptr);
    auto* delay = dynamic_cast<VeriScopeName*>(d->control->delays[0]);
    ASSERT_NE(delay, nullptr);
    ASSERT_NE(delay->id, nullptr);
    EXPECT_EQ(delay->id->Name(), "D");
    EXPECT_EQ(d->stmt->GetClassId(), ID_VERIBLOCKINGASSIGN);

    veritest::analyze("module m; logic a;\ninitial #timing:: a = 1;\nendmodule\n");
    EXPECT_GE(veritest::errorCount(), 1u);
    EXPECT_EQ(errorLine(), 2u);
}

TEST(VeriClassMethods, TheUvmPackageParses) {
    std::filesystem::path src = std::filesystem::path(SIFT_SHARED_DIR) / "conformance" / "uvm" / "src";
    if (!std::filesystem::is_regular_file(src / "uvm_pkg.sv")) GTEST_SKIP() << "UVM sources not present";
    veri_file::Reset();
    veritest::diagnostics().clear();
    veri_file::AddIncludeDir(src.string().c_str());
    Message::RegisterCallBackMsg(veritest::collect);
    bool ok = veri_file::AnalyzeMultipleFiles({(src / "uvm_pkg.sv").string()}, SYSTEM_VERILOG, "work");
    Message::RegisterCallBackMsg(nullptr);
    EXPECT_TRUE(ok);
    for (const veritest::Diagnostic& d : veritest::diagnostics())
        EXPECT_NE(d.type, MSG_ERROR) << d.line << ": " << d.text;
    VeriModule* pkg = veri_file::GetModule("uvm_pkg");
    ASSERT_NE(pkg, nullptr);
    EXPECT_NE(classIn(pkg, "uvm_component"), nullptr);
    EXPECT_NE(classIn(pkg, "uvm_reg_field"), nullptr);
}

} // namespace
