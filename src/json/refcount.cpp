// Reference counts and the release of whole trees.
//
// Releasing a tree uses neither recursion nor memory: a dying container keeps its place in its own fields
// (its size, or the chain of what is left), and its `parent`, which it no longer needs, leads back to the
// dying container that it was taken from. The order is that of a recursive release: a child's whole subtree
// before the next child.

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdlib>

#include "json/blocks.h"
#include "json/chain_index.h"

namespace ke::json {
namespace {

// Added to the count of a container while it is being emptied, so that weak references to it from inside
// its own subtree cannot release it a second time.
constexpr i32 kDying = 1 << 30;

void set_count(wiq_json* node, i32 count) {
    std::atomic_ref<i32>(node->refcount).store(count, std::memory_order_relaxed);
}

void add_to_count(wiq_json* node, i32 difference) {
    std::atomic_ref<i32>(node->refcount).fetch_add(difference, std::memory_order_relaxed);
}

// Whether a node with this count is to be destroyed. A parent keeps its child: the reference that was
// given up once too often is its own.
bool is_dead(wiq_json* node, i32 count) {
    if (count > 0) {
        return false;
    }
    if (node->parent != nullptr) {
        set_count(node, 1);
        return false;
    }
    return true;
}

// Gives up a reference; the count that is left. A count of 1 is the caller's own reference: nobody else can
// change it then, so that the usual case, a value with one owner, needs no locked instruction.
bool has_one_owner(wiq_json* node) {
    return std::atomic_ref<i32>(node->refcount).load(std::memory_order_acquire) == 1;
}
i32 drop_reference(wiq_json* node) {
    if (has_one_owner(node)) {
        set_count(node, 0);
        return 0;
    }
    return count_down(node);
}

// Gives up a container's reference to a child; true if the child is to be destroyed. A child that nobody else
// knows is left as it is: it is not worth writing to memory that is about to be freed.
inline bool drop_child(bool weak, wiq_json* child) {
    if (!weak) {
        if (has_one_owner(child)) {
            return true;
        }
        unlink_from_parent(child);
    }
    return is_dead(child, drop_reference(child));
}

// Links the members anew, by their addresses: bucket i holds a stretch of memory below that of bucket i + 1.
// Blocks that are freed in the order of a hash cost the allocator several times what they cost in their own.
void order_by_address(const Members& members) {
    Member* all = nullptr;
    u64 lowest = UINT64_MAX;
    u64 highest = 0;
    for (u64 bucket = 0; bucket <= members.mask; ++bucket) {
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

// A container with many children becomes a chain of them before it is emptied, so that its table is freed
// first: the allocator gathers all the small free blocks that there are when a large one is freed.
constexpr u32 kChainedMembers = UINT32_MAX;  // in the place of the mask
constexpr i32 kChainedElems = -1;            // in the place of the capacity

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
    drop_index(*members);
    std::free(members->buckets);
    members->chain = chain;
    members->mask = kChainedMembers;
}

// By their positions, which belong to their parent: not for a weak array.
void chain_elems(Elements* elems) {
    wiq_json* chain = nullptr;
    for (i32 i = 0; i < elems->size; ++i) {
        elems->data[i]->position.next = chain;
        chain = elems->data[i];
    }
    std::free(elems->data);
    elems->chain = chain;
    elems->capacity = kChainedElems;
}

// From here on the size of an object with a table is the number of buckets that are still to be emptied.
void begin_emptying(wiq_json* node) {
    if (node->type == kJsonArray) {
        Elements& elems = as<ArrayNode>(node)->elems;
        if (elems.size > static_cast<i32>(kFewPlaces) && !is_weak(node)) {
            chain_elems(&elems);
        }
        return;
    }
    Members& members = as<ObjectNode>(node)->members;
    if (members.size > kFewPlaces) {
        chain_members(&members);
    } else {
        members.size = members.buckets != nullptr ? members.mask + 1 : 0;
    }
}

// Frees nodes one after another. A run of neighbours in one chunk is released together, by one change of the
// chunk's count.
class Freed {
  public:
    Freed() = default;
    Freed(const Freed&) = delete;
    Freed& operator=(const Freed&) = delete;
    ~Freed() { give_up(); }

    void add(wiq_json* node) {
        if (node->in_chunk == 0) {
            free_node_apart(node);
            return;
        }
        Chunk* const* mark = mark_of(node);
        if (mark != mark_) {
            mark_ = mark;
            if (*mark != chunk_) {
                give_up();
                chunk_ = *mark;
            }
        }
        ++blocks_;
    }

  private:
    void give_up() {
        if (blocks_ != 0) {
            release_blocks(chunk_, blocks_);
        }
        blocks_ = 0;
    }

    Chunk* const* mark_ = nullptr;  // the last node's
    Chunk* chunk_ = nullptr;
    u64 blocks_ = 0;
};

wiq_json* take_next_elem(Elements& elems) {
    if (elems.capacity != kChainedElems) {
        return elems.size > 0 ? elems.data[--elems.size] : nullptr;
    }
    wiq_json* elem = elems.chain;
    if (elem != nullptr) {
        elems.chain = elem->position.next;
    }
    return elem;
}

Member* take_next_member(Members& members) {
    if (members.mask == kChainedMembers) {
        Member* member = members.chain;
        if (member != nullptr) {
            members.chain = member->next;
        }
        return member;
    }
    for (; members.size != 0; --members.size) {
        Member* member = members.buckets[members.size - 1];
        if (member != nullptr) {
            members.buckets[members.size - 1] = member->next;
            return member;
        }
    }
    return nullptr;
}

// Takes a child out of a container that is being emptied: nullptr when none is left.
wiq_json* take_next_child(wiq_json* node) {
    if (node->type == kJsonArray) {
        return take_next_elem(as<ArrayNode>(node)->elems);
    }
    Member* member = take_next_member(as<ObjectNode>(node)->members);
    if (member == nullptr) {
        return nullptr;
    }
    wiq_json* child = member->child;
    free_member(member);
    return child;
}

// Takes the record from a root that dies. Returns true if it has freed all that is below the root.
bool release_document(wiq_json* root) {
    Document* document = take_document(root);
    if (document != nullptr && !document->touched.load(std::memory_order_relaxed)) {
        free_document(document);
        return true;
    }
    leave_touched_document(document);
    return false;
}

}  // namespace

// With everything below them that dies with them.
void release_children(wiq_json* top) {
    if (release_document(top)) {
        return;
    }
    Freed freed;
    add_to_count(top, kDying);
    begin_emptying(top);
    wiq_json* node = top;
    for (;;) {
        wiq_json* child = take_next_child(node);
        if (child == nullptr) {
            if (node == top) {
                break;
            }
            drop_table(node);
            wiq_json* up = node->parent;
            freed.add(node);
            node = up;
        } else if (drop_child(is_weak(node), child)) {
            if (!is_container(child)) {
                freed.add(child);
            } else if (has_document(child) && release_document(child)) {
                // A weak container was the last owner of a root.
                drop_table(child);
                freed.add(child);
            } else {
                set_count(child, kDying);
                child->parent = node;
                begin_emptying(child);
                node = child;
            }
        }
    }
    add_to_count(top, -kDying);
}

void drop_table(wiq_json* container) {
    if (container->type == kJsonArray) {
        auto* array = as<ArrayNode>(container);
        std::free(is_behind(array, array->elems.data) ? nullptr : array->elems.data);
        array->elems = {};
    } else {
        auto* obj = as<ObjectNode>(container);
        if (!is_behind(obj, obj->members.buckets)) {
            drop_index(obj->members);
            std::free(obj->members.buckets);
        }
        obj->members = {};
    }
}

void release_child(const wiq_json* container, wiq_json* child) {
    if (drop_child(is_weak(container), child)) {
        wiq_json_delete_impl(child);
    }
}

// Frees a member that does not share a block with its child: it has a block of its own, or shares one with an
// earlier child, which may have been freed already. Only in the latter case is the member marked as shared.
void free_member_apart(Member* member) {
    if (member->is_shared()) {
        auto* made_with = reinterpret_cast<wiq_json*>(end_of(member));
        if (made_with->in_chunk != 0) {
            release_blocks(*mark_of(made_with), 1);
            return;
        }
        if (member->unshare()) {
            return;
        }
    }
    std::free(member);
}

void release_if_unreferenced(wiq_json* node) {
    const i32 count = std::atomic_ref<i32>(node->refcount).load(std::memory_order_acquire);
    if (is_dead(node, count)) {
        wiq_json_delete_impl(node);
    }
}

void hand_over_child(const wiq_json* container, wiq_json* child) {
    touch(child);
    if (child->parent == container) {
        unlink_from_parent(child);
    }
    count_down(child);
}

}  // namespace ke::json

using namespace ke::json;

void wiq_json_ref(wiq_json_t* node) {
    if (node != nullptr) {
        count_up(node);
    }
}

void wiq_json_unref(wiq_json_t* node) {
    if (node != nullptr && is_dead(node, drop_reference(node))) {
        wiq_json_delete_impl(node);
    }
}

void wiq_json_delete_impl(wiq_json_t* node) {
    if (node != nullptr) {
        wiq_json_finalize(node);
        free_node(node);
    }
}

void wiq_json_finalize(wiq_json_t* node) {
    if (node == nullptr) {
        return;
    }
    if (is_container(node)) {
        release_children(node);
        drop_table(node);
    } else if (node->type == kJsonString || node->type == kJsonRef) {
        // The text goes with the node's block.
        as<TextNode>(node)->text = nullptr;
        as<TextNode>(node)->length = 0;
    }
}
