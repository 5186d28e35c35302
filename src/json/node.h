// The memory of a JSON value and of an object's member: the layout that every source of the document
// model shares. What callers may do with a node is in ke_utils/json.h.
//
//   wiq_json_t          ┌──────┬───────┬──────────┬────────┬──────────┐
//   (every node)        │ type │ flags │ refcount │ parent │ position │ 24 bytes
//                       └──────┴───────┴──────────┴────────┴──────────┘
//   null, true, false   nothing follows
//   i64, u64, double    8 bytes of value
//   u128                16 bytes of value, low half first
//   string, reference   a pointer to the text, which stands in the same block right behind it; nullptr
//                       in a string whose text found no memory
//   object              its wiq_map
//   array               its wiq_vector of wiq_json_t*
//
// An object's member is one block: the map's entry with the key's text right behind it, so that
//
//   wiq_map_entry       ┌─────┬──────┬───────┬──────┬──────────────┐
//   (+ key text)        │ key │ hash │ value │ next │ k e y ... \0 │
//                       └──┬──┴──────┴───────┴──────┴──────────────┘
//                          └───────────────────────▲ and the child's position.key points there too
//
// The map and the vector have no release callbacks: what they hold is released by the model itself, in
// refcount.cpp, without recursion.
#pragma once

#include "containers/map_core.h"
#include "ke_utils/core.h"
#include "ke_utils/json.h"

enum : u16 {
    kJsonNull = 0,
    kJsonObject = 1,
    kJsonArray = 2,
    kJsonI64 = 3,
    kJsonU64 = 4,
    kJsonU128 = 5,
    kJsonDouble = 6,
    kJsonString = 7,
    kJsonTrue = 8,
    kJsonFalse = 9,
    kJsonRef = 10,
};

// The container holds references to nodes without becoming their parent.
constexpr u8 kJsonWeak = 2;

struct wiq_json {
    u16 type;
    u8 flags;
    i32 refcount;
    wiq_json* parent;
    union {
        u32 index;        // in an array
        const char* key;  // in an object: the text in the member's own entry
    } position;
};

namespace ke::json {

struct I64Node : wiq_json {
    i64 value;
};
struct U64Node : wiq_json {
    u64 value;
};
struct U128Node : wiq_json {
    wiq_uint128 value;
};
struct DoubleNode : wiq_json {
    double value;
};
// Strings and references. The text usually follows in the same block; nullptr if it could not be had.
struct TextNode : wiq_json {
    char* text;
};
struct ObjectNode : wiq_json {
    wiq_map map;
};
struct ArrayNode : wiq_json {
    wiq_vector elems;
};

template <class Node>
inline Node* as(wiq_json* node) {
    return static_cast<Node*>(node);
}
template <class Node>
inline const Node* as(const wiq_json* node) {
    return static_cast<const Node*>(node);
}

inline bool is_weak(const wiq_json* node) {
    return (node->flags & kJsonWeak) != 0;
}
inline bool is_container(const wiq_json* node) {
    return node->type == kJsonObject || node->type == kJsonArray;
}

// The object or array behind a caller's pointer; nullptr if it is something else.
inline ObjectNode* to_object(const wiq_json* node) {
    return wiq_json_is_obj(node) ? as<ObjectNode>(const_cast<wiq_json*>(node)) : nullptr;
}
inline ArrayNode* to_array(const wiq_json* node) {
    return wiq_json_is_array(node) ? as<ArrayNode>(const_cast<wiq_json*>(node)) : nullptr;
}

// The chaining out-argument: a failure that is already there makes a call do nothing; otherwise the
// call's own status is stored and handed on.
inline bool has_failed(const u32* err) {
    return err != nullptr && *err != 0;
}
inline i32 report(u32* err, i32 status) {
    if (err != nullptr) {
        *err = static_cast<u32>(status);
    }
    return status;
}

inline wiq_json* child_of(const wiq_map_entry* entry) {
    return static_cast<wiq_json*>(entry->value);
}
inline const char* key_of(const wiq_map_entry* entry) {
    return static_cast<const char*>(entry->key);
}
// The entry whose block holds this key text: a child's position.key gives its member.
inline wiq_map_entry* entry_of_key(const char* key) {
    return reinterpret_cast<wiq_map_entry*>(const_cast<char*>(key) - sizeof(wiq_map_entry));
}

// Members in map order: nullptr at the end. Neither allocates; the object must not change in between.
inline wiq_map_entry* first_member(const ObjectNode* obj) {
    return map_first(&obj->map);
}
inline wiq_map_entry* next_member(const ObjectNode* obj, const wiq_map_entry* entry) {
    return map_next(&obj->map, entry);
}
inline i32 size_of(const ObjectNode* obj) {
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): the caller has an object, not NULL.
    return static_cast<i32>(obj->map.size);
}

