// Arrays: how elements are attached, replaced and removed at an index. The getters are in
// array_get.cpp; search, filter and sort, which go over all elements, in array_search.cpp.

#include "json/model/array.h"

#include <algorithm>
#include <cstdlib>

#include "json/model/blocks.h"
#include "json/model/cycle.h"
#include "json/model/err.h"
#include "json/model/make.h"
#include "json/model/refcount.h"
#include "json/model/table.h"

namespace ke::json {
namespace {

// Doubles the table, from three slots, which fill the smallest block of the usual allocators.
// Returns 0, or WIQ_ERR_NO_MEMORY with nothing changed.
i32 grow(ArrayNode* array) {
    const i32 now = array->elems.capacity;
    const i64 doubled = now == 0 ? 3 : 2 * i64{now};
    const i32 capacity = static_cast<i32>(std::min<i64>(doubled, INT32_MAX));
    return capacity == now ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : reserve_slots(array, capacity);
}

// Puts a child after the last element. Returns 0, or WIQ_ERR_NO_MEMORY with the elements unchanged.
i32 append(ArrayNode* array, wiq_json* child) {
    Elements* elems = &array->elems;
    if (elems->size == elems->capacity && grow(array) != 0)
        return WIQ_ERR_NO_MEMORY;
    elems->data[elems->size] = child;
    touch_to_attach(array, child);
    link_to_parent(array, elems->size++, child);
    return 0;
}

// Attach a child as the last element. Nothing is checked: the caller knows that a strong array may
// become the child's parent. The array's reference adds 1 to the child's count; attach_new_elem(),
// for a node that no caller has seen yet, sets the count to 1. Return 0, or WIQ_ERR_NO_MEMORY with
// the array's elements and the child unchanged.
i32 attach_elem(ArrayNode* array, wiq_json* child) {
    const i32 status = append(array, child);
    if (status == 0)
        count_up(child);
    return status;
}

i32 attach_new_elem(ArrayNode* array, wiq_json* child) {
    const i32 status = append(array, child);
    if (status == 0)
        child->refcount = 1;
    return status;
}

}  // namespace

wiq_json* swap_elem(ArrayNode* array, i32 index, i32 position, wiq_json* child) {
    wiq_json* old = elems_of(array)[index];
    hand_over_child(array, old);
    elems_of(array)[index] = child;
    touch_to_attach(array, child);
    count_up(child);
    link_to_parent(array, position, child);
    return old;
}

wiq_json* pop_elem(ArrayNode* array) {
    wiq_json* elem = elems_of(array)[--array->elems.size];
    hand_over_child(array, elem);
    return elem;
}

void renumber(ArrayNode* array) {
    for (i32 i = 0; i < size_of(array); ++i) {
        wiq_json* elem = elems_of(array)[i];
        if (elem->parent == array)
            elem->position.index = static_cast<u32>(i);
    }
}

}  // namespace ke::json

using namespace ke::json;

i32 wiq_json_array_push_ext(wiq_json_t* array, wiq_json_t* child, u32* err) {
    if (has_failed(err))
        return static_cast<i32>(*err);
    ArrayNode* node = to_array(array);
    if (node == nullptr || !may_attach(array, child))
        return report(err, WIQ_ERR_INVALID_ARG);
    return report(err, attach_elem(node, child));
}

