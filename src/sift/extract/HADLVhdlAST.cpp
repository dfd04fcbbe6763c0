#include <cstring>
#include <string>
#include <unordered_set>

#include "sift/extract/HADLDefRef.h"
#include "sift/extract/HADLTypePrint.h"

namespace {

// The standard and vendor library sources, by the end of their paths.
const char* const kLibrarySources[] = {
    "lathes/lathe_retarget_VCOMP.vhd",
    "mortise/mortise_VCOMP.vhd",
    "src/mixed_lang_vltype.vhd",
    "distributable/numeric_bit.vhd",
    "distributable/numeric_std.vhd",
    "distributable/std_logic_1164.vhd",
    "restricted/math_real.vhd",
    "std/standard.vhd",
    "std/textio.vhd",
    "synopsys/compileToIeee/std_logic_arith.vhd",
    "synopsys/compileToIeee/std_logic_misc.vhd",
    "compileToIeee/std_logic_signed.vhd",
    "compileToIeee/std_logic_textio.vhd",
    "compileToIeee/std_logic_unsigned.vhd",
    "compileToSynopsys/attributes.vhd",
    "tessel/tessel_COMP.vhd",
    "tessel/tessel_VCOMP.vhd",
    "std_2008/standard.vhd",
    "std_2008/textio.vhd",
    "ieee_2008/std_logic_1164-body.vhdl",
    "ieee_2008/std_logic_1164.vhdl",
    "ieee_2008/numeric_std-body.vhdl",
    "ieee_2008/numeric_std.vhdl",
    "ieee_2008/numeric_std_unsigned.vhdl",
    "ieee_2008/numeric_std_unsigned-body.vhdl",
    "ieee_2008/numeric_bit-body.vhdl",
    "ieee_2008/numeric_bit.vhdl",
    "ieee_2008/numeric_bit_unsigned.vhdl",
    "ieee_2008/numeric_bit_unsigned-body.vhdl",
    "compileToIeee_2008/std_logic_arith.vhd",
    "compileToIeee_2008/std_logic_unsigned.vhd",
    "compileToIeee_2008/std_logic_signed.vhd",
    "compileToIeee_2008/std_logic_misc.vhd",
    "ieee_2008/std_logic_textio.vhdl",
    "ieee_2008/math_real-body.vhdl",
    "ieee_2008/math_real.vhdl",
};

enum : unsigned { kUnit = 1, kDirected = 2, kOther = 3 };

// "in" is tried before "inout", so an inout port and any type text that starts with
// those two letters (integer) read as input: the order is part of the records' meaning.
unsigned kindOfText(const std::string& text) {
    static const char* const words[] = {"in", "out", "inout"};
    for (unsigned dir = 1; dir <= 3; ++dir)
        if (text.compare(0, std::strlen(words[dir - 1]), words[dir - 1]) == 0) return kDirected | (dir << 8);
    return kOther;
}

std::string nameOf(const hdl::VhdlIdDef* id) { return id ? std::string(id->OrigName()) : std::string(); }

} // namespace

bool isLibrarySourcePath(const char* path) {
    const size_t length = std::strlen(path);
    for (const char* row : kLibrarySources) {
        const size_t n = std::strlen(row);
        if (n <= length && std::memcmp(path + length - n, row, n) == 0) return true;
    }
    return false;
}

bool HADLVhdlAST::isUserFile(uint32_t frontEndFileId) {
    if (frontEndFileId >= userFiles_.size()) userFiles_.resize(frontEndFileId + 1, -1);
    int8_t& known = userFiles_[frontEndFileId];
    if (known < 0) {
        const char* name = hdl::LineFile::GetFileNameFromId(frontEndFileId);
        // Our data directory holds more standard sources than the table names (env,
        // the 2008 fixed and float packages ...): those the run set up are not the user's.
        const unsigned id = fileId(frontEndFileId);
        const bool standard = id && id < db->fileAttrs.size() && db->fileAttrs[id].isStdVhdl;
        known = name && !standard && !isLibrarySourcePath(name) ? 1 : 0;
    }
    return known == 1;
}

void HADLVhdlAST::Visit(hdl::VhdlEntityDecl& node) {
    withRange(node);
    entities.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlArchitectureBody& node) {
    withRange(node);
    architectures.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlPackageDecl& node) {
    withRange(node);
    packages.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlPackageBody& node) {
    withRange(node);
    packageBodies.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlConfigurationDecl& node) { withRange(node); }
void HADLVhdlAST::Visit(hdl::VhdlContextDecl& node) { withRange(node); }
void HADLVhdlAST::Visit(hdl::VhdlSubprogramBody& node) { withRange(node); }

