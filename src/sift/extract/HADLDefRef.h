// The definition/reference walk: one pass over every parse tree of both front-ends that
// records block ranges per file, the ports of raw units, and every declaration with its
// type text and the places that refer to it. The visitors collect node pointers during
// the walk; a second stage per language turns them into database records.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hdl/base/LineFile.h"
#include "hdl/sv/VeriVisitor.h"
#include "hdl/vhdl/VhdlVisitor.h"
#include "sift/database/HADLDatabase.h"
#include "sift/extract/HADLDeclTable.h"

struct HADLWalkRequest {
    bool blockRanges = false;
    bool portDecls = false;
    bool defRef = false;
    // The unit names `sf -port_decls` was given; every module with a raw unit is
    // recorded whatever they are.
    HADLStringIndexTable portDeclUnits;
    HADLDatabase* db = nullptr;
};

// What both visitors share: the request, the file ids of the database by front-end file
// id, and the block ranges.
class HADLWalkFiles {
public:
    explicit HADLWalkFiles(HADLWalkRequest& request) : db(request.db), request(&request) {}
    // The id in `fileNames` of a front-end file, 0 for a file not in the table (no file
    // is added here).
    unsigned fileId(uint32_t frontEndFileId);
    // Records the lines of a block of more than one line, once.
    void blockRange(const hdl::ColLineFile& where);

    HADLDatabase* db;
    HADLWalkRequest* request;

private:
    std::vector<unsigned> fileIds_; // by front-end file id + 1; 0 not yet looked up
};

class HADLVeriAST : public hdl::VeriVisitor, public HADLWalkFiles {
public:
    explicit HADLVeriAST(HADLWalkRequest& request) : HADLWalkFiles(request) {}

    void Visit(hdl::VeriModule& node) override;
    void Visit(hdl::VeriIdRef& node) override;
    void Visit(hdl::VeriScopeName& node) override;
    void Visit(hdl::VeriAnsiPortDecl& node) override;
    void Visit(hdl::VeriIdDef& node) override;
    void Visit(hdl::VeriModuleId& node) override;
    void Visit(hdl::VeriCaseItem& node) override;
    void Visit(hdl::VeriDataDecl& node) override;
    void Visit(hdl::VeriFunctionDecl& node) override;
    void Visit(hdl::VeriModuleInstantiation& node) override;
    void Visit(hdl::VeriSpecifyBlock& node) override;
    void Visit(hdl::VeriInitialConstruct& node) override;
    void Visit(hdl::VeriAlwaysConstruct& node) override;
    void Visit(hdl::VeriGenerateFor& node) override;
    void Visit(hdl::VeriGenerateBlock& node) override;
    void Visit(hdl::VeriAssign& node) override;
    void Visit(hdl::VeriConditionalStatement& node) override;
    void Visit(hdl::VeriCaseStatement& node) override;
    void Visit(hdl::VeriRepeat& node) override;
    void Visit(hdl::VeriForever& node) override;
    void Visit(hdl::VeriForeach& node) override;
    void Visit(hdl::VeriWhile& node) override;
    void Visit(hdl::VeriFor& node) override;
    void Visit(hdl::VeriSeqBlock& node) override;
    void Visit(hdl::VeriInterface& node) override;
    void Visit(hdl::VeriProgram& node) override;
    void Visit(hdl::VeriClass& node) override;
    void Visit(hdl::VeriPackage& node) override;

    // The second stage: declarations, their references and the module ranges.
    void writeDeclarations();

    // A reference is a name node (an identifier, or the last name of pkg::name) with its
    // position.
    struct Reference {
        uint32_t line = 0;
        uint32_t col = 0;
    };
    // The declaring node of an identifier: a data declaration, or an ANSI port declaration,
    // which wins over a data declaration of the same name.
    struct Declared {
        hdl::VeriTreeNode* decl = nullptr;
        bool ansi = false;
    };
    HADLDeclTable<hdl::VeriIdDef*, Reference, Declared> idRefs;
    HADLDeclTable<hdl::VeriModule*, hdl::VeriModuleInstantiation*, char> moduleRefs{256};

private:
    void descend(hdl::VeriTreeNode& node) { node.VisitChildren(*this); }
    void withRange(hdl::VeriTreeNode& node) {
        descend(node);
        blockRange(node.Linefile());
    }
    void addReference(hdl::VeriIdDef* id, const hdl::ColLineFile& where, uint32_t nameLength);
    void recordPorts(hdl::VeriModule& module);
};

