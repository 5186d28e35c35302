// Character classes of the "C" locale, whatever locale the process has set. Only ASCII characters
// have classes: bytes from 128 up belong to none.
#pragma once

#include "ke_utils/types.h"

namespace ke {

constexpr bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool is_upper(char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr bool is_lower(char c) {
    return c >= 'a' && c <= 'z';
}
constexpr bool is_alpha(char c) {
    return is_upper(c) || is_lower(c);
}
constexpr bool is_print(char c) {
    return c >= 0x20 && c < 0x7f;
}
constexpr char to_upper(char c) {
    return is_lower(c) ? static_cast<char>(c - 'a' + 'A') : c;
}
constexpr char to_lower(char c) {
    return is_upper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}

// The value of each character as a hexadecimal digit, or -1 if it is not one.
struct HexDigits {
    constexpr HexDigits() : values() {
        for (int c = 0; c < 256; ++c) {
            values[c] = static_cast<i8>(c >= '0' && c <= '9'   ? c - '0'
                                        : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                        : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                               : -1);
        }
    }
    i8 values[256];
};
inline constexpr HexDigits kHexDigits;

constexpr i32 hex_digit_value(char c) {
    return kHexDigits.values[static_cast<u8>(c)];
}

// The digits of bases up to 36.
inline constexpr char kDigits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

// Returns the value of a digit in bases up to 36, with letters in either case, or -1 for any other
// character.
constexpr i32 digit_value(char c) {
    if (is_digit(c))
        return c - '0';
    return is_alpha(c) ? to_lower(c) - 'a' + 10 : -1;
}
constexpr bool is_hex_digit(char c) {
    return hex_digit_value(c) >= 0;
}

}  // namespace ke
