#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "VhdlTestUtil.h"
#include "hdl/base/ErrorRecovery.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlParser.h"
#include "hdl/vhdl/VhdlPrettyPrinter.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace hdl {
namespace {

struct Parsed {
    std::string text;
    Arena arena;
    std::vector<VhdlDesignUnit*> units;
    unsigned errors = 0;
};

std::unique_ptr<Parsed> Parse(const std::string& text, unsigned mode = VHDL_2008) {
    auto p = std::make_unique<Parsed>();
    p->text = text;
    VhdlLexer lexer(p->text, LineFile::GetFileId("parser_test.vhd"), mode);
    VhdlParser parser(p->arena, p->text, lexer.Tokenize(), LineFile::GetFileId("parser_test.vhd"), mode);
    p->units = parser.ParseDesignFile();
    p->errors = parser.ErrorCount() + lexer.ErrorCount();
    return p;
}

// Kind names of all nodes in walk order.
class KindCollector : public VhdlVisitor {
public:
    void PreVisit(VhdlTreeNode& node) override { kinds.push_back(VhdlClassName(node.GetClassId())); }
    std::vector<std::string> kinds;
};

class InstanceCollector : public VhdlVisitor {
public:
    void Visit(VhdlComponentInstantiationStatement& node) override {
        found.push_back(&node);
        VhdlVisitor::Visit(node);
    }
    std::vector<VhdlComponentInstantiationStatement*> found;
};

const char* kEntity = R"(
library ieee;
use ieee.std_logic_1164.all;
entity Counter is
  generic (WIDTH : integer range 0 to 7 := 3; g2, g3 : boolean);
  port (clk, rst : in std_logic;
        q : out std_logic_vector(WIDTH - 1 downto 0) := (others => '0');
        b : buffer bit bus;
        s : inout resolved std_ulogic);
end entity Counter;
)";

TEST(VhdlParser, EntityInterfaceParts) {
    auto p = Parse(kEntity);
    ASSERT_EQ(p->errors, 0u);
    ASSERT_EQ(p->units.size(), 1u);
    auto* e = dynamic_cast<VhdlEntityDecl*>(p->units[0]);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->Name(), "counter");
    EXPECT_EQ(e->Id()->OrigName(), "Counter");
    EXPECT_EQ(e->GetContextClause().Size(), 2u);
    ASSERT_EQ(e->GetGenericClause().Size(), 2u);
    auto* g = dynamic_cast<VhdlInterfaceDecl*>(e->GetGenericClause().At(0));
    ASSERT_NE(g, nullptr);
    auto* si = dynamic_cast<VhdlExplicitSubtypeIndication*>(g->GetSubtypeIndication());
    ASSERT_NE(si, nullptr);
    auto* range = dynamic_cast<VhdlRange*>(si->GetRangeConstraint());
    ASSERT_NE(range, nullptr);
    EXPECT_EQ(range->GetDir(), VHDL_TO);
    EXPECT_EQ(dynamic_cast<VhdlInteger*>(g->GetInitAssign())->GetValue(), 3);
    EXPECT_EQ(dynamic_cast<VhdlInterfaceDecl*>(e->GetGenericClause().At(1))->GetIds().Size(), 2u);

    ASSERT_EQ(e->GetPortClause().Size(), 4u);
    auto* clk = static_cast<VhdlInterfaceDecl*>(e->GetPortClause().At(0));
    EXPECT_EQ(clk->GetIds().Size(), 2u);
    EXPECT_EQ(clk->GetMode(), VHDL_IN);
    auto* q = static_cast<VhdlInterfaceDecl*>(e->GetPortClause().At(1));
    EXPECT_EQ(q->GetMode(), VHDL_OUT);
    auto* qType = dynamic_cast<VhdlIndexedName*>(q->GetSubtypeIndication());
    ASSERT_NE(qType, nullptr);
    EXPECT_EQ(dynamic_cast<VhdlRange*>(qType->GetAssocList().At(0))->GetDir(), VHDL_DOWNTO);
    EXPECT_NE(dynamic_cast<VhdlAggregate*>(q->GetInitAssign()), nullptr);
    auto* b = static_cast<VhdlInterfaceDecl*>(e->GetPortClause().At(2));
    EXPECT_EQ(b->GetMode(), VHDL_BUFFER);
    EXPECT_EQ(b->GetSignalKind(), VHDL_BUS);
    auto* s = static_cast<VhdlInterfaceDecl*>(e->GetPortClause().At(3));
    auto* sType = dynamic_cast<VhdlExplicitSubtypeIndication*>(s->GetSubtypeIndication());
    ASSERT_NE(sType, nullptr);
    EXPECT_NE(sType->GetResolutionFunction(), nullptr);
}

// Printing each unit and parsing the text again gives an equal tree.
void ExpectRoundTrip(const std::string& source, unsigned mode = VHDL_2008) {
    auto p = Parse(source, mode);
    ASSERT_EQ(p->errors, 0u);
    for (VhdlDesignUnit* unit : p->units) {
        std::string text = VhdlPrettyText(unit);
        auto again = Parse(text, mode);
        ASSERT_EQ(again->errors, 0u) << text;
        ASSERT_EQ(again->units.size(), 1u) << text;
        EXPECT_TRUE(again->units[0]->IsEqual(unit)) << text;
        EXPECT_EQ(VhdlPrettyText(again->units[0]), text);
    }
}

const char* kArchitecture = R"(
architecture rtl of top is
  component sub is port (a : in bit); end component;
  signal x : bit;
begin
  u1 : sub port map (a => x);
  u2 : entity work.leaf(beh) generic map (N => 4) port map (x, open);
  u3 : component sub port map (a => x);
  u4 : configuration lib.cfg;
  gen : for i in 0 to 3 generate
    g : sub port map (a => x);
  end generate gen;
  alt : if a1: x = '1' generate
    y <= x;
  elsif a2: x = '0' generate
    y <= not x;
  else generate
  end generate;
  cg : case sel generate
    when c0: 0 => z <= '0';
    when others => z <= '1';
  end generate;
  b1 : block (x = '1') begin
    z <= guarded x after 1 ns;
  end block b1;
  p : process (all) is
    variable v : integer;
  begin
    v := v + 1 when x = '1' else v;
    x <= force in '1';
    x <= release;
    case? sel is when "1-" => null; when others => null; end case?;
    wait until x = '1' for 10 ns;
  end process;
