#include "sift/scan/HADLSifter.h"

#include <algorithm>
#include <clocale>
#include <csignal>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include "hdl/base/Language.h"
#include "hdl/base/Message.h"
#include "hdl/base/RuntimeFlags.h"
#include "hdl/sort/FileSort.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriParserMessageIds.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/base/HADLMessages.h"
#include "sift/bind/HADLSketch.h"
#include "sift/database/HADLDatabaseAPI.h"
#include "sift/extract/HADLDefRef.h"
#include "sift/primitives/HADLPrimitiveNames.h"
#include "sift/scan/HADLElab.h"
#include "sift/scan/HADLInputChain.h"
#include "sift/scan/HADLNeedDecryptionCache.h"
#include "sift/scan/HADLParse.h"
#include "sift/scan/HADLSkim.h"
#include "sift/scan/HADLStdLibs.h"

HADLSifter& HADLSifter::instance() {
    static HADLSifter* sifter = new HADLSifter; // lives until the process ends
    return *sifter;
}

void HADLSifter::runSkim() {
    setPhase(1);
    doSkim();
    phase = 2;
}

void HADLSifter::runParse() {
    setPhase(2);
    doParse();
    status.isParseDone = true;
    phase = 3;
}

void HADLSifter::runElab(const std::string& top) {
    // A parser crash during elaboration then ends the process by the signal itself;
    // the next sf call re-arms the back trace handler.
    if (skipElabIfCrash) std::signal(SIGSEGV, SIG_DFL);
    setPhase(3);
    doElab(top);
    phase = 4;
}

void HADLSifter::runInterfaceInfo(const std::string& top) {
    setPhase(4);
    interfaceInfo(top);
    phase = 5;
}

void HADLSifter::setPhase(uint32_t target) {
    while (phase > target) --phase;
    while (phase < target) {
        switch (phase) {
        case 0: configure(); break;
        case 1: doSkim(); break;
        case 2: doParse(); break;
        case 3: doElab(""); break;
        default: interfaceInfo(""); break;
        }
        ++phase;
    }
}

void HADLSifter::configure() {
    std::setlocale(LC_ALL, "C");
    fillNeedDecryptionCache(*this);
    NeedDecryptionCache::preanalyze();
    // Every source the front-ends read comes through one traced stream.
    hdl::hdl_file_sort::RegisterFlexStreamCallBack(openSourceStream);
    hdl::veri_file::RegisterFlexStreamCallBack(openSourceStream);
    hdl::vhdl_file::RegisterFlexStreamCallBack(openSourceStream);
    hdl::Message::RegisterSourceLineMap(protectedSourceLine);
    using namespace hadl_msg;
    for (const hdl::MessageId& id : {kVeri1231, kVeri1232, kVeri1330, kVeri1791, kVeri1927, kVeri9015, kVeri9022,
                                     kVeri2142, kVhdl9017, kVhdl9019, kVhdl9021, kVbsr1011}) {
        hdl::Message::SetMessageType(id, hdl::MSG_IGNORE);
    }
    hdl::Message::SetMaxErrorCount(1000);
    hdl::Message::HideErrorCount(true);
    addAliasIncludeDirs();
    setUpStandardLibraries();
    if (options.ignoreTranslateOff) {
        hdl::hdl_file_sort::SetIgnoreTranslateOff(true);
        hdl::veri_file::SetIgnoreTranslateOff(true);
        hdl::vhdl_file::SetIgnoreTranslateOff(true);
    }
    setRuntimeFlags();
    setMessageTypes();
}

// A file read through a temporary alias still finds the includes beside the original.
void HADLSifter::addAliasIncludeDirs() {
    for (uint32_t fileId = 1; fileId < fileNames.size(); ++fileId) {
        const FileAttr& attr = fileAttrs.at(fileId);
        if (!attr.tempAliasId || !hdl::IsVerilogLanguage(attr.lang)) continue;
        auto& list = incDirLists.at(attr.incDirListId);
        std::string dir = boost::filesystem::path(fileNames.getString(fileId)).parent_path().string();
        if (dir.empty()) continue;
        uint32_t dirId = dirNames.insert(dir.c_str());
        if (std::find(list.begin(), list.end(), dirId) == list.end()) list.push_back(dirId);
    }
}

