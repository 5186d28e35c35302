// Tests of the 128-bit integer: literals, operators, text, hashing.
#include "parsed.h"

#include <sstream>
#include <unordered_set>

namespace {

using namespace ke::literals;
using ke::uint128;

TEST(CppUint128, Literals) {
    constexpr uint128 largest = 340282366920938463463374607431768211455_u128;
    static_assert(largest.high() == UINT64_MAX && largest.low() == UINT64_MAX);
    static_assert(0xFFFF'0000'0000'0000'0000_u128 == uint128::from_halves(0xFFFF, 0));
    static_assert(017_u128 == 15u && 0b101_u128 == 5 && 0_u128 == 0);
    static_assert(uint128(-1) == largest, "sign-extended, as in the built-in types");
    EXPECT_EQ(largest + 1, 0_u128);
}

TEST(CppUint128, Arithmetic) {
    const uint128 a = 0x1'0000'0000'0000'0000_u128;
    EXPECT_EQ(a - 1, UINT64_MAX);
    EXPECT_EQ(a * a, 0_u128);
    EXPECT_EQ((a * 10 + 7) / a, 10);
    EXPECT_EQ((a * 10 + 7) % a, 7);
    EXPECT_EQ(a / 0, 0);
    EXPECT_EQ(a % 0, 0);
    EXPECT_EQ(-1_u128, ~0_u128);
    EXPECT_EQ(1_u128 << 64u, a);
    EXPECT_EQ(a >> 63u, 2);
    EXPECT_EQ(a >> 128u, 0);
    EXPECT_EQ((a | 5u) & 4u, 4);
    EXPECT_EQ((a ^ a), 0);
    uint128 n = 5;
    EXPECT_EQ(n++, 5);
    EXPECT_EQ(++n, 7);
    EXPECT_EQ(n--, 7);
    EXPECT_EQ(--n, 5);
    n += 5;
    n *= 3;
    n -= 2;
    n /= 4;
    n <<= 2u;
    n |= 1u;
    n %= 16;
    n ^= 1u;
    n >>= 1u;
    n &= 7u;
    EXPECT_EQ(n, 6);
    uint128 quotient = 9;
    uint128 remainder = 9;
    EXPECT_EQ(uint128::divide(a, 0, quotient, remainder), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(quotient, 9);
    EXPECT_EQ(uint128::divide(a + 3, 2, quotient, remainder), 0);
    EXPECT_EQ(quotient, 0x8000000000000001u);
    EXPECT_EQ(remainder, 1);
    EXPECT_TRUE(a);
    EXPECT_FALSE(0_u128);
    EXPECT_EQ(static_cast<int>(a + 3), 3);
}

TEST(CppUint128, Order) {
    const uint128 low = UINT64_MAX;
    const uint128 high = low + 1;
    EXPECT_LT(low, high);
    EXPECT_LE(low, low);
    EXPECT_GT(high, low);
    EXPECT_GE(high, high);
    EXPECT_NE(low, high);
    EXPECT_LT(3, high);
}

TEST(CppUint128, Text) {
    const uint128 largest = ~0_u128;
    EXPECT_EQ(largest.to_string(), "340282366920938463463374607431768211455");
    EXPECT_EQ(largest.to_string(16), std::string(32, 'F'));
    EXPECT_EQ((5_u128).to_string(2), "101");
    EXPECT_EQ((5_u128).to_string(1), "");
    EXPECT_EQ((5_u128).to_string(37), "");
    std::ostringstream out;
    out << (1_u128 << 64u);
    EXPECT_EQ(out.str(), "18446744073709551616");
    EXPECT_EQ(uint128::parse(largest.to_string()).value(), largest);
    EXPECT_EQ(uint128::parse("0xff").value(), 255);
    EXPECT_EQ(uint128::parse("12x").status(), WIQ_ERR_BAD_FORMAT);
    EXPECT_EQ(uint128::parse(std::string_view("123").substr(0, 2)).value(), 12);
}

TEST(CppUint128, Hashes) {
    std::unordered_set<uint128> seen;
    for (unsigned i = 0; i < 100; ++i) {
        seen.insert(uint128::from_halves(i, 0));
        seen.insert(uint128::from_halves(0, i));
        seen.insert(uint128::from_halves(i, i));
    }
    EXPECT_EQ(seen.size(), 298u);
    EXPECT_NE(std::hash<uint128>()(1_u128), std::hash<uint128>()(1_u128 << 64u));
}

}  // namespace
