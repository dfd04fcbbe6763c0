#include "sift/bind/HADLBinder.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "hdl/base/Language.h"
#include "hdl/elab/VeriNodeCast.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriPrettyPrinter.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlScope.h"
#include "sift/base/HADLMessages.h"
#include "sift/base/HADLMsgCapture.h"
#include "sift/bind/HADLInstFinder.h"
#include "sift/bind/HADLNodeCast.h"
#include "sift/bind/HADLSketch.h"
#include "sift/extract/HADLSysVeriExtractor.h"

using namespace hdl;

namespace {

constexpr unsigned kVerilogKind = 2;
constexpr unsigned kVhdlKind = 9;

std::string lower(std::string text) {
    boost::algorithm::to_lower(text);
    return text;
}

bool isVerilogUnit(const VeriModule* m) {
    if (!m || m->Name() == "$unit") return false;
    const uint32_t id = m->GetClassId();
    return id == VeriModule::kClassId || id == VeriInterface::kClassId || id == VeriConfiguration::kClassId;
}

// Our front-end keeps Verilog modules out of the VHDL libraries, so every entity and
// configuration there is a VHDL unit.
bool isVhdlUnit(const VhdlPrimaryUnit* p) {
    return p && (p->GetClassId() == VhdlEntityDecl::kClassId || p->GetClassId() == VhdlConfigurationDecl::kClassId);
}

std::string vhdlUnitName(const VhdlDesignUnit& unit) {
    return normalizeName(std::string(unit.Id() ? unit.Id()->OrigName() : unit.Name()));
}

std::string libraryName(const VhdlDesignUnit& unit) {
    return unit.GetOwningLib() ? unit.GetOwningLib()->Name() : std::string();
}

// The front-end's Verilog module of a name in a library, found without regard to case
// as VHDL names are.
VeriModule* verilogModuleFromLib(const std::string& library, const std::string& name) {
    VeriLibrary* lib = veri_file::GetLibrary(library.c_str());
    if (!lib) return nullptr;
    if (VeriModule* m = lib->GetModule(name)) return m;
    for (VeriModule* m : lib->AllModules())
        if (boost::algorithm::iequals(m->Name(), name)) return m;
    return nullptr;
}

// A VHDL entity for a Verilog instance: in the library given, else in any, in library
// order; `architecture` gets the one that would be used.
VhdlPrimaryUnit* vhdlUnitForVerilogInstance(const std::string& name, const char* library, std::string& architecture) {
    VhdlPrimaryUnit* found = nullptr;
    if (library) {
        if (VhdlLibrary* lib = vhdl_file::GetLibrary(library)) found = lib->GetPrimUnit(name.c_str());
    } else {
        for (VhdlLibrary* lib : vhdl_file::AllLibraries())
            if ((found = lib->GetPrimUnit(name.c_str()))) break;
    }
    if (!found || found->GetClassId() != VhdlEntityDecl::kClassId) return nullptr;
    if (VhdlSecondaryUnit* arch = found->GetSecondaryUnit(nullptr)) architecture = vhdlUnitName(*arch);
    return found;
}

bool onParamCopyList(const std::vector<std::string>& list, const std::string& base) {
    auto it = std::lower_bound(list.begin(), list.end(), base);
    for (; it != list.end() && boost::algorithm::starts_with(*it, base); ++it)
        if (baseName(*it) == base) return true;
    return false;
}

} // namespace

std::string compositeName(unsigned kind, const std::string& library, const std::string& primary,
                          const std::string& secondary) {
    const char* sep = IsVhdlLanguage(kind) ? "/" : ".";
    std::string key = sep + library + sep + primary;
    if (!secondary.empty()) key += sep + secondary;
    return key;
}

std::string normalizeName(const std::string& name) {
    if (name.size() < 2 || name.front() != '\\' || name.back() != '\\') return name;
    size_t first = name.find_first_not_of('\\');
    if (first == std::string::npos) return std::string();
    size_t last = name.find_last_not_of('\\');
    return name.substr(first, last - first + 1);
}

std::string baseName(const std::string& name) {
    if (name.empty() || name.back() != ')') return name;
    size_t open = name.find('(');
    return open == std::string::npos ? name : name.substr(0, open);
}

