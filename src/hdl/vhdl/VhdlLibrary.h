// Libraries of analysed VHDL units and the file-level entry point of the front-end.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "hdl/base/Arena.h"
#include "hdl/base/Protect.h"
#include "hdl/base/SourceStream.h"
#include "hdl/vhdl/VhdlTokens.h"
#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

class VhdlLibrary;

// Where units of a library come from besides analysis (saved libraries): asked when a
// look-up finds no unit of the name in memory.
class VhdlUnitSource {
public:
    virtual ~VhdlUnitSource() = default;
    // Stores the primary unit of `key` (the name as compared) with its secondary units
    // in `library` and returns it; null when there is none.
    virtual VhdlPrimaryUnit* Restore(VhdlLibrary& library, const std::string& key) = 0;
    // The libraries are being forgotten, and so is what the source knows of them.
    virtual void Forget() = 0;
};

// A named library: primary units in order of (first) analysis, each with its
// secondary units.
class VhdlLibrary {
public:
    explicit VhdlLibrary(std::string name) : name_(std::move(name)) {}

    const std::string& Name() const { return name_; }
    // By name, without regard to case for basic identifiers. With `restore`, a unit not
    // in memory is asked of the unit source (a saved library), if there is one.
    VhdlPrimaryUnit* GetPrimUnit(const char* name, bool restore = true, bool caseInsensitive = true) const;
    const std::vector<VhdlPrimaryUnit*>& PrimaryUnits() const { return units_; }
    // Stores the unit, replacing one of the same name; returns the replaced unit.
    VhdlPrimaryUnit* AddPrimUnit(VhdlPrimaryUnit* unit);
    // Makes `pending` the unread secondary units of `unit`, kept as long as the library.
    void AddPendingUnits(VhdlPrimaryUnit* unit, std::unique_ptr<VhdlPendingUnits> pending);

private:
    std::string name_;
    std::vector<VhdlPrimaryUnit*> units_;
    std::unordered_map<std::string, size_t> index_;
    std::vector<std::unique_ptr<std::vector<VhdlSecondaryUnit*>>> secondaryLists_;
    std::vector<std::unique_ptr<VhdlPendingUnits>> pending_;
};

// A unit that a later analysis replaced, for callers that record duplicates.
struct VhdlReplacedUnit {
    std::string library;
    std::string primary;
    std::string secondary; // empty for a primary unit
    const VhdlDesignUnit* oldUnit = nullptr;
    const VhdlDesignUnit* newUnit = nullptr;
};

class vhdl_file {
public:
    // Analyses one file into `library` in `mode` (VHDL_87 .. VHDL_PSL). False when the
    // file could not be read or had errors.
    static bool Analyze(const char* path, const char* library = "work", unsigned mode = VHDL_93);
    // The same for text in memory; `name` is used for positions.
    static bool AnalyzeText(const std::string& text, const char* name, const char* library, unsigned mode);

    static void RegisterFlexStreamCallBack(StreamCallBack callback);
    static StreamCallBack GetFlexStreamCallBack();

    // Null when the library does not exist and `create` is false. "work" names the
    // work library.
    static VhdlLibrary* GetLibrary(const char* name, bool create = false);
    // All libraries in order of creation.
    static const std::vector<VhdlLibrary*>& AllLibraries();
    static VhdlLibrary* GetWorkLib();
    static void SetWorkLib(const char* name);

    // Library search order for units named without a library.
    static void AddLOption(const char* library);
    static void RemoveAllLOptions();
    static const std::vector<std::string>& LOptions();

    // Resolves the names of every unit again, so that references to units analysed
    // after their users are found too.
    static void ResolveAll();

    // Units replaced by the last Analyze call.
    static const std::vector<VhdlReplacedUnit>& ReplacedUnits();

    // translate_off/synthesis_off regions are honoured unless this is set.
    static void SetIgnoreTranslateOff(bool ignore);
    // Whether an identifier (compared without case) stands in text that translate_off
    // regions or inactive directive branches of the files analysed so far left out, or
    // in declarations the parser dropped (PSL, mode views): a use of it may mean a
    // declaration there, so it is not told as undeclared.
    static bool IsSkippedName(std::string_view name);

    // Forgets all libraries and settings and frees their trees; for tests and tools
    // that hold no unit across the call.
    static void Reset();

    // While set, saved libraries are enciphered with it, and enciphered ones can be
    // loaded. Not owned.
    static Protect* _protect;

    // Not owned; forgotten (and told to forget) by Reset.
    static void SetUnitSource(VhdlUnitSource* source);
    // An arena that lives as long as the libraries, for trees that are not analysed
    // from a file (restored ones).
    static Arena& NewTreeArena();

    // Saved libraries; defined by the store (src/hdl/store, library hdl_store). A
    // library is saved to and restored from its own directory, by default `path`/<name>.
    // Units are restored when a look-up asks for them.
    static void SetDefaultLibraryPath(const char* path);
    static void AddLibraryPath(const char* library, const char* path);
    // Writes a primary unit with its secondary units, or every primary unit of a
    // library; false, with a message, when something could not be written.
    static bool Save(const char* library, const char* unit);
    static bool SaveLib(const char* library);
};

} // namespace hdl
