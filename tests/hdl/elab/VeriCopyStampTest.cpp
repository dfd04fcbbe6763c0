// Copies of a module made from its stamp: the same tree a deep copy makes (structure,
// text, where each reference leads, attributes and labels), sharing nothing with the
// original or with each other.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "VeriElabFixture.h"
#include "hdl/elab/VeriCopyStamp.h"
#include "hdl/elab/VeriNodeCast.h"
#include "hdl/sv/VeriPrettyPrinter.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {
namespace {

// Scopes, labels, attributes, qualifiers, typedefs, generate blocks, a function with
// locals, instances and references to a package outside the module.
const char* kRich = R"(
package p; localparam int K = 3; endpackage
module leaf #(parameter W = 1) (input logic [W-1:0] d); endmodule
module rich import p::*; #(parameter int W = 4, localparam int D = W * K) (input logic clk, input logic [W-1:0] a,
    output logic [D-1:0] q);
  typedef struct packed { logic [W-1:0] v; logic ok; } item_t;
  (* keep = "yes", dont_touch *) item_t r;
  function automatic logic [W-1:0] flip(input logic [W-1:0] x);
    logic [W-1:0] t;
    for (int i = 0; i < W; i++) t[i] = x[W-1-i];
    return t;
  endfunction
  always_ff @(posedge clk) begin : seq
    check: assert (a != 0);
    r.v <= flip(a);
    r.ok <= 1'b1;
  end
  for (genvar g = 0; g < 2; g++) begin : gen
    leaf #(.W(W + g)) u (.d({(W + g){r.ok}}));
  end
  if (W > 2) begin : wide (* mark *) leaf #(.W(W)) w (.d(a)); end
  assign q = {K{r.v}};
endmodule
)";

// The nodes of a tree in walk order, and where each lies in it.
struct Walk : VeriVisitor {
    std::vector<VeriTreeNode*> nodes;
    std::map<const void*, size_t> at;
    void PreVisit(VeriTreeNode& n) override {
        at.emplace(&n, nodes.size());
        nodes.push_back(&n);
    }
    static Walk Of(VeriTreeNode* root) {
        Walk w;
        w.TraverseNode(root);
        return w;
    }
};

// What a reference leads to, seen from its own tree: the walk position of its target
// inside the tree, or the target itself when it lies outside.
std::vector<std::pair<long, const void*>> Targets(const Walk& w) {
    std::vector<std::pair<long, const void*>> out;
    for (VeriTreeNode* n : w.nodes) {
        auto* e = VeriAs<VeriExpression>(n);
        if (!e || !e->GetId()) continue;
        auto inside = w.at.find(e->GetId());
        out.push_back(inside == w.at.end() ? std::make_pair(-1L, static_cast<const void*>(e->GetId()))
                                           : std::make_pair(long(inside->second), static_cast<const void*>(nullptr)));
    }
    return out;
}

// The nodes two trees have in common, attribute values included.
size_t Shared(const Walk& a, const Walk& b) {
    std::set<const void*> seen;
    for (VeriTreeNode* n : a.nodes) {
        seen.insert(n);
        for (const VeriAttribute& attr : n->GetAttributes()) seen.insert(attr.value);
    }
    seen.erase(nullptr);
    size_t shared = 0;
    for (VeriTreeNode* n : b.nodes) {
        shared += seen.count(n);
        for (const VeriAttribute& attr : n->GetAttributes()) shared += seen.count(attr.value);
    }
    return shared;
}

class VeriCopyStampTest : public VeriElaboratorTest {
protected:
    VeriModule* Rich() {
        Analyze(kRich);
        return veri_file::GetLibrary("work")->GetModule("rich");
    }
};

