// Saved VHDL libraries. A primary unit is saved with its secondary units into one
// file, "<name>.vdb" in its library's directory, and restored into a library when a
// look-up asks for it. A file holds the units' nodes in walk order, each with its
// fields (the VHDL_FIELDS list of its class) and its links (the class's Links()); a
// link into another unit names that unit and the node's place in it, together with a
// fingerprint of that unit's tree, so that it is found again after a restore or a new
// analysis of the same source. So a new node class, or a new field, needs nothing here.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "hdl/base/Protect.h"
#include "hdl/store/StoreFile.h"
#include "hdl/vhdl/VhdlLibrary.h"

namespace hdl {

struct VhdlStore {
    // The file name of a unit of that key (the name as compared), without directory.
    static std::string FileName(const std::string& key);
    // The saved form of a primary unit with its secondary units, enciphered when a
    // cipher is given; throws StoreError when a link leads out of every library unit,
    // or when a node lies in a deciphered protected region (the line map registered
    // with Message tells).
    static std::string Encode(VhdlPrimaryUnit& unit, Protect* cipher);
    // Reads a saved form of the unit `key` into `library` and returns the unit, now
    // stored there with its secondary units, or throws StoreError; the library is left
    // as it was then. The units that it links to are looked up (and restored) first.
    // Secondary units that nothing of the primary unit leads to are read when first
    // asked for; a fault found then is reported (at `origin`, the file) and leaves
    // them absent.
    static VhdlPrimaryUnit* Decode(VhdlLibrary& library, const std::string& key, std::string_view bytes,
                                   Protect* cipher, const std::string& origin = std::string());
    // The layout of the node classes (their fields and links, by kind), which saved
    // files must match.
    static uint64_t Layout();
    // Magic, format version and layout of the files.
    static StoreKind Kind();
};

} // namespace hdl
