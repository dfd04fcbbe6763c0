// Constant evaluation of Verilog: each case is a localparam of a small module, evaluated
// as elaboration does, compared with what the standard (and a simulator) gives.
#include <gtest/gtest.h>

#include <algorithm>

#include "VhdlTestUtil.h"
#include "hdl/elab/VeriEvaluator.h"
#include "hdl/sv/VeriLibrary.h"

namespace hdl {
namespace {

struct Evaluated {
    VeriValue value;
    std::vector<test::CapturedMessage> messages;
    bool Has(const std::string& id) const {
        return std::any_of(messages.begin(), messages.end(), [&](const auto& m) { return m.id == id; });
    }
};

class VeriEvaluatorTest : public ::testing::Test {
protected:
    void SetUp() override { veri_file::Reset(); }
    void TearDown() override { veri_file::Reset(); }

    // `text` declares P (and what it needs) inside module m; packages may precede it.
    Evaluated Eval(const std::string& text, const std::string& before = "", ElabLimits limits = ElabLimits()) {
        test::MessageCapture capture;
        Evaluated r;
        std::string source = before + "\nmodule m;\n" + text + "\nendmodule\n";
        veri_file::AnalyzeText(source, "eval.sv");
        // Analysis may tell an undeclared name; anything else is a broken case.
        for (const auto& m : capture.All()) EXPECT_TRUE(m.type != MSG_ERROR || m.id == "VERI-1507") << source << m.text;
        VeriModule* m = veri_file::GetModule("m");
        if (!m) return r;
        VeriEvaluator eval(limits);
        VeriFrame frame;
        for (uint32_t i = 0; i < m->GetScope()->DeclarationCount(); ++i) {
            VeriIdDef* id = m->GetScope()->Declaration(i);
            if (id->IsParam()) frame.pending[id].expr = id->GetInitialValue();
        }
        VeriIdDef* p = m->GetScope()->findLocal("P");
        EXPECT_TRUE(p);
        if (p) r.value = eval.ParameterValue(p, &frame);
        r.messages = capture.All();
        return r;
    }
    std::string Image(const std::string& text, const std::string& before = "") {
        return Eval(text, before).value.Image();
    }
};

TEST(VeriValueWords, ValuesCrossingOneWordKeepTheirBits) {
    // One word is kept inline, more on the heap: growing, shrinking, copying and moving
    // across that line keep every bit, and copies share nothing.
    VeriValue small = VeriValue::Int(-5, 64, true);
    VeriValue wide = small.Resized(130, true);
    EXPECT_EQ(wide.Image(), "-5");
    VeriValue back = wide.Resized(64, true);
    EXPECT_TRUE(back.Same(small));
    VeriValue copy = wide;
    copy.SetBit(129, 0);
    EXPECT_EQ(wide.Bit(129), 1);
    EXPECT_EQ(copy.Image(), "680564733841876926926749214863536422907");
    VeriValue moved = std::move(copy);
    EXPECT_EQ(moved.Image(), "680564733841876926926749214863536422907");
    moved = small;
    EXPECT_TRUE(moved.Same(small));
    moved = wide;
    EXPECT_TRUE(moved.Same(wide));
    VeriValue x = VeriValue::AllX(70);
    EXPECT_TRUE(x.HasUnknown());
    EXPECT_EQ(x.Resized(3, false).Image(), "3'bxxx");
}

TEST_F(VeriEvaluatorTest, SizingFollowsTheContext) {
    // The carry of a + b is kept in a wider context, lost in the operands' own width.
    EXPECT_EQ(Image("localparam logic [3:0] A = 4'hF, B = 4'h1; localparam logic [4:0] P = A + B;"), "16");
    EXPECT_EQ(Image("localparam logic [3:0] A = 4'hF, B = 4'h1; localparam P = A + B;"), "0");
    EXPECT_EQ(Image("localparam logic [3:0] A = 4'hF, B = 4'h1; localparam P = {A + B};"), "0");
    EXPECT_EQ(Image("localparam logic [3:0] A = 4'hF, B = 4'h1; localparam P = (A + B) >> 1;"), "0");
    EXPECT_EQ(Image("localparam logic [3:0] A = 4'hF, B = 4'h1; localparam P = (A + B + 5'd0) >> 1;"), "8");
    // Unsized integers are 32-bit signed; a sized unsigned operand makes the whole unsigned.
    EXPECT_EQ(Image("localparam P = -1 >>> 28;"), "-1");
    EXPECT_EQ(Image("localparam P = (-1 + 4'd0) >> 28;"), "15");
    EXPECT_EQ(Image("localparam P = 8'sd200 < 0;"), "1");
    EXPECT_EQ(Image("localparam P = 8'd200 < -1;"), "1"); // compared unsigned
    EXPECT_EQ(Image("localparam int P = 3'b111;"), "7");
    EXPECT_EQ(Image("localparam int P = 3'sb111;"), "-1");
    EXPECT_EQ(Image("localparam P = 71'h3F_FFFF_FFFF_FFFF_FFFF + 1;"), "1180591620717411303424");
    EXPECT_EQ(Image("localparam P = 70'h3F_FFFF_FFFF_FFFF_FFFF + 1;"), "0");
    EXPECT_EQ(Image("localparam P = -80'sd5 / 80'sd2;"), "-2");
    EXPECT_EQ(Image("localparam P = 128'd1 << 100;"), "1267650600228229401496703205376");
}

TEST_F(VeriEvaluatorTest, FourStateValues) {
    EXPECT_EQ(Image("localparam P = 4'b10x1 & 4'b1110;"), "4'b10x0");
    EXPECT_EQ(Image("localparam P = 4'b10x1 & 4'b1100;"), "8"); // x & 0 is 0
    EXPECT_EQ(Image("localparam P = 4'b10x1 | 4'b0010;"), "11"); // x | 1 is 1
    EXPECT_EQ(Image("localparam P = 4'b10z1 ^ 4'b0000;"), "4'b10x1");
    EXPECT_EQ(Image("localparam P = 4'b10x1 + 1;"), "32'bxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx");
    EXPECT_EQ(Image("localparam P = 4'b10x1 == 4'b10x1;"), "1'bx");
    EXPECT_EQ(Image("localparam P = 4'b10x1 === 4'b10x1;"), "1");
    EXPECT_EQ(Image("localparam P = 4'b0x01 == 4'b1001;"), "0"); // a known bit differs
    EXPECT_EQ(Image("localparam P = 4'b1001 ==? 4'b1x0z;"), "1");
    EXPECT_EQ(Image("localparam P = 8'hzx;"), "8'bzzzzxxxx");
    EXPECT_EQ(Image("localparam logic [7:0] P = 'x;"), "8'bxxxxxxxx");
    EXPECT_EQ(Image("localparam logic [7:0] P = '1;"), "255");
    EXPECT_EQ(Image("localparam P = 1'bx ? 4'b1100 : 4'b1010;"), "4'b1xx0");
    EXPECT_EQ(Image("localparam P = &4'b1x11;"), "1'bx");
    EXPECT_EQ(Image("localparam P = &4'b1x01;"), "0");
    EXPECT_EQ(Image("localparam P = |4'b0x10;"), "1");
    EXPECT_EQ(Image("localparam P = ^4'b1011;"), "1");
    EXPECT_EQ(Image("localparam P = ~^4'b1011;"), "0");
}

TEST_F(VeriEvaluatorTest, Operators) {
    EXPECT_EQ(Image("localparam P = 2 ** 10;"), "1024");
    EXPECT_EQ(Image("localparam P = (-2) ** 3;"), "-8");
    EXPECT_EQ(Image("localparam P = 2 ** -1;"), "0");
    EXPECT_EQ(Image("localparam P = (-1) ** -3;"), "-1");
    EXPECT_EQ(Image("localparam P = -7 / 2;"), "-3");
    EXPECT_EQ(Image("localparam P = -7 % 2;"), "-1");
    EXPECT_EQ(Image("localparam P = 7 % -2;"), "1");
    EXPECT_EQ(Image("localparam P = {4'hA, 4'h5};"), "165");
    EXPECT_EQ(Image("localparam P = {3{2'b10}};"), "42");
    EXPECT_EQ(Image("localparam P = 5 inside {1, [3:6], 9};"), "1");
    EXPECT_EQ(Image("localparam P = 7 inside {1, [3:6], 9};"), "0");
    EXPECT_EQ(Image("localparam P = 1 && 0 || 1;"), "1");
    EXPECT_EQ(Image("localparam P = 4'b1000 >>> 1;"), "4");
    EXPECT_EQ(Image("localparam P = 4'sb1000 >>> 1;"), "-4");
    EXPECT_EQ(Image("localparam P = 3 > 2 ? \"yes\" : \"no!\";"), "\"yes\"");
    EXPECT_EQ(Image("localparam P = 8'b1010_0101 [5:2];"), "9");
    EXPECT_EQ(Image("localparam logic [15:0] W = 16'hABCD; localparam P = W[8 +: 4];"), "11");
    EXPECT_EQ(Image("localparam logic [15:0] W = 16'hABCD; localparam P = W[15 -: 4];"), "10");
    EXPECT_EQ(Image("localparam logic [0:7] W = 8'b1000_0000; localparam P = W[0];"), "1");
}

TEST_F(VeriEvaluatorTest, RealsStringsAndCasts) {
    EXPECT_EQ(Image("localparam real P = 1.5 * 3;"), "4.5");
    EXPECT_EQ(Image("localparam int P = 2.5;"), "3"); // rounds away from zero
    EXPECT_EQ(Image("localparam int P = -2.5;"), "-3");
    EXPECT_EQ(Image("localparam P = 7 / 2.0;"), "3.5");
    EXPECT_EQ(Image("localparam P = $rtoi(3.9);"), "3");
    EXPECT_EQ(Image("localparam P = $itor(3) / 2;"), "1.5");
    EXPECT_EQ(Image("localparam P = $bitstoreal($realtobits(0.25));"), "0.25");
    EXPECT_EQ(Image("localparam P = $sqrt(16.0) + $pow(2, 3) + $floor(1.7) + $ln(1.0);"), "13");
    EXPECT_EQ(Image("localparam string P = \"ab\";"), "\"ab\"");
    EXPECT_EQ(Image("localparam P = 4'(20);"), "4");
    EXPECT_EQ(Image("localparam P = signed'(4'b1111);"), "-1");
    EXPECT_EQ(Image("localparam P = unsigned'(-1);"), "4294967295");
    EXPECT_EQ(Image("localparam P = $signed(4'b1110) + 0;"), "-2");
    EXPECT_EQ(Image("localparam P = $unsigned(4'sb1110);"), "14");
    EXPECT_EQ(Image("typedef logic [5:0] t6; localparam P = t6'(-1);"), "63");
    EXPECT_EQ(Image("localparam P = byte'(200);"), "-56");
}

TEST_F(VeriEvaluatorTest, SizesEnumsStructsAndPackages) {
    EXPECT_EQ(Image("localparam P = $clog2(1) + 10 * $clog2(2) + 100 * $clog2(1025);"), "1110");
    EXPECT_EQ(Image("localparam logic [12:3] W = 0; localparam P = $bits(W) * 100 + $left(W) * 10 + $right(W);"),
              "1123");
    EXPECT_EQ(Image("typedef logic [3:0][7:0] t; localparam P = $bits(t) + 100 * $size(t) + 1000 * $dimensions(t);"),
              "2432");
    EXPECT_EQ(Image("localparam logic [0:7] W = 0; localparam P = $increment(W) + 10 * $low(W) + 100 * $high(W);"),
              "699");
    EXPECT_EQ(Image("localparam int A [3] = '{1, 2, 3}; localparam P = $unpacked_dimensions(A) + 10 * $size(A);"),
              "31");
    EXPECT_EQ(Image("typedef enum logic [2:0] {IDLE, RUN = 5, STOP} st; localparam P = STOP;"), "6");
    EXPECT_EQ(Image("typedef enum {A, B, C} abc; localparam P = $bits(abc) + C;"), "34");
    EXPECT_EQ(Image("typedef struct packed { logic [3:0] hi; logic [3:0] lo; } s_t;"
                    "localparam s_t S = '{hi: 4'h3, lo: 4'h9}; localparam P = S.hi * 10 + S.lo;"),
              "39");
    EXPECT_EQ(Image("typedef struct packed { logic [3:0] hi; logic [3:0] lo; } s_t;"
                    "localparam s_t S = '{default: 4'h2}; localparam P = S;"),
              "34");
    std::string pkg = "package q; parameter int W = 6; localparam int D = W * 2;"
                      "function automatic int twice(int x); return 2 * x; endfunction endpackage";
    EXPECT_EQ(Image("localparam P = q::D + q::twice(1);", pkg), "14");
    EXPECT_EQ(Image("import q::*; localparam P = D + W;", pkg), "18");
    EXPECT_EQ(Image("localparam int A = 3, B = A * A; localparam P = B + A;"), "12");
}

TEST_F(VeriEvaluatorTest, ConstantFunctions) {
    EXPECT_EQ(Image("function automatic integer lg(input integer v); integer r; begin r = 0;"
                    " while ((1 << r) < v) r = r + 1; lg = r; end endfunction localparam P = lg(1000);"),
              "10");
    EXPECT_EQ(Image("function automatic int fib(int n); if (n < 2) return n; return fib(n - 1) + fib(n - 2);"
                    " endfunction localparam P = fib(15);"),
              "610");
    EXPECT_EQ(Image("function automatic int f(int n); int s = 0; for (int i = 0; i < n; i++) begin"
                    " if (i == 3) continue; if (i == 6) break; s += i; end return s; endfunction"
                    " localparam P = f(10);"),
              "12");
    EXPECT_EQ(Image("function automatic logic [7:0] rev(logic [7:0] v); for (int i = 0; i < 8; i++)"
                    " rev[i] = v[7 - i]; endfunction localparam P = rev(8'b0000_0011);"),
              "192");
    EXPECT_EQ(Image("function automatic int sel(int k); case (k) 0, 1: return 10; 2: return 20;"
                    " default: return 30; endcase endfunction localparam P = sel(1) + sel(2) + sel(9);"),
              "60");
    EXPECT_EQ(Image("localparam int N = 4; function automatic int scaled(int x); return x * N; endfunction"
                    " localparam P = scaled(3);"),
              "12");
}

TEST_F(VeriEvaluatorTest, MistakesAreReported) {
    // The real code of the cases above, broken as users break it.
    Evaluated unknown = Eval("localparam P = Q + 1;");
    EXPECT_EQ(unknown.value.kind, VeriValue::None);
    EXPECT_TRUE(unknown.Has("VERI-1507")); // by analysis
    EXPECT_TRUE(unknown.Has("VERI-1600"));
    Evaluated cycle = Eval("localparam int A = P; localparam int P = A + 1;");
    EXPECT_EQ(cycle.value.kind, VeriValue::None);
    EXPECT_TRUE(cycle.Has("VERI-1600"));
    Evaluated zero = Eval("localparam P = 5 / 0;");
    EXPECT_TRUE(zero.Has("VERI-1601"));
    EXPECT_TRUE(zero.value.HasUnknown());
    ElabLimits tight;
    tight.loopIterations = 1000;
    Evaluated endless = Eval("function automatic int f(int n); while (1) n++; return n; endfunction"
                             " localparam P = f(0);",
                             "", tight);
    EXPECT_EQ(endless.value.kind, VeriValue::None);
    EXPECT_TRUE(endless.Has("VERI-1602"));
    Evaluated recursion = Eval("function automatic int f(int n); return f(n + 1); endfunction localparam P = f(0);");
    EXPECT_EQ(recursion.value.kind, VeriValue::None);
    EXPECT_TRUE(recursion.Has("VERI-1603"));
    Evaluated notConst = Eval("function automatic int f(int n); $display(\"x\"); g = n; return n; endfunction"
                              " logic g; localparam P = f(1);");
    EXPECT_EQ(notConst.value.kind, VeriValue::None);
    EXPECT_TRUE(notConst.Has("VERI-1611"));
    tight.steps = 5000;
    Evaluated steps = Eval("function automatic int f(int n); int s = 0; for (int i = 0; i < n; i++) s += i;"
                           " return s; endfunction localparam P = f(100000);",
                           "", tight);
    EXPECT_EQ(steps.value.kind, VeriValue::None);
    EXPECT_TRUE(steps.Has("VERI-1609"));
}

} // namespace
} // namespace hdl
