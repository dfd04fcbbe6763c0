#include "sift/database/HADLDatabaseAPI.h"

#include <fstream>
#include <iostream>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "hdl/base/Language.h"

namespace {

using DB = HADLDatabase;

struct Printer {
    const DB& db;
    std::ostream& out;

    void pad(unsigned level) {
        for (unsigned i = 0; i < level; ++i) out << "  ";
    }

    void table(const char* label, const HADLStringIndexTable& t, unsigned level) {
        pad(level);
        out << label << " : {\n";
        for (unsigned id = 1; id < t.size(); ++id) {
            pad(level + 1);
            out << id << " : " << t.getString(id) << "\n";
        }
        pad(level);
        out << "}\n";
    }

    void expandedList(const char* label, const std::vector<unsigned>& v, unsigned level) {
        pad(level);
        out << label << " : [\n";
        for (unsigned x : v) {
            pad(level + 1);
            out << x << "\n";
        }
        pad(level);
        out << "]\n";
    }

    void compactList(const std::string& label, const std::vector<unsigned>& v, unsigned level) {
        pad(level);
        out << label << " : [";
        for (size_t i = 0; i < v.size(); ++i) out << (i ? ", " : "") << v[i];
        out << "]";
    }

    // A record section: one entry per id from 1, each body written at level + 2.
    template <typename Body>
    void records(const char* label, unsigned count, unsigned level, Body body) {
        pad(level);
        out << label << " : {\n";
        for (unsigned id = 1; id < count; ++id) {
            pad(level + 1);
            out << id << " : ";
            body(id, level + 2);
            pad(level + 1);
            out << "\n";
        }
        pad(level);
        out << "}\n";
    }

    void fileAttr(unsigned id, unsigned) {
        const DB::FileAttr& f = db.fileAttrs.at(id);
        out << "{ " << hdl::LanguageName(f.lang) << ", " << db.objNames.getString(f.libId);
        if (f.tempAliasId) out << ", tempAliasId=" << f.tempAliasId;
        if (f.isAliasOfId) out << ", isAliasOfId=" << f.isAliasOfId;
        if (f.isStdVhdl) out << ", isStdVhdl";
        if (f.isDisabled) out << ", isDisabled";
        out << " }";
    }

    void fileProp(unsigned id, unsigned level) {
        const DB::FileProp& p = db.fileProps.at(id);
        const std::pair<const char*, const HADLVectorForTuple<unsigned>*> lists[] = {
            {"includedFiles", &p.includedFiles},
            {"parsReqFiles", &p.parsReqFiles},
            {"parsOvrFiles", &p.parsOvrFiles},
            {"elabReqFiles", &p.elabReqFiles}};
        bool any = false;
        for (const auto& l : lists) any = any || !l.second->empty();
        if (!any) return;
        out << "{\n";
        for (const auto& l : lists) {
            if (l.second->empty()) continue;
            // The compact list writes its own indentation behind this one.
            pad(level + 1);
            compactList(l.first, *l.second, level + 1);
            out << "\n";
        }
        pad(level);
        out << "}\n";
    }

    void rUnitAttr(unsigned id, unsigned level) {
        const DB::RUnitAttr& r = db.rUnitAttrs.at(id);
        out << "{ libId=" << r.libId << ", primaryId=" << r.primaryId << ", secondaryId=" << r.secondaryId;
        compactList("fileIds", r.fileIds, level);
        if (!r.insts.empty()) {
            out << "{\n";
            for (const DB::RInstAttr& inst : r.insts) {
                pad(level + 1);
                out << "{ targetId=" << inst.targetId << ", instnameId=" << inst.instnameId << " }";
            }
            pad(level + 1);
            out << "}";
        }
        out << " }";
    }

    void attributeList(const HADLVectorForTuple<DB::AttributeAttr>& attrs) {
        out << "[";
        for (size_t i = 0; i < attrs.size(); ++i)
            out << (i ? ", " : "") << "{ name=" << attrs[i].name << ", value=" << attrs[i].value << " }";
        out << "]";
    }

    void field(const char* label, unsigned value) {
        if (value) out << label << value;
    }

