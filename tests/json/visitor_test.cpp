// Tests of the visitors' base class: dispatch, the order of a walk, and every point at which a walk can stop.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/json.h"

namespace {

// A visitor that logs every slot that is called and then does what the base class does. It stops, with status
// 77, at the call named by g_stop_at.
std::vector<std::string> g_log;
std::string g_stop_at;

const WiqJsonVisitorClass* base_slots() {
    return reinterpret_cast<const WiqJsonVisitorClass*>(WiqJsonVisitorType.klass);
}

i32 note(const std::string& call) {
    g_log.push_back(call);
    return call == g_stop_at ? 77 : 0;
}

// Logs the call, then calls the base class's slot unless the walk must stop here.
#define NOTED(text, base_call)                       \
    do {                                             \
        const i32 stopped = note(text);              \
        return stopped != 0 ? stopped : (base_call); \
    } while (false)

i32 visit(WiqJsonVisitor* self, wiq_json_t* node) {
    return base_slots()->visit(self, node);
}
i32 visit_object(WiqJsonVisitor* self, wiq_json_t* node) {
    NOTED("visit_object", base_slots()->visit_object(self, node));
}
i32 visit_array(WiqJsonVisitor* self, wiq_json_t* node) {
    NOTED("visit_array", base_slots()->visit_array(self, node));
}
i32 visit_string(WiqJsonVisitor*, wiq_json_t* node, const char* text) {
    EXPECT_EQ(text, wiq_json_str_get(node));
    return note(std::string("string ") + text);
}
i32 visit_i64(WiqJsonVisitor*, wiq_json_t* node, i64 value) {
    EXPECT_EQ(value, wiq_json_i64_get(node));
    return note("i64 " + std::to_string(value));
}
i32 visit_u64(WiqJsonVisitor*, wiq_json_t*, u64 value) {
    return note("u64 " + std::to_string(value));
}
i32 visit_u128(WiqJsonVisitor*, wiq_json_t*, const wiq_uint128* value) {
    return note("u128 " + std::to_string(value->hi) + ":" + std::to_string(value->lo));
}
i32 visit_double(WiqJsonVisitor*, wiq_json_t*, double value) {
    return note("double " + std::to_string(value));
}
i32 visit_ref(WiqJsonVisitor*, wiq_json_t* node, const char* uri) {
    EXPECT_EQ(uri, wiq_json_jref_uri(node));
    return note(std::string("ref ") + uri);
}
i32 visit_bool(WiqJsonVisitor*, wiq_json_t*, bool value) {
    return note(value ? "true" : "false");
}
i32 visit_null(WiqJsonVisitor*, wiq_json_t*) {
    return note("null");
}
i32 object_begin(WiqJsonVisitor*, wiq_json_t*) {
    return note("object_begin");
}
i32 object_end(WiqJsonVisitor*, wiq_json_t*) {
    return note("object_end");
}
i32 object_member(WiqJsonVisitor* self, wiq_json_t* obj, const char* key, wiq_json_t* value,
                  bool first) {
    EXPECT_EQ(wiq_json_obj_get_ext(obj, key, 0, nullptr), value);
    NOTED(std::string("member ") + key + (first ? " first" : ""),
          base_slots()->object_member(self, obj, key, value, first));
}
i32 object_keys(WiqJsonVisitor* self, wiq_json_t* obj, wiq_strv* keys) {
    note("object_keys");
    const i32 count = base_slots()->object_keys(self, obj, keys);
    wiq_strv_sort(keys);  // gives the tests a known order
    return count;
}
i32 array_begin(WiqJsonVisitor*, wiq_json_t*) {
    return note("array_begin");
}
i32 array_end(WiqJsonVisitor*, wiq_json_t*) {
    return note("array_end");
}
i32 array_element(WiqJsonVisitor* self, wiq_json_t* array, i32 index, wiq_json_t* elem) {
    NOTED("element " + std::to_string(index),
          base_slots()->array_element(self, array, index, elem));
}

i32 class_init(WiqClass* klass) {
    auto* slots = reinterpret_cast<WiqJsonVisitorClass*>(klass);
    slots->visit = visit;
    slots->visit_object = visit_object;
    slots->visit_array = visit_array;
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
    slots->object_keys = object_keys;
    slots->array_begin = array_begin;
    slots->array_end = array_end;
    slots->array_element = array_element;
    return 0;
}

WiqType g_noting_type = [] {
    WiqType type = {};
    type.name = "NotingVisitor";
    type.class_init = class_init;
    return type;
}();

i32 walk(WiqType* type, wiq_json_t* root) {
    WiqObject* object = object_new(type);
    EXPECT_NE(object, nullptr);
    auto* slots = reinterpret_cast<WiqJsonVisitorClass*>(
        class_check(object_get_class(object), &WiqJsonVisitorType));
    const i32 status = slots->visit(reinterpret_cast<WiqJsonVisitor*>(object), root);
    object_unref(object);
    return status;
}

i32 walk_text(WiqType* type, const char* text) {
    wiq_json_t* root = wiq_json_loads(text, 0, nullptr);
    EXPECT_NE(root, nullptr) << text;
    const i32 status = walk(type, root);
    wiq_json_unref(root);
    return status;
}

class Visitor : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        ASSERT_EQ(type_init(&g_noting_type, &WiqJsonVisitorType), 0);
        object_delete(object_new(&WiqJsonVisitorType));  // builds its class
    }
    void SetUp() override {
        g_log.clear();
        g_stop_at.clear();
    }
};

