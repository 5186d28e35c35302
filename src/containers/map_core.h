// The steps that a chained hash table is made of: finding, linking, unlinking, growing, walking. The
// exported wiq_map_* are built on them, and so are JSON objects, whose entries are longer blocks (the key's
// text stands behind the entry) that they take and release themselves.
//
// The order of a walk can be observed, so it is fixed: an entry joins its chain at the end; growth takes
// the old chains in order and puts each entry at the front of its new one.
#pragma once

#include "ke_utils/containers.h"

namespace ke {

// Heads are chosen by the low bits of the hash, widened as a signed number.
inline u64 map_bucket(const wiq_map* map, u32 hash) {
    return (map->bucket_count - 1) & static_cast<u64>(static_cast<i64>(static_cast<i32>(hash)));
}

inline bool map_matches(const wiq_map* map, const wiq_map_entry* entry, u32 hash, const void* key) {
    return entry->key == key || (entry->hash == hash && map->cmp(entry->key, key));
}

// The entry under an equal key, or nullptr.
inline wiq_map_entry* map_find(const wiq_map* map, u32 hash, const void* key) {
    wiq_map_entry* entry = map->buckets[map_bucket(map, hash)];
    while (entry != nullptr && !map_matches(map, entry, hash, key))
        entry = entry->next;
    return entry;
}

// Appends an entry, whose key, hash and value are set, to the chain of its hash. Does not grow the map.
inline void map_link(wiq_map* map, wiq_map_entry* entry) {
    wiq_map_entry** link = &map->buckets[map_bucket(map, entry->hash)];
    while (*link != nullptr)
        link = &(*link)->next;
    entry->next = nullptr;
    *link = entry;
    ++map->size;
}

// Takes an entry out of its chain without releasing it.
inline void map_unlink(wiq_map* map, const wiq_map_entry* entry) {
    wiq_map_entry** link = &map->buckets[map_bucket(map, entry->hash)];
    while (*link != entry)
        link = &(*link)->next;
    *link = entry->next;
    --map->size;
}

// The number of entries that a table of this many buckets holds before it grows.
constexpr u64 map_load_limit(u64 bucket_count) {
    return bucket_count * 3 / 4;
}

// Doubles the buckets when the load has passed three quarters. 0, or -5000 with the map unchanged.
i32 map_grow(wiq_map* map);
inline i32 map_grow_if_full(wiq_map* map) {
    return map->size <= map_load_limit(map->bucket_count) ? 0 : map_grow(map);
}

// The first entry at or behind a bucket; nullptr at the end.
inline wiq_map_entry* map_first_from(const wiq_map* map, u64 bucket) {
    for (; bucket < map->bucket_count; ++bucket) {
        if (map->buckets[bucket] != nullptr)
            return map->buckets[bucket];
    }
    return nullptr;
}

// A walk in map order; the map must not change meanwhile.
inline wiq_map_entry* map_first(const wiq_map* map) {
    return map_first_from(map, 0);
}
inline wiq_map_entry* map_next(const wiq_map* map, const wiq_map_entry* entry) {
    return entry->next != nullptr ? entry->next
                                  : map_first_from(map, map_bucket(map, entry->hash) + 1);
}

}  // namespace ke
