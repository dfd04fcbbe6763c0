#include "sift/extract/HADLTreePrinter.h"

#include <cstdio>
#include <string>
#include <vector>

#include "hdl/sv/VeriClassIds.h"
#include "hdl/sv/VeriVisitor.h"
#include "hdl/vhdl/VhdlClassIds.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace HADLVerific {

// The front-ends number their classes so that the code plus the table's offset is the
// row of the kind name; their own tables are the kind-name tables.
const char* veriKindName(uint32_t classId) { return hdl::veriClassName(classId); }
const char* vhdlKindName(uint32_t classId) { return hdl::VhdlClassName(classId); }

namespace {

void printLine(uint32_t line, size_t depth, const char* name) {
    const std::string blanks(2 * depth, ' ');
    std::printf("%3d %s %s\n", int(line), blanks.c_str(), name);
}

class VeriTreePrinter : public hdl::VeriVisitor {
public:
    void PreVisit(hdl::VeriTreeNode& node) override {
        printLine(node.Linefile().leftLine, stack.size(), veriKindName(node.GetClassId()));
        stack.push_back(&node);
    }
    void PostVisit(hdl::VeriTreeNode&) override { stack.pop_back(); }
    std::vector<hdl::VeriTreeNode*> stack;
};

class VhdlTreePrinter : public hdl::VhdlVisitor {
public:
    void PreVisit(hdl::VhdlTreeNode& node) override {
        printLine(node.Linefile().leftLine, stack.size(), vhdlKindName(node.GetClassId()));
        stack.push_back(&node);
    }
    void PostVisit(hdl::VhdlTreeNode&) override { stack.pop_back(); }
    std::vector<hdl::VhdlTreeNode*> stack;
};

} // namespace

void printTree(hdl::VeriTreeNode& root) {
    VeriTreePrinter printer;
    printer.TraverseNode(&root);
}

void printTree(hdl::VhdlTreeNode& root) {
    VhdlTreePrinter printer;
    printer.TraverseNode(&root);
}

} // namespace HADLVerific
