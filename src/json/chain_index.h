// Long chains in an object's table. The hash of keys and the order of members are part of the interface, so
// whoever writes a document can choose keys that all fall into one chain. Such a chain gets an index beside
// it, and takes no longer to search than others. Ordinary objects have no chain of that length.
//
//   buckets   ┌───┬───┬─ ─┬───┬───────┬───────┐
//             │ * │   │   │   │ index │ first │ the table's tail, see members.h; the index is nullptr in most
//             └─┬─┴───┴─ ─┴───┴───┬───┴───────┘
//               ▼                 ▼
//             the chain        ┌────────┬───────┬───────┬─────────┐
//                              │ counts │ tails │ heads │ entries │ in one block
//                              └────────┴───────┴───────┴─────────┘
//
// An entry stands for a member of an indexed chain. It is found by another hash of the member's key, under a key
// that is drawn at random once per process, and links to the previous and the next entry of the chain, so that a
// member can be added and removed without a walk. The bucket's tail is the entry of the chain's last member, or
// 0 if the chain has no index.
//
// Only what changes the object changes its index, since threads may read one object at once. A chain gets its
// index when a member is added to it, and keeps it until it is empty or the table grows. An index lasts as long
// as the table has this size, and has room for all members that such a table takes. If it cannot be
// allocated, a long chain is searched step by step, and the next addition tries again.
#pragma once

#include "json/members.h"

namespace ke::json {

class ChainIndex {
  public:
    // Makes an index for a table with this number of buckets. Returns nullptr when out of memory.
    static ChainIndex* make(u64 buckets);

    bool covers(u64 bucket) const { return tails()[bucket] != 0; }

    // Returns the member with this key, otherwise nullptr. The key's chain must be covered.
    Member* find(const Key& key) const;
    // The link to it, or the end of the chain.
    Member** slot_of(const Members& members, const Key& key) const;
    Member** end_of(u64 bucket) const { return &entry(tails()[bucket])->member->next; }

    // Covers a chain, which is not empty.
    void cover(Member* chain, u64 bucket);
    // A member has come to the end of a covered chain.
    void append(Member* member, u64 bucket) { append(member, bucket, secret_hash(Key(member))); }
    // Covers the chain that growth has made from one that `old` covers: with the members of this bucket, in turned
    // order.
    void cover_again(const ChainIndex& old, u64 old_bucket, u64 bucket);
    // Another member with the same key has taken one's place.
    void replace(const Member* old, Member* member) { entry(*link_to(old))->member = member; }
    // Takes a member out of its chain, which is covered.
    void unlink(Members* members, const Member* member);

  private:
    // Entries are numbered from 1; 0 means none.
    struct Entry {
        Member* member;
        u32 hash;      // of the key, under the secret key
        u32 link;      // the next entry with such a hash, or the next free one
        u32 previous;  // in the chain
        u32 next;      // in the chain
    };

    static u32 secret_hash(const Key& key);

    void append(Member* member, u64 bucket, u32 hash);
    const Entry* entry_of(const Key& key) const;

    u32* tails() const { return reinterpret_cast<u32*>(const_cast<ChainIndex*>(this) + 1); }
    u32* heads() const { return tails() + buckets_; }
    Entry* entry(u32 number) const {
        return reinterpret_cast<Entry*>(heads() + buckets_) + (number - 1);
    }
    u32* head_of(u32 hash) const { return &heads()[hash & (buckets_ - 1)]; }
    u32* link_to(const Member* member) const;

    u64 buckets_;
    u32 used_;  // entries that have been in use
    u32 free_;  // the first one that is not in use any more
};

// A table without a tail has few members, and no index.
inline ChainIndex* index_of(const Members& members) {
    return has_tail(members) ? tail_of(members)->index : nullptr;
}
// The same if the index covers this chain.
inline ChainIndex* index_over(const Members& members, u64 bucket) {
    ChainIndex* index = index_of(members);
    return index != nullptr && index->covers(bucket) ? index : nullptr;
}

// Links a member at `end`, which is the end of its chain.
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

// Adds a member to a table that has room for it and no member of the same key.
void append_member(Members* members, Member* member);

// Takes a member out of its chain and counts it off; the member is the caller's.
inline void unlink_member(Members* members, const Member* member) {
    const u64 bucket = bucket_of(member->hash, members->mask);
    if (ChainIndex* index = index_over(*members, bucket))
        index->unlink(members, member);
    else
        remove_from_chain(&members->buckets[bucket], member);
    --members->size;
}

// Puts a member in the place of another one with the same key, which is the caller's then.
inline void replace_member(const Members& members, Member** place, Member* member) {
    Member* old = *place;
    member->next = old->next;
    *place = member;
    if (ChainIndex* index = index_over(members, bucket_of(member->hash, members.mask)))
        index->replace(old, member);
}

// The table has grown from so many buckets, and this was its index, which is freed: the chains that come from
// those that it covered get an index if they are long.
void index_again(Members* members, ChainIndex* old, u64 old_buckets);

// Frees the index of a table that is to be freed, if there is a table.
void free_index(const Members& members);
inline void drop_index(const Members& members) {
    if (members.mask >= kLeastWithTail - 1) [[unlikely]]
        free_index(members);
}

}  // namespace ke::json
