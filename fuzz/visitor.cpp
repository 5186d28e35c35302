// Visitors of a document: each slot is called with what the tree contains, in order. A slot that ends the
// walk ends it there, and one that changes what is walked does no harm.
#include "input.h"

namespace {

std::string g_text;  // what the slots have received, as JSON text
int g_left;          // slot calls before the walk is ended; negative: never
int g_changes;       // which slot changes the tree; 0: none
constexpr i32 kEnded = -4711;

const WiqJsonVisitorClass* base() {
    return reinterpret_cast<const WiqJsonVisitorClass*>(WiqJsonVisitorType.klass);
}

i32 say(const std::string& text) {
    g_text += text;
    return g_left-- == 0 ? kEnded : 0;
}

std::string quoted(const char* text) {
    char* escaped = wiq_json_escape_str(text);
    CHECK(escaped != nullptr);
    std::string result = '"' + std::string(escaped) + '"';
    free(escaped);
    return result;
}

i32 visit_string(WiqJsonVisitor*, wiq_json_t* node, const char* text) {
    CHECK(text == wiq_json_str_get(node));
    return say(quoted(text));
}
i32 visit_i64(WiqJsonVisitor*, wiq_json_t* node, i64 value) {
    CHECK(value == wiq_json_i64_get(node));
    return say(std::to_string(value));
}
i32 visit_u64(WiqJsonVisitor*, wiq_json_t* node, u64 value) {
    CHECK(value == wiq_json_u64_get(node));
    return say(std::to_string(value));
}
i32 visit_u128(WiqJsonVisitor*, wiq_json_t* node, const wiq_uint128* value) {
    wiq_uint128 same;
    CHECK(wiq_json_u128_get(&same, node)->lo == value->lo && same.hi == value->hi);
    char text[40];
    CHECK(wiq_uint128_to_str(*value, 10, text, sizeof(text)) > 0);
    return say(text);
}
i32 visit_double(WiqJsonVisitor*, wiq_json_t* node, double value) {
    CHECK(!(value < wiq_json_double_get(node)));
    char text[400];
    snprintf(text, sizeof(text), "%f", value);
    return say(text);
}
i32 visit_ref(WiqJsonVisitor*, wiq_json_t* node, const char* uri) {
    CHECK(uri == wiq_json_jref_uri(node));
    return say("{\"$ref\":" + quoted(uri) + "}");
}
i32 visit_bool(WiqJsonVisitor*, wiq_json_t* node, bool value) {
    CHECK(value == wiq_json_is_true(node));
    return say(value ? "true" : "false");
}
i32 visit_null(WiqJsonVisitor*, wiq_json_t* node) {
    CHECK(wiq_json_is_null(node));
    return say("null");
}
i32 object_begin(WiqJsonVisitor* self, wiq_json_t* obj) {
    CHECK(base()->object_begin(self, obj) == 0);
    return say("{");
}
i32 object_end(WiqJsonVisitor* self, wiq_json_t* obj) {
    CHECK(base()->object_end(self, obj) == 0);
    return say("}");
}
i32 array_begin(WiqJsonVisitor* self, wiq_json_t* array) {
    CHECK(base()->array_begin(self, array) == 0);
    return say("[");
}
i32 array_end(WiqJsonVisitor* self, wiq_json_t* array) {
    CHECK(base()->array_end(self, array) == 0);
    return say("]");
}
i32 object_member(WiqJsonVisitor* self, wiq_json_t* obj, const char* key, wiq_json_t* value,
                  bool first) {
    CHECK(value == wiq_json_obj_get_ext(obj, key, 0, nullptr));
    const i32 status = say((first ? "" : ",") + quoted(key) + ":");
    const i32 below = status != 0 ? status : base()->object_member(self, obj, key, value, first);
    switch (g_changes) {
        case 1:
            wiq_json_obj_put_i64(obj, "new", 1, nullptr);
            break;
        case 2:
            wiq_json_obj_put_null(obj, key, nullptr);
            break;
        case 3:
            wiq_json_obj_remove(obj, key);
            break;
        default:
            break;
    }
    return below;
}
i32 array_element(WiqJsonVisitor* self, wiq_json_t* array, i32 index, wiq_json_t* elem) {
    CHECK(elem == (index < wiq_json_array_size(array)
                       ? wiq_json_array_get_ext(array, index, 0, nullptr)
                       : nullptr));
    const i32 status = say(index == 0 ? "" : ",");
    const i32 below = status != 0 ? status : base()->array_element(self, array, index, elem);
    if (g_changes == 1)
        wiq_json_array_push_bool(array, true, nullptr);
    else if (g_changes == 2 && index < wiq_json_array_size(array))
        wiq_json_array_put(array, index, wiq_json_null_new(nullptr));
    else if (g_changes == 3)
        wiq_json_array_pop(array, 1);
    return below;
}

i32 class_init(WiqClass* klass) {
    auto* slots = reinterpret_cast<WiqJsonVisitorClass*>(klass);
    slots->visit_string = visit_string;
    slots->visit_i64 = visit_i64;
    slots->visit_u64 = visit_u64;
    slots->visit_u128 = visit_u128;
    slots->visit_double = visit_double;
    slots->visit_ref = visit_ref;
    slots->visit_bool = visit_bool;
    slots->visit_null = visit_null;
    slots->object_begin = object_begin;
    slots->object_end = object_end;
    slots->object_member = object_member;
    slots->array_begin = array_begin;
    slots->array_end = array_end;
    slots->array_element = array_element;
    return 0;
}

WiqType g_type = [] {
    WiqType type = {};
    type.name = "FuzzVisitor";
    type.class_init = class_init;
    return type;
}();

i32 walk(wiq_json_t* root, int left, int changes) {
    static const bool ready = [] {
        const i32 status = type_init(&g_type, &WiqJsonVisitorType);
        object_delete(object_new(&WiqJsonVisitorType));  // builds its class
        return status == 0;
    }();
    CHECK(ready);
    g_text.clear();
    g_left = left;
    g_changes = changes;
    WiqObject* object = object_new(&g_type);
    CHECK(object != nullptr && object_check(object, &WiqJsonVisitorType) == object);
    const auto* slots = reinterpret_cast<const WiqJsonVisitorClass*>(object_get_class(object));
    const i32 status = slots->visit(reinterpret_cast<WiqJsonVisitor*>(object), root);
    object_unref(object);
    return status;
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    if (size > 2000)  // the base walk is recursive
        return 0;
    Input input(data, size);
    const u8 left = input.byte();
    const int changes = input.byte() % 4;
    wiq_json_t* root = wiq_json_loads(input.rest().c_str(), 0, nullptr);
    if (root == nullptr)
        return 0;
    CHECK(walk(root, -1, 0) == 0);
    CHECK(g_text == dump(root, 0));
    const std::string whole = g_text;
    const i32 status = walk(root, left, 0);
    CHECK(status == 0 || status == kEnded);
    CHECK(whole.compare(0, g_text.size(), g_text) == 0);
    CHECK((status == 0) == (g_text == whole && g_left < 0) || g_text == whole);
    // A child that no longer exists when its turn comes is NULL, which the base class refuses.
    const i32 changed = walk(root, -1, changes);
    CHECK(changed == 0 || (changes == 3 && changed == WIQ_ERR_INVALID_ARG));
    dump(root, WIQ_JSON_DUMP_PRETTY);
    wiq_json_unref(root);
    return 0;
}
