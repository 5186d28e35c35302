// JSON Patch (RFC 6902) applied to texts: everything that no operation names keeps its bytes.
#pragma once

#include <string>

#include "document.h"

namespace tool {

// Returns the document's text with all operations of the patch applied. If one fails, throws a Failure that
// shows its position in the patch. May move the text out of the input to save memory.
std::string apply_patch(Input& input, const Document& patch);

}  // namespace tool
