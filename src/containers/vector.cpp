// The growable array: elements of one size, stored in one block, and destroyed from the last to the
// first.

#include <cstdlib>

#include "core/exports.h"
#include "core/refcount.h"
#include "ke_utils/containers.h"
#include "ke_utils/core.h"

namespace {

void* elem_at(const wiq_vector* vec, i32 index) {
    return static_cast<u8*>(vec->data) + static_cast<u64>(index) * vec->elem_size;
}

// Resizes the block for exactly `capacity` elements, which must be more than 0. Returns 0, or
// WIQ_ERR_NO_MEMORY with nothing changed.
i32 set_capacity(wiq_vector* vec, i32 capacity) {
    const u64 count = static_cast<u64>(capacity);
    if (count > SIZE_MAX / vec->elem_size)
        return WIQ_ERR_NO_MEMORY;
    void* block = realloc(vec->data, count * vec->elem_size);
    if (block == nullptr)
        return WIQ_ERR_NO_MEMORY;
    vec->data = block;
    vec->capacity = capacity;
    return 0;
}

// The size is set after the last callback. So a callback that changes the vector would work on
// elements that do not exist yet, or that no longer exist. A callback must not do so; if the change
// is noticed, the function stops with this status and leaves the vector as the callback left it.
constexpr i32 kChanged = WIQ_ERR_FAILED;

i32 grow(wiq_vector* vec, i32 size) {
    if (size > vec->capacity) {
        const i32 doubled = vec->capacity > INT32_MAX / 2 ? INT32_MAX : 2 * vec->capacity;
        const i32 capacity = doubled < size ? size : doubled;
        const i32 status = set_capacity(vec, capacity);
        if (status != 0)
            return status;
    }
    const i32 first = vec->size;
    if (vec->init_cb != nullptr) {
        for (i32 i = first; i < size; ++i) {
            vec->init_cb(elem_at(vec, i));
            if (vec->size != first || vec->capacity < size)
                return kChanged;
        }
    }
    vec->size = size;
    return 0;
}

i32 shrink(wiq_vector* vec, i32 size) {
    const i32 end = vec->size;
    if (vec->free_cb != nullptr) {
        for (i32 i = end; i > size; --i) {
            vec->free_cb(elem_at(vec, i - 1));
            if (vec->size != end || vec->capacity < i)
                return kChanged;
        }
    }
    vec->size = size;
    return 0;
}

}  // namespace

i32 wiq_vector_init(wiq_vector* vec, u64 elem_size, i32 size, wiq_vector_elem_fn init_cb,
                    wiq_vector_elem_fn free_cb) {
    if (vec == nullptr || size < 0 || elem_size == 0)
        return WIQ_ERR_INVALID_ARG;
    vec->elem_size = elem_size;
    vec->capacity = 0;
    vec->size = 0;
    vec->init_cb = init_cb;
    vec->free_cb = free_cb;
    vec->data = nullptr;
    vec->refcount = 1;
    return grow(vec, size);
}

wiq_vector* wiq_vector_new(u64 elem_size, i32 size, wiq_vector_elem_fn init_cb,
                           wiq_vector_elem_fn free_cb) {
    auto* vec = static_cast<wiq_vector*>(malloc(sizeof(wiq_vector)));
    if (vec != nullptr && wiq_vector_init(vec, elem_size, size, init_cb, free_cb) != 0) {
        free(vec);
        vec = nullptr;
    }
    return vec;
}

i32 wiq_vector_finalize(wiq_vector* vec) {
    if (vec == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const i32 status = shrink(vec, 0);
    if (status != 0)
        return status;
    free(vec->data);
    vec->data = nullptr;
    vec->capacity = 0;
    return 0;
}

void wiq_vector_delete(wiq_vector* vec) {
    if (vec == nullptr)
        return;
    ke::mark_dying(&vec->refcount);
    wiq_vector_finalize(vec);
    free(vec);
}

void wiq_vector_ref(wiq_vector* vec) {
    ke::add_owner(&vec->refcount);
}

void wiq_vector_unref(wiq_vector* vec) {
    if (ke::remove_owner(&vec->refcount))
        wiq_vector_delete(vec);
}

i32 wiq_vector_resize(wiq_vector* vec, i32 size) {
    if (vec == nullptr || size < 0)
        return WIQ_ERR_INVALID_ARG;
    if (size > vec->size)
        return grow(vec, size);
    return shrink(vec, size);
}

void* wiq_vector_push(wiq_vector* vec) {
    if (vec == nullptr || vec->size == INT32_MAX || grow(vec, vec->size + 1) != 0)
        return nullptr;
    return elem_at(vec, vec->size - 1);
}

i32 wiq_vector_pop(wiq_vector* vec, i32 count) {
    if (vec == nullptr || count < 0)
        return WIQ_ERR_INVALID_ARG;
    // If there are fewer elements, the new size is negative, which is refused.
    return wiq_vector_resize(vec, vec->size - count);
}

void* wiq_vector_get(const wiq_vector* vec, i32 index) {
    if (vec == nullptr || index >= vec->size)
        return nullptr;
    if (index < 0)
        index += vec->size;
    return index < 0 ? nullptr : elem_at(vec, index);
}

// One function with two names.
const void* wiq_vector_get_const(const wiq_vector* vec, i32 index)
    KE_SECOND_NAME_OF(wiq_vector_get);

i32 wiq_vector_size(const wiq_vector* vec) {
    return vec == nullptr ? static_cast<i32>(WIQ_ERR_INVALID_ARG) : vec->size;
}

i32 wiq_vector_extra_capacity(wiq_vector* vec, i32 extra) {
    if (vec == nullptr || extra < 0)
        return WIQ_ERR_INVALID_ARG;
    if (extra > INT32_MAX - vec->size)
        return WIQ_ERR_NO_MEMORY;
    const i32 capacity = vec->size + extra;
    if (capacity != 0)
        return set_capacity(vec, capacity);
    free(vec->data);
    vec->data = nullptr;
    vec->capacity = 0;
    return 0;
}
