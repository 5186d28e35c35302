// Tests of statuses and results: what they hold, how they are described, and when they throw.
#include "parsed.h"

#include <sstream>

#include "no_exceptions.h"

namespace {

using ke::json;

TEST(CppStatus, Texts) {
    EXPECT_STREQ(ke::status_text(0), "success");
    EXPECT_STREQ(ke::status_text(WIQ_ERR_NO_MEMORY), "an allocation failed");
    EXPECT_STREQ(ke::status_text(-9999), "unknown status");
    EXPECT_STREQ(ke::status_name(WIQ_ERR_RANGE), "WIQ_ERR_RANGE");
    EXPECT_STREQ(ke::status_name(0), "");
    EXPECT_STREQ(ke::status_name(-9999), "");
    EXPECT_STREQ(ke::status_name(ke::err_empty), "ke::err_empty");
    EXPECT_NE(std::string(ke::status_text(ke::err_empty)), "unknown status");
}

TEST(CppStatus, HasANumberAndAMessage) {
    constexpr ke::status good;
    static_assert(good.ok() && !good.failed() && good.code() == 0);
    const ke::status bad = WIQ_ERR_RANGE;
    EXPECT_TRUE(bad.failed());
    EXPECT_EQ(bad, WIQ_ERR_RANGE);
    EXPECT_NE(bad, good);
    EXPECT_NE(0, bad);
    const ke::i32 number = bad;
    EXPECT_EQ(number, WIQ_ERR_RANGE);
    EXPECT_STREQ(bad.name(), "WIQ_ERR_RANGE");
    EXPECT_EQ(bad.describe(), bad.message());
    std::ostringstream out;
    out << bad;
    EXPECT_EQ(out.str(), bad.describe());
    EXPECT_TRUE(ke::status(12).ok()) << "a count is success";
    static_assert(!std::is_constructible_v<bool, ke::status>, "a status has no truth value");
    static_assert(!std::is_convertible_v<ke::status, bool>);
    static_assert(!std::is_convertible_v<ke::status, long long>);
}

TEST(CppStatus, ThrowsWhenAsked) {
    ke::status().value();
    try {
        ke::status(WIQ_ERR_RANGE).value();
        ADD_FAILURE() << "value() of a failure must throw";
    } catch (const ke::bad_result& error) {
        EXPECT_EQ(error.status(), WIQ_ERR_RANGE);
        EXPECT_STREQ(error.what(), ke::status_text(WIQ_ERR_RANGE));
    }
}

TEST(CppResult, HoldsAValueOrAStatus) {
    const ke::result<int> good = 5;
    EXPECT_TRUE(good);
    EXPECT_EQ(*good, 5);
    EXPECT_EQ(good.code(), 0);
    EXPECT_EQ(good.value(), 5);
    EXPECT_EQ(good.value_or(7), 5);

    const auto bad = ke::result<int>::failure(WIQ_ERR_RANGE);
    EXPECT_FALSE(bad);
    EXPECT_EQ(bad.status(), WIQ_ERR_RANGE);
    EXPECT_STREQ(bad.message(), ke::status_text(WIQ_ERR_RANGE));
    EXPECT_EQ(bad.value_or(7), 7);
    EXPECT_THROW((void)bad.value(), ke::bad_result);
    EXPECT_EQ(ke::result<int>(ke::status()).code(), WIQ_ERR_FAILED)
        << "a result without a value is never a success";
}

struct Plain {
    explicit Plain(int from) : value(from) {}
    int value;
};
ke::result<int> failing_number(bool by_name) {
    if (by_name)
        return WIQ_ERR_RANGE;
    return -7;
}
TEST(CppResult, AStatusNameIsAFailureEvenForNumbers) {
    EXPECT_EQ(failing_number(true).status(), WIQ_ERR_RANGE);
    EXPECT_EQ(failing_number(false).value(), -7) << "a number is a number";
    const ke::result<bool> truth = WIQ_ERR_NOT_FOUND;
    EXPECT_FALSE(truth.has_value());
    const ke::result<std::string> text = WIQ_ERR_NO_MEMORY;
    EXPECT_EQ(text.status(), WIQ_ERR_NO_MEMORY);
}

TEST(CppResult, NeedsNoDefaultConstructor) {
    const auto bad = ke::result<Plain>::failure(WIQ_ERR_RANGE);
    EXPECT_FALSE(bad);
    EXPECT_EQ(ke::result<Plain>(Plain(3))->value, 3);
    EXPECT_EQ(*ke::result<std::unique_ptr<int>>(std::make_unique<int>(4)).value(), 4);
}

TEST(CppResult, ParserFailuresReportThePosition) {
    const ke::result<json> root = json::parse("[\n x]");
    ASSERT_FALSE(root);
    EXPECT_EQ(root.status(), WIQ_ERR_JSON_BAD_TOKEN);
    EXPECT_EQ(root.line(), 2);
    EXPECT_EQ(root.column(), 2);
    EXPECT_EQ(root.position(), 4);
    EXPECT_EQ(root.describe(), std::string("line 2, column 2: ") + root.message());
    EXPECT_EQ(root.status().line(), 2) << "the position is kept with the status";
}

ke::status twice(json& to, bool fail) {
    KE_TRY(to.set("first", 1));
    KE_TRY(to.get<int>(fail ? "none" : "first"));
    return to.set("second", 2);
}
ke::result<int> first_of(const json& from) {
    KE_TRY(from.get<int>("first"));
    return 1;
}
TEST(CppResult, TryEndsTheFunction) {
    json to = json::object();
    EXPECT_EQ(first_of(to).code(), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(twice(to, true), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(to.size(), 1);
    EXPECT_EQ(twice(to, false), 0);
    EXPECT_EQ(to.size(), 2);
    EXPECT_EQ(first_of(to).value(), 1);
}

TEST(CppLayer, WorksAsCpp17WithoutExceptions) {
    EXPECT_EQ(no_exceptions::first_of_a(R"({"a":[42]})"), 42);
    EXPECT_EQ(no_exceptions::first_of_a(R"({"a":[]})"), -1);
    EXPECT_EQ(no_exceptions::first_of_a("{"), -1);
    EXPECT_EQ(
        no_exceptions::every_family(),
        "names={\"first\":[\"one\",2]} drives=[2,3] 2 1|a2bthree 1 four 5|WIQ_ERR_INVALID_ARG");
}

}  // namespace