std::string makeVerilogName(const std::string& name) {
    if (name.empty()) return name;
    const bool simple = (std::isalpha(static_cast<unsigned char>(name[0])) || name[0] == '_') &&
                        std::all_of(name.begin(), name.end(), [](char c) {
                            return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '$';
                        });
    if (simple) return name;
    // A name that keeps the backslash of its source lacks only the closing blank.
    if (name.front() == '\\') return name.back() == ' ' ? name : name + " ";
    return "\\" + name + " ";
}

bool isUnresolved(const HADLDatabase& db, unsigned unitId) {
    return db.fileAttrs.at(db.unitAttrs.at(unitId).fileId).lang == 0;
}

unsigned HADLBinder::fileIdOf(const ColLineFile& location) {
    const char* path = LineFile::GetFileName(&location);
    if (!path || !*path) return 0;
    if (unsigned id = db.fileNames.find(path)) return id;
    return db.insertFileName(path, 0, "");
}

unsigned HADLBinder::newUnit(const std::string& key) {
    const unsigned id = db.unitNames.insert(key.c_str());
    db.resizeTables();
    return id;
}

void HADLBinder::setLocation(HADLDatabase::UnitAttr& unit, const ColLineFile& location) {
    unit.fileId = fileIdOf(location);
    unit.startLine = location.leftLine;
    if (!location.fileId) return;
    unit.endLine = location.rightLine;
    unit.leftCol = location.leftCol;
    unit.rightCol = location.rightCol;
}

unsigned HADLBinder::addVerilogUnit(const VeriModule& module) {
    std::string library;
    std::string primary(module.Name());
    if (module.GetLibrary()) {
        library = module.GetLibrary()->GetName();
    } else {
        // A nested module: its name is the path of the modules around it.
        std::vector<std::string> names{primary};
        const VeriModule* outer = &module;
        while (outer && !outer->GetLibrary()) {
            VeriScope* scope = outer->GetScope() ? outer->GetScope()->Upper() : nullptr;
            outer = scope ? scope->GetContainingModule() : nullptr;
            if (!outer || !VeriAs<VeriModuleId>(outer->GetId())) break;
            names.insert(names.begin(), std::string(outer->Name()));
        }
        primary.clear();
        for (const std::string& n : names) primary += (primary.empty() ? "" : "_") + n;
        std::printf("Composite name <%s>\n", primary.c_str());
        library = outer && outer->GetLibrary() ? outer->GetLibrary()->GetName() : "NO-LIB";
    }
    const std::string key = compositeName(kVerilogKind, library, primary, "");
    const bool isConfig = module.GetClassId() == VeriConfiguration::kClassId;
    if (unsigned id = db.unitNames.find(key.c_str())) {
        if (db.unitAttrs.at(id).isConfig != isConfig) {
            const unsigned file = isConfig ? fileIdOf(module.Linefile()) : db.unitAttrs.at(id).fileId;
            addManagerMessage(db, db.fileNames.getString(file), 0,
                              managerMessage<hadl_msg::ConfigurationNameClash>(primary.c_str()));
        }
        return id;
    }
    const unsigned id = newUnit(key);
    HADLDatabase::UnitAttr& unit = db.unitAttrs.at(id);
    unit.libId = db.objNames.insert(library.c_str());
    if (!module.GetOriginalModuleName().empty()) {
        const std::string original(module.GetOriginalModuleName());
        const unsigned origId = db.unitNames.find(compositeName(kVerilogKind, library, original, "").c_str());
        if (origId) {
            db.derivedUnits.at(origId).push_back(id);
            db.unitAttrs.at(id).origUnitId = origId;
        } else {
            db.unitAttrs.at(id).primaryId = db.objNames.insert(original.c_str());
        }
    }
    HADLDatabase::UnitAttr& u = db.unitAttrs.at(id);
    if (!u.primaryId) u.primaryId = db.objNames.insert(primary.c_str());
    setLocation(u, module.Linefile());
    u.isInterface = module.GetClassId() == VeriInterface::kClassId;
    u.isConfig = isConfig && db.enableVhdlVerilogConfig;
    return id;
}

