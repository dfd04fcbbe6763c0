#include "hdl/elab/VeriPortWidths.h"

#include <cstdlib>

#include "hdl/sv/VeriTokens.h"

namespace hdl {

namespace {

// A vector identifier's width; -1 for anything that is not one.
int64_t VectorWidth(VeriEvaluator& eval, const VeriIdDef* id, VeriFrame* frame) {
    auto* var = dynamic_cast<const VeriVariable*>(id);
    if (!var || var->dimensions || var->interfacePort) return -1;
    const unsigned before = eval.ErrorCount();
    VeriShape shape = eval.TypeShape(var->dataType, frame);
    if (eval.ErrorCount() != before || shape.real || !shape.width) return -1;
    return shape.width;
}

bool ConstantInt(VeriEvaluator& eval, const VeriExpression* e, VeriFrame* frame, int64_t& out) {
    return e && VeriToInt(eval, eval.Evaluate(e, frame), e, out);
}

} // namespace

std::vector<const VeriIdDef*> VeriModulePorts(const VeriModule& module) {
    std::vector<const VeriIdDef*> ports;
    for (const VeriTreeNode* p : module.ports) {
        if (auto* decl = dynamic_cast<const VeriAnsiPortDecl*>(p)) {
            for (const VeriIdDef* id : decl->ids) ports.push_back(id);
        } else if (auto* e = dynamic_cast<const VeriExpression*>(p)) {
            ports.push_back(e->GetId());
        } else {
            ports.push_back(nullptr);
        }
    }
    return ports;
}

int64_t VeriPortWidth(VeriEvaluator& eval, const VeriIdDef* port, VeriFrame* frame) {
    return VectorWidth(eval, port, frame);
}

int64_t VeriActualWidth(VeriEvaluator& eval, const VeriExpression* actual, VeriFrame* frame) {
    if (!actual) return -1;
    switch (actual->GetClassId()) {
    case ID_VERIIDREF: return VectorWidth(eval, actual->GetId(), frame);
    case ID_VERICONSTVAL: {
        auto* c = static_cast<const VeriConstVal*>(actual);
        return c->size && !c->isString && !c->isUnbased ? int64_t(c->size) : -1;
    }
    case ID_VERIINDEXEDID: {
        auto* indexed = static_cast<const VeriIndexedId*>(actual);
        if (VectorWidth(eval, indexed->GetId(), frame) < 0) return -1;
        auto* range = dynamic_cast<const VeriRange*>(indexed->index);
        if (!range || !range->right) return 1; // a bit
        int64_t a = 0, b = 0;
        if (range->partSelect == VT_PLUS_COLON || range->partSelect == VT_MINUS_COLON)
            return ConstantInt(eval, range->right, frame, b) && b > 0 ? b : -1;
        if (!ConstantInt(eval, range->left, frame, a) || !ConstantInt(eval, range->right, frame, b)) return -1;
        return std::llabs(a - b) + 1;
    }
    case ID_VERICONCAT: {
        int64_t total = 0;
        for (const VeriExpression* e : static_cast<const VeriConcat*>(actual)->exprs) {
            const int64_t w = VeriActualWidth(eval, e, frame);
            if (w < 0) return -1;
            total += w;
        }
        return total;
    }
    default: return -1;
    }
}

} // namespace hdl
