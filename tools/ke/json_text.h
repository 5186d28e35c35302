// JSON documents as people write them: UTF-8 in, UTF-8 out. The library's parser takes ASCII with "\u"
// escapes, so raw characters are turned into escapes on the way in, and places in its messages are turned
// back into places of the user's file.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "ke_utils/json.h"
#include "streams.h"

namespace tool {

struct UnrefJson {
    void operator()(wiq_json_t* node) const { wiq_json_unref(node); }
};
// A free-standing document.
using Json = std::unique_ptr<wiq_json_t, UnrefJson>;

// Parses a document; `name` is the file or argument that messages speak of. Throws a Failure.
Json parse_json(const std::string& name, std::string_view text);

// Dumps with the flags of wiq_json_sdump(), without a line feed at the end. Throws a Failure.
std::string dump_json(wiq_json_t* node, u32 flags);

// The node that a JSON pointer names. Throws a Failure that shows where the pointer leaves the document.
wiq_json_t* find(wiq_json_t* root, const std::string& pointer);

}  // namespace tool
