#pragma once
// Where a run of white space or of name characters ends, for the lexers and the skim's
// scanners. Sixteen bytes at a time: a loop over bytes mispredicts its exit at nearly
// every token, since runs vary in length from one token to the next. Only ASCII is
// looked at here; a caller whose language counts other bytes in the run goes on from
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

// The space and the characters 9 to 13 (tab, line feed, vertical tab, form feed, return).
inline unsigned spaceMask16(const char* p) {
    __m128i v = load16(p);
    return equal16(v, ' ') | inRange16(v, '\t', 5);
}

// Letters, digits, `_`, and `$` when Dollar.
template <bool Dollar>
inline unsigned nameMask16(const char* p) {
    __m128i v = load16(p);
    unsigned mask = inRange16(_mm_or_si128(v, _mm_set1_epi8(0x20)), 'a', 26) | inRange16(v, '0', 10) | equal16(v, '_');
    return Dollar ? mask | equal16(v, '$') : mask;
}

template <unsigned (*Mask16)(const char*)>
inline size_t wideEnd(const char* data, size_t p, size_t n) {
    for (; p + 16 <= n; p += 16)
        if (unsigned outside = ~Mask16(data + p) & 0xffffu)
            return p + unsigned(__builtin_ctz(outside));
    return p;
}

} // namespace detail
#endif

// The end of the ASCII white space that starts at p. Most tokens have one blank or none
// before them: that is settled before the wide look.
inline size_t spaceEnd(const char* data, size_t p, size_t n) {
    auto isSpace = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    if (p >= n || !isSpace(data[p]))
        return p;
    ++p;
#if defined(__SSE2__)
    p = detail::wideEnd<detail::spaceMask16>(data, p, n);
#endif
    while (p < n && isSpace(data[p]))
        ++p;
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
    p = detail::wideEnd<detail::nameMask16<Dollar>>(data, p, n);
#endif
    while (p < n && isName(data[p]))
        ++p;
    return p;
}

} // namespace hdl::textruns
