// What the pre-scanner learns about one registered file: the units it declares, the
// references that decide which files must be compiled before it, and per design unit
// the units it instantiates.
//
// Reference flags:
//   bit 0 (SORT_REF_WEAK): the reference needs nothing analysed first. A Verilog module,
//         interface or program instantiation and a VHDL component instantiation are
//         weak: both bind late, at elaboration. In the unit table the instantiations of
//         a unit are plain records, since there they are the hierarchy itself.
//   bit 1 (SORT_REF_IMPLICIT): a reference the language makes on its own, such as a
//         Verilog `std::` package use; ordering ignores it because no registered file
//         can provide it.
//   bit 2 (SORT_REF_BIND_TARGET): the target scope of a Verilog `bind`; binding needs the
//         target at elaboration only, so ordering ignores it.
//   bit 3 (SORT_REF_CANDIDATE): inside the pre-scanner only, an instance that the text
//         alone cannot tell from a call: a VHDL `label : name;` (an instance if `name`
//         is a visible component) or a Verilog `name (...);` without instance name (an
//         instance if `name` is a UDP). Decided, and the bit cleared or the record
//         dropped, before any element is handed out.
// Not weak: package imports and `p::x` names, VHDL `use`, `library` and `context`
// clauses, entity and configuration instantiations, the bindings of configuration
// specifications and declarations, and the entity of an architecture or a configuration.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace hdl {

enum SortReferenceFlags : uint32_t {
    SORT_REF_WEAK = 1,
    SORT_REF_IMPLICIT = 2,
    SORT_REF_BIND_TARGET = 4,
    SORT_REF_CANDIDATE = 8,
};

struct SortReference {
    std::string libraryName; // "work" for the file's own library
    std::string unitName; // empty for a whole library (VHDL `library` clause)
    std::string instanceName; // empty when the reference is no instantiation
    uint32_t flags = 0;
};

// One design unit of a file: its name text and what it instantiates. VHDL names are
// "primary secondary" for an architecture ("entity arch").
struct SortUnit {
    std::string name;
    std::vector<SortReference> instances;
};

// VHDL: what the skim notes to tell `label : name;` apart: a component instantiation
// without maps when `name` is a component visible there, a concurrent procedure call
// otherwise. Places are token positions within the file. Candidates are decided, and
// removed, before any element is handed out.
struct VhdlVisibility {
    // use l.u.item (item "all" or a name); a context reference `context l.u` when
    // `context` is set.
    struct Use {
        uint32_t at;
        std::string library, unit, item;
        bool context;
    };
    // A component declared in units[unit], a package or an architecture.
    struct Component {
        uint32_t at;
        uint32_t unit;
        std::string name;
        bool inPackage;
    };
    // Where each design unit of the file starts; kind is the keyword that starts it.
    struct Start {
        uint32_t at;
        uint16_t kind;
        std::string name;
    };
    // A `label : name;` of units[unit]; `package` and `library` when the name is
    // selected (`pkg.name`, `lib.pkg.name`); `entity` when the unit is an architecture.
    struct Candidate {
        uint32_t at;
        uint32_t unit;
        std::string name, package, library, entity;
    };
    std::vector<Use> uses;
    std::vector<Component> components;
    std::vector<Start> starts;
    std::vector<Candidate> candidates;
};

struct FileElement {
    std::string fileName;
    std::string libraryName;
    uint32_t language = 0;
    // Names in source order, each once.
    std::vector<std::string> declaredNames;
    std::vector<SortReference> references;
    std::vector<SortUnit> units;
    VhdlVisibility vhdl;
    // Verilog: the UDPs (`primitive`) the file declares.
    std::vector<std::string> primitives;

    void declare(const std::string& name);
    // Keeps the records flagged SORT_REF_CANDIDATE whose turn in `keep` is true, without
    // the flag, and drops the others. The unit records and the references each hold
    // the candidates in the same order, that of `keep`.
    void settleCandidates(const std::vector<bool>& keep);
};

} // namespace hdl
