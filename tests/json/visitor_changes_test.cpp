// Visitor slots that change what is being walked: the keys of an object and the length of an array are fixed
// before the first child, and each child is looked up when its turn comes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

#include "json/tree.h"

namespace {

using tree::make;
using tree::text_of;
using tree::Tree;

// Called for every child, with its number in the walk, before the base class visits it.
std::function<void(wiq_json_t* container, i32 now)> g_change;
std::string g_log;
i32 g_now;

const WiqJsonVisitorClass* base_slots() {
    return reinterpret_cast<const WiqJsonVisitorClass*>(WiqJsonVisitorType.klass);
}

void log_child(const std::string& position, wiq_json_t* child) {
    g_log += (g_log.empty() ? "" : " ") + position + "=" + text_of(child);
}

i32 object_member(WiqJsonVisitor*, wiq_json_t* obj, const char* key, wiq_json_t* value,
                  bool first) {
    EXPECT_EQ(first, g_now == 0);
    log_child(key, value);
    g_change(obj, g_now++);
    EXPECT_EQ(g_log.rfind(key), g_log.find(key)) << "the key outlives what is done in the slot";
    return 0;
}

i32 object_keys(WiqJsonVisitor* self, wiq_json_t* obj, wiq_strv* keys) {
    const i32 count = base_slots()->object_keys(self, obj, keys);
    wiq_strv_sort(keys);  // gives the tests a known order
    return count;
}

i32 array_element(WiqJsonVisitor*, wiq_json_t* array, i32 index, wiq_json_t* elem) {
    EXPECT_EQ(index, g_now);
    log_child(std::to_string(index), elem);
    g_change(array, g_now++);
    return 0;
}

i32 class_init(WiqClass* klass) {
    auto* slots = reinterpret_cast<WiqJsonVisitorClass*>(klass);
    slots->object_member = object_member;
    slots->object_keys = object_keys;
    slots->array_element = array_element;
    return 0;
}

WiqType g_type = [] {
    WiqType type = {};
    type.name = "ChangingVisitor";
    type.class_init = class_init;
    return type;
}();

class VisitorChanges : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        ASSERT_EQ(type_init(&g_type, &WiqJsonVisitorType), 0);
        object_delete(object_new(&WiqJsonVisitorType));  // builds its class
    }

    // Returns the log of a walk whose slots make this change, and the tree after it.
    static std::string walk(wiq_json_t* root, decltype(g_change) change) {
        g_log.clear();
        g_now = 0;
        g_change = std::move(change);
        WiqObject* object = object_new(&g_type);
        const auto* slots = reinterpret_cast<const WiqJsonVisitorClass*>(object->klass);
        EXPECT_EQ(slots->visit(reinterpret_cast<WiqJsonVisitor*>(object), root), 0);
        object_unref(object);
        return g_log + " -> " + text_of(root);
    }
};

using Change = void (*)(wiq_json_t* container, i32 now);

struct Row {
    const char* name;
    Change change;
    const char* walk;
};

TEST_F(VisitorChanges, OfTheObjectBeingWalked) {
    const Row rows[] = {
        {"this one is replaced",
         [](wiq_json_t* obj, i32 now) {
             const char key[] = {static_cast<char>('a' + now), 0};
             wiq_json_obj_put_i64(obj, key, 7, nullptr);
         },
         "a=1 b=[2] c=\"3\" -> {\"a\":7,\"b\":7,\"c\":7}"},
        {"the last one is replaced",
         [](wiq_json_t* obj, i32 now) { wiq_json_obj_put_i64(obj, "c", now, nullptr); },
         "a=1 b=[2] c=1 -> {\"a\":1,\"b\":[2],\"c\":2}"},
        {"this one is removed",
         [](wiq_json_t* obj, i32 now) {
             const char key[] = {static_cast<char>('a' + now), 0};
             EXPECT_EQ(wiq_json_obj_remove(obj, key), 0);
         },
         "a=1 b=[2] c=\"3\" -> {}"},
        {"one is made an orphan",
         [](wiq_json_t* obj, i32) {
             wiq_json_t* node = wiq_json_obj_get_ext(obj, "b", 0, nullptr);
             if (tree::parent(node) != nullptr) {
                 EXPECT_EQ(wiq_json_make_orphan(node), 0);
                 wiq_json_unref(node);
             } else {
                 EXPECT_EQ(wiq_json_obj_remove(obj, "b"), 0);
             }
             EXPECT_NE(wiq_json_obj_put_i64(obj, "b", 4, nullptr), nullptr);
         },
         "a=1 b=4 c=\"3\" -> {\"a\":1,\"b\":4,\"c\":\"3\"}"},
        {"later ones are removed",
         [](wiq_json_t* obj, i32 now) {
             for (const char* key : {"b", "c"}) {
                 EXPECT_EQ(wiq_json_obj_remove(obj, key), now == 0 ? 0 : WIQ_ERR_INVALID_ARG);
             }
         },
         "a=1 b=(none) c=(none) -> {\"a\":1}"},
        {"all are removed and come back",
         [](wiq_json_t* obj, i32 now) {
             for (const char* key : {"a", "b", "c"}) {
                 EXPECT_EQ(wiq_json_obj_remove(obj, key), 0);
                 EXPECT_NE(wiq_json_obj_put_i64(obj, key, now, nullptr), nullptr);
             }
         },
         "a=1 b=0 c=1 -> {\"a\":2,\"b\":2,\"c\":2}"},
        {"the table grows, and shrinks again",
         [](wiq_json_t* obj, i32) {
             for (i32 i = 0; i < 100; ++i)
                 wiq_json_obj_put_i64(obj, ("new" + std::to_string(i)).c_str(), i, nullptr);
             for (i32 i = 0; i < 100; ++i)
                 wiq_json_obj_remove(obj, ("new" + std::to_string(i)).c_str());
         },
         "a=1 b=[2] c=\"3\" -> {\"a\":1,\"b\":[2],\"c\":\"3\"}"},
    };
    for (const bool weak : {false, true}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(std::string(row.name) + (weak ? ", weak" : ""));
            Tree obj =
                make(weak ? "w{\"a\":1,\"b\":[2],\"c\":\"3\"}" : "{\"a\":1,\"b\":[2],\"c\":\"3\"}");
            std::string expected = row.walk;
            if (weak)
                expected.insert(expected.find("-> ") + 3, "w");
            EXPECT_EQ(walk(obj.get(), row.change), expected);
        }
    }
}

