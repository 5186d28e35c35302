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
 *  One node of a document, of one of eleven kinds. Numbers keep the kind in which they were made.
 *
 *  | tag  | kind                      | made by                                              |
 *  |------|---------------------------|------------------------------------------------------|
 *  | 0    | null                      | wiq_json_null_new()                                  |
 *  | 1    | object                    | wiq_json_obj_new(), wiq_json_obj_weak_new()          |
 *  | 2    | array                     | wiq_json_array_new(), wiq_json_array_weak_new()      |
 *  | 3    | signed 64-bit integer     | wiq_json_i64_new()                                   |
 *  | 4    | unsigned 64-bit integer   | wiq_json_u64_new()                                   |
 *  | 5    | unsigned 128-bit integer  | wiq_json_u128_new()                                  |
 *  | 6    | double (IEEE 754 binary64)| wiq_json_double_new()                                |
 *  | 7    | string                    | wiq_json_str_new()                                   |
 *  | 8, 9 | true, false               | wiq_json_bool_new()                                  |
 *  | 10   | reference (`$ref`)        | wiq_json_jref_new()                                  |
 *
 *  Counts and parents. A new node has a reference count of 0 and no parent: it is free-standing. A strong
 *  container takes one reference to each child and becomes its parent; a node has at most one parent. A
 *  weak container takes a reference too, but leaves the parent alone, so that it can list nodes of another
 *  tree. wiq_json_unref() never frees a node that has a parent; a container that lets go of a child stops
 *  being its parent first, so that the child dies with its last reference, or lives on free-standing.
 *
 *  A node in memory begins with its tag (u16), its flags (u8; 2 marks a weak container), its count (i32),
 *  its parent, and its place there (a u32 index or the key that the parent holds).
 *
 *  Threads: the count is atomic, so threads may hold and drop references to one node. Threads may read one
 *  tree at the same time (getters, pointers, references, walks, dumps, copies, comparisons) as long as none
 *  changes it. All else, the fall of a child's count to 0 included, belongs to one thread at a time.
 *
 *  No depth of nesting can overflow the stack: releasing, copying, comparing and searching do not recurse.
 *
 *  Callbacks: what a call was given must stay alive until the call returns. A callback or slot that takes it
 *  out of its tree, or gives up the last reference to it or to the tree around it, holds a reference of its
 *  own until then. What else a callback may change is said where its type is.
 *  @{ */

/** One node of a document; opaque. */
typedef struct wiq_json wiq_json_t;

/**
 * Makes a null.
 * @param err  chaining status, may be NULL: -5000 without memory
 * @return a free-standing node; NULL on failure
 */
KE_API wiq_json_t* wiq_json_null_new(u32* err);
/** Makes a true or a false; otherwise as wiq_json_null_new(). */
KE_API wiq_json_t* wiq_json_bool_new(bool value, u32* err);
/** Makes a signed 64-bit integer; otherwise as wiq_json_null_new(). */
KE_API wiq_json_t* wiq_json_i64_new(i64 value, u32* err);
/** Makes an unsigned 64-bit integer; otherwise as wiq_json_null_new(). */
KE_API wiq_json_t* wiq_json_u64_new(u64 value, u32* err);
/** Makes an unsigned 128-bit integer, a copy of `*value`; -7000 if that is NULL. Otherwise as
 *  wiq_json_null_new(). */
KE_API wiq_json_t* wiq_json_u128_new(const wiq_uint128* value, u32* err);
/** Makes a double; NaN and infinities are values like others. Otherwise as wiq_json_null_new(). */
KE_API wiq_json_t* wiq_json_double_new(double value, u32* err);
/**
 * Makes a string with a copy of `text`.
 * @param text  UTF-8, not checked; NULL is -7000
 * @param err   chaining status, may be NULL: -5000 if there is no memory for the node itself
 * @return a free-standing node; NULL on failure. If there is memory for the node but not for the text, the
 *         node is returned with status 0 and has no text: who cares tests wiq_json_str_get() for NULL.
 */
KE_API wiq_json_t* wiq_json_str_new(const char* text, u32* err);

/**
 * The number as a signed 64-bit integer: unsigned kinds give their low 64 bits, reinterpreted; a double is
 * truncated towards zero, and gives -2^63 if that does not fit or it is NaN; what is no number gives 0.
 * Ask wiq_json_is_i64_ext() first where loss matters.
 * @param node  not NULL
 */
KE_API i64 wiq_json_i64_get(const wiq_json_t* node);
/** The number as an unsigned 64-bit integer: a signed one gives its bits, a 128-bit one its low half, a
 *  double is truncated towards zero (a negative one as a signed number); what is no number gives 0.
 *  @param node  not NULL */
KE_API u64 wiq_json_u64_get(const wiq_json_t* node);
/**
 * The number as an unsigned 128-bit integer: the upper half is 0 but for a 128-bit value (a negative signed
 * integer is not sign-extended), the lower half as wiq_json_u64_get() gives it.
 * @param out   receives the value, not NULL
 * @param node  not NULL
 * @return `out`
 */
KE_API wiq_uint128* wiq_json_u128_get(wiq_uint128* out, const wiq_json_t* node);
/** The number as a double; of a 128-bit integer only the low half counts; what is no number gives 0.0.
 *  @param node  not NULL */
KE_API double wiq_json_double_get(const wiq_json_t* node);
/** The text of a string or a reference, borrowed; NULL if it found no memory when it was made. The node
 *  must be of one of these kinds: this is not tested. */
KE_API const char* wiq_json_str_get(const wiq_json_t* node);

/** Whether the node is a null. This and all other questions are answered false for NULL. */
KE_API bool wiq_json_is_null(const wiq_json_t* node);
/** Whether the node is an object, strong or weak. */
KE_API bool wiq_json_is_obj(const wiq_json_t* node);
/** Whether the node is an array, strong or weak. */
KE_API bool wiq_json_is_array(const wiq_json_t* node);
/** Whether the node is a string. */
KE_API bool wiq_json_is_str(const wiq_json_t* node);
/** Whether the node is true. */
KE_API bool wiq_json_is_true(const wiq_json_t* node);
/** Whether the node is false; not whether it is not true. */
KE_API bool wiq_json_is_false(const wiq_json_t* node);
/** Whether the node is true or false. */
KE_API bool wiq_json_is_bool(const wiq_json_t* node);
/** Whether the node is an integer of any width; a double never is one. */
KE_API bool wiq_json_is_int(const wiq_json_t* node);
/** Whether the node is a number of any kind. */
KE_API bool wiq_json_is_num(const wiq_json_t* node);
/** Whether the node is a reference. */
KE_API bool wiq_json_is_jref(const wiq_json_t* node);
/** Whether the node is a weak container. */
KE_API bool wiq_json_has_weak_refs(const wiq_json_t* node);

/**
 * Whether the node is a signed 64-bit integer or, with `ext`, a number that wiq_json_i64_get() reads without
 * loss: an integer of the range, or a whole double from -2^63 up to and including 2^63. (The upper bound is
 * compared as a double, and is let in although it does not fit.)
 */
KE_API bool wiq_json_is_i64_ext(const wiq_json_t* node, bool ext);
/** The same for wiq_json_u64_get(): an integer of the range, or a whole double from 0 up to and including
 *  2^64. */
KE_API bool wiq_json_is_u64_ext(const wiq_json_t* node, bool ext);
/** The same for wiq_json_u128_get(): any integer that is not negative, or a whole double from 0 up to and
 *  including 2^64. */
KE_API bool wiq_json_is_u128_ext(const wiq_json_t* node, bool ext);
/** The same for wiq_json_double_get(): a double, or an integer of at most 2^53 in magnitude. */
KE_API bool wiq_json_is_double_ext(const wiq_json_t* node, bool ext);

/** The name of the node's kind, a constant: "null", "object", "array", "integer" (all three), "number" (a
 *  double), "string", "boolean", "reference"; "<unknown>" for a tag above 10, "<none>" for NULL. */
KE_API const char* wiq_json_type_string(const wiq_json_t* node);

/** Takes a reference. NULL is ignored. Any thread. The nodes below the root of a parsed or copied document lie
 *  in chunks: a node that is kept after its document is released keeps at most 16 KB alive, or itself if it is
 *  larger. The root of a document is released without a visit to the other nodes if the document is unchanged
 *  and no other node was referenced. */
KE_API void wiq_json_ref(wiq_json_t* node);
/**
 * Gives a reference up. If the count falls to 0 or below, a free-standing node is destroyed with all that
 * only it holds, while a node that has a parent gets the count 1, its parent's own. So the maker of a node
 * may unref it after attaching it. NULL is ignored. Any thread, as long as no other changes the tree.
 */
KE_API void wiq_json_unref(wiq_json_t* node);
/** Destroys a node whatever its count is and whoever else holds it. Its parent, if it has one, is not told.
 *  NULL is ignored. */
KE_API void wiq_json_delete_impl(wiq_json_t* node);
/** Releases all that a node owns, and leaves the node: to be passed to wiq_json_delete_impl(), or to free() if
 *  one of the constructors above made it or it is the root that the parser or wiq_json_copy() returned, and to nothing
 *  else: other nodes share blocks with members and with each other. NULL is ignored. */
KE_API void wiq_json_finalize(wiq_json_t* node);
/** The node's index in its parent array, as wiq_json_array_swap() was given it if that put it there; -1 for
 *  NULL, without a parent, and in an object. */
KE_API i32 wiq_json_parent_index(const wiq_json_t* node);
/** The node's key in its parent object, borrowed from the object; NULL for NULL, without a parent, and in an
 *  array. */
KE_API const char* wiq_json_parent_key(const wiq_json_t* node);

/** @} */

/** @defgroup json_object JSON objects
 *  Members by key, in a hash map: their order is the order of a wiq_map() with the same history and
 *  wiq_hash_str(), not that of insertion. Keys are copied; byte-wise equal keys are the same.
 *
 *  Unlike a wiq_map(), an object stays fast when its keys are chosen so that all have one hash: members of a long
 *  chain are also found through an index, which takes up to 26 bytes a bucket. If there is no memory for it, the
 *  chain is searched member by member; no call fails for that.
 *
 *  Every `err` here chains. Getters lend; see wiq_json_ref() to keep what they return.
 *  @{ */

/** Flag of wiq_json_obj_get_ext() and wiq_json_array_get_ext(). */
enum wiq_json_get_flag {
    WIQ_JSON_FOLLOW_REFS = 1 /**< a reference is replaced by its final target */
};

/** Receives one member; false ends the walk. The key and the child are borrowed. The callback must not add
 *  members to the object or remove any. It may replace the value of any member, this one included; the walk
 *  then meets the new one. A key stays valid as long as its member is in the object, a value that was replaced
 *  as long as somebody refers to it. */
typedef bool (*WiqJsonMemberFn)(const char* key, wiq_json_t* child, void* user);

/**
 * Makes an empty strong object.
 * @param capacity  number of members to expect, from 0 up; room for them is made at once
 * @param err       chaining status, may be NULL: -7000 for a negative capacity, -5000 without memory
 * @return a free-standing node; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_new(i32 capacity, u32* err);
/** Makes an empty weak object: it refers to nodes without becoming their parent. Otherwise as
 *  wiq_json_obj_new(). */
KE_API wiq_json_t* wiq_json_obj_weak_new(i32 capacity, u32* err);
/**
 * Puts a child under a key. A child that was there is released: destroyed, unless somebody else refers to
 * it. The object adds one reference; the caller keeps its own, if it has any.
 * @param obj    strong or weak object
 * @param key    copied if it is new, below 2 GiB
 * @param child  for a strong object, a free-standing node
 * @param err    chaining status, may be NULL
 * @return the status, also stored in `err`: -7000 if `obj` is no object, if `key` or `child` is NULL, or if a
 *         strong object is given a child that has a parent or that is the object itself or one of the
 *         containers around it; -5000 without memory, and for a new key that is too long. On failure object
 *         and child are as they were, the child's count included. Replacing a child needs no memory.
 */
KE_API i32 wiq_json_obj_put_ext(wiq_json_t* obj, const char* key, wiq_json_t* child, u32* err);
/**
 * Makes a null and puts it under a key with wiq_json_obj_put_ext().
 * @return the new node, borrowed from the object; NULL on failure, with the status of the constructor or of
 *         wiq_json_obj_put_ext() in `err`, and nothing left behind
 */
KE_API wiq_json_t* wiq_json_obj_put_null(wiq_json_t* obj, const char* key, u32* err);
/** Puts a new true or false; otherwise as wiq_json_obj_put_null(). */
KE_API wiq_json_t* wiq_json_obj_put_bool(wiq_json_t* obj, const char* key, bool value, u32* err);
/** Puts a new signed 64-bit integer; otherwise as wiq_json_obj_put_null(). */
KE_API wiq_json_t* wiq_json_obj_put_i64(wiq_json_t* obj, const char* key, i64 value, u32* err);
/** Puts a new unsigned 64-bit integer; otherwise as wiq_json_obj_put_null(). */
KE_API wiq_json_t* wiq_json_obj_put_u64(wiq_json_t* obj, const char* key, u64 value, u32* err);
/** Puts a new unsigned 128-bit integer, a copy of `*value` (-7000 if NULL); otherwise as
 *  wiq_json_obj_put_null(). */
KE_API wiq_json_t* wiq_json_obj_put_u128(wiq_json_t* obj, const char* key, const wiq_uint128* value,
                                         u32* err);
/** Puts a new double; otherwise as wiq_json_obj_put_null(). */
KE_API wiq_json_t* wiq_json_obj_put_double(wiq_json_t* obj, const char* key, double value,
                                           u32* err);
/** Puts a new string, a copy of `text` (-7000 if NULL; see wiq_json_str_new() for a lack of memory);
 *  otherwise as wiq_json_obj_put_null(). */
KE_API wiq_json_t* wiq_json_obj_put_str(wiq_json_t* obj, const char* key, const char* text,
                                        u32* err);
/** Puts a new reference, a copy of `target` (-7000 if NULL; see wiq_json_jref_new()); otherwise as
 *  wiq_json_obj_put_null(). */
KE_API wiq_json_t* wiq_json_obj_put_jref(wiq_json_t* obj, const char* key, const char* target,
                                         u32* err);
/** Puts a new empty strong object; otherwise as wiq_json_obj_put_null(). */
KE_API wiq_json_t* wiq_json_obj_put_obj(wiq_json_t* obj, const char* key, u32* err);
/** Puts a new empty strong array; otherwise as wiq_json_obj_put_null(). */
KE_API wiq_json_t* wiq_json_obj_put_array(wiq_json_t* obj, const char* key, u32* err);

/**
 * Looks a key up, whatever kind its value is of.
 * @param flags  ::WIQ_JSON_FOLLOW_REFS, or 0 for a reference as it is; other bits mean nothing
 * @param err    chaining status, may be NULL: -7000 if `obj` is no object or `key` is NULL; -1037 if the key
 *               is absent; what wiq_json_jref_deref() says where a reference is followed
 * @return the value, borrowed; NULL on failure, but where a reference broke off with a node in hand, that
 */
KE_API wiq_json_t* wiq_json_obj_get_ext(const wiq_json_t* obj, const char* key, u32 flags,
                                        u32* err);
/**
 * Looks up an object under a key, following references.
 * @param err  chaining status, may be NULL: as wiq_json_obj_get_ext(), and -7018 for a value of another kind
 * @return the object, borrowed; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_get_obj(const wiq_json_t* obj, const char* key, u32* err);
/** Looks up an array; otherwise as wiq_json_obj_get_obj(). */
KE_API wiq_json_t* wiq_json_obj_get_array(const wiq_json_t* obj, const char* key, u32* err);
/** Looks up a string and returns its text, borrowed; otherwise as wiq_json_obj_get_obj(). */
KE_API const char* wiq_json_obj_get_str(const wiq_json_t* obj, const char* key, u32* err);
/** Looks up a true or false and returns which; false on failure. Otherwise as wiq_json_obj_get_obj(). */
KE_API bool wiq_json_obj_get_bool(const wiq_json_t* obj, const char* key, u32* err);
/** Looks up a number for which wiq_json_is_i64_ext() with `ext` is true, and returns it; 0 on failure.
 *  Otherwise as wiq_json_obj_get_obj(). */
KE_API i64 wiq_json_obj_get_i64(const wiq_json_t* obj, const char* key, u32* err);
/** The same with wiq_json_is_u64_ext(). */
KE_API u64 wiq_json_obj_get_u64(const wiq_json_t* obj, const char* key, u32* err);
/** The same with wiq_json_is_u128_ext(). The value is stored in `*out` (not NULL), 0 on failure and after an
 *  earlier one too; returns `out`. */
KE_API wiq_uint128* wiq_json_obj_get_u128(wiq_uint128* out, const wiq_json_t* obj, const char* key,
                                          u32* err);
/** The same with wiq_json_is_double_ext(). */
KE_API double wiq_json_obj_get_double(const wiq_json_t* obj, const char* key, u32* err);
/** Looks up a reference, which is not followed; otherwise as wiq_json_obj_get_obj(). */
KE_API wiq_json_t* wiq_json_obj_get_jref(const wiq_json_t* obj, const char* key, u32* err);
/**
 * Looks up an object as wiq_json_obj_get_obj() does, and puts a new empty one there if the key is absent.
 * @param err  chaining status, may be NULL: -5000 without memory; -7018 for a value of another kind; a
 *             reference that leads nowhere is that failure (-1037, -1052 ...), and stays as it is
 * @return the object, borrowed; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_getd_obj(wiq_json_t* obj, const char* key, u32* err);
/** The same for an array. */
KE_API wiq_json_t* wiq_json_obj_getd_array(wiq_json_t* obj, const char* key, u32* err);

/** Whether the object has a key; false too if `obj` is no object or the key is NULL. */
KE_API bool wiq_json_obj_has_key(const wiq_json_t* obj, const char* key);
/** The number of members; -7000 if `obj` is no object. */
KE_API i32 wiq_json_obj_size(const wiq_json_t* obj);
/**
 * Appends a copy of every key to a string vector, in the object's order.
 * @param keys  an initialised vector; what is in it stays
 * @return the number of members. An empty object gives 0 and leaves the vector untouched. -7000 if `obj` is
 *         no object or `keys` is NULL; -5000 without memory, with the vector's strings as they were.
 */
KE_API i32 wiq_json_obj_keys(const wiq_json_t* obj, wiq_strv* keys);
/** Calls back for every member, in the object's order, until the callback returns false. 0, whether or not
 *  the walk was ended; -7000 if `obj` is no object or `callback` is NULL. */
KE_API i32 wiq_json_obj_foreach(const wiq_json_t* obj, WiqJsonMemberFn callback, void* user);
/** Removes a member and releases its child. 0; -7000 if `obj` is no object, `key` is NULL, or the key is
 *  absent (here not -1037). */
KE_API i32 wiq_json_obj_remove(wiq_json_t* obj, const char* key);

/** @} */

/** @defgroup json_array JSON arrays
 *  Elements by index. A negative index counts from the end, -1 being the last element. Every `err` here
 *  chains. Getters lend; see wiq_json_ref() to keep what they return.
 *  @{ */

/** True keeps the element in the array. The callback must not add elements to the array or remove any; so it
 *  must not filter or sort it either. It may replace elements. */
typedef bool (*WiqJsonKeepFn)(wiq_json_t* elem, void* user);
/** Compares as qsort() asks: each argument is the address of a `wiq_json_t *`. The comparison must not add
 *  elements to the array, remove or replace any. */
typedef int (*WiqJsonCompareFn)(const void* a, const void* b);

/**
 * Makes an empty strong array.
 * @param capacity  number of elements to make room for at once, from 0 up
 * @param err       chaining status, may be NULL: -7000 for a negative capacity, -5000 without memory
 * @return a free-standing node; NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_new(i32 capacity, u32* err);
/** Makes an empty weak array: it refers to nodes without becoming their parent. Otherwise as
 *  wiq_json_array_new(). */
KE_API wiq_json_t* wiq_json_array_weak_new(i32 capacity, u32* err);
/**
 * Appends a child. The array adds one reference; the caller keeps its own, if it has any.
 * @param array  strong or weak array
 * @param child  for a strong array, a free-standing node
 * @param err    chaining status, may be NULL
 * @return the status, also stored in `err`: -7000 if `array` is no array, `child` is NULL, or a strong array
 *         is given a child that has a parent or that is the array itself or one of the containers around it;
 *         -5000 without memory. On failure array and child are as they were.
 */
KE_API i32 wiq_json_array_push_ext(wiq_json_t* array, wiq_json_t* child, u32* err);
/**
 * Makes a true or a false and appends it with wiq_json_array_push_ext().
 * @return the new node, borrowed from the array; NULL on failure, with the status of the constructor or of
 *         wiq_json_array_push_ext() in `err`, and nothing left behind
 */
KE_API wiq_json_t* wiq_json_array_push_bool(wiq_json_t* array, bool value, u32* err);
/** Appends a new signed 64-bit integer; otherwise as wiq_json_array_push_bool(). */
KE_API wiq_json_t* wiq_json_array_push_i64(wiq_json_t* array, i64 value, u32* err);
/** Appends a new unsigned 64-bit integer; otherwise as wiq_json_array_push_bool(). */
KE_API wiq_json_t* wiq_json_array_push_u64(wiq_json_t* array, u64 value, u32* err);
/** Appends a new unsigned 128-bit integer, a copy of `*value` (-7000 if NULL); otherwise as
 *  wiq_json_array_push_bool(). */
KE_API wiq_json_t* wiq_json_array_push_u128(wiq_json_t* array, const wiq_uint128* value, u32* err);
/** Appends a new double; otherwise as wiq_json_array_push_bool(). */
KE_API wiq_json_t* wiq_json_array_push_double(wiq_json_t* array, double value, u32* err);
/** Appends a new string, a copy of `text` (-7000 if NULL; see wiq_json_str_new() for a lack of memory);
 *  otherwise as wiq_json_array_push_bool(). */
KE_API wiq_json_t* wiq_json_array_push_str(wiq_json_t* array, const char* text, u32* err);
/** Appends a new empty strong object; otherwise as wiq_json_array_push_bool(). */
KE_API wiq_json_t* wiq_json_array_push_obj(wiq_json_t* array, u32* err);
/** Appends a new empty strong array; otherwise as wiq_json_array_push_bool(). */
KE_API wiq_json_t* wiq_json_array_push_array(wiq_json_t* array, u32* err);

/** The number of elements; -7000 if `array` is no array. */
KE_API i32 wiq_json_array_size(const wiq_json_t* array);
/**
 * The element at an index, whatever kind it is of.
 * @param flags  ::WIQ_JSON_FOLLOW_REFS, or 0 for a reference as it is; other bits mean nothing
 * @param err    chaining status, may be NULL: -7000 if `array` is no array; -1038 if there is no such
 *               element; what wiq_json_jref_deref() says where a reference is followed
 * @return the element, borrowed; NULL on failure, but where a reference broke off with a node in hand, that
 */
KE_API wiq_json_t* wiq_json_array_get_ext(const wiq_json_t* array, i32 index, u32 flags, u32* err);
/**
 * Puts a child in an element's place and hands the element over.
 * @param index  a negative one is noted as the child's place as it is given (see wiq_json_parent_index()),
 *               until elements move and are numbered anew
 * @param child  as for wiq_json_array_push_ext()
 * @param err    chaining status, may be NULL: -7000 as for wiq_json_array_push_ext(); -1038 if there is no
 *               such element. No memory is needed.
 * @return the old element, now the caller's, to be released with wiq_json_unref(): the array's reference is
 *         given up and nothing is destroyed, even at a count of 0. If a weak array is given the element that
 *         it has there, the array keeps its reference and the caller gets another one. NULL on failure.
 */
KE_API wiq_json_t* wiq_json_array_swap(wiq_json_t* array, i32 index, wiq_json_t* child, u32* err);
/**
 * Puts a child in an element's place and releases the element, or appends the child if `index` is the
 * array's size. An element that somebody else refers to lives on.
 * @return 0; -7000 as for wiq_json_array_push_ext(); -1038 further out; -5000 without memory to append. On
 *         failure array and child are as they were.
 */
KE_API i32 wiq_json_array_put(wiq_json_t* array, i32 index, wiq_json_t* child);
/** Removes and releases the last `count` elements. 0; -7000 if `array` is no array, or `count` is negative
 *  or more than there are. */
KE_API i32 wiq_json_array_pop(wiq_json_t* array, i32 count);
/** Takes the last element off and hands it to the caller, who releases it with wiq_json_unref(): the array's
 *  reference is given up and nothing is destroyed, even at a count of 0. NULL if the array is empty or no
 *  array. */
KE_API wiq_json_t* wiq_json_array_pop_elem(wiq_json_t* array);
/** The first element that is equal to the pattern (wiq_json_equal() of the two, in this order), borrowed;
 *  NULL if there is none or `array` is no array. */
KE_API wiq_json_t* wiq_json_array_find(const wiq_json_t* array, const wiq_json_t* pattern);
/** The first string element with this text, borrowed; NULL if there is none, if `array` is no array, or for
 *  a NULL text. */
KE_API wiq_json_t* wiq_json_array_find_str(const wiq_json_t* array, const char* text);
/**
 * Removes and releases every element that the callback does not keep. It is asked once about each element,
 * in order, and the array loses elements after its last answer; the kept ones stay in order, but for those
 * that wiq_json_array_swap() put in at a negative index, which come first, the smallest index in front.
 *
 * The answer is about the element that is in the place when the callback returns. One that is replaced after
 * it was dropped is dropped in a weak array, while in a strong one the new element stays.
 *
 * Meant for strong arrays, and for weak ones whose elements are no elements of other arrays. A weak array is
 * sorted by the elements' indices in their own parent arrays (0 for what has none), where those of the
 * dropped ones, in all the places at which it lists them, count from this array's size upwards; so of a node
 * that is listed twice and dropped once, it is the last place that is lost. A dropped element of another array
 * keeps that number, so that wiq_json_parent_index() misleads from then on.
 * @return 0; -7000 if `array` is no array or `keep` is NULL; -5000 if a weak array finds no memory, and then
 *         nobody was asked and nothing is changed
 */
KE_API i32 wiq_json_array_filter(wiq_json_t* array, WiqJsonKeepFn keep, void* user);
/** Sorts the elements with the runtime's qsort(), which need not keep equal ones in order. 0; -7000 if
 *  `array` is no array or `compare` is NULL. */
KE_API i32 wiq_json_array_sort(wiq_json_t* array, WiqJsonCompareFn compare);

/** @} */

/** @defgroup json_tree Copy, comparison, subsets, moving nodes
 *  @{ */

/**
 * Flags of wiq_json_subset(); all four together mean equality. The first three are about arrays, and each of
 * them counts only with those before it.
 */
enum wiq_json_subset_flag {
    WIQ_JSON_SUBSET_CONTIGUOUS = 1,  /**< a's elements are one run of b's */
    WIQ_JSON_SUBSET_PREFIX = 2,      /**< the run begins at b's first element */
    WIQ_JSON_SUBSET_SAME_LENGTH = 4, /**< b has no more elements than a */
    WIQ_JSON_SUBSET_SAME_SIZE = 8    /**< objects have the same number of members */
};

/**
 * Copies a node and all below it. References are copied, not followed; weak containers become strong ones
 * that hold copies.
 * @param err  chaining status, may be NULL: -7000 for NULL; -7014 if a tag above 10 is met; -5000 without
 *             memory
 * @return a free-standing tree; NULL on failure, with nothing left behind
 */
KE_API wiq_json_t* wiq_json_copy(const wiq_json_t* node, u32* err);
/** Whether two trees are equal: wiq_json_subset() with all four flags. */
KE_API bool wiq_json_equal(const wiq_json_t* a, const wiq_json_t* b);
/**
 * Whether `a` is contained in `b`. A node contains itself; NULL contains only NULL. Otherwise:
 * - a number is contained in one that reads, without loss, as the same value in the kind of `a`:
 *   `wiq_json_is_..._ext()` of b with `ext`, and the same value. 5, 5.0 and an unsigned 5 contain each other;
 *   NaN contains nothing but itself, the very node.
 * - a string or a reference is contained in one of its own kind with the same text.
 * - an object is contained in one that has each of its keys with a value that contains a's value.
 * - an array is contained in one in which, in order, elements contain a's elements; others may stand
 *   between, unless the flags forbid it. Each element of `a` takes the first element of `b` that contains
 *   it and follows the last one taken.
 * - anything else is contained in what has its tag.
 * @param flags  of ::wiq_json_subset_flag; they hold at every level
 * @return the answer; false too if a very deep tree finds no memory for the walk
 */
KE_API bool wiq_json_subset(const wiq_json_t* a, const wiq_json_t* b, u32 flags);
/**
 * Takes a node out of its parent and hands it to the caller, who releases it with wiq_json_unref(): the
 * parent's reference is given up and nothing is destroyed, even at a count of 0.
 *
 * A member's key goes, and so does an array's last element; any other element leaves a null in its place,
 * so that the elements behind it keep their indices.
 * @return 0, also for a node that has no parent; -7000 for NULL; -5000 if there is no memory for that null,
 *         with nothing changed
 */
KE_API i32 wiq_json_make_orphan(wiq_json_t* node);
/** As wiq_json_make_orphan(), with a chaining status: an earlier failure in `*err` is returned and nothing
 *  is done; otherwise the status is also stored there. */
KE_API i32 wiq_json_make_orphan_ex(wiq_json_t* node, u32* err);
/**
 * Puts a replacement in a node's place in its parent, and hands the node to the caller as
 * wiq_json_make_orphan() does. Needs no memory.
 * @param replacement  free-standing, and no container around the node
 * @return 0, also for a node that has no parent, where nothing is done; -7000 if either is NULL or the
 *         replacement cannot be attached, with nothing changed
 */
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
    i32 line;     /**< from 1; only line feeds count. This and the others stay at 2^31 - 1. */
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
    WiqObject object; /**< class record and count */
} WiqJsonVisitor;

