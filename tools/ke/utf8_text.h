// Characters and their UTF-8 bytes, for texts that are known to be valid.
#pragma once

#include <string>
#include <string_view>

#include "ke_utils/types.h"

namespace tool {

void append_utf8(std::string& text, u32 code_point);
// Returns the code point of the bytes of one character.
u32 code_point_of(std::string_view character);

}  // namespace tool
