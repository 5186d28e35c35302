// The memory layout of a JSON value and of an object's member. The functions of the document model
// are declared in the headers of their sources: make.h, table.h, blocks.h, array.h, object.h,
// cycle.h, refcount.h. What callers may do with a node is in ke_utils/json.h.
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
// the same block; the bit `has_inline_room` says that there is such room. A container that outgrows
// this table gets one in a block of its own, and the room after the node then stays unused. All
// other tables have blocks of their own from the beginning.
//
// A node that is made as an object's member usually shares one block with that member:
//
//                       ┌───────────────────┬──────────────┬───────────────────┐
//                       │ Member            │ k e y ... \0 │ node, its text    │
//                       └───────────────────┴──────────────┴───────────────────┘
//                       ◄──────── home, in units of 8 ─────►
//
// `home` is the distance from the start of the block to the node; it is 0 for a node at the start
// of its block. A member has a block of its own if its node was made before it was put into the
// object, if the node is large, or if the key is long.
//
// A shared block belongs to the node, which may outlive the member: a member that leaves its object
// does not free the block, and is never used again. But if another child takes the node's place,
// the member stays in the object, and the block has two owners, the member and the node. The one
// that leaves last frees the block.
//
// The parser and a copy place the blocks of all their nodes, except roots, in chunks (chunks.h).
// The bit `in_chunk` says so, and `home` is then the distance from the last mark before the node.
// Such a block has the same owners, but each owner counts as one block of the chunk, and it is the
// chunk that is freed with the last of them.
//
// `home`, `in_chunk` and `has_inline_room` are written when the node is made and do not change
// while it lives, with one exception: the `home` of a root. A root has a block of its own. If its
// document has a record (document.h), `home` is kHomeOfRoot, which is no distance, and the position
// is the record. Before the root gets a parent or is freed, the record is taken from it and `home`
// is set back to 0.
//
// refcount.cpp releases what a container holds, without recursion.
#pragma once

#include "json/model/chunks.h"
#include "json/model/members.h"
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
        u32 index;                     // in an array: usually the slot, see slot_of() in array.h
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

// The `home` of a root with a record, see above. It cannot be taken for the distance of a node
// outside of chunks: that is 0, or at least the size of a member (asserted after member_span()).
constexpr u8 kHomeOfRoot = 1;
inline bool has_document(const wiq_json* node) {
    return node->home == kHomeOfRoot && node->in_chunk == 0;
}

// Clears a child's link to its parent and its position there.
inline void unlink_from_parent(wiq_json* child) {
    child->parent = nullptr;
    child->position.key = nullptr;
}

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
static_assert(Chunks::kMaxDistance / 8 < 64, "every distance fits the 6 bits of `home`");
static_assert(alignof(Member) <= 8 && alignof(U128Node) <= 8 && alignof(TextNode) <= 8 &&
                  alignof(ObjectNode) <= 8 && alignof(ArrayNode) <= 8,
              "a node or a member may stand at any multiple of 8 in a chunk");

// The largest table that can follow its node in the same block has this many slots or buckets. An
// object with so many buckets has at most kMaxInlineMembers members; one more makes the table grow.
constexpr u64 kMaxInlineSlots = 64;
constexpr u64 kMaxInlineMembers = load_limit(kMaxInlineSlots);
static_assert(grown_buckets(kMaxInlineMembers) == kMaxInlineSlots &&
              grown_buckets(kMaxInlineMembers + 1) > kMaxInlineSlots);

// Returns whether a container's table stands directly after its node.
template <class Node, class Slot>
inline bool is_inline(const Node* node, const Slot* table) {
    return node->has_inline_room != 0 && static_cast<const void*>(table) == node + 1;
}

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

}  // namespace ke::json
