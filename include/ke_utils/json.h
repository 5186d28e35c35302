/**
 * @file json.h
 * Declares the JSON document model: reference-counted values, objects and arrays, copy and
 * comparison, the parser, visitors and the serializer, "$ref" references and JSON pointers (RFC
 * 6901).
 *
 * Many functions take a chaining status as `u32* err`. If it holds a nonzero status on entry, the
 * function does nothing, leaves it unchanged, and returns NULL, 0 or false (a function that returns
 * a status returns that one). Otherwise the function stores its own status there, 0 on success. A
 * chaining status may always be NULL.
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
 *  A value is one node of a document and has one of eleven kinds. A number keeps the kind with
 *  which it was made.
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
 *  Counts and parents: a new node has a reference count of 0 and no parent; it is free-standing. A
 *  strong container (object or array) takes one reference to each child and becomes its parent; a
 *  node has at most one parent. A weak container takes a reference too, but does not become the
 *  parent, so it can list nodes of another tree. wiq_json_unref() never frees a node that has a
 *  parent. A container that releases a child first stops being its parent; the child is then
 *  destroyed with its last reference, or lives on free-standing.
 *
 *  In memory, a node begins with its tag (u16), its flags (u8; 2 marks a weak container), its count
 *  (i32), its parent, and its position there (a u32 index, or the key that the parent holds).
 *
 *  Threads: the count is atomic, so threads may take and release references to the same node.
 *  Threads may read the same tree at the same time (getters, pointers, references, walks, dumps,
 *  copies, comparisons) as long as none of them changes it. Everything else, including a release
 *  that takes a child's count to 0, belongs to one thread at a time.
 *
 *  No depth of nesting can overflow the stack: releasing, copying, comparing and searching do not
 *  recurse.
 *
 *  Callbacks: the nodes that were passed to a call must stay alive until the call returns. A
 *  callback or slot that takes such a node out of its tree, or releases the last reference to it or
 *  to the tree around it, must hold a reference of its own until then. What else a callback may
 *  change is stated where its type is declared.
 *  @{ */

/** An opaque node of a document. */
typedef struct wiq_json wiq_json_t;

/**
 * Makes a null.
 * @param err chaining status: WIQ_ERR_NO_MEMORY (-5000) when out of memory
 * @return a free-standing node, which wiq_json_unref() releases; NULL on failure
 */
KE_API wiq_json_t* wiq_json_null_new(u32* err);

/**
 * Makes a true or a false.
 * @param value true or false
 * @param err   chaining status: WIQ_ERR_NO_MEMORY when out of memory
 * @return a free-standing node, which wiq_json_unref() releases; NULL on failure
 */
KE_API wiq_json_t* wiq_json_bool_new(bool value, u32* err);

/**
 * Makes a signed 64-bit integer.
 * @param value the number
 * @param err   chaining status: WIQ_ERR_NO_MEMORY when out of memory
 * @return a free-standing node, which wiq_json_unref() releases; NULL on failure
 */
KE_API wiq_json_t* wiq_json_i64_new(i64 value, u32* err);

/**
 * Makes an unsigned 64-bit integer.
 * @param value the number
 * @param err   chaining status: WIQ_ERR_NO_MEMORY when out of memory
 * @return a free-standing node, which wiq_json_unref() releases; NULL on failure
 */
KE_API wiq_json_t* wiq_json_u64_new(u64 value, u32* err);

/**
 * Makes an unsigned 128-bit integer.
 * @param value the number, which is copied
 * @param err   chaining status: WIQ_ERR_INVALID_ARG (-7000) if `value` is NULL; WIQ_ERR_NO_MEMORY
 *              when out of memory
 * @return a free-standing node, which wiq_json_unref() releases; NULL on failure
 */
KE_API wiq_json_t* wiq_json_u128_new(const wiq_uint128* value, u32* err);

/**
 * Makes a double.
 * @param value the number; NaN and infinities are accepted like any other
 * @param err   chaining status: WIQ_ERR_NO_MEMORY when out of memory
 * @return a free-standing node, which wiq_json_unref() releases; NULL on failure
 */
KE_API wiq_json_t* wiq_json_double_new(double value, u32* err);

/**
 * Makes a string with a copy of `text`.
 *
 * If the node can be allocated but its text cannot, the function returns a node without a text and
 * the status is 0. To detect this, test whether wiq_json_str_get() returns NULL.
 * @param text UTF-8, which is not checked
 * @param err  chaining status: WIQ_ERR_INVALID_ARG if `text` is NULL; WIQ_ERR_NO_MEMORY when out of
 *             memory for the node
 * @return a free-standing node, which wiq_json_unref() releases; NULL on failure
 */
KE_API wiq_json_t* wiq_json_str_new(const char* text, u32* err);

/**
 * Returns a number as a signed 64-bit integer.
 *
 * An unsigned number gives its low 64 bits, reinterpreted. A double is truncated towards zero; it
 * gives -2^63 if the result does not fit or it is NaN. If loss matters, call wiq_json_is_i64_ext()
 * first.
 * @param node must not be NULL
 * @return the number; 0 if the node is not a number
 */
KE_API i64 wiq_json_i64_get(const wiq_json_t* node);

/**
 * Returns a number as an unsigned 64-bit integer.
 *
 * A signed number gives its bits, a 128-bit number its low half. A double is truncated towards
 * zero, a negative one as a signed number.
 * @param node must not be NULL
 * @return the number; 0 if the node is not a number
 */
KE_API u64 wiq_json_u64_get(const wiq_json_t* node);

/**
 * Returns a number as an unsigned 128-bit integer.
 *
 * The lower half is what wiq_json_u64_get() returns. The upper half is 0 unless the number is a
 * 128-bit one; a negative signed number is not sign-extended.
 * @param out  receives the number; must not be NULL
 * @param node must not be NULL
 * @return `out`
 */
KE_API wiq_uint128* wiq_json_u128_get(wiq_uint128* out, const wiq_json_t* node);

/**
 * Returns a number as a double. Only the low half of a 128-bit integer counts.
 * @param node must not be NULL
 * @return the number; 0.0 if the node is not a number
 */
KE_API double wiq_json_double_get(const wiq_json_t* node);

/**
 * Returns the text of a string or a reference. The node still owns it.
 * @param node must be a string or a reference; this is not tested
 * @return the text; NULL if there was no memory for it when the node was made
 */
KE_API const char* wiq_json_str_get(const wiq_json_t* node);

/**
 * Tells whether the node is a null. For a NULL `node` this test, like all those below, is false.
 */
KE_API bool wiq_json_is_null(const wiq_json_t* node);

/** Tells whether the node is an object, strong or weak. */
KE_API bool wiq_json_is_obj(const wiq_json_t* node);

/** Tells whether the node is an array, strong or weak. */
KE_API bool wiq_json_is_array(const wiq_json_t* node);

/** Tells whether the node is a string. */
KE_API bool wiq_json_is_str(const wiq_json_t* node);

/** Tells whether the node is a true. */
KE_API bool wiq_json_is_true(const wiq_json_t* node);

/** Tells whether the node is a false. (A node that is not a true need not be a false.) */
KE_API bool wiq_json_is_false(const wiq_json_t* node);

/** Tells whether the node is a true or a false. */
KE_API bool wiq_json_is_bool(const wiq_json_t* node);

/** Tells whether the node is an integer of any width. A double is not, whatever its value. */
KE_API bool wiq_json_is_int(const wiq_json_t* node);

/** Tells whether the node is a number of any kind. */
KE_API bool wiq_json_is_num(const wiq_json_t* node);

/** Tells whether the node is a reference. */
KE_API bool wiq_json_is_jref(const wiq_json_t* node);

/** Tells whether the node is a weak container. */
KE_API bool wiq_json_has_weak_refs(const wiq_json_t* node);

/**
 * Tells whether the node is a signed 64-bit integer or, with `ext`, a number that
 * wiq_json_i64_get() returns without loss.
 * @param node may be NULL
 * @param ext  true to also accept any other integer in the range, and any whole double from -2^63
 *             up to and including 2^63. (The upper bound is compared as a double, and is accepted
 *             although it does not fit.)
 * @return true if it is; false also for NULL
 */
KE_API bool wiq_json_is_i64_ext(const wiq_json_t* node, bool ext);

/**
 * Tells whether the node is an unsigned 64-bit integer or, with `ext`, a number that
 * wiq_json_u64_get() returns without loss.
 * @param node may be NULL
 * @param ext  true to also accept any other integer in the range, and any whole double from 0 up to
 *             and including 2^64
 * @return true if it is; false also for NULL
 */
KE_API bool wiq_json_is_u64_ext(const wiq_json_t* node, bool ext);

/**
 * Tells whether the node is an unsigned 128-bit integer or, with `ext`, a number that
 * wiq_json_u128_get() returns without loss.
 * @param node may be NULL
 * @param ext  true to also accept any other integer that is not negative, and any whole double from
 *             0 up to and including 2^64
 * @return true if it is; false also for NULL
 */
