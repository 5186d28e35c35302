// Converts JSON strings and numbers between their written form and their meaning.
#pragma once

#include <string>
#include <string_view>

#include "ke_utils/types.h"

namespace tool {

// Decodes a string token (valid, with its quotes) to UTF-8.
std::string decode_string(std::string_view token);
// Encodes a text as a string token with quotes; throws a Failure if the text is not valid UTF-8.
std::string encode_string(std::string_view text);
// Returns whether a key or string token represents this text.
bool stands_for(std::string_view token, std::string_view text);

// Compares two number tokens exactly, without ever rounding. Returns a value below 0, 0, or a value above 0.
int compare_numbers(std::string_view a, std::string_view b);

enum class Fit { i64, u64, u128, real, too_large };
// Returns the type in which the library can store a number. A number is too large if it has a fraction or an
// exponent and as a double would be infinite, or if it is an integer below -2^63 or of more than 128 bits.
Fit fit_of(std::string_view number);

}  // namespace tool
