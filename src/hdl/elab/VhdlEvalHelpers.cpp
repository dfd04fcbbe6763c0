// Names, the logic types of the standard packages, strings and bit vectors.
#include <cctype>

#include "hdl/elab/VhdlEvalInternal.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"

namespace hdl {
namespace vhdl_eval {

const VhdlIdDef* IdOf(const VhdlTreeNode* name) {
    if (!name) return nullptr;
    switch (name->GetClassId()) {
    case VhdlIdRef::kClassId: return static_cast<const VhdlIdRef*>(name)->resolved;
    case VhdlSelectedName::kClassId: return IdOf(static_cast<const VhdlSelectedName*>(name)->suffix);
    case VhdlSignaturedName::kClassId: return IdOf(static_cast<const VhdlSignaturedName*>(name)->name);
    default: return nullptr;
    }
}

std::string_view SimpleName(const VhdlTreeNode* n) {
    if (auto* ref = dynamic_cast<const VhdlIdRef*>(n)) return ref->text;
    if (auto* sel = dynamic_cast<const VhdlSelectedName*>(n)) return SimpleName(sel->suffix);
    if (auto* idx = dynamic_cast<const VhdlIndexedName*>(n)) return SimpleName(idx->prefix);
    if (auto* lit = dynamic_cast<const VhdlCharacterLiteral*>(n)) return lit->text;
    return {};
}

bool SameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

std::string Lower(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = char(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

std::string PackageOf(const VhdlIdDef* id) {
    const VhdlDesignUnit* unit = id ? id->owningUnit : nullptr;
    if (!unit || !unit->id) return "";
    std::string lib = unit->library ? Lower(unit->library->Name()) : "";
    return lib + "." + Lower(unit->id->Name());
}

namespace {

bool HasLiterals(const VhdlType* t, std::initializer_list<const char*> lits) {
    if (!t || t->kind != VhdlTypeKind::Enumeration) return false;
    const auto& have = t->base->literals;
    if (have.size() != lits.size()) return false;
    size_t i = 0;
    for (const char* l : lits)
        if (have[i++] != l) return false;
    return true;
}

} // namespace

bool IsStdUlogic(const VhdlType* t) {
    return HasLiterals(t, {"'U'", "'X'", "'0'", "'1'", "'Z'", "'W'", "'L'", "'H'", "'-'"});
}
bool IsBit(const VhdlType* t) { return HasLiterals(t, {"'0'", "'1'"}); }
bool IsBoolean(const VhdlType* t) { return HasLiterals(t, {"false", "true"}); }

bool IsLogicVector(const VhdlType* t) {
    return t && t->IsArray() && t->Dimensions() <= 1 && (IsStdUlogic(t->element) || IsBit(t->element));
}

std::string BaseName(const VhdlType* t) {
    if (!t) return "";
    const VhdlType* named = t;
    if (named->name.empty() && named->base) named = named->base;
    // Through subtypes to the type they constrain (unsigned of 2008 is a subtype).
    std::string n = Lower(named->base->name.empty() ? named->name : named->base->name);
    if (n.rfind("unresolved_", 0) == 0) n = n.substr(11);
    if (n == "u_unsigned") n = "unsigned";
    if (n == "u_signed") n = "signed";
    return n;
}

bool IsSignedVector(const VhdlType* t) { return IsLogicVector(t) && BaseName(t) == "signed"; }

char LiteralChar(const VhdlValue& v) {
    if (v.kind == VhdlValue::Char) return char(v.i);
    if (v.kind != VhdlValue::Enum || !v.type) return 0;
    const auto& lits = v.type->base->literals;
    if (v.i < 0 || size_t(v.i) >= lits.size()) return 0;
    std::string_view lit = lits[size_t(v.i)];
    return lit.size() == 3 && lit[0] == '\'' ? lit[1] : 0;
}

VhdlValue EnumOfChar(VhdlEvaluator& ev, const VhdlType* t, char c, const VhdlTreeNode* where) {
    if (!t) return VhdlValue::Character(static_cast<unsigned char>(c));
    char text[4] = {'\'', c, '\'', 0};
    int64_t pos = t->LiteralPosition(text);
    if (pos < 0) ev.Fail<vhdl_msg::ElabCharacterNotAValue>(where, c, std::string(t->DisplayName()).c_str());
    return VhdlValue::Enumeration(pos, t);
}

VhdlValue MakeString(VhdlEvaluator& ev, const std::string& text, const VhdlType* type) {
    if (!type) type = ev.StringType();
    std::vector<VhdlValue> chars;
    chars.reserve(text.size());
    const VhdlType* element = type ? type->element : nullptr;
    for (char c : text) {
        VhdlValue ch = VhdlValue::Character(static_cast<unsigned char>(c));
        if (element) {
            char lit[4] = {'\'', c, '\'', 0};
            int64_t pos = element->LiteralPosition(lit);
            if (pos >= 0) ch = VhdlValue::Enumeration(pos, element);
        }
        chars.push_back(ch);
    }
    int64_t n = int64_t(text.size());
    return VhdlValue::MakeArray(type, {VhdlBounds::Discrete(1, n, true)}, std::move(chars));
}

std::string StringOf(const VhdlValue& v) {
    std::string out;
    for (const VhdlValue& e : v.Elements()) {
        char c = LiteralChar(e);
        out += c ? c : '?';
    }
    return out;
}

Bits ToBits(const VhdlValue& v) {
    Bits b;
    b.bits.reserve(v.Elements().size());
    for (const VhdlValue& e : v.Elements()) {
        char c = LiteralChar(e);
        if (c == '1' || c == 'H') b.bits.push_back(1);
        else if (c == '0' || c == 'L') b.bits.push_back(0);
        else if (e.kind == VhdlValue::Enum && e.type && IsBoolean(e.type)) b.bits.push_back(uint8_t(e.i));
        else {
            b.bits.push_back(0);
            b.unknown = true;
        }
    }
    return b;
}

VhdlValue FromBits(VhdlEvaluator& ev, const Bits& b, const VhdlType* type, bool descending) {
    const VhdlType* element = type ? type->element : nullptr;
    std::vector<VhdlValue> out;
    out.reserve(b.bits.size());
    for (uint8_t bit : b.bits) {
        if (b.unknown && element && IsStdUlogic(element)) out.push_back(EnumOfChar(ev, element, 'X', nullptr));
        else out.push_back(EnumOfChar(ev, element, bit ? '1' : '0', nullptr));
    }
    int64_t n = int64_t(b.bits.size());
    VhdlBounds r = descending ? VhdlBounds::Discrete(n - 1, 0, false) : VhdlBounds::Discrete(0, n - 1, true);
    return VhdlValue::MakeArray(type, {r}, std::move(out));
}

VhdlValue FilledVector(VhdlEvaluator& ev, const VhdlType* type, int64_t length, char fill) {
    const VhdlType* element = type ? type->element : nullptr;
    if (element && !IsStdUlogic(element) && fill != '0' && fill != '1') fill = '0';
    std::vector<VhdlValue> out(size_t(std::max<int64_t>(0, length)), EnumOfChar(ev, element, fill, nullptr));
    return VhdlValue::MakeArray(type, {VhdlBounds::Discrete(length - 1, 0, false)}, std::move(out));
}

bool BitsToInt(const Bits& b, bool isSigned, int64_t& out) {
    if (b.unknown) return false;
    size_t n = b.bits.size();
    // Leading sign (or zero) bits do not count against the 64 bits.
    size_t first = 0;
    uint8_t lead = isSigned && n ? b.bits[0] : 0;
    while (first + 1 < n && b.bits[first] == lead && b.bits[first + 1] == lead) ++first;
    if (n - first > 64 || (!isSigned && n - first == 64 && b.bits[first])) return false;
    uint64_t v = 0;
    for (size_t i = first; i < n; ++i) v = (v << 1) | b.bits[i];
    if (isSigned && n - first < 64 && n && b.bits[first]) v |= ~uint64_t(0) << (n - first);
    out = int64_t(v);
    return true;
}

Bits IntToBits(int64_t v, size_t width) {
    Bits b;
    b.bits.resize(width);
    for (size_t i = 0; i < width; ++i) {
        size_t shift = width - 1 - i;
        b.bits[i] = shift >= 64 ? (v < 0 ? 1 : 0) : uint8_t((uint64_t(v) >> shift) & 1);
    }
    return b;
}

Bits ResizeBits(const Bits& b, size_t width, bool isSigned) {
    Bits out;
    out.unknown = b.unknown;
    size_t n = b.bits.size();
    if (width >= n) {
        uint8_t fill = isSigned && n ? b.bits[0] : 0;
        out.bits.assign(width - n, fill);
        out.bits.insert(out.bits.end(), b.bits.begin(), b.bits.end());
    } else if (isSigned && n) {
        // numeric_std keeps the sign bit and the low bits.
        out.bits.push_back(b.bits[0]);
        out.bits.insert(out.bits.end(), b.bits.end() - std::ptrdiff_t(width) + 1, b.bits.end());
        if (width == 0) out.bits.clear();
    } else {
        out.bits.assign(b.bits.end() - std::ptrdiff_t(width), b.bits.end());
    }
    return out;
}

} // namespace vhdl_eval
} // namespace hdl
