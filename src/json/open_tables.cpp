// See open_tables.h.

#include "json/open_tables.h"

namespace ke::json {

namespace {

// Where a table stands after its stretch has moved from `from` to `to`.
template <class Slot>
Slot* moved(Slot* table, void** from, void** to) {
    return reinterpret_cast<Slot*>(to + (reinterpret_cast<void**>(table) - from));
}

}  // namespace

// Twice the room is always enough: a table asks for no more places than it has, or for two.
bool OpenTables::grow(wiq_json* innermost) {
    const size_t used = static_cast<size_t>(top_ - base_);
    const size_t capacity = 2 * static_cast<size_t>(end_ - base_);
    auto** block = static_cast<void**>(malloc(capacity * sizeof(void*)));
    if (block == nullptr)
        return false;
    memcpy(block, base_, used * sizeof(void*));
    for (wiq_json* node = innermost; node != nullptr; node = node->parent) {
        if (node->type == kJsonArray) {
            Elements& elems = as<ArrayNode>(node)->elems;
            if (elems.size != 0)
                elems.data = moved(elems.data, base_, block);
        } else {
            Members& members = as<ObjectNode>(node)->members;
            if (members.buckets != nullptr)
                members.buckets = moved(members.buckets, base_, block);
        }
    }
    if (base_ != inline_)
        free(base_);
    base_ = block;
    top_ = block + used;
    end_ = block + capacity;
    return true;
}

}  // namespace ke::json
