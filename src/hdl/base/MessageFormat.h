// Compile-time check that the arguments of a message fit its printf format: the same
// conversions, in the same order, of the same kind (an integer of the size the length
// modifier names, a double, a C string, a pointer). A format with a conversion this
// check does not know (%n, %ls, %Lf) fits nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace hdl {
namespace message_format {

enum ArgKind : unsigned char { kInt, kLong, kLongLong, kDouble, kString, kPointer, kUnfit };

template <typename T>
constexpr ArgKind KindOf() {
    using U = std::remove_cv_t<std::remove_reference_t<T>>;
    if constexpr (std::is_same_v<U, char*> || std::is_same_v<U, const char*>) {
        return kString;
    } else if constexpr (std::is_pointer_v<U> || std::is_null_pointer_v<U>) {
        return kPointer;
    } else if constexpr (std::is_floating_point_v<U> && !std::is_same_v<U, long double>) {
        return kDouble;
    } else if constexpr (std::is_integral_v<U> || (std::is_enum_v<U> && std::is_convertible_v<U, int>)) {
        // Default argument promotion: what the callee's va_arg sees.
        using P = decltype(+std::declval<U>());
        if constexpr (std::is_same_v<P, long> || std::is_same_v<P, unsigned long>) return kLong;
        else if constexpr (std::is_same_v<P, long long> || std::is_same_v<P, unsigned long long>) return kLongLong;
        else return kInt;
    } else {
        return kUnfit;
    }
}

constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The kind of the argument that the conversion at `p` (just after '%') takes, and the
// position after it; kUnfit for a conversion that is not known. `stars` counts the
// '*' width and precision before it, which take an int each.
struct Conversion {
    ArgKind kind = kUnfit;
    unsigned stars = 0;
    const char* next = nullptr;
};

constexpr Conversion ReadConversion(const char* p) {
    Conversion c;
    while (*p == '-' || *p == '+' || *p == ' ' || *p == '#' || *p == '0') ++p;
    if (*p == '*') {
        ++c.stars;
        ++p;
    } else {
        while (IsDigit(*p)) ++p;
    }
    if (*p == '.') {
        ++p;
        if (*p == '*') {
            ++c.stars;
            ++p;
        } else {
            while (IsDigit(*p)) ++p;
        }
    }
    ArgKind integer = kInt;
    bool modified = false;
    if (p[0] == 'h') {
        p += p[1] == 'h' ? 2 : 1;
        modified = true;
    } else if (p[0] == 'l' && p[1] == 'l') {
        integer = kLongLong;
        p += 2;
        modified = true;
    } else if (*p == 'l') {
        integer = kLong;
        ++p;
        modified = true;
    } else if (*p == 'z') {
        integer = KindOf<std::size_t>();
        ++p;
        modified = true;
    } else if (*p == 'j') {
        integer = KindOf<std::intmax_t>();
        ++p;
        modified = true;
    } else if (*p == 't') {
        integer = KindOf<std::ptrdiff_t>();
        ++p;
        modified = true;
    }
    switch (*p) {
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
    case 'o': c.kind = integer; break;
    case 'c': c.kind = modified ? kUnfit : kInt; break;
    case 's': c.kind = modified ? kUnfit : kString; break;
    case 'p': c.kind = modified ? kUnfit : kPointer; break;
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A': c.kind = modified && integer != kLong ? kUnfit : kDouble; break;
    default: return c;
    }
    c.next = p + 1;
    return c;
}

// Whether `count` arguments of the given kinds fit the format. A C string also fits
// %p. Returns false for a malformed format.
constexpr bool Fits(const char* format, const ArgKind* args, std::size_t count) {
    std::size_t next = 0;
    for (const char* p = format; *p;) {
        if (*p++ != '%') continue;
        if (*p == '%') {
            ++p;
            continue;
        }
        Conversion c = ReadConversion(p);
        if (c.kind == kUnfit) return false;
        for (unsigned i = 0; i < c.stars; ++i)
            if (next >= count || args[next++] != kInt) return false;
        if (next >= count) return false;
        const ArgKind given = args[next++];
        if (given != c.kind && !(c.kind == kPointer && given == kString)) return false;
        p = c.next;
    }
    return next == count;
}

template <typename... A>
constexpr bool FormatFits(const char* format) {
    constexpr ArgKind kinds[] = {KindOf<A>()..., kUnfit};
    return Fits(format, kinds, sizeof...(A));
}

// The number of arguments a format takes (its conversions and '*'), or -1 when it
// holds a conversion that is not known.
constexpr int ArgumentCount(const char* format) {
    int count = 0;
    for (const char* p = format; *p;) {
        if (*p++ != '%') continue;
        if (*p == '%') {
            ++p;
            continue;
        }
        Conversion c = ReadConversion(p);
        if (c.kind == kUnfit) return -1;
        count += 1 + int(c.stars);
        p = c.next;
    }
    return count;
}

} // namespace message_format
} // namespace hdl
