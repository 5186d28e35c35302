// Reference counts and the release of whole trees.
//
// Releasing a tree needs neither recursion nor memory. A dying container remembers in its own
// fields which children are left, and the way back to the dying container from which it was taken.
// `namespace dying` declares what the fields then stand for. The order is that of a recursive
// release: the whole subtree of a child before the next child.

#include "json/model/refcount.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdlib>

#include "json/model/blocks.h"
#include "json/model/chain_index.h"
#include "json/model/table.h"

namespace ke::json {
namespace {

// Added to the count of a container while it is being emptied. A weak container in its subtree may
// still hold a reference to it. For example, a new root has a count of 0; a weak array below it
// that lists the root raises this to 1, and one wiq_json_unref() releases the root. When the weak
// array then gives up its reference, the count stays far above 0, so the root is not released a
// second time.
constexpr i32 kDying = 1 << 30;

void set_count(wiq_json* node, i32 count) {
    std::atomic_ref<i32>(node->refcount).store(count, std::memory_order_relaxed);
}

void add_to_count(wiq_json* node, i32 difference) {
    std::atomic_ref<i32>(node->refcount).fetch_add(difference, std::memory_order_relaxed);
}

// Returns whether a node is to be destroyed, given the count that is left. A node that has a parent
// never is: its parent holds a reference. If its count is 0 all the same, somebody has given up one
// reference too many, and this function sets the count back to 1.
bool is_dead(wiq_json* node, i32 count) {
    if (count > 0)
        return false;
    if (node->parent != nullptr) {
        set_count(node, 1);
        return false;
    }
    return true;
}

// Returns whether the only reference is the one that the caller holds. Nobody else can change the
// count then, so the usual case, a value with one owner, needs no locked instruction. Acquire
// order: whatever other owners did before they gave up their references happens before the node is
// freed.
bool has_one_owner(wiq_json* node) {
    return std::atomic_ref<i32>(node->refcount).load(std::memory_order_acquire) == 1;
}

// Gives up a reference and returns the count that is left.
i32 give_up_reference(wiq_json* node) {
    if (has_one_owner(node)) {
        set_count(node, 0);
        return 0;
    }
    return count_down(node);
}

// Gives up a container's reference to a child; `weak` tells whether the container is weak. Returns
// whether the caller must destroy the child. If not, the caller must not use the child any more:
// another owner may have freed it since. If a strong container has the only reference, the child's
// header stays unchanged, with a count of 1 and the container as parent, to save the writes to
// memory that is about to be freed.
inline bool give_up_child(bool weak, wiq_json* child) {
    if (!weak) {
        if (has_one_owner(child))
            return true;
        // A child of a strong container has no other parent. The link must be cleared before the
        // reference is given up: afterwards another owner may free the child, and it would not do
        // so if the child still had a parent.
        unlink_from_parent(child);
    }
    return is_dead(child, give_up_reference(child));
}

// Sorts the members of a table, which must have some, roughly by address: afterwards the members of
// bucket i lie before those of bucket i + 1 in memory, and the table is no longer a hash table.
// Freeing blocks in the order of their hashes costs the allocator several times as much as freeing
// them in the order of their addresses.
void order_by_address(const Members& members) {
    Member* all = nullptr;
    u64 lowest = UINT64_MAX;
    u64 highest = 0;
    for (u64 bucket = 0; bucket <= members.mask; ++bucket) {
        if (is_large(members.mask))
            fetch_ahead(members.buckets, members.mask, bucket);
        for (Member* member = members.buckets[bucket]; member != nullptr;) {
            Member* next = member->next;
            member->next = all;
            all = member;
            lowest = std::min(lowest, reinterpret_cast<u64>(member));
            highest = std::max(highest, reinterpret_cast<u64>(member));
            member = next;
        }
        members.buckets[bucket] = nullptr;
    }
    // The shift leaves no more bits than the mask has, so the bucket is always in the table.
    const int shift = std::max(0, static_cast<int>(std::bit_width(highest - lowest)) -
                                      static_cast<int>(std::bit_width(members.mask)));
    while (all != nullptr) {
        Member* next = all->next;
        Member** bucket = &members.buckets[(reinterpret_cast<u64>(all) - lowest) >> shift];
        all->next = *bucket;
        *bucket = all;
        all = next;
    }
}

// What the fields of a container stand for while it dies, until drop_table() zeroes them. Meanwhile
// a weak container in its subtree may still hold a reference to it, but uses only its count.
//
// When a large block is freed, the allocator may merge every small block that is free. So before a
// container with many children is emptied, while few small blocks are free, its children are linked
// into one chain and its table is freed. The address of the chain's first child is in the same
// union as that of the table, so to drop_table() an empty chain looks like no table.
namespace dying {

// The dying container from which this one was taken. Not used for the outermost one.
wiq_json*& container_above(wiq_json* node) {
    return node->parent;
}

// Of an array with a table: the number of slots, from the first, that hold the elements left.
i32& slots_left(Elements& elems) {
    return elems.size;
}

// Of an object with a table: the number of buckets, from the first, that hold the members left. So
// while the object dies, `size` is not its number of members.
u32& buckets_left(Members& members) {
    return members.size;
}

// These say that a container has no table: the children that are left form a chain.
constexpr u32 kChainedMembers = UINT32_MAX;
constexpr i32 kChainedElems = -1;
static_assert(kMaxBuckets - 1 < kChainedMembers, "no table has this mask");

bool is_chain(const Members& members) {
    return members.mask == kChainedMembers;
}
bool is_chain(const Elements& elems) {
    return elems.capacity == kChainedElems;
}
void set_chain(Members& members, Member* chain) {
    members.chain = chain;
    members.mask = kChainedMembers;
}
void set_chain(Elements& elems, wiq_json* chain) {
    elems.chain = chain;
    elems.capacity = kChainedElems;
}

// A container with more children than this is turned into a chain, unless it is a weak array. No
// inline table holds so many, so its table has a block of its own, which chain_members() and
// chain_elems() may free.
constexpr u64 kMaxChildrenInTable = kMaxInlineSlots;
static_assert(kMaxInlineMembers <= kMaxChildrenInTable && kMaxInlineSlots <= kMaxChildrenInTable);

}  // namespace dying

// Turns an object's table into one chain, roughly in descending order of addresses.
void chain_members(Members* members) {
    order_by_address(*members);
    Member* chain = nullptr;
    for (u64 bucket = 0; bucket <= members->mask; ++bucket) {
        for (Member* member = members->buckets[bucket]; member != nullptr;) {
            Member* next = member->next;
            member->next = chain;
            chain = member;
            member = next;
        }
    }
    free_index(*members);
    free(members->buckets);
    dying::set_chain(*members, chain);
}

// Turns the table of a strong array into a chain, the last element first. The elements are linked
// by their `position`, which in a weak array belongs to the element's parent. If somebody else
// keeps an element, give_up_child() clears its position.
void chain_elems(Elements* elems) {
    wiq_json* chain = nullptr;
    for (i32 i = 0; i < elems->size; ++i) {
        elems->data[i]->position.next = chain;
        chain = elems->data[i];
    }
    free(elems->data);
    dying::set_chain(*elems, chain);
}

// Prepares a container for take_next_child(). From here on its fields have the meanings that
// `namespace dying` gives them. An array that keeps its table needs no preparation: slots_left() is
// its size.
void begin_emptying(wiq_json* node) {
    if (node->type == kJsonArray) {
        Elements& elems = as<ArrayNode>(node)->elems;
        if (elems.size > static_cast<i32>(dying::kMaxChildrenInTable) && !is_weak(node))
            chain_elems(&elems);
        return;
    }
    Members& members = as<ObjectNode>(node)->members;
    if (members.size > dying::kMaxChildrenInTable)
        chain_members(&members);
    else
        dying::buckets_left(members) = members.buckets != nullptr ? members.mask + 1 : 0;
}

// Frees nodes one after another. A run of nodes in one chunk is released by one change of the
// chunk's count.
class FreedNodes {
  public:
    FreedNodes() = default;
    FreedNodes(const FreedNodes&) = delete;
    FreedNodes& operator=(const FreedNodes&) = delete;
    ~FreedNodes() { flush(); }

