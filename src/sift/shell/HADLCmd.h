// The `sf` command: one option per call, each setting a field of the run or running
// one of its steps. It keeps no state of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "sift/shell/Command.h"

class HADLSifter;

class HADLCmd : public hdl::Command {
public:
    HADLCmd();

    // Always non-zero: what a step throws is reported, recorded and swallowed so that
    // the script goes on and the parent learns of it from the database.
    int Process(Tcl_Interp* interp) override;

    // Runs `work` on the run inside the exception guard of Process.
    static void runGuarded(HADLSifter& sifter, const std::function<void(HADLSifter&)>& work);

private:
    void dispatch(HADLSifter& sifter) const;
    void addFiles(HADLSifter& sifter, uint32_t lang, const std::string& library) const;
};
