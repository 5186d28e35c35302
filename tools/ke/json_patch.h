// JSON Patch, RFC 6902, on texts: what no operation names keeps its bytes.
#pragma once

#include <string>

#include "document.h"

namespace tool {

// The document's text with all operations of the patch applied, or none: one that fails throws a Failure
// that shows it where it stands in the patch.
// Takes the text out of the input where that saves memory.
std::string apply_patch(Input& input, const Document& patch);

}  // namespace tool
