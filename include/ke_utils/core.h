/**
 * @file core.h
 * Status codes, the hookable allocation layer with its leak tracker, the replaceable entry points to the
 * platform, and time. Containers are in containers.h, files in files.h.
 */
#ifndef KE_UTILS_CORE_H
#define KE_UTILS_CORE_H

#include <time.h>

#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup version Version
 *  The version of these headers; that of the library that a program loads is its file's.
 *  @{ */

#define KE_VERSION_MAJOR 1 /**< changes with the binary interface */
#define KE_VERSION_MINOR 0 /**< changes when something is added */
#define KE_VERSION_PATCH 0 /**< changes when something is mended */

#define KE_VERSION_TEXT_(major, minor, patch) #major "." #minor "." #patch
#define KE_VERSION_EXPAND_(major, minor, patch) KE_VERSION_TEXT_(major, minor, patch)
/** The version as text: "1.0.0". */
#define KE_VERSION_STRING KE_VERSION_EXPAND_(KE_VERSION_MAJOR, KE_VERSION_MINOR, KE_VERSION_PATCH)

/** The version as one number that grows with it: 10203 is 1.2.3. */
#define KE_UTILS_VERSION (KE_VERSION_MAJOR * 10000 + KE_VERSION_MINOR * 100 + KE_VERSION_PATCH)

/** Whether these headers are of this version or a later one; for \#if, and where a constant is wanted. */
#define KE_VERSION_AT_LEAST(major, minor, patch) \
    (KE_VERSION_MAJOR > (major) ||               \
     (KE_VERSION_MAJOR == (major) &&             \
      (KE_VERSION_MINOR > (minor) ||             \
       (KE_VERSION_MINOR == (minor) && KE_VERSION_PATCH >= (patch)))))

/** @} */

/** @defgroup status Status codes
 *  Every call that can fail answers with one signed 32-bit number: 0 is success, each kind of failure is
 *  negative. The numbers are part of the interface and never change; there are gaps on purpose.
 *  @{ */

/**
 * The one table of status codes: X(number, name, meaning). It makes the constants and the functions below, and a
 * tool can make tables of its own from it.
 */
/* clang-format off */
#define KE_STATUS_TABLE(X)                                                                              \
    X(-3, WIQ_ERR_IO, "an input or output operation failed")                                            \
    X(-4, WIQ_ERR_ACCESS_DENIED, "permission denied")                                                   \
    X(-7, WIQ_ERR_FAILED, "an operation failed without a more specific cause")                          \
    X(-1011, WIQ_ERR_INVALID_VALUE, "invalid input data")                                               \
    X(-1016, WIQ_ERR_VALUE_OUT_OF_RANGE, "a value is out of range")                                     \
    X(-1017, WIQ_ERR_VALUE_NOT_INTEGRAL, "a value is not a whole number")                               \
    X(-1037, WIQ_ERR_KEY_NOT_FOUND, "an object has no member with this key")                            \
    X(-1038, WIQ_ERR_INDEX_OUT_OF_RANGE, "an array index is at or beyond the array's size")             \
    X(-1039, WIQ_ERR_PTR_BAD_ESCAPE, "a JSON pointer holds \"~\" not followed by \"0\" or \"1\"")       \
    X(-1040, WIQ_ERR_JSON_TRAILING_DATA, "JSON text continues after the top-level value")               \
    X(-1041, WIQ_ERR_JSON_UNEXPECTED_END, "JSON text ends inside a value")                              \
    X(-1042, WIQ_ERR_JSON_CONTROL_CHAR, "a raw control character inside a JSON string")                 \
    X(-1043, WIQ_ERR_JSON_BAD_ESCAPE, "an invalid escape sequence inside a JSON string")                \
    X(-1044, WIQ_ERR_JSON_BAD_NUMBER, "a malformed JSON number")                                        \
    X(-1045, WIQ_ERR_JSON_UNEXPECTED_TOKEN, "a JSON token that is not allowed at this place")           \
    X(-1046, WIQ_ERR_JSON_BAD_TOKEN, "an invalid character or word in JSON text")                       \
    X(-1047, WIQ_ERR_JSON_DUPLICATE_KEY, "a duplicate key in a JSON object")                            \
    X(-1049, WIQ_ERR_JSON_BAD_UTF8, "an invalid UTF-8 sequence in JSON text")                           \
    X(-1050, WIQ_ERR_JSON_BAD_UNICODE_ESCAPE, "a \"\\u\" escape of zero or of an unpaired surrogate")   \
    X(-1052, WIQ_ERR_JREF_CYCLE, "a chain of JSON references loops back on itself")                     \
    X(-3001, WIQ_ERR_FILE_EMPTY, "a file to be loaded whole is empty")                                  \
    X(-3002, WIQ_ERR_NOT_FOUND, "a file or directory does not exist")                                   \
    X(-3003, WIQ_ERR_PATH_NOT_FOUND, "a directory cannot be made because a parent is missing")          \
    X(-3004, WIQ_ERR_EOF, "end of file before anything was read")                                       \
    X(-3005, WIQ_ERR_ALREADY_EXISTS, "the directory to be made already exists")                         \
    X(-5000, WIQ_ERR_NO_MEMORY, "an allocation failed")                                                 \
    X(-5005, WIQ_ERR_TIME_CONVERSION, "a time could not be converted to UTC")                           \
    X(-5006, WIQ_ERR_ENCODING, "a path could not be converted to the system's encoding")                \
    X(-5007, WIQ_ERR_LOCK_INIT, "a mutex could not be initialised")                                     \
    X(-5010, WIQ_ERR_DLOPEN, "a dynamic library could not be loaded")                                   \
    X(-5011, WIQ_ERR_DLSYM, "a symbol was not found in a loaded library")                               \
    X(-6001, WIQ_ERR_TRAILING_CHARS, "a number in text is followed by further characters")              \
    X(-7000, WIQ_ERR_INVALID_ARG, "an argument is NULL, out of its domain, or of the wrong kind")       \
    X(-7001, WIQ_ERR_RANGE, "a value is out of the range of the target type")                           \
    X(-7002, WIQ_ERR_NOT_INTEGRAL, "a fraction where a whole number is required")                       \
    X(-7003, WIQ_ERR_BAD_FORMAT, "input of the wrong form")                                             \
    X(-7005, WIQ_ERR_BAD_RADIX, "a numeric base outside the supported range")                           \
    X(-7006, WIQ_ERR_BUFFER_TOO_SMALL, "an output buffer is too small")                                 \
    X(-7010, WIQ_ERR_INI_SYNTAX, "a syntax error in an INI file")                                       \
    X(-7014, WIQ_ERR_BAD_JSON_TYPE, "a JSON value carries an unknown type tag")                         \
    X(-7018, WIQ_ERR_WRONG_TYPE, "a JSON value has another type than the one requested")                \
    X(-7019, WIQ_ERR_PTR_SYNTAX, "a non-empty JSON pointer does not begin with \"/\"")
/* clang-format on */

#define KE_STATUS_ENUMERATOR_(number, name, meaning) name = (number),
/** The failure statuses as constants; 0 is success and has no name. */
enum wiq_status { KE_STATUS_TABLE(KE_STATUS_ENUMERATOR_) };
#undef KE_STATUS_ENUMERATOR_

/**
 * Whether a `u32` error argument, or an `i32` result, holds a failure: a count or 0 is none. Not for the system error
 * codes of narrow() and widen().
 */
#ifdef __cplusplus
#define KE_FAILED(err) (static_cast<i32>(err) < 0)
#else
#define KE_FAILED(err) ((i32)(err) < 0)
#endif

#define KE_STATUS_CASE_NAME_(number, name, meaning) \
    case number:                                    \
        return #name;
/** The name of a failure status, as "WIQ_ERR_IO"; "" for 0 and for a number that is no status. */
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
 * The meaning of a status in a few words, as "an allocation failed"; "success" for 0, "unknown status" for a number
 * that is no status.
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
 * Maps an internal conversion status to the public one: -7000 and -7003 become -1011, -7001 becomes
 * -1016, -7002 becomes -1017; every other value, 0 included, comes back unchanged.
 */
KE_API i32 wiq_status_ie_to_pe(i32 status);

/** @} */

/** @defgroup memory Allocation hooks and leak tracker
 *  Allocation functions for client code that call optional hooks before and after each operation. The
 *  library's own memory does not pass through them: it is the runtime's malloc family directly, so what
 *  the library hands out is released with the runtime's free().
 *  @{ */

/** Called before an allocation with the address of its size in bytes, which it may change. */
typedef void (*wiq_malloc_pre_fn)(size_t* size);

/**
 * Called after an allocation with the addresses of its result (NULL if it failed) and of its size; it may
 * change both.
 */
typedef void (*wiq_malloc_post_fn)(void** result, size_t* size);

/**
 * Called before a reallocation with the addresses of the old block and of the new size; it may change both.
 */
typedef void (*wiq_realloc_pre_fn)(void** ptr, size_t* size);

/**
 * Called after a reallocation with the addresses of its result and of its size; it may change both.
 */
typedef void (*wiq_realloc_post_fn)(void** result, size_t* size);

/**
 * Called before or after an aligned allocation with the addresses of its arguments, which it may change.
 */
typedef void (*wiq_aligned_alloc_fn)(void*** out, size_t* size, size_t* alignment);

/**
 * Called before a release with the address of the pointer; setting it to NULL suppresses the release.
 */
typedef void (*wiq_free_fn)(void** ptr);

/** Called around allocations that are to be left out of the leak count. */
typedef void (*wiq_track_fn)(void);
/** Told of a failed allocation; receives the size that was asked for, as the hooks left it. */
typedef void (*wiq_alloc_fail_fn)(size_t size);

/**
 * The ten hook slots, NULL at load, to be filled by the client before other threads allocate. The library
 * reads none of them: a client passes them to the wiq_wrap_* functions, as the macros below do. This one is meant as the pre hook of
 * wiq_wrap_malloc() and wiq_wrap_strdup().
 */
extern KE_API wiq_malloc_pre_fn wiq_malloc_pre_cb;

/** Slot for the post hook of wiq_wrap_malloc() and wiq_wrap_strdup(). */
extern KE_API wiq_malloc_post_fn wiq_malloc_post_cb;

/** Slot for the pre hook of wiq_wrap_realloc(). */
extern KE_API wiq_realloc_pre_fn wiq_realloc_pre_cb;

/** Slot for the post hook of wiq_wrap_realloc(). */
extern KE_API wiq_realloc_post_fn wiq_realloc_post_cb;

/** Slot for the pre hook of wiq_wrap_aligned_alloc(). */
extern KE_API wiq_aligned_alloc_fn wiq_aligned_alloc_pre_cb;

/** Slot for the post hook of wiq_wrap_aligned_alloc(). */
extern KE_API wiq_aligned_alloc_fn wiq_aligned_alloc_post_cb;

/** Slot for the hook of wiq_wrap_free(). */
extern KE_API wiq_free_fn wiq_free_cb;

/** Slot for the hook of wiq_wrap_aligned_free(). */
extern KE_API wiq_free_fn wiq_aligned_free_cb;

/** Slot to be called before allocations that the leak count is to leave out; pauses nest. */
extern KE_API wiq_track_fn wiq_alloc_track_pause_cb;

/** Slot to be called after such allocations. */
extern KE_API wiq_track_fn wiq_alloc_track_resume_cb;

/**
 * Allocates memory and calls hooks around it.
 * @param size bytes; 0, also as the pre hook leaves it, allocates nothing: NULL, and no failure
 * @param zero whether the block is filled with zero bytes
 * @param fail told of a failure with the size as the hooks left it; may be NULL
 * @param pre  may change the size; may be NULL
 * @param post may change result and size; may be NULL
 * @return the block, released with free() or wiq_wrap_free(); NULL if nothing was asked for or to be had
 */
KE_API void* wiq_wrap_malloc(size_t size, bool zero, wiq_alloc_fail_fn fail, wiq_malloc_pre_fn pre,
                             wiq_malloc_post_fn post);

/**
 * Resizes a block and calls hooks around it.
 * @param ptr  the block, NULL for a new one
 * @param size new size in bytes; 0 releases the block and gives NULL
 * @param fail told whenever the result is NULL, also for a size of 0; may be NULL
 * @param pre  may change block and size; may be NULL
 * @param post may change result and size; may be NULL
 * @return the block, or NULL; after a failure with a size above 0 the old block is as it was
 */
KE_API void* wiq_wrap_realloc(void* ptr, size_t size, wiq_alloc_fail_fn fail,
                              wiq_realloc_pre_fn pre, wiq_realloc_post_fn post);

/**
 * Copies a string and calls hooks around the allocation.
 * @param str NUL-terminated; NULL gives NULL and calls no hook
 * @param fail, pre, post as in wiq_wrap_malloc(); the size counts the NUL. What is copied is always the length
 *             measured before the hooks ran: a pre hook must not make the block smaller.
 * @return the copy, released with free() or wiq_wrap_free(); NULL without memory
 */
KE_API char* wiq_wrap_strdup(const char* str, wiq_alloc_fail_fn fail, wiq_malloc_pre_fn pre,
                             wiq_malloc_post_fn post);

/**
 * Releases a block.
 * @param ptr  may be NULL
 * @param hook called first with the address of a copy of the pointer; what it leaves there is released, NULL is
 *             not. May be NULL.
 */
KE_API void wiq_wrap_free(void* ptr, wiq_free_fn hook);

/**
 * Allocates aligned memory and calls hooks around it.
 * @param out       receives the block, released with wiq_wrap_aligned_free() only
 * @param size      bytes
 * @param alignment a power of two; 0 counts as the alignment of a pointer
 * @param fail told of the size when the status is not 0 or `out` is NULL; may be NULL
 * @param pre, post may change all three arguments; may be NULL
 * @return 0; -7000 for a NULL `out` with a size above 0; -5000 as of wiq_real_aligned_alloc() (`*out` is NULL). A
 *         NULL `out` with a size of 0 allocates nothing and gives 0.
 */
KE_API i32 wiq_wrap_aligned_alloc(void** out, size_t size, size_t alignment, wiq_alloc_fail_fn fail,
                                  wiq_aligned_alloc_fn pre, wiq_aligned_alloc_fn post);

/**
 * Releases an aligned block.
 * @param ptr  from wiq_wrap_aligned_alloc(); may be NULL
 * @param hook called first with the address of a copy of the pointer: setting it to NULL keeps the block; any other
 *             change is ignored, and `ptr` itself is released. May be NULL.
 */
KE_API void wiq_wrap_aligned_free(void* ptr, wiq_free_fn hook);

/**
 * Allocates memory filled with zero bytes, without hooks.
 * @return the block, released with free(); NULL without memory
 */
KE_API void* wiq_real_malloc0(size_t size);

/**
 * Allocates aligned memory, without hooks.
 * @param out       receives the block, released with wiq_real_aligned_free(); NULL on failure
 * @param size      bytes
 * @param alignment a power of two; 0 counts as the alignment of a pointer
 * @return 0; -7000 if `out` is NULL; -5000 without memory, for a size that cannot be, or for an alignment that is
 *         no power of two
 */
KE_API i32 wiq_real_aligned_alloc(void** out, size_t size, size_t alignment);

/** Releases a block of wiq_real_aligned_alloc(); NULL does nothing. */
KE_API void wiq_real_aligned_free(void* ptr);

/**
 * Sets the leak tracker's counts and its pause depth to 0 and stores its hooks in eight of the slots (all but
 * wiq_malloc_pre_cb and wiq_aligned_alloc_pre_cb). There is no call that takes them out: a client clears the
 * slots. A reallocation counts as a release and an allocation. The counts are plain 32-bit numbers, approximate
 * while several threads allocate.
 */
KE_API void wiq_memleak_begin(void);

/** The blocks allocated and not yet released through the hooks since wiq_memleak_begin(). */
KE_API i32 wiq_memleak_balance(void);

/** The allocations made through the hooks since wiq_memleak_begin(). */
KE_API i32 wiq_memleak_count(void);

/**
 * What the macros below tell of a failed allocation: a ::wiq_alloc_fail_fn, or NULL. A client that wants one defines
 * this before it includes the header.
 */
#ifndef KE_ALLOC_FAIL
#define KE_ALLOC_FAIL NULL
#endif

/** wiq_wrap_malloc() with the hooks in the slots. */
#define KE_MALLOC(size) \
    wiq_wrap_malloc((size), false, KE_ALLOC_FAIL, wiq_malloc_pre_cb, wiq_malloc_post_cb)
/** KE_MALLOC() of memory filled with zero bytes. */
#define KE_MALLOC0(size) \
    wiq_wrap_malloc((size), true, KE_ALLOC_FAIL, wiq_malloc_pre_cb, wiq_malloc_post_cb)
/** wiq_wrap_realloc() with the hooks in the slots. */
#define KE_REALLOC(ptr, size) \
    wiq_wrap_realloc((ptr), (size), KE_ALLOC_FAIL, wiq_realloc_pre_cb, wiq_realloc_post_cb)
/** wiq_wrap_strdup() with the hooks in the slots. */
#define KE_STRDUP(str) wiq_wrap_strdup((str), KE_ALLOC_FAIL, wiq_malloc_pre_cb, wiq_malloc_post_cb)
/** wiq_wrap_free() with the hook in the slot. */
#define KE_FREE(ptr) wiq_wrap_free((ptr), wiq_free_cb)
/** wiq_wrap_aligned_alloc() with the hooks in the slots. */
#define KE_ALIGNED_ALLOC(out, size, alignment)                                                  \
    wiq_wrap_aligned_alloc((out), (size), (alignment), KE_ALLOC_FAIL, wiq_aligned_alloc_pre_cb, \
                           wiq_aligned_alloc_post_cb)
/** wiq_wrap_aligned_free() with the hook in the slot. */
#define KE_ALIGNED_FREE(ptr) wiq_wrap_aligned_free((ptr), wiq_aligned_free_cb)
/** Leaves what follows out of the leak count, if one is kept; a statement. Pauses nest. */
#define KE_ALLOC_TRACK_PAUSE()                \
    do {                                      \
        if (wiq_alloc_track_pause_cb != NULL) \
            wiq_alloc_track_pause_cb();       \
    } while (0)
/** Ends a stretch that KE_ALLOC_TRACK_PAUSE() began; a statement. */
#define KE_ALLOC_TRACK_RESUME()                \
    do {                                       \
        if (wiq_alloc_track_resume_cb != NULL) \
            wiq_alloc_track_resume_cb();       \
    } while (0)

/** @} */

/** @defgroup platform Platform entry points and time
 *  @{ */

/** A loaded module: libuv's library record (`uv_lib_t`), field for field, owned by the caller. */
typedef struct wiq_lib {
    void* handle; /**< the system's module handle */
    char* errmsg; /**< the last error's text, or NULL */
} wiq_lib;

/** Suspends the calling thread for at least this many milliseconds. */
KE_API void wiq_sleep_real(u32 ms);

/**
 * The current time.
 * @param t also receives it; may be NULL
 * @return seconds since 1970-01-01 00:00:00 UTC
 */
KE_API i64 wiq_time_real(i64* t);

/**
 * Converts a time to broken-down UTC time. Every platform converts 0 to 32535215999, the end of the year 3000.
 * Linux goes on to 32535244799; before and behind that a runtime of Windows may convert what Linux refuses.
 * @param t   seconds since 1970-01-01 00:00:00 UTC
 * @param out receives the fields; undefined on failure
 * @return 0; -5005 if the time cannot be expressed, or for a NULL argument
 */
KE_API i32 wiq_gmtime_real(const i64* t, struct tm* out);

/**
 * Loads a module through libuv. On Windows the modules that it needs are also searched for in its own folder;
 * on Linux where the system's loader looks for them.
 * @param path UTF-8, either separator. On Linux a name without one is searched for as the loader does.
 * @param lib  the caller's record; closed with wiq_dlclose_real()
 * @return 0; -7000 if an argument is NULL, the record being as it was; -5010 if the module cannot be loaded, and
 *         then the record is closed already and holds no error text
 */
KE_API i32 wiq_dlopen_real(const char* path, wiq_lib* lib);

/** Unloads a module and releases the error text that its record may hold. NULL does nothing. */
KE_API void wiq_dlclose_real(wiq_lib* lib);

/**
 * Finds a symbol of a loaded module.
 * @param lib  from wiq_dlopen_real()
 * @param name the symbol
 * @param sym  receives its address; NULL on failure
 * @return 0; -7000 if an argument is NULL; -5011 if there is no such symbol
 */
KE_API i32 wiq_dlsym_real(wiq_lib* lib, const char* name, void** sym);

/**
 * The replaceable entry points: each slot holds the address of the function of the same name without
 * `_ptr` until a caller stores another of the same signature. Callers go through the slots; the library
 * itself does not. Replace them before other threads run.
 */
extern KE_API void (*wiq_sleep_real_ptr)(u32 ms);
/** See wiq_sleep_real_ptr. */
extern KE_API i64 (*wiq_time_real_ptr)(i64* t);
/** See wiq_sleep_real_ptr. */
extern KE_API i32 (*wiq_gmtime_real_ptr)(const i64* t, struct tm* out);
/** See wiq_sleep_real_ptr. */
extern KE_API i32 (*wiq_dlopen_real_ptr)(const char* path, wiq_lib* lib);
/** See wiq_sleep_real_ptr. */
extern KE_API void (*wiq_dlclose_real_ptr)(wiq_lib* lib);
/** See wiq_sleep_real_ptr. */
extern KE_API i32 (*wiq_dlsym_real_ptr)(wiq_lib* lib, const char* name, void** sym);

/**
 * The current UTC time, broken down: 0, or -5005 (see wiq_gmtime_real(); also for NULL). Slots are not asked.
 */
KE_API i32 wiq_get_tm(struct tm* out);

/**
 * Milliseconds since midnight of a broken-down time: hours, minutes and seconds, in wrapping 32-bit arithmetic.
 * -7000 for NULL.
 */
KE_API int calc_tm_to_ms(const struct tm* tm);

/**
 * Writes a time of day as "hh:mm:ss.mmm " (with its trailing blank).
 * @param ms  milliseconds
 * @param ns  nanoseconds, added as whole milliseconds; the sum is cut to 32 bits, the hours count within a day
 * @param dst receives 14 bytes, the NUL included
 * @return the number of characters, 13; -7000 if `dst` is NULL
 */
KE_API i32 time_ms_to_string(u64 ms, u64 ns, char* dst);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