end architecture;
)";

TEST(VhdlParser, ArchitectureStatements) {
    auto p = Parse(kArchitecture);
    ASSERT_EQ(p->errors, 0u);
    auto* a = dynamic_cast<VhdlArchitectureBody*>(p->units.at(0));
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->GetDeclPart().Size(), 2u);
    const auto& st = a->GetStatementPart();
    ASSERT_EQ(st.Size(), 9u);
    auto* u1 = dynamic_cast<VhdlComponentInstantiationStatement*>(st.At(0));
    ASSERT_NE(u1, nullptr);
    EXPECT_EQ(u1->GetLabel()->OrigName(), "u1");
    EXPECT_EQ(u1->GetLabel()->declaration, u1);
    EXPECT_NE(dynamic_cast<VhdlIdRef*>(u1->GetInstantiatedUnitNameNode()), nullptr);
    auto* u2 = dynamic_cast<VhdlComponentInstantiationStatement*>(st.At(1));
    auto* unit = dynamic_cast<VhdlInstantiatedUnit*>(u2->GetInstantiatedUnitNameNode());
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(unit->GetEntityClass(), VHDL_ENTITY);
    auto* withArch = dynamic_cast<VhdlIndexedName*>(unit->GetName());
    ASSERT_NE(withArch, nullptr);
    EXPECT_NE(dynamic_cast<VhdlSelectedName*>(withArch->GetPrefix()), nullptr);
    EXPECT_EQ(u2->GetGenericMapAspect().Size(), 1u);
    ASSERT_EQ(u2->GetPortMapAspect().Size(), 2u);
    EXPECT_NE(dynamic_cast<VhdlOpen*>(u2->GetPortMapAspect().At(1)), nullptr);
    EXPECT_EQ(static_cast<VhdlInstantiatedUnit*>(
                  static_cast<VhdlComponentInstantiationStatement*>(st.At(3))->GetInstantiatedUnitNameNode())
                  ->GetEntityClass(),
              VHDL_CONFIGURATION);
    auto* gen = dynamic_cast<VhdlGenerateStatement*>(st.At(4));
    ASSERT_NE(gen, nullptr);
    EXPECT_NE(dynamic_cast<VhdlForScheme*>(gen->GetScheme()), nullptr);
    auto* ifgen = dynamic_cast<VhdlIfElsifGenerateStatement*>(st.At(5));
    ASSERT_NE(ifgen, nullptr);
    ASSERT_EQ(ifgen->alternatives.Size(), 3u);
    auto* alt1 = static_cast<VhdlGenerateStatement*>(ifgen->alternatives.At(0));
    EXPECT_EQ(alt1->GetScheme()->alternativeLabel->OrigName(), "a1");
    auto* casegen = dynamic_cast<VhdlCaseGenerateStatement*>(st.At(6));
    ASSERT_NE(casegen, nullptr);
    EXPECT_EQ(casegen->alternatives.Size(), 2u);
    auto* blk = dynamic_cast<VhdlBlockStatement*>(st.At(7));
    ASSERT_NE(blk, nullptr);
    EXPECT_NE(blk->guard, nullptr);
    auto* csa = dynamic_cast<VhdlConditionalSignalAssignment*>(blk->GetStatementPart().At(0));
    ASSERT_NE(csa, nullptr);
    EXPECT_TRUE(csa->guarded);
    auto* proc = dynamic_cast<VhdlProcessStatement*>(st.At(8));
    ASSERT_NE(proc, nullptr);
    EXPECT_NE(dynamic_cast<VhdlAll*>(proc->GetSensitivityList().At(0)), nullptr);
    const auto& seq = proc->GetStatementPart();
    ASSERT_EQ(seq.Size(), 5u);
    EXPECT_NE(dynamic_cast<VhdlConditionalVariableAssignmentStatement*>(seq.At(0)), nullptr);
    auto* force = dynamic_cast<VhdlForceAssignmentStatement*>(seq.At(1));
    ASSERT_NE(force, nullptr);
    EXPECT_EQ(force->forceMode, VHDL_IN);
    EXPECT_NE(dynamic_cast<VhdlReleaseAssignmentStatement*>(seq.At(2)), nullptr);
    EXPECT_TRUE(dynamic_cast<VhdlCaseStatement*>(seq.At(3))->matching);
    auto* wait = dynamic_cast<VhdlWaitStatement*>(seq.At(4));
    ASSERT_NE(wait, nullptr);
    EXPECT_NE(wait->timeout, nullptr);

    InstanceCollector finder;
    finder.TraverseNode(a);
    ASSERT_EQ(finder.found.size(), 5u);
    EXPECT_EQ(finder.found[4]->GetLabel()->OrigName(), "g"); // inside the generate, in source order
}

