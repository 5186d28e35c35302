// The members of an object: a chained hash table from key to child. To an observer it behaves like
// a wiq_map (number of buckets, growth, order), but it needs less memory and no call to compare
// keys.
//
//   Members      ┌─────────┬──────┬──────┐
//                │ buckets │ mask │ size │ 16 bytes, in the object's node
//                └────┬────┴──────┴──────┘
//                     └► the table: mask + 1 buckets, after the node or in a block of their own. In
//                        an object without a table, `buckets` is nullptr and `mask` and `size` are
//                        0.
//   Member       ┌──────┬───────┬──────┬────────────┬──────────────┐
//   (+ key)      │ next │ child │ hash │ key length │ k e y ... \0 │ (+ its child's node, node.h)
//                └──────┴───────┴──────┴────────────┴▲─────────────┘
//                                                    └─ the child's position.key points here
//
// A member and its key stay where they are when its child is replaced, because a walk may have
// reached the member and a callback may hold the key.
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
    // Without the NUL.
    u32 key_length() const { return word().load(std::memory_order_relaxed) & ~kShared; }

    // Returns whether the block has two owners that do not know of each other: this member, which
    // has another child now, and the node that was made with it and follows it in the block. They
    // may belong to different threads. Outside of the chunks, the owner that leaves first clears
    // the bit kShared, and the other one frees the block. In a chunk, no owner clears the bit when
    // it leaves: the chunk's count of blocks says which one leaves last.
    //
    // Acquire order: an owner that finds the bit cleared frees the block, so whatever the other one
    // did before it left must happen before that.
    bool is_shared() const { return (word().load(std::memory_order_acquire) & kShared) != 0; }
    void share() { word().fetch_or(kShared, std::memory_order_relaxed); }
    // Clears the bit kShared. Returns whether it was set, that is, whether the block still had two
    // owners and now belongs to the other one alone.
    bool unshare() {
        return (word().fetch_and(~kShared, std::memory_order_acq_rel) & kShared) != 0;
    }

  private:
    // The bit of length_and_mark that says that the block is shared. The length of a key, at most
    // kMaxKeyLength, never needs it.
    static constexpr u32 kShared = u32{1} << 31;

    std::atomic_ref<u32> word() const {
        return std::atomic_ref<u32>(const_cast<u32&>(length_and_mark));
    }
};

// Returns the member whose block holds this key text: a child's position.key leads to its member.
inline Member* member_of_key(const char* key) {
    return reinterpret_cast<Member*>(const_cast<char*>(key)) - 1;
}

struct Members {
    union {
        Member** buckets;
        Member* chain;  // the members left in a dying object without a table (refcount.cpp)
    };
    u32 mask;
    u32 size;
};
static_assert(sizeof(Members) == 16);

// A key to be looked up or added, with its hash.
struct Key {
    Key() = default;
    Key(const char* key_text, size_t key_length)
        : text(key_text), length(key_length), hash(hash_str(key_text, key_length)) {}
    Key(const char* key_text, size_t key_length, u32 key_hash)
        : text(key_text), length(key_length), hash(key_hash) {}
    explicit Key(const Member* member)
        : text(member->key()), length(member->key_length()), hash(member->hash) {}

    // No NUL need follow.
    const char* text;
    size_t length;
    u32 hash;
};

inline bool has_key(const Member* member, const Key& key) {
    return member->hash == key.hash && member->key_length() == key.length &&
           memcmp(member->key(), key.text, key.length) == 0;
}

// A chain is long if it has more members than this, which happens only if somebody chose the keys
// for it. The table's index covers a long chain when one more member is added to it, at the latest
// (chain_index.h); usually a chain of kMaxShortChain + 1 members is not covered yet.
constexpr u32 kMaxShortChain = 16;

// Walks a chain. Returns the link to the member with this key; otherwise returns the null link at
// the end of the chain, where such a member would be added. The table must exist.
inline Member** link_of(const Members& members, const Key& key) {
    Member** link = &members.buckets[bucket_of(key.hash, members.mask)];
    while (*link != nullptr && !has_key(*link, key))
        link = &(*link)->next;
    return link;
}
// The same, but follows at most `limit` links. If the member it has then reached does not have the
// key either, it returns the link to this member; so it compares up to `limit` + 1 members.
inline Member** link_within(const Members& members, const Key& key, u32 limit) {
    Member** link = &members.buckets[bucket_of(key.hash, members.mask)];
    for (; *link != nullptr && !has_key(*link, key) && limit != 0; --limit)
        link = &(*link)->next;
    return link;
}

