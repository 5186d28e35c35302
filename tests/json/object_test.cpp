// Objects: attaching, replacing, removing and walking over members.
#include <gtest/gtest.h>

#include "json/tree.h"

namespace {

using tree::count;
using tree::make;
using tree::member;
using tree::parent;
using tree::status;
using tree::text_of;
using tree::Tree;

TEST(JsonObjPut, MakesTheObjectTheParent) {
    Tree obj = make("{}");
    wiq_json_t* child = tree::node("1");
    std::string key = "k";
    u32 err = 0;
    EXPECT_EQ(wiq_json_obj_put_ext(obj.get(), key.c_str(), child, &err), 0);
    EXPECT_EQ(err, 0u);
    key = "x";
    EXPECT_EQ(text_of(obj), "{\"k\":1}");
    EXPECT_EQ(count(child), 1);
    EXPECT_EQ(parent(child), obj.get());
    EXPECT_STREQ(wiq_json_parent_key(child), "k");
    EXPECT_EQ(wiq_json_obj_size(obj.get()), 1);
}

TEST(JsonObjPut, RefusesWhatItCannotTake) {
    Tree obj = make("{\"a\":1}");
    Tree array = make("[1]");
    Tree child = make("2");
    wiq_json_t* taken = member(obj, "a");
    Tree other = make("{}");
    const struct {
        const char* what;
        wiq_json_t* obj;
        const char* key;
        wiq_json_t* child;
    } rows[] = {
        {"no object", nullptr, "k", child.get()},
        {"an array", array.get(), "k", child.get()},
        {"a scalar", child.get(), "k", child.get()},
        {"no key", other.get(), nullptr, child.get()},
        {"no child", other.get(), "k", nullptr},
        {"a child with a parent", other.get(), "k", taken},
        {"a child of this very object", obj.get(), "b", taken},
        {"itself", other.get(), "k", other.get()},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        u32 err = 0;
        EXPECT_EQ(wiq_json_obj_put_ext(row.obj, row.key, row.child, &err), WIQ_ERR_INVALID_ARG);
        EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
        EXPECT_EQ(wiq_json_obj_put_ext(row.obj, row.key, row.child, nullptr), WIQ_ERR_INVALID_ARG);
    }
    EXPECT_EQ(text_of(obj), "{\"a\":1}");
    EXPECT_EQ(text_of(other), "{}");
    EXPECT_EQ(count(child.get()), 0);
    EXPECT_EQ(count(taken), 1);
    EXPECT_EQ(count(other.get()), 0);
}

TEST(JsonObjPut, NeverFormsACycle) {
    Tree root = make("{\"a\":{\"b\":[{}]}}");
    wiq_json_t* inner = member(root, "a");
    wiq_json_t* list = wiq_json_obj_get_array(inner, "b", nullptr);
    wiq_json_t* leaf = wiq_json_array_get_ext(list, 0, 0, nullptr);
    EXPECT_EQ(wiq_json_obj_put_ext(leaf, "root", root.get(), nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_push_ext(list, root.get(), nullptr), WIQ_ERR_INVALID_ARG);
    u32 err = 0;
    EXPECT_EQ(wiq_json_array_swap(list, 0, root.get(), &err), nullptr);
    EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_put(list, 1, root.get()), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_swap_child(leaf, root.get()), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text_of(root), "{\"a\":{\"b\":[{}]}}");
    EXPECT_EQ(count(root.get()), 0);

    // A container with children may be attached to a container of another tree.
    Tree strange = make("[[]]");
    EXPECT_EQ(wiq_json_array_push_ext(wiq_json_array_get_ext(strange.get(), 0, 0, nullptr),
                                      root.release(), nullptr),
              0);
    EXPECT_EQ(text_of(strange), "[[{\"a\":{\"b\":[{}]}}]]");
}

TEST(JsonObjPut, DoesNothingAfterAnEarlierFailure) {
    Tree obj = make("{}");
    Tree child = make("1");
    u32 err = static_cast<u32>(WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(wiq_json_obj_put_ext(obj.get(), "k", child.get(), &err), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(wiq_json_obj_put_ext(nullptr, nullptr, nullptr, &err), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(status(err), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(text_of(obj), "{}");
    EXPECT_EQ(count(child.get()), 0);
}

TEST(JsonObjPut, ReplacesUnderAnEqualKey) {
    Tree obj = make("{\"k\":1,\"other\":2}");
    wiq_json_t* held = member(obj, "k");
    wiq_json_ref(held);
    // The given key may be the very string that the object holds.
    EXPECT_EQ(wiq_json_obj_put_ext(obj.get(), wiq_json_parent_key(held), tree::node("3"), nullptr),
              0);
    EXPECT_EQ(text_of(obj), "{\"k\":3,\"other\":2}");
    EXPECT_STREQ(wiq_json_parent_key(member(obj, "k")), "k");

    // Whoever holds a reference to the old value keeps it, without a parent.
    EXPECT_EQ(parent(held), nullptr);
    EXPECT_EQ(wiq_json_parent_key(held), nullptr);
    EXPECT_EQ(count(held), 1);
    EXPECT_EQ(wiq_json_i64_get(held), 1);
    wiq_json_unref(held);
}

TEST(JsonObjPut, TakesTheKeyFromTheTextThatItReplaces) {
    Tree obj = make("{\"self\":\"self\"}");
    const char* text = wiq_json_obj_get_str(obj.get(), "self", nullptr);
    EXPECT_NE(wiq_json_obj_put_i64(obj.get(), text, 5, nullptr), nullptr);
    EXPECT_EQ(text_of(obj), "{\"self\":5}");
}

TEST(JsonObjPut, WeakObjectDoesNotSetTheParent) {
    Tree owner = make("{\"a\":1}");
    wiq_json_t* child = member(owner, "a");
    Tree weak = make("w{}");
    EXPECT_EQ(wiq_json_obj_put_ext(weak.get(), "x", child, nullptr), 0);
    EXPECT_EQ(count(child), 2);
    EXPECT_EQ(parent(child), owner.get());
    EXPECT_STREQ(wiq_json_parent_key(child), "a");

    // Put the same child under its key again.
    EXPECT_EQ(wiq_json_obj_put_ext(weak.get(), "x", child, nullptr), 0);
    EXPECT_EQ(count(child), 2);
    EXPECT_EQ(wiq_json_obj_put_ext(weak.get(), "y", child, nullptr), 0);
    EXPECT_EQ(count(child), 3);
    EXPECT_EQ(wiq_json_obj_remove(weak.get(), "x"), 0);
    EXPECT_EQ(count(child), 2);
    weak.reset();
    EXPECT_EQ(count(child), 1);
    EXPECT_EQ(text_of(owner), "{\"a\":1}");
}

TEST(JsonObjPut, WeakObjectKeepsParentlessNodesAlive) {
    Tree weak = make("w{}");
    Tree node = make("7");
    ASSERT_EQ(wiq_json_obj_put_ext(weak.get(), "x", node.get(), nullptr), 0);
    EXPECT_EQ(parent(node.get()), nullptr);
    EXPECT_EQ(count(node.get()), 1);
    wiq_json_ref(node.get());
    weak.reset();
    EXPECT_EQ(count(node.get()), 1);
    EXPECT_EQ(wiq_json_i64_get(node.get()), 7);
}

TEST(JsonObjBuild, BuildersAttachWhatTheyMake) {
    Tree obj = make("{}");
    const wiq_uint128 big = {0, 1};
    u32 err = 0;
    wiq_json_t* const built[] = {
        wiq_json_obj_put_null(obj.get(), "null", &err),
        wiq_json_obj_put_bool(obj.get(), "yes", true, &err),
        wiq_json_obj_put_bool(obj.get(), "no", false, &err),
        wiq_json_obj_put_i64(obj.get(), "i", -4, &err),
        wiq_json_obj_put_u64(obj.get(), "u", 4, &err),
        wiq_json_obj_put_u128(obj.get(), "w", &big, &err),
        wiq_json_obj_put_double(obj.get(), "d", 0.5, &err),
        wiq_json_obj_put_str(obj.get(), "s", "text", &err),
        wiq_json_obj_put_jref(obj.get(), "r", "#/s", &err),
        wiq_json_obj_put_obj(obj.get(), "o", &err),
        wiq_json_obj_put_array(obj.get(), "a", &err),
    };
    EXPECT_EQ(err, 0u);
    for (const wiq_json_t* node : built) {
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(count(node), 1);
        EXPECT_EQ(parent(node), obj.get());
        EXPECT_EQ(member(obj, wiq_json_parent_key(node)), node);
        EXPECT_FALSE(wiq_json_has_weak_refs(node));
    }
    EXPECT_EQ(text_of(obj),
              "{\"a\":[],\"d\":0.5,\"i\":-4,\"no\":false,\"null\":null,\"o\":{},\"r\":@\"#/s\","
              "\"s\":\"text\",\"u\":4u,\"w\":18446744073709551616w,\"yes\":true}");
}

// Every builder of objects, with arguments that succeed on an object.
const std::vector<std::pair<const char*, wiq_json_t* (*)(wiq_json_t*, const char*, u32*)>>
    kBuilders = {
        {"null",
         [](wiq_json_t* o, const char* k, u32* e) { return wiq_json_obj_put_null(o, k, e); }},
        {"bool",
         [](wiq_json_t* o, const char* k, u32* e) { return wiq_json_obj_put_bool(o, k, true, e); }},
        {"i64",
         [](wiq_json_t* o, const char* k, u32* e) { return wiq_json_obj_put_i64(o, k, 1, e); }},
        {"u64",
         [](wiq_json_t* o, const char* k, u32* e) { return wiq_json_obj_put_u64(o, k, 1, e); }},
        {"u128",
         [](wiq_json_t* o, const char* k, u32* e) {
             const wiq_uint128 value = {1, 1};
             return wiq_json_obj_put_u128(o, k, &value, e);
         }},
        {"double",
         [](wiq_json_t* o, const char* k, u32* e) { return wiq_json_obj_put_double(o, k, 1, e); }},
        {"str",
         [](wiq_json_t* o, const char* k, u32* e) { return wiq_json_obj_put_str(o, k, "s", e); }},
        {"jref",
         [](wiq_json_t* o, const char* k, u32* e) { return wiq_json_obj_put_jref(o, k, "/", e); }},
        {"obj", [](wiq_json_t* o, const char* k, u32* e) { return wiq_json_obj_put_obj(o, k, e); }},
        {"array",
         [](wiq_json_t* o, const char* k, u32* e) { return wiq_json_obj_put_array(o, k, e); }},
};

TEST(JsonObjBuild, BuildersRefuseAndChain) {
    Tree array = make("[]");
    Tree obj = make("{}");
    for (const auto& [name, build] : kBuilders) {
        SCOPED_TRACE(name);
        u32 err = 0;
        EXPECT_EQ(build(array.get(), "k", &err), nullptr);
        EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
        EXPECT_EQ(build(obj.get(), "k", &err), nullptr) << "chained";
        EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
        err = 0;
        EXPECT_EQ(build(nullptr, "k", &err), nullptr);
        EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
        err = 0;
        EXPECT_EQ(build(obj.get(), nullptr, &err), nullptr);
        EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
        EXPECT_EQ(build(nullptr, "k", nullptr), nullptr);
        EXPECT_EQ(wiq_json_obj_size(obj.get()), 0);
    }
    u32 err = 0;
    EXPECT_EQ(wiq_json_obj_put_str(obj.get(), "k", nullptr, &err), nullptr);
    EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
    err = 0;
    EXPECT_EQ(wiq_json_obj_put_jref(obj.get(), "k", nullptr, &err), nullptr);
    EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
    err = 0;
    EXPECT_EQ(wiq_json_obj_put_u128(obj.get(), "k", nullptr, &err), nullptr);
    EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_obj_size(obj.get()), 0);
}

TEST(JsonObj, SizeAndHasKey) {
    Tree obj = make("{\"a\":1,\"\":2}");
    EXPECT_EQ(wiq_json_obj_size(obj.get()), 2);
    EXPECT_TRUE(wiq_json_obj_has_key(obj.get(), "a"));
    EXPECT_TRUE(wiq_json_obj_has_key(obj.get(), ""));
    EXPECT_FALSE(wiq_json_obj_has_key(obj.get(), "A"));
    EXPECT_FALSE(wiq_json_obj_has_key(obj.get(), nullptr));
    for (const char* other : {"[]", "null", "\"a\""}) {
        EXPECT_EQ(wiq_json_obj_size(make(other).get()), WIQ_ERR_INVALID_ARG);
        EXPECT_FALSE(wiq_json_obj_has_key(make(other).get(), "a"));
    }
    EXPECT_EQ(wiq_json_obj_size(nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_FALSE(wiq_json_obj_has_key(nullptr, "a"));
}

TEST(JsonObj, Remove) {
    Tree obj = make("{\"a\":{\"deep\":[1,2]},\"b\":2}");
    wiq_json_t* held = member(obj, "b");
    wiq_json_ref(held);
    EXPECT_EQ(wiq_json_obj_remove(obj.get(), "a"), 0);
    EXPECT_EQ(text_of(obj), "{\"b\":2}");
    EXPECT_EQ(wiq_json_obj_remove(obj.get(), "a"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_obj_remove(obj.get(), nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_obj_remove(nullptr, "b"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_obj_remove(make("[1]").get(), "b"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_obj_remove(obj.get(), "b"), 0);
    EXPECT_EQ(text_of(obj), "{}");
    EXPECT_EQ(count(held), 1);
    EXPECT_EQ(parent(held), nullptr);
    wiq_json_unref(held);
}

// A child's key is the very string that the object holds, however the child was added.
TEST(JsonObjPut, AChildReturnsTheKeyOfItsMember) {
    Tree obj(wiq_json_loads("{\"parsed\":1,\"replaced\":2,\"swapped\":[3],\"twice\":4,\"twice\":5}",
                            0, nullptr));
    for (i32 i = 0; i < 50; ++i) {
        wiq_json_obj_put_i64(obj.get(), ("built" + std::to_string(i)).c_str(), i, nullptr);
    }
    wiq_json_obj_put_ext(obj.get(), "ready-made", tree::node("{}"), nullptr);
    wiq_json_obj_put_i64(obj.get(), std::string(3000, 'x').c_str(), 6, nullptr);
    wiq_json_obj_put_null(obj.get(), "replaced", nullptr);
    wiq_json_t* swapped = member(obj, "swapped");
    ASSERT_EQ(wiq_json_swap_child(swapped, tree::node("7")), 0);
    wiq_json_unref(swapped);
    wiq_json_ptr_put_array(obj.get(), "/by pointer", nullptr);
    Tree copy(wiq_json_copy(obj.get(), nullptr));
    for (const Tree* tree : {&obj, &copy}) {
        i32 seen = 0;
        wiq_json_obj_foreach(
            tree->get(),
            [](const char* key, wiq_json_t* child, void* user) {
                EXPECT_EQ(wiq_json_parent_key(child), key) << "the very text of " << key;
                ++*static_cast<i32*>(user);
                return true;
            },
            &seen);
        EXPECT_EQ(seen, 4 + 50 + 3);
    }
}

// The member order of an object is that of a map with the same history.
class JsonObjOrder : public testing::Test {
  protected:
    void SetUp() override {
        wiq_map_init(&map_, 3, wiq_hash_str, wiq_cmp_str, free, nullptr);
        obj_ = Tree(wiq_json_obj_new(3, nullptr));
    }
    void TearDown() override { wiq_map_finalize(&map_); }

    void put(const std::string& key) {
        char* copy = static_cast<char*>(malloc(key.size() + 1));
        ASSERT_NE(copy, nullptr);
        memcpy(copy, key.c_str(), key.size() + 1);
        ASSERT_EQ(wiq_map_put(&map_, copy, nullptr), 0);
        ASSERT_NE(wiq_json_obj_put_null(obj_.get(), key.c_str(), nullptr), nullptr);
    }
    void remove(const std::string& key) {
        wiq_map_remove(&map_, key.c_str());
        wiq_json_obj_remove(obj_.get(), key.c_str());
    }
    void expect_same_order() {
        std::vector<std::string> expected;
        wiq_map_foreach(
            &map_,
            [](void* key, void*, void* user) {
                static_cast<std::vector<std::string>*>(user)->push_back(static_cast<char*>(key));
                return true;
            },
            &expected);
        std::vector<std::string> walked;
        EXPECT_EQ(wiq_json_obj_foreach(
                      obj_.get(),
                      [](const char* key, wiq_json_t* child, void* user) {
                          EXPECT_EQ(wiq_json_parent_key(child), key) << "the very text";
                          static_cast<std::vector<std::string>*>(user)->push_back(key);
                          return true;
                      },
                      &walked),
                  0);
        EXPECT_EQ(walked, expected);

        wiq_strv keys;
        wiq_strv_init(&keys);
        EXPECT_EQ(wiq_json_obj_keys(obj_.get(), &keys), static_cast<i32>(expected.size()));
        std::vector<std::string> listed;
        for (i32 i = 0; i < wiq_vector_size(&keys); ++i) {
            listed.push_back(wiq_strv_get(&keys, static_cast<u32>(i)));
        }
        EXPECT_EQ(listed, expected);
        wiq_strv_finalize(&keys);
    }

    wiq_map map_;
    Tree obj_;
};

TEST_F(JsonObjOrder, IsThatOfAMap) {
    for (int i = 0; i < 500; ++i) {
        put("key" + std::to_string(i));
        if (i % 7 == 0) {
            put("key" + std::to_string(i / 2));
        }
        if (i % 5 == 0) {
            remove("key" + std::to_string(i / 3));
        }
        if (i < 20 || i % 50 == 0) {
            expect_same_order();
        }
    }
    expect_same_order();
}

TEST(JsonObjKeys, AppendsToTheVector) {
    wiq_strv keys;
    wiq_strv_init(&keys);
    EXPECT_EQ(wiq_json_obj_keys(make("{}").get(), &keys), 0);
    EXPECT_EQ(keys.data, nullptr) << "untouched";
    wiq_strv_push(&keys, "before");
    Tree obj = make("{\"a\":1}");
    EXPECT_EQ(wiq_json_obj_keys(obj.get(), &keys), 1);
    ASSERT_EQ(wiq_vector_size(&keys), 2);
    EXPECT_STREQ(wiq_strv_get(&keys, 0), "before");
    EXPECT_STREQ(wiq_strv_get(&keys, 1), "a");
    EXPECT_NE(wiq_strv_get(&keys, 1), wiq_json_parent_key(member(obj, "a"))) << "a copy";

    EXPECT_EQ(wiq_json_obj_keys(nullptr, &keys), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_obj_keys(make("[]").get(), &keys), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_obj_keys(obj.get(), nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_vector_size(&keys), 2);
    wiq_strv_finalize(&keys);
}

TEST(JsonObjForeach, StopsWhenTheCallbackReturnsFalse) {
    Tree obj = make("{\"a\":1,\"b\":2,\"c\":3}");
    int calls = 0;
    const WiqJsonMemberFn stop_at_second = [](const char*, wiq_json_t*, void* user) {
        return ++*static_cast<int*>(user) < 2;
    };
    EXPECT_EQ(wiq_json_obj_foreach(obj.get(), stop_at_second, &calls), 0);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(wiq_json_obj_foreach(make("{}").get(), stop_at_second, &calls), 0);
    EXPECT_EQ(wiq_json_obj_foreach(make("[1]").get(), stop_at_second, &calls), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_obj_foreach(nullptr, stop_at_second, &calls), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_obj_foreach(obj.get(), nullptr, &calls), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(calls, 2);
}

}  // namespace
