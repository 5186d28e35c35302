// What the sources of the document model do with the members of objects. Nothing is checked here;
// what callers may pass is in ke_utils/json.h.
#pragma once

#include "json/model/node.h"

namespace ke::json {

// Attaches a child by a member that was made for it and is in no table. The member may replace
// another one with the same key, which is released with its child; this is for an object that no
// caller has seen yet. The child's count must already include the object's reference. Returns 0, or
// WIQ_ERR_NO_MEMORY with the object's members and the child unchanged; the member is then still the
// caller's.
i32 attach_member(ObjectNode* obj, Member* member, wiq_json* child);

// Returns the child under a key; otherwise returns nullptr. If the child is a reference, it is
// returned itself.
wiq_json* find_child(const ObjectNode* obj, const char* key);

// Takes a member out of its object, frees it and returns its child, whose count and parent are
// unchanged.
wiq_json* detach_member(ObjectNode* obj, Member* member);

}  // namespace ke::json
