// The references that containers hold, and the release of whole trees.
#pragma once

#include "json/model/node.h"

namespace ke::json {

// Gives up the container's reference to a child that it no longer holds, and destroys the child if
// nobody else has a reference. A strong container also stops being the child's parent. A weak one
// never destroys a child that has a parent. The document need not be touched before: freeing the
// child touches it, and if the child lives on, whoever took the other reference has touched it.
void release_child(const wiq_json* container, wiq_json* child);

// Destroys a node that has no parent if its count is 0. No reference is given up.
void release_if_unreferenced(wiq_json* node);

// Gives up the container's reference as release_child() does, but hands the child over to the
// caller, so it is kept even if its count becomes 0.
void hand_over_child(const wiq_json* container, wiq_json* child);

}  // namespace ke::json
