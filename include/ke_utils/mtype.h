/**
 * @file mtype.h
 * The tagged value: one record that holds a number, a boolean, a status, a string, a blob, a pointer or a
 * 128-bit number, and knows which. JSON values are in json.h.
 */
#ifndef KE_UTILS_MTYPE_H
#define KE_UTILS_MTYPE_H

#include "ke_utils/text.h"
#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup mtype Tagged values
 *  A setter releases what the value owned before it stores the new contents. It gives 0, and -7000 if the value is
 *  NULL; one that needs memory and has none gives -5000: the old contents are gone then, the type tag is still the
 *  old one, and the value is to be set again before it is read.
 *
 *  A getter converts nothing: it gives 0, false or NULL for a value of another type, and for NULL. The tests give
 *  false for NULL.
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
    WIQ_MTYPE_LONG_BLOB = 2 /**< the payload points at a wiq_mtype_blob record */
};

/** The record of a blob of 65535 bytes or more. */
typedef struct wiq_mtype_blob {
    u64 length; /**< in bytes */
    void* data; /**< the bytes */
} wiq_mtype_blob;

/** A value with its type: a scalar, a text, a blob, a pointer or a status. */
typedef struct wiq_mtype {
    u8 type;      /**< one of enum wiq_mtype_tag */
    u8 flags;     /**< of enum wiq_mtype_flag */
    u16 blob_len; /**< bytes of a blob that has no record of its own */
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
    } payload; /**< the member that belongs to the type */
} wiq_mtype;

/** Makes a new value null. The payload is not touched. NULL does nothing. */
KE_API void wiq_mtype_init(wiq_mtype* value);

/**
 * Releases what the value owns. The type tag stays: set or initialise the value before it is read again.
 * 0, or -7000 for NULL. Finalizing again releases nothing.
 */
KE_API i32 wiq_mtype_finalize(wiq_mtype* value);

/** Makes the value null. */
KE_API i32 wiq_mtype_set_null(wiq_mtype* value);

/** Stores a boolean: any byte that is not 0 is true. */
KE_API i32 wiq_mtype_set_bool(wiq_mtype* value, u8 boolean);

/** Stores a signed 32-bit number. */
KE_API i32 wiq_mtype_set_int32(wiq_mtype* value, i32 number);

/** Stores a signed 64-bit number. */
KE_API i32 wiq_mtype_set_int64(wiq_mtype* value, i64 number);

/** Stores an unsigned 32-bit number. */
KE_API i32 wiq_mtype_set_uint32(wiq_mtype* value, u32 number);

/** Stores an unsigned 64-bit number. */
KE_API i32 wiq_mtype_set_uint64(wiq_mtype* value, u64 number);

/** Stores a 32-bit float. */
KE_API i32 wiq_mtype_set_float(wiq_mtype* value, float number);

/** Stores a 64-bit float. */
KE_API i32 wiq_mtype_set_double(wiq_mtype* value, double number);

/** Stores a status code. */
KE_API i32 wiq_mtype_set_status(wiq_mtype* value, i32 status);

/** Stores an unsigned 128-bit number, in a cell of its own, which needs memory. */
KE_API i32 wiq_mtype_set_uint128(wiq_mtype* value, wiq_uint128 number);

/**
 * Stores a string. With `copy` it may lie in what the value owns, the value's own string for instance; without, it
 * must not, since that is released.
 * @param str  NULL is stored as it is
 * @param copy not 0: a copy that the value owns, which needs memory; 0: the pointer itself, lent by the caller
 */
KE_API i32 wiq_mtype_set_utf8(wiq_mtype* value, const char* str, u8 copy);

/**
 * Stores bytes; from 65535 on in a record of their own, which needs memory. With `copy` they may lie in what the
 * value owns; without, they must not, since that is released.
 * @param data may be NULL
 * @param size bytes; a copy of no bytes is stored as NULL
 * @param copy not 0: the bytes are copied, which needs memory
 * @param own  not 0: the value releases the bytes, copied or not, with free(); 0: never, also not a copy
 */
KE_API i32 wiq_mtype_set_blob(wiq_mtype* value, const void* data, u64 size, u8 copy, u8 own);

/**
 * Stores a pointer; with `own` not 0 the value releases it with free(). It must not be one that the value owns
 * already, since that is released.
 */
KE_API i32 wiq_mtype_set_ptr(wiq_mtype* value, void* ptr, u8 own);

/** The type tag (enum wiq_mtype_tag); 0 for NULL. */
KE_API u8 wiq_mtype_get_type(const wiq_mtype* value);

/** Whether the value is null. */
KE_API bool wiq_mtype_is_null(const wiq_mtype* value);

/** Whether the value is a boolean. */
KE_API bool wiq_mtype_is_bool(const wiq_mtype* value);

/** Whether the value is a signed 32-bit number. */
KE_API bool wiq_mtype_is_int32(const wiq_mtype* value);

/** Whether the value is a signed 64-bit number. */
KE_API bool wiq_mtype_is_int64(const wiq_mtype* value);

/** Whether the value is an unsigned 32-bit number. */
KE_API bool wiq_mtype_is_uint32(const wiq_mtype* value);

