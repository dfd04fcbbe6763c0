// Type texts of declarations as the definition/reference walk stores them.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "ExtractTestUtil.h"
#include "hdl/sv/VeriTokens.h"
#include "sift/extract/HADLTypePrint.h"

namespace {

using namespace extract_test;

class TypePrintTest : public ::testing::Test {
protected:
    void SetUp() override { resetFrontEnds(); }
    void TearDown() override { resetFrontEnds(); }

    // The type text of the declaration of `name` in the last Verilog unit.
    std::string veriType(const std::string& text, const std::string& name) {
        hdl::VeriModule* module = analyzeVerilog(text);
        if (!module) return "<no unit>";
        hdl::VeriIdDef* id = module->GetScope()->findLocal(name);
        if (!id) return "<no id>";
        if (auto* decl = dynamic_cast<hdl::VeriDataDecl*>(id->declaration)) return typeText(*decl);
        if (auto* port = dynamic_cast<hdl::VeriAnsiPortDecl*>(id->declaration)) return typeText(*port);
        return "<no declaration>";
    }

    // The type text of the first declaration of class `Decl` in the architecture of `text`.
    template <typename Decl>
    std::string vhdlType(const std::string& text) {
        analyzeStandardPackages();
        hdl::vhdl_file::AnalyzeText(text, "t.vhd", "work", hdl::VHDL_93);
        struct Find : hdl::VhdlVisitor {
            Decl* found = nullptr;
            void Visit(Decl& node) override {
                if (!found) found = &node;
            }
        } find;
        for (hdl::VhdlPrimaryUnit* unit : hdl::vhdl_file::GetLibrary("work")->PrimaryUnits()) {
            unit->Accept(find);
            for (hdl::VhdlSecondaryUnit* s : unit->GetSecondaryUnits()) s->Accept(find);
        }
        return find.found ? typeText(*find.found) : "<none>";
    }
};

TEST_F(TypePrintTest, VerilogNamesEscapeWhereSourceWouldNeedIt) {
    EXPECT_FALSE(needsEscape(nullptr));
    EXPECT_FALSE(needsEscape(""));
    EXPECT_FALSE(needsEscape("a$b"));
    EXPECT_FALSE(needsEscape("_x9"));
    EXPECT_TRUE(needsEscape("9a"));
    EXPECT_TRUE(needsEscape("$a"));
    EXPECT_TRUE(needsEscape("a-b"));

    std::ostringstream out;
    HADLTypePrintVisitor printer(out);
    printer.printIdentifier("1abc");
    printer.printIdentifier(nullptr);
    printer.printIdentifier("a$b");
    EXPECT_EQ(out.str(), "\\1abc a$b");
    std::ostringstream hier;
    HADLTypePrintVisitor parts(hier);
    parts.printIdentifier("top u1 9sig");
    EXPECT_EQ(hier.str(), "top.u1.\\9sig ");
}

TEST_F(TypePrintTest, KeywordTableAndIndentation) {
    EXPECT_STREQ(tokenKeyword(300), "casex");
    EXPECT_STREQ(tokenKeyword(290), "");
    EXPECT_STREQ(tokenKeyword(258), "");
    EXPECT_STREQ(tokenKeyword(449), "");
    EXPECT_STREQ(tokenKeyword(412), "=");
    EXPECT_STREQ(tokenKeyword(410), ",");
    EXPECT_STREQ(tokenKeyword(448), "noshowcancelled");
    for (int n : {308, 340, 396, 403, 413, 416, 420}) EXPECT_STREQ(tokenKeyword(n), "") << n;
    EXPECT_EQ(std::string(indentText(0)), "");
    EXPECT_EQ(std::string(indentText(2)), "        ");
    EXPECT_EQ(std::string(indentText(20)).size(), 80u);
    EXPECT_EQ(std::string(indentText(25)).size(), 80u);
}

TEST_F(TypePrintTest, VerilogDeclarations) {
    EXPECT_EQ(veriType("module m; reg [3:0] a; endmodule\n", "a"), "reg [3:0]");
    EXPECT_EQ(veriType("module m; wire [7:0] w; endmodule\n", "w"), "wire [7:0]");
    EXPECT_EQ(veriType("module m; wire signed [7:0] w; endmodule\n", "w"), "wire signed[7:0]");
    EXPECT_EQ(veriType("module m; wire #(2,3) w; endmodule\n", "w"), "wire #(2,3)");
    EXPECT_EQ(veriType("module m; wire (strong0, weak1) w = 1; endmodule\n", "w"), "wire (strong0,weak1)");
    EXPECT_EQ(veriType("module m; parameter integer P = 4; endmodule\n", "P"), "parameter integer");
    EXPECT_EQ(veriType("module m; localparam [1:0] L = 2; endmodule\n", "L"), "localparam [1:0]");
    EXPECT_EQ(veriType("module m(a); input [3:0] a; endmodule\n", "a"), "input [3:0]");
    EXPECT_EQ(veriType("module m(input logic [2:0][1:0] p); endmodule\n", "p"), "input logic [2:0][1:0]");
    EXPECT_EQ(veriType("module m(output reg q); endmodule\n", "q"), "output reg");
    EXPECT_EQ(veriType("module m; logic signed [3:0] s; endmodule\n", "s"), "logic signed [3:0]");
}

TEST_F(TypePrintTest, VerilogValues) {
    std::ostringstream out;
    HADLTypePrintVisitor printer(out);
    hdl::VeriConstVal based;
    based.text = hdl::Symbol::Intern("4'b1x0z");
    based.size = 4;
    based.Accept(printer);
    out << '|';
    hdl::VeriConstVal hex;
    hex.text = hdl::Symbol::Intern("8'shA");
    hex.size = 8;
    hex.isSigned = true;
    hex.Accept(printer);
    out << '|';
    hdl::VeriConstVal str;
    str.text = hdl::Symbol::Intern("\"hi\"");
    str.isString = true;
    str.Accept(printer);
    out << '|';
    hdl::VeriIntVal i;
    i.value = 42;
    i.Accept(printer);
    out << '|';
    hdl::VeriRealVal r;
    r.value = 2.5;
    r.Accept(printer);
    EXPECT_EQ(out.str(), "4'b1x0z|8'sb00001010|\"hi\"|42|2.5");
}

TEST_F(TypePrintTest, VhdlDeclarations) {
    const std::string head = "library ieee; use ieee.std_logic_1164.all;\nentity e is port (";
    EXPECT_EQ(vhdlType<hdl::VhdlInterfaceDecl>(head + "p : inout std_logic_vector(3 downto 0)); end;\n"),
              "inout std_logic_vector(3 downto 0)");
    resetFrontEnds();
    EXPECT_EQ(vhdlType<hdl::VhdlInterfaceDecl>(head + "p : in std_logic := '0'); end;\n"), "in std_logic := '0'");
    resetFrontEnds();
    EXPECT_EQ(vhdlType<hdl::VhdlSignalDecl>(head + "p : in bit); end;\narchitecture a of e is\n"
                                                   "signal s : std_logic register := '1';\nbegin end;\n"),
              "std_logic  register := '1'");
    resetFrontEnds();
    EXPECT_EQ(vhdlType<hdl::VhdlSignalDecl>(head + "p : in bit); end;\narchitecture a of e is\n"
                                                   "signal s : std_logic bus;\nbegin end;\n"),
              "std_logic  bus");
    resetFrontEnds();
    EXPECT_EQ(vhdlType<hdl::VhdlConstantDecl>(head + "p : in bit); end;\narchitecture a of e is\n"
                                                     "constant c : integer := 4 + 1;\nbegin end;\n"),
              "integer  := (4 + 1)");
    resetFrontEnds();
    EXPECT_EQ(vhdlType<hdl::VhdlSubtypeDecl>(head + "p : in bit); end;\narchitecture a of e is\n"
                                                    "subtype byte is std_logic_vector(7 downto 0);\nbegin end;\n"),
              "std_logic_vector(7 downto 0)");
    resetFrontEnds();
    EXPECT_EQ(vhdlType<hdl::VhdlFullTypeDecl>(head + "p : in bit); end;\narchitecture a of e is\n"
                                                     "type st is (idle, run);\nbegin end;\n"),
              "(idle, run)");
    resetFrontEnds();
    EXPECT_EQ(vhdlType<hdl::VhdlVariableDecl>(head + "p : in bit); end;\narchitecture a of e is begin\n"
                                                     "process variable v : natural := 16#1F#; begin end process;\n"
                                                     "end;\n"),
              "natural := 31");
}

TEST_F(TypePrintTest, VhdlLiterals) {
    std::ostringstream out;
    HADLTypePrintVisitorVhdl printer(out);
    hdl::VhdlStringLiteral plain;
    plain.text = "\"ab\"";
    plain.Accept(printer);
    out << '|';
    hdl::VhdlStringLiteral quoted;
    quoted.text = "\"a\"b\"";
    quoted.Accept(printer);
    out << '|';
    hdl::VhdlBitStringLiteral bits;
    bits.text = "\"1010\"";
    bits.Accept(printer);
    out << '|';
    hdl::VhdlCharacterLiteral ch;
    ch.text = "'x'";
    ch.Accept(printer);
    out << '|';
    hdl::VhdlReal real;
    real.text = "1.5";
    real.Accept(printer);
    EXPECT_EQ(out.str(), "\"ab\"|\"a\"\"b\"|b\"1010\"|'x'|1.5");
}

} // namespace
