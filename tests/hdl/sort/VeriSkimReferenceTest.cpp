// Every place where a Verilog text can name a package (`pkg::x`, `import pkg::...`) gives
// the skim a reference to it, so that the package is analysed before its user. Checked on
// a written case per place, and against the full parse of every Verilog file of the corpus
// and of the sv-tests: whatever scope the tree names, the skim names too.
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "SortTestFiles.h"
#include "hdl/base/Message.h"
#include "hdl/sort/VeriSkim.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriPackageNames.h"
#include "hdl/sv/VeriPreprocessor.h"

namespace fs = std::filesystem;
using namespace hdl;

namespace {

void quiet(msg_type_t, const char*, const ColLineFile*, const char*, va_list) {}

// The units the skim of `text` names as packages, as a set.
std::set<std::string> skimmedPackages(const std::string& text, const std::vector<std::string>& includeDirs = {}) {
    VeriPreprocessorOptions options;
    options.language = 5;
    options.includeDirs = includeDirs;
    VeriPreprocessor pp(options);
    pp.pushText(text, "text.sv");
    std::vector<VeriSkimToken> tokens;
    for (VeriToken t = pp.next(); t.kind != VT_EOF; t = pp.next()) tokens.push_back(VeriSkimToken{t.kind, t.text});
    tokens.push_back(VeriSkimToken{VT_EOF, {}});
    FileElement element;
    veriSkimTokens(tokens, element);
    std::set<std::string> out;
    for (const SortReference& r : element.references)
        if (!(r.flags & (SORT_REF_WEAK | SORT_REF_BIND_TARGET | SORT_REF_IMPLICIT))) out.insert(r.unitName);
    return out;
}

// The scopes the full parse of `text` names.
std::set<std::string> parsedScopes(const std::string& text, const std::vector<std::string>& includeDirs = {}) {
    veri_file::Reset();
    for (const std::string& d : includeDirs) veri_file::AddIncludeDir(d.c_str());
    veri_file::AnalyzeText(text, "text.sv");
    std::set<std::string> out;
    for (VeriLibrary* lib : veri_file::AllLibraries())
        for (VeriModule* m : lib->AllModules())
            for (const std::string& n : VeriScopesNamed(*m)) out.insert(n);
    veri_file::Reset();
    return out;
}

class VeriSkimReferenceTest : public ::testing::Test {
protected:
    void SetUp() override { Message::RegisterCallBackMsg(quiet); }
    void TearDown() override { Message::RegisterCallBackMsg(nullptr); }
};

TEST_F(VeriSkimReferenceTest, EveryPlaceThatNamesAPackageGivesItsReference) {
    // One package per place, p_<place>.
    const std::string text = R"(
typedef p_typedef::word_t top_word_t;
extern module ext #(parameter W = p_extern::W) (input logic [W-1:0] a);
function automatic p_ret::t top_f(input int a = p_funcdefault::D);
  return a;
endfunction
module top import p_header::*; #(parameter int N = p_param::N) (input p_port::t x);
  leaf #(.W(p_override::A | p_override2::B)) u_leaf (.a(p_conn::C), .b());
  leaf #(p_positional::A) u_pos (p_posconn::C);
  leaf u_plain (.a(p_plainconn::C));
  if (p_gencond::EN) begin : g
    leaf u_g ();
  end
  for (genvar i = 0; i < p_genfor::N; i++) begin : gf end
  case (p_gencase::MODE) 0: begin end default: begin end endcase
  (* keep = p_attr::K *) logic l;
  assert property (@(posedge x) p_assert::ok(x));
  always_comb begin : blk
    automatic p_decl::t v = p_stmt::f(x);
  end
  task automatic t(input int a = p_taskdefault::D); endtask
  bind leaf checker_m #(.W(p_bind::W)) u_chk (.a(p_bindconn::C));
endmodule
class c extends base;
  p_classmember::t m;
  function void f(); m = p_classbody::g() + p_classspec#(int)::h(); endfunction
endclass
)";
    std::set<std::string> skim = skimmedPackages(text);
    const std::vector<std::string> places = {
        "p_typedef",  "p_extern",    "p_ret",         "p_funcdefault", "p_header",   "p_param",     "p_port",
        "p_override", "p_override2", "p_conn",        "p_positional",  "p_posconn",  "p_plainconn", "p_gencond",
        "p_genfor",   "p_gencase",   "p_attr",        "p_assert",      "p_decl",     "p_stmt",      "p_taskdefault",
        "p_bind",     "p_bindconn",  "p_classmember", "p_classbody",   "p_classspec"};
    for (const std::string& p : places) EXPECT_TRUE(skim.count(p)) << "no reference to " << p;
    // Nothing but the packages: instances, ports, parameters and hierarchical names are no package references.
    std::set<std::string> expected(places.begin(), places.end());
    for (const std::string& s : skim) EXPECT_TRUE(expected.count(s)) << "unexpected reference to " << s;

