#include "sift/scan/HADLSkim.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hdl/base/Language.h"
#include "hdl/base/Message.h"
#include "hdl/sort/FileSort.h"
#include "hdl/sort/SortNameTable.h"
#include "runtime/LoomParamMgr.h"
#include "runtime/LoomScopeTimer.h"
#include "sift/scan/HADLIncludeTracer.h"
#include "sift/scan/HADLSifter.h"

namespace {

// h = h * 65599 + byte, from 0, in 32 bits.
struct Hash65599 {
    size_t operator()(const std::string& s) const {
        uint32_t h = 0;
        for (unsigned char c : s) h = h * 65599u + c;
        return h;
    }
};

using FileIds = std::vector<unsigned>;
using UnitMap = std::unordered_map<std::string, FileIds, Hash65599>;

char lowerChar(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string lower(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = lowerChar(c);
    return out;
}

// `out` = lower-cased `in`, in a buffer that lives across calls.
const std::string& lowerInto(std::string& out, std::string_view in) {
    out.resize(in.size());
    for (size_t i = 0; i < in.size(); ++i) out[i] = lowerChar(in[i]);
    return out;
}

bool equalNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (lowerChar(a[i]) != lowerChar(b[i])) return false;
    return true;
}

template <typename List>
void appendUnique(List& list, unsigned id) {
    if (std::find(list.begin(), list.end(), id) == list.end()) list.push_back(id);
}

// The lower-cased libraries of the files, numbered in registration order.
struct Libraries {
    std::vector<std::string> names;
    std::unordered_map<std::string, unsigned> index;

