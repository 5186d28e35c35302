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
 *  @{ */

/** Flags of wiq_json_loads() and wiq_json_loadf(). */
enum wiq_json_load_flag { WIQ_JSON_ALLOW_TRAILING = 1, WIQ_JSON_REJECT_DUPLICATES = 2 };

typedef struct wiq_json_load_error {
    i32 status;
    i32 line;
    i32 column;
    i32 position;
} wiq_json_load_error;

KE_API wiq_json_t* wiq_json_loads(const char* text, i32 flags, wiq_json_load_error* err);
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
