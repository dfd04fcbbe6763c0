// The `define table of one compilation unit. Macros stay defined across the files of
// the unit; the caller resets the table between units.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hdl/base/LineFile.h"

namespace hdl {

struct VeriMacroParam {
    std::string_view name;
    std::string_view defaultText; // meaningful only when hasDefault
    bool hasDefault = false;
};

// A body cut, once at its definition, into what substitution puts together: runs of
// body text, formals, and the fixed texts that stand for `", `\`", a continued line
// end and a block comment. Each use then joins pieces instead of walking the body
// and comparing every word with the formals.
struct VeriBodyPiece {
    enum Kind : uint8_t { Text, Formal, Fixed };
    Kind kind;
    uint32_t a; // Text: start in the body; Formal: the formal's index; Fixed: which text
    uint32_t b; // Text: end in the body
    // Where the piece starts: lines below the body's first line, and the column (on
    // the first line, counted from the body's own column).
    uint32_t line;
    uint32_t col;
};

struct VeriMacro {
    std::string_view name;
    std::string_view body; // as written: backslash-newlines kept, comments kept
    std::vector<VeriMacroParam> params;
    bool functionLike = false; // declared with a parameter list, even an empty one
    bool fromCommandLine = false;
    ColLineFile bodyPos; // where the body text starts
    // The body cut up (see above); shared by the copies of the definition. Null for a
    // macro built otherwise (command line, predefined), whose body is cut at each use.
    std::shared_ptr<const std::vector<VeriBodyPiece>> pieces;
};

// Cuts the body of `m` as its uses substitute it.
std::vector<VeriBodyPiece> cutMacroBody(const VeriMacro& m);

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
    // The same, without a copy: the table refers to `macro`, which must outlive it (a
    // definition kept for the replay of a header, or another table's).
    void defineShared(const VeriMacro& macro);
    std::string_view own(std::string_view text);
    bool undefine(std::string_view name);
    // Removes all macros but those given on the command line.
    void undefineAll();
    void clear();
    const VeriMacro* find(std::string_view name) const;
    bool isDefined(std::string_view name) const { return find(name) != nullptr; }
    // Defined macros in order of their first definition.
    std::vector<const VeriMacro*> definedMacros() const;
    size_t size() const { return live_; }

private:
    // Slots in order of first definition; an undefined macro leaves a dead slot.
    struct Slot {
        const VeriMacro* macro;
        bool live;
    };
    // Open addressing over slot numbers (plus one; 0 is empty, kGone a removed entry):
    // a file defines dozens of macros, each of which a node map would allocate.
    static constexpr uint32_t kGone = ~uint32_t(0);
    size_t probe(std::string_view name) const;
    void insert(const VeriMacro* macro);
    void rehash(size_t buckets);

    std::vector<Slot> slots_;
    std::vector<uint32_t> index_;
    size_t used_ = 0; // index entries taken, removed ones included
    size_t live_ = 0;
    std::vector<std::unique_ptr<VeriMacro>> copies_; // one by one: most files define nothing
    std::vector<std::unique_ptr<std::string>> owned_;
};

// The macros every compilation unit starts with: for SystemVerilog (and what reads as it)
// the coverage control constants, then the command-line definitions "NAME[=value]".
void predefineMacros(VeriMacroTable& table, unsigned language, const std::vector<std::string>& defines);

} // namespace hdl
