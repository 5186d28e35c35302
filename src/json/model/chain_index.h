// An index for the long chains of an object's table. The hash of keys and the order of members are
// part of the interface, so whoever writes a document can choose keys that all fall into one chain.
// Such a chain gets an index beside it, so that finding a key in it takes no longer than in other
// chains. Ordinary objects have no chain of that length.
//
//   buckets   ┌───┬───┬─ ─┬───┬───────┬───────┐
//             │ * │   │   │   │ index │ first │ the table's tail (members.h); most have no index
//             └─┬─┴───┴─ ─┴───┴───┬───┴───────┘
//               ▼                 ▼
//             the chain        ┌──────────────┬───────┬─────────┐
//                              │ key and size │ tails │ entries │ in one block
//                              └──────────────┴───────┴─────────┘
//
// An entry stands for a member of an indexed chain. It is found by another hash of the member's
// key, with a secret key that is drawn at random once per process. It links to the previous and the
// next entry of the chain, so that a member can be added and removed without a walk. The bucket's
// tail is the entry of the chain's last member, or 0 if the index does not cover the chain.
//
// Only functions that change the object change its index, because several threads may read one
// object at once. A chain gets its index when a member is added to it, and keeps it until the chain
// is empty or the table grows. An index lasts as long as the table has its size, and has room for
// all members that such a table can hold. If the index cannot be allocated, a long chain is
// searched step by step, and whoever adds the next member to it tries again.
#pragma once

#include "containers/siphash.h"
#include "json/model/members.h"

namespace ke::json {

class ChainIndex {
  public:
    // Returns an empty index for a table with this number of buckets, or nullptr when out of
    // memory.
    static ChainIndex* make(u64 buckets);

    // Returns whether the index has all members of this bucket's chain. An empty chain is not
    // covered.
    bool covers(u64 bucket) const { return tails()[bucket] != 0; }

    // Returns the member with this key, otherwise nullptr. The key's chain must be covered.
    Member* find(const Key& key) const;
    // Returns the link to that member, or the null link at the end of the chain.
    Member** link_of(const Members& members, const Key& key) const;
    // Returns the link at the end of a covered chain.
    Member** end_of(u64 bucket) const { return &entry(tails()[bucket])->member->next; }

    // The secret key of all indexes of the process, drawn when it is first needed.
    static SipKey process_secret();

    // Covers a chain, which must not be empty.
    void cover(Member* chain, u64 bucket);
    // Adds an entry for the member that is now the last one of a covered chain.
    void append(Member* member, u64 bucket);
    // Adds an entry for the member that is now the first one of a covered chain.
    void prepend(Member* member);
    // Lets the entry of `old` stand for the member that has replaced it and has the same key.
    void replace(const Member* old, Member* member) { entry(number_of(old))->member = member; }
    // These start to load what a look-up of the key will read: its entry, and the member that this
    // entry names, once the entry is loaded. A compiler may drop the call of a function that does
    // nothing else, so they are always inlined.
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
    // Frees an entry, and moves others so that none is cut off from its home.
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

// Returns a table's index, or nullptr if it has not been built. A table without a tail has few
// members, and never has one.
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

// These continue a search that has followed kMaxStepsBeforeIndex links, at the member it has
// reached.
Member* find_after(const Members& members, const Key& key, Member* from, const Member* source);
Member** link_after(const Members& members, const Key& key, Member** from);

// As link_of(), for a key that may be added: a long chain in a table with a tail gets an index, if
// there is enough memory.
inline Member** link_to_add(const Members& members, const Key& key) {
    Member** link = link_within(members, key, kMaxStepsBeforeIndex);
    return *link == nullptr || has_key(*link, key) ? link : link_after(members, key, link);
}

// Returns the member with this key, or nullptr. If the key is that of a member of another object,
// and the members after it in its chain are searched for next, `source` should be this member.
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

// Links a member at `end`, which must be the null link at the end of its chain.
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

// Called after a table has grown from `old_buckets` buckets to twice as many; `old` is the index
// that it had before, and is freed. The table gets a new index if there is enough memory. The new
// index covers each chain that is still long and comes from a chain that `old` covered.
void rebuild_index(Members* members, ChainIndex* old, u64 old_buckets);

// Frees the index of a table that is about to be freed. The object may have no table: none yet, or
// none any more because it dies and was turned into a chain (refcount.cpp). In the latter case
// `mask` is large, and `buckets`, the empty chain, is nullptr.
void free_index_of_large(const Members& members);
inline void free_index(const Members& members) {
    if (members.mask >= kMinBucketsWithTail - 1) [[unlikely]]
        free_index_of_large(members);
}

}  // namespace ke::json
