// The members of an object: a chained hash table from key to child that shows itself as a wiq_map would
// (bucket count, growth, order), in less memory and without a call to compare keys.
//
//   Members      ┌─────────┬──────┬──────┐
//                │ buckets │ mask │ size │ 16 bytes, in the object's node
//                └────┬────┴──────┴──────┘
//                     └► heads of the chains: mask + 1 of them, behind the node or in a block of their own.
//                        No array, and mask 0, stand for the one bucket of an object that never had a
//                        member.
//   Member       ┌──────┬───────┬──────┬────────────┬──────────────┐
//   (+ key)      │ next │ child │ hash │ key length │ k e y ... \0 │ (+ the child's node, see node.h)
//                └──────┴───────┴──────┴────────────┴▲─────────────┘
//                                                    └─ the child's position.key points here
//
// A member stays where it is, key and all, when its child is replaced: a walk may stand on it.
#pragma once

#include <atomic>
#include <cstring>

#include "containers/chains.h"
#include "containers/murmur3.h"
#include "ke_utils/core.h"

struct wiq_json;

namespace ke::json {

struct Member {
    Member* next;
    wiq_json* child;
    u32 hash;
    u32 length_and_mark;

    const char* key() const { return reinterpret_cast<const char*>(this + 1); }
    // The NUL not counted.
    u32 key_length() const { return word().load(std::memory_order_relaxed) & ~kShared; }

    // Whether the block has two owners that do not know of each other: this member, whose child is another
    // node now, and the node behind it. The one that leaves first takes the mark away, the other one frees
    // the block. They may belong to different threads.
    bool is_shared() const { return (word().load(std::memory_order_acquire) & kShared) != 0; }
    void share() { word().fetch_or(kShared, std::memory_order_relaxed); }
    // Whether there were two owners until now.
    bool unshare() {
        return (word().fetch_and(~kShared, std::memory_order_acq_rel) & kShared) != 0;
    }

  private:
    static constexpr u32 kShared = u32{1} << 31;

    std::atomic_ref<u32> word() const {
        return std::atomic_ref<u32>(const_cast<u32&>(length_and_mark));
    }
};

// The member whose block holds this key text: a child's position.key gives its member.
inline Member* member_of_key(const char* key) {
    return reinterpret_cast<Member*>(const_cast<char*>(key)) - 1;
}

struct Members {
    union {
        Member** buckets;
        Member* chain;  // the members of an object that is being released
    };
    u32 mask;
    u32 size;
};

// A key that is looked for or to be added, with its hash.
struct Key {
    Key() = default;
    Key(const char* key_text, size_t key_length)
        : text(key_text), length(key_length), hash(hash_str(key_text, key_length)) {}
    Key(const char* key_text, size_t key_length, u32 key_hash)
        : text(key_text), length(key_length), hash(key_hash) {}
    explicit Key(const Member* member)
        : text(member->key()), length(member->key_length()), hash(member->hash) {}