unsigned HADLBinder::addVhdlUnit(const VhdlPrimaryUnit& primary, const VhdlSecondaryUnit* secondary) {
    if (!secondary) secondary = primary.GetSecondaryUnit(nullptr);
    const std::string library = libraryName(primary);
    const std::string name = vhdlUnitName(primary);
    const std::string arch = secondary ? vhdlUnitName(*secondary) : std::string();
    const std::string key = compositeName(kVhdlKind, library, name, arch);
    if (unsigned id = db.unitNames.find(key.c_str())) return id;
    const unsigned id = newUnit(key);
    HADLDatabase::UnitAttr& unit = db.unitAttrs.at(id);
    unit.libId = db.objNames.insert(library.c_str());
    unit.primaryId = db.objNames.insert(name.c_str());
    if (!arch.empty()) unit.secondaryId = db.objNames.insert(arch.c_str());
    setLocation(unit, secondary ? secondary->Linefile() : primary.Linefile());
    unit.isConfig = primary.GetClassId() == VhdlConfigurationDecl::kClassId;
    return id;
}

unsigned HADLBinder::addVhdlUnitByArch(const VhdlPrimaryUnit& primary, const std::string& architecture) {
    return addVhdlUnit(primary, architecture.empty() ? nullptr : primary.GetSecondaryUnit(architecture.c_str()));
}

unsigned HADLBinder::addUnboundUnit(unsigned kind, const char* library, const char* primary, const char* secondary) {
    const std::string lib = library ? library : db.getDefaultLibrary();
    const std::string prim = primary ? primary : "blackbox";
    const std::string sec = secondary ? secondary : "";
    if (IsVerilogLanguage(kind) && !sec.empty()) kind = kVhdlKind;
    const std::string key = compositeName(kind, lib, prim, sec);
    if (unsigned id = db.unitNames.find(key.c_str())) return id;
    const unsigned id = newUnit(key);
    HADLDatabase::UnitAttr& unit = db.unitAttrs.at(id);
    unit.libId = db.objNames.insert(lib.c_str());
    unit.primaryId = db.objNames.insert(prim.c_str());
    if (!sec.empty()) unit.secondaryId = db.objNames.insert(sec.c_str());
    return id;
}

void HADLBinder::registerUnits() {
    if (VeriLibrary* work = veri_file::GetLibrary("work")) {
        for (VeriModule* m : work->AllModules())
            if (isVerilogUnit(m)) addVerilogUnit(*m);
    }
    for (VeriLibrary* lib : veri_file::AllLibraries()) {
        for (VeriModule* m : lib->AllModules()) {
            if (m->GetClassId() == VeriPackage::kClassId) {
                if (m->Name() == "$unit") continue;
                const unsigned file = fileIdOf(m->Linefile());
                db.pkgIds.at(file).push_back(db.objNames.insert(std::string(m->Name()).c_str()));
            } else if (isVerilogUnit(m)) {
                addVerilogUnit(*m);
            }
        }
    }
    for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
        for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
            if (!isVhdlUnit(p)) continue;
            if (p->GetSecondaryUnits().empty()) addVhdlUnit(*p, nullptr);
            for (VhdlSecondaryUnit* s : p->GetSecondaryUnits()) addVhdlUnit(*p, s);
        }
    }
    // Copies to their originals.
    for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
        for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
            if (!isVhdlUnit(p)) continue;
            const std::string original = normalizeName(std::string(p->GetOriginalUnitName()));
            const bool isConfig = p->GetClassId() == VhdlConfigurationDecl::kClassId;
            if (!isConfig || original.empty()) {
                if (original.empty()) continue;
                for (VhdlSecondaryUnit* s : p->GetSecondaryUnits()) {
                    const unsigned u = addVhdlUnit(*p, s);
                    const std::string key = compositeName(kVhdlKind, lib->Name(), original, vhdlUnitName(*s));
                    unsigned o = db.unitNames.find(key.c_str());
                    db.unitAttrs.at(u).origUnitId = o;
                    db.derivedUnits.at(o).push_back(u);
                    if (!o && (o = db.unitNames.find(lower(key).c_str()))) {
                        db.unitAttrs.at(u).origUnitId = o;
                        db.derivedUnits.at(o).push_back(u);
                    }
                }
            } else {
                const unsigned u = addVhdlUnit(*p, nullptr);
                db.unitAttrs.at(u).origUnitId =
                    db.unitNames.find(compositeName(kVhdlKind, lib->Name(), original, "").c_str());
            }
        }
    }
}

