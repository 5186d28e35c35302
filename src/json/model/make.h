// Makes nodes and members: the constructors of all kinds. node.h explains their layout.
#pragma once

#include "json/model/node.h"

namespace ke::json {

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

template <class Node>
constexpr size_t kSizeInChunk = (sizeof(Node) + 7) / 8 * 8;

// Returns a new node of `size` bytes; only its header is set. With a key, the node shares one block
// with its member, unless the key is too long or the node too large; has_member_in_block()
// says which. If `chunks` is given, the block is taken from there. Returns nullptr when out of
// memory.
wiq_json* allocate_node(u16 type, size_t size, const Key* key, Chunks* chunks);

// These two make a node in a chunk. They serve the usual elements and members of a document, whose
// sizes are known at compile time. The key of a member must not be longer than
// kMaxKeyLengthWithNode; the node directly follows its member.
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

// Returns a string node with a copy of the text; if there is only enough memory for a node without
// text, such a node. Returns nullptr when out of memory.
wiq_json* new_string(const char* text, const Key* key = nullptr);

// Return an empty object or array with room for `capacity` children; `flags` is 0 or kJsonWeak.
// Return nullptr when out of memory.
ObjectNode* new_object(i32 capacity, u8 flags, const Key* key = nullptr, Chunks* chunks = nullptr);
ArrayNode* new_array(i32 capacity, u8 flags, const Key* key = nullptr, Chunks* chunks = nullptr);
// The same, with a table of `buckets` buckets: a power of two, or 0 for no table.
ObjectNode* new_object_with(u64 buckets, u8 flags, const Key* key = nullptr,
                            Chunks* chunks = nullptr);
// Returns a member with a copy of the key and no child, in a block of its own. Returns nullptr when
// out of memory.
Member* new_member(const Key& key);

}  // namespace ke::json
