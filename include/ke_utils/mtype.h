/**
 * @file mtype.h
 * Declares the tagged value: one record that holds a number, a boolean, a status, a string, a blob,
 * a pointer or a 128-bit number, and a tag that tells which. JSON values are in json.h.
 */
#ifndef KE_UTILS_MTYPE_H
#define KE_UTILS_MTYPE_H

#include "ke_utils/text.h"
#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup mtype Tagged values
 *  A setter first releases what the value owned, then stores the new contents. If a setter that
 *  allocates returns WIQ_ERR_NO_MEMORY (-5000), the old contents are gone, but the type tag is
 *  still the old one: the value must be set again before it is read.
 *
 *  A getter converts nothing. It returns 0, false or NULL for a value of another type, and for a
 *  NULL `value`. The tests (wiq_mtype_is_...) return false for NULL.
 *  @{ */

/** The type tags. */
enum wiq_mtype_tag {
    WIQ_MTYPE_NULL = 0,
    WIQ_MTYPE_BOOL = 1,
    WIQ_MTYPE_INT32 = 2,
    WIQ_MTYPE_INT64 = 3,
    WIQ_MTYPE_UINT32 = 4,
    WIQ_MTYPE_UINT64 = 5,
    WIQ_MTYPE_UINT128 = 6,
    WIQ_MTYPE_FLOAT = 7,
    WIQ_MTYPE_DOUBLE = 8,
    WIQ_MTYPE_UTF8 = 9,
    WIQ_MTYPE_BLOB = 10,
    WIQ_MTYPE_PTR = 11,
    WIQ_MTYPE_STATUS = 12
};

/** The bits of wiq_mtype.flags. */
enum wiq_mtype_flag {
    WIQ_MTYPE_OWNED = 1,    /**< the value releases its string, blob data or pointer */
    WIQ_MTYPE_LONG_BLOB = 2 /**< the payload points to a wiq_mtype_blob record */
};

/** The record of a blob of 65535 bytes or more. */
typedef struct wiq_mtype_blob {
    u64 length; /**< length of the blob in bytes */
    void* data; /**< the bytes of the blob */
} wiq_mtype_blob;

/** A value together with its type: a number, a boolean, a status, a string, a blob or a pointer. */
typedef struct wiq_mtype {
    u8 type;      /**< one of enum wiq_mtype_tag */
    u8 flags;     /**< bits of enum wiq_mtype_flag */
    u16 blob_len; /**< length in bytes of a blob that has no record of its own */
    union {
        u8 boolean;
        i32 int32;
        i64 int64;
        u32 uint32;
        u64 uint64;
        wiq_uint128* uint128;
        float float32;
        double float64;
        char* utf8;
        void* blob;
        wiq_mtype_blob* long_blob;
        void* ptr;
        i32 status;
    } payload; /**< the type tells which member is used */
} wiq_mtype;

/** Makes a new value null. The payload is not touched. NULL is ignored. */
KE_API void wiq_mtype_init(wiq_mtype* value);

/**
 * Releases what the value owns.
 *
 * The type tag stays, so the value must be set or initialised before it is read again. Finalizing a
 * value twice is harmless.
 * @param value the value
 * @return 0, or WIQ_ERR_INVALID_ARG (-7000) if `value` is NULL
 */
KE_API i32 wiq_mtype_finalize(wiq_mtype* value);

/**
 * Makes the value null.
 * @param value an initialised value; anything it owned is released
 * @return 0, or WIQ_ERR_INVALID_ARG if `value` is NULL
 */
KE_API i32 wiq_mtype_set_null(wiq_mtype* value);

/**
 * Stores a boolean.
 * @param value   an initialised value; anything it owned is released
 * @param boolean 0 is false, any other byte is true
 * @return 0, or WIQ_ERR_INVALID_ARG if `value` is NULL
 */
KE_API i32 wiq_mtype_set_bool(wiq_mtype* value, u8 boolean);

/**
 * Stores a signed 32-bit number.
 * @param value  an initialised value; anything it owned is released
 * @param number the number
 * @return 0, or WIQ_ERR_INVALID_ARG if `value` is NULL
 */
KE_API i32 wiq_mtype_set_int32(wiq_mtype* value, i32 number);

/**
 * Stores a signed 64-bit number.
 * @param value  an initialised value; anything it owned is released
 * @param number the number
 * @return 0, or WIQ_ERR_INVALID_ARG if `value` is NULL
 */
KE_API i32 wiq_mtype_set_int64(wiq_mtype* value, i64 number);

/**
 * Stores an unsigned 32-bit number.
 * @param value  an initialised value; anything it owned is released
 * @param number the number
 * @return 0, or WIQ_ERR_INVALID_ARG if `value` is NULL
 */
KE_API i32 wiq_mtype_set_uint32(wiq_mtype* value, u32 number);

/**
 * Stores an unsigned 64-bit number.
 * @param value  an initialised value; anything it owned is released
 * @param number the number
 * @return 0, or WIQ_ERR_INVALID_ARG if `value` is NULL
 */
KE_API i32 wiq_mtype_set_uint64(wiq_mtype* value, u64 number);

/**
 * Stores a 32-bit float.
 * @param value  an initialised value; anything it owned is released
 * @param number the number
 * @return 0, or WIQ_ERR_INVALID_ARG if `value` is NULL
 */
KE_API i32 wiq_mtype_set_float(wiq_mtype* value, float number);

/**
 * Stores a 64-bit float.
 * @param value  an initialised value; anything it owned is released
 * @param number the number
 * @return 0, or WIQ_ERR_INVALID_ARG if `value` is NULL
 */
KE_API i32 wiq_mtype_set_double(wiq_mtype* value, double number);

/**
 * Stores a status code.
 * @param value  an initialised value; anything it owned is released
 * @param status any number
 * @return 0, or WIQ_ERR_INVALID_ARG if `value` is NULL
 */
KE_API i32 wiq_mtype_set_status(wiq_mtype* value, i32 status);

/**
 * Stores an unsigned 128-bit number in a block of its own, which the value always owns.
 * @param value  an initialised value; anything it owned is released
 * @param number the number
 * @return 0; WIQ_ERR_INVALID_ARG if `value` is NULL; WIQ_ERR_NO_MEMORY when out of memory, with the
 *         old contents gone
 */
KE_API i32 wiq_mtype_set_uint128(wiq_mtype* value, wiq_uint128 number);

/**
 * Stores a string.
 *
 * With `copy`, the string may be part of what the value owns, for example the value's own string.
 * Without `copy`, it must not be, since what the value owns is released.
 * @param value an initialised value; anything it owned is released
 * @param str   NUL-terminated; NULL is stored as NULL
 * @param copy  nonzero to store a copy, which the value owns; 0 to store the pointer itself, and
 *              the caller still owns the string
 * @return 0; WIQ_ERR_INVALID_ARG if `value` is NULL; WIQ_ERR_NO_MEMORY when out of memory for the
 *         copy, with the old contents gone
 */
KE_API i32 wiq_mtype_set_utf8(wiq_mtype* value, const char* str, u8 copy);

/**
 * Stores bytes. A blob of 65535 bytes or more has a record of its own, which is allocated.
 *
 * With `copy`, the bytes may be part of what the value owns. Without `copy`, they must not be,
 * since what the value owns is released.
 * @param value an initialised value; anything it owned is released
 * @param data  may be NULL
 * @param size  number of bytes; a copy of no bytes is stored as NULL
 * @param copy  nonzero to store a copy, 0 to store the pointer itself
 * @param own   nonzero if the value is to release the bytes with free(), whether they were copied
 *              or not; with 0 it never releases them, not even a copy
 * @return 0; WIQ_ERR_INVALID_ARG if `value` is NULL; WIQ_ERR_NO_MEMORY when out of memory for the
 *         copy or the record, with the old contents gone
 */
KE_API i32 wiq_mtype_set_blob(wiq_mtype* value, const void* data, u64 size, u8 copy, u8 own);

/**
 * Stores a pointer. It must not be a pointer that the value already owns, since that is released.
 * @param value an initialised value; anything it owned is released
 * @param ptr   any pointer; may be NULL
 * @param own   nonzero if the value is to release the pointer with free()
 * @return 0, or WIQ_ERR_INVALID_ARG if `value` is NULL
 */
KE_API i32 wiq_mtype_set_ptr(wiq_mtype* value, void* ptr, u8 own);

/** Returns the type tag (enum wiq_mtype_tag), or 0 for NULL. */
KE_API u8 wiq_mtype_get_type(const wiq_mtype* value);

/** Tells whether the value is null. */
KE_API bool wiq_mtype_is_null(const wiq_mtype* value);

/** Tells whether the value is a boolean. */
KE_API bool wiq_mtype_is_bool(const wiq_mtype* value);

/** Tells whether the value is a signed 32-bit number. */
KE_API bool wiq_mtype_is_int32(const wiq_mtype* value);

/** Tells whether the value is a signed 64-bit number. */
KE_API bool wiq_mtype_is_int64(const wiq_mtype* value);

/** Tells whether the value is an unsigned 32-bit number. */
KE_API bool wiq_mtype_is_uint32(const wiq_mtype* value);

/** Tells whether the value is an unsigned 64-bit number. */
KE_API bool wiq_mtype_is_uint64(const wiq_mtype* value);

/** Tells whether the value is an unsigned 128-bit number. */
KE_API bool wiq_mtype_is_uint128(const wiq_mtype* value);

/** Tells whether the value is a 32-bit float. */
KE_API bool wiq_mtype_is_float(const wiq_mtype* value);

/** Tells whether the value is a 64-bit float. */
KE_API bool wiq_mtype_is_double(const wiq_mtype* value);

/** Tells whether the value is a string. */
KE_API bool wiq_mtype_is_utf8(const wiq_mtype* value);

/** Tells whether the value is a blob. */
KE_API bool wiq_mtype_is_blob(const wiq_mtype* value);

/** Tells whether the value is a pointer. */
KE_API bool wiq_mtype_is_ptr(const wiq_mtype* value);

/** Tells whether the value is a status code. */
KE_API bool wiq_mtype_is_status(const wiq_mtype* value);

/** Tells whether the value is a boolean and true. */
KE_API bool wiq_mtype_get_bool(const wiq_mtype* value);

/** Returns a signed 32-bit number, or 0 if the value is of another type. */
KE_API i32 wiq_mtype_get_int32(const wiq_mtype* value);

/** Returns a signed 64-bit number, or 0 if the value is of another type. */
KE_API i64 wiq_mtype_get_int64(const wiq_mtype* value);

/** Returns an unsigned 32-bit number, or 0 if the value is of another type. */
KE_API u32 wiq_mtype_get_uint32(const wiq_mtype* value);

/** Returns an unsigned 64-bit number, or 0 if the value is of another type. */
KE_API u64 wiq_mtype_get_uint64(const wiq_mtype* value);

/** Returns an unsigned 128-bit number, or 0 if the value is of another type. */
KE_API wiq_uint128 wiq_mtype_get_uint128(const wiq_mtype* value);

/** Returns a 32-bit float, or 0 if the value is of another type. */
KE_API float wiq_mtype_get_float(const wiq_mtype* value);

/** Returns a 64-bit float, or 0 if the value is of another type. */
KE_API double wiq_mtype_get_double(const wiq_mtype* value);

/**
 * Returns the string.
 * @param value the value; may be NULL
 * @return the string, which the value keeps; NULL if the value is of another type
 */
KE_API const char* wiq_mtype_get_utf8(const wiq_mtype* value);

/**
 * Returns the bytes of a blob.
 * @param value  the value; may be NULL
 * @param length receives the number of bytes, 0 if the value is of another type; may be NULL
 * @return the bytes, which the value keeps; NULL if the value is of another type
 */
KE_API const void* wiq_mtype_get_blob(const wiq_mtype* value, u64* length);

/**
 * Returns the pointer.
 * @param value the value; may be NULL
 * @return the pointer, which the value keeps; NULL if the value is of another type
 */
KE_API void* wiq_mtype_get_ptr(const wiq_mtype* value);

/** Returns the status code, or 0 if the value is of another type. */
KE_API i32 wiq_mtype_get_status(const wiq_mtype* value);

/**
 * Makes `dst` a deep copy of `src`.
 *
 * Strings, blobs and 128-bit numbers are copied, and `dst` owns the copies. An owned pointer is
 * then owned by both. Copying a value to itself changes nothing and returns 0. What `src` holds may
 * be borrowed from `dst`, unless it is a pointer.
 * @param src the value to copy
 * @param dst an initialised value; anything it owned is released
 * @return 0; WIQ_ERR_INVALID_ARG if an argument is NULL; WIQ_ERR_NO_MEMORY when out of memory, in
 *         which case `dst` must be set again before it is read, as after a setter that fails
 */
KE_API i32 wiq_mtype_copy(const wiq_mtype* src, wiq_mtype* dst);

/**
 * Makes `dst` borrow what `src` holds.
 *
 * A 128-bit number is shared, and the first of the two values that is changed or finalized releases
 * it; so such a copy must not be finalized in addition to its source. Copying a value to itself
 * changes nothing and returns 0. What `src` holds must not be borrowed from `dst`, since that is
 * released.
 * @param src the value to borrow from
 * @param dst an initialised value; anything it owned is released
 * @return 0; WIQ_ERR_INVALID_ARG if an argument is NULL; WIQ_ERR_NO_MEMORY when out of memory for
 *         the record of a long blob, in which case `dst` must be set again before it is read, as
 *         after a setter that fails
 */
KE_API i32 wiq_mtype_copy_ref(const wiq_mtype* src, wiq_mtype* dst);

/**
 * Tells whether two values have the same type and equal contents.
 *
 * Numbers are compared as numbers (NaN equals nothing, +0 equals -0), strings and blobs by their
 * bytes, pointers by their address.
 * @param a may be NULL
 * @param b may be NULL
 * @return true if they are equal; also false if `a` or `b` is NULL
 */
KE_API bool wiq_mtype_equal(const wiq_mtype* a, const wiq_mtype* b);

/** Tells whether both values are strings and equal byte by byte. */
KE_API bool wiq_mtype_equal_utf8(const wiq_mtype* a, const wiq_mtype* b);

/**
 * Converts a number, or a string that is a number, without loss.
 * @param value the value
 * @param out   receives the number on success only
 * @return 0; WIQ_ERR_INVALID_ARG if an argument is NULL, or the value is a string that is NULL;
 *         WIQ_ERR_RANGE (-7001) for a string that is out of range; WIQ_ERR_NOT_INTEGRAL (-7002) for
 *         a fraction; WIQ_ERR_BAD_FORMAT (-7003) for a number that is negative or too large, for
 *         NaN, for a string that is not a number, and for any other type
 */
KE_API i32 wiq_mtype_to_uint32(const wiq_mtype* value, u32* out);

/**
 * Does what wiq_mtype_to_uint32() does, with 64 bits. A double of exactly 2^64 is accepted and
 * gives 2^63.
 * @param value the value
 * @param out   receives the number on success only
 * @return 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_RANGE, WIQ_ERR_NOT_INTEGRAL or WIQ_ERR_BAD_FORMAT as
 *         wiq_mtype_to_uint32()
 */
KE_API i32 wiq_mtype_to_uint64(const wiq_mtype* value, u64* out);

/**
 * Does what wiq_mtype_to_uint32() does, and tests the result.
 * @param value the value
 * @param out   receives the number on success, and if it is outside [min, max]
 * @param min   the smallest number allowed
 * @param max   the largest number allowed
 * @return 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_RANGE, WIQ_ERR_NOT_INTEGRAL or WIQ_ERR_BAD_FORMAT as
 *         wiq_mtype_to_uint32(); WIQ_ERR_RANGE also for a number outside [min, max]
 */
KE_API i32 wiq_mtype_to_uint32_ext(const wiq_mtype* value, u32* out, u32 min, u32 max);

/**
 * Does what wiq_mtype_to_uint64() does, and tests the result.
 * @param value the value
 * @param out   receives the number on success, and if it is outside [min, max]
 * @param min   the smallest number allowed
 * @param max   the largest number allowed
 * @return 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_RANGE, WIQ_ERR_NOT_INTEGRAL or WIQ_ERR_BAD_FORMAT as
 *         wiq_mtype_to_uint64(); WIQ_ERR_RANGE also for a number outside [min, max]
 */
KE_API i32 wiq_mtype_to_uint64_ext(const wiq_mtype* value, u64* out, u64 min, u64 max);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
