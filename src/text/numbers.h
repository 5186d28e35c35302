// Numbers read from text, independent of the locale. These are the functions that the JSON reader
// calls for text whose bounds it knows. The exported functions for NUL-terminated text, which
// return statuses, are in ke_utils/text.h.
#pragma once

#include "ke_utils/types.h"

namespace ke {

// Reads a decimal integer. The text must be an optional "-" and at least one digit, and nothing
// else; this is not checked. Returns false, with *out unchanged, if the number does not fit.
inline bool parse_i64(const char* first, const char* last, i64* out) {
    const bool negative = *first == '-';
    if (negative)
        ++first;
    // 18 digits always fit into 64 bits.
    constexpr int kMaxSafeDigits = 18;
    u64 magnitude = 0;
    if (last - first <= kMaxSafeDigits) {
        for (; first != last; ++first)
            magnitude = magnitude * 10 + static_cast<u64>(*first - '0');
        *out = negative ? -static_cast<i64>(magnitude) : static_cast<i64>(magnitude);
        return true;
    }
    for (; first != last; ++first) {
        if (__builtin_mul_overflow(magnitude, u64{10}, &magnitude) ||
            __builtin_add_overflow(magnitude, static_cast<u64>(*first - '0'), &magnitude))
            return false;
    }
    const u64 limit = static_cast<u64>(INT64_MAX) + (negative ? 1 : 0);
    if (magnitude > limit)
        return false;
    *out = static_cast<i64>(negative ? 0 - magnitude : magnitude);
    return true;
}

// Reads the longest number that strtod() accepts in the "C" locale: an optional sign, then decimal
// digits with an optional "." and exponent, a hexadecimal number "0x...p...", "inf", "infinity",
// "nan" or "nan(...)" in either case. White space is not skipped. The result is correctly rounded;
// a magnitude that is too large gives an infinity, one that is too small a zero. Returns the end of
// the number; if there is none, returns `first` and leaves *out unchanged.
const char* parse_double(const char* first, const char* last, double* out);

}  // namespace ke
