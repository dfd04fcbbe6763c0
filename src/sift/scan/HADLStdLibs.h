// Provides the standard libraries before user files are analysed: either directories
// of precompiled libraries are attached, or the library sources are registered as
// files that the parse phase analyses first. The VHDL edition follows the languages of
// the registered files.
#pragma once

#include <string>

class HADLSifter;

class HADLStdLibs {
public:
    explicit HADLStdLibs(HADLSifter& sifter) : sifter(sifter) {}

    // 0 no VHDL file, 1 VHDL-93, 2 VHDL-2008, 3 VHDL-2019.
    unsigned vhdlStdLevel() const;
    bool hasSystemVerilog() const;

    // Registers a standard library source; it is marked as such also for SystemVerilog.
    void addStdLibFile(unsigned lang, const std::string& library, const std::string& path);
    void addLibraryDir(const std::string& library, const std::string& directory, bool isVhdl);

    void attachVhdlStdLibsPrecompiled();
    void attachSvStdLibsPrecompiled();
    void addVhdlStdLibSources();
    void addSvStdLibSources();

private:
    HADLSifter& sifter;
};