/**
 * The class record of WiqJsonVisitor. Every slot returns 0 to go on; any other status ends the walk.
 *
 * Slots may add, remove and replace children of what is being walked. An object's keys and an array's length
 * are fixed before the first child; each child is looked up when its turn comes, and is NULL if it is gone,
 * which slots of the base class refuse with -7000.
 */
typedef struct WiqJsonVisitorClass {
    WiqClass base;                                        /**< type of the class */
    i32 (*visit)(WiqJsonVisitor* self, wiq_json_t* node); /**< dispatches by kind */
    i32 (*visit_object)(WiqJsonVisitor* self,
                        wiq_json_t* obj); /**< object_begin, the members, object_end */
    i32 (*visit_array)(WiqJsonVisitor* self,
                       wiq_json_t* array); /**< array_begin, the elements, array_end */
    i32 (*visit_string)(WiqJsonVisitor* self, wiq_json_t* node, const char* text); /**< a string */
    i32 (*visit_i64)(WiqJsonVisitor* self, wiq_json_t* node, i64 value); /**< a signed integer */
    i32 (*visit_u64)(WiqJsonVisitor* self, wiq_json_t* node, u64 value); /**< an unsigned integer */
    i32 (*visit_u128)(WiqJsonVisitor* self, wiq_json_t* node,
                      const wiq_uint128* value); /**< a 128-bit integer */
    i32 (*visit_double)(WiqJsonVisitor* self, wiq_json_t* node, double value); /**< a real */
    i32 (*visit_ref)(WiqJsonVisitor* self, wiq_json_t* node, const char* uri); /**< a reference */
    i32 (*visit_bool)(WiqJsonVisitor* self, wiq_json_t* node, bool value);     /**< true or false */
    i32 (*visit_null)(WiqJsonVisitor* self, wiq_json_t* node);                 /**< null */
    i32 (*object_begin)(WiqJsonVisitor* self, wiq_json_t* obj); /**< before the members */
    i32 (*object_end)(WiqJsonVisitor* self, wiq_json_t* obj);   /**< behind them */
    i32 (*object_member)(WiqJsonVisitor* self, wiq_json_t* obj, const char* key, wiq_json_t* value,
                         bool first); /**< one member; visits its value */
    i32 (*object_keys)(WiqJsonVisitor* self, wiq_json_t* obj,
                       wiq_strv* keys); /**< gives the keys, in the order of the walk */
    i32 (*array_begin)(WiqJsonVisitor* self, wiq_json_t* array); /**< before the elements */
    i32 (*array_end)(WiqJsonVisitor* self, wiq_json_t* array);   /**< behind them */
    i32 (*array_element)(WiqJsonVisitor* self, wiq_json_t* array, i32 index,
                         wiq_json_t* elem); /**< one element; visits it */
} WiqJsonVisitorClass;

