// The memory of a JSON value and of an object's member: the layout that every source of the document
// model shares. What callers may do with a node is in ke_utils/json.h.
//
//   wiq_json_t          ┌──────┬───────┬──────┬──────────┬────────┬──────────┐
//   (every node)        │ type │ flags │ home │ refcount │ parent │ position │ 24 bytes
//                       └──────┴───────┴──────┴──────────┴────────┴──────────┘
//   null, true, false   nothing follows
//   i64, u64, double    8 bytes of value
//   u128                16 bytes of value, low half first
//   string, reference   a pointer to the text, which stands in the same block behind the node, and its
//                       length; nullptr and 0 in a string whose text found no memory
//   object              its Members (members.h), and perhaps its table
//   array               its Elements, and perhaps its table
//
// A container that is made with room for a few children has its table behind it in the same block; one that
// outgrows it gets a table in a block of its own, which all others have from the beginning.
//
// A node that is made as an object's member shares one block with that member:
//
//                       ┌───────────────────┬──────────────┬───────────────────┐
//                       │ Member            │ k e y ... \0 │ node, its text    │
//                       └───────────────────┴──────────────┴───────────────────┘
//                       ◄──────── home, in units of 8 ─────►
//
// `home` says how far the block's start is before the node; 0 is a node in a block of its own. The block
// is the node's, which outlives the member: a member that leaves its object leaves the block alone then,
// and is never used again. If another child takes the node's place the member stays, and the block has two
// owners; the last one to leave frees it. A node that comes to its object ready-made, or that is large, or
// whose key is long, has a member in a block apart. A bit beside `home` says that there is room for a table
// after a container's node.
//
// The blocks of nodes that the parser or a copy makes, except roots, lie in chunks (chunks.h).
// Another bit beside `home` says so, and `home` is then the distance to the last mark before the node. The owners
// of a block are the same as above, but a member that stays when another child takes its node's place counts as
// one more block of the chunk. None of this changes while the node lives. The functions are in blocks.h.
//
// A root has a block of its own. If the document's chunks are listed (document.h), its `home` is kHomeOfRoot, which
// is no distance, and its position is the list.
//
// What a container holds is released by the model itself, in refcount.cpp, without recursion.
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

// The container holds references to nodes without becoming their parent.
constexpr u8 kJsonWeak = 2;

