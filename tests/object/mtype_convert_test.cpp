// Tests of the conversions to unsigned numbers, in tables.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "ke_utils/core.h"
#include "ke_utils/mtype.h"

namespace {

constexpr i32 kBad = WIQ_ERR_BAD_FORMAT;
constexpr i32 kRange = WIQ_ERR_RANGE;
constexpr i32 kFraction = WIQ_ERR_NOT_INTEGRAL;

// The result of a conversion to 32 or to 64 bits: a status, and the number if the status is 0.
struct Answer {
    i32 status;
    u64 number;
};

void expect(const wiq_mtype& value, Answer to32, Answer to64, const char* what) {
    SCOPED_TRACE(what);
    u32 small = 0xABCD;
    EXPECT_EQ(wiq_mtype_to_uint32(&value, &small), to32.status);
    EXPECT_EQ(small, to32.status == 0 ? to32.number : 0xABCD) << "written on success only";
    u64 large = 0xABCD;
    EXPECT_EQ(wiq_mtype_to_uint64(&value, &large), to64.status);
    EXPECT_EQ(large, to64.status == 0 ? to64.number : 0xABCD);
}

class MtypeConvert : public testing::Test {
  protected:
    void SetUp() override { wiq_mtype_init(&value_); }
    void TearDown() override { wiq_mtype_finalize(&value_); }
    wiq_mtype value_;
};

TEST_F(MtypeConvert, Integers) {
    wiq_mtype_set_int32(&value_, 5);
    expect(value_, {0, 5}, {0, 5}, "int32");
    wiq_mtype_set_int32(&value_, -1);
    expect(value_, {kBad, 0}, {kBad, 0}, "negative int32");
    wiq_mtype_set_int64(&value_, -1);
    expect(value_, {kBad, 0}, {kBad, 0}, "negative int64");
    wiq_mtype_set_int64(&value_, 4294967295);
    expect(value_, {0, 4294967295}, {0, 4294967295}, "int64 at the limit");
    wiq_mtype_set_int64(&value_, 4294967296);
    expect(value_, {kBad, 0}, {0, 4294967296}, "int64 above 32 bits");
    wiq_mtype_set_uint32(&value_, UINT32_MAX);
    expect(value_, {0, UINT32_MAX}, {0, UINT32_MAX}, "uint32");
    wiq_mtype_set_uint64(&value_, UINT64_MAX);
    expect(value_, {kBad, 0}, {0, UINT64_MAX}, "uint64");
    wiq_mtype_set_uint128(&value_, {7, 0});
    expect(value_, {0, 7}, {0, 7}, "uint128 that fits");
    wiq_mtype_set_uint128(&value_, {UINT64_MAX, 0});
    expect(value_, {kBad, 0}, {0, UINT64_MAX}, "uint128 of 64 bits");
    wiq_mtype_set_uint128(&value_, {0, 1});
    expect(value_, {kBad, 0}, {kBad, 0}, "uint128 of more");
}

TEST_F(MtypeConvert, Doubles) {
    struct Row {
        double number;
        Answer to32, to64;
    };
    for (const Row& row : {
             Row{0.0, {0, 0}, {0, 0}},
             Row{-0.0, {0, 0}, {0, 0}},
             Row{12.0, {0, 12}, {0, 12}},
             Row{2.5, {kFraction, 0}, {kFraction, 0}},
             Row{0.5, {kFraction, 0}, {kFraction, 0}},
             Row{-1.0, {kBad, 0}, {kBad, 0}},
             Row{-0.5, {kBad, 0}, {kBad, 0}},
             Row{4294967295.0, {0, 4294967295}, {0, 4294967295}},
             Row{4294967295.5, {kBad, 0}, {kFraction, 0}},
             Row{4294967296.0, {kBad, 0}, {0, 4294967296}},
             Row{9007199254740992.0, {kBad, 0}, {0, 9007199254740992}},
             Row{9223372036854775808.0, {kBad, 0}, {0, u64{1} << 63}},
             Row{18446744073709549568.0, {kBad, 0}, {0, 18446744073709549568u}},
             // the bound is inclusive, although its value does not fit
             Row{18446744073709551616.0, {kBad, 0}, {0, 9223372036854775808u}},
             Row{18446744073709555712.0, {kBad, 0}, {kBad, 0}},
             Row{std::numeric_limits<double>::infinity(), {kBad, 0}, {kBad, 0}},
             Row{-std::numeric_limits<double>::infinity(), {kBad, 0}, {kBad, 0}},
             Row{std::numeric_limits<double>::quiet_NaN(), {kBad, 0}, {kBad, 0}},
         }) {
        wiq_mtype_set_double(&value_, row.number);
        expect(value_, row.to32, row.to64, std::to_string(row.number).c_str());
    }
    wiq_mtype_set_float(&value_, 16.0F);
    expect(value_, {0, 16}, {0, 16}, "float");
    wiq_mtype_set_float(&value_, 0.25F);
    expect(value_, {kFraction, 0}, {kFraction, 0}, "float with a fraction");
}

TEST_F(MtypeConvert, Texts) {
    struct Row {
        const char* text;
        Answer to32, to64;
    };
    for (const Row& row : {
             Row{"12", {0, 12}, {0, 12}},
             Row{" 7", {0, 7}, {0, 7}},
             Row{"0x10", {0, 16}, {0, 16}},
             Row{"010", {0, 8}, {0, 8}},
             Row{"12.0", {0, 12}, {0, 12}},
             Row{"1e3", {0, 1000}, {0, 1000}},
             Row{"12.5", {kFraction, 0}, {kFraction, 0}},
             Row{"-5", {kBad, 0}, {kBad, 0}},
             Row{"4294967295", {0, 4294967295}, {0, 4294967295}},
             Row{"4294967296", {kRange, 0}, {0, 4294967296}},
             Row{"99999999999999999999", {kRange, 0}, {kRange, 0}},
             Row{"1e10", {kBad, 0}, {0, 10000000000}},
             Row{"", {kBad, 0}, {kBad, 0}},
             Row{"abc", {kBad, 0}, {kBad, 0}},
             Row{"12 ", {kBad, 0}, {kBad, 0}},
             Row{nullptr, {WIQ_ERR_INVALID_ARG, 0}, {WIQ_ERR_INVALID_ARG, 0}},
         }) {
        wiq_mtype_set_utf8(&value_, row.text, 0);
        expect(value_, row.to32, row.to64, row.text == nullptr ? "NULL" : row.text);
    }
}

TEST_F(MtypeConvert, OtherTypesAreRefused) {
    wiq_mtype_set_null(&value_);
    expect(value_, {kBad, 0}, {kBad, 0}, "null");
    wiq_mtype_set_bool(&value_, 1);
    expect(value_, {kBad, 0}, {kBad, 0}, "bool");
    wiq_mtype_set_blob(&value_, "1", 1, 0, 0);
    expect(value_, {kBad, 0}, {kBad, 0}, "blob");
    wiq_mtype_set_ptr(&value_, nullptr, 0);
    expect(value_, {kBad, 0}, {kBad, 0}, "ptr");
    wiq_mtype_set_status(&value_, 5);
    expect(value_, {kBad, 0}, {kBad, 0}, "status");
}

TEST_F(MtypeConvert, Bounds) {
    struct Row {
        u32 min, max;
        i32 status;
    };
    wiq_mtype_set_int32(&value_, 10);
    for (const Row& row : {Row{1, 5, kRange}, Row{11, 20, kRange}, Row{10, 10, 0},
                           Row{0, UINT32_MAX, 0}, Row{5, 1, kRange}}) {
        u32 small = 0;
        EXPECT_EQ(wiq_mtype_to_uint32_ext(&value_, &small, row.min, row.max), row.status);
        EXPECT_EQ(small, 10u) << "stored all the same";
        u64 large = 0;
        EXPECT_EQ(wiq_mtype_to_uint64_ext(&value_, &large, row.min, row.max), row.status);
        EXPECT_EQ(large, 10u);
    }
    wiq_mtype_set_int32(&value_, -1);
    u32 untouched = 3;
    EXPECT_EQ(wiq_mtype_to_uint32_ext(&value_, &untouched, 0, 9), kBad);
    EXPECT_EQ(untouched, 3u);
}

TEST_F(MtypeConvert, MissingArgumentsAreRefused) {
    u32 small = 0;
    u64 large = 0;
    EXPECT_EQ(wiq_mtype_to_uint32(nullptr, &small), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_mtype_to_uint64(nullptr, &large), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_mtype_to_uint32(&value_, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_mtype_to_uint64_ext(nullptr, &large, 0, 1), WIQ_ERR_INVALID_ARG);
}

}  // namespace
