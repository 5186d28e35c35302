// Documents as trees of the library, for what computes with values. The library's parser takes ASCII with
// "\u" escapes, so characters of users' texts are turned into escapes on the way in; mistakes are found
// before that, where they stand.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "ke_utils/json.h"

namespace tool {

struct UnrefJson {
    void operator()(wiq_json_t* node) const { wiq_json_unref(node); }
};
// A free-standing document.
using Json = std::unique_ptr<wiq_json_t, UnrefJson>;

// Parses a document; `name` is the file or argument that messages speak of. Throws a Failure, also for a
// number that the library cannot keep.
Json parse_json(const std::string& name, std::string_view text);

// Dumps without blanks. Throws a Failure.
std::string dump_json(wiq_json_t* node);

}  // namespace tool
