// Members and their nodes share blocks: either can be released first, and the block is freed with the node.
// The sanitizers and the allocation counts of the faults tests detect what these tests cannot assert.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "json/model/blocks.h"
#include "json/tree.h"
#include "ke_utils/containers.h"

namespace {

using tree::make;
using tree::member;
using tree::text_of;
using tree::Tree;

bool shares_block(const wiq_json_t* node) {
    return ke::json::has_member_in_block(node);
}

TEST(JsonMembers, BuiltOnesShareABlockWithTheirNodes) {
    Tree obj(wiq_json_obj_new(0, nullptr));
    const wiq_uint128 big = {1, 2};
    const wiq_json_t* nodes[] = {
        wiq_json_obj_put_null(obj.get(), "null", nullptr),
        wiq_json_obj_put_bool(obj.get(), "bool", true, nullptr),
        wiq_json_obj_put_i64(obj.get(), "i64", -1, nullptr),
        wiq_json_obj_put_u64(obj.get(), "u64", 1, nullptr),
        wiq_json_obj_put_u128(obj.get(), "u128", &big, nullptr),
        wiq_json_obj_put_double(obj.get(), "double", 1.5, nullptr),
        wiq_json_obj_put_str(obj.get(), "str", "text", nullptr),
        wiq_json_obj_put_jref(obj.get(), "jref", "#/null", nullptr),
        wiq_json_obj_put_obj(obj.get(), "obj", nullptr),
        wiq_json_obj_put_array(obj.get(), "array", nullptr),
    };
    for (const wiq_json_t* node : nodes) {
        EXPECT_TRUE(shares_block(node)) << wiq_json_type_string(node);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(node) % alignof(void*), 0u);
    }
    ASSERT_EQ(wiq_json_obj_put_ext(obj.get(), "own", wiq_json_null_new(nullptr), nullptr), 0);
    EXPECT_FALSE(shares_block(member(obj, "own")));
}

TEST(JsonMembers, KeysOfEveryLength) {
    // If a key has 472 or more bytes, the distance between the member and its node is too large for the node
    // to record.
    for (const size_t length : {0, 1, 6, 7, 8, 9, 470, 471, 472, 473, 5000}) {
        const std::string key(length, 'k');
        Tree obj(wiq_json_obj_new(0, nullptr));
        const wiq_json_t* node = wiq_json_obj_put_str(obj.get(), key.c_str(), "text", nullptr);
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(shares_block(node), length < 472) << length;
        EXPECT_STREQ(wiq_json_parent_key(node), key.c_str());

        Tree parsed(wiq_json_loads(("{\"" + key + "\":\"text\"}").c_str(), 0, nullptr));
        EXPECT_EQ(text_of(parsed), text_of(obj));
        Tree copied(wiq_json_copy(parsed.get(), nullptr));
        EXPECT_EQ(text_of(copied), text_of(obj));

        const std::string twice = "{\"" + key + "\":1,\"" + key + "\":{\"$ref\":\"#\"}}";
        Tree folded(wiq_json_loads(twice.c_str(), 0, nullptr));
        EXPECT_EQ(text_of(folded), "{\"" + key + "\":@\"#\"}");

        // A key with an escape, for a reference that is too large to share a block with its member. The block
        // that held the key is freed when the reference is made.
        const std::string uri(2000, 'u');
        const std::string escaped = "\\t" + key;
        const std::string large = "{\"" + escaped + "\":{\"$ref\":\"\",\"$ref\":\"" + uri + "\"}}";
        Tree apart(wiq_json_loads(large.c_str(), 0, nullptr));
        const wiq_json_t* reference = member(apart, ("\t" + key).c_str());
        ASSERT_NE(reference, nullptr) << length;
        EXPECT_FALSE(shares_block(reference));
        EXPECT_EQ(wiq_json_jref_uri(reference), uri);
    }
}

TEST(JsonMembers, ANodeOutlivesItsObject) {
    Tree obj = make("{\"a\":1,\"b\":\"text\",\"c\":{\"d\":[2]}}");
    wiq_json_t* text = member(obj, "b");
    wiq_json_t* inner = member(obj, "c");
    wiq_json_ref(text);
    wiq_json_ref(inner);
    obj.reset();
    EXPECT_STREQ(wiq_json_str_get(text), "text");
    EXPECT_EQ(text_of(inner), "{\"d\":[2]}");
    EXPECT_EQ(wiq_json_parent_key(text), nullptr);
    wiq_json_unref(text);
    wiq_json_unref(inner);
}

TEST(JsonMembers, ANodeMovesToAnotherObject) {
    Tree from(wiq_json_obj_new(0, nullptr));
    wiq_json_t* node = wiq_json_obj_put_str(from.get(), "old", "text", nullptr);
    ASSERT_EQ(wiq_json_make_orphan(node), 0);
    EXPECT_EQ(text_of(from), "{}");
    Tree to = make("{\"new\":1}");
    ASSERT_EQ(wiq_json_obj_put_ext(to.get(), "new", node, nullptr), 0);
    from.reset();
    EXPECT_EQ(text_of(to), "{\"new\":\"text\"}");
    EXPECT_STREQ(wiq_json_parent_key(node), "new");
    ASSERT_EQ(wiq_json_obj_remove(to.get(), "new"), 0);
    EXPECT_EQ(text_of(to), "{}");
}

