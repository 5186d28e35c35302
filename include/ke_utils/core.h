/**
 * @file core.h
 * Declares the status codes, the allocation functions with hooks and their leak tracker, the
 * replaceable entry points to the platform, and the time helpers. Containers are in containers.h,
 * files in files.h.
 */
#ifndef KE_UTILS_CORE_H
#define KE_UTILS_CORE_H

#include <time.h>

#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup version Version
 *  The version of these headers. The version of a loaded library is that of its file.
 *  @{ */

#define KE_VERSION_MAJOR 1 /**< changes when the binary interface breaks */
#define KE_VERSION_MINOR 0 /**< changes when something is added */
#define KE_VERSION_PATCH 0 /**< changes when something is fixed */

#define KE_VERSION_TEXT_(major, minor, patch) #major "." #minor "." #patch
#define KE_VERSION_EXPAND_(major, minor, patch) KE_VERSION_TEXT_(major, minor, patch)
/** The version as text, such as "1.0.0". */
#define KE_VERSION_STRING KE_VERSION_EXPAND_(KE_VERSION_MAJOR, KE_VERSION_MINOR, KE_VERSION_PATCH)

/** The version as one number that grows with the version: 10203 stands for 1.2.3. */
#define KE_UTILS_VERSION (KE_VERSION_MAJOR * 10000 + KE_VERSION_MINOR * 100 + KE_VERSION_PATCH)

/**
 * Tells whether these headers have this version or a later one. It works in \#if and in constant
 * expressions.
 */
#define KE_VERSION_AT_LEAST(major, minor, patch) \
    (KE_VERSION_MAJOR > (major) ||               \
     (KE_VERSION_MAJOR == (major) &&             \
      (KE_VERSION_MINOR > (minor) ||             \
       (KE_VERSION_MINOR == (minor) && KE_VERSION_PATCH >= (patch)))))

/** @} */

/** @defgroup status Status codes
 *  Every function that can fail returns or stores one signed 32-bit number: 0 for success, and a
 *  negative number for each kind of failure. The numbers are part of the interface and never
 *  change; the gaps between them are deliberate.
 *  @{ */

/**
 * The one table of status codes. Each line is X(number, name, meaning). The constants and the two
 * functions below are made from it, and a program can make tables of its own from it.
 */
/* clang-format off */
#define KE_STATUS_TABLE(X)                                                                         \
 X(-3, WIQ_ERR_IO, "an input or output operation failed")                                          \
 X(-4, WIQ_ERR_ACCESS_DENIED, "permission denied")                                                 \
 X(-7, WIQ_ERR_FAILED, "an operation failed without a more specific cause")                        \
 X(-1011, WIQ_ERR_INVALID_VALUE, "invalid input data")                                             \
 X(-1016, WIQ_ERR_VALUE_OUT_OF_RANGE, "a value is out of range")                                   \
 X(-1017, WIQ_ERR_VALUE_NOT_INTEGRAL, "a value is not a whole number")                             \
 X(-1037, WIQ_ERR_KEY_NOT_FOUND, "an object has no member with this key")                          \
 X(-1038, WIQ_ERR_INDEX_OUT_OF_RANGE, "an array index is at or beyond the array's size")           \
 X(-1039, WIQ_ERR_PTR_BAD_ESCAPE, "a JSON pointer holds \"~\" not followed by \"0\" or \"1\"")     \
 X(-1040, WIQ_ERR_JSON_TRAILING_DATA, "JSON text continues after the top-level value")             \
 X(-1041, WIQ_ERR_JSON_UNEXPECTED_END, "JSON text ends inside a value")                            \
 X(-1042, WIQ_ERR_JSON_CONTROL_CHAR, "a raw control character inside a JSON string")               \
 X(-1043, WIQ_ERR_JSON_BAD_ESCAPE, "an invalid escape sequence inside a JSON string")              \
 X(-1044, WIQ_ERR_JSON_BAD_NUMBER, "a malformed JSON number")                                      \
 X(-1045, WIQ_ERR_JSON_UNEXPECTED_TOKEN, "a JSON token that is not allowed at this place")         \
 X(-1046, WIQ_ERR_JSON_BAD_TOKEN, "an invalid character or word in JSON text")                     \
 X(-1047, WIQ_ERR_JSON_DUPLICATE_KEY, "a duplicate key in a JSON object")                          \
 X(-1049, WIQ_ERR_JSON_BAD_UTF8, "an invalid UTF-8 sequence in JSON text")                         \
 X(-1050, WIQ_ERR_JSON_BAD_UNICODE_ESCAPE, "a \"\\u\" escape of zero or of an unpaired surrogate") \
 X(-1052, WIQ_ERR_JREF_CYCLE, "a chain of JSON references loops back on itself")                   \
 X(-3001, WIQ_ERR_FILE_EMPTY, "a file to be loaded whole is empty")                                \
 X(-3002, WIQ_ERR_NOT_FOUND, "a file or directory does not exist")                                 \
 X(-3003, WIQ_ERR_PATH_NOT_FOUND, "a directory cannot be made because a parent is missing")        \
 X(-3004, WIQ_ERR_EOF, "end of file before anything was read")                                     \
 X(-3005, WIQ_ERR_ALREADY_EXISTS, "the directory to be made already exists")                       \
 X(-5000, WIQ_ERR_NO_MEMORY, "an allocation failed")                                               \
 X(-5005, WIQ_ERR_TIME_CONVERSION, "a time could not be converted to UTC")                         \
 X(-5006, WIQ_ERR_ENCODING, "a path could not be converted to the system's encoding")              \
 X(-5007, WIQ_ERR_LOCK_INIT, "a mutex could not be initialised")                                   \
 X(-5010, WIQ_ERR_DLOPEN, "a dynamic library could not be loaded")                                 \
 X(-5011, WIQ_ERR_DLSYM, "a symbol was not found in a loaded library")                             \
 X(-6001, WIQ_ERR_TRAILING_CHARS, "a number in text is followed by further characters")            \
 X(-7000, WIQ_ERR_INVALID_ARG, "an argument is NULL, out of its domain, or of the wrong kind")     \
 X(-7001, WIQ_ERR_RANGE, "a value is out of the range of the target type")                         \
 X(-7002, WIQ_ERR_NOT_INTEGRAL, "a fraction where a whole number is required")                     \
 X(-7003, WIQ_ERR_BAD_FORMAT, "input of the wrong form")                                           \
 X(-7005, WIQ_ERR_BAD_RADIX, "a numeric base outside the supported range")                         \
 X(-7006, WIQ_ERR_BUFFER_TOO_SMALL, "an output buffer is too small")                               \
 X(-7010, WIQ_ERR_INI_SYNTAX, "a syntax error in an INI file")                                     \
 X(-7014, WIQ_ERR_BAD_JSON_TYPE, "a JSON value carries an unknown type tag")                       \
 X(-7018, WIQ_ERR_WRONG_TYPE, "a JSON value has another type than the one requested")              \
 X(-7019, WIQ_ERR_PTR_SYNTAX, "a non-empty JSON pointer does not begin with \"/\"")
/* clang-format on */

#define KE_STATUS_ENUMERATOR_(number, name, meaning) name = (number),
/** The failure statuses as constants. Success is 0 and has no name. */
enum wiq_status { KE_STATUS_TABLE(KE_STATUS_ENUMERATOR_) };
#undef KE_STATUS_ENUMERATOR_

/**
 * Tells whether an `i32` result, or a `u32` that a function stored through its `err` argument, is a
 * failure. 0 and counts are not failures. Do not use it for the system error codes that narrow()
 * and widen() store.
 */
#ifdef __cplusplus
#define KE_FAILED(err) (static_cast<i32>(err) < 0)
#else
#define KE_FAILED(err) ((i32)(err) < 0)
#endif

#define KE_STATUS_CASE_NAME_(number, name, meaning) \
    case number:                                    \
        return #name;
/**
 * Returns the name of a failure status.
 * @param status any number
 * @return a constant such as "WIQ_ERR_IO"; "" for 0 and for a number that is not a status
 */
static inline const char* ke_status_name(i32 status) {
    switch (status) {
        KE_STATUS_TABLE(KE_STATUS_CASE_NAME_)
        default:
            return "";
    }
}
#undef KE_STATUS_CASE_NAME_

#define KE_STATUS_CASE_MEANING_(number, name, meaning) \
    case number:                                       \
        return meaning;
/**
 * Returns the meaning of a status in a few words.
 * @param status any number
 * @return a constant such as "an allocation failed"; "success" for 0; "unknown status" for a number
 *         that is not a status
 */
static inline const char* ke_status_meaning(i32 status) {
    switch (status) {
        KE_STATUS_TABLE(KE_STATUS_CASE_MEANING_)
        case 0:
            return "success";
        default:
            return "unknown status";
    }
}
#undef KE_STATUS_CASE_MEANING_

/**
 * Maps the status of a conversion to the one that is reported about a user's data.
 * @param status any number
 * @return WIQ_ERR_INVALID_VALUE for WIQ_ERR_INVALID_ARG and WIQ_ERR_BAD_FORMAT;
 *         WIQ_ERR_VALUE_OUT_OF_RANGE for WIQ_ERR_RANGE; WIQ_ERR_VALUE_NOT_INTEGRAL for
 *         WIQ_ERR_NOT_INTEGRAL; any other value, 0 included, unchanged
 */
KE_API i32 wiq_status_ie_to_pe(i32 status);

/** @} */

/** @defgroup memory Allocation hooks and leak tracker
 *  These functions allocate memory for client code and call optional hooks before and after each
 *  operation. The library's own memory does not pass through them: the library calls the runtime's
 *  malloc() family directly. So whatever the library hands out is released with the runtime's
 *  free().
 *  @{ */

/**
 * Called before an allocation. Receives the address of the size in bytes, and may change the size.
 */
typedef void (*wiq_malloc_pre_fn)(size_t* size);

/**
 * Called after an allocation. Receives the addresses of the result (NULL if the allocation failed)
 * and of the size in bytes, and may change both.
 */
typedef void (*wiq_malloc_post_fn)(void** result, size_t* size);

/**
 * Called before a reallocation. Receives the addresses of the old block's pointer and of the new
 * size in bytes, and may change both.
 */
typedef void (*wiq_realloc_pre_fn)(void** ptr, size_t* size);

/**
 * Called after a reallocation. Receives the addresses of the result (NULL if it failed) and of
 * the size in bytes, and may change both.
 */
typedef void (*wiq_realloc_post_fn)(void** result, size_t* size);

/**
 * Called before or after an aligned allocation. Receives the addresses of its three arguments, and
 * may change them.
 */
typedef void (*wiq_aligned_alloc_fn)(void*** out, size_t* size, size_t* alignment);

/**
 * Called before a block is released. Receives the address of the pointer; a hook that sets it to
 * NULL keeps the block from being released.
 */
typedef void (*wiq_free_fn)(void** ptr);

/** Called before or after allocations that the leak count leaves out. */
typedef void (*wiq_track_fn)(void);

/**
 * Called when an allocation has failed. Receives the requested size in bytes, as the hooks left it.
 */
typedef void (*wiq_alloc_fail_fn)(size_t size);

/**
 * The slot for the pre hook of wiq_wrap_malloc() and wiq_wrap_strdup().
 *
 * This is the first of ten hook slots. All are NULL when the library is loaded; the client fills
 * them before other threads allocate. The library never calls what is in them: the client passes
 * them to the wiq_wrap_* functions, as the macros below do.
 */
extern KE_API wiq_malloc_pre_fn wiq_malloc_pre_cb;

/** The slot for the post hook of wiq_wrap_malloc() and wiq_wrap_strdup(). */
extern KE_API wiq_malloc_post_fn wiq_malloc_post_cb;

/** The slot for the pre hook of wiq_wrap_realloc(). */
extern KE_API wiq_realloc_pre_fn wiq_realloc_pre_cb;

/** The slot for the post hook of wiq_wrap_realloc(). */
extern KE_API wiq_realloc_post_fn wiq_realloc_post_cb;

/** The slot for the pre hook of wiq_wrap_aligned_alloc(). */
extern KE_API wiq_aligned_alloc_fn wiq_aligned_alloc_pre_cb;

/** The slot for the post hook of wiq_wrap_aligned_alloc(). */
extern KE_API wiq_aligned_alloc_fn wiq_aligned_alloc_post_cb;

/** The slot for the hook of wiq_wrap_free(). */
extern KE_API wiq_free_fn wiq_free_cb;

/** The slot for the hook of wiq_wrap_aligned_free(). */
extern KE_API wiq_free_fn wiq_aligned_free_cb;

/**
 * The slot for the function to call before allocations that the leak count leaves out. Pauses nest.
 */
extern KE_API wiq_track_fn wiq_alloc_track_pause_cb;

/** The slot for the function to call after such allocations. */
extern KE_API wiq_track_fn wiq_alloc_track_resume_cb;

/**
 * Allocates memory and calls hooks before and after.
 * @param size in bytes. If it is 0, or the pre hook sets it to 0, nothing is allocated; that is not
 *             a failure.
 * @param zero true to fill the block with zero bytes
 * @param fail called if the result is NULL after the hooks and the size is not 0; may be NULL
 * @param pre  may change the size; may be NULL
 * @param post may change the result and the size; may be NULL
 * @return the block, which the caller releases with free() or wiq_wrap_free(); NULL if the size is
 *         0 or when out of memory
 */
KE_API void* wiq_wrap_malloc(size_t size, bool zero, wiq_alloc_fail_fn fail, wiq_malloc_pre_fn pre,
                             wiq_malloc_post_fn post);

/**
 * Resizes a block and calls hooks before and after.
 * @param ptr  the block, or NULL to allocate a new one
 * @param size the new size in bytes; 0 releases the block, and the result is NULL
 * @param fail called whenever the result is NULL, even if the size is 0; may be NULL
 * @param pre  may change the block and the size; may be NULL
 * @param post may change the result and the size; may be NULL
 * @return the resized block, or NULL. If a size above 0 fails, the old block is unchanged.
 */
KE_API void* wiq_wrap_realloc(void* ptr, size_t size, wiq_alloc_fail_fn fail,
                              wiq_realloc_pre_fn pre, wiq_realloc_post_fn post);

/**
 * Copies a string and calls hooks before and after the allocation.
 *
 * The size that the hooks see includes the NUL. The copied text always has the length that was
 * measured before the hooks ran, so a pre hook must not make the block smaller.
 * @param str  NUL-terminated; for NULL the result is NULL, and no hook is called
 * @param fail as in wiq_wrap_malloc()
 * @param pre  as in wiq_wrap_malloc()
 * @param post as in wiq_wrap_malloc()
 * @return the copy, which the caller releases with free() or wiq_wrap_free(); NULL when out of
 *         memory
 */
KE_API char* wiq_wrap_strdup(const char* str, wiq_alloc_fail_fn fail, wiq_malloc_pre_fn pre,
                             wiq_malloc_post_fn post);

/**
 * Calls a hook, then releases a block.
 * @param ptr  may be NULL
 * @param hook called with the address of a copy of `ptr`. The pointer that it leaves there is
 *             released; if it leaves NULL, nothing is. May be NULL.
 */
KE_API void wiq_wrap_free(void* ptr, wiq_free_fn hook);

/**
 * Allocates aligned memory and calls hooks before and after.
 * @param out       receives the block, which the caller releases with wiq_wrap_aligned_free() only;
 *                  NULL on failure
 * @param size      in bytes
 * @param alignment a power of two; 0 stands for the alignment of a pointer
 * @param fail      called with the size if the status is not 0 or `out` is NULL; may be NULL
 * @param pre       may change all three arguments; may be NULL
 * @param post      may change all three arguments; may be NULL
 * @return 0, also for a NULL `out` with a size of 0, which allocates nothing; WIQ_ERR_INVALID_ARG
 *         for a NULL `out` with a size above 0; WIQ_ERR_NO_MEMORY as wiq_real_aligned_alloc()
 *         returns it
 */
KE_API i32 wiq_wrap_aligned_alloc(void** out, size_t size, size_t alignment, wiq_alloc_fail_fn fail,
                                  wiq_aligned_alloc_fn pre, wiq_aligned_alloc_fn post);

/**
 * Calls a hook, then releases an aligned block.
 * @param ptr  from wiq_wrap_aligned_alloc(); may be NULL
 * @param hook called with the address of a copy of `ptr`. If it sets the copy to NULL, the block is
 *             kept; any other change is ignored, and `ptr` itself is released. May be NULL.
 */
KE_API void wiq_wrap_aligned_free(void* ptr, wiq_free_fn hook);

/**
 * Allocates memory filled with zero bytes, without hooks.
 * @param size in bytes
 * @return the block, which the caller releases with free(); NULL when out of memory
 */
KE_API void* wiq_real_malloc0(size_t size);

/**
 * Allocates aligned memory, without hooks.
 * @param out       receives the block, which the caller releases with wiq_real_aligned_free(); NULL
 *                  on failure
 * @param size      in bytes
 * @param alignment a power of two; 0 stands for the alignment of a pointer
 * @return 0; WIQ_ERR_INVALID_ARG if `out` is NULL; WIQ_ERR_NO_MEMORY when out of memory, for a size
 *         that no block can have, or for an alignment that is not a power of two
 */
KE_API i32 wiq_real_aligned_alloc(void** out, size_t size, size_t alignment);

/** Releases a block of wiq_real_aligned_alloc(). NULL is ignored. */
KE_API void wiq_real_aligned_free(void* ptr);

/**
 * Starts the leak tracker, or resets its counts to 0.
 *
 * Sets the tracker's two counts and its pause depth to 0 and stores its hooks in eight of the
 * slots, all but wiq_malloc_pre_cb and wiq_aligned_alloc_pre_cb. No function removes the hooks
 * again; a client clears the slots itself.
 *
 * A reallocation counts as a release and an allocation; one that fails still counts as a release.
 * While the tracker is in the slots, wiq_wrap_aligned_alloc() must not be called with a NULL `out`.
 * The counts are plain 32-bit numbers, which are approximate if several threads allocate.
 */
KE_API void wiq_memleak_begin(void);

/**
 * Returns how many blocks have been allocated through the hooks since wiq_memleak_begin() and not
 * yet released.
 */
KE_API i32 wiq_memleak_balance(void);

/** Returns how many allocations have been made through the hooks since wiq_memleak_begin(). */
KE_API i32 wiq_memleak_count(void);

/**
 * The failure hook that the macros below pass on: a ::wiq_alloc_fail_fn, or NULL. A client that
 * wants one defines this macro before it includes the header.
 */
#ifndef KE_ALLOC_FAIL
#define KE_ALLOC_FAIL NULL
#endif

/** Calls wiq_wrap_malloc() with the hooks in the slots. */
#define KE_MALLOC(size) \
    wiq_wrap_malloc((size), false, KE_ALLOC_FAIL, wiq_malloc_pre_cb, wiq_malloc_post_cb)
/** Like KE_MALLOC(), and fills the block with zero bytes. */
#define KE_MALLOC0(size) \
    wiq_wrap_malloc((size), true, KE_ALLOC_FAIL, wiq_malloc_pre_cb, wiq_malloc_post_cb)
/** Calls wiq_wrap_realloc() with the hooks in the slots. */
#define KE_REALLOC(ptr, size) \
    wiq_wrap_realloc((ptr), (size), KE_ALLOC_FAIL, wiq_realloc_pre_cb, wiq_realloc_post_cb)
/** Calls wiq_wrap_strdup() with the hooks in the slots. */
#define KE_STRDUP(str) wiq_wrap_strdup((str), KE_ALLOC_FAIL, wiq_malloc_pre_cb, wiq_malloc_post_cb)
/** Calls wiq_wrap_free() with the hook in its slot. */
#define KE_FREE(ptr) wiq_wrap_free((ptr), wiq_free_cb)
/** Calls wiq_wrap_aligned_alloc() with the hooks in the slots. */
#define KE_ALIGNED_ALLOC(out, size, alignment)                                                  \
    wiq_wrap_aligned_alloc((out), (size), (alignment), KE_ALLOC_FAIL, wiq_aligned_alloc_pre_cb, \
                           wiq_aligned_alloc_post_cb)
/** Calls wiq_wrap_aligned_free() with the hook in its slot. */
#define KE_ALIGNED_FREE(ptr) wiq_wrap_aligned_free((ptr), wiq_aligned_free_cb)
/**
 * Leaves the allocations that follow out of the leak count, if there is one. This is a statement.
 * Pauses nest.
 */
#define KE_ALLOC_TRACK_PAUSE()                \
    do {                                      \
        if (wiq_alloc_track_pause_cb != NULL) \
            wiq_alloc_track_pause_cb();       \
    } while (0)
/** Ends a pause that KE_ALLOC_TRACK_PAUSE() began. This is a statement. */
#define KE_ALLOC_TRACK_RESUME()                \
    do {                                       \
        if (wiq_alloc_track_resume_cb != NULL) \
            wiq_alloc_track_resume_cb();       \
    } while (0)

/** @} */

/** @defgroup platform Platform entry points and time
 *  @{ */

/**
 * A loaded module. Owned by the caller; field for field the same as libuv's library record
 * (`uv_lib_t`).
 */
typedef struct wiq_lib {
    void* handle; /**< the system's module handle */
    char* errmsg; /**< the text of the last error, or NULL */
} wiq_lib;

/** Suspends the calling thread for at least `ms` milliseconds. */
KE_API void wiq_sleep_real(u32 ms);

/**
 * Returns the current time.
 * @param t also receives the time; may be NULL
 * @return seconds since 1970-01-01 00:00:00 UTC; -1 if the system cannot tell
 */
KE_API i64 wiq_time_real(i64* t);

/**
 * Converts a time to broken-down UTC time.
 *
 * Every platform converts 0 to 32535215999, the end of the year 3000. Linux also converts times up
 * to 32535244799. A Windows runtime may convert times that Linux refuses: earlier and later ones.
 * @param t   seconds since 1970-01-01 00:00:00 UTC
 * @param out receives the fields; undefined on failure
 * @return 0; WIQ_ERR_TIME_CONVERSION if the time cannot be expressed or an argument is NULL
 */
KE_API i32 wiq_gmtime_real(const i64* t, struct tm* out);

/**
 * Loads a module through libuv.
 *
 * On Windows, the modules that it depends on are also searched for in its own folder; on Linux,
 * where the system's loader looks for them.
 * @param path UTF-8, with either separator. On Linux, a name without a separator is searched for as
 *             the loader does.
 * @param lib  the caller's record, which wiq_dlclose_real() closes
 * @return 0; WIQ_ERR_INVALID_ARG if an argument is NULL, with the record unchanged; WIQ_ERR_DLOPEN
 *         if the module cannot be loaded, for example because the path is too long. The record has
 *         then been closed and holds no error text.
 */
KE_API i32 wiq_dlopen_real(const char* path, wiq_lib* lib);

/** Unloads a module and releases the error text that its record may hold. NULL is ignored. */
KE_API void wiq_dlclose_real(wiq_lib* lib);

/**
 * Finds a symbol in a loaded module.
 * @param lib  a record that wiq_dlopen_real() has filled
 * @param name the symbol's name
 * @param sym  receives the symbol's address; NULL on failure
 * @return 0; WIQ_ERR_INVALID_ARG if an argument is NULL; WIQ_ERR_DLSYM if there is no such symbol
 */
KE_API i32 wiq_dlsym_real(wiq_lib* lib, const char* name, void** sym);

/**
 * The replaceable entry point of wiq_sleep_real().
 *
 * This is the first of six slots. Each holds the address of the function of the same name without
 * `_ptr`, until a caller stores another function with the same signature. Callers call through the
 * slots; the library itself calls the plain functions. Replace them before other threads run.
 */
extern KE_API void (*wiq_sleep_real_ptr)(u32 ms);

/** The replaceable entry point of wiq_time_real(); see wiq_sleep_real_ptr. */
extern KE_API i64 (*wiq_time_real_ptr)(i64* t);

/** The replaceable entry point of wiq_gmtime_real(); see wiq_sleep_real_ptr. */
extern KE_API i32 (*wiq_gmtime_real_ptr)(const i64* t, struct tm* out);

/** The replaceable entry point of wiq_dlopen_real(); see wiq_sleep_real_ptr. */
extern KE_API i32 (*wiq_dlopen_real_ptr)(const char* path, wiq_lib* lib);

/** The replaceable entry point of wiq_dlclose_real(); see wiq_sleep_real_ptr. */
extern KE_API void (*wiq_dlclose_real_ptr)(wiq_lib* lib);

/** The replaceable entry point of wiq_dlsym_real(); see wiq_sleep_real_ptr. */
extern KE_API i32 (*wiq_dlsym_real_ptr)(wiq_lib* lib, const char* name, void** sym);

/**
 * Stores the current time as broken-down UTC time. The slots are not called.
 * @param out receives the fields; undefined on failure
 * @return 0; WIQ_ERR_TIME_CONVERSION if `out` is NULL or the time cannot be expressed
 */
KE_API i32 wiq_get_tm(struct tm* out);

/**
 * Returns the milliseconds since midnight of a broken-down time.
 *
 * They are computed from the hours, minutes and seconds, whatever their values, in 32-bit
 * arithmetic that wraps.
 * @param tm the time of day
 * @return the milliseconds; WIQ_ERR_INVALID_ARG if `tm` is NULL
 */
KE_API int calc_tm_to_ms(const struct tm* tm);

/**
 * Writes a time of day as "hh:mm:ss.mmm ", with the space at the end.
 * @param ms  milliseconds
 * @param ns  nanoseconds, whose whole milliseconds are added to `ms`. The sum is truncated to 32
 *            bits, and full days are dropped from it.
 * @param dst receives 14 bytes, the NUL included
 * @return the number of characters, 13; WIQ_ERR_INVALID_ARG if `dst` is NULL
 */
KE_API i32 time_ms_to_string(u64 ms, u64 ns, char* dst);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
