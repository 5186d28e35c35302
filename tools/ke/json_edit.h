// Edits a document's text, and changes no byte that the edit does not have to change. An edit is planned as a
// list of splices; a new member takes on the layout of its surroundings.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "document.h"
#include "json_style.h"
#include "sink.h"

namespace tool {

// Replaces the bytes from `start` to `stop` by a text. Lists of splices are sorted and do not overlap.
struct Splice {
    size_t start;
    size_t stop;
    std::string text;
};
using Splices = std::vector<Splice>;

// The changes to the children of one container.
struct ContainerEdit {
    std::vector<NodeId> removed;  // of its children
    // Appends the new children to a text, using the given separator between children and colon after keys;
    // nullptr if nothing is added.
    std::function<void(std::string& text, const std::string& separator, const std::string& colon)>
        add = nullptr;
};

// Stores a value, given as JSON text, where a pointer points to. Missing containers are created in the same
// way as by the library's wiq_json_ptr_put(); an empty step is an empty key.
Splices plan_set(const Document& document, const Pointer& pointer, std::string_view value);
// Removes what a pointer points to; of several members with the same key, all of them.
Splices plan_remove(const Document& document, const Pointer& pointer);
// Inserts a value before an array's element, or after the last one.
Splices plan_insert(const Document& document, NodeId array, u64 index, std::string_view value);
Splices plan_container(const Style& style, NodeId container, const ContainerEdit& edit);

std::string spliced(std::string_view text, const Splices& splices);
// As above, but only the text from `start` to `stop`, which must contain all splices.
std::string spliced_part(std::string_view text, size_t start, size_t stop, const Splices& splices);
void write_spliced(Sink& sink, std::string_view text, const Splices& splices);

}  // namespace tool
