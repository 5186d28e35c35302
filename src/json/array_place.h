// The positions of elements in an array, and the moves of single elements that several sources of
// the document model need. Nothing is checked here; what callers may pass is in ke_utils/json.h.
#pragma once

#include "json/node.h"

namespace ke::json {

// Returns the slot that an index names; otherwise returns -1. A negative index counts from the end.
inline i32 resolve_index(const ArrayNode* array, i32 index) {
    const i32 size = size_of(array);
    if (index < 0) {
        index = index < -size ? -1 : index + size;
    }
    return index < size ? index : -1;
}

// Returns the slot of an element of this array. The element's position is a first guess that is
// confirmed: it may be a negative index that meant another slot when the array was shorter, or a
// number that a filter of a weak array has left.
i32 slot_of(const ArrayNode* array, const wiq_json* elem);

// Puts the child in the slot `index` and hands the old element over to the caller. The child's
// position becomes `position`.
wiq_json* swap_elem(ArrayNode* array, i32 index, i32 position, wiq_json* child);

// Removes the last element, which must exist, and hands it over to the caller.
wiq_json* pop_elem(ArrayNode* array);

// Sets the positions of the elements whose parent is the array, after some have moved.
void renumber(ArrayNode* array);

}  // namespace ke::json
