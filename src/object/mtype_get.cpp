// Tagged values: their types and contents. Getters convert nothing; for a value of another type
// they return 0, false or NULL.

#include "ke_utils/mtype.h"

namespace {

bool is(const wiq_mtype* value, u8 type) {
    return value != nullptr && value->type == type;
}

}  // namespace

u8 wiq_mtype_get_type(const wiq_mtype* value) {
    return value == nullptr ? static_cast<u8>(WIQ_MTYPE_NULL) : value->type;
}

bool wiq_mtype_is_null(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_NULL);
}
bool wiq_mtype_is_bool(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_BOOL);
}
bool wiq_mtype_is_int32(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_INT32);
}
bool wiq_mtype_is_int64(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_INT64);
}
bool wiq_mtype_is_uint32(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_UINT32);
}
bool wiq_mtype_is_uint64(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_UINT64);
}
bool wiq_mtype_is_uint128(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_UINT128);
}
bool wiq_mtype_is_float(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_FLOAT);
}
bool wiq_mtype_is_double(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_DOUBLE);
}
bool wiq_mtype_is_utf8(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_UTF8);
}
bool wiq_mtype_is_blob(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_BLOB);
}
bool wiq_mtype_is_ptr(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_PTR);
}
bool wiq_mtype_is_status(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_STATUS);
}

bool wiq_mtype_get_bool(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_BOOL) && value->payload.boolean != 0;
}
i32 wiq_mtype_get_int32(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_INT32) ? value->payload.int32 : 0;
}
i64 wiq_mtype_get_int64(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_INT64) ? value->payload.int64 : 0;
}
u32 wiq_mtype_get_uint32(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_UINT32) ? value->payload.uint32 : 0;
}
u64 wiq_mtype_get_uint64(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_UINT64) ? value->payload.uint64 : 0;
}
wiq_uint128 wiq_mtype_get_uint128(const wiq_mtype* value) {
    // After a setter that ran out of memory, a value may have this tag and no cell.
    const bool has_cell = is(value, WIQ_MTYPE_UINT128) && value->payload.uint128 != nullptr;
    return has_cell ? *value->payload.uint128 : wiq_uint128{0, 0};
}
float wiq_mtype_get_float(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_FLOAT) ? value->payload.float32 : 0.0F;
}
double wiq_mtype_get_double(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_DOUBLE) ? value->payload.float64 : 0.0;
}
const char* wiq_mtype_get_utf8(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_UTF8) ? value->payload.utf8 : nullptr;
}
void* wiq_mtype_get_ptr(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_PTR) ? value->payload.ptr : nullptr;
}
i32 wiq_mtype_get_status(const wiq_mtype* value) {
    return is(value, WIQ_MTYPE_STATUS) ? value->payload.status : 0;
}

const void* wiq_mtype_get_blob(const wiq_mtype* value, u64* length) {
    const void* data = nullptr;
    u64 size = 0;
    if (is(value, WIQ_MTYPE_BLOB)) {
        const bool is_long = (value->flags & WIQ_MTYPE_LONG_BLOB) != 0;
        data = is_long ? value->payload.long_blob->data : value->payload.blob;
        size = is_long ? value->payload.long_blob->length : value->blob_len;
    }
    if (length != nullptr)
        *length = size;
    return data;
}
