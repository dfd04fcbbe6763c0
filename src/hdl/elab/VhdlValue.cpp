#include "hdl/elab/VhdlValue.h"

#include <cctype>
#include <cinttypes>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace hdl {

int64_t VhdlBounds::Length() const {
    if (isReal || Null()) return 0;
    uint64_t span = ascending ? uint64_t(right) - uint64_t(left) : uint64_t(left) - uint64_t(right);
    if (span >= uint64_t(INT64_MAX)) return INT64_MAX;
    return int64_t(span) + 1;
}

bool VhdlBounds::ContainsReal(double v) const {
    double lo = ascending ? rleft : rright;
    double hi = ascending ? rright : rleft;
    return v >= lo && v <= hi;
}

namespace {

bool SameText(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

} // namespace

int64_t VhdlType::LiteralPosition(std::string_view text) const {
    const std::vector<std::string_view>& lits = base->literals;
    bool character = !text.empty() && text[0] == '\'';
    for (size_t i = 0; i < lits.size(); ++i) {
        if (character ? lits[i] == text : SameText(lits[i], text)) return int64_t(i);
    }
    return -1;
}

int VhdlType::FieldIndex(std::string_view n) const {
    for (size_t i = 0; i < base->fields.size(); ++i)
        if (SameText(base->fields[i].name, n)) return int(i);
    return -1;
}

VhdlValue VhdlValue::Integer(int64_t v, const VhdlType* type) {
    VhdlValue x;
    x.kind = Int;
    x.type = type;
    x.i = v;
    return x;
}

VhdlValue VhdlValue::Floating(double v, const VhdlType* type) {
    VhdlValue x;
    x.kind = Real;
    x.type = type;
    x.r = v;
    return x;
}

VhdlValue VhdlValue::Physical(int64_t v, const VhdlType* type) {
    VhdlValue x;
    x.kind = Phys;
    x.type = type;
    x.i = v;
    return x;
}

VhdlValue VhdlValue::Enumeration(int64_t position, const VhdlType* type) {
    VhdlValue x;
    x.kind = Enum;
    x.type = type;
    x.i = position;
    return x;
}

VhdlValue VhdlValue::Character(unsigned char c) {
    VhdlValue x;
    x.kind = Char;
    x.i = c;
    return x;
}

VhdlValue VhdlValue::MakeArray(const VhdlType* type, std::vector<VhdlBounds> bounds, std::vector<VhdlValue> elements) {
    VhdlValue x;
    x.kind = Array;
    x.type = type;
    x.data_ = std::make_shared<VhdlComposite>();
    x.data_->bounds = std::move(bounds);
    x.data_->elements = std::move(elements);
    return x;
}

VhdlValue VhdlValue::MakeRecord(const VhdlType* type, std::vector<VhdlValue> fields) {
    VhdlValue x;
    x.kind = Record;
    x.type = type;
    x.data_ = std::make_shared<VhdlComposite>();
    x.data_->elements = std::move(fields);
    return x;
}

VhdlValue VhdlValue::NullAccess(const VhdlType* type) {
    VhdlValue x;
    x.kind = Null;
    x.type = type;
    return x;
}

namespace {
const std::vector<VhdlValue>& NoElements() {
    static const std::vector<VhdlValue> none;
    return none;
}
const std::vector<VhdlBounds>& NoBounds() {
    static const std::vector<VhdlBounds> none{VhdlBounds()};
    return none;
}
} // namespace

const std::vector<VhdlValue>& VhdlValue::Elements() const { return data_ ? data_->elements : NoElements(); }

std::vector<VhdlValue>& VhdlValue::MutableElements() {
    if (!data_) data_ = std::make_shared<VhdlComposite>();
    else if (data_.use_count() > 1) data_ = std::make_shared<VhdlComposite>(*data_);
    return data_->elements;
}

const std::vector<VhdlBounds>& VhdlValue::Bounds() const {
    return data_ && !data_->bounds.empty() ? data_->bounds : NoBounds();
}

std::vector<VhdlBounds>& VhdlValue::MutableBounds() {
    if (!data_) data_ = std::make_shared<VhdlComposite>();
    else if (data_.use_count() > 1) data_ = std::make_shared<VhdlComposite>(*data_);
    return data_->bounds;
}

namespace {

std::string RealImage(double r, bool shortest) {
    char buf[64];
    if (std::isnan(r)) return "nan";
    if (std::isinf(r)) return r > 0 ? "inf" : "-inf";
    if (shortest) {
        for (int precision = 1; precision <= 17; ++precision) {
            std::snprintf(buf, sizeof buf, "%.*g", precision, r);
            if (std::strtod(buf, nullptr) == r) break;
        }
    } else {
        std::snprintf(buf, sizeof buf, "%.17g", r);
    }
    std::string s = buf;
    // A real reads as one: keep a point or an exponent in the text.
    if (s.find_first_of(".en") == std::string::npos) s += ".0";
    return s;
}

std::string EnumImage(const VhdlValue& v) {
    if (v.kind == VhdlValue::Char) return std::string("'") + char(v.i) + "'";
    if (!v.type || v.i < 0 || size_t(v.i) >= v.type->base->literals.size()) return std::to_string(v.i);
    std::string_view lit = v.type->base->literals[size_t(v.i)];
    return std::string(lit);
}

// A character of a string: the one character of a literal such as 'a'.
bool CharacterOf(const VhdlValue& v, char& c) {
    if (v.kind == VhdlValue::Char) {
        c = char(v.i);
        return true;
    }
    if (v.kind != VhdlValue::Enum || !v.type) return false;
    const auto& lits = v.type->base->literals;
    if (v.i < 0 || size_t(v.i) >= lits.size()) return false;
    std::string_view lit = lits[size_t(v.i)];
    if (lit.size() != 3 || lit[0] != '\'') return false;
    c = lit[1];
    return true;
}

std::string ImageOf(const VhdlValue& v, bool copyForm) {
    switch (v.kind) {
    case VhdlValue::None: return "";
    case VhdlValue::Int: return std::to_string(v.i);
    case VhdlValue::Real: return RealImage(v.r, copyForm);
    case VhdlValue::Phys: {
        std::string unit = v.type && !v.type->base->units.empty() ? std::string(v.type->base->units.front().name) : "";
        for (char& c : unit) c = char(std::tolower(static_cast<unsigned char>(c)));
        return std::to_string(v.i) + (unit.empty() ? "" : " " + unit);
    }
    case VhdlValue::Enum:
    case VhdlValue::Char: return EnumImage(v);
    case VhdlValue::Null: return "null";
    case VhdlValue::Array: {
        std::string text;
        bool chars = !v.Elements().empty();
        for (const VhdlValue& e : v.Elements()) {
            char c;
            if (!CharacterOf(e, c)) {
                chars = false;
                break;
            }
            text += c;
        }
        if (chars ||
            (v.Elements().empty() && v.type && v.type->element && v.type->element->kind == VhdlTypeKind::Enumeration))
            return "\"" + text + "\"";
        text = "(";
        for (size_t i = 0; i < v.Elements().size(); ++i) {
            if (i) text += ",";
            text += ImageOf(v.Elements()[i], copyForm);
        }
        return text + ")";
    }
    case VhdlValue::Record: {
        std::string text = "(";
        for (size_t i = 0; i < v.Elements().size(); ++i) {
            if (i) text += ",";
            text += ImageOf(v.Elements()[i], copyForm);
        }
        return text + ")";
    }
    }
    return "";
}

} // namespace

std::string VhdlImage(const VhdlValue& v) { return ImageOf(v, false); }
std::string VhdlCopyImage(const VhdlValue& v) { return ImageOf(v, true); }

bool VhdlValueEqual(const VhdlValue& a, const VhdlValue& b) {
    if (a.kind == VhdlValue::Real || b.kind == VhdlValue::Real) {
        double x = a.kind == VhdlValue::Real ? a.r : double(a.i);
        double y = b.kind == VhdlValue::Real ? b.r : double(b.i);
        return x == y;
    }
    if (a.IsComposite() || b.IsComposite()) {
        if (a.kind != b.kind) return false;
        const auto& x = a.Elements();
        const auto& y = b.Elements();
        if (x.size() != y.size()) return false;
        for (size_t i = 0; i < x.size(); ++i)
            if (!VhdlValueEqual(x[i], y[i])) return false;
        return true;
    }
    if (a.kind == VhdlValue::Char || b.kind == VhdlValue::Char) {
        char x, y;
        if (CharacterOf(a, x) && CharacterOf(b, y)) return x == y;
    }
    return a.kind == b.kind && a.i == b.i;
}

int VhdlValueCompare(const VhdlValue& a, const VhdlValue& b) {
    if (a.kind == VhdlValue::Real || b.kind == VhdlValue::Real) {
        double x = a.kind == VhdlValue::Real ? a.r : double(a.i);
        double y = b.kind == VhdlValue::Real ? b.r : double(b.i);
        return x < y ? -1 : x > y ? 1 : 0;
    }
    if (a.kind == VhdlValue::Array || b.kind == VhdlValue::Array) {
        const auto& x = a.Elements();
        const auto& y = b.Elements();
        for (size_t i = 0; i < x.size() && i < y.size(); ++i) {
            int c = VhdlValueCompare(x[i], y[i]);
            if (c) return c;
        }
        return x.size() < y.size() ? -1 : x.size() > y.size() ? 1 : 0;
    }
    if (a.kind == VhdlValue::Char || b.kind == VhdlValue::Char) {
        char x, y;
        if (CharacterOf(a, x) && CharacterOf(b, y)) return x < y ? -1 : x > y ? 1 : 0;
    }
    return a.i < b.i ? -1 : a.i > b.i ? 1 : 0;
}

} // namespace hdl
