// Selects values of a document, and decides how they are shown.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "document.h"

namespace tool {

// The condition that what the pointer points to equals `value`, which is a text or JSON.
struct Condition {
    Pointer pointer;
    std::string value;
};
// Parses POINTER=VALUE; throws a Failure if the text does not have this form.
Condition parse_condition(const std::string& text);

struct View {
    bool raw = false, keys = false, length = false, type = false;
    std::vector<Condition> where;  // all must hold
};

// Reports the values whose pointers match a pattern, in the order of the text: "*" matches any one step, "**"
// any number of steps. Of several members with the same key the last counts. Returns the number of matches.
u64 for_matches(const Document& document, const Pointer& pattern,
                const std::function<void(NodeId)>& report);

// Prints one value, or the part that the view asks for, and a line feed; nothing if a condition does not
// hold.
void print_view(Sink& sink, std::string_view text, const View& view, const Layout& layout);

// Returns a JSON value that was given as an argument, without the blanks around it. A Failure names the
// argument.
std::string value_of_argument(const std::string& name, const std::string& text);

}  // namespace tool
