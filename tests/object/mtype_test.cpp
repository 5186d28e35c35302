// Tests of tagged values: setters and getters as a grid, ownership, copies, equality.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/mtype.h"

namespace {

class Mtype : public testing::Test {
  protected:
    void SetUp() override { wiq_mtype_init(&value_); }
    void TearDown() override { EXPECT_EQ(wiq_mtype_finalize(&value_), 0); }

    wiq_mtype value_;
};

TEST_F(Mtype, RecordLayout) {
    EXPECT_EQ(offsetof(wiq_mtype, type), 0u);
    EXPECT_EQ(offsetof(wiq_mtype, flags), 1u);
    EXPECT_EQ(offsetof(wiq_mtype, blob_len), 2u);
    EXPECT_EQ(offsetof(wiq_mtype, payload), 8u);
    EXPECT_EQ(sizeof(wiq_mtype), 16u);
    EXPECT_EQ(offsetof(wiq_mtype_blob, length), 0u);
    EXPECT_EQ(offsetof(wiq_mtype_blob, data), 8u);
}

// A value of each type, and what each predicate and getter returns for it.
struct Kind {
    u8 tag;
    i32 (*set)(wiq_mtype* value);
    bool (*is)(const wiq_mtype* value);
};

int g_target;

const Kind kKinds[] = {
    {0, wiq_mtype_set_null, wiq_mtype_is_null},
    {1, [](wiq_mtype* v) { return wiq_mtype_set_bool(v, 7); }, wiq_mtype_is_bool},
    {2, [](wiq_mtype* v) { return wiq_mtype_set_int32(v, -2); }, wiq_mtype_is_int32},
    {3, [](wiq_mtype* v) { return wiq_mtype_set_int64(v, INT64_MIN); }, wiq_mtype_is_int64},
    {4, [](wiq_mtype* v) { return wiq_mtype_set_uint32(v, UINT32_MAX); }, wiq_mtype_is_uint32},
    {5, [](wiq_mtype* v) { return wiq_mtype_set_uint64(v, UINT64_MAX); }, wiq_mtype_is_uint64},
    {6,
     [](wiq_mtype* v) {
         return wiq_mtype_set_uint128(v, {3, 4});
     },
     wiq_mtype_is_uint128},
    {7, [](wiq_mtype* v) { return wiq_mtype_set_float(v, 1.5F); }, wiq_mtype_is_float},
    {8, [](wiq_mtype* v) { return wiq_mtype_set_double(v, 2.5); }, wiq_mtype_is_double},
    {9, [](wiq_mtype* v) { return wiq_mtype_set_utf8(v, "text", 1); }, wiq_mtype_is_utf8},
    {10, [](wiq_mtype* v) { return wiq_mtype_set_blob(v, "ab", 2, 1, 1); }, wiq_mtype_is_blob},
    {11, [](wiq_mtype* v) { return wiq_mtype_set_ptr(v, &g_target, 0); }, wiq_mtype_is_ptr},
    {12, [](wiq_mtype* v) { return wiq_mtype_set_status(v, -5000); }, wiq_mtype_is_status},
};

TEST_F(Mtype, EachTypeIsOnlyItself) {
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(static_cast<int>(kind.tag));
        ASSERT_EQ(kind.set(&value_), 0);
        EXPECT_EQ(wiq_mtype_get_type(&value_), kind.tag);
        for (const Kind& other : kKinds) {
            EXPECT_EQ(other.is(&value_), other.tag == kind.tag);
            EXPECT_FALSE(other.is(nullptr));
        }
        EXPECT_EQ(wiq_mtype_get_bool(&value_), kind.tag == 1);
        EXPECT_EQ(wiq_mtype_get_int32(&value_), kind.tag == 2 ? -2 : 0);
        EXPECT_EQ(wiq_mtype_get_int64(&value_), kind.tag == 3 ? INT64_MIN : 0);
        EXPECT_EQ(wiq_mtype_get_uint32(&value_), kind.tag == 4 ? UINT32_MAX : 0);
        EXPECT_EQ(wiq_mtype_get_uint64(&value_), kind.tag == 5 ? UINT64_MAX : 0);
        EXPECT_EQ(wiq_mtype_get_uint128(&value_).lo, kind.tag == 6 ? 3u : 0u);
        EXPECT_EQ(wiq_mtype_get_uint128(&value_).hi, kind.tag == 6 ? 4u : 0u);
        EXPECT_EQ(wiq_mtype_get_float(&value_), kind.tag == 7 ? 1.5F : 0.0F);
        EXPECT_EQ(wiq_mtype_get_double(&value_), kind.tag == 8 ? 2.5 : 0.0);
        EXPECT_STREQ(wiq_mtype_get_utf8(&value_), kind.tag == 9 ? "text" : nullptr);
        u64 length = 99;
        EXPECT_EQ(wiq_mtype_get_blob(&value_, &length) != nullptr, kind.tag == 10);
        EXPECT_EQ(length, kind.tag == 10 ? 2u : 0u);
        EXPECT_EQ(wiq_mtype_get_ptr(&value_), kind.tag == 11 ? &g_target : nullptr);
        EXPECT_EQ(wiq_mtype_get_status(&value_), kind.tag == 12 ? -5000 : 0);
    }
}

