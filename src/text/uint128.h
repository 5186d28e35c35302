// 128-bit unsigned integers inside the library: the conversion to the compiler's own type, in which
// the arithmetic is done, and the decimal text that the JSON writer needs.
#pragma once

#include "ke_utils/text.h"

namespace ke {

__extension__ typedef unsigned __int128 u128;

constexpr u128 to_native(wiq_uint128 a) {
    return static_cast<u128>(a.hi) << 64 | a.lo;
}
constexpr wiq_uint128 from_native(u128 a) {
    return {static_cast<u64>(a), static_cast<u64>(a >> 64)};
}

constexpr size_t kMaxDecimalDigits128 = 39;

// Writes the decimal digits of `value` at `out`, which must have space for kMaxDecimalDigits128
// characters; returns the end of what was written. Does not terminate the text.
char* write_u128(char* out, wiq_uint128 value);

}  // namespace ke
