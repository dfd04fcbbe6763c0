// What the VHDL pre-scanner reports: names in the front-end's case, and which
// `label : name;` statements are component instances.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SortTestFiles.h"
#include "hdl/base/RuntimeFlags.h"
#include "hdl/sort/FileSort.h"

using namespace hdl;

namespace {

using Texts = std::vector<std::string>;

class VhdlSkimTest : public ::testing::Test {
protected:
    void SetUp() override {
        hdl_file_sort::Reset();
        RuntimeFlags::Reset();
    }
    void TearDown() override {
        hdl_file_sort::Reset();
        RuntimeFlags::Reset();
    }
    void add(const std::string& name, const std::string& text, const char* library = "work") {
        std::string path = files.write(name, text);
        ASSERT_TRUE(hdl_file_sort::RegisterFile(path.c_str(), library, 11, 2));
    }
    const FileElement& element(unsigned index) {
        const FileElement* e = nullptr;
        EXPECT_TRUE(hdl_file_sort::FileAt(index, &e));
        return *e;
    }
    // "library.unit:instance" of each instance of a unit.
    static Texts instances(const SortUnit& unit) {
        Texts out;
        for (const SortReference& r : unit.instances) {
            EXPECT_EQ(r.flags, 0u);
            out.push_back(r.libraryName + "." + r.unitName + ":" + r.instanceName);
        }
        return out;
    }
    // The same for the component references of the file, which are weak.
    static Texts weakReferences(const FileElement& e) {
        Texts out;
        for (const SortReference& r : e.references)
            if (r.flags & SORT_REF_WEAK) {
                EXPECT_EQ(r.flags, uint32_t(SORT_REF_WEAK));
                out.push_back(r.libraryName + "." + r.unitName + ":" + r.instanceName);
            }
        return out;
    }
    SortTestFiles files;
};

const char* const kMixedCase = R"(library IEEE;
use IEEE.Std_Logic_1164.ALL;
entity MyTop is end entity;
architecture RTL of MyTop is
  component MySub port (A : in Std_Logic); end component;
begin
  U1 : MySub port map (A => '1');
  U2 : entity Work.Leaf(Beh);
  U3 : component \Ext Sub\;
end architecture;
entity \Ext Sub\ is end;
package Pkg is end package;
package body PKG is end package body;
configuration Cfg of MyTop is for RTL end for; end configuration;
)";

TEST_F(VhdlSkimTest, BasicNamesComeLowerCasedExtendedOnesAsWritten) {
    add("top.vhd", kMixedCase);
    const FileElement& e = element(0);
    EXPECT_EQ(e.declaredNames, (Texts{"mytop", "mytop rtl", "\\Ext Sub\\", "pkg", "pkg body", "cfg"}));
    ASSERT_EQ(e.units.size(), 5u);
    EXPECT_EQ(e.units[1].name, "mytop rtl");
    EXPECT_EQ(instances(e.units[1]), (Texts{"work.mysub:u1", "work.leaf beh:u2", "work.\\Ext Sub\\:u3"}));
    EXPECT_EQ(e.units[4].name, "cfg");
    EXPECT_EQ(instances(e.units[4]), (Texts{"work.mytop rtl:"}));
    std::vector<std::pair<std::string, std::string>> refs;
    for (const SortReference& r : e.references) refs.emplace_back(r.libraryName, r.unitName);
    EXPECT_EQ(refs.front(), std::make_pair(std::string("ieee"), std::string()));
    EXPECT_EQ(refs[1], std::make_pair(std::string("ieee"), std::string("std_logic_1164")));
}

TEST_F(VhdlSkimTest, TheRuntimeFlagKeepsTheCaseOfBasicNames) {
    RuntimeFlags::SetVar("vhdl_preserve_id_case", 1);
    add("top.vhd", kMixedCase);
    const FileElement& e = element(0);
    EXPECT_EQ(e.declaredNames, (Texts{"MyTop", "MyTop RTL", "\\Ext Sub\\", "Pkg", "PKG body", "Cfg"}));
    EXPECT_EQ(instances(e.units[1]), (Texts{"work.MySub:U1", "Work.Leaf Beh:U2", "work.\\Ext Sub\\:U3"}));
    EXPECT_EQ(e.references[1].libraryName, "IEEE");
}

