// Which values of a document are meant, and what of them is shown.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "document.h"

namespace tool {

// What a value must hold: `value`, a text or JSON, where the pointer leads.
struct Condition {
    Pointer pointer;
    std::string value;
};
// Reads POINTER=VALUE; throws a Failure if it is not that.
Condition parse_condition(const std::string& text);

struct View {
    bool raw = false, keys = false, length = false, type = false;
    std::vector<Condition> where;  // all must hold
};

// Reports the values whose places a pattern fits, in the order of the text: "*" is any one step, "**" any
// number. Of equal keys the last counts. Returns how many there are.
u64 for_matches(const Document& document, const Pointer& pattern,
                const std::function<void(NodeId)>& report);

// Prints one value, or what of it is asked for, and a line feed; nothing if it does not hold what it must.
void print_view(Sink& sink, std::string_view text, const View& view, const Layout& layout);

// A JSON value that was given as an argument, without the blanks around it; a mistake names the argument.
std::string value_of_argument(const std::string& name, const std::string& text);

}  // namespace tool
