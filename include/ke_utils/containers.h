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

/**
 * Called with the address of an element inside the block. It must not use the vector that it is called from,
 * except that it may take a reference and give it up again: the size is set after the last call, so until then
 * size and elements are out of step. Where the library notices that a callback has changed the vector, the call
 * stops with -7 (or NULL), and the vector stays as the callback left it.
 */
typedef void (*wiq_vector_elem_fn)(void* elem);

/** A growable array of elements of one size, in one block. To be embedded, or made by wiq_vector_new(). */
typedef struct wiq_vector {
    u64 elem_size;              /**< bytes an element */
    i32 capacity;               /**< elements that the block has room for */
    i32 size;                   /**< elements in use */
    wiq_vector_elem_fn init_cb; /**< called on each new element, or NULL */
    wiq_vector_elem_fn free_cb; /**< called on each element that goes, or NULL */
    void* data;                 /**< the block; NULL while the capacity is 0 */
    i32 refcount;               /**< owners; changed atomically */
} wiq_vector;

/**
 * Prepares an embedded vector.
 * @param vec       the record; whatever it held is forgotten
 * @param elem_size bytes an element, not 0
 * @param size      elements to begin with, constructed in ascending order
 * @param init_cb   called on each element that comes into being; NULL leaves its memory as it is
 * @param free_cb   called on each element that goes; may be NULL
 * @return 0; -7000 for a NULL record, a negative size or an element size of 0; -5000 without memory, and then the
 *         vector is empty and valid. Ended with wiq_vector_finalize().
 */
KE_API i32 wiq_vector_init(wiq_vector* vec, u64 elem_size, i32 size, wiq_vector_elem_fn init_cb,
                           wiq_vector_elem_fn free_cb);

/** As wiq_vector_init() with a record from the heap, count 1; NULL on any failure. */
KE_API wiq_vector* wiq_vector_new(u64 elem_size, i32 size, wiq_vector_elem_fn init_cb,
                                  wiq_vector_elem_fn free_cb);

/**
 * Destroys all elements, last to first, and releases the block. The vector is empty and can be used again;
 * element size, callbacks and count stay. 0, or -7000 for NULL.
 */
KE_API i32 wiq_vector_finalize(wiq_vector* vec);

/** Finalizes a heap vector and releases it, whatever its count. NULL does nothing. */
KE_API void wiq_vector_delete(wiq_vector* vec);

/** Adds an owner, atomically. Not for NULL. */
KE_API void wiq_vector_ref(wiq_vector* vec);

/**
 * Gives up an owner, atomically; the last one finalizes and releases the vector. Not for NULL.
 */
KE_API void wiq_vector_unref(wiq_vector* vec);

/**
 * Changes the number of elements: new ones are constructed upwards, old ones destroyed downwards. The block grows
 * to the larger of the size and twice its capacity, and never shrinks here.
 * @return 0; -7000 for NULL or a negative size; -5000 without memory, nothing changed
 */
KE_API i32 wiq_vector_resize(wiq_vector* vec, i32 size);

/**
 * Appends one element, constructed by init_cb or left as it is.
 * @return its address, valid until the vector next grows; NULL for NULL or without memory, nothing changed
 */
KE_API void* wiq_vector_push(wiq_vector* vec);

/**
 * Destroys the last `count` elements, last to first. 0; -7000 for NULL, a negative count or more than there are,
 * nothing changed.
 */
KE_API i32 wiq_vector_pop(wiq_vector* vec, i32 count);

/**
 * The address of an element.
 * @param index from 0; negative counts from the end, -1 is the last
 * @return valid until the vector next grows or is changed in capacity; NULL for NULL or an index out of range
 */
KE_API void* wiq_vector_get(const wiq_vector* vec, i32 index);

/** The same function as wiq_vector_get(), under the name for readers. */
KE_API const void* wiq_vector_get_const(const wiq_vector* vec, i32 index);

/** The number of elements; -7000 in its place for NULL. */
KE_API i32 wiq_vector_size(const wiq_vector* vec);

/**
 * Makes the block exactly large enough for `extra` more elements; this can shrink it, to nothing for an empty
 * vector and 0.
 * @return 0; -7000 for NULL or a negative number; -5000 without memory, nothing changed
 */
