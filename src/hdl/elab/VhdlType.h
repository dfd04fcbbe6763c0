// Types and subtypes as elaboration knows them: the kind, the base type, and the
// constraint in force. Scalars carry their range; arrays their index subtypes, index
// ranges when constrained and element subtype; records their elements. Types are made
// by the evaluator from declarations and live as long as it does.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hdl {

class VhdlIdDef;
class VhdlTreeNode;

enum class VhdlTypeKind : uint8_t { Integer, Real, Physical, Enumeration, Array, Record, Access, File, Other };

// The bounds of a scalar range. Discrete and physical bounds are positions; real bounds
// are doubles.
struct VhdlBounds {
    int64_t left = 0;
    int64_t right = -1;
    double rleft = 0;
    double rright = 0;
    bool ascending = true;
    bool isReal = false;

    static VhdlBounds Discrete(int64_t l, int64_t r, bool asc) {
        VhdlBounds range;
        range.left = l;
        range.right = r;
        range.ascending = asc;
        return range;
    }
    static VhdlBounds Real(double l, double r, bool asc) {
        VhdlBounds range;
        range.rleft = l;
        range.rright = r;
        range.ascending = asc;
        range.isReal = true;
        return range;
    }
    int64_t Low() const { return ascending ? left : right; }
    int64_t High() const { return ascending ? right : left; }
    bool Null() const { return ascending ? left > right : left < right; }
    // Number of positions; 0 for a null range, saturated at INT64_MAX.
    int64_t Length() const;
    bool Contains(int64_t v) const { return !Null() && v >= Low() && v <= High(); }
    bool ContainsReal(double v) const;
    // The position of the n-th element (0-based) in range order.
    int64_t At(int64_t n) const { return ascending ? left + n : left - n; }
    // The 0-based offset of position v in range order.
    int64_t Offset(int64_t v) const { return ascending ? v - left : left - v; }
};

struct VhdlType {
    struct Field {
        std::string_view name; // as compared: lower case for basic identifiers
        const VhdlType* type = nullptr;
    };
    struct Unit {
        std::string_view name;
        int64_t multiple = 1; // in primary units
    };

    VhdlTypeKind kind = VhdlTypeKind::Other;
    const VhdlType* base = this;
    // The declared name as written; empty for an anonymous subtype.
    std::string_view name;
    const VhdlIdDef* id = nullptr;
    // Scalars: the range of the subtype.
    VhdlBounds range;
    // Enumerations (base type): literal spellings, character literals with quotes, and
    // for identifiers the lower-case form.
    std::vector<std::string_view> literals;
    // Physical (base type): units in declaration order, the primary unit first.
    std::vector<Unit> units;
    // Arrays: per dimension the index subtype and, when constrained, the index range.
    std::vector<const VhdlType*> indexTypes;
    std::vector<VhdlBounds> indexRanges;
    bool constrained = false;
    const VhdlType* element = nullptr;
    // Records.
    std::vector<Field> fields;

    bool IsScalar() const { return kind <= VhdlTypeKind::Enumeration; }
    bool IsDiscrete() const { return kind == VhdlTypeKind::Integer || kind == VhdlTypeKind::Enumeration; }
    bool IsArray() const { return kind == VhdlTypeKind::Array; }
    bool SameBase(const VhdlType* other) const { return other && other->base == base; }
    size_t Dimensions() const { return indexTypes.size(); }
    // The name of the type, or of its base when anonymous.
    std::string_view DisplayName() const { return name.empty() ? base->name : name; }
    // Position of a literal spelled `text` (identifiers without regard to case), or -1.
    int64_t LiteralPosition(std::string_view text) const;
    // Index of a record element, or -1.
    int FieldIndex(std::string_view name) const;
};

} // namespace hdl
