#include "sift/extract/HADLTypePrint.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "hdl/sv/VeriPrettyPrinter.h"
#include "hdl/sv/VeriTokens.h"
#include "hdl/vhdl/VhdlPrettyPrinter.h"
#include "hdl/vhdl/VhdlTokens.h"

namespace {

bool isLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

void put(std::ostream& out, std::string_view text) { out.write(text.data(), std::streamsize(text.size())); }

// The shortest decimal form that reads back as the same double.
std::string shortestDouble(double value) {
    char text[40];
    for (int precision = 1; precision <= 17; ++precision) {
        std::snprintf(text, sizeof text, "%.*g", precision, value);
        if (std::strtod(text, nullptr) == value) break;
    }
    return text;
}

// The bits of a based literal as written ("8'hF0", "'b1x", "4'sd5", "'1"), highest first,
// as x, z, 1 or 0; `width` is the size, 32 for an unsized based literal and 1 for an
// unbased one. A value narrower than the width is extended with 0, or with x or z when
// its highest digit is one.
std::string literalBits(const hdl::VeriConstVal& node, uint32_t& width) {
    std::string_view text = node.text;
    const size_t tick = text.find('\'');
    std::string bits;
    if (tick == std::string_view::npos) return bits;
    size_t i = tick + 1;
    if (i < text.size() && (text[i] == 's' || text[i] == 'S')) ++i;
    char base = i < text.size() ? char(std::tolower(static_cast<unsigned char>(text[i]))) : 0;
    if (node.isUnbased || (base != 'b' && base != 'o' && base != 'h' && base != 'd')) {
        width = 1;
        char c = base ? base : '0';
        bits = c == '?' ? "z" : std::string(1, c);
        return bits;
    }
    ++i;
    width = node.size ? node.size : 32;
    std::string digits;
    for (; i < text.size(); ++i) {
        char c = char(std::tolower(static_cast<unsigned char>(text[i])));
        if (c == '_' || c == ' ' || c == '\t') continue;
        digits += c == '?' ? 'z' : c;
    }
    if (base == 'd') {
        if (!digits.empty() && (digits[0] == 'x' || digits[0] == 'z')) return std::string(width, digits[0]);
        unsigned long long value = std::strtoull(digits.c_str(), nullptr, 10);
        for (uint32_t b = 0; b < width && b < 64; ++b) bits.insert(bits.begin(), char('0' + ((value >> b) & 1)));
    } else {
        const unsigned per = base == 'b' ? 1 : base == 'o' ? 3 : 4;
        for (char c : digits) {
            if (c == 'x' || c == 'z') {
                bits.append(per, c);
                continue;
            }
            unsigned v = isDigit(c) ? unsigned(c - '0') : unsigned(c - 'a' + 10);
            for (int b = int(per) - 1; b >= 0; --b) bits += char('0' + ((v >> b) & 1));
        }
    }
    const char fill = !bits.empty() && (bits[0] == 'x' || bits[0] == 'z') ? bits[0] : '0';
    if (bits.size() > width) bits.erase(0, bits.size() - width);
    else bits.insert(0, width - bits.size(), fill);
    return bits;
}

} // namespace

// Our token numbers of 259..448 are the ones the tree stores, so the table of keywords
// is the lexer's own.
const char* tokenKeyword(int token) { return hdl::tokenKeyword(token); }

namespace {
// The trees also hold the keywords of SystemVerilog (logic, bit, int, ref ...), numbered
// past 448; a declaration prints them as written.
const char* keyword(unsigned token) { return hdl::tokenText(int(token)); }
} // namespace

bool needsEscape(const char* text) {
    if (!text || !*text) return false;
    if (!isLetter(text[0]) && text[0] != '_') return true;
    for (const char* c = text + 1; *c; ++c)
        if (!isLetter(*c) && !isDigit(*c) && *c != '_' && *c != '$') return true;
    return false;
}

const char* indentText(unsigned level) {
    static const char blanks[] = "                                                                                ";
    static_assert(sizeof blanks == 81, "80 blanks");
    return level > 20 ? blanks : blanks + 80 - level * 4;
}

std::string stripTrailingSpace(std::string text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
    return text;
}

// ---------------------------------------------------------------- Verilog

void HADLTypePrintVisitor::printIdentifier(const char* text) {
    if (!text || !*text) return;
    auto part = [this](const std::string& name) {
        if (needsEscape(name.c_str())) out << '\\' << name << ' ';
        else out << name;
    };
    if (!std::strchr(text, ' ')) {
        part(text);
        return;
    }
    std::string_view rest(text);
    bool first = true;
    while (!rest.empty()) {
        const size_t blank = rest.find(' ');
        std::string name(rest.substr(0, blank));
        rest = blank == std::string_view::npos ? std::string_view() : rest.substr(blank + 1);
        if (name.empty()) continue;
        if (!first) out << '.';
        first = false;
        part(name);
    }
}