void HADLBinder::bindInstances(HADLInstFinder& instFinder, const std::vector<std::string>& paramCopyNames) {
    for (VeriLibrary* lib : veri_file::AllLibraries()) {
        for (VeriModule* m : lib->AllModules()) {
            if (!m->IsElaborated() || !isVerilogUnit(m)) continue;
            if (m->GetClassId() == VeriConfiguration::kClassId && db.enableVhdlVerilogConfig) bindVerilogConfig(*m);
            else bindVerilogUnit(*m, paramCopyNames);
        }
    }
    for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
        for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
            if (!isVhdlUnit(p)) continue;
            if (p->GetClassId() == VhdlConfigurationDecl::kClassId) {
                bindVhdlConfig(*p);
                continue;
            }
            for (VhdlSecondaryUnit* s : p->GetSecondaryUnits())
                if (s) bindVhdlArchitecture(*p, *s, instFinder);
        }
    }
}

void HADLBinder::bindVerilogUnit(const VeriModule& module, const std::vector<std::string>& paramCopyNames) {
    const unsigned u = addVerilogUnit(module);
    const VeriScope* scope = module.GetScope();
    if (!scope) return;
    const uint32_t count = scope->DeclarationCount();
    for (uint32_t i = 0; i < count; ++i) {
        // Most declarations are no instances, and each is a cache miss: ask for the ones
        // ahead while this one is read.
        if (i + 8 < count) __builtin_prefetch(scope->Declaration(i + 8));
        auto* id = VeriAs<VeriInstId>(scope->Declaration(i));
        if (!id || id->name.empty()) continue;
        auto* inst = VeriAs<VeriModuleInstantiation>(id->declaration);
        if (!inst) continue;
        HADLDatabase::InstAttr record;
        const std::string instName(id->name.Text());
        // The bypass flow keys instances as Verilog writes them; elaboration's own
        // names (`gen[1].u0`) stand as they are.
        const bool escape = hierByPassFlow && !id->IsGenerateElabCreated();
        record.instId = db.objNames.insert((escape ? makeVerilogName(instName) : instName).c_str());
        record.fileId = fileIdOf(id->Linefile());
        record.line = id->Linefile().leftLine;
        record.hasParam = !inst->GetParamValues().Empty();
        const std::string name(inst->GetModuleName());
        // The VHDL copy elaboration bound the instance to.
        if (unsigned used = foreignVhdlUnit(inst->GetForeignUnit())) {
            record.unitId = used;
            db.unitAttrs.at(u).insts.push_back(record);
            continue;
        }
        const VeriModule* bound = inst->GetInstantiatedModule();
        // Analysis leaves most instantiations unlinked: the module of that name in the
        // instantiating module's library, else in any.
        if (!bound && !name.empty()) {
            const VeriLibrary* own = module.GetLibrary();
            bound = own ? own->GetModule(name) : nullptr;
            if (!bound) bound = veri_file::GetModule(name.c_str());
        }
        // Elaboration looked where the design sends it (a configuration, a `uselib) and
        // found nothing: a module of that name elsewhere is not what the design uses.
        const ForeignUnitRef& lookedFor = inst->GetForeignUnit();
        if (bound && lookedFor.unbound) {
            record.unitId = addUnboundUnit(kVerilogKind, std::string(lookedFor.library).c_str(),
                                           std::string(lookedFor.unit).c_str(), nullptr);
            db.unitAttrs.at(u).insts.push_back(record);
            continue;
        }
        if (bound) {
            if (!record.hasParam)
                record.hasParam = onParamCopyList(paramCopyNames, baseName(std::string(bound->Name())));
            if (bound->GetClassId() == VeriInterface::kClassId) {
                addElabReqFile(record.fileId, fileIdOf(bound->Linefile()));
                continue;
            }
            record.unitId = addVerilogUnit(*bound);
        } else if (name.empty()) {
            continue;
        } else {
            record.unitId = bindUnknownVerilogInstance(module, name, inst);
        }
        db.unitAttrs.at(u).insts.push_back(record);
    }
}

