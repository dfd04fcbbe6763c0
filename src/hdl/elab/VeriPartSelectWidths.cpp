#include "hdl/elab/VeriPartSelectWidths.h"

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

class Widths : public VeriVisitor {
public:
    Widths(VeriEvaluator& eval, VeriFrame* frame, std::unordered_set<const VeriRange*>& told)
        : eval_(eval), frame_(frame), told_(told) {}
    unsigned errors = 0;

    void Visit(VeriGenerateConstruct&) override {}
    void Visit(VeriGenerateFor&) override {}
    void Visit(VeriGenerateConditional&) override {}
    void Visit(VeriGenerateCase&) override {}
    void Visit(VeriGenerateBlock&) override {}
    void Visit(VeriClass&) override {}

    void Visit(VeriRange& n) override {
        if ((n.partSelect == VT_PLUS_COLON || n.partSelect == VT_MINUS_COLON) && n.right && !told_.count(&n) &&
            !dynamic_cast<VeriConst*>(n.right)) {
            ParametersOnly names(*frame_);
            names.TraverseNode(n.right);
            if (names.only) {
                unsigned before = eval_.ErrorCount();
                VeriValue width = eval_.Evaluate(n.right, frame_);
                if (eval_.ErrorCount() == before && width.IsVec() && width.IsZero()) {
                    told_.insert(&n);
                    ColLineFile where = n.Linefile();
                    Message::Tell<veri_msg::ZeroWidthPartSelect>(&where);
                    ++errors;
                }
            }
        }
        VeriVisitor::Visit(n);
    }

private:
    VeriEvaluator& eval_;
    VeriFrame* frame_;
    std::unordered_set<const VeriRange*>& told_;
};

} // namespace

unsigned VeriCheckPartSelectWidths(const VeriModule* module, VeriEvaluator& eval, VeriFrame* frame,
                                   std::unordered_set<const VeriRange*>& told) {
    Widths check(eval, frame, told);
    for (VeriModuleItem* item : module->items) check.TraverseNode(item);
    return check.errors;
}

} // namespace hdl
