#include <string>
#include <string_view>

#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriPrettyPrinter.h"
#include "hdl/sv/VeriTokens.h"
#include "sift/extract/HADLDefRef.h"
#include "sift/extract/HADLTypePrint.h"
#include "sift/extract/HADLVeriConstValue.h"

namespace {

// The kind word of a declaration: category in bits 0..7, direction in bits 8..10.
enum : unsigned { kUnit = 1, kDirected = 2, kOther = 3, kUndirected = 4 };
unsigned kindWord(unsigned category, unsigned direction) { return category | (direction << 8); }

unsigned directionOfText(const std::string& text) {
    if (text.compare(0, 5, "input") == 0) return 1;
    if (text.compare(0, 6, "output") == 0) return 2;
    if (text.compare(0, 5, "inout") == 0) return 3;
    return 0;
}

// Modules, interfaces and programs are declared with their instantiations as references
// (the module stage); a name that refers to one is not a second declaration of it.
bool isInstantiableUnitId(const hdl::VeriIdDef* id) {
    auto* unit = dynamic_cast<const hdl::VeriModule*>(id->declaration);
    return unit && unit->GetId() == id && !unit->IsPackage();
}

bool isPackageId(const hdl::VeriIdDef* id) {
    auto* unit = dynamic_cast<const hdl::VeriModule*>(id->declaration);
    return unit && unit->GetId() == id && unit->IsPackage();
}

// A typedef and a type parameter read as the type they stand for.
bool isTypeId(const hdl::VeriIdDef* id) { return id->IsType(); }

std::string typeOfTypeId(const hdl::VeriIdDef* id) {
    hdl::VeriTreeNode* type = id->IsParam() ? static_cast<hdl::VeriTreeNode*>(id->GetInitialValue())
                                            : static_cast<hdl::VeriTreeNode*>(id->GetDataType());
    return type ? hdl::VeriPrettyPrinter::toString(*type) : std::string();
}

unsigned rangeValue(const hdl::VeriExpression* bound) {
    int64_t value = 0;
    return veriConstValue(bound, value) ? unsigned(value) : 0;
}

} // namespace

void HADLVeriAST::addReference(hdl::VeriIdDef* id, const hdl::ColLineFile& where, uint32_t nameLength) {
    if (!id || isInstantiableUnitId(id)) return;
    // Positions end one past the name; the reference is the name.
    uint32_t col = where.rightCol > nameLength ? where.rightCol - nameLength : where.leftCol;
    if (where.rightLine != where.leftLine || col < where.leftCol) col = where.leftCol;
    idRefs.addRef(id, {where.rightLine ? where.rightLine : where.leftLine, col});
}

void HADLVeriAST::Visit(hdl::VeriModule& node) {
    moduleRefs[&node];
    descend(node);
    blockRange(node.Linefile());
    if (request->portDecls) recordPorts(node);
}

void HADLVeriAST::recordPorts(hdl::VeriModule& module) {
    const std::string key = ".work." + std::string(module.Name());
    const unsigned unit = db->rUnitNames.find(key.c_str());
    if (!unit || !module.GetScope()) return;
    const hdl::VeriScope& scope = *module.GetScope();
    for (uint32_t i = 0; i < scope.DeclarationCount(); ++i) {
        hdl::VeriIdDef* id = scope.Declaration(i);
        const hdl::ColLineFile where = id->Linefile();
        if (id->Name().empty() || !where.leftLine || !id->IsPort()) continue;
        HADLDatabase::Var var;
        var.nameId = db->objNames.insert(std::string(id->Name()).c_str());
        const unsigned dir = id->GetDir();
        var.isInput = dir == hdl::VT_INPUT || dir == hdl::VT_INOUT;
        var.isOutput = dir == hdl::VT_OUTPUT || dir == hdl::VT_INOUT;
        if (hdl::VeriDataType* type = id->GetDataType(); type && type->dimensions) {
            var.msb = rangeValue(type->dimensions->left);
            var.lsb = rangeValue(type->dimensions->right ? type->dimensions->right : type->dimensions->left);
        }
        var.fileId = fileId(where.fileId);
        var.line = where.leftLine;
        db->rUnitVars.at(unit).push_back(var);
    }
}

void HADLVeriAST::Visit(hdl::VeriIdRef& node) {
    descend(node);
    addReference(node.id, node.Linefile(), uint32_t(node.name.size()));
}

// pkg::name and import items: the name refers to the package item.
void HADLVeriAST::Visit(hdl::VeriScopeName& node) {
    descend(node);
    addReference(node.id, node.Linefile(), uint32_t(node.name.size()));
}

