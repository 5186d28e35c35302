// Who owns the memory of nodes and members, and how it is released. node.h explains the layout.
#pragma once

#include <atomic>
#include <cstdlib>

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

// The member of a new node that was made with this key.
inline Member* member_of(wiq_json* node, const Key& key) {
    if (node->home == 0)
        return new_member(key);
    return reinterpret_cast<Member*>(reinterpret_cast<char*>(node) - member_span(key.length));
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

// Frees a member that is in no table; its child is alive.
void free_member_apart(Member* member);
inline void free_member(Member* member) {
    if (!is_made_with(member, member->child))
        free_member_apart(member);
}

}  // namespace ke::json
