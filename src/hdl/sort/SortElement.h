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
};

struct SortReference {
    std::string libraryName;  // "work" for the file's own library
    std::string unitName;     // empty for a whole library (VHDL `library` clause)
    std::string instanceName; // empty when the reference is no instantiation
    uint32_t flags = 0;
};

// One design unit of a file: its name text and what it instantiates. VHDL names are
// "primary secondary" for an architecture ("entity arch").
struct SortUnit {
    std::string name;
    std::vector<SortReference> instances;
};

struct FileElement {
    std::string fileName;
    std::string libraryName;
    uint32_t language = 0;
    // Names in source order, each once.
    std::vector<std::string> declaredNames;
    std::vector<SortReference> references;
    std::vector<SortUnit> units;

    void declare(const std::string& name);
};

} // namespace hdl
