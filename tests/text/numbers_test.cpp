// Text to numbers: the rules for statuses row by row, and values compared with the runtime's conversions.
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "support/pch.h"

namespace {

constexpr i32 kRange = WIQ_ERR_RANGE;
constexpr i32 kForm = WIQ_ERR_BAD_FORMAT;
constexpr i32 kTrail = WIQ_ERR_TRAILING_CHARS;

template <class Int>
struct Row {
    const char* text;
    i32 status;
    Int value;
};

template <class Int, size_t n>
void check(i32 (*convert)(const char*, Int*), const Row<Int> (&rows)[n]) {
    for (const Row<Int>& row : rows) {
        Int value = 77;
        EXPECT_EQ(convert(row.text, &value), row.status) << row.text;
        EXPECT_EQ(value, row.value) << row.text;
    }
    Int value = 77;
    EXPECT_EQ(convert(nullptr, &value), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(convert("1", nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(value, Int{77});
}

TEST(Numbers, Int32) {
    const Row<i32> rows[] = {
        {"0x10", 0, 16},
        {"0X1f", 0, 31},
        {"010", 0, 8},
        {" 42", 0, 42},
        {" \t\n\v\f\r-42", 0, -42},
        {"+7", 0, 7},
        {"-0x10", 0, -16},
        {"42 ", kTrail, 42},
        {"42abc", kTrail, 42},
        {"09", kTrail, 0},
        {"0x", kTrail, 0},
        {"0xg", kTrail, 0},
        {"1.5", kTrail, 1},
        {"", kForm, 0},
        {"abc", kForm, 0},
        {"  ", kForm, 0},
        {"-", kForm, 0},
        {"+-1", kForm, 0},
        {"- 1", kForm, 0},
        {"2147483647", 0, INT32_MAX},
        {"2147483648", kRange, INT32_MAX},
        {"3000000000", kRange, INT32_MAX},
        {"3000000000x", kRange, INT32_MAX},
        {"-2147483648", 0, INT32_MIN},
        {"-2147483649", kRange, INT32_MIN},
        {"-3000000000", kRange, INT32_MIN},
        {"99999999999999999999", kRange, INT32_MAX},
        {"-99999999999999999999", kRange, INT32_MIN},
        {"0xffffffff", kRange, INT32_MAX},
    };
    check(wiq_strtoint32, rows);
}

TEST(Numbers, Int64) {
    const Row<i64> rows[] = {
        {"9223372036854775807", 0, INT64_MAX},
        {"9223372036854775808", kRange, INT64_MAX},
        {"9223372036854775808 ", kRange, INT64_MAX},
        {"-9223372036854775808", 0, INT64_MIN},
        {"-9223372036854775809", kRange, INT64_MIN},
        {"18446744073709551616", kRange, INT64_MAX},
        {"340282366920938463463374607431768211457", kRange, INT64_MAX},
        {"-340282366920938463463374607431768211457", kRange, INT64_MIN},
        {"0x7fffffffffffffff", 0, INT64_MAX},
        {"0x8000000000000000", kRange, INT64_MAX},
        {"-0x8000000000000000", 0, INT64_MIN},
        {"0777777777777777777777", 0, INT64_MAX},
        {"01000000000000000000000", kRange, INT64_MAX},
        {"12,5", kTrail, 12},
        {"", kForm, 0},
        {"x1", kForm, 0},
    };
    check(wiq_strtoint64, rows);
}

TEST(Numbers, Uint16) {
    const Row<u16> rows[] = {
        {"65535", 0, 65535},
        {"65536", kRange, 65535},
        {"70000", kRange, 65535},
        {"70000 ", kRange, 65535},
        {"-1", kForm, 65535},
        {"-2x", kForm, 65534},
        {"-65536", kForm, 0},
        {"-0", 0, 0},
        {"-99999999999999999999", kForm, 0},
        {"99999999999999999999", kRange, 65535},
        {"12x", kTrail, 12},
        {"", kForm, 0},
        {"0xFFFF", 0, 65535},
    };
    check(wiq_strtouint16, rows);
}

TEST(Numbers, Uint32) {
    const Row<u32> rows[] = {
        {"4294967295", 0, UINT32_MAX},
        {"4294967296", kRange, UINT32_MAX},
        {"-1", kForm, UINT32_MAX},
        {"-4294967295", kForm, 1},
        {"-4294967296", kForm, 0},
        {"-0x10", kForm, UINT32_MAX - 15},
        {"99999999999999999999", kRange, UINT32_MAX},
        {" 7", 0, 7},
        {"7 ", kTrail, 7},
        {"", kForm, 0},
        {"z", kForm, 0},
    };
    check(wiq_strtouint32, rows);
}

TEST(Numbers, Uint64) {
    const Row<u64> rows[] = {
        {"+5", 0, 5},
        {"18446744073709551615", 0, UINT64_MAX},
        {"18446744073709551616", kRange, UINT64_MAX},
        {"99999999999999999999", kRange, UINT64_MAX},
        {"-1", kForm, UINT64_MAX},
        {" \t-5", kForm, UINT64_MAX - 4},
        {"-0", kForm, 0},
        {"-99999999999999999999", kForm, UINT64_MAX},
        {"-18446744073709551615", kForm, 1},
        // Only blanks and tabs are skipped before the sign.
        {"\n-5", 0, UINT64_MAX - 4},
        {" \n-5", 0, UINT64_MAX - 4},
        {"\n-99999999999999999999", kRange, UINT64_MAX},
        {"5x", kTrail, 5},
        {"-x", kForm, 0},
        {"", kForm, 0},
        {" ", kForm, 0},
        {"0xFFFFFFFFFFFFFFFF", 0, UINT64_MAX},
        {"01777777777777777777777", 0, UINT64_MAX},
    };
    check(wiq_strtouint64, rows);
}

// Returns a text that looks much like a number.
std::string random_text(std::mt19937_64& random, const char* alphabet) {
    const size_t letters = strlen(alphabet);
    std::string text;
    for (u64 length = random() % 24; length != 0; --length)
        text += random() % 3 != 0 ? static_cast<char>('0' + random() % 10)
                                  : alphabet[random() % letters];
    return text;
}

// Returns whether a text contains "0x" without digits. By the standard this is the number 0 before an "x";
// some runtimes disagree.
bool has_bare_prefix(const std::string& text) {
    const size_t at = text.find_first_of("xX");
    return at != std::string::npos && at + 1 <= text.size() &&
           (at + 1 == text.size() || !isxdigit(static_cast<u8>(text[at + 1])));
}

TEST(Numbers, IntegersAgainstTheRuntime) {
    std::mt19937_64 random(99);
    u32 compared = 0;
    for (u32 i = 0; i < 100000; ++i) {
        const std::string text = random_text(random, "0123456789xXabfFgz+- \t\n-");
        if (has_bare_prefix(text))
            continue;
        ++compared;
        char* end = nullptr;
        errno = 0;
        const i64 expected = strtoll(text.c_str(), &end, 0);
        const i32 status = errno == ERANGE       ? kRange
                           : end == text.c_str() ? kForm
                           : *end != '\0'        ? kTrail
                                                 : 0;
        i64 value = 77;
        ASSERT_EQ(wiq_strtoint64(text.c_str(), &value), status) << "\"" << text << "\"";
        ASSERT_EQ(value, expected) << "\"" << text << "\"";

        errno = 0;
        const u64 unsigned_expected = strtoull(text.c_str(), &end, 0);
        u64 unsigned_value = 77;
        wiq_strtouint64(text.c_str(), &unsigned_value);
        ASSERT_EQ(unsigned_value, unsigned_expected) << "\"" << text << "\"";
    }
    EXPECT_GT(compared, 50000u);
}

struct DoubleRow {
    const char* text;
    i32 status;
    double value;
};

TEST(Numbers, Doubles) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    const DoubleRow rows[] = {
        {"1.5", 0, 1.5},
        {" \t\n\v\f\r+1.5", 0, 1.5},
        {"-.5", 0, -0.5},
        {"5.", 0, 5},
        {"1e3", 0, 1000},
        {"1E+3", 0, 1000},
        {"1e-3", 0, 0.001},
        {"0x10", 0, 16},
        {"0x1.8p1", 0, 3},
        {"-0X.8P-1", 0, -0.25},
        {"1e999", 0, kInf},
        {"-1e999", 0, -kInf},
        {"1e-999", 0, 0},
        {"-1e-999", 0, -0.0},
        {"1e99999999999999999999", 0, kInf},
        {"1e-99999999999999999999", 0, 0},
        {"0e99999999999999999999", 0, 0},
        {"0x1p99999", 0, kInf},
        {"0x1p-99999", 0, 0},
        {"inf", 0, kInf},
        {"-INFINITY", 0, -kInf},
        {"4.9406564584124654e-324", 0, 4.9406564584124654e-324},
        {"2.2250738585072011e-308", 0, 2.2250738585072011e-308},
        {"1.7976931348623157e308", 0, 1.7976931348623157e308},
        {"1.7976931348623159e308", 0, kInf},
        {"9007199254740993", 0, 9007199254740992.0},
        {"9007199254740993.00000000000000000000000000000000000001", 0, 9007199254740994.0},
        {"1.5x", kForm, 0},
        {"1.5 ", kForm, 0},
        {"1,5", kForm, 0},
        {"abc", kForm, 0},
        {" ", kForm, 0},
        {"-", kForm, 0},
        {".", kForm, 0},
        {"e5", kForm, 0},
        {"1e", kForm, 0},
        {"1e+", kForm, 0},
        {"0x", kForm, 0},
        {"0x1p", kForm, 0},
        {"0x1p+-3", kForm, 0},
        {"0xinf", kForm, 0},
        {"+-1", kForm, 0},
        {"- 1", kForm, 0},
        {"infinit", kForm, 0},
        {"nan(", kForm, 0},
        {"nan(-)", kForm, 0},
        {"1_0", kForm, 0},
    };
    for (const DoubleRow& row : rows) {
        double value = 77;
        EXPECT_EQ(wiq_strtodouble(row.text, &value), row.status) << row.text;
        EXPECT_EQ(value, row.value) << row.text;
        EXPECT_EQ(std::signbit(value), std::signbit(row.value)) << row.text;
    }
    for (const char* text : {"nan", "NaN", "-nan", "nan()", "nan(12a_)"}) {
        double value = 77;
        EXPECT_EQ(wiq_strtodouble(text, &value), 0) << text;
        EXPECT_TRUE(std::isnan(value)) << text;
    }
}

struct LongNumber {
    std::string text;
    double value;
};

void expect_double(const std::string& text, double expected) {
    double value = 77;
    EXPECT_EQ(wiq_strtodouble(text.c_str(), &value), 0) << text.substr(0, 20);
    EXPECT_EQ(value, expected) << text.substr(0, 20);
}

// Whether a number is too large or too small depends on both the position of its first digit and the
// exponent.
TEST(Numbers, DoublesOfManyDigitsOutOfRange) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    const std::string zeros(800, '0');
    for (const LongNumber& row :
         {LongNumber{"1" + zeros, kInf}, LongNumber{"1" + zeros + ".5", kInf},
          LongNumber{"1" + zeros + "e-400", kInf}, LongNumber{"-1" + zeros + "e-400", -kInf},
          LongNumber{"." + zeros + "1", 0.0}, LongNumber{"0." + zeros + "1e400", 0.0},
          LongNumber{"0." + zeros + "1e1200", kInf}, LongNumber{"1" + zeros + "e-1200", 0.0}}) {
        expect_double(row.text, row.value);
    }
}

// Exponents of nine or more digits are read separately. The reference is the same number with a small
// exponent.
TEST(Numbers, DoublesWithExponentsOfManyDigits) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    struct Row {
        const char* text;
        double value;
    };
    for (const Row& row :
         {Row{"1e4294967288", kInf}, Row{"-1e4294967288", -kInf}, Row{"1e-4294967288", 0.0},
          Row{"-1E-4294967288", -0.0}, Row{"0e99999999999999999999999", 0.0},
          Row{"0.000e+99999999999", 0.0}, Row{"1e18446744073709551617", kInf},
          Row{"1e-18446744073709551617", 0.0}, Row{"123.5e+00000000002", 12350},
          Row{".5e000000000", 0.5}, Row{"12345678901", 12345678901.0}}) {
        double value = 77;
        EXPECT_EQ(wiq_strtodouble(row.text, &value), 0) << row.text;
        EXPECT_EQ(value, row.value) << row.text;
        EXPECT_EQ(std::signbit(value), std::signbit(row.value)) << row.text;
    }
    std::mt19937_64 random(11);
    for (u32 i = 0; i < 20000; ++i) {
        std::string digits;
        for (u64 left = random() % (i % 100 == 0 ? 2000 : 40); left != 0; --left)
            digits += static_cast<char>('0' + (random() % 3 == 0 ? random() % 10 : 0));
        digits.insert(random() % (digits.size() + 1), 1, '.');
        digits += std::to_string(random() % 10);
        const int exponent = static_cast<int>(random() % 700) - 350;
        char small[16];
        char large[32];
        snprintf(small, sizeof small, "e%d", exponent);
        snprintf(large, sizeof large, "e%c%012d", exponent < 0 ? '-' : '+', std::abs(exponent));
        double expected = 77;
        double value = 78;
        ASSERT_EQ(wiq_strtodouble((digits + small).c_str(), &expected), 0) << digits << small;
        ASSERT_EQ(wiq_strtodouble((digits + large).c_str(), &value), 0) << digits << large;
        ASSERT_EQ(value, expected) << digits << large;
    }
    // Halfway between two doubles, except for a digit after a thousand zeros.
    const std::string halfway = "9007199254740993." + std::string(1000, '0');
    double value = 0;
    EXPECT_EQ(wiq_strtodouble((halfway + "0e-0000000000").c_str(), &value), 0);
    EXPECT_EQ(value, 9007199254740992.0);
    EXPECT_EQ(wiq_strtodouble((halfway + "1e-0000000000").c_str(), &value), 0);
    EXPECT_EQ(value, 9007199254740994.0);
}

// Hexadecimal numbers of a million digits are read separately. The reference is the same number without its
// zeros.
TEST(Numbers, HexadecimalDoublesOfManyDigits) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    const std::string zeros(1000001, '0');
    for (const LongNumber& row :
         {LongNumber{"0x" + zeros + "18", 24}, LongNumber{"-0x" + zeros + "18.8p1", -49},
          LongNumber{"0x1" + zeros, kInf}, LongNumber{"-0x1" + zeros + "p1", -kInf},
          LongNumber{"0x1" + zeros + "P-4000004", 1}, LongNumber{"0xA8" + zeros + "p-4000004", 168},
          LongNumber{"0x0." + zeros, 0.0}, LongNumber{"0x0." + zeros + "1", 0.0},
          LongNumber{"0x0." + zeros + "1p4000008", 1},
          LongNumber{"0x." + zeros + "18p+4000005", 0.1875}, LongNumber{"0x1." + zeros, 1},
          LongNumber{"0x1." + zeros + "p-1074", 0x1p-1074},
          // Halfway between two doubles, except for the last digit.
          LongNumber{"0x20000000000001." + zeros, 9007199254740992.0},
          LongNumber{"0x20000000000001." + zeros + "1", 9007199254740994.0},
          LongNumber{"0x0." + zeros + "1p-9000000", 0.0},
          LongNumber{"0x1" + zeros + "p9000000", kInf}}) {
        expect_double(row.text, row.value);
    }
}

