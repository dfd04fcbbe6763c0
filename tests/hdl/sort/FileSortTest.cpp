#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <istream>
#include <iterator>
#include <streambuf>
#include <string>
#include <vector>

#include "SortTestFiles.h"
#include "hdl/base/Message.h"
#include "hdl/sort/FileSort.h"
#include "hdl/sv/VeriPreprocessor.h"

using namespace hdl;

namespace {

class FileSortTest : public ::testing::Test {
protected:
    void SetUp() override {
        hdl_file_sort::Reset();
        Message::RegisterCallBackMsg(&FileSortTest::collect);
        messages().clear();
    }
    void TearDown() override {
        Message::RegisterCallBackMsg(nullptr);
        hdl_file_sort::Reset();
    }
    static std::vector<std::string>& messages() {
        static std::vector<std::string> ids;
        return ids;
    }
    static void collect(msg_type_t, const char* id, const ColLineFile*, const char*, va_list) {
        messages().push_back(id ? id : "");
    }
    const FileElement& element(unsigned index) {
        const FileElement* e = nullptr;
        EXPECT_TRUE(hdl_file_sort::FileAt(index, &e));
        return *e;
    }
    static bool hasRef(const FileElement& e, const std::string& lib, const std::string& unit, uint32_t flags) {
        return std::any_of(e.references.begin(), e.references.end(), [&](const SortReference& r) {
            return r.libraryName == lib && r.unitName == unit && r.flags == flags;
        });
    }
    SortTestFiles files;
};

TEST_F(FileSortTest, VerilogUnitsInstancesAndPackages) {
    std::string f = files.write("top.sv", R"(
import cfg_pkg::*;
package my_pkg; typedef int t; endpackage
interface bus_if; logic a; endinterface
module top #(parameter N = 2) (input clk);
  bus_if bus ();
  sub #(.W(N)) u_sub (.clk(clk)), u_sub2 (.clk(clk));
  \esc_mod u_esc [1:0] (.clk(clk));
  always @(posedge clk) begin : blk x <= my_pkg::f(1); end
  generate if (N > 1) begin : g other u_other (); end endgenerate
  function automatic my_pkg::t f2(int a); return a; endfunction
  assign y = std::randomize(z);
endmodule
class c; endclass
extern module ext_m (input a);
)");
    ASSERT_TRUE(hdl_file_sort::RegisterFile(f.c_str(), "lib", 5, 2));
    const FileElement& e = element(0);
    EXPECT_EQ(e.libraryName, "lib");
    EXPECT_EQ(e.language, 5u);
    EXPECT_EQ(e.declaredNames, (std::vector<std::string>{"my_pkg", "bus_if", "top", "c"}));
    ASSERT_EQ(e.units.size(), 4u);
    EXPECT_EQ(e.units[3].name, "extern module ext_m");
    const SortUnit& top = e.units[2];
    EXPECT_EQ(top.name, "top");
    std::vector<std::string> got;
    for (const SortReference& r : top.instances) {
        EXPECT_EQ(r.flags, 0u);
        got.push_back(r.unitName + ":" + r.instanceName);
    }
    EXPECT_EQ(got,
              (std::vector<std::string>{"bus_if:bus", "sub:u_sub", "sub:u_sub2", "esc_mod:u_esc", "other:u_other"}));
    EXPECT_TRUE(hasRef(e, "work", "cfg_pkg", 0));
    EXPECT_TRUE(hasRef(e, "work", "my_pkg", 0));
    EXPECT_TRUE(hasRef(e, "work", "sub", SORT_REF_WEAK));
    EXPECT_TRUE(hasRef(e, "work", "std", SORT_REF_IMPLICIT));
    EXPECT_FALSE(hasRef(e, "work", "f2", SORT_REF_WEAK));
}

TEST_F(FileSortTest, ConditionalTextMacrosAndIncludes) {
    files.write("inc/defs.vh", "`define CHILD leaf\nmodule from_inc; endmodule\n");
    std::string f = files.write("a.v", R"(
`include "defs.vh"
module a;
`ifdef USE_B
  b u_b ();
`else
  c u_c ();
`endif
  `CHILD u_leaf ();
endmodule
)");
    hdl_file_sort::AddIncludeDir(files.path("inc").c_str());
    hdl_file_sort::DefineCmdLineMacro("USE_B", nullptr);
    ASSERT_TRUE(hdl_file_sort::RegisterFile(f.c_str(), "work", 2, 2));
    const FileElement& e = element(0);
    EXPECT_EQ(e.declaredNames, (std::vector<std::string>{"from_inc", "a"}));
    ASSERT_EQ(e.units.size(), 2u);
    ASSERT_EQ(e.units[1].instances.size(), 2u);
    EXPECT_EQ(e.units[1].instances[0].unitName, "b");
    EXPECT_EQ(e.units[1].instances[1].unitName, "leaf");
}

// A header that many files include is read once per skim and replayed; a header whose
// size changed is read afresh.
TEST_F(FileSortTest, SharedHeadersFollowTheirText) {
    files.write("inc/regs.vh", "`ifndef REGS\n`define REGS\n`define CELL leaf_a\n`endif\n");
    hdl_file_sort::AddIncludeDir(files.path("inc").c_str());
    auto user = [&](const std::string& unit) {
        std::string f = files.write(unit + ".v", "`include \"regs.vh\"\n`include \"regs.vh\"\nmodule " + unit +
                                                     "; `CELL u (); endmodule\n");
        EXPECT_TRUE(hdl_file_sort::RegisterFile(f.c_str(), "work", 2, 2));
        const FileElement& e = element(hdl_file_sort::FileCount() - 1);
        return e.units.size() == 1 && e.units[0].instances.size() == 1 ? e.units[0].instances[0].unitName : "";
    };
    EXPECT_EQ(user("first"), "leaf_a");
    EXPECT_EQ(user("second"), "leaf_a");
    files.write("inc/regs.vh", "`ifndef REGS\n`define REGS\n`define CELL leaf_bb\n`endif\n");
    EXPECT_EQ(user("third"), "leaf_bb");
}