KE_API bool wiq_json_is_u128_ext(const wiq_json_t* node, bool ext);

/**
 * Tells whether the node is a double or, with `ext`, a number that wiq_json_double_get() returns
 * without loss.
 * @param node may be NULL
 * @param ext  true to also accept an integer with a magnitude of at most 2^53
 * @return true if it is; false also for NULL
 */
KE_API bool wiq_json_is_double_ext(const wiq_json_t* node, bool ext);

/**
 * Returns the name of the node's kind.
 * @param node may be NULL
 * @return a constant: "null", "object", "array", "integer" (for all three kinds), "number" (for a
 *         double), "string", "boolean" or "reference"; "<unknown>" for a tag above 10; "<none>" for
 *         NULL
 */
KE_API const char* wiq_json_type_string(const wiq_json_t* node);

/**
 * Takes a reference to a node. Any thread may call it. NULL is ignored.
 *
 * The nodes below the root of a parsed or copied document share chunks of memory. A node that is
 * kept after its document was released keeps at most 16 KB alive, or only itself if it is larger.
 * If a document is unchanged and only its root was ever referenced, releasing the root does not
 * visit the other nodes.
 */
KE_API void wiq_json_ref(wiq_json_t* node);

/**
 * Releases a reference to a node. Any thread may call it as long as no other thread changes the
 * tree. NULL is ignored.
 *
 * If the count falls to 0 or below, a free-standing node is destroyed together with everything that
 * only it holds. A node that has a parent gets the count 1 instead, which is the parent's own
 * reference. So whoever made a node may call this function after attaching the node.
 */
KE_API void wiq_json_unref(wiq_json_t* node);

/**
 * Destroys a node, whatever its count and whoever else holds it. If it has a parent, the parent is
 * not updated. NULL is ignored.
 */
KE_API void wiq_json_delete_impl(wiq_json_t* node);

/**
 * Releases everything that a node owns, but not the node itself. NULL is ignored.
 *
 * Afterwards, pass the node to wiq_json_delete_impl(). It may be passed to free() only if one of
 * the constructors above made it, or if it is the root that the parser or wiq_json_copy() returned:
 * other nodes share blocks of memory.
 */
KE_API void wiq_json_finalize(wiq_json_t* node);

/**
 * Returns the index of a node in its parent array.
 * @param node may be NULL
 * @return the index. If wiq_json_array_swap() put the node there, it is the index that was passed
 *         to that function, even a negative one. -1 if the node is NULL, has no parent, or is in an
 *         object.
 */
KE_API i32 wiq_json_parent_index(const wiq_json_t* node);

/**
 * Returns the key of a node in its parent object. The object still owns the key.
 * @param node may be NULL
 * @return the key; NULL if the node is NULL, has no parent, or is in an array
 */
KE_API const char* wiq_json_parent_key(const wiq_json_t* node);

/** @} */

/** @defgroup json_object JSON objects
 *  An object stores members by key, in a hash map. The order of its members is that of a ::wiq_map
 *  with the same history and wiq_hash_str(), not the order of insertion. Keys are copied; keys with
 *  the same bytes are the same key.
 *
 *  Unlike a ::wiq_map, an object stays fast even if its keys were chosen to have the same hash: the
 *  members of a long chain are also found through an index, which takes 28 bytes per bucket.
 *  If the index cannot be allocated, the chain is searched member by member; no call fails because
 *  of that.
 *
 *  What a getter returns is still owned by the object; call wiq_json_ref() to keep it.
 *  @{ */

/** Flags of wiq_json_obj_get_ext() and wiq_json_array_get_ext(). */
enum wiq_json_get_flag {
    WIQ_JSON_FOLLOW_REFS = 1 /**< returns the final target in place of a reference */
};

/**
 * Receives one member of a walk; returns false to end the walk.
 *
 * It must not add members to the object or remove any. It may replace the value of any member, this
 * one included; the walk then meets the new value. A key is valid as long as its member is in the
 * object; a value that was replaced, as long as somebody holds a reference to it.
 * @param key   owned by the object
 * @param child owned by the object
 * @param user  the pointer that was given to wiq_json_obj_foreach()
 */
typedef bool (*WiqJsonMemberFn)(const char* key, wiq_json_t* child, void* user);

/**
 * Makes an empty strong object.
 * @param capacity number of members to make room for in advance; 0 or more
 * @param err      chaining status: WIQ_ERR_INVALID_ARG for a negative capacity; WIQ_ERR_NO_MEMORY
 *                 when out of memory
 * @return a free-standing node, which wiq_json_unref() releases; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_new(i32 capacity, u32* err);

/**
 * Makes an empty weak object, which refers to nodes without becoming their parent.
 * @param capacity as in wiq_json_obj_new()
 * @param err      chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *                 wiq_json_obj_new()
 * @return a free-standing node, which wiq_json_unref() releases; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_weak_new(i32 capacity, u32* err);

/**
 * Puts a child under a key.
 *
 * The object takes a reference of its own; the caller keeps its references, if it has any. A child
 * that was there before is released: it is destroyed unless somebody else holds a reference to it.
 * Replacing a child needs no memory.
 * @param obj   a strong or weak object
 * @param key   copied if it is new; must be shorter than 2 GiB
 * @param child for a strong object, a free-standing node
 * @param err   chaining status
 * @return the status, which is also stored in `err`: 0; WIQ_ERR_INVALID_ARG if `obj` is not an
 *         object, if `key` or `child` is NULL, or if a strong object is given a child that has a
 *         parent, is the object itself, or is one of the containers around it; WIQ_ERR_NO_MEMORY
 *         when out of memory, or if a new key is too long. On failure the object and the child are
 *         unchanged, the child's count included.
 */
KE_API i32 wiq_json_obj_put_ext(wiq_json_t* obj, const char* key, wiq_json_t* child, u32* err);

/**
 * Puts a new null under a key.
 * @param obj a strong or weak object
 * @param key copied if it is new; must be shorter than 2 GiB
 * @param err chaining status: WIQ_ERR_INVALID_ARG if `obj` is not an object or `key` is NULL;
 *            WIQ_ERR_NO_MEMORY when out of memory, or if a new key is too long. On failure the
 *            object is unchanged.
 * @return the new node, which the object owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_put_null(wiq_json_t* obj, const char* key, u32* err);

/**
 * Puts a new true or false under a key.
 * @param obj   as in wiq_json_obj_put_null()
 * @param key   as in wiq_json_obj_put_null()
 * @param value true or false
 * @param err   chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_obj_put_null()
 * @return the new node, which the object owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_put_bool(wiq_json_t* obj, const char* key, bool value, u32* err);

/**
 * Puts a new signed 64-bit integer under a key.
 * @param obj   as in wiq_json_obj_put_null()
 * @param key   as in wiq_json_obj_put_null()
 * @param value the number
 * @param err   chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_obj_put_null()
 * @return the new node, which the object owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_put_i64(wiq_json_t* obj, const char* key, i64 value, u32* err);

/**
 * Puts a new unsigned 64-bit integer under a key.
 * @param obj   as in wiq_json_obj_put_null()
 * @param key   as in wiq_json_obj_put_null()
 * @param value the number
 * @param err   chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_obj_put_null()
 * @return the new node, which the object owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_put_u64(wiq_json_t* obj, const char* key, u64 value, u32* err);

/**
 * Puts a new unsigned 128-bit integer under a key.
 * @param obj   as in wiq_json_obj_put_null()
 * @param key   as in wiq_json_obj_put_null()
 * @param value the number, which is copied
 * @param err   chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_obj_put_null(); WIQ_ERR_INVALID_ARG also if `value` is NULL
 * @return the new node, which the object owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_put_u128(wiq_json_t* obj, const char* key, const wiq_uint128* value,
                                         u32* err);

/**
 * Puts a new double under a key.
 * @param obj   as in wiq_json_obj_put_null()
 * @param key   as in wiq_json_obj_put_null()
 * @param value the number; NaN and infinities are accepted like any other
 * @param err   chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_obj_put_null()
 * @return the new node, which the object owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_put_double(wiq_json_t* obj, const char* key, double value,
                                           u32* err);

/**
 * Puts a new string under a key.
 * @param obj  as in wiq_json_obj_put_null()
 * @param key  as in wiq_json_obj_put_null()
 * @param text UTF-8, which is copied and not checked; if only the copy cannot be allocated, the
 *             result is that of wiq_json_str_new()
 * @param err  chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *             wiq_json_obj_put_null(); WIQ_ERR_INVALID_ARG also if `text` is NULL
 * @return the new node, which the object owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_put_str(wiq_json_t* obj, const char* key, const char* text,
                                        u32* err);

/**
 * Puts a new reference under a key.
 * @param obj    as in wiq_json_obj_put_null()
 * @param key    as in wiq_json_obj_put_null()
 * @param target a JSON pointer, which is copied; see wiq_json_jref_new()
 * @param err    chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *               wiq_json_obj_put_null(); WIQ_ERR_INVALID_ARG also if `target` is NULL
 * @return the new node, which the object owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_put_jref(wiq_json_t* obj, const char* key, const char* target,
                                         u32* err);

/**
 * Puts a new, empty, strong object under a key.
 * @param obj as in wiq_json_obj_put_null()
 * @param key as in wiq_json_obj_put_null()
 * @param err chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *            wiq_json_obj_put_null()
 * @return the new node, which the object owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_put_obj(wiq_json_t* obj, const char* key, u32* err);

/**
 * Puts a new, empty, strong array under a key.
 * @param obj as in wiq_json_obj_put_null()
 * @param key as in wiq_json_obj_put_null()
 * @param err chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *            wiq_json_obj_put_null()
 * @return the new node, which the object owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_put_array(wiq_json_t* obj, const char* key, u32* err);

/**
 * Returns the value under a key, whatever its kind.
 * @param obj   the object
 * @param key   the key
 * @param flags ::WIQ_JSON_FOLLOW_REFS, or 0 to return a reference itself; other bits are ignored
 * @param err   chaining status: WIQ_ERR_INVALID_ARG if `obj` is not an object or `key` is NULL;
 *              WIQ_ERR_KEY_NOT_FOUND (-1037) if the key is absent; a status of
 *              wiq_json_jref_deref() if a reference is followed
 * @return the value, still owned by the tree; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_get_ext(const wiq_json_t* obj, const char* key, u32 flags,
                                        u32* err);

/**
 * Returns the object under a key. References are followed.
 * @param obj the object to search
 * @param key the key
 * @param err chaining status: WIQ_ERR_INVALID_ARG if `obj` is not an object or `key` is NULL;
 *            WIQ_ERR_KEY_NOT_FOUND if the key is absent; a status of wiq_json_jref_deref() if a
 *            reference is followed; WIQ_ERR_WRONG_TYPE (-7018) for a value of another kind
 * @return the object, still owned by the tree; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_get_obj(const wiq_json_t* obj, const char* key, u32* err);

/**
 * Returns the array under a key. References are followed.
 * @param obj the object to search
 * @param key the key
 * @param err chaining status: WIQ_ERR_INVALID_ARG, WIQ_ERR_KEY_NOT_FOUND, WIQ_ERR_WRONG_TYPE or a
 *            status of wiq_json_jref_deref(), as in wiq_json_obj_get_obj()
 * @return the array, still owned by the tree; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_get_array(const wiq_json_t* obj, const char* key, u32* err);

/**
 * Returns the text of the string under a key. References are followed.
 * @param obj the object to search
 * @param key the key
 * @param err chaining status: WIQ_ERR_INVALID_ARG, WIQ_ERR_KEY_NOT_FOUND, WIQ_ERR_WRONG_TYPE or a
 *            status of wiq_json_jref_deref(), as in wiq_json_obj_get_obj()
 * @return the text, still owned by the tree; NULL on failure, or if there was no memory for the
 *         text when the node was made, in which case the status is 0
 */
