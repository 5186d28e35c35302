// Places in an array, and the moves of single elements that the sources of the document model share.
// Indices here are checked already; what callers may pass is in ke_utils/json.h.
#pragma once

#include "json/node.h"

namespace ke::json {

// The place that an index names, a negative one counting from the end; -1 if there is none.
inline i32 resolve_index(const ArrayNode* array, i32 index) {
    const i32 size = size_of(array);
    if (index < 0) {
        index = index < -size ? -1 : index + size;
    }
    return index < size ? index : -1;
}

// The place of an element in its parent. Its recorded position may be a negative index that the array has
// since outgrown, so it is a guess to be confirmed.
i32 place_of(const ArrayNode* array, const wiq_json* elem);

// Puts the child in an element's place and hands the element over to the caller. `position` is what the
// child is told about its place.
wiq_json* swap_elem(ArrayNode* array, i32 index, i32 position, wiq_json* child);

// Takes off the last element and hands it over to the caller.
wiq_json* pop_elem(ArrayNode* array);

// Tells the elements whose parent the array is their places, after some have moved.
void renumber(ArrayNode* array);

}  // namespace ke::json
