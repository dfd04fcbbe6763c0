// The result of one elaboration call, for both languages: a table of elaborated units
// and the tops. A unit is one copy (an original unit, architecture, configuration and
// set of generic or parameter values); its instances point at the units they use. The
// design is a DAG, shared by all instance paths that reach a copy, so its size follows
// the distinct units and the instance statements they hold, never the instance paths.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace hdl {

using ElabUnitId = uint32_t; // 0: none

enum class ElabLanguage : uint8_t { Vhdl, Verilog, Unbound };

struct ElabInstance {
    // The name relative to the unit that holds it: `u1`, `gen[3].u1`, `blk.u2`.
    std::string name;
    ElabUnitId unit = 0;
};

struct ElabUnit {
    ElabLanguage language = ElabLanguage::Unbound;
    std::string library;
    // The original unit's name (a VHDL entity in lower case).
    std::string module;
    // The copy's name, `name(P=value,...)`, or the original's name as declared.
    std::string copyName;
    // The VHDL architecture; empty for Verilog and unbound units.
    std::string architecture;
    // The language's own objects: the unit (entity, module) and its body (architecture).
    const void* source = nullptr;
    const void* body = nullptr;
    std::vector<ElabInstance> instances; // in source order
    // Verilog interface ports, generic (`interface bus`) and typed (`bus_if.mp bus`): the
    // interface instance's unit each is connected to, and the modport, in port order (a
    // typed port left open is not listed).
    struct InterfacePort {
        std::string port;
        ElabUnitId unit = 0;
        std::string modport; // empty when none
    };
    std::vector<InterfacePort> interfacePorts;
};

struct ElabTop {
    std::string name; // the first step of every path below it
    ElabUnitId unit = 0;
};

class ElabDesign {
public:
    ElabDesign() : units_(1) {}

    ElabUnitId Add(ElabUnit unit);
    ElabUnit& Unit(ElabUnitId id) { return units_.at(id); }
    const ElabUnit& Unit(ElabUnitId id) const { return units_.at(id); }
    // Ids run from 1 to UnitCount().
    size_t UnitCount() const { return units_.size() - 1; }
    // The unit that stands for a name no library holds, one per library and name.
    ElabUnitId Unbound(const std::string& library, const std::string& name);

    std::vector<ElabTop> tops;

private:
    std::vector<ElabUnit> units_;
    std::unordered_map<std::string, ElabUnitId> unbound_;
};

} // namespace hdl
