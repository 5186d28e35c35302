// Digits written without a format string, compared with the runtime's.
#include "text/decimal.h"

#include <cinttypes>
#include <cstdio>
#include <random>
#include <string>

#include "support/pch.h"
#include "text/uint128.h"

namespace {

std::string u64_text(u64 value) {
    char buf[ke::kMaxDecimalDigits64];
    return {buf, ke::write_u64(buf, value)};
}
std::string i64_text(i64 value) {
    char buf[ke::kMaxDecimalDigits64];
    return {buf, ke::write_i64(buf, value)};
}

TEST(Decimal, SixtyFourBits) {
    std::mt19937_64 random(7);
    for (u32 i = 0; i < 20000; ++i) {
        const u64 value = random() >> (random() % 64);
        EXPECT_EQ(u64_text(value), std::to_string(value));
        EXPECT_EQ(i64_text(static_cast<i64>(value)), std::to_string(static_cast<i64>(value)));
    }
    EXPECT_EQ(u64_text(0), "0");
    // Each number of digits at both of its ends, and zeros within.
    for (u64 power = 1; power <= UINT64_MAX / 10; power *= 10) {
        for (const u64 value : {power, power - 1, power + 1, power * 10 - 1}) {
            EXPECT_EQ(u64_text(value), std::to_string(value));
            EXPECT_EQ(i64_text(-static_cast<i64>(value)), std::to_string(-static_cast<i64>(value)));
        }
    }
    EXPECT_EQ(u64_text(UINT64_MAX), "18446744073709551615");
    EXPECT_EQ(i64_text(INT64_MIN), "-9223372036854775808");
    EXPECT_EQ(i64_text(-1), "-1");
}

TEST(Decimal, EightDigitsOfEachValue) {
    for (u32 value = 0; value < 100000000; value += value < 20000 ? 1 : 7919) {
        char expected[9];
        snprintf(expected, sizeof(expected), "%08u", value);
        char digits[8];
        EXPECT_EQ(ke::write_eight_digits(digits, value), digits + 8);
        ASSERT_EQ(std::string(digits, 8), expected);
        ASSERT_EQ(u64_text(value), std::to_string(value));
        if (value < 1000000) {
            EXPECT_EQ(ke::write_six_digits(digits, value), digits + 6);
            ASSERT_EQ(std::string(digits, 6), expected + 2);
        }
    }
}

TEST(Decimal, HundredAndTwentyEightBits) {
    const auto text = [](wiq_uint128 value) {
        char buf[ke::kMaxDecimalDigits128];
        return std::string(buf, ke::write_u128(buf, value));
    };
    EXPECT_EQ(text({0, 0}), "0");
    EXPECT_EQ(text({UINT64_MAX, 0}), "18446744073709551615");
    EXPECT_EQ(text({0, 1}), "18446744073709551616");
    EXPECT_EQ(text({UINT64_MAX, UINT64_MAX}), "340282366920938463463374607431768211455");
    // 10^38 has inner chunks that are all zeros.
    EXPECT_EQ(text({687399551400673280u, 5421010862427522170u}), "1" + std::string(38, '0'));
}

}  // namespace
