// The locked map: each operation of the plain map under one mutex. The thread that holds the mutex
// may enter it again, so callbacks may use the map that they are called from.

#include <cstdlib>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "os/mutex.h"

using ke::os::MutexLock;

i32 wiq_safe_map_init(wiq_safe_map* map, u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                      wiq_release_fn key_free, wiq_release_fn value_free) {
    if (map == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (uv_mutex_init_recursive(ke::os::uv_mutex(&map->lock)) != 0)
        return WIQ_ERR_LOCK_INIT;
    const i32 status = wiq_map_init(&map->map, capacity, hash, cmp, key_free, value_free);
    if (status != 0)
        uv_mutex_destroy(ke::os::uv_mutex(&map->lock));
    return status;
}

wiq_safe_map* wiq_safe_map_new(u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                               wiq_release_fn key_free, wiq_release_fn value_free) {
    auto* map = static_cast<wiq_safe_map*>(malloc(sizeof(wiq_safe_map)));
    if (map != nullptr && wiq_safe_map_init(map, capacity, hash, cmp, key_free, value_free) != 0) {
        free(map);
        map = nullptr;
    }
    return map;
}

i32 wiq_safe_map_finalize(wiq_safe_map* map) {
    i32 status = 0;
    {
        // In a scope of its own: the mutex must be unlocked before it is destroyed.
        const MutexLock lock(&map->lock);
        status = wiq_map_finalize(&map->map);
    }
    uv_mutex_destroy(ke::os::uv_mutex(&map->lock));
    return status;
}

void wiq_safe_map_delete(wiq_safe_map* map) {
    wiq_safe_map_finalize(map);
    free(map);
}

i32 wiq_safe_map_put(wiq_safe_map* map, void* key, void* value) {
    const MutexLock lock(&map->lock);
    return wiq_map_put(&map->map, key, value);
}

i32 wiq_safe_map_replace(wiq_safe_map* map, void* key, void* value, void** old_value) {
    const MutexLock lock(&map->lock);
    return wiq_map_replace(&map->map, key, value, old_value);
}

void* wiq_safe_map_memoize(wiq_safe_map* map, void* key, wiq_map_factory_fn factory, void* user,
                           i32* status) {
    const MutexLock lock(&map->lock);
    return wiq_map_memoize(&map->map, key, factory, user, status);
}

void* wiq_safe_map_get(wiq_safe_map* map, const void* key) {
    const MutexLock lock(&map->lock);
    return wiq_map_get(&map->map, key);
}

bool wiq_safe_map_test_key(wiq_safe_map* map, const void* key) {
    const MutexLock lock(&map->lock);
    return wiq_map_test_key(&map->map, key);
}

void* wiq_safe_map_remove(wiq_safe_map* map, const void* key) {
    const MutexLock lock(&map->lock);
    return wiq_map_remove(&map->map, key);
}

u64 wiq_safe_map_size(wiq_safe_map* map) {
    const MutexLock lock(&map->lock);
    return wiq_map_size(&map->map);
}

void wiq_safe_map_foreach(wiq_safe_map* map, wiq_map_foreach_fn callback, void* user) {
    const MutexLock lock(&map->lock);
    wiq_map_foreach(&map->map, callback, user);
}
