// Finds the end of a run of plain characters: ASCII from 0x20 up, except the quote and the
// backslash. Parser and serializer copy them unchanged. With SSE2, which every x86-64 processor
// has, sixteen bytes are examined at a time. The bytewise form serves other machines, the ends of
// texts, and tests as a reference.
#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <bit>
#include <cstring>

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
        // A signed comparison: both control characters and bytes from 0x80 up are below 0x20.
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

// Copies `count` bytes and returns whether all of them are plain characters. Nothing after `out` +
// `count` is written.
inline bool copy_plain_ascii(char* out, const char* p, size_t count) {
#if defined(__SSE2__)
    const __m128i quote = _mm_set1_epi8('"');
    const __m128i backslash = _mm_set1_epi8('\\');
    const __m128i blank = _mm_set1_epi8(0x20);
    const auto special = [&](__m128i bytes) {
        return _mm_or_si128(
            _mm_cmplt_epi8(bytes, blank),
            _mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash)));
    };
    // The last block may overlap the one before it.
    if (count >= 16) {
        __m128i found = _mm_setzero_si128();
        const size_t last = count - 16;
        for (size_t i = 0;; i = i + 16 < last ? i + 16 : last) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), bytes);
            found = _mm_or_si128(found, special(bytes));
            if (i == last)
                break;
        }
        return _mm_movemask_epi8(found) == 0;
    }
    if (count >= 8) {
        const __m128i first = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        const __m128i last = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + count - 8));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out), first);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + count - 8), last);
        return _mm_movemask_epi8(special(_mm_unpacklo_epi64(first, last))) == 0;
    }
    if (count >= 4) {
        i32 first = 0;
        i32 last = 0;
        memcpy(&first, p, sizeof(first));
        memcpy(&last, p + count - 4, sizeof(last));
        memcpy(out, &first, sizeof(first));
        memcpy(out + count - 4, &last, sizeof(last));
        // The upper half is zero, which must not count.
        const __m128i both = _mm_unpacklo_epi32(_mm_cvtsi32_si128(first), _mm_cvtsi32_si128(last));
        return (_mm_movemask_epi8(special(both)) & 0xFF) == 0;
    }
#endif
    for (size_t i = 0; i < count; ++i)
        out[i] = p[i];
    return skip_plain_ascii_bytewise(p, p + count) == p + count;
}

// Returns the end of a run of spaces.
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
