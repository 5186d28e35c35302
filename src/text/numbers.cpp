// Text to numbers. These functions give what the runtime's strtoll(), strtoull() and strtod() give
// in the "C" locale. They are written here so that no locale, and no runtime's own reading of the C
// standard, can change a result.
#include "text/numbers.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <string_view>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "text/ctype.h"

namespace ke {
namespace {

// An integer as strtoll() in base 0 finds it at the beginning of a text.
struct IntegerText {
    u64 magnitude;  // without the sign; the largest value if it overflows
    bool negative;
    bool overflow;
    const char* end;  // after the last digit; the start of the text if there is no digit
};

// Steps over "0x" or "0X" and returns the base. The prefix counts only before a hexadecimal digit;
// otherwise the number is the "0" alone, which is read in base 8.
u32 take_prefix(const char** p) {
    if (**p != '0')
        return 10;
    const char* next = *p + 1;
    if (*next != 'x' && *next != 'X')
        return 8;
    if (!is_hex_digit(next[1]))
        return 8;
    *p = next + 1;
    return 16;
}

IntegerText scan_integer(const char* text) {
    IntegerText result{0, false, false, text};
    const char* p = text;
    while (is_space(*p))
        ++p;
    if (*p == '-' || *p == '+')
        result.negative = *p++ == '-';
    const u32 base = take_prefix(&p);
    const char* first_digit = p;
    u64 value = 0;
    for (;; ++p) {
        const i32 digit = digit_value(*p);
        if (digit < 0 || static_cast<u32>(digit) >= base)
            break;
        if (__builtin_mul_overflow(value, u64{base}, &value) ||
            __builtin_add_overflow(value, static_cast<u64>(digit), &value))
            result.overflow = true;
    }
    if (p != first_digit)
        result.end = p;
    result.magnitude = result.overflow ? std::numeric_limits<u64>::max() : value;
    return result;
}

i32 conversion_status(const IntegerText& number, const char* text, bool out_of_range) {
    if (out_of_range)
        return WIQ_ERR_RANGE;
    if (number.end == text)
        return WIQ_ERR_BAD_FORMAT;
    return *number.end != '\0' ? WIQ_ERR_TRAILING_CHARS : 0;
}

// Stores the signed value, clamped to 64 bits, and returns the status of that conversion.
i32 convert_signed(const char* text, i64* out) {
    const IntegerText number = scan_integer(text);
    const u64 limit = static_cast<u64>(INT64_MAX) + (number.negative ? 1 : 0);
    const bool out_of_range = number.magnitude > limit;
    const u64 magnitude = out_of_range ? limit : number.magnitude;
    *out = static_cast<i64>(number.negative ? 0 - magnitude : magnitude);
    return conversion_status(number, text, out_of_range);
}

// The unsigned types that are narrower than 64 bits differ only in their largest value.
template <class Unsigned>
i32 convert_narrow_unsigned(const char* text, Unsigned* out) {
    if (text == nullptr || out == nullptr)
        return WIQ_ERR_INVALID_ARG;
    constexpr i64 kMax = std::numeric_limits<Unsigned>::max();
    i64 value = 0;
    const i32 status = convert_signed(text, &value);
    // A negative number is stored, too, and wraps.
    *out = static_cast<Unsigned>(value);
    if (value < 0)
        return WIQ_ERR_BAD_FORMAT;
    if (value > kMax) {
        *out = static_cast<Unsigned>(kMax);
        return WIQ_ERR_RANGE;
    }
    return status;
}

// Returns the position of the first nonzero digit, as a power of the base: 0 directly after the
// point, 1 directly before it ("1" has order 1, "0.01" order -1). In base 16 it is counted in
// powers of two, four for each digit. The text from `p` to `end` must be a valid number in base 10
// or 16, and any exponent must follow a mark ("e" or "p").
i64 order_of(const char* p, const char* end, u32 base) {
    constexpr i64 kMaxExponent = i64{1} << 56;  // no text is that long, and the sums stay in range
    const i64 weight = base == 16 ? 4 : 1;
    const char mark = base == 16 ? 'p' : 'e';
    i64 order = 0;
    bool point = false;
    bool significant = false;
    for (; p != end && to_lower(*p) != mark; ++p) {
        if (*p == '.') {
            point = true;
            continue;
        }
        significant = significant || *p != '0';
        if (significant && !point)
            order += weight;
        if (!significant && point)
            order -= weight;
    }
    if (p == end)
        return order;
    ++p;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        ++p;
    i64 exponent = 0;
    for (; p != end; ++p) {
        if (exponent < kMaxExponent)
            exponent = exponent * 10 + (*p - '0');
    }
    return order + (negative ? -exponent : exponent);
}

// Whether std::from_chars() may read a number wrongly. In base 10 it ignores the rest of an
// exponent once the digits read make 2^28. In base 16 it counts the bits of the digits in an int,
// which 2^29 digits overflow.
bool is_too_long(const char* first, const char* end, u32 base) {
    constexpr i64 kMaxTrustedHexDigits = 1'000'000;
    constexpr i64 kMaxTrustedExponentDigits = 8;  // digits
    if (base == 16)
        return end - first > kMaxTrustedHexDigits;
    const char* digits = end;
    while (digits != first && is_digit(digits[-1]))
        --digits;
    if (end - digits <= kMaxTrustedExponentDigits || digits == first)
        return false;
    const char* mark = digits - 1;
    if ((*mark == '-' || *mark == '+') && mark != first)
        --mark;
    return to_lower(*mark) == 'e';
}

// Returns the value of such a number. The number is written again, with a small exponent and with
// as many digits as can matter: 767, and one more that tells whether any digit after them is
// nonzero.
double read_too_long(const char* p, const char* end, u32 base) {
    constexpr size_t kMaxDigits = 767;
    constexpr i64 kMaxOrder = 2000;  // greater than the exponent of any double, in either base
    const char mark = base == 16 ? 'p' : 'e';
    const i64 weight = base == 16 ? 4 : 1;
    const i64 order = order_of(p, end, base);
    char text[kMaxDigits + 16] = {};
    size_t count = 0;
    bool more = false;
    for (; p != end && to_lower(*p) != mark; ++p) {
        if (*p == '.' || (*p == '0' && count == 0))
            continue;
        if (count < kMaxDigits)
            text[count++] = *p;
        else
            more = more || *p != '0';
    }
    if (count == 0 || order < -kMaxOrder)
        return 0.0;
    if (order > kMaxOrder)
        return std::numeric_limits<double>::infinity();
    if (more)
        text[count++] = '1';
    char* out = text + count;
    *out++ = mark;
    out = std::to_chars(out, text + sizeof(text), order - weight * static_cast<i64>(count)).ptr;
    const auto format = base == 16 ? std::chars_format::hex : std::chars_format::general;
    double value = 0;
    if (std::from_chars(text, out, value, format).ec == std::errc::result_out_of_range)
        value = order > 0 ? std::numeric_limits<double>::infinity() : 0.0;
    return value;
}

bool has_hex_prefix(const char* p, const char* last) {
    return last - p > 2 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X') &&
           (is_hex_digit(p[2]) || p[2] == '.');
}

}  // namespace

const char* parse_double(const char* first, const char* last, double* out) {
    const char* p = first;
    const bool negative = p != last && *p == '-';
    if (p != last && (*p == '-' || *p == '+'))
        ++p;
    if (p == last || *p == '-')
        return first;
    double value = 0;
    u32 base = 10;
    std::from_chars_result result{first, std::errc::invalid_argument};
    if (has_hex_prefix(p, last)) {
        // std::from_chars() accepts two signs before a hexadecimal exponent, so hide the second.
        const std::string_view rest(p + 2, static_cast<size_t>(last - p - 2));
        const char* end = p + 2 + std::min(rest.find("+-"), rest.size());
        result = std::from_chars(p + 2, end, value, std::chars_format::hex);
    }
    if (result.ec != std::errc::invalid_argument) {
        base = 16;
        p += 2;
    } else {
        // If no number follows "0x", only the "0" counts.
        result = std::from_chars(p, last, value, std::chars_format::general);
    }
    if (result.ec == std::errc::invalid_argument)
        return first;
    if (result.ec == std::errc::result_out_of_range) {
        // std::from_chars() does not tell a number that is too large from one that is too small.
        const bool large = order_of(p, result.ptr, base) > 0;
        value = large ? std::numeric_limits<double>::infinity() : 0.0;
    }
    if (is_too_long(p, result.ptr, base))
        value = read_too_long(p, result.ptr, base);
    *out = negative ? -value : value;
    return result.ptr;
}

}  // namespace ke