TEST_F(VeriCopyStampTest, AStampedCopyIsTheDeepCopyAndSharesNothing) {
    VeriModule* m = Rich();
    ASSERT_TRUE(m);
    Arena arena;
    TreeCopier copier(arena);
    auto* deep = static_cast<VeriModule*>(m->Copy(copier));
    std::unique_ptr<VeriCopyStamp> stamp = VeriCopyStamp::Make(*m, copier, arena.bytesAllocated());
    ASSERT_TRUE(stamp);
    EXPECT_GT(stamp->Pointers(), 100u);
    VeriModule* one = stamp->Stamp(arena);
    VeriModule* two = stamp->Stamp(arena);

    const std::string text = VeriPrettyPrinter::toString(*m);
    EXPECT_NE(text.find("check: assert"), std::string::npos) << text;
    Walk original = Walk::Of(m), d = Walk::Of(deep), w1 = Walk::Of(one), w2 = Walk::Of(two);
    for (VeriModule* copy : {one, two}) {
        EXPECT_TRUE(copy->IsEqual(m));
        EXPECT_EQ(VeriPrettyPrinter::toString(*copy), text);
        EXPECT_EQ(copy->GetScope()->GetContainingModule(), copy);
        EXPECT_NE(copy->GetScope(), m->GetScope());
    }
    ASSERT_EQ(w1.nodes.size(), original.nodes.size());
    EXPECT_EQ(Shared(original, w1), 0u);
    EXPECT_EQ(Shared(original, w2), 0u);
    EXPECT_EQ(Shared(w1, w2), 0u);
    EXPECT_EQ(Shared(d, w1), 0u);

    // References lead where a deep copy's lead: into the copy at the same place, or to
    // the same declaration outside (the package's K).
    auto targets = Targets(d);
    EXPECT_EQ(Targets(w1), targets);
    EXPECT_EQ(Targets(w2), targets);
    size_t inside = 0, outside = 0;
    for (auto& [position, target] : targets) (position >= 0 ? inside : outside)++;
    EXPECT_GT(inside, 20u);
    EXPECT_GT(outside, 0u);

    // Identifiers belong to the copy's scopes; attributes and labels are the copy's own.
    size_t attributes = 0;
    for (size_t i = 0; i < w1.nodes.size(); ++i) {
        auto* id = VeriAs<VeriIdDef>(w1.nodes[i]);
        if (id && id->scope) {
            EXPECT_EQ(id->scope->GetContainingModule(), one) << id->Name();
        }
        ArenaArray<VeriAttribute> mine = w1.nodes[i]->GetAttributes(), theirs = original.nodes[i]->GetAttributes();
        ASSERT_EQ(mine.Size(), theirs.Size());
        attributes += mine.Size();
        for (uint32_t a = 0; a < mine.Size(); ++a) {
            EXPECT_EQ(mine[a].name, theirs[a].name);
            if (theirs[a].value) {
                EXPECT_TRUE(mine[a].value->IsEqual(theirs[a].value));
            }
        }
    }
    EXPECT_EQ(attributes, 3u);

    // Each node of the module maps to its copy in a stamped copy.
    for (size_t i = 0; i < original.nodes.size(); ++i) {
        ASSERT_EQ(stamp->Mapped(original.nodes[i], one), w1.nodes[i]);
        ASSERT_EQ(stamp->Mapped(original.nodes[i], two), w2.nodes[i]);
    }
    EXPECT_EQ(stamp->Mapped(static_cast<VeriTreeNode*>(m->GetScope()->Owner()), one), one);
}

// The checks above catch a copy that keeps a part of its original, or leads into it.
TEST_F(VeriCopyStampTest, TheChecksCatchACopyThatKeepsPartsOfItsOriginal) {
    VeriModule* m = Rich();
    ASSERT_TRUE(m);
    Arena arena;
    TreeCopier copier(arena);
    m->Copy(copier);
    std::unique_ptr<VeriCopyStamp> stamp = VeriCopyStamp::Make(*m, copier, arena.bytesAllocated());
    ASSERT_TRUE(stamp);
    VeriModule* broken = stamp->Stamp(arena);
    Walk original = Walk::Of(m);
    auto targets = Targets(Walk::Of(broken));
    // An item taken over from the original, and a reference led back into the original.
    broken->items[1] = m->items[1];
    EXPECT_GT(Shared(original, Walk::Of(broken)), 0u);
    broken = stamp->Stamp(arena);
    Walk again = Walk::Of(broken);
    for (VeriTreeNode* n : again.nodes)
        if (auto* ref = VeriAs<VeriIdRef>(n); ref && ref->id && again.at.count(ref->id)) {
            ref->id = static_cast<VeriIdDef*>(original.nodes[again.at[ref->id]]);
            break;
        }
    EXPECT_NE(Targets(again), targets);
    EXPECT_EQ(Shared(original, again), 0u); // a wrong link is no shared node: the targets tell
}

TEST_F(VeriCopyStampTest, AModuleThatDoesNotFitTheRoomGivenGetsNoStamp) {
    VeriModule* m = Rich();
    ASSERT_TRUE(m);
    Arena arena;
    TreeCopier copier(arena);
    // A copy of this module takes more than the smallest room a stamp tries.
    EXPECT_FALSE(VeriCopyStamp::Make(*m, copier, 0));
    m->Copy(copier);
    EXPECT_TRUE(VeriCopyStamp::Make(*m, copier, arena.bytesAllocated()));
}

} // namespace
} // namespace hdl
