// Reading the usual numbers of JSON text in one pass: integers of up to 18 digits, and reals of up to 19 digits
// whose value one multiplication or division gives. The rest is left to the conversions of text/numbers.h.
#pragma once

#include <bit>
#include <cstring>

#include "ke_utils/types.h"
#include "text/ctype.h"
#include "text/uint128.h"

namespace ke::json {

struct QuickNumber {
    enum Kind { kNone, kInteger, kReal, kRealText } kind = kNone;
    const char* end = nullptr;
    i64 integer = 0;
    double real = 0;  // not of kRealText, which is a real that needs a conversion of its own
};

// A significand of up to 2^53 and powers of ten up to 22 are doubles without rounding, so that their product
// or quotient is rounded once, correctly (W. D. Clinger, "How to Read Floating Point Numbers Accurately",
// 1990).
constexpr u64 kExactSignificand = u64{1} << 53;
constexpr int kExactPower = 22;
inline constexpr double kPowersOfTen[kExactPower + 1] = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// The powers of five from 5^-27 to 5^55 as 128-bit significands with the highest bit set. Those from 0 up are
// exact. The reciprocals are rounded up, which is exact enough: see scale_by_power().
constexpr int kLeastPower = -27;
constexpr int kMostPower = 55;
struct PowersOfFive {
    struct Value {
        u64 hi;
        u64 lo;
    };
    constexpr PowersOfFive() : values() {
        u128 power = 1;
        for (int i = 0; i <= kMostPower; ++i, power *= 5) {
            u128 value = power;
            while (value >> 127 == 0)
                value <<= 1;
            set(i, value);
        }
        power = 5;
        for (int i = -1; i >= kLeastPower; --i, power *= 5) {
            // 2^(bits + 127) / power, one binary digit after another: as 2^bits > power, it has 128 digits.
            int bits = 0;
            while (u128{1} << bits < power)
                ++bits;
            u128 rest = u128{1} << bits;
            u128 quotient = 0;
            for (int digit = 0; digit < 128; ++digit, rest <<= 1) {
                quotient = quotient << 1 | (rest >= power ? 1 : 0);
                rest -= rest >= power ? power : 0;
            }
            set(i, quotient + 1);
        }
    }
    constexpr void set(int power, u128 value) {
        values[power - kLeastPower] = {static_cast<u64>(value >> 64), static_cast<u64>(value)};
    }
    Value values[kMostPower - kLeastPower + 1];
};
inline constexpr PowersOfFive kPowersOfFive;

// significand * 10^power, correctly rounded, for a significand above 0 and a power from kLeastPower to
// kMostPower (D. Lemire, "Number Parsing at a Gigabyte per Second", 2021, algorithm 1; why it needs no other
// conversion to fall back on: N. Mushtak and D. Lemire, "Fast Number Parsing Without Fallback", 2023). All
// results are normal numbers.
inline double scale_by_power(u64 significand, int power) {
    constexpr int kMantissa = 52;  // bits stored
    const PowersOfFive::Value five = kPowersOfFive.values[power - kLeastPower];
    const int shift = std::countl_zero(significand);
    significand <<= shift;
    u128 product = static_cast<u128>(significand) * five.hi;
    // The low half of the power can only matter if all bits below those that are kept are set.
    constexpr u64 kBelow = ~u64{0} >> (kMantissa + 3);
    if ((static_cast<u64>(product >> 64) & kBelow) == kBelow)
        product += static_cast<u128>(significand) * five.lo >> 64;
    const u64 hi = static_cast<u64>(product >> 64);
    const int upper = static_cast<int>(hi >> 63);
    const int extra = upper + 64 - kMantissa - 3;
    u64 mantissa = hi >> extra;  // with a bit for rounding
    // floor(power * log2(10)) by a multiplication, which is right for these powers.
    int exponent = ((217706 * power) >> 16) + 63 + upper - shift + 1023;
    // Halfway between two numbers, which only these powers bring about: to the even one.
    if (static_cast<u64>(product) <= 1 && power >= -4 && power <= 23 && (mantissa & 3) == 1 &&
        mantissa << extra == hi)
        mantissa &= ~u64{1};
    mantissa = (mantissa + (mantissa & 1)) >> 1;
    // A carry out of the mantissa is one in the exponent, and leaves the mantissa 0.
    return std::bit_cast<double>(mantissa + (static_cast<u64>(exponent - 1) << kMantissa));
}

// Eight characters at once: how many digits they begin with, and the value of these.
struct EightDigits {
    int count;
    u64 value;
};
inline EightDigits read_eight_digits(const char* p) {
    u64 bytes = 0;
    memcpy(&bytes, p, sizeof(bytes));
    constexpr u64 kOnes = 0x0101010101010101;
    // The high bit of a byte: above "9", or below "0". A carry only reaches bytes behind the first of these.
    const u64 digits = bytes ^ ('0' * kOnes);
    const u64 others = (digits | (digits + (0x7F - 9) * kOnes)) & (0x80 * kOnes);
    const int count = others == 0 ? 8 : std::countr_zero(others) / 8;
    // Zeros in front of them instead of what is behind; then pairs, fours, eights are put together.
    u64 value = count == 0 ? 0 : digits << (8 * (8 - count));
    value = (value & (0x0F * kOnes)) * 2561 >> 8;
    value = (value & 0x00FF00FF00FF00FF) * 6553601 >> 16;
    value = (value & 0x0000FFFF0000FFFF) * 42949672960001 >> 32;
    return {count, value};
}

// Adds the digits at `p` to a significand, which is of use only if there were few of them. Their end. From
// `p` to `safe_end`, if that is further on, there is text.
inline const char* add_digits(const char* p, const char* safe_end, u64* significand) {
    constexpr u64 kPowers[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
    if constexpr (std::endian::native == std::endian::little) {
        while (safe_end - p >= 8) {
            const EightDigits next = read_eight_digits(p);
            *significand = *significand * kPowers[next.count] + next.value;
            p += next.count;
            if (next.count != 8)
                return p;
        }
    }
    for (; is_digit(*p); ++p)
        *significand = *significand * 10 + static_cast<u64>(*p - '0');
    return p;
}

// Reads an exponent behind its "e": the end, or nullptr if it is none, or is a large one.
inline const char* read_exponent(const char* p, int* exponent) {
    constexpr ptrdiff_t kMostDigits = 4;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        ++p;
    u64 value = 0;
    const char* end = add_digits(p, p, &value);
    if (end == p || end - p > kMostDigits)
        return nullptr;
    *exponent = negative ? -static_cast<int>(value) : static_cast<int>(value);
    return end;
}

// Reads a number at `first`, in text that a byte ends which no number has, but not before `safe_end`. kNone is
// a number of which this cannot tell at once that it is right and what it is; a byte beyond ASCII behind it
// spoils one.
inline QuickNumber read_number(const char* first, const char* safe_end) {
    constexpr ptrdiff_t kSafeDigits = 18;
    constexpr ptrdiff_t kMostDigits = 19;  // of a significand
    const bool negative = *first == '-';
    const char* digits = negative ? first + 1 : first;
    u64 significand = 0;
    const char* p = add_digits(digits, safe_end, &significand);
    ptrdiff_t count = p - digits;
    if (count == 0 || (*digits == '0' && count != 1))
        return {};
    bool is_real = false;
    int power = 0;
    if (*p == '.') {
        const char* fraction = p + 1;
        p = add_digits(fraction, safe_end, &significand);
        if (p == fraction)
            return {};
        count += p - fraction;
        power = count <= kMostDigits ? -static_cast<int>(p - fraction) : 0;
        is_real = true;
    }
    if (*p == 'e' || *p == 'E') {
        int exponent = 0;
        p = read_exponent(p + 1, &exponent);
        if (p == nullptr)
            return {};
        power += exponent;
        is_real = true;
    }
    if (*p < 0)
        return {};
    if (!is_real) {
        if (count > kSafeDigits)
            return {};
        const i64 value = static_cast<i64>(significand);
        return {QuickNumber::kInteger, p, negative ? -value : value, 0};
    }
    if (count > kMostDigits)
        return {QuickNumber::kRealText, p, 0, 0};
    double value = static_cast<double>(significand);
    if (significand <= kExactSignificand && power <= kExactPower && power >= -kExactPower)
        value = power < 0 ? value / kPowersOfTen[-power] : value * kPowersOfTen[power];
    else if (significand != 0 && power >= kLeastPower && power <= kMostPower)
        value = scale_by_power(significand, power);
    else
        return {QuickNumber::kRealText, p, 0, 0};
    return {QuickNumber::kReal, p, 0, negative ? -value : value};
}

}  // namespace ke::json
