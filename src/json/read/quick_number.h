// A fast path for the usual numbers of JSON text, which reads them in one pass: signed 64-bit
// integers, and reals of up to 19 digits whose value one multiplication or division gives. All
// other numbers are left to the conversions of text/numbers.h.
#pragma once

#include <bit>
#include <cfloat>
#include <cstdint>
#include <cstring>
#include <limits>

#include "ke_utils/types.h"
#include "text/ctype.h"
#include "text/uint128.h"

namespace ke::json {

// What the fast path knows about a number. kNone: nothing, not even that it is valid; the general
// path must read it. kInteger and kReal: it is valid and has this value. kRealText: it is a valid
// real whose text, up to `end`, needs the general conversion.
struct QuickNumber {
    enum Kind { kNone, kInteger, kReal, kRealText } kind = kNone;
    const char* end = nullptr;  // set for every kind except kNone
    i64 integer = 0;            // set for kInteger
    double real = 0;            // set for kReal
};

// A significand of up to 2^53 and powers of ten up to 10^22 are doubles without rounding. So their
// product or quotient is rounded only once, which gives the correct result (W. D. Clinger, "How to
// Read Floating Point Numbers Accurately", 1990).
static_assert(FLT_EVAL_METHOD == 0, "a result in a wider format would be rounded twice");
constexpr u64 kMaxExactSignificand = u64{1} << 53;
constexpr int kMaxExactPower = 22;
inline constexpr double kPowersOfTen[kMaxExactPower + 1] = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// The powers of five from 5^-27 to 5^55 as 128-bit significands whose highest bit is set. From 5^0
// to 5^55, the last that has at most 128 bits, they are exact. The reciprocals are rounded up. For
// all of these powers that is exact enough, see scale_by_power().
constexpr int kMinPower = -27;
constexpr int kMaxPower = 55;
struct PowersOfFive {
    struct Value {
        u64 hi;
        u64 lo;
    };
    constexpr PowersOfFive() : values() {
        u128 power = 1;
        for (int i = 0; i <= kMaxPower; ++i, power *= 5) {
            u128 value = power;
            while (value >> 127 == 0)
                value <<= 1;
            set(i, value);
        }
        power = 5;
        for (int i = -1; i >= kMinPower; --i, power *= 5) {
            // Long division of 2^(bits + 127) by the power, one binary digit after another. The
            // quotient has 128 digits, because 2^bits is at least the power and less than its
            // double. 5^27 has fewer than 64 bits, so `rest` cannot overflow. No division comes out
            // even, so adding 1 to the quotient rounds it up.
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
        values[power - kMinPower] = {static_cast<u64>(value >> 64), static_cast<u64>(value)};
    }
    Value values[kMaxPower - kMinPower + 1];
};
inline constexpr PowersOfFive kPowersOfFive;
static_assert(kPowersOfFive.values[0].hi >> 63 == 1 &&
                  kPowersOfFive.values[kMaxPower - kMinPower].hi >> 63 == 1,
              "the highest bit of every significand is set");

// Returns significand * 10^power, correctly rounded. The significand must not be 0, and the power
// must lie between kMinPower and kMaxPower; all results are then normal numbers. This is
// algorithm 1 of D. Lemire, "Number Parsing at a Gigabyte per Second", 2021. N. Mushtak and D.
// Lemire, "Fast Number Parsing Without Fallback", 2023, explain why it needs no other conversion to
// fall back on.
[[gnu::always_inline]] inline double scale_by_power(u64 significand, int power) {
    constexpr int kMantissaBits = 52;  // bits stored
    const PowersOfFive::Value five = kPowersOfFive.values[power - kMinPower];
    const int shift = std::countl_zero(significand);
    significand <<= shift;
    u128 product = static_cast<u128>(significand) * five.hi;
    // The low half of the power would add at most 1 to the upper half of the product. That only
    // matters if it carries into the bits that are kept, so if all bits below them are set: nine or
    // ten bits, of which the lowest nine are tested.
    constexpr u64 kBelow = ~u64{0} >> (kMantissaBits + 3);
    if ((static_cast<u64>(product >> 64) & kBelow) == kBelow)
        product += static_cast<u128>(significand) * five.lo >> 64;
    const u64 hi = static_cast<u64>(product >> 64);
    const int upper = static_cast<int>(hi >> 63);
    const int extra = upper + 64 - kMantissaBits - 3;
    // The 53 bits of the result, of which the highest is always set, and one more for rounding.
    u64 mantissa = hi >> extra;
    // floor(power * log2(10)) by a multiplication, which is right for these powers.
    int exponent = ((217706 * power) >> 16) + 63 + upper - shift + 1023;
    // The next step rounds up if the last bit of the mantissa is set. But a product halfway between
    // two doubles, which only the powers from -4 to 23 can give, must be rounded to the even one.
    // So if rounding up would make the result odd, the last bit is cleared, and the step rounds
    // down. A product is halfway if no bit after that last bit is set; the 1 allows for a
    // reciprocal that was rounded up.
    if (static_cast<u64>(product) <= 1 && power >= -4 && power <= 23 && (mantissa & 3) == 1 &&
        mantissa << extra == hi)
        mantissa &= ~u64{1};
    mantissa = (mantissa + (mantissa & 1)) >> 1;
    // The highest bit of the mantissa is not stored: it adds 1 to the exponent, hence the -1. If
    // rounding has carried to a higher bit, the mantissa is 2^53 and adds 2, as it should.
    return std::bit_cast<double>(mantissa + (static_cast<u64>(exponent - 1) << kMantissaBits));
}

// The digits with which eight characters begin: how many there are, and their value. For example,
// "123,456]" begins with 3 digits of the value 123.
struct EightDigits {
    int count;
    u64 value;
};
// All eight characters are examined at once, as the bytes of a number whose lowest byte is the
// first character (so only on little-endian machines).
inline EightDigits read_eight_digits(const char* p) {
    u64 bytes = 0;
    memcpy(&bytes, p, sizeof(bytes));
    constexpr u64 kOnes = 0x0101010101010101;
    // In `others`, the high bit of a byte is set if the character is above "9" or below "0". Only
    // the byte of such a character can carry into the next byte, so the first such byte and all
    // before it are right.
    const u64 digits = bytes ^ ('0' * kOnes);
    const u64 others = (digits | (digits + (0x7F - 9) * kOnes)) & (0x80 * kOnes);
    const int count = others == 0 ? 8 : std::countr_zero(others) / 8;
    // Shifts the digits to the end, with zeros before them, so that what followed them is lost.
    // Then digits are combined into pairs, pairs into groups of four, and these into one number.
    // For example, 2561 is 10 * 256 + 1, so the first product adds ten times each digit to the one
    // after it.
    u64 value = count == 0 ? 0 : digits << (8 * (8 - count));
    value = (value & (0x0F * kOnes)) * 2561 >> 8;
    value = (value & 0x00FF00FF00FF00FF) * 6553601 >> 16;
    value = (value & 0x0000FFFF0000FFFF) * 42949672960001 >> 32;
    return {count, value};
}

// Appends the digits at `p` to a significand and returns their end. If there are more than 19
// digits, the significand overflows and is useless, but the end is right. All bytes before
// `safe_end` must be readable: there, eight are read at a time. From `safe_end` on, which may be
// before `p`, the digits must be followed by a byte that is not a digit.
[[gnu::always_inline]] inline const char* add_digits(const char* p, const char* safe_end,
                                                     u64* significand) {
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

// Reads an exponent after its "e". Returns its end, or nullptr if it is invalid or has more than
// four digits, which the general path reads. Exponents are short, so it reads byte by byte.
inline const char* read_exponent(const char* p, int* exponent) {
    constexpr ptrdiff_t kMaxDigits = 4;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        ++p;
    u64 value = 0;
    const char* end = add_digits(p, p, &value);
    if (end == p || end - p > kMaxDigits)
        return nullptr;
    *exponent = negative ? -static_cast<int>(value) : static_cast<int>(value);
    return end;
}

// Reads the number at `first`. The text must end in a byte that cannot occur in a number, and be
// readable up to `safe_end`. Returns kNone for anything that the fast path cannot validate, for
// integers that do not fit an i64, and for a number that is followed by a byte beyond ASCII, which
// makes it invalid. Any other byte may follow; what it means is for the next token.
[[gnu::always_inline]] inline QuickNumber read_number(const char* first, const char* safe_end) {
    constexpr ptrdiff_t kMaxDigits = 19;  // of a significand
    static_assert(std::numeric_limits<u64>::digits10 == kMaxDigits,
                  "every significand of so many digits fits");
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
        // With more digits, neither the significand nor the power is used, so the power may be any;
        // the number of digits might not fit an int.
        power = count <= kMaxDigits ? -static_cast<int>(p - fraction) : 0;
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
    // A byte beyond ASCII.
    if (static_cast<i8>(*p) < 0)
        return {};
    if (!is_real) {
        const u64 limit = static_cast<u64>(INT64_MAX) + (negative ? 1 : 0);
        if (count > kMaxDigits || significand > limit)
            return {};
        const u64 value = negative ? 0 - significand : significand;
        return {QuickNumber::kInteger, p, static_cast<i64>(value), 0};
    }
    if (count > kMaxDigits)
        return {QuickNumber::kRealText, p, 0, 0};
    double value = static_cast<double>(significand);
    if (significand <= kMaxExactSignificand && power <= kMaxExactPower && power >= -kMaxExactPower)
        value = power < 0 ? value / kPowersOfTen[-power] : value * kPowersOfTen[power];
    else if (significand != 0 && power >= kMinPower && power <= kMaxPower)
        value = scale_by_power(significand, power);
    else
        return {QuickNumber::kRealText, p, 0, 0};
    return {QuickNumber::kReal, p, 0, negative ? -value : value};
}

}  // namespace ke::json
