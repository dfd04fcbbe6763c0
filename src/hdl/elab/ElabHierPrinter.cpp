#include "hdl/elab/ElabHierPrinter.h"

#include <string>

namespace hdl {

namespace {

void Line(std::ostream& out, const std::string& path, const ElabUnit& u) {
    out << path << '\t' << u.module << '\t' << u.copyName;
    if (u.language == ElabLanguage::Vhdl) out << '\t' << u.architecture;
    out << '\n';
}

// Depth first with an explicit stack: the hierarchy may be deeper than the stack of a
// recursion would like. A unit already on the path (a loop that another language's
// answer could close) is printed but not entered again.
void Walk(const ElabDesign& design, const std::string& root, ElabUnitId top, std::ostream& out) {
    struct Frame {
        ElabUnitId unit;
        size_t next;
        size_t pathLength;
    };
    std::string path = root;
    Line(out, path, design.Unit(top));
    std::vector<Frame> stack{{top, 0, path.size()}};
    while (!stack.empty()) {
        Frame& f = stack.back();
        const ElabUnit& u = design.Unit(f.unit);
        if (f.next == u.instances.size()) {
            stack.pop_back();
            continue;
        }
        const ElabInstance& inst = u.instances[f.next++];
        path.resize(f.pathLength);
        path += '.';
        path += inst.name;
        Line(out, path, design.Unit(inst.unit));
        bool onPath = false;
        for (const Frame& above : stack) onPath = onPath || above.unit == inst.unit;
        if (!onPath) stack.push_back({inst.unit, 0, path.size()});
    }
}

} // namespace

void ElabPrintHier(const ElabDesign& design, std::ostream& out) {
    for (const ElabTop& top : design.tops) Walk(design, top.name, top.unit, out);
}

} // namespace hdl