// The dimensions of a range chain without the outer brackets: "3:0][1:0".
void HADLTypePrintVisitor::printDimensions(hdl::VeriRange* range) {
    std::string text = stripTrailingSpace(hdl::VeriPrettyPrinter::toString(*range));
    if (text.size() >= 2 && text.front() == '[' && text.back() == ']') text = text.substr(1, text.size() - 2);
    out << text;
}

void HADLTypePrintVisitor::Visit(hdl::VeriTreeNode&) {}
void HADLTypePrintVisitor::Visit(hdl::VeriModuleItem&) {}
void HADLTypePrintVisitor::Visit(hdl::VeriConst&) {}

void HADLTypePrintVisitor::Visit(hdl::VeriIdRef& node) {
    std::string name(node.name);
    if (name.empty() && node.id) name = std::string(node.id->Name());
    printIdentifier(name.c_str());
}

void HADLTypePrintVisitor::Visit(hdl::VeriIntVal& node) { out << node.value; }

void HADLTypePrintVisitor::Visit(hdl::VeriRealVal& node) { out << shortestDouble(node.value); }

void HADLTypePrintVisitor::Visit(hdl::VeriConstVal& node) {
    if (node.IsString()) {
        put(out, node.text);
        return;
    }
    uint32_t width = 0;
    const std::string bits = literalBits(node, width);
    out << width << (node.isSigned ? "'sb" : "'b") << bits;
}

void HADLTypePrintVisitor::Visit(hdl::VeriRange& node) {
    out << stripTrailingSpace(hdl::VeriPrettyPrinter::toString(node));
}

void HADLTypePrintVisitor::Visit(hdl::VeriStrength& node) {
    out << '(' << keyword(node.lval);
    if (node.rval) out << ',' << keyword(node.rval);
    out << ')';
}

void HADLTypePrintVisitor::Visit(hdl::VeriDataType& node) {
    if (node.type) out << keyword(node.type) << ' ';
    // A named type has no keyword: its name stands in its place.
    if (auto* named = dynamic_cast<hdl::VeriTypeRef*>(&node); named && named->typeName) {
        if (named->typeName->GetClassId() == hdl::VeriIdRef::kClassId) named->typeName->Accept(*this);
        else out << hdl::VeriPrettyPrinter::toString(*named->typeName);
        out << ' ';
    }
    if (node.signing) out << keyword(node.signing) << ' ';
    if (node.dimensions) {
        out << '[';
        printDimensions(node.dimensions);
        out << "] ";
    }
}

void HADLTypePrintVisitor::Visit(hdl::VeriVariable& node) {
    if (node.dimensions) {
        out << " [";
        printDimensions(node.dimensions);
        out << ']';
    }
    if (node.initialValue) {
        out << ' ' << tokenKeyword(int(hdl::VT_EQ)) << ' ';
        node.initialValue->Accept(*this);
    }
}

void HADLTypePrintVisitor::Visit(hdl::VeriAnsiPortDecl& node) {
    out << keyword(node.dir) << ' ';
    if (node.dataType) node.dataType->Accept(*this);
}

void HADLTypePrintVisitor::Visit(hdl::VeriDataDecl& node) {
    if (node.GetDir()) out << keyword(node.GetDir()) << ' ';
    const unsigned kind = node.GetDeclType();
    if (kind == hdl::VT_PARAMETER || kind == hdl::VT_SPECPARAM || kind == hdl::VT_GENVAR || kind == hdl::VT_LOCALPARAM)
        out << keyword(kind) << ' ';
    if (node.dataType) node.dataType->Accept(*this);
}

void HADLTypePrintVisitor::Visit(hdl::VeriNetDecl& node) {
    out << indentText(indentLevel) << keyword(node.GetNetType()) << ' ';
    hdl::VeriDataType* type = node.dataType;
    if (type && type->signing) out << keyword(type->signing);
    if (node.strength) node.strength->Accept(*this);
    if (type && type->dimensions) {
        out << '[';
        printDimensions(type->dimensions);
        out << "] ";
    }
    if (!node.delays.Empty()) {
        out << "#(";
        bool first = true;
        for (hdl::VeriExpression* delay : node.delays) {
            if (!first) out << ',';
            first = false;
            if (delay) delay->Accept(*this);
        }
        out << ')';
    }
}

void printTypeText(hdl::VeriDataDecl& decl, std::ostream& out) {
    HADLTypePrintVisitor printer(out);
    decl.Accept(printer);
}

