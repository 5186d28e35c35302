// The memory layout of a JSON value and of an object's member, and the functions of the document
// model that its sources share. What callers may do with a node is in ke_utils/json.h.
//
//   wiq_json_t          ┌──────┬───────┬──────┬──────────┬────────┬──────────┐
//   (every node)        │ type │ flags │ home │ refcount │ parent │ position │ 24 bytes
//                       └──────┴───────┴──────┴──────────┴────────┴──────────┘
//   null, true, false   nothing follows
//   i64, u64, double    8 bytes of value
//   u128                16 bytes of value, low half first
//   string, reference   a pointer to the text, which follows the node in the same block, and its
//                       length; nullptr and 0 for a string whose text could not be allocated
//   object              its Members (members.h), and perhaps its table
//   array               its Elements, and perhaps its table
//
// A container that is made with room for a few children has its table directly after its node, in
// the same block. When the container outgrows that table, it gets one in a block of its own; the
// room after the node then stays unused. All other tables are in blocks of their own from the
// beginning.
//
// A node that is made as an object's member shares one block with that member:
//
//                       ┌───────────────────┬──────────────┬───────────────────┐
//                       │ Member            │ k e y ... \0 │ node, its text    │
//                       └───────────────────┴──────────────┴───────────────────┘
//                       ◄──────── home, in units of 8 ─────►
//
// `home` is the distance from the start of the block to the node; it is 0 for a node that stands at
// the start of its block. The block belongs to the node, which outlives the member: a member that
// leaves its object does not free the block, and is never used again. If another child takes the
// node's place, the member stays in the object and the block has two owners: the member and the
// node. The one that leaves last frees the block. A member has a block of its own if its node was
// made before it was put into the object, if the node is large, or if the key is long. The bit
// `has_inline_room` says that there is room for a table after a container's node.
//
// The parser and a copy place the blocks of all their nodes, except roots, in chunks (chunks.h).
// The bit `in_chunk` says so, and `home` is then the distance from the last mark before the node.
// The owners of a block are the same as above, but a member that stays when another child takes its
// node's place counts as one more block of the chunk. `home`, `in_chunk` and `has_inline_room` are
// written when the node is made and do not change while it lives, except for `home` in a root:
//
// A root has a block of its own. If its document has a record (document.h), the root's `home` is
// kHomeOfRoot, which is no distance, and its position is the record. The record is taken from the
// root, and `home` set back to 0, before the root gets a parent or is freed.
//
// The model itself releases what a container holds, in refcount.cpp, without recursion.
#pragma once

#include <atomic>
#include <cstdlib>

#include "json/chunks.h"
#include "json/members.h"
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

// A container with this flag holds references to its children without becoming their parent.
constexpr u8 kJsonWeak = 2;

struct wiq_json {
    // What all nodes have. The bit fields are explained above.
    u16 type;
    u8 flags;
    u8 home : 6;
    u8 in_chunk : 1;
    u8 has_inline_room : 1;
    i32 refcount;
    wiq_json* parent;
    union {
        u32 index;                     // in an array
        const char* key;               // in an object: the text in the member's block
        wiq_json* next;                // in an array that is being released: the next element
        ke::json::Document* document;  // in a root that has a record
    } position;
};

static_assert(sizeof(wiq_json) == 24);

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
// Strings and references. The text follows the node in the same block, except in the pattern that
// wiq_json_array_find_str() makes on the stack. It is nullptr if a string's text could not be
// allocated, and after wiq_json_finalize().
struct TextNode : wiq_json {
    char* text;
    size_t length;
};
struct ObjectNode : wiq_json {
    Members members;
};
struct Elements {
    union {
        wiq_json** data;
        wiq_json* chain;  // of an array that is being released, once its table is freed
    };
    i32 size;
    i32 capacity;
};
struct ArrayNode : wiq_json {
    Elements elems;
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

// These return the object or the array that a caller's pointer points to; nullptr if the pointer is
// NULL or the node has another type.
inline ObjectNode* to_object(const wiq_json* node) {
    return wiq_json_is_obj(node) ? as<ObjectNode>(const_cast<wiq_json*>(node)) : nullptr;
}
inline ArrayNode* to_array(const wiq_json* node) {
    return wiq_json_is_array(node) ? as<ArrayNode>(const_cast<wiq_json*>(node)) : nullptr;
}

// The chaining out-argument `err`: a call does nothing if *err already holds a failure. Otherwise
// report() stores the call's own status there, and returns it.
inline bool has_failed(const u32* err) {
    return err != nullptr && *err != 0;
}
inline i32 report(u32* err, i32 status) {
    if (err != nullptr) {
        *err = static_cast<u32>(status);
    }
    return status;
}

inline i32 size_of(const ObjectNode* obj) {
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): the caller has an object, not NULL.
    return static_cast<i32>(obj->members.size);
}

// Walk the members in map order; nullptr at the end. The object must not change during the walk.
inline Member* first_member(const ObjectNode* obj) {
    return first(obj->members);
}
inline Member* next_member(const ObjectNode* obj, const Member* member) {
    return next(obj->members, member);
}

