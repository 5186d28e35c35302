// Who owns the memory of nodes and members, and how it is released. node.h explains the layout.
#pragma once

#include <atomic>
#include <cstdlib>
#include <utility>

#include "json/chain_index.h"
#include "json/node.h"

namespace ke::json {

// The start of a node's block; for a node in a chunk, the last mark before the node.
inline char* home_of(wiq_json* node) {
    return reinterpret_cast<char*>(node) - size_t{8} * node->home;
}

// The mark of a node in a chunk: the address of the chunk is stored there.
inline Chunk* const* mark_of(wiq_json* node) {
    return reinterpret_cast<Chunk* const*>(home_of(node));
}

inline char* end_of(const Member* member) {
    return reinterpret_cast<char*>(const_cast<Member*>(member)) + member_span(member->key_length());
}

// Whether a member and its child were made in one block. The node follows its member directly then. No other
// node with a home directly follows a member: what precedes it is a mark, its chunk's header, or another node.
inline bool is_made_with(const Member* member, const wiq_json* child) {
    return child->home != 0 && end_of(member) == reinterpret_cast<const char*>(child);
}

// Whether a new node that was made with a key needs a member in a block apart. Such a node stands at the start of
// its block or directly after the mark of its chunk; any other one is at least a member away from there.
inline bool is_without_member(const wiq_json* node) {
    static_assert(Chunks::kDistanceAlone < member_span(0) / 8);
    return node->home <= Chunks::kDistanceAlone;
}

// The member of a new node that was made with this key. Returns nullptr when out of memory.
inline Member* member_of(wiq_json* node, const Key& key, Chunks* chunks = nullptr) {
    if (!is_without_member(node))
        return reinterpret_cast<Member*>(reinterpret_cast<char*>(node) - member_span(key.length));
    Member* member = new_member(key);
    if (member == nullptr || chunks == nullptr || chunks->list(member))
        return member;
    free(member);
    return nullptr;
}

// Lists the table of a container below the root if it has a block of its own. Returns false when out of memory. A
// document with an index of a long chain counts as touched.
inline bool list_table(Chunks* chunks, wiq_json* container) {
    if (container->type == kJsonArray) {
        const auto* array = as<ArrayNode>(container);
        return array->elems.data == nullptr || is_behind(array, array->elems.data) ||
               chunks->list(array->elems.data);
    }
    const auto* obj = as<ObjectNode>(container);
    if (obj->members.buckets == nullptr || is_behind(obj, obj->members.buckets))
        return true;
    const bool listed = chunks->list(obj->members.buckets);
    if (listed && index_of(obj->members) != nullptr)
        chunks->touch_document();
    return listed;
}

// Gives a finished document's record to its root.
inline void give_document(Chunks* chunks, wiq_json* root) {
    if (!is_container(root))
        return;
    Document* document = chunks->take_document();
    if (document != nullptr) {
        root->home = kHomeOfRoot;
        root->position.document = document;
    }
}
// Takes the record from the root. Returns nullptr if the node has none.
inline Document* take_document(wiq_json* node) {
    if (!has_document(node))
        return nullptr;
    node->home = 0;
    return std::exchange(node->position.document, nullptr);
}

// The document that a node is in or the root of has been touched.
inline void touch(wiq_json* node) {
    if (node->in_chunk != 0)
        touch((*mark_of(node))->document);
    else if (has_document(node))
        touch(node->position.document);
}

// The count, changed as every thread may change it; each returns the new value.
inline i32 count_up(wiq_json* node) {
    if (node->in_chunk != 0)
        touch((*mark_of(node))->document);
    return std::atomic_ref<i32>(node->refcount).fetch_add(1, std::memory_order_relaxed) + 1;
}
inline i32 count_down(wiq_json* node) {
    return std::atomic_ref<i32>(node->refcount).fetch_sub(1, std::memory_order_acq_rel) - 1;
}

// Called before a container that callers know gets a child. A strong one touches the documents of both, and a root
// loses its record, since its position becomes that of a child. A weak one leaves its children alone: threads may
// list the same root.
inline void touch_to_attach(wiq_json* container, wiq_json* child) {
    if (is_weak(container))
        return;
    touch(container);
    touch(child);
    leave_touched_document(take_document(child));
}

// Called when a member stays and its node leaves it, and when the node comes back to its old member.
inline void share_block(Member* member, wiq_json* node) {
    member->share();
    if (node->in_chunk != 0)
        share_chunk(*mark_of(node));
}
inline void unshare_block(Member* member, wiq_json* node) {
    if (member->unshare() && node->in_chunk != 0)
        release_blocks(*mark_of(node), 1);
}

inline void free_node_apart(wiq_json* node) {
    void* block = home_of(node);
    if (node->home != 0 && static_cast<Member*>(block)->is_shared() &&
        static_cast<Member*>(block)->unshare())
        return;
    free(block);
}
inline void free_node(wiq_json* node) {
    if (node->in_chunk != 0)
        release_blocks(*mark_of(node), 1);
    else
        free_node_apart(node);
}
// Frees a node without touching its document.
inline void drop_node(wiq_json* node) {
    if (node->in_chunk != 0)
        drop_blocks(*mark_of(node), 1);
    else
        free_node_apart(node);
}

// Frees a member that is in no table; its child is alive.
void free_member_apart(Member* member);
inline void free_member(Member* member) {
    if (!is_made_with(member, member->child))
        free_member_apart(member);
}

}  // namespace ke::json
