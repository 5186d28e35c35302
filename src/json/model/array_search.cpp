// Search, filter and sort, which go over all elements of an array.

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "json/model/array.h"

namespace ke::json {
namespace {

void sort_elems(ArrayNode* array, WiqJsonCompareFn compare) {
    if (size_of(array) > 1)
        qsort(elems_of(array), static_cast<size_t>(size_of(array)), sizeof(wiq_json*), compare);
}

// Strong arrays: dropped elements are marked by their positions. The callback is asked about the
// element in a slot and may replace elements: its answer applies to whatever lies in that slot
// afterwards.

// Returns whether a position is one of the `marks` numbers from `first_mark` on.
bool is_marked(const wiq_json* elem, i32 first_mark, i32 marks) {
    return elem->position.index - static_cast<u32>(first_mark) < static_cast<u32>(marks);
}

// Asks about every element, in order, and gives the dropped ones new positions: `size`, `size` + 1
// and so on, which are larger than those of all elements that the array had. Returns how many are
// dropped.
i32 mark_dropped(ArrayNode* array, i32 size, WiqJsonKeepFn keep, void* user) {
    i32 marks = 0;
    for (i32 i = 0; i < size_of(array); ++i) {
        if (!keep(elems_of(array)[i], user) && i < size_of(array))
            elems_of(array)[i]->position.index = static_cast<u32>(size + marks++);
    }
    return marks;
}

bool comes_before(const wiq_json* a, const wiq_json* b) {
    return static_cast<i32>(a->position.index) < static_cast<i32>(b->position.index);
}

// Sorts the elements by their positions, so that the dropped ones come last. A position is the
// element's slot, except that an element which was swapped in at a negative index has that index as
// its position. Without such elements no sorting is needed: the kept elements close up and the
// others gather after them. Returns how many are kept.
i32 sort_marked(ArrayNode* array, i32 size, i32 marks) {
    wiq_json** elems = elems_of(array);
    i32 kept = 0;
    bool negative = false;
    for (i32 i = 0; i < size_of(array); ++i) {
        negative = negative || static_cast<i32>(elems[i]->position.index) < 0;
        kept += is_marked(elems[i], size, marks) ? 0 : 1;
    }
    if (negative) {
        std::sort(elems, elems + size_of(array), comes_before);
        return kept;
    }
    i32 slot = 0;
    for (i32 i = 0; i < size_of(array); ++i) {
        if (!is_marked(elems[i], size, marks))
            std::swap(elems[slot++], elems[i]);
    }
    return kept;
}

i32 filter_strong(ArrayNode* array, WiqJsonKeepFn keep, void* user) {
    const i32 size = size_of(array);
    const i32 marks = mark_dropped(array, size, keep, user);
    if (marks == 0)
        return 0;
    const i32 kept = sort_marked(array, size, marks);
    const i32 status = wiq_json_array_pop(array, size_of(array) - kept);
    renumber(array);
    return status;
}

// Weak arrays: the positions belong to the elements' own parents, and the callback may use them. So
// they are left alone until the callback has given its last answer. A weak array may list a node
// more than once; if the node is dropped in one slot, its number counts in all slots. A FilterSlot
// stands for one slot.
struct FilterSlot {
    wiq_json* elem;
    // The pointer that was a dropped node's position. While it is kept here, the position leads to
    // this FilterSlot.
    const char* key;
    i32 rank;
    u32 index : 31;
    u32 dropped : 1;
};
// A tagged pointer has its lowest bit set.
static_assert(alignof(FilterSlot) % 2 == 0 && sizeof(Member) % 2 == 0);

// Returns whether an element's position is a pointer: a member's key, or the record of a root's
// document.
bool has_pointer(const wiq_json* elem) {
    return wiq_json_is_obj(elem->parent) || has_document(elem);
}

// The address of a FilterSlot plus 1 can be stored in a position (tag()) and recognised there
// (tagged_slot()): it is odd. A key follows its member, and members and records are aligned as
// blocks are, so their addresses are even.
const char* tag(const FilterSlot* slot) {
    return reinterpret_cast<const char*>(slot) + 1;
}
const FilterSlot* tagged_slot(const wiq_json* elem) {
    const char* key = elem->position.key;
    return reinterpret_cast<u64>(key) % 2 != 0 ? reinterpret_cast<const FilterSlot*>(key - 1)
                                               : nullptr;
}

// Numbers the dropped nodes, in order, and writes the numbers into their positions; `key` keeps the
// pointers that stood there.
void number_dropped(FilterSlot* slots, i32 size) {
    i32 number = size;
    for (i32 i = 0; i < size; ++i) {
        FilterSlot& slot = slots[i];
        if (!slot.dropped)
            continue;
        slot.rank = number++;
        if (has_pointer(slot.elem)) {
            slot.key = slot.elem->position.key;
            slot.elem->position.key = tag(&slot);
        } else {
            slot.elem->position.index = static_cast<u32>(slot.rank);
        }
    }
}

// Returns what orders the elements: the position in an array, or the number of a dropped node;
// otherwise 0.
i32 rank_of(const wiq_json* elem) {
    if (!has_pointer(elem))
        return static_cast<i32>(elem->position.index);
    const FilterSlot* slot = tagged_slot(elem);
    return slot != nullptr ? slot->rank : 0;
}

// Restores the pointers, the last one first: a node that was dropped twice was tagged twice, and
// only the first tag replaced its own pointer. Any other node without a parent has no position, so
// the number that it may have got is cleared: unless it is dropped again, the next filter counts it
// as 0. A dropped node whose parent is an array keeps its number as its position.
void restore_positions(FilterSlot* slots, i32 size) {
    for (i32 i = size - 1; i >= 0; --i) {
        wiq_json* elem = slots[i].elem;
        if (slots[i].key != nullptr)
            elem->position.key = slots[i].key;
        else if (elem->parent == nullptr && !has_document(elem))
            unlink_from_parent(elem);
    }
}

bool ranks_before(const FilterSlot& a, const FilterSlot& b) {
    return a.rank != b.rank ? a.rank < b.rank : a.index < b.index;
}

// Sorts the first `size` elements by their ranks, which are read once the dropped nodes are
// numbered. Elements of equal rank keep their order.
void sort_by_rank(ArrayNode* array, FilterSlot* slots, i32 size) {
    for (i32 i = 0; i < size; ++i)
        slots[i].elem = elems_of(array)[i];
    number_dropped(slots, size);
    for (i32 i = 0; i < size; ++i)
        slots[i].rank = rank_of(slots[i].elem);
    restore_positions(slots, size);
    std::sort(slots, slots + size, ranks_before);
    for (i32 i = 0; i < size; ++i)
        elems_of(array)[i] = slots[i].elem;
}

i32 filter_weak(ArrayNode* array, WiqJsonKeepFn keep, void* user) {
    const i32 size = size_of(array);
    if (size == 0)
        return 0;
    auto* slots = static_cast<FilterSlot*>(malloc(static_cast<size_t>(size) * sizeof(FilterSlot)));
    if (slots == nullptr)
        return WIQ_ERR_NO_MEMORY;
    i32 asked = 0;
    i32 dropped = 0;
    for (; asked < size && asked < size_of(array); ++asked) {
        const bool drop = !keep(elems_of(array)[asked], user);
        slots[asked] = {nullptr, nullptr, 0, static_cast<u32>(asked) & INT32_MAX, drop};
        dropped += drop ? 1 : 0;
    }
    if (dropped != 0)
        sort_by_rank(array, slots, std::min(asked, size_of(array)));
    free(slots);
    return dropped != 0 ? wiq_json_array_pop(array, dropped) : 0;
}

}  // namespace

}  // namespace ke::json

