// Values of VHDL expressions at elaboration: integers (64 bits), reals, physical values,
// enumeration literals, arrays and records of them. Literals whose type the context has
// not told yet (a character or string literal, a positional aggregate) stay untyped
// until they meet a type (`VhdlEvaluator::Conform`). Arrays and records share their
// elements until one is changed, so passing values around is cheap.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hdl/elab/VhdlType.h"

namespace hdl {

class VhdlValue;

// Elements of an array (flat, in index order of each dimension, the last dimension
// varying fastest) or of a record (in declaration order).
struct VhdlComposite {
    std::vector<VhdlBounds> bounds; // arrays: one range per dimension
    std::vector<VhdlValue> elements;
};

class VhdlValue {
public:
    enum Kind : uint8_t {
        None, // no value (yet)
        Int, // integer types, universal integer
        Real, // floating types, universal real
        Phys, // physical types, in primary units
        Enum, // enumeration types: the position
        Char, // a character literal not typed yet: the character code
        Array,
        Record,
        Null, // the access value null
    };

    VhdlValue() = default;
    static VhdlValue Integer(int64_t v, const VhdlType* type);
    static VhdlValue Floating(double v, const VhdlType* type);
    static VhdlValue Physical(int64_t v, const VhdlType* type);
    static VhdlValue Enumeration(int64_t position, const VhdlType* type);
    static VhdlValue Character(unsigned char c);
    static VhdlValue MakeArray(const VhdlType* type, std::vector<VhdlBounds> bounds, std::vector<VhdlValue> elements);
    static VhdlValue MakeRecord(const VhdlType* type, std::vector<VhdlValue> fields);
    static VhdlValue NullAccess(const VhdlType* type);

    Kind kind = None;
    const VhdlType* type = nullptr; // null while untyped
    int64_t i = 0; // Int, Phys, Enum, Char
    double r = 0; // Real

    bool IsNone() const { return kind == None; }
    bool IsComposite() const { return kind == Array || kind == Record; }
    const std::vector<VhdlValue>& Elements() const;
    // The elements for change; a copy is made first when they are shared.
    std::vector<VhdlValue>& MutableElements();
    const std::vector<VhdlBounds>& Bounds() const;
    std::vector<VhdlBounds>& MutableBounds();
    // First-dimension range and length of an array.
    const VhdlBounds& Range() const { return Bounds().front(); }
    int64_t Length() const { return kind == Array && !Bounds().empty() ? Range().Length() : 0; }

private:
    std::shared_ptr<VhdlComposite> data_;
};

// The text of a value as 'image gives it (integers in decimal, enumeration literals as
// declared, physical values in primary units) and, for composites, as an aggregate or
// a string literal.
std::string VhdlImage(const VhdlValue& v);
// The form used in the names of copies: as VhdlImage, reals in the shortest form that
// reads back, strings of characters quoted.
std::string VhdlCopyImage(const VhdlValue& v);

// Equality as the predefined "=": scalars by value, arrays element by element in order
// (lengths must agree), records field by field.
bool VhdlValueEqual(const VhdlValue& a, const VhdlValue& b);
// Ordering of scalars and of one-dimensional discrete arrays (lexicographic): <0, 0, >0.
int VhdlValueCompare(const VhdlValue& a, const VhdlValue& b);

} // namespace hdl