void HADLVhdlAST::Visit(hdl::VhdlElementDecl& node) {
    descend(node);
    elementDecls.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlInterfaceDecl& node) {
    descend(node);
    interfaceDecls.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlSubtypeDecl& node) {
    descend(node);
    subtypeDecls.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlFullTypeDecl& node) {
    descend(node);
    fullTypeDecls.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlConstantDecl& node) {
    descend(node);
    constantDecls.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlSignalDecl& node) {
    descend(node);
    signalDecls.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlVariableDecl& node) {
    descend(node);
    variableDecls.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlFileDecl& node) {
    descend(node);
    fileDecls.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlComponentDecl& node) {
    descend(node);
    componentDecls.push_back(&node);
}
void HADLVhdlAST::Visit(hdl::VhdlComponentInstantiationStatement& node) {
    descend(node);
    instantiations.push_back(&node);
}

// A declaration keeps the references found before it (a use in a unit walked earlier
// than the unit that declares it): both come from the same walk of the project.
void HADLVhdlAST::Visit(hdl::VhdlIdDef& node) {
    const hdl::ColLineFile& where = node.Linefile();
    if (!where.leftLine || !isUserFile(where.fileId)) return;
    Noted& noted = defs.refs[&node].extra;
    if (noted.declared) return;
    noted.declared = true;
    defs.order.push_back(&node);
}

void HADLVhdlAST::Visit(hdl::VhdlEntityId&) {}

void HADLVhdlAST::Visit(hdl::VhdlCaseStatementAlternative& node) { withRange(node); }
void HADLVhdlAST::Visit(hdl::VhdlLoopStatement& node) { withRange(node); }
void HADLVhdlAST::Visit(hdl::VhdlCaseStatement& node) { withRange(node); }
void HADLVhdlAST::Visit(hdl::VhdlIfStatement& node) { withRange(node); }
void HADLVhdlAST::Visit(hdl::VhdlProcessStatement& node) { withRange(node); }
void HADLVhdlAST::Visit(hdl::VhdlBlockStatement& node) { withRange(node); }

void HADLVhdlAST::Visit(hdl::VhdlIdRef& node) {
    const hdl::ColLineFile& where = node.Linefile();
    if (!node.resolved || !where.leftLine || !isUserFile(where.fileId)) return;
    defs.refs.addRef(node.resolved, &node);
}

