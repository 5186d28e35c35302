// Operations over all elements of an array: search, filter, sort, and the bookkeeping of places that
// they share.

#include <cstdlib>
#include <utility>

#include "json/array_place.h"
#include "json/node.h"

namespace ke::json {
namespace {

int compare_positions(const void* a, const void* b) {
    const i32 left = static_cast<i32>((*static_cast<wiq_json* const*>(a))->position.index);
    const i32 right = static_cast<i32>((*static_cast<wiq_json* const*>(b))->position.index);
    return (left > right) - (left < right);
}

void sort_elems(ArrayNode* array, WiqJsonCompareFn compare) {
    if (size_of(array) > 1) {
        std::qsort(elems_of(array), static_cast<size_t>(size_of(array)), sizeof(wiq_json*),
                   compare);
    }
}

// Asks about every element, in order. The positions of dropped elements are overwritten with numbers from
// `size` upwards, behind every place of the array. An element of a weak array has its place in its own
// parent as its position; one without a parent is given its place here. Returns how many are dropped.
i32 mark_dropped(ArrayNode* array, i32 size, WiqJsonKeepFn keep, void* user) {
    i32 dropped = 0;
    for (i32 i = 0; i < size_of(array); ++i) {
        wiq_json* elem = elems_of(array)[i];
        if (!keep(elem, user)) {
            elem->position.index = static_cast<u32>(size + dropped++);
        } else if (elem->parent == nullptr) {
            elem->position.index = static_cast<u32>(i);
        }
    }
    return dropped;
}

// Strong: kept elements close ranks in order, the others gather behind them.
void close_ranks(ArrayNode* array, i32 size, i32 dropped) {
    wiq_json** elems = elems_of(array);
    const u32 first_mark = static_cast<u32>(size);
    i32 kept = 0;
    for (i32 i = 0; i < size_of(array); ++i) {
        if (elems[i]->position.index - first_mark >= static_cast<u32>(dropped)) {
            std::swap(elems[kept++], elems[i]);
        }
    }
}

// An element that is a member somewhere gets its key back: its position has served as a sort key.
void restore_key(wiq_json* elem) {
    const ObjectNode* obj = to_object(elem->parent);
    if (obj == nullptr) {
        return;
    }
    for (const Member* member = first_member(obj); member != nullptr;
         member = next_member(obj, member)) {
        if (member->child == elem) {
            elem->position.key = member->key();
            return;
        }
    }
}

// Weak: the positions decide, whatever parents they speak of.
void sort_by_position(ArrayNode* array) {
    sort_elems(array, compare_positions);
    for (i32 i = 0; i < size_of(array); ++i) {
        restore_key(elems_of(array)[i]);
    }
}

}  // namespace

i32 place_of(const ArrayNode* array, const wiq_json* elem) {
    const i32 guess = resolve_index(array, static_cast<i32>(elem->position.index));
    if (guess >= 0 && elems_of(array)[guess] == elem) {
        return guess;
    }
    i32 place = 0;
    while (elems_of(array)[place] != elem) {
        ++place;
    }
    return place;
}

void renumber(ArrayNode* array) {
    for (i32 i = 0; i < size_of(array); ++i) {
        wiq_json* elem = elems_of(array)[i];
        if (elem->parent == array) {
            elem->position.index = static_cast<u32>(i);
        }
    }
}

}  // namespace ke::json

using namespace ke::json;

wiq_json_t* wiq_json_array_find(const wiq_json_t* array, const wiq_json_t* pattern) {
    const ArrayNode* node = to_array(array);
    for (i32 i = 0; node != nullptr && i < size_of(node); ++i) {
        if (wiq_json_equal(elems_of(node)[i], pattern)) {
            return elems_of(node)[i];
        }
    }
    return nullptr;
}

wiq_json_t* wiq_json_array_find_str(const wiq_json_t* array, const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    TextNode pattern{};
    pattern.type = kJsonString;
    pattern.text = const_cast<char*>(text);
    pattern.length = std::strlen(text);
    return wiq_json_array_find(array, &pattern);
}

i32 wiq_json_array_filter(wiq_json_t* array, WiqJsonKeepFn keep, void* user) {
    ArrayNode* node = to_array(array);
    if (node == nullptr || keep == nullptr) {
        return WIQ_ERR_INVALID_ARG;
    }
    const i32 size = size_of(node);
    const i32 dropped = mark_dropped(node, size, keep, user);
    if (dropped == 0) {
        return 0;
    }
    if (is_weak(node)) {
        sort_by_position(node);
    } else {
        close_ranks(node, size, dropped);
    }
    const i32 status = wiq_json_array_pop(array, dropped);
    renumber(node);
    return status;
}

i32 wiq_json_array_sort(wiq_json_t* array, WiqJsonCompareFn compare) {
    ArrayNode* node = to_array(array);
    if (node == nullptr || compare == nullptr) {
        return WIQ_ERR_INVALID_ARG;
    }
    sort_elems(node, compare);
    renumber(node);
    return 0;
}
