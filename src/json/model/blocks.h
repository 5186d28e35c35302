// Who owns the memory of nodes and members: finding the start of a block, sharing and freeing it,
// and marking its document as touched. node.h explains the layout.
#pragma once

#include <atomic>
#include <cstdlib>
#include <utility>

#include "json/model/chain_index.h"
#include "json/model/make.h"

namespace ke::json {

// Returns the start of a node's block; for a node in a chunk, the last mark before the node. Not
// for a root that has a record: its `home` is no distance.
inline char* home_of(wiq_json* node) {
    return reinterpret_cast<char*>(node) - size_t{8} * node->home;
}

// Returns the mark of a node in a chunk. The address of the chunk is stored there.
inline Chunk* const* mark_of(wiq_json* node) {
    return reinterpret_cast<Chunk* const*>(home_of(node));
}

// Returns the end of a member and its key, where the node stands if both share a block.
inline char* end_of(const Member* member) {
    return reinterpret_cast<char*>(const_cast<Member*>(member)) + member_span(member->key_length());
}

// Returns whether a node has its member before it in its block: then it is at least the size of a
// member away from the start of the block or from its mark. A node whose member is elsewhere stands
// at the start of its block or directly after the mark of its own chunk, or is a root that has a
// record. For a node that was made in a chunk without a key, the answer means nothing: it may be
// far from its mark, too.
inline bool has_member_in_block(const wiq_json* node) {
    static_assert(Chunks::kDistanceAlone < member_span(0) / 8 && kHomeOfRoot < member_span(0) / 8);
    return node->home > Chunks::kDistanceAlone;
}

// Returns whether a member and its child were made in one block, where the node directly follows
// the member. The first test excludes nodes that begin an allocation, which may happen to lie after
// a member's block. Any other node either follows the member with which it was made or, in a chunk,
// a mark or another node. So a node that follows this member was made with it.
inline bool shares_block(const Member* member, const wiq_json* child) {
    return has_member_in_block(child) && end_of(member) == reinterpret_cast<const char*>(child);
}

// Returns the member of a new node that was made with this key: the one in the node's block, or a
// new one in a block of its own, which is recorded if `chunks` is given. Returns nullptr when out
// of memory.
inline Member* member_for(wiq_json* node, const Key& key, Chunks* chunks = nullptr) {
    if (has_member_in_block(node))
        return reinterpret_cast<Member*>(reinterpret_cast<char*>(node) - member_span(key.length));
    Member* member = new_member(key);
    if (member == nullptr || chunks == nullptr || chunks->record(member))
        return member;
    free(member);
    return nullptr;
}

// Records a container's table if it has a block of its own, so that an untouched document can free
// it. Callers leave out the root, whose table is freed with it. Indexes of long chains are not
// recorded, so a document with such an index counts as touched. Returns false when out of memory.
inline bool record_table(Chunks* chunks, wiq_json* container) {
    if (container->type == kJsonArray) {
        const auto* array = as<ArrayNode>(container);
        return array->elems.data == nullptr || is_inline(array, array->elems.data) ||
               chunks->record(array->elems.data);
    }
    const auto* obj = as<ObjectNode>(container);
    if (obj->members.buckets == nullptr || is_inline(obj, obj->members.buckets))
        return true;
    const bool recorded = chunks->record(obj->members.buckets);
    if (recorded && index_of(obj->members) != nullptr)
        chunks->touch_document();
    return recorded;
}

// Gives a finished document's record to its root. A root that is no container has no document.
inline void give_document(Chunks* chunks, wiq_json* root) {
    if (!is_container(root))
        return;
    Document* document = chunks->take_document();
    if (document != nullptr) {
        root->home = kHomeOfRoot;
        root->position.document = document;
    }
}
// Takes the record from a root. Returns nullptr if the node has none.
inline Document* take_document(wiq_json* node) {
    if (!has_document(node))
        return nullptr;
    node->home = 0;
    return std::exchange(node->position.document, nullptr);
}

// Marks as touched the document in which a node lies, or whose root it is.
inline void touch(wiq_json* node) {
    if (node->in_chunk != 0)
        touch((*mark_of(node))->document);
    else if (has_document(node))
        touch(node->position.document);
}

// These change a node's reference count atomically, since any thread may do so at any time, and
// return the new value. A new reference to a node in a chunk touches its document; a reference to
// the root does not.
inline i32 count_up(wiq_json* node) {
    if (node->in_chunk != 0)
        touch((*mark_of(node))->document);
    return std::atomic_ref<i32>(node->refcount).fetch_add(1, std::memory_order_relaxed) + 1;
}
inline i32 count_down(wiq_json* node) {
    return std::atomic_ref<i32>(node->refcount).fetch_sub(1, std::memory_order_acq_rel) - 1;
}

// Called before a container that callers may know gets a child. A strong container touches its own
// document and the child's. If the child is a root, it loses its record, because the position of a
// child replaces it. A weak container changes nothing in its children, because several threads may
// at once add the same root, each to a weak container of its own.
inline void touch_to_attach(wiq_json* container, wiq_json* child) {
    if (is_weak(container))
        return;
    touch(container);
    touch(child);
    leave_touched_document(take_document(child));
}

// share_block() is called when a member stays in its object while its node leaves; unshare_block()
// when a node comes back to the member with which it was made. In a chunk, the member that stays
// counts as one more block.
inline void share_block(Member* member, wiq_json* node) {
    member->share();
    if (node->in_chunk != 0)
        share_chunk(*mark_of(node));
}
inline void unshare_block(Member* member, wiq_json* node) {
    if (member->unshare() && node->in_chunk != 0)
        release_blocks(*mark_of(node), 1);
}

// Frees a node that is not in a chunk. If its block begins with a member that is still in an
// object, the member frees the block later.
inline void free_node_outside_chunks(wiq_json* node) {
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
        free_node_outside_chunks(node);
}
// Frees a node without touching its document.
inline void drop_node(wiq_json* node) {
    if (node->in_chunk != 0)
        drop_blocks(*mark_of(node), 1);
    else
        free_node_outside_chunks(node);
}

// Frees a member that does not share a block with its child.
void free_separate_member(Member* member);
// Frees a member that is in no table, unless its block belongs to its child, whose header says so.
// The child must therefore be alive.
inline void free_member(Member* member) {
    if (!shares_block(member, member->child))
        free_separate_member(member);
}

}  // namespace ke::json
