// Strings and numbers of JSON as they are written, and what they stand for.
#pragma once

#include <string>
#include <string_view>

#include "ke_utils/types.h"

namespace tool {

// What a string token (with its quotes, known to be good) stands for, in UTF-8.
std::string decode_string(std::string_view token);
// A text as a string token, with its quotes; throws a Failure if it is no valid UTF-8.
std::string encode_string(std::string_view text);
// Whether a key or string token stands for this text.
bool stands_for(std::string_view token, std::string_view text);

// A number token as it is, without ever rounding: compares two of them exactly. Below 0, 0, above 0.
int compare_numbers(std::string_view a, std::string_view b);

enum class Fit { i64, u64, u128, real, too_large };
// What the library can keep a number in; a fraction or an exponent that makes a double an infinity, and an
// integer below -2^63 or of more than 128 bits, are too large for it.
Fit fit_of(std::string_view number);

}  // namespace tool