TEST_F(Mtype, NullValues) {
    for (const Kind& kind : kKinds)
        EXPECT_EQ(kind.set(nullptr), WIQ_ERR_INVALID_ARG);
    wiq_mtype_init(nullptr);
    EXPECT_EQ(wiq_mtype_finalize(nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_mtype_get_type(nullptr), 0);
    EXPECT_FALSE(wiq_mtype_get_bool(nullptr));
    EXPECT_EQ(wiq_mtype_get_int32(nullptr), 0);
    EXPECT_EQ(wiq_mtype_get_int64(nullptr), 0);
    EXPECT_EQ(wiq_mtype_get_uint32(nullptr), 0u);
    EXPECT_EQ(wiq_mtype_get_uint64(nullptr), 0u);
    EXPECT_EQ(wiq_mtype_get_uint128(nullptr).lo, 0u);
    EXPECT_EQ(wiq_mtype_get_float(nullptr), 0.0F);
    EXPECT_EQ(wiq_mtype_get_double(nullptr), 0.0);
    EXPECT_EQ(wiq_mtype_get_utf8(nullptr), nullptr);
    EXPECT_EQ(wiq_mtype_get_ptr(nullptr), nullptr);
    EXPECT_EQ(wiq_mtype_get_status(nullptr), 0);
    u64 length = 5;
    EXPECT_EQ(wiq_mtype_get_blob(nullptr, &length), nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(wiq_mtype_get_blob(nullptr, nullptr), nullptr);
}

TEST_F(Mtype, BorrowedTextIsNotReleased) {
    char text[] = "text";
    EXPECT_EQ(wiq_mtype_set_utf8(&value_, text, 0), 0);
    EXPECT_EQ(wiq_mtype_get_utf8(&value_), text);
    EXPECT_EQ(value_.flags, 0);
    EXPECT_EQ(wiq_mtype_finalize(&value_), 0);
    EXPECT_STREQ(text, "text");
    EXPECT_EQ(wiq_mtype_set_utf8(&value_, text, 1), 0);
    EXPECT_NE(wiq_mtype_get_utf8(&value_), text);
    EXPECT_EQ(value_.flags, WIQ_MTYPE_OWNED);
    EXPECT_EQ(wiq_mtype_set_utf8(&value_, nullptr, 1), 0);
    EXPECT_TRUE(wiq_mtype_is_utf8(&value_));
    EXPECT_EQ(wiq_mtype_get_utf8(&value_), nullptr);
    EXPECT_EQ(value_.flags, 0);
}

TEST_F(Mtype, BlobsAroundTheLimit) {
    for (u64 size : {u64{1}, u64{65534}, u64{65535}, u64{65536}, u64{200000}}) {
        const std::string data(size, 'd');
        EXPECT_EQ(wiq_mtype_set_blob(&value_, data.data(), size, 1, 1), 0);
        u64 length = 0;
        const void* stored = wiq_mtype_get_blob(&value_, &length);
        EXPECT_EQ(length, size);
        EXPECT_NE(stored, data.data());
        EXPECT_EQ(memcmp(stored, data.data(), size), 0);
        EXPECT_EQ((value_.flags & WIQ_MTYPE_LONG_BLOB) != 0, size >= 65535) << size;
        EXPECT_EQ(value_.blob_len, size < 65535 ? size : 0);
    }
}

TEST_F(Mtype, BlobOwnershipIsWhatTheCallerRequests) {
    // Borrowed, not owned.
    char data[] = "data";
    EXPECT_EQ(wiq_mtype_set_blob(&value_, data, 4, 0, 0), 0);
    EXPECT_EQ(wiq_mtype_get_blob(&value_, nullptr), data);
    // Ownership is transferred.
    void* block = malloc(4);
    EXPECT_EQ(wiq_mtype_set_blob(&value_, block, 4, 0, 1), 0);
    EXPECT_EQ(wiq_mtype_get_blob(&value_, nullptr), block);
    // A copy without ownership; the caller must release it.
    EXPECT_EQ(wiq_mtype_set_blob(&value_, data, 4, 1, 0), 0);
    void* copy = const_cast<void*>(wiq_mtype_get_blob(&value_, nullptr));
    EXPECT_EQ(wiq_mtype_finalize(&value_), 0);
    EXPECT_EQ(memcmp(copy, data, 4), 0);
    free(copy);
    // A copy of zero bytes.
    EXPECT_EQ(wiq_mtype_set_blob(&value_, data, 0, 1, 1), 0);
    u64 length = 9;
    EXPECT_EQ(wiq_mtype_get_blob(&value_, &length), nullptr);
    EXPECT_EQ(length, 0u);
    // A long one that is borrowed: only its record is released.
    const std::string longer(70000, 'x');
    EXPECT_EQ(wiq_mtype_set_blob(&value_, longer.data(), longer.size(), 0, 0), 0);
    EXPECT_EQ(wiq_mtype_get_blob(&value_, nullptr), longer.data());
}

TEST_F(Mtype, EmptyBlobs) {
    char data[] = "data";
    struct Row {
        const void* data;
        u8 copy;
        const void* stored;
    };
    for (const Row& row : {Row{data, 0, data}, Row{data, 1, nullptr}, Row{nullptr, 0, nullptr},
                           Row{nullptr, 1, nullptr}}) {
        EXPECT_EQ(wiq_mtype_set_blob(&value_, row.data, 0, row.copy, row.copy), 0);
        EXPECT_TRUE(wiq_mtype_is_blob(&value_));
        EXPECT_EQ(value_.blob_len, 0);
        EXPECT_EQ(value_.flags, row.copy != 0 ? WIQ_MTYPE_OWNED : 0);
        u64 length = 9;
        EXPECT_EQ(wiq_mtype_get_blob(&value_, &length), row.stored);
        EXPECT_EQ(length, 0u);
        for (const auto copy : {wiq_mtype_copy, wiq_mtype_copy_ref}) {
            wiq_mtype other;
            wiq_mtype_init(&other);
            EXPECT_EQ(copy(&value_, &other), 0);
            EXPECT_TRUE(wiq_mtype_equal(&value_, &other)) << "no bytes are equal to no bytes";
            EXPECT_TRUE(wiq_mtype_equal(&other, &value_));
            EXPECT_EQ(wiq_mtype_get_blob(&other, &length),
                      copy == wiq_mtype_copy ? nullptr : row.stored);
            EXPECT_EQ(length, 0u);
            EXPECT_EQ(wiq_mtype_set_blob(&other, data, 1, 0, 0), 0);
            EXPECT_FALSE(wiq_mtype_equal(&value_, &other));
            EXPECT_EQ(wiq_mtype_finalize(&other), 0);
        }
    }
    // An owned block is released although its length is 0.
    EXPECT_EQ(wiq_mtype_set_blob(&value_, malloc(1), 0, 0, 1), 0);
    EXPECT_EQ(value_.flags, WIQ_MTYPE_OWNED);
}

TEST_F(Mtype, OwnedPointersAreFreed) {
    EXPECT_EQ(wiq_mtype_set_ptr(&value_, malloc(4), 1), 0);
    EXPECT_EQ(value_.flags, WIQ_MTYPE_OWNED);
    EXPECT_EQ(wiq_mtype_set_ptr(&value_, &g_target, 0), 0);
    EXPECT_EQ(value_.flags, 0);
}

TEST_F(Mtype, AFinalizedValueKeepsItsTagAndCanBeSetAgain) {
    EXPECT_EQ(wiq_mtype_set_uint128(&value_, {1, 2}), 0);
    EXPECT_EQ(wiq_mtype_finalize(&value_), 0);
    EXPECT_TRUE(wiq_mtype_is_uint128(&value_));
    EXPECT_EQ(wiq_mtype_get_uint128(&value_).lo, 0u);
    EXPECT_EQ(wiq_mtype_finalize(&value_), 0) << "nothing is released twice";
    EXPECT_EQ(wiq_mtype_set_uint128(&value_, {5, 6}), 0);
    EXPECT_EQ(wiq_mtype_get_uint128(&value_).hi, 6u);
    EXPECT_EQ(wiq_mtype_set_utf8(&value_, "text", 1), 0);
    EXPECT_EQ(wiq_mtype_finalize(&value_), 0);
    EXPECT_TRUE(wiq_mtype_is_utf8(&value_));
}

TEST_F(Mtype, CopyIsDeep) {
    wiq_mtype copy;
    wiq_mtype_init(&copy);
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(static_cast<int>(kind.tag));
        ASSERT_EQ(kind.set(&value_), 0);
        EXPECT_EQ(wiq_mtype_copy(&value_, &copy), 0);
        EXPECT_EQ(wiq_mtype_get_type(&copy), kind.tag);
        EXPECT_TRUE(wiq_mtype_equal(&value_, &copy));
        if (kind.tag == 6 || kind.tag == 9 || kind.tag == 10) {
            EXPECT_NE(copy.payload.ptr, value_.payload.ptr);
        }
    }
    const std::string longer(70000, 'x');
    ASSERT_EQ(wiq_mtype_set_blob(&value_, longer.data(), longer.size(), 0, 0), 0);
    EXPECT_EQ(wiq_mtype_copy(&value_, &copy), 0);
    EXPECT_EQ(copy.flags, WIQ_MTYPE_OWNED | WIQ_MTYPE_LONG_BLOB);
    EXPECT_NE(wiq_mtype_get_blob(&copy, nullptr), longer.data());
    EXPECT_EQ(wiq_mtype_copy(&value_, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_mtype_copy(nullptr, &copy), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_mtype_finalize(&copy), 0);
}

TEST_F(Mtype, CopyOfAnOwnedPointerClaimsItToo) {
    wiq_mtype copy;
    wiq_mtype_init(&copy);
    void* block = malloc(4);
    ASSERT_EQ(wiq_mtype_set_ptr(&value_, block, 1), 0);
    EXPECT_EQ(wiq_mtype_copy(&value_, &copy), 0);
    EXPECT_EQ(copy.flags, WIQ_MTYPE_OWNED);
    EXPECT_EQ(wiq_mtype_get_ptr(&copy), block);
    wiq_mtype_init(&copy);  // forgets that it owns the block
}

TEST_F(Mtype, CopyOntoItself) {
    for (const Kind& kind : kKinds) {
        ASSERT_EQ(kind.set(&value_), 0);
        EXPECT_EQ(wiq_mtype_copy(&value_, &value_), 0);
        EXPECT_EQ(wiq_mtype_get_type(&value_), kind.tag);
        EXPECT_EQ(wiq_mtype_copy_ref(&value_, &value_), 0);
    }
    ASSERT_EQ(wiq_mtype_set_utf8(&value_, "text", 1), 0);
    EXPECT_EQ(wiq_mtype_copy(&value_, &value_), 0);
    EXPECT_STREQ(wiq_mtype_get_utf8(&value_), "text");
}

TEST_F(Mtype, CopyRefBorrows) {
    wiq_mtype borrowed;
    wiq_mtype_init(&borrowed);
    ASSERT_EQ(wiq_mtype_set_utf8(&value_, "text", 1), 0);
    EXPECT_EQ(wiq_mtype_copy_ref(&value_, &borrowed), 0);
    EXPECT_EQ(wiq_mtype_get_utf8(&borrowed), wiq_mtype_get_utf8(&value_));
    EXPECT_EQ(borrowed.flags, 0);
    EXPECT_EQ(wiq_mtype_finalize(&borrowed), 0);
    EXPECT_STREQ(wiq_mtype_get_utf8(&value_), "text");

    for (size_t size : {size_t{10}, size_t{70000}}) {
        const std::string data(size, 'x');
        ASSERT_EQ(wiq_mtype_set_blob(&value_, data.data(), size, 1, 1), 0);
        EXPECT_EQ(wiq_mtype_copy_ref(&value_, &borrowed), 0);
        u64 length = 0;
        EXPECT_EQ(wiq_mtype_get_blob(&borrowed, &length), wiq_mtype_get_blob(&value_, nullptr));
        EXPECT_EQ(length, size);
        EXPECT_EQ(borrowed.flags & WIQ_MTYPE_OWNED, 0);
    }
    ASSERT_EQ(wiq_mtype_set_int32(&value_, 5), 0);
    EXPECT_EQ(wiq_mtype_copy_ref(&value_, &borrowed), 0);
    EXPECT_EQ(wiq_mtype_get_int32(&borrowed), 5);
    ASSERT_EQ(wiq_mtype_set_ptr(&value_, malloc(4), 1), 0);
    EXPECT_EQ(wiq_mtype_copy_ref(&value_, &borrowed), 0);
    EXPECT_EQ(borrowed.flags, 0);
    EXPECT_EQ(wiq_mtype_copy_ref(nullptr, &borrowed), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_mtype_copy_ref(&value_, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_mtype_finalize(&borrowed), 0);

    ASSERT_EQ(wiq_mtype_set_uint128(&value_, {1, 2}), 0);
    EXPECT_EQ(wiq_mtype_copy_ref(&value_, &borrowed), 0);
    EXPECT_EQ(borrowed.payload.uint128, value_.payload.uint128) << "the cell is shared";
    wiq_mtype_init(&borrowed);
}

TEST(MtypeInit, ClearsEveryField) {
    wiq_mtype value;
    memset(&value, 0xAA, sizeof(value));
    wiq_mtype_init(&value);
    EXPECT_EQ(value.type, WIQ_MTYPE_NULL);
    EXPECT_EQ(value.flags, 0);
    EXPECT_EQ(value.blob_len, 0u);
}

// A string may be NULL, and so may the bytes of a blob.
TEST_F(Mtype, EqualityWithNull) {
    wiq_mtype other;
    wiq_mtype_init(&other);
    wiq_mtype_set_utf8(&value_, nullptr, 0);
    wiq_mtype_set_utf8(&other, "", 0);
    for (const bool equal : {false, true}) {
        EXPECT_EQ(wiq_mtype_equal(&value_, &other), equal);
        EXPECT_EQ(wiq_mtype_equal(&other, &value_), equal);
        EXPECT_EQ(wiq_mtype_equal_utf8(&value_, &other), equal);
        EXPECT_EQ(wiq_mtype_equal_utf8(&other, &value_), equal);
        wiq_mtype_set_utf8(&other, nullptr, 0);
    }
    wiq_mtype_set_blob(&value_, nullptr, 3, 0, 0);
    wiq_mtype_set_blob(&other, "abc", 3, 0, 0);
    for (const bool equal : {false, true}) {
        EXPECT_EQ(wiq_mtype_equal(&value_, &other), equal);
        EXPECT_EQ(wiq_mtype_equal(&other, &value_), equal);
        wiq_mtype_set_blob(&other, nullptr, 3, 0, 0);
    }
    wiq_mtype_finalize(&other);
}

TEST_F(Mtype, Equality) {
    wiq_mtype other;
    wiq_mtype_init(&other);
    EXPECT_TRUE(wiq_mtype_equal(&value_, &other));
    EXPECT_FALSE(wiq_mtype_equal(nullptr, &other));
    EXPECT_FALSE(wiq_mtype_equal(&other, nullptr));
    wiq_mtype_set_bool(&value_, 1);
    wiq_mtype_set_bool(&other, 255);
    EXPECT_TRUE(wiq_mtype_equal(&value_, &other));
    wiq_mtype_set_bool(&other, 0);
    EXPECT_FALSE(wiq_mtype_get_bool(&other));
    EXPECT_FALSE(wiq_mtype_equal(&value_, &other));
    wiq_mtype_set_int32(&value_, 5);
    wiq_mtype_set_uint32(&other, 5);
    EXPECT_FALSE(wiq_mtype_equal(&value_, &other)) << "types differ";
    wiq_mtype_set_int32(&other, 5);
    EXPECT_TRUE(wiq_mtype_equal(&value_, &other));
    wiq_mtype_set_uint128(&value_, {1, 2});
    wiq_mtype_set_uint128(&other, {1, 2});
    EXPECT_TRUE(wiq_mtype_equal(&value_, &other));
    wiq_mtype_set_uint128(&other, {1, 3});
    EXPECT_FALSE(wiq_mtype_equal(&value_, &other));
    wiq_mtype_set_uint128(&other, {2, 2});
    EXPECT_FALSE(wiq_mtype_equal(&value_, &other));
    wiq_mtype_set_double(&value_, std::numeric_limits<double>::quiet_NaN());
    wiq_mtype_set_double(&other, std::numeric_limits<double>::quiet_NaN());
    EXPECT_FALSE(wiq_mtype_equal(&value_, &other));
    EXPECT_FALSE(wiq_mtype_equal(&value_, &value_));
    wiq_mtype_set_float(&value_, 0.0F);
    wiq_mtype_set_float(&other, -0.0F);
    EXPECT_TRUE(wiq_mtype_equal(&value_, &other));
    wiq_mtype_set_blob(&value_, "abc", 3, 0, 0);
    wiq_mtype_set_blob(&other, "abd", 3, 0, 0);
    EXPECT_FALSE(wiq_mtype_equal(&value_, &other));
    wiq_mtype_set_blob(&other, "abcd", 4, 0, 0);
    EXPECT_FALSE(wiq_mtype_equal(&value_, &other));
    wiq_mtype_set_blob(&other, "abc", 3, 1, 1);
    EXPECT_TRUE(wiq_mtype_equal(&value_, &other));
    value_.type = 13;
    other.type = 13;
    EXPECT_FALSE(wiq_mtype_equal(&value_, &other)) << "no such type";
    value_.type = 0;
    other.type = WIQ_MTYPE_BLOB;
    wiq_mtype_finalize(&other);
}

TEST_F(Mtype, TextEquality) {
    wiq_mtype other;
    wiq_mtype_init(&other);
    wiq_mtype_set_utf8(&value_, "text", 1);
    wiq_mtype_set_utf8(&other, "text", 1);
    EXPECT_TRUE(wiq_mtype_equal(&value_, &other));
    EXPECT_TRUE(wiq_mtype_equal_utf8(&value_, &other));
    wiq_mtype_set_utf8(&other, "Text", 0);
    EXPECT_FALSE(wiq_mtype_equal_utf8(&value_, &other));
    wiq_mtype_set_utf8(&other, nullptr, 0);
    EXPECT_FALSE(wiq_mtype_equal(&value_, &other));
    wiq_mtype_set_int32(&other, 1);
    EXPECT_FALSE(wiq_mtype_equal_utf8(&value_, &other));
    EXPECT_FALSE(wiq_mtype_equal_utf8(nullptr, &value_));
    EXPECT_FALSE(wiq_mtype_equal_utf8(&value_, nullptr));
}

}  // namespace