TEST(JsonMembers, ReplacedOnesStayWhereTheyWereInTheOrder) {
    Tree obj(wiq_json_obj_new(0, nullptr));
    for (const char* key : {"a", "b", "c", "d", "e", "f", "g"})
        ASSERT_NE(wiq_json_obj_put_i64(obj.get(), key, 1, nullptr), nullptr);
    wiq_strv before;
    wiq_strv after;
    wiq_strv_init(&before);
    wiq_strv_init(&after);
    ASSERT_EQ(wiq_json_obj_keys(obj.get(), &before), 7);
    for (const char* key : {"c", "g", "a"}) {
        wiq_json_t* old = member(obj, key);
        wiq_json_ref(old);
        ASSERT_NE(wiq_json_obj_put_str(obj.get(), key, "new", nullptr), nullptr);
        EXPECT_EQ(tree::count(old), 1);
        EXPECT_EQ(tree::parent(old), nullptr);
        EXPECT_EQ(wiq_json_i64_get(old), 1);
        wiq_json_unref(old);
    }
    ASSERT_EQ(wiq_json_obj_keys(obj.get(), &after), 7);
    for (u32 i = 0; i < 7; ++i)
        EXPECT_STREQ(wiq_strv_get(&after, i), wiq_strv_get(&before, i));
    wiq_strv_finalize(&before);
    wiq_strv_finalize(&after);
}

TEST(JsonMembers, InAWeakObjectToo) {
    Tree weak(wiq_json_obj_weak_new(0, nullptr));
    wiq_json_t* node = wiq_json_obj_put_str(weak.get(), "a", "text", nullptr);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(tree::parent(node), nullptr);
    wiq_json_ref(node);
    weak.reset();
    EXPECT_STREQ(wiq_json_str_get(node), "text");
    wiq_json_unref(node);
}

// An object of the smallest table size has no table at all until it has a member.
TEST(JsonMembers, AnEmptyObjectHasNoTable) {
    Tree obj(wiq_json_obj_new(0, nullptr));
    EXPECT_EQ(ke::json::as<ke::json::ObjectNode>(obj.get())->members.buckets, nullptr);
    EXPECT_FALSE(wiq_json_obj_has_key(obj.get(), "a"));
    EXPECT_EQ(wiq_json_obj_remove(obj.get(), "a"), WIQ_ERR_INVALID_ARG);
    Tree copied(wiq_json_copy(obj.get(), nullptr));
    EXPECT_TRUE(wiq_json_equal(obj.get(), copied.get()));
    ASSERT_NE(wiq_json_obj_put_null(obj.get(), "a", nullptr), nullptr);
    ASSERT_EQ(wiq_json_obj_remove(obj.get(), "a"), 0);
    EXPECT_EQ(text_of(obj), "{}");
    EXPECT_TRUE(wiq_json_equal(obj.get(), copied.get()));
}

std::string first_key(const wiq_json_t* obj) {
    std::string first;
    wiq_json_obj_foreach(
        obj,
        [](const char* key, wiq_json_t*, void* context) {
            *static_cast<std::string*>(context) = key;
            return false;
        },
        &first);
    return first;
}
std::string first_key(wiq_map* map) {
    std::string first;
    wiq_map_foreach(
        map,
        [](void* key, void*, void* context) {
            *static_cast<std::string*>(context) = static_cast<const char*>(key);
            return false;
        },
        &first);
    return first;
}

// A large table remembers where its first member is; the result is the same as without that.
TEST(JsonMembers, TheFirstOneIsThatOfAnEqualMap) {
    std::mt19937 random(1);
    std::vector<std::string> keys;
    for (int i = 0; i < 500; ++i)
        keys.push_back("key" + std::to_string(i));
    Tree obj(wiq_json_obj_new(0, nullptr));
    wiq_map map;
    ASSERT_EQ(wiq_map_init(&map, 0, wiq_hash_str, wiq_cmp_str, nullptr, nullptr), 0);
    for (int i = 0; i < 20000; ++i) {
        std::string& key = keys[random() % keys.size()];
        // The object mostly grows for a while, then mostly shrinks, down to nothing.
        if (random() % 4 < (i / 2500 % 2 == 0 ? 3U : 1U)) {
            ASSERT_NE(wiq_json_obj_put_null(obj.get(), key.c_str(), nullptr), nullptr);
            ASSERT_EQ(wiq_map_put(&map, key.data(), key.data()), 0);
        } else {
            const std::string first = first_key(obj.get());
            const std::string& gone = random() % 2 == 0 && !first.empty() ? first : key;
            wiq_json_obj_remove(obj.get(), gone.c_str());
            wiq_map_remove(&map, gone.c_str());
        }
        ASSERT_EQ(first_key(obj.get()), first_key(&map)) << i;
    }
    wiq_map_finalize(&map);
}

}  // namespace
