// The getters of arrays, which may follow references.

#include "json/model/array.h"
#include "json/model/err.h"

using namespace ke::json;

i32 wiq_json_array_size(const wiq_json_t* array) {
    const ArrayNode* node = to_array(array);
    return node != nullptr ? size_of(node) : WIQ_ERR_INVALID_ARG;
}

wiq_json_t* wiq_json_array_get_ext(const wiq_json_t* array, i32 index, u32 flags, u32* err) {
    if (has_failed(err))
        return nullptr;
    const ArrayNode* node = to_array(array);
    const i32 slot = node != nullptr ? resolve_index(node, index) : -1;
    if (slot < 0) {
        report(err, node != nullptr ? WIQ_ERR_INDEX_OUT_OF_RANGE : WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    wiq_json_t* elem = elems_of(node)[slot];
    u32 status = 0;
    if ((flags & WIQ_JSON_FOLLOW_REFS) != 0 && elem->type == kJsonRef)
        elem = wiq_json_jref_deref(elem, &status);
    report(err, static_cast<i32>(status));
    return elem;
}
