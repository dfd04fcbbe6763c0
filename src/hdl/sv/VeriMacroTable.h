// The `define table of one compilation unit. Macros stay defined across the files of
// the unit; the caller resets the table between units.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "hdl/base/LineFile.h"

namespace hdl {

struct VeriMacroParam {
    std::string_view name;
    std::string_view defaultText; // meaningful only when hasDefault
    bool hasDefault = false;
};

struct VeriMacro {
    std::string_view name;
    std::string_view body;       // as written: backslash-newlines kept, comments kept
    std::vector<VeriMacroParam> params;
    bool functionLike = false;   // declared with a parameter list, even an empty one
    bool fromCommandLine = false;
    ColLineFile bodyPos;         // where the body text starts
};

// Reads a `define after its name into `m`: the formal list when one follows at once,
// then the body as written, up to the end of its last text. `p` starts just after the
// name and ends where the definition does (at the newline that ends it). False when the
// formal list is not closed; `p` then stands where the scan of the list stopped.
bool readMacroDefinition(std::string_view text, size_t& p, VeriMacro& m);

class VeriMacroTable {
public:
    // Defines or redefines `macro`. The views in it must outlive the table's use, so
    // the preprocessor passes views into buffers it keeps alive; `own` copies text
    // that has no such home (command-line definitions) and returns a view of the copy.
    void define(const VeriMacro& macro);
    std::string_view own(std::string_view text);
    bool undefine(std::string_view name);
    // Removes all macros but those given on the command line.
    void undefineAll();
    void clear();

    const VeriMacro* find(std::string_view name) const;
    bool isDefined(std::string_view name) const { return find(name) != nullptr; }
    // Defined macros in order of their first definition.
    std::vector<const VeriMacro*> definedMacros() const;
    size_t size() const { return index_.size(); }

private:
    std::vector<VeriMacro> macros_; // slots; an undefined macro leaves a dead slot
    std::vector<bool> live_;
    std::unordered_map<std::string_view, size_t> index_;
    std::vector<std::unique_ptr<std::string>> owned_;
};

// The macros every compilation unit starts with: for SystemVerilog (language 3 and up)
// the coverage control constants, then the command-line definitions "NAME[=value]".
void predefineMacros(VeriMacroTable& table, unsigned language, const std::vector<std::string>& defines);

} // namespace hdl
