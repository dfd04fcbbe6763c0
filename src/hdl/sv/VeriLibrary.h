// Libraries of analysed Verilog design units, and the analysis entry point that fills
// them. A library keeps its units in order of analysis and owns the arena their trees
// live in; a unit analysed again under the same name replaces the earlier one.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hdl/base/Arena.h"
#include "hdl/base/Language.h"
#include "hdl/base/SourceStream.h"
#include "hdl/sv/VeriTree.h"

namespace hdl {

class VeriLibrary {
public:
    explicit VeriLibrary(std::string name) : name_(std::move(name)) {}
    const std::string& GetName() const { return name_; }
    VeriModule* GetModule(std::string_view name) const;
    // Units in order of analysis (a replacement takes the place of the unit it replaced).
    const std::vector<VeriModule*>& AllModules() const { return modules_; }
    // Adds the unit; returns the unit of the same name it replaced, or null.
    VeriModule* AddModule(VeriModule* unit);
    Arena& arena() { return arena_; }

private:
    std::string name_;
    Arena arena_;
    std::vector<VeriModule*> modules_;
    std::map<std::string, VeriModule*, std::less<>> byName_;
};

// Language codes of the Verilog family, as analysis takes them.
enum VeriLanguage : unsigned {
    VERILOG_95 = LANG_V95,
    VERILOG_2K = LANG_V2K,
    SYSTEM_VERILOG_2005 = LANG_SV05,
    SYSTEM_VERILOG_2009 = LANG_SV09,
    SYSTEM_VERILOG = LANG_SV,
};

class veri_file {
public:
    // Preprocesses and parses the file as one compilation unit and adds its design units
    // to `library` (created on first use). False when the file could not be read or had
    // syntax errors; the units that parsed are kept either way.
    static bool Analyze(const char* path, unsigned mode = SYSTEM_VERILOG, const char* library = "work");
    // The files share one compilation unit: macros and `$unit` declarations carry over.
    static bool AnalyzeMultipleFiles(const std::vector<std::string>& paths, unsigned mode = SYSTEM_VERILOG,
                                     const char* library = "work");
    // Source text in memory (tests, tools).
    static bool AnalyzeText(const std::string& text, const char* name, unsigned mode = SYSTEM_VERILOG,
                            const char* library = "work");

    static void AddIncludeDir(const char* dir);
    static void ClearIncludeDirs();
    // NAME or NAME=VALUE style definitions given on the command line.
    static void DefineMacro(const char* name, const char* value = nullptr);
    static void UndefineAllMacros();
    // Text between translate_off/synthesis_off and their closing pragma is read too.
    static void SetIgnoreTranslateOff(bool ignore);

    // Libraries to search, in this order, for units that instantiations name (-L).
    static void AddLOption(const char* library);
    static const std::vector<std::string>& GetLOptions();

    // Every file the Verilog front-end opens goes through this callback.
    static void RegisterFlexStreamCallBack(StreamCallBack callback);
    static StreamCallBack GetFlexStreamCallBack();
    // Told when a unit replaces an earlier unit of the same name in the same library.
    using ReplaceCallBack = void (*)(VeriModule* previous, VeriModule* replacement);
    static void RegisterReplaceCallBack(ReplaceCallBack callback);

    // Null library: the first library, in order of creation, that holds the name.
    static VeriModule* GetModule(const char* name, const char* library = nullptr);
    static VeriLibrary* GetLibrary(const char* name, bool create = false);
    // Libraries in order of creation.
    static const std::vector<VeriLibrary*>& AllLibraries();
    // Forgets every library and setting, and what trees keep outside their nodes; for
    // tests.
    static void Reset();
};

} // namespace hdl