KE_API i32 wiq_vector_extra_capacity(wiq_vector* vec, i32 extra);

/** @} */

/** @defgroup map Hash map
 *  Callbacks may read the map that they are called from, and may take a reference to it and give it up again.
 *  None may finalize or delete it, or give up its last owner's reference. What else each may do is said with its
 *  type below.
 *
 *  Keys of equal hash share a chain, which is searched from its beginning: each operation on such a key takes time
 *  in proportion to their number. The hash functions here have a fixed, public seed, so whoever chooses the keys
 *  can choose thousands that collide. Where keys come from outside, bound their number, or bring a hash function
 *  with a secret of your own.
 *  @{ */

/** The hash of a key. Must not change the map. */
typedef u32 (*wiq_hash_fn)(const void* key);

/**
 * Whether a stored key and the key asked for are equal; called only for keys of equal hash. Must not change the
 * map.
 */
typedef bool (*wiq_cmp_fn)(const void* stored_key, const void* probe_key);

/**
 * Releases a key or a value that the map has given up: it is called when the map no longer holds it, and may change
 * the map.
 */
typedef void (*wiq_release_fn)(void* key_or_value);

/**
 * Makes the value of a key that is not there; a nonzero *status keeps it from being stored. May change the map.
 */
typedef void* (*wiq_map_factory_fn)(const void* key, void* user, i32* status);

/**
 * Receives one entry; false ends the walk. It may replace the value of any key that is stored, but nothing may be
 * inserted or removed during a walk. Replacing its own entry releases the key and the value that it was given, as
 * wiq_map_replace() says.
 */
typedef bool (*wiq_map_foreach_fn)(void* key, void* value, void* user);

/** One pair of a map, a block of its own. */
typedef struct wiq_map_entry {
    void* key;                  /**< the caller's key */
    u32 hash;                   /**< its hash */
    void* value;                /**< the caller's value */
    struct wiq_map_entry* next; /**< the next in the chain; NULL at the end */
} wiq_map_entry;

/** A hash map: chains of entries below a power-of-two number of buckets. */
typedef struct wiq_map {
    wiq_map_entry** buckets;   /**< heads of the chains, NULL where there is none */
    u64 bucket_count;          /**< a power of two */
    wiq_hash_fn hash;          /**< gives the hash of a key */
    wiq_cmp_fn cmp;            /**< tells whether two keys of equal hash are equal */
    wiq_release_fn key_free;   /**< takes a key that the map gives up, or NULL */
    wiq_release_fn value_free; /**< takes a value that the map gives up, or NULL */
    u64 size;                  /**< entries */
    i32 refcount;              /**< owners; changed atomically */
} wiq_map;

/**
 * Prepares an embedded map.
 * @param map        the record; whatever it held is forgotten
 * @param capacity   entries expected; the buckets are the smallest power of two above four thirds of it, which is
 *                   computed in 64 bits and wraps from 2^62 on
 * @param hash, cmp  required
 * @param key_free   called when the map gives up a key; NULL: keys stay the caller's
 * @param value_free called when the map gives up a value; NULL: values stay the caller's
 * @return 0; -7000 for a NULL record, hash or cmp; -5000 without memory, and then there is nothing to finalize.
 *         Ended with wiq_map_finalize().
 * Except for this function and wiq_map_new(), none tests the map for NULL.
 */
KE_API i32 wiq_map_init(wiq_map* map, u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                        wiq_release_fn key_free, wiq_release_fn value_free);

/** As wiq_map_init() with a record from the heap, count 1; NULL on any failure. */
KE_API wiq_map* wiq_map_new(u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp, wiq_release_fn key_free,
                            wiq_release_fn value_free);

/**
 * Releases all entries, also those that key_free and value_free store meanwhile, and the buckets of an embedded
 * map, which must be initialised before it is used again. 0.
 */
KE_API i32 wiq_map_finalize(wiq_map* map);

/** Finalizes a heap map and releases it, whatever its count. */
KE_API void wiq_map_delete(wiq_map* map);

/** Adds an owner, atomically. */
KE_API void wiq_map_ref(wiq_map* map);

/** Gives up an owner, atomically; the last one releases the map. */
KE_API void wiq_map_unref(wiq_map* map);

/** wiq_map_replace() that releases an old value through value_free. */
KE_API i32 wiq_map_put(wiq_map* map, void* key, void* value);