unsigned HADLBinder::bindUnknownVerilogInstance(const VeriModule&, const std::string& name, const void* node) {
    auto* inst = static_cast<const VeriModuleInstantiation*>(node);
    // An `extern module` declaration gives the unit a home file.
    if (unsigned externId = db.objNames.find(("extern module " + name).c_str())) {
        for (unsigned r = 1; r < db.rUnitAttrs.size(); ++r) {
            const HADLDatabase::RUnitAttr& raw = db.rUnitAttrs.at(r);
            if (raw.primaryId != externId || raw.fileIds.empty()) continue;
            const unsigned id = addUnboundUnit(kVerilogKind, db.objNames.getString(raw.libId), name.c_str(), nullptr);
            db.unitAttrs.at(id).fileId = raw.fileIds.front();
            return id;
        }
    }
    std::string library;
    bool hasLibrary = false;
    for (const VeriAttribute& a : inst->GetAttributes()) {
        if (a.name != " vhdl_unit_lib_name" || !a.value) continue;
        library = VeriPrettyPrinter::toString(*a.value);
        if (!library.empty() && library.front() == '"') library = library.substr(1, library.size() - 2);
        hasLibrary = true;
    }
    std::string architecture;
    VhdlPrimaryUnit* unit = vhdlUnitForVerilogInstance(name, hasLibrary ? library.c_str() : nullptr, architecture);
    if (unit) return addVhdlUnitByArch(*unit, architecture);
    return addUnboundUnit(hasLibrary ? kVhdlKind : kVerilogKind, hasLibrary ? library.c_str() : nullptr, name.c_str(),
                          architecture.empty() ? nullptr : architecture.c_str());
}

void HADLBinder::bindVerilogConfig(const VeriModule& module) {
    auto& config = static_cast<const VeriConfiguration&>(module);
    const unsigned u = addVerilogUnit(config);
    const VeriModule* top = nullptr;
    unsigned topId = 0;
    const auto& names = config.GetTopModuleNames();
    for (VeriExpression* cell : names) {
        auto* ref = VeriAs<VeriName>(cell);
        if (!ref) continue;
        const VeriModule* m = veri_file::GetModule(std::string(ref->GetName()).c_str());
        if (!m) continue;
        const unsigned id = addVerilogUnit(*m);
        if (db.derivedUnits.at(id).empty()) continue;
        top = m;
        topId = id;
        break;
    }
    if (!top) return;
    const std::string pattern = std::string(top->Name()) + "_" + std::string(config.Name());
    const auto& derived = db.derivedUnits.at(topId);
    unsigned chosen = derived.back();
    for (unsigned d : derived) {
        if (std::string(db.objNames.getString(db.unitAttrs.at(d).primaryId)).find(pattern) != std::string::npos) {
            chosen = d;
            break;
        }
    }
    HADLDatabase::InstAttr record;
    record.unitId = chosen;
    record.instId = db.objNames.insert(std::string(top->Name()).c_str());
    record.fileId = db.unitAttrs.at(u).fileId;
    record.line = db.unitAttrs.at(u).startLine;
    db.unitAttrs.at(u).insts.push_back(record);
    if (names.Size() > 1) {
        addManagerMessage(db, db.fileNames.getString(record.fileId), record.line,
                          managerMessage<hadl_msg::ConfigurationTopsLeftOut>(db.fileNames.getString(record.fileId),
                                                                             std::string(config.Name()).c_str()));
    }
}

void HADLBinder::bindVhdlConfig(const VhdlPrimaryUnit& unit) {
    auto& config = static_cast<const VhdlConfigurationDecl&>(unit);
    if (!config.GetEntity()) return;
    const unsigned e = addVhdlUnit(*config.GetEntity(), config.GetArchitecture());
    const auto& derived = db.derivedUnits.at(e);
    if (derived.empty()) return;
    const std::string p1 = vhdlUnitName(*config.GetEntity()) + "_" + vhdlUnitName(config);
    const std::string p2 = p1 + "_default";
    unsigned chosen = 0;
    for (unsigned d : derived) {
        const std::string name = db.objNames.getString(db.unitAttrs.at(d).primaryId);
        if (name.find(p2) != std::string::npos) {
            chosen = d;
            break;
        }
        if (name.find(p1) != std::string::npos) chosen = d;
    }
    if (!chosen) return;
    const unsigned u = addVhdlUnit(config, nullptr);
    HADLDatabase::InstAttr record;
    record.unitId = chosen;
    record.instId = db.objNames.insert(vhdlUnitName(*config.GetEntity()).c_str());
    record.fileId = fileIdOf(config.Linefile());
    record.line = config.Linefile().leftLine;
    db.unitAttrs.at(u).insts.push_back(record);
}

