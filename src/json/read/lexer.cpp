// Decodes the escapes of strings and converts the numbers that the fast path leaves. See lexer.h.

#include "json/read/lexer.h"

namespace ke::json {

namespace {

// Returns the value of the four hexadecimal digits of a "\u" escape.
u32 read_unit(const char* digits) {
    u32 unit = 0;
    for (int i = 0; i < 4; ++i)
        unit = unit << 4 | static_cast<u32>(hex_digit_value(digits[i]));
    return unit;
}

constexpr bool is_high_surrogate(u32 unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool is_low_surrogate(u32 unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// Reads an escape whose "\u" is before *p, and the next one if the two are a surrogate pair.
// Returns the code point, and moves *p past the escapes. Returns 0 for "\u0000", which no string
// may contain, and for a surrogate without its partner.
u32 read_code_point(const char** p, const char* last) {
    const u32 unit = read_unit(*p);
    *p += 4;
    if (is_low_surrogate(unit))
        return 0;
    if (!is_high_surrogate(unit))
        return unit;
    // The string is well formed, so "\u" is always followed by four digits.
    if (last - *p < 6 || (*p)[0] != '\\' || (*p)[1] != 'u')
        return 0;
    const u32 low = read_unit(*p + 2);
    *p += 6;
    return is_low_surrogate(low) ? ((unit - 0xD800) << 10) + (low - 0xDC00) + 0x10000 : 0;
}

char* write_utf8(char* out, u32 code_point) {
    if (code_point < 0x80) {
        *out++ = static_cast<char>(code_point);
        return out;
    }
    if (code_point < 0x800) {
        *out++ = static_cast<char>(0xC0 | code_point >> 6);
    } else {
        if (code_point < 0x10000) {
            *out++ = static_cast<char>(0xE0 | code_point >> 12);
        } else {
            *out++ = static_cast<char>(0xF0 | code_point >> 18);
            *out++ = static_cast<char>(0x80 | (code_point >> 12 & 0x3F));
        }
        *out++ = static_cast<char>(0x80 | (code_point >> 6 & 0x3F));
    }
    *out++ = static_cast<char>(0x80 | (code_point & 0x3F));
    return out;
}

// Returns what a backslash and `c` stand for: a quote, a slash and a backslash for themselves.
char unescape(char c) {
    switch (c) {
        case 'b':
            return '\b';
        case 'f':
            return '\f';
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        default:
            return c;
    }
}

}  // namespace

char* decode_string(const char* first, const char* last, char* out) {
    while (first != last) {
        if (*first != '\\') {
            const void* backslash = memchr(first, '\\', static_cast<size_t>(last - first));
            const char* run_end = backslash == nullptr ? last : static_cast<const char*>(backslash);
            const size_t run = static_cast<size_t>(run_end - first);
            memmove(out, first, run);
            out += run;
            first = run_end;
            continue;
        }
        const char c = first[1];
        first += 2;
        if (c != 'u') {
            *out++ = unescape(c);
            continue;
        }
        const u32 code_point = read_code_point(&first, last);
        if (code_point == 0)
            return nullptr;
        out = write_utf8(out, code_point);
    }
    return out;
}

i32 status_before_non_ascii(const char* first, const char* last, bool is_real) {
    i64 value = 0;
    return !is_real && parse_i64(first, last, &value) ? WIQ_ERR_TRAILING_CHARS : WIQ_ERR_BAD_FORMAT;
}

wiq_uint128 wrap_u128(const char* first, const char* last) {
    const bool negative = *first == '-';
    u128 value = 0;
    for (const char* p = negative ? first + 1 : first; p != last; ++p)
        value = value * 10 + static_cast<u128>(*p - '0');
    return from_native(negative ? 0 - value : value);
}

}  // namespace ke::json
