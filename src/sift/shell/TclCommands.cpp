#include "sift/shell/TclCommands.h"

#include <csignal>
#include <memory>
#include <vector>

#include "runtime/LoomBackTrace.h"
#include "runtime/LoomParamMgr.h"
#include "sift/shell/Command.h"
#include "sift/shell/CommandMessages.h"
#include "sift/shell/HADLCmd.h"

hdl::Commands* registerCommands(Tcl_Interp* interp) {
    // Client data of the Tcl commands: kept reachable until the process ends.
    static auto* tables = new std::vector<std::unique_ptr<hdl::Commands>>;
    tables->push_back(std::make_unique<hdl::Commands>());
    hdl::Commands* commands = tables->back().get();
    commands->Add(std::make_unique<HADLCmd>());
    for (const auto& command : commands->All()) {
        Tcl_CreateCommand(interp, command->name.c_str(), sfCommandProc, commands, nullptr);
    }
    return commands;
}

int sfCommandProc(ClientData clientData, Tcl_Interp* interp, int argc, const char* argv[]) {
    // Re-armed at every call: the elaboration wrapper may have reset it.
    std::signal(SIGSEGV, LoomBackTrace::handler);
    LoomParamMgr::getParamMgr().registerStringParam("project.defaultLibrary", "blah", "corvid_defaultlib");
    auto* commands = static_cast<hdl::Commands*>(clientData);
    hdl::Command* command = commands->Find(argv[0]);
    if (!command) {
        // Called through a qualified name such as "::sf".
        std::string word = argv[0];
        command = commands->Find(word.substr(word.rfind(':') + 1));
    }
    if (!command) return TCL_ERROR;
    command->location = nullptr; // Tcl gives no source position
    if (!command->ParseArgs(argc, argv)) {
        command->Usage();
        return TCL_ERROR;
    }
    if (command->IsSet("help")) {
        command->Usage();
        return TCL_OK;
    }
    if (command->Process(interp)) return TCL_OK;
    const char* result = Tcl_GetStringResult(interp);
    if (!result || !*result) {
        command->Tell<hdl::cmd_msg::Failed>(argv[0]);
    } else {
        command->Tell<hdl::cmd_msg::FailedBecause>(argv[0], result);
    }
    return TCL_ERROR;
}

int sfAppInit(Tcl_Interp* interp) {
    registerCommands(interp);
    return TCL_OK;
}