void HADLBinder::bindVhdlArchitecture(const VhdlPrimaryUnit& primary, const VhdlSecondaryUnit& architecture,
                                      HADLInstFinder& instFinder) {
    const unsigned u = addVhdlUnit(primary, &architecture);
    // The labels of elaborated statements are those of the source, and lead there: an
    // elaborated architecture is walked by its statements.
    auto* body = hdl_cast::vhdlExactly<VhdlArchitectureBody>(&architecture);
    if (body && body->IsElaborated()) {
        std::unordered_set<const VhdlStatement*> made;
        for (VhdlTreeNode* node : body->GetElaboratedStatements()) {
            if (auto* s = dynamic_cast<const VhdlStatement*>(node)) {
                bindVhdlStatement(u, *s, "", instFinder, nullptr);
                collectSourceStatements(*s, made);
            }
        }
        // Elaboration leaves out an instance of a unit no library holds; the source's
        // statement records it, bound to a unit without source.
        for (VhdlTreeNode* node : body->GetStatementPart())
            if (auto* s = dynamic_cast<const VhdlStatement*>(node)) bindVhdlStatement(u, *s, "", instFinder, &made);
        return;
    }
    for (VhdlIdDef* id : VhdlScopeOf(architecture).DeclArea()) {
        auto* statement = id ? dynamic_cast<const VhdlStatement*>(id->declaration) : nullptr;
        if (statement) bindVhdlStatement(u, *statement, "", instFinder, nullptr);
    }
}

void HADLBinder::bindVhdlStatement(unsigned unitId, const VhdlStatement& statement, const std::string& prefix,
                                   HADLInstFinder& instFinder,
                                   const std::unordered_set<const VhdlStatement*>* elaborated) {
    if (!statement.GetLabel()) return;
    if (const VhdlNodeList* inner = statement.GetInnerStatements()) {
        std::string label(statement.GetLabel()->OrigName());
        // An elaborated generate iteration `\gen(3)\` reads gen[3].
        if (!label.empty() && label.front() == '\\') {
            const size_t end = label.find('\\', 1);
            label = label.substr(1, end == std::string::npos ? std::string::npos : end - 1);
            std::replace(label.begin(), label.end(), '(', '[');
            std::replace(label.begin(), label.end(), ')', ']');
        }
        const std::string inside = prefix + (prefix.empty() ? "" : ".") + label;
        for (VhdlTreeNode* node : *inner)
            if (auto* s = dynamic_cast<const VhdlStatement*>(node))
                bindVhdlStatement(unitId, *s, inside, instFinder, elaborated);
    }
    auto* inst = hdl_cast::vhdlExactly<VhdlComponentInstantiationStatement>(&statement);
    if (elaborated &&
        (!inst || inst->GetInstantiatedUnit() || inst->InstantiatesComponent() || elaborated->count(inst)))
        return;
    bindVhdlInstance(unitId, statement, prefix, instFinder);
}

void HADLBinder::collectSourceStatements(const VhdlStatement& statement,
                                         std::unordered_set<const VhdlStatement*>& out) {
    if (statement.GetSourceStatement()) out.insert(statement.GetSourceStatement());
    if (const VhdlNodeList* inner = statement.GetInnerStatements())
        for (VhdlTreeNode* node : *inner)
            if (auto* s = dynamic_cast<const VhdlStatement*>(node)) collectSourceStatements(*s, out);
}

std::string HADLBinder::libraryOfPrimary(const std::string& primary) {
    const unsigned primaryId = db.objNames.find(primary.c_str());
    if (!primaryId) return std::string();
    // Units with source are all registered before instances are bound: the first of
    // each primary name is found once, not by a scan per instance.
    if (firstWithSource.empty()) {
        firstWithSource.emplace(0, 0);
        for (unsigned u = 1; u < db.unitAttrs.size(); ++u) {
            const HADLDatabase::UnitAttr& unit = db.unitAttrs.at(u);
            if (unit.fileId) firstWithSource.emplace(unit.primaryId, u);
        }
    }
    auto it = firstWithSource.find(primaryId);
    return it == firstWithSource.end() ? std::string() : db.objNames.getString(db.unitAttrs.at(it->second).libId);
}