/**
 * Stores a value under a key; both are the map's from then on.
 * @param key       replaces an equal key that is stored, which is released unless it is the very same pointer
 * @param value     may be NULL; it and the key are stored before the old value, and after it the old key, is
 *                  released
 * @param old_value receives the value that was there, unreleased, or NULL; NULL: an old value is released
 * @return 0; -5000 without memory for an entry, and then nothing changed and key and value stay the caller's;
 *         -5000 also when the entry was stored but the table could not grow: wiq_map_size() tells which
 */
KE_API i32 wiq_map_replace(wiq_map* map, void* key, void* value, void** old_value);

/**
 * The value under a key; if there is none, it is made by the factory and stored as by wiq_map_put(), so it takes the
 * place of what the factory itself may have stored under the key.
 * @param status receives 0, the factory's status (nothing is stored, the value is the caller's), or -5000 as in
 *               wiq_map_replace(); may be NULL
 * @return the stored or the made value
 */
KE_API void* wiq_map_memoize(wiq_map* map, void* key, wiq_map_factory_fn factory, void* user,
                             i32* status);

/** The value under an equal key, lent; NULL if there is none. */
KE_API void* wiq_map_get(const wiq_map* map, const void* key);

/** Whether an equal key is stored. */
KE_API bool wiq_map_test_key(const wiq_map* map, const void* key);

/**
 * Removes an entry; its key, and after it its value, is released through key_free and value_free.
 * @return the value, handed over; NULL if there is no such key, or if value_free released it
 */
KE_API void* wiq_map_remove(wiq_map* map, const void* key);

/**
 * Removes every entry, releasing each key and then its value; the buckets keep their number. What key_free and
 * value_free store meanwhile may go or stay.
 */
KE_API void wiq_map_remove_all(wiq_map* map);

/** Visits entries bucket by bucket, chains in order, until the callback returns false. */
KE_API void wiq_map_foreach(const wiq_map* map, wiq_map_foreach_fn callback, void* user);

/** The number of entries. */
KE_API u64 wiq_map_size(const wiq_map* map);

/** The number of entries that fit before the table grows: three quarters of its buckets. */
KE_API u64 wiq_map_capacity(const wiq_map* map);

/** The number of entries that are not the first of their chain. */
KE_API u64 wiq_map_collisions(const wiq_map* map);

/** MurmurHash3_x86_32 (Austin Appleby, 2011) of `length` bytes. */
KE_API u32 wiq_murmur3_32(const void* data, u32 length, u32 seed);

/** The hash of the key itself, taken as a 64-bit number. */
KE_API u32 wiq_hash_int(const void* key);

/** The hash of the eight bytes that the key points at, not of the pointer. */
KE_API u32 wiq_hash_ptr(const void* key);

/** The hash of a string with its NUL; NULL hashes as no bytes. */
KE_API u32 wiq_hash_str(const void* key);

/** Whether two keys are the same number. */
KE_API bool wiq_cmp_int(const void* a, const void* b);

/** The same function as wiq_cmp_int(), under the name for pointers. */
KE_API bool wiq_cmp_ptr(const void* a, const void* b);

/** Whether two strings are equal, byte by byte. */
KE_API bool wiq_cmp_str(const void* a, const void* b);

/** @} */

/** @defgroup safe_map Locked map
 *  @{ */

/** A hash map behind a lock that one thread may take again. */
typedef struct wiq_safe_map {
    wiq_mutex lock; /**< held by every operation */
    wiq_map map;    /**< what the lock guards */
} wiq_safe_map;

/**
 * Prepares an embedded locked map; arguments as in wiq_map_init().
 * @return its statuses, and -5007 if the mutex cannot be made; on failure there is nothing to finalize.
 * Every other function holds the mutex for its whole duration, callbacks included. The thread that holds the mutex
 * may take it again, so a callback may do to the map what the same callback of a plain map may do. It must not wait
 * for another thread that needs the map. Not safe against use by another thread: init, new, finalize and delete.
 */
KE_API i32 wiq_safe_map_init(wiq_safe_map* map, u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                             wiq_release_fn key_free, wiq_release_fn value_free);