using namespace ke::json;

wiq_json_t* wiq_json_array_find(const wiq_json_t* array, const wiq_json_t* pattern) {
    const ArrayNode* node = to_array(array);
    for (i32 i = 0; node != nullptr && i < size_of(node); ++i) {
        if (wiq_json_equal(elems_of(node)[i], pattern))
            return elems_of(node)[i];
    }
    return nullptr;
}

wiq_json_t* wiq_json_array_find_str(const wiq_json_t* array, const char* text) {
    if (text == nullptr)
        return nullptr;
    TextNode pattern{};
    pattern.type = kJsonString;
    pattern.text = const_cast<char*>(text);
    pattern.length = strlen(text);
    return wiq_json_array_find(array, &pattern);
}

i32 wiq_json_array_filter(wiq_json_t* array, WiqJsonKeepFn keep, void* user) {
    ArrayNode* node = to_array(array);
    if (node == nullptr || keep == nullptr)
        return WIQ_ERR_INVALID_ARG;
    return is_weak(node) ? filter_weak(node, keep, user) : filter_strong(node, keep, user);
}

i32 wiq_json_array_sort(wiq_json_t* array, WiqJsonCompareFn compare) {
    ArrayNode* node = to_array(array);
    if (node == nullptr || compare == nullptr)
        return WIQ_ERR_INVALID_ARG;
    sort_elems(node, compare);
    renumber(node);
    return 0;
}
