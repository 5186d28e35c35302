// Reading the usual numbers of JSON text in one pass: integers of up to 18 digits, and reals whose value can
// be had exactly with one multiplication or division. The rest is left to the conversions of
// text/numbers.h.
#pragma once

#include "ke_utils/types.h"
#include "text/ctype.h"

namespace ke::json {

struct QuickNumber {
    enum Kind { kNone, kInteger, kReal, kRealText } kind = kNone;
    const char* end = nullptr;
    i64 integer = 0;
    double real = 0;  // not of kRealText, which is a real that needs a conversion of its own
};

// A significand of up to 15 digits and powers of ten up to 22 are doubles without rounding, so that their
// product or quotient is rounded once, correctly (W. D. Clinger, "How to Read Floating Point Numbers
// Accurately", 1990).
constexpr int kExactDigits = 15;
constexpr int kExactPower = 22;
inline constexpr double kPowersOfTen[kExactPower + 1] = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// Adds the digits at `p` to a significand, which is of use only if there were few of them. Their end.
inline const char* add_digits(const char* p, u64* significand) {
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
    const char* end = add_digits(p, &value);
    if (end == p || end - p > kMostDigits)
        return nullptr;
    *exponent = negative ? -static_cast<int>(value) : static_cast<int>(value);
    return end;
}

// Reads a number at `first`, in text that a byte ends which no number has. kNone is a number of which this
// cannot tell at once that it is right and what it is; a byte beyond ASCII behind it spoils one.
inline QuickNumber read_number(const char* first) {
    constexpr ptrdiff_t kSafeDigits = 18;
    const bool negative = *first == '-';
    const char* digits = negative ? first + 1 : first;
    u64 significand = 0;
    const char* p = add_digits(digits, &significand);
    ptrdiff_t count = p - digits;
    if (count == 0 || (*digits == '0' && count != 1))
        return {};
    bool is_real = false;
    int power = 0;
    if (*p == '.') {
        const char* fraction = p + 1;
        p = add_digits(fraction, &significand);
        if (p == fraction)
            return {};
        count += p - fraction;
        power = count <= kExactDigits ? -static_cast<int>(p - fraction) : 0;
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
    if (count > kExactDigits || power > kExactPower || power < -kExactPower)
        return {QuickNumber::kRealText, p, 0, 0};
    double value = static_cast<double>(significand);
    value = power < 0 ? value / kPowersOfTen[-power] : value * kPowersOfTen[power];
    return {QuickNumber::kReal, p, 0, negative ? -value : value};
}

}  // namespace ke::json
