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
    // Saves a VHDL unit, or with an empty unit name the whole library, into the
    // front-end's library directory, enciphered when `protect` is set. (The Verilog
    // front-end saves no libraries yet.)
    void saveUnit(const std::string& library, const std::string& unit, bool protect);

    void attachVhdlStdLibsPrecompiled();
    void attachSvStdLibsPrecompiled();
    void addVhdlStdLibSources();
    void addSvStdLibSources();

private:
    HADLSifter& sifter;
};
