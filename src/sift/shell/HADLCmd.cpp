#include "sift/shell/HADLCmd.h"

#include <exception>
#include <iostream>

#include "hdl/base/Language.h"
#include "sift/database/HADLDatabaseAPI.h"
#include "sift/scan/HADLSifter.h"
#include "sift/shell/ListArguments.h"

using hdl::ArrayArg;
using hdl::BoolArg;
using hdl::IntArg;
using hdl::StringArg;

HADLCmd::HADLCmd() : hdl::Command("sf", nullptr) {
    // All but -outdir, -incdir and the file list exclude each other: one option per call.
    auto flag = [this](const char* name, const char* help = "") {
        Add(std::make_unique<BoolArg>(name, help, true, 1));
    };
    auto text = [this](const char* name, const char* help, int group = 1) {
        Add(std::make_unique<StringArg>(name, help, true, group));
    };
    flag("use_precompiled_std_libs");
    flag("skip_std_vhdl_libs");
    flag("ignore_translate_off");
    text("load", "<db-file>");
    text("save", "<db-file>");
    text("deserialize", "<shm-name>");
    text("serialize", "<shm-name>");
    flag("add_v2k");
    text("add_v2klib", "<lib-name>");
    flag("add_sv");
    text("add_svlib", "<lib-name>");
    text("add_vhdl93", "<lib-name>");
    text("add_vhdl08", "<lib-name>");
    text("add_vhdl19", "<lib-name>");
    flag("skim");
    flag("sketch");
    flag("parse");
    flag("block_ranges");
    flag("defref");
    text("port_decls", "<unit-name>");
    flag("elab", "<top-name>");
    flag("interface_info", "<top-name>");
    flag("print_hier", "<file-name>");
    flag("print", "<file-name>");
    flag("dump_vrfcHier", "<file-name>");
    Add(std::make_unique<IntArg>("verbosity", "<level>", true, 1, 0));
    flag("elab_errors");
    flag("skipElabIfCrash");
    flag("hierByPassFlow");
    flag("elabSpecifiedTop");
    flag("compile_dump");
    text("outdir", "<output-dir-name>", 0);
    flag("hierTree");
    flag("handleIPBDInactiveUnits");
    flag("enable_verilog_config");
    text("set_project_defaultlibrary", "<lib-name>");
    flag("strict_vhdl_lib_search_order");
    flag("enable_vhdl_2019");
    text("serialize_in_case_of_crash", "<shm-name>");
    Add(std::make_unique<ArrayArg>("", "<arg1> <arg2> ...", true, 0));
    Add(std::make_unique<ArrayArg>("incdir", "{ <path1> <path2> ... }", true, 0));
}

int HADLCmd::Process(Tcl_Interp*) {
    runGuarded(HADLSifter::instance(), [this](HADLSifter& sifter) { dispatch(sifter); });
    return 1;
}

void HADLCmd::runGuarded(HADLSifter& sifter, const std::function<void(HADLSifter&)>& work) {
    try {
        work(sifter);
    } catch (const std::exception& e) {
        std::cout << "sifter: Caught exception executing TCL command: " << std::endl;
        sifter.addMessage("sifter: Caught exception executing TCL command: %s\n", {e.what()});
    } catch (...) {
        std::cout << "sifter: Caught unrecognized exception executing TCL command" << std::endl;
        sifter.addMessage("sift: Caught unrecognized exception executing TCL command\n", {});
    }
}