KE_API const char* wiq_json_obj_get_str(const wiq_json_t* obj, const char* key, u32* err);

/**
 * Returns the boolean under a key. References are followed.
 * @param obj the object to search
 * @param key the key
 * @param err chaining status: WIQ_ERR_INVALID_ARG, WIQ_ERR_KEY_NOT_FOUND, WIQ_ERR_WRONG_TYPE or a
 *            status of wiq_json_jref_deref(), as in wiq_json_obj_get_obj()
 * @return true or false; false on failure
 */
KE_API bool wiq_json_obj_get_bool(const wiq_json_t* obj, const char* key, u32* err);

/**
 * Returns the number under a key, if wiq_json_is_i64_ext() with `ext` accepts it. References are
 * followed.
 * @param obj the object to search
 * @param key the key
 * @param err chaining status: WIQ_ERR_INVALID_ARG, WIQ_ERR_KEY_NOT_FOUND, WIQ_ERR_WRONG_TYPE or a
 *            status of wiq_json_jref_deref(), as in wiq_json_obj_get_obj()
 * @return the number; 0 on failure
 */
KE_API i64 wiq_json_obj_get_i64(const wiq_json_t* obj, const char* key, u32* err);

/**
 * Returns the number under a key, if wiq_json_is_u64_ext() with `ext` accepts it. References are
 * followed.
 * @param obj the object to search
 * @param key the key
 * @param err chaining status: WIQ_ERR_INVALID_ARG, WIQ_ERR_KEY_NOT_FOUND, WIQ_ERR_WRONG_TYPE or a
 *            status of wiq_json_jref_deref(), as in wiq_json_obj_get_obj()
 * @return the number; 0 on failure
 */
KE_API u64 wiq_json_obj_get_u64(const wiq_json_t* obj, const char* key, u32* err);

/**
 * Returns the number under a key, if wiq_json_is_u128_ext() with `ext` accepts it. References are
 * followed.
 * @param out receives the number, or 0 on failure, even if `err` held an earlier failure; must not
 *            be NULL
 * @param obj the object to search
 * @param key the key
 * @param err chaining status: WIQ_ERR_INVALID_ARG, WIQ_ERR_KEY_NOT_FOUND, WIQ_ERR_WRONG_TYPE or a
 *            status of wiq_json_jref_deref(), as in wiq_json_obj_get_obj()
 * @return `out`
 */
KE_API wiq_uint128* wiq_json_obj_get_u128(wiq_uint128* out, const wiq_json_t* obj, const char* key,
                                          u32* err);

/**
 * Returns the number under a key, if wiq_json_is_double_ext() with `ext` accepts it. References are
 * followed.
 * @param obj the object to search
 * @param key the key
 * @param err chaining status: WIQ_ERR_INVALID_ARG, WIQ_ERR_KEY_NOT_FOUND, WIQ_ERR_WRONG_TYPE or a
 *            status of wiq_json_jref_deref(), as in wiq_json_obj_get_obj()
 * @return the number; 0.0 on failure
 */
KE_API double wiq_json_obj_get_double(const wiq_json_t* obj, const char* key, u32* err);

/**
 * Returns the reference under a key, without following it.
 * @param obj the object
 * @param key the key
 * @param err chaining status: WIQ_ERR_INVALID_ARG if `obj` is not an object or `key` is NULL;
 *            WIQ_ERR_KEY_NOT_FOUND if the key is absent; WIQ_ERR_WRONG_TYPE for a value of another
 *            kind
 * @return the reference, still owned by the tree; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_get_jref(const wiq_json_t* obj, const char* key, u32* err);

/**
 * Returns the object under a key. If the key is absent, first puts a new, empty, strong object
 * there. References are followed.
 *
 * A reference that leads nowhere is a failure, not an absent key, and is left unchanged.
 * @param obj the object to search
 * @param key the key
 * @param err chaining status: WIQ_ERR_INVALID_ARG if `obj` is not an object or `key` is NULL;
 *            WIQ_ERR_NO_MEMORY when out of memory; WIQ_ERR_WRONG_TYPE for a value of another kind;
 *            a status of wiq_json_jref_deref(), such as WIQ_ERR_KEY_NOT_FOUND, if a reference is
 *            followed
 * @return the object, still owned by the tree; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_getd_obj(wiq_json_t* obj, const char* key, u32* err);

/**
 * Returns the array under a key. If the key is absent, first puts a new, empty, strong array there.
 * References are followed.
 * @param obj the object to search
 * @param key the key
 * @param err chaining status: WIQ_ERR_INVALID_ARG, WIQ_ERR_NO_MEMORY, WIQ_ERR_WRONG_TYPE or a
 *            status of wiq_json_jref_deref(), as in wiq_json_obj_getd_obj()
 * @return the array, still owned by the tree; NULL on failure
 */
KE_API wiq_json_t* wiq_json_obj_getd_array(wiq_json_t* obj, const char* key, u32* err);

/** Tells whether an object has a key. False too if `obj` is not an object or `key` is NULL. */
KE_API bool wiq_json_obj_has_key(const wiq_json_t* obj, const char* key);

/**
 * Returns the number of members.
 * @param obj the object
 * @return the number; WIQ_ERR_INVALID_ARG if `obj` is not an object
 */
KE_API i32 wiq_json_obj_size(const wiq_json_t* obj);

/**
 * Appends a copy of every key to a string vector, in the object's order.
 * @param obj  the object
 * @param keys an initialised vector; the strings in it stay
 * @return the number of members; for an empty object 0, with the vector untouched.
 *         WIQ_ERR_INVALID_ARG if `obj` is not an object or `keys` is NULL; WIQ_ERR_NO_MEMORY when
 *         out of memory, with the strings of the vector as they were.
 */
KE_API i32 wiq_json_obj_keys(const wiq_json_t* obj, wiq_strv* keys);

/**
 * Calls the callback for every member, in the object's order, until it returns false.
 * @param obj      the object
 * @param callback called for each member
 * @param user     passed on to `callback`
 * @return 0, whether or not the callback ended the walk; WIQ_ERR_INVALID_ARG if `obj` is not an
 *         object or `callback` is NULL
 */
