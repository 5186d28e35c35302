// Numbers read from text without regard to the locale: the forms that the JSON reader calls on text whose
// bounds it knows. The exported forms for NUL-terminated text, with their statuses, are in ke_utils/text.h.
#pragma once

#include "ke_utils/types.h"

namespace ke {

// Reads a decimal integer: an optional "-" and at least one digit, nothing else, as the caller has made
// sure of. False, with *out untouched, if the number does not fit.
inline bool parse_i64(const char* first, const char* last, i64* out) {
    const bool negative = *first == '-';
    if (negative)
        ++first;
    // 18 digits always fit.
    constexpr int kSafeDigits = 18;
    u64 magnitude = 0;
    if (last - first <= kSafeDigits) {
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

// Reads the longest number of strtod()'s grammar in the "C" locale: optional sign, then decimal digits
// with an optional "." and exponent, a hexadecimal number "0x...p...", "inf", "infinity", "nan" or
// "nan(...)" in either case. No white space is skipped. Correctly rounded; too large a magnitude gives an
// infinity, too small a one a zero. Returns the end of the number; `first`, with *out untouched, if
// there is none.
const char* parse_double(const char* first, const char* last, double* out);

}  // namespace ke
