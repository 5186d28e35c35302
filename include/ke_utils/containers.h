/**
 * @file containers.h
 * Declares the vector, the hash map with its hash functions, the locked map, the string buffer and
 * the string vector.
 */
#ifndef KE_UTILS_CONTAINERS_H
#define KE_UTILS_CONTAINERS_H

#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup vector Vector
 *  @{ */

/**
 * Called with the address of an element inside the block, when the element is created or destroyed.
 *
 * The callback must not use the vector that it is called from, except that it may take a reference
 * and release it: the vector's size is set only after the last call, so until then the size and the
 * elements do not match. If the library notices that a callback has changed the vector, the
 * function stops and returns WIQ_ERR_FAILED (-7), or NULL if it returns a pointer, and the vector
 * stays as the callback left it.
 */
typedef void (*wiq_vector_elem_fn)(void* elem);

/**
 * A growable array of elements of one size, in one block. Embed it in a record of your own, or let
 * wiq_vector_new() make one.
 */
typedef struct wiq_vector {
    u64 elem_size;              /**< size of one element in bytes; never 0 */
    i32 capacity;               /**< number of elements that the block has room for */
    i32 size;                   /**< number of elements in use */
    wiq_vector_elem_fn init_cb; /**< called on each new element; may be NULL */
    wiq_vector_elem_fn free_cb; /**< called on each element before it is removed; may be NULL */
    void* data;                 /**< the block; NULL while the capacity is 0 */
    i32 refcount;               /**< number of owners; changed atomically */
} wiq_vector;

/**
 * Initialises an embedded vector, which wiq_vector_finalize() releases.
 * @param vec       the record; its old contents are overwritten, not released
 * @param elem_size size of one element in bytes, not 0
 * @param size      number of elements to begin with, which are constructed in ascending order
 * @param init_cb   called on each new element; if NULL, the memory of new elements is not
 *                  initialised
 * @param free_cb   called on each element before it is removed; may be NULL
 * @return 0; WIQ_ERR_INVALID_ARG (-7000) for a NULL record, a negative size or an element size of
 *         0; WIQ_ERR_NO_MEMORY (-5000) when out of memory, in which case the vector is empty and
 *         valid; WIQ_ERR_FAILED if a callback changed the vector
 */
KE_API i32 wiq_vector_init(wiq_vector* vec, u64 elem_size, i32 size, wiq_vector_elem_fn init_cb,
                           wiq_vector_elem_fn free_cb);

/**
 * Makes a vector on the heap, with a reference count of 1.
 * @param elem_size as in wiq_vector_init()
 * @param size      as in wiq_vector_init()
 * @param init_cb   as in wiq_vector_init()
 * @param free_cb   as in wiq_vector_init()
 * @return the vector, which wiq_vector_unref() or wiq_vector_delete() releases; NULL if
 *         wiq_vector_init() fails with these arguments, or when out of memory
 */
KE_API wiq_vector* wiq_vector_new(u64 elem_size, i32 size, wiq_vector_elem_fn init_cb,
                                  wiq_vector_elem_fn free_cb);

/**
 * Destroys all elements, last to first, and releases the block. The vector is then empty and can be
 * used again: its element size, callbacks and reference count stay.
 * @param vec the vector
 * @return 0; WIQ_ERR_INVALID_ARG if `vec` is NULL; WIQ_ERR_FAILED if a callback changed the vector,
 *         in which case the block is not released
 */
KE_API i32 wiq_vector_finalize(wiq_vector* vec);

/** Finalizes a heap vector and releases it, whatever its reference count. NULL is ignored. */
KE_API void wiq_vector_delete(wiq_vector* vec);

/** Adds an owner, atomically. `vec` must not be NULL. */
KE_API void wiq_vector_ref(wiq_vector* vec);

/**
 * Removes an owner, atomically. With the last one, the vector is finalized and released. `vec` must
 * not be NULL.
 */
KE_API void wiq_vector_unref(wiq_vector* vec);

/**
 * Changes the number of elements. New elements are constructed in ascending order, old ones
 * destroyed in descending order.
 *
 * A block that is too small grows to the larger of the new size and twice its capacity. A block
 * never shrinks here.
 * @param vec  the vector
 * @param size the new number of elements, from 0 up
 * @return 0; WIQ_ERR_INVALID_ARG if `vec` is NULL or `size` negative; WIQ_ERR_NO_MEMORY when out of
 *         memory, with nothing changed; WIQ_ERR_FAILED if a callback changed the vector
 */
KE_API i32 wiq_vector_resize(wiq_vector* vec, i32 size);

/**
 * Appends one element, constructed by init_cb or, without one, not initialised.
 * @param vec the vector
 * @return the address of the element, valid until the block is next reallocated; NULL if `vec` is
 *         NULL, when out of memory or at 2^31 - 1 elements (nothing is changed then), or if a
 *         callback changed the vector
 */
KE_API void* wiq_vector_push(wiq_vector* vec);

/**
 * Destroys the last `count` elements, last to first.
 * @param vec   the vector
 * @param count number of elements to destroy
 * @return 0; WIQ_ERR_INVALID_ARG if `vec` is NULL, `count` is negative or there are fewer elements,
 *         with nothing changed; WIQ_ERR_FAILED if a callback changed the vector
 */
KE_API i32 wiq_vector_pop(wiq_vector* vec, i32 count);

/**
 * Returns the address of an element.
 * @param vec   the vector; may be NULL
 * @param index counts from 0; a negative index counts from the end, so -1 is the last element
 * @return the address, valid until the block is next reallocated; NULL if `vec` is NULL or the
 *         index is out of range
 */
KE_API void* wiq_vector_get(const wiq_vector* vec, i32 index);

/**
 * The same function as wiq_vector_get(), under a second name for callers that only read.
 * @param vec   as in wiq_vector_get()
 * @param index as in wiq_vector_get()
 * @return as wiq_vector_get()
 */
KE_API const void* wiq_vector_get_const(const wiq_vector* vec, i32 index);

/**
 * Returns the number of elements.
 * @param vec the vector
 * @return the number; WIQ_ERR_INVALID_ARG if `vec` is NULL
 */
KE_API i32 wiq_vector_size(const wiq_vector* vec);

/**
 * Makes the block exactly large enough for `extra` more elements. This may also shrink it; an empty
 * vector with `extra` 0 releases its block.
 * @param vec   the vector
 * @param extra number of elements to make room for, in addition to those in use
 * @return 0; WIQ_ERR_INVALID_ARG if `vec` is NULL or `extra` negative; WIQ_ERR_NO_MEMORY when out
 *         of memory or for a capacity of 2^31 or more, with nothing changed
 */
KE_API i32 wiq_vector_extra_capacity(wiq_vector* vec, i32 extra);

/** @} */

/** @defgroup map Hash map
 *  Callbacks may read the map that they are called from, and may take a reference to it and release
 *  it again. None of them may finalize or delete the map, or release the last owner's reference.
 *  What else a callback may do is stated where its type is declared.
 *
 *  Keys with the same hash share a chain, which is searched from its beginning, so an operation on
 *  such a key takes time proportional to the length of the chain. The hash functions below have a
 *  fixed, public seed: whoever chooses the keys can choose thousands that collide. If keys come
 *  from outside, limit their number, or use a hash function with a secret of your own.
 *
 *  Except for wiq_map_init() and wiq_map_new(), no function tests whether the map is NULL.
 *  @{ */

/** Returns the hash of a key. It must not change the map. */
typedef u32 (*wiq_hash_fn)(const void* key);

/**
 * Tells whether a stored key and the key that is searched for are equal. It is called only for keys
 * with the same hash that are different pointers. It must not change the map.
 */
typedef bool (*wiq_cmp_fn)(const void* stored_key, const void* probe_key);

/**
 * Releases a key or a value that the map has given up. When it is called, the map no longer holds
 * the key or value. It may change the map.
 */
typedef void (*wiq_release_fn)(void* key_or_value);

/**
 * Makes the value for a key that the map does not have. If it sets `*status` to a nonzero number,
 * the value is not stored. It may change the map.
 */
typedef void* (*wiq_map_factory_fn)(const void* key, void* user, i32* status);

/**
 * Receives one entry of a walk; returns false to end the walk.
 *
 * It may replace the value of any stored key, but must not insert or remove anything. Replacing the
 * entry that it was called for releases the key and the value that it was given, as described at
 * wiq_map_replace().
 */
typedef bool (*wiq_map_foreach_fn)(void* key, void* value, void* user);

/** An entry of a map, in a block of its own. */
typedef struct wiq_map_entry {
    void* key;                  /**< the caller's key */
    u32 hash;                   /**< the hash of the key */
    void* value;                /**< the caller's value */
    struct wiq_map_entry* next; /**< the next entry of the chain; NULL at its end */
} wiq_map_entry;

/** A hash map: an array of buckets, each of them the head of a chain of entries. */
typedef struct wiq_map {
    wiq_map_entry** buckets;   /**< first entry of each chain, NULL for an empty chain */
    u64 bucket_count;          /**< a power of two */
    wiq_hash_fn hash;          /**< returns the hash of a key */
    wiq_cmp_fn cmp;            /**< tells whether two keys with the same hash are equal */
    wiq_release_fn key_free;   /**< releases a key that the map gives up; may be NULL */
    wiq_release_fn value_free; /**< releases a value that the map gives up; may be NULL */
    u64 size;                  /**< number of entries */
    i32 refcount;              /**< number of owners; changed atomically */
} wiq_map;

/**
 * Initialises an embedded map, which wiq_map_finalize() releases.
 * @param map        the record; its old contents are overwritten, not released
 * @param capacity   number of entries to expect. The number of buckets is the smallest power of two
 *                   above four thirds of it, computed in 64 bits, which wraps from 2^62 on.
 * @param hash       required
 * @param cmp        required
 * @param key_free   called for each key that the map gives up; if NULL, the caller releases the
 *                   keys
 * @param value_free called for each value that the map gives up; if NULL, the caller releases the
 *                   values
 * @return 0; WIQ_ERR_INVALID_ARG if the record, `hash` or `cmp` is NULL; WIQ_ERR_NO_MEMORY when out
 *         of memory. On failure there is nothing to finalize.
 */
KE_API i32 wiq_map_init(wiq_map* map, u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                        wiq_release_fn key_free, wiq_release_fn value_free);

/**
 * Makes a map on the heap, with a reference count of 1.
 * @param capacity   as in wiq_map_init()
 * @param hash       as in wiq_map_init()
 * @param cmp        as in wiq_map_init()
 * @param key_free   as in wiq_map_init()
 * @param value_free as in wiq_map_init()
 * @return the map, which wiq_map_unref() or wiq_map_delete() releases; NULL if wiq_map_init() fails
 *         with these arguments, or when out of memory
 */
KE_API wiq_map* wiq_map_new(u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp, wiq_release_fn key_free,
                            wiq_release_fn value_free);

/**
 * Releases all entries and the buckets of an embedded map. Entries that key_free and value_free
 * store meanwhile are released too. The map must be initialised before it is used again.
 * @param map the map
 * @return 0
 */
KE_API i32 wiq_map_finalize(wiq_map* map);

/** Finalizes a heap map and releases it, whatever its reference count. */
KE_API void wiq_map_delete(wiq_map* map);

/** Adds an owner, atomically. */
KE_API void wiq_map_ref(wiq_map* map);

/** Removes an owner, atomically. With the last one, the map is released. */
KE_API void wiq_map_unref(wiq_map* map);

/**
 * Stores a value under a key; an old value is released through value_free.
 * @param map   the map
 * @param key   as in wiq_map_replace()
 * @param value as in wiq_map_replace()
 * @return 0, or WIQ_ERR_NO_MEMORY as in wiq_map_replace()
 */
KE_API i32 wiq_map_put(wiq_map* map, void* key, void* value);

/**
 * Stores a value under a key. The map owns both from then on.
 *
 * The new key and value are stored before anything old is released; then the old value is released,
 * and after it the old key.
 * @param map       the map
 * @param key       replaces an equal key, which is released unless it is the very same pointer
 * @param value     may be NULL
 * @param old_value receives the value that was stored before, which is not released, or NULL if
 *                  there was none. If this argument is NULL, an old value is released through
 *                  value_free.
 * @return 0; WIQ_ERR_NO_MEMORY when out of memory for an entry, in which case nothing is changed,
 *         and the caller still owns the key and the value. WIQ_ERR_NO_MEMORY is also returned if
 *         the entry was stored, but the table could not grow; wiq_map_size() tells the two cases
 *         apart.
 */
KE_API i32 wiq_map_replace(wiq_map* map, void* key, void* value, void** old_value);

/**
 * Returns the value under a key. If the key is missing, the factory makes the value first.
 *
 * The new value is stored as by wiq_map_put(). So if the factory itself has stored something under
 * the key, the new value replaces it.
 * @param map     the map
 * @param key     owned by the map once it is stored
 * @param factory makes the value
 * @param user    passed on to `factory`
 * @param status  receives 0; the factory's nonzero status, in which case nothing is stored and the
 *                caller owns the value; or WIQ_ERR_NO_MEMORY as in wiq_map_replace(). Not read on
 *                entry; may be NULL.
 * @return the stored value, or the one that was made
 */
KE_API void* wiq_map_memoize(wiq_map* map, void* key, wiq_map_factory_fn factory, void* user,
                             i32* status);

/**
 * Returns the value under a key.
 * @param map the map
 * @param key any key that `hash` and `cmp` of the map accept
 * @return the value that is stored under an equal key and that the map still owns; NULL if not
 *         found
 */
KE_API void* wiq_map_get(const wiq_map* map, const void* key);

/** Tells whether an equal key is stored. */
KE_API bool wiq_map_test_key(const wiq_map* map, const void* key);

/**
 * Removes an entry. Its key is released through key_free, and then its value through value_free.
 * @param map the map
 * @param key any key that `hash` and `cmp` of the map accept
 * @return the value if there is no value_free, now owned by the caller; NULL if value_free has
 *         released it, or if the key is not found
 */
KE_API void* wiq_map_remove(wiq_map* map, const void* key);

/**
 * Removes every entry: releases its key and then its value. The number of buckets stays. Entries
 * that key_free and value_free store meanwhile may be removed or stay.
 */
KE_API void wiq_map_remove_all(wiq_map* map);

/**
 * Calls the callback for every entry until it returns false: bucket by bucket, and within a bucket
 * in the order of its chain.
 * @param map      the map
 * @param callback called for each entry
 * @param user     passed on to `callback`
 */
KE_API void wiq_map_foreach(const wiq_map* map, wiq_map_foreach_fn callback, void* user);

/** Returns the number of entries. */
KE_API u64 wiq_map_size(const wiq_map* map);

/**
 * Returns the number of entries that the map holds before it grows: three quarters of the number of
 * buckets.
 */
KE_API u64 wiq_map_capacity(const wiq_map* map);

/** Returns the number of entries that are not the first of their chain. */
KE_API u64 wiq_map_collisions(const wiq_map* map);

/**
 * Returns the MurmurHash3_x86_32 (Austin Appleby, 2011) of bytes.
 * @param data   the bytes
 * @param length their number
 * @param seed   starts the hash; another seed gives another hash
 * @return the hash
 */
KE_API u32 wiq_murmur3_32(const void* data, u32 length, u32 seed);

/** Returns the hash of the key itself, taken as a 64-bit number. Use it with wiq_cmp_int(). */
KE_API u32 wiq_hash_int(const void* key);

/** Returns the hash of the eight bytes that the key points at (not of the pointer). */
KE_API u32 wiq_hash_ptr(const void* key);

/**
 * Returns the hash of a string with its NUL, or of no bytes for NULL. Use it with wiq_cmp_str().
 */
KE_API u32 wiq_hash_str(const void* key);

/** Tells whether two keys are the same number. */
KE_API bool wiq_cmp_int(const void* a, const void* b);

/** The same function as wiq_cmp_int(), under a second name for pointers. */
KE_API bool wiq_cmp_ptr(const void* a, const void* b);

/** Tells whether two strings are equal byte by byte. Neither may be NULL. */
KE_API bool wiq_cmp_str(const void* a, const void* b);

/** @} */

/** @defgroup safe_map Locked map
 *  A hash map with a mutex. Every function except init and new holds the mutex while it works on
 *  the map, callbacks included.
 *
 *  The thread that holds the mutex may take it again, so a callback may use the map as freely as
 *  the same callback of a plain map. It must not wait for another thread that needs the map. While
 *  init, new, finalize or delete runs, no other thread may use the map. Except for
 *  wiq_safe_map_init() and wiq_safe_map_new(), no function tests whether the map is NULL.
 *  @{ */

/** A hash map and the recursive mutex that guards it. */
typedef struct wiq_safe_map {
    wiq_mutex lock; /**< held by every operation */
    wiq_map map;    /**< the map that the lock guards */
} wiq_safe_map;

/**
 * Initialises an embedded locked map, which wiq_safe_map_finalize() releases.
 * @param map        the record; its old contents are overwritten, not released
 * @param capacity   as in wiq_map_init()
 * @param hash       as in wiq_map_init()
 * @param cmp        as in wiq_map_init()
 * @param key_free   as in wiq_map_init()
 * @param value_free as in wiq_map_init()
 * @return 0; WIQ_ERR_INVALID_ARG if the record, `hash` or `cmp` is NULL; WIQ_ERR_LOCK_INIT (-5007)
 *         if the mutex cannot be made; WIQ_ERR_NO_MEMORY when out of memory. On failure there is
 *         nothing to finalize.
 */
KE_API i32 wiq_safe_map_init(wiq_safe_map* map, u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                             wiq_release_fn key_free, wiq_release_fn value_free);

/**
 * Makes a locked map on the heap.
 * @param capacity   as in wiq_map_init()
 * @param hash       as in wiq_map_init()
 * @param cmp        as in wiq_map_init()
 * @param key_free   as in wiq_map_init()
 * @param value_free as in wiq_map_init()
 * @return the map, which wiq_safe_map_delete() releases; NULL if wiq_safe_map_init() fails with
 *         these arguments, or when out of memory
 */
KE_API wiq_safe_map* wiq_safe_map_new(u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                                      wiq_release_fn key_free, wiq_release_fn value_free);

/**
 * Finalizes the map with wiq_map_finalize() and destroys the mutex.
 * @param map the map
 * @return 0
 */
KE_API i32 wiq_safe_map_finalize(wiq_safe_map* map);

/** Finalizes a locked map on the heap and releases it. */
KE_API void wiq_safe_map_delete(wiq_safe_map* map);

/**
 * Calls wiq_map_put() under the lock.
 * @param map   the map
 * @param key   as in wiq_map_replace()
 * @param value as in wiq_map_replace()
 * @return 0, or WIQ_ERR_NO_MEMORY as in wiq_map_replace()
 */
KE_API i32 wiq_safe_map_put(wiq_safe_map* map, void* key, void* value);

/**
 * Calls wiq_map_replace() under the lock.
 * @param map       the map
 * @param key       as in wiq_map_replace()
 * @param value     as in wiq_map_replace()
 * @param old_value as in wiq_map_replace()
 * @return 0, or WIQ_ERR_NO_MEMORY as in wiq_map_replace()
 */
KE_API i32 wiq_safe_map_replace(wiq_safe_map* map, void* key, void* value, void** old_value);

/**
 * Calls wiq_map_memoize() under the lock, so that the value is made only once even if several
 * threads ask for the same key.
 * @param map     the map
 * @param key     as in wiq_map_memoize()
 * @param factory makes the value, under the lock
 * @param user    passed on to `factory`
 * @param status  receives 0, the factory's nonzero status, or WIQ_ERR_NO_MEMORY, as in
 *                wiq_map_memoize(); may be NULL
 * @return the stored value, or the one that was made
 */
KE_API void* wiq_safe_map_memoize(wiq_safe_map* map, void* key, wiq_map_factory_fn factory,
                                  void* user, i32* status);

/**
 * Calls wiq_map_get() under the lock.
 * @param map the map
 * @param key as in wiq_map_get()
 * @return the value, which is valid as long as no other thread removes or replaces it; NULL if not
 *         found
 */
KE_API void* wiq_safe_map_get(wiq_safe_map* map, const void* key);

/** Calls wiq_map_test_key() under the lock. */
KE_API bool wiq_safe_map_test_key(wiq_safe_map* map, const void* key);

/**
 * Calls wiq_map_remove() under the lock.
 * @param map the map
 * @param key as in wiq_map_remove()
 * @return as wiq_map_remove()
 */
KE_API void* wiq_safe_map_remove(wiq_safe_map* map, const void* key);

/** Calls wiq_map_size() under the lock. */
KE_API u64 wiq_safe_map_size(wiq_safe_map* map);

/**
 * Calls wiq_map_foreach() and holds the lock for the whole walk.
 * @param map      the map
 * @param callback called for each entry, under the lock
 * @param user     passed on to `callback`
 */
KE_API void wiq_safe_map_foreach(wiq_safe_map* map, wiq_map_foreach_fn callback, void* user);

/** @} */

/** @defgroup strbuf String buffer
 *  A growable text that always ends in a NUL.
 *
 *  The functions that append return WIQ_ERR_INVALID_ARG if the buffer is NULL, and
 *  WIQ_ERR_NO_MEMORY when out of memory, with nothing changed. When the block of a buffer must grow
 *  to append, it at least doubles.
 *
 *  The appended text may lie in the buffer itself: wiq_strbuf_write(), the printing functions,
 *  wiq_strbuf_printhex() and the appending functions of other headers read it as it was before the
 *  call. The functions that empty the buffer first are different. wiq_strbuf_rwrite() and
 *  wiq_strbuf_struct_str() read such bytes after the buffer has been emptied, when its first byte
 *  is the NUL. wiq_strbuf_rprintf() and wiq_strbuf_rvprintf() must not be given arguments that lie
 *  in the buffer.
 *  @{ */

/** A growable text, followed by a NUL. */
typedef struct wiq_strbuf {
    char* data;   /**< the text; NULL while nothing is allocated */
    u64 len;      /**< length of the text in bytes, without the NUL */
    u64 capacity; /**< size of the block in bytes */
} wiq_strbuf;

/**
 * Initialises an empty buffer, which wiq_strbuf_finalize() or wiq_strbuf_release() ends.
 * @param buf      the record; its old contents are overwritten, not released
 * @param capacity size of the first block in bytes; 0 stands for 64
 * @return 0; WIQ_ERR_INVALID_ARG if `buf` is NULL; WIQ_ERR_NO_MEMORY when out of memory, in which
 *         case the record has no block
 */
KE_API i32 wiq_strbuf_init(wiq_strbuf* buf, u64 capacity);

/** Releases the block and clears the record. NULL is ignored. */
KE_API void wiq_strbuf_finalize(wiq_strbuf* buf);

/**
 * Hands the text over to the caller, in a block that is shrunk to fit. The record is cleared and
 * may be used again.
 * @param buf the buffer
 * @return the text, which the caller releases with free(); NULL if `buf` is NULL or when out of
 *         memory, with the buffer unchanged
 */
KE_API char* wiq_strbuf_release(wiq_strbuf* buf);

/**
 * Empties the buffer and keeps its block.
 * @param buf the buffer
 * @return 0, or WIQ_ERR_INVALID_ARG if `buf` is NULL
 */
KE_API i32 wiq_strbuf_reset(wiq_strbuf* buf);

/**
 * Truncates the text to a length.
 * @param buf      the buffer
 * @param position the new length in bytes, at most the present one
 * @return 0, or WIQ_ERR_INVALID_ARG if `buf` is NULL or `position` is after the end of the text
 */
KE_API i32 wiq_strbuf_reset_pos(wiq_strbuf* buf, u64 position);

/**
 * Removes the last characters of the text.
 * @param buf   must not be NULL
 * @param count number of characters; if there are fewer, all are removed
 * @return 0
 */
KE_API i32 wiq_strbuf_erase(wiq_strbuf* buf, u64 count);

/**
 * Removes the last character if there is one.
 * @param buf must not be NULL
 * @return 0
 */
KE_API i32 wiq_strbuf_pop(wiq_strbuf* buf);

/**
 * Returns the character at an index.
 * @param buf   the buffer; may be NULL
 * @param index counts from 0; a negative index counts from the end, so -1 is the last character
 * @return the character; 0 if `buf` is NULL or the index is out of range
 */
KE_API char wiq_strbuf_getc(const wiq_strbuf* buf, i32 index);

/**
 * Appends a character. A NUL is accepted and appends nothing.
 * @param buf the buffer
 * @param c   the character
 * @return 0; WIQ_ERR_INVALID_ARG if `buf` is NULL; WIQ_ERR_NO_MEMORY when out of memory, with
 *         nothing changed
 */
KE_API i32 wiq_strbuf_putc(wiq_strbuf* buf, char c);

/**
 * Does what wiq_strbuf_putc() does, without a call if the buffer has room for the character.
 *
 * In C, a call of wiq_strbuf_putc() is a call of this function; in C++, call it by this name.
 * @param buf the buffer
 * @param c   the character
 * @return 0; WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as wiq_strbuf_putc()
 */
static inline i32 wiq_strbuf_putc_inline(wiq_strbuf* buf, char c) {
    if (!buf || buf->len + 1 >= buf->capacity)
        return wiq_strbuf_putc(buf, c);
    const u64 len = buf->len;
    buf->len = len + (c != '\0' ? 1u : 0u);
    buf->data[len] = c;
    buf->data[len + 1] = '\0';
    return 0;
}
#ifndef __cplusplus
/**
 * Makes a call of wiq_strbuf_putc() inline. Its name without parentheses still names the function,
 * for example to take its address.
 */
#define wiq_strbuf_putc(...) wiq_strbuf_putc_inline(__VA_ARGS__)
#endif

/**
 * Appends bytes up to a count or up to the first NUL, whichever comes first.
 * @param buf   the buffer
 * @param bytes the bytes; may lie in the buffer
 * @param count number of bytes to append at most
 * @return the low 32 bits of the number of bytes appended; WIQ_ERR_INVALID_ARG if an argument is
 *         NULL; WIQ_ERR_NO_MEMORY when out of memory, with nothing changed
 */
KE_API i32 wiq_strbuf_write(wiq_strbuf* buf, const char* bytes, u64 count);

/**
 * Empties the buffer, then does what wiq_strbuf_write() does.
 * @param buf   the buffer
 * @param bytes as in wiq_strbuf_write()
 * @param count as in wiq_strbuf_write()
 * @return the number of bytes appended; WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as
 *         wiq_strbuf_write(), with the buffer emptied
 */
KE_API i32 wiq_strbuf_rwrite(wiq_strbuf* buf, const char* bytes, u64 count);

/**
 * Appends formatted text.
 * @param buf    the buffer
 * @param format printf format; positional arguments ("%1$s") are allowed
 * @return the number of characters appended; WIQ_ERR_INVALID_ARG if `buf` or `format` is NULL;
 *         WIQ_ERR_NO_MEMORY when out of memory, with nothing changed; WIQ_ERR_FAILED if the runtime
 *         refuses the format. If the runtime runs out of memory after it has measured a text of 512
 *         characters or more, the status is WIQ_ERR_FAILED too, and as many bytes are appended:
 *         what has been formatted, followed by NULs.
 */
KE_API i32 wiq_strbuf_printf(wiq_strbuf* buf, const char* format, ...) KE_PRINTF(2, 3);

/**
 * Does what wiq_strbuf_printf() does, with the arguments in a list.
 * @param buf    the buffer
 * @param format as in wiq_strbuf_printf()
 * @param args   the arguments, which the call uses up
 * @return the number of characters appended; WIQ_ERR_INVALID_ARG, WIQ_ERR_NO_MEMORY or
 *         WIQ_ERR_FAILED as wiq_strbuf_printf()
 */
KE_API i32 wiq_strbuf_vprintf(wiq_strbuf* buf, const char* format, va_list args) KE_PRINTF(2, 0);

/**
 * Empties the buffer, then does what wiq_strbuf_printf() does. No argument may lie in the buffer.
 * @param buf    the buffer
 * @param format as in wiq_strbuf_printf()
 * @return the number of characters appended; WIQ_ERR_INVALID_ARG, WIQ_ERR_NO_MEMORY or
 *         WIQ_ERR_FAILED as wiq_strbuf_printf(), with the buffer emptied
 */
KE_API i32 wiq_strbuf_rprintf(wiq_strbuf* buf, const char* format, ...) KE_PRINTF(2, 3);

/**
 * Empties the buffer, then does what wiq_strbuf_vprintf() does. No argument may lie in the buffer.
 * @param buf    the buffer
 * @param format as in wiq_strbuf_printf()
 * @param args   the arguments, which the call uses up
 * @return the number of characters appended; WIQ_ERR_INVALID_ARG, WIQ_ERR_NO_MEMORY or
 *         WIQ_ERR_FAILED as wiq_strbuf_printf(), with the buffer emptied
 */
KE_API i32 wiq_strbuf_rvprintf(wiq_strbuf* buf, const char* format, va_list args) KE_PRINTF(2, 0);

/**
 * Appends two upper-case hexadecimal digits for each byte.
 *
 * The block is first resized to exactly `len` + 2 * (`count` + 1) bytes, even if it was larger.
 * @param buf   the buffer
 * @param bytes the bytes
 * @param count their number
 * @return 0; WIQ_ERR_INVALID_ARG if `buf` is NULL, or if `bytes` is NULL (after the block was
 *         resized); WIQ_ERR_NO_MEMORY when out of memory, with the text unchanged
 */
KE_API i32 wiq_strbuf_printhex(wiq_strbuf* buf, const void* bytes, u64 count);

/**
 * Resizes the block to exactly the text, its NUL and `extra` bytes. This may also shrink it.
 * @param buf   the buffer
 * @param extra number of bytes to make room for, in addition to the text and its NUL
 * @return 0; WIQ_ERR_INVALID_ARG if `buf` is NULL; WIQ_ERR_NO_MEMORY when out of memory, with
 *         nothing changed
 */
KE_API i32 wiq_strbuf_extra_capacity(wiq_strbuf* buf, u64 extra);

/**
 * Replaces the text with that of a fixed-width field, which need not be NUL-terminated.
 * @param buf   the buffer
 * @param bytes the field; NULL only if `width` is 0
 * @param width size of the field in bytes; the text ends at the first NUL in it
 * @param trim  true to leave out white space at both ends
 * @return 0; WIQ_ERR_INVALID_ARG if `buf` or a needed `bytes` is NULL; WIQ_ERR_NO_MEMORY when out
 *         of memory, in which case the buffer is empty
 */
KE_API i32 wiq_strbuf_struct_str(wiq_strbuf* buf, const void* bytes, u64 width, bool trim);

/** @} */

/** @defgroup strv String vector
 *  A vector whose elements are strings that it owns. The functions of the vector, such as
 *  wiq_vector_size() and wiq_vector_pop(), work on it too.
 *  @{ */

/** A vector of owned, NUL-terminated strings. An element (a slot) may also be NULL. */
typedef wiq_vector wiq_strv;

/**
 * Initialises an empty string vector, which wiq_strv_finalize() releases.
 * @param strv the record; its old contents are overwritten, not released
 * @return 0, or WIQ_ERR_INVALID_ARG if `strv` is NULL
 */
KE_API i32 wiq_strv_init(wiq_strv* strv);

/**
 * Releases every string, last to first, and the block.
 * @param strv the vector
 * @return 0, or WIQ_ERR_INVALID_ARG if `strv` is NULL
 */
KE_API i32 wiq_strv_finalize(wiq_strv* strv);

/**
 * Appends a copy of a string.
 * @param strv the vector
 * @param str  the string, or NULL to append a slot that holds NULL
 * @return 0; WIQ_ERR_NO_MEMORY if `strv` is NULL or when out of memory. If only the copy could not
 *         be allocated, the new slot stays and holds NULL.
 */
KE_API i32 wiq_strv_push(wiq_strv* strv, const char* str);

/**
 * Appends formatted text.
 * @param strv   the vector
 * @param format printf format; positional arguments ("%1$s") are allowed
 * @return the length of the text; WIQ_ERR_NO_MEMORY as in wiq_strv_push(); WIQ_ERR_INVALID_ARG if
 *         `format` is NULL; WIQ_ERR_FAILED if the runtime refuses the format. In the last two
 *         cases, the new slot stays and holds NULL.
 */
KE_API i32 wiq_strv_pushf(wiq_strv* strv, const char* format, ...) KE_PRINTF(2, 3);

/**
 * Returns the string in a slot.
 * @param strv  the vector
 * @param index taken as a signed number; a negative one counts from the end. There must be such a
 *              slot.
 * @return the string, still owned by the vector; NULL if the slot holds NULL
 */
KE_API char* wiq_strv_get(const wiq_strv* strv, u32 index);

/**
 * Sorts the strings by their bytes, which are compared as unsigned numbers; slots that hold NULL
 * come last. The sort is not stable.
 */
KE_API void wiq_strv_sort(wiq_strv* strv);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
