// Numbers of more than 2^31 and 2^32 digits; most of the digits are zeros, which do not change the value.
#include <cmath>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "large/large_test.h"

namespace {

class NumbersLarge : public Large {};

template <class Number, class Parse>
void expect_number(const Text& text, Parse parse, i32 status, Number expected) {
    Number number = 77;
    EXPECT_EQ(parse(text.data(), &number), status);
    EXPECT_EQ(number, expected);
}

TEST_F(NumbersLarge, Integers) {
    for (const size_t length : kLarge) {
        SCOPED_TRACE(length);
        Text text(length, '0');
        text.ending("17");
        expect_number<i32>(text, wiq_strtoint32, 0, 15);
        expect_number<i64>(text, wiq_strtoint64, 0, 15);
        expect_number<u16>(text, wiq_strtouint16, 0, 15);
        expect_number<u32>(text, wiq_strtouint32, 0, 15);
        expect_number<u64>(text, wiq_strtouint64, 0, 15);
        wiq_uint128 big = {0, 0};
        EXPECT_EQ(wiq_uint128_from_str(text.data(), &big), 0);
        EXPECT_EQ(big.lo, 15u);
        text.beginning("1");
        expect_number<i32>(text, wiq_strtoint32, WIQ_ERR_RANGE, INT32_MAX);
        expect_number<i64>(text, wiq_strtoint64, WIQ_ERR_RANGE, INT64_MAX);
        expect_number<u64>(text, wiq_strtouint64, WIQ_ERR_RANGE, UINT64_MAX);
        text.beginning("0").ending("9");
        expect_number<i32>(text, wiq_strtoint32, WIQ_ERR_TRAILING_CHARS, 1);
        text.beginning("0x");
        expect_number<u64>(text, wiq_strtouint64, 0, 0x19);
    }
}

TEST_F(NumbersLarge, Blanks) {
    Text text(k4G + 5, ' ');
    text.ending("17");
    expect_number<i32>(text, wiq_strtoint32, 0, 17);
    expect_number<u64>(text, wiq_strtouint64, 0, 17);
    expect_number<double>(text, wiq_strtodouble, 0, 17);
    wiq_uint128 big = {0, 0};
    EXPECT_EQ(wiq_uint128_from_str(text.data(), &big), 0);
    EXPECT_EQ(big.lo, 17u);
}

TEST_F(NumbersLarge, Doubles) {
    for (const size_t length : kLarge) {
        SCOPED_TRACE(length);
        Text text(length, '0');
        expect_number<double>(text.ending("17"), wiq_strtodouble, 0, 17);
        expect_number<double>(text.beginning("0."), wiq_strtodouble, 0, 0);
        expect_number<double>(text.beginning("10"), wiq_strtodouble, 0, HUGE_VAL);
        expect_number<double>(text.beginning("-1"), wiq_strtodouble, 0, -HUGE_VAL);
        expect_number<double>(text.ending("x"), wiq_strtodouble, WIQ_ERR_BAD_FORMAT, 0);
        // Exactly halfway between two doubles, except for the last digit.
        text.beginning("9007199254740993.").ending("00");
        expect_number<double>(text, wiq_strtodouble, 0, 9007199254740992.0);
        expect_number<double>(text.ending("1"), wiq_strtodouble, 0, 9007199254740994.0);
    }
}

// The exponent cancels the zeros.
TEST_F(NumbersLarge, DoublesWithLargeExponents) {
    for (const size_t length : kLarge) {
        SCOPED_TRACE(length);
        Text text(length, '0');
        const std::string zeros = std::to_string(length - 13);
        ASSERT_EQ(zeros.size(), 10u);
        expect_number<double>(text.beginning("10").ending("0e-" + zeros), wiq_strtodouble, 0, 1);
        text.beginning("0.").ending("1e+" + zeros);
        expect_number<double>(text, wiq_strtodouble, 0, 10);
    }
}

TEST_F(NumbersLarge, HexadecimalDoubles) {
    for (const size_t length : kLarge) {
        SCOPED_TRACE(length);
        Text text(length, '0');
        text.beginning("0x").ending("18");
        expect_number<double>(text, wiq_strtodouble, 0, 24);
        expect_number<double>(text.beginning("0x1"), wiq_strtodouble, 0, HUGE_VAL);
        expect_number<double>(text.beginning("0x0."), wiq_strtodouble, 0, 0);
        expect_number<double>(text.beginning("0x1."), wiq_strtodouble, 0, 1);
    }
}

}  // namespace
