// Tagged values: setting, clearing, copying and comparing them.
//
// What a value owns:
//   - the block of a 128-bit number, always;
//   - the record of a long blob (see kMinLongBlob), always; WIQ_MTYPE_LONG_BLOB tells that there is
//     one;
//   - a string, the data of a blob or a pointer, if WIQ_MTYPE_OWNED is set.
// No setter keeps the old contents. A setter that runs out of memory leaves the value with its old
// type and a payload that must not be read, but owning nothing: it can be set again or finalized.

#include <cstdlib>
#include <cstring>

#include "ke_utils/core.h"
#include "ke_utils/mtype.h"

namespace {

// Blobs of this size or more have a record with their length; blob_len holds smaller lengths only.
constexpr u64 kMinLongBlob = 65535;

bool has_flag(const wiq_mtype* value, u8 flag) {
    return (value->flags & flag) != 0;
}

// Releases what the value owns. The type stays until a setter writes a new one, and the payload may
// point to freed memory. Clearing the value again releases nothing: the flags are 0, and the
// pointer of a 128-bit number, which is released whatever the flags say, is NULL.
void clear(wiq_mtype* value) {
    if (has_flag(value, WIQ_MTYPE_LONG_BLOB)) {
        if (has_flag(value, WIQ_MTYPE_OWNED))
            free(value->payload.long_blob->data);
        free(value->payload.long_blob);
    } else if (value->type == WIQ_MTYPE_UINT128) {
        free(value->payload.uint128);
        value->payload.uint128 = nullptr;
    } else if (has_flag(value, WIQ_MTYPE_OWNED) &&
               (value->type == WIQ_MTYPE_UTF8 || value->type == WIQ_MTYPE_BLOB ||
                value->type == WIQ_MTYPE_PTR)) {
        free(value->payload.ptr);
    }
    value->flags = 0;
    value->blob_len = 0;
}

// The first step of every setter: returns WIQ_ERR_INVALID_ARG if there is no value, otherwise
// clears it.
i32 begin_set(wiq_mtype* value) {
    if (value == nullptr)
        return WIQ_ERR_INVALID_ARG;
    clear(value);
    return 0;
}

// Sets a value that needs no memory; `store` writes the payload. The flags are 0 afterwards.
template <class Store>
i32 set_scalar(wiq_mtype* value, u8 type, const Store& store) {
    const i32 status = begin_set(value);
    if (status != 0)
        return status;
    store(value->payload);
    value->type = type;
    return 0;
}

// Stores data of any size in a cleared value, without copying it and without ownership. Returns 0;
// WIQ_ERR_NO_MEMORY if a record is needed and cannot be allocated, with the value unchanged.
i32 store_blob(wiq_mtype* value, void* data, u64 size) {
    if (size < kMinLongBlob) {
        value->blob_len = static_cast<u16>(size);
        value->payload.blob = data;
        value->type = WIQ_MTYPE_BLOB;
        return 0;
    }
    auto* record = static_cast<wiq_mtype_blob*>(malloc(sizeof(wiq_mtype_blob)));
    if (record == nullptr)
        return WIQ_ERR_NO_MEMORY;
    *record = {size, data};
    value->payload.long_blob = record;
    value->flags = WIQ_MTYPE_LONG_BLOB;
    value->type = WIQ_MTYPE_BLOB;
    return 0;
}

bool equal_text(const char* a, const char* b) {
    return a == b || (a != nullptr && b != nullptr && strcmp(a, b) == 0);
}

bool equal_blobs(const wiq_mtype* a, const wiq_mtype* b) {
    u64 length_a = 0;
    u64 length_b = 0;
    const void* data_a = wiq_mtype_get_blob(a, &length_a);
    const void* data_b = wiq_mtype_get_blob(b, &length_b);
    if (length_a != length_b || length_a == 0)
        return length_a == length_b;
    // A blob with a length but no data is a caller's mistake; it equals itself.
    return data_a == data_b ||
           (data_a != nullptr && data_b != nullptr && memcmp(data_a, data_b, length_a) == 0);
}

}  // namespace