struct wiq_json {
    u16 type;
    u8 flags;
    u8 home : 6;
    u8 in_chunk : 1;
    u8 room_behind : 1;
    i32 refcount;
    wiq_json* parent;
    union {
        u32 index;                     // in an array
        const char* key;               // in an object: the text in the member's block
        wiq_json* next;                // in an array that is being released: another element
        ke::json::Document* document;  // of a root that has one
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
// Strings and references. The text usually follows in the same block; nullptr if it could not be had.
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
        wiq_json* chain;  // the elements of an array that is being released
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

inline i32 size_of(const ObjectNode* obj) {
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): the caller has an object, not NULL.
    return static_cast<i32>(obj->members.size);
}

// Members in map order: nullptr at the end. The object must not change in between.
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

// The `home` of a root with a document, see above.
constexpr u8 kHomeOfRoot = 1;
inline bool has_document(const wiq_json* node) {
    return node->home == kHomeOfRoot && node->in_chunk == 0;
}

// Clears a child's link to its parent and its place there.
inline void unlink_from_parent(wiq_json* child) {
    child->parent = nullptr;
    child->position.key = nullptr;
}

// The header of a new node: free-standing, with a count of 0.
inline void begin_node(wiq_json* node, u16 type, size_t home, bool in_chunk) {
    node->type = type;
    node->flags = 0;
    node->home = home & 63;
    node->in_chunk = in_chunk;
    node->room_behind = 0;
    node->refcount = 0;
    unlink_from_parent(node);
}

// The largest node that shares its block with its member, which may keep the block when the node is gone.
constexpr size_t kLargestWithMember = 1024;

// The distance from a member to its node when both share a block.
constexpr size_t member_span(size_t key_length) {
    return (sizeof(Member) + key_length + 1 + 7) / 8 * 8;
}
// The longest key whose member can share a block with its node.
constexpr size_t kLongestWithNode = Chunks::kFarthest - sizeof(Member) - 1;
static_assert(member_span(kLongestWithNode) == Chunks::kFarthest);

template <class Node>
constexpr size_t kSizeInChunk = (sizeof(Node) + 7) / 8 * 8;

// A new node of so many bytes; with a key, in one block with its member, unless the key is too long for
// that, or the node too large: see is_apart_from(). If `chunks` is given, the block is taken from there. Returns
// nullptr when out of memory.
wiq_json* allocate_node(u16 type, size_t size, const Key* key, Chunks* chunks);

// A new node in a chunk. These serve the usual elements and members of a document: the sizes are known, and a
// node directly follows its member.
template <class Node>
inline Node* new_elem(u16 type, Chunks* chunks) {
    char* block = chunks->take(kSizeInChunk<Node>, 0);
    if (block == nullptr)
        return nullptr;
    auto* node = reinterpret_cast<Node*>(block);
    begin_node(node, type, chunks->distance(block), true);
    return node;
}
template <class Node>
inline Node* new_member_node(u16 type, const Key& key, Chunks* chunks) {
    const size_t offset = member_span(key.length);
    char* block = chunks->take(offset + kSizeInChunk<Node>, offset);
    if (block == nullptr)
        return nullptr;
    make_member(block, key);
    auto* node = reinterpret_cast<Node*>(block + offset);
    begin_node(node, type, chunks->distance(block + offset), true);
    return node;
}

template <class Node>
inline Node* new_node(u16 type, const Key* key = nullptr, Chunks* chunks = nullptr) {
    if (chunks != nullptr && key == nullptr)
        return new_elem<Node>(type, chunks);
    if (chunks != nullptr && key->length <= kLongestWithNode)
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

// A string or reference node (type kJsonString or kJsonRef) with a copy of `length` bytes of text in its
// own block, or without text if that is nullptr; nullptr without memory.
wiq_json* new_text_node(u16 type, const char* text, size_t length, const Key* key = nullptr,
                        Chunks* chunks = nullptr);

// The places of the largest table behind a node.
constexpr u64 kFewPlaces = 64;

// A container of this kind, with room for so many places behind it, which are not set; the fields behind its
// header neither. nullptr without memory.
template <class Node>
inline Node* new_container(u16 type, u64 places_behind, u8 flags, const Key* key, Chunks* chunks) {
    auto* node = static_cast<Node*>(
        allocate_node(type, sizeof(Node) + places_behind * sizeof(void*), key, chunks));
    if (node != nullptr) {
        node->flags = flags;
        node->room_behind = places_behind != 0;
    }
    return node;
}

// Whether a container's table stands directly after its node.
template <class Node, class Slot>
inline bool is_behind(const Node* node, const Slot* table) {
    return node->room_behind != 0 && static_cast<const void*>(table) == node + 1;
}

// A container's table of `used` bytes as one of `size` bytes, in a block of its own; nullptr without memory,
// with nothing changed.
template <class Node, class Slot>
inline Slot* grown_table(Node* node, Slot* table, size_t used, size_t size) {
    const bool behind = is_behind(node, table);
    auto* grown = static_cast<Slot*>(realloc(behind ? nullptr : table, size));
    if (grown != nullptr && behind)
        memcpy(grown, table, used);
    return grown;
}

// An empty object or array, flags 0 or kJsonWeak, with room for so many children; nullptr without memory.
ObjectNode* new_object(i32 capacity, u8 flags, const Key* key = nullptr, Chunks* chunks = nullptr);
ArrayNode* new_array(i32 capacity, u8 flags, const Key* key = nullptr, Chunks* chunks = nullptr);
// The same, with a table of so many buckets, which is a power of two, or 0 for none.
ObjectNode* new_object_with(u64 buckets, u8 flags, const Key* key = nullptr,
                            Chunks* chunks = nullptr);
// A table of so many empty buckets in a block of its own, for an object that has none: 0, or -5000.
i32 make_table(ObjectNode* obj, u64 buckets);
// Takes a container's table away, with all that it says. The children are the caller's.
void drop_table(wiq_json* container);

// A string node with a copy of the text, or without it if there is memory for the node alone.
wiq_json* new_string(const char* text, const Key* key = nullptr);

// Attaching. The child has no parent, the container is of the right kind; nothing is checked. The child's
// count is 1 higher after. 0, or -5000 with container and child as they were. The new one is for a node
// that no caller has seen yet.
i32 attach_elem(ArrayNode* array, wiq_json* child);
i32 attach_new_elem(ArrayNode* array, wiq_json* child);

// Gives a member that is in no table the child, whose count is as it should be, and its place in the object,
// where it replaces another member with the same key: for an object that no caller has seen yet. 0, or -5000
// with nothing changed.
i32 attach_made_member(ObjectNode* obj, Member* member, wiq_json* child);

// A free-standing member with a copy of the key, without a child, in a block of its own; nullptr without
// memory.
Member* new_member(const Key& key);
// The last step of attaching, when the place is made: each knows the other.
inline void settle(ObjectNode* obj, Member* member, wiq_json* child) {
    member->child = child;
    if (!is_weak(obj)) {
        child->parent = obj;
        child->position.key = member->key();
    }
}
inline void settle(ArrayNode* array, i32 index, wiq_json* child) {
    if (!is_weak(array)) {
        child->parent = array;
        child->position.index = static_cast<u32>(index);
    }
}

// The child under a key, not following references; nullptr if there is none.
wiq_json* find_child(const ObjectNode* obj, const char* key);

// Frees a member that is in no table any more, and releases its child.
void release_member(ObjectNode* obj, Member* member);

// Takes a member out of its object and frees it; the child is not touched. Returns the child.
wiq_json* take_member(ObjectNode* obj, Member* member);

// Whether attaching the child to the container would make the child its own ancestor. A container tree
// with a ring in it could be neither released nor walked.
bool closes_ring(const wiq_json* container, wiq_json* child);

// A container gives up its reference to a child that it no longer holds, and the child is destroyed if
// nobody else has one: a strong container also stops being its parent, a weak one leaves a child alone
// that has a parent elsewhere.
void release_child(const wiq_json* container, wiq_json* child);

// Releases the children of the container and leaves its table, whose size and slots mean nothing then.
void release_children(wiq_json* top);

// Destroys a free-standing node whose count has fallen to 0; no reference is given up.
void release_if_unreferenced(wiq_json* node);

// A container hands its reference to a child over to the caller: as release_child, but the child stays,
// even with a count of 0.
void hand_over_child(const wiq_json* container, wiq_json* child);

}  // namespace ke::json