void printTypeText(hdl::VeriAnsiPortDecl& decl, std::ostream& out) {
    HADLTypePrintVisitor printer(out);
    decl.Accept(printer);
}

// ---------------------------------------------------------------- VHDL

void HADLTypePrintVisitorVhdl::visit(hdl::VhdlTreeNode* node) {
    if (node) node->Accept(*this);
}

void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlSubtypeDecl& node) { out << hdl::VhdlPrettyText(node.subtype); }
void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlFullTypeDecl& node) { out << hdl::VhdlPrettyText(node.typeDef); }
void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlElementDecl& node) { visit(node.subtype); }
void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlFileDecl& node) { visit(node.subtype); }

void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlAttributeDecl& node) {
    out << "attribute " << hdl::VhdlPrettyText(node.typeMark);
}

void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlGroupDecl& node) {
    out << "group " << hdl::VhdlPrettyText(node.templateName);
}

void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlRange& node) { out << '(' << hdl::VhdlPrettyText(&node) << ')'; }

void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlConstantDecl& node) {
    visit(node.subtype);
    if (node.init) out << " := " << hdl::VhdlPrettyText(node.init);
}

void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlVariableDecl& node) {
    out << hdl::VhdlPrettyText(node.subtype);
    if (node.init) {
        out << " := ";
        visit(node.init);
    }
}

void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlSignalDecl& node) {
    visit(node.subtype);
    if (node.signalKind) out << (node.signalKind == hdl::VHDL_BUS ? " bus" : " register");
    if (node.init) {
        out << " := ";
        visit(node.init);
    }
}

void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlInterfaceDecl& node) {
    if (node.mode) out << hdl::VhdlTokenText(node.mode) << ' ';
    out << hdl::VhdlPrettyText(node.subtype);
    if (node.signalKind) out << ' ' << hdl::VhdlTokenText(node.signalKind);
    if (node.init) out << " := " << hdl::VhdlPrettyText(node.init);
}

void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlIdRef& node) {
    if (node.resolved && !node.resolved->Name().empty()) out << node.resolved->Name() << ' ';
}

void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlInteger& node) { out << node.GetValue(); }
void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlReal& node) { out << shortestDouble(node.GetValue()); }
void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlCharacterLiteral& node) { put(out, node.text); }
void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlBitStringLiteral& node) {
    out << 'b';
    put(out, node.text);
}

void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlStringLiteral& node) {
    std::string_view text = node.text;
    size_t quotes = 0;
    for (char c : text) quotes += c == '"';
    if (quotes == 2 || text.size() < 2) {
        put(out, text);
        return;
    }
    out << text.front();
    for (size_t i = 1; i + 1 < text.size(); ++i) {
        if (text[i] == '"') out << '"';
        out << text[i];
    }
    out << text.back();
}

void HADLTypePrintVisitorVhdl::Visit(hdl::VhdlPhysicalLiteral& node) {
    out << hdl::VhdlPrettyText(node.value) << ' ' << hdl::VhdlPrettyText(node.unit);
}

namespace {
template <typename Node>
void printVhdl(Node& node, std::ostream& out) {
    HADLTypePrintVisitorVhdl printer(out);
    node.Accept(printer);
}
} // namespace

void printTypeText(hdl::VhdlConstantDecl& decl, std::ostream& out) { printVhdl(decl, out); }
void printTypeText(hdl::VhdlElementDecl& decl, std::ostream& out) { printVhdl(decl, out); }
void printTypeText(hdl::VhdlFileDecl& decl, std::ostream& out) { printVhdl(decl, out); }
void printTypeText(hdl::VhdlFullTypeDecl& decl, std::ostream& out) { printVhdl(decl, out); }
void printTypeText(hdl::VhdlInterfaceDecl& decl, std::ostream& out) { printVhdl(decl, out); }
void printTypeText(hdl::VhdlSignalDecl& decl, std::ostream& out) { printVhdl(decl, out); }
void printTypeText(hdl::VhdlSubtypeDecl& decl, std::ostream& out) { printVhdl(decl, out); }
void printTypeText(hdl::VhdlVariableDecl& decl, std::ostream& out) { printVhdl(decl, out); }
void printTypeText(hdl::VhdlComponentDecl&, std::ostream& out) { out << "component"; }
void printTypeText(hdl::VhdlArchitectureBody&, std::ostream& out) { out << "architecture"; }
void printTypeText(hdl::VhdlPackageBody&, std::ostream& out) { out << "package body"; }
void printTypeText(hdl::VhdlPackageDecl&, std::ostream& out) { out << "package"; }
