// Numbers that are read in one pass, compared with the runtime's conversions and with the grammar.
#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "json/read/quick_number.h"

namespace {

using ke::json::QuickNumber;

QuickNumber read_number(const char* text) {
    return ke::json::read_number(text, text + strlen(text));
}

TEST(QuickNumber, Kinds) {
    const struct {
        const char* text;
        QuickNumber::Kind kind;
        int length;  // of the number
    } kTable[] = {
        {"0", QuickNumber::kInteger, 1},
        {"-0", QuickNumber::kInteger, 2},
        {"7,", QuickNumber::kInteger, 1},
        {"10]", QuickNumber::kInteger, 2},
        {"999999999999999999", QuickNumber::kInteger, 18},
        {"-999999999999999999 ", QuickNumber::kInteger, 19},
        {"9223372036854775807", QuickNumber::kInteger, 19},
        {"-9223372036854775808", QuickNumber::kInteger, 20},
        {"9223372036854775808", QuickNumber::kNone, 0},
        {"-9223372036854775809", QuickNumber::kNone, 0},
        {"9999999999999999999", QuickNumber::kNone, 0},
        {"10000000000000000000", QuickNumber::kNone, 0},
        {"18446744073709551617", QuickNumber::kNone, 0},
        {"-18446744073709551616", QuickNumber::kNone, 0},
        {"00", QuickNumber::kNone, 0},
        {"01", QuickNumber::kNone, 0},
        {"-", QuickNumber::kNone, 0},
        {"-a", QuickNumber::kNone, 0},
        {"", QuickNumber::kNone, 0},
        {"1.", QuickNumber::kNone, 0},
        {".5", QuickNumber::kNone, 0},
        {"1.e5", QuickNumber::kNone, 0},
        {"1e", QuickNumber::kNone, 0},
        {"1e+", QuickNumber::kNone, 0},
        {"1e99999", QuickNumber::kNone, 0},
        {"1\xC3\xA9", QuickNumber::kNone, 0},
        {"1.5\xC3\xA9", QuickNumber::kNone, 0},
        {"1x", QuickNumber::kInteger, 1},
        {"0.5", QuickNumber::kReal, 3},
        {"-1.25e2}", QuickNumber::kReal, 7},
        {"1e22", QuickNumber::kReal, 4},
        {"1E-22", QuickNumber::kReal, 5},
        {"1e+22", QuickNumber::kReal, 5},
        {"1e,22", QuickNumber::kNone, 0},
        {"1e23", QuickNumber::kReal, 4},
        {"1e55", QuickNumber::kReal, 4},
        {"1e56", QuickNumber::kRealText, 4},
        {"1e-23", QuickNumber::kReal, 5},
        {"1e-28", QuickNumber::kRealText, 5},
        {"1e9999", QuickNumber::kRealText, 6},
        {"123456789012345.0", QuickNumber::kReal, 17},
        {"123456789012345678.9", QuickNumber::kReal, 20},
        {"1234567890123456789.0", QuickNumber::kRealText, 21},
        {"9007199254740993e-27", QuickNumber::kReal, 20},
        {"9007199254740993e-28", QuickNumber::kRealText, 20},
        {"9007199254740993e1", QuickNumber::kReal, 18},
        {"12345678,", QuickNumber::kInteger, 8},
        {"123456789,", QuickNumber::kInteger, 9},
        {"1234567/", QuickNumber::kInteger, 7},
        {"1234567:", QuickNumber::kInteger, 7},
        {"12\xFF\xFF\xFF\xFF\xFF\xFF", QuickNumber::kNone, 0},
        {"12345678901234.5", QuickNumber::kReal, 16},
        {"0.1234567890123456789012345", QuickNumber::kRealText, 27},
    };
    for (const auto& row : kTable) {
        const QuickNumber number = read_number(row.text);
        EXPECT_EQ(number.kind, row.kind) << row.text;
        if (row.kind != QuickNumber::kNone) {
            EXPECT_EQ(number.end - row.text, row.length) << row.text;
        }
    }
}

TEST(QuickNumber, IntegersEqualTheRuntimes) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i) {
        const std::string text =
            (random() % 2 == 0 ? "-" : "") + std::to_string(random() >> (random() % 63 + 1));
        const QuickNumber number = read_number(text.c_str());
        ASSERT_EQ(number.kind, QuickNumber::kInteger) << text;
        EXPECT_EQ(number.integer, strtoll(text.c_str(), nullptr, 10)) << text;
    }
}

