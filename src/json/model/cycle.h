// The tests that keep containers from forming cycles.
#pragma once

#include "json/model/node.h"

namespace ke::json {

// Returns whether attaching the child, which must have no parent, to the container would make the
// child its own ancestor. That includes attaching a container to itself. Containers that form a
// cycle could be neither released nor walked.
bool would_form_cycle(const wiq_json* container, wiq_json* child);

// Returns whether the container may take the child; false if the child is nullptr. A strong
// container only takes a child that has no parent and is neither the container itself nor one of
// its ancestors.
inline bool may_attach(const wiq_json* container, wiq_json* child) {
    return child != nullptr && (is_weak(container) ||
                                (child->parent == nullptr && !would_form_cycle(container, child)));
}

}  // namespace ke::json