    const char* text;  // the NUL behind it is not needed, except by what hashes it
    size_t length;
    u32 hash;
};

inline bool has_key(const Member* member, const Key& key) {
    return member->hash == key.hash && member->key_length() == key.length &&
           memcmp(member->key(), key.text, key.length) == 0;
}

// A chain has no more members than this unless the keys were chosen for it: then it gets an index
// (chain_index.h).
constexpr u32 kLongChain = 16;
// Few chains have more members than this. A search that has passed so many asks for an index.
constexpr u32 kShortChain = 4;

// The link to the member with this key, or the end of the chain where it would be, by a walk. For a table that is
// there.
inline Member** slot_of(const Members& members, const Key& key) {
    Member** slot = &members.buckets[bucket_of(key.hash, members.mask)];
    while (*slot != nullptr && !has_key(*slot, key))
        slot = &(*slot)->next;
    return slot;
}
// The same, but gives up after `limit` members and returns the link that follows them.
inline Member** slot_within(const Members& members, const Key& key, u32 limit) {
    Member** slot = &members.buckets[bucket_of(key.hash, members.mask)];
    for (; *slot != nullptr && !has_key(*slot, key) && limit != 0; --limit)
        slot = &(*slot)->next;
    return slot;
}

// Continue a search that has passed kShortChain members, from this one on.
Member* find_after(const Members& members, const Key& key, Member* from);
Member** slot_after(const Members& members, const Key& key, Member** from);

// As slot_of(), for a key that may be added: a long chain gets an index, if there is memory for it.
inline Member** slot_to_add(const Members& members, const Key& key) {
    Member** slot = slot_within(members, key, kShortChain);
    return *slot == nullptr || has_key(*slot, key) ? slot : slot_after(members, key, slot);
}

inline Member* find(const Members& members, const Key& key) {
    if (members.size == 0)
        return nullptr;
    Member* member = members.buckets[bucket_of(key.hash, members.mask)];
    for (u32 left = kShortChain; member != nullptr && !has_key(member, key); --left) {
        if (left == 0)
            return find_after(members, key, member);
        member = member->next;
    }
    return member;
}

// What follows the buckets of a large table.
class ChainIndex;
struct TableTail {
    ChainIndex* index;  // of the long chains, or nullptr: see chain_index.h
    u64 first;          // no bucket before this one has members
};
constexpr u64 kLeastWithTail = 128;  // buckets

// The pointers that the block of a table has room for.
constexpr u64 places_of_table(u64 buckets) {
    static_assert(sizeof(TableTail) == 2 * sizeof(Member*));
    return buckets >= kLeastWithTail ? buckets + 2 : buckets;
}
inline bool has_tail(const Members& members) {
    return u64{members.mask} + 1 >= kLeastWithTail;
}
inline TableTail* tail_of(const Members& members) {
    return reinterpret_cast<TableTail*>(members.buckets + members.mask + 1);
}

// The first member of a large table that has some. It is remembered where that is, so that a caller who removes
// the first member again and again does not walk over all the empty buckets each time. Several threads may read
// one object: they find the same.
inline Member* first_in_large(const Members& members) {
    const std::atomic_ref<u64> first(tail_of(members)->first);
    const u64 known = first.load(std::memory_order_relaxed);
    u64 bucket = known;
    while (members.buckets[bucket] == nullptr)
        ++bucket;
    if (bucket != known)
        first.store(bucket, std::memory_order_relaxed);
    return members.buckets[bucket];
}

// Members in the order of a wiq_map's walk: nullptr at the end. The object must not change in between.
inline Member* first(const Members& members) {
    if (members.size == 0)
        return nullptr;
    return has_tail(members) ? first_in_large(members)
                             : first_from(members.buckets, members.mask, 0);
}
inline Member* next(const Members& members, const Member* member) {
    return next_in_table(members.buckets, members.mask, member);
}

// As memcpy, for texts that are mostly short: two moves that overlap instead of a call.
inline void copy_short(char* out, const char* text, size_t length) {
    if (length > 16) {
        memcpy(out, text, length);
    } else if (length >= 8) {
        u64 first = 0;
        u64 last = 0;
        memcpy(&first, text, 8);
        memcpy(&last, text + length - 8, 8);
        memcpy(out, &first, 8);
        memcpy(out + length - 8, &last, 8);
    } else if (length >= 4) {
        u32 first = 0;
        u32 last = 0;
        memcpy(&first, text, 4);
        memcpy(&last, text + length - 4, 4);
        memcpy(out, &first, 4);
        memcpy(out + length - 4, &last, 4);
    } else {
        for (size_t i = 0; i < length; ++i)
            out[i] = text[i];
    }
}

// Makes a member of a block of at least sizeof(Member) and the key's length and 1 bytes: a copy of the key,
// and no child.
inline Member* make_member(void* block, const Key& key) {
    auto* member = static_cast<Member*>(block);
    member->hash = key.hash;
    member->length_and_mark = static_cast<u32>(key.length);
    char* text = reinterpret_cast<char*>(member + 1);
    copy_short(text, key.text, key.length);
    text[key.length] = '\0';
    return member;
}

// A table has no more buckets than its mask can tell and an i32 can number half of.
constexpr u64 kMostBuckets = u64{1} << 31;

// The longest key that a member can have.
constexpr size_t kLongestKey = INT32_MAX;

// The number of buckets that a table has grown to when so many members, at least one, were added one by one.
constexpr u64 grown_buckets(u64 size) {
    u64 count = 2;
    while (load_limit(count) < size)
        count *= 2;
    return count;
}

// Fills an empty table of grown_buckets(count) buckets as adding the members one by one would have: false,
// with the table to be thrown away, if two of them have the same key, or many of them one chain.
bool build_table(Members* members, Member* const* list, u64 count);

}  // namespace ke::json