    void port(const DB::PortAttr& p) {
        out << "{ ";
        field("name=", p.name);
        field(", typeName=", p.typeName);
        field(", typeLeft=", p.typeLeft);
        field(", typeRight=", p.typeRight);
        field(", typeDirection=", p.typeDirection);
        field(", defaultValue=", p.defaultValue);
        field(", portDirection=", p.portDirection);
        field(", masterDirection=", p.masterDirection);
        field(", slaveDirection=", p.slaveDirection);
        out << " }";
        if (!p.attributes.empty()) {
            out << ", attributes: ";
            attributeList(p.attributes);
        }
    }

    void parameter(const DB::ParamAttr& p) {
        out << "{ ";
        field("name=", p.name);
        field(", typeName=", p.typeName);
        field(", typeLeft=", p.typeLeft);
        field(", typeRight=", p.typeRight);
        field(", typeDirection=", p.typeDirection);
        field(", defaultValue=", p.defaultValue);
        field(", rangeConstraintLeft=", p.rangeConstraintLeft);
        field(", rangeConstraintSeparator=", p.rangeConstraintSeparator);
        field(", rangeConstraintRight=", p.rangeConstraintRight);
        out << ", isParamDecl=" << p.isParamDecl << ", isLocalParam=" << p.isLocalParam << " }";
    }

    // A non-empty list of records on one line, comma separated; nothing for an empty one.
    template <typename List, typename Print>
    void recordList(const char* opening, const List& list, Print print) {
        if (list.empty()) return;
        out << opening;
        for (size_t i = 0; i < list.size(); ++i) {
            if (i) out << ", ";
            print(list[i]);
        }
        out << "]";
    }

    void unitAttr(const DB::UnitAttr& u, unsigned level) {
        out << "{ libId=" << u.libId << ", primaryId=" << u.primaryId << ", secondaryId=" << u.secondaryId
            << ", origUnitId=" << u.origUnitId << ", fileId=" << u.fileId << ", startLine=" << u.startLine
            << ", endLine=" << u.endLine << ", leftCol=" << u.leftCol << ", rightCol=" << u.rightCol;
        if (u.isConfig) out << ", isConfig";
        if (u.isInterface) out << ", isInterface";
        if (!u.insts.empty()) {
            out << ", insts: [";
            for (size_t i = 0; i < u.insts.size(); ++i) {
                const DB::InstAttr& inst = u.insts[i];
                out << (i ? ", " : "") << "{ unitId=" << inst.unitId << ", instId=" << inst.instId
                    << ", fileId=" << inst.fileId << ", line=" << inst.line;
                if (inst.hasParam) out << ", hasParam";
                if (inst.instNameHasLib) out << ", instNameHasLib";
                out << " }";
            }
            out << "]";
        }
        if (!u.inactiveUnits.empty()) compactList("inactiveUnits", u.inactiveUnits, level);
        recordList(", ports: [", u.ports, [this](const DB::PortAttr& p) { port(p); });
        recordList(", parameters: [", u.parameters, [this](const DB::ParamAttr& p) { parameter(p); });
        if (!u.attributes.empty()) {
            out << ", attributes: ";
            attributeList(u.attributes);
        }
        out << " }";
    }

    void declaration(unsigned id, unsigned level) {
        const DB::Declaration& d = db.variables.at(id);
        out << "{ name=" << d.name << ", type=" << d.type << ", fileId=" << d.fileId << ", kind=" << d.kind
            << ", line=" << d.line << ", startCol=" << d.startCol;
        pad(level);
        out << "references : {\n";
        for (unsigned r = 1; r < d.references.size(); ++r) {
            const DB::FileLoc& loc = d.references[r];
            pad(level + 1);
            out << r << " : (fileId=" << loc.fileId << ", line=" << loc.line << ", startCol=" << loc.startCol << ")";
            pad(level + 1);
            out << "\n";
        }
        pad(level);
        out << "}\n";
        out << " }";
    }