void HADLVeriAST::Visit(hdl::VeriAnsiPortDecl& node) {
    descend(node);
    for (hdl::VeriIdDef* id : node.ids)
        if (id) idRefs[id].extra = {&node, true};
}

// Our identifiers hold the nodes written after them (unpacked dimensions, initial
// values, an instance's port connections), so the walk goes on into them.
void HADLVeriAST::Visit(hdl::VeriIdDef& node) {
    idRefs[&node];
    descend(node);
}

void HADLVeriAST::Visit(hdl::VeriModuleId&) {}

void HADLVeriAST::Visit(hdl::VeriDataDecl& node) {
    descend(node);
    for (hdl::VeriIdDef* id : node.ids) {
        if (!id) continue;
        Declared& declared = idRefs[id].extra;
        if (!declared.ansi) declared.decl = &node;
    }
}

void HADLVeriAST::Visit(hdl::VeriModuleInstantiation& node) {
    descend(node);
    hdl::VeriModule* module = node.GetInstantiatedModule();
    // A module analysed after its user is found by name, in the first library holding it.
    if (!module && !node.GetModuleName().empty()) {
        const std::string name(node.GetModuleName());
        for (hdl::VeriLibrary* library : hdl::veri_file::AllLibraries())
            if ((module = library->GetModule(name)) != nullptr) break;
    }
    if (module) moduleRefs.addRef(module, &node);
}

void HADLVeriAST::Visit(hdl::VeriCaseItem& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriFunctionDecl& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriSpecifyBlock& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriInitialConstruct& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriAlwaysConstruct& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriGenerateFor& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriGenerateBlock& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriAssign& node) { descend(node); }
void HADLVeriAST::Visit(hdl::VeriConditionalStatement& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriCaseStatement& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriRepeat& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriForever& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriForeach& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriWhile& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriFor& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriSeqBlock& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriInterface& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriProgram& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriClass& node) { withRange(node); }
void HADLVeriAST::Visit(hdl::VeriPackage& node) { withRange(node); }

void HADLVeriAST::writeDeclarations() {
    idRefs.group();
    for (auto& entry : idRefs.entries()) {
        hdl::VeriIdDef* id = entry.id;
        const hdl::ColLineFile where = id->Linefile();
        if (id->Name().empty() || !where.leftLine || !hdl::LineFile::GetFileNameFromId(where.fileId)) continue;
        HADLDatabase::Declaration decl;
        decl.name = db->objNames.insert(std::string(id->Name()).c_str());
        decl.fileId = fileId(where.fileId);
        decl.line = where.leftLine;
        decl.startCol = where.leftCol;
        decl.kind = isPackageId(id) ? kUnit : kOther;
        if (hdl::VeriTreeNode* node = entry.extra.decl) {
            std::string text;
            if (isTypeId(id)) text = typeOfTypeId(id);
            else if (entry.extra.ansi) text = typeText(*static_cast<hdl::VeriAnsiPortDecl*>(node));
            else text = typeText(*static_cast<hdl::VeriDataDecl*>(node));
            const unsigned dir = directionOfText(text);
            decl.type = db->declTypes.insert(text.c_str());
            decl.kind = kindWord(entry.extra.ansi || dir ? kDirected : kUndirected, dir);
        }
        // A reference carries the declaration's file, wherever it stands.
        decl.references.reserve(entry.refCount + 1);
        const Reference* refs = idRefs.refsOf(entry);
        for (uint32_t r = 0; r < entry.refCount; ++r)
            decl.references.push_back({decl.fileId, refs[r].line, refs[r].col});
        db->variables.push_back(std::move(decl));
    }
    moduleRefs.group();
    for (auto& entry : moduleRefs.entries()) {
        hdl::VeriModule* module = entry.id;
        const hdl::ColLineFile where = module->Linefile();
        if (module->Name().empty() || !where.leftLine || !hdl::LineFile::GetFileNameFromId(where.fileId)) continue;
        const unsigned name = db->objNames.insert(std::string(module->Name()).c_str());
        const unsigned file = fileId(where.fileId);
        db->unitRanges.push_back({name, file, where.leftLine, where.rightLine, 0});
        HADLDatabase::Declaration decl;
        decl.name = name;
        decl.fileId = file;
        decl.line = where.leftLine;
        decl.startCol = where.leftCol;
        decl.kind = kUnit;
        hdl::VeriModuleInstantiation* const* insts = moduleRefs.refsOf(entry);
        for (uint32_t i = 0; i < entry.refCount; ++i) {
            const hdl::ColLineFile at = insts[i]->Linefile();
            decl.references.push_back({fileId(at.fileId), at.leftLine, at.leftCol});
        }
        db->variables.push_back(std::move(decl));
    }
}
