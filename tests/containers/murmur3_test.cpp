// Tests of the hash functions, using published values of MurmurHash3_x86_32, and of the comparison functions.
#include <gtest/gtest.h>

#include <cstring>

#include "ke_utils/containers.h"

namespace {

constexpr u32 kSeed = 0x11223344;

TEST(Murmur3, PublishedValues) {
    struct Row {
        const char* text;
        u32 length, seed, hash;
    };
    // The well-known test vectors of the algorithm.
    for (const Row& row : {
             Row{"", 0, 0, 0x00000000},
             Row{"", 0, 1, 0x514E28B7},
             Row{"", 0, 0xFFFFFFFF, 0x81F16F39},
             Row{"\xFF\xFF\xFF\xFF", 4, 0, 0x76293B50},
             Row{"\x21\x43\x65\x87", 4, 0, 0xF55B516B},
             Row{"\x21\x43\x65\x87", 4, 0x5082EDEE, 0x2362F9DE},
             Row{"\x21\x43\x65", 3, 0, 0x7E4A8634},
             Row{"\x21\x43", 2, 0, 0xA0F7B07A},
             Row{"\x21", 1, 0, 0x72661CF4},
             Row{"\0\0\0\0", 4, 0, 0x2362F9DE},
             Row{"\0\0\0", 3, 0, 0x85F0B427},
             Row{"\0\0", 2, 0, 0x30F4C306},
             Row{"\0", 1, 0, 0x514E28B7},
             Row{"aaaa", 4, 0x9747B28C, 0x5A97808A},
             Row{"aaa", 3, 0x9747B28C, 0x283E0130},
             Row{"aa", 2, 0x9747B28C, 0x5D211726},
             Row{"a", 1, 0x9747B28C, 0x7FA09EA6},
             Row{"abcd", 4, 0x9747B28C, 0xF0478627},
             Row{"abc", 3, 0x9747B28C, 0xC84A62DD},
             Row{"ab", 2, 0x9747B28C, 0x74875592},
             Row{"Hello, world!", 13, 0x9747B28C, 0x24884CBA},
             Row{"The quick brown fox jumps over the lazy dog", 43, 0x9747B28C, 0x2FA826CD},
         })
        EXPECT_EQ(wiq_murmur3_32(row.text, row.length, row.seed), row.hash) << row.text;
}

TEST(Murmur3, AnyAlignment) {
    char block[64];
    for (size_t offset = 0; offset < 8; ++offset) {
        memcpy(block + offset, "Hello, world!", 13);
        EXPECT_EQ(wiq_murmur3_32(block + offset, 13, 0x9747B28C), 0x24884CBAu) << offset;
    }
}

TEST(Murmur3, StringsAreHashedWithTheirTerminator) {
    EXPECT_EQ(wiq_hash_str(""), wiq_murmur3_32("\0", 1, kSeed));
    EXPECT_EQ(wiq_hash_str(nullptr), wiq_murmur3_32("", 0, kSeed));
    EXPECT_EQ(wiq_hash_str("model"), wiq_murmur3_32("model", 6, kSeed));
    EXPECT_NE(wiq_hash_str("model"), wiq_murmur3_32("model", 5, kSeed));
}

TEST(Murmur3, IntegersAreHashedByValue) {
    for (u64 value : {u64{0}, u64{1}, u64{0x1122334455667788}, UINT64_MAX}) {
        u8 bytes[8];
        for (size_t i = 0; i < 8; ++i)
            bytes[i] = static_cast<u8>(value >> 8 * i);
        EXPECT_EQ(wiq_hash_int(reinterpret_cast<void*>(value)), wiq_murmur3_32(bytes, 8, kSeed));
    }
}

TEST(Murmur3, PointersAreHashedByWhatTheyPointAt) {
    const u64 a = 0x0123456789ABCDEF;
    const u64 b = a;
    EXPECT_EQ(wiq_hash_ptr(&a), wiq_hash_ptr(&b));
    EXPECT_EQ(wiq_hash_ptr(&a), wiq_murmur3_32(&a, 8, kSeed));
}

TEST(Murmur3, Comparisons) {
    int x = 0;
    int y = 0;
    for (auto* compare : {wiq_cmp_int, wiq_cmp_ptr}) {
        EXPECT_TRUE(compare(&x, &x));
        EXPECT_FALSE(compare(&x, &y));
        EXPECT_TRUE(compare(nullptr, nullptr));
    }
    char copy[] = "model";
    EXPECT_TRUE(wiq_cmp_str("model", copy));
    EXPECT_TRUE(wiq_cmp_str("", ""));
    EXPECT_FALSE(wiq_cmp_str("model", "Model"));
    EXPECT_FALSE(wiq_cmp_str("model", "model "));
    EXPECT_FALSE(wiq_cmp_str("\xff", "\x7f"));
}

}  // namespace
