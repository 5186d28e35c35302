// The typed getters of objects: one lookup that follows references, then a test of the type.

#include <cstring>

#include "json/model/err.h"
#include "json/model/object.h"

using namespace ke::json;

namespace {

struct Found {
    wiq_json_t* value;
    i32 status;
};

// Finds the value under a key. If it is a reference that is to be followed, value and status are
// those of wiq_json_jref_deref().
Found look_up(const wiq_json_t* obj, const char* key, bool follow) {
    const ObjectNode* object = to_object(obj);
    if (object == nullptr || key == nullptr)
        return {nullptr, WIQ_ERR_INVALID_ARG};
    wiq_json_t* value = find_child(object, key);
    if (value == nullptr)
        return {nullptr, WIQ_ERR_KEY_NOT_FOUND};
    if (!follow || value->type != kJsonRef)
        return {value, 0};
    u32 status = 0;
    value = wiq_json_jref_deref(value, &status);
    return {value, static_cast<i32>(status)};
}

void report_wrong_type(u32* err) {
    if (!has_failed(err))
        report(err, WIQ_ERR_WRONG_TYPE);
}

// What all typed getters share. Returns the value if it exists and `fits` accepts its type,
// otherwise NULL with the status in `err`.
template <class Fits>
wiq_json_t* get(const wiq_json_t* obj, const char* key, u32* err, Fits fits) {
    if (has_failed(err))
        return nullptr;
    const Found found = look_up(obj, key, true);
    report(err, found.status);
    if (found.value == nullptr || fits(found.value))
        return found.value;
    report_wrong_type(err);
    return nullptr;
}

// Returns the value under a key, or what `create` puts there if the key is absent. A reference that
// leads nowhere is an error and not an absent key, so that the reference is not overwritten.
template <class Fits>
wiq_json_t* get_or_create(wiq_json_t* obj, const char* key, u32* err, Fits fits,
                          wiq_json_t* (*create)(wiq_json_t*, const char*, u32*)) {
    if (has_failed(err))
        return nullptr;
    const ObjectNode* object = to_object(obj);
    if (object != nullptr && key != nullptr && find_child(object, key) == nullptr)
        return create(obj, key, err);
    return get(obj, key, err, fits);
}

}  // namespace

wiq_json_t* wiq_json_obj_get_ext(const wiq_json_t* obj, const char* key, u32 flags, u32* err) {
    if (has_failed(err))
        return nullptr;
    const Found found = look_up(obj, key, (flags & WIQ_JSON_FOLLOW_REFS) != 0);
    report(err, found.status);
    return found.value;
}

wiq_json_t* wiq_json_obj_get_obj(const wiq_json_t* obj, const char* key, u32* err) {
    return get(obj, key, err, wiq_json_is_obj);
}

wiq_json_t* wiq_json_obj_get_array(const wiq_json_t* obj, const char* key, u32* err) {
    return get(obj, key, err, wiq_json_is_array);
}

const char* wiq_json_obj_get_str(const wiq_json_t* obj, const char* key, u32* err) {
    const wiq_json_t* value = get(obj, key, err, wiq_json_is_str);
    return value != nullptr ? wiq_json_str_get(value) : nullptr;
}

bool wiq_json_obj_get_bool(const wiq_json_t* obj, const char* key, u32* err) {
    return wiq_json_is_true(get(obj, key, err, wiq_json_is_bool));
}

i64 wiq_json_obj_get_i64(const wiq_json_t* obj, const char* key, u32* err) {
    const wiq_json_t* value =
        get(obj, key, err, [](const wiq_json_t* node) { return wiq_json_is_i64_ext(node, true); });
    return value != nullptr ? wiq_json_i64_get(value) : 0;
}

u64 wiq_json_obj_get_u64(const wiq_json_t* obj, const char* key, u32* err) {
    const wiq_json_t* value =
        get(obj, key, err, [](const wiq_json_t* node) { return wiq_json_is_u64_ext(node, true); });
    return value != nullptr ? wiq_json_u64_get(value) : 0;
}

wiq_uint128* wiq_json_obj_get_u128(wiq_uint128* out, const wiq_json_t* obj, const char* key,
                                   u32* err) {
    const wiq_json_t* value =
        get(obj, key, err, [](const wiq_json_t* node) { return wiq_json_is_u128_ext(node, true); });
    if (value != nullptr)
        return wiq_json_u128_get(out, value);
    *out = {0, 0};
    return out;
}

double wiq_json_obj_get_double(const wiq_json_t* obj, const char* key, u32* err) {
    const wiq_json_t* value = get(
        obj, key, err, [](const wiq_json_t* node) { return wiq_json_is_double_ext(node, true); });
    return value != nullptr ? wiq_json_double_get(value) : 0.0;
}

wiq_json_t* wiq_json_obj_get_jref(const wiq_json_t* obj, const char* key, u32* err) {
    if (has_failed(err))
        return nullptr;
    const Found found = look_up(obj, key, false);
    report(err, found.status);
    if (found.value == nullptr || found.value->type == kJsonRef)
        return found.value;
    report_wrong_type(err);
    return nullptr;
}

wiq_json_t* wiq_json_obj_getd_obj(wiq_json_t* obj, const char* key, u32* err) {
    return get_or_create(obj, key, err, wiq_json_is_obj, wiq_json_obj_put_obj);
}

wiq_json_t* wiq_json_obj_getd_array(wiq_json_t* obj, const char* key, u32* err) {
    return get_or_create(obj, key, err, wiq_json_is_array, wiq_json_obj_put_array);
}
