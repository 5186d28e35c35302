// Numbers as decimal digits, without a format string. Nothing here terminates the text.
#pragma once

#include <bit>
#include <cstring>

#include "ke_utils/types.h"

namespace ke {

constexpr size_t kMaxDecimalDigits64 = 20;  // 2^64 - 1, or a sign and 19 digits

// Returns the eight decimal digits of a value below 10^8, one in each byte, the first in the lowest
// byte. The value is split in steps: into two numbers of four digits, four of two, eight of one.
// Each step divides all numbers by one multiplication with a reciprocal that is exact in its range.
constexpr u64 eight_digits(u32 value) {
    const u64 fours = value / 10000 | static_cast<u64>(value % 10000) << 32;
    const u64 hundreds = (fours * 10486 >> 20) & 0x0000007F0000007F;
    const u64 twos = hundreds | (fours - hundreds * 100) << 16;
    const u64 tens = (twos * 103 >> 10) & 0x000F000F000F000F;
    return tens | (twos - tens * 10) << 8;
}

constexpr u64 kZeros = 0x3030303030303030;

// Stores eight characters, the one in the lowest byte first.
inline void store_eight(char* out, u64 text) {
    if constexpr (std::endian::native == std::endian::big)
        text = __builtin_bswap64(text);
    memcpy(out, &text, sizeof(text));
}

inline char* write_eight_digits(char* out, u32 value) {
    store_eight(out, eight_digits(value) + kZeros);
    return out + 8;
}

// Writes the last six of the eight digits, but overwrites eight bytes.
inline char* write_six_digits(char* out, u32 value) {
    store_eight(out, (eight_digits(value) + kZeros) >> 16);
    return out + 6;
}

// Writes up to eight digits without leading zeros, but overwrites eight bytes. The value must not
// be 0, which would have no digits.
inline char* write_up_to_eight_digits(char* out, u32 value) {
    const u64 digits = eight_digits(value);
    const int skipped = std::countr_zero(digits) / 8;
    store_eight(out, (digits + kZeros) >> (8 * skipped));
    return out + 8 - skipped;
}

// Writes `value` at `out`, which must have space for kMaxDecimalDigits64 characters; returns the
// end of what was written. May overwrite all of this space.
inline char* write_u64(char* out, u64 value) {
    constexpr u64 kUnit = 100000000;
    if (value < 10) {
        *out = static_cast<char>('0' + value);
        return out + 1;
    }
    if (value < kUnit)
        return write_up_to_eight_digits(out, static_cast<u32>(value));
    const u64 high = value / kUnit;
    if (high < kUnit) {
        out = write_up_to_eight_digits(out, static_cast<u32>(high));
    } else {
        out = write_up_to_eight_digits(out, static_cast<u32>(high / kUnit));
        out = write_eight_digits(out, static_cast<u32>(high % kUnit));
    }
    return write_eight_digits(out, static_cast<u32>(value % kUnit));
}
inline char* write_i64(char* out, i64 value) {
    if (value >= 0)
        return write_u64(out, static_cast<u64>(value));
    *out = '-';
    return write_u64(out + 1, -static_cast<u64>(value));
}

// The longest text of a double: a sign, 309 digits, the point and six decimals.
constexpr size_t kMaxDoubleText = 1 + 309 + 1 + 6;

// Writes a double as "%f" does in the "C" locale; infinities and NaN are "inf" and "nan". Returns
// the end. `out` must have space for kMaxDoubleText bytes.
char* write_double(char* out, double value);

}  // namespace ke
