// The process: evaluates one Tcl script, from a file or from a POSIX shared-memory
// object named by argv[1], or runs an interactive Tcl shell without an argument.
#include <exception>
#include <iostream>
#include <string>

#include <boost/filesystem.hpp>
#include <boost/interprocess/mapped_region.hpp>
#include <boost/interprocess/shared_memory_object.hpp>
#include <tcl.h>

#include "sift/database/HADLBulkMemory.h"
#include "sift/scan/HADLSifter.h"
#include "sift/shell/TclCommands.h"

namespace {

namespace bip = boost::interprocess;

int finish(int value) {
    std::cout << "sift exits with return value " << value << std::endl;
    return value;
}

// Script output goes through Tcl's own channel and ours through stdio: line buffering
// keeps the two in order for a parent that reads a pipe.
void lineBufferTclOutput() {
    if (Tcl_Channel out = Tcl_GetStdChannel(TCL_STDOUT)) {
        Tcl_SetChannelOption(nullptr, out, "-buffering", "line");
    }
}

void flushTclOutput() {
    if (Tcl_Channel out = Tcl_GetStdChannel(TCL_STDOUT)) Tcl_Flush(out);
}

int evalScriptFile(Tcl_Interp* interp, const char* path) {
    try {
        return Tcl_EvalFile(interp, path);
    } catch (const std::exception& e) {
        std::cout << "sift: Caught exception in Tcl_EvalFile of <" << path << "> :" << e.what() << std::endl;
    } catch (...) {
        std::cout << "sift: Caught exception in Tcl_EvalFile of <" << path << ">" << std::endl;
    }
    return -1;
}

// The object belongs to the parent, which unlinks it; the text may be padded with NUL
// bytes behind its end, and evaluation stops at the first of them.
int evalSharedMemoryScript(Tcl_Interp* interp, const char* arg) {
    try {
        std::string name = arg;
        if (name.empty() || name[0] != '/') name = "/" + name;
        bip::shared_memory_object object(bip::open_only, name.c_str(), bip::read_only);
        bip::mapped_region region(object, bip::read_only);
        std::string script(static_cast<const char*>(region.get_address()), region.get_size());
        try {
            return Tcl_Eval(interp, script.c_str());
        } catch (const std::exception& e) {
            std::cout << "sift: Caught exception in eval'ing <" << script.c_str() << "> what:" << e.what() << std::endl;
            HADLSifter::instance().addMessage("Caught exception in Tcl_EvalFile of <%s> : %s\n", {arg, e.what()});
        } catch (...) {
            std::cout << "sift: Caught exception in eval'ing <" << script.c_str() << ">" << std::endl;
            HADLSifter::instance().addMessage("sift: Caught unrecognized exception in Tcl_EvalFile of <%s>\n", {arg});
        }
    } catch (...) {
        std::cout << "sift: Caught exception in shared_memory linking" << std::endl;
    }
    return -1;
}

} // namespace

int main(int argc, char** argv) {
    hadlKeepFreedMemory();
    std::cout << "sift starts" << std::endl;
    try {
        Tcl_FindExecutable(argv[0]);
        if (argc < 2 || !argv[1]) {
            Tcl_Main(argc, argv, sfAppInit);
            return 0;
        }
        Tcl_Interp* interp = Tcl_CreateInterp();
        registerCommands(interp);
        lineBufferTclOutput();
        // A path of any type, directories included, is a script file; no path at all
        // names a shared-memory object.
        boost::filesystem::file_status status = boost::filesystem::status(argv[1]);
        const bool noPath =
            status.type() == boost::filesystem::file_not_found || status.type() == boost::filesystem::status_error;
        int value = noPath ? evalSharedMemoryScript(interp, argv[1]) : evalScriptFile(interp, argv[1]);
        flushTclOutput();
        Tcl_DeleteInterp(interp);
        return finish(value);
    } catch (...) {
        std::cout << "Caught exception somewhere in flow" << std::endl;
        return finish(-1);
    }
}
