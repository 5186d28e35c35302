// 128-bit integers: arithmetic compared with the compiler's own type on boundary and random values, text in
// every base, and the packed integers.
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "support/pch.h"

bool operator==(wiq_uint128 a, wiq_uint128 b) {
    return a.lo == b.lo && a.hi == b.hi;
}

namespace {

__extension__ typedef unsigned __int128 Native;

Native native(wiq_uint128 a) {
    return static_cast<Native>(a.hi) << 64 | a.lo;
}
wiq_uint128 portable(Native a) {
    return {static_cast<u64>(a), static_cast<u64>(a >> 64)};
}

constexpr u64 kAllBits = ~u64{0};
constexpr wiq_uint128 kMax = {kAllBits, kAllBits};

// Boundaries of the halves, single bits, and random values of every length.
std::vector<wiq_uint128> samples() {
    std::vector<wiq_uint128> all = {
        {0, 0},           {1, 0}, {2, 0},        {3, 0},        {10, 0}, {kAllBits, 0},
        {0, 1},           {1, 1}, {kAllBits, 1}, {0, kAllBits}, kMax,    {kAllBits - 1, kAllBits},
        {0, u64{1} << 63}};
    for (u32 bit = 0; bit < 128; bit += 9)
        all.push_back(portable(static_cast<Native>(1) << bit));
    std::mt19937_64 random(20240601);
    for (u32 i = 0; i < 60; ++i) {
        const Native value = static_cast<Native>(random()) << 64 | random();
        all.push_back(portable(value >> (random() % 128)));
    }
    return all;
}

TEST(Uint128, MemoryIsALittleEndianInteger) {
    const wiq_uint128 value = {0x0706050403020100, 0x0f0e0d0c0b0a0908};
    u8 bytes[16];
    static_assert(sizeof value == sizeof bytes);
    memcpy(bytes, &value, sizeof bytes);
    for (u8 i = 0; i < 16; ++i)
        EXPECT_EQ(bytes[i], i);
}

TEST(Uint128, ArithmeticOfEveryPair) {
    for (wiq_uint128 a : samples()) {
        EXPECT_EQ(wiq_uint128_neg(a), portable(0 - native(a)));
        for (wiq_uint128 b : samples()) {
            EXPECT_EQ(wiq_uint128_add(a, b), portable(native(a) + native(b)));
            EXPECT_EQ(wiq_uint128_sub(a, b), portable(native(a) - native(b)));
            EXPECT_EQ(wiq_uint128_mul(a, b), portable(native(a) * native(b)));
            EXPECT_EQ(wiq_uint128_lt(a, b), native(a) < native(b));
            EXPECT_EQ(wiq_uint128_le(a, b), native(a) <= native(b));
        }
    }
}

TEST(Uint128, DivisionOfEveryPair) {
    for (wiq_uint128 a : samples()) {
        for (wiq_uint128 b : samples()) {
            wiq_uint128 quotient = {77, 77};
            wiq_uint128 remainder = {78, 78};
            const i32 status = wiq_uint128_div(a, b, &quotient, &remainder);
            if (b == wiq_uint128{0, 0}) {
                EXPECT_EQ(status, WIQ_ERR_INVALID_ARG);
                EXPECT_EQ(quotient, (wiq_uint128{77, 77}));
                EXPECT_EQ(remainder, (wiq_uint128{78, 78}));
                continue;
            }
            EXPECT_EQ(status, 0);
            EXPECT_EQ(quotient, portable(native(a) / native(b)));
            EXPECT_EQ(remainder, portable(native(a) % native(b)));
        }
    }
}

TEST(Uint128, DivisionIntoOneOutputOrNone) {
    wiq_uint128 out = {0, 0};
    EXPECT_EQ(wiq_uint128_div({7, 0}, {2, 0}, &out, nullptr), 0);
    EXPECT_EQ(out, (wiq_uint128{3, 0}));
    EXPECT_EQ(wiq_uint128_div({7, 0}, {2, 0}, nullptr, &out), 0);
    EXPECT_EQ(out, (wiq_uint128{1, 0}));
    EXPECT_EQ(wiq_uint128_div({7, 0}, {2, 0}, nullptr, nullptr), 0);
    EXPECT_EQ(wiq_uint128_div({7, 0}, {0, 0}, nullptr, nullptr), WIQ_ERR_INVALID_ARG);
}

TEST(Uint128, NamedResults) {
    EXPECT_EQ(wiq_uint128_sub({0, 0}, {1, 0}), kMax);
    EXPECT_EQ(wiq_uint128_add(kMax, {1, 0}), (wiq_uint128{0, 0}));
    EXPECT_EQ(wiq_uint128_neg({0, 0}), (wiq_uint128{0, 0}));
    EXPECT_EQ(wiq_uint128_mul({0, 1}, {0, 1}), (wiq_uint128{0, 0}));
    EXPECT_EQ(wiq_uint128_mul({kAllBits, 0}, {kAllBits, 0}), (wiq_uint128{1, kAllBits - 1}));
    EXPECT_EQ(wiq_uint128_lshift({1, 0}, 127), (wiq_uint128{0, u64{1} << 63}));
}

TEST(Uint128, ShiftsByEveryCount) {
    for (wiq_uint128 a : samples()) {
        for (u64 count = 0; count < 128; ++count) {
            EXPECT_EQ(wiq_uint128_lshift(a, count), portable(native(a) << count));
            EXPECT_EQ(wiq_uint128_rshift(a, count), portable(native(a) >> count));
        }
        for (u64 count : {u64{128}, u64{129}, u64{192}, u64{256}, u64{1} << 32, kAllBits}) {
            EXPECT_EQ(wiq_uint128_lshift(a, count), (wiq_uint128{0, 0}));
            EXPECT_EQ(wiq_uint128_rshift(a, count), (wiq_uint128{0, 0}));
        }
    }
}

TEST(Uint128, FromText) {
    const struct {
        const char* text;
        i32 status;
        wiq_uint128 value;
    } rows[] = {
        {"  0x1F", 0, {31, 0}},
        {" \t 42", 0, {42, 0}},
        {"-1", 0, kMax},
        {"-0", 0, {0, 0}},
        {"- 1", WIQ_ERR_BAD_FORMAT, {0, 0}},
        {"--1", WIQ_ERR_BAD_FORMAT, {0, 0}},
        {"+1", WIQ_ERR_BAD_FORMAT, {0, 0}},
        {"\n1", WIQ_ERR_BAD_FORMAT, {0, 0}},
        {"12 ", WIQ_ERR_BAD_FORMAT, {12, 0}},
        {"-12x", WIQ_ERR_BAD_FORMAT, {0 - u64{12}, kAllBits}},
        {"0x", 0, {0, 0}},
        {"0X", 0, {0, 0}},
        {"0", 0, {0, 0}},
        {"-", 0, {0, 0}},
        {"   ", 0, {0, 0}},
        {"08", WIQ_ERR_BAD_FORMAT, {0, 0}},
        {"010", 0, {8, 0}},
        {"0778", WIQ_ERR_BAD_FORMAT, {63, 0}},
        {"-0x10", 0, {0 - u64{16}, kAllBits}},
        {"0xfFg", WIQ_ERR_BAD_FORMAT, {255, 0}},
        {"0x0x1", WIQ_ERR_BAD_FORMAT, {0, 0}},
        {"00x1", WIQ_ERR_BAD_FORMAT, {0, 0}},
        {"12a", WIQ_ERR_BAD_FORMAT, {12, 0}},
        {"1.5", WIQ_ERR_BAD_FORMAT, {1, 0}},
        {"18446744073709551615", 0, {kAllBits, 0}},
        {"18446744073709551616", 0, {0, 1}},
        {"340282366920938463463374607431768211455", 0, kMax},
        {"340282366920938463463374607431768211456", 0, {0, 0}},
        {"340282366920938463463374607431768211461", 0, {5, 0}},
        {"0xFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF", 0, kMax},
        {"0x1FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF", 0, kMax},
        {"03777777777777777777777777777777777777777777", 0, kMax},
        {"-9223372036854775809", 0, {0x7fffffffffffffff, kAllBits}},
    };
    for (const auto& row : rows) {
        wiq_uint128 out = {77, 77};
        EXPECT_EQ(wiq_uint128_from_str(row.text, &out), row.status) << row.text;
        EXPECT_EQ(out, row.value) << row.text;
    }
}

TEST(Uint128, FromEmptyOrMissingText) {
    wiq_uint128 out = {77, 77};
    EXPECT_EQ(wiq_uint128_from_str("", &out), WIQ_ERR_BAD_FORMAT);
    EXPECT_EQ(wiq_uint128_from_str(nullptr, &out), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_uint128_from_str("1", nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(out, (wiq_uint128{77, 77}));
}

// Makes one digit at a time, so that it shares no shortcut with the library.
std::string digits_of(Native value, u32 base) {
    const char table[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    std::string digits;
    do {
        digits.insert(digits.begin(), table[static_cast<u32>(value % base)]);
        value /= base;
    } while (value != 0);
    return digits;
}

TEST(Uint128, ToTextInEveryBase) {
    for (wiq_uint128 value : samples()) {
        for (i32 base = 2; base <= 37; ++base) {
            const std::string expected = digits_of(native(value), static_cast<u32>(base));
            char buf[130];
            memset(buf, '#', sizeof buf);
            EXPECT_EQ(wiq_uint128_to_str(value, base, buf, sizeof buf),
                      static_cast<i32>(expected.size()) + 1);
            EXPECT_EQ(std::string(buf, expected.size()), expected);
            EXPECT_EQ(buf[expected.size()], '\0');
            EXPECT_EQ(buf[expected.size() + 1], '#');
        }
    }
}

TEST(Uint128, ToDecimalAroundPowersOfTen) {
    Native power = 1;
    for (int digits = 1; digits < 39; ++digits, power *= 10) {
        for (Native value : {power - 1, power, power + 1, power * 9, power * 3 + power / 7}) {
            char buf[40];
            const std::string expected = digits_of(value, 10);
            EXPECT_EQ(wiq_uint128_to_str(portable(value), 10, buf, sizeof buf),
                      static_cast<i32>(expected.size()) + 1);
            EXPECT_EQ(buf, expected);
        }
    }
}

TEST(Uint128, Base37HasADigitThatIsTheTerminator) {
    char buf[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(wiq_uint128_to_str({36, 0}, 37, buf, sizeof buf), 2);
    EXPECT_EQ(std::string(buf, 4), std::string("\0\0##", 4));
    EXPECT_EQ(wiq_uint128_to_str({36 * 37 + 1, 0}, 37, buf, sizeof buf), 3);
    EXPECT_EQ(std::string(buf, 4), std::string("\0"
                                               "1\0#",
                                               4));
}

TEST(Uint128, ToTextFailures) {
    char buf[200];
    memset(buf, '#', sizeof buf);
    EXPECT_EQ(wiq_uint128_to_str({1, 0}, 10, nullptr, 40), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_uint128_to_str({1, 0}, 10, buf, 0), WIQ_ERR_INVALID_ARG);
    for (i32 base : {1, 0, -1, -10, 38, 64, INT32_MAX, INT32_MIN})
        EXPECT_EQ(wiq_uint128_to_str({1, 0}, base, buf, sizeof buf), WIQ_ERR_BAD_RADIX);
    EXPECT_EQ(wiq_uint128_to_str({255, 0}, 16, buf, 2), WIQ_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(wiq_uint128_to_str({0, 0}, 10, buf, 1), WIQ_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(wiq_uint128_to_str(kMax, 10, buf, 39), WIQ_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(wiq_uint128_to_str(kMax, 2, buf, 128), WIQ_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(std::string(buf, sizeof buf), std::string(sizeof buf, '#'));
    EXPECT_EQ(wiq_uint128_to_str({255, 0}, 16, buf, 3), 3);
    EXPECT_STREQ(buf, "FF");
    EXPECT_EQ(wiq_uint128_to_str({0, 0}, 10, buf, 2), 2);
    EXPECT_STREQ(buf, "0");
    EXPECT_EQ(wiq_uint128_to_str(kMax, 10, buf, 40), 40);
    EXPECT_STREQ(buf, "340282366920938463463374607431768211455");
    EXPECT_EQ(wiq_uint128_to_str(kMax, 2, buf, 129), 129);
}

TEST(Uint128, PackedIntegers) {
    static_assert(sizeof(wiq_uint24) == 3 && sizeof(wiq_uint48) == 6);
    const wiq_uint24 small = wiq_uint24_init(0x12345678);
    EXPECT_EQ(small.bytes[0], 0x78);
    EXPECT_EQ(small.bytes[1], 0x56);
    EXPECT_EQ(small.bytes[2], 0x34);
    const wiq_uint48 large = wiq_uint48_init(0x123456789abcdef0);
    const u8 expected[] = {0xf0, 0xde, 0xbc, 0x9a, 0x78, 0x56};
    EXPECT_EQ(memcmp(large.bytes, expected, sizeof expected), 0);
}

}  // namespace