    unsigned add(std::string lowered) {
        auto at = index.emplace(std::move(lowered), unsigned(names.size()));
        if (at.second) names.push_back(at.first->first);
        return at.first->second;
    }
    // The number of the library `lowered`, names.size() when no file has it.
    unsigned find(const std::string& lowered) const {
        auto at = index.find(lowered);
        return at == index.end() ? unsigned(names.size()) : at->second;
    }
};

// An element that has a library, with what every pass asks of it.
struct SkimFile {
    const hdl::FileElement* element;
    unsigned id;
    unsigned lang;
    unsigned library; // number in Libraries
};

// The elements in registration order; file names the database lacks are added here.
std::vector<SkimFile> skimFiles(HADLDatabase& db, Libraries& libraries) {
    std::vector<SkimFile> files;
    files.reserve(hdl::hdl_file_sort::FileCount());
    // Files come in runs of one library: its number is looked up once a run.
    const std::string* runName = nullptr;
    unsigned runLibrary = 0;
    const hdl::FileElement* e = nullptr;
    for (unsigned i = 0; hdl::hdl_file_sort::FileAt(i, &e); ++i) {
        if (e->libraryName.empty()) continue;
        unsigned id = fileIdOfElement(db, *e);
        if (!runName || *runName != e->libraryName) {
            runName = &e->libraryName;
            runLibrary = libraries.add(lower(e->libraryName));
        }
        files.push_back(SkimFile{e, id, db.fileAttrs.at(id).lang, runLibrary});
    }
    return files;
}

// rUnitKey into a buffer that lives across calls.
void buildKey(std::string& key, unsigned lang, std::string_view library, std::string_view primary,
              std::string_view secondary) {
    const char sep = hdl::IsVhdlLanguage(lang) ? '/' : '.';
    key.clear();
    key += sep;
    key += library;
    key += sep;
    key += primary;
    if (!secondary.empty()) {
        key += sep;
        key += secondary;
    }
}

struct SplitName {
    std::string_view primary;
    std::string_view secondary;
};

// VHDL unit texts are "primary secondary", split at the last blank. Views of `text`.
SplitName splitName(unsigned lang, std::string_view text, bool stripEscapes) {
    SplitName s{text, {}};
    if (!hdl::IsVhdlLanguage(lang)) return s;
    size_t blank = text.rfind(' ');
    if (blank != std::string_view::npos) {
        s.primary = text.substr(0, blank);
        s.secondary = text.substr(blank + 1);
    }
    if (stripEscapes && s.primary.size() >= 2 && s.primary.front() == '\\' && s.primary.back() == '\\') {
        size_t b = s.primary.find_first_not_of('\\');
        size_t e = s.primary.find_last_not_of('\\');
        s.primary = b == std::string_view::npos ? std::string_view() : s.primary.substr(b, e - b + 1);
    }
    return s;
}

// The text without its leading and trailing backslashes.
std::string_view stripBackslashes(std::string_view name) {
    size_t b = name.find_first_not_of('\\');
    if (b == std::string_view::npos) return {};
    return name.substr(b, name.find_last_not_of('\\') - b + 1);
}

// The key of a unit within a library as references find it: the library's number, then
// the name, as written for Verilog and lower-cased for VHDL.
std::string_view unitKey(std::string& key, unsigned library, std::string_view name, bool vhdl) {
    key.assign(reinterpret_cast<const char*>(&library), sizeof library);
    if (vhdl) {
        size_t at = key.size();
        key.resize(at + name.size());
        for (size_t i = 0; i < name.size(); ++i) key[at + i] = lowerChar(name[i]);
    } else {
        key += name;
    }
    return key;
}

// What the passes share: the files, their libraries and who declares what.
struct SkimTables {
    std::vector<SkimFile> files;
    Libraries libraries;
    // Units by unitKey; the declarers of unit n are declarerIds[firstDeclarer[n] ..
    // endDeclarer[n]), in file order.
    hdl::SortNameTable units;
    std::vector<uint32_t> firstDeclarer;
    std::vector<uint32_t> endDeclarer;
    std::vector<unsigned> declarerIds;
    // Per file id: whether the file is Verilog (lang 1..7); a small table that stays in cache.
    std::vector<uint8_t> verilogFile;
    // The units of each library as a name map, made for a whole-library reference only.
    std::unordered_map<unsigned, UnitMap> unitMaps;
    // objNames id of each library text, 0 until first entered.
    std::vector<unsigned> libraryNameIds;
    // Raw unit of each unit-table entry, files after one another; 0 when the second pass
    // has to look it up by its own key.
    std::vector<unsigned> unitIds;
};

void collectDeclaringFiles(SkimTables& t, unsigned fileIdCount) {
    t.verilogFile.assign(fileIdCount, 0);
    // (unit, file) in file order, then grouped by unit keeping that order.
    std::vector<std::pair<uint32_t, unsigned>> declared;
    std::string key;
    for (const SkimFile& f : t.files) {
        if (f.id < fileIdCount) t.verilogFile[f.id] = hdl::IsVerilogLanguage(f.lang);
        const bool vhdl = hdl::IsVhdlLanguage(f.lang);
        for (const std::string& name : f.element->declaredNames)
            declared.emplace_back(t.units.intern(unitKey(key, f.library, name, vhdl)), f.id);
    }
    // Room for each unit's declarers, counted; a file listed twice leaves the end short.
    t.firstDeclarer.assign(t.units.count() + 1, 0);
    for (const auto& d : declared) ++t.firstDeclarer[d.first + 1];
    for (size_t n = 1; n < t.firstDeclarer.size(); ++n) t.firstDeclarer[n] += t.firstDeclarer[n - 1];
    t.endDeclarer.assign(t.firstDeclarer.begin(), t.firstDeclarer.end() - 1);
    t.declarerIds.resize(declared.size());
    for (const auto& d : declared) {
        auto begin = t.declarerIds.begin() + t.firstDeclarer[d.first];
        auto end = t.declarerIds.begin() + t.endDeclarer[d.first];
        if (std::find(begin, end, d.second) == end) t.declarerIds[t.endDeclarer[d.first]++] = d.second;
    }
}

// The units of `library` by name, the declarers of each in file order. Iterating it
// gives the order in which a whole-library reference lists the files, so it is made as
// one map filled in file order.
const UnitMap& unitMapOf(SkimTables& t, unsigned library) {
    auto known = t.unitMaps.find(library);
    if (known != t.unitMaps.end()) return known->second;
    UnitMap& units = t.unitMaps[library];
    std::string name;
    for (const SkimFile& f : t.files) {
        if (f.library != library) continue;
        bool vhdl = hdl::IsVhdlLanguage(f.lang);
        for (const std::string& declared : f.element->declaredNames)
            appendUnique(units[vhdl ? lowerInto(name, declared) : declared], f.id);
    }
    return units;
}

void collectReferences(HADLDatabase& db, SkimTables& t, const SkimFile& f) {
    const unsigned none = unsigned(t.libraries.names.size());
    const bool vhdl = hdl::IsVhdlLanguage(f.lang);
    HADLDatabase::FileProp* props = nullptr;
    std::string lowered, key;
    for (const hdl::SortReference& r : f.element->references) {
        if (r.libraryName.empty() || (r.flags & (hdl::SORT_REF_IMPLICIT | hdl::SORT_REF_BIND_TARGET))) continue;
        // Most references are to "work", the file's own library.
        bool isWork = equalNoCase(r.libraryName, "work");
        unsigned lib = isWork ? f.library : t.libraries.find(lowerInto(lowered, r.libraryName));
        bool libFound = lib != none;
        if (!libFound) {
            lib = f.library;
            if (r.unitName.empty()) continue;
        }
        if (!props) props = &db.fileProps.at(f.id);
        if (libFound && r.unitName.empty()) {
            if (lib == f.library) continue;
            for (const auto& unit : unitMapOf(t, lib))
                for (unsigned id : unit.second) appendUnique(props->parsReqFiles, id);
            continue;
        }
        uint32_t unit = t.units.find(unitKey(key, lib, r.unitName, vhdl));
        if (unit == hdl::SortNameTable::kNone) continue;
        const unsigned* begin = t.declarerIds.data() + t.firstDeclarer[unit];
        const unsigned* end = t.declarerIds.data() + t.endDeclarer[unit];
        bool weak = (r.flags & hdl::SORT_REF_WEAK) != 0;
        if (std::find(begin, end, f.id) != end) {
            if (!weak)
                for (const unsigned* id = begin; id != end; ++id)
                    if (*id != f.id) appendUnique(props->parsOvrFiles, *id);
            continue;
        }
        for (const unsigned* id = begin; id != end; ++id)
            if (!weak || !t.verilogFile[*id]) appendUnique(props->parsReqFiles, *id);
    }
}

// objNames id of a library's text.
unsigned libraryNameId(HADLDatabase& db, SkimTables& t, unsigned library) {
    t.libraryNameIds.resize(t.libraries.names.size(), 0);
    unsigned& id = t.libraryNameIds[library];
    if (!id) id = db.objNames.insert(t.libraries.names[library].c_str());
    return id;
}

// A raw unit's key was entered: the tables that follow its numbering grow only when
// the key was new (after the first entry, so that they start out sized).
void unitEntered(HADLDatabase& db, unsigned id, bool& resized) {
    if (!resized || id >= db.rUnitAttrs.size()) {
        db.resizeTables();
        resized = true;
    }
}

// First pass of the unit graph: one raw unit per unit-table entry.
void createRawUnits(HADLDatabase& db, SkimTables& t, const SkimFile& f, bool& resized) {
    std::string key, primary, secondary, text;
    const std::string& library = t.libraries.names[f.library];
    for (const hdl::SortUnit& u : f.element->units) {
        if (u.name.empty()) {
            t.unitIds.push_back(0);
            continue;
        }
        SplitName n = splitName(f.lang, u.name, true);
        buildKey(key, f.lang, library, lowerInto(primary, n.primary), lowerInto(secondary, n.secondary));
        unsigned id = db.rUnitNames.insert(key.c_str());
        unitEntered(db, id, resized);
        HADLDatabase::RUnitAttr& attr = db.rUnitAttrs.at(id);
        attr.libId = libraryNameId(db, t, f.library);
        attr.primaryId = db.objNames.insert(text.assign(n.primary).c_str());
        if (!n.secondary.empty()) attr.secondaryId = db.objNames.insert(text.assign(n.secondary).c_str());
        appendUnique(attr.fileIds, f.id);
        // The second pass splits without stripping escapes: the same key only when
        // there were none.
        t.unitIds.push_back(n.primary.size() == splitName(f.lang, u.name, false).primary.size() ? id : 0);
    }
}

// Second pass: the instances of each raw unit, with units nobody declares made on the way.
void createRawInstances(HADLDatabase& db, SkimTables& t, const HADLStringMatchTable& primitives, bool& resized) {
    const std::string defaultLib = lower(db.getDefaultLibrary());
    std::string rl, primary, secondary, ownKey, key, instName;
    size_t unitAt = 0;
    for (const SkimFile& f : t.files) {
        const std::string& lib = t.libraries.names[f.library];
        const unsigned lang = f.lang;
        const bool vhdl = hdl::IsVhdlLanguage(lang);
        const unsigned other = vhdl ? 2 : 9;
        const HADLStringMatchTable& stdLibs = vhdl ? db.stdVhdlLibNames : db.stdSVLibNames;
        for (const hdl::SortUnit& u : f.element->units) {
            unsigned p = t.unitIds[unitAt++];
            if (u.instances.empty()) continue;
            if (!p) {
                SplitName pn = splitName(lang, u.name, false);
                buildKey(key, lang, lib, lowerInto(primary, pn.primary), lowerInto(secondary, pn.secondary));
                p = db.rUnitNames.find(key.c_str());
            }
            // A unit's instances mostly name one library: its standard-ness is asked once.
            std::string lastLib;
            bool lastIsStd = false;
            bool asked = false;
            for (const hdl::SortReference& r : u.instances) {
                if (r.libraryName.empty() || r.unitName.empty() || (r.flags & hdl::SORT_REF_WEAK)) continue;
                lowerInto(rl, r.libraryName);
                if (!asked || rl != lastLib) {
                    lastLib = rl;
                    lastIsStd = stdLibs.findNoCase(rl.c_str()) != 0;
                    asked = true;
                }
                if (lastIsStd) continue;
                if (rl == "work") rl = lib;
                SplitName tn = splitName(lang, r.unitName, false);
                lowerInto(primary, tn.primary);
                lowerInto(secondary, tn.secondary);
                buildKey(ownKey, lang, rl, primary, secondary);
                unsigned target = db.rUnitNames.find(ownKey.c_str());
                auto find = [&](unsigned keyLang, const std::string& keyLib) {
                    buildKey(key, keyLang, keyLib, primary, {});
                    return db.rUnitNames.find(key.c_str());
                };
                if (!target && rl != lib) target = find(lang, lib);
                if (!target) target = find(other, rl);
                if (!target) target = find(other, defaultLib);
                if (target && db.rUnitAttrs.at(target).primaryId == db.rUnitAttrs.at(p).primaryId) continue;
                if (!target && !vhdl) {
                    buildKey(key, lang, rl, "extern module " + primary, secondary);
                    target = db.rUnitNames.find(key.c_str());
                }
                if (target == p) continue;
                if (!target) {
                    bool primitive = vhdl ? primitives.findNoCase(r.unitName.c_str()) != 0
                                          : primitives.find(r.unitName.c_str()) != 0;
                    if (primitive) continue;
                    target = db.rUnitNames.insert(ownKey.c_str());
                    unitEntered(db, target, resized);
                    HADLDatabase::RUnitAttr& attr = db.rUnitAttrs.at(target);
                    attr.libId = db.objNames.insert(rl.c_str());
                    attr.primaryId = db.objNames.insert(r.unitName.c_str());
                    if (!tn.secondary.empty())
                        attr.secondaryId = db.objNames.insert(instName.assign(tn.secondary).c_str());
                    appendUnique(attr.fileIds, 0);
                }
                unsigned instId = 0;
                if (!r.instanceName.empty()) {
                    const char* name = r.instanceName.c_str();
                    if (vhdl && (r.instanceName.front() == '\\' || r.instanceName.back() == '\\'))
                        name = instName.assign(stripBackslashes(r.instanceName)).c_str();
                    instId = db.objNames.insert(name);
                }
                db.rUnitAttrs.at(p).insts.push_back(HADLDatabase::RInstAttr{instId, target});
            }
        }
    }
}

// Depth-first post-order: a file comes after what it needs, then after the other
// declarers of its units; a cycle is cut where it meets a file already on the walk.
void walkParseOrder(HADLDatabase& db) {
    std::vector<bool> seen(db.fileNames.size(), false);
    struct Frame {
        unsigned id;
        size_t next;
    };
    std::vector<Frame> stack;
    auto visit = [&](unsigned root) {
        if (root >= seen.size() || seen[root]) return;
        seen[root] = true;
        stack.push_back(Frame{root, 0});
        while (!stack.empty()) {
            Frame& top = stack.back();
            const auto& props = db.fileProps.at(top.id);
            size_t reqs = props.parsReqFiles.size();
            if (top.next < reqs + props.parsOvrFiles.size()) {
                unsigned dep = top.next < reqs ? props.parsReqFiles[top.next] : props.parsOvrFiles[top.next - reqs];
                ++top.next;
                if (dep < seen.size() && !seen[dep]) {
                    seen[dep] = true;
                    stack.push_back(Frame{dep, 0});
                }
                continue;
            }
            db.parseOrder.push_back(top.id);
            stack.pop_back();
        }
    };
    for (unsigned id = 1; id < db.fileNames.size(); ++id) {
        const HADLDatabase::FileAttr& attr = db.fileAttrs.at(id);
        if (attr.isStdVhdl) continue;
        if (attr.tempAliasId) visit(attr.tempAliasId);
        visit(id);
    }
}

} // namespace