KE_API i32 wiq_json_obj_foreach(const wiq_json_t* obj, WiqJsonMemberFn callback, void* user);

/**
 * Removes a member and releases its child.
 * @param obj the object
 * @param key the key
 * @return 0; WIQ_ERR_INVALID_ARG if `obj` is not an object, `key` is NULL or the key is not found
 *         (not WIQ_ERR_KEY_NOT_FOUND)
 */
KE_API i32 wiq_json_obj_remove(wiq_json_t* obj, const char* key);

/** @} */

/** @defgroup json_array JSON arrays
 *  An array stores elements by index. A negative index counts from the end, so -1 is the last
 *  element. What a getter returns is still owned by the array; call wiq_json_ref() to keep it.
 *  @{ */

/**
 * Tells whether an element stays in the array: true keeps it.
 *
 * It must not add elements to the array or remove any, which includes filtering or sorting it. It
 * may replace elements.
 * @param elem the element, owned by the array
 * @param user the pointer that was given to wiq_json_array_filter()
 */
typedef bool (*WiqJsonKeepFn)(wiq_json_t* elem, void* user);

/**
 * Compares two elements as qsort() requires: each argument is the address of a `wiq_json_t *`.
 *
 * It must not add elements to the array, remove any or replace any.
 */
typedef int (*WiqJsonCompareFn)(const void* a, const void* b);

/**
 * Makes an empty strong array.
 * @param capacity number of elements to make room for in advance; 0 or more
 * @param err      chaining status: WIQ_ERR_INVALID_ARG for a negative capacity; WIQ_ERR_NO_MEMORY
 *                 when out of memory
 * @return a free-standing node, which wiq_json_unref() releases; NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_new(i32 capacity, u32* err);

/**
 * Makes an empty weak array, which refers to nodes without becoming their parent.
 * @param capacity as in wiq_json_array_new()
 * @param err      chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *                 wiq_json_array_new()
 * @return a free-standing node, which wiq_json_unref() releases; NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_weak_new(i32 capacity, u32* err);

/**
 * Appends a child. The array takes a reference of its own; the caller keeps its references, if it
 * has any.
 * @param array a strong or weak array
 * @param child for a strong array, a free-standing node
 * @param err   chaining status
 * @return the status, which is also stored in `err`: 0; WIQ_ERR_INVALID_ARG if `array` is not an
 *         array, `child` is NULL, or a strong array is given a child that has a parent, is the
 *         array itself, or is one of the containers around it; WIQ_ERR_NO_MEMORY when out of
 *         memory. On failure the array and the child are unchanged.
 */
KE_API i32 wiq_json_array_push_ext(wiq_json_t* array, wiq_json_t* child, u32* err);

/**
 * Appends a new true or false.
 * @param array a strong or weak array
 * @param value true or false
 * @param err   chaining status: WIQ_ERR_INVALID_ARG if `array` is not an array; WIQ_ERR_NO_MEMORY
 *              when out of memory. On failure the array is unchanged.
 * @return the new node, which the array owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_push_bool(wiq_json_t* array, bool value, u32* err);

/**
 * Appends a new signed 64-bit integer.
 * @param array as in wiq_json_array_push_bool()
 * @param value the number
 * @param err   chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_array_push_bool()
 * @return the new node, which the array owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_push_i64(wiq_json_t* array, i64 value, u32* err);

/**
 * Appends a new unsigned 64-bit integer.
 * @param array as in wiq_json_array_push_bool()
 * @param value the number
 * @param err   chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_array_push_bool()
 * @return the new node, which the array owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_push_u64(wiq_json_t* array, u64 value, u32* err);

/**
 * Appends a new unsigned 128-bit integer.
 * @param array as in wiq_json_array_push_bool()
 * @param value the number, which is copied
 * @param err   chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_array_push_bool(); WIQ_ERR_INVALID_ARG also if `value` is NULL
 * @return the new node, which the array owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_push_u128(wiq_json_t* array, const wiq_uint128* value, u32* err);

/**
 * Appends a new double.
 * @param array as in wiq_json_array_push_bool()
 * @param value the number; NaN and infinities are accepted like any other
 * @param err   chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_array_push_bool()
 * @return the new node, which the array owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_push_double(wiq_json_t* array, double value, u32* err);

/**
 * Appends a new string.
 * @param array as in wiq_json_array_push_bool()
 * @param text  UTF-8, which is copied and not checked; if only the copy cannot be allocated, the
 *              result is that of wiq_json_str_new()
 * @param err   chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_array_push_bool(); WIQ_ERR_INVALID_ARG also if `text` is NULL
 * @return the new node, which the array owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_push_str(wiq_json_t* array, const char* text, u32* err);

/**
 * Appends a new, empty, strong object.
 * @param array as in wiq_json_array_push_bool()
 * @param err   chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_array_push_bool()
 * @return the new node, which the array owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_push_obj(wiq_json_t* array, u32* err);

/**
 * Appends a new, empty, strong array.
 * @param array as in wiq_json_array_push_bool()
 * @param err   chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_array_push_bool()
 * @return the new node, which the array owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_push_array(wiq_json_t* array, u32* err);

/**
 * Returns the number of elements.
 * @param array the array
 * @return the number; WIQ_ERR_INVALID_ARG if `array` is not an array
 */
KE_API i32 wiq_json_array_size(const wiq_json_t* array);

/**
 * Returns the element at an index, whatever its kind.
 * @param array the array
 * @param index from 0; negative from the end
 * @param flags ::WIQ_JSON_FOLLOW_REFS, or 0 to return a reference itself; other bits are ignored
 * @param err   chaining status: WIQ_ERR_INVALID_ARG if `array` is not an array;
 *              WIQ_ERR_INDEX_OUT_OF_RANGE (-1038) if there is no such element; a status of
 *              wiq_json_jref_deref() if a reference is followed
 * @return the element, still owned by the tree; NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_get_ext(const wiq_json_t* array, i32 index, u32 flags, u32* err);

/**
 * Replaces an element with a child and hands the element over to the caller. This needs no memory.
 *
 * The array gives up its reference to the old element without destroying it, even if the count
 * falls to 0. If a weak array is given the element that it has at this index, it keeps its
 * reference, and the caller gets another one.
 * @param array the array
 * @param index from 0; negative from the end. The child records the index exactly as passed, even a
 *              negative one (see wiq_json_parent_index()), until elements move and are renumbered.
 * @param child as in wiq_json_array_push_ext()
 * @param err   chaining status: WIQ_ERR_INVALID_ARG as in wiq_json_array_push_ext();
 *              WIQ_ERR_INDEX_OUT_OF_RANGE if there is no such element
 * @return the old element, which the caller releases with wiq_json_unref(); NULL on failure
 */
KE_API wiq_json_t* wiq_json_array_swap(wiq_json_t* array, i32 index, wiq_json_t* child, u32* err);

/**
 * Replaces an element with a child and releases the element, or appends the child if `index` is the
 * array's size. The old element lives on if somebody else holds a reference to it.
 * @param array the array
 * @param index from 0 to the array's size; negative from the end
 * @param child as in wiq_json_array_push_ext()
 * @return 0; WIQ_ERR_INVALID_ARG as in wiq_json_array_push_ext(); WIQ_ERR_INDEX_OUT_OF_RANGE for
 *         any other index; WIQ_ERR_NO_MEMORY when out of memory to append. On failure the array and
 *         the child are unchanged.
 */
KE_API i32 wiq_json_array_put(wiq_json_t* array, i32 index, wiq_json_t* child);

/**
 * Removes and releases the last `count` elements.
 * @param array the array
 * @param count number of elements to remove
 * @return 0; WIQ_ERR_INVALID_ARG if `array` is not an array, or `count` is negative or greater than
 *         the array's size, with nothing changed
 */
KE_API i32 wiq_json_array_pop(wiq_json_t* array, i32 count);

/**
 * Removes the last element and hands it over to the caller.
 *
 * The array gives up its reference to the element without destroying it, even if the count falls to
 * 0.
 * @param array the array
 * @return the element, which the caller releases with wiq_json_unref(); NULL if `array` is empty or
 *         not an array
 */
KE_API wiq_json_t* wiq_json_array_pop_elem(wiq_json_t* array);

/**
 * Finds the first element that is equal to a pattern: wiq_json_equal() of the element and the
 * pattern is true.
 * @param array   the array
 * @param pattern the pattern; may be NULL, which no element equals
 * @return the element, still owned by the array; NULL if not found or if `array` is not an
 *         array
 */
KE_API wiq_json_t* wiq_json_array_find(const wiq_json_t* array, const wiq_json_t* pattern);

/**
 * Finds the first element that is a string with this text.
 * @param array the array
 * @param text  the text
 * @return the element, still owned by the array; NULL if not found, `array` is not an array or
 *         `text` is NULL
 */
KE_API wiq_json_t* wiq_json_array_find_str(const wiq_json_t* array, const char* text);

