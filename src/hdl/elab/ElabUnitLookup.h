// The joint between the languages: when an instance names a unit that its own
// language cannot find, the elaborator asks this hook, which the other language's
// elaborator answers (a VHDL component bound to a Verilog module, a Verilog instance
// of a VHDL entity). Values cross as language-neutral parameter values.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "hdl/base/LineFile.h"
#include "hdl/elab/ElabDesign.h"

namespace hdl {

struct ElabParamValue {
    enum Kind : uint8_t { Integer, Real, Boolean, String, Bits, Time, Other };
    Kind kind = Other;
    int64_t integer = 0; // Integer, Boolean (0, 1), Time (femtoseconds, as VHDL keeps time)
    double real = 0;
    std::string text; // String: the characters; Bits: '0', '1', 'x', 'z' most significant first; Other: an image
    // A Verilog number: the time unit of the module that wrote it, in femtoseconds, so
    // that a VHDL `time` generic reads it as a count of that unit.
    double timeUnitFs = 0;
};

struct ElabParam {
    std::string name; // the formal, empty when associated by position
    ElabParamValue value;
};

// A port association of the instance: the formal (empty when by position) and the
// actual's width in bits as its own language sizes it, -1 when not known (open, an
// aggregate, an expression). The answering side compares it with the formal's width
// in the unit it elaborated.
struct ElabPortActual {
    std::string name;
    int64_t width = -1;
};

struct ElabUnitRequest {
    std::string library; // as written at the instance, may be empty
    std::string name; // as instantiated
    std::string architecture; // VHDL only, may be empty
    std::vector<ElabParam> params;
    std::vector<ElabPortActual> ports;
    ColLineFile location; // of the instance, for the other language's messages
};

// Answers with the unit that the request elaborates to, 0 when the other language has
// no such unit either, or kElabUnitFailed when it holds the unit but could not
// elaborate it (its own errors say why).
constexpr ElabUnitId kElabUnitFailed = ~ElabUnitId(0);
using ElabUnitLookup = std::function<ElabUnitId(ElabDesign&, const ElabUnitRequest&)>;

} // namespace hdl
