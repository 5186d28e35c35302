// JSON pointers as the tool reads them: the library's rules for steps into objects and arrays, applied to
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
    std::string text;  // as it was given
    std::vector<Step> steps;
    // An object that the library reads as a reference has members here like any other.
    bool enters_references = false;

    // The pointer's text up to and with a step, for messages.
    std::string up_to(size_t step) const;
};

// Reads a pointer, also with "#" in front; throws a Failure that names it if it is none.
Pointer parse_pointer(const std::string& text);

// One step, escaped: "/" and the name.
std::string escaped_step(std::string_view name);

// "pointer "/a/b", at "/a": MEANING (NAME, NUMBER)"
struct Failure pointer_failure(const Pointer& pointer, size_t step, i32 status);

}  // namespace tool