void HADLSifter::setUpStandardLibraries() {
    if (skipStdVhdlLibs) {
        if (enableVerilogConfig) enableVhdlVerilogConfig = true;
        return;
    }
    HADLStdLibs stdLibs(*this);
    if (usePrecompiledStdLibs) {
        stdLibs.attachVhdlStdLibsPrecompiled();
        stdLibs.attachSvStdLibsPrecompiled();
    } else {
        stdLibs.addVhdlStdLibSources();
        stdLibs.addSvStdLibSources();
    }
    if (enableVerilogConfig) enableVhdlVerilogConfig = true;
    for (const char* name : {"std", "synopsys", "ieee", "lathe", "mortise", "vl"}) {
        stdVhdlLibNames.insert(name);
    }
    for (const char* name : {"std", "uvm"}) stdSVLibNames.insert(name);
}

void HADLSifter::setRuntimeFlags() {
    for (const char* flag :
         {"veri_elaborate_top_level_modules_having_interface_ports", "veri_ignore_assertion_statements",
          "veri_ignore_elaboration_system_task", "veri_include_ansi_file_search",
          "veri_create_name_for_unnamed_gen_block", "veri_static_elaborate_unnamed_module_instances",
          "veri_copy_top_before_static_elab", "vhdl_copy_top_before_static_elab",
          "veri_replace_initial_values_of_localparams", "veri_expand_concatenated_macros_early",
          "veri_expand_macros_in_argument_early", "vhdl_ignore_assertion_statements", "vhdl_ignore_psl_constructs",
          "allow_mixed_type_ports"}) {
        hdl::RuntimeFlags::SetVar(flag, 1);
    }
    if (hierTree) hdl::RuntimeFlags::SetVar("vhdl_preserve_id_case", 1);
}

void HADLSifter::setMessageTypes() {
    using namespace hadl_msg;
    for (const hdl::MessageId& id :
         {kVhdl1260, kVhdl1261, kVhdl1283, kVeri1137, kVeri1245, kVeri1158, kVeri1138, kVeri1154}) {
        hdl::Message::SetMessageType(id, hdl::MSG_WARNING);
    }
    hdl::Message::SetMessageType(kVeri9003, hdl::MSG_INFO);
    hdl::Message::SetMessageType(hdl::veri_msg::kAnalyzingFile, verbosity == 3 ? hdl::MSG_INFO : hdl::MSG_IGNORE);
}

// Interface extraction is not built yet: its phase only moves the phase number.
void HADLSifter::doSkim() { hadlDoSkim(*this, HADLPrimitiveNames::getPrimitiveNames()); }

void HADLSifter::doParse() { HADLParse(*this).doParse(); }
void HADLSifter::doElab(const std::string& top) { HADLElab(*this).doElab(top); }
void HADLSifter::interfaceInfo(const std::string&) {}
void HADLSifter::sketch() {
    sketchUnits(*this);
    computeTops(*this);
}
void HADLSifter::compileDump(const std::string& outDir) {
    std::string target = outDir;
    if (target.empty()) {
        boost::system::error_code ec;
        target = boost::filesystem::current_path(ec).string();
    }
    HADLStdLibs stdLibs(*this);
    hdl::vhdl_file::SetDefaultLibraryPath(target.c_str());
    for (hdl::VhdlLibrary* library : hdl::vhdl_file::AllLibraries()) {
        // Copied: a save may restore units, and with them grow the list.
        const std::vector<hdl::VhdlPrimaryUnit*> units = library->PrimaryUnits();
        for (hdl::VhdlPrimaryUnit* unit : units) {
            // Elaboration's copies are made again by the runs that need them.
            if (!unit->GetOriginalUnitName().empty()) continue;
            const std::string name(unit->Name());
            // A component package stands for its library: the library is saved whole.
            if (name == "vcomponents") {
                stdLibs.saveUnit(library->Name(), "", false, true);
                break;
            }
            stdLibs.saveUnit(library->Name(), name, name == "math_complex" || name == "math_real", true);
        }
    }
    hdl::veri_file::SetDefaultLibraryPath(target.c_str());
    for (hdl::VeriLibrary* library : hdl::veri_file::AllLibraries()) {
        const std::vector<hdl::VeriModule*> units = library->AllModules();
        for (hdl::VeriModule* unit : units) {
            if (!unit->GetOriginalModuleName().empty()) continue;
            stdLibs.saveUnit(library->GetName(), std::string(unit->Name()), false, false);
        }
    }
}
void HADLSifter::defRefWalk(bool blockRanges, bool portDecls, bool defsAndRefs, const std::string& unitName) {
    HADLWalkRequest request;
    request.blockRanges = blockRanges;
    request.portDecls = portDecls;
    request.defRef = defsAndRefs;
    if (!unitName.empty()) request.portDeclUnits.insert(unitName.c_str());
    request.db = this;
    walkDesign(request);
}

void HADLSifter::serializeOnCrash() {
    if (crashShmName.empty()) return;
    status.err = SIGSEGV;
    HADLDatabaseAPI(*this).serialize(crashShmName);
}
