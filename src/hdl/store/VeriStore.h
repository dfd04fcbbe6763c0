// Saved Verilog libraries. A design unit (module, interface, program, package, UDP,
// checker, configuration, and `$unit` with what it declares) is saved into one file,
// "<name>.sdb" in its library's directory, and restored into a library when a look-up
// asks for it. A file holds the unit's nodes in walk order, each with its extras
// (attributes, qualifiers, label) and its fields (the VERI_FIELDS list of its class),
// then the unit's scopes: their owners, declarations and imports. A link or a scope
// into another unit names that unit and the place in it, together with a fingerprint of
// that unit's tree, so that it is found again after a restore or a new analysis of the
// same source. So a new node class, or a new field, needs nothing here.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "hdl/base/Protect.h"
#include "hdl/store/StoreFile.h"
#include "hdl/sv/VeriLibrary.h"

namespace hdl {

struct VeriStore {
    // The file name of a unit of that name, without directory.
    static std::string FileName(std::string_view name);
    // The saved form of a unit, enciphered when a cipher is given; throws StoreError
    // when a link leads out of every library unit or the unit is a copy elaboration made.
    static std::string Encode(VeriModule& unit, Protect* cipher);
    // Reads a saved form of the unit `name` into `library` and returns the unit, now
    // stored there, or throws StoreError; the library is left as it was then. The units
    // that it links to are looked up (and restored) first.
    static VeriModule* Decode(VeriLibrary& library, std::string_view name, std::string_view bytes, Protect* cipher);
    // The layout of the node classes (their member kinds), which saved files must match.
    static uint64_t Layout();
    // Magic, format version and layout of the files.
    static StoreKind Kind();
};

} // namespace hdl
