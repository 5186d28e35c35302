// JSON pointers with steps of more than 2^31 bytes, and pointers of more than 2^31 and 2^32 bytes. A key of
// "/" becomes twice as long in a pointer.
#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "large/large_test.h"

namespace {

class JsonPointerLarge : public Large {};

// Returns `times` nested objects, each under a key of `length` times "/", and a null in the innermost, which
// is *leaf.
wiq_json_t* nested(size_t length, int times, wiq_json_t** leaf) {
    Text key(length, '/');
    wiq_json_t* root = wiq_json_obj_new(0, nullptr);
    wiq_json_t* obj = root;
    for (int i = 1; i < times; ++i)
        obj = wiq_json_obj_put_obj(obj, key.data(), nullptr);
    *leaf = wiq_json_obj_put_null(obj, key.data(), nullptr);
    return root;
}

bool is_step(const char* text, size_t length) {
    if (text[0] != '/' || text[1] != '~' || text[2] != '1')
        return false;
    return memcmp(text + 1, text + 3, 2 * length - 2) == 0;
}

TEST_F(JsonPointerLarge, OfANode) {
    struct Row {
        size_t length;
        int times;
    };
    for (const Row& row : {Row{k2G / 2 - 1, 1}, Row{k2G / 2, 1}, Row{k2G / 2 + 5, 2}}) {
        const size_t expected = static_cast<size_t>(row.times) * (1 + 2 * row.length);
        SCOPED_TRACE(expected);
        wiq_json_t* leaf = nullptr;
        wiq_json_t* root = nested(row.length, row.times, &leaf);
        char before[] = "before";
        char* out = before;
        const i32 result = wiq_json_ptr(leaf, &out);
        EXPECT_EQ(result, expected < k2G ? static_cast<i32>(expected) : i32{WIQ_ERR_RANGE});
        if (expected < k2G) {
            EXPECT_EQ(strlen(out), expected);
            free(out);
        } else {
            EXPECT_EQ(out, before);
        }
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 1), 0);
        EXPECT_EQ(wiq_json_ptr_ext(leaf, &buf), 0);
        EXPECT_EQ(buf.len, expected);
        EXPECT_EQ(strlen(buf.data), expected);
        for (size_t at = 0; at < expected; at += 1 + 2 * row.length)
            EXPECT_TRUE(is_step(buf.data + at, row.length));
        // The pointer leads back to the node.
        u32 err = 0;
        EXPECT_EQ(wiq_json_ptr_get(root, buf.data, &err, nullptr), leaf);
        EXPECT_EQ(err, 0u);
        wiq_json_t* other = wiq_json_bool_new(true, nullptr);
        EXPECT_EQ(wiq_json_ptr_put(root, buf.data, other), 0);
        EXPECT_EQ(wiq_json_ptr_get(root, buf.data, &err, nullptr), other);
        wiq_strbuf_finalize(&buf);
        wiq_json_unref(root);
    }
}

TEST_F(JsonPointerLarge, AKeyAfterIt) {
    for (const size_t length : kLarge) {
        Text key(length, 'k');
        wiq_json_t* root = wiq_json_obj_new(0, nullptr);
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
        EXPECT_EQ(wiq_json_ptr_build_obj_ext(root, key.data(), &buf), 0);
        EXPECT_EQ(buf.len, length + 1);
        EXPECT_TRUE(is_all(buf.data + 1, length, 'k'));
        wiq_strbuf_finalize(&buf);
        wiq_json_unref(root);
    }
}

// An octal number with many zeros is a valid index.
TEST_F(JsonPointerLarge, AnIndex) {
    for (const size_t length : kLarge) {
        Text pointer(length, '0');
        pointer.beginning("/").ending("1");
        wiq_json_t* array = wiq_json_loads("[1,2]", 0, nullptr);
        u32 err = 0;
        EXPECT_EQ(wiq_json_i64_get(wiq_json_ptr_get(array, pointer.data(), &err, nullptr)), 2);
        EXPECT_EQ(err, 0u);
        EXPECT_EQ(wiq_json_ptr_put(array, pointer.data(), wiq_json_bool_new(true, nullptr)), 0);
        EXPECT_TRUE(wiq_json_is_true(wiq_json_array_get_ext(array, 1, 0, nullptr)));
        wiq_json_unref(array);
    }
}

TEST_F(JsonPointerLarge, WhatFailed) {
    for (const size_t length : kLarge) {
        SCOPED_TRACE(length);
        Text pointer(length + 2, 'k');
        pointer.beginning("/a/").ending("/b");
        wiq_json_t* root = wiq_json_loads("{\"a\":{}}", 0, nullptr);
        u32 err = 0;
        char* prefix = nullptr;
        EXPECT_EQ(wiq_json_ptr_get(root, pointer.data(), &err, &prefix), nullptr);
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_KEY_NOT_FOUND);
        ASSERT_NE(prefix, nullptr);
        EXPECT_EQ(strlen(prefix), length);
        free(prefix);
        // No object accepts such a key.
        wiq_json_t* value = wiq_json_null_new(nullptr);
        EXPECT_EQ(wiq_json_ptr_put(root, pointer.data(), value), WIQ_ERR_NO_MEMORY);
        EXPECT_EQ(wiq_json_obj_size(wiq_json_obj_get_obj(root, "a", nullptr)), 0);
        pointer.ending("k~");
        err = 0;
        EXPECT_EQ(wiq_json_ptr_get(root, pointer.data(), &err, nullptr), nullptr);
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_PTR_BAD_ESCAPE);
        EXPECT_EQ(wiq_json_ptr_put(root, pointer.data(), value), WIQ_ERR_PTR_BAD_ESCAPE);
        wiq_json_unref(value);
        wiq_json_unref(root);
    }
}

}  // namespace
