// JSON Merge Patch (RFC 7396) applied to texts: everything that the patch does not name keeps its bytes.
#pragma once

#include <string>

#include "document.h"

namespace tool {

// Returns the document's text with the patch applied. May move the text out of the input to save memory.
std::string apply_merge(Input& input, const Document& patch);

}  // namespace tool