/**
 * Removes and releases every element that the callback does not keep.
 *
 * The callback is called once for each element, in order; the array loses elements only after the
 * last call. The kept elements stay in order. There is one exception: elements that
 * wiq_json_array_swap() put in at a negative index come first, ordered by that index.
 *
 * The callback's answer applies to the element that is at the index when the callback returns. If
 * an element is replaced after it was dropped, a weak array drops the new element, while a strong
 * array keeps it.
 *
 * This function is meant for strong arrays, and for weak arrays whose elements are not in other
 * arrays. A weak array is sorted by the indices that its elements have in their own parent arrays
 * (0 for an element that has none). There, dropped elements get indices from this array's size
 * upwards, and such an index counts wherever the array lists the element. So if a node is listed
 * twice and dropped once, its last occurrence is the one that is lost. A dropped element whose
 * parent is another array keeps its new index, so that wiq_json_parent_index() is wrong from then
 * on.
 * @param array the array
 * @param keep  tells whether an element stays
 * @param user  passed on to `keep`
 * @return 0; WIQ_ERR_INVALID_ARG if `array` is not an array or `keep` is NULL; WIQ_ERR_NO_MEMORY
 *         when out of memory for a weak array, in which case the callback was not called and
 *         nothing is changed
 */
KE_API i32 wiq_json_array_filter(wiq_json_t* array, WiqJsonKeepFn keep, void* user);

/**
 * Sorts the elements with the runtime's qsort(), which may reorder equal elements.
 * @param array   the array
 * @param compare compares two elements
 * @return 0; WIQ_ERR_INVALID_ARG if `array` is not an array or `compare` is NULL
 */
KE_API i32 wiq_json_array_sort(wiq_json_t* array, WiqJsonCompareFn compare);

/** @} */

/** @defgroup json_tree Copy, comparison, subsets, moving nodes
 *  @{ */

/**
 * Flags of wiq_json_subset(). All four together mean equality. The first three apply to arrays;
 * each of them takes effect only together with those before it.
 */
enum wiq_json_subset_flag {
    WIQ_JSON_SUBSET_CONTIGUOUS = 1,  /**< the elements of `a` match consecutive ones of `b` */
    WIQ_JSON_SUBSET_PREFIX = 2,      /**< the match begins at the first element of b */
    WIQ_JSON_SUBSET_SAME_LENGTH = 4, /**< b has no more elements than a */
    WIQ_JSON_SUBSET_SAME_SIZE = 8    /**< objects have the same number of members */
};

/**
 * Copies a node and everything below it.
 *
 * References are copied, not followed. Weak containers become strong ones that hold copies.
 * @param node the node to copy
 * @param err  chaining status: WIQ_ERR_INVALID_ARG if `node` is NULL; WIQ_ERR_BAD_JSON_TYPE (-7014)
 *             if a tag above 10 is met; WIQ_ERR_NO_MEMORY when out of memory
 * @return a free-standing tree, which wiq_json_unref() releases; NULL on failure, with nothing
 *         leaked
 */
KE_API wiq_json_t* wiq_json_copy(const wiq_json_t* node, u32* err);

/**
 * Tells whether two trees are equal: wiq_json_subset() with all four flags.
 *
 * The order of `a` and `b` can make a difference for integers and doubles beyond 2^53, because `b`
 * is read in the kind of `a`: an integer of 2^60 equals a double of 2^60, but not the other way
 * round. At the limits of the integers, doubles of 2^63 and 2^64 are read as -2^63 and 0.
 */
KE_API bool wiq_json_equal(const wiq_json_t* a, const wiq_json_t* b);

/**
 * Tells whether `a` is contained in `b`.
 *
 * A node contains itself, and NULL contains only NULL. Otherwise:
 * - A number is contained in a number that can be read without loss in the kind of `a` (by
 *   `wiq_json_is_..._ext()` with `ext`) and then has the same value. So 5, 5.0 and an unsigned 5
 *   contain each other. A NaN is contained only in itself, the very same node.
 * - A string or a reference is contained in one of its own kind with the same text.
 * - An object is contained in an object that has each of its keys, with a value that contains the
 *   value in `a`.
 * - An array is contained in an array whose elements contain its elements, in the same order. Other
 *   elements may lie between them, unless the flags forbid it. Each element of `a` is matched with
 *   the first element of `b` that contains it and comes after the previous match.
 * - Any other node is contained in a node with the same tag.
 * @param a     may be NULL
 * @param b     may be NULL
 * @param flags of ::wiq_json_subset_flag; they apply at every level
 * @return the answer; also false when out of memory to walk a very deep tree. Circles of weak
 *         containers are not detected: a comparison that goes round in one ends only when memory
 *         runs out.
 */
KE_API bool wiq_json_subset(const wiq_json_t* a, const wiq_json_t* b, u32 flags);

/**
 * Takes a node out of its parent and hands it over to the caller, who releases it with
 * wiq_json_unref().
 *
 * The parent gives up its reference without destroying the node, even if the count falls to 0. A
 * member is removed together with its key, and the last element of an array is removed too. Any
 * other element is replaced by a null, so that the elements after it keep their indices.
 * @param node the node
 * @return 0, also for a node that has no parent; WIQ_ERR_INVALID_ARG if `node` is NULL;
 *         WIQ_ERR_NO_MEMORY when out of memory for that null, with nothing changed
 */
KE_API i32 wiq_json_make_orphan(wiq_json_t* node);

/**
 * Does what wiq_json_make_orphan() does, with a chaining status.
 * @param node the node
 * @param err  chaining status: WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY as in
 *             wiq_json_make_orphan()
 * @return the status in `err`
 */
KE_API i32 wiq_json_make_orphan_ex(wiq_json_t* node, u32* err);

/**
 * Replaces a node in its parent, and hands the node over to the caller as wiq_json_make_orphan()
 * does. This needs no memory.
 * @param node        the node to replace
 * @param replacement a free-standing node that is not one of the containers around `node`
 * @return 0, also for a node that has no parent, in which case nothing is done; WIQ_ERR_INVALID_ARG
 *         if an argument is NULL or the replacement cannot be attached, with nothing changed
 */
KE_API i32 wiq_json_swap_child(wiq_json_t* node, wiq_json_t* replacement);

/** @} */

/** @defgroup json_parser JSON parser
 *  Reads a JSON text (RFC 8259) into a tree of values, from a string or from a stream.
 *
 *  The text is converted as follows:
 *  - An integer from -2^63 to 2^63 - 1 becomes a signed 64-bit integer.
 *  - Any other integer becomes an unsigned 128-bit integer, modulo 2^128: `18446744073709551615`
 *    becomes that number, `-9223372036854775809` becomes 2^128 minus 9223372036854775809, and 2^128
 *    becomes 0.
 *  - A number with a fraction or an exponent becomes a double, correctly rounded, whatever the
 *    locale. A magnitude that is too large becomes an infinity, one that is too small becomes a
 *    zero.
 *  - `{"$ref": "text"}`, an object with no other member, becomes a reference to "text" (see
 *    wiq_json_jref_new()).
 *  - Any other object becomes an object. If several members have the same key, the last one is
 *    kept, unless ::WIQ_JSON_REJECT_DUPLICATES is given.
 *
 *  The parser is stricter than RFC 8259 in one thing: the text must be ASCII. Any other character
 *  is written as a `\u` escape (`\u00e9`, `\ud83d\ude00`) and becomes UTF-8 in the value; written
 *  raw it is a failure, even if it is valid UTF-8. (The serializer writes such characters raw, so
 *  its output can be read back only if it has none; utf8.h has functions that do without this
 *  limit.) `\u0000` and unpaired surrogates are failures too: no string contains a NUL. The text
 *  may be a value of any kind. There are no comments, no trailing commas, and no words except
 *  `true`, `false` and `null`.
 *
 *  Nesting is limited only by memory: nothing recurses, so the stack of the thread may be small.
 *
 *  A document takes up to 30 bytes of memory for each byte of its text, plus a few kilobytes;
 *  deeply nested arrays take the most. During parsing it can be up to 175 bytes for each byte,
 *  since a text of nothing but opening brackets makes the list of open containers grow. Before you
 *  parse an untrusted text, refuse it if it is too long.
 *
 *  Threads: a load uses nothing but its own arguments, so loads may run at the same time on
 *  different records and streams. A stream stays locked while it is loaded.
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

/** Flags of wiq_json_loads() and wiq_json_loadf(), which `|` combines. Other bits are ignored. */
enum wiq_json_load_flag {
    /**
     * Reads one value and stops. What follows is not read, except for the one character after a
     * number or a word that shows where it ends. wiq_json_load_error::position is then the end of
     * the value, from where the next value can be read.
     */
    WIQ_JSON_ALLOW_TRAILING = 1,
    /**
     * Makes the load fail with WIQ_ERR_JSON_DUPLICATE_KEY (-1047) if an object has the same key
     * twice.
     */
    WIQ_JSON_REJECT_DUPLICATES = 2
};

