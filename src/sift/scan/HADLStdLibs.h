// Provides the standard libraries before user files are analysed: either directories
// of precompiled libraries are attached, or the library sources are registered as
// files that the parse phase analyses first. The VHDL edition follows the languages of
// the registered files.
#pragma once

#include <string>
#include <vector>

class HADLSifter;

// One standard library source of the data directory, in analysis order.
struct HADLStdLibFile {
    unsigned lang;
    std::string library;
    std::string path;
};

class HADLStdLibs {
public:
    explicit HADLStdLibs(HADLSifter& sifter) : sifter(sifter) {}

    // 0 no VHDL file, 1 VHDL-93, 2 VHDL-2008, 3 VHDL-2019.
    unsigned vhdlStdLevel() const;
    bool hasSystemVerilog() const;
    // The same for the language codes of a list of files, in their order.
    static unsigned vhdlStdLevel(const std::vector<unsigned>& langs, bool enableVhdl2019);
    static bool hasSystemVerilog(const std::vector<unsigned>& langs);

    // The sources of the data directories (LOOM_DATADIR) for a VHDL level and for
    // SystemVerilog, in the order they are analysed; empty where the data directory
    // lacks them. The SystemVerilog ones want `svIncludeDir` among the include
    // directories (empty when there are none).
    static std::vector<HADLStdLibFile> vhdlSources(unsigned level);
    static std::vector<HADLStdLibFile> svSources(std::string& svIncludeDir);

    // Registers a standard library source; it is marked as such also for SystemVerilog.
    void addStdLibFile(unsigned lang, const std::string& library, const std::string& path);
    void addLibraryDir(const std::string& library, const std::string& directory, bool isVhdl);
    // Saves a unit into its front-end's library directory, enciphered when `protect` is
    // set; for VHDL an empty unit name saves the whole library.
    void saveUnit(const std::string& library, const std::string& unit, bool protect, bool isVhdl);

    void attachVhdlStdLibsPrecompiled();
    void attachSvStdLibsPrecompiled();
    void addVhdlStdLibSources();
    void addSvStdLibSources();

private:
    std::vector<unsigned> fileLanguages() const;

    HADLSifter& sifter;
};
