// 128-bit unsigned integers: arithmetic modulo 2^128, text in bases 2 to 37, and the packed 24-bit
// and 48-bit integers of device records.
#include "text/uint128.h"

#include <cstring>

#include "core/padded_decimal.h"
#include "ke_utils/core.h"
#include "text/ctype.h"
#include "text/decimal.h"

using ke::from_native;
using ke::kDigits;
using ke::to_native;
using ke::u128;

namespace {

// 10^19 is the largest power of ten that fits into 64 bits. A number of 128 bits has at most three
// chunks of 19 digits.
constexpr u64 kChunk = 10000000000000000000u;
constexpr int kChunkDigits = 19;

// Writes the digits of `value` so that they end at `end`; returns their start. A digit of value 36,
// which occurs in base 37, is the NUL that terminates kDigits. The first loop divides 128 bits, the
// second only the 64 that are left, which is much faster.
char* write_digits_before(char* end, u128 value, u32 base) {
    u64 low = static_cast<u64>(value);
    for (; value >> 64 != 0; low = static_cast<u64>(value)) {
        *--end = kDigits[static_cast<u32>(value % base)];
        value /= base;
    }
    do {
        *--end = kDigits[low % base];
        low /= base;
    } while (low != 0);
    return end;
}

// Steps over the base prefix at *text and returns the base.
u32 take_base(const char** text) {
    if (**text != '0')
        return 10;
    ++*text;
    if (**text != 'x' && **text != 'X')
        return 8;
    ++*text;
    return 16;
}

}  // namespace

namespace ke {

char* write_u128(char* out, wiq_uint128 value) {
    if (value.hi == 0)
        return write_u64(out, value.lo);
    const u128 native = to_native(value);
    const u128 upper = native / kChunk;
    const u64 lowest = static_cast<u64>(native % kChunk);
    if (upper < kChunk) {
        out = write_u64(out, static_cast<u64>(upper));
    } else {
        out = write_u64(out, static_cast<u64>(upper / kChunk));
        out = ke::write_padded(out, static_cast<u64>(upper % kChunk), kChunkDigits);
    }
    return ke::write_padded(out, lowest, kChunkDigits);
}

}  // namespace ke

wiq_uint128 wiq_uint128_add(wiq_uint128 a, wiq_uint128 b) {
    return from_native(to_native(a) + to_native(b));
}

wiq_uint128 wiq_uint128_sub(wiq_uint128 a, wiq_uint128 b) {
    return from_native(to_native(a) - to_native(b));
}

wiq_uint128 wiq_uint128_neg(wiq_uint128 a) {
    return from_native(-to_native(a));
}

wiq_uint128 wiq_uint128_mul(wiq_uint128 a, wiq_uint128 b) {
    return from_native(to_native(a) * to_native(b));
}

i32 wiq_uint128_div(wiq_uint128 a, wiq_uint128 b, wiq_uint128* quotient, wiq_uint128* remainder) {
    const u128 divisor = to_native(b);
    if (divisor == 0)
        return WIQ_ERR_INVALID_ARG;
    const u128 dividend = to_native(a);
    const u128 result = dividend / divisor;
    if (quotient != nullptr)
        *quotient = from_native(result);
    if (remainder != nullptr)
        *remainder = from_native(dividend - result * divisor);
    return 0;
}

wiq_uint128 wiq_uint128_lshift(wiq_uint128 a, u64 count) {
    return count >= 128 ? wiq_uint128{0, 0} : from_native(to_native(a) << count);
}

wiq_uint128 wiq_uint128_rshift(wiq_uint128 a, u64 count) {
    return count >= 128 ? wiq_uint128{0, 0} : from_native(to_native(a) >> count);
}

bool wiq_uint128_lt(wiq_uint128 a, wiq_uint128 b) {
    return to_native(a) < to_native(b);
}

bool wiq_uint128_le(wiq_uint128 a, wiq_uint128 b) {
    return to_native(a) <= to_native(b);
}

i32 wiq_uint128_from_str(const char* text, wiq_uint128* out) {
    if (text == nullptr || out == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (*text == '\0')
        return WIQ_ERR_BAD_FORMAT;
    while (*text == ' ' || *text == '\t')
        ++text;
    const bool negate = *text == '-';
    if (negate)
        ++text;
    const u32 base = take_base(&text);
    u128 value = 0;
    i32 status = 0;
    for (; *text != '\0'; ++text) {
        const i32 digit = ke::digit_value(*text);
        if (digit < 0 || static_cast<u32>(digit) >= base) {
            status = WIQ_ERR_BAD_FORMAT;
            break;
        }
        value = value * base + static_cast<u32>(digit);
    }
    *out = from_native(negate ? -value : value);
    return status;
}

i32 wiq_uint128_to_str(wiq_uint128 a, i32 base, char* buf, u64 size) {
    if (buf == nullptr || size == 0)
        return WIQ_ERR_INVALID_ARG;
    if (base < 2 || base > 37)
        return WIQ_ERR_BAD_RADIX;
    char digits[128];  // base 2 needs the most digits
    char* first = digits;
    char* end = digits + sizeof digits;
    if (base == 10)
        end = ke::write_u128(first, a);
    else
        first = write_digits_before(end, to_native(a), static_cast<u32>(base));
    const u64 length = static_cast<u64>(end - first);
    if (length + 1 > size)
        return WIQ_ERR_BUFFER_TOO_SMALL;
    memcpy(buf, first, length);
    buf[length] = '\0';
    return static_cast<i32>(length + 1);
}

wiq_uint24 wiq_uint24_init(u32 value) {
    return {{static_cast<u8>(value), static_cast<u8>(value >> 8), static_cast<u8>(value >> 16)}};
}

wiq_uint48 wiq_uint48_init(u64 value) {
    wiq_uint48 packed;
    for (u32 i = 0; i < sizeof packed.bytes; ++i)
        packed.bytes[i] = static_cast<u8>(value >> (8 * i));
    return packed;
}
