// Equality and subsets, in tables: kinds, numbers of different kinds, and each rule for containers.
#include <gtest/gtest.h>

#include "json/tree.h"

namespace {

using tree::make;
using tree::Tree;

bool subset(const char* a, const char* b, u32 flags) {
    return wiq_json_subset(make(a).get(), make(b).get(), flags);
}
bool equal(const char* a, const char* b) {
    return wiq_json_equal(make(a).get(), make(b).get());
}

TEST(JsonEqual, Numbers) {
    const struct {
        const char* a;
        const char* b;
        bool a_in_b;
        bool b_in_a;
    } rows[] = {
        {"5", "5", true, true},
        {"5", "5u", true, true},
        {"5", "5w", true, true},
        {"5", "5.0", true, true},
        {"5u", "5w", true, true},
        {"5u", "5.0", true, true},
        {"5w", "5.0", true, true},
        {"5", "6", false, false},
        {"5", "5.5", false, false},
        {"0", "-0.0", true, true},
        {"-1", "-1.0", true, true},
        {"-1", "18446744073709551615u", false, false},
        {"-1", "340282366920938463463374607431768211455w", false, false},
        {"-9223372036854775808", "9223372036854775808u", false, false},
        // The upper halves are equal and the lower ones are not, and the other way round.
        {"36893488147419103232w", "36893488147419103233w", false, false},
        {"36893488147419103233w", "55340232221128654849w", false, false},
        // Read as an integer, the double is exact; read as a double, no integer beyond 2^53 is accepted.
        {"1152921504606846976", "1152921504606846976.0", true, false},
        {"1152921504606846976u", "1152921504606846976.0", true, false},
        {"1152921504606846976w", "1152921504606846976.0", true, false},
        {"9007199254740992", "9007199254740992.0", true, true},
        {"9007199254740993", "9007199254740992.0", false, false},
        // The tests for integers accept the first double beyond the range, which no integer equals.
        {"-9223372036854775808", "9223372036854775808.0", true, false},
        {"0u", "18446744073709551616.0", true, false},
        {"0w", "18446744073709551616.0", true, false},
        {"18446744073709551616w", "0", false, false},
        {"18446744073709551616w", "0u", false, false},
        {"18446744073709551616w", "0.0", false, false},
        {"18446744073709551621w", "5.0", false, false},
        {"0.1", "0.1", true, true},
        {"inf", "inf", true, true},
        {"inf", "-inf", false, false},
        {"nan", "nan", false, false},
        {"nan", "0", false, false},
    };
    for (const auto& row : rows) {
        for (const u32 flags : {0u, 15u}) {
            EXPECT_EQ(subset(row.a, row.b, flags), row.a_in_b) << row.a << " in " << row.b;
            EXPECT_EQ(subset(row.b, row.a, flags), row.b_in_a) << row.b << " in " << row.a;
        }
        EXPECT_EQ(equal(row.a, row.b), row.a_in_b) << row.a << " equal " << row.b;
    }
}

TEST(JsonEqual, NonNumericKindsEqualOnlyThemselves) {
    const char* values[] = {"null",   "true", "false", "\"\"",   "\"a\"",        "\"b\"", "@\"\"",
                            "@\"a\"", "[]",   "{}",    "[null]", "{\"a\":null}", "0",     "1.5"};
    for (const char* a : values) {
        for (const char* b : values) {
            EXPECT_EQ(equal(a, b), a == b) << a << " " << b;
        }
    }
}

// What a getter returns for a node that is not a number must not pass for the number 0.
TEST(JsonEqual, ZeroEqualsNoOtherKind) {
    const wiq_uint128 zero = {0, 0};
    const Tree zeros[] = {Tree(wiq_json_u128_new(&zero, nullptr)),
                          Tree(wiq_json_u64_new(0, nullptr)), Tree(wiq_json_i64_new(0, nullptr)),
                          Tree(wiq_json_double_new(0, nullptr))};
    for (const char* text : {"\"\"", "\"0\"", "null", "false", "true", "[]", "{}"}) {
        const Tree other(wiq_json_loads(text, 0, nullptr));
        ASSERT_TRUE(other);
        for (const Tree& number : zeros) {
            EXPECT_FALSE(wiq_json_equal(number.get(), other.get())) << text;
            EXPECT_FALSE(wiq_json_equal(other.get(), number.get())) << text;
        }
    }
}

TEST(JsonEqual, ANodeEqualsItself) {
    for (const char* notation : {"nan", "[nan]", "{\"a\":nan}", "null"}) {
        Tree node = make(notation);
        EXPECT_TRUE(wiq_json_equal(node.get(), node.get()));
    }
    EXPECT_FALSE(equal("[nan]", "[nan]"));
    EXPECT_TRUE(wiq_json_equal(nullptr, nullptr));
    EXPECT_FALSE(wiq_json_equal(nullptr, make("null").get()));
    EXPECT_FALSE(wiq_json_equal(make("null").get(), nullptr));

    // A child that two weak containers share is one node.
    Tree nan = make("nan");
    Tree left = make("w[]");
    Tree right = make("w[]");
    wiq_json_ref(nan.get());
    wiq_json_array_push_ext(left.get(), nan.get(), nullptr);
    wiq_json_array_push_ext(right.get(), nan.get(), nullptr);
    EXPECT_TRUE(wiq_json_equal(left.get(), right.get()));
}

TEST(JsonEqual, UnknownTagsEqualTheirOwn) {
    Tree a = make("null");
    Tree b = make("null");
    *reinterpret_cast<u16*>(a.get()) = 11;
    EXPECT_FALSE(wiq_json_equal(a.get(), b.get()));
    *reinterpret_cast<u16*>(b.get()) = 11;
    EXPECT_TRUE(wiq_json_equal(a.get(), b.get()));
    *reinterpret_cast<u16*>(a.get()) = 0;
    *reinterpret_cast<u16*>(b.get()) = 0;
}

TEST(JsonSubset, Objects) {
    const struct {
        const char* a;
        const char* b;
        bool loose;  // with flags 0
        bool exact;  // with flags 8
    } rows[] = {
        {"{}", "{}", true, true},
        {"{}", "{\"a\":1}", true, false},
        {"{\"a\":1}", "{}", false, false},
        {"{\"a\":1}", "{\"a\":1.0,\"b\":2}", true, false},
        {"{\"a\":1}", "{\"a\":1.0}", true, true},
        {"{\"a\":1}", "{\"b\":1}", false, false},
        {"{\"a\":1,\"b\":2}", "{\"b\":2,\"a\":1}", true, true},
        {"{\"a\":1,\"b\":2}", "{\"b\":2,\"a\":3}", false, false},
        {"{\"a\":{\"x\":1}}", "{\"a\":{\"x\":1,\"y\":2}}", true, false},
        {"{\"a\":[1,3]}", "{\"a\":[1,2,3]}", true, true},
        {"{\"a\":null}", "{\"b\":null}", false, false},
        // References are compared, not followed.
        {"{\"a\":1,\"b\":@\"/a\"}", "{\"a\":1,\"b\":1}", false, false},
        {"{\"a\":1}", "[1]", false, false},
        {"[]", "{}", false, false},
        {"w{}", "{}", true, true},
    };
    for (const auto& row : rows) {
        for (const u32 others : {0u, 2u, 4u, 6u}) {
            EXPECT_EQ(subset(row.a, row.b, others), row.loose) << row.a << " in " << row.b;
            EXPECT_EQ(subset(row.a, row.b, 8 | others), row.exact) << row.a << " is " << row.b;
        }
    }
}

TEST(JsonSubset, Arrays) {
    // One column for each mode: gaps allowed, contiguous run (1), prefix (3), the whole array (7).
    const struct {
        const char* a;
        const char* b;
        bool gaps, run, prefix, whole;
    } rows[] = {
        {"[]", "[]", true, true, true, true},
        {"[]", "[1]", true, true, true, false},
        {"[1]", "[]", false, false, false, false},
        {"[1,3]", "[1,2,3]", true, false, false, false},
        {"[2,3]", "[1,2,3]", true, true, false, false},
        {"[1,2]", "[1,2,3]", true, true, true, false},
        {"[1,2,3]", "[1,2,3]", true, true, true, true},
        {"[3,1]", "[1,2,3]", false, false, false, false},
        {"[1,1]", "[1]", false, false, false, false},
        {"[1,1]", "[1,2,1]", true, false, false, false},
        // A run that begins inside one that failed.
        {"[1,1,2]", "[1,1,1,2]", true, true, false, false},
        {"[1,2,1,3]", "[1,2,1,2,1,3]", true, true, false, false},
        // Each element takes the first match, and the next element is searched after it.
        {"[[1],[1,2]]", "[[1,2],[1,2]]", true, false, false, false},
        {"[{\"a\":1},{}]", "[{},{\"a\":1},{\"b\":2}]", true, true, false, false},
        {"[[],[1]]", "[[1],[]]", false, false, false, false},
        {"[1]", "{\"a\":1}", false, false, false, false},
        {"w[]", "[]", true, true, true, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.a) + " in " + row.b);
        for (const u32 objects : {0u, 8u}) {
            for (const u32 ignored : {0u, 2u, 4u, 6u}) {
                if (objects == 0) {
                    EXPECT_EQ(subset(row.a, row.b, ignored), row.gaps);
                }
            }
            if (strchr(row.a, '[') == strrchr(row.a, '[') && strchr(row.a, '{') == nullptr) {
                EXPECT_EQ(subset(row.a, row.b, 1 | objects), row.run);
                EXPECT_EQ(subset(row.a, row.b, 5 | objects), row.run);
                EXPECT_EQ(subset(row.a, row.b, 3 | objects), row.prefix);
                EXPECT_EQ(subset(row.a, row.b, 7 | objects), row.whole);
            }
        }
    }
}

TEST(JsonSubset, NestedRuns) {
    // The rule for runs also applies to nested arrays.
    EXPECT_TRUE(subset("[[2],[3]]", "[[0],[1,2],[3,4]]", 1));
    EXPECT_FALSE(subset("[[2],[3]]", "[[0],[1,2],[3,4]]", 3));
    EXPECT_FALSE(subset("[[2],[3]]", "[[1,2],[3,4]]", 3));
    EXPECT_TRUE(subset("[[2],[3]]", "[[2,1],[3,4],[5]]", 3));
    EXPECT_FALSE(subset("[[2],[3]]", "[[2,1],[3,4]]", 7));
    EXPECT_TRUE(subset("[{\"k\":[2]}]", "[0,{\"k\":[1,2],\"l\":0}]", 1));
    EXPECT_FALSE(subset("[{\"k\":[2]}]", "[0,{\"k\":[1,2],\"l\":0}]", 9));
}

TEST(JsonSubset, HigherFlagBitsAreIgnored) {
    EXPECT_TRUE(subset("[1,3]", "[1,2,3]", 16));
    EXPECT_FALSE(subset("[1,3]", "[1,2,3]", 17));
}

}  // namespace