/**
 * The type of the visitors' base class. A subclass is a WiqType with this parent whose class_init replaces slots;
 * a walk is `class->visit(visitor, root)`, its result the first nonzero status of a slot. The base walk recurses, a
 * level of the stack for each of the document.
 */
extern KE_API WiqType WiqJsonVisitorType;

/** @} */

/** @defgroup json_dump JSON serializer
 *  @{ */

/** Flags of the dump functions. */
enum wiq_json_dump_flag {
    WIQ_JSON_DUMP_U128_AS_OBJECT =
        2,                       /**< a 128-bit integer as {"u128":"..."}, not as a bare number */
    WIQ_JSON_DUMP_SORT_KEYS = 4, /**< members sorted by the bytes of their keys */
    WIQ_JSON_DUMP_PRETTY = 8     /**< a line for each child, two blanks deeper at each level */
};

/**
 * Writes a document as text.
 * @param out   receives a new string, released with free(); untouched on failure
 * @param flags enum wiq_json_dump_flag; compact without WIQ_JSON_DUMP_PRETTY
 * @return the length; -7000 for NULL; -5000; -7001 for 2^31 bytes and more, which wiq_json_sdump_ext() takes;
 *         -7003 for a text that is no valid UTF-8; -7014 for a damaged node.
 * Members come in the object's order, or sorted. Doubles have six decimals and no exponent, infinities and NaN are
 * "inf", "-inf", "nan" and "-nan", which no JSON reader takes; text beyond ASCII is written raw. Takes documents of any depth.
 */
