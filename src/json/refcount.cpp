// Reference counts and the release of whole trees.
//
// Releasing a tree uses neither recursion nor memory: a dying container keeps its place in its own fields
// (a vector's size, a map's size), and its `parent`, which it no longer needs, leads back to the dying
// container that it was taken from. The order is that of a recursive release: a child's whole subtree
// before the next child.

#include <atomic>
#include <cstdlib>

#include "json/node.h"

namespace ke::json {
namespace {

// Added to the count of a container while it is being emptied, so that weak references to it from inside
// its own subtree cannot release it a second time.
constexpr i32 kDying = 1 << 30;

void set_count(wiq_json* node, i32 count) {
    std::atomic_ref<i32>(node->refcount).store(count, std::memory_order_relaxed);
}

void add_to_count(wiq_json* node, i32 difference) {
    std::atomic_ref<i32>(node->refcount).fetch_add(difference, std::memory_order_relaxed);
}

// Whether a node with this count is to be destroyed. A parent keeps its child: the reference that was
// given up once too often is its own.
bool is_dead(wiq_json* node, i32 count) {
    if (count > 0) {
        return false;
    }
    if (node->parent != nullptr) {
        set_count(node, 1);
        return false;
    }
    return true;
}

// Gives up a container's reference to a child; true if the child is to be destroyed.
bool drop_child(bool weak, wiq_json* child) {
    if (!weak) {
        unlink_from_parent(child);
    }
    return is_dead(child, count_down(child));
}

// From here on the map's size is the number of the bucket to be emptied next.
void begin_emptying(wiq_json* node) {
    if (node->type == kJsonObject) {
        as<ObjectNode>(node)->map.size = 0;
    }
}

// Takes a child out of a container that is being emptied: nullptr when none is left.
wiq_json* take_next_child(wiq_json* node) {
    if (node->type == kJsonArray) {
        auto* array = as<ArrayNode>(node);
        return array->elems.size > 0 ? elems_of(array)[--array->elems.size] : nullptr;
    }
    wiq_map* map = &as<ObjectNode>(node)->map;
    for (; map->size < map->bucket_count; ++map->size) {
        wiq_map_entry* entry = map->buckets[map->size];
        if (entry != nullptr) {
            map->buckets[map->size] = entry->next;
            wiq_json* child = child_of(entry);
            std::free(entry);
            return child;
        }
    }
    return nullptr;
}

// Releases what an emptied container holds beside its children, and leaves it empty.
void end_emptying(wiq_json* node) {
    if (node->type == kJsonArray) {
        wiq_vector_finalize(&as<ArrayNode>(node)->elems);
        return;
    }
    wiq_map* map = &as<ObjectNode>(node)->map;
    std::free(map->buckets);
    map->buckets = nullptr;
    map->bucket_count = 0;
    map->size = 0;
}

// Releases all children of a container, and everything below them that dies with them.
void empty_container(wiq_json* top) {
    add_to_count(top, kDying);
    begin_emptying(top);
    wiq_json* node = top;
    for (;;) {
        wiq_json* child = take_next_child(node);
        if (child != nullptr) {
            if (!drop_child(is_weak(node), child)) {
                continue;
            }
            if (!is_container(child)) {
                std::free(child);
                continue;
            }
            set_count(child, kDying);
            child->parent = node;
            begin_emptying(child);
            node = child;
            continue;
        }
        end_emptying(node);
        if (node == top) {
            break;
        }
        wiq_json* up = node->parent;
        std::free(node);
        node = up;
    }
    add_to_count(top, -kDying);
}

}  // namespace

i32 count_up(wiq_json* node) {
    return std::atomic_ref<i32>(node->refcount).fetch_add(1, std::memory_order_relaxed) + 1;
}

i32 count_down(wiq_json* node) {
    return std::atomic_ref<i32>(node->refcount).fetch_sub(1, std::memory_order_acq_rel) - 1;
}

void release_child(const wiq_json* container, wiq_json* child) {
    if (drop_child(is_weak(container), child)) {
        wiq_json_delete_impl(child);
    }
}

void release_if_unreferenced(wiq_json* node) {
    const i32 count = std::atomic_ref<i32>(node->refcount).load(std::memory_order_acquire);
    if (is_dead(node, count)) {
        wiq_json_delete_impl(node);
    }
}

void hand_over_child(const wiq_json* container, wiq_json* child) {
    if (child->parent == container) {
        unlink_from_parent(child);
    }
    count_down(child);
}

}  // namespace ke::json

using namespace ke::json;

void wiq_json_ref(wiq_json_t* node) {
    if (node != nullptr) {
        count_up(node);
    }
}

void wiq_json_unref(wiq_json_t* node) {
    if (node != nullptr && is_dead(node, count_down(node))) {
        wiq_json_delete_impl(node);
    }
}

void wiq_json_delete_impl(wiq_json_t* node) {
    wiq_json_finalize(node);
    std::free(node);
}

void wiq_json_finalize(wiq_json_t* node) {
    if (node == nullptr) {
        return;
    }
    if (is_container(node)) {
        empty_container(node);
    } else if (node->type == kJsonString || node->type == kJsonRef) {
        // The text goes with the node's block.
        as<TextNode>(node)->text = nullptr;
    }
}
