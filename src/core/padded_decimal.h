// Decimal digits with leading zeros.
#pragma once

#include "ke_utils/types.h"

namespace ke {

// Writes a value with exactly `width` decimal digits, which must be enough for it; returns the end.
template <class Unsigned>
constexpr char* write_padded(char* out, Unsigned value, int width) {
    for (int i = width - 1; i >= 0; --i) {
        out[i] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
    return out + width;
}

}  // namespace ke
