#include "hdl/elab/VeriPartSelectWidths.h"

#include "hdl/elab/VeriNodeCast.h"
#include "hdl/sv/VeriParserMessageIds.h"
#include "hdl/sv/VeriTokens.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {
namespace {

// Whether an expression names nothing but parameters of the unit's frame and literals.
class ParametersOnly : public VeriVisitor {
public:
    explicit ParametersOnly(const VeriFrame& frame) : frame_(frame) {}
    bool only = true;
    void Visit(VeriIdRef& n) override { only = only && (frame_.pending.count(n.id) || frame_.values.count(n.id)); }
    void Visit(VeriScopeName&) override { only = false; }
    void Visit(VeriSelectedName&) override { only = false; }
    void Visit(VeriFunctionCall&) override { only = false; }

private:
    const VeriFrame& frame_;
};

class Selects : public VeriVisitor {
public:
    std::vector<const VeriRange*> found;

    void Visit(VeriGenerateConstruct&) override {}
    void Visit(VeriGenerateFor&) override {}
    void Visit(VeriGenerateConditional&) override {}
    void Visit(VeriGenerateCase&) override {}
    void Visit(VeriGenerateBlock&) override {}
    void Visit(VeriClass&) override {}

    void Visit(VeriRange& n) override {
        if ((n.partSelect == VT_PLUS_COLON || n.partSelect == VT_MINUS_COLON) && n.right && !VeriAs<VeriConst>(n.right))
            found.push_back(&n);
        VeriVisitor::Visit(n);
    }
};

} // namespace

std::vector<const VeriRange*> VeriIndexedPartSelects(const VeriModule* module) {
    Selects walk;
    for (VeriModuleItem* item : module->items) walk.TraverseNode(item);
    return std::move(walk.found);
}

unsigned VeriCheckPartSelectWidths(const std::vector<const VeriRange*>& selects, VeriEvaluator& eval, VeriFrame* frame,
                                   std::unordered_set<const VeriRange*>& told) {
    unsigned errors = 0;
    for (const VeriRange* n : selects) {
        if (told.count(n)) continue;
        ParametersOnly names(*frame);
        names.TraverseNode(n->right);
        if (!names.only) continue;
        unsigned before = eval.ErrorCount();
        VeriValue width = eval.Evaluate(n->right, frame);
        if (eval.ErrorCount() == before && width.IsVec() && width.IsZero()) {
            told.insert(n);
            ColLineFile where = n->Linefile();
            Message::Tell<veri_msg::ZeroWidthPartSelect>(&where);
            ++errors;
        }
    }
    return errors;
}

} // namespace hdl
