// Constructors, getters and type names of values.
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

using Constructor = wiq_json_t* (*)(u32* err);

struct Kind {
    const char* name;
    u16 type;
    const char* type_string;
    Constructor make;
};

const wiq_uint128 kBig = {0x1111111122222222, 0x3333333344444444};

const Kind kKinds[] = {
    {"null", 0, "null", [](u32* err) { return wiq_json_null_new(err); }},
    {"object", 1, "object", [](u32* err) { return wiq_json_obj_new(0, err); }},
    {"weak object", 1, "object", [](u32* err) { return wiq_json_obj_weak_new(0, err); }},
    {"array", 2, "array", [](u32* err) { return wiq_json_array_new(0, err); }},
    {"weak array", 2, "array", [](u32* err) { return wiq_json_array_weak_new(0, err); }},
    {"i64", 3, "integer", [](u32* err) { return wiq_json_i64_new(-5, err); }},
    {"u64", 4, "integer", [](u32* err) { return wiq_json_u64_new(5, err); }},
    {"u128", 5, "integer", [](u32* err) { return wiq_json_u128_new(&kBig, err); }},
    {"double", 6, "number", [](u32* err) { return wiq_json_double_new(0.5, err); }},
    {"string", 7, "string", [](u32* err) { return wiq_json_str_new("abc", err); }},
    {"true", 8, "boolean", [](u32* err) { return wiq_json_bool_new(true, err); }},
    {"false", 9, "boolean", [](u32* err) { return wiq_json_bool_new(false, err); }},
    {"reference", 10, "reference", [](u32* err) { return wiq_json_jref_new("#/a", err); }},
};

TEST(JsonNew, MakesFreeStandingNodesOfItsKind) {
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(kind.name);
        u32 err = 0;
        Tree node(kind.make(&err));
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(err, 0u);
        EXPECT_EQ(tree::header(node.get())->type, kind.type);
        const bool weak = std::strncmp(kind.name, "weak", 4) == 0;
        EXPECT_EQ(tree::header(node.get())->flags, weak ? 2 : 0);
        EXPECT_EQ(wiq_json_has_weak_refs(node.get()), weak);
        EXPECT_EQ(tree::count(node.get()), 0);
        EXPECT_EQ(tree::parent(node.get()), nullptr);
        EXPECT_EQ(wiq_json_parent_index(node.get()), -1);
        EXPECT_EQ(wiq_json_parent_key(node.get()), nullptr);
        EXPECT_STREQ(wiq_json_type_string(node.get()), kind.type_string);
    }
}

TEST(JsonNew, DoesNothingAfterAnEarlierFailure) {
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(kind.name);
        u32 err = static_cast<u32>(WIQ_ERR_KEY_NOT_FOUND);
        EXPECT_EQ(kind.make(&err), nullptr);
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_KEY_NOT_FOUND);
    }
}

TEST(JsonNew, NeedsNoErr) {
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(kind.name);
        Tree node(kind.make(nullptr));
        EXPECT_NE(node, nullptr);
    }
}

TEST(JsonNew, RefusesMissingArguments) {
    u32 err = 0;
    EXPECT_EQ(wiq_json_str_new(nullptr, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_str_new(nullptr, nullptr), nullptr);

    err = 0;
    EXPECT_EQ(wiq_json_u128_new(nullptr, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_u128_new(nullptr, nullptr), nullptr);

    // An earlier failure takes precedence over the invalid argument.
    err = static_cast<u32>(WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(wiq_json_str_new(nullptr, &err), nullptr);
    EXPECT_EQ(wiq_json_u128_new(nullptr, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_KEY_NOT_FOUND);
}

TEST(JsonNew, RefusesNegativeCapacities) {
    const auto constructors = {wiq_json_obj_new, wiq_json_obj_weak_new, wiq_json_array_new,
                               wiq_json_array_weak_new};
    for (const auto constructor : constructors) {
        for (const i32 capacity : {-1, INT32_MIN}) {
            u32 err = 0;
            EXPECT_EQ(constructor(capacity, &err), nullptr);
            EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
        }
        for (const i32 capacity : {0, 1, 3, 1000}) {
            u32 err = 0;
            Tree node(constructor(capacity, &err));
            EXPECT_NE(node, nullptr);
            EXPECT_EQ(err, 0u);
        }
    }
}

TEST(JsonNew, CopiesTexts) {
    char text[] = "drive 0";
    Tree node(wiq_json_str_new(text, nullptr));
    text[6] = '9';
    EXPECT_STREQ(wiq_json_str_get(node.get()), "drive 0");
    EXPECT_STREQ(wiq_json_str_get(make("\"\"").get()), "");

    const std::string long_text(100000, 'x');
    EXPECT_EQ(wiq_json_str_get(Tree(wiq_json_str_new(long_text.c_str(), nullptr)).get()),
              long_text);
}

TEST(JsonNew, CopiesThe128BitValue) {
    wiq_uint128 value = {1, 2};
    Tree node(wiq_json_u128_new(&value, nullptr));
    value = {3, 4};
    wiq_uint128 read{};
    EXPECT_EQ(wiq_json_u128_get(&read, node.get()), &read);
    EXPECT_EQ(read.lo, 1u);
    EXPECT_EQ(read.hi, 2u);
}

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

TEST(JsonGet, GivesOneAnswerForDoublesThatDoNotFit) {
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

TEST(JsonParent, PlaceOfAChild) {
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

namespace {

TEST(JsonNew, RefusesMoreThanAnyTableHolds) {
    u32 err = 0;
    EXPECT_EQ(wiq_json_obj_new(INT32_MAX, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NO_MEMORY);
}

}  // namespace