void wiq_mtype_init(wiq_mtype* value) {
    if (value == nullptr)
        return;
    value->type = WIQ_MTYPE_NULL;
    value->flags = 0;
    value->blob_len = 0;
}

i32 wiq_mtype_finalize(wiq_mtype* value) {
    return begin_set(value);
}

i32 wiq_mtype_set_null(wiq_mtype* value) {
    return set_scalar(value, WIQ_MTYPE_NULL, [](auto&) {});
}

i32 wiq_mtype_set_bool(wiq_mtype* value, u8 boolean) {
    return set_scalar(value, WIQ_MTYPE_BOOL, [=](auto& payload) { payload.boolean = boolean; });
}

i32 wiq_mtype_set_int32(wiq_mtype* value, i32 number) {
    return set_scalar(value, WIQ_MTYPE_INT32, [=](auto& payload) { payload.int32 = number; });
}

i32 wiq_mtype_set_int64(wiq_mtype* value, i64 number) {
    return set_scalar(value, WIQ_MTYPE_INT64, [=](auto& payload) { payload.int64 = number; });
}

i32 wiq_mtype_set_uint32(wiq_mtype* value, u32 number) {
    return set_scalar(value, WIQ_MTYPE_UINT32, [=](auto& payload) { payload.uint32 = number; });
}

i32 wiq_mtype_set_uint64(wiq_mtype* value, u64 number) {
    return set_scalar(value, WIQ_MTYPE_UINT64, [=](auto& payload) { payload.uint64 = number; });
}

i32 wiq_mtype_set_float(wiq_mtype* value, float number) {
    return set_scalar(value, WIQ_MTYPE_FLOAT, [=](auto& payload) { payload.float32 = number; });
}

i32 wiq_mtype_set_double(wiq_mtype* value, double number) {
    return set_scalar(value, WIQ_MTYPE_DOUBLE, [=](auto& payload) { payload.float64 = number; });
}

i32 wiq_mtype_set_status(wiq_mtype* value, i32 status) {
    return set_scalar(value, WIQ_MTYPE_STATUS, [=](auto& payload) { payload.status = status; });
}

i32 wiq_mtype_set_uint128(wiq_mtype* value, wiq_uint128 number) {
    const i32 status = begin_set(value);
    if (status != 0)
        return status;
    auto* cell = static_cast<wiq_uint128*>(malloc(sizeof(wiq_uint128)));
    if (cell == nullptr)
        return WIQ_ERR_NO_MEMORY;
    *cell = number;
    value->payload.uint128 = cell;
    value->type = WIQ_MTYPE_UINT128;
    return 0;
}

i32 wiq_mtype_set_utf8(wiq_mtype* value, const char* str, u8 copy) {
    if (value == nullptr)
        return WIQ_ERR_INVALID_ARG;
    char* text = const_cast<char*>(str);
    const bool owned = str != nullptr && copy != 0;
    // The copy is made before the value is cleared: the string may be the value's own.
    if (owned)
        text = strdup(str);
    clear(value);
    if (owned && text == nullptr)
        return WIQ_ERR_NO_MEMORY;
    value->payload.utf8 = text;
    value->flags = owned ? WIQ_MTYPE_OWNED : 0;
    value->type = WIQ_MTYPE_UTF8;
    return 0;
}

