// The constructors of nodes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "json/tree.h"

namespace {

using tree::make;
using tree::Tree;

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

TEST(JsonNew, MakesNodesOfItsKindWithoutParents) {
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

TEST(JsonNew, ErrMayBeNull) {
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

TEST(JsonNew, RefusesMoreThanAnyTableHolds) {
    u32 err = 0;
    EXPECT_EQ(wiq_json_obj_new(INT32_MAX, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NO_MEMORY);
}

}  // namespace
