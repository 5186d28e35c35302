// The functions that read a number from text with known bounds.
#include "text/numbers.h"

#include <cmath>
#include <string>

#include "support/pch.h"

namespace {

TEST(ParseI64, LimitsAndBeyond) {
    const struct {
        const char* text;
        bool fits;
        i64 value;
    } rows[] = {
        {"0", true, 0},
        {"-0", true, 0},
        {"7", true, 7},
        {"-42", true, -42},
        {"999999999999999999", true, 999999999999999999},
        {"-999999999999999999", true, -999999999999999999},
        {"1000000000000000000", true, 1000000000000000000},
        {"9223372036854775807", true, INT64_MAX},
        {"-9223372036854775807", true, -INT64_MAX},
        {"-9223372036854775808", true, INT64_MIN},
        {"9223372036854775808", false, 0},
        {"-9223372036854775809", false, 0},
        {"18446744073709551615", false, 0},
        {"18446744073709551616", false, 0},
        {"99999999999999999999999999999999999999999", false, 0},
        {"-99999999999999999999999999999999999999999", false, 0},
        {"00000000000000000000000000000000000000005", true, 5},
    };
    for (const auto& row : rows) {
        const std::string text = row.text;
        i64 value = 77;
        EXPECT_EQ(ke::parse_i64(text.data(), text.data() + text.size(), &value), row.fits) << text;
        EXPECT_EQ(value, row.fits ? row.value : 77) << text;
    }
}

TEST(ParseDouble, EndsWhereTheNumberEnds) {
    const struct {
        const char* text;
        size_t length;  // 0 means no number
        double value;
    } rows[] = {
        {"1.5,", 3, 1.5},
        {"-2e3]", 4, -2000},
        {"1e", 1, 1},
        {"1e+", 1, 1},
        {"0x", 1, 0},
        {"0x.", 1, 0},
        {"0xg", 1, 0},
        {"0x1p+-2", 3, 1},
        {"0x1.8p1x", 7, 3},
        {"-0x10 ", 5, -16},
        {"infinit", 3, INFINITY},
        {"-infinityy", 9, -INFINITY},
        {"5.", 2, 5},
        {".5", 2, 0.5},
        {".", 0, 0},
        {"-", 0, 0},
        {"--1", 0, 0},
        {"+-1", 0, 0},
        {" 1", 0, 0},
        {"x", 0, 0},
        {"", 0, 0},
        {"1e400", 5, INFINITY},
        {"-1e-400", 7, -0.0},
    };
    for (const auto& row : rows) {
        const std::string text = row.text;
        double value = 77;
        const char* end = ke::parse_double(text.data(), text.data() + text.size(), &value);
        EXPECT_EQ(end - text.data(), static_cast<long>(row.length)) << text;
        EXPECT_EQ(value, row.length == 0 ? 77 : row.value) << text;
        EXPECT_EQ(std::signbit(value), std::signbit(row.value)) << text;
    }
}

TEST(ParseDouble, ReadsNothingAfterTheEnd) {
    const char text[] = "12345";
    double value = 0;
    EXPECT_EQ(ke::parse_double(text, text + 2, &value), text + 2);
    EXPECT_EQ(value, 12);
}

}  // namespace