i32 wiq_mtype_set_blob(wiq_mtype* value, const void* data, u64 size, u8 copy, u8 own) {
    if (value == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const bool copies = copy != 0 && data != nullptr && size != 0;
    void* stored = copy != 0 && size == 0 ? nullptr : const_cast<void*>(data);
    // The copy is made before the value is cleared: the bytes may be the value's own.
    if (copies) {
        stored = malloc(size);
        if (stored != nullptr)
            memcpy(stored, data, size);
    }
    clear(value);
    if (copies && stored == nullptr)
        return WIQ_ERR_NO_MEMORY;
    const i32 status = store_blob(value, stored, size);
    if (status != 0) {
        if (copies)
            free(stored);
        return status;
    }
    // `own` alone decides about ownership. Without it, the value does not release even a copy that
    // was made here.
    if (own != 0)
        value->flags |= WIQ_MTYPE_OWNED;
    return 0;
}

i32 wiq_mtype_set_ptr(wiq_mtype* value, void* ptr, u8 own) {
    const i32 status = set_scalar(value, WIQ_MTYPE_PTR, [=](auto& payload) { payload.ptr = ptr; });
    if (status == 0 && own != 0)
        value->flags = WIQ_MTYPE_OWNED;
    return status;
}

i32 wiq_mtype_copy(const wiq_mtype* src, wiq_mtype* dst) {
    if (src == nullptr || dst == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (src == dst)
        return 0;
    // What `src` holds may be borrowed from `dst`. That is safe for the three types below, because
    // they are read before `dst` is cleared.
    if (src->type == WIQ_MTYPE_UTF8)
        return wiq_mtype_set_utf8(dst, src->payload.utf8, 1);
    if (src->type == WIQ_MTYPE_BLOB) {
        u64 length = 0;
        const void* data = wiq_mtype_get_blob(src, &length);
        return wiq_mtype_set_blob(dst, data, length, 1, 1);
    }
    if (src->type == WIQ_MTYPE_UINT128)
        return wiq_mtype_set_uint128(dst, wiq_mtype_get_uint128(src));
    // The flags are copied, too: both values own a pointer that `src` owns.
    clear(dst);
    *dst = *src;
    return 0;
}

i32 wiq_mtype_copy_ref(const wiq_mtype* src, wiq_mtype* dst) {
    if (src == nullptr || dst == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (src == dst)
        return 0;
    // Nothing that `src` holds may be borrowed from `dst`, as it is released here.
    clear(dst);
    if (src->type == WIQ_MTYPE_BLOB) {
        u64 length = 0;
        void* data = const_cast<void*>(wiq_mtype_get_blob(src, &length));
        return store_blob(dst, data, length);
    }
    // A 128-bit number is owned whatever the flags say, so now both values own it. The header tells
    // callers not to finalize such a copy.
    *dst = *src;
    dst->flags &= static_cast<u8>(~WIQ_MTYPE_OWNED);
    return 0;
}

bool wiq_mtype_equal(const wiq_mtype* a, const wiq_mtype* b) {
    if (a == nullptr || b == nullptr || a->type != b->type)
        return false;
    switch (a->type) {
        case WIQ_MTYPE_NULL:
            return true;
        case WIQ_MTYPE_BOOL:
            return (a->payload.boolean != 0) == (b->payload.boolean != 0);
        case WIQ_MTYPE_INT32:
        case WIQ_MTYPE_UINT32:
        case WIQ_MTYPE_STATUS:
            // These types have the same 32 bits in the union.
            return a->payload.uint32 == b->payload.uint32;
        case WIQ_MTYPE_INT64:
        case WIQ_MTYPE_UINT64:
        case WIQ_MTYPE_PTR:
            // These types have the same 64 bits in the union.
            static_assert(sizeof(void*) == sizeof(u64));
            return a->payload.uint64 == b->payload.uint64;
        case WIQ_MTYPE_UINT128: {
            const wiq_uint128 x = wiq_mtype_get_uint128(a);
            const wiq_uint128 y = wiq_mtype_get_uint128(b);
            return x.lo == y.lo && x.hi == y.hi;
        }
        // NaN is equal to nothing.
        case WIQ_MTYPE_FLOAT:
            return a->payload.float32 == b->payload.float32;
        case WIQ_MTYPE_DOUBLE:
            return a->payload.float64 == b->payload.float64;
        case WIQ_MTYPE_UTF8:
            return equal_text(a->payload.utf8, b->payload.utf8);
        case WIQ_MTYPE_BLOB:
            return equal_blobs(a, b);
        default:
            return false;
    }
}

bool wiq_mtype_equal_utf8(const wiq_mtype* a, const wiq_mtype* b) {
    return wiq_mtype_is_utf8(a) && wiq_mtype_is_utf8(b) &&
           equal_text(a->payload.utf8, b->payload.utf8);
}