using Log = std::vector<std::string>;

TEST_F(Visitor, SlotsAreInOrder) {
    const size_t offsets[] = {
        offsetof(WiqJsonVisitorClass, visit),       offsetof(WiqJsonVisitorClass, visit_object),
        offsetof(WiqJsonVisitorClass, visit_array), offsetof(WiqJsonVisitorClass, visit_string),
        offsetof(WiqJsonVisitorClass, visit_i64),   offsetof(WiqJsonVisitorClass, visit_u64),
        offsetof(WiqJsonVisitorClass, visit_u128),  offsetof(WiqJsonVisitorClass, visit_double),
        offsetof(WiqJsonVisitorClass, visit_ref),   offsetof(WiqJsonVisitorClass, visit_bool),
        offsetof(WiqJsonVisitorClass, visit_null),  offsetof(WiqJsonVisitorClass, object_begin),
        offsetof(WiqJsonVisitorClass, object_end),  offsetof(WiqJsonVisitorClass, object_member),
        offsetof(WiqJsonVisitorClass, object_keys), offsetof(WiqJsonVisitorClass, array_begin),
        offsetof(WiqJsonVisitorClass, array_end),   offsetof(WiqJsonVisitorClass, array_element),
    };
    for (size_t i = 0; i < std::size(offsets); ++i)
        EXPECT_EQ(offsets[i], (i + 1) * sizeof(void*)) << "slot " << i + 1;
    EXPECT_EQ(sizeof(WiqJsonVisitorClass), 19 * sizeof(void*));
}

TEST_F(Visitor, NameParentAndSizeOfTheType) {
    EXPECT_STREQ(WiqJsonVisitorType.name, "WiqJsonVisitor");
    EXPECT_EQ(WiqJsonVisitorType.parent, &ObjectType);
    EXPECT_EQ(sizeof(WiqJsonVisitor), sizeof(WiqObject));
}

TEST_F(Visitor, DispatchesEveryKind) {
    struct Row {
        const char* text;
        Log log;
    };
    for (const Row& row : {
             Row{"null", {"null"}},
             Row{"true", {"true"}},
             Row{"false", {"false"}},
             Row{"-5", {"i64 -5"}},
             Row{"2.5", {"double 2.500000"}},
             Row{"\"text\"", {"string text"}},
             Row{"18446744073709551617", {"u128 1:1"}},
             Row{"{\"$ref\":\"#/a\"}", {"ref #/a"}},
             Row{"[]", {"visit_array", "array_begin", "array_end"}},
             Row{"{}", {"visit_object", "object_keys", "object_begin", "object_end"}},
         }) {
        g_log.clear();
        EXPECT_EQ(walk_text(&g_noting_type, row.text), 0);
        EXPECT_EQ(g_log, row.log) << row.text;
    }
    g_log.clear();
    wiq_json_t* number = wiq_json_u64_new(7, nullptr);
    EXPECT_EQ(walk(&g_noting_type, number), 0);
    EXPECT_EQ(g_log, (Log{"u64 7"}));
    wiq_json_unref(number);
}

