// Reference counts and the release of whole trees.
//
// Releasing a tree uses neither recursion nor memory: a dying container keeps its place in its own fields
// (an array's size, an object's), and its `parent`, which it no longer needs, leads back to the dying
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

// Gives up a reference; the count that is left. A count of 1 is the caller's own reference: nobody else can
// change it then, so that the usual case, a value with one owner, needs no locked instruction.
i32 drop_reference(wiq_json* node) {
    if (std::atomic_ref<i32>(node->refcount).load(std::memory_order_acquire) == 1) {
        set_count(node, 0);
        return 0;
    }
    return count_down(node);
}

// Gives up a container's reference to a child; true if the child is to be destroyed.
bool drop_child(bool weak, wiq_json* child) {
    if (!weak) {
        unlink_from_parent(child);
    }
    return is_dead(child, drop_reference(child));
}

// From here on the size of an object is the number of the bucket to be emptied next.
void begin_emptying(wiq_json* node) {
    if (node->type == kJsonObject) {
        Members& members = as<ObjectNode>(node)->members;
        members.size = 0;
    }
}

// Takes a child out of a container that is being emptied: nullptr when none is left.
wiq_json* take_next_child(wiq_json* node) {
    if (node->type == kJsonArray) {
        auto* array = as<ArrayNode>(node);
        return array->elems.size > 0 ? elems_of(array)[--array->elems.size] : nullptr;
    }
    Members& members = as<ObjectNode>(node)->members;
    if (members.buckets == nullptr) {
        return nullptr;
    }
    for (; members.size <= members.mask; ++members.size) {
        Member* member = members.buckets[members.size];
        if (member != nullptr) {
            members.buckets[members.size] = member->next;
            wiq_json* child = member->child;
            free_member(member);
            return child;
        }
    }
    return nullptr;
}

// Releases what an emptied container holds beside its children, and leaves it empty.
void end_emptying(wiq_json* node) {
    if (node->type == kJsonArray) {
        Elements& elems = as<ArrayNode>(node)->elems;
        std::free(elems.data);
        elems = {};
    } else {
        Members& members = as<ObjectNode>(node)->members;
        std::free(members.buckets);
        members = {};
    }
}

}  // namespace

// With everything below them that dies with them.
void release_children(wiq_json* top) {
    add_to_count(top, kDying);
    begin_emptying(top);
    wiq_json* node = top;
    for (;;) {
        wiq_json* child = take_next_child(node);
        if (child == nullptr) {
            if (node == top) {
                break;
            }
            end_emptying(node);
            wiq_json* up = node->parent;
            free_node(node);
            node = up;
        } else if (drop_child(is_weak(node), child)) {
            if (is_container(child)) {
                set_count(child, kDying);
                child->parent = node;
                begin_emptying(child);
                node = child;
            } else {
                free_node(child);
            }
        }
    }
    add_to_count(top, -kDying);
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
    if (node != nullptr && is_dead(node, drop_reference(node))) {
        wiq_json_delete_impl(node);
    }
}

void wiq_json_delete_impl(wiq_json_t* node) {
    if (node != nullptr) {
        wiq_json_finalize(node);
        free_node(node);
    }
}

void wiq_json_finalize(wiq_json_t* node) {
    if (node == nullptr) {
        return;
    }
    if (is_container(node)) {
        release_children(node);
        end_emptying(node);
    } else if (node->type == kJsonString || node->type == kJsonRef) {
        // The text goes with the node's block.
        as<TextNode>(node)->text = nullptr;
    }
}
