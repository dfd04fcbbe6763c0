// Names that nothing declares: written cases of each kind beside the legal forms that
// look alike, then one-word typos made in real corpus files, each of which must be
// reported at its line, as a linting compiler reports it.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "VeriTestSupport.h"
#include "hdl/sv/VeriVisitor.h"

using namespace hdl;

namespace {

namespace fs = std::filesystem;

std::vector<std::string> errorsSeen() {
    std::vector<std::string> out;
    for (const veritest::Diagnostic& d : veritest::diagnostics())
        if (d.type == MSG_ERROR) out.push_back(std::to_string(d.line) + " " + d.id + " " + d.text);
    return out;
}

using Errors = std::vector<std::string>;

TEST(VeriNameCheck, PackagesAndTheirItems) {
    const std::string pkg = "package p; typedef enum {IDLE, BUSY} state_t; localparam int W = 4;\n"
                            "  function automatic int f(int a); return a; endfunction endpackage\n"
                            "package q; import p::*; export p::*; endpackage\n";
    veritest::analyze(pkg + "module m; p::state_t s = p::IDLE; logic [p::W-1:0] v = p::f(1);\n"
                            "  q::state_t r = q::BUSY; import p::W; endmodule\n");
    EXPECT_EQ(errorsSeen(), Errors{});
    veritest::analyze(pkg + "module m;\n"
                            "  no_such_pkg::t a;\n"
                            "  int b = no_such_pkg::f();\n"
                            "  p::state_tt c;\n"
                            "  int d = p::g(1);\n"
                            "  import p::X;\n"
                            "endmodule\n");
    EXPECT_EQ(
        errorsSeen(),
        (Errors{"5 VERI-1504 package 'no_such_pkg' is not known", "6 VERI-1504 package 'no_such_pkg' is not known",
                "7 VERI-1508 'state_tt' is not declared in package 'p'",
                "8 VERI-1508 'g' is not declared in package 'p'", "9 VERI-1508 'X' is not declared in package 'p'"}));
}

TEST(VeriNameCheck, TypesFunctionsTasksAndIdentifiers) {
    const char* good = "module m (input logic clk);\n"
                       "  typedef logic [3:0] nib_t; nib_t n; int q[$]; int total;\n"
                       "  function automatic int twice(int x); return 2 * x; endfunction\n"
                       "  task automatic tick(); @(posedge clk); endtask\n"
                       "  always_ff @(posedge clk) n <= twice(n);\n"
                       "  initial begin tick(); total = q.sum() with (item * 2); randomize(total); end\n"
                       "  initial $display(\"%m\", top.u.sig, m.n, gen[0].x);\n"
                       "endmodule\n";
    veritest::analyze(good);
    EXPECT_EQ(errorsSeen(), Errors{});
    veritest::analyze("module m (input logic clk);\n"
                      "  nibble_t n;\n"
                      "  always_ff @(posedge clk) n <= twicee(n);\n"
                      "  initial tock();\n"
                      "  always_comb n = nn;\n"
                      "endmodule\n");
    EXPECT_EQ(
        errorsSeen(),
        (Errors{"2 VERI-1507 type 'nibble_t' is not declared", "3 VERI-1507 function or task 'twicee' is not declared",
                "4 VERI-1507 function or task 'tock' is not declared", "5 VERI-1507 'nn' is not declared"}));
}

// IEEE 1800-2017 6.10: a port connection and the left side of a continuous assignment
// declare an implicit net, which later text may use; `default_nettype none allows none.
TEST(VeriNameCheck, ImplicitNets) {
    const char* implicit = "module test (input a, b, output c); assign c = a & b; endmodule\n"
                           "module top(); wire a = 1; wire b = 0; wire d;\n"
                           "  test mod(a, b, c);\n"
                           "  assign e = d;\n"
                           "  assign d = c | e;\n"
                           "endmodule\n";
    veritest::analyze(implicit);
    EXPECT_EQ(errorsSeen(), Errors{});
    veritest::analyze(std::string("`default_nettype none\n") + implicit);
    EXPECT_EQ(errorsSeen(), (Errors{"4 VERI-1507 'c' is not declared, and `default_nettype none allows no implicit net",
                                    "5 VERI-1507 'e' is not declared, and `default_nettype none allows no implicit net",
                                    "6 VERI-1507 'c' is not declared", "6 VERI-1507 'e' is not declared"}));
}

// What classes, their out-of-class bodies, binds, patterns and hierarchical names name
// is not analysis's to judge.
TEST(VeriNameCheck, WhatIsLeftToElaboration) {
    veritest::analyze("class base; int inherited; endclass\n"
                      "class c extends base; function void f(); inherited = 1; endfunction\n"
                      "  extern function void g(); endclass\n"
                      "function void c::g(); inherited = 2; endfunction\n"
                      "module m; typedef union tagged { int a; } u_t; u_t u; typedef struct { int x; } s_t;\n"
                      "  s_t s = '{x: 1};\n"
                      "  initial begin case (u) matches tagged a .v : $display(v); endcase\n"
                      "    if (u matches tagged a .w) $display(w); $dumpports(top, \"f\"); end\n"
                      "  bind target checker_m u_chk (.sig(target_sig));\n"
                      "endmodule\n");
    EXPECT_EQ(errorsSeen(), Errors{});
    // A unit that does not parse gets its syntax error alone.
    veritest::analyze("module m; initial begin x = ; y = undeclared; end endmodule\n");
    ASSERT_EQ(errorsSeen().size(), 1u);
    EXPECT_EQ(veritest::diagnostics().back().id, "VERI-1500");
}

// IEEE 1800-2017 3.13: a name is declared once in its scope; a non-ANSI port is
// completed by its net or variable declaration, a forward typedef by its type, an extern
// method by its body, and generate blocks of one name stand in exclusive branches.
TEST(VeriNameCheck, DeclarationsTwiceInOneScope) {
    veritest::analyze("module m (q, d); output q; input d; reg q; wire d;\n"
                      "  typedef class c; class c; extern function void f(); endclass\n"
                      "  function void c::f(); endfunction\n"
                      "  parameter P = 1; logic x;\n"
                      "  if (P) begin : g logic x; end else begin : g logic y; end\n"
                      "  function int h(int x); return x; endfunction\n"
                      "endmodule\n");
    EXPECT_EQ(errorsSeen(), Errors{});
    veritest::analyze("module m; logic a;\n"
                      "  wire a;\n"
                      "  function int h(); return 0; endfunction\n"
                      "  task h(); endtask\n"
                      "  sub u (); sub u ();\n"
                      "endmodule\n");
    EXPECT_EQ(errorsSeen(), (Errors{"2 VERI-1509 'a' is already declared in this scope",
                                    "4 VERI-1509 'h' is already declared in this scope",
                                    "5 VERI-1509 'u' is already declared in this scope"}));
}

// The compilation unit's scope may declare what a unit names after the unit, later in
// the same file; what it never declares is still told.
TEST(VeriNameCheck, LaterDeclarationsOfTheCompilationUnit) {
    const std::string unit = "module m (output int y);\n  assign y = later_c;\n  initial later_f();\nendmodule\n";
    veritest::analyze(unit + "parameter int later_c = 3;\nfunction void later_f(); endfunction\n");
    EXPECT_EQ(errorsSeen(), Errors{});
    veritest::analyze(unit + "parameter int later_cc = 3;\nfunction void later_ff(); endfunction\n");
    EXPECT_EQ(errorsSeen(), (Errors{"3 VERI-1507 function or task 'later_f' is not declared",
                                    "2 VERI-1507 'later_c' is not declared"}));
}

// Generate blocks may share a name only as alternatives of one conditional construct.
TEST(VeriNameCheck, GenerateBlocksOfOneName) {
    veritest::analyze("module m #(parameter P = 1, parameter Q = 0) ();\n"
                      "  if (P == 0) begin : g wire a; end\n"
                      "  else if (P == 1) begin : g wire b; end\n"
                      "  else if (Q) begin : g wire c; end else begin : g wire d; end\n"
                      "  case (P) 0: begin : c wire a; end 1: if (Q) begin : c end else begin : c end\n"
                      "    default: begin : c end endcase\n"
                      "  for (genvar i = 0; i < 2; i++) begin : l if (i) begin : g end else begin : g end end\n"
                      "  if (Q) begin : outer if (P) begin : g end end else begin : outer end\n"
                      "endmodule\n");
    EXPECT_EQ(errorsSeen(), Errors{});
    veritest::analyze("module m #(parameter P = 1) ();\n"
                      "  if (P) begin : g wire a; end\n"
                      "  if (!P) begin : g wire b; end\n"
                      "  for (genvar i = 0; i < 2; i++) begin : l end\n"
                      "  for (genvar j = 0; j < 2; j++) begin : l end\n"
                      "  case (P) 0: begin : c end default: begin : c end endcase\n"
                      "  if (P) begin : c end\n"
                      "  generate if (P) begin : n if (P) begin : x end if (!P) begin : x end end endgenerate\n"
                      "endmodule\n");
    EXPECT_EQ(errorsSeen(), (Errors{"3 VERI-1509 'g' is already declared in this scope",
                                    "5 VERI-1509 'l' is already declared in this scope",
                                    "7 VERI-1509 'c' is already declared in this scope",
                                    "8 VERI-1509 'x' is already declared in this scope"}));
}

// ---- one-word typos in real files

struct Site {
    unsigned line, col; // 1-based, where the name starts in the file's text
    std::string name;
    std::string id; // the message expected
};

// Offset of line/col in text, or npos.
size_t offsetOf(const std::string& text, unsigned line, unsigned col) {
    size_t at = 0;
    for (unsigned l = 1; l < line; ++l) {
        at = text.find('\n', at);
        if (at == std::string::npos) return at;
        ++at;
    }
    return at + col - 1;
}

// The places of a file where a name is used that a typo would leave undeclared.
class SiteFinder : public VeriVisitor {
public:
    explicit SiteFinder(unsigned fileId) : fileId_(fileId) {}
    std::map<std::string, std::vector<Site>> sites; // by kind

