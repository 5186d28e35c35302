// Numbers read in one pass, against the runtime's conversions and against what the grammar says.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <string>

#include "json/quick_number.h"

namespace {

using ke::json::QuickNumber;
using ke::json::read_number;

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
        {"1000000000000000000", QuickNumber::kNone, 0},
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
        {"1e23", QuickNumber::kRealText, 4},
        {"1e-23", QuickNumber::kRealText, 5},
        {"1e9999", QuickNumber::kRealText, 6},
        {"123456789012345.0", QuickNumber::kRealText, 17},
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

TEST(QuickNumber, IntegersAreTheRuntimes) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i) {
        const std::string text =
            (random() % 2 == 0 ? "-" : "") + std::to_string(random() >> (random() % 60 + 4));
        const QuickNumber number = read_number(text.c_str());
        if (number.kind != QuickNumber::kInteger) {
            EXPECT_GE(text.size(), 19u) << text;
            continue;
        }
        EXPECT_EQ(number.integer, strtoll(text.c_str(), nullptr, 10)) << text;
    }
}

TEST(QuickNumber, RealsAreTheRuntimesToTheLastBit) {
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

TEST(QuickNumber, ZerosKeepTheirSign) {
    EXPECT_TRUE(std::signbit(read_number("-0.0").real));
    EXPECT_FALSE(std::signbit(read_number("0.0e5").real));
    EXPECT_EQ(read_number("-0.0").real, 0.0);
}

}  // namespace
