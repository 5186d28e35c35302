// Edits of a document's text that touch nothing but the bytes of what they are asked to change. An edit is
// planned as a list of splices, and a new member takes on the layout of what stands around it.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "document.h"
#include "json_style.h"
#include "sink.h"

namespace tool {

// The bytes from `start` up to `stop` are replaced by a text. Lists of splices are sorted and do not
// overlap.
struct Splice {
    size_t start;
    size_t stop;
    std::string text;
};
using Splices = std::vector<Splice>;

// What is to happen to the children of one container.
struct ContainerEdit {
    std::vector<NodeId> removed;  // of its children
    // Writes what is added behind a text, with the separator between children and the colon behind keys; empty
    // if nothing is added.
    std::function<void(std::string& text, const std::string& separator, const std::string& colon)>
        add = nullptr;
};

// Stores a value, given as JSON text, where a pointer names it. Missing containers are made as the
// library's wiq_json_ptr_put() makes them; an empty step is an empty key.
Splices plan_set(const Document& document, const Pointer& pointer, std::string_view value);
// Removes what a pointer names; of equal keys all.
Splices plan_remove(const Document& document, const Pointer& pointer);
// Puts a value in front of an array's element, or behind the last.
Splices plan_insert(const Document& document, NodeId array, u64 index, std::string_view value);
Splices plan_container(const Style& style, NodeId container, const ContainerEdit& edit);

std::string spliced(std::string_view text, const Splices& splices);
// The same of the text from `start` up to `stop` alone, within which all splices are.
std::string spliced_part(std::string_view text, size_t start, size_t stop, const Splices& splices);
void write_spliced(Sink& sink, std::string_view text, const Splices& splices);

}  // namespace tool