    // The full parse names a subset of them (attribute values and assertions it passes over).
    for (const std::string& s : parsedScopes(text)) EXPECT_TRUE(skim.count(s)) << s;
}

TEST_F(VeriSkimReferenceTest, NamesThatAreNoPackagesGiveNone) {
    std::set<std::string> skim = skimmedPackages("module m; leaf #(.W(A)) u (.a(top.x), .b(this_is_no_pkg)); "
                                                 "initial $display(std::randomize(x), $unit::y, a::b::c); endmodule");
    EXPECT_EQ(skim, (std::set<std::string>{"a"}));
}

// Each Verilog file of the corpus and the sv-tests, alone: the skim names every scope the
// parse tree names.
TEST_F(VeriSkimReferenceTest, TheSkimNamesWhatTheParseNames) {
    struct File {
        std::string path;
        std::vector<std::string> includeDirs;
    };
    std::vector<File> files;
    for (const char* project : {"common_cells", "cv32e40p", "picorv32", "serv"}) {
        fs::path dir = fs::path(kSharedDir) / "corpus" / project;
        std::ifstream in(dir / "FILELIST.tsv");
        std::vector<std::string> includeDirs;
        std::vector<std::string> paths;
        for (std::string line; std::getline(in, line);) {
            std::vector<std::string> cols;
            std::stringstream ss(line);
            for (std::string c; std::getline(ss, c, '\t');) cols.push_back(c);
            if (cols.size() == 2 && cols[0] == "incdir") includeDirs.push_back((dir / cols[1]).string());
            if (cols.size() == 3 && (cols[0] == "sv" || cols[0] == "v2k")) paths.push_back((dir / cols[2]).string());
        }
        for (const std::string& p : paths) files.push_back(File{p, includeDirs});
    }
    fs::path conformance = fs::path(kSharedDir) / "conformance" / "sv-tests" / "tests";
    if (fs::exists(conformance))
        for (const auto& entry : fs::recursive_directory_iterator(conformance))
            if (entry.path().extension() == ".sv") files.push_back(File{entry.path().string(), {}});
    if (files.empty()) GTEST_SKIP() << "no corpus under " << kSharedDir;
    std::sort(files.begin(), files.end(), [](const File& a, const File& b) { return a.path < b.path; });
    size_t named = 0;
    for (const File& f : files) {
        std::ifstream in(f.path, std::ios::binary);
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::vector<std::string> dirs = f.includeDirs;
        dirs.push_back(fs::path(f.path).parent_path().string());
        std::set<std::string> skim = skimmedPackages(text, dirs);
        for (const std::string& s : parsedScopes(text, dirs)) {
            ++named;
            EXPECT_TRUE(skim.count(s)) << f.path << ": the skim misses " << s;
        }
    }
    // Real code names packages often; a walk that found none would prove nothing.
    EXPECT_GT(files.size(), 1000u);
    EXPECT_GT(named, 200u);
}

} // namespace
