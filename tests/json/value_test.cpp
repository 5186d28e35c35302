// Getters and type names of values, and the position of a child.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "json/tree.h"

namespace {

using tree::make;
using tree::Tree;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr double kTwoTo64 = 18446744073709551616.0;

struct Reading {
    const char* notation;
    i64 as_i64;
    u64 as_u64;
    wiq_uint128 as_u128;
    double as_double;
};

constexpr u64 kTop = u64{1} << 63;

const Reading kReadings[] = {
    {"0", 0, 0, {0, 0}, 0.0},
    {"-1", -1, UINT64_MAX, {UINT64_MAX, 0}, -1.0},
    {"9223372036854775807", INT64_MAX, kTop - 1, {kTop - 1, 0}, kTwoTo63},
    {"-9223372036854775808", INT64_MIN, kTop, {kTop, 0}, -kTwoTo63},
    {"7u", 7, 7, {7, 0}, 7.0},
    {"9223372036854775808u", INT64_MIN, kTop, {kTop, 0}, kTwoTo63},
    {"18446744073709551615u", -1, UINT64_MAX, {UINT64_MAX, 0}, kTwoTo64},
    {"7w", 7, 7, {7, 0}, 7.0},
    // 2^64 + 3: the conversion to a double uses only the low half.
    {"18446744073709551619w", 3, 3, {3, 1}, 3.0},
    {"340282366920938463463374607431768211455w",
     -1,
     UINT64_MAX,
     {UINT64_MAX, UINT64_MAX},
     kTwoTo64},
    {"3.0", 3, 3, {3, 0}, 3.0},
    {"3.9", 3, 3, {3, 0}, 3.9},
    {"-3.9", -3, static_cast<u64>(-3), {static_cast<u64>(-3), 0}, -3.9},
    {"-0.5", 0, 0, {0, 0}, -0.5},
    {"9223372036854774784.0",
     9223372036854774784,
     9223372036854774784,
     {9223372036854774784, 0},
     9223372036854774784.0},
    {"9223372036854775808.0", INT64_MIN, kTop, {kTop, 0}, kTwoTo63},
    {"18446744073709549568.0",
     INT64_MIN,
     18446744073709549568u,
     {18446744073709549568u, 0},
     18446744073709549568.0},
    {"null", 0, 0, {0, 0}, 0.0},
    {"true", 0, 0, {0, 0}, 0.0},
    {"false", 0, 0, {0, 0}, 0.0},
    {"\"12\"", 0, 0, {0, 0}, 0.0},
    {"@\"/a\"", 0, 0, {0, 0}, 0.0},
    {"[1]", 0, 0, {0, 0}, 0.0},
    {"{\"a\":1}", 0, 0, {0, 0}, 0.0},
};

TEST(JsonGet, ReadsEveryKindAsEveryNumber) {
    for (const Reading& row : kReadings) {
        SCOPED_TRACE(row.notation);
        Tree node = make(row.notation);
        EXPECT_EQ(wiq_json_i64_get(node.get()), row.as_i64);
        EXPECT_EQ(wiq_json_u64_get(node.get()), row.as_u64);
        EXPECT_EQ(wiq_json_double_get(node.get()), row.as_double);
        wiq_uint128 value = {99, 99};
        EXPECT_EQ(wiq_json_u128_get(&value, node.get()), &value);
        EXPECT_EQ(value.lo, row.as_u128.lo);
        EXPECT_EQ(value.hi, row.as_u128.hi);
    }
}

TEST(JsonGet, DoublesThatDoNotFitHaveFixedResults) {
    for (const double value : {kNan, kInf, -kInf, 1e300, -1e300, kTwoTo64}) {
        Tree node(wiq_json_double_new(value, nullptr));
        EXPECT_EQ(wiq_json_i64_get(node.get()), INT64_MIN) << value;
    }
    const struct {
        double value;
        u64 expected;
    } rows[] = {{kNan, kTop}, {-kInf, kTop}, {-1e300, kTop}, {kTwoTo64, 0}, {kInf, 0}, {1e300, 0}};
    for (const auto& row : rows) {
        Tree node(wiq_json_double_new(row.value, nullptr));
        EXPECT_EQ(wiq_json_u64_get(node.get()), row.expected) << row.value;
    }
}

TEST(JsonGet, KeepsTheBitsOfDoubles) {
    Tree minus_zero(wiq_json_double_new(-0.0, nullptr));
    EXPECT_TRUE(std::signbit(wiq_json_double_get(minus_zero.get())));
    Tree nan(wiq_json_double_new(kNan, nullptr));
    EXPECT_TRUE(std::isnan(wiq_json_double_get(nan.get())));
}

TEST(JsonTypeString, NullAndUnknownTags) {
    EXPECT_STREQ(wiq_json_type_string(nullptr), "<none>");
    Tree node = make("null");
    auto* type = reinterpret_cast<u16*>(node.get());
    for (const u16 tag : {u16{11}, u16{12}, u16{255}, u16{256}, u16{65535}}) {
        *type = tag;
        EXPECT_STREQ(wiq_json_type_string(node.get()), "<unknown>") << tag;
    }
    *type = 0;
}

TEST(JsonParent, PositionOfAChild) {
    EXPECT_EQ(wiq_json_parent_index(nullptr), -1);
    EXPECT_EQ(wiq_json_parent_key(nullptr), nullptr);

    Tree object = make("{\"list\":[10,20]}");
    const wiq_json_t* list = wiq_json_obj_get_array(object.get(), "list", nullptr);
    EXPECT_EQ(wiq_json_parent_index(list), -1);
    EXPECT_STREQ(wiq_json_parent_key(list), "list");
    const wiq_json_t* second = wiq_json_array_get_ext(list, 1, 0, nullptr);
    EXPECT_EQ(wiq_json_parent_index(second), 1);
    EXPECT_EQ(wiq_json_parent_key(second), nullptr);
}

}  // namespace