TEST(VhdlParser, ExpressionPrecedenceAndForms) {
    auto p = Parse("package p is constant c : integer := -a * b ** 2 + f(x)(1) - t'(1, 2); "
                   "constant d : boolean := ?? (s and not (a ?= b)); "
                   "constant e : integer := 10 ns / 1 ns; "
                   "constant n : ptr := new t'(x => 1, others => 0); "
                   "alias al is << signal .tb.dut(0).s : bit >>; end;");
    ASSERT_EQ(p->errors, 0u);
    auto* pkg = dynamic_cast<VhdlPackageDecl*>(p->units.at(0));
    ASSERT_NE(pkg, nullptr);
    auto* c = static_cast<VhdlConstantDecl*>(pkg->GetDeclPart().At(0));
    // ((-(a * (b ** 2))) + f(x)(1)) - ...
    auto* minus = dynamic_cast<VhdlOperator*>(c->GetInitAssign());
    ASSERT_NE(minus, nullptr);
    EXPECT_EQ(minus->GetOperatorToken(), VHDL_MINUS);
    auto* plus = dynamic_cast<VhdlOperator*>(minus->left);
    ASSERT_NE(plus, nullptr);
    EXPECT_EQ(plus->GetOperatorToken(), VHDL_PLUS);
    auto* neg = dynamic_cast<VhdlOperator*>(plus->left);
    ASSERT_NE(neg, nullptr);
    EXPECT_EQ(neg->left, nullptr);
    auto* times = dynamic_cast<VhdlOperator*>(neg->right);
    ASSERT_NE(times, nullptr);
    EXPECT_EQ(times->GetOperatorToken(), VHDL_STAR);
    EXPECT_EQ(static_cast<VhdlOperator*>(times->right)->GetOperatorToken(), VHDL_POW);
    auto* call = dynamic_cast<VhdlIndexedName*>(plus->right);
    ASSERT_NE(call, nullptr);
    EXPECT_NE(dynamic_cast<VhdlIndexedName*>(call->GetPrefix()), nullptr);
    auto* d = static_cast<VhdlConstantDecl*>(pkg->GetDeclPart().At(1));
    auto* cond = dynamic_cast<VhdlOperator*>(d->GetInitAssign());
    ASSERT_NE(cond, nullptr);
    EXPECT_EQ(cond->GetOperatorToken(), VHDL_COND);
    auto* e = static_cast<VhdlConstantDecl*>(pkg->GetDeclPart().At(2));
    EXPECT_NE(dynamic_cast<VhdlPhysicalLiteral*>(static_cast<VhdlOperator*>(e->GetInitAssign())->left), nullptr);
    auto* n = static_cast<VhdlConstantDecl*>(pkg->GetDeclPart().At(3));
    EXPECT_NE(dynamic_cast<VhdlAllocator*>(n->GetInitAssign()), nullptr);
    auto* al = dynamic_cast<VhdlAliasDecl*>(pkg->GetDeclPart().At(4));
    ASSERT_NE(al, nullptr);
    EXPECT_NE(dynamic_cast<VhdlExternalName*>(al->name), nullptr);
}

TEST(VhdlParser, DeclarationsOfEveryKind) {
    auto p = Parse(R"(
package all_decls is
  generic (type t; function f (x : t) return t is <>; package q is new work.g generic map (<>));
  type e is ('0', '1', idle);
  type r is range 0 to 10;
  type phys is range 0 to 1000 units fs; ps = 1000 fs; end units;
  type arr is array (natural range <>, e) of bit;
  type rec is record a, b : bit; c : arr(0 to 1, e); end record;
  type acc is access rec;
  type inc;
  type fl is file of character;
  type prot is protected procedure p; impure function g return integer; end protected prot;
  subtype sub is resolved bit_vector(1 to 2);
  subtype elres is (resolved) std_ulogic_vector;
  shared variable sv : prot;
  file f1 : fl open read_mode is "x.txt";
  alias a2 is "and" [bit, bit return bit];
  attribute att : string;
  attribute att of all_decls : package is "x";
  group gt is (signal, label <>);
  group g1 : gt (s1, l1);
  function "+" (a, b : e) return e;
  procedure pr parameter (signal s : inout bit; constant c : in integer := 0);
  function fi is new f generic map (t => bit);
  package inner is new work.gen generic map (w => 3);
  disconnect all : bit after 1 ns;
end package;
package body all_decls is
  type prot is protected body
    variable v : integer := 0;
    procedure p is begin v := v + 1; end procedure;
    impure function g return integer is begin return v; end function g;
  end protected body;
end package body;
)");
    ASSERT_EQ(p->errors, 0u);
    ASSERT_EQ(p->units.size(), 2u);
    auto* pkg = static_cast<VhdlPackageDecl*>(p->units[0]);
    EXPECT_EQ(pkg->GetGenericClause().Size(), 3u);
    EXPECT_NE(dynamic_cast<VhdlInterfaceTypeDecl*>(pkg->GetGenericClause().At(0)), nullptr);
    EXPECT_NE(dynamic_cast<VhdlInterfaceSubprogDecl*>(pkg->GetGenericClause().At(1)), nullptr);
    EXPECT_NE(dynamic_cast<VhdlInterfacePackageDecl*>(pkg->GetGenericClause().At(2)), nullptr);
    KindCollector kinds;
    kinds.TraverseNode(pkg);
    for (const char* k : {"ENUMERATIONTYPEDEF",
                          "SCALARTYPEDEF",
                          "PHYSICALTYPEDEF",
                          "ARRAYTYPEDEF",
                          "RECORDTYPEDEF",
                          "ACCESSTYPEDEF",
                          "INCOMPLETETYPEDECL",
                          "FILETYPEDEF",
                          "PROTECTEDTYPEDEF",
                          "SUBTYPEDECL",
                          "VARIABLEDECL",
                          "FILEDECL",
                          "ALIASDECL",
                          "SIGNATUREDNAME",
                          "ATTRIBUTEDECL",
                          "ATTRIBUTESPEC",
                          "GROUPTEMPLATEDECL",
                          "GROUPDECL",
                          "SUBPROGRAMDECL",
                          "OPERATORID",
                          "SUBPROGINSTANTIATIONDECL",
                          "PACKAGEINSTANTIATIONDECL",
                          "DISCONNECTIONSPEC"}) {
        EXPECT_NE(std::find(kinds.kinds.begin(), kinds.kinds.end(), k), kinds.kinds.end()) << k;
    }
}