// The issue's own design: `u1 : MySub;` has no map, so only the component declaration
// tells it from a call of a procedure MySub.
TEST_F(VhdlSkimTest, BareStatementIsAnInstanceOfAComponentDeclaredInTheArchitecture) {
    add("top.vhd", R"(entity MySub is end entity;
architecture rtl of MySub is begin end architecture;
entity MyTop is end entity;
architecture rtl of MyTop is
  procedure p is begin end procedure;
  component MySub is end component;
begin
  u1: MySub;
  u2: entity work.MySub;
  u3: p;
  u4: Unknown;
  g : for i in 0 to 1 generate u5 : mysub; end generate;
  process begin l1: p; wait; end process;
end architecture;
architecture other of MyTop is begin u6 : MySub; end architecture;
)");
    const FileElement& e = element(0);
    ASSERT_EQ(e.units.size(), 5u);
    EXPECT_EQ(instances(e.units[3]), (Texts{"work.mysub:u1", "work.mysub:u2", "work.mysub:u5"}));
    // The component of another architecture is not visible.
    EXPECT_TRUE(e.units[4].instances.empty());
    EXPECT_EQ(weakReferences(e), (Texts{"work.mysub:u1", "work.mysub:u5"}));
}

TEST_F(VhdlSkimTest, ComponentsOfUsedPackagesContextsAndTheEntitysClausesAreVisible) {
    // The user comes first: the packages are decided on once every file is read.
    add("user.vhd", R"(use work.ctx_user.all;
context work.ctx;
architecture a of e is
  use work.Sel.C1;
begin
  i1 : all_comp;
  i2 : c1;
  i3 : c2;
  i4 : work.sel.c2;
  i5 : sel.c2;
  i6 : ctx_comp;
  i7 : entity_comp;
  i8 : body_comp;
end;
)");
    add("pkgs.vhd", R"(package all_pkg is component all_comp end component; end;
package sel is component c1 end component; component c2 end component; end;
package ctx_pkg is component ctx_comp end component; end;
package with_body is end;
package body with_body is component body_comp end component; end;
context ctx is use work.ctx_pkg.all; end context;
)");
    add("ent.vhd", "use work.ent_pkg.all;\nentity e is end;\n"
                   "package ent_pkg is component entity_comp end component; end;\n");
    add("other.vhd", "use work.all_pkg.all;\n");
    // A use of the file before the architecture counts, and the entity's own.
    const FileElement& user = element(0);
    EXPECT_EQ(instances(user.units[0]),
              (Texts{"work.c1:i2", "work.c2:i4", "work.c2:i5", "work.ctx_comp:i6", "work.entity_comp:i7"}));
    EXPECT_EQ(weakReferences(user).size(), 5u);
}

TEST_F(VhdlSkimTest, UsesOfAnotherLibraryAndWorkInTheirOwnLibrary) {
    add("pkg.vhd", "package comps is component leaf end component; end;\n", "cells");
    add("top.vhd",
        "library cells;\nuse cells.comps.all;\nentity t is end;\n"
        "architecture a of t is begin u : leaf; end;\n",
        "design");
    add("wrong.vhd", "use work.comps.all;\nentity w is end;\narchitecture a of w is begin u : leaf; end;\n", "design");
    EXPECT_EQ(instances(element(1).units[1]), (Texts{"work.leaf:u"}));
    // work is the file's own library, which has no package comps.
    EXPECT_TRUE(element(2).units[1].instances.empty());
}

TEST_F(VhdlSkimTest, ComponentNamesMatchWithoutRegardToCaseAlsoWhenCaseIsKept) {
    RuntimeFlags::SetVar("vhdl_preserve_id_case", 1);
    add("a.vhd", "package Comps is component Leaf end component; end;\n"
                 "use WORK.COMPS.ALL;\nentity t is end;\narchitecture a of t is begin u : LEAF; end;\n");
    EXPECT_EQ(instances(element(0).units[2]), (Texts{"work.LEAF:u"}));
}

} // namespace
