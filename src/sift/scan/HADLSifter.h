// The run: the result database and the driver of its phases in one process-wide
// object. Phases go 0 nothing done, 1 configured, 2 skimmed, 3 parsed, 4 elaborated,
// 5 interface information extracted; a later phase runs the missing earlier ones.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sift/database/HADLDatabase.h"

class HADLIncludeTracer;

class HADLSifter : public HADLDatabase {
public:
    // The singleton, created on first use and never destroyed.
    static HADLSifter& instance();

    HADLSifter() = default;
    virtual ~HADLSifter() = default;

    // Phase wrappers of the sf command: each brings the run to the phase its step
    // needs, runs the step and records the new phase. A step that throws leaves the
    // phase where it was, so the next command runs it again.
    void runSkim();
    void runParse();
    void runElab(const std::string& top);
    void runInterfaceInfo(const std::string& top);

    // Going back only changes the number; going forward runs the steps in between.
    void setPhase(uint32_t target);

    // Reads every setting once; settings given after the first phase have no effect
    // on what is decided here.
    virtual void configure();
    virtual void doSkim();
    virtual void doParse();
    virtual void doElab(const std::string& top);
    virtual void interfaceInfo(const std::string& top);

    // Passes the sf command runs outside the phase order.
    virtual void sketch();
    virtual void compileDump(const std::string& outDir);
    virtual void defRefWalk(bool blockRanges, bool portDecls, bool defsAndRefs, const std::string& unitName);

    // Writes the database with err 11 to crashShmName, if one was given.
    void serializeOnCrash();

    uint32_t phase = 0;
    // Owned; alive only inside doSkim.
    HADLIncludeTracer* skimTracker = nullptr;
    std::string crashShmName;
    int32_t verbosity = -1; // -1: not set
    bool elabErrors = false;
    bool skipElabIfCrash = false;
    bool hierByPassFlow = false;
    bool usePrecompiledStdLibs = false;
    bool skipStdVhdlLibs = false;
    bool hierTree = false;
    bool handleIPBDInactiveUnits = false;
    bool elabSpecifiedTop = false;
    bool enableVerilogConfig = false;
    std::string vrfcHierDumpFile;
    std::vector<uint32_t> stdLibFileIds;

private:
    void setMessageTypes();
    void addAliasIncludeDirs();
    void setUpStandardLibraries();
    void setRuntimeFlags();
};