KE_API i32 wiq_json_sdump(wiq_json_t* node, char** out, u32 flags);

/**
 * Appends a document's text to a buffer.
 * @param indent blanks in front of every line but the first, with WIQ_JSON_DUMP_PRETTY
 * @return 0 or a status as in wiq_json_sdump(), but of texts of any length; what was written before a failure stays
 */
KE_API i32 wiq_json_sdump_ext(wiq_json_t* node, wiq_strbuf* buf, u32 flags, u32 indent);

/**
 * Writes a document's text to a stream, which is neither flushed nor closed. A stream whose functions are the
 * caller's own must not change the document.
 * @return bytes written, 2^31 - 1 where they are more; a negative status as in wiq_json_sdump(), but of texts of any
 *         length, or -1 if the stream failed; what was written before a failure stays, and of a string that is no
 *         valid UTF-8 nothing is
 */
KE_API i32 wiq_json_fdump(wiq_json_t* node, FILE* fp, u32 flags, u32 indent);

/**
 * A new string, released with free(), with the text escaped for JSON, without quotes; NULL for NULL, invalid UTF-8,
 * a result of 2^31 bytes or more, or without memory.
 */
KE_API char* wiq_json_escape_str(const char* text);

/**
 * Appends the text escaped for JSON, without quotes: quote, backslash and what is below 0x20.
 * @param text may lie in the buffer
 * @return the buffer's length; -7000 for NULL; -7003 on invalid UTF-8, what is before it appended; -7001 if the
 *         buffer would come to 2^31 bytes or more, nothing appended. An append that fails for lack of memory is not
 *         reported.
 */
