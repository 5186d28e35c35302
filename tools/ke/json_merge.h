// JSON Merge Patch, RFC 7396, on texts: what the patch does not name keeps its bytes.
#pragma once

#include <string>

#include "document.h"

namespace tool {

// The document's text with the patch applied.
// Takes the text out of the input where that saves memory.
std::string apply_merge(Input& input, const Document& patch);

}  // namespace tool
