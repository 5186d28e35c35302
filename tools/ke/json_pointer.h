// JSON pointers as the tool reads them: it applies the library's rules for steps into objects and arrays to
// texts instead of trees.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ke_utils/types.h"

namespace tool {

struct Step {
    std::string name;
    bool is_index = false;
    u64 index = 0;
    bool is_append = false;  // "-"
};

struct Pointer {
    std::string text;  // as the user wrote it
    std::vector<Step> steps;
    // If set, the members of an object that the library reads as a reference can be reached like any others.
    bool enters_references = false;

    // Returns the pointer's text up to and including a step, for messages.
    std::string up_to(size_t step) const;
};

// Parses a pointer, with or without a leading "#"; throws a Failure that names it if it is invalid.
Pointer parse_pointer(const std::string& text);

// Returns one step in escaped form: "/" and the name.
std::string escaped_step(std::string_view name);

// Makes a message of the form "pointer "/a/b", at "/a": MEANING (NAME, NUMBER)".
struct Failure pointer_failure(const Pointer& pointer, size_t step, i32 status);

}  // namespace tool