    void add(wiq_json* node) {
        if (node->in_chunk == 0) {
            free_node_outside_chunks(node);
            return;
        }
        Chunk* const* mark = mark_of(node);
        if (mark != mark_) {
            mark_ = mark;
            if (*mark != chunk_) {
                flush();
                chunk_ = *mark;
            }
        }
        ++blocks_;
    }

  private:
    void flush() {
        if (blocks_ != 0)
            release_blocks(chunk_, blocks_);
        blocks_ = 0;
    }

    // The mark of the last node in a chunk. If the next node has the same mark, it is in the same
    // chunk, and the mark need not be read. This is safe because the blocks that are counted keep
    // their chunk alive: meanwhile no other chunk can lie at its address.
    Chunk* const* mark_ = nullptr;
    Chunk* chunk_ = nullptr;  // the chunk of the blocks that are counted
    u64 blocks_ = 0;          // counted, but not released yet
};

// These take the next element or member out of what is left of a container, and return nullptr if
// nothing is left.
wiq_json* take_next_elem(Elements& elems) {
    if (!dying::is_chain(elems)) {
        i32& left = dying::slots_left(elems);
        return left > 0 ? elems.data[--left] : nullptr;
    }
    wiq_json* elem = elems.chain;
    if (elem != nullptr)
        elems.chain = elem->position.next;
    return elem;
}

Member* take_next_member(Members& members) {
    if (dying::is_chain(members)) {
        Member* member = members.chain;
        if (member != nullptr)
            members.chain = member->next;
        return member;
    }
    for (u32& left = dying::buckets_left(members); left != 0; --left) {
        Member* member = members.buckets[left - 1];
        if (member != nullptr) {
            members.buckets[left - 1] = member->next;
            return member;
        }
    }
    return nullptr;
}

// Takes a child out of a container that is being emptied, and frees its member. Returns nullptr
// when no child is left.
wiq_json* take_next_child(wiq_json* node) {
    if (node->type == kJsonArray)
        return take_next_elem(as<ArrayNode>(node)->elems);
    Member* member = take_next_member(as<ObjectNode>(node)->members);
    if (member == nullptr)
        return nullptr;
    // The member is freed while the child is alive: the child's header tells who owns the block.
    wiq_json* child = member->child;
    free_member(member);
    return child;
}

// Takes the record from a container that dies, if it is a root that has one. If the document is
// untouched, everything below the root is freed at once. Returns whether that was done. (No block
// that a FreedNodes still counts can be among them: its node would have been moved out of this
// document or referred to from outside, and either touches the document.)
bool release_document(wiq_json* root) {
    Document* document = take_document(root);
    // Relaxed order is enough; see touch() in document.h.
    if (document != nullptr && !document->touched.load(std::memory_order_relaxed)) {
        free_document(document);
        return true;
    }
    leave_touched_document(document);
    return false;
}

// Releases the children of a container that is about to be freed or emptied, and everything below
// them that dies with them. The caller must call drop_table() next; until then the fields of `top`
// that describe its table must not be read.
void release_children(wiq_json* top) {
    if (release_document(top))
        return;
    FreedNodes freed;
    add_to_count(top, kDying);
    begin_emptying(top);
    wiq_json* node = top;
    for (;;) {
        // `node` is the dying container that is being emptied; `top` is the outermost one.
        wiq_json* child = take_next_child(node);
        if (child == nullptr) {
            if (node == top)
                break;
            drop_table(node);
            wiq_json* up = dying::container_above(node);
            freed.add(node);
            node = up;
        } else if (give_up_child(is_weak(node), child)) {
            if (!is_container(child)) {
                freed.add(child);
            } else if (has_document(child) && release_document(child)) {
                // This child is a root that still has its record, so its last owner was a weak
                // container: a strong one would have taken the record away (touch_to_attach()).
                // Everything below the child is freed now.
                drop_table(child);
                freed.add(child);
            } else {
                // Nobody else holds the child, so the release may use its count and its parent. The
                // loop goes down into the child.
                set_count(child, kDying);
                dying::container_above(child) = node;
                begin_emptying(child);
                node = child;
            }
        }
    }
    add_to_count(top, -kDying);
}

}  // namespace

void release_child(const wiq_json* container, wiq_json* child) {
    if (give_up_child(is_weak(container), child))
        wiq_json_delete_impl(child);
}

void release_if_unreferenced(wiq_json* node) {
    const i32 count = std::atomic_ref<i32>(node->refcount).load(std::memory_order_acquire);
    if (is_dead(node, count))
        wiq_json_delete_impl(node);
}

void hand_over_child(const wiq_json* container, wiq_json* child) {
    touch(child);
    if (child->parent == container)
        unlink_from_parent(child);
    count_down(child);
}

}  // namespace ke::json

using namespace ke::json;

void wiq_json_ref(wiq_json_t* node) {
    if (node != nullptr)
        count_up(node);
}

void wiq_json_unref(wiq_json_t* node) {
    if (node != nullptr && is_dead(node, give_up_reference(node)))
        wiq_json_delete_impl(node);
}

void wiq_json_delete_impl(wiq_json_t* node) {
    if (node != nullptr) {
        wiq_json_finalize(node);
        free_node(node);
    }
}

void wiq_json_finalize(wiq_json_t* node) {
    if (node == nullptr)
        return;
    if (is_container(node)) {
        release_children(node);
        drop_table(node);
    } else if (node->type == kJsonString || node->type == kJsonRef) {
        // The text itself lies in the node's block and is freed with it.
        as<TextNode>(node)->text = nullptr;
        as<TextNode>(node)->length = 0;
    }
}