KE_API i32 wiq_json_escape_str_ext(const char* text, wiq_strbuf* buf);

/** @} */

/** @defgroup json_ref JSON references
 *  @{ */

/**
 * A new reference with a copy of a JSON pointer, optionally with "#" in front. NULL: -7000, -5000; chains.
 */
KE_API wiq_json_t* wiq_json_jref_new(const char* uri, u32* err);

/** The pointer text of a reference, lent; NULL for anything else. */
KE_API const char* wiq_json_jref_uri(const wiq_json_t* node);

/**
 * One step: what a reference's pointer names in its own tree; may be a reference again. Lent.
 * NULL: -7000 for anything but a reference; the statuses of wiq_json_ptr_get(); chains.
 */
KE_API wiq_json_t* wiq_json_jref_resolve(const wiq_json_t* node, u32* err);

/**
 * Follows references to the first value that is none. Lent.
 * @param err receives 0 if a reference was followed; -7000 for a node that is none, which is returned all the same;
 *            -1052 if the chain comes back to itself; the statuses of wiq_json_ptr_get(). Chains; may be NULL.
 */
KE_API wiq_json_t* wiq_json_jref_deref(wiq_json_t* node, u32* err);

/**
 * Replaces every reference that can be reached from `root` by a deep copy of its final target, in place; copies
 * hold no references. A reference that somebody else holds survives as a free-standing node. The root itself stays
 * what it is: of a root that is a reference, only what its target holds is expanded. Takes any depth.
 * @return 0; -7000 for NULL; -1052 for references that lead to themselves; -5000; the statuses of
 *         wiq_json_ptr_get(). What was replaced before a failure stays replaced. If memory runs out before the walk
 *         begins, one reference to `root` more than before is left.
 */