/** Whether the value is an unsigned 64-bit number. */
KE_API bool wiq_mtype_is_uint64(const wiq_mtype* value);

/** Whether the value is an unsigned 128-bit number. */
KE_API bool wiq_mtype_is_uint128(const wiq_mtype* value);

/** Whether the value is a 32-bit float. */
KE_API bool wiq_mtype_is_float(const wiq_mtype* value);

/** Whether the value is a 64-bit float. */
KE_API bool wiq_mtype_is_double(const wiq_mtype* value);

/** Whether the value is a string. */
KE_API bool wiq_mtype_is_utf8(const wiq_mtype* value);

/** Whether the value is a blob. */
KE_API bool wiq_mtype_is_blob(const wiq_mtype* value);

/** Whether the value is a pointer. */
KE_API bool wiq_mtype_is_ptr(const wiq_mtype* value);

/** Whether the value is a status code. */
KE_API bool wiq_mtype_is_status(const wiq_mtype* value);

/** Whether the value is a boolean and true. */
KE_API bool wiq_mtype_get_bool(const wiq_mtype* value);

/** The value of a signed 32-bit number, else 0. */
KE_API i32 wiq_mtype_get_int32(const wiq_mtype* value);

/** The value of a signed 64-bit number, else 0. */
KE_API i64 wiq_mtype_get_int64(const wiq_mtype* value);

/** The value of an unsigned 32-bit number, else 0. */
KE_API u32 wiq_mtype_get_uint32(const wiq_mtype* value);

/** The value of an unsigned 64-bit number, else 0. */
KE_API u64 wiq_mtype_get_uint64(const wiq_mtype* value);

/** The value of an unsigned 128-bit number, else 0. */
KE_API wiq_uint128 wiq_mtype_get_uint128(const wiq_mtype* value);

/** The value of a 32-bit float, else 0. */
KE_API float wiq_mtype_get_float(const wiq_mtype* value);

/** The value of a 64-bit float, else 0. */
KE_API double wiq_mtype_get_double(const wiq_mtype* value);

/** The string, lent, else NULL. */
KE_API const char* wiq_mtype_get_utf8(const wiq_mtype* value);

/**
 * The bytes of a blob, lent, else NULL.
 * @param length receives their number, 0 for another type; may be NULL
 */
KE_API const void* wiq_mtype_get_blob(const wiq_mtype* value, u64* length);

/** The pointer, else NULL. */
KE_API void* wiq_mtype_get_ptr(const wiq_mtype* value);

/** The status code, else 0. */
KE_API i32 wiq_mtype_get_status(const wiq_mtype* value);

/**
 * Makes dst a deep copy of src: strings, blobs and 128-bit numbers are copied and owned. An owned pointer is
 * claimed by both. A value copied onto itself stays as it is, status 0. What src holds may be borrowed from dst,
 * unless it is a pointer.
 * @return 0; -7000 for NULL; -5000, and then dst is as after a setter that fails
 */
KE_API i32 wiq_mtype_copy(const wiq_mtype* src, wiq_mtype* dst);

/**
 * Makes dst borrow what src holds. A 128-bit cell is shared, and clearing either releases it: such a copy must not
 * be finalized beside its source. A value that borrows from itself stays as it is, status 0. What src holds must
 * not be borrowed from dst, since that is released.
 * @return 0; -7000 for NULL; -5000 if the record of a long blob cannot be had, and then dst is as after a setter
 *         that fails
 */
KE_API i32 wiq_mtype_copy_ref(const wiq_mtype* src, wiq_mtype* dst);

/**
 * Whether two values have the same type and equal contents; numbers numerically (NaN equals nothing, +0 equals -0),
 * strings and blobs by bytes, pointers by address.
 */
KE_API bool wiq_mtype_equal(const wiq_mtype* a, const wiq_mtype* b);

/** Whether both values are strings and equal byte by byte. */
KE_API bool wiq_mtype_equal_utf8(const wiq_mtype* a, const wiq_mtype* b);

/**
 * Converts a number, or a text that is one, without loss.
 * @param out written on success only
 * @return 0; -7000 for NULL; -7001 for a text out of range; -7002 for a fraction; -7003 for a number that is
 *         negative or too large, a NaN, a text that is no number, or a type that is not converted
 */
KE_API i32 wiq_mtype_to_uint32(const wiq_mtype* value, u32* out);

/** As wiq_mtype_to_uint32() for 64 bits; of a double exactly 2^64 passes and gives 2^63. */
KE_API i32 wiq_mtype_to_uint64(const wiq_mtype* value, u64* out);

/**
 * As wiq_mtype_to_uint32(), and -7001 for a result outside [min, max], which is stored all the same.
 */
KE_API i32 wiq_mtype_to_uint32_ext(const wiq_mtype* value, u32* out, u32 min, u32 max);

/**
 * As wiq_mtype_to_uint64(), and -7001 for a result outside [min, max], which is stored all the same.
 */
KE_API i32 wiq_mtype_to_uint64_ext(const wiq_mtype* value, u64* out, u64 min, u64 max);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
