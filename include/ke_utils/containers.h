/**
 * @file containers.h
 * Vector, hash map, locked map, string buffer and string vector, and the hash functions of the maps.
 */
#ifndef KE_UTILS_CONTAINERS_H
#define KE_UTILS_CONTAINERS_H

#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup vector Vector
 *  @{ */

/** Called with the address of an element inside the block. */
typedef void (*wiq_vector_elem_fn)(void* elem);

typedef struct wiq_vector {
    u64 elem_size;
    i32 capacity;
    i32 size;
    wiq_vector_elem_fn init_cb;
    wiq_vector_elem_fn free_cb;
    void* data;
    i32 refcount;
} wiq_vector;

KE_API i32 wiq_vector_init(wiq_vector* vec, u64 elem_size, i32 size, wiq_vector_elem_fn init_cb,
                           wiq_vector_elem_fn free_cb);
KE_API wiq_vector* wiq_vector_new(u64 elem_size, i32 size, wiq_vector_elem_fn init_cb,
                                  wiq_vector_elem_fn free_cb);
KE_API i32 wiq_vector_finalize(wiq_vector* vec);
KE_API void wiq_vector_delete(wiq_vector* vec);
KE_API void wiq_vector_ref(wiq_vector* vec);
KE_API void wiq_vector_unref(wiq_vector* vec);
KE_API i32 wiq_vector_resize(wiq_vector* vec, i32 size);
KE_API void* wiq_vector_push(wiq_vector* vec);
KE_API i32 wiq_vector_pop(wiq_vector* vec, i32 count);
KE_API void* wiq_vector_get(const wiq_vector* vec, i32 index);
KE_API const void* wiq_vector_get_const(const wiq_vector* vec, i32 index);
KE_API i32 wiq_vector_size(const wiq_vector* vec);
KE_API i32 wiq_vector_extra_capacity(wiq_vector* vec, i32 extra);

/** @} */

/** @defgroup map Hash map
 *  @{ */

typedef u32 (*wiq_hash_fn)(const void* key);
typedef bool (*wiq_cmp_fn)(const void* stored_key, const void* probe_key);
typedef void (*wiq_release_fn)(void* key_or_value);
typedef void* (*wiq_map_factory_fn)(const void* key, void* user, i32* status);
typedef bool (*wiq_map_foreach_fn)(void* key, void* value, void* user);

typedef struct wiq_map_entry {
    void* key;
    u32 hash;
    void* value;
    struct wiq_map_entry* next;
} wiq_map_entry;

typedef struct wiq_map {
    wiq_map_entry** buckets;
    u64 bucket_count;
    wiq_hash_fn hash;
    wiq_cmp_fn cmp;
    wiq_release_fn key_free;
    wiq_release_fn value_free;
    u64 size;
    i32 refcount;
} wiq_map;

KE_API i32 wiq_map_init(wiq_map* map, u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                        wiq_release_fn key_free, wiq_release_fn value_free);
KE_API wiq_map* wiq_map_new(u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp, wiq_release_fn key_free,
                            wiq_release_fn value_free);
KE_API i32 wiq_map_finalize(wiq_map* map);
KE_API void wiq_map_delete(wiq_map* map);
KE_API void wiq_map_ref(wiq_map* map);
KE_API void wiq_map_unref(wiq_map* map);
KE_API i32 wiq_map_put(wiq_map* map, void* key, void* value);
KE_API i32 wiq_map_replace(wiq_map* map, void* key, void* value, void** old_value);
KE_API void* wiq_map_memoize(wiq_map* map, void* key, wiq_map_factory_fn factory, void* user,
                             i32* status);
KE_API void* wiq_map_get(const wiq_map* map, const void* key);
KE_API bool wiq_map_test_key(const wiq_map* map, const void* key);
KE_API void* wiq_map_remove(wiq_map* map, const void* key);
KE_API void wiq_map_remove_all(wiq_map* map);
KE_API void wiq_map_foreach(const wiq_map* map, wiq_map_foreach_fn callback, void* user);
KE_API u64 wiq_map_size(const wiq_map* map);
KE_API u64 wiq_map_capacity(const wiq_map* map);
KE_API u64 wiq_map_collisions(const wiq_map* map);

KE_API u32 wiq_murmur3_32(const void* data, u32 length, u32 seed);
KE_API u32 wiq_hash_int(const void* key);
KE_API u32 wiq_hash_ptr(const void* key);
KE_API u32 wiq_hash_str(const void* key);
KE_API bool wiq_cmp_int(const void* a, const void* b);
KE_API bool wiq_cmp_ptr(const void* a, const void* b);
KE_API bool wiq_cmp_str(const void* a, const void* b);

/** @} */

/** @defgroup safe_map Locked map
 *  @{ */

typedef struct wiq_safe_map {
    wiq_mutex lock;
    wiq_map map;
} wiq_safe_map;

KE_API i32 wiq_safe_map_init(wiq_safe_map* map, u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                             wiq_release_fn key_free, wiq_release_fn value_free);
KE_API wiq_safe_map* wiq_safe_map_new(u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                                      wiq_release_fn key_free, wiq_release_fn value_free);
KE_API i32 wiq_safe_map_finalize(wiq_safe_map* map);
KE_API void wiq_safe_map_delete(wiq_safe_map* map);
KE_API i32 wiq_safe_map_put(wiq_safe_map* map, void* key, void* value);
KE_API i32 wiq_safe_map_replace(wiq_safe_map* map, void* key, void* value, void** old_value);
KE_API void* wiq_safe_map_memoize(wiq_safe_map* map, void* key, wiq_map_factory_fn factory,
                                  void* user, i32* status);
KE_API void* wiq_safe_map_get(wiq_safe_map* map, const void* key);
KE_API bool wiq_safe_map_test_key(wiq_safe_map* map, const void* key);
KE_API void* wiq_safe_map_remove(wiq_safe_map* map, const void* key);
KE_API u64 wiq_safe_map_size(wiq_safe_map* map);
KE_API void wiq_safe_map_foreach(wiq_safe_map* map, wiq_map_foreach_fn callback, void* user);

/** @} */

/** @defgroup strbuf String buffer
 *  @{ */

typedef struct wiq_strbuf {
    char* data;
    u64 len;
    u64 capacity;
} wiq_strbuf;

KE_API i32 wiq_strbuf_init(wiq_strbuf* buf, u64 capacity);
KE_API void wiq_strbuf_finalize(wiq_strbuf* buf);
KE_API char* wiq_strbuf_release(wiq_strbuf* buf);
KE_API i32 wiq_strbuf_reset(wiq_strbuf* buf);
KE_API i32 wiq_strbuf_reset_pos(wiq_strbuf* buf, u64 position);
KE_API i32 wiq_strbuf_erase(wiq_strbuf* buf, u64 count);
KE_API i32 wiq_strbuf_pop(wiq_strbuf* buf);
KE_API char wiq_strbuf_getc(const wiq_strbuf* buf, i32 index);
KE_API i32 wiq_strbuf_putc(wiq_strbuf* buf, char c);
KE_API i32 wiq_strbuf_write(wiq_strbuf* buf, const char* bytes, u64 count);
KE_API i32 wiq_strbuf_rwrite(wiq_strbuf* buf, const char* bytes, u64 count);
KE_API i32 wiq_strbuf_printf(wiq_strbuf* buf, const char* format, ...) KE_PRINTF(2, 3);
KE_API i32 wiq_strbuf_vprintf(wiq_strbuf* buf, const char* format, va_list args) KE_PRINTF(2, 0);
KE_API i32 wiq_strbuf_rprintf(wiq_strbuf* buf, const char* format, ...) KE_PRINTF(2, 3);
KE_API i32 wiq_strbuf_rvprintf(wiq_strbuf* buf, const char* format, va_list args) KE_PRINTF(2, 0);
KE_API i32 wiq_strbuf_printhex(wiq_strbuf* buf, const void* bytes, u64 count);
KE_API i32 wiq_strbuf_extra_capacity(wiq_strbuf* buf, u64 extra);
KE_API i32 wiq_strbuf_struct_str(wiq_strbuf* buf, const void* bytes, u64 width, bool trim);

/** @} */

/** @defgroup strv String vector
 *  @{ */

/** A vector of owned, NUL-terminated strings. */
typedef wiq_vector wiq_strv;

KE_API i32 wiq_strv_init(wiq_strv* strv);
KE_API i32 wiq_strv_finalize(wiq_strv* strv);
KE_API i32 wiq_strv_push(wiq_strv* strv, const char* str);
KE_API i32 wiq_strv_pushf(wiq_strv* strv, const char* format, ...) KE_PRINTF(2, 3);
KE_API char* wiq_strv_get(const wiq_strv* strv, u32 index);
KE_API void wiq_strv_sort(wiq_strv* strv);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