KE_API i32 wiq_json_jref_expand(wiq_json_t* root);

/** @} */

/** @defgroup json_ptr JSON pointer
 *  @{ */

/**
 * The value that a JSON pointer (RFC 6901) names; references on the way are not followed.
 * @param ptr         "" and "#" name the root; "#" in front is dropped, percent signs are not decoded. In arrays a
 *                    step is any number that wiq_strtouint64() takes, its low 32 bits taken as a signed index.
 * @param err         receives 0; -7000 for NULL; -7019 without a leading "/"; -1039 for a bad "~"; -1037 no such
 *                    member; -1038 no such element; -7018 a step into something else; -5000. Chains; may be NULL.
 * @param fail_prefix receives, on failure (not -7000 and -5000), a new string with the pointer up to and with the
 *                    step that failed; may be NULL
 * @return lent; NULL on failure
 */
KE_API wiq_json_t* wiq_json_ptr_get(wiq_json_t* root, const char* ptr, u32* err,
                                    char** fail_prefix);

/**
 * Stores a value where a JSON pointer names it; missing containers are made on the way, arrays where the next step
 * is a number or "-", and "-" appends. Existing values are replaced at the last step only. An empty step ends the
 * way early: the value then goes under the step before it, once more ("/a/" stores at "/a/a").
 * @return 0, and the value is the container's; -7000 for NULL or an empty pointer; -7019, -1039, -7018, -1038, -5000,
 *         and then the value stays the caller's, while containers made before the failing step stay
 */
