// The steps that a chained hash table is made of: linking, unlinking, splitting, walking. wiq_map
// and the members of JSON objects are built on them. Each has its own kind of entry; the steps need
// only its `next` and `hash`.
//
// A table is an array of buckets, each of which points to the first entry of its chain. The number
// of buckets is a power of two; `mask` is that number less one. The order of a walk can be
// observed, so it is fixed: a new entry is linked at the end of its chain, and growth takes the old
// chains in order and puts each entry at the front of its new chain.
#pragma once

#include <cstdint>

#include "ke_utils/types.h"

namespace ke {

// Returns the bucket of a hash: its low bits, after the hash has been sign-extended to 64 bits.
constexpr u64 bucket_of(u32 hash, u64 mask) {
    return mask & static_cast<u64>(static_cast<i64>(static_cast<i32>(hash)));
}

// Returns the number of buckets for `capacity` entries: the smallest power of two above four thirds
// of that number, or 1 if it is 0. The product has 64 bits and wraps for a capacity of 2^62 or
// more.
constexpr u64 initial_buckets(u64 capacity) {
    const u64 least = capacity * 4 / 3;
    u64 count = 1;
    while (least != 0 && count <= least && count <= UINT64_MAX / 2)
        count *= 2;
    return count;
}

// Returns the number of entries that a table of `bucket_count` buckets holds before it grows.
constexpr u64 load_limit(u64 bucket_count) {
    return bucket_count * 3 / 4;
}

template <class Entry>
inline void append_to_chain(Entry** link, Entry* entry) {
    while (*link != nullptr)
        link = &(*link)->next;
    entry->next = nullptr;
    *link = entry;
}

// Removes an entry, which must be in the chain.
template <class Entry>
inline void remove_from_chain(Entry** link, const Entry* entry) {
    while (*link != entry)
        link = &(*link)->next;
    *link = entry->next;
}

// Entries follow each other in the order of their hashes, so the processor cannot foresee where in
// memory the next one is. In a table that is too large for the caches, a walk prefetches the entry
// that it will reach some buckets later. About half of the buckets are empty.
constexpr u64 kFetchAhead = 12;
constexpr bool is_large(u64 mask) {
    return mask >= 8191;
}
template <class Entry>
inline void fetch_ahead(Entry* const* buckets, u64 mask, u64 bucket) {
    const auto later = reinterpret_cast<uintptr_t>(buckets[(bucket + kFetchAhead) & mask]);
    // Prefetching from an invalid address, as for an empty bucket, does nothing; but arithmetic on
    // the null pointer of such a bucket would be undefined. NOLINTBEGIN(performance-no-int-to-ptr)
    __builtin_prefetch(reinterpret_cast<const void*>(later));
    __builtin_prefetch(reinterpret_cast<const void*>(later + 64));
    // NOLINTEND(performance-no-int-to-ptr)
}

// Doubles a table in its own array, which must have space for another `count` buckets after the
// first `count`. One more bit of the hash then counts, so each chain splits into two: one for its
// own bucket, and one for the bucket `count` further on. No bucket gets entries of two chains.
template <class Entry>
void split_chains(Entry** buckets, u64 count) {
    for (u64 bucket = 0; bucket < count; ++bucket) {
        if (is_large(count - 1))
            fetch_ahead(buckets, count - 1, bucket);
        // An index instead of a branch: the processor cannot predict which half an entry belongs
        // to.
        Entry* heads[2] = {nullptr, nullptr};
        for (Entry* entry = buckets[bucket]; entry != nullptr;) {
            Entry* next = entry->next;
            Entry*& head = heads[(bucket_of(entry->hash, 2 * count - 1) & count) != 0 ? 1 : 0];
            entry->next = head;
            head = entry;
            entry = next;
        }
        buckets[bucket] = heads[0];
        buckets[bucket + count] = heads[1];
    }
}

// Returns the first entry in a bucket or after it, or nullptr at the end of the table.
template <class Entry>
inline Entry* first_from(Entry* const* buckets, u64 mask, u64 bucket) {
    for (; bucket <= mask; ++bucket) {
        if (buckets[bucket] != nullptr)
            return buckets[bucket];
    }
    return nullptr;
}

// Does what first_from() does, for a large table. Not inline, so that walks over small tables need
// not save the registers that it uses.
template <class Entry>
[[gnu::noinline]] Entry* first_from_large(Entry* const* buckets, u64 mask, u64 bucket) {
    for (; bucket <= mask; ++bucket) {
        fetch_ahead(buckets, mask, bucket);
        if (buckets[bucket] != nullptr)
            return buckets[bucket];
    }
    return nullptr;
}

// Returns the entry after another one in the order of a walk, or nullptr at the end of the table.
template <class Entry>
inline Entry* next_in_table(Entry* const* buckets, u64 mask, const Entry* entry) {
    if (entry->next != nullptr)
        return entry->next;
    const u64 bucket = bucket_of(entry->hash, mask) + 1;
    return is_large(mask) ? first_from_large(buckets, mask, bucket)
                          : first_from(buckets, mask, bucket);
}

}  // namespace ke
