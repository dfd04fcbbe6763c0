#include "sift/scan/HADLSkim.h"

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/sort/FileSort.h"
#include "runtime/LoomParamMgr.h"
#include "runtime/LoomScopeTimer.h"
#include "sift/scan/HADLIncludeTracer.h"
#include "sift/scan/HADLSifter.h"

namespace {

// h = h * 65599 + byte, from 0, in 32 bits.
struct Hash65599 {
    size_t operator()(const std::string& s) const {
        uint32_t h = 0;
        for (unsigned char c : s)
            h = h * 65599u + c;
        return h;
    }
};

using FileIds = std::vector<unsigned>;
using UnitMap = std::unordered_map<std::string, FileIds, Hash65599>;
using UnitsByLib = std::unordered_map<std::string, UnitMap, Hash65599>;

bool isVhdl(unsigned lang) { return lang >= 8 && lang <= 13; }

char lowerChar(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string lower(std::string s) {
    for (char& c : s)
        c = lowerChar(c);
    return s;
}

// `out` = lower-cased `in`, in a buffer that lives across calls.
const std::string& lowerInto(std::string& out, const std::string& in) {
    out.resize(in.size());
    for (size_t i = 0; i < in.size(); ++i)
        out[i] = lowerChar(in[i]);
    return out;
}

template <typename List>
void appendUnique(List& list, unsigned id) {
    if (std::find(list.begin(), list.end(), id) == list.end())
        list.push_back(id);
}

// An element that has a library, with what every pass asks of it.
struct SkimFile {
    const hdl::FileElement* element;
    unsigned id;
    unsigned lang;
    std::string library; // lower-cased
};

// The elements in registration order; file names the database lacks are added here.
std::vector<SkimFile> skimFiles(HADLDatabase& db) {
    std::vector<SkimFile> files;
    const hdl::FileElement* e = nullptr;
    for (unsigned i = 0; hdl::hdl_file_sort::FileAt(i, &e); ++i) {
        if (e->libraryName.empty())
            continue;
        unsigned id = fileIdOfElement(db, *e);
        files.push_back(SkimFile{e, id, db.fileAttrs.at(id).lang, lower(e->libraryName)});
    }
    return files;
}

// rUnitKey into a buffer that lives across calls.
void buildKey(std::string& key, unsigned lang, const std::string& library, const std::string& primary,
              const std::string& secondary) {
    const char sep = isVhdl(lang) ? '/' : '.';
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
    std::string primary;
    std::string secondary;
};

// VHDL unit texts are "primary secondary", split at the last blank.
SplitName splitName(unsigned lang, const std::string& text, bool stripEscapes) {
    SplitName s{text, ""};
    if (!isVhdl(lang))
        return s;
    size_t blank = text.rfind(' ');
    if (blank != std::string::npos) {
        s.primary = text.substr(0, blank);
        s.secondary = text.substr(blank + 1);
    }
    if (stripEscapes && s.primary.size() >= 2 && s.primary.front() == '\\' && s.primary.back() == '\\') {
        size_t b = s.primary.find_first_not_of('\\');
        size_t e = s.primary.find_last_not_of('\\');
        s.primary = b == std::string::npos ? std::string() : s.primary.substr(b, e - b + 1);
    }
    return s;
}

std::string stripBackslashes(const std::string& name) {
    size_t b = name.find_first_not_of('\\');
    if (b == std::string::npos)
        return std::string();
    return name.substr(b, name.find_last_not_of('\\') - b + 1);
}

void collectDeclaringFiles(const std::vector<SkimFile>& files, UnitsByLib& unitsByLib) {
    std::string name;
    for (const SkimFile& f : files) {
        UnitMap& units = unitsByLib[f.library];
        bool vhdl = isVhdl(f.lang);
        for (const std::string& declared : f.element->declaredNames)
            appendUnique(units[vhdl ? lowerInto(name, declared) : declared], f.id);
    }
}

void collectReferences(HADLDatabase& db, const std::vector<SkimFile>& files, UnitsByLib& unitsByLib) {
    std::string d, unitName;
    for (const SkimFile& f : files) {
        const std::string& ownLib = f.library;
        const bool vhdl = isVhdl(f.lang);
        // Most references are to "work": the file's own library is looked up once.
        const auto own = unitsByLib.find(ownLib);
        for (const hdl::SortReference& r : f.element->references) {
            if (r.libraryName.empty() || (r.flags & (hdl::SORT_REF_IMPLICIT | hdl::SORT_REF_BIND_TARGET)))
                continue;
            lowerInto(d, r.libraryName);
            bool isWork = d == "work";
            if (isWork)
                d = ownLib;
            auto lib = isWork ? own : unitsByLib.find(d);
            bool libFound = lib != unitsByLib.end();
            if (!libFound) {
                lib = own;
                if (r.unitName.empty() || lib == unitsByLib.end())
                    continue;
            }
            auto& props = db.fileProps.at(f.id);
            if (libFound && r.unitName.empty()) {
                if (isWork || d == ownLib)
                    continue;
                for (const auto& unit : lib->second)
                    for (unsigned id : unit.second)
                        appendUnique(props.parsReqFiles, id);
                continue;
            }
            auto unit = lib->second.find(vhdl ? lowerInto(unitName, r.unitName) : r.unitName);
            if (unit == lib->second.end())
                continue;
            const FileIds& declaring = unit->second;
            bool weak = (r.flags & hdl::SORT_REF_WEAK) != 0;
            if (std::find(declaring.begin(), declaring.end(), f.id) != declaring.end()) {
                if (!weak)
                    for (unsigned id : declaring)
                        if (id != f.id)
                            appendUnique(props.parsOvrFiles, id);
                continue;
            }
            for (unsigned id : declaring) {
                unsigned lang = db.fileAttrs.at(id).lang;
                if (weak && lang >= 1 && lang <= 7)
                    continue;
                appendUnique(props.parsReqFiles, id);
            }
        }
    }
}

// First pass of the unit graph: one raw unit per unit-table entry.
void createRawUnits(HADLDatabase& db, const std::vector<SkimFile>& files) {
    std::string key, primary, secondary;
    for (const SkimFile& f : files) {
        for (const hdl::SortUnit& u : f.element->units) {
            if (u.name.empty())
                continue;
            SplitName n = splitName(f.lang, u.name, true);
            buildKey(key, f.lang, f.library, lowerInto(primary, n.primary), lowerInto(secondary, n.secondary));
            unsigned id = db.rUnitNames.insert(key.c_str());
            db.resizeTables();
            HADLDatabase::RUnitAttr& attr = db.rUnitAttrs.at(id);
            attr.libId = db.objNames.insert(f.library.c_str());
            attr.primaryId = db.objNames.insert(n.primary.c_str());
            if (!n.secondary.empty())
                attr.secondaryId = db.objNames.insert(n.secondary.c_str());
            appendUnique(attr.fileIds, f.id);
        }
    }
}

// Second pass: the instances of each raw unit, with units nobody declares made on the way.
void createRawInstances(HADLDatabase& db, const std::vector<SkimFile>& files, const HADLStringMatchTable& primitives) {
    const std::string defaultLib = lower(db.getDefaultLibrary());
    std::string rl, primary, secondary, ownKey, key;
    for (const SkimFile& f : files) {
        const std::string& lib = f.library;
        const unsigned lang = f.lang;
        const bool vhdl = isVhdl(lang);
        const unsigned other = vhdl ? 2 : 9;
        const HADLStringMatchTable& stdLibs = vhdl ? db.stdVhdlLibNames : db.stdSVLibNames;
        for (const hdl::SortUnit& u : f.element->units) {
            if (u.instances.empty())
                continue;
            SplitName pn = splitName(lang, u.name, false);
            unsigned p = db.rUnitNames.find(rUnitKey(lang, lib, lower(pn.primary), lower(pn.secondary)).c_str());
            // A unit's instances mostly name one library: its standard-ness is asked once.
            std::string lastLib;
            bool lastIsStd = false;
            bool asked = false;
            for (const hdl::SortReference& r : u.instances) {
                if (r.libraryName.empty() || r.unitName.empty() || (r.flags & hdl::SORT_REF_WEAK))
                    continue;
                lowerInto(rl, r.libraryName);
                if (!asked || rl != lastLib) {
                    lastLib = rl;
                    lastIsStd = stdLibs.findNoCase(rl.c_str()) != 0;
                    asked = true;
                }
                if (lastIsStd)
                    continue;
                if (rl == "work")
                    rl = lib;
                SplitName tn = splitName(lang, r.unitName, false);
                lowerInto(primary, tn.primary);
                lowerInto(secondary, tn.secondary);
                buildKey(ownKey, lang, rl, primary, secondary);
                unsigned t = db.rUnitNames.find(ownKey.c_str());
                const std::string none;
                auto find = [&](unsigned keyLang, const std::string& keyLib) {
                    buildKey(key, keyLang, keyLib, primary, none);
                    return db.rUnitNames.find(key.c_str());
                };
                if (!t && rl != lib)
                    t = find(lang, lib);
                if (!t)
                    t = find(other, rl);
                if (!t)
                    t = find(other, defaultLib);
                if (t && db.rUnitAttrs.at(t).primaryId == db.rUnitAttrs.at(p).primaryId)
                    continue;
                if (!t && !vhdl)
                    t = db.rUnitNames.find(rUnitKey(lang, rl, "extern module " + primary, secondary).c_str());
                if (t == p)
                    continue;
                if (!t) {
                    bool primitive = vhdl ? primitives.findNoCase(r.unitName.c_str()) != 0
                                          : primitives.find(r.unitName.c_str()) != 0;
                    if (primitive)
                        continue;
                    t = db.rUnitNames.insert(ownKey.c_str());
                    db.resizeTables();
                    HADLDatabase::RUnitAttr& target = db.rUnitAttrs.at(t);
                    target.libId = db.objNames.insert(rl.c_str());
                    target.primaryId = db.objNames.insert(r.unitName.c_str());
                    if (!tn.secondary.empty())
                        target.secondaryId = db.objNames.insert(tn.secondary.c_str());
                    appendUnique(target.fileIds, 0);
                }
                unsigned instId = 0;
                if (!r.instanceName.empty())
                    instId = db.objNames.insert((vhdl ? stripBackslashes(r.instanceName) : r.instanceName).c_str());
                db.rUnitAttrs.at(p).insts.push_back(HADLDatabase::RInstAttr{instId, t});
            }
        }
    }
}

void collectUnitGraph(HADLDatabase& db, const std::vector<SkimFile>& files, const HADLStringMatchTable& primitives) {
    createRawUnits(db, files);
    createRawInstances(db, files, primitives);
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
        if (root >= seen.size() || seen[root])
            return;
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
        if (attr.isStdVhdl)
            continue;
        if (attr.tempAliasId)
            visit(attr.tempAliasId);
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
    if (!id)
        id = db.insertFileName(element.fileName, element.language & 0x7fffffffu, element.libraryName);
    return id;
}

void computeParseOrder(HADLDatabase& db, const HADLStringMatchTable& primitiveNames) {
    UnitsByLib unitsByLib;
    std::vector<SkimFile> files = skimFiles(db);
    collectDeclaringFiles(files, unitsByLib);
    collectReferences(db, files, unitsByLib);
    collectUnitGraph(db, files, primitiveNames);
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
        if (attr.isAliasOfId)
            continue;
        unsigned use = attr.tempAliasId ? attr.tempAliasId : id;
        const HADLDatabase::FileAttr& used = sifter.fileAttrs.at(use);
        if (used.isStdVhdl || used.isDisabled || used.lang == 14)
            continue;
        std::string name = sifter.fileNames.getString(use);
        std::string lib = sifter.objNames.getString(used.libId);
        hdl::hdl_file_sort::RegisterFile(name.c_str(), lib.c_str(), used.lang, 2);
    }
    delete sifter.skimTracker;
    sifter.skimTracker = nullptr;
    hdl::Message::SetAllMessageType(hdl::MSG_INFO, hdl::MSG_INFO);
    computeParseOrder(sifter, primitiveNames);
}