// Whether the skim's scanner or the preprocessor reads a file, the macros defined before
// it begins are the preprocessor's: the command line's and, for SystemVerilog, the
// language's own.
TEST_F(FileSortTest, MacrosDefinedBeforeTheFileAreThePreprocessors) {
    hdl_file_sort::DefineCmdLineMacro("CMD", "1");
    for (unsigned lang : {2u, 5u}) {
        VeriPreprocessorOptions options;
        options.language = lang;
        options.defines = {"CMD=1"};
        VeriPreprocessor pp(options);
        std::vector<std::string> expected;
        std::string text;
        for (const VeriMacro* m : pp.macros().definedMacros()) {
            std::string unit = "m_" + std::string(m->name);
            text += "`ifdef " + std::string(m->name) + "\nmodule " + unit + "; endmodule\n`endif\n";
            expected.push_back(unit);
        }
        text += "`ifndef NEVER_DEFINED\nmodule last; endmodule\n`endif\n";
        expected.push_back("last");
        std::string f = files.write("defined" + std::to_string(lang) + ".v", text);
        ASSERT_TRUE(hdl_file_sort::RegisterFile(f.c_str(), "work", lang, 2));
        const FileElement& e = element(hdl_file_sort::FileCount() - 1);
        EXPECT_EQ(e.declaredNames, expected) << lang;
    }
}

TEST_F(FileSortTest, TranslateOffTextIsReadOnlyWhenAsked) {
    std::string v = files.write("t.v", "// synopsys translate_off\nmodule hidden; endmodule\n"
                                       "// synopsys translate_on\nmodule shown; endmodule\n");
    std::string h = files.write("t.vhd", "-- pragma translate_off\nentity hidden is end;\n"
                                         "-- pragma translate_on\nentity shown is end;\n");
    for (bool ignore : {false, true}) {
        hdl_file_sort::Reset();
        hdl_file_sort::SetIgnoreTranslateOff(ignore);
        hdl_file_sort::RegisterFile(v.c_str(), "work", 5, 2);
        hdl_file_sort::RegisterFile(h.c_str(), "work", 11, 2);
        std::vector<std::string> want =
            ignore ? std::vector<std::string>{"hidden", "shown"} : std::vector<std::string>{"shown"};
        EXPECT_EQ(element(0).declaredNames, want) << ignore;
        EXPECT_EQ(element(1).declaredNames, want) << ignore;
    }
}

// A stream that cannot seek tells no size: its text is read piece by piece.
class UnseekableBuf : public std::streambuf {
public:
    explicit UnseekableBuf(std::string text) : text_(std::move(text)) {
        setg(text_.data(), text_.data(), text_.data() + text_.size());
    }

private:
    std::string text_;
};

class UnseekableStream : public std::istream {
public:
    explicit UnseekableStream(std::string text) : std::istream(nullptr), buf_(std::move(text)) { rdbuf(&buf_); }

private:
    UnseekableBuf buf_;
};