std::string rUnitKey(unsigned lang, const std::string& library, const std::string& primary,
                     const std::string& secondary) {
    std::string key;
    buildKey(key, lang, library, primary, secondary);
    return key;
}

unsigned fileIdOfElement(HADLDatabase& db, const hdl::FileElement& element) {
    unsigned id = db.fileNames.find(element.fileName.c_str());
    if (!id) id = db.insertFileName(element.fileName, hdl::LanguageOf(element.language), element.libraryName);
    return id;
}

void computeParseOrder(HADLDatabase& db, const HADLStringMatchTable& primitiveNames) {
    SkimTables t;
    t.files = skimFiles(db, t.libraries);
    collectDeclaringFiles(t, db.fileNames.size());
    // References and raw units touch disjoint tables: one walk over the elements does both.
    bool resized = false;
    for (const SkimFile& f : t.files) {
        collectReferences(db, t, f);
        createRawUnits(db, t, f, resized);
    }
    createRawInstances(db, t, primitiveNames, resized);
    walkParseOrder(db);
}

void hadlDoSkim(HADLSifter& sifter, const HADLStringMatchTable& primitiveNames) {
    LoomScopeTimer timer("HADLSifter::doSkim");
    hdl::Message::SetAllMessageType(hdl::MSG_INFO, hdl::MSG_IGNORE);
    LoomParamMgr::getParamMgr().setStringValue("project.defaultLibrary", sifter.getDefaultLibrary());
    for (unsigned id = 1; id < sifter.dirNames.size(); ++id)
        hdl::hdl_file_sort::AddIncludeDir(sifter.dirNames.getString(id));
    for (unsigned id = 1; id < sifter.macroNames.size(); ++id) {
        const HADLDatabase::MacroDef& def = sifter.macroDefs.at(id);
        hdl::hdl_file_sort::DefineCmdLineMacro(sifter.macroNames.getString(id),
                                               def.hasValue ? sifter.macroValues.getString(def.valueId) : nullptr);
    }
    delete sifter.skimTracker;
    sifter.skimTracker = new HADLIncludeTracer(&sifter);
    hdl::hdl_file_sort::_default_compilation_unit_mode = 0;
    // Registration may add include files to the table: the count is read each round.
    for (unsigned id = 1; id < sifter.fileNames.size(); ++id) {
        const HADLDatabase::FileAttr& attr = sifter.fileAttrs.at(id);
        if (attr.isAliasOfId) continue;
        unsigned use = attr.tempAliasId ? attr.tempAliasId : id;
        const HADLDatabase::FileAttr& used = sifter.fileAttrs.at(use);
        if (used.isStdVhdl || used.isDisabled || hdl::IsIncludeLanguage(used.lang)) continue;
        std::string name = sifter.fileNames.getString(use);
        std::string lib = sifter.objNames.getString(used.libId);
        hdl::hdl_file_sort::RegisterFile(name.c_str(), lib.c_str(), used.lang, 2);
    }
    delete sifter.skimTracker;
    sifter.skimTracker = nullptr;
    hdl::Message::SetAllMessageType(hdl::MSG_INFO, hdl::MSG_INFO);
    computeParseOrder(sifter, primitiveNames);
}
