// The type text of a declaration: what one reads in front of the declared name, without
// the name. The definition/reference walk stores it for every declaration. The printers
// are visitors that print only what their overrides reach; any other node prints
// nothing of its own and passes the walk on to its children.
#pragma once

#include <cstdint>
#include <ostream>
#include <sstream>
#include <string>

#include "hdl/sv/VeriVisitor.h"
#include "hdl/vhdl/VhdlVisitor.h"

// Keyword of a Verilog token number 259..448; empty outside that range and for the
// numbers in it that have no keyword.
const char* tokenKeyword(int token);
// A Verilog name needs a backslash unless it starts with a letter or "_" and goes on
// with letters, digits, "_" and "$".
bool needsEscape(const char* text);
// level * 4 blanks, at most 80.
const char* indentText(unsigned level);

class HADLTypePrintVisitor : public hdl::VeriVisitor {
public:
    explicit HADLTypePrintVisitor(std::ostream& o) : out(o) {}

    void Visit(hdl::VeriTreeNode& node) override;
    void Visit(hdl::VeriIdRef& node) override;
    void Visit(hdl::VeriAnsiPortDecl& node) override;
    void Visit(hdl::VeriDataType& node) override;
    void Visit(hdl::VeriVariable& node) override;
    void Visit(hdl::VeriRange& node) override;
    void Visit(hdl::VeriStrength& node) override;
    void Visit(hdl::VeriModuleItem& node) override;
    void Visit(hdl::VeriDataDecl& node) override;
    void Visit(hdl::VeriNetDecl& node) override;
    void Visit(hdl::VeriConst& node) override;
    void Visit(hdl::VeriConstVal& node) override;
    void Visit(hdl::VeriIntVal& node) override;
    void Visit(hdl::VeriRealVal& node) override;

    // A name as Verilog source writes it: escaped where needed; a hierarchical name held
    // with blanks between its parts prints its parts joined by ".".
    void printIdentifier(const char* text);

    std::ostream& out;
    uint32_t indentLevel = 0;

private:
    void printDimensions(hdl::VeriRange* range);
};

class HADLTypePrintVisitorVhdl : public hdl::VhdlVisitor {
public:
    explicit HADLTypePrintVisitorVhdl(std::ostream& o) : out(o) {}

    void Visit(hdl::VhdlElementDecl& node) override;
    void Visit(hdl::VhdlInterfaceDecl& node) override;
    void Visit(hdl::VhdlSubtypeDecl& node) override;
    void Visit(hdl::VhdlFullTypeDecl& node) override;
    void Visit(hdl::VhdlConstantDecl& node) override;
    void Visit(hdl::VhdlSignalDecl& node) override;
    void Visit(hdl::VhdlVariableDecl& node) override;
    void Visit(hdl::VhdlFileDecl& node) override;
    void Visit(hdl::VhdlAttributeDecl& node) override;
    void Visit(hdl::VhdlGroupDecl& node) override;
    void Visit(hdl::VhdlRange& node) override;
    void Visit(hdl::VhdlInteger& node) override;
    void Visit(hdl::VhdlReal& node) override;
    void Visit(hdl::VhdlStringLiteral& node) override;
    void Visit(hdl::VhdlBitStringLiteral& node) override;
    void Visit(hdl::VhdlCharacterLiteral& node) override;
    void Visit(hdl::VhdlPhysicalLiteral& node) override;
    void Visit(hdl::VhdlIdRef& node) override;

    std::ostream& out;

private:
    void visit(hdl::VhdlTreeNode* node);
};

// One entry point per declaration kind of the walk: each prints the type text on `out`.
void printTypeText(hdl::VeriDataDecl& decl, std::ostream& out);
void printTypeText(hdl::VeriAnsiPortDecl& decl, std::ostream& out);
void printTypeText(hdl::VhdlConstantDecl& decl, std::ostream& out);
void printTypeText(hdl::VhdlElementDecl& decl, std::ostream& out);
void printTypeText(hdl::VhdlFileDecl& decl, std::ostream& out);
void printTypeText(hdl::VhdlFullTypeDecl& decl, std::ostream& out);
void printTypeText(hdl::VhdlInterfaceDecl& decl, std::ostream& out);
void printTypeText(hdl::VhdlSignalDecl& decl, std::ostream& out);
void printTypeText(hdl::VhdlSubtypeDecl& decl, std::ostream& out);
void printTypeText(hdl::VhdlVariableDecl& decl, std::ostream& out);
// Units and components read as their fixed word.
void printTypeText(hdl::VhdlComponentDecl& decl, std::ostream& out);
void printTypeText(hdl::VhdlArchitectureBody& unit, std::ostream& out);
void printTypeText(hdl::VhdlPackageBody& unit, std::ostream& out);
void printTypeText(hdl::VhdlPackageDecl& unit, std::ostream& out);

std::string stripTrailingSpace(std::string text);

// The printed text without trailing white space.
template <typename Node>
std::string typeText(Node& node) {
    std::ostringstream text;
    printTypeText(node, text);
    return stripTrailingSpace(text.str());
}
