// The memory of a JSON value and of an object's member: the layout that every source of the document
// model shares. What callers may do with a node is in ke_utils/json.h.
//
//   wiq_json_t          ┌──────┬───────┬──────────┬────────┬──────────┐
//   (every node)        │ type │ flags │ refcount │ parent │ position │ 24 bytes
//                       └──────┴───────┴──────────┴────────┴──────────┘
//   null, true, false   nothing follows
//   i64, u64, double    8 bytes of value
//   u128                16 bytes of value, low half first
//   string, reference   a pointer to the text, which stands in the same block right behind it
//   object              its wiq_map
//   array               its wiq_vector of wiq_json_t*
//
// An object's member is one block: the map's entry with the key's text right behind it, so that
//
//   wiq_map_entry       ┌─────┬──────┬───────┬──────┬──────────────┐
//   (+ key text)        │ key │ hash │ value │ next │ k e y ... \0 │
//                       └──┬──┴──────┴───────┴──────┴──────────────┘
//                          └───────────────────────▲ and the child's position.key points there too
#pragma once

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

inline wiq_json* child_of(const wiq_map_entry* entry) {
    return static_cast<wiq_json*>(entry->value);
}
inline const char* key_of(const wiq_map_entry* entry) {
    return static_cast<const char*>(entry->key);
}

// Members in map order: nullptr at the end. Neither allocates; the object must not change in between.
wiq_map_entry* first_member(const ObjectNode* obj);
wiq_map_entry* next_member(const ObjectNode* obj, const wiq_map_entry* entry);

inline wiq_json** elems_of(const ArrayNode* array) {
    return static_cast<wiq_json**>(array->elems.data);
}
inline i32 size_of(const ArrayNode* array) {
    return array->elems.size;
}

// A string or reference node (type kJsonString or kJsonRef) with a copy of `length` bytes of text in its
// own block; nullptr without memory.
wiq_json* new_text_node(u16 type, const char* text, size_t length);

// Attaches a child whose reference the object or array takes over from the caller: the count is not
// touched before, and is 1 higher after. For nodes without a parent, into containers of the right kind;
// nothing is checked. 0, or -5000 with container and child as they were.
i32 attach_member(ObjectNode* obj, const char* key, size_t key_length, wiq_json* child);
i32 attach_elem(ArrayNode* array, wiq_json* child);

// The member under a key, not following references; nullptr if there is none.
wiq_json* find_member(const ObjectNode* obj, const char* key);

}  // namespace ke::json
