// Arrays: how elements are attached, replaced and removed at a place. Operations over all elements
// (search, filter, sort) are in array_all.cpp.

#include <cstdlib>

#include "json/array_place.h"
#include "json/node.h"

namespace ke::json {
namespace {

wiq_json_t* new_array(i32 capacity, u8 flags, u32* err) {
    if (has_failed(err)) {
        return nullptr;
    }
    if (capacity < 0) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    auto* array = static_cast<ArrayNode*>(std::malloc(sizeof(ArrayNode)));
    if (array == nullptr ||
        wiq_vector_init(&array->elems, sizeof(wiq_json*), 0, nullptr, nullptr) != 0 ||
        (capacity > 0 && wiq_vector_extra_capacity(&array->elems, capacity) != 0)) {
        std::free(array);
        report(err, WIQ_ERR_NO_MEMORY);
        return nullptr;
    }
    begin_node(array, kJsonArray, flags);
    report(err, 0);
    return array;
}

// Whether the array may take the node: a strong one only a node that has no parent.
bool may_take(const wiq_json_t* array, const wiq_json_t* child) {
    return child != nullptr &&
           (is_weak(array) || (child->parent == nullptr && !closes_ring(array, child)));
}

void adopt(ArrayNode* array, i32 index, wiq_json* child) {
    count_up(child);
    if (!is_weak(array)) {
        child->parent = array;
        child->position.index = static_cast<u32>(index);
    }
}

}  // namespace

i32 attach_elem(ArrayNode* array, wiq_json* child) {
    auto* slot = static_cast<wiq_json**>(wiq_vector_push(&array->elems));
    if (slot == nullptr) {
        return WIQ_ERR_NO_MEMORY;
    }
    *slot = child;
    adopt(array, size_of(array) - 1, child);
    return 0;
}

wiq_json* swap_elem(ArrayNode* array, i32 index, i32 position, wiq_json* child) {
    wiq_json* old = elems_of(array)[index];
    hand_over_child(array, old);
    elems_of(array)[index] = child;
    adopt(array, position, child);
    return old;
}

wiq_json* pop_elem(ArrayNode* array) {
    wiq_json* elem = elems_of(array)[--array->elems.size];
    hand_over_child(array, elem);
    return elem;
}

}  // namespace ke::json

using namespace ke::json;

wiq_json_t* wiq_json_array_new(i32 capacity, u32* err) {
    return new_array(capacity, 0, err);
}

wiq_json_t* wiq_json_array_weak_new(i32 capacity, u32* err) {
    return new_array(capacity, kJsonWeak, err);
}

i32 wiq_json_array_push_ext(wiq_json_t* array, wiq_json_t* child, u32* err) {
    if (has_failed(err)) {
        return static_cast<i32>(*err);
    }
    ArrayNode* node = to_array(array);
    if (node == nullptr || !may_take(array, child)) {
        return report(err, WIQ_ERR_INVALID_ARG);
    }
    return report(err, attach_elem(node, child));
}

namespace {

// The end of every typed builder. A node that could not be made has left its status in `err`.
wiq_json_t* push_new(wiq_json_t* array, wiq_json_t* node, u32* err) {
    if (node == nullptr) {
        return nullptr;
    }
    return keep_if_attached(node, wiq_json_array_push_ext(array, node, err));
}

}  // namespace

wiq_json_t* wiq_json_array_push_bool(wiq_json_t* array, bool value, u32* err) {
    return push_new(array, wiq_json_bool_new(value, err), err);
}

wiq_json_t* wiq_json_array_push_i64(wiq_json_t* array, i64 value, u32* err) {
    return push_new(array, wiq_json_i64_new(value, err), err);
}

wiq_json_t* wiq_json_array_push_u64(wiq_json_t* array, u64 value, u32* err) {
    return push_new(array, wiq_json_u64_new(value, err), err);
}

wiq_json_t* wiq_json_array_push_u128(wiq_json_t* array, const wiq_uint128* value, u32* err) {
    return push_new(array, wiq_json_u128_new(value, err), err);
}

wiq_json_t* wiq_json_array_push_double(wiq_json_t* array, double value, u32* err) {
    return push_new(array, wiq_json_double_new(value, err), err);
}

wiq_json_t* wiq_json_array_push_str(wiq_json_t* array, const char* text, u32* err) {
    return push_new(array, wiq_json_str_new(text, err), err);
}

wiq_json_t* wiq_json_array_push_obj(wiq_json_t* array, u32* err) {
    return push_new(array, wiq_json_obj_new(0, err), err);
}

wiq_json_t* wiq_json_array_push_array(wiq_json_t* array, u32* err) {
    return push_new(array, wiq_json_array_new(0, err), err);
}

i32 wiq_json_array_size(const wiq_json_t* array) {
    const ArrayNode* node = to_array(array);
    return node != nullptr ? size_of(node) : WIQ_ERR_INVALID_ARG;
}

wiq_json_t* wiq_json_array_get_ext(const wiq_json_t* array, i32 index, u32 flags, u32* err) {
    if (has_failed(err)) {
        return nullptr;
    }
    const ArrayNode* node = to_array(array);
    const i32 place = node != nullptr ? resolve_index(node, index) : -1;
    if (place < 0) {
        report(err, node != nullptr ? WIQ_ERR_INDEX_OUT_OF_RANGE : WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    wiq_json_t* elem = elems_of(node)[place];
    u32 status = 0;
    if ((flags & WIQ_JSON_FOLLOW_REFS) != 0 && elem->type == kJsonRef) {
        elem = wiq_json_jref_deref(elem, &status);
    }
    report(err, static_cast<i32>(status));
    return elem;
}

wiq_json_t* wiq_json_array_swap(wiq_json_t* array, i32 index, wiq_json_t* child, u32* err) {
    if (has_failed(err)) {
        return nullptr;
    }
    ArrayNode* node = to_array(array);
    if (node == nullptr || !may_take(array, child)) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    const i32 place = resolve_index(node, index);
    if (place < 0) {
        report(err, WIQ_ERR_INDEX_OUT_OF_RANGE);
        return nullptr;
    }
    report(err, 0);
    // The child is told the index as the caller gave it, a negative one too.
    return swap_elem(node, place, index, child);
}

i32 wiq_json_array_put(wiq_json_t* array, i32 index, wiq_json_t* child) {
    u32 err = 0;
    wiq_json_t* old = wiq_json_array_swap(array, index, child, &err);
    if (static_cast<i32>(err) == WIQ_ERR_INDEX_OUT_OF_RANGE && index == size_of(to_array(array))) {
        return attach_elem(to_array(array), child);
    }
    if (old != nullptr) {
        // The array's own reference is already given up: who holds another one keeps the element.
        release_if_unreferenced(old);
    }
    return static_cast<i32>(err);
}

i32 wiq_json_array_pop(wiq_json_t* array, i32 count) {
    ArrayNode* node = to_array(array);
    if (node == nullptr || count < 0 || count > size_of(node)) {
        return WIQ_ERR_INVALID_ARG;
    }
    for (; count > 0; --count) {
        release_child(node, elems_of(node)[--node->elems.size]);
    }
    return 0;
}

wiq_json_t* wiq_json_array_pop_elem(wiq_json_t* array) {
    ArrayNode* node = to_array(array);
    return node != nullptr && size_of(node) > 0 ? pop_elem(node) : nullptr;
}