TEST(Numbers, DoublesFromEmptyOrMissingText) {
    double value = 77;
    EXPECT_EQ(wiq_strtodouble(nullptr, &value), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_strtodouble("1", nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_strtodouble("", &value), kForm);
    EXPECT_EQ(value, 77);
}

TEST(Numbers, DoublesRoundTripThroughSeventeenDigits) {
    std::mt19937_64 random(3);
    for (u32 i = 0; i < 50000; ++i) {
        const u64 bits = random();
        double value = 0;
        memcpy(&value, &bits, sizeof value);
        if (!std::isfinite(value))
            continue;
        char text[64];
        snprintf(text, sizeof text, "%.17g", value);
        double back = 0;
        ASSERT_EQ(wiq_strtodouble(text, &back), 0);
        ASSERT_EQ(memcmp(&back, &value, sizeof back), 0) << text;
    }
}

// Returns whether the runtime's strtod() rounds correctly and reads hexadecimal; with others, the comparison
// would only show their mistakes.
bool runtime_is_a_reference() {
    return strtod("0x1.8p1", nullptr) == 3 && strtod("2.2250738585072011e-308", nullptr) != 0 &&
           strtod("9007199254740993.00000000000000000000000000000000000001", nullptr) ==
               9007199254740994.0;
}

TEST(Numbers, DoublesAgainstTheRuntime) {
    std::mt19937_64 random(5);
    const bool reference = runtime_is_a_reference();
    u32 numbers = 0;
    for (u32 i = 0; i < 200000; ++i) {
        std::string text = random_text(random, "..eExXpP+-abcdfn \t");
        if (random() % 4 == 0)
            text.insert(0, "0x");
        if (text.empty())
            continue;
        double value = 77;
        const i32 status = wiq_strtodouble(text.c_str(), &value);
        numbers += status == 0;
        if (!reference) {
            ASSERT_TRUE(status == 0 || (status == kForm && value == 0)) << text;
            continue;
        }
        char* end = nullptr;
        const double expected = strtod(text.c_str(), &end);
        const bool whole = end != text.c_str() && *end == '\0';
        ASSERT_EQ(status, whole ? 0 : kForm) << "\"" << text << "\"";
        const double stored = whole ? expected : 0;
        ASSERT_EQ(memcmp(&value, &stored, sizeof value), 0) << "\"" << text << "\"";
    }
    EXPECT_GT(numbers, 1000u);
}

}  // namespace