TEST(VhdlParser, ConfigurationsNest) {
    auto p = Parse(R"(
configuration cfg of top is
  use work.all;
  for rtl
    for u1 : sub use entity work.leaf(beh) generic map (N => 2); end for;
    for all : sub2 use configuration work.c2; end for;
    for gen(0)
      for g : sub use open; end for;
    end for;
  end for;
end configuration cfg;
context ctx is library ieee; use ieee.std_logic_1164.all; end context;
)");
    ASSERT_EQ(p->errors, 0u);
    ASSERT_EQ(p->units.size(), 2u);
    auto* cfg = dynamic_cast<VhdlConfigurationDecl*>(p->units[0]);
    ASSERT_NE(cfg, nullptr);
    auto* block = cfg->GetBlockConfiguration();
    ASSERT_NE(block, nullptr);
    ASSERT_EQ(block->items.Size(), 3u);
    auto* cc = dynamic_cast<VhdlComponentConfiguration*>(block->items.At(0));
    ASSERT_NE(cc, nullptr);
    EXPECT_EQ(cc->binding->entityAspect->entityClass, VHDL_ENTITY);
    EXPECT_NE(dynamic_cast<VhdlAll*>(
                  static_cast<VhdlComponentConfiguration*>(block->items.At(1))->componentSpec->labels.At(0)),
              nullptr);
    auto* nested = dynamic_cast<VhdlBlockConfiguration*>(block->items.At(2));
    ASSERT_NE(nested, nullptr);
    EXPECT_EQ(nested->items.Size(), 1u);
    EXPECT_NE(dynamic_cast<VhdlContextDecl*>(p->units[1]), nullptr);
}

TEST(VhdlParser, RecoversAtTheNextItem) {
    test::MessageCapture capture;
    auto p = Parse(R"(
entity a is port (x : in bit; y : out ); end;
architecture r of a is
  signal s : bit;
  signal : bad;
begin
  s <= x +* 1;
  y <= s;
end;
entity b is end;
)");
    EXPECT_GE(p->errors, 2u);
    EXPECT_GE(capture.Count(MSG_ERROR), 2u);
    ASSERT_EQ(p->units.size(), 3u);
    auto* arch = static_cast<VhdlArchitectureBody*>(p->units[1]);
    EXPECT_EQ(arch->GetDeclPart().Size(), 1u);
    EXPECT_EQ(arch->GetStatementPart().Size(), 2u); // the broken assignment is kept, the next one too
    EXPECT_EQ(p->units[2]->Name(), "b");
}

TEST(VhdlParser, HostileNestingIsRefused) {
    test::MessageCapture capture;
    std::string deep =
        "package p is constant c : integer := " + std::string(100000, '(') + "1" + std::string(100000, ')') + "; end;";
    auto p = Parse(deep);
    EXPECT_GE(p->errors, 1u);
    EXPECT_LE(capture.Count(MSG_ERROR), 60u);
}

TEST(VhdlParser, PositionsCoverTheNode) {
    auto p = Parse("entity e is\nend entity;\n\narchitecture a of e is\nbegin\n  x <= y;\nend;\n");
    ASSERT_EQ(p->units.size(), 2u);
    const ColLineFile& loc = p->units[1]->Linefile();
    EXPECT_EQ(loc.leftLine, 4u);
    EXPECT_EQ(loc.leftCol, 1u);
    EXPECT_EQ(loc.rightLine, 7u);
    EXPECT_EQ(loc.rightCol, 4u);
    auto* stmt = static_cast<VhdlArchitectureBody*>(p->units[1])->GetStatementPart().At(0);
    EXPECT_EQ(stmt->Linefile().leftLine, 6u);
    EXPECT_EQ(stmt->Linefile().leftCol, 3u);
    EXPECT_EQ(stmt->Linefile().rightCol, 9u);
    EXPECT_EQ(LineFile::GetFileName(&stmt->Linefile()), std::string("parser_test.vhd"));
}

TEST(VhdlParser, ClassIdsIndexTheKindTable) {
    EXPECT_STREQ(VhdlClassName(VhdlEntityDecl::kClassId), "ENTITYDECL");
    EXPECT_STREQ(VhdlClassName(VhdlComponentInstantiationStatement::kClassId), "COMPONENTINSTANTIATIONSTATEMENT");
    EXPECT_STREQ(VhdlClassName(VhdlNull::kClassId), "NULL");
    EXPECT_STREQ(VhdlClassName(0xC0000000u), "SCOPE");
    EXPECT_STREQ(VhdlClassName(0xC0000000u + 204), "SCOPEDPACKAGEINSTELEMENT");
    EXPECT_STREQ(VhdlClassName(0xC0000000u + 205), "?");
    EXPECT_STREQ(VhdlClassName(0), "?");
}

TEST(VhdlParser, VisitorWalksInSourceOrderWithBaseFallback) {
    auto p = Parse("entity e is generic (g : natural := 1); port (p : in bit); end;");
    KindCollector kinds;
    kinds.TraverseNode(p->units[0]);
    std::vector<std::string> expect = {"ENTITYDECL", "ENTITYID",      "INTERFACEDECL", "INTERFACEID", "IDREF",
                                       "INTEGER",    "INTERFACEDECL", "INTERFACEID",   "IDREF"};
    EXPECT_EQ(kinds.kinds, expect);

    // Overriding a base class catches all derived kinds not overridden themselves.
    class Ids : public VhdlVisitor {
    public:
        void Visit(VhdlIdDef& id) override { names.emplace_back(id.OrigName()); }
        std::vector<std::string> names;
    } ids;
    ids.TraverseNode(p->units[0]);
    std::vector<std::string> names = {"e", "g", "p"};
    EXPECT_EQ(ids.names, names);
}

