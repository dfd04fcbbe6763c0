// The bridge between the Tcl interpreter and the framework commands: registration of
// the command table and the entry point of every call.
#pragma once

#include <tcl.h>

namespace hdl {
class Commands;
}

// Builds the command table (one `sf` command) and registers each command with the
// interpreter. The table lives until the process ends.
hdl::Commands* registerCommands(Tcl_Interp* interp);

// Entry of every call of a registered command; clientData is the command table.
int sfCommandProc(ClientData clientData, Tcl_Interp* interp, int argc, const char* argv[]);

// Application initialisation of the interactive shell.
int sfAppInit(Tcl_Interp* interp);