// The first option set does its work and ends the chain.
void HADLCmd::dispatch(HADLSifter& sifter) const {
    const hdl::StringArray* positional = ArrayValue("");
    const std::string first = positional && !positional->empty() ? positional->front() : "";

    if (IsSet("use_precompiled_std_libs")) {
        sifter.usePrecompiledStdLibs = true;
    } else if (IsSet("enable_verilog_config")) {
        sifter.enableVerilogConfig = true;
    } else if (IsSet("set_project_defaultlibrary")) {
        sifter.setDefaultLibrary(StringValue("set_project_defaultlibrary"));
    } else if (IsSet("skip_std_vhdl_libs")) {
        sifter.skipStdVhdlLibs = true;
    } else if (IsSet("ignore_translate_off")) {
        sifter.options.ignoreTranslateOff = true;
    } else if (IsSet("strict_vhdl_lib_search_order")) {
        sifter.options.strictVhdlLibSearchOrder = true;
    } else if (IsSet("enable_vhdl_2019")) {
        sifter.options.enableVHDL2019 = true;
    } else if (IsSet("load")) {
        HADLDatabaseAPI(sifter).load(StringValue("load"));
    } else if (IsSet("save")) {
        HADLDatabaseConstAPI(sifter).save(StringValue("save"));
    } else if (IsSet("deserialize")) {
        HADLDatabaseAPI(sifter).deserialize(StringValue("deserialize"));
    } else if (IsSet("serialize")) {
        HADLDatabaseConstAPI(sifter).serialize(StringValue("serialize"));
    } else if (IsSet("serialize_in_case_of_crash")) {
        sifter.crashShmName = StringValue("serialize_in_case_of_crash");
    } else if (IsSet("skim")) {
        sifter.runSkim();
    } else if (IsSet("sketch")) {
        sifter.sketch();
    } else if (IsSet("parse")) {
        sifter.runParse();
    } else if (IsSet("compile_dump")) {
        const char* outDir = StringValue("outdir");
        sifter.compileDump(outDir ? outDir : "");
    } else if (IsSet("block_ranges")) {
        sifter.defRefWalk(true, false, false, "");
    } else if (IsSet("port_decls")) {
        sifter.defRefWalk(false, true, false, StringValue("port_decls"));
    } else if (IsSet("defref")) {
        sifter.defRefWalk(true, false, true, "");
    } else if (IsSet("elab")) {
        sifter.runElab(first);
    } else if (IsSet("interface_info")) {
        sifter.runInterfaceInfo(first);
    } else if (IsSet("print_hier")) {
        HADLDatabaseConstAPI(sifter).printHierTree(first);
    } else if (IsSet("print")) {
        HADLDatabaseConstAPI(sifter).print(first);
    } else if (IsSet("verbosity")) {
        sifter.verbosity = IntValue("verbosity");
    } else if (IsSet("elab_errors")) {
        sifter.elabErrors = true;
    } else if (IsSet("skipElabIfCrash")) {
        sifter.skipElabIfCrash = true;
    } else if (IsSet("hierByPassFlow")) {
        sifter.hierByPassFlow = true;
    } else if (IsSet("hierTree")) {
        sifter.hierTree = true;
    } else if (IsSet("handleIPBDInactiveUnits")) {
        sifter.handleIPBDInactiveUnits = true;
    } else if (IsSet("elabSpecifiedTop")) {
        sifter.elabSpecifiedTop = true;
    } else if (IsSet("dump_vrfcHier")) {
        sifter.vrfcHierDumpFile = first;
    } else if (IsSet("add_v2k")) {
        addFiles(sifter, hdl::LANG_V2K, "");
    } else if (IsSet("add_v2klib")) {
        addFiles(sifter, hdl::LANG_V2K, StringValue("add_v2klib"));
    } else if (IsSet("add_sv")) {
        addFiles(sifter, hdl::LANG_SV, "");
    } else if (IsSet("add_svlib")) {
        addFiles(sifter, hdl::LANG_SV, StringValue("add_svlib"));
    } else if (IsSet("add_vhdl93")) {
        addFiles(sifter, hdl::LANG_VHDL93, StringValue("add_vhdl93"));
    } else if (IsSet("add_vhdl08")) {
        addFiles(sifter, hdl::LANG_VHDL08, StringValue("add_vhdl08"));
    } else if (IsSet("add_vhdl19")) {
        addFiles(sifter, hdl::LANG_VHDL19, StringValue("add_vhdl19"));
    }
}

// An empty library stands for the current project default library parameter.
void HADLCmd::addFiles(HADLSifter& sifter, uint32_t lang, const std::string& library) const {
    uint32_t listId = 0;
    if (const hdl::StringArray* dirs = ArrayValue("incdir")) {
        listId = sifter.newIncDirList();
        for (const std::string& dir : *dirs) sifter.addIncDir(dir, listId);
    }
    const hdl::StringArray* files = ArrayValue("");
    if (!files) return;
    for (const std::string& path : *files) {
        uint32_t fileId = sifter.insertFileName(path, lang, library);
        if (listId && fileId) sifter.setFileIncDirList(listId, fileId);
    }
}