TEST(VhdlParser, CopiesAreEqualAndIndependent) {
    auto p = Parse(kArchitecture);
    auto q = Parse(kArchitecture);
    ASSERT_EQ(p->errors, 0u);
    EXPECT_TRUE(p->units[0]->IsEqual(q->units[0]));
    Arena arena;
    auto* copy = static_cast<VhdlArchitectureBody*>(p->units[0]->Copy(arena));
    EXPECT_NE(copy, p->units[0]);
    EXPECT_TRUE(copy->IsEqual(p->units[0]));
    EXPECT_NE(copy->GetStatementPart().At(0),
              static_cast<VhdlArchitectureBody*>(p->units[0])->GetStatementPart().At(0));
    // Changing the copy leaves the original alone and breaks equality.
    static_cast<VhdlComponentInstantiationStatement*>(copy->statements[0])->portMap = VhdlNodeList();
    EXPECT_FALSE(copy->IsEqual(p->units[0]));
    auto r = Parse("architecture rtl of top is begin end;");
    EXPECT_FALSE(r->units[0]->IsEqual(p->units[0]));
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

TEST(VhdlPrettyPrinter, RoundTripsUnits) {
    ExpectRoundTrip(kEntity);
    ExpectRoundTrip(kArchitecture);
    ExpectRoundTrip("package p is constant c : integer := -a * b ** 2 + f(x)(1) - t'(1, 2); "
                    "constant d : boolean := ?? (s and not (a ?= b)); "
                    "constant n : ptr := new t'(x => 1, others => 0); "
                    "subtype r is (elem resolved) rec; subtype v is (resolved) std_ulogic_vector; "
                    "alias al is << signal ^.^.dut(0).s : bit >>; alias a2 is << constant @lib.p.c : integer >>; end;");
    ExpectRoundTrip("configuration cfg of top is use work.all; for rtl "
                    "for u1 : sub use entity work.leaf(beh) generic map (N => 2); end for; "
                    "for gen(0) for g : sub use open; end for; end for; end for; end;");
    ExpectRoundTrip("package body pb is procedure p (signal s : out bit) is variable v : bit_vector(0 to 3); begin "
                    "l1 : for i in v'range loop next l1 when v(i) = '1'; v(i) := '0'; end loop; "
                    "while true loop exit; end loop; s <= transport '1' after 1 ns, '0' after 2 ns; "
                    "with v select s <= '1' when \"0000\" | \"1111\", '0' when others; "
                    "if a then null; elsif b then return; else report \"x\" severity note; end if; "
                    "assert false report \"y\"; wait on s; end procedure; end package body;");
}

TEST(VhdlPrettyPrinter, ExpressionTextIsFullyParenthesised) {
    auto p = Parse("package q is constant c : integer := a + b * c - d; end;");
    auto* c = static_cast<VhdlConstantDecl*>(static_cast<VhdlPackageDecl*>(p->units[0])->GetDeclPart().At(0));
    EXPECT_EQ(VhdlPrettyText(c->GetInitAssign()), "((a + (b * c)) - d)");
    EXPECT_EQ(VhdlPrettyText(c), "constant c : integer := ((a + (b * c)) - d);");
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

TEST(VhdlParser, SequentialStatementsOf2008) {
    auto p = Parse(R"(
architecture a of e is begin
  process begin
    with sel select v := 1 when "00", 2 when others;
    with sel select? s <= force '1' when "1-", '0' when others;
    s <= force out '1' when c else '0';
    s <= a when c else b;
    s <= reject 2 ns inertial a after 5 ns;
    l : loop exit l when done; next; end loop l;
    for i in t'range loop null; end loop;
    while not done loop wait; end loop;
  end process;
  postponed assert x report "r";
  postponed p(1);
end;
)");
    ASSERT_EQ(p->errors, 0u);
    auto* arch = static_cast<VhdlArchitectureBody*>(p->units.at(0));
    auto* proc = static_cast<VhdlProcessStatement*>(arch->GetStatementPart().At(0));
    const auto& s = proc->GetStatementPart();
    ASSERT_EQ(s.Size(), 8u);
    EXPECT_NE(dynamic_cast<VhdlSelectedVariableAssignmentStatement*>(s.At(0)), nullptr);
    auto* sf = dynamic_cast<VhdlSelectedForceAssignment*>(s.At(1));
    ASSERT_NE(sf, nullptr);
    EXPECT_TRUE(sf->matching);
    auto* cf = dynamic_cast<VhdlConditionalForceAssignmentStatement*>(s.At(2));
    ASSERT_NE(cf, nullptr);
    EXPECT_EQ(cf->forceMode, VHDL_OUT);
    EXPECT_EQ(cf->values.Size(), 2u);
    EXPECT_NE(dynamic_cast<VhdlConditionalSignalAssignment*>(s.At(3)), nullptr);
    auto* delayed = dynamic_cast<VhdlSignalAssignmentStatement*>(s.At(4));
    ASSERT_NE(delayed, nullptr);
    ASSERT_NE(delayed->delay, nullptr);
    EXPECT_EQ(delayed->delay->kind, VHDL_INERTIAL);
    EXPECT_NE(delayed->delay->rejectTime, nullptr);
    auto* loop = dynamic_cast<VhdlLoopStatement*>(s.At(5));
    ASSERT_NE(loop, nullptr);
    EXPECT_EQ(loop->scheme, nullptr);
    EXPECT_NE(dynamic_cast<VhdlExitStatement*>(loop->statements.At(0)), nullptr);
    EXPECT_NE(dynamic_cast<VhdlForScheme*>(static_cast<VhdlLoopStatement*>(s.At(6))->scheme), nullptr);
    EXPECT_NE(dynamic_cast<VhdlWhileScheme*>(static_cast<VhdlLoopStatement*>(s.At(7))->scheme), nullptr);
    auto* assertion = dynamic_cast<VhdlAssertionStatement*>(arch->GetStatementPart().At(1));
    ASSERT_NE(assertion, nullptr);
    EXPECT_TRUE(assertion->IsPostponed());
    auto* call = dynamic_cast<VhdlProcedureCallStatement*>(arch->GetStatementPart().At(2));
    ASSERT_NE(call, nullptr);
    EXPECT_TRUE(call->IsPostponed());
}

TEST(VhdlParser, GenerateFormsOf1993And2008) {
    auto p = Parse(R"(
architecture a of e is begin
  g1 : if c generate
    signal t : bit;
  begin
    t <= c;
  end generate g1;
  g2 : if x: c generate
    u : sub;
  end x;
  else y: generate
  end y;
  end generate;
end;
)",
                   VHDL_2008);
    ASSERT_EQ(p->errors, 0u);
    auto* arch = static_cast<VhdlArchitectureBody*>(p->units.at(0));
    auto* g1 = dynamic_cast<VhdlGenerateStatement*>(arch->GetStatementPart().At(0));
    ASSERT_NE(g1, nullptr);
    EXPECT_NE(dynamic_cast<VhdlIfScheme*>(g1->GetScheme()), nullptr);
    EXPECT_EQ(g1->GetDeclPart().Size(), 1u);
    EXPECT_EQ(g1->GetStatementPart().Size(), 1u);
    auto* g2 = dynamic_cast<VhdlIfElsifGenerateStatement*>(arch->GetStatementPart().At(1));
    ASSERT_NE(g2, nullptr);
    ASSERT_EQ(g2->alternatives.Size(), 2u);
    auto* second = static_cast<VhdlGenerateStatement*>(g2->alternatives.At(1));
    auto* scheme = dynamic_cast<VhdlElsifElseScheme*>(second->GetScheme());
    ASSERT_NE(scheme, nullptr);
    EXPECT_EQ(scheme->condition, nullptr);
    EXPECT_EQ(scheme->alternativeLabel->OrigName(), "y");
}

TEST(VhdlParser, ConditionalExpressionsOnlyIn2019) {
    const char* src = "package p is generic (L : boolean); constant d : time := 1 ms when L else 1 ns; end;";
    auto p19 = Parse(src, VHDL_2019);
    ASSERT_EQ(p19->errors, 0u);
    auto* c = static_cast<VhdlConstantDecl*>(static_cast<VhdlPackageDecl*>(p19->units[0])->GetDeclPart().At(0));
    auto* ce = dynamic_cast<VhdlConditionalExpression*>(c->GetInitAssign());
    ASSERT_NE(ce, nullptr);
    EXPECT_NE(ce->elseValue, nullptr);
    test::MessageCapture capture;
    auto p08 = Parse(src, VHDL_2008);
    EXPECT_GE(p08->errors, 1u);
}

TEST(VhdlParser, MismatchedClosingNamesWarn) {
    test::MessageCapture capture;
    auto p =
        Parse("entity e is end entity f; architecture a of e is begin p : process begin wait; end process q; end b;");
    EXPECT_EQ(p->errors, 0u);
    EXPECT_EQ(capture.Count(MSG_WARNING), 3u);
}

// Garbage costs one message: each error after the first lies within the echo window of
// the one before, whatever the garbage and however the parser skips to recover.
TEST(VhdlParserRecovery, GarbageCostsOneMessage) {
    const char* const soups[] = {"entity ; ", "x 3 ( ; ) := y <= , => ", "a b c ( ) [ ] ; ", "begin end ; is ( ",
                                 "architecture of is ; "};
    for (const char* soup : soups) {
        test::MessageCapture capture;
        std::string junk;
        for (int i = 0; i < 500; ++i) junk += soup;
        auto p = Parse(junk);
        EXPECT_EQ(capture.Count(MSG_ERROR), 1u) << soup << "\n" << capture.Errors();
        EXPECT_EQ(p->errors, 1u);
    }
}

// Errors with text between them are each told, up to the cap per file; the closing
// message says the rest is skipped, and the next file starts with a cap of its own.
TEST(VhdlParserRecovery, TheCapHoldsPerFile) {
    auto broken = [](int count) {
        std::string text = "package p is\n";
        for (int i = 0; i < count; ++i)
            text += "  constant c" + std::to_string(i) + " : integer := ;\n  constant d" + std::to_string(i) +
                    " : integer := 1;\n";
        return text + "end package;\n";
    };
    test::MessageCapture capture;
    vhdl_file::AnalyzeText(broken(60), "cap_a.vhd", "work", VHDL_2008);
    ASSERT_EQ(capture.Count(MSG_ERROR), ErrorRecovery::kMaxErrorsPerFile + 1) << capture.Errors();
    const test::CapturedMessage& last = capture.All().back();
    EXPECT_EQ(last.id, vhdl_msg::kSyntax);
    EXPECT_EQ(last.text, "cap_a.vhd: too many syntax errors, the rest of the file is skipped");
    EXPECT_EQ(last.line, 2u + 2 * (ErrorRecovery::kMaxErrorsPerFile - 1));
    vhdl_file::AnalyzeText(broken(5), "cap_b.vhd", "work", VHDL_2008);
    EXPECT_EQ(capture.Count(MSG_ERROR), ErrorRecovery::kMaxErrorsPerFile + 1 + 5) << capture.Errors();
}

// Real code with two mistakes far apart: both are told, at their lines, and nothing else.
TEST(VhdlParserRecovery, SeparateMistakesInRealCodeAreEachTold) {
    const std::string path = std::string(SIFT_SHARED_DIR) + "/corpus/microwatt/countbits.vhdl";
    std::ifstream in(path);
    if (!in) GTEST_SKIP() << "no corpus file " << path;
    std::stringstream buffer;
    buffer << in.rdbuf();
    const std::string original = buffer.str();
    {
        test::MessageCapture capture;
        EXPECT_EQ(Parse(original)->errors, 0u) << capture.Errors();
    }
    std::string text = original;
    auto breakAt = [&text](const std::string& from, const std::string& to) {
        const size_t at = text.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        text.replace(at, from.size(), to);
    };
    breakAt("signal sum : std_ulogic_vector(64 downto 0);", "signal sum std_ulogic_vector(64 downto 0);");
    breakAt("inp_r <= inp;", "inp_r <= ;");
    test::MessageCapture capture;
    auto p = Parse(text);
    EXPECT_EQ(p->errors, 2u);
    std::vector<uint32_t> lines;
    for (const auto& m : capture.All())
        if (m.type == MSG_ERROR) lines.push_back(m.line);
    EXPECT_EQ(lines, (std::vector<uint32_t>{25, 59})) << capture.Errors();
}

TEST(VhdlParser, EditionDecidesWhatIsAName) {
    // `context` and `default` are plain names before 2008.
    auto p93 = Parse("entity e is port (context, default : in bit); end;", VHDL_93);
    EXPECT_EQ(p93->errors, 0u);
    test::MessageCapture capture;
    auto p08 = Parse("entity e is port (context, default : in bit); end;", VHDL_2008);
    EXPECT_GE(p08->errors, 1u);
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

TEST(VhdlParser, BrokenDeclarationDoesNotCostTheFollowingUnits) {
    test::MessageCapture capture;
    auto p = Parse("package broken is\n"
                   "  constant : integer := ;\n"
                   "  type t is (a, b;\n"
                   "end package;\n"
                   "entity good1 is\n"
                   "end;\n"
                   "\n"
                   "  architecture rtl of good1 is\n"
                   "begin\n"
                   "end;\n"
                   "package good2 is constant k : integer := 1; end;\n");
    EXPECT_GE(p->errors, 1u);
    std::vector<std::string> names;
    for (VhdlDesignUnit* u : p->units) names.emplace_back(u->Name());
    ASSERT_GE(names.size(), 3u);
    EXPECT_EQ(names[names.size() - 3], "good1");
    EXPECT_EQ(names[names.size() - 2], "rtl");
    EXPECT_EQ(names[names.size() - 1], "good2");
    VhdlDesignUnit* good1 = p->units[names.size() - 3];
    VhdlDesignUnit* rtl = p->units[names.size() - 2];
    VhdlDesignUnit* good2 = p->units[names.size() - 1];
    EXPECT_EQ(good1->Linefile().leftLine, 5u);
    EXPECT_EQ(good1->Linefile().leftCol, 1u);
    EXPECT_EQ(rtl->Linefile().leftLine, 8u);
    EXPECT_EQ(rtl->Linefile().leftCol, 3u);
    EXPECT_EQ(rtl->Linefile().rightLine, 10u);
    EXPECT_EQ(good2->Linefile().leftLine, 11u);
    auto* pkg = dynamic_cast<VhdlPackageDecl*>(good2);
    ASSERT_NE(pkg, nullptr);
    EXPECT_EQ(pkg->GetDeclPart().Size(), 1u);
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

TEST(VhdlParser, AnonymousPortTypesOf2019) {
    const char* src = "entity e is port (a : type is private; b : in type is <>; c : bit); end;";
    test::MessageCapture capture;
    auto p = Parse(src, VHDL_2019);
    EXPECT_EQ(p->errors, 0u) << capture.Errors();
    ASSERT_EQ(p->units.size(), 1u);
    const VhdlNodeList& ports = static_cast<VhdlEntityDecl*>(p->units[0])->GetPortClause();
    ASSERT_EQ(ports.Size(), 3u);
    auto* b = static_cast<VhdlInterfaceDecl*>(ports.At(1));
    EXPECT_EQ(b->GetMode(), static_cast<unsigned>(VHDL_IN));
    ASSERT_NE(b->GetSubtypeIndication(), nullptr);
    EXPECT_EQ(b->GetSubtypeIndication()->GetClassId(), VhdlInterfaceTypeDecl::kClassId);
    EXPECT_EQ(static_cast<VhdlInterfaceDecl*>(ports.At(2))->GetSubtypeIndication()->GetClassId(), VhdlIdRef::kClassId);
    // Before 2019 a port has no anonymous type.
    test::MessageCapture older;
    EXPECT_GT(Parse(src, VHDL_2008)->errors, 0u);
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

TEST(VhdlParser, GenericTypeDefinitionsOf2019) {
    const char* src = "package p is generic (type e is private; type i is (<>); type s is <>; "
                      "type n is range <>; type f is range <>.<>; type u is units <>; "
                      "type a is array (i range <>, type is (<>)) of type is private; "
                      "type acc is access e; type fl is file of type is private; k : i); end;";
    test::MessageCapture capture;
    auto p = Parse(src, VHDL_2019);
    ASSERT_EQ(p->errors, 0u) << capture.Errors();
    const VhdlNodeList& generics = static_cast<VhdlPackageDecl*>(p->units[0])->GetGenericClause();
    ASSERT_EQ(generics.Size(), 10u);
    const unsigned kinds[] = {VHDL_PRIVATE, VHDL_LPAREN, VHDL_BOX,    VHDL_RANGE, VHDL_DOT,
                              VHDL_UNITS,   VHDL_ARRAY,  VHDL_ACCESS, VHDL_FILE};
    for (unsigned i = 0; i < 9; ++i) {
        auto* t = dynamic_cast<VhdlInterfaceTypeDecl*>(generics.At(i));
        ASSERT_NE(t, nullptr) << i;
        EXPECT_EQ(t->incomplete, kinds[i]) << i;
    }
    // The array: an index subtype, an anonymous discrete type, an anonymous element type.
    auto* array = static_cast<VhdlInterfaceTypeDecl*>(generics.At(6));
    ASSERT_EQ(array->indexes.Size(), 2u);
    auto* index = dynamic_cast<VhdlExplicitSubtypeIndication*>(array->indexes.At(0));
    ASSERT_NE(index, nullptr);
    EXPECT_EQ(index->GetRangeConstraint()->GetClassId(), VhdlBox::kClassId);
    auto* anonymousIndex = dynamic_cast<VhdlInterfaceTypeDecl*>(array->indexes.At(1));
    ASSERT_NE(anonymousIndex, nullptr);
    EXPECT_EQ(anonymousIndex->id, nullptr);
    EXPECT_EQ(anonymousIndex->incomplete, static_cast<unsigned>(VHDL_LPAREN));
    auto* element = dynamic_cast<VhdlInterfaceTypeDecl*>(array->designated);
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(element->incomplete, static_cast<unsigned>(VHDL_PRIVATE));
    EXPECT_EQ(static_cast<VhdlInterfaceTypeDecl*>(generics.At(7))->designated->GetClassId(), VhdlIdRef::kClassId);
    EXPECT_EQ(static_cast<VhdlInterfaceTypeDecl*>(generics.At(8))->designated->GetClassId(),
              VhdlInterfaceTypeDecl::kClassId);
    // The last generic is an object again: the list did not end inside `(<>)`.
    EXPECT_EQ(generics.At(9)->GetClassId(), VhdlInterfaceDecl::kClassId);
    ExpectRoundTrip(src, VHDL_2019);
}

TEST(VhdlParser, CallsMapGenericsAndProtectedTypesAreInstantiatedIn2019) {
    const char* src = "package p is type t is protected generic (type g); end protected; "
                      "type ti is new t generic map (g => integer); end; "
                      "architecture a of e is begin process begin "
                      "x <= f generic map (bit) (a, b)(0); proc generic map (n => 2); wait; end process; end;";
    test::MessageCapture capture;
    auto p = Parse(src, VHDL_2019);
    ASSERT_EQ(p->errors, 0u) << capture.Errors();
    ASSERT_EQ(p->units.size(), 2u);
    auto* ti = static_cast<VhdlFullTypeDecl*>(static_cast<VhdlPackageDecl*>(p->units[0])->GetDeclPart().At(1));
    EXPECT_EQ(ti->GetId()->GetClassId(), VhdlProtectedTypeId::kClassId);
    auto* inst = dynamic_cast<VhdlProtectedTypeDef*>(ti->GetTypeDef());
    ASSERT_NE(inst, nullptr);
    ASSERT_NE(inst->uninstantiated, nullptr);
    EXPECT_EQ(VhdlPrettyText(inst->uninstantiated), "t");
    EXPECT_EQ(inst->genericMap.Size(), 1u);

    auto* proc =
        static_cast<VhdlProcessStatement*>(static_cast<VhdlArchitectureBody*>(p->units[1])->GetStatementPart().At(0));
    auto* assign = dynamic_cast<VhdlSignalAssignmentStatement*>(proc->GetStatementPart().At(0));
    ASSERT_NE(assign, nullptr);
    auto* wave = static_cast<VhdlWaveformElement*>(assign->waveform.At(0));
    // The element index applies to the result of the call, which maps one generic
    // and two parameters.
    auto* indexed = dynamic_cast<VhdlIndexedName*>(wave->value);
    ASSERT_NE(indexed, nullptr);
    auto* call = dynamic_cast<VhdlIndexedName*>(indexed->GetPrefix());
    ASSERT_NE(call, nullptr);
    EXPECT_EQ(call->GetGenericMapAspect().Size(), 1u);
    EXPECT_EQ(call->GetAssocList().Size(), 2u);
    EXPECT_EQ(VhdlPrettyText(call), "f generic map (bit) (a, b)");
    auto* pcall = dynamic_cast<VhdlProcedureCallStatement*>(proc->GetStatementPart().At(1));
    ASSERT_NE(pcall, nullptr);
    auto* pname = dynamic_cast<VhdlIndexedName*>(pcall->GetCall());
    ASSERT_NE(pname, nullptr);
    EXPECT_EQ(pname->GetGenericMapAspect().Size(), 1u);
    EXPECT_TRUE(pname->GetAssocList().Empty());
    ExpectRoundTrip(src, VHDL_2019);
    // Before 2019 a name followed by a generic map is no expression.
    test::MessageCapture older;
    EXPECT_GT(Parse(src, VHDL_2008)->errors, 0u);
}

TEST(VhdlParser, PslDirectivesStandAmongStatementsDeclarationsOnlyWarn) {
    test::MessageCapture capture;
    auto p = Parse("architecture a of e is begin "
                   "c1 : cover {req; grant} report \"covered\"; assume always req; restrict {rst[*3]; not rst}[+]; "
                   "cover <= '1'; "
                   "s <= t; end;");
    ASSERT_EQ(p->errors, 0u) << capture.Errors();
    const VhdlNodeList& stmts = static_cast<VhdlArchitectureBody*>(p->units[0])->GetStatementPart();
    // The directives are dropped; a signal named like a PSL word is still assigned.
    ASSERT_EQ(stmts.Size(), 2u);
    EXPECT_EQ(VhdlPrettyText(stmts.At(0)), "cover <= '1';");
    EXPECT_EQ(VhdlPrettyText(stmts.At(1)), "s <= t;");
    EXPECT_EQ(capture.Count(MSG_INFO), 3u);

    // Declarations belong before `begin`; after it they are dropped with a warning each.
    test::MessageCapture misplaced;
    auto q = Parse("architecture a of e is begin sequence sq is {a; b}; property pr is always (a -> next b); "
                   "s <= t; end;");
    EXPECT_EQ(q->errors, 0u);
    EXPECT_EQ(misplaced.Count(MSG_WARNING), 2u);
    ASSERT_EQ(q->units.size(), 1u);
    EXPECT_EQ(static_cast<VhdlArchitectureBody*>(q->units[0])->GetStatementPart().Size(), 1u);
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

TEST(VhdlParser, AnExpressionInPlaceOfAProcedureCallIsAnError) {
    test::MessageCapture capture;
    auto p = Parse("architecture a of e is begin (x, y); process begin (a and b); x := 1; wait; end process; end;");
    EXPECT_EQ(p->errors, 2u);
    ASSERT_EQ(p->units.size(), 1u);
    const VhdlNodeList& stmts = static_cast<VhdlArchitectureBody*>(p->units[0])->GetStatementPart();
    ASSERT_EQ(stmts.Size(), 1u);
    // The statements after the broken one are kept.
    EXPECT_EQ(static_cast<VhdlProcessStatement*>(stmts.At(0))->GetStatementPart().Size(), 2u);
}

// Only a name can be the type mark of a range constraint; any other expression there is
// reported, and the tree keeps no node of the wrong kind in the type-mark slot.
TEST(VhdlParser, ARangeConstraintNeedsATypeMark) {
    test::MessageCapture capture;
    auto p = Parse("architecture a of e is signal s : bit_vector((x + 1) range 0 to 3); "
                   "signal t : bit_vector(natural range 0 to 3); begin end;");
    EXPECT_EQ(p->errors, 1u);
    ASSERT_EQ(p->units.size(), 1u);
    Arena copies;
    EXPECT_TRUE(p->units[0]->Copy(copies)->IsEqual(p->units[0]));
}

} // namespace
} // namespace hdl
