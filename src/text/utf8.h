// UTF-8 as the JSON reader and writer see it: the length that the first byte of a sequence
// announces, and whether the whole sequence is valid (RFC 3629: shortest form, no surrogate, at
// most U+10FFFF).
#pragma once

#include "ke_utils/types.h"

namespace ke {

// Returns the length that a lead byte announces, 1 to 4, or 0 for a byte that begins no valid
// sequence.
constexpr u32 utf8_length(u8 lead) {
    if (lead < 0x80)
        return 1;
    if (lead < 0xc2)
        return 0;
    if (lead < 0xe0)
        return 2;
    if (lead < 0xf0)
        return 3;
    return lead < 0xf5 ? 4 : 0;
}

constexpr bool utf8_is_continuation(u8 byte) {
    return (byte & 0xc0) == 0x80;
}

// Whether the `length` bytes at `s` are one valid sequence. `length` must be utf8_length() of the
// first byte.
constexpr bool utf8_valid_sequence(const u8* s, u32 length) {
    if (length == 0)
        return false;
    if (length == 1)
        return s[0] < 0x80;
    // The payload of the lead byte has 5, 4 or 3 bits if the length is 2, 3 or 4.
    u32 code_point = s[0] & (0x7fu >> length);
    for (u32 i = 1; i < length; ++i) {
        if (!utf8_is_continuation(s[i]))
            return false;
        code_point = code_point << 6 | (s[i] & 0x3fu);
    }
    if (length == 2)
        return code_point >= 0x80;
    if (length == 3)
        return code_point >= 0x800 && (code_point < 0xd800 || code_point > 0xdfff);
    return code_point >= 0x10000 && code_point <= 0x10ffff;
}

}  // namespace ke
