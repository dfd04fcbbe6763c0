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
#include "hdl/base/Protect.h"
#include "hdl/base/SourceStream.h"
#include "hdl/sv/VeriTree.h"

namespace hdl {

class VeriLibrary;

// Where units come from that no analysis put into a library (saved libraries); asked by
// a library's look-up that misses.
class VeriUnitSource {
public:
    virtual ~VeriUnitSource() = default;
    // Stores the unit `name` in `library` and returns it; null when there is none.
    virtual VeriModule* Restore(VeriLibrary& library, std::string_view name) = 0;
    // The libraries are being forgotten, and so is what the source knows of them.
    virtual void Forget() = 0;
};

class VeriLibrary {
public:
    explicit VeriLibrary(std::string name) : name_(std::move(name)) {}
    const std::string& GetName() const { return name_; }
    // With `restore`, a unit not analysed is restored from a saved library if there is one.
    VeriModule* GetModule(std::string_view name, bool restore = true) const;
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
    // Saved libraries; defined by the store (src/hdl/store, library hdl_store). A
    // library is saved to and restored from its own directory, by default `path`/<name>.
    // Units are restored when a look-up asks for them.
    static void SetUnitSource(VeriUnitSource* source);
    static void SetDefaultLibraryPath(const char* path);
    static void AddLibraryPath(const char* library, const char* path);
    // Writes a unit, or every unit of a library; false, with a message, when something
    // could not be written.
    static bool Save(const char* library, const char* unit);
    static bool SaveLib(const char* library);
    // The cipher of saved units, when they are enciphered.
    static Protect* _protect;

    // Forgets every library and setting, and what trees keep outside their nodes; for
    // tests.
    static void Reset();
};

} // namespace hdl
