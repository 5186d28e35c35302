// The hash map: separate chaining over a power-of-two array of bucket heads, each entry a block of its own
// that keeps its key's hash.

#include <atomic>
#include <cstdlib>

#include "containers/map_core.h"
#include "ke_utils/core.h"

namespace ke {

i32 map_grow(wiq_map* map) {
    const u64 old_count = map->bucket_count;
    auto** grown =
        static_cast<wiq_map_entry**>(wiq_real_malloc0(2 * old_count * sizeof(wiq_map_entry*)));
    if (grown == nullptr)
        return WIQ_ERR_NO_MEMORY;
    wiq_map_entry** old = map->buckets;
    map->buckets = grown;
    map->bucket_count = 2 * old_count;
    for (u64 bucket = 0; bucket < old_count; ++bucket) {
        for (wiq_map_entry* entry = old[bucket]; entry != nullptr;) {
            wiq_map_entry* next = entry->next;
            wiq_map_entry** head = &grown[map_bucket(map, entry->hash)];
            entry->next = *head;
            *head = entry;
            entry = next;
        }
    }
    free(old);
    return 0;
}

}  // namespace ke

namespace {

// The smallest power of two above four thirds of the capacity, or 1 for none.
u64 initial_buckets(u64 capacity) {
    const u64 least = capacity * 4 / 3;
    u64 count = 1;
    while (least != 0 && count <= least && count <= UINT64_MAX / 2)
        count *= 2;
    return count;
}

void release_key(const wiq_map* map, void* key) {
    if (map->key_free != nullptr)
        map->key_free(key);
}

void release_value(const wiq_map* map, void* value) {
    if (map->value_free != nullptr)
        map->value_free(value);
}

// Stores a new entry at the end of its chain: 0 or -5000 (nothing stored, or stored in a table that could
// not grow; the size tells).
i32 insert(wiq_map* map, void* key, u32 hash, void* value) {
    auto* entry = static_cast<wiq_map_entry*>(malloc(sizeof(wiq_map_entry)));
    if (entry == nullptr)
        return WIQ_ERR_NO_MEMORY;
    entry->key = key;
    entry->hash = hash;
    entry->value = value;
    ke::map_link(map, entry);
    return ke::map_grow_if_full(map);
}

void overwrite(wiq_map* map, wiq_map_entry* entry, void* key, void* value, void** old_value) {
    if (old_value != nullptr)
        *old_value = entry->value;
    else
        release_value(map, entry->value);
    if (entry->key != key)
        release_key(map, entry->key);
    entry->key = key;
    entry->value = value;
}

}  // namespace

i32 wiq_map_init(wiq_map* map, u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                 wiq_release_fn key_free, wiq_release_fn value_free) {
    if (map == nullptr || hash == nullptr || cmp == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const u64 count = initial_buckets(capacity);
    if (count > SIZE_MAX / sizeof(wiq_map_entry*))
        return WIQ_ERR_NO_MEMORY;
    auto** buckets = static_cast<wiq_map_entry**>(wiq_real_malloc0(count * sizeof(wiq_map_entry*)));
    if (buckets == nullptr)
        return WIQ_ERR_NO_MEMORY;
    map->buckets = buckets;
    map->bucket_count = count;
    map->hash = hash;
    map->cmp = cmp;
    map->key_free = key_free;
    map->value_free = value_free;
    map->size = 0;
    map->refcount = 1;
    return 0;
}

wiq_map* wiq_map_new(u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp, wiq_release_fn key_free,
                     wiq_release_fn value_free) {
    auto* map = static_cast<wiq_map*>(malloc(sizeof(wiq_map)));
    if (map != nullptr && wiq_map_init(map, capacity, hash, cmp, key_free, value_free) != 0) {
        free(map);
        map = nullptr;
    }
    return map;
}

i32 wiq_map_finalize(wiq_map* map) {
    wiq_map_remove_all(map);
    free(map->buckets);
    return 0;
}

void wiq_map_delete(wiq_map* map) {
    wiq_map_finalize(map);
    free(map);
}

void wiq_map_ref(wiq_map* map) {
    std::atomic_ref(map->refcount).fetch_add(1, std::memory_order_relaxed);
}

void wiq_map_unref(wiq_map* map) {
    if (std::atomic_ref(map->refcount).fetch_sub(1, std::memory_order_acq_rel) == 1)
        wiq_map_delete(map);
}

i32 wiq_map_put(wiq_map* map, void* key, void* value) {
    return wiq_map_replace(map, key, value, nullptr);
}

i32 wiq_map_replace(wiq_map* map, void* key, void* value, void** old_value) {
    const u32 hash = map->hash(key);
    if (old_value != nullptr)
        *old_value = nullptr;
    wiq_map_entry* entry = ke::map_find(map, hash, key);
    if (entry == nullptr)
        return insert(map, key, hash, value);
    overwrite(map, entry, key, value, old_value);
    return 0;
}

void* wiq_map_memoize(wiq_map* map, void* key, wiq_map_factory_fn factory, void* user,
                      i32* status) {
    const u32 hash = map->hash(key);
    i32 result = 0;
    void* value = nullptr;
    if (const wiq_map_entry* entry = ke::map_find(map, hash, key)) {
        value = entry->value;
    } else {
        value = factory(key, user, &result);
        if (result == 0)
            result = insert(map, key, hash, value);
    }
    if (status != nullptr)
        *status = result;
    return value;
}

void* wiq_map_get(const wiq_map* map, const void* key) {
    const wiq_map_entry* entry = ke::map_find(map, map->hash(key), key);
    return entry == nullptr ? nullptr : entry->value;
}

bool wiq_map_test_key(const wiq_map* map, const void* key) {
    return ke::map_find(map, map->hash(key), key) != nullptr;
}

void* wiq_map_remove(wiq_map* map, const void* key) {
    wiq_map_entry* entry = ke::map_find(map, map->hash(key), key);
    if (entry == nullptr)
        return nullptr;
    ke::map_unlink(map, entry);
    void* value = entry->value;
    release_key(map, entry->key);
    if (map->value_free != nullptr) {
        map->value_free(value);
        value = nullptr;
    }
    free(entry);
    return value;
}

void wiq_map_remove_all(wiq_map* map) {
    for (u64 bucket = 0; bucket < map->bucket_count; ++bucket) {
        wiq_map_entry* entry = map->buckets[bucket];
        map->buckets[bucket] = nullptr;
        while (entry != nullptr) {
            wiq_map_entry* next = entry->next;
            release_key(map, entry->key);
            release_value(map, entry->value);
            free(entry);
            entry = next;
        }
    }
    map->size = 0;
}

void wiq_map_foreach(const wiq_map* map, wiq_map_foreach_fn callback, void* user) {
    for (const wiq_map_entry* entry = ke::map_first(map); entry != nullptr;
         entry = ke::map_next(map, entry)) {
        if (!callback(entry->key, entry->value, user))
            return;
    }
}

u64 wiq_map_size(const wiq_map* map) {
    return map->size;
}

u64 wiq_map_capacity(const wiq_map* map) {
    return ke::map_load_limit(map->bucket_count);
}

u64 wiq_map_collisions(const wiq_map* map) {
    u64 heads = 0;
    for (u64 bucket = 0; bucket < map->bucket_count; ++bucket)
        heads += map->buckets[bucket] != nullptr ? 1 : 0;
    return map->size - heads;
}