// A table of at least kMinBucketsWithTail buckets is followed by this tail, in the same block.
class ChainIndex;
struct TableTail {
    ChainIndex* index;  // of the long chains, or nullptr (chain_index.h)
    // No bucket before this one has members; it may itself be empty. So adding a member to an
    // earlier bucket lowers `first`, and removing a member leaves it as it is.
    u64 first;
};
constexpr u64 kMinBucketsWithTail = 128;

// The number of pointers that the block of a table holds: its buckets, and its tail if it has one.
constexpr u64 pointers_in_table(u64 buckets) {
    static_assert(sizeof(TableTail) == 2 * sizeof(Member*));
    return buckets >= kMinBucketsWithTail ? buckets + 2 : buckets;
}
inline bool has_tail(const Members& members) {
    return u64{members.mask} + 1 >= kMinBucketsWithTail;
}
inline TableTail* tail_of(const Members& members) {
    return reinterpret_cast<TableTail*>(members.buckets + members.mask + 1);
}

// Returns the first member of a table that has a tail and at least one member, and remembers its
// bucket in the tail, so that a caller who removes the first member again and again does not walk
// over all empty buckets each time. Several threads may read one object at once: they all find and
// store the same bucket. The loop ends because there is a member, and none is before `first`.
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

// Walk the members in the order of a wiq_map; nullptr at the end. The object must not change during
// the walk.
inline Member* first(const Members& members) {
    if (members.size == 0)
        return nullptr;
    return has_tail(members) ? first_in_large(members)
                             : first_from(members.buckets, members.mask, 0);
}
inline Member* next(const Members& members, const Member* member) {
    return next_in_table(members.buckets, members.mask, member);
}

// Does what memcpy() does, for texts that are mostly short: two moves, which may overlap, instead
// of a call.
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

// Makes a member with a copy of the key at the start of a block, which must have at least
// sizeof(Member) + key.length + 1 bytes. The key must not be longer than kMaxKeyLength. `next` and
// `child` are not set.
inline Member* init_member(void* block, const Key& key) {
    auto* member = static_cast<Member*>(block);
    member->hash = key.hash;
    member->length_and_mark = static_cast<u32>(key.length);
    char* text = reinterpret_cast<char*>(member + 1);
    copy_short(text, key.text, key.length);
    text[key.length] = '\0';
    return member;
}

// The number of buckets of the largest table. The number of its members, at most three quarters of
// this, must fit an i32.
constexpr u64 kMaxBuckets = u64{1} << 31;
static_assert(load_limit(kMaxBuckets) <= INT32_MAX);

// The longest key that a member can have.
constexpr size_t kMaxKeyLength = INT32_MAX;
static_assert(kMaxKeyLength >> 31 == 0, "the highest bit of length_and_mark is the mark");

// Returns how many buckets the table of an object has after `size` members, at least one, were
// added one by one to an object without a table. The first member makes a table of 2 buckets.
constexpr u64 grown_buckets(u64 size) {
    u64 count = 2;
    while (load_limit(count) < size)
        count *= 2;
    return count;
}

// kLongChain means that a long chain in a table with a tail would get one more member.
enum class TableStatus { kBuilt, kDuplicateKey, kLongChain };

// Fills an empty table, which must have grown_buckets(count) buckets, so that it looks as if the
// members, at least one, had been added one by one. A table that it builds has no index. Unless the
// result is kBuilt, the table and the members' links mean nothing, and the caller must drop the
// table and start again with an empty one.
TableStatus build_table(Members* members, Member* const* list, u64 count);

// Does what build_table() does, for a table with long chains. It gets an index that covers them if
// there is enough memory (chain_index.h). Returns false if two members have the same key.
bool build_indexed_table(Members* members, Member* const* list, u64 count);

}  // namespace ke::json
