// sift-parse: analyses HDL files with the front-end and prints what it found.
//   sift-parse [--lang v95|v2k|sv|vhdl93|vhdl08|vhdl19] [--lib NAME] [-I DIR]...
//              [-D NAME[=VALUE]]... [--units] [--tree] [--print-tree] [--no-stdlib]
//              [--hier [--top NAME]... [-G NAME=VALUE]...] FILE...
// --lang and --lib apply to the files after them. First, as the scanner's parse phase
// does, the standard libraries of the data directory (LOOM_DATADIR, else the source
// tree's data/) are analysed for the languages of the files, without their messages;
// --no-stdlib leaves them out. --hier elaborates the tops (by default the units nothing
// instantiates) with the generic values of -G and prints one line per instance: PATH,
// MODULE, COPY and, for VHDL, ARCH, separated by tabs; the messages then go to standard
// error. --print-tree prints each unit's tree one node a line (line, depth, kind). Exit status: 0, 1 when an error was reported, 2 when it could not run.
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "hdl/base/Language.h"
#include "hdl/base/Message.h"
#include "hdl/elab/ElabHierPrinter.h"
#include "hdl/elab/ElabMixed.h"
#include "hdl/elab/VeriElaborator.h"
#include "hdl/elab/VhdlElaborator.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriPrettyPrinter.h"
#include "hdl/vhdl/VhdlClassIds.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlPrettyPrinter.h"
#include "hdl/vhdl/VhdlTree.h"
#include "sift/base/HADLDataDir.h"
#include "sift/extract/HADLTreePrinter.h"
#include "sift/scan/HADLParse.h"
#include "sift/scan/HADLStdLibs.h"