constexpr const char* kDocument = R"({"a":[1,"s"],"b":{"c":null},"r":{"$ref":"#/a"}})";

TEST_F(Visitor, WalksInOrder) {
    EXPECT_EQ(walk_text(&g_noting_type, kDocument), 0);
    EXPECT_EQ(g_log, (Log{"visit_object", "object_keys", "object_begin", "member a first",
                          "visit_array",  "array_begin", "element 0",    "i64 1",
                          "element 1",    "string s",    "array_end",    "member b",
                          "visit_object", "object_keys", "object_begin", "member c first",
                          "null",         "object_end",  "member r",     "ref #/a",
                          "object_end"}));
}

TEST_F(Visitor, StopsAtEveryPlaceAndPassesTheStatusUp) {
    EXPECT_EQ(walk_text(&g_noting_type, kDocument), 0);
    const Log whole = g_log;
    for (size_t i = 0; i < whole.size(); ++i) {
        if (whole[i] == "object_keys")
            continue;  // its failure is not reported
        // A call that occurs twice stops the walk at its first occurrence.
        size_t first = 0;
        while (whole[first] != whole[i])
            ++first;
        g_log.clear();
        g_stop_at = whole[i];
        EXPECT_EQ(walk_text(&g_noting_type, kDocument), 77) << whole[i];
        EXPECT_EQ(g_log, Log(whole.begin(), whole.begin() + static_cast<long>(first) + 1));
    }
}

TEST_F(Visitor, TheBaseClassWalksAnythingAndIgnoresIt) {
    EXPECT_EQ(walk_text(&WiqJsonVisitorType, kDocument), 0);
    EXPECT_EQ(walk_text(&WiqJsonVisitorType, "[1,2.5,18446744073709551616,true,[],{}]"), 0);
    wiq_json_t* number = wiq_json_u64_new(7, nullptr);
    EXPECT_EQ(walk(&WiqJsonVisitorType, number), 0);
    wiq_json_unref(number);
}

TEST_F(Visitor, AnUnknownKindIsRefused) {
    // Only a damaged node has an unknown type; the tag is its first field.
    wiq_json_t* node = wiq_json_null_new(nullptr);
    u16 tag = 11;
    memcpy(node, &tag, sizeof(tag));
    EXPECT_EQ(walk(&g_noting_type, node), WIQ_ERR_BAD_JSON_TYPE);
    EXPECT_TRUE(g_log.empty());
    tag = 0;
    memcpy(node, &tag, sizeof(tag));
    wiq_json_unref(node);
    EXPECT_EQ(walk(&WiqJsonVisitorType, nullptr), WIQ_ERR_INVALID_ARG);
}

// --- Keys --------------------------------------------------------------------------------------------

i32 g_keys_status;

i32 given_keys(WiqJsonVisitor*, wiq_json_t*, wiq_strv* keys) {
    if (g_keys_status == 1)
        wiq_strv_push(keys, "b");
    return g_keys_status;
}

WiqType g_keys_type = [] {
    WiqType type = {};
    type.name = "KeysVisitor";
    type.parent = &g_noting_type;
    type.class_init = [](WiqClass* klass) {
        reinterpret_cast<WiqJsonVisitorClass*>(klass)->object_keys = given_keys;
        return 0;
    };
    return type;
}();

TEST_F(Visitor, KeysDecideWhatIsWalked) {
    ASSERT_EQ(type_init(&g_keys_type, nullptr), 0);
    g_keys_status = 1;
    EXPECT_EQ(walk_text(&g_keys_type, R"({"a":1,"b":2,"c":3})"), 0);
    EXPECT_EQ(g_log,
              (Log{"visit_object", "object_begin", "member b first", "i64 2", "object_end"}));
    for (i32 status : {0, -5000}) {
        g_log.clear();
        g_keys_status = status;
        EXPECT_EQ(walk_text(&g_keys_type, R"({"a":1})"), 0) << "is walked as if it had no members";
        EXPECT_EQ(g_log, (Log{"visit_object", "object_begin", "object_end"}));
    }
}

}  // namespace