/** As wiq_safe_map_init() with a record from the heap; NULL on any failure. */
KE_API wiq_safe_map* wiq_safe_map_new(u64 capacity, wiq_hash_fn hash, wiq_cmp_fn cmp,
                                      wiq_release_fn key_free, wiq_release_fn value_free);

/** wiq_map_finalize(), then the mutex is destroyed. */
KE_API i32 wiq_safe_map_finalize(wiq_safe_map* map);

/** Finalizes and releases a locked map from the heap. */
KE_API void wiq_safe_map_delete(wiq_safe_map* map);

/** wiq_map_put() under the lock. */
KE_API i32 wiq_safe_map_put(wiq_safe_map* map, void* key, void* value);

/** wiq_map_replace() under the lock. */
KE_API i32 wiq_safe_map_replace(wiq_safe_map* map, void* key, void* value, void** old_value);

/** wiq_map_memoize() under the lock: threads that ask for one key have it made once. */
KE_API void* wiq_safe_map_memoize(wiq_safe_map* map, void* key, wiq_map_factory_fn factory,
                                  void* user, i32* status);

/**
 * wiq_map_get() under the lock; the value lives as long as no other thread removes or replaces it.
 */
KE_API void* wiq_safe_map_get(wiq_safe_map* map, const void* key);

/** wiq_map_test_key() under the lock. */
KE_API bool wiq_safe_map_test_key(wiq_safe_map* map, const void* key);

/** wiq_map_remove() under the lock. */
KE_API void* wiq_safe_map_remove(wiq_safe_map* map, const void* key);

/** wiq_map_size() under the lock. */
KE_API u64 wiq_safe_map_size(wiq_safe_map* map);

/** wiq_map_foreach() with the lock held for the whole walk. */
KE_API void wiq_safe_map_foreach(wiq_safe_map* map, wiq_map_foreach_fn callback, void* user);

/** @} */

/** @defgroup strbuf String buffer
 *  What is appended may lie in the buffer itself: wiq_strbuf_write(), the printing functions, wiq_strbuf_printhex()
 *  and what other headers append take the text as it was before the call. The functions that empty the buffer first
 *  (wiq_strbuf_rwrite(), wiq_strbuf_struct_str()) then read such bytes as they stand, the first of the text being the
 *  NUL; wiq_strbuf_rprintf() and wiq_strbuf_rvprintf() must not be given any.
 *  @{ */

/** A growable text with a NUL behind it. */
typedef struct wiq_strbuf {
    char* data;   /**< the text; NULL while nothing is allocated */
    u64 len;      /**< bytes of it, the NUL not counted */
    u64 capacity; /**< bytes of the block */
} wiq_strbuf;

/**
 * Prepares an empty buffer.
 * @param capacity bytes of the first block; 0 means 64
 * @return 0; -7000 for NULL; -5000 without memory, and then the record holds no block. Ended with
 *         wiq_strbuf_finalize() or wiq_strbuf_release().
 * All appends: -7000 for a NULL buffer, -5000 without memory, nothing changed; the block at least doubles.
 */
KE_API i32 wiq_strbuf_init(wiq_strbuf* buf, u64 capacity);

/** Releases the block and clears the record. NULL does nothing. */
KE_API void wiq_strbuf_finalize(wiq_strbuf* buf);

/**
 * Hands the text over, in a block cut to its length; the record is cleared and may be used again.
 * @return the text, released with free(); NULL for NULL or without memory, the buffer unchanged
 */
KE_API char* wiq_strbuf_release(wiq_strbuf* buf);

/** Empties the buffer; the block stays. 0, or -7000 for NULL. */
KE_API i32 wiq_strbuf_reset(wiq_strbuf* buf);

/** Cuts the text to a length. 0; -7000 for NULL or a position behind the end. */
KE_API i32 wiq_strbuf_reset_pos(wiq_strbuf* buf, u64 position);

/** Removes the last `count` characters, at most all. 0. Not for NULL. */
KE_API i32 wiq_strbuf_erase(wiq_strbuf* buf, u64 count);

/** Removes the last character if there is one. 0. Not for NULL. */
KE_API i32 wiq_strbuf_pop(wiq_strbuf* buf);

/** The character at an index, negative from the end; 0 for NULL or out of range. */
KE_API char wiq_strbuf_getc(const wiq_strbuf* buf, i32 index);

