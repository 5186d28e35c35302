// Makes and frees the tables of containers.

#include "json/model/table.h"

#include <cstdlib>

#include "json/model/chain_index.h"

namespace ke::json {

static_assert(kMaxInlineSlots < kMinBucketsWithTail, "a table in its node's block has no tail");

i32 make_table(ObjectNode* obj, u64 buckets) {
    if (buckets > kMaxBuckets)
        return WIQ_ERR_NO_MEMORY;
    // calloc() also sets the tail: no index, and a first bucket of 0.
    auto** table = static_cast<Member**>(calloc(pointers_in_table(buckets), sizeof(Member*)));
    if (table == nullptr)
        return WIQ_ERR_NO_MEMORY;
    obj->members = {{table}, static_cast<u32>(buckets - 1), 0};
    return 0;
}

i32 reserve_slots(ArrayNode* array, i32 capacity) {
    Elements* elems = &array->elems;
    wiq_json** data =
        grown_table(array, elems->data, static_cast<size_t>(elems->size) * sizeof(wiq_json*),
                    static_cast<size_t>(capacity) * sizeof(wiq_json*));
    if (data == nullptr)
        return WIQ_ERR_NO_MEMORY;
    elems->data = data;
    elems->capacity = capacity;
    return 0;
}

// Also called for a large container that refcount.cpp has turned into a chain of its children. The
// chain is empty by now: the null pointer in the place of the table is freed without effect.
void drop_table(wiq_json* container) {
    if (container->type == kJsonArray) {
        auto* array = as<ArrayNode>(container);
        free(is_inline(array, array->elems.data) ? nullptr : array->elems.data);
        array->elems = {};
    } else {
        auto* obj = as<ObjectNode>(container);
        if (!is_inline(obj, obj->members.buckets)) {
            free_index(obj->members);
            free(obj->members.buckets);
        }
        obj->members = {};
    }
}

}  // namespace ke::json