SourceStream* unseekable(const char* name) {
    std::ifstream in(name, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return new SourceStream(in.is_open() ? new UnseekableStream(std::move(text)) : nullptr);
}

TEST_F(FileSortTest, StreamsWithoutASizeAreReadToTheirEnd) {
    std::string body;
    for (int i = 0; i < 5000; ++i) body += "module m" + std::to_string(i) + "; endmodule\n";
    std::string v = files.write("many.sv", body);
    std::string h = files.write("one.vhd", "entity one is end;\n");
    hdl_file_sort::RegisterFlexStreamCallBack(unseekable);
    ASSERT_TRUE(hdl_file_sort::RegisterFile(v.c_str(), "work", 5, 2));
    ASSERT_TRUE(hdl_file_sort::RegisterFile(h.c_str(), "work", 11, 2));
    EXPECT_FALSE(hdl_file_sort::RegisterFile(files.path("none.sv").c_str(), "work", 5, 2));
    ASSERT_EQ(element(0).declaredNames.size(), 5000u);
    EXPECT_EQ(element(0).declaredNames.back(), "m4999");
    EXPECT_EQ(element(1).declaredNames, (std::vector<std::string>{"one"}));
}

TEST_F(FileSortTest, VhdlUnitsClausesAndInstantiations) {
    std::string f = files.write("e.vhd", R"(
library ieee, mylib;
use ieee.std_logic_1164.all;
use mylib.pkg.all, work.other_pkg.c;
context mylib.ctx;
entity e is port (a : in std_logic; b, c : out std_logic); end entity;
architecture rtl of e is
  signal s : std_logic;
  component comp port (x : in std_logic); end component;
  for u1 : comp use entity mylib.impl(fast);
begin
  u1 : comp port map (x => a);
  u2 : entity work.leaf(beh) port map (a);
  u3 : configuration mylib.cfg;
  u4 : component comp2;
  g : for i in 0 to 1 generate u5 : comp port map (a); end generate;
end architecture;
package p is end package;
package body p is end package body;
configuration conf of e is
  for rtl
    for u1 : comp use entity work.leaf(beh); end for;
  end for;
end configuration;
context ctx2 is library ieee; end context;
)");
    ASSERT_TRUE(hdl_file_sort::RegisterFile(f.c_str(), "lib", 11, 2));
    const FileElement& e = element(0);
    EXPECT_EQ(e.declaredNames, (std::vector<std::string>{"e", "e rtl", "p", "p body", "conf", "ctx2"}));
    EXPECT_TRUE(hasRef(e, "ieee", "", 0));
    EXPECT_TRUE(hasRef(e, "mylib", "", 0));
    EXPECT_TRUE(hasRef(e, "mylib", "pkg", 0));
    EXPECT_TRUE(hasRef(e, "work", "other_pkg", 0));
    EXPECT_TRUE(hasRef(e, "mylib", "ctx", 0));
    EXPECT_TRUE(hasRef(e, "mylib", "impl", 0));
    EXPECT_TRUE(hasRef(e, "mylib", "impl fast", 0));
    EXPECT_TRUE(hasRef(e, "work", "comp", SORT_REF_WEAK));
    EXPECT_TRUE(hasRef(e, "work", "leaf", 0));
    EXPECT_TRUE(hasRef(e, "work", "leaf beh", 0));
    EXPECT_TRUE(hasRef(e, "mylib", "cfg", 0));
    EXPECT_TRUE(hasRef(e, "work", "e rtl", 0));
    EXPECT_FALSE(hasRef(e, "work", "std_logic", SORT_REF_WEAK));
    ASSERT_EQ(e.units.size(), 4u);
    EXPECT_EQ(e.units[1].name, "e rtl");
    std::vector<std::string> got;
    for (const SortReference& r : e.units[1].instances)
        got.push_back(r.libraryName + "." + r.unitName + ":" + r.instanceName);
    EXPECT_EQ(got, (std::vector<std::string>{"work.comp:u1", "work.leaf beh:u2", "mylib.cfg:u3", "work.comp2:u4",
                                             "work.comp:u5"}));
    EXPECT_EQ(e.units[3].name, "conf");
    ASSERT_EQ(e.units[3].instances.size(), 2u);
    EXPECT_EQ(e.units[3].instances[0].unitName, "e rtl");
    EXPECT_EQ(e.units[3].instances[1].unitName, "leaf beh");
    EXPECT_EQ(e.units[3].instances[1].instanceName, "u1");
}

// `name (...);` without an instance name is a gate's or a UDP's instance at module
// level, and a task call in a procedure: it counts as an instance when a UDP of that
// name is declared in any registered file, whichever comes first.
TEST_F(FileSortTest, UnnamedInstancesOfDeclaredUdpsOnly) {
    std::string top = files.write("top.v", R"(module top (input a, b, output o1, o2, o3);
  inv (o1, a);
  inv (strong0, weak1) #1 (o2, b), named (o3, a), (o1, b);
  begin : blk inv (o2, a); end
  and (o3, a, b);
  notaudp (o1, a);
  initial begin report(a); inv_task(pkg::X); end
  sub #(.P(1)) s (.a(a));
endmodule
)");
    std::string udp = files.write("udp.v", "primitive inv (o, a); output o; input a;\n"
                                           "table 0 : 1; 1 : 0; endtable endprimitive\n");
    ASSERT_TRUE(hdl_file_sort::RegisterFile(top.c_str(), "w", 5, 2));
    ASSERT_TRUE(hdl_file_sort::RegisterFile(udp.c_str(), "w", 2, 2));
    const FileElement& e = element(0);
    std::vector<std::string> got;
    for (const SortReference& r : e.units[0].instances) {
        EXPECT_EQ(r.flags, 0u);
        got.push_back(r.unitName + ":" + r.instanceName);
    }
    EXPECT_EQ(got, (std::vector<std::string>{"inv:", "inv:", "inv:named", "inv:", "inv:", "sub:s"}));
    size_t weak = std::count_if(e.references.begin(), e.references.end(),
                                [](const SortReference& r) { return r.flags == SORT_REF_WEAK; });
    EXPECT_EQ(weak, 6u);
    // The arguments of a task call are still read.
    EXPECT_TRUE(hasRef(e, "work", "pkg", 0));
    EXPECT_EQ(element(1).primitives, (std::vector<std::string>{"inv"}));
}

TEST_F(FileSortTest, WorkReferencesFollowTheLibraryThatDeclares) {
    std::string leaf = files.write("leaf.v", "module leaf; endmodule\npackage lp; endpackage\n");
    std::string top = files.write("top.v", "module top; import lp::*; leaf u (); mine m (); endmodule\n"
                                           "module mine; endmodule\n");
    ASSERT_TRUE(hdl_file_sort::RegisterFile(leaf.c_str(), "cells", 5, 2));
    ASSERT_TRUE(hdl_file_sort::RegisterFile(top.c_str(), "design", 5, 0));
    const FileElement& e = element(1);
    EXPECT_TRUE(hasRef(e, "cells", "leaf", SORT_REF_WEAK));
    EXPECT_TRUE(hasRef(e, "cells", "lp", 0));
    EXPECT_TRUE(hasRef(e, "work", "mine", SORT_REF_WEAK));
    EXPECT_EQ(e.units[0].instances[0].libraryName, "cells");
    const FileElement* none = nullptr;
    EXPECT_FALSE(hdl_file_sort::FileAt(2, &none));
}

TEST_F(FileSortTest, WorkReferencesTakeTheFirstDeclaringLibraryUnlessTheirOwnDeclares) {
    std::string a = files.write("a.v", "module leaf; endmodule\n");
    std::string b = files.write("b.v", "module LEAF; endmodule\nmodule other; endmodule\n");
    std::string top = files.write("top.v", "module top; leaf u1 (); Other u2 (); nowhere u3 (); endmodule\n");
    std::string own = files.write("own.v", "module own; Leaf u (); endmodule\n");
    std::string vhd = files.write("c.vhd", "use work.other.all;\nentity c is end;\narchitecture a of c is begin\n"
                                           " u : LEAF port map (x);\nend;\n");
    ASSERT_TRUE(hdl_file_sort::RegisterFile(a.c_str(), "LibA", 5, 2));
    ASSERT_TRUE(hdl_file_sort::RegisterFile(b.c_str(), "libB", 5, 2));
    ASSERT_TRUE(hdl_file_sort::RegisterFile(top.c_str(), "top", 5, 2));
    ASSERT_TRUE(hdl_file_sort::RegisterFile(own.c_str(), "LIBB", 5, 2));
    ASSERT_TRUE(hdl_file_sort::RegisterFile(vhd.c_str(), "top", 9, 2));
    // Names match without regard to case; the library is written lower-cased.
    const FileElement& t = element(2);
    EXPECT_TRUE(hasRef(t, "liba", "leaf", SORT_REF_WEAK));
    EXPECT_TRUE(hasRef(t, "libb", "Other", SORT_REF_WEAK));
    EXPECT_TRUE(hasRef(t, "work", "nowhere", SORT_REF_WEAK));
    EXPECT_EQ(t.units[0].instances[0].libraryName, "liba");
    EXPECT_EQ(t.units[0].instances[1].libraryName, "libb");
    // "LIBB" is the library of b.v too, which declares LEAF.
    EXPECT_TRUE(hasRef(element(3), "work", "Leaf", SORT_REF_WEAK));
    // In VHDL only the weak component binding moves; the use clause stays.
    const FileElement& c = element(4);
    // A VHDL name comes in the front-end's case: a basic identifier lower-cased.
    EXPECT_TRUE(hasRef(c, "liba", "leaf", SORT_REF_WEAK));
    EXPECT_TRUE(hasRef(c, "work", "other", 0));
}

TEST_F(FileSortTest, BadInputFinishesWithMessages) {
    std::string binary("module x;\0\0\x01\x02 endmodule", 24);
    std::string bin = files.write("bin.vhd", binary);
    const char elf[] = "\x7f"
                       "ELF\x02\x01\x01\0\0\0\0 #@\x90\x91";
    std::string binV = files.write("bin.sv", std::string(elf, sizeof elf - 1));
    std::string unclosed = files.write("u.v", "module u; /* never closed\n endmodule\n");
    std::string ifdef = files.write("i.v", "`ifdef A\nmodule i; endmodule\n");
    std::string cyc = files.write("cyc.vh", "`include \"cyc.vh\"\nmodule cyc; endmodule\n");
    std::string vhd = files.write("open.vhd", "entity open_e is port (a : in bit);\n -- no end");
    EXPECT_FALSE(hdl_file_sort::RegisterFile(files.path("missing.v").c_str(), "work", 5, 2));
    EXPECT_FALSE(hdl_file_sort::RegisterFile(files.path("missing.vhd").c_str(), "work", 9, 2));
    EXPECT_FALSE(hdl_file_sort::RegisterFile(bin.c_str(), "work", 9, 2));
    EXPECT_FALSE(hdl_file_sort::RegisterFile(binV.c_str(), "work", 5, 2));
    hdl_file_sort::RegisterFile(unclosed.c_str(), "work", 5, 2);
    hdl_file_sort::RegisterFile(ifdef.c_str(), "work", 5, 2);
    hdl_file_sort::RegisterFile(cyc.c_str(), "work", 5, 2);
    ASSERT_TRUE(hdl_file_sort::RegisterFile(vhd.c_str(), "work", 9, 2));
    EXPECT_EQ(hdl_file_sort::FileCount(), 8u);
    EXPECT_EQ(element(7).declaredNames, (std::vector<std::string>{"open_e"}));
    for (const char* id : {"VERI-1000", "VHDL-1501", "VHDL-1504", "VERI-1016", "VERI-2000", "VERI-1009"})
        EXPECT_NE(std::find(messages().begin(), messages().end(), id), messages().end()) << id;
    // A binary file is one message, not one per byte that starts no token.
    EXPECT_EQ(std::count(messages().begin(), messages().end(), "VERI-2002"), 0);
}

} // namespace