/** Appends a character; a NUL is taken and appends nothing. 0, -7000, -5000. */
KE_API i32 wiq_strbuf_putc(wiq_strbuf* buf, char c);

/**
 * wiq_strbuf_putc() without a call where there is room for the character; all else is left to the function. In C
 * a call of the function is this; in C++ it goes by this name.
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
/** A call of the function is the inline way to it; its name alone, as for a pointer, is the function. */
#define wiq_strbuf_putc(...) wiq_strbuf_putc_inline(__VA_ARGS__)
#endif

/**
 * Appends bytes up to a count or to the first NUL.
 * @return the number appended; -7000 for a NULL argument; -5000
 */
KE_API i32 wiq_strbuf_write(wiq_strbuf* buf, const char* bytes, u64 count);

/** Empties the buffer, then wiq_strbuf_write(). */
KE_API i32 wiq_strbuf_rwrite(wiq_strbuf* buf, const char* bytes, u64 count);

/**
 * Appends formatted text; positional arguments ("%1$s") allowed.
 * @return the number of characters; -7000 for a NULL argument; -5000; -7 if the runtime refuses the format
 */
KE_API i32 wiq_strbuf_printf(wiq_strbuf* buf, const char* format, ...) KE_PRINTF(2, 3);

/** wiq_strbuf_printf() with an argument list. */
KE_API i32 wiq_strbuf_vprintf(wiq_strbuf* buf, const char* format, va_list args) KE_PRINTF(2, 0);

/** Empties the buffer, then wiq_strbuf_printf(). No argument may lie in the buffer. */
KE_API i32 wiq_strbuf_rprintf(wiq_strbuf* buf, const char* format, ...) KE_PRINTF(2, 3);

/** Empties the buffer, then wiq_strbuf_vprintf(). No argument may lie in the buffer. */
KE_API i32 wiq_strbuf_rvprintf(wiq_strbuf* buf, const char* format, va_list args) KE_PRINTF(2, 0);

/**
 * Appends two upper-case hexadecimal digits a byte.
 * The block is first resized to exactly what the text then needs, also where it was larger.
 * @return 0; -7000 for a NULL buffer, or NULL bytes (after the resizing); -5000
 */
KE_API i32 wiq_strbuf_printhex(wiq_strbuf* buf, const void* bytes, u64 count);

/**
 * Resizes the block to exactly the text, its NUL and `extra` bytes; this can shrink it. 0, -7000, -5000.
 */
KE_API i32 wiq_strbuf_extra_capacity(wiq_strbuf* buf, u64 extra);

/**
 * Replaces the text by a fixed-width field that need not be NUL-terminated.
 * @param bytes the field
 * @param width its bytes; the text ends at the first NUL within them
 * @param trim  whether white space at both ends is left out
 * @return 0; -7000 for NULL; -5000, and then the buffer is empty
 */
KE_API i32 wiq_strbuf_struct_str(wiq_strbuf* buf, const void* bytes, u64 width, bool trim);

/** @} */

/** @defgroup strv String vector
 *  @{ */

/** A vector of owned, NUL-terminated strings. */
typedef wiq_vector wiq_strv;

/** Prepares an empty string vector. 0, or -7000 for NULL. */
KE_API i32 wiq_strv_init(wiq_strv* strv);

/** Releases every string, last to first, and the block. 0, or -7000 for NULL. */
KE_API i32 wiq_strv_finalize(wiq_strv* strv);

/**
 * Appends a copy of a string; NULL appends an empty slot.
 * @return 0; -5000 for a NULL vector or without memory: if only the copy could not be had, the slot stays and holds NULL
 */
KE_API i32 wiq_strv_push(wiq_strv* strv, const char* str);

/**
 * Appends formatted text.
 * @return its length; -5000 as in wiq_strv_push(); the statuses of wiq_vasprintf(), and then the slot stays
 */
KE_API i32 wiq_strv_pushf(wiq_strv* strv, const char* format, ...) KE_PRINTF(2, 3);

/**
 * The string in a slot, lent; may be NULL.
 * @param index taken as signed: negative counts from the end. It must name a slot.
 */
KE_API char* wiq_strv_get(const wiq_strv* strv, u32 index);

/** Sorts by unsigned bytes, empty slots last; not stable. */
KE_API void wiq_strv_sort(wiq_strv* strv);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