    void messages(unsigned id, unsigned level) {
        const HADLVectorForTuple<DB::Msg>& msgs = db.fileMsgs.at(id);
        if (msgs.empty()) return;
        out << "{\n";
        for (const DB::Msg& m : msgs) {
            pad(level + 1);
            out << "line: " << m.line << ", type: " << m.type << ", fmtId: " << m.fmtId << ", args: (";
            for (size_t i = 0; i < m.args.size(); ++i) out << (i ? ", " : "") << m.args[i];
            out << ")\n";
        }
        pad(level + 1);
        out << "}";
    }

    void ranges(unsigned id, unsigned level) {
        const HADLVectorForTuple<DB::Range>& rs = db.blockRanges.at(id);
        if (rs.empty()) return;
        out << "{\n";
        for (const DB::Range& r : rs) {
            pad(level + 1);
            out << "(startLine=" << r.startLine << ", endLine=" << r.endLine << ")";
        }
        pad(level + 1);
        out << "}";
    }

    void block(const char* opening, const std::vector<std::pair<const char*, long long>>& lines) {
        out << opening;
        for (const auto& l : lines) {
            pad(1);
            out << l.first << l.second << "\n";
        }
        out << "}\n";
    }

    void oneValue(const char* opening, bool value) {
        out << opening;
        pad(1);
        out << (value ? 1 : 0) << "\n";
        out << "}\n";
    }