    void Visit(VeriClass&) override {}
    void Visit(VeriScopeName& n) override {
        auto* ref = dynamic_cast<VeriIdRef*>(n.prefix);
        if (ref && n.id && ref->id && ref->name != "std") {
            add("package", *ref, "VERI-1504");
            ColLineFile at = n.Linefile();
            // the item follows `pkg::`
            add("package item", at.leftLine, at.leftCol + unsigned(ref->name.size()) + 2, n.name.Text(), "VERI-1508");
        }
        VeriVisitor::Visit(n);
    }
    void Visit(VeriTypeRef& n) override {
        auto* ref = dynamic_cast<VeriIdRef*>(n.typeName);
        if (ref && ref->id && dynamic_cast<VeriTypeId*>(ref->id)) add("type", *ref, "VERI-1507");
        VeriVisitor::Visit(n);
    }
    void Visit(VeriFunctionCall& n) override {
        auto* ref = dynamic_cast<VeriIdRef*>(n.func);
        if (ref && ref->id && dynamic_cast<VeriFunctionId*>(ref->id)) add("function", *ref, "VERI-1507");
        VeriVisitor::Visit(n);
    }
    void Visit(VeriAlwaysConstruct& n) override {
        ++inAlways_;
        VeriVisitor::Visit(n);
        --inAlways_;
    }
    void Visit(VeriIdRef& n) override {
        if (inAlways_ && n.id && dynamic_cast<VeriVariable*>(n.id)) add("identifier", n, "VERI-1507");
    }

private:
    void add(const char* kind, VeriIdRef& ref, const char* id) {
        ColLineFile at = ref.Linefile();
        add(kind, at.leftLine, at.leftCol, ref.name.Text(), id);
    }
    void add(const char* kind, unsigned line, unsigned col, std::string_view name, const char* id) {
        sites[kind].push_back(Site{line, col, std::string(name), id});
    }
    unsigned fileId_;
    int inAlways_ = 0;
};

struct Project {
    std::vector<std::string> includeDirs;
    std::vector<std::pair<unsigned, std::string>> files; // language, path
};

Project readProject(const char* name) {
    Project p;
    fs::path dir = fs::path(SIFT_SHARED_DIR) / "corpus" / name;
    std::ifstream list(dir / "FILELIST.tsv");
    for (std::string line; std::getline(list, line);) {
        std::vector<std::string> cols;
        std::stringstream ss(line);
        for (std::string c; std::getline(ss, c, '\t');) cols.push_back(c);
        if (cols.size() == 2 && cols[0] == "incdir") p.includeDirs.push_back((dir / cols[1]).string());
        if (cols.size() == 3 && cols[0] == "sv") p.files.push_back({SYSTEM_VERILOG, (dir / cols[2]).string()});
    }
    return p;
}

// Analyses the project's files up to `upto`, the last one with `text` instead of its own.
void analyzeUpTo(const Project& p, size_t upto, const std::string* text) {
    veri_file::Reset();
    veritest::diagnostics().clear();
    for (const std::string& d : p.includeDirs) veri_file::AddIncludeDir(d.c_str());
    Message::RegisterCallBackMsg(veritest::collect);
    for (size_t i = 0; i <= upto; ++i) {
        if (i == upto && text) veri_file::AnalyzeText(*text, p.files[i].second.c_str());
        else veri_file::Analyze(p.files[i].second.c_str(), p.files[i].first);
    }
    Message::RegisterCallBackMsg(nullptr);
}

TEST(VeriNameCheck, OneWordTyposInCorpusFilesAreReported) {
    std::map<std::string, std::pair<unsigned, unsigned>> tally; // kind: tried, reported
    for (const char* name : {"cv32e40p", "common_cells"}) {
        Project p = readProject(name);
        if (p.files.empty()) continue;
        // The files of the project in list order; in each, a few sites of each kind.
        for (size_t f = 0; f < p.files.size(); f += 3) {
            analyzeUpTo(p, f, nullptr);
            ASSERT_EQ(veritest::errorCount(), 0u) << p.files[f].second;
            std::ifstream in(p.files[f].second, std::ios::binary);
            std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            std::map<std::string, std::vector<Site>> sites;
            for (VeriLibrary* lib : veri_file::AllLibraries())
                for (VeriModule* m : lib->AllModules()) {
                    if (!m->Linefile().fileId ||
                        std::string(LineFile::GetFileNameFromId(m->Linefile().fileId)) != p.files[f].second)
                        continue;
                    SiteFinder finder(m->Linefile().fileId);
                    finder.TraverseNode(m);
                    for (auto& [kind, list] : finder.sites)
                        sites[kind].insert(sites[kind].end(), list.begin(), list.end());
                }
            for (auto& [kind, list] : sites) {
                unsigned taken = 0;
                for (const Site& s : list) {
                    if (taken == 2) break;
                    size_t at = offsetOf(text, s.line, s.col);
                    // Only names written out here (not made by a macro).
                    if (at == std::string::npos || text.compare(at, s.name.size(), s.name) != 0) continue;
                    ++taken;
                    std::string variant = text;
                    variant.insert(at + s.name.size(), "_q");
                    analyzeUpTo(p, f, &variant);
                    bool reported = false;
                    for (const veritest::Diagnostic& d : veritest::diagnostics())
                        reported |= d.type == MSG_ERROR && d.id == s.id && d.line == s.line &&
                                    d.text.find(s.name + "_q") != std::string::npos;
                    ++tally[kind].first;
                    tally[kind].second += reported;
                    EXPECT_TRUE(reported) << p.files[f].second << ":" << s.line << ": " << kind << " " << s.name
                                          << "_q not reported as " << s.id;
                }
            }
        }
    }
    veri_file::Reset();
    if (tally.empty()) GTEST_SKIP() << "corpus not present";
    for (const auto& [kind, counts] : tally)
        std::printf("typos of a %s: %u tried, %u reported\n", kind.c_str(), counts.first, counts.second);
    for (const char* kind : {"package", "package item", "type", "function", "identifier"})
        EXPECT_GT(tally[kind].first, 0u) << "no " << kind << " to misspell";
}

} // namespace