KE_API i32 wiq_json_ptr_put(wiq_json_t* root, const char* ptr, wiq_json_t* value);

/**
 * Makes an empty object and stores it as wiq_json_ptr_put() does; lent. NULL: the status through `err`, which is not read first.
 */
KE_API wiq_json_t* wiq_json_ptr_put_obj(wiq_json_t* root, const char* ptr, u32* err);

/**
 * Makes an empty array and stores it as wiq_json_ptr_put() does; lent. NULL: the status through `err`, which is not read first.
 */
KE_API wiq_json_t* wiq_json_ptr_put_array(wiq_json_t* root, const char* ptr, u32* err);

/**
 * Makes a boolean and stores it as wiq_json_ptr_put() does; lent. NULL: the status through `err`, which is not read first.
 */
KE_API wiq_json_t* wiq_json_ptr_put_bool(wiq_json_t* root, const char* ptr, bool value, u32* err);

/**
 * Makes a double and stores it as wiq_json_ptr_put() does; lent. NULL: the status through `err`, which is not read first.
 */
KE_API wiq_json_t* wiq_json_ptr_put_double(wiq_json_t* root, const char* ptr, double value,
                                           u32* err);

/**
 * Makes a signed number and stores it as wiq_json_ptr_put() does; lent. NULL: the status through `err`, which is not read first.
 */
