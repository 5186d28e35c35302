// An index for the long chains of an object's table. The hash of keys and the order of members are
// part of the interface, so whoever writes a document can choose keys that all fall into one chain.
// The first chain of a table to become that long gives the table an index, which covers this chain
// and the other long ones: finding a key in a covered chain takes no longer than in a short one.
// Ordinary objects have no chain of that length, and their tables have no index.
//
//   buckets   ┌───┬───┬─ ─┬───┬───────┬───────┐
//             │ * │   │   │   │ index │ first │ the table's tail (members.h); most have no index
//             └─┬─┴───┴─ ─┴───┴───┬───┴───────┘
//               ▼                 ▼
//             the chain        ┌──────────────┬───────┬─────────┐
//                              │ key and size │ tails │ entries │ in one block
//                              └──────────────┴───────┴─────────┘
//
// An entry stands for a member of a covered chain. It is found by another hash of the member's
// key, with a secret key that is drawn at random once per process. It links to the previous and the
// next entry of the chain, so that a member can be added and removed without a walk. For each
// bucket, `tails` holds the entry of the chain's last member, or 0 if the index does not cover the
// chain. (The tail of the table is something else: it follows the buckets.)
//
// Only functions that change the object change its index, because several threads may read one
// object at once. A long chain is covered when the next member is added to it, at the latest, and
// stays covered until it is empty or the table grows, even if it becomes short. When the table
// grows, a larger index replaces the old one; each has room for all members that a table of its
// size can hold. If an index cannot be allocated, long chains are searched member by member, and
// whoever adds the next member to one tries again.
#pragma once

#include "containers/siphash.h"
#include "json/model/members.h"

namespace ke::json {

class ChainIndex {
  public:
    // Returns an empty index for a table with this number of buckets, or nullptr when out of
    // memory.
    static ChainIndex* make(u64 buckets);

    // Returns whether the index covers this bucket's chain, that is, has an entry for each of its
    // members. An empty chain is not covered.
    bool covers(u64 bucket) const { return tails()[bucket] != 0; }

    // Returns the member with this key, otherwise nullptr. The key's chain must be covered.
    Member* find(const Key& key) const;
    // Returns the link to that member, or the null link at the end of the chain.
    Member** link_of(const Members& members, const Key& key) const;
    // Returns the link at the end of a covered chain.
    Member** end_of(u64 bucket) const { return &entry(tails()[bucket])->member->next; }

    // The secret key of all indexes of the process, drawn when it is first needed.
    static SipKey process_secret();

    // Covers a chain, which must be neither empty nor covered already.
    void cover(Member* chain, u64 bucket);
    // Adds an entry for the member that is now the last one of a covered chain.
    void append(Member* member, u64 bucket);
    // Adds an entry for the member that is now the first one of a covered chain.
    void prepend(Member* member);
    // Lets the entry of `old` stand for the member that has replaced it and has the same key.
    void replace(const Member* old, Member* member) { entry(number_of(old))->member = member; }
    // These prefetch what a later search for the key will read: first its entry, then, some time
    // after that, the member of this entry, for which the entry itself is read. They are always
    // inlined because a compiler may drop the call of a function that only prefetches.
    [[gnu::always_inline]] void prefetch_entry(const Key& key) const {
        __builtin_prefetch(entry(home_of(secret_hash(key))));
    }
    [[gnu::always_inline]] void prefetch_member(const Key& key) const {
        __builtin_prefetch(entry(home_of(secret_hash(key)))->member);
    }
    // Takes a member out of its chain, which must be covered.
    void unlink(Members* members, const Member* member);

  private:
    // The entries are a hash table with linear probing (Knuth, The Art of Computer Programming,
    // volume 3, section 6.4). An entry is at its home, which its hash determines, or after it, with
    // no free entry between the two. So a look-up touches little more memory than the entry and the
    // member. Entries are numbered from 1; 0 means none.
    struct Entry {
        Member* member;  // nullptr if the entry is free
        u32 hash;        // of the member's key, with the secret key
        u32 previous;    // in the chain
        u32 next;        // in the chain
    };

    u32 secret_hash(const Key& key) const {
        return static_cast<u32>(siphash13(secret_, key.text, key.length));
    }

    const Entry* entry_of(const Key& key) const;
    // Returns the number of the member's entry. There must be one.
    u32 number_of(const Member* member) const;
    // Makes an entry without neighbours in the chain. Returns its number.
    u32 add_entry(Member* member);
    // Frees an entry to which the chain no longer refers, and moves others so that none is cut off
    // from its home.
    void remove_entry(u32 number);
    // Copies an entry to a free one and makes its neighbours refer to the copy.
    void move_entry(u32 from, u32 to);

