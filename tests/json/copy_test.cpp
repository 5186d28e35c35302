// Deep copies.
#include <gtest/gtest.h>

#include "json/tree.h"

namespace {

using tree::keys_of;
using tree::make;
using tree::text_of;
using tree::Tree;

constexpr u32 kEarlier = static_cast<u32>(WIQ_ERR_KEY_NOT_FOUND);

// Checks everything about a copy and its source that a caller can see.
void expect_copy(const wiq_json_t* source, const wiq_json_t* copy) {
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, source);
    EXPECT_EQ(tree::header(copy)->type, tree::header(source)->type);
    EXPECT_EQ(tree::header(copy)->flags, 0);
    if (wiq_json_is_array(copy)) {
        ASSERT_EQ(wiq_json_array_size(copy), wiq_json_array_size(source));
        for (i32 i = 0; i < wiq_json_array_size(copy); ++i) {
            const wiq_json_t* child = wiq_json_array_get_ext(copy, i, 0, nullptr);
            EXPECT_EQ(tree::count(child), 1);
            EXPECT_EQ(tree::parent(child), copy);
            EXPECT_EQ(wiq_json_parent_index(child), i);
            expect_copy(wiq_json_array_get_ext(source, i, 0, nullptr), child);
        }
    } else if (wiq_json_is_obj(copy)) {
        ASSERT_EQ(wiq_json_obj_size(copy), wiq_json_obj_size(source));
        wiq_json_obj_foreach(
            source,
            [](const char* key, wiq_json_t* child, void* user) {
                const auto* obj = static_cast<const wiq_json_t*>(user);
                const wiq_json_t* child_copy = wiq_json_obj_get_ext(obj, key, 0, nullptr);
                EXPECT_EQ(tree::count(child_copy), 1);
                EXPECT_EQ(tree::parent(child_copy), obj);
                EXPECT_STREQ(wiq_json_parent_key(child_copy), key);
                EXPECT_NE(wiq_json_parent_key(child_copy), key) << "a key of its own";
                expect_copy(child, child_copy);
                return true;
            },
            const_cast<wiq_json_t*>(copy));
    } else if (wiq_json_is_str(copy) || wiq_json_is_jref(copy)) {
        EXPECT_NE(wiq_json_str_get(copy), wiq_json_str_get(source)) << "a text of its own";
        EXPECT_STREQ(wiq_json_str_get(copy), wiq_json_str_get(source));
    }
}

TEST(JsonCopy, EveryKindOnItsOwn) {
    for (const char* notation :
         {"null", "true", "false", "-5", "5u", "340282366920938463463374607431768211455w", "0.5",
          "nan", "\"\"", "\"text\"", "@\"#/a\"", "[]", "{}", "[1,[2,[3]],{\"a\":{}}]",
          "{\"a\":[{\"b\":null}],\"c\":@\"/a\",\"\":\"empty\"}"}) {
        SCOPED_TRACE(notation);
        Tree source = make(notation);
        u32 err = 0;
        Tree copy(wiq_json_copy(source.get(), &err));
        EXPECT_EQ(err, 0u);
        ASSERT_NE(copy, nullptr);
        EXPECT_EQ(tree::count(copy.get()), 0);
        EXPECT_EQ(tree::parent(copy.get()), nullptr);
        expect_copy(source.get(), copy.get());
        EXPECT_EQ(text_of(copy), text_of(source));
    }
}

TEST(JsonCopy, IsIndependentOfItsSource) {
    Tree source = make("{\"a\":[1,2],\"s\":\"x\"}");
    Tree copy(wiq_json_copy(source.get(), nullptr));
    wiq_json_array_push_i64(wiq_json_obj_get_array(copy.get(), "a", nullptr), 3, nullptr);
    EXPECT_EQ(text_of(source), "{\"a\":[1,2],\"s\":\"x\"}");
    source.reset();
    EXPECT_EQ(text_of(copy), "{\"a\":[1,2,3],\"s\":\"x\"}");
}

TEST(JsonCopy, OfAPartHasNoParent) {
    Tree source = make("{\"a\":[1,{\"b\":2}]}");
    Tree copy(wiq_json_copy(wiq_json_obj_get_array(source.get(), "a", nullptr), nullptr));
    EXPECT_EQ(text_of(copy), "[1,{\"b\":2}]");
    EXPECT_EQ(tree::parent(copy.get()), nullptr);
    EXPECT_EQ(wiq_json_parent_key(copy.get()), nullptr);
}

TEST(JsonCopy, WeakContainersBecomeStrongOnesOfCopies) {
    Tree owner = make("[1,[2],w{}]");
    Tree weak = make("w[w{},w[]]");
    for (i32 i = 0; i < 3; ++i) {
        wiq_json_array_push_ext(weak.get(), wiq_json_array_get_ext(owner.get(), i, 0, nullptr),
                                nullptr);
    }
    Tree copy(wiq_json_copy(weak.get(), nullptr));
    EXPECT_EQ(text_of(copy), "[{},[],1,[2],{}]");
    expect_copy(weak.get(), copy.get());
}

TEST(JsonCopy, InsertsMembersInTheOrderOfTheSource) {
    Tree source(wiq_json_obj_new(0, nullptr));
    for (int i = 0; i < 300; ++i) {
        wiq_json_obj_put_i64(source.get(), ("key" + std::to_string(i * 7)).c_str(), i, nullptr);
    }
    // Make the same insertions by calls.
    Tree expected(wiq_json_obj_new(300, nullptr));
    wiq_json_obj_foreach(
        source.get(),
        [](const char* key, wiq_json_t*, void* user) {
            return wiq_json_obj_put_null(static_cast<wiq_json_t*>(user), key, nullptr) != nullptr;
        },
        expected.get());
    Tree copy(wiq_json_copy(source.get(), nullptr));
    EXPECT_EQ(keys_of(copy), keys_of(expected));
}

TEST(JsonCopy, RefusesNullAndUnknownTags) {
    u32 err = 0;
    EXPECT_EQ(wiq_json_copy(nullptr, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_copy(nullptr, nullptr), nullptr);

    Tree source = make("[1,{\"a\":[\"x\",null]},2]");
    wiq_json_t* list =
        wiq_json_obj_get_array(wiq_json_array_get_ext(source.get(), 1, 0, nullptr), "a", nullptr);
    auto* type = reinterpret_cast<u16*>(wiq_json_array_get_ext(list, 1, 0, nullptr));
    *type = 11;
    err = 0;
    EXPECT_EQ(wiq_json_copy(source.get(), &err), nullptr) << "deep inside";
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_BAD_JSON_TYPE);
    err = 0;
    EXPECT_EQ(wiq_json_copy(reinterpret_cast<wiq_json_t*>(type), &err), nullptr) << "on its own";
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_BAD_JSON_TYPE);
    *type = 0;
}

TEST(JsonCopy, DoesNothingAfterAnEarlierFailure) {
    u32 err = kEarlier;
    EXPECT_EQ(wiq_json_copy(make("1").get(), &err), nullptr);
    EXPECT_EQ(wiq_json_copy(nullptr, &err), nullptr);
    EXPECT_EQ(err, kEarlier);
}

}  // namespace
