// The hash map: separate chaining over an array of buckets, whose number is a power of two. Each
// entry is a block of its own and stores the hash of its key.

#include <cstdlib>

#include "containers/chains.h"
#include "core/refcount.h"
#include "ke_utils/containers.h"
#include "ke_utils/core.h"

namespace {

u64 mask_of(const wiq_map* map) {
    return map->bucket_count - 1;
}

// Returns the entry with an equal key, or nullptr.
wiq_map_entry* find(const wiq_map* map, u32 hash, const void* key) {
    wiq_map_entry* entry = map->buckets[ke::bucket_of(hash, mask_of(map))];
    // An identical pointer is an equal key; cmp is not called for it.
    while (entry != nullptr && entry->key != key &&
           !(entry->hash == hash && map->cmp(entry->key, key)))
        entry = entry->next;
    return entry;
}

// Doubles the number of buckets if there are more entries than three quarters of it. Returns 0, or
// WIQ_ERR_NO_MEMORY with the map unchanged.
i32 grow_if_full(wiq_map* map) {
    const u64 count = map->bucket_count;
    if (map->size <= ke::load_limit(count))
        return 0;
    auto** buckets =
        static_cast<wiq_map_entry**>(realloc(map->buckets, 2 * count * sizeof(wiq_map_entry*)));
    if (buckets == nullptr)
        return WIQ_ERR_NO_MEMORY;
    ke::split_chains(buckets, count);
    map->buckets = buckets;
    map->bucket_count = 2 * count;
    return 0;
}

void call(wiq_release_fn release, void* key_or_value) {
    if (release != nullptr)
        release(key_or_value);
}

// Stores a new entry at the end of its chain. Returns 0 or WIQ_ERR_NO_MEMORY; in the latter case
// the entry was either not stored, or stored in a table that could not grow. The map's size tells
// which.
i32 insert(wiq_map* map, void* key, u32 hash, void* value) {
    auto* entry = static_cast<wiq_map_entry*>(malloc(sizeof(wiq_map_entry)));
    if (entry == nullptr)
        return WIQ_ERR_NO_MEMORY;
    entry->key = key;
    entry->hash = hash;
    entry->value = value;
    ke::append_to_chain(&map->buckets[ke::bucket_of(hash, mask_of(map))], entry);
    ++map->size;
    return grow_if_full(map);
}

// Replaces the key and value of an entry. The new pair is stored before the old one is released:
// key_free and value_free may use the map, and must never find there what is being released. After
// the first of them the entry may be gone, so it is not used any more.
void overwrite(const wiq_map* map, wiq_map_entry* entry, void* key, void* value, void** old_value) {
    const wiq_map_entry old = *entry;
    const wiq_release_fn key_free = old.key == key ? nullptr : map->key_free;
    const wiq_release_fn value_free = old_value != nullptr ? nullptr : map->value_free;
    entry->key = key;
    entry->value = value;
    if (old_value != nullptr)
        *old_value = old.value;
    call(value_free, old.value);
    call(key_free, old.key);
}

i32 store(wiq_map* map, void* key, u32 hash, void* value, void** old_value) {
    wiq_map_entry* entry = find(map, hash, key);
    if (entry == nullptr)
        return insert(map, key, hash, value);
    overwrite(map, entry, key, value, old_value);
    return 0;
}

}  // namespace

