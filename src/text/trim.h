// White space at the ends of a text.
#pragma once

#include <string_view>

#include "text/ctype.h"

namespace ke {

// Returns the text without the white space at both ends.
constexpr std::string_view trimmed(std::string_view text) {
    while (!text.empty() && is_space(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_space(text.back()))
        text.remove_suffix(1);
    return text;
}

}  // namespace ke
