/**
 * @file json.h
 * The JSON document model: reference-counted values, objects and arrays, copy and comparison, the parser,
 * visitors and the serializer, "$ref" references and JSON pointers (RFC 6901).
 */
#ifndef KE_UTILS_JSON_H
#define KE_UTILS_JSON_H

#include <stdio.h>

#include "ke_utils/containers.h"
#include "ke_utils/object.h"
#include "ke_utils/text.h"
#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup json_value JSON values
 *  @{ */

/** One node of a document; opaque. */
typedef struct wiq_json wiq_json_t;

KE_API wiq_json_t* wiq_json_null_new(u32* err);
KE_API wiq_json_t* wiq_json_bool_new(bool value, u32* err);
KE_API wiq_json_t* wiq_json_i64_new(i64 value, u32* err);
KE_API wiq_json_t* wiq_json_u64_new(u64 value, u32* err);
KE_API wiq_json_t* wiq_json_u128_new(const wiq_uint128* value, u32* err);
KE_API wiq_json_t* wiq_json_double_new(double value, u32* err);
KE_API wiq_json_t* wiq_json_str_new(const char* text, u32* err);

KE_API i64 wiq_json_i64_get(const wiq_json_t* node);
KE_API u64 wiq_json_u64_get(const wiq_json_t* node);
KE_API wiq_uint128* wiq_json_u128_get(wiq_uint128* out, const wiq_json_t* node);
KE_API double wiq_json_double_get(const wiq_json_t* node);
KE_API const char* wiq_json_str_get(const wiq_json_t* node);

KE_API bool wiq_json_is_null(const wiq_json_t* node);
KE_API bool wiq_json_is_obj(const wiq_json_t* node);
KE_API bool wiq_json_is_array(const wiq_json_t* node);
KE_API bool wiq_json_is_str(const wiq_json_t* node);
KE_API bool wiq_json_is_true(const wiq_json_t* node);
KE_API bool wiq_json_is_false(const wiq_json_t* node);
KE_API bool wiq_json_is_bool(const wiq_json_t* node);
KE_API bool wiq_json_is_int(const wiq_json_t* node);
KE_API bool wiq_json_is_num(const wiq_json_t* node);
KE_API bool wiq_json_is_jref(const wiq_json_t* node);
KE_API bool wiq_json_has_weak_refs(const wiq_json_t* node);
KE_API bool wiq_json_is_i64_ext(const wiq_json_t* node, bool ext);
KE_API bool wiq_json_is_u64_ext(const wiq_json_t* node, bool ext);
KE_API bool wiq_json_is_u128_ext(const wiq_json_t* node, bool ext);
KE_API bool wiq_json_is_double_ext(const wiq_json_t* node, bool ext);
KE_API const char* wiq_json_type_string(const wiq_json_t* node);

KE_API void wiq_json_ref(wiq_json_t* node);
KE_API void wiq_json_unref(wiq_json_t* node);
KE_API void wiq_json_delete_impl(wiq_json_t* node);
KE_API void wiq_json_finalize(wiq_json_t* node);
KE_API i32 wiq_json_parent_index(const wiq_json_t* node);
KE_API const char* wiq_json_parent_key(const wiq_json_t* node);

/** @} */

/** @defgroup json_object JSON objects
 *  @{ */

/** Flag of wiq_json_obj_get_ext() and wiq_json_array_get_ext(). */
enum wiq_json_get_flag {
    WIQ_JSON_FOLLOW_REFS = 1 /**< a reference is replaced by its final target */
};

/** Receives one member; false ends the walk. The key and the child are borrowed. */
typedef bool (*WiqJsonMemberFn)(const char* key, wiq_json_t* child, void* user);

KE_API wiq_json_t* wiq_json_obj_new(i32 capacity, u32* err);
KE_API wiq_json_t* wiq_json_obj_weak_new(i32 capacity, u32* err);
KE_API i32 wiq_json_obj_put_ext(wiq_json_t* obj, const char* key, wiq_json_t* child, u32* err);
KE_API wiq_json_t* wiq_json_obj_put_null(wiq_json_t* obj, const char* key, u32* err);
KE_API wiq_json_t* wiq_json_obj_put_bool(wiq_json_t* obj, const char* key, bool value, u32* err);
KE_API wiq_json_t* wiq_json_obj_put_i64(wiq_json_t* obj, const char* key, i64 value, u32* err);
KE_API wiq_json_t* wiq_json_obj_put_u64(wiq_json_t* obj, const char* key, u64 value, u32* err);
KE_API wiq_json_t* wiq_json_obj_put_u128(wiq_json_t* obj, const char* key, const wiq_uint128* value,
                                         u32* err);
KE_API wiq_json_t* wiq_json_obj_put_double(wiq_json_t* obj, const char* key, double value,
                                           u32* err);
KE_API wiq_json_t* wiq_json_obj_put_str(wiq_json_t* obj, const char* key, const char* text,
                                        u32* err);
KE_API wiq_json_t* wiq_json_obj_put_jref(wiq_json_t* obj, const char* key, const char* target,
                                         u32* err);
KE_API wiq_json_t* wiq_json_obj_put_obj(wiq_json_t* obj, const char* key, u32* err);
KE_API wiq_json_t* wiq_json_obj_put_array(wiq_json_t* obj, const char* key, u32* err);

KE_API wiq_json_t* wiq_json_obj_get_ext(const wiq_json_t* obj, const char* key, u32 flags,
                                        u32* err);
KE_API wiq_json_t* wiq_json_obj_get_obj(const wiq_json_t* obj, const char* key, u32* err);
KE_API wiq_json_t* wiq_json_obj_get_array(const wiq_json_t* obj, const char* key, u32* err);
KE_API const char* wiq_json_obj_get_str(const wiq_json_t* obj, const char* key, u32* err);
KE_API bool wiq_json_obj_get_bool(const wiq_json_t* obj, const char* key, u32* err);
KE_API i64 wiq_json_obj_get_i64(const wiq_json_t* obj, const char* key, u32* err);
KE_API u64 wiq_json_obj_get_u64(const wiq_json_t* obj, const char* key, u32* err);
KE_API wiq_uint128* wiq_json_obj_get_u128(wiq_uint128* out, const wiq_json_t* obj, const char* key,
                                          u32* err);
KE_API double wiq_json_obj_get_double(const wiq_json_t* obj, const char* key, u32* err);
KE_API wiq_json_t* wiq_json_obj_get_jref(const wiq_json_t* obj, const char* key, u32* err);
KE_API wiq_json_t* wiq_json_obj_getd_obj(wiq_json_t* obj, const char* key, u32* err);
KE_API wiq_json_t* wiq_json_obj_getd_array(wiq_json_t* obj, const char* key, u32* err);

KE_API bool wiq_json_obj_has_key(const wiq_json_t* obj, const char* key);
KE_API i32 wiq_json_obj_size(const wiq_json_t* obj);
KE_API i32 wiq_json_obj_keys(const wiq_json_t* obj, wiq_strv* keys);
KE_API i32 wiq_json_obj_foreach(const wiq_json_t* obj, WiqJsonMemberFn callback, void* user);
KE_API i32 wiq_json_obj_remove(wiq_json_t* obj, const char* key);

/** @} */

/** @defgroup json_array JSON arrays
 *  @{ */

/** True keeps the element in the array. */
typedef bool (*WiqJsonKeepFn)(wiq_json_t* elem, void* user);
/** Compares as qsort() asks: each argument is the address of a `wiq_json_t *`. */
typedef int (*WiqJsonCompareFn)(const void* a, const void* b);

KE_API wiq_json_t* wiq_json_array_new(i32 capacity, u32* err);
KE_API wiq_json_t* wiq_json_array_weak_new(i32 capacity, u32* err);
KE_API i32 wiq_json_array_push_ext(wiq_json_t* array, wiq_json_t* child, u32* err);
KE_API wiq_json_t* wiq_json_array_push_bool(wiq_json_t* array, bool value, u32* err);
KE_API wiq_json_t* wiq_json_array_push_i64(wiq_json_t* array, i64 value, u32* err);
KE_API wiq_json_t* wiq_json_array_push_u64(wiq_json_t* array, u64 value, u32* err);
KE_API wiq_json_t* wiq_json_array_push_u128(wiq_json_t* array, const wiq_uint128* value, u32* err);
KE_API wiq_json_t* wiq_json_array_push_double(wiq_json_t* array, double value, u32* err);
KE_API wiq_json_t* wiq_json_array_push_str(wiq_json_t* array, const char* text, u32* err);
KE_API wiq_json_t* wiq_json_array_push_obj(wiq_json_t* array, u32* err);
KE_API wiq_json_t* wiq_json_array_push_array(wiq_json_t* array, u32* err);

KE_API i32 wiq_json_array_size(const wiq_json_t* array);
KE_API wiq_json_t* wiq_json_array_get_ext(const wiq_json_t* array, i32 index, u32 flags, u32* err);
KE_API wiq_json_t* wiq_json_array_swap(wiq_json_t* array, i32 index, wiq_json_t* child, u32* err);
KE_API i32 wiq_json_array_put(wiq_json_t* array, i32 index, wiq_json_t* child);
KE_API i32 wiq_json_array_pop(wiq_json_t* array, i32 count);
KE_API wiq_json_t* wiq_json_array_pop_elem(wiq_json_t* array);
KE_API wiq_json_t* wiq_json_array_find(const wiq_json_t* array, const wiq_json_t* pattern);
KE_API wiq_json_t* wiq_json_array_find_str(const wiq_json_t* array, const char* text);
KE_API i32 wiq_json_array_filter(wiq_json_t* array, WiqJsonKeepFn keep, void* user);
KE_API i32 wiq_json_array_sort(wiq_json_t* array, WiqJsonCompareFn compare);

/** @} */

/** @defgroup json_tree Copy, comparison, subsets, moving nodes
 *  @{ */

/** Flags of wiq_json_subset(); all four together mean equality. */
enum wiq_json_subset_flag {
    WIQ_JSON_SUBSET_CONTIGUOUS = 1,
    WIQ_JSON_SUBSET_PREFIX = 2,
    WIQ_JSON_SUBSET_SAME_LENGTH = 4,
    WIQ_JSON_SUBSET_SAME_SIZE = 8
};

KE_API wiq_json_t* wiq_json_copy(const wiq_json_t* node, u32* err);
KE_API bool wiq_json_equal(const wiq_json_t* a, const wiq_json_t* b);
KE_API bool wiq_json_subset(const wiq_json_t* a, const wiq_json_t* b, u32 flags);
KE_API i32 wiq_json_make_orphan(wiq_json_t* node);
KE_API i32 wiq_json_make_orphan_ex(wiq_json_t* node, u32* err);
KE_API i32 wiq_json_swap_child(wiq_json_t* node, wiq_json_t* replacement);

/** @} */

/** @defgroup json_parser JSON parser
 *  Reads one JSON text (RFC 8259) into a tree of values, from a string or from a stream.
 *
 *  What becomes of the text:
 *
 *  | text                                   | value                                                    |
 *  |----------------------------------------|----------------------------------------------------------|
 *  | an integer from -2^63 to 2^63 - 1      | signed 64-bit                                            |
 *  | any other integer                      | unsigned 128-bit, modulo 2^128: `18446744073709551615`   |
 *  |                                        | is that number, `-9223372036854775809` is 2^128 less     |
 *  |                                        | 9223372036854775809, and 2^128 is 0                      |
 *  | a number with a fraction or exponent   | double, correctly rounded whatever the locale; too large |
 *  |                                        | a magnitude is an infinity, too small a one a zero       |
 *  | `{"$ref": "text"}`, nothing else in it | a reference to "text" (see wiq_json_jref_new())          |
 *  | any other object                       | object; of equal keys the last member stays, unless      |
 *  |                                        | ::WIQ_JSON_REJECT_DUPLICATES is given                    |
 *
 *  Stricter than RFC 8259 in one thing: the text is ASCII. Any other character is written as a `\u` escape
 *  (`\u00e9`, `\ud83d\ude00`) and becomes UTF-8 in the value; written raw, valid UTF-8 or not, it is a
 *  failure. The serializer writes such characters raw, so its output can be read back only where it has
 *  none. `\u0000` and unpaired surrogates are failures too: no string holds a NUL. Any value may stand
 *  alone; there are no comments, no trailing commas, no other words than `true`, `false` and `null`.
 *
 *  Nesting has no limit but memory: nothing recurses, however small the thread's stack.
 *
 *  Threads: a load touches nothing but its own arguments, so loads may run at the same time on different
 *  records and streams. A stream stays locked for its load.
 *
 *  @code
 *  wiq_json_load_error err;
 *  wiq_json_t* report = wiq_json_loads(text, WIQ_JSON_REJECT_DUPLICATES, &err);
 *  if (report == NULL) {
 *      fprintf(stderr, "line %d, column %d: status %d\n", err.line, err.column, err.status);
 *      return 1;
 *  }
 *  // ...
 *  wiq_json_unref(report);
 *  @endcode
 *  @{ */

/** Flags of wiq_json_loads() and wiq_json_loadf(), to be combined with `|`; other bits mean nothing. */
enum wiq_json_load_flag {
    /**
     * Reads one value and stops: what follows it is not looked at, except for the one character behind a
     * number or a word that shows where that ends. wiq_json_load_error::position is the end of the value,
     * so that the next one can be read from there.
     */
    WIQ_JSON_ALLOW_TRAILING = 1,
    /** A key that the same object already has is a failure: -1047 (::WIQ_ERR_JSON_DUPLICATE_KEY). */
    WIQ_JSON_REJECT_DUPLICATES = 2
};

/**
 * How a load ended. A load first sets status 0, line 1, column 0 and position 0, whatever the record held;
 * unlike elsewhere, an old status in it does not keep the load from happening. Success then writes
 * `position` only; a failure writes all four where it was found.
 *
 * The character that made the failure evident has been consumed, so that its own place is told: in `[1,]`
 * it is column 4. Only the one behind a number or a word does not count: `[nul]` fails at column 4.
 *
 * | status       | meaning                                                                              |
 * |--------------|--------------------------------------------------------------------------------------|
 * | -1040        | ::WIQ_ERR_JSON_TRAILING_DATA: something, be it readable or not, follows the value    |
 * | -1041        | ::WIQ_ERR_JSON_UNEXPECTED_END: the text ends inside an array or object where a comma |
 * |              | or the closing bracket (or an array's first or next element, or an object's first    |
 * |              | key) is due                                                                          |
 * | -1045        | ::WIQ_ERR_JSON_UNEXPECTED_TOKEN: something stands, or the text ends, where something |
 * |              | else is due; also an empty text                                                      |
 * | -1046        | ::WIQ_ERR_JSON_BAD_TOKEN: a value is due, and what stands there cannot be read       |
 * | -1047        | ::WIQ_ERR_JSON_DUPLICATE_KEY: see ::WIQ_JSON_REJECT_DUPLICATES                       |
 * | -5000        | ::WIQ_ERR_NO_MEMORY                                                                  |
 * | -7000        | ::WIQ_ERR_INVALID_ARG: the text or stream is NULL                                    |
 *
 * Only where the text's first token cannot be read does the status tell why; inside an array or object it
 * is -1046 where a value is due, and -1045 where a key, colon, comma or bracket is:
 *
 * | status       | what is wrong with the first token                                                   |
 * |--------------|--------------------------------------------------------------------------------------|
 * | -1041        | ::WIQ_ERR_JSON_UNEXPECTED_END: the text ends inside a string                         |
 * | -1042        | ::WIQ_ERR_JSON_CONTROL_CHAR: a character below 0x20 in a string                      |
 * | -1043        | ::WIQ_ERR_JSON_BAD_ESCAPE: the form of an escape                                     |
 * | -1044        | ::WIQ_ERR_JSON_BAD_NUMBER: the form of a number, such as `01`, `-`, `1.`, `1e`       |
 * | -1046        | ::WIQ_ERR_JSON_BAD_TOKEN: a character that begins no token, or another word          |
 * | -1049        | ::WIQ_ERR_JSON_BAD_UTF8: no valid UTF-8                                              |
 * | -1050        | ::WIQ_ERR_JSON_BAD_UNICODE_ESCAPE: `\u0000` or an unpaired surrogate                 |
 * | -128 to -1   | a character beyond ASCII, raw: its first byte as a signed value (-61 for U+00E9)     |
 * | -6001, -7003 | ::WIQ_ERR_TRAILING_CHARS, ::WIQ_ERR_BAD_FORMAT: such a character right behind a      |
 * |              | number: a signed 64-bit one, or any other                                            |
 */
typedef struct wiq_json_load_error {
    i32 status;   /**< 0, or what is wrong */
    i32 line;     /**< from 1; only line feeds count */
    i32 column;   /**< characters consumed since the last line feed: the first one is column 1 */
    i32 position; /**< bytes consumed */
} wiq_json_load_error;

/**
 * Parses a string.
 * @param text  ends at its first NUL; NULL gives -7000. Not needed any more when the call returns.
 * @param flags of wiq_json_load_flag; 0 for none
 * @param err   receives how the load ended (see there for every status); may be NULL
 * @return a new tree, of which the caller owns one reference (wiq_json_unref() releases it); NULL on
 *         failure, with everything read until then released
 */
KE_API wiq_json_t* wiq_json_loads(const char* text, i32 flags, wiq_json_load_error* err);

/**
 * Parses what an open stream holds from where it stands. Line, column and position count from there.
 * A NUL is a character like any other, which begins no token; a NUL right behind a number or a word is
 * read with it and otherwise ignored.
 * @param fp    open for reading; neither rewound nor closed. NULL gives -7000. A read error counts as the
 *              end of the text.
 * @param flags of wiq_json_load_flag; 0 for none. With ::WIQ_JSON_ALLOW_TRAILING nothing is read behind
 *              the closing bracket or quote of the value, and one character behind a number or a word.
 *              Without it a successful load reads to the end.
 * @param err   receives how the load ended (see there for every status); may be NULL
 * @return a new tree, of which the caller owns one reference (wiq_json_unref() releases it); NULL on
 *         failure, with everything read until then released; the stream then stands behind what was read
 */
KE_API wiq_json_t* wiq_json_loadf(FILE* fp, i32 flags, wiq_json_load_error* err);

/** @} */

/** @defgroup json_visitor JSON visitors
 *  @{ */

/** An instance of a visitor; WiqJsonVisitor adds no fields to the object header. */
typedef struct WiqJsonVisitor {
    WiqObject object;
} WiqJsonVisitor;

/** The class record of WiqJsonVisitor. Every slot returns 0 to go on; any other status ends the walk. */
typedef struct WiqJsonVisitorClass {
    WiqClass base;
    i32 (*visit)(WiqJsonVisitor* self, wiq_json_t* node);
    i32 (*visit_object)(WiqJsonVisitor* self, wiq_json_t* obj);
    i32 (*visit_array)(WiqJsonVisitor* self, wiq_json_t* array);
    i32 (*visit_string)(WiqJsonVisitor* self, wiq_json_t* node, const char* text);
    i32 (*visit_i64)(WiqJsonVisitor* self, wiq_json_t* node, i64 value);
    i32 (*visit_u64)(WiqJsonVisitor* self, wiq_json_t* node, u64 value);
    i32 (*visit_u128)(WiqJsonVisitor* self, wiq_json_t* node, const wiq_uint128* value);
    i32 (*visit_double)(WiqJsonVisitor* self, wiq_json_t* node, double value);
    i32 (*visit_ref)(WiqJsonVisitor* self, wiq_json_t* node, const char* uri);
    i32 (*visit_bool)(WiqJsonVisitor* self, wiq_json_t* node, bool value);
    i32 (*visit_null)(WiqJsonVisitor* self, wiq_json_t* node);
    i32 (*object_begin)(WiqJsonVisitor* self, wiq_json_t* obj);
    i32 (*object_end)(WiqJsonVisitor* self, wiq_json_t* obj);
    i32 (*object_member)(WiqJsonVisitor* self, wiq_json_t* obj, const char* key, wiq_json_t* value,
                         bool first);
    i32 (*object_keys)(WiqJsonVisitor* self, wiq_json_t* obj, wiq_strv* keys);
    i32 (*array_begin)(WiqJsonVisitor* self, wiq_json_t* array);
    i32 (*array_end)(WiqJsonVisitor* self, wiq_json_t* array);
    i32 (*array_element)(WiqJsonVisitor* self, wiq_json_t* array, i32 index, wiq_json_t* elem);
} WiqJsonVisitorClass;

extern KE_API WiqType WiqJsonVisitorType;

/** @} */

/** @defgroup json_dump JSON serializer
 *  @{ */

/** Flags of the dump functions. */
enum wiq_json_dump_flag {
    WIQ_JSON_DUMP_U128_AS_OBJECT = 2,
    WIQ_JSON_DUMP_SORT_KEYS = 4,
    WIQ_JSON_DUMP_PRETTY = 8
};

KE_API i32 wiq_json_sdump(wiq_json_t* node, char** out, u32 flags);
KE_API i32 wiq_json_sdump_ext(wiq_json_t* node, wiq_strbuf* buf, u32 flags, u32 indent);
KE_API i32 wiq_json_fdump(wiq_json_t* node, FILE* fp, u32 flags, u32 indent);
KE_API char* wiq_json_escape_str(const char* text);
KE_API i32 wiq_json_escape_str_ext(const char* text, wiq_strbuf* buf);

/** @} */

/** @defgroup json_ref JSON references
 *  @{ */

KE_API wiq_json_t* wiq_json_jref_new(const char* uri, u32* err);
KE_API const char* wiq_json_jref_uri(const wiq_json_t* node);
KE_API wiq_json_t* wiq_json_jref_resolve(const wiq_json_t* node, u32* err);
KE_API wiq_json_t* wiq_json_jref_deref(wiq_json_t* node, u32* err);
KE_API i32 wiq_json_jref_expand(wiq_json_t* root);

/** @} */

/** @defgroup json_ptr JSON pointer
 *  @{ */

KE_API wiq_json_t* wiq_json_ptr_get(wiq_json_t* root, const char* ptr, u32* err,
                                    char** fail_prefix);
KE_API i32 wiq_json_ptr_put(wiq_json_t* root, const char* ptr, wiq_json_t* value);
KE_API wiq_json_t* wiq_json_ptr_put_obj(wiq_json_t* root, const char* ptr, u32* err);
KE_API wiq_json_t* wiq_json_ptr_put_array(wiq_json_t* root, const char* ptr, u32* err);
KE_API wiq_json_t* wiq_json_ptr_put_bool(wiq_json_t* root, const char* ptr, bool value, u32* err);
KE_API wiq_json_t* wiq_json_ptr_put_double(wiq_json_t* root, const char* ptr, double value,
                                           u32* err);
KE_API wiq_json_t* wiq_json_ptr_put_i64(wiq_json_t* root, const char* ptr, i64 value, u32* err);
KE_API wiq_json_t* wiq_json_ptr_put_u64(wiq_json_t* root, const char* ptr, u64 value, u32* err);
KE_API wiq_json_t* wiq_json_ptr_put_u128(wiq_json_t* root, const char* ptr,
                                         const wiq_uint128* value, u32* err);
KE_API wiq_json_t* wiq_json_ptr_put_str(wiq_json_t* root, const char* ptr, const char* text,
                                        u32* err);
KE_API wiq_json_t* wiq_json_ptr_put_jref(wiq_json_t* root, const char* ptr, const char* uri,
                                         u32* err);
KE_API i32 wiq_json_ptr(const wiq_json_t* node, char** out);
KE_API i32 wiq_json_ptr_ext(const wiq_json_t* node, wiq_strbuf* buf);
KE_API i32 wiq_json_ptr_build_obj_ext(const wiq_json_t* obj, const char* key, wiq_strbuf* buf);
KE_API i32 wiq_json_ptr_build_array_ext(const wiq_json_t* array, wiq_strbuf* buf);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
