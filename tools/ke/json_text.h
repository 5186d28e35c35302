// Documents as trees of the library, for commands that compute with values. The library's parser takes ASCII
// with "\u" escapes, so other characters are turned into escapes first. Mistakes are found before that, so
// that their positions are those in the user's text.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "ke_utils/json.h"

namespace tool {

struct UnrefJson {
    void operator()(wiq_json_t* node) const { wiq_json_unref(node); }
};
// A document that owns itself: it has no parent.
using Json = std::unique_ptr<wiq_json_t, UnrefJson>;

// Parses a document; `name` is the file or argument that messages name. Throws a Failure if the text is invalid
// or contains a number that the library cannot store.
Json parse_json(const std::string& name, std::string_view text);

// Dumps a tree without blanks. Throws a Failure.
std::string dump_json(wiq_json_t* node);

}  // namespace tool
