// Constraint blocks and randsequence: the trees they make, their print, the names they
// use, the rules of random variables, and recovery from broken text inside them.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <unistd.h>

#include "VeriTestSupport.h"
#include "hdl/sv/VeriPrettyPrinter.h"
#include "hdl/sv/VeriVisitor.h"

using namespace hdl;

namespace {

using Errors = std::vector<std::string>;

using veritest::errorsOf;

// Class names of the nodes a walk reaches, in walk order.
class Kinds : public VeriVisitor {
public:
    std::vector<std::string> seen;
    void PreVisit(VeriTreeNode& n) override { seen.push_back(veriClassName(n.GetClassId())); }
    bool has(const char* kind) const { return std::find(seen.begin(), seen.end(), kind) != seen.end(); }
};

VeriModule* rootUnit() {
    for (VeriLibrary* lib : veri_file::AllLibraries())
        for (VeriModule* m : lib->AllModules())
            if (m->IsRootModule()) return m;
    return nullptr;
}

const char* kConstraints = "class base; rand int a; endclass\n"
                           "class c extends base;\n"
                           "  rand int x, y; rand bit [3:0] arr [4]; rand bit b; int w = 2;\n"
                           "  constraint k1 { x inside {[1:5], 7}; y dist {0 := 1, [1:9] :/ w, default :/ 1}; }\n"
                           "  constraint k2 { soft x < 10; b -> y == 0; b -> { x > 1; y > 1; } }\n"
                           "  constraint k3 { if (b) x == 1; else { x == 2; y == 3; } }\n"
                           "  constraint k4 { foreach (arr[i]) arr[i] < i; unique {x, y}; }\n"
                           "  constraint k5 { solve b before x, y; disable soft x; a > 0; }\n"
                           "  extern constraint k6;\n"
                           "  constraint k7;\n"
                           "endclass\n"
                           "constraint c::k6 { x != a; }\n"
                           "module m; c obj = new; int z;\n"
                           "  initial begin\n"
                           "    void'(obj.randomize() with { x < z; });\n"
                           "    void'(obj.randomize(x) with (y) { y > 2; });\n"
                           "    void'(obj.randomize with { x == 1; });\n"
                           "  end\n"
                           "endmodule\n";

const char* kRandsequence = "module m;\n"
                            "  int x, n = 2, mode;\n"
                            "  initial randsequence (main)\n"
                            "    main : first second := 3 { x = 0; } | rand join (0.5) first second;\n"
                            "    first : { x = x + 1; } if (n > 1) second else third;\n"
                            "    second : repeat (n) third;\n"
                            "    third : case (mode) 0, 1 : fourth(1); default : fourth(2); endcase;\n"
                            "    void fourth(int v) : { int t; t = v; if (t == 2) break; x = x + t; };\n"
                            "  endsequence\n"
                            "endmodule\n";

TEST(VeriConstraints, ItemsBecomeNodes) {
    ASSERT_TRUE(veritest::analyze(kConstraints)) << veritest::diagnostics().size();
    EXPECT_EQ(veritest::errorCount(), 0u);
    Kinds kinds;
    kinds.TraverseNode(rootUnit());
    kinds.TraverseNode(veritest::unit("m"));
    for (const char* k : {"CONSTRAINTDECL", "CONSTRAINTSET", "IFOPERATOR", "FOREACHOPERATOR", "SOLVEBEFORE",
                          "DISTOPERATOR", "INLINECONSTRAINT"})
        EXPECT_TRUE(kinds.has(k)) << k;
}

TEST(VeriConstraints, NamesResolveToTheClassMembers) {
    ASSERT_TRUE(veritest::analyze(kConstraints));
    // Every name inside the class's constraints and the out-of-class body resolves,
    // the inherited `a` included only where the base class is in sight.
    struct Refs : VeriVisitor {
        std::vector<VeriIdRef*> all;
        void Visit(VeriIdRef& n) override { all.push_back(&n); }
    } refs;
    VeriModule* root = rootUnit();
    ASSERT_NE(root, nullptr);
    for (VeriModuleItem* item : root->items)
        if (auto* k = dynamic_cast<VeriConstraintDecl*>(item)) refs.TraverseNode(k);
    ASSERT_FALSE(refs.all.empty());
    for (VeriIdRef* r : refs.all)
        if (r->name.Text() == "x") {
            EXPECT_NE(r->id, nullptr);
        }
}

TEST(VeriConstraints, PrintParsesBackToTheSamePrint) {
    for (const char* source : {kConstraints, kRandsequence}) {
        ASSERT_TRUE(veritest::analyze(source));
        std::string first;
        if (VeriModule* root = rootUnit()) first += VeriPrettyPrinter::toString(*root);
        first += VeriPrettyPrinter::toString(*veritest::unit("m"));
        ASSERT_TRUE(veritest::analyze(first)) << first;
        std::string second;
        if (VeriModule* root = rootUnit()) second += VeriPrettyPrinter::toString(*root);
        second += VeriPrettyPrinter::toString(*veritest::unit("m"));
        EXPECT_EQ(first, second);
        // The print keeps what matters: weights, soft, the start production.
        for (const char* part :
             {":/", ":=", "default :/ 1", "soft", "solve", "rand join", "randsequence (main)", "endcase"})
            if (std::string(source).find(part) != std::string::npos) {
                EXPECT_NE(first.find(part), std::string::npos) << part;
            }
    }
}

// The walk reaches the nodes of constraints and productions in source order.
TEST(VeriConstraints, WalkFollowsTheSource) {
    struct Starts : VeriVisitor {
        std::vector<std::pair<uint32_t, uint32_t>> at;
        std::vector<std::string> kinds;
        void PreVisit(VeriTreeNode& n) override {
            if (n.Linefile().leftLine == 0) return;
            at.push_back({n.Linefile().leftLine, n.Linefile().leftCol});
            kinds.push_back(veriClassName(n.GetClassId()));
        }
    };
    for (const char* source : {kConstraints, kRandsequence}) {
        ASSERT_TRUE(veritest::analyze(source));
        Starts starts;
        starts.TraverseNode(rootUnit());
        starts.TraverseNode(veritest::unit("m"));
        ASSERT_GT(starts.at.size(), 50u);
        for (size_t i = 1; i < starts.at.size(); ++i)
            EXPECT_LE(starts.at[i - 1], starts.at[i]) << starts.kinds[i - 1] << " before " << starts.kinds[i];
    }
}

TEST(VeriConstraints, CopiesAreEqualAndDisjoint) {
    for (const char* source : {kConstraints, kRandsequence}) {
        ASSERT_TRUE(veritest::analyze(source));
        VeriModule* m = veritest::unit("m");
        Arena arena;
        VeriTreeNode* copy = m->Copy(arena);
        EXPECT_TRUE(copy->IsEqual(m));
        Kinds a, b;
        a.TraverseNode(m);
        b.TraverseNode(copy);
        EXPECT_EQ(a.seen, b.seen);
    }
}

TEST(VeriRandsequence, ProductionsRulesAndCodeBlocks) {
    ASSERT_TRUE(veritest::analyze(kRandsequence));
    EXPECT_EQ(veritest::errorCount(), 0u);
    struct Find : VeriVisitor {
        VeriRandsequence* rs = nullptr;
        void Visit(VeriRandsequence& n) override { rs = &n; }
    } find;
    find.TraverseNode(veritest::unit("m"));
    ASSERT_NE(find.rs, nullptr);
    ASSERT_EQ(find.rs->productions.Size(), 5u);
    ASSERT_NE(find.rs->start, nullptr);
    EXPECT_EQ(find.rs->start->id, find.rs->productions[0]->id);
    VeriProduction* main = find.rs->productions[0];
    ASSERT_EQ(main->rules.Size(), 2u);
    EXPECT_EQ(main->rules[0]->prods.Size(), 2u);
    EXPECT_NE(main->rules[0]->weight, nullptr);
    EXPECT_NE(main->rules[0]->codeBlock, nullptr);
    EXPECT_TRUE(main->rules[1]->randJoin);
    EXPECT_NE(main->rules[1]->joinExpr, nullptr);
    // `second` in main's first rule names the production declared below it.
    auto* call = dynamic_cast<VeriTaskEnable*>(main->rules[0]->prods[1]);
    ASSERT_NE(call, nullptr);
    EXPECT_EQ(call->call->GetId(), find.rs->productions[2]->id);
    // fourth's port is seen by its code block.
    VeriProduction* fourth = find.rs->productions[4];
    EXPECT_NE(fourth->dataType, nullptr);
    EXPECT_EQ(fourth->ports.Size(), 1u);
}

TEST(VeriRandsequence, UndeclaredNamesAreTold) {
    const char* legal = "function int F();\n"
                        "  int x; int sw = 1;\n"
                        "  randsequence (main)\n"
                        "    main : first | if (sw) second else third;\n"
                        "    first : case (sw) 0 : second; default : third; endcase;\n"
                        "    second : { if (sw) x = 10; else x = 5; };\n"
                        "    third : repeat (sw) second;\n"
                        "  endsequence\n"
                        "  return x;\n"
                        "endfunction\n";
    EXPECT_EQ(errorsOf(legal), Errors{});
    auto broken = [&](const std::string& from, const std::string& to) {
        std::string text = legal;
        size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        return errorsOf(text.replace(at, from.size(), to));
    };
    EXPECT_EQ(broken("main : first", "main : firts"), Errors{"4 VERI-1507 production 'firts' is not declared"});
    EXPECT_EQ(broken("randsequence (main)", "randsequence (mian)"),
              Errors{"3 VERI-1507 production 'mian' is not declared"});
    EXPECT_EQ(broken("if (sw) second else", "if (sx) second else"), Errors{"4 VERI-1507 'sx' is not declared"});
    EXPECT_EQ(broken("case (sw)", "case (sq)"), Errors{"5 VERI-1507 'sq' is not declared"});
    EXPECT_EQ(broken("{ if (sw) x", "{ if (switch) x"), Errors{"6 VERI-1507 'switch' is not declared"});
    EXPECT_EQ(broken("repeat (sw) second", "repeat (sw) secnd"),
              Errors{"7 VERI-1507 production 'secnd' is not declared"});
}

TEST(VeriConstraints, UndeclaredNamesOfClassesThatExtendNothingAreTold) {
    const char* legal = "package p; typedef enum {A, B} e_t; endpackage\n"
                        "class k; import p::*;\n"
                        "  rand int x; rand e_t e; int lim [2];\n"
                        "  constraint c { x < lim[0]; e != B; foreach (lim[i]) x != i; x < f(); }\n"
                        "  function int f(); return 3; endfunction\n"
                        "endclass\n"
                        "class d extends k; constraint c2 { y > 0; } endclass\n";
    EXPECT_EQ(errorsOf(legal), Errors{});
    std::string broken = legal;
    broken.replace(broken.find("x < lim[0]"), 10, "x < lin[0]");
    EXPECT_EQ(errorsOf(broken), Errors{"4 VERI-1507 'lin' is not declared"});
}

TEST(VeriRandCheck, ExternAndPureConstraints) {
    EXPECT_EQ(errorsOf("class a; rand int b; extern constraint c; constraint d; endclass\n"
                       "constraint a::c { b == 0; }\n"
                       "virtual class v; pure constraint p; endclass\n"
                       "class w extends v; rand int q; constraint p { q > 0; } endclass\n"
                       "virtual class x extends v; endclass\n"
                       "class y extends x; constraint p { 1; } endclass\n"),
              Errors{});
    EXPECT_EQ(errorsOf("class a; rand int b; extern constraint c; endclass\n"
                       "constraint a::d { b == 0; }\n"
                       "class n; pure constraint p; endclass\n"
                       "virtual class v; pure constraint p; endclass\n"
                       "class w extends v; rand int q; constraint r { q > 0; } endclass\n"
                       "virtual class x extends v; endclass\n"
                       "class y extends x; endclass\n"),
              (Errors{"3 VERI-1591 pure constraint 'p' in class 'n' that is not virtual",
                      "5 VERI-1591 class 'w' does not define pure constraint 'p' of class 'v'",
                      "7 VERI-1591 class 'y' does not define pure constraint 'p' of class 'v'",
                      "1 VERI-1590 extern constraint 'c' of class 'a' is never defined"}));
}

TEST(VeriRandCheck, RandcVariablesTakeNoOrderSoftOrDist) {
    EXPECT_EQ(errorsOf("class a;\n"
                       "  rand bit b1; rand int b2; randc bit [3:0] r; int plain;\n"
                       "  constraint c1 { b1 -> b2 == 0; solve b1 before b2; }\n"
                       "  constraint c2 { soft b2 > 4; b2 dist {3 := 0, 10 := 5}; r < 12; r inside {[1:3]}; }\n"
                       "endclass\n"),
              Errors{});
    EXPECT_EQ(
        errorsOf("class a;\n"
                 "  rand bit b1; randc int b2; randc bit [3:0] r;\n"
                 "  constraint c1 { b1 -> b2 == 0; solve b1 before b2; }\n"
                 "  constraint c2 { soft r > 4; r dist {3 := 0, 10 := 5}; }\n"
                 "  constraint c3 { if (b1) { soft b2 < r; } }\n"
                 "endclass\n"),
        (Errors{"3 VERI-1592 randc variable 'b2' cannot be ordered by solve-before",
                "4 VERI-1593 soft constraint on randc variable 'r'", "4 VERI-1594 distribution on randc variable 'r'",
                "5 VERI-1593 soft constraint on randc variable 'b2'",
                "5 VERI-1593 soft constraint on randc variable 'r'"}));
}

TEST(VeriRandCheck, InlineConstraintsLookUpTheRandomizedObjectFirst) {
    const std::string classes = "class a;\n"
                                "  rand int x, y; randc bit [3:0] r;\n"
                                "  function void go(int k);\n"
                                "%s"
                                "  endfunction\n"
                                "endclass\n"
                                "class b extends a; endclass\n"
                                "module m;\n"
                                "  a obj = new; b d = new; int r, z;\n"
                                "  initial begin\n"
                                "%s"
                                "  end\n"
                                "endmodule\n";
    auto text = [&](const std::string& method, const std::string& initial) {
        std::string t = classes;
        t.replace(t.find("%s"), 2, method);
        t.replace(t.find("%s"), 2, initial);
        return t;
    };
    EXPECT_EQ(errorsOf(text("    void'(randomize() with { x dist {1 := 1, default :/ 2}; soft y > k; r < 5; });\n"
                            "    void'(this.randomize() with { solve x before y; r inside {[1:3]}; });\n",
                            "    void'(obj.randomize() with { x < 3; r != 2; y dist {[0:3] :/ 1}; });\n"
                            "    void'(std::randomize(z) with { z dist {1 := 1, default :/ 1}; soft z > 0; });\n"
                            "    void'(obj.randomize() with (x) { soft r > 0; x dist {r := 1}; });\n"
                            "    void'(d.randomize() with { soft local::r > 0; solve x before y; });\n")),
              Errors{});
    EXPECT_EQ(
        errorsOf(text("    void'(randomize() with { r dist {1 := 1, default :/ 2}; });\n"
                      "    void'(this.randomize() with { soft r > k; });\n",
                      "    void'(d.randomize() with { solve x before r; });\n"
                      "    void'(obj.randomize() with (r) { soft r < 3; });\n"
                      "    void'(obj.randomize() with { soft r > 0; });\n")),
        // The module is checked at its end, the file's classes at the end of the file.
        (Errors{"12 VERI-1592 randc variable 'r' cannot be ordered by solve-before",
                "13 VERI-1593 soft constraint on randc variable 'r'",
                "14 VERI-1593 soft constraint on randc variable 'r'", "4 VERI-1594 distribution on randc variable 'r'",
                "5 VERI-1593 soft constraint on randc variable 'r'"}));
    // A default weight goes with :/ alone, and only as a weighted item.
    EXPECT_FALSE(
        veritest::analyzeSyntax("class c; rand int x; constraint k { x dist {1 := 1, default := 2}; } endclass\n"));
    EXPECT_FALSE(veritest::analyzeSyntax("class c; rand int x; constraint k { x dist {1 := 1, default}; } endclass\n"));
}

// common_cells' FIFO test draws its actions from a class with a distribution: silent as
// written and with an inline distribution added; an action declared randc is reported at
// the class constraint and at the inline constraint.
TEST(VeriRandCheck, BrokenRandomizationOfCorpusIsReported) {
    std::ifstream in(std::filesystem::path(SIFT_SHARED_DIR) / "corpus/common_cells/test/cc_fifo_tb.sv",
                     std::ios::binary);
    if (!in) GTEST_SKIP() << "corpus not present";
    // The test's helper package is not part of the corpus: a stand-in with the task it uses.
    const std::string helper = "package rand_verif_pkg;\n"
                               "  task automatic rand_wait(input int unsigned min, max, ref logic clk); endtask\n"
                               "endpackage\n";
    const std::string file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    auto lineOf = [](const std::string& text, const std::string& part) {
        size_t at = text.find(part);
        EXPECT_NE(at, std::string::npos) << part;
        return std::to_string(1 + std::count(text.begin(), text.begin() + std::min(at, text.size()), '\n'));
    };
    auto replaced = [](std::string text, const std::string& from, const std::string& to) {
        size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        if (at != std::string::npos) text.replace(at, from.size(), to);
        return text;
    };
    EXPECT_EQ(errorsOf(helper + file), Errors{});
    const std::string inlined = replaced(helper + file, "rand_act.randomize();",
                                         "rand_act.randomize() with { action dist {0 := 1, default :/ 3}; };");
    EXPECT_EQ(errorsOf(inlined), Errors{});
    const std::string randc = replaced(inlined, "rand logic [1:0] action;", "randc logic [1:0] action;");
    EXPECT_EQ(errorsOf(randc),
              (Errors{lineOf(randc, "action dist {\n") + " VERI-1594 distribution on randc variable 'action'",
                      lineOf(randc, "randomize() with") + " VERI-1594 distribution on randc variable 'action'"}));
}

// Files analysed as one compilation unit: an extern constraint's body may stand in a
// later file; a body of another name leaves the prototype undefined.
TEST(VeriRandCheck, ExternConstraintBodiesInALaterFileOfTheUnit) {
    namespace fs = std::filesystem;
    const fs::path dir = fs::temp_directory_path() / ("veri_extern_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    auto write = [&](const char* name, const std::string& text) {
        std::ofstream(dir / name) << text;
        return (dir / name).string();
    };
    const std::string cls = write("cls.sv", "class c;\n  rand int x;\n  extern constraint lo;\nendclass\n");
    const std::string body = write("body.sv", "module top; c obj = new; endmodule\nconstraint c::lo { x > 0; }\n");
    const std::string other = write("other.sv", "module top; c obj = new; endmodule\nconstraint c::hi { x > 0; }\n");
    auto errors = [&](const std::vector<std::string>& files) {
        veri_file::Reset();
        veritest::diagnostics().clear();
        Message::RegisterCallBackMsg(veritest::collect);
        veri_file::AnalyzeMultipleFiles(files, SYSTEM_VERILOG, "work");
        Message::RegisterCallBackMsg(nullptr);
        Errors out;
        for (const veritest::Diagnostic& d : veritest::diagnostics())
            if (d.type == MSG_ERROR) out.push_back(std::to_string(d.line) + " " + d.id + " " + d.text);
        return out;
    };
    EXPECT_EQ(errors({cls, body}), Errors{});
    EXPECT_EQ(errors({cls, other}), Errors{"3 VERI-1590 extern constraint 'lo' of class 'c' is never defined"});
    // A body that does not parse may still be the one: only its syntax error is told.
    const std::string broken = write("broken.sv", "constraint c::lo { x > ; }\n");
    EXPECT_EQ(errors({cls, broken}), Errors{"1 VERI-1500 syntax error near ';', expecting an expression"});
    fs::remove_all(dir);
}

// Real text of the sv-tests suite, legal as written, broken by one word.
TEST(VeriRandCheck, BrokenVariantsOfSuiteFilesAreCaught) {
    namespace fs = std::filesystem;
    fs::path dir = fs::path(SIFT_SHARED_DIR) / "conformance" / "sv-tests" / "tests" / "chapter-18";
    if (!fs::is_directory(dir)) GTEST_SKIP() << "sv-tests not present";
    struct Case {
        const char* file;
        const char* from;
        const char* to;
        const char* id;
    };
    const Case cases[] = {
        {"18.5.4--distribution_0.sv", "rand int", "randc int", "VERI-1594"},
        {"18.5.14--soft-constraints_0.sv", "rand int", "randc int", "VERI-1593"},
        {"18.5.10--variable-ordering_0.sv", "rand int", "randc int", "VERI-1592"},
        {"18.5.1--explicit-external-constraint_0.sv", "constraint a::c", "constraint a::d", "VERI-1590"},
        {"18.5.2--pure-constraint_0.sv", "constraint c {", "constraint d {", "VERI-1591"},
        {"18.17.6--aborting-productions-break-and-return_0.sv", "main : first second", "main : first secnd",
         "VERI-1507"},
        {"18.17.3--case-production-statements_0.sv", "case (switch)", "case (swtch)", "VERI-1507"},
        {"18.5.10--variable-ordering_0.sv", "solve b1 before b2", "solve b1 before b3", "VERI-1507"},
    };
    for (const Case& c : cases) {
        std::ifstream in(dir / c.file);
        ASSERT_TRUE(in) << c.file;
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        EXPECT_EQ(errorsOf(text), Errors{}) << c.file;
        size_t at = text.find(c.from);
        ASSERT_NE(at, std::string::npos) << c.file;
        text.replace(at, std::string(c.from).size(), c.to);
        Errors errors = errorsOf(text);
        ASSERT_FALSE(errors.empty()) << c.file;
        for (const std::string& e : errors) EXPECT_NE(e.find(c.id), std::string::npos) << c.file << ": " << e;
    }
}

TEST(VeriRandRecovery, BrokenItemsRecoverAtTheirBlock) {
    // A broken constraint item costs that item: the class's later members and the next
    // unit are read.
    EXPECT_FALSE(veritest::analyze("class a; rand int x, y;\n"
                                   "  constraint c { x < ; y > 1; if (x) { y ==; } x dist {1 := }; }\n"
                                   "  int after;\n"
                                   "endclass\n"
                                   "module next; endmodule\n"));
    EXPECT_GE(veritest::errorCount(), 1u);
    EXPECT_NE(veritest::unit("next"), nullptr);
    EXPECT_FALSE(veritest::analyze("module m; int x;\n"
                                   "  initial randsequence (main)\n"
                                   "    main : first ) second;\n"
                                   "    first : { x = ; };\n"
                                   "    second : { x = 1; } } ;\n"
                                   "    : ;\n"
                                   "  endsequence\n"
                                   "  initial x = 2;\n"
                                   "endmodule\n"
                                   "module next; endmodule\n"));
    EXPECT_NE(veritest::unit("next"), nullptr);
    // Unterminated blocks end at the end of the file.
    for (const char* text : {"class a; constraint c { x < 1; ", "module m; initial randsequence (m) a : { x = 1;",
                             "module m; initial void'(randomize() with { x < ", "class a; constraint c { if (x) {",
                             "class a; constraint c { x < 1; endsequence } endclass",
                             "module m; initial randsequence (a) a : { x = 1; } endclass b : c; endsequence endmodule"})
        EXPECT_FALSE(veritest::analyze(text)) << text;
}

} // namespace
