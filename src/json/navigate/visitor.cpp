// The base class of every walk over a document. It determines the order of a walk and which
// operation is called for which type, and calls each step through the class record, so that a
// subclass overrides only what it needs. The walk recurses: each level of the document takes one
// level of the stack.

#include "json/model/node.h"
#include "ke_utils/object.h"

namespace {

const WiqJsonVisitorClass* slots_of(const WiqJsonVisitor* self) {
    return reinterpret_cast<const WiqJsonVisitorClass*>(self->object.klass);
}

// The slot gets a pointer, so the value is copied.
i32 visit_u128_copy(const WiqJsonVisitorClass* slots, WiqJsonVisitor* self, wiq_json_t* node) {
    wiq_uint128 value;
    wiq_json_u128_get(&value, node);
    return slots->visit_u128(self, node, &value);
}

i32 visit(WiqJsonVisitor* self, wiq_json_t* node) {
    // A subclass may have removed a child that the walk was about to visit.
    if (node == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const WiqJsonVisitorClass* slots = slots_of(self);
    switch (node->type) {
        case kJsonNull:
            return slots->visit_null(self, node);
        case kJsonObject:
            return slots->visit_object(self, node);
        case kJsonArray:
            return slots->visit_array(self, node);
        case kJsonI64:
            return slots->visit_i64(self, node, wiq_json_i64_get(node));
        case kJsonU64:
            return slots->visit_u64(self, node, wiq_json_u64_get(node));
        case kJsonU128:
            return visit_u128_copy(slots, self, node);
        case kJsonDouble:
            return slots->visit_double(self, node, wiq_json_double_get(node));
        case kJsonString:
            return slots->visit_string(self, node, wiq_json_str_get(node));
        case kJsonTrue:
        case kJsonFalse:
            return slots->visit_bool(self, node, node->type == kJsonTrue);
        case kJsonRef:
            return slots->visit_ref(self, node, wiq_json_str_get(node));
        default:
            return WIQ_ERR_BAD_JSON_TYPE;
    }
}

i32 walk_members(WiqJsonVisitor* self, wiq_json_t* obj, const wiq_strv* keys, i32 count) {
    const WiqJsonVisitorClass* slots = slots_of(self);
    // The count is what the slot object_keys returned. If a subclass returns more than it has put
    // into the list, the list counts.
    for (i32 i = 0; i < count && i < wiq_vector_size(keys); ++i) {
        const char* key = wiq_strv_get(keys, static_cast<u32>(i));
        wiq_json_t* value = wiq_json_obj_get_ext(obj, key, 0, nullptr);
        const i32 status = slots->object_member(self, obj, key, value, i == 0);
        if (status != 0)
            return status;
    }
    return 0;
}

i32 visit_object(WiqJsonVisitor* self, wiq_json_t* obj) {
    const WiqJsonVisitorClass* slots = slots_of(self);
    wiq_strv keys;
    i32 status = wiq_strv_init(&keys);
    if (status != 0)
        return status;
    // If the keys cannot be collected, the negative count is not reported: the object is walked as
    // if it had no members.
    const i32 count = slots->object_keys(self, obj, &keys);
    status = slots->object_begin(self, obj);
    if (status == 0)
        status = walk_members(self, obj, &keys, count);
    if (status == 0)
        status = slots->object_end(self, obj);
    wiq_strv_finalize(&keys);
    return status;
}

i32 visit_array(WiqJsonVisitor* self, wiq_json_t* array) {
    const WiqJsonVisitorClass* slots = slots_of(self);
    const i32 size = wiq_json_array_size(array);
    i32 status = slots->array_begin(self, array);
    for (i32 i = 0; status == 0 && i < size; ++i)
        status = slots->array_element(self, array, i, wiq_json_array_get_ext(array, i, 0, nullptr));
    return status != 0 ? status : slots->array_end(self, array);
}

i32 visit_member(WiqJsonVisitor* self, wiq_json_t*, const char*, wiq_json_t* value, bool) {
    return slots_of(self)->visit(self, value);
}

i32 visit_element(WiqJsonVisitor* self, wiq_json_t*, i32, wiq_json_t* elem) {
    return slots_of(self)->visit(self, elem);
}

i32 collect_keys(WiqJsonVisitor*, wiq_json_t* obj, wiq_strv* keys) {
    return wiq_json_obj_keys(obj, keys);
}

i32 ignore(WiqJsonVisitor*, wiq_json_t*) {
    return 0;
}

template <class Value>
i32 ignore_value(WiqJsonVisitor*, wiq_json_t*, Value) {
    return 0;
}

i32 class_init(WiqClass* klass) {
    auto* slots = reinterpret_cast<WiqJsonVisitorClass*>(klass);
    slots->visit = visit;
    slots->visit_object = visit_object;
    slots->visit_array = visit_array;
    slots->visit_string = ignore_value<const char*>;
    slots->visit_i64 = ignore_value<i64>;
    slots->visit_u64 = ignore_value<u64>;
    slots->visit_u128 = ignore_value<const wiq_uint128*>;
    slots->visit_double = ignore_value<double>;
    slots->visit_ref = ignore_value<const char*>;
    slots->visit_bool = ignore_value<bool>;
    slots->visit_null = ignore;
    slots->object_begin = ignore;
    slots->object_end = ignore;
    slots->object_member = visit_member;
    slots->object_keys = collect_keys;
    slots->array_begin = ignore;
    slots->array_end = ignore;
    slots->array_element = visit_element;
    return 0;
}

}  // namespace

WiqType WiqJsonVisitorType = {
    .name = "WiqJsonVisitor",
    .parent = &ObjectType,
    .instance_size = sizeof(WiqJsonVisitor),
    .instance_init = nullptr,
    .instance_finalize = nullptr,
    .class_size = sizeof(WiqJsonVisitorClass),
    .class_init = class_init,
    .class_base_init = nullptr,
    .klass = nullptr,
    .initialised = 0,
    .lock = {},
};