void HADLBinder::bindVhdlInstance(unsigned unitId, const VhdlStatement& statement, const std::string& prefix,
                                  HADLInstFinder& instFinder) {
    auto* inst = hdl_cast::vhdlExactly<VhdlComponentInstantiationStatement>(&statement);
    if (!inst) return;
    const VhdlIdDef* id = inst->GetInstantiatedUnit();
    HADLDatabase::InstAttr record;
    const std::string name = prefix + (prefix.empty() ? "" : ".") + std::string(statement.GetLabel()->OrigName());
    record.instId = db.objNames.insert(name.c_str());
    record.fileId = fileIdOf(statement.Linefile());
    record.line = statement.Linefile().leftLine;
    record.isInactive = instFinder.bit(*inst, HADLInstFinder::Inactive);
    record.hasParam = instFinder.bit(*inst, HADLInstFinder::HasParam);
    record.instNameHasLib = instFinder.bit(*inst, HADLInstFinder::NameHasLib);

    // The Verilog copy elaboration bound the instance to.
    if (unsigned used = foreignVerilogUnit(inst->GetForeignUnit())) {
        record.unitId = used;
        db.unitAttrs.at(unitId).insts.push_back(record);
        return;
    }
    if (!id) {
        // Never resolved: the unit as written.
        auto* written = hdl_cast::vhdlExactly<VhdlInstantiatedUnit>(inst->GetInstantiatedUnitNameNode());
        if (!written) return;
        const VhdlUnitNameParts parts = VhdlSplitUnitName(written);
        const std::string library = parts.library.empty() ? std::string("work") : std::string(parts.library);
        if (parts.unit.empty()) return;
        record.unitId = addUnboundUnit(kVhdlKind, library.c_str(), std::string(parts.unit).c_str(), nullptr);
        db.unitAttrs.at(unitId).insts.push_back(record);
        return;
    }
    std::string libName(inst->GetLibraryName());
    VhdlLibrary* lib = libName.empty() ? nullptr : vhdl_file::GetLibrary(libName.c_str());
    const std::string unitName = normalizeName(std::string(id->OrigName()));
    const VhdlPrimaryUnit* prim = inst->GetInstantiatedPrimaryUnit();
    const bool isComponent = id->GetClassId() == VhdlComponentId::kClassId;
    const std::string idLibrary(VhdlLibraryNameOf(id));

    if (db.options.strictVhdlLibSearchOrder && !lib && !prim && isComponent) {
        record.unitId = addUnboundUnit(kVhdlKind, idLibrary.c_str(), unitName.c_str(), nullptr);
        db.unitAttrs.at(unitId).insts.push_back(record);
        return;
    }
    if (!lib) {
        const std::string found = libraryOfPrimary(std::string(id->Name()));
        if (!found.empty()) {
            lib = vhdl_file::GetLibrary(found.c_str());
            libName = lib ? found : std::string();
        }
        if (!lib) {
            lib = vhdl_file::GetWorkLib();
            if (libName.empty() && lib) libName = lib->Name();
        }
    }
    if (!prim) {
        if (isComponent && lib) {
            const std::string entity = inst->GetEntityName().empty() ? unitName : std::string(inst->GetEntityName());
            prim = lib->GetPrimUnit(entity.c_str());
        }
        if (!prim) {
            if (VeriModule* m = verilogModuleFromLib(libName, unitName)) record.unitId = addVerilogUnit(*m);
            else record.unitId = addUnboundUnit(kVhdlKind, libName.c_str(), unitName.c_str(), nullptr);
            db.unitAttrs.at(unitId).insts.push_back(record);
            return;
        }
    }
    if (isVhdlUnit(prim)) {
        record.unitId = addVhdlUnitByArch(*prim, std::string(inst->GetArchitectureName()));
    } else if (VeriModule* m = verilogModuleFromLib(idLibrary, unitName)) {
        record.unitId = addVerilogUnit(*m);
    } else {
        record.unitId = addUnboundUnit(kVerilogKind, idLibrary.c_str(), unitName.c_str(), nullptr);
    }
    db.unitAttrs.at(unitId).insts.push_back(record);
}

unsigned HADLBinder::foreignVhdlUnit(const ForeignUnitRef& used) {
    if (used.empty() || used.unbound) return 0;
    VhdlLibrary* lib = vhdl_file::GetLibrary(std::string(used.library).c_str());
    VhdlPrimaryUnit* primary = lib ? lib->GetPrimUnit(std::string(used.unit).c_str()) : nullptr;
    if (!isVhdlUnit(primary)) return 0;
    return addVhdlUnitByArch(*primary, std::string(used.secondary));
}