class HADLVhdlAST : public hdl::VhdlVisitor, public HADLWalkFiles {
public:
    explicit HADLVhdlAST(HADLWalkRequest& request) : HADLWalkFiles(request) {}

    void Visit(hdl::VhdlEntityDecl& node) override;
    void Visit(hdl::VhdlArchitectureBody& node) override;
    void Visit(hdl::VhdlPackageDecl& node) override;
    void Visit(hdl::VhdlPackageBody& node) override;
    void Visit(hdl::VhdlConfigurationDecl& node) override;
    void Visit(hdl::VhdlContextDecl& node) override;
    void Visit(hdl::VhdlSubprogramBody& node) override;
    void Visit(hdl::VhdlElementDecl& node) override;
    void Visit(hdl::VhdlInterfaceDecl& node) override;
    void Visit(hdl::VhdlSubtypeDecl& node) override;
    void Visit(hdl::VhdlFullTypeDecl& node) override;
    void Visit(hdl::VhdlConstantDecl& node) override;
    void Visit(hdl::VhdlSignalDecl& node) override;
    void Visit(hdl::VhdlVariableDecl& node) override;
    void Visit(hdl::VhdlFileDecl& node) override;
    void Visit(hdl::VhdlComponentDecl& node) override;
    void Visit(hdl::VhdlComponentInstantiationStatement& node) override;
    void Visit(hdl::VhdlIdDef& node) override;
    void Visit(hdl::VhdlEntityId& node) override;
    void Visit(hdl::VhdlCaseStatementAlternative& node) override;
    void Visit(hdl::VhdlLoopStatement& node) override;
    void Visit(hdl::VhdlCaseStatement& node) override;
    void Visit(hdl::VhdlIfStatement& node) override;
    void Visit(hdl::VhdlProcessStatement& node) override;
    void Visit(hdl::VhdlBlockStatement& node) override;
    void Visit(hdl::VhdlIdRef& node) override;

    // The second stage.
    void writeDeclarations();

    // False for the standard and vendor library sources, whose declarations are not the
    // user's; memoised per front-end file.
    bool isUserFile(uint32_t frontEndFileId);

    // What the second stage notes for a declaration: its type text and kind word.
    struct Noted {
        bool declared = false; // seen as a declaration of a user's file
        bool noted = false;
        unsigned type = 0;
        unsigned kind = 0;
    };
    struct Defs {
        HADLDeclTable<hdl::VhdlIdDef*, hdl::VhdlIdRef*, Noted> refs;
        std::vector<hdl::VhdlIdDef*> order; // in order of first sight
    } defs;
    std::vector<hdl::VhdlComponentDecl*> componentDecls;
    std::vector<hdl::VhdlComponentInstantiationStatement*> instantiations;
    std::vector<hdl::VhdlConstantDecl*> constantDecls;
    std::vector<hdl::VhdlElementDecl*> elementDecls;
    std::vector<hdl::VhdlFileDecl*> fileDecls;
    std::vector<hdl::VhdlFullTypeDecl*> fullTypeDecls;
    std::vector<hdl::VhdlInterfaceDecl*> interfaceDecls;
    std::vector<hdl::VhdlSignalDecl*> signalDecls;
    std::vector<hdl::VhdlSubtypeDecl*> subtypeDecls;
    std::vector<hdl::VhdlVariableDecl*> variableDecls;
    std::vector<hdl::VhdlEntityDecl*> entities;
    std::vector<hdl::VhdlArchitectureBody*> architectures;
    std::vector<hdl::VhdlPackageBody*> packageBodies;
    std::vector<hdl::VhdlPackageDecl*> packages;

private:
    void descend(hdl::VhdlTreeNode& node) { node.VisitChildren(*this); }
    void withRange(hdl::VhdlTreeNode& node) {
        descend(node);
        blockRange(node.Linefile());
    }
    std::vector<int8_t> userFiles_; // by front-end file id: -1 unknown, 0 no, 1 yes
};

// True when `path` ends in the name of a standard or vendor library source.
bool isLibrarySourcePath(const char* path);

void walkDesign(HADLWalkRequest& request);
