// Writes doubles with six decimals. See decimal.h.

#include "text/decimal.h"

#include <bit>
#include <charconv>
#include <cmath>

#include "text/uint128.h"

namespace ke {

namespace {

// Returns whether a fraction is rounded up when its lowest `shift` bits are dropped: if they are
// more than a half, or a half and the last digit that is kept is odd.
bool rounds_up(u128 scaled, int shift) {
    const u128 half = u128{1} << (shift - 1);
    const u128 rest = scaled & (2 * half - 1);
    return rest > half || (rest == half && (scaled >> shift & 1) != 0);
}

}  // namespace

// A double is an integer, its mantissa, times a power of two. The mantissa times a million fits 128
// bits. For a value below kMaxMagnitude, a shift of this product then gives the value in
// millionths, in 64 bits, and the bits that are shifted out say exactly how to round it. The
// runtime's conversion writes larger values, infinities and NaN.
char* write_double(char* out, double value) {
    constexpr int kMantissaBits = 52;
    constexpr u64 kDecimals = 1000000;
    constexpr double kMaxMagnitude = 9e12;  // times a million, this is below 2^63
    const u64 bits = std::bit_cast<u64>(value);
    const int exponent = static_cast<int>(bits >> kMantissaBits & 0x7FF) - 1023 - kMantissaBits;
    if (!(std::fabs(value) < kMaxMagnitude))
        return std::to_chars(out, out + kMaxDoubleText, value, std::chars_format::fixed, 6).ptr;
    const u64 mantissa = (bits & ((u64{1} << kMantissaBits) - 1)) | u64{1} << kMantissaBits;
    const u128 scaled = static_cast<u128>(mantissa) * kDecimals;
    // The exponent is below 0, since 9e12 is less than 2^52. With a shift above 100, less than half
    // a millionth is left; so the bit that a normal mantissa has may also be set for zero and for
    // tiny numbers.
    const int shift = -exponent;
    u64 millionths = 0;
    if (shift <= 100)
        millionths = static_cast<u64>(scaled >> shift) + (rounds_up(scaled, shift) ? 1 : 0);
    if (std::signbit(value))
        *out++ = '-';
    out = write_u64(out, millionths / kDecimals);
    *out++ = '.';
    return write_six_digits(out, static_cast<u32>(millionths % kDecimals));
}

}  // namespace ke