KE_API wiq_json_t* wiq_json_ptr_put_i64(wiq_json_t* root, const char* ptr, i64 value, u32* err);

/**
 * Makes an unsigned number and stores it as wiq_json_ptr_put() does; lent. NULL: the status through `err`, which is not read first.
 */
KE_API wiq_json_t* wiq_json_ptr_put_u64(wiq_json_t* root, const char* ptr, u64 value, u32* err);

/**
 * Makes a 128-bit number and stores it as wiq_json_ptr_put() does; lent. NULL: the status through `err`, which is not read first.
 */
KE_API wiq_json_t* wiq_json_ptr_put_u128(wiq_json_t* root, const char* ptr,
                                         const wiq_uint128* value, u32* err);

/**
 * Makes a string, copied, and stores it as wiq_json_ptr_put() does; lent. NULL: the status through `err`, which is not read first.
 */
KE_API wiq_json_t* wiq_json_ptr_put_str(wiq_json_t* root, const char* ptr, const char* text,
                                        u32* err);

/**
 * Makes a reference and stores it as wiq_json_ptr_put() does; lent. NULL: the status through `err`, which is not read first.
 */
KE_API wiq_json_t* wiq_json_ptr_put_jref(wiq_json_t* root, const char* ptr, const char* uri,
                                         u32* err);

/**
 * The JSON pointer of a node, from the root of its tree.
 * @param out receives a new string, released with free(); untouched on failure
 * @return its length; -7000 for NULL; -5000; -7001 for 2^31 bytes and more. Takes any depth.
 */
KE_API i32 wiq_json_ptr(const wiq_json_t* node, char** out);

/** Appends the JSON pointer of a node. 0; -7000 for NULL; -5000, nothing appended. */
KE_API i32 wiq_json_ptr_ext(const wiq_json_t* node, wiq_strbuf* buf);

/**
 * Appends the JSON pointer of an object and "/" and a key, which is not escaped and may lie in the buffer.
 * 0; -7000 for NULL or no object; -5000, nothing appended.
 */
KE_API i32 wiq_json_ptr_build_obj_ext(const wiq_json_t* obj, const char* key, wiq_strbuf* buf);

/**
 * Appends the JSON pointer of the place behind an array's last element.
 * 0; -7000 for NULL or no array; -5000, nothing appended.
 */
KE_API i32 wiq_json_ptr_build_array_ext(const wiq_json_t* array, wiq_strbuf* buf);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