unsigned HADLBinder::foreignVerilogUnit(const ForeignUnitRef& used) {
    if (used.empty()) return 0;
    VeriLibrary* lib = veri_file::GetLibrary(std::string(used.library).c_str());
    VeriModule* module = lib ? lib->GetModule(used.unit) : nullptr;
    return isVerilogUnit(module) ? addVerilogUnit(*module) : 0;
}

void HADLBinder::linkUnboundUnits() {
    for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
        for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
            if (!isVhdlUnit(p) || !p->GetOriginalUnitName().empty()) continue;
            for (VhdlSecondaryUnit* s : p->GetSecondaryUnits()) {
                const std::string key = compositeName(kVhdlKind, lib->Name(), vhdlUnitName(*p), "");
                unsigned x = db.unitNames.find(key.c_str());
                if (!x) x = db.unitNames.find(lower(key).c_str());
                if (x) db.unitAttrs.at(x).origUnitId = addVhdlUnit(*p, s);
            }
        }
    }
    for (unsigned u = 1; u < db.unitAttrs.size(); ++u) {
        if (!isUnresolved(db, u) || db.unitAttrs.at(u).origUnitId) continue;
        const HADLDatabase::UnitAttr& unit = db.unitAttrs.at(u);
        const std::string key =
            compositeName(kVerilogKind, db.objNames.getString(unit.libId), db.objNames.getString(unit.primaryId), "");
        db.unitAttrs.at(u).origUnitId = db.unitNames.find(key.c_str());
    }
}

void HADLBinder::addElabReqFile(unsigned fileId, unsigned required) {
    auto& files = db.fileProps.at(fileId).elabReqFiles;
    if (std::find(files.begin(), files.end(), required) == files.end()) files.push_back(required);
}

void HADLBinder::collectElabReqFiles() {
    // The first file whose packages hold each name, as a scan of pkgIds from file 1 finds it.
    std::unordered_map<unsigned, unsigned> packageFile;
    for (unsigned f = 1; f < db.pkgIds.size(); ++f)
        for (unsigned nameId : db.pkgIds.at(f)) packageFile.emplace(nameId, f);
    for (VeriLibrary* lib : veri_file::AllLibraries()) {
        for (VeriModule* m : lib->AllModules()) {
            // A copy holds its original's names in its original's file: the original's
            // walk finds what it needs.
            if (!isVerilogUnit(m) || !m->GetOriginalModuleName().empty()) continue;
            HADLStringIndexTable scopeNames;
            HADLStringIndexTable selectedNames;
            HADLSysVeriExtractor extractor(scopeNames, selectedNames);
            extractor.TraverseNode(m);
            const unsigned u = addVerilogUnit(*m);
            const unsigned file = db.unitAttrs.at(u).fileId;
            for (unsigned n = 1; n < selectedNames.size(); ++n) {
                const std::string key = compositeName(kVerilogKind, lib->GetName(), selectedNames.getString(n), "");
                if (unsigned target = db.unitNames.find(key.c_str()))
                    addElabReqFile(file, db.unitAttrs.at(target).fileId);
            }
            for (unsigned n = 1; n < scopeNames.size(); ++n) {
                auto found = packageFile.find(db.objNames.find(scopeNames.getString(n)));
                if (found != packageFile.end()) addElabReqFile(file, found->second);
            }
        }
    }
    for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
        for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
            if (p->GetClassId() != VhdlPackageDecl::kClassId) continue;
            const unsigned file = fileIdOf(p->Linefile());
            const unsigned nameId = db.objNames.insert(vhdlUnitName(*p).c_str());
            db.pkgIds.at(file).push_back(nameId);
            for (VhdlSecondaryUnit* body : p->GetSecondaryUnits()) {
                const unsigned bodyFile = fileIdOf(body->Linefile());
                if (bodyFile == file) continue;
                addElabReqFile(file, bodyFile);
                db.pkgIds.at(bodyFile).push_back(nameId);
            }
        }
    }
}

void HADLBinder::bind(HADLInstFinder& instFinder, const std::vector<std::string>& paramCopyNames,
                      const HADLIPBDTable* ipbd) {
    registerUnits();
    bindInstances(instFinder, paramCopyNames);
    linkUnboundUnits();
    collectElabReqFiles();
    if (db.enableVhdlVerilogConfig) redirectConfigInsts(db);
    markInactiveUnits(db, ipbd);
    computeTops(db);
}
