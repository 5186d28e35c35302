// The string operations with texts of more than 2^31 and 2^32 bytes.
#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "large/large_test.h"

namespace {

class StringsLarge : public Large {};

TEST_F(StringsLarge, InPlace) {
    for (const size_t length : kLarge) {
        SCOPED_TRACE(length);
        Text text(length, 'x');
        EXPECT_EQ(wiq_strnlen(text.data(), UINT64_MAX), length);
        EXPECT_EQ(wiq_strnlen(text.data(), length - 1), length - 1);
        EXPECT_EQ(wiq_upper_all(text.data()), text.data());
        EXPECT_TRUE(is_all(text.data(), length, 'X'));
        wiq_strchr_replace(text.data(), 'X', 'y');
        EXPECT_TRUE(is_all(text.data(), length, 'y'));
        text.ending(" ab");
        wiq_upper_first(text.data());
        EXPECT_STREQ(text.end() - 4, "y Ab");
        EXPECT_EQ(text[0], 'Y');
        EXPECT_EQ(wiq_strcasecmp(text.data(), text.data()), 0);
        text.beginning(" ").ending(" ");
        trim_in_place(text.data());
        EXPECT_EQ(strlen(text.data()), length - 2);
        EXPECT_TRUE(is_all(text.data(), length - 5, 'y'));
        // Nothing is left of a text of blanks.
        memset(text.data(), ' ', length);
        trim_in_place(text.data());
        EXPECT_STREQ(text.data(), "");
    }
}

TEST_F(StringsLarge, AComparison) {
    Text a(k4G + 5, 'x');
    Text b(k4G + 5, 'X');
    EXPECT_EQ(wiq_strcasecmp(a.data(), b.data()), 0);
    b.ending("Y");
    EXPECT_LT(wiq_strcasecmp(a.data(), b.data()), 0);
}

TEST_F(StringsLarge, AField) {
    for (const size_t length : kLarge) {
        Text field(length, 'x');
        field.beginning(" ").ending(" ");
        char* block = nullptr;
        u64 size = 0;
        EXPECT_EQ(wiq_struct_str(field.data(), length, &block, &size, true), 0);
        EXPECT_EQ(size, length + 1);
        EXPECT_EQ(strlen(block), length - 2);
        EXPECT_TRUE(is_all(block, length - 2, 'x'));
        free(block);
    }
}

TEST_F(StringsLarge, AStringVector) {
    Text text(k4G + 5, 'x');
    wiq_strv strv;
    wiq_strv_init(&strv);
    EXPECT_EQ(wiq_strv_push(&strv, text.data()), 0);
    EXPECT_EQ(wiq_strv_push(&strv, "x"), 0);
    text.release();
    wiq_strv_sort(&strv);
    EXPECT_STREQ(wiq_strv_get(&strv, 0), "x");
    EXPECT_EQ(strlen(wiq_strv_get(&strv, 1)), text.size());
    wiq_strv_finalize(&strv);
}

// The hash of all bytes, with their number truncated to 32 bits.
u32 murmur3(const char* text, size_t size) {
    const auto rotate = [](u32 x, int by) { return x << by | x >> (32 - by); };
    const auto mix = [&](u32 k) { return rotate(k * 0xcc9e2d51u, 15) * 0x1b873593u; };
    u32 h = 0x11223344;
    size_t i = 0;
    for (; i + 4 <= size; i += 4) {
        u32 k = 0;
        memcpy(&k, text + i, 4);
        h = rotate(h ^ mix(k), 13) * 5 + 0xe6546b64u;
    }
    u32 tail = 0;
    memcpy(&tail, text + i, size - i);
    h ^= mix(tail) ^ static_cast<u32>(size);
    h = (h ^ h >> 16) * 0x85ebca6bu;
    h = (h ^ h >> 13) * 0xc2b2ae35u;
    return h ^ h >> 16;
}

TEST_F(StringsLarge, AHash) {
    Text text(k4G + 5, 'x');
    text.ending("y");
    EXPECT_EQ(murmur3("abc", 4), wiq_hash_str("abc"));
    for (const size_t length : {k2G + 5, k4G + 4, k4G + 5}) {
        const char* start = text.end() - length;
        EXPECT_EQ(wiq_hash_str(start), murmur3(start, length + 1)) << length;
    }
    EXPECT_EQ(wiq_murmur3_32(text.end() - (k2G + 5), k2G + 6, 0x11223344),
              wiq_hash_str(text.end() - (k2G + 5)));
    EXPECT_FALSE(wiq_cmp_str(text.data(), text.data() + 1));
}

}  // namespace
