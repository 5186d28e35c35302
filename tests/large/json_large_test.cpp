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

TEST_F(JsonLarge, MembersWithLongTexts) {
    Text text(k4G + 5, 'x');
    wiq_json_t* obj = wiq_json_obj_new(0, nullptr);
    EXPECT_NE(wiq_json_obj_put_str(obj, "a", text.data(), nullptr), nullptr);
    text.release();
    EXPECT_EQ(strlen(wiq_json_obj_get_str(obj, "a", nullptr)), text.size());
    wiq_json_unref(obj);
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
