// Finding the end of a run of characters that the serializer copies as they stand: ASCII from 0x20 up,
// neither quote nor backslash. Sixteen bytes at a time with SSE2, which every x86-64 has; the plain form is
// for other machines, for tails, and for tests to compare with.
#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <bit>

#include "ke_utils/types.h"

namespace ke::json {

inline const char* skip_plain_ascii_bytewise(const char* p, const char* end) {
    while (p != end) {
        const u8 c = static_cast<u8>(*p);
        if (c < 0x20 || c >= 0x80 || c == '"' || c == '\\')
            break;
        ++p;
    }
    return p;
}

inline const char* skip_plain_ascii(const char* p, const char* end) {
#if defined(__SSE2__)
    const __m128i quote = _mm_set1_epi8('"');
    const __m128i backslash = _mm_set1_epi8('\\');
    const __m128i blank = _mm_set1_epi8(0x20);
    for (; end - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        // Signed: below 0x20 are the control characters and everything from 0x80 up.
        const __m128i special = _mm_or_si128(
            _mm_cmplt_epi8(bytes, blank),
            _mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash)));
        const auto mask = static_cast<u32>(_mm_movemask_epi8(special));
        if (mask != 0)
            return p + std::countr_zero(mask);
    }
#endif
    return skip_plain_ascii_bytewise(p, end);
}

// The end of a run of spaces.
inline const char* skip_spaces_before(const char* p, const char* end) {
#if defined(__SSE2__)
    const __m128i space = _mm_set1_epi8(' ');
    for (; end - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const auto other =
            ~static_cast<u32>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, space))) & 0xFFFF;
        if (other != 0)
            return p + std::countr_zero(other);
    }
#endif
    while (p != end && *p == ' ')
        ++p;
    return p;
}

}  // namespace ke::json
