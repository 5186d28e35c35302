// What the sources of the document model do with the elements of arrays: finding, replacing, moving
// them. Nothing is checked here; what callers may pass is in ke_utils/json.h.
#pragma once

#include "json/model/node.h"

namespace ke::json {

// Returns the slot that an index names; otherwise returns -1. A negative index counts from the end.
inline i32 resolve_index(const ArrayNode* array, i32 index) {
    const i32 size = size_of(array);
    if (index < 0)
        index = index < -size ? -1 : index + size;
    return index < size ? index : -1;
}

// Returns the element that an index names; otherwise returns nullptr.
inline wiq_json* elem_at(const ArrayNode* array, i32 index) {
    const i32 slot = resolve_index(array, index);
    return slot >= 0 ? elems_of(array)[slot] : nullptr;
}

// Returns the slot of an element, which must be in this array. Its position is tried first, and
// usually is the slot. But it may also be a negative index that meant another slot when the array
// was shorter, or a number that a filter of a weak array has left. Then the array is searched.
inline i32 slot_of(const ArrayNode* array, const wiq_json* elem) {
    const i32 guess = resolve_index(array, static_cast<i32>(elem->position.index));
    if (guess >= 0 && elems_of(array)[guess] == elem)
        return guess;
    i32 slot = 0;
    while (elems_of(array)[slot] != elem)
        ++slot;
    return slot;
}

// Puts the child in the slot `index` and hands the old element over to the caller. The child's
// position becomes `position`.
wiq_json* swap_elem(ArrayNode* array, i32 index, i32 position, wiq_json* child);

// Removes the last element, which must exist, and hands it over to the caller.
wiq_json* pop_elem(ArrayNode* array);

// Sets the positions of the elements whose parent is the array, after some have moved.
void renumber(ArrayNode* array);

}  // namespace ke::json