inline wiq_json** elems_of(const ArrayNode* array) {
    return static_cast<wiq_json**>(array->elems.data);
}
inline i32 size_of(const ArrayNode* array) {
    return array->elems.size;
}

// Clears a child's link to its parent and its place there.
inline void unlink_from_parent(wiq_json* child) {
    child->parent = nullptr;
    child->position.key = nullptr;
}

// The header of a new node: free-standing, with a count of 0.
inline void begin_node(wiq_json* node, u16 type, u8 flags = 0) {
    node->type = type;
    node->flags = flags;
    node->refcount = 0;
    unlink_from_parent(node);
}

// A string or reference node (type kJsonString or kJsonRef) with a copy of `length` bytes of text in its
// own block, or without text if that is nullptr; nullptr without memory.
wiq_json* new_text_node(u16 type, const char* text, size_t length);

// Attaches a child whose reference the object or array takes over from the caller: the count is not
// touched before, and is 1 higher after. For nodes without a parent, into containers of the right kind;
// nothing is checked. The key ends with a NUL after `key_length` bytes. 0, or -5000 with container and
// child as they were. attach_new_member is for a key that the object is known not to have, with its
// wiq_hash_str().
i32 attach_member(ObjectNode* obj, const char* key, size_t key_length, wiq_json* child);
i32 attach_new_member(ObjectNode* obj, const char* key, size_t key_length, u32 hash,
                      wiq_json* child);
i32 attach_elem(ArrayNode* array, wiq_json* child);

// The same in two steps, for a reader that meets the key before the child: a member's entry with a copy of
// the key (`key_length` bytes, no NUL needed) and its hash, nullptr without memory; free() releases it
// while it is not attached. attach_entry takes the entry over also when it fails.
wiq_map_entry* new_entry(const char* key, size_t key_length);
i32 attach_entry(ObjectNode* obj, wiq_map_entry* entry, wiq_json* child);

// The member under a key, not following references; nullptr if there is none.
wiq_json* find_member(const ObjectNode* obj, const char* key);

// Takes a member out of its object: its entry is freed, the child is not touched. Returns the child.
wiq_json* take_member(ObjectNode* obj, wiq_map_entry* entry);

// Whether attaching the child to the container would make the child its own ancestor. A container tree
// with a ring in it could be neither released nor walked.
bool closes_ring(const wiq_json* container, const wiq_json* child);

// Makes a typed builder's new node a member or an element: returns it with status 0, or releases it and
// returns nullptr with the attach's status.
wiq_json* keep_if_attached(wiq_json* node, i32 status);

// The count, changed as every thread may change it; each returns the new value.
i32 count_up(wiq_json* node);
i32 count_down(wiq_json* node);

// A container gives up its reference to a child that it no longer holds, and the child is destroyed if
// nobody else has one: a strong container also stops being its parent, a weak one leaves a child alone
// that has a parent elsewhere.
void release_child(const wiq_json* container, wiq_json* child);

// Destroys a free-standing node whose count has fallen to 0; no reference is given up.
void release_if_unreferenced(wiq_json* node);

// A container hands its reference to a child over to the caller: as release_child, but the child stays,
// even with a count of 0.
void hand_over_child(const wiq_json* container, wiq_json* child);

}  // namespace ke::json
