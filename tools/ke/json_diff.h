// The JSON Patch (RFC 6902) that turns one document into another.
#pragma once

#include <string>

#include "document.h"

namespace tool {

// Returns an array of operations without blanks; "[]" if the documents are equal.
std::string difference_patch(const Document& a, const Document& b);

}  // namespace tool
