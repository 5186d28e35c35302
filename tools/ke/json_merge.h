// JSON Merge Patch, RFC 7396, on texts: what the patch does not name keeps its bytes.
#pragma once

#include <string>

#include "document.h"

namespace tool {

// The document's text with the patch applied.
std::string apply_merge(const Input& input, const Document& patch);

}  // namespace tool