    void all() {
        const unsigned files = db.fileNames.size();
        table("fileNames", db.fileNames, 0);
        records("fileAttrs", files, 0, [&](unsigned id, unsigned l) { fileAttr(id, l); });
        records("fileProps", files, 0, [&](unsigned id, unsigned l) { fileProp(id, l); });
        expandedList("parseOrder", db.parseOrder, 0);
        block("options : {\n", {{"ignoreTranslateOff = ", db.options.ignoreTranslateOff},
                                {"project.defaultLibrary = ", db.options.defaultLibrary},
                                {"project.hsv.strictVhdlLibSearchOrder = ", db.options.strictVhdlLibSearchOrder},
                                {"project.enableVHDL2019 = ", db.options.enableVHDL2019}});
        table("optionStrValues", db.optionStrValues, 0);
        table("stdVhdlLibNames", db.stdVhdlLibNames, 0);
        table("stdSVLibNames", db.stdSVLibNames, 0);
        table("dirNames", db.dirNames, 0);
        table("macroNames", db.macroNames, 0);
        table("macroValues", db.macroValues, 0);
        table("objNames", db.objNames, 0);
        table("rUnitNames", db.rUnitNames, 0);
        records("rUnitAttrs", db.rUnitNames.size(), 0, [&](unsigned id, unsigned l) { rUnitAttr(id, l); });
        table("unitNames", db.unitNames, 0);
        records("unitAttrs", db.unitNames.size(), 0,
                [&](unsigned id, unsigned l) { unitAttr(db.unitAttrs.at(id), l); });
        records("duplicateAttrs", static_cast<unsigned>(db.duplicateAttrs.size()), 0,
                [&](unsigned id, unsigned l) { unitAttr(db.duplicateAttrs.at(id), l); });
        out << "pkgIds : {\n";
        for (unsigned id = 1; id < files; ++id) {
            const HADLVectorForTuple<unsigned>& pkgs = db.pkgIds.at(id);
            if (pkgs.empty()) continue;
            compactList(std::to_string(id), pkgs, 1);
            out << "\n";
        }
        out << "}\n";
        expandedList("tops", db.tops, 0);
        table("tesselModuleNames", db.tesselModuleNames, 0);
        oneValue("tesselLibClauseButNoInsts: {\n", db.tesselLibClauseButNoInsts);
        oneValue("enableVhdlVerilogConfig: {\n", db.enableVhdlVerilogConfig);
        records("variables", static_cast<unsigned>(db.variables.size()), 0,
                [&](unsigned id, unsigned l) { declaration(id, l); });
        table("fmtStrs", db.fmtStrs, 0);
        table("argStrs", db.argStrs, 0);
        records("fileMsgs", files, 0, [&](unsigned id, unsigned l) { messages(id, l); });
        records("blockRanges", files, 0, [&](unsigned id, unsigned l) { ranges(id, l); });
        block("status : {\n", {{"err = ", db.status.err},
                               {"isParseDone = ", db.status.isParseDone},
                               {"isElabError = ", db.status.isElabError}});
        table("genericNames", db.genericNames, 0);
        table("genericValues", db.genericValues, 0);
        table("nonHdlModuleNames", db.nonHdlModuleNames, 0);
    }
};

std::string lowerCopy(const char* text) {
    std::string s(text);
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

} // namespace

int HADLDatabaseConstAPI::walkUnitTree(unsigned unitId, const UnitVisitor& visitor) const {
    const HADLDatabase& db = *this->db;
    struct Child {
        UnitVisitContext ctx;
        std::string sortName;
    };
    std::vector<UnitVisitContext> stack;
    UnitVisitContext root;
    root.unitId = unitId;
    root.fileId = db.unitAttrs.at(unitId).fileId;
    root.line = db.unitAttrs.at(unitId).startLine;
    stack.push_back(root);
    std::vector<Child> children;
    while (!stack.empty()) {
        UnitVisitContext node = stack.back();
        stack.pop_back();
        if (int r = visitor(node)) return r;
        const HADLDatabase::UnitAttr& unit = db.unitAttrs.at(node.unitId);
        children.clear();
        for (const HADLDatabase::InstAttr& inst : unit.insts) {
            Child c;
            c.ctx.unitId = inst.unitId;
            c.ctx.instId = inst.instId;
            c.ctx.fileId = inst.fileId;
            c.ctx.line = inst.line;
            c.ctx.hasParam = inst.hasParam;
            c.ctx.isInactive = inst.isInactive;
            c.ctx.instNameHasLib = inst.instNameHasLib;
            c.ctx.parentUnitId = node.unitId;
            c.ctx.depth = node.depth + 1;
            c.sortName = lowerCopy(db.objNames.getString(inst.instId));
            children.push_back(std::move(c));
        }
        std::stable_sort(children.begin(), children.end(),
                         [](const Child& a, const Child& b) { return a.sortName < b.sortName; });
        for (unsigned inactive : unit.inactiveUnits) {
            Child c;
            c.ctx.unitId = inactive;
            c.ctx.fileId = db.unitAttrs.at(inactive).fileId;
            c.ctx.line = db.unitAttrs.at(inactive).startLine;
            c.ctx.parentUnitId = node.unitId;
            c.ctx.depth = node.depth + 1;
            children.push_back(std::move(c));
        }
        for (auto it = children.rbegin(); it != children.rend(); ++it) stack.push_back(it->ctx);
    }
    return 0;
}

namespace {
// Runs `write` on standard output for an empty name, else on the file, replaced.
template <typename Write>
int withOutput(const std::string& fileName, Write write) {
    if (fileName.empty()) {
        write(std::cout);
        std::cout.flush();
        return 0;
    }
    std::ofstream file(fileName, std::ios::out | std::ios::trunc);
    if (!file) return -1;
    write(file);
    return 0;
}
} // namespace

int HADLDatabaseConstAPI::print(const std::string& fileName) const {
    return withOutput(fileName, [this](std::ostream& out) { Printer{*db, out}.all(); });
}

int HADLDatabaseConstAPI::printHierTree(const std::string& fileName) const {
    return withOutput(fileName, [this](std::ostream& out) {
        for (unsigned top : db->tops) {
            walkUnitTree(top, [&](const UnitVisitContext& node) {
                for (unsigned i = 0; i < node.depth; ++i) out << "  ";
                const HADLDatabase::UnitAttr& unit = db->unitAttrs.at(node.unitId);
                unsigned named = unit.origUnitId ? unit.origUnitId : node.unitId;
                out << db->objNames.getString(db->unitAttrs.at(named).primaryId);
                if (node.instId) out << " \"" << db->objNames.getString(node.instId) << "\"";
                else if (node.parentUnitId) out << " (INACTIVE)";
                out << " == " << db->unitNames.getString(node.unitId) << "\n";
                return 0;
            });
        }
    });
}
