// Types of assigned values: each broken form beside the legal forms that look most like
// it, which must stay silent.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "VeriTestSupport.h"

using namespace hdl;

namespace {

using Errors = std::vector<std::string>;

using veritest::errorsOf;

const std::string kEnums = "package p; typedef enum logic [1:0] {PA, PB} p_t; endpackage\n"
                           "module m(input logic clk, input logic [1:0] v);\n"
                           "  import p::*;\n"
                           "  typedef enum {A, B, C} e_t;\n"
                           "  typedef e_t alias_t;\n"
                           "  typedef enum logic [1:0] {X, Y} f_t;\n"
                           "  localparam e_t LP = B;\n"
                           "  parameter type T = e_t;\n";

TEST(VeriTypeCheck, EnumVariablesTakeTheirOwnTypeOrACast) {
    EXPECT_EQ(errorsOf(kEnums + "  e_t s = A, n; alias_t a = C; f_t f; int i; logic c; p_t q; T t;\n"
                                "  enum {U, W} inline_e = W;\n"
                                "  int j; assign j = s + 1;\n"
                                "  always_ff @(posedge clk) s <= n;\n"
                                "  always_comb begin\n"
                                "    n = LP; n = a; a = s; n = c ? A : B; n = e_t'(v); n = e_t'(s + 1);\n"
                                "    n = s.next(); n = T'(1); t = 1; q = PB; q = p::PA; f = Y;\n"
                                "    if (s == 1 || s inside {A, B} || s != f) i = s;\n"
                                "    case (s) A: i = 0; default: i = 1; endcase\n"
                                "    i = int'(s) + 1; s = e_t'(s + 1);\n"
                                "  end\n"
                                "endmodule\n"),
              Errors{});
    EXPECT_EQ(
        errorsOf(kEnums + "  e_t s = 1, n; f_t f; int i; logic [1:0] l; alias_t a; p_t q; logic c;\n"
                          "  always_ff @(posedge clk) s <= '0;\n"
                          "  always_comb begin\n"
                          "    n = X; n = f; a = l; n = s + 1; s += 1; n = c ? A : 2; q = A;\n"
                          "    n = {A}; n = i; n = l[1:0]; n = s[0];\n"
                          "  end\n"
                          "  assign f = v;\n"
                          "endmodule\n"),
        (Errors{"9 VERI-1522 enum variable 's' is assigned a value that is not of its enum type; a cast is needed",
                "10 VERI-1522 enum variable 's' is assigned a value that is not of its enum type; a cast is needed",
                "12 VERI-1522 enum variable 'n' is assigned a value of another enum type",
                "12 VERI-1522 enum variable 'n' is assigned a value of another enum type",
                "12 VERI-1522 enum variable 'a' is assigned a value that is not of its enum type; a cast is needed",
                "12 VERI-1522 enum variable 'n' is assigned a value that is not of its enum type; a cast is needed",
                "12 VERI-1522 enum variable 's' is assigned a value that is not of its enum type; a cast is needed",
                "12 VERI-1522 enum variable 'n' is assigned a value that is not of its enum type; a cast is needed",
                "12 VERI-1522 enum variable 'q' is assigned a value of another enum type",
                "13 VERI-1522 enum variable 'n' is assigned a value that is not of its enum type; a cast is needed",
                "13 VERI-1522 enum variable 'n' is assigned a value that is not of its enum type; a cast is needed",
                "13 VERI-1522 enum variable 'n' is assigned a value that is not of its enum type; a cast is needed",
                "13 VERI-1522 enum variable 'n' is assigned a value that is not of its enum type; a cast is needed",
                "15 VERI-1522 enum variable 'f' is assigned a value that is not of its enum type; a cast is needed"}));
}

TEST(VeriTypeCheck, StreamsFitTheirTargetAndPatternsTheirArray) {
    EXPECT_EQ(errorsOf("module m;\n"
                       "  typedef struct { int a; int b; } s_t;\n"
                       "  typedef logic [15:0] half_t;\n"
                       "  int a, b; byte c; logic [95:0] wide; half_t h; parameter N = 3;\n"
                       "  int d = {<<{a}}; logic [47:0] e = {>>{c, a, 8'h1}}; half_t g = {<<8{c, c}};\n"
                       "  s_t ms[1:0] = '{'{0, 0}, '{1, 1}}; int q[$] = '{1, 2, 3}; int dyn[] = '{1};\n"
                       "  int two[2] = '{1, 2}; int byKey[0:2] = '{0: 1, default: 0}; int rep[4] = '{4{7}};\n"
                       "  int byN[N] = '{1, 2, 3}; int grid[2][3] = '{'{1, 2, 3}, '{4, 5, 6}};\n"
                       "  initial begin wide = {<<{a, b, c}}; two = '{a, b}; h = {>>{c, c}}; end\n"
                       "endmodule\n"),
              Errors{});
    EXPECT_EQ(errorsOf("module m;\n"
                       "  typedef struct { int a; int b; } s_t;\n"
                       "  typedef logic [15:0] half_t;\n"
                       "  int a, b, c; byte y; half_t h;\n"
                       "  s_t ms[1:0] = '{0, 0, 1, 1};\n"
                       "  int two[2] = '{1};\n"
                       "  initial begin\n"
                       "    int d = {<<{a, b, c}};\n"
                       "    h = {>>{y, y, 1'b1}};\n"
                       "    two = '{a, b, c};\n"
                       "  end\n"
                       "endmodule\n"),
              (Errors{"5 VERI-1524 assignment pattern of 4 items for 'ms', an unpacked array of 2 elements",
                      "6 VERI-1524 assignment pattern of 1 items for 'two', an unpacked array of 2 elements",
                      "8 VERI-1523 streaming concatenation of 96 bits is wider than the 32 bits of 'd'",
                      "9 VERI-1523 streaming concatenation of 17 bits is wider than the 16 bits of 'h'",
                      "10 VERI-1524 assignment pattern of 3 items for 'two', an unpacked array of 2 elements"}));
}

TEST(VeriTypeCheck, EnumsAreSteppedPassedAndReturnedOnlyWithTheirType) {
    const std::string header =
        "module m;\n"
        "  typedef enum {A, B, C} e_t;\n"
        "  typedef enum logic [1:0] {X, Y} f_t;\n"
        "  function automatic e_t next(e_t e, int step = 1); return e_t'(e + step); endfunction\n"
        "  function automatic int count(input e_t e); return int'(e); endfunction\n"
        "  task automatic show(e_t e, output e_t o); o = e; endtask\n"
        "  e_t s, n; f_t f; int i;\n";
    EXPECT_EQ(errorsOf(header + "  function automatic e_t first(int k); if (k) return n; return A; endfunction\n"
                                "  function automatic int last(); return 2; endfunction\n"
                                "  initial begin\n"
                                "    i++; --i; s = next(s); s = next(.e(B)); n = first(0); i = count(s);\n"
                                "    show(A, n); show(.e(n), .o(s)); show(s, i); s = next(s, 2);\n"
                                "    for (int k = 0; k < 3; k++) n = e_t'(k);\n"
                                "    s = s.next(); i = count(e_t'(i)); s = next(first(1));\n"
                                "  end\n"
                                "endmodule\n"),
              Errors{});
    EXPECT_EQ(errorsOf(header + "  function automatic e_t bad(int k); if (k) return 0; return Y; endfunction\n"
                                "  initial begin\n"
                                "    s++; --n; i = s++ + 1;\n"
                                "    s = next(1); s = next(X); i = count(.e(i)); show(f, n);\n"
                                "    for (s = A; s != C; s++) i = 0;\n"
                                "  end\n"
                                "endmodule\n"),
              (Errors{"8 VERI-1522 enum function 'bad' returns a value that is not of its enum type; a cast is needed",
                      "8 VERI-1522 enum function 'bad' returns a value of another enum type",
                      "10 VERI-1522 enum variable 's' cannot be stepped by ++; a cast is needed",
                      "10 VERI-1522 enum variable 'n' cannot be stepped by --; a cast is needed",
                      "10 VERI-1522 enum variable 's' cannot be stepped by ++; a cast is needed",
                      "11 VERI-1522 enum argument 'e' of 'next' is given a value that is not of its enum type; a cast "
                      "is needed",
                      "11 VERI-1522 enum argument 'e' of 'next' is given a value of another enum type",
                      "11 VERI-1522 enum argument 'e' of 'count' is given a value that is not of its enum type; a cast "
                      "is needed",
                      "11 VERI-1522 enum argument 'e' of 'show' is given a value of another enum type",
                      "12 VERI-1522 enum variable 's' cannot be stepped by ++; a cast is needed"}));
}

TEST(VeriTypeCheck, BracesFillUnpackedArraysElementByElementAndNoUnpackedStruct) {
    EXPECT_EQ(errorsOf("module m;\n"
                       "  typedef struct { int a; int b; } s_t;\n"
                       "  typedef struct packed { logic [3:0] a, b; } p_t;\n"
                       "  int a, b; int two[2], three[3], q[$], dyn[]; logic [7:0] bytes[4]; s_t s; p_t p;\n"
                       "  localparam int L[3] = {1, 2, 3};\n"
                       "  parameter int N = 2;\n"
                       "  int byN[N] = {1, 2, 3}; int grid[2][2] = {two, two}; s_t pairs[2] = {s, s};\n"
                       "  initial begin\n"
                       "    two = {a, b}; three = {two, a}; three = {1, two}; q = {a, b, two}; dyn = {three, two};\n"
                       "    bytes = {8'h1, 8'h2, a[7:0], bytes[3]}; p = {4'h1, 4'h2}; two = {a[0], three[1]};\n"
                       "    s = '{1, 2}; three = {L[0], N, 3}; bytes = {4{8'h0}}; two = {f(), a};\n"
                       "  end\n"
                       "  function automatic int f(); return 0; endfunction\n"
                       "endmodule\n"),
              Errors{});
    EXPECT_EQ(errorsOf("module m;\n"
                       "  typedef struct { int a; int b; } s_t;\n"
                       "  int a, b; int two[2], three[3]; s_t s;\n"
                       "  localparam int L[3] = {1, 2};\n"
                       "  s_t t = {a, b};\n"
                       "  initial begin\n"
                       "    two = {a, b, a}; three = {two}; two = {three, a};\n"
                       "    s = {1, 2};\n"
                       "  end\n"
                       "endmodule\n"),
              (Errors{"4 VERI-1524 unpacked array concatenation of 2 elements for 'L', an unpacked array of 3 elements",
                      "5 VERI-1529 unpacked struct 't' cannot be assigned a concatenation; it needs an assignment "
                      "pattern '{...}",
                      "7 VERI-1524 unpacked array concatenation of 3 elements for 'two', an unpacked array of 2 "
                      "elements",
                      "7 VERI-1524 unpacked array concatenation of 2 elements for 'three', an unpacked array of 3 "
                      "elements",
                      "7 VERI-1524 unpacked array concatenation of 4 elements for 'two', an unpacked array of 2 "
                      "elements",
                      "8 VERI-1529 unpacked struct 's' cannot be assigned a concatenation; it needs an assignment "
                      "pattern '{...}"}));
}

// Real text with one edit, and the line of the edit.
struct Variant {
    std::string text;
    std::string line;
};

std::string readCorpus(const char* path) {
    std::ifstream in(std::filesystem::path(SIFT_SHARED_DIR) / "corpus" / path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

Variant edit(const std::string& text, const std::string& from, const std::string& to) {
    size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at == std::string::npos) return {text, "0"};
    std::string variant = text;
    variant.replace(at, from.size(), to);
    return {variant, std::to_string(1 + std::count(text.begin(), text.begin() + at, '\n'))};
}

// The errors of a text read with one include folder.
Errors errorsWithIncludes(const std::string& text, const std::string& includeDir) {
    veri_file::Reset();
    veritest::diagnostics().clear();
    veri_file::AddIncludeDir(includeDir.c_str());
    veritest::analyze(text, "work", false);
    Errors out;
    for (const veritest::Diagnostic& d : veritest::diagnostics())
        if (d.type == MSG_ERROR) out.push_back(std::to_string(d.line) + " " + d.id + " " + d.text);
    return out;
}

// FPnew's package steps loop variables, passes formats to functions and returns operation
// groups: silent as written; an enum loop variable stepped by ++, a format argument
// without its cast, and an operation returned as a group are each reported at their line.
TEST(VeriTypeCheck, BrokenEnumUsesOfCorpusAreReported) {
    const std::string text = readCorpus("cv32e40p/rtl/vendor/pulp_platform_fpnew/src/fpnew_pkg.sv");
    if (text.empty()) GTEST_SKIP() << "corpus not present";
    EXPECT_EQ(errorsOf(text), Errors{});
    Variant loop = edit(text, "for (int unsigned fmt = 0;", "for (fp_format_e fmt = FP32;");
    EXPECT_EQ(errorsOf(loop.text), Errors{loop.line + " VERI-1522 enum variable 'fmt' cannot be stepped by ++; a cast "
                                                      "is needed"});
    Variant arg = edit(text, "exp_bits(fp_format_e'(fmt))", "exp_bits(fmt)");
    EXPECT_EQ(errorsOf(arg.text), Errors{arg.line + " VERI-1522 enum argument 'fmt' of 'exp_bits' is given a value "
                                                    "that is not of its enum type; a cast is needed"});
    Variant ret = edit(text, "return ADDMUL;", "return FMADD;");
    EXPECT_EQ(errorsOf(ret.text),
              Errors{ret.line + " VERI-1522 enum function 'get_opgroup' returns a value of another enum type"});
}

// common_cells' LFSR fills its table of masks with an assignment pattern; braces without
// the apostrophe are a concatenation of the same elements and stay silent, one element
// short is reported.
TEST(VeriTypeCheck, BrokenArrayConcatenationOfCorpusIsReported) {
    const std::string text = readCorpus("common_cells/src/cc_lfsr.sv");
    if (text.empty()) GTEST_SKIP() << "corpus not present";
    const std::string include = std::string(SIFT_SHARED_DIR) + "/corpus/common_cells/include";
    EXPECT_EQ(errorsWithIncludes(text, include), Errors{});
    Variant braces = edit(text, "Masks [4:64] = '{64'hC,", "Masks [4:64] = {64'hC,");
    EXPECT_EQ(errorsWithIncludes(braces.text, include), Errors{});
    Variant shorter = edit(braces.text, "Masks [4:64] = {64'hC,", "Masks [4:64] = {");
    EXPECT_EQ(errorsWithIncludes(shorter.text, include),
              Errors{shorter.line + " VERI-1524 unpacked array concatenation of 60 elements for 'Masks', an "
                                    "unpacked array of 61 elements"});
}

// cv32e40p's instruction aligner keeps its state in an enum: the file as written is
// silent, and each way of assigning its state without a cast is reported where
// `verilator --lint-only` reports ENUMVALUE.
TEST(VeriTypeCheck, BrokenEnumAssignmentsOfCorpusAreReported) {
    std::ifstream in(std::filesystem::path(SIFT_SHARED_DIR) / "corpus/cv32e40p/rtl/cv32e40p_aligner.sv",
                     std::ios::binary);
    if (!in) GTEST_SKIP() << "corpus not present";
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    auto edit = [&](const std::string& from, const std::string& to) {
        auto variant = veritest::edited(text, from, to);
        EXPECT_NE(variant.second, "0") << from;
        return variant;
    };
    EXPECT_EQ(errorsOf(text), Errors{});
    const std::string notItsType = " VERI-1522 enum variable '%s' is assigned a value that is not of its enum type; a "
                                   "cast is needed";
    auto expect = [&](const std::string& line, const std::string& var) {
        std::string t = notItsType;
        t.replace(t.find("%s"), 2, var);
        return Errors{line + t};
    };
    auto [literal, literalLine] = edit("next_state      = ALIGNED32;", "next_state      = 3'd0;");
    EXPECT_EQ(errorsOf(literal), expect(literalLine, "next_state"));
    auto [sum, sumLine] = edit("state            <= next_state;", "state            <= next_state + 1;");
    EXPECT_EQ(errorsOf(sum), expect(sumLine, "state"));
    auto [vector, vectorLine] = edit("next_state      = state;", "next_state      = fetch_rdata_i[2:0];");
    EXPECT_EQ(errorsOf(vector), expect(vectorLine, "next_state"));
}

} // namespace