i32 wiq_map_init(wiq_map* map, u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                 wiq_release_fn key_free, wiq_release_fn value_free) {
    if (map == nullptr || hash == nullptr || cmp == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const u64 count = ke::initial_buckets(capacity);
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
    // Repeated, since key_free and value_free may have stored entries meanwhile.
    do {
        wiq_map_remove_all(map);
    } while (map->size != 0);
    free(map->buckets);
    return 0;
}

// key_free and value_free may take references and release them; mark_dying() keeps that from
// deleting the map again.
void wiq_map_delete(wiq_map* map) {
    ke::mark_dying(&map->refcount);
    wiq_map_finalize(map);
    free(map);
}

void wiq_map_ref(wiq_map* map) {
    ke::add_owner(&map->refcount);
}

void wiq_map_unref(wiq_map* map) {
    if (ke::remove_owner(&map->refcount))
        wiq_map_delete(map);
}

i32 wiq_map_put(wiq_map* map, void* key, void* value) {
    return wiq_map_replace(map, key, value, nullptr);
}

i32 wiq_map_replace(wiq_map* map, void* key, void* value, void** old_value) {
    const u32 hash = map->hash(key);
    if (old_value != nullptr)
        *old_value = nullptr;
    return store(map, key, hash, value, old_value);
}

void* wiq_map_memoize(wiq_map* map, void* key, wiq_map_factory_fn factory, void* user,
                      i32* status) {
    const u32 hash = map->hash(key);
    i32 result = 0;
    void* value = nullptr;
    if (const wiq_map_entry* entry = find(map, hash, key)) {
        value = entry->value;
    } else {
        value = factory(key, user, &result);
        // The factory may have stored the key itself, or made the map grow, so store() searches
        // again.
        if (result == 0)
            result = store(map, key, hash, value, nullptr);
    }
    if (status != nullptr)
        *status = result;
    return value;
}

void* wiq_map_get(const wiq_map* map, const void* key) {
    const wiq_map_entry* entry = find(map, map->hash(key), key);
    return entry == nullptr ? nullptr : entry->value;
}

bool wiq_map_test_key(const wiq_map* map, const void* key) {
    return find(map, map->hash(key), key) != nullptr;
}

void* wiq_map_remove(wiq_map* map, const void* key) {
    wiq_map_entry* entry = find(map, map->hash(key), key);
    if (entry == nullptr)
        return nullptr;
    ke::remove_from_chain(&map->buckets[ke::bucket_of(entry->hash, mask_of(map))], entry);
    --map->size;
    void* old_key = entry->key;
    void* value = entry->value;
    free(entry);
    // Read once: the value is either released or returned, whatever key_free does.
    const wiq_release_fn value_free = map->value_free;
    call(map->key_free, old_key);
    call(value_free, value);
    return value_free == nullptr ? value : nullptr;
}

void wiq_map_remove_all(wiq_map* map) {
    // A whole chain leaves the map before anything in it is released: the callbacks may use the
    // map, and may even make it grow. Growth moves the entries of a bucket only to that bucket or
    // to one in the new half, so it fills none of the buckets that have been emptied.
    for (u64 bucket = 0; bucket < map->bucket_count; ++bucket) {
        wiq_map_entry* entry = map->buckets[bucket];
        map->buckets[bucket] = nullptr;
        if (ke::is_large(mask_of(map)))
            ke::fetch_ahead(map->buckets, mask_of(map), bucket);
        for (const wiq_map_entry* gone = entry; gone != nullptr; gone = gone->next)
            --map->size;
        while (entry != nullptr) {
            const wiq_map_entry old = *entry;
            free(entry);
            call(map->key_free, old.key);
            call(map->value_free, old.value);
            entry = old.next;
        }
    }
}

void wiq_map_foreach(const wiq_map* map, wiq_map_foreach_fn callback, void* user) {
    // The callback must not insert or remove entries, so the table and its chains stay as they are.
    const u64 mask = mask_of(map);
    for (const wiq_map_entry* entry = ke::first_from(map->buckets, mask, 0); entry != nullptr;
         entry = ke::next_in_table(map->buckets, mask, entry)) {
        if (!callback(entry->key, entry->value, user))
            return;
    }
}

u64 wiq_map_size(const wiq_map* map) {
    return map->size;
}

u64 wiq_map_capacity(const wiq_map* map) {
    return ke::load_limit(map->bucket_count);
}

u64 wiq_map_collisions(const wiq_map* map) {
    u64 heads = 0;
    for (u64 bucket = 0; bucket < map->bucket_count; ++bucket)
        heads += map->buckets[bucket] != nullptr ? 1 : 0;
    return map->size - heads;
}