i32 wiq_strtoint32(const char* text, i32* out) {
    if (text == nullptr || out == nullptr)
        return WIQ_ERR_INVALID_ARG;
    i64 value = 0;
    const i32 status = ke::convert_signed(text, &value);
    if (value > INT32_MAX || value < INT32_MIN) {
        *out = value < 0 ? INT32_MIN : INT32_MAX;
        return WIQ_ERR_RANGE;
    }
    *out = static_cast<i32>(value);
    return status;
}

i32 wiq_strtoint64(const char* text, i64* out) {
    if (text == nullptr || out == nullptr)
        return WIQ_ERR_INVALID_ARG;
    return ke::convert_signed(text, out);
}

i32 wiq_strtouint16(const char* text, u16* out) {
    return ke::convert_narrow_unsigned(text, out);
}

i32 wiq_strtouint32(const char* text, u32* out) {
    return ke::convert_narrow_unsigned(text, out);
}

i32 wiq_strtouint64(const char* text, u64* out) {
    if (text == nullptr || out == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const ke::IntegerText number = ke::scan_integer(text);
    const bool wraps = number.negative && !number.overflow;
    *out = wraps ? 0 - number.magnitude : number.magnitude;
    // A sign after any other white space is not noticed; callers rely on the wrapped value.
    const char* p = text;
    while (*p == ' ' || *p == '\t')
        ++p;
    if (*p == '-')
        return WIQ_ERR_BAD_FORMAT;
    return ke::conversion_status(number, text, number.overflow);
}

i32 wiq_strtodouble(const char* text, double* out) {
    if (text == nullptr || out == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (*text == '\0')
        return WIQ_ERR_BAD_FORMAT;
    *out = 0.0;
    while (ke::is_space(*text))
        ++text;
    const char* last = text + strlen(text);
    double value = 0;
    // White space alone needs a test of its own: without a number, parse_double() returns the start
    // of the text, which here is also its end.
    if (text == last || ke::parse_double(text, last, &value) != last)
        return WIQ_ERR_BAD_FORMAT;
    *out = value;
    return 0;
}