/**
 * Tells how a load ended.
 *
 * A load first sets status 0, line 1, column 0 and position 0, whatever the record held. So unlike
 * a chaining status, an old failure in the record does not keep the load from running. A successful
 * load then sets only `position`; a load that fails sets all four fields, to the status and the
 * location of the failure.
 *
 * The character at which the failure was noticed has been consumed, so its own location is
 * reported: in `[1,]` this is column 4. Only the character after a number or a word is not counted:
 * `[nul]` fails at column 4.
 *
 * A load fails with one of these statuses:
 * - WIQ_ERR_JSON_TRAILING_DATA (-1040): something follows the value, whether it can be read or not.
 * - WIQ_ERR_JSON_UNEXPECTED_END (-1041): the text ends inside an array or object where a comma or
 *   the closing bracket is expected, or an array's first or next element, or an object's first key.
 * - WIQ_ERR_JSON_UNEXPECTED_TOKEN (-1045): there is something other than what is expected, or the
 *   text ends; also for an empty text.
 * - WIQ_ERR_JSON_BAD_TOKEN (-1046): a value is expected, and what is there cannot be read.
 * - WIQ_ERR_JSON_DUPLICATE_KEY: see ::WIQ_JSON_REJECT_DUPLICATES.
 * - WIQ_ERR_NO_MEMORY: out of memory.
 * - WIQ_ERR_INVALID_ARG: the text or stream is NULL.
 *
 * The status tells why a token cannot be read only if it is the first one of the text. Inside an
 * array or object it is WIQ_ERR_JSON_BAD_TOKEN where a value is expected, and
 * WIQ_ERR_JSON_UNEXPECTED_TOKEN where a key, colon, comma or bracket is expected. For the first
 * token it is one of these:
 * - WIQ_ERR_JSON_UNEXPECTED_END: the text ends inside a string.
 * - WIQ_ERR_JSON_CONTROL_CHAR (-1042): a string contains a character below 0x20.
 * - WIQ_ERR_JSON_BAD_ESCAPE (-1043): an escape has the wrong form.
 * - WIQ_ERR_JSON_BAD_NUMBER (-1044): a number has the wrong form, such as `01`, `-`, `1.` or `1e`.
 * - WIQ_ERR_JSON_BAD_TOKEN: a character begins no token, or there is an unknown word.
 * - WIQ_ERR_JSON_BAD_UTF8 (-1049): the text is not valid UTF-8.
 * - WIQ_ERR_JSON_BAD_UNICODE_ESCAPE (-1050): `\u0000` or an unpaired surrogate.
 * - A number from -128 to -1: a raw character beyond ASCII. The status is its first byte as a
 *   signed number (-61 for U+00E9).
 * - WIQ_ERR_TRAILING_CHARS (-6001), WIQ_ERR_BAD_FORMAT (-7003): such a character directly after a
 *   number; the former if the number is a signed 64-bit integer, the latter for any other number.
 */
typedef struct wiq_json_load_error {
    i32 status;   /**< 0 or the failure */
    i32 line;     /**< from 1; only line feeds count. Stops at 2^31 - 1, as the others do. */
    i32 column;   /**< characters consumed since the last line feed; the first is column 1 */
    i32 position; /**< bytes consumed */
} wiq_json_load_error;

/**
 * Parses a string.
 * @param text  ends at its first NUL; for NULL the status is WIQ_ERR_INVALID_ARG. It is not needed
 *              after the call.
 * @param flags of ::wiq_json_load_flag; 0 for none
 * @param err   receives how the load ended (::wiq_json_load_error lists every status); may be NULL
 * @return a new tree, which the caller releases with wiq_json_unref(); NULL on failure, with
 *         everything that was read released
 */
KE_API wiq_json_t* wiq_json_loads(const char* text, i32 flags, wiq_json_load_error* err);

/**
 * Parses the rest of an open stream, from its current position. Line, column and position count
 * from there.
 *
 * A NUL is a character like any other, which begins no token; a NUL directly after a number or a
 * word is read with it and otherwise ignored.
 * @param fp    open for reading; it is neither rewound nor closed. For NULL the status is
 *              WIQ_ERR_INVALID_ARG. A read error counts as the end of the text.
 * @param flags of ::wiq_json_load_flag; 0 for none. With ::WIQ_JSON_ALLOW_TRAILING nothing after
 *              the closing bracket or quote of the value is read, and one character after a number
 *              or a word. Without it, a successful load reads to the end.
 * @param err   receives how the load ended (::wiq_json_load_error lists every status); may be NULL
 * @return a new tree, which the caller releases with wiq_json_unref(); NULL on failure, with
 *         everything that was read released, and the stream positioned after what was read
 */
KE_API wiq_json_t* wiq_json_loadf(FILE* fp, i32 flags, wiq_json_load_error* err);

/** @} */

/** @defgroup json_visitor JSON visitors
 *  @{ */

/** An instance of a visitor. WiqJsonVisitor adds no fields to the object header. */
typedef struct WiqJsonVisitor {
    WiqObject object; /**< class record and reference count */
} WiqJsonVisitor;

/**
 * The class record of WiqJsonVisitor. Every slot returns 0 to go on; any other status ends the
 * walk.
 *
 * Slots may add, remove and replace children of the containers being walked. The keys of an object
 * and the length of an array are read before the first child is visited. Each child is then looked
 * up when its turn comes; if the child is gone, it is NULL, which the slots of the base class
 * refuse with WIQ_ERR_INVALID_ARG. The base class refuses a node with a tag above 10 with
 * WIQ_ERR_BAD_JSON_TYPE.
 */
typedef struct WiqJsonVisitorClass {
    WiqClass base;                                        /**< the type of the class */
    i32 (*visit)(WiqJsonVisitor* self, wiq_json_t* node); /**< calls the slot for the kind */
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
    i32 (*object_end)(WiqJsonVisitor* self, wiq_json_t* obj);   /**< after the members */
    i32 (*object_member)(WiqJsonVisitor* self, wiq_json_t* obj, const char* key, wiq_json_t* value,
                         bool first); /**< visits the value of one member */
    i32 (*object_keys)(WiqJsonVisitor* self, wiq_json_t* obj,
                       wiq_strv* keys); /**< stores the keys, in the order of the walk */
    i32 (*array_begin)(WiqJsonVisitor* self, wiq_json_t* array); /**< before the elements */
    i32 (*array_end)(WiqJsonVisitor* self, wiq_json_t* array);   /**< after the elements */
    i32 (*array_element)(WiqJsonVisitor* self, wiq_json_t* array, i32 index,
                         wiq_json_t* elem); /**< visits one element */
} WiqJsonVisitorClass;

/**
 * The type of the base class of all visitors.
 *
 * A subclass is a WiqType that has this type as its parent, and whose class_init replaces slots. A
 * walk is a call of `class->visit(visitor, root)`; its result is the first nonzero status of a
 * slot, or 0. The walk of the base class recurses: each level of the document takes a part of the
 * stack.
 */
extern KE_API WiqType WiqJsonVisitorType;

/** @} */

/** @defgroup json_dump JSON serializer
 *  @{ */

/** Flags of the dump functions. */
enum wiq_json_dump_flag {
    WIQ_JSON_DUMP_U128_AS_OBJECT =
        2,                       /**< writes a 128-bit integer as {"u128":"..."}, not as a number */
    WIQ_JSON_DUMP_SORT_KEYS = 4, /**< sorts members by the bytes of their keys */
    WIQ_JSON_DUMP_PRETTY = 8     /**< puts each child on a line, indented by two spaces per level */
};

/**
 * Writes a document as text, into a new string.
 *
 * Members are written in the object's order, or sorted. Doubles have six decimals and no exponent.
 * Infinities and NaN are written as "inf", "-inf", "nan" and "-nan", which no JSON parser reads.
 * Characters beyond ASCII are written raw. Documents of any depth can be written.
 * @param node  the document
 * @param out   receives the string, which the caller releases with free(); unchanged on failure
 * @param flags of ::wiq_json_dump_flag; the text is compact without ::WIQ_JSON_DUMP_PRETTY
 * @return the length of the string; WIQ_ERR_INVALID_ARG if an argument is NULL, or for a string
 *         that has no text (see wiq_json_str_new()); WIQ_ERR_NO_MEMORY when out of memory;
 *         WIQ_ERR_RANGE (-7001) for a text of 2^31 bytes or more, which wiq_json_sdump_ext() can
 *         write; WIQ_ERR_BAD_FORMAT for a string that is not valid UTF-8; WIQ_ERR_BAD_JSON_TYPE for
 *         a damaged node
 */
KE_API i32 wiq_json_sdump(wiq_json_t* node, char** out, u32 flags);

/**
 * Appends the text of a document to a buffer.
 * @param node   the document
 * @param buf    the buffer
 * @param flags  of ::wiq_json_dump_flag
 * @param indent with ::WIQ_JSON_DUMP_PRETTY, the number of spaces before every line except the
 *               first
 * @return 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_NO_MEMORY, WIQ_ERR_BAD_FORMAT or WIQ_ERR_BAD_JSON_TYPE as
 *         in wiq_json_sdump(); the length is not limited. Text that was written before a failure
 *         stays.
 */