inline wiq_json** elems_of(const ArrayNode* array) {
    return array->elems.data;
}
inline i32 size_of(const ArrayNode* array) {
    return array->elems.size;
}

// The `home` of a root with a record, see above. Without `in_chunk` it cannot be a distance: a node
// that shares its block with a member is farther from the start of the block, see the assertion
// after member_span().
constexpr u8 kHomeOfRoot = 1;
inline bool has_document(const wiq_json* node) {
    return node->home == kHomeOfRoot && node->in_chunk == 0;
}

// Clears a child's link to its parent and its position there.
inline void unlink_from_parent(wiq_json* child) {
    child->parent = nullptr;
    child->position.key = nullptr;
}

// Writes the header of a new node, which has no parent and a count of 0.
inline void init_node(wiq_json* node, u16 type, size_t home, bool in_chunk) {
    node->type = type;
    node->flags = 0;
    node->home = home & 63;
    node->in_chunk = in_chunk;
    node->has_inline_room = 0;
    node->refcount = 0;
    unlink_from_parent(node);
}

// The largest node that shares its block with its member. A member may keep the whole block after
// the node is gone.
constexpr size_t kMaxSizeWithMember = 1024;

// The distance from a member to its node when both share a block: the member with its key and a
// NUL, rounded up to a multiple of 8.
constexpr size_t member_span(size_t key_length) {
    return (sizeof(Member) + key_length + 1 + 7) / 8 * 8;
}
static_assert(kHomeOfRoot < member_span(0) / 8, "no node with a member has a root's `home`");
// The longest key whose member can share a block with its node. Even directly after a mark of a
// chunk, the node's distance then fits the 6 bits of `home`.
constexpr size_t kMaxKeyLengthWithNode = Chunks::kMaxOffset - sizeof(Member) - 1;
static_assert(member_span(kMaxKeyLengthWithNode) == Chunks::kMaxOffset);

template <class Node>
constexpr size_t kSizeInChunk = (sizeof(Node) + 7) / 8 * 8;

// Returns a new node of `size` bytes; only its header is set. With a key, the node shares one block
// with its member, unless the key is too long or the node too large; has_own_block() says
// which. If `chunks` is given, the block is taken from there. Returns nullptr when out of memory.
wiq_json* allocate_node(u16 type, size_t size, const Key* key, Chunks* chunks);

// These two make a node in a chunk. They serve the usual elements and members of a document, whose
// sizes are known at compile time; a node directly follows its member.
template <class Node>
inline Node* new_elem(u16 type, Chunks* chunks) {
    char* block = chunks->take(kSizeInChunk<Node>, 0);
    if (block == nullptr)
        return nullptr;
    auto* node = reinterpret_cast<Node*>(block);
    init_node(node, type, chunks->distance(block), true);
    return node;
}
template <class Node>
inline Node* new_member_node(u16 type, const Key& key, Chunks* chunks) {
    const size_t offset = member_span(key.length);
    char* block = chunks->take(offset + kSizeInChunk<Node>, offset);
    if (block == nullptr)
        return nullptr;
    init_member(block, key);
    auto* node = reinterpret_cast<Node*>(block + offset);
    init_node(node, type, chunks->distance(block + offset), true);
    return node;
}

// These return a node of fixed size, without or with its value set; otherwise they are like
// allocate_node().
template <class Node>
inline Node* new_node(u16 type, const Key* key = nullptr, Chunks* chunks = nullptr) {
    if (chunks != nullptr && key == nullptr)
        return new_elem<Node>(type, chunks);
    if (chunks != nullptr && key->length <= kMaxKeyLengthWithNode)
        return new_member_node<Node>(type, *key, chunks);
    return static_cast<Node*>(allocate_node(type, sizeof(Node), key, chunks));
}
template <class Node, class Value>
inline Node* new_node_of(u16 type, const Value& value, const Key* key = nullptr,
                         Chunks* chunks = nullptr) {
    auto* node = new_node<Node>(type, key, chunks);
    if (node != nullptr)
        node->value = value;
    return node;
}

// Returns a string or reference node (type kJsonString or kJsonRef) with a copy of `length` bytes
// of text in its own block, or without text if `text` is nullptr. Returns nullptr when out of
// memory.
wiq_json* new_text_node(u16 type, const char* text, size_t length, const Key* key = nullptr,
                        Chunks* chunks = nullptr);

// The largest table that can follow its node in the same block has this many slots or buckets.
constexpr u64 kMaxInlineSlots = 64;

// Returns a container of type `type` with room for a table of `inline_slots` slots or buckets
// directly after its node. Neither the table nor the fields after the header are set. Returns
// nullptr when out of memory.
template <class Node>
inline Node* new_container(u16 type, u64 inline_slots, u8 flags, const Key* key, Chunks* chunks) {
    auto* node = static_cast<Node*>(
        allocate_node(type, sizeof(Node) + inline_slots * sizeof(void*), key, chunks));
    if (node != nullptr) {
        node->flags = flags;
        node->has_inline_room = inline_slots != 0;
    }
    return node;
}