namespace {

TEST_F(FileSortTest, SharedCompilationUnitCarriesMacros) {
    std::string a = files.write("a.v", "`define CHILD leaf\nmodule a; endmodule\n");
    std::string b = files.write("b.v", "module b; `ifdef CHILD `CHILD u (); `endif endmodule\n");
    hdl_file_sort::_default_compilation_unit_mode = 1;
    hdl_file_sort::RegisterFile(a.c_str(), "w", 5, 2);
    hdl_file_sort::RegisterFile(b.c_str(), "w", 5, 2);
    ASSERT_EQ(element(1).units.size(), 1u);
    ASSERT_EQ(element(1).units[0].instances.size(), 1u);
    EXPECT_EQ(element(1).units[0].instances[0].unitName, "leaf");
    hdl_file_sort::Reset();
    hdl_file_sort::RegisterFile(a.c_str(), "w", 5, 2);
    hdl_file_sort::RegisterFile(b.c_str(), "w", 5, 2);
    EXPECT_TRUE(element(1).units[0].instances.empty());
}

TEST_F(FileSortTest, RegisteringAgainReadsTheFileAfresh) {
    std::string a = files.write("a.v", "module a; endmodule\n");
    hdl_file_sort::RegisterFile(a.c_str(), "w", 5, 2);
    files.write("a.v", "module a2; endmodule\n");
    hdl_file_sort::RegisterFile(a.c_str(), "w", 5, 2);
    hdl_file_sort::RegisterFile(a.c_str(), "other", 5, 2);
    EXPECT_EQ(hdl_file_sort::FileCount(), 2u);
    EXPECT_EQ(element(0).declaredNames, (std::vector<std::string>{"a2"}));
}

} // namespace