    // The entries follow an array of `buckets_` u32, which keeps the alignment of a pointer.
    u32* tails() const { return reinterpret_cast<u32*>(const_cast<ChainIndex*>(this) + 1); }
    Entry* entry(u32 number) const {
        return reinterpret_cast<Entry*>(tails() + buckets_) + (number - 1);
    }
    u32 home_of(u32 hash) const { return static_cast<u32>(hash & (buckets_ - 1)) + 1; }
    u32 after(u32 number) const { return number == buckets_ ? 1 : number + 1; }

    SipKey secret_;
    u64 buckets_;  // also the number of entries, of which at least one is always free
};

// Returns a table's index, or nullptr if it has none. A table without a tail has few members and
// never gets an index. The object may be without a table.
inline ChainIndex* index_of(const Members& members) {
    return has_tail(members) ? tail_of(members)->index : nullptr;
}
// Returns the index only if it covers this chain.
inline ChainIndex* index_over(const Members& members, u64 bucket) {
    ChainIndex* index = index_of(members);
    return index != nullptr && index->covers(bucket) ? index : nullptr;
}

// Most chains have no more members than this. A search passes this many before it looks for an
// index.
constexpr u32 kMaxStepsBeforeIndex = 2;

// Loading an entry or a member of a large object from memory takes as long as a few searches. So a
// loop of searches prefetches what it will need this many searches later.
constexpr int kPrefetchDistance = 8;

// These continue a search that has passed kMaxStepsBeforeIndex members and stands at the next one,
// `from` or `*from`, which does not have the key either. `source` and the two results are those of
// find() and link_to_add().
Member* find_after(const Members& members, const Key& key, Member* from, const Member* source);
Member** link_after(const Members& members, const Key& key, Member** from);

// Does what link_of() does, for a key that is being put into the object: in a table with a tail, a
// long chain is covered first if it is not yet and there is enough memory.
inline Member** link_to_add(const Members& members, const Key& key) {
    Member** link = link_within(members, key, kMaxStepsBeforeIndex);
    return *link == nullptr || has_key(*link, key) ? link : link_after(members, key, link);
}

// Returns the member with this key, or nullptr. `source` only makes a loop of searches faster. A
// caller that searches for the keys of another object, in the order of that object's members,
// should pass the member of the other object whose key this is.
inline Member* find(const Members& members, const Key& key, const Member* source = nullptr) {
    if (members.size == 0)
        return nullptr;
    Member* member = members.buckets[bucket_of(key.hash, members.mask)];
    for (u32 left = kMaxStepsBeforeIndex; member != nullptr && !has_key(member, key); --left) {
        if (left == 0)
            return find_after(members, key, member, source);
        member = member->next;
    }
    return member;
}

// Links a member at `end`, which must be the null link at the end of its chain. The table must have
// at most as many members as its load limit allows; this one may be one too many, since an index
// has room for it (see ChainIndex::make()).
inline void link_member(Members* members, Member** end, Member* member) {
    member->next = nullptr;
    *end = member;
    if (has_tail(*members)) {
        TableTail* tail = tail_of(*members);
        const u64 bucket = bucket_of(member->hash, members->mask);
        if (tail->index != nullptr && tail->index->covers(bucket))
            tail->index->append(member, bucket);
        if (bucket < tail->first)
            tail->first = bucket;
    }
    ++members->size;
}

// Adds a member to a table that has room for it and no member with the same key.
void append_member(Members* members, Member* member);

// Takes a member out of its chain and out of the object's count. The member then belongs to the
// caller.
inline void unlink_member(Members* members, const Member* member) {
    const u64 bucket = bucket_of(member->hash, members->mask);
    if (ChainIndex* index = index_over(*members, bucket))
        index->unlink(members, member);
    else
        remove_from_chain(&members->buckets[bucket], member);
    --members->size;
}

// Puts a member in the place of the one at *link, which has the same key and then belongs to the
// caller.
inline void replace_member(const Members& members, Member** link, Member* member) {
    Member* old = *link;
    member->next = old->next;
    *link = member;
    if (ChainIndex* index = index_over(members, bucket_of(member->hash, members.mask)))
        index->replace(old, member);
}

// Replaces the index of a table that has just grown from `old_buckets` buckets to twice as many,
// and whose tail has no index yet. `old`, the index that the table had before, is freed. If there
// is enough memory, the table gets a new index, which covers each chain that is still long and
// comes from a chain that `old` covered.
void rebuild_index(Members* members, ChainIndex* old, u64 old_buckets);

// Frees the index of a table that is about to be freed. The object may be without a table: it may
// have none yet, or it may be dying and its table may have been turned into a chain (refcount.cpp).
// In the latter case `mask` is large, and `buckets`, which shares its memory with the chain, is
// nullptr, since the chain is empty by now.
void free_index_of_large(const Members& members);
inline void free_index(const Members& members) {
    if (members.mask >= kMinBucketsWithTail - 1) [[unlikely]]
        free_index_of_large(members);
}

}  // namespace ke::json
