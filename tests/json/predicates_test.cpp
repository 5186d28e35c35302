// Functions that tell a value's kind, and which types it can be read as.
#include <gtest/gtest.h>

#include <limits>

#include "json/tree.h"

namespace {

using tree::make;
using tree::Tree;

using Predicate = bool (*)(const wiq_json_t*);

const struct {
    const char* name;
    Predicate predicate;
    std::vector<const char*> kinds;  // those for which it is true
} kPredicates[] = {
    {"is_null", wiq_json_is_null, {"null"}},
    {"is_obj", wiq_json_is_obj, {"{}", "w{}"}},
    {"is_array", wiq_json_is_array, {"[]", "w[]"}},
    {"is_str", wiq_json_is_str, {"\"\""}},
    {"is_true", wiq_json_is_true, {"true"}},
    {"is_false", wiq_json_is_false, {"false"}},
    {"is_bool", wiq_json_is_bool, {"true", "false"}},
    {"is_int", wiq_json_is_int, {"1", "1u", "1w"}},
    {"is_num", wiq_json_is_num, {"1", "1u", "1w", "1.0"}},
    {"is_jref", wiq_json_is_jref, {"@\"\""}},
    {"has_weak_refs", wiq_json_has_weak_refs, {"w{}", "w[]"}},
};

TEST(JsonIs, EachPredicateKnowsItsKinds) {
    const char* all[] = {"null",  "{}", "w{}", "[]", "w[]", "\"\"", "true",
                         "false", "1",  "1u",  "1w", "1.0", "@\"\""};
    for (const auto& row : kPredicates) {
        EXPECT_FALSE(row.predicate(nullptr)) << row.name;
        for (const char* notation : all) {
            const bool expected = std::find(row.kinds.begin(), row.kinds.end(),
                                            std::string(notation)) != row.kinds.end();
            EXPECT_EQ(row.predicate(make(notation).get()), expected) << row.name << notation;
        }
    }
}

TEST(JsonIs, NothingIsTrueOfUnknownTags) {
    Tree node = make("null");
    *reinterpret_cast<u16*>(node.get()) = 11;
    for (const auto& row : kPredicates) {
        EXPECT_FALSE(row.predicate(node.get())) << row.name;
    }
    for (const bool ext : {false, true}) {
        EXPECT_FALSE(wiq_json_is_i64_ext(node.get(), ext));
        EXPECT_FALSE(wiq_json_is_u64_ext(node.get(), ext));
        EXPECT_FALSE(wiq_json_is_u128_ext(node.get(), ext));
        EXPECT_FALSE(wiq_json_is_double_ext(node.get(), ext));
    }
    *reinterpret_cast<u16*>(node.get()) = 0;
}

// Returns the types that a value can be read as with `ext`, one letter each: i (i64), u (u64), w (u128), d (double).
const struct {
    const char* notation;
    const char* readable_as;
} kConvertible[] = {
    {"0", "iuwd"},
    {"-1", "id"},
    {"9007199254740992", "iuwd"},
    {"9007199254740993", "iuw"},
    {"-9007199254740992", "id"},
    {"-9007199254740993", "i"},
    {"9223372036854775807", "iuw"},
    {"-9223372036854775808", "i"},
    {"0u", "iuwd"},
    {"9007199254740992u", "iuwd"},
    {"9007199254740993u", "iuw"},
    {"9223372036854775807u", "iuw"},
    {"9223372036854775808u", "uw"},
    {"18446744073709551615u", "uw"},
    {"0w", "iuwd"},
    {"9007199254740992w", "iuwd"},
    {"9007199254740993w", "iuw"},
    {"9223372036854775807w", "iuw"},
    {"9223372036854775808w", "uw"},
    {"18446744073709551615w", "uw"},
    {"18446744073709551616w", "w"},
    // The low half alone could be converted.
    {"18446744073709551617w", "w"},
    {"340282366920938463463374607431768211455w", "w"},
    {"0.0", "iuwd"},
    {"-0.0", "iuwd"},
    {"0.5", "d"},
    {"-0.5", "d"},
    {"-1.0", "id"},
    {"3.0", "iuwd"},
    // The upper bounds belong to the ranges although they do not fit in the integers.
    {"9223372036854775808.0", "iuwd"},
    {"9223372036854777856.0", "uwd"},
    {"18446744073709551616.0", "uwd"},
    {"18446744073709555712.0", "d"},
    {"-9223372036854775808.0", "id"},
    {"-9223372036854777856.0", "d"},
    {"1e300", "d"},
    {"inf", "d"},
    {"-inf", "d"},
    {"nan", "d"},
    {"null", ""},
    {"true", ""},
    {"false", ""},
    {"\"1\"", ""},
    {"@\"1\"", ""},
    {"[]", ""},
    {"{}", ""},
};

TEST(JsonIsExt, SaysWhatCanBeReadWithoutLoss) {
    for (const auto& row : kConvertible) {
        SCOPED_TRACE(row.notation);
        Tree node = make(row.notation);
        const std::string readable = row.readable_as;
        EXPECT_EQ(wiq_json_is_i64_ext(node.get(), true), readable.find('i') != readable.npos);
        EXPECT_EQ(wiq_json_is_u64_ext(node.get(), true), readable.find('u') != readable.npos);
        EXPECT_EQ(wiq_json_is_u128_ext(node.get(), true), readable.find('w') != readable.npos);
        EXPECT_EQ(wiq_json_is_double_ext(node.get(), true), readable.find('d') != readable.npos);

        const u16 type = tree::header(node.get())->type;
        EXPECT_EQ(wiq_json_is_i64_ext(node.get(), false), type == 3);
        EXPECT_EQ(wiq_json_is_u64_ext(node.get(), false), type == 4);
        EXPECT_EQ(wiq_json_is_u128_ext(node.get(), false), type == 5);
        EXPECT_EQ(wiq_json_is_double_ext(node.get(), false), type == 6);
    }
}

TEST(JsonIsExt, IsFalseForNull) {
    for (const bool ext : {false, true}) {
        EXPECT_FALSE(wiq_json_is_i64_ext(nullptr, ext));
        EXPECT_FALSE(wiq_json_is_u64_ext(nullptr, ext));
        EXPECT_FALSE(wiq_json_is_u128_ext(nullptr, ext));
        EXPECT_FALSE(wiq_json_is_double_ext(nullptr, ext));
    }
}

}  // namespace
