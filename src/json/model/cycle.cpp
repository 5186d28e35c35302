// Finds out whether attaching a child would make it its own ancestor. The way up from the container
// may be as long as the document is deep, and the subtree of the child may be as large as the
// document. So both are searched at the same time, and the shorter search gives the answer. Neither
// needs memory.

#include "json/model/cycle.h"

#include "json/model/array.h"

namespace ke::json {
namespace {

// Returns the first node below a node, or nullptr. A weak container is not the parent of its
// children, so they are not below it.
wiq_json* first_child(wiq_json* node) {
    if (is_weak(node))
        return nullptr;
    if (node->type == kJsonObject) {
        const Member* member = first_member(as<ObjectNode>(node));
        return member != nullptr ? member->child : nullptr;
    }
    if (node->type == kJsonArray && size_of(as<ArrayNode>(node)) > 0)
        return elems_of(as<ArrayNode>(node))[0];
    return nullptr;
}

// Returns the child that follows `node` in its parent, which must be a strong container; nullptr
// after the last one.
wiq_json* next_sibling(const wiq_json* node) {
    if (node->parent->type == kJsonObject) {
        const Member* member =
            next_member(as<ObjectNode>(node->parent), member_of_key(node->position.key));
        return member != nullptr ? member->child : nullptr;
    }
    const auto* array = as<ArrayNode>(node->parent);
    const i32 slot = slot_of(array, node) + 1;
    return slot < size_of(array) ? elems_of(array)[slot] : nullptr;
}

// Returns the node that follows `node` in a walk over everything below `top`, or nullptr at the
// end.
wiq_json* next_below(const wiq_json* top, wiq_json* node) {
    wiq_json* next = first_child(node);
    while (next == nullptr && node != top) {
        next = next_sibling(node);
        node = node->parent;
    }
    return next;
}

}  // namespace

bool would_form_cycle(const wiq_json* container, wiq_json* child) {
    if (container == child)
        return true;
    // Only a node that has children can be an ancestor. So a tree that is built from the root down
    // is never searched.
    wiq_json* below = first_child(child);
    if (below == nullptr)
        return false;
    // The way up is searched alone at first: most documents are not deep, and a step up is cheaper
    // than a step through the subtree. After these levels, each node of the subtree pays for a few
    // more levels.
    constexpr i32 kLevelsAlone = 64;
    constexpr i32 kLevelsPerNode = 8;
    i32 levels = kLevelsAlone;
    for (const wiq_json* up = container;;) {
        for (; levels > 0 && up->parent != nullptr; --levels)
            up = up->parent;
        // Has the way up reached the root? The child has no parent, so it can only be an ancestor
        // if it is this root.
        if (up->parent == nullptr)
            return up == child;
        // The walk through the subtree need not compare its nodes with the container. If the
        // container is n levels below the child, the walk needs at least n steps to get there, and
        // by then the way up has climbed these n levels and ended at the child.
        below = next_below(child, below);
        if (below == nullptr)
            return false;
        levels = kLevelsPerNode;
    }
}

}  // namespace ke::json
