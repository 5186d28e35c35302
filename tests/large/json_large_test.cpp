// Values, objects, copies and comparisons with texts and keys of more than 2^31 and 2^32 bytes.
#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "large/large_test.h"

namespace {

class JsonLarge : public Large {};

TEST_F(JsonLarge, Strings) {
    for (const size_t length : kLarge) {
        Text text(length, 'x');
        wiq_json_t* string = wiq_json_str_new(text.data(), nullptr);
        text.release();
        EXPECT_EQ(strlen(wiq_json_str_get(string)), length);
        wiq_json_t* copy = wiq_json_copy(string, nullptr);
        EXPECT_TRUE(wiq_json_equal(string, copy));
        // Only the last byte differs.
        const_cast<char*>(wiq_json_str_get(copy))[length - 1] = 'y';
        EXPECT_FALSE(wiq_json_equal(string, copy));
        EXPECT_FALSE(wiq_json_subset(string, copy, 0));
        wiq_json_t* list = wiq_json_array_weak_new(0, nullptr);
        for (wiq_json_t* elem : {copy, string})
            wiq_json_array_push_ext(list, elem, nullptr);
        EXPECT_EQ(wiq_json_array_find_str(list, wiq_json_str_get(string)), string);
        EXPECT_EQ(wiq_json_array_find(list, copy), copy);
        wiq_json_unref(list);
    }
}

TEST_F(JsonLarge, AShortStringIsNoLongOne) {
    Text text(k4G + 5, 'x');
    wiq_json_t* list = wiq_json_loads("[\"xxxxx\"]", 0, nullptr);
    EXPECT_EQ(wiq_json_array_find_str(list, text.data()), nullptr);
    wiq_json_unref(list);
    wiq_json_t* obj = wiq_json_loads("{\"xxxxx\":1}", 0, nullptr);
    EXPECT_FALSE(wiq_json_obj_has_key(obj, text.data()));
    wiq_json_unref(obj);
}

TEST_F(JsonLarge, References) {
    for (const size_t length : kLarge) {
        Text text(length, 'x');
        text.beginning("/");
        u32 err = 0;
        wiq_json_t* ref = wiq_json_jref_new(text.data(), &err);
        text.release();
        EXPECT_EQ(err, 0u);
        EXPECT_EQ(strlen(wiq_json_jref_uri(ref)), length);
        wiq_json_unref(ref);
    }
}

// A long reference is followed as far as its target: the key is not found, and it is not one of five bytes.
TEST_F(JsonLarge, FollowedReferences) {
    Text text(k4G + 8, 'x');
    text.beginning("#/");
    wiq_json_t* root = wiq_json_loads("{\"xxxxx\":1,\"xxxxxx\":2}", 0, nullptr);
    wiq_json_t* ref = wiq_json_obj_put_jref(root, "r", text.data(), nullptr);
    text.release();
    ASSERT_NE(ref, nullptr);
    EXPECT_EQ(strlen(wiq_json_jref_uri(ref)), text.size());
    u32 err = 0;
    EXPECT_EQ(wiq_json_jref_deref(ref, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_KEY_NOT_FOUND);
    err = 0;
    EXPECT_EQ(wiq_json_jref_resolve(ref, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(wiq_json_jref_expand(root), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_TRUE(wiq_json_is_jref(wiq_json_obj_get_ext(root, "r", 0, nullptr)));
    wiq_json_unref(root);
}

TEST_F(JsonLarge, ChildrenWithLongTexts) {
    Text text(k4G + 5, 'x');
    wiq_json_t* root = wiq_json_loads("{\"list\":[]}", 0, nullptr);
    wiq_json_t* list = wiq_json_obj_get_array(root, "list", nullptr);
    using Put = wiq_json_t* (*)(wiq_json_t*, const char*, const char*, u32*);
    for (const Put put : {wiq_json_obj_put_str, wiq_json_obj_put_jref}) {
        wiq_json_t* child = put(root, "a", text.data(), nullptr);
        ASSERT_NE(child, nullptr);
        EXPECT_EQ(strlen(wiq_json_is_jref(child) ? wiq_json_jref_uri(child)
                                                 : wiq_json_obj_get_str(root, "a", nullptr)),
                  text.size());
        EXPECT_EQ(wiq_json_obj_remove(root, "a"), 0);
    }
    for (const Put put : {wiq_json_ptr_put_str, wiq_json_ptr_put_jref}) {
        wiq_json_t* child = put(root, "/list/-", text.data(), nullptr);
        ASSERT_NE(child, nullptr);
        EXPECT_EQ(
            strlen(wiq_json_is_jref(child) ? wiq_json_jref_uri(child) : wiq_json_str_get(child)),
            text.size());
        EXPECT_EQ(wiq_json_array_pop(list, 1), 0);
    }
    wiq_json_t* child = wiq_json_array_push_str(list, text.data(), nullptr);
    text.release();
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(strlen(wiq_json_str_get(child)), text.size());
    EXPECT_TRUE(is_all(wiq_json_str_get(child), text.size(), 'x'));
    wiq_json_unref(root);
}

// A key must be shorter than 2 GiB. Longer ones are neither found nor stored.
TEST_F(JsonLarge, Keys) {
    constexpr size_t kLongest = k2G - 1;
    Text text(k4G + 5, 'k');
    for (const size_t length : {kLongest, k2G, k2G + 5, k4G + 5}) {
        SCOPED_TRACE(length);
        const bool fits = length == kLongest;
        const char* key = text.end() - length;
        wiq_json_t* obj = wiq_json_loads("{\"kkkkk\":1,\"\":2}", 0, nullptr);
        wiq_json_t* child = wiq_json_null_new(nullptr);
        wiq_json_ref(child);
        u32 err = 0;
        EXPECT_EQ(wiq_json_obj_put_ext(obj, key, child, &err), fits ? 0 : i32{WIQ_ERR_NO_MEMORY});
        EXPECT_EQ(wiq_json_obj_size(obj), fits ? 3 : 2);
        EXPECT_EQ(wiq_json_obj_has_key(obj, key), fits);
        err = 0;
        EXPECT_EQ(wiq_json_obj_get_ext(obj, key, 0, &err), fits ? child : nullptr);
        EXPECT_EQ(static_cast<i32>(err), fits ? 0 : i32{WIQ_ERR_KEY_NOT_FOUND});
        if (fits) {
            EXPECT_EQ(strlen(wiq_json_parent_key(child)), length);
            wiq_strv keys;
            wiq_strv_init(&keys);
            EXPECT_EQ(wiq_json_obj_keys(obj, &keys), 3);
            wiq_strv_sort(&keys);
            EXPECT_EQ(strlen(wiq_strv_get(&keys, 2)), length);
            wiq_strv_finalize(&keys);
            wiq_json_t* copy = wiq_json_copy(obj, nullptr);
            EXPECT_TRUE(wiq_json_equal(obj, copy));
            wiq_json_unref(copy);
        } else {
            err = 0;
            EXPECT_EQ(wiq_json_obj_put_i64(obj, key, 1, &err), nullptr);
            EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NO_MEMORY);
        }
        EXPECT_EQ(wiq_json_obj_remove(obj, key), fits ? 0 : i32{WIQ_ERR_INVALID_ARG});
        EXPECT_EQ(wiq_json_obj_size(obj), 2);
        wiq_json_unref(child);
        wiq_json_unref(obj);
    }
}

// No table can hold so many members.
TEST_F(JsonLarge, Capacities) {
    u32 err = 0;
    EXPECT_EQ(wiq_json_obj_new(INT32_MAX, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NO_MEMORY);
    err = 0;
    EXPECT_EQ(wiq_json_obj_weak_new(INT32_MAX, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NO_MEMORY);
}

}  // namespace
