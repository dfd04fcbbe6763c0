#pragma once
// Where a run of name characters ends, and where the next of a few special characters
// stands, for the lexers, the skim's scanners and the macro expander. Sixteen bytes at
// a time: a loop over bytes mispredicts its exit at nearly every name, since names vary
// in length, and walks long plain texts a byte per step. Only ASCII is looked at for
// names; a caller whose language counts other bytes as name characters goes on from
// the returned position byte by byte.
#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace hdl::textruns {

#if defined(__SSE2__)
namespace detail {

// Bit k set when byte k of v lies in [low, low + count).
inline unsigned inRange16(__m128i v, char low, char count) {
    __m128i d = _mm_sub_epi8(v, _mm_set1_epi8(low));
    return unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_min_epu8(d, _mm_set1_epi8(char(count - 1))), d)));
}

inline unsigned equal16(__m128i v, char c) { return unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_set1_epi8(c)))); }

inline __m128i load16(const char* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// Letters, digits, `_`, and `$` when Dollar.
template <bool Dollar>
inline unsigned nameMask16(const char* p) {
    __m128i v = load16(p);
    unsigned mask = inRange16(_mm_or_si128(v, _mm_set1_epi8(0x20)), 'a', 26) | inRange16(v, '0', 10) | equal16(v, '_');
    return Dollar ? mask | equal16(v, '$') : mask;
}

template <char A, char B, char C, char D>
inline unsigned anyOf16(const char* p) {
    __m128i v = load16(p);
    return equal16(v, A) | equal16(v, B) | equal16(v, C) | equal16(v, D);
}

} // namespace detail
#endif

// The first of the characters A, B, C, D at or after p, or n when there is none.
template <char A, char B, char C, char D>
inline size_t findAnyOf(const char* data, size_t p, size_t n) {
#if defined(__SSE2__)
    for (; p + 16 <= n; p += 16)
        if (unsigned hit = detail::anyOf16<A, B, C, D>(data + p)) return p + unsigned(__builtin_ctz(hit));
#endif
    while (p < n && data[p] != A && data[p] != B && data[p] != C && data[p] != D) ++p;
    return p;
}

// The end of the ASCII name characters (letters, digits, `_`, `$` when Dollar) from p.
template <bool Dollar>
inline size_t nameEnd(const char* data, size_t p, size_t n) {
    auto isName = [](char c) {
        char lower = char(c | 0x20);
        return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '_' || (Dollar && c == '$');
    };
#if defined(__SSE2__)
    for (; p + 16 <= n; p += 16)
        if (unsigned outside = ~detail::nameMask16<Dollar>(data + p) & 0xffffu)
            return p + unsigned(__builtin_ctz(outside));
#endif
    while (p < n && isName(data[p])) ++p;
    return p;
}

} // namespace hdl::textruns
