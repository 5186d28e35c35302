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

/** @defgroup status Status codes
 *  Every call that can fail answers with one signed 32-bit number: 0 is success, each kind of failure is
 *  negative. The numbers are part of the interface and never change; there are gaps on purpose.
 *  @{ */

/**
 * The one table of status codes: X(number, name, meaning). KE_STATUS_TABLE makes the constants below,
 * and a tool can make names and texts from it:
 * @code
 * #define ROW(number, name, meaning) case number: return #name;
 * switch (status) { KE_STATUS_TABLE(ROW) }
 * @endcode
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

typedef void (*wiq_malloc_pre_fn)(size_t* size);
typedef void (*wiq_malloc_post_fn)(void** result, size_t* size);
typedef void (*wiq_realloc_pre_fn)(void** ptr, size_t* size);
typedef void (*wiq_realloc_post_fn)(void** result, size_t* size);
typedef void (*wiq_aligned_alloc_fn)(void*** out, size_t* size, size_t* alignment);
typedef void (*wiq_free_fn)(void** ptr);
typedef void (*wiq_track_fn)(void);
/** Told of a failed allocation; receives the size that was asked for, as the hooks left it. */
typedef void (*wiq_alloc_fail_fn)(size_t size);

extern KE_API wiq_malloc_pre_fn wiq_malloc_pre_cb;
extern KE_API wiq_malloc_post_fn wiq_malloc_post_cb;
extern KE_API wiq_realloc_pre_fn wiq_realloc_pre_cb;
extern KE_API wiq_realloc_post_fn wiq_realloc_post_cb;
extern KE_API wiq_aligned_alloc_fn wiq_aligned_alloc_pre_cb;
extern KE_API wiq_aligned_alloc_fn wiq_aligned_alloc_post_cb;
extern KE_API wiq_free_fn wiq_free_cb;
extern KE_API wiq_free_fn wiq_aligned_free_cb;
extern KE_API wiq_track_fn wiq_alloc_track_pause_cb;
extern KE_API wiq_track_fn wiq_alloc_track_resume_cb;

KE_API void* wiq_wrap_malloc(size_t size, bool zero, wiq_alloc_fail_fn fail, wiq_malloc_pre_fn pre,
                             wiq_malloc_post_fn post);
KE_API void* wiq_wrap_realloc(void* ptr, size_t size, wiq_alloc_fail_fn fail,
                              wiq_realloc_pre_fn pre, wiq_realloc_post_fn post);
KE_API char* wiq_wrap_strdup(const char* str, wiq_alloc_fail_fn fail, wiq_malloc_pre_fn pre,
                             wiq_malloc_post_fn post);
KE_API void wiq_wrap_free(void* ptr, wiq_free_fn hook);
KE_API i32 wiq_wrap_aligned_alloc(void** out, size_t size, size_t alignment, wiq_alloc_fail_fn fail,
                                  wiq_aligned_alloc_fn pre, wiq_aligned_alloc_fn post);
KE_API void wiq_wrap_aligned_free(void* ptr, wiq_free_fn hook);
KE_API void* wiq_real_malloc0(size_t size);
KE_API i32 wiq_real_aligned_alloc(void** out, size_t size, size_t alignment);
KE_API void wiq_real_aligned_free(void* ptr);
KE_API void wiq_memleak_begin(void);
KE_API i32 wiq_memleak_balance(void);
KE_API i32 wiq_memleak_count(void);

/** @} */

/** @defgroup platform Platform entry points and time
 *  @{ */

/** A loaded module: libuv's library record (`uv_lib_t`), field for field, owned by the caller. */
typedef struct wiq_lib {
    void* handle; /**< the system's module handle */
    char* errmsg; /**< the last error's text, or NULL */
} wiq_lib;

KE_API void wiq_sleep_real(u32 ms);
KE_API i64 wiq_time_real(i64* t);
KE_API i32 wiq_gmtime_real(const i64* t, struct tm* out);
KE_API i32 wiq_dlopen_real(const char* path, wiq_lib* lib);
KE_API void wiq_dlclose_real(wiq_lib* lib);
KE_API i32 wiq_dlsym_real(wiq_lib* lib, const char* name, void** sym);

extern KE_API void (*wiq_sleep_real_ptr)(u32 ms);
extern KE_API i64 (*wiq_time_real_ptr)(i64* t);
extern KE_API i32 (*wiq_gmtime_real_ptr)(const i64* t, struct tm* out);
extern KE_API i32 (*wiq_dlopen_real_ptr)(const char* path, wiq_lib* lib);
extern KE_API void (*wiq_dlclose_real_ptr)(wiq_lib* lib);
extern KE_API i32 (*wiq_dlsym_real_ptr)(wiq_lib* lib, const char* name, void** sym);

KE_API i32 wiq_get_tm(struct tm* out);
KE_API int calc_tm_to_ms(const struct tm* tm);
KE_API i32 time_ms_to_string(u64 ms, u64 ns, char* dst);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
