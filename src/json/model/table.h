// The tables of containers: making, growing and freeing them. A table is inline if it follows its
// node in the node's block (node.h); otherwise it has a block of its own.
#pragma once

#include <cstdlib>
#include <cstring>

#include "json/model/node.h"

namespace ke::json {

// Returns a container's table with its first `used` bytes, grown to `size` bytes in a block of its
// own; the caller stores it in the node. Returns nullptr when out of memory, with nothing changed.
template <class Node, class Slot>
inline Slot* grown_table(Node* node, Slot* table, size_t used, size_t size) {
    const bool inline_table = is_inline(node, table);
    auto* grown = static_cast<Slot*>(realloc(inline_table ? nullptr : table, size));
    if (grown != nullptr && inline_table)
        memcpy(grown, table, used);
    return grown;
}

// Makes a table of `buckets` empty buckets in a block of its own for an object that has no table.
// Returns 0, or WIQ_ERR_NO_MEMORY with nothing changed.
i32 make_table(ObjectNode* obj, u64 buckets);
// Frees a container's table and zeroes its bookkeeping. The children are not released.
void drop_table(wiq_json* container);

// Gives an array a table of `capacity` slots in a block of its own, with the elements of the old
// one. Returns 0, or WIQ_ERR_NO_MEMORY with nothing changed.
i32 reserve_slots(ArrayNode* array, i32 capacity);

}  // namespace ke::json
