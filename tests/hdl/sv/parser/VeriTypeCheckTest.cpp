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
                                "    s++; i = int'(s) + 1;\n"
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

// cv32e40p's instruction aligner keeps its state in an enum: the file as written is
// silent, and each way of assigning its state without a cast is reported where
// `verilator --lint-only` reports ENUMVALUE.
TEST(VeriTypeCheck, BrokenEnumAssignmentsOfCorpusAreReported) {
    std::ifstream in(std::filesystem::path(SIFT_SHARED_DIR) / "corpus/cv32e40p/rtl/cv32e40p_aligner.sv",
                     std::ios::binary);
    if (!in) GTEST_SKIP() << "corpus not present";
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    auto edit = [&](const std::string& from, const std::string& to) {
        size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        std::string variant = text;
        if (at != std::string::npos) variant.replace(at, from.size(), to);
        unsigned line = 1 + unsigned(std::count(text.begin(), text.begin() + std::min(at, text.size()), '\n'));
        return std::make_pair(variant, std::to_string(line));
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