TEST(QuickNumber, RealsEqualTheRuntimesToTheLastBit) {
    std::mt19937_64 random(2);
    int exact = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string text = (random() % 2 == 0 ? "-" : "") + std::to_string(random() % 100000);
        text += "." + std::to_string(random() >> (random() % 50 + 14));
        if (random() % 2 == 0)
            text += "e" + std::to_string(static_cast<int>(random() % 50) - 25);
        const QuickNumber number = read_number(text.c_str());
        if (number.kind != QuickNumber::kReal)
            continue;
        ++exact;
        EXPECT_EQ(number.real, strtod(text.c_str(), nullptr)) << text;
    }
    EXPECT_GT(exact, 8000);
}

// As many digits as a significand can have, and values halfway between two doubles, where rounding decides.
TEST(QuickNumber, LongRealsEqualTheRuntimesToTheLastBit) {
    std::mt19937_64 random(3);
    for (int i = 0; i < 200000; ++i) {
        u64 significand = random() >> (random() % 12);
        if (i % 4 == 0)
            significand = ((u64{1} << 53 | random() >> 11) << 1 | 1) << (random() % 10);
        std::string text = std::to_string(significand);
        if (text.size() > 19)
            continue;
        text += i % 2 == 0 ? ".0e-" + std::to_string(random() % 26) : "";
        if (i % 2 != 0)
            text.insert(1 + random() % (text.size() - 1), ".");
        const QuickNumber number = read_number(text.c_str());
        if (number.kind == QuickNumber::kReal) {
            EXPECT_EQ(number.real, strtod(text.c_str(), nullptr)) << text;
        }
    }
}

// Every power of ten for which one multiplication suffices, with significands of every length.
TEST(QuickNumber, AllPowersEqualTheRuntimesToTheLastBit) {
    std::mt19937_64 random(4);
    for (int power = ke::json::kMinPower; power <= ke::json::kMaxPower; ++power) {
        for (int i = 0; i < 2000; ++i) {
            const u64 significand =
                i < 64 ? u64{1} << i : (random() >> (random() % 64)) | (i % 2 == 0 ? 1U : 0U);
            if (significand == 0)
                continue;
            const std::string text = std::to_string(significand) + "e" + std::to_string(power);
            double expected = 0;
            std::from_chars(text.data(), text.data() + text.size(), expected);
            ASSERT_EQ(ke::json::scale_by_power(significand, power), expected) << text;
        }
    }
}

TEST(QuickNumber, ValuesHalfwayBetweenTwoGoToEven) {
    // Multiply 2^53 + 1 and 2^53 + 3 by a power of five, and divide by it again.
    u64 fives = 1;
    for (int power = 1; power <= 4; ++power) {
        fives *= 5;
        const double scale = std::ldexp(1.0, -power);
        const u64 odd = (u64{1} << 53) + 1;
        EXPECT_EQ(ke::json::scale_by_power(odd * fives, -power), 0x1p53 * scale);
        EXPECT_EQ(ke::json::scale_by_power(odd * fives + 1, -power), (0x1p53 + 2) * scale);
        EXPECT_EQ(ke::json::scale_by_power((odd + 2) * fives, -power), (0x1p53 + 4) * scale);
        EXPECT_EQ(ke::json::scale_by_power((odd + 2) * fives - 1, -power), (0x1p53 + 2) * scale);
    }
    // Odd numbers of 54 bits that are multiples of a power of five: halfway between two doubles.
    fives = 1;
    for (int power = 0; power <= 23; ++power, fives *= 5) {
        u64 significand = ((u64{1} << 53) / fives + 1) | 1;
        for (int i = 0; i < 100 && significand * fives < u64{1} << 54; ++i, significand += 2) {
            const u64 odd = significand * fives;
            const u64 even = odd / 2 % 2 == 0 ? odd - 1 : odd + 1;
            EXPECT_EQ(ke::json::scale_by_power(significand, power),
                      std::ldexp(static_cast<double>(even), power))
                << significand << "e" << power;
        }
    }
    EXPECT_EQ(ke::json::scale_by_power(1, 0), 1.0);
    EXPECT_EQ(ke::json::scale_by_power(UINT64_MAX, 0), 0x1p64);
    EXPECT_EQ(ke::json::scale_by_power(1, -27), 1e-27);
    EXPECT_EQ(ke::json::scale_by_power(1, 55), 1e55);
}

TEST(QuickNumber, ZerosKeepTheirSign) {
    EXPECT_TRUE(std::signbit(read_number("-0.0").real));
    EXPECT_FALSE(std::signbit(read_number("0.0e5").real));
    EXPECT_EQ(read_number("-0.0").real, 0.0);
}

}  // namespace