namespace {

// What all typed builders share: `make` makes the node, which is then appended.
template <class Make>
wiq_json_t* push_new(wiq_json_t* array, u32* err, Make make) {
    if (has_failed(err))
        return nullptr;
    ArrayNode* elems = to_array(array);
    if (elems == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    wiq_json* node = make();
    if (node != nullptr && attach_new_elem(elems, node) != 0) {
        free_node(node);
        node = nullptr;
    }
    report(err, node != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
    return node;
}

// As above, for builders whose value is passed by a pointer, which must not be NULL.
template <class Value, class Make>
wiq_json_t* push_new_from(wiq_json_t* array, const Value* value, u32* err, Make make) {
    if (!has_failed(err) && value == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    return push_new(array, err, make);
}

}  // namespace

wiq_json_t* wiq_json_array_push_bool(wiq_json_t* array, bool value, u32* err) {
    return push_new(array, err,
                    [value] { return new_node<wiq_json>(value ? kJsonTrue : kJsonFalse); });
}

wiq_json_t* wiq_json_array_push_i64(wiq_json_t* array, i64 value, u32* err) {
    return push_new(array, err, [value] { return new_node_of<I64Node>(kJsonI64, value); });
}

wiq_json_t* wiq_json_array_push_u64(wiq_json_t* array, u64 value, u32* err) {
    return push_new(array, err, [value] { return new_node_of<U64Node>(kJsonU64, value); });
}

wiq_json_t* wiq_json_array_push_u128(wiq_json_t* array, const wiq_uint128* value, u32* err) {
    return push_new_from(array, value, err,
                         [value] { return new_node_of<U128Node>(kJsonU128, *value); });
}

wiq_json_t* wiq_json_array_push_double(wiq_json_t* array, double value, u32* err) {
    return push_new(array, err, [value] { return new_node_of<DoubleNode>(kJsonDouble, value); });
}

wiq_json_t* wiq_json_array_push_str(wiq_json_t* array, const char* text, u32* err) {
    return push_new_from(array, text, err, [text] { return new_string(text); });
}

wiq_json_t* wiq_json_array_push_obj(wiq_json_t* array, u32* err) {
    return push_new(array, err, [] { return new_object(0, 0); });
}

wiq_json_t* wiq_json_array_push_array(wiq_json_t* array, u32* err) {
    return push_new(array, err, [] { return new_array(0, 0); });
}

wiq_json_t* wiq_json_array_swap(wiq_json_t* array, i32 index, wiq_json_t* child, u32* err) {
    if (has_failed(err))
        return nullptr;
    ArrayNode* node = to_array(array);
    if (node == nullptr || !may_attach(array, child)) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    const i32 slot = resolve_index(node, index);
    if (slot < 0) {
        report(err, WIQ_ERR_INDEX_OUT_OF_RANGE);
        return nullptr;
    }
    report(err, 0);
    if (child == elems_of(node)[slot]) {
        // Only in a weak array: a strong one takes no child that has a parent. The child stays, and
        // the caller gets a reference to release as always.
        count_up(child);
        return child;
    }
    // The child's position is the index as the caller gave it, even if it is negative.
    return swap_elem(node, slot, index, child);
}

i32 wiq_json_array_put(wiq_json_t* array, i32 index, wiq_json_t* child) {
    u32 err = 0;
    wiq_json_t* old = wiq_json_array_swap(array, index, child, &err);
    // The swap tests the index last, so with this status it has accepted the array and the child.
    if (static_cast<i32>(err) == WIQ_ERR_INDEX_OUT_OF_RANGE && index == size_of(to_array(array)))
        return attach_elem(to_array(array), child);
    if (old == child && child != nullptr) {
        count_down(child);
    } else if (old != nullptr) {
        // The array's own reference has already been given up. If somebody holds another one, the
        // element stays.
        release_if_unreferenced(old);
    }
    return static_cast<i32>(err);
}

i32 wiq_json_array_pop(wiq_json_t* array, i32 count) {
    ArrayNode* node = to_array(array);
    if (node == nullptr || count < 0 || count > size_of(node))
        return WIQ_ERR_INVALID_ARG;
    for (; count > 0; --count)
        release_child(node, elems_of(node)[--node->elems.size]);
    return 0;
}

wiq_json_t* wiq_json_array_pop_elem(wiq_json_t* array) {
    ArrayNode* node = to_array(array);
    return node != nullptr && size_of(node) > 0 ? pop_elem(node) : nullptr;
}