namespace {

#ifndef SIFT_DATA_DIR
#define SIFT_DATA_DIR ""
#endif

std::string currentFile;
// With --hier the listing owns standard output.
FILE* messageStream = stdout;
unsigned errorsReported = 0;

void dropMessage(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

void printMessage(hdl::msg_type_t type, const char* id, const hdl::ColLineFile* loc, const char* format, va_list args) {
    if (type == hdl::MSG_ERROR) ++errorsReported;
    // With --hier, the announcement of each analysed file would bury what matters.
    if (messageStream == stderr && type == hdl::MSG_INFO && id &&
        (std::strcmp(id, "VHDL-1500") == 0 || std::strcmp(id, "VERI-1482") == 0))
        return;
    char text[4096];
    vsnprintf(text, sizeof text, format, args);
    const char* file = loc ? hdl::LineFile::GetFileNameFromId(loc->fileId) : nullptr;
    const char* kind = type == hdl::MSG_ERROR ? "error" : type == hdl::MSG_WARNING ? "warning" : "info";
    std::fprintf(messageStream, "%s:%u:%u: %s: %s: %s\n", file ? file : currentFile.c_str(), loc ? loc->leftLine : 0,
                 loc ? loc->leftCol : 0, kind, id, text);
}

const char* unitKind(const hdl::VeriModule& m) {
    if (m.IsInterface()) return "interface";
    if (m.IsProgram()) return "program";
    if (m.IsPackage()) return "package";
    if (m.IsPrimitive()) return "primitive";
    if (m.IsChecker()) return "checker";
    if (m.IsConfiguration()) return "configuration";
    return "module";
}

void analyze(const std::string& path, unsigned lang, const std::string& lib) {
    currentFile = path;
    HADLParse::analyzeFile(path, lib, lang);
}

// The standard libraries the scanner's parse phase analyses for files of these
// languages (VHDL-2019 counts as enabled when a file is of it), analysed the same way
// and before them; their messages are not the files', and are not told.
void analyzeStandardLibraries(const std::vector<unsigned>& langs) {
    const char* dirs = std::getenv("LOOM_DATADIR");
    if ((!dirs || !*dirs) && *SIFT_DATA_DIR) setenv("LOOM_DATADIR", SIFT_DATA_DIR, 1);
    bool with2019 = false;
    for (unsigned lang : langs) with2019 |= lang == hdl::LANG_VHDL19;
    const unsigned level = HADLStdLibs::vhdlStdLevel(langs, with2019);
    std::vector<HADLStdLibFile> files = HADLStdLibs::vhdlSources(level);
    if (level && files.empty()) std::fprintf(stderr, "sift-parse: no VHDL standard libraries in the data directory\n");
    if (HADLStdLibs::hasSystemVerilog(langs)) {
        std::string includeDir;
        std::vector<HADLStdLibFile> sv = HADLStdLibs::svSources(includeDir);
        if (!includeDir.empty()) hdl::veri_file::AddIncludeDir(includeDir.c_str());
        files.insert(files.end(), sv.begin(), sv.end());
    }
    hdl::Message::RegisterCallBackMsg(dropMessage);
    for (const HADLStdLibFile& file : files) HADLParse::analyzeFile(file.path, file.library, file.lang);
    hdl::Message::RegisterCallBackMsg(printMessage);
    hdl::Message::ClearErrorCount();
}

// VHDL unit kinds print as the lower-case node kind ("entitydecl", "architecturebody").
std::string vhdlKind(const hdl::VhdlTreeNode& unit) {
    std::string kind = hdl::VhdlClassName(unit.GetClassId());
    for (char& c : kind) c = char(std::tolower(static_cast<unsigned char>(c)));
    return kind;
}

void printVhdlUnit(const hdl::VhdlLibrary& library, hdl::VhdlDesignUnit& unit, bool units, bool tree, bool nodes) {
    if (units) {
        const char* file = hdl::LineFile::GetFileNameFromId(unit.Linefile().fileId);
        std::printf("unit\t%s\t%s\t%.*s\t%s\t%u\n", library.Name().c_str(), vhdlKind(unit).c_str(),
                    int(unit.Name().size()), unit.Name().data(), file ? file : "", unit.Linefile().leftLine);
    }
    if (tree) {
        hdl::VhdlPrettyPrint(std::cout, &unit);
        std::cout << '\n';
    }
    if (nodes) {
        std::cout.flush();
        HADLVerific::printTree(unit);
        std::fflush(stdout);
    }
}

int usage() {
    std::fprintf(stderr, "usage: sift-parse [--lang v95|v2k|sv|vhdl93|vhdl08|vhdl19] [--lib NAME] [-I DIR]... "
                         "[-D NAME[=VALUE]]... [--units] [--tree] [--print-tree] [--no-stdlib] [--hier [--top NAME]... "
                         "[-G NAME=VALUE]...] FILE...\n");
    return 2;
}

// Elaborates the tops and prints the hierarchy. A named top goes to the language that
// has a unit of that name (Verilog first, its configurations too); a name neither has is reported by the VHDL
// elaborator. Without names, each language's own tops are elaborated, Verilog first.
// Both languages elaborate in one call, as the scanner's -elab does, so that each binds
// the other's instances.
void printHierarchy(const std::vector<std::string>& topNames, const hdl::ElabGenericMap& generics) {
    hdl::vhdl_file::ResolveAll();
    std::vector<hdl::ElabTopRequest> veriTops;
    std::vector<hdl::ElabTopRequest> vhdlTops;
    for (const std::string& name : topNames) {
        const hdl::VeriModule* unit = hdl::veri_file::GetModule(name.c_str());
        if (hdl::VeriFindModule(name, "", nullptr) || (unit && unit->IsConfiguration()))
            veriTops.push_back({name, "", ""});
        else vhdlTops.push_back({name, "", ""});
    }
    if (topNames.empty()) {
        veriTops = hdl::VeriFindTops();
        vhdlTops = hdl::VhdlFindTops();
    }
    hdl::ElabDesign design;
    std::vector<hdl::ElabUnitId> veriUnits, vhdlUnits;
    hdl::ElaborateMixedHdlMultipleTopsStatic(design, veriTops, vhdlTops, generics.empty() ? nullptr : &generics,
                                             veriUnits, vhdlUnits);
    // Streamed: a listing of a million paths need not be held.
    std::ios::sync_with_stdio(false);
    hdl::ElabPrintHier(design, std::cout);
    std::cout.flush();
}

} // namespace

int main(int argc, char** argv) {
    hdl::Message::RegisterCallBackMsg(printMessage);
    unsigned lang = hdl::LANG_SV;
    std::string lib = "work";
    bool units = false;
    bool tree = false;
    bool nodes = false;
    bool hier = false;
    bool stdlib = true;
    std::vector<std::string> tops;
    hdl::ElabGenericMap generics;
    std::vector<std::pair<std::string, std::pair<unsigned, std::string>>> files;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        auto value = [&]() -> const char* { return i + 1 < argc ? argv[++i] : nullptr; };
        if (a == "--lang") {
            const char* v = value();
            if (!v) return usage();
            lang = hdl::LanguageByName(v);
            if (!hdl::IsVerilogLanguage(lang) && !hdl::IsVhdlLanguage(lang)) return usage();
        } else if (a == "--lib") {
            const char* v = value();
            if (!v) return usage();
            lib = v;
        } else if (a == "-I" || a.rfind("-I", 0) == 0) {
            const char* v = a.size() > 2 ? argv[i] + 2 : value();
            if (!v) return usage();
            hdl::veri_file::AddIncludeDir(v);
        } else if (a == "-D" || a.rfind("-D", 0) == 0) {
            const char* v = a.size() > 2 ? argv[i] + 2 : value();
            if (!v) return usage();
            hdl::veri_file::DefineMacro(v);
        } else if (a == "--hier") {
            hier = true;
        } else if (a == "--top") {
            const char* v = value();
            if (!v) return usage();
            tops.push_back(v);
        } else if (a == "-G" || a.rfind("-G", 0) == 0) {
            const char* v = a.size() > 2 ? argv[i] + 2 : value();
            const char* eq = v ? std::strchr(v, '=') : nullptr;
            if (!eq || eq == v) return usage();
            generics.push_back({std::string(v, eq), std::string(eq + 1)});
        } else if (a == "--units") {
            units = true;
        } else if (a == "--tree") {
            tree = true;
        } else if (a == "--print-tree") {
            nodes = true;
        } else if (a == "--no-stdlib") {
            stdlib = false;
        } else if (!a.empty() && a[0] == '-') {
            return usage();
        } else {
            files.push_back({a, {lang, lib}});
        }
    }
    if (files.empty()) return usage();
    if (hier) messageStream = stderr;
    if (stdlib) {
        std::vector<unsigned> langs;
        for (const auto& f : files) langs.push_back(f.second.first);
        analyzeStandardLibraries(langs);
    }
    for (const auto& f : files) analyze(f.first, f.second.first, f.second.second);
    if (hier) {
        printHierarchy(tops, generics);
        return errorsReported ? 1 : 0;
    }
    for (hdl::VeriLibrary* library : hdl::veri_file::AllLibraries()) {
        for (hdl::VeriModule* m : library->AllModules()) {
            if (units) {
                const char* file = hdl::LineFile::GetFileNameFromId(m->Linefile().fileId);
                std::printf("unit\t%s\t%s\t%.*s\t%s\t%u\n", library->GetName().c_str(), unitKind(*m),
                            int(m->Name().size()), m->Name().data(), file ? file : "", m->Linefile().leftLine);
            }
            if (tree) hdl::VeriPrettyPrinter::print(*m, std::cout);
            if (nodes) {
                std::cout.flush();
                HADLVerific::printTree(*m);
                std::fflush(stdout);
            }
        }
    }
    for (hdl::VhdlLibrary* library : hdl::vhdl_file::AllLibraries()) {
        for (hdl::VhdlPrimaryUnit* p : library->PrimaryUnits()) {
            printVhdlUnit(*library, *p, units, tree, nodes);
            for (hdl::VhdlSecondaryUnit* s : p->GetSecondaryUnits()) printVhdlUnit(*library, *s, units, tree, nodes);
        }
    }
    return errorsReported ? 1 : 0;
}