KE_API i32 wiq_json_sdump_ext(wiq_json_t* node, wiq_strbuf* buf, u32 flags, u32 indent);

/**
 * Writes the text of a document to a stream, which is neither flushed nor closed.
 *
 * If the stream calls functions of the caller's own, they must not change the document.
 * @param node   the document
 * @param fp     open for writing
 * @param flags  of ::wiq_json_dump_flag
 * @param indent as in wiq_json_sdump_ext()
 * @return the number of bytes written, or 2^31 - 1 if there are more; WIQ_ERR_INVALID_ARG,
 *         WIQ_ERR_NO_MEMORY, WIQ_ERR_BAD_FORMAT or WIQ_ERR_BAD_JSON_TYPE as in wiq_json_sdump(),
 *         though the length is not limited; -1 if the stream failed. Text that was written before a
 *         failure stays; no part of a string that is not valid UTF-8 is written.
 */
KE_API i32 wiq_json_fdump(wiq_json_t* node, FILE* fp, u32 flags, u32 indent);

/**
 * Escapes a text for JSON, without adding quotes, into a new string.
 * @param text UTF-8
 * @return the string, which the caller releases with free(); NULL if `text` is NULL or not valid
 *         UTF-8, for a result of 2^31 bytes or more, or when out of memory
 */
KE_API char* wiq_json_escape_str(const char* text);

/**
 * Appends a text to a buffer, escaped for JSON, without adding quotes. The quote, the backslash and
 * characters below 0x20 are escaped.
 *
 * An append that fails when out of memory is not reported.
 * @param text UTF-8; may lie in the buffer
 * @param buf  the buffer
 * @return the length of the buffer; WIQ_ERR_INVALID_ARG if an argument is NULL; WIQ_ERR_BAD_FORMAT
 *         for invalid UTF-8, with the text before it appended; WIQ_ERR_RANGE if the buffer would
 *         have 2^31 bytes or more, with nothing appended
 */
KE_API i32 wiq_json_escape_str_ext(const char* text, wiq_strbuf* buf);

/** @} */

/** @defgroup json_ref JSON references
 *  @{ */

/**
 * Makes a reference with a copy of a JSON pointer.
 * @param uri a JSON pointer, with or without "#" before it
 * @param err chaining status: WIQ_ERR_INVALID_ARG if `uri` is NULL; WIQ_ERR_NO_MEMORY when out of
 *            memory
 * @return a free-standing node, which wiq_json_unref() releases; NULL on failure
 */
KE_API wiq_json_t* wiq_json_jref_new(const char* uri, u32* err);

/**
 * Returns the pointer text of a reference.
 * @param node may be NULL
 * @return the text, still owned by the node; NULL for any other node and for NULL
 */
KE_API const char* wiq_json_jref_uri(const wiq_json_t* node);

/**
 * Follows a reference by one step, to what its pointer names in its own tree. That may be another
 * reference.
 * @param node the reference
 * @param err  chaining status: WIQ_ERR_INVALID_ARG if `node` is not a reference;
 *             WIQ_ERR_PTR_SYNTAX, WIQ_ERR_PTR_BAD_ESCAPE, WIQ_ERR_KEY_NOT_FOUND,
 *             WIQ_ERR_INDEX_OUT_OF_RANGE, WIQ_ERR_WRONG_TYPE or WIQ_ERR_NO_MEMORY as in
 *             wiq_json_ptr_get()
 * @return the node, still owned by the tree; NULL on failure
 */
KE_API wiq_json_t* wiq_json_jref_resolve(const wiq_json_t* node, u32* err);

/**
 * Follows references to the first value that is not a reference.
 * @param node the first reference
 * @param err  chaining status: 0 if a reference was followed; WIQ_ERR_INVALID_ARG if `node` is not
 *             a reference, in which case `node` itself is returned; WIQ_ERR_JREF_CYCLE (-1052) if
 *             the references lead back to themselves; WIQ_ERR_PTR_SYNTAX, WIQ_ERR_PTR_BAD_ESCAPE,
 *             WIQ_ERR_KEY_NOT_FOUND, WIQ_ERR_INDEX_OUT_OF_RANGE, WIQ_ERR_WRONG_TYPE or
 *             WIQ_ERR_NO_MEMORY as in wiq_json_ptr_get()
 * @return the value, still owned by the tree; NULL on failure
 */
KE_API wiq_json_t* wiq_json_jref_deref(wiq_json_t* node, u32* err);

/**
 * Replaces every reference that can be reached from `root` by a deep copy of its final target, in
 * place.
 *
 * The copies contain no references. A reference that somebody else holds survives as a
 * free-standing node. The root itself is never replaced: if it is a reference, only the references
 * inside its target are expanded. Documents of any depth can be expanded. Circles of weak
 * containers are not detected: an expansion that goes round in one ends only when memory runs out.
 *
 * The result may be exponentially larger than the document: sixty lists, each of two references to
 * the one before, become 2^60 values, and expanding them fails only when all memory is taken. Check
 * untrusted documents first, or follow single references with wiq_json_jref_deref(). The C++ layer
 * counts the values of the result before it makes any (`ke::json_ref::expand` with a limit).
 * @param root the node to begin at
 * @return 0; WIQ_ERR_INVALID_ARG if `root` is NULL; WIQ_ERR_JREF_CYCLE for references that lead
 *         back to themselves; WIQ_ERR_BAD_JSON_TYPE for a damaged node; WIQ_ERR_NO_MEMORY when out
 *         of memory; WIQ_ERR_PTR_SYNTAX, WIQ_ERR_PTR_BAD_ESCAPE, WIQ_ERR_KEY_NOT_FOUND,
 *         WIQ_ERR_INDEX_OUT_OF_RANGE or WIQ_ERR_WRONG_TYPE as in wiq_json_ptr_get(). References
 *         that were replaced before a failure stay replaced. If memory runs out before the walk
 *         begins, `root` keeps one more reference than before.
 */
KE_API i32 wiq_json_jref_expand(wiq_json_t* root);

/** @} */

/** @defgroup json_ptr JSON pointer
 *  @{ */

/**
 * Returns the value that a JSON pointer (RFC 6901) names. References on the way are not followed.
 * @param root        the node at which the pointer begins
 * @param ptr         "" and "#" name the root. A "#" at the beginning is dropped; percent signs are
 *                    not decoded. In an array, a step is any number that wiq_strtouint64() accepts,
 *                    whose low 32 bits are taken as a signed index.
 * @param err         chaining status: WIQ_ERR_INVALID_ARG if `root` or `ptr` is NULL;
 *                    WIQ_ERR_PTR_SYNTAX (-7019) if the pointer does not begin with "/";
 *                    WIQ_ERR_PTR_BAD_ESCAPE (-1039) for a "~" without "0" or "1" after it;
 *                    WIQ_ERR_KEY_NOT_FOUND if an object has no such member;
 *                    WIQ_ERR_INDEX_OUT_OF_RANGE if an array has no such element; WIQ_ERR_WRONG_TYPE
 *                    for a step into any other node, or a step into an array that is not an index;
 *                    WIQ_ERR_NO_MEMORY when out of memory
 * @param fail_prefix on failure, receives a new string with the pointer up to and including the
 *                    step that failed, which the caller releases with free(). It is not written if
 *                    the status is WIQ_ERR_INVALID_ARG or WIQ_ERR_NO_MEMORY. May be NULL.
 * @return the value, still owned by the tree; NULL on failure
 */
KE_API wiq_json_t* wiq_json_ptr_get(wiq_json_t* root, const char* ptr, u32* err,
                                    char** fail_prefix);

/**
 * Stores a value at the position that a JSON pointer names.
 *
 * Missing containers on the way are made: an array if the next step is a number or "-", otherwise
 * an object. In an array, "-" appends. Only the last step replaces an existing value.
 *
 * An empty step ends the pointer early: the value is then stored under the previous step once more.
 * For example, "/a/" stores at "/a/a".
 * @param root  the container at which the pointer begins
 * @param ptr   a JSON pointer that is not empty and does not begin with "#"
 * @param value a node that can be attached, as in wiq_json_obj_put_ext(); the container takes a
 *              reference of its own
 * @return 0; WIQ_ERR_INVALID_ARG if an argument is NULL, the pointer (or its first step, for an
 *         object) is empty, or the value cannot be attached; WIQ_ERR_PTR_SYNTAX,
 *         WIQ_ERR_PTR_BAD_ESCAPE or WIQ_ERR_WRONG_TYPE as in wiq_json_ptr_get();
 *         WIQ_ERR_INDEX_OUT_OF_RANGE for an index greater than the array's size; WIQ_ERR_NO_MEMORY
 *         when out of memory. After a failure the value is not attached, but containers that were
 *         made before the failing step stay.
 */
KE_API i32 wiq_json_ptr_put(wiq_json_t* root, const char* ptr, wiq_json_t* value);

