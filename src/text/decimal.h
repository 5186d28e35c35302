// Whole numbers as decimal digits, without a format string. Nothing here terminates the text.
#pragma once

#include <charconv>

#include "ke_utils/types.h"

namespace ke {

constexpr size_t kMaxDecimalDigits64 = 20;  // 2^64 - 1, or a sign and 19 digits

// Writes `value` at `out`, which has room for kMaxDecimalDigits64 characters; returns the end of
// what was written.
inline char* write_u64(char* out, u64 value) {
    return std::to_chars(out, out + kMaxDecimalDigits64, value).ptr;
}
inline char* write_i64(char* out, i64 value) {
    return std::to_chars(out, out + kMaxDecimalDigits64, value).ptr;
}

}  // namespace ke