TEST_F(VisitorChanges, OfTheArrayBeingWalked) {
    const Row rows[] = {
        {"this one is replaced",
         [](wiq_json_t* array, i32 now) {
             EXPECT_EQ(wiq_json_array_put(array, now, tree::node("7")), 0);
         },
         "0=1 1=[2] 2=\"3\" -> [7,7,7]"},
        {"the last one is swapped",
         [](wiq_json_t* array, i32) {
             wiq_json_unref(wiq_json_array_swap(array, -1, tree::node("7"), nullptr));
         },
         "0=1 1=[2] 2=7 -> [1,[2],7]"},
        {"more are appended",
         [](wiq_json_t* array, i32 now) {
             for (i32 i = 0; i < 100; ++i)
                 wiq_json_array_push_i64(array, now, nullptr);
             EXPECT_EQ(wiq_json_array_pop(array, 99), 0);
         },
         "0=1 1=[2] 2=\"3\" -> [1,[2],\"3\",0,1,2]"},
        {"the last one is taken off",
         [](wiq_json_t* array, i32) { wiq_json_unref(wiq_json_array_pop_elem(array)); },
         "0=1 1=[2] 2=(none) -> []"},
        {"all are taken off",
         [](wiq_json_t* array, i32) {
             EXPECT_EQ(wiq_json_array_pop(array, wiq_json_array_size(array)), 0);
         },
         "0=1 1=(none) 2=(none) -> []"},
        {"the first one is filtered out",
         [](wiq_json_t* array, i32) {
             wiq_json_array_filter(
                 array, [](wiq_json_t* elem, void* first) { return elem != first; },
                 wiq_json_array_get_ext(array, 0, 0, nullptr));
         },
         "0=1 1=\"3\" 2=(none) -> []"},
        {"they are sorted",
         [](wiq_json_t* array, i32) {
             wiq_json_array_sort(array, [](const void* a, const void* b) {
                 const u16 left = tree::header(*static_cast<wiq_json_t* const*>(a))->type;
                 const u16 right = tree::header(*static_cast<wiq_json_t* const*>(b))->type;
                 return static_cast<int>(right) - static_cast<int>(left);
             });
         },
         "0=1 1=1 2=[2] -> [\"3\",1,[2]]"},
    };
    for (const bool weak : {false, true}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(std::string(row.name) + (weak ? ", weak" : ""));
            Tree array = make(weak ? "w[1,[2],\"3\"]" : "[1,[2],\"3\"]");
            std::string expected = row.walk;
            if (weak)
                expected.insert(expected.find("-> ") + 3, "w");
            EXPECT_EQ(walk(array.get(), row.change), expected);
        }
    }
}

// If a slot detaches the container being walked, the walk still finishes, provided that somebody holds the
// container.
TEST_F(VisitorChanges, AContainerThatIsRemovedButHeld) {
    Tree root = make("{\"a\":{\"b\":1,\"c\":2}}");
    wiq_json_t* inner = wiq_json_obj_get_obj(root.get(), "a", nullptr);
    wiq_json_ref(inner);
    EXPECT_EQ(walk(inner,
                   [&](wiq_json_t*, i32 now) {
                       EXPECT_EQ(wiq_json_obj_remove(root.get(), "a"),
                                 now == 0 ? 0 : WIQ_ERR_INVALID_ARG);
                   }),
              "b=1 c=2 -> {\"b\":1,\"c\":2}");
    wiq_json_unref(inner);
    EXPECT_EQ(text_of(root), "{}");
}

// The base class refuses a child that no longer exists.
TEST_F(VisitorChanges, ARemovedChildIsRefused) {
    WiqObject* object = object_new(&WiqJsonVisitorType);
    auto* self = reinterpret_cast<WiqJsonVisitor*>(object);
    Tree obj = make("{}");
    Tree array = make("[]");
    EXPECT_EQ(base_slots()->visit(self, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(base_slots()->object_member(self, obj.get(), "k", nullptr, true),
              WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(base_slots()->array_element(self, array.get(), 0, nullptr), WIQ_ERR_INVALID_ARG);
    object_unref(object);
}

}  // namespace