/**
 * Makes an empty object and stores it as wiq_json_ptr_put() does.
 * @param root the container at which the pointer begins
 * @param ptr  the JSON pointer
 * @param err  receives 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_PTR_SYNTAX, WIQ_ERR_PTR_BAD_ESCAPE,
 *             WIQ_ERR_WRONG_TYPE, WIQ_ERR_INDEX_OUT_OF_RANGE or WIQ_ERR_NO_MEMORY as in
 *             wiq_json_ptr_put(); WIQ_ERR_NO_MEMORY also if the value cannot be made. It does not
 *             chain: it is not read on entry. May be NULL.
 * @return the new node, which its container owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_ptr_put_obj(wiq_json_t* root, const char* ptr, u32* err);

/**
 * Makes an empty array and stores it as wiq_json_ptr_put() does.
 * @param root as in wiq_json_ptr_put_obj()
 * @param ptr  as in wiq_json_ptr_put_obj()
 * @param err  receives 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_PTR_SYNTAX, WIQ_ERR_PTR_BAD_ESCAPE,
 *             WIQ_ERR_WRONG_TYPE, WIQ_ERR_INDEX_OUT_OF_RANGE or WIQ_ERR_NO_MEMORY as in
 *             wiq_json_ptr_put_obj(). Not read on entry; may be NULL.
 * @return the new node, which its container owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_ptr_put_array(wiq_json_t* root, const char* ptr, u32* err);

/**
 * Makes a true or a false and stores it as wiq_json_ptr_put() does.
 * @param root  as in wiq_json_ptr_put_obj()
 * @param ptr   as in wiq_json_ptr_put_obj()
 * @param value true or false
 * @param err   receives 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_PTR_SYNTAX, WIQ_ERR_PTR_BAD_ESCAPE,
 *              WIQ_ERR_WRONG_TYPE, WIQ_ERR_INDEX_OUT_OF_RANGE or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_ptr_put_obj(). Not read on entry; may be NULL.
 * @return the new node, which its container owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_ptr_put_bool(wiq_json_t* root, const char* ptr, bool value, u32* err);

/**
 * Makes a double and stores it as wiq_json_ptr_put() does.
 * @param root  as in wiq_json_ptr_put_obj()
 * @param ptr   as in wiq_json_ptr_put_obj()
 * @param value the number; NaN and infinities are accepted like any other
 * @param err   receives 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_PTR_SYNTAX, WIQ_ERR_PTR_BAD_ESCAPE,
 *              WIQ_ERR_WRONG_TYPE, WIQ_ERR_INDEX_OUT_OF_RANGE or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_ptr_put_obj(). Not read on entry; may be NULL.
 * @return the new node, which its container owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_ptr_put_double(wiq_json_t* root, const char* ptr, double value,
                                           u32* err);

/**
 * Makes a signed 64-bit integer and stores it as wiq_json_ptr_put() does.
 * @param root  as in wiq_json_ptr_put_obj()
 * @param ptr   as in wiq_json_ptr_put_obj()
 * @param value the number
 * @param err   receives 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_PTR_SYNTAX, WIQ_ERR_PTR_BAD_ESCAPE,
 *              WIQ_ERR_WRONG_TYPE, WIQ_ERR_INDEX_OUT_OF_RANGE or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_ptr_put_obj(). Not read on entry; may be NULL.
 * @return the new node, which its container owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_ptr_put_i64(wiq_json_t* root, const char* ptr, i64 value, u32* err);

/**
 * Makes an unsigned 64-bit integer and stores it as wiq_json_ptr_put() does.
 * @param root  as in wiq_json_ptr_put_obj()
 * @param ptr   as in wiq_json_ptr_put_obj()
 * @param value the number
 * @param err   receives 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_PTR_SYNTAX, WIQ_ERR_PTR_BAD_ESCAPE,
 *              WIQ_ERR_WRONG_TYPE, WIQ_ERR_INDEX_OUT_OF_RANGE or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_ptr_put_obj(). Not read on entry; may be NULL.
 * @return the new node, which its container owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_ptr_put_u64(wiq_json_t* root, const char* ptr, u64 value, u32* err);

/**
 * Makes an unsigned 128-bit integer and stores it as wiq_json_ptr_put() does.
 * @param root  as in wiq_json_ptr_put_obj()
 * @param ptr   as in wiq_json_ptr_put_obj()
 * @param value the number, which is copied
 * @param err   receives 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_PTR_SYNTAX, WIQ_ERR_PTR_BAD_ESCAPE,
 *              WIQ_ERR_WRONG_TYPE, WIQ_ERR_INDEX_OUT_OF_RANGE or WIQ_ERR_NO_MEMORY as in
 *              wiq_json_ptr_put_obj(); WIQ_ERR_INVALID_ARG also if `value` is NULL. Not read on
 *              entry; may be NULL.
 * @return the new node, which its container owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_ptr_put_u128(wiq_json_t* root, const char* ptr,
                                         const wiq_uint128* value, u32* err);

/**
 * Makes a string and stores it as wiq_json_ptr_put() does.
 * @param root as in wiq_json_ptr_put_obj()
 * @param ptr  as in wiq_json_ptr_put_obj()
 * @param text UTF-8, which is copied and not checked; if only the copy cannot be allocated, the
 *             result is that of wiq_json_str_new()
 * @param err  receives 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_PTR_SYNTAX, WIQ_ERR_PTR_BAD_ESCAPE,
 *             WIQ_ERR_WRONG_TYPE, WIQ_ERR_INDEX_OUT_OF_RANGE or WIQ_ERR_NO_MEMORY as in
 *             wiq_json_ptr_put_obj(); WIQ_ERR_INVALID_ARG also if `text` is NULL. Not read on
 *             entry; may be NULL.
 * @return the new node, which its container owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_ptr_put_str(wiq_json_t* root, const char* ptr, const char* text,
                                        u32* err);

/**
 * Makes a reference and stores it as wiq_json_ptr_put() does.
 * @param root as in wiq_json_ptr_put_obj()
 * @param ptr  as in wiq_json_ptr_put_obj()
 * @param uri  a JSON pointer, which is copied; see wiq_json_jref_new()
 * @param err  receives 0; WIQ_ERR_INVALID_ARG, WIQ_ERR_PTR_SYNTAX, WIQ_ERR_PTR_BAD_ESCAPE,
 *             WIQ_ERR_WRONG_TYPE, WIQ_ERR_INDEX_OUT_OF_RANGE or WIQ_ERR_NO_MEMORY as in
 *             wiq_json_ptr_put_obj(); WIQ_ERR_INVALID_ARG also if `uri` is NULL. Not read on entry;
 *             may be NULL.
 * @return the new node, which its container owns; NULL on failure
 */
KE_API wiq_json_t* wiq_json_ptr_put_jref(wiq_json_t* root, const char* ptr, const char* uri,
                                         u32* err);

/**
 * Makes the JSON pointer of a node, from the root of its tree. The node may be at any depth.
 * @param node the node; a root gives ""
 * @param out  receives a new string, which the caller releases with free(); unchanged on failure
 * @return the length of the string; WIQ_ERR_INVALID_ARG if an argument is NULL; WIQ_ERR_NO_MEMORY
 *         when out of memory; WIQ_ERR_RANGE for a pointer of 2^31 bytes or more; WIQ_ERR_WRONG_TYPE
 *         for a damaged node, whose parent is not a container
 */
KE_API i32 wiq_json_ptr(const wiq_json_t* node, char** out);

/**
 * Appends the JSON pointer of a node to a buffer.
 * @param node the node
 * @param buf  the buffer
 * @return 0; WIQ_ERR_INVALID_ARG if an argument is NULL; WIQ_ERR_NO_MEMORY when out of memory, and
 *         WIQ_ERR_WRONG_TYPE as in wiq_json_ptr(), with nothing appended
 */
KE_API i32 wiq_json_ptr_ext(const wiq_json_t* node, wiq_strbuf* buf);

/**
 * Appends the JSON pointer of an object, "/" and a key to a buffer.
 * @param obj the object
 * @param key appended without escapes; may lie in the buffer
 * @param buf the buffer
 * @return 0; WIQ_ERR_INVALID_ARG if an argument is NULL or `obj` is not an object;
 *         WIQ_ERR_NO_MEMORY when out of memory, and WIQ_ERR_WRONG_TYPE as in wiq_json_ptr(), with
 *         nothing appended
 */
KE_API i32 wiq_json_ptr_build_obj_ext(const wiq_json_t* obj, const char* key, wiq_strbuf* buf);

/**
 * Appends the JSON pointer of the position after the last element of an array to a buffer.
 * @param array the array
 * @param buf   the buffer
 * @return 0; WIQ_ERR_INVALID_ARG if an argument is NULL or `array` is not an array;
 *         WIQ_ERR_NO_MEMORY when out of memory, and WIQ_ERR_WRONG_TYPE as in wiq_json_ptr(), with
 *         nothing appended
 */
KE_API i32 wiq_json_ptr_build_array_ext(const wiq_json_t* array, wiq_strbuf* buf);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