void HADLVhdlAST::writeDeclarations() {
    auto userNode = [this](const hdl::VhdlTreeNode& node) {
        return hdl::LineFile::GetFileNameFromId(node.Linefile().fileId) && isUserFile(node.Linefile().fileId);
    };
    auto note = [&](auto& decl, const std::vector<hdl::VhdlIdDef*>& ids, bool unit) {
        if (!userNode(decl)) return;
        const std::string text = typeText(decl);
        const unsigned type = db->declTypes.insert(text.c_str());
        const unsigned kind = unit ? unsigned(kUnit) : kindOfText(text);
        for (hdl::VhdlIdDef* id : ids) {
            // Only the declarations of users' files are written.
            if (auto* entry = id ? defs.refs.find(id) : nullptr) {
                entry->extra.noted = true;
                entry->extra.type = type;
                entry->extra.kind = kind;
            }
        }
    };
    auto idsOf = [](const hdl::VhdlIdList& list) { return std::vector<hdl::VhdlIdDef*>(list.begin(), list.end()); };
    for (auto* d : componentDecls) note(*d, {d->id}, false);
    for (auto* d : constantDecls) note(*d, idsOf(d->ids), false);
    for (auto* d : elementDecls) note(*d, idsOf(d->ids), false);
    for (auto* d : fileDecls) note(*d, idsOf(d->ids), false);
    for (auto* d : fullTypeDecls) note(*d, {d->id}, false);
    for (auto* d : interfaceDecls) note(*d, idsOf(d->ids), false);
    for (auto* d : signalDecls) note(*d, idsOf(d->ids), false);
    for (auto* d : subtypeDecls) note(*d, {d->id}, false);
    for (auto* d : variableDecls) note(*d, idsOf(d->ids), false);
    for (auto* d : architectures) note(*d, {d->id}, true);
    for (auto* d : packages) note(*d, {d->id}, true);
    for (auto* d : packageBodies) note(*d, {d->id}, true);

    for (hdl::VhdlEntityDecl* entity : entities) {
        const hdl::ColLineFile& where = entity->Linefile();
        if (!userNode(*entity) || !where.leftLine) continue;
        db->unitRanges.push_back({db->objNames.insert(nameOf(entity->id).c_str()), fileId(where.fileId), where.leftLine,
                                  where.rightLine, 0});
    }

    std::unordered_set<const hdl::VhdlIdDef*> written;
    auto declaration = [&](const hdl::VhdlIdDef* id, const hdl::ColLineFile& where, unsigned type, unsigned kind) {
        HADLDatabase::Declaration decl;
        decl.name = db->objNames.insert(nameOf(id).c_str());
        decl.fileId = fileId(where.fileId);
        decl.line = where.leftLine;
        decl.startCol = where.leftCol;
        decl.type = type;
        decl.kind = kind;
        return decl;
    };
    auto at = [this](const hdl::ColLineFile& where, unsigned col) {
        return HADLDatabase::FileLoc{fileId(where.fileId), where.leftLine, col};
    };

    // An entity with its architectures: each refers to the entity in its first line,
    // `architecture <name> of <entity>`, 17 columns past the start and the name.
    const unsigned entityType = db->declTypes.insert("entity");
    for (hdl::VhdlEntityDecl* entity : entities) {
        const hdl::ColLineFile& where = entity->Linefile();
        if (!entity->id || !where.leftLine || !userNode(*entity) || !entity->secondaryUnits) continue;
        std::vector<hdl::VhdlArchitectureBody*> archs;
        for (hdl::VhdlSecondaryUnit* unit : entity->GetSecondaryUnits())
            if (auto* arch = dynamic_cast<hdl::VhdlArchitectureBody*>(unit)) archs.push_back(arch);
        if (archs.empty()) continue;
        // A unit's position starts at its context clause; the declaration stands at the
        // entity's name.
        HADLDatabase::Declaration decl = declaration(entity->id, entity->id->Linefile(), entityType, kUnit);
        for (hdl::VhdlArchitectureBody* arch : archs) {
            if (!arch->id) continue;
            // `architecture <name> of <entity>`: the keyword stands 13 columns before the
            // name, the entity 17 columns past the keyword and the name.
            const hdl::ColLineFile& name = arch->id->Linefile();
            const unsigned length = arch->Name().empty() ? 1 : unsigned(arch->Name().size());
            const unsigned keyword = name.leftCol > 13 ? name.leftCol - 13 : 1;
            decl.references.push_back(at(name, keyword + length + 17));
        }
        db->variables.push_back(std::move(decl));
        written.insert(entity->id);
    }

    HADLDeclTable<hdl::VhdlIdDef*, hdl::VhdlComponentInstantiationStatement*, char> instantiated(256);
    for (auto* inst : instantiations)
        if (hdl::VhdlIdDef* id = inst->GetInstantiatedUnit()) instantiated.addRef(id, inst);
    instantiated.group();
    const unsigned componentType = db->declTypes.insert("component");
    for (auto& entry : instantiated.entries()) {
        hdl::VhdlIdDef* id = entry.id;
        const hdl::ColLineFile& where = id->Linefile();
        if (!where.leftLine || !userNode(*id)) continue;
        HADLDatabase::Declaration decl = declaration(id, where, componentType, kUnit);
        hdl::VhdlComponentInstantiationStatement* const* insts = instantiated.refsOf(entry);
        for (uint32_t i = 0; i < entry.refCount; ++i)
            decl.references.push_back(at(insts[i]->Linefile(), insts[i]->Linefile().leftCol));
        db->variables.push_back(std::move(decl));
        written.insert(id);
    }

    defs.refs.group();
    std::vector<hdl::VhdlDesignUnit*> packageUnits;
    std::unordered_set<hdl::VhdlDesignUnit*> packageSeen;
    for (hdl::VhdlIdDef* id : defs.order) {
        const hdl::ColLineFile& where = id->Linefile();
        if (id->OrigName().empty() || !where.leftLine || written.count(id)) continue;
        if (!hdl::LineFile::GetFileNameFromId(where.fileId)) continue;
        const auto& entry = *defs.refs.find(id);
        const Noted& n = entry.extra;
        HADLDatabase::Declaration decl = declaration(id, where, n.noted ? n.type : 0, n.noted ? n.kind : kOther);
        hdl::VhdlIdRef* const* refs = defs.refs.refsOf(entry);
        for (uint32_t r = 0; r < entry.refCount; ++r) {
            // The reserved slot and 500 references at most.
            if (decl.references.size() > 500) break;
            decl.references.push_back(at(refs[r]->Linefile(), refs[r]->Linefile().leftCol));
        }
        db->variables.push_back(std::move(decl));
        hdl::VhdlDesignUnit* unit = id->owningUnit;
        if (unit &&
            (unit->GetClassId() == hdl::ID_VHDL_PACKAGEDECL || unit->GetClassId() == hdl::ID_VHDL_PACKAGEBODY) &&
            packageSeen.insert(unit).second)
            packageUnits.push_back(unit);
    }
    for (hdl::VhdlDesignUnit* unit : packageUnits) {
        const hdl::ColLineFile& where = unit->Linefile();
        if (!where.leftLine) continue;
        db->unitRanges.push_back({db->objNames.insert(std::string(unit->Name()).c_str()), fileId(where.fileId),
                                  where.leftLine, where.rightLine, 0});
    }
}
