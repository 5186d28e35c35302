// Whether attaching a child would close a ring. The way up from the container may be as long as the document
// is deep, and what is below the child as large as the document; so both are searched at once, and the
// shorter search gives the answer. Neither needs memory.

#include "json/array_place.h"
#include "json/node.h"

namespace ke::json {
namespace {

// Only a strong container is its children's parent.
wiq_json* first_child(wiq_json* node) {
    if (is_weak(node)) {
        return nullptr;
    }
    if (node->type == kJsonObject) {
        const Member* member = first_member(as<ObjectNode>(node));
        return member != nullptr ? member->child : nullptr;
    }
    if (node->type == kJsonArray && size_of(as<ArrayNode>(node)) > 0) {
        return elems_of(as<ArrayNode>(node))[0];
    }
    return nullptr;
}

wiq_json* next_sibling(const wiq_json* node) {
    if (node->parent->type == kJsonObject) {
        const Member* member =
            next_member(as<ObjectNode>(node->parent), member_of_key(node->position.key));
        return member != nullptr ? member->child : nullptr;
    }
    const auto* array = as<ArrayNode>(node->parent);
    const i32 place = place_of(array, node) + 1;
    return place < size_of(array) ? elems_of(array)[place] : nullptr;
}

// The node behind another one in a walk over all that is below `top`; nullptr at the end.
wiq_json* next_below(const wiq_json* top, wiq_json* node) {
    wiq_json* next = first_child(node);
    while (next == nullptr && node != top) {
        next = next_sibling(node);
        node = node->parent;
    }
    return next;
}

}  // namespace

bool closes_ring(const wiq_json* container, wiq_json* child) {
    if (container == child) {
        return true;
    }
    // Only what has children can be an ancestor, so that trees built from the root down never search.
    wiq_json* below = first_child(child);
    if (below == nullptr) {
        return false;
    }
    // Most documents are not deep, and a step up is the cheaper one.
    constexpr i32 kLevelsAlone = 64;
    constexpr i32 kLevelsPerNode = 8;
    i32 levels = kLevelsAlone;
    for (const wiq_json* up = container;;) {
        for (; levels > 0 && up->parent != nullptr; --levels) {
            up = up->parent;
        }
        if (up->parent == nullptr) {
            return up == child;
        }
        if (below == container) {
            return true;
        }
        below = next_below(child, below);
        if (below == nullptr) {
            return false;
        }
        levels = kLevelsPerNode;
    }
}

}  // namespace ke::json