// Returns whether a container's table stands directly after its node.
template <class Node, class Slot>
inline bool is_inline(const Node* node, const Slot* table) {
    return node->has_inline_room != 0 && static_cast<const void*>(table) == node + 1;
}

// Returns a container's table with its first `used` bytes, grown to `size` bytes in a block of its
// own; the caller stores it in the node. Returns nullptr when out of memory, with nothing changed.
template <class Node, class Slot>
inline Slot* grown_table(Node* node, Slot* table, size_t used, size_t size) {
    const bool inline_table = is_inline(node, table);
    auto* grown = static_cast<Slot*>(realloc(inline_table ? nullptr : table, size));
    if (grown != nullptr && inline_table)
        memcpy(grown, table, used);
    return grown;
}

// Return an empty object or array with room for `capacity` children; `flags` is 0 or kJsonWeak.
// Return nullptr when out of memory.
ObjectNode* new_object(i32 capacity, u8 flags, const Key* key = nullptr, Chunks* chunks = nullptr);
ArrayNode* new_array(i32 capacity, u8 flags, const Key* key = nullptr, Chunks* chunks = nullptr);
// The same, with a table of `buckets` buckets: a power of two, or 0 for no table.
ObjectNode* new_object_with(u64 buckets, u8 flags, const Key* key = nullptr,
                            Chunks* chunks = nullptr);
// Makes a table of `buckets` empty buckets in a block of its own for an object that has no table.
// Returns 0, or WIQ_ERR_NO_MEMORY with nothing changed.
i32 make_table(ObjectNode* obj, u64 buckets);
// Frees a container's table and zeroes its bookkeeping. The children are not released.
void drop_table(wiq_json* container);

// Returns a string node with a copy of the text, or without text if there is memory for the node
// alone. Returns nullptr when out of memory.
wiq_json* new_string(const char* text, const Key* key = nullptr);

// Attach a child as the last element. Nothing is checked: the caller knows that a strong array may
// become the child's parent. The array's reference adds 1 to the child's count; attach_new_elem(),
// for a node that no caller has seen yet, sets the count to 1. Return 0, or WIQ_ERR_NO_MEMORY with
// the array's elements and the child unchanged.
i32 attach_elem(ArrayNode* array, wiq_json* child);
i32 attach_new_elem(ArrayNode* array, wiq_json* child);

// Attaches a child by a member that was made for it and is in no table. The member may replace
// another one with the same key, which is released with its child; this is for an object that no
// caller has seen yet. The child's count must already include the object's reference. Returns 0, or
// WIQ_ERR_NO_MEMORY with the object's members and the child unchanged; the member is then still the
// caller's.
i32 attach_member(ObjectNode* obj, Member* member, wiq_json* child);

// Returns a member with a copy of the key and no child, in a block of its own. Returns nullptr when
// out of memory.
Member* new_member(const Key& key);
// The last step of attaching, once the child has its place in the table. A strong container becomes
// the child's parent; a weak one leaves parent and position alone. For an object this also stores
// the child in the member; for an array the caller stores it in the slot.
inline void link_to_parent(ObjectNode* obj, Member* member, wiq_json* child) {
    member->child = child;
    if (!is_weak(obj)) {
        child->parent = obj;
        child->position.key = member->key();
    }
}
inline void link_to_parent(ArrayNode* array, i32 index, wiq_json* child) {
    if (!is_weak(array)) {
        child->parent = array;
        child->position.index = static_cast<u32>(index);
    }
}

// Returns the child under a key; otherwise returns nullptr. If the child is a reference, it is
// returned itself.
wiq_json* find_child(const ObjectNode* obj, const char* key);

// Frees a member that is no longer in a table, and releases its child.
void release_member(ObjectNode* obj, Member* member);

// Takes a member out of its object, frees it and returns its child, whose count and parent are
// unchanged.
wiq_json* detach_member(ObjectNode* obj, Member* member);

// Returns whether attaching the child to the container would make the child its own ancestor, which
// includes attaching a container to itself. Containers that form a cycle could be neither released
// nor walked.
bool would_form_cycle(const wiq_json* container, wiq_json* child);

// Gives up the container's reference to a child that it no longer holds, and destroys the child if
// nobody else has a reference. A strong container also stops being the child's parent. A weak one
// never destroys a child that has a parent.
void release_child(const wiq_json* container, wiq_json* child);

// Releases the children of a container that is about to be freed or emptied. What is left of the
// table means nothing; the caller calls drop_table() next.
void release_children(wiq_json* top);

// Destroys a node that has no parent if its count is 0. No reference is given up.
void release_if_unreferenced(wiq_json* node);

// Hands the container's reference to a child over to the caller. As release_child(), but the child
// is kept even if its count becomes 0.
void hand_over_child(const wiq_json* container, wiq_json* child);

}  // namespace ke::json
